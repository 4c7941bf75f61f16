#ifndef UTF_POST_COORDINATE_SYSTEM_H
#define UTF_POST_COORDINATE_SYSTEM_H

// The change of coordinate system of utf-post: the tensor's components are re-expressed on new
// axes before the outputs are computed.
//
// Sense: the components written are those of the same tensor on the new axes, S' = A S A^T,
// with A the table of direction cosines whose rows are the new axes in global components. For
// example a uniaxial stress along global X, expressed in a system turned 90 degrees about Z
// (new X = global Y, new Y = -global X), is the local S22.
//
// - Angles a, b, c (degrees): the library's three-angle rotation utf_Quaternion<T>(a, b, c) in
//   radians, which turns the global axes by c about Z, then by b about Y, then by a about X.
// - Cosines: the nine values of A, row by row; the table must be a rotation (rows orthonormal
//   within rotationTolerance, determinant positive).
// - Cylindrical: per point P, the new axes are radial (the part of P - origin normal to the axis,
//   normalised), tangential (axial x radial) and axial (the unit axis): a right-handed frame.
//
// The components are turned by the library's raw kernels (utf_Tens3dFullBase<T> and its
// siblings, which rotate in place in the sense S' = A S A^T), in the precision of the run and
// with the run's shear convention (engineering shears stay engineering shears).
//
// Layouts that hold only the 1-2 plane: a change of system must keep that plane, since the
// layout has no S13, S23 to carry an out-of-plane shear.
// - planar3d, surface3d: the new 3-axis must be the global 3-axis either way (within
//   planeTolerance): a turn about the 3-axis, or a turn-over (a half turn about an in-plane
//   axis). Any other rotation is refused with an error.
// - planar2d, surface2d: the 2D rotation (sin(t/2), cos(t/2)) about the 3-axis; the new 3-axis
//   must be +3 (a turn-over is refused too, the 2D rotation cannot hold it).

#include "options.h"

#include <string>

namespace utf_post {

template <typename T>
class CoordinateSystem {
public:
  // Resolves the options' change of system for their layout in the precision T; throws Failure
  // for a rotation that a layout cannot take.
  explicit CoordinateSystem(const Options& options);

  // Whether each row needs its point (cylindrical).
  bool needsPoint() const { return m_kind == SystemKind::Cylindrical; }

  // Re-expresses the layout's components in place on the new axes at `point` (global
  // coordinates, three values, used by the cylindrical system only). Returns false, with
  // `problem` set and the components unchanged, for a point on the cylinder's axis.
  bool apply(T* components, const double* point, std::string& problem) const;

private:
  // Takes the fixed rotation (angles, cosines) that `option` gives, the 3D quaternion q (x, y,
  // z, w): checks that it keeps the layout's plane, then sets the 2D rotation from it.
  void setRotation(const T* q, const char* option);
  // Refuses, naming `option`, a rotation whose table does not keep the 1-2 plane of a planar or
  // surface layout (keepsPlane: the new 3-axis is +3, or -3 for the 3D ones).
  void checkPlane(const char* option) const;
  // Sets the 2D rotation from the 3D one, whose table keeps the plane.
  void setPlanarRotation();
  // Turns the components by the 3D rotation q (x, y, z, w) or the 2D rotation r (s, c).
  void rotate3d(T* components, T* q) const;
  void rotate2d(T* components, T* r) const;

  res_DataTypeEnm m_layout;
  bool m_engineeringShear;
  SystemKind m_kind;
  // The fixed rotation (angles, cosines): 3D quaternion and, for the 2D layouts, 2D rotation.
  T m_q[4];
  T m_r[2];
  // The cylinder's axis: a point on it and the unit direction.
  double m_origin[3];
  double m_axis[3];
};

extern template class CoordinateSystem<float>;
extern template class CoordinateSystem<double>;

} // namespace utf_post

#endif
