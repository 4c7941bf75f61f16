#ifndef UTF_BATCH_EXPORT_H
#define UTF_BATCH_EXPORT_H

// The batch engine (libutf_batch) is built with hidden visibility; what it exports is marked with
// UTF_BATCH_EXPORT.
#define UTF_BATCH_EXPORT __attribute__((visibility("default")))

#endif
