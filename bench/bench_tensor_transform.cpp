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

#include "utf.h"

#include <Eigen/Geometry>
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int kTensors = 1000000;

struct Layout {
  res_DataTypeEnm type;
  const char* name;
};

const Layout kLayouts[] = {{res_Tensor3dFull, "3d_full"},
                           {res_Tensor3dPlanar, "3d_planar"},
                           {res_Tensor3dSurface, "3d_surface"},
                           {res_Tensor2dPlanar, "2d_planar"},
                           {res_Tensor2dSurface, "2d_surface"}};

bool is2d(res_DataTypeEnm type) {
  return utf_is2dTensorType(type);
}

// Values of the rotation of a layout: four for the 3D layouts, two for the 2D ones.
int rotationCount(res_DataTypeEnm type) {
  return is2d(type) ? 2 : 4;
}

// kTensors tensors of a layout one after another, and kTensors rotations for it; made once per
// layout and precision, outside the timed loops.
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
    std::mt19937_64 generator(20261122u + static_cast<unsigned>(type));
    std::uniform_real_distribution<double> value(-100.0, 100.0);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    data.pristine.resize(static_cast<std::size_t>(kTensors) * utf_tensorComponentCount(type));
    for (T& component : data.pristine) {
      component = static_cast<T>(value(generator));
    }
    data.components = data.pristine;
    data.rotations.resize(static_cast<std::size_t>(kTensors) * rotationCount(type));
    for (int i = 0; i < kTensors; ++i) {
      T* r = data.rotations.data() + static_cast<std::ptrdiff_t>(i) * rotationCount(type);
      if (is2d(type)) {
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

void reportPerTensor(benchmark::State& state) {
  state.counters["per_tensor"] = benchmark::Counter(
      kTensors, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
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

// The symmetric 3 x 3 matrix of a tensor, and its components written back in the layout.
template <typename T>
Eigen::Matrix<T, 3, 3> matrixOf(res_DataTypeEnm type, const T* c) {
  const T zero(0);
  T s33 = c[2], s12 = zero, s13 = zero, s23 = zero;
  if (utf_isSurfaceTensorType(type)) {
    s33 = zero;
    s12 = c[2];
  } else if (type == res_Tensor3dFull) {
    s12 = c[3], s13 = c[4], s23 = c[5];
  } else {
    s12 = c[3];
  }
  Eigen::Matrix<T, 3, 3> m;
  m << c[0], s12, s13, s12, c[1], s23, s13, s23, s33;
  return m;
}

template <typename T>
void storeBack(res_DataTypeEnm type, const Eigen::Matrix<T, 3, 3>& m, T* c) {
  c[0] = m(0, 0);
  c[1] = m(1, 1);
  if (utf_isSurfaceTensorType(type)) {
    c[2] = m(0, 1);
    return;
  }
  c[2] = m(2, 2);
  c[3] = m(0, 1);
  if (type == res_Tensor3dFull) {
    c[4] = m(0, 2);
    c[5] = m(1, 2);
  }
}

// A = R^T, the rows of A the new axes, R Eigen's rotation matrix of (w, x, y, z); a 2D rotation
// (s, c) is the 3D (0, 0, s, c).
template <typename T>
Eigen::Matrix<T, 3, 3> tableOf(res_DataTypeEnm type, const T* r) {
  const Eigen::Quaternion<T> q = is2d(type) ? Eigen::Quaternion<T>(r[1], T(0), T(0), r[0])
                                            : Eigen::Quaternion<T>(r[3], r[0], r[1], r[2]);
  return q.toRotationMatrix().transpose();
}

template <typename T>
void eigen(benchmark::State& state, res_DataTypeEnm type, bool perTensor) {
  Data<T>& data = dataFor<T>(type);
  const int count = utf_tensorComponentCount(type);
  T* first = data.components.data();
  const Eigen::Matrix<T, 3, 3> shared = tableOf(type, data.rotations.data());
  for (auto _ : state) {
    restore(state, data);
    for (int i = 0; i < kTensors; ++i) {
      T* c = first + static_cast<std::ptrdiff_t>(i) * count;
      const Eigen::Matrix<T, 3, 3> a =
          perTensor ? tableOf(type, rotationOf(data, type, i, true)) : shared;
      const Eigen::Matrix<T, 3, 3> s = matrixOf(type, c);
      const Eigen::Matrix<T, 3, 3> turned = a * s * a.transpose();
      storeBack(type, turned, c);
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
