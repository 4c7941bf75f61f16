// The batch engine's transforms: onto the new axes the component kernels' bits, back to the old
// axes utf_Tensor<T>::transform's bits, vectors utf_Vector<T>::transform's bits, in every layout,
// order, stride and shear convention, with one table and a table per tensor, on every SIMD
// target; matrices written in full; in place; the preconditions (overlap, table count, nulls);
// NaN confined; the same bits whatever the thread count and place; no allocation per tensor.

#include "batch_data.h"
#include "test_support.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstring>
#include <limits>
#include <thread>
#include <vector>

namespace {

template <typename T>
class BatchTransform : public ::testing::Test {};
TYPED_TEST_SUITE(BatchTransform, utf_Precisions, utf_PrecisionNames);

const std::size_t kCount = 600;

// A rotation per tensor, of the kind the layout turns with (four values for a 3D rotation, two
// for a 2D one, stored in four), and their tables.
template <typename T>
struct Rotations {
  std::vector<std::array<T, 4>> values;
  std::vector<T> tables;
};

template <typename T>
Rotations<T> randomRotations(res_DataTypeEnm layout, std::size_t count) {
  Rotations<T> r;
  r.values.resize(count);
  std::vector<T> packed;
  for (std::array<T, 4>& q : r.values) {
    q = {};
    if (is2d(layout)) {
      randomRotation2d(q.data());
      packed.insert(packed.end(), q.begin(), q.begin() + 2);
    } else {
      randomUnitQuaternion(q.data());
      packed.insert(packed.end(), q.begin(), q.end());
    }
  }
  r.tables.resize(9 * count);
  if (is2d(layout)) {
    utf_batchTablesFrom2dRotations(packed.data(), count, r.tables.data());
  } else {
    utf_batchTablesFromQuaternions(packed.data(), count, r.tables.data());
  }
  return r;
}

// The library-order components of tensor i of an engine output stored as `storage` says (dense).
template <typename T>
std::array<T, 6> componentsAt(const BatchStorage& storage, const std::vector<T>& out,
                              std::size_t i) {
  const std::array<int, 6> places = placesOf(storage);
  const std::size_t values = static_cast<std::size_t>(storedValues(storage));
  std::array<T, 6> c{};
  for (int k = 0; k < 6; ++k) {
    if (places[k] >= 0) {
      c[k] = out[i * values + static_cast<std::size_t>(places[k])];
    }
  }
  return c;
}

// The value types' results, in the library's order: the kernel (onto the new axes) or
// utf_Tensor<T>::transform (back), each on its own copy of the stored components.
template <typename T>
std::array<T, 6> valueTypeResult(const BatchArray<T>& array, std::size_t i, const T* rotation,
                                 bool back) {
  const res_DataTypeEnm layout = array.storage.layout;
  std::array<T, 6> c = array.components[i];
  if (!back) {
    std::array<T, 6> s = c;
    if (isSurface(layout)) {
      s = {c[0], c[1], c[3], T(0), T(0), T(0)};
    }
    runKernel(layout, s.data(), rotation, array.storage.engineeringShear);
    if (isSurface(layout)) {
      return {s[0], s[1], T(0), s[2], T(0), T(0)};
    }
    return isPlanar(layout) ? std::array<T, 6>{s[0], s[1], s[2], s[3], T(0), T(0)} : s;
  }
  utf_Tensor<T> tensor = array.tensor(i);
  tensor.transform(utf_Quaternion<T>(utf_tensorRotationType(layout), rotation),
                   array.storage.engineeringShear);
  const T* s = tensor.data();
  if (isSurface(layout)) {
    return {s[0], s[1], T(0), s[2], T(0), T(0)};
  }
  if (isPlanar(layout)) {
    return {s[0], s[1], s[2], s[3], T(0), T(0)};
  }
  return {s[0], s[1], s[2], s[3], s[4], s[5]};
}

template <typename T>
void expectValueTypeBits(const BatchArray<T>& array, const Rotations<T>& rotations, bool perItem,
                         bool back) {
  const std::size_t n = array.count();
  std::vector<T> out(n * static_cast<std::size_t>(storedValues(array.storage)));
  const utf_BatchTables<T> tables = perItem
                                        ? utf_BatchTables<T>::perItem(rotations.tables.data(), n)
                                        : utf_BatchTables<T>::one(rotations.tables.data());
  if (back) {
    utf_batchTensorsToOldAxes(array.view(), tables, out.data());
  } else {
    utf_batchTensorsToNewAxes(array.view(), tables, out.data());
  }
  for (std::size_t i = 0; i < n; ++i) {
    const std::array<T, 6> got = componentsAt(array.storage, out, i);
    const std::array<T, 6> expected =
        valueTypeResult(array, i, rotations.values[perItem ? i : 0].data(), back);
    for (int k = 0; k < 6; ++k) {
      ASSERT_EQ(bitsOf(got[k]), bitsOf(expected[k]))
          << describe(array.storage) << (back ? ", back" : ", onto")
          << (perItem ? ", per item" : "") << ", tensor " << i << " component " << k;
    }
  }
}

TYPED_TEST(BatchTransform, EveryStorageGivesTheValueTypesBitsBothWaysOnEveryTarget) {
  using T = TypeParam;
  const std::vector<std::array<T, 6>> tensors = randomTensors<T>(kCount, 100.0);
  forEachTarget([&] {
    for (const BatchStorage& storage : everyStorage()) {
      const BatchArray<T> array = batchArrayOf(storage, tensors);
      const Rotations<T> rotations = randomRotations<T>(storage.layout, kCount);
      for (bool perItem : {false, true}) {
        for (bool back : {false, true}) {
          expectValueTypeBits(array, rotations, perItem, back);
        }
      }
    }
  });
}

TYPED_TEST(BatchTransform, AMatrixIsWrittenInFullAndSymmetric) {
  using T = TypeParam;
  const BatchArray<T> array = batchArrayOf<T>({res_Tensor3dFull, utf_BatchOrder::Matrix, false, 0},
                                              randomTensors<T>(50, 10.0));
  const Rotations<T> rotations = randomRotations<T>(res_Tensor3dFull, 50);
  std::vector<T> out(9 * 50);
  utf_batchTensorsToNewAxes(array.view(), utf_BatchTables<T>::perItem(rotations.tables.data(), 50),
                            out.data());
  for (std::size_t i = 0; i < 50; ++i) {
    const T* m = &out[9 * i];
    EXPECT_EQ(bitsOf(m[3]), bitsOf(m[1]));
    EXPECT_EQ(bitsOf(m[6]), bitsOf(m[2]));
    EXPECT_EQ(bitsOf(m[7]), bitsOf(m[5]));
  }
}

TYPED_TEST(BatchTransform, TheOutputMayBeTheInputWhenTheTensorsAreDense) {
  using T = TypeParam;
  for (const BatchStorage& storage :
       {BatchStorage{res_Tensor3dFull, utf_BatchOrder::Vtk, true, 0},
        BatchStorage{res_Tensor2dSurface, utf_BatchOrder::Library, false, 0}}) {
    BatchArray<T> array = batchArrayOf(storage, randomTensors<T>(kCount, 10.0));
    const Rotations<T> rotations = randomRotations<T>(storage.layout, kCount);
    const utf_BatchTables<T> tables = utf_BatchTables<T>::perItem(rotations.tables.data(), kCount);
    std::vector<T> separate(array.stored.size());
    utf_batchTensorsToOldAxes(array.view(), tables, separate.data());
    utf_batchTensorsToOldAxes(array.view(), tables, array.stored.data());
    expectSameBits(array.stored.data(), separate.data(), static_cast<int>(separate.size()));
  }
}

TYPED_TEST(BatchTransform, VectorsAreTheVectorValuesBitsAndComeBack) {
  using T = TypeParam;
  const std::size_t n = kCount;
  std::vector<T> vectors(3 * n);
  for (T& value : vectors) {
    value = static_cast<T>(uniform(-10, 10));
  }
  const Rotations<T> rotations = randomRotations<T>(res_Tensor3dFull, n);
  const utf_BatchTables<T> tables = utf_BatchTables<T>::perItem(rotations.tables.data(), n);
  std::vector<T> onto(3 * n), back(3 * n);
  forEachTarget([&] {
    utf_batchVectorsToNewAxes(vectors.data(), n, tables, onto.data());
    utf_batchVectorsToOldAxes(onto.data(), n, tables, back.data());
    for (std::size_t i = 0; i < n; ++i) {
      // The copying constructor: the vector value must not turn the input in place.
      utf_Vector<T> value(static_cast<const T*>(&vectors[3 * i]), 3);
      T q[4] = {rotations.values[i][0], rotations.values[i][1], rotations.values[i][2],
                rotations.values[i][3]};
      value.transform(utf_Quat3dBase<T>(q));
      expectSameBits(&onto[3 * i], value.data(), 3);
      // Back: A^T (A x) = x, to the rounding of both products and of the unit rotation.
      for (int k = 0; k < 3; ++k) {
        ASSERT_NEAR(back[3 * i + k], vectors[3 * i + k],
                    40 * std::numeric_limits<T>::epsilon() * 10)
            << i;
      }
    }
  });
  // In place.
  std::vector<T> inPlace = vectors;
  utf_batchVectorsToNewAxes(inPlace.data(), n, tables, inPlace.data());
  expectSameBits(inPlace.data(), onto.data(), static_cast<int>(3 * n));
}

// ---------------------------------------------------------------------------------------------
// Preconditions.

TYPED_TEST(BatchTransform, AnOverlappingOutputATableCountAndNullArraysFailBeforeAnyWrite) {
  using T = TypeParam;
  BatchArray<T> array = batchArrayOf<T>({res_Tensor3dFull, utf_BatchOrder::Library, false, 0},
                                        randomTensors<T>(10, 1.0));
  const Rotations<T> rotations = randomRotations<T>(res_Tensor3dFull, 10);
  const std::vector<T> before = array.stored;
  const char* const source = utf_BatchAssertLine::source;
  // Shifted by one tensor: overlapping, not the same.
  expectAssertion(
      [&] {
        utf_batchTensorsToNewAxes(array.view(), utf_BatchTables<T>::one(rotations.tables.data()),
                                  array.stored.data() + 6);
      },
      "inPlace || !overlaps(out, count * values, tensors.data(), span)", source,
      utf_BatchAssertLine::outputOverlapsInput);
  // A padded input is never written in place.
  const BatchArray<T> padded = batchArrayOf<T>(
      {res_Tensor3dFull, utf_BatchOrder::Library, false, 1}, randomTensors<T>(10, 1.0));
  std::vector<T> paddedStore = padded.stored;
  const utf_BatchTensors<T> paddedView(paddedStore.data(), 10, res_Tensor3dFull, false,
                                       utf_BatchOrder::Library, 7);
  expectAssertion(
      [&] {
        utf_batchTensorsToNewAxes(paddedView, utf_BatchTables<T>::one(rotations.tables.data()),
                                  paddedStore.data());
      },
      "inPlace || !overlaps(out, count * values, tensors.data(), span)", source,
      utf_BatchAssertLine::outputOverlapsInput);
  // Tables per item for a different count.
  std::vector<T> out(60);
  expectAssertion(
      [&] {
        utf_batchTensorsToOldAxes(
            array.view(), utf_BatchTables<T>::perItem(rotations.tables.data(), 9), out.data());
      },
      "tables.count() == count", source, utf_BatchAssertLine::tableCount);
  expectAssertion(
      [&] {
        utf_batchTensorsToOldAxes(array.view(), utf_BatchTables<T>::one(nullptr), out.data());
      },
      "count == 0 || array != nullptr", source, utf_BatchAssertLine::nullArgument);
  expectAssertion(
      [&] {
        utf_batchVectorsToNewAxes(static_cast<const T*>(nullptr), 3,
                                  utf_BatchTables<T>::one(rotations.tables.data()), out.data());
      },
      "count == 0 || array != nullptr", source, utf_BatchAssertLine::nullArgument);
  expectAssertion(
      [&] {
        utf_batchVectorsToNewAxes(out.data(), 3, utf_BatchTables<T>::one(rotations.tables.data()),
                                  out.data() + 1);
      },
      "out == vectors || !overlaps(out, 3 * count, vectors, 3 * count)", source,
      utf_BatchAssertLine::outputOverlapsInput);
  expectSameBits(array.stored.data(), before.data(), static_cast<int>(before.size()));
  for (T value : out) {
    EXPECT_EQ(value, T(0)) << "nothing was written";
  }
}

// ---------------------------------------------------------------------------------------------
// Non-finite input, determinism, memory.

TYPED_TEST(BatchTransform, ANonFiniteComponentOrTableReachesItsTensorOnly) {
  using T = TypeParam;
  std::vector<std::array<T, 6>> tensors = randomTensors<T>(100, 10.0);
  tensors[7][2] = std::numeric_limits<T>::infinity();
  const BatchArray<T> array =
      batchArrayOf<T>({res_Tensor3dFull, utf_BatchOrder::Library, false, 0}, tensors);
  Rotations<T> rotations = randomRotations<T>(res_Tensor3dFull, 100);
  rotations.tables[9 * 30 + 4] = std::numeric_limits<T>::quiet_NaN();
  std::vector<T> out(600);
  utf_batchTensorsToNewAxes(array.view(), utf_BatchTables<T>::perItem(rotations.tables.data(), 100),
                            out.data());
  for (std::size_t i = 0; i < 100; ++i) {
    const std::array<T, 6> expected = valueTypeResult(array, i, rotations.values[i].data(), false);
    if (i == 30) {
      EXPECT_TRUE(std::isnan(out[6 * i]) || std::isnan(out[6 * i + 1])) << "the NaN table's tensor";
      continue;
    }
    if (i == 7) {
      continue; // the kernel's own result for an infinite component (compared below)
    }
    expectSameBits(&out[6 * i], expected.data(), 6);
  }
  const std::array<T, 6> seventh = valueTypeResult(array, 7, rotations.values[7].data(), false);
  expectSameBits(&out[42], seventh.data(), 6);
}

TYPED_TEST(BatchTransform, ResultsDoNotDependOnTheThreadCountOrTheTensorsPlace) {
  using T = TypeParam;
  const std::size_t count = 2 * utf_batchBlockSize + 13;
  const BatchArray<T> array = batchArrayOf<T>({res_Tensor3dFull, utf_BatchOrder::Library, true, 0},
                                              randomTensors<T>(count, 10.0));
  const Rotations<T> rotations = randomRotations<T>(res_Tensor3dFull, count);
  const auto run = [&](std::size_t offset) {
    const utf_BatchTensors<T> view(array.stored.data() + 6 * offset, count - offset,
                                   res_Tensor3dFull, true);
    std::vector<T> out(6 * (count - offset));
    utf_batchTensorsToNewAxes(
        view, utf_BatchTables<T>::perItem(rotations.tables.data() + 9 * offset, count - offset),
        out.data());
    return out;
  };
  utf_batchSetThreadCount(1);
  const std::vector<T> alone = run(0);
  utf_batchSetThreadCount(0);
  const std::vector<T> all = run(0);
  expectSameBits(all.data(), alone.data(), static_cast<int>(alone.size()));
  for (std::size_t offset : {std::size_t{1}, std::size_t{9}, std::size_t{4097}}) {
    const std::vector<T> shifted = run(offset);
    expectSameBits(shifted.data(), alone.data() + 6 * offset, static_cast<int>(shifted.size()));
  }
}

TYPED_TEST(BatchTransform, NothingIsAllocatedPerTensor) {
  using T = TypeParam;
  const std::size_t count = 2 * utf_batchBlockSize;
  BatchArray<T> array = batchArrayOf<T>({res_Tensor3dPlanar, utf_BatchOrder::Library, false, 0},
                                        randomTensors<T>(count, 10.0));
  const Rotations<T> rotations = randomRotations<T>(res_Tensor3dPlanar, count);
  std::vector<T> vectors(3 * count, T(1));
  utf_batchSetThreadCount(1);
  const AllocationCounter counter;
  utf_batchTensorsToNewAxes(array.view(),
                            utf_BatchTables<T>::perItem(rotations.tables.data(), count),
                            array.stored.data());
  utf_batchTensorsToOldAxes(array.view(), utf_BatchTables<T>::one(rotations.tables.data()),
                            array.stored.data());
  utf_batchVectorsToNewAxes(vectors.data(), count,
                            utf_BatchTables<T>::perItem(rotations.tables.data(), count),
                            vectors.data());
  EXPECT_EQ(counter.Count(), 0);
  utf_batchSetThreadCount(0);
}

// ---------------------------------------------------------------------------------------------
// Several callers at once.

TYPED_TEST(BatchTransform, SeveralCallersAtOnceWhileTheThreadCountChangesKeepTheirBits) {
  using T = TypeParam;
  // Each caller turns its own copy of the tensors in place and the shared vectors into its own
  // output, with the same per-item tables.
  const std::size_t count = 3 * utf_batchBlockSize + 11;
  const BatchArray<T> array = batchArrayOf<T>({res_Tensor3dFull, utf_BatchOrder::Library, false, 0},
                                              randomTensors<T>(count, 10.0));
  const Rotations<T> rotations = randomRotations<T>(res_Tensor3dFull, count);
  const utf_BatchTables<T> tables = utf_BatchTables<T>::perItem(rotations.tables.data(), count);
  std::vector<T> vectors(3 * count);
  for (T& value : vectors) {
    value = static_cast<T>(uniform(-10, 10));
  }
  utf_batchSetThreadCount(1);
  std::vector<T> turned(6 * count), turnedVectors(3 * count);
  utf_batchTensorsToNewAxes(array.view(), tables, turned.data());
  utf_batchVectorsToOldAxes(vectors.data(), count, tables, turnedVectors.data());
  const int callers = 3;
  std::vector<int> differences(callers, 0);
  callAtOnceWhileTheThreadCountChanges(callers, 3, [&](int caller) {
    std::vector<T> inPlace = array.stored, v(3 * count);
    const utf_BatchTensors<T> view(inPlace.data(), count, res_Tensor3dFull, false);
    utf_batchTensorsToNewAxes(view, tables, inPlace.data());
    utf_batchVectorsToOldAxes(vectors.data(), count, tables, v.data());
    differences[caller] += sameBitsAll(inPlace, turned) && sameBitsAll(v, turnedVectors) ? 0 : 1;
  });
  for (int caller = 0; caller < callers; ++caller) {
    EXPECT_EQ(differences[caller], 0) << "caller " << caller;
  }
}

} // namespace
