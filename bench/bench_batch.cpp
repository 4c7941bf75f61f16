// Throughput of the batch engine (utf::batch) over 1,000,000 tensors of each layout, in float and
// double, on one thread unless the name says otherwise, beside its peers and the memory limits in
// the same run. Every benchmark is named work/precision/layout, the layout as bench_data.h names
// it (3d_full, 3d_planar, 3d_surface, 2d_planar, 2d_surface).
//
// The engine (tensorial components, library order, one tensor after another; results to arrays):
// - batch_principalValues: utf_batchPrincipalValues, 3 values per tensor;
// - batch_principalDirections: utf_batchPrincipalDirections, 3 values and 9 direction cosines per
//   tensor (no quaternions);
// - batch_mises, batch_pressure: utf_batchMises and utf_batchPressure, one value per tensor;
// - batch_toNewAxes_oneTable: utf_batchTensorsToNewAxes with one table for every tensor
//   (utf_BatchTables<T>::one);
// - batch_toNewAxes_tablePerTensor: the same with a table per tensor (utf_BatchTables<T>::perItem),
//   the tables made once, outside the timing, from the benchmark's rotations by
//   utf_batchTablesFromQuaternions (3D layouts) or utf_batchTablesFrom2dRotations (2D layouts).
//
// The peers, each writing the same results to the same kind of array:
// - eigen_values: Eigen's SelfAdjointEigenSolver<Matrix3>::computeDirect, eigenvalues only (the
//   planar and surface layouts embedded in 3 x 3);
// - eigen_vectors: the same with the eigenvectors (ComputeEigenvectors);
// - tensor_computePrincipal, tensor_mises: utf_Tensor<T>::computePrincipal and mises over a view
//   of each tensor's components (as bench_tensor_invariants does).
//
// The memory limits, plain loops over the same bytes as the engine (their arithmetic, a sum of
// what they read put into what they write, keeps every read and every write):
// - stream_oneOut: reads a tensor's values, writes one value per tensor (the limit of mises and
//   pressure);
// - stream_sameOut: reads a tensor's values, writes as many (the limit of a transform with one
//   table);
// - stream_tablePerTensor: reads a tensor's values and its 9 table values, writes the tensor's
//   values (the limit of a transform with a table per tensor).
//
// Thread scaling: scaling_principalValues/double/3d_full/threads_1 and .../threads_2, the engine's
// principal values on 1 and on 2 threads (utf_batchSetThreadCount); the ratio of the two is the
// speed-up. The engine is set back to its default (0, every core) after each benchmark.
//
// The data: bench_data.h's generated tensors, except that UTF_BENCH_FULL_DOUBLE_TENSORS may name a
// file of 1,000,000 full tensors in double (raw little-endian numbers, 6 per tensor, the library's
// order) to use for the double full layout instead: bench/bench_python.py times the Python
// package and this program on the same tensors that way.
//
// Counters, per tensor: per_tensor, the wall-clock time per tensor (printed as ...ns; the Time
// column is one pass over the 1,000,000 tensors in milliseconds, the same number); cycles, the
// time-stamp counter's ticks per tensor between the start and the end of the timed loop. These
// are TSC cycles: the counter runs at the processor's constant nominal rate, not at the core's
// actual clock, so they are a wall-clock time in other units, not core cycles. Times are wall
// clock (UseRealTime), so that the threads of the scaling pair are counted.
//
// The machines these run on are shared and noisy: every benchmark runs 10 repetitions (the
// environment variable UTF_BENCH_REPETITIONS sets another count) and reports only the aggregates
// mean, median, stddev and min over them. The min is the figure to compare: noise only ever adds
// time. Each repetition runs for at least 0.1 s (--benchmark_min_time=0.1 unless the command line
// gives its own), which keeps a full run to a few minutes.
//
// Components are pseudo-random in [-100, 100) from a fixed seed (bench_data.h), the same numbers
// in every run. The SIMD target the engine runs on is printed in the context (simd_target).
//
// Run: bench_batch [--benchmark_filter=REGEX] [--benchmark_min_time=SECONDS]
//   bench_batch --benchmark_filter='3d_full'         one layout, both precisions
//   bench_batch --benchmark_filter='/double/'        one precision, every layout
//   UTF_BENCH_REPETITIONS=3 bench_batch              a quicker, noisier run
// and read the lines ending in _min.

#include "bench_data.h"
#include "eigen_peer.h"
#include "utf.h"
#include "utf_Batch.h"

#include <Eigen/Eigenvalues>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#if defined(__x86_64__) || defined(__i386__)
#include <x86intrin.h>
#define UTF_BENCH_HAS_TSC 1
#else
#define UTF_BENCH_HAS_TSC 0
#endif

namespace {

using utf_bench::kLayouts;
using utf_bench::kTensors;
using utf_bench::Layout;
using utf_bench::reportPerTensor;

constexpr std::size_t kCount = static_cast<std::size_t>(kTensors);

// Most numbers a benchmark writes per tensor: 3 values and 9 direction cosines.
constexpr std::size_t kMostOutPerTensor = 12;

// The repetitions of every benchmark: UTF_BENCH_REPETITIONS when it holds a positive count.
int readRepetitions() {
  const char* text = std::getenv("UTF_BENCH_REPETITIONS");
  if (text != nullptr) {
    char* end = nullptr;
    const long count = std::strtol(text, &end, 10);
    if (end != text && *end == '\0' && count > 0 && count <= 1000) {
      return static_cast<int>(count);
    }
    std::fprintf(stderr, "UTF_BENCH_REPETITIONS=%s is no count from 1 to 1000: 10 repetitions\n",
                 text);
  }
  return 10;
}

int repetitions() {
  static const int count = readRepetitions();
  return count;
}

// The time-stamp counter (TSC cycles: the constant nominal rate, not core cycles).
std::uint64_t timeStamp() {
#if UTF_BENCH_HAS_TSC
  return __rdtsc();
#else
  return 0;
#endif
}

// The benchmark's tensors of a layout and the tables of its rotations (bench_data.h), made once
// per layout and precision, outside the timed loops.
template <typename T>
struct Data {
  std::vector<T> components;
  std::vector<T> tables;
};

// The double full tensors of the file UTF_BENCH_FULL_DOUBLE_TENSORS names, over `components`;
// exits with a message when the file cannot be read whole.
void readFullDoubleTensors(std::vector<double>& components) {
  const char* path = std::getenv("UTF_BENCH_FULL_DOUBLE_TENSORS");
  if (path == nullptr) {
    return;
  }
  std::FILE* file = std::fopen(path, "rb");
  const std::size_t wanted = 6 * kCount;
  const std::size_t read =
      file != nullptr ? std::fread(components.data(), sizeof(double), wanted, file) : 0;
  if (file == nullptr || read != wanted || std::fgetc(file) != EOF) {
    std::fprintf(stderr,
                 "bench_batch: UTF_BENCH_FULL_DOUBLE_TENSORS=%s: expected exactly %zu "
                 "doubles\n",
                 path, wanted);
    std::exit(2);
  }
  std::fclose(file);
}

template <typename T>
Data<T>& dataFor(res_DataTypeEnm type) {
  static Data<T> byType[res_Tensor2dSurface + 1];
  Data<T>& data = byType[type];
  if (data.components.empty()) {
    utf_bench::TensorData<T> made = utf_bench::makeTensorData<T>(type, true);
    data.components = std::move(made.components);
    if constexpr (std::is_same_v<T, double>) {
      if (type == res_Tensor3dFull) {
        readFullDoubleTensors(data.components);
      }
    }
    data.tables.resize(9 * kCount);
    if (utf_is2dTensorType(type)) {
      utf_batchTablesFrom2dRotations(made.rotations.data(), kCount, data.tables.data());
    } else {
      utf_batchTablesFromQuaternions(made.rotations.data(), kCount, data.tables.data());
    }
  }
  return data;
}

// The array every benchmark of a precision writes to, large enough for any of them; its pages
// are touched once, when it is made, so that no pass pays for their first use.
template <typename T>
T* output() {
  static std::vector<T> out(kMostOutPerTensor * kCount, T(0));
  return out.data();
}

// Times `pass` (one pass over the kTensors tensors) and reports the counters per tensor. One
// pass runs first, untimed, so that no timed pass pays for a first use (the engine starts its
// threads on the first call after a change of thread count).
template <typename Pass>
void timePasses(benchmark::State& state, Pass&& pass) {
  pass();
  const std::uint64_t start = timeStamp();
  for (auto _ : state) {
    pass();
    benchmark::ClobberMemory();
  }
  const std::uint64_t end = timeStamp();
  reportPerTensor(state);
#if UTF_BENCH_HAS_TSC
  state.counters["cycles"] =
      static_cast<double>(end - start) /
      (static_cast<double>(state.iterations()) * static_cast<double>(kCount));
#else
  static_cast<void>(start);
  static_cast<void>(end);
#endif
}

// ---- The engine ----------------------------------------------------------------------------

enum class Work { PrincipalValues, PrincipalDirections, Mises, Pressure, OneTable, TablePerTensor };

template <typename T>
void engine(benchmark::State& state, res_DataTypeEnm type, Work work, int threads) {
  Data<T>& data = dataFor<T>(type);
  T* out = output<T>();
  const utf_BatchTensors<T> tensors(data.components.data(), kCount, type, false);
  const utf_BatchTables<T> one = utf_BatchTables<T>::one(data.tables.data());
  const utf_BatchTables<T> perItem = utf_BatchTables<T>::perItem(data.tables.data(), kCount);
  utf_batchSetThreadCount(threads);
  timePasses(state, [&] {
    switch (work) {
    case Work::PrincipalValues:
      utf_batchPrincipalValues(tensors, out);
      break;
    case Work::PrincipalDirections:
      utf_batchPrincipalDirections(tensors, out, out + 3 * kCount);
      break;
    case Work::Mises:
      utf_batchMises(tensors, out);
      break;
    case Work::Pressure:
      utf_batchPressure(tensors, out);
      break;
    case Work::OneTable:
      utf_batchTensorsToNewAxes(tensors, one, out);
      break;
    case Work::TablePerTensor:
      utf_batchTensorsToNewAxes(tensors, perItem, out);
      break;
    }
  });
  utf_batchSetThreadCount(0);
}

// ---- The peers -----------------------------------------------------------------------------

template <typename T>
void eigenValues(benchmark::State& state, res_DataTypeEnm type) {
  const T* first = dataFor<T>(type).components.data();
  const int count = utf_tensorComponentCount(type);
  T* out = output<T>();
  Eigen::SelfAdjointEigenSolver<Eigen::Matrix<T, 3, 3>> solver;
  timePasses(state, [&] {
    for (std::size_t i = 0; i < kCount; ++i) {
      solver.computeDirect(utf_bench::eigenMatrixOf(type, first + i * count),
                           Eigen::EigenvaluesOnly);
      const Eigen::Matrix<T, 3, 1>& values = solver.eigenvalues();
      out[3 * i] = values(0);
      out[3 * i + 1] = values(1);
      out[3 * i + 2] = values(2);
    }
  });
}

template <typename T>
void eigenVectors(benchmark::State& state, res_DataTypeEnm type) {
  const T* first = dataFor<T>(type).components.data();
  const int count = utf_tensorComponentCount(type);
  T* values = output<T>();
  T* vectors = values + 3 * kCount;
  Eigen::SelfAdjointEigenSolver<Eigen::Matrix<T, 3, 3>> solver;
  timePasses(state, [&] {
    for (std::size_t i = 0; i < kCount; ++i) {
      solver.computeDirect(utf_bench::eigenMatrixOf(type, first + i * count),
                           Eigen::ComputeEigenvectors);
      const Eigen::Matrix<T, 3, 1>& v = solver.eigenvalues();
      const Eigen::Matrix<T, 3, 3>& m = solver.eigenvectors();
      values[3 * i] = v(0);
      values[3 * i + 1] = v(1);
      values[3 * i + 2] = v(2);
      for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) {
          vectors[9 * i + 3 * r + c] = m(r, c);
        }
      }
    }
  });
}

template <typename T>
void tensorComputePrincipal(benchmark::State& state, res_DataTypeEnm type) {
  T* first = dataFor<T>(type).components.data();
  const int count = utf_tensorComponentCount(type);
  T* out = output<T>();
  timePasses(state, [&] {
    for (std::size_t i = 0; i < kCount; ++i) {
      const utf_Tensor<T> tensor(type, first + i * count, false);
      tensor.computePrincipal(out[3 * i], out[3 * i + 1], out[3 * i + 2]);
    }
  });
}

template <typename T>
void tensorMises(benchmark::State& state, res_DataTypeEnm type) {
  T* first = dataFor<T>(type).components.data();
  const int count = utf_tensorComponentCount(type);
  T* out = output<T>();
  timePasses(state, [&] {
    for (std::size_t i = 0; i < kCount; ++i) {
      const utf_Tensor<T> tensor(type, first + i * count, false);
      out[i] = tensor.mises();
    }
  });
}

// ---- The memory limits ---------------------------------------------------------------------
//
// Each pass is written for a count of values known at compile time (6, 4 or 3), so that the
// compiler can vectorise it across tensors: the loops are then limited by memory, as a limit
// should be, and not by their own arithmetic. The sums keep every read; the writes go to the
// shared output array, which escapes the loop (benchmark::ClobberMemory after every pass).

// Reads each tensor's values, writes their sum: one value per tensor.
template <typename T, int N>
void oneOutPass(const T* __restrict in, T* __restrict out) {
  for (std::size_t i = 0; i < kCount; ++i) {
    const T* c = in + i * N;
    T sum = c[0];
    for (int k = 1; k < N; ++k) {
      sum += c[k];
    }
    out[i] = sum;
  }
}

// Reads each tensor's values, writes each of them doubled: as many values as it reads.
template <typename T, int N>
void sameOutPass(const T* __restrict in, T* __restrict out) {
  for (std::size_t j = 0; j < N * kCount; ++j) {
    out[j] = in[j] + in[j];
  }
}

// Reads each tensor's values and its 9 table values, writes each tensor value plus the sum of
// its table: as many values as the tensor has.
template <typename T, int N>
void tablePerTensorPass(const T* __restrict in, const T* __restrict tables, T* __restrict out) {
  for (std::size_t i = 0; i < kCount; ++i) {
    const T* a = tables + 9 * i;
    const T sum = ((a[0] + a[1]) + (a[2] + a[3])) + ((a[4] + a[5]) + (a[6] + a[7])) + a[8];
    for (int k = 0; k < N; ++k) {
      out[i * N + k] = in[i * N + k] + sum;
    }
  }
}

enum class Stream { OneOut, SameOut, TablePerTensor };

template <typename T, int N>
void streamPass(Stream stream, const Data<T>& data, T* out) {
  switch (stream) {
  case Stream::OneOut:
    oneOutPass<T, N>(data.components.data(), out);
    break;
  case Stream::SameOut:
    sameOutPass<T, N>(data.components.data(), out);
    break;
  case Stream::TablePerTensor:
    tablePerTensorPass<T, N>(data.components.data(), data.tables.data(), out);
    break;
  }
}

template <typename T>
void memoryLimit(benchmark::State& state, res_DataTypeEnm type, Stream stream) {
  const Data<T>& data = dataFor<T>(type);
  const int count = utf_tensorComponentCount(type);
  T* out = output<T>();
  timePasses(state, [&] {
    if (count == 6) {
      streamPass<T, 6>(stream, data, out);
    } else if (count == 4) {
      streamPass<T, 4>(stream, data, out);
    } else {
      streamPass<T, 3>(stream, data, out);
    }
  });
}

// ---- Registration --------------------------------------------------------------------------

double minimum(const std::vector<double>& values) {
  return values.empty() ? 0.0 : *std::min_element(values.begin(), values.end());
}

template <typename Function, typename... Args>
void add(const std::string& name, Function function, Args... args) {
  benchmark::RegisterBenchmark(name.c_str(), function, args...)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime()
      ->Repetitions(repetitions())
      ->ComputeStatistics("min", minimum)
      ->ReportAggregatesOnly(true);
}

template <typename T>
void registerPrecision(const char* precision) {
  for (const Layout& layout : kLayouts) {
    const std::string suffix = std::string("/") + precision + "/" + layout.name;
    const res_DataTypeEnm type = layout.type;
    add("batch_principalValues" + suffix, engine<T>, type, Work::PrincipalValues, 1);
    add("batch_principalDirections" + suffix, engine<T>, type, Work::PrincipalDirections, 1);
    add("batch_mises" + suffix, engine<T>, type, Work::Mises, 1);
    add("batch_pressure" + suffix, engine<T>, type, Work::Pressure, 1);
    add("batch_toNewAxes_oneTable" + suffix, engine<T>, type, Work::OneTable, 1);
    add("batch_toNewAxes_tablePerTensor" + suffix, engine<T>, type, Work::TablePerTensor, 1);
    add("eigen_values" + suffix, eigenValues<T>, type);
    add("eigen_vectors" + suffix, eigenVectors<T>, type);
    add("tensor_computePrincipal" + suffix, tensorComputePrincipal<T>, type);
    add("tensor_mises" + suffix, tensorMises<T>, type);
    add("stream_oneOut" + suffix, memoryLimit<T>, type, Stream::OneOut);
    add("stream_sameOut" + suffix, memoryLimit<T>, type, Stream::SameOut);
    add("stream_tablePerTensor" + suffix, memoryLimit<T>, type, Stream::TablePerTensor);
  }
}

void registerThreadScaling() {
  for (int threads : {1, 2}) {
    add("scaling_principalValues/double/3d_full/threads_" + std::to_string(threads), engine<double>,
        res_Tensor3dFull, Work::PrincipalValues, threads);
  }
}

} // namespace

int main(int argc, char** argv) {
  // A minimum time of 0.1 s per repetition unless the command line names one.
  std::vector<char*> args(argv, argv + argc);
  std::string minTime = "--benchmark_min_time=0.1";
  const bool namesMinTime = std::any_of(args.begin(), args.end(), [](const char* arg) {
    return std::strncmp(arg, "--benchmark_min_time", 20) == 0;
  });
  if (!namesMinTime) {
    args.insert(args.begin() + 1, minTime.data());
  }
  int count = static_cast<int>(args.size());
  args.push_back(nullptr);

  registerPrecision<float>("float");
  registerPrecision<double>("double");
  registerThreadScaling();
  benchmark::AddCustomContext("simd_target", utf_batchSimdTarget());
  benchmark::Initialize(&count, args.data());
  if (benchmark::ReportUnrecognizedArguments(count, args.data())) {
    return 1;
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
