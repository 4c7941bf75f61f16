// utf_BatchTensors<T>: the view of N tensors, its preconditions, and its float and double
// instantiations.

#include "utf_BatchTensors.h"

#include "utf_Assert.h"

namespace {

bool isTensorLayout(res_DataTypeEnm layout) {
  return layout >= res_Tensor3dFull && layout <= res_Tensor2dSurface;
}

// Numbers a tensor of `layout` holds in `order`.
int valuesOf(res_DataTypeEnm layout, utf_BatchOrder order) {
  if (order == utf_BatchOrder::Matrix) {
    return 9;
  }
  return utf_tensorComponentCount(layout);
}

} // namespace

template <typename T>
utf_BatchTensors<T>::utf_BatchTensors(const T* data, std::size_t count, res_DataTypeEnm layout,
                                      bool engineeringShear, utf_BatchOrder order,
                                      std::size_t stride)
    : m_data(data), m_count(count), m_layout(layout), m_engineeringShear(engineeringShear),
      m_order(order), m_stride(stride) {
  const char* const source = utf_BatchAssertLine::source;
  UTF_ASSERT(isTensorLayout(layout), source, utf_BatchAssertLine::layoutNotTensor);
  UTF_ASSERT(order == utf_BatchOrder::Library || layout == res_Tensor3dFull, source,
             utf_BatchAssertLine::orderNeedsFullLayout);
  UTF_ASSERT(!(engineeringShear && order == utf_BatchOrder::Matrix), source,
             utf_BatchAssertLine::matrixHasNoEngineeringShear);
  const std::size_t values = static_cast<std::size_t>(valuesOf(layout, order));
  if (stride == 0) {
    m_stride = values;
    stride = values;
  }
  UTF_ASSERT(stride >= values, source, utf_BatchAssertLine::strideTooShort);
  UTF_ASSERT(count == 0 || data != nullptr, source, utf_BatchAssertLine::nullArray);
}

template <typename T>
int utf_BatchTensors<T>::values() const {
  return valuesOf(m_layout, m_order);
}

template class utf_BatchTensors<float>;
template class utf_BatchTensors<double>;
