#ifndef UTF_IMPL_QUATERNIONADAPTERRULES_H
#define UTF_IMPL_QUATERNIONADAPTERRULES_H

// The code of both quaternion adapters, for T = float and T = double (private to the library);
// `source` is the source that the assertions report.

#include "cow_1DArrayList.h"
#include "cow_2DArray.h"
#include "res_DataTypeEnm.h"
#include "utf_Assert.h"
#include "utf_Quaternion.h"

namespace utf_impl {

template <typename T>
struct QuaternionAdapterRules {
  using Rows = cow_1DArrayList<cow_1DArrayList<T>>;

  // The rotation of the given type from three rows of three entries (the quaternion's
  // constructor from a table: its columns are the new axes; type 6 reads the upper-left 2 x 2
  // block). Each row is checked before it is copied.
  static utf_Quaternion<T> rotation(res_DataTypeEnm type, const Rows& lcs, const char* source);
  // The quaternion's cosines() as three rows of three entries; the type must be 6 or 7.
  static Rows cosines(const utf_Quaternion<T>& q, const char* source);
};

template <typename T>
utf_Quaternion<T> QuaternionAdapterRules<T>::rotation(res_DataTypeEnm type, const Rows& lcs,
                                                      const char* source) {
  // clang-format off
  UTF_ASSERT(lcs.Size() == 3, source, utf_QuaternionAdapterAssertLine::rowCount);
  // clang-format on
  cow_2DArray<T> table(3, 3, T(0));
  for (int i = 0; i < 3; ++i) {
    const cow_1DArrayList<T>& row = lcs.ConstGet(i);
    // clang-format off
    UTF_ASSERT(row.Size() == 3, source, utf_QuaternionAdapterAssertLine::rowSize);
    // clang-format on
    for (int j = 0; j < 3; ++j) {
      table.Get(i, j) = row.ConstGet(j);
    }
  }
  return utf_Quaternion<T>(type, table);
}

template <typename T>
typename QuaternionAdapterRules<T>::Rows
QuaternionAdapterRules<T>::cosines(const utf_Quaternion<T>& q, const char* source) {
  if (q.type() != res_Rotation2d && q.type() != res_Rotation3d) {
    // clang-format off
    UTF_ASSERT(!"Unknown quaternion type", source, utf_QuaternionAdapterAssertLine::cosinesUnknownType);
    // clang-format on
  }
  const cow_2DArray<T> table = q.cosines();
  Rows rows(3);
  for (int i = 0; i < 3; ++i) {
    cow_1DArrayList<T> row(3);
    for (int j = 0; j < 3; ++j) {
      row.Append(table.ConstGet(i, j));
    }
    rows.Append(row);
  }
  return rows;
}

} // namespace utf_impl

#endif
