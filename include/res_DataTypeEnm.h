#ifndef RES_DATATYPEENM_H
#define RES_DATATYPEENM_H

// The data types of result values. Every value of the library carries one; it decides the number
// of components, their order and the rules that apply. The numbers are fixed; a value outside the
// list is allowed (the enumeration is a 32-bit integer) and gets no meaning: a component count of
// 0 and the fallback results that each operation documents.

#include "utf_Export.h"

#include <cstdint>

enum res_DataTypeEnm : std::int32_t {
  res_Vector = 4,           // vector, 3 components (2 for an in-plane vector)
  res_Rotation2d = 6,       // in-plane rotation about the normal: (sin(t/2), cos(t/2))
  res_Rotation3d = 7,       // 3D rotation quaternion: (x, y, z, w), vector part first
  res_Tensor3dFull = 9,     // S11, S22, S33, S12, S13, S23
  res_Tensor3dPlanar = 10,  // S11, S22, S33, S12
  res_Tensor3dSurface = 11, // S11, S22, S12 (shell)
  res_Tensor2dPlanar = 12,  // S11, S22, S33, S12
  res_Tensor2dSurface = 13, // S11, S22, S12
};

// Rules of the catalogue, shared by the value types.

// Components of a rotation type: 6 gives 2, 7 gives 4, any other type 0.
constexpr int utf_quaternionComponentCount(res_DataTypeEnm type) noexcept {
  return type == res_Rotation2d ? 2 : (type == res_Rotation3d ? 4 : 0);
}

// Components of a tensor type: 9 gives 6, 10 and 12 give 4, 11 and 13 give 3, any other type 0.
constexpr int utf_tensorComponentCount(res_DataTypeEnm type) noexcept {
  switch (type) {
  case res_Tensor3dFull:
    return 6;
  case res_Tensor3dPlanar:
  case res_Tensor2dPlanar:
    return 4;
  case res_Tensor3dSurface:
  case res_Tensor2dSurface:
    return 3;
  default:
    return 0;
  }
}

// Surface (shell) tensor types, which have no out-of-plane direct component: 11 and 13.
constexpr bool utf_isSurfaceTensorType(res_DataTypeEnm type) noexcept {
  return type == res_Tensor3dSurface || type == res_Tensor2dSurface;
}

// 2D tensor types, rotated in their plane only: 12 and 13.
constexpr bool utf_is2dTensorType(res_DataTypeEnm type) noexcept {
  return type == res_Tensor2dPlanar || type == res_Tensor2dSurface;
}

// The rotation type that rotates a tensor type: 6 (2D) for 12 and 13, 7 (3D) for any other type.
constexpr res_DataTypeEnm utf_tensorRotationType(res_DataTypeEnm type) noexcept {
  return utf_is2dTensorType(type) ? res_Rotation2d : res_Rotation3d;
}

#endif
