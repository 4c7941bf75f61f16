#ifndef UTF_IMPL_ROTATIONARITHMETIC_H
#define UTF_IMPL_ROTATIONARITHMETIC_H

// The one home of the rotation arithmetic (private to the library): the direction cosines of a
// rotation, and the per-layout products that turn a tensor's components with them, written once
// for both senses (utf_Conventions.h, 6).
//
// The sense is a compile-time parameter of the products: the kernels use the rotation's own table
// A (S' = A S A^T), utf_Tensor<T>::transform its transpose (S' = A^T S A). Since C S C^T with
// C = A^T is A^T S A term for term, both senses evaluate the same sums in the same order, and
// every rounding is what it was when each sense had its own written-out copy.
// Everything here is inline and of internal use only, so that each caller compiles to one
// straight-line function: no call per helper, and the transposition is only a renaming of
// registers. (An earlier sharing through out-of-line helpers cost about 20% in the transform
// benchmark; bench_tensor_transform is the judge of any change here.)

#include "gsl_Plane.h"
#include "gsl_Point.h"
#include "gsl_Vector.h"

#include <cmath>

namespace utf_impl {

// The constant scalings of the rotations: evaluated in double from the T operand and rounded
// back to T once. In the double instantiation every cast is the identity.

// 2 (bracket): an off-diagonal direction cosine.
template <typename T>
inline T twice(T bracket) {
  return static_cast<T>(2.0 * static_cast<double>(bracket));
}

// 1 - 2 (square): a diagonal cosine of the in-plane rotation.
template <typename T>
inline T oneMinusTwice(T square) {
  return static_cast<T>(1.0 - 2.0 * static_cast<double>(square));
}

// value times 0.5: an engineering shear brought to its tensor component (exact).
template <typename T>
inline T half(T value) {
  return static_cast<T>(static_cast<double>(value) * 0.5);
}

// The nine direction cosines a_rs of a 3D rotation (x, y, z, w): row r is new axis r.
template <typename T>
struct Cosines3d {
  T a11, a12, a13, a21, a22, a23, a31, a32, a33;

  // The same nine numbers with rows and columns exchanged: a_rs becomes a_sr.
  Cosines3d transposed() const { return {a11, a21, a31, a12, a22, a32, a13, a23, a33}; }
};

// The table of (x, y, z, w) = q[0..3]: the diagonal as sums of four squares formed in T from the
// left, the off-diagonal brackets in T and their doubling in double.
template <typename T>
inline Cosines3d<T> cosines3d(const T* q) {
  const T x = q[0], y = q[1], z = q[2], w = q[3];
  Cosines3d<T> a;
  a.a11 = x * x - y * y - z * z + w * w;
  a.a12 = twice(x * y + z * w);
  a.a13 = twice(x * z - y * w);
  a.a21 = twice(x * y - z * w);
  a.a22 = -x * x + y * y - z * z + w * w;
  a.a23 = twice(y * z + x * w);
  a.a31 = twice(x * z + y * w);
  a.a32 = twice(y * z - x * w);
  a.a33 = -x * x - y * y + z * z + w * w;
  return a;
}

// A 2 x 2 table (c11 c12 / c21 c22): the in-plane rows of a rotation.
template <typename T>
struct Block2 {
  T c11, c12, c21, c22;

  Block2 transposed() const { return {c11, c21, c12, c22}; }
};

// The in-plane rows of a 2D rotation (s, c) = p[0..1]: (1 - 2s^2, 2(cs)) and
// (2((-c)s), 1 - 2s^2), products in T, the doubling and the subtraction in double. For a unit
// rotation by t: (cos t, sin t) and (-sin t, cos t). The diagonal comes from s alone, so the
// non-unit rotation (0, 2) is the identity, not a scaling.
template <typename T>
inline Block2<T> cosines2d(const T* p) {
  const T s = p[0], c = p[1];
  return {oneMinusTwice(s * s), twice(c * s), twice((-c) * s), oneMinusTwice(s * s)};
}

// The in-plane block (a11 a12 / a21 a22) of a 3D table: all that a surface layout uses.
template <typename T>
inline Block2<T> inPlaneBlock(const Cosines3d<T>& a) {
  return {a.a11, a.a12, a.a21, a.a22};
}

// Which way the products turn a tensor (utf_Conventions.h, 6): the kernels go onto the new axes,
// S' = A S A^T; utf_Tensor<T>::transform goes back to the old ones, S' = A^T S A, which is the
// same products with the transposed table. The transposition is decided at compile time.
enum class Sense { ontoNewAxes, backToOldAxes };

// The table the products use for a sense: A itself, or its transpose.
template <Sense sense, typename Table>
inline Table oriented(const Table& a) {
  if constexpr (sense == Sense::ontoNewAxes) {
    return a;
  } else {
    return a.transposed();
  }
}

// The products, S' = C S C^T with C = oriented<sense>(A) (rows c_r), in place, from the rotation
// q (x, y, z, w) or p (s, c). With `engineeringShear` the shear slots are halved first, before
// the cosines are formed and anything is read; the computed shears are stored doubled. All new
// components are formed from the old ones before the first is stored. Every product and sum is
// in T, left to right as written.

// 3D full layout (S11, S22, S33, S12, S13, S23): u_r = S c_r; S'11 = c_1.u_1, S'22 = c_2.u_2,
// S'33 = c_3.u_3, S'12 = c_1.u_2, S'13 = c_3.u_1, S'23 = c_2.u_3.
template <Sense sense, typename T>
inline void rotateFull(T* s, const T* q, bool engineeringShear) {
  T f = T(1);
  if (engineeringShear) {
    f = T(2);
    s[3] = half(s[3]);
    s[4] = half(s[4]);
    s[5] = half(s[5]);
  }
  const Cosines3d<T> c = oriented<sense>(cosines3d(q));
  const T s11 = s[0], s22 = s[1], s33 = s[2], s12 = s[3], s13 = s[4], s23 = s[5];

  const T u11 = s11 * c.a11 + s12 * c.a12 + s13 * c.a13;
  const T u12 = s12 * c.a11 + s22 * c.a12 + s23 * c.a13;
  const T u13 = s13 * c.a11 + s23 * c.a12 + s33 * c.a13;
  const T u21 = s11 * c.a21 + s12 * c.a22 + s13 * c.a23;
  const T u22 = s12 * c.a21 + s22 * c.a22 + s23 * c.a23;
  const T u23 = s13 * c.a21 + s23 * c.a22 + s33 * c.a23;
  const T u31 = s11 * c.a31 + s12 * c.a32 + s13 * c.a33;
  const T u32 = s12 * c.a31 + s22 * c.a32 + s23 * c.a33;
  const T u33 = s13 * c.a31 + s23 * c.a32 + s33 * c.a33;

  const T n11 = c.a11 * u11 + c.a12 * u12 + c.a13 * u13;
  const T n22 = c.a21 * u21 + c.a22 * u22 + c.a23 * u23;
  const T n33 = c.a31 * u31 + c.a32 * u32 + c.a33 * u33;
  const T n12 = f * (c.a11 * u21 + c.a12 * u22 + c.a13 * u23);
  const T n13 = f * (c.a31 * u11 + c.a32 * u12 + c.a33 * u13);
  const T n23 = f * (c.a21 * u31 + c.a22 * u32 + c.a23 * u33);

  s[0] = n11;
  s[1] = n22;
  s[2] = n33;
  s[3] = n12;
  s[4] = n13;
  s[5] = n23;
}

// 3D planar layout (S11, S22, S33, S12) with S13 = S23 = 0: u_r = (S11 c_r1 + S12 c_r2,
// S12 c_r1 + S22 c_r2, S33 c_r3). S'13 and S'23 are not formed: the planar form is kept even
// when the plane tilts.
template <Sense sense, typename T>
inline void rotatePlanar3d(T* s, const T* q, bool engineeringShear) {
  T f = T(1);
  if (engineeringShear) {
    f = T(2);
    s[3] = half(s[3]);
  }
  const Cosines3d<T> c = oriented<sense>(cosines3d(q));
  const T s11 = s[0], s22 = s[1], s33 = s[2], s12 = s[3];

  const T u11 = s11 * c.a11 + s12 * c.a12;
  const T u12 = s12 * c.a11 + s22 * c.a12;
  const T u13 = s33 * c.a13;
  const T u21 = s11 * c.a21 + s12 * c.a22;
  const T u22 = s12 * c.a21 + s22 * c.a22;
  const T u23 = s33 * c.a23;
  const T u31 = s11 * c.a31 + s12 * c.a32;
  const T u32 = s12 * c.a31 + s22 * c.a32;
  const T u33 = s33 * c.a33;

  const T n11 = c.a11 * u11 + c.a12 * u12 + c.a13 * u13;
  const T n22 = c.a21 * u21 + c.a22 * u22 + c.a23 * u23;
  const T n33 = c.a31 * u31 + c.a32 * u32 + c.a33 * u33;
  const T n12 = f * (c.a11 * u21 + c.a12 * u22 + c.a13 * u23);

  s[0] = n11;
  s[1] = n22;
  s[2] = n33;
  s[3] = n12;
}

// The in-plane pair s[0] = S11, s[1] = S22 and the shear s[shearSlot] = S12 by a 2 x 2 block,
// the shear already tensorial and f the factor of the stored shear: w1 = (S11 c11 + S12 c12,
// S12 c11 + S22 c12), w2 likewise with c21, c22; S'11 = c11 w1[1] + c12 w1[2],
// S'22 = c21 w2[1] + c22 w2[2], S'12 = f (c11 w2[1] + c12 w2[2]). Nothing else is read or
// written.
template <typename T>
inline void inPlaneProducts(T* s, int shearSlot, const Block2<T>& c, T f) {
  const T s11 = s[0], s22 = s[1], s12 = s[shearSlot];

  const T w1a = s11 * c.c11 + s12 * c.c12;
  const T w1b = s12 * c.c11 + s22 * c.c12;
  const T w2a = s11 * c.c21 + s12 * c.c22;
  const T w2b = s12 * c.c21 + s22 * c.c22;

  const T n11 = c.c11 * w1a + c.c12 * w1b;
  const T n22 = c.c21 * w2a + c.c22 * w2b;
  const T n12 = f * (c.c11 * w2a + c.c12 * w2b);

  s[0] = n11;
  s[1] = n22;
  s[shearSlot] = n12;
}

// Halves the stored shear in `slot` when it is an engineering shear; returns the factor (2 or 1)
// that the computed shear is stored with.
template <typename T>
inline T tensorShear(T* s, int slot, bool engineeringShear) {
  if (!engineeringShear) {
    return T(1);
  }
  s[slot] = half(s[slot]);
  return T(2);
}

// 3D surface layout (S11, S22, S12): the in-plane block (a11 a12 / a21 a22) of the 3D table, so
// a tilt of the rotation out of the plane is ignored.
template <Sense sense, typename T>
inline void rotateSurface3d(T* s, const T* q, bool engineeringShear) {
  const T f = tensorShear(s, 2, engineeringShear);
  inPlaneProducts(s, 2, oriented<sense>(inPlaneBlock(cosines3d(q))), f);
}

// 2D surface layout (S11, S22, S12): the in-plane rows of the 2D rotation p.
template <Sense sense, typename T>
inline void rotateSurface2d(T* s, const T* p, bool engineeringShear) {
  const T f = tensorShear(s, 2, engineeringShear);
  inPlaneProducts(s, 2, oriented<sense>(cosines2d(p)), f);
}

// 2D planar layout (S11, S22, S33, S12): the in-plane products, and S33 through the constant
// out-of-plane cosine 1 (written as the product it is, S'33 = 1 (S33 1)).
template <Sense sense, typename T>
inline void rotatePlanar2d(T* s, const T* p, bool engineeringShear) {
  const T f = tensorShear(s, 3, engineeringShear);
  const T s33 = s[2];
  inPlaneProducts(s, 3, oriented<sense>(cosines2d(p)), f);
  s[2] = T(1) * (s33 * T(1));
}

// The frame that projectOn turns a rotation to, from row `axis` of its table: that axis,
// widened to double and normalised, is projected on the plane of the unit `normal` and
// normalised again as the new Y axis; the new X axis is Y x normal. False, with nothing set, when
// the chosen axis is more than `tolerance` out of the plane (|axis . normal| > tolerance).
template <typename T>
inline bool projectedFrame(const T (&table)[3][3], unsigned axis, const gsl_Vector& normal,
                           double tolerance, gsl_Vector& xAxis, gsl_Vector& yAxis) {
  gsl_Vector chosen(static_cast<double>(table[axis][0]), static_cast<double>(table[axis][1]),
                    static_cast<double>(table[axis][2]));
  chosen.Normalize();
  if (std::fabs(chosen.DotProduct(normal)) > tolerance) {
    return false;
  }
  const gsl_Point origin;
  gsl_Plane plane(origin, normal);
  yAxis = chosen.ProjectOn(plane);
  yAxis.Normalize();
  xAxis = yAxis.CrossProduct(normal);
  return true;
}

} // namespace utf_impl

#endif
