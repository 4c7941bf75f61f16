#ifndef UTF_BATCH_H
#define UTF_BATCH_H

// The batch engine, utf::batch: every tensor question over N tensors at once, over arrays the
// caller holds. Link utf::batch (it links utf::utf). The headers:
//
//   utf_BatchTensors.h    the view of N tensors (layout, component order, stride, shear), tables
//   utf_BatchQueries.h    Mises, pressure, Tresca, third invariant, and the derived equivalents
//   utf_BatchPrincipal.h  principal values and directions, with their published accuracy
//   utf_BatchTransform.h  tensors and vectors onto new axes and back
//   utf_BatchFrames.h     direction-cosine tables in batch: rotations, cylindrical, spherical
//   utf_BatchThreads.h    the thread count, and the SIMD target in use
//
// What every function of the engine shares:
//
// 1. Arrays. Inputs are read through a view (utf_BatchTensors) or a pointer and a count; results
//    go to arrays the caller provides, sized as each function states (one value, 2, 3, 5, 9 or
//    4 per tensor, one after another). Nothing is allocated per tensor; a call allocates at most
//    the threads' bookkeeping. An output array must not overlap its inputs unless the function
//    says that it may.
// 2. Conventions are the library's (utf_Conventions.h): tensorial components S11, S22, S33, S12,
//    S13, S23 once read; engineering shears halved on reading (value times 0.5) and doubled
//    again where tensors are written; direction-cosine tables row-major with the new axes as
//    rows; quaternions (x, y, z, w), vector part first.
// 3. The same bits as the value types wherever their formula is plain arithmetic: Mises,
//    pressure and the third invariant (utf_Tensor<T>), the five component kernels
//    (utf_Tens3dFullBase and its siblings), utf_Tensor<T>::transform, utf_Vector<T>::transform
//    and the kernels' direction cosines, in float and double, the float rules' double steps
//    included (no fused multiply-add, the same order of evaluation). Where the value types'
//    formula is inaccurate (the trigonometric closed form of the principal values near a repeated
//    value), the engine uses a robust direct method and publishes its error bound
//    (utf_BatchPrincipal.h).
// 4. Determinism. A tensor's results are the same bits whatever the thread count, whatever the
//    tensor's place in the array and whatever the array's length. They may differ in the last
//    bits between SIMD targets (SSE4, AVX2, AVX-512) where the engine's own algorithms use the
//    target's fused multiply-add (principal values and directions, the Lode angle); the results
//    that match the value types match them on every target.
// 5. Non-finite input. A tensor with a NaN or infinite component gives NaN (or the IEEE result
//    each function states) for that tensor only; its neighbours are unaffected. Finite
//    components may still overflow where a function says so.
// 6. Failures. A precondition that the caller breaks (a layout that is no tensor layout, a null
//    array, a stride shorter than a tensor, ...) raises the library's assertion exception,
//    nex_AssertException, with the identity listed in utf_BatchAssertLine
//    (utf_BatchTensors.h), before anything is written.

#include "utf_BatchFrames.h"
#include "utf_BatchPrincipal.h"
#include "utf_BatchQueries.h"
#include "utf_BatchTensors.h"
#include "utf_BatchThreads.h"
#include "utf_BatchTransform.h"

#endif
