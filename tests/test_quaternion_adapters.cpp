// utf_QuaternionFloatAdapter and utf_QuaternionDoubleAdapter: rotations built from, and giving
// back, tables as nested lists.

#include "test_support.h"

#include <cmath>
#include <type_traits>
#include <typeinfo>

namespace {

const char* const kQuaternionSource = utf_QuaternionAssertLine::source;

template <typename T>
struct AdapterOf;
template <>
struct AdapterOf<float> {
  using type = utf_QuaternionFloatAdapter;
  static const char* source() { return utf_QuaternionAdapterAssertLine::floatSource; }
};
template <>
struct AdapterOf<double> {
  using type = utf_QuaternionDoubleAdapter;
  static const char* source() { return utf_QuaternionAdapterAssertLine::doubleSource; }
};

template <typename T>
using Rows = cow_1DArrayList<cow_1DArrayList<T>>;

template <typename T>
double tolerance() {
  return std::is_same<T, float>::value ? 4e-6 : 2e-14;
}

// Nested lists from a row-major 3 x 3 table.
template <typename T>
Rows<T> nested(const T (&table)[3][3]) {
  Rows<T> rows;
  for (const auto& entries : table) {
    rows.Append(cow_1DArrayList<T>{entries[0], entries[1], entries[2]});
  }
  return rows;
}

template <typename T>
void expectRowsEqualTable(const Rows<T>& rows, const cow_2DArray<T>& table) {
  ASSERT_EQ(rows.Size(), 3);
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(rows.ConstGet(i).Size(), 3) << "row " << i;
    for (int j = 0; j < 3; ++j) {
      EXPECT_EQ(bitsOf(rows.ConstGet(i).ConstGet(j)), bitsOf(table.ConstGet(i, j)));
    }
  }
}

template <typename T>
class QuaternionAdapter : public ::testing::Test {};
TYPED_TEST_SUITE(QuaternionAdapter, utf_Precisions, utf_PrecisionNames);

TYPED_TEST(QuaternionAdapter, IsAQuaternionWithAClassIdentityOfItsOwnAndNoField) {
  using T = TypeParam;
  using Adapter = typename AdapterOf<T>::type;
  EXPECT_TRUE((std::is_base_of<utf_Quaternion<T>, Adapter>::value));
  EXPECT_EQ(sizeof(Adapter), sizeof(utf_EngineeringData<T>));
  const T values[4] = {T(0), T(0), T(0), T(1)};
  const Adapter adapter{utf_Quaternion<T>(res_Rotation3d, values)};
  const utf_Quaternion<T>& asQuaternion = adapter;
  EXPECT_TRUE(typeid(asQuaternion) == typeid(Adapter));
  EXPECT_FALSE(typeid(asQuaternion) == typeid(utf_Quaternion<T>));
}

TYPED_TEST(QuaternionAdapter, ConstructorFromAQuaternionOwnsACopyWithItsType) {
  using T = TypeParam;
  using Adapter = typename AdapterOf<T>::type;
  T values[2] = {T(0.6), T(0.8)};
  const utf_Quaternion<T> view(res_Rotation2d, values);
  const Adapter adapter(view);
  EXPECT_EQ(adapter.type(), res_Rotation2d);
  EXPECT_TRUE(adapter.ownsData());
  EXPECT_NE(adapter.data(), values);
  ASSERT_EQ(adapter.size(), 2);
  EXPECT_EQ(adapter.data()[0], T(0.6));
  EXPECT_EQ(adapter.data()[1], T(0.8));
}

TYPED_TEST(QuaternionAdapter, NestedIdentityOfTypeSevenGivesTheIdentityRowsBack) {
  using T = TypeParam;
  using Adapter = typename AdapterOf<T>::type;
  const T identity[3][3] = {{T(1), T(0), T(0)}, {T(0), T(1), T(0)}, {T(0), T(0), T(1)}};
  const Adapter adapter(res_Rotation3d, nested(identity));
  EXPECT_EQ(adapter.type(), res_Rotation3d);
  ASSERT_EQ(adapter.size(), 4);
  EXPECT_TRUE(adapter.ownsData());
  EXPECT_EQ(adapter.data()[0], T(0));
  EXPECT_EQ(adapter.data()[1], T(0));
  EXPECT_EQ(adapter.data()[2], T(0));
  EXPECT_EQ(adapter.data()[3], T(1));
  const Rows<T> rows = adapter.cosines();
  ASSERT_EQ(rows.Size(), 3);
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(rows.ConstGet(i).Size(), 3);
    for (int j = 0; j < 3; ++j) {
      EXPECT_EQ(rows.ConstGet(i).ConstGet(j), i == j ? T(1) : T(0));
    }
  }
}

TYPED_TEST(QuaternionAdapter, NestedTableIsReadLikeTheQuaternionsTable) {
  using T = TypeParam;
  using Adapter = typename AdapterOf<T>::type;
  // A turn about a skew axis; its columns are the new axes, as the quaternion's table
  // constructor reads them.
  const utf_Quaternion<double> turn(0.3, -0.7, 1.1);
  const cow_2DArray<double> rowsOfTurn = turn.cosines();
  T columns[3][3];
  cow_2DArray<T> table(3, 3, T(0));
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      columns[i][j] = static_cast<T>(rowsOfTurn.ConstGet(j, i));
      table.Get(i, j) = columns[i][j];
    }
  }
  const Adapter adapter(res_Rotation3d, nested(columns));
  const utf_Quaternion<T> expected(res_Rotation3d, table);
  ASSERT_EQ(adapter.size(), 4);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(bitsOf(adapter.data()[i]), bitsOf(expected.data()[i]));
    EXPECT_NEAR(adapter.data()[i], turn.data()[i], tolerance<T>());
  }
  expectRowsEqualTable(adapter.cosines(), expected.cosines());
}

TYPED_TEST(QuaternionAdapter, NestedTableOfTypeSixUsesTheUpperLeftBlock) {
  using T = TypeParam;
  using Adapter = typename AdapterOf<T>::type;
  const T c = static_cast<T>(std::cos(0.9));
  const T s = static_cast<T>(std::sin(0.9));
  const T table[3][3] = {{c, -s, T(4)}, {s, c, T(-6)}, {T(2), T(3), T(5)}};
  const Adapter adapter(res_Rotation2d, nested(table));
  EXPECT_EQ(adapter.type(), res_Rotation2d);
  ASSERT_EQ(adapter.size(), 2);
  EXPECT_NEAR(adapter.data()[0], std::sin(0.45), tolerance<T>());
  EXPECT_NEAR(adapter.data()[1], std::cos(0.45), tolerance<T>());
}

TYPED_TEST(QuaternionAdapter, CosinesOfTypeSixAreThreeRowsEndingInTheThirdAxis) {
  using T = TypeParam;
  using Adapter = typename AdapterOf<T>::type;
  const T values[2] = {static_cast<T>(std::sin(0.25)), static_cast<T>(std::cos(0.25))};
  const utf_Quaternion<T> q(res_Rotation2d, values);
  const Adapter adapter(q);
  const Rows<T> rows = adapter.cosines();
  expectRowsEqualTable(rows, q.cosines());
  const cow_1DArrayList<T>& last = rows.ConstGet(2);
  EXPECT_EQ(last.ConstGet(0), T(0));
  EXPECT_EQ(last.ConstGet(1), T(0));
  EXPECT_EQ(last.ConstGet(2), T(1));
  EXPECT_NEAR(rows.ConstGet(1).ConstGet(1), std::cos(0.5), tolerance<T>())
      << "the full in-plane table, not the kernel's";
}

TYPED_TEST(QuaternionAdapter, TheKernelFormOfCosinesStaysAvailable) {
  using T = TypeParam;
  using Adapter = typename AdapterOf<T>::type;
  const T values[2] = {static_cast<T>(std::sin(0.25)), static_cast<T>(std::cos(0.25))};
  const Adapter adapter{utf_Quaternion<T>(res_Rotation2d, values)};
  T table[3][3] = {{T(5), T(5), T(5)}, {T(5), T(5), T(5)}, {T(7), T(7), T(5)}};
  adapter.cosines(table);
  EXPECT_EQ(table[1][1], T(0)) << "the 2D kernel's table";
  EXPECT_EQ(table[2][0], T(7));
}

TYPED_TEST(QuaternionAdapter, CopyOfAnAdapterIsAPlainQuaternion) {
  using T = TypeParam;
  using Adapter = typename AdapterOf<T>::type;
  const T values[4] = {T(0.5), T(0.5), T(0.5), T(-0.5)};
  const Adapter adapter{utf_Quaternion<T>(res_Rotation3d, values)};
  const long long before = mem_LiveBlocks();
  {
    const utf_EngineeringDataPtr<T> copy(adapter.Copy());
    EXPECT_TRUE(typeid(*copy) == typeid(utf_Quaternion<T>));
    EXPECT_EQ(copy->type(), res_Rotation3d);
    EXPECT_TRUE(copy->ownsData());
    ASSERT_EQ(copy->size(), 4);
    for (int i = 0; i < 4; ++i) {
      EXPECT_EQ(copy->data()[i], values[i]);
    }
  }
  EXPECT_EQ(mem_LiveBlocks(), before);
}

TYPED_TEST(QuaternionAdapter, NotThreeRowsFails) {
  using T = TypeParam;
  using Adapter = typename AdapterOf<T>::type;
  Rows<T> two;
  two.Append(cow_1DArrayList<T>{T(1), T(0), T(0)});
  two.Append(cow_1DArrayList<T>{T(0), T(1)}); // not reached: the outer count is checked first
  Rows<T> four;
  for (int i = 0; i < 4; ++i) {
    four.Append(cow_1DArrayList<T>{T(1), T(0), T(0)});
  }
  const long long before = mem_LiveBlocks();
  for (const Rows<T>* rows : {&two, &four}) {
    expectAssertion([&] { const Adapter adapter(res_Rotation3d, *rows); }, "lcs.Size() == 3",
                    AdapterOf<T>::source(), utf_QuaternionAdapterAssertLine::rowCount);
  }
  expectAssertion([&] { const Adapter adapter(res_Rotation3d, Rows<T>()); }, "lcs.Size() == 3",
                  AdapterOf<T>::source(), utf_QuaternionAdapterAssertLine::rowCount);
  EXPECT_EQ(mem_LiveBlocks(), before);
}

TYPED_TEST(QuaternionAdapter, ARowOfTwoEntriesFailsAtThatRow) {
  using T = TypeParam;
  using Adapter = typename AdapterOf<T>::type;
  for (int bad = 0; bad < 3; ++bad) {
    Rows<T> rows;
    for (int i = 0; i < 3; ++i) {
      if (i == bad) {
        rows.Append(cow_1DArrayList<T>{T(1), T(0)});
      } else {
        rows.Append(cow_1DArrayList<T>{T(i == 0), T(i == 1), T(i == 2)});
      }
    }
    const long long before = mem_LiveBlocks();
    expectAssertion([&] { const Adapter adapter(res_Rotation3d, rows); }, "row.Size() == 3",
                    AdapterOf<T>::source(), utf_QuaternionAdapterAssertLine::rowSize);
    EXPECT_EQ(mem_LiveBlocks(), before) << "row " << bad;
  }
}

TYPED_TEST(QuaternionAdapter, ARowOfFourEntriesFailsToo) {
  using T = TypeParam;
  using Adapter = typename AdapterOf<T>::type;
  Rows<T> rows;
  rows.Append(cow_1DArrayList<T>{T(1), T(0), T(0), T(9)});
  rows.Append(cow_1DArrayList<T>{T(0), T(1), T(0)});
  rows.Append(cow_1DArrayList<T>{T(0), T(0), T(1)});
  const long long before = mem_LiveBlocks();
  expectAssertion([&] { const Adapter adapter(res_Rotation3d, rows); }, "row.Size() == 3",
                  AdapterOf<T>::source(), utf_QuaternionAdapterAssertLine::rowSize);
  EXPECT_EQ(mem_LiveBlocks(), before);
}

TYPED_TEST(QuaternionAdapter, AnotherTypeFailsInTheQuaternionsTableConstructor) {
  using T = TypeParam;
  using Adapter = typename AdapterOf<T>::type;
  const T identity[3][3] = {{T(1), T(0), T(0)}, {T(0), T(1), T(0)}, {T(0), T(0), T(1)}};
  const Rows<T> rows = nested(identity);
  const long long before = mem_LiveBlocks();
  expectAssertion([&] { const Adapter adapter(res_Tensor3dFull, rows); },
                  "!\"Unknown quaternion type\"", kQuaternionSource,
                  utf_QuaternionAssertLine::tableUnknownType);
  EXPECT_EQ(mem_LiveBlocks(), before);
}

TYPED_TEST(QuaternionAdapter, CosinesOfAnotherTypeFails) {
  using T = TypeParam;
  using Adapter = typename AdapterOf<T>::type;
  const Adapter adapter{utf_Quaternion<T>(res_Vector, cow_1DArrayList<T>{T(1), T(2), T(3)})};
  const long long before = mem_LiveBlocks();
  expectAssertion([&] { adapter.cosines(); }, "!\"Unknown quaternion type\"",
                  AdapterOf<T>::source(), utf_QuaternionAdapterAssertLine::cosinesUnknownType);
  EXPECT_EQ(mem_LiveBlocks(), before);
  ASSERT_EQ(adapter.size(), 3);
  EXPECT_EQ(adapter.data()[2], T(3));
}

TYPED_TEST(QuaternionAdapter, TheAssertionLinesAreDistinct) {
  EXPECT_NE(utf_QuaternionAdapterAssertLine::rowCount, utf_QuaternionAdapterAssertLine::rowSize);
  EXPECT_NE(utf_QuaternionAdapterAssertLine::rowCount,
            utf_QuaternionAdapterAssertLine::cosinesUnknownType);
  EXPECT_NE(utf_QuaternionAdapterAssertLine::rowSize,
            utf_QuaternionAdapterAssertLine::cosinesUnknownType);
}

} // namespace
