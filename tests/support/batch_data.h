#ifndef UTF_TEST_BATCH_DATA_H
#define UTF_TEST_BATCH_DATA_H

// What the batch engine's tests share: arrays of tensors in any layout, component order and
// stride, built from library-order components so that each can be checked against the value
// type; every way of storing a layout; and a loop that forces each SIMD target in turn.

#include "random_values.h"
#include "utf.h"
#include "utf_Batch.h"

#include <hwy/targets.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <thread>
#include <vector>

// One way of storing a layout: its order, whether shears are engineering shears, and the padding
// between tensors (0: one after another).
struct BatchStorage {
  res_DataTypeEnm layout;
  utf_BatchOrder order;
  bool engineeringShear;
  std::size_t padding;
};

inline std::string describe(const BatchStorage& storage) {
  static const char* const orders[] = {"library", "vtk", "voigt", "matrix"};
  return std::string(layoutName(storage.layout)) + "/" + orders[static_cast<int>(storage.order)] +
         (storage.engineeringShear ? "/engineering" : "/tensorial") + "/padding " +
         std::to_string(storage.padding);
}

// Every layout in every order it takes, with and without engineering shear (not for matrices),
// dense and with two values of padding.
inline std::vector<BatchStorage> everyStorage() {
  std::vector<BatchStorage> all;
  for (res_DataTypeEnm layout : kTensorLayouts) {
    for (utf_BatchOrder order : {utf_BatchOrder::Library, utf_BatchOrder::Vtk,
                                 utf_BatchOrder::Voigt, utf_BatchOrder::Matrix}) {
      if (order != utf_BatchOrder::Library && layout != res_Tensor3dFull) {
        continue;
      }
      for (bool engineering : {false, true}) {
        if (engineering && order == utf_BatchOrder::Matrix) {
          continue;
        }
        for (std::size_t padding : {std::size_t{0}, std::size_t{2}}) {
          all.push_back({layout, order, engineering, padding});
        }
      }
    }
  }
  return all;
}

inline int storedValues(const BatchStorage& storage) {
  return storage.order == utf_BatchOrder::Matrix ? 9 : utf_tensorComponentCount(storage.layout);
}

// Where each library-order component (S11, S22, S33, S12, S13, S23) goes among the stored values;
// -1 where the layout stores none.
inline std::array<int, 6> placesOf(const BatchStorage& storage) {
  if (isSurface(storage.layout)) {
    return {0, 1, -1, 2, -1, -1};
  }
  if (isPlanar(storage.layout)) {
    return {0, 1, 2, 3, -1, -1};
  }
  switch (storage.order) {
  case utf_BatchOrder::Vtk:
    return {0, 1, 2, 3, 5, 4};
  case utf_BatchOrder::Voigt:
    return {0, 1, 2, 5, 4, 3};
  case utf_BatchOrder::Matrix:
    return {0, 4, 8, 1, 2, 5};
  case utf_BatchOrder::Library:
    break;
  }
  return {0, 1, 2, 3, 4, 5};
}

// N tensors given by their library-order components (countOf(layout) each, as the value type
// stores them), and the same tensors stored as `storage` says: the array a view reads.
template <typename T>
struct BatchArray {
  BatchStorage storage;
  std::vector<std::array<T, 6>> components;
  std::vector<T> stored;

  std::size_t count() const { return components.size(); }
  std::size_t stride() const {
    return static_cast<std::size_t>(storedValues(storage)) + storage.padding;
  }
  utf_BatchTensors<T> view() const {
    return utf_BatchTensors<T>(stored.data(), count(), storage.layout, storage.engineeringShear,
                               storage.order, storage.padding == 0 ? 0 : stride());
  }
  // The value type's tensor i: an owned copy of its components in the layout's own order
  // (a surface layout stores S11, S22, S12).
  utf_Tensor<T> tensor(std::size_t i) const {
    const std::array<T, 6>& c = components[i];
    const T surface[3] = {c[0], c[1], c[3]};
    return utf_Tensor<T>(storage.layout, isSurface(storage.layout) ? surface : c.data(),
                         storage.engineeringShear);
  }
};

// Stores the tensors as `storage` says; a matrix gets its lower triangle mirrored, padding
// values are set to a NaN that a view must never read.
template <typename T>
BatchArray<T> batchArrayOf(const BatchStorage& storage,
                           const std::vector<std::array<T, 6>>& components) {
  BatchArray<T> array{storage, components, {}};
  const std::array<int, 6> places = placesOf(storage);
  array.stored.assign(array.count() * array.stride(), std::numeric_limits<T>::quiet_NaN());
  for (std::size_t i = 0; i < array.count(); ++i) {
    T* values = array.stored.data() + i * array.stride();
    for (int k = 0; k < 6; ++k) {
      if (places[k] >= 0) {
        values[places[k]] = components[i][k];
      }
    }
    if (storage.order == utf_BatchOrder::Matrix) {
      values[3] = values[1];
      values[6] = values[2];
      values[7] = values[5];
    }
  }
  return array;
}

// N pseudo-random tensors: components uniform in [-scale, scale), every tenth tensor with a
// repeated direct component (S11 = S22) and every seventh nearly hydrostatic, so that the sets
// reach the closed form's harder cases too.
template <typename T>
std::vector<std::array<T, 6>> randomTensors(std::size_t count, double scale) {
  std::vector<std::array<T, 6>> tensors(count);
  for (std::size_t i = 0; i < count; ++i) {
    tensors[i] = randomComponents<T>(scale);
    if (i % 10 == 3) {
      tensors[i][1] = tensors[i][0];
    }
    if (i % 7 == 5) {
      const T mean = static_cast<T>(uniform(-scale, scale));
      for (int k = 0; k < 6; ++k) {
        tensors[i][k] =
            static_cast<T>(k < 3 ? mean + tensors[i][k] * T(1e-4) : tensors[i][k] * T(1e-4));
      }
    }
  }
  return tensors;
}

// The SIMD targets that this processor supports and that the engine was compiled for
// (HWY_TARGETS, the same for the tests as for the engine's kernels), one bit each.
inline std::vector<std::int64_t> supportedTargets() {
  std::vector<std::int64_t> targets;
  const std::uint64_t all = static_cast<std::uint64_t>(hwy::SupportedTargets() & HWY_TARGETS);
  for (int shift = 0; shift < 63; ++shift) {
    const std::uint64_t bit = std::uint64_t{1} << shift;
    if ((all & bit) != 0) {
      targets.push_back(static_cast<std::int64_t>(bit));
    }
  }
  return targets;
}

// Runs check() once per SIMD target of supportedTargets(), each forced in turn, naming the target
// in any failure; then lets the engine choose again.
template <typename Check>
void forEachTarget(Check&& check) {
  for (std::int64_t target : supportedTargets()) {
    hwy::SetSupportedTargetsForTest(target);
    SCOPED_TRACE(std::string("SIMD target ") + utf_batchSimdTarget());
    EXPECT_STREQ(utf_batchSimdTarget(), hwy::TargetName(target)) << "the forced target runs";
    check();
  }
  hwy::SetSupportedTargetsForTest(0);
}

// Runs call(caller) `rounds` times on each of `callers` threads at once, while one more thread
// keeps changing the engine's thread count (2, 1, 3, 0, ...) and reading it back; returns when
// all are done, with the count back at 0 (every core).
template <typename Call>
void callAtOnceWhileTheThreadCountChanges(int callers, int rounds, Call&& call) {
  std::atomic<bool> done{false};
  std::thread changer([&done] {
    const int counts[] = {2, 1, 3, 0};
    for (int round = 0; !done.load(); ++round) {
      utf_batchSetThreadCount(counts[round % 4]);
      EXPECT_GE(utf_batchThreadCount(), 1);
      std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
  });
  std::vector<std::thread> threads;
  for (int caller = 0; caller < callers; ++caller) {
    threads.emplace_back([&call, caller, rounds] {
      for (int round = 0; round < rounds; ++round) {
        call(caller);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  done.store(true);
  changer.join();
  utf_batchSetThreadCount(0);
}

// Whether two arrays hold the same numbers, bit for bit.
template <typename T>
bool sameBitsAll(const std::vector<T>& a, const std::vector<T>& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0;
}

#endif
