#ifndef COW_2DARRAY_H
#define COW_2DARRAY_H

// cow_2DArray<T>: a rows x cols table with copy-on-write sharing, stored row-major: element (i, j)
// stands at position i * Cols() + j of the representation's elements.
//
// The handle holds a counted pointer to a cow_2DArrayRep<T> (row count, column count, elements).
// Copies share the representation; Get() and Data() give a writable table and copy the
// representation first when it is shared. ConstGet and Get check (i, j) against the shape and
// throw std::out_of_range; a negative shape throws std::length_error.

#include "KPTcow.h"
#include "KPTmem.h"

#include <cstdint>
#include <stdexcept>

template <typename T>
struct cow_2DArrayRep {
  int count; // number of handles sharing this representation
  int rows;
  int cols;
  T* elements;
};

template <typename T>
class KPTCOW_EXPORT cow_2DArray {
public:
  // The empty table, 0 x 0.
  cow_2DArray() noexcept : m_rep(nullptr) {}
  // A rows x cols table with every element equal to `fill`.
  cow_2DArray(int rows, int cols, const T& fill);
  cow_2DArray(const cow_2DArray& other) noexcept;
  cow_2DArray& operator=(const cow_2DArray& other) noexcept;
  ~cow_2DArray();

  int Rows() const { return m_rep == nullptr ? 0 : m_rep->rows; }
  int Cols() const { return m_rep == nullptr ? 0 : m_rep->cols; }
  const T& ConstGet(int i, int j) const;
  T& Get(int i, int j);
  // The Rows() x Cols() elements, row-major; null for the default (0 x 0) table. A table made
  // with a zero row or column count keeps its shape and has an (empty) element block.
  const T* ConstData() const { return m_rep == nullptr ? nullptr : m_rep->elements; }
  T* Data();
  // Number of tables sharing this table's representation (0 for the empty table).
  int UseCount() const { return m_rep == nullptr ? 0 : m_rep->count; }

private:
  static cow_2DArrayRep<T>* makeRep(int rows, int cols, const T* source, const T& fill);
  void checkIndex(int i, int j) const;
  void unshare();
  void release() noexcept;

  cow_2DArrayRep<T>* m_rep;
};

template <typename T>
cow_2DArrayRep<T>* cow_2DArray<T>::makeRep(int rows, int cols, const T* source, const T& fill) {
  const std::int64_t n = static_cast<std::int64_t>(rows) * cols;
  auto* rep = static_cast<cow_2DArrayRep<T>*>(mem_Allocate(sizeof(cow_2DArrayRep<T>)));
  T* elements = nullptr;
  try {
    elements = static_cast<T*>(mem_Allocate(mem_ArrayBytes(n, sizeof(T))));
  } catch (...) {
    mem_Free(rep);
    throw;
  }
  for (std::int64_t k = 0; k < n; ++k) {
    elements[k] = source == nullptr ? fill : source[k];
  }
  rep->count = 1;
  rep->rows = rows;
  rep->cols = cols;
  rep->elements = elements;
  return rep;
}

template <typename T>
cow_2DArray<T>::cow_2DArray(int rows, int cols, const T& fill) : m_rep(nullptr) {
  if (rows < 0 || cols < 0) {
    throw std::length_error("cow_2DArray: negative number of rows or columns");
  }
  m_rep = makeRep(rows, cols, nullptr, fill);
}

template <typename T>
cow_2DArray<T>::cow_2DArray(const cow_2DArray& other) noexcept : m_rep(other.m_rep) {
  if (m_rep != nullptr) {
    ++m_rep->count;
  }
}

template <typename T>
cow_2DArray<T>& cow_2DArray<T>::operator=(const cow_2DArray& other) noexcept {
  // Take the pointer before release(), which clears m_rep (that is other.m_rep on self-assignment).
  cow_2DArrayRep<T>* const rep = other.m_rep;
  if (rep != nullptr) {
    ++rep->count; // first, so that self-assignment keeps the representation alive
  }
  release();
  m_rep = rep;
  return *this;
}

template <typename T>
cow_2DArray<T>::~cow_2DArray() {
  release();
}

template <typename T>
void cow_2DArray<T>::release() noexcept {
  if (m_rep != nullptr && --m_rep->count == 0) {
    mem_Free(m_rep->elements);
    mem_Free(m_rep);
  }
  m_rep = nullptr;
}

template <typename T>
void cow_2DArray<T>::checkIndex(int i, int j) const {
  if (i < 0 || i >= Rows() || j < 0 || j >= Cols()) {
    throw std::out_of_range("cow_2DArray: index out of range");
  }
}

template <typename T>
void cow_2DArray<T>::unshare() {
  if (m_rep != nullptr && m_rep->count > 1) {
    cow_2DArrayRep<T>* own = makeRep(m_rep->rows, m_rep->cols, m_rep->elements, T());
    release();
    m_rep = own;
  }
}

template <typename T>
const T& cow_2DArray<T>::ConstGet(int i, int j) const {
  checkIndex(i, j);
  return m_rep->elements[static_cast<std::size_t>(i) * static_cast<std::size_t>(m_rep->cols) +
                         static_cast<std::size_t>(j)];
}

template <typename T>
T& cow_2DArray<T>::Get(int i, int j) {
  checkIndex(i, j);
  unshare();
  return m_rep->elements[static_cast<std::size_t>(i) * static_cast<std::size_t>(m_rep->cols) +
                         static_cast<std::size_t>(j)];
}

template <typename T>
T* cow_2DArray<T>::Data() {
  unshare();
  return m_rep == nullptr ? nullptr : m_rep->elements;
}

extern template class cow_2DArray<float>;
extern template class cow_2DArray<double>;

#endif
