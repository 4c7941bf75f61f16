#ifndef UTF_PYTHON_BINDINGS_H
#define UTF_PYTHON_BINDINGS_H

// The parts of the extension module utf._utf, each defined in its own source and called once by
// the module's initialisation (module.cpp).

#include <pybind11/pybind11.h>

// The array functions over the batch engine (batch_bindings.cpp).
void utfBindBatch(pybind11::module_& m);

// The value types, utf.values (values_bindings.cpp).
void utfBindValues(pybind11::module_& m);

// The translation of the library's assertion exception (nex_AssertException) into
// utf.PreconditionError, carrying the expression text, the file and the line (errors.cpp).
void utfRegisterErrors(pybind11::module_& m);

#endif
