#include "atr_String.h"

#include "KPTmem.h"

#include <climits>
#include <cstring>
#include <functional>
#include <stdexcept>

namespace {

int s_depth = 0;

} // namespace

void atr_initialize(int& /*counter*/) {
  ++s_depth;
}

void atr_finalize(int& /*counter*/) {
  if (s_depth > 0) {
    --s_depth;
  }
}

int atr_initialized() {
  return s_depth;
}

// ---------------------------------------------------------------------------------------------

atr_StringBase::atr_StringBase(const char* text)
    : m_text(nullptr), m_length(0), m_capacity(0), m_count(0) {
  const std::size_t length = text == nullptr ? 0 : std::strlen(text);
  if (length > static_cast<std::size_t>(INT_MAX - 1)) {
    throw std::length_error("atr_StringBase: text longer than 2147483646 characters");
  }
  m_text = static_cast<char*>(mem_Allocate(length + 1));
  if (length != 0) {
    std::memcpy(m_text, text, length);
  }
  m_text[length] = '\0';
  m_length = static_cast<int>(length);
  m_capacity = m_length;
}

atr_StringBase::~atr_StringBase() {
  mem_Free(m_text);
}

atr_StringBase& atr_StringBase::append(const char* text, int length, int start, int count) {
  if (length < 0 || start < 0 || count < 0 || start > length) {
    throw std::out_of_range("atr_StringBase::append: length, start and count must be >= 0 and "
                            "start <= length");
  }
  const int available = length - start;
  const int n = count < available ? count : available;
  if (n == 0) {
    return *this;
  }
  if (n > INT_MAX - 1 - m_length) {
    throw std::length_error("atr_StringBase::append: text longer than 2147483646 characters");
  }
  const int needed = m_length + n;
  const char* source = text + start;
  // The appended text may lie inside this representation's own characters; remember where, so
  // that it can be found again once the characters have moved.
  const std::less_equal<const char*> notAfter;
  const bool inside = notAfter(m_text, source) && notAfter(source, m_text + m_length);
  const std::ptrdiff_t offset = inside ? source - m_text : 0;
  if (needed > m_capacity) {
    // Grow geometrically so that appending one character at a time stays linear.
    long long capacity = 2LL * m_capacity;
    if (capacity < needed) {
      capacity = needed;
    }
    if (capacity > INT_MAX - 1) {
      capacity = INT_MAX - 1;
    }
    char* grown = static_cast<char*>(mem_Allocate(static_cast<std::size_t>(capacity) + 1));
    std::memcpy(grown, m_text, static_cast<std::size_t>(m_length) + 1);
    mem_Free(m_text);
    m_text = grown;
    m_capacity = static_cast<int>(capacity);
    if (inside) {
      source = m_text + offset;
    }
  }
  std::memmove(m_text + m_length, source, static_cast<std::size_t>(n));
  m_length = needed;
  m_text[m_length] = '\0';
  return *this;
}

void atr_StringBase::Delete() {
  delete this;
}

void* atr_StringBase::operator new(std::size_t bytes) {
  return mem_Allocate(bytes);
}

void atr_StringBase::operator delete(void* block) {
  mem_Free(block);
}

// ---------------------------------------------------------------------------------------------

atr_String::atr_String(const char* text) : m_rep(new atr_StringBase(text)) {
  m_rep->m_count = 1;
}

atr_String::atr_String(const atr_String& other) noexcept : m_rep(other.m_rep) {
  if (m_rep != nullptr) {
    ++m_rep->m_count;
  }
}

atr_String& atr_String::operator=(const atr_String& other) noexcept {
  // Take the pointer before release(), which clears m_rep (that is other.m_rep on self-assignment).
  atr_StringBase* const rep = other.m_rep;
  if (rep != nullptr) {
    ++rep->m_count; // first, so that self-assignment keeps the representation alive
  }
  release();
  m_rep = rep;
  return *this;
}

atr_String::~atr_String() {
  release();
}

void atr_String::release() noexcept {
  if (m_rep != nullptr && --m_rep->m_count == 0) {
    m_rep->Delete();
  }
  m_rep = nullptr;
}

const char* atr_String::Text() const {
  return m_rep == nullptr ? "" : m_rep->Text();
}

int atr_String::Length() const {
  return m_rep == nullptr ? 0 : m_rep->Length();
}

int atr_String::UseCount() const {
  return m_rep == nullptr ? 0 : m_rep->m_count;
}

atr_String& atr_String::Append(const char* text) {
  const std::size_t length = text == nullptr ? 0 : std::strlen(text);
  if (length > static_cast<std::size_t>(INT_MAX)) {
    throw std::length_error("atr_String::Append: text longer than 2147483647 characters");
  }
  if (m_rep == nullptr || m_rep->m_count > 1) {
    // Copy on write: take a private representation before changing it.
    atr_String own(Text());
    *this = own;
  }
  m_rep->append(text, static_cast<int>(length), 0, INT_MAX);
  return *this;
}

bool operator==(const atr_String& a, const atr_String& b) {
  return a.Length() == b.Length() &&
         std::memcmp(a.Text(), b.Text(), static_cast<std::size_t>(a.Length())) == 0;
}
