#ifndef UTF_BATCH_BLOCKS_H
#define UTF_BATCH_BLOCKS_H

// How a batch call walks its N items (private to the engine): blocks of utf_batchBlockSize items
// on the engine's threads; within a block each kernel walks groups of one vector's lanes
// (utf_BatchLoad-inl.h).

#include "utf_BatchThreads.h"

#include <cstddef>

namespace utf_batch {

// Blocks hold whole groups of every target (16 floats for AVX-512), so that only the last group
// of a call is short.
static_assert(utf_batchBlockSize % 16 == 0, "blocks hold whole groups");

// Runs body(context, begin, end) for the blocks [begin, end) of [0, count), on the engine's
// threads (utf_batchSetThreadCount); returns when all have run.
using BlockBody = void (*)(void* context, std::size_t begin, std::size_t end);
void runBlocks(std::size_t count, BlockBody body, void* context);

// runBlocks with any callable taking (begin, end).
template <typename Function>
void forEachBlock(std::size_t count, Function&& function) {
  runBlocks(
      count,
      [](void* context, std::size_t begin, std::size_t end) {
        (*static_cast<Function*>(context))(begin, end);
      },
      &function);
}

} // namespace utf_batch

#endif
