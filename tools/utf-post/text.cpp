#include "text.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <system_error>
#include <vector>

namespace utf_post {

namespace {

// A value that std::from_chars reports out of range: an overflow, or an underflow that strtof /
// strtod round correctly to a subnormal or zero (from_chars leaves those unconverted).
template <typename T>
NumberStatus outOfRange(const char* begin, const char* end, T& value) {
  const std::string copy(begin, end); // strto* needs a terminated text
  char* stop = nullptr;
  T wide;
  if constexpr (sizeof(T) == sizeof(float)) {
    wide = std::strtof(copy.c_str(), &stop);
  } else {
    wide = std::strtod(copy.c_str(), &stop);
  }
  if (std::isinf(wide)) {
    return NumberStatus::OutOfRange;
  }
  value = wide;
  return NumberStatus::Number;
}

template <typename T>
NumberStatus parse(std::string_view text, T& value) {
  text = trimBlanks(text);
  if (text.empty()) {
    return NumberStatus::Empty;
  }
  const char* begin = text.data();
  const char* end = begin + text.size();
  // from_chars takes no '+'; one is allowed before an unsigned number.
  if (*begin == '+' && end - begin > 1 && begin[1] != '-' && begin[1] != '+') {
    ++begin;
  }
  T parsed;
  const std::from_chars_result result = std::from_chars(begin, end, parsed);
  if (result.ec == std::errc::invalid_argument || result.ptr != end) {
    return NumberStatus::NotANumber;
  }
  if (result.ec == std::errc::result_out_of_range) {
    return outOfRange(begin, end, value);
  }
  if (!std::isfinite(parsed)) {
    return NumberStatus::NotFinite;
  }
  value = parsed;
  return NumberStatus::Number;
}

template <typename T>
std::size_t format(T value, char* buffer) {
  // -0 + 0 is +0 in round-to-nearest: a negative zero is written 0.
  const T written = value == T(0) ? T(0) : value;
  const std::to_chars_result result = std::to_chars(buffer, buffer + 32, written);
  return static_cast<std::size_t>(result.ptr - buffer);
}

} // namespace

NumberStatus parseNumber(std::string_view text, float& value) {
  return parse(text, value);
}
NumberStatus parseNumber(std::string_view text, double& value) {
  return parse(text, value);
}

std::string numberProblem(NumberStatus status, std::string_view text, Precision precision) {
  switch (status) {
  case NumberStatus::Empty:
    return "expected a number, found an empty field";
  case NumberStatus::NotANumber:
    return "expected a number, found " + quotedField(text);
  case NumberStatus::OutOfRange:
    return std::string("expected a number within the range of ") + precisionName(precision) +
           ", found " + quotedField(text);
  case NumberStatus::NotFinite:
    return "expected a finite number, found " + quotedField(text);
  case NumberStatus::Number:
    break;
  }
  return "expected a number";
}

std::size_t formatNumber(float value, char* buffer) {
  return format(value, buffer);
}
std::size_t formatNumber(double value, char* buffer) {
  return format(value, buffer);
}

std::string formatShort(double value) {
  char buffer[32];
  return std::string(buffer, formatNumber(value, buffer));
}

std::string formatList(const double* values, std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    text += i == 0 ? "" : ",";
    text += formatShort(values[i]);
  }
  return text;
}

std::string joinNames(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) {
    text += text.empty() ? "" : ",";
    text += name;
  }
  return text;
}

std::string quotedField(std::string_view text) {
  const std::size_t limit = 40;
  std::string result = "\"";
  std::size_t shown = 0;
  for (const char c : text) {
    if (shown == limit) {
      result += "...";
      break;
    }
    ++shown;
    const unsigned char byte = static_cast<unsigned char>(c);
    if (c == '\n') {
      result += "\\n";
    } else if (c == '\r') {
      result += "\\r";
    } else if (c == '\t') {
      result += "\\t";
    } else if (byte < 0x20 || byte == 0x7f) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\x%02X", static_cast<unsigned>(byte));
      result += escaped;
    } else {
      result += c;
    }
  }
  result += "\"";
  return result;
}

std::string_view trimBlanks(std::string_view text) {
  std::size_t begin = 0;
  std::size_t end = text.size();
  while (begin < end && (text[begin] == ' ' || text[begin] == '\t')) {
    ++begin;
  }
  while (end > begin && (text[end - 1] == ' ' || text[end - 1] == '\t')) {
    --end;
  }
  return text.substr(begin, end - begin);
}

std::string withThousands(long long count) {
  const std::string digits = std::to_string(count < 0 ? -count : count);
  std::string result;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && (digits.size() - i) % 3 == 0) {
      result += ',';
    }
    result += digits[i];
  }
  return count < 0 ? "-" + result : result;
}

} // namespace utf_post
