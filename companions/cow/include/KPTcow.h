#ifndef KPTCOW_H
#define KPTCOW_H

// KPTcow: the copy-on-write container module.

#define KPTCOW_EXPORT __attribute__((visibility("default")))

// Module start and end; they nest like mem_initialize and mem_finalize.
KPTCOW_EXPORT void cow_initialize(int& counter);
KPTCOW_EXPORT void cow_finalize(int& counter);
KPTCOW_EXPORT int cow_initialized();

#endif
