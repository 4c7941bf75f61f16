// make_hole_sample: writes the built-in sample of utf-post, the stress field around a circular
// hole in a large plate under remote uniaxial tension, to standard output or to the file named
// by its one argument.
//
// The classical closed-form elasticity solution (plane stress, an infinite plate): a hole of
// radius a, remote stress s along X, at the point (r, t) in polar coordinates, r >= a:
//
//   srr = s/2 (1 - a^2/r^2) + s/2 (1 - 4 a^2/r^2 + 3 a^4/r^4) cos 2t
//   stt = s/2 (1 + a^2/r^2) - s/2 (1 + 3 a^4/r^4) cos 2t
//   srt = -s/2 (1 + 2 a^2/r^2 - 3 a^4/r^4) sin 2t
//
// and S33 = S13 = S23 = 0. The table holds the GLOBAL Cartesian components, from the polar ones
// with c = cos t, n = sin t:
//
//   S11 = srr c^2 + stt n^2 - 2 srt n c
//   S22 = srr n^2 + stt c^2 + 2 srt n c
//   S12 = (srr - stt) n c + srt (c^2 - n^2)
//
// At the edge (r = a) srr = srt = 0 and stt = s (1 - 2 cos 2t): 3 s at t = 90 degrees, the
// stress concentration factor 3; far away the field tends to the uniform S11 = s.
//
// Columns: point (a running number), X, Y, Z (mm), S11, S22, S33, S12, S13, S23 (MPa), numbers
// in their shortest round-trip form. Comment lines above the header state the parameters.

#include "hole_sample.h"
#include "text.h"

#include "utf_Constants.h"

#include <cmath>
#include <cstdio>
#include <string>

namespace {

using utf_post::HoleSample;

// Cosine and sine of a whole number of degrees, exact at the multiples of 90 degrees (so that
// the points on the axes have coordinates of exactly 0).
void cosineSine(int degrees, double& c, double& s) {
  switch (degrees % 360) {
  case 0:
    c = 1.0, s = 0.0;
    return;
  case 90:
    c = 0.0, s = 1.0;
    return;
  case 180:
    c = -1.0, s = 0.0;
    return;
  case 270:
    c = 0.0, s = -1.0;
    return;
  default:
    c = std::cos(degrees * utf_pi / 180.0);
    s = std::sin(degrees * utf_pi / 180.0);
  }
}

std::string number(double value) {
  return utf_post::formatShort(value);
}

void writeTable(std::FILE* out) {
  const double a = HoleSample::radius;
  const double stress = HoleSample::remoteStress;
  std::fprintf(out, "# Plate with a circular hole under remote uniaxial tension: the classical\n"
                    "# closed-form elasticity solution (plane stress, infinite plate).\n");
  std::fprintf(out,
               "# Hole radius a = %s mm at the origin, axis along Z; remote stress s = %s MPa "
               "along X.\n",
               number(a).c_str(), number(stress).c_str());
  std::fprintf(out,
               "# Points on a polar grid: %d radii from a to %s a (geometric), %d angles "
               "every %d degrees.\n",
               HoleSample::radii, number(HoleSample::outerRatio).c_str(), HoleSample::angles,
               360 / HoleSample::angles);
  std::fprintf(out, "# Coordinates in mm, global Cartesian stress components in MPa.\n");
  std::fprintf(out, "point,X,Y,Z,S11,S22,S33,S12,S13,S23\n");

  int point = 0;
  for (int i = 0; i < HoleSample::radii; ++i) {
    // r_i = a * ratio^(i / (radii - 1)): exactly a on the edge.
    const double r = i == 0 ? a
                            : a * std::pow(HoleSample::outerRatio,
                                           static_cast<double>(i) / (HoleSample::radii - 1));
    const double q = (a * a) / (r * r); // a^2 / r^2
    for (int k = 0; k < HoleSample::angles; ++k) {
      const int degrees = k * (360 / HoleSample::angles);
      double c, n, c2, n2;
      cosineSine(degrees, c, n);
      cosineSine(2 * degrees, c2, n2);
      const double srr =
          stress / 2.0 * (1.0 - q) + stress / 2.0 * (1.0 - 4.0 * q + 3.0 * q * q) * c2;
      const double stt = stress / 2.0 * (1.0 + q) - stress / 2.0 * (1.0 + 3.0 * q * q) * c2;
      const double srt = -stress / 2.0 * (1.0 + 2.0 * q - 3.0 * q * q) * n2;
      const double s11 = srr * c * c + stt * n * n - 2.0 * srt * n * c;
      const double s22 = srr * n * n + stt * c * c + 2.0 * srt * n * c;
      const double s12 = (srr - stt) * n * c + srt * (c * c - n * n);
      ++point;
      std::fprintf(out, "%d,%s,%s,0,%s,%s,0,%s,0,0\n", point, number(r * c).c_str(),
                   number(r * n).c_str(), number(s11).c_str(), number(s22).c_str(),
                   number(s12).c_str());
    }
  }
}

} // namespace

int main(int argc, char** argv) {
  if (argc > 2) {
    std::fprintf(stderr, "usage: make_hole_sample [FILE]\n");
    return 2;
  }
  std::FILE* out = argc == 2 ? std::fopen(argv[1], "wb") : stdout;
  if (out == nullptr) {
    std::perror(argv[1]);
    return 2;
  }
  writeTable(out);
  const bool failed = std::ferror(out) != 0;
  if ((argc == 2 ? std::fclose(out) : std::fflush(out)) != 0 || failed) {
    std::fprintf(stderr, "make_hole_sample: cannot write the table\n");
    return 2;
  }
  return 0;
}
