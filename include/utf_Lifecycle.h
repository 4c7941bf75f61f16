#ifndef UTF_LIFECYCLE_H
#define UTF_LIFECYCLE_H

// Starting and ending the library.
//
// A program calls utf_initialize(counter) before it uses the library and utf_finalize(counter)
// when it is done. Calls nest: the library keeps a start counter of its own, and only the first
// start and the last end do work. The real start adds one to the caller's `counter` and starts the
// companion modules in the order mem, atr, cow, nex, gsl, passing `counter` on; the real end
// subtracts one and ends them in the reverse order. Loading the library does nothing.
//
// There is no guard against ending more often than starting: an unmatched utf_finalize takes the
// start counter below zero without ending anything, and the next utf_initialize then only counts.
// The counter is not protected by a lock: start and end the library from one thread at a time.

#include "utf_Export.h"

UTF_EXPORT void utf_initialize(int& counter);
UTF_EXPORT void utf_finalize(int& counter);
// The library's start counter: 0 when stopped, the number of unmatched starts otherwise.
UTF_EXPORT int utf_initialized();

#endif
