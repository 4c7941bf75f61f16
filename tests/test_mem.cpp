// Tests of KPTmem: counted allocation, array byte counts, module start and end, and aio_ostream.

#include "test_support.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <string>

namespace {

// Prints one double into a buffer stream and returns the text.
std::string printed(double value) {
  aio_ostream out;
  out.print_double(value);
  return out.Str();
}

// Reads back everything written to `file` from its start.
std::string readAll(std::FILE* file) {
  std::rewind(file);
  std::string text;
  char chunk[256];
  std::size_t got = 0;
  while ((got = std::fread(chunk, 1, sizeof chunk, file)) != 0) {
    text.append(chunk, got);
  }
  return text;
}

// Number of significant decimal digits of a text in scientific notation ("d.ddde+xx"): the
// mantissa's digits without leading and trailing zeros.
int significantDigits(const std::string& text) {
  std::string digits;
  for (char c : text.substr(0, text.find('e'))) {
    if (c >= '0' && c <= '9') {
      digits.push_back(c);
    }
  }
  const std::size_t first = digits.find_first_not_of('0');
  if (first == std::string::npos) {
    return 0;
  }
  const std::size_t last = digits.find_last_not_of('0');
  return static_cast<int>(last - first + 1);
}

// The fewest significant digits with which the correctly rounded decimal reads back as `value`.
int fewestRoundTripDigits(double value) {
  for (int digits = 1; digits <= 17; ++digits) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*e", digits - 1, value);
    if (bitsOf(std::strtod(text, nullptr)) == bitsOf(value)) {
      return digits;
    }
  }
  return 99;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Allocation counting

TEST(MemAllocate, BlockAllocatedThenFreedIsCounted) {
  const long long live = mem_LiveBlocks();
  const long long allocations = mem_Allocations();
  void* block = mem_Allocate(64);
  ASSERT_NE(block, nullptr);
  std::memset(block, 0xA5, 64); // the whole block is writable
  EXPECT_EQ(mem_LiveBlocks(), live + 1);
  EXPECT_EQ(mem_Allocations(), allocations + 1);
  mem_Free(block);
  EXPECT_EQ(mem_LiveBlocks(), live);
  EXPECT_EQ(mem_Allocations(), allocations + 1); // a freed block stays counted as an allocation
}

TEST(MemAllocate, SeveralBlocksAreCountedIndividually) {
  const long long live = mem_LiveBlocks();
  const long long allocations = mem_Allocations();
  void* first = mem_Allocate(8);
  void* second = mem_Allocate(16);
  void* third = mem_Allocate(1000);
  EXPECT_EQ(mem_LiveBlocks(), live + 3);
  EXPECT_EQ(mem_Allocations(), allocations + 3);
  mem_Free(second);
  EXPECT_EQ(mem_LiveBlocks(), live + 2);
  mem_Free(first);
  mem_Free(third);
  EXPECT_EQ(mem_LiveBlocks(), live);
}

TEST(MemFree, NullPointerDoesNothing) {
  const long long live = mem_LiveBlocks();
  const long long allocations = mem_Allocations();
  mem_Free(nullptr);
  EXPECT_EQ(mem_LiveBlocks(), live);
  EXPECT_EQ(mem_Allocations(), allocations);
}

TEST(MemAllocate, LargestSizeThrowsBadAllocAndCountsNothing) {
  const long long live = mem_LiveBlocks();
  const long long allocations = mem_Allocations();
  EXPECT_THROW(mem_Allocate(SIZE_MAX), std::bad_alloc);
  EXPECT_EQ(mem_LiveBlocks(), live);
  EXPECT_EQ(mem_Allocations(), allocations);
}

TEST(MemAllocate, SizeAboveAddressSpaceHalfThrowsBadAlloc) {
  const long long live = mem_LiveBlocks();
  EXPECT_THROW(mem_Allocate(SIZE_MAX / 2 + 1), std::bad_alloc);
  EXPECT_EQ(mem_LiveBlocks(), live);
}

TEST(MemAllocate, ZeroBytesGivesDistinctNonNullBlocks) {
  const long long live = mem_LiveBlocks();
  void* first = mem_Allocate(0);
  void* second = mem_Allocate(0);
  EXPECT_NE(first, nullptr);
  EXPECT_NE(second, nullptr);
  EXPECT_NE(first, second);
  EXPECT_EQ(mem_LiveBlocks(), live + 2);
  mem_Free(first);
  mem_Free(second);
  EXPECT_EQ(mem_LiveBlocks(), live);
}

// ---------------------------------------------------------------------------------------------
// Array byte counts

TEST(MemArrayBytes, NormalProducts) {
  EXPECT_EQ(mem_ArrayBytes(3, 4), 12u);
  EXPECT_EQ(mem_ArrayBytes(1, 8), 8u);
  EXPECT_EQ(mem_ArrayBytes(1000, 24), 24000u);
  EXPECT_EQ(mem_ArrayBytes(2147483647, 8), 17179869176u);
}

TEST(MemArrayBytes, ZeroCountOrZeroWidthIsZero) {
  EXPECT_EQ(mem_ArrayBytes(0, 8), 0u);
  EXPECT_EQ(mem_ArrayBytes(5, 0), 0u);
  EXPECT_EQ(mem_ArrayBytes(INT64_MAX, 0), 0u);
}

TEST(MemArrayBytes, NegativeCountGivesLargestSize) {
  EXPECT_EQ(mem_ArrayBytes(-1, 8), SIZE_MAX);
  EXPECT_EQ(mem_ArrayBytes(-1, 1), SIZE_MAX);
  EXPECT_EQ(mem_ArrayBytes(INT64_MIN, 8), SIZE_MAX);
  EXPECT_EQ(mem_ArrayBytes(-5, 0), SIZE_MAX);
}

TEST(MemArrayBytes, OverflowGivesLargestSize) {
  // 2^61 elements of 8 bytes are 2^64 bytes: one more than fits.
  EXPECT_EQ(mem_ArrayBytes(std::int64_t{1} << 61, 8), SIZE_MAX);
  EXPECT_EQ(mem_ArrayBytes(INT64_MAX, 3), SIZE_MAX);
  EXPECT_EQ(mem_ArrayBytes(INT64_MAX, SIZE_MAX), SIZE_MAX);
  EXPECT_EQ(mem_ArrayBytes(2, SIZE_MAX), SIZE_MAX);
}

TEST(MemArrayBytes, LargestProductsThatFit) {
  // 2^61 - 1 elements of 8 bytes: 2^64 - 8 bytes.
  EXPECT_EQ(mem_ArrayBytes((std::int64_t{1} << 61) - 1, 8), SIZE_MAX - 7);
  EXPECT_EQ(mem_ArrayBytes(INT64_MAX, 1), static_cast<std::size_t>(INT64_MAX));
  EXPECT_EQ(mem_ArrayBytes(INT64_MAX, 2), SIZE_MAX - 1);
  EXPECT_EQ(mem_ArrayBytes(1, SIZE_MAX), SIZE_MAX);
}

TEST(MemArrayBytes, OverflowedCountMakesAllocationFail) {
  const long long live = mem_LiveBlocks();
  EXPECT_THROW(mem_Allocate(mem_ArrayBytes(INT64_MAX, 16)), std::bad_alloc);
  EXPECT_THROW(mem_Allocate(mem_ArrayBytes(-3, 16)), std::bad_alloc);
  EXPECT_EQ(mem_LiveBlocks(), live);
}

// ---------------------------------------------------------------------------------------------
// Module start and end

TEST(MemModule, StartsAndEndsNestAndLeaveTheCounterAlone) {
  expectStartsAndEndsNest({mem_initialize, mem_finalize, mem_initialized}, 7, 2);
}

TEST(MemModule, UnmatchedEndIsIgnored) {
  expectUnmatchedEndIsIgnored({mem_initialize, mem_finalize, mem_initialized}, -3);
}

// ---------------------------------------------------------------------------------------------
// aio_ostream, buffer mode

TEST(AioOstreamBuffer, StartsEmpty) {
  aio_ostream out;
  EXPECT_EQ(out.Str(), "");
  EXPECT_FALSE(out.Failed());
}

TEST(AioOstreamBuffer, PrintPutAndShiftAppendInOrder) {
  aio_ostream out;
  out.print("alpha").put(' ').print("beta");
  out << ", "
      << "gamma";
  out.put('!').flush();
  EXPECT_EQ(out.Str(), "alpha beta, gamma!");
  EXPECT_FALSE(out.Failed());
}

TEST(AioOstreamBuffer, MembersReturnTheSameStream) {
  aio_ostream out;
  EXPECT_EQ(&out.print("a"), &out);
  EXPECT_EQ(&out.print_double(1.0), &out);
  EXPECT_EQ(&out.put('b'), &out);
  EXPECT_EQ(&out.flush(), &out);
  EXPECT_EQ(&(out << "c"), &out);
  EXPECT_EQ(out.Str(), "a1bc");
}

TEST(AioOstreamBuffer, PrintNullWritesNothing) {
  aio_ostream out;
  out.print("x");
  out.print(nullptr);
  out << static_cast<const char*>(nullptr);
  out.print("y");
  EXPECT_EQ(out.Str(), "xy");
}

TEST(AioOstreamBuffer, PutWritesAZeroCharacter) {
  aio_ostream out;
  out.put('a').put('\0').put('b');
  EXPECT_EQ(out.Str(), std::string("a\0b", 3));
}

TEST(AioOstreamBuffer, FlushDoesNotChangeTheText) {
  aio_ostream out;
  out.print("kept");
  out.flush();
  EXPECT_EQ(out.Str(), "kept");
}

TEST(AioOstreamBuffer, LongTextIsKeptWhole) {
  aio_ostream out;
  std::string expected;
  for (int i = 0; i < 5000; ++i) {
    const char c = static_cast<char>('a' + i % 26);
    out.put(c);
    expected.push_back(c);
  }
  EXPECT_EQ(out.Str(), expected);
}

// ---------------------------------------------------------------------------------------------
// aio_ostream, file mode

TEST(AioOstreamFile, WritesGoToTheFile) {
  std::FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  {
    aio_ostream out(file);
    out.print("value = ").print_double(-0.5).put(';');
    out << " done";
    out.flush();
    EXPECT_FALSE(out.Failed());
    EXPECT_EQ(out.Str(), ""); // the buffer is not used in file mode
  }
  EXPECT_EQ(readAll(file), "value = -0.5; done");
  std::fclose(file);
}

TEST(AioOstreamFile, PrintNullWritesNothingToTheFile) {
  std::FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  aio_ostream out(file);
  out.print(nullptr);
  out << static_cast<const char*>(nullptr);
  out.print("");
  out.flush();
  EXPECT_FALSE(out.Failed());
  EXPECT_EQ(readAll(file), "");
  std::fclose(file);
}

TEST(AioOstreamFile, StreamDoesNotCloseTheFile) {
  std::FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  {
    aio_ostream out(file);
    out.print("first");
    out.flush();
  }
  // The caller's stream is still open and usable after the aio_ostream is gone.
  EXPECT_GT(std::fputs(" second", file), -1);
  EXPECT_EQ(readAll(file), "first second");
  std::fclose(file);
}

TEST(AioOstreamFile, WriteToReadOnlyStreamSetsFailed) {
  std::FILE* file = std::fopen("/dev/null", "r");
  ASSERT_NE(file, nullptr);
  aio_ostream out(file);
  EXPECT_FALSE(out.Failed());
  out.print("cannot be written");
  EXPECT_TRUE(out.Failed());
  std::fclose(file);
}

// ---------------------------------------------------------------------------------------------
// print_double

TEST(AioOstreamPrintDouble, Zero) {
  EXPECT_EQ(printed(0.0), "0");
}

TEST(AioOstreamPrintDouble, NegativeZeroKeepsItsSign) {
  EXPECT_EQ(printed(-0.0), "-0");
}

TEST(AioOstreamPrintDouble, One) {
  EXPECT_EQ(printed(1.0), "1");
}

TEST(AioOstreamPrintDouble, MinusOneHalf) {
  EXPECT_EQ(printed(-0.5), "-0.5");
}

TEST(AioOstreamPrintDouble, SmallPowerOfTenIsScientific) {
  EXPECT_EQ(printed(1e-05), "1e-05");
}

TEST(AioOstreamPrintDouble, OneTenthIsShortest) {
  EXPECT_EQ(printed(0.1), "0.1");
}

TEST(AioOstreamPrintDouble, WidenedFloatMaximum) {
  EXPECT_EQ(printed(static_cast<double>(std::numeric_limits<float>::max())),
            "3.4028234663852886e+38");
}

TEST(AioOstreamPrintDouble, LargePowerOfTenIsScientific) {
  EXPECT_EQ(printed(1e21), "1e+21");
}

TEST(AioOstreamPrintDouble, NineDigitIntegerIsFixed) {
  EXPECT_EQ(printed(123456789.0), "123456789");
}

TEST(AioOstreamPrintDouble, HundredIsFixed) {
  EXPECT_EQ(printed(100.0), "100");
}

TEST(AioOstreamPrintDouble, SumWithRoundingErrorShowsAllDigits) {
  EXPECT_EQ(printed(0.1 + 0.2), "0.30000000000000004");
}

TEST(AioOstreamPrintDouble, LargestDouble) {
  EXPECT_EQ(printed(std::numeric_limits<double>::max()), "1.7976931348623157e+308");
}

TEST(AioOstreamPrintDouble, SmallestSubnormal) {
  EXPECT_EQ(printed(std::numeric_limits<double>::denorm_min()), "5e-324");
}

TEST(AioOstreamPrintDouble, PositiveInfinity) {
  EXPECT_EQ(printed(std::numeric_limits<double>::infinity()), "inf");
}

TEST(AioOstreamPrintDouble, NegativeInfinity) {
  EXPECT_EQ(printed(-std::numeric_limits<double>::infinity()), "-inf");
}

TEST(AioOstreamPrintDouble, NotANumber) {
  EXPECT_EQ(printed(std::numeric_limits<double>::quiet_NaN()), "nan");
}

TEST(AioOstreamPrintDouble, NotANumberWithTheSignBitSetPrintsAlike) {
  const double negativeNan = std::copysign(std::numeric_limits<double>::quiet_NaN(), -1.0);
  ASSERT_TRUE(std::signbit(negativeNan));
  EXPECT_EQ(printed(negativeNan), "nan");
}

TEST(AioOstreamPrintDouble, SeveralValuesInOneStream) {
  aio_ostream out;
  out.print_double(1.0).put(' ').print_double(0.25).put(' ').print_double(-2.0);
  EXPECT_EQ(out.Str(), "1 0.25 -2");
}

// The printed text reads back as the same double, for values spread over the whole exponent range
// (subnormals included).
TEST(AioOstreamPrintDouble, TextReadsBackAsTheSameBits) {
  std::uniform_int_distribution<std::uint64_t> anyBits;
  std::uniform_int_distribution<int> exponents(-1074, 1023);
  int checked = 0;
  for (int i = 0; i < 4000; ++i) {
    double value;
    if (i % 2 == 0) {
      // Any bit pattern that is a finite number.
      const std::uint64_t bits = anyBits(testRandom());
      std::memcpy(&value, &bits, sizeof value);
      if (!std::isfinite(value)) {
        continue;
      }
    } else {
      // A mantissa in [1, 2) scaled by a uniformly chosen power of two, either sign.
      const double mantissa = uniform(1.0, 2.0);
      value = std::ldexp(i % 4 == 1 ? mantissa : -mantissa, exponents(testRandom()));
    }
    const std::string text = printed(value);
    char* end = nullptr;
    const double back = std::strtod(text.c_str(), &end);
    ASSERT_EQ(end, text.c_str() + text.size()) << text;
    ASSERT_EQ(bitsOf(back), bitsOf(value)) << text;
    ++checked;
  }
  EXPECT_GT(checked, 3500);
}

// In scientific notation the text carries no more significant digits than the shortest correctly
// rounded decimal that reads back. (A mantissa of exactly 1 is left out: at a power of two the
// shortest text may be shorter than the correctly rounded one, never longer.)
TEST(AioOstreamPrintDouble, ScientificTextHasTheFewestDigits) {
  std::uniform_int_distribution<std::uint64_t> anyBits;
  int checked = 0;
  for (int i = 0; i < 3000; ++i) {
    const std::uint64_t bits = anyBits(testRandom());
    double value;
    std::memcpy(&value, &bits, sizeof value);
    if (!std::isfinite(value) || (bits & ((std::uint64_t{1} << 52) - 1)) == 0) {
      continue;
    }
    const std::string text = printed(value);
    if (text.find('e') == std::string::npos) {
      continue;
    }
    ASSERT_EQ(significantDigits(text), fewestRoundTripDigits(value)) << text;
    ++checked;
  }
  EXPECT_GT(checked, 2500);
}
