#ifndef UTF_BATCH_TENSORS_H
#define UTF_BATCH_TENSORS_H

// How the batch engine reads N tensors, and N direction-cosine tables, from the caller's arrays.

#include "res_DataTypeEnm.h"
#include "utf_BatchExport.h"

#include <cstddef>

// The order of a tensor's stored values. The planar and surface layouts have one order, the
// library's; the full layout (type 9) is stored in any of these:
//
//   order    values  stored as
//   -------  ------  -----------------------------------------------------------------
//   Library     6    S11, S22, S33, S12, S13, S23
//   Vtk         6    XX, YY, ZZ, XY, YZ, XZ      (S11, S22, S33, S12, S23, S13)
//   Voigt       6    11, 22, 33, 23, 13, 12      (S11, S22, S33, S23, S13, S12)
//   Matrix      9    the 3 x 3 matrix, row-major (S11, S12, S13, S21, S22, S23, S31, S32, S33)
//
// A matrix is read by its upper triangle (S12, S13, S23 from entries 1, 2 and 5): the lower
// triangle is not read, so a caller that may hold an asymmetric matrix checks it first. A matrix
// holds tensor components: it takes no engineering-shear flag.
enum class utf_BatchOrder { Library, Vtk, Voigt, Matrix };

// The identities (source name and fixed number) of the engine's assertions; see utf_Assert.h for
// the mechanism.
struct utf_BatchAssertLine {
  static constexpr const char* source = "include/utf_Batch";
  // A view's layout that is no tensor layout (9 to 13): "isTensorLayout(layout)".
  static constexpr int layoutNotTensor = 1;
  // An order other than Library for a planar or surface layout:
  // "order == utf_BatchOrder::Library || layout == res_Tensor3dFull".
  static constexpr int orderNeedsFullLayout = 2;
  // An engineering-shear flag on matrices: "!(engineeringShear && order ==
  // utf_BatchOrder::Matrix)".
  static constexpr int matrixHasNoEngineeringShear = 3;
  // A stride shorter than a tensor's values: "stride >= values".
  static constexpr int strideTooShort = 4;
  // A view of tensors over a null array: "count == 0 || data != nullptr".
  static constexpr int nullArray = 5;
  // Tables per item for a different count of items: "tables.count() == count" (checked where a
  // call takes a table per item).
  static constexpr int tableCount = 6;
  // A cylinder's or a sphere's axis that has no direction (zero, NaN or infinite length):
  // "axisLength > 0.0 && std::isfinite(axisLength)".
  static constexpr int axisNotADirection = 7;
  // A thread count below 0: "count >= 0".
  static constexpr int threadCount = 8;
  // An output array that overlaps the input where the function does not allow it:
  // "!overlaps(...)".
  static constexpr int outputOverlapsInput = 9;
  // Any other array of a call (an output, points, rotations) null while items are to be read or
  // written: "count == 0 || array != nullptr".
  static constexpr int nullArgument = 10;
};

// A read-only view of `count` tensors of one layout, each stored as `values()` numbers in
// `order`, tensor i starting at data()[i * stride]. Float and double.
template <typename T>
class UTF_BATCH_EXPORT utf_BatchTensors {
public:
  // `stride` 0 means the tensors follow one another (stride = values()). Preconditions
  // (utf_BatchAssertLine): layout 9 to 13; an order other than Library only for the full layout;
  // no engineering-shear flag with Matrix; stride 0 or at least values(); data non-null when
  // count > 0.
  utf_BatchTensors(const T* data, std::size_t count, res_DataTypeEnm layout, bool engineeringShear,
                   utf_BatchOrder order = utf_BatchOrder::Library, std::size_t stride = 0);

  const T* data() const { return m_data; }
  std::size_t count() const { return m_count; }
  res_DataTypeEnm layout() const { return m_layout; }
  bool engineeringShear() const { return m_engineeringShear; }
  utf_BatchOrder order() const { return m_order; }
  // Numbers from one tensor to the next.
  std::size_t stride() const { return m_stride; }
  // Numbers a tensor holds: 6 (full), 4 (planar), 3 (surface), 9 (Matrix).
  int values() const;

private:
  const T* m_data;
  std::size_t m_count;
  res_DataTypeEnm m_layout;
  bool m_engineeringShear;
  utf_BatchOrder m_order;
  std::size_t m_stride;
};

// The direction-cosine tables of a change of axes: either one table for every item, or one per
// item. A table is 9 numbers, row-major, its rows the new axes in global components
// (utf_Conventions.h, 4). The tables are read as they are: nothing checks that they are
// orthonormal.
template <typename T>
class utf_BatchTables {
public:
  // One table for every item.
  static utf_BatchTables one(const T* table) { return utf_BatchTables(table, 0, false); }
  // `count` tables, 9 numbers apart.
  static utf_BatchTables perItem(const T* tables, std::size_t count) {
    return utf_BatchTables(tables, count, true);
  }

  const T* data() const { return m_data; }
  bool isPerItem() const { return m_perItem; }
  // The number of tables of a per-item set (0 for one table).
  std::size_t count() const { return m_count; }
  // The table of item i.
  const T* of(std::size_t i) const { return m_perItem ? m_data + 9 * i : m_data; }

private:
  utf_BatchTables(const T* data, std::size_t count, bool perItem)
      : m_data(data), m_count(count), m_perItem(perItem) {}

  const T* m_data;
  std::size_t m_count;
  bool m_perItem;
};

extern template class utf_BatchTensors<float>;
extern template class utf_BatchTensors<double>;

#endif
