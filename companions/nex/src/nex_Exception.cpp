#include "nex_Exception.h"
#include "nex_AssertException.h"

#include <cstdio>
#include <cstring>
#include <exception>

namespace {

int s_depth = 0;

} // namespace

void nex_initialize(int& /*counter*/) {
  ++s_depth;
}

void nex_finalize(int& /*counter*/) {
  if (s_depth > 0) {
    --s_depth;
  }
}

int nex_initialized() {
  return s_depth;
}

bool operator==(const cls_Uid& a, const cls_Uid& b) noexcept {
  return std::strcmp(a.Name(), b.Name()) == 0 && a.IsNull() == b.IsNull();
}

// ---------------------------------------------------------------------------------------------

nex_Exception::nex_Exception() noexcept : m_file(nullptr), m_what(), m_line(0) {}

nex_Exception::nex_Exception(const nex_Exception& other) noexcept
    : std::exception(other), m_file(other.m_file), m_what(), m_line(other.m_line) {}

nex_Exception& nex_Exception::operator=(const nex_Exception& other) noexcept {
  std::exception::operator=(other);
  m_file = other.m_file;
  m_line = other.m_line;
  m_what = atr_String();
  return *this;
}

nex_Exception::~nex_Exception() = default;

void nex_Exception::Throw(const char* file, int line) {
  m_file = file;
  m_line = line;
  m_what = atr_String(); // a text built before now names no place; build it again when asked
  Propagate();
  // Every Propagate() throws; an override that returned would break the contract of Throw.
  std::terminate();
}

void nex_Exception::Propagate() const {
  throw *this;
}

atr_String nex_Exception::AsString() const {
  return DeveloperReport();
}

nex_Exception* nex_Exception::Copy() const {
  return new nex_Exception(*this);
}

atr_String nex_Exception::UserReport() const {
  return atr_String("An unexpected error occurred.");
}

atr_String nex_Exception::DeveloperReport() const {
  char where[64];
  std::snprintf(where, sizeof where, ":%d: ", m_line);
  atr_String report(m_file == nullptr ? "(unknown)" : m_file);
  report.Append(where);
  report.Append(UserReport().Text());
  return report;
}

cls_Uid nex_Exception::DynTypeId() const {
  return TypeId();
}

cls_Uid nex_Exception::TypeId() noexcept {
  return cls_Uid("nex_Exception");
}

const char* nex_Exception::what() const noexcept {
  try {
    if (m_what.UseCount() == 0) {
      m_what = AsString();
    }
    return m_what.Text();
  } catch (...) {
    return "nex_Exception (no memory for the report)";
  }
}

// ---------------------------------------------------------------------------------------------

nex_AssertException::nex_AssertException(const atr_String& expression) noexcept
    : nex_Exception(), m_expression(expression) {}

atr_String nex_AssertException::AsString() const {
  return DeveloperReport();
}

nex_Exception* nex_AssertException::Copy() const {
  return new nex_AssertException(*this);
}

atr_String nex_AssertException::UserReport() const {
  atr_String report("Assertion failed: ");
  report.Append(m_expression.Text());
  return report;
}

cls_Uid nex_AssertException::DynTypeId() const {
  return TypeId();
}

cls_Uid nex_AssertException::TypeId() noexcept {
  return cls_Uid("nex_AssertException");
}

void nex_AssertException::Propagate() const {
  throw *this;
}
