// utf_Quat3dBase<T>: the raw 3D rotation kernel over a caller's four values (x, y, z, w).

#include "test_support.h"

#include <cmath>
#include <limits>
#include <string>
#include <type_traits>

namespace {

const int kSamples = 4000;

// Loose agreement bounds for the property tests, per precision.
template <typename T>
double tolerance() {
  return std::is_same<T, float>::value ? 4e-6 : 2e-14;
}

// Expects q2 to be q or -q (the same rotation) within `bound`.
template <typename A, typename B>
void expectSameRotation(const A* q, const B* q2, double bound) {
  double dot = 0.0;
  for (int i = 0; i < 4; ++i) {
    dot += static_cast<double>(q[i]) * static_cast<double>(q2[i]);
  }
  const double sign = dot < 0.0 ? -1.0 : 1.0;
  for (int i = 0; i < 4; ++i) {
    EXPECT_NEAR(static_cast<double>(q2[i]), sign * static_cast<double>(q[i]), bound) << "i=" << i;
  }
}

template <typename T>
void expectValues(const T* actual, T x, T y, T z, T w) {
  EXPECT_EQ(actual[0], x);
  EXPECT_EQ(actual[1], y);
  EXPECT_EQ(actual[2], z);
  EXPECT_EQ(actual[3], w);
}

template <typename T>
class Quat3dKernel : public ::testing::Test {};
TYPED_TEST_SUITE(Quat3dKernel, utf_Precisions, utf_PrecisionNames);

TYPED_TEST(Quat3dKernel, IsAHandleOverTheCallerValues) {
  using T = TypeParam;
  T q[4] = {T(0.5), T(-0.5), T(0.5), T(0.5)};
  const utf_Quat3dBase<T> kernel(q);
  EXPECT_EQ(kernel.data(), q);
  EXPECT_EQ(sizeof(utf_Quat3dBase<T>), sizeof(T*)) << "one member: the pointer";
  const utf_Quat3dBase<T> copy(kernel);
  EXPECT_EQ(copy.data(), q) << "copying a kernel copies the pointer";
  utf_Quat3dBase<T> writer(q);
  writer.setIdentity();
  expectValues<T>(q, T(0), T(0), T(0), T(1));
}

TYPED_TEST(Quat3dKernel, SetIdentityThenCosinesIsTheUnitTable) {
  using T = TypeParam;
  T q[4] = {T(3), T(-2), T(7), T(0.25)};
  utf_Quat3dBase<T> kernel(q);
  kernel.setIdentity();
  expectValues<T>(q, T(0), T(0), T(0), T(1));
  T c[3][3];
  kernel.cosines(c);
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      EXPECT_EQ(c[i][j], i == j ? T(1) : T(0)) << i << "," << j;
    }
  }
}

TYPED_TEST(Quat3dKernel, SetFromTheGlobalAxesIsTheIdentity) {
  using T = TypeParam;
  T q[4] = {T(9), T(9), T(9), T(9)};
  utf_Quat3dBase<T>(q).set(gsl_Vector(1, 0, 0), gsl_Vector(0, 1, 0), gsl_Vector(0, 0, 1));
  expectValues<T>(q, T(0), T(0), T(0), T(1));
}

TYPED_TEST(Quat3dKernel, LeftHandedFrameIsTakenWithItsYAxisReversed) {
  using T = TypeParam;
  // (X, Y, Z) = ((1,0,0), (0,1,0), (0,0,-1)) is read as ((1,0,0), (0,-1,0), (0,0,-1)): a half
  // turn about X, which is (1, 0, 0, 0).
  T left[4];
  utf_Quat3dBase<T>(left).set(gsl_Vector(1, 0, 0), gsl_Vector(0, 1, 0), gsl_Vector(0, 0, -1));
  expectValues<T>(left, T(1), T(0), T(0), T(0));
  T right[4];
  utf_Quat3dBase<T>(right).set(gsl_Vector(1, 0, 0), gsl_Vector(0, -1, 0), gsl_Vector(0, 0, -1));
  // Equal values (the reversed zeros of Y may leave a zero of the other sign).
  expectValues<T>(left, right[0], right[1], right[2], right[3]);
}

TYPED_TEST(Quat3dKernel, AnUndecidableHandednessAlsoReversesY) {
  using T = TypeParam;
  // With Z = (inf, 0, 1) the test (X x Y) . Z is 0 * inf + ... = NaN, which counts as
  // left-handed. Unrepaired the trace branch would give w = 1; with Y reversed the trace is 1
  // and w = sqrt(2) / 2.
  const double inf = std::numeric_limits<double>::infinity();
  T q[4];
  utf_Quat3dBase<T>(q).set(gsl_Vector(1, 0, 0), gsl_Vector(0, 1, 0), gsl_Vector(inf, 0, 1));
  EXPECT_EQ(q[3], static_cast<T>(0.5 * std::sqrt(2.0)));
  EXPECT_EQ(q[0], T(0));
  EXPECT_EQ(q[2], T(0));
  EXPECT_TRUE(std::isinf(q[1]));
}

TYPED_TEST(Quat3dKernel, HomogeneousWeightsDivideEachComponent) {
  using T = TypeParam;
  // A quarter turn about Z: X = (0, 1, 0), Y = (-1, 0, 0), Z = (0, 0, 1), given with weights.
  T weighted[4];
  utf_Quat3dBase<T>(weighted).set(gsl_Vector(0, 2, 0, 2), gsl_Vector(-3, 0, 0, 3),
                                  gsl_Vector(0, 0, -5, -5));
  // Trace branch: w = 0.5 sqrt(1 + 1), z = (a1 - a3) / (4 w) = 2 / (4 w).
  const double w = 0.5 * std::sqrt(2.0);
  expectValues<T>(weighted, T(0), T(0), static_cast<T>(2.0 / (4.0 * w)), static_cast<T>(w));
  T plain[4];
  utf_Quat3dBase<T>(plain).set(gsl_Vector(0, 1, 0), gsl_Vector(-1, 0, 0), gsl_Vector(0, 0, 1));
  // Equal values (0 / -5 is a zero of the other sign).
  expectValues<T>(weighted, plain[0], plain[1], plain[2], plain[3]);
}

TYPED_TEST(Quat3dKernel, AZeroWeightMakesAZeroAxis) {
  using T = TypeParam;
  // X of weight 0 counts as (0, 0, 0): the array is (0,0,0, 0,1,0, 0,0,1), trace 2, and the
  // trace branch gives (0, 0, 0, sqrt(3) / 2).
  T q[4];
  utf_Quat3dBase<T>(q).set(gsl_Vector(1, 0, 0, 0), gsl_Vector(0, 1, 0), gsl_Vector(0, 0, 1));
  expectValues<T>(q, T(0), T(0), T(0), static_cast<T>(0.5 * std::sqrt(3.0)));
  T zero[4];
  utf_Quat3dBase<T>(zero).set(gsl_Vector(0, 0, 0), gsl_Vector(0, 1, 0), gsl_Vector(0, 0, 1));
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(bitsOf(q[i]), bitsOf(zero[i]));
  }
}

TYPED_TEST(Quat3dKernel, SetFromAMatrixUsesItsThreeNewAxes) {
  using T = TypeParam;
  for (int n = 0; n < 200; ++n) {
    T q[4];
    randomUnitQuaternion(q);
    T c[3][3];
    utf_Quat3dBase<T>(q).cosines(c);
    const gsl_Vector x(c[0][0], c[0][1], c[0][2]);
    const gsl_Vector y(c[1][0], c[1][1], c[1][2]);
    const gsl_Vector z(c[2][0], c[2][1], c[2][2]);
    gsl_Matrix m;
    m.SetRotationVectors(x, y, z);
    T fromMatrix[4];
    T fromAxes[4];
    utf_Quat3dBase<T>(fromMatrix).set(m);
    utf_Quat3dBase<T>(fromAxes).set(x, y, z);
    for (int i = 0; i < 4; ++i) {
      ASSERT_EQ(bitsOf(fromMatrix[i]), bitsOf(fromAxes[i]));
    }
  }
}

TYPED_TEST(Quat3dKernel, SetRoundsTheDoublePrecisionResultOnce) {
  using T = TypeParam;
  // The float kernel stores exactly the double kernel's result rounded to float.
  for (int n = 0; n < kSamples; ++n) {
    double q[4];
    randomUnitQuaternion(q);
    double c[3][3];
    utf_Quat3dBase<double>(q).cosines(c);
    const gsl_Vector x(c[0][0], c[0][1], c[0][2]);
    const gsl_Vector y(c[1][0], c[1][1], c[1][2]);
    const gsl_Vector z(c[2][0], c[2][1], c[2][2]);
    double inDouble[4];
    T inT[4];
    utf_Quat3dBase<double>(inDouble).set(x, y, z);
    utf_Quat3dBase<T>(inT).set(x, y, z);
    for (int i = 0; i < 4; ++i) {
      ASSERT_EQ(bitsOf(inT[i]), bitsOf(static_cast<T>(inDouble[i]))) << "sample " << n;
    }
  }
}

TYPED_TEST(Quat3dKernel, CosinesFollowTheRoundingRuleBitForBit) {
  using T = TypeParam;
  // Not normalised on purpose: the formulas are used as they stand.
  for (int n = 0; n < kSamples; ++n) {
    T q[4];
    for (T& value : q) {
      value = static_cast<T>(uniform(-1.5, 1.5));
    }
    const PrescribedTable<T> expected = prescribedTable3d(q);
    T c[3][3];
    utf_Quat3dBase<T>(q).cosines(c);
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) {
        ASSERT_EQ(bitsOf(c[i][j]), bitsOf(expected.a[i][j])) << "sample " << n << " " << i << j;
      }
    }
  }
}

TYPED_TEST(Quat3dKernel, CosinesOfATurnAboutZHaveTheNewAxesAsRows) {
  using T = TypeParam;
  const double theta = 0.3;
  T q[4] = {T(0), T(0), static_cast<T>(std::sin(theta / 2)), static_cast<T>(std::cos(theta / 2))};
  T c[3][3];
  utf_Quat3dBase<T>(q).cosines(c);
  const double bound = tolerance<T>();
  EXPECT_NEAR(c[0][0], std::cos(theta), bound);
  EXPECT_NEAR(c[0][1], std::sin(theta), bound);
  EXPECT_NEAR(c[0][2], 0.0, bound);
  EXPECT_NEAR(c[1][0], -std::sin(theta), bound);
  EXPECT_NEAR(c[1][1], std::cos(theta), bound);
  EXPECT_NEAR(c[2][2], 1.0, bound);
}

TYPED_TEST(Quat3dKernel, ANonUnitQuaternionGivesAScaledTable) {
  using T = TypeParam;
  T q[4] = {T(0), T(0), T(0), T(2)};
  T c[3][3];
  utf_Quat3dBase<T>(q).cosines(c);
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      EXPECT_EQ(c[i][j], i == j ? T(4) : T(0));
    }
  }
}

TYPED_TEST(Quat3dKernel, MultIsTheHamiltonProductWithThisKernelOnTheLeft) {
  using T = TypeParam;
  T i[4] = {T(1), T(0), T(0), T(0)};
  T j[4] = {T(0), T(1), T(0), T(0)};
  T r[4];
  utf_Quat3dBase<T>(i).mult(j, r);
  expectValues<T>(r, T(0), T(0), T(1), T(0)); // i j = k
  utf_Quat3dBase<T>(j).mult(i, r);
  expectValues<T>(r, T(0), T(0), T(-1), T(0)); // j i = -k
  // A hand-worked general case: q = (1, 2, 3, 4), p = (5, 6, 7, 8).
  T q[4] = {T(1), T(2), T(3), T(4)};
  T p[4] = {T(5), T(6), T(7), T(8)};
  utf_Quat3dBase<T>(q).mult(p, r);
  // vector w p_v + p3 q_v + q_v x p_v = (20,24,28) + (8,16,24) + (-4,8,-4); scalar 32 - 38.
  expectValues<T>(r, T(24), T(48), T(48), T(-6));
  expectValues<T>(q, T(1), T(2), T(3), T(4));
  expectValues<T>(p, T(5), T(6), T(7), T(8));
}

TYPED_TEST(Quat3dKernel, MultWithTheIdentityOnEitherSideGivesTheOtherOperand) {
  using T = TypeParam;
  T identity[4] = {T(0), T(0), T(0), T(1)};
  for (int n = 0; n < 500; ++n) {
    T q[4];
    randomUnitQuaternion(q);
    T r[4];
    utf_Quat3dBase<T>(identity).mult(q, r);
    expectValues<T>(r, q[0], q[1], q[2], q[3]);
    utf_Quat3dBase<T>(q).mult(identity, r);
    expectValues<T>(r, q[0], q[1], q[2], q[3]);
  }
}

TYPED_TEST(Quat3dKernel, MultByTheInverseGivesTheIdentity) {
  using T = TypeParam;
  // Exactly, for a unit quaternion whose products are exact.
  T q[4] = {T(0.5), T(-0.5), T(0.5), T(0.5)};
  T inv[4];
  T r[4];
  utf_Quat3dBase<T>(q).inverse(inv);
  utf_Quat3dBase<T>(q).mult(inv, r);
  expectValues<T>(r, T(0), T(0), T(0), T(1));
  utf_Quat3dBase<T>(inv).mult(q, r);
  expectValues<T>(r, T(0), T(0), T(0), T(1));
}

TYPED_TEST(Quat3dKernel, InverseIsTheConjugateWithoutDivision) {
  using T = TypeParam;
  T q[4] = {T(1), T(-2), T(3), T(4)};
  T r[4];
  utf_Quat3dBase<T>(q).inverse(r);
  expectValues<T>(r, T(-1), T(2), T(-3), T(4));
}

TYPED_TEST(Quat3dKernel, ToVectorOfTheIdentityOfEitherSignIsZero) {
  using T = TypeParam;
  T plus[4] = {T(0), T(0), T(0), T(1)};
  T minus[4] = {T(0), T(0), T(0), T(-1)};
  T v[3] = {T(5), T(5), T(5)};
  utf_Quat3dBase<T>(plus).toVector(v);
  EXPECT_EQ(v[0], T(0));
  EXPECT_EQ(v[1], T(0));
  EXPECT_EQ(v[2], T(0));
  T u[3] = {T(5), T(5), T(5)};
  utf_Quat3dBase<T>(minus).toVector(u);
  EXPECT_EQ(u[0], T(0));
  EXPECT_EQ(u[1], T(0));
  EXPECT_EQ(u[2], T(0));
}

TYPED_TEST(Quat3dKernel, ToVectorOfAQuarterTurnAboutZ) {
  using T = TypeParam;
  T q[4] = {T(0), T(0), static_cast<T>(std::sin(kPi / 4)), static_cast<T>(std::cos(kPi / 4))};
  T v[3];
  utf_Quat3dBase<T>(q).toVector(v);
  EXPECT_EQ(v[0], T(0));
  EXPECT_EQ(v[1], T(0));
  EXPECT_NEAR(v[2], static_cast<double>(kPiL / 2), tolerance<T>());
}

TYPED_TEST(Quat3dKernel, ToVectorAngleComesFromAcosAndLiesUpToTwoPi) {
  using T = TypeParam;
  // The scalar cos(3 pi / 4) gives the angle 3 pi / 2, not -pi / 2.
  T q[4] = {T(0), T(0), static_cast<T>(std::sin(3 * kPi / 4)),
            static_cast<T>(std::cos(3 * kPi / 4))};
  T v[3];
  utf_Quat3dBase<T>(q).toVector(v);
  EXPECT_NEAR(v[2], static_cast<double>(3 * kPiL / 2), 4 * tolerance<T>());
}

TYPED_TEST(Quat3dKernel, ToVectorWithAScalarAboveOneIsNaN) {
  using T = TypeParam;
  T q[4] = {T(0.5), T(0), T(0), T(1.5)};
  T v[3];
  utf_Quat3dBase<T>(q).toVector(v);
  EXPECT_TRUE(std::isnan(v[0]));
}

TYPED_TEST(Quat3dKernel, ToVectorFollowsTheRoundingRuleBitForBit) {
  using T = TypeParam;
  for (int n = 0; n < kSamples; ++n) {
    T q[4];
    randomUnitQuaternion(q);
    const double w = static_cast<double>(q[3]);
    const double s = 1.0 - w * w;
    const double f = s != 0.0 ? 2.0 * std::acos(w) / std::sqrt(s) : 0.0;
    const T factor = static_cast<T>(f);
    T v[3];
    utf_Quat3dBase<T>(q).toVector(v);
    for (int i = 0; i < 3; ++i) {
      ASSERT_EQ(bitsOf(v[i]), bitsOf(static_cast<T>(factor * q[i]))) << "sample " << n;
    }
  }
}

TYPED_TEST(Quat3dKernel, ProjectOnRefusesANormalAlongTheChosenAxis) {
  using T = TypeParam;
  T q[4] = {T(0), T(0), T(0), T(1)};
  utf_Quat3dBase<T> kernel(q);
  EXPECT_FALSE(kernel.projectOn(gsl_Vector(0, 0, 1), 2, 0.9));
  expectValues<T>(q, T(0), T(0), T(0), T(1));
  // A normal just past the tolerance is refused too.
  const double c = std::cos(0.4);
  EXPECT_FALSE(kernel.projectOn(gsl_Vector(std::sin(0.4), 0, c), 2, c - 1e-9));
  expectValues<T>(q, T(0), T(0), T(0), T(1));
}

TYPED_TEST(Quat3dKernel, ProjectOnPassesOnEqualityAndUsesTheDegenerateProjection) {
  using T = TypeParam;
  // |a . n| = 1 is not greater than 1: the projection of a onto the plane is the zero vector, X
  // and Y are zero, and the array (0,0,0, 0,0,0, 0,0,1) has trace 1: w = sqrt(2) / 2.
  T q[4] = {T(0), T(0), T(0), T(1)};
  EXPECT_TRUE(utf_Quat3dBase<T>(q).projectOn(gsl_Vector(0, 0, 1), 2, 1.0));
  expectValues<T>(q, T(0), T(0), T(0), static_cast<T>(0.5 * std::sqrt(2.0)));
}

TYPED_TEST(Quat3dKernel, ProjectOnMakesTheNormalTheZAxisAndTheProjectedAxisTheYAxis) {
  using T = TypeParam;
  for (unsigned axis = 0; axis < 3; ++axis) {
    for (int n = 0; n < 100; ++n) {
      T q[4];
      randomUnitQuaternion(q);
      T before[3][3];
      utf_Quat3dBase<T>(q).cosines(before);
      long double a[3] = {before[axis][0], before[axis][1], before[axis][2]};
      // A unit normal that is not too close to the chosen axis.
      const long double alen = std::sqrt(a[0] * a[0] + a[1] * a[1] + a[2] * a[2]);
      long double nl[3];
      long double along = 0;
      do {
        long double len = 0;
        for (long double& value : nl) {
          value = uniform(-1.0, 1.0);
          len += value * value;
        }
        len = std::sqrt(len);
        along = 0;
        for (int i = 0; i < 3; ++i) {
          nl[i] /= len;
          along += nl[i] * a[i] / alen;
        }
      } while (std::fabs(along) > 0.8L);
      const gsl_Vector normal(static_cast<double>(nl[0]), static_cast<double>(nl[1]),
                              static_cast<double>(nl[2]));
      ASSERT_TRUE(utf_Quat3dBase<T>(q).projectOn(normal, axis, 0.9));
      // Expected new Y: the chosen axis, normalised, projected onto the plane and normalised.
      const long double nn[3] = {normal.X(), normal.Y(), normal.Z()};
      long double dot = 0;
      for (int i = 0; i < 3; ++i) {
        dot += a[i] / alen * nn[i];
      }
      long double ay[3];
      long double ylen = 0;
      for (int i = 0; i < 3; ++i) {
        ay[i] = a[i] / alen - dot * nn[i];
        ylen += ay[i] * ay[i];
      }
      ylen = std::sqrt(ylen);
      T after[3][3];
      utf_Quat3dBase<T>(q).cosines(after);
      // The new X axis is Y x normal.
      const long double ax[3] = {(ay[1] * nn[2] - ay[2] * nn[1]) / ylen,
                                 (ay[2] * nn[0] - ay[0] * nn[2]) / ylen,
                                 (ay[0] * nn[1] - ay[1] * nn[0]) / ylen};
      for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(after[0][i], static_cast<double>(ax[i]), 8 * tolerance<T>()) << "X axis";
        EXPECT_NEAR(after[2][i], static_cast<double>(nn[i]), 8 * tolerance<T>()) << "Z axis";
        EXPECT_NEAR(after[1][i], static_cast<double>(ay[i] / ylen), 8 * tolerance<T>()) << "Y axis";
      }
    }
  }
}

TYPED_TEST(Quat3dKernel, CalquatOfTheTableGivesBackTheQuaternionUpToSign) {
  using T = TypeParam;
  for (int n = 0; n < kSamples; ++n) {
    T q[4];
    randomUnitQuaternion(q);
    T c[3][3];
    utf_Quat3dBase<T>(q).cosines(c);
    // Column-major array whose columns are the table's rows.
    double a[9];
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) {
        a[3 * i + j] = static_cast<double>(c[i][j]);
      }
    }
    const int scalarFirst = 0;
    double back[4];
    CALQUAT(back, a, &scalarFirst);
    expectSameRotation(q, back, tolerance<T>());
    if (::testing::Test::HasFailure()) {
      FAIL() << "sample " << n;
    }
  }
}

TYPED_TEST(Quat3dKernel, MultMatchesTheProductOfTheTables) {
  using T = TypeParam;
  // r = q (x) p applies p first, then q: as active rotations R(r) = R(q) R(p). The
  // direction-cosine table is the transpose, C = R^T, so C(r) = C(p) C(q).
  for (int n = 0; n < kSamples; ++n) {
    T q[4];
    T p[4];
    randomUnitQuaternion(q);
    randomUnitQuaternion(p);
    T r[4];
    utf_Quat3dBase<T>(q).mult(p, r);
    const RealMatrix expected = product(referenceTable3d(p), referenceTable3d(q));
    T cr[3][3];
    utf_Quat3dBase<T>(r).cosines(cr);
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) {
        ASSERT_NEAR(cr[i][j], static_cast<double>(expected.a[i][j]), 4 * tolerance<T>())
            << "sample " << n;
      }
    }
  }
}

TYPED_TEST(Quat3dKernel, TheInverseComposesToTheIdentity) {
  using T = TypeParam;
  const T identity[4] = {T(0), T(0), T(0), T(1)};
  for (int n = 0; n < kSamples; ++n) {
    T q[4];
    randomUnitQuaternion(q);
    T inv[4];
    utf_Quat3dBase<T>(q).inverse(inv);
    T r[4];
    utf_Quat3dBase<T>(q).mult(inv, r);
    expectSameRotation(identity, r, tolerance<T>());
    utf_Quat3dBase<T>(inv).mult(q, r);
    expectSameRotation(identity, r, tolerance<T>());
    if (::testing::Test::HasFailure()) {
      FAIL() << "sample " << n;
    }
  }
}

TYPED_TEST(Quat3dKernel, SetFromTheRowsOfATableReproducesTheRotation) {
  using T = TypeParam;
  for (int n = 0; n < kSamples; ++n) {
    T q[4];
    randomUnitQuaternion(q);
    // The rows of the exact table of q are the new axes.
    const RealMatrix table = referenceTable3d(q);
    const auto& c = table.a;
    T back[4];
    utf_Quat3dBase<T>(back).set(
        gsl_Vector(static_cast<double>(c[0][0]), static_cast<double>(c[0][1]),
                   static_cast<double>(c[0][2])),
        gsl_Vector(static_cast<double>(c[1][0]), static_cast<double>(c[1][1]),
                   static_cast<double>(c[1][2])),
        gsl_Vector(static_cast<double>(c[2][0]), static_cast<double>(c[2][1]),
                   static_cast<double>(c[2][2])));
    expectSameRotation(q, back, tolerance<T>());
    if (::testing::Test::HasFailure()) {
      FAIL() << "sample " << n;
    }
  }
}

TYPED_TEST(Quat3dKernel, PrintOfTheIdentity) {
  using T = TypeParam;
  T q[4] = {T(0), T(0), T(0), T(1)};
  aio_ostream out;
  utf_Quat3dBase<T>(q).Print(out, 0);
  EXPECT_EQ(out.Str(), "Qauternion: 0 0 0 1 \n"
                       "    As Vector: 0 0 0\n"
                       "    As transformation matrix:\n"
                       "        1 0 0 \n"
                       "        0 1 0 \n"
                       "        0 0 1 \n");
  aio_ostream negative;
  utf_Quat3dBase<T>(q).Print(negative, -3);
  EXPECT_EQ(negative.Str(), out.Str()) << "no indentation for indent <= 0";
}

TYPED_TEST(Quat3dKernel, PrintOfAQuarterTurnAboutZ) {
  using T = TypeParam;
  // (0, 0, sin(pi/4), cos(pi/4)) rounded to T. Worked by hand from the rules: double
  // sin = 0.7071067811865475, cos = 0.7071067811865476, so c[0][0] = cos^2 - sin^2 = 2^-52;
  // in float both round to 0.70710677, whose square rounds to 0.49999997 in float and is
  // doubled in double.
  T q[4] = {T(0), T(0), static_cast<T>(std::sin(kPi / 4)), static_cast<T>(std::cos(kPi / 4))};
  aio_ostream out;
  utf_Quat3dBase<T>(q).Print(out, 2);
  const std::string expected = std::is_same<T, float>::value
                                   ? "  Qauternion: 0 0 0.7071067690849304 0.7071067690849304 \n"
                                     "      As Vector: 0 0 1.5707963705062866\n"
                                     "      As transformation matrix:\n"
                                     "          0 0.9999999403953552 0 \n"
                                     "          -0.9999999403953552 0 0 \n"
                                     "          0 0 0.9999999403953552 \n"
                                   : "  Qauternion: 0 0 0.7071067811865475 0.7071067811865476 \n"
                                     "      As Vector: 0 0 1.5707963267948963\n"
                                     "      As transformation matrix:\n"
                                     "          2.220446049250313e-16 1 0 \n"
                                     "          -1 2.220446049250313e-16 0 \n"
                                     "          0 0 1 \n";
  EXPECT_EQ(out.Str(), expected);
}

TYPED_TEST(Quat3dKernel, TheArithmeticAllocatesNothing) {
  using T = TypeParam;
  T q[4];
  randomUnitQuaternion(q);
  T p[4] = {T(0), T(0.6), T(0), T(0.8)};
  T r[4];
  T v[3];
  T c[3][3];
  const gsl_Vector x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
  gsl_Matrix m;
  const AllocationCounter counter;
  utf_Quat3dBase<T> kernel(q);
  kernel.cosines(c);
  kernel.mult(p, r);
  kernel.inverse(r);
  kernel.toVector(v);
  kernel.set(x, y, z);
  kernel.set(m);
  kernel.setIdentity();
  kernel.projectOn(gsl_Vector(0, 1, 0), 0, 0.9);
  EXPECT_EQ(counter.Count(), 0);
}

} // namespace
