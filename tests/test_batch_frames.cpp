// The batch engine's frames: tables from 3D and 2D rotations the kernels' bits; cylindrical and
// spherical axes on hand-worked points, their properties on random points (orthonormal,
// right-handed, the definitions' directions), the points where they are undefined (NaN, counted),
// a non-unit and offset axis; the preconditions; and a frame feeding a transform.

#include "batch_data.h"
#include "test_support.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstring>
#include <limits>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

template <typename T>
class BatchFrames : public ::testing::Test {};
TYPED_TEST_SUITE(BatchFrames, utf_Precisions, utf_PrecisionNames);

template <typename T>
double tolerance() {
  return 8 * std::numeric_limits<T>::epsilon();
}

template <typename T>
void expectRows(const T* table, std::array<double, 9> expected) {
  for (int k = 0; k < 9; ++k) {
    EXPECT_NEAR(table[k], expected[k], tolerance<T>()) << "entry " << k;
  }
}

template <typename T>
void expectUndefined(const T* table) {
  for (int k = 0; k < 9; ++k) {
    EXPECT_TRUE(std::isnan(table[k])) << "entry " << k;
  }
}

// Rows orthonormal, det +1.
template <typename T>
void expectRightHandedFrame(const T* t) {
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      const double dot = static_cast<double>(t[3 * i]) * t[3 * j] +
                         static_cast<double>(t[3 * i + 1]) * t[3 * j + 1] +
                         static_cast<double>(t[3 * i + 2]) * t[3 * j + 2];
      ASSERT_NEAR(dot, i == j ? 1.0 : 0.0, tolerance<T>()) << i << j;
    }
  }
  const double det = static_cast<double>(t[0]) *
                         (static_cast<double>(t[4]) * t[8] - static_cast<double>(t[5]) * t[7]) -
                     static_cast<double>(t[1]) *
                         (static_cast<double>(t[3]) * t[8] - static_cast<double>(t[5]) * t[6]) +
                     static_cast<double>(t[2]) *
                         (static_cast<double>(t[3]) * t[7] - static_cast<double>(t[4]) * t[6]);
  ASSERT_NEAR(det, 1.0, 4 * tolerance<T>());
}

TYPED_TEST(BatchFrames, TablesFromRotationsAreTheKernelsBits) {
  using T = TypeParam;
  const std::size_t n = 1000;
  std::vector<T> quaternions(4 * n), rotations(2 * n);
  for (std::size_t i = 0; i < n; ++i) {
    // Not normalised on purpose: the tables are the formulas as they stand.
    for (int k = 0; k < 4; ++k) {
      quaternions[4 * i + k] = static_cast<T>(uniform(-1.5, 1.5));
    }
    randomRotation2d(&rotations[2 * i]);
  }
  std::vector<T> tables3d(9 * n), tables2d(9 * n);
  utf_batchTablesFromQuaternions(quaternions.data(), n, tables3d.data());
  utf_batchTablesFrom2dRotations(rotations.data(), n, tables2d.data());
  for (std::size_t i = 0; i < n; ++i) {
    const PrescribedTable<T> a = prescribedTable3d(&quaternions[4 * i]);
    expectSameBits(&tables3d[9 * i], &a.a[0][0], 9);
    const PrescribedTable<T> b = prescribedTable2d(&rotations[2 * i]);
    expectSameBits(&tables2d[9 * i], &b.a[0][0], 9);
    // The 2D rotation value's full table.
    const cow_2DArray<T> full =
        utf_Quaternion<T>(res_Rotation2d, static_cast<const T*>(&rotations[2 * i])).cosines();
    for (int k = 0; k < 9; ++k) {
      ASSERT_EQ(bitsOf(tables2d[9 * i + k]), bitsOf(full.ConstGet(k / 3, k % 3))) << i << k;
    }
  }
}

TYPED_TEST(BatchFrames, CylindricalAxesOnHandWorkedPoints) {
  using T = TypeParam;
  // Axis z through the origin: at (3, 4, 7) radial (0.6, 0.8, 0), tangential z x radial =
  // (-0.8, 0.6, 0), axial (0, 0, 1); on the axis and at the origin there is no radial direction.
  const T points[12] = {T(3), T(4), T(7), T(0), T(0), T(5), T(0), T(0), T(0), T(-2), T(0), T(1)};
  T tables[36];
  const double origin[3] = {0, 0, 0};
  const double axis[3] = {0, 0, 2}; // any length
  EXPECT_EQ(utf_batchCylindricalTables(points, 4, origin, axis, tables), 2u);
  expectRows(tables, {0.6, 0.8, 0, -0.8, 0.6, 0, 0, 0, 1});
  expectUndefined(tables + 9);
  expectUndefined(tables + 18);
  expectRows(tables + 27, {-1, 0, 0, 0, -1, 0, 0, 0, 1});
  // An axis through (1, 1, 0) along -x: the point (5, 1, 3) is at radius 3 along +z; radial
  // (0, 0, 1), tangential (-x) x z = (0, 1, 0), axial (-1, 0, 0).
  const double shifted[3] = {1, 1, 0};
  const double alongX[3] = {-4, 0, 0};
  const T point[3] = {T(5), T(1), T(3)};
  EXPECT_EQ(utf_batchCylindricalTables(point, 1, shifted, alongX, tables), 0u);
  expectRows(tables, {0, 0, 1, 0, 1, 0, -1, 0, 0});
}

TYPED_TEST(BatchFrames, CylindricalAxesOnRandomPoints) {
  using T = TypeParam;
  const std::size_t n = 3 * utf_batchBlockSize + 5;
  std::vector<T> points(3 * n);
  for (T& value : points) {
    value = static_cast<T>(uniform(-10, 10));
  }
  // A few points exactly on the axis, in several blocks.
  const double origin[3] = {1, -2, 3};
  const double axis[3] = {1, 2, 2};
  for (std::size_t i : {std::size_t{0}, std::size_t{4200}, n - 1}) {
    points[3 * i] = T(4), points[3 * i + 1] = T(4), points[3 * i + 2] = T(9); // origin + 3 axis
  }
  std::vector<T> tables(9 * n);
  EXPECT_EQ(utf_batchCylindricalTables(points.data(), n, origin, axis, tables.data()), 3u);
  const Real a[3] = {1.0L / 3, 2.0L / 3, 2.0L / 3};
  for (std::size_t i = 0; i < n; ++i) {
    const T* t = &tables[9 * i];
    if (i == 0 || i == 4200 || i == n - 1) {
      expectUndefined(t);
      continue;
    }
    expectRightHandedFrame(t);
    // Row 3 the axis; row 1 normal to it, in the plane of the axis and P - origin, pointing away:
    // against long double, to the rounding of T plus that of the normal part in double, which
    // grows as the point nears the axis (|d| / r).
    Real d[3], along = 0;
    for (int k = 0; k < 3; ++k) {
      d[k] = static_cast<Real>(points[3 * i + k]) - origin[k];
      along += d[k] * a[k];
      ASSERT_NEAR(t[6 + k], static_cast<double>(a[k]), tolerance<T>()) << i;
    }
    Real normal[3], normalLength = 0, distance = 0;
    for (int k = 0; k < 3; ++k) {
      normal[k] = d[k] - along * a[k];
      normalLength += normal[k] * normal[k];
      distance += d[k] * d[k];
    }
    normalLength = std::sqrt(normalLength);
    const double bound =
        tolerance<T>() + 8 * std::numeric_limits<double>::epsilon() *
                             static_cast<double>(std::sqrt(distance) / normalLength);
    for (int k = 0; k < 3; ++k) {
      ASSERT_NEAR(t[k], static_cast<double>(normal[k] / normalLength), bound) << i;
    }
  }
}

TYPED_TEST(BatchFrames, SphericalAxesOnHandWorkedAndRandomPoints) {
  using T = TypeParam;
  // Centre 0, polar axis z: at (2, 0, 0) e_r = x, e_phi = z x x = y, e_theta = y x x = -z (the
  // polar angle grows towards -z); at (0, 0, 3) (the pole) and at the centre: undefined.
  const T points[9] = {T(2), T(0), T(0), T(0), T(0), T(3), T(0), T(0), T(0)};
  T tables[27];
  const double centre[3] = {0, 0, 0};
  const double axis[3] = {0, 0, 1};
  EXPECT_EQ(utf_batchSphericalTables(points, 3, centre, axis, tables), 2u);
  expectRows(tables, {1, 0, 0, 0, 0, -1, 0, 1, 0});
  expectUndefined(tables + 9);
  expectUndefined(tables + 18);

  const std::size_t n = 2000;
  std::vector<T> random(3 * n);
  for (T& value : random) {
    value = static_cast<T>(uniform(-10, 10));
  }
  const double c[3] = {0.5, -1, 2};
  const double polar[3] = {0, 3, 4};
  std::vector<T> out(9 * n);
  EXPECT_EQ(utf_batchSphericalTables(random.data(), n, c, polar, out.data()), 0u);
  for (std::size_t i = 0; i < n; ++i) {
    const T* t = &out[9 * i];
    expectRightHandedFrame(t);
    double d[3], length = 0;
    for (int k = 0; k < 3; ++k) {
      d[k] = static_cast<double>(random[3 * i + k]) - c[k];
      length += d[k] * d[k];
    }
    length = std::sqrt(length);
    for (int k = 0; k < 3; ++k) {
      ASSERT_NEAR(t[k], d[k] / length, 4 * tolerance<T>()) << i;
    }
    // e_phi normal to the polar axis; e_theta points away from the pole: its component along the
    // axis is -sin(polar angle) <= 0.
    const double phiAlongAxis = (t[6] * 0 + t[7] * 3.0 + t[8] * 4.0) / 5;
    ASSERT_NEAR(phiAlongAxis, 0.0, 4 * tolerance<T>());
    ASSERT_LE((t[3] * 0 + t[4] * 3.0 + t[5] * 4.0) / 5, 4 * tolerance<T>());
  }
}

TYPED_TEST(BatchFrames, AnAxisWithoutDirectionAndNullArraysFail) {
  using T = TypeParam;
  const T point[3] = {T(1), T(2), T(3)};
  T table[9] = {};
  const double origin[3] = {0, 0, 0};
  for (const std::array<double, 3>& bad :
       {std::array<double, 3>{0, 0, 0},
        std::array<double, 3>{0, std::numeric_limits<double>::quiet_NaN(), 1},
        std::array<double, 3>{std::numeric_limits<double>::infinity(), 0, 0}}) {
    for (bool spherical : {false, true}) {
      expectAssertion(
          [&] {
            if (spherical) {
              utf_batchSphericalTables(point, 1, origin, bad.data(), table);
            } else {
              utf_batchCylindricalTables(point, 1, origin, bad.data(), table);
            }
          },
          "axisLength > 0.0 && std::isfinite(axisLength)", utf_BatchAssertLine::source,
          utf_BatchAssertLine::axisNotADirection);
    }
  }
  const double axis[3] = {0, 0, 1};
  expectAssertion(
      [&] { utf_batchCylindricalTables(point, 1, origin, axis, static_cast<T*>(nullptr)); },
      "count == 0 || array != nullptr", utf_BatchAssertLine::source,
      utf_BatchAssertLine::nullArgument);
  expectAssertion([&] { utf_batchTablesFromQuaternions(static_cast<const T*>(nullptr), 2, table); },
                  "count == 0 || array != nullptr", utf_BatchAssertLine::source,
                  utf_BatchAssertLine::nullArgument);
  for (T value : table) {
    EXPECT_EQ(value, T(0));
  }
}

TYPED_TEST(BatchFrames, AnAxisOfAnyFiniteLengthHasADirection) {
  using T = TypeParam;
  // Axes whose squares overflow or underflow (a power of two times a direction, so that they
  // are exactly parallel to it) give the tables of that direction, bit for bit.
  const T points[6] = {T(1), T(2), T(3), T(-4), T(0.5), T(7)};
  const double origin[3] = {0.5, 0, -1};
  const double unit[3][3] = {{0, 0, 1}, {0.6, 0, 0.8}, {1, 1, 1}};
  const double scales[] = {std::ldexp(1.0, 700), std::ldexp(1.0, 1000), std::ldexp(1.0, -700),
                           std::ldexp(1.0, -1000)};
  for (const double* direction : unit) {
    for (bool spherical : {false, true}) {
      const auto tablesAbout = [&](const double* axis, T* tables) {
        return spherical ? utf_batchSphericalTables(points, 2, origin, axis, tables)
                         : utf_batchCylindricalTables(points, 2, origin, axis, tables);
      };
      T expected[18];
      ASSERT_EQ(tablesAbout(direction, expected), 0u);
      for (double scale : scales) {
        const double axis[3] = {direction[0] * scale, direction[1] * scale, direction[2] * scale};
        T tables[18];
        ASSERT_EQ(tablesAbout(axis, tables), 0u) << scale;
        expectSameBits(tables, expected, 18);
      }
    }
  }
}

TYPED_TEST(BatchFrames, PointsFarFromOrCloseToTheOriginHaveTheirFrames) {
  using T = TypeParam;
  // The point 0 about an origin -s v, s a power of two: its offset s v is exactly parallel to v,
  // its squares overflow or underflow, and its tables are those of the point v about 0, bit for
  // bit.
  const double axis[3] = {1, 2, 2};
  const double zero[3] = {0, 0, 0};
  const double offsets[2][3] = {{3, 1, 0.5}, {-4, 0.5, 7}};
  const T origin0[3] = {T(0), T(0), T(0)};
  for (bool spherical : {false, true}) {
    const auto tableOf = [&](const T* point, const double* origin, T* table) {
      return spherical ? utf_batchSphericalTables(point, 1, origin, axis, table)
                       : utf_batchCylindricalTables(point, 1, origin, axis, table);
    };
    for (const double* v : offsets) {
      const T point[3] = {static_cast<T>(v[0]), static_cast<T>(v[1]), static_cast<T>(v[2])};
      T expected[9];
      ASSERT_EQ(tableOf(point, zero, expected), 0u);
      for (int exponent : {700, 1000, -700, -1000}) {
        const double origin[3] = {-std::ldexp(v[0], exponent), -std::ldexp(v[1], exponent),
                                  -std::ldexp(v[2], exponent)};
        T table[9];
        ASSERT_EQ(tableOf(origin0, origin, table), 0u) << exponent;
        expectSameBits(table, expected, 9);
      }
    }
    if constexpr (std::is_same<T, double>::value) {
      // A point and an origin of opposite signs near the largest double: their offset
      // (3 2^1023, 2^1023, 0) is beyond it, and is taken from halves.
      const T far[3] = {static_cast<T>(std::ldexp(1.5, 1023)),
                        static_cast<T>(std::ldexp(1.0, 1022)), T(0)};
      const double opposite[3] = {-std::ldexp(1.5, 1023), -std::ldexp(1.0, 1022), 0};
      const T near[3] = {T(3), T(1), T(0)};
      T expected[9], table[9];
      ASSERT_EQ(tableOf(near, zero, expected), 0u);
      ASSERT_EQ(tableOf(far, opposite, table), 0u);
      expectSameBits(table, expected, 9);
    }
  }
}

TYPED_TEST(BatchFrames, ACylindricalFrameFeedsATransform) {
  using T = TypeParam;
  // A uniaxial stress of 100 along global x at (0, 5, 0): about the z axis it is all hoop
  // stress (tangential = (-1, 0, 0)), none radial.
  const T points[3] = {T(0), T(5), T(0)};
  const T stress[6] = {T(100), T(0), T(0), T(0), T(0), T(0)};
  T table[9];
  const double origin[3] = {0, 0, 0};
  const double axis[3] = {0, 0, 1};
  ASSERT_EQ(utf_batchCylindricalTables(points, 1, origin, axis, table), 0u);
  T local[6];
  utf_batchTensorsToNewAxes(utf_BatchTensors<T>(stress, 1, res_Tensor3dFull, false),
                            utf_BatchTables<T>::perItem(table, 1), local);
  EXPECT_NEAR(local[0], 0.0, 1e-4);
  EXPECT_NEAR(local[1], 100.0, 1e-4);
  EXPECT_NEAR(local[3], 0.0, 1e-4);
}

// ---------------------------------------------------------------------------------------------
// Several callers at once.

TYPED_TEST(BatchFrames, SeveralCallersAtOnceWhileTheThreadCountChangesKeepTablesAndCounts) {
  using T = TypeParam;
  // Points on the axis in several blocks: each call counts them from every block it runs.
  const std::size_t n = 3 * utf_batchBlockSize + 5;
  std::vector<T> points(3 * n);
  for (T& value : points) {
    value = static_cast<T>(uniform(-10, 10));
  }
  const double origin[3] = {1, -2, 3};
  const double axis[3] = {1, 2, 2};
  for (std::size_t i : {std::size_t{0}, std::size_t{4200}, std::size_t{9000}, n - 1}) {
    points[3 * i] = T(4), points[3 * i + 1] = T(4), points[3 * i + 2] = T(9); // origin + 3 axis
  }
  std::vector<T> quaternions(4 * n);
  for (T& value : quaternions) {
    value = static_cast<T>(uniform(-1, 1));
  }
  utf_batchSetThreadCount(1);
  std::vector<T> cylindrical(9 * n), spherical(9 * n), rotations(9 * n);
  ASSERT_EQ(utf_batchCylindricalTables(points.data(), n, origin, axis, cylindrical.data()), 4u);
  const std::size_t undefined =
      utf_batchSphericalTables(points.data(), n, origin, axis, spherical.data());
  utf_batchTablesFromQuaternions(quaternions.data(), n, rotations.data());
  const int callers = 3;
  std::vector<int> differences(callers, 0);
  callAtOnceWhileTheThreadCountChanges(callers, 3, [&](int caller) {
    std::vector<T> c(9 * n), s(9 * n), r(9 * n);
    const std::size_t onAxis = utf_batchCylindricalTables(points.data(), n, origin, axis, c.data());
    const std::size_t atPoles = utf_batchSphericalTables(points.data(), n, origin, axis, s.data());
    utf_batchTablesFromQuaternions(quaternions.data(), n, r.data());
    differences[caller] += onAxis == 4 && atPoles == undefined && sameBitsAll(c, cylindrical) &&
                                   sameBitsAll(s, spherical) && sameBitsAll(r, rotations)
                               ? 0
                               : 1;
  });
  for (int caller = 0; caller < callers; ++caller) {
    EXPECT_EQ(differences[caller], 0) << "caller " << caller;
  }
}

} // namespace
