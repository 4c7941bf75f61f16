#ifndef COW_1DARRAYLIST_H
#define COW_1DARRAYLIST_H

// cow_1DArrayList<T>: a growable list, an element count followed by a cow_1DArray<T> that holds
// the elements (its length is the list's capacity). Copies share the elements until one of them
// writes. ConstGet and Get check the index against Size() (std::out_of_range).

#include "cow_1DArray.h"

#include <initializer_list>

template <typename T>
class KPTCOW_EXPORT cow_1DArrayList {
public:
  // An empty list with no storage.
  cow_1DArrayList() : m_size(0), m_array() {}
  // An empty list (size 0) with room for `capacity` elements.
  explicit cow_1DArrayList(int capacity) : m_size(0), m_array(capacity) {}
  // A list holding the given elements in order.
  cow_1DArrayList(std::initializer_list<T> elements);
  // A list whose elements are all the elements of `elements` (shared, not copied).
  explicit cow_1DArrayList(const cow_1DArray<T>& elements)
      : m_size(elements.Length()), m_array(elements) {}

  int Size() const { return m_size; }
  int Capacity() const { return m_array.Length(); }
  // Stores a copy of `value` at index Size() and increases the size, growing the storage when full.
  void Append(const T& value);
  const T& ConstGet(int i) const;
  T& Get(int i);
  // The element storage; elements at Size() and beyond are unused.
  const cow_1DArray<T>& Array() const { return m_array; }

private:
  void checkIndex(int i) const;

  int m_size;
  cow_1DArray<T> m_array;
};

template <typename T>
cow_1DArrayList<T>::cow_1DArrayList(std::initializer_list<T> elements)
    : m_size(0), m_array(static_cast<int>(elements.size())) {
  for (const T& element : elements) {
    m_array.Get(m_size++) = element;
  }
}

template <typename T>
void cow_1DArrayList<T>::Append(const T& value) {
  if (m_size == m_array.Length()) {
    // `value` may be an element of this list: copy it before the storage moves.
    const T copy(value);
    const int capacity = m_size < 4 ? 4 : (m_size > 1073741823 ? 2147483647 : 2 * m_size);
    if (m_size == capacity) {
      throw std::length_error("cow_1DArrayList: list full");
    }
    cow_1DArray<T> grown(capacity);
    for (int i = 0; i < m_size; ++i) {
      grown.Get(i) = m_array.PartialArrayConstGet(i);
    }
    grown.Get(m_size) = copy;
    m_array = grown;
  } else {
    m_array.Get(m_size) = value;
  }
  ++m_size;
}

template <typename T>
void cow_1DArrayList<T>::checkIndex(int i) const {
  if (i < 0 || i >= m_size) {
    throw std::out_of_range("cow_1DArrayList: index out of range");
  }
}

template <typename T>
const T& cow_1DArrayList<T>::ConstGet(int i) const {
  checkIndex(i);
  return m_array.PartialArrayConstGet(i);
}

template <typename T>
T& cow_1DArrayList<T>::Get(int i) {
  checkIndex(i);
  return m_array.Get(i);
}

extern template class cow_1DArrayList<float>;
extern template class cow_1DArrayList<double>;
extern template class cow_1DArray<cow_1DArrayList<float>>;
extern template class cow_1DArray<cow_1DArrayList<double>>;
extern template class cow_1DArrayList<cow_1DArrayList<float>>;
extern template class cow_1DArrayList<cow_1DArrayList<double>>;

#endif
