// utf-post, run as a program: every output on rows whose values are worked out by hand, every
// layout, both precisions, the three changes of system (against the closed-form stresses around
// a hole and an independent rotation in long double), every bad input with its message, exit
// status and no output file, skipped bad rows, CSV corner cases, standard input and output, the
// output file, the help, the sample, the demo and the progress display.

#include "utf_post_test_support.h"

#include "utf_Constants.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <pty.h>
#include <string>
#include <sys/stat.h>
#include <vector>

using namespace post_test;

namespace {

const char* const fullHeader = "id,S11,S22,S33,S12,S13,S23\n";

// A run on a table written to input.csv in a new folder, named "input.csv" on the command line
// (so that messages name it so).
struct FolderRun {
  TempDir folder;
  RunResult run;
  std::vector<std::vector<std::string>> table;
};

void runOnFile(FolderRun& r, const std::string& table, std::vector<std::string> arguments,
               char separator = ',') {
  writeFile(r.folder.file("input.csv"), table);
  arguments.insert(arguments.begin(), "input.csv");
  r.run = runPost(arguments, "", r.folder.path());
  r.table = tableOf(r.run.out, separator);
}

// The value of column `name` in data row `row` (0 is the first row after the header).
double valueAt(const std::vector<std::vector<std::string>>& table, std::size_t row,
               const std::string& name) {
  const std::size_t column = columnOf(table, name);
  EXPECT_LT(row + 1, table.size());
  if (row + 1 >= table.size() || column >= table[row + 1].size()) {
    return std::nan("");
  }
  return number(table[row + 1][column]);
}

// Within `relative` of `expected`, or within `absolute` of it for values near zero.
void expectClose(double got, double expected, double relative, double absolute,
                 const std::string& what) {
  EXPECT_LE(std::fabs(got - expected), relative * std::fabs(expected) + absolute)
      << what << ": got " << got << ", expected " << expected;
}

// The bad-input check: the exact one-line message, exit status 2, and no file but the input
// left in the folder (the run was asked to write out.csv).
void expectFailure(const std::string& table, std::vector<std::string> arguments,
                   const std::string& message) {
  FolderRun r;
  arguments.push_back("-o");
  arguments.push_back("out.csv");
  runOnFile(r, table, arguments);
  EXPECT_EQ(r.run.status, 2);
  EXPECT_EQ(r.run.err, "utf-post: " + message + "\n");
  EXPECT_EQ(r.run.out, "");
  EXPECT_EQ(r.folder.entries(), std::vector<std::string>{"input.csv"});
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Outputs of the full layout, on rows worked out by hand.

const std::vector<std::string> allScalarOutputs = {
    "--outputs", "mises,pressure,tresca,inv3,max-principal,mid-principal,min-principal,"
                 "max-inplane,min-inplane,out-of-plane"};

TEST(Outputs, HeaderNamesTheNewColumnsInTheOrderAsked) {
  FolderRun r;
  runOnFile(r, std::string(fullHeader) + "1,1,2,3,4,5,6\n",
            {"--outputs", "max-principal,mises,components"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  EXPECT_EQ(linesOf(r.run.out)[0], "id,S11,S22,S33,S12,S13,S23,max_principal,mises,local_S11,"
                                   "local_S22,local_S33,local_S12,local_S13,local_S23");
}

TEST(Outputs, UniaxialRow) {
  // sigma = 100 along 1: Mises = Tresca = sigma, pressure -sigma/3, principal values 100, 0, 0;
  // the deviator diag(2, -1, -1) sigma / 3 has 13.5 det = sigma^3, so inv3 = sigma.
  FolderRun r;
  runOnFile(r, std::string(fullHeader) + "1,100,0,0,0,0,0\n", allScalarOutputs);
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  const double tolerance = 1e-13 * 100;
  expectClose(valueAt(r.table, 0, "mises"), 100, 0, tolerance, "mises");
  expectClose(valueAt(r.table, 0, "pressure"), -100.0 / 3.0, 0, tolerance, "pressure");
  expectClose(valueAt(r.table, 0, "tresca"), 100, 0, tolerance, "tresca");
  expectClose(valueAt(r.table, 0, "inv3"), 100, 0, tolerance, "inv3");
  expectClose(valueAt(r.table, 0, "max_principal"), 100, 0, tolerance, "max");
  expectClose(valueAt(r.table, 0, "mid_principal"), 0, 0, tolerance, "mid");
  expectClose(valueAt(r.table, 0, "min_principal"), 0, 0, tolerance, "min");
  // The in-plane values belong to the planar and surface layouts: 0 for the full layout.
  EXPECT_EQ(valueAt(r.table, 0, "max_inplane"), 0.0);
  EXPECT_EQ(valueAt(r.table, 0, "min_inplane"), 0.0);
  EXPECT_EQ(valueAt(r.table, 0, "out_of_plane"), 0.0);
}

TEST(Outputs, PureShearRow) {
  // tau = 50 in the 1-2 plane: principal values tau, 0, -tau; Mises sqrt(3) tau, Tresca 2 tau,
  // pressure 0, det of the deviator 0 so inv3 = 0.
  FolderRun r;
  runOnFile(r, std::string(fullHeader) + "1,0,0,0,50,0,0\n", allScalarOutputs);
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  const double tolerance = 1e-13 * 50;
  expectClose(valueAt(r.table, 0, "mises"), 50 * std::sqrt(3.0), 0, tolerance, "mises");
  expectClose(valueAt(r.table, 0, "pressure"), 0, 0, tolerance, "pressure");
  expectClose(valueAt(r.table, 0, "tresca"), 100, 0, tolerance, "tresca");
  expectClose(valueAt(r.table, 0, "inv3"), 0, 0, 1e-4, "inv3"); // a cube root of round-off
  expectClose(valueAt(r.table, 0, "max_principal"), 50, 0, tolerance, "max");
  expectClose(valueAt(r.table, 0, "mid_principal"), 0, 0, tolerance, "mid");
  expectClose(valueAt(r.table, 0, "min_principal"), -50, 0, tolerance, "min");
}

TEST(Outputs, HydrostaticRow) {
  // -30 on the diagonal: no deviator, so Mises, Tresca and inv3 are 0; pressure +30; every
  // principal value -30.
  FolderRun r;
  runOnFile(r, std::string(fullHeader) + "1,-30,-30,-30,0,0,0\n", allScalarOutputs);
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  EXPECT_EQ(valueAt(r.table, 0, "mises"), 0.0);
  EXPECT_EQ(valueAt(r.table, 0, "pressure"), 30.0);
  EXPECT_EQ(valueAt(r.table, 0, "tresca"), 0.0);
  EXPECT_EQ(valueAt(r.table, 0, "inv3"), 0.0);
  EXPECT_EQ(valueAt(r.table, 0, "max_principal"), -30.0);
  EXPECT_EQ(valueAt(r.table, 0, "mid_principal"), -30.0);
  EXPECT_EQ(valueAt(r.table, 0, "min_principal"), -30.0);
}

TEST(Outputs, RowWithAKnownSpectrum) {
  // [[20,10,0],[10,20,0],[0,0,50]]: principal values 50, 30, 10 (the 1-2 block has 20 +- 10).
  // Mises sqrt(((50-30)^2 + (30-10)^2 + (10-50)^2) / 2) = sqrt(1200); Tresca 40; pressure -30.
  // Deviator (20, 0, -20): det 0, inv3 0.
  FolderRun r;
  runOnFile(r, std::string(fullHeader) + "1,20,20,50,10,0,0\n", allScalarOutputs);
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  const double tolerance = 1e-13 * 50;
  expectClose(valueAt(r.table, 0, "mises"), std::sqrt(1200.0), 0, tolerance, "mises");
  expectClose(valueAt(r.table, 0, "pressure"), -30, 0, tolerance, "pressure");
  expectClose(valueAt(r.table, 0, "tresca"), 40, 0, tolerance, "tresca");
  expectClose(valueAt(r.table, 0, "inv3"), 0, 0, 1e-3, "inv3");
  expectClose(valueAt(r.table, 0, "max_principal"), 50, 0, tolerance, "max");
  expectClose(valueAt(r.table, 0, "mid_principal"), 30, 0, tolerance, "mid");
  expectClose(valueAt(r.table, 0, "min_principal"), 10, 0, tolerance, "min");
}

TEST(Outputs, ThirdInvariantKeepsItsSign) {
  // diag(4, 1, 1): deviator (2, -1, -1), 13.5 det = 27, inv3 = 3; diag(-4, -1, -1) gives -3.
  FolderRun r;
  runOnFile(r, std::string(fullHeader) + "1,4,1,1,0,0,0\n2,-4,-1,-1,0,0,0\n",
            {"--outputs", "inv3,mises"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  expectClose(valueAt(r.table, 0, "inv3"), 3, 1e-14, 0, "inv3");
  expectClose(valueAt(r.table, 1, "inv3"), -3, 1e-14, 0, "inv3");
  expectClose(valueAt(r.table, 0, "mises"), 3, 1e-14, 0, "mises");
}

TEST(Outputs, EngineeringShearColumnsHoldTwiceTheTensorShear) {
  // An engineering shear of 100 is the tensor shear 50: Mises sqrt(3) 50, principal +-50.
  FolderRun r;
  runOnFile(r, std::string(fullHeader) + "1,0,0,0,100,0,0\n",
            {"--engineering-shear", "--outputs", "mises,max-principal,components"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  expectClose(valueAt(r.table, 0, "mises"), 50 * std::sqrt(3.0), 1e-14, 0, "mises");
  expectClose(valueAt(r.table, 0, "max_principal"), 50, 1e-14, 0, "max");
  // Without a change of system the components are written as read, engineering shear included.
  EXPECT_EQ(valueAt(r.table, 0, "local_S12"), 100.0);
}

TEST(Outputs, ComponentsWithoutAChangeOfSystemAreTheInput) {
  FolderRun r;
  runOnFile(r, std::string(fullHeader) + "7,1.5,-2.25,3,0.125,-4,5e-07\n",
            {"--outputs", "components"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  EXPECT_EQ(linesOf(r.run.out)[1], "7,1.5,-2.25,3,0.125,-4,5e-07,1.5,-2.25,3,0.125,-4,5e-07");
}

// The direction-cosine table of a unit quaternion (x, y, z, w), rows the new axes, written from
// the rotation matrix R(q) (whose columns the rows are).
void tableOfQuaternion(const double q[4], double a[3][3]) {
  const double x = q[0], y = q[1], z = q[2], w = q[3];
  a[0][0] = 1 - 2 * (y * y + z * z), a[0][1] = 2 * (x * y + z * w), a[0][2] = 2 * (x * z - y * w);
  a[1][0] = 2 * (x * y - z * w), a[1][1] = 1 - 2 * (x * x + z * z), a[1][2] = 2 * (y * z + x * w);
  a[2][0] = 2 * (x * z + y * w), a[2][1] = 2 * (y * z - x * w), a[2][2] = 1 - 2 * (x * x + y * y);
}

// Checks the principal-directions columns of data row `row` of a full-layout table against the
// tensor s (full layout order): the quaternion is a unit one, the three directions are its
// table's rows, orthonormal, and each is an eigenvector of s.
void expectPrincipalDirections(const std::vector<std::vector<std::string>>& table, std::size_t row,
                               const double s[6], double tolerance) {
  const double S[3][3] = {{s[0], s[3], s[4]}, {s[3], s[1], s[5]}, {s[4], s[5], s[2]}};
  const double q[4] = {valueAt(table, row, "pdir_qx"), valueAt(table, row, "pdir_qy"),
                       valueAt(table, row, "pdir_qz"), valueAt(table, row, "pdir_qw")};
  expectClose(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3], 1, 0, tolerance, "|q|");
  double fromQuaternion[3][3];
  tableOfQuaternion(q, fromQuaternion);
  double d[3][3];
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      const std::string name = "pdir" + std::to_string(i + 1) + "_" + "xyz"[j];
      d[i][j] = valueAt(table, row, name);
      expectClose(d[i][j], fromQuaternion[i][j], 0, tolerance, name + " from the quaternion");
    }
  }
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      const double dot = d[i][0] * d[j][0] + d[i][1] * d[j][1] + d[i][2] * d[j][2];
      expectClose(dot, i == j ? 1.0 : 0.0, 0, tolerance, "orthonormal directions");
    }
    // S d = lambda d with lambda = d . S d.
    double sd[3];
    for (int k = 0; k < 3; ++k) {
      sd[k] = S[k][0] * d[i][0] + S[k][1] * d[i][1] + S[k][2] * d[i][2];
    }
    const double lambda = d[i][0] * sd[0] + d[i][1] * sd[1] + d[i][2] * sd[2];
    for (int k = 0; k < 3; ++k) {
      expectClose(sd[k], lambda * d[i][k], 0, tolerance * 100, "eigenvector");
    }
  }
}

TEST(Outputs, PrincipalDirectionsAreTheEigenvectors) {
  FolderRun r;
  const double rows[][6] = {{0, 0, 0, 50, 0, 0},
                            {20, 20, 50, 10, 0, 0},
                            {12, -7, 3, 4, -5, 6},
                            {-80, 25, 40, -30, 15, 22}};
  std::string table = fullHeader;
  for (const auto& s : rows) {
    table += "1";
    for (double v : s) {
      table += "," + std::to_string(v);
    }
    table += "\n";
  }
  runOnFile(r, table, {"--outputs", "principal-directions"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  for (std::size_t i = 0; i < 4; ++i) {
    SCOPED_TRACE("row " + std::to_string(i));
    expectPrincipalDirections(r.table, i, rows[i], 1e-12);
  }
}

TEST(Outputs, PrincipalDirectionsOfAShearFreeTensorAreTheGlobalAxes) {
  FolderRun r;
  runOnFile(r, std::string(fullHeader) + "1,30,20,10,0,0,0\n",
            {"--outputs", "principal-directions"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  EXPECT_EQ(linesOf(r.run.out)[1], "1,30,20,10,0,0,0,0,0,0,1,1,0,0,0,1,0,0,0,1");
}

// ---------------------------------------------------------------------------------------------
// Layouts.

// The in-plane pair of (S11, S22, S12) = (30, 10, 10): 20 +- sqrt(200).
const double inplaneMax = 20 + std::sqrt(200.0);
const double inplaneMin = 20 - std::sqrt(200.0);

void expectPlanarValues(const std::string& layout) {
  // S11, S22, S33, S12 = 30, 10, 5, 10: in-plane pair 34.14, 5.86, out of plane 5. Largest
  // 34.14, middle 5.86, smallest 5, Tresca 29.14, pressure -15; Mises from the full tensor:
  // sqrt(((30-10)^2 + (10-5)^2 + (5-30)^2) / 2 + 3 * 10^2) = sqrt(825).
  FolderRun r;
  std::vector<std::string> arguments = allScalarOutputs;
  arguments.insert(arguments.end(), {"--layout", layout});
  runOnFile(r, "S11,S22,S33,S12\n30,10,5,10\n", arguments);
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  const double t = 1e-13 * 40;
  expectClose(valueAt(r.table, 0, "max_inplane"), inplaneMax, 0, t, "max_inplane");
  expectClose(valueAt(r.table, 0, "min_inplane"), inplaneMin, 0, t, "min_inplane");
  expectClose(valueAt(r.table, 0, "out_of_plane"), 5, 0, t, "out_of_plane");
  expectClose(valueAt(r.table, 0, "max_principal"), inplaneMax, 0, t, "max");
  expectClose(valueAt(r.table, 0, "mid_principal"), inplaneMin, 0, t, "mid");
  expectClose(valueAt(r.table, 0, "min_principal"), 5, 0, t, "min");
  expectClose(valueAt(r.table, 0, "tresca"), inplaneMax - 5, 0, t, "tresca");
  expectClose(valueAt(r.table, 0, "pressure"), -15, 0, t, "pressure");
  expectClose(valueAt(r.table, 0, "mises"), std::sqrt(825.0), 0, t, "mises");
}

void expectSurfaceValues(const std::string& layout) {
  // S11, S22, S12 = 30, 10, 10 (plane stress): in-plane pair 34.14, 5.86; no out-of-plane value
  // (0). The largest and smallest are the in-plane pair, the middle 0 (not ranked); Tresca
  // counts the zero: max(P1, 0) - min(P2, 0) = 34.14. Pressure -(30 + 10) / 3; Mises
  // sqrt(S11^2 - S11 S22 + S22^2 + 3 S12^2) = sqrt(1000).
  FolderRun r;
  std::vector<std::string> arguments = allScalarOutputs;
  arguments.insert(arguments.end(), {"--layout", layout});
  runOnFile(r, "S11,S22,S12\n30,10,10\n", arguments);
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  const double t = 1e-13 * 40;
  expectClose(valueAt(r.table, 0, "max_inplane"), inplaneMax, 0, t, "max_inplane");
  expectClose(valueAt(r.table, 0, "min_inplane"), inplaneMin, 0, t, "min_inplane");
  EXPECT_EQ(valueAt(r.table, 0, "out_of_plane"), 0.0);
  expectClose(valueAt(r.table, 0, "max_principal"), inplaneMax, 0, t, "max");
  EXPECT_EQ(valueAt(r.table, 0, "mid_principal"), 0.0);
  expectClose(valueAt(r.table, 0, "min_principal"), inplaneMin, 0, t, "min");
  expectClose(valueAt(r.table, 0, "tresca"), inplaneMax, 0, t, "tresca");
  expectClose(valueAt(r.table, 0, "pressure"), -40.0 / 3.0, 0, t, "pressure");
  expectClose(valueAt(r.table, 0, "mises"), std::sqrt(1000.0), 0, t, "mises");
}

TEST(Layouts, Planar3d) {
  expectPlanarValues("planar3d");
}
TEST(Layouts, Planar2d) {
  expectPlanarValues("planar2d");
}
TEST(Layouts, Surface3d) {
  expectSurfaceValues("surface3d");
}
TEST(Layouts, Surface2d) {
  expectSurfaceValues("surface2d");
}

TEST(Layouts, NumbersNineToThirteenAreTheNamedLayouts) {
  const char* const names[] = {"full", "planar3d", "surface3d", "planar2d", "surface2d"};
  const std::string table = "S11,S22,S33,S12,S13,S23\n30,10,5,10,3,-2\n";
  const std::vector<std::string> outputs = {"--outputs",
                                            "mises,pressure,tresca,max-principal,min-inplane,"
                                            "components,principal-directions"};
  for (int i = 0; i < 5; ++i) {
    std::vector<std::string> byName = outputs;
    byName.insert(byName.end(), {"--layout", names[i]});
    std::vector<std::string> byNumber = outputs;
    byNumber.insert(byNumber.end(), {"--layout", std::to_string(9 + i)});
    FolderRun a;
    FolderRun b;
    runOnFile(a, table, byName);
    runOnFile(b, table, byNumber);
    EXPECT_EQ(a.run.status, 0) << a.run.err;
    EXPECT_EQ(a.run.out, b.run.out) << names[i];
    EXPECT_FALSE(a.run.out.empty());
  }
}

TEST(Layouts, DefaultColumnsAreTheNamesTheLayoutNeeds) {
  // The surface layout reads S11, S22, S12 and leaves S33, S13, S23 alone.
  FolderRun r;
  runOnFile(r, "S11,S22,S33,S12,S13,S23\n30,10,999,10,999,999\n",
            {"--layout", "surface3d", "--outputs", "components,mises"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  EXPECT_EQ(linesOf(r.run.out)[0], "S11,S22,S33,S12,S13,S23,local_S11,local_S22,local_S12,mises");
  EXPECT_EQ(valueAt(r.table, 0, "local_S12"), 10.0);
  expectClose(valueAt(r.table, 0, "mises"), std::sqrt(1000.0), 1e-14, 0, "mises");
}

TEST(Layouts, ColumnsOfAnyName) {
  FolderRun r;
  runOnFile(r, "node,sx,sy,sxy\n1,30,10,10\n",
            {"--layout", "surface2d", "--columns", "sx, sy ,sxy", "--outputs", "max-inplane"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  expectClose(valueAt(r.table, 0, "max_inplane"), inplaneMax, 1e-14, 0, "max_inplane");
}

TEST(Layouts, PrincipalDirectionsOfA2dLayoutTurnAboutThe3Axis) {
  // Pure in-plane shear 50: principal directions at +-45 degrees in the plane, the third the
  // 3-axis. The 2D rotation is written as the quaternion (0, 0, sin(t/2), cos(t/2)).
  FolderRun r;
  runOnFile(r, "S11,S22,S12\n0,0,50\n",
            {"--layout", "surface2d", "--outputs", "principal-directions"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  EXPECT_EQ(valueAt(r.table, 0, "pdir_qx"), 0.0);
  EXPECT_EQ(valueAt(r.table, 0, "pdir_qy"), 0.0);
  const double z = valueAt(r.table, 0, "pdir_qz");
  const double w = valueAt(r.table, 0, "pdir_qw");
  expectClose(z * z + w * w, 1, 0, 1e-14, "|q|");
  const double t = 2 * std::atan2(z, w);
  // The first direction is that of the larger value, +50: along (1, 1) / sqrt(2).
  expectClose(std::cos(t), std::sqrt(0.5), 0, 1e-12, "cos t");
  expectClose(std::sin(t), std::sqrt(0.5), 0, 1e-12, "sin t");
  expectClose(valueAt(r.table, 0, "pdir1_x"), std::sqrt(0.5), 0, 1e-12, "pdir1_x");
  expectClose(valueAt(r.table, 0, "pdir1_y"), std::sqrt(0.5), 0, 1e-12, "pdir1_y");
  EXPECT_EQ(valueAt(r.table, 0, "pdir3_z"), 1.0);
}

// ---------------------------------------------------------------------------------------------
// Precision.

TEST(Precision, FloatReadsAndWritesInSinglePrecision) {
  // -100 / 3 is -33.333333333333336 in double and -33.333332 in float (shortest forms);
  // 0.123456789012 read as a float is written 0.12345679.
  FolderRun f;
  runOnFile(f, std::string(fullHeader) + "1,100,0.123456789012,0,0,0,0\n",
            {"--precision", "float", "--outputs", "components"});
  ASSERT_EQ(f.run.status, 0) << f.run.err;
  EXPECT_EQ(f.table[1][columnOf(f.table, "local_S22")], "0.12345679");

  FolderRun d;
  runOnFile(d, std::string(fullHeader) + "1,100,0,0,0,0,0\n",
            {"--precision", "double", "--outputs", "pressure"});
  ASSERT_EQ(d.run.status, 0) << d.run.err;
  EXPECT_EQ(d.table[1][columnOf(d.table, "pressure")], "-33.333333333333336");

  FolderRun g;
  runOnFile(g, std::string(fullHeader) + "1,100,0,0,0,0,0\n",
            {"--precision", "float", "--outputs", "pressure"});
  EXPECT_EQ(g.table[1][columnOf(g.table, "pressure")], "-33.333332");
}

TEST(Precision, DoubleKeepsEveryDigit) {
  FolderRun r;
  runOnFile(r, std::string(fullHeader) + "1,0.123456789012,0,0,0,0,0\n",
            {"--outputs", "components"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  EXPECT_EQ(r.table[1][columnOf(r.table, "local_S11")], "0.123456789012");
}

TEST(Precision, FloatGivesTheSameValuesToItsPrecision) {
  const std::string table = std::string(fullHeader) + "1,12,-7,3,4,-5,6\n";
  const std::vector<std::string> outputs = {
      "--outputs", "mises,pressure,tresca,inv3,max-principal,mid-principal,min-principal"};
  std::vector<std::string> inFloat = outputs;
  inFloat.insert(inFloat.end(), {"--precision", "float"});
  FolderRun f;
  FolderRun d;
  runOnFile(f, table, inFloat);
  runOnFile(d, table, outputs);
  ASSERT_EQ(f.run.status, 0) << f.run.err;
  ASSERT_EQ(d.run.status, 0) << d.run.err;
  for (const char* name :
       {"mises", "pressure", "tresca", "inv3", "max_principal", "mid_principal", "min_principal"}) {
    expectClose(valueAt(f.table, 0, name), valueAt(d.table, 0, name), 0, 2e-5 * 20, name);
  }
}

// ---------------------------------------------------------------------------------------------
// Changes of system.

// S' = A S A^T in long double, A = R^T with R = Rx(a) Ry(b) Rz(c) (the library's three-angle
// rotation turns by c about Z, then b about Y, then a about X: its new axes are R's columns).
void rotatedByAngles(const double s[6], double a, double b, double c, double out[6],
                     long double table[3][3]) {
  const long double ca = std::cos((long double)a), sa = std::sin((long double)a);
  const long double cb = std::cos((long double)b), sb = std::sin((long double)b);
  const long double cc = std::cos((long double)c), sc = std::sin((long double)c);
  const long double rx[3][3] = {{1, 0, 0}, {0, ca, -sa}, {0, sa, ca}};
  const long double ry[3][3] = {{cb, 0, sb}, {0, 1, 0}, {-sb, 0, cb}};
  const long double rz[3][3] = {{cc, -sc, 0}, {sc, cc, 0}, {0, 0, 1}};
  long double rxy[3][3] = {};
  long double r[3][3] = {};
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      for (int k = 0; k < 3; ++k) {
        rxy[i][j] += rx[i][k] * ry[k][j];
      }
    }
  }
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      for (int k = 0; k < 3; ++k) {
        r[i][j] += rxy[i][k] * rz[k][j];
      }
    }
  }
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      table[i][j] = r[j][i];
    }
  }
  const long double S[3][3] = {{s[0], s[3], s[4]}, {s[3], s[1], s[5]}, {s[4], s[5], s[2]}};
  long double result[3][3] = {};
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      for (int k = 0; k < 3; ++k) {
        for (int l = 0; l < 3; ++l) {
          result[i][j] += table[i][k] * S[k][l] * table[j][l];
        }
      }
    }
  }
  const int index[6][2] = {{0, 0}, {1, 1}, {2, 2}, {0, 1}, {0, 2}, {1, 2}};
  for (int m = 0; m < 6; ++m) {
    out[m] = static_cast<double>(result[index[m][0]][index[m][1]]);
  }
}

const char* const localNames[6] = {"local_S11", "local_S22", "local_S33",
                                   "local_S12", "local_S13", "local_S23"};

TEST(System, UniaxialAlongXTurned90AboutZIsTheLocalS22) {
  FolderRun angles;
  runOnFile(angles, std::string(fullHeader) + "1,100,0,0,0,0,0\n",
            {"--rotate-angles", "0,0,90", "--outputs", "components"});
  ASSERT_EQ(angles.run.status, 0) << angles.run.err;
  expectClose(valueAt(angles.table, 0, "local_S22"), 100, 1e-14, 0, "S'22");
  for (const char* name : {"local_S11", "local_S33", "local_S12", "local_S13", "local_S23"}) {
    expectClose(valueAt(angles.table, 0, name), 0, 0, 1e-12, name);
  }

  // The same system by its cosines: new X = global Y, new Y = -global X, new Z = Z.
  FolderRun cosines;
  runOnFile(cosines, std::string(fullHeader) + "1,100,0,0,0,0,0\n",
            {"--rotate-cosines", "0,1,0,-1,0,0,0,0,1", "--outputs", "components"});
  ASSERT_EQ(cosines.run.status, 0) << cosines.run.err;
  expectClose(valueAt(cosines.table, 0, "local_S22"), 100, 1e-14, 0, "S'22");
  for (const char* name : {"local_S11", "local_S33", "local_S12", "local_S13", "local_S23"}) {
    expectClose(valueAt(cosines.table, 0, name), 0, 0, 1e-12, name);
  }
}

TEST(System, AnglesAgreeWithAnIndependentRotation) {
  const double s[6] = {120, -40, 65, 33, -18, 27};
  const double a = 30, b = -20, c = 50;
  double expected[6];
  long double table[3][3];
  rotatedByAngles(s, a * utf_pi / 180, b * utf_pi / 180, c * utf_pi / 180, expected, table);
  FolderRun r;
  runOnFile(r, "S11,S22,S33,S12,S13,S23\n120,-40,65,33,-18,27\n",
            {"--rotate-angles", "30,-20,50", "--outputs", "components,mises"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  for (int m = 0; m < 6; ++m) {
    expectClose(valueAt(r.table, 0, localNames[m]), expected[m], 0, 1e-12 * 150, localNames[m]);
  }
}

TEST(System, CosinesAgreeWithAnIndependentRotation) {
  const double s[6] = {120, -40, 65, 33, -18, 27};
  double expected[6];
  long double table[3][3];
  rotatedByAngles(s, 0.3, 1.1, -0.7, expected, table);
  std::string cosines;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      char text[40];
      std::snprintf(text, sizeof text, "%.17g", static_cast<double>(table[i][j]));
      cosines += (cosines.empty() ? "" : ",") + std::string(text);
    }
  }
  FolderRun r;
  runOnFile(r, "S11,S22,S33,S12,S13,S23\n120,-40,65,33,-18,27\n",
            {"--rotate-cosines", cosines, "--outputs", "components"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  for (int m = 0; m < 6; ++m) {
    expectClose(valueAt(r.table, 0, localNames[m]), expected[m], 0, 1e-12 * 150, localNames[m]);
  }
}

TEST(System, FloatRotationAgreesToItsPrecision) {
  const double s[6] = {120, -40, 65, 33, -18, 27};
  double expected[6];
  long double table[3][3];
  rotatedByAngles(s, 30 * utf_pi / 180, -20 * utf_pi / 180, 50 * utf_pi / 180, expected, table);
  FolderRun r;
  runOnFile(r, "S11,S22,S33,S12,S13,S23\n120,-40,65,33,-18,27\n",
            {"--rotate-angles", "30,-20,50", "--precision", "float", "--outputs", "components"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  for (int m = 0; m < 6; ++m) {
    expectClose(valueAt(r.table, 0, localNames[m]), expected[m], 0, 1e-5 * 150, localNames[m]);
  }
}

TEST(System, EngineeringShearStaysEngineeringShear) {
  // Tensor shear 50 (engineering 100) turned 30 degrees about Z: S'11 = 50 sin 60,
  // S'22 = -50 sin 60, S'12 = 50 cos 60 = 25, written as the engineering 50.
  FolderRun r;
  runOnFile(r, std::string(fullHeader) + "1,0,0,0,100,0,0\n",
            {"--engineering-shear", "--rotate-angles", "0,0,30", "--outputs", "components"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  expectClose(valueAt(r.table, 0, "local_S11"), 50 * std::sin(utf_pi / 3), 1e-14, 1e-13, "S'11");
  expectClose(valueAt(r.table, 0, "local_S22"), -50 * std::sin(utf_pi / 3), 1e-14, 1e-13, "S'22");
  expectClose(valueAt(r.table, 0, "local_S12"), 50, 1e-14, 1e-13, "engineering S'12");
}

TEST(System, PlaneLayoutsTurnAboutThe3Axis) {
  // S11 = 100 turned 30 degrees about Z: S'11 = 100 cos^2 30 = 75, S'22 = 25,
  // S'12 = -100 cos 30 sin 30; S33 of a planar layout stays.
  for (const char* layout : {"planar3d", "planar2d"}) {
    FolderRun r;
    runOnFile(r, "S11,S22,S33,S12\n100,0,7,0\n",
              {"--layout", layout, "--rotate-angles", "0,0,30", "--outputs", "components"});
    ASSERT_EQ(r.run.status, 0) << r.run.err;
    expectClose(valueAt(r.table, 0, "local_S11"), 75, 1e-14, 0, layout);
    expectClose(valueAt(r.table, 0, "local_S22"), 25, 1e-14, 0, layout);
    expectClose(valueAt(r.table, 0, "local_S33"), 7, 1e-14, 0, layout);
    expectClose(valueAt(r.table, 0, "local_S12"),
                -100 * std::cos(utf_pi / 6) * std::sin(utf_pi / 6), 1e-14, 0, layout);
  }
  for (const char* layout : {"surface3d", "surface2d"}) {
    FolderRun r;
    runOnFile(r, "S11,S22,S12\n100,0,0\n",
              {"--layout", layout, "--rotate-cosines",
               "0.8660254037844387,0.5,0,-0.5,0.8660254037844387,0,0,0,1", "--outputs",
               "components"});
    ASSERT_EQ(r.run.status, 0) << r.run.err;
    expectClose(valueAt(r.table, 0, "local_S11"), 75, 1e-14, 0, layout);
    expectClose(valueAt(r.table, 0, "local_S22"), 25, 1e-14, 0, layout);
    expectClose(valueAt(r.table, 0, "local_S12"),
                -100 * std::cos(utf_pi / 6) * std::sin(utf_pi / 6), 1e-14, 0, layout);
  }
}

TEST(System, TurnOverOfA3dPlaneLayout) {
  // A half turn about X: new axes X, -Y, -Z. S12 changes sign, the rest stays.
  FolderRun r;
  runOnFile(r, "S11,S22,S33,S12\n30,10,5,10\n",
            {"--layout", "planar3d", "--rotate-angles", "180,0,0", "--outputs", "components"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  expectClose(valueAt(r.table, 0, "local_S11"), 30, 1e-14, 1e-13, "S'11");
  expectClose(valueAt(r.table, 0, "local_S22"), 10, 1e-14, 1e-13, "S'22");
  expectClose(valueAt(r.table, 0, "local_S33"), 5, 1e-14, 1e-13, "S'33");
  expectClose(valueAt(r.table, 0, "local_S12"), -10, 1e-14, 1e-13, "S'12");
}

// The refusal of a rotation that tilts a plane layout's plane: the message, with the new 3-axis
// that the test works out itself.
void expectTiltRefused(const std::string& layout, const std::string& angles,
                       const std::string& kind, const double axis[3]) {
  FolderRun r;
  runOnFile(r, "S11,S22,S33,S12\n30,10,5,10\n",
            {"--layout", layout, "--rotate-angles", angles, "-o", "out.csv"});
  EXPECT_EQ(r.run.status, 2);
  const std::string prefix = "utf-post: --rotate-angles: expected a rotation about the 3-axis" +
                             kind + " for layout " + layout +
                             " (it holds the 1-2 plane only), found a new 3-axis (";
  ASSERT_EQ(r.run.err.rfind(prefix, 0), 0u) << r.run.err;
  ASSERT_GE(r.run.err.size(), prefix.size() + 2);
  ASSERT_EQ(r.run.err.substr(r.run.err.size() - 2), ")\n") << r.run.err;
  // The three numbers between the parentheses.
  const std::string numbers = r.run.err.substr(prefix.size(), r.run.err.size() - 2 - prefix.size());
  const auto fields = tableOf(numbers);
  ASSERT_EQ(fields.size(), 1u);
  ASSERT_EQ(fields[0].size(), 3u) << numbers;
  for (int i = 0; i < 3; ++i) {
    expectClose(number(fields[0][static_cast<std::size_t>(i)]), axis[i], 0, 1e-15, "new 3-axis");
  }
  EXPECT_EQ(r.folder.entries(), std::vector<std::string>{"input.csv"});
}

TEST(BadInput, RotationThatTiltsAPlaneLayoutIsRefused) {
  // 30 degrees about X: the new 3-axis is (0, -sin 30, cos 30).
  const double tilted[3] = {0, -0.5, std::cos(utf_pi / 6)};
  expectTiltRefused("planar3d", "30,0,0", " or a turn-over", tilted);
  expectTiltRefused("surface3d", "30,0,0", " or a turn-over", tilted);
  expectTiltRefused("planar2d", "30,0,0", "", tilted);
  // A turn-over is a rotation about an in-plane axis: the 2D layouts cannot hold it.
  const double turnedOver[3] = {0, 0, -1};
  expectTiltRefused("surface2d", "180,0,0", "", turnedOver);
}

// The closed-form stresses around the hole (radius a, remote stress s along X) at polar (r, t).
void holeStresses(double r, double t, double& srr, double& stt, double& srt) {
  const double a = 10, s = 100;
  const double q = a * a / (r * r);
  srr = s / 2 * (1 - q) + s / 2 * (1 - 4 * q + 3 * q * q) * std::cos(2 * t);
  stt = s / 2 * (1 + q) - s / 2 * (1 + 3 * q * q) * std::cos(2 * t);
  srt = -s / 2 * (1 + 2 * q - 3 * q * q) * std::sin(2 * t);
}

void expectHoleStressesInCylindricalAxes(const std::string& precision, double relative) {
  const RunResult run = runPost(
      {UTF_POST_SAMPLE_PATH, "--cylindrical", "--precision", precision, "--outputs", "components"});
  ASSERT_EQ(run.status, 0) << run.err;
  const auto table = tableOf(run.out);
  ASSERT_EQ(table.size(), 2881u);
  const std::size_t x = columnOf(table, "X"), y = columnOf(table, "Y");
  const std::size_t radial = columnOf(table, "local_S11"), hoop = columnOf(table, "local_S22");
  const std::size_t shear = columnOf(table, "local_S12");
  for (std::size_t row = 1; row < table.size(); ++row) {
    const double px = number(table[row][x]), py = number(table[row][y]);
    double srr, stt, srt;
    holeStresses(std::hypot(px, py), std::atan2(py, px), srr, stt, srt);
    // Relative to each value, with a floor of the same relative size of the remote stress for
    // the values that vanish (the radial stress and the shear on the edge).
    const double floor = relative * 100;
    expectClose(number(table[row][radial]), srr, relative, floor, "radial, row " + table[row][0]);
    expectClose(number(table[row][hoop]), stt, relative, floor, "hoop, row " + table[row][0]);
    expectClose(number(table[row][shear]), srt, relative, floor, "shear, row " + table[row][0]);
  }
}

TEST(System, CylindricalAxesOnTheHoleSampleGiveTheClosedForm) {
  expectHoleStressesInCylindricalAxes("double", 1e-6);
}

TEST(System, CylindricalAxesOnTheHoleSampleInFloat) {
  expectHoleStressesInCylindricalAxes("float", 1e-5);
}

TEST(System, CylindricalAxesAboutAnyAxis) {
  // Axis along X through (2, 0, -3); the point (5, 0, 2) has radial (0, 0, 1), axial (1, 0, 0),
  // tangential axial x radial = (0, -1, 0). With S11 = 7, S33 = 100, S23 = 40: radial S'11 =
  // S33 = 100, tangential S'22 = S22 = 0, axial S'33 = S11 = 7, S'12 = (0,0,1).S.(0,-1,0) = -40,
  // S'13 = S'23 = 0.
  FolderRun r;
  runOnFile(r, "X,Y,Z,S11,S22,S33,S12,S13,S23\n5,0,2,7,0,100,0,0,40\n",
            {"--cylindrical", "--axis-origin", "2,0,-3", "--axis-direction", "4,0,0", "--outputs",
             "components"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  const double expected[6] = {100, 0, 7, -40, 0, 0};
  for (int m = 0; m < 6; ++m) {
    expectClose(valueAt(r.table, 0, localNames[m]), expected[m], 1e-14, 1e-13, localNames[m]);
  }
}

TEST(System, CylindricalAxesOfA2dLayout) {
  // Hole-like: S11 = 100 at (0, 10) is the hoop stress; at (10, 0) the radial one. The 2D layout
  // reads X and Y only by default.
  FolderRun r;
  runOnFile(r, "X,Y,S11,S22,S33,S12\n0,10,100,0,0,0\n10,0,100,0,0,0\n",
            {"--layout", "planar2d", "--cylindrical", "--outputs", "components"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  expectClose(valueAt(r.table, 0, "local_S11"), 0, 0, 1e-12, "radial at (0, 10)");
  expectClose(valueAt(r.table, 0, "local_S22"), 100, 1e-14, 0, "hoop at (0, 10)");
  expectClose(valueAt(r.table, 1, "local_S11"), 100, 1e-14, 0, "radial at (10, 0)");
  expectClose(valueAt(r.table, 1, "local_S22"), 0, 0, 1e-12, "hoop at (10, 0)");
}

TEST(System, InvariantsDoNotDependOnTheSystem) {
  const std::string table = "X,Y,Z,S11,S22,S33,S12,S13,S23\n3,4,5,120,-40,65,33,-18,27\n";
  FolderRun global;
  FolderRun turned;
  runOnFile(global, table, {"--outputs", "mises,max-principal"});
  runOnFile(turned, table,
            {"--cylindrical", "--axis-direction", "1,1,1", "--outputs", "mises,max-principal"});
  ASSERT_EQ(turned.run.status, 0) << turned.run.err;
  for (const char* name : {"mises", "max_principal"}) {
    expectClose(valueAt(turned.table, 0, name), valueAt(global.table, 0, name), 1e-13, 0, name);
  }
}

// ---------------------------------------------------------------------------------------------
// Bad input: one line, exit status 2, no output file.

TEST(BadInput, NonNumericField) {
  expectFailure(std::string(fullHeader) + "1,100,0,0,0,0,0\n2,0,0,0,abc,0,0\n", {},
                "input.csv:3: column \"S12\": expected a number, found \"abc\"");
}

TEST(BadInput, EmptyField) {
  expectFailure(std::string(fullHeader) + "1,100,,0,0,0,0\n", {},
                "input.csv:2: column \"S22\": expected a number, found an empty field");
}

TEST(BadInput, MissingField) {
  expectFailure(std::string(fullHeader) + "1,100,0,0,0,0\n", {},
                "input.csv:2: column \"S23\": expected 7 fields as in the header, found 6");
}

TEST(BadInput, ExtraField) {
  expectFailure(std::string(fullHeader) + "1,100,0,0,0,0,0,9\n", {},
                "input.csv:2: column 8: expected 7 fields as in the header, found 8");
}

TEST(BadInput, NotFiniteNumber) {
  expectFailure(std::string(fullHeader) + "1,nan,0,0,0,0,0\n", {},
                "input.csv:2: column \"S11\": expected a finite number, found \"nan\"");
}

TEST(BadInput, NumberBeyondTheRangeOfFloat) {
  expectFailure(std::string(fullHeader) + "1,1e39,0,0,0,0,0\n", {"--precision", "float"},
                "input.csv:2: column \"S11\": expected a number within the range of float, found "
                "\"1e39\"");
}

// Finite components whose results are not finite: squares beyond the largest double (Mises
// and the principal values beyond about 1e154, the third invariant's cubes beyond about 1e102)
// or float (1e19 and 1e12). Non-finite inputs are bad numbers (above), never reach a formula.
TEST(BadInput, FiniteComponentsWhoseResultsOverflow) {
  const std::string message = "input.csv:3: new column ";
  const std::string because = " (the components are finite but too large for its formula)";
  const std::string uniaxial = std::string(fullHeader) + "1,1,0,0,0,0,0\n";
  expectFailure(uniaxial + "2,1e200,0,0,0,0,0\n", {"--outputs", "pressure,mises"},
                message + "\"mises\": expected a finite result, found inf" + because);
  expectFailure(uniaxial + "2,1e103,0,0,0,0,0\n", {"--outputs", "inv3"},
                message + "\"inv3\": expected a finite result, found inf" + because);
  expectFailure(uniaxial + "2,1e110,0,0,0,0,0\n", {"--outputs", "inv3"},
                message + "\"inv3\": expected a finite result, found nan" + because);
  expectFailure(uniaxial + "2,1e155,2e154,0,1e155,0,0\n", {"--outputs", "max-principal"},
                message + "\"max_principal\": expected a finite result, found inf" + because);
  expectFailure(uniaxial + "2,1e20,0,0,0,0,0\n", {"--precision", "float"},
                message + "\"mises\": expected a finite result, found inf" + because);
  expectFailure(uniaxial + "2,1e14,0,0,0,0,0\n",
                {"--precision", "float", "--outputs", "mises,inv3"},
                message + "\"inv3\": expected a finite result, found nan" + because);
  // The columns of a rotated tensor: the first one that is not finite is named.
  expectFailure(uniaxial + "2,1e200,-1e200,0,0,0,0\n",
                {"--rotate-angles", "0,0,30", "--outputs", "components,mises"},
                message + "\"mises\": expected a finite result, found inf" + because);
}

TEST(Outputs, LargeFiniteComponentsJustBelowTheOverflow) {
  // The uniaxial row sigma: Mises and the largest principal value sigma, inv3 sigma.
  const auto valueOf = [](const std::string& sigma, std::vector<std::string> arguments,
                          const std::string& column) {
    FolderRun r;
    runOnFile(r, std::string(fullHeader) + "1," + sigma + ",0,0,0,0,0\n", arguments);
    EXPECT_EQ(r.run.status, 0) << r.run.err;
    return r.run.status == 0 ? valueAt(r.table, 0, column) : std::nan("");
  };
  expectClose(valueOf("1e150", {"--outputs", "mises"}, "mises"), 1e150, 1e-15, 0, "mises");
  expectClose(valueOf("1e150", {"--outputs", "max-principal"}, "max_principal"), 1e150, 1e-15, 0,
              "max");
  expectClose(valueOf("1e100", {"--outputs", "inv3"}, "inv3"), 1e100, 1e-13, 0, "inv3");
  expectClose(valueOf("1e19", {"--precision", "float", "--outputs", "mises"}, "mises"), 1e19, 1e-6,
              0, "float mises");
  expectClose(valueOf("1e12", {"--precision", "float", "--outputs", "inv3"}, "inv3"), 1e12, 1e-6, 0,
              "float inv3");
}

TEST(BadInput, UnknownColumn) {
  expectFailure(std::string(fullHeader) + "1,100,0,0,0,0,0\n",
                {"--columns", "S11,S22,S33,S12,S13,S99"},
                "input.csv:1: column \"S99\": expected in the header, found only id, S11, S22, "
                "S33, S12, S13, S23");
}

TEST(BadInput, ColumnTwiceInTheHeader) {
  expectFailure("S11,S22,S33,S12,S13,S23,S11\n1,2,3,4,5,6,7\n", {},
                "input.csv:1: column \"S11\": expected once in the header, found it as columns 1 "
                "and 7");
}

TEST(BadInput, UnknownCoordinateColumn) {
  expectFailure(std::string(fullHeader) + "1,100,0,0,0,0,0\n", {"--cylindrical"},
                "input.csv:1: column \"X\": expected in the header, found only id, S11, S22, S33, "
                "S12, S13, S23");
}

TEST(BadInput, UnknownLayout) {
  expectFailure(fullHeader, {"--layout", "cube"},
                "--layout: expected full, planar3d, surface3d, planar2d, surface2d or a number "
                "from 9 to 13, found \"cube\"");
  expectFailure(fullHeader, {"--layout", "14"},
                "--layout: expected full, planar3d, surface3d, planar2d, surface2d or a number "
                "from 9 to 13, found \"14\"");
}

TEST(BadInput, UnknownOutput) {
  expectFailure(fullHeader, {"--outputs", "mises,vonmises"},
                "--outputs: expected one of mises, pressure, tresca, inv3, max-principal, "
                "mid-principal, min-principal, max-inplane, min-inplane, out-of-plane, "
                "principal-directions, components, found \"vonmises\"");
}

TEST(BadInput, OutputTwice) {
  expectFailure(fullHeader, {"--outputs", "mises,tresca,mises"},
                "--outputs: expected each output once, found \"mises\" twice");
}

TEST(BadInput, ColumnCountOfTheLayout) {
  expectFailure(fullHeader, {"--layout", "surface3d", "--columns", "A,B,C,D"},
                "--columns: expected 3 names for layout surface3d (S11,S22,S12), found 4 "
                "(A,B,C,D)");
}

TEST(BadInput, AxisOfZeroLength) {
  expectFailure(fullHeader, {"--cylindrical", "--axis-direction", "0,0,0"},
                "--axis-direction: expected a direction of non-zero length, found 0,0,0");
}

TEST(BadInput, CylinderAxisOfAPlaneLayoutMustBeThe3Axis) {
  expectFailure("X,Y,Z,S11,S22,S12\n",
                {"--layout", "surface3d", "--cylindrical", "--axis-direction", "1,0,0"},
                "--axis-direction: expected the 3-axis (0,0,1) or (0,0,-1) for layout surface3d, "
                "found 1,0,0");
  expectFailure("X,Y,S11,S22,S12\n",
                {"--layout", "surface2d", "--cylindrical", "--axis-direction", "0,0,-2"},
                "--axis-direction: expected the 3-axis (0,0,1) for layout surface2d, found "
                "0,0,-2");
}

TEST(BadInput, CosinesThatAreNotOrthonormal) {
  // Row 1 of length 0.5: (A A^T - I)11 = 0.25 - 1 = -0.75.
  expectFailure(fullHeader, {"--rotate-cosines", "0.5,0,0,0,1,0,0,0,1"},
                "--rotate-cosines: expected the rows of a rotation (orthonormal within 1e-06), "
                "found rows with |A A^T - I| = 0.75");
  // Four-digit cosines of 45 degrees: each row's length squared is 2 x 0.7071^2 = 0.99998082,
  // 1.918e-5 short of 1 (the message gives the double computation's shortest form).
  const double shortfall = std::fabs((0.7071 * 0.7071 + 0.7071 * 0.7071 + 0.0 * 0.0) - 1.0);
  EXPECT_NEAR(shortfall, 1.918e-5, 1e-15);
  char text[32];
  const std::to_chars_result written = std::to_chars(text, text + sizeof text, shortfall);
  expectFailure(fullHeader, {"--rotate-cosines", "0.7071,0.7071,0,-0.7071,0.7071,0,0,0,1"},
                "--rotate-cosines: expected the rows of a rotation (orthonormal within 1e-06), "
                "found rows with |A A^T - I| = " +
                    std::string(text, written.ptr));
}

TEST(BadInput, CosinesOfAReflection) {
  expectFailure(fullHeader, {"--rotate-cosines", "1,0,0,0,1,0,0,0,-1"},
                "--rotate-cosines: expected the rows of a rotation (determinant +1), found a "
                "reflection (determinant -1)");
}

TEST(BadInput, WrongNumberOfAnglesOrCosines) {
  expectFailure(fullHeader, {"--rotate-angles", "10,20"},
                "--rotate-angles: expected 3 comma-separated numbers, found 2 in \"10,20\"");
  expectFailure(fullHeader, {"--rotate-angles", "10,x,20"},
                "--rotate-angles: expected a number, found \"x\"");
  expectFailure(fullHeader, {"--rotate-cosines", "1,0,0,0,1,0,0,0"},
                "--rotate-cosines: expected 9 comma-separated numbers, found 8 in "
                "\"1,0,0,0,1,0,0,0\"");
}

TEST(BadInput, PointOnTheCylinderAxis) {
  expectFailure("X,Y,Z,S11,S22,S33,S12,S13,S23\n1,0,0,1,2,3,4,5,6\n0,0,7,1,2,3,4,5,6\n",
                {"--cylindrical"},
                "input.csv:3: columns \"X\",\"Y\",\"Z\": expected a point off the axis of the "
                "cylindrical system, found one on it");
}

TEST(BadInput, NonNumericCoordinate) {
  expectFailure("X,Y,Z,S11,S22,S33,S12,S13,S23\n1,north,0,1,2,3,4,5,6\n", {"--cylindrical"},
                "input.csv:2: column \"Y\": expected a number, found \"north\"");
}

TEST(BadInput, TextAfterAClosingQuote) {
  expectFailure("note,S11,S22,S33,S12,S13,S23\n\"ok\",1,2,3,4,5,6\n\"bad\"x,1,2,3,4,5,6\n", {},
                "input.csv:3: column \"note\": expected a separator or the end of the line after "
                "the closing quote");
}

TEST(BadInput, UnterminatedQuoteEvenWhenSkippingBadRows) {
  const std::string table = "note,S11,S22,S33,S12,S13,S23\n\"open,1,2,3,4,5,6\n7,1,2,3,4,5,6\n";
  const std::string message =
      "input.csv:2: column \"note\": expected a closing quote before the end of the input";
  expectFailure(table, {}, message);
  expectFailure(table, {"--skip-bad-rows"}, message);
}

TEST(BadInput, EmptyInput) {
  expectFailure("", {}, "input.csv: expected a header row, found an empty input");
  expectFailure("# only a comment\n\n", {},
                "input.csv: expected a header row, found only comments and blank lines");
}

TEST(BadInput, UnreadableInput) {
  FolderRun missing;
  runOnFile(missing, "", {});
  const RunResult run = runPost({"no-such-file.csv", "-o", "out.csv"}, "", missing.folder.path());
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, "utf-post: no-such-file.csv: cannot open: No such file or directory\n");
  EXPECT_EQ(missing.folder.entries(), std::vector<std::string>{"input.csv"});

  const RunResult folder = runPost({".", "-o", "out.csv"}, "", missing.folder.path());
  EXPECT_EQ(folder.status, 2);
  EXPECT_EQ(folder.err, "utf-post: .: cannot open: Is a directory\n");
  EXPECT_EQ(missing.folder.entries(), std::vector<std::string>{"input.csv"});
}

TEST(BadInput, OutputInAMissingFolder) {
  FolderRun r;
  runOnFile(r, std::string(fullHeader) + "1,100,0,0,0,0,0\n", {"-o", "nowhere/out.csv"});
  EXPECT_EQ(r.run.status, 2);
  EXPECT_EQ(
      r.run.err,
      "utf-post: nowhere/out.csv: cannot create the output file: No such file or directory\n");
  EXPECT_EQ(r.folder.entries(), std::vector<std::string>{"input.csv"});
}

TEST(BadInput, UnknownOption) {
  const RunResult run = runPost({"--bogus"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, "utf-post: The following argument was not expected: --bogus (utf-post "
                     "--help lists the options)\n");
}

TEST(BadInput, OptionsThatGoTogether) {
  expectFailure(fullHeader, {"--rotate-angles", "0,0,1", "--cylindrical"},
                "--cylindrical: expected one change of system, found it with --rotate-angles");
  expectFailure(fullHeader, {"--rotate-cosines", "1,0,0,0,1,0,0,0,1", "--rotate-angles", "1,2,3"},
                "--rotate-cosines: expected one change of system, found it with --rotate-angles");
  expectFailure(fullHeader, {"--axis-origin", "1,2,3"},
                "--axis-origin: expected with --cylindrical, found without it");
  const RunResult both = runPost({"--demo", "--sample"});
  EXPECT_EQ(both.status, 2);
  EXPECT_EQ(both.err, "utf-post: --sample: expected alone, found it with --demo\n");
}

TEST(BadInput, FailureLateInALargeTableLeavesNoFile) {
  // Many rows are written (to the temporary) before the bad one: still nothing is left.
  std::string table = fullHeader;
  for (int i = 0; i < 30000; ++i) {
    table += std::to_string(i) + ",1,2,3,4,5,6\n";
  }
  table += "30000,1,2,3,oops,5,6\n";
  expectFailure(table, {}, "input.csv:30002: column \"S12\": expected a number, found \"oops\"");
}

TEST(BadInput, ExistingOutputIsKeptWhenARunFails) {
  FolderRun r;
  writeFile(r.folder.file("out.csv"), "precious\n");
  runOnFile(r, std::string(fullHeader) + "1,x,0,0,0,0,0\n", {"-o", "out.csv"});
  EXPECT_EQ(r.run.status, 2);
  EXPECT_EQ(readFile(r.folder.file("out.csv")), "precious\n");
  EXPECT_EQ(r.folder.entries().size(), 2u);
}

TEST(BadInput, DemoAndSampleTakeNoTableOptions) {
  FolderRun r;
  runOnFile(r, "", {"--demo"});
  EXPECT_EQ(r.run.status, 2);
  EXPECT_EQ(
      r.run.err,
      "utf-post: --demo: expected no INPUT (it uses the built-in table), found \"input.csv\"\n");
  const RunResult demo = runPost({"--demo", "--outputs", "tresca"});
  EXPECT_EQ(demo.status, 2);
  EXPECT_EQ(demo.err, "utf-post: --demo: expected only -o and --precision with it, found "
                      "--outputs\n");
  const RunResult sample = runPost({"--sample", "--precision", "float"});
  EXPECT_EQ(sample.status, 2);
  EXPECT_EQ(sample.err, "utf-post: --sample: expected only -o with it, found --precision\n");
}

// ---------------------------------------------------------------------------------------------
// Skipping bad rows.

TEST(SkipBadRows, BadRowsAreLeftOutCountedAndReported) {
  FolderRun r;
  runOnFile(r,
            std::string(fullHeader) +
                "1,1,0,0,0,0,0\n2,0,0,0,abc,0,0\n3,3,0,0,0,0,0\n"
                "4,0,0,0,0,0\n5,5,0,0,0,0,0\n6,0,0,0,0,0,0,0\n7,7,0,0,0,0,0\n",
            {"--skip-bad-rows", "--outputs", "max-principal"});
  EXPECT_EQ(r.run.status, 0);
  EXPECT_EQ(
      r.run.err,
      "utf-post: input.csv:3: column \"S12\": expected a number, found \"abc\" (row skipped)\n"
      "utf-post: input.csv:5: column \"S23\": expected 7 fields as in the header, found 6 "
      "(row skipped)\n"
      "utf-post: input.csv:7: column 8: expected 7 fields as in the header, found 8 (row "
      "skipped)\n"
      "utf-post: 3 bad rows skipped of 7\n");
  ASSERT_EQ(r.table.size(), 5u);
  EXPECT_EQ(r.table[1].back(), "1");
  EXPECT_EQ(r.table[2].back(), "3");
  EXPECT_EQ(r.table[3].back(), "5");
  EXPECT_EQ(r.table[4].back(), "7");
}

TEST(SkipBadRows, WarningsAreCapped) {
  std::string table = fullHeader;
  for (int i = 0; i < 5; ++i) {
    table += "1,x,0,0,0,0,0\n2,2,0,0,0,0,0\n";
  }
  FolderRun r;
  runOnFile(r, table, {"--skip-bad-rows", "--max-warnings", "1"});
  EXPECT_EQ(r.run.status, 0);
  EXPECT_EQ(r.run.err,
            "utf-post: input.csv:2: column \"S11\": expected a number, found \"x\" (row skipped)\n"
            "utf-post: more bad rows skipped; only their count is reported\n"
            "utf-post: 5 bad rows skipped of 10\n");
  EXPECT_EQ(r.table.size(), 6u);
}

TEST(SkipBadRows, RowsWhoseResultsOverflowAreSkippedLikeBadRows) {
  FolderRun r;
  runOnFile(r, std::string(fullHeader) + "1,1,0,0,0,0,0\n2,1e200,0,0,0,0,0\n3,3,0,0,0,0,0\n",
            {"--skip-bad-rows", "--outputs", "mises"});
  EXPECT_EQ(r.run.status, 0);
  EXPECT_EQ(r.run.err, "utf-post: input.csv:3: new column \"mises\": expected a finite result, "
                       "found inf (the components are finite but too large for its formula) (row "
                       "skipped)\n"
                       "utf-post: 1 bad row skipped of 3\n");
  ASSERT_EQ(r.table.size(), 3u);
  EXPECT_EQ(r.table[1].back(), "1");
  EXPECT_EQ(r.table[2].back(), "3");
}

TEST(SkipBadRows, NoBadRowsGivesACountOfZero) {
  FolderRun r;
  runOnFile(r, std::string(fullHeader) + "1,1,0,0,0,0,0\n", {"--skip-bad-rows"});
  EXPECT_EQ(r.run.status, 0);
  EXPECT_EQ(r.run.err, "utf-post: 0 bad rows skipped of 1\n");
}

// ---------------------------------------------------------------------------------------------
// CSV: every input byte comes back, the new columns appended.

TEST(Csv, QuotedFieldsAreCopiedByteForByte) {
  const std::string header = "id,\"note, with comma\",S11,S22,S33,S12,S13,S23\n";
  const std::string row1 = "1,\"say \"\"hi\"\", then\nnext line\",100,0,0,0,0,0";
  const std::string row2 = "2,  padded  ,0,0,0,50,0,0";
  FolderRun r;
  runOnFile(r, header + row1 + "\n" + row2 + "\n", {"--outputs", "max-principal"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  EXPECT_EQ(r.run.out, "id,\"note, with comma\",S11,S22,S33,S12,S13,S23,max_principal\n" + row1 +
                           ",100\n" + row2 + ",50\n");
}

TEST(Csv, LineNumbersCountLineBreaksInsideQuotes) {
  expectFailure("note,S11,S22,S33,S12,S13,S23\n\"a\nb\nc\",1,2,3,4,5,6\n\"d\",1,2,zz,4,5,6\n", {},
                "input.csv:5: column \"S33\": expected a number, found \"zz\"");
}

TEST(Csv, CarriageReturnLineFeedIsKept) {
  FolderRun r;
  runOnFile(r, "S11,S22,S33,S12,S13,S23\r\n100,0,0,0,0,0\r\n# note\r\n0,0,0,50,0,0\r\n",
            {"--outputs", "max-principal"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  EXPECT_EQ(r.run.out, "S11,S22,S33,S12,S13,S23,max_principal\r\n100,0,0,0,0,0,100\r\n"
                       "# note\r\n0,0,0,50,0,0,50\r\n");
}

TEST(Csv, SemicolonsAreDetectedAndKept) {
  FolderRun r;
  runOnFile(r, "name;S11;S22;S33;S12;S13;S23\n\"a;b\";100;0;0;0;0;0\n",
            {"--outputs", "max-principal,pressure"}, ';');
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  EXPECT_EQ(r.run.out, "name;S11;S22;S33;S12;S13;S23;max_principal;pressure\n"
                       "\"a;b\";100;0;0;0;0;0;100;-33.333333333333336\n");
}

TEST(Csv, ForcedSeparator) {
  // Forced to semicolons, a header with more commas than semicolons is read with semicolons.
  FolderRun r;
  runOnFile(r, "a,b;S11;S22;S12\nx,y;30;10;10\n",
            {"--separator", "semicolon", "--layout", "surface3d", "--outputs", "mises"}, ';');
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  EXPECT_EQ(linesOf(r.run.out)[0], "a,b;S11;S22;S12;mises");
  expectClose(valueAt(r.table, 0, "mises"), std::sqrt(1000.0), 1e-14, 0, "mises");
}

TEST(Csv, CommentsAndBlankLinesAreCopiedThrough) {
  FolderRun r;
  runOnFile(r,
            "# results, step 3\n\nS11,S22,S33,S12,S13,S23\n# first\n100,0,0,0,0,0\n\n"
            "0,0,0,50,0,0\n",
            {"--outputs", "max-principal"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  EXPECT_EQ(r.run.out, "# results, step 3\n\nS11,S22,S33,S12,S13,S23,max_principal\n# first\n"
                       "100,0,0,0,0,0,100\n\n0,0,0,50,0,0,50\n");
}

TEST(Csv, QuotedPaddedAndSignedNumbers) {
  FolderRun r;
  runOnFile(r, std::string(fullHeader) + "1,\"100\", +0 ,0,\" 0 \",0,-0\n",
            {"--outputs", "components"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  EXPECT_EQ(linesOf(r.run.out)[1], "1,\"100\", +0 ,0,\" 0 \",0,-0,100,0,0,0,0,0");
}

TEST(Csv, ByteOrderMarkIsKept) {
  FolderRun r;
  runOnFile(r, "\xEF\xBB\xBFS11,S22,S33,S12,S13,S23\n100,0,0,0,0,0\n", {"--outputs", "mises"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  EXPECT_EQ(r.run.out, "\xEF\xBB\xBFS11,S22,S33,S12,S13,S23,mises\n100,0,0,0,0,0,100\n");
}

TEST(Csv, ByteOrderMarkBeforeACommentStaysAtTheStart) {
  // Found by fuzz_csv: the mark was written with the header, after the comments before it.
  FolderRun r;
  runOnFile(r, "\xEF\xBB\xBF# run 1\n\nS11,S22,S33,S12,S13,S23\n100,0,0,0,0,0\n",
            {"--outputs", "mises"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  EXPECT_EQ(r.run.out, "\xEF\xBB\xBF# run 1\n\nS11,S22,S33,S12,S13,S23,mises\n100,0,0,0,0,0,100\n");
}

TEST(Csv, LastLineWithoutLineEndGetsOne) {
  FolderRun r;
  runOnFile(r, "S11,S22,S33,S12,S13,S23\r\n100,0,0,0,0,0", {"--outputs", "mises"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  EXPECT_EQ(r.run.out, "S11,S22,S33,S12,S13,S23,mises\r\n100,0,0,0,0,0,100\r\n");
}

TEST(Csv, HeaderOnly) {
  FolderRun r;
  runOnFile(r, "S11,S22,S33,S12,S13,S23\n", {"--outputs", "mises,tresca"});
  ASSERT_EQ(r.run.status, 0) << r.run.err;
  EXPECT_EQ(r.run.out, "S11,S22,S33,S12,S13,S23,mises,tresca\n");
}

// ---------------------------------------------------------------------------------------------
// Standard streams and the output file.

TEST(Streams, StandardInputToStandardOutput) {
  const std::string table = std::string(fullHeader) + "1,100,0,0,0,0,0\n";
  const std::string expected = "id,S11,S22,S33,S12,S13,S23,mises\n1,100,0,0,0,0,0,100\n";
  const RunResult implicit = runPost({}, table);
  EXPECT_EQ(implicit.status, 0) << implicit.err;
  EXPECT_EQ(implicit.out, expected);
  const RunResult dash = runPost({"-", "-o", "-"}, table);
  EXPECT_EQ(dash.out, expected);
  EXPECT_EQ(dash.err, "");
  const RunResult bad = runPost({}, std::string(fullHeader) + "1,x,0,0,0,0,0\n");
  EXPECT_EQ(bad.status, 2);
  EXPECT_EQ(bad.err, "utf-post: <stdin>:2: column \"S11\": expected a number, found \"x\"\n");
}

TEST(Streams, OutputFileIsWrittenWholeWithUsualPermissions) {
  FolderRun r;
  const mode_t previous = ::umask(022);
  runOnFile(r, std::string(fullHeader) + "1,100,0,0,0,0,0\n", {"-o", "out.csv"});
  ::umask(previous);
  EXPECT_EQ(r.run.status, 0) << r.run.err;
  EXPECT_EQ(r.run.out, "");
  EXPECT_EQ(readFile(r.folder.file("out.csv")),
            "id,S11,S22,S33,S12,S13,S23,mises\n1,100,0,0,0,0,0,100\n");
  std::vector<std::string> entries = r.folder.entries();
  std::sort(entries.begin(), entries.end());
  EXPECT_EQ(entries, (std::vector<std::string>{"input.csv", "out.csv"}));
  struct stat status;
  ASSERT_EQ(::stat(r.folder.file("out.csv").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0644u);
}

TEST(Streams, OutputReplacesAnExistingFile) {
  FolderRun r;
  writeFile(r.folder.file("out.csv"), "old\n");
  runOnFile(r, std::string(fullHeader) + "1,100,0,0,0,0,0\n", {"--output", "out.csv"});
  EXPECT_EQ(r.run.status, 0) << r.run.err;
  EXPECT_EQ(readFile(r.folder.file("out.csv")),
            "id,S11,S22,S33,S12,S13,S23,mises\n1,100,0,0,0,0,0,100\n");
}

// ---------------------------------------------------------------------------------------------
// The command line, the sample and the demo.

TEST(CommandLine, HelpListsEveryOptionWithAnExample) {
  const RunResult run = runPost({"--help"});
  EXPECT_EQ(run.status, 0);
  const char* const options[] = {"INPUT",
                                 "-o,--output",
                                 "--outputs",
                                 "--layout",
                                 "--columns",
                                 "--engineering-shear",
                                 "--precision",
                                 "--separator",
                                 "--rotate-angles",
                                 "--rotate-cosines",
                                 "--cylindrical",
                                 "--axis-origin",
                                 "--axis-direction",
                                 "--coordinates",
                                 "--skip-bad-rows",
                                 "--max-warnings",
                                 "--demo",
                                 "--sample",
                                 "--version",
                                 "-h,--help"};
  // Each option's entry, up to the next option's, holds an example.
  const std::vector<std::string> lines = linesOf(run.out);
  for (const char* option : options) {
    bool found = false;
    bool example = false;
    for (std::size_t i = 0; i < lines.size(); ++i) {
      if (lines[i].rfind(std::string("  ") + option + " ", 0) != 0 &&
          lines[i] != std::string("  ") + option) {
        continue;
      }
      found = true;
      for (std::size_t j = i; j < lines.size() && (j == i || lines[j].rfind("   ", 0) == 0); ++j) {
        example = example || lines[j].find("e.g. ") != std::string::npos;
      }
      break;
    }
    EXPECT_TRUE(found) << option;
    EXPECT_TRUE(example) << option;
  }
  // The sense of the change of system, with its one-line example.
  EXPECT_NE(run.out.find("is the local S22"), std::string::npos);
  for (const char* column : {"max_principal", "pdir_qx", "pdir1_x", "local_S11"}) {
    EXPECT_NE(run.out.find(column), std::string::npos) << column;
  }
}

// The default that the help states for `option`: in its entry (its lines joined by blanks), the
// text after "(default " up to the first ')', ';' or ':'; empty when the entry states none.
std::string statedDefault(const std::vector<std::string>& help, const std::string& option) {
  std::string entry;
  for (std::size_t i = 0; i < help.size(); ++i) {
    if (help[i].rfind("  " + option + " ", 0) != 0) {
      continue;
    }
    for (std::size_t j = i; j < help.size() && (j == i || help[j].rfind("   ", 0) == 0); ++j) {
      entry += help[j].substr(help[j].find_first_not_of(' ')) + " ";
    }
    break;
  }
  const std::size_t start = entry.find("(default ");
  if (start == std::string::npos) {
    return "";
  }
  const std::size_t begin = start + std::string("(default ").size();
  return entry.substr(begin, entry.find_first_of(");:", begin) - begin);
}

TEST(CommandLine, EveryDefaultTheHelpStatesIsTheOneARunTakes) {
  const RunResult help = runPost({"--help"});
  ASSERT_EQ(help.status, 0);
  const std::vector<std::string> lines = linesOf(help.out);
  // A table on which each option below tells: shears out of the 1-2 plane (--layout), values
  // that float rounds (--precision), semicolons (--separator), points off any axis tried
  // (--axis-origin, --axis-direction), 30 bad rows (--max-warnings).
  std::string table = "id;X;Y;Z;S11;S22;S33;S12;S13;S23\n";
  for (int i = 1; i <= 30; ++i) {
    const std::string n = std::to_string(i);
    table += n + ";" + n + ".1;-2.3;0.7;100.1;-20.3;5.7;30.1;-10.9;20.3\n";
    table += "bad;1;2;3;x;0;0;0;0;0\n";
  }
  const std::vector<std::string> plain = {"--skip-bad-rows"};
  const std::vector<std::string> cylindrical = {"--skip-bad-rows", "--cylindrical", "--outputs",
                                                "components"};
  const struct {
    const char* option;
    std::vector<std::string> base;
  } cases[] = {{"--outputs", plain},
               {"--layout", plain},
               {"--precision", plain},
               {"--separator", plain},
               {"--max-warnings", plain},
               {"--axis-origin", cylindrical},
               {"--axis-direction", cylindrical},
               {"--coordinates", cylindrical}};
  // A run with the option set to the stated default gives the very bytes of a run without it.
  for (const auto& c : cases) {
    const std::string value = statedDefault(lines, c.option);
    ASSERT_FALSE(value.empty()) << c.option << ": the help states no default";
    FolderRun without;
    runOnFile(without, table, c.base, ';');
    ASSERT_EQ(without.run.status, 0) << without.run.err;
    ASSERT_EQ(without.table.size(), 31u) << c.option;
    std::vector<std::string> arguments = c.base;
    arguments.push_back(c.option);
    arguments.push_back(value);
    FolderRun with;
    runOnFile(with, table, arguments, ';');
    EXPECT_EQ(with.run.status, 0) << c.option << " " << value << ": " << with.run.err;
    EXPECT_EQ(with.run.out, without.run.out) << c.option << " " << value;
    EXPECT_EQ(with.run.err, without.run.err) << c.option << " " << value;
  }
}

TEST(CommandLine, Version) {
  const RunResult run = runPost({"--version"});
  EXPECT_EQ(run.status, 0);
  // "utf-post MAJOR.MINOR.PATCH".
  ASSERT_EQ(run.out.rfind("utf-post ", 0), 0u) << run.out;
  const std::string version = run.out.substr(9);
  EXPECT_EQ(std::count(version.begin(), version.end(), '.'), 2) << run.out;
  EXPECT_EQ(version.find_first_not_of("0123456789.\n"), std::string::npos) << run.out;
  EXPECT_EQ(version.back(), '\n');
}

TEST(Sample, WritesTheShippedTable) {
  const RunResult run = runPost({"--sample"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out, readFile(UTF_POST_SAMPLE_PATH));
  EXPECT_GT(run.out.size(), 100000u);
}

// A figure of the demo's report: the first number after `label`.
double reportFigure(const std::string& report, const std::string& label) {
  const std::size_t at = report.find(label);
  EXPECT_NE(at, std::string::npos) << label;
  if (at == std::string::npos) {
    return std::nan("");
  }
  return std::strtod(report.c_str() + at + label.size(), nullptr);
}

TEST(Demo, ReportsTheStressConcentrationFactorAndTheFreeEdge) {
  const RunResult run = runPost({"--demo"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err, "");
  // Four digits: 3.0000.
  const double factor = reportFigure(run.out, "stress concentration factor");
  EXPECT_LT(std::fabs(factor - 3.0), 5e-5) << run.out;
  const std::size_t label = run.out.find("stress concentration factor ");
  ASSERT_NE(label, std::string::npos);
  const std::size_t figure = run.out.find_first_not_of(' ', label + 28);
  EXPECT_EQ(run.out.substr(figure, 7), "3.0000 ") << run.out;
  // The radial stress on the edge is 0 up to the round-off of the global components (about
  // 1e-16 of their size, 300 MPa): within 1e-9 of the remote stress.
  EXPECT_LT(std::fabs(reportFigure(run.out, "largest |radial stress|")), 1e-9 * 100) << run.out;
  EXPECT_LT(std::fabs(reportFigure(run.out, "largest |radial-hoop shear|")), 1e-9 * 100);
  EXPECT_NEAR(reportFigure(run.out, "hoop stress on the load axis"), -100, 1e-9);
  EXPECT_NEAR(reportFigure(run.out, "peak Mises"), 300, 1e-9);
  EXPECT_NE(run.out.find("2,880 points"), std::string::npos);
  EXPECT_NE(run.out.find("(r = 10 mm, 72 points)"), std::string::npos);
}

TEST(Demo, InFloat) {
  const RunResult run = runPost({"--demo", "--precision", "float"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_LT(std::fabs(reportFigure(run.out, "stress concentration factor") - 3.0), 5e-5);
  // Single precision: round-off of about 1e-7 of 300 MPa.
  EXPECT_LT(std::fabs(reportFigure(run.out, "largest |radial stress|")), 1e-5 * 100);
  EXPECT_NE(run.out.find("(r = 10 mm, 72 points)"), std::string::npos) << run.out;
}

TEST(Demo, WritesTheProcessedTableWithOutput) {
  TempDir folder;
  const RunResult run = runPost({"--demo", "-o", "demo.csv"}, "", folder.path());
  ASSERT_EQ(run.status, 0) << run.err;
  const auto table = tableOf(readFile(folder.file("demo.csv")));
  ASSERT_EQ(table.size(), 2881u);
  EXPECT_EQ(table[0].back(), "local_S23");
  EXPECT_EQ(table[0][10], "mises");
}

// ---------------------------------------------------------------------------------------------
// The progress display.

// Runs utf-post on a table of `rows` rows from a file, its standard error on a pseudo-terminal
// (or a file); returns what it wrote there.
std::string progressOutput(int rows, bool terminal, int& status) {
  TempDir folder;
  std::string table = fullHeader;
  table.reserve(static_cast<std::size_t>(rows) * 20);
  for (int i = 0; i < rows; ++i) {
    table += "1,1,2,3,4,5,6\n";
  }
  writeFile(folder.file("big.csv"), table);
  const std::string input = folder.file("big.csv");
  std::string errors;
  if (!terminal) {
    const RunResult run = runPost({input, "-o", folder.file("out.csv")});
    status = run.status;
    return run.err;
  }
  int master = -1;
  int slave = -1;
  if (::openpty(&master, &slave, nullptr, nullptr, nullptr) != 0) {
    ADD_FAILURE() << "openpty failed";
    return "";
  }
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::close(master);
    const int devnull = ::open("/dev/null", O_RDWR);
    ::dup2(devnull, 0);
    ::dup2(devnull, 1);
    ::dup2(slave, 2);
    std::string program = UTF_POST_PATH;
    std::string inputCopy = input;
    char* argv[] = {program.data(), inputCopy.data(), nullptr};
    ::execv(argv[0], argv);
    ::_exit(127);
  }
  ::close(slave);
  char buffer[4096];
  for (;;) {
    const ssize_t count = ::read(master, buffer, sizeof buffer);
    if (count <= 0) {
      break; // EIO once the child has closed its end
    }
    errors.append(buffer, static_cast<std::size_t>(count));
  }
  ::close(master);
  int raw = 0;
  ::waitpid(pid, &raw, 0);
  status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  return errors;
}

TEST(Progress, ShownOnATerminalForALargeTable) {
  int status = -1;
  const std::string shown = progressOutput(150000, true, status);
  EXPECT_EQ(status, 0);
  // The first drawing comes with the first report past 100,000 rows; the last one ends the line.
  EXPECT_NE(shown.find("\rutf-post: "), std::string::npos) << shown;
  EXPECT_NE(shown.find(" rows/s"), std::string::npos) << shown;
  EXPECT_NE(shown.find(" left"), std::string::npos) << shown;
  EXPECT_NE(shown.find("utf-post: 150,000 rows"), std::string::npos) << shown;
}

TEST(Progress, SilentOnATerminalForASmallTable) {
  int status = -1;
  EXPECT_EQ(progressOutput(50000, true, status), "");
  EXPECT_EQ(status, 0);
}

TEST(Progress, SilentWhenNotATerminal) {
  int status = -1;
  EXPECT_EQ(progressOutput(150000, false, status), "");
  EXPECT_EQ(status, 0);
}
