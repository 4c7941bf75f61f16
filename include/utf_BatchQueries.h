#ifndef UTF_BATCH_QUERIES_H
#define UTF_BATCH_QUERIES_H

// Scalar queries of N tensors (utf_BatchTensors.h), one value per tensor written to out[i].
// Every layout is read as the 3D tensor it describes: a planar layout has S13 = S23 = 0, a
// surface layout also S33 = 0. P1 >= P2 >= P3 are that tensor's principal values
// (utf_BatchPrincipal.h), I1 = S11 + S22 + S33 its trace, s = S - (I1 / 3) I its deviator,
// J2 = s:s / 2 and J3 = det s.
//
//   query           definition                              where it breaks down
//   --------------  --------------------------------------  ---------------------------------
//   mises           utf_Tensor<T>::mises, bit for bit       -
//   pressure        utf_Tensor<T>::pressure, bit for bit    -
//   inv3            utf_Tensor<T>::inv3, bit for bit        -
//   tresca          P1 - P3                                 -
//   maxShear        (P1 - P3) / 2                           -
//   signedMises     mises, negative when the pressure is    pressure 0 (or -0): +mises
//                   positive (a compressive mean stress)
//   worstPrincipal  P1 when |P1| >= |P3|, else P3: the      a tie |P1| = |P3| gives P1
//                   principal value of largest magnitude
//   triaxiality     -pressure / mises, in T (IEEE)          mises 0: +inf, -inf, or NaN for a
//                                                           zero tensor
//   lodeAngle       t in [-pi/6, pi/6] with sin(3 t) =      J2 = 0 (a hydrostatic or zero
//                   (3 sqrt(3) / 2) J3 / J2^(3/2): +pi/6    tensor): NaN
//                   for uniaxial tension, 0 for pure
//                   shear, -pi/6 for uniaxial compression
//
// Mises, pressure and the third invariant are the value type's formulas and rounding, so they
// carry the value type's limits (utf_Tensor.h): components beyond about 1e154 (float: Mises
// beyond about 1.8e19, the third invariant beyond about 7e12) overflow to infinity. Tresca,
// maxShear, worstPrincipal and lodeAngle come from the engine's principal values, with the
// accuracy stated in utf_BatchPrincipal.h; the Lode angle to within 16 u radians times
// ||S|| / sqrt(J2) (u the unit roundoff). They are finite for every finite tensor whose result
// lies within the range of T: the Lode angle always (but where J2 = 0), the others unless
// P1 - P3 (Tresca), P1 or P3 lies beyond the largest T, which takes components beyond about a
// sixth of it (the Tresca of diag(max, 0, -max) is +inf, its maximum shear max).

#include "utf_BatchExport.h"
#include "utf_BatchTensors.h"

template <typename T>
UTF_BATCH_EXPORT void utf_batchMises(const utf_BatchTensors<T>& tensors, T* out);
template <typename T>
UTF_BATCH_EXPORT void utf_batchPressure(const utf_BatchTensors<T>& tensors, T* out);
template <typename T>
UTF_BATCH_EXPORT void utf_batchInv3(const utf_BatchTensors<T>& tensors, T* out);
template <typename T>
UTF_BATCH_EXPORT void utf_batchTresca(const utf_BatchTensors<T>& tensors, T* out);
template <typename T>
UTF_BATCH_EXPORT void utf_batchMaxShear(const utf_BatchTensors<T>& tensors, T* out);
template <typename T>
UTF_BATCH_EXPORT void utf_batchSignedMises(const utf_BatchTensors<T>& tensors, T* out);
template <typename T>
UTF_BATCH_EXPORT void utf_batchWorstPrincipal(const utf_BatchTensors<T>& tensors, T* out);
template <typename T>
UTF_BATCH_EXPORT void utf_batchTriaxiality(const utf_BatchTensors<T>& tensors, T* out);
template <typename T>
UTF_BATCH_EXPORT void utf_batchLodeAngle(const utf_BatchTensors<T>& tensors, T* out);

// The invariants, five per tensor: out[5 i ...] = I1, I2, I3, J2, J3 with
//   I1 = S11 + S22 + S33,
//   I2 = S11 S22 + S22 S33 + S33 S11 - S12^2 - S13^2 - S23^2 (the sum of the principal minors),
//   I3 = det S,
//   J2 = ((S11 - S22)^2 + (S22 - S33)^2 + (S33 - S11)^2) / 6 + S12^2 + S13^2 + S23^2,
//   J3 = det s,
// each evaluated by its formula in T as written (J2 from the differences, so it keeps its
// relative accuracy on a nearly hydrostatic tensor; J3 from the deviator formed in T). Defined
// for every tensor; products overflow beyond about the cube root of the largest T.
template <typename T>
UTF_BATCH_EXPORT void utf_batchInvariants(const utf_BatchTensors<T>& tensors, T* out);

#endif
