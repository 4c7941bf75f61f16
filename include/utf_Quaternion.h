#ifndef UTF_QUATERNION_H
#define UTF_QUATERNION_H

// utf_Quaternion<T>: a rotation as an engineering-data value (T = float or double), of data type
// 7 (3D rotation, four components) or 6 (in-plane rotation, two components). The value does the
// value-level work; everything on the raw components is done by a kernel made over its own
// array: utf_Quat3dBase<T> for type 7, utf_Quat2dBase<T> for type 6.
//
// Conventions:
// - Storage: type 7 holds (x, y, z, w) = (sin(t/2) * unit axis, cos(t/2)), vector part first
//   and scalar last; type 6 holds (sin(t/2), cos(t/2)) of a rotation by t about the normal.
// - Meaning: the rotation carries the global axes onto the new axes; the rows of the
//   direction-cosine table that cosines() returns are the new axes in global components.
// - The constructor from a table of direction cosines reads the new axes from the table's
//   columns (the rotation matrix, the transpose of what cosines() returns).
// - Three angles (a, b, c): the value qa (x) qb (x) qc of the elementary rotations about X, Y
//   and Z; applied to a vector it rotates by c about Z first, then by b about Y, then by a
//   about X.
// - Composition: q.mult(p) = q (x) p, which applies p first, then q.
// - toVector: type 7 gives the angle 2 acos(w) in [0, 2 pi] times the unit axis; type 6 gives
//   (0, 0, 2 asin(s)), the angle in [-pi, pi]. The two ranges differ on purpose.
// - Nothing checks or restores unit length.
//
// A data type other than 6 or 7 is allowed where no assertion says otherwise: such a value has
// no kernel, its table is empty, and the queries give the fallbacks documented at each of them.
// Failed preconditions raise nex_AssertException with the source "include/utf_Quaternion" and
// the lines of utf_QuaternionAssertLine.

#include "aio_ostream.h"
#include "cow_1DArrayList.h"
#include "cow_2DArray.h"
#include "cow_String.h"
#include "gsl_Matrix.h"
#include "gsl_Vector.h"
#include "res_DataTypeEnm.h"
#include "utf_Assert.h"
#include "utf_EngineeringData.h"
#include "utf_Export.h"
#include "utf_Print.h"
#include "utf_Quat2dBase.h"
#include "utf_Quat3dBase.h"

#include <cmath>

template <typename T>
class utf_Vector;

// The line numbers that utf_Quaternion<T> reports with its assertions, one per check (source
// "include/utf_Quaternion").
struct utf_QuaternionAssertLine {
  // Constructor from a rotation matrix, type neither 6 nor 7: "!\"Unknown quaternion type\"".
  static constexpr int matrixUnknownType = 201;
  // Constructor from a table, type 7, table not 3 x 3: "c.Rows() == 3 && c.Cols() == 3".
  static constexpr int table3dShape = 202;
  // Constructor from a table, type 6, neither 2 nor 3 rows: "c.Rows()==2 || c.Rows()==3".
  static constexpr int table2dRows = 203;
  // Constructor from a table, type 6, two rows but not two columns: "c.Cols() == 2".
  static constexpr int table2dTwoColumns = 204;
  // Constructor from a table, type 6, three rows but not three columns: "c.Cols() == 3".
  static constexpr int table2dThreeColumns = 205;
  // Constructor from a table, type neither 6 nor 7: "!\"Unknown quaternion type\"".
  static constexpr int tableUnknownType = 206;
  // mult of two rotations of different types: "utf_EngineeringData<T>::type() == rhs.type()".
  static constexpr int multType = 207;
};

template <typename T>
class UTF_EXPORT utf_Quaternion : public utf_EngineeringData<T> {
public:
  // As many components as the list holds, copied (the count is not compared with the type).
  utf_Quaternion(res_DataTypeEnm type, const cow_1DArrayList<T>& list);
  // componentCount(type) components copied from `array`.
  utf_Quaternion(res_DataTypeEnm type, const T* array);
  // A view of the caller's componentCount(type) components: nothing is copied, and the array
  // must outlive the value.
  utf_Quaternion(res_DataTypeEnm type, T* array);
  // Type 7 from three angles in radians: qa (x) qb (x) qc, which rotates by c about Z, then by b
  // about Y, then by a about X. The half angles are formed in double (rounded once for float),
  // their sine and cosine in T.
  utf_Quaternion(T a, T b, T c);
  // Type 6 from the new X and Y axes (utf_Quat2dBase<T>::set).
  utf_Quaternion(const gsl_Vector& u, const gsl_Vector& v);
  // Type 7 from the three new axes (utf_Quat3dBase<T>::set, which repairs a left-handed frame).
  utf_Quaternion(const gsl_Vector& u, const gsl_Vector& v, const gsl_Vector& n);
  // Type 6 or 7 from the matrix's new axes; another type fails "!\"Unknown quaternion type\"".
  utf_Quaternion(res_DataTypeEnm type, const gsl_Matrix& m);
  // From a table whose columns are the new axes, read as c(i, j) = row i, column j:
  // - type 7: the table must be 3 x 3 ("c.Rows() == 3 && c.Cols() == 3"); its three columns are
  //   the new X, Y and Z axes;
  // - type 6: the table must be 2 x 2 or 3 x 3 ("c.Rows()==2 || c.Rows()==3", then "c.Cols() ==
  //   2" or "c.Cols() == 3"); only its upper-left 2 x 2 block is read, its columns being the new
  //   X and Y axes;
  // - another type fails "!\"Unknown quaternion type\"".
  utf_Quaternion(res_DataTypeEnm type, const cow_2DArray<T>& c);

  // A new owning copy, of class utf_Quaternion<T>; the caller owns it.
  utf_EngineeringData<T>* Copy() const override;

  // Components of a rotation type: 6 gives 2, 7 gives 4, another type 0.
  static int componentCount(res_DataTypeEnm type) { return utf_quaternionComponentCount(type); }

  // The kernel's direction-cosine table into the caller's 3 x 3 table: for type 6 that is the 2D
  // kernel's table (second row zeros, c[2][0] and c[2][1] not written); for another type nothing
  // is written.
  void cosines(T (*c)[3]) const;
  // The direction-cosine table as a new 3 x 3 table, rows the new axes:
  // - type 7: the 3D kernel's numbers;
  // - type 6: the full in-plane table (cos t, sin t, 0 / -sin t, cos t, 0 / 0, 0, 1), with
  //   cos t = 1 - 2s^2 and sin t = 2cs (products in T, the factor 2 and the subtraction in
  //   double, rounded once); unlike the 2D kernel's own table;
  // - another type: the empty 0 x 0 table.
  cow_2DArray<T> cosines() const;
  // this (x) rhs: rhs applied first, then this rotation. Both must have the same type
  // ("utf_EngineeringData<T>::type() == rhs.type()"); another type (the same on both sides)
  // gives an empty quaternion of that type.
  utf_Quaternion mult(const utf_Quaternion& rhs) const;
  // The conjugate (-x, -y, -z, w), or (-s, c) for type 6; another type gives an empty value.
  utf_Quaternion inverse() const;
  // The rotation vector, an owning three-component vector: angle times unit axis (type 7),
  // (0, 0, 2 asin(s)) (type 6), (0, 0, 0) for another type.
  utf_Vector<T> toVector() const;
  // Re-aligns this rotation so that its Z axis is the third column of `other`'s kernel table
  // (normalised): this value's kernel projects row `axis` of its own table onto the plane normal
  // to it (utf_Quat3dBase<T>::projectOn, utf_Quat2dBase<T>::projectOn) and returns whether it
  // did. A value of another type is left alone and the result is true.
  bool projectOn(const utf_Quaternion& other, unsigned axis, double tolerance);
  // Writes `indent` blanks, "Qauternion: " and each component followed by one blank, a newline;
  // the rotation vector's Print at indent + 4; `indent` + 4 blanks and "As transformation
  // matrix:", a newline; then each row of cosines() at indent + 8, each entry followed by one
  // blank. Every line is flushed.
  void Print(aio_ostream& out, int indent) const;

protected:
  // Type as given, no components.
  explicit utf_Quaternion(res_DataTypeEnm type);
};

#include "utf_Vector.h"

// ---------------------------------------------------------------------------------------------

template <typename T>
utf_Quaternion<T>::utf_Quaternion(res_DataTypeEnm type) : utf_EngineeringData<T>(type, 0, false) {}

template <typename T>
utf_Quaternion<T>::utf_Quaternion(res_DataTypeEnm type, const cow_1DArrayList<T>& list)
    : utf_EngineeringData<T>(type, list, false) {}

template <typename T>
utf_Quaternion<T>::utf_Quaternion(res_DataTypeEnm type, const T* array)
    : utf_EngineeringData<T>(type, array, componentCount(type), false) {}

template <typename T>
utf_Quaternion<T>::utf_Quaternion(res_DataTypeEnm type, T* array)
    : utf_EngineeringData<T>(type, array, componentCount(type), false) {}

template <typename T>
utf_Quaternion<T>::utf_Quaternion(T a, T b, T c)
    : utf_EngineeringData<T>(res_Rotation3d, 4, false) {
  const T halfA = static_cast<T>(static_cast<double>(a) / 2.0);
  const T halfB = static_cast<T>(static_cast<double>(b) / 2.0);
  const T halfC = static_cast<T>(static_cast<double>(c) / 2.0);
  // Sine and cosine in T: single precision for float.
  T qa[4] = {std::sin(halfA), T(0), T(0), std::cos(halfA)};
  T qb[4] = {T(0), std::sin(halfB), T(0), std::cos(halfB)};
  T qc[4] = {T(0), T(0), std::sin(halfC), std::cos(halfC)};
  T p[4];
  utf_Quat3dBase<T>(qa).mult(qb, p);
  utf_Quat3dBase<T>(p).mult(qc, this->m_data);
}

template <typename T>
utf_Quaternion<T>::utf_Quaternion(const gsl_Vector& u, const gsl_Vector& v)
    : utf_EngineeringData<T>(res_Rotation2d, 2, false) {
  utf_Quat2dBase<T>(this->m_data).set(u, v);
}

template <typename T>
utf_Quaternion<T>::utf_Quaternion(const gsl_Vector& u, const gsl_Vector& v, const gsl_Vector& n)
    : utf_EngineeringData<T>(res_Rotation3d, 4, false) {
  utf_Quat3dBase<T>(this->m_data).set(u, v, n);
}

template <typename T>
utf_Quaternion<T>::utf_Quaternion(res_DataTypeEnm type, const gsl_Matrix& m)
    : utf_EngineeringData<T>(type, 0, false) {
  switch (type) {
  case res_Rotation2d:
    this->m_data = this->allocateComponents(2);
    this->m_size = 2;
    utf_Quat2dBase<T>(this->m_data).set(m);
    break;
  case res_Rotation3d:
    this->m_data = this->allocateComponents(4);
    this->m_size = 4;
    utf_Quat3dBase<T>(this->m_data).set(m);
    break;
  default:
    // clang-format off
    UTF_ASSERT(!"Unknown quaternion type", "include/utf_Quaternion", utf_QuaternionAssertLine::matrixUnknownType);
    // clang-format on
    break;
  }
}

template <typename T>
utf_Quaternion<T>::utf_Quaternion(res_DataTypeEnm type, const cow_2DArray<T>& c)
    : utf_EngineeringData<T>(type, 0, false) {
  gsl_Matrix m;
  switch (type) {
  case res_Rotation3d: {
    // clang-format off
    UTF_ASSERT(c.Rows() == 3 && c.Cols() == 3, "include/utf_Quaternion", utf_QuaternionAssertLine::table3dShape);
    // clang-format on
    const gsl_Vector u(static_cast<double>(c.ConstGet(0, 0)), static_cast<double>(c.ConstGet(1, 0)),
                       static_cast<double>(c.ConstGet(2, 0)));
    const gsl_Vector v(static_cast<double>(c.ConstGet(0, 1)), static_cast<double>(c.ConstGet(1, 1)),
                       static_cast<double>(c.ConstGet(2, 1)));
    const gsl_Vector n(static_cast<double>(c.ConstGet(0, 2)), static_cast<double>(c.ConstGet(1, 2)),
                       static_cast<double>(c.ConstGet(2, 2)));
    m.SetRotationVectors(u, v, n);
    break;
  }
  case res_Rotation2d: {
    // clang-format off
    UTF_ASSERT(c.Rows()==2 || c.Rows()==3, "include/utf_Quaternion", utf_QuaternionAssertLine::table2dRows);
    if (c.Rows() == 2) {
      UTF_ASSERT(c.Cols() == 2, "include/utf_Quaternion", utf_QuaternionAssertLine::table2dTwoColumns);
    } else {
      UTF_ASSERT(c.Cols() == 3, "include/utf_Quaternion", utf_QuaternionAssertLine::table2dThreeColumns);
    }
    // clang-format on
    // Only the upper-left 2 x 2 block: the in-plane axes.
    const gsl_Vector u(static_cast<double>(c.ConstGet(0, 0)), static_cast<double>(c.ConstGet(1, 0)),
                       0.0);
    const gsl_Vector v(static_cast<double>(c.ConstGet(0, 1)), static_cast<double>(c.ConstGet(1, 1)),
                       0.0);
    const gsl_Vector n;
    m.SetRotationVectors(u, v, n);
    break;
  }
  default:
    // clang-format off
    UTF_ASSERT(!"Unknown quaternion type", "include/utf_Quaternion", utf_QuaternionAssertLine::tableUnknownType);
    // clang-format on
    break;
  }
  const utf_Quaternion rotation(type, m);
  this->setData(rotation.data(), rotation.size());
}

template <typename T>
utf_EngineeringData<T>* utf_Quaternion<T>::Copy() const {
  return new utf_Quaternion(*this);
}

template <typename T>
void utf_Quaternion<T>::cosines(T (*c)[3]) const {
  switch (this->m_type) {
  case res_Rotation2d:
    utf_Quat2dBase<T>(this->m_data).cosines(c);
    break;
  case res_Rotation3d:
    utf_Quat3dBase<T>(this->m_data).cosines(c);
    break;
  default:
    break;
  }
}

template <typename T>
cow_2DArray<T> utf_Quaternion<T>::cosines() const {
  switch (this->m_type) {
  case res_Rotation3d: {
    T rows[3][3];
    utf_Quat3dBase<T>(this->m_data).cosines(rows);
    cow_2DArray<T> table(3, 3, T(0));
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) {
        table.Get(i, j) = rows[i][j];
      }
    }
    return table;
  }
  case res_Rotation2d: {
    // The full in-plane table, computed here on purpose (the 2D kernel's own table has a second
    // row of zeros).
    const T s = this->m_data[0];
    const T c = this->m_data[1];
    const T cosine = static_cast<T>(1.0 - 2.0 * static_cast<double>(s * s));
    const T sine = static_cast<T>(2.0 * static_cast<double>(c * s));
    cow_2DArray<T> table(3, 3, T(0));
    table.Get(0, 0) = cosine;
    table.Get(0, 1) = sine;
    table.Get(1, 0) = static_cast<T>(-2.0 * static_cast<double>(c * s));
    table.Get(1, 1) = cosine;
    table.Get(2, 2) = T(1);
    return table;
  }
  default:
    return cow_2DArray<T>();
  }
}

template <typename T>
utf_Quaternion<T> utf_Quaternion<T>::mult(const utf_Quaternion& rhs) const {
  // clang-format off
  UTF_ASSERT(utf_EngineeringData<T>::type() == rhs.type(), "include/utf_Quaternion", utf_QuaternionAssertLine::multType);
  // clang-format on
  T r[4] = {T(0), T(0), T(0), T(0)};
  switch (this->m_type) {
  case res_Rotation2d:
    utf_Quat2dBase<T>(this->m_data).mult(rhs.m_data, r);
    break;
  case res_Rotation3d:
    utf_Quat3dBase<T>(this->m_data).mult(rhs.m_data, r);
    break;
  default:
    break;
  }
  return utf_Quaternion(this->m_type, static_cast<const T*>(r));
}

template <typename T>
utf_Quaternion<T> utf_Quaternion<T>::inverse() const {
  T r[4] = {T(0), T(0), T(0), T(0)};
  switch (this->m_type) {
  case res_Rotation2d:
    utf_Quat2dBase<T>(this->m_data).inverse(r);
    break;
  case res_Rotation3d:
    utf_Quat3dBase<T>(this->m_data).inverse(r);
    break;
  default:
    break;
  }
  return utf_Quaternion(this->m_type, static_cast<const T*>(r));
}

template <typename T>
utf_Vector<T> utf_Quaternion<T>::toVector() const {
  T v[3] = {T(0), T(0), T(0)};
  switch (this->m_type) {
  case res_Rotation2d:
    utf_Quat2dBase<T>(this->m_data).toVector(v);
    break;
  case res_Rotation3d:
    utf_Quat3dBase<T>(this->m_data).toVector(v);
    break;
  default:
    break;
  }
  return utf_Vector<T>(static_cast<const T*>(v));
}

template <typename T>
bool utf_Quaternion<T>::projectOn(const utf_Quaternion& other, unsigned axis, double tolerance) {
  // The normal is the third column of the other rotation's kernel table; a table that other
  // does not write (another type) stays zero.
  T table[3][3] = {};
  other.cosines(table);
  gsl_Vector normal(static_cast<double>(table[0][2]), static_cast<double>(table[1][2]),
                    static_cast<double>(table[2][2]));
  normal.Normalize();
  switch (this->m_type) {
  case res_Rotation2d:
    return utf_Quat2dBase<T>(this->m_data).projectOn(normal, axis, tolerance);
  case res_Rotation3d:
    return utf_Quat3dBase<T>(this->m_data).projectOn(normal, axis, tolerance);
  default:
    return true;
  }
}

template <typename T>
void utf_Quaternion<T>::Print(aio_ostream& out, int indent) const {
  const cow_String blanks = utf_indentation(indent);
  out << blanks << "Qauternion: ";
  utf_printEach(out, this->m_data, this->m_size);
  out.put('\n');
  out.flush();

  toVector().Print(out, indent + 4);

  out << blanks << "    "
      << "As transformation matrix:";
  out.put('\n');
  out.flush();

  const cow_2DArray<T> table = cosines();
  for (int i = 0; i < table.Rows(); ++i) {
    out << blanks << "        ";
    utf_printEach(out, table.ConstData() + i * table.Cols(), table.Cols());
    out.put('\n');
    out.flush();
  }
}

extern template class utf_Quaternion<float>;
extern template class utf_Quaternion<double>;

#endif
