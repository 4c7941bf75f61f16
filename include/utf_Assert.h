#ifndef UTF_ASSERT_H
#define UTF_ASSERT_H

// The library's one assertion mechanism, and the identity of every assertion it makes.
//
// UTF_ASSERT(expression, source, number) evaluates the expression once; when it is false, a
// nex_AssertException holding the expression's source text is raised through
// nex_Exception::Throw(source, number). The text is the stringized expression, so each assertion
// is written exactly as its text must read, blanks included; a condition that always fails is
// written !"message", and its text then begins with an exclamation mark and a double quote.
//
// An assertion is identified by the pair (source, number) below. Both are fixed parts of the
// library's interface, so that a caller can tell one failure from another: the source is a name
// ("include/utf_Tensor"), and the number an identifier, NOT the line of any file of this
// project, whatever the exception's Line() accessor is called.

#include "utf_Export.h"

// Builds the exception (an atr_String of the text, shared into a nex_AssertException) and raises
// it with Throw(source, number).
[[noreturn]] UTF_EXPORT void utf_assertionFailed(const char* expression, const char* source,
                                                 int number);

#define UTF_ASSERT(expression, source, number)                                                     \
  do {                                                                                             \
    if (!(expression)) {                                                                           \
      utf_assertionFailed(#expression, source, number);                                            \
    }                                                                                              \
  } while (false)

// utf_Quaternion<T> (utf_Quaternion.h).
struct utf_QuaternionAssertLine {
  static constexpr const char* source = "include/utf_Quaternion";
  // Constructor from a rotation matrix, type neither 6 nor 7: "!\"Unknown quaternion type\"".
  static constexpr int matrixUnknownType = 201;
  // Constructor from a table, type 7, table not 3 x 3: "c.Rows() == 3 && c.Cols() == 3".
  static constexpr int table3dShape = 202;
  // Constructor from a table, type 6, neither 2 nor 3 rows: "c.Rows()==2 || c.Rows()==3".
  static constexpr int table2dRows = 203;
  // Constructor from a table, type 6, two rows but not two columns: "c.Cols() == 2".
  static constexpr int table2dTwoColumns = 204;
  // Constructor from a table, type 6, three rows but not three columns: "c.Cols() == 3".
  static constexpr int table2dThreeColumns = 205;
  // Constructor from a table, type neither 6 nor 7: "!\"Unknown quaternion type\"".
  static constexpr int tableUnknownType = 206;
  // mult of two rotations of different types: "utf_EngineeringData<T>::type() == rhs.type()".
  static constexpr int multType = 207;
};

// utf_QuaternionFloatAdapter and utf_QuaternionDoubleAdapter (utf_QuaternionAdapters.h); each
// adapter reports its own source.
struct utf_QuaternionAdapterAssertLine {
  static constexpr const char* floatSource = "utf/impl/utf_QuaternionFloatAdapter";
  static constexpr const char* doubleSource = "utf/impl/utf_QuaternionDoubleAdapter";
  // Constructor from nested lists, not three rows: "lcs.Size() == 3".
  static constexpr int rowCount = 31;
  // Constructor from nested lists, a row without three entries: "row.Size() == 3".
  static constexpr int rowSize = 36;
  // cosines() of an adapter whose type is neither 6 nor 7: "!\"Unknown quaternion type\"".
  static constexpr int cosinesUnknownType = 58;
};

// utf_Tensor<T> (utf_Tensor.h).
struct utf_TensorAssertLine {
  static constexpr const char* source = "include/utf_Tensor";
  // transform by a rotation whose type is not QuaternionType(): "q.type() == QuaternionType()".
  static constexpr int rotationType = 884;
  // transformControl of a non-full tensor by a table that tilts its plane:
  // "coss.ConstGet(2,2) > 0.9 && \"Transformation not normal\"".
  static constexpr int notNormal = 830;
};

// utf_Vector<T> (utf_Vector.h).
struct utf_VectorAssertLine {
  static constexpr const char* source = "include/utf_Vector";
  // transform of a two-component vector by a rotation that does not turn about the 3-axis only:
  // "coss.ConstGet(2,2) > 0.99 || !\"Not a valid 2D transform\"".
  static constexpr int not2dTransform = 84;
};

#endif
