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
// delete it through the base pointer, which is correct here).

#include "aio_ostream.h"
#include "cow_1DArray.h"
#include "cow_1DArrayList.h"
#include "res_DataTypeEnm.h"
#include "utf_Export.h"
#include "utf_Print.h"

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

// ---------------------------------------------------------------------------------------------

template <typename T>
T* utf_EngineeringData<T>::allocateComponents(int count) {
  return static_cast<T*>(mem_Allocate(mem_ArrayBytes(count, sizeof(T))));
}

template <typename T>
T* utf_EngineeringData<T>::copyComponents(const T* array, int count) {
  if (count == 0) {
    return nullptr;
  }
  T* components = allocateComponents(count);
  for (int i = 0; i < count; ++i) {
    components[i] = array[i];
  }
  return components;
}

template <typename T>
utf_EngineeringData<T>::utf_EngineeringData(res_DataTypeEnm type, const cow_1DArrayList<T>& list,
                                            bool engineeringShear)
    : m_type(type), m_data(nullptr), m_size(list.Size()), m_ownsData(true),
      m_engineeringShear(engineeringShear) {
  if (m_size != 0) {
    m_data = allocateComponents(m_size);
    const cow_1DArray<T>& elements = list.Array();
    for (int i = 0; i < m_size; ++i) {
      m_data[i] = elements.PartialArrayConstGet(i);
    }
  }
}

template <typename T>
utf_EngineeringData<T>::utf_EngineeringData(res_DataTypeEnm type, const T* array, int count,
                                            bool engineeringShear)
    : m_type(type), m_data(copyComponents(array, count)), m_size(count), m_ownsData(true),
      m_engineeringShear(engineeringShear) {}

template <typename T>
utf_EngineeringData<T>::utf_EngineeringData(res_DataTypeEnm type, T* array, int count,
                                            bool engineeringShear)
    : m_type(type), m_data(array), m_size(count), m_ownsData(false),
      m_engineeringShear(engineeringShear) {}

template <typename T>
utf_EngineeringData<T>::utf_EngineeringData(res_DataTypeEnm type, int count, bool engineeringShear)
    : m_type(type), m_data(count == 0 ? nullptr : allocateComponents(count)), m_size(count),
      m_ownsData(true), m_engineeringShear(engineeringShear) {}

template <typename T>
utf_EngineeringData<T>::utf_EngineeringData(const utf_EngineeringData& other)
    : m_type(other.m_type), m_data(copyComponents(other.m_data, other.m_size)),
      m_size(other.m_size), m_ownsData(true), m_engineeringShear(other.m_engineeringShear) {}

template <typename T>
utf_EngineeringData<T>::~utf_EngineeringData() {
  if (m_ownsData) {
    mem_Free(m_data);
  }
}

template <typename T>
utf_EngineeringData<T>& utf_EngineeringData<T>::operator=(const utf_EngineeringData& other) {
  m_ownsData = true;
  m_engineeringShear = other.m_engineeringShear;
  if (this == &other) {
    return *this;
  }
  // The new array is made before the old one is freed, so that a failed allocation leaves this
  // value as it was (but for the two fields above).
  T* components = copyComponents(other.m_data, other.m_size);
  mem_Free(m_data);
  m_data = components;
  m_size = other.m_size;
  return *this;
}

template <typename T>
utf_EngineeringData<T>* utf_EngineeringData<T>::Copy() const {
  return new utf_EngineeringData(*this);
}

template <typename T>
void utf_EngineeringData<T>::Print(aio_ostream& out, int /*indent*/) const {
  out << "Engineering data: ";
  utf_printEach(out, m_data, m_size);
  out.put('\n');
  out.flush();
}

template <typename T>
cow_1DArrayList<T> utf_EngineeringData<T>::Components() const {
  cow_1DArray<T> elements(m_size);
  for (int i = 0; i < m_size; ++i) {
    elements.Get(i) = m_data[i];
  }
  return cow_1DArrayList<T>(elements);
}

template <typename T>
void utf_EngineeringData<T>::clearData() {
  if (m_data != nullptr) {
    mem_Free(m_data);
    m_data = nullptr;
  }
  m_size = 0;
  m_ownsData = true;
}

template <typename T>
void utf_EngineeringData<T>::setData(const T* array, int count) {
  clearData();
  T* components = allocateComponents(count);
  for (int i = 0; i < count; ++i) {
    components[i] = array[i];
  }
  m_data = components;
  m_size = count;
}

template <typename T>
void* utf_EngineeringData<T>::operator new(std::size_t bytes) {
  return mem_Allocate(bytes);
}

template <typename T>
void utf_EngineeringData<T>::operator delete(void* block) {
  mem_Free(block);
}

template <typename T>
void* utf_EngineeringData<T>::operator new[](std::size_t bytes) {
  return mem_Allocate(bytes);
}

template <typename T>
void utf_EngineeringData<T>::operator delete[](void* block) {
  mem_Free(block);
}

extern template class utf_EngineeringData<float>;
extern template class utf_EngineeringData<double>;

#endif
