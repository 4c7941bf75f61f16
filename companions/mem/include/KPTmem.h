#ifndef KPTMEM_H
#define KPTMEM_H

// KPTmem: the memory module. Every block that the library and its companions allocate comes from
// here, so that a caller (or a test) can count the blocks that are alive at any moment.

#include <cstddef>
#include <cstdint>

#define KPTMEM_EXPORT __attribute__((visibility("default")))

// Module start and end. Calls nest: only the first start and the last end do work, and the
// caller's counter is never changed by the module. An end without a matching start is ignored.
KPTMEM_EXPORT void mem_initialize(int& counter);
KPTMEM_EXPORT void mem_finalize(int& counter);
// Current nesting depth of the module (0 when stopped).
KPTMEM_EXPORT int mem_initialized();

// Allocates `bytes` bytes (a request of 0 bytes still yields a distinct block). Throws
// std::bad_alloc when the request cannot be met; the largest size, SIZE_MAX, always fails.
KPTMEM_EXPORT void* mem_Allocate(std::size_t bytes);
// Frees a block of mem_Allocate; a null pointer is allowed and does nothing.
KPTMEM_EXPORT void mem_Free(void* block);
// Number of blocks allocated by mem_Allocate and not yet freed, over the whole process.
KPTMEM_EXPORT long long mem_LiveBlocks();
// Number of successful mem_Allocate calls since the process started. Unlike mem_LiveBlocks, it
// also shows a block that was allocated and freed again, so it proves that a call allocates
// nothing.
KPTMEM_EXPORT long long mem_Allocations();

// Byte count of an array of `count` elements of `width` bytes each, computed in 64 bits. A
// negative count or a product that does not fit yields SIZE_MAX, so that the allocation that
// follows fails instead of returning a short array.
KPTMEM_EXPORT std::size_t mem_ArrayBytes(std::int64_t count, std::size_t width);

#endif
