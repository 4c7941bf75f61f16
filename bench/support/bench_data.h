#ifndef UTF_BENCH_DATA_H
#define UTF_BENCH_DATA_H

// bench/support: what the benchmark programs share. The five tensor layouts by name, the
// pseudo-random tensors and rotations every tensor benchmark runs over (the same numbers in every
// program and every run: fixed seeds), and the per-tensor time counter.

#include "utf.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

namespace utf_bench {

// Tensors per pass: enough that the arrays (up to 48 MB) exceed every cache.
constexpr int kTensors = 1000000;

struct Layout {
  res_DataTypeEnm type;
  const char* name;
};

constexpr Layout kLayouts[] = {{res_Tensor3dFull, "3d_full"},
                               {res_Tensor3dPlanar, "3d_planar"},
                               {res_Tensor3dSurface, "3d_surface"},
                               {res_Tensor2dPlanar, "2d_planar"},
                               {res_Tensor2dSurface, "2d_surface"}};

// Values of a rotation of the layout's rotation type: four (3D), two (2D).
inline int rotationCount(res_DataTypeEnm type) {
  return utf_is2dTensorType(type) ? 2 : 4;
}

// kTensors tensors of a layout one after another, components uniform in [-100, 100); and, when
// asked for, kTensors rotations for it: unit quaternions uniform over the rotations (3D layouts)
// or in-plane rotations by angles uniform in [-pi, pi) (2D layouts). One generator per layout,
// seeded from the layout, draws the components and then the rotations.
template <typename T>
struct TensorData {
  std::vector<T> components;
  std::vector<T> rotations;
};

template <typename T>
TensorData<T> makeTensorData(res_DataTypeEnm type, bool withRotations) {
  std::mt19937_64 generator(20261122u + static_cast<unsigned>(type));
  std::uniform_real_distribution<double> value(-100.0, 100.0);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  TensorData<T> data;
  data.components.resize(static_cast<std::size_t>(kTensors) * utf_tensorComponentCount(type));
  for (T& component : data.components) {
    component = static_cast<T>(value(generator));
  }
  if (!withRotations) {
    return data;
  }
  const int count = rotationCount(type);
  data.rotations.resize(static_cast<std::size_t>(kTensors) * count);
  for (int i = 0; i < kTensors; ++i) {
    T* r = data.rotations.data() + static_cast<std::ptrdiff_t>(i) * count;
    if (count == 2) {
      const double half = 1.5707963267948966 * unit(generator);
      r[0] = static_cast<T>(std::sin(half));
      r[1] = static_cast<T>(std::cos(half));
      continue;
    }
    double q[4];
    double norm2 = 0.0;
    do {
      norm2 = 0.0;
      for (double& v : q) {
        v = unit(generator);
        norm2 += v * v;
      }
    } while (norm2 < 0.01);
    for (int k = 0; k < 4; ++k) {
      r[k] = static_cast<T>(q[k] / std::sqrt(norm2));
    }
  }
  return data;
}

// The counter per_tensor: the time per tensor (the rate of tensors per second, inverted).
inline void reportPerTensor(benchmark::State& state, int tensors = kTensors) {
  state.counters["per_tensor"] = benchmark::Counter(
      tensors, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

} // namespace utf_bench

#endif
