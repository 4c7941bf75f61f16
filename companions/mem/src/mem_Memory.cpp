#include "KPTmem.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

int s_depth = 0;
std::atomic<long long> s_liveBlocks{0};
std::atomic<long long> s_allocations{0};

// Requests above this size can never be met by the C allocator; they are refused here without
// asking it (a sanitizer's allocator would otherwise stop the process instead of failing).
constexpr std::size_t kLargestRequest = static_cast<std::size_t>(PTRDIFF_MAX);

} // namespace

void mem_initialize(int& /*counter*/) {
  // The module needs no set-up; the depth tells callers that starts and ends pair up.
  ++s_depth;
}

void mem_finalize(int& /*counter*/) {
  if (s_depth > 0) {
    --s_depth;
  }
}

int mem_initialized() {
  return s_depth;
}

void* mem_Allocate(std::size_t bytes) {
  if (bytes > kLargestRequest) {
    throw std::bad_alloc();
  }
  void* block = std::malloc(bytes == 0 ? 1 : bytes);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  s_liveBlocks.fetch_add(1, std::memory_order_relaxed);
  s_allocations.fetch_add(1, std::memory_order_relaxed);
  return block;
}

void mem_Free(void* block) {
  if (block == nullptr) {
    return;
  }
  s_liveBlocks.fetch_sub(1, std::memory_order_relaxed);
  std::free(block);
}

long long mem_LiveBlocks() {
  return s_liveBlocks.load(std::memory_order_relaxed);
}

long long mem_Allocations() {
  return s_allocations.load(std::memory_order_relaxed);
}

std::size_t mem_ArrayBytes(std::int64_t count, std::size_t width) {
  if (count < 0) {
    return SIZE_MAX;
  }
  const auto elements = static_cast<std::uint64_t>(count);
  if (width != 0 && elements > UINT64_MAX / width) {
    return SIZE_MAX;
  }
  const std::uint64_t bytes = elements * width;
  if (bytes > SIZE_MAX) {
    return SIZE_MAX;
  }
  return static_cast<std::size_t>(bytes);
}
