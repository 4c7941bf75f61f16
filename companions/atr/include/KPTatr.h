#ifndef KPTATR_H
#define KPTATR_H

// KPTatr: the string module.

#define KPTATR_EXPORT __attribute__((visibility("default")))

// Module start and end; they nest like mem_initialize and mem_finalize.
KPTATR_EXPORT void atr_initialize(int& counter);
KPTATR_EXPORT void atr_finalize(int& counter);
KPTATR_EXPORT int atr_initialized();

#endif
