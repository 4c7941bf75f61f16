// utf-post's reading and writing pieces, in process: the CSV reader (records, fields, quoting,
// line ends, comments, the separator), numbers read and written in each precision, and the text
// of fields in messages. The whole program is tested through its executable in test_utf_post.

#include "csv.h"
#include "io.h"
#include "text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace utf_post;

namespace {

// A source that hands out at most `chunk` bytes per read, so that records straddle refills.
class ChunkedSource : public ByteSource {
public:
  ChunkedSource(std::string bytes, std::size_t chunk) : m_bytes(std::move(bytes)), m_chunk(chunk) {}
  std::size_t read(char* buffer, std::size_t capacity) override {
    std::size_t count = m_bytes.size() - m_position;
    count = count < capacity ? count : capacity;
    count = count < m_chunk ? count : m_chunk;
    m_bytes.copy(buffer, count, m_position);
    m_position += count;
    return count;
  }
  const std::string& name() const override { return m_name; }

private:
  std::string m_bytes;
  std::size_t m_chunk;
  std::size_t m_position = 0;
  std::string m_name = "table.csv";
};

struct ReadRecord {
  CsvRecordKind kind;
  long long line;
  std::string text;
  std::string terminator;
  std::vector<std::string> values;
  std::vector<std::string> raws;
  int problemField;
  bool unterminated;
};

// Every record of `bytes`, read through a small buffer and small reads.
std::vector<ReadRecord> readAll(const std::string& bytes, char separator = 0, std::size_t chunk = 3,
                                std::size_t buffer = 7) {
  ChunkedSource source(bytes, chunk);
  CsvReader reader(source, separator, buffer);
  std::vector<ReadRecord> records;
  CsvRecord record;
  std::string scratch;
  while (reader.next(record)) {
    ReadRecord r{record.kind, record.line, record.text,         std::string(record.terminator),
                 {},          {},          record.problemField, record.unterminated};
    for (std::size_t i = 0; i < record.fields.size(); ++i) {
      r.values.emplace_back(record.value(i, scratch));
      r.raws.emplace_back(record.raw(i));
    }
    records.push_back(r);
  }
  return records;
}

} // namespace

TEST(CsvReader, SplitsPlainRecordsAndCountsLines) {
  const std::vector<ReadRecord> r = readAll("a,b,c\n1,2,3\n");
  ASSERT_EQ(r.size(), 2u);
  EXPECT_EQ(r[0].values, (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_EQ(r[1].values, (std::vector<std::string>{"1", "2", "3"}));
  EXPECT_EQ(r[1].line, 2);
  EXPECT_EQ(r[1].text, "1,2,3");
  EXPECT_EQ(r[1].terminator, "\n");
}

TEST(CsvReader, QuotedFieldHoldsSeparatorsEscapedQuotesAndLineBreaks) {
  const std::string bytes = "id,note\n1,\"a, \"\"b\"\"\nc\"\n2,x\n";
  const std::vector<ReadRecord> r = readAll(bytes);
  ASSERT_EQ(r.size(), 3u);
  EXPECT_EQ(r[1].values, (std::vector<std::string>{"1", "a, \"b\"\nc"}));
  EXPECT_EQ(r[1].raws[1], "\"a, \"\"b\"\"\nc\"");
  EXPECT_EQ(r[1].text, "1,\"a, \"\"b\"\"\nc\"");
  EXPECT_EQ(r[1].line, 2);
  // The record after the two-line record starts on line 4.
  EXPECT_EQ(r[2].line, 4);
  EXPECT_EQ(r[2].values, (std::vector<std::string>{"2", "x"}));
}

TEST(CsvReader, EmptyFieldsAndQuotedEmptyFields) {
  const std::vector<ReadRecord> r = readAll("a,b,c\n,\"\",\n");
  ASSERT_EQ(r.size(), 2u);
  EXPECT_EQ(r[1].values, (std::vector<std::string>{"", "", ""}));
  EXPECT_EQ(r[1].raws, (std::vector<std::string>{"", "\"\"", ""}));
}

TEST(CsvReader, CarriageReturnLineFeedEndsRecords) {
  const std::vector<ReadRecord> r = readAll("a,\"b\"\r\n1,\"2\"\r\n3,4\r\n");
  ASSERT_EQ(r.size(), 3u);
  for (const ReadRecord& record : r) {
    EXPECT_EQ(record.terminator, "\r\n");
    EXPECT_EQ(record.problemField, -1);
  }
  EXPECT_EQ(r[1].values, (std::vector<std::string>{"1", "2"}));
  EXPECT_EQ(r[2].values, (std::vector<std::string>{"3", "4"}));
  EXPECT_EQ(r[2].text, "3,4");
}

TEST(CsvReader, LastLineWithoutLineEnd) {
  const std::vector<ReadRecord> r = readAll("a,b\n1,2");
  ASSERT_EQ(r.size(), 2u);
  EXPECT_EQ(r[1].values, (std::vector<std::string>{"1", "2"}));
  EXPECT_EQ(r[1].terminator, "");
}

TEST(CsvReader, DetectsTheSeparatorFromTheHeader) {
  // The whole header line is looked at, even when it is longer than one read.
  const std::size_t chunk = 3;
  const std::size_t buffer = 64;
  const std::vector<ReadRecord> semicolons = readAll("a;b;\"c,d\"\n1;2;3\n", 0, chunk, buffer);
  ASSERT_EQ(semicolons.size(), 2u);
  EXPECT_EQ(semicolons[0].values, (std::vector<std::string>{"a", "b", "c,d"}));
  EXPECT_EQ(semicolons[1].values, (std::vector<std::string>{"1", "2", "3"}));
  // Separators inside quotes do not count: two semicolons outside against three commas inside.
  const std::vector<ReadRecord> quoted = readAll("\"x,y,z,w\";b;c\n1;2;3\n", 0, chunk, buffer);
  EXPECT_EQ(quoted[0].values, (std::vector<std::string>{"x,y,z,w", "b", "c"}));
  // A tie (none of either) is a comma.
  EXPECT_EQ(readAll("a\n1,2\n", 0, chunk, buffer)[1].values, (std::vector<std::string>{"1", "2"}));
}

TEST(CsvReader, AForcedSeparatorIsUsedAsIs) {
  const std::vector<ReadRecord> r = readAll("a;b\n1;2\n", ',');
  EXPECT_EQ(r[0].values, (std::vector<std::string>{"a;b"}));
  const std::vector<ReadRecord> s = readAll("a,b;c\n", ';');
  EXPECT_EQ(s[0].values, (std::vector<std::string>{"a,b", "c"}));
}

TEST(CsvReader, CommentsAndBlankLinesAreNotRecords) {
  const std::string bytes = "# title, with a comma\n\na,b\n# in between\n\r\n1,2\n";
  const std::vector<ReadRecord> r = readAll(bytes);
  ASSERT_EQ(r.size(), 6u);
  EXPECT_EQ(r[0].kind, CsvRecordKind::Comment);
  EXPECT_EQ(r[0].text, "# title, with a comma");
  EXPECT_EQ(r[1].kind, CsvRecordKind::Blank);
  EXPECT_EQ(r[2].kind, CsvRecordKind::Data);
  EXPECT_EQ(r[2].line, 3);
  EXPECT_EQ(r[3].kind, CsvRecordKind::Comment);
  EXPECT_EQ(r[4].kind, CsvRecordKind::Blank);
  EXPECT_EQ(r[4].terminator, "\r\n");
  EXPECT_EQ(r[5].kind, CsvRecordKind::Data);
  EXPECT_EQ(r[5].line, 6);
}

TEST(CsvReader, AHashInsideAQuotedFieldIsData) {
  const std::vector<ReadRecord> r = readAll("a,b\n\"x\n# not a comment\",2\n");
  ASSERT_EQ(r.size(), 2u);
  EXPECT_EQ(r[1].values[0], "x\n# not a comment");
}

TEST(CsvReader, ByteOrderMarkIsSetAside) {
  ChunkedSource source("\xEF\xBB\xBF# c\nS11,S22\n1,2\n", 2);
  CsvReader reader(source, 0, 5);
  CsvRecord record;
  ASSERT_TRUE(reader.next(record));
  EXPECT_TRUE(reader.byteOrderMark());
  EXPECT_EQ(record.kind, CsvRecordKind::Comment);
  EXPECT_EQ(record.text, "# c");
}

TEST(CsvReader, QuoteInsideAnUnquotedFieldIsKept) {
  const std::vector<ReadRecord> r = readAll("a,b\n12\" bolt,2\n");
  ASSERT_EQ(r.size(), 2u);
  EXPECT_EQ(r[1].values, (std::vector<std::string>{"12\" bolt", "2"}));
  EXPECT_EQ(r[1].problemField, -1);
}

TEST(CsvReader, TextAfterAClosingQuoteIsAProblemOfThatField) {
  const std::vector<ReadRecord> r = readAll("a,b,c\n1,\"x\"y,3\n4,5,6\n");
  ASSERT_EQ(r.size(), 3u);
  EXPECT_EQ(r[1].problemField, 1);
  EXPECT_FALSE(r[1].unterminated);
  // The record still ends at its line end, and the next one is read normally.
  EXPECT_EQ(r[1].values.size(), 3u);
  EXPECT_EQ(r[2].values, (std::vector<std::string>{"4", "5", "6"}));
  EXPECT_EQ(r[2].problemField, -1);
}

TEST(CsvReader, UnterminatedQuotedFieldRunsToTheEnd) {
  const std::vector<ReadRecord> r = readAll("a,b\n1,\"open\n2,3\n");
  ASSERT_EQ(r.size(), 2u);
  EXPECT_TRUE(r[1].unterminated);
  EXPECT_EQ(r[1].problemField, 1);
  EXPECT_EQ(r[1].line, 2);
}

TEST(CsvReader, EmptyInputHasNoRecords) {
  EXPECT_TRUE(readAll("").empty());
}

TEST(CsvReader, BytesConsumedReachesTheInputSize) {
  const std::string bytes = "a,b\n1,2\n3,4\n";
  MemorySource source(bytes, "m");
  CsvReader reader(source, 0, 4);
  CsvRecord record;
  while (reader.next(record)) {
  }
  EXPECT_EQ(reader.bytesConsumed(), static_cast<long long>(bytes.size()));
}

// ---------------------------------------------------------------------------------------------
// Numbers.

TEST(Numbers, ReadsDecimalNumbersWithBlanksAndPlus) {
  double d = 0.0;
  EXPECT_EQ(parseNumber(" 12.5\t", d), NumberStatus::Number);
  EXPECT_EQ(d, 12.5);
  EXPECT_EQ(parseNumber("+1e3", d), NumberStatus::Number);
  EXPECT_EQ(d, 1000.0);
  EXPECT_EQ(parseNumber("-.25", d), NumberStatus::Number);
  EXPECT_EQ(d, -0.25);
  EXPECT_EQ(parseNumber("", d), NumberStatus::Empty);
  EXPECT_EQ(parseNumber("  ", d), NumberStatus::Empty);
  EXPECT_EQ(parseNumber("abc", d), NumberStatus::NotANumber);
  EXPECT_EQ(parseNumber("1.5e", d), NumberStatus::NotANumber);
  EXPECT_EQ(parseNumber("1,5", d), NumberStatus::NotANumber);
  EXPECT_EQ(parseNumber("0x10", d), NumberStatus::NotANumber);
  EXPECT_EQ(parseNumber("+-1", d), NumberStatus::NotANumber);
  EXPECT_EQ(parseNumber("nan", d), NumberStatus::NotFinite);
  EXPECT_EQ(parseNumber("-inf", d), NumberStatus::NotFinite);
  EXPECT_EQ(parseNumber("1e400", d), NumberStatus::OutOfRange);
}

TEST(Numbers, ReadsInThePrecisionOfTheRun) {
  float f = 0.0f;
  double d = 0.0;
  // 0.1 rounded once to each type, not by way of the other.
  EXPECT_EQ(parseNumber("0.1", f), NumberStatus::Number);
  EXPECT_EQ(f, 0.1f);
  EXPECT_EQ(parseNumber("0.1", d), NumberStatus::Number);
  EXPECT_EQ(d, 0.1);
  // Beyond the largest float (3.4028235e38) but not the largest double.
  EXPECT_EQ(parseNumber("1e39", f), NumberStatus::OutOfRange);
  EXPECT_EQ(parseNumber("1e39", d), NumberStatus::Number);
  // Below the smallest float: the nearest value (zero, or the smallest subnormal 1.4e-45).
  EXPECT_EQ(parseNumber("1e-50", f), NumberStatus::Number);
  EXPECT_EQ(f, 0.0f);
  EXPECT_EQ(parseNumber("1.4e-45", f), NumberStatus::Number);
  EXPECT_EQ(f, 1.40129846e-45f);
  EXPECT_EQ(parseNumber("1e-400", d), NumberStatus::Number);
  EXPECT_EQ(d, 0.0);
}

std::string written(double value) {
  char buffer[32];
  return std::string(buffer, formatNumber(value, buffer));
}
std::string written(float value) {
  char buffer[32];
  return std::string(buffer, formatNumber(value, buffer));
}

TEST(Numbers, WritesTheShortestRoundTripForm) {
  EXPECT_EQ(written(0.1), "0.1");
  EXPECT_EQ(written(0.1f), "0.1");
  EXPECT_EQ(written(100.0 / 3.0), "33.333333333333336");
  EXPECT_EQ(written(static_cast<float>(100.0 / 3.0)), "33.333332");
  EXPECT_EQ(written(1e-5), "1e-05");
  EXPECT_EQ(written(300.0), "300");
  EXPECT_EQ(written(-0.0), "0");
  EXPECT_EQ(written(-0.0f), "0");
  EXPECT_EQ(written(3.4028234663852886e38f), "3.4028235e+38");
}

// ---------------------------------------------------------------------------------------------
// Texts of messages.

TEST(MessageText, QuotesAFieldOnOneLine) {
  EXPECT_EQ(quotedField("abc"), "\"abc\"");
  EXPECT_EQ(quotedField("a\nb\r\tc"), "\"a\\nb\\r\\tc\"");
  EXPECT_EQ(quotedField(std::string("x\x01y", 3)), "\"x\\x01y\"");
  EXPECT_EQ(quotedField(std::string(45, 'z')), "\"" + std::string(40, 'z') + "...\"");
}

TEST(MessageText, NumberProblems) {
  EXPECT_EQ(numberProblem(NumberStatus::NotANumber, "abc", Precision::Double),
            "expected a number, found \"abc\"");
  EXPECT_EQ(numberProblem(NumberStatus::Empty, "", Precision::Double),
            "expected a number, found an empty field");
  EXPECT_EQ(numberProblem(NumberStatus::OutOfRange, "1e39", Precision::Float),
            "expected a number within the range of float, found \"1e39\"");
  EXPECT_EQ(numberProblem(NumberStatus::NotFinite, "nan", Precision::Double),
            "expected a finite number, found \"nan\"");
}

TEST(MessageText, ThousandsSeparators) {
  EXPECT_EQ(withThousands(0), "0");
  EXPECT_EQ(withThousands(999), "999");
  EXPECT_EQ(withThousands(1000), "1,000");
  EXPECT_EQ(withThousands(1234567), "1,234,567");
}
