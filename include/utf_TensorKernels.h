#ifndef UTF_TENSORKERNELS_H
#define UTF_TENSORKERNELS_H

// Tensor component kernels: five thin handles that express the components of one symmetric
// second-order tensor on the new axes of a rotation, in place, over a bare array that the caller
// owns. There is no data type, no count and no check: the array must hold the kernel's layout.
//
//   kernel                    rotated by          slots
//   ------------------------  ------------------  ---------------------------------
//   utf_Tens3dFullBase        utf_Quat3dBase<T>   S11, S22, S33, S12, S13, S23
//   utf_Tens3dPlanarBase      utf_Quat3dBase<T>   S11, S22, S33, S12
//   utf_Tens3dSurfaceBase     utf_Quat3dBase<T>   S11, S22, S12
//   utf_Tens2dPlanarBase      utf_Quat2dBase<T>   S11, S22, S33, S12
//   utf_Tens2dSurfaceBase     utf_Quat2dBase<T>   S11, S22, S12
//
// Sense: ONTO THE NEW AXES, S' = A S A^T with A the rotation's table, that is S'rs = a_r . (S
// a_s) with a_r row r of A. utf_Tensor<T>::transform turns the other way, S' = A^T S A, on
// purpose: the two senses and their worked example are in utf_Conventions.h, 6.
//
// Reduced layouts. The 3D planar kernel takes S13 = S23 = 0 and keeps the planar form: the
// S'13 and S'23 that a tilted rotation would create are dropped. The 3D surface kernel takes
// S33 = S13 = S23 = 0 and uses only the in-plane block a11, a12, a21, a22 of the table, so a tilt
// out of the plane is ignored. The 2D kernels turn about axis 3 only, with the in-plane rows of
// the 2D rotation; S33 of the 2D planar layout passes through unchanged.
//
// Engineering shear (`engineeringShear` set): each shear slot is first overwritten with half
// its value, the rotation is done on tensor components, and every computed shear is stored
// doubled (utf_Conventions.h, 3).
//
// Arithmetic: the cosines follow the table's rounding rule (utf_Conventions.h, 4); every product
// and sum is then formed in T, left to right, all new components from the old ones before the
// first is stored. Nothing is normalised: a non-unit 3D quaternion scales the result; the 2D
// diagonal is 1 - 2 s^2 from s alone, so the non-unit 2D rotation (0, 2) is the identity.
// No allocation, no virtual call, no loop.

#include "utf_Export.h"
#include "utf_Quat2dBase.h"
#include "utf_Quat3dBase.h"

// 3D full layout (S11, S22, S33, S12, S13, S23), shears in slots 3, 4, 5.
template <typename T>
class UTF_EXPORT utf_Tens3dFullBase {
public:
  explicit utf_Tens3dFullBase(T* components) : m_s(components) {}

  // u_r = S a_r; S'11 = a_1.u_1, S'22 = a_2.u_2, S'33 = a_3.u_3, S'12 = a_1.u_2,
  // S'13 = a_3.u_1, S'23 = a_2.u_3.
  void transform(const utf_Quat3dBase<T>& q, bool engineeringShear);

private:
  T* m_s;
};

// 3D planar layout (S11, S22, S33, S12), shear in slot 3.
template <typename T>
class UTF_EXPORT utf_Tens3dPlanarBase {
public:
  explicit utf_Tens3dPlanarBase(T* components) : m_s(components) {}

  // u_r = (S11 a_r1 + S12 a_r2, S12 a_r1 + S22 a_r2, S33 a_r3); S'11 = a_1.u_1,
  // S'22 = a_2.u_2, S'33 = a_3.u_3, S'12 = a_1.u_2.
  void transform(const utf_Quat3dBase<T>& q, bool engineeringShear);

private:
  T* m_s;
};

// 3D surface layout (S11, S22, S12), shear in slot 2.
template <typename T>
class UTF_EXPORT utf_Tens3dSurfaceBase {
public:
  explicit utf_Tens3dSurfaceBase(T* components) : m_s(components) {}

  // w1 = (S11 a11 + S12 a12, S12 a11 + S22 a12), w2 = (S11 a21 + S12 a22, S12 a21 + S22 a22);
  // S'11 = a11 w1[1] + a12 w1[2], S'22 = a21 w2[1] + a22 w2[2], S'12 = a11 w2[1] + a12 w2[2].
  void transform(const utf_Quat3dBase<T>& q, bool engineeringShear);

private:
  T* m_s;
};

// 2D planar layout (S11, S22, S33, S12), shear in slot 3.
template <typename T>
class UTF_EXPORT utf_Tens2dPlanarBase {
public:
  explicit utf_Tens2dPlanarBase(T* components) : m_s(components) {}

  // The in-plane products of the 3D surface kernel with the rows (b11, b12), (b21, b22) of the
  // 2D rotation; S'33 = 1 (S33 1).
  void transform(const utf_Quat2dBase<T>& q, bool engineeringShear);

private:
  T* m_s;
};

// 2D surface layout (S11, S22, S12), shear in slot 2: the 2D planar kernel without S33.
template <typename T>
class UTF_EXPORT utf_Tens2dSurfaceBase {
public:
  explicit utf_Tens2dSurfaceBase(T* components) : m_s(components) {}

  void transform(const utf_Quat2dBase<T>& q, bool engineeringShear);

private:
  T* m_s;
};

extern template class utf_Tens3dFullBase<float>;
extern template class utf_Tens3dFullBase<double>;
extern template class utf_Tens3dPlanarBase<float>;
extern template class utf_Tens3dPlanarBase<double>;
extern template class utf_Tens3dSurfaceBase<float>;
extern template class utf_Tens3dSurfaceBase<double>;
extern template class utf_Tens2dPlanarBase<float>;
extern template class utf_Tens2dPlanarBase<double>;
extern template class utf_Tens2dSurfaceBase<float>;
extern template class utf_Tens2dSurfaceBase<double>;

#endif
