// The numerical routines CROSSV, CALQUAT, TRANSM, COPYV, SORTPRIN, CALPRIN and CALPRINQ: every
// branch and tie rule on hand-worked cases, the diagnostic lines on standard output, and
// properties on pseudo-random rotations and tensors checked against an independent long-double
// computation.

#include "test_support.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();
const double kRoot1_2 = std::sqrt(0.5); // 1/sqrt(2)

// Captures what is written to file descriptor 1 (standard output) between construction and
// finish(). Nothing may be asserted while a capture is open, since the test framework writes
// to standard output too.
class StdoutCapture {
public:
  StdoutCapture() {
    std::fflush(stdout);
    m_file = std::tmpfile();
    m_saved = dup(1);
    dup2(fileno(m_file), 1);
  }
  StdoutCapture(const StdoutCapture&) = delete;
  StdoutCapture& operator=(const StdoutCapture&) = delete;
  ~StdoutCapture() { finish(); }

  std::string finish() {
    if (m_file == nullptr) {
      return m_text;
    }
    std::fflush(stdout);
    dup2(m_saved, 1);
    close(m_saved);
    std::rewind(m_file);
    char buffer[256];
    std::size_t count;
    while ((count = std::fread(buffer, 1, sizeof buffer, m_file)) > 0) {
      m_text.append(buffer, count);
    }
    std::fclose(m_file);
    m_file = nullptr;
    return m_text;
  }

private:
  std::FILE* m_file = nullptr;
  int m_saved = -1;
  std::string m_text;
};

using Quat = std::array<double, 4>;

Quat calquat(const double a[9], int lscal = 0) {
  Quat q;
  CALQUAT(q.data(), a, &lscal);
  return q;
}

// A direction-cosine array from three new axes: column j is axis j.
std::array<double, 9> axes(std::array<double, 3> x, std::array<double, 3> y,
                           std::array<double, 3> z) {
  return {x[0], x[1], x[2], y[0], y[1], y[2], z[0], z[1], z[2]};
}

std::array<double, 9> diagonal(double a0, double a4, double a8) {
  return {a0, 0.0, 0.0, 0.0, a4, 0.0, 0.0, 0.0, a8};
}

void expectQuat(const Quat& q, double x, double y, double z, double w, double tolerance = 1e-15) {
  EXPECT_NEAR(q[0], x, tolerance);
  EXPECT_NEAR(q[1], y, tolerance);
  EXPECT_NEAR(q[2], z, tolerance);
  EXPECT_NEAR(q[3], w, tolerance);
}

// ---- Independent long-double references ----

// The symmetric matrix of stored components: NDI direct components (absent ones 0), then NSHR
// shears (S12, S13, S23), halved for engineering shear.
RealMatrix tensorMatrix(const double* s, int ndi, int nshr, bool halve) {
  RealMatrix m{};
  for (int i = 0; i < ndi; ++i) {
    m.a[i][i] = s[i];
  }
  const long double f = halve ? 0.5L : 1.0L;
  static const int at[3][2] = {{0, 1}, {0, 2}, {1, 2}};
  for (int j = 0; j < nshr; ++j) {
    m.a[at[j][0]][at[j][1]] = m.a[at[j][1]][at[j][0]] = f * s[ndi + j];
  }
  return m;
}

// ---- Small hand-checked routines ----

TEST(Crossv, CrossProductComponents) {
  const double a[3] = {1, 2, 3};
  const double b[3] = {4, 5, 6};
  double c[3];
  CROSSV(a, b, c);
  EXPECT_EQ(c[0], -3.0);
  EXPECT_EQ(c[1], 6.0);
  EXPECT_EQ(c[2], -3.0);
  const double x[3] = {1, 0, 0};
  const double y[3] = {0, 1, 0};
  CROSSV(x, y, c);
  EXPECT_EQ(c[0], 0.0);
  EXPECT_EQ(c[1], 0.0);
  EXPECT_EQ(c[2], 1.0);
}

TEST(Transm, TransposesColumnMajor) {
  // a is 2 x 3: a(1,1)=1 a(2,1)=2 a(1,2)=3 a(2,2)=4 a(1,3)=5 a(2,3)=6.
  const double a[6] = {1, 2, 3, 4, 5, 6};
  double b[6] = {};
  const int m = 2;
  const int n = 3;
  TRANSM(a, b, &m, &n);
  // b is 3 x 2 with b(j,i) = a(i,j): b(1,1)=1 b(2,1)=3 b(3,1)=5 b(1,2)=2 b(2,2)=4 b(3,2)=6.
  const double expected[6] = {1, 3, 5, 2, 4, 6};
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(b[i], expected[i]) << i;
  }
}

TEST(Transm, NothingWhenASizeIsBelowOne) {
  const double a[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  const int sizes[][2] = {{0, 3}, {3, 0}, {-1, 3}, {3, -2}, {0, 0}};
  for (const auto& size : sizes) {
    double b[9];
    std::fill(b, b + 9, -7.0);
    TRANSM(a, b, &size[0], &size[1]);
    for (double value : b) {
      EXPECT_EQ(value, -7.0) << size[0] << " x " << size[1];
    }
  }
}

TEST(Copyv, CopiesNValues) {
  const double a[4] = {1.5, -2.5, 3.5, 9.0};
  double b[4] = {0, 0, 0, 0};
  const int n = 3;
  COPYV(a, b, &n);
  EXPECT_EQ(b[0], 1.5);
  EXPECT_EQ(b[1], -2.5);
  EXPECT_EQ(b[2], 3.5);
  EXPECT_EQ(b[3], 0.0) << "only n values";
}

TEST(Copyv, NothingWhenNIsNotPositive) {
  const double a[2] = {1, 2};
  for (int n : {0, -1, -100}) {
    double b[2] = {-7, -7};
    COPYV(a, b, &n);
    EXPECT_EQ(b[0], -7.0);
    EXPECT_EQ(b[1], -7.0);
  }
}

// ---- CALQUAT ----

TEST(Calquat, IdentityGivesIdentity) {
  const auto a = diagonal(1, 1, 1);
  const Quat q = calquat(a.data());
  EXPECT_EQ(q[0], 0.0);
  EXPECT_EQ(q[1], 0.0);
  EXPECT_EQ(q[2], 0.0);
  EXPECT_EQ(q[3], 1.0);
}

TEST(Calquat, HalfTurnAboutZTakesTheThirdDiagonalBranch) {
  // Trace -1, a8 = 1 the largest: e3 = sqrt((1 + 1) / 4 + 1 / 2) = 1, the rest 0 / 4.
  const auto a = diagonal(-1, -1, 1);
  const Quat q = calquat(a.data());
  EXPECT_EQ(q[0], 0.0);
  EXPECT_EQ(q[1], 0.0);
  EXPECT_EQ(q[2], 1.0);
  EXPECT_EQ(q[3], 0.0);
}

TEST(Calquat, HalfTurnsAboutXAndYTakeTheFirstAndSecondBranches) {
  const auto ax = diagonal(1, -1, -1);
  const Quat qx = calquat(ax.data());
  EXPECT_EQ(qx[0], 1.0);
  EXPECT_EQ(qx[1], 0.0);
  EXPECT_EQ(qx[2], 0.0);
  EXPECT_EQ(qx[3], 0.0);
  const auto ay = diagonal(-1, 1, -1);
  const Quat qy = calquat(ay.data());
  EXPECT_EQ(qy[0], 0.0);
  EXPECT_EQ(qy[1], 1.0);
  EXPECT_EQ(qy[2], 0.0);
  EXPECT_EQ(qy[3], 0.0);
}

TEST(Calquat, TraceBranchOnQuarterTurnAboutX) {
  // New axes (1,0,0), (0,0,1), (0,-1,0): trace 1 ties with a0 = 1 and wins.
  const auto a = axes({1, 0, 0}, {0, 0, 1}, {0, -1, 0});
  const Quat q = calquat(a.data());
  expectQuat(q, kRoot1_2, 0, 0, kRoot1_2);
}

TEST(Calquat, TraceEqualToALargestDiagonalElementTakesTheTraceBranch) {
  // diag(1, 0, 0): trace 1 = a0. The off-diagonal pair a1 = a3 = 0.5 is symmetric, so the trace
  // branch (differences a1 - a3) gives 0 where the first diagonal branch (sums) would not.
  std::array<double, 9> a = diagonal(1, 0, 0);
  a[1] = 0.5;
  a[3] = 0.5;
  const Quat q = calquat(a.data());
  EXPECT_EQ(q[0], 0.0);
  EXPECT_EQ(q[1], 0.0);
  EXPECT_EQ(q[2], 0.0);
  EXPECT_NEAR(q[3], kRoot1_2, 1e-16);
}

TEST(Calquat, DiagonalTiesGoToTheLaterElement) {
  // Off-diagonal a1 = 0.2, a3 = 0.6 (sum 0.8); with s = 0.5 the chosen branch puts
  // sqrt(0.5) in its own slot and 0.8 / (4 sqrt(0.5)) in the partner's slot.
  const double big = kRoot1_2;
  const double small = 0.8 / (4.0 * kRoot1_2);
  {
    std::array<double, 9> a = diagonal(0.5, 0.5, -1); // a0 = a4 largest: k = 2
    a[1] = 0.2;
    a[3] = 0.6;
    expectQuat(calquat(a.data()), small, big, 0, 0);
  }
  {
    std::array<double, 9> a = diagonal(-1, 0.5, 0.5); // a4 = a8 largest: k = 3
    a[5] = 0.2;
    a[7] = 0.6;
    expectQuat(calquat(a.data()), 0, small, big, 0);
  }
  {
    std::array<double, 9> a = diagonal(0.5, -1, 0.5); // a0 = a8 largest: k = 3
    a[2] = 0.2;
    a[6] = 0.6;
    expectQuat(calquat(a.data()), small, 0, big, 0);
  }
  {
    // All three equal and above the trace: k = 3; s = (1 + 1.5) / 4 - 0.25 = 0.375.
    std::array<double, 9> a = diagonal(-0.5, -0.5, -0.5);
    a[2] = 0.1;
    a[6] = 0.3;
    const double e3 = std::sqrt(0.375);
    expectQuat(calquat(a.data()), 0.4 / (4.0 * e3), 0, e3, 0);
  }
}

TEST(Calquat, DiagonalBranchKeepsItsSignEvenWhenTheScalarIsNegative) {
  // A rotation by 200 degrees about X: the first diagonal branch makes e1 positive, so the
  // scalar comes out as cos(100 degrees) < 0; no normalisation or sign change follows.
  const double theta = 200.0 * M_PI / 180.0;
  const auto a = axes({1, 0, 0}, {0, std::cos(theta), std::sin(theta)},
                      {0, -std::sin(theta), std::cos(theta)});
  const Quat q = calquat(a.data());
  expectQuat(q, std::sin(theta / 2), 0, 0, std::cos(theta / 2), 1e-15);
  EXPECT_LT(q[3], 0.0);
}

TEST(Calquat, OnlyTheLowestBitOfLscalIsTested) {
  // A quarter turn about Z: q = (0, 0, s, s) is symmetric in the scalar's position, so use a
  // general rotation.
  const auto a = axes({0.36, 0.48, -0.8}, {-0.8, 0.6, 0.0}, {0.48, 0.64, 0.6});
  const Quat last = calquat(a.data(), 0);
  for (int lscal : {1, 3, -1, 5}) {
    const Quat first = calquat(a.data(), lscal);
    EXPECT_EQ(bitsOf(first[0]), bitsOf(last[3])) << lscal;
    EXPECT_EQ(bitsOf(first[1]), bitsOf(last[0])) << lscal;
    EXPECT_EQ(bitsOf(first[2]), bitsOf(last[1])) << lscal;
    EXPECT_EQ(bitsOf(first[3]), bitsOf(last[2])) << lscal;
  }
  for (int lscal : {2, -2, 4}) {
    const Quat q = calquat(a.data(), lscal);
    for (int i = 0; i < 4; ++i) {
      EXPECT_EQ(bitsOf(q[i]), bitsOf(last[i])) << lscal;
    }
  }
  EXPECT_GT(std::fabs(last[3] - last[0]), 0.1) << "the two orders must be distinguishable";
}

TEST(Calquat, RecoversRandomUnitQuaternionsUpToSign) {
  // Tolerance: each component within 1e-15 of the quaternion the table was made from (the
  // divisor 4 |component| of the chosen branch is at least 2, so the rounding of the table's
  // entries reaches the result as a few units in the last place).
  const double tolerance = 1e-15;
  double worst = 0.0;
  int branches[4] = {0, 0, 0, 0};
  StdoutCapture capture;
  for (int n = 0; n < 20000; ++n) {
    long double v[4];
    long double norm2;
    do {
      for (auto& c : v) {
        c = uniform(-1.0, 1.0);
      }
      norm2 = v[0] * v[0] + v[1] * v[1] + v[2] * v[2] + v[3] * v[3];
    } while (norm2 > 1 || norm2 < 1e-4L);
    const long double norm = std::sqrt(norm2);
    for (auto& c : v) {
      c /= norm;
    }
    const RealMatrix table = referenceTable3d(v);
    double a[9];
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) {
        a[3 * i + j] = static_cast<double>(table.a[i][j]); // column i = row i of the table
      }
    }
    const Quat q = calquat(a);
    const long double sign = q[3] * v[3] + q[0] * v[0] + q[1] * v[1] + q[2] * v[2] < 0 ? -1 : 1;
    for (int i = 0; i < 4; ++i) {
      worst = std::max(worst, static_cast<double>(std::fabs(q[i] - sign * v[i])));
    }
    const double t = a[0] + a[4] + a[8];
    const double diag[3] = {a[0], a[4], a[8]};
    const int chosen = t >= std::max({diag[0], diag[1], diag[2]})
                           ? 0
                           : static_cast<int>(std::max_element(diag, diag + 3) - diag) + 1;
    ++branches[chosen];
  }
  const std::string printed = capture.finish();
  EXPECT_LE(worst, tolerance);
  EXPECT_EQ(printed, "") << "no diagnostic for proper rotations";
  for (int b = 0; b < 4; ++b) {
    EXPECT_GT(branches[b], 100) << "branch " << b << " exercised";
  }
}

// ---- CALQUAT diagnostics ----

TEST(CalquatDiagnostics, TraceNotAboveMinusOneWritesError1AndCarriesOn) {
  // The trace can be the largest candidate and not above -1 only when all three diagonal
  // elements are -infinity; w = 0.5 sqrt(-inf) is NaN and so is everything after it.
  const auto a = diagonal(-kInf, -kInf, -kInf);
  StdoutCapture capture;
  const Quat q = calquat(a.data());
  const std::string printed = capture.finish();
  EXPECT_EQ(printed, " SYSTEM ERROR 1 IN CALQUAT\n");
  for (double c : q) {
    EXPECT_TRUE(std::isnan(c));
  }
}

TEST(CalquatDiagnostics, NaNDiagonalTermWritesError3AndCarriesOn) {
  auto a = diagonal(1, 1, 1);
  a[4] = kNaN; // the trace is NaN, never equal to the largest: a diagonal branch, s is NaN
  StdoutCapture capture;
  const Quat q = calquat(a.data());
  const std::string printed = capture.finish();
  EXPECT_EQ(printed, " SYSTEM ERROR 3 IN CALQUAT\n");
  for (double c : q) {
    EXPECT_TRUE(std::isnan(c));
  }
}

TEST(CalquatDiagnostics, InfiniteMinusInfiniteTraceWritesError3Once) {
  const auto a = diagonal(kInf, -kInf, 0);
  StdoutCapture capture;
  const Quat q = calquat(a.data(), 1);
  const std::string printed = capture.finish();
  EXPECT_EQ(printed, " SYSTEM ERROR 3 IN CALQUAT\n");
  for (double c : q) {
    EXPECT_TRUE(std::isnan(c));
  }
}

TEST(CalquatDiagnostics, InfiniteTraceIsNoError) {
  // Trace +inf is the largest and above -1: w = inf, the components (0 - 0) / inf = 0.
  const auto a = diagonal(kInf, 0, 0);
  StdoutCapture capture;
  const Quat q = calquat(a.data());
  const std::string printed = capture.finish();
  EXPECT_EQ(printed, "");
  EXPECT_EQ(q[0], 0.0);
  EXPECT_EQ(q[1], 0.0);
  EXPECT_EQ(q[2], 0.0);
  EXPECT_EQ(q[3], kInf);
}

TEST(CalquatDiagnostics, NothingIsWrittenForOrdinaryInput) {
  const auto identity = diagonal(1, 1, 1);
  const auto halfTurn = diagonal(-1, -1, 1);
  const auto zero = diagonal(0, 0, 0);
  StdoutCapture capture;
  calquat(identity.data());
  calquat(halfTurn.data());
  const Quat q = calquat(zero.data()); // trace 0 > -1: w = 0.5, components 0
  const std::string printed = capture.finish();
  EXPECT_EQ(printed, "");
  expectQuat(q, 0, 0, 0, 0.5, 0.0);
}

// ---- SORTPRIN ----

// Direction triples marked by their index: triple i is (10 i + 1, 10 i + 2, 10 i + 3).
std::array<double, 9> markedTriples() {
  return {11, 12, 13, 21, 22, 23, 31, 32, 33};
}

void expectTripleOrder(const std::array<double, 9>& v, int first, int second, int third) {
  const int order[3] = {first, second, third};
  for (int slot = 0; slot < 3; ++slot) {
    for (int c = 0; c < 3; ++c) {
      EXPECT_EQ(v[3 * slot + c], 10.0 * order[slot] + c + 1) << "slot " << slot;
    }
  }
}

TEST(Sortprin, LayoutSevenSortsAllThreeInOrder12Then13Then23) {
  double p[3] = {1, 2, 3};
  auto v = markedTriples();
  const int layout = 7;
  SORTPRIN(p, v.data(), &layout);
  EXPECT_EQ(p[0], 3.0);
  EXPECT_EQ(p[1], 2.0);
  EXPECT_EQ(p[2], 1.0);
  expectTripleOrder(v, 3, 2, 1);
}

TEST(Sortprin, LayoutSevenNaNSwapsAtEveryStep) {
  // (NaN, 1, 2) -> (1,2) swap: (1, NaN, 2) -> (1,3) swap: (2, NaN, 1) -> (2,3) swap: (2, 1, NaN).
  double p[3] = {kNaN, 1, 2};
  auto v = markedTriples();
  const int layout = 7;
  SORTPRIN(p, v.data(), &layout);
  EXPECT_EQ(p[0], 2.0);
  EXPECT_EQ(p[1], 1.0);
  EXPECT_TRUE(std::isnan(p[2]));
  expectTripleOrder(v, 3, 2, 1);
}

TEST(Sortprin, EqualValuesDoNotSwap) {
  double p[3] = {5, 5, 5};
  auto v = markedTriples();
  const int layout = 7;
  SORTPRIN(p, v.data(), &layout);
  expectTripleOrder(v, 1, 2, 3);
}

TEST(Sortprin, OtherLayoutsOnlyOrderTheFirstPair) {
  for (int layout : {8, 9, 10, 11, 0, 6, -7, 100}) {
    double p[3] = {1, 2, 3};
    auto v = markedTriples();
    SORTPRIN(p, v.data(), &layout);
    EXPECT_EQ(p[0], 2.0) << layout;
    EXPECT_EQ(p[1], 1.0) << layout;
    EXPECT_EQ(p[2], 3.0) << layout;
    expectTripleOrder(v, 2, 1, 3);

    double q[3] = {kNaN, 1, 0};
    auto w = markedTriples();
    SORTPRIN(q, w.data(), &layout);
    EXPECT_EQ(q[0], 1.0) << "NaN first swaps";
    EXPECT_TRUE(std::isnan(q[1]));
    EXPECT_EQ(q[2], 0.0);
    expectTripleOrder(w, 2, 1, 3);
  }
}

// ---- CALPRIN ----

struct Principal {
  double p[3];
  double d[9];
  // Direction i (0-based) is row i of d.
  double dir(int i, int c) const { return d[i + 3 * c]; }
};

Principal calprin(const std::vector<double>& s, int ishear, int ndi, int nshr) {
  Principal r;
  std::fill(r.p, r.p + 3, -99.0);
  std::fill(r.d, r.d + 9, -99.0);
  CALPRIN(s.data(), r.p, r.d, &ishear, &ndi, &nshr);
  return r;
}

void expectIdentityDirections(const Principal& r) {
  for (int i = 0; i < 9; ++i) {
    EXPECT_EQ(r.d[i], (i % 4 == 0) ? 1.0 : 0.0) << i;
  }
}

void expectDirection(const Principal& r, int i, double x, double y, double z,
                     double tolerance = 1e-15) {
  EXPECT_NEAR(r.dir(i, 0), x, tolerance) << "direction " << i + 1;
  EXPECT_NEAR(r.dir(i, 1), y, tolerance) << "direction " << i + 1;
  EXPECT_NEAR(r.dir(i, 2), z, tolerance) << "direction " << i + 1;
}

TEST(Calprin, NoShearGivesTheDirectComponentsAndIdentity) {
  const std::vector<double> s = {5, 7, -3};
  for (int ndi = 0; ndi <= 3; ++ndi) {
    const Principal r = calprin(s, 1, ndi, 0);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(r.p[i], i < ndi ? s[i] : 0.0) << "ndi " << ndi << " value " << i;
    }
    expectIdentityDirections(r);
  }
}

TEST(Calprin, InPlaneWithoutDirectComponents) {
  // [[0, 3], [3, 0]]: c = r = 0, sc = 3, a = 0, u = 1, R = 1; values -3, 3; |a + R| = |b + R|
  // takes the first form: direction 1 = (u, -(a + R)) / sqrt(2).
  const Principal r = calprin({3}, 1, 0, 1);
  EXPECT_EQ(r.p[0], -3.0);
  EXPECT_EQ(r.p[1], 3.0);
  EXPECT_EQ(r.p[2], 0.0);
  expectDirection(r, 0, kRoot1_2, -kRoot1_2, 0);
  expectDirection(r, 1, kRoot1_2, kRoot1_2, 0);
  expectDirection(r, 2, 0, 0, 1, 0);
}

// The in-plane pair of [[s11, t], [t, s22]]: the smaller value and its unit eigenvector with a
// positive first component, in long double.
struct PlanePair {
  long double low, high, x, y;
};
PlanePair planePair(long double s11, long double s22, long double t) {
  const long double c = (s11 + s22) / 2;
  const long double radius = std::sqrt((s11 - s22) * (s11 - s22) / 4 + t * t);
  const long double low = c - radius;
  // (s11 - low) x + t y = 0.
  long double x = t;
  long double y = -(s11 - low);
  const long double n = std::sqrt(x * x + y * y);
  x /= n;
  y /= n;
  if (x < 0) {
    x = -x;
    y = -y;
  }
  return {low, c + radius, x, y};
}

void expectPlane(const Principal& r, const PlanePair& e) {
  EXPECT_NEAR(r.p[0], static_cast<double>(e.low), 1e-14);
  EXPECT_NEAR(r.p[1], static_cast<double>(e.high), 1e-14);
  expectDirection(r, 0, static_cast<double>(e.x), static_cast<double>(e.y), 0);
  expectDirection(r, 1, static_cast<double>(-e.y), static_cast<double>(e.x), 0);
  expectDirection(r, 2, 0, 0, 1, 0);
}

TEST(Calprin, InPlaneWithOneDirectComponent) {
  // NDI 1: S11 = 4 and the shear 3, S22 = 0: [[4, 3], [3, 0]], values 2 -+ sqrt(13).
  const Principal r = calprin({4, 3}, 1, 1, 1);
  expectPlane(r, planePair(4, 0, 3));
  EXPECT_EQ(r.p[2], 0.0);
}

TEST(Calprin, InPlaneBothFormsOfTheDirection) {
  // S11 > S22: a > 0 and |a + R| > |b + R| (first form); S11 < S22: the second form.
  const Principal first = calprin({4, 0, 3}, 1, 2, 1);
  expectPlane(first, planePair(4, 0, 3));
  const Principal second = calprin({0, 4, 3}, 1, 2, 1);
  expectPlane(second, planePair(0, 4, 3));
  // NDI 3: the third value is S33, the shear is S(4).
  const Principal third = calprin({0, 4, 9, 3}, 1, 3, 1);
  expectPlane(third, planePair(0, 4, 3));
  EXPECT_EQ(third.p[2], 9.0);
}

TEST(Calprin, InPlaneEqualFormsTakeTheFirst) {
  // S11 = S22: a = 0 and |a + R| = |b + R|. With a negative shear the two forms differ in sign:
  // the first gives (u, -(a + R)) / sqrt(2) = (-1, -1) / sqrt(2); the second would give (1, 1).
  const Principal r = calprin({1, 1, -2}, 1, 2, 1);
  EXPECT_EQ(r.p[0], -1.0);
  EXPECT_EQ(r.p[1], 3.0);
  expectDirection(r, 0, -kRoot1_2, -kRoot1_2, 0);
  expectDirection(r, 1, kRoot1_2, -kRoot1_2, 0);
}

TEST(Calprin, InPlaneInsignificantShearKeepsTheFirstTwoStoredValues) {
  // With NDI 1 the second stored value is the shear itself, and it comes back as a value.
  const Principal r = calprin({4, 1e-20}, 1, 1, 1);
  EXPECT_EQ(r.p[0], 4.0);
  EXPECT_EQ(r.p[1], 1e-20);
  EXPECT_EQ(r.p[2], 0.0);
  expectIdentityDirections(r);
  const Principal zero = calprin({2, 5, 7, 0}, 1, 3, 1);
  EXPECT_EQ(zero.p[0], 2.0);
  EXPECT_EQ(zero.p[1], 5.0);
  EXPECT_EQ(zero.p[2], 7.0);
  expectIdentityDirections(zero);
}

TEST(Calprin, ShearsAreHalvedUnlessIshearIsOne) {
  // [[1, 1], [1, 1]] with the stored shear 2 halved: values 0 and 2.
  for (int ishear : {2, 0, 3, -1}) {
    const Principal r = calprin({1, 1, 2}, ishear, 2, 1);
    EXPECT_EQ(r.p[0], 0.0) << ishear;
    EXPECT_EQ(r.p[1], 2.0) << ishear;
  }
  const Principal asGiven = calprin({1, 1, 2}, 1, 2, 1);
  EXPECT_EQ(asGiven.p[0], -1.0);
  EXPECT_EQ(asGiven.p[1], 3.0);
  // The same rule in 3D: shears (2, 0, 0) halved is the plane case above plus S33 = 1.
  const Principal general = calprin({1, 1, 1, 2, 0, 0}, 2, 3, 3);
  std::array<double, 3> p = {general.p[0], general.p[1], general.p[2]};
  std::sort(p.begin(), p.end());
  EXPECT_NEAR(p[0], 0.0, 1e-15);
  EXPECT_NEAR(p[1], 1.0, 1e-15);
  EXPECT_NEAR(p[2], 2.0, 1e-15);
}

TEST(Calprin, ToleranceIsOneUnitAbove2Point22eMinus12) {
  // [[2, t], [t, 0]]: c = r = 1, so the shear counts when |t| >= tolerance exactly.
  const double tolerance = std::nextafter(2.22e-12, 1.0);
  EXPECT_EQ(bitsOf(2.2200000000000002e-12), bitsOf(tolerance));
  const Principal at = calprin({2, 0, tolerance}, 1, 2, 1);
  EXPECT_EQ(at.p[0], 0.0) << "significant: c - sc R";
  EXPECT_EQ(at.p[1], 2.0);
  EXPECT_EQ(at.dir(0, 0), tolerance / 2) << "u / sqrt(4 + u^2)";
  EXPECT_EQ(at.dir(0, 1), -1.0);
  const Principal below = calprin({2, 0, 2.22e-12}, 1, 2, 1);
  EXPECT_EQ(below.p[0], 2.0) << "insignificant: the stored values";
  EXPECT_EQ(below.p[1], 0.0);
  expectIdentityDirections(below);

  // [[1, t], [t, 1]]: r = 0, so the test sc = |t| > |tolerance c| = tolerance decides.
  const Principal equal = calprin({1, 1, tolerance}, 1, 2, 1);
  EXPECT_EQ(equal.p[0], 1.0);
  EXPECT_EQ(equal.p[1], 1.0);
  expectIdentityDirections(equal);
  const double above = std::nextafter(tolerance, 1.0);
  const Principal significant = calprin({1, 1, above}, 1, 2, 1);
  EXPECT_EQ(significant.p[0], 1.0 - above);
  EXPECT_EQ(significant.p[1], 1.0 + above);
  expectDirection(significant, 0, kRoot1_2, -kRoot1_2, 0);
}

TEST(Calprin, HydrostaticTensorGivesIdentityDirections) {
  const Principal r = calprin({-4, -4, -4, 0, 0, 0}, 1, 3, 3);
  EXPECT_EQ(r.p[0], -4.0);
  EXPECT_EQ(r.p[1], -4.0);
  EXPECT_EQ(r.p[2], -4.0);
  expectIdentityDirections(r);
}

TEST(Calprin, TripleRootWithTinyShearIsInsignificant) {
  // Mean (1 + 1 + 1) * (1/3) = 1, deviator 0, so sc = |t| against |tolerance * 1|.
  const double tolerance = 2.2200000000000002e-12;
  const Principal tiny = calprin({1, 1, 1, tolerance, tolerance, tolerance}, 1, 3, 3);
  EXPECT_EQ(tiny.p[0], 1.0);
  EXPECT_EQ(tiny.p[1], 1.0);
  EXPECT_EQ(tiny.p[2], 1.0);
  expectIdentityDirections(tiny);
  // One unit larger the shear counts: the roots are 1 - e, 1 - e, 1 + 2e.
  const double e = std::nextafter(tolerance, 1.0);
  const Principal counted = calprin({1, 1, 1, e, e, e}, 1, 3, 3);
  EXPECT_EQ(counted.p[0], 1.0 - e);
  EXPECT_EQ(counted.p[1], 1.0 - e);
  EXPECT_EQ(counted.p[2], 1.0 + 2.0 * e);
  // A shear far below the direct spread is insignificant too.
  const Principal spread = calprin({3, 1, 2, 1e-13, 0, 0}, 1, 3, 3);
  EXPECT_EQ(spread.p[0], 3.0);
  EXPECT_EQ(spread.p[1], 1.0);
  EXPECT_EQ(spread.p[2], 2.0);
  expectIdentityDirections(spread);
}

TEST(Calprin, GeneralShearCountsFromTheToleranceTimesTheLargestDeviator) {
  // Deviator (1, -1, 0), mean 0: a shear t counts when |t| >= tolerance * 1. Counted, the
  // direction of the root near 1 is (2, t, 0) normalised, i.e. (1, t / 2, 0) to first order.
  const double tolerance = 2.2200000000000002e-12;
  const Principal at = calprin({1, -1, 0, tolerance, 0, 0}, 1, 3, 3);
  EXPECT_NEAR(at.dir(0, 1), tolerance / 2, 1e-24);
  EXPECT_NEAR(at.dir(0, 0), 1.0, 1e-15);
  const Principal below = calprin({1, -1, 0, 2.22e-12, 0, 0}, 1, 3, 3);
  EXPECT_EQ(below.p[0], 1.0);
  EXPECT_EQ(below.p[1], -1.0);
  EXPECT_EQ(below.p[2], 0.0);
  expectIdentityDirections(below);
}

TEST(Calprin, MeanIsTheSumTimesTheOneThirdConstant) {
  // 0.3 + 0.3 + 0.3 rounds to 0.8999999999999999; times the double nearest 1/3 it gives the
  // mean 0.29999999999999993 (a division by 3 would give 0.3). The shear e of the tensor
  // (0.3, 0.3, 0.3; e, e, e) counts when e > |tolerance * mean| = 6.659999999999999e-13: so
  // e = 6.66e-13 counts (it would not against tolerance * 0.3 = 6.660000000000001e-13).
  EXPECT_EQ((0.3 + 0.3 + 0.3) * 0.3333333333333333, 0.29999999999999993);
  const double e = 6.66e-13;
  const Principal counted = calprin({0.3, 0.3, 0.3, e, e, e}, 1, 3, 3);
  const double largest = std::max({counted.p[0], counted.p[1], counted.p[2]});
  EXPECT_GT(largest, 0.3 + e) << "the roots spread by about 3e around the mean";
  EXPECT_NE(counted.d[0], 1.0) << "directions other than the identity";
  const double equal = 6.659999999999999e-13;
  const Principal ignored = calprin({0.3, 0.3, 0.3, equal, equal, equal}, 1, 3, 3);
  EXPECT_EQ(ignored.p[0], 0.3);
  EXPECT_EQ(ignored.p[1], 0.3);
  EXPECT_EQ(ignored.p[2], 0.3);
  expectIdentityDirections(ignored);
}

TEST(Calprin, RepeatedPairFirstTwoRootsTakesTheUpperClamp) {
  // Deviator [[0,1,1],[1,0,1],[1,1,0]]: q = 1, x = 1 >= the clamp, cosines (-1/2, -1/2, 1) in
  // this order (the trigonometric order would be (1, -1/2, -1/2)): values -1, -1, 2.
  // l1 = l2, so k = 3. Rows of (deviator - 2 I): r1 = (-2,1,1), r2 = (1,-2,1), r3 = (1,1,-2);
  // all three cross products are (3,3,3), a tie kept by the first (r2 x r3), so the second
  // direction is r2 (it would be r1 had r3 x r1 been kept); the third is (1,1,1) x r2.
  const Principal r = calprin({0, 0, 0, 1, 1, 1}, 1, 3, 3);
  EXPECT_EQ(r.p[0], -1.0);
  EXPECT_EQ(r.p[1], -1.0);
  EXPECT_EQ(r.p[2], 2.0);
  const double r3 = 1.0 / std::sqrt(3.0);
  const double r6 = 1.0 / std::sqrt(6.0);
  expectDirection(r, 2, r3, r3, r3);
  expectDirection(r, 0, r6, -2 * r6, r6);
  expectDirection(r, 1, kRoot1_2, 0, -kRoot1_2);
}

TEST(Calprin, RepeatedPairLastTwoRootsTakesTheLowerClamp) {
  // The negated deviator: x = -1, cosines (-1, 1/2, 1/2) (the trigonometric order would be
  // (1/2, -1, 1/2)): values -2, 1, 1; l2 = l3, k = 1. Rows of (deviator + 2 I): (2,-1,-1),
  // (-1,2,-1), (-1,-1,2); all cross products (3,3,3): the first kept, second-row direction r2
  // is direction 3 (= 4 - k); direction 2 = direction 1 x direction 3.
  const Principal r = calprin({0, 0, 0, -1, -1, -1}, 1, 3, 3);
  EXPECT_EQ(r.p[0], -2.0);
  EXPECT_EQ(r.p[1], 1.0);
  EXPECT_EQ(r.p[2], 1.0);
  const double r3 = 1.0 / std::sqrt(3.0);
  const double r6 = 1.0 / std::sqrt(6.0);
  expectDirection(r, 0, r3, r3, r3);
  expectDirection(r, 2, -r6, 2 * r6, -r6);
  expectDirection(r, 1, -kRoot1_2, 0, kRoot1_2);
}

TEST(Calprin, RepeatedPairStrictlyLongerSecondCandidateGivesRowTwo) {
  // [[-2,2,2],[2,1,4],[2,4,1]] = 9 n n^T - 3 I with n = (1,2,2)/3: values -3, -3, 6, all exact
  // after scaling by 4. Rows of (scaled deviator - 1.5 I): r1 = (-2, .5, .5),
  // r2 = (.5, -1.25, 1), r3 = (.5, 1, -1.25); |r2 x r3|^2 = 2.84765625 < |r1 x r2|^2 =
  // |r3 x r1|^2 = 11.390625: the second candidate is kept (the third only ties), so the
  // second-root direction is r2 normalised.
  const Principal r = calprin({-2, 1, 1, 2, 2, 4}, 1, 3, 3);
  EXPECT_EQ(r.p[0], -3.0);
  EXPECT_EQ(r.p[1], -3.0);
  EXPECT_EQ(r.p[2], 6.0);
  expectDirection(r, 2, 1.0 / 3, 2.0 / 3, 2.0 / 3);
  const double n = std::sqrt(2.8125);
  expectDirection(r, 0, 0.5 / n, -1.25 / n, 1.0 / n);
  // Direction 2 = (1,2,2)/3 x (0.5,-1.25,1)/n = (4.5, 0, -2.25) / (3 n).
  expectDirection(r, 1, 4.5 / (3 * n), 0, -2.25 / (3 * n));
}

TEST(Calprin, DistinctRootsAndTheCandidateTieRules) {
  // Only S13 = 1 (and NSHR 2: S23 is not read, so a stray value beyond does not count):
  // roots 1, -1, 0 (k = 2, all distinct). For each root the candidates r2 x r3 and r1 x r2
  // have equal length (the same products summed in another order), and the first is kept:
  // direction 2 = (1, 0, -1) / sqrt 2 and direction 1 = (1, 0, 1) / sqrt 2 (keeping the second
  // candidate would negate both); direction 3 = direction 2 x direction 1 = (0, -1, 0).
  const Principal r = calprin({0, 0, 0, 0, 1, 1000}, 1, 3, 2);
  EXPECT_NEAR(r.p[0], 1.0, 1e-15);
  EXPECT_NEAR(r.p[1], -1.0, 1e-15);
  EXPECT_NEAR(r.p[2], 0.0, 1e-15);
  expectDirection(r, 0, kRoot1_2, 0, kRoot1_2);
  expectDirection(r, 1, kRoot1_2, 0, -kRoot1_2);
  expectDirection(r, 2, 0, -1, 0);
}

TEST(Calprin, SecondCandidateBeatsTheThirdOnATie) {
  // Only S23 = 1: for the root -1 the candidates r1 x r2 = (0, -L, L^2) and r3 x r1 =
  // (0, L^2, -L) (L = 1 up to rounding) tie and the earlier one is kept: (0, -1, 1) / sqrt 2.
  const Principal r = calprin({0, 0, 0, 0, 0, 1}, 1, 3, 3);
  EXPECT_NEAR(r.p[1], -1.0, 1e-15);
  expectDirection(r, 1, 0, -kRoot1_2, kRoot1_2);
  expectDirection(r, 0, 0, kRoot1_2, kRoot1_2);
  // Direction 3 = direction 2 x direction 1 = (-1, 0, 0).
  expectDirection(r, 2, -1, 0, 0);
}

// The principal values are fixed to the last bit by the order of their formulas: here they
// are evaluated step by step in double, in the written order (the mean is the sum times the
// double nearest 1/3; the cubic's scale and angle are divided by 3), and compared bit for bit.
TEST(Calprin, ValuesRoundAsTheFormulasAreWritten) {
  const double third = 0.3333333333333333;
  int compared = 0;
  for (int n = 0; n < 3000; ++n) {
    const double scale = std::pow(10.0, uniform(-3.0, 3.0));
    double s[6];
    for (double& c : s) {
      c = uniform(-1.0, 1.0) * scale;
    }
    // General 3D: mean, deviator, scaling, the cubic's cosine and its three roots.
    const double m = (s[0] + s[1] + s[2]) * third;
    double v[6] = {s[0] - m, s[1] - m, s[2] - m, s[3], s[4], s[5]};
    double sc = 0.0;
    for (double c : v) {
      sc = std::max(sc, std::fabs(c));
    }
    for (double& c : v) {
      c = c / sc;
    }
    const double d1 = v[0], d2 = v[1], d3 = v[2], t12 = v[3], t13 = v[4], t23 = v[5];
    const double q =
        std::sqrt(((d1 * d1 + d2 * d2 + d3 * d3) * 0.5 + t12 * t12 + t13 * t13 + t23 * t23) / 3.0);
    const double x =
        ((d1 * d2 * d3 - d3 * (t12 * t12) - d2 * (t13 * t13) - d1 * (t23 * t23)) * 0.5 +
         t12 * t13 * t23) /
        (q * q * q);
    ASSERT_LT(std::fabs(x), 0.9999999999999998);
    const double phi = std::acos(x) / 3.0;
    const double c1 = std::cos(phi);
    const double c2 = std::cos(phi + 2.094395102393195);
    const double c[3] = {c1, c2, -(c1 + c2)};
    const Principal general = calprin({s[0], s[1], s[2], s[3], s[4], s[5]}, 1, 3, 3);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(bitsOf(general.p[i]), bitsOf(2.0 * q * c[i] * sc + m)) << n << " root " << i;
    }
    // In-plane: centre, half difference, scaled radius.
    const double centre = 0.5 * (s[0] + s[1]);
    const double half = 0.5 * (s[0] - s[1]);
    const double planeScale = std::max(std::fabs(half), std::fabs(s[3]));
    const double a = half / planeScale;
    const double u = s[3] / planeScale;
    const double radius = std::sqrt(a * a + u * u);
    const Principal plane = calprin({s[0], s[1], s[3]}, 1, 2, 1);
    EXPECT_EQ(bitsOf(plane.p[0]), bitsOf(centre - planeScale * radius)) << n;
    EXPECT_EQ(bitsOf(plane.p[1]), bitsOf(centre + planeScale * radius)) << n;
    ++compared;
  }
  EXPECT_EQ(compared, 3000);
}

// For a simple root the kept cross product of the rows of (deviator - l I) is a column of the
// adjugate, mu v v_j with mu > 0 for the roots solved by cross products (the extreme roots) and
// j the first of 1, 3, 2 with the largest |v_j|: the direction's largest component (in that
// order of preference) is positive.
TEST(Calprin, CrossProductDirectionsHaveTheirLargestComponentPositive) {
  int kept[3] = {0, 0, 0};
  for (int n = 0; n < 4000; ++n) {
    std::vector<double> s(6);
    for (double& c : s) {
      c = uniform(-1.0, 1.0);
    }
    const Principal r = calprin(s, 1, 3, 3);
    // Directions 1 and 2 are the cross-product directions of distinct roots (k = 2).
    for (int i : {0, 1}) {
      const double v[3] = {r.dir(i, 0), r.dir(i, 1), r.dir(i, 2)};
      double magnitudes[3] = {std::fabs(v[0]), std::fabs(v[1]), std::fabs(v[2])};
      const int largest =
          static_cast<int>(std::max_element(magnitudes, magnitudes + 3) - magnitudes);
      std::sort(magnitudes, magnitudes + 3);
      if (magnitudes[2] - magnitudes[1] < 1e-9) {
        continue; // a near tie: rounding decides which candidate is longest
      }
      EXPECT_GT(v[largest], 0.0) << "case " << n << " direction " << i + 1;
      ++kept[largest];
    }
  }
  for (int j = 0; j < 3; ++j) {
    EXPECT_GT(kept[j], 100) << "component " << j << " largest";
  }
}

// ---- CALPRINQ ----

struct Result {
  double pq[7];
  std::vector<double> s;
  int ndi;
};

Result calprinq(std::vector<double> s, int icode, int layout, int ndi, int nshr) {
  Result r;
  std::fill(r.pq, r.pq + 7, -99.0);
  s.resize(6, 0.0);
  CALPRINQ(s.data(), r.pq, &icode, &layout, &ndi, &nshr);
  r.s = s;
  r.ndi = ndi;
  return r;
}

TEST(Calprinq, NoShearSortsTheDirectComponentsAndGivesIdentity) {
  const Result full = calprinq({3, 2, 1, 0, 0, 0}, 1, 7, 3, 3);
  EXPECT_EQ(full.pq[0], 3.0);
  EXPECT_EQ(full.pq[1], 2.0);
  EXPECT_EQ(full.pq[2], 1.0);
  expectQuat({full.pq[3], full.pq[4], full.pq[5], full.pq[6]}, 0, 0, 0, 1, 0);
  const Result none = calprinq({5, 4, 6}, 1, 7, 3, 0);
  EXPECT_EQ(none.pq[0], 6.0);
  EXPECT_EQ(none.pq[1], 5.0);
  EXPECT_EQ(none.pq[2], 4.0);
  // The sort moves the directions too: the frame is (e3, e1, e2), a turn by 120 degrees about
  // (1,1,1) (its quaternion, from the trace branch, is (-1/2, -1/2, -1/2, 1/2)).
  expectQuat({none.pq[3], none.pq[4], none.pq[5], none.pq[6]}, -0.5, -0.5, -0.5, 0.5, 0);
  const Result plane = calprinq({1, 4, 0}, 1, 11, 2, 1);
  EXPECT_EQ(plane.pq[0], 4.0);
  EXPECT_EQ(plane.pq[1], 1.0);
  EXPECT_EQ(plane.pq[2], 0.0);
  // The swap gives the left-handed (e2, e1, e3), repaired to (e2, -e1, e3): a quarter turn.
  EXPECT_NEAR(plane.pq[3], kRoot1_2, 1e-15);
  EXPECT_NEAR(plane.pq[4], kRoot1_2, 1e-15);
  EXPECT_EQ(plane.pq[5], 0.0);
  EXPECT_EQ(plane.pq[6], 0.0);
  const Result single = calprinq({-2, 0, 0, 0}, 1, 8, 1, 0);
  EXPECT_EQ(single.pq[0], -2.0) << "NDI 1: nothing to sort";
  expectQuat({single.pq[3], single.pq[4], single.pq[5], single.pq[6]}, 0, 0, 0, 1, 0);
}

TEST(Calprinq, PlaneTensorWithEqualDirectsTurnsByFortyFiveDegrees) {
  const double s11 = 2.5;
  const double half = std::sin(M_PI / 8); // sin(22.5 degrees)
  const double cosHalf = std::cos(M_PI / 8);
  for (double t : {0.75, -0.75}) {
    // 2D surface layout: the 2D form (sin, cos of the half angle).
    const Result r2 = calprinq({s11, s11, t}, 1, 11, 2, 1);
    EXPECT_NEAR(r2.pq[0], s11 + std::fabs(t), 1e-15);
    EXPECT_NEAR(r2.pq[1], s11 - std::fabs(t), 1e-15);
    EXPECT_EQ(r2.pq[2], 0.0);
    EXPECT_NEAR(r2.pq[3], t > 0 ? half : -half, 1e-15);
    EXPECT_NEAR(r2.pq[4], cosHalf, 1e-15);
    EXPECT_EQ(r2.pq[5], 0.0);
    EXPECT_EQ(r2.pq[6], 0.0);
    // 3D surface layout: the same turn as a 3D quaternion about Z.
    const Result r3 = calprinq({s11, s11, t}, 1, 9, 2, 1);
    EXPECT_NEAR(r3.pq[0], s11 + std::fabs(t), 1e-15);
    EXPECT_NEAR(r3.pq[1], s11 - std::fabs(t), 1e-15);
    expectQuat({r3.pq[3], r3.pq[4], r3.pq[5], r3.pq[6]}, 0, 0, t > 0 ? half : -half, cosHalf);
  }
}

TEST(Calprinq, HydrostaticTensorGivesIdentity) {
  const Result r = calprinq({7, 7, 7, 0, 0, 0}, 1, 7, 3, 3);
  EXPECT_EQ(r.pq[0], 7.0);
  EXPECT_EQ(r.pq[1], 7.0);
  EXPECT_EQ(r.pq[2], 7.0);
  expectQuat({r.pq[3], r.pq[4], r.pq[5], r.pq[6]}, 0, 0, 0, 1, 0);
}

TEST(Calprinq, TripleRootWithTinyShearGivesIdentity) {
  const Result r = calprinq({1, 1, 1, 1e-12, 2e-12, 1e-12}, 1, 7, 3, 3);
  EXPECT_EQ(r.pq[0], 1.0);
  EXPECT_EQ(r.pq[1], 1.0);
  EXPECT_EQ(r.pq[2], 1.0);
  expectQuat({r.pq[3], r.pq[4], r.pq[5], r.pq[6]}, 0, 0, 0, 1, 0);
}

// The plane tensor [[1, t], [t, 1]] with the stored shear 2: values 3, -1 when the shear is
// used as given and 2, 0 when it is halved.
bool halvesShear(int icode) {
  const Result r = calprinq({1, 1, 2}, icode, 11, 2, 1);
  if (r.pq[0] == 2.0 && r.pq[1] == 0.0) {
    return true;
  }
  EXPECT_EQ(r.pq[0], 3.0) << icode;
  EXPECT_EQ(r.pq[1], -1.0) << icode;
  return false;
}

TEST(Calprinq, Icode21HalvesShears) {
  EXPECT_TRUE(halvesShear(21));
}

TEST(Calprinq, Icode21000HalvesShearsToo) {
  EXPECT_TRUE(halvesShear(21000));
}

TEST(Calprinq, EngineeringShearCodeRanges) {
  for (int icode : {21, 22, 23, 24, 25, 88, 89, 90, 91}) {
    EXPECT_TRUE(halvesShear(icode)) << icode;
    EXPECT_TRUE(halvesShear(icode * 1000)) << icode * 1000;
    EXPECT_TRUE(halvesShear(icode * 1000 + 999)) << icode * 1000 + 999;
  }
  for (int icode : {1, 0, -21, 20, 26, 87, 92, 1000, 1001, 20999, 26000, 87999, 92000, -21000}) {
    EXPECT_FALSE(halvesShear(icode)) << icode;
  }
}

TEST(Calprinq, ShearHalvingInThreeDimensions) {
  // [[1,1,0],[1,1,0],[0,0,1]] from the stored shear 2 halved: values 2, 1, 0.
  const Result r = calprinq({1, 1, 1, 2, 0, 0}, 21, 7, 3, 3);
  EXPECT_NEAR(r.pq[0], 2.0, 1e-15);
  EXPECT_NEAR(r.pq[1], 1.0, 1e-15);
  EXPECT_NEAR(r.pq[2], 0.0, 1e-15);
}

TEST(Calprinq, SurfaceLayoutWithOneDirectMakesRoomForS22) {
  // Layout 9, NDI 1, NSHR 1: S(2) moves to S(3), S(2) = 0, NDI = 2, in the caller's arrays.
  const Result r = calprinq({4, 3, 77}, 1, 9, 1, 1);
  EXPECT_EQ(r.s[0], 4.0);
  EXPECT_EQ(r.s[1], 0.0);
  EXPECT_EQ(r.s[2], 3.0);
  EXPECT_EQ(r.ndi, 2);
  const double root = std::sqrt(13.0);
  EXPECT_NEAR(r.pq[0], 2 + root, 1e-14) << "sorted now that NDI is 2";
  EXPECT_NEAR(r.pq[1], 2 - root, 1e-14);
  // Any other layout leaves S and NDI alone and, with NDI 1, sorts nothing.
  const Result other = calprinq({4, 3, 77}, 1, 10, 1, 1);
  EXPECT_EQ(other.s[1], 3.0);
  EXPECT_EQ(other.s[2], 77.0);
  EXPECT_EQ(other.ndi, 1);
  EXPECT_NEAR(other.pq[0], 2 - root, 1e-14);
  EXPECT_NEAR(other.pq[1], 2 + root, 1e-14);
  // Layout 9 with NDI 2 is left alone too.
  const Result two = calprinq({4, 0, 3, 55}, 1, 9, 2, 1);
  EXPECT_EQ(two.s[2], 3.0);
  EXPECT_EQ(two.s[3], 55.0);
  EXPECT_EQ(two.ndi, 2);
}

TEST(Calprinq, RepairsALeftHandedFrameByNegatingTheSecondDirection) {
  // CALPRIN gives (1,0,1)/r2, (1,0,-1)/r2, (0,-1,0) for S13 = 1: a left-handed frame. Layout
  // 8 sorts only the first pair (already in order), so the frame is repaired to (1,0,1)/r2,
  // (-1,0,1)/r2, (0,-1,0).
  const Principal raw = calprin({0, 0, 0, 0, 1, 0}, 1, 3, 3);
  double handedness[3];
  const double first[3] = {raw.dir(0, 0), raw.dir(0, 1), raw.dir(0, 2)};
  const double second[3] = {raw.dir(1, 0), raw.dir(1, 1), raw.dir(1, 2)};
  CROSSV(first, second, handedness);
  EXPECT_LT(handedness[0] * raw.dir(2, 0) + handedness[1] * raw.dir(2, 1) +
                handedness[2] * raw.dir(2, 2),
            -0.99);
  const Result r = calprinq({0, 0, 0, 0, 1, 0}, 1, 8, 3, 3);
  const RealMatrix c = referenceTable3d(r.pq + 3);
  const double expected[3][3] = {{kRoot1_2, 0, kRoot1_2}, {-kRoot1_2, 0, kRoot1_2}, {0, -1, 0}};
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      EXPECT_NEAR(static_cast<double>(c.a[i][j]), expected[i][j], 1e-15) << i << "," << j;
    }
  }
}

TEST(Calprinq, NaNShearsFollowTheLeftToRightMaximum) {
  // The largest shear magnitude is taken left to right, a later value replacing the kept one
  // only when greater. A NaN S13 after S12 = 1 is passed over: the shear counts, the NaN runs
  // through the cubic into values and directions, and CALQUAT reports its NaN diagonal.
  StdoutCapture capture;
  const Result later = calprinq({1, 2, 3, 1, kNaN, 0}, 1, 7, 3, 3);
  const std::string printed = capture.finish();
  EXPECT_EQ(printed, " SYSTEM ERROR 3 IN CALQUAT\n");
  for (double value : later.pq) {
    EXPECT_TRUE(std::isnan(value));
  }
  // A NaN first shear is kept as the maximum, so no shear counts: the direct values come back
  // sorted, with the frame (e3, e2, e1) repaired to (e3, -e2, e1), a half turn about (1,0,1).
  const Result first = calprinq({1, 2, 3, kNaN, 1, 0}, 1, 7, 3, 3);
  EXPECT_EQ(first.pq[0], 3.0);
  EXPECT_EQ(first.pq[1], 2.0);
  EXPECT_EQ(first.pq[2], 1.0);
  expectQuat({first.pq[3], first.pq[4], first.pq[5], first.pq[6]}, kRoot1_2, 0, kRoot1_2, 0);
}

TEST(Calprinq, TwoDimensionalLayoutsRearrangeTheQuaternion) {
  // The same full tensor under layout 8 (3D, first pair sorted) and any layout outside 7..9
  // (2D, first pair sorted): PQ(4), PQ(5) of the 2D form are PQ(6), PQ(7) of the 3D one.
  const std::vector<double> s = {1.0, -2.0, 0.5, 0.3, -0.7, 0.9};
  const Result three = calprinq(s, 1, 8, 3, 3);
  EXPECT_NE(three.pq[3], 0.0);
  for (int layout : {10, 11, 6, 12, 0, -1, 1000}) {
    const Result two = calprinq(s, 1, layout, 3, 3);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(bitsOf(two.pq[i]), bitsOf(three.pq[i])) << layout;
    }
    EXPECT_EQ(bitsOf(two.pq[3]), bitsOf(three.pq[5])) << layout;
    EXPECT_EQ(bitsOf(two.pq[4]), bitsOf(three.pq[6])) << layout;
    EXPECT_EQ(bitsOf(two.pq[5]), bitsOf(0.0)) << layout;
    EXPECT_EQ(bitsOf(two.pq[6]), bitsOf(0.0)) << layout;
  }
}

// ---- CALPRINQ properties on pseudo-random tensors ----

struct Shape {
  int ndi, nshr;
};

// Tolerances, relative to the largest eigenvalue magnitude of the tensor: principal values
// within 1e-13 of the long-double Jacobi values, directions with |S v - lambda v| <= 1e-12, and
// the frame's determinant within 1e-12 of +1. The routines reach about 1e-14 on these samples;
// the margin covers samples whose roots lie closer together (the directions' error grows with
// the spread over the smallest root gap).
TEST(CalprinqProperties, PrincipalValuesAndRightHandedEigenFramesForEveryLayout) {
  const double valueTolerance = 1e-13;
  const double vectorTolerance = 1e-12;
  const Shape shapes[] = {{3, 3}, {2, 3}, {3, 2}, {3, 1}, {2, 1}, {1, 1}, {3, 0}, {2, 0}};
  const int layouts[] = {7, 8, 9, 10, 11, 0, 1, 6, 12, 13, -7, 100};
  double worstValue = 0;
  double worstVector = 0;
  long long checkedFrames = 0;
  int partialSortMattered = 0;
  StdoutCapture capture;
  std::vector<std::string> failures;
  auto fail = [&failures](const std::string& what) {
    if (failures.size() < 20) {
      failures.push_back(what);
    }
  };
  for (int n = 0; n < 1500; ++n) {
    const double scale = std::pow(10.0, uniform(-3.0, 3.0));
    const double mean = uniform(-2.0, 2.0);
    std::vector<double> base(6);
    for (double& c : base) {
      c = uniform(-1.0, 1.0) * scale;
    }
    for (const Shape& shape : shapes) {
      std::vector<double> s(base.begin(), base.begin() + shape.ndi + shape.nshr);
      for (int i = 0; i < shape.ndi; ++i) {
        s[i] += mean * scale;
      }
      for (int icode : {1, 21}) {
        const bool halve = icode == 21;
        const RealMatrix m = tensorMatrix(s.data(), shape.ndi, shape.nshr, halve);
        const auto eig = jacobiEigenvalues(m);
        const long double size = std::max(std::fabs(eig[0]), std::fabs(eig[2]));
        // The unsorted values, for the first-pair-only layouts.
        s.resize(6, 0.0);
        Principal raw;
        int ishear = halve ? 2 : 1;
        const int ndiRaw = shape.ndi;
        std::vector<double> sRaw = s;
        CALPRIN(sRaw.data(), raw.p, raw.d, &ishear, &ndiRaw, &shape.nshr);
        s.resize(shape.ndi + shape.nshr);
        for (int layout : layouts) {
          const Result r = calprinq(s, icode, layout, shape.ndi, shape.nshr);
          const std::string where = "case " + std::to_string(n) + " ndi " +
                                    std::to_string(shape.ndi) + " nshr " +
                                    std::to_string(shape.nshr) + " icode " + std::to_string(icode) +
                                    " layout " + std::to_string(layout);
          // Principal values: the Jacobi values, in the order of the layout's sort.
          std::array<double, 3> got = {r.pq[0], r.pq[1], r.pq[2]};
          std::array<double, 3> sorted = got;
          std::sort(sorted.begin(), sorted.end(), [](double a, double b) { return a > b; });
          for (int i = 0; i < 3; ++i) {
            const double error = static_cast<double>(std::fabs(sorted[i] - eig[i]) / size);
            worstValue = std::max(worstValue, error);
            if (!(error <= valueTolerance)) {
              fail(where + ": value " + std::to_string(i));
            }
          }
          const bool sortable = r.ndi > 1;
          if (layout == 7 && sortable) {
            if (!(got[0] >= got[1] && got[1] >= got[2])) {
              fail(where + ": not descending");
            }
          } else {
            // Only the first pair is ordered (or nothing when NDI <= 1).
            double e0 = raw.p[0];
            double e1 = raw.p[1];
            if (sortable && !(e0 >= e1)) {
              std::swap(e0, e1);
            }
            if (bitsOf(got[0]) != bitsOf(e0) || bitsOf(got[1]) != bitsOf(e1) ||
                bitsOf(got[2]) != bitsOf(raw.p[2])) {
              fail(where + ": not the first-pair order");
            }
            if (sortable && (got[2] > got[1] || got[2] > got[0])) {
              ++partialSortMattered;
            }
          }
          // Directions: the rows of the quaternion's table, when the quaternion holds the whole
          // frame (3D layouts; 2D layouts for in-plane tensors).
          const bool threeD = layout >= 7 && layout <= 9;
          if (!threeD && shape.nshr > 1) {
            continue;
          }
          long double q[4];
          if (threeD) {
            q[0] = r.pq[3], q[1] = r.pq[4], q[2] = r.pq[5], q[3] = r.pq[6];
          } else {
            if (r.pq[5] != 0.0 || r.pq[6] != 0.0) {
              fail(where + ": 2D form not cleared");
            }
            q[0] = 0, q[1] = 0, q[2] = r.pq[3], q[3] = r.pq[4];
          }
          const RealMatrix table = referenceTable3d(q);
          const auto& c = table.a;
          const long double det = c[0][0] * (c[1][1] * c[2][2] - c[1][2] * c[2][1]) -
                                  c[0][1] * (c[1][0] * c[2][2] - c[1][2] * c[2][0]) +
                                  c[0][2] * (c[1][0] * c[2][1] - c[1][1] * c[2][0]);
          if (!(std::fabs(det - 1) <= 1e-12L)) {
            fail(where + ": not a right-handed unit frame");
          }
          for (int i = 0; i < 3; ++i) {
            long double residual2 = 0;
            for (int row = 0; row < 3; ++row) {
              long double sv = 0;
              for (int col = 0; col < 3; ++col) {
                sv += m.a[row][col] * c[i][col];
              }
              const long double diff = sv - got[i] * c[i][row];
              residual2 += diff * diff;
            }
            const double error = static_cast<double>(std::sqrt(residual2) / size);
            worstVector = std::max(worstVector, error);
            if (!(error <= vectorTolerance)) {
              fail(where + ": direction " + std::to_string(i));
            }
          }
          ++checkedFrames;
        }
      }
    }
  }
  const std::string printed = capture.finish();
  EXPECT_EQ(printed, "") << "no diagnostic for ordinary tensors";
  for (const std::string& failure : failures) {
    ADD_FAILURE() << failure;
  }
  EXPECT_LE(worstValue, valueTolerance);
  EXPECT_LE(worstVector, vectorTolerance);
  EXPECT_GT(checkedFrames, 100000);
  EXPECT_GT(partialSortMattered, 1000) << "cases where a full sort would have differed";
}

} // namespace
