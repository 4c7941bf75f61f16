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
//
// Transformation. A tensor rotates its own components in place, keeping its data type, count and
// storage, in one of two ways:
// - transform(q, engineeringShear): by a rotation value whose type must be QuaternionType() (7
//   for the 3D layouts 9, 10, 11; 6 for the 2D layouts 12, 13). Allocation-free; the cosines are
//   formed as scalars exactly as the tensor component kernels (utf_TensorKernels.h) form them.
// - transformControl(table) and transformControl(q, ignored): by a 3 x 3 table of direction
//   cosines D through the full matrix product D^T S D, back in the tensor's own layout.
// Both take D (or A, the rotation's table: row r is new axis r in old components) the transposed
// way round, S' = A^T S A: they take a tensor given on the new axes back to the old ones. The
// kernels of utf_TensorKernels.h turn the OPPOSITE way, S' = A S A^T, and the difference is
// deliberate. A 90-degree turn about axis 3, q = (0, 0, sqrt(1/2), sqrt(1/2)), on a full tensor:
//   kernel:    S'13 =  S23,  S'23 = -S13
//   transform: S'13 = -S23,  S'23 =  S13
// (both give S'11 = S22, S'22 = S11, S'12 = -S12, S'33 = S33).
// Failed preconditions raise nex_AssertException with the source "include/utf_Tensor":
// - line 884, "q.type() == QuaternionType()": transform by a rotation of the wrong dimension;
// - line 830, "coss.ConstGet(2,2) > 0.9 && \"Transformation not normal\"": the normality rule
//   of transformControl. A non-full tensor (10, 11, 12, 13) may only be rotated by a table whose
//   third axis stays within about 25.8 degrees of the old one (D(2,2), widened to double, must
//   exceed 0.9; a NaN fails), so that the plane of the planar or surface tensor is kept.
// The tensor is unchanged when an assertion fails.
//
// Principal directions. principalDirections gives the principal values with the principal frame
// as a rotation (the rows of its direction-cosine table are the principal directions), computed
// in double by the numerical routine CALPRINQ on a widened copy of the components (the tensor
// itself never changes). principalDirectionsRelative expresses that frame relative to a
// reference frame.

#include "aio_ostream.h"
#include "cow_1DArrayList.h"
#include "cow_2DArray.h"
#include "cow_String.h"
#include "res_DataTypeEnm.h"
#include "utf_Assert.h"
#include "utf_EngineeringData.h"
#include "utf_Export.h"
#include "utf_Print.h"
#include "utf_Quat2dBase.h"
#include "utf_Quat3dBase.h"
#include "utf_Quaternion.h"
#include "utf_TensorKernels.h"
#include "utf_numerics.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

// Where the assertions of utf_Tensor<T> report themselves (source "include/utf_Tensor").
struct utf_TensorAssertLine {
  // transform by a rotation whose type is not QuaternionType(): "q.type() == QuaternionType()".
  static constexpr int rotationType = 884;
  // transformControl of a non-full tensor by a table that tilts its plane:
  // "coss.ConstGet(2,2) > 0.9 && \"Transformation not normal\"".
  static constexpr int notNormal = 830;
};

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

  // Transformation.

  // Rotates the components in place by q in the sense S' = A^T S A, A the rotation's
  // direction-cosine table (row r is new axis r in old components): a tensor given on the new
  // axes is brought back to the old ones. The component kernels of utf_TensorKernels.h turn the
  // components the opposite way, S' = A S A^T, on purpose. With a 90-degree turn about axis 3,
  // q = (0, 0, sqrt(1/2), sqrt(1/2)), on a full tensor:
  //   kernel:    S'13 =  S23,  S'23 = -S13
  //   transform: S'13 = -S23,  S'23 =  S13
  // q must be of type QuaternionType(); otherwise the assertion "q.type() == QuaternionType()"
  // (line 884) fails before anything is changed. `engineeringShear` says whether the shear slots
  // hold engineering values: they are halved on entry (value times 0.5) and the computed shears
  // stored doubled; the tensor's own flag is not consulted. The 3D planar layout drops the S'13
  // and S'23 that a tilted rotation creates; the 3D surface layout uses only the in-plane block
  // a11, a12, a21, a22; the 2D layouts keep S33. A type that is no tensor type is left alone.
  // Products and sums in T, left to right; the cosines are formed by the kernels' own code, so
  // their float rounding is the kernels'. Allocation-free. A tensor holding fewer components than
  // its layout reads the missing ones as 0 and writes only its own.
  void transform(const utf_Quaternion<T>& q, bool engineeringShear);
  // Rotates by the table: S' = D^T S D through the full 3 x 3 matrices (D read row-major as
  // coss.ConstGet(i, j); the tensor expanded to full, P = D^T M and Q = P D each accumulated from
  // zero with i outermost and k innermost, then brought back to the tensor's layout, which drops
  // Q13, Q23, and for a surface layout Q33). Shears are always taken as tensorial. For the
  // layouts 12, 10, 11 and 13 the table must keep the plane: D(2,2) > 0.9 (line 830,
  // "coss.ConstGet(2,2) > 0.9 && \"Transformation not normal\"", checked before anything is
  // changed; the full layout is never checked, and may be turned by 90 degrees). Neither the
  // table's shape nor its orthogonality is checked; a table smaller than 3 x 3 makes the table's
  // own ConstGet throw std::out_of_range, again before anything is changed. Only as many
  // components as the tensor holds, and the converted layout gives, are written back, so a type
  // that is no tensor type is left alone. Allocates (the full expansion and the conversion).
  void transformControl(const cow_2DArray<T>& coss);
  // transformControl(q.cosines()). The bool is accepted and deliberately ignored: this path never
  // converts engineering shears (unlike transform(q, true)). No rotation-type check.
  void transformControl(const utf_Quaternion<T>& q, bool engineeringShear);

  // Principal values and principal directions by CALPRINQ, in double on a widened copy of the
  // components (the tensor itself never changes); the float instantiation narrows the seven
  // results at the end. The driver is told: mode 1 (flag clear) or 21 (flag set: it halves the
  // shears); layout code 7, 8, 9, 10, 11 for the types 9 to 13 (7 for any other type); 3 direct
  // components (2 for the surface layouts 11, 13); 3 shear components (1 for 10 to 13).
  // - principal: the three values as the driver sorts them (descending for the full layout; for
  //   the other layouts only the in-plane pair is ordered, so principal[2] is S33 of a planar
  //   layout), and 0 as principal[2] for a surface layout.
  // - quaternion: a 3D layout (9, 10, 11, and any other type) gives the rotation (x, y, z, w)
  //   whose direction-cosine rows are the principal directions, in the order of the values, as a
  //   right-handed frame. This includes the 3D surface layout 11: its quaternion values 3 and 4
  //   (z and w of a turn about axis 3) are kept as the driver gives them, because the layout is
  //   3D; only its third principal value is zeroed. A 2D layout (12, 13) gives (s, c, 0, 0), the
  //   2D rotation (sin(t/2), cos(t/2)) followed by two zeros.
  // Without shear the direct components come back as the values, sorted by the driver: the
  // identity frame when they are already in descending order, a permutation of the axes
  // otherwise.
  void principalDirections(T principal[3], T quaternion[4]) const;
  // The same principal values, and the principal frame relative to `reference`: the rotation
  // inverse(R) (x) P, where P is the rotation of principalDirections and R the rotation of type
  // QuaternionType() built from `reference` by the quaternion's table constructor. That
  // constructor reads the reference frame's axes from the table's COLUMNS, so a reference equal
  // to the principal frame itself is the TRANSPOSE of that frame's cosines() table (and gives the
  // identity, or its negative). 3D layouts give four values; 2D layouts give the two values of
  // the 2D product followed by 0, 0. The table constructor's assertions apply to `reference`
  // (source "include/utf_Quaternion"); when one fails, the outputs are left untouched.
  void principalDirectionsRelative(T principal[3], T quaternion[4],
                                   const cow_2DArray<T>& reference) const;

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

  // transform on `s`, which holds at least the layout's components; f is 2 for engineering
  // shears, else 1. These helpers are defined inline so that transform is one call, without a
  // call per helper through the library's symbol table.
  void rotateComponents(T* s, const utf_Quaternion<T>& q, T f, bool engineeringShear) const;
  // S' = A^T S A per layout, in the order of evaluation of transform.
  static void rotateFull(T* s, const utf_Quat3dBase<T>& q, T f, bool engineeringShear);
  static void rotate3dPlanar(T* s, const utf_Quat3dBase<T>& q, T f, bool engineeringShear);
  static void rotate3dSurface(T* s, const utf_Quat3dBase<T>& q, T f, bool engineeringShear);
  static void rotate2dPlanar(T* s, const utf_Quat2dBase<T>& q, T f, bool engineeringShear);
  static void rotate2dSurface(T* s, const utf_Quat2dBase<T>& q, T f, bool engineeringShear);

  // The layout code that CALPRINQ is given for a data type.
  static int principalLayoutCode(res_DataTypeEnm type);
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

// ---------------------------------------------------------------------------------------------
// Transformation: S' = A^T S A, the opposite sense of the tensor component kernels (deliberate).

template <typename T>
void utf_Tensor<T>::transform(const utf_Quaternion<T>& q, bool engineeringShear) {
  // clang-format off
  UTF_ASSERT(q.type() == QuaternionType(), "include/utf_Tensor", utf_TensorAssertLine::rotationType);
  // clang-format on
  const T f = engineeringShear ? T(2) : T(1);
  const int count = utf_tensorComponentCount(this->type());
  if (this->m_size >= count) {
    rotateComponents(this->m_data, q, f, engineeringShear);
    return;
  }
  // Fewer stored components than the layout has: the missing ones read as 0 and are not written.
  T padded[6] = {T(0), T(0), T(0), T(0), T(0), T(0)};
  for (int i = 0; i < this->m_size; ++i) {
    padded[i] = this->m_data[i];
  }
  rotateComponents(padded, q, f, engineeringShear);
  for (int i = 0; i < this->m_size; ++i) {
    this->m_data[i] = padded[i];
  }
}

template <typename T>
inline void utf_Tensor<T>::rotateComponents(T* s, const utf_Quaternion<T>& q, T f,
                                            bool engineeringShear) const {
  // A kernel handle over the rotation's values, only read through its const members.
  T* const rotation = const_cast<T*>(q.data());
  switch (this->type()) {
  case res_Tensor3dFull:
    rotateFull(s, utf_Quat3dBase<T>(rotation), f, engineeringShear);
    return;
  case res_Tensor3dPlanar:
    rotate3dPlanar(s, utf_Quat3dBase<T>(rotation), f, engineeringShear);
    return;
  case res_Tensor3dSurface:
    rotate3dSurface(s, utf_Quat3dBase<T>(rotation), f, engineeringShear);
    return;
  case res_Tensor2dPlanar:
    rotate2dPlanar(s, utf_Quat2dBase<T>(rotation), f, engineeringShear);
    return;
  case res_Tensor2dSurface:
    rotate2dSurface(s, utf_Quat2dBase<T>(rotation), f, engineeringShear);
    return;
  default:
    // No tensor type: nothing to rotate, and no error.
    return;
  }
}

// c_j is column j of the table, (a1j, a2j, a3j): x_j = S c_j, S'ij = c_i . x_j.
template <typename T>
inline void utf_Tensor<T>::rotateFull(T* s, const utf_Quat3dBase<T>& q, T f,
                                      bool engineeringShear) {
  using S = utf_TensorScaling<T>;
  if (engineeringShear) {
    s[3] = S::half(s[3]);
    s[4] = S::half(s[4]);
    s[5] = S::half(s[5]);
  }
  const utf_TensorCosines3d<T> a(q);
  const T s11 = s[0], s22 = s[1], s33 = s[2], s12 = s[3], s13 = s[4], s23 = s[5];

  const T x11 = s11 * a.a11 + s12 * a.a21 + s13 * a.a31;
  const T x12 = s12 * a.a11 + s22 * a.a21 + s23 * a.a31;
  const T x13 = s13 * a.a11 + s23 * a.a21 + s33 * a.a31;
  const T x21 = s11 * a.a12 + s12 * a.a22 + s13 * a.a32;
  const T x22 = s12 * a.a12 + s22 * a.a22 + s23 * a.a32;
  const T x23 = s13 * a.a12 + s23 * a.a22 + s33 * a.a32;
  const T x31 = s11 * a.a13 + s12 * a.a23 + s13 * a.a33;
  const T x32 = s12 * a.a13 + s22 * a.a23 + s23 * a.a33;
  const T x33 = s13 * a.a13 + s23 * a.a23 + s33 * a.a33;

  const T n11 = a.a11 * x11 + a.a21 * x12 + a.a31 * x13;
  const T n22 = a.a12 * x21 + a.a22 * x22 + a.a32 * x23;
  const T n33 = a.a13 * x31 + a.a23 * x32 + a.a33 * x33;
  const T n12 = f * (a.a11 * x21 + a.a21 * x22 + a.a31 * x23);
  const T n13 = f * (a.a13 * x11 + a.a23 * x12 + a.a33 * x13);
  const T n23 = f * (a.a12 * x31 + a.a22 * x32 + a.a32 * x33);

  s[0] = n11;
  s[1] = n22;
  s[2] = n33;
  s[3] = n12;
  s[4] = n13;
  s[5] = n23;
}

// S13 = S23 = 0 assumed; the S'13 and S'23 that a tilt would create are dropped.
template <typename T>
inline void utf_Tensor<T>::rotate3dPlanar(T* s, const utf_Quat3dBase<T>& q, T f,
                                          bool engineeringShear) {
  using S = utf_TensorScaling<T>;
  if (engineeringShear) {
    s[3] = S::half(s[3]);
  }
  const utf_TensorCosines3d<T> a(q);
  const T s11 = s[0], s22 = s[1], s33 = s[2], s12 = s[3];

  const T x11 = s11 * a.a11 + s12 * a.a21;
  const T x12 = s12 * a.a11 + s22 * a.a21;
  const T x13 = s33 * a.a31;
  const T x21 = s11 * a.a12 + s12 * a.a22;
  const T x22 = s12 * a.a12 + s22 * a.a22;
  const T x23 = s33 * a.a32;
  const T x31 = s11 * a.a13 + s12 * a.a23;
  const T x32 = s12 * a.a13 + s22 * a.a23;
  const T x33 = s33 * a.a33;

  const T n11 = a.a11 * x11 + a.a21 * x12 + a.a31 * x13;
  const T n22 = a.a12 * x21 + a.a22 * x22 + a.a32 * x23;
  const T n33 = a.a13 * x31 + a.a23 * x32 + a.a33 * x33;
  const T n12 = f * (a.a11 * x21 + a.a21 * x22 + a.a31 * x23);

  s[0] = n11;
  s[1] = n22;
  s[2] = n33;
  s[3] = n12;
}

// S33 = S13 = S23 = 0 assumed; only a11, a21, a12, a22 are used.
template <typename T>
inline void utf_Tensor<T>::rotate3dSurface(T* s, const utf_Quat3dBase<T>& q, T f,
                                           bool engineeringShear) {
  using S = utf_TensorScaling<T>;
  if (engineeringShear) {
    s[2] = S::half(s[2]);
  }
  const utf_TensorCosines3dInPlane<T> a(q);
  const T s11 = s[0], s22 = s[1], s12 = s[2];

  const T y1a = s11 * a.a11 + s12 * a.a21;
  const T y1b = s12 * a.a11 + s22 * a.a21;
  const T y2a = s11 * a.a12 + s12 * a.a22;
  const T y2b = s12 * a.a12 + s22 * a.a22;

  const T n11 = a.a11 * y1a + a.a21 * y1b;
  const T n22 = a.a12 * y2a + a.a22 * y2b;
  const T n12 = f * (a.a11 * y2a + a.a21 * y2b);

  s[0] = n11;
  s[1] = n22;
  s[2] = n12;
}

template <typename T>
inline void utf_Tensor<T>::rotate2dPlanar(T* s, const utf_Quat2dBase<T>& q, T f,
                                          bool engineeringShear) {
  using S = utf_TensorScaling<T>;
  if (engineeringShear) {
    s[3] = S::half(s[3]);
  }
  const utf_TensorCosines2d<T> b(q);
  const T s11 = s[0], s22 = s[1], s33 = s[2], s12 = s[3];

  const T y1a = s11 * b.b11 + s12 * b.b21;
  const T y1b = s12 * b.b11 + s22 * b.b21;
  const T y2a = s11 * b.b12 + s12 * b.b22;
  const T y2b = s12 * b.b12 + s22 * b.b22;

  const T n11 = b.b11 * y1a + b.b21 * y1b;
  const T n22 = b.b12 * y2a + b.b22 * y2b;
  // The out-of-plane cosine is the constant 1: S33 passes through.
  const T n33 = T(1) * (s33 * T(1));
  const T n12 = f * (b.b11 * y2a + b.b21 * y2b);

  s[0] = n11;
  s[1] = n22;
  s[2] = n33;
  s[3] = n12;
}

template <typename T>
inline void utf_Tensor<T>::rotate2dSurface(T* s, const utf_Quat2dBase<T>& q, T f,
                                           bool engineeringShear) {
  using S = utf_TensorScaling<T>;
  if (engineeringShear) {
    s[2] = S::half(s[2]);
  }
  const utf_TensorCosines2d<T> b(q);
  const T s11 = s[0], s22 = s[1], s12 = s[2];

  const T y1a = s11 * b.b11 + s12 * b.b21;
  const T y1b = s12 * b.b11 + s22 * b.b21;
  const T y2a = s11 * b.b12 + s12 * b.b22;
  const T y2b = s12 * b.b12 + s22 * b.b22;

  const T n11 = b.b11 * y1a + b.b21 * y1b;
  const T n22 = b.b12 * y2a + b.b22 * y2b;
  const T n12 = f * (b.b11 * y2a + b.b21 * y2b);

  s[0] = n11;
  s[1] = n22;
  s[2] = n12;
}

template <typename T>
void utf_Tensor<T>::transformControl(const cow_2DArray<T>& coss) {
  const res_DataTypeEnm type = this->type();
  if (type == res_Tensor2dPlanar || type == res_Tensor3dPlanar || type == res_Tensor3dSurface ||
      type == res_Tensor2dSurface) {
    // D(2,2) is widened to double and compared with the double 0.9; a NaN fails.
    // clang-format off
    UTF_ASSERT(coss.ConstGet(2,2) > 0.9 && "Transformation not normal", "include/utf_Tensor", utf_TensorAssertLine::notNormal);
    // clang-format on
  }

  // An empty value (a view of nothing), overwritten by the full form.
  utf_Tensor<T> full(static_cast<res_DataTypeEnm>(0), static_cast<T*>(nullptr), false);
  expandToFull(full);
  const T* c = full.data();
  const T m[3][3] = {{c[0], c[3], c[4]}, {c[3], c[1], c[5]}, {c[4], c[5], c[2]}};

  // P = D^T M, then Q = P D, each accumulated from zero with i outermost and k innermost.
  T p[3][3] = {{T(0), T(0), T(0)}, {T(0), T(0), T(0)}, {T(0), T(0), T(0)}};
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      for (int k = 0; k < 3; ++k) {
        p[i][j] += coss.ConstGet(k, i) * m[k][j];
      }
    }
  }
  T r[3][3] = {{T(0), T(0), T(0)}, {T(0), T(0), T(0)}, {T(0), T(0), T(0)}};
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      for (int k = 0; k < 3; ++k) {
        r[i][j] += p[i][k] * coss.ConstGet(k, j);
      }
    }
  }

  T* rotated = full.data();
  rotated[0] = r[0][0];
  rotated[1] = r[1][1];
  rotated[2] = r[2][2];
  rotated[3] = r[0][1];
  rotated[4] = r[0][2];
  rotated[5] = r[1][2];
  utf_Tensor<T> converted(static_cast<res_DataTypeEnm>(0), static_cast<T*>(nullptr), false);
  full.convertLayout(converted, type);

  // Nothing of this tensor has changed so far; now its own components are overwritten.
  const int count = this->m_size < converted.size() ? this->m_size : converted.size();
  for (int i = 0; i < count; ++i) {
    this->m_data[i] = converted.data()[i];
  }
}

template <typename T>
void utf_Tensor<T>::transformControl(const utf_Quaternion<T>& q, bool /* engineeringShear */) {
  // The flag is deliberately not used: the table path always takes the shears as tensorial.
  const cow_2DArray<T> coss = q.cosines();
  transformControl(coss);
}

// ---------------------------------------------------------------------------------------------
// Principal directions.

template <typename T>
int utf_Tensor<T>::principalLayoutCode(res_DataTypeEnm type) {
  switch (type) {
  case res_Tensor3dFull:
    return 7;
  case res_Tensor3dPlanar:
    return 8;
  case res_Tensor3dSurface:
    return 9;
  case res_Tensor2dPlanar:
    return 10;
  case res_Tensor2dSurface:
    return 11;
  default:
    return 7;
  }
}

template <typename T>
void utf_Tensor<T>::principalDirections(T principal[3], T quaternion[4]) const {
  // The driver's own working copy, widened: it may rewrite its tensor argument, and the tensor's
  // components must never change. A type that is no tensor type copies nothing (a zero tensor).
  double s[6] = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
  const int count = utf_tensorComponentCount(this->type());
  for (int i = 0; i < count && i < this->m_size; ++i) {
    s[i] = static_cast<double>(this->m_data[i]);
  }
  double pq[7] = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
  const int mode = this->m_engineeringShear ? 21 : 1;
  const int layout = principalLayoutCode(this->type());
  int direct = hasOutOfPlaneDirect() ? 3 : 2;
  const int shear = layoutOf(this->type()) == Layout::Full ? 3 : 1;
  CALPRINQ(s, pq, &mode, &layout, &direct, &shear);

  principal[0] = static_cast<T>(pq[0]);
  principal[1] = static_cast<T>(pq[1]);
  principal[2] = hasOutOfPlaneDirect() ? static_cast<T>(pq[2]) : T(0);
  quaternion[0] = static_cast<T>(pq[3]);
  quaternion[1] = static_cast<T>(pq[4]);
  quaternion[2] = is3D() ? static_cast<T>(pq[5]) : T(0);
  quaternion[3] = is3D() ? static_cast<T>(pq[6]) : T(0);
}

template <typename T>
void utf_Tensor<T>::principalDirectionsRelative(T principal[3], T quaternion[4],
                                                const cow_2DArray<T>& reference) const {
  T values[3];
  T direction[4];
  principalDirections(values, direction);
  const res_DataTypeEnm rotationType = QuaternionType();
  const utf_Quaternion<T> computed(rotationType, static_cast<const T*>(direction));
  const utf_Quaternion<T> frame(rotationType, reference);
  const utf_Quaternion<T> relative = frame.inverse().mult(computed);

  principal[0] = values[0];
  principal[1] = values[1];
  principal[2] = values[2];
  // Four values for a 3D rotation; the two of a 2D rotation followed by 0, 0.
  for (int i = 0; i < 4; ++i) {
    quaternion[i] = i < relative.size() ? relative.data()[i] : T(0);
  }
}

extern template class utf_Tensor<float>;
extern template class utf_Tensor<double>;

#endif
