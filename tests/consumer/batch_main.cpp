// An outside program of the batch engine: everything it uses comes from the installed package
// through utf_Batch.h and utf::batch.

#include "utf_Batch.h"

#include <cmath>
#include <cstdio>

int main() {
  int failures = 0;
  const auto check = [&failures](bool condition, const char* what) {
    if (!condition) {
      std::fprintf(stderr, "utf_batch_consumer: check failed: %s\n", what);
      ++failures;
    }
  };
  // A uniaxial stress of 200 along X and a pure shear of 50, in VTK's order.
  const double stress[12] = {200, 0, 0, 0, 0, 0, 0, 0, 0, 50, 0, 0};
  const utf_BatchTensors<double> tensors(stress, 2, res_Tensor3dFull, false, utf_BatchOrder::Vtk);
  double mises[2], values[6];
  utf_batchMises(tensors, mises);
  utf_batchPrincipalValues(tensors, values);
  check(mises[0] == 200.0, "Mises of the uniaxial stress");
  check(std::fabs(mises[1] - 50.0 * std::sqrt(3.0)) < 1e-12, "Mises of the pure shear");
  check(values[0] == 200.0 && values[1] == 0.0 && values[2] == 0.0, "uniaxial values, exact");
  check(std::fabs(values[3] - 50.0) < 1e-12 && std::fabs(values[5] + 50.0) < 1e-12,
        "pure shear values");
  check(utf_batchSimdTarget()[0] != '\0' && utf_batchThreadCount() >= 1, "target and threads");
  if (failures == 0) {
    std::printf("utf_batch_consumer: all checks passed (%s)\n", utf_batchSimdTarget());
  }
  return failures == 0 ? 0 : 1;
}
