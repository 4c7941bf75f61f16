#ifndef UTF_CONVENTIONS_H
#define UTF_CONVENTIONS_H

// The conventions of the library, stated once; every other header points here. (This header
// holds no code: it is included by utf.h only so that it is installed and found beside the rest.)
//
// 1. Precisions. Every value type and kernel is a class template instantiated for float and
//    double, and only for those two. Where a float result is formed partly in double, the code
//    says so at the operation and the rounding is part of the result: float results are
//    reproducible to the bit. Nothing is ever contracted into a fused multiply-add.
//
// 2. Data types (res_DataTypeEnm.h) decide a value's component count and order:
//
//      type  value                 components, in storage order
//      ----  --------------------  -------------------------------------------------
//        4   vector                (x1, x2, x3), or (x1, x2) for an in-plane vector
//        6   2D rotation           (s, c) = (sin(t/2), cos(t/2)), a turn by t about axis 3
//        7   3D rotation           (x, y, z, w) = (sin(t/2) * unit axis, cos(t/2))
//        9   3D full tensor        S11, S22, S33, S12, S13, S23
//       10   3D planar tensor      S11, S22, S33, S12
//       11   3D surface tensor     S11, S22, S12
//       12   2D planar tensor      S11, S22, S33, S12
//       13   2D surface tensor     S11, S22, S12
//
//    A 3D rotation stores its vector part first and its scalar last; the identity is
//    (0, 0, 0, 1). A 2D rotation is the (z, w) part of the 3D rotation (0, 0, s, c); its
//    identity is (0, 1). Directions 1 and 2 span the plane of a planar or surface tensor; S33 of
//    a planar layout is the out-of-plane direct component, a surface layout has none (it reads
//    as 0 wherever one is needed). A type outside this list is allowed: it has no components by
//    the catalogue's rules and gets the fallbacks documented at each operation.
//
// 3. Shear. With a tensor's engineering-shear flag clear (or a transform's `engineeringShear`
//    false) the stored shears are the tensor components S12, S13, S23; with it set they are
//    engineering shears 2 S12, 2 S13, 2 S23. The flag never changes the stored numbers: the
//    queries halve every shear on reading (value times 0.5), and the rotations halve on entry
//    and store the rotated shears doubled, so an array leaves in the form it came in.
//
// 4. Rotations and direction cosines. A rotation carries the global axes onto the new axes. Its
//    direction-cosine table A (3 x 3, row-major) has the NEW AXES AS ITS ROWS: row i is new axis
//    i in global components, entry [i][j] the cosine between new axis i and global axis j.
//    A turn by t about global Z is (0, 0, sin(t/2), cos(t/2)) and row 0 of its table is
//    (cos t, sin t, 0). From (x, y, z, w):
//      A = | x^2 - y^2 - z^2 + w^2   2(xy + zw)               2(xz - yw)             |
//          | 2(xy - zw)              -x^2 + y^2 - z^2 + w^2   2(yz + xw)             |
//          | 2(xz + yw)              2(yz - xw)               -x^2 - y^2 + z^2 + w^2 |
//    and from (s, c) the in-plane rows (1 - 2s^2, 2cs) and (-2cs, 1 - 2s^2). The 3D diagonal is
//    a sum of four squares, never 1 - 2(...); in float the products and the brackets are single
//    precision, the factor 2 (and the 1 - 2(...) of the in-plane block) is applied in double and
//    the result rounded once. Nothing normalises: a non-unit quaternion gives a scaled table.
//    Two places read a table the other way round, on purpose: utf_Quaternion's constructor from
//    a table takes the new axes from its COLUMNS (the rotation matrix), and the numerical
//    routines (utf_numerics.h) store matrices column-major, so their columns are the new axes
//    (the same nine numbers in memory as the rows of A).
//
// 5. Composition: q (x) p, the Hamilton product, applies p first, then q (q.mult(p)).
//    Three angles (a, b, c) give qa (x) qb (x) qc: a turn by c about Z, then b about Y, then a
//    about X. The angle of a rotation vector lies in [0, 2 pi] for a 3D rotation (2 acos(w)) and
//    in [-pi, pi] for a 2D one (2 asin(s)).
//
// 6. The two senses of a change of axes. With A the rotation's table:
//    - ONTO THE NEW AXES, S' = A S A^T (x' = A x for a vector): the components of the same
//      tensor on the new axes. The tensor component kernels (utf_TensorKernels.h) and
//      utf_Vector<T>::transform turn this way.
//    - BACK TO THE OLD AXES, S' = A^T S A: a tensor given on the new axes, expressed on the old
//      ones. utf_Tensor<T>::transform and transformControl turn this way.
//    Both are required and they differ on purpose. Worked example: a 90-degree turn about axis
//    3, q = (0, 0, sqrt(1/2), sqrt(1/2)), rows (0, 1, 0), (-1, 0, 0), (0, 0, 1), on a full
//    tensor:
//      onto the new axes (kernels):       S'13 =  S23,  S'23 = -S13
//      back to the old axes (transform):  S'13 = -S23,  S'23 =  S13
//    and both give S'11 = S22, S'22 = S11, S'33 = S33, S'12 = -S12. So a uniaxial stress 100
//    along global X reads S'22 = 100 on the new axes (new Y is global -X).
//
// 7. Failures. Every precondition is an assertion: nex_AssertException carrying the asserted
//    expression's text, a source name and a fixed number, listed in utf_Assert.h. The value is
//    unchanged when an assertion fails. Nothing else raises; a query on an unexpected data type
//    returns the fallback documented at it.
//
// 8. Memory. A value owns its components (from the memory module, KPTmem.h) unless it was built
//    over a caller's non-const array, which it then only views. Kernels and queries allocate
//    nothing unless their documentation says otherwise.

#endif
