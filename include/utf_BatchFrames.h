#ifndef UTF_BATCH_FRAMES_H
#define UTF_BATCH_FRAMES_H

// Direction-cosine tables in batch (9 numbers per item, row-major, the rows the new axes in
// global components: utf_Conventions.h, 4), ready for utf_batchTensorsToNewAxes and its siblings
// as utf_BatchTables<T>::perItem(tables, count).

#include "utf_BatchExport.h"

#include <cstddef>

// The tables of `count` 3D rotations (x, y, z, w), 4 numbers each: the component kernels' own
// table (utf_Quat3dBase<T>::cosines), the same bits, float rules included. Nothing normalises.
template <typename T>
UTF_BATCH_EXPORT void utf_batchTablesFromQuaternions(const T* quaternions, std::size_t count,
                                                     T* tables);

// The tables of `count` 2D rotations (s, c), 2 numbers each: rows (1 - 2s^2, 2cs, 0),
// (-2cs, 1 - 2s^2, 0), (0, 0, 1), the 2D rotation value's table (utf_Quaternion<T>::cosines of a
// type-6 rotation; the 2D kernels turn tensors by its in-plane block), the same bits.
template <typename T>
UTF_BATCH_EXPORT void utf_batchTablesFrom2dRotations(const T* rotations, std::size_t count,
                                                     T* tables);

// Cylindrical axes at `count` points (x, y, z, 3 numbers each) about the axis through `origin`
// along `axis` (any length): row 1 radial (the part of P - origin normal to the axis, unit), row
// 2 tangential = axial x radial, row 3 axial (the unit axis); a right-handed frame. Computed in
// double and rounded once to T. A point on the axis (its distance from the axis at most 1e-9
// times its distance from `origin`, the origin itself included) has no radial direction: its
// table is nine NaNs. Returns the number of such points. Precondition: `axis` has a finite,
// non-zero length (utf_BatchAssertLine::axisNotADirection).
template <typename T>
UTF_BATCH_EXPORT std::size_t utf_batchCylindricalTables(const T* points, std::size_t count,
                                                        const double origin[3],
                                                        const double axis[3], T* tables);

// Spherical axes at `count` points about `centre`, with polar axis `axis` (any length): row 1
// radial e_r (unit, from the centre to the point), row 2 meridional e_theta (the direction of
// growing polar angle, away from the pole along `axis`), row 3 azimuthal e_phi = axis x e_r
// (unit); (e_r, e_theta, e_phi) is right-handed, e_theta = e_phi x e_r. Computed in double and
// rounded once to T. A point at the centre, or on the polar axis (its distance from the axis at
// most 1e-9 times its distance from the centre), has no azimuthal direction: its table is nine
// NaNs. Returns the number of such points. Precondition: as for the cylindrical tables.
template <typename T>
UTF_BATCH_EXPORT std::size_t utf_batchSphericalTables(const T* points, std::size_t count,
                                                      const double centre[3], const double axis[3],
                                                      T* tables);

#endif
