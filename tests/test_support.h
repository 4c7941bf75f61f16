#ifndef UTF_TEST_SUPPORT_H
#define UTF_TEST_SUPPORT_H

// Helpers shared by the test programs.

#include "utf.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <type_traits>

// The two instantiations of every value type.
using utf_Precisions = ::testing::Types<float, double>;

// Names the instantiations in test names ("float", "double"):
// TYPED_TEST_SUITE(Fixture, utf_Precisions, utf_PrecisionNames).
struct utf_PrecisionNames {
  template <typename T>
  static std::string GetName(int) {
    return std::is_same<T, float>::value ? "float" : "double";
  }
};

// Runs `action`, which must fail a library assertion, and checks that the exception carries the
// expression text, source file and line exactly.
template <typename Action>
void expectAssertion(Action&& action, const char* expression, const char* file, int line) {
  try {
    action();
  } catch (const nex_AssertException& failure) {
    EXPECT_STREQ(failure.Expression().Text(), expression);
    EXPECT_STREQ(failure.File(), file);
    EXPECT_EQ(failure.Line(), line);
    return;
  } catch (...) {
    ADD_FAILURE() << "expected nex_AssertException \"" << expression << "\", got another exception";
    return;
  }
  ADD_FAILURE() << "expected nex_AssertException \"" << expression << "\", nothing was raised";
}

// Number of calls of the global operator new (all forms) in this process so far.
long long test_GlobalNewCount();

// Counts the allocations made between its construction and a call of Count(): blocks from the
// memory module (mem_Allocate) and from the global operator new, freed or not.
class AllocationCounter {
public:
  AllocationCounter() : m_mem(mem_Allocations()), m_global(test_GlobalNewCount()) {}
  long long Count() const {
    return (mem_Allocations() - m_mem) + (test_GlobalNewCount() - m_global);
  }

private:
  long long m_mem;
  long long m_global;
};

// The pseudo-random source of the property tests: a fixed seed, so every run sees the same data.
inline std::mt19937_64& testRandom() {
  static std::mt19937_64 generator(20261122u);
  return generator;
}

// A uniform value in [low, high).
inline double uniform(double low, double high) {
  return std::uniform_real_distribution<double>(low, high)(testRandom());
}

// pi in long double, and rounded to double.
const long double kPiL = 3.141592653589793238462643383279502884L;
const double kPi = static_cast<double>(kPiL);

// A pseudo-random unit quaternion (x, y, z, w), uniform over the rotations: a point drawn in the
// 4D cube away from the origin, normalised in double and rounded once to T.
template <typename T>
void randomUnitQuaternion(T* q) {
  double d[4];
  double norm2 = 0.0;
  do {
    norm2 = 0.0;
    for (double& value : d) {
      value = uniform(-1.0, 1.0);
      norm2 += value * value;
    }
  } while (norm2 < 0.01);
  const double norm = std::sqrt(norm2);
  for (int i = 0; i < 4; ++i) {
    q[i] = static_cast<T>(d[i] / norm);
  }
}

// (sin(t/2), cos(t/2)) of a pseudo-random in-plane angle t.
template <typename T>
void randomRotation2d(T* p) {
  const double t = uniform(-3.14159, 3.14159);
  p[0] = static_cast<T>(std::sin(t / 2.0));
  p[1] = static_cast<T>(std::cos(t / 2.0));
}

// The exact bits of a value, for bit-for-bit comparisons.
inline std::uint64_t bitsOf(double value) {
  std::uint64_t bits;
  static_assert(sizeof bits == sizeof value, "double is 64 bits");
  __builtin_memcpy(&bits, &value, sizeof bits);
  return bits;
}
inline std::uint32_t bitsOf(float value) {
  std::uint32_t bits;
  static_assert(sizeof bits == sizeof value, "float is 32 bits");
  __builtin_memcpy(&bits, &value, sizeof bits);
  return bits;
}

#endif
