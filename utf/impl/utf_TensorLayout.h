#ifndef UTF_IMPL_TENSORLAYOUT_H
#define UTF_IMPL_TENSORLAYOUT_H

// How the tensor's definitions (utf_Tensor*.cpp) read a layout: private to the library.

#include "res_DataTypeEnm.h"

namespace utf_impl {

enum class TensorLayout { Full, Planar, Surface };

// The layout family of a data type; a type that is no tensor type counts as full.
inline TensorLayout layoutOf(res_DataTypeEnm type) {
  if (utf_isSurfaceTensorType(type)) {
    return TensorLayout::Surface;
  }
  if (type == res_Tensor3dPlanar || type == res_Tensor2dPlanar) {
    return TensorLayout::Planar;
  }
  return TensorLayout::Full;
}

// The stored components when at least `needed` of the `size` are stored; otherwise `padded`,
// filled with the stored ones and zeros (six entries), so that no formula reads beyond the
// stored array.
template <typename T>
const T* componentsAtLeast(const T* data, int size, int needed, T (&padded)[6]) {
  if (size >= needed) {
    return data;
  }
  for (int i = 0; i < 6; ++i) {
    padded[i] = i < size ? data[i] : T(0);
  }
  return padded;
}

} // namespace utf_impl

#endif
