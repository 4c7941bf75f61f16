// utf_initialize and utf_finalize.
//
// This program defines the ten companion start and end functions itself. The dynamic linker
// binds the library's calls to these definitions (the program exports them and comes first in
// the lookup order), so every call is recorded here, with the counter it received, and then
// forwarded to the real module found next in the lookup order.

#include "test_support.h"

#include <dlfcn.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

struct Call {
  const char* name;
  const int* counterAddress;
  int counterValue;
};

// Constant-initialised, so that calls made while libraries are loaded (before any constructor of
// this program runs) would be recorded as well.
constexpr int kJournalCapacity = 64;
Call s_journal[kJournalCapacity];
int s_journalLength = 0;

void record(const char* name, int& counter) {
  if (s_journalLength < kJournalCapacity) {
    s_journal[s_journalLength++] = Call{name, &counter, counter};
  }
}

using StartOrEnd = void (*)(int&);

// The real function of the companion module, found after this program in the lookup order.
StartOrEnd next(const char* mangledName) {
  void* symbol = dlsym(RTLD_NEXT, mangledName);
  if (symbol == nullptr) {
    std::abort();
  }
  StartOrEnd function;
  std::memcpy(&function, &symbol, sizeof function);
  return function;
}

// Taken when this program's own constructors run: by then every library has been loaded.
const int s_callsAtLoad = s_journalLength;
const int s_utfCounterAtLoad = utf_initialized();

} // namespace

// The interposed companion functions (C++ names, as the modules declare them).
void mem_initialize(int& counter) {
  record("mem_initialize", counter);
  next("_Z14mem_initializeRi")(counter);
}
void atr_initialize(int& counter) {
  record("atr_initialize", counter);
  next("_Z14atr_initializeRi")(counter);
}
void cow_initialize(int& counter) {
  record("cow_initialize", counter);
  next("_Z14cow_initializeRi")(counter);
}
void nex_initialize(int& counter) {
  record("nex_initialize", counter);
  next("_Z14nex_initializeRi")(counter);
}
void gsl_initialize(int& counter) {
  record("gsl_initialize", counter);
  next("_Z14gsl_initializeRi")(counter);
}
void mem_finalize(int& counter) {
  record("mem_finalize", counter);
  next("_Z12mem_finalizeRi")(counter);
}
void atr_finalize(int& counter) {
  record("atr_finalize", counter);
  next("_Z12atr_finalizeRi")(counter);
}
void cow_finalize(int& counter) {
  record("cow_finalize", counter);
  next("_Z12cow_finalizeRi")(counter);
}
void nex_finalize(int& counter) {
  record("nex_finalize", counter);
  next("_Z12nex_finalizeRi")(counter);
}
void gsl_finalize(int& counter) {
  record("gsl_finalize", counter);
  next("_Z12gsl_finalizeRi")(counter);
}

namespace {

std::vector<std::string> journalNames() {
  std::vector<std::string> names;
  for (int i = 0; i < s_journalLength; ++i) {
    names.emplace_back(s_journal[i].name);
  }
  return names;
}

const std::vector<std::string> kStartOrder = {"mem_initialize", "atr_initialize", "cow_initialize",
                                              "nex_initialize", "gsl_initialize"};
const std::vector<std::string> kEndOrder = {"gsl_finalize", "nex_finalize", "cow_finalize",
                                            "atr_finalize", "mem_finalize"};

std::vector<int> companionDepths() {
  return {mem_initialized(), atr_initialized(), cow_initialized(), nex_initialized(),
          gsl_initialized()};
}

class Lifecycle : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(utf_initialized(), 0) << "every test starts and ends balanced";
    s_journalLength = 0;
  }
  void TearDown() override {
    EXPECT_EQ(utf_initialized(), 0) << "the test left the library started";
  }
};

TEST_F(Lifecycle, LoadingTheLibraryDoesNothing) {
  EXPECT_EQ(s_callsAtLoad, 0) << "no companion was started or ended at load time";
  EXPECT_EQ(s_utfCounterAtLoad, 0);
  EXPECT_EQ(companionDepths(), std::vector<int>({0, 0, 0, 0, 0}));
}

TEST_F(Lifecycle, FirstStartStartsTheCompanionsInOrder) {
  int counter = 0;
  utf_initialize(counter);
  EXPECT_EQ(counter, 1);
  EXPECT_EQ(journalNames(), kStartOrder);
  for (int i = 0; i < s_journalLength; ++i) {
    EXPECT_EQ(s_journal[i].counterAddress, &counter) << "the caller's counter is passed on";
    EXPECT_EQ(s_journal[i].counterValue, 1) << "the counter is raised before the companions start";
  }
  EXPECT_EQ(companionDepths(), std::vector<int>({1, 1, 1, 1, 1}));
  EXPECT_EQ(utf_initialized(), 1);
  utf_finalize(counter);
}

TEST_F(Lifecycle, LastEndEndsTheCompanionsInReverseOrder) {
  int counter = 0;
  utf_initialize(counter);
  s_journalLength = 0;
  utf_finalize(counter);
  EXPECT_EQ(counter, 0);
  EXPECT_EQ(journalNames(), kEndOrder);
  for (int i = 0; i < s_journalLength; ++i) {
    EXPECT_EQ(s_journal[i].counterAddress, &counter);
    EXPECT_EQ(s_journal[i].counterValue, 0) << "the counter is lowered before the companions end";
  }
  EXPECT_EQ(companionDepths(), std::vector<int>({0, 0, 0, 0, 0}));
}

TEST_F(Lifecycle, TwoStartsAndTwoEndsCallEachCompanionOnce) {
  int counter = 0;
  utf_initialize(counter);
  utf_initialize(counter);
  EXPECT_EQ(utf_initialized(), 2);
  EXPECT_EQ(journalNames(), kStartOrder) << "the second start only counts";
  utf_finalize(counter);
  EXPECT_EQ(journalNames(), kStartOrder) << "the first end only counts";
  EXPECT_EQ(counter, 1);
  utf_finalize(counter);
  std::vector<std::string> expected = kStartOrder;
  expected.insert(expected.end(), kEndOrder.begin(), kEndOrder.end());
  EXPECT_EQ(journalNames(), expected);
  EXPECT_EQ(counter, 0);
}

TEST_F(Lifecycle, SecondStartDoesNotChangeTheCounter) {
  int counter = 0;
  utf_initialize(counter);
  ASSERT_EQ(counter, 1);
  utf_initialize(counter);
  EXPECT_EQ(counter, 1);
  utf_finalize(counter);
  EXPECT_EQ(counter, 1);
  utf_finalize(counter);
  EXPECT_EQ(counter, 0);
}

TEST_F(Lifecycle, CounterIsOnlyCountedNotRead) {
  int counter = 41;
  utf_initialize(counter);
  EXPECT_EQ(counter, 42);
  ASSERT_EQ(s_journalLength, 5);
  EXPECT_EQ(s_journal[0].counterValue, 42);
  utf_finalize(counter);
  EXPECT_EQ(counter, 41);
}

TEST_F(Lifecycle, EndWithoutStartCallsNothingAndTheNextStartOnlyCounts) {
  int counter = 0;
  utf_finalize(counter);
  EXPECT_EQ(s_journalLength, 0) << "an unmatched end calls nothing";
  EXPECT_EQ(counter, 0);
  EXPECT_EQ(utf_initialized(), -1) << "the start counter goes below zero";

  utf_initialize(counter);
  EXPECT_EQ(s_journalLength, 0) << "the start after an unmatched end calls nothing either";
  EXPECT_EQ(counter, 0);
  EXPECT_EQ(utf_initialized(), 0);
  EXPECT_EQ(companionDepths(), std::vector<int>({0, 0, 0, 0, 0}));

  // The library is stopped again and can be started normally.
  utf_initialize(counter);
  EXPECT_EQ(journalNames(), kStartOrder);
  utf_finalize(counter);
  EXPECT_EQ(counter, 0);
}

TEST_F(Lifecycle, StoppedLibraryCanBeStartedAgain) {
  int counter = 0;
  utf_initialize(counter);
  utf_finalize(counter);
  s_journalLength = 0;
  utf_initialize(counter);
  EXPECT_EQ(journalNames(), kStartOrder);
  EXPECT_EQ(counter, 1);
  utf_finalize(counter);
  EXPECT_EQ(counter, 0);
}

TEST_F(Lifecycle, CompanionsStartedElsewhereStayStarted) {
  // A companion that another library already started keeps its own count: the library's start
  // and end only add to it.
  int other = 0;
  mem_initialize(other);
  s_journalLength = 0;
  int counter = 0;
  utf_initialize(counter);
  EXPECT_EQ(mem_initialized(), 2);
  utf_finalize(counter);
  EXPECT_EQ(mem_initialized(), 1) << "the module started elsewhere is still started";
  mem_finalize(other);
  EXPECT_EQ(mem_initialized(), 0);
}

} // namespace
