#include "coordinate_system.h"

#include "failure.h"
#include "text.h"

#include "gsl_Vector.h"
#include "utf_Constants.h"
#include "utf_Quat2dBase.h"
#include "utf_Quat3dBase.h"
#include "utf_Quaternion.h"
#include "utf_TensorKernels.h"

#include <cmath>

namespace utf_post {

namespace {

const double degree = utf_pi / 180.0;

} // namespace

template <typename T>
CoordinateSystem<T>::CoordinateSystem(const Options& options)
    : m_layout(options.layout), m_engineeringShear(options.engineeringShear),
      m_kind(options.system), m_q{T(0), T(0), T(0), T(1)}, m_r{T(0), T(1)},
      m_origin{options.axisOrigin[0], options.axisOrigin[1], options.axisOrigin[2]}, m_axis{0.0,
                                                                                            0.0,
                                                                                            1.0} {
  switch (m_kind) {
  case SystemKind::Global:
    break;
  case SystemKind::Angles: {
    // The library's three-angle rotation, the angles turned to radians in double.
    const utf_Quaternion<T> rotation(static_cast<T>(options.angles[0] * degree),
                                     static_cast<T>(options.angles[1] * degree),
                                     static_cast<T>(options.angles[2] * degree));
    setRotation(rotation.data(), "--rotate-angles");
    break;
  }
  case SystemKind::Cosines: {
    // The rows of the table are the new axes: the three-axis constructor takes them as they
    // are (the constructor from a cow_2DArray would read the columns).
    const double* c = options.cosines;
    const gsl_Vector xAxis(c[0], c[1], c[2]);
    const gsl_Vector yAxis(c[3], c[4], c[5]);
    const gsl_Vector zAxis(c[6], c[7], c[8]);
    const utf_Quaternion<T> rotation(xAxis, yAxis, zAxis);
    setRotation(rotation.data(), "--rotate-cosines");
    break;
  }
  case SystemKind::Cylindrical: {
    // validate() has refused an axis of zero length.
    const double* d = options.axisDirection;
    const double length = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
    for (int i = 0; i < 3; ++i) {
      m_axis[i] = d[i] / length;
    }
    break;
  }
  }
}

template <typename T>
void CoordinateSystem<T>::setRotation(const T* q, const char* option) {
  for (int i = 0; i < 4; ++i) {
    m_q[i] = q[i];
  }
  checkPlane(option);
  setPlanarRotation();
}

template <typename T>
void CoordinateSystem<T>::checkPlane(const char* option) const {
  // The kernel takes its values through a non-const pointer; it only reads them here.
  T q[4] = {m_q[0], m_q[1], m_q[2], m_q[3]};
  T table[3][3];
  utf_Quat3dBase<T>(q).cosines(table);
  // The new 3-axis: the table's third row, a unit vector.
  const double axis[3] = {static_cast<double>(table[2][0]), static_cast<double>(table[2][1]),
                          static_cast<double>(table[2][2])};
  if (!keepsPlane(m_layout, axis, 1.0)) {
    const bool is2d = utf_is2dTensorType(m_layout);
    throw Failure(std::string(option) + ": expected a rotation about the 3-axis" +
                  (is2d ? "" : " or a turn-over") + " for layout " + layoutName(m_layout) +
                  " (it holds the 1-2 plane only), found a new 3-axis (" + formatList(axis, 3) +
                  ")");
  }
}

template <typename T>
void CoordinateSystem<T>::setPlanarRotation() {
  if (!utf_is2dTensorType(m_layout)) {
    return;
  }
  // The in-plane angle t of the new 1-axis (cos t, sin t, 0), in double, rounded once to T.
  T table[3][3];
  utf_Quat3dBase<T>(m_q).cosines(table);
  const double t = std::atan2(static_cast<double>(table[0][1]), static_cast<double>(table[0][0]));
  m_r[0] = static_cast<T>(std::sin(t / 2.0));
  m_r[1] = static_cast<T>(std::cos(t / 2.0));
}

template <typename T>
void CoordinateSystem<T>::rotate3d(T* components, T* q) const {
  const utf_Quat3dBase<T> rotation(q);
  switch (m_layout) {
  case res_Tensor3dFull:
    utf_Tens3dFullBase<T>(components).transform(rotation, m_engineeringShear);
    break;
  case res_Tensor3dPlanar:
    utf_Tens3dPlanarBase<T>(components).transform(rotation, m_engineeringShear);
    break;
  case res_Tensor3dSurface:
    utf_Tens3dSurfaceBase<T>(components).transform(rotation, m_engineeringShear);
    break;
  default:
    break;
  }
}

template <typename T>
void CoordinateSystem<T>::rotate2d(T* components, T* r) const {
  const utf_Quat2dBase<T> rotation(r);
  switch (m_layout) {
  case res_Tensor2dPlanar:
    utf_Tens2dPlanarBase<T>(components).transform(rotation, m_engineeringShear);
    break;
  case res_Tensor2dSurface:
    utf_Tens2dSurfaceBase<T>(components).transform(rotation, m_engineeringShear);
    break;
  default:
    break;
  }
}

template <typename T>
bool CoordinateSystem<T>::apply(T* components, const double* point, std::string& problem) const {
  const bool is2d = utf_is2dTensorType(m_layout);
  if (m_kind == SystemKind::Global) {
    return true;
  }
  if (m_kind != SystemKind::Cylindrical) {
    // The kernels take the rotation through a non-const handle; they only read it.
    T q[4] = {m_q[0], m_q[1], m_q[2], m_q[3]};
    T r[2] = {m_r[0], m_r[1]};
    if (is2d) {
      rotate2d(components, r);
    } else {
      rotate3d(components, q);
    }
    return true;
  }

  // Radial: the part of P - origin normal to the axis.
  double d[3];
  for (int i = 0; i < 3; ++i) {
    d[i] = point[i] - m_origin[i];
  }
  const double along = d[0] * m_axis[0] + d[1] * m_axis[1] + d[2] * m_axis[2];
  double radial[3];
  for (int i = 0; i < 3; ++i) {
    radial[i] = d[i] - along * m_axis[i];
  }
  const double distance = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
  const double r = std::sqrt(radial[0] * radial[0] + radial[1] * radial[1] + radial[2] * radial[2]);
  if (!(r > onAxisTolerance * distance)) {
    problem = "expected a point off the axis of the cylindrical system, found one on it";
    return false;
  }
  for (double& value : radial) {
    value /= r;
  }

  if (is2d) {
    // The axis is +3 (validated): a turn by the radial direction's angle about it.
    const double t = std::atan2(radial[1], radial[0]);
    T rotation[2] = {static_cast<T>(std::sin(t / 2.0)), static_cast<T>(std::cos(t / 2.0))};
    rotate2d(components, rotation);
    return true;
  }
  // Tangential = axial x radial, so (radial, tangential, axial) is right-handed.
  const double* a = m_axis;
  const double tangential[3] = {a[1] * radial[2] - a[2] * radial[1],
                                a[2] * radial[0] - a[0] * radial[2],
                                a[0] * radial[1] - a[1] * radial[0]};
  T q[4];
  utf_Quat3dBase<T>(q).set(gsl_Vector(radial[0], radial[1], radial[2]),
                           gsl_Vector(tangential[0], tangential[1], tangential[2]),
                           gsl_Vector(a[0], a[1], a[2]));
  rotate3d(components, q);
  return true;
}

template class CoordinateSystem<float>;
template class CoordinateSystem<double>;

} // namespace utf_post
