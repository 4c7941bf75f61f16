// Reading tensors into vectors and writing results back, per SIMD target (private to the engine;
// included by each kernel family once per target, hence the toggled guard).
//
// A group is as many tensors as a vector has lanes, one tensor per lane, components in the
// library's order (S11, S22, S33, S12, S13, S23), shears tensorial. Tensors that lie one after
// another are deinterleaved by vector loads: the full layout (6 values) by two three-way loads and
// the even and odd lanes of their results, the planar (4) and surface (3) layouts by one load.
// Any other storage (a stride with padding, matrices) is read lane by lane. The last, short group
// of a range is first copied to a zero-filled buffer and read the same way, so that a tensor's
// arithmetic never depends on where it stands.

#if defined(UTF_BATCH_LOAD_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef UTF_BATCH_LOAD_INL_H_
#undef UTF_BATCH_LOAD_INL_H_
#else
#define UTF_BATCH_LOAD_INL_H_
#endif

#include "hwy/cache_control.h"
#include "hwy/highway.h"

#include "utf_BatchStage.h"

#include <cstddef>

HWY_BEFORE_NAMESPACE();
namespace utf_batch {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// How far ahead of the group being computed its successors are prefetched.
constexpr std::size_t kPrefetchBytes = 2048;

// The six components of a group, one vector each.
template <class V>
struct Group {
  V c[6];
};

// The six stored values of a dense full-layout group, in their stored order.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void loadSix(D d, const hn::TFromD<D>* p, V& v0, V& v1, V& v2, V& v3, V& v4, V& v5) {
#if HWY_TARGET == HWY_SCALAR
  v0 = hn::Set(d, p[0]);
  v1 = hn::Set(d, p[1]);
  v2 = hn::Set(d, p[2]);
  v3 = hn::Set(d, p[3]);
  v4 = hn::Set(d, p[4]);
  v5 = hn::Set(d, p[5]);
#else
  // Two three-way loads hold the values (0, 3), (1, 4), (2, 5) of half the tensors each,
  // alternating lane by lane; the even and odd lanes of each pair are the two values.
  const std::size_t lanes = hn::Lanes(d);
  V a0, b0, c0, a1, b1, c1;
  hn::LoadInterleaved3(d, p, a0, b0, c0);
  hn::LoadInterleaved3(d, p + 3 * lanes, a1, b1, c1);
  v0 = hn::ConcatEven(d, a1, a0);
  v3 = hn::ConcatOdd(d, a1, a0);
  v1 = hn::ConcatEven(d, b1, b0);
  v4 = hn::ConcatOdd(d, b1, b0);
  v2 = hn::ConcatEven(d, c1, c0);
  v5 = hn::ConcatOdd(d, c1, c0);
#endif
}

// The group of tensors starting at p (all of them present), in the library's order. The dense
// kinds assign their components directly, so that the group stays in registers.
template <class D, class V = hn::Vec<D>>
HWY_INLINE Group<V> loadGroup(D d, const TensorSource<hn::TFromD<D>>& source,
                              const hn::TFromD<D>* p, DenseKind dense) {
  using T = hn::TFromD<D>;
  const V zero = hn::Zero(d);
  Group<V> g;
  V v0, v1, v2, v3, v4, v5;
  switch (dense) {
  case DenseKind::FullLibrary:
    loadSix(d, p, v0, v1, v2, v3, v4, v5);
    g = {{v0, v1, v2, v3, v4, v5}};
    break;
  case DenseKind::FullVtk:
    loadSix(d, p, v0, v1, v2, v3, v4, v5);
    g = {{v0, v1, v2, v3, v5, v4}};
    break;
  case DenseKind::FullVoigt:
    loadSix(d, p, v0, v1, v2, v3, v4, v5);
    g = {{v0, v1, v2, v5, v4, v3}};
    break;
  case DenseKind::Planar:
    hn::LoadInterleaved4(d, p, v0, v1, v2, v3);
    g = {{v0, v1, v2, v3, zero, zero}};
    break;
  case DenseKind::Surface:
    hn::LoadInterleaved3(d, p, v0, v1, v3);
    g = {{v0, v1, zero, v3, zero, zero}};
    break;
  case DenseKind::None: {
    // Lane by lane.
    HWY_ALIGN T lanes[6][hn::MaxLanes(d)];
    for (std::size_t j = 0; j < hn::Lanes(d); ++j) {
      const T* tensor = p + j * source.stride;
      for (int k = 0; k < 6; ++k) {
        const int at = source.places.at[k];
        lanes[k][j] = at < 0 ? T(0) : tensor[at];
      }
    }
    for (int k = 0; k < 6; ++k) {
      g.c[k] = hn::Load(d, lanes[k]);
    }
    break;
  }
  }
  if (source.engineeringShear) {
    // value times 0.5: exact, the same bits as the value types' halving in double.
    const V half = hn::Set(d, T(0.5));
    g.c[3] = hn::Mul(g.c[3], half);
    g.c[4] = hn::Mul(g.c[4], half);
    g.c[5] = hn::Mul(g.c[5], half);
  }
  return g;
}

#if HWY_TARGET != HWY_SCALAR
// The lanes (x0, y0, x1, y1, ...) of the lower halves of x and y (with `upper`, of their upper
// halves): the two halves side by side, then one permutation of the lanes.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V zipHalves(D d, V x, V y, bool upper) {
  using TI = hwy::MakeSigned<hn::TFromD<D>>;
  const std::size_t lanes = hn::Lanes(d);
  const V sideBySide = upper ? hn::ConcatUpperUpper(d, y, x) : hn::ConcatLowerLower(d, y, x);
  HWY_ALIGN TI zipped[hn::MaxLanes(d)];
  for (std::size_t k = 0; k < lanes / 2; ++k) {
    zipped[2 * k] = static_cast<TI>(k);
    zipped[2 * k + 1] = static_cast<TI>(lanes / 2 + k);
  }
  return hn::TableLookupLanes(sideBySide, hn::SetTableIndices(d, zipped));
}
#endif

// The six stored values of a dense full-layout group written back (the inverse of loadSix).
template <class D, class V = hn::Vec<D>>
HWY_INLINE void storeSix(D d, V v0, V v1, V v2, V v3, V v4, V v5, hn::TFromD<D>* p) {
#if HWY_TARGET == HWY_SCALAR
  (void)d;
  p[0] = hn::GetLane(v0);
  p[1] = hn::GetLane(v1);
  p[2] = hn::GetLane(v2);
  p[3] = hn::GetLane(v3);
  p[4] = hn::GetLane(v4);
  p[5] = hn::GetLane(v5);
#else
  const std::size_t lanes = hn::Lanes(d);
  hn::StoreInterleaved3(zipHalves(d, v0, v3, false), zipHalves(d, v1, v4, false),
                        zipHalves(d, v2, v5, false), d, p);
  hn::StoreInterleaved3(zipHalves(d, v0, v3, true), zipHalves(d, v1, v4, true),
                        zipHalves(d, v2, v5, true), d, p + 3 * lanes);
#endif
}

// Writes a group's n tensors (components s in the library's order) to out, values() numbers
// each, one after another, in the source's layout and order: a full group of a dense kind by
// vector stores that interleave, anything else value by value (a matrix in full).
template <class D, class V = hn::Vec<D>>
HWY_INLINE void storeGroup(D d, const TensorSource<hn::TFromD<D>>& source, bool matrix, const V* s,
                           hn::TFromD<D>* out, std::size_t n) {
  using T = hn::TFromD<D>;
  if (n == hn::Lanes(d)) {
    switch (source.dense) {
    case DenseKind::FullLibrary:
      storeSix(d, s[0], s[1], s[2], s[3], s[4], s[5], out);
      return;
    case DenseKind::FullVtk:
      storeSix(d, s[0], s[1], s[2], s[3], s[5], s[4], out);
      return;
    case DenseKind::FullVoigt:
      storeSix(d, s[0], s[1], s[2], s[5], s[4], s[3], out);
      return;
#if HWY_TARGET != HWY_SCALAR
    case DenseKind::Planar:
      hn::StoreInterleaved4(s[0], s[1], s[2], s[3], d, out);
      return;
    case DenseKind::Surface:
      hn::StoreInterleaved3(s[0], s[1], s[3], d, out);
      return;
#endif
    default:
      break;
    }
  }
  HWY_ALIGN T lanes[6][hn::MaxLanes(d)];
  for (int k = 0; k < 6; ++k) {
    hn::Store(s[k], d, lanes[k]);
  }
  const std::size_t values = static_cast<std::size_t>(source.values);
  for (std::size_t j = 0; j < n; ++j) {
    T* tensor = out + j * values;
    for (int k = 0; k < 6; ++k) {
      const int at = source.places.at[k];
      if (at >= 0) {
        tensor[at] = lanes[k][j];
      }
    }
    if (matrix) {
      tensor[3] = tensor[1];
      tensor[6] = tensor[2];
      tensor[7] = tensor[5];
    }
  }
}

// Calls work(group, i, n) for the groups of tensors [begin, end): i the first tensor, n the
// tensors present (all lanes but in the last group, whose missing lanes hold zeros). A kernel
// marks its work always_inline, so that the group stays in registers.
template <class D, class Work>
HWY_INLINE void forEachGroup(D d, const TensorSource<hn::TFromD<D>>& source, std::size_t begin,
                             std::size_t end, Work&& work) {
  using T = hn::TFromD<D>;
  const std::size_t lanes = hn::Lanes(d);
  std::size_t i = begin;
  // Every cache line of a later group is asked for ahead of its use (kPrefetchBytes ahead), so
  // that reading from memory overlaps the arithmetic of the groups before it.
  const std::size_t groupValues = lanes * source.stride;
  const std::size_t lineValues = 64 / sizeof(T);
  const std::size_t ahead = kPrefetchBytes / sizeof(T);
  for (; i + lanes <= end; i += lanes) {
    const T* p = source.data + i * source.stride;
    for (std::size_t line = 0; line < groupValues; line += lineValues) {
      hwy::Prefetch(p + ahead + line);
    }
    work(loadGroup(d, source, p, source.dense), i, lanes);
  }
  if (i == end) {
    return;
  }
  // The short last group: copied one tensor after another into a zero-filled buffer.
  const std::size_t n = end - i;
  const std::size_t values = static_cast<std::size_t>(source.values);
  HWY_ALIGN T buffer[9 * hn::MaxLanes(d)] = {};
  for (std::size_t j = 0; j < n; ++j) {
    const T* tensor = source.data + (i + j) * source.stride;
    for (std::size_t k = 0; k < values; ++k) {
      buffer[j * values + k] = tensor[k];
    }
  }
  TensorSource<T> copy = source;
  copy.stride = values;
  work(loadGroup(d, copy, buffer, source.dense), i, n);
}

#if HWY_TARGET != HWY_SCALAR
// Writes nine result vectors (a 3 x 3 table per lane, entry k in results[k]) to out, nine numbers
// per lane, row-major: the inverse of the tables' two three-way loads (utf_BatchTransform.cpp).
// Each column (entries c, 3 + c, 6 + c) interleaved into a buffer holds, read back as three
// vectors, that column's entries lane after lane; interleaving the three columns of each third of
// the lanes gives the rows in place.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void storeNine(D d, const V* results, hn::TFromD<D>* out) {
  using T = hn::TFromD<D>;
  const std::size_t lanes = hn::Lanes(d);
  HWY_ALIGN T buffer[3 * hn::MaxLanes(d)];
  V column[3][3];
  for (int c = 0; c < 3; ++c) {
    hn::StoreInterleaved3(results[c], results[3 + c], results[6 + c], d, buffer);
    for (int r = 0; r < 3; ++r) {
      column[c][r] = hn::Load(d, buffer + static_cast<std::size_t>(r) * lanes);
    }
  }
  for (int r = 0; r < 3; ++r) {
    hn::StoreInterleaved3(column[0][r], column[1][r], column[2][r], d,
                          out + static_cast<std::size_t>(r) * 3 * lanes);
  }
}
#endif

// Writes `count` result vectors of a group to out (count numbers per tensor, one tensor after
// another), for the n tensors present: three, four and nine by vector stores that interleave,
// the others, and a short group, through a buffer.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void storeResults(D d, const V* results, int count, hn::TFromD<D>* out, std::size_t n) {
  using T = hn::TFromD<D>;
  const std::size_t lanes = hn::Lanes(d);
  if (n == lanes) {
    switch (count) {
    case 1:
      hn::StoreU(results[0], d, out);
      return;
#if HWY_TARGET != HWY_SCALAR
    case 3:
      hn::StoreInterleaved3(results[0], results[1], results[2], d, out);
      return;
    case 4:
      hn::StoreInterleaved4(results[0], results[1], results[2], results[3], d, out);
      return;
    case 9:
      storeNine(d, results, out);
      return;
#endif
    default:
      break;
    }
  }
  HWY_ALIGN T buffer[16][hn::MaxLanes(d)];
  for (int k = 0; k < count; ++k) {
    hn::Store(results[k], d, buffer[k]);
  }
  for (std::size_t j = 0; j < n; ++j) {
    for (int k = 0; k < count; ++k) {
      out[j * static_cast<std::size_t>(count) + static_cast<std::size_t>(k)] = buffer[k][j];
    }
  }
}

} // namespace HWY_NAMESPACE
} // namespace utf_batch
HWY_AFTER_NAMESPACE();

#endif // UTF_BATCH_LOAD_INL_H_
