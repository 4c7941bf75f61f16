#ifndef UTF_ASSERT_H
#define UTF_ASSERT_H

// The library's one assertion mechanism. Every precondition of the library is checked with
// UTF_ASSERT(expression, file, line): the expression is evaluated once, and when it is false a
// nex_AssertException holding the expression's source text is raised through
// nex_Exception::Throw(file, line). `file` names the source as the library reports it (for
// example "include/utf_Quaternion"), `line` is the line it reports.
//
// The text is the stringized expression, so each assertion is written exactly as its text must
// read, blanks included; a condition that always fails is written !"message", and its text then
// begins with an exclamation mark and a double quote.

#include "utf_Export.h"

// Builds the exception (an atr_String of the text, shared into a nex_AssertException) and raises
// it with Throw(file, line).
[[noreturn]] UTF_EXPORT void utf_assertionFailed(const char* expression, const char* file,
                                                 int line);

#define UTF_ASSERT(expression, file, line)                                                         \
  do {                                                                                             \
    if (!(expression)) {                                                                           \
      utf_assertionFailed(#expression, file, line);                                                \
    }                                                                                              \
  } while (false)

#endif
