// Properties of the utf_Tensor<T> queries on pseudo-random tensors (fixed seed) of every layout,
// with and without engineering shear: the prescribed rounding of mises and inv3 bit for bit,
// principal values against an independent long-double Jacobi eigen solver, the invariants against
// their definitions, Tresca as the range of the principal values, invariance under a change of
// the order of the axes, and the accuracy that the closed form reaches on near-degenerate and
// badly scaled tensors.

#include "test_support.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <type_traits>
#include <vector>

namespace {

template <typename T>
class TensorProperties : public ::testing::Test {};
TYPED_TEST_SUITE(TensorProperties, utf_Precisions, utf_PrecisionNames);

constexpr int kSamples = 2000;

template <typename T>
double eps() {
  return static_cast<double>(std::numeric_limits<T>::epsilon());
}

// ---------------------------------------------------------------------------------------------
// Independent reference: the tensor as a long-double matrix and its eigenvalues by Jacobi.

// The reference principal values in the order of computePrincipal: the three sorted values of a
// full tensor, or the in-plane pair (sorted) of a planar or surface one.
template <typename T>
std::array<Real, 3> referencePrincipal(const utf_Tensor<T>& tensor) {
  const RealMatrix m = matrixOf(tensor);
  if (isSurface(tensor.type()) || isPlanar(tensor.type())) {
    std::array<Real, 3> pair = jacobiEigenvalues(m, 2);
    pair[2] = isPlanar(tensor.type()) ? m.a[2][2] : 0;
    return pair;
  }
  return jacobiEigenvalues(m, 3);
}

// The deviator of the tensor's matrix.
RealMatrix deviatorOf(RealMatrix m) {
  const Real p = (m.a[0][0] + m.a[1][1] + m.a[2][2]) / 3;
  for (int i = 0; i < 3; ++i) {
    m.a[i][i] -= p;
  }
  return m;
}

Real determinant(const RealMatrix& m) {
  const auto& a = m.a;
  return a[0][0] * (a[1][1] * a[2][2] - a[1][2] * a[2][1]) -
         a[0][1] * (a[1][0] * a[2][2] - a[1][2] * a[2][0]) +
         a[0][2] * (a[1][0] * a[2][1] - a[1][1] * a[2][0]);
}

// tr(s s) of a symmetric matrix.
Real traceOfSquare(const RealMatrix& m) {
  Real sum = 0;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      sum += m.a[i][j] * m.a[i][j];
    }
  }
  return sum;
}

// ---------------------------------------------------------------------------------------------
// Mises and inv3 in the precision that the library prescribes, written out step by step. In the
// float instantiation: the mean is the single-precision sum of the direct components divided by
// 3.0 in double and narrowed; deviators, halved shears (0.5 c in double, narrowed), products and
// brackets are single precision; the brackets are joined in double and narrowed; the root is
// taken in double and narrowed. In double every cast is the identity.

template <typename T>
struct PrescribedDeviator {
  T d1, d2, d3, s12, s13, s23;
};

template <typename T>
PrescribedDeviator<T> prescribedDeviator(res_DataTypeEnm type, const T* c, bool engineering) {
  const double f = engineering ? 0.5 : 1.0;
  if (isSurface(type)) {
    const T p = static_cast<T>(static_cast<double>(c[0] + c[1]) / 3.0);
    return {c[0] - p, c[1] - p, -p, static_cast<T>(f * static_cast<double>(c[2])), 0, 0};
  }
  const T p = static_cast<T>(static_cast<double>(c[0] + c[1] + c[2]) / 3.0);
  if (isPlanar(type)) {
    return {c[0] - p, c[1] - p, c[2] - p, static_cast<T>(f * static_cast<double>(c[3])), 0, 0};
  }
  return {c[0] - p,
          c[1] - p,
          c[2] - p,
          static_cast<T>(f * static_cast<double>(c[3])),
          static_cast<T>(f * static_cast<double>(c[4])),
          static_cast<T>(f * static_cast<double>(c[5]))};
}

template <typename T>
T prescribedMises(res_DataTypeEnm type, const T* c, bool engineering) {
  const PrescribedDeviator<T> s = prescribedDeviator(type, c, engineering);
  const T direct = s.d1 * s.d1 + s.d2 * s.d2 + s.d3 * s.d3;
  T q;
  if (isSurface(type) || isPlanar(type)) {
    q = static_cast<T>(static_cast<double>(direct) +
                       2.0 * static_cast<double>(s.s12) * static_cast<double>(s.s12));
  } else {
    const T shear = s.s12 * s.s12 + s.s13 * s.s13 + s.s23 * s.s23;
    q = static_cast<T>(static_cast<double>(direct) + 2.0 * static_cast<double>(shear));
  }
  return static_cast<T>(std::sqrt(1.5 * static_cast<double>(q)));
}

template <typename T>
T prescribedInv3(res_DataTypeEnm type, const T* c, bool engineering) {
  const PrescribedDeviator<T> s = prescribedDeviator(type, c, engineering);
  T trace;
  if (isSurface(type) || isPlanar(type)) {
    const T m11 = s.d1 * s.d1 + s.s12 * s.s12;
    const T m22 = s.d2 * s.d2 + s.s12 * s.s12;
    const T m12 = (s.d1 + s.d2) * s.s12;
    const T first = m11 * s.d1 + m22 * s.d2 + s.d3 * s.d3 * s.d3;
    const T second = m12 * s.s12;
    trace = static_cast<T>(static_cast<double>(first) + 2.0 * static_cast<double>(second));
  } else {
    const T a = s.s12 * s.s12, b = s.s13 * s.s13, cc = s.s23 * s.s23;
    const T m11 = s.d1 * s.d1 + a + b;
    const T m22 = s.d2 * s.d2 + a + cc;
    const T m33 = s.d3 * s.d3 + b + cc;
    const T m12 = (s.d1 + s.d2) * s.s12 + s.s13 * s.s23;
    const T m13 = (s.d1 + s.d3) * s.s13 + s.s12 * s.s23;
    const T m23 = (s.d2 + s.d3) * s.s23 + s.s12 * s.s13;
    const T first = m11 * s.d1 + m22 * s.d2 + m33 * s.d3;
    const T second = m12 * s.s12 + m13 * s.s13 + m23 * s.s23;
    trace = static_cast<T>(static_cast<double>(first) + 2.0 * static_cast<double>(second));
  }
  const double wide = static_cast<double>(trace);
  return wide >= 0.0 ? static_cast<T>(std::pow(4.5 * wide, 0.3333333333333333))
                     : static_cast<T>(-std::pow(-4.5 * wide, 0.3333333333333333));
}

// The same two quantities with every step in double, narrowed once at the end: in float they
// differ from the prescribed rounding on some inputs, which shows that the bit-for-bit tests
// can tell the two apart.
template <typename T>
T allDoubleMises(res_DataTypeEnm type, const T* c, bool engineering) {
  double wide[6] = {};
  for (int i = 0; i < countOf(type); ++i) {
    wide[i] = c[i];
  }
  return static_cast<T>(prescribedMises<double>(type, wide, engineering));
}

template <typename T>
T allDoubleInv3(res_DataTypeEnm type, const T* c, bool engineering) {
  double wide[6] = {};
  for (int i = 0; i < countOf(type); ++i) {
    wide[i] = c[i];
  }
  return static_cast<T>(prescribedInv3<double>(type, wide, engineering));
}

// ---------------------------------------------------------------------------------------------
// Bit-for-bit rounding of mises and inv3.

TYPED_TEST(TensorProperties, MisesFollowsThePrescribedRoundingBitForBit) {
  using T = TypeParam;
  int checked = 0, differFromAllDouble = 0;
  for (res_DataTypeEnm type : {res_Tensor3dFull, res_Tensor3dPlanar, res_Tensor3dSurface,
                               res_Tensor2dPlanar, res_Tensor2dSurface, kNoTensorType}) {
    for (bool engineering : {false, true}) {
      for (int i = 0; i < kSamples / 2; ++i) {
        const std::array<T, 6> c = randomComponents<T>(i % 2 == 0 ? 1.0 : 1000.0);
        const utf_Tensor<T> tensor = tensorFrom(type, c.data(), engineering);
        const T expected = prescribedMises(type, c.data(), engineering);
        ASSERT_EQ(bitsOf(tensor.mises()), bitsOf(expected)) << "type " << type << " sample " << i;
        differFromAllDouble += expected != allDoubleMises(type, c.data(), engineering);
        ++checked;
      }
    }
  }
  EXPECT_EQ(checked, 6 * kSamples);
  if (std::is_same<T, float>::value) {
    EXPECT_GT(differFromAllDouble, 0) << "the single-precision steps are visible in the result";
  }
}

TYPED_TEST(TensorProperties, Inv3FollowsThePrescribedRoundingBitForBit) {
  using T = TypeParam;
  int checked = 0, differFromAllDouble = 0;
  for (res_DataTypeEnm type : {res_Tensor3dFull, res_Tensor3dPlanar, res_Tensor3dSurface,
                               res_Tensor2dPlanar, res_Tensor2dSurface, kNoTensorType}) {
    for (bool engineering : {false, true}) {
      for (int i = 0; i < kSamples / 2; ++i) {
        const std::array<T, 6> c = randomComponents<T>(i % 2 == 0 ? 1.0 : 1000.0);
        const utf_Tensor<T> tensor = tensorFrom(type, c.data(), engineering);
        const T expected = prescribedInv3(type, c.data(), engineering);
        ASSERT_EQ(bitsOf(tensor.inv3()), bitsOf(expected)) << "type " << type << " sample " << i;
        differFromAllDouble += expected != allDoubleInv3(type, c.data(), engineering);
        ++checked;
      }
    }
  }
  EXPECT_EQ(checked, 6 * kSamples);
  if (std::is_same<T, float>::value) {
    EXPECT_GT(differFromAllDouble, 0) << "the single-precision steps are visible in the result";
  }
}

TYPED_TEST(TensorProperties, PressureIsTheMeanFormedInDoubleBitForBit) {
  using T = TypeParam;
  for (res_DataTypeEnm type : kTensorLayouts) {
    for (int i = 0; i < kSamples / 4; ++i) {
      const std::array<T, 6> c = randomComponents<T>(100.0);
      const utf_Tensor<T> tensor = tensorFrom(type, c.data(), false);
      const double sum = isSurface(type) ? static_cast<double>(c[0]) + static_cast<double>(c[1])
                                         : static_cast<double>(c[0]) + static_cast<double>(c[1]) +
                                               static_cast<double>(c[2]);
      ASSERT_EQ(bitsOf(tensor.pressure()), bitsOf(static_cast<T>(-sum / 3.0))) << "type " << type;
    }
  }
}

// ---------------------------------------------------------------------------------------------
// Principal values against the Jacobi reference.
//
// Error bound, with N the largest magnitude of the reference values and g the smallest gap
// between two of them divided by N: the closed form is good to a few double epsilons of N,
// divided by g near a repeated value (the slope of acos); the float instantiation narrows that
// double result, adding half a float ulp of the value itself.
template <typename T>
double principalBound(const std::array<Real, 3>& reference, int n, double largest) {
  double gap = 1.0;
  for (int i = 0; i + 1 < n; ++i) {
    gap = std::min(gap, static_cast<double>(reference[i] - reference[i + 1]) / largest);
  }
  const double closedForm = 16 * eps<double>() * largest / std::max(gap, 1e-8);
  return closedForm + (std::is_same<T, float>::value ? eps<float>() * largest : 0.0);
}

TYPED_TEST(TensorProperties, FullPrincipalValuesAgreeWithTheJacobiSolver) {
  using T = TypeParam;
  for (bool engineering : {false, true}) {
    for (int i = 0; i < kSamples; ++i) {
      const std::array<T, 6> c = randomComponents<T>(i % 3 == 0 ? 1e3 : 1.0);
      const utf_Tensor<T> tensor = tensorFrom(res_Tensor3dFull, c.data(), engineering);
      const std::array<Real, 3> reference = referencePrincipal(tensor);
      const double largest =
          static_cast<double>(std::max(std::fabs(reference[0]), std::fabs(reference[2])));
      const double bound = principalBound<T>(reference, 3, largest);
      T p[3];
      tensor.computePrincipal(p[0], p[1], p[2]);
      for (int k = 0; k < 3; ++k) {
        ASSERT_NEAR(static_cast<double>(p[k]), static_cast<double>(reference[k]), bound)
            << "sample " << i << " value " << k;
      }
      EXPECT_EQ(tensor.maxPrincipal(), p[0]);
      EXPECT_EQ(tensor.midPrincipal(), p[1]);
      EXPECT_EQ(tensor.minPrincipal(), p[2]);
    }
  }
}

TYPED_TEST(TensorProperties, InplanePairsAgreeWithTheJacobiSolver) {
  using T = TypeParam;
  for (res_DataTypeEnm type :
       {res_Tensor3dPlanar, res_Tensor3dSurface, res_Tensor2dPlanar, res_Tensor2dSurface}) {
    for (bool engineering : {false, true}) {
      for (int i = 0; i < kSamples / 2; ++i) {
        const std::array<T, 6> c = randomComponents<T>(i % 3 == 0 ? 1e3 : 1.0);
        const utf_Tensor<T> tensor = tensorFrom(type, c.data(), engineering);
        const std::array<Real, 3> reference = referencePrincipal(tensor);
        const double largest =
            static_cast<double>(std::max(std::fabs(reference[0]), std::fabs(reference[1])));
        // The half-angle rotation has no acos: a few epsilons of the largest in-plane value,
        // plus the narrowing of the float instantiation.
        const double bound = 8 * eps<double>() * largest +
                             (std::is_same<T, float>::value ? eps<float>() * largest : 0.0);
        ASSERT_NEAR(static_cast<double>(tensor.maxInplanePrincipal()),
                    static_cast<double>(reference[0]), bound)
            << "type " << type << " sample " << i;
        ASSERT_NEAR(static_cast<double>(tensor.minInplanePrincipal()),
                    static_cast<double>(reference[1]), bound)
            << "type " << type << " sample " << i;
      }
    }
  }
}

TYPED_TEST(TensorProperties, PlanarPrincipalQueriesRankTheOutOfPlaneValueWithThePair) {
  using T = TypeParam;
  for (res_DataTypeEnm type : {res_Tensor3dPlanar, res_Tensor2dPlanar}) {
    for (int i = 0; i < kSamples / 2; ++i) {
      const std::array<T, 6> c = randomComponents<T>(1.0);
      const utf_Tensor<T> tensor = tensorFrom(type, c.data(), i % 2 == 0);
      const T values[3] = {tensor.maxInplanePrincipal(), tensor.minInplanePrincipal(), c[2]};
      T sorted[3] = {values[0], values[1], values[2]};
      std::sort(sorted, sorted + 3, [](T x, T y) { return x > y; });
      EXPECT_EQ(tensor.outOfPlanePrincipal(), c[2]);
      ASSERT_EQ(tensor.maxPrincipal(), sorted[0]) << "sample " << i;
      ASSERT_EQ(tensor.midPrincipal(), sorted[1]) << "sample " << i;
      ASSERT_EQ(tensor.minPrincipal(), sorted[2]) << "sample " << i;
    }
  }
}

TYPED_TEST(TensorProperties, SurfacePrincipalQueriesAreTheInplanePairAndZero) {
  using T = TypeParam;
  for (res_DataTypeEnm type : {res_Tensor3dSurface, res_Tensor2dSurface}) {
    for (int i = 0; i < kSamples / 2; ++i) {
      const std::array<T, 6> c = randomComponents<T>(1.0);
      const utf_Tensor<T> tensor = tensorFrom(type, c.data(), i % 2 == 0);
      ASSERT_EQ(tensor.maxPrincipal(), tensor.maxInplanePrincipal());
      ASSERT_EQ(tensor.minPrincipal(), tensor.minInplanePrincipal());
      ASSERT_EQ(tensor.midPrincipal(), T(0));
      ASSERT_EQ(tensor.outOfPlanePrincipal(), T(0));
    }
  }
}

// ---------------------------------------------------------------------------------------------
// Invariants against their definitions, Tresca as the range.

// The bound on |inv3^3 - 13.5 det s| for a tensor of size |S| (Frobenius) and deviator size |s|:
// the deviator carries rounding errors of epsilon |S| (it is formed by cancellation), which the
// products multiply by |s|^2, and 4.5 tr(s s s) sums a dozen rounded products: 64 epsilon |S|
// |s|^2 (about 15 is reached). Then the bias of the exponent: 0.3333333333333333 is 1.85e-17
// short of 1/3, so the root of x is off by the factor x^-1.85e-17, which the cube triples:
// 3 (1.85e-17) |ln x| |x|, about 4e-14 |x| around 1e90.
template <typename T>
Real inv3CubeBound(Real size, Real deviatorSize, Real cube) {
  const Real bias = 1.0L / 3 - static_cast<Real>(0.3333333333333333);
  const Real exponentBias =
      cube == 0 ? 0 : 3 * bias * std::fabs(std::log(std::fabs(cube))) * std::fabs(cube);
  return 64 * eps<T>() * size * deviatorSize * deviatorSize + exponentBias;
}

TYPED_TEST(TensorProperties, InvariantsAgreeWithTheirDefinitions) {
  using T = TypeParam;
  for (res_DataTypeEnm type : kTensorLayouts) {
    for (bool engineering : {false, true}) {
      for (int i = 0; i < kSamples / 4; ++i) {
        const std::array<T, 6> c = randomComponents<T>(i % 2 == 0 ? 1.0 : 500.0);
        const utf_Tensor<T> tensor = tensorFrom(type, c.data(), engineering);
        const RealMatrix m = matrixOf(tensor);
        const RealMatrix s = deviatorOf(m);
        const Real size = std::sqrt(traceOfSquare(m));
        const Real deviatorSize = std::sqrt(traceOfSquare(s));
        // pressure = -tr / 3.
        const Real pressure = -(m.a[0][0] + m.a[1][1] + m.a[2][2]) / 3;
        ASSERT_NEAR(double(tensor.pressure()), double(pressure), 2 * eps<T>() * double(size));
        // mises = sqrt(3 J2), J2 = tr(s s) / 2.
        const Real mises = std::sqrt(1.5L * traceOfSquare(s));
        ASSERT_NEAR(double(tensor.mises()), double(mises), 8 * eps<T>() * double(size))
            << "type " << type << " sample " << i;
        // inv3^3 = 13.5 det(s), compared as cubes (the cube root is steep near 0).
        const Real inv3 = tensor.inv3();
        const Real cube = 13.5L * determinant(s);
        ASSERT_LE(std::fabs(inv3 * inv3 * inv3 - cube), inv3CubeBound<T>(size, deviatorSize, cube))
            << "type " << type << " sample " << i;
      }
    }
  }
}

TYPED_TEST(TensorProperties, TrescaIsTheRangeOfThePrincipalValues) {
  using T = TypeParam;
  for (res_DataTypeEnm type : kTensorLayouts) {
    for (int i = 0; i < kSamples / 4; ++i) {
      const std::array<T, 6> c = randomComponents<T>(10.0);
      const utf_Tensor<T> tensor = tensorFrom(type, c.data(), i % 2 == 1);
      if (isSurface(type)) {
        // The out-of-plane zero takes part in the range; formed in double.
        const T largest = std::max(tensor.maxPrincipal(), T(0));
        const T smallest = std::min(tensor.minPrincipal(), T(0));
        ASSERT_EQ(bitsOf(tensor.tresca()), bitsOf(static_cast<T>(static_cast<double>(largest) -
                                                                 static_cast<double>(smallest))));
      } else {
        ASSERT_EQ(bitsOf(tensor.tresca()),
                  bitsOf(static_cast<T>(tensor.maxPrincipal() - tensor.minPrincipal())))
            << "type " << type;
      }
      ASSERT_GE(tensor.tresca(), T(0));
    }
  }
}

// ---------------------------------------------------------------------------------------------
// Invariance under a change of the order of the axes.

// The full tensor with its axes renamed: new axis i is old axis order[i].
template <typename T>
std::array<T, 6> permuted(const std::array<T, 6>& c, const int order[3]) {
  auto component = [&c](int i, int j) -> T {
    if (i == j) {
      return c[i];
    }
    const int low = std::min(i, j), high = std::max(i, j);
    return c[low == 0 ? (high == 1 ? 3 : 4) : 5];
  };
  return {component(order[0], order[0]), component(order[1], order[1]),
          component(order[2], order[2]), component(order[0], order[1]),
          component(order[0], order[2]), component(order[1], order[2])};
}

TYPED_TEST(TensorProperties, MisesPressureAndInv3DoNotDependOnTheOrderOfTheAxes) {
  using T = TypeParam;
  const int orders[6][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};
  for (res_DataTypeEnm type : kTensorLayouts) {
    for (int i = 0; i < kSamples / 4; ++i) {
      const bool engineering = i % 2 == 0;
      const std::array<T, 6> c = randomComponents<T>(1.0);
      const utf_Tensor<T> tensor = tensorFrom(type, c.data(), engineering);
      const double size = std::sqrt(double(traceOfSquare(matrixOf(tensor))));
      std::vector<std::array<T, 6>> others;
      if (type == res_Tensor3dFull) {
        for (const int* order : orders) {
          others.push_back(permuted(c, order));
        }
      } else {
        // In-plane layouts: directions 1 and 2 exchanged, S33 and S12 unchanged.
        std::array<T, 6> swapped = c;
        std::swap(swapped[0], swapped[1]);
        others.push_back(swapped);
      }
      const double inv3 = tensor.inv3();
      for (const std::array<T, 6>& other : others) {
        const utf_Tensor<T> renamed = tensorFrom(type, other.data(), engineering);
        ASSERT_NEAR(double(renamed.mises()), double(tensor.mises()), 8 * eps<T>() * size);
        ASSERT_NEAR(double(renamed.pressure()), double(tensor.pressure()), 2 * eps<T>() * size);
        const double renamedInv3 = renamed.inv3();
        ASSERT_NEAR(renamedInv3 * renamedInv3 * renamedInv3, inv3 * inv3 * inv3,
                    64 * eps<T>() * size * size * size)
            << "type " << type << " sample " << i;
      }
    }
  }
}

// ---------------------------------------------------------------------------------------------
// Near-degenerate and badly scaled tensors.

// A random rotation (rows of the table of a random unit quaternion), in long double.
RealMatrix randomRotation() {
  Real q[4];
  Real norm = 0;
  do {
    norm = 0;
    for (Real& v : q) {
      v = uniform(-1, 1);
      norm += v * v;
    }
  } while (norm < 0.01L || norm > 1);
  norm = std::sqrt(norm);
  for (Real& v : q) {
    v /= norm;
  }
  const Real x = q[0], y = q[1], z = q[2], w = q[3];
  RealMatrix r{};
  r.a[0][0] = 1 - 2 * (y * y + z * z);
  r.a[0][1] = 2 * (x * y + z * w);
  r.a[0][2] = 2 * (x * z - y * w);
  r.a[1][0] = 2 * (x * y - z * w);
  r.a[1][1] = 1 - 2 * (x * x + z * z);
  r.a[1][2] = 2 * (y * z + x * w);
  r.a[2][0] = 2 * (x * z + y * w);
  r.a[2][1] = 2 * (y * z - x * w);
  r.a[2][2] = 1 - 2 * (x * x + y * y);
  return r;
}

// Full-tensor components (tensor shear) of R^T diag(l1, l2, l3) R, rounded to T.
template <typename T>
std::array<T, 6> withSpectrum(Real l1, Real l2, Real l3) {
  const RealMatrix r = randomRotation();
  const Real l[3] = {l1, l2, l3};
  auto entry = [&](int i, int j) {
    Real sum = 0;
    for (int k = 0; k < 3; ++k) {
      sum += r.a[k][i] * l[k] * r.a[k][j];
    }
    return static_cast<T>(sum);
  };
  return {entry(0, 0), entry(1, 1), entry(2, 2), entry(0, 1), entry(0, 2), entry(1, 2)};
}

TYPED_TEST(TensorProperties, TwoEqualPrincipalValuesAreFoundToTheSquareRootOfEpsilon) {
  using T = TypeParam;
  // The acos near +-1 turns a rounding error e of its argument into an angle error of about
  // sqrt(e): each value of a repeated pair is good to about sqrt(double epsilon) N (1.5e-8 N),
  // while the distinct value and the mean of the pair stay within a few epsilons of N. In float
  // the narrowing dominates: every value is good to about a float epsilon of N.
  double worstPair = 0;
  for (int i = 0; i < kSamples / 4; ++i) {
    const Real pair = uniform(-1, 1), single = uniform(-1, 1);
    const std::array<T, 6> c = withSpectrum<T>(pair, pair, single);
    const utf_Tensor<T> tensor = tensorFrom(res_Tensor3dFull, c.data(), false);
    const std::array<Real, 3> reference = referencePrincipal(tensor);
    const double largest =
        double(std::max({std::fabs(reference[0]), std::fabs(reference[2]), Real(1e-3)}));
    T p[3];
    tensor.computePrincipal(p[0], p[1], p[2]);
    // The pair is 0 and 1 when the single value is the smallest, else 1 and 2.
    const int first = single < pair ? 0 : 1;
    const int distinct = single < pair ? 2 : 0;
    const double fine = 16 * eps<double>() * largest +
                        (std::is_same<T, float>::value ? 2 * eps<float>() * largest : 0.0);
    const double coarse = 16 * std::sqrt(eps<double>()) * largest +
                          (std::is_same<T, float>::value ? 2 * eps<float>() * largest : 0.0);
    ASSERT_NEAR(double(p[distinct]), double(reference[distinct]), fine) << "sample " << i;
    ASSERT_NEAR((double(p[first]) + double(p[first + 1])) / 2,
                double((reference[first] + reference[first + 1]) / 2), fine)
        << "sample " << i;
    for (int k = first; k < first + 2; ++k) {
      ASSERT_NEAR(double(p[k]), double(reference[k]), coarse) << "sample " << i;
      worstPair = std::max(worstPair, std::fabs(double(p[k]) - double(reference[k])) / largest);
    }
  }
  // The pair really is the weak spot in double, and really is within its bound.
  if (std::is_same<T, double>::value) {
    EXPECT_GT(worstPair, 16 * eps<double>());
  }
  EXPECT_LE(worstPair, 16 * std::sqrt(eps<double>()) + 2 * eps<T>());
}

TYPED_TEST(TensorProperties, ThreeEqualPrincipalValues) {
  using T = TypeParam;
  for (int i = 0; i < kSamples / 4; ++i) {
    const Real value = uniform(-100, 100);
    // Exactly spherical: each value is the component itself (the mean when the deviator is 0,
    // else (c - p) + p, which is c again since c - p is exact), and mises and inv3 are at most a
    // few epsilons of it (the rounding of the mean).
    const T v = static_cast<T>(value);
    const utf_Tensor<T> exact =
        tensorFrom(res_Tensor3dFull, std::array<T, 6>{v, v, v, 0, 0, 0}.data(), false);
    T p[3];
    exact.computePrincipal(p[0], p[1], p[2]);
    EXPECT_EQ(p[0], v);
    EXPECT_EQ(p[1], v);
    EXPECT_EQ(p[2], v);
    EXPECT_LE(double(exact.mises()), 4 * eps<T>() * std::fabs(double(v)));
    EXPECT_LE(std::fabs(double(exact.inv3())), 4 * eps<T>() * std::fabs(double(v)));
    // Rotated: the rounding of the components leaves a deviator of a few epsilons, and the
    // three values stay within a few epsilons of the value.
    const std::array<T, 6> c = withSpectrum<T>(value, value, value);
    const utf_Tensor<T> rotated = tensorFrom(res_Tensor3dFull, c.data(), false);
    rotated.computePrincipal(p[0], p[1], p[2]);
    for (int k = 0; k < 3; ++k) {
      ASSERT_NEAR(double(p[k]), double(value), 8 * eps<T>() * std::fabs(double(value)));
    }
    ASSERT_LE(double(rotated.mises()), 16 * eps<T>() * std::fabs(double(value)));
  }
}

TYPED_TEST(TensorProperties, ShearOf1e20OfTheDirectValuesLeavesTheDirectValues) {
  using T = TypeParam;
  // The true principal values differ from the direct components by about 1e-40 of them, far
  // below either precision; when the shears are also below 2.2204460492503132e-20 of the largest
  // deviator the values are the direct components recomputed as (c - p) + p, bit for bit.
  int shearFree = 0, cosine = 0;
  for (int i = 0; i < kSamples / 2; ++i) {
    std::array<T, 6> c = randomComponents<T>(10.0);
    const double direct =
        std::max({std::fabs(double(c[0])), std::fabs(double(c[1])), std::fabs(double(c[2]))});
    for (int k = 3; k < 6; ++k) {
      c[k] = static_cast<T>(1e-20 * direct * (k == 4 ? -1 : 1));
    }
    const utf_Tensor<T> tensor = tensorFrom(res_Tensor3dFull, c.data(), false);
    T p[3];
    tensor.computePrincipal(p[0], p[1], p[2]);
    const double mean = (double(c[0]) + double(c[1]) + double(c[2])) / 3.0;
    const double d[3] = {double(c[0]) - mean, double(c[1]) - mean, double(c[2]) - mean};
    const double largestDeviator = std::max({std::fabs(d[0]), std::fabs(d[1]), std::fabs(d[2])});
    const double largestShear =
        std::max({std::fabs(double(c[3])), std::fabs(double(c[4])), std::fabs(double(c[5]))});
    T expected[3] = {static_cast<T>(d[0] + mean), static_cast<T>(d[1] + mean),
                     static_cast<T>(d[2] + mean)};
    std::sort(expected, expected + 3, [](T x, T y) { return x > y; });
    if (2.2204460492503132e-20 * largestDeviator > largestShear) {
      ++shearFree;
      for (int k = 0; k < 3; ++k) {
        ASSERT_EQ(bitsOf(p[k]), bitsOf(expected[k])) << "sample " << i;
      }
    } else {
      ++cosine;
    }
    // Either way the values are the direct components to the accuracy of the closed form.
    const std::array<Real, 3> reference = referencePrincipal(tensor);
    const double bound = principalBound<T>(reference, 3, direct);
    for (int k = 0; k < 3; ++k) {
      ASSERT_NEAR(double(p[k]), double(expected[k]), bound) << "sample " << i;
      ASSERT_NEAR(double(p[k]), double(reference[k]), bound) << "sample " << i;
    }
  }
  EXPECT_GT(shearFree, 0);
  EXPECT_GT(cosine, 0);
}

// Principal values of scale times a random tensor against the reference, with the bound of the
// unit-scale test: the principal values are computed in double, so both instantiations keep
// their accuracy at 1e30.
template <typename T>
void expectPrincipalAccurateAtScale(double scale) {
  for (res_DataTypeEnm type : kTensorLayouts) {
    for (int i = 0; i < kSamples / 8; ++i) {
      const std::array<T, 6> c = randomComponents<T>(scale);
      const utf_Tensor<T> tensor = tensorFrom(type, c.data(), i % 2 == 0);
      const std::array<Real, 3> reference = referencePrincipal(tensor);
      const int n = type == res_Tensor3dFull ? 3 : 2;
      const double largest = double(std::max(std::fabs(reference[0]), std::fabs(reference[n - 1])));
      const double bound = principalBound<T>(reference, n, largest);
      T p[3];
      tensor.computePrincipal(p[0], p[1], p[2]);
      for (int k = 0; k < n; ++k) {
        ASSERT_NEAR(double(p[k]), double(reference[k]), bound) << "type " << type << " " << i;
      }
    }
  }
}

TYPED_TEST(TensorProperties, PrincipalValuesAround1e30KeepTheirAccuracy) {
  expectPrincipalAccurateAtScale<TypeParam>(1e30);
}

TYPED_TEST(TensorProperties, PlanarAndDiagonalPrincipalValuesAround1e30and1eMinus30) {
  using T = TypeParam;
  for (double scale : {1e30, 1e-30}) {
    // In-plane pairs: the half-angle rotation is relative all the way down to the smallest
    // normal double.
    for (res_DataTypeEnm type : {res_Tensor3dPlanar, res_Tensor2dSurface}) {
      for (int i = 0; i < kSamples / 8; ++i) {
        const std::array<T, 6> c = randomComponents<T>(scale);
        const utf_Tensor<T> tensor = tensorFrom(type, c.data(), false);
        const std::array<Real, 3> reference = referencePrincipal(tensor);
        const double largest = double(std::max(std::fabs(reference[0]), std::fabs(reference[1])));
        const double bound = 8 * eps<double>() * largest +
                             (std::is_same<T, float>::value ? eps<float>() * largest : 0.0);
        ASSERT_NEAR(double(tensor.maxInplanePrincipal()), double(reference[0]), bound);
        ASSERT_NEAR(double(tensor.minInplanePrincipal()), double(reference[1]), bound);
      }
    }
    // Diagonal full tensors: the shear-free test is relative, so they are exact at any scale.
    const std::array<T, 6> diagonal = {T(3 * scale), T(-scale), T(2 * scale), 0, 0, 0};
    const utf_Tensor<T> tensor = tensorFrom(res_Tensor3dFull, diagonal.data(), false);
    T p[3];
    tensor.computePrincipal(p[0], p[1], p[2]);
    const double mean = (double(diagonal[0]) + double(diagonal[1]) + double(diagonal[2])) / 3.0;
    EXPECT_EQ(bitsOf(p[0]), bitsOf(static_cast<T>((double(diagonal[0]) - mean) + mean)));
    EXPECT_EQ(bitsOf(p[1]), bitsOf(static_cast<T>((double(diagonal[2]) - mean) + mean)));
    EXPECT_EQ(bitsOf(p[2]), bitsOf(static_cast<T>((double(diagonal[1]) - mean) + mean)));
  }
}

TYPED_TEST(TensorProperties, FullTensorsAround1eMinus30KeepOnlyTheirMeanAndSpread) {
  using T = TypeParam;
  // Below r = 2.220446049250313e-16 (absolute) the normalised deviator is not formed and the
  // angle is that of a zero third invariant: the values are p + r (cos 30deg, 0, -cos 30deg).
  // They keep the mean and J2 (so the spread) to a few epsilons, but not the individual values
  // unless the third invariant is zero, as for pure shear.
  for (int i = 0; i < kSamples / 4; ++i) {
    const std::array<T, 6> c = randomComponents<T>(1e-30);
    const utf_Tensor<T> tensor = tensorFrom(res_Tensor3dFull, c.data(), i % 2 == 0);
    const RealMatrix m = matrixOf(tensor);
    const Real mean = (m.a[0][0] + m.a[1][1] + m.a[2][2]) / 3;
    const Real j2 = traceOfSquare(deviatorOf(m)) / 2;
    const double r = double(2 * std::sqrt(j2 / 3));
    T p[3];
    tensor.computePrincipal(p[0], p[1], p[2]);
    const double scale = std::sqrt(double(traceOfSquare(m)));
    const double bound = 8 * eps<T>() * scale;
    ASSERT_NEAR(double(p[0]), double(mean) + r * std::cos(std::acos(-1.0) / 6), bound);
    ASSERT_NEAR(double(p[1]), double(mean), bound);
    ASSERT_NEAR(double(p[2]), double(mean) - r * std::cos(std::acos(-1.0) / 6), bound);
    const double sum = double(p[0]) + double(p[1]) + double(p[2]);
    ASSERT_NEAR(sum, double(3 * mean), 3 * bound);
  }
  // Pure shear has a zero third invariant: exact to rounding even at this scale.
  const T tau = static_cast<T>(1e-30);
  const utf_Tensor<T> shear =
      tensorFrom(res_Tensor3dFull, std::array<T, 6>{0, 0, 0, tau, 0, 0}.data(), false);
  EXPECT_NEAR(double(shear.maxPrincipal()), double(tau), 4 * eps<T>() * double(tau));
  EXPECT_NEAR(double(shear.minPrincipal()), -double(tau), 4 * eps<T>() * double(tau));
}

TYPED_TEST(TensorProperties, MisesAndInv3AcrossScales) {
  using T = TypeParam;
  const bool single = std::is_same<T, float>::value;
  // Double: squares and cubes stay in range from 1e-30 to 1e30 and the accuracy of the unit
  // scale holds (with the growing bias of the exponent of inv3). Float: squares and cubes are
  // single precision, so mises holds for deviators between about 1e-19 and 1.8e19 and inv3
  // between about 2e-13 and 7e12. Around 1e30 both overflow (mises infinite, inv3 not finite);
  // around 1e-30 every square and cube underflows and both are 0. In between the float inv3
  // degrades (products in the subnormal range, or some of them overflowing): not checked.
  for (double scale : {1e30, 1e15, 1e10, 1e-10, 1e-15, 1e-30}) {
    for (res_DataTypeEnm type : kTensorLayouts) {
      for (int i = 0; i < kSamples / 20; ++i) {
        const std::array<T, 6> c = randomComponents<T>(scale);
        const utf_Tensor<T> tensor = tensorFrom(type, c.data(), i % 2 == 0);
        const RealMatrix m = matrixOf(tensor);
        const RealMatrix s = deviatorOf(m);
        const Real whole = std::sqrt(traceOfSquare(m));
        const Real deviator = std::sqrt(traceOfSquare(s));
        if (!single || (scale <= 1e15 && scale >= 1e-15)) {
          ASSERT_NEAR(double(tensor.mises()), double(std::sqrt(1.5L * traceOfSquare(s))),
                      8 * eps<T>() * double(whole))
              << "type " << type << " scale " << scale;
        } else if (scale > 1) {
          ASSERT_TRUE(std::isinf(tensor.mises())) << "type " << type << " scale " << scale;
        } else {
          ASSERT_EQ(tensor.mises(), T(0)) << "type " << type << " scale " << scale;
        }
        if (!single || (scale <= 1e10 && scale >= 1e-10)) {
          const Real inv3 = tensor.inv3();
          const Real cube = 13.5L * determinant(s);
          ASSERT_LE(std::fabs(inv3 * inv3 * inv3 - cube), inv3CubeBound<T>(whole, deviator, cube))
              << "type " << type << " scale " << scale;
        } else if (scale >= 1e30) {
          ASSERT_FALSE(std::isfinite(tensor.inv3())) << "type " << type << " scale " << scale;
        } else if (scale <= 1e-30) {
          ASSERT_EQ(tensor.inv3(), T(0)) << "type " << type << " scale " << scale;
        }
        const double pressure = -double(m.a[0][0] + m.a[1][1] + m.a[2][2]) / 3;
        ASSERT_NEAR(double(tensor.pressure()), pressure, 2 * eps<T>() * double(whole));
      }
    }
  }
}

} // namespace
