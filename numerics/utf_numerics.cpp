// Numerical routines over caller-held arrays. Every index below is 0-based; the comments write the
// 1-based names (A(i,j), S(NDI+1), D(1,2)) that the array layouts are described in.
//
// The arithmetic is written in the order of the formulas it implements, each square as x * x,
// and the build forbids fused multiply-add, so each result is rounded exactly as written.

#include "utf_numerics.h"

#include <cmath>
#include <cstdint>
#include <cstdio>

namespace {

// The routines' constants: one block of read-only module data.
struct NumericConstants {
  double quarter;
  double half;
  double one;
  double two;
  double four;
  double minusOne;
  double tolerance;   // the double one unit in the last place above the double nearest 2.22e-12
  double third;       // the double nearest 1/3 (the mean is the sum times this)
  double threeReal;   // the divisor 3 of the cubic's scale and angle
  double nearOne;     // two units in the last place below 1
  double twoThirdsPi; // one unit in the last place below the double nearest 2 pi / 3
  double xAxis[3];    // fallback directions for a degenerate cross product
  double yAxis[3];
  int three;      // the order of the 3 x 3 arrays
  int scalarLast; // CALQUAT's LSCAL: vector part first
};

constexpr NumericConstants K = {0.25,
                                0.5,
                                1.0,
                                2.0,
                                4.0,
                                -1.0,
                                2.2200000000000002e-12,
                                0.3333333333333333,
                                3.0,
                                0.9999999999999998,
                                2.094395102393195,
                                {1.0, 0.0, 0.0},
                                {0.0, 1.0, 0.0},
                                3,
                                0};

constexpr std::uint64_t bits(double value) {
  return __builtin_bit_cast(std::uint64_t, value);
}
static_assert(bits(K.quarter) == 0x3fd0000000000000u, "0.25");
static_assert(bits(K.half) == 0x3fe0000000000000u, "0.5");
static_assert(bits(K.one) == 0x3ff0000000000000u, "1.0");
static_assert(bits(K.two) == 0x4000000000000000u, "2.0");
static_assert(bits(K.four) == 0x4010000000000000u, "4.0");
static_assert(bits(K.minusOne) == 0xbff0000000000000u, "-1.0");
static_assert(bits(K.tolerance) == 0x3d8386fedebfc3d1u, "tolerance");
static_assert(bits(K.tolerance) == bits(2.22e-12) + 1, "tolerance: one ulp above 2.22e-12");
static_assert(bits(K.third) == 0x3fd5555555555555u, "one third");
static_assert(bits(K.nearOne) == 0x3feffffffffffffeu, "two ulps below 1");
static_assert(bits(K.twoThirdsPi) == 0x4000c152382d7364u, "2 pi / 3, one ulp low");

// One diagnostic record on standard output, as a list-directed write makes it: a leading blank,
// the text, a newline. The computation carries on afterwards.
void report(const char* record) {
  std::fputs(record, stdout);
  std::fflush(stdout);
}

// The larger of two values; the first is kept unless the second is greater (so a NaN second
// value is passed over).
double larger(double kept, double candidate) {
  return candidate > kept ? candidate : kept;
}

// Shears are used as given for ISHEAR 1 and halved otherwise (engineering shear).
double shear(double stored, int ishear) {
  return ishear == 1 ? stored : stored * K.half;
}

double squaredLength(const double v[3]) {
  return v[0] * v[0] + v[1] * v[1] + v[2] * v[2];
}

// v divided by the square root of its squared length.
void normalize(const double v[3], double out[3]) {
  const double length = std::sqrt(squaredLength(v));
  out[0] = v[0] / length;
  out[1] = v[1] / length;
  out[2] = v[2] / length;
}

void setVector(double out[3], double x, double y, double z) {
  out[0] = x;
  out[1] = y;
  out[2] = z;
}

// Row i (0-based) of a column-major 3 x 3 array.
void setRow(double* d, int i, const double v[3]) {
  d[i] = v[0];
  d[i + 3] = v[1];
  d[i + 6] = v[2];
}

void setIdentity(double* d) {
  for (int i = 0; i < 9; ++i) {
    d[i] = 0.0;
  }
  d[0] = K.one;
  d[4] = K.one;
  d[8] = K.one;
}

// The scaled deviator of a 3D tensor: its three diagonal terms and three shears.
struct Deviator {
  double d1, d2, d3, t12, t13, t23;
};

// Of the cross products r2 x r3, r1 x r2, r3 x r1 of the rows of (deviator - l I), the one with
// the largest squared length; a later candidate replaces the kept one only when strictly longer.
// Both rows of the kept product are perpendicular to it: `row` keeps one of them (r2 for the
// first two candidates, r1 for the third), a direction of the other roots.
struct RowCross {
  double product[3];
  double length2;
  double row[3];
};

RowCross largestRowCross(const Deviator& s, double l) {
  const double r1[3] = {s.d1 - l, s.t12, s.t13};
  const double r2[3] = {s.t12, s.d2 - l, s.t23};
  const double r3[3] = {s.t13, s.t23, s.d3 - l};
  const double* const candidates[3][3] = {{r2, r3, r2}, {r1, r2, r2}, {r3, r1, r1}};
  RowCross kept{};
  for (int c = 0; c < 3; ++c) {
    double product[3];
    CROSSV(candidates[c][0], candidates[c][1], product);
    const double length2 = squaredLength(product);
    if (c == 0 || length2 > kept.length2) {
      setVector(kept.product, product[0], product[1], product[2]);
      kept.length2 = length2;
      const double* row = candidates[c][2];
      setVector(kept.row, row[0], row[1], row[2]);
    }
  }
  return kept;
}

// The direction of root l: the kept cross product normalised, or `fallback` when it is zero.
void rootDirection(const RowCross& kept, const double fallback[3], double out[3]) {
  if (kept.length2 == 0.0) {
    setVector(out, fallback[0], fallback[1], fallback[2]);
  } else {
    normalize(kept.product, out);
  }
}

// The three roots of the scaled deviator's characteristic cubic, l = 2 q cos(angle), in the
// order the trigonometric solution gives them (unsorted). Cosines within two units of +-1 are
// taken as a repeated pair.
void deviatorRoots(const Deviator& s, double l[3]) {
  const double q = std::sqrt(((s.d1 * s.d1 + s.d2 * s.d2 + s.d3 * s.d3) * K.half + s.t12 * s.t12 +
                              s.t13 * s.t13 + s.t23 * s.t23) /
                             K.threeReal);
  const double x = ((s.d1 * s.d2 * s.d3 - s.d3 * (s.t12 * s.t12) - s.d2 * (s.t13 * s.t13) -
                     s.d1 * (s.t23 * s.t23)) *
                        K.half +
                    s.t12 * s.t13 * s.t23) /
                   (q * q * q);
  double c1;
  double c2;
  double c3;
  if (x >= K.nearOne) {
    c1 = -K.half;
    c2 = -K.half;
    c3 = K.one;
  } else if (x > -K.nearOne) {
    const double phi = std::acos(x) / K.threeReal;
    c1 = std::cos(phi);
    c2 = std::cos(phi + K.twoThirdsPi);
    c3 = -(c1 + c2);
  } else {
    c1 = K.minusOne;
    c2 = K.half;
    c3 = K.half;
  }
  l[0] = K.two * q * c1;
  l[1] = K.two * q * c2;
  l[2] = K.two * q * c3;
}

// Orthonormal directions of the roots l of the scaled deviator, as the rows of d. A simple root
// k is solved first; the second direction is that of another root (or, for a repeated pair, any
// vector of the pair's plane: a row of (deviator - l_k I)); the third is their cross product.
void deviatorDirections(const Deviator& s, const double l[3], double* d) {
  const int k = l[0] == l[1] ? 3 : (l[1] == l[2] ? 1 : 2);
  const RowCross kept = largestRowCross(s, l[k - 1]);
  double first[3];
  rootDirection(kept, K.xAxis, first);

  int other;
  double second[3];
  if (k == 2 && l[0] != l[2]) {
    other = 1;
    rootDirection(largestRowCross(s, l[0]), K.yAxis, second);
  } else {
    // A repeated pair (k = 2 with l1 = l3 included).
    other = k == 2 ? 1 : 4 - k;
    if (kept.length2 == 0.0) {
      setVector(second, K.yAxis[0], K.yAxis[1], K.yAxis[2]);
    } else {
      normalize(kept.row, second);
    }
  }
  const int remaining = k == 2 ? 3 : 2;
  double third[3];
  CROSSV(first, second, third);
  setRow(d, k - 1, first);
  setRow(d, other - 1, second);
  setRow(d, remaining - 1, third);
}

// NSHR = 0: the direct components, identity directions.
void principalNoShear(const double* s, double* p, double* d, int ndi) {
  setIdentity(d);
  for (int i = 0; i < ndi; ++i) {
    p[i] = s[i];
  }
}

// NSHR = 1: the in-plane pair in closed form; direction 1 belongs to the smaller value.
void principalInPlane(const double* s, double* p, double* d, int ishear, int ndi) {
  double c = 0.0;
  double r = 0.0;
  if (ndi == 1) {
    c = K.half * s[0];
    r = c;
  } else if (ndi >= 2) {
    c = K.half * (s[0] + s[1]);
    r = K.half * (s[0] - s[1]);
  }
  const double t = shear(s[ndi], ishear);
  const double sc = larger(std::fabs(r), std::fabs(t));
  if (sc > std::fabs(K.tolerance * c) && std::fabs(t) >= K.tolerance * std::fabs(r)) {
    const double a = r / sc;
    const double b = -a;
    const double u = t / sc;
    const double root = std::sqrt(a * a + u * u);
    p[0] = c - sc * root;
    p[1] = c + sc * root;
    // Of the two equivalent forms of the eigenvector, the one that does not cancel.
    if (std::fabs(a + root) >= std::fabs(b + root)) {
      const double n = std::sqrt((a + root) * (a + root) + u * u);
      d[0] = u / n;
      d[3] = -(a + root) / n;
    } else {
      const double n = std::sqrt((b + root) * (b + root) + u * u);
      d[0] = (b + root) / n;
      d[3] = -u / n;
    }
    d[4] = d[0];
    d[1] = -d[3];
  } else {
    // The first two stored values, whatever they hold.
    p[0] = s[0];
    p[1] = s[1];
    d[0] = K.one;
    d[4] = K.one;
  }
  p[2] = ndi == 3 ? s[2] : 0.0;
  d[8] = K.one;
}

// NSHR >= 2: the general 3D case, on the deviator scaled by its largest magnitude.
void principalGeneral(const double* s, double* p, double* d, int ishear, int ndi, int nshr) {
  const double s11 = ndi >= 1 ? s[0] : 0.0;
  const double s22 = ndi >= 2 ? s[1] : 0.0;
  const double s33 = ndi >= 3 ? s[2] : 0.0;
  const double m = (s11 + s22 + s33) * K.third;
  Deviator v{s11 - m,
             s22 - m,
             s33 - m,
             shear(s[ndi], ishear),
             shear(s[ndi + 1], ishear),
             nshr > 2 ? shear(s[ndi + 2], ishear) : 0.0};
  const double direct = larger(larger(std::fabs(v.d1), std::fabs(v.d2)), std::fabs(v.d3));
  const double shears = larger(larger(std::fabs(v.t12), std::fabs(v.t13)), std::fabs(v.t23));
  const double sc = larger(direct, shears);
  if (!(sc > std::fabs(K.tolerance * m) && shears >= K.tolerance * direct)) {
    principalNoShear(s, p, d, ndi);
    return;
  }
  v = Deviator{v.d1 / sc, v.d2 / sc, v.d3 / sc, v.t12 / sc, v.t13 / sc, v.t23 / sc};
  double l[3];
  deviatorRoots(v, l);
  for (int i = 0; i < 3; ++i) {
    p[i] = l[i] * sc + m;
  }
  deviatorDirections(v, l, d);
}

// Swaps values i and j, and their direction triples, unless p[i] >= p[j] (NaN swaps).
void orderPair(double* p, double* v, int i, int j) {
  if (p[i] >= p[j]) {
    return;
  }
  const double value = p[i];
  p[i] = p[j];
  p[j] = value;
  double scratch[3];
  COPYV(v + 3 * i, scratch, &K.three);
  COPYV(v + 3 * j, v + 3 * i, &K.three);
  COPYV(scratch, v + 3 * j, &K.three);
}

// The shear code: ICODE itself, or ICODE / 1000 when ICODE > 1000; codes 21..25 and 88..91
// store engineering shears.
int shearMode(int icode) {
  const int c = icode > 1000 ? icode / 1000 : icode;
  return (c >= 21 && c <= 25) || (c >= 88 && c <= 91) ? 2 : 1;
}

} // namespace

extern "C" {

void CROSSV(const double* a, const double* b, double* c) {
  c[0] = a[1] * b[2] - b[1] * a[2];
  c[1] = a[2] * b[0] - a[0] * b[2];
  c[2] = a[0] * b[1] - a[1] * b[0];
}

void CALQUAT(double* q, const double* a, const int* lscal) {
  const double t = a[0] + a[4] + a[8];
  const double largest = larger(larger(larger(a[0], a[4]), a[8]), t);
  double w;
  double e[3];
  if (largest == t) {
    if (!(t > K.minusOne)) {
      report(" SYSTEM ERROR 1 IN CALQUAT\n");
    }
    w = K.half * std::sqrt(t + K.one);
    const double d = K.four * w;
    e[0] = (a[5] - a[7]) / d;
    e[1] = (a[6] - a[2]) / d;
    e[2] = (a[1] - a[3]) / d;
  } else {
    // Ties between diagonal elements go to the later one.
    const int k = largest == a[8] ? 3 : (largest == a[4] ? 2 : 1);
    const double s = (K.one - t) * K.quarter + a[4 * (k - 1)] * K.half;
    if (!(s >= 0.0)) {
      report(" SYSTEM ERROR 3 IN CALQUAT\n");
    }
    e[k - 1] = std::sqrt(s);
    const double d = K.four * e[k - 1];
    if (k == 1) {
      w = (a[5] - a[7]) / d;
      e[1] = (a[1] + a[3]) / d;
      e[2] = (a[2] + a[6]) / d;
    } else if (k == 2) {
      w = (a[6] - a[2]) / d;
      e[2] = (a[5] + a[7]) / d;
      e[0] = (a[3] + a[1]) / d;
    } else {
      w = (a[1] - a[3]) / d;
      e[0] = (a[6] + a[2]) / d;
      e[1] = (a[7] + a[5]) / d;
    }
  }
  if ((*lscal & 1) != 0) {
    q[0] = w;
    q[1] = e[0];
    q[2] = e[1];
    q[3] = e[2];
  } else {
    q[0] = e[0];
    q[1] = e[1];
    q[2] = e[2];
    q[3] = w;
  }
}

void TRANSM(const double* a, double* b, const int* m, const int* n) {
  if (*m < 1 || *n < 1) {
    return;
  }
  for (int j = 0; j < *n; ++j) {
    for (int i = 0; i < *m; ++i) {
      b[j + *n * i] = a[i + *m * j];
    }
  }
}

void COPYV(const double* a, double* b, const int* n) {
  for (int i = 0; i < *n; ++i) {
    b[i] = a[i];
  }
}

void SORTPRIN(double* p, double* v, const int* layout) {
  orderPair(p, v, 0, 1);
  if (*layout == 7) {
    orderPair(p, v, 0, 2);
    orderPair(p, v, 1, 2);
  }
}

void CALPRIN(const double* s, double* p, double* d, const int* ishear, const int* ndi,
             const int* nshr) {
  for (int i = 0; i < 9; ++i) {
    d[i] = 0.0;
  }
  p[0] = 0.0;
  p[1] = 0.0;
  p[2] = 0.0;
  if (*nshr == 0) {
    principalNoShear(s, p, d, *ndi);
  } else if (*nshr == 1) {
    principalInPlane(s, p, d, *ishear, *ndi);
  } else {
    principalGeneral(s, p, d, *ishear, *ndi, *nshr);
  }
}

void CALPRINQ(double* s, double* pq, const int* icode, const int* layout, int* ndi,
              const int* nshr) {
  // A 3D surface tensor given with one direct component: make room for S22 = 0.
  if (*layout == 9 && *ndi == 1 && *nshr == 1) {
    s[2] = s[1];
    s[1] = 0.0;
    *ndi = 2;
  }
  const int ishear = shearMode(*icode);
  double d[9];
  double v[9];
  CALPRIN(s, pq, d, &ishear, ndi, nshr);
  TRANSM(d, v, &K.three, &K.three);
  if (*ndi > 1) {
    SORTPRIN(pq, v, layout);
  }
  // A right-handed frame: flip the second direction when (first x second) . third is negative
  // (or NaN).
  double normal[3];
  CROSSV(v, v + 3, normal);
  if (!(normal[0] * v[6] + normal[1] * v[7] + normal[2] * v[8] >= 0.0)) {
    v[3] = -v[3];
    v[4] = -v[4];
    v[5] = -v[5];
  }
  CALQUAT(pq + 3, v, &K.scalarLast);
  if (!(*layout >= 7 && *layout <= 9)) {
    // The 2D form: (sin, cos) of the half angle about the third axis.
    pq[3] = pq[5];
    pq[4] = pq[6];
    pq[5] = 0.0;
    pq[6] = 0.0;
  }
}

} // extern "C"
