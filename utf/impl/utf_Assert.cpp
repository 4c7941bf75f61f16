#include "utf_Assert.h"

#include "atr_String.h"
#include "nex_AssertException.h"

void utf_assertionFailed(const char* expression, const char* file, int line) {
  const atr_String text(expression);
  nex_AssertException failure(text);
  failure.Throw(file, line);
}
