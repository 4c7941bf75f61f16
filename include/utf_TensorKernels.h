#ifndef UTF_TENSORKERNELS_H
#define UTF_TENSORKERNELS_H

// Tensor component kernels: five thin handles that rotate the components of one symmetric
// second-order tensor in place, over a bare array that the caller owns (T = float or double).
// There is no data type, no count and no check: the array must hold the kernel's layout.
//
//   kernel                    rotated by          slots
//   ------------------------  ------------------  ---------------------------------
//   utf_Tens3dFullBase        utf_Quat3dBase<T>   S11, S22, S33, S12, S13, S23
//   utf_Tens3dPlanarBase      utf_Quat3dBase<T>   S11, S22, S33, S12
//   utf_Tens3dSurfaceBase     utf_Quat3dBase<T>   S11, S22, S12
//   utf_Tens2dPlanarBase      utf_Quat2dBase<T>   S11, S22, S33, S12
//   utf_Tens2dSurfaceBase     utf_Quat2dBase<T>   S11, S22, S12
//
// Sense of rotation. A kernel re-expresses the tensor on the new axes of its rotation: with A
// the rotation's direction-cosine table (row r is new axis r in old components),
// S' = A S A^T, that is S'rs = a_r . (S a_s).
//
// utf_Tensor<T>::transform turns the components the OPPOSITE way, S' = A^T S A, and it does so
// on purpose: given the same rotation, code that rotates raw arrays with these kernels and code
// that rotates tensor values with transform get different numbers. A 90-degree turn about axis 3,
// q = (0, 0, sqrt(1/2), sqrt(1/2)), applied to a full tensor:
//   kernel:    S'13 =  S23,  S'23 = -S13
//   transform: S'13 = -S23,  S'23 =  S13
// (both give S'11 = S22, S'22 = S11, S'12 = -S12 and S'33 = S33).
//
// Reduced layouts. The 3D planar kernel takes S13 = S23 = 0 and keeps the planar form: the
// out-of-plane shears that a tilted rotation would create are dropped. The 3D surface kernel
// takes S33 = S13 = S23 = 0 and uses only the in-plane block a11, a12, a21, a22 of the table, so
// a tilt of the rotation out of the plane is ignored. The 2D kernels turn about axis 3 only;
// S33 of the 2D planar layout passes through unchanged.
//
// Engineering shear. With `engineeringShear` set the stored shears are twice the tensor
// components: each shear slot is first overwritten with half its value, the rotation is done on
// tensorial components, and every computed shear is stored doubled, so the array leaves in the
// form it came in. The flag never changes the sense of rotation.
//
// Arithmetic. Every product and sum is formed in T, left to right, in the order written in each
// transform; all intermediates are formed from the old components before the first new one is
// stored. The constant scalings are the exception: the doubling of the off-diagonal cosines,
// 1 - 2(...) of the 2D diagonal and the halving of engineering shears are evaluated in double
// from the T operand and rounded back to T once (so float results are reproducible to the bit).
// Nothing is normalised: a non-unit 3D quaternion scales the result. The 2D diagonal is
// 1 - 2 p0^2 from the half-angle sine p0 alone, so the non-unit 2D rotation (0, 2) is the
// identity, not a scaling.
//
// Cost: no allocation, no virtual call and no loop; the cosines are formed once per call as
// scalars and the products are written out.

#include "utf_Export.h"
#include "utf_Quat2dBase.h"
#include "utf_Quat3dBase.h"

// ---------------------------------------------------------------------------------------------
// The rotation as scalars, shared by the kernels and by utf_Tensor<T>::transform (which forms
// the same cosines and applies them the other way round).

// The constant scalings of the tensor rotations: evaluated in double from the T operand and
// rounded back to T once. In the double instantiation every cast is the identity.
template <typename T>
struct utf_TensorScaling {
  // 2 (bracket): an off-diagonal direction cosine.
  static T twice(T bracket) { return static_cast<T>(2.0 * static_cast<double>(bracket)); }
  // 1 - 2 (square): a diagonal cosine of the 2D rotation.
  static T oneMinusTwice(T square) {
    return static_cast<T>(1.0 - 2.0 * static_cast<double>(square));
  }
  // value times 0.5: an engineering shear brought to its tensor component.
  static T half(T value) { return static_cast<T>(static_cast<double>(value) * 0.5); }
};

// The nine direction cosines of a 3D rotation (q0, q1, q2, q3), q3 the scalar: a_rs is entry
// [r-1][s-1] of the rotation kernel's table, row r the new axis r in old components. The
// diagonal is the rotation kernel's own (cosine00, cosine11, cosine22: sums of four squares);
// the off-diagonal six are formed here, the bracket in T and its doubling in double.
template <typename T>
struct utf_TensorCosines3d {
  explicit utf_TensorCosines3d(const utf_Quat3dBase<T>& q);

  T a11, a12, a13, a21, a22, a23, a31, a32, a33;
};

// The in-plane block a11, a12, a21, a22 of the same table: all that a surface layout uses.
template <typename T>
struct utf_TensorCosines3dInPlane {
  explicit utf_TensorCosines3dInPlane(const utf_Quat3dBase<T>& q);

  T a11, a12, a21, a22;
};

// The in-plane cosines of a 2D rotation (p0, p1) = (sin(t/2), cos(t/2)): b11 = b22 = 1 - 2 p0^2
// (from p0 alone, whatever p1 is), b12 = 2 (p1 p0), b21 = 2 ((-p1) p0). For a unit rotation:
// cos t, sin t, -sin t, cos t.
template <typename T>
struct utf_TensorCosines2d {
  explicit utf_TensorCosines2d(const utf_Quat2dBase<T>& p);

  T b11, b12, b21, b22;
};

// ---------------------------------------------------------------------------------------------
// The five kernels. Each is one pointer to the caller's first component; constructing and
// copying one is free, and it may live just around one call.

// 3D full layout (S11, S22, S33, S12, S13, S23), shears in slots 3, 4, 5.
template <typename T>
class UTF_EXPORT utf_Tens3dFullBase {
public:
  explicit utf_Tens3dFullBase(T* components) : m_s(components) {}

  // S' = A S A^T: u_r = S a_r; S'11 = a_1.u_1, S'22 = a_2.u_2, S'33 = a_3.u_3, S'12 = a_1.u_2,
  // S'13 = a_3.u_1, S'23 = a_2.u_3.
  void transform(const utf_Quat3dBase<T>& q, bool engineeringShear);

private:
  T* m_s;
};

// 3D planar layout (S11, S22, S33, S12), shear in slot 3; S13 = S23 = 0 is assumed and the
// rotated S'13 and S'23 are dropped.
template <typename T>
class UTF_EXPORT utf_Tens3dPlanarBase {
public:
  explicit utf_Tens3dPlanarBase(T* components) : m_s(components) {}

  // u_r = (S11 a_r1 + S12 a_r2, S12 a_r1 + S22 a_r2, S33 a_r3); S'11 = a_1.u_1, S'22 = a_2.u_2,
  // S'33 = a_3.u_3, S'12 = a_1.u_2.
  void transform(const utf_Quat3dBase<T>& q, bool engineeringShear);

private:
  T* m_s;
};

// 3D surface layout (S11, S22, S12), shear in slot 2; only the in-plane block of the table is
// used.
template <typename T>
class UTF_EXPORT utf_Tens3dSurfaceBase {
public:
  explicit utf_Tens3dSurfaceBase(T* components) : m_s(components) {}

  // s1 = (S11 a11 + S12 a12, S12 a11 + S22 a12), s2 = (S11 a21 + S12 a22, S12 a21 + S22 a22);
  // S'11 = a11 s1[1] + a12 s1[2], S'22 = a21 s2[1] + a22 s2[2], S'12 = a11 s2[1] + a12 s2[2].
  void transform(const utf_Quat3dBase<T>& q, bool engineeringShear);

private:
  T* m_s;
};

// 2D planar layout (S11, S22, S33, S12), shear in slot 3; S33 passes through unchanged.
template <typename T>
class UTF_EXPORT utf_Tens2dPlanarBase {
public:
  explicit utf_Tens2dPlanarBase(T* components) : m_s(components) {}

  // w1 = (S11 b11 + S12 b12, S12 b11 + S22 b12), w2 = (S11 b21 + S12 b22, S12 b21 + S22 b22);
  // S'11 = b11 w1[1] + b12 w1[2], S'22 = b21 w2[1] + b22 w2[2], S'33 = 1 (S33 1),
  // S'12 = b11 w2[1] + b12 w2[2].
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

// ---------------------------------------------------------------------------------------------

template <typename T>
utf_TensorCosines3d<T>::utf_TensorCosines3d(const utf_Quat3dBase<T>& q) {
  using S = utf_TensorScaling<T>;
  const T* v = q.data();
  const T q0 = v[0], q1 = v[1], q2 = v[2], q3 = v[3];
  a11 = q.cosine00();
  a12 = S::twice(q0 * q1 + q2 * q3);
  a13 = S::twice(q0 * q2 - q1 * q3);
  a21 = S::twice(q0 * q1 - q2 * q3);
  a22 = q.cosine11();
  a23 = S::twice(q1 * q2 + q0 * q3);
  a31 = S::twice(q0 * q2 + q1 * q3);
  a32 = S::twice(q1 * q2 - q0 * q3);
  a33 = q.cosine22();
}

template <typename T>
utf_TensorCosines3dInPlane<T>::utf_TensorCosines3dInPlane(const utf_Quat3dBase<T>& q) {
  using S = utf_TensorScaling<T>;
  const T* v = q.data();
  const T q0 = v[0], q1 = v[1], q2 = v[2], q3 = v[3];
  a11 = q.cosine00();
  a12 = S::twice(q0 * q1 + q2 * q3);
  a21 = S::twice(q0 * q1 - q2 * q3);
  a22 = q.cosine11();
}

template <typename T>
utf_TensorCosines2d<T>::utf_TensorCosines2d(const utf_Quat2dBase<T>& p) {
  using S = utf_TensorScaling<T>;
  const T* v = p.data();
  const T p0 = v[0], p1 = v[1];
  b11 = S::oneMinusTwice(p0 * p0);
  b12 = S::twice(p1 * p0);
  b21 = S::twice((-p1) * p0);
  b22 = S::oneMinusTwice(p0 * p0);
}

template <typename T>
void utf_Tens3dFullBase<T>::transform(const utf_Quat3dBase<T>& q, bool engineeringShear) {
  using S = utf_TensorScaling<T>;
  T* const s = m_s;
  T f = T(1);
  if (engineeringShear) {
    f = T(2);
    s[3] = S::half(s[3]);
    s[4] = S::half(s[4]);
    s[5] = S::half(s[5]);
  }
  const utf_TensorCosines3d<T> a(q);
  const T s11 = s[0], s22 = s[1], s33 = s[2], s12 = s[3], s13 = s[4], s23 = s[5];

  // u_r = S a_r, each entry summed over k = 1, 2, 3.
  const T u11 = s11 * a.a11 + s12 * a.a12 + s13 * a.a13;
  const T u12 = s12 * a.a11 + s22 * a.a12 + s23 * a.a13;
  const T u13 = s13 * a.a11 + s23 * a.a12 + s33 * a.a13;
  const T u21 = s11 * a.a21 + s12 * a.a22 + s13 * a.a23;
  const T u22 = s12 * a.a21 + s22 * a.a22 + s23 * a.a23;
  const T u23 = s13 * a.a21 + s23 * a.a22 + s33 * a.a23;
  const T u31 = s11 * a.a31 + s12 * a.a32 + s13 * a.a33;
  const T u32 = s12 * a.a31 + s22 * a.a32 + s23 * a.a33;
  const T u33 = s13 * a.a31 + s23 * a.a32 + s33 * a.a33;

  const T n11 = a.a11 * u11 + a.a12 * u12 + a.a13 * u13;
  const T n22 = a.a21 * u21 + a.a22 * u22 + a.a23 * u23;
  const T n33 = a.a31 * u31 + a.a32 * u32 + a.a33 * u33;
  const T n12 = f * (a.a11 * u21 + a.a12 * u22 + a.a13 * u23);
  const T n13 = f * (a.a31 * u11 + a.a32 * u12 + a.a33 * u13);
  const T n23 = f * (a.a21 * u31 + a.a22 * u32 + a.a23 * u33);

  s[0] = n11;
  s[1] = n22;
  s[2] = n33;
  s[3] = n12;
  s[4] = n13;
  s[5] = n23;
}

template <typename T>
void utf_Tens3dPlanarBase<T>::transform(const utf_Quat3dBase<T>& q, bool engineeringShear) {
  using S = utf_TensorScaling<T>;
  T* const s = m_s;
  T f = T(1);
  if (engineeringShear) {
    f = T(2);
    s[3] = S::half(s[3]);
  }
  const utf_TensorCosines3d<T> a(q);
  const T s11 = s[0], s22 = s[1], s33 = s[2], s12 = s[3];

  // u_r = S a_r with S13 = S23 = 0.
  const T u11 = s11 * a.a11 + s12 * a.a12;
  const T u12 = s12 * a.a11 + s22 * a.a12;
  const T u13 = s33 * a.a13;
  const T u21 = s11 * a.a21 + s12 * a.a22;
  const T u22 = s12 * a.a21 + s22 * a.a22;
  const T u23 = s33 * a.a23;
  const T u31 = s11 * a.a31 + s12 * a.a32;
  const T u32 = s12 * a.a31 + s22 * a.a32;
  const T u33 = s33 * a.a33;

  const T n11 = a.a11 * u11 + a.a12 * u12 + a.a13 * u13;
  const T n22 = a.a21 * u21 + a.a22 * u22 + a.a23 * u23;
  const T n33 = a.a31 * u31 + a.a32 * u32 + a.a33 * u33;
  const T n12 = f * (a.a11 * u21 + a.a12 * u22 + a.a13 * u23);

  // S'13 and S'23 are not formed: the planar form is kept even when the plane tilts.
  s[0] = n11;
  s[1] = n22;
  s[2] = n33;
  s[3] = n12;
}

template <typename T>
void utf_Tens3dSurfaceBase<T>::transform(const utf_Quat3dBase<T>& q, bool engineeringShear) {
  using S = utf_TensorScaling<T>;
  T* const s = m_s;
  T f = T(1);
  if (engineeringShear) {
    f = T(2);
    s[2] = S::half(s[2]);
  }
  const utf_TensorCosines3dInPlane<T> a(q);
  const T s11 = s[0], s22 = s[1], s12 = s[2];

  const T s1a = s11 * a.a11 + s12 * a.a12;
  const T s1b = s12 * a.a11 + s22 * a.a12;
  const T s2a = s11 * a.a21 + s12 * a.a22;
  const T s2b = s12 * a.a21 + s22 * a.a22;

  const T n11 = a.a11 * s1a + a.a12 * s1b;
  const T n22 = a.a21 * s2a + a.a22 * s2b;
  const T n12 = f * (a.a11 * s2a + a.a12 * s2b);

  s[0] = n11;
  s[1] = n22;
  s[2] = n12;
}

template <typename T>
void utf_Tens2dPlanarBase<T>::transform(const utf_Quat2dBase<T>& q, bool engineeringShear) {
  using S = utf_TensorScaling<T>;
  T* const s = m_s;
  T f = T(1);
  if (engineeringShear) {
    f = T(2);
    s[3] = S::half(s[3]);
  }
  const utf_TensorCosines2d<T> b(q);
  const T s11 = s[0], s22 = s[1], s33 = s[2], s12 = s[3];

  const T w1a = s11 * b.b11 + s12 * b.b12;
  const T w1b = s12 * b.b11 + s22 * b.b12;
  const T w2a = s11 * b.b21 + s12 * b.b22;
  const T w2b = s12 * b.b21 + s22 * b.b22;

  const T n11 = b.b11 * w1a + b.b12 * w1b;
  const T n22 = b.b21 * w2a + b.b22 * w2b;
  // The out-of-plane cosine is the constant 1.
  const T n33 = T(1) * (s33 * T(1));
  const T n12 = f * (b.b11 * w2a + b.b12 * w2b);

  s[0] = n11;
  s[1] = n22;
  s[2] = n33;
  s[3] = n12;
}

template <typename T>
void utf_Tens2dSurfaceBase<T>::transform(const utf_Quat2dBase<T>& q, bool engineeringShear) {
  using S = utf_TensorScaling<T>;
  T* const s = m_s;
  T f = T(1);
  if (engineeringShear) {
    f = T(2);
    s[2] = S::half(s[2]);
  }
  const utf_TensorCosines2d<T> b(q);
  const T s11 = s[0], s22 = s[1], s12 = s[2];

  const T w1a = s11 * b.b11 + s12 * b.b12;
  const T w1b = s12 * b.b11 + s22 * b.b12;
  const T w2a = s11 * b.b21 + s12 * b.b22;
  const T w2b = s12 * b.b21 + s22 * b.b22;

  const T n11 = b.b11 * w1a + b.b12 * w1b;
  const T n22 = b.b21 * w2a + b.b22 * w2b;
  const T n12 = f * (b.b11 * w2a + b.b12 * w2b);

  s[0] = n11;
  s[1] = n22;
  s[2] = n12;
}

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
