// utf_QuaternionFloatAdapter: the nested-list rotation over utf_Quaternion<float>.

#include "utf_QuaternionAdapters.h"

namespace {

// The source that this adapter's assertions report.
const char* const s_source = "utf/impl/utf_QuaternionFloatAdapter";

} // namespace

utf_QuaternionFloatAdapter::utf_QuaternionFloatAdapter(const utf_Quaternion<float>& q)
    : utf_Quaternion<float>(q) {}

utf_QuaternionFloatAdapter::utf_QuaternionFloatAdapter(
    res_DataTypeEnm type, const cow_1DArrayList<cow_1DArrayList<float>>& lcs)
    : utf_Quaternion<float>(type) {
  // Built empty of the given type, then given a fresh owning copy of the rotation's components
  // (the base assignment keeps the type, which is the same).
  utf_EngineeringData<float>::operator=(
      utf_QuaternionAdapterRules<float>::rotation(type, lcs, s_source));
}

cow_1DArrayList<cow_1DArrayList<float>> utf_QuaternionFloatAdapter::cosines() const {
  return utf_QuaternionAdapterRules<float>::cosines(*this, s_source);
}
