#ifndef UTF_ENGINEERINGDATA_H
#define UTF_ENGINEERINGDATA_H

// utf_EngineeringData<T>: the common base of every value of the library (quaternions, tensors,
// vectors), for T = float and T = double.
//
// A value is exactly five fields, in this order: its data type, a pointer to its components, the
// number of components, whether it owns the component array, and the engineering-shear flag
// (only tensors read it: when set, stored shear components are twice the tensor components).
// Derived classes add operations, never fields; the data type gives a value its meaning.
//
// Ownership. A value owns its array (allocated from the memory module and freed by the
// destructor), except when it is built over a caller's non-const array with the (type, T*, count,
// shear) constructor: it then only views that array, which must outlive it. Copies, assignments
// and Copy() always own a fresh array.
//
// Copy() is the one virtual operation; the destructor is deliberately not virtual, since no
// derived class has state of its own. Own a Copy() result with utf_EngineeringDataPtr<T> (or
// delete it through the base pointer, which is correct here). Conventions of the data types and
// the shear flag: utf_Conventions.h.

#include "aio_ostream.h"
#include "cow_1DArray.h"
#include "cow_1DArrayList.h"
#include "res_DataTypeEnm.h"
#include "utf_Export.h"

#include <cstddef>
#include <memory>

template <typename T>
class UTF_EXPORT utf_EngineeringData {
public:
  // `list.Size()` components copied from the list (owned; none and a null array for an empty list).
  utf_EngineeringData(res_DataTypeEnm type, const cow_1DArrayList<T>& list, bool engineeringShear);
  // `count` components copied from `array` (owned; none and a null array when count is 0).
  utf_EngineeringData(res_DataTypeEnm type, const T* array, int count, bool engineeringShear);
  // A view of the caller's `count` components: nothing is allocated or copied, and the caller's
  // array must outlive the value.
  utf_EngineeringData(res_DataTypeEnm type, T* array, int count, bool engineeringShear);
  // `count` owned components, left uninitialised.
  utf_EngineeringData(res_DataTypeEnm type, int count, bool engineeringShear);
  // Copies type, components and flag into a fresh owned array, whether or not `other` owned its.
  utf_EngineeringData(const utf_EngineeringData& other);
  // Frees the components if and only if the value owns them.
  ~utf_EngineeringData();

  // Assignment copies the components and the engineering-shear flag but keeps this value's data
  // type (assigning a type-9 tensor to a type-11 one gives type 11 with six components). In order:
  // ownsData = true and the flag copied, even when assigning a value to itself; then, unless it
  // is the same value, the old array is freed (also when it was only viewed) and replaced by a
  // fresh copy of the other's components.
  utf_EngineeringData& operator=(const utf_EngineeringData& other);

  // A new value of the same class, owning a copy of the components; the caller owns the result.
  virtual utf_EngineeringData* Copy() const;

  res_DataTypeEnm type() const { return m_type; }
  // The components (null when there are none).
  const T* data() const { return m_data; }
  T* data() { return m_data; }
  int size() const { return m_size; }
  bool ownsData() const { return m_ownsData; }
  bool engineeringShear() const { return m_engineeringShear; }

  // Writes "Engineering data: ", each component (shortest round-trip form) followed by one blank,
  // a newline, and flushes. The indentation is not used by the base.
  void Print(aio_ostream& out, int indent) const;
  // The components as a list of size() elements.
  cow_1DArrayList<T> Components() const;

  // Values, and Copy() results, live in the memory module.
  static void* operator new(std::size_t bytes);
  static void operator delete(void* block);
  static void* operator new[](std::size_t bytes);
  static void operator delete[](void* block);

protected:
  // Frees the array (whatever ownsData says); afterwards size is 0 and ownsData true. The caller
  // stores a new array next; the pointer is left null meanwhile, so that a failed allocation
  // leaves an empty value rather than a dangling pointer.
  void clearData();
  // clearData(), then an owned copy of `count` components of `array`. The allocator is always
  // called, also for a count of 0.
  void setData(const T* array, int count);

  // An array for `count` components from the memory module. The byte count is formed in 64 bits;
  // a negative or overflowing count asks for the largest size, which fails with std::bad_alloc.
  static T* allocateComponents(int count);
  // allocateComponents(count) filled from `array`; null for a count of 0.
  static T* copyComponents(const T* array, int count);

  res_DataTypeEnm m_type;
  T* m_data;
  int m_size;
  bool m_ownsData;
  bool m_engineeringShear;
};

// Deletes a value through its base pointer. The destructor is not virtual on purpose (no derived
// class has state of its own), which compilers warn about at every such delete; this is the one
// place where it is done.
template <typename T>
struct utf_EngineeringDataDeleter {
  void operator()(utf_EngineeringData<T>* value) const noexcept {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdelete-non-virtual-dtor"
#if defined(__clang__)
#pragma GCC diagnostic ignored "-Wdelete-non-abstract-non-virtual-dtor"
#endif
    delete value;
#pragma GCC diagnostic pop
  }
};

// Owner of a Copy() result.
template <typename T>
using utf_EngineeringDataPtr =
    std::unique_ptr<utf_EngineeringData<T>, utf_EngineeringDataDeleter<T>>;

extern template class utf_EngineeringData<float>;
extern template class utf_EngineeringData<double>;

#endif
