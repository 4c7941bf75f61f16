#ifndef UTF_QUATERNIONADAPTERS_H
#define UTF_QUATERNIONADAPTERS_H

// utf_QuaternionFloatAdapter and utf_QuaternionDoubleAdapter: rotations for callers that hold
// tables as nested lists. An adapter is a utf_Quaternion<float> (or <double>) built from a
// 3 x 3 table given as three rows of three entries, and gives its direction cosines back in the
// same form: row i, entry j is the table's element (i, j).
//
// The two classes differ only in the component type; their code is utf_QuaternionAdapterRules<T>
// below. An adapter adds no field and does not override Copy: Copy() of an adapter gives a plain
// utf_Quaternion<T>. Failed preconditions raise nex_AssertException with the source
// "utf/impl/utf_QuaternionFloatAdapter" or "utf/impl/utf_QuaternionDoubleAdapter" and the lines
// of utf_QuaternionAdapterAssertLine (the quaternion's own assertions keep theirs).

#include "cow_1DArrayList.h"
#include "cow_2DArray.h"
#include "res_DataTypeEnm.h"
#include "utf_Assert.h"
#include "utf_Export.h"
#include "utf_Quaternion.h"

// The line numbers that the adapters report with their assertions, one per check.
struct utf_QuaternionAdapterAssertLine {
  // Constructor from nested lists, not three rows: "lcs.Size() == 3".
  static constexpr int rowCount = 31;
  // Constructor from nested lists, a row without three entries: "row.Size() == 3".
  static constexpr int rowSize = 36;
  // cosines() of an adapter whose type is neither 6 nor 7: "!\"Unknown quaternion type\"".
  static constexpr int cosinesUnknownType = 58;
};

// The code of both adapters, for T = float and T = double; `file` is the source that the
// assertions report.
template <typename T>
struct utf_QuaternionAdapterRules {
  using Rows = cow_1DArrayList<cow_1DArrayList<T>>;

  // The rotation of the given type from three rows of three entries (the quaternion's
  // constructor from a table: its columns are the new axes; type 6 reads the upper-left 2 x 2
  // block). Each row is checked before it is copied.
  static utf_Quaternion<T> rotation(res_DataTypeEnm type, const Rows& lcs, const char* file);
  // The quaternion's cosines() as three rows of three entries; the type must be 6 or 7.
  static Rows cosines(const utf_Quaternion<T>& q, const char* file);
};

class UTF_EXPORT utf_QuaternionFloatAdapter : public utf_Quaternion<float> {
public:
  // An owning copy of q, with q's type.
  explicit utf_QuaternionFloatAdapter(const utf_Quaternion<float>& q);
  // The rotation of the given type from a table of three rows of three entries: "lcs.Size() ==
  // 3", "row.Size() == 3" for each row, then the quaternion's checks of its table constructor.
  utf_QuaternionFloatAdapter(res_DataTypeEnm type,
                             const cow_1DArrayList<cow_1DArrayList<float>>& lcs);

  // The direction cosines (utf_Quaternion<float>::cosines()) as three rows of three entries;
  // the type must be 6 or 7 ("!\"Unknown quaternion type\"").
  cow_1DArrayList<cow_1DArrayList<float>> cosines() const;
  // The kernel form, cosines(float (*)[3]), stays available.
  using utf_Quaternion<float>::cosines;
};

class UTF_EXPORT utf_QuaternionDoubleAdapter : public utf_Quaternion<double> {
public:
  // An owning copy of q, with q's type.
  explicit utf_QuaternionDoubleAdapter(const utf_Quaternion<double>& q);
  // The rotation of the given type from a table of three rows of three entries: "lcs.Size() ==
  // 3", "row.Size() == 3" for each row, then the quaternion's checks of its table constructor.
  utf_QuaternionDoubleAdapter(res_DataTypeEnm type,
                              const cow_1DArrayList<cow_1DArrayList<double>>& lcs);

  // The direction cosines (utf_Quaternion<double>::cosines()) as three rows of three entries;
  // the type must be 6 or 7 ("!\"Unknown quaternion type\"").
  cow_1DArrayList<cow_1DArrayList<double>> cosines() const;
  // The kernel form, cosines(double (*)[3]), stays available.
  using utf_Quaternion<double>::cosines;
};

// ---------------------------------------------------------------------------------------------

template <typename T>
utf_Quaternion<T> utf_QuaternionAdapterRules<T>::rotation(res_DataTypeEnm type, const Rows& lcs,
                                                          const char* file) {
  // clang-format off
  UTF_ASSERT(lcs.Size() == 3, file, utf_QuaternionAdapterAssertLine::rowCount);
  // clang-format on
  cow_2DArray<T> table(3, 3, T(0));
  for (int i = 0; i < 3; ++i) {
    const cow_1DArrayList<T>& row = lcs.ConstGet(i);
    // clang-format off
    UTF_ASSERT(row.Size() == 3, file, utf_QuaternionAdapterAssertLine::rowSize);
    // clang-format on
    for (int j = 0; j < 3; ++j) {
      table.Get(i, j) = row.ConstGet(j);
    }
  }
  return utf_Quaternion<T>(type, table);
}

template <typename T>
typename utf_QuaternionAdapterRules<T>::Rows
utf_QuaternionAdapterRules<T>::cosines(const utf_Quaternion<T>& q, const char* file) {
  if (q.type() != res_Rotation2d && q.type() != res_Rotation3d) {
    // clang-format off
    UTF_ASSERT(!"Unknown quaternion type", file, utf_QuaternionAdapterAssertLine::cosinesUnknownType);
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

#endif
