#include "cow_String.h"

cow_String& cow_String::Append(const cow_String& other) {
  // Copy the other handle first: appending a string to itself must read the text it had before.
  const atr_String appended = other.m_text;
  m_text.Append(appended.Text());
  return *this;
}

cow_String& cow_String::Append(const char* text) {
  m_text.Append(text);
  return *this;
}

aio_ostream& operator<<(aio_ostream& out, const cow_String& text) {
  return out.print(text.Text());
}
