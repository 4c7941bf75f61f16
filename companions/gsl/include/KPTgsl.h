#ifndef KPTGSL_H
#define KPTGSL_H

// KPTgsl: the geometry module.

#define KPTGSL_EXPORT __attribute__((visibility("default")))

// Module start and end; they nest like mem_initialize and mem_finalize.
KPTGSL_EXPORT void gsl_initialize(int& counter);
KPTGSL_EXPORT void gsl_finalize(int& counter);
KPTGSL_EXPORT int gsl_initialized();

#endif
