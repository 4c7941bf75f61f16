#include "KPTcow.h"

namespace {

int s_depth = 0;

} // namespace

void cow_initialize(int& /*counter*/) {
  ++s_depth;
}

void cow_finalize(int& /*counter*/) {
  if (s_depth > 0) {
    --s_depth;
  }
}

int cow_initialized() {
  return s_depth;
}
