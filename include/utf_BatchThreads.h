#ifndef UTF_BATCH_THREADS_H
#define UTF_BATCH_THREADS_H

// The batch engine's threads and SIMD target.
//
// A call splits its N tensors into blocks of utf_batchBlockSize and runs the blocks on a pool of
// threads (oneTBB); the calling thread takes part. The results do not depend on the split: a
// tensor's results are the same bits whatever the thread count (utf_Batch.h, 4).

#include "utf_BatchExport.h"

#include <cstddef>

// Tensors per block: the unit of work handed to a thread.
constexpr std::size_t utf_batchBlockSize = 4096;

// Sets the number of threads that the following calls use: 1 runs every call on the calling
// thread alone; 0 (the default) uses every core the process may run on, and so does a count
// above that number. Takes effect for calls that start after it returns; calls already running
// finish with the count they started with.
// Precondition: count >= 0 (utf_BatchAssertLine::threadCount).
UTF_BATCH_EXPORT void utf_batchSetThreadCount(int count);

// The number of threads a call uses now (the machine's cores when set to 0).
UTF_BATCH_EXPORT int utf_batchThreadCount();

// The SIMD target that the engine's kernels run on, chosen at run time from those the processor
// supports: "AVX3" (AVX-512), "AVX2", "SSE4", ... (Highway's target names).
UTF_BATCH_EXPORT const char* utf_batchSimdTarget();

#endif
