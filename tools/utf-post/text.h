#ifndef UTF_POST_TEXT_H
#define UTF_POST_TEXT_H

// Numbers and short texts of utf-post: reading a number from a field, writing one in its
// shortest round-trip form, and quoting a field in a one-line message.

#include "options.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace utf_post {

enum class NumberStatus {
  Number,     // read
  Empty,      // nothing but blanks
  NotANumber, // not a decimal number, or more text after it
  OutOfRange, // beyond the largest finite value of the precision
  NotFinite   // nan, inf, infinity
};

// Reads a decimal number (std::from_chars in the given type, so correctly rounded to it): blanks
// (spaces, tabs) around it and a leading '+' are allowed, and the whole text must be the number.
// A value below the smallest of the type reads as the nearest subnormal or zero.
NumberStatus parseNumber(std::string_view text, float& value);
NumberStatus parseNumber(std::string_view text, double& value);

// What a message says about a field that is no number: "expected a number, found \"abc\"".
std::string numberProblem(NumberStatus status, std::string_view text, Precision precision);

// The shortest text that reads back as the same value of the type (std::to_chars), written at
// `buffer` (32 bytes are enough); returns its length. A negative zero is written 0.
std::size_t formatNumber(float value, char* buffer);
std::size_t formatNumber(double value, char* buffer);
// The same as a string (messages, the report).
std::string formatShort(double value);
// `count` numbers in that form, comma-separated, as the command line takes them: "0,0,1".
std::string formatList(const double* values, std::size_t count);
// Names comma-separated, as the command line takes them: "X,Y,Z".
std::string joinNames(const std::vector<std::string>& names);

// A field's text in a message: in double quotes, line ends and other control characters shown
// as \n, \r, \t or \xHH, and cut after 40 characters (with "...") so the message stays one line.
std::string quotedField(std::string_view text);

// The text without blanks (spaces, tabs) at either end.
std::string_view trimBlanks(std::string_view text);

// 1234567 written 1,234,567.
std::string withThousands(long long count);

} // namespace utf_post

#endif
