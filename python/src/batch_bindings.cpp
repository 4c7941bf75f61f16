// The array functions of utf._utf over the batch engine (utf_Batch.h).
//
// The package's Python layer (utf/_arrays.py) has already checked the caller's arguments and
// converted them: every array reaching these functions is C-contiguous, of one of float32 and
// float64 (both the same), two-dimensional (count, values) with the values of one item in a row,
// and every output is a fresh or caller-given writable array of the stated size. The checks here
// repeat the ones whose failure would read or write out of bounds, so that no call, however
// made, can crash the interpreter: they raise ValueError. The engine's own preconditions raise
// its assertion exception (translated in errors.cpp). The GIL is released while the engine runs.

#include "bindings.h"

#include "utf_Batch.h"
#include "utf_Quaternion.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <array>
#include <cstddef>
#include <string>

namespace py = pybind11;

namespace {

using utf_python::Array;
using utf_python::require;

using Point = std::array<double, 3>;

// Rows of a (count, width) array, after checking that it is one: count items of `width` numbers.
template <typename T>
std::size_t rowsOf(const Array<T>& array, py::ssize_t width, const char* name) {
  require(array.ndim() == 2 && array.shape(1) == width, std::string("utf._utf: ") + name +
                                                            ": expected a 2-D array of rows of " +
                                                            std::to_string(width) + " numbers");
  return static_cast<std::size_t>(array.shape(0));
}

// An output of `count` items of `width` numbers: writable and of exactly that size.
template <typename T>
T* outputOf(Array<T>& out, std::size_t count, std::size_t width, const char* name) {
  require(out.writeable(), std::string("utf._utf: ") + name + ": the output is read-only");
  require(static_cast<std::size_t>(out.size()) == count * width,
          std::string("utf._utf: ") + name + ": the output holds " + std::to_string(out.size()) +
              " numbers, expected " + std::to_string(count * width));
  return out.mutable_data();
}

// Numbers a tensor of `layout` and `order` holds, checking both (the engine checks them again).
int valuesOf(int layout, int order) {
  require(layout >= 9 && layout <= 13, "utf._utf: layout must be 9 to 13");
  require(order >= 0 && order <= 3, "utf._utf: order must be 0 to 3");
  if (order == static_cast<int>(utf_BatchOrder::Matrix)) {
    return 9;
  }
  switch (layout) {
  case 9:
    return 6;
  case 10:
  case 12:
    return 4;
  default:
    return 3;
  }
}

// The engine's view of the rows of `tensors`.
template <typename T>
utf_BatchTensors<T> viewOf(const Array<T>& tensors, int layout, int order, bool engineering) {
  const int values = valuesOf(layout, order);
  const std::size_t count = rowsOf(tensors, values, "tensors");
  return utf_BatchTensors<T>(tensors.data(), count, static_cast<res_DataTypeEnm>(layout),
                             engineering, static_cast<utf_BatchOrder>(order));
}

// The tables of a transform: one (a single row of 9) or one per item (count rows).
template <typename T>
utf_BatchTables<T> tablesOf(const Array<T>& tables, std::size_t items) {
  const std::size_t count = rowsOf(tables, 9, "tables");
  require(count == 1 || count == items, "utf._utf: tables: expected 1 table or one per item (" +
                                            std::to_string(items) + "), found " +
                                            std::to_string(count));
  if (count == 1 && items != 1) {
    return utf_BatchTables<T>::one(tables.data());
  }
  return utf_BatchTables<T>::perItem(tables.data(), count);
}

// A query writing `width` numbers per tensor, as engine function `query`.
template <typename T>
using Query = void (*)(const utf_BatchTensors<T>&, T*);

template <typename T>
void runQuery(Query<T> query, std::size_t width, const Array<T>& tensors, int layout, int order,
              bool engineering, Array<T>& out) {
  const utf_BatchTensors<T> view = viewOf(tensors, layout, order, engineering);
  T* target = outputOf(out, view.count(), width, "out");
  py::gil_scoped_release unlocked;
  query(view, target);
}

// Binds `name` for float and double: name(tensors, layout, order, engineering, out).
void bindQuery(py::module_& m, const char* name, Query<float> single, Query<double> dual,
               std::size_t width) {
  m.def(
      name,
      [single, width](const Array<float>& s, int layout, int order, bool eng, Array<float>& out) {
        runQuery(single, width, s, layout, order, eng, out);
      },
      py::arg("tensors").noconvert(), py::arg("layout"), py::arg("order"), py::arg("engineering"),
      py::arg("out").noconvert());
  m.def(
      name,
      [dual, width](const Array<double>& s, int layout, int order, bool eng, Array<double>& out) {
        runQuery(dual, width, s, layout, order, eng, out);
      },
      py::arg("tensors").noconvert(), py::arg("layout"), py::arg("order"), py::arg("engineering"),
      py::arg("out").noconvert());
}

void bindQueries(py::module_& m) {
  bindQuery(m, "mises", &utf_batchMises<float>, &utf_batchMises<double>, 1);
  bindQuery(m, "pressure", &utf_batchPressure<float>, &utf_batchPressure<double>, 1);
  bindQuery(m, "inv3", &utf_batchInv3<float>, &utf_batchInv3<double>, 1);
  bindQuery(m, "tresca", &utf_batchTresca<float>, &utf_batchTresca<double>, 1);
  bindQuery(m, "max_shear", &utf_batchMaxShear<float>, &utf_batchMaxShear<double>, 1);
  bindQuery(m, "signed_mises", &utf_batchSignedMises<float>, &utf_batchSignedMises<double>, 1);
  bindQuery(m, "worst_principal", &utf_batchWorstPrincipal<float>, &utf_batchWorstPrincipal<double>,
            1);
  bindQuery(m, "triaxiality", &utf_batchTriaxiality<float>, &utf_batchTriaxiality<double>, 1);
  bindQuery(m, "lode_angle", &utf_batchLodeAngle<float>, &utf_batchLodeAngle<double>, 1);
  bindQuery(m, "invariants", &utf_batchInvariants<float>, &utf_batchInvariants<double>, 5);
  bindQuery(m, "principal_values", &utf_batchPrincipalValues<float>,
            &utf_batchPrincipalValues<double>, 3);
  bindQuery(m, "inplane_principal_values", &utf_batchInplanePrincipalValues<float>,
            &utf_batchInplanePrincipalValues<double>, 2);
}

template <typename T>
void principalDirections(const Array<T>& tensors, int layout, int order, bool engineering,
                         Array<T>& values, Array<T>& directions) {
  const utf_BatchTensors<T> view = viewOf(tensors, layout, order, engineering);
  T* v = outputOf(values, view.count(), 3, "values");
  T* d = outputOf(directions, view.count(), 9, "directions");
  py::gil_scoped_release unlocked;
  utf_batchPrincipalDirections(view, v, d);
}

// Both senses of the tensor transform: onto the new axes (A S A^T) or back (A^T S A).
template <typename T>
void transformTensors(bool toNewAxes, const Array<T>& tensors, int layout, int order,
                      bool engineering, const Array<T>& tables, Array<T>& out) {
  const utf_BatchTensors<T> view = viewOf(tensors, layout, order, engineering);
  const utf_BatchTables<T> set = tablesOf(tables, view.count());
  T* target = outputOf(out, view.count(), static_cast<std::size_t>(view.values()), "out");
  py::gil_scoped_release unlocked;
  if (toNewAxes) {
    utf_batchTensorsToNewAxes(view, set, target);
  } else {
    utf_batchTensorsToOldAxes(view, set, target);
  }
}

template <typename T>
void transformVectors(bool toNewAxes, const Array<T>& vectors, const Array<T>& tables,
                      Array<T>& out) {
  const std::size_t count = rowsOf(vectors, 3, "vectors");
  const utf_BatchTables<T> set = tablesOf(tables, count);
  T* target = outputOf(out, count, 3, "out");
  py::gil_scoped_release unlocked;
  if (toNewAxes) {
    utf_batchVectorsToNewAxes(vectors.data(), count, set, target);
  } else {
    utf_batchVectorsToOldAxes(vectors.data(), count, set, target);
  }
}

template <typename T>
void tablesFromQuaternions(const Array<T>& quaternions, Array<T>& out) {
  const std::size_t count = rowsOf(quaternions, 4, "quaternions");
  T* target = outputOf(out, count, 9, "out");
  py::gil_scoped_release unlocked;
  utf_batchTablesFromQuaternions(quaternions.data(), count, target);
}

// Cylindrical (or spherical) tables at the points; returns the number of points without a frame.
template <typename T>
std::size_t frameTables(bool spherical, const Array<T>& points, const Point& origin,
                        const Point& axis, Array<T>& out) {
  const std::size_t count = rowsOf(points, 3, "points");
  T* target = outputOf(out, count, 9, "out");
  py::gil_scoped_release unlocked;
  if (spherical) {
    return utf_batchSphericalTables(points.data(), count, origin.data(), axis.data(), target);
  }
  return utf_batchCylindricalTables(points.data(), count, origin.data(), axis.data(), target);
}

// The value type's three-angle rotations (utf_Quaternion<T>(a, b, c)), one per row of angles.
template <typename T>
void quaternionsFromAngles(const Array<T>& angles, Array<T>& out) {
  const std::size_t count = rowsOf(angles, 3, "angles");
  T* target = outputOf(out, count, 4, "out");
  const T* a = angles.data();
  for (std::size_t i = 0; i < count; ++i) {
    const utf_Quaternion<T> q(a[3 * i], a[3 * i + 1], a[3 * i + 2]);
    for (int k = 0; k < 4; ++k) {
      target[4 * i + k] = q.data()[k];
    }
  }
}

void bindTransforms(py::module_& m) {
  for (const bool toNew : {true, false}) {
    const char* tensorName = toNew ? "tensors_to_new_axes" : "tensors_to_old_axes";
    m.def(
        tensorName,
        [toNew](const Array<float>& s, int layout, int order, bool eng, const Array<float>& tables,
                Array<float>& out) { transformTensors(toNew, s, layout, order, eng, tables, out); },
        py::arg("tensors").noconvert(), py::arg("layout"), py::arg("order"), py::arg("engineering"),
        py::arg("tables").noconvert(), py::arg("out").noconvert());
    m.def(
        tensorName,
        [toNew](const Array<double>& s, int layout, int order, bool eng,
                const Array<double>& tables, Array<double>& out) {
          transformTensors(toNew, s, layout, order, eng, tables, out);
        },
        py::arg("tensors").noconvert(), py::arg("layout"), py::arg("order"), py::arg("engineering"),
        py::arg("tables").noconvert(), py::arg("out").noconvert());
    const char* vectorName = toNew ? "vectors_to_new_axes" : "vectors_to_old_axes";
    m.def(
        vectorName,
        [toNew](const Array<float>& v, const Array<float>& tables, Array<float>& out) {
          transformVectors(toNew, v, tables, out);
        },
        py::arg("vectors").noconvert(), py::arg("tables").noconvert(), py::arg("out").noconvert());
    m.def(
        vectorName,
        [toNew](const Array<double>& v, const Array<double>& tables, Array<double>& out) {
          transformVectors(toNew, v, tables, out);
        },
        py::arg("vectors").noconvert(), py::arg("tables").noconvert(), py::arg("out").noconvert());
  }
}

void bindFrames(py::module_& m) {
  m.def("tables_from_quaternions", &tablesFromQuaternions<float>,
        py::arg("quaternions").noconvert(), py::arg("out").noconvert());
  m.def("tables_from_quaternions", &tablesFromQuaternions<double>,
        py::arg("quaternions").noconvert(), py::arg("out").noconvert());
  m.def("quaternions_from_angles", &quaternionsFromAngles<float>, py::arg("angles").noconvert(),
        py::arg("out").noconvert());
  m.def("quaternions_from_angles", &quaternionsFromAngles<double>, py::arg("angles").noconvert(),
        py::arg("out").noconvert());
  for (const bool spherical : {false, true}) {
    const char* name = spherical ? "spherical_tables" : "cylindrical_tables";
    m.def(
        name,
        [spherical](const Array<float>& points, const Point& origin, const Point& axis,
                    Array<float>& out) {
          return frameTables(spherical, points, origin, axis, out);
        },
        py::arg("points").noconvert(), py::arg("origin"), py::arg("axis"),
        py::arg("out").noconvert());
    m.def(
        name,
        [spherical](const Array<double>& points, const Point& origin, const Point& axis,
                    Array<double>& out) {
          return frameTables(spherical, points, origin, axis, out);
        },
        py::arg("points").noconvert(), py::arg("origin"), py::arg("axis"),
        py::arg("out").noconvert());
  }
}

} // namespace

void utfBindBatch(py::module_& m) {
  bindQueries(m);
  m.def("principal_directions", &principalDirections<float>, py::arg("tensors").noconvert(),
        py::arg("layout"), py::arg("order"), py::arg("engineering"), py::arg("values").noconvert(),
        py::arg("directions").noconvert());
  m.def("principal_directions", &principalDirections<double>, py::arg("tensors").noconvert(),
        py::arg("layout"), py::arg("order"), py::arg("engineering"), py::arg("values").noconvert(),
        py::arg("directions").noconvert());
  bindTransforms(m);
  bindFrames(m);
  m.def("set_thread_count", &utf_batchSetThreadCount, py::arg("count"));
  m.def("thread_count", &utf_batchThreadCount);
  m.def("simd_target", &utf_batchSimdTarget);
}
