#ifndef GSL_VECTOR_H
#define GSL_VECTOR_H

// gsl_Vector: a 3D vector stored as four doubles, in this order: x, y, z and a homogeneous weight
// h. Its Cartesian value is (x/h, y/h, z/h), each component taken as 0 when h is exactly 0 (so a
// vector of weight 0 counts as the zero vector). X(), Y(), Z() and W() read the stored numbers;
// the operations below work on the Cartesian value and return vectors of weight 1.

#include "KPTgsl.h"

class gsl_Plane;

class KPTGSL_EXPORT gsl_Vector {
public:
  // The zero vector, weight 1.
  gsl_Vector() noexcept : m_x(0.0), m_y(0.0), m_z(0.0), m_h(1.0) {}
  gsl_Vector(double x, double y, double z) noexcept : m_x(x), m_y(y), m_z(z), m_h(1.0) {}
  gsl_Vector(double x, double y, double z, double h) noexcept : m_x(x), m_y(y), m_z(z), m_h(h) {}

  double X() const noexcept { return m_x; }
  double Y() const noexcept { return m_y; }
  double Z() const noexcept { return m_z; }
  double W() const noexcept { return m_h; }

  // Scales the vector to unit length (weight 1) and returns true. The zero vector, and a vector
  // with an infinite or NaN component, are left unchanged and the result is false. (Components
  // are scaled by the largest first, so a vector whose length alone would overflow normalises.)
  bool Normalize() noexcept;
  double DotProduct(const gsl_Vector& other) const noexcept;
  // this x other.
  gsl_Vector CrossProduct(const gsl_Vector& other) const noexcept;
  // The projection onto the plane: v - (v . n) n, n being the plane's unit normal.
  gsl_Vector ProjectOn(gsl_Plane& plane) const noexcept;

private:
  double m_x;
  double m_y;
  double m_z;
  double m_h;
};

#endif
