#ifndef CLS_UID_H
#define CLS_UID_H

// cls_Uid: the identity of a class, a value that can be compared. A default identity names no
// class and equals only another default identity (not even an identity made from ""). Identities
// are made from a class name that lives for the whole program (a literal) and compare by name.

#include "KPTnex.h"

class KPTNEX_EXPORT cls_Uid {
public:
  cls_Uid() noexcept : m_name(nullptr) {}
  explicit cls_Uid(const char* className) noexcept : m_name(className) {}

  // The class name; "" for the default identity.
  const char* Name() const noexcept { return m_name == nullptr ? "" : m_name; }
  bool IsNull() const noexcept { return m_name == nullptr; }

  friend KPTNEX_EXPORT bool operator==(const cls_Uid& a, const cls_Uid& b) noexcept;
  friend bool operator!=(const cls_Uid& a, const cls_Uid& b) noexcept { return !(a == b); }

private:
  const char* m_name;
};

KPTNEX_EXPORT bool operator==(const cls_Uid& a, const cls_Uid& b) noexcept;

#endif
