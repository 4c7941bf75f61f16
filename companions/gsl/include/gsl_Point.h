#ifndef GSL_POINT_H
#define GSL_POINT_H

// gsl_Point: a point of 3D space.

#include "KPTgsl.h"

class KPTGSL_EXPORT gsl_Point {
public:
  // The origin.
  gsl_Point() noexcept : m_x(0.0), m_y(0.0), m_z(0.0) {}
  gsl_Point(double x, double y, double z) noexcept : m_x(x), m_y(y), m_z(z) {}

  double X() const noexcept { return m_x; }
  double Y() const noexcept { return m_y; }
  double Z() const noexcept { return m_z; }

private:
  double m_x;
  double m_y;
  double m_z;
};

#endif
