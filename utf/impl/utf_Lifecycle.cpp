#include "utf_Lifecycle.h"

#include "KPTatr.h"
#include "KPTcow.h"
#include "KPTgsl.h"
#include "KPTmem.h"
#include "KPTnex.h"

namespace {

// Zero at load; read and written without a lock (see the header).
int s_startCount = 0;

} // namespace

void utf_initialize(int& counter) {
  const int before = s_startCount++;
  if (before != 0) {
    return;
  }
  ++counter;
  mem_initialize(counter);
  atr_initialize(counter);
  cow_initialize(counter);
  nex_initialize(counter);
  gsl_initialize(counter);
}

void utf_finalize(int& counter) {
  if (--s_startCount != 0) {
    return;
  }
  --counter;
  gsl_finalize(counter);
  nex_finalize(counter);
  cow_finalize(counter);
  atr_finalize(counter);
  mem_finalize(counter);
}

int utf_initialized() {
  return s_startCount;
}
