// utf_Tensor<T>: the queries — principal values, Tresca, pressure, Mises, the third invariant —
// and their float and double instantiations.

#include "utf_Tensor.h"

#include "utf_TensorLayout.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

namespace {

using utf_impl::layoutOf;
using utf_impl::TensorLayout;

// Shear-free test: shears below this factor (1e-4 times the double epsilon) times the largest
// deviator are ignored.
constexpr double shearFreeFactor = 2.2204460492503132e-20;
// The double epsilon: a smaller r leaves the normalisation scale at 0.
constexpr double machineEpsilon = 2.220446049250313e-16;
// One third, as the double nearest to it.
constexpr double oneThird = 0.3333333333333333;
// One minus the double epsilon: a half-determinant cos(3 theta) beyond it is taken as +-1.
constexpr double almostOne = 0.9999999999999998;
// 2 pi / 3.
constexpr double twoPiThirds = 2.0943951023931953;
// The smallest normal double: a shorter half-angle radius is taken as an exact in-plane pair.
constexpr double smallestNormal = 2.2250738585072014e-308;

double largest(double a, double b, double c) {
  const double ab = b > a ? b : a;
  return c > ab ? c : ab;
}

// The fallback magnitude of the principal queries (3.4028235e38, the largest float).
template <typename T>
T fallbackLimit() {
  return static_cast<T>(std::numeric_limits<float>::max());
}

// 0.5 when the stored shears are engineering shears, else 1.
template <typename T>
double shearFactor(const utf_Tensor<T>& tensor) {
  return tensor.engineeringShear() ? 0.5 : 1.0;
}

// The tensor's stored components, padded with zeros to `needed` when it holds fewer.
template <typename T>
const T* stored(const utf_Tensor<T>& tensor, int needed, T (&padded)[6]) {
  return utf_impl::componentsAtLeast(tensor.data(), tensor.size(), needed, padded);
}

// The deviator of mises and inv3: direct parts and shears (halved when the flag is set), formed
// with the rounding that those two queries prescribe.
template <typename T>
struct Deviator {
  T d1, d2, d3, s12, s13, s23;
};

// In float the mean is the single-precision sum of the direct components divided by 3 in double
// and narrowed, the deviators are single precision, and each shear is halved in double and
// narrowed. In double every cast below is the identity.
template <typename T>
Deviator<T> deviatorOf(const utf_Tensor<T>& tensor) {
  T padded[6];
  const double f = shearFactor(tensor);
  switch (layoutOf(tensor.type())) {
  case TensorLayout::Surface: {
    const T* c = stored(tensor, 3, padded);
    const T p = static_cast<T>(static_cast<double>(c[0] + c[1]) / 3.0);
    return {c[0] - p, c[1] - p, -p, static_cast<T>(f * static_cast<double>(c[2])), T(0), T(0)};
  }
  case TensorLayout::Planar: {
    const T* c = stored(tensor, 4, padded);
    const T p = static_cast<T>(static_cast<double>(c[0] + c[1] + c[2]) / 3.0);
    return {c[0] - p, c[1] - p, c[2] - p, static_cast<T>(f * static_cast<double>(c[3])),
            T(0),     T(0)};
  }
  case TensorLayout::Full:
    break;
  }
  const T* c = stored(tensor, 6, padded);
  const T p = static_cast<T>(static_cast<double>(c[0] + c[1] + c[2]) / 3.0);
  return {c[0] - p,
          c[1] - p,
          c[2] - p,
          static_cast<T>(f * static_cast<double>(c[3])),
          static_cast<T>(f * static_cast<double>(c[4])),
          static_cast<T>(f * static_cast<double>(c[5]))};
}

// Principal values of the full branch, sorted descending.
template <typename T>
void fullPrincipal(const T* c, double f, T& p1, T& p2, T& p3) {
  const double c1 = c[0], c2 = c[1], c3 = c[2];
  const double p = (c1 + c2 + c3) / 3.0;
  const double d1 = c1 - p, d2 = c2 - p, d3 = c3 - p;
  const double s12 = f * static_cast<double>(c[3]);
  const double s13 = f * static_cast<double>(c[4]);
  const double s23 = f * static_cast<double>(c[5]);

  const double largestDirect = largest(std::fabs(d1), std::fabs(d2), std::fabs(d3));
  const double largestShear = largest(std::fabs(s12), std::fabs(s13), std::fabs(s23));
  if (shearFreeFactor * largestDirect > largestShear) {
    // Diagonal: the direct components themselves, recomputed as deviator plus mean.
    p1 = static_cast<T>(d1 + p);
    p2 = static_cast<T>(d2 + p);
    p3 = static_cast<T>(d3 + p);
  } else {
    // r = 2 sqrt(J2 / 3); the deviator scaled by 2 / r has eigenvalues 2 cos(theta + 2 pi k / 3)
    // and half its determinant is cos(3 theta).
    const double r = 2.0 * std::sqrt(oneThird * (s12 * s12 + s13 * s13 + s23 * s23 +
                                                 0.5 * (d1 * d1 + d2 * d2 + d3 * d3)));
    const double k = r > machineEpsilon ? 2.0 / r : 0.0;
    const double b11 = k * d1, b22 = k * d2, b33 = k * d3;
    const double b12 = k * s12, b13 = k * s13, b23 = k * s23;
    const double x = b12 * b13 * b23 + 0.5 * (b11 * b22 * b33 - b11 * (b23 * b23) -
                                              b22 * (b13 * b13) - b33 * (b12 * b12));
    double a1, a2, a3;
    if (x >= almostOne) {
      a1 = -0.5, a2 = -0.5, a3 = 1.0;
    } else if (x <= -almostOne) {
      a1 = -1.0, a2 = 0.5, a3 = 0.5;
    } else {
      const double theta = oneThird * std::acos(x);
      a1 = std::cos(theta);
      a2 = std::cos(theta + twoPiThirds);
      a3 = -a1 - a2;
    }
    p1 = static_cast<T>(p + r * a1);
    p2 = static_cast<T>(p + r * a2);
    p3 = static_cast<T>(p + r * a3);
  }
  // Descending, by three strict compare-and-swap steps on the stored values.
  if (p2 > p1) {
    std::swap(p1, p2);
  }
  if (p3 > p1) {
    std::swap(p1, p3);
  }
  if (p3 > p2) {
    std::swap(p2, p3);
  }
}

// In-plane pair of (S11, S22, S12) by a half-angle rotation, larger first.
template <typename T>
void inplanePrincipal(T s11, T s22, T s12, double f, T& p1, T& p2) {
  const double a = s11, b = s22;
  const double t = 2.0 * (f * static_cast<double>(s12));
  // Rotation by half the angle 2 phi with tan(2 phi) = t / d, its cosine kept non-negative.
  const double d = a - b;
  double h = std::sqrt(t * t + d * d);
  if (d < 0.0) {
    h = -h;
  }
  // e = 1 marks an in-plane pair that is already equal and unsheared: the rotation is then the
  // identity (c = 1, s = 0) and the formulas below return a and b.
  const double e = std::fabs(h) <= smallestNormal ? 1.0 : 0.0;
  h = h + e;
  const double cos2 = d / h;
  const double sin2 = t / h;
  const double g = 0.5 * (1.0 - e);
  const double c = std::sqrt(g * (1.0 + cos2)) + e;
  const double s = g * sin2 / c;
  p1 = static_cast<T>(c * (c * a + s * t) + s * s * b);
  p2 = static_cast<T>(s * (s * a - c * t) + c * c * b);
  if (p2 > p1) {
    std::swap(p1, p2);
  }
}

} // namespace

template <typename T>
void utf_Tensor<T>::computePrincipal(T& p1, T& p2, T& p3) const {
  T padded[6];
  const double f = shearFactor(*this);
  switch (layoutOf(this->type())) {
  case TensorLayout::Surface: {
    const T* c = stored(*this, 3, padded);
    inplanePrincipal(c[0], c[1], c[2], f, p1, p2);
    p3 = T(0);
    return;
  }
  case TensorLayout::Planar: {
    const T* c = stored(*this, 4, padded);
    inplanePrincipal(c[0], c[1], c[3], f, p1, p2);
    // S33 as stored, deliberately not ranked with the in-plane pair.
    p3 = c[2];
    return;
  }
  case TensorLayout::Full:
    fullPrincipal(stored(*this, 6, padded), f, p1, p2, p3);
    return;
  }
}

template <typename T>
T utf_Tensor<T>::maxPrincipal() const {
  T p1, p2, p3;
  switch (this->type()) {
  case res_Tensor3dFull:
  case res_Tensor3dSurface:
  case res_Tensor2dSurface:
    computePrincipal(p1, p2, p3);
    return p1;
  case res_Tensor3dPlanar:
  case res_Tensor2dPlanar:
    computePrincipal(p1, p2, p3);
    return p1 > p3 ? p1 : p3;
  default:
    return -fallbackLimit<T>();
  }
}

template <typename T>
T utf_Tensor<T>::midPrincipal() const {
  T p1, p2, p3;
  switch (this->type()) {
  case res_Tensor3dFull:
    computePrincipal(p1, p2, p3);
    return p2;
  case res_Tensor3dPlanar:
  case res_Tensor2dPlanar:
    computePrincipal(p1, p2, p3);
    if (p2 > p3) {
      return p2;
    }
    return p1 > p3 ? p3 : p1;
  case res_Tensor3dSurface:
  case res_Tensor2dSurface:
    return T(0);
  default:
    return fallbackLimit<T>();
  }
}

template <typename T>
T utf_Tensor<T>::minPrincipal() const {
  T p1, p2, p3;
  switch (this->type()) {
  case res_Tensor3dFull:
    computePrincipal(p1, p2, p3);
    return p3;
  case res_Tensor3dPlanar:
  case res_Tensor2dPlanar:
    computePrincipal(p1, p2, p3);
    return p2 > p3 ? p3 : p2;
  case res_Tensor3dSurface:
  case res_Tensor2dSurface:
    computePrincipal(p1, p2, p3);
    return p2;
  default:
    return fallbackLimit<T>();
  }
}

template <typename T>
T utf_Tensor<T>::maxInplanePrincipal() const {
  // The planar and surface types, tested as the signed range 10 <= type < 14.
  const std::int32_t type = this->type();
  if (type < 10 || type >= 14) {
    return T(0);
  }
  T p1, p2, p3;
  computePrincipal(p1, p2, p3);
  return p1;
}

template <typename T>
T utf_Tensor<T>::minInplanePrincipal() const {
  const std::int32_t type = this->type();
  if (type < 10 || type >= 14) {
    return T(0);
  }
  T p1, p2, p3;
  computePrincipal(p1, p2, p3);
  return p2;
}

template <typename T>
T utf_Tensor<T>::outOfPlanePrincipal() const {
  if (layoutOf(this->type()) != TensorLayout::Planar) {
    return T(0);
  }
  T p1, p2, p3;
  computePrincipal(p1, p2, p3);
  return p3;
}

template <typename T>
T utf_Tensor<T>::tresca() const {
  T p1, p2, p3;
  switch (this->type()) {
  case res_Tensor3dFull:
    computePrincipal(p1, p2, p3);
    return p1 - p3;
  case res_Tensor3dPlanar:
  case res_Tensor2dPlanar: {
    computePrincipal(p1, p2, p3);
    const T largest = p1 > p3 ? p1 : p3;
    const T smallest = p2 > p3 ? p3 : p2;
    return largest - smallest;
  }
  case res_Tensor3dSurface:
  case res_Tensor2dSurface: {
    // The zero out-of-plane value takes part in the range here.
    computePrincipal(p1, p2, p3);
    const T largest = p1 > T(0) ? p1 : T(0);
    const T smallest = p2 < T(0) ? p2 : T(0);
    return static_cast<T>(static_cast<double>(largest) - static_cast<double>(smallest));
  }
  default:
    return T(0);
  }
}

template <typename T>
T utf_Tensor<T>::pressure() const {
  T padded[6];
  if (utf_isSurfaceTensorType(this->type())) {
    const T* c = stored(*this, 2, padded);
    return static_cast<T>(-(static_cast<double>(c[0]) + static_cast<double>(c[1])) / 3.0);
  }
  const T* c = stored(*this, 3, padded);
  return static_cast<T>(
      -(static_cast<double>(c[0]) + static_cast<double>(c[1]) + static_cast<double>(c[2])) / 3.0);
}

// Q = d1^2 + d2^2 + d3^2 + 2 (s12^2 + s13^2 + s23^2). The sum of the direct squares (and for the
// full layout the sum of the shear squares) is formed in T; they are joined in double, Q is
// narrowed to T, and the root is taken in double.
template <typename T>
T utf_Tensor<T>::mises() const {
  const Deviator<T> s = deviatorOf(*this);
  const T directSquares = s.d1 * s.d1 + s.d2 * s.d2 + s.d3 * s.d3;
  T q;
  if (layoutOf(this->type()) == TensorLayout::Full) {
    const T shearSquares = s.s12 * s.s12 + s.s13 * s.s13 + s.s23 * s.s23;
    q = static_cast<T>(static_cast<double>(directSquares) +
                       2.0 * static_cast<double>(shearSquares));
  } else {
    // The one shear: 2 s12^2 formed in double.
    q = static_cast<T>(static_cast<double>(directSquares) +
                       2.0 * static_cast<double>(s.s12) * static_cast<double>(s.s12));
  }
  return static_cast<T>(std::sqrt(1.5 * static_cast<double>(q)));
}

// tr(s s s) from m = s s: (m11 d1 + m22 d2 + m33 d3) + 2 (m12 s12 + m13 s13 + m23 s23). Products
// and brackets in T, joined in double and narrowed; the cube root is taken in double.
template <typename T>
T utf_Tensor<T>::inv3() const {
  const Deviator<T> s = deviatorOf(*this);
  T trace;
  if (layoutOf(this->type()) == TensorLayout::Full) {
    const T a = s.s12 * s.s12, b = s.s13 * s.s13, c = s.s23 * s.s23;
    const T m11 = s.d1 * s.d1 + a + b;
    const T m22 = s.d2 * s.d2 + a + c;
    const T m33 = s.d3 * s.d3 + b + c;
    const T m12 = (s.d1 + s.d2) * s.s12 + s.s13 * s.s23;
    const T m13 = (s.d1 + s.d3) * s.s13 + s.s12 * s.s23;
    const T m23 = (s.d2 + s.d3) * s.s23 + s.s12 * s.s13;
    const T direct = m11 * s.d1 + m22 * s.d2 + m33 * s.d3;
    const T shear = m12 * s.s12 + m13 * s.s13 + m23 * s.s23;
    trace = static_cast<T>(static_cast<double>(direct) + 2.0 * static_cast<double>(shear));
  } else {
    // One shear in the plane of directions 1 and 2; d3 is S33 - p, or -p for a surface layout.
    const T m11 = s.d1 * s.d1 + s.s12 * s.s12;
    const T m22 = s.d2 * s.d2 + s.s12 * s.s12;
    const T m12 = (s.d1 + s.d2) * s.s12;
    const T direct = m11 * s.d1 + m22 * s.d2 + s.d3 * s.d3 * s.d3;
    trace = static_cast<T>(static_cast<double>(direct) + 2.0 * static_cast<double>(m12 * s.s12));
  }
  const double wide = static_cast<double>(trace);
  if (wide >= 0.0) {
    return static_cast<T>(std::pow(4.5 * wide, oneThird));
  }
  return static_cast<T>(-std::pow(-4.5 * wide, oneThird));
}

template float utf_Tensor<float>::maxPrincipal() const;
template float utf_Tensor<float>::midPrincipal() const;
template float utf_Tensor<float>::minPrincipal() const;
template float utf_Tensor<float>::maxInplanePrincipal() const;
template float utf_Tensor<float>::minInplanePrincipal() const;
template float utf_Tensor<float>::outOfPlanePrincipal() const;
template float utf_Tensor<float>::pressure() const;
template float utf_Tensor<float>::mises() const;
template float utf_Tensor<float>::tresca() const;
template float utf_Tensor<float>::inv3() const;
template void utf_Tensor<float>::computePrincipal(float&, float&, float&) const;
template double utf_Tensor<double>::maxPrincipal() const;
template double utf_Tensor<double>::midPrincipal() const;
template double utf_Tensor<double>::minPrincipal() const;
template double utf_Tensor<double>::maxInplanePrincipal() const;
template double utf_Tensor<double>::minInplanePrincipal() const;
template double utf_Tensor<double>::outOfPlanePrincipal() const;
template double utf_Tensor<double>::pressure() const;
template double utf_Tensor<double>::mises() const;
template double utf_Tensor<double>::tresca() const;
template double utf_Tensor<double>::inv3() const;
template void utf_Tensor<double>::computePrincipal(double&, double&, double&) const;
