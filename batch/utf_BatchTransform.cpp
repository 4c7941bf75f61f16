// Tensors and vectors onto new axes and back, in batch: SIMD kernels compiled once per target and
// chosen at run time, and the public functions.
//
// The products are the value types' (utf/impl/utf_RotationArithmetic.h) operation for operation:
// u_r = S c_r, then S'ij = c_i . u_j, each sum in T from the left, with C the table (onto the new
// axes) or its transpose (back), the engineering shears halved on entry and the rotated ones
// doubled; the reduced layouts exactly as their kernels. So each lane gives the value types' bits.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "utf_BatchTransform.cpp"
#include "hwy/foreach_target.h" // IWYU pragma: keep

#include "hwy/highway.h"

#include "utf_BatchBlocks.h"
#include "utf_BatchLoad-inl.h"
#include "utf_BatchStage.h"

#include <cstddef>

HWY_BEFORE_NAMESPACE();
namespace utf_batch {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// A table's nine entries, one vector each, row-major: c[3 r + s] = a_rs.
template <class V>
struct Table {
  V a[9];
};

// The tables of the group of items starting at item i: one table broadcast, or one per lane.
template <class D, class V = hn::Vec<D>>
HWY_INLINE Table<V> loadTables(D d, const hn::TFromD<D>* tables, bool perItem, std::size_t i,
                               std::size_t n) {
  using T = hn::TFromD<D>;
  Table<V> t;
  if (!perItem) {
    for (int k = 0; k < 9; ++k) {
      t.a[k] = hn::Set(d, tables[k]);
    }
    return t;
  }
  if (n == hn::Lanes(d)) {
    // A table is three rows of three, so the group's tables are 3 L rows one after another. Three
    // three-way loads give, for each column c, the entries (a_0c, a_1c, a_2c) of item after item;
    // stored to a buffer and loaded three-way again, each column splits into its three rows.
    const std::size_t lanes = hn::Lanes(d);
    const T* p = tables + i * 9;
    V column[3][3];
    for (int r = 0; r < 3; ++r) {
      hn::LoadInterleaved3(d, p + static_cast<std::size_t>(r) * 3 * lanes, column[0][r],
                           column[1][r], column[2][r]);
    }
    HWY_ALIGN T buffer[3 * hn::MaxLanes(d)];
    for (int c = 0; c < 3; ++c) {
      for (int r = 0; r < 3; ++r) {
        hn::Store(column[c][r], d, buffer + static_cast<std::size_t>(r) * lanes);
      }
      hn::LoadInterleaved3(d, buffer, t.a[c], t.a[3 + c], t.a[6 + c]);
    }
    return t;
  }
  HWY_ALIGN T lanes[9][hn::MaxLanes(d)] = {};
  for (std::size_t j = 0; j < n; ++j) {
    const T* table = tables + (i + j) * 9;
    for (int k = 0; k < 9; ++k) {
      lanes[k][j] = table[k];
    }
  }
  for (int k = 0; k < 9; ++k) {
    t.a[k] = hn::Load(d, lanes[k]);
  }
  return t;
}

// The table the products use: A itself (onto the new axes) or its transpose (back).
template <class V>
HWY_INLINE Table<V> oriented(const Table<V>& a, bool back) {
  if (!back) {
    return a;
  }
  return {{a.a[0], a.a[3], a.a[6], a.a[1], a.a[4], a.a[7], a.a[2], a.a[5], a.a[8]}};
}

// S' = C S C^T of the full layout (s the tensorial components; f the factor of the stored
// shears): u_r = S c_r; S'11 = c_1.u_1, S'22 = c_2.u_2, S'33 = c_3.u_3, S'12 = c_1.u_2,
// S'13 = c_3.u_1, S'23 = c_2.u_3.
template <class V>
HWY_INLINE void rotateFull(const Table<V>& t, V f, V* s) {
  const V* c = t.a;
  const V s11 = s[0], s22 = s[1], s33 = s[2], s12 = s[3], s13 = s[4], s23 = s[5];
  const auto row = [](V a, V b, V cc, V x, V y, V z) {
    return hn::Add(hn::Add(hn::Mul(a, x), hn::Mul(b, y)), hn::Mul(cc, z));
  };
  const V u11 = row(s11, s12, s13, c[0], c[1], c[2]);
  const V u12 = row(s12, s22, s23, c[0], c[1], c[2]);
  const V u13 = row(s13, s23, s33, c[0], c[1], c[2]);
  const V u21 = row(s11, s12, s13, c[3], c[4], c[5]);
  const V u22 = row(s12, s22, s23, c[3], c[4], c[5]);
  const V u23 = row(s13, s23, s33, c[3], c[4], c[5]);
  const V u31 = row(s11, s12, s13, c[6], c[7], c[8]);
  const V u32 = row(s12, s22, s23, c[6], c[7], c[8]);
  const V u33 = row(s13, s23, s33, c[6], c[7], c[8]);
  s[0] = row(c[0], c[1], c[2], u11, u12, u13);
  s[1] = row(c[3], c[4], c[5], u21, u22, u23);
  s[2] = row(c[6], c[7], c[8], u31, u32, u33);
  s[3] = hn::Mul(f, row(c[0], c[1], c[2], u21, u22, u23));
  s[4] = hn::Mul(f, row(c[6], c[7], c[8], u11, u12, u13));
  s[5] = hn::Mul(f, row(c[3], c[4], c[5], u31, u32, u33));
}

// The 3D planar layout: S13 = S23 = 0 read, S'13 and S'23 not formed.
template <class V>
HWY_INLINE void rotatePlanar3d(const Table<V>& t, V f, V* s) {
  const V* c = t.a;
  const V s11 = s[0], s22 = s[1], s33 = s[2], s12 = s[3];
  const auto pair = [](V a, V b, V x, V y) { return hn::Add(hn::Mul(a, x), hn::Mul(b, y)); };
  const auto row = [](V a, V b, V cc, V x, V y, V z) {
    return hn::Add(hn::Add(hn::Mul(a, x), hn::Mul(b, y)), hn::Mul(cc, z));
  };
  const V u11 = pair(s11, s12, c[0], c[1]), u12 = pair(s12, s22, c[0], c[1]);
  const V u13 = hn::Mul(s33, c[2]);
  const V u21 = pair(s11, s12, c[3], c[4]), u22 = pair(s12, s22, c[3], c[4]);
  const V u23 = hn::Mul(s33, c[5]);
  const V u31 = pair(s11, s12, c[6], c[7]), u32 = pair(s12, s22, c[6], c[7]);
  const V u33 = hn::Mul(s33, c[8]);
  s[0] = row(c[0], c[1], c[2], u11, u12, u13);
  s[1] = row(c[3], c[4], c[5], u21, u22, u23);
  s[2] = row(c[6], c[7], c[8], u31, u32, u33);
  s[3] = hn::Mul(f, row(c[0], c[1], c[2], u21, u22, u23));
}

// The in-plane products of (S11, S22, S12) by the 2 x 2 block (c11 c12 / c21 c22) of the oriented
// table: w1 = (S11 c11 + S12 c12, S12 c11 + S22 c12), w2 likewise with c21, c22;
// S'11 = c11 w1[1] + c12 w1[2], S'22 = c21 w2[1] + c22 w2[2], S'12 = f (c11 w2[1] + c12 w2[2]).
template <class V>
HWY_INLINE void rotateInPlane(const Table<V>& t, V f, V& s11, V& s22, V& s12) {
  const V c11 = t.a[0], c12 = t.a[1], c21 = t.a[3], c22 = t.a[4];
  const auto pair = [](V a, V b, V x, V y) { return hn::Add(hn::Mul(a, x), hn::Mul(b, y)); };
  const V w1a = pair(s11, s12, c11, c12), w1b = pair(s12, s22, c11, c12);
  const V w2a = pair(s11, s12, c21, c22), w2b = pair(s12, s22, c21, c22);
  const V n11 = pair(c11, c12, w1a, w1b);
  const V n22 = pair(c21, c22, w2a, w2b);
  const V n12 = hn::Mul(f, pair(c11, c12, w2a, w2b));
  s11 = n11;
  s22 = n22;
  s12 = n12;
}

// The group's components turned; s holds them in the library's order (the reduced layouts' in
// their places, the absent ones untouched).
template <class D, class V = hn::Vec<D>>
HWY_INLINE void rotateGroup(D d, res_DataTypeEnm layout, const Table<V>& c, bool engineering,
                            V* s) {
  using T = hn::TFromD<D>;
  const V f = hn::Set(d, engineering ? T(2) : T(1));
  switch (layout) {
  case res_Tensor3dFull:
    rotateFull(c, f, s);
    return;
  case res_Tensor3dPlanar:
    rotatePlanar3d(c, f, s);
    return;
  case res_Tensor2dPlanar: {
    // S33 through the constant out-of-plane cosine: 1 (S33 1).
    const V one = hn::Set(d, T(1));
    rotateInPlane(c, f, s[0], s[1], s[3]);
    s[2] = hn::Mul(one, hn::Mul(s[2], one));
    return;
  }
  default:
    rotateInPlane(c, f, s[0], s[1], s[3]);
    return;
  }
}

template <typename T>
HWY_INLINE void tensorRange(bool back, res_DataTypeEnm layout, bool matrix,
                            const TensorSource<T>& source, const T* tables, bool perItem,
                            std::size_t begin, std::size_t end, T* out) {
  const hn::ScalableTag<T> d;
  using V = hn::Vec<decltype(d)>;
  const std::size_t values = static_cast<std::size_t>(source.values);
  forEachGroup(
      d, source, begin,
      end, [&](const Group<V>& group, std::size_t i, std::size_t n) __attribute__((always_inline)) {
        const Table<V> c = oriented(loadTables(d, tables, perItem, i, n), back);
        V s[6] = {group.c[0], group.c[1], group.c[2], group.c[3], group.c[4], group.c[5]};
        rotateGroup(d, layout, c, source.engineeringShear, s);
        storeGroup(d, source, matrix, s, out + i * values, n);
      });
}

// x' = C x, x'_r = c_r1 x_1 + c_r2 x_2 + c_r3 x_3 from the left.
template <typename T>
HWY_INLINE void vectorRange(bool back, const T* vectors, const T* tables, bool perItem,
                            std::size_t begin, std::size_t end, T* out) {
  const hn::ScalableTag<T> d;
  using V = hn::Vec<decltype(d)>;
  const std::size_t lanes = hn::Lanes(d);
  for (std::size_t i = begin; i < end; i += lanes) {
    const std::size_t n = end - i < lanes ? end - i : lanes;
    HWY_ALIGN T x[3][hn::MaxLanes(d)] = {};
    for (std::size_t j = 0; j < n; ++j) {
      for (int k = 0; k < 3; ++k) {
        x[k][j] = vectors[(i + j) * 3 + static_cast<std::size_t>(k)];
      }
    }
    const Table<V> c = oriented(loadTables(d, tables, perItem, i, n), back);
    const V x1 = hn::Load(d, x[0]), x2 = hn::Load(d, x[1]), x3 = hn::Load(d, x[2]);
    const V r[3] = {
        hn::Add(hn::Add(hn::Mul(c.a[0], x1), hn::Mul(c.a[1], x2)), hn::Mul(c.a[2], x3)),
        hn::Add(hn::Add(hn::Mul(c.a[3], x1), hn::Mul(c.a[4], x2)), hn::Mul(c.a[5], x3)),
        hn::Add(hn::Add(hn::Mul(c.a[6], x1), hn::Mul(c.a[7], x2)), hn::Mul(c.a[8], x3))};
    storeResults(d, r, 3, out + i * 3, n);
  }
}

void TensorRangeF32(bool back, res_DataTypeEnm layout, bool matrix,
                    const TensorSource<float>& source, const float* tables, bool perItem,
                    std::size_t begin, std::size_t end, float* out) {
  tensorRange(back, layout, matrix, source, tables, perItem, begin, end, out);
}

void TensorRangeF64(bool back, res_DataTypeEnm layout, bool matrix,
                    const TensorSource<double>& source, const double* tables, bool perItem,
                    std::size_t begin, std::size_t end, double* out) {
  tensorRange(back, layout, matrix, source, tables, perItem, begin, end, out);
}

void VectorRangeF32(bool back, const float* vectors, const float* tables, bool perItem,
                    std::size_t begin, std::size_t end, float* out) {
  vectorRange(back, vectors, tables, perItem, begin, end, out);
}

void VectorRangeF64(bool back, const double* vectors, const double* tables, bool perItem,
                    std::size_t begin, std::size_t end, double* out) {
  vectorRange(back, vectors, tables, perItem, begin, end, out);
}

} // namespace HWY_NAMESPACE
} // namespace utf_batch
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include "utf_BatchChecks.h"
#include "utf_BatchTransform.h"

namespace utf_batch {

HWY_EXPORT(TensorRangeF32);
HWY_EXPORT(TensorRangeF64);
HWY_EXPORT(VectorRangeF32);
HWY_EXPORT(VectorRangeF64);

namespace {

void tensorRange(bool back, res_DataTypeEnm layout, bool matrix, const TensorSource<float>& source,
                 const float* tables, bool perItem, std::size_t begin, std::size_t end,
                 float* out) {
  HWY_DYNAMIC_DISPATCH(TensorRangeF32)
  (back, layout, matrix, source, tables, perItem, begin, end, out);
}

void tensorRange(bool back, res_DataTypeEnm layout, bool matrix, const TensorSource<double>& source,
                 const double* tables, bool perItem, std::size_t begin, std::size_t end,
                 double* out) {
  HWY_DYNAMIC_DISPATCH(TensorRangeF64)
  (back, layout, matrix, source, tables, perItem, begin, end, out);
}

void vectorRange(bool back, const float* vectors, const float* tables, bool perItem,
                 std::size_t begin, std::size_t end, float* out) {
  HWY_DYNAMIC_DISPATCH(VectorRangeF32)(back, vectors, tables, perItem, begin, end, out);
}

void vectorRange(bool back, const double* vectors, const double* tables, bool perItem,
                 std::size_t begin, std::size_t end, double* out) {
  HWY_DYNAMIC_DISPATCH(VectorRangeF64)(back, vectors, tables, perItem, begin, end, out);
}

// Whether [a, a + an) and [b, b + bn) share an element.
template <typename T>
bool overlaps(const T* a, std::size_t an, const T* b, std::size_t bn) {
  return an != 0 && bn != 0 && a < b + bn && b < a + an;
}

template <typename T>
void requireTables(const utf_BatchTables<T>& tables, std::size_t count) {
  requireArray(count, tables.data());
  if (tables.isPerItem()) {
    UTF_ASSERT(tables.count() == count, utf_BatchAssertLine::source,
               utf_BatchAssertLine::tableCount);
  }
}

template <typename T>
void transformTensors(bool back, const utf_BatchTensors<T>& tensors,
                      const utf_BatchTables<T>& tables, T* out) {
  const std::size_t count = tensors.count();
  requireArray(count, out);
  requireTables(tables, count);
  const std::size_t values = static_cast<std::size_t>(tensors.values());
  const bool inPlace = out == tensors.data() && tensors.stride() == values;
  const std::size_t span = count == 0 ? 0 : (count - 1) * tensors.stride() + values;
  UTF_ASSERT(inPlace || !overlaps(out, count * values, tensors.data(), span),
             utf_BatchAssertLine::source, utf_BatchAssertLine::outputOverlapsInput);
  const TensorSource<T> source = sourceOf(tensors);
  const bool matrix = tensors.order() == utf_BatchOrder::Matrix;
  forEachBlock(count, [&](std::size_t begin, std::size_t end) {
    tensorRange(back, tensors.layout(), matrix, source, tables.data(), tables.isPerItem(), begin,
                end, out);
  });
}

template <typename T>
void transformVectors(bool back, const T* vectors, std::size_t count,
                      const utf_BatchTables<T>& tables, T* out) {
  requireArray(count, vectors);
  requireArray(count, out);
  requireTables(tables, count);
  UTF_ASSERT(out == vectors || !overlaps(out, 3 * count, vectors, 3 * count),
             utf_BatchAssertLine::source, utf_BatchAssertLine::outputOverlapsInput);
  forEachBlock(count, [&](std::size_t begin, std::size_t end) {
    vectorRange(back, vectors, tables.data(), tables.isPerItem(), begin, end, out);
  });
}

} // namespace

} // namespace utf_batch

template <typename T>
void utf_batchTensorsToNewAxes(const utf_BatchTensors<T>& tensors, const utf_BatchTables<T>& tables,
                               T* out) {
  utf_batch::transformTensors(false, tensors, tables, out);
}

template <typename T>
void utf_batchTensorsToOldAxes(const utf_BatchTensors<T>& tensors, const utf_BatchTables<T>& tables,
                               T* out) {
  utf_batch::transformTensors(true, tensors, tables, out);
}

template <typename T>
void utf_batchVectorsToNewAxes(const T* vectors, std::size_t count,
                               const utf_BatchTables<T>& tables, T* out) {
  utf_batch::transformVectors(false, vectors, count, tables, out);
}

template <typename T>
void utf_batchVectorsToOldAxes(const T* vectors, std::size_t count,
                               const utf_BatchTables<T>& tables, T* out) {
  utf_batch::transformVectors(true, vectors, count, tables, out);
}

template UTF_BATCH_EXPORT void utf_batchTensorsToNewAxes(const utf_BatchTensors<float>&,
                                                         const utf_BatchTables<float>&, float*);
template UTF_BATCH_EXPORT void utf_batchTensorsToOldAxes(const utf_BatchTensors<float>&,
                                                         const utf_BatchTables<float>&, float*);
template UTF_BATCH_EXPORT void utf_batchVectorsToNewAxes(const float*, std::size_t,
                                                         const utf_BatchTables<float>&, float*);
template UTF_BATCH_EXPORT void utf_batchVectorsToOldAxes(const float*, std::size_t,
                                                         const utf_BatchTables<float>&, float*);
template UTF_BATCH_EXPORT void utf_batchTensorsToNewAxes(const utf_BatchTensors<double>&,
                                                         const utf_BatchTables<double>&, double*);
template UTF_BATCH_EXPORT void utf_batchTensorsToOldAxes(const utf_BatchTensors<double>&,
                                                         const utf_BatchTables<double>&, double*);
template UTF_BATCH_EXPORT void utf_batchVectorsToNewAxes(const double*, std::size_t,
                                                         const utf_BatchTables<double>&, double*);
template UTF_BATCH_EXPORT void utf_batchVectorsToOldAxes(const double*, std::size_t,
                                                         const utf_BatchTables<double>&, double*);

#endif // HWY_ONCE
