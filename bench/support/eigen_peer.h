#ifndef UTF_BENCH_EIGEN_PEER_H
#define UTF_BENCH_EIGEN_PEER_H

// The peer of the tensor benchmarks: a tensor of any layout as an Eigen symmetric 3 x 3 matrix
// (the planar and surface layouts embedded, their missing components 0), written back, and the
// direction-cosine table of a rotation from Eigen's own quaternion-to-matrix conversion.

#include "utf.h"

#include <Eigen/Geometry>

namespace utf_bench {

template <typename T>
Eigen::Matrix<T, 3, 3> eigenMatrixOf(res_DataTypeEnm type, const T* c) {
  const T zero(0);
  T s33 = c[2], s12 = zero, s13 = zero, s23 = zero;
  if (utf_isSurfaceTensorType(type)) {
    s33 = zero;
    s12 = c[2];
  } else if (type == res_Tensor3dFull) {
    s12 = c[3], s13 = c[4], s23 = c[5];
  } else {
    s12 = c[3];
  }
  Eigen::Matrix<T, 3, 3> m;
  m << c[0], s12, s13, s12, c[1], s23, s13, s23, s33;
  return m;
}

template <typename T>
void eigenStoreBack(res_DataTypeEnm type, const Eigen::Matrix<T, 3, 3>& m, T* c) {
  c[0] = m(0, 0);
  c[1] = m(1, 1);
  if (utf_isSurfaceTensorType(type)) {
    c[2] = m(0, 1);
    return;
  }
  c[2] = m(2, 2);
  c[3] = m(0, 1);
  if (type == res_Tensor3dFull) {
    c[4] = m(0, 2);
    c[5] = m(1, 2);
  }
}

// A = R^T, the rows of A the new axes, R Eigen's rotation matrix of (w, x, y, z); a 2D rotation
// (s, c) is the 3D (0, 0, s, c).
template <typename T>
Eigen::Matrix<T, 3, 3> eigenTableOf(res_DataTypeEnm type, const T* r) {
  const Eigen::Quaternion<T> q = utf_is2dTensorType(type)
                                     ? Eigen::Quaternion<T>(r[1], T(0), T(0), r[0])
                                     : Eigen::Quaternion<T>(r[3], r[0], r[1], r[2]);
  return q.toRotationMatrix().transpose();
}

} // namespace utf_bench

#endif
