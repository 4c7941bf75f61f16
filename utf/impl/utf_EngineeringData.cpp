// utf_EngineeringData<T>: the base value's definitions and its float and double instantiations.

#include "utf_EngineeringData.h"

#include "KPTmem.h"
#include "utf_Print.h"

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

template class utf_EngineeringData<float>;
template class utf_EngineeringData<double>;
