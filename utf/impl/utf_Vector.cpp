// utf_Vector<T>: the vector value's definitions and its float and double instantiations.

#include "utf_Vector.h"

#include "cow_2DArray.h"
#include "utf_Print.h"

#include <cmath>

namespace {

// The first `count` components (up to `wanted`), the others 0: a short vector is never read or
// written beyond its own components.
template <typename T>
int readFirst(const utf_Vector<T>& v, T* x, int wanted) {
  const int size = v.size();
  const int count = size < wanted ? (size > 0 ? size : 0) : wanted;
  for (int i = 0; i < wanted; ++i) {
    x[i] = i < count ? v.data()[i] : T(0);
  }
  return count;
}

template <typename T>
void writeFirst(utf_Vector<T>& v, const T* x, int count) {
  for (int i = 0; i < count; ++i) {
    v.data()[i] = x[i];
  }
}

// x' = M x for the first three components, M a row-major 3 x 3 table read through `at`. Every
// new component is formed before any is stored: each reads the original three.
template <typename T, typename Table>
void rotate3(utf_Vector<T>& v, const Table& at) {
  T x[3];
  const int count = readFirst(v, x, 3);
  const T rotated[3] = {at(0, 0) * x[0] + at(0, 1) * x[1] + at(0, 2) * x[2],
                        at(1, 0) * x[0] + at(1, 1) * x[1] + at(1, 2) * x[2],
                        at(2, 0) * x[0] + at(2, 1) * x[1] + at(2, 2) * x[2]};
  writeFirst(v, rotated, count);
}

// x' = M x for the first two components, M the upper-left 2 x 2 block read through `at`.
template <typename T, typename Table>
void rotate2(utf_Vector<T>& v, const Table& at) {
  T x[2];
  const int count = readFirst(v, x, 2);
  const T rotated[2] = {at(0, 0) * x[0] + at(0, 1) * x[1], at(1, 0) * x[0] + at(1, 1) * x[1]};
  writeFirst(v, rotated, count);
}

} // namespace

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
void utf_Vector<T>::transform(const utf_Quaternion<T>& q) {
  const cow_2DArray<T> coss = q.cosines();
  if (this->m_size != 2) {
    rotate3(*this, [&coss](int i, int j) { return coss.ConstGet(i, j); });
    return;
  }
  // clang-format off
  UTF_ASSERT(coss.ConstGet(2,2) > 0.99 || !"Not a valid 2D transform", utf_VectorAssertLine::source, utf_VectorAssertLine::not2dTransform);
  // clang-format on
  rotate2(*this, [&coss](int i, int j) { return coss.ConstGet(i, j); });
}

template <typename T>
void utf_Vector<T>::transform(const utf_Quat2dBase<T>& k) {
  T m[3][3] = {};
  k.cosines(m);
  rotate2(*this, [&m](int i, int j) { return m[i][j]; });
}

template <typename T>
void utf_Vector<T>::transform(const utf_Quat3dBase<T>& k) {
  T m[3][3];
  k.cosines(m);
  rotate3(*this, [&m](int i, int j) { return m[i][j]; });
}

template <typename T>
void utf_Vector<T>::Print(aio_ostream& os, int indent) const {
  os << utf_indentation(indent) << "Vector: ";
  utf_printEach(os, this->m_data, this->m_size);
  os.put('\n');
  os.flush();
}

template class utf_Vector<float>;
template class utf_Vector<double>;
