// utf_QuaternionFloatAdapter: the nested-list rotation over utf_Quaternion<float>.

#include "utf_QuaternionAdapters.h"

#include "utf_QuaternionAdapterRules.h"

utf_QuaternionFloatAdapter::utf_QuaternionFloatAdapter(const utf_Quaternion<float>& q)
    : utf_Quaternion<float>(q) {}

utf_QuaternionFloatAdapter::utf_QuaternionFloatAdapter(
    res_DataTypeEnm type, const cow_1DArrayList<cow_1DArrayList<float>>& lcs)
    : utf_Quaternion<float>(type) {
  // Built empty of the given type, then given a fresh owning copy of the rotation's components
  // (the base assignment keeps the type, which is the same).
  utf_EngineeringData<float>::operator=(utf_impl::QuaternionAdapterRules<float>::rotation(
      type, lcs, utf_QuaternionAdapterAssertLine::floatSource));
}

cow_1DArrayList<cow_1DArrayList<float>> utf_QuaternionFloatAdapter::cosines() const {
  return utf_impl::QuaternionAdapterRules<float>::cosines(
      *this, utf_QuaternionAdapterAssertLine::floatSource);
}
