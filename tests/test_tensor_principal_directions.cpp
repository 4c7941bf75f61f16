// utf_Tensor<T>::principalDirections and principalDirectionsRelative: the codes that the
// principal-direction driver receives, the zeroing rules of the surface and 2D layouts (the 3D
// surface layout keeping its quaternion values 3 and 4), the float narrowing, the widened copy
// that leaves the tensor alone, the frame's rows as eigenvectors on pseudo-random tensors, and
// the frame relative to a reference.

#include "test_support.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <type_traits>
#include <vector>

namespace {

const int kSamples = 2000;

template <typename T>
class PrincipalDirections : public ::testing::Test {};
TYPED_TEST_SUITE(PrincipalDirections, utf_Precisions, utf_PrecisionNames);

// Residual of S v = lambda v relative to the tensor's magnitude: the float results are narrowed
// to float (values and quaternion), the double ones carry the driver's few units in the last
// place.
template <typename T>
double tolerance() {
  return std::is_same<T, float>::value ? 1e-6 : 1e-13;
}

// ---------------------------------------------------------------------------------------------
// Independent long-double reading of the results.

// The rows of the direction-cosine table of the returned rotation: a 3D quaternion (x, y, z, w),
// or a 2D rotation (s, c, 0, 0).
template <typename T>
RealMatrix frameOf(res_DataTypeEnm type, const T* quaternion) {
  return is2d(type) ? referenceTable2d(quaternion) : referenceTable3d(quaternion);
}

// Checks S v_i = principal[i] v_i for the three rows v_i of the returned frame.
template <typename T>
void expectEigenvectors(const utf_Tensor<T>& tensor, const T* principal, const T* quaternion) {
  const RealMatrix s = matrixOf(tensor);
  const RealMatrix v = frameOf(tensor.type(), quaternion);
  const Real scale = largestMagnitude(s);
  for (int i = 0; i < 3; ++i) {
    Real length = 0;
    for (int k = 0; k < 3; ++k) {
      length += v.a[i][k] * v.a[i][k];
    }
    EXPECT_NEAR(static_cast<double>(length), 1.0, 8 * tolerance<T>()) << "row " << i;
    for (int r = 0; r < 3; ++r) {
      Real sv = 0;
      for (int k = 0; k < 3; ++k) {
        sv += s.a[r][k] * v.a[i][k];
      }
      const Real residual = sv - static_cast<Real>(principal[i]) * v.a[i][r];
      EXPECT_NEAR(static_cast<double>(residual), 0.0, tolerance<T>() * static_cast<double>(scale))
          << "type " << tensor.type() << " row " << i << " entry " << r;
    }
  }
}

// The table whose COLUMNS are the rows of a rotation's cosines(): the reference frame equal to
// that rotation's frame.
template <typename T>
cow_2DArray<T> transposedCosines(res_DataTypeEnm rotationType, const T* values) {
  const utf_Quaternion<T> rotation(rotationType, values);
  const cow_2DArray<T> rows = rotation.cosines();
  cow_2DArray<T> columns(3, 3, T(0));
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      columns.Get(i, j) = rows.ConstGet(j, i);
    }
  }
  return columns;
}

// ---------------------------------------------------------------------------------------------
// Hand-worked cases.

TYPED_TEST(PrincipalDirections, AType11TensorHasAZeroThirdValueAndKeepsQuaternionValues3And4) {
  using T = TypeParam;
  // S11 = S22 = 1, S12 = 1: principal values 2 and 0, the value 2 along (1, 1)/sqrt(2). The
  // frame turns about axis 3, so x and y are 0, and the layout being 3D, z and w are kept.
  const T components[3] = {T(1), T(1), T(1)};
  const utf_Tensor<T> tensor(res_Tensor3dSurface, components, false);
  T principal[3];
  T quaternion[4];
  tensor.principalDirections(principal, quaternion);
  EXPECT_NEAR(principal[0], 2.0, 1e-6);
  EXPECT_NEAR(principal[1], 0.0, 1e-6);
  EXPECT_EQ(principal[2], T(0));
  EXPECT_EQ(quaternion[0], T(0));
  EXPECT_EQ(quaternion[1], T(0));
  EXPECT_NE(quaternion[2], T(0)) << "kept: a turn about axis 3 by 45 or 225 degrees";
  EXPECT_NE(quaternion[3], T(0)) << "kept: a turn about axis 3 by 45 or 225 degrees";
  const double z = quaternion[2], w = quaternion[3];
  EXPECT_NEAR(z * z + w * w, 1.0, 1e-6);
  // Row 1 of the frame is (cos t, sin t, 0) = +-(1, 1, 0) / sqrt(2).
  EXPECT_NEAR(std::fabs(w * w - z * z), std::sqrt(0.5), 1e-6);
  EXPECT_NEAR(2 * z * w, w * w - z * z, 1e-6);
  expectEigenvectors(tensor, principal, quaternion);

  // The same components as a 2D surface tensor: its 2D rotation is exactly the (z, w) kept here.
  const utf_Tensor<T> flat(res_Tensor2dSurface, components, false);
  T flatPrincipal[3];
  T flatQuaternion[4];
  flat.principalDirections(flatPrincipal, flatQuaternion);
  expectSameBits(flatPrincipal, principal, 3);
  EXPECT_EQ(bitsOf(flatQuaternion[0]), bitsOf(quaternion[2]));
  EXPECT_EQ(bitsOf(flatQuaternion[1]), bitsOf(quaternion[3]));
  EXPECT_EQ(flatQuaternion[2], T(0));
  EXPECT_EQ(flatQuaternion[3], T(0));
}

TYPED_TEST(PrincipalDirections, AShearFreeTensorGivesItsDirectValuesAndTheIdentity) {
  using T = TypeParam;
  struct Case {
    res_DataTypeEnm type;
    std::array<T, 6> components;
    std::array<T, 3> principal;
    std::array<T, 4> quaternion;
  };
  // Direct values in descending order (the planar S33 is not ranked with the in-plane pair).
  const Case cases[] = {
      {res_Tensor3dFull,
       {T(3), T(2), T(1), T(0), T(0), T(0)},
       {T(3), T(2), T(1)},
       {T(0), T(0), T(0), T(1)}},
      {res_Tensor3dPlanar, {T(5), T(2), T(7), T(0)}, {T(5), T(2), T(7)}, {T(0), T(0), T(0), T(1)}},
      {res_Tensor3dSurface, {T(4), T(1), T(0)}, {T(4), T(1), T(0)}, {T(0), T(0), T(0), T(1)}},
      {res_Tensor2dPlanar, {T(5), T(2), T(7), T(0)}, {T(5), T(2), T(7)}, {T(0), T(1), T(0), T(0)}},
      {res_Tensor2dSurface, {T(4), T(1), T(0)}, {T(4), T(1), T(0)}, {T(0), T(1), T(0), T(0)}},
  };
  for (const Case& c : cases) {
    for (bool engineering : {false, true}) {
      const utf_Tensor<T> tensor(c.type, c.components.data(), engineering);
      T principal[3];
      T quaternion[4];
      tensor.principalDirections(principal, quaternion);
      expectSameBits(principal, c.principal.data(), 3);
      expectSameBits(quaternion, c.quaternion.data(), 4);
    }
  }
}

TYPED_TEST(PrincipalDirections, AShearFreeTensorOutOfOrderIsSortedAndItsFramePermuted) {
  using T = TypeParam;
  // (1, 3, 2): the values come back as 3, 2, 1, so the frame's rows are the axes 2, 3, 1.
  const T components[6] = {T(1), T(3), T(2), T(0), T(0), T(0)};
  const utf_Tensor<T> tensor(res_Tensor3dFull, components, false);
  T principal[3];
  T quaternion[4];
  tensor.principalDirections(principal, quaternion);
  const T sorted[3] = {T(3), T(2), T(1)};
  expectSameBits(principal, sorted, 3);
  const RealMatrix rows = frameOf(res_Tensor3dFull, quaternion);
  const int axis[3] = {1, 2, 0};
  for (int i = 0; i < 3; ++i) {
    EXPECT_NEAR(static_cast<double>(std::fabs(rows.a[i][axis[i]])), 1.0, 1e-6) << "row " << i;
  }
  EXPECT_NE(quaternion[3], T(1)) << "not the identity";
  expectEigenvectors(tensor, principal, quaternion);
}

TYPED_TEST(PrincipalDirections, TheEngineeringFlagHalvesTheShearsAndLeavesTheTensorAlone) {
  using T = TypeParam;
  for (int n = 0; n < 200; ++n) {
    const std::array<T, 6> tensorial = randomComponents<T>(50.0);
    for (res_DataTypeEnm type : kTensorLayouts) {
      std::array<T, 6> engineering = tensorial;
      const int firstShear = type == res_Tensor3dFull ? 3 : (isSurface(type) ? 2 : 3);
      for (int i = firstShear; i < countOf(type); ++i) {
        engineering[i] = T(2) * tensorial[i];
      }
      const utf_Tensor<T> flagged(type, engineering.data(), true);
      const utf_Tensor<T> clear(type, tensorial.data(), false);
      const utf_Tensor<T> unhalved(type, engineering.data(), false);
      T p1[3], q1[4], p2[3], q2[4], p3[3], q3[4];
      flagged.principalDirections(p1, q1);
      clear.principalDirections(p2, q2);
      unhalved.principalDirections(p3, q3);
      // Mode 21 halves in double: exactly the tensorial computation.
      expectSameBits(p1, p2, 3);
      expectSameBits(q1, q2, 4);
      EXPECT_NE(p1[0], p3[0]) << "the flag matters";
      // The driver worked on a widened copy: the stored engineering shears are still there.
      expectSameBits(flagged.data(), engineering.data(), countOf(type));
      EXPECT_TRUE(flagged.engineeringShear());
    }
  }
}

TYPED_TEST(PrincipalDirections, RelativeToTheComputedFrameIsTheIdentityUpToSign) {
  using T = TypeParam;
  const double tol = std::is_same<T, float>::value ? 2e-6 : 1e-14;
  for (int n = 0; n < 200; ++n) {
    const std::array<T, 6> c = randomComponents<T>(100.0);
    for (res_DataTypeEnm type : kTensorLayouts) {
      const utf_Tensor<T> tensor(type, c.data(), n % 2 == 0);
      T principal[3];
      T quaternion[4];
      tensor.principalDirections(principal, quaternion);
      // The reference's columns are the frame's axes: the transpose of the frame's cosines().
      const cow_2DArray<T> reference =
          transposedCosines(tensor.QuaternionType(), static_cast<const T*>(quaternion));
      T relativePrincipal[3];
      T relative[4];
      tensor.principalDirectionsRelative(relativePrincipal, relative, reference);
      expectSameBits(relativePrincipal, principal, 3);
      const int scalar = is2d(type) ? 1 : 3;
      const double sign = relative[scalar] < T(0) ? -1.0 : 1.0;
      for (int i = 0; i < 4; ++i) {
        const double expected = i == scalar ? sign : 0.0;
        EXPECT_NEAR(static_cast<double>(relative[i]), expected, tol)
            << "type " << type << " value " << i;
      }
      if (is2d(type)) {
        EXPECT_EQ(relative[2], T(0));
        EXPECT_EQ(relative[3], T(0));
      }
    }
  }
}

TYPED_TEST(PrincipalDirections, RelativeToAnotherFrameIsTheInverseOfThatFrameTimesThePrincipalOne) {
  using T = TypeParam;
  const double tol = std::is_same<T, float>::value ? 4e-6 : 1e-14;
  for (int n = 0; n < 500; ++n) {
    const std::array<T, 6> c = randomComponents<T>(100.0);
    const utf_Tensor<T> tensor(res_Tensor3dFull, c.data(), false);
    T principal[3];
    T quaternion[4];
    tensor.principalDirections(principal, quaternion);
    T frame[4];
    randomUnitQuaternion(frame);
    T relativePrincipal[3];
    T relative[4];
    tensor.principalDirectionsRelative(
        relativePrincipal, relative,
        transposedCosines(res_Rotation3d, static_cast<const T*>(frame)));
    // conj(R) (x) P in long double; the table constructor may give -R, so up to sign.
    const Real conj[4] = {-static_cast<Real>(frame[0]), -static_cast<Real>(frame[1]),
                          -static_cast<Real>(frame[2]), static_cast<Real>(frame[3])};
    const Real p[4] = {quaternion[0], quaternion[1], quaternion[2], quaternion[3]};
    Real expected[4];
    referenceProduct(conj, p, expected);
    double plus = 0.0, minus = 0.0;
    for (int i = 0; i < 4; ++i) {
      plus = std::max(plus, static_cast<double>(std::fabs(relative[i] - expected[i])));
      minus = std::max(minus, static_cast<double>(std::fabs(relative[i] + expected[i])));
    }
    EXPECT_LT(std::min(plus, minus), tol);
  }
}

TYPED_TEST(PrincipalDirections, ARelativeReferenceOfTheWrongShapeFailsAndLeavesTheOutputsAlone) {
  using T = TypeParam;
  const T components[6] = {T(1), T(2), T(3), T(4), T(5), T(6)};
  const utf_Tensor<T> tensor(res_Tensor3dFull, components, false);
  T principal[3] = {T(-7), T(-7), T(-7)};
  T quaternion[4] = {T(-7), T(-7), T(-7), T(-7)};
  expectAssertion(
      [&] {
        tensor.principalDirectionsRelative(principal, quaternion, cow_2DArray<T>(2, 2, T(0)));
      },
      "c.Rows() == 3 && c.Cols() == 3", utf_QuaternionAssertLine::source,
      utf_QuaternionAssertLine::table3dShape);
  for (T value : principal) {
    EXPECT_EQ(value, T(-7));
  }
  for (T value : quaternion) {
    EXPECT_EQ(value, T(-7));
  }
  const T expected[6] = {T(1), T(2), T(3), T(4), T(5), T(6)};
  expectSameBits(tensor.data(), expected, 6);
}

TYPED_TEST(PrincipalDirections, ATypeThatIsNoTensorTypeIsAZeroTensorWithTheIdentityFrame) {
  using T = TypeParam;
  const cow_1DArrayList<T> list{T(5), T(6), T(7), T(8), T(9), T(10)};
  const utf_Tensor<T> tensor(static_cast<res_DataTypeEnm>(5), list, false);
  T principal[3];
  T quaternion[4];
  tensor.principalDirections(principal, quaternion);
  const T zeros[3] = {T(0), T(0), T(0)};
  const T identity[4] = {T(0), T(0), T(0), T(1)};
  expectSameBits(principal, zeros, 3);
  expectSameBits(quaternion, identity, 4);
}

// ---------------------------------------------------------------------------------------------
// Properties on pseudo-random tensors.

// The codes of each layout as the driver must receive them, and the zeroing rules applied here.
template <typename T>
void expectedByTheDriver(const utf_Tensor<T>& tensor, T* principal, T* quaternion) {
  struct Codes {
    int layout, direct, shear;
    bool outOfPlane, threeD;
  };
  Codes codes{7, 3, 3, true, true};
  switch (tensor.type()) {
  case res_Tensor3dPlanar:
    codes = {8, 3, 1, true, true};
    break;
  case res_Tensor3dSurface:
    codes = {9, 2, 1, false, true};
    break;
  case res_Tensor2dPlanar:
    codes = {10, 3, 1, true, false};
    break;
  case res_Tensor2dSurface:
    codes = {11, 2, 1, false, false};
    break;
  default:
    break;
  }
  double s[6] = {0, 0, 0, 0, 0, 0};
  for (int i = 0; i < countOf(tensor.type()); ++i) {
    s[i] = tensor.data()[i];
  }
  double pq[7];
  const int mode = tensor.engineeringShear() ? 21 : 1;
  int direct = codes.direct;
  CALPRINQ(s, pq, &mode, &codes.layout, &direct, &codes.shear);
  principal[0] = static_cast<T>(pq[0]);
  principal[1] = static_cast<T>(pq[1]);
  principal[2] = codes.outOfPlane ? static_cast<T>(pq[2]) : T(0);
  quaternion[0] = static_cast<T>(pq[3]);
  quaternion[1] = static_cast<T>(pq[4]);
  quaternion[2] = codes.threeD ? static_cast<T>(pq[5]) : T(0);
  quaternion[3] = codes.threeD ? static_cast<T>(pq[6]) : T(0);
}

TYPED_TEST(PrincipalDirections, TheDriverGetsTheLayoutsCodesAndTheResultsAreNarrowedOnce) {
  using T = TypeParam;
  for (int n = 0; n < kSamples; ++n) {
    const std::array<T, 6> c = randomComponents<T>(100.0);
    for (res_DataTypeEnm type : kTensorLayouts) {
      const utf_Tensor<T> tensor(type, c.data(), n % 2 == 0);
      T principal[3], quaternion[4], expectedPrincipal[3], expectedQuaternion[4];
      tensor.principalDirections(principal, quaternion);
      expectedByTheDriver(tensor, expectedPrincipal, expectedQuaternion);
      expectSameBits(principal, expectedPrincipal, 3);
      expectSameBits(quaternion, expectedQuaternion, 4);
    }
  }
}

TYPED_TEST(PrincipalDirections, TheRowsOfTheFrameAreEigenvectorsOfTheTensor) {
  using T = TypeParam;
  for (int n = 0; n < kSamples; ++n) {
    const std::array<T, 6> c = randomComponents<T>(100.0);
    for (res_DataTypeEnm type : kTensorLayouts) {
      const utf_Tensor<T> tensor(type, c.data(), n % 2 == 1);
      T principal[3];
      T quaternion[4];
      tensor.principalDirections(principal, quaternion);
      expectEigenvectors(tensor, principal, quaternion);
      // The tensor's own components never change.
      expectSameBits(tensor.data(), c.data(), countOf(type));
    }
  }
}

TYPED_TEST(PrincipalDirections, ThePrincipalValuesAgreeWithTheClosedFormQueries) {
  using T = TypeParam;
  // Two independent solvers: the driver's and the closed form of computePrincipal (which orders
  // the values the same way: descending for the full layout, the in-plane pair descending
  // followed by S33 or 0 otherwise).
  const double tol = std::is_same<T, float>::value ? 1.5e-6 : 1e-13;
  for (int n = 0; n < kSamples; ++n) {
    const std::array<T, 6> c = randomComponents<T>(100.0);
    for (res_DataTypeEnm type : kTensorLayouts) {
      const utf_Tensor<T> tensor(type, c.data(), n % 2 == 0);
      T principal[3];
      T quaternion[4];
      tensor.principalDirections(principal, quaternion);
      T p[3];
      tensor.computePrincipal(p[0], p[1], p[2]);
      for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(principal[i], p[i], tol * 100.0) << "type " << type << " value " << i;
      }
    }
  }
}

} // namespace
