// utf._utf: the extension module under the Python package utf. Its functions are private: the
// package's modules (utf/*.py) check and convert the caller's arguments and call them.

#include "bindings.h"

#include "utf_Lifecycle.h"

PYBIND11_MODULE(_utf, m) {
  m.doc() = "The extension under the utf package: the batch engine and the value types.";
  // The library is started once, when the package is imported, and stays started for the
  // interpreter's life: values may live until the interpreter's very end, so it is never ended.
  int counter = 0;
  utf_initialize(counter);
  utfRegisterErrors(m);
  utfBindBatch(m);
  utfBindValues(m);
}
