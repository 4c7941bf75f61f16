// Accuracy of principal values and directions over the adversarial sets of
// tests/support/spectrum_sets.h (pairs of values a shrinking gap apart, repeated values, scaled,
// graded, nearly hydrostatic, diagonal and random tensors, full layout, tensorial shears), in
// double and in float. For every set, the largest error over its tensors, measured against a
// long-double reference computed from the stored tensor:
// - values: max_k |P_k - P_k,exact| / (u ||S||), u the unit roundoff of the precision (2^-53,
//   2^-24) and ||S|| the largest principal magnitude, for
//   engine      utf_batchPrincipalValues,
//   closed      utf_Tensor<T>::computePrincipal, the value type's closed form,
//   Eigen       Eigen's SelfAdjointEigenSolver<Matrix3>::computeDirect, eigenvalues only,
//   each in the precision of the table;
// - directions: the residual max_k ||S v_k - P_k v_k|| / (u ||S||) and the orthogonality
//   max |V V^T - I| / u of the rows v_k, for the engine (utf_batchPrincipalDirections) and for
//   Eigen (computeDirect with eigenvectors; its columns, reordered to descending values, as rows).
// A tensor whose results are not all finite makes its set's error nan: it is never passed over.
// Under each table, whether the engine kept its published bounds (utf_BatchPrincipal.h: values
// and residuals within 16 u ||S||, orthogonality within 8 u) on every set; the program exits
// with status 1 when it did not.
//
// Run: bench_batch_accuracy [N]   N tensors per set (2000 when not given); a set of fixed
// special cases holds one tensor. The sets are the same in every run (fixed seed).

#include "spectrum_sets.h"
#include "utf.h"
#include "utf_Batch.h"

#include <Eigen/Eigenvalues>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

namespace {

// The larger of two errors; a NaN wins, so that no failure is hidden.
double worse(double a, double b) {
  if (std::isnan(a) || std::isnan(b)) {
    return std::numeric_limits<double>::quiet_NaN();
  }
  return std::max(a, b);
}

template <typename T>
bool allFinite(const T* values, int count) {
  for (int i = 0; i < count; ++i) {
    if (!std::isfinite(values[i])) {
      return false;
    }
  }
  return true;
}

// valueError and frameError of spectrum_sets.h, NaN for results that are not all finite.
template <typename T>
double valueErrorOf(const std::array<T, 6>& c, const T* values) {
  return allFinite(values, 3) ? valueError(c, values) : std::numeric_limits<double>::quiet_NaN();
}

template <typename T>
FrameError frameErrorOf(const std::array<T, 6>& c, const T* values, const T* rows) {
  if (!allFinite(values, 3) || !allFinite(rows, 9)) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    return FrameError{nan, nan, nan};
  }
  return frameError(c, values, rows);
}

struct Row {
  std::size_t tensors = 0;
  double engineValues = 0;
  double closedValues = 0;
  double eigenValues = 0;
  double engineResidual = 0;
  double engineOrthogonality = 0;
  double eigenResidual = 0;
  double eigenOrthogonality = 0;
};

template <typename T>
Row measure(const SpectrumSet<T>& set) {
  using Matrix = Eigen::Matrix<T, 3, 3>;
  const std::size_t n = set.tensors.size();
  std::vector<T> components(6 * n);
  for (std::size_t i = 0; i < n; ++i) {
    std::copy(set.tensors[i].begin(), set.tensors[i].end(), components.begin() + 6 * i);
  }
  const utf_BatchTensors<T> tensors(components.data(), n, res_Tensor3dFull, false);
  std::vector<T> values(3 * n), directionValues(3 * n), directions(9 * n);
  utf_batchPrincipalValues(tensors, values.data());
  utf_batchPrincipalDirections(tensors, directionValues.data(), directions.data());

  Row row;
  row.tensors = n;
  Eigen::SelfAdjointEigenSolver<Matrix> solver;
  for (std::size_t i = 0; i < n; ++i) {
    const std::array<T, 6>& c = set.tensors[i];
    row.engineValues = worse(row.engineValues, valueErrorOf(c, values.data() + 3 * i));
    const FrameError engine =
        frameErrorOf(c, directionValues.data() + 3 * i, directions.data() + 9 * i);
    row.engineResidual = worse(row.engineResidual, engine.residual);
    row.engineOrthogonality = worse(row.engineOrthogonality, engine.orthogonality);

    T closed[3];
    const utf_Tensor<T> tensor(res_Tensor3dFull, components.data() + 6 * i, false);
    tensor.computePrincipal(closed[0], closed[1], closed[2]);
    row.closedValues = worse(row.closedValues, valueErrorOf(c, closed));

    // Eigen's values ascend and its eigenvectors are the columns: descending values, rows.
    Matrix m;
    m << c[0], c[3], c[4], c[3], c[1], c[5], c[4], c[5], c[2];
    solver.computeDirect(m, Eigen::EigenvaluesOnly);
    const T eigenOnly[3] = {solver.eigenvalues()(2), solver.eigenvalues()(1),
                            solver.eigenvalues()(0)};
    row.eigenValues = worse(row.eigenValues, valueErrorOf(c, eigenOnly));
    solver.computeDirect(m, Eigen::ComputeEigenvectors);
    T eigenValues[3];
    T eigenRows[9];
    for (int k = 0; k < 3; ++k) {
      eigenValues[k] = solver.eigenvalues()(2 - k);
      for (int j = 0; j < 3; ++j) {
        eigenRows[3 * k + j] = solver.eigenvectors()(j, 2 - k);
      }
    }
    const FrameError eigen = frameErrorOf(c, eigenValues, eigenRows);
    row.eigenResidual = worse(row.eigenResidual, eigen.residual);
    row.eigenOrthogonality = worse(row.eigenOrthogonality, eigen.orthogonality);
  }
  return row;
}

// An error in 9 characters: fixed point below 1000, else with an exponent.
std::string cell(double error) {
  char text[32];
  if (std::isnan(error)) {
    std::snprintf(text, sizeof text, "%9s", "nan");
  } else if (std::isinf(error)) {
    std::snprintf(text, sizeof text, "%9s", "inf");
  } else if (error < 1000) {
    std::snprintf(text, sizeof text, "%9.2f", error);
  } else {
    std::snprintf(text, sizeof text, "%9.2e", error);
  }
  return text;
}

constexpr int kNameWidth = 32;

// The engine's published bounds (utf_BatchPrincipal.h), in the units of the table.
constexpr double kValueBound = 16;
constexpr double kResidualBound = 16;
constexpr double kOrthogonalityBound = 8;

// Whether the engine kept its bounds (false for a nan).
bool withinBounds(const Row& row) {
  return row.engineValues <= kValueBound && row.engineResidual <= kResidualBound &&
         row.engineOrthogonality <= kOrthogonalityBound;
}

// Prints the table of a precision; returns whether the engine kept its bounds on every set.
template <typename T>
bool table(const char* precision, const char* unit, int count) {
  std::printf("\n%s (u = %s)\n", precision, unit);
  std::printf("%-*s %6s | %-29s | %-19s | %s\n", kNameWidth, "", "", "values / (u ||S||)",
              "engine directions", "Eigen directions");
  std::printf("%-*s %6s | %9s %9s %9s | %9s %9s | %9s %9s\n", kNameWidth, "set", "n", "engine",
              "closed", "Eigen", "residual", "orthog", "residual", "orthog");
  std::printf("%s\n", std::string(kNameWidth + 7 + 32 + 22 + 22, '-').c_str());
  std::vector<std::string> outside;
  for (const SpectrumSet<T>& set : spectrumSets<T>(count)) {
    const Row row = measure(set);
    if (!withinBounds(row)) {
      outside.push_back(set.name);
    }
    std::printf("%-*s %6zu | %s %s %s | %s %s | %s %s\n", kNameWidth, set.name.c_str(), row.tensors,
                cell(row.engineValues).c_str(), cell(row.closedValues).c_str(),
                cell(row.eigenValues).c_str(), cell(row.engineResidual).c_str(),
                cell(row.engineOrthogonality).c_str(), cell(row.eigenResidual).c_str(),
                cell(row.eigenOrthogonality).c_str());
  }
  if (outside.empty()) {
    std::printf("engine within its bounds (values, residual %g; orthog %g) on every set\n",
                kValueBound, kOrthogonalityBound);
    return true;
  }
  std::printf("ENGINE OUTSIDE ITS BOUNDS (values, residual %g; orthog %g) on:", kValueBound,
              kOrthogonalityBound);
  for (const std::string& name : outside) {
    std::printf(" [%s]", name.c_str());
  }
  std::printf("\n");
  return false;
}

} // namespace

int main(int argc, char** argv) {
  int count = 2000;
  if (argc > 2) {
    std::fprintf(stderr, "usage: %s [tensors per set]\n", argv[0]);
    return 2;
  }
  if (argc == 2) {
    char* end = nullptr;
    const long value = std::strtol(argv[1], &end, 10);
    if (end == argv[1] || *end != '\0' || value < 1 || value > 10000000) {
      std::fprintf(stderr, "%s: the tensors per set must be a count from 1 to 10000000\n", argv[0]);
      return 2;
    }
    count = static_cast<int>(value);
  }
  std::printf("Principal values and directions: the largest error over each set, %d tensors per "
              "set\n",
              count);
  std::printf("SIMD target: %s; engine threads: %d\n", utf_batchSimdTarget(),
              utf_batchThreadCount());
  std::printf("engine: utf_batchPrincipalValues and utf_batchPrincipalDirections; closed: "
              "utf_Tensor<T>::computePrincipal;\n"
              "Eigen: SelfAdjointEigenSolver<Matrix3>::computeDirect. residual: ||S v - P v|| / "
              "(u ||S||); orthog: |V V^T - I| / u.\n");
  const bool doubleWithin = table<double>("double", "2^-53", count);
  const bool floatWithin = table<float>("float", "2^-24", count);
  return doubleWithin && floatWithin ? 0 : 1;
}
