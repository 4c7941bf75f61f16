#ifndef UTF_POST_PROCESSOR_H
#define UTF_POST_PROCESSOR_H

// The table processing of utf-post: one pass over a CSV table, one row at a time.
//
// Each data row's tensor is read from its columns (in the precision of the run), turned onto
// the new axes when the options ask for a change of system, and the chosen outputs are appended
// to the row: the row's own bytes are written back unchanged (quoting, blanks and line end
// included), followed by the separator and the new values in their shortest round-trip form.
// The header gets the new columns' names; comment lines and blank lines are copied through.
//
// A row that cannot be processed (a missing, extra or non-numeric field, malformed quoting, a
// point on a cylinder's axis, finite components whose results are not finite) ends the run with a
// Failure "FILE:LINE: column \"NAME\": expected
// ..., found ...", or, with skipBadRows, is left out of the output with a warning (the first
// maxWarnings of them one by one) and counted; the run then ends with the warning "N bad rows
// skipped of M".

#include "io.h"
#include "options.h"

#include <cstddef>
#include <string>

namespace utf_post {

struct RunSummary {
  // Data rows read (the header not counted), written, and left out as bad.
  long long rows = 0;
  long long written = 0;
  long long skipped = 0;
};

// Messages of a run that are not failures.
class Diagnostics {
public:
  virtual ~Diagnostics() = default;
  // A warning: one line, without the program's name.
  virtual void warning(const std::string& message) = 0;
  // The state of the run, every few thousand rows and once at the end (`done`): rows read so
  // far, input bytes consumed, and the input's size (-1 when unknown).
  virtual void progress(long long rows, long long bytes, long long size, bool done) {
    (void)rows, (void)bytes, (void)size, (void)done;
  }
};

// Sees each written row's numbers (the demo's report).
class RowObserver {
public:
  virtual ~RowObserver() = default;
  // `point`: the row's three coordinates (cylindrical system; null otherwise); `values`: the
  // appended values in their order, widened to double.
  virtual void row(const double* point, const double* values, std::size_t count) = 0;
};

// Processes the whole table from `input` to `output` (flushed at the end). The options must
// pass validate(): the command line checks them once, before it opens the input and the output,
// so that a bad option is reported as such and creates no file; the demo's and the benchmark's
// are fixed. Throws Failure for a rotation that the layout cannot take (CoordinateSystem), a bad
// header, a bad row (unless skipBadRows) and read or write errors.
RunSummary processTable(const Options& options, ByteSource& input, ByteSink& output,
                        Diagnostics& diagnostics, RowObserver* observer = nullptr);

} // namespace utf_post

#endif
