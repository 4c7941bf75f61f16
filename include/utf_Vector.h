#ifndef UTF_VECTOR_H
#define UTF_VECTOR_H

// utf_Vector<T>: one vector result (a displacement, velocity, force at a point) as an
// engineering-data value of data type 4. Its components are (x1, x2, x3) for a spatial vector or
// (x1, x2) for an in-plane one; the count decides how a rotation applies.
//
// Rotation: transform expresses the vector on the new axes of a rotation, x' = A x with A its
// direction-cosine table (rows are the new axes; utf_Conventions.h, 4 and 6), each sum formed
// left to right in T. A component the vector lacks reads as 0 and is not written.
//
// Ownership: every constructor copies into an owned array, except (T*, count), which views the
// caller's array. Beware: a parameter `T* const` is the same signature as `T*`, so the
// one-argument constructor from a non-const pointer copies three values, while the two-argument
// (T*, count) one views.

#include "aio_ostream.h"
#include "cow_1DArrayList.h"
#include "res_DataTypeEnm.h"
#include "utf_Assert.h"
#include "utf_EngineeringData.h"
#include "utf_Export.h"
#include "utf_Quat2dBase.h"
#include "utf_Quat3dBase.h"

template <typename T>
class utf_Quaternion;

template <typename T>
class UTF_EXPORT utf_Vector : public utf_EngineeringData<T> {
public:
  // The list's elements, copied (an empty list gives a vector without components).
  explicit utf_Vector(const cow_1DArrayList<T>& list);
  // `count` components copied from `array`.
  utf_Vector(const T* array, int count);
  // A view of the caller's `count` components: nothing is copied, a change through the vector
  // is a change of the caller's array, and the array must outlive the vector.
  utf_Vector(T* array, int count);
  // Three components copied from `array`. (A non-const pointer lands here too: it is copied.)
  explicit utf_Vector(const T* array);
  explicit utf_Vector(T* const array);

  // A new owning copy, of class utf_Vector<T>; the caller owns it.
  utf_EngineeringData<T>* Copy() const override;

  // sqrt of the sum of the squares of the components, summed in T from the first component on
  // and rooted in T (single precision throughout for float); 0 for no components.
  T magnitude() const;

  // Rotates the components by the rotation's direction-cosine table M = q.cosines():
  // - a vector of any count but 2 becomes M (x1, x2, x3) (a component it lacks reads as 0 and is
  //   not written; components beyond the third are left alone);
  // - a two-component vector requires M(2,2) > 0.99, a rotation about the 3-axis only, and
  //   becomes the upper-left 2 x 2 block of M times (x1, x2). Otherwise (also for a NaN) it
  //   fails "coss.ConstGet(2,2) > 0.99 || !\"Not a valid 2D transform\"" and is left unchanged.
  void transform(const utf_Quaternion<T>& q);
  // (x1, x2) becomes the upper-left 2 x 2 block of the 2D kernel's table times (x1, x2). That
  // table's second row is zeros, so x2 becomes 0; no check is made. (A component the vector
  // lacks reads as 0 and is not written.)
  void transform(const utf_Quat2dBase<T>& k);
  // The first three components become the 3D kernel's table times (x1, x2, x3), whatever the
  // count (a component the vector lacks reads as 0 and is not written).
  void transform(const utf_Quat3dBase<T>& k);

  // Writes `indent` blanks, "Vector: ", each component followed by one blank, a newline, and
  // flushes.
  void Print(aio_ostream& os, int indent) const;
};

extern template class utf_Vector<float>;
extern template class utf_Vector<double>;

// transform's rotation type.
#include "utf_Quaternion.h"

#endif
