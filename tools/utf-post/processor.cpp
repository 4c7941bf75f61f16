#include "processor.h"

#include "coordinate_system.h"
#include "csv.h"
#include "failure.h"
#include "text.h"

#include "utf_Quat3dBase.h"
#include "utf_Tensor.h"

#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

namespace utf_post {

namespace {

// Rows between two progress reports.
const long long progressInterval = 4096;

// The names of a header's fields (decoded, blanks around them removed).
std::vector<std::string> headerNames(const CsvRecord& header) {
  std::vector<std::string> names;
  std::string scratch;
  for (std::size_t i = 0; i < header.fields.size(); ++i) {
    names.emplace_back(trimBlanks(header.value(i, scratch)));
  }
  return names;
}

std::string listForMessage(const std::vector<std::string>& names) {
  const std::size_t shown = 12;
  std::string list;
  for (std::size_t i = 0; i < names.size() && i < shown; ++i) {
    list += i == 0 ? "" : ", ";
    list += names[i];
  }
  if (names.size() > shown) {
    list += ", ...";
  }
  return list;
}

// The header field holding `name`; a Failure when it has none or more than one.
int findColumn(const std::vector<std::string>& names, const std::string& name,
               const std::string& where) {
  int found = -1;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (names[i] != name) {
      continue;
    }
    if (found >= 0) {
      throw Failure(where + "column " + quotedField(name) +
                    ": expected once in the header, found it as columns " +
                    std::to_string(found + 1) + " and " + std::to_string(i + 1));
    }
    found = static_cast<int>(i);
  }
  if (found < 0) {
    throw Failure(where + "column " + quotedField(name) + ": expected in the header, found only " +
                  listForMessage(names));
  }
  return found;
}

// One run over a table in the precision T.
template <typename T>
class TableRun {
public:
  TableRun(const Options& options, ByteSource& input, ByteSink& output, Diagnostics& diagnostics,
           RowObserver* observer)
      : m_options(options), m_reader(input, options.separator), m_writer(output),
        m_diagnostics(diagnostics), m_observer(observer), m_system(options),
        m_newColumns(newColumnNames(options)), m_values(m_newColumns.size()),
        m_wideValues(m_newColumns.size()), m_input(input) {}

  RunSummary run();

private:
  void readHeader(const CsvRecord& header);
  // Processes a data row; false with the row's problem (after "column ...: ") when it is bad.
  bool processRow(const CsvRecord& record, std::string& problem);
  // The tensor's values on the new axes into m_values.
  void computeValues(T* components);
  // False with the problem when a value in m_values is infinite or NaN.
  bool checkFinite(std::string& problem) const;
  void writeRow(const CsvRecord& record);
  void copyLine(const CsvRecord& record);
  void badRow(const CsvRecord& record, const std::string& problem);
  std::string where(const CsvRecord& record) const {
    return m_input.name() + ":" + std::to_string(record.line) + ": ";
  }
  std::string columnName(std::size_t field) const {
    return field < m_header.size() ? "column " + quotedField(m_header[field])
                                   : "column " + std::to_string(field + 1);
  }
  // Reads field `field` as a number of T; false with the problem.
  bool readNumber(const CsvRecord& record, int field, T& value, std::string& problem);
  std::string_view lineEnd(const CsvRecord& record) const {
    return record.terminator.empty() ? m_defaultLineEnd : record.terminator;
  }

  const Options& m_options;
  CsvReader m_reader;
  BufferedWriter m_writer;
  Diagnostics& m_diagnostics;
  RowObserver* m_observer;
  CoordinateSystem<T> m_system;
  std::vector<std::string> m_newColumns;
  std::vector<T> m_values;
  std::vector<double> m_wideValues;
  ByteSource& m_input;

  std::vector<std::string> m_header;
  std::vector<int> m_tensorFields;
  std::vector<int> m_pointFields;
  std::string_view m_defaultLineEnd = "\n";
  std::string m_scratch;
  RunSummary m_summary;
};

template <typename T>
RunSummary TableRun<T>::run() {
  CsvRecord record;
  bool headerSeen = false;
  bool firstRecord = true;
  while (m_reader.next(record)) {
    if (firstRecord) {
      // The input's byte order mark opens the output, before its first line of any kind: the
      // reader sets it aside as it reads the first record, which may be a comment.
      if (m_reader.byteOrderMark()) {
        m_writer.append("\xEF\xBB\xBF");
      }
      firstRecord = false;
    }
    if (record.kind != CsvRecordKind::Data) {
      copyLine(record);
      continue;
    }
    if (!headerSeen) {
      readHeader(record);
      headerSeen = true;
      continue;
    }
    ++m_summary.rows;
    std::string problem;
    if (processRow(record, problem)) {
      writeRow(record);
    } else {
      badRow(record, problem);
    }
    if (m_summary.rows % progressInterval == 0) {
      m_diagnostics.progress(m_summary.rows, m_reader.bytesConsumed(), m_input.size(), false);
    }
  }
  if (!headerSeen) {
    throw Failure(
        m_input.name() + ": expected a header row, found " +
        (m_reader.bytesConsumed() == 0 ? "an empty input" : "only comments and blank lines"));
  }
  m_writer.flush();
  m_diagnostics.progress(m_summary.rows, m_reader.bytesConsumed(), m_input.size(), true);
  if (m_options.skipBadRows) {
    m_diagnostics.warning(withThousands(m_summary.skipped) + " bad row" +
                          (m_summary.skipped == 1 ? "" : "s") + " skipped of " +
                          withThousands(m_summary.rows));
  }
  return m_summary;
}

template <typename T>
void TableRun<T>::readHeader(const CsvRecord& header) {
  const std::string at = where(header);
  if (header.problemField >= 0) {
    throw Failure(at + "header field " + std::to_string(header.problemField + 1) + ": " +
                  header.problem);
  }
  m_header = headerNames(header);
  for (const std::string& name : tensorColumnsOf(m_options)) {
    m_tensorFields.push_back(findColumn(m_header, name, at));
  }
  if (m_system.needsPoint()) {
    for (const std::string& name : coordinateColumnsOf(m_options)) {
      m_pointFields.push_back(findColumn(m_header, name, at));
    }
  }
  if (!header.terminator.empty()) {
    m_defaultLineEnd = header.terminator;
  }

  m_writer.append(header.text);
  for (const std::string& name : m_newColumns) {
    m_writer.put(m_reader.separator());
    m_writer.append(name);
  }
  m_writer.append(lineEnd(header));
}

template <typename T>
bool TableRun<T>::readNumber(const CsvRecord& record, int field, T& value, std::string& problem) {
  const std::string_view text = record.value(static_cast<std::size_t>(field), m_scratch);
  const NumberStatus status = parseNumber(text, value);
  if (status == NumberStatus::Number) {
    return true;
  }
  const Precision precision = sizeof(T) == sizeof(float) ? Precision::Float : Precision::Double;
  problem =
      columnName(static_cast<std::size_t>(field)) + ": " + numberProblem(status, text, precision);
  return false;
}

template <typename T>
bool TableRun<T>::processRow(const CsvRecord& record, std::string& problem) {
  if (record.problemField >= 0) {
    if (record.unterminated) {
      // The rest of the input went into this record: nothing after it can be trusted.
      throw Failure(where(record) + columnName(static_cast<std::size_t>(record.problemField)) +
                    ": " + record.problem);
    }
    problem = columnName(static_cast<std::size_t>(record.problemField)) + ": " + record.problem;
    return false;
  }
  const std::size_t expected = m_header.size();
  const std::size_t found = record.fields.size();
  if (found != expected) {
    // The first missing column, or the first extra one.
    problem = columnName(found < expected ? found : expected) + ": expected " +
              std::to_string(expected) + " fields as in the header, found " + std::to_string(found);
    return false;
  }

  T components[6] = {T(0), T(0), T(0), T(0), T(0), T(0)};
  for (std::size_t i = 0; i < m_tensorFields.size(); ++i) {
    if (!readNumber(record, m_tensorFields[i], components[i], problem)) {
      return false;
    }
  }
  double point[3] = {0.0, 0.0, 0.0};
  for (std::size_t i = 0; i < m_pointFields.size(); ++i) {
    T coordinate;
    if (!readNumber(record, m_pointFields[i], coordinate, problem)) {
      return false;
    }
    point[i] = static_cast<double>(coordinate);
  }
  std::string systemProblem;
  if (!m_system.apply(components, point, systemProblem)) {
    problem = "columns ";
    for (std::size_t i = 0; i < m_pointFields.size(); ++i) {
      problem +=
          (i == 0 ? "" : ",") + quotedField(m_header[static_cast<std::size_t>(m_pointFields[i])]);
    }
    problem += ": " + systemProblem;
    return false;
  }
  computeValues(components);
  if (!checkFinite(problem)) {
    return false;
  }
  if (m_observer != nullptr) {
    for (std::size_t i = 0; i < m_values.size(); ++i) {
      m_wideValues[i] = static_cast<double>(m_values[i]);
    }
    m_observer->row(m_system.needsPoint() ? point : nullptr, m_wideValues.data(),
                    m_wideValues.size());
  }
  return true;
}

// The principal directions as 13 values: the rotation's quaternion (x, y, z, w) and the rows of
// its table (the principal directions, rows 1 to 3). A 2D layout's in-plane rotation (s, c) is
// written as the 3D quaternion (0, 0, s, c).
template <typename T>
void principalDirectionValues(const utf_Tensor<T>& tensor, T* out) {
  T principal[3];
  T q[4];
  tensor.principalDirections(principal, q);
  T quaternion[4] = {q[0], q[1], q[2], q[3]};
  if (!tensor.is3D()) {
    quaternion[0] = T(0);
    quaternion[1] = T(0);
    quaternion[2] = q[0];
    quaternion[3] = q[1];
  }
  T table[3][3];
  utf_Quat3dBase<T>(quaternion).cosines(table);
  for (int i = 0; i < 4; ++i) {
    out[i] = quaternion[i];
  }
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      out[4 + 3 * i + j] = table[i][j];
    }
  }
}

template <typename T>
void TableRun<T>::computeValues(T* components) {
  // A view over the row's components: nothing is allocated per row.
  const utf_Tensor<T> tensor(m_options.layout, components, m_options.engineeringShear);
  const int count = utf_tensorComponentCount(m_options.layout);
  T* out = m_values.data();
  for (OutputKind output : m_options.outputs) {
    switch (output) {
    case OutputKind::Mises:
      *out++ = tensor.mises();
      break;
    case OutputKind::Pressure:
      *out++ = tensor.pressure();
      break;
    case OutputKind::Tresca:
      *out++ = tensor.tresca();
      break;
    case OutputKind::Inv3:
      *out++ = tensor.inv3();
      break;
    case OutputKind::MaxPrincipal:
      *out++ = tensor.maxPrincipal();
      break;
    case OutputKind::MidPrincipal:
      *out++ = tensor.midPrincipal();
      break;
    case OutputKind::MinPrincipal:
      *out++ = tensor.minPrincipal();
      break;
    case OutputKind::MaxInplane:
      *out++ = tensor.maxInplanePrincipal();
      break;
    case OutputKind::MinInplane:
      *out++ = tensor.minInplanePrincipal();
      break;
    case OutputKind::OutOfPlane:
      *out++ = tensor.outOfPlanePrincipal();
      break;
    case OutputKind::PrincipalDirections:
      principalDirectionValues(tensor, out);
      out += 13;
      break;
    case OutputKind::Components:
      for (int i = 0; i < count; ++i) {
        *out++ = components[i];
      }
      break;
    }
  }
}

// Every input of a row is finite (readNumber refuses the others), so an infinite or NaN value
// here comes from the formulas themselves: squares, products or cubes of components that are
// finite but too large for the precision (beyond about 1e154 in double for Mises, 1e102 for the
// third invariant). Written out, it would pass for a result; it makes the row a bad row instead.
template <typename T>
bool TableRun<T>::checkFinite(std::string& problem) const {
  for (std::size_t i = 0; i < m_values.size(); ++i) {
    const T value = m_values[i];
    if (std::isfinite(value)) {
      continue;
    }
    const char* const found = std::isnan(value) ? "nan" : value > T(0) ? "inf" : "-inf";
    problem = "new column " + quotedField(m_newColumns[i]) + ": expected a finite result, found " +
              found + " (the components are finite but too large for its formula)";
    return false;
  }
  return true;
}

template <typename T>
void TableRun<T>::writeRow(const CsvRecord& record) {
  m_writer.append(record.text);
  const char separator = m_reader.separator();
  char number[32];
  for (const T value : m_values) {
    m_writer.put(separator);
    m_writer.append(number, formatNumber(value, number));
  }
  m_writer.append(lineEnd(record));
  ++m_summary.written;
}

template <typename T>
void TableRun<T>::copyLine(const CsvRecord& record) {
  m_writer.append(record.text);
  m_writer.append(lineEnd(record));
}

template <typename T>
void TableRun<T>::badRow(const CsvRecord& record, const std::string& problem) {
  if (!m_options.skipBadRows) {
    throw Failure(where(record) + problem);
  }
  ++m_summary.skipped;
  if (m_summary.skipped <= m_options.maxWarnings) {
    m_diagnostics.warning(where(record) + problem + " (row skipped)");
  } else if (m_summary.skipped == m_options.maxWarnings + 1) {
    m_diagnostics.warning("more bad rows skipped; only their count is reported");
  }
}

} // namespace

RunSummary processTable(const Options& options, ByteSource& input, ByteSink& output,
                        Diagnostics& diagnostics, RowObserver* observer) {
  if (options.precision == Precision::Float) {
    return TableRun<float>(options, input, output, diagnostics, observer).run();
  }
  return TableRun<double>(options, input, output, diagnostics, observer).run();
}

} // namespace utf_post
