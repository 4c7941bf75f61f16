#ifndef UTF_QUAT2DBASE_H
#define UTF_QUAT2DBASE_H

// utf_Quat2dBase<T>: the raw in-plane rotation kernel, a handle over a caller's two values of
// type T (T = float or double) describing a rotation by t about the third (Z) axis. It never
// allocates or frees; copying a kernel copies the pointer only.
//
// Conventions:
// - Storage: (s, c) = (sin(t/2), cos(t/2)), exactly the (z, w) part of the 3D quaternion
//   (0, 0, s, c); the identity is (0, 1). t is measured from the global X axis towards Y.
// - Meaning: as in 3D, the rotation carries the global axes onto the new axes, and the rows of
//   a direction-cosine table are the new axes.
// - Composition: mult adds the angles (r = this rotation after p; in the plane the order does
//   not matter).
// - toVector gives (0, 0, 2 asin(s)): the angle lies in [-pi, pi]. The 3D kernel's angle comes
//   from acos of the scalar and lies in [0, 2 pi]; (sin(3pi/4), cos(3pi/4)) gives pi/2 here and
//   3pi/2 there. The difference is deliberate.
//
// The kernel's own table is deliberately not the full in-plane table: cosines writes the first
// row (cos t, sin t, 0), a second row of zeros and c[2][2] = 1, and leaves c[2][0] and c[2][1]
// as the caller had them. Callers that want the full table use utf_Quaternion<T>::cosines().

#include "aio_ostream.h"
#include "gsl_Matrix.h"
#include "gsl_Plane.h"
#include "gsl_Point.h"
#include "gsl_Vector.h"
#include "utf_Export.h"
#include "utf_Print.h"

#include <cmath>

template <typename T>
class UTF_EXPORT utf_Quat2dBase {
public:
  // A handle over the caller's two values (s, c).
  explicit utf_Quat2dBase(T* q) : m_q(q) {}

  // The two values this kernel works on (the tensor kernels read the rotation through it).
  T* data() const { return m_q; }

  // The rotation whose new X and Y axes are the given vectors: t is the in-plane angle of the
  // frame (the third angle of gsl_Matrix::GetRotationAngles, with a zero third axis), and
  // (s, c) = (sin(t/2), cos(t/2)) computed in double (rounded once for float).
  void set(const gsl_Vector& xAxis, const gsl_Vector& yAxis);
  // The rotation whose new X and Y axes are the matrix's NewXAxis() and NewYAxis().
  void set(const gsl_Matrix& m);
  // (0, 1).
  void setIdentity();

  // Writes, in this order: c[0] = (1 - 2s^2, 2cs, 0); c[1] = (-2cs, 1 - 2s^2, 0); then c[1][0]
  // and c[1][1] again as 0 (the second row comes out as zeros on purpose); c[2][2] = 1. c[2][0]
  // and c[2][1] are not written. For float the products are single precision and the factor 2
  // and the subtraction from 1 are applied in double, rounded once.
  void cosines(T (*c)[3]) const;
  // r = (s p1 + c p0, -s p0 + c p1): the half-angles add. r must share storage with neither
  // this kernel's values nor p.
  void mult(const T* p, T* r) const;
  // r = (-s, c).
  void inverse(T* r) const;
  // Like the 3D kernel's: row `axis` (0, 1 or 2; not checked) of this kernel's table, normalised,
  // is refused (false, nothing changed) when |row . normal| > tolerance; otherwise its
  // projection P onto the plane normal to `normal`, normalised, and X = P x normal give the new
  // angle through set(X, P). Because of the table above, axis 1 is the zero vector and axis 2 is
  // (0, 0, 1).
  bool projectOn(const gsl_Vector& normal, unsigned axis, double tolerance);
  // v = (0, 0, 2 asin(s)), the angle in [-pi, pi]; s is not clamped (|s| > 1 gives NaN). The
  // float instantiation takes the single-precision asin.
  void toVector(T* v) const;
  // Text dump: "Qauternion: " and the two values, the rotation vector, the kernel's table.
  void Print(aio_ostream& os, int indent) const;

private:
  T* m_q;
};

// ---------------------------------------------------------------------------------------------

template <typename T>
void utf_Quat2dBase<T>::set(const gsl_Vector& xAxis, const gsl_Vector& yAxis) {
  gsl_Matrix frame;
  const gsl_Vector noAxis;
  frame.SetRotationVectors(xAxis, yAxis, noAxis);
  double a1 = 0.0;
  double a2 = 0.0;
  double theta = 0.0;
  frame.GetRotationAngles(a1, a2, theta);
  m_q[0] = static_cast<T>(std::sin(theta / 2.0));
  m_q[1] = static_cast<T>(std::cos(theta / 2.0));
}

template <typename T>
void utf_Quat2dBase<T>::set(const gsl_Matrix& m) {
  const gsl_Vector xAxis = m.NewXAxis();
  const gsl_Vector yAxis = m.NewYAxis();
  set(xAxis, yAxis);
}

template <typename T>
void utf_Quat2dBase<T>::setIdentity() {
  m_q[0] = T(0);
  m_q[1] = T(1);
}

template <typename T>
void utf_Quat2dBase<T>::cosines(T (*c)[3]) const {
  const T s = m_q[0];
  const T co = m_q[1];
  c[0][0] = static_cast<T>(1.0 - 2.0 * static_cast<double>(s * s));
  c[0][1] = static_cast<T>(2.0 * static_cast<double>(co * s));
  c[0][2] = T(0);
  c[1][0] = static_cast<T>(-2.0 * static_cast<double>(co * s));
  c[1][1] = static_cast<T>(1.0 - 2.0 * static_cast<double>(s * s));
  c[1][2] = T(0);
  // The zeros of the third row land in the second: this kernel's second row is (0, 0, 0), and
  // c[2][0], c[2][1] keep what the caller's table held. Intended; the full in-plane table is
  // utf_Quaternion<T>::cosines().
  c[1][0] = T(0);
  c[1][1] = T(0);
  c[2][2] = T(1);
}

template <typename T>
void utf_Quat2dBase<T>::mult(const T* p, T* r) const {
  r[0] = m_q[0] * p[1] + m_q[1] * p[0];
  r[1] = -m_q[0] * p[0] + m_q[1] * p[1];
}

template <typename T>
void utf_Quat2dBase<T>::inverse(T* r) const {
  r[0] = -m_q[0];
  r[1] = m_q[1];
}

template <typename T>
bool utf_Quat2dBase<T>::projectOn(const gsl_Vector& normal, unsigned axis, double tolerance) {
  // A fresh table: the entries that cosines leaves alone read as zeros.
  T table[3][3] = {};
  cosines(table);
  gsl_Vector chosen(static_cast<double>(table[axis][0]), static_cast<double>(table[axis][1]),
                    static_cast<double>(table[axis][2]));
  chosen.Normalize();
  if (std::fabs(chosen.DotProduct(normal)) > tolerance) {
    return false;
  }
  const gsl_Point origin;
  gsl_Plane plane(origin, normal);
  gsl_Vector yAxis = chosen.ProjectOn(plane);
  yAxis.Normalize();
  const gsl_Vector xAxis = yAxis.CrossProduct(normal);
  set(xAxis, yAxis);
  return true;
}

template <typename T>
void utf_Quat2dBase<T>::toVector(T* v) const {
  v[0] = T(0);
  v[1] = T(0);
  v[2] = T(2) * std::asin(m_q[0]);
}

template <typename T>
void utf_Quat2dBase<T>::Print(aio_ostream& os, int indent) const {
  T v[3];
  toVector(v);
  // A fresh table: c[2][0] and c[2][1], which cosines leaves alone, print as zeros.
  T table[3][3] = {};
  cosines(table);
  utf_printKernel(os, indent, m_q, 2, v, table);
}

extern template class utf_Quat2dBase<float>;
extern template class utf_Quat2dBase<double>;

#endif
