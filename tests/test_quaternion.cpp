// utf_Quaternion<T>: the rotation value of type 7 (x, y, z, w) or 6 (sin(t/2), cos(t/2)).

#include "test_support.h"

#include <cmath>
#include <string>
#include <type_traits>
#include <typeinfo>

namespace {

const int kSamples = 4000;
const char* const kSource = utf_QuaternionAssertLine::source;
const res_DataTypeEnm kOtherType = res_Tensor3dFull;

template <typename T>
double tolerance() {
  return std::is_same<T, float>::value ? 4e-6 : 2e-14;
}

// Opens the protected constructor (type only) to the tests.
template <typename T>
class EmptyQuaternion : public utf_Quaternion<T> {
public:
  explicit EmptyQuaternion(res_DataTypeEnm type) : utf_Quaternion<T>(type) {}
};

// The Hamilton product r = q (x) p in T, written out independently of the kernel.
template <typename T>
void hamilton(const T* q, const T* p, T* r) {
  r[0] = q[0] * p[3] + q[1] * p[2] - q[2] * p[1] + q[3] * p[0];
  r[1] = -q[0] * p[2] + q[1] * p[3] + q[2] * p[0] + q[3] * p[1];
  r[2] = q[0] * p[1] - q[1] * p[0] + q[2] * p[3] + q[3] * p[2];
  r[3] = -q[0] * p[0] - q[1] * p[1] - q[2] * p[2] + q[3] * p[3];
}

template <typename T>
void expectComponents(const utf_Quaternion<T>& q, std::initializer_list<T> expected) {
  ASSERT_EQ(q.size(), static_cast<int>(expected.size()));
  int i = 0;
  for (T value : expected) {
    EXPECT_EQ(q.data()[i], value) << "component " << i;
    ++i;
  }
}

template <typename T>
cow_2DArray<T> tableFrom(int rows, int cols, std::initializer_list<T> values) {
  cow_2DArray<T> table(rows, cols, T(0));
  int k = 0;
  for (T value : values) {
    table.Get(k / cols, k % cols) = value;
    ++k;
  }
  return table;
}

template <typename T>
class Quaternion : public ::testing::Test {};
TYPED_TEST_SUITE(Quaternion, utf_Precisions, utf_PrecisionNames);

// --- construction --------------------------------------------------------------------------------

TYPED_TEST(Quaternion, ProtectedConstructorGivesAnEmptyValueOfTheType) {
  using T = TypeParam;
  const AllocationCounter counter;
  const EmptyQuaternion<T> empty(res_Rotation3d);
  EXPECT_EQ(counter.Count(), 0);
  EXPECT_EQ(empty.type(), res_Rotation3d);
  EXPECT_EQ(empty.size(), 0);
  EXPECT_EQ(empty.data(), nullptr);
  EXPECT_FALSE(empty.engineeringShear());
}

TYPED_TEST(Quaternion, ListConstructorCopiesTheListWhateverTheType) {
  using T = TypeParam;
  const cow_1DArrayList<T> list{T(1), T(2), T(3)};
  utf_Quaternion<T> q(res_Rotation3d, list);
  EXPECT_EQ(q.type(), res_Rotation3d);
  EXPECT_TRUE(q.ownsData());
  EXPECT_FALSE(q.engineeringShear());
  expectComponents<T>(q, {T(1), T(2), T(3)});
  q.data()[0] = T(7);
  EXPECT_EQ(list.ConstGet(0), T(1));
}

TYPED_TEST(Quaternion, ConstArrayConstructorCopiesTheTypesComponentCount) {
  using T = TypeParam;
  const T values[4] = {T(0.5), T(-0.5), T(0.5), T(0.5)};
  const utf_Quaternion<T> q3(res_Rotation3d, values);
  EXPECT_TRUE(q3.ownsData());
  EXPECT_NE(q3.data(), values);
  expectComponents<T>(q3, {T(0.5), T(-0.5), T(0.5), T(0.5)});
  const utf_Quaternion<T> q2(res_Rotation2d, values);
  expectComponents<T>(q2, {T(0.5), T(-0.5)});
  const utf_Quaternion<T> other(kOtherType, values);
  EXPECT_EQ(other.size(), 0);
  EXPECT_EQ(other.data(), nullptr);
  EXPECT_EQ(utf_Quaternion<T>::componentCount(res_Rotation2d), 2);
  EXPECT_EQ(utf_Quaternion<T>::componentCount(res_Rotation3d), 4);
  EXPECT_EQ(utf_Quaternion<T>::componentCount(res_Vector), 0);
}

TYPED_TEST(Quaternion, NonConstArrayConstructorViewsTheCallerArray) {
  using T = TypeParam;
  T values[4] = {T(0), T(0), T(0), T(1)};
  const AllocationCounter counter;
  {
    utf_Quaternion<T> view(res_Rotation3d, values);
    EXPECT_EQ(counter.Count(), 0);
    EXPECT_FALSE(view.ownsData());
    EXPECT_EQ(view.data(), values);
    EXPECT_EQ(view.size(), 4);
    view.data()[2] = T(0.25);
  }
  EXPECT_EQ(values[2], T(0.25));
  EXPECT_EQ(values[3], T(1));
}

TYPED_TEST(Quaternion, ZeroAnglesGiveTheIdentity) {
  using T = TypeParam;
  const utf_Quaternion<T> q(T(0), T(0), T(0));
  EXPECT_EQ(q.type(), res_Rotation3d);
  EXPECT_TRUE(q.ownsData());
  expectComponents<T>(q, {T(0), T(0), T(0), T(1)});
}

TYPED_TEST(Quaternion, AnAngleAboutZAloneIsItsHalfAngleSineAndCosine) {
  using T = TypeParam;
  for (int n = 0; n < 200; ++n) {
    const T theta = static_cast<T>(uniform(-kPi, kPi));
    const T half = static_cast<T>(static_cast<double>(theta) / 2.0);
    const utf_Quaternion<T> q(T(0), T(0), theta);
    expectComponents<T>(q, {T(0), T(0), std::sin(half), std::cos(half)});
  }
}

TYPED_TEST(Quaternion, ThreeAnglesFollowTheRoundingRuleBitForBit) {
  using T = TypeParam;
  for (int n = 0; n < kSamples; ++n) {
    const T a = static_cast<T>(uniform(-kPi, kPi));
    const T b = static_cast<T>(uniform(-kPi, kPi));
    const T c = static_cast<T>(uniform(-kPi, kPi));
    // Half angles in double, rounded to T; sine and cosine in T; qa (x) qb, then (x) qc.
    const T ha = static_cast<T>(static_cast<double>(a) / 2.0);
    const T hb = static_cast<T>(static_cast<double>(b) / 2.0);
    const T hc = static_cast<T>(static_cast<double>(c) / 2.0);
    const T qa[4] = {std::sin(ha), T(0), T(0), std::cos(ha)};
    const T qb[4] = {T(0), std::sin(hb), T(0), std::cos(hb)};
    const T qc[4] = {T(0), T(0), std::sin(hc), std::cos(hc)};
    T p[4];
    T expected[4];
    hamilton(qa, qb, p);
    hamilton(p, qc, expected);
    const utf_Quaternion<T> q(a, b, c);
    for (int i = 0; i < 4; ++i) {
      ASSERT_EQ(bitsOf(q.data()[i]), bitsOf(expected[i])) << "sample " << n << " i=" << i;
    }
  }
}

TYPED_TEST(Quaternion, ThreeAnglesMatchTheElementaryRotationsComposedInLongDouble) {
  using T = TypeParam;
  // (a, b, c) rotates by c about Z first, then b about Y, then a about X: the active matrix is
  // R = Rx(a) Ry(b) Rz(c), and the table (rows = new axes) is its transpose.
  for (int n = 0; n < kSamples; ++n) {
    const T a = static_cast<T>(uniform(-kPi, kPi));
    const T b = static_cast<T>(uniform(-kPi, kPi));
    const T c = static_cast<T>(uniform(-kPi, kPi));
    const RealMatrix r = product(product(aboutX(a), aboutY(b)), aboutZ(c));
    const cow_2DArray<T> table = utf_Quaternion<T>(a, b, c).cosines();
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) {
        ASSERT_NEAR(table.ConstGet(i, j), static_cast<double>(r.a[j][i]), 2 * tolerance<T>())
            << "sample " << n << " (" << i << "," << j << ")";
      }
    }
  }
}

TYPED_TEST(Quaternion, AnglesAboutXThenYComposedWithMultEqualTheThreeAngleValue) {
  using T = TypeParam;
  for (int n = 0; n < 500; ++n) {
    const T a = static_cast<T>(uniform(-kPi, kPi));
    const T b = static_cast<T>(uniform(-kPi, kPi));
    const utf_Quaternion<T> first(a, T(0), T(0));
    const utf_Quaternion<T> second(T(0), b, T(0));
    const utf_Quaternion<T> composed = first.mult(second);
    const utf_Quaternion<T> direct(a, b, T(0));
    ASSERT_EQ(composed.size(), 4);
    for (int i = 0; i < 4; ++i) {
      ASSERT_EQ(composed.data()[i], direct.data()[i]) << "sample " << n;
    }
  }
}

TYPED_TEST(Quaternion, TwoVectorsGiveAnInPlaneRotation) {
  using T = TypeParam;
  const double t = 0.8;
  const gsl_Vector u(std::cos(t), std::sin(t), 0);
  const gsl_Vector v(-std::sin(t), std::cos(t), 0);
  const utf_Quaternion<T> q(u, v);
  EXPECT_EQ(q.type(), res_Rotation2d);
  ASSERT_EQ(q.size(), 2);
  EXPECT_TRUE(q.ownsData());
  T expected[2];
  utf_Quat2dBase<T>(expected).set(u, v);
  EXPECT_EQ(bitsOf(q.data()[0]), bitsOf(expected[0]));
  EXPECT_EQ(bitsOf(q.data()[1]), bitsOf(expected[1]));
  EXPECT_NEAR(q.data()[0], std::sin(t / 2), tolerance<T>());
  EXPECT_NEAR(q.data()[1], std::cos(t / 2), tolerance<T>());
}

TYPED_TEST(Quaternion, ThreeVectorsGiveASpatialRotation) {
  using T = TypeParam;
  // A quarter turn about Z, and a left-handed frame that is read as a half turn about X.
  const utf_Quaternion<T> q(gsl_Vector(0, 1, 0), gsl_Vector(-1, 0, 0), gsl_Vector(0, 0, 1));
  EXPECT_EQ(q.type(), res_Rotation3d);
  const double w = 0.5 * std::sqrt(2.0);
  expectComponents<T>(q, {T(0), T(0), static_cast<T>(2.0 / (4.0 * w)), static_cast<T>(w)});
  const utf_Quaternion<T> left(gsl_Vector(1, 0, 0), gsl_Vector(0, 1, 0), gsl_Vector(0, 0, -1));
  expectComponents<T>(left, {T(1), T(0), T(0), T(0)});
}

TYPED_TEST(Quaternion, MatrixConstructorSetsTheKernelOfTheType) {
  using T = TypeParam;
  const double t = -1.2;
  const gsl_Vector x(std::cos(t), std::sin(t), 0);
  const gsl_Vector y(-std::sin(t), std::cos(t), 0);
  const gsl_Vector z(0, 0, 1);
  gsl_Matrix m;
  m.SetRotationVectors(x, y, z);
  const utf_Quaternion<T> q2(res_Rotation2d, m);
  const utf_Quaternion<T> q3(res_Rotation3d, m);
  T e2[2];
  T e3[4];
  utf_Quat2dBase<T>(e2).set(m);
  utf_Quat3dBase<T>(e3).set(m);
  EXPECT_EQ(q2.type(), res_Rotation2d);
  EXPECT_EQ(q3.type(), res_Rotation3d);
  ASSERT_EQ(q2.size(), 2);
  ASSERT_EQ(q3.size(), 4);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(bitsOf(q2.data()[i]), bitsOf(e2[i]));
  }
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(bitsOf(q3.data()[i]), bitsOf(e3[i]));
  }
  // The same rotation both ways: (0, 0, s, c) and (s, c).
  EXPECT_NEAR(q3.data()[2], q2.data()[0], tolerance<T>());
  EXPECT_NEAR(q3.data()[3], q2.data()[1], tolerance<T>());
}

TYPED_TEST(Quaternion, MatrixConstructorRefusesAnotherTypeAndLeaksNothing) {
  using T = TypeParam;
  const gsl_Matrix m;
  const long long before = mem_LiveBlocks();
  expectAssertion([&] { const utf_Quaternion<T> q(kOtherType, m); }, "!\"Unknown quaternion type\"",
                  kSource, utf_QuaternionAssertLine::matrixUnknownType);
  EXPECT_EQ(mem_LiveBlocks(), before);
  expectAssertion([&] { const utf_EngineeringDataPtr<T> p(new utf_Quaternion<T>(res_Vector, m)); },
                  "!\"Unknown quaternion type\"", kSource,
                  utf_QuaternionAssertLine::matrixUnknownType);
  EXPECT_EQ(mem_LiveBlocks(), before) << "the object's block went back too";
}

TYPED_TEST(Quaternion, TableConstructorReadsTheNewAxesFromTheColumns) {
  using T = TypeParam;
  for (int n = 0; n < 1000; ++n) {
    T q[4];
    randomUnitQuaternion(q);
    T rows[3][3];
    utf_Quat3dBase<T>(q).cosines(rows);
    // Columns = new axes: the transpose of the kernel's table.
    cow_2DArray<T> columns(3, 3, T(0));
    cow_2DArray<T> asRows(3, 3, T(0));
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) {
        columns.Get(i, j) = rows[j][i];
        asRows.Get(i, j) = rows[i][j];
      }
    }
    const utf_Quaternion<T> fromColumns(res_Rotation3d, columns);
    ASSERT_EQ(fromColumns.size(), 4);
    EXPECT_TRUE(fromColumns.ownsData());
    double dot = 0;
    for (int i = 0; i < 4; ++i) {
      dot += static_cast<double>(q[i]) * static_cast<double>(fromColumns.data()[i]);
    }
    const double sign = dot < 0 ? -1.0 : 1.0;
    for (int i = 0; i < 4; ++i) {
      ASSERT_NEAR(fromColumns.data()[i], sign * q[i], tolerance<T>()) << "sample " << n;
    }
    // A table given with the new axes as rows is read as the inverse rotation.
    const utf_Quaternion<T> fromRows(res_Rotation3d, asRows);
    dot = 0;
    const T conjugate[4] = {-q[0], -q[1], -q[2], q[3]};
    for (int i = 0; i < 4; ++i) {
      dot += static_cast<double>(conjugate[i]) * static_cast<double>(fromRows.data()[i]);
    }
    const double sign2 = dot < 0 ? -1.0 : 1.0;
    for (int i = 0; i < 4; ++i) {
      ASSERT_NEAR(fromRows.data()[i], sign2 * conjugate[i], tolerance<T>()) << "sample " << n;
    }
  }
}

TYPED_TEST(Quaternion, TableConstructorForAnInPlaneRotationReadsTheUpperLeftBlockOnly) {
  using T = TypeParam;
  const double t = 0.6;
  const T c = static_cast<T>(std::cos(t));
  const T s = static_cast<T>(std::sin(t));
  // Columns (c, s) and (-s, c): the new X and Y axes of a turn by t.
  const utf_Quaternion<T> small(res_Rotation2d, tableFrom<T>(2, 2, {c, -s, s, c}));
  const utf_Quaternion<T> large(res_Rotation2d,
                                tableFrom<T>(3, 3, {c, -s, T(9), s, c, T(-4), T(3), T(8), T(7)}));
  EXPECT_EQ(small.type(), res_Rotation2d);
  ASSERT_EQ(small.size(), 2);
  ASSERT_EQ(large.size(), 2);
  EXPECT_EQ(bitsOf(small.data()[0]), bitsOf(large.data()[0]));
  EXPECT_EQ(bitsOf(small.data()[1]), bitsOf(large.data()[1]));
  EXPECT_NEAR(small.data()[0], std::sin(t / 2), tolerance<T>());
  EXPECT_NEAR(small.data()[1], std::cos(t / 2), tolerance<T>());
}

TYPED_TEST(Quaternion, ATwoByThreeTableForAnInPlaneRotationFailsOnItsColumns) {
  using T = TypeParam;
  const cow_2DArray<T> table = tableFrom<T>(2, 3, {T(1), T(0), T(0), T(0), T(1), T(0)});
  const long long before = mem_LiveBlocks();
  expectAssertion([&] { const utf_Quaternion<T> q(res_Rotation2d, table); }, "c.Cols() == 2",
                  kSource, utf_QuaternionAssertLine::table2dTwoColumns);
  EXPECT_EQ(mem_LiveBlocks(), before);
}

TYPED_TEST(Quaternion, TableConstructorChecksTheShapeAndLeaksNothing) {
  using T = TypeParam;
  const long long before = mem_LiveBlocks();
  {
    const cow_2DArray<T> t23(2, 3, T(0));
    const cow_2DArray<T> t32(3, 2, T(0));
    const cow_2DArray<T> t44(4, 4, T(0));
    const cow_2DArray<T> t12(1, 2, T(0));
    const cow_2DArray<T> t33(3, 3, T(0));
    const cow_2DArray<T> empty;
    expectAssertion([&] { const utf_Quaternion<T> q(res_Rotation3d, t23); },
                    "c.Rows() == 3 && c.Cols() == 3", kSource,
                    utf_QuaternionAssertLine::table3dShape);
    expectAssertion([&] { const utf_Quaternion<T> q(res_Rotation3d, t32); },
                    "c.Rows() == 3 && c.Cols() == 3", kSource,
                    utf_QuaternionAssertLine::table3dShape);
    expectAssertion([&] { const utf_Quaternion<T> q(res_Rotation3d, empty); },
                    "c.Rows() == 3 && c.Cols() == 3", kSource,
                    utf_QuaternionAssertLine::table3dShape);
    expectAssertion([&] { const utf_Quaternion<T> q(res_Rotation2d, t44); },
                    "c.Rows()==2 || c.Rows()==3", kSource, utf_QuaternionAssertLine::table2dRows);
    expectAssertion([&] { const utf_Quaternion<T> q(res_Rotation2d, t12); },
                    "c.Rows()==2 || c.Rows()==3", kSource, utf_QuaternionAssertLine::table2dRows);
    expectAssertion([&] { const utf_Quaternion<T> q(res_Rotation2d, t23); }, "c.Cols() == 2",
                    kSource, utf_QuaternionAssertLine::table2dTwoColumns);
    expectAssertion([&] { const utf_Quaternion<T> q(res_Rotation2d, t32); }, "c.Cols() == 3",
                    kSource, utf_QuaternionAssertLine::table2dThreeColumns);
    expectAssertion([&] { const utf_Quaternion<T> q(kOtherType, t33); },
                    "!\"Unknown quaternion type\"", kSource,
                    utf_QuaternionAssertLine::tableUnknownType);
    expectAssertion(
        [&] { const utf_EngineeringDataPtr<T> p(new utf_Quaternion<T>(res_Rotation2d, t23)); },
        "c.Cols() == 2", kSource, utf_QuaternionAssertLine::table2dTwoColumns);
  }
  EXPECT_EQ(mem_LiveBlocks(), before);
}

TYPED_TEST(Quaternion, TheAssertionLinesAreDistinct) {
  const int lines[] = {utf_QuaternionAssertLine::matrixUnknownType,
                       utf_QuaternionAssertLine::table3dShape,
                       utf_QuaternionAssertLine::table2dRows,
                       utf_QuaternionAssertLine::table2dTwoColumns,
                       utf_QuaternionAssertLine::table2dThreeColumns,
                       utf_QuaternionAssertLine::tableUnknownType,
                       utf_QuaternionAssertLine::multType};
  for (int i = 0; i < 7; ++i) {
    EXPECT_GT(lines[i], 0);
    for (int j = 0; j < i; ++j) {
      EXPECT_NE(lines[i], lines[j]) << "every check reports a line of its own";
    }
  }
}

// --- Copy ----------------------------------------------------------------------------------------

TYPED_TEST(Quaternion, CopyIsAnOwningQuaternion) {
  using T = TypeParam;
  T values[4] = {T(0.5), T(0.5), T(-0.5), T(0.5)};
  const utf_Quaternion<T> view(res_Rotation3d, values);
  const long long before = mem_LiveBlocks();
  {
    const utf_EngineeringDataPtr<T> copy(view.Copy());
    EXPECT_EQ(mem_LiveBlocks(), before + 2);
    EXPECT_TRUE(typeid(*copy) == typeid(utf_Quaternion<T>));
    EXPECT_EQ(copy->type(), res_Rotation3d);
    EXPECT_TRUE(copy->ownsData());
    EXPECT_NE(copy->data(), values);
    ASSERT_EQ(copy->size(), 4);
    for (int i = 0; i < 4; ++i) {
      EXPECT_EQ(copy->data()[i], values[i]);
    }
    // The copy works as a rotation.
    const auto& rotation = dynamic_cast<const utf_Quaternion<T>&>(*copy);
    EXPECT_EQ(rotation.cosines().Rows(), 3);
  }
  EXPECT_EQ(mem_LiveBlocks(), before);
}

// --- cosines -------------------------------------------------------------------------------------

TYPED_TEST(Quaternion, KernelTableFormIsTheKernelsTable) {
  using T = TypeParam;
  T q3[4];
  randomUnitQuaternion(q3);
  T expected3[3][3];
  utf_Quat3dBase<T>(q3).cosines(expected3);
  T table3[3][3];
  utf_Quaternion<T>(res_Rotation3d, q3).cosines(table3);
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      EXPECT_EQ(bitsOf(table3[i][j]), bitsOf(expected3[i][j]));
    }
  }
  // Type 6: the 2D kernel's own table, second row zeros and c[2][0], c[2][1] untouched.
  T q2[2] = {static_cast<T>(std::sin(0.35)), static_cast<T>(std::cos(0.35))};
  T table2[3][3] = {{T(5), T(5), T(5)}, {T(5), T(5), T(5)}, {T(7), T(-9), T(5)}};
  utf_Quaternion<T>(res_Rotation2d, q2).cosines(table2);
  EXPECT_NEAR(table2[0][0], std::cos(0.7), tolerance<T>());
  EXPECT_EQ(table2[1][0], T(0));
  EXPECT_EQ(table2[1][1], T(0));
  EXPECT_EQ(table2[2][0], T(7));
  EXPECT_EQ(table2[2][1], T(-9));
  EXPECT_EQ(table2[2][2], T(1));
}

TYPED_TEST(Quaternion, KernelTableFormWritesNothingForAnotherType) {
  using T = TypeParam;
  const T values[4] = {T(0), T(0), T(0), T(1)};
  const utf_Quaternion<T> other(kOtherType,
                                cow_1DArrayList<T>{values[0], values[1], values[2], values[3]});
  T table[3][3];
  for (auto& row : table) {
    for (T& entry : row) {
      entry = T(3);
    }
  }
  other.cosines(table);
  for (auto& row : table) {
    for (T entry : row) {
      EXPECT_EQ(entry, T(3));
    }
  }
}

TYPED_TEST(Quaternion, SpatialTableFollowsTheRoundingRuleBitForBit) {
  using T = TypeParam;
  for (int n = 0; n < kSamples; ++n) {
    T q[4];
    for (T& value : q) {
      value = static_cast<T>(uniform(-1.5, 1.5));
    }
    const PrescribedTable<T> expected = prescribedTable3d(q);
    const cow_2DArray<T> table = utf_Quaternion<T>(res_Rotation3d, q).cosines();
    ASSERT_EQ(table.Rows(), 3);
    ASSERT_EQ(table.Cols(), 3);
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) {
        ASSERT_EQ(bitsOf(table.ConstGet(i, j)), bitsOf(expected.a[i][j])) << "sample " << n;
      }
    }
  }
}

TYPED_TEST(Quaternion, InPlaneTableFollowsTheRoundingRuleBitForBit) {
  using T = TypeParam;
  for (int n = 0; n < kSamples; ++n) {
    const T s = static_cast<T>(uniform(-1.0, 1.0));
    const T c = static_cast<T>(uniform(-1.0, 1.0));
    const T values[2] = {s, c};
    const PrescribedTable<T> expected = prescribedTable2d(values);
    const cow_2DArray<T> table = utf_Quaternion<T>(res_Rotation2d, values).cosines();
    ASSERT_EQ(table.Rows(), 3);
    ASSERT_EQ(table.Cols(), 3);
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) {
        ASSERT_EQ(bitsOf(table.ConstGet(i, j)), bitsOf(expected.a[i][j])) << "sample " << n;
      }
    }
  }
}

TYPED_TEST(Quaternion, InPlaneTableOfAQuarterTurn) {
  using T = TypeParam;
  const T values[2] = {static_cast<T>(std::sin(kPi / 4)), static_cast<T>(std::cos(kPi / 4))};
  const cow_2DArray<T> table = utf_Quaternion<T>(res_Rotation2d, values).cosines();
  const double expected[3][3] = {{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}};
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      EXPECT_NEAR(table.ConstGet(i, j), expected[i][j], tolerance<T>());
    }
  }
}

TYPED_TEST(Quaternion, TableOfAnotherTypeIsEmpty) {
  using T = TypeParam;
  const T values[4] = {T(0), T(0), T(0), T(1)};
  const utf_Quaternion<T> other(kOtherType,
                                cow_1DArrayList<T>{values[0], values[1], values[2], values[3]});
  const cow_2DArray<T> table = other.cosines();
  EXPECT_EQ(table.Rows(), 0);
  EXPECT_EQ(table.Cols(), 0);
}

// --- mult, inverse, toVector ---------------------------------------------------------------------

TYPED_TEST(Quaternion, MultIsThisAfterTheArgument) {
  using T = TypeParam;
  T q[4];
  T p[4];
  randomUnitQuaternion(q);
  randomUnitQuaternion(p);
  const utf_Quaternion<T> left(res_Rotation3d, static_cast<const T*>(q));
  const utf_Quaternion<T> right(res_Rotation3d, static_cast<const T*>(p));
  const utf_Quaternion<T> r = left.mult(right);
  T expected[4];
  hamilton<T>(q, p, expected);
  EXPECT_EQ(r.type(), res_Rotation3d);
  EXPECT_TRUE(r.ownsData());
  ASSERT_EQ(r.size(), 4);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(bitsOf(r.data()[i]), bitsOf(expected[i]));
  }
  // In the plane: the half angles add.
  const T a[2] = {static_cast<T>(std::sin(0.2)), static_cast<T>(std::cos(0.2))};
  const T b[2] = {static_cast<T>(std::sin(0.3)), static_cast<T>(std::cos(0.3))};
  const utf_Quaternion<T> r2 =
      utf_Quaternion<T>(res_Rotation2d, a).mult(utf_Quaternion<T>(res_Rotation2d, b));
  EXPECT_EQ(r2.type(), res_Rotation2d);
  ASSERT_EQ(r2.size(), 2);
  EXPECT_EQ(r2.data()[0], a[0] * b[1] + a[1] * b[0]);
  EXPECT_EQ(r2.data()[1], -a[0] * b[0] + a[1] * b[1]);
  EXPECT_NEAR(r2.data()[0], std::sin(0.5), tolerance<T>());
}

TYPED_TEST(Quaternion, MultOfDifferentTypesFailsAndChangesNothing) {
  using T = TypeParam;
  const T v2[2] = {T(0.6), T(0.8)};
  const T v3[4] = {T(0.5), T(0.5), T(0.5), T(0.5)};
  const utf_Quaternion<T> inPlane(res_Rotation2d, v2);
  const utf_Quaternion<T> spatial(res_Rotation3d, v3);
  const long long before = mem_LiveBlocks();
  expectAssertion([&] { inPlane.mult(spatial); }, "utf_EngineeringData<T>::type() == rhs.type()",
                  kSource, utf_QuaternionAssertLine::multType);
  expectAssertion([&] { spatial.mult(inPlane); }, "utf_EngineeringData<T>::type() == rhs.type()",
                  kSource, utf_QuaternionAssertLine::multType);
  EXPECT_EQ(mem_LiveBlocks(), before);
  expectComponents<T>(inPlane, {T(0.6), T(0.8)});
  expectComponents<T>(spatial, {T(0.5), T(0.5), T(0.5), T(0.5)});
}

TYPED_TEST(Quaternion, MultOfAnotherTypeGivesAnEmptyValueOfThatType) {
  using T = TypeParam;
  const cow_1DArrayList<T> list{T(1), T(2)};
  const utf_Quaternion<T> a(kOtherType, list);
  const utf_Quaternion<T> r = a.mult(a);
  EXPECT_EQ(r.type(), kOtherType);
  EXPECT_EQ(r.size(), 0);
  EXPECT_EQ(r.data(), nullptr);
}

TYPED_TEST(Quaternion, InverseIsTheConjugateOfTheSameType) {
  using T = TypeParam;
  const T v3[4] = {T(0.5), T(-0.5), T(0.5), T(0.5)};
  const utf_Quaternion<T> q(res_Rotation3d, v3);
  const utf_Quaternion<T> inv = q.inverse();
  EXPECT_EQ(inv.type(), res_Rotation3d);
  EXPECT_TRUE(inv.ownsData());
  expectComponents<T>(inv, {T(-0.5), T(0.5), T(-0.5), T(0.5)});
  expectComponents<T>(q.mult(inv), {T(0), T(0), T(0), T(1)});
  const T v2[2] = {T(0.6), T(0.8)};
  expectComponents<T>(utf_Quaternion<T>(res_Rotation2d, v2).inverse(), {T(-0.6), T(0.8)});
  const utf_Quaternion<T> other(kOtherType, cow_1DArrayList<T>{T(1), T(2), T(3), T(4)});
  const utf_Quaternion<T> otherInverse = other.inverse();
  EXPECT_EQ(otherInverse.type(), kOtherType);
  EXPECT_EQ(otherInverse.size(), 0);
}

TYPED_TEST(Quaternion, ToVectorIsAnOwningVectorOfTheKernelsNumbers) {
  using T = TypeParam;
  for (int n = 0; n < 200; ++n) {
    T q[4];
    randomUnitQuaternion(q);
    T expected[3];
    utf_Quat3dBase<T>(q).toVector(expected);
    const utf_Vector<T> v = utf_Quaternion<T>(res_Rotation3d, q).toVector();
    EXPECT_EQ(v.type(), res_Vector);
    EXPECT_TRUE(v.ownsData());
    ASSERT_EQ(v.size(), 3);
    for (int i = 0; i < 3; ++i) {
      ASSERT_EQ(bitsOf(v.data()[i]), bitsOf(expected[i]));
    }
  }
  const T q2[2] = {static_cast<T>(std::sin(-0.4)), static_cast<T>(std::cos(-0.4))};
  const utf_Vector<T> v2 = utf_Quaternion<T>(res_Rotation2d, q2).toVector();
  ASSERT_EQ(v2.size(), 3);
  EXPECT_EQ(v2.data()[0], T(0));
  EXPECT_EQ(v2.data()[1], T(0));
  EXPECT_EQ(bitsOf(v2.data()[2]), bitsOf(T(T(2) * std::asin(q2[0]))));
  const utf_Vector<T> none =
      utf_Quaternion<T>(kOtherType, cow_1DArrayList<T>{T(1), T(2), T(3), T(4)}).toVector();
  ASSERT_EQ(none.size(), 3);
  EXPECT_EQ(none.data()[0], T(0));
  EXPECT_EQ(none.data()[1], T(0));
  EXPECT_EQ(none.data()[2], T(0));
}

// --- projectOn -----------------------------------------------------------------------------------

TYPED_TEST(Quaternion, ProjectOnOfAnotherTypeReturnsTrueAndChangesNothing) {
  using T = TypeParam;
  utf_Quaternion<T> other(kOtherType, cow_1DArrayList<T>{T(1), T(2), T(3), T(4)});
  const T v3[4] = {T(0), T(0), T(0), T(1)};
  const utf_Quaternion<T> reference(res_Rotation3d, v3);
  EXPECT_TRUE(other.projectOn(reference, 0, 0.0));
  expectComponents<T>(other, {T(1), T(2), T(3), T(4)});
}

TYPED_TEST(Quaternion, ProjectOnAlignsTheZAxisWithTheOthersThirdColumn) {
  using T = TypeParam;
  for (int n = 0; n < 200; ++n) {
    T q[4];
    T o[4];
    randomUnitQuaternion(q);
    randomUnitQuaternion(o);
    utf_Quaternion<T> value(res_Rotation3d, static_cast<const T*>(q));
    const utf_Quaternion<T> other(res_Rotation3d, static_cast<const T*>(o));
    T ot[3][3];
    utf_Quat3dBase<T>(o).cosines(ot);
    const long double col[3] = {ot[0][2], ot[1][2], ot[2][2]};
    const long double len = std::sqrt(col[0] * col[0] + col[1] * col[1] + col[2] * col[2]);
    T before[3][3];
    utf_Quat3dBase<T>(q).cosines(before);
    long double along = 0;
    for (int i = 0; i < 3; ++i) {
      along += col[i] / len * before[1][i];
    }
    const bool accepted = value.projectOn(other, 1, 0.9);
    // Rows are close to unit length, so the refusal rule is |row . normal| > 0.9.
    if (std::fabs(along) > 0.9L + 1e-5L || std::fabs(along) < 0.9L - 1e-5L) {
      ASSERT_EQ(accepted, std::fabs(along) <= 0.9L) << "sample " << n;
    }
    if (!accepted) {
      for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(bitsOf(value.data()[i]), bitsOf(q[i])) << "unchanged when refused";
      }
      continue;
    }
    const cow_2DArray<T> after = value.cosines();
    for (int i = 0; i < 3; ++i) {
      ASSERT_NEAR(after.ConstGet(2, i), static_cast<double>(col[i] / len), 8 * tolerance<T>());
    }
  }
}

TYPED_TEST(Quaternion, ProjectOnOfAnInPlaneRotationUsesTheNormalOfTheOther) {
  using T = TypeParam;
  // The other in-plane rotation's kernel table has the third column (0, 0, 1); axis 0 of the
  // identity, (1, 0, 0), becomes the new Y axis: a turn by -pi / 2.
  T v[2] = {T(0), T(1)};
  utf_Quaternion<T> value(res_Rotation2d, v);
  const T w[2] = {static_cast<T>(std::sin(0.3)), static_cast<T>(std::cos(0.3))};
  EXPECT_TRUE(value.projectOn(utf_Quaternion<T>(res_Rotation2d, w), 0, 0.9));
  EXPECT_EQ(v[0], static_cast<T>(std::sin(-kPi / 4)));
  EXPECT_EQ(v[1], static_cast<T>(std::cos(-kPi / 4)));
  // Refused: axis 2 is (0, 0, 1), along the normal.
  T u[2] = {T(0.6), T(0.8)};
  utf_Quaternion<T> refused(res_Rotation2d, u);
  EXPECT_FALSE(refused.projectOn(utf_Quaternion<T>(res_Rotation2d, w), 2, 0.9));
  EXPECT_EQ(u[0], T(0.6));
  EXPECT_EQ(u[1], T(0.8));
}

// --- Print ---------------------------------------------------------------------------------------

TYPED_TEST(Quaternion, PrintOfTheIdentityWithIndentTwo) {
  using T = TypeParam;
  const utf_Quaternion<T> q(T(0), T(0), T(0));
  aio_ostream out;
  q.Print(out, 2);
  EXPECT_EQ(out.Str(), "  Qauternion: 0 0 0 1 \n"
                       "      Vector: 0 0 0 \n"
                       "      As transformation matrix:\n"
                       "          1 0 0 \n"
                       "          0 1 0 \n"
                       "          0 0 1 \n");
}

TYPED_TEST(Quaternion, PrintOfTheIdentityWithoutIndent) {
  using T = TypeParam;
  const utf_Quaternion<T> q(T(0), T(0), T(0));
  aio_ostream out;
  q.Print(out, 0);
  EXPECT_EQ(out.Str(), "Qauternion: 0 0 0 1 \n"
                       "    Vector: 0 0 0 \n"
                       "    As transformation matrix:\n"
                       "        1 0 0 \n"
                       "        0 1 0 \n"
                       "        0 0 1 \n");
}

TYPED_TEST(Quaternion, PrintOfAQuarterTurnAboutZ) {
  using T = TypeParam;
  // Worked by hand as for the kernel: double sin(pi/4) = 0.7071067811865475 and cos(pi/4) =
  // 0.7071067811865476; in float both are 0.70710677.
  const T values[4] = {T(0), T(0), static_cast<T>(std::sin(kPi / 4)),
                       static_cast<T>(std::cos(kPi / 4))};
  const utf_Quaternion<T> q(res_Rotation3d, values);
  aio_ostream zero;
  q.Print(zero, 0);
  aio_ostream two;
  q.Print(two, 2);
  const bool single = std::is_same<T, float>::value;
  const std::string expectedZero = single
                                       ? "Qauternion: 0 0 0.7071067690849304 0.7071067690849304 \n"
                                         "    Vector: 0 0 1.5707963705062866 \n"
                                         "    As transformation matrix:\n"
                                         "        0 0.9999999403953552 0 \n"
                                         "        -0.9999999403953552 0 0 \n"
                                         "        0 0 0.9999999403953552 \n"
                                       : "Qauternion: 0 0 0.7071067811865475 0.7071067811865476 \n"
                                         "    Vector: 0 0 1.5707963267948963 \n"
                                         "    As transformation matrix:\n"
                                         "        2.220446049250313e-16 1 0 \n"
                                         "        -1 2.220446049250313e-16 0 \n"
                                         "        0 0 1 \n";
  const std::string expectedTwo = single
                                      ? "  Qauternion: 0 0 0.7071067690849304 0.7071067690849304 \n"
                                        "      Vector: 0 0 1.5707963705062866 \n"
                                        "      As transformation matrix:\n"
                                        "          0 0.9999999403953552 0 \n"
                                        "          -0.9999999403953552 0 0 \n"
                                        "          0 0 0.9999999403953552 \n"
                                      : "  Qauternion: 0 0 0.7071067811865475 0.7071067811865476 \n"
                                        "      Vector: 0 0 1.5707963267948963 \n"
                                        "      As transformation matrix:\n"
                                        "          2.220446049250313e-16 1 0 \n"
                                        "          -1 2.220446049250313e-16 0 \n"
                                        "          0 0 1 \n";
  EXPECT_EQ(zero.Str(), expectedZero);
  EXPECT_EQ(two.Str(), expectedTwo);
}

TYPED_TEST(Quaternion, PrintOfAnInPlaneQuarterTurnShowsTheFullInPlaneTable) {
  using T = TypeParam;
  // The value's own table (not the 2D kernel's): 1 - 2 s^2 is 2^-52 in double, 2^-24 in float.
  const T values[2] = {static_cast<T>(std::sin(kPi / 4)), static_cast<T>(std::cos(kPi / 4))};
  const utf_Quaternion<T> q(res_Rotation2d, values);
  aio_ostream out;
  q.Print(out, 1);
  const std::string expected = std::is_same<T, float>::value
                                   ? " Qauternion: 0.7071067690849304 0.7071067690849304 \n"
                                     "     Vector: 0 0 1.570796251296997 \n"
                                     "     As transformation matrix:\n"
                                     "         5.960464477539063e-08 0.9999999403953552 0 \n"
                                     "         -0.9999999403953552 5.960464477539063e-08 0 \n"
                                     "         0 0 1 \n"
                                   : " Qauternion: 0.7071067811865475 0.7071067811865476 \n"
                                     "     Vector: 0 0 1.5707963267948963 \n"
                                     "     As transformation matrix:\n"
                                     "         2.220446049250313e-16 1 0 \n"
                                     "         -1 2.220446049250313e-16 0 \n"
                                     "         0 0 1 \n";
  EXPECT_EQ(out.Str(), expected);
}

TYPED_TEST(Quaternion, PrintOfAnotherTypeWritesNoRows) {
  using T = TypeParam;
  const utf_Quaternion<T> other(kOtherType, cow_1DArrayList<T>{T(1), T(-2)});
  aio_ostream out;
  other.Print(out, 0);
  EXPECT_EQ(out.Str(), "Qauternion: 1 -2 \n"
                       "    Vector: 0 0 0 \n"
                       "    As transformation matrix:\n");
}

TYPED_TEST(Quaternion, KernelFormsAllocateNothing) {
  using T = TypeParam;
  T q[4];
  randomUnitQuaternion(q);
  const utf_Quaternion<T> value(res_Rotation3d, q);
  T table[3][3];
  const AllocationCounter counter;
  value.cosines(table);
  EXPECT_EQ(counter.Count(), 0);
}

} // namespace
