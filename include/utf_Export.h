#ifndef UTF_EXPORT_H
#define UTF_EXPORT_H

// The library is built with hidden visibility; what it exports is marked with UTF_EXPORT.
#define UTF_EXPORT __attribute__((visibility("default")))

#endif
