// utf_Quat2dBase<T>: the raw in-plane rotation kernel over a caller's two values (s, c) =
// (sin(t/2), cos(t/2)).

#include "test_support.h"

#include <cmath>
#include <string>
#include <type_traits>

namespace {

const int kSamples = 4000;

template <typename T>
double tolerance() {
  return std::is_same<T, float>::value ? 4e-6 : 2e-14;
}

// (sin(t/2), cos(t/2)) computed in double and rounded to T.
template <typename T>
void halfAngles(double t, T* q) {
  q[0] = static_cast<T>(std::sin(t / 2.0));
  q[1] = static_cast<T>(std::cos(t / 2.0));
}

template <typename T>
class Quat2dKernel : public ::testing::Test {};
TYPED_TEST_SUITE(Quat2dKernel, utf_Precisions, utf_PrecisionNames);

TYPED_TEST(Quat2dKernel, IsAHandleOverTheCallerValues) {
  using T = TypeParam;
  T q[2] = {T(0.6), T(0.8)};
  const utf_Quat2dBase<T> kernel(q);
  EXPECT_EQ(kernel.data(), q);
  EXPECT_EQ(sizeof(utf_Quat2dBase<T>), sizeof(T*));
  const utf_Quat2dBase<T> copy(kernel);
  EXPECT_EQ(copy.data(), q);
}

TYPED_TEST(Quat2dKernel, SetIdentityThenToVectorIsZero) {
  using T = TypeParam;
  T q[2] = {T(0.6), T(0.8)};
  utf_Quat2dBase<T> kernel(q);
  kernel.setIdentity();
  EXPECT_EQ(q[0], T(0));
  EXPECT_EQ(q[1], T(1));
  T v[3] = {T(9), T(9), T(9)};
  kernel.toVector(v);
  EXPECT_EQ(v[0], T(0));
  EXPECT_EQ(v[1], T(0));
  EXPECT_EQ(v[2], T(0));
}

TYPED_TEST(Quat2dKernel, AQuarterTurnGivesHalfPiAndTheFirstRowAlongY) {
  using T = TypeParam;
  T q[2];
  halfAngles(kPi / 2, q);
  T v[3];
  utf_Quat2dBase<T>(q).toVector(v);
  EXPECT_EQ(v[0], T(0));
  EXPECT_EQ(v[1], T(0));
  EXPECT_NEAR(v[2], static_cast<double>(kPiL / 2), tolerance<T>());
  T c[3][3] = {};
  utf_Quat2dBase<T>(q).cosines(c);
  EXPECT_NEAR(c[0][0], 0.0, tolerance<T>());
  EXPECT_NEAR(c[0][1], 1.0, tolerance<T>());
  EXPECT_EQ(c[0][2], T(0));
}

TYPED_TEST(Quat2dKernel, ToVectorTakesTheAngleFromAsinUnlikeTheThreeDimensionalKernel) {
  using T = TypeParam;
  // t = 3 pi / 2: asin(sin(3 pi / 4)) = pi / 4, so the 2D angle is pi / 2; the 3D kernel's acos
  // of the same scalar gives 3 pi / 2.
  T q[2];
  halfAngles(3 * kPi / 2, q);
  T v[3];
  utf_Quat2dBase<T>(q).toVector(v);
  EXPECT_NEAR(v[2], static_cast<double>(kPiL / 2), 4 * tolerance<T>());
  T q3[4] = {T(0), T(0), q[0], q[1]};
  T v3[3];
  utf_Quat3dBase<T>(q3).toVector(v3);
  EXPECT_NEAR(v3[2], static_cast<double>(3 * kPiL / 2), 4 * tolerance<T>());
  // A negative sine gives a negative angle.
  halfAngles(-kPi / 3, q);
  utf_Quat2dBase<T>(q).toVector(v);
  EXPECT_NEAR(v[2], static_cast<double>(-kPiL / 3), 4 * tolerance<T>());
}

TYPED_TEST(Quat2dKernel, ToVectorWithASineAboveOneIsNaN) {
  using T = TypeParam;
  T q[2] = {T(1.25), T(0)};
  T v[3];
  utf_Quat2dBase<T>(q).toVector(v);
  EXPECT_TRUE(std::isnan(v[2]));
}

TYPED_TEST(Quat2dKernel, ToVectorFollowsTheRoundingRuleBitForBit) {
  using T = TypeParam;
  // 2 asin(s) with the asin of T (single precision for float).
  for (int n = 0; n < kSamples; ++n) {
    T q[2];
    halfAngles(uniform(-2 * kPi, 2 * kPi), q);
    const T expected = T(2) * std::asin(q[0]);
    T v[3];
    utf_Quat2dBase<T>(q).toVector(v);
    ASSERT_EQ(bitsOf(v[2]), bitsOf(expected)) << "sample " << n;
    ASSERT_EQ(bitsOf(v[0]), bitsOf(T(0)));
    ASSERT_EQ(bitsOf(v[1]), bitsOf(T(0)));
  }
}

TYPED_TEST(Quat2dKernel, CosinesGiveASecondRowOfZerosAndLeaveTheThirdRowCornerAlone) {
  using T = TypeParam;
  T q[2];
  halfAngles(0.7, q);
  T c[3][3] = {{T(5), T(5), T(5)}, {T(5), T(5), T(5)}, {T(7), T(-9), T(5)}};
  utf_Quat2dBase<T>(q).cosines(c);
  EXPECT_NEAR(c[0][0], std::cos(0.7), tolerance<T>());
  EXPECT_NEAR(c[0][1], std::sin(0.7), tolerance<T>());
  EXPECT_EQ(c[0][2], T(0));
  EXPECT_EQ(c[1][0], T(0));
  EXPECT_EQ(c[1][1], T(0));
  EXPECT_EQ(c[1][2], T(0));
  EXPECT_EQ(c[2][0], T(7)) << "not written";
  EXPECT_EQ(c[2][1], T(-9)) << "not written";
  EXPECT_EQ(c[2][2], T(1));
}

TYPED_TEST(Quat2dKernel, CosinesFollowTheRoundingRuleBitForBit) {
  using T = TypeParam;
  // Products in T; the factor 2 and the subtraction from 1 in double, rounded once.
  for (int n = 0; n < kSamples; ++n) {
    const T q[2] = {static_cast<T>(uniform(-1.0, 1.0)), static_cast<T>(uniform(-1.0, 1.0))};
    const T s = q[0];
    const T c = q[1];
    const T first = static_cast<T>(1.0 - 2.0 * static_cast<double>(s * s));
    const T second = static_cast<T>(2.0 * static_cast<double>(c * s));
    T table[3][3] = {};
    T* values = const_cast<T*>(q);
    utf_Quat2dBase<T>(values).cosines(table);
    ASSERT_EQ(bitsOf(table[0][0]), bitsOf(first)) << "sample " << n;
    ASSERT_EQ(bitsOf(table[0][1]), bitsOf(second)) << "sample " << n;
    ASSERT_EQ(bitsOf(table[0][2]), bitsOf(T(0)));
    for (int j = 0; j < 3; ++j) {
      ASSERT_EQ(bitsOf(table[1][j]), bitsOf(T(0)));
    }
    ASSERT_EQ(bitsOf(table[2][2]), bitsOf(T(1)));
  }
}

TYPED_TEST(Quat2dKernel, MultAddsTheHalfAngles) {
  using T = TypeParam;
  // Hand-worked: (1, 2) and (3, 4) give (1*4 + 2*3, -1*3 + 2*4).
  T a[2] = {T(1), T(2)};
  T b[2] = {T(3), T(4)};
  T r[2];
  utf_Quat2dBase<T>(a).mult(b, r);
  EXPECT_EQ(r[0], T(10));
  EXPECT_EQ(r[1], T(5));
  for (int n = 0; n < 500; ++n) {
    const double t1 = uniform(-kPi, kPi);
    const double t2 = uniform(-kPi, kPi);
    T p[2];
    T q[2];
    halfAngles(t1, q);
    halfAngles(t2, p);
    utf_Quat2dBase<T>(q).mult(p, r);
    EXPECT_NEAR(r[0], std::sin((t1 + t2) / 2), tolerance<T>());
    EXPECT_NEAR(r[1], std::cos((t1 + t2) / 2), tolerance<T>());
  }
}

TYPED_TEST(Quat2dKernel, InverseNegatesTheSine) {
  using T = TypeParam;
  T q[2] = {T(0.6), T(0.8)};
  T r[2];
  utf_Quat2dBase<T>(q).inverse(r);
  EXPECT_EQ(r[0], T(-0.6));
  EXPECT_EQ(r[1], T(0.8));
  T back[2];
  utf_Quat2dBase<T>(q).mult(r, back);
  EXPECT_NEAR(back[0], 0.0, tolerance<T>());
  EXPECT_NEAR(back[1], 1.0, tolerance<T>());
}

TYPED_TEST(Quat2dKernel, SetTakesTheInPlaneAngleOfTheAxes) {
  using T = TypeParam;
  for (int n = 0; n < 500; ++n) {
    const double t = uniform(-0.99 * kPi, 0.99 * kPi);
    T q[2];
    utf_Quat2dBase<T>(q).set(gsl_Vector(std::cos(t), std::sin(t), 0),
                             gsl_Vector(-std::sin(t), std::cos(t), 0));
    EXPECT_NEAR(q[0], std::sin(t / 2), tolerance<T>());
    EXPECT_NEAR(q[1], std::cos(t / 2), tolerance<T>());
  }
  // Exactly: the X axis (0, 1) is the angle atan2(1, 0) = pi / 2.
  T q[2];
  utf_Quat2dBase<T>(q).set(gsl_Vector(0, 1, 0), gsl_Vector(-1, 0, 0));
  EXPECT_EQ(q[0], static_cast<T>(std::sin(kPi / 4)));
  EXPECT_EQ(q[1], static_cast<T>(std::cos(kPi / 4)));
}

TYPED_TEST(Quat2dKernel, SetRoundsTheDoublePrecisionResultOnce) {
  using T = TypeParam;
  for (int n = 0; n < kSamples; ++n) {
    const double t = uniform(-kPi, kPi);
    const gsl_Vector x(std::cos(t), std::sin(t), 0);
    const gsl_Vector y(-std::sin(t), std::cos(t), 0);
    double inDouble[2];
    T inT[2];
    utf_Quat2dBase<double>(inDouble).set(x, y);
    utf_Quat2dBase<T>(inT).set(x, y);
    ASSERT_EQ(bitsOf(inT[0]), bitsOf(static_cast<T>(inDouble[0])));
    ASSERT_EQ(bitsOf(inT[1]), bitsOf(static_cast<T>(inDouble[1])));
  }
}

TYPED_TEST(Quat2dKernel, SetFromAMatrixUsesItsNewXAndYAxes) {
  using T = TypeParam;
  const double t = 1.1;
  const gsl_Vector x(std::cos(t), std::sin(t), 0);
  const gsl_Vector y(-std::sin(t), std::cos(t), 0);
  gsl_Matrix m;
  m.SetRotationVectors(x, y, gsl_Vector(5, -7, 3)); // the third axis plays no part
  T fromMatrix[2];
  T fromAxes[2];
  utf_Quat2dBase<T>(fromMatrix).set(m);
  utf_Quat2dBase<T>(fromAxes).set(x, y);
  EXPECT_EQ(bitsOf(fromMatrix[0]), bitsOf(fromAxes[0]));
  EXPECT_EQ(bitsOf(fromMatrix[1]), bitsOf(fromAxes[1]));
}

TYPED_TEST(Quat2dKernel, ProjectOnRefusesAnAxisAlongTheNormal) {
  using T = TypeParam;
  T q[2] = {T(0), T(1)};
  utf_Quat2dBase<T> kernel(q);
  EXPECT_FALSE(kernel.projectOn(gsl_Vector(1, 0, 0), 0, 0.9));
  // Axis 2 of the kernel's (fresh) table is (0, 0, 1).
  EXPECT_FALSE(kernel.projectOn(gsl_Vector(0, 0, 1), 2, 0.9));
  EXPECT_EQ(q[0], T(0));
  EXPECT_EQ(q[1], T(1));
}

TYPED_TEST(Quat2dKernel, ProjectOnTurnsTheProjectedAxisIntoTheNewYAxis) {
  using T = TypeParam;
  // Identity, axis 0 = (1, 0, 0), normal Z: P = (1, 0, 0) becomes Y and X = P x Z = (0, -1, 0):
  // the frame turned by -pi / 2.
  T q[2] = {T(0), T(1)};
  EXPECT_TRUE(utf_Quat2dBase<T>(q).projectOn(gsl_Vector(0, 0, 1), 0, 0.9));
  EXPECT_EQ(q[0], static_cast<T>(std::sin(-kPi / 4)));
  EXPECT_EQ(q[1], static_cast<T>(std::cos(-kPi / 4)));
}

TYPED_TEST(Quat2dKernel, ProjectOnWithTheSecondAxisUsesTheZeroRow) {
  using T = TypeParam;
  // Row 1 of the kernel's table is (0, 0, 0): it passes any tolerance, projects to zero, and the
  // zero frame has the angle 0.
  T q[2];
  halfAngles(1.0, q);
  EXPECT_TRUE(utf_Quat2dBase<T>(q).projectOn(gsl_Vector(0, 0, 1), 1, 0.0));
  EXPECT_EQ(q[0], T(0));
  EXPECT_EQ(q[1], T(1));
}

TYPED_TEST(Quat2dKernel, PrintOfTheIdentity) {
  using T = TypeParam;
  T q[2] = {T(0), T(1)};
  aio_ostream out;
  utf_Quat2dBase<T>(q).Print(out, 0);
  // The kernel's own table: second row zeros, the untouched corner of a fresh table zero.
  EXPECT_EQ(out.Str(), "Qauternion: 0 1 \n"
                       "    As Vector: 0 0 0\n"
                       "    As transformation matrix:\n"
                       "        1 0 0 \n"
                       "        0 0 0 \n"
                       "        0 0 1 \n");
}

TYPED_TEST(Quat2dKernel, PrintOfAQuarterTurn) {
  using T = TypeParam;
  // (sin(pi/4), cos(pi/4)) rounded to T. Worked by hand: in double s = 0.7071067811865475,
  // s^2 rounds to 1/2 - 2^-53, so 1 - 2 s^2 = 2^-52; in float s = c = 0.70710677, s * s rounds
  // to 0.49999997 = 1/2 - 2^-25, so 1 - 2 s^2 = 2^-24 and 2 c s = 1 - 2^-24.
  T q[2];
  halfAngles(kPi / 2, q);
  aio_ostream out;
  utf_Quat2dBase<T>(q).Print(out, 3);
  const std::string expected = std::is_same<T, float>::value
                                   ? "   Qauternion: 0.7071067690849304 0.7071067690849304 \n"
                                     "       As Vector: 0 0 1.570796251296997\n"
                                     "       As transformation matrix:\n"
                                     "           5.960464477539063e-08 0.9999999403953552 0 \n"
                                     "           0 0 0 \n"
                                     "           0 0 1 \n"
                                   : "   Qauternion: 0.7071067811865475 0.7071067811865476 \n"
                                     "       As Vector: 0 0 1.5707963267948963\n"
                                     "       As transformation matrix:\n"
                                     "           2.220446049250313e-16 1 0 \n"
                                     "           0 0 0 \n"
                                     "           0 0 1 \n";
  EXPECT_EQ(out.Str(), expected);
}

TYPED_TEST(Quat2dKernel, TheArithmeticAllocatesNothing) {
  using T = TypeParam;
  T q[2];
  halfAngles(0.4, q);
  T p[2] = {T(0.6), T(0.8)};
  T r[2];
  T v[3];
  T c[3][3] = {};
  gsl_Matrix m;
  const AllocationCounter counter;
  utf_Quat2dBase<T> kernel(q);
  kernel.cosines(c);
  kernel.mult(p, r);
  kernel.inverse(r);
  kernel.toVector(v);
  kernel.set(gsl_Vector(1, 0, 0), gsl_Vector(0, 1, 0));
  kernel.set(m);
  kernel.setIdentity();
  kernel.projectOn(gsl_Vector(0, 0, 1), 0, 0.9);
  EXPECT_EQ(counter.Count(), 0);
}

} // namespace
