#ifndef UTF_FUZZ_CHECK_H
#define UTF_FUZZ_CHECK_H

// The fuzz targets' invariant check: a broken invariant is a finding, reported like a crash (the
// message, then abort(), which libFuzzer and the replay driver both treat as a failure).

#include <cstdio>
#include <cstdlib>

#define FUZZ_CHECK(condition)                                                                      \
  do {                                                                                             \
    if (!(condition)) {                                                                            \
      std::fprintf(stderr, "%s:%d: invariant broken: %s\n", __FILE__, __LINE__, #condition);       \
      std::abort();                                                                                \
    }                                                                                              \
  } while (false)

#endif
