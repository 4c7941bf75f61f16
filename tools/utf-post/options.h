#ifndef UTF_POST_OPTIONS_H
#define UTF_POST_OPTIONS_H

// What a run of utf-post does: the option model, the names the command line accepts, and the
// names of the columns it appends.

#include "res_DataTypeEnm.h"

#include <cstddef>
#include <string>
#include <vector>

namespace utf_post {

// The values that can be appended to each row, in the order the user lists them.
enum class OutputKind {
  Mises,               // mises
  Pressure,            // pressure
  Tresca,              // tresca
  Inv3,                // inv3
  MaxPrincipal,        // max_principal
  MidPrincipal,        // mid_principal
  MinPrincipal,        // min_principal
  MaxInplane,          // max_inplane
  MinInplane,          // min_inplane
  OutOfPlane,          // out_of_plane
  PrincipalDirections, // pdir_qx, pdir_qy, pdir_qz, pdir_qw, pdir1_x ... pdir3_z
  Components           // local_S11, ... (the layout's components on the new axes)
};

enum class Precision { Float, Double };

// The change of coordinate system applied before the outputs.
enum class SystemKind {
  Global,     // none: the components as read
  Angles,     // one rotation from three angles
  Cosines,    // one rotation from a table of direction cosines
  Cylindrical // per point: radial, tangential, axial
};

// A run's options. The initialisers are the defaults, here and nowhere else: the command line
// keeps them for an option that is not given, and its help states them from a default-constructed
// Options.
struct Options {
  // The input path ("-": standard input) and the output path (empty: standard output).
  std::string input = "-";
  std::string output;
  res_DataTypeEnm layout = res_Tensor3dFull;
  // The tensor's columns in the layout's order (empty: the layout's default names).
  std::vector<std::string> tensorColumns;
  bool engineeringShear = false;
  Precision precision = Precision::Double;
  std::vector<OutputKind> outputs = {OutputKind::Mises};
  // ',' or ';', or 0 to detect it from the header.
  char separator = 0;

  SystemKind system = SystemKind::Global;
  // Angles in degrees, the library's three-angle rotation (Angles).
  double angles[3] = {0.0, 0.0, 0.0};
  // Direction cosines, row-major, the rows the new axes in global components (Cosines).
  double cosines[9] = {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0};
  // The cylinder's axis: a point on it and its direction (Cylindrical).
  double axisOrigin[3] = {0.0, 0.0, 0.0};
  double axisDirection[3] = {0.0, 0.0, 1.0};
  // The point's coordinate columns, two or three (empty: X,Y,Z, or X,Y for a 2D layout).
  std::vector<std::string> coordinateColumns;

  bool skipBadRows = false;
  // Skipped rows reported one by one, at most (then only the final count).
  long maxWarnings = 20;
  // Whether the progress display may be shown (the command line sets it when standard error is
  // a terminal; it then appears only on tables of over 100,000 rows).
  bool progress = false;
};

// Tolerances of the changes of system, stated in the help and the README.
// A table of direction cosines is a rotation when every entry of A A^T - I is at most this in
// magnitude and its determinant is positive.
constexpr double rotationTolerance = 1e-6;
// A rotation keeps the plane of a planar or surface layout when its new 3-axis has in-plane
// components of at most this length.
constexpr double planeTolerance = 1e-6;
// A point is on the cylinder's axis when its distance from the axis is at most this times its
// distance from the axis origin.
constexpr double onAxisTolerance = 1e-9;

// The command line's names. Each parse function throws Failure("OPTION: expected ..., found
// ...") for a text it does not know.
res_DataTypeEnm parseLayout(const std::string& text);
std::vector<OutputKind> parseOutputs(const std::string& text);
Precision parsePrecision(const std::string& text);
char parseSeparator(const std::string& text);
// A comma-separated list of `count` names (any count when `count` is 0), blanks around each
// name removed.
std::vector<std::string> parseNames(const std::string& option, const std::string& text,
                                    std::size_t count);
// A comma-separated list of exactly `count` finite numbers.
std::vector<double> parseNumbers(const std::string& option, const std::string& text,
                                 std::size_t count);

// "full", "planar3d", "surface3d", "planar2d", "surface2d" (the layout's name in messages).
const char* layoutName(res_DataTypeEnm layout);
// The --outputs name of an output ("max-principal").
const char* outputName(OutputKind output);
// A list of outputs as --outputs takes it ("mises,max-principal").
std::string outputList(const std::vector<OutputKind>& outputs);
// The --precision name of a precision ("float", "double"). Inline: text.cpp, which the sample's
// generator compiles on its own, names the precision in its messages.
inline const char* precisionName(Precision precision) {
  return precision == Precision::Float ? "float" : "double";
}
// The --separator name of a separator: "auto" (0: detected), "comma" or "semicolon".
const char* separatorName(char separator);
// The components of a layout, in order: S11, S22, S33, S12, S13, S23 (full); S11, S22, S33, S12
// (planar); S11, S22, S12 (surface).
std::vector<std::string> componentNames(res_DataTypeEnm layout);
// The tensor columns the options name (their own or the layout's default).
std::vector<std::string> tensorColumnsOf(const Options& options);
// The coordinate columns the options name (their own or the default).
std::vector<std::string> coordinateColumnsOf(const Options& options);
// The names of the appended columns, in order.
std::vector<std::string> newColumnNames(const Options& options);

// Whether a change of system whose new 3-axis is `axis` (global components, of length `length`:
// 1 for a row of a rotation's table) keeps the 1-2 plane of `layout`. The full layout takes any
// axis; the planar and surface layouts hold the 1-2 plane only and have no S13, S23 for an
// out-of-plane shear, so the axis's in-plane part must be at most planeTolerance of its length,
// and for the 2D layouts it must point along +3 (their 2D rotation cannot turn the plane over).
// The one rule behind --axis-direction (validate) and a fixed rotation (CoordinateSystem).
bool keepsPlane(res_DataTypeEnm layout, const double* axis, double length);

// Checks what can be checked before reading the table (the layout, the count of --columns and
// --coordinates, --max-warnings, the axis of a cylindrical system, a table of cosines): throws
// Failure with a one-line message. A rotation that a planar or surface layout cannot take is
// refused when the run builds it (CoordinateSystem), from its table in the run's precision.
// The command line calls it once, before it opens any file; processTable expects options that
// pass it.
void validate(const Options& options);

} // namespace utf_post

#endif
