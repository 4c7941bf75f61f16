// The value types under utf._utf.values: utf_Tensor<T>, utf_Quaternion<T> and utf_Vector<T> as
// the classes Tensor32, Tensor64, Quaternion32, Quaternion64, Vector32 and Vector64 (32: float,
// 64: double). Each Python object holds one C++ value that owns its components.
//
// The public module utf.values (utf/values.py) checks and converts the caller's arguments before
// it calls these. The checks here repeat the ones whose failure would read or write beyond a
// value's components, so that no call, however made, crashes the interpreter: they raise
// ValueError. A failed precondition of the library itself raises its assertion exception, which
// errors.cpp translates into utf._errors.PreconditionError.

#include "bindings.h"

#include "aio_ostream.h"
#include "cow_1DArrayList.h"
#include "cow_2DArray.h"
#include "gsl_Matrix.h"
#include "gsl_Vector.h"
#include "res_DataTypeEnm.h"
#include "utf_Quaternion.h"
#include "utf_Tensor.h"
#include "utf_Vector.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <array>
#include <climits>
#include <cstddef>
#include <memory>
#include <string>
#include <tuple>

namespace py = pybind11;

namespace {

using utf_python::Array;

using Axis = std::array<double, 3>;

// Raises ValueError with `message`, prefixed with this module's name, unless `condition` holds.
void require(bool condition, const std::string& message) {
  utf_python::require(condition, "utf._utf.values: " + message);
}

// The numbers of a 1-D array as the list the value constructors copy.
template <typename T>
cow_1DArrayList<T> listOf(const Array<T>& array, const char* name) {
  require(array.ndim() == 1, std::string(name) + ": expected a 1-D array");
  require(array.shape(0) <= INT_MAX, std::string(name) + ": too many numbers");
  const int count = static_cast<int>(array.shape(0));
  cow_1DArrayList<T> list(count);
  const T* data = array.data();
  for (int i = 0; i < count; ++i) {
    list.Append(data[i]);
  }
  return list;
}

// A 2-D array as a table of the same shape, element (i, j) = array[i, j].
template <typename T>
cow_2DArray<T> tableOf(const Array<T>& array, const char* name) {
  require(array.ndim() == 2, std::string(name) + ": expected a 2-D array");
  require(array.shape(0) <= INT_MAX && array.shape(1) <= INT_MAX &&
              array.shape(0) * array.shape(1) <= INT_MAX,
          std::string(name) + ": too many numbers");
  const int rows = static_cast<int>(array.shape(0));
  const int cols = static_cast<int>(array.shape(1));
  cow_2DArray<T> table(rows, cols, T(0));
  if (rows > 0 && cols > 0) {
    T* target = table.Data();
    const T* source = array.data();
    for (std::size_t k = 0; k < static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols);
         ++k) {
      target[k] = source[k];
    }
  }
  return table;
}

// A new 1-D array holding a copy of `count` numbers.
template <typename T>
py::array_t<T> arrayOf(const T* data, int count) {
  py::array_t<T> out(static_cast<py::ssize_t>(count));
  T* target = out.mutable_data();
  for (int i = 0; i < count; ++i) {
    target[i] = data[i];
  }
  return out;
}

// A new (rows, cols) array holding a copy of the table.
template <typename T>
py::array_t<T> arrayOf(const cow_2DArray<T>& table) {
  py::array_t<T> out(
      {static_cast<py::ssize_t>(table.Rows()), static_cast<py::ssize_t>(table.Cols())});
  T* target = out.mutable_data();
  const T* source = table.ConstData();
  const std::size_t count =
      static_cast<std::size_t>(table.Rows()) * static_cast<std::size_t>(table.Cols());
  for (std::size_t k = 0; k < count; ++k) {
    target[k] = source[k];
  }
  return out;
}

// The components of a value as a new array.
template <typename T>
py::array_t<T> componentsOf(const utf_EngineeringData<T>& value) {
  return arrayOf(value.data(), value.size());
}

// What the value's Print writes at `indent`.
template <typename Value>
std::string textOf(const Value& value, int indent) {
  aio_ostream out;
  value.Print(out, indent);
  return out.Str();
}

gsl_Vector vectorOf(const Axis& axis) {
  return gsl_Vector(axis[0], axis[1], axis[2]);
}

// A rotation value whose components are exactly its type's: type 6 with two, type 7 with four.
// Every operation of a rotation reads that many components without looking at the count.
template <typename T>
void requireRotation(const utf_Quaternion<T>& q, const char* name) {
  require((q.type() == res_Rotation2d || q.type() == res_Rotation3d) &&
              q.size() == utf_quaternionComponentCount(q.type()),
          std::string(name) + ": expected a rotation of type 6 with 2 components or of type 7 " +
              "with 4");
}

// The principal values and the rotation's four numbers as two new arrays.
template <typename T>
std::tuple<py::array_t<T>, py::array_t<T>> principalPair(const T (&principal)[3],
                                                         const T (&quaternion)[4]) {
  return std::make_tuple(arrayOf(principal, 3), arrayOf(quaternion, 4));
}

template <typename T>
void bindPrecision(py::module_& m, const std::string& suffix) {
  using Tensor = utf_Tensor<T>;
  using Quaternion = utf_Quaternion<T>;
  using Vector = utf_Vector<T>;
  using TensorPtr = std::unique_ptr<Tensor>;
  using QuaternionPtr = std::unique_ptr<Quaternion>;
  using VectorPtr = std::unique_ptr<Vector>;

  py::class_<Quaternion> quaternion(m, ("Quaternion" + suffix).c_str());
  py::class_<Vector> vector(m, ("Vector" + suffix).c_str());
  py::class_<Tensor> tensor(m, ("Tensor" + suffix).c_str());

  // --- Quaternion ---------------------------------------------------------------------------
  quaternion
      .def(py::init([](int type, const Array<T>& components) {
             require(type == res_Rotation2d || type == res_Rotation3d,
                     "type: expected 6 or 7, found " + std::to_string(type));
             const auto rotation = static_cast<res_DataTypeEnm>(type);
             require(components.ndim() == 1 &&
                         components.shape(0) == utf_quaternionComponentCount(rotation),
                     "components: expected " +
                         std::to_string(utf_quaternionComponentCount(rotation)) +
                         " numbers for type " + std::to_string(type));
             return QuaternionPtr(new Quaternion(rotation, listOf(components, "components")));
           }),
           py::arg("type"), py::arg("components").noconvert())
      .def_static(
          "from_angles", [](T a, T b, T c) { return QuaternionPtr(new Quaternion(a, b, c)); },
          py::arg("a"), py::arg("b"), py::arg("c"))
      .def_static(
          "from_axes",
          [](const Axis& x, const Axis& y) {
            return QuaternionPtr(new Quaternion(vectorOf(x), vectorOf(y)));
          },
          py::arg("x_axis"), py::arg("y_axis"))
      .def_static(
          "from_axes",
          [](const Axis& x, const Axis& y, const Axis& z) {
            return QuaternionPtr(new Quaternion(vectorOf(x), vectorOf(y), vectorOf(z)));
          },
          py::arg("x_axis"), py::arg("y_axis"), py::arg("z_axis"))
      .def_static(
          "from_frame",
          [](int type, const Axis& x, const Axis& y, const Axis& z) {
            gsl_Matrix frame;
            frame.SetRotationVectors(vectorOf(x), vectorOf(y), vectorOf(z));
            return QuaternionPtr(new Quaternion(static_cast<res_DataTypeEnm>(type), frame));
          },
          py::arg("type"), py::arg("x_axis"), py::arg("y_axis"), py::arg("z_axis"))
      .def_static(
          "from_table",
          [](int type, const Array<T>& table) {
            return QuaternionPtr(
                new Quaternion(static_cast<res_DataTypeEnm>(type), tableOf(table, "table")));
          },
          py::arg("type"), py::arg("table").noconvert())
      .def("type", [](const Quaternion& q) { return static_cast<int>(q.type()); })
      .def("components", [](const Quaternion& q) { return componentsOf(q); })
      .def("copy", [](const Quaternion& q) { return QuaternionPtr(new Quaternion(q)); })
      .def("cosines",
           [](const Quaternion& q) {
             requireRotation(q, "self");
             return arrayOf(q.cosines());
           })
      .def(
          "mult",
          [](const Quaternion& q, const Quaternion& rhs) {
            requireRotation(q, "self");
            requireRotation(rhs, "other");
            return QuaternionPtr(new Quaternion(q.mult(rhs)));
          },
          py::arg("other"))
      .def("inverse",
           [](const Quaternion& q) {
             requireRotation(q, "self");
             return QuaternionPtr(new Quaternion(q.inverse()));
           })
      .def("to_vector",
           [](const Quaternion& q) {
             requireRotation(q, "self");
             return VectorPtr(new Vector(q.toVector()));
           })
      .def(
          "project_on",
          [](Quaternion& q, const Quaternion& other, int axis, double tolerance) {
            requireRotation(q, "self");
            requireRotation(other, "other");
            // The kernels read row `axis` of a 3 x 3 table without a check.
            require(axis >= 0 && axis <= 2,
                    "axis: expected 0, 1 or 2, found " + std::to_string(axis));
            return q.projectOn(other, static_cast<unsigned>(axis), tolerance);
          },
          py::arg("other"), py::arg("axis"), py::arg("tolerance"))
      .def(
          "text",
          [](const Quaternion& q, int indent) {
            requireRotation(q, "self");
            return textOf(q, indent);
          },
          py::arg("indent"));

  // --- Vector -------------------------------------------------------------------------------
  // A vector of any count is safe: every operation reads a missing component as 0 and writes
  // only the vector's own.
  vector
      .def(py::init([](const Array<T>& components) {
             return VectorPtr(new Vector(listOf(components, "components")));
           }),
           py::arg("components").noconvert())
      .def("type", [](const Vector& v) { return static_cast<int>(v.type()); })
      .def("components", [](const Vector& v) { return componentsOf(v); })
      .def("copy", [](const Vector& v) { return VectorPtr(new Vector(v)); })
      .def("magnitude", &Vector::magnitude)
      .def(
          "transform",
          [](Vector& v, const Quaternion& q) {
            requireRotation(q, "q");
            v.transform(q);
          },
          py::arg("q"))
      .def(
          "transform_kernel",
          [](Vector& v, const Quaternion& q) {
            requireRotation(q, "q");
            // The kernels are handles over the caller's numbers: give them a copy.
            T values[4] = {q.data()[0], q.data()[1], T(0), T(0)};
            if (q.type() == res_Rotation3d) {
              values[2] = q.data()[2];
              values[3] = q.data()[3];
              v.transform(utf_Quat3dBase<T>(values));
            } else {
              v.transform(utf_Quat2dBase<T>(values));
            }
          },
          py::arg("q"))
      .def(
          "text", [](const Vector& v, int indent) { return textOf(v, indent); }, py::arg("indent"));

  // --- Tensor -------------------------------------------------------------------------------
  // A tensor of any count is safe: it is never read or written beyond its own components.
  tensor
      .def(py::init([](int type, const Array<T>& components, bool engineeringShear) {
             return TensorPtr(new Tensor(static_cast<res_DataTypeEnm>(type),
                                         listOf(components, "components"), engineeringShear));
           }),
           py::arg("type"), py::arg("components").noconvert(), py::arg("engineering_shear"))
      .def("type", [](const Tensor& t) { return static_cast<int>(t.type()); })
      .def("components", [](const Tensor& t) { return componentsOf(t); })
      .def("engineering_shear", &Tensor::engineeringShear)
      .def("copy", [](const Tensor& t) { return TensorPtr(new Tensor(t)); })
      .def("has_out_of_plane_direct", &Tensor::hasOutOfPlaneDirect)
      .def("is_3d", &Tensor::is3D)
      .def("quaternion_type", [](const Tensor& t) { return static_cast<int>(t.QuaternionType()); })
      .def("expand_to_full",
           [](const Tensor& t) {
             TensorPtr result(new Tensor(res_Tensor3dFull, cow_1DArrayList<T>(), false));
             t.expandToFull(*result);
             return result;
           })
      .def(
          "convert_layout",
          [](const Tensor& t, int target) {
            TensorPtr result(new Tensor(res_Tensor3dFull, cow_1DArrayList<T>(), false));
            t.convertLayout(*result, static_cast<res_DataTypeEnm>(target));
            return result;
          },
          py::arg("target"))
      .def("max_principal", &Tensor::maxPrincipal)
      .def("mid_principal", &Tensor::midPrincipal)
      .def("min_principal", &Tensor::minPrincipal)
      .def("max_inplane_principal", &Tensor::maxInplanePrincipal)
      .def("min_inplane_principal", &Tensor::minInplanePrincipal)
      .def("out_of_plane_principal", &Tensor::outOfPlanePrincipal)
      .def("pressure", &Tensor::pressure)
      .def("mises", &Tensor::mises)
      .def("tresca", &Tensor::tresca)
      .def("inv3", &Tensor::inv3)
      .def("compute_principal",
           [](const Tensor& t) {
             T p1 = T(0);
             T p2 = T(0);
             T p3 = T(0);
             t.computePrincipal(p1, p2, p3);
             return std::make_tuple(p1, p2, p3);
           })
      .def(
          "transform",
          [](Tensor& t, const Quaternion& q, bool engineeringShear) {
            requireRotation(q, "q");
            t.transform(q, engineeringShear);
          },
          py::arg("q"), py::arg("engineering_shear"))
      .def(
          "transform_control",
          [](Tensor& t, const Quaternion& q, bool engineeringShear) {
            requireRotation(q, "q");
            t.transformControl(q, engineeringShear);
          },
          py::arg("q"), py::arg("engineering_shear"))
      .def(
          "transform_control_table",
          [](Tensor& t, const Array<T>& table) {
            // The table is read in its upper-left 3 x 3 block; a smaller one would make the
            // table's own bounds check throw std::out_of_range.
            require(table.ndim() == 2 && table.shape(0) >= 3 && table.shape(1) >= 3,
                    "table: expected a 2-D array of at least 3 x 3 numbers");
            t.transformControl(tableOf(table, "table"));
          },
          py::arg("table").noconvert())
      .def("principal_directions",
           [](const Tensor& t) {
             T principal[3] = {T(0), T(0), T(0)};
             T rotation[4] = {T(0), T(0), T(0), T(0)};
             t.principalDirections(principal, rotation);
             return principalPair(principal, rotation);
           })
      .def(
          "principal_directions_relative",
          [](const Tensor& t, const Array<T>& reference) {
            const cow_2DArray<T> table = tableOf(reference, "reference");
            T principal[3] = {T(0), T(0), T(0)};
            T rotation[4] = {T(0), T(0), T(0), T(0)};
            t.principalDirectionsRelative(principal, rotation, table);
            return principalPair(principal, rotation);
          },
          py::arg("reference").noconvert())
      .def(
          "text", [](const Tensor& t, int indent) { return textOf(t, indent); }, py::arg("indent"));
}

} // namespace

void utfBindValues(py::module_& m) {
  py::module_ values = m.def_submodule(
      "values", "The value types for float (Tensor32, ...) and double (Tensor64, ...); the public "
                "classes are those of utf.values.");
  bindPrecision<float>(values, "32");
  bindPrecision<double>(values, "64");
}
