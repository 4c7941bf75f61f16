// utf_Tensor<T> as a value: constructors and their counts and ownership, the layout predicates,
// Print, expandToFull and convertLayout, and Copy (which deliberately yields a plain
// engineering-data value).

#include "test_support.h"

#include <cstdio>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include <unistd.h>

namespace {

template <typename T>
class TensorValue : public ::testing::Test {};
TYPED_TEST_SUITE(TensorValue, utf_Precisions, utf_PrecisionNames);

// Types that are no tensor type, including values outside the enumerators.
const res_DataTypeEnm kOtherTypes[] = {res_Vector,
                                       static_cast<res_DataTypeEnm>(5),
                                       res_Rotation3d,
                                       static_cast<res_DataTypeEnm>(0),
                                       static_cast<res_DataTypeEnm>(14),
                                       static_cast<res_DataTypeEnm>(-1)};

template <typename T>
std::string printed(const utf_Tensor<T>& tensor, int indent) {
  aio_ostream out;
  tensor.Print(out, indent);
  return out.Str();
}

// ---------------------------------------------------------------------------------------------
// Constructors.

TYPED_TEST(TensorValue, ListConstructorCopiesTheListAndOwnsTheCopy) {
  using T = TypeParam;
  const cow_1DArrayList<T> list{T(1.5), T(-2), T(4), T(8)};
  utf_Tensor<T> tensor(res_Tensor3dPlanar, list, true);
  EXPECT_EQ(tensor.type(), res_Tensor3dPlanar);
  EXPECT_TRUE(tensor.ownsData());
  EXPECT_TRUE(tensor.engineeringShear());
  EXPECT_EQ(componentsOf(tensor), (std::vector<T>{T(1.5), T(-2), T(4), T(8)}));
  tensor.data()[0] = T(9);
  EXPECT_EQ(list.ConstGet(0), T(1.5)) << "the tensor owns a copy";
}

TYPED_TEST(TensorValue, ListOfSixValuesWithSurfaceTypeKeepsAllSix) {
  using T = TypeParam;
  const cow_1DArrayList<T> list{T(1), T(2), T(3), T(4), T(5), T(6)};
  const utf_Tensor<T> tensor(res_Tensor3dSurface, list, false);
  EXPECT_EQ(tensor.type(), res_Tensor3dSurface);
  EXPECT_EQ(tensor.size(), 6) << "the list's count, not the layout's";
  EXPECT_EQ(componentsOf(tensor), (std::vector<T>{T(1), T(2), T(3), T(4), T(5), T(6)}));
}

TYPED_TEST(TensorValue, ShortListKeepsItsShortCount) {
  using T = TypeParam;
  const cow_1DArrayList<T> list{T(7), T(8)};
  const utf_Tensor<T> tensor(res_Tensor3dFull, list, false);
  EXPECT_EQ(tensor.size(), 2);
  EXPECT_EQ(componentsOf(tensor), (std::vector<T>{T(7), T(8)}));
}

TYPED_TEST(TensorValue, EmptyListAllocatesNothingAndLeavesTheArrayNull) {
  using T = TypeParam;
  const cow_1DArrayList<T> list(4);
  const AllocationCounter counter;
  const utf_Tensor<T> tensor(res_Tensor3dFull, list, false);
  EXPECT_EQ(counter.Count(), 0);
  EXPECT_EQ(tensor.size(), 0);
  EXPECT_EQ(tensor.data(), nullptr);
  EXPECT_TRUE(tensor.ownsData());
}

TYPED_TEST(TensorValue, ConstPointerConstructorCopiesTheLayoutCount) {
  using T = TypeParam;
  const T values[8] = {T(1), T(2), T(3), T(4), T(5), T(6), T(7), T(8)};
  const int expected[] = {6, 4, 3, 4, 3};
  for (int i = 0; i < 5; ++i) {
    const utf_Tensor<T> tensor(kTensorLayouts[i], values, false);
    EXPECT_EQ(tensor.type(), kTensorLayouts[i]);
    ASSERT_EQ(tensor.size(), expected[i]) << "type " << kTensorLayouts[i];
    EXPECT_TRUE(tensor.ownsData());
    EXPECT_NE(tensor.data(), values);
    EXPECT_EQ(componentsOf(tensor), std::vector<T>(values, values + expected[i]));
  }
}

TYPED_TEST(TensorValue, ConstPointerWithSurfaceTypeCopiesExactlyThreeValues) {
  using T = TypeParam;
  // A three-element array: reading a fourth value would be caught by the sanitizer build.
  const T values[3] = {T(-1), T(0.5), T(2)};
  const AllocationCounter counter;
  const utf_Tensor<T> tensor(res_Tensor3dSurface, values, true);
  EXPECT_EQ(counter.Count(), 1) << "one owned array";
  EXPECT_EQ(tensor.size(), 3);
  EXPECT_TRUE(tensor.engineeringShear());
  EXPECT_EQ(componentsOf(tensor), (std::vector<T>{T(-1), T(0.5), T(2)}));
}

TYPED_TEST(TensorValue, ConstPointerWithType5CopiesNothing) {
  using T = TypeParam;
  const T values[6] = {T(1), T(2), T(3), T(4), T(5), T(6)};
  const AllocationCounter counter;
  const utf_Tensor<T> tensor(static_cast<res_DataTypeEnm>(5), values, false);
  EXPECT_EQ(counter.Count(), 0);
  EXPECT_EQ(tensor.type(), static_cast<res_DataTypeEnm>(5));
  EXPECT_EQ(tensor.size(), 0);
  EXPECT_EQ(tensor.data(), nullptr);
  EXPECT_TRUE(tensor.ownsData());
}

TYPED_TEST(TensorValue, NonConstPointerConstructorViewsTheCallerArray) {
  using T = TypeParam;
  T values[4] = {T(1), T(2), T(3), T(4)};
  const AllocationCounter counter;
  {
    utf_Tensor<T> view(res_Tensor2dPlanar, values, true);
    EXPECT_EQ(counter.Count(), 0) << "nothing is allocated or copied";
    EXPECT_EQ(view.data(), values);
    EXPECT_EQ(view.size(), 4);
    EXPECT_FALSE(view.ownsData());
    EXPECT_TRUE(view.engineeringShear());
    view.data()[3] = T(40);
  }
  EXPECT_EQ(values[3], T(40)) << "a change through the view is a change of the caller's array";
  EXPECT_EQ(values[0], T(1)) << "destroying the view leaves the caller's array alone";
}

TYPED_TEST(TensorValue, NonConstPointerConstructorUsesTheLayoutCount) {
  using T = TypeParam;
  T values[6] = {T(1), T(2), T(3), T(4), T(5), T(6)};
  const int expected[] = {6, 4, 3, 4, 3};
  for (int i = 0; i < 5; ++i) {
    const utf_Tensor<T> view(kTensorLayouts[i], values, false);
    EXPECT_EQ(view.size(), expected[i]) << "type " << kTensorLayouts[i];
    EXPECT_EQ(view.data(), values);
  }
  const utf_Tensor<T> other(static_cast<res_DataTypeEnm>(5), values, false);
  EXPECT_EQ(other.size(), 0);
  EXPECT_FALSE(other.ownsData());
}

TYPED_TEST(TensorValue, CopyOfAViewOwnsAFreshArray) {
  using T = TypeParam;
  T values[3] = {T(1), T(2), T(3)};
  const utf_Tensor<T> view(res_Tensor2dSurface, values, true);
  const utf_Tensor<T> copy(view);
  EXPECT_TRUE(copy.ownsData());
  EXPECT_NE(copy.data(), values);
  EXPECT_EQ(copy.type(), res_Tensor2dSurface);
  EXPECT_TRUE(copy.engineeringShear());
  EXPECT_EQ(componentsOf(copy), (std::vector<T>{T(1), T(2), T(3)}));
}

// ---------------------------------------------------------------------------------------------
// Layout predicates.

TYPED_TEST(TensorValue, HasOutOfPlaneDirectIsFalseForSurfaceLayoutsOnly) {
  using T = TypeParam;
  const T values[6] = {};
  const bool expected[] = {true, true, false, true, false};
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(utf_Tensor<T>(kTensorLayouts[i], values, false).hasOutOfPlaneDirect(), expected[i])
        << "type " << kTensorLayouts[i];
  }
  for (res_DataTypeEnm type : kOtherTypes) {
    EXPECT_TRUE(utf_Tensor<T>(type, values, false).hasOutOfPlaneDirect()) << "type " << type;
  }
}

TYPED_TEST(TensorValue, Is3DIsFalseFor2DLayoutsOnly) {
  using T = TypeParam;
  const T values[6] = {};
  const bool expected[] = {true, true, true, false, false};
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(utf_Tensor<T>(kTensorLayouts[i], values, false).is3D(), expected[i])
        << "type " << kTensorLayouts[i];
  }
  for (res_DataTypeEnm type : kOtherTypes) {
    EXPECT_TRUE(utf_Tensor<T>(type, values, false).is3D()) << "type " << type;
  }
}

TYPED_TEST(TensorValue, QuaternionTypeIs7For3DAnd6For2D) {
  using T = TypeParam;
  const T values[6] = {};
  const res_DataTypeEnm expected[] = {res_Rotation3d, res_Rotation3d, res_Rotation3d,
                                      res_Rotation2d, res_Rotation2d};
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(utf_Tensor<T>(kTensorLayouts[i], values, false).QuaternionType(), expected[i])
        << "type " << kTensorLayouts[i];
  }
  for (res_DataTypeEnm type : kOtherTypes) {
    EXPECT_EQ(utf_Tensor<T>(type, values, false).QuaternionType(), res_Rotation3d)
        << "type " << type;
  }
  EXPECT_EQ(static_cast<int>(res_Rotation3d), 7);
  EXPECT_EQ(static_cast<int>(res_Rotation2d), 6);
}

// ---------------------------------------------------------------------------------------------
// Print.

TYPED_TEST(TensorValue, PrintOf2DSurfaceWithoutIndentation) {
  using T = TypeParam;
  const T values[3] = {T(1), T(2), T(3)};
  const utf_Tensor<T> tensor(res_Tensor2dSurface, values, false);
  EXPECT_EQ(printed(tensor, 0), "Tensor: 1 2 3 \n");
}

TYPED_TEST(TensorValue, PrintIndentsByTheGivenNumberOfBlanks) {
  using T = TypeParam;
  const T values[6] = {T(1), T(-2), T(0.5), T(0), T(1024), T(-0.25)};
  const utf_Tensor<T> tensor(res_Tensor3dFull, values, false);
  EXPECT_EQ(printed(tensor, 2), "  Tensor: 1 -2 0.5 0 1024 -0.25 \n");
  EXPECT_EQ(printed(tensor, 5), "     Tensor: 1 -2 0.5 0 1024 -0.25 \n");
}

TYPED_TEST(TensorValue, PrintWithNegativeIndentationWritesNoBlank) {
  using T = TypeParam;
  const T values[4] = {T(4), T(3), T(2), T(1)};
  const utf_Tensor<T> tensor(res_Tensor3dPlanar, values, false);
  EXPECT_EQ(printed(tensor, -3), "Tensor: 4 3 2 1 \n");
}

TYPED_TEST(TensorValue, PrintWritesEveryStoredComponentWhateverTheLayout) {
  using T = TypeParam;
  const cow_1DArrayList<T> list{T(1), T(2), T(3), T(4), T(5)};
  const utf_Tensor<T> tensor(res_Tensor2dSurface, list, false);
  EXPECT_EQ(printed(tensor, 1), " Tensor: 1 2 3 4 5 \n");
}

TYPED_TEST(TensorValue, PrintOfAnEmptyTensorWritesTheLabelAndANewline) {
  using T = TypeParam;
  const T values[1] = {T(1)};
  const utf_Tensor<T> tensor(static_cast<res_DataTypeEnm>(5), values, false);
  EXPECT_EQ(printed(tensor, 0), "Tensor: \n");
}

TYPED_TEST(TensorValue, PrintWidensEachComponentToDouble) {
  using T = TypeParam;
  const T values[3] = {T(0.1), T(2), T(3)};
  const utf_Tensor<T> tensor(res_Tensor3dSurface, values, false);
  // 0.1 in float is 0.100000001490116119384765625, whose shortest double text is below.
  const char* expected =
      std::is_same<T, float>::value ? "Tensor: 0.10000000149011612 2 3 \n" : "Tensor: 0.1 2 3 \n";
  EXPECT_EQ(printed(tensor, 0), expected);
}

TYPED_TEST(TensorValue, PrintToAFileFlushes) {
  using T = TypeParam;
  const T values[3] = {T(6), T(-7), T(8)};
  const utf_Tensor<T> tensor(res_Tensor2dSurface, values, false);
  std::FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  aio_ostream out(file);
  tensor.Print(out, 3);
  // Read the file descriptor directly, past the C stream's buffer: the text is there only if
  // Print flushed it.
  char text[64] = {};
  const ssize_t read = ::pread(fileno(file), text, sizeof text - 1, 0);
  std::fclose(file);
  ASSERT_GE(read, 0);
  EXPECT_EQ(std::string(text, static_cast<std::size_t>(read)), "   Tensor: 6 -7 8 \n");
}

// ---------------------------------------------------------------------------------------------
// expandToFull.

TYPED_TEST(TensorValue, ExpandingASurfaceTensorAndConvertingBackTo2DSurface) {
  using T = TypeParam;
  const T values[3] = {T(1), T(2), T(3)};
  const utf_Tensor<T> surface(res_Tensor3dSurface, values, false);
  const T none[1] = {T(0)};
  utf_Tensor<T> full(static_cast<res_DataTypeEnm>(0), none, false);
  surface.expandToFull(full);
  EXPECT_EQ(full.type(), res_Tensor3dFull);
  EXPECT_EQ(componentsOf(full), (std::vector<T>{T(1), T(2), T(0), T(3), T(0), T(0)}));

  utf_Tensor<T> back(static_cast<res_DataTypeEnm>(0), none, false);
  full.convertLayout(back, res_Tensor2dSurface);
  EXPECT_EQ(back.type(), res_Tensor2dSurface);
  EXPECT_EQ(componentsOf(back), (std::vector<T>{T(1), T(2), T(3)}));
}

TYPED_TEST(TensorValue, ExpandingAPlanarTensorAddsZeroOutOfPlaneShears) {
  using T = TypeParam;
  const T values[4] = {T(1), T(2), T(3), T(4)};
  for (res_DataTypeEnm type : {res_Tensor3dPlanar, res_Tensor2dPlanar}) {
    const utf_Tensor<T> planar(type, values, false);
    utf_Tensor<T> full(res_Tensor3dFull, cow_1DArrayList<T>(), false);
    planar.expandToFull(full);
    EXPECT_EQ(full.type(), res_Tensor3dFull);
    EXPECT_EQ(componentsOf(full), (std::vector<T>{T(1), T(2), T(3), T(4), T(0), T(0)}))
        << "type " << type;
  }
}

TYPED_TEST(TensorValue, Expanding2DSurfaceTensorPutsTheShearFourth) {
  using T = TypeParam;
  const T values[3] = {T(-5), T(6), T(7)};
  const utf_Tensor<T> surface(res_Tensor2dSurface, values, false);
  utf_Tensor<T> full(res_Tensor3dFull, cow_1DArrayList<T>(), false);
  surface.expandToFull(full);
  EXPECT_EQ(componentsOf(full), (std::vector<T>{T(-5), T(6), T(0), T(7), T(0), T(0)}));
}

TYPED_TEST(TensorValue, ExpandingAFullTensorCopiesIt) {
  using T = TypeParam;
  const T values[6] = {T(1), T(2), T(3), T(4), T(5), T(6)};
  const utf_Tensor<T> tensor(res_Tensor3dFull, values, false);
  utf_Tensor<T> full(res_Tensor3dSurface, cow_1DArrayList<T>{T(9)}, true);
  tensor.expandToFull(full);
  EXPECT_EQ(full.type(), res_Tensor3dFull);
  EXPECT_NE(full.data(), tensor.data());
  EXPECT_EQ(componentsOf(full), std::vector<T>(values, values + 6));
}

TYPED_TEST(TensorValue, ExpandingDropsTheEngineeringShearFlagButKeepsTheNumbers) {
  using T = TypeParam;
  const T values[4] = {T(1), T(2), T(3), T(8)};
  const utf_Tensor<T> engineering(res_Tensor3dPlanar, values, true);
  utf_Tensor<T> full(res_Tensor3dFull, cow_1DArrayList<T>(), true);
  engineering.expandToFull(full);
  EXPECT_FALSE(full.engineeringShear());
  EXPECT_EQ(full.data()[3], T(8)) << "the engineering shear number is copied, not halved";
}

TYPED_TEST(TensorValue, ExpandingATypeThatIsNoTensorTypeTakesThreeDirectComponents) {
  using T = TypeParam;
  const cow_1DArrayList<T> list{T(1), T(2), T(3), T(4), T(5), T(6)};
  const utf_Tensor<T> other(static_cast<res_DataTypeEnm>(5), list, false);
  utf_Tensor<T> full(res_Tensor3dFull, cow_1DArrayList<T>(), false);
  other.expandToFull(full);
  EXPECT_EQ(full.type(), res_Tensor3dFull);
  EXPECT_EQ(componentsOf(full), (std::vector<T>{T(1), T(2), T(3), T(0), T(0), T(0)}));
}

TYPED_TEST(TensorValue, ExpandingAShortTensorReadsMissingComponentsAsZero) {
  using T = TypeParam;
  // Each list is shorter than what its layout reads; the sanitizer build proves nothing beyond
  // the stored components is read.
  utf_Tensor<T> full(res_Tensor3dFull, cow_1DArrayList<T>(), false);
  utf_Tensor<T>(res_Tensor3dFull, cow_1DArrayList<T>{T(1), T(2)}, false).expandToFull(full);
  EXPECT_EQ(componentsOf(full), (std::vector<T>{T(1), T(2), T(0), T(0), T(0), T(0)}));
  utf_Tensor<T>(res_Tensor3dPlanar, cow_1DArrayList<T>{T(1), T(2), T(3)}, false).expandToFull(full);
  EXPECT_EQ(componentsOf(full), (std::vector<T>{T(1), T(2), T(3), T(0), T(0), T(0)}));
  utf_Tensor<T>(res_Tensor2dSurface, cow_1DArrayList<T>{T(1)}, false).expandToFull(full);
  EXPECT_EQ(componentsOf(full), (std::vector<T>{T(1), T(0), T(0), T(0), T(0), T(0)}));
  const T none[1] = {T(0)};
  utf_Tensor<T>(static_cast<res_DataTypeEnm>(5), none, false).expandToFull(full);
  EXPECT_EQ(componentsOf(full), (std::vector<T>(6, T(0))));
}

TYPED_TEST(TensorValue, ExpandingIntoAViewLeavesTheViewedArrayAlone) {
  using T = TypeParam;
  const T values[3] = {T(1), T(2), T(3)};
  const utf_Tensor<T> surface(res_Tensor3dSurface, values, false);
  T callers[4] = {T(9), T(8), T(7), T(6)};
  utf_Tensor<T> result(res_Tensor3dPlanar, callers, true);
  const long long live = mem_LiveBlocks();
  surface.expandToFull(result);
  EXPECT_EQ(mem_LiveBlocks(), live + 1) << "one new owned array, nothing freed";
  EXPECT_TRUE(result.ownsData());
  EXPECT_NE(result.data(), callers);
  EXPECT_EQ(callers[0], T(9));
  EXPECT_EQ(callers[3], T(6));
  EXPECT_EQ(componentsOf(result), (std::vector<T>{T(1), T(2), T(0), T(3), T(0), T(0)}));
}

TYPED_TEST(TensorValue, ExpandingIntoAnOwningResultFreesItsOldArray) {
  using T = TypeParam;
  const T values[4] = {T(1), T(2), T(3), T(4)};
  const utf_Tensor<T> planar(res_Tensor2dPlanar, values, false);
  utf_Tensor<T> result(res_Tensor3dSurface, values, false);
  ASSERT_TRUE(result.ownsData());
  const long long live = mem_LiveBlocks();
  planar.expandToFull(result);
  EXPECT_EQ(mem_LiveBlocks(), live) << "one array freed, one allocated";
  EXPECT_EQ(componentsOf(result), (std::vector<T>{T(1), T(2), T(3), T(4), T(0), T(0)}));
}

TYPED_TEST(TensorValue, ExpandingATensorIntoItself) {
  using T = TypeParam;
  const T values[3] = {T(4), T(5), T(6)};
  utf_Tensor<T> tensor(res_Tensor2dSurface, values, true);
  tensor.expandToFull(tensor);
  EXPECT_EQ(tensor.type(), res_Tensor3dFull);
  EXPECT_FALSE(tensor.engineeringShear());
  EXPECT_EQ(componentsOf(tensor), (std::vector<T>{T(4), T(5), T(0), T(6), T(0), T(0)}));
}

// ---------------------------------------------------------------------------------------------
// convertLayout.

TYPED_TEST(TensorValue, ConvertingAFullTensorToPlanarLosesS13AndS23) {
  using T = TypeParam;
  const T values[6] = {T(1), T(2), T(3), T(4), T(5), T(6)};
  const utf_Tensor<T> full(res_Tensor3dFull, values, false);
  for (res_DataTypeEnm target : {res_Tensor3dPlanar, res_Tensor2dPlanar}) {
    utf_Tensor<T> planar(res_Tensor3dFull, cow_1DArrayList<T>(), false);
    full.convertLayout(planar, target);
    EXPECT_EQ(planar.type(), target);
    EXPECT_TRUE(planar.ownsData());
    EXPECT_EQ(componentsOf(planar), (std::vector<T>{T(1), T(2), T(3), T(4)}));
  }
}

TYPED_TEST(TensorValue, ConvertingToASurfaceLayoutDropsS33) {
  using T = TypeParam;
  const T values[6] = {T(1), T(2), T(3), T(4), T(5), T(6)};
  const utf_Tensor<T> full(res_Tensor3dFull, values, false);
  for (res_DataTypeEnm target : {res_Tensor3dSurface, res_Tensor2dSurface}) {
    utf_Tensor<T> surface(res_Tensor3dFull, cow_1DArrayList<T>(), false);
    full.convertLayout(surface, target);
    EXPECT_EQ(surface.type(), target);
    EXPECT_EQ(componentsOf(surface), (std::vector<T>{T(1), T(2), T(4)}));
  }
  const T planarValues[4] = {T(7), T(8), T(9), T(10)};
  utf_Tensor<T> surface(res_Tensor3dFull, cow_1DArrayList<T>(), false);
  utf_Tensor<T>(res_Tensor2dPlanar, planarValues, false)
      .convertLayout(surface, res_Tensor2dSurface);
  EXPECT_EQ(componentsOf(surface), (std::vector<T>{T(7), T(8), T(10)}));
}

TYPED_TEST(TensorValue, ConvertingASurfaceTensorToPlanarGivesZeroS33) {
  using T = TypeParam;
  const T values[3] = {T(1), T(2), T(3)};
  const utf_Tensor<T> surface(res_Tensor3dSurface, values, false);
  utf_Tensor<T> planar(res_Tensor3dFull, cow_1DArrayList<T>(), false);
  surface.convertLayout(planar, res_Tensor3dPlanar);
  EXPECT_EQ(planar.type(), res_Tensor3dPlanar);
  EXPECT_EQ(componentsOf(planar), (std::vector<T>{T(1), T(2), T(0), T(3)}));
}

TYPED_TEST(TensorValue, ConvertingToFullIsExpanding) {
  using T = TypeParam;
  const T values[4] = {T(1), T(2), T(3), T(4)};
  const utf_Tensor<T> planar(res_Tensor3dPlanar, values, true);
  utf_Tensor<T> full(res_Tensor2dSurface, cow_1DArrayList<T>{T(1)}, true);
  planar.convertLayout(full, res_Tensor3dFull);
  EXPECT_EQ(full.type(), res_Tensor3dFull);
  EXPECT_TRUE(full.ownsData());
  EXPECT_FALSE(full.engineeringShear());
  EXPECT_EQ(componentsOf(full), (std::vector<T>{T(1), T(2), T(3), T(4), T(0), T(0)}));
}

TYPED_TEST(TensorValue, ConvertingClearsTheFlagAndOwnsTheResult) {
  using T = TypeParam;
  const T values[6] = {T(1), T(2), T(3), T(4), T(5), T(6)};
  const utf_Tensor<T> full(res_Tensor3dFull, values, true);
  T callers[3] = {T(0), T(0), T(0)};
  utf_Tensor<T> surface(res_Tensor3dSurface, callers, true);
  full.convertLayout(surface, res_Tensor3dSurface);
  EXPECT_FALSE(surface.engineeringShear());
  EXPECT_TRUE(surface.ownsData());
  EXPECT_NE(surface.data(), callers);
  EXPECT_EQ(callers[0], T(0));
  EXPECT_EQ(componentsOf(surface), (std::vector<T>{T(1), T(2), T(4)}));
}

TYPED_TEST(TensorValue, ConvertingToATypeThatIsNoTensorTypeGivesNoComponents) {
  using T = TypeParam;
  const T values[6] = {T(1), T(2), T(3), T(4), T(5), T(6)};
  const utf_Tensor<T> full(res_Tensor3dFull, values, false);
  utf_Tensor<T> result(res_Tensor3dFull, values, true);
  full.convertLayout(result, res_Vector);
  EXPECT_EQ(result.type(), res_Vector);
  EXPECT_EQ(result.size(), 0);
  EXPECT_EQ(result.data(), nullptr);
  EXPECT_FALSE(result.engineeringShear());
}

TYPED_TEST(TensorValue, ConvertingATensorIntoItself) {
  using T = TypeParam;
  const T values[6] = {T(1), T(2), T(3), T(4), T(5), T(6)};
  utf_Tensor<T> tensor(res_Tensor3dFull, values, false);
  tensor.convertLayout(tensor, res_Tensor2dPlanar);
  EXPECT_EQ(tensor.type(), res_Tensor2dPlanar);
  EXPECT_EQ(componentsOf(tensor), (std::vector<T>{T(1), T(2), T(3), T(4)}));
}

// ---------------------------------------------------------------------------------------------
// Class shape and Copy.

TYPED_TEST(TensorValue, TensorAddsNoFieldAndNoVirtualOperation) {
  using T = TypeParam;
  EXPECT_EQ(sizeof(utf_Tensor<T>), sizeof(utf_EngineeringData<T>));
  EXPECT_TRUE((std::is_base_of<utf_EngineeringData<T>, utf_Tensor<T>>::value));
  EXPECT_TRUE((std::is_convertible<utf_Tensor<T>*, utf_EngineeringData<T>*>::value))
      << "public base";
  EXPECT_FALSE(std::has_virtual_destructor<utf_Tensor<T>>::value);
}

TYPED_TEST(TensorValue, TensorHasItsOwnRunTimeType) {
  using T = TypeParam;
  const T values[3] = {T(1), T(2), T(3)};
  const utf_Tensor<T> tensor(res_Tensor3dSurface, values, false);
  const utf_EngineeringData<T>& base = tensor;
  EXPECT_EQ(typeid(base), typeid(utf_Tensor<T>));
}

TYPED_TEST(TensorValue, CopyOfATensorIsAPlainEngineeringDataValue) {
  using T = TypeParam;
  T values[4] = {T(1), T(2), T(3), T(4)};
  const utf_Tensor<T> view(res_Tensor2dPlanar, values, true);
  const utf_EngineeringData<T>& base = view;
  const utf_EngineeringDataPtr<T> copy(base.Copy());
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(typeid(*copy), typeid(utf_EngineeringData<T>)) << "a Copy of a tensor is sliced";
  EXPECT_NE(typeid(*copy), typeid(utf_Tensor<T>));
  EXPECT_EQ(copy->type(), res_Tensor2dPlanar);
  EXPECT_TRUE(copy->engineeringShear());
  EXPECT_TRUE(copy->ownsData());
  EXPECT_NE(copy->data(), values);
  EXPECT_EQ(componentsOf(*copy), (std::vector<T>{T(1), T(2), T(3), T(4)}));
}

} // namespace
