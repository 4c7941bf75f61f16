#ifndef UTF_QUAT3DBASE_H
#define UTF_QUAT3DBASE_H

// utf_Quat3dBase<T>: the raw 3D rotation kernel, a handle over a caller's four values
// (x, y, z, w), vector part first (utf_Conventions.h, 2, 4 and 5). It never allocates or frees;
// the caller keeps the four values alive while the kernel is used, and copying a kernel copies
// the pointer only. Nothing normalises, and no operation fails.
//
// Float: set rounds its double result to float once; cosines follows the table's rounding rule
// (utf_Conventions.h, 4); toVector forms its factor in double and rounds it before multiplying.

#include "aio_ostream.h"
#include "gsl_Matrix.h"
#include "gsl_Vector.h"
#include "utf_Export.h"

template <typename T>
class UTF_EXPORT utf_Quat3dBase {
public:
  // A handle over the caller's four values (x, y, z, w).
  explicit utf_Quat3dBase(T* q) : m_q(q) {}

  // The four values this kernel works on.
  T* data() const { return m_q; }

  // The rotation whose new axes are the three given vectors, by CALQUAT (utf_numerics.h) in
  // double. Each vector's Cartesian value is component / h per component, 0 where the
  // homogeneous weight h is exactly 0. A left-handed frame (X x Y not pointing along Z; a NaN
  // counts as left-handed) is repaired by reversing Y; X and Z are used as given. Pass
  // orthonormal axes.
  void set(const gsl_Vector& xAxis, const gsl_Vector& yAxis, const gsl_Vector& zAxis);
  // set(m.NewXAxis(), m.NewYAxis(), m.NewZAxis()).
  void set(const gsl_Matrix& m);
  // (0, 0, 0, 1).
  void setIdentity();

  // Fills the 3 x 3 direction-cosine table c, rows the new axes (utf_Conventions.h, 4).
  void cosines(T (*c)[3]) const;
  // r = q (x) p: p applied first, then this rotation. r is written r[0] to r[3] in that order
  // while q and p are re-read, so r must share storage with neither.
  void mult(const T* p, T* r) const;
  // r = (-x, -y, -z, w): the conjugate, the inverse of a unit quaternion (no division by the
  // norm).
  void inverse(T* r) const;
  // Re-aligns the frame so that `normal` becomes its Z axis: row `axis` (0, 1 or 2; not checked)
  // of the table, normalised, is projected onto the plane normal to `normal` and becomes the new
  // Y axis; the new X axis is Y x normal. Returns false and changes nothing when that row is too
  // close to the normal, |row . normal| > tolerance (equality passes). Pass a unit normal.
  bool projectOn(const gsl_Vector& normal, unsigned axis, double tolerance);
  // The rotation vector v = f (x, y, z), f = 2 acos(w) / sqrt(1 - w^2), or f = 0 when 1 - w^2
  // is exactly 0 (identity, either sign). The angle lies in [0, 2 pi]; w is not clamped
  // (|w| > 1 gives NaN).
  void toVector(T* v) const;
  // Text dump: indent blanks and "Qauternion: " with the four values; "As Vector: " with the
  // rotation vector; "As transformation matrix:" and the three rows of the table.
  void Print(aio_ostream& os, int indent) const;

private:
  T* m_q;
};

extern template class utf_Quat3dBase<float>;
extern template class utf_Quat3dBase<double>;

#endif
