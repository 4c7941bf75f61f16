// Direction-cosine tables in batch: from rotations, and cylindrical and spherical axes at points.
// Plain loops over the engine's blocks: the rotations' tables are the value types' own arithmetic
// (utf/impl/utf_RotationArithmetic.h, the one home of the direction cosines), so that they are
// their bits; each frame is a handful of operations in double, rounded once.

#include "utf_BatchFrames.h"

#include "utf_BatchBlocks.h"
#include "utf_BatchChecks.h"
#include "utf_RotationArithmetic.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <limits>

namespace {

// Points closer to the axis than this times their distance from its origin (or the centre) have
// no radial (or azimuthal) direction.
constexpr double kOnAxis = 1e-9;

// The unit axis of a cylinder or a sphere; its length must be finite and non-zero.
struct Axis {
  double a[3];
};

// v scaled by the power of two that brings its largest component into [1, 2), so that no square
// overflows (a vector of 1e200) or underflows to 0 (1e-200). The scaling is exact (but for
// components that it takes below the normal range, far smaller than the largest), so that a
// direction computed from the scaled vector has the bits it had before for ordinary vectors. A
// zero, NaN or infinite vector is left as it is.
void scaleToUnitOrder(double* v) {
  const double largest = std::max(std::fabs(v[0]), std::max(std::fabs(v[1]), std::fabs(v[2])));
  if (largest > 0.0 && std::isfinite(largest)) {
    const int exponent = std::ilogb(largest);
    for (int k = 0; k < 3; ++k) {
      v[k] = std::ldexp(v[k], -exponent);
    }
  }
}

// Scaled first, every finite axis that is not zero has a direction; a zero, NaN or infinite axis
// keeps a length of 0, NaN or infinity.
Axis unitAxis(const double* axis) {
  double a[3] = {axis[0], axis[1], axis[2]};
  scaleToUnitOrder(a);
  const double axisLength = std::sqrt(a[0] * a[0] + a[1] * a[1] + a[2] * a[2]);
  UTF_ASSERT(axisLength > 0.0 && std::isfinite(axisLength), utf_BatchAssertLine::source,
             utf_BatchAssertLine::axisNotADirection);
  return {{a[0] / axisLength, a[1] / axisLength, a[2] / axisLength}};
}

template <typename T>
void writeRows(T* table, const double* r1, const double* r2, const double* r3) {
  for (int k = 0; k < 3; ++k) {
    table[k] = static_cast<T>(r1[k]);
    table[3 + k] = static_cast<T>(r2[k]);
    table[6 + k] = static_cast<T>(r3[k]);
  }
}

template <typename T>
void writeUndefined(T* table) {
  for (int k = 0; k < 9; ++k) {
    table[k] = std::numeric_limits<T>::quiet_NaN();
  }
}

void crossProduct(const double* a, const double* b, double* c) {
  c[0] = a[1] * b[2] - a[2] * b[1];
  c[1] = a[2] * b[0] - a[0] * b[2];
  c[2] = a[0] * b[1] - a[1] * b[0];
}

double dot(const double* a, const double* b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

// v made unit and orthogonal to the unit vector a by one more projection: the first projection
// leaves v's part along a as large as the rounding of the (possibly much longer) vector it came
// from, relative to v itself; a second one brings it down to the rounding of v.
void orthonormalTo(double* v, const double* a) {
  double length = std::sqrt(dot(v, v));
  for (int k = 0; k < 3; ++k) {
    v[k] /= length;
  }
  const double along = dot(v, a);
  for (int k = 0; k < 3; ++k) {
    v[k] -= along * a[k];
  }
  length = std::sqrt(dot(v, v));
  for (int k = 0; k < 3; ++k) {
    v[k] /= length;
  }
}

// The part of d normal to the unit axis a, and its length and d's length.
void normalPart(const double* d, const double* a, double* radial, double& radialLength,
                double& distance) {
  const double along = dot(d, a);
  for (int k = 0; k < 3; ++k) {
    radial[k] = d[k] - along * a[k];
  }
  radialLength = std::sqrt(dot(radial, radial));
  distance = std::sqrt(dot(d, d));
}

// Runs table(i) for every item on the engine's blocks; returns how many were undefined (table
// returns false). Each block adds its own count once: integer sums do not depend on the order.
template <typename Table>
std::size_t countUndefined(std::size_t count, Table&& table) {
  std::atomic<std::size_t> undefined{0};
  utf_batch::forEachBlock(count, [&](std::size_t begin, std::size_t end) {
    std::size_t n = 0;
    for (std::size_t i = begin; i < end; ++i) {
      n += table(i) ? 0 : 1;
    }
    undefined.fetch_add(n, std::memory_order_relaxed);
  });
  return undefined.load();
}

// The frames of points about an axis through `from` (a cylinder's origin, a sphere's centre):
// for each point, its offset d from `from` in double, the part of d normal to the unit axis and
// d's length. A point whose normal part is not longer than kOnAxis times its distance gets NaN
// components; any other gets rows(axis, d, normal part, distance, table). Returns how many were
// undefined. The frame and the test depend on d's direction only, so d is scaled to the order of
// 1 first (scaleToUnitOrder): points 1e200 or 1e-200 away get their frames too. An offset beyond
// the largest double (a point and an origin of opposite signs near it) is formed from halves.
template <typename T, typename Rows>
std::size_t framesAboutAxis(const T* points, std::size_t count, const double from[3],
                            const double axis[3], T* tables, Rows&& rows) {
  const Axis a = unitAxis(axis);
  utf_batch::requireArray(count, points);
  utf_batch::requireArray(count, tables);
  return countUndefined(count, [&](std::size_t i) {
    T* table = tables + 9 * i;
    double d[3];
    const T* point = points + 3 * i;
    for (int k = 0; k < 3; ++k) {
      d[k] = static_cast<double>(point[k]) - from[k];
    }
    if (!(std::isfinite(d[0]) && std::isfinite(d[1]) && std::isfinite(d[2]))) {
      for (int k = 0; k < 3; ++k) {
        d[k] = 0.5 * static_cast<double>(point[k]) - 0.5 * from[k];
      }
    }
    scaleToUnitOrder(d);
    double normal[3], normalLength, distance;
    normalPart(d, a.a, normal, normalLength, distance);
    if (!(normalLength > kOnAxis * distance)) {
      writeUndefined(table);
      return false;
    }
    rows(a, d, normal, distance, table);
    return true;
  });
}

} // namespace

template <typename T>
void utf_batchTablesFromQuaternions(const T* quaternions, std::size_t count, T* tables) {
  utf_batch::requireArray(count, quaternions);
  utf_batch::requireArray(count, tables);
  utf_batch::forEachBlock(count, [&](std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
      const utf_impl::Cosines3d<T> a = utf_impl::cosines3d(quaternions + 4 * i);
      T* table = tables + 9 * i;
      table[0] = a.a11, table[1] = a.a12, table[2] = a.a13;
      table[3] = a.a21, table[4] = a.a22, table[5] = a.a23;
      table[6] = a.a31, table[7] = a.a32, table[8] = a.a33;
    }
  });
}

template <typename T>
void utf_batchTablesFrom2dRotations(const T* rotations, std::size_t count, T* tables) {
  utf_batch::requireArray(count, rotations);
  utf_batch::requireArray(count, tables);
  utf_batch::forEachBlock(count, [&](std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
      const utf_impl::Block2<T> b = utf_impl::cosines2d(rotations + 2 * i);
      T* table = tables + 9 * i;
      table[0] = b.c11, table[1] = b.c12, table[2] = T(0);
      table[3] = b.c21, table[4] = b.c22, table[5] = T(0);
      table[6] = T(0), table[7] = T(0), table[8] = T(1);
    }
  });
}

template <typename T>
std::size_t utf_batchCylindricalTables(const T* points, std::size_t count, const double origin[3],
                                       const double axis[3], T* tables) {
  return framesAboutAxis(points, count, origin, axis, tables,
                         [](const Axis& a, const double*, double* radial, double, T* table) {
                           orthonormalTo(radial, a.a);
                           // Tangential = axial x radial: (radial, tangential, axial) is
                           // right-handed.
                           double tangential[3];
                           crossProduct(a.a, radial, tangential);
                           writeRows(table, radial, tangential, a.a);
                         });
}

template <typename T>
std::size_t utf_batchSphericalTables(const T* points, std::size_t count, const double centre[3],
                                     const double axis[3], T* tables) {
  return framesAboutAxis(points, count, centre, axis, tables,
                         [](const Axis& a, const double* d, double*, double distance, T* table) {
                           // e_r from the centre; e_phi = axis x e_r made unit (its length is the
                           // sine of the polar angle, which the test on the off-axis part keeps
                           // away from 0); e_theta = e_phi x e_r.
                           double radial[3], azimuthal[3], meridional[3];
                           for (int k = 0; k < 3; ++k) {
                             radial[k] = d[k] / distance;
                           }
                           crossProduct(a.a, radial, azimuthal);
                           orthonormalTo(azimuthal, radial);
                           crossProduct(azimuthal, radial, meridional);
                           writeRows(table, radial, meridional, azimuthal);
                         });
}

template UTF_BATCH_EXPORT void utf_batchTablesFromQuaternions(const float*, std::size_t, float*);
template UTF_BATCH_EXPORT void utf_batchTablesFromQuaternions(const double*, std::size_t, double*);
template UTF_BATCH_EXPORT void utf_batchTablesFrom2dRotations(const float*, std::size_t, float*);
template UTF_BATCH_EXPORT void utf_batchTablesFrom2dRotations(const double*, std::size_t, double*);
template UTF_BATCH_EXPORT std::size_t
utf_batchCylindricalTables(const float*, std::size_t, const double[3], const double[3], float*);
template UTF_BATCH_EXPORT std::size_t
utf_batchCylindricalTables(const double*, std::size_t, const double[3], const double[3], double*);
template UTF_BATCH_EXPORT std::size_t
utf_batchSphericalTables(const float*, std::size_t, const double[3], const double[3], float*);
template UTF_BATCH_EXPORT std::size_t
utf_batchSphericalTables(const double*, std::size_t, const double[3], const double[3], double*);
