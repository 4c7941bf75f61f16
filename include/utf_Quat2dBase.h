#ifndef UTF_QUAT2DBASE_H
#define UTF_QUAT2DBASE_H

// utf_Quat2dBase<T>: the raw in-plane rotation kernel, a handle over a caller's two values
// (s, c) = (sin(t/2), cos(t/2)) of a turn by t about axis 3, measured from global X towards Y
// (utf_Conventions.h, 2, 4 and 5). It never allocates or frees; copying a kernel copies the
// pointer only. Nothing normalises, and no operation fails.
//
// Two deliberate differences from the 3D kernel: toVector takes its angle from asin, in
// [-pi, pi] ((sin(3pi/4), cos(3pi/4)) gives pi/2 here, 3pi/2 in 3D); and the kernel's own table
// is not the full in-plane table (see cosines; utf_Quaternion<T>::cosines() gives the full one).

#include "aio_ostream.h"
#include "gsl_Matrix.h"
#include "gsl_Vector.h"
#include "utf_Export.h"

template <typename T>
class UTF_EXPORT utf_Quat2dBase {
public:
  // A handle over the caller's two values (s, c).
  explicit utf_Quat2dBase(T* q) : m_q(q) {}

  // The two values this kernel works on.
  T* data() const { return m_q; }

  // The rotation whose new X and Y axes are the given vectors: t is the in-plane angle of the
  // frame (the third angle of gsl_Matrix::GetRotationAngles, with a zero third axis), and
  // (s, c) = (sin(t/2), cos(t/2)) in double (rounded once for float).
  void set(const gsl_Vector& xAxis, const gsl_Vector& yAxis);
  // set(m.NewXAxis(), m.NewYAxis()).
  void set(const gsl_Matrix& m);
  // (0, 1).
  void setIdentity();

  // Writes c[0] = (1 - 2s^2, 2cs, 0), c[1] = (0, 0, 0) and c[2][2] = 1, and leaves c[2][0] and
  // c[2][1] as the caller had them. The second row of zeros is this kernel's table on purpose.
  // Rounding as the in-plane rows of utf_Conventions.h, 4.
  void cosines(T (*c)[3]) const;
  // r = (s p1 + c p0, -s p0 + c p1): the half-angles add. r must share storage with neither
  // this kernel's values nor p.
  void mult(const T* p, T* r) const;
  // r = (-s, c).
  void inverse(T* r) const;
  // As the 3D kernel's: row `axis` (0, 1 or 2; not checked) of this kernel's table, normalised,
  // is refused (false, nothing changed) when |row . normal| > tolerance; otherwise its
  // projection P onto the plane normal to `normal`, normalised, and X = P x normal give the new
  // angle through set(X, P). By the table above, axis 1 is the zero vector and axis 2 is
  // (0, 0, 1).
  bool projectOn(const gsl_Vector& normal, unsigned axis, double tolerance);
  // v = (0, 0, 2 asin(s)), the angle in [-pi, pi]; s is not clamped (|s| > 1 gives NaN). The
  // float instantiation takes the single-precision asin.
  void toVector(T* v) const;
  // Text dump: "Qauternion: " and the two values, the rotation vector, the kernel's table (the
  // entries that cosines leaves alone print as zeros).
  void Print(aio_ostream& os, int indent) const;

private:
  T* m_q;
};

extern template class utf_Quat2dBase<float>;
extern template class utf_Quat2dBase<double>;

#endif
