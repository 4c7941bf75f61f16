// nex_AssertException -> utf.PreconditionError (utf/_errors.py), so that a broken precondition
// of the library reaches Python as a ValueError that still says which assertion failed and where.

#include "bindings.h"

#include "nex_AssertException.h"

namespace py = pybind11;

void utfRegisterErrors(py::module_& m) {
  (void)m;
  py::register_exception_translator([](std::exception_ptr raised) {
    try {
      if (raised) {
        std::rethrow_exception(raised);
      }
    } catch (const nex_AssertException& e) {
      py::object type = py::module_::import("utf._errors").attr("PreconditionError");
      const char* file = e.File() != nullptr ? e.File() : "";
      py::object error = type(e.Expression().Text(), file, e.Line());
      PyErr_SetObject(type.ptr(), error.ptr());
    }
  });
}
