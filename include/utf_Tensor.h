#ifndef UTF_TENSOR_H
#define UTF_TENSOR_H

// utf_Tensor<T>: one symmetric second-order tensor (the stress or strain at one point) as an
// engineering-data value whose data type picks one of five layouts (utf_Conventions.h, 2 and 3):
//
//   type  layout       count  storage order                   rotated by
//   ----  -----------  -----  ------------------------------  ---------------------
//    9    3D full        6    S11, S22, S33, S12, S13, S23    3D rotation (type 7)
//   10    3D planar      4    S11, S22, S33, S12              3D rotation (type 7)
//   11    3D surface     3    S11, S22, S12                   3D rotation (type 7)
//   12    2D planar      4    S11, S22, S33, S12              2D rotation (type 6)
//   13    2D surface     3    S11, S22, S12                   2D rotation (type 6)
//
// Ownership follows the base: the list and const-pointer constructors copy, the non-const
// pointer constructor views the caller's array. Copy() is deliberately not overridden: a Copy
// of a tensor is a plain utf_EngineeringData<T>. A value holding fewer components than its
// layout (or a type that is no tensor type, with fewer than six) is never read or written beyond
// its own components: the missing ones read as 0.
//
// The principal queries (all const, allocation-free), with P1 >= P2 >= P3 the principal values
// of a full tensor and P1 >= P2 the in-plane pair of a planar or surface one:
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
//   pressure, mises, inv3: every layout; a type that is no tensor type counts as a full tensor.
//
// Deliberate asymmetries: a surface tensor's maxPrincipal and minPrincipal are the in-plane pair
// without the zero out-of-plane value, while its midPrincipal is 0 and its tresca counts that
// zero; the in-plane queries give 0 for a full tensor; the fallbacks of a type that is no tensor
// type are the single-precision limits, also in double.
//
// Accuracy of the principal values. The full layout uses the trigonometric closed form
// p + r cos(angle) (p the mean, r = 2 sqrt(J2 / 3)) in double: an absolute error of a few
// epsilon (|p| + r), except
// - near a repeated pair, a gap g apart: each value of the pair carries about epsilon r^2 / g,
//   up to sqrt(epsilon) r (1.5e-8 r in double) for an exact pair (acos near +-1); a cosine
//   within epsilon of +-1 is taken as an exact pair; the mean and the third value stay accurate;
// - nearly hydrostatic (r << |p|): the spread carries about epsilon |p| (the deviator is formed
//   by cancellation);
// - tiny (r <= 2.220446049250313e-16, an absolute threshold): the angle is not computed and the
//   values are p + r (cos 30deg, -cos 30deg, 0) sorted, exact only when the third invariant is
//   0; a diagonal tensor is unaffected (its shear-free test is relative);
// - huge: components beyond about 1e154 overflow the squares.
// The in-plane pair of the planar and surface layouts is accurate to a few epsilon of the larger
// in-plane magnitude. In float the narrowing of the double result dominates. (The batch engine
// offers a solver without the repeated-pair loss.)
//
// Transformation: transform and transformControl bring a tensor given on the new axes back to
// the old ones, S' = A^T S A, the opposite sense of the component kernels (utf_Conventions.h, 6).
// Failed preconditions raise utf_TensorAssertLine's assertions (utf_Assert.h), before anything
// is changed.

#include "aio_ostream.h"
#include "cow_1DArrayList.h"
#include "cow_2DArray.h"
#include "res_DataTypeEnm.h"
#include "utf_Assert.h"
#include "utf_EngineeringData.h"
#include "utf_Export.h"
#include "utf_Quaternion.h"

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

  // Layouts. Both overwrite `result` (owned storage, flag clear; a view it held is dropped, not
  // freed; `result` may be this tensor) and copy shear numbers unchanged, so engineering shears
  // stay engineering numbers under a clear flag.
  // The full (type 9) form: planar (S11, S22, S33, S12, 0, 0); surface (S11, S22, 0, S12, 0, 0);
  // a type that is no tensor type (c1, c2, c3, 0, 0, 0).
  void expandToFull(utf_Tensor<T>& result) const;
  // The `target` layout by way of the full form: S13 and S23 are dropped for a planar target,
  // and S33 too for a surface one, without a check. A target that is no tensor type gives that
  // type with no components.
  void convertLayout(utf_Tensor<T>& result, res_DataTypeEnm target) const;

  // Principal values (table above). Each recomputes computePrincipal: call that once when more
  // than one value is needed.
  T maxPrincipal() const;
  T midPrincipal() const;
  T minPrincipal() const;
  // The in-plane pair of a planar or surface layout (the type tested as the range
  // 10 <= type < 14); 0 for any other type, the full layout included.
  T maxInplanePrincipal() const;
  T minInplanePrincipal() const;
  // S33 of a planar layout (10, 12), as stored; 0 for any other type.
  T outOfPlanePrincipal() const;

  // Equivalent pressure, minus the mean direct stress: -(S11 + S22) / 3.0 for a surface layout,
  // -(S11 + S22 + S33) / 3.0 otherwise; in double, narrowed.
  T pressure() const;
  // Mises equivalent sqrt(1.5 Q), Q the squared norm of the deviator (diagonal squares plus
  // twice the shear squares; the surface layout's out-of-plane deviator is -p). In float the
  // mean and the root are taken in double but the deviators and squares in single precision:
  // infinite for a deviator beyond about 1.8e19, inexact below about 1e-19, 0 below about 4e-23.
  T mises() const;
  // Tresca equivalent, the range of the principal values (table above; the surface form in
  // double).
  T tresca() const;
  // Third deviatoric invariant as a signed equivalent: the real cube root of 4.5 tr(s s s)
  // (= 13.5 det s), sign kept, as pow(|x|, 0.3333333333333333), whose exponent is 1.85e-17
  // short of 1/3 (a relative error of 1.85e-17 |ln x|). In float the products are single
  // precision: not finite for a deviator beyond about 7e12, 0 below about 1e-15.
  T inv3() const;

  // The principal values shared by the queries: P1 >= P2 >= P3 for a full tensor (type 9 and
  // any type that is no tensor type); for a planar or surface layout P1 >= P2 is the in-plane
  // pair and P3 is S33 (planar, unsorted) or 0 (surface). Closed form in double, narrowed on
  // storing; no iteration, no allocation.
  void computePrincipal(T& p1, T& p2, T& p3) const;

  // Rotates the components in place, S' = A^T S A with A q's table. q must be of type
  // QuaternionType() (rotationType, "q.type() == QuaternionType()"). `engineeringShear` says
  // whether the shear slots hold engineering values (the tensor's own flag is not consulted).
  // The 3D planar layout drops the S'13 and S'23 that a tilted rotation creates; the 3D surface
  // layout uses only the in-plane block of A; the 2D layouts keep S33. A type that is no tensor
  // type is left alone. The products are the kernels' own with A transposed (same rounding
  // rules); allocation-free.
  void transform(const utf_Quaternion<T>& q, bool engineeringShear);
  // Rotates by a table D: S' = D^T S D through the full 3 x 3 matrices (D read as
  // coss.ConstGet(i, j); P = D^T M, then Q = P D, each accumulated from zero with i outermost and
  // k innermost; back in the tensor's layout, which drops Q13, Q23, and Q33 for a surface
  // layout). Shears are taken as tensorial. For the layouts 10 to 13 the table must keep the
  // plane: D(2,2), widened to double, > 0.9 (notNormal, "coss.ConstGet(2,2) > 0.9 &&
  // \"Transformation not normal\""; a NaN fails; the full layout is never checked). Neither the
  // table's shape nor its orthogonality is checked; a table smaller than 3 x 3 makes ConstGet
  // throw std::out_of_range before anything is changed. Allocates.
  void transformControl(const cow_2DArray<T>& coss);
  // transformControl(q.cosines()). The bool is deliberately ignored (this path never converts
  // engineering shears, unlike transform(q, true)); no rotation-type check.
  void transformControl(const utf_Quaternion<T>& q, bool engineeringShear);

  // Principal values and directions by CALPRINQ (utf_numerics.h), in double on a widened copy of
  // the components (the tensor never changes), narrowed at the end. The driver gets mode 1 (flag
  // clear) or 21 (flag set: it halves the shears), layout code 7 to 11 for the types 9 to 13 (7
  // otherwise), 3 direct components (2 for 11, 13) and 3 shears (1 for 10 to 13).
  // - principal: the values as the driver sorts them (descending for the full layout; otherwise
  //   only the in-plane pair is ordered and principal[2] is S33 of a planar layout, 0 of a
  //   surface one).
  // - quaternion: a 3D layout (9, 10, 11, any other type) gives the rotation (x, y, z, w) whose
  //   table rows are the principal directions in the order of the values, a right-handed frame
  //   (the surface layout 11 included: its z, w are kept as the driver gives them); a 2D layout
  //   gives (s, c, 0, 0), the 2D rotation and two zeros.
  // Without shear the direct components are the values: the identity frame when they are
  // already descending, a permutation of the axes otherwise.
  void principalDirections(T principal[3], T quaternion[4]) const;
  // The same values, and the principal frame relative to `reference`: inverse(R) (x) P, with P
  // the rotation of principalDirections and R the rotation of type QuaternionType() built from
  // `reference` by the quaternion's table constructor, which reads the axes from the table's
  // COLUMNS (so the reference equal to the principal frame is the TRANSPOSE of its cosines()
  // table, and gives the identity or its negative). 3D layouts give four values; 2D layouts two,
  // then 0, 0. The table constructor's assertions apply to `reference`; when one fails the
  // outputs are untouched.
  void principalDirectionsRelative(T principal[3], T quaternion[4],
                                   const cow_2DArray<T>& reference) const;

private:
  // Overwrites this tensor with `type`, an owned copy of `count` components and a clear flag;
  // the new array is made first, so that a failed allocation leaves the tensor as it was.
  void replaceWith(res_DataTypeEnm type, const T* components, int count);
};

extern template class utf_Tensor<float>;
extern template class utf_Tensor<double>;

#endif
