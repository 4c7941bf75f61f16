// Fuzz target: utf-post's CSV reader and its whole row pipeline (processTable), in memory.
//
// The first four bytes of the input choose the options (optionsFrom, below: layout, outputs,
// change of system, separator, shear convention, precision, skipping of bad rows); the rest is the
// table. A run either succeeds or ends with utf_post::Failure, the documented outcome of bad input;
// anything else (a crash, a sanitizer report, another exception, a broken invariant) is a finding.
//
// Checked on every input:
// - the reader gives the same records whatever its buffer size and however the source splits the
//   bytes (a buffer of a few bytes fed a few bytes at a time, against one that holds the table);
// - after a successful run: rows = written + skipped, none skipped without skipBadRows, one warning
//   per skipped row up to maxWarnings; the output, read back, holds the header with the appended
//   names, one record per written row, each with the header's field count plus the appended
//   columns and well-formed quoting, every comment and blank line of the input, and the input's
//   byte order mark.

#include "fuzz_check.h"

#include "csv.h"
#include "failure.h"
#include "io.h"
#include "options.h"
#include "processor.h"

#include "utf_Lifecycle.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace utf_post;

const std::size_t optionBytes = 4;

// Fixed changes of system for the options to pick from: angles in degrees, direction cosines (row
// by row: identity, a turn of 90 degrees about Z, a turn-over about X, a general rotation), axes.
const double anglePresets[4][3] = {{0, 0, 90}, {30, -45, 60}, {0, 0, 1e-7}, {180, 0, 0}};
const double cosinePresets[4][9] = {
    {1, 0, 0, 0, 1, 0, 0, 0, 1},
    {0, 1, 0, -1, 0, 0, 0, 0, 1},
    {1, 0, 0, 0, -1, 0, 0, 0, -1},
    {2.0 / 3, 2.0 / 3, 1.0 / 3, -2.0 / 3, 1.0 / 3, 2.0 / 3, 1.0 / 3, -2.0 / 3, 2.0 / 3}};
const double axisDirectionPresets[4][3] = {{0, 0, 1}, {0, 1, 0}, {1, 1, 1}, {0, 0, -1}};
const double axisOriginPresets[4][3] = {{0, 0, 0}, {10, 0, 0}, {0, -5, 2}, {1e300, 0, 0}};
const res_DataTypeEnm layouts[5] = {res_Tensor3dFull, res_Tensor3dPlanar, res_Tensor3dSurface,
                                    res_Tensor2dPlanar, res_Tensor2dSurface};
const long maxWarningPresets[4] = {0, 1, 2, 20};

template <std::size_t N>
void copyPreset(const double (&preset)[N], double (&target)[N]) {
  std::copy(preset, preset + N, target);
}

// Byte 0: bits 0-2 the layout, 3-4 the axis origin. Bytes 1 and 2 (bits 0-3): one bit per
// output, in the order of OutputKind (none set: the default). Byte 2, bits 4-5: the system
// (global, angles, cosines, cylindrical), 6-7: its preset. Byte 3: bits 0-1 the separator (auto,
// comma, semicolon, auto), 2 engineering shear, 3 float, 4 skip bad rows, 5-6 the warnings
// reported, 7 the coordinates X,Y rather than the default.
Options optionsFrom(const std::uint8_t* bytes) {
  Options options;
  options.layout = layouts[(bytes[0] & 7u) % 5];
  copyPreset(axisOriginPresets[(bytes[0] >> 3) & 3u], options.axisOrigin);
  const unsigned outputBits = bytes[1] | ((bytes[2] & 15u) << 8);
  if (outputBits != 0) {
    options.outputs.clear();
    for (int kind = 0; kind < 12; ++kind) {
      if ((outputBits >> kind) & 1u) {
        options.outputs.push_back(static_cast<OutputKind>(kind));
      }
    }
  }
  const unsigned preset = (bytes[2] >> 6) & 3u;
  switch ((bytes[2] >> 4) & 3u) {
  case 1:
    options.system = SystemKind::Angles;
    copyPreset(anglePresets[preset], options.angles);
    break;
  case 2:
    options.system = SystemKind::Cosines;
    copyPreset(cosinePresets[preset], options.cosines);
    break;
  case 3:
    options.system = SystemKind::Cylindrical;
    copyPreset(axisDirectionPresets[preset], options.axisDirection);
    break;
  default:
    break;
  }
  const char separators[4] = {0, ',', ';', 0};
  options.separator = separators[bytes[3] & 3u];
  options.engineeringShear = (bytes[3] & 4u) != 0;
  options.precision = (bytes[3] & 8u) != 0 ? Precision::Float : Precision::Double;
  options.skipBadRows = (bytes[3] & 16u) != 0;
  options.maxWarnings = maxWarningPresets[(bytes[3] >> 5) & 3u];
  if ((bytes[3] & 128u) != 0) {
    options.coordinateColumns = {"X", "Y"};
  }
  return options;
}

// A source that hands out its bytes a few at a time, as a pipe may.
class ChunkedSource : public ByteSource {
public:
  ChunkedSource(std::string_view bytes, std::size_t chunk) : m_bytes(bytes), m_chunk(chunk) {}
  std::size_t read(char* buffer, std::size_t capacity) override {
    const std::size_t count = std::min({capacity, m_chunk, m_bytes.size() - m_position});
    std::copy(m_bytes.data() + m_position, m_bytes.data() + m_position + count, buffer);
    m_position += count;
    return count;
  }
  const std::string& name() const override { return m_name; }

private:
  std::string_view m_bytes;
  std::size_t m_chunk;
  std::size_t m_position = 0;
  std::string m_name = "chunked.csv";
};

class StringSink : public ByteSink {
public:
  void write(const char* data, std::size_t count) override { text.append(data, count); }
  std::string text;
};

class CountingDiagnostics : public Diagnostics {
public:
  void warning(const std::string& message) override {
    FUZZ_CHECK(!message.empty());
    ++warnings;
  }
  long long warnings = 0;
};

// A reader whose buffer holds the whole table: it sees the whole header line, as the program's
// 1 MiB buffer does for any input the fuzzer makes.
std::size_t wholeBuffer(std::string_view table) {
  return table.size() + 4;
}

bool sameRecord(const CsvRecord& a, const CsvRecord& b) {
  if (a.kind != b.kind || a.line != b.line || a.text != b.text || a.terminator != b.terminator ||
      a.problemField != b.problemField || a.problem != b.problem ||
      a.unterminated != b.unterminated || a.fields.size() != b.fields.size()) {
    return false;
  }
  for (std::size_t i = 0; i < a.fields.size(); ++i) {
    if (a.fields[i].begin != b.fields[i].begin || a.fields[i].end != b.fields[i].end ||
        a.fields[i].quoted != b.fields[i].quoted) {
      return false;
    }
  }
  return true;
}

// The separator the program takes for `table`: the forced one, or the one detected on the header.
char separatorOf(std::string_view table, char forced) {
  MemorySource source(table, "table.csv");
  CsvReader reader(source, forced, wholeBuffer(table));
  CsvRecord record;
  while (reader.next(record)) {
    if (record.kind == CsvRecordKind::Data) {
      return reader.separator();
    }
  }
  return ',';
}

// The same records through a buffer of `bufferSize` bytes fed `chunk` bytes at a time as through
// one that holds the whole table (the separator forced: its detection looks only as far as the
// buffer reaches, by design).
void checkBufferIndependence(std::string_view table, char separator, std::size_t bufferSize,
                             std::size_t chunk) {
  MemorySource wholeSource(table, "table.csv");
  CsvReader whole(wholeSource, separator, wholeBuffer(table));
  ChunkedSource pieces(table, chunk);
  CsvReader small(pieces, separator, bufferSize);
  CsvRecord a;
  CsvRecord b;
  for (;;) {
    const bool more = whole.next(a);
    FUZZ_CHECK(small.next(b) == more);
    if (!more) {
      break;
    }
    FUZZ_CHECK(sameRecord(a, b));
  }
  FUZZ_CHECK(whole.byteOrderMark() == small.byteOrderMark());
}

struct TableShape {
  bool byteOrderMark = false;
  std::string header;
  std::size_t headerFields = 0;
  long long dataRecords = 0; // the header included
  long long otherLines = 0;  // comments and blank lines
  bool wellFormed = true;    // every data record after the header has `headerFields` fields
};

TableShape shapeOf(std::string_view table, char separator) {
  MemorySource source(table, "table.csv");
  CsvReader reader(source, separator, wholeBuffer(table));
  TableShape shape;
  CsvRecord record;
  while (reader.next(record)) {
    if (record.kind != CsvRecordKind::Data) {
      ++shape.otherLines;
      continue;
    }
    if (shape.dataRecords == 0) {
      shape.header = record.text;
      shape.headerFields = record.fields.size();
    } else if (record.fields.size() != shape.headerFields || record.problemField >= 0) {
      shape.wellFormed = false;
    }
    ++shape.dataRecords;
  }
  shape.byteOrderMark = reader.byteOrderMark();
  return shape;
}

void checkOutput(const Options& options, std::string_view table, const std::string& output,
                 const RunSummary& summary, long long warnings) {
  FUZZ_CHECK(summary.rows == summary.written + summary.skipped);
  if (options.skipBadRows) {
    const long long listed = std::min<long long>(summary.skipped, options.maxWarnings);
    const long long more = summary.skipped > options.maxWarnings ? 1 : 0;
    FUZZ_CHECK(warnings == listed + more + 1); // and the final count
  } else {
    FUZZ_CHECK(summary.skipped == 0);
    FUZZ_CHECK(warnings == 0);
  }

  const char separator = separatorOf(table, options.separator);
  const TableShape in = shapeOf(table, separator);
  const TableShape out = shapeOf(output, separator);
  const std::vector<std::string> names = newColumnNames(options);
  std::string header = in.header;
  for (const std::string& name : names) {
    header += separator;
    header += name;
  }
  FUZZ_CHECK(out.header == header);
  FUZZ_CHECK(out.headerFields == in.headerFields + names.size());
  FUZZ_CHECK(out.dataRecords == 1 + summary.written);
  FUZZ_CHECK(out.wellFormed);
  FUZZ_CHECK(out.otherLines == in.otherLines);
  FUZZ_CHECK(out.byteOrderMark == in.byteOrderMark);
}

void runPipeline(const Options& options, std::string_view table) {
  try {
    validate(options);
  } catch (const Failure& failure) {
    FUZZ_CHECK(failure.what()[0] != '\0');
    return;
  }
  MemorySource input(table, "fuzz.csv");
  StringSink output;
  CountingDiagnostics diagnostics;
  RunSummary summary;
  try {
    summary = processTable(options, input, output, diagnostics);
  } catch (const Failure& failure) {
    FUZZ_CHECK(failure.what()[0] != '\0');
    return;
  }
  checkOutput(options, table, output.text, summary, diagnostics.warnings);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (utf_initialized() == 0) {
    int counter = 0;
    utf_initialize(counter); // once: the library stays started for the whole process
  }
  if (size < optionBytes) {
    return 0;
  }
  const Options options = optionsFrom(data);
  const std::string_view table(reinterpret_cast<const char*>(data) + optionBytes,
                               size - optionBytes);
  // A buffer of 3 to 10 bytes (3: the byte order mark must fit) fed 1 to 8 bytes at a time.
  const std::size_t bufferSize = 3 + (data[0] >> 5);
  const std::size_t chunk = 1 + (data[3] >> 5);
  checkBufferIndependence(table, separatorOf(table, options.separator), bufferSize, chunk);
  runPipeline(options, table);
  return 0;
}
