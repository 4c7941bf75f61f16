#ifndef NEX_ASSERTEXCEPTION_H
#define NEX_ASSERTEXCEPTION_H

// nex_AssertException: raised when a precondition does not hold. It carries the text of the
// asserted expression exactly as the raiser gave it, and (through Throw) the source file and line.

#include "nex_Exception.h"

class KPTNEX_EXPORT nex_AssertException : public nex_Exception {
public:
  // Shares `expression` (its reference count goes up by one).
  explicit nex_AssertException(const atr_String& expression) noexcept;

  // The asserted expression's text, as given.
  const atr_String& Expression() const noexcept { return m_expression; }

  atr_String AsString() const override;
  nex_Exception* Copy() const override;
  // "Assertion failed: " followed by the expression.
  atr_String UserReport() const override;
  cls_Uid DynTypeId() const override;
  static cls_Uid TypeId() noexcept;

protected:
  [[noreturn]] void Propagate() const override;

private:
  atr_String m_expression;
};

#endif
