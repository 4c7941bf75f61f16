#ifndef UTF_BATCH_CHECKS_H
#define UTF_BATCH_CHECKS_H

// The preconditions that every batch call checks on its arrays (private to the engine), before
// anything is read or written.

#include "utf_Assert.h"
#include "utf_BatchTensors.h"

#include <cstddef>

namespace utf_batch {

// An array that `count` items are read from or written to is not null.
inline void requireArray(std::size_t count, const void* array) {
  UTF_ASSERT(count == 0 || array != nullptr, utf_BatchAssertLine::source,
             utf_BatchAssertLine::nullArgument);
}

} // namespace utf_batch

#endif
