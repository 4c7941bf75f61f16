#ifndef COW_STRING_H
#define COW_STRING_H

// cow_String: a string value with copy-on-write sharing, written to an aio_ostream with <<.

#include "KPTcow.h"
#include "aio_ostream.h"
#include "atr_String.h"

class KPTCOW_EXPORT cow_String {
public:
  cow_String() = default;
  explicit cow_String(const char* text) : m_text(text) {}

  cow_String& Append(const cow_String& other);
  cow_String& Append(const char* text);
  const char* Text() const { return m_text.Text(); }
  int Length() const { return m_text.Length(); }

private:
  atr_String m_text;
};

KPTCOW_EXPORT aio_ostream& operator<<(aio_ostream& out, const cow_String& text);

#endif
