#ifndef UTF_TEST_MODULE_LIFECYCLE_H
#define UTF_TEST_MODULE_LIFECYCLE_H

// The start and end rules that every companion module shares: each module counts its own
// nesting (only the first start and the last end do work), never changes the caller's counter,
// and ignores an end without a start. One check of each rule for all five modules.

#include <gtest/gtest.h>

// A module's start, end and nesting depth (mem_initialize, mem_finalize, mem_initialized; ...).
struct ModuleLifecycle {
  void (*initialize)(int&);
  void (*finalize)(int&);
  int (*initialized)();
};

// `depth` nested starts, then as many ends: the depth rises and falls by one at each call from
// whatever the process had, and the caller's counter (`counter` on entry) is never changed.
inline void expectStartsAndEndsNest(const ModuleLifecycle& module, int counter, int depth) {
  const int before = module.initialized();
  const int given = counter;
  for (int i = 1; i <= depth; ++i) {
    module.initialize(counter);
    EXPECT_EQ(module.initialized(), before + i) << "after start " << i;
    EXPECT_EQ(counter, given) << "after start " << i;
  }
  for (int i = depth - 1; i >= 0; --i) {
    module.finalize(counter);
    EXPECT_EQ(module.initialized(), before + i) << "after an end, " << i << " starts left";
    EXPECT_EQ(counter, given);
  }
}

// With the module fully ended, an end does nothing and a start counts from zero again; the depth
// the process had is restored afterwards.
inline void expectUnmatchedEndIsIgnored(const ModuleLifecycle& module, int counter) {
  const int given = counter;
  int ended = 0;
  while (module.initialized() > 0) {
    module.finalize(counter);
    ++ended;
  }
  module.finalize(counter);
  EXPECT_EQ(module.initialized(), 0);
  EXPECT_EQ(counter, given);
  module.initialize(counter);
  EXPECT_EQ(module.initialized(), 1) << "a start after an ignored end counts from zero";
  module.finalize(counter);
  EXPECT_EQ(module.initialized(), 0);
  for (int i = 0; i < ended; ++i) {
    module.initialize(counter);
  }
  EXPECT_EQ(module.initialized(), ended);
  EXPECT_EQ(counter, given);
}

#endif
