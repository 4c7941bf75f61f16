#ifndef UTF_BATCH_TRANSFORM_H
#define UTF_BATCH_TRANSFORM_H

// N tensors and N vectors expressed on other axes (utf_Conventions.h, 6): with A a direction-
// cosine table (its rows the new axes),
//   onto the new axes:   S' = A S A^T,  x' = A x   (the component kernels' sense);
//   back to the old:     S' = A^T S A,  x' = A^T x (utf_Tensor<T>::transform's sense).
// One table for every item or one per item (utf_BatchTables).
//
// The products are the value types' own, term for term and in the same order, so the results
// are the same bits as utf_Tens3dFullBase (and its siblings) and utf_Tensor<T>::transform given
// the same table, and as utf_Vector<T>::transform: for each layout,
//   full (9):       the whole table;
//   planar 3D (10): the whole table, the S'13 and S'23 that a tilt creates being dropped;
//   surface 3D (11): the in-plane block (a11 a12 / a21 a22) only;
//   planar 2D (12), surface 2D (13): the in-plane block, S33 passed through as 1 (S33 1).
// Engineering shears are halved on entry and the rotated shears stored doubled, so the output
// keeps the input's convention. Nothing checks that a table keeps the plane of a planar or
// surface layout: a caller that needs it checks the table (its row 3 along +-e3).
//
// The output holds the tensors in the input's order and layout, values() numbers each, one after
// another (Matrix: the full symmetric matrix). It may be the input array itself when the input
// is stored one tensor after another (stride values()); otherwise it must not overlap it.

#include "utf_BatchExport.h"
#include "utf_BatchTensors.h"

#include <cstddef>

template <typename T>
UTF_BATCH_EXPORT void utf_batchTensorsToNewAxes(const utf_BatchTensors<T>& tensors,
                                                const utf_BatchTables<T>& tables, T* out);
template <typename T>
UTF_BATCH_EXPORT void utf_batchTensorsToOldAxes(const utf_BatchTensors<T>& tensors,
                                                const utf_BatchTables<T>& tables, T* out);

// `count` vectors of three components, one after another; out (3 per vector) may be `vectors`
// itself. x'_i = a_i1 x_1 + a_i2 x_2 + a_i3 x_3 from the left (onto the new axes), or
// x'_i = a_1i x_1 + a_2i x_2 + a_3i x_3 (back), in T.
template <typename T>
UTF_BATCH_EXPORT void utf_batchVectorsToNewAxes(const T* vectors, std::size_t count,
                                                const utf_BatchTables<T>& tables, T* out);
template <typename T>
UTF_BATCH_EXPORT void utf_batchVectorsToOldAxes(const T* vectors, std::size_t count,
                                                const utf_BatchTables<T>& tables, T* out);

#endif
