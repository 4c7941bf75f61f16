// Tests of KPTatr: the shared string representation atr_StringBase and the counted handle
// atr_String.

#include "test_support.h"

#include <climits>
#include <stdexcept>
#include <string>

namespace {

constexpr int kWhole = 2147483647;

// A representation made directly (count 0), deleted by the test with Delete().
atr_StringBase* makeBase(const char* text) {
  return new atr_StringBase(text);
}

} // namespace

// ---------------------------------------------------------------------------------------------
// atr_StringBase

TEST(AtrStringBase, HoldsACopyOfTheText) {
  const long long live = mem_LiveBlocks();
  char source[] = "hello";
  atr_StringBase* base = makeBase(source);
  source[0] = 'j'; // the representation does not alias the caller's characters
  EXPECT_STREQ(base->Text(), "hello");
  EXPECT_EQ(base->Length(), 5);
  EXPECT_EQ(base->Count(), 0);
  base->Delete();
  EXPECT_EQ(mem_LiveBlocks(), live);
}

TEST(AtrStringBase, NullTextIsEmpty) {
  const long long live = mem_LiveBlocks();
  atr_StringBase* base = makeBase(nullptr);
  EXPECT_STREQ(base->Text(), "");
  EXPECT_EQ(base->Length(), 0);
  base->Delete();
  EXPECT_EQ(mem_LiveBlocks(), live);
}

TEST(AtrStringBase, StorageComesFromTheMemoryModule) {
  const long long live = mem_LiveBlocks();
  atr_StringBase* base = makeBase("abc");
  EXPECT_GT(mem_LiveBlocks(), live);
  base->Delete();
  EXPECT_EQ(mem_LiveBlocks(), live);
}

TEST(AtrStringBase, AppendWithLargestCountAppendsTheWholeText) {
  const long long live = mem_LiveBlocks();
  atr_StringBase* base = makeBase("abc");
  atr_StringBase& result = base->append("defgh", 5, 0, kWhole);
  EXPECT_EQ(&result, base);
  EXPECT_STREQ(base->Text(), "abcdefgh");
  EXPECT_EQ(base->Length(), 8);
  base->Delete();
  EXPECT_EQ(mem_LiveBlocks(), live);
}

TEST(AtrStringBase, AppendToEmptyRepresentation) {
  atr_StringBase* base = makeBase("");
  base->append("xyz", 3, 0, kWhole);
  EXPECT_STREQ(base->Text(), "xyz");
  EXPECT_EQ(base->Length(), 3);
  base->Delete();
}

TEST(AtrStringBase, AppendFromStartWithCount) {
  atr_StringBase* base = makeBase(">");
  base->append("hello world", 11, 6, 3);
  EXPECT_STREQ(base->Text(), ">wor");
  EXPECT_EQ(base->Length(), 4);
  base->Delete();
}

TEST(AtrStringBase, CountBeyondTheEndStopsAtTheEnd) {
  atr_StringBase* base = makeBase("");
  base->append("hello", 5, 3, 100);
  EXPECT_STREQ(base->Text(), "lo");
  EXPECT_EQ(base->Length(), 2);
  base->Delete();
}

TEST(AtrStringBase, LengthShorterThanTheTextLimitsTheAppend) {
  atr_StringBase* base = makeBase("");
  base->append("abcdef", 3, 1, kWhole);
  EXPECT_STREQ(base->Text(), "bc");
  base->Delete();
}

TEST(AtrStringBase, StartAtLengthAppendsNothing) {
  atr_StringBase* base = makeBase("keep");
  base->append("abc", 3, 3, kWhole);
  EXPECT_STREQ(base->Text(), "keep");
  EXPECT_EQ(base->Length(), 4);
  base->Delete();
}

TEST(AtrStringBase, ZeroCountAppendsNothing) {
  atr_StringBase* base = makeBase("keep");
  base->append("abc", 3, 0, 0);
  EXPECT_STREQ(base->Text(), "keep");
  EXPECT_EQ(base->Length(), 4);
  base->Delete();
}

TEST(AtrStringBase, NegativeLengthThrowsAndLeavesTheTextUnchanged) {
  atr_StringBase* base = makeBase("keep");
  EXPECT_THROW(base->append("abc", -1, 0, kWhole), std::out_of_range);
  EXPECT_STREQ(base->Text(), "keep");
  EXPECT_EQ(base->Length(), 4);
  base->Delete();
}

TEST(AtrStringBase, NegativeStartThrowsAndLeavesTheTextUnchanged) {
  atr_StringBase* base = makeBase("keep");
  EXPECT_THROW(base->append("abc", 3, -1, kWhole), std::out_of_range);
  EXPECT_STREQ(base->Text(), "keep");
  EXPECT_EQ(base->Length(), 4);
  base->Delete();
}

TEST(AtrStringBase, NegativeCountThrowsAndLeavesTheTextUnchanged) {
  atr_StringBase* base = makeBase("keep");
  EXPECT_THROW(base->append("abc", 3, 0, -1), std::out_of_range);
  EXPECT_STREQ(base->Text(), "keep");
  EXPECT_EQ(base->Length(), 4);
  base->Delete();
}

TEST(AtrStringBase, StartAfterLengthThrowsAndLeavesTheTextUnchanged) {
  atr_StringBase* base = makeBase("keep");
  EXPECT_THROW(base->append("abc", 3, 4, kWhole), std::out_of_range);
  EXPECT_STREQ(base->Text(), "keep");
  EXPECT_EQ(base->Length(), 4);
  base->Delete();
}

TEST(AtrStringBase, FailedAppendLeaksNothing) {
  const long long live = mem_LiveBlocks();
  const long long allocations = mem_Allocations();
  atr_StringBase* base = makeBase("keep");
  const long long afterMake = mem_Allocations();
  EXPECT_THROW(base->append("abc", 3, 0, INT_MIN), std::out_of_range);
  EXPECT_EQ(mem_Allocations(), afterMake);
  base->Delete();
  EXPECT_EQ(mem_LiveBlocks(), live);
  EXPECT_GT(afterMake, allocations);
}

TEST(AtrStringBase, AppendOfItsOwnWholeText) {
  const long long live = mem_LiveBlocks();
  atr_StringBase* base = makeBase("abc");
  base->append(base->Text(), base->Length(), 0, kWhole);
  EXPECT_STREQ(base->Text(), "abcabc");
  EXPECT_EQ(base->Length(), 6);
  base->append(base->Text(), base->Length(), 0, kWhole);
  EXPECT_STREQ(base->Text(), "abcabcabcabc");
  base->Delete();
  EXPECT_EQ(mem_LiveBlocks(), live);
}

TEST(AtrStringBase, AppendOfPartOfItsOwnText) {
  atr_StringBase* base = makeBase("abcdef");
  base->append(base->Text(), base->Length(), 2, 3);
  EXPECT_STREQ(base->Text(), "abcdefcde");
  // The text's tail, given as a pointer into the representation.
  base->append(base->Text() + 7, 2, 0, kWhole);
  EXPECT_STREQ(base->Text(), "abcdefcdede");
  base->Delete();
}

TEST(AtrStringBase, AppendOfItsOwnTextWithRoomToSpare) {
  atr_StringBase* base = makeBase("ab");
  // One character at a time, so that the storage grows past the length; the appends below then
  // read their own characters both when the storage moves and when it does not.
  for (int i = 0; i < 6; ++i) {
    base->append(base->Text(), base->Length(), 0, 1);
  }
  ASSERT_STREQ(base->Text(), "abaaaaaa");
  base->append(base->Text(), base->Length(), 0, 3);
  EXPECT_STREQ(base->Text(), "abaaaaaaaba");
  base->append(base->Text(), base->Length(), 1, 2);
  EXPECT_STREQ(base->Text(), "abaaaaaaababa");
  base->Delete();
}

TEST(AtrStringBase, GrowsOverManyAppends) {
  const long long live = mem_LiveBlocks();
  atr_StringBase* base = makeBase("");
  std::string expected;
  for (int i = 0; i < 3000; ++i) {
    const char piece[3] = {static_cast<char>('a' + i % 26), static_cast<char>('0' + i % 10), '\0'};
    const int count = 1 + i % 2;
    base->append(piece, 2, 0, count);
    expected.append(piece, static_cast<std::size_t>(count));
  }
  EXPECT_EQ(base->Length(), static_cast<int>(expected.size()));
  EXPECT_EQ(std::string(base->Text()), expected);
  EXPECT_EQ(base->Text()[base->Length()], '\0');
  base->Delete();
  EXPECT_EQ(mem_LiveBlocks(), live);
}

// ---------------------------------------------------------------------------------------------
// atr_String

TEST(AtrString, EmptyStringHasNoRepresentation) {
  const long long allocations = mem_Allocations();
  atr_String empty;
  EXPECT_STREQ(empty.Text(), "");
  EXPECT_EQ(empty.Length(), 0);
  EXPECT_EQ(empty.UseCount(), 0);
  EXPECT_EQ(mem_Allocations(), allocations);
}

TEST(AtrString, CopyOfEmptyStringIsEmpty) {
  atr_String empty;
  atr_String copy(empty);
  EXPECT_STREQ(copy.Text(), "");
  EXPECT_EQ(copy.UseCount(), 0);
  EXPECT_EQ(empty.UseCount(), 0);
}

TEST(AtrString, HoldsACopyOfTheText) {
  char source[] = "value";
  atr_String text(source);
  source[0] = 'X';
  EXPECT_STREQ(text.Text(), "value");
  EXPECT_EQ(text.Length(), 5);
  EXPECT_EQ(text.UseCount(), 1);
}

TEST(AtrString, CopyRaisesTheCountAndSharesTheCharacters) {
  atr_String original("shared");
  AllocationCounter allocations;
  atr_String copy(original);
  EXPECT_EQ(allocations.Count(), 0);
  EXPECT_EQ(original.UseCount(), 2);
  EXPECT_EQ(copy.UseCount(), 2);
  EXPECT_EQ(copy.Text(), original.Text()); // the same characters, not an equal copy
}

TEST(AtrString, AssignmentSharesTheRepresentation) {
  atr_String first("one");
  atr_String second("two");
  second = first;
  EXPECT_EQ(first.UseCount(), 2);
  EXPECT_EQ(second.Text(), first.Text());
  EXPECT_STREQ(second.Text(), "one");
}

TEST(AtrString, DestructionLowersTheCount) {
  atr_String original("shared");
  {
    atr_String copy(original);
    atr_String another(copy);
    EXPECT_EQ(original.UseCount(), 3);
  }
  EXPECT_EQ(original.UseCount(), 1);
}

TEST(AtrString, RepresentationDeletedAtCountZero) {
  const long long live = mem_LiveBlocks();
  {
    atr_String text("temporary");
    EXPECT_GT(mem_LiveBlocks(), live);
    atr_String copy(text);
  }
  EXPECT_EQ(mem_LiveBlocks(), live);
}

TEST(AtrString, RepresentationOutlivesTheFirstHandle) {
  const long long live = mem_LiveBlocks();
  {
    atr_String kept;
    {
      atr_String first("survivor");
      kept = first;
    }
    EXPECT_STREQ(kept.Text(), "survivor");
    EXPECT_EQ(kept.UseCount(), 1);
    EXPECT_GT(mem_LiveBlocks(), live);
  }
  EXPECT_EQ(mem_LiveBlocks(), live);
}

TEST(AtrString, AssigningOverTheLastHandleDeletesTheOldRepresentation) {
  const long long live = mem_LiveBlocks();
  atr_String text("old");
  const long long withOne = mem_LiveBlocks();
  text = atr_String("new");
  EXPECT_STREQ(text.Text(), "new");
  EXPECT_EQ(mem_LiveBlocks(), withOne);
  text = atr_String();
  EXPECT_EQ(text.UseCount(), 0);
  EXPECT_EQ(mem_LiveBlocks(), live);
}

TEST(AtrString, SelfAssignmentKeepsTheString) {
  const long long live = mem_LiveBlocks();
  {
    atr_String text("self");
    atr_String& alias = text;
    text = alias;
    EXPECT_STREQ(text.Text(), "self");
    EXPECT_EQ(text.UseCount(), 1);
  }
  EXPECT_EQ(mem_LiveBlocks(), live);
}

TEST(AtrString, SelfAssignmentOfASharedString) {
  atr_String text("self");
  atr_String copy(text);
  atr_String& alias = text;
  text = alias;
  EXPECT_STREQ(text.Text(), "self");
  EXPECT_EQ(text.UseCount(), 2);
}

TEST(AtrString, SelfAssignmentOfTheEmptyString) {
  atr_String empty;
  atr_String& alias = empty;
  empty = alias;
  EXPECT_STREQ(empty.Text(), "");
  EXPECT_EQ(empty.UseCount(), 0);
}

TEST(AtrString, AppendToAnUnsharedString) {
  atr_String text("abc");
  text.Append("def").Append("g");
  EXPECT_STREQ(text.Text(), "abcdefg");
  EXPECT_EQ(text.Length(), 7);
  EXPECT_EQ(text.UseCount(), 1);
}

TEST(AtrString, AppendToTheEmptyString) {
  atr_String text;
  text.Append("first");
  EXPECT_STREQ(text.Text(), "first");
  EXPECT_EQ(text.Length(), 5);
  EXPECT_EQ(text.UseCount(), 1);
}

TEST(AtrString, AppendToASharedStringCopiesOnWrite) {
  atr_String original("abc");
  atr_String copy(original);
  copy.Append("def");
  EXPECT_STREQ(original.Text(), "abc");
  EXPECT_EQ(original.Length(), 3);
  EXPECT_STREQ(copy.Text(), "abcdef");
  EXPECT_EQ(copy.Length(), 6);
  EXPECT_EQ(original.UseCount(), 1);
  EXPECT_EQ(copy.UseCount(), 1);
}

TEST(AtrString, AppendOfItsOwnText) {
  atr_String text("ab");
  text.Append(text.Text());
  EXPECT_STREQ(text.Text(), "abab");
  text.Append(text.Text());
  EXPECT_STREQ(text.Text(), "abababab");
}

TEST(AtrString, AppendOfItsOwnTextWhileShared) {
  atr_String text("ab");
  atr_String copy(text);
  text.Append(text.Text());
  EXPECT_STREQ(text.Text(), "abab");
  EXPECT_STREQ(copy.Text(), "ab");
}

TEST(AtrString, ManyAppendsLeakNothing) {
  const long long live = mem_LiveBlocks();
  {
    atr_String text;
    std::string expected;
    for (int i = 0; i < 500; ++i) {
      atr_String snapshot(text); // every other append happens on a shared string
      const char piece[2] = {static_cast<char>('A' + i % 26), '\0'};
      text.Append(piece);
      expected += piece;
      if (i % 2 == 0) {
        snapshot = atr_String();
      }
      EXPECT_EQ(std::string(text.Text()), expected);
    }
    EXPECT_EQ(text.Length(), 500);
  }
  EXPECT_EQ(mem_LiveBlocks(), live);
}

TEST(AtrString, EqualTextsCompareEqual) {
  const atr_String a("same");
  const atr_String b("same");
  EXPECT_NE(a.Text(), b.Text()); // two representations
  EXPECT_TRUE(a == b);
  EXPECT_FALSE(a != b);
}

TEST(AtrString, SharedHandlesCompareEqual) {
  const atr_String a("same");
  const atr_String b(a);
  EXPECT_TRUE(a == b);
}

TEST(AtrString, DifferentTextsCompareUnequal) {
  EXPECT_FALSE(atr_String("abc") == atr_String("abd"));
  EXPECT_TRUE(atr_String("abc") != atr_String("abd"));
}

TEST(AtrString, PrefixIsNotEqual) {
  EXPECT_FALSE(atr_String("ab") == atr_String("abc"));
  EXPECT_FALSE(atr_String("abc") == atr_String("ab"));
}

TEST(AtrString, EmptyStringEqualsEmptyText) {
  EXPECT_TRUE(atr_String() == atr_String(""));
  EXPECT_TRUE(atr_String() == atr_String());
  EXPECT_FALSE(atr_String() == atr_String("x"));
}

// ---------------------------------------------------------------------------------------------
// Module start and end

TEST(AtrModule, StartsAndEndsNestAndLeaveTheCounterAlone) {
  expectStartsAndEndsNest({atr_initialize, atr_finalize, atr_initialized}, 11, 2);
}

TEST(AtrModule, UnmatchedEndIsIgnored) {
  expectUnmatchedEndIsIgnored({atr_initialize, atr_finalize, atr_initialized}, 0);
}
