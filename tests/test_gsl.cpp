// Tests of KPTgsl: vectors with a homogeneous weight, points, planes and frames.

#include "test_support.h"

#include <cmath>
#include <limits>
#include <vector>

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

// Checks that a stored number equals `expected` exactly (a NaN where a NaN is expected).
void expectNumber(double actual, double expected, const char* which) {
  if (std::isnan(expected)) {
    EXPECT_TRUE(std::isnan(actual)) << which << " = " << actual << ", expected NaN";
  } else {
    EXPECT_EQ(actual, expected) << which;
  }
}

// Checks that a vector stores exactly the numbers x, y, z and h.
void expectStored(const gsl_Vector& v, double x, double y, double z, double h) {
  expectNumber(v.X(), x, "X()");
  expectNumber(v.Y(), y, "Y()");
  expectNumber(v.Z(), z, "Z()");
  expectNumber(v.W(), h, "W()");
}

// Length of a weight-1 vector, in long double.
long double lengthOf(const gsl_Vector& v) {
  const long double x = v.X();
  const long double y = v.Y();
  const long double z = v.Z();
  return std::sqrt(x * x + y * y + z * z);
}

// Column j of `r`, rounded to double, as a vector of weight `h` (the stored numbers scaled by h).
gsl_Vector column(const RealMatrix& r, int j, double h = 1.0) {
  return gsl_Vector(static_cast<double>(r.a[0][j]) * h, static_cast<double>(r.a[1][j]) * h,
                    static_cast<double>(r.a[2][j]) * h, h);
}

// The frame whose axes are the columns of Rx(a) Ry(b) Rz(c).
gsl_Matrix frameOf(long double a, long double b, long double c, double h = 1.0) {
  const RealMatrix r = product(aboutX(a), product(aboutY(b), aboutZ(c)));
  gsl_Matrix frame;
  frame.SetRotationVectors(column(r, 0, h), column(r, 1, h), column(r, 2, h));
  return frame;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// gsl_Vector: construction

TEST(GslVector, DefaultIsZeroWithWeightOne) {
  expectStored(gsl_Vector(), 0.0, 0.0, 0.0, 1.0);
}

TEST(GslVector, ThreeValuesHaveWeightOne) {
  expectStored(gsl_Vector(1.5, -2.0, 3.25), 1.5, -2.0, 3.25, 1.0);
}

TEST(GslVector, FourValuesAreStoredAsGiven) {
  expectStored(gsl_Vector(2.0, 4.0, 6.0, 2.0), 2.0, 4.0, 6.0, 2.0);
  expectStored(gsl_Vector(1.0, 2.0, 3.0, 0.0), 1.0, 2.0, 3.0, 0.0);
}

// ---------------------------------------------------------------------------------------------
// Cross and dot products

TEST(GslVector, CrossProductOfXAndYIsZ) {
  const gsl_Vector z = gsl_Vector(1.0, 0.0, 0.0).CrossProduct(gsl_Vector(0.0, 1.0, 0.0));
  expectStored(z, 0.0, 0.0, 1.0, 1.0);
}

TEST(GslVector, CrossProductOfYAndXIsMinusZ) {
  const gsl_Vector minusZ = gsl_Vector(0.0, 1.0, 0.0).CrossProduct(gsl_Vector(1.0, 0.0, 0.0));
  EXPECT_EQ(minusZ.X(), 0.0);
  EXPECT_EQ(minusZ.Y(), 0.0);
  EXPECT_EQ(minusZ.Z(), -1.0);
  EXPECT_EQ(minusZ.W(), 1.0);
}

TEST(GslVector, CrossProductCyclesThroughTheAxes) {
  const gsl_Vector x = gsl_Vector(0.0, 1.0, 0.0).CrossProduct(gsl_Vector(0.0, 0.0, 1.0));
  EXPECT_EQ(x.X(), 1.0);
  EXPECT_EQ(x.Y(), 0.0);
  EXPECT_EQ(x.Z(), 0.0);
  const gsl_Vector y = gsl_Vector(0.0, 0.0, 1.0).CrossProduct(gsl_Vector(1.0, 0.0, 0.0));
  EXPECT_EQ(y.X(), 0.0);
  EXPECT_EQ(y.Y(), 1.0);
  EXPECT_EQ(y.Z(), 0.0);
}

TEST(GslVector, CrossProductOfGeneralVectors) {
  // (1, 2, 3) x (4, 5, 6) = (2*6 - 3*5, 3*4 - 1*6, 1*5 - 2*4) = (-3, 6, -3).
  const gsl_Vector r = gsl_Vector(1.0, 2.0, 3.0).CrossProduct(gsl_Vector(4.0, 5.0, 6.0));
  expectStored(r, -3.0, 6.0, -3.0, 1.0);
}

TEST(GslVector, CrossProductOfParallelVectorsIsZero) {
  const gsl_Vector r = gsl_Vector(1.0, 2.0, 3.0).CrossProduct(gsl_Vector(-2.0, -4.0, -6.0));
  EXPECT_EQ(r.X(), 0.0);
  EXPECT_EQ(r.Y(), 0.0);
  EXPECT_EQ(r.Z(), 0.0);
}

TEST(GslVector, CrossProductMatchesLongDoubleForRandomVectors) {
  for (int i = 0; i < 500; ++i) {
    const long double a[3] = {uniform(-10, 10), uniform(-10, 10), uniform(-10, 10)};
    const long double b[3] = {uniform(-10, 10), uniform(-10, 10), uniform(-10, 10)};
    const gsl_Vector r =
        gsl_Vector(static_cast<double>(a[0]), static_cast<double>(a[1]), static_cast<double>(a[2]))
            .CrossProduct(gsl_Vector(static_cast<double>(b[0]), static_cast<double>(b[1]),
                                     static_cast<double>(b[2])));
    const long double expected[3] = {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2],
                                     a[0] * b[1] - a[1] * b[0]};
    ASSERT_NEAR(r.X(), static_cast<double>(expected[0]), 1e-12);
    ASSERT_NEAR(r.Y(), static_cast<double>(expected[1]), 1e-12);
    ASSERT_NEAR(r.Z(), static_cast<double>(expected[2]), 1e-12);
    ASSERT_EQ(r.W(), 1.0);
  }
}

TEST(GslVector, DotProductOfGeneralVectors) {
  // 1*4 + 2*(-5) + 3*6 = 12.
  EXPECT_EQ(gsl_Vector(1.0, 2.0, 3.0).DotProduct(gsl_Vector(4.0, -5.0, 6.0)), 12.0);
}

TEST(GslVector, DotProductOfOrthogonalAxesIsZero) {
  EXPECT_EQ(gsl_Vector(1.0, 0.0, 0.0).DotProduct(gsl_Vector(0.0, 1.0, 0.0)), 0.0);
  EXPECT_EQ(gsl_Vector(0.0, 0.0, 2.0).DotProduct(gsl_Vector(0.0, 0.0, 3.0)), 6.0);
}

// ---------------------------------------------------------------------------------------------
// Normalize

TEST(GslVector, NormalizeGivesUnitLengthAndWeightOne) {
  gsl_Vector v(3.0, 0.0, 4.0);
  EXPECT_TRUE(v.Normalize());
  EXPECT_NEAR(v.X(), 0.6, 1e-16);
  EXPECT_EQ(v.Y(), 0.0);
  EXPECT_NEAR(v.Z(), 0.8, 1e-16);
  EXPECT_EQ(v.W(), 1.0);
}

TEST(GslVector, NormalizeOfAnAxisIsExact) {
  gsl_Vector v(0.0, -7.0, 0.0);
  EXPECT_TRUE(v.Normalize());
  expectStored(v, 0.0, -1.0, 0.0, 1.0);
}

TEST(GslVector, NormalizeOfZeroReturnsFalseAndLeavesItUnchanged) {
  gsl_Vector v;
  EXPECT_FALSE(v.Normalize());
  expectStored(v, 0.0, 0.0, 0.0, 1.0);
}

TEST(GslVector, NormalizeOfZeroWithAnotherWeightLeavesTheWeight) {
  gsl_Vector v(0.0, 0.0, 0.0, 5.0);
  EXPECT_FALSE(v.Normalize());
  expectStored(v, 0.0, 0.0, 0.0, 5.0);
}

TEST(GslVector, NormalizeOfNaNReturnsFalseAndLeavesItUnchanged) {
  gsl_Vector onlyNaN(kNaN, 0.0, 0.0);
  EXPECT_FALSE(onlyNaN.Normalize());
  expectStored(onlyNaN, kNaN, 0.0, 0.0, 1.0);
}

TEST(GslVector, NormalizeOfNaNBesideFiniteComponentsReturnsFalse) {
  gsl_Vector first(kNaN, 1.0, 0.0);
  EXPECT_FALSE(first.Normalize());
  expectStored(first, kNaN, 1.0, 0.0, 1.0);
  gsl_Vector middle(1.0, kNaN, 2.0);
  EXPECT_FALSE(middle.Normalize());
  expectStored(middle, 1.0, kNaN, 2.0, 1.0);
  gsl_Vector last(3.0, 4.0, kNaN);
  EXPECT_FALSE(last.Normalize());
  expectStored(last, 3.0, 4.0, kNaN, 1.0);
}

TEST(GslVector, NormalizeOfNaNWeightReturnsFalse) {
  gsl_Vector v(1.0, 2.0, 3.0, kNaN);
  EXPECT_FALSE(v.Normalize());
  expectStored(v, 1.0, 2.0, 3.0, kNaN);
}

TEST(GslVector, NormalizeOfInfinityReturnsFalseAndLeavesItUnchanged) {
  gsl_Vector plus(kInf, 0.0, 0.0);
  EXPECT_FALSE(plus.Normalize());
  expectStored(plus, kInf, 0.0, 0.0, 1.0);
  gsl_Vector minus(1.0, -kInf, 2.0);
  EXPECT_FALSE(minus.Normalize());
  expectStored(minus, 1.0, -kInf, 2.0, 1.0);
  gsl_Vector mixed(kInf, kNaN, 0.0);
  EXPECT_FALSE(mixed.Normalize());
  expectStored(mixed, kInf, kNaN, 0.0, 1.0);
}

TEST(GslVector, NormalizeOfAnOverflowingCartesianValueReturnsFalse) {
  // x / h = 1e300 / 1e-300 is beyond the doubles: the Cartesian value is infinite.
  gsl_Vector v(1e300, 0.0, 0.0, 1e-300);
  EXPECT_FALSE(v.Normalize());
  expectStored(v, 1e300, 0.0, 0.0, 1e-300);
}

TEST(GslVector, NormalizeOfATinyVectorGivesUnitLength) {
  gsl_Vector v(1e-300, 1e-300, 1e-300);
  EXPECT_TRUE(v.Normalize());
  const double third = static_cast<double>(1.0L / std::sqrt(3.0L));
  EXPECT_NEAR(v.X(), third, 1e-15);
  EXPECT_NEAR(v.Y(), third, 1e-15);
  EXPECT_NEAR(v.Z(), third, 1e-15);
  EXPECT_NEAR(static_cast<double>(lengthOf(v)), 1.0, 1e-15);
}

TEST(GslVector, NormalizeOfAHugeVectorGivesUnitLength) {
  gsl_Vector v(3e300, -4e300, 0.0);
  EXPECT_TRUE(v.Normalize());
  EXPECT_NEAR(v.X(), 0.6, 1e-15);
  EXPECT_NEAR(v.Y(), -0.8, 1e-15);
  EXPECT_EQ(v.Z(), 0.0);
  EXPECT_NEAR(static_cast<double>(lengthOf(v)), 1.0, 1e-15);
}

TEST(GslVector, NormalizeOfTheSmallestSubnormal) {
  gsl_Vector v(0.0, std::numeric_limits<double>::denorm_min(), 0.0);
  EXPECT_TRUE(v.Normalize());
  expectStored(v, 0.0, 1.0, 0.0, 1.0);
}

TEST(GslVector, NormalizeOfRandomVectorsOverTheExponentRange) {
  std::uniform_int_distribution<int> exponents(-1000, 1000);
  for (int i = 0; i < 500; ++i) {
    const int e = exponents(testRandom());
    const double x = std::ldexp(uniform(-1, 1), e);
    const double y = std::ldexp(uniform(-1, 1), e);
    const double z = std::ldexp(uniform(-1, 1), e);
    gsl_Vector v(x, y, z);
    ASSERT_TRUE(v.Normalize());
    const long double lx = x;
    const long double ly = y;
    const long double lz = z;
    // Scale in long double before squaring, to stay clear of its own overflow and underflow.
    const long double s = std::ldexp(1.0L, -e);
    const long double length =
        std::sqrt((lx * s) * (lx * s) + (ly * s) * (ly * s) + (lz * s) * (lz * s));
    ASSERT_NEAR(v.X(), static_cast<double>(lx * s / length), 1e-15);
    ASSERT_NEAR(v.Y(), static_cast<double>(ly * s / length), 1e-15);
    ASSERT_NEAR(v.Z(), static_cast<double>(lz * s / length), 1e-15);
    ASSERT_EQ(v.W(), 1.0);
  }
}

// ---------------------------------------------------------------------------------------------
// The homogeneous weight

TEST(GslVector, WeightedVectorDotProductUsesTheCartesianValue) {
  const gsl_Vector weighted(2.0, 4.0, 6.0, 2.0); // (1, 2, 3)
  EXPECT_EQ(weighted.DotProduct(gsl_Vector(1.0, 1.0, 1.0)), 6.0);
  EXPECT_EQ(gsl_Vector(1.0, 1.0, 1.0).DotProduct(weighted), 6.0);
  EXPECT_EQ(weighted.DotProduct(weighted), 14.0);
}

TEST(GslVector, WeightedVectorCrossProductUsesTheCartesianValue) {
  const gsl_Vector weighted(2.0, 4.0, 6.0, 2.0); // (1, 2, 3)
  // (1, 2, 3) x (0, 0, 1) = (2, -1, 0).
  expectStored(weighted.CrossProduct(gsl_Vector(0.0, 0.0, 1.0)), 2.0, -1.0, 0.0, 1.0);
  // (0, 0, 1) x (1, 2, 3) = (-2, 1, 0).
  const gsl_Vector r = gsl_Vector(0.0, 0.0, 1.0).CrossProduct(weighted);
  EXPECT_EQ(r.X(), -2.0);
  EXPECT_EQ(r.Y(), 1.0);
  EXPECT_EQ(r.Z(), 0.0);
  EXPECT_EQ(r.W(), 1.0);
}

TEST(GslVector, WeightedVectorNormalizesToTheCartesianDirection) {
  gsl_Vector weighted(2.0, 4.0, 6.0, 2.0);
  EXPECT_TRUE(weighted.Normalize());
  const long double length = std::sqrt(14.0L);
  EXPECT_NEAR(weighted.X(), static_cast<double>(1.0L / length), 1e-16);
  EXPECT_NEAR(weighted.Y(), static_cast<double>(2.0L / length), 1e-16);
  EXPECT_NEAR(weighted.Z(), static_cast<double>(3.0L / length), 1e-16);
  EXPECT_EQ(weighted.W(), 1.0);
}

TEST(GslVector, NegativeWeightFlipsTheDirection) {
  gsl_Vector weighted(1.0, 2.0, 3.0, -1.0); // (-1, -2, -3)
  EXPECT_EQ(weighted.DotProduct(gsl_Vector(1.0, 0.0, 0.0)), -1.0);
  EXPECT_TRUE(weighted.Normalize());
  EXPECT_LT(weighted.X(), 0.0);
  EXPECT_NEAR(weighted.Z(), static_cast<double>(-3.0L / std::sqrt(14.0L)), 1e-16);
}

TEST(GslVector, WeightZeroCountsAsTheZeroVector) {
  gsl_Vector atInfinity(1.0, 2.0, 3.0, 0.0);
  EXPECT_EQ(atInfinity.DotProduct(gsl_Vector(1.0, 1.0, 1.0)), 0.0);
  const gsl_Vector cross = atInfinity.CrossProduct(gsl_Vector(0.0, 0.0, 1.0));
  EXPECT_EQ(cross.X(), 0.0);
  EXPECT_EQ(cross.Y(), 0.0);
  EXPECT_EQ(cross.Z(), 0.0);
  EXPECT_FALSE(atInfinity.Normalize());
  expectStored(atInfinity, 1.0, 2.0, 3.0, 0.0);
}

TEST(GslVector, NegativeZeroWeightCountsAsTheZeroVector) {
  gsl_Vector v(1.0, 2.0, 3.0, -0.0);
  EXPECT_EQ(v.DotProduct(gsl_Vector(1.0, 1.0, 1.0)), 0.0);
  EXPECT_FALSE(v.Normalize());
}

// ---------------------------------------------------------------------------------------------
// Points and planes

TEST(GslPoint, DefaultIsTheOrigin) {
  const gsl_Point origin;
  EXPECT_EQ(origin.X(), 0.0);
  EXPECT_EQ(origin.Y(), 0.0);
  EXPECT_EQ(origin.Z(), 0.0);
}

TEST(GslPoint, HoldsItsCoordinates) {
  const gsl_Point p(1.0, -2.0, 3.5);
  EXPECT_EQ(p.X(), 1.0);
  EXPECT_EQ(p.Y(), -2.0);
  EXPECT_EQ(p.Z(), 3.5);
}

TEST(GslPlane, KeepsItsPointAndAUnitNormal) {
  const gsl_Plane plane(gsl_Point(1.0, 2.0, 3.0), gsl_Vector(0.0, 0.0, 5.0));
  EXPECT_EQ(plane.Point().X(), 1.0);
  EXPECT_EQ(plane.Point().Y(), 2.0);
  EXPECT_EQ(plane.Point().Z(), 3.0);
  expectStored(plane.Normal(), 0.0, 0.0, 1.0, 1.0);
}

TEST(GslPlane, WeightedNormalIsNormalised) {
  const gsl_Plane plane(gsl_Point(), gsl_Vector(0.0, 6.0, 0.0, -2.0)); // (0, -3, 0)
  expectStored(plane.Normal(), 0.0, -1.0, 0.0, 1.0);
}

TEST(GslPlane, ZeroNormalIsKeptAsTheZeroVector) {
  const gsl_Plane plane(gsl_Point(), gsl_Vector(0.0, 0.0, 0.0));
  EXPECT_EQ(plane.Normal().X(), 0.0);
  EXPECT_EQ(plane.Normal().Y(), 0.0);
  EXPECT_EQ(plane.Normal().Z(), 0.0);
}

TEST(GslVector, ProjectOnAPlaneWithAUnitNormal) {
  gsl_Plane plane(gsl_Point(), gsl_Vector(0.0, 0.0, 1.0));
  expectStored(gsl_Vector(1.0, 2.0, 3.0).ProjectOn(plane), 1.0, 2.0, 0.0, 1.0);
}

TEST(GslVector, ProjectOnAPlaneWithANonUnitNormal) {
  // n = (1, 1, 0) / sqrt(2); v . n = 3 / sqrt(2); v - (v . n) n = (1, 2, 3) - (1.5, 1.5, 0).
  gsl_Plane plane(gsl_Point(4.0, 5.0, 6.0), gsl_Vector(1.0, 1.0, 0.0));
  const gsl_Vector p = gsl_Vector(1.0, 2.0, 3.0).ProjectOn(plane);
  EXPECT_NEAR(p.X(), -0.5, 1e-15);
  EXPECT_NEAR(p.Y(), 0.5, 1e-15);
  EXPECT_EQ(p.Z(), 3.0);
  EXPECT_EQ(p.W(), 1.0);
}

TEST(GslVector, ProjectOnAPlaneWithALongNormal) {
  gsl_Plane plane(gsl_Point(), gsl_Vector(0.0, 1000.0, 0.0));
  expectStored(gsl_Vector(7.0, -8.0, 9.0).ProjectOn(plane), 7.0, 0.0, 9.0, 1.0);
}

TEST(GslVector, ProjectOnAPlaneWithAZeroNormalLeavesTheVector) {
  gsl_Plane plane(gsl_Point(), gsl_Vector(0.0, 0.0, 0.0));
  expectStored(gsl_Vector(1.0, 2.0, 3.0).ProjectOn(plane), 1.0, 2.0, 3.0, 1.0);
}

TEST(GslVector, ProjectOfAWeightedVector) {
  gsl_Plane plane(gsl_Point(), gsl_Vector(0.0, 0.0, 1.0));
  expectStored(gsl_Vector(2.0, 4.0, 6.0, 2.0).ProjectOn(plane), 1.0, 2.0, 0.0, 1.0);
}

TEST(GslVector, ProjectOnRandomPlanesMatchesLongDouble) {
  for (int i = 0; i < 500; ++i) {
    const double n[3] = {uniform(-5, 5), uniform(-5, 5), uniform(-5, 5)};
    const double v[3] = {uniform(-10, 10), uniform(-10, 10), uniform(-10, 10)};
    gsl_Plane plane(gsl_Point(uniform(-1, 1), uniform(-1, 1), uniform(-1, 1)),
                    gsl_Vector(n[0], n[1], n[2]));
    const gsl_Vector p = gsl_Vector(v[0], v[1], v[2]).ProjectOn(plane);
    const long double length =
        std::sqrt(static_cast<long double>(n[0]) * n[0] + static_cast<long double>(n[1]) * n[1] +
                  static_cast<long double>(n[2]) * n[2]);
    const long double u[3] = {n[0] / length, n[1] / length, n[2] / length};
    const long double along = v[0] * u[0] + v[1] * u[1] + v[2] * u[2];
    ASSERT_NEAR(p.X(), static_cast<double>(v[0] - along * u[0]), 1e-13);
    ASSERT_NEAR(p.Y(), static_cast<double>(v[1] - along * u[1]), 1e-13);
    ASSERT_NEAR(p.Z(), static_cast<double>(v[2] - along * u[2]), 1e-13);
    ASSERT_EQ(p.W(), 1.0);
    // What is left lies in the plane.
    ASSERT_NEAR(static_cast<double>(p.X() * u[0] + p.Y() * u[1] + p.Z() * u[2]), 0.0, 1e-13);
  }
}

// ---------------------------------------------------------------------------------------------
// gsl_Matrix

TEST(GslMatrix, DefaultAxesAreTheGlobalAxes) {
  const gsl_Matrix frame;
  expectStored(frame.NewXAxis(), 1.0, 0.0, 0.0, 1.0);
  expectStored(frame.NewYAxis(), 0.0, 1.0, 0.0, 1.0);
  expectStored(frame.NewZAxis(), 0.0, 0.0, 1.0, 1.0);
}

TEST(GslMatrix, DefaultAnglesAreZero) {
  const gsl_Matrix frame;
  double a = 1.0;
  double b = 1.0;
  double c = 1.0;
  frame.GetRotationAngles(a, b, c);
  EXPECT_EQ(a, 0.0);
  EXPECT_EQ(b, 0.0);
  EXPECT_EQ(c, 0.0);
}

TEST(GslMatrix, AxesAreStoredAsGiven) {
  gsl_Matrix frame;
  frame.SetRotationVectors(gsl_Vector(2.0, 0.5, -1.0, 3.0), gsl_Vector(0.0, 7.0, 0.0),
                           gsl_Vector(kNaN, 0.0, 0.0, 0.0));
  expectStored(frame.NewXAxis(), 2.0, 0.5, -1.0, 3.0);
  expectStored(frame.NewYAxis(), 0.0, 7.0, 0.0, 1.0);
  expectStored(frame.NewZAxis(), kNaN, 0.0, 0.0, 0.0);
}

TEST(GslMatrix, InPlaneFrameGivesItsAngleWhateverZIs) {
  const gsl_Vector zs[] = {gsl_Vector(0.0, 0.0, 1.0), gsl_Vector(), gsl_Vector(5.0, -3.0, 2.0),
                           gsl_Vector(1.0, 2.0, 3.0, 0.0), gsl_Vector(kNaN, kNaN, kNaN)};
  // Angles spread over (-pi, pi], both ends of the interval included as doubles.
  std::vector<double> angles = {kPi,   -kPi,   0.0,        kPi / 2,    -kPi / 2,
                                1e-10, -1e-10, kPi - 1e-9, -kPi + 1e-9};
  for (int k = 1; k < 400; ++k) {
    angles.push_back(-kPi + 2.0 * kPi * k / 400.0);
  }
  for (const gsl_Vector& z : zs) {
    for (double t : angles) {
      gsl_Matrix frame;
      frame.SetRotationVectors(gsl_Vector(std::cos(t), std::sin(t), 0.0),
                               gsl_Vector(-std::sin(t), std::cos(t), 0.0), z);
      double a = 0.0;
      double b = 0.0;
      double c = 0.0;
      frame.GetRotationAngles(a, b, c);
      ASSERT_NEAR(c, t, 1e-15) << "t = " << t << ", Z = (" << z.X() << ", " << z.Y() << ", "
                               << z.Z() << ", " << z.W() << ")";
    }
  }
}

TEST(GslMatrix, InPlaneFrameWithTheUnitZGivesNoOtherAngles) {
  gsl_Matrix frame;
  const double t = 0.75;
  frame.SetRotationVectors(gsl_Vector(std::cos(t), std::sin(t), 0.0),
                           gsl_Vector(-std::sin(t), std::cos(t), 0.0), gsl_Vector(0.0, 0.0, 1.0));
  double a = 1.0;
  double b = 1.0;
  double c = 0.0;
  frame.GetRotationAngles(a, b, c);
  EXPECT_EQ(a, 0.0);
  EXPECT_EQ(b, 0.0);
  EXPECT_NEAR(c, t, 1e-15);
}

TEST(GslMatrix, SingleRotationsAboutEachAxis) {
  const long double angle = 0.4L;
  double a = 0.0;
  double b = 0.0;
  double c = 0.0;
  frameOf(angle, 0.0L, 0.0L).GetRotationAngles(a, b, c);
  EXPECT_NEAR(a, 0.4, 1e-15);
  EXPECT_NEAR(b, 0.0, 1e-15);
  EXPECT_NEAR(c, 0.0, 1e-15);
  frameOf(0.0L, angle, 0.0L).GetRotationAngles(a, b, c);
  EXPECT_NEAR(a, 0.0, 1e-15);
  EXPECT_NEAR(b, 0.4, 1e-15);
  EXPECT_NEAR(c, 0.0, 1e-15);
  frameOf(0.0L, 0.0L, angle).GetRotationAngles(a, b, c);
  EXPECT_NEAR(a, 0.0, 1e-15);
  EXPECT_NEAR(b, 0.0, 1e-15);
  EXPECT_NEAR(c, 0.4, 1e-15);
}

TEST(GslMatrix, FrameOfThreeRotationsGivesBackItsAngles) {
  for (int i = 0; i < 2000; ++i) {
    // a and c over (-pi, pi) away from the ends, where atan2 may answer either end; |b| < pi/2.
    const double a = uniform(-3.1415926, 3.1415926);
    const double b = uniform(-1.55, 1.55);
    const double c = uniform(-3.1415926, 3.1415926);
    double ga = 0.0;
    double gb = 0.0;
    double gc = 0.0;
    frameOf(a, b, c).GetRotationAngles(ga, gb, gc);
    ASSERT_NEAR(ga, a, 1e-12) << a << " " << b << " " << c;
    ASSERT_NEAR(gb, b, 1e-12) << a << " " << b << " " << c;
    ASSERT_NEAR(gc, c, 1e-12) << a << " " << b << " " << c;
  }
}

TEST(GslMatrix, WeightedAxesGiveTheSameAngles) {
  const long double a = 0.3L;
  const long double b = -0.7L;
  const long double c = 2.1L;
  double ga = 0.0;
  double gb = 0.0;
  double gc = 0.0;
  frameOf(a, b, c, 4.0).GetRotationAngles(ga, gb, gc);
  EXPECT_NEAR(ga, 0.3, 1e-12);
  EXPECT_NEAR(gb, -0.7, 1e-12);
  EXPECT_NEAR(gc, 2.1, 1e-12);
}

TEST(GslMatrix, SineAboveOneIsClampedToAQuarterTurn) {
  gsl_Matrix frame;
  const double justAboveOne = 1.0 + 1e-15;
  ASSERT_GT(justAboveOne, 1.0);
  frame.SetRotationVectors(gsl_Vector(0.0, 1.0, 0.0), gsl_Vector(0.0, 0.0, 1.0),
                           gsl_Vector(justAboveOne, 0.0, 0.0));
  double a = 0.0;
  double b = 0.0;
  double c = 0.0;
  frame.GetRotationAngles(a, b, c);
  EXPECT_FALSE(std::isnan(b));
  EXPECT_EQ(b, static_cast<double>(kPiL / 2));
}

TEST(GslMatrix, SineBelowMinusOneIsClampedToAQuarterTurn) {
  gsl_Matrix frame;
  frame.SetRotationVectors(gsl_Vector(0.0, 1.0, 0.0), gsl_Vector(0.0, 0.0, 1.0),
                           gsl_Vector(-1.0 - 1e-15, 0.0, 0.0));
  double a = 0.0;
  double b = 0.0;
  double c = 0.0;
  frame.GetRotationAngles(a, b, c);
  EXPECT_EQ(b, static_cast<double>(-kPiL / 2));
}

// ---------------------------------------------------------------------------------------------
// Module start and end

TEST(GslModule, StartsAndEndsNestAndLeaveTheCounterAlone) {
  expectStartsAndEndsNest({gsl_initialize, gsl_finalize, gsl_initialized}, 9, 3);
}

TEST(GslModule, UnmatchedEndIsIgnored) {
  expectUnmatchedEndIsIgnored({gsl_initialize, gsl_finalize, gsl_initialized}, 0);
}
