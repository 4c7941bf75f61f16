#include "csv.h"

#include <cstring>

namespace utf_post {

namespace {

const std::string_view lineFeed = "\n";
const std::string_view carriageReturnLineFeed = "\r\n";
const std::string_view carriageReturn = "\r";
const std::string_view noLineEnd = "";

const char* const afterClosingQuote =
    "expected a separator or the end of the line after the closing quote";

} // namespace

std::string_view CsvRecord::value(std::size_t field, std::string& scratch) const {
  const CsvField& f = fields[field];
  if (!f.quoted) {
    return std::string_view(text).substr(f.begin, f.end - f.begin);
  }
  // The content runs from after the opening quote to the closing quote.
  const std::size_t begin = f.begin + 1;
  std::size_t end = f.end;
  const char* content = text.data() + begin;
  const void* quote = std::memchr(content, '"', end - begin);
  if (quote == nullptr) {
    // Only for an unterminated field: no closing quote at all.
    return std::string_view(content, end - begin);
  }
  const std::size_t firstQuote =
      static_cast<std::size_t>(static_cast<const char*>(quote) - content);
  if (begin + firstQuote + 1 == end) {
    // The usual case: the one quote is the closing one.
    return std::string_view(content, firstQuote);
  }
  scratch.clear();
  for (std::size_t i = begin; i < end; ++i) {
    if (text[i] != '"') {
      scratch.push_back(text[i]);
    } else if (i + 1 < end && text[i + 1] == '"') {
      scratch.push_back('"');
      ++i;
    } else {
      break; // the closing quote
    }
  }
  return scratch;
}

// ---------------------------------------------------------------------------------------------

CsvReader::CsvReader(ByteSource& source, char separator, std::size_t bufferSize)
    : m_source(source), m_separator(separator), m_buffer(bufferSize, '\0'), m_pos(0), m_end(0),
      m_bytesRead(0), m_line(1), m_started(false), m_byteOrderMark(false) {}

bool CsvReader::refill() {
  const std::size_t count = m_source.read(m_buffer.data(), m_buffer.size());
  m_pos = 0;
  m_end = count;
  m_bytesRead += static_cast<long long>(count);
  return count > 0;
}

void CsvReader::ensureLookahead(std::size_t count) {
  if (m_end - m_pos >= count) {
    return;
  }
  std::memmove(m_buffer.data(), m_buffer.data() + m_pos, m_end - m_pos);
  m_end -= m_pos;
  m_pos = 0;
  while (m_end < count && m_end < m_buffer.size()) {
    const std::size_t read = m_source.read(m_buffer.data() + m_end, m_buffer.size() - m_end);
    if (read == 0) {
      return;
    }
    m_end += read;
    m_bytesRead += static_cast<long long>(read);
  }
}

void CsvReader::skipByteOrderMark() {
  ensureLookahead(3);
  if (m_end - m_pos >= 3 && std::memcmp(m_buffer.data() + m_pos, "\xEF\xBB\xBF", 3) == 0) {
    m_pos += 3;
    m_byteOrderMark = true;
  }
}

void CsvReader::detectSeparator() {
  // The whole header line, as far as the buffer holds it; quotes are simply toggled.
  ensureLookahead(m_buffer.size());
  long commas = 0;
  long semicolons = 0;
  bool quoted = false;
  for (std::size_t i = m_pos; i < m_end; ++i) {
    const char c = m_buffer[i];
    if (c == '"') {
      quoted = !quoted;
    } else if (!quoted && c == '\n') {
      break;
    } else if (!quoted && c == ',') {
      ++commas;
    } else if (!quoted && c == ';') {
      ++semicolons;
    }
  }
  m_separator = semicolons > commas ? ';' : ',';
}

bool CsvReader::next(CsvRecord& record) {
  record.text.clear();
  record.fields.clear();
  record.problemField = -1;
  record.problem.clear();
  record.unterminated = false;
  if (!m_started) {
    m_started = true;
    skipByteOrderMark();
  }
  if (m_pos == m_end && !refill()) {
    return false;
  }
  record.line = m_line;
  const char first = m_buffer[m_pos];
  if (first == '#') {
    record.kind = CsvRecordKind::Comment;
    readLine(record);
    return true;
  }
  if (first == '\r') {
    ensureLookahead(2);
  }
  if (first == '\n' || (first == '\r' && m_end - m_pos >= 2 && m_buffer[m_pos + 1] == '\n')) {
    record.kind = CsvRecordKind::Blank;
    readLine(record);
    return true;
  }
  record.kind = CsvRecordKind::Data;
  if (m_separator == 0) {
    detectSeparator();
  }
  readData(record);
  return true;
}

void CsvReader::readLine(CsvRecord& record) {
  for (;;) {
    const char* start = m_buffer.data() + m_pos;
    const void* found = std::memchr(start, '\n', m_end - m_pos);
    if (found != nullptr) {
      const std::size_t length = static_cast<std::size_t>(static_cast<const char*>(found) - start);
      record.text.append(start, length);
      m_pos += length + 1;
      ++m_line;
      record.terminator = lineFeed;
      break;
    }
    record.text.append(start, m_end - m_pos);
    m_pos = m_end;
    if (!refill()) {
      record.terminator = noLineEnd;
      return;
    }
  }
  if (!record.text.empty() && record.text.back() == '\r') {
    record.text.pop_back();
    record.terminator = carriageReturnLineFeed;
  }
}

// The RFC 4180 states of one record. The bytes are appended to the record's text a buffer at a
// time; field bounds are offsets into that text.
void CsvReader::readData(CsvRecord& record) {
  enum class State { FieldStart, Unquoted, Quoted, ClosingQuote, ClosingCarriageReturn };
  const char separator = m_separator;
  State state = State::FieldStart;
  std::size_t fieldBegin = 0;
  bool fieldQuoted = false;
  std::size_t chunk = m_pos; // the first buffered byte not yet appended to the text
  std::string& text = record.text;

  auto offsetOf = [&](std::size_t position) { return text.size() + (position - chunk); };
  auto endField = [&](std::size_t end) {
    record.fields.push_back(CsvField{fieldBegin, end, fieldQuoted});
    fieldBegin = end + 1;
    fieldQuoted = false;
    state = State::FieldStart;
  };
  auto markProblem = [&](const char* what) {
    if (record.problemField < 0) {
      record.problemField = static_cast<int>(record.fields.size());
      record.problem = what;
    }
    // The rest of the field is read as unquoted text, up to the next separator or line end.
    state = State::Unquoted;
  };

  for (;;) {
    if (m_pos == m_end) {
      text.append(m_buffer.data() + chunk, m_pos - chunk);
      if (!refill()) {
        break;
      }
      chunk = m_pos;
    }
    const char c = m_buffer[m_pos++];
    bool lineEnd = false;
    switch (state) {
    case State::FieldStart:
      if (c == '"') {
        state = State::Quoted;
        fieldQuoted = true;
      } else if (c == separator) {
        endField(offsetOf(m_pos - 1));
      } else if (c == '\n') {
        lineEnd = true;
      } else {
        state = State::Unquoted;
      }
      break;
    case State::Unquoted:
      // A quote here is an ordinary character.
      if (c == separator) {
        endField(offsetOf(m_pos - 1));
      } else if (c == '\n') {
        lineEnd = true;
      }
      break;
    case State::Quoted:
      if (c == '"') {
        state = State::ClosingQuote;
      } else if (c == '\n') {
        ++m_line;
      }
      break;
    case State::ClosingQuote:
      if (c == '"') {
        state = State::Quoted; // "" stands for one quote
      } else if (c == separator) {
        endField(offsetOf(m_pos - 1));
      } else if (c == '\n') {
        lineEnd = true;
      } else if (c == '\r') {
        state = State::ClosingCarriageReturn;
      } else {
        markProblem(afterClosingQuote);
      }
      break;
    case State::ClosingCarriageReturn:
      if (c == '\n') {
        lineEnd = true;
      } else {
        markProblem(afterClosingQuote);
        if (c == separator) {
          endField(offsetOf(m_pos - 1));
        }
      }
      break;
    }
    if (lineEnd) {
      text.append(m_buffer.data() + chunk, m_pos - 1 - chunk);
      ++m_line;
      record.terminator = lineFeed;
      if (!text.empty() && text.back() == '\r') {
        text.pop_back();
        record.terminator = carriageReturnLineFeed;
      }
      endField(text.size());
      return;
    }
  }

  // The end of the input inside the record: a last line without a line end, or one that ends
  // with a lone carriage return (kept as the record's line end).
  record.terminator = noLineEnd;
  if (state != State::Quoted && !text.empty() && text.back() == '\r') {
    text.pop_back();
    record.terminator = carriageReturn;
  }
  if (state == State::Quoted) {
    record.unterminated = true;
    if (record.problemField < 0) {
      record.problemField = static_cast<int>(record.fields.size());
      record.problem = "expected a closing quote before the end of the input";
    }
  }
  endField(text.size());
}

} // namespace utf_post
