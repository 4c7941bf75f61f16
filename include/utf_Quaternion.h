#ifndef UTF_QUATERNION_H
#define UTF_QUATERNION_H

// utf_Quaternion<T>: a rotation as an engineering-data value, of data type 7 (3D, four
// components (x, y, z, w)) or 6 (in-plane, two components (s, c)); conventions in
// utf_Conventions.h (2, 4 and 5). The value does the value-level work; the raw work is done by a
// kernel made over its own components: utf_Quat3dBase<T> for type 7, utf_Quat2dBase<T> for
// type 6. Nothing checks or restores unit length.
//
// A data type other than 6 or 7 is allowed where no assertion says otherwise: such a value has
// no kernel, its table is empty, and each query gives the fallback documented at it. Failed
// preconditions raise the assertions of utf_QuaternionAssertLine (utf_Assert.h); the value is
// then unchanged.

#include "aio_ostream.h"
#include "cow_1DArrayList.h"
#include "cow_2DArray.h"
#include "gsl_Matrix.h"
#include "gsl_Vector.h"
#include "res_DataTypeEnm.h"
#include "utf_Assert.h"
#include "utf_EngineeringData.h"
#include "utf_Export.h"
#include "utf_Quat2dBase.h"
#include "utf_Quat3dBase.h"

template <typename T>
class utf_Vector;

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
  // Type 7 from three angles in radians: qa (x) qb (x) qc, a turn by c about Z, then b about Y,
  // then a about X. The half angles are formed in double (rounded once for float), their sine
  // and cosine in T.
  utf_Quaternion(T a, T b, T c);
  // Type 6 from the new X and Y axes (utf_Quat2dBase<T>::set).
  utf_Quaternion(const gsl_Vector& u, const gsl_Vector& v);
  // Type 7 from the three new axes (utf_Quat3dBase<T>::set, which repairs a left-handed frame).
  utf_Quaternion(const gsl_Vector& u, const gsl_Vector& v, const gsl_Vector& n);
  // Type 6 or 7 from the matrix's new axes; another type fails matrixUnknownType,
  // "!\"Unknown quaternion type\"".
  utf_Quaternion(res_DataTypeEnm type, const gsl_Matrix& m);
  // From a table whose COLUMNS are the new axes (the rotation matrix: the transpose of what
  // cosines() returns), read as c.ConstGet(row, column):
  // - type 7: the table must be 3 x 3 (table3dShape, "c.Rows() == 3 && c.Cols() == 3");
  // - type 6: 2 x 2 or 3 x 3 (table2dRows, "c.Rows()==2 || c.Rows()==3", then
  //   table2dTwoColumns "c.Cols() == 2" or table2dThreeColumns "c.Cols() == 3"); only the
  //   upper-left 2 x 2 block is read;
  // - another type fails tableUnknownType, "!\"Unknown quaternion type\"".
  utf_Quaternion(res_DataTypeEnm type, const cow_2DArray<T>& c);

  // A new owning copy, of class utf_Quaternion<T>; the caller owns it.
  utf_EngineeringData<T>* Copy() const override;

  // Components of a rotation type: 6 gives 2, 7 gives 4, another type 0.
  static int componentCount(res_DataTypeEnm type) { return utf_quaternionComponentCount(type); }

  // The kernel's table into the caller's 3 x 3 table: for type 6 the 2D kernel's own table
  // (second row zeros, c[2][0] and c[2][1] not written); for another type nothing is written.
  void cosines(T (*c)[3]) const;
  // The direction-cosine table as a new 3 x 3 table, rows the new axes: type 7 the 3D kernel's
  // numbers; type 6 the full in-plane table (cos t, sin t, 0 / -sin t, cos t, 0 / 0, 0, 1),
  // unlike the 2D kernel's own; another type the empty 0 x 0 table. Allocates the table.
  cow_2DArray<T> cosines() const;
  // this (x) rhs: rhs applied first, then this rotation. Both must have the same type
  // (multType, "utf_EngineeringData<T>::type() == rhs.type()"); another type (the same on both
  // sides) gives an empty quaternion of that type.
  utf_Quaternion mult(const utf_Quaternion& rhs) const;
  // The conjugate (-x, -y, -z, w), or (-s, c) for type 6; another type gives an empty value.
  utf_Quaternion inverse() const;
  // The rotation vector, an owning three-component vector: angle times unit axis, the angle in
  // [0, 2 pi] (type 7); (0, 0, 2 asin(s)), the angle in [-pi, pi] (type 6); (0, 0, 0) otherwise.
  utf_Vector<T> toVector() const;
  // Re-aligns this rotation so that its Z axis is the third column of `other`'s kernel table,
  // normalised: this value's kernel projects row `axis` of its own table onto the plane normal to
  // it (utf_Quat3dBase<T>::projectOn, utf_Quat2dBase<T>::projectOn) and returns whether it did.
  // A value of another type is left alone and the result is true.
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

extern template class utf_Quaternion<float>;
extern template class utf_Quaternion<double>;

// toVector's result type.
#include "utf_Vector.h"

#endif
