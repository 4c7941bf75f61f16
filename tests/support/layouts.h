#ifndef UTF_TEST_LAYOUTS_H
#define UTF_TEST_LAYOUTS_H

// The five tensor layouts as the tests walk them, what each stores, and tensor values built from
// components. One table for every test program, so that a test over "every layout" means the
// same five everywhere.

#include "utf.h"

#include <initializer_list>
#include <vector>

// The five tensor layouts, in the order of their data types.
constexpr res_DataTypeEnm kTensorLayouts[] = {res_Tensor3dFull, res_Tensor3dPlanar,
                                              res_Tensor3dSurface, res_Tensor2dPlanar,
                                              res_Tensor2dSurface};

// A type that is no tensor type: the queries compute it as a full tensor.
constexpr res_DataTypeEnm kNoTensorType = static_cast<res_DataTypeEnm>(5);

// The layout's short name, as in test names: full, planar3d, surface3d, planar2d, surface2d.
inline const char* layoutName(res_DataTypeEnm type) {
  switch (type) {
  case res_Tensor3dFull:
    return "full";
  case res_Tensor3dPlanar:
    return "planar3d";
  case res_Tensor3dSurface:
    return "surface3d";
  case res_Tensor2dPlanar:
    return "planar2d";
  case res_Tensor2dSurface:
    return "surface2d";
  default:
    return "other";
  }
}

inline bool is2d(res_DataTypeEnm type) {
  return utf_is2dTensorType(type);
}
inline bool isSurface(res_DataTypeEnm type) {
  return utf_isSurfaceTensorType(type);
}
inline bool isPlanar(res_DataTypeEnm type) {
  return type == res_Tensor3dPlanar || type == res_Tensor2dPlanar;
}

// The components a tensor of this type is read with: 3 (surface), 4 (planar), 6 (the full
// layout and any type that is no tensor type, which the queries read as full).
inline int countOf(res_DataTypeEnm type) {
  return isSurface(type) ? 3 : isPlanar(type) ? 4 : 6;
}

// Whether slot `slot` of the layout holds a shear: S12, S13, S23 of the full layout, S12 (slot
// 3) of a planar one, S12 (slot 2) of a surface one.
inline bool isShearSlot(res_DataTypeEnm type, int slot) {
  if (isSurface(type)) {
    return slot == 2;
  }
  if (isPlanar(type)) {
    return slot == 3;
  }
  return slot >= 3;
}

// A tensor owning a copy of the layout's countOf(type) components.
template <typename T>
utf_Tensor<T> tensorFrom(res_DataTypeEnm type, const T* components, bool engineeringShear) {
  cow_1DArrayList<T> list;
  for (int i = 0; i < countOf(type); ++i) {
    list.Append(components[i]);
  }
  return utf_Tensor<T>(type, list, engineeringShear);
}

// A tensor owning exactly the listed components, however many the layout has.
template <typename T>
utf_Tensor<T> tensorOf(res_DataTypeEnm type, std::initializer_list<T> components,
                       bool engineeringShear = false) {
  return utf_Tensor<T>(type, cow_1DArrayList<T>(components), engineeringShear);
}

// Turns the components in place onto the new axes with the layout's component kernel
// (utf_Tens3dFullBase and its siblings). `rotation` holds a 3D rotation (x, y, z, w) for the 3D
// layouts and a 2D rotation (s, c) for the 2D ones; it is copied, the caller's values are only
// read.
template <typename T>
void runKernel(res_DataTypeEnm type, T* s, const T* rotation, bool engineeringShear) {
  T r[4] = {rotation[0], rotation[1], T(0), T(0)};
  if (!is2d(type)) {
    r[2] = rotation[2];
    r[3] = rotation[3];
  }
  switch (type) {
  case res_Tensor3dFull:
    utf_Tens3dFullBase<T>(s).transform(utf_Quat3dBase<T>(r), engineeringShear);
    return;
  case res_Tensor3dPlanar:
    utf_Tens3dPlanarBase<T>(s).transform(utf_Quat3dBase<T>(r), engineeringShear);
    return;
  case res_Tensor3dSurface:
    utf_Tens3dSurfaceBase<T>(s).transform(utf_Quat3dBase<T>(r), engineeringShear);
    return;
  case res_Tensor2dPlanar:
    utf_Tens2dPlanarBase<T>(s).transform(utf_Quat2dBase<T>(r), engineeringShear);
    return;
  default:
    utf_Tens2dSurfaceBase<T>(s).transform(utf_Quat2dBase<T>(r), engineeringShear);
    return;
  }
}

// The stored components of any engineering-data value.
template <typename T>
std::vector<T> componentsOf(const utf_EngineeringData<T>& value) {
  return std::vector<T>(value.data(), value.data() + value.size());
}

#endif
