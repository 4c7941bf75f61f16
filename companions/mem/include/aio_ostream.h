#ifndef AIO_OSTREAM_H
#define AIO_OSTREAM_H

// aio_ostream: the text output stream of every Print operation. It writes either to a C stream
// that the caller owns, or to an internal buffer that Str() reads back (for reports and tests).

#include "KPTmem.h"

#include <cstdio>
#include <string>

class KPTMEM_EXPORT aio_ostream {
public:
  // Writes to `file`, which the caller keeps open while the stream is used.
  explicit aio_ostream(std::FILE* file);
  // Writes to an internal buffer.
  aio_ostream();

  aio_ostream(const aio_ostream&) = delete;
  aio_ostream& operator=(const aio_ostream&) = delete;

  // Writes the zero-terminated text; a null pointer writes nothing.
  aio_ostream& print(const char* text);
  // Writes the shortest text that reads back as exactly `value`: 0, 1, -0.5, 1e-05, 0.1,
  // 3.4028234663852886e+38; infinities as inf and -inf, and every NaN (whatever its sign) as nan.
  aio_ostream& print_double(double value);
  aio_ostream& put(char c);
  // Flushes the C stream (nothing to do for the buffer).
  aio_ostream& flush();

  // The text written so far in buffer mode; empty in file mode.
  std::string Str() const;
  // True once a write or flush to the C stream has failed.
  bool Failed() const { return m_failed; }

private:
  void write(const char* text, std::size_t length);

  std::FILE* m_file;
  std::string m_buffer;
  bool m_failed = false;
};

KPTMEM_EXPORT aio_ostream& operator<<(aio_ostream& out, const char* text);

#endif
