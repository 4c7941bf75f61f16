// Throughput of tensor rotation: the component kernels (utf_Tens3dFullBase and its siblings,
// S' = A S A^T over a raw array) and utf_Tensor<T>::transform (S' = A^T S A on a tensor value),
// each per layout, in float and double, over 1,000,000 tensors:
// - one_rotation: every tensor turned by the same rotation;
// - per_tensor: every tensor turned by a rotation of its own (read from an array beside the
//   components), so that the cosines are formed once per tensor.
// In the same run, for scale, eigen: the same components as an Eigen Matrix3 turned by
// A * S * A.transpose(), A from Eigen's own quaternion-to-matrix conversion (the planar and
// surface layouts embedded in 3 x 3 and read back), so the full 3 x 3 product every time.
//
// The counter per_tensor is the time per tensor (printed as ...ns); the Time column is one pass
// over the 1,000,000 tensors in milliseconds, the same number. Every variant rotates its data in
// place, as a results program rotates the values it has read. Before each pass, with the timer
// paused, the components are restored from a pristine copy: the reduced layouts drop what a
// tilted rotation moves out of their plane, so passes over already rotated data would shrink
// the values towards subnormal numbers and time those instead. Tensors and rotations are views
// (no copy) over one contiguous array each; components pseudo-random in [-100, 100), rotations
// pseudo-random unit quaternions (3D layouts) or in-plane rotations (2D layouts), from a fixed
// seed.
//
// Run: bench_tensor_transform [--benchmark_filter=REGEX] [--benchmark_min_time=SECONDS]

#include "bench_data.h"
#include "eigen_peer.h"
#include "utf.h"

#include <Eigen/Geometry>
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstddef>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using utf_bench::kLayouts;
using utf_bench::kTensors;
using utf_bench::Layout;
using utf_bench::reportPerTensor;
using utf_bench::rotationCount;

// The benchmark's tensors and rotations of a layout (bench_data.h), with a pristine copy of the
// components; made once per layout and precision, outside the timed loops.
template <typename T>
struct Data {
  std::vector<T> pristine;
  std::vector<T> components;
  std::vector<T> rotations;
};

template <typename T>
Data<T>& dataFor(res_DataTypeEnm type) {
  static Data<T> byType[res_Tensor2dSurface + 1];
  Data<T>& data = byType[type];
  if (data.components.empty()) {
    utf_bench::TensorData<T> made = utf_bench::makeTensorData<T>(type, true);
    data.pristine = made.components;
    data.components = std::move(made.components);
    data.rotations = std::move(made.rotations);
  }
  return data;
}

// Puts the pristine components back, outside the timed part of the pass.
template <typename T>
void restore(benchmark::State& state, Data<T>& data) {
  state.PauseTiming();
  data.components = data.pristine;
  state.ResumeTiming();
}

// The rotation of tensor i: its own, or the first one for every tensor.
template <typename T>
T* rotationOf(Data<T>& data, res_DataTypeEnm type, int i, bool perTensor) {
  return data.rotations.data() +
         (perTensor ? static_cast<std::ptrdiff_t>(i) * rotationCount(type) : 0);
}

// The kernel of the layout, chosen once per pass (the layout is fixed for a benchmark).
template <typename T, typename Kernel, typename Rotation>
void kernelPass(Data<T>& data, res_DataTypeEnm type, bool perTensor) {
  const int count = utf_tensorComponentCount(type);
  T* first = data.components.data();
  for (int i = 0; i < kTensors; ++i) {
    Kernel(first + static_cast<std::ptrdiff_t>(i) * count)
        .transform(Rotation(rotationOf(data, type, i, perTensor)), false);
  }
}

template <typename T>
void kernel(benchmark::State& state, res_DataTypeEnm type, bool perTensor) {
  Data<T>& data = dataFor<T>(type);
  for (auto _ : state) {
    restore(state, data);
    switch (type) {
    case res_Tensor3dFull:
      kernelPass<T, utf_Tens3dFullBase<T>, utf_Quat3dBase<T>>(data, type, perTensor);
      break;
    case res_Tensor3dPlanar:
      kernelPass<T, utf_Tens3dPlanarBase<T>, utf_Quat3dBase<T>>(data, type, perTensor);
      break;
    case res_Tensor3dSurface:
      kernelPass<T, utf_Tens3dSurfaceBase<T>, utf_Quat3dBase<T>>(data, type, perTensor);
      break;
    case res_Tensor2dPlanar:
      kernelPass<T, utf_Tens2dPlanarBase<T>, utf_Quat2dBase<T>>(data, type, perTensor);
      break;
    default:
      kernelPass<T, utf_Tens2dSurfaceBase<T>, utf_Quat2dBase<T>>(data, type, perTensor);
      break;
    }
    benchmark::ClobberMemory();
  }
  reportPerTensor(state);
}

template <typename T>
void transform(benchmark::State& state, res_DataTypeEnm type, bool perTensor) {
  Data<T>& data = dataFor<T>(type);
  const int count = utf_tensorComponentCount(type);
  const res_DataTypeEnm rotationType = utf_tensorRotationType(type);
  T* first = data.components.data();
  const utf_Quaternion<T> shared(rotationType, data.rotations.data());
  for (auto _ : state) {
    restore(state, data);
    for (int i = 0; i < kTensors; ++i) {
      utf_Tensor<T> tensor(type, first + static_cast<std::ptrdiff_t>(i) * count, false);
      if (perTensor) {
        const utf_Quaternion<T> own(rotationType, rotationOf(data, type, i, true));
        tensor.transform(own, false);
      } else {
        tensor.transform(shared, false);
      }
    }
    benchmark::ClobberMemory();
  }
  reportPerTensor(state);
}

template <typename T>
void eigen(benchmark::State& state, res_DataTypeEnm type, bool perTensor) {
  Data<T>& data = dataFor<T>(type);
  const int count = utf_tensorComponentCount(type);
  T* first = data.components.data();
  const Eigen::Matrix<T, 3, 3> shared = utf_bench::eigenTableOf(type, data.rotations.data());
  for (auto _ : state) {
    restore(state, data);
    for (int i = 0; i < kTensors; ++i) {
      T* c = first + static_cast<std::ptrdiff_t>(i) * count;
      const Eigen::Matrix<T, 3, 3> a =
          perTensor ? utf_bench::eigenTableOf(type, rotationOf(data, type, i, true)) : shared;
      const Eigen::Matrix<T, 3, 3> s = utf_bench::eigenMatrixOf(type, c);
      const Eigen::Matrix<T, 3, 3> turned = a * s * a.transpose();
      utf_bench::eigenStoreBack(type, turned, c);
    }
    benchmark::ClobberMemory();
  }
  reportPerTensor(state);
}

template <typename Function>
void add(const std::string& name, Function function, res_DataTypeEnm type, bool perTensor) {
  benchmark::RegisterBenchmark(name.c_str(), function, type, perTensor)
      ->Unit(benchmark::kMillisecond);
}

template <typename T>
void registerPrecision(const char* precision) {
  for (const Layout& layout : kLayouts) {
    for (bool perTensor : {false, true}) {
      const std::string suffix = std::string("/") + precision + "/" + layout.name +
                                 (perTensor ? "/per_tensor" : "/one_rotation");
      add("kernel" + suffix, kernel<T>, layout.type, perTensor);
      add("transform" + suffix, transform<T>, layout.type, perTensor);
      add("eigen" + suffix, eigen<T>, layout.type, perTensor);
    }
  }
}

} // namespace

int main(int argc, char** argv) {
  registerPrecision<float>("float");
  registerPrecision<double>("double");
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
