// The batch engine's scalar queries: Mises, pressure and the third invariant bit for bit the value
// type's in every layout, order, stride and shear convention, on every SIMD target; signed
// Mises and triaxiality by their definitions, where they break down included; the invariants
// against hand-worked cases and long double; the same bits whatever the thread count and the
// tensor's place; NaN confined to its tensor; no allocation per tensor; the preconditions.

#include "batch_data.h"
#include "test_support.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstring>
#include <limits>
#include <thread>
#include <vector>

namespace {

template <typename T>
class BatchQueries : public ::testing::Test {};
TYPED_TEST_SUITE(BatchQueries, utf_Precisions, utf_PrecisionNames);

const std::size_t kCount = 1000;

// A query of the engine and the value type's query it must equal bit for bit.
template <typename T>
struct SameBitsQuery {
  const char* name;
  void (*engine)(const utf_BatchTensors<T>&, T*);
  T (utf_Tensor<T>::*value)() const;
};

template <typename T>
std::vector<SameBitsQuery<T>> sameBitsQueries() {
  return {{"mises", utf_batchMises<T>, &utf_Tensor<T>::mises},
          {"pressure", utf_batchPressure<T>, &utf_Tensor<T>::pressure},
          {"inv3", utf_batchInv3<T>, &utf_Tensor<T>::inv3}};
}

// Checks every tensor of the array against the value type, bit for bit.
template <typename T>
void expectValueTypeBits(const BatchArray<T>& array, const SameBitsQuery<T>& query) {
  std::vector<T> out(array.count());
  query.engine(array.view(), out.data());
  for (std::size_t i = 0; i < array.count(); ++i) {
    const T expected = (array.tensor(i).*query.value)();
    ASSERT_EQ(bitsOf(out[i]), bitsOf(expected))
        << query.name << ", " << describe(array.storage) << ", tensor " << i << ": " << out[i]
        << " instead of " << expected;
  }
}

TYPED_TEST(BatchQueries, MisesPressureAndInv3AreTheValueTypesBitsInEveryStorageAndTarget) {
  using T = TypeParam;
  const std::vector<std::array<T, 6>> tensors = randomTensors<T>(kCount, 100.0);
  forEachTarget([&] {
    for (const BatchStorage& storage : everyStorage()) {
      const BatchArray<T> array = batchArrayOf(storage, tensors);
      for (const SameBitsQuery<T>& query : sameBitsQueries<T>()) {
        expectValueTypeBits(array, query);
      }
    }
  });
}

TYPED_TEST(BatchQueries, TheValueTypesBitsHoldAcrossScalesAndAtItsOverflow) {
  using T = TypeParam;
  // From tiny to beyond the value type's overflow (its squares overflow there too: infinity and
  // NaN are compared bit for bit as well).
  const double huge = std::is_same<T, float>::value ? 1e19 : 1e154;
  for (double scale : {1e-30, 1e-10, 1.0, 1e10, huge, huge * 100}) {
    const std::vector<std::array<T, 6>> tensors = randomTensors<T>(200, scale);
    for (const BatchStorage& storage : everyStorage()) {
      const BatchArray<T> array = batchArrayOf(storage, tensors);
      for (const SameBitsQuery<T>& query : sameBitsQueries<T>()) {
        expectValueTypeBits(array, query);
      }
    }
  }
}

TYPED_TEST(BatchQueries, TheValueTypesOverflowAndInfinitiesHoldOnEveryTarget) {
  using T = TypeParam;
  // Beyond the value type's overflow, and with infinite components: infinity (or NaN) wherever
  // the value type gives it, on every target, the emulated one included (its narrowing of a
  // double to a float once stopped at the largest float).
  const double huge = std::is_same<T, float>::value ? 1e21 : 1e156;
  std::vector<std::array<T, 6>> tensors = randomTensors<T>(64, huge);
  const T infinity = std::numeric_limits<T>::infinity();
  tensors[3][3] = infinity;
  tensors[5][0] = -infinity;
  tensors[6][1] = infinity;
  tensors[6][2] = infinity;
  tensors[7] = {T(1), T(2), T(3), T(4), T(5), infinity};
  forEachTarget([&] {
    for (const BatchStorage& storage : everyStorage()) {
      const BatchArray<T> array = batchArrayOf(storage, tensors);
      for (const SameBitsQuery<T>& query : sameBitsQueries<T>()) {
        expectValueTypeBits(array, query);
      }
    }
  });
}

TYPED_TEST(BatchQueries, SignedMisesTakesTheSignOfACompressiveMean) {
  using T = TypeParam;
  // Uniaxial tension, compression, pure shear (mean 0: the sign of +mises), and -0 on the
  // diagonal.
  const std::vector<std::array<T, 6>> tensors = {{T(100), T(0), T(0), T(0), T(0), T(0)},
                                                 {T(-100), T(0), T(0), T(0), T(0), T(0)},
                                                 {T(0), T(0), T(0), T(50), T(0), T(0)},
                                                 {T(-0.0), T(-0.0), T(-0.0), T(0), T(0), T(0)}};
  const BatchArray<T> array =
      batchArrayOf<T>({res_Tensor3dFull, utf_BatchOrder::Library, false, 0}, tensors);
  std::vector<T> signedMises(tensors.size());
  utf_batchSignedMises(array.view(), signedMises.data());
  EXPECT_EQ(bitsOf(signedMises[0]), bitsOf(array.tensor(0).mises()));
  EXPECT_EQ(bitsOf(signedMises[1]), bitsOf(-array.tensor(1).mises()));
  EXPECT_NEAR(signedMises[0], 100.0, 1e-4);
  EXPECT_NEAR(signedMises[1], -100.0, 1e-4);
  EXPECT_EQ(bitsOf(signedMises[2]), bitsOf(array.tensor(2).mises()));
  EXPECT_GT(signedMises[2], T(86));
  EXPECT_EQ(bitsOf(signedMises[3]), bitsOf(T(0)));
  // On random tensors: |signed Mises| is Mises, negative exactly where the pressure is positive.
  const BatchArray<T> random = batchArrayOf<T>(
      {res_Tensor3dFull, utf_BatchOrder::Library, false, 0}, randomTensors<T>(kCount, 10.0));
  std::vector<T> out(kCount);
  utf_batchSignedMises(random.view(), out.data());
  for (std::size_t i = 0; i < kCount; ++i) {
    const utf_Tensor<T> tensor = random.tensor(i);
    const T expected = tensor.pressure() > T(0) ? -tensor.mises() : tensor.mises();
    ASSERT_EQ(bitsOf(out[i]), bitsOf(expected)) << "tensor " << i;
  }
}

TYPED_TEST(BatchQueries, TriaxialityIsMinusPressureOverMisesAndTheIeeeQuotientWhereMisesIsZero) {
  using T = TypeParam;
  const std::vector<std::array<T, 6>> tensors = {
      {T(300), T(0), T(0), T(0), T(0), T(0)},  // uniaxial tension: 1/3
      {T(0), T(0), T(0), T(7), T(0), T(0)},    // pure shear: 0
      {T(5), T(5), T(5), T(0), T(0), T(0)},    // hydrostatic tension: +inf
      {T(-5), T(-5), T(-5), T(0), T(0), T(0)}, // hydrostatic compression: -inf
      {T(0), T(0), T(0), T(0), T(0), T(0)}};   // zero tensor: NaN
  const BatchArray<T> array =
      batchArrayOf<T>({res_Tensor3dFull, utf_BatchOrder::Library, false, 0}, tensors);
  std::vector<T> out(tensors.size());
  utf_batchTriaxiality(array.view(), out.data());
  EXPECT_NEAR(out[0], 1.0 / 3.0, 2e-7);
  EXPECT_EQ(out[1], T(0));
  EXPECT_EQ(out[2], std::numeric_limits<T>::infinity());
  EXPECT_EQ(out[3], -std::numeric_limits<T>::infinity());
  EXPECT_TRUE(std::isnan(out[4]));
  // On random tensors: the quotient in T of the value type's pressure and Mises.
  const BatchArray<T> random = batchArrayOf<T>(
      {res_Tensor3dPlanar, utf_BatchOrder::Library, true, 0}, randomTensors<T>(kCount, 10.0));
  std::vector<T> triaxiality(kCount);
  utf_batchTriaxiality(random.view(), triaxiality.data());
  for (std::size_t i = 0; i < kCount; ++i) {
    const utf_Tensor<T> tensor = random.tensor(i);
    ASSERT_EQ(bitsOf(triaxiality[i]), bitsOf(-tensor.pressure() / tensor.mises())) << i;
  }
}

TYPED_TEST(BatchQueries, InvariantsOfAHandWorkedTensor) {
  using T = TypeParam;
  // S = [[2, 1, 0], [1, 3, 0], [0, 0, 4]]: I1 = 9, I2 = 6 + 12 + 8 - 1 = 25, I3 = 4 (6 - 1) = 20;
  // the deviator diag(-1, 0, 1) with s12 = 1: J2 = (1 + 1 + 4) / 6 + 1 = 2, J3 = det s =
  // -1 (0 - 0) - 1 (1 - 0) + 0 = -1.
  const std::vector<std::array<T, 6>> tensors = {{T(2), T(3), T(4), T(1), T(0), T(0)}};
  for (const BatchStorage& storage :
       {BatchStorage{res_Tensor3dFull, utf_BatchOrder::Voigt, false, 0},
        BatchStorage{res_Tensor3dPlanar, utf_BatchOrder::Library, false, 1},
        BatchStorage{res_Tensor2dPlanar, utf_BatchOrder::Library, false, 0}}) {
    const BatchArray<T> array = batchArrayOf(storage, tensors);
    T out[5];
    utf_batchInvariants(array.view(), out);
    EXPECT_EQ(out[0], T(9)) << describe(storage);
    EXPECT_EQ(out[1], T(25));
    EXPECT_EQ(out[2], T(20));
    EXPECT_EQ(out[3], T(2));
    EXPECT_EQ(out[4], T(-1));
  }
  // A surface tensor has S33 = 0: S = [[2, 1, 0], [1, 3, 0], [0, 0, 0]].
  const BatchArray<T> surface =
      batchArrayOf<T>({res_Tensor3dSurface, utf_BatchOrder::Library, true, 0},
                      {{T(2), T(3), T(0), T(2), T(0), T(0)}});
  T out[5];
  utf_batchInvariants(surface.view(), out);
  EXPECT_EQ(out[0], T(5));
  EXPECT_EQ(out[1], T(5)) << "6 - 1, the engineering shear 2 halved";
  EXPECT_EQ(out[2], T(0));
  // J2 = (1 + 9 + 4) / 6 + 1 = 10 / 3; J3 = det diag(1/3, 4/3, -5/3) with s12 = 1:
  // (1/3)(4/3)(-5/3) - 1 (1)(-5/3) = -20/27 + 45/27 = 25/27.
  EXPECT_NEAR(out[3], 10.0 / 3.0, 4e-7);
  EXPECT_NEAR(out[4], 25.0 / 27.0, 4e-7);
}

TYPED_TEST(BatchQueries, InvariantsAgreeWithLongDouble) {
  using T = TypeParam;
  const double u = std::numeric_limits<T>::epsilon() / 2;
  const std::vector<std::array<T, 6>> tensors = randomTensors<T>(kCount, 10.0);
  const BatchArray<T> array =
      batchArrayOf<T>({res_Tensor3dFull, utf_BatchOrder::Vtk, true, 0}, tensors);
  std::vector<T> out(5 * kCount);
  utf_batchInvariants(array.view(), out.data());
  for (std::size_t i = 0; i < kCount; ++i) {
    const RealMatrix m = matrixOf(res_Tensor3dFull, tensors[i].data(), true);
    const Real scale = largestMagnitude(m);
    const auto& a = m.a;
    const Real i1 = a[0][0] + a[1][1] + a[2][2];
    const Real i2 = a[0][0] * a[1][1] + a[1][1] * a[2][2] + a[2][2] * a[0][0] - a[0][1] * a[0][1] -
                    a[0][2] * a[0][2] - a[1][2] * a[1][2];
    RealMatrix dev = m;
    for (int k = 0; k < 3; ++k) {
      dev.a[k][k] -= i1 / 3;
    }
    const auto det = [](const RealMatrix& x) {
      const auto& b = x.a;
      return b[0][0] * (b[1][1] * b[2][2] - b[1][2] * b[2][1]) -
             b[0][1] * (b[1][0] * b[2][2] - b[1][2] * b[2][0]) +
             b[0][2] * (b[1][0] * b[2][1] - b[1][1] * b[2][0]);
    };
    Real j2 = 0;
    for (int r = 0; r < 3; ++r) {
      for (int c = 0; c < 3; ++c) {
        j2 += dev.a[r][c] * dev.a[r][c] / 2;
      }
    }
    // Absolute bounds in units of u, from the roundings of each formula and the magnitudes of
    // their partial results (s the largest component): I1 two sums of at most 3 s; I2 six
    // products and five sums of at most 6 s^2; I3 and J3 three minors of at most 2 s^2 (for J3 of
    // the deviator, whose entries reach 2 s) times entries, and their sum; J2 three differences
    // squared and six sums of at most 12 s^2.
    const Real expected[5] = {i1, i2, det(m), j2, det(dev)};
    const Real s2 = scale * scale, s3 = s2 * scale;
    const Real bound[5] = {6 * scale, 40 * s2, 64 * s3, 48 * s2, 256 * s3};
    for (int k = 0; k < 5; ++k) {
      ASSERT_NEAR(out[5 * i + k], static_cast<double>(expected[k]),
                  static_cast<double>(u * bound[k]))
          << "tensor " << i << " invariant " << k;
    }
  }
}

// ---------------------------------------------------------------------------------------------
// Determinism, non-finite input, memory, preconditions.

TYPED_TEST(BatchQueries, ResultsDoNotDependOnTheThreadCountOrTheTensorsPlace) {
  using T = TypeParam;
  // Enough tensors for several blocks, with a short last chunk.
  const std::size_t count = 3 * utf_batchBlockSize + 37;
  const BatchArray<T> array = batchArrayOf<T>({res_Tensor3dFull, utf_BatchOrder::Library, false, 0},
                                              randomTensors<T>(count, 50.0));
  std::vector<T> alone(count);
  utf_batchSetThreadCount(1);
  utf_batchMises(array.view(), alone.data());
  for (int threads : {2, 3, 0}) {
    utf_batchSetThreadCount(threads);
    std::vector<T> out(count);
    utf_batchMises(array.view(), out.data());
    expectSameBits(out.data(), alone.data(), static_cast<int>(count));
  }
  // A tensor moved to another place (another lane, another chunk, the short tail) keeps its bits.
  for (std::size_t offset : {std::size_t{1}, std::size_t{5}, std::size_t{63}, std::size_t{4097}}) {
    const utf_BatchTensors<T> shifted(array.stored.data() + offset * 6, count - offset,
                                      res_Tensor3dFull, false);
    std::vector<T> out(count - offset);
    utf_batchMises(shifted, out.data());
    expectSameBits(out.data(), alone.data() + offset, static_cast<int>(count - offset));
  }
  utf_batchSetThreadCount(0);
}

TYPED_TEST(BatchQueries, ANonFiniteComponentGivesNaNForItsTensorOnly) {
  using T = TypeParam;
  std::vector<std::array<T, 6>> tensors = randomTensors<T>(100, 10.0);
  // A NaN direct component reaches every query; an infinite shear reaches Mises and inv3.
  tensors[17][0] = std::numeric_limits<T>::quiet_NaN();
  tensors[40][4] = std::numeric_limits<T>::infinity();
  const BatchArray<T> array =
      batchArrayOf<T>({res_Tensor3dFull, utf_BatchOrder::Library, false, 0}, tensors);
  for (const SameBitsQuery<T>& query : sameBitsQueries<T>()) {
    std::vector<T> out(tensors.size());
    query.engine(array.view(), out.data());
    for (std::size_t i = 0; i < tensors.size(); ++i) {
      ASSERT_EQ(bitsOf(out[i]), bitsOf((array.tensor(i).*query.value)())) << query.name << i;
    }
    EXPECT_TRUE(std::isnan(out[17])) << query.name;
  }
}

TYPED_TEST(BatchQueries, NoQueryAllocatesPerTensor) {
  using T = TypeParam;
  const std::size_t count = 2 * utf_batchBlockSize;
  const BatchArray<T> array = batchArrayOf<T>({res_Tensor3dFull, utf_BatchOrder::Vtk, true, 0},
                                              randomTensors<T>(count, 10.0));
  std::vector<T> out(5 * count);
  utf_batchSetThreadCount(1);
  const AllocationCounter counter;
  utf_batchMises(array.view(), out.data());
  utf_batchPressure(array.view(), out.data());
  utf_batchInv3(array.view(), out.data());
  utf_batchSignedMises(array.view(), out.data());
  utf_batchTriaxiality(array.view(), out.data());
  utf_batchInvariants(array.view(), out.data());
  EXPECT_EQ(counter.Count(), 0);
  utf_batchSetThreadCount(0);
}

TYPED_TEST(BatchQueries, ANullOutputWithTensorsFailsBeforeAnythingIsRead) {
  using T = TypeParam;
  const BatchArray<T> array = batchArrayOf<T>({res_Tensor3dFull, utf_BatchOrder::Library, false, 0},
                                              randomTensors<T>(3, 1.0));
  for (void (*query)(const utf_BatchTensors<T>&, T*) :
       {utf_batchMises<T>, utf_batchPressure<T>, utf_batchInv3<T>, utf_batchSignedMises<T>,
        utf_batchTriaxiality<T>, utf_batchInvariants<T>}) {
    expectAssertion([&] { query(array.view(), nullptr); }, "count == 0 || array != nullptr",
                    utf_BatchAssertLine::source, utf_BatchAssertLine::nullArgument);
  }
  // No tensors: no output is needed.
  const utf_BatchTensors<T> empty(nullptr, 0, res_Tensor3dFull, false);
  utf_batchMises(empty, static_cast<T*>(nullptr));
}

// ---------------------------------------------------------------------------------------------
// Several callers at once.

TYPED_TEST(BatchQueries, SeveralCallersAtOnceWhileTheThreadCountChangesKeepTheirBits) {
  using T = TypeParam;
  // Three blocks and a short one, read by every caller at once; each writes its own outputs.
  const std::size_t count = 3 * utf_batchBlockSize + 37;
  const BatchArray<T> array = batchArrayOf<T>({res_Tensor3dFull, utf_BatchOrder::Voigt, true, 1},
                                              randomTensors<T>(count, 50.0));
  utf_batchSetThreadCount(1);
  std::vector<T> mises(count), invariants(5 * count);
  utf_batchMises(array.view(), mises.data());
  utf_batchInvariants(array.view(), invariants.data());
  const int callers = 3;
  std::vector<int> differences(callers, 0);
  callAtOnceWhileTheThreadCountChanges(callers, 4, [&](int caller) {
    std::vector<T> m(count), i(5 * count);
    utf_batchMises(array.view(), m.data());
    utf_batchInvariants(array.view(), i.data());
    differences[caller] += sameBitsAll(m, mises) && sameBitsAll(i, invariants) ? 0 : 1;
  });
  for (int caller = 0; caller < callers; ++caller) {
    EXPECT_EQ(differences[caller], 0) << "caller " << caller;
  }
}

} // namespace
