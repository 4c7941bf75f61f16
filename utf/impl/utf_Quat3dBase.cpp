// utf_Quat3dBase<T>: the 3D rotation kernel's definitions and its float and double instantiations.

#include "utf_Quat3dBase.h"

#include "utf_Print.h"
#include "utf_RotationArithmetic.h"
#include "utf_numerics.h"

#include <cmath>

namespace {

// A vector's Cartesian components into three doubles. The weight is tested for each component:
// a vector of weight 0 counts as the zero vector.
void cartesian(const gsl_Vector& v, double* out) {
  const double h = v.W();
  out[0] = h != 0.0 ? v.X() / h : 0.0;
  out[1] = h != 0.0 ? v.Y() / h : 0.0;
  out[2] = h != 0.0 ? v.Z() / h : 0.0;
}

} // namespace

template <typename T>
void utf_Quat3dBase<T>::set(const gsl_Vector& xAxis, const gsl_Vector& yAxis,
                            const gsl_Vector& zAxis) {
  // The axes one after the other: the column-major direction-cosine array whose columns (and so
  // the table's rows) are the new axes.
  double axes[9];
  cartesian(xAxis, axes);
  cartesian(yAxis, axes + 3);
  cartesian(zAxis, axes + 6);

  double xCrossY[3];
  CROSSV(axes, axes + 3, xCrossY);
  const double along = xCrossY[0] * axes[6] + xCrossY[1] * axes[7] + xCrossY[2] * axes[8];
  if (!(along >= 0.0)) {
    // Left-handed (or undecidable): reverse Y so that the frame is a rotation.
    axes[3] = -axes[3];
    axes[4] = -axes[4];
    axes[5] = -axes[5];
  }

  const int scalarFirst = 0;
  double q[4];
  CALQUAT(q, axes, &scalarFirst);
  for (int i = 0; i < 4; ++i) {
    m_q[i] = static_cast<T>(q[i]);
  }
}

template <typename T>
void utf_Quat3dBase<T>::set(const gsl_Matrix& m) {
  const gsl_Vector xAxis = m.NewXAxis();
  const gsl_Vector yAxis = m.NewYAxis();
  const gsl_Vector zAxis = m.NewZAxis();
  set(xAxis, yAxis, zAxis);
}

template <typename T>
void utf_Quat3dBase<T>::setIdentity() {
  m_q[0] = T(0);
  m_q[1] = T(0);
  m_q[2] = T(0);
  m_q[3] = T(1);
}

template <typename T>
void utf_Quat3dBase<T>::cosines(T (*c)[3]) const {
  const utf_impl::Cosines3d<T> a = utf_impl::cosines3d(m_q);
  c[0][0] = a.a11, c[0][1] = a.a12, c[0][2] = a.a13;
  c[1][0] = a.a21, c[1][1] = a.a22, c[1][2] = a.a23;
  c[2][0] = a.a31, c[2][1] = a.a32, c[2][2] = a.a33;
}

template <typename T>
void utf_Quat3dBase<T>::mult(const T* p, T* r) const {
  // Vector part w p_v + p3 q_v + q_v x p_v, scalar w p3 - q_v . p_v.
  r[0] = m_q[0] * p[3] + m_q[1] * p[2] - m_q[2] * p[1] + m_q[3] * p[0];
  r[1] = -m_q[0] * p[2] + m_q[1] * p[3] + m_q[2] * p[0] + m_q[3] * p[1];
  r[2] = m_q[0] * p[1] - m_q[1] * p[0] + m_q[2] * p[3] + m_q[3] * p[2];
  r[3] = -m_q[0] * p[0] - m_q[1] * p[1] - m_q[2] * p[2] + m_q[3] * p[3];
}

template <typename T>
void utf_Quat3dBase<T>::inverse(T* r) const {
  r[0] = -m_q[0];
  r[1] = -m_q[1];
  r[2] = -m_q[2];
  r[3] = m_q[3];
}

template <typename T>
bool utf_Quat3dBase<T>::projectOn(const gsl_Vector& normal, unsigned axis, double tolerance) {
  // A fresh table: the entries that cosines leaves alone read as zeros.
  T table[3][3] = {};
  cosines(table);
  gsl_Vector xAxis;
  gsl_Vector yAxis;
  if (!utf_impl::projectedFrame(table, axis, normal, tolerance, xAxis, yAxis)) {
    return false;
  }
  set(xAxis, yAxis, normal);
  return true;
}

template <typename T>
void utf_Quat3dBase<T>::toVector(T* v) const {
  const double w = static_cast<double>(m_q[3]);
  const double s = 1.0 - w * w;
  const double f = s != 0.0 ? 2.0 * std::acos(w) / std::sqrt(s) : 0.0;
  // The float instantiation rounds the factor once and multiplies in single precision.
  const T factor = static_cast<T>(f);
  v[0] = factor * m_q[0];
  v[1] = factor * m_q[1];
  v[2] = factor * m_q[2];
}

template <typename T>
void utf_Quat3dBase<T>::Print(aio_ostream& os, int indent) const {
  T v[3];
  toVector(v);
  T table[3][3];
  cosines(table);
  utf_printKernel(os, indent, m_q, 4, v, table);
}

template class utf_Quat3dBase<float>;
template class utf_Quat3dBase<double>;
