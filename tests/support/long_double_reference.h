#ifndef UTF_TEST_LONG_DOUBLE_REFERENCE_H
#define UTF_TEST_LONG_DOUBLE_REFERENCE_H

// Independent references in long double, from the textbook definitions and never from the
// library's formulas: 3 x 3 matrices, the direction-cosine table of a rotation obtained by
// turning the global axes with Hamilton products, tensors as symmetric matrices, the two senses
// of a change of axes, and a Jacobi eigen solver. The library's double results are checked
// against these to a stated tolerance; its float results too.

#include "layouts.h"
#include "utf.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

using Real = long double;

// pi in long double, and rounded to double.
constexpr Real kPiL = utf_piLong;
constexpr double kPi = utf_pi;

// A 3 x 3 matrix, row-major: a direction-cosine table (row i is new axis i), a rotation matrix,
// or a tensor's symmetric matrix.
struct RealMatrix {
  Real a[3][3];
};

// a b.
inline RealMatrix product(const RealMatrix& x, const RealMatrix& y) {
  RealMatrix r{};
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      Real sum = 0;
      for (int k = 0; k < 3; ++k) {
        sum += x.a[i][k] * y.a[k][j];
      }
      r.a[i][j] = sum;
    }
  }
  return r;
}

inline RealMatrix transposed(const RealMatrix& x) {
  RealMatrix r{};
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      r.a[i][j] = x.a[j][i];
    }
  }
  return r;
}

// Counter-clockwise (active) rotations by an angle about X, Y and Z: their columns are the images
// of the global axes.
inline RealMatrix aboutX(Real angle) {
  const Real c = std::cos(angle), s = std::sin(angle);
  return RealMatrix{{{1, 0, 0}, {0, c, -s}, {0, s, c}}};
}
inline RealMatrix aboutY(Real angle) {
  const Real c = std::cos(angle), s = std::sin(angle);
  return RealMatrix{{{c, 0, s}, {0, 1, 0}, {-s, 0, c}}};
}
inline RealMatrix aboutZ(Real angle) {
  const Real c = std::cos(angle), s = std::sin(angle);
  return RealMatrix{{{c, -s, 0}, {s, c, 0}, {0, 0, 1}}};
}

// r = q (x) p, the Hamilton product of quaternions stored vector part first, scalar last.
inline void referenceProduct(const Real* q, const Real* p, Real* r) {
  r[0] = q[3] * p[0] + p[3] * q[0] + (q[1] * p[2] - q[2] * p[1]);
  r[1] = q[3] * p[1] + p[3] * q[1] + (q[2] * p[0] - q[0] * p[2]);
  r[2] = q[3] * p[2] + p[3] * q[2] + (q[0] * p[1] - q[1] * p[0]);
  r[3] = q[3] * p[3] - (q[0] * p[0] + q[1] * p[1] + q[2] * p[2]);
}

// The table of a 3D rotation (x, y, z, w) by turning the global axes: row i is the image
// q e_i q* of global axis i (scaled by |q|^2 for a non-unit q, as the library's table is).
template <typename T>
RealMatrix referenceTable3d(const T* q) {
  const Real quat[4] = {static_cast<Real>(q[0]), static_cast<Real>(q[1]), static_cast<Real>(q[2]),
                        static_cast<Real>(q[3])};
  const Real conj[4] = {-quat[0], -quat[1], -quat[2], quat[3]};
  RealMatrix t{};
  for (int i = 0; i < 3; ++i) {
    Real axis[4] = {0, 0, 0, 0};
    axis[i] = 1;
    Real half[4];
    Real image[4];
    referenceProduct(quat, axis, half);
    referenceProduct(half, conj, image);
    for (int j = 0; j < 3; ++j) {
      t.a[i][j] = image[j];
    }
  }
  return t;
}

// The table of a 2D rotation (sin(t/2), cos(t/2)) from its angle t = 2 atan2(p0, p1): rows
// (cos t, sin t, 0), (-sin t, cos t, 0), (0, 0, 1).
template <typename T>
RealMatrix referenceTable2d(const T* p) {
  const Real t = 2 * std::atan2(static_cast<Real>(p[0]), static_cast<Real>(p[1]));
  RealMatrix b{};
  b.a[0][0] = std::cos(t);
  b.a[0][1] = std::sin(t);
  b.a[1][0] = -std::sin(t);
  b.a[1][1] = std::cos(t);
  b.a[2][2] = 1;
  return b;
}

// The table of a rotation value, 2D or 3D.
template <typename T>
RealMatrix referenceTableOf(const utf_Quaternion<T>& rotation) {
  return rotation.type() == res_Rotation2d ? referenceTable2d(rotation.data())
                                           : referenceTable3d(rotation.data());
}

// Only the upper-left 2 x 2 block of a table, the third axis kept: what a surface layout uses of
// a 3D rotation.
inline RealMatrix inPlaneBlock(const RealMatrix& t) {
  RealMatrix b{};
  b.a[0][0] = t.a[0][0];
  b.a[0][1] = t.a[0][1];
  b.a[1][0] = t.a[1][0];
  b.a[1][1] = t.a[1][1];
  b.a[2][2] = 1;
  return b;
}

// The symmetric matrix with these components.
inline RealMatrix symmetric(Real s11, Real s22, Real s33, Real s12, Real s13, Real s23) {
  return RealMatrix{{{s11, s12, s13}, {s12, s22, s23}, {s13, s23, s33}}};
}

// The tensor's matrix from components stored in `type`'s layout (a type that is no tensor type
// read as full), the shears halved when they are engineering shears; a planar layout has no S13,
// S23, a surface one no third row and column.
template <typename T>
RealMatrix matrixOf(res_DataTypeEnm type, const T* c, bool engineeringShear = false) {
  const Real f = engineeringShear ? 0.5L : 1.0L;
  if (isSurface(type)) {
    return symmetric(c[0], c[1], 0, f * c[2], 0, 0);
  }
  if (isPlanar(type)) {
    return symmetric(c[0], c[1], c[2], f * c[3], 0, 0);
  }
  return symmetric(c[0], c[1], c[2], f * c[3], f * c[4], f * c[5]);
}

// The matrix of a tensor value, by its type and its own engineering-shear flag.
template <typename T>
RealMatrix matrixOf(const utf_Tensor<T>& tensor) {
  return matrixOf(tensor.type(), tensor.data(), tensor.engineeringShear());
}

// The components of `type`'s layout read from a matrix, in slot order (tensorial shears), the
// unused slots 0.
inline std::array<Real, 6> layoutComponents(res_DataTypeEnm type, const RealMatrix& m) {
  if (isSurface(type)) {
    return {m.a[0][0], m.a[1][1], m.a[0][1], 0, 0, 0};
  }
  if (isPlanar(type)) {
    return {m.a[0][0], m.a[1][1], m.a[2][2], m.a[0][1], 0, 0};
  }
  return {m.a[0][0], m.a[1][1], m.a[2][2], m.a[0][1], m.a[0][2], m.a[1][2]};
}

// Onto the new axes: A M A^T.
inline RealMatrix turned(const RealMatrix& table, const RealMatrix& m) {
  return product(product(table, m), transposed(table));
}

// Back to the old axes: A^T M A.
inline RealMatrix turnedBack(const RealMatrix& table, const RealMatrix& m) {
  return product(product(transposed(table), m), table);
}

// Eigenvalues of the leading n x n block (n = 2 or 3) of a symmetric matrix, descending, by
// cyclic Jacobi rotations until the off-diagonal part is negligible in long double.
inline std::array<Real, 3> jacobiEigenvalues(RealMatrix m, int n = 3) {
  const Real tiny = std::numeric_limits<Real>::epsilon() * std::numeric_limits<Real>::epsilon();
  for (int sweep = 0; sweep < 64; ++sweep) {
    Real off = 0, all = 0;
    for (int i = 0; i < n; ++i) {
      all += m.a[i][i] * m.a[i][i];
      for (int j = i + 1; j < n; ++j) {
        off += m.a[i][j] * m.a[i][j];
        all += 2 * m.a[i][j] * m.a[i][j];
      }
    }
    if (off <= tiny * all) {
      break;
    }
    for (int p = 0; p < n; ++p) {
      for (int q = p + 1; q < n; ++q) {
        // One rotation in the (p, q) plane that zeroes a[p][q].
        const Real apq = m.a[p][q];
        if (apq == 0) {
          continue;
        }
        const Real theta = (m.a[q][q] - m.a[p][p]) / (2 * apq);
        const Real t = (theta >= 0 ? 1 : -1) / (std::fabs(theta) + std::sqrt(theta * theta + 1));
        const Real c = 1 / std::sqrt(t * t + 1);
        const Real s = t * c;
        m.a[p][p] -= t * apq;
        m.a[q][q] += t * apq;
        m.a[p][q] = m.a[q][p] = 0;
        for (int r = 0; r < n; ++r) {
          if (r != p && r != q) {
            const Real arp = m.a[r][p], arq = m.a[r][q];
            m.a[r][p] = m.a[p][r] = c * arp - s * arq;
            m.a[r][q] = m.a[q][r] = s * arp + c * arq;
          }
        }
      }
    }
  }
  // Descending: the pair, then (for n = 3) the third value sifted into place.
  std::array<Real, 3> values = {m.a[0][0], m.a[1][1], n == 3 ? m.a[2][2] : 0};
  if (values[0] < values[1]) {
    std::swap(values[0], values[1]);
  }
  if (n == 3 && values[1] < values[2]) {
    std::swap(values[1], values[2]);
    if (values[0] < values[1]) {
      std::swap(values[0], values[1]);
    }
  }
  return values;
}

// The largest magnitude of n components, at least 1: the scale of an absolute tolerance.
template <typename T>
Real largestMagnitude(const T* c, int n) {
  Real m = 1;
  for (int i = 0; i < n; ++i) {
    m = std::max(m, std::fabs(static_cast<Real>(c[i])));
  }
  return m;
}

// The largest magnitude of a matrix's entries, at least 1.
inline Real largestMagnitude(const RealMatrix& m) {
  return largestMagnitude(&m.a[0][0], 9);
}

#endif
