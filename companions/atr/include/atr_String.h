#ifndef ATR_STRING_H
#define ATR_STRING_H

// Reference-counted strings.
//
// atr_StringBase is the shared representation: the characters, their length and the number of
// handles that share it. atr_String is the handle: copying a handle shares the representation
// (the count goes up by one), destroying it releases it (the count goes down), and the handle that
// brings the count to 0 calls Delete(), which frees the representation. Appending through a
// handle first takes a private copy when the representation is shared, so other handles never see
// the change. All storage comes from the memory module (mem_Allocate).

#include "KPTatr.h"

#include <cstddef>

class KPTATR_EXPORT atr_StringBase {
public:
  // A representation holding a copy of the zero-terminated `text` (null is the empty text),
  // not yet shared by any handle (count 0).
  explicit atr_StringBase(const char* text);
  ~atr_StringBase();

  atr_StringBase(const atr_StringBase&) = delete;
  atr_StringBase& operator=(const atr_StringBase&) = delete;

  // Appends the characters text[start], ..., text[start + n - 1], n = min(count, length - start):
  // `length` is the length of `text`, so (text, length, 0, 2147483647) appends the whole text.
  // Throws std::out_of_range when length, start or count is negative or start > length.
  atr_StringBase& append(const char* text, int length, int start, int count);

  // Frees this representation; called by the last handle when the count reaches 0.
  void Delete();

  const char* Text() const { return m_text; }
  int Length() const { return m_length; }
  // Number of handles sharing this representation.
  int Count() const { return m_count; }

  static void* operator new(std::size_t bytes);
  static void operator delete(void* block);

private:
  friend class atr_String;

  char* m_text;
  int m_length;
  int m_capacity;
  int m_count;
};

class KPTATR_EXPORT atr_String {
public:
  // The empty string; it has no representation.
  atr_String() noexcept : m_rep(nullptr) {}
  // A new representation holding a copy of `text`.
  explicit atr_String(const char* text);
  // Shares `other`'s representation.
  atr_String(const atr_String& other) noexcept;
  atr_String& operator=(const atr_String& other) noexcept;
  // Releases the representation; the last handle deletes it.
  ~atr_String();

  // The characters, zero-terminated; "" for the empty string.
  const char* Text() const;
  int Length() const;
  // Appends a zero-terminated text (copying the representation first when it is shared). The
  // string then always has a representation of its own, even when the text was empty or null.
  atr_String& Append(const char* text);
  // Number of handles sharing this string's representation (0 for the empty string).
  int UseCount() const;

  friend bool operator==(const atr_String& a, const atr_String& b);
  friend bool operator!=(const atr_String& a, const atr_String& b) { return !(a == b); }

private:
  void release() noexcept;

  atr_StringBase* m_rep;
};

KPTATR_EXPORT bool operator==(const atr_String& a, const atr_String& b);

#endif
