#ifndef GSL_PLANE_H
#define GSL_PLANE_H

// gsl_Plane: the plane through a point with a given normal. The normal is kept at unit length;
// a normal that cannot be normalised (zero length) is kept as the zero vector, and projecting onto
// such a plane leaves a vector unchanged.

#include "gsl_Point.h"
#include "gsl_Vector.h"

class KPTGSL_EXPORT gsl_Plane {
public:
  gsl_Plane(const gsl_Point& point, const gsl_Vector& normal) noexcept;

  const gsl_Point& Point() const noexcept { return m_point; }
  // The unit normal (or the zero vector, see above).
  const gsl_Vector& Normal() const noexcept { return m_normal; }

private:
  gsl_Point m_point;
  gsl_Vector m_normal;
};

#endif
