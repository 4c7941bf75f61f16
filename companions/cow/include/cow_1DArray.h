#ifndef COW_1DARRAY_H
#define COW_1DARRAY_H

// cow_1DArray<T>: a one-dimensional array with copy-on-write sharing.
//
// Copies share one representation; the first write through Get() on a shared array gives that
// array a private copy, so the other copies never see the change. Elements are value-initialised
// (0 for numbers). Indices are checked: an index outside [0, Length()) throws std::out_of_range,
// and a negative length throws std::length_error. Storage comes from the memory module.

#include "KPTcow.h"
#include "KPTmem.h"

#include <new>
#include <stdexcept>

template <typename T>
class KPTCOW_EXPORT cow_1DArray {
public:
  explicit cow_1DArray(int count = 0);
  cow_1DArray(const cow_1DArray& other) noexcept;
  cow_1DArray& operator=(const cow_1DArray& other) noexcept;
  ~cow_1DArray();

  // Writable element i; copies the representation first when it is shared.
  T& Get(int i);
  // Element i for reading.
  const T& PartialArrayConstGet(int i) const;
  int Length() const { return m_rep == nullptr ? 0 : m_rep->length; }
  // Number of arrays sharing this array's representation (0 for an empty array).
  int UseCount() const { return m_rep == nullptr ? 0 : m_rep->count; }

private:
  struct Rep {
    int count;
    int length;
    T* elements;
  };

  static Rep* makeRep(int length, const T* source);
  static void destroyRep(Rep* rep) noexcept;
  void checkIndex(int i) const;
  void release() noexcept;

  Rep* m_rep;
};

template <typename T>
typename cow_1DArray<T>::Rep* cow_1DArray<T>::makeRep(int length, const T* source) {
  Rep* rep = static_cast<Rep*>(mem_Allocate(sizeof(Rep)));
  T* elements = nullptr;
  int built = 0;
  try {
    elements = static_cast<T*>(mem_Allocate(mem_ArrayBytes(length, sizeof(T))));
    for (; built < length; ++built) {
      if (source == nullptr) {
        new (elements + built) T();
      } else {
        new (elements + built) T(source[built]);
      }
    }
  } catch (...) {
    while (built > 0) {
      elements[--built].~T();
    }
    mem_Free(elements);
    mem_Free(rep);
    throw;
  }
  rep->count = 1;
  rep->length = length;
  rep->elements = elements;
  return rep;
}

template <typename T>
void cow_1DArray<T>::destroyRep(Rep* rep) noexcept {
  for (int i = rep->length; i > 0; --i) {
    rep->elements[i - 1].~T();
  }
  mem_Free(rep->elements);
  mem_Free(rep);
}

template <typename T>
cow_1DArray<T>::cow_1DArray(int count) : m_rep(nullptr) {
  if (count < 0) {
    throw std::length_error("cow_1DArray: negative length");
  }
  if (count > 0) {
    m_rep = makeRep(count, nullptr);
  }
}

template <typename T>
cow_1DArray<T>::cow_1DArray(const cow_1DArray& other) noexcept : m_rep(other.m_rep) {
  if (m_rep != nullptr) {
    ++m_rep->count;
  }
}

template <typename T>
cow_1DArray<T>& cow_1DArray<T>::operator=(const cow_1DArray& other) noexcept {
  // Take the pointer before release(), which clears m_rep (that is other.m_rep on self-assignment).
  Rep* const rep = other.m_rep;
  if (rep != nullptr) {
    ++rep->count; // first, so that self-assignment keeps the representation alive
  }
  release();
  m_rep = rep;
  return *this;
}

template <typename T>
cow_1DArray<T>::~cow_1DArray() {
  release();
}

template <typename T>
void cow_1DArray<T>::release() noexcept {
  if (m_rep != nullptr && --m_rep->count == 0) {
    destroyRep(m_rep);
  }
  m_rep = nullptr;
}

template <typename T>
void cow_1DArray<T>::checkIndex(int i) const {
  if (i < 0 || i >= Length()) {
    throw std::out_of_range("cow_1DArray: index out of range");
  }
}

template <typename T>
T& cow_1DArray<T>::Get(int i) {
  checkIndex(i);
  if (m_rep->count > 1) {
    Rep* own = makeRep(m_rep->length, m_rep->elements);
    release();
    m_rep = own;
  }
  return m_rep->elements[i];
}

template <typename T>
const T& cow_1DArray<T>::PartialArrayConstGet(int i) const {
  checkIndex(i);
  return m_rep->elements[i];
}

extern template class cow_1DArray<float>;
extern template class cow_1DArray<double>;

#endif
