#ifndef UTF_BATCH_STAGE_H
#define UTF_BATCH_STAGE_H

// How the SIMD kernels find a view's tensors (private to the engine; not per target): where each
// component stands among a tensor's stored values, and the description of a view that the
// kernels of every family take (utf_BatchLoad-inl.h reads it into vectors).

#include "utf_BatchTensors.h"

#include <cstddef>

namespace utf_batch {

// Where each of S11, S22, S33, S12, S13, S23 stands among a tensor's stored values; -1 for a
// component the layout does not store (it reads as 0).
struct ComponentPlaces {
  int at[6];
};

inline ComponentPlaces placesOf(res_DataTypeEnm layout, utf_BatchOrder order) {
  if (utf_isSurfaceTensorType(layout)) {
    return {{0, 1, -1, 2, -1, -1}};
  }
  if (layout != res_Tensor3dFull) {
    return {{0, 1, 2, 3, -1, -1}};
  }
  switch (order) {
  case utf_BatchOrder::Vtk:
    return {{0, 1, 2, 3, 5, 4}};
  case utf_BatchOrder::Voigt:
    return {{0, 1, 2, 5, 4, 3}};
  case utf_BatchOrder::Matrix:
    return {{0, 4, 8, 1, 2, 5}};
  case utf_BatchOrder::Library:
    break;
  }
  return {{0, 1, 2, 3, 4, 5}};
}

// How the SIMD kernels read a view's tensors: its array, stride and places, and whether the
// tensors lie one after another in a storage that vector loads deinterleave directly
// (utf_BatchLoad-inl.h): the full layout in one of its three orders of six, the planar and the
// surface layouts. Any other storage is read lane by lane.
enum class DenseKind { None, FullLibrary, FullVtk, FullVoigt, Planar, Surface };

template <typename T>
struct TensorSource {
  const T* data;
  std::size_t stride;
  int values;
  ComponentPlaces places;
  bool engineeringShear;
  DenseKind dense;
};

template <typename T>
TensorSource<T> sourceOf(const utf_BatchTensors<T>& tensors) {
  const int values = tensors.values();
  DenseKind dense = DenseKind::None;
  if (tensors.stride() == static_cast<std::size_t>(values)) {
    if (utf_isSurfaceTensorType(tensors.layout())) {
      dense = DenseKind::Surface;
    } else if (tensors.layout() != res_Tensor3dFull) {
      dense = DenseKind::Planar;
    } else {
      switch (tensors.order()) {
      case utf_BatchOrder::Library:
        dense = DenseKind::FullLibrary;
        break;
      case utf_BatchOrder::Vtk:
        dense = DenseKind::FullVtk;
        break;
      case utf_BatchOrder::Voigt:
        dense = DenseKind::FullVoigt;
        break;
      case utf_BatchOrder::Matrix:
        break;
      }
    }
  }
  return {tensors.data(),
          tensors.stride(),
          values,
          placesOf(tensors.layout(), tensors.order()),
          tensors.engineeringShear(),
          dense};
}

// Where a principal kernel writes (null: not asked for).
template <typename T>
struct Outputs {
  T* values;      // one, two or three per tensor
  T* directions;  // nine per tensor
  T* quaternions; // four per tensor
};

} // namespace utf_batch

#endif
