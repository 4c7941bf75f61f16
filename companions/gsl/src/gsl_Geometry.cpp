#include "KPTgsl.h"
#include "gsl_Matrix.h"
#include "gsl_Plane.h"
#include "gsl_Point.h"
#include "gsl_Vector.h"

#include <cmath>

namespace {

int s_depth = 0;

struct Cartesian {
  double x;
  double y;
  double z;
};

Cartesian cartesian(const gsl_Vector& v) noexcept {
  const double h = v.W();
  if (h == 0.0) {
    return {0.0, 0.0, 0.0};
  }
  return {v.X() / h, v.Y() / h, v.Z() / h};
}

} // namespace

void gsl_initialize(int& /*counter*/) {
  ++s_depth;
}

void gsl_finalize(int& /*counter*/) {
  if (s_depth > 0) {
    --s_depth;
  }
}

int gsl_initialized() {
  return s_depth;
}

// ---------------------------------------------------------------------------------------------

bool gsl_Vector::Normalize() noexcept {
  const Cartesian c = cartesian(*this);
  // Scale by the largest magnitude first, so that neither tiny nor huge vectors lose their
  // length to underflow or overflow in the sum of squares.
  const double largest = std::fmax(std::fabs(c.x), std::fmax(std::fabs(c.y), std::fabs(c.z)));
  if (!(largest > 0.0) || !std::isfinite(largest)) {
    return false;
  }
  const double x = c.x / largest;
  const double y = c.y / largest;
  const double z = c.z / largest;
  const double length = std::sqrt(x * x + y * y + z * z);
  // std::fmax passes over a NaN, so a NaN beside finite components shows only here.
  if (std::isnan(length)) {
    return false;
  }
  m_x = x / length;
  m_y = y / length;
  m_z = z / length;
  m_h = 1.0;
  return true;
}

double gsl_Vector::DotProduct(const gsl_Vector& other) const noexcept {
  const Cartesian a = cartesian(*this);
  const Cartesian b = cartesian(other);
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

gsl_Vector gsl_Vector::CrossProduct(const gsl_Vector& other) const noexcept {
  const Cartesian a = cartesian(*this);
  const Cartesian b = cartesian(other);
  return gsl_Vector(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
}

gsl_Vector gsl_Vector::ProjectOn(gsl_Plane& plane) const noexcept {
  const Cartesian v = cartesian(*this);
  const gsl_Vector& n = plane.Normal();
  const double along = DotProduct(n);
  return gsl_Vector(v.x - along * n.X(), v.y - along * n.Y(), v.z - along * n.Z());
}

// ---------------------------------------------------------------------------------------------

gsl_Plane::gsl_Plane(const gsl_Point& point, const gsl_Vector& normal) noexcept
    : m_point(point), m_normal(normal) {
  if (!m_normal.Normalize()) {
    m_normal = gsl_Vector(0.0, 0.0, 0.0);
  }
}

// ---------------------------------------------------------------------------------------------

gsl_Matrix::gsl_Matrix() noexcept : m_x(1.0, 0.0, 0.0), m_y(0.0, 1.0, 0.0), m_z(0.0, 0.0, 1.0) {}

void gsl_Matrix::SetRotationVectors(const gsl_Vector& x, const gsl_Vector& y,
                                    const gsl_Vector& z) noexcept {
  m_x = x;
  m_y = y;
  m_z = z;
}

void gsl_Matrix::GetRotationAngles(double& a, double& b, double& c) const noexcept {
  const Cartesian x = cartesian(m_x);
  const Cartesian y = cartesian(m_y);
  const Cartesian z = cartesian(m_z);
  const double sine = z.x > 1.0 ? 1.0 : (z.x < -1.0 ? -1.0 : z.x);
  b = std::asin(sine);
  c = std::atan2(-y.x, x.x);
  a = std::atan2(-z.y, z.z);
}
