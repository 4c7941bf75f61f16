// Tests of KPTnex: class identities, nex_Exception and nex_AssertException.

#include "test_support.h"

#include <exception>
#include <memory>
#include <string>

// ---------------------------------------------------------------------------------------------
// Throw

TEST(NexThrow, RaisesTheMostDerivedTypeWithFileAndLine) {
  nex_AssertException failure(atr_String("x > 0"));
  try {
    failure.Throw("src/solver.cpp", 42);
    FAIL() << "Throw returned";
  } catch (const nex_AssertException& caught) {
    EXPECT_STREQ(caught.Expression().Text(), "x > 0");
    EXPECT_STREQ(caught.File(), "src/solver.cpp");
    EXPECT_EQ(caught.Line(), 42);
  }
}

TEST(NexThrow, RecordsFileAndLineOnTheThrownObject) {
  nex_AssertException failure(atr_String("n >= 1"));
  EXPECT_EQ(failure.File(), nullptr);
  EXPECT_EQ(failure.Line(), 0);
  EXPECT_THROW(failure.Throw("a.cpp", 7), nex_AssertException);
  EXPECT_STREQ(failure.File(), "a.cpp");
  EXPECT_EQ(failure.Line(), 7);
}

TEST(NexThrow, ThrowThroughABaseReferenceRaisesTheDerivedType) {
  nex_AssertException failure(atr_String("ok"));
  nex_Exception& base = failure;
  EXPECT_THROW(base.Throw("b.cpp", 3), nex_AssertException);
}

TEST(NexThrow, AssertExceptionIsCaughtAsNexException) {
  nex_AssertException failure(atr_String("i < n"));
  try {
    failure.Throw("c.cpp", 11);
    FAIL() << "Throw returned";
  } catch (const nex_Exception& caught) {
    EXPECT_STREQ(caught.File(), "c.cpp");
    EXPECT_EQ(caught.Line(), 11);
    EXPECT_EQ(caught.DynTypeId(), nex_AssertException::TypeId());
    const auto* derived = dynamic_cast<const nex_AssertException*>(&caught);
    ASSERT_NE(derived, nullptr);
    EXPECT_STREQ(derived->Expression().Text(), "i < n");
  }
}

TEST(NexThrow, AssertExceptionIsCaughtAsStdException) {
  nex_AssertException failure(atr_String("p != 0"));
  try {
    failure.Throw("d.cpp", 5);
    FAIL() << "Throw returned";
  } catch (const std::exception& caught) {
    EXPECT_STREQ(caught.what(), "d.cpp:5: Assertion failed: p != 0");
    const auto* derived = dynamic_cast<const nex_AssertException*>(&caught);
    ASSERT_NE(derived, nullptr);
    EXPECT_EQ(derived->DynTypeId(), nex_AssertException::TypeId());
  }
}

TEST(NexThrow, PlainExceptionIsNotAnAssertException) {
  nex_Exception plain;
  bool caughtAsBase = false;
  try {
    try {
      plain.Throw("e.cpp", 9);
    } catch (const nex_AssertException&) {
      ADD_FAILURE() << "a plain nex_Exception was caught as nex_AssertException";
    }
  } catch (const nex_Exception& caught) {
    caughtAsBase = true;
    EXPECT_STREQ(caught.File(), "e.cpp");
    EXPECT_EQ(caught.Line(), 9);
    EXPECT_EQ(caught.DynTypeId(), nex_Exception::TypeId());
    EXPECT_EQ(dynamic_cast<const nex_AssertException*>(&caught), nullptr);
  }
  EXPECT_TRUE(caughtAsBase);
}

TEST(NexThrow, ThrowingAgainRecordsTheNewPlace) {
  nex_AssertException failure(atr_String("again"));
  EXPECT_THROW(failure.Throw("first.cpp", 1), nex_AssertException);
  try {
    failure.Throw("second.cpp", 2);
  } catch (const nex_AssertException& caught) {
    EXPECT_STREQ(caught.File(), "second.cpp");
    EXPECT_EQ(caught.Line(), 2);
    EXPECT_STREQ(caught.what(), "second.cpp:2: Assertion failed: again");
  }
}

// ---------------------------------------------------------------------------------------------
// The expression

TEST(NexAssertException, ExpressionIsKeptExactly) {
  const nex_AssertException failure(atr_String("a  +  b == c"));
  EXPECT_STREQ(failure.Expression().Text(), "a  +  b == c");
}

TEST(NexAssertException, ExpressionWithEmbeddedQuotesIsKeptExactly) {
  const nex_AssertException failure(atr_String("!\"Unknown quaternion type\""));
  EXPECT_STREQ(failure.Expression().Text(), "!\"Unknown quaternion type\"");
  EXPECT_EQ(failure.Expression().Length(), 26);
}

TEST(NexAssertException, EmptyExpression) {
  const nex_AssertException failure{atr_String()};
  EXPECT_STREQ(failure.Expression().Text(), "");
  EXPECT_STREQ(failure.UserReport().Text(), "Assertion failed: ");
}

TEST(NexAssertException, ExpressionIsSharedNotCopied) {
  const atr_String expression("index >= 0");
  ASSERT_EQ(expression.UseCount(), 1);
  {
    AllocationCounter allocations;
    const nex_AssertException failure(expression);
    EXPECT_EQ(allocations.Count(), 0);
    EXPECT_EQ(expression.UseCount(), 2);
    EXPECT_EQ(failure.Expression().Text(), expression.Text());
  }
  EXPECT_EQ(expression.UseCount(), 1);
}

TEST(NexAssertException, ExceptionLeaksNothing) {
  const long long live = mem_LiveBlocks();
  {
    nex_AssertException failure(atr_String("leak check"));
    (void)failure.what();
    try {
      failure.Throw("f.cpp", 1);
    } catch (const nex_Exception& caught) {
      EXPECT_NE(caught.what(), nullptr);
    }
  }
  EXPECT_EQ(mem_LiveBlocks(), live);
}

// ---------------------------------------------------------------------------------------------
// Reports

TEST(NexAssertException, UserReportPrefixesTheExpression) {
  const nex_AssertException failure(atr_String("rows > 0"));
  EXPECT_STREQ(failure.UserReport().Text(), "Assertion failed: rows > 0");
}

TEST(NexAssertException, DeveloperReportBeforeThrow) {
  const nex_AssertException failure(atr_String("rows > 0"));
  EXPECT_STREQ(failure.DeveloperReport().Text(), "(unknown):0: Assertion failed: rows > 0");
}

TEST(NexAssertException, DeveloperReportAfterThrow) {
  nex_AssertException failure(atr_String("rows > 0"));
  try {
    failure.Throw("lib/table.cpp", 1234);
  } catch (const nex_AssertException& caught) {
    EXPECT_STREQ(caught.DeveloperReport().Text(), "lib/table.cpp:1234: Assertion failed: rows > 0");
  }
  EXPECT_STREQ(failure.DeveloperReport().Text(), "lib/table.cpp:1234: Assertion failed: rows > 0");
}

TEST(NexAssertException, DeveloperReportWithExtremeLines) {
  nex_AssertException failure(atr_String("q"));
  EXPECT_THROW(failure.Throw("z.cpp", 2147483647), nex_AssertException);
  EXPECT_STREQ(failure.DeveloperReport().Text(), "z.cpp:2147483647: Assertion failed: q");
  EXPECT_THROW(failure.Throw("z.cpp", -2147483647 - 1), nex_AssertException);
  EXPECT_STREQ(failure.DeveloperReport().Text(), "z.cpp:-2147483648: Assertion failed: q");
}

TEST(NexAssertException, DeveloperReportWithQuotedExpression) {
  nex_AssertException failure(atr_String("!\"Unknown quaternion type\""));
  EXPECT_THROW(failure.Throw("q.cpp", 88), nex_AssertException);
  EXPECT_STREQ(failure.DeveloperReport().Text(),
               "q.cpp:88: Assertion failed: !\"Unknown quaternion type\"");
}

TEST(NexException, DeveloperReportOfAPlainExceptionPrefixesItsUserReport) {
  nex_Exception plain;
  const std::string before = std::string("(unknown):0: ") + plain.UserReport().Text();
  EXPECT_STREQ(plain.DeveloperReport().Text(), before.c_str());
  EXPECT_GT(plain.UserReport().Length(), 0);
  EXPECT_THROW(plain.Throw("g.cpp", 6), nex_Exception);
  const std::string after = std::string("g.cpp:6: ") + plain.UserReport().Text();
  EXPECT_STREQ(plain.DeveloperReport().Text(), after.c_str());
}

TEST(NexAssertException, AsStringIsTheDeveloperReport) {
  nex_AssertException failure(atr_String("k == 3"));
  EXPECT_STREQ(failure.AsString().Text(), "(unknown):0: Assertion failed: k == 3");
  EXPECT_THROW(failure.Throw("h.cpp", 21), nex_AssertException);
  EXPECT_STREQ(failure.AsString().Text(), "h.cpp:21: Assertion failed: k == 3");
}

TEST(NexAssertException, WhatEqualsAsString) {
  nex_AssertException failure(atr_String("w"));
  try {
    failure.Throw("i.cpp", 4);
  } catch (const nex_AssertException& caught) {
    EXPECT_STREQ(caught.what(), caught.AsString().Text());
    EXPECT_STREQ(caught.what(), "i.cpp:4: Assertion failed: w");
  }
}

TEST(NexAssertException, WhatBeforeThrowEqualsAsString) {
  const nex_AssertException failure(atr_String("w"));
  EXPECT_STREQ(failure.what(), failure.AsString().Text());
  EXPECT_STREQ(failure.what(), "(unknown):0: Assertion failed: w");
}

TEST(NexAssertException, WhatFollowsTheRecordedPlaceAfterThrow) {
  nex_AssertException failure(atr_String("w"));
  EXPECT_STREQ(failure.what(), "(unknown):0: Assertion failed: w");
  EXPECT_THROW(failure.Throw("j.cpp", 8), nex_AssertException);
  EXPECT_STREQ(failure.what(), failure.AsString().Text());
  EXPECT_STREQ(failure.what(), "j.cpp:8: Assertion failed: w");
}

TEST(NexException, WhatOfAPlainExceptionEqualsAsString) {
  nex_Exception plain;
  EXPECT_STREQ(plain.what(), plain.AsString().Text());
  EXPECT_STREQ(plain.what(), plain.DeveloperReport().Text());
}

// ---------------------------------------------------------------------------------------------
// Copy

TEST(NexAssertException, CopyIsTheMostDerivedTypeWithTheSameState) {
  nex_AssertException failure(atr_String("m != 0"));
  EXPECT_THROW(failure.Throw("k.cpp", 77), nex_AssertException);
  const nex_Exception& base = failure;
  const std::unique_ptr<nex_Exception> copy(base.Copy());
  ASSERT_NE(copy, nullptr);
  EXPECT_NE(copy.get(), &base);
  EXPECT_EQ(copy->DynTypeId(), nex_AssertException::TypeId());
  const auto* derived = dynamic_cast<const nex_AssertException*>(copy.get());
  ASSERT_NE(derived, nullptr);
  EXPECT_STREQ(derived->Expression().Text(), "m != 0");
  EXPECT_STREQ(copy->File(), "k.cpp");
  EXPECT_EQ(copy->Line(), 77);
  EXPECT_STREQ(copy->what(), "k.cpp:77: Assertion failed: m != 0");
}

TEST(NexAssertException, CopyRaisesTheMostDerivedType) {
  const nex_AssertException failure(atr_String("c"));
  const std::unique_ptr<nex_Exception> copy(failure.Copy());
  EXPECT_THROW(copy->Throw("l.cpp", 1), nex_AssertException);
}

TEST(NexException, CopyOfAPlainException) {
  nex_Exception plain;
  EXPECT_THROW(plain.Throw("m.cpp", 12), nex_Exception);
  const std::unique_ptr<nex_Exception> copy(plain.Copy());
  EXPECT_EQ(copy->DynTypeId(), nex_Exception::TypeId());
  EXPECT_EQ(dynamic_cast<const nex_AssertException*>(copy.get()), nullptr);
  EXPECT_STREQ(copy->File(), "m.cpp");
  EXPECT_EQ(copy->Line(), 12);
}

// ---------------------------------------------------------------------------------------------
// Class identities

TEST(ClsUid, DefaultIdentityIsNull) {
  const cls_Uid none;
  EXPECT_TRUE(none.IsNull());
  EXPECT_STREQ(none.Name(), "");
  EXPECT_TRUE(none == cls_Uid());
}

TEST(ClsUid, NamedIdentityIsNotNull) {
  const cls_Uid named("Widget");
  EXPECT_FALSE(named.IsNull());
  EXPECT_STREQ(named.Name(), "Widget");
  EXPECT_TRUE(named != cls_Uid());
}

TEST(ClsUid, EqualNamesInDifferentStorageAreEqual) {
  static const char first[] = "Widget";
  static const char second[] = "Widget";
  ASSERT_NE(static_cast<const void*>(first), static_cast<const void*>(second));
  EXPECT_TRUE(cls_Uid(first) == cls_Uid(second));
  EXPECT_FALSE(cls_Uid(first) != cls_Uid(second));
}

TEST(ClsUid, DifferentNamesAreUnequal) {
  EXPECT_FALSE(cls_Uid("Widget") == cls_Uid("Gadget"));
  EXPECT_TRUE(cls_Uid("Widget") != cls_Uid("Widgets"));
}

TEST(ClsUid, ExceptionIdentitiesDiffer) {
  EXPECT_NE(nex_Exception::TypeId(), nex_AssertException::TypeId());
  EXPECT_FALSE(nex_Exception::TypeId().IsNull());
  EXPECT_FALSE(nex_AssertException::TypeId().IsNull());
  EXPECT_EQ(nex_Exception::TypeId(), nex_Exception::TypeId());
}

TEST(ClsUid, DynTypeIdThroughABaseReference) {
  const nex_AssertException failure(atr_String("t"));
  const nex_Exception& base = failure;
  EXPECT_EQ(base.DynTypeId(), nex_AssertException::TypeId());
  const nex_Exception plain;
  EXPECT_EQ(plain.DynTypeId(), nex_Exception::TypeId());
}

// ---------------------------------------------------------------------------------------------
// Module start and end

TEST(NexModule, StartsAndEndsNestAndLeaveTheCounterAlone) {
  expectStartsAndEndsNest({nex_initialize, nex_finalize, nex_initialized}, 2, 2);
}

TEST(NexModule, UnmatchedEndIsIgnored) {
  expectUnmatchedEndIsIgnored({nex_initialize, nex_finalize, nex_initialized}, 0);
}
