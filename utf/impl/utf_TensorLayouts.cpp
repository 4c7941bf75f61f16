// utf_Tensor<T>: construction, printing, layout conversion and transformation (S' = A^T S A).
// This file also instantiates the class itself for float and double (its virtual table and type
// information with the members defined here); the members of utf_TensorQueries.cpp and
// utf_TensorDirections.cpp are instantiated there.

#include "utf_Tensor.h"

#include "KPTmem.h"
#include "utf_Print.h"
#include "utf_RotationArithmetic.h"
#include "utf_TensorLayout.h"

namespace {

using utf_impl::componentsAtLeast;
using utf_impl::layoutOf;
using utf_impl::TensorLayout;

// The six components of the full form (see expandToFull).
template <typename T>
void fullComponents(const utf_Tensor<T>& tensor, T (&full)[6]) {
  T padded[6];
  const T zero(0);
  const T* data = tensor.data();
  const int size = tensor.size();
  const res_DataTypeEnm type = tensor.type();
  switch (layoutOf(type)) {
  case TensorLayout::Surface: {
    const T* c = componentsAtLeast(data, size, 3, padded);
    full[0] = c[0], full[1] = c[1], full[2] = zero, full[3] = c[2], full[4] = zero, full[5] = zero;
    return;
  }
  case TensorLayout::Planar: {
    const T* c = componentsAtLeast(data, size, 4, padded);
    full[0] = c[0], full[1] = c[1], full[2] = c[2], full[3] = c[3], full[4] = zero, full[5] = zero;
    return;
  }
  case TensorLayout::Full:
    break;
  }
  if (type == res_Tensor3dFull) {
    const T* c = componentsAtLeast(data, size, 6, padded);
    for (int i = 0; i < 6; ++i) {
      full[i] = c[i];
    }
    return;
  }
  // A type that is no tensor type: its first three components as the direct ones, no shear.
  const T* c = componentsAtLeast(data, size, 3, padded);
  full[0] = c[0], full[1] = c[1], full[2] = c[2], full[3] = zero, full[4] = zero, full[5] = zero;
}

// transform on `s`, which holds at least the layout's components: the kernels' products with the
// rotation's table transposed, which turns them the other way, S' = A^T S A.
template <typename T>
void rotateBack(res_DataTypeEnm type, T* s, const utf_Quaternion<T>& q, bool engineeringShear) {
  constexpr utf_impl::Sense back = utf_impl::Sense::backToOldAxes;
  const T* rotation = q.data();
  switch (type) {
  case res_Tensor3dFull:
    utf_impl::rotateFull<back>(s, rotation, engineeringShear);
    return;
  case res_Tensor3dPlanar:
    utf_impl::rotatePlanar3d<back>(s, rotation, engineeringShear);
    return;
  case res_Tensor3dSurface:
    utf_impl::rotateSurface3d<back>(s, rotation, engineeringShear);
    return;
  case res_Tensor2dPlanar:
    utf_impl::rotatePlanar2d<back>(s, rotation, engineeringShear);
    return;
  case res_Tensor2dSurface:
    utf_impl::rotateSurface2d<back>(s, rotation, engineeringShear);
    return;
  default:
    // No tensor type: nothing to rotate, and no error.
    return;
  }
}

} // namespace

template <typename T>
utf_Tensor<T>::utf_Tensor(res_DataTypeEnm type, const cow_1DArrayList<T>& list,
                          bool engineeringShear)
    : utf_EngineeringData<T>(type, list, engineeringShear) {}

template <typename T>
utf_Tensor<T>::utf_Tensor(res_DataTypeEnm type, const T* components, bool engineeringShear)
    : utf_EngineeringData<T>(type, components, utf_tensorComponentCount(type), engineeringShear) {}

template <typename T>
utf_Tensor<T>::utf_Tensor(res_DataTypeEnm type, T* components, bool engineeringShear)
    : utf_EngineeringData<T>(type, components, utf_tensorComponentCount(type), engineeringShear) {}

template <typename T>
void utf_Tensor<T>::Print(aio_ostream& out, int indent) const {
  out << utf_indentation(indent) << "Tensor: ";
  utf_printEach(out, this->m_data, this->m_size);
  out.put('\n');
  out.flush();
}

template <typename T>
void utf_Tensor<T>::replaceWith(res_DataTypeEnm type, const T* components, int count) {
  T* owned = this->copyComponents(components, count);
  if (this->m_ownsData) {
    mem_Free(this->m_data);
  }
  this->m_type = type;
  this->m_data = owned;
  this->m_size = count;
  this->m_ownsData = true;
  this->m_engineeringShear = false;
}

template <typename T>
void utf_Tensor<T>::expandToFull(utf_Tensor<T>& result) const {
  T full[6];
  fullComponents(*this, full);
  result.replaceWith(res_Tensor3dFull, full, 6);
}

template <typename T>
void utf_Tensor<T>::convertLayout(utf_Tensor<T>& result, res_DataTypeEnm target) const {
  T full[6];
  fullComponents(*this, full);
  if (target == res_Tensor3dFull) {
    result.replaceWith(target, full, 6);
  } else if (utf_isSurfaceTensorType(target)) {
    const T surface[3] = {full[0], full[1], full[3]};
    result.replaceWith(target, surface, 3);
  } else if (layoutOf(target) == TensorLayout::Planar) {
    const T planar[4] = {full[0], full[1], full[2], full[3]};
    result.replaceWith(target, planar, 4);
  } else {
    result.replaceWith(target, nullptr, 0);
  }
}

template <typename T>
void utf_Tensor<T>::transform(const utf_Quaternion<T>& q, bool engineeringShear) {
  // clang-format off
  UTF_ASSERT(q.type() == QuaternionType(), utf_TensorAssertLine::source, utf_TensorAssertLine::rotationType);
  // clang-format on
  const int count = utf_tensorComponentCount(this->type());
  if (this->m_size >= count) {
    rotateBack(this->type(), this->m_data, q, engineeringShear);
    return;
  }
  // Fewer stored components than the layout has: the missing ones read as 0 and are not written.
  T padded[6] = {T(0), T(0), T(0), T(0), T(0), T(0)};
  for (int i = 0; i < this->m_size; ++i) {
    padded[i] = this->m_data[i];
  }
  rotateBack(this->type(), padded, q, engineeringShear);
  for (int i = 0; i < this->m_size; ++i) {
    this->m_data[i] = padded[i];
  }
}

template <typename T>
void utf_Tensor<T>::transformControl(const cow_2DArray<T>& coss) {
  const res_DataTypeEnm type = this->type();
  if (type == res_Tensor2dPlanar || type == res_Tensor3dPlanar || type == res_Tensor3dSurface ||
      type == res_Tensor2dSurface) {
    // D(2,2) is widened to double and compared with the double 0.9; a NaN fails.
    // clang-format off
    UTF_ASSERT(coss.ConstGet(2,2) > 0.9 && "Transformation not normal", utf_TensorAssertLine::source, utf_TensorAssertLine::notNormal);
    // clang-format on
  }

  // An empty value (a view of nothing), overwritten by the full form.
  utf_Tensor<T> full(static_cast<res_DataTypeEnm>(0), static_cast<T*>(nullptr), false);
  expandToFull(full);
  const T* c = full.data();
  const T m[3][3] = {{c[0], c[3], c[4]}, {c[3], c[1], c[5]}, {c[4], c[5], c[2]}};

  // P = D^T M, then Q = P D, each accumulated from zero with i outermost and k innermost.
  T p[3][3] = {{T(0), T(0), T(0)}, {T(0), T(0), T(0)}, {T(0), T(0), T(0)}};
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      for (int k = 0; k < 3; ++k) {
        p[i][j] += coss.ConstGet(k, i) * m[k][j];
      }
    }
  }
  T r[3][3] = {{T(0), T(0), T(0)}, {T(0), T(0), T(0)}, {T(0), T(0), T(0)}};
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      for (int k = 0; k < 3; ++k) {
        r[i][j] += p[i][k] * coss.ConstGet(k, j);
      }
    }
  }

  T* rotated = full.data();
  rotated[0] = r[0][0];
  rotated[1] = r[1][1];
  rotated[2] = r[2][2];
  rotated[3] = r[0][1];
  rotated[4] = r[0][2];
  rotated[5] = r[1][2];
  utf_Tensor<T> converted(static_cast<res_DataTypeEnm>(0), static_cast<T*>(nullptr), false);
  full.convertLayout(converted, type);

  // Nothing of this tensor has changed so far; now its own components are overwritten.
  const int count = this->m_size < converted.size() ? this->m_size : converted.size();
  for (int i = 0; i < count; ++i) {
    this->m_data[i] = converted.data()[i];
  }
}

template <typename T>
void utf_Tensor<T>::transformControl(const utf_Quaternion<T>& q, bool /* engineeringShear */) {
  // The flag is deliberately not used: the table path always takes the shears as tensorial.
  const cow_2DArray<T> coss = q.cosines();
  transformControl(coss);
}

template class utf_Tensor<float>;
template class utf_Tensor<double>;
