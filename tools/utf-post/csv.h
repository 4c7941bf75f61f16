#ifndef UTF_POST_CSV_H
#define UTF_POST_CSV_H

// The CSV reader of utf-post: RFC 4180 records, read one at a time through a fixed buffer.
//
// - A record is a line of fields split by the separator (',' or ';'); a field may be quoted
//   ("..."), and a quoted field may hold separators, line breaks and quotes written twice ("").
// - Lines end with LF or CR LF; the last line may have no end.
// - A line that starts with '#' (at the start of a record, not inside a quoted field) is a
//   comment, and an empty line is blank: neither is a record of the table.
// - A UTF-8 byte order mark at the very start is set aside (and reported by byteOrderMark()).
// - A quote inside an unquoted field is kept as an ordinary character. Anything but a separator
//   or the end of the line after a closing quote makes the record malformed (CsvRecord::problem);
//   a quoted field still open at the end of the input leaves the record unterminated.
//
// Each record keeps its bytes exactly as read (text and terminator), so that it can be written
// back unchanged; a field's value (quotes removed, "" read as ") is decoded only on request.

#include "io.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace utf_post {

// One field: where its bytes lie in the record's text, quotes included.
struct CsvField {
  std::size_t begin;
  std::size_t end;
  bool quoted;
};

enum class CsvRecordKind { Data, Comment, Blank };

struct CsvRecord {
  CsvRecordKind kind = CsvRecordKind::Data;
  // The physical line (counted from 1) on which the record starts.
  long long line = 0;
  // The record's bytes without its line end, and the line end: "\n", "\r\n", or "" for a last
  // line without one.
  std::string text;
  std::string_view terminator;
  // The fields of a data record.
  std::vector<CsvField> fields;
  // Malformed quoting: the field where it was found (from 0) and what was expected there; -1
  // and empty when the record is well formed.
  int problemField = -1;
  std::string problem;
  // A quoted field was still open at the end of the input (the record runs to the end).
  bool unterminated = false;

  // The field's bytes as they stand in the input.
  std::string_view raw(std::size_t field) const {
    return std::string_view(text).substr(fields[field].begin,
                                         fields[field].end - fields[field].begin);
  }
  // The field's value: an unquoted field as it stands; a quoted one without its quotes and with
  // each "" read as ", decoded into `scratch` when it holds an escaped quote.
  std::string_view value(std::size_t field, std::string& scratch) const;
};

class CsvReader {
public:
  // `separator` is ',' or ';', or 0 to take it from the header: the one of the two that occurs
  // more often outside quotes on the first record's line (',' on a tie).
  CsvReader(ByteSource& source, char separator, std::size_t bufferSize = 1 << 20);
  CsvReader(const CsvReader&) = delete;
  CsvReader& operator=(const CsvReader&) = delete;

  // Reads the next record (data, comment or blank line); false at the end of the input.
  bool next(CsvRecord& record);

  // The separator in use (0 until the first data record when it is detected).
  char separator() const { return m_separator; }
  // Whether the input started with a UTF-8 byte order mark (EF BB BF).
  bool byteOrderMark() const { return m_byteOrderMark; }
  // Bytes of the input taken up by the records returned so far (for the progress display).
  long long bytesConsumed() const { return m_bytesRead - static_cast<long long>(m_end - m_pos); }

private:
  // Reads more input after the buffered bytes; false at the end of the input.
  bool refill();
  // Makes at least `count` bytes available from m_pos when the input has them, keeping the
  // unread ones.
  void ensureLookahead(std::size_t count);
  void skipByteOrderMark();
  void detectSeparator();
  // A comment or blank line: its bytes up to the line end.
  void readLine(CsvRecord& record);
  void readData(CsvRecord& record);

  ByteSource& m_source;
  char m_separator;
  std::string m_buffer;
  std::size_t m_pos;
  std::size_t m_end;
  long long m_bytesRead;
  long long m_line;
  bool m_started;
  bool m_byteOrderMark;
};

} // namespace utf_post

#endif
