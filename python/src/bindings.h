#ifndef UTF_PYTHON_BINDINGS_H
#define UTF_PYTHON_BINDINGS_H

// The parts of the extension module utf._utf, each defined in its own source and called once by
// the module's initialisation (module.cpp).

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <string>

namespace utf_python {

// The arrays the bindings take: C-contiguous numpy arrays of T (the package's Python layer
// converts the caller's arrays to these).
template <typename T>
using Array = pybind11::array_t<T, pybind11::array::c_style>;

// Raises ValueError with `message` unless `condition` holds.
inline void require(bool condition, const std::string& message) {
  if (!condition) {
    throw pybind11::value_error(message);
  }
}

} // namespace utf_python

// The array functions over the batch engine (batch_bindings.cpp).
void utfBindBatch(pybind11::module_& m);

// The value types, utf.values (values_bindings.cpp).
void utfBindValues(pybind11::module_& m);

// The translation of the library's assertion exception (nex_AssertException) into
// utf.PreconditionError, carrying the expression text, the file and the line (errors.cpp).
void utfRegisterErrors(pybind11::module_& m);

#endif
