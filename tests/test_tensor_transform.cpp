// utf_Tensor<T>::transform and transformControl: the sense S' = A^T S A (opposite to the
// component kernels), the rotation-type and normality assertions with the tensor left unchanged,
// the 0.9 limit, the reduced layouts, the ignored flag of transformControl(q, ...), the order of
// evaluation bit for bit, an independent long-double A^T S A, and allocation-free transform.
// (The round trip through a kernel, the invariance of the invariants and the engineering-shear
// convention across every path are in the layout property suite.)

#include "test_support.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <type_traits>
#include <vector>

namespace {

const int kSamples = 4000;
const char* const kSource = utf_TensorAssertLine::source;
const char* const kWrongRotation = "q.type() == QuaternionType()";
const char* const kNotNormal = "coss.ConstGet(2,2) > 0.9 && \"Transformation not normal\"";
const int kWrongRotationLine = utf_TensorAssertLine::rotationType;
const int kNotNormalLine = utf_TensorAssertLine::notNormal;

const res_DataTypeEnm kNonFull[] = {res_Tensor2dPlanar, res_Tensor3dPlanar, res_Tensor3dSurface,
                                    res_Tensor2dSurface};

template <typename T>
class TensorTransform : public ::testing::Test {};
TYPED_TEST_SUITE(TensorTransform, utf_Precisions, utf_PrecisionNames);

// Agreement with a long-double reference, relative to the largest component.
template <typename T>
double tolerance() {
  return std::is_same<T, float>::value ? 4e-6 : 1e-14;
}

template <typename T>
T sqrtHalf() {
  return static_cast<T>(std::sqrt(0.5L));
}

template <typename T>
void expectUnchanged(const utf_Tensor<T>& tensor, const std::vector<T>& before) {
  ASSERT_EQ(tensor.size(), static_cast<int>(before.size()));
  expectSameBits(tensor.data(), before.data(), tensor.size());
}

template <typename T>
cow_2DArray<T> tableOfRows(std::initializer_list<T> values) {
  cow_2DArray<T> table(3, 3, T(0));
  int k = 0;
  for (T value : values) {
    table.Get(k / 3, k % 3) = value;
    ++k;
  }
  return table;
}

// The identity table with D(2,2) replaced.
template <typename T>
cow_2DArray<T> tableWithNormal(T d22) {
  return tableOfRows<T>({T(1), T(0), T(0), T(0), T(1), T(0), T(0), T(0), d22});
}

// A table value read in long double.
template <typename T>
RealMatrix tableOf(const cow_2DArray<T>& d) {
  RealMatrix t{};
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      t.a[i][j] = d.ConstGet(i, j);
    }
  }
  return t;
}

// The long-double A^T S A of tensorial components c in `type`'s layout; the 3D surface layout
// uses only the in-plane block of A.
template <typename T>
std::array<Real, 6> reference(res_DataTypeEnm type, const T* c, const utf_Quaternion<T>& q) {
  RealMatrix a = referenceTableOf(q);
  if (type == res_Tensor3dSurface) {
    a = inPlaneBlock(a);
  }
  return layoutComponents(type, turnedBack(a, matrixOf(type, c)));
}

template <typename T>
void expectNear(const T* got, const std::array<Real, 6>& expected, int n, Real scale,
                double relative) {
  for (int i = 0; i < n; ++i) {
    EXPECT_NEAR(static_cast<double>(got[i]), static_cast<double>(expected[i]),
                relative * static_cast<double>(scale))
        << "slot " << i;
  }
}

// ---------------------------------------------------------------------------------------------
// transform's arithmetic, written out here in T with the float rules' casts
// (prescribed_rotation.h): x_j = S c_j with c_j the column j of the table, S'ij = c_i . x_j.

template <typename T>
void expectedTransform(res_DataTypeEnm type, const T* rotation, bool engineering, T* s) {
  const T f = engineering ? T(2) : T(1);
  const int shear = type == res_Tensor3dFull ? 3 : (isSurface(type) ? 2 : 3);
  if (engineering) {
    for (int i = shear; i < (type == res_Tensor3dFull ? 6 : shear + 1); ++i) {
      s[i] = halved(s[i]);
    }
  }
  const PrescribedTable<T> table =
      is2d(type) ? prescribedTable2d(rotation) : prescribedTable3d(rotation);
  const auto& a = table.a;
  if (type == res_Tensor3dFull || type == res_Tensor3dPlanar) {
    const bool full = type == res_Tensor3dFull;
    const T s11 = s[0], s22 = s[1], s33 = s[2], s12 = s[3];
    const T s13 = full ? s[4] : T(0), s23 = full ? s[5] : T(0);
    T x[3][3];
    for (int j = 0; j < 3; ++j) {
      if (full) {
        x[j][0] = s11 * a[0][j] + s12 * a[1][j] + s13 * a[2][j];
        x[j][1] = s12 * a[0][j] + s22 * a[1][j] + s23 * a[2][j];
        x[j][2] = s13 * a[0][j] + s23 * a[1][j] + s33 * a[2][j];
      } else {
        x[j][0] = s11 * a[0][j] + s12 * a[1][j];
        x[j][1] = s12 * a[0][j] + s22 * a[1][j];
        x[j][2] = s33 * a[2][j];
      }
    }
    auto dot = [&a, &x](int i, int j) {
      return a[0][i] * x[j][0] + a[1][i] * x[j][1] + a[2][i] * x[j][2];
    };
    s[0] = dot(0, 0);
    s[1] = dot(1, 1);
    s[2] = dot(2, 2);
    s[3] = f * dot(0, 1);
    if (full) {
      s[4] = f * dot(2, 0);
      s[5] = f * dot(1, 2);
    }
    return;
  }
  // 3D surface, 2D planar, 2D surface: the in-plane block only.
  const T s11 = s[0], s22 = s[1], s12 = s[shear];
  const T y1[2] = {s11 * a[0][0] + s12 * a[1][0], s12 * a[0][0] + s22 * a[1][0]};
  const T y2[2] = {s11 * a[0][1] + s12 * a[1][1], s12 * a[0][1] + s22 * a[1][1]};
  s[0] = a[0][0] * y1[0] + a[1][0] * y1[1];
  s[1] = a[0][1] * y2[0] + a[1][1] * y2[1];
  if (type == res_Tensor2dPlanar) {
    s[2] = T(1) * (s[2] * T(1));
  }
  s[shear] = f * (a[0][0] * y2[0] + a[1][0] * y2[1]);
}

// ---------------------------------------------------------------------------------------------
// Hand-worked cases.

TYPED_TEST(TensorTransform, TheIdentityLeavesEveryLayoutUnchangedWithAndWithoutTheEngineeringFlag) {
  using T = TypeParam;
  const T original[6] = {T(3), T(-5), T(7), T(0.25), T(-1.5), T(11)};
  const T identity3d[4] = {T(0), T(0), T(0), T(1)};
  const T identity2d[2] = {T(0), T(1)};
  const utf_Quaternion<T> q3(res_Rotation3d, identity3d);
  const utf_Quaternion<T> q2(res_Rotation2d, identity2d);
  for (res_DataTypeEnm type : kTensorLayouts) {
    for (bool engineering : {false, true}) {
      utf_Tensor<T> tensor(type, original, engineering);
      tensor.transform(is2d(type) ? q2 : q3, engineering);
      EXPECT_EQ(componentsOf(tensor), std::vector<T>(original, original + countOf(type)))
          << "type " << type << " flag " << engineering;
    }
  }
}

TYPED_TEST(TensorTransform, ANinetyDegreeTurnAboutAxis3TurnsOppositeToTheKernel) {
  using T = TypeParam;
  T q[4] = {T(0), T(0), sqrtHalf<T>(), sqrtHalf<T>()};
  const T s11 = T(1), s22 = T(2), s33 = T(3), s12 = T(4), s13 = T(5), s23 = T(6);
  const T components[6] = {s11, s22, s33, s12, s13, s23};
  utf_Tensor<T> tensor(res_Tensor3dFull, components, false);
  tensor.transform(utf_Quaternion<T>(res_Rotation3d, static_cast<const T*>(q)), false);
  T raw[6] = {s11, s22, s33, s12, s13, s23};
  utf_Tens3dFullBase<T>(raw).transform(utf_Quat3dBase<T>(q), false);

  const double tol = tolerance<T>() * 10;
  const T* s = tensor.data();
  EXPECT_NEAR(s[0], s22, tol);
  EXPECT_NEAR(s[1], s11, tol);
  EXPECT_NEAR(s[2], s33, tol);
  EXPECT_NEAR(s[3], -s12, tol);
  EXPECT_NEAR(s[4], -s23, tol) << "transform: S'13 = -S23";
  EXPECT_NEAR(s[5], s13, tol) << "transform: S'23 = S13";
  // The kernel agrees on the first four and turns S13, S23 the other way.
  for (int i = 0; i < 4; ++i) {
    EXPECT_NEAR(raw[i], s[i], tol) << "slot " << i;
  }
  EXPECT_NEAR(raw[4], s23, tol) << "kernel: S'13 = S23";
  EXPECT_NEAR(raw[5], -s13, tol) << "kernel: S'23 = -S13";
}

TYPED_TEST(TensorTransform, ARotationOfTheWrongDimensionFailsAndLeavesTheTensorUnchanged) {
  using T = TypeParam;
  const T components[6] = {T(1), T(2), T(3), T(4), T(5), T(6)};
  const T values3d[4] = {T(0), T(0), sqrtHalf<T>(), sqrtHalf<T>()};
  const T values2d[2] = {sqrtHalf<T>(), sqrtHalf<T>()};
  const utf_Quaternion<T> q3(res_Rotation3d, values3d);
  const utf_Quaternion<T> q2(res_Rotation2d, values2d);
  // 2D planar by a 3D rotation, 3D planar by a 2D rotation, and the other layouts likewise.
  for (res_DataTypeEnm type : kTensorLayouts) {
    for (bool engineering : {false, true}) {
      utf_Tensor<T> tensor(type, components, engineering);
      const std::vector<T> before = componentsOf(tensor);
      expectAssertion([&] { tensor.transform(is2d(type) ? q3 : q2, engineering); }, kWrongRotation,
                      kSource, kWrongRotationLine);
      expectUnchanged(tensor, before);
    }
  }
  // A rotation value of another type altogether, and a tensor of no tensor type (which needs 7).
  const utf_Quaternion<T> vectorTyped(res_Vector, values3d);
  utf_Tensor<T> full(res_Tensor3dFull, components, false);
  expectAssertion([&] { full.transform(vectorTyped, false); }, kWrongRotation, kSource,
                  kWrongRotationLine);
  const cow_1DArrayList<T> list{T(1), T(2), T(3)};
  utf_Tensor<T> other(static_cast<res_DataTypeEnm>(5), list, false);
  expectAssertion([&] { other.transform(q2, false); }, kWrongRotation, kSource, kWrongRotationLine);
  expectUnchanged(other, {T(1), T(2), T(3)});
}

TYPED_TEST(TensorTransform, NormalityExactly0Point9Fails) {
  using T = TypeParam;
  const T components[4] = {T(1), T(2), T(3), T(4)};
  utf_Tensor<T> tensor(res_Tensor3dPlanar, components, false);
  // In double the table holds 0.9 itself; in float the float nearest to it.
  expectAssertion([&] { tensor.transformControl(tableWithNormal<T>(T(0.9))); }, kNotNormal, kSource,
                  kNotNormalLine);
  expectUnchanged(tensor, {T(1), T(2), T(3), T(4)});
}

TYPED_TEST(TensorTransform, Normality0Point9000001PassesAndRotates) {
  using T = TypeParam;
  const T v = T(0.9000001);
  ASSERT_GT(static_cast<double>(v), 0.9);
  const T components[4] = {T(1), T(2), T(3), T(4)};
  utf_Tensor<T> tensor(res_Tensor3dPlanar, components, false);
  tensor.transformControl(tableWithNormal<T>(v));
  // D = diag(1, 1, v): only S33 changes, to v S33 v.
  EXPECT_EQ(componentsOf(tensor), (std::vector<T>{T(1), T(2), (v * T(3)) * v, T(4)}));
}

TYPED_TEST(TensorTransform, NormalityTheFloatNearest0Point9WidenedFails) {
  using T = TypeParam;
  const float nearest = 0.9f;
  ASSERT_EQ(static_cast<double>(nearest), 0.8999999761581421);
  const T components[4] = {T(1), T(2), T(3), T(4)};
  for (res_DataTypeEnm type : kNonFull) {
    utf_Tensor<T> tensor(type, components, false);
    const std::vector<T> before = componentsOf(tensor);
    expectAssertion([&] { tensor.transformControl(tableWithNormal<T>(static_cast<T>(nearest))); },
                    kNotNormal, kSource, kNotNormalLine);
    expectUnchanged(tensor, before);
  }
  // Just above: the next value of T above 0.9 passes.
  const T above = std::nextafter(T(0.9), T(1));
  if (std::is_same<T, float>::value) {
    EXPECT_EQ(static_cast<double>(above), 0.9000000357627869);
  }
  utf_Tensor<T> tensor(res_Tensor2dPlanar, components, false);
  tensor.transformControl(tableWithNormal<T>(above));
  EXPECT_EQ(tensor.data()[2], (above * T(3)) * above);
}

TYPED_TEST(TensorTransform, NormalityNaNFails) {
  using T = TypeParam;
  const T components[4] = {T(1), T(2), T(3), T(4)};
  for (res_DataTypeEnm type : kNonFull) {
    utf_Tensor<T> tensor(type, components, true);
    const std::vector<T> before = componentsOf(tensor);
    expectAssertion(
        [&] { tensor.transformControl(tableWithNormal<T>(std::numeric_limits<T>::quiet_NaN())); },
        kNotNormal, kSource, kNotNormalLine);
    expectUnchanged(tensor, before);
  }
}

TYPED_TEST(TensorTransform, NormalityIsCheckedForEveryNonFullLayoutAndThroughARotationValue) {
  using T = TypeParam;
  const T components[4] = {T(1), T(2), T(3), T(4)};
  // A tilt of 30 degrees about axis 1: D(2,2) = cos 30 = 0.866.
  const T tilt[4] = {static_cast<T>(std::sin(kPiL / 12)), T(0), T(0),
                     static_cast<T>(std::cos(kPiL / 12))};
  const utf_Quaternion<T> q(res_Rotation3d, tilt);
  for (res_DataTypeEnm type : kNonFull) {
    utf_Tensor<T> tensor(type, components, false);
    const std::vector<T> before = componentsOf(tensor);
    expectAssertion([&] { tensor.transformControl(q.cosines()); }, kNotNormal, kSource,
                    kNotNormalLine);
    expectUnchanged(tensor, before);
    expectAssertion([&] { tensor.transformControl(q, true); }, kNotNormal, kSource, kNotNormalLine);
    expectUnchanged(tensor, before);
  }
}

TYPED_TEST(TensorTransform, AFullTensorIsTurnedByANinetyDegreeTiltWithoutComplaint) {
  using T = TypeParam;
  // New axes (1, 0, 0), (0, 0, 1), (0, -1, 0): D(2,2) = 0. With the columns of D,
  // S' = D^T S D gives S'11 = S11, S'22 = S33, S'33 = S22, S'12 = -S13, S'13 = S12, S'23 = -S23.
  const cow_2DArray<T> d = tableOfRows<T>({T(1), T(0), T(0), T(0), T(0), T(1), T(0), T(-1), T(0)});
  const T s11 = T(1), s22 = T(2), s33 = T(3), s12 = T(4), s13 = T(5), s23 = T(6);
  const T components[6] = {s11, s22, s33, s12, s13, s23};
  utf_Tensor<T> tensor(res_Tensor3dFull, components, false);
  tensor.transformControl(d);
  EXPECT_EQ(componentsOf(tensor), (std::vector<T>{s11, s33, s22, -s13, s12, -s23}));
}

TYPED_TEST(TensorTransform, TransformControlByARotationIgnoresTheEngineeringFlag) {
  using T = TypeParam;
  for (int n = 0; n < 200; ++n) {
    const utf_Quaternion<T> q = randomRotationFor<T>(res_Tensor3dFull);
    const std::array<T, 6> c = randomComponents<T>(50.0);
    utf_Tensor<T> withFlag(res_Tensor3dFull, c.data(), true);
    utf_Tensor<T> withoutFlag(res_Tensor3dFull, c.data(), true);
    utf_Tensor<T> byTable(res_Tensor3dFull, c.data(), true);
    utf_Tensor<T> byTransform(res_Tensor3dFull, c.data(), true);
    withFlag.transformControl(q, true);
    withoutFlag.transformControl(q, false);
    byTable.transformControl(q.cosines());
    byTransform.transform(q, true);
    expectSameBits(withFlag.data(), withoutFlag.data(), 6);
    expectSameBits(withFlag.data(), byTable.data(), 6);
    EXPECT_TRUE(withFlag.engineeringShear()) << "the tensor's own flag is kept";

    // The stored engineering shears are rotated as if they were tensorial...
    const Real scale = largestMagnitude(c.data(), 6);
    expectNear(withFlag.data(), reference(res_Tensor3dFull, c.data(), q), 6, scale, tolerance<T>());
    // ...while transform(q, true) halves them first and doubles the results.
    std::array<T, 6> halvedShears = c;
    for (int i = 3; i < 6; ++i) {
      halvedShears[i] = halved(c[i]);
    }
    std::array<Real, 6> expected = reference(res_Tensor3dFull, halvedShears.data(), q);
    for (int i = 3; i < 6; ++i) {
      expected[i] *= 2;
    }
    expectNear(byTransform.data(), expected, 6, scale, tolerance<T>());
    EXPECT_GT(std::fabs(static_cast<double>(withFlag.data()[0] - byTransform.data()[0])) +
                  std::fabs(static_cast<double>(withFlag.data()[1] - byTransform.data()[1])),
              1e-3)
        << "the two paths differ on a tensor with engineering shears";
  }
}

TYPED_TEST(TensorTransform, APlanarTensorTurnedWithinTheLimitGetsANewS33AndLosesS13AndS23) {
  using T = TypeParam;
  // Tilted by 20 degrees about axis 1 after an in-plane turn of 35 degrees: D(2,2) = cos 20.
  const utf_Quaternion<T> q(static_cast<T>(20 * kPiL / 180), T(0), static_cast<T>(35 * kPiL / 180));
  const cow_2DArray<T> d = q.cosines();
  ASSERT_GT(static_cast<double>(d.ConstGet(2, 2)), 0.9);
  const T components[4] = {T(10), T(-20), T(30), T(15)};
  utf_Tensor<T> tensor(res_Tensor3dPlanar, components, false);
  tensor.transformControl(d);
  ASSERT_EQ(tensor.size(), 4);
  EXPECT_EQ(tensor.type(), res_Tensor3dPlanar);

  const RealMatrix full = turnedBack(tableOf(d), matrixOf(res_Tensor3dPlanar, components));
  expectNear(tensor.data(), layoutComponents(res_Tensor3dPlanar, full), 4, 30, tolerance<T>());
  EXPECT_GT(std::fabs(static_cast<double>(full.a[2][2]) - 30.0), 1.0) << "a new S33";
  EXPECT_GT(std::fabs(static_cast<double>(full.a[0][2])), 1.0) << "an S13 that is lost";
  EXPECT_GT(std::fabs(static_cast<double>(full.a[1][2])), 1.0) << "an S23 that is lost";
}

TYPED_TEST(TensorTransform, TransformOfATypeThatIsNoTensorTypeChangesNothing) {
  using T = TypeParam;
  const cow_1DArrayList<T> list{T(1), T(2), T(3), T(4), T(5), T(6)};
  const T values[4] = {T(0), T(0), sqrtHalf<T>(), sqrtHalf<T>()};
  const utf_Quaternion<T> q(res_Rotation3d, values);
  for (bool engineering : {false, true}) {
    utf_Tensor<T> tensor(static_cast<res_DataTypeEnm>(5), list, engineering);
    const std::vector<T> before = componentsOf(tensor);
    tensor.transform(q, engineering);
    expectUnchanged(tensor, before);
    tensor.transformControl(q, engineering);
    expectUnchanged(tensor, before);
  }
}

TYPED_TEST(TensorTransform, AShortTensorReadsItsMissingComponentsAsZeroAndWritesOnlyItsOwn) {
  using T = TypeParam;
  const T values[4] = {T(0), T(0), sqrtHalf<T>(), sqrtHalf<T>()};
  const utf_Quaternion<T> q(res_Rotation3d, values);
  const cow_1DArrayList<T> list{T(3), T(7)};
  const double tol = tolerance<T>() * 10;
  utf_Tensor<T> byTransform(res_Tensor3dFull, list, false);
  byTransform.transform(q, true);
  ASSERT_EQ(byTransform.size(), 2);
  EXPECT_NEAR(byTransform.data()[0], 7.0, tol);
  EXPECT_NEAR(byTransform.data()[1], 3.0, tol);
  utf_Tensor<T> byTable(res_Tensor3dFull, list, false);
  byTable.transformControl(q, false);
  ASSERT_EQ(byTable.size(), 2);
  EXPECT_NEAR(byTable.data()[0], 7.0, tol);
  EXPECT_NEAR(byTable.data()[1], 3.0, tol);
}

TYPED_TEST(TensorTransform, ComponentsBeyondTheLayoutAreLeftAlone) {
  using T = TypeParam;
  const T values[4] = {T(0), T(0), sqrtHalf<T>(), sqrtHalf<T>()};
  const utf_Quaternion<T> q(res_Rotation3d, values);
  const cow_1DArrayList<T> list{T(1), T(2), T(3), T(40), T(50), T(60)};
  utf_Tensor<T> byTransform(res_Tensor3dSurface, list, false);
  byTransform.transform(q, false);
  utf_Tensor<T> byTable(res_Tensor3dSurface, list, false);
  byTable.transformControl(q, false);
  for (const utf_Tensor<T>* tensor : {&byTransform, &byTable}) {
    ASSERT_EQ(tensor->size(), 6);
    EXPECT_NEAR(tensor->data()[0], 2.0, 1e-5);
    EXPECT_NEAR(tensor->data()[1], 1.0, 1e-5);
    EXPECT_NEAR(tensor->data()[2], -3.0, 1e-5);
    EXPECT_EQ(tensor->data()[3], T(40));
    EXPECT_EQ(tensor->data()[4], T(50));
    EXPECT_EQ(tensor->data()[5], T(60));
  }
}

TYPED_TEST(TensorTransform, ATableSmallerThan3By3IsNotDetectedButTheTableRefusesTheRead) {
  using T = TypeParam;
  // The empty table of a rotation value of another type: the table's own bounds check throws
  // before anything of the tensor is changed.
  const T components[6] = {T(1), T(2), T(3), T(4), T(5), T(6)};
  const T values[4] = {T(0), T(0), T(0), T(1)};
  const utf_Quaternion<T> vectorTyped(res_Vector, values);
  for (res_DataTypeEnm type : {res_Tensor3dFull, res_Tensor3dPlanar}) {
    utf_Tensor<T> tensor(type, components, false);
    const std::vector<T> before = componentsOf(tensor);
    EXPECT_THROW(tensor.transformControl(vectorTyped, false), std::out_of_range);
    expectUnchanged(tensor, before);
    EXPECT_THROW(tensor.transformControl(cow_2DArray<T>(2, 2, T(1))), std::out_of_range);
    expectUnchanged(tensor, before);
  }
}

TYPED_TEST(TensorTransform, ALargerTableIsReadInItsUpperLeft3By3Block) {
  using T = TypeParam;
  cow_2DArray<T> d(4, 4, T(9));
  const T rows[3][3] = {{T(0), T(1), T(0)}, {T(-1), T(0), T(0)}, {T(0), T(0), T(1)}};
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      d.Get(i, j) = rows[i][j];
    }
  }
  const T components[4] = {T(1), T(2), T(3), T(4)};
  utf_Tensor<T> tensor(res_Tensor2dPlanar, components, false);
  tensor.transformControl(d);
  EXPECT_EQ(componentsOf(tensor), (std::vector<T>{T(2), T(1), T(3), T(-4)}));
}

TYPED_TEST(TensorTransform, TransformDoesNotConsultTheTensorsOwnFlag) {
  using T = TypeParam;
  const utf_Quaternion<T> q = randomRotationFor<T>(res_Tensor3dFull);
  const std::array<T, 6> c = randomComponents<T>(10.0);
  utf_Tensor<T> flagged(res_Tensor3dFull, c.data(), true);
  utf_Tensor<T> clear(res_Tensor3dFull, c.data(), false);
  flagged.transform(q, false);
  clear.transform(q, false);
  expectSameBits(flagged.data(), clear.data(), 6);
  EXPECT_TRUE(flagged.engineeringShear());
}

// ---------------------------------------------------------------------------------------------
// Properties on pseudo-random tensors and rotations.

TYPED_TEST(TensorTransform, TransformAgreesWithALongDoubleATransposedSA) {
  using T = TypeParam;
  for (int n = 0; n < kSamples; ++n) {
    const std::array<T, 6> c = randomComponents<T>(100.0);
    for (res_DataTypeEnm type : kTensorLayouts) {
      const utf_Quaternion<T> q = randomRotationFor<T>(type);
      utf_Tensor<T> tensor(type, c.data(), false);
      tensor.transform(q, false);
      expectNear(tensor.data(), reference(type, c.data(), q), countOf(type),
                 largestMagnitude(c.data(), countOf(type)), tolerance<T>());
    }
  }
}

TYPED_TEST(TensorTransform, TransformFollowsTheOrderOfEvaluationAndTheFloatRulesBitForBit) {
  using T = TypeParam;
  for (int n = 0; n < kSamples; ++n) {
    const std::array<T, 6> c = randomComponents<T>(1000.0);
    const bool engineering = n % 2 == 1;
    for (res_DataTypeEnm type : kTensorLayouts) {
      const utf_Quaternion<T> q = randomRotationFor<T>(type);
      utf_Tensor<T> tensor(type, c.data(), false);
      tensor.transform(q, engineering);
      std::array<T, 6> expected = c;
      expectedTransform(type, q.data(), engineering, expected.data());
      expectSameBits(tensor.data(), expected.data(), countOf(type));
    }
  }
}

TYPED_TEST(TensorTransform, TransformControlFollowsTheMatrixProductsBitForBit) {
  using T = TypeParam;
  for (int n = 0; n < kSamples; ++n) {
    const utf_Quaternion<T> q = randomRotationFor<T>(res_Tensor3dFull);
    const cow_2DArray<T> d = q.cosines();
    const std::array<T, 6> c = randomComponents<T>(1000.0);
    utf_Tensor<T> tensor(res_Tensor3dFull, c.data(), n % 2 == 0);
    tensor.transformControl(d);

    const T m[3][3] = {{c[0], c[3], c[4]}, {c[3], c[1], c[5]}, {c[4], c[5], c[2]}};
    T p[3][3] = {};
    T r[3][3] = {};
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) {
        for (int k = 0; k < 3; ++k) {
          p[i][j] = p[i][j] + d.ConstGet(k, i) * m[k][j];
        }
      }
    }
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) {
        for (int k = 0; k < 3; ++k) {
          r[i][j] = r[i][j] + p[i][k] * d.ConstGet(k, j);
        }
      }
    }
    const T expected[6] = {r[0][0], r[1][1], r[2][2], r[0][1], r[0][2], r[1][2]};
    expectSameBits(tensor.data(), expected, 6);
  }
}

TYPED_TEST(TensorTransform, TransformControlByARotationEqualsTransformWithoutTheFlag) {
  using T = TypeParam;
  // Full layout by a 3D rotation, and the 2D layouts by a 2D rotation (whose table is the full
  // in-plane table).
  for (int n = 0; n < kSamples; ++n) {
    const std::array<T, 6> c = randomComponents<T>(100.0);
    for (res_DataTypeEnm type : {res_Tensor3dFull, res_Tensor2dPlanar, res_Tensor2dSurface}) {
      const utf_Quaternion<T> q = randomRotationFor<T>(type);
      utf_Tensor<T> byTable(type, c.data(), false);
      utf_Tensor<T> byTransform(type, c.data(), false);
      byTable.transformControl(q, n % 2 == 0);
      byTransform.transform(q, false);
      const Real scale = largestMagnitude(c.data(), countOf(type));
      for (int i = 0; i < countOf(type); ++i) {
        EXPECT_NEAR(byTable.data()[i], byTransform.data()[i],
                    2 * tolerance<T>() * static_cast<double>(scale))
            << "type " << type << " slot " << i;
      }
    }
  }
}

TYPED_TEST(TensorTransform, TransformAllocatesNothing) {
  using T = TypeParam;
  std::vector<std::array<T, 6>> arrays;
  std::vector<utf_Quaternion<T>> rotations;
  for (res_DataTypeEnm type : kTensorLayouts) {
    arrays.push_back(randomComponents<T>(10.0));
    rotations.push_back(randomRotationFor<T>(type));
  }
  std::vector<utf_Tensor<T>> tensors;
  tensors.reserve(5);
  for (int i = 0; i < 5; ++i) {
    tensors.emplace_back(kTensorLayouts[i], static_cast<const T*>(arrays[i].data()), false);
  }
  const AllocationCounter counter;
  for (int n = 0; n < 100; ++n) {
    for (int i = 0; i < 5; ++i) {
      tensors[i].transform(rotations[i], n % 2 == 0);
    }
  }
  EXPECT_EQ(counter.Count(), 0);
}

} // namespace
