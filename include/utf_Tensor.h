#ifndef UTF_TENSOR_H
#define UTF_TENSOR_H

// utf_Tensor<T>: one symmetric second-order tensor (the stress or strain at one point), for
// T = float and T = double.
//
// A tensor is an engineering-data value (five fields, no field of its own) whose data type picks
// one of five component layouts:
//
//   type  layout          count  storage order                   rotated by
//   ----  --------------  -----  ------------------------------  ---------------------
//    9    3D full           6    S11, S22, S33, S12, S13, S23    3D rotation (type 7)
//   10    3D planar         4    S11, S22, S33, S12              3D rotation (type 7)
//   11    3D surface        3    S11, S22, S12                   3D rotation (type 7)
//   12    2D planar         4    S11, S22, S33, S12              2D rotation (type 6)
//   13    2D surface        3    S11, S22, S12                   2D rotation (type 6)
//
// Directions 1 and 2 span the plane of a planar or surface layout. S33 of a planar layout is the
// out-of-plane direct component; a surface layout has none (it counts as 0 wherever one is
// needed). Shear convention: with the engineering-shear flag clear the stored shears are the
// tensor components S12, S13, S23; with it set they are engineering shears (2 S12, ...). The flag
// never changes the stored numbers: the queries halve every shear on reading.
//
// Ownership follows the base: the list and const-pointer constructors copy, the non-const
// pointer constructor views the caller's array (which must outlive the tensor). Copy() is
// deliberately not overridden: a Copy of a tensor is a plain utf_EngineeringData<T> with the same
// fields, no longer a tensor.
//
// The queries (all const, allocation-free, returning T):
//
//   query                type 9    types 10, 12                 types 11, 13   other types
//   -------------------  --------  ---------------------------  -------------  ------------
//   maxPrincipal         P1        larger of P1 and S33         P1             -3.4028235e38
//   midPrincipal         P2        middle of P1, P2, S33        0              +3.4028235e38
//   minPrincipal         P3        smaller of P2 and S33        P2             +3.4028235e38
//   maxInplanePrincipal  0         P1                           P1             0
//   minInplanePrincipal  0         P2                           P2             0
//   outOfPlanePrincipal  0         S33                          0              0
//   tresca               P1 - P3   max(P1, S33) - min(P2, S33)  max(P1, 0) -   0
//                                                               min(P2, 0)
//   pressure, mises, inv3: every layout; an unknown type is computed as a full tensor.
//
// where P1 >= P2 >= P3 are the three principal values of a full tensor, and P1 >= P2 the two
// in-plane principal values of a planar or surface one. Deliberate asymmetries: for a surface
// tensor maxPrincipal and minPrincipal return the in-plane pair without ranking it against the
// zero out-of-plane value, while midPrincipal returns 0 and tresca does include that zero; the
// in-plane queries return 0 for a full tensor; the fallbacks for a type that is no tensor type
// are the single-precision limits, widened unchanged in the double instantiation.
//
// A value built from a list shorter than its layout (or of an unknown type with fewer than six
// components) is never read beyond its stored components: the missing ones read as 0.
//
// Accuracy of the closed-form principal values (full layout): the values are p + r cos(angle)
// with p the mean and r = 2 sqrt(J2 / 3), so the absolute error is of the order of the machine
// epsilon times (|p| + r). It degrades in three places:
// - two nearly equal principal values, a gap g apart: the angle comes from acos near +-1, whose
//   slope is unbounded, so each value of the pair carries an error of about epsilon r^2 / g, up
//   to sqrt(epsilon) r (1.5e-8 r in double) for an exact pair; their mean and the third value
//   stay accurate. A cosine within epsilon of +-1 is taken as an exact pair. In float the
//   narrowing of the double result dominates these errors;
// - a nearly hydrostatic tensor (r much smaller than |p|): the deviator is formed by
//   cancellation, so the spread of the values carries an error of about epsilon |p|;
// - a tiny tensor: when r <= 2.220446049250313e-16 (an absolute threshold, not a relative one)
//   the angle is not computed and the values are p + r (cos 30deg, -cos 30deg, 0) sorted, which
//   keeps the mean and J2 but is exact only when the third invariant is 0; a diagonal tiny
//   tensor is unaffected (the shear-free test is relative). Components beyond about 1e154
//   overflow the squares of the double-precision computation.
// The in-plane pair of planar and surface layouts uses a half-angle rotation, which is accurate
// to a few epsilon of the largest in-plane value.

#include "aio_ostream.h"
#include "cow_1DArrayList.h"
#include "cow_String.h"
#include "res_DataTypeEnm.h"
#include "utf_EngineeringData.h"
#include "utf_Export.h"
#include "utf_Print.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

template <typename T>
class UTF_EXPORT utf_Tensor : public utf_EngineeringData<T> {
public:
  // The list's element count, whatever the type says (owned copy; no storage for an empty list).
  utf_Tensor(res_DataTypeEnm type, const cow_1DArrayList<T>& list, bool engineeringShear);
  // The layout's count (6, 4 or 3; 0 for a type that is no tensor type) copied from `components`.
  utf_Tensor(res_DataTypeEnm type, const T* components, bool engineeringShear);
  // A view of the caller's array with the layout's count: nothing is copied, the caller's array
  // must outlive the tensor.
  utf_Tensor(res_DataTypeEnm type, T* components, bool engineeringShear);

  // Whether the layout has an out-of-plane direct component: false for 11 and 13 only.
  bool hasOutOfPlaneDirect() const { return !utf_isSurfaceTensorType(this->type()); }
  // False for the 2D layouts 12 and 13 only.
  bool is3D() const { return !utf_is2dTensorType(this->type()); }
  // The rotation type that rotates this tensor: 7 (3D) when is3D(), else 6 (2D).
  res_DataTypeEnm QuaternionType() const { return utf_tensorRotationType(this->type()); }

  // Writes `indent` blanks, "Tensor: ", each stored component widened to double (shortest
  // round-trip text) followed by one blank, a newline, and flushes.
  void Print(aio_ostream& out, int indent) const;

  // Overwrites `result` with the full (type 9) form of this tensor: owned storage of six
  // components, engineering-shear flag clear. The shear numbers are copied unchanged, so a source
  // holding engineering shears gives engineering numbers under a clear flag. Planar: (S11, S22,
  // S33, S12, 0, 0); surface: (S11, S22, 0, S12, 0, 0); a type that is no tensor type:
  // (c1, c2, c3, 0, 0, 0). A view that `result` held is dropped, not freed (its array belongs to
  // its caller); `result` may be this tensor itself.
  void expandToFull(utf_Tensor<T>& result) const;
  // Overwrites `result` with this tensor in the `target` layout, by way of the full form (flag
  // clear, owned storage): S13 and S23 are dropped for a planar target, and S33 too for a surface
  // target, without a check. A target that is no tensor type gives that type with no components.
  void convertLayout(utf_Tensor<T>& result, res_DataTypeEnm target) const;

  // Principal values (table above). Each query recomputes computePrincipal in full, without
  // caching: call computePrincipal once when more than one value is needed.
  // Largest: P1 (full, surface); the larger of P1 and S33 (planar); -3.4028235e38 otherwise.
  T maxPrincipal() const;
  // Middle: P2 (full); the middle of P1, P2, S33 (planar); 0 (surface); 3.4028235e38 otherwise.
  T midPrincipal() const;
  // Smallest: P3 (full); the smaller of P2 and S33 (planar); P2 (surface); 3.4028235e38
  // otherwise.
  T minPrincipal() const;
  // The larger and the smaller in-plane value of a planar or surface layout (the type tested as
  // the range 10 <= type < 14); 0 for any other type, the full layout included.
  T maxInplanePrincipal() const;
  T minInplanePrincipal() const;
  // S33 of a planar layout (10, 12), as stored; 0 for any other type.
  T outOfPlanePrincipal() const;

  // Equivalent pressure, minus the mean direct stress with divisor 3: -(S11 + S22) / 3.0 for a
  // surface layout, -(S11 + S22 + S33) / 3.0 for any other type; in double, narrowed.
  T pressure() const;
  // Mises equivalent sqrt(1.5 Q), Q the squared norm of the deviator (diagonal squares plus twice
  // the shear squares; the surface layout's out-of-plane deviator is -p). A type that is no
  // tensor type is computed as a full tensor. In float the mean and the root are taken in double
  // but the deviators and squares in single precision: infinite for a deviator beyond about
  // 1.8e19, inexact (subnormal squares) below about 1e-19 and 0 below about 4e-23.
  T mises() const;
  // Tresca equivalent, the range of the principal values: P1 - P3 (full), max(P1, S33) -
  // min(P2, S33) (planar), max(P1, 0) - min(P2, 0) in double (surface); 0 for any other type.
  T tresca() const;
  // Third deviatoric invariant as a signed equivalent: the real cube root of 4.5 tr(s s s)
  // (= 13.5 det s), sign kept, as pow(|x|, 0.3333333333333333). That exponent is 1.85e-17 short
  // of 1/3: a relative error of 1.85e-17 |ln x| (about 4e-15 for values around 1e+-30). A type
  // that is no tensor type is computed as a full tensor. In float the products are single
  // precision: not finite for a deviator beyond about 7e12, inexact (subnormal products) below
  // about 2e-13 and 0 below about 1e-15.
  T inv3() const;

  // The principal values shared by the queries, P1 >= P2 >= P3 for a full tensor (type 9 and
  // any type that is no tensor type); for a planar or surface layout P1 >= P2 is the in-plane
  // pair and P3 is S33 (planar, unsorted) or 0 (surface). Computed in double in both
  // instantiations, narrowed on storing; closed form, no iteration, no allocation.
  void computePrincipal(T& p1, T& p2, T& p3) const;

private:
  enum class Layout { Full, Planar, Surface };

  // The deviator of mises and inv3: direct parts and shears (halved when the flag is set),
  // formed with the rounding that those two queries prescribe.
  struct Deviator {
    T d1, d2, d3, s12, s13, s23;
  };

  // Shear-free test: shears below this factor (1e-4 times the double epsilon) times the largest
  // deviator are ignored.
  static constexpr double shearFreeFactor = 2.2204460492503132e-20;
  // The double epsilon: a smaller r leaves the normalisation scale at 0.
  static constexpr double machineEpsilon = 2.220446049250313e-16;
  // One third, as the double nearest to it.
  static constexpr double oneThird = 0.3333333333333333;
  // One minus the double epsilon: a half-determinant cos(3 theta) beyond it is taken as +-1.
  static constexpr double almostOne = 0.9999999999999998;
  // 2 pi / 3.
  static constexpr double twoPiThirds = 2.0943951023931953;
  // The smallest normal double: a shorter half-angle radius is taken as an exact in-plane pair.
  static constexpr double smallestNormal = 2.2250738585072014e-308;

  static Layout layoutOf(res_DataTypeEnm type);
  static double largest(double a, double b, double c) {
    const double ab = b > a ? b : a;
    return c > ab ? c : ab;
  }
  // The fallback magnitude of the principal queries (3.4028235e38, the largest float).
  static T fallbackLimit() { return static_cast<T>(std::numeric_limits<float>::max()); }
  // 0.5 when the stored shears are engineering shears, else 1.
  double shearFactor() const { return this->m_engineeringShear ? 0.5 : 1.0; }

  // The stored components when at least `needed` are stored; otherwise `padded`, filled with the
  // stored ones and zeros (six entries), so that no formula reads beyond the stored array.
  const T* componentsAtLeast(int needed, T (&padded)[6]) const;
  // The six components of the full form (see expandToFull).
  void fullComponents(T (&full)[6]) const;
  // Overwrites this tensor with `type`, an owned copy of `count` components, and a clear flag.
  void replaceWith(res_DataTypeEnm type, const T* components, int count);

  // Principal values of the full branch, sorted descending.
  static void fullPrincipal(const T* c, double f, T& p1, T& p2, T& p3);
  // In-plane pair of (S11, S22, S12) by a half-angle rotation, larger first.
  static void inplanePrincipal(T s11, T s22, T s12, double f, T& p1, T& p2);

  Deviator deviator() const;
};

// ---------------------------------------------------------------------------------------------
// Construction, layout predicates, printing, layout conversion.

template <typename T>
utf_Tensor<T>::utf_Tensor(res_DataTypeEnm type, const cow_1DArrayList<T>& list,
                          bool engineeringShear)
    : utf_EngineeringData<T>(type, list, engineeringShear) {}

template <typename T>
utf_Tensor<T>::utf_Tensor(res_DataTypeEnm type, const T* components, bool engineeringShear)
    : utf_EngineeringData<T>(type, components, utf_tensorComponentCount(type), engineeringShear) {}

template <typename T>
utf_Tensor<T>::utf_Tensor(res_DataTypeEnm type, T* components, bool engineeringShear)
    : utf_EngineeringData<T>(type, components, utf_tensorComponentCount(type), engineeringShear) {}

template <typename T>
void utf_Tensor<T>::Print(aio_ostream& out, int indent) const {
  out << utf_indentation(indent) << "Tensor: ";
  utf_printEach(out, this->m_data, this->m_size);
  out.put('\n');
  out.flush();
}

template <typename T>
typename utf_Tensor<T>::Layout utf_Tensor<T>::layoutOf(res_DataTypeEnm type) {
  if (utf_isSurfaceTensorType(type)) {
    return Layout::Surface;
  }
  if (type == res_Tensor3dPlanar || type == res_Tensor2dPlanar) {
    return Layout::Planar;
  }
  return Layout::Full;
}

template <typename T>
const T* utf_Tensor<T>::componentsAtLeast(int needed, T (&padded)[6]) const {
  if (this->m_size >= needed) {
    return this->m_data;
  }
  for (int i = 0; i < 6; ++i) {
    padded[i] = i < this->m_size ? this->m_data[i] : T(0);
  }
  return padded;
}

template <typename T>
void utf_Tensor<T>::fullComponents(T (&full)[6]) const {
  T padded[6];
  const T zero(0);
  const res_DataTypeEnm type = this->type();
  switch (layoutOf(type)) {
  case Layout::Surface: {
    const T* c = componentsAtLeast(3, padded);
    full[0] = c[0], full[1] = c[1], full[2] = zero, full[3] = c[2], full[4] = zero, full[5] = zero;
    return;
  }
  case Layout::Planar: {
    const T* c = componentsAtLeast(4, padded);
    full[0] = c[0], full[1] = c[1], full[2] = c[2], full[3] = c[3], full[4] = zero, full[5] = zero;
    return;
  }
  case Layout::Full:
    break;
  }
  if (type == res_Tensor3dFull) {
    const T* c = componentsAtLeast(6, padded);
    for (int i = 0; i < 6; ++i) {
      full[i] = c[i];
    }
    return;
  }
  // A type that is no tensor type: its first three components as the direct ones, no shear.
  const T* c = componentsAtLeast(3, padded);
  full[0] = c[0], full[1] = c[1], full[2] = c[2], full[3] = zero, full[4] = zero, full[5] = zero;
}

template <typename T>
void utf_Tensor<T>::replaceWith(res_DataTypeEnm type, const T* components, int count) {
  // The new array is made first, so that a failed allocation leaves this tensor as it was.
  T* owned = this->copyComponents(components, count);
  if (this->m_ownsData) {
    mem_Free(this->m_data);
  }
  this->m_type = type;
  this->m_data = owned;
  this->m_size = count;
  this->m_ownsData = true;
  this->m_engineeringShear = false;
}

template <typename T>
void utf_Tensor<T>::expandToFull(utf_Tensor<T>& result) const {
  T full[6];
  fullComponents(full);
  result.replaceWith(res_Tensor3dFull, full, 6);
}

template <typename T>
void utf_Tensor<T>::convertLayout(utf_Tensor<T>& result, res_DataTypeEnm target) const {
  T full[6];
  fullComponents(full);
  if (target == res_Tensor3dFull) {
    result.replaceWith(target, full, 6);
  } else if (utf_isSurfaceTensorType(target)) {
    const T surface[3] = {full[0], full[1], full[3]};
    result.replaceWith(target, surface, 3);
  } else if (layoutOf(target) == Layout::Planar) {
    const T planar[4] = {full[0], full[1], full[2], full[3]};
    result.replaceWith(target, planar, 4);
  } else {
    result.replaceWith(target, nullptr, 0);
  }
}

// ---------------------------------------------------------------------------------------------
// Principal values.

template <typename T>
void utf_Tensor<T>::fullPrincipal(const T* c, double f, T& p1, T& p2, T& p3) {
  const double c1 = c[0], c2 = c[1], c3 = c[2];
  const double p = (c1 + c2 + c3) / 3.0;
  const double d1 = c1 - p, d2 = c2 - p, d3 = c3 - p;
  const double s12 = f * static_cast<double>(c[3]);
  const double s13 = f * static_cast<double>(c[4]);
  const double s23 = f * static_cast<double>(c[5]);

  const double largestDirect = largest(std::fabs(d1), std::fabs(d2), std::fabs(d3));
  const double largestShear = largest(std::fabs(s12), std::fabs(s13), std::fabs(s23));
  if (shearFreeFactor * largestDirect > largestShear) {
    // Diagonal: the direct components themselves, recomputed as deviator plus mean.
    p1 = static_cast<T>(d1 + p);
    p2 = static_cast<T>(d2 + p);
    p3 = static_cast<T>(d3 + p);
  } else {
    // r = 2 sqrt(J2 / 3); the deviator scaled by 2 / r has eigenvalues 2 cos(theta + 2 pi k / 3)
    // and half its determinant is cos(3 theta).
    const double r = 2.0 * std::sqrt(oneThird * (s12 * s12 + s13 * s13 + s23 * s23 +
                                                 0.5 * (d1 * d1 + d2 * d2 + d3 * d3)));
    const double k = r > machineEpsilon ? 2.0 / r : 0.0;
    const double b11 = k * d1, b22 = k * d2, b33 = k * d3;
    const double b12 = k * s12, b13 = k * s13, b23 = k * s23;
    const double x = b12 * b13 * b23 + 0.5 * (b11 * b22 * b33 - b11 * (b23 * b23) -
                                              b22 * (b13 * b13) - b33 * (b12 * b12));
    double a1, a2, a3;
    if (x >= almostOne) {
      a1 = -0.5, a2 = -0.5, a3 = 1.0;
    } else if (x <= -almostOne) {
      a1 = -1.0, a2 = 0.5, a3 = 0.5;
    } else {
      const double theta = oneThird * std::acos(x);
      a1 = std::cos(theta);
      a2 = std::cos(theta + twoPiThirds);
      a3 = -a1 - a2;
    }
    p1 = static_cast<T>(p + r * a1);
    p2 = static_cast<T>(p + r * a2);
    p3 = static_cast<T>(p + r * a3);
  }
  // Descending, by three strict compare-and-swap steps on the stored values.
  if (p2 > p1) {
    std::swap(p1, p2);
  }
  if (p3 > p1) {
    std::swap(p1, p3);
  }
  if (p3 > p2) {
    std::swap(p2, p3);
  }
}

template <typename T>
void utf_Tensor<T>::inplanePrincipal(T s11, T s22, T s12, double f, T& p1, T& p2) {
  const double a = s11, b = s22;
  const double t = 2.0 * (f * static_cast<double>(s12));
  // Rotation by half the angle 2 phi with tan(2 phi) = t / d, its cosine kept non-negative.
  const double d = a - b;
  double h = std::sqrt(t * t + d * d);
  if (d < 0.0) {
    h = -h;
  }
  // e = 1 marks an in-plane pair that is already equal and unsheared: the rotation is then the
  // identity (c = 1, s = 0) and the formulas below return a and b.
  const double e = std::fabs(h) <= smallestNormal ? 1.0 : 0.0;
  h = h + e;
  const double cos2 = d / h;
  const double sin2 = t / h;
  const double g = 0.5 * (1.0 - e);
  const double c = std::sqrt(g * (1.0 + cos2)) + e;
  const double s = g * sin2 / c;
  p1 = static_cast<T>(c * (c * a + s * t) + s * s * b);
  p2 = static_cast<T>(s * (s * a - c * t) + c * c * b);
  if (p2 > p1) {
    std::swap(p1, p2);
  }
}

template <typename T>
void utf_Tensor<T>::computePrincipal(T& p1, T& p2, T& p3) const {
  T padded[6];
  const double f = shearFactor();
  switch (layoutOf(this->type())) {
  case Layout::Surface: {
    const T* c = componentsAtLeast(3, padded);
    inplanePrincipal(c[0], c[1], c[2], f, p1, p2);
    p3 = T(0);
    return;
  }
  case Layout::Planar: {
    const T* c = componentsAtLeast(4, padded);
    inplanePrincipal(c[0], c[1], c[3], f, p1, p2);
    // S33 as stored, deliberately not ranked with the in-plane pair.
    p3 = c[2];
    return;
  }
  case Layout::Full:
    fullPrincipal(componentsAtLeast(6, padded), f, p1, p2, p3);
    return;
  }
}

template <typename T>
T utf_Tensor<T>::maxPrincipal() const {
  T p1, p2, p3;
  switch (this->type()) {
  case res_Tensor3dFull:
  case res_Tensor3dSurface:
  case res_Tensor2dSurface:
    computePrincipal(p1, p2, p3);
    return p1;
  case res_Tensor3dPlanar:
  case res_Tensor2dPlanar:
    computePrincipal(p1, p2, p3);
    return p1 > p3 ? p1 : p3;
  default:
    return -fallbackLimit();
  }
}

template <typename T>
T utf_Tensor<T>::midPrincipal() const {
  T p1, p2, p3;
  switch (this->type()) {
  case res_Tensor3dFull:
    computePrincipal(p1, p2, p3);
    return p2;
  case res_Tensor3dPlanar:
  case res_Tensor2dPlanar:
    computePrincipal(p1, p2, p3);
    if (p2 > p3) {
      return p2;
    }
    return p1 > p3 ? p3 : p1;
  case res_Tensor3dSurface:
  case res_Tensor2dSurface:
    return T(0);
  default:
    return fallbackLimit();
  }
}

template <typename T>
T utf_Tensor<T>::minPrincipal() const {
  T p1, p2, p3;
  switch (this->type()) {
  case res_Tensor3dFull:
    computePrincipal(p1, p2, p3);
    return p3;
  case res_Tensor3dPlanar:
  case res_Tensor2dPlanar:
    computePrincipal(p1, p2, p3);
    return p2 > p3 ? p3 : p2;
  case res_Tensor3dSurface:
  case res_Tensor2dSurface:
    computePrincipal(p1, p2, p3);
    return p2;
  default:
    return fallbackLimit();
  }
}

template <typename T>
T utf_Tensor<T>::maxInplanePrincipal() const {
  // The planar and surface types, tested as the signed range 10 <= type < 14.
  const std::int32_t type = this->type();
  if (type < 10 || type >= 14) {
    return T(0);
  }
  T p1, p2, p3;
  computePrincipal(p1, p2, p3);
  return p1;
}

template <typename T>
T utf_Tensor<T>::minInplanePrincipal() const {
  const std::int32_t type = this->type();
  if (type < 10 || type >= 14) {
    return T(0);
  }
  T p1, p2, p3;
  computePrincipal(p1, p2, p3);
  return p2;
}

template <typename T>
T utf_Tensor<T>::outOfPlanePrincipal() const {
  if (layoutOf(this->type()) != Layout::Planar) {
    return T(0);
  }
  T p1, p2, p3;
  computePrincipal(p1, p2, p3);
  return p3;
}

template <typename T>
T utf_Tensor<T>::tresca() const {
  T p1, p2, p3;
  switch (this->type()) {
  case res_Tensor3dFull:
    computePrincipal(p1, p2, p3);
    return p1 - p3;
  case res_Tensor3dPlanar:
  case res_Tensor2dPlanar: {
    computePrincipal(p1, p2, p3);
    const T largest = p1 > p3 ? p1 : p3;
    const T smallest = p2 > p3 ? p3 : p2;
    return largest - smallest;
  }
  case res_Tensor3dSurface:
  case res_Tensor2dSurface: {
    // The zero out-of-plane value takes part in the range here.
    computePrincipal(p1, p2, p3);
    const T largest = p1 > T(0) ? p1 : T(0);
    const T smallest = p2 < T(0) ? p2 : T(0);
    return static_cast<T>(static_cast<double>(largest) - static_cast<double>(smallest));
  }
  default:
    return T(0);
  }
}

// ---------------------------------------------------------------------------------------------
// Invariants.

template <typename T>
T utf_Tensor<T>::pressure() const {
  T padded[6];
  if (utf_isSurfaceTensorType(this->type())) {
    const T* c = componentsAtLeast(2, padded);
    return static_cast<T>(-(static_cast<double>(c[0]) + static_cast<double>(c[1])) / 3.0);
  }
  const T* c = componentsAtLeast(3, padded);
  return static_cast<T>(
      -(static_cast<double>(c[0]) + static_cast<double>(c[1]) + static_cast<double>(c[2])) / 3.0);
}

// In float the mean is the single-precision sum of the direct components divided by 3 in double
// and narrowed, the deviators are single precision, and each shear is halved in double and
// narrowed. In double every cast below is the identity.
template <typename T>
typename utf_Tensor<T>::Deviator utf_Tensor<T>::deviator() const {
  T padded[6];
  const double f = shearFactor();
  switch (layoutOf(this->type())) {
  case Layout::Surface: {
    const T* c = componentsAtLeast(3, padded);
    const T p = static_cast<T>(static_cast<double>(c[0] + c[1]) / 3.0);
    return {c[0] - p, c[1] - p, -p, static_cast<T>(f * static_cast<double>(c[2])), T(0), T(0)};
  }
  case Layout::Planar: {
    const T* c = componentsAtLeast(4, padded);
    const T p = static_cast<T>(static_cast<double>(c[0] + c[1] + c[2]) / 3.0);
    return {c[0] - p, c[1] - p, c[2] - p, static_cast<T>(f * static_cast<double>(c[3])),
            T(0),     T(0)};
  }
  case Layout::Full:
    break;
  }
  const T* c = componentsAtLeast(6, padded);
  const T p = static_cast<T>(static_cast<double>(c[0] + c[1] + c[2]) / 3.0);
  return {c[0] - p,
          c[1] - p,
          c[2] - p,
          static_cast<T>(f * static_cast<double>(c[3])),
          static_cast<T>(f * static_cast<double>(c[4])),
          static_cast<T>(f * static_cast<double>(c[5]))};
}

// Q = d1^2 + d2^2 + d3^2 + 2 (s12^2 + s13^2 + s23^2). The sum of the direct squares (and for the
// full layout the sum of the shear squares) is formed in T; they are joined in double, Q is
// narrowed to T, and the root is taken in double.
template <typename T>
T utf_Tensor<T>::mises() const {
  const Deviator s = deviator();
  const T directSquares = s.d1 * s.d1 + s.d2 * s.d2 + s.d3 * s.d3;
  T q;
  if (layoutOf(this->type()) == Layout::Full) {
    const T shearSquares = s.s12 * s.s12 + s.s13 * s.s13 + s.s23 * s.s23;
    q = static_cast<T>(static_cast<double>(directSquares) +
                       2.0 * static_cast<double>(shearSquares));
  } else {
    // The one shear: 2 s12^2 formed in double.
    q = static_cast<T>(static_cast<double>(directSquares) +
                       2.0 * static_cast<double>(s.s12) * static_cast<double>(s.s12));
  }
  return static_cast<T>(std::sqrt(1.5 * static_cast<double>(q)));
}

// tr(s s s) from m = s s: (m11 d1 + m22 d2 + m33 d3) + 2 (m12 s12 + m13 s13 + m23 s23). Products
// and brackets in T, joined in double and narrowed; the cube root is taken in double.
template <typename T>
T utf_Tensor<T>::inv3() const {
  const Deviator s = deviator();
  T trace;
  if (layoutOf(this->type()) == Layout::Full) {
    const T a = s.s12 * s.s12, b = s.s13 * s.s13, c = s.s23 * s.s23;
    const T m11 = s.d1 * s.d1 + a + b;
    const T m22 = s.d2 * s.d2 + a + c;
    const T m33 = s.d3 * s.d3 + b + c;
    const T m12 = (s.d1 + s.d2) * s.s12 + s.s13 * s.s23;
    const T m13 = (s.d1 + s.d3) * s.s13 + s.s12 * s.s23;
    const T m23 = (s.d2 + s.d3) * s.s23 + s.s12 * s.s13;
    const T direct = m11 * s.d1 + m22 * s.d2 + m33 * s.d3;
    const T shear = m12 * s.s12 + m13 * s.s13 + m23 * s.s23;
    trace = static_cast<T>(static_cast<double>(direct) + 2.0 * static_cast<double>(shear));
  } else {
    // One shear in the plane of directions 1 and 2; d3 is S33 - p, or -p for a surface layout.
    const T m11 = s.d1 * s.d1 + s.s12 * s.s12;
    const T m22 = s.d2 * s.d2 + s.s12 * s.s12;
    const T m12 = (s.d1 + s.d2) * s.s12;
    const T direct = m11 * s.d1 + m22 * s.d2 + s.d3 * s.d3 * s.d3;
    trace = static_cast<T>(static_cast<double>(direct) + 2.0 * static_cast<double>(m12 * s.s12));
  }
  const double wide = static_cast<double>(trace);
  if (wide >= 0.0) {
    return static_cast<T>(std::pow(4.5 * wide, oneThird));
  }
  return static_cast<T>(-std::pow(-4.5 * wide, oneThird));
}

extern template class utf_Tensor<float>;
extern template class utf_Tensor<double>;

#endif
