// The data-type catalogue and the rules that the value types share.

#include "test_support.h"

namespace {

res_DataTypeEnm type(int value) {
  return static_cast<res_DataTypeEnm>(value);
}

TEST(DataTypes, CatalogueNumbersAreFixed) {
  EXPECT_EQ(static_cast<int>(res_Vector), 4);
  EXPECT_EQ(static_cast<int>(res_Rotation2d), 6);
  EXPECT_EQ(static_cast<int>(res_Rotation3d), 7);
  EXPECT_EQ(static_cast<int>(res_Tensor3dFull), 9);
  EXPECT_EQ(static_cast<int>(res_Tensor3dPlanar), 10);
  EXPECT_EQ(static_cast<int>(res_Tensor3dSurface), 11);
  EXPECT_EQ(static_cast<int>(res_Tensor2dPlanar), 12);
  EXPECT_EQ(static_cast<int>(res_Tensor2dSurface), 13);
  EXPECT_EQ(sizeof(res_DataTypeEnm), 4u);
}

TEST(DataTypes, QuaternionComponentCount) {
  EXPECT_EQ(utf_quaternionComponentCount(type(6)), 2);
  EXPECT_EQ(utf_quaternionComponentCount(type(7)), 4);
  for (int value : {-1, 0, 4, 5, 8, 9, 13, 14, 1000}) {
    EXPECT_EQ(utf_quaternionComponentCount(type(value)), 0) << value;
  }
}

TEST(DataTypes, TensorComponentCount) {
  EXPECT_EQ(utf_tensorComponentCount(type(9)), 6);
  EXPECT_EQ(utf_tensorComponentCount(type(10)), 4);
  EXPECT_EQ(utf_tensorComponentCount(type(11)), 3);
  EXPECT_EQ(utf_tensorComponentCount(type(12)), 4);
  EXPECT_EQ(utf_tensorComponentCount(type(13)), 3);
  for (int value : {-9, 0, 4, 5, 6, 7, 8, 14, 99}) {
    EXPECT_EQ(utf_tensorComponentCount(type(value)), 0) << value;
  }
}

TEST(DataTypes, RotationTypeOfATensorType) {
  EXPECT_EQ(utf_tensorRotationType(type(12)), res_Rotation2d);
  EXPECT_EQ(utf_tensorRotationType(type(13)), res_Rotation2d);
  for (int value : {9, 10, 11, 0, 4, 5, 6, 7, 14, -3}) {
    EXPECT_EQ(utf_tensorRotationType(type(value)), res_Rotation3d) << value;
  }
}

TEST(DataTypes, SurfaceAnd2dPredicates) {
  for (int value = -2; value <= 16; ++value) {
    EXPECT_EQ(utf_isSurfaceTensorType(type(value)), value == 11 || value == 13) << value;
    EXPECT_EQ(utf_is2dTensorType(type(value)), value == 12 || value == 13) << value;
  }
}

TEST(DataTypes, RulesAreUsableAtCompileTime) {
  static_assert(utf_tensorComponentCount(res_Tensor3dFull) == 6, "full tensor has six components");
  static_assert(utf_quaternionComponentCount(res_Rotation3d) == 4, "3D rotation has four values");
  static_assert(utf_tensorRotationType(res_Tensor2dSurface) == res_Rotation2d, "2D pairs with 6");
  SUCCEED();
}

} // namespace
