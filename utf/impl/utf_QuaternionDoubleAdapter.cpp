// utf_QuaternionDoubleAdapter: the nested-list rotation over utf_Quaternion<double>.

#include "utf_QuaternionAdapters.h"

#include "utf_QuaternionAdapterRules.h"

utf_QuaternionDoubleAdapter::utf_QuaternionDoubleAdapter(const utf_Quaternion<double>& q)
    : utf_Quaternion<double>(q) {}

utf_QuaternionDoubleAdapter::utf_QuaternionDoubleAdapter(
    res_DataTypeEnm type, const cow_1DArrayList<cow_1DArrayList<double>>& lcs)
    : utf_Quaternion<double>(type) {
  // Built empty of the given type, then given a fresh owning copy of the rotation's components
  // (the base assignment keeps the type, which is the same).
  utf_EngineeringData<double>::operator=(utf_impl::QuaternionAdapterRules<double>::rotation(
      type, lcs, utf_QuaternionAdapterAssertLine::doubleSource));
}

cow_1DArrayList<cow_1DArrayList<double>> utf_QuaternionDoubleAdapter::cosines() const {
  return utf_impl::QuaternionAdapterRules<double>::cosines(
      *this, utf_QuaternionAdapterAssertLine::doubleSource);
}
