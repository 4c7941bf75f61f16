// The engine's symmetric 3 x 3 eigen solver, per SIMD target (private to the engine; included by
// the kernels of utf_BatchPrincipal.cpp once per target, hence the toggled guard).
//
// Everything here works lane by lane on the staged components of a tensor, in T: a power-of-two
// prescale; the principal values from J2, J3 and the discriminant written as a sum of squares;
// the 2 x 2 pair of the planar and surface layouts; the directions without iteration; the
// quaternion of a frame. The published bounds are in utf_BatchPrincipal.h, the reasoning beside
// each step below.

#if defined(UTF_BATCH_SOLVER_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef UTF_BATCH_SOLVER_INL_H_
#undef UTF_BATCH_SOLVER_INL_H_
#else
#define UTF_BATCH_SOLVER_INL_H_
#endif

#include "hwy/contrib/math/math-inl.h"
#include "hwy/highway.h"

#include <cstdint>
#include <type_traits>

HWY_BEFORE_NAMESPACE();
namespace utf_batch {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// A symmetric tensor, one lane per tensor.
template <class V>
struct Sym {
  V a11, a22, a33, a12, a13, a23;
};

// A 3-vector, one lane per tensor.
template <class V>
struct Vec3 {
  V x, y, z;
};

// The solver is the engine's own algorithm, bound to its error bound and not to another code's
// bits: its products and sums are fused (MulAdd, MulSub) wherever the target has a fused
// multiply-add, which rounds once where two operations round twice.

template <class V>
HWY_INLINE Vec3<V> cross(const Vec3<V>& a, const Vec3<V>& b) {
  return {hn::MulSub(a.y, b.z, hn::Mul(a.z, b.y)), hn::MulSub(a.z, b.x, hn::Mul(a.x, b.z)),
          hn::MulSub(a.x, b.y, hn::Mul(a.y, b.x))};
}

template <class V>
HWY_INLINE V dot(const Vec3<V>& a, const Vec3<V>& b) {
  return hn::MulAdd(a.z, b.z, hn::MulAdd(a.y, b.y, hn::Mul(a.x, b.x)));
}

template <class V>
HWY_INLINE Vec3<V> scaled(const Vec3<V>& a, V f) {
  return {hn::Mul(a.x, f), hn::Mul(a.y, f), hn::Mul(a.z, f)};
}

template <class D, class V = hn::Vec<D>>
HWY_INLINE Vec3<V> select(D, hn::Mask<D> m, const Vec3<V>& yes, const Vec3<V>& no) {
  return {hn::IfThenElse(m, yes.x, no.x), hn::IfThenElse(m, yes.y, no.y),
          hn::IfThenElse(m, yes.z, no.z)};
}

// ---------------------------------------------------------------------------------------------
// The two functions of the angle, on the ranges the solver needs and no others.

// sin(x) and cos(x) for x in [0, pi/3] by their Taylor series in x^2 (Horner, fused where the
// target has it), with no range reduction: the first omitted terms, x^19 / 19! and x^20 / 20!
// (float: x^13 / 13! and x^12 / 12!), are below 2e-17 (float 4e-9) on that range.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void sinCosSmall(D d, V x, V& sine, V& cosine) {
  using T = hn::TFromD<D>;
  static constexpr double sinTerms[8] = {-0.16666666666666666,   0.008333333333333333,
                                         -0.0001984126984126984, 2.7557319223985893e-06,
                                         -2.505210838544172e-08, 1.6059043836821613e-10,
                                         -7.647163731819816e-13, 2.8114572543455206e-15};
  static constexpr double cosTerms[9] = {-0.5,
                                         0.041666666666666664,
                                         -0.001388888888888889,
                                         2.48015873015873e-05,
                                         -2.755731922398589e-07,
                                         2.08767569878681e-09,
                                         -1.1470745597729725e-11,
                                         4.779477332387385e-14,
                                         -1.5619206968586225e-16};
  constexpr int sinCount = std::is_same<T, float>::value ? 5 : 8;
  constexpr int cosCount = std::is_same<T, float>::value ? 5 : 9;
  const V x2 = hn::Mul(x, x);
  V s = hn::Set(d, T(sinTerms[sinCount - 1]));
  for (int k = sinCount - 2; k >= 0; --k) {
    s = hn::MulAdd(s, x2, hn::Set(d, T(sinTerms[k])));
  }
  V c = hn::Set(d, T(cosTerms[cosCount - 1]));
  for (int k = cosCount - 2; k >= 0; --k) {
    c = hn::MulAdd(c, x2, hn::Set(d, T(cosTerms[k])));
  }
  const V one = hn::Set(d, T(1));
  sine = hn::MulAdd(hn::Mul(s, x2), x, x);
  cosine = hn::MulAdd(c, x2, one);
}

// atan(t) for t in [0, 1]: Highway's polynomial of its arctangent on that range, without the
// reduction of larger arguments that the full function adds.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V atanOfUnitRange(D d, V t) {
  hn::impl::AtanImpl<hn::TFromD<D>> atan;
  return atan.AtanPoly(d, t);
}

// ---------------------------------------------------------------------------------------------
// Prescale.

// The exact powers of two 2^-e and 2^e, e the exponent of `largest`, so that the tensor times
// 2^-e has its largest component in [1, 2): J2 (a square), J3 and the discriminant's terms (up to
// sixth powers) then neither overflow nor underflow, whatever the tensor's magnitude. `largest`
// is first kept within [smallest normal, 2^(bias-1)], so that both powers are normal numbers; a
// tensor smaller than the smallest normal number is scaled by the largest power available.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void powerOfTwoScale(D d, V largest, V& scale, V& unscale) {
  using T = hn::TFromD<D>;
  using U = hwy::MakeUnsigned<T>;
  const hn::RebindToUnsigned<D> du;
  constexpr bool isFloat = std::is_same<T, float>::value;
  constexpr int mantissaBits = isFloat ? 23 : 52;
  constexpr U bias = isFloat ? 127 : 1023;
  const V smallestNormal = hn::Set(d, isFloat ? T(1.17549435e-38f) : T(2.2250738585072014e-308));
  const V largestAllowed = hn::Set(d, isFloat ? T(8.507059e37f) : T(4.49423283715579e307));
  const V kept = hn::Min(hn::Max(largest, smallestNormal), largestAllowed);
  const auto exponent = hn::ShiftRight<mantissaBits>(hn::BitCast(du, kept));
  scale = hn::BitCast(d, hn::ShiftLeft<mantissaBits>(hn::Sub(hn::Set(du, U(2 * bias)), exponent)));
  unscale = hn::BitCast(d, hn::ShiftLeft<mantissaBits>(exponent));
}

template <class V>
HWY_INLINE V largestMagnitude(const Sym<V>& s) {
  const V diagonal = hn::Max(hn::Max(hn::Abs(s.a11), hn::Abs(s.a22)), hn::Abs(s.a33));
  const V shear = hn::Max(hn::Max(hn::Abs(s.a12), hn::Abs(s.a13)), hn::Abs(s.a23));
  return hn::Max(diagonal, shear);
}

template <class V>
HWY_INLINE Sym<V> scaledBy(const Sym<V>& s, V f) {
  return {hn::Mul(s.a11, f), hn::Mul(s.a22, f), hn::Mul(s.a33, f),
          hn::Mul(s.a12, f), hn::Mul(s.a13, f), hn::Mul(s.a23, f)};
}

// True in the lanes whose tensor has a NaN or infinite component, from the tensor scaled by
// powerOfTwoScale: a finite tensor's scaled components are below 4 in magnitude, so their sum is
// finite, while a NaN or an infinity (which the scale keeps) makes it NaN or infinite.
template <class D, class V = hn::Vec<D>>
HWY_INLINE hn::Mask<D> notFinite(D, const Sym<V>& scaledTensor) {
  const Sym<V>& b = scaledTensor;
  const V sum =
      hn::Add(hn::Add(hn::Add(b.a11, b.a22), hn::Add(b.a33, b.a12)), hn::Add(b.a13, b.a23));
  return hn::Not(hn::IsFinite(sum));
}

// ---------------------------------------------------------------------------------------------
// Principal values of the full tensor.

// The deviatoric invariants and the angle of a (scaled) tensor: its mean p, J2 = s:s / 2, and
// phi in [0, pi/3] with 3 phi = atan2(sqrt(Delta), 3 sqrt(3) J3).
template <class V>
struct Spectrum {
  V p, j2, phi;
};

// Delta = prod (l_i - l_j)^2 is the Gram determinant of I, s and s s under A:B = tr(A B): with a
// and b the coordinates of s and of s s in an orthonormal basis of the traceless symmetric
// tensors, Delta = 3 (|a|^2 |b|^2 - (a.b)^2) = 3 sum_{i<j} (a_i b_j - a_j b_i)^2 (Lagrange). The
// basis: (1, -1, 0)/sqrt(2) and (1, 1, -2)/sqrt(6) on the diagonal, sqrt(2) times each shear.
// Written with the unnormalised coordinates A = (s11 - s22, s11 + s22 - 2 s33, s12, s13, s23) (and
// B likewise for s s), whose squared weights 1/2, 1/6, 2, 2, 2 turn into the constant factor of
// each pair below. No cancellation can make it negative, and as two values meet each minor tends
// to zero with an error of a few units of u |s|^3: the angle keeps an absolute accuracy of u.
template <class D, class V = hn::Vec<D>>
HWY_INLINE Spectrum<V> spectrumOf(D d, const Sym<V>& b) {
  using T = hn::TFromD<D>;
  const V third = hn::Set(d, T(1) / T(3));
  const V p = hn::Mul(hn::Add(hn::Add(b.a11, b.a22), b.a33), third);
  const V d1 = hn::Sub(b.a11, p), d2 = hn::Sub(b.a22, p), d3 = hn::Sub(b.a33, p);
  // The direct differences are formed from the components, not from the deviator, so that the
  // mean's rounding does not reach J2 or the discriminant's first coordinates.
  const V x12 = hn::Sub(b.a11, b.a22), x23 = hn::Sub(b.a22, b.a33), x31 = hn::Sub(b.a33, b.a11);
  const V s12 = hn::Mul(b.a12, b.a12), s13 = hn::Mul(b.a13, b.a13), s23 = hn::Mul(b.a23, b.a23);
  const V direct = hn::MulAdd(x31, x31, hn::MulAdd(x23, x23, hn::Mul(x12, x12)));
  const V j2 = hn::MulAdd(direct, hn::Set(d, T(1) / T(6)), hn::Add(hn::Add(s12, s13), s23));

  // J3 = det s.
  const V minor1 = hn::MulSub(d2, d3, s23);
  const V minor2 = hn::MulSub(b.a12, d3, hn::Mul(b.a23, b.a13));
  const V minor3 = hn::MulSub(b.a12, b.a23, hn::Mul(d2, b.a13));
  const V j3 = hn::MulAdd(b.a13, minor3, hn::MulSub(d1, minor1, hn::Mul(b.a12, minor2)));

  // s s.
  const V q11 = hn::MulAdd(d1, d1, hn::Add(s12, s13));
  const V q22 = hn::MulAdd(d2, d2, hn::Add(s12, s23));
  const V q33 = hn::MulAdd(d3, d3, hn::Add(s13, s23));
  const V q12 = hn::MulAdd(hn::Add(d1, d2), b.a12, hn::Mul(b.a13, b.a23));
  const V q13 = hn::MulAdd(hn::Add(d1, d3), b.a13, hn::Mul(b.a12, b.a23));
  const V q23 = hn::MulAdd(hn::Add(d2, d3), b.a23, hn::Mul(b.a12, b.a13));

  const V a[5] = {x12, hn::Sub(x23, x31), b.a12, b.a13, b.a23};
  const V q[5] = {hn::Sub(q11, q22), hn::Add(hn::Sub(q11, q33), hn::Sub(q22, q33)), q12, q13, q23};
  const auto minor = [&a, &q](int i, int j) { return hn::MulSub(a[i], q[j], hn::Mul(a[j], q[i])); };
  // acc + m^2 for the minor m of (i, j).
  const auto plusSquare = [&minor](V acc, int i, int j) {
    const V m = minor(i, j);
    return hn::MulAdd(m, m, acc);
  };
  // Pair weights: (1,2) 3/12; (1,k) 3 * 1; (2,k) 3 / 3; (k,l) 3 * 4 (k, l the shears).
  const V zero = hn::Zero(d);
  const V withFirst = plusSquare(plusSquare(plusSquare(zero, 0, 2), 0, 3), 0, 4);
  const V withSecond = plusSquare(plusSquare(plusSquare(zero, 1, 2), 1, 3), 1, 4);
  const V shears = plusSquare(plusSquare(plusSquare(zero, 2, 3), 2, 4), 3, 4);
  const V first = minor(0, 1);
  const V delta = hn::MulAdd(
      hn::Mul(first, first), hn::Set(d, T(0.25)),
      hn::MulAdd(withFirst, hn::Set(d, T(3)), hn::MulAdd(shears, hn::Set(d, T(12)), withSecond)));

  // 3 phi = atan2(y, x), y = sqrt(Delta) >= 0, by the arctangent of the smaller over the larger
  // magnitude (in [0, 1]) and the octant; y = x = 0 (J2 = 0) gives 0.
  const V y = hn::Sqrt(delta);
  const V x = hn::Mul(j3, hn::Set(d, T(5.196152422706632)));
  const V ax = hn::Abs(x);
  const V larger = hn::Max(ax, y);
  const V smaller = hn::Min(ax, y);
  const V safe = hn::IfThenElse(hn::Eq(larger, zero), hn::Set(d, T(1)), larger);
  V angle = atanOfUnitRange(d, hn::Div(smaller, safe));
  angle = hn::IfThenElse(hn::Gt(y, ax), hn::Sub(hn::Set(d, T(1.5707963267948966)), angle), angle);
  angle = hn::IfThenElse(hn::Lt(x, zero), hn::Sub(hn::Set(d, T(3.141592653589793)), angle), angle);
  return {p, j2, hn::Mul(angle, third)};
}

// Three values sorted descending by three compare-and-swap steps.
template <class V>
HWY_INLINE void sortDescending(V& l1, V& l2, V& l3) {
  V hi = hn::Max(l1, l2), lo = hn::Min(l1, l2);
  l1 = hi;
  l2 = lo;
  hi = hn::Max(l2, l3);
  lo = hn::Min(l2, l3);
  l2 = hi;
  l3 = lo;
  hi = hn::Max(l1, l2);
  lo = hn::Min(l1, l2);
  l1 = hi;
  l2 = lo;
}

// The three values of a (scaled) full tensor, descending: from its spectrum, p + 2 rho cos(phi),
// p - rho cos(phi) +- sqrt(3) rho sin(phi), rho = sqrt(J2 / 3), which for phi in [0, pi/3] come in
// that order (a sort makes sure of it where rounding might not); and for a tensor without shear,
// its diagonal itself, exactly.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void valuesOf(D d, const Sym<V>& b, const Spectrum<V>& s, V& l1, V& l2, V& l3) {
  using T = hn::TFromD<D>;
  const V rho = hn::Sqrt(hn::Mul(s.j2, hn::Set(d, T(1) / T(3))));
  V sine, cosine;
  sinCosSmall(d, s.phi, sine, cosine);
  const V rc = hn::Mul(rho, cosine);
  const V rs = hn::Mul(hn::Mul(rho, hn::Set(d, T(1.7320508075688772))), sine);
  const V base = hn::Sub(s.p, rc);
  l1 = hn::MulAdd(rc, hn::Set(d, T(2)), s.p);
  l2 = hn::Add(base, rs);
  l3 = hn::Sub(base, rs);
  sortDescending(l1, l2, l3);
  const V zero = hn::Zero(d);
  const auto shearFree =
      hn::And(hn::And(hn::Eq(b.a12, zero), hn::Eq(b.a13, zero)), hn::Eq(b.a23, zero));
  if (hn::AllFalse(d, shearFree)) {
    // No lane takes the diagonal (skipping it changes no lane's result).
    return;
  }
  V d1 = b.a11, d2 = b.a22, d3 = b.a33;
  sortDescending(d1, d2, d3);
  l1 = hn::IfThenElse(shearFree, d1, l1);
  l2 = hn::IfThenElse(shearFree, d2, l2);
  l3 = hn::IfThenElse(shearFree, d3, l3);
}

// ---------------------------------------------------------------------------------------------
// The 2 x 2 pair of the 1-2 block (a11, a22, a12): m +- h, m = (a11 + a22) / 2, h the hypotenuse
// of (a11 - a22) / 2 and a12; each to a few units of u times the block's size.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void inplanePairOf(D d, const Sym<V>& b, V& mu1, V& mu2, V& half, V& h) {
  using T = hn::TFromD<D>;
  const V m = hn::Mul(hn::Add(b.a11, b.a22), hn::Set(d, T(0.5)));
  half = hn::Mul(hn::Sub(b.a11, b.a22), hn::Set(d, T(0.5)));
  h = hn::Sqrt(hn::Add(hn::Mul(half, half), hn::Mul(b.a12, b.a12)));
  mu1 = hn::Add(m, h);
  mu2 = hn::Sub(m, h);
}

// ---------------------------------------------------------------------------------------------
// Directions.

// The unit vector along v, or e1 where v is zero (every vector is then a direction).
template <class D, class V = hn::Vec<D>>
HWY_INLINE Vec3<V> unitOr1(D d, const Vec3<V>& v, V length2) {
  const V zero = hn::Zero(d);
  const auto none = hn::Eq(length2, zero);
  const V inverse = hn::Div(hn::Set(d, hn::TFromD<D>(1)),
                            hn::Sqrt(hn::IfThenElse(none, hn::Set(d, hn::TFromD<D>(1)), length2)));
  const Vec3<V> unit = scaled(v, inverse);
  return {hn::IfThenElse(none, hn::Set(d, hn::TFromD<D>(1)), unit.x),
          hn::IfThenElseZero(hn::Not(none), unit.y), hn::IfThenElseZero(hn::Not(none), unit.z)};
}

// The direction of the value `l` of the (scaled) tensor: the largest of the cross products of two
// rows of b - l I, which is orthogonal to every row and, for an isolated value, of a length
// comparable to the product of its two gaps. The rows are first scaled by the power of two of
// their largest entry: near a repeated value they are as small as the rounding, and their
// products would otherwise fall below the normal numbers (in float) and lose their direction.
template <class D, class V = hn::Vec<D>>
HWY_INLINE Vec3<V> isolatedDirection(D d, const Sym<V>& b, V l) {
  Sym<V> c{hn::Sub(b.a11, l), hn::Sub(b.a22, l), hn::Sub(b.a33, l), b.a12, b.a13, b.a23};
  V scale, unscale;
  powerOfTwoScale(d, largestMagnitude(c), scale, unscale);
  c = scaledBy(c, scale);
  const Vec3<V> r0{c.a11, c.a12, c.a13};
  const Vec3<V> r1{c.a12, c.a22, c.a23};
  const Vec3<V> r2{c.a13, c.a23, c.a33};
  const Vec3<V> c01 = cross(r0, r1), c02 = cross(r0, r2), c12 = cross(r1, r2);
  const V n01 = dot(c01, c01), n02 = dot(c02, c02), n12 = dot(c12, c12);
  const auto first = hn::And(hn::Ge(n01, n02), hn::Ge(n01, n12));
  const auto second = hn::Ge(n02, n12);
  const Vec3<V> best = select(d, first, c01, select(d, second, c02, c12));
  const V length2 = hn::IfThenElse(first, n01, hn::IfThenElse(second, n02, n12));
  return unitOr1(d, best, length2);
}

// The direction of the value `l` orthogonal to the unit vector v: the null vector of the 2 x 2
// tensor (b - l I) restricted to the plane orthogonal to v, from its larger row; any vector of the
// plane where the restriction vanishes (a repeated value).
template <class D, class V = hn::Vec<D>>
HWY_INLINE Vec3<V> directionOrthogonalTo(D d, const Sym<V>& b, V l, const Vec3<V>& v) {
  using T = hn::TFromD<D>;
  const V zero = hn::Zero(d);
  const V one = hn::Set(d, T(1));
  // An orthogonal basis (u, w) of the plane with |u| = |w|, w = v x u: u = (-v2, v1, 0) unless v
  // lies mostly along e3, then (0, -v3, v2); |u|^2 is in [1/3, 1]. The null vector in this basis
  // does not depend on the basis's common length, so u is left as it is and the one
  // normalisation at the end divides by it too. For v = e1 the basis is (e2, e3), so that a
  // tensor with one repeated value (zero, isotropic) gets the global axes.
  const auto alongThird = hn::Gt(hn::Abs(v.z), hn::Max(hn::Abs(v.x), hn::Abs(v.y)));
  const Vec3<V> uxy{hn::Neg(v.y), v.x, zero};
  const Vec3<V> uyz{zero, hn::Neg(v.z), v.y};
  const Vec3<V> u = select(d, alongThird, uyz, uxy);
  const V u2 = dot(u, u);
  const Vec3<V> w = cross(v, u);

  const V c11 = hn::Sub(b.a11, l), c22 = hn::Sub(b.a22, l), c33 = hn::Sub(b.a33, l);
  const auto apply = [&](const Vec3<V>& x) {
    return Vec3<V>{hn::MulAdd(b.a13, x.z, hn::MulAdd(b.a12, x.y, hn::Mul(c11, x.x))),
                   hn::MulAdd(b.a23, x.z, hn::MulAdd(c22, x.y, hn::Mul(b.a12, x.x))),
                   hn::MulAdd(c33, x.z, hn::MulAdd(b.a23, x.y, hn::Mul(b.a13, x.x)))};
  };
  const Vec3<V> bu = apply(u), bw = apply(w);
  V m00 = dot(u, bu), m01 = dot(u, bw), m11 = dot(w, bw);
  // Scaled by the power of two of its largest entry, for the same reason as the rows above.
  V scale, unscale;
  powerOfTwoScale(d, hn::Max(hn::Max(hn::Abs(m00), hn::Abs(m01)), hn::Abs(m11)), scale, unscale);
  m00 = hn::Mul(m00, scale);
  m01 = hn::Mul(m01, scale);
  m11 = hn::Mul(m11, scale);
  const V n0 = hn::MulAdd(m00, m00, hn::Mul(m01, m01));
  const V n1 = hn::MulAdd(m11, m11, hn::Mul(m01, m01));
  const auto firstRow = hn::Ge(n0, n1);
  // The null vector of a row (p, q) is (-q, p), of squared length n; (1, 0) where both rows
  // vanish. The direction cu u + cw w has the squared length n |u|^2, in [1/3, 8).
  const V length2 = hn::IfThenElse(firstRow, n0, n1);
  const auto none = hn::Eq(length2, zero);
  const V cu = hn::IfThenElse(none, one, hn::IfThenElse(firstRow, hn::Neg(m01), hn::Neg(m11)));
  const V cw = hn::IfThenElseZero(hn::Not(none), hn::IfThenElse(firstRow, m00, m01));
  const V inverse = hn::Div(one, hn::Sqrt(hn::Mul(hn::IfThenElse(none, one, length2), u2)));
  return {hn::Mul(hn::MulAdd(cw, w.x, hn::Mul(cu, u.x)), inverse),
          hn::Mul(hn::MulAdd(cw, w.y, hn::Mul(cu, u.y)), inverse),
          hn::Mul(hn::MulAdd(cw, w.z, hn::Mul(cu, u.z)), inverse)};
}

// The sign rule: the component of largest magnitude (the first of equal ones) made positive.
// breaksSignRule: the lanes where that component is negative.
template <class D, class V = hn::Vec<D>>
HWY_INLINE hn::Mask<D> breaksSignRule(D d, const Vec3<V>& v) {
  const V ax = hn::Abs(v.x), ay = hn::Abs(v.y), az = hn::Abs(v.z);
  const auto xLargest = hn::And(hn::Ge(ax, ay), hn::Ge(ax, az));
  const auto yLargest = hn::Ge(ay, az);
  const V leading = hn::IfThenElse(xLargest, v.x, hn::IfThenElse(yLargest, v.y, v.z));
  return hn::Lt(leading, hn::Zero(d));
}

template <class M, class V>
HWY_INLINE Vec3<V> negatedWhere(M negate, const Vec3<V>& v) {
  return {hn::IfThenElse(negate, hn::Neg(v.x), v.x), hn::IfThenElse(negate, hn::Neg(v.y), v.y),
          hn::IfThenElse(negate, hn::Neg(v.z), v.z)};
}

template <class D, class V = hn::Vec<D>>
HWY_INLINE Vec3<V> withSignRule(D d, const Vec3<V>& v) {
  return negatedWhere(breaksSignRule(d, v), v);
}

// The sign rule on the final rows 1 and 2 of a right-handed frame, row 3 negated with either so
// that the frame stays right-handed. The rule is applied before the rows are made orthonormal
// too, but that step may carry a component that was a hair smaller in magnitude than the largest
// past it (two nearly equal components of opposite signs); negating rows is exact, so where the
// rule already holds nothing changes.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void signRuleOnFrame(D d, Vec3<V>& v1, Vec3<V>& v2, Vec3<V>& v3) {
  const auto negate1 = breaksSignRule(d, v1), negate2 = breaksSignRule(d, v2);
  v1 = negatedWhere(negate1, v1);
  v2 = negatedWhere(negate2, v2);
  v3 = negatedWhere(hn::Xor(negate1, negate2), v3);
}

// Two unit directions made orthonormal to the rounding, and the third their cross product: v1
// renormalised, v2 freed of its v1 part and renormalised, v3 = v1 x v2 (which makes the frame
// right-handed) renormalised, each by one Newton step v (3 - |v|^2) / 2: they are unit to a few u
// already, so the step leaves |v|^2 - 1 of the order of one rounding.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void orthonormalFrame(D d, Vec3<V>& v1, Vec3<V>& v2, Vec3<V>& v3) {
  using T = hn::TFromD<D>;
  const V threeHalves = hn::Set(d, T(1.5)), half = hn::Set(d, T(0.5));
  const auto renormalised = [&](const Vec3<V>& v) {
    return scaled(v, hn::NegMulAdd(half, dot(v, v), threeHalves));
  };
  v1 = renormalised(v1);
  const V along = dot(v1, v2);
  v2 = renormalised(Vec3<V>{hn::NegMulAdd(along, v1.x, v2.x), hn::NegMulAdd(along, v1.y, v2.y),
                            hn::NegMulAdd(along, v1.z, v2.z)});
  v3 = renormalised(cross(v1, v2));
}

// The principal frame of a full (scaled) tensor with values l1 >= l2 >= l3: the direction of the
// more isolated of l1 and l3 first, then l2's in the plane orthogonal to it, then their cross
// product; ordered, the sign rule applied to rows 1 and 2, made orthonormal, row 3 = row 1 x row
// 2.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void fullFrame(D d, const Sym<V>& b, V l1, V l2, V l3, Vec3<V>& v1, Vec3<V>& v2,
                          Vec3<V>& v3) {
  const auto firstIsolated = hn::Ge(hn::Sub(l1, l2), hn::Sub(l2, l3));
  const V isolatedValue = hn::IfThenElse(firstIsolated, l1, l3);
  const Vec3<V> isolated = isolatedDirection(d, b, isolatedValue);
  const Vec3<V> middle = directionOrthogonalTo(d, b, l2, isolated);
  // With l1 isolated, isolated x middle is row 3; with l3 isolated, row 1 is
  // middle x isolated = -(isolated x middle).
  const Vec3<V> other = cross(isolated, middle);
  const Vec3<V> negOther{hn::Neg(other.x), hn::Neg(other.y), hn::Neg(other.z)};
  v1 = withSignRule(d, select(d, firstIsolated, isolated, negOther));
  v2 = withSignRule(d, middle);
  orthonormalFrame(d, v1, v2, v3);
  signRuleOnFrame(d, v1, v2, v3);
}

// The principal frame of a planar or surface (scaled) tensor: the in-plane pair mu1 >= mu2 with
// directions (c, s, 0) and (-s, c, 0), and the out-of-plane value (S33, or 0) along e3, ranked;
// the sign rule on rows 1 and 2, made orthonormal, row 3 = row 1 x row 2. (c, s) comes from the
// row of the block that has no cancellation: (half + h, a12) when a11 >= a22, (a12, h - half)
// otherwise, with half, a12 and h first scaled by the power of two of the larger of half and a12:
// the in-plane deviator may be far smaller than the tensor (a11 = a22, a12 at 1e-160 of them),
// and its squares would otherwise fall below the normal numbers and lose the direction's length.
// The scaling is exact, so that where nothing falls that low the direction keeps its bits.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void reducedFrame(D d, const Sym<V>& b, V& l1, V& l2, V& l3, Vec3<V>& v1, Vec3<V>& v2,
                             Vec3<V>& v3) {
  using T = hn::TFromD<D>;
  V mu1, mu2, half, h;
  inplanePairOf(d, b, mu1, mu2, half, h);
  const V zero = hn::Zero(d);
  V scale, unscale;
  powerOfTwoScale(d, hn::Max(hn::Abs(half), hn::Abs(b.a12)), scale, unscale);
  const V halfScaled = hn::Mul(half, scale), a12Scaled = hn::Mul(b.a12, scale);
  const V hScaled =
      hn::Sqrt(hn::Add(hn::Mul(halfScaled, halfScaled), hn::Mul(a12Scaled, a12Scaled)));
  const auto firstLarger = hn::Ge(half, zero);
  const V cx = hn::IfThenElse(firstLarger, hn::Add(halfScaled, hScaled), a12Scaled);
  const V cy = hn::IfThenElse(firstLarger, a12Scaled, hn::Sub(hScaled, halfScaled));
  const Vec3<V> e1 = unitOr1(d, Vec3<V>{cx, cy, zero}, hn::Add(hn::Mul(cx, cx), hn::Mul(cy, cy)));
  const Vec3<V> e2{hn::Neg(e1.y), e1.x, zero};
  const Vec3<V> e3{zero, zero, hn::Set(d, T(1))};
  const V s33 = b.a33;
  const auto outFirst = hn::Ge(s33, mu1);
  const auto outSecond = hn::And(hn::Not(outFirst), hn::Ge(s33, mu2));
  l1 = hn::IfThenElse(outFirst, s33, mu1);
  l2 = hn::IfThenElse(outFirst, mu1, hn::IfThenElse(outSecond, s33, mu2));
  l3 = hn::IfThenElse(hn::Or(outFirst, outSecond), mu2, s33);
  const Vec3<V> first = select(d, outFirst, e3, e1);
  const Vec3<V> second = select(d, outFirst, e1, select(d, outSecond, e3, e2));
  v1 = withSignRule(d, first);
  v2 = withSignRule(d, second);
  orthonormalFrame(d, v1, v2, v3);
  signRuleOnFrame(d, v1, v2, v3);
}

// The quaternion (x, y, z, w) whose direction-cosine table has the rows v1, v2, v3 (A_ij = v_i,j),
// by the largest of 4w^2 = 1 + tr A and 4x^2, 4y^2, 4z^2 (Shepperd's choice, so that the division
// is by at least 1/2), then w >= 0.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void quaternionOf(D d, const Vec3<V>& r1, const Vec3<V>& r2, const Vec3<V>& r3, V& qx,
                             V& qy, V& qz, V& qw) {
  using T = hn::TFromD<D>;
  const V one = hn::Set(d, T(1));
  const V half = hn::Set(d, T(0.5));
  const V quarter = hn::Set(d, T(0.25));
  const V a11 = r1.x, a12 = r1.y, a13 = r1.z, a21 = r2.x, a22 = r2.y, a23 = r2.z, a31 = r3.x,
          a32 = r3.y, a33 = r3.z;
  const V tw = hn::Add(hn::Add(hn::Add(one, a11), a22), a33);
  const V tx = hn::Sub(hn::Sub(hn::Add(one, a11), a22), a33);
  const V ty = hn::Sub(hn::Add(hn::Sub(one, a11), a22), a33);
  const V tz = hn::Add(hn::Sub(hn::Sub(one, a11), a22), a33);
  const V d23 = hn::Sub(a23, a32), d31 = hn::Sub(a31, a13), d12 = hn::Sub(a12, a21);
  const V s12 = hn::Add(a12, a21), s13 = hn::Add(a13, a31), s23 = hn::Add(a23, a32);
  const auto wCase = hn::And(hn::And(hn::Ge(tw, tx), hn::Ge(tw, ty)), hn::Ge(tw, tz));
  const auto xCase = hn::And(hn::Not(wCase), hn::And(hn::Ge(tx, ty), hn::Ge(tx, tz)));
  const auto yCase = hn::And(hn::Not(hn::Or(wCase, xCase)), hn::Ge(ty, tz));
  // The chosen component c = sqrt(t) / 2 and the factor 1 / (4 c) of the others.
  const V t = hn::IfThenElse(wCase, tw, hn::IfThenElse(xCase, tx, hn::IfThenElse(yCase, ty, tz)));
  const V c = hn::Mul(hn::Sqrt(t), half);
  const V f = hn::Div(quarter, c);
  const V w = hn::IfThenElse(
      wCase, c, hn::Mul(hn::IfThenElse(xCase, d23, hn::IfThenElse(yCase, d31, d12)), f));
  const V x = hn::IfThenElse(
      xCase, c, hn::Mul(hn::IfThenElse(wCase, d23, hn::IfThenElse(yCase, s12, s13)), f));
  const V y = hn::IfThenElse(
      yCase, c, hn::Mul(hn::IfThenElse(wCase, d31, hn::IfThenElse(xCase, s12, s23)), f));
  const auto zCase = hn::Not(hn::Or(hn::Or(wCase, xCase), yCase));
  const V z = hn::IfThenElse(
      zCase, c, hn::Mul(hn::IfThenElse(wCase, d12, hn::IfThenElse(xCase, s13, s23)), f));
  const auto flip = hn::Lt(w, hn::Zero(d));
  qx = hn::IfThenElse(flip, hn::Neg(x), x);
  qy = hn::IfThenElse(flip, hn::Neg(y), y);
  qz = hn::IfThenElse(flip, hn::Neg(z), z);
  qw = hn::IfThenElse(flip, hn::Neg(w), w);
}

} // namespace HWY_NAMESPACE
} // namespace utf_batch
HWY_AFTER_NAMESPACE();

#endif // UTF_BATCH_SOLVER_INL_H_
