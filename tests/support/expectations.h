#ifndef UTF_TEST_EXPECTATIONS_H
#define UTF_TEST_EXPECTATIONS_H

// Expectations every test program uses: a library assertion with its exact identity, and a count
// of allocations that proves a call allocation-free.

#include "utf.h"

#include <gtest/gtest.h>

// Runs `action`, which must fail a library assertion, and checks that the exception carries the
// expression text, the source name and the assertion's number (utf_Assert.h) exactly.
template <typename Action>
void expectAssertion(Action&& action, const char* expression, const char* source, int number) {
  try {
    action();
  } catch (const nex_AssertException& failure) {
    EXPECT_STREQ(failure.Expression().Text(), expression);
    EXPECT_STREQ(failure.File(), source);
    EXPECT_EQ(failure.Line(), number);
    return;
  } catch (...) {
    ADD_FAILURE() << "expected nex_AssertException \"" << expression << "\", got another exception";
    return;
  }
  ADD_FAILURE() << "expected nex_AssertException \"" << expression << "\", nothing was raised";
}

// Number of calls of the global operator new (all forms) in this process so far; the test
// programs replace operator new to count them (allocation_counting.cpp).
long long test_GlobalNewCount();

// Counts the allocations made between its construction and a call of Count(): blocks from the
// memory module (mem_Allocate) and from the global operator new, freed or not.
class AllocationCounter {
public:
  AllocationCounter() : m_mem(mem_Allocations()), m_global(test_GlobalNewCount()) {}
  long long Count() const {
    return (mem_Allocations() - m_mem) + (test_GlobalNewCount() - m_global);
  }

private:
  long long m_mem;
  long long m_global;
};

#endif
