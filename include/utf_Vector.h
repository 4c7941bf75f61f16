#ifndef UTF_VECTOR_H
#define UTF_VECTOR_H

// utf_Vector<T>: one vector result (a displacement, velocity, force at a point) as an
// engineering-data value of data type 4 (T = float or double). Its components are (x1, x2, x3)
// for a spatial vector or (x1, x2) for an in-plane one; the count decides how a rotation applies.
//
// Rotation: transform applies a direction-cosine table M as obtained from the rotation, x' = M x
// (rows of M are the new axes, so x' holds the components along the new axes), each sum formed
// left to right in T.
//
// Ownership: every constructor copies into an owned array, except (T*, count), which views the
// caller's array. Beware: a parameter `T* const` is the same signature as `T*`, so the
// one-argument constructor from a non-const pointer copies three values, while the two-argument
// (T*, count) one views.

#include "aio_ostream.h"
#include "cow_1DArrayList.h"
#include "cow_2DArray.h"
#include "cow_String.h"
#include "res_DataTypeEnm.h"
#include "utf_Assert.h"
#include "utf_EngineeringData.h"
#include "utf_Export.h"
#include "utf_Print.h"
#include "utf_Quat2dBase.h"
#include "utf_Quat3dBase.h"

#include <cmath>

template <typename T>
class utf_Quaternion;

// Where the one assertion of utf_Vector<T> reports itself.
struct utf_VectorAssertLine {
  // transform of a two-component vector by a rotation that does not turn about the 3-axis only:
  // "coss.ConstGet(2,2) > 0.99 || !\"Not a valid 2D transform\"", source "include/utf_Vector".
  static constexpr int not2dTransform = 84;
};

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

private:
  // x' = M x for the first three components, M a row-major 3 x 3 table read through `at`.
  template <typename Table>
  void rotate3(const Table& at);
  // x' = M x for the first two components, M the upper-left 2 x 2 block read through `at`.
  template <typename Table>
  void rotate2(const Table& at);
  // The first `count` components (up to `wanted`), the others 0: a short vector is never read or
  // written beyond its own components.
  int readFirst(T* x, int wanted) const;
  void writeFirst(const T* x, int count);
};

#include "utf_Quaternion.h"

// ---------------------------------------------------------------------------------------------

template <typename T>
utf_Vector<T>::utf_Vector(const cow_1DArrayList<T>& list)
    : utf_EngineeringData<T>(res_Vector, list, false) {}

template <typename T>
utf_Vector<T>::utf_Vector(const T* array, int count)
    : utf_EngineeringData<T>(res_Vector, array, count, false) {}

template <typename T>
utf_Vector<T>::utf_Vector(T* array, int count)
    : utf_EngineeringData<T>(res_Vector, array, count, false) {}

template <typename T>
utf_Vector<T>::utf_Vector(const T* array) : utf_EngineeringData<T>(res_Vector, array, 3, false) {}

template <typename T>
utf_Vector<T>::utf_Vector(T* const array)
    : utf_EngineeringData<T>(res_Vector, static_cast<const T*>(array), 3, false) {}

template <typename T>
utf_EngineeringData<T>* utf_Vector<T>::Copy() const {
  return new utf_Vector(*this);
}

template <typename T>
T utf_Vector<T>::magnitude() const {
  T sum = T(0);
  for (int i = 0; i < this->m_size; ++i) {
    sum = sum + this->m_data[i] * this->m_data[i];
  }
  return std::sqrt(sum);
}

template <typename T>
int utf_Vector<T>::readFirst(T* x, int wanted) const {
  const int count = this->m_size < wanted ? (this->m_size > 0 ? this->m_size : 0) : wanted;
  for (int i = 0; i < wanted; ++i) {
    x[i] = i < count ? this->m_data[i] : T(0);
  }
  return count;
}

template <typename T>
void utf_Vector<T>::writeFirst(const T* x, int count) {
  for (int i = 0; i < count; ++i) {
    this->m_data[i] = x[i];
  }
}

template <typename T>
template <typename Table>
void utf_Vector<T>::rotate3(const Table& at) {
  T x[3];
  const int count = readFirst(x, 3);
  // Every new component is formed before any is stored: each reads the original three.
  const T rotated[3] = {at(0, 0) * x[0] + at(0, 1) * x[1] + at(0, 2) * x[2],
                        at(1, 0) * x[0] + at(1, 1) * x[1] + at(1, 2) * x[2],
                        at(2, 0) * x[0] + at(2, 1) * x[1] + at(2, 2) * x[2]};
  writeFirst(rotated, count);
}

template <typename T>
template <typename Table>
void utf_Vector<T>::rotate2(const Table& at) {
  T x[2];
  const int count = readFirst(x, 2);
  const T rotated[2] = {at(0, 0) * x[0] + at(0, 1) * x[1], at(1, 0) * x[0] + at(1, 1) * x[1]};
  writeFirst(rotated, count);
}

template <typename T>
void utf_Vector<T>::transform(const utf_Quaternion<T>& q) {
  const cow_2DArray<T> coss = q.cosines();
  if (this->m_size != 2) {
    rotate3([&coss](int i, int j) { return coss.ConstGet(i, j); });
    return;
  }
  // clang-format off
  UTF_ASSERT(coss.ConstGet(2,2) > 0.99 || !"Not a valid 2D transform", "include/utf_Vector", utf_VectorAssertLine::not2dTransform);
  // clang-format on
  rotate2([&coss](int i, int j) { return coss.ConstGet(i, j); });
}

template <typename T>
void utf_Vector<T>::transform(const utf_Quat2dBase<T>& k) {
  T m[3][3] = {};
  k.cosines(m);
  rotate2([&m](int i, int j) { return m[i][j]; });
}

template <typename T>
void utf_Vector<T>::transform(const utf_Quat3dBase<T>& k) {
  T m[3][3];
  k.cosines(m);
  rotate3([&m](int i, int j) { return m[i][j]; });
}

template <typename T>
void utf_Vector<T>::Print(aio_ostream& os, int indent) const {
  os << utf_indentation(indent) << "Vector: ";
  utf_printEach(os, this->m_data, this->m_size);
  os.put('\n');
  os.flush();
}

extern template class utf_Vector<float>;
extern template class utf_Vector<double>;

#endif
