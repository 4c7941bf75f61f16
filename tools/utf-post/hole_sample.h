#ifndef UTF_POST_HOLE_SAMPLE_H
#define UTF_POST_HOLE_SAMPLE_H

// The built-in sample of utf-post: a large plate with a circular hole under remote uniaxial
// tension, the classical closed-form elasticity solution (plane stress) written out in
// make_hole_sample.cpp, which made data/plate_with_hole.csv. The demo reads these parameters to
// judge the table.

#include <string_view>

namespace utf_post {

struct HoleSample {
  // The hole: radius a (mm), centred at the origin, its axis along Z.
  static constexpr double radius = 10.0;
  // The remote stress along X (MPa).
  static constexpr double remoteStress = 100.0;
  // The polar grid: radii from a to outerRatio * a in geometric steps, angles every 360 / angles
  // degrees from 0.
  static constexpr int radii = 40;
  static constexpr double outerRatio = 5.0;
  static constexpr int angles = 72;
};

// The shipped table, compiled into the program (generated from data/plate_with_hole.csv).
std::string_view builtInSample();
// The table's file name, used in messages.
constexpr const char* builtInSampleName = "plate_with_hole.csv";

} // namespace utf_post

#endif
