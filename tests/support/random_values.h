#ifndef UTF_TEST_RANDOM_VALUES_H
#define UTF_TEST_RANDOM_VALUES_H

// The pseudo-random data of the property tests: components, unit quaternions, in-plane rotations.
// One generator with a fixed seed per test program, so that every run sees the same data; a test
// draws its samples in a fixed order, so a failure names a sample that a rerun reproduces.

#include "layouts.h"
#include "utf.h"

#include <array>
#include <cmath>
#include <random>

// The generator of every draw below.
inline std::mt19937_64& testRandom() {
  static std::mt19937_64 generator(20261122u);
  return generator;
}

// A uniform value in [low, high).
inline double uniform(double low, double high) {
  return std::uniform_real_distribution<double>(low, high)(testRandom());
}

// Six components drawn uniformly from [-scale, scale) in double and rounded to T; a layout with
// fewer components uses the first ones.
template <typename T>
std::array<T, 6> randomComponents(double scale) {
  std::array<T, 6> c{};
  for (T& value : c) {
    value = static_cast<T>(uniform(-scale, scale));
  }
  return c;
}

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

// A pseudo-random turn about axis 3 as a 3D quaternion (0, 0, sin(t/2), cos(t/2)): the rotations
// that keep the plane of the planar and surface layouts.
template <typename T>
void randomTurnAboutAxis3(T* q) {
  T p[2];
  randomRotation2d(p);
  q[0] = T(0);
  q[1] = T(0);
  q[2] = p[0];
  q[3] = p[1];
}

// A rotation value of the type that a layout is turned with (2D for the 2D layouts, 3D
// otherwise), pseudo-random over all rotations of that type.
template <typename T>
utf_Quaternion<T> randomRotationFor(res_DataTypeEnm type) {
  T values[4];
  if (is2d(type)) {
    randomRotation2d(values);
    return utf_Quaternion<T>(res_Rotation2d, static_cast<const T*>(values));
  }
  randomUnitQuaternion(values);
  return utf_Quaternion<T>(res_Rotation3d, static_cast<const T*>(values));
}

#endif
