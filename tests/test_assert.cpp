// The library's assertion mechanism: a failed precondition raises nex_AssertException carrying
// the asserted expression's text, the source name and the assertion's number, exactly; and the
// identity (source, number) of every assertion the library makes, which is fixed. The other test
// programs name the identifiers (utf_TensorAssertLine::notNormal, ...); only this one spells out
// their values, so a renumbering shows here.

#include "test_support.h"

#include <string>

namespace {

int s_evaluations = 0;

bool countedFalse() {
  ++s_evaluations;
  return false;
}

bool countedTrue() {
  ++s_evaluations;
  return true;
}

TEST(Assert, FailedAssertionCarriesTextFileAndLine) {
  try {
    UTF_ASSERT(1 + 1 == 3, "include/utf_Example", 4242);
    FAIL() << "the assertion did not fire";
  } catch (const nex_AssertException& failure) {
    EXPECT_STREQ(failure.Expression().Text(), "1 + 1 == 3");
    EXPECT_STREQ(failure.File(), "include/utf_Example");
    EXPECT_EQ(failure.Line(), 4242);
  }
}

TEST(Assert, HoldingAssertionDoesNothing) {
  int reached = 0;
  UTF_ASSERT(2 > 1, "include/utf_Example", 1);
  ++reached;
  EXPECT_EQ(reached, 1);
}

TEST(Assert, ExpressionIsEvaluatedOnce) {
  s_evaluations = 0;
  UTF_ASSERT(countedTrue(), "include/utf_Example", 1);
  EXPECT_EQ(s_evaluations, 1);
  s_evaluations = 0;
  EXPECT_THROW(UTF_ASSERT(countedFalse(), "include/utf_Example", 2), nex_AssertException);
  EXPECT_EQ(s_evaluations, 1);
}

TEST(Assert, UnconditionalFailureKeepsTheQuotedMessage) {
  // The text of !"message" starts with an exclamation mark followed by a double quote.
  expectAssertion([] { UTF_ASSERT(!"Unknown quaternion type", "include/utf_Quaternion", 77); },
                  "!\"Unknown quaternion type\"", "include/utf_Quaternion", 77);
}

TEST(Assert, TextKeepsBlanksAndInnerQuotesAsWritten) {
  const double entry = 0.5;
  expectAssertion(
      [&] { UTF_ASSERT(entry > 0.9 && "Transformation not normal", "include/utf_Tensor", 830); },
      "entry > 0.9 && \"Transformation not normal\"", "include/utf_Tensor", 830);
  const int rows = 4;
  // The asserted expression is written without blanks on purpose: its text must keep that form.
  // clang-format off
  expectAssertion([&] { UTF_ASSERT(rows==2 || rows==3, "include/utf_Quaternion", 12); },
                  "rows==2 || rows==3", "include/utf_Quaternion", 12);
  // clang-format on
}

TEST(Assert, CatchableAsTheBaseExceptionTypes) {
  try {
    UTF_ASSERT(false, "utf/impl/utf_QuaternionFloatAdapter", 9);
  } catch (const std::exception& failure) {
    const std::string text = failure.what();
    EXPECT_NE(text.find("utf/impl/utf_QuaternionFloatAdapter:9: "), std::string::npos) << text;
    EXPECT_NE(text.find("Assertion failed: false"), std::string::npos) << text;
    return;
  }
  FAIL() << "the assertion did not fire";
}

TEST(Assert, FailureLeaksNothing) {
  const long long before = mem_LiveBlocks();
  for (int i = 0; i < 100; ++i) {
    try {
      UTF_ASSERT(i < 0, "include/utf_Example", i);
    } catch (const nex_AssertException&) {
    }
  }
  EXPECT_EQ(mem_LiveBlocks(), before);
}

TEST(Assert, EveryAssertionOfTheLibraryHasItsFixedIdentity) {
  EXPECT_STREQ(utf_QuaternionAssertLine::source, "include/utf_Quaternion");
  EXPECT_EQ(utf_QuaternionAssertLine::matrixUnknownType, 201);
  EXPECT_EQ(utf_QuaternionAssertLine::table3dShape, 202);
  EXPECT_EQ(utf_QuaternionAssertLine::table2dRows, 203);
  EXPECT_EQ(utf_QuaternionAssertLine::table2dTwoColumns, 204);
  EXPECT_EQ(utf_QuaternionAssertLine::table2dThreeColumns, 205);
  EXPECT_EQ(utf_QuaternionAssertLine::tableUnknownType, 206);
  EXPECT_EQ(utf_QuaternionAssertLine::multType, 207);

  EXPECT_STREQ(utf_QuaternionAdapterAssertLine::floatSource, "utf/impl/utf_QuaternionFloatAdapter");
  EXPECT_STREQ(utf_QuaternionAdapterAssertLine::doubleSource,
               "utf/impl/utf_QuaternionDoubleAdapter");
  EXPECT_EQ(utf_QuaternionAdapterAssertLine::rowCount, 31);
  EXPECT_EQ(utf_QuaternionAdapterAssertLine::rowSize, 36);
  EXPECT_EQ(utf_QuaternionAdapterAssertLine::cosinesUnknownType, 58);

  EXPECT_STREQ(utf_TensorAssertLine::source, "include/utf_Tensor");
  EXPECT_EQ(utf_TensorAssertLine::rotationType, 884);
  EXPECT_EQ(utf_TensorAssertLine::notNormal, 830);

  EXPECT_STREQ(utf_VectorAssertLine::source, "include/utf_Vector");
  EXPECT_EQ(utf_VectorAssertLine::not2dTransform, 84);
}

} // namespace
