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

using Real = long double;

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
std::array<T, 6> randomComponents(double scale) {
  std::array<T, 6> c{};
  for (T& value : c) {
    value = static_cast<T>(uniform(-scale, scale));
  }
  return c;
}

// ---------------------------------------------------------------------------------------------
// Independent long-double reference.

using Table = ReferenceTable;

struct Matrix {
  Real s[3][3];
};

Matrix symmetric(Real s11, Real s22, Real s33, Real s12, Real s13, Real s23) {
  return Matrix{{{s11, s12, s13}, {s12, s22, s23}, {s13, s23, s33}}};
}

// A S A^T.
Matrix turned(const Table& a, const Matrix& m) {
  Matrix r{};
  for (int p = 0; p < 3; ++p) {
    for (int q = 0; q < 3; ++q) {
      Real sum = 0;
      for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
          sum += a.a[p][i] * m.s[i][j] * a.a[q][j];
        }
      }
      r.s[p][q] = sum;
    }
  }
  return r;
}

// Only the upper-left 2 x 2 block of a table, the third axis kept.
Table inPlaneBlock(const Table& a) {
  Table b{};
  b.a[0][0] = a.a[0][0];
  b.a[0][1] = a.a[0][1];
  b.a[1][0] = a.a[1][0];
  b.a[1][1] = a.a[1][1];
  b.a[2][2] = 1;
  return b;
}

template <typename T>
Real largestMagnitude(const T* c, int n) {
  Real m = 1;
  for (int i = 0; i < n; ++i) {
    m = std::max(m, std::fabs(static_cast<Real>(c[i])));
  }
  return m;
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
// The prescribed arithmetic, written out here in T with the float rules' casts.

template <typename T>
T twice(T bracket) {
  return static_cast<T>(2.0 * static_cast<double>(bracket));
}
template <typename T>
T halved(T value) {
  return static_cast<T>(static_cast<double>(value) * 0.5);
}

template <typename T>
struct Cosines {
  T a11, a12, a13, a21, a22, a23, a31, a32, a33;
};

template <typename T>
Cosines<T> cosinesOf(const T* q) {
  const T q0 = q[0], q1 = q[1], q2 = q[2], q3 = q[3];
  Cosines<T> a;
  a.a11 = q0 * q0 - q1 * q1 - q2 * q2 + q3 * q3;
  a.a12 = static_cast<T>(2.0 * static_cast<double>(q0 * q1 + q2 * q3));
  a.a13 = static_cast<T>(2.0 * static_cast<double>(q0 * q2 - q1 * q3));
  a.a21 = static_cast<T>(2.0 * static_cast<double>(q0 * q1 - q2 * q3));
  a.a22 = -q0 * q0 + q1 * q1 - q2 * q2 + q3 * q3;
  a.a23 = static_cast<T>(2.0 * static_cast<double>(q1 * q2 + q0 * q3));
  a.a31 = static_cast<T>(2.0 * static_cast<double>(q0 * q2 + q1 * q3));
  a.a32 = static_cast<T>(2.0 * static_cast<double>(q1 * q2 - q0 * q3));
  a.a33 = -q0 * q0 - q1 * q1 + q2 * q2 + q3 * q3;
  return a;
}

template <typename T>
void expectedFull(const T* q, bool engineering, T* s) {
  const T f = engineering ? T(2) : T(1);
  if (engineering) {
    s[3] = halved(s[3]), s[4] = halved(s[4]), s[5] = halved(s[5]);
  }
  const Cosines<T> a = cosinesOf(q);
  const T s11 = s[0], s22 = s[1], s33 = s[2], s12 = s[3], s13 = s[4], s23 = s[5];
  const T r[3][3] = {{a.a11, a.a12, a.a13}, {a.a21, a.a22, a.a23}, {a.a31, a.a32, a.a33}};
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
  const Cosines<T> a = cosinesOf(q);
  const T s11 = s[0], s22 = s[1], s33 = s[2], s12 = s[3];
  const T r[3][3] = {{a.a11, a.a12, a.a13}, {a.a21, a.a22, a.a23}, {a.a31, a.a32, a.a33}};
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

template <typename T>
void expectedSurface3d(const T* q, bool engineering, T* s) {
  const T f = engineering ? T(2) : T(1);
  if (engineering) {
    s[2] = halved(s[2]);
  }
  const Cosines<T> a = cosinesOf(q);
  const T s11 = s[0], s22 = s[1], s12 = s[2];
  const T s1[2] = {s11 * a.a11 + s12 * a.a12, s12 * a.a11 + s22 * a.a12};
  const T s2[2] = {s11 * a.a21 + s12 * a.a22, s12 * a.a21 + s22 * a.a22};
  s[0] = a.a11 * s1[0] + a.a12 * s1[1];
  s[1] = a.a21 * s2[0] + a.a22 * s2[1];
  s[2] = f * (a.a11 * s2[0] + a.a12 * s2[1]);
}

// The in-plane rotation of (S11, S22, S12) at s[i11], s[i22], s[i12]; S33 (planar) untouched.
template <typename T>
void expected2d(const T* p, bool engineering, T* s, int shearSlot) {
  const T f = engineering ? T(2) : T(1);
  if (engineering) {
    s[shearSlot] = halved(s[shearSlot]);
  }
  const T p0 = p[0], p1 = p[1];
  const T b11 = static_cast<T>(1.0 - 2.0 * static_cast<double>(p0 * p0));
  const T b12 = static_cast<T>(2.0 * static_cast<double>(p1 * p0));
  const T b21 = static_cast<T>(2.0 * static_cast<double>((-p1) * p0));
  const T b22 = static_cast<T>(1.0 - 2.0 * static_cast<double>(p0 * p0));
  const T s11 = s[0], s22 = s[1], s12 = s[shearSlot];
  const T w1[2] = {s11 * b11 + s12 * b12, s12 * b11 + s22 * b12};
  const T w2[2] = {s11 * b21 + s12 * b22, s12 * b21 + s22 * b22};
  s[0] = b11 * w1[0] + b12 * w1[1];
  s[1] = b21 * w2[0] + b22 * w2[1];
  s[shearSlot] = f * (b11 * w2[0] + b12 * w2[1]);
}

template <typename T>
void expectSameBits(const T* got, const T* expected, int n) {
  for (int i = 0; i < n; ++i) {
    EXPECT_EQ(bitsOf(got[i]), bitsOf(expected[i]))
        << "slot " << i << ": " << got[i] << " instead of " << expected[i];
  }
}

// The kernels by layout, so that a test can run all five alike.
enum class Kernel { Full3d, Planar3d, Surface3d, Planar2d, Surface2d };
const Kernel kKernels[] = {Kernel::Full3d, Kernel::Planar3d, Kernel::Surface3d, Kernel::Planar2d,
                           Kernel::Surface2d};

int countOf(Kernel k) {
  return k == Kernel::Full3d ? 6 : (k == Kernel::Planar3d || k == Kernel::Planar2d) ? 4 : 3;
}
bool is2d(Kernel k) {
  return k == Kernel::Planar2d || k == Kernel::Surface2d;
}
// The shear slots of a layout.
bool isShearSlot(Kernel k, int slot) {
  switch (k) {
  case Kernel::Full3d:
    return slot >= 3;
  case Kernel::Planar3d:
  case Kernel::Planar2d:
    return slot == 3;
  default:
    return slot == 2;
  }
}

// Runs the kernel of layout k over s, with q a 3D rotation (four values) or, for the 2D
// kernels, the 2D rotation p (two values).
template <typename T>
void runKernel(Kernel k, T* s, T* rotation, bool engineering) {
  switch (k) {
  case Kernel::Full3d:
    utf_Tens3dFullBase<T>(s).transform(utf_Quat3dBase<T>(rotation), engineering);
    return;
  case Kernel::Planar3d:
    utf_Tens3dPlanarBase<T>(s).transform(utf_Quat3dBase<T>(rotation), engineering);
    return;
  case Kernel::Surface3d:
    utf_Tens3dSurfaceBase<T>(s).transform(utf_Quat3dBase<T>(rotation), engineering);
    return;
  case Kernel::Planar2d:
    utf_Tens2dPlanarBase<T>(s).transform(utf_Quat2dBase<T>(rotation), engineering);
    return;
  case Kernel::Surface2d:
    utf_Tens2dSurfaceBase<T>(s).transform(utf_Quat2dBase<T>(rotation), engineering);
    return;
  }
}

// The long-double A S A^T of layout k for tensorial components c (the reduced layouts embedded
// in 3 x 3 and read back), in slot order.
template <typename T>
std::array<Real, 6> reference(Kernel k, const T* c, const T* rotation) {
  std::array<Real, 6> r{};
  switch (k) {
  case Kernel::Full3d: {
    const Matrix m =
        turned(referenceTable3d(rotation), symmetric(c[0], c[1], c[2], c[3], c[4], c[5]));
    r = {m.s[0][0], m.s[1][1], m.s[2][2], m.s[0][1], m.s[0][2], m.s[1][2]};
    return r;
  }
  case Kernel::Planar3d: {
    const Matrix m = turned(referenceTable3d(rotation), symmetric(c[0], c[1], c[2], c[3], 0, 0));
    r = {m.s[0][0], m.s[1][1], m.s[2][2], m.s[0][1], 0, 0};
    return r;
  }
  case Kernel::Surface3d: {
    const Matrix m =
        turned(inPlaneBlock(referenceTable3d(rotation)), symmetric(c[0], c[1], 0, c[2], 0, 0));
    r = {m.s[0][0], m.s[1][1], m.s[0][1], 0, 0, 0};
    return r;
  }
  case Kernel::Planar2d: {
    const Matrix m = turned(referenceTable2d(rotation), symmetric(c[0], c[1], c[2], c[3], 0, 0));
    r = {m.s[0][0], m.s[1][1], m.s[2][2], m.s[0][1], 0, 0};
    return r;
  }
  case Kernel::Surface2d: {
    const Matrix m = turned(referenceTable2d(rotation), symmetric(c[0], c[1], 0, c[2], 0, 0));
    r = {m.s[0][0], m.s[1][1], m.s[0][1], 0, 0, 0};
    return r;
  }
  }
  return r;
}

// ---------------------------------------------------------------------------------------------
// Hand-worked cases.

TYPED_TEST(TensorKernels, TheIdentityLeavesEveryLayoutUnchangedWithAndWithoutTheEngineeringFlag) {
  using T = TypeParam;
  const T original[6] = {T(3), T(-5), T(7), T(0.25), T(-1.5), T(11)};
  for (Kernel k : kKernels) {
    for (bool engineering : {false, true}) {
      T identity3d[4] = {T(0), T(0), T(0), T(1)};
      T identity2d[2] = {T(0), T(1)};
      T s[6];
      std::copy(original, original + 6, s);
      runKernel(k, s, is2d(k) ? identity2d : identity3d, engineering);
      for (int i = 0; i < countOf(k); ++i) {
        EXPECT_EQ(s[i], original[i])
            << "kernel " << static_cast<int>(k) << " flag " << engineering << " slot " << i;
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
    for (Kernel k : kKernels) {
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
            << "kernel " << static_cast<int>(k) << " slot " << i;
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
    for (Kernel k : kKernels) {
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
    for (Kernel k : kKernels) {
      std::array<T, 6> got = c;
      std::array<T, 6> expected = c;
      runKernel(k, got.data(), is2d(k) ? p : q, engineering);
      switch (k) {
      case Kernel::Full3d:
        expectedFull(q, engineering, expected.data());
        break;
      case Kernel::Planar3d:
        expectedPlanar3d(q, engineering, expected.data());
        break;
      case Kernel::Surface3d:
        expectedSurface3d(q, engineering, expected.data());
        break;
      case Kernel::Planar2d:
        expected2d(p, engineering, expected.data(), 3);
        break;
      case Kernel::Surface2d:
        expected2d(p, engineering, expected.data(), 2);
        break;
      }
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
    const Cosines<T> e = cosinesOf(q);
    const T expected[9] = {e.a11, e.a12, e.a13, e.a21, e.a22, e.a23, e.a31, e.a32, e.a33};
    expectSameBits(got, expected, 9);
    expectSameBits(got, &table[0][0], 9);
    const utf_impl::Block2<T> block = utf_impl::inPlaneBlock(a);
    const T gotBlock[4] = {block.c11, block.c12, block.c21, block.c22};
    const T expectedBlock[4] = {e.a11, e.a12, e.a21, e.a22};
    expectSameBits(gotBlock, expectedBlock, 4);

    T p[2];
    randomRotation2d(p);
    const utf_impl::Block2<T> b = utf_impl::cosines2d(static_cast<const T*>(p));
    const T p0 = p[0], p1 = p[1];
    const T gotB[4] = {b.c11, b.c12, b.c21, b.c22};
    const T expectedB[4] = {static_cast<T>(1.0 - 2.0 * static_cast<double>(p0 * p0)),
                            static_cast<T>(2.0 * static_cast<double>(p1 * p0)),
                            static_cast<T>(2.0 * static_cast<double>((-p1) * p0)),
                            static_cast<T>(1.0 - 2.0 * static_cast<double>(p0 * p0))};
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
    for (Kernel k : kKernels) {
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
