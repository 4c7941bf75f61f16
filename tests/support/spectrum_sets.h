#ifndef UTF_TEST_SPECTRUM_SETS_H
#define UTF_TEST_SPECTRUM_SETS_H

// Adversarial sets for principal values and directions: tensors made from a known spectrum by
// pseudo-random rotations (in long double, then rounded to T: what is stored is the input), and
// the measures of a solver's error against a long-double reference computed on that stored
// input. Used by the batch engine's accuracy tests and by its accuracy report.

#include "long_double_reference.h"
#include "random_values.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

// A named set of full tensors (library order, tensorial shears).
template <typename T>
struct SpectrumSet {
  std::string name;
  std::vector<std::array<T, 6>> tensors;
};

// R^T diag(l) R for a pseudo-random rotation R (rows of the table of a random unit quaternion),
// in long double, each component rounded once to T.
template <typename T>
std::array<T, 6> rotatedSpectrum(Real l1, Real l2, Real l3) {
  double q[4];
  randomUnitQuaternion(q);
  const RealMatrix r = referenceTable3d(q);
  const Real l[3] = {l1, l2, l3};
  const auto entry = [&](int i, int j) {
    Real sum = 0;
    for (int k = 0; k < 3; ++k) {
      sum += r.a[k][i] * l[k] * r.a[k][j];
    }
    return static_cast<T>(sum);
  };
  return {entry(0, 0), entry(1, 1), entry(2, 2), entry(0, 1), entry(0, 2), entry(1, 2)};
}

// The sets: each holds `count` tensors (fewer for the fixed special cases).
template <typename T>
std::vector<SpectrumSet<T>> spectrumSets(int count) {
  constexpr bool isFloat = std::is_same<T, float>::value;
  std::vector<SpectrumSet<T>> sets;
  const auto add = [&sets](std::string name, auto make, int n) {
    SpectrumSet<T> set{std::move(name), {}};
    for (int i = 0; i < n; ++i) {
      set.tensors.push_back(make(i));
    }
    sets.push_back(std::move(set));
  };
  // A pair a gap g apart at the top and at the bottom of the spectrum, the third value away.
  const double smallestGap = isFloat ? 1e-7 : 1e-15;
  for (double gap = 1e-1; gap >= smallestGap * 0.99; gap /= 100) {
    char name[32];
    std::snprintf(name, sizeof name, "gap %.0e", gap);
    add(
        std::string(name) + " (top pair)",
        [gap](int) { return rotatedSpectrum<T>(1, 1 - gap, -0.7L); }, count);
    add(
        std::string(name) + " (bottom pair)",
        [gap](int) { return rotatedSpectrum<T>(0.6L, -1 + gap, -1); }, count);
  }
  add(
      "double root, top", [](int) { return rotatedSpectrum<T>(1, 1, -0.5L); }, count);
  add(
      "double root, bottom", [](int) { return rotatedSpectrum<T>(0.5L, -1, -1); }, count);
  add(
      "triple root", [](int) { return rotatedSpectrum<T>(2, 2, 2); }, count);
  // Random spectra scaled by powers of two over the whole range asked of the precision.
  const int largestPower = isFloat ? 20 : 60;
  for (int power = -largestPower; power <= largestPower; power += largestPower / 2) {
    add(
        "scaled 2^" + std::to_string(power),
        [power](int) {
          const Real s = std::ldexp(1.0L, power);
          return rotatedSpectrum<T>(s * uniform(-1, 1), s * uniform(-1, 1), s * uniform(-1, 1));
        },
        count);
  }
  add(
      "graded diagonal (1e8, 1, 1e-8)",
      [](int) { return std::array<T, 6>{T(1e8), T(1), T(1e-8), T(0), T(0), T(0)}; }, 1);
  add(
      "graded (1e8, 1, 1e-8), rotated", [](int) { return rotatedSpectrum<T>(1e8L, 1, 1e-8L); },
      count);
  add(
      "hydrostatic + 1e-6 deviator",
      [](int) {
        const Real mean = uniform(-100, 100);
        return rotatedSpectrum<T>(mean + 1e-6L * uniform(-1, 1), mean + 1e-6L * uniform(-1, 1),
                                  mean + 1e-6L * uniform(-1, 1));
      },
      count);
  add(
      "zero", [](int) { return std::array<T, 6>{}; }, 1);
  add(
      "diagonal",
      [](int) {
        return std::array<T, 6>{static_cast<T>(uniform(-10, 10)),
                                static_cast<T>(uniform(-10, 10)),
                                static_cast<T>(uniform(-10, 10)),
                                T(0),
                                T(0),
                                T(0)};
      },
      count);
  add(
      "random", [](int) { return randomComponents<T>(100.0); }, count);
  return sets;
}

// The long-double eigenvalues of a stored tensor, descending, and its largest magnitude.
template <typename T>
std::array<Real, 3> referenceValues(const std::array<T, 6>& c) {
  return jacobiEigenvalues(matrixOf(res_Tensor3dFull, c.data()));
}

inline Real spectralNorm(const std::array<Real, 3>& values) {
  return std::max(std::fabs(values[0]), std::fabs(values[2]));
}

// The larger of a running worst error and a new one, a NaN counting as infinitely bad (std::max
// would drop it), so that a solver that returns NaN fails every bound.
inline Real worseOf(Real worst, Real error) {
  return std::isnan(error) ? std::numeric_limits<Real>::infinity() : std::max(worst, error);
}

// The largest |P_k - P_k,exact| / (u ||S||) of computed values against the reference (0 for a
// zero tensor, whose values must be exact).
template <typename T>
double valueError(const std::array<T, 6>& c, const T* values) {
  const std::array<Real, 3> exact = referenceValues(c);
  const Real norm = spectralNorm(exact);
  const Real u = std::numeric_limits<T>::epsilon() / 2;
  Real worst = 0;
  for (int k = 0; k < 3; ++k) {
    const Real error = std::fabs(static_cast<Real>(values[k]) - exact[k]);
    worst = worseOf(worst, norm == 0 ? error : error / (u * norm));
  }
  return static_cast<double>(worst);
}

// For rows v_k of a computed frame with values P_k: the largest residual ||S v_k - P_k v_k|| /
// (u ||S||), the largest entry of |V V^T - I| / u, and det V.
struct FrameError {
  double residual;
  double orthogonality;
  double determinant;
};

template <typename T>
FrameError frameError(const std::array<T, 6>& c, const T* values, const T* rows) {
  const RealMatrix s = matrixOf(res_Tensor3dFull, c.data());
  const Real norm = spectralNorm(referenceValues(c));
  const Real u = std::numeric_limits<T>::epsilon() / 2;
  FrameError error{0, 0, 0};
  Real v[3][3];
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      v[i][j] = rows[3 * i + j];
    }
  }
  for (int k = 0; k < 3; ++k) {
    Real residual2 = 0;
    for (int r = 0; r < 3; ++r) {
      Real sv = 0;
      for (int j = 0; j < 3; ++j) {
        sv += s.a[r][j] * v[k][j];
      }
      const Real diff = sv - static_cast<Real>(values[k]) * v[k][r];
      residual2 += diff * diff;
    }
    const Real residual = std::sqrt(residual2);
    error.residual =
        std::max(error.residual, static_cast<double>(norm == 0 ? residual : residual / (u * norm)));
    for (int j = 0; j < 3; ++j) {
      const Real product = v[k][0] * v[j][0] + v[k][1] * v[j][1] + v[k][2] * v[j][2];
      error.orthogonality = std::max(
          error.orthogonality, static_cast<double>(std::fabs(product - (k == j ? 1 : 0)) / u));
    }
  }
  error.determinant = static_cast<double>(v[0][0] * (v[1][1] * v[2][2] - v[1][2] * v[2][1]) -
                                          v[0][1] * (v[1][0] * v[2][2] - v[1][2] * v[2][0]) +
                                          v[0][2] * (v[1][0] * v[2][1] - v[1][1] * v[2][0]));
  return error;
}

#endif
