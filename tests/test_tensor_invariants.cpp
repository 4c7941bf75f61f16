// utf_Tensor<T> queries on hand-worked cases: principal values per layout, the in-plane and
// out-of-plane queries, pressure, Mises, Tresca, the third invariant, the fallbacks of a type
// that is no tensor type, tensors stored shorter than their layout, and that no query allocates.

#include "test_support.h"

#include <cmath>
#include <initializer_list>
#include <limits>

namespace {

template <typename T>
class TensorInvariants : public ::testing::Test {};
TYPED_TEST_SUITE(TensorInvariants, utf_Precisions, utf_PrecisionNames);

template <typename T>
T eps() {
  return std::numeric_limits<T>::epsilon();
}

// |actual - expected| <= ulps * epsilon(T) * scale, scale = max(|expected|, floor).
template <typename T>
void expectClose(T actual, double expected, double ulps, double floor = 1.0) {
  const double scale = std::fmax(std::fabs(expected), floor);
  EXPECT_NEAR(static_cast<double>(actual), expected, ulps * static_cast<double>(eps<T>()) * scale);
}

struct Principal {
  double p1, p2, p3;
};

template <typename T>
Principal principalOf(const utf_Tensor<T>& tensor) {
  T p1 = T(-7), p2 = T(-7), p3 = T(-7);
  tensor.computePrincipal(p1, p2, p3);
  return {p1, p2, p3};
}

// Every query of a tensor, for comparing two tensors query by query, bit for bit.
template <typename T>
void expectSameQueries(const utf_Tensor<T>& actual, const utf_Tensor<T>& expected) {
  EXPECT_EQ(bitsOf(actual.maxPrincipal()), bitsOf(expected.maxPrincipal()));
  EXPECT_EQ(bitsOf(actual.midPrincipal()), bitsOf(expected.midPrincipal()));
  EXPECT_EQ(bitsOf(actual.minPrincipal()), bitsOf(expected.minPrincipal()));
  EXPECT_EQ(bitsOf(actual.maxInplanePrincipal()), bitsOf(expected.maxInplanePrincipal()));
  EXPECT_EQ(bitsOf(actual.minInplanePrincipal()), bitsOf(expected.minInplanePrincipal()));
  EXPECT_EQ(bitsOf(actual.outOfPlanePrincipal()), bitsOf(expected.outOfPlanePrincipal()));
  EXPECT_EQ(bitsOf(actual.pressure()), bitsOf(expected.pressure()));
  EXPECT_EQ(bitsOf(actual.mises()), bitsOf(expected.mises()));
  EXPECT_EQ(bitsOf(actual.tresca()), bitsOf(expected.tresca()));
  EXPECT_EQ(bitsOf(actual.inv3()), bitsOf(expected.inv3()));
  T a1, a2, a3, e1, e2, e3;
  actual.computePrincipal(a1, a2, a3);
  expected.computePrincipal(e1, e2, e3);
  EXPECT_EQ(bitsOf(a1), bitsOf(e1));
  EXPECT_EQ(bitsOf(a2), bitsOf(e2));
  EXPECT_EQ(bitsOf(a3), bitsOf(e3));
}

// ---------------------------------------------------------------------------------------------
// Full layout.

TYPED_TEST(TensorInvariants, FullDiagonalIsShearFreeAndSortedDescending) {
  using T = TypeParam;
  const utf_Tensor<T> tensor = tensorOf<T>(res_Tensor3dFull, {1, 2, 3, 0, 0, 0});
  const Principal p = principalOf(tensor);
  // Mean 2, deviators -1, 0, 1: each value recomputed as deviator plus mean is exact.
  EXPECT_EQ(p.p1, 3.0);
  EXPECT_EQ(p.p2, 2.0);
  EXPECT_EQ(p.p3, 1.0);
  EXPECT_EQ(tensor.maxPrincipal(), T(3));
  EXPECT_EQ(tensor.midPrincipal(), T(2));
  EXPECT_EQ(tensor.minPrincipal(), T(1));
  EXPECT_EQ(tensor.tresca(), T(2));
}

TYPED_TEST(TensorInvariants, FullHydrostaticTensorHasThreeEqualValuesAndNoDeviator) {
  using T = TypeParam;
  const utf_Tensor<T> tensor = tensorOf<T>(res_Tensor3dFull, {1, 1, 1, 0, 0, 0});
  const Principal p = principalOf(tensor);
  EXPECT_EQ(p.p1, 1.0);
  EXPECT_EQ(p.p2, 1.0);
  EXPECT_EQ(p.p3, 1.0);
  EXPECT_EQ(tensor.mises(), T(0));
  EXPECT_EQ(tensor.inv3(), T(0));
  EXPECT_EQ(tensor.pressure(), T(-1));
  EXPECT_EQ(tensor.tresca(), T(0));
}

TYPED_TEST(TensorInvariants, FullPureShearWithTensorShear) {
  using T = TypeParam;
  const utf_Tensor<T> tensor = tensorOf<T>(res_Tensor3dFull, {0, 0, 0, 1, 0, 0}, false);
  // Eigenvalues of [[0, 1, 0], [1, 0, 0], [0, 0, 0]]: 1, 0, -1 (through the cosine branch).
  expectClose(tensor.maxPrincipal(), 1.0, 4);
  expectClose(tensor.midPrincipal(), 0.0, 4);
  expectClose(tensor.minPrincipal(), -1.0, 4);
  expectClose(tensor.tresca(), 2.0, 4);
}

TYPED_TEST(TensorInvariants, FullPureShearWithEngineeringShearIsHalved) {
  using T = TypeParam;
  const utf_Tensor<T> tensor = tensorOf<T>(res_Tensor3dFull, {0, 0, 0, 1, 0, 0}, true);
  expectClose(tensor.maxPrincipal(), 0.5, 4);
  expectClose(tensor.midPrincipal(), 0.0, 4, 0.5);
  expectClose(tensor.minPrincipal(), -0.5, 4);
}

TYPED_TEST(TensorInvariants, UniaxialTensionGivesSigmaForMisesTrescaAndInv3) {
  using T = TypeParam;
  const double sigma = 250;
  const utf_Tensor<T> tensor = tensorOf<T>(res_Tensor3dFull, {T(sigma), 0, 0, 0, 0, 0});
  // 4.5 tr(s^3) = 4.5 (8/27 - 1/27 - 1/27) sigma^3 = sigma^3.
  expectClose(tensor.mises(), sigma, 4);
  expectClose(tensor.tresca(), sigma, 4);
  expectClose(tensor.inv3(), sigma, 8);
  EXPECT_GT(tensor.inv3(), T(0));
}

TYPED_TEST(TensorInvariants, UniaxialCompressionKeepsTheSignOfInv3) {
  using T = TypeParam;
  const double sigma = -40;
  const utf_Tensor<T> tensor = tensorOf<T>(res_Tensor3dFull, {T(sigma), 0, 0, 0, 0, 0});
  expectClose(tensor.inv3(), sigma, 8);
  expectClose(tensor.mises(), -sigma, 4);
  expectClose(tensor.tresca(), -sigma, 4);
}

TYPED_TEST(TensorInvariants, ShearBelowTheThresholdReturnsTheRecomputedDirectComponents) {
  using T = TypeParam;
  // Largest deviator about 0.37; shears of 1e-22 are below 2.2204460492503132e-20 times it.
  const T c1 = T(0.1), c2 = T(0.7), c3 = T(0.3);
  const utf_Tensor<T> tensor =
      tensorOf<T>(res_Tensor3dFull, {c1, c2, c3, T(1e-22), T(-1e-22), T(1e-22)});
  const double p = (double(c1) + double(c2) + double(c3)) / 3.0;
  const T e1 = static_cast<T>((double(c1) - p) + p);
  const T e2 = static_cast<T>((double(c2) - p) + p);
  const T e3 = static_cast<T>((double(c3) - p) + p);
  // Sorted descending: c2 > c3 > c1.
  T p1, p2, p3;
  tensor.computePrincipal(p1, p2, p3);
  EXPECT_EQ(bitsOf(p1), bitsOf(e2));
  EXPECT_EQ(bitsOf(p2), bitsOf(e3));
  EXPECT_EQ(bitsOf(p3), bitsOf(e1));
}

TYPED_TEST(TensorInvariants, RepeatedLargestValueTakesTheExactCosineBranch) {
  using T = TypeParam;
  // All ones: eigenvalues 3, 0, 0. Normalised deviator half-determinant is exactly 1, so the
  // angle factors are (-0.5, -0.5, 1): 1 - 1, 1 - 1, 1 + 2, sorted.
  const utf_Tensor<T> tensor = tensorOf<T>(res_Tensor3dFull, {1, 1, 1, 1, 1, 1});
  const Principal p = principalOf(tensor);
  EXPECT_EQ(p.p1, 3.0);
  EXPECT_EQ(p.p2, 0.0);
  EXPECT_EQ(p.p3, 0.0);
}

TYPED_TEST(TensorInvariants, RepeatedLargestValueOfTheNegatedTensorTakesTheOtherExactBranch) {
  using T = TypeParam;
  // Minus all ones: eigenvalues 0, 0, -3; half-determinant -1, factors (-1, 0.5, 0.5).
  const utf_Tensor<T> tensor = tensorOf<T>(res_Tensor3dFull, {-1, -1, -1, -1, -1, -1});
  const Principal p = principalOf(tensor);
  EXPECT_EQ(p.p1, 0.0);
  EXPECT_EQ(p.p2, 0.0);
  EXPECT_EQ(p.p3, -3.0);
}

TYPED_TEST(TensorInvariants, InplaneAndOutOfPlaneQueriesGiveZeroForAFullTensor) {
  using T = TypeParam;
  const utf_Tensor<T> tensor = tensorOf<T>(res_Tensor3dFull, {1, 2, 3, 0.5, 0.25, 0.125});
  EXPECT_EQ(tensor.maxInplanePrincipal(), T(0));
  EXPECT_EQ(tensor.minInplanePrincipal(), T(0));
  EXPECT_EQ(tensor.outOfPlanePrincipal(), T(0));
}

TYPED_TEST(TensorInvariants, EngineeringShearHalvesEveryShearOfAFullTensor) {
  using T = TypeParam;
  const utf_Tensor<T> engineering = tensorOf<T>(res_Tensor3dFull, {1, 2, 3, 4, 5, 6}, true);
  const utf_Tensor<T> tensorial = tensorOf<T>(res_Tensor3dFull, {1, 2, 3, 2, 2.5, 3}, false);
  expectSameQueries(engineering, tensorial);
}

// ---------------------------------------------------------------------------------------------
// Planar layouts.

TYPED_TEST(TensorInvariants, PlanarOutOfPlaneValueRanksAboveTheInplanePair) {
  using T = TypeParam;
  for (res_DataTypeEnm type : {res_Tensor3dPlanar, res_Tensor2dPlanar}) {
    const utf_Tensor<T> tensor = tensorOf<T>(type, {10, 0, 50, 0});
    EXPECT_EQ(tensor.maxPrincipal(), T(50)) << "type " << type;
    EXPECT_EQ(tensor.midPrincipal(), T(10));
    EXPECT_EQ(tensor.minPrincipal(), T(0));
    EXPECT_EQ(tensor.maxInplanePrincipal(), T(10));
    EXPECT_EQ(tensor.minInplanePrincipal(), T(0));
    EXPECT_EQ(tensor.outOfPlanePrincipal(), T(50));
    EXPECT_EQ(tensor.tresca(), T(50));
  }
}

TYPED_TEST(TensorInvariants, PlanarOutOfPlaneValueBetweenTheInplanePair) {
  using T = TypeParam;
  for (res_DataTypeEnm type : {res_Tensor3dPlanar, res_Tensor2dPlanar}) {
    const utf_Tensor<T> tensor = tensorOf<T>(type, {4, 10, 6, 0});
    EXPECT_EQ(tensor.maxPrincipal(), T(10)) << "type " << type;
    EXPECT_EQ(tensor.midPrincipal(), T(6));
    EXPECT_EQ(tensor.minPrincipal(), T(4));
    EXPECT_EQ(tensor.maxInplanePrincipal(), T(10));
    EXPECT_EQ(tensor.minInplanePrincipal(), T(4));
    EXPECT_EQ(tensor.outOfPlanePrincipal(), T(6));
    EXPECT_EQ(tensor.tresca(), T(6));
  }
}

TYPED_TEST(TensorInvariants, PlanarOutOfPlaneValueBelowTheInplanePair) {
  using T = TypeParam;
  for (res_DataTypeEnm type : {res_Tensor3dPlanar, res_Tensor2dPlanar}) {
    const utf_Tensor<T> tensor = tensorOf<T>(type, {10, 4, -1, 0});
    EXPECT_EQ(tensor.maxPrincipal(), T(10)) << "type " << type;
    EXPECT_EQ(tensor.midPrincipal(), T(4));
    EXPECT_EQ(tensor.minPrincipal(), T(-1));
    EXPECT_EQ(tensor.outOfPlanePrincipal(), T(-1));
    EXPECT_EQ(tensor.tresca(), T(11));
  }
}

TYPED_TEST(TensorInvariants, PlanarInplanePairWithShearMatchesTheCircleOfMohr) {
  using T = TypeParam;
  for (bool engineering : {false, true}) {
    const T s11 = T(3), s22 = T(-1), stored = T(1.5), s33 = T(7);
    const long double tau = engineering ? 0.5L * stored : stored;
    const long double centre = (s11 + s22) / 2.0L;
    const long double radius = std::sqrt((s11 - centre) * (s11 - centre) + tau * tau);
    const utf_Tensor<T> tensor =
        tensorOf<T>(res_Tensor3dPlanar, {s11, s22, s33, stored}, engineering);
    expectClose(tensor.maxInplanePrincipal(), double(centre + radius), 4, 3.0);
    expectClose(tensor.minInplanePrincipal(), double(centre - radius), 4, 3.0);
    EXPECT_EQ(tensor.outOfPlanePrincipal(), s33);
    EXPECT_EQ(tensor.maxPrincipal(), s33);
  }
}

TYPED_TEST(TensorInvariants, PlanarPureShearGivesPlusAndMinusTheShear) {
  using T = TypeParam;
  const utf_Tensor<T> tensor = tensorOf<T>(res_Tensor2dPlanar, {0, 0, 0, 2});
  expectClose(tensor.maxInplanePrincipal(), 2.0, 4);
  expectClose(tensor.minInplanePrincipal(), -2.0, 4);
  EXPECT_EQ(tensor.outOfPlanePrincipal(), T(0));
  expectClose(tensor.midPrincipal(), 0.0, 4);
}

TYPED_TEST(TensorInvariants, PlanarEqualUnshearedPairDegeneratesToTheIdentity) {
  using T = TypeParam;
  const utf_Tensor<T> tensor = tensorOf<T>(res_Tensor3dPlanar, {T(0.3), T(0.3), T(9), 0});
  EXPECT_EQ(tensor.maxInplanePrincipal(), T(0.3));
  EXPECT_EQ(tensor.minInplanePrincipal(), T(0.3));
}

// ---------------------------------------------------------------------------------------------
// Surface layouts.

TYPED_TEST(TensorInvariants, SurfaceMidPrincipalIsZeroAndTrescaIncludesTheZero) {
  using T = TypeParam;
  for (res_DataTypeEnm type : {res_Tensor3dSurface, res_Tensor2dSurface}) {
    const utf_Tensor<T> tensor = tensorOf<T>(type, {-5, -10, 0});
    EXPECT_EQ(tensor.maxPrincipal(), T(-5)) << "type " << type;
    EXPECT_EQ(tensor.midPrincipal(), T(0));
    EXPECT_EQ(tensor.minPrincipal(), T(-10));
    EXPECT_EQ(tensor.maxInplanePrincipal(), T(-5));
    EXPECT_EQ(tensor.minInplanePrincipal(), T(-10));
    EXPECT_EQ(tensor.outOfPlanePrincipal(), T(0));
    EXPECT_EQ(tensor.tresca(), T(10)) << "max(-5, 0) - min(-10, 0)";
  }
}

TYPED_TEST(TensorInvariants, SurfaceMaxAndMinAreNotRankedAgainstTheZeroOutOfPlaneValue) {
  using T = TypeParam;
  const utf_Tensor<T> tensor = tensorOf<T>(res_Tensor3dSurface, {5, 3, 0});
  EXPECT_EQ(tensor.maxPrincipal(), T(5));
  EXPECT_EQ(tensor.minPrincipal(), T(3)) << "not 0";
  EXPECT_EQ(tensor.midPrincipal(), T(0));
  EXPECT_EQ(tensor.tresca(), T(5)) << "max(5, 0) - min(3, 0), not 5 - 3";
}

TYPED_TEST(TensorInvariants, SurfaceEqualUnshearedPairDegeneratesToTheIdentity) {
  using T = TypeParam;
  for (res_DataTypeEnm type : {res_Tensor3dSurface, res_Tensor2dSurface}) {
    const utf_Tensor<T> tensor = tensorOf<T>(type, {3, 3, 0});
    EXPECT_EQ(tensor.maxPrincipal(), T(3)) << "type " << type;
    EXPECT_EQ(tensor.minPrincipal(), T(3));
    EXPECT_EQ(tensor.maxInplanePrincipal(), T(3));
    EXPECT_EQ(tensor.minInplanePrincipal(), T(3));
  }
}

TYPED_TEST(TensorInvariants, SurfaceInplanePairWithEngineeringShearMatchesTheCircleOfMohr) {
  using T = TypeParam;
  const T s11 = T(-2), s22 = T(6), stored = T(6);
  const long double tau = 0.5L * stored;
  const long double centre = (s11 + s22) / 2.0L;
  const long double radius = std::sqrt((s11 - centre) * (s11 - centre) + tau * tau);
  const utf_Tensor<T> tensor = tensorOf<T>(res_Tensor2dSurface, {s11, s22, stored}, true);
  expectClose(tensor.maxPrincipal(), double(centre + radius), 4, 6.0);
  expectClose(tensor.minPrincipal(), double(centre - radius), 4, 6.0);
  EXPECT_EQ(tensor.midPrincipal(), T(0));
}

// ---------------------------------------------------------------------------------------------
// Pressure, Mises, third invariant over the layouts.

TYPED_TEST(TensorInvariants, PressureIsMinusTheMeanDirectStressWithDivisorThree) {
  using T = TypeParam;
  EXPECT_EQ(tensorOf<T>(res_Tensor3dFull, {3, 6, 9, 100, 100, 100}).pressure(), T(-6));
  EXPECT_EQ(tensorOf<T>(res_Tensor3dPlanar, {3, 6, 9, 100}).pressure(), T(-6));
  EXPECT_EQ(tensorOf<T>(res_Tensor2dPlanar, {3, 6, 9, 100}).pressure(), T(-6));
  EXPECT_EQ(tensorOf<T>(res_Tensor3dSurface, {3, 6, 100}).pressure(), T(-3)) << "S12 is no S33";
  EXPECT_EQ(tensorOf<T>(res_Tensor2dSurface, {3, 6, 100}).pressure(), T(-3));
  EXPECT_EQ(tensorOf<T>(kNoTensorType, {3, 6, 9}).pressure(), T(-6));
}

TYPED_TEST(TensorInvariants, PressureIsFormedInDoubleAndNarrowed) {
  using T = TypeParam;
  const T c1 = T(0.1), c2 = T(0.2), c3 = T(0.4);
  const T expected = static_cast<T>(-(double(c1) + double(c2) + double(c3)) / 3.0);
  EXPECT_EQ(bitsOf(tensorOf<T>(res_Tensor3dFull, {c1, c2, c3, 0, 0, 0}).pressure()),
            bitsOf(expected));
  const T surface = static_cast<T>(-(double(c1) + double(c2)) / 3.0);
  EXPECT_EQ(bitsOf(tensorOf<T>(res_Tensor3dSurface, {c1, c2, c3}).pressure()), bitsOf(surface));
}

TYPED_TEST(TensorInvariants, MisesOfPureShearIsRootThreeTimesTheShear) {
  using T = TypeParam;
  const double root3 = std::sqrt(3.0);
  expectClose(tensorOf<T>(res_Tensor3dFull, {0, 0, 0, 0, 2, 0}).mises(), 2 * root3, 4);
  expectClose(tensorOf<T>(res_Tensor3dFull, {0, 0, 0, 0, 0, 4}, true).mises(), 2 * root3, 4);
  expectClose(tensorOf<T>(res_Tensor3dPlanar, {0, 0, 0, 2}).mises(), 2 * root3, 4);
  expectClose(tensorOf<T>(res_Tensor2dSurface, {0, 0, 4}, true).mises(), 2 * root3, 4);
}

TYPED_TEST(TensorInvariants, MisesOfUniaxialStressIsTheStressInEveryLayout) {
  using T = TypeParam;
  expectClose(tensorOf<T>(res_Tensor3dPlanar, {0, 0, 12, 0}).mises(), 12, 4);
  expectClose(tensorOf<T>(res_Tensor2dPlanar, {0, -12, 0, 0}).mises(), 12, 4);
  // A surface layout counts its out-of-plane deviator -p.
  expectClose(tensorOf<T>(res_Tensor3dSurface, {12, 0, 0}).mises(), 12, 4);
  expectClose(tensorOf<T>(res_Tensor2dSurface, {0, 12, 0}).mises(), 12, 4);
}

TYPED_TEST(TensorInvariants, Inv3OfEqualBiaxialTensionIsMinusTheStress) {
  using T = TypeParam;
  // Deviator (1, 1, -2) sigma / 3: 13.5 det = 13.5 (-2 / 27) sigma^3 = -sigma^3.
  expectClose(tensorOf<T>(res_Tensor3dFull, {5, 5, 0, 0, 0, 0}).inv3(), -5, 8);
  expectClose(tensorOf<T>(res_Tensor3dSurface, {5, 5, 0}).inv3(), -5, 8);
  expectClose(tensorOf<T>(res_Tensor2dPlanar, {5, 0, 5, 0}).inv3(), -5, 8);
}

TYPED_TEST(TensorInvariants, Inv3OfPureShearIsZero) {
  using T = TypeParam;
  EXPECT_EQ(tensorOf<T>(res_Tensor3dFull, {0, 0, 0, 3, 0, 0}).inv3(), T(0));
  EXPECT_EQ(tensorOf<T>(res_Tensor3dPlanar, {0, 0, 0, 3}).inv3(), T(0));
  EXPECT_EQ(tensorOf<T>(res_Tensor2dSurface, {0, 0, 3}).inv3(), T(0));
}

TYPED_TEST(TensorInvariants, ZeroTensorGivesZeroForEveryQuery) {
  using T = TypeParam;
  for (res_DataTypeEnm type : {res_Tensor3dFull, res_Tensor3dPlanar, res_Tensor3dSurface,
                               res_Tensor2dPlanar, res_Tensor2dSurface}) {
    for (bool engineering : {false, true}) {
      const utf_Tensor<T> zero = tensorOf<T>(type, {0, 0, 0, 0, 0, 0}, engineering);
      EXPECT_EQ(zero.maxPrincipal(), T(0)) << "type " << type;
      EXPECT_EQ(zero.midPrincipal(), T(0));
      EXPECT_EQ(zero.minPrincipal(), T(0));
      EXPECT_EQ(zero.maxInplanePrincipal(), T(0));
      EXPECT_EQ(zero.minInplanePrincipal(), T(0));
      EXPECT_EQ(zero.outOfPlanePrincipal(), T(0));
      EXPECT_EQ(zero.pressure(), T(0));
      EXPECT_EQ(zero.mises(), T(0));
      EXPECT_EQ(zero.tresca(), T(0));
      EXPECT_EQ(zero.inv3(), T(0));
    }
  }
}

// ---------------------------------------------------------------------------------------------
// Types that are no tensor type, and tensors stored shorter than their layout.

TYPED_TEST(TensorInvariants, Type5GivesTheSinglePrecisionLimitsAsFallbacks) {
  using T = TypeParam;
  // The largest float, 3.4028235e38, widened unchanged in the double instantiation.
  const T largestFloat = static_cast<T>(3.4028234663852886e38);
  const T values[6] = {1, 2, 3, 4, 5, 6};
  const utf_Tensor<T> empty(kNoTensorType, values, false);
  const utf_Tensor<T> withComponents = tensorOf<T>(kNoTensorType, {1, 2, 3, 4, 5, 6});
  for (const utf_Tensor<T>* tensor : {&empty, &withComponents}) {
    EXPECT_EQ(bitsOf(tensor->maxPrincipal()), bitsOf(static_cast<T>(-largestFloat)));
    EXPECT_EQ(bitsOf(tensor->midPrincipal()), bitsOf(largestFloat));
    EXPECT_EQ(bitsOf(tensor->minPrincipal()), bitsOf(largestFloat));
    EXPECT_EQ(tensor->tresca(), T(0));
    EXPECT_EQ(tensor->maxInplanePrincipal(), T(0));
    EXPECT_EQ(tensor->minInplanePrincipal(), T(0));
    EXPECT_EQ(tensor->outOfPlanePrincipal(), T(0));
  }
  EXPECT_NE(double(empty.midPrincipal()), std::numeric_limits<double>::max());
}

TYPED_TEST(TensorInvariants, InplaneQueriesTestTheTypeAsARange) {
  using T = TypeParam;
  for (int type : {-1, 0, 8, 9, 14, 15}) {
    const utf_Tensor<T> tensor =
        tensorOf<T>(static_cast<res_DataTypeEnm>(type), {1, 2, 3, 4, 5, 6});
    EXPECT_EQ(tensor.maxInplanePrincipal(), T(0)) << "type " << type;
    EXPECT_EQ(tensor.minInplanePrincipal(), T(0));
    EXPECT_EQ(tensor.outOfPlanePrincipal(), T(0));
  }
  for (int type = 10; type < 14; ++type) {
    // Planar (7, 2, S33 0, S12 0) or surface (7, 2, S12 0).
    const utf_Tensor<T> tensor = tensorOf<T>(static_cast<res_DataTypeEnm>(type), {7, 2, 0, 0});
    EXPECT_EQ(tensor.maxInplanePrincipal(), T(7)) << "type " << type;
    EXPECT_EQ(tensor.minInplanePrincipal(), T(2));
  }
}

TYPED_TEST(TensorInvariants, TypeThatIsNoTensorTypeIsComputedAsAFullTensor) {
  using T = TypeParam;
  const utf_Tensor<T> other = tensorOf<T>(kNoTensorType, {1, -2, 0.5, 0.25, 3, -1});
  const utf_Tensor<T> full = tensorOf<T>(res_Tensor3dFull, {1, -2, 0.5, 0.25, 3, -1});
  EXPECT_EQ(bitsOf(other.pressure()), bitsOf(full.pressure()));
  EXPECT_EQ(bitsOf(other.mises()), bitsOf(full.mises()));
  EXPECT_EQ(bitsOf(other.inv3()), bitsOf(full.inv3()));
  const Principal a = principalOf(other), b = principalOf(full);
  EXPECT_EQ(a.p1, b.p1);
  EXPECT_EQ(a.p2, b.p2);
  EXPECT_EQ(a.p3, b.p3);
}

TYPED_TEST(TensorInvariants, ShortTypeThatIsNoTensorTypeReadsMissingComponentsAsZero) {
  using T = TypeParam;
  // Two stored components where the full formulas read six: the sanitizer build proves that
  // nothing beyond them is read.
  const utf_Tensor<T> shortOther = tensorOf<T>(kNoTensorType, {4, -2});
  const utf_Tensor<T> padded = tensorOf<T>(kNoTensorType, {4, -2, 0, 0, 0, 0});
  expectSameQueries(shortOther, padded);
  EXPECT_EQ(shortOther.pressure(), T(-2 / 3.0));
  const T values[6] = {9, 9, 9, 9, 9, 9};
  T viewed[6] = {9, 9, 9, 9, 9, 9};
  const utf_Tensor<T> none(kNoTensorType, values, false);
  const utf_Tensor<T> viewOfNone(kNoTensorType, viewed, false);
  const utf_Tensor<T> zero = tensorOf<T>(kNoTensorType, {0, 0, 0, 0, 0, 0});
  expectSameQueries(none, zero);
  expectSameQueries(viewOfNone, zero);
}

TYPED_TEST(TensorInvariants, ShortTensorOfATensorTypeReadsMissingComponentsAsZero) {
  using T = TypeParam;
  expectSameQueries(tensorOf<T>(res_Tensor3dFull, {4, -2, 1, 3}),
                    tensorOf<T>(res_Tensor3dFull, {4, -2, 1, 3, 0, 0}));
  expectSameQueries(tensorOf<T>(res_Tensor3dPlanar, {4, -2}),
                    tensorOf<T>(res_Tensor3dPlanar, {4, -2, 0, 0}));
  expectSameQueries(tensorOf<T>(res_Tensor2dPlanar, {4, -2, 1}),
                    tensorOf<T>(res_Tensor2dPlanar, {4, -2, 1, 0}));
  expectSameQueries(tensorOf<T>(res_Tensor3dSurface, {4, -2}),
                    tensorOf<T>(res_Tensor3dSurface, {4, -2, 0}));
  expectSameQueries(tensorOf<T>(res_Tensor2dSurface, {4}),
                    tensorOf<T>(res_Tensor2dSurface, {4, 0, 0}));
  expectSameQueries(tensorOf<T>(res_Tensor3dFull, {}),
                    tensorOf<T>(res_Tensor3dFull, {0, 0, 0, 0, 0, 0}));
}

TYPED_TEST(TensorInvariants, NoQueryAllocates) {
  using T = TypeParam;
  const utf_Tensor<T> tensors[] = {tensorOf<T>(res_Tensor3dFull, {1, 2, 3, 4, 5, 6}, true),
                                   tensorOf<T>(res_Tensor3dPlanar, {1, 2, 3, 4}),
                                   tensorOf<T>(res_Tensor3dSurface, {1, 2, 3}),
                                   tensorOf<T>(res_Tensor2dPlanar, {1, 2, 3, 4}, true),
                                   tensorOf<T>(res_Tensor2dSurface, {1, 2, 3}),
                                   tensorOf<T>(kNoTensorType, {1, 2}),
                                   tensorOf<T>(res_Tensor3dFull, {1, 2, 3})};
  double sum = 0;
  const AllocationCounter counter;
  for (const utf_Tensor<T>& tensor : tensors) {
    T p1, p2, p3;
    tensor.computePrincipal(p1, p2, p3);
    sum += double(p1) + double(p2) + double(p3);
    sum += double(tensor.maxPrincipal()) + double(tensor.midPrincipal()) +
           double(tensor.minPrincipal());
    sum += double(tensor.maxInplanePrincipal()) + double(tensor.minInplanePrincipal()) +
           double(tensor.outOfPlanePrincipal());
    sum += double(tensor.pressure()) + double(tensor.mises()) + double(tensor.tresca()) +
           double(tensor.inv3());
    sum += double(tensor.hasOutOfPlaneDirect()) + double(tensor.is3D()) +
           double(tensor.QuaternionType());
  }
  EXPECT_EQ(counter.Count(), 0);
  EXPECT_TRUE(std::isfinite(sum));
}

} // namespace
