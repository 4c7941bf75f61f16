// Principal values and directions in batch, and the queries built on them (Tresca, maximum
// shear, worst principal value, Lode angle): SIMD kernels over the engine's solver
// (utf_BatchSolver-inl.h), compiled once per target and chosen at run time, and the public
// functions. The method and its bounds are stated in utf_BatchPrincipal.h.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "utf_BatchPrincipal.cpp"
#include "hwy/foreach_target.h" // IWYU pragma: keep

#include "hwy/highway.h"

#include "utf_BatchBlocks.h"
#include "utf_BatchLoad-inl.h"
#include "utf_BatchSolver-inl.h"
#include "utf_BatchStage.h"

#include <cstddef>
#include <limits>

HWY_BEFORE_NAMESPACE();
namespace utf_batch {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// What a principal kernel writes for each lane, and into how many result arrays.
enum Principal {
  kValues,     // P1, P2, P3
  kInplane,    // the 1-2 block's pair
  kDirections, // P1, P2, P3, the nine entries of the frame's rows, and (x, y, z, w)
  kTresca,     // P1 - P3
  kMaxShear,   // (P1 - P3) / 2
  kWorst,      // P1 or P3, the larger magnitude
  kLode        // pi/6 - phi, NaN where J2 = 0
};

// One group's results, written for the n tensors present.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void principalGroup(D d, Principal what, bool full, const Group<V>& g,
                               const Outputs<hn::TFromD<D>>& out, std::size_t i, std::size_t n) {
  using T = hn::TFromD<D>;
  const Sym<V> s{g.c[0], g.c[1], g.c[2], g.c[3], g.c[4], g.c[5]};
  V scale, unscale;
  powerOfTwoScale(d, largestMagnitude(s), scale, unscale);
  const Sym<V> b = scaledBy(s, scale);
  const auto bad = notFinite(d, b);
  const V nan = hn::Set(d, std::numeric_limits<T>::quiet_NaN());
  const auto finite = [&](V v) { return hn::IfThenElse(bad, nan, v); };
  const auto store = [&](const V* results, int count, T* to) {
    storeResults(d, results, count, to + i * static_cast<std::size_t>(count), n);
  };

  if (what == kInplane) {
    V mu1, mu2, half, h;
    inplanePairOf(d, b, mu1, mu2, half, h);
    const V pair[2] = {finite(hn::Mul(mu1, unscale)), finite(hn::Mul(mu2, unscale))};
    store(pair, 2, out.values);
    return;
  }
  if (what == kLode) {
    // The angle of the full spectrum, whatever the layout (the reduced ones read as 3D tensors).
    const Spectrum<V> spectrum = spectrumOf(d, b);
    const V lode = hn::Sub(hn::Set(d, T(0.52359877559829887)), spectrum.phi);
    const V result = finite(hn::IfThenElse(hn::Eq(spectrum.j2, hn::Zero(d)), nan, lode));
    store(&result, 1, out.values);
    return;
  }

  const V zero = hn::Zero(d);
  V l1 = zero, l2 = zero, l3 = zero;
  Vec3<V> v1{zero, zero, zero}, v2{zero, zero, zero}, v3{zero, zero, zero};
  if (full) {
    valuesOf(d, b, spectrumOf(d, b), l1, l2, l3);
    if (what == kDirections) {
      fullFrame(d, b, l1, l2, l3, v1, v2, v3);
    }
  } else {
    reducedFrame(d, b, l1, l2, l3, v1, v2, v3);
  }
  V result;
  switch (what) {
  case kValues:
  case kDirections: {
    const V values[3] = {finite(hn::Mul(l1, unscale)), finite(hn::Mul(l2, unscale)),
                         finite(hn::Mul(l3, unscale))};
    store(values, 3, out.values);
    if (what == kValues) {
      return;
    }
    const V rows[9] = {finite(v1.x), finite(v1.y), finite(v1.z), finite(v2.x), finite(v2.y),
                       finite(v2.z), finite(v3.x), finite(v3.y), finite(v3.z)};
    store(rows, 9, out.directions);
    if (out.quaternions != nullptr) {
      V q[4];
      quaternionOf(d, v1, v2, v3, q[0], q[1], q[2], q[3]);
      for (V& value : q) {
        value = finite(value);
      }
      store(q, 4, out.quaternions);
    }
    return;
  }
  case kTresca:
    result = hn::Mul(hn::Sub(l1, l3), unscale);
    break;
  case kMaxShear:
    result = hn::Mul(hn::Mul(hn::Sub(l1, l3), hn::Set(d, T(0.5))), unscale);
    break;
  case kWorst:
    result = hn::Mul(hn::IfThenElse(hn::Ge(hn::Abs(l1), hn::Abs(l3)), l1, l3), unscale);
    break;
  case kInplane:
  case kLode:
    return;
  }
  result = finite(result);
  store(&result, 1, out.values);
}

template <typename T>
HWY_INLINE void principalRange(int what, res_DataTypeEnm layout, const TensorSource<T>& source,
                               std::size_t begin, std::size_t end, const Outputs<T>& out) {
  const hn::ScalableTag<T> d;
  using V = hn::Vec<decltype(d)>;
  const bool full = layout == res_Tensor3dFull;
  forEachGroup(
      d, source, begin,
      end, [&](const Group<V>& group, std::size_t i, std::size_t n) __attribute__((always_inline)) {
        principalGroup(d, static_cast<Principal>(what), full, group, out, i, n);
      });
}

void PrincipalRangeF32(int what, res_DataTypeEnm layout, const TensorSource<float>& source,
                       std::size_t begin, std::size_t end, const Outputs<float>& out) {
  principalRange(what, layout, source, begin, end, out);
}

void PrincipalRangeF64(int what, res_DataTypeEnm layout, const TensorSource<double>& source,
                       std::size_t begin, std::size_t end, const Outputs<double>& out) {
  principalRange(what, layout, source, begin, end, out);
}

} // namespace HWY_NAMESPACE
} // namespace utf_batch
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include "utf_BatchChecks.h"
#include "utf_BatchPrincipal.h"
#include "utf_BatchQueries.h"

namespace utf_batch {

HWY_EXPORT(PrincipalRangeF32);
HWY_EXPORT(PrincipalRangeF64);

namespace {

// The kernels' numbers (Principal, per target).
enum What { kValues = 0, kInplane, kDirections, kTresca, kMaxShear, kWorst, kLode };

void principalRange(int what, res_DataTypeEnm layout, const TensorSource<float>& source,
                    std::size_t begin, std::size_t end, const Outputs<float>& out) {
  HWY_DYNAMIC_DISPATCH(PrincipalRangeF32)(what, layout, source, begin, end, out);
}

void principalRange(int what, res_DataTypeEnm layout, const TensorSource<double>& source,
                    std::size_t begin, std::size_t end, const Outputs<double>& out) {
  HWY_DYNAMIC_DISPATCH(PrincipalRangeF64)(what, layout, source, begin, end, out);
}

// Runs kernel `what` over every tensor into `out`.
template <typename T>
void runPrincipal(const utf_BatchTensors<T>& tensors, int what, const Outputs<T>& out) {
  const TensorSource<T> source = sourceOf(tensors);
  forEachBlock(tensors.count(), [&](std::size_t begin, std::size_t end) {
    principalRange(what, tensors.layout(), source, begin, end, out);
  });
}

template <typename T>
void runValues(const utf_BatchTensors<T>& tensors, int what, T* values) {
  requireArray(tensors.count(), values);
  runPrincipal(tensors, what, Outputs<T>{values, nullptr, nullptr});
}

} // namespace

} // namespace utf_batch

template <typename T>
void utf_batchPrincipalValues(const utf_BatchTensors<T>& tensors, T* values) {
  utf_batch::runValues(tensors, utf_batch::kValues, values);
}

template <typename T>
void utf_batchInplanePrincipalValues(const utf_BatchTensors<T>& tensors, T* values) {
  utf_batch::runValues(tensors, utf_batch::kInplane, values);
}

template <typename T>
void utf_batchPrincipalDirections(const utf_BatchTensors<T>& tensors, T* values, T* directions,
                                  T* quaternions) {
  utf_batch::requireArray(tensors.count(), values);
  utf_batch::requireArray(tensors.count(), directions);
  utf_batch::runPrincipal(tensors, utf_batch::kDirections,
                          utf_batch::Outputs<T>{values, directions, quaternions});
}

template <typename T>
void utf_batchTresca(const utf_BatchTensors<T>& tensors, T* out) {
  utf_batch::runValues(tensors, utf_batch::kTresca, out);
}

template <typename T>
void utf_batchMaxShear(const utf_BatchTensors<T>& tensors, T* out) {
  utf_batch::runValues(tensors, utf_batch::kMaxShear, out);
}

template <typename T>
void utf_batchWorstPrincipal(const utf_BatchTensors<T>& tensors, T* out) {
  utf_batch::runValues(tensors, utf_batch::kWorst, out);
}

template <typename T>
void utf_batchLodeAngle(const utf_BatchTensors<T>& tensors, T* out) {
  utf_batch::runValues(tensors, utf_batch::kLode, out);
}

template UTF_BATCH_EXPORT void utf_batchPrincipalValues(const utf_BatchTensors<float>&, float*);
template UTF_BATCH_EXPORT void utf_batchInplanePrincipalValues(const utf_BatchTensors<float>&,
                                                               float*);
template UTF_BATCH_EXPORT void utf_batchPrincipalDirections(const utf_BatchTensors<float>&, float*,
                                                            float*, float*);
template UTF_BATCH_EXPORT void utf_batchTresca(const utf_BatchTensors<float>&, float*);
template UTF_BATCH_EXPORT void utf_batchMaxShear(const utf_BatchTensors<float>&, float*);
template UTF_BATCH_EXPORT void utf_batchWorstPrincipal(const utf_BatchTensors<float>&, float*);
template UTF_BATCH_EXPORT void utf_batchLodeAngle(const utf_BatchTensors<float>&, float*);
template UTF_BATCH_EXPORT void utf_batchPrincipalValues(const utf_BatchTensors<double>&, double*);
template UTF_BATCH_EXPORT void utf_batchInplanePrincipalValues(const utf_BatchTensors<double>&,
                                                               double*);
template UTF_BATCH_EXPORT void utf_batchPrincipalDirections(const utf_BatchTensors<double>&,
                                                            double*, double*, double*);
template UTF_BATCH_EXPORT void utf_batchTresca(const utf_BatchTensors<double>&, double*);
template UTF_BATCH_EXPORT void utf_batchMaxShear(const utf_BatchTensors<double>&, double*);
template UTF_BATCH_EXPORT void utf_batchWorstPrincipal(const utf_BatchTensors<double>&, double*);
template UTF_BATCH_EXPORT void utf_batchLodeAngle(const utf_BatchTensors<double>&, double*);

#endif // HWY_ONCE
