// The batch queries whose formulas are the value types' (Mises, pressure, the third invariant)
// and those built on them (signed Mises, triaxiality), and the invariants: SIMD kernels compiled
// once per target (Highway's foreach_target), chosen at run time, and the public functions.
//
// Mises, pressure and the third invariant repeat utf_Tensor<T>'s arithmetic operation for
// operation: the same order, products and sums in T, the double steps of the float rules in
// double (each float lane promoted, the double result narrowed once), and no fused multiply-add
// (the project's -ffp-contract=off reaches these kernels too). Every lane is computed alone, so a
// tensor's bits do not depend on its neighbours or its place.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "utf_BatchQueries.cpp"
#include "hwy/foreach_target.h" // IWYU pragma: keep

#include "hwy/highway.h"

#include "utf_BatchBlocks.h"
#include "utf_BatchLoad-inl.h"
#include "utf_BatchStage.h"

#include <cstddef>
#include <type_traits>

HWY_BEFORE_NAMESPACE();
namespace utf_batch {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// What a query kernel computes for a chunk.
enum Query { kMises, kPressure, kInv3Trace, kSignedMises, kTriaxiality, kInvariants };

// The double descriptor, and T's with as many lanes: a float lane is promoted to a double lane
// for the float rules' double steps, with no lane crossing.
using DW = hn::ScalableTag<double>;
template <typename T>
using DT = hn::Rebind<T, DW>;

template <typename T>
HWY_INLINE hn::Vec<DW> wide(hn::Vec<DT<T>> v) {
  if constexpr (std::is_same<T, double>::value) {
    return v;
  } else {
    return hn::PromoteTo(DW(), v);
  }
}

template <typename T>
HWY_INLINE hn::Vec<DT<T>> narrow(hn::Vec<DW> v) {
  if constexpr (std::is_same<T, double>::value) {
    return v;
  } else {
#if HWY_TARGET == HWY_EMU128 || HWY_TARGET == HWY_SCALAR
    // The emulated targets' DemoteTo stops at the largest float (an infinity included), where
    // the value types' conversion, and every other target's, rounds to infinity: lane by lane
    // by that conversion here.
    const DW dw;
    const DT<T> dt;
    HWY_ALIGN double wideLanes[hn::MaxLanes(dw)];
    HWY_ALIGN T lanes[hn::MaxLanes(dt)];
    hn::Store(v, dw, wideLanes);
    for (std::size_t i = 0; i < hn::Lanes(dw); ++i) {
      lanes[i] = static_cast<T>(wideLanes[i]);
    }
    return hn::Load(dt, lanes);
#else
    return hn::DemoteTo(DT<T>(), v);
#endif
  }
}

// The layout families of the value type's formulas.
enum Family { kFull, kPlanar, kSurface };

inline Family familyOf(res_DataTypeEnm layout) {
  if (utf_isSurfaceTensorType(layout)) {
    return kSurface;
  }
  return layout == res_Tensor3dFull ? kFull : kPlanar;
}

// The components of a group in T's vectors of as many lanes as a double vector.
template <typename T>
struct Lanes6 {
  hn::Vec<DT<T>> c0, c1, c2, c3, c4, c5;
};

// The deviator of Mises and the third invariant (utf_Tensor<T>'s deviatorOf): the mean as the
// T sum of the direct components divided by 3 in double and narrowed; the deviators in T. The
// shears arrive tensorial from the staging. A surface layout's mean has no S33 and its third
// deviator is -p.
template <typename T>
struct Deviator {
  hn::Vec<DT<T>> d1, d2, d3;
};

template <typename T>
HWY_INLINE Deviator<T> deviatorOf(Family family, const Lanes6<T>& s) {
  const DW dw;
  const auto three = hn::Set(dw, 3.0);
  if (family == kSurface) {
    const auto p = narrow<T>(hn::Div(wide<T>(hn::Add(s.c0, s.c1)), three));
    return {hn::Sub(s.c0, p), hn::Sub(s.c1, p), hn::Neg(p)};
  }
  const auto p = narrow<T>(hn::Div(wide<T>(hn::Add(hn::Add(s.c0, s.c1), s.c2)), three));
  return {hn::Sub(s.c0, p), hn::Sub(s.c1, p), hn::Sub(s.c2, p)};
}

// sqrt(1.5 Q), Q = (d1^2 + d2^2 + d3^2) + 2 (s12^2 + s13^2 + s23^2): the T sums joined in double
// and narrowed, the root in double (the one shear of the reduced layouts squared in double).
template <typename T>
HWY_INLINE hn::Vec<DT<T>> mises(Family family, const Lanes6<T>& s) {
  const DW dw;
  const Deviator<T> d = deviatorOf(family, s);
  const auto direct =
      hn::Add(hn::Add(hn::Mul(d.d1, d.d1), hn::Mul(d.d2, d.d2)), hn::Mul(d.d3, d.d3));
  const auto two = hn::Set(dw, 2.0);
  hn::Vec<DW> q;
  if (family == kFull) {
    const auto shear =
        hn::Add(hn::Add(hn::Mul(s.c3, s.c3), hn::Mul(s.c4, s.c4)), hn::Mul(s.c5, s.c5));
    q = hn::Add(wide<T>(direct), hn::Mul(two, wide<T>(shear)));
  } else {
    const auto s12 = wide<T>(s.c3);
    q = hn::Add(wide<T>(direct), hn::Mul(hn::Mul(two, s12), s12));
  }
  const auto narrowed = narrow<T>(q);
  return narrow<T>(hn::Sqrt(hn::Mul(hn::Set(dw, 1.5), wide<T>(narrowed))));
}

// -(S11 + S22 + S33) / 3 in double (a surface layout: -(S11 + S22) / 3), narrowed.
template <typename T>
HWY_INLINE hn::Vec<DT<T>> pressure(Family family, const Lanes6<T>& s) {
  const DW dw;
  auto sum = hn::Add(wide<T>(s.c0), wide<T>(s.c1));
  if (family != kSurface) {
    sum = hn::Add(sum, wide<T>(s.c2));
  }
  return narrow<T>(hn::Div(hn::Neg(sum), hn::Set(dw, 3.0)));
}

// tr(s s s) as the value type forms it before the cube root: products and brackets in T, the two
// sums joined in double and narrowed.
template <typename T>
HWY_INLINE hn::Vec<DT<T>> inv3Trace(Family family, const Lanes6<T>& s) {
  const DW dw;
  const Deviator<T> d = deviatorOf(family, s);
  const auto two = hn::Set(dw, 2.0);
  if (family == kFull) {
    const auto s12 = s.c3, s13 = s.c4, s23 = s.c5;
    const auto a = hn::Mul(s12, s12), b = hn::Mul(s13, s13), c = hn::Mul(s23, s23);
    const auto m11 = hn::Add(hn::Add(hn::Mul(d.d1, d.d1), a), b);
    const auto m22 = hn::Add(hn::Add(hn::Mul(d.d2, d.d2), a), c);
    const auto m33 = hn::Add(hn::Add(hn::Mul(d.d3, d.d3), b), c);
    const auto m12 = hn::Add(hn::Mul(hn::Add(d.d1, d.d2), s12), hn::Mul(s13, s23));
    const auto m13 = hn::Add(hn::Mul(hn::Add(d.d1, d.d3), s13), hn::Mul(s12, s23));
    const auto m23 = hn::Add(hn::Mul(hn::Add(d.d2, d.d3), s23), hn::Mul(s12, s13));
    const auto direct =
        hn::Add(hn::Add(hn::Mul(m11, d.d1), hn::Mul(m22, d.d2)), hn::Mul(m33, d.d3));
    const auto shear = hn::Add(hn::Add(hn::Mul(m12, s12), hn::Mul(m13, s13)), hn::Mul(m23, s23));
    return narrow<T>(hn::Add(wide<T>(direct), hn::Mul(two, wide<T>(shear))));
  }
  const auto s12 = s.c3;
  const auto m11 = hn::Add(hn::Mul(d.d1, d.d1), hn::Mul(s12, s12));
  const auto m22 = hn::Add(hn::Mul(d.d2, d.d2), hn::Mul(s12, s12));
  const auto m12 = hn::Mul(hn::Add(d.d1, d.d2), s12);
  const auto direct =
      hn::Add(hn::Add(hn::Mul(m11, d.d1), hn::Mul(m22, d.d2)), hn::Mul(hn::Mul(d.d3, d.d3), d.d3));
  return narrow<T>(hn::Add(wide<T>(direct), hn::Mul(two, wide<T>(hn::Mul(m12, s12)))));
}

// det of the symmetric matrix (a11 a12 a13 / . a22 a23 / . . a33), expanded along the first row.
template <class V>
HWY_INLINE V determinant(V a11, V a22, V a33, V a12, V a13, V a23) {
  const V minor1 = hn::Sub(hn::Mul(a22, a33), hn::Mul(a23, a23));
  const V minor2 = hn::Sub(hn::Mul(a12, a33), hn::Mul(a23, a13));
  const V minor3 = hn::Sub(hn::Mul(a12, a23), hn::Mul(a22, a13));
  return hn::Add(hn::Sub(hn::Mul(a11, minor1), hn::Mul(a12, minor2)), hn::Mul(a13, minor3));
}

// I1, I2, I3, J2, J3 in T by their formulas (utf_BatchQueries.h).
template <typename T>
HWY_INLINE void invariants(const Lanes6<T>& s, hn::Vec<DT<T>>* out) {
  const DT<T> d;
  const auto s11 = s.c0, s22 = s.c1, s33 = s.c2, s12 = s.c3, s13 = s.c4, s23 = s.c5;
  const auto i1 = hn::Add(hn::Add(s11, s22), s33);
  auto i2 = hn::Add(hn::Add(hn::Mul(s11, s22), hn::Mul(s22, s33)), hn::Mul(s33, s11));
  i2 = hn::Sub(hn::Sub(hn::Sub(i2, hn::Mul(s12, s12)), hn::Mul(s13, s13)), hn::Mul(s23, s23));
  const auto i3 = determinant(s11, s22, s33, s12, s13, s23);
  const auto a = hn::Sub(s11, s22), b = hn::Sub(s22, s33), c = hn::Sub(s33, s11);
  const auto directPart =
      hn::Div(hn::Add(hn::Add(hn::Mul(a, a), hn::Mul(b, b)), hn::Mul(c, c)), hn::Set(d, T(6)));
  const auto j2 = hn::Add(hn::Add(hn::Add(directPart, hn::Mul(s12, s12)), hn::Mul(s13, s13)),
                          hn::Mul(s23, s23));
  const auto p = hn::Div(i1, hn::Set(d, T(3)));
  const auto j3 = determinant(hn::Sub(s11, p), hn::Sub(s22, p), hn::Sub(s33, p), s12, s13, s23);
  out[0] = i1;
  out[1] = i2;
  out[2] = i3;
  out[3] = j2;
  out[4] = j3;
}

// A query's results for one set of lanes of double width: one vector, five for the invariants.
template <typename T>
HWY_INLINE int queryLanes(Query query, Family family, const Lanes6<T>& s, hn::Vec<DT<T>>* out) {
  switch (query) {
  case kMises:
    out[0] = mises(family, s);
    return 1;
  case kPressure:
    out[0] = pressure(family, s);
    return 1;
  case kInv3Trace:
    out[0] = inv3Trace(family, s);
    return 1;
  case kSignedMises:
    out[0] = hn::IfThenElse(hn::Gt(pressure(family, s), hn::Zero(DT<T>())),
                            hn::Neg(mises(family, s)), mises(family, s));
    return 1;
  case kTriaxiality:
    out[0] = hn::Div(hn::Neg(pressure(family, s)), mises(family, s));
    return 1;
  case kInvariants:
    invariants(s, out);
    return 5;
  }
  return 0;
}

// A query's results for a group of full T vectors. A float vector holds twice the lanes of a
// double one (but on the scalar target): its halves are computed apart and joined, so that each
// float lane has a double lane of its own for the float rules' double steps.
template <typename T, class V>
HWY_INLINE int queryGroup(Query query, Family family, const Group<V>& g, V* results) {
  const hn::ScalableTag<T> d;
#if HWY_TARGET == HWY_SCALAR
  (void)d;
  const Lanes6<T> s{g.c[0], g.c[1], g.c[2], g.c[3], g.c[4], g.c[5]};
  return queryLanes(query, family, s, results);
#else
  if constexpr (std::is_same<T, double>::value) {
    const Lanes6<T> s{g.c[0], g.c[1], g.c[2], g.c[3], g.c[4], g.c[5]};
    return queryLanes(query, family, s, results);
  } else {
    const hn::Half<decltype(d)> dh;
    const Lanes6<T> lo{hn::LowerHalf(dh, g.c[0]), hn::LowerHalf(dh, g.c[1]),
                       hn::LowerHalf(dh, g.c[2]), hn::LowerHalf(dh, g.c[3]),
                       hn::LowerHalf(dh, g.c[4]), hn::LowerHalf(dh, g.c[5])};
    const Lanes6<T> hi{hn::UpperHalf(dh, g.c[0]), hn::UpperHalf(dh, g.c[1]),
                       hn::UpperHalf(dh, g.c[2]), hn::UpperHalf(dh, g.c[3]),
                       hn::UpperHalf(dh, g.c[4]), hn::UpperHalf(dh, g.c[5])};
    hn::Vec<DT<T>> low[5], high[5];
    const int count = queryLanes(query, family, lo, low);
    queryLanes(query, family, hi, high);
    for (int k = 0; k < count; ++k) {
      results[k] = hn::Combine(d, high[k], low[k]);
    }
    return count;
  }
#endif
}

// Runs a query over the tensors [begin, end) of a source: out gets its results, one or five
// numbers per tensor.
template <typename T>
HWY_INLINE void queryRange(Query query, res_DataTypeEnm layout, const TensorSource<T>& source,
                           std::size_t begin, std::size_t end, T* out) {
  const hn::ScalableTag<T> d;
  using V = hn::Vec<decltype(d)>;
  const Family family = familyOf(layout);
  forEachGroup(
      d, source, begin,
      end, [&](const Group<V>& group, std::size_t i, std::size_t n) __attribute__((always_inline)) {
        V results[5];
        const int count = queryGroup<T>(query, family, group, results);
        storeResults(d, results, count, out + i * static_cast<std::size_t>(count), n);
      });
}

void QueryRangeF32(int query, res_DataTypeEnm layout, const TensorSource<float>& source,
                   std::size_t begin, std::size_t end, float* out) {
  queryRange(static_cast<Query>(query), layout, source, begin, end, out);
}

void QueryRangeF64(int query, res_DataTypeEnm layout, const TensorSource<double>& source,
                   std::size_t begin, std::size_t end, double* out) {
  queryRange(static_cast<Query>(query), layout, source, begin, end, out);
}

const char* TargetName() {
  return hwy::TargetName(HWY_TARGET);
}

} // namespace HWY_NAMESPACE
} // namespace utf_batch
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include "utf_BatchChecks.h"
#include "utf_BatchQueries.h"

#include <cmath>

namespace utf_batch {

HWY_EXPORT(QueryRangeF32);
HWY_EXPORT(QueryRangeF64);
HWY_EXPORT(TargetName);

namespace {

// The query numbers of the kernels (Query, per target).
enum PublicQuery { kMises = 0, kPressure, kInv3Trace, kSignedMises, kTriaxiality, kInvariants };

void queryRange(int query, res_DataTypeEnm layout, const TensorSource<float>& source,
                std::size_t begin, std::size_t end, float* out) {
  HWY_DYNAMIC_DISPATCH(QueryRangeF32)(query, layout, source, begin, end, out);
}

void queryRange(int query, res_DataTypeEnm layout, const TensorSource<double>& source,
                std::size_t begin, std::size_t end, double* out) {
  HWY_DYNAMIC_DISPATCH(QueryRangeF64)(query, layout, source, begin, end, out);
}

// Runs `query` over every tensor into out (the kernel places each tensor's results by its
// index: one per tensor, five for the invariants).
template <typename T>
void runQuery(const utf_BatchTensors<T>& tensors, int query, T* out) {
  requireArray(tensors.count(), out);
  const TensorSource<T> source = sourceOf(tensors);
  forEachBlock(tensors.count(), [&](std::size_t begin, std::size_t end) {
    queryRange(query, tensors.layout(), source, begin, end, out);
  });
}

// The value type's cube root of 4.5 tr(s s s), sign kept: pow in double with the double nearest
// to one third, narrowed.
template <typename T>
T signedCubeRoot(T trace) {
  const double wide = static_cast<double>(trace);
  if (wide >= 0.0) {
    return static_cast<T>(std::pow(4.5 * wide, 0.3333333333333333));
  }
  return static_cast<T>(-std::pow(-4.5 * wide, 0.3333333333333333));
}

} // namespace

} // namespace utf_batch

const char* utf_batchSimdTarget() {
  return HWY_DYNAMIC_DISPATCH(utf_batch::TargetName)();
}

template <typename T>
void utf_batchMises(const utf_BatchTensors<T>& tensors, T* out) {
  utf_batch::runQuery(tensors, utf_batch::kMises, out);
}

template <typename T>
void utf_batchPressure(const utf_BatchTensors<T>& tensors, T* out) {
  utf_batch::runQuery(tensors, utf_batch::kPressure, out);
}

template <typename T>
void utf_batchInv3(const utf_BatchTensors<T>& tensors, T* out) {
  // The trace by the kernels, then the value type's cube root, block by block.
  utf_batch::requireArray(tensors.count(), out);
  const utf_batch::TensorSource<T> source = utf_batch::sourceOf(tensors);
  utf_batch::forEachBlock(tensors.count(), [&](std::size_t begin, std::size_t end) {
    utf_batch::queryRange(utf_batch::kInv3Trace, tensors.layout(), source, begin, end, out);
    for (std::size_t i = begin; i < end; ++i) {
      out[i] = utf_batch::signedCubeRoot(out[i]);
    }
  });
}

template <typename T>
void utf_batchSignedMises(const utf_BatchTensors<T>& tensors, T* out) {
  utf_batch::runQuery(tensors, utf_batch::kSignedMises, out);
}

template <typename T>
void utf_batchTriaxiality(const utf_BatchTensors<T>& tensors, T* out) {
  utf_batch::runQuery(tensors, utf_batch::kTriaxiality, out);
}

template <typename T>
void utf_batchInvariants(const utf_BatchTensors<T>& tensors, T* out) {
  utf_batch::runQuery(tensors, utf_batch::kInvariants, out);
}

template UTF_BATCH_EXPORT void utf_batchMises(const utf_BatchTensors<float>&, float*);
template UTF_BATCH_EXPORT void utf_batchPressure(const utf_BatchTensors<float>&, float*);
template UTF_BATCH_EXPORT void utf_batchInv3(const utf_BatchTensors<float>&, float*);
template UTF_BATCH_EXPORT void utf_batchSignedMises(const utf_BatchTensors<float>&, float*);
template UTF_BATCH_EXPORT void utf_batchTriaxiality(const utf_BatchTensors<float>&, float*);
template UTF_BATCH_EXPORT void utf_batchInvariants(const utf_BatchTensors<float>&, float*);
template UTF_BATCH_EXPORT void utf_batchMises(const utf_BatchTensors<double>&, double*);
template UTF_BATCH_EXPORT void utf_batchPressure(const utf_BatchTensors<double>&, double*);
template UTF_BATCH_EXPORT void utf_batchInv3(const utf_BatchTensors<double>&, double*);
template UTF_BATCH_EXPORT void utf_batchSignedMises(const utf_BatchTensors<double>&, double*);
template UTF_BATCH_EXPORT void utf_batchTriaxiality(const utf_BatchTensors<double>&, double*);
template UTF_BATCH_EXPORT void utf_batchInvariants(const utf_BatchTensors<double>&, double*);

#endif // HWY_ONCE
