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

// Independent long-double references of rotations, from the textbook definitions.

// A 3 x 3 direction-cosine table: row i is new axis i in global components.
struct ReferenceTable {
  long double a[3][3];
};

// r = q (x) p, the Hamilton product of quaternions stored vector part first, scalar last.
inline void referenceProduct(const long double* q, const long double* p, long double* r) {
  r[0] = q[3] * p[0] + p[3] * q[0] + (q[1] * p[2] - q[2] * p[1]);
  r[1] = q[3] * p[1] + p[3] * q[1] + (q[2] * p[0] - q[0] * p[2]);
  r[2] = q[3] * p[2] + p[3] * q[2] + (q[0] * p[1] - q[1] * p[0]);
  r[3] = q[3] * p[3] - (q[0] * p[0] + q[1] * p[1] + q[2] * p[2]);
}

// The table of a 3D rotation (x, y, z, w) by turning the global axes: row i is the image
// q e_i q* of global axis i (scaled by |q|^2 for a non-unit q, as the library's table is).
template <typename T>
ReferenceTable referenceTable3d(const T* q) {
  const long double quat[4] = {q[0], q[1], q[2], q[3]};
  const long double conj[4] = {-quat[0], -quat[1], -quat[2], quat[3]};
  ReferenceTable t{};
  for (int i = 0; i < 3; ++i) {
    long double axis[4] = {0, 0, 0, 0};
    axis[i] = 1;
    long double half[4];
    long double image[4];
    referenceProduct(quat, axis, half);
    referenceProduct(half, conj, image);
    for (int j = 0; j < 3; ++j) {
      t.a[i][j] = image[j];
    }
  }
  return t;
}

// The table of a 2D rotation (sin(t/2), cos(t/2)) from its angle t = 2 atan2(p0, p1): rows
// (cos t, sin t, 0), (-sin t, cos t, 0), (0, 0, 1).
template <typename T>
ReferenceTable referenceTable2d(const T* p) {
  const long double t =
      2 * std::atan2(static_cast<long double>(p[0]), static_cast<long double>(p[1]));
  ReferenceTable b{};
  b.a[0][0] = std::cos(t);
  b.a[0][1] = std::sin(t);
  b.a[1][0] = -std::sin(t);
  b.a[1][1] = std::cos(t);
  b.a[2][2] = 1;
  return b;
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
