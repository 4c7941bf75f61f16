#ifndef UTF_BATCH_PRINCIPAL_H
#define UTF_BATCH_PRINCIPAL_H

// Principal values and directions of N tensors (utf_BatchTensors.h), by a direct method with a
// published error bound.
//
// Every layout is read as the 3D tensor it describes (a planar layout's S13 = S23 = 0, a surface
// layout's S33 = 0 too), and the results are that tensor's: three values P1 >= P2 >= P3 and
// their directions. Where this differs from the value type's queries (utf_Tensor.h):
//
//   question                engine                         utf_Tensor<T>
//   ----------------------  -----------------------------  -----------------------------------
//   values of a full        P1 >= P2 >= P3                 the same three (maxPrincipal,
//   tensor                                                 midPrincipal, minPrincipal), from
//                                                          the closed form: less accurate near
//                                                          a repeated value (below)
//   values of a planar      S33 ranked with the in-plane   the same three by the queries;
//   tensor                  pair                           computePrincipal leaves S33 unranked
//   values of a surface     the in-plane pair and 0,       maxPrincipal and minPrincipal are
//   tensor                  ranked                         the in-plane pair without the 0,
//                                                          midPrincipal is 0
//   in-plane values of a    the pair of the 1-2 block      0 and 0
//   full tensor             (S11, S22, S12)
//   directions              three unit rows, right-        a quaternion (principalDirections),
//                           handed, one sign rule (below)  by the numerical routines
//
// Method. The values come from the deviator's invariants without iteration: J2 = s:s / 2 and
// J3 = det s, and the discriminant of the characteristic polynomial written as a sum of squares,
// Delta = (3/4) sum over the ten pairs i < j of (a_i b_j - a_j b_i)^2, where a and b are the
// coordinates of s and of s s in an orthonormal basis of the traceless symmetric tensors (a Gram
// determinant of I, s and s s). Delta is therefore never negative and keeps its accuracy as two
// values meet, and the angle 3 phi = atan2(sqrt(Delta), 3 sqrt(3) J3) is accurate where the
// arccosine of the usual closed form is not. With rho = sqrt(J2 / 3):
//   P1 = I1/3 + 2 rho cos(phi),  P2 = I1/3 - rho cos(phi) + sqrt(3) rho sin(phi),
//   P3 = I1/3 - rho cos(phi) - sqrt(3) rho sin(phi),   phi in [0, pi/3].
// A tensor without shear (S12 = S13 = S23 = 0) has its diagonal, sorted, as its values, exactly.
// The tensor is first scaled by a power of two (exact) so that its largest component lies in
// [1, 2): no intermediate overflows or underflows for any finite tensor of normal components.
// The planar and surface layouts take the exact 2 x 2 formula for their in-plane pair.
// Directions, without iteration: the direction of the most isolated value is the largest cross
// product of two rows of S - P I; the next is the null vector of the 2 x 2 problem in the plane
// orthogonal to it; the third is their cross product.
//
// Sign rule. The first and second directions have their component of largest magnitude positive
// (the first such component when two are equal); the third is the cross product of the first two,
// so the rows form a right-handed frame (det = +1). The quaternion (x, y, z, w) is the rotation
// whose direction-cosine table (utf_Conventions.h, 4) has these rows, with w >= 0.
//
// Accuracy, with u the unit roundoff of T (2^-53 for double, 2^-24 for float) and ||S|| the
// largest principal magnitude, for every finite tensor whose components are normal numbers:
//   values:      |P - P_exact| <= 16 u ||S||;
//   directions:  ||S v - P v|| <= 16 u ||S|| for each row v, ||V V^T - I|| <= 8 u, det V = +1.
// The bounds hold near and at repeated values, where the value type's closed form loses about
// sqrt(u) ||S||. A direction of a repeated value is any unit vector of its eigenspace that meets
// the bounds. Tensors with a NaN or infinite component give NaN values and directions.

#include "utf_BatchExport.h"
#include "utf_BatchTensors.h"

// values[3 i ...] = P1, P2, P3 of tensor i, descending.
template <typename T>
UTF_BATCH_EXPORT void utf_batchPrincipalValues(const utf_BatchTensors<T>& tensors, T* values);

// values[2 i ...] = the in-plane pair of tensor i, larger first: the principal values of the 1-2
// block (S11, S22, S12), for every layout (the full layout's included, see the table above).
template <typename T>
UTF_BATCH_EXPORT void utf_batchInplanePrincipalValues(const utf_BatchTensors<T>& tensors,
                                                      T* values);

// values[3 i ...] as utf_batchPrincipalValues; directions[9 i ...] the three unit directions as
// the rows of a 3 x 3 table, row k the direction of value k; quaternions[4 i ...] (x, y, z, w)
// when `quaternions` is not null.
template <typename T>
UTF_BATCH_EXPORT void utf_batchPrincipalDirections(const utf_BatchTensors<T>& tensors, T* values,
                                                   T* directions, T* quaternions = nullptr);

#endif
