// utf_Tensor<T>: principal directions, by the numerical routine CALPRINQ in double, and their
// float and double instantiations.

#include "utf_Tensor.h"

#include "utf_TensorLayout.h"
#include "utf_numerics.h"

namespace {

// The layout code that CALPRINQ is given for a data type: 7 to 11 for the types 9 to 13, 7 for
// any other type.
int principalLayoutCode(res_DataTypeEnm type) {
  switch (type) {
  case res_Tensor3dFull:
    return 7;
  case res_Tensor3dPlanar:
    return 8;
  case res_Tensor3dSurface:
    return 9;
  case res_Tensor2dPlanar:
    return 10;
  case res_Tensor2dSurface:
    return 11;
  default:
    return 7;
  }
}

} // namespace

template <typename T>
void utf_Tensor<T>::principalDirections(T principal[3], T quaternion[4]) const {
  // The driver's own working copy, widened: it may rewrite its tensor argument, and the tensor's
  // components must never change. A type that is no tensor type copies nothing (a zero tensor).
  double s[6] = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
  const int count = utf_tensorComponentCount(this->type());
  for (int i = 0; i < count && i < this->m_size; ++i) {
    s[i] = static_cast<double>(this->m_data[i]);
  }
  double pq[7] = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
  const int mode = this->m_engineeringShear ? 21 : 1;
  const int layout = principalLayoutCode(this->type());
  int direct = hasOutOfPlaneDirect() ? 3 : 2;
  const int shear = utf_impl::layoutOf(this->type()) == utf_impl::TensorLayout::Full ? 3 : 1;
  CALPRINQ(s, pq, &mode, &layout, &direct, &shear);

  principal[0] = static_cast<T>(pq[0]);
  principal[1] = static_cast<T>(pq[1]);
  principal[2] = hasOutOfPlaneDirect() ? static_cast<T>(pq[2]) : T(0);
  quaternion[0] = static_cast<T>(pq[3]);
  quaternion[1] = static_cast<T>(pq[4]);
  quaternion[2] = is3D() ? static_cast<T>(pq[5]) : T(0);
  quaternion[3] = is3D() ? static_cast<T>(pq[6]) : T(0);
}

template <typename T>
void utf_Tensor<T>::principalDirectionsRelative(T principal[3], T quaternion[4],
                                                const cow_2DArray<T>& reference) const {
  T values[3];
  T direction[4];
  principalDirections(values, direction);
  const res_DataTypeEnm rotationType = QuaternionType();
  const utf_Quaternion<T> computed(rotationType, static_cast<const T*>(direction));
  const utf_Quaternion<T> frame(rotationType, reference);
  const utf_Quaternion<T> relative = frame.inverse().mult(computed);

  principal[0] = values[0];
  principal[1] = values[1];
  principal[2] = values[2];
  // Four values for a 3D rotation; the two of a 2D rotation followed by 0, 0.
  for (int i = 0; i < 4; ++i) {
    quaternion[i] = i < relative.size() ? relative.data()[i] : T(0);
  }
}

template void utf_Tensor<float>::principalDirections(float*, float*) const;
template void utf_Tensor<float>::principalDirectionsRelative(float*, float*,
                                                             const cow_2DArray<float>&) const;
template void utf_Tensor<double>::principalDirections(double*, double*) const;
template void utf_Tensor<double>::principalDirectionsRelative(double*, double*,
                                                              const cow_2DArray<double>&) const;
