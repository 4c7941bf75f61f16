#ifndef UTF_TEST_BIT_EQUALITY_H
#define UTF_TEST_BIT_EQUALITY_H

// Bit-for-bit comparison: where the library prescribes a rounding rule, its result must be the
// very bits of the same expression evaluated here in the prescribed precision. Comparing bits
// (not values) also tells -0 from +0 and one NaN from another.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

inline std::uint64_t bitsOf(double value) {
  std::uint64_t bits;
  static_assert(sizeof bits == sizeof value, "double is 64 bits");
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

inline std::uint32_t bitsOf(float value) {
  std::uint32_t bits;
  static_assert(sizeof bits == sizeof value, "float is 32 bits");
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

// Checks got[i] and expected[i] bit for bit for i < n, naming the slot of a difference.
template <typename T>
void expectSameBits(const T* got, const T* expected, int n) {
  for (int i = 0; i < n; ++i) {
    EXPECT_EQ(bitsOf(got[i]), bitsOf(expected[i]))
        << "slot " << i << ": " << got[i] << " instead of " << expected[i];
  }
}

#endif
