// An outside program: everything it uses comes from the installed package through utf.h.

#include "utf.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace {

int s_failures = 0;

void check(bool condition, const char* what) {
  if (!condition) {
    std::fprintf(stderr, "utf_consumer: check failed: %s\n", what);
    ++s_failures;
  }
}

} // namespace

int main() {
  int counter = 0;
  utf_initialize(counter);
  check(counter == 1 && mem_initialized() == 1 && gsl_initialized() == 1, "library started");

  const double values[3] = {1.0, -0.5, 0.25};
  const utf_EngineeringData<double> value(res_Vector, values, 3, false);
  aio_ostream text;
  value.Print(text, 0);
  check(text.Str() == "Engineering data: 1 -0.5 0.25 \n", "Print of a double value");

  float storage[2] = {2.0f, 3.0f};
  utf_EngineeringData<float> view(res_Rotation2d, storage, 2, false);
  const utf_EngineeringDataPtr<float> copy(view.Copy());
  check(copy->ownsData() && copy->data()[1] == 3.0f && !view.ownsData(), "Copy of a float view");

  const double identity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  double q[4] = {9, 9, 9, 9};
  const int scalarLast = 0;
  CALQUAT(q, identity, &scalarLast);
  check(q[0] == 0 && q[1] == 0 && q[2] == 0 && q[3] == 1, "CALQUAT of the identity");

  // A uniaxial stress of 200 along global X, on axes turned 90 degrees about Z: the component
  // kernel expresses it on the new axes (local S22), transform takes it back.
  float stress[6] = {200.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f};
  utf_Tensor<float> tensor(res_Tensor3dFull, stress, false);
  check(tensor.mises() > 199.99f && tensor.mises() < 200.01f && tensor.maxPrincipal() == 200.0f,
        "Mises and principal");
  const utf_Quaternion<float> turn(0.0f, 0.0f, 1.5707963267948966f);
  float raw[4] = {turn.data()[0], turn.data()[1], turn.data()[2], turn.data()[3]};
  utf_Tens3dFullBase<float>(stress).transform(utf_Quat3dBase<float>(raw), false);
  check(stress[1] > 199.99f && stress[1] < 200.01f && stress[0] < 1e-3f, "kernel: local S22");
  tensor.transform(turn, false);
  check(stress[0] > 199.99f && stress[1] < 1e-3f, "transform: back on the global axes");

  try {
    UTF_ASSERT(value.size() == 4, "include/utf_Consumer", 12);
    check(false, "assertion raised");
  } catch (const nex_AssertException& failure) {
    check(std::strcmp(failure.Expression().Text(), "value.size() == 4") == 0 &&
              std::strcmp(failure.File(), "include/utf_Consumer") == 0 && failure.Line() == 12,
          "assertion text, file and line");
  }

  utf_finalize(counter);
  check(counter == 0 && mem_initialized() == 0, "library ended");

  if (s_failures == 0) {
    std::printf("utf_consumer: all checks passed\n");
  }
  return s_failures == 0 ? 0 : 1;
}
