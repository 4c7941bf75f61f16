// The five tensor component kernels (utf_Tens3dFullBase and its siblings): hand-worked rotations,
// the engineering-shear convention, the reduced layouts, the order of evaluation and the float
// rounding rules bit for bit, an independent long-double A S A^T on pseudo-random tensors and
// rotations, and allocation-free operation.

#include "test_support.h"
// The library's private home of the rotation arithmetic, whose cosines are checked below.
#include "utf_RotationArithmetic.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <type_traits>

namespace {

const int kSamples = 4000;

template <typename T>
class TensorKernels : public ::testing::Test {};
TYPED_TEST_SUITE(TensorKernels, utf_Precisions, utf_PrecisionNames);

// Agreement with the long-double reference, relative to the largest stored component: a few
// units in the last place of T for the two levels of three-term sums.
template <typename T>
double tolerance() {
  return std::is_same<T, float>::value ? 4e-6 : 1e-14;
}

template <typename T>
T sqrtHalf() {
  return static_cast<T>(std::sqrt(0.5L));
}

template <typename T>
void expectNear(const T* got, const std::array<Real, 6>& expected, int n, Real scale) {
  for (int i = 0; i < n; ++i) {
    EXPECT_NEAR(static_cast<double>(got[i]), static_cast<double>(expected[i]),
                tolerance<T>() * static_cast<double>(scale))
        << "slot " << i;
  }
}

// ---------------------------------------------------------------------------------------------
// The kernels' arithmetic, written out here in T with the float rules' casts
// (prescribed_rotation.h): u_k = S c_k with c_k row k of the table, S'ij = c_i . u_j.

template <typename T>
void expectedFull(const T* q, bool engineering, T* s) {
  const T f = engineering ? T(2) : T(1);
  if (engineering) {
    s[3] = halved(s[3]), s[4] = halved(s[4]), s[5] = halved(s[5]);
  }
  const PrescribedTable<T> table = prescribedTable3d(q);
  const auto& r = table.a;
  const T s11 = s[0], s22 = s[1], s33 = s[2], s12 = s[3], s13 = s[4], s23 = s[5];
  T u[3][3];
  for (int k = 0; k < 3; ++k) {
    u[k][0] = s11 * r[k][0] + s12 * r[k][1] + s13 * r[k][2];
    u[k][1] = s12 * r[k][0] + s22 * r[k][1] + s23 * r[k][2];
    u[k][2] = s13 * r[k][0] + s23 * r[k][1] + s33 * r[k][2];
  }
  auto dot = [&r, &u](int i, int j) {
    return r[i][0] * u[j][0] + r[i][1] * u[j][1] + r[i][2] * u[j][2];
  };
  s[0] = dot(0, 0);
  s[1] = dot(1, 1);
  s[2] = dot(2, 2);
  s[3] = f * dot(0, 1);
  s[4] = f * dot(2, 0);
  s[5] = f * dot(1, 2);
}

template <typename T>
void expectedPlanar3d(const T* q, bool engineering, T* s) {
  const T f = engineering ? T(2) : T(1);
  if (engineering) {
    s[3] = halved(s[3]);
  }
  const PrescribedTable<T> table = prescribedTable3d(q);
  const auto& r = table.a;
  const T s11 = s[0], s22 = s[1], s33 = s[2], s12 = s[3];
  T u[3][3];
  for (int k = 0; k < 3; ++k) {
    u[k][0] = s11 * r[k][0] + s12 * r[k][1];
    u[k][1] = s12 * r[k][0] + s22 * r[k][1];
    u[k][2] = s33 * r[k][2];
  }
  auto dot = [&r, &u](int i, int j) {
    return r[i][0] * u[j][0] + r[i][1] * u[j][1] + r[i][2] * u[j][2];
  };
  s[0] = dot(0, 0);
  s[1] = dot(1, 1);
  s[2] = dot(2, 2);
  s[3] = f * dot(0, 1);
}

// The in-plane products of (S11, S22, S12) at s[0], s[1], s[shearSlot] by the 2 x 2 block b of a
// table; S33 (planar) untouched.
template <typename T>
void expectedInPlane(const PrescribedTable<T>& table, bool engineering, T* s, int shearSlot) {
  const T f = engineering ? T(2) : T(1);
  if (engineering) {
    s[shearSlot] = halved(s[shearSlot]);
  }
  const T b11 = table.a[0][0], b12 = table.a[0][1], b21 = table.a[1][0], b22 = table.a[1][1];
  const T s11 = s[0], s22 = s[1], s12 = s[shearSlot];
  const T w1[2] = {s11 * b11 + s12 * b12, s12 * b11 + s22 * b12};
  const T w2[2] = {s11 * b21 + s12 * b22, s12 * b21 + s22 * b22};
  s[0] = b11 * w1[0] + b12 * w1[1];
  s[1] = b21 * w2[0] + b22 * w2[1];
  s[shearSlot] = f * (b11 * w2[0] + b12 * w2[1]);
}

// The kernel of a layout, written out: q a 3D rotation (four values) or, for the 2D layouts, the
// 2D rotation (two values).
template <typename T>
void expectedKernel(res_DataTypeEnm type, const T* rotation, bool engineering, T* s) {
  switch (type) {
  case res_Tensor3dFull:
    expectedFull(rotation, engineering, s);
    return;
  case res_Tensor3dPlanar:
    expectedPlanar3d(rotation, engineering, s);
    return;
  case res_Tensor3dSurface:
    expectedInPlane(prescribedTable3d(rotation), engineering, s, 2);
    return;
  case res_Tensor2dPlanar:
    expectedInPlane(prescribedTable2d(rotation), engineering, s, 3);
    return;
  default:
    expectedInPlane(prescribedTable2d(rotation), engineering, s, 2);
    return;
  }
}

// The long-double A S A^T of a layout for tensorial components c (the reduced layouts embedded
// in 3 x 3 and read back; the 3D surface layout through the in-plane block of the table), in slot
// order.
template <typename T>
std::array<Real, 6> reference(res_DataTypeEnm type, const T* c, const T* rotation) {
  RealMatrix table = is2d(type) ? referenceTable2d(rotation) : referenceTable3d(rotation);
  if (type == res_Tensor3dSurface) {
    table = inPlaneBlock(table);
  }
  return layoutComponents(type, turned(table, matrixOf(type, c)));
}

// ---------------------------------------------------------------------------------------------
// Hand-worked cases.

TYPED_TEST(TensorKernels, TheIdentityLeavesEveryLayoutUnchangedWithAndWithoutTheEngineeringFlag) {
  using T = TypeParam;
  const T original[6] = {T(3), T(-5), T(7), T(0.25), T(-1.5), T(11)};
  for (res_DataTypeEnm k : kTensorLayouts) {
    for (bool engineering : {false, true}) {
      T identity3d[4] = {T(0), T(0), T(0), T(1)};
      T identity2d[2] = {T(0), T(1)};
      T s[6];
      std::copy(original, original + 6, s);
      runKernel(k, s, is2d(k) ? identity2d : identity3d, engineering);
      for (int i = 0; i < countOf(k); ++i) {
        EXPECT_EQ(s[i], original[i])
            << "layout " << layoutName(k) << " flag " << engineering << " slot " << i;
      }
      // Beyond the layout nothing is touched.
      for (int i = countOf(k); i < 6; ++i) {
        EXPECT_EQ(s[i], original[i]);
      }
    }
  }
}

TYPED_TEST(TensorKernels, ANinetyDegreeTurnAboutAxis3ReexpressesTheFullTensorOnTheNewAxes) {
  using T = TypeParam;
  // Row 1 of the table is (0, 1, 0), row 2 (-1, 0, 0): new axis 1 is old axis 2, new axis 2 is
  // minus old axis 1.
  T q[4] = {T(0), T(0), sqrtHalf<T>(), sqrtHalf<T>()};
  const T s11 = T(1), s22 = T(2), s33 = T(3), s12 = T(4), s13 = T(5), s23 = T(6);
  T s[6] = {s11, s22, s33, s12, s13, s23};
  utf_Tens3dFullBase<T>(s).transform(utf_Quat3dBase<T>(q), false);
  const double tol = tolerance<T>() * 10;
  EXPECT_NEAR(s[0], s22, tol);
  EXPECT_NEAR(s[1], s11, tol);
  EXPECT_NEAR(s[2], s33, tol);
  EXPECT_NEAR(s[3], -s12, tol);
  EXPECT_NEAR(s[4], s23, tol) << "S'13 = S23 in the kernels' sense";
  EXPECT_NEAR(s[5], -s13, tol) << "S'23 = -S13 in the kernels' sense";
}

TYPED_TEST(TensorKernels, EngineeringShearLeavesDoubledTensorialResultsAndTheFlagClearTakes2sAsIs) {
  using T = TypeParam;
  T q[4];
  T p[2];
  for (int n = 0; n < 200; ++n) {
    randomUnitQuaternion(q);
    randomRotation2d(p);
    const std::array<T, 6> tensorial = randomComponents<T>(50.0);
    for (res_DataTypeEnm k : kTensorLayouts) {
      T* rotation = is2d(k) ? p : q;
      // The same tensor stored with engineering shears 2 s.
      std::array<T, 6> engineering = tensorial;
      for (int i = 0; i < countOf(k); ++i) {
        if (isShearSlot(k, i)) {
          engineering[i] = T(2) * tensorial[i];
        }
      }
      std::array<T, 6> fromTensorial = tensorial;
      std::array<T, 6> fromEngineering = engineering;
      std::array<T, 6> engineeringAsTensorial = engineering;
      runKernel(k, fromTensorial.data(), rotation, false);
      runKernel(k, fromEngineering.data(), rotation, true);
      runKernel(k, engineeringAsTensorial.data(), rotation, false);
      for (int i = 0; i < countOf(k); ++i) {
        const T expected = isShearSlot(k, i) ? T(2) * fromTensorial[i] : fromTensorial[i];
        EXPECT_EQ(bitsOf(fromEngineering[i]), bitsOf(expected))
            << "layout " << layoutName(k) << " slot " << i;
      }
      // With the flag clear the stored 2 s is the tensor's shear itself.
      const std::array<Real, 6> ref = reference(k, engineering.data(), rotation);
      expectNear(engineeringAsTensorial.data(), ref, countOf(k),
                 largestMagnitude(engineering.data(), countOf(k)));
    }
  }
}

TYPED_TEST(TensorKernels, ThePlanarKernelTurnedAboutAxis1SwapsS22AndS33AndLosesTheNewS13) {
  using T = TypeParam;
  T q[4] = {sqrtHalf<T>(), T(0), T(0), sqrtHalf<T>()};
  const T s11 = T(2), s22 = T(-3), s33 = T(5), s12 = T(7);
  T planar[4] = {s11, s22, s33, s12};
  utf_Tens3dPlanarBase<T>(planar).transform(utf_Quat3dBase<T>(q), false);
  const double tol = tolerance<T>() * 10;
  EXPECT_NEAR(planar[0], s11, tol);
  EXPECT_NEAR(planar[1], s33, tol);
  EXPECT_NEAR(planar[2], s22, tol);
  EXPECT_NEAR(planar[3], T(0), tol);
  // The same tensor in the full layout shows what the planar form drops: S'13 = -S12.
  T full[6] = {s11, s22, s33, s12, T(0), T(0)};
  utf_Tens3dFullBase<T>(full).transform(utf_Quat3dBase<T>(q), false);
  EXPECT_NEAR(full[4], -s12, tol);
  EXPECT_NEAR(full[5], T(0), tol);
  for (int i = 0; i < 4; ++i) {
    EXPECT_NEAR(planar[i], full[i], tol) << "slot " << i;
  }
}

TYPED_TEST(TensorKernels, TheSurfaceKernelUsesOnlyTheInPlaneBlockAndIgnoresATilt) {
  using T = TypeParam;
  // A tilt by 60 degrees about axis 1: the in-plane block is (1, 0 / 0, cos 60): the plane is
  // not turned back, only its second direction is shortened.
  const Real half = kPiL / 6;
  T tilt[4] = {static_cast<T>(std::sin(half)), T(0), T(0), static_cast<T>(std::cos(half))};
  T s[3] = {T(4), T(8), T(2)};
  utf_Tens3dSurfaceBase<T>(s).transform(utf_Quat3dBase<T>(tilt), false);
  const double tol = tolerance<T>() * 10;
  EXPECT_NEAR(s[0], 4.0, tol);
  EXPECT_NEAR(s[1], 8.0 * 0.25, tol);
  EXPECT_NEAR(s[2], 2.0 * 0.5, tol);

  // A rotation and its mirror through the plane, (x, y, z, w) and (-x, -y, z, w), share the
  // in-plane block and differ out of the plane: the surface kernel cannot tell them apart.
  for (int n = 0; n < 500; ++n) {
    T q[4];
    randomUnitQuaternion(q);
    T mirrored[4] = {-q[0], -q[1], q[2], q[3]};
    const std::array<T, 6> c = randomComponents<T>(10.0);
    T a[3] = {c[0], c[1], c[2]};
    T b[3] = {c[0], c[1], c[2]};
    utf_Tens3dSurfaceBase<T>(a).transform(utf_Quat3dBase<T>(q), n % 2 == 0);
    utf_Tens3dSurfaceBase<T>(b).transform(utf_Quat3dBase<T>(mirrored), n % 2 == 0);
    expectSameBits(a, b, 3);
    T table[3][3];
    T mirroredTable[3][3];
    utf_Quat3dBase<T>(q).cosines(table);
    utf_Quat3dBase<T>(mirrored).cosines(mirroredTable);
    if (std::fabs(static_cast<double>(table[0][2])) > 0.1) {
      EXPECT_NE(table[0][2], mirroredTable[0][2]) << "the two rotations differ out of the plane";
    }
  }
}

TYPED_TEST(TensorKernels, TheNonUnitInPlaneRotation0And2IsTheIdentityNotAScaling) {
  using T = TypeParam;
  const T original[4] = {T(3), T(-4), T(9), T(1.5)};
  for (bool engineering : {false, true}) {
    T p[2] = {T(0), T(2)};
    T planar[4] = {original[0], original[1], original[2], original[3]};
    utf_Tens2dPlanarBase<T>(planar).transform(utf_Quat2dBase<T>(p), engineering);
    for (int i = 0; i < 4; ++i) {
      EXPECT_EQ(planar[i], original[i]) << "slot " << i;
    }
    T surface[3] = {original[0], original[1], original[3]};
    utf_Tens2dSurfaceBase<T>(surface).transform(utf_Quat2dBase<T>(p), engineering);
    EXPECT_EQ(surface[0], original[0]);
    EXPECT_EQ(surface[1], original[1]);
    EXPECT_EQ(surface[2], original[3]);
  }
}

TYPED_TEST(TensorKernels, ANonUnitQuaternionScalesTheResult) {
  using T = TypeParam;
  // (0, 0, 0, 2): the table is 4 times the unit table, so S' = 16 S.
  T q[4] = {T(0), T(0), T(0), T(2)};
  T s[6] = {T(1), T(2), T(3), T(4), T(5), T(6)};
  utf_Tens3dFullBase<T>(s).transform(utf_Quat3dBase<T>(q), false);
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(s[i], T(16) * T(i + 1)) << "slot " << i;
  }
}

TYPED_TEST(TensorKernels, The2dPlanarKernelPassesS33ThroughUnchanged) {
  using T = TypeParam;
  for (int n = 0; n < 500; ++n) {
    T p[2];
    randomRotation2d(p);
    const std::array<T, 6> c = randomComponents<T>(100.0);
    T s[4] = {c[0], c[1], c[2], c[3]};
    utf_Tens2dPlanarBase<T>(s).transform(utf_Quat2dBase<T>(p), n % 2 == 1);
    EXPECT_EQ(bitsOf(s[2]), bitsOf(c[2]));
  }
}

// ---------------------------------------------------------------------------------------------
// Properties on pseudo-random tensors and rotations.

TYPED_TEST(TensorKernels, EveryKernelAgreesWithALongDoubleASAt) {
  using T = TypeParam;
  for (int n = 0; n < kSamples; ++n) {
    T q[4];
    T p[2];
    randomUnitQuaternion(q);
    randomRotation2d(p);
    const std::array<T, 6> c = randomComponents<T>(100.0);
    for (res_DataTypeEnm k : kTensorLayouts) {
      T* rotation = is2d(k) ? p : q;
      std::array<T, 6> s = c;
      runKernel(k, s.data(), rotation, false);
      expectNear(s.data(), reference(k, c.data(), rotation), countOf(k),
                 largestMagnitude(c.data(), countOf(k)));
    }
  }
}

TYPED_TEST(TensorKernels, EveryKernelFollowsTheOrderOfEvaluationAndTheFloatRulesBitForBit) {
  using T = TypeParam;
  for (int n = 0; n < kSamples; ++n) {
    T q[4];
    T p[2];
    randomUnitQuaternion(q);
    randomRotation2d(p);
    const std::array<T, 6> c = randomComponents<T>(1000.0);
    const bool engineering = n % 2 == 0;
    for (res_DataTypeEnm k : kTensorLayouts) {
      std::array<T, 6> got = c;
      std::array<T, 6> expected = c;
      runKernel(k, got.data(), is2d(k) ? p : q, engineering);
      expectedKernel(k, is2d(k) ? p : q, engineering, expected.data());
      expectSameBits(got.data(), expected.data(), 6);
    }
  }
}

TYPED_TEST(TensorKernels, TheCosinesAreTheRotationKernelsTableWithTheFloatRulesBitForBit) {
  using T = TypeParam;
  // The 3D cosines are the rotation kernel's table (the diagonal a sum of four squares, the
  // off-diagonal brackets doubled in double); the 2D ones 1 - 2 p0^2 and 2 (p1 p0), 2 ((-p1) p0)
  // evaluated in double from the T operands and rounded once.
  for (int n = 0; n < kSamples; ++n) {
    T q[4];
    randomUnitQuaternion(q);
    const utf_Quat3dBase<T> kernel(q);
    const utf_impl::Cosines3d<T> a = utf_impl::cosines3d(static_cast<const T*>(q));
    T table[3][3];
    kernel.cosines(table);
    const T got[9] = {a.a11, a.a12, a.a13, a.a21, a.a22, a.a23, a.a31, a.a32, a.a33};
    const PrescribedTable<T> e = prescribedTable3d(q);
    const T* expected = &e.a[0][0];
    expectSameBits(got, expected, 9);
    expectSameBits(got, &table[0][0], 9);
    const utf_impl::Block2<T> block = utf_impl::inPlaneBlock(a);
    const T gotBlock[4] = {block.c11, block.c12, block.c21, block.c22};
    const T expectedBlock[4] = {e.a[0][0], e.a[0][1], e.a[1][0], e.a[1][1]};
    expectSameBits(gotBlock, expectedBlock, 4);

    T p[2];
    randomRotation2d(p);
    const utf_impl::Block2<T> b = utf_impl::cosines2d(static_cast<const T*>(p));
    const T gotB[4] = {b.c11, b.c12, b.c21, b.c22};
    const PrescribedTable<T> e2 = prescribedTable2d(p);
    const T expectedB[4] = {e2.a[0][0], e2.a[0][1], e2.a[1][0], e2.a[1][1]};
    expectSameBits(gotB, expectedB, 4);
  }
}

TYPED_TEST(TensorKernels, TheKernelsAllocateNothing) {
  using T = TypeParam;
  T q[4];
  T p[2];
  randomUnitQuaternion(q);
  randomRotation2d(p);
  std::array<T, 6> c = randomComponents<T>(10.0);
  const AllocationCounter counter;
  for (int n = 0; n < 100; ++n) {
    for (res_DataTypeEnm k : kTensorLayouts) {
      runKernel(k, c.data(), is2d(k) ? p : q, n % 2 == 0);
    }
  }
  EXPECT_EQ(counter.Count(), 0);
}

TYPED_TEST(TensorKernels, NaNAndInfinityPropagateWithoutAnyCheck) {
  using T = TypeParam;
  T q[4] = {T(0), T(0), sqrtHalf<T>(), sqrtHalf<T>()};
  T s[6] = {std::numeric_limits<T>::quiet_NaN(), T(1), T(2), T(0), T(0), T(0)};
  utf_Tens3dFullBase<T>(s).transform(utf_Quat3dBase<T>(q), false);
  EXPECT_TRUE(std::isnan(s[1])) << "S'22 draws on S11";
  T p[2] = {T(0), T(1)};
  T planar[4] = {T(1), T(2), std::numeric_limits<T>::infinity(), T(0)};
  utf_Tens2dPlanarBase<T>(planar).transform(utf_Quat2dBase<T>(p), false);
  EXPECT_EQ(planar[2], std::numeric_limits<T>::infinity());
}

} // namespace
