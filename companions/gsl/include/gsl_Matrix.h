#ifndef GSL_MATRIX_H
#define GSL_MATRIX_H

// gsl_Matrix: a frame of three axes X, Y, Z; the rotation matrix R whose columns are the axes.

#include "gsl_Vector.h"

class KPTGSL_EXPORT gsl_Matrix {
public:
  // The global frame: X = (1, 0, 0), Y = (0, 1, 0), Z = (0, 0, 1).
  gsl_Matrix() noexcept;

  // Stores the three axes as given (no normalisation, no check).
  void SetRotationVectors(const gsl_Vector& x, const gsl_Vector& y, const gsl_Vector& z) noexcept;
  gsl_Vector NewXAxis() const noexcept { return m_x; }
  gsl_Vector NewYAxis() const noexcept { return m_y; }
  gsl_Vector NewZAxis() const noexcept { return m_z; }

  // The angles of the decomposition R = Rx(a) Ry(b) Rz(c), each elementary rotation turning
  // counter-clockwise about its axis, from the Cartesian values of the axes:
  //   b = asin(Z.x) (the argument clamped to [-1, 1]), c = atan2(-Y.x, X.x), a = atan2(-Z.y, Z.z).
  // So an in-plane frame X = (cos t, sin t, 0), Y = (-sin t, cos t, 0) gives c = t whatever Z is,
  // and for |b| < pi/2 a frame built as Rx(a) Ry(b) Rz(c) gives back a, b and c.
  void GetRotationAngles(double& a, double& b, double& c) const noexcept;

private:
  gsl_Vector m_x;
  gsl_Vector m_y;
  gsl_Vector m_z;
};

#endif
