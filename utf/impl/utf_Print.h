#ifndef UTF_PRINT_H
#define UTF_PRINT_H

// The pieces that every text dump of the library is made of: an indentation of blanks, and a
// run of numbers, each widened to double, written in the stream's shortest round-trip form and
// followed by one blank (so a line of numbers ends in a blank).

#include "aio_ostream.h"
#include "cow_String.h"
#include "utf_Export.h"

// `indent` blanks, built by appending the one-blank string " " `indent` times; empty for
// indent <= 0.
UTF_EXPORT cow_String utf_indentation(int indent);

// Writes values[0], ..., values[count - 1], each followed by " ".
template <typename T>
void utf_printEach(aio_ostream& out, const T* values, int count) {
  for (int i = 0; i < count; ++i) {
    out.print_double(static_cast<double>(values[i]));
    out << " ";
  }
}

// The dump of a raw rotation kernel: "Qauternion: " and its `count` values; its rotation vector
// (three values separated by blanks, none after the last); "As transformation matrix:"; and the
// three rows of its direction-cosine table. Every line is flushed.
template <typename T>
void utf_printKernel(aio_ostream& out, int indent, const T* values, int count, const T (&vector)[3],
                     const T (&table)[3][3]) {
  const cow_String blanks = utf_indentation(indent);
  out << blanks << "Qauternion: ";
  utf_printEach(out, values, count);
  out.put('\n');
  out.flush();

  out << blanks << "    "
      << "As Vector: ";
  out.print_double(static_cast<double>(vector[0]));
  out << " ";
  out.print_double(static_cast<double>(vector[1]));
  out << " ";
  out.print_double(static_cast<double>(vector[2]));
  out.put('\n');
  out.flush();

  out << blanks << "    "
      << "As transformation matrix:";
  out.put('\n');
  out.flush();
  for (int i = 0; i < 3; ++i) {
    out << blanks << "        ";
    utf_printEach(out, table[i], 3);
    out.put('\n');
    out.flush();
  }
}

#endif
