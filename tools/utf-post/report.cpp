#include "report.h"

#include "hole_sample.h"
#include "text.h"

#include "utf_Constants.h"

#include <cmath>
#include <cstdio>
#include <string>

namespace utf_post {

namespace {

// The appended values of the demo's run: mises, then local S11, S22, S33, S12, S13, S23.
enum DemoValue { misesValue = 0, radialValue = 1, hoopValue = 2, shearValue = 4, demoValues = 7 };

// Collects the figures row by row.
class DemoObserver : public RowObserver {
public:
  explicit DemoObserver(DemoFigures& figures) : m_figures(figures) {}

  void row(const double* point, const double* values, std::size_t count) override {
    if (point == nullptr || count != demoValues) {
      return;
    }
    DemoFigures& f = m_figures;
    ++f.rows;
    const double r = std::sqrt(point[0] * point[0] + point[1] * point[1]);
    double angle = std::atan2(point[1], point[0]) * 180.0 / utf_pi;
    angle = angle < 0.0 ? angle + 360.0 : angle;
    if (f.rows == 1 || values[misesValue] > f.peakMises) {
      f.peakMises = values[misesValue];
      f.peakMisesRadius = r;
      f.peakMisesAngle = angle;
    }
    // On the edge: r = a to 1e-6, wide enough for coordinates read in float (the next radius of
    // the grid is 4% further out).
    if (std::fabs(r - HoleSample::radius) > 1e-6 * HoleSample::radius) {
      return;
    }
    ++f.edgePoints;
    if (f.edgePoints == 1 || values[hoopValue] > f.peakHoop) {
      f.peakHoop = values[hoopValue];
      f.peakHoopAngle = angle;
    }
    if (std::fabs(angle) < 1e-9) {
      f.hoopOnLoadAxis = values[hoopValue];
    }
    const double radial = std::fabs(values[radialValue]);
    const double shear = std::fabs(values[shearValue]);
    f.largestEdgeRadial = radial > f.largestEdgeRadial ? radial : f.largestEdgeRadial;
    f.largestEdgeShear = shear > f.largestEdgeShear ? shear : f.largestEdgeShear;
  }

private:
  DemoFigures& m_figures;
};

// A stress in the report: six significant digits, or two for what can only be round-off (below
// 1e-5 of the remote stress).
std::string stress(double value) {
  char text[32];
  const bool roundOff = std::fabs(value) < 1e-5 * HoleSample::remoteStress;
  std::snprintf(text, sizeof text, roundOff ? "%.2g" : "%.6g", value);
  return text;
}

std::string angleText(double degrees) {
  char text[32];
  std::snprintf(text, sizeof text, "%.0f", degrees);
  return text;
}

std::string line(const char* label, const std::string& value) {
  std::string text = "  ";
  text += label;
  text.append(
      label[0] != '\0' && std::string(label).size() < 32 ? 32 - std::string(label).size() : 1, ' ');
  return text + value + "\n";
}

} // namespace

Options demoOptions(Precision precision) {
  Options options;
  options.layout = res_Tensor3dFull;
  options.precision = precision;
  options.outputs = {OutputKind::Mises, OutputKind::Components};
  options.system = SystemKind::Cylindrical;
  return options;
}

std::string runDemo(Precision precision, ByteSink& table, Diagnostics& diagnostics,
                    DemoFigures& figures) {
  figures = DemoFigures();
  const Options options = demoOptions(precision);
  MemorySource sample(builtInSample(), builtInSampleName);
  DemoObserver observer(figures);
  processTable(options, sample, table, diagnostics, &observer);
  figures.concentrationFactor = figures.peakHoop / HoleSample::remoteStress;

  char factor[32];
  std::snprintf(factor, sizeof factor, "%.4f", figures.concentrationFactor);
  std::string report;
  report += "utf-post demo: a plate with a circular hole under remote tension\n\n";
  report += "Table: " + std::string(builtInSampleName) +
            ", built in (utf-post --sample writes it): " + withThousands(figures.rows) +
            " points\n";
  report += "around a hole of radius " + stress(HoleSample::radius) +
            " mm in a large plate under a remote stress of " + stress(HoleSample::remoteStress) +
            " MPa\n";
  report += "along X: the classical closed-form plane-stress solution, in global Cartesian\n";
  report += "components.\n";
  report += "Run:   utf-post " + std::string(builtInSampleName) + " --cylindrical --outputs " +
            outputList(options.outputs) + "\n";
  report += "       (cylindrical axes about the hole's axis, origin " +
            formatList(options.axisOrigin, 3) + ", direction " +
            formatList(options.axisDirection, 3) + ":\n";
  report += "       local_S11 is the radial stress, local_S22 the hoop stress, local_S12\n";
  report += std::string("       their shear; precision ") + precisionName(precision) + ")\n\n";
  report += "At the edge of the hole (r = " + stress(HoleSample::radius) + " mm, " +
            withThousands(figures.edgePoints) + " points):\n";
  report += line("peak hoop stress", stress(figures.peakHoop) + " MPa at " +
                                         angleText(figures.peakHoopAngle) + " degrees from X");
  report += line("stress concentration factor",
                 std::string(factor) + "  (peak hoop / remote stress; 3 in theory)");
  report += line("hoop stress on the load axis",
                 stress(figures.hoopOnLoadAxis) + " MPa at 0 degrees (-1 x remote in theory)");
  report += line("largest |radial stress|",
                 stress(figures.largestEdgeRadial) + " MPa (a free edge: 0 in theory)");
  report +=
      line("largest |radial-hoop shear|", stress(figures.largestEdgeShear) + " MPa (0 in theory)");
  report += "Whole table:\n";
  report += line("peak Mises", stress(figures.peakMises) +
                                   " MPa at r = " + stress(figures.peakMisesRadius) + " mm, " +
                                   angleText(figures.peakMisesAngle) + " degrees from X");
  return report;
}

} // namespace utf_post
