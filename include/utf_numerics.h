#ifndef UTF_NUMERICS_H
#define UTF_NUMERICS_H

// Numerical routines: direction cosines to a quaternion, and principal values and principal
// directions of a symmetric tensor. They follow the habits of a classic numerical library: C
// linkage, every argument by address (sizes and flags too), double precision throughout.
//
// Conventions shared by all seven routines:
// - Arrays are column-major: A(i,j) (1-based) is a[(i-1) + 3*(j-1)]. In a direction-cosine
//   array, column j is the j-th new axis in global components (a[0..2] the first new axis,
//   a[3..5] the second, a[6..8] the third), i.e. column j is row j of the direction-cosine table.
// - Quaternion: vector part first, scalar last: q = (sin(theta/2) * axis, cos(theta/2)); the
//   identity is (0, 0, 0, 1). CALQUAT with LSCAL true writes the scalar first instead.
// - Tensor components: the NDI direct components (S11, S22, S33, as many as NDI says), then the
//   NSHR shear components (S12, S13, S23, as many as NSHR says). Absent direct components are 0.
// - PQ (CALPRINQ's result): PQ[0..2] the principal values, PQ[3..6] the quaternion of the
//   principal directions; for a 2D layout PQ[3] = sin(theta/2), PQ[4] = cos(theta/2) of the
//   rotation about the third axis and PQ[5] = PQ[6] = 0.
// - Diagnostics: CALQUAT writes " SYSTEM ERROR 1 IN CALQUAT" or " SYSTEM ERROR 3 IN CALQUAT" as
//   one line on standard output (C stdio, flushed) and carries on; no routine reports an error
//   in any other way, and sizes, counts and layout codes are trusted.
// - No state is kept between calls: concurrent calls on separate arrays are safe.
// - max(...) of several values, where used, is taken left to right, a later value replacing the
//   kept one only when it is greater: a NaN in first place is kept, a later NaN is passed over.

#include "utf_Export.h"

#ifdef __cplusplus
extern "C" {
#endif

// c = a x b: c1 = a2 b3 - b2 a3, c2 = a3 b1 - a1 b3, c3 = a1 b2 - a2 b1. c must not overlap a or b.
UTF_EXPORT void CROSSV(const double* a, const double* b, double* c);

// q[4] from the direction-cosine array a[9] by Shepperd's method: the largest of the trace and
// the three diagonal elements picks the formula (the trace wins every tie; among the diagonal
// elements the later one wins). Only the lowest bit of *lscal is tested: set, the scalar comes
// first. The result is not normalised and its sign is the chosen formula's (the scalar may be
// negative). Accurate to a few units in the last place for an orthonormal array; a
// non-orthonormal array gives a non-unit quaternion. When the trace is chosen but not greater
// than -1, or the chosen diagonal term is negative or NaN, a diagnostic line is written and the
// formulas carry on (giving infinities or NaN).
UTF_EXPORT void CALQUAT(double* q, const double* a, const int* lscal);

// b (n x m) = transpose of a (m x n), both column-major. Nothing is done when m < 1 or n < 1.
UTF_EXPORT void TRANSM(const double* a, double* b, const int* m, const int* n);

// b[i] = a[i] for i < n; nothing when n <= 0.
UTF_EXPORT void COPYV(const double* a, double* b, const int* n);

// Sorts p[3] in descending order, moving the direction triples v[0..2], v[3..5], v[6..8] with
// them. Layout 7: compare-and-swap (1,2), (1,3), (2,3) in that order, a full sort. Any other
// layout: the step (1,2) only. A pair is swapped unless the first is >= the second (NaN swaps).
UTF_EXPORT void SORTPRIN(double* p, double* v, const int* layout);

// Principal values p[3] (unsorted) and principal directions d[9] of the tensor s: direction i is
// row i of d, i.e. (d[i-1], d[i+2], d[i+5]). Shears are used as given when *ishear is 1 and
// halved otherwise (engineering shear). Unused values are 0.
// - nshr 0: the direct components and the identity directions.
// - nshr 1 (in-plane): closed form on the first two direct components and the shear; the third
//   value is S33 when ndi is 3. Direction 1 belongs to the smaller in-plane value.
// - nshr >= 2: the trigonometric solution of the deviator's characteristic cubic (the mean taken
//   as the sum times the double nearest 1/3, the cubic's scale and angle divided by 3),
//   directions from the longest cross product of the rows of (deviator - l I). The directions
//   are orthonormal but not always right-handed. The values come in the cubic's order (largest,
//   smallest, middle) unless a cosine within two units of +-1 is taken as an exact repeated pair
//   (then the pair first, or last).
// A shear that is insignificant (below 2.22e-12 relative to the direct part, or a tensor below
// 2.22e-12 relative to its mean) is ignored: the stored direct values come back as they are,
// with the identity directions (for nshr 1 these are the first two stored values, whatever
// they hold).
// Accuracy: well-separated roots are accurate to a few units in the last place of the
// tensor's magnitude. The cubic's angle comes from acos, which near a repeated root turns an
// error of one unit in the last place into one of about its square root: the two values of a
// nearly repeated pair, and their directions, are good to about 1e-8 relative.
UTF_EXPORT void CALPRIN(const double* s, double* p, double* d, const int* ishear, const int* ndi,
                        const int* nshr);

// Principal values and directions of the tensor s, as pq[7] (see PQ above).
// - Layout 9 with ndi 1 and nshr 1: s[1] moves to s[2], s[1] becomes 0 and *ndi becomes 2 (the
//   caller's s and ndi are changed).
// - Shears are halved when icode (divided by 1000 when greater than 1000) is in 21..25 or 88..91.
// - When ndi > 1 the values are sorted as SORTPRIN does for the layout (descending for layout 7).
// - The frame is made right-handed by negating the second direction when needed.
// - Layouts 7, 8, 9 give a 3D quaternion; any other layout gives the 2D form.
UTF_EXPORT void CALPRINQ(double* s, double* pq, const int* icode, const int* layout, int* ndi,
                         const int* nshr);

#ifdef __cplusplus
}
#endif

#endif
