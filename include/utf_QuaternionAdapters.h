#ifndef UTF_QUATERNIONADAPTERS_H
#define UTF_QUATERNIONADAPTERS_H

// utf_QuaternionFloatAdapter and utf_QuaternionDoubleAdapter: rotations for callers that hold
// tables as nested lists. An adapter is a utf_Quaternion<float> (or <double>) built from a
// 3 x 3 table given as three rows of three entries, and gives its direction cosines back in the
// same form: row i, entry j is the table's element (i, j).
//
// The two classes differ only in the component type. An adapter adds no field and does not
// override Copy: Copy() of an adapter gives a plain utf_Quaternion<T>. Failed preconditions
// raise the assertions of utf_QuaternionAdapterAssertLine (utf_Assert.h), each adapter with its
// own source; the quaternion's own assertions keep theirs.

#include "cow_1DArrayList.h"
#include "res_DataTypeEnm.h"
#include "utf_Assert.h"
#include "utf_Export.h"
#include "utf_Quaternion.h"

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

#endif
