#include "aio_ostream.h"

#include <charconv>
#include <cmath>
#include <cstring>

aio_ostream::aio_ostream(std::FILE* file) : m_file(file) {}

aio_ostream::aio_ostream() : m_file(nullptr) {}

void aio_ostream::write(const char* text, std::size_t length) {
  if (m_file == nullptr) {
    m_buffer.append(text, length);
  } else if (length != 0 && std::fwrite(text, 1, length, m_file) != length) {
    m_failed = true;
  }
}

aio_ostream& aio_ostream::print(const char* text) {
  if (text != nullptr) {
    write(text, std::strlen(text));
  }
  return *this;
}

aio_ostream& aio_ostream::print_double(double value) {
  if (std::isnan(value)) {
    // The sign of a NaN carries no meaning; every NaN prints alike.
    write("nan", 3);
    return *this;
  }
  // std::to_chars without a format gives the shortest representation that round-trips.
  char text[32];
  const std::to_chars_result result = std::to_chars(text, text + sizeof text, value);
  write(text, static_cast<std::size_t>(result.ptr - text));
  return *this;
}

aio_ostream& aio_ostream::put(char c) {
  write(&c, 1);
  return *this;
}

aio_ostream& aio_ostream::flush() {
  if (m_file != nullptr && std::fflush(m_file) != 0) {
    m_failed = true;
  }
  return *this;
}

std::string aio_ostream::Str() const {
  return m_buffer;
}

aio_ostream& operator<<(aio_ostream& out, const char* text) {
  return out.print(text);
}
