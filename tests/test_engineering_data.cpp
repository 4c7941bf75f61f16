// utf_EngineeringData<T>: fields, constructors and their ownership, copy, assignment, Copy,
// Print, Components, the protected clearData and setData, and the allocation-size rule.

#include "test_support.h"

#include <climits>
#include <cstddef>
#include <new>
#include <type_traits>
#include <typeinfo>

namespace {

// Opens the protected members to the tests.
template <typename T>
class Probe : public utf_EngineeringData<T> {
public:
  using Base = utf_EngineeringData<T>;
  using Base::Base;
  using Base::clearData;
  using Base::setData;

  std::ptrdiff_t offsetOf(const void* field) const {
    return static_cast<const char*>(field) - reinterpret_cast<const char*>(this);
  }
  std::ptrdiff_t typeOffset() const { return offsetOf(&this->m_type); }
  std::ptrdiff_t dataOffset() const { return offsetOf(&this->m_data); }
  std::ptrdiff_t sizeOffset() const { return offsetOf(&this->m_size); }
  std::ptrdiff_t ownsOffset() const { return offsetOf(&this->m_ownsData); }
  std::ptrdiff_t shearOffset() const { return offsetOf(&this->m_engineeringShear); }
};

// Caller storage that the memory module can free, as the ownership rules require for the cases
// where a value takes over an array it only viewed.
template <typename T>
T* callerArray(std::initializer_list<T> values) {
  T* array = static_cast<T*>(mem_Allocate(values.size() * sizeof(T)));
  int i = 0;
  for (T value : values) {
    array[i++] = value;
  }
  return array;
}

template <typename T>
class EngineeringData : public ::testing::Test {};
TYPED_TEST_SUITE(EngineeringData, utf_Precisions, utf_PrecisionNames);

TYPED_TEST(EngineeringData, FiveFieldsInOrderAndNothingElse) {
  using T = TypeParam;
  const T values[2] = {1, 2};
  const Probe<T> probe(res_Vector, values, 2, false);
  EXPECT_EQ(probe.typeOffset(), static_cast<std::ptrdiff_t>(sizeof(void*))) << "after the vtable";
  EXPECT_LT(probe.typeOffset(), probe.dataOffset());
  EXPECT_LT(probe.dataOffset(), probe.sizeOffset());
  EXPECT_LT(probe.sizeOffset(), probe.ownsOffset());
  EXPECT_LT(probe.ownsOffset(), probe.shearOffset());
  EXPECT_EQ(sizeof(utf_EngineeringData<T>), 32u);
  EXPECT_EQ(sizeof(Probe<T>), sizeof(utf_EngineeringData<T>));
}

TYPED_TEST(EngineeringData, CopyIsTheOneVirtualAndTheDestructorIsNotVirtual) {
  using T = TypeParam;
  EXPECT_TRUE(std::is_polymorphic<utf_EngineeringData<T>>::value);
  EXPECT_FALSE(std::has_virtual_destructor<utf_EngineeringData<T>>::value);
}

TYPED_TEST(EngineeringData, ListConstructorCopiesTheList) {
  using T = TypeParam;
  const cow_1DArrayList<T> list{T(1.5), T(-2), T(4)};
  utf_EngineeringData<T> value(res_Tensor3dSurface, list, true);
  EXPECT_EQ(value.type(), res_Tensor3dSurface);
  ASSERT_EQ(value.size(), 3);
  EXPECT_TRUE(value.ownsData());
  EXPECT_TRUE(value.engineeringShear());
  EXPECT_EQ(value.data()[0], T(1.5));
  EXPECT_EQ(value.data()[1], T(-2));
  EXPECT_EQ(value.data()[2], T(4));
  value.data()[0] = T(9);
  EXPECT_EQ(list.ConstGet(0), T(1.5)) << "the value owns a copy";
}

TYPED_TEST(EngineeringData, ListConstructorKeepsTheListCountWhateverTheType) {
  using T = TypeParam;
  const cow_1DArrayList<T> list{T(1), T(2), T(3), T(4), T(5), T(6), T(7)};
  const utf_EngineeringData<T> value(res_Rotation2d, list, false);
  EXPECT_EQ(value.size(), 7);
}

TYPED_TEST(EngineeringData, EmptyListGivesNullData) {
  using T = TypeParam;
  const cow_1DArrayList<T> list(5);
  const AllocationCounter counter;
  const utf_EngineeringData<T> value(res_Vector, list, false);
  EXPECT_EQ(counter.Count(), 0);
  EXPECT_EQ(value.size(), 0);
  EXPECT_EQ(value.data(), nullptr);
  EXPECT_TRUE(value.ownsData());
}

TYPED_TEST(EngineeringData, ConstArrayConstructorCopies) {
  using T = TypeParam;
  const T values[4] = {T(0.25), T(-8), T(3), T(1e-3)};
  utf_EngineeringData<T> value(res_Rotation3d, values, 4, false);
  EXPECT_TRUE(value.ownsData());
  EXPECT_NE(value.data(), values);
  ASSERT_EQ(value.size(), 4);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(value.data()[i], values[i]);
  }
  EXPECT_FALSE(value.engineeringShear());
}

TYPED_TEST(EngineeringData, CountOfZeroAllocatesNothingAndGivesNullData) {
  using T = TypeParam;
  const T values[1] = {T(1)};
  const AllocationCounter counter;
  const utf_EngineeringData<T> copied(res_Vector, values, 0, false);
  const utf_EngineeringData<T> uninitialised(res_Vector, 0, false);
  EXPECT_EQ(counter.Count(), 0);
  EXPECT_EQ(copied.data(), nullptr);
  EXPECT_EQ(uninitialised.data(), nullptr);
  EXPECT_EQ(copied.size(), 0);
  EXPECT_EQ(uninitialised.size(), 0);
}

TYPED_TEST(EngineeringData, NonConstArrayConstructorViewsTheCallerArray) {
  using T = TypeParam;
  T values[3] = {T(1), T(2), T(3)};
  const AllocationCounter counter;
  {
    utf_EngineeringData<T> view(res_Vector, values, 3, false);
    EXPECT_EQ(counter.Count(), 0) << "nothing is allocated or copied";
    EXPECT_EQ(view.data(), values);
    EXPECT_FALSE(view.ownsData());
    view.data()[1] = T(20);
  }
  EXPECT_EQ(values[0], T(1));
  EXPECT_EQ(values[1], T(20)) << "a change through the view is a change of the caller's array";
  EXPECT_EQ(values[2], T(3));
}

TYPED_TEST(EngineeringData, ViewDestroyedLeavesCallerArrayAndItsCopyOwnsANewArray) {
  using T = TypeParam;
  T values[3] = {T(7), T(-1), T(0.5)};
  const long long before = mem_LiveBlocks();
  {
    const utf_EngineeringData<T> view(res_Vector, values, 3, false);
    const utf_EngineeringData<T> copy(view);
    EXPECT_TRUE(copy.ownsData());
    EXPECT_NE(copy.data(), values);
    ASSERT_EQ(copy.size(), 3);
    EXPECT_EQ(copy.data()[0], T(7));
    EXPECT_EQ(copy.data()[1], T(-1));
    EXPECT_EQ(copy.data()[2], T(0.5));
    EXPECT_EQ(mem_LiveBlocks(), before + 1) << "only the copy allocated";
  }
  EXPECT_EQ(mem_LiveBlocks(), before);
  EXPECT_EQ(values[0], T(7));
  EXPECT_EQ(values[1], T(-1));
  EXPECT_EQ(values[2], T(0.5));
}

TYPED_TEST(EngineeringData, UninitialisedConstructorOwnsCountComponents) {
  using T = TypeParam;
  const long long before = mem_LiveBlocks();
  {
    utf_EngineeringData<T> value(res_Tensor3dFull, 6, true);
    EXPECT_EQ(value.size(), 6);
    EXPECT_NE(value.data(), nullptr);
    EXPECT_TRUE(value.ownsData());
    EXPECT_TRUE(value.engineeringShear());
    EXPECT_EQ(mem_LiveBlocks(), before + 1);
    for (int i = 0; i < 6; ++i) {
      value.data()[i] = T(i); // the whole array is writable
    }
  }
  EXPECT_EQ(mem_LiveBlocks(), before);
}

TYPED_TEST(EngineeringData, CopyConstructorCopiesTypeSizeFlagAndComponents) {
  using T = TypeParam;
  const T values[3] = {T(1), T(2), T(3)};
  const utf_EngineeringData<T> original(res_Tensor2dSurface, values, 3, true);
  const utf_EngineeringData<T> copy(original);
  EXPECT_EQ(copy.type(), res_Tensor2dSurface);
  EXPECT_EQ(copy.size(), 3);
  EXPECT_TRUE(copy.engineeringShear());
  EXPECT_TRUE(copy.ownsData());
  EXPECT_NE(copy.data(), original.data());
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(copy.data()[i], values[i]);
  }
}

TYPED_TEST(EngineeringData, CopyOfAnEmptyValueIsEmpty) {
  using T = TypeParam;
  const utf_EngineeringData<T> empty(res_Vector, 0, false);
  const AllocationCounter counter;
  const utf_EngineeringData<T> copy(empty);
  EXPECT_EQ(counter.Count(), 0);
  EXPECT_EQ(copy.data(), nullptr);
  EXPECT_EQ(copy.size(), 0);
}

TYPED_TEST(EngineeringData, SelfAssignmentKeepsComponentsAndTypeButTakesOwnership) {
  using T = TypeParam;
  T* storage = callerArray<T>({T(4), T(5)});
  const long long before = mem_LiveBlocks();
  {
    utf_EngineeringData<T> view(res_Rotation2d, storage, 2, false);
    utf_EngineeringData<T>& same = view;
    view = same;
    EXPECT_TRUE(view.ownsData()) << "ownsData is set even when assigning a value to itself";
    EXPECT_EQ(view.data(), storage);
    EXPECT_EQ(view.type(), res_Rotation2d);
    EXPECT_EQ(view.size(), 2);
    EXPECT_EQ(view.data()[0], T(4));
    EXPECT_EQ(view.data()[1], T(5));
    EXPECT_EQ(mem_LiveBlocks(), before);
  }
  // The value now owned the caller's array and freed it in its destructor.
  EXPECT_EQ(mem_LiveBlocks(), before - 1);
}

TYPED_TEST(EngineeringData, SelfAssignmentOfAnOwningValueChangesNothing) {
  using T = TypeParam;
  const T values[2] = {T(1), T(2)};
  utf_EngineeringData<T> value(res_Rotation2d, values, 2, false);
  const T* data = value.data();
  utf_EngineeringData<T>& same = value;
  const AllocationCounter counter;
  value = same;
  EXPECT_EQ(counter.Count(), 0);
  EXPECT_EQ(value.data(), data);
  EXPECT_EQ(value.data()[1], T(2));
}

TYPED_TEST(EngineeringData, AssigningToAViewFreesTheCallerArray) {
  using T = TypeParam;
  T* storage = callerArray<T>({T(1), T(2), T(3)});
  const T source[3] = {T(-1), T(-2), T(-3)};
  const long long before = mem_LiveBlocks();
  {
    utf_EngineeringData<T> view(res_Vector, storage, 3, false);
    const utf_EngineeringData<T> other(res_Vector, source, 3, false);
    EXPECT_EQ(mem_LiveBlocks(), before + 1);
    view = other;
    // The caller's block was freed and a new one allocated.
    EXPECT_EQ(mem_LiveBlocks(), before + 1);
    EXPECT_NE(view.data(), storage);
    EXPECT_TRUE(view.ownsData());
    EXPECT_EQ(view.data()[2], T(-3));
  }
  EXPECT_EQ(mem_LiveBlocks(), before - 1) << "the caller's array went with the view";
}

TYPED_TEST(EngineeringData, AssignmentKeepsTheTargetTypeAndTakesTheSourceCount) {
  using T = TypeParam;
  const T six[6] = {T(1), T(2), T(3), T(4), T(5), T(6)};
  const T three[3] = {T(7), T(8), T(9)};
  utf_EngineeringData<T> target(res_Tensor3dFull, six, 6, false);
  const utf_EngineeringData<T> source(res_Tensor3dSurface, three, 3, true);
  const long long before = mem_LiveBlocks();
  target = source;
  EXPECT_EQ(mem_LiveBlocks(), before) << "the old array is freed, a new one allocated";
  EXPECT_EQ(target.type(), res_Tensor3dFull) << "the type is not copied";
  ASSERT_EQ(target.size(), 3);
  EXPECT_TRUE(target.engineeringShear());
  EXPECT_NE(target.data(), source.data());
  EXPECT_EQ(target.data()[0], T(7));
  EXPECT_EQ(target.data()[1], T(8));
  EXPECT_EQ(target.data()[2], T(9));
}

TYPED_TEST(EngineeringData, AssigningAnEmptyValueGivesNullData) {
  using T = TypeParam;
  const T values[2] = {T(1), T(2)};
  utf_EngineeringData<T> target(res_Vector, values, 2, true);
  const utf_EngineeringData<T> empty(res_Vector, 0, false);
  const long long before = mem_LiveBlocks();
  target = empty;
  EXPECT_EQ(mem_LiveBlocks(), before - 1);
  EXPECT_EQ(target.data(), nullptr);
  EXPECT_EQ(target.size(), 0);
  EXPECT_FALSE(target.engineeringShear());
}

TYPED_TEST(EngineeringData, CopyMakesAnOwningBaseValueInTheMemoryModule) {
  using T = TypeParam;
  const T values[3] = {T(1), T(-2), T(3)};
  const utf_EngineeringData<T> original(res_Vector, values, 3, true);
  const long long before = mem_LiveBlocks();
  {
    const utf_EngineeringDataPtr<T> copy(original.Copy());
    EXPECT_EQ(mem_LiveBlocks(), before + 2) << "the object and its components";
    EXPECT_TRUE(typeid(*copy) == typeid(utf_EngineeringData<T>));
    EXPECT_EQ(copy->type(), res_Vector);
    EXPECT_TRUE(copy->ownsData());
    EXPECT_TRUE(copy->engineeringShear());
    ASSERT_EQ(copy->size(), 3);
    EXPECT_NE(copy->data(), original.data());
    EXPECT_EQ(copy->data()[1], T(-2));
  }
  EXPECT_EQ(mem_LiveBlocks(), before);
}

TYPED_TEST(EngineeringData, CopyOfAViewOwnsItsArray) {
  using T = TypeParam;
  T values[2] = {T(3), T(4)};
  const utf_EngineeringData<T> view(res_Rotation2d, values, 2, false);
  const utf_EngineeringDataPtr<T> copy(view.Copy());
  EXPECT_TRUE(copy->ownsData());
  EXPECT_NE(copy->data(), values);
  EXPECT_EQ(copy->data()[0], T(3));
}

TYPED_TEST(EngineeringData, HeapValuesComeFromTheMemoryModule) {
  using T = TypeParam;
  const long long allocations = mem_Allocations();
  const long long live = mem_LiveBlocks();
  auto* value = new utf_EngineeringData<T>(res_Vector, 3, false);
  EXPECT_EQ(mem_Allocations(), allocations + 2);
  EXPECT_EQ(mem_LiveBlocks(), live + 2);
  utf_EngineeringDataDeleter<T>()(value);
  EXPECT_EQ(mem_LiveBlocks(), live);

  auto* values = new utf_EngineeringData<T>[2] {
    {res_Vector, 0, false}, {
      res_Vector, 0, false
    }
  };
  EXPECT_EQ(mem_LiveBlocks(), live + 1);
  delete[] values;
  EXPECT_EQ(mem_LiveBlocks(), live);
}

TYPED_TEST(EngineeringData, PrintWritesLabelComponentsAndNewline) {
  using T = TypeParam;
  const T values[5] = {T(1), T(-0.5), T(0.25), T(1024), T(3)};
  const utf_EngineeringData<T> value(res_Tensor3dSurface, values, 5, false);
  aio_ostream out;
  value.Print(out, 0);
  EXPECT_EQ(out.Str(), "Engineering data: 1 -0.5 0.25 1024 3 \n");
}

TYPED_TEST(EngineeringData, PrintWidensToDouble) {
  using T = TypeParam;
  const T values[1] = {T(0.1)};
  const utf_EngineeringData<T> value(res_Vector, values, 1, false);
  aio_ostream out;
  value.Print(out, 0);
  // 0.1 in float is 0.100000001490116119384765625, whose shortest double text is below.
  const char* expected = std::is_same<T, float>::value ? "Engineering data: 0.10000000149011612 \n"
                                                       : "Engineering data: 0.1 \n";
  EXPECT_EQ(out.Str(), expected);
}

TYPED_TEST(EngineeringData, PrintIgnoresTheIndentation) {
  using T = TypeParam;
  const T values[2] = {T(2), T(0)};
  const utf_EngineeringData<T> value(res_Vector, values, 2, false);
  aio_ostream indented;
  value.Print(indented, 8);
  EXPECT_EQ(indented.Str(), "Engineering data: 2 0 \n");
}

TYPED_TEST(EngineeringData, PrintOfAnEmptyValueWritesTheLabelAndANewlineOnly) {
  using T = TypeParam;
  const utf_EngineeringData<T> empty(res_Vector, 0, false);
  aio_ostream out;
  empty.Print(out, 0);
  EXPECT_EQ(out.Str(), "Engineering data: \n");
}

TYPED_TEST(EngineeringData, PrintToAFileFlushes) {
  using T = TypeParam;
  const T values[2] = {T(6), T(-7)};
  const utf_EngineeringData<T> value(res_Vector, values, 2, false);
  std::FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  aio_ostream out(file);
  value.Print(out, 0);
  std::rewind(file);
  char text[64] = {};
  const std::size_t read = std::fread(text, 1, sizeof text - 1, file);
  std::fclose(file);
  EXPECT_EQ(std::string(text, read), "Engineering data: 6 -7 \n");
}

TYPED_TEST(EngineeringData, ComponentsListsTheComponentsInOrder) {
  using T = TypeParam;
  const T values[4] = {T(4), T(3), T(2), T(1)};
  const utf_EngineeringData<T> value(res_Rotation3d, values, 4, false);
  const cow_1DArrayList<T> list = value.Components();
  ASSERT_EQ(list.Size(), 4);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(list.ConstGet(i), values[i]);
  }
  const utf_EngineeringData<T> empty(res_Vector, 0, false);
  EXPECT_EQ(empty.Components().Size(), 0);
}

TYPED_TEST(EngineeringData, ClearDataFreesEvenAViewedArray) {
  using T = TypeParam;
  T* storage = callerArray<T>({T(1), T(2)});
  const long long before = mem_LiveBlocks();
  Probe<T> view(res_Rotation2d, storage, 2, false);
  view.clearData();
  EXPECT_EQ(mem_LiveBlocks(), before - 1) << "freed whatever ownsData said";
  EXPECT_EQ(view.size(), 0);
  EXPECT_TRUE(view.ownsData());
}

TYPED_TEST(EngineeringData, ClearDataOfAnEmptyValueFreesNothing) {
  using T = TypeParam;
  Probe<T> empty(res_Vector, 0, false);
  const long long before = mem_LiveBlocks();
  empty.clearData();
  EXPECT_EQ(mem_LiveBlocks(), before);
  EXPECT_EQ(empty.size(), 0);
}

TYPED_TEST(EngineeringData, SetDataReplacesTheComponentsWithAnOwnedCopy) {
  using T = TypeParam;
  const T first[3] = {T(1), T(2), T(3)};
  const T second[2] = {T(-4), T(5)};
  Probe<T> value(res_Rotation2d, first, 3, false);
  const long long before = mem_LiveBlocks();
  value.setData(second, 2);
  EXPECT_EQ(mem_LiveBlocks(), before);
  ASSERT_EQ(value.size(), 2);
  EXPECT_TRUE(value.ownsData());
  EXPECT_NE(value.data(), second);
  EXPECT_EQ(value.data()[0], T(-4));
  EXPECT_EQ(value.data()[1], T(5));
  EXPECT_EQ(value.type(), res_Rotation2d);
}

TYPED_TEST(EngineeringData, SetDataAlwaysCallsTheAllocatorEvenForZero) {
  using T = TypeParam;
  Probe<T> value(res_Vector, 0, false);
  const long long allocations = mem_Allocations();
  value.setData(nullptr, 0);
  EXPECT_EQ(mem_Allocations(), allocations + 1);
  EXPECT_NE(value.data(), nullptr);
  EXPECT_EQ(value.size(), 0);
}

TYPED_TEST(EngineeringData, SetDataOverAViewTakesOwnership) {
  using T = TypeParam;
  T* storage = callerArray<T>({T(9)});
  const T replacement[1] = {T(8)};
  const long long before = mem_LiveBlocks();
  {
    Probe<T> view(res_Vector, storage, 1, false);
    view.setData(replacement, 1);
    EXPECT_TRUE(view.ownsData());
    EXPECT_EQ(view.data()[0], T(8));
    EXPECT_EQ(mem_LiveBlocks(), before) << "the caller's block freed, a new one allocated";
  }
  EXPECT_EQ(mem_LiveBlocks(), before - 1);
}

TYPED_TEST(EngineeringData, NegativeCountAsksForTheLargestSizeAndFails) {
  using T = TypeParam;
  const T values[1] = {T(1)};
  const long long before = mem_LiveBlocks();
  EXPECT_THROW(utf_EngineeringData<T>(res_Vector, -1, false), std::bad_alloc);
  EXPECT_THROW(utf_EngineeringData<T>(res_Vector, values, -1, false), std::bad_alloc);
  EXPECT_THROW(utf_EngineeringData<T>(res_Vector, values, INT_MIN, false), std::bad_alloc);
  EXPECT_EQ(mem_LiveBlocks(), before) << "a failed construction leaks nothing";
}

TYPED_TEST(EngineeringData, CopyOfAViewWithANegativeCountFails) {
  using T = TypeParam;
  const utf_EngineeringData<T> view(res_Vector, static_cast<T*>(nullptr), -3, false);
  const long long before = mem_LiveBlocks();
  EXPECT_THROW(utf_EngineeringData<T> copy(view), std::bad_alloc);
  EXPECT_THROW(utf_EngineeringDataPtr<T>(view.Copy()), std::bad_alloc);
  EXPECT_EQ(mem_LiveBlocks(), before) << "the object allocated for Copy is given back";
}

TYPED_TEST(EngineeringData, FailedAssignmentLeavesTheComponents) {
  using T = TypeParam;
  const T values[2] = {T(1), T(2)};
  utf_EngineeringData<T> target(res_Vector, values, 2, false);
  const utf_EngineeringData<T> impossible(res_Vector, static_cast<T*>(nullptr), -1, true);
  const long long before = mem_LiveBlocks();
  EXPECT_THROW(target = impossible, std::bad_alloc);
  EXPECT_EQ(mem_LiveBlocks(), before);
  ASSERT_EQ(target.size(), 2);
  EXPECT_EQ(target.data()[0], T(1));
  EXPECT_EQ(target.data()[1], T(2));
}

TYPED_TEST(EngineeringData, FailedSetDataLeavesAnEmptyValue) {
  using T = TypeParam;
  const T values[2] = {T(1), T(2)};
  const long long before = mem_LiveBlocks();
  {
    Probe<T> value(res_Vector, values, 2, false);
    EXPECT_THROW(value.setData(values, -1), std::bad_alloc);
    EXPECT_EQ(value.size(), 0);
    EXPECT_EQ(value.data(), nullptr);
    EXPECT_TRUE(value.ownsData());
  }
  EXPECT_EQ(mem_LiveBlocks(), before) << "the old array freed once, nothing leaked";
}

} // namespace
