// The tensor component kernels (sense S' = A S A^T): each hands its rotation's own table to the
// shared products of utf_RotationArithmetic.h, in the sense onto the new axes. Float and double
// instantiations at the end.

#include "utf_TensorKernels.h"

#include "utf_RotationArithmetic.h"

namespace {

constexpr utf_impl::Sense kernelSense = utf_impl::Sense::ontoNewAxes;

} // namespace

template <typename T>
void utf_Tens3dFullBase<T>::transform(const utf_Quat3dBase<T>& q, bool engineeringShear) {
  utf_impl::rotateFull<kernelSense>(m_s, static_cast<const T*>(q.data()), engineeringShear);
}

template <typename T>
void utf_Tens3dPlanarBase<T>::transform(const utf_Quat3dBase<T>& q, bool engineeringShear) {
  utf_impl::rotatePlanar3d<kernelSense>(m_s, static_cast<const T*>(q.data()), engineeringShear);
}

template <typename T>
void utf_Tens3dSurfaceBase<T>::transform(const utf_Quat3dBase<T>& q, bool engineeringShear) {
  utf_impl::rotateSurface3d<kernelSense>(m_s, static_cast<const T*>(q.data()), engineeringShear);
}

template <typename T>
void utf_Tens2dPlanarBase<T>::transform(const utf_Quat2dBase<T>& q, bool engineeringShear) {
  utf_impl::rotatePlanar2d<kernelSense>(m_s, static_cast<const T*>(q.data()), engineeringShear);
}

template <typename T>
void utf_Tens2dSurfaceBase<T>::transform(const utf_Quat2dBase<T>& q, bool engineeringShear) {
  utf_impl::rotateSurface2d<kernelSense>(m_s, static_cast<const T*>(q.data()), engineeringShear);
}

template class utf_Tens3dFullBase<float>;
template class utf_Tens3dFullBase<double>;
template class utf_Tens3dPlanarBase<float>;
template class utf_Tens3dPlanarBase<double>;
template class utf_Tens3dSurfaceBase<float>;
template class utf_Tens3dSurfaceBase<double>;
template class utf_Tens2dPlanarBase<float>;
template class utf_Tens2dPlanarBase<double>;
template class utf_Tens2dSurfaceBase<float>;
template class utf_Tens2dSurfaceBase<double>;
