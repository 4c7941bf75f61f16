// utf_Quat2dBase<T>: the in-plane rotation kernel's definitions and its float and double
// instantiations.

#include "utf_Quat2dBase.h"

#include "utf_Print.h"
#include "utf_RotationArithmetic.h"

#include <cmath>

template <typename T>
void utf_Quat2dBase<T>::set(const gsl_Vector& xAxis, const gsl_Vector& yAxis) {
  gsl_Matrix frame;
  const gsl_Vector noAxis;
  frame.SetRotationVectors(xAxis, yAxis, noAxis);
  double a1 = 0.0;
  double a2 = 0.0;
  double theta = 0.0;
  frame.GetRotationAngles(a1, a2, theta);
  m_q[0] = static_cast<T>(std::sin(theta / 2.0));
  m_q[1] = static_cast<T>(std::cos(theta / 2.0));
}

template <typename T>
void utf_Quat2dBase<T>::set(const gsl_Matrix& m) {
  const gsl_Vector xAxis = m.NewXAxis();
  const gsl_Vector yAxis = m.NewYAxis();
  set(xAxis, yAxis);
}

template <typename T>
void utf_Quat2dBase<T>::setIdentity() {
  m_q[0] = T(0);
  m_q[1] = T(1);
}

template <typename T>
void utf_Quat2dBase<T>::cosines(T (*c)[3]) const {
  const utf_impl::Block2<T> b = utf_impl::cosines2d(m_q);
  c[0][0] = b.c11;
  c[0][1] = b.c12;
  c[0][2] = T(0);
  // The second row is zeros, and c[2][0], c[2][1] keep what the caller's table held: this
  // kernel's table on purpose; the full in-plane table is utf_Quaternion<T>::cosines().
  c[1][0] = T(0);
  c[1][1] = T(0);
  c[1][2] = T(0);
  c[2][2] = T(1);
}

template <typename T>
void utf_Quat2dBase<T>::mult(const T* p, T* r) const {
  r[0] = m_q[0] * p[1] + m_q[1] * p[0];
  r[1] = -m_q[0] * p[0] + m_q[1] * p[1];
}

template <typename T>
void utf_Quat2dBase<T>::inverse(T* r) const {
  r[0] = -m_q[0];
  r[1] = m_q[1];
}

template <typename T>
bool utf_Quat2dBase<T>::projectOn(const gsl_Vector& normal, unsigned axis, double tolerance) {
  // A fresh table: the entries that cosines leaves alone read as zeros.
  T table[3][3] = {};
  cosines(table);
  gsl_Vector xAxis;
  gsl_Vector yAxis;
  if (!utf_impl::projectedFrame(table, axis, normal, tolerance, xAxis, yAxis)) {
    return false;
  }
  set(xAxis, yAxis);
  return true;
}

template <typename T>
void utf_Quat2dBase<T>::toVector(T* v) const {
  v[0] = T(0);
  v[1] = T(0);
  v[2] = T(2) * std::asin(m_q[0]);
}

template <typename T>
void utf_Quat2dBase<T>::Print(aio_ostream& os, int indent) const {
  T v[3];
  toVector(v);
  // A fresh table: c[2][0] and c[2][1], which cosines leaves alone, print as zeros.
  T table[3][3] = {};
  cosines(table);
  utf_printKernel(os, indent, m_q, 2, v, table);
}

template class utf_Quat2dBase<float>;
template class utf_Quat2dBase<double>;
