#ifndef UTF_POST_REPORT_H
#define UTF_POST_REPORT_H

// The demo of utf-post: the built-in sample (a plate with a circular hole under remote tension,
// see hole_sample.h) processed like any table, with Mises and the components in the cylindrical
// system about the hole's axis, and a short report that holds the numbers against the classical
// solution: the stress concentration factor (3) and the free edge (radial stress 0).

#include "io.h"
#include "options.h"
#include "processor.h"

#include <string>

namespace utf_post {

// What the demo measures on the processed table.
struct DemoFigures {
  long long rows = 0;
  // At the edge of the hole (r = a).
  long long edgePoints = 0;
  double peakHoop = 0.0;
  double peakHoopAngle = 0.0; // degrees from X, in [0, 360)
  double concentrationFactor = 0.0;
  double hoopOnLoadAxis = 0.0; // at 0 degrees
  double largestEdgeRadial = 0.0;
  double largestEdgeShear = 0.0;
  // The whole table.
  double peakMises = 0.0;
  double peakMisesRadius = 0.0;
  double peakMisesAngle = 0.0;
};

// The options of the demo's run in the given precision: the built-in sample's columns, outputs
// mises,components, the cylindrical system about the hole's axis (origin 0,0,0, axis 0,0,1).
Options demoOptions(Precision precision);

// Runs the demo: the processed table goes to `table`, the figures to `figures`; returns the
// report's text.
std::string runDemo(Precision precision, ByteSink& table, Diagnostics& diagnostics,
                    DemoFigures& figures);

} // namespace utf_post

#endif
