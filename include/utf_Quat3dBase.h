#ifndef UTF_QUAT3DBASE_H
#define UTF_QUAT3DBASE_H

// utf_Quat3dBase<T>: the raw 3D rotation kernel, a handle over a caller's four values of type T
// (T = float or double). It never allocates or frees: the caller keeps the four values alive
// while the kernel is used, and copying a kernel copies the pointer only.
//
// Conventions of every rotation of the library:
// - Storage: vector part first, scalar last: (x, y, z, w) = (sin(t/2) * unit axis, cos(t/2));
//   the identity is (0, 0, 0, 1).
// - Meaning: the rotation carries the global axes onto the new axes. The direction-cosine table
//   has the new axes as its rows: row i is new axis i in global components, entry [i][j] the
//   cosine between new axis i and global axis j. A rotation by t about the global Z axis is
//   (0, 0, sin(t/2), cos(t/2)) and its row 0 is (cos t, sin t, 0).
// - Composition: mult gives r = q (x) p (Hamilton product, this kernel's q on the left);
//   applying r means applying p first, then q.
// - toVector gives the angle 2 acos(w) times the unit axis, the angle in [0, 2 pi] (the 2D
//   kernel's angle comes from asin and lies in [-pi, pi]; the two differ on purpose).
// - Length: nothing normalises. The cosine formulas are used as they stand (the diagonal as a
//   sum of four squares), so a non-unit quaternion gives a scaled, non-orthogonal table.
//
// Precision of the float instantiation: set rounds the double-precision result to float; in
// cosines the products and their sum or difference are single precision, the factor 2 is
// applied in double and the result rounded once, and the diagonal is wholly single precision;
// toVector forms its factor in double and rounds it to float before multiplying.

#include "aio_ostream.h"
#include "gsl_Matrix.h"
#include "gsl_Plane.h"
#include "gsl_Point.h"
#include "gsl_Vector.h"
#include "utf_Export.h"
#include "utf_Print.h"
#include "utf_numerics.h"

#include <cmath>

template <typename T>
class UTF_EXPORT utf_Quat3dBase {
public:
  // A handle over the caller's four values (x, y, z, w).
  explicit utf_Quat3dBase(T* q) : m_q(q) {}

  // The four values this kernel works on (the tensor kernels read the rotation through it).
  T* data() const { return m_q; }

  // The diagonal of the direction-cosine table, each entry a sum of four squares formed in T from
  // the left (never 1 - 2(...)): cosines() and the tensor kernels both take the diagonal from
  // these three.
  //   [0][0] = x^2 - y^2 - z^2 + w^2,  [1][1] = -x^2 + y^2 - z^2 + w^2,
  //   [2][2] = -x^2 - y^2 + z^2 + w^2
  T cosine00() const {
    return m_q[0] * m_q[0] - m_q[1] * m_q[1] - m_q[2] * m_q[2] + m_q[3] * m_q[3];
  }
  T cosine11() const {
    return -m_q[0] * m_q[0] + m_q[1] * m_q[1] - m_q[2] * m_q[2] + m_q[3] * m_q[3];
  }
  T cosine22() const {
    return -m_q[0] * m_q[0] - m_q[1] * m_q[1] + m_q[2] * m_q[2] + m_q[3] * m_q[3];
  }

  // The rotation whose new axes are the three given vectors. Each vector's Cartesian value is
  // taken as component / h per component, 0 where the homogeneous weight h is exactly 0. A
  // left-handed frame (X x Y not pointing along Z, a NaN counting as left-handed) is repaired by
  // reversing Y; X and Z are used as given. The axes are expected to be orthonormal.
  void set(const gsl_Vector& xAxis, const gsl_Vector& yAxis, const gsl_Vector& zAxis);
  // The rotation whose new axes are the matrix's NewXAxis(), NewYAxis() and NewZAxis().
  void set(const gsl_Matrix& m);
  // (0, 0, 0, 1).
  void setIdentity();

  // Fills the 3 x 3 direction-cosine table c (rows are the new axes):
  //   c[0] = (x^2 - y^2 - z^2 + w^2,  2(xy + zw),  2(xz - yw))
  //   c[1] = (2(xy - zw),  -x^2 + y^2 - z^2 + w^2,  2(yz + xw))
  //   c[2] = (2(xz + yw),  2(yz - xw),  -x^2 - y^2 + z^2 + w^2)
  void cosines(T (*c)[3]) const;
  // r = q (x) p: p applied first, then this rotation. r is written r[0], r[1], r[2], r[3] in
  // that order while q and p are re-read, so r must share storage with neither.
  void mult(const T* p, T* r) const;
  // r = (-x, -y, -z, w): the conjugate, which is the inverse of a unit quaternion (there is no
  // division by the norm).
  void inverse(T* r) const;
  // Re-aligns the frame so that `normal` becomes its Z axis: row `axis` (0, 1 or 2; not checked)
  // of the direction-cosine table, normalised, is projected onto the plane normal to `normal`
  // and becomes the new Y axis; the new X axis is Y x normal. Returns false and changes nothing
  // when that row is too close to the normal, |row . normal| > tolerance (equality passes). The
  // normal is used as given: pass a unit vector.
  bool projectOn(const gsl_Vector& normal, unsigned axis, double tolerance);
  // The rotation vector v = f (x, y, z) with f = 2 acos(w) / sqrt(1 - w^2), or f = 0 when
  // 1 - w^2 is exactly 0 (identity, either sign). w is not clamped: |w| > 1 gives NaN.
  void toVector(T* v) const;
  // Text dump: "Qauternion: " and the four values, the rotation vector, the table.
  void Print(aio_ostream& os, int indent) const;

private:
  // A vector's Cartesian components into three doubles.
  static void cartesian(const gsl_Vector& v, double* out);

  T* m_q;
};

// ---------------------------------------------------------------------------------------------

template <typename T>
void utf_Quat3dBase<T>::cartesian(const gsl_Vector& v, double* out) {
  // The weight is tested for each component: a vector of weight 0 counts as the zero vector.
  const double h = v.W();
  out[0] = h != 0.0 ? v.X() / h : 0.0;
  out[1] = h != 0.0 ? v.Y() / h : 0.0;
  out[2] = h != 0.0 ? v.Z() / h : 0.0;
}

template <typename T>
void utf_Quat3dBase<T>::set(const gsl_Vector& xAxis, const gsl_Vector& yAxis,
                            const gsl_Vector& zAxis) {
  // The axes one after the other: the column-major direction-cosine array whose columns (and so
  // the table's rows) are the new axes.
  double axes[9];
  cartesian(xAxis, axes);
  cartesian(yAxis, axes + 3);
  cartesian(zAxis, axes + 6);

  double xCrossY[3];
  CROSSV(axes, axes + 3, xCrossY);
  const double along = xCrossY[0] * axes[6] + xCrossY[1] * axes[7] + xCrossY[2] * axes[8];
  if (!(along >= 0.0)) {
    // Left-handed (or undecidable): reverse Y so that the frame is a rotation.
    axes[3] = -axes[3];
    axes[4] = -axes[4];
    axes[5] = -axes[5];
  }

  const int scalarFirst = 0;
  double q[4];
  CALQUAT(q, axes, &scalarFirst);
  for (int i = 0; i < 4; ++i) {
    m_q[i] = static_cast<T>(q[i]);
  }
}

template <typename T>
void utf_Quat3dBase<T>::set(const gsl_Matrix& m) {
  const gsl_Vector xAxis = m.NewXAxis();
  const gsl_Vector yAxis = m.NewYAxis();
  const gsl_Vector zAxis = m.NewZAxis();
  set(xAxis, yAxis, zAxis);
}

template <typename T>
void utf_Quat3dBase<T>::setIdentity() {
  m_q[0] = T(0);
  m_q[1] = T(0);
  m_q[2] = T(0);
  m_q[3] = T(1);
}

template <typename T>
void utf_Quat3dBase<T>::cosines(T (*c)[3]) const {
  const T x = m_q[0];
  const T y = m_q[1];
  const T z = m_q[2];
  const T w = m_q[3];
  // Off the diagonal: the bracket in T, the factor 2 in double, one rounding back to T.
  c[0][0] = cosine00();
  c[0][1] = static_cast<T>(2.0 * static_cast<double>(x * y + z * w));
  c[0][2] = static_cast<T>(2.0 * static_cast<double>(x * z - y * w));
  c[1][0] = static_cast<T>(2.0 * static_cast<double>(x * y - z * w));
  c[1][1] = cosine11();
  c[1][2] = static_cast<T>(2.0 * static_cast<double>(y * z + x * w));
  c[2][0] = static_cast<T>(2.0 * static_cast<double>(x * z + y * w));
  c[2][1] = static_cast<T>(2.0 * static_cast<double>(y * z - x * w));
  c[2][2] = cosine22();
}

template <typename T>
void utf_Quat3dBase<T>::mult(const T* p, T* r) const {
  // Vector part w p_v + p3 q_v + q_v x p_v, scalar w p3 - q_v . p_v.
  r[0] = m_q[0] * p[3] + m_q[1] * p[2] - m_q[2] * p[1] + m_q[3] * p[0];
  r[1] = -m_q[0] * p[2] + m_q[1] * p[3] + m_q[2] * p[0] + m_q[3] * p[1];
  r[2] = m_q[0] * p[1] - m_q[1] * p[0] + m_q[2] * p[3] + m_q[3] * p[2];
  r[3] = -m_q[0] * p[0] - m_q[1] * p[1] - m_q[2] * p[2] + m_q[3] * p[3];
}

template <typename T>
void utf_Quat3dBase<T>::inverse(T* r) const {
  r[0] = -m_q[0];
  r[1] = -m_q[1];
  r[2] = -m_q[2];
  r[3] = m_q[3];
}

template <typename T>
bool utf_Quat3dBase<T>::projectOn(const gsl_Vector& normal, unsigned axis, double tolerance) {
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
  set(xAxis, yAxis, normal);
  return true;
}

template <typename T>
void utf_Quat3dBase<T>::toVector(T* v) const {
  const double w = static_cast<double>(m_q[3]);
  const double s = 1.0 - w * w;
  const double f = s != 0.0 ? 2.0 * std::acos(w) / std::sqrt(s) : 0.0;
  // The float instantiation rounds the factor once and multiplies in single precision.
  const T factor = static_cast<T>(f);
  v[0] = factor * m_q[0];
  v[1] = factor * m_q[1];
  v[2] = factor * m_q[2];
}

template <typename T>
void utf_Quat3dBase<T>::Print(aio_ostream& os, int indent) const {
  T v[3];
  toVector(v);
  T table[3][3];
  cosines(table);
  utf_printKernel(os, indent, m_q, 4, v, table);
}

extern template class utf_Quat3dBase<float>;
extern template class utf_Quat3dBase<double>;

#endif
