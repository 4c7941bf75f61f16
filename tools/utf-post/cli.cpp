#include "cli.h"

#include "failure.h"
#include "hole_sample.h"
#include "io.h"
#include "options.h"
#include "processor.h"
#include "progress.h"
#include "report.h"
#include "text.h"

#include "utf_Lifecycle.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

#ifndef UTF_POST_VERSION
#define UTF_POST_VERSION "unknown"
#endif

namespace utf_post {

namespace {

const char* const description =
    "utf-post: engineering values from a table of stress or strain results.\n"
    "Reads a CSV table (one tensor per row), optionally expresses each tensor on new axes,\n"
    "and appends the chosen values (Mises, pressure, principal values and directions, the\n"
    "components, ...) to every row. Every input column is copied unchanged.\n";

const char* const footer =
    "New columns, appended in the order of --outputs:\n"
    "  mises pressure tresca inv3 max_principal mid_principal min_principal max_inplane\n"
    "  min_inplane out_of_plane   one column each (the option's name, '-' written '_');\n"
    "  principal-directions       pdir_qx pdir_qy pdir_qz pdir_qw: the rotation onto the\n"
    "                             principal axes (quaternion, vector part first; a 2D layout's\n"
    "                             in-plane rotation as 0,0,sin(t/2),cos(t/2)), and pdir1_x ...\n"
    "                             pdir3_z: the principal directions, the rows of its table;\n"
    "  components                 local_S11 ...: the layout's components on the new axes (the\n"
    "                             input's own axes when there is no change of system).\n"
    "\n"
    "Change of system: the components written are those of the same tensor on the new axes,\n"
    "S' = A S A^T, the rows of A being the new axes in global components. A uniaxial stress\n"
    "along global X, expressed in a system turned 90 degrees about Z, is the local S22:\n"
    "  printf 'S11,S22,S33,S12,S13,S23\\n100,0,0,0,0,0\\n' | utf-post --rotate-angles 0,0,90 "
    "--outputs components\n"
    "The planar and surface layouts hold the 1-2 plane only: planar3d and surface3d take a\n"
    "rotation about the 3-axis or a turn-over, planar2d and surface2d a rotation about the\n"
    "3-axis only; any other rotation is an error (it would need the missing S13, S23).\n"
    "\n"
    "Input: RFC 4180 CSV (header row, quoted fields, LF or CR LF line ends), separator ',' or\n"
    "';', lines starting with '#' and blank lines copied through; numbers with a decimal point.\n"
    "Errors: a bad option, file, header or row stops the run with one line on standard error,\n"
    "  utf-post: FILE:LINE: column \"NAME\": expected ..., found ...\n"
    "and exit status 2; no output file is left behind. Exit status 0: done.\n"
    "\n"
    "Examples:\n"
    "  utf-post results.csv --outputs mises,max-principal -o post.csv\n"
    "  utf-post shells.csv --layout surface3d --columns SX,SY,SXY --outputs max-inplane\n"
    "  utf-post bolts.csv --cylindrical --axis-origin 0,0,0 --axis-direction 0,0,1 "
    "--outputs components\n"
    "  utf-post --demo";

// Warnings and the progress display on standard error.
class StandardErrorDiagnostics : public Diagnostics {
public:
  explicit StandardErrorDiagnostics(bool progress) : m_display(STDERR_FILENO, progress) {}
  void warning(const std::string& message) override {
    std::fprintf(stderr, "utf-post: %s\n", message.c_str());
    std::fflush(stderr);
  }
  void progress(long long rows, long long bytes, long long size, bool done) override {
    m_display.update(rows, bytes, size, done);
  }

private:
  ProgressDisplay m_display;
};

// The command line as parsed. The options that set a field of Options as it stands are bound to
// it, so that an absent one keeps its default there; the others are kept as texts, which
// toOptions reads into Options only when the option is given.
struct Arguments {
  Options options; // INPUT, -o, --engineering-shear, --skip-bad-rows, --max-warnings
  std::string outputs;
  std::string layout;
  std::string columns;
  std::string precision;
  std::string separator;
  std::string angles;
  std::string cosines;
  std::string axisOrigin;
  std::string axisDirection;
  std::string coordinates;
  bool cylindrical = false;
  bool demo = false;
  bool sample = false;
  bool version = false;
};

void defineOptions(CLI::App& app, Arguments& a) {
  // The defaults that the help states, from Options itself (and a 2D layout's, whose default
  // coordinate columns differ).
  const Options defaults;
  Options twoDimensional;
  twoDimensional.layout = res_Tensor2dPlanar;

  app.get_formatter()->column_width(28);
  app.footer(footer);
  app.set_help_flag("-h,--help", "Print this help and stop.\n"
                                 "e.g. utf-post --help");

  app.add_option("INPUT", a.options.input,
                 "The results table (CSV); standard input when absent or \"-\".\n"
                 "e.g. utf-post results.csv")
      ->type_name("FILE");
  app.add_option("-o,--output", a.options.output,
                 "Write the table to FILE, not to standard output (\"-\"). It is\n"
                 "written to a temporary name, then renamed: a failed run leaves no\n"
                 "file.\n"
                 "e.g. -o results_post.csv")
      ->type_name("FILE");
  app.add_option("--outputs", a.outputs,
                 "The values to append, in this order (default " + outputList(defaults.outputs) +
                     "): mises,\n"
                     "pressure, tresca, inv3, max-principal, mid-principal,\n"
                     "min-principal, max-inplane, min-inplane, out-of-plane,\n"
                     "principal-directions, components.\n"
                     "e.g. --outputs mises,max-principal,components")
      ->type_name("LIST");
  app.add_option("--layout", a.layout,
                 "The tensor layout (default " + std::string(layoutName(defaults.layout)) +
                     "): full (S11,S22,S33,S12,S13,S23),\n"
                     "planar3d (S11,S22,S33,S12), surface3d (S11,S22,S12), planar2d\n"
                     "(S11,S22,S33,S12), surface2d (S11,S22,S12), or 9 to 13 in order.\n"
                     "e.g. --layout surface3d")
      ->type_name("NAME");
  app.add_option("--columns", a.columns,
                 "The tensor's columns in the layout's order (default: the\n"
                 "layout's names above).\n"
                 "e.g. --columns SXX,SYY,SZZ,SXY,SXZ,SYZ")
      ->type_name("LIST");
  app.add_flag("--engineering-shear", a.options.engineeringShear,
               "The shear columns hold engineering shears (twice the tensor\n"
               "components, as engineering strains do); the appended\n"
               "components keep that convention.\n"
               "e.g. --engineering-shear");
  app.add_option("--precision", a.precision,
                 "The arithmetic (default " + std::string(precisionName(defaults.precision)) +
                     "): double or float. Numbers are\n"
                     "read in it and written in its shortest round-trip form.\n"
                     "e.g. --precision float")
      ->type_name("NAME");
  app.add_option("--separator", a.separator,
                 "The field separator (default " + std::string(separatorName(defaults.separator)) +
                     "): auto (the more frequent of\n"
                     "',' and ';' on the header line), comma or semicolon; the\n"
                     "output keeps it.\n"
                     "e.g. --separator semicolon")
      ->type_name("NAME");
  app.add_option("--rotate-angles", a.angles,
                 "Express the tensor on axes turned by the three-angle rotation\n"
                 "A,B,C in degrees: by C about Z, then B about Y, then A about X.\n"
                 "e.g. --rotate-angles 0,0,90")
      ->type_name("A,B,C");
  app.add_option("--rotate-cosines", a.cosines,
                 "Express the tensor on the axes of nine direction cosines, row\n"
                 "by row, each row a new axis in global components. They must be\n"
                 "a rotation: rows orthonormal within 1e-6, determinant +1.\n"
                 "e.g. --rotate-cosines 0,1,0,-1,0,0,0,0,1")
      ->type_name("LIST");
  app.add_flag("--cylindrical", a.cylindrical,
               "Express the tensor, point by point, on cylindrical axes: 1\n"
               "radial (P - origin, normal to the axis), 2 tangential (axial x\n"
               "radial), 3 axial. A point on the axis is a bad row.\n"
               "e.g. --cylindrical --axis-direction 0,0,1");
  app.add_option("--axis-origin", a.axisOrigin,
                 "With --cylindrical: a point of the axis (default " +
                     formatList(defaults.axisOrigin, 3) +
                     ").\n"
                     "e.g. --axis-origin 100,0,0")
      ->type_name("X,Y,Z");
  app.add_option("--axis-direction", a.axisDirection,
                 "With --cylindrical: the axis direction, of any non-zero length\n"
                 "(default " +
                     formatList(defaults.axisDirection, 3) +
                     ").\n"
                     "e.g. --axis-direction 0,1,0")
      ->type_name("X,Y,Z");
  app.add_option("--coordinates", a.coordinates,
                 "With --cylindrical: the point's coordinate columns (default\n" +
                     joinNames(coordinateColumnsOf(defaults)) + "; " +
                     joinNames(coordinateColumnsOf(twoDimensional)) +
                     " for planar2d and surface2d).\n"
                     "e.g. --coordinates x,y,z")
      ->type_name("LIST");
  app.add_flag("--skip-bad-rows", a.options.skipBadRows,
               "Leave a bad row out with a warning instead of stopping, and\n"
               "report their count at the end.\n"
               "e.g. --skip-bad-rows");
  app.add_option("--max-warnings", a.options.maxWarnings,
                 "With --skip-bad-rows: the bad rows reported one by one\n"
                 "(default " +
                     std::to_string(defaults.maxWarnings) +
                     "; after them only the count).\n"
                     "e.g. --max-warnings 5")
      ->type_name("N");
  app.add_flag("--demo", a.demo,
               "Run the demo: the built-in plate-with-a-hole table in\n"
               "cylindrical axes, and a short report (the stress concentration\n"
               "factor, 3). With -o the processed table is written too.\n"
               "e.g. utf-post --demo");
  app.add_flag("--sample", a.sample,
               "Write the built-in table (plate_with_hole.csv) and stop.\n"
               "e.g. utf-post --sample -o plate_with_hole.csv");
  app.add_flag("--version", a.version,
               "Print the version and stop.\n"
               "e.g. utf-post --version");
}

// The options that go together: one change of system at most, the axis options only with
// --cylindrical, --demo or --sample alone. Checked here rather than by the parser, whose notes
// would crowd the help.
void checkCombinations(const CLI::App& app) {
  const char* const systems[] = {"--rotate-angles", "--rotate-cosines", "--cylindrical"};
  const char* first = nullptr;
  for (const char* system : systems) {
    if (app.count(system) == 0) {
      continue;
    }
    if (first != nullptr) {
      throw Failure(std::string(system) + ": expected one change of system, found it with " +
                    first);
    }
    first = system;
  }
  for (const char* option : {"--axis-origin", "--axis-direction", "--coordinates"}) {
    if (app.count(option) > 0 && app.count("--cylindrical") == 0) {
      throw Failure(std::string(option) + ": expected with --cylindrical, found without it");
    }
  }
  if (app.count("--demo") > 0 && app.count("--sample") > 0) {
    throw Failure("--sample: expected alone, found it with --demo");
  }
}

// --demo and --sample work on the built-in table: besides -o (and --precision for the demo),
// every option of a table run is refused rather than silently ignored.
void checkBuiltInRun(const CLI::App& app, const Arguments& a) {
  if (!a.demo && !a.sample) {
    return;
  }
  const char* const command = a.demo ? "--demo" : "--sample";
  // An INPUT of "-", standard input, is the default: the same as none.
  if (a.options.input != Options().input) {
    throw Failure(std::string(command) +
                  ": expected no INPUT (it uses the built-in table), found " +
                  quotedField(a.options.input));
  }
  for (const char* option :
       {"--outputs", "--layout", "--columns", "--engineering-shear", "--precision", "--separator",
        "--rotate-angles", "--rotate-cosines", "--cylindrical", "--axis-origin", "--axis-direction",
        "--coordinates", "--skip-bad-rows", "--max-warnings"}) {
    const bool allowed = a.demo && std::string(option) == "--precision";
    if (!allowed && app.count(option) > 0) {
      throw Failure(std::string(command) + ": expected " +
                    (a.demo ? "only -o and --precision" : "only -o") + " with it, found " + option);
    }
  }
}

// Reads the N comma-separated numbers that `option` gives into `values`.
template <std::size_t N>
void readNumbers(const char* option, const std::string& text, double (&values)[N]) {
  const std::vector<double> numbers = parseNumbers(option, text, N);
  std::copy(numbers.begin(), numbers.end(), values);
}

// The run's options: those given, read and checked, and the defaults of Options for the rest.
// Checked here, once, before any file is opened: a bad option is reported as such (not as the
// missing input it may also name) and creates no output file.
Options toOptions(const CLI::App& app, const Arguments& a) {
  const auto given = [&app](const char* option) { return app.count(option) > 0; };
  Options options = a.options;
  // "-o -" is standard output, like an absent -o.
  if (options.output == "-") {
    options.output.clear();
  }
  if (given("--layout")) {
    options.layout = parseLayout(a.layout);
  }
  if (given("--outputs")) {
    options.outputs = parseOutputs(a.outputs);
  }
  if (given("--precision")) {
    options.precision = parsePrecision(a.precision);
  }
  if (given("--separator")) {
    options.separator = parseSeparator(a.separator);
  }
  if (!a.columns.empty()) {
    options.tensorColumns = parseNames("--columns", a.columns, 0);
  }
  if (!a.angles.empty()) {
    options.system = SystemKind::Angles;
    readNumbers("--rotate-angles", a.angles, options.angles);
  }
  if (!a.cosines.empty()) {
    options.system = SystemKind::Cosines;
    readNumbers("--rotate-cosines", a.cosines, options.cosines);
  }
  if (a.cylindrical) {
    options.system = SystemKind::Cylindrical;
    if (given("--axis-origin")) {
      readNumbers("--axis-origin", a.axisOrigin, options.axisOrigin);
    }
    if (given("--axis-direction")) {
      readNumbers("--axis-direction", a.axisDirection, options.axisDirection);
    }
    if (!a.coordinates.empty()) {
      options.coordinateColumns = parseNames("--coordinates", a.coordinates, 0);
    }
  }
  options.progress = ::isatty(STDERR_FILENO) != 0;
  validate(options);
  return options;
}

// Where a result goes: the output file that -o names (written whole, committed at the end), or
// `otherwise` without -o.
class Destination {
public:
  Destination(const std::string& path, ByteSink& otherwise) : m_otherwise(otherwise) {
    if (!path.empty()) {
      m_file = std::make_unique<OutputFile>(path);
    }
  }
  ByteSink& sink() { return m_file ? static_cast<ByteSink&>(*m_file) : m_otherwise; }
  void commit() {
    if (m_file) {
      m_file->commit();
    }
  }

private:
  std::unique_ptr<OutputFile> m_file;
  ByteSink& m_otherwise;
};

void writeSample(const Options& options) {
  StandardOutputSink standardOutput;
  Destination destination(options.output, standardOutput);
  const std::string_view sample = builtInSample();
  destination.sink().write(sample.data(), sample.size());
  destination.commit();
}

void runDemoCommand(const Options& options, Diagnostics& diagnostics) {
  // The processed table goes to -o when given, else nowhere; the report to standard output.
  CountingSink discard;
  Destination destination(options.output, discard);
  DemoFigures figures;
  const std::string report = runDemo(options.precision, destination.sink(), diagnostics, figures);
  destination.commit();
  StandardOutputSink out;
  out.write(report.data(), report.size());
}

void runTable(const Options& options, Diagnostics& diagnostics) {
  // The input is opened first: a missing input creates no output file.
  FileSource input(options.input);
  StandardOutputSink standardOutput;
  Destination destination(options.output, standardOutput);
  processTable(options, input, destination.sink(), diagnostics);
  destination.commit();
}

} // namespace

int runCommandLine(int argc, char** argv) {
  CLI::App app(description, "utf-post");
  Arguments arguments;
  defineOptions(app, arguments);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    std::fputs(app.help().c_str(), stdout);
    return 0;
  } catch (const CLI::ParseError& error) {
    std::fprintf(stderr, "utf-post: %s (utf-post --help lists the options)\n", error.what());
    return failureExitStatus;
  }
  if (arguments.version) {
    std::printf("utf-post %s\n", UTF_POST_VERSION);
    return 0;
  }

  int counter = 0;
  utf_initialize(counter);
  int status = 0;
  try {
    checkCombinations(app);
    checkBuiltInRun(app, arguments);
    const Options options = toOptions(app, arguments);
    StandardErrorDiagnostics diagnostics(options.progress);
    if (arguments.sample) {
      writeSample(options);
    } else if (arguments.demo) {
      runDemoCommand(options, diagnostics);
    } else {
      runTable(options, diagnostics);
    }
  } catch (const OutputClosed&) {
    status = outputClosedExitStatus;
  } catch (const Failure& failure) {
    std::fprintf(stderr, "utf-post: %s\n", failure.what());
    status = failureExitStatus;
  } catch (const std::bad_alloc&) {
    std::fprintf(stderr, "utf-post: out of memory\n");
    status = failureExitStatus;
  } catch (const std::exception& error) {
    // Not expected (the library's assertions guard preconditions that the options already
    // checked), but never a crash without a message.
    std::fprintf(stderr, "utf-post: internal error: %s\n", error.what());
    status = failureExitStatus;
  }
  utf_finalize(counter);
  return status;
}

} // namespace utf_post
