// utf_Quaternion<T>: the rotation value's definitions and its float and double instantiations.

#include "utf_Quaternion.h"

#include "cow_String.h"
#include "utf_Print.h"
#include "utf_RotationArithmetic.h"
#include "utf_Vector.h"

#include <cmath>

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
    UTF_ASSERT(!"Unknown quaternion type", utf_QuaternionAssertLine::source, utf_QuaternionAssertLine::matrixUnknownType);
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
    UTF_ASSERT(c.Rows() == 3 && c.Cols() == 3, utf_QuaternionAssertLine::source, utf_QuaternionAssertLine::table3dShape);
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
    UTF_ASSERT(c.Rows()==2 || c.Rows()==3, utf_QuaternionAssertLine::source, utf_QuaternionAssertLine::table2dRows);
    if (c.Rows() == 2) {
      UTF_ASSERT(c.Cols() == 2, utf_QuaternionAssertLine::source, utf_QuaternionAssertLine::table2dTwoColumns);
    } else {
      UTF_ASSERT(c.Cols() == 3, utf_QuaternionAssertLine::source, utf_QuaternionAssertLine::table2dThreeColumns);
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
    UTF_ASSERT(!"Unknown quaternion type", utf_QuaternionAssertLine::source, utf_QuaternionAssertLine::tableUnknownType);
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
    const utf_impl::Cosines3d<T> a = utf_impl::cosines3d(static_cast<const T*>(this->m_data));
    cow_2DArray<T> table(3, 3, T(0));
    table.Get(0, 0) = a.a11, table.Get(0, 1) = a.a12, table.Get(0, 2) = a.a13;
    table.Get(1, 0) = a.a21, table.Get(1, 1) = a.a22, table.Get(1, 2) = a.a23;
    table.Get(2, 0) = a.a31, table.Get(2, 1) = a.a32, table.Get(2, 2) = a.a33;
    return table;
  }
  case res_Rotation2d: {
    // The full in-plane table, on purpose (the 2D kernel's own table has a second row of zeros).
    const utf_impl::Block2<T> b = utf_impl::cosines2d(static_cast<const T*>(this->m_data));
    cow_2DArray<T> table(3, 3, T(0));
    table.Get(0, 0) = b.c11;
    table.Get(0, 1) = b.c12;
    table.Get(1, 0) = b.c21;
    table.Get(1, 1) = b.c22;
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
  UTF_ASSERT(utf_EngineeringData<T>::type() == rhs.type(), utf_QuaternionAssertLine::source, utf_QuaternionAssertLine::multType);
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

template class utf_Quaternion<float>;
template class utf_Quaternion<double>;
