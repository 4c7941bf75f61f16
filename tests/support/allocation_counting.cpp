// Replaces the global operator new of the test programs to count its calls, so that a test can
// prove that a call allocates nothing from the C++ heap either.

#include "expectations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long long> s_globalNews{0};

void* countedAllocate(std::size_t bytes) {
  s_globalNews.fetch_add(1, std::memory_order_relaxed);
  void* block = std::malloc(bytes == 0 ? 1 : bytes);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  return block;
}

} // namespace

long long test_GlobalNewCount() {
  return s_globalNews.load(std::memory_order_relaxed);
}

void* operator new(std::size_t bytes) {
  return countedAllocate(bytes);
}
void* operator new[](std::size_t bytes) {
  return countedAllocate(bytes);
}
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
  try {
    return countedAllocate(bytes);
  } catch (...) {
    return nullptr;
  }
}
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept {
  try {
    return countedAllocate(bytes);
  } catch (...) {
    return nullptr;
  }
}
void operator delete(void* block) noexcept {
  std::free(block);
}
void operator delete[](void* block) noexcept {
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
  std::free(block);
}
