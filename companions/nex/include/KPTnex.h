#ifndef KPTNEX_H
#define KPTNEX_H

// KPTnex: the exception module.

#define KPTNEX_EXPORT __attribute__((visibility("default")))

// Module start and end; they nest like mem_initialize and mem_finalize.
KPTNEX_EXPORT void nex_initialize(int& counter);
KPTNEX_EXPORT void nex_finalize(int& counter);
KPTNEX_EXPORT int nex_initialized();

#endif
