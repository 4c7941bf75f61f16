// Throughput of the utf_Tensor<T> queries: each query over 1,000,000 tensors of one layout, in
// float and double. The counter per_tensor is the time per tensor (printed as ...ns); the Time
// column is the time of one pass over the 1,000,000 tensors in milliseconds, which is the same
// number. In the same run, for scale:
// - view: building the tensor over its components only, the part of every query's time that is
//   not the query itself;
// - computePrincipal: the three principal values at once (each principal query computes them);
// - eigen_computeDirect: the same components through Eigen's closed-form 3x3 self-adjoint
//   eigenvalue solver (eigenvalues only, the planar and surface layouts embedded in 3x3);
// - stream: a loop that only reads the same bytes, the memory limit of any per-tensor query.
//
// Each tensor is a view (no copy) over its components in one contiguous array, as a results
// program builds it over the values that it has read. Components are pseudo-random in [-100,
// 100) from a fixed seed.
//
// Run: bench_tensor_invariants [--benchmark_filter=REGEX] [--benchmark_min_time=SECONDS]

#include "bench_data.h"
#include "eigen_peer.h"
#include "utf.h"

#include <Eigen/Eigenvalues>
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

using utf_bench::kLayouts;
using utf_bench::kTensors;
using utf_bench::Layout;
using utf_bench::reportPerTensor;

// The benchmark's tensors of a layout (bench_data.h), made once per layout and precision,
// outside the timed loops.
template <typename T>
std::vector<T>& components(res_DataTypeEnm type) {
  static std::vector<T> byType[res_Tensor2dSurface + 1];
  std::vector<T>& data = byType[type];
  if (data.empty()) {
    data = utf_bench::makeTensorData<T>(type, false).components;
  }
  return data;
}

template <typename T, T (utf_Tensor<T>::*Query)() const>
void query(benchmark::State& state, res_DataTypeEnm type) {
  T* first = components<T>(type).data();
  const int count = utf_tensorComponentCount(type);
  for (auto _ : state) {
    for (int i = 0; i < kTensors; ++i) {
      const utf_Tensor<T> tensor(type, first + static_cast<std::ptrdiff_t>(i) * count, false);
      T value = (tensor.*Query)();
      benchmark::DoNotOptimize(value);
    }
  }
  reportPerTensor(state);
}

template <typename T>
void computePrincipal(benchmark::State& state, res_DataTypeEnm type) {
  T* first = components<T>(type).data();
  const int count = utf_tensorComponentCount(type);
  for (auto _ : state) {
    for (int i = 0; i < kTensors; ++i) {
      const utf_Tensor<T> tensor(type, first + static_cast<std::ptrdiff_t>(i) * count, false);
      T p1, p2, p3;
      tensor.computePrincipal(p1, p2, p3);
      benchmark::DoNotOptimize(p1);
      benchmark::DoNotOptimize(p2);
      benchmark::DoNotOptimize(p3);
    }
  }
  reportPerTensor(state);
}

template <typename T>
void view(benchmark::State& state, res_DataTypeEnm type) {
  T* first = components<T>(type).data();
  const int count = utf_tensorComponentCount(type);
  for (auto _ : state) {
    for (int i = 0; i < kTensors; ++i) {
      const utf_Tensor<T> tensor(type, first + static_cast<std::ptrdiff_t>(i) * count, false);
      const T* data = tensor.data();
      benchmark::DoNotOptimize(data);
    }
  }
  reportPerTensor(state);
}

template <typename T>
void eigenComputeDirect(benchmark::State& state, res_DataTypeEnm type) {
  const T* first = components<T>(type).data();
  const int count = utf_tensorComponentCount(type);
  Eigen::SelfAdjointEigenSolver<Eigen::Matrix<T, 3, 3>> solver;
  for (auto _ : state) {
    for (int i = 0; i < kTensors; ++i) {
      solver.computeDirect(
          utf_bench::eigenMatrixOf(type, first + static_cast<std::ptrdiff_t>(i) * count),
          Eigen::EigenvaluesOnly);
      T largest = solver.eigenvalues()(2);
      benchmark::DoNotOptimize(largest);
    }
  }
  reportPerTensor(state);
}

// Reads every byte of the components once per pass: an exclusive-or of 64-bit words, which the
// compiler may vectorise, so that the loop is limited by memory rather than by arithmetic.
template <typename T>
void stream(benchmark::State& state, res_DataTypeEnm type) {
  const std::vector<T>& data = components<T>(type);
  const unsigned char* bytes = reinterpret_cast<const unsigned char*>(data.data());
  const std::size_t words = data.size() * sizeof(T) / sizeof(std::uint64_t);
  for (auto _ : state) {
    std::uint64_t folded = 0;
    for (std::size_t i = 0; i < words; ++i) {
      std::uint64_t word;
      std::memcpy(&word, bytes + i * sizeof word, sizeof word);
      folded ^= word;
    }
    benchmark::DoNotOptimize(folded);
  }
  reportPerTensor(state);
}

template <typename Function>
void add(const std::string& name, Function function, res_DataTypeEnm type) {
  benchmark::RegisterBenchmark(name.c_str(), function, type)->Unit(benchmark::kMillisecond);
}

template <typename T>
void registerPrecision(const char* precision) {
  using Tensor = utf_Tensor<T>;
  for (const Layout& layout : kLayouts) {
    const std::string suffix = std::string("/") + precision + "/" + layout.name;
    add("maxPrincipal" + suffix, query<T, &Tensor::maxPrincipal>, layout.type);
    add("midPrincipal" + suffix, query<T, &Tensor::midPrincipal>, layout.type);
    add("minPrincipal" + suffix, query<T, &Tensor::minPrincipal>, layout.type);
    add("maxInplanePrincipal" + suffix, query<T, &Tensor::maxInplanePrincipal>, layout.type);
    add("minInplanePrincipal" + suffix, query<T, &Tensor::minInplanePrincipal>, layout.type);
    add("outOfPlanePrincipal" + suffix, query<T, &Tensor::outOfPlanePrincipal>, layout.type);
    add("pressure" + suffix, query<T, &Tensor::pressure>, layout.type);
    add("mises" + suffix, query<T, &Tensor::mises>, layout.type);
    add("tresca" + suffix, query<T, &Tensor::tresca>, layout.type);
    add("inv3" + suffix, query<T, &Tensor::inv3>, layout.type);
    add("computePrincipal" + suffix, computePrincipal<T>, layout.type);
    add("view" + suffix, view<T>, layout.type);
    add("eigen_computeDirect" + suffix, eigenComputeDirect<T>, layout.type);
    add("stream" + suffix, stream<T>, layout.type);
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
