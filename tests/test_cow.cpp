// Tests of KPTcow: copy-on-write arrays, lists, 2D tables and cow_String.

#include "test_support.h"

#include <climits>
#include <stdexcept>
#include <string>

namespace {

// Checks, on destruction, that a scenario gave back every block it took from the memory module.
class LeakCheck {
public:
  LeakCheck() : m_live(mem_LiveBlocks()) {}
  ~LeakCheck() { EXPECT_EQ(mem_LiveBlocks(), m_live) << "blocks leaked by the scenario"; }
  LeakCheck(const LeakCheck&) = delete;
  LeakCheck& operator=(const LeakCheck&) = delete;

private:
  long long m_live;
};

} // namespace

template <typename T>
class Cow1DArray : public ::testing::Test {};
TYPED_TEST_SUITE(Cow1DArray, utf_Precisions, utf_PrecisionNames);

template <typename T>
class Cow1DArrayList : public ::testing::Test {};
TYPED_TEST_SUITE(Cow1DArrayList, utf_Precisions, utf_PrecisionNames);

template <typename T>
class CowNestedList : public ::testing::Test {};
TYPED_TEST_SUITE(CowNestedList, utf_Precisions, utf_PrecisionNames);

template <typename T>
class Cow2DArray : public ::testing::Test {};
TYPED_TEST_SUITE(Cow2DArray, utf_Precisions, utf_PrecisionNames);

// ---------------------------------------------------------------------------------------------
// cow_1DArray

TYPED_TEST(Cow1DArray, DefaultIsEmpty) {
  LeakCheck leaks;
  const long long allocations = mem_Allocations();
  cow_1DArray<TypeParam> array;
  EXPECT_EQ(array.Length(), 0);
  EXPECT_EQ(array.UseCount(), 0);
  EXPECT_EQ(mem_Allocations(), allocations);
}

TYPED_TEST(Cow1DArray, ElementsAreValueInitialised) {
  LeakCheck leaks;
  cow_1DArray<TypeParam> array(5);
  EXPECT_EQ(array.Length(), 5);
  EXPECT_EQ(array.UseCount(), 1);
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(bitsOf(array.PartialArrayConstGet(i)), bitsOf(TypeParam(0))) << i;
  }
}

TYPED_TEST(Cow1DArray, GetWritesTheElement) {
  LeakCheck leaks;
  cow_1DArray<TypeParam> array(3);
  array.Get(0) = TypeParam(1.5);
  array.Get(2) = TypeParam(-2.25);
  EXPECT_EQ(array.PartialArrayConstGet(0), TypeParam(1.5));
  EXPECT_EQ(array.PartialArrayConstGet(1), TypeParam(0));
  EXPECT_EQ(array.PartialArrayConstGet(2), TypeParam(-2.25));
}

TYPED_TEST(Cow1DArray, GetOnAnUnsharedArrayAllocatesNothing) {
  LeakCheck leaks;
  cow_1DArray<TypeParam> array(3);
  AllocationCounter allocations;
  array.Get(1) = TypeParam(4);
  EXPECT_EQ(allocations.Count(), 0);
  EXPECT_EQ(array.UseCount(), 1);
}

TYPED_TEST(Cow1DArray, CopySharesTheRepresentation) {
  LeakCheck leaks;
  cow_1DArray<TypeParam> original(4);
  original.Get(2) = TypeParam(7);
  AllocationCounter allocations;
  cow_1DArray<TypeParam> copy(original);
  EXPECT_EQ(allocations.Count(), 0);
  EXPECT_EQ(original.UseCount(), 2);
  EXPECT_EQ(copy.UseCount(), 2);
  EXPECT_EQ(&copy.PartialArrayConstGet(0), &original.PartialArrayConstGet(0));
  EXPECT_EQ(copy.PartialArrayConstGet(2), TypeParam(7));
}

TYPED_TEST(Cow1DArray, ReadingASharedArrayDoesNotUnshare) {
  LeakCheck leaks;
  cow_1DArray<TypeParam> original(2);
  const cow_1DArray<TypeParam> copy(original);
  EXPECT_EQ(copy.PartialArrayConstGet(1), TypeParam(0));
  EXPECT_EQ(original.PartialArrayConstGet(0), TypeParam(0));
  EXPECT_EQ(original.UseCount(), 2);
}

TYPED_TEST(Cow1DArray, GetOnASharedArrayUnsharesIt) {
  LeakCheck leaks;
  cow_1DArray<TypeParam> original(3);
  original.Get(0) = TypeParam(1);
  original.Get(1) = TypeParam(2);
  original.Get(2) = TypeParam(3);
  cow_1DArray<TypeParam> copy(original);
  ASSERT_EQ(original.UseCount(), 2);
  copy.Get(1) = TypeParam(20);
  EXPECT_EQ(original.UseCount(), 1);
  EXPECT_EQ(copy.UseCount(), 1);
  EXPECT_EQ(original.PartialArrayConstGet(0), TypeParam(1));
  EXPECT_EQ(original.PartialArrayConstGet(1), TypeParam(2));
  EXPECT_EQ(original.PartialArrayConstGet(2), TypeParam(3));
  EXPECT_EQ(copy.PartialArrayConstGet(0), TypeParam(1));
  EXPECT_EQ(copy.PartialArrayConstGet(1), TypeParam(20));
  EXPECT_EQ(copy.PartialArrayConstGet(2), TypeParam(3));
}

TYPED_TEST(Cow1DArray, ThirdCopyKeepsSharingWithTheUnwritten) {
  LeakCheck leaks;
  cow_1DArray<TypeParam> a(2);
  cow_1DArray<TypeParam> b(a);
  cow_1DArray<TypeParam> c(a);
  ASSERT_EQ(a.UseCount(), 3);
  b.Get(0) = TypeParam(5);
  EXPECT_EQ(b.UseCount(), 1);
  EXPECT_EQ(a.UseCount(), 2);
  EXPECT_EQ(c.UseCount(), 2);
  EXPECT_EQ(a.PartialArrayConstGet(0), TypeParam(0));
  EXPECT_EQ(c.PartialArrayConstGet(0), TypeParam(0));
}

TYPED_TEST(Cow1DArray, AssignmentSharesAndReleasesTheOld) {
  LeakCheck leaks;
  cow_1DArray<TypeParam> a(2);
  cow_1DArray<TypeParam> b(5);
  b = a;
  EXPECT_EQ(b.Length(), 2);
  EXPECT_EQ(a.UseCount(), 2);
  EXPECT_EQ(&b.PartialArrayConstGet(0), &a.PartialArrayConstGet(0));
}

TYPED_TEST(Cow1DArray, SelfAssignmentKeepsTheArray) {
  LeakCheck leaks;
  cow_1DArray<TypeParam> a(2);
  a.Get(1) = TypeParam(8);
  cow_1DArray<TypeParam>& alias = a;
  a = alias;
  EXPECT_EQ(a.UseCount(), 1);
  EXPECT_EQ(a.Length(), 2);
  EXPECT_EQ(a.PartialArrayConstGet(1), TypeParam(8));
}

TYPED_TEST(Cow1DArray, SelfAssignmentOfASharedArray) {
  LeakCheck leaks;
  cow_1DArray<TypeParam> a(2);
  const cow_1DArray<TypeParam> b(a);
  cow_1DArray<TypeParam>& alias = a;
  a = alias;
  EXPECT_EQ(a.UseCount(), 2);
  EXPECT_EQ(a.Length(), 2);
}

TYPED_TEST(Cow1DArray, NegativeIndexThrowsOutOfRange) {
  LeakCheck leaks;
  cow_1DArray<TypeParam> array(3);
  EXPECT_THROW(array.Get(-1), std::out_of_range);
  EXPECT_THROW(array.PartialArrayConstGet(-1), std::out_of_range);
  EXPECT_THROW(array.Get(INT_MIN), std::out_of_range);
}

TYPED_TEST(Cow1DArray, IndexAtLengthThrowsOutOfRange) {
  LeakCheck leaks;
  cow_1DArray<TypeParam> array(3);
  EXPECT_THROW(array.Get(3), std::out_of_range);
  EXPECT_THROW(array.PartialArrayConstGet(3), std::out_of_range);
  EXPECT_THROW(array.Get(INT_MAX), std::out_of_range);
}

TYPED_TEST(Cow1DArray, AnyIndexOfAnEmptyArrayThrowsOutOfRange) {
  LeakCheck leaks;
  cow_1DArray<TypeParam> array;
  EXPECT_THROW(array.Get(0), std::out_of_range);
  EXPECT_THROW(array.PartialArrayConstGet(0), std::out_of_range);
}

TYPED_TEST(Cow1DArray, OutOfRangeGetOnASharedArrayDoesNotUnshare) {
  LeakCheck leaks;
  cow_1DArray<TypeParam> original(2);
  cow_1DArray<TypeParam> copy(original);
  EXPECT_THROW(copy.Get(2), std::out_of_range);
  EXPECT_EQ(original.UseCount(), 2);
}

TYPED_TEST(Cow1DArray, NegativeLengthThrowsLengthError) {
  LeakCheck leaks;
  EXPECT_THROW(cow_1DArray<TypeParam>(-1), std::length_error);
  EXPECT_THROW(cow_1DArray<TypeParam>(INT_MIN), std::length_error);
}

TYPED_TEST(Cow1DArray, StorageIsReturnedWhenTheLastCopyGoes) {
  const long long live = mem_LiveBlocks();
  {
    cow_1DArray<TypeParam> a(10);
    EXPECT_GT(mem_LiveBlocks(), live);
    cow_1DArray<TypeParam> b(a);
    b.Get(0) = TypeParam(1);
    cow_1DArray<TypeParam> c(b);
  }
  EXPECT_EQ(mem_LiveBlocks(), live);
}

// ---------------------------------------------------------------------------------------------
// cow_1DArrayList

TYPED_TEST(Cow1DArrayList, DefaultIsEmptyWithoutStorage) {
  LeakCheck leaks;
  const long long allocations = mem_Allocations();
  cow_1DArrayList<TypeParam> list;
  EXPECT_EQ(list.Size(), 0);
  EXPECT_EQ(list.Capacity(), 0);
  EXPECT_EQ(mem_Allocations(), allocations);
}

TYPED_TEST(Cow1DArrayList, CapacityConstructorGivesAnEmptyList) {
  LeakCheck leaks;
  cow_1DArrayList<TypeParam> list(10);
  EXPECT_EQ(list.Size(), 0);
  EXPECT_EQ(list.Capacity(), 10);
}

TYPED_TEST(Cow1DArrayList, NegativeCapacityThrowsLengthError) {
  LeakCheck leaks;
  EXPECT_THROW(cow_1DArrayList<TypeParam>(-2), std::length_error);
}

TYPED_TEST(Cow1DArrayList, InitializerListHoldsTheElementsInOrder) {
  LeakCheck leaks;
  cow_1DArrayList<TypeParam> list{TypeParam(1.5), TypeParam(-2), TypeParam(8)};
  ASSERT_EQ(list.Size(), 3);
  EXPECT_EQ(list.ConstGet(0), TypeParam(1.5));
  EXPECT_EQ(list.ConstGet(1), TypeParam(-2));
  EXPECT_EQ(list.ConstGet(2), TypeParam(8));
}

TYPED_TEST(Cow1DArrayList, EmptyInitializerList) {
  LeakCheck leaks;
  cow_1DArrayList<TypeParam> list(std::initializer_list<TypeParam>{});
  EXPECT_EQ(list.Size(), 0);
  EXPECT_THROW(list.ConstGet(0), std::out_of_range);
}

TYPED_TEST(Cow1DArrayList, AppendWithinCapacity) {
  LeakCheck leaks;
  cow_1DArrayList<TypeParam> list(4);
  list.Append(TypeParam(3));
  list.Append(TypeParam(4));
  EXPECT_EQ(list.Size(), 2);
  EXPECT_EQ(list.Capacity(), 4);
  EXPECT_EQ(list.ConstGet(0), TypeParam(3));
  EXPECT_EQ(list.ConstGet(1), TypeParam(4));
}

TYPED_TEST(Cow1DArrayList, AppendToADefaultList) {
  LeakCheck leaks;
  cow_1DArrayList<TypeParam> list;
  list.Append(TypeParam(9));
  ASSERT_EQ(list.Size(), 1);
  EXPECT_GE(list.Capacity(), 1);
  EXPECT_EQ(list.ConstGet(0), TypeParam(9));
}

TYPED_TEST(Cow1DArrayList, AppendGrowsPastTheCapacity) {
  LeakCheck leaks;
  cow_1DArrayList<TypeParam> list(2);
  list.Append(TypeParam(1));
  list.Append(TypeParam(2));
  list.Append(TypeParam(3));
  ASSERT_EQ(list.Size(), 3);
  EXPECT_GE(list.Capacity(), 3);
  EXPECT_EQ(list.ConstGet(0), TypeParam(1));
  EXPECT_EQ(list.ConstGet(1), TypeParam(2));
  EXPECT_EQ(list.ConstGet(2), TypeParam(3));
}

TYPED_TEST(Cow1DArrayList, ManyAppendsKeepEveryElement) {
  LeakCheck leaks;
  cow_1DArrayList<TypeParam> list;
  for (int i = 0; i < 2000; ++i) {
    list.Append(TypeParam(i) * TypeParam(0.5));
    ASSERT_EQ(list.Size(), i + 1);
    ASSERT_GE(list.Capacity(), list.Size());
  }
  for (int i = 0; i < 2000; ++i) {
    ASSERT_EQ(list.ConstGet(i), TypeParam(i) * TypeParam(0.5)) << i;
  }
}

TYPED_TEST(Cow1DArrayList, AppendOfItsOwnElementWhenFull) {
  LeakCheck leaks;
  cow_1DArrayList<TypeParam> list{TypeParam(1), TypeParam(2), TypeParam(3), TypeParam(4)};
  ASSERT_EQ(list.Size(), list.Capacity()); // the append below must move the storage
  list.Append(list.ConstGet(0));
  list.Append(list.ConstGet(4));
  ASSERT_EQ(list.Size(), 6);
  EXPECT_EQ(list.ConstGet(4), TypeParam(1));
  EXPECT_EQ(list.ConstGet(5), TypeParam(1));
  EXPECT_EQ(list.ConstGet(3), TypeParam(4));
}

TYPED_TEST(Cow1DArrayList, AppendOfItsOwnElementWithRoom) {
  LeakCheck leaks;
  cow_1DArrayList<TypeParam> list(8);
  list.Append(TypeParam(6));
  list.Append(TypeParam(7));
  list.Append(list.ConstGet(1));
  ASSERT_EQ(list.Size(), 3);
  EXPECT_EQ(list.ConstGet(2), TypeParam(7));
}

TYPED_TEST(Cow1DArrayList, AppendOfItsOwnElementWhileShared) {
  LeakCheck leaks;
  cow_1DArrayList<TypeParam> list(8);
  list.Append(TypeParam(6));
  const cow_1DArrayList<TypeParam> copy(list);
  list.Append(list.ConstGet(0));
  ASSERT_EQ(list.Size(), 2);
  EXPECT_EQ(list.ConstGet(1), TypeParam(6));
  EXPECT_EQ(copy.Size(), 1);
  EXPECT_EQ(copy.Array().PartialArrayConstGet(1), TypeParam(0));
}

TYPED_TEST(Cow1DArrayList, IndexAtSizeThrowsEvenBelowCapacity) {
  LeakCheck leaks;
  cow_1DArrayList<TypeParam> list(10);
  list.Append(TypeParam(1));
  EXPECT_THROW(list.ConstGet(1), std::out_of_range);
  EXPECT_THROW(list.Get(1), std::out_of_range);
  EXPECT_THROW(list.ConstGet(9), std::out_of_range);
  EXPECT_THROW(list.Get(9), std::out_of_range);
}

TYPED_TEST(Cow1DArrayList, EmptyListWithCapacityRejectsIndexZero) {
  LeakCheck leaks;
  cow_1DArrayList<TypeParam> list(10);
  EXPECT_THROW(list.ConstGet(0), std::out_of_range);
  EXPECT_THROW(list.Get(0), std::out_of_range);
}

TYPED_TEST(Cow1DArrayList, NegativeIndexThrows) {
  LeakCheck leaks;
  cow_1DArrayList<TypeParam> list{TypeParam(1)};
  EXPECT_THROW(list.ConstGet(-1), std::out_of_range);
  EXPECT_THROW(list.Get(-1), std::out_of_range);
}

TYPED_TEST(Cow1DArrayList, GetWritesTheElement) {
  LeakCheck leaks;
  cow_1DArrayList<TypeParam> list{TypeParam(1), TypeParam(2)};
  list.Get(1) = TypeParam(-5);
  EXPECT_EQ(list.ConstGet(0), TypeParam(1));
  EXPECT_EQ(list.ConstGet(1), TypeParam(-5));
}

TYPED_TEST(Cow1DArrayList, CopiesShareUntilAWrite) {
  LeakCheck leaks;
  cow_1DArrayList<TypeParam> original{TypeParam(1), TypeParam(2), TypeParam(3)};
  cow_1DArrayList<TypeParam> copy(original);
  EXPECT_EQ(original.Array().UseCount(), 2);
  EXPECT_EQ(&copy.ConstGet(0), &original.ConstGet(0));
  copy.Get(2) = TypeParam(30);
  EXPECT_EQ(original.Array().UseCount(), 1);
  EXPECT_EQ(copy.Array().UseCount(), 1);
  EXPECT_EQ(original.ConstGet(2), TypeParam(3));
  EXPECT_EQ(copy.ConstGet(2), TypeParam(30));
  EXPECT_EQ(copy.ConstGet(0), TypeParam(1));
}

TYPED_TEST(Cow1DArrayList, AppendToACopyLeavesTheOriginal) {
  LeakCheck leaks;
  cow_1DArrayList<TypeParam> original(4);
  original.Append(TypeParam(1));
  cow_1DArrayList<TypeParam> copy;
  copy = original;
  copy.Append(TypeParam(2));
  EXPECT_EQ(original.Size(), 1);
  EXPECT_EQ(copy.Size(), 2);
  EXPECT_EQ(original.Array().PartialArrayConstGet(1), TypeParam(0));
  EXPECT_EQ(copy.ConstGet(1), TypeParam(2));
}

TYPED_TEST(Cow1DArrayList, SelfAssignmentKeepsTheList) {
  LeakCheck leaks;
  cow_1DArrayList<TypeParam> list{TypeParam(1), TypeParam(2)};
  cow_1DArrayList<TypeParam>& alias = list;
  list = alias;
  ASSERT_EQ(list.Size(), 2);
  EXPECT_EQ(list.ConstGet(1), TypeParam(2));
  EXPECT_EQ(list.Array().UseCount(), 1);
}

TYPED_TEST(Cow1DArrayList, ConstructedFromAnArrayHoldsAllItsElements) {
  LeakCheck leaks;
  cow_1DArray<TypeParam> array(3);
  array.Get(0) = TypeParam(4);
  array.Get(1) = TypeParam(5);
  array.Get(2) = TypeParam(6);
  cow_1DArrayList<TypeParam> list(array);
  ASSERT_EQ(list.Size(), 3);
  EXPECT_EQ(array.UseCount(), 2); // shared, not copied
  EXPECT_EQ(list.ConstGet(0), TypeParam(4));
  EXPECT_EQ(list.ConstGet(2), TypeParam(6));
  list.Get(0) = TypeParam(40);
  EXPECT_EQ(array.PartialArrayConstGet(0), TypeParam(4));
  EXPECT_EQ(array.UseCount(), 1);
}

TYPED_TEST(Cow1DArrayList, ConstructedFromAnEmptyArray) {
  LeakCheck leaks;
  cow_1DArrayList<TypeParam> list{cow_1DArray<TypeParam>()};
  EXPECT_EQ(list.Size(), 0);
  list.Append(TypeParam(2));
  EXPECT_EQ(list.ConstGet(0), TypeParam(2));
}

// ---------------------------------------------------------------------------------------------
// Lists of lists

TYPED_TEST(CowNestedList, ArrayOfListsStartsWithEmptyLists) {
  LeakCheck leaks;
  cow_1DArray<cow_1DArrayList<TypeParam>> array(3);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(array.PartialArrayConstGet(i).Size(), 0);
  }
}

TYPED_TEST(CowNestedList, AppendAndReadInnerLists) {
  LeakCheck leaks;
  cow_1DArrayList<cow_1DArrayList<TypeParam>> outer;
  outer.Append(cow_1DArrayList<TypeParam>{TypeParam(1), TypeParam(2)});
  outer.Append(cow_1DArrayList<TypeParam>{TypeParam(3)});
  outer.Append(cow_1DArrayList<TypeParam>());
  ASSERT_EQ(outer.Size(), 3);
  EXPECT_EQ(outer.ConstGet(0).Size(), 2);
  EXPECT_EQ(outer.ConstGet(0).ConstGet(1), TypeParam(2));
  EXPECT_EQ(outer.ConstGet(1).ConstGet(0), TypeParam(3));
  EXPECT_EQ(outer.ConstGet(2).Size(), 0);
  outer.Get(2).Append(TypeParam(7));
  EXPECT_EQ(outer.ConstGet(2).ConstGet(0), TypeParam(7));
}

TYPED_TEST(CowNestedList, AppendedListIsSharedAndCopiedOnWrite) {
  LeakCheck leaks;
  cow_1DArrayList<TypeParam> inner{TypeParam(1), TypeParam(2)};
  cow_1DArrayList<cow_1DArrayList<TypeParam>> outer;
  outer.Append(inner);
  EXPECT_EQ(inner.Array().UseCount(), 2);
  outer.Get(0).Get(0) = TypeParam(10);
  EXPECT_EQ(inner.ConstGet(0), TypeParam(1));
  EXPECT_EQ(outer.ConstGet(0).ConstGet(0), TypeParam(10));
}

TYPED_TEST(CowNestedList, CopyOfTheOuterListIsIndependentAtEveryLevel) {
  LeakCheck leaks;
  cow_1DArrayList<cow_1DArrayList<TypeParam>> outer;
  outer.Append(cow_1DArrayList<TypeParam>{TypeParam(1), TypeParam(2)});
  outer.Append(cow_1DArrayList<TypeParam>{TypeParam(3), TypeParam(4)});
  cow_1DArrayList<cow_1DArrayList<TypeParam>> copy(outer);
  copy.Get(1).Get(0) = TypeParam(30);
  copy.Get(0).Append(TypeParam(5));
  EXPECT_EQ(outer.ConstGet(1).ConstGet(0), TypeParam(3));
  EXPECT_EQ(outer.ConstGet(0).Size(), 2);
  EXPECT_EQ(copy.ConstGet(1).ConstGet(0), TypeParam(30));
  EXPECT_EQ(copy.ConstGet(0).Size(), 3);
  EXPECT_EQ(copy.ConstGet(0).ConstGet(2), TypeParam(5));
}

TYPED_TEST(CowNestedList, AppendOfItsOwnInnerList) {
  LeakCheck leaks;
  cow_1DArrayList<cow_1DArrayList<TypeParam>> outer;
  for (int i = 0; i < 4; ++i) {
    outer.Append(cow_1DArrayList<TypeParam>{TypeParam(i)});
  }
  ASSERT_EQ(outer.Size(), outer.Capacity());
  outer.Append(outer.ConstGet(2));
  ASSERT_EQ(outer.Size(), 5);
  EXPECT_EQ(outer.ConstGet(4).Size(), 1);
  EXPECT_EQ(outer.ConstGet(4).ConstGet(0), TypeParam(2));
}

TYPED_TEST(CowNestedList, ManyNestedAppendsLeakNothing) {
  LeakCheck leaks;
  cow_1DArrayList<cow_1DArrayList<TypeParam>> outer;
  for (int i = 0; i < 100; ++i) {
    cow_1DArrayList<TypeParam> inner;
    for (int j = 0; j <= i % 7; ++j) {
      inner.Append(TypeParam(i * 10 + j));
    }
    outer.Append(inner);
  }
  cow_1DArrayList<cow_1DArrayList<TypeParam>> copy(outer);
  copy.Get(50).Get(0) = TypeParam(-1);
  for (int i = 0; i < 100; ++i) {
    ASSERT_EQ(outer.ConstGet(i).Size(), i % 7 + 1);
    ASSERT_EQ(outer.ConstGet(i).ConstGet(0), TypeParam(i * 10));
  }
  EXPECT_EQ(copy.ConstGet(50).ConstGet(0), TypeParam(-1));
}

// ---------------------------------------------------------------------------------------------
// cow_2DArray

TYPED_TEST(Cow2DArray, DefaultIsZeroByZero) {
  LeakCheck leaks;
  const long long allocations = mem_Allocations();
  cow_2DArray<TypeParam> table;
  EXPECT_EQ(table.Rows(), 0);
  EXPECT_EQ(table.Cols(), 0);
  EXPECT_EQ(table.ConstData(), nullptr);
  EXPECT_EQ(table.Data(), nullptr);
  EXPECT_EQ(table.UseCount(), 0);
  EXPECT_EQ(mem_Allocations(), allocations);
  EXPECT_THROW(table.ConstGet(0, 0), std::out_of_range);
  EXPECT_THROW(table.Get(0, 0), std::out_of_range);
}

TYPED_TEST(Cow2DArray, FillConstructorFillsEveryElement) {
  LeakCheck leaks;
  const cow_2DArray<TypeParam> table(2, 3, TypeParam(2.5));
  EXPECT_EQ(table.Rows(), 2);
  EXPECT_EQ(table.Cols(), 3);
  EXPECT_EQ(table.UseCount(), 1);
  for (int i = 0; i < 2; ++i) {
    for (int j = 0; j < 3; ++j) {
      EXPECT_EQ(table.ConstGet(i, j), TypeParam(2.5)) << i << "," << j;
    }
  }
}

TYPED_TEST(Cow2DArray, StorageIsRowMajor) {
  LeakCheck leaks;
  cow_2DArray<TypeParam> table(3, 4, TypeParam(0));
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 4; ++j) {
      table.Get(i, j) = TypeParam(10 * i + j);
    }
  }
  const TypeParam* data = table.ConstData();
  ASSERT_NE(data, nullptr);
  // Hand-written: row 0, then row 1, then row 2.
  const TypeParam expected[12] = {0, 1, 2, 3, 10, 11, 12, 13, 20, 21, 22, 23};
  for (int k = 0; k < 12; ++k) {
    EXPECT_EQ(data[k], expected[k]) << k;
  }
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 4; ++j) {
      EXPECT_EQ(&table.ConstGet(i, j), data + i * table.Cols() + j);
    }
  }
}

TYPED_TEST(Cow2DArray, DataWritesAreSeenByConstGet) {
  LeakCheck leaks;
  cow_2DArray<TypeParam> table(2, 2, TypeParam(0));
  TypeParam* data = table.Data();
  data[1] = TypeParam(5); // (0, 1)
  data[2] = TypeParam(6); // (1, 0)
  EXPECT_EQ(table.ConstGet(0, 1), TypeParam(5));
  EXPECT_EQ(table.ConstGet(1, 0), TypeParam(6));
  EXPECT_EQ(table.ConstGet(0, 0), TypeParam(0));
}

TYPED_TEST(Cow2DArray, CopySharesUntilGet) {
  LeakCheck leaks;
  cow_2DArray<TypeParam> original(2, 2, TypeParam(1));
  cow_2DArray<TypeParam> copy(original);
  EXPECT_EQ(original.UseCount(), 2);
  EXPECT_EQ(copy.ConstData(), original.ConstData());
  copy.Get(1, 1) = TypeParam(9);
  EXPECT_EQ(original.UseCount(), 1);
  EXPECT_EQ(copy.UseCount(), 1);
  EXPECT_NE(copy.ConstData(), original.ConstData());
  EXPECT_EQ(original.ConstGet(1, 1), TypeParam(1));
  EXPECT_EQ(copy.ConstGet(1, 1), TypeParam(9));
  EXPECT_EQ(copy.ConstGet(0, 0), TypeParam(1));
}

TYPED_TEST(Cow2DArray, DataUnsharesACopy) {
  LeakCheck leaks;
  cow_2DArray<TypeParam> original(1, 3, TypeParam(4));
  cow_2DArray<TypeParam> copy;
  copy = original;
  ASSERT_EQ(original.UseCount(), 2);
  TypeParam* data = copy.Data();
  EXPECT_EQ(original.UseCount(), 1);
  EXPECT_EQ(copy.UseCount(), 1);
  data[0] = TypeParam(-4);
  EXPECT_EQ(original.ConstGet(0, 0), TypeParam(4));
  EXPECT_EQ(copy.ConstGet(0, 0), TypeParam(-4));
  EXPECT_EQ(copy.ConstGet(0, 2), TypeParam(4));
}

TYPED_TEST(Cow2DArray, ConstReadsDoNotUnshare) {
  LeakCheck leaks;
  cow_2DArray<TypeParam> original(2, 2, TypeParam(1));
  const cow_2DArray<TypeParam> copy(original);
  EXPECT_EQ(copy.ConstGet(1, 0), TypeParam(1));
  EXPECT_NE(copy.ConstData(), nullptr);
  EXPECT_EQ(original.UseCount(), 2);
}

TYPED_TEST(Cow2DArray, SelfAssignmentKeepsTheTable) {
  LeakCheck leaks;
  cow_2DArray<TypeParam> table(2, 2, TypeParam(3));
  cow_2DArray<TypeParam>& alias = table;
  table = alias;
  EXPECT_EQ(table.UseCount(), 1);
  EXPECT_EQ(table.ConstGet(1, 1), TypeParam(3));
}

TYPED_TEST(Cow2DArray, IndicesOutsideTheShapeThrow) {
  LeakCheck leaks;
  cow_2DArray<TypeParam> table(2, 3, TypeParam(0));
  EXPECT_THROW(table.ConstGet(-1, 0), std::out_of_range);
  EXPECT_THROW(table.ConstGet(0, -1), std::out_of_range);
  EXPECT_THROW(table.ConstGet(2, 0), std::out_of_range);
  EXPECT_THROW(table.ConstGet(0, 3), std::out_of_range);
  EXPECT_THROW(table.Get(-1, 0), std::out_of_range);
  EXPECT_THROW(table.Get(0, -1), std::out_of_range);
  EXPECT_THROW(table.Get(2, 0), std::out_of_range);
  EXPECT_THROW(table.Get(0, 3), std::out_of_range);
  // (1, 2) is the last element; (0, 5) would be inside the storage but outside the row.
  EXPECT_NO_THROW(table.ConstGet(1, 2));
  EXPECT_THROW(table.ConstGet(0, 5), std::out_of_range);
}

TYPED_TEST(Cow2DArray, OutOfRangeGetOnASharedTableDoesNotUnshare) {
  LeakCheck leaks;
  cow_2DArray<TypeParam> original(2, 2, TypeParam(0));
  cow_2DArray<TypeParam> copy(original);
  EXPECT_THROW(copy.Get(2, 2), std::out_of_range);
  EXPECT_EQ(original.UseCount(), 2);
}

TYPED_TEST(Cow2DArray, NegativeShapeThrowsLengthError) {
  LeakCheck leaks;
  EXPECT_THROW(cow_2DArray<TypeParam>(-1, 2, TypeParam(0)), std::length_error);
  EXPECT_THROW(cow_2DArray<TypeParam>(2, -1, TypeParam(0)), std::length_error);
  EXPECT_THROW(cow_2DArray<TypeParam>(-1, -1, TypeParam(0)), std::length_error);
}

TYPED_TEST(Cow2DArray, ShapeTooLargeThrowsBadAllocAndLeaksNothing) {
  LeakCheck leaks;
  EXPECT_THROW(cow_2DArray<TypeParam>(INT_MAX, INT_MAX, TypeParam(0)), std::bad_alloc);
}

TYPED_TEST(Cow2DArray, ZeroRowsWithColumns) {
  LeakCheck leaks;
  cow_2DArray<TypeParam> table(0, 5, TypeParam(1));
  EXPECT_EQ(table.Rows(), 0);
  EXPECT_EQ(table.Cols(), 5);
  EXPECT_THROW(table.ConstGet(0, 0), std::out_of_range);
}

// ---------------------------------------------------------------------------------------------
// cow_String

TEST(CowString, DefaultIsEmpty) {
  const cow_String text;
  EXPECT_STREQ(text.Text(), "");
  EXPECT_EQ(text.Length(), 0);
}

TEST(CowString, AppendTexts) {
  LeakCheck leaks;
  cow_String text("abc");
  text.Append("de").Append(cow_String("fg"));
  EXPECT_STREQ(text.Text(), "abcdefg");
  EXPECT_EQ(text.Length(), 7);
}

TEST(CowString, AppendToItself) {
  LeakCheck leaks;
  cow_String text("xy");
  text.Append(text);
  EXPECT_STREQ(text.Text(), "xyxy");
  text.Append(text).Append(text);
  EXPECT_STREQ(text.Text(), "xyxyxyxyxyxyxyxy");
}

TEST(CowString, AppendToTheEmptyStringItself) {
  LeakCheck leaks;
  cow_String text;
  text.Append(text);
  EXPECT_STREQ(text.Text(), "");
  EXPECT_EQ(text.Length(), 0);
}

TEST(CowString, AppendToACopyLeavesTheOriginal) {
  LeakCheck leaks;
  const cow_String original("base");
  cow_String copy(original);
  copy.Append("+more");
  EXPECT_STREQ(original.Text(), "base");
  EXPECT_STREQ(copy.Text(), "base+more");
}

TEST(CowString, SelfAssignmentKeepsTheText) {
  LeakCheck leaks;
  cow_String text("same");
  cow_String& alias = text;
  text = alias;
  EXPECT_STREQ(text.Text(), "same");
  EXPECT_EQ(text.Length(), 4);
}

TEST(CowString, ShiftWritesTheText) {
  LeakCheck leaks;
  aio_ostream out;
  const cow_String text("table 7");
  out << "[" << text << "]";
  EXPECT_EQ(out.Str(), "[table 7]");
}

TEST(CowString, ShiftOfEmptyStringWritesNothing) {
  aio_ostream out;
  aio_ostream& result = out << cow_String();
  EXPECT_EQ(&result, &out);
  EXPECT_EQ(out.Str(), "");
}

// ---------------------------------------------------------------------------------------------
// Module start and end

TEST(CowModule, StartsAndEndsNestAndLeaveTheCounterAlone) {
  expectStartsAndEndsNest({cow_initialize, cow_finalize, cow_initialized}, 5, 2);
}

TEST(CowModule, UnmatchedEndIsIgnored) {
  expectUnmatchedEndIsIgnored({cow_initialize, cow_finalize, cow_initialized}, 0);
}
