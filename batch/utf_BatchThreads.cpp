// The engine's threads: a oneTBB task arena of the configured size, shared by every call, and
// the block loop that runs a call's blocks on it; and the SIMD target's name.

#include "utf_BatchThreads.h"

#include "utf_Assert.h"
#include "utf_BatchBlocks.h"
#include "utf_BatchTensors.h"

#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/info.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/partitioner.h>
#include <oneapi/tbb/task_arena.h>

#include <memory>
#include <mutex>

// ThreadSanitizer sees only instrumented code, and the platform's oneTBB is not instrumented: the
// hand-off of a call's blocks to the pool's threads, and their return to the caller, happen
// inside it, unseen, so that every access of a block run on another thread would look unordered
// with the caller's accesses before and after the call. The calls below state that order where
// oneTBB provides it: what the caller did before the call happens before every block, and every
// block happens before the call returns. They order no two blocks, so that a race between blocks
// is still reported. Without ThreadSanitizer they are empty.
#if defined(__SANITIZE_THREAD__)
#define UTF_BATCH_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define UTF_BATCH_THREAD_SANITIZER 1
#endif
#endif

#ifdef UTF_BATCH_THREAD_SANITIZER
#include <sanitizer/tsan_interface.h>
#endif

namespace {

// What happened on this thread before happensBefore(sync) happens before what follows
// happensAfter(sync) on any thread.
inline void happensBefore([[maybe_unused]] void* sync) {
#ifdef UTF_BATCH_THREAD_SANITIZER
  __tsan_release(sync);
#endif
}

inline void happensAfter([[maybe_unused]] void* sync) {
#ifdef UTF_BATCH_THREAD_SANITIZER
  __tsan_acquire(sync);
#endif
}

// The configured count (0: every core) and the arena that serves it. A call takes its own
// reference to the arena, so that a change of count never pulls an arena from under a running
// call.
struct ThreadPool {
  std::mutex mutex;
  int configured = 0;
  std::shared_ptr<oneapi::tbb::task_arena> arena;
};

ThreadPool& pool() {
  static ThreadPool instance;
  return instance;
}

// The threads a count means: every core the process may run on for 0, and never more than
// those (oneTBB would not start more workers; a larger count would only be a promise not kept).
int resolved(int configured) {
  if (configured == 1) {
    // The calling thread alone: oneTBB is not even asked (its first use starts it, once).
    return 1;
  }
  const int cores = oneapi::tbb::info::default_concurrency();
  return configured > 0 && configured < cores ? configured : cores;
}

// The arena of the current count, made on first use; null when calls run on their own thread.
std::shared_ptr<oneapi::tbb::task_arena> currentArena() {
  ThreadPool& p = pool();
  const std::lock_guard<std::mutex> lock(p.mutex);
  const int threads = resolved(p.configured);
  if (threads <= 1) {
    return nullptr;
  }
  if (!p.arena) {
    p.arena = std::make_shared<oneapi::tbb::task_arena>(threads);
  }
  return p.arena;
}

} // namespace

void utf_batchSetThreadCount(int count) {
  UTF_ASSERT(count >= 0, utf_BatchAssertLine::source, utf_BatchAssertLine::threadCount);
  ThreadPool& p = pool();
  const std::lock_guard<std::mutex> lock(p.mutex);
  if (count != p.configured) {
    p.configured = count;
    p.arena.reset();
  }
}

int utf_batchThreadCount() {
  ThreadPool& p = pool();
  const std::lock_guard<std::mutex> lock(p.mutex);
  return resolved(p.configured);
}

namespace utf_batch {

namespace {

// A call's blocks on the arena: parallel_for over them, one task per block (the split decides
// only which thread runs a block, never its results). The arena runs the loop on the caller's
// thread, or on a thread of its own when it has no place for the caller (the caller then waits):
// the loop states its order to ThreadSanitizer by its own address, which it knows before it reads
// anything the caller wrote, and each block's task by the same address; they return by the
// address of handedBack.
struct BlockLoop {
  std::size_t count;
  std::size_t blocks;
  BlockBody body;
  void* context;
  char handedBack;

  void runBlock(std::size_t block) const {
    const std::size_t begin = block * utf_batchBlockSize;
    const std::size_t end = begin + utf_batchBlockSize < count ? begin + utf_batchBlockSize : count;
    body(context, begin, end);
  }

  void operator()() const {
    BlockLoop* const self = const_cast<BlockLoop*>(this);
    happensAfter(self);
    oneapi::tbb::parallel_for(
        oneapi::tbb::blocked_range<std::size_t>(0, blocks, 1),
        [self](const oneapi::tbb::blocked_range<std::size_t>& range) {
          happensAfter(self);
          for (std::size_t block = range.begin(); block != range.end(); ++block) {
            self->runBlock(block);
          }
          happensBefore(&self->handedBack);
        },
        oneapi::tbb::simple_partitioner());
    happensBefore(&self->handedBack);
  }
};

} // namespace

void runBlocks(std::size_t count, BlockBody body, void* context) {
  BlockLoop loop{count, (count + utf_batchBlockSize - 1) / utf_batchBlockSize, body, context, 0};
  const std::shared_ptr<oneapi::tbb::task_arena> arena = loop.blocks > 1 ? currentArena() : nullptr;
  if (!arena) {
    for (std::size_t block = 0; block < loop.blocks; ++block) {
      loop.runBlock(block);
    }
    return;
  }
  happensBefore(&loop);
  arena->execute(loop);
  happensAfter(&loop.handedBack);
}

} // namespace utf_batch
