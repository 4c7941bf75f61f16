// Throughput of utf-post's table processing: rows per second over a table of 10,000,000 rows,
// against the time to merely read and write the same CSV.
//
// - read_write: the CSV reader and the buffered writer alone: each record is parsed (fields,
//   quoting, line ends) and its bytes written back, with no number read and nothing computed;
//   the floor of any processing;
// - components: the whole processing with the output `components`: the six stress fields are
//   read as numbers and written back in their shortest form, nothing else computed;
// - mises_max_principal: the processing of `utf-post --outputs mises,max-principal`, in double
//   and in float;
// - mises_max_principal_cylindrical: the same, each row first turned onto its own cylindrical
//   axes (a rotation built and applied per row).
// The counter rows_per_second is the figure to compare; Time is one pass over the table.
//
// The table streams from memory: a header and 10,000,000 rows made by cycling through 10,000
// distinct pre-formatted rows (a point, six stress components from a fixed seed), so that
// neither a disk nor a generator is timed. The output is counted and dropped.
//
// Run: bench_utf_post [--benchmark_filter=REGEX]

#include "csv.h"
#include "io.h"
#include "options.h"
#include "processor.h"

#include "utf_Lifecycle.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace utf_post;

constexpr long long kRows = 10000000;
constexpr int kDistinctRows = 10000;

// The distinct rows, one after the other, each with its line end.
const std::string& rowBlock() {
  static std::string block;
  if (block.empty()) {
    std::mt19937_64 generator(20261122u);
    std::uniform_real_distribution<double> stress(-250.0, 250.0);
    std::uniform_real_distribution<double> coordinate(-100.0, 100.0);
    char line[256];
    for (int i = 0; i < kDistinctRows; ++i) {
      const int length =
          std::snprintf(line, sizeof line, "%d,%.6g,%.6g,%.6g,%.9g,%.9g,%.9g,%.9g,%.9g,%.9g\n",
                        i + 1, coordinate(generator), coordinate(generator), coordinate(generator),
                        stress(generator), stress(generator), stress(generator), stress(generator),
                        stress(generator), stress(generator));
      block.append(line, static_cast<std::size_t>(length));
    }
  }
  return block;
}

// The table: the header, then kRows rows from the block, repeated.
class GeneratedTable : public ByteSource {
public:
  GeneratedTable() : m_block(rowBlock()) {}

  std::size_t read(char* buffer, std::size_t capacity) override {
    std::size_t written = 0;
    while (written < capacity) {
      if (m_headerLeft > 0) {
        written += take(kHeader + (sizeof kHeader - 1 - m_headerLeft), m_headerLeft, buffer,
                        written, capacity);
        continue;
      }
      if (m_blocksLeft == 0) {
        break;
      }
      if (m_blockOffset == m_block.size()) {
        m_blockOffset = 0;
        --m_blocksLeft;
        continue;
      }
      std::size_t left = m_block.size() - m_blockOffset;
      const std::size_t count =
          take(m_block.data() + m_blockOffset, left, buffer, written, capacity);
      m_blockOffset += count;
      written += count;
    }
    return written;
  }
  const std::string& name() const override { return m_name; }

private:
  static constexpr char kHeader[] = "id,X,Y,Z,S11,S22,S33,S12,S13,S23\n";

  // Copies as much of `left` bytes at `from` as fits; reduces `left`.
  static std::size_t take(const char* from, std::size_t& left, char* buffer, std::size_t written,
                          std::size_t capacity) {
    const std::size_t count = left < capacity - written ? left : capacity - written;
    std::memcpy(buffer + written, from, count);
    left -= count;
    return count;
  }

  const std::string& m_block;
  std::size_t m_headerLeft = sizeof kHeader - 1;
  long long m_blocksLeft = kRows / kDistinctRows;
  std::size_t m_blockOffset = 0;
  std::string m_name = "generated.csv";
};

class QuietDiagnostics : public Diagnostics {
public:
  void warning(const std::string&) override {}
};

void reportRows(benchmark::State& state, unsigned long long bytes) {
  state.counters["rows_per_second"] =
      benchmark::Counter(static_cast<double>(kRows), benchmark::Counter::kIsIterationInvariantRate);
  state.counters["output_MB"] = static_cast<double>(bytes) / 1e6;
}

void read_write(benchmark::State& state) {
  unsigned long long bytes = 0;
  for (auto _ : state) {
    GeneratedTable table;
    CountingSink sink;
    {
      CsvReader reader(table, ',');
      BufferedWriter writer(sink);
      CsvRecord record;
      while (reader.next(record)) {
        writer.append(record.text);
        writer.append(record.terminator);
      }
      writer.flush();
    }
    bytes = sink.count();
    benchmark::DoNotOptimize(bytes);
  }
  reportRows(state, bytes);
}

void process(benchmark::State& state, const Options& options) {
  unsigned long long bytes = 0;
  QuietDiagnostics diagnostics;
  for (auto _ : state) {
    GeneratedTable table;
    CountingSink sink;
    const RunSummary summary = processTable(options, table, sink, diagnostics);
    if (summary.written != kRows) {
      state.SkipWithError("not every row was written");
    }
    bytes = sink.count();
  }
  reportRows(state, bytes);
}

Options withOutputs(std::vector<OutputKind> outputs, Precision precision) {
  Options options;
  options.outputs = std::move(outputs);
  options.precision = precision;
  return options;
}

void components(benchmark::State& state) {
  process(state, withOutputs({OutputKind::Components}, Precision::Double));
}

void mises_max_principal_double(benchmark::State& state) {
  process(state, withOutputs({OutputKind::Mises, OutputKind::MaxPrincipal}, Precision::Double));
}

void mises_max_principal_float(benchmark::State& state) {
  process(state, withOutputs({OutputKind::Mises, OutputKind::MaxPrincipal}, Precision::Float));
}

void mises_max_principal_cylindrical(benchmark::State& state) {
  Options options = withOutputs({OutputKind::Mises, OutputKind::MaxPrincipal}, Precision::Double);
  options.system = SystemKind::Cylindrical;
  options.axisDirection[0] = 1.0;
  options.axisDirection[1] = 2.0;
  options.axisDirection[2] = 2.0;
  process(state, options);
}

} // namespace

BENCHMARK(read_write)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();
BENCHMARK(components)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();
BENCHMARK(mises_max_principal_double)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();
BENCHMARK(mises_max_principal_float)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();
BENCHMARK(mises_max_principal_cylindrical)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->UseRealTime();

int main(int argc, char** argv) {
  int counter = 0;
  utf_initialize(counter);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  utf_finalize(counter);
  return 0;
}
