"""utf.Rotation: one or N rotations, and the tensors and vectors they carry onto new axes.

Named like scipy's ``Rotation`` where the meaning is the same: ``from_quat`` takes (x, y, z, w),
``from_matrix`` and ``as_matrix`` the rotation matrix (its columns the new axes, mapping local
components to global ones), ``apply`` rotates vectors (R v), ``p * q`` applies q first, then p.
Beside those, the library's own view: ``from_cosines`` and ``as_cosines`` take the
direction-cosine table, whose ROWS are the new axes (the transpose of the matrix), and
``to_local`` / ``to_global`` turn tensors onto the new axes (A S A^T, A the table) and back
(A^T S A).

A rotation is held as its direction-cosine tables in float64, and, when it was made from
quaternions or angles, as those quaternions too: float32 tensors are then turned by the table
that the library's float rules make from the float32 quaternion (bit for bit the value types'),
and otherwise by the float64 table rounded to float32.
"""

import numpy as np

from . import _arrays, _dask, _utf


class Rotation:
    """One rotation or a stack of N rotations (see the module's documentation)."""

    def __init__(self, tables, quaternions=None, single=False):
        """Use the ``from_*`` constructors; this one takes (N, 3, 3) float64 tables."""
        self._tables = tables
        self._quats = quaternions
        self._single = single

    # ---------------------------------------------------------------- construction

    @classmethod
    def from_quat(cls, quat):
        """Rotations from quaternions (x, y, z, w), vector part first: shape (4,) or (N, 4).
        A quaternion whose squared norm differs from 1 by more than 8 eps is divided by its norm
        (as scipy does); a unit one is kept exactly, so its table is the library's bit for bit.
        A zero or non-finite quaternion raises ValueError."""
        quat, single = _stack(quat, (4,), "quat")
        quat = quat.astype(np.float64, copy=True)
        norm2 = np.einsum("ij,ij->i", quat, quat)
        bad = ~(np.isfinite(norm2) & (norm2 > 0))
        if bad.any():
            index = int(np.argmax(bad))
            raise ValueError(f"quat: quaternion {index} {quat[index].tolist()} has no direction "
                             f"(zero or non-finite norm)")
        scale = np.abs(norm2 - 1.0) > 8 * np.finfo(np.float64).eps
        quat[scale] /= np.sqrt(norm2[scale])[:, None]
        return cls(_tables_of_quaternions(quat), quat, single)

    @classmethod
    def from_matrix(cls, matrix, *, atol=1e-6):
        """Rotations from rotation matrices (3, 3) or (N, 3, 3), scipy's meaning: the matrix maps
        local components to global ones, its columns are the new axes. A matrix that is not a
        proper rotation (M M^T = I and det M = +1 to within ``atol``) raises ValueError."""
        matrix, single = _stack(matrix, (3, 3), "matrix")
        tables = np.ascontiguousarray(np.swapaxes(matrix.astype(np.float64), -1, -2))
        _check_rotation(tables, atol, "matrix")
        return cls(tables, None, single)

    @classmethod
    def from_cosines(cls, cosines, *, atol=1e-6):
        """Rotations from direction-cosine tables (3, 3) or (N, 3, 3): rows are the new axes in
        global components (the transpose of the matrix). Checked like ``from_matrix``."""
        cosines, single = _stack(cosines, (3, 3), "cosines")
        tables = np.array(cosines, dtype=np.float64, order="C")
        _check_rotation(tables, atol, "cosines")
        return cls(tables, None, single)

    @classmethod
    def from_angles(cls, a, b, c, degrees=False):
        """The library's three-angle rotation qa (x) qb (x) qc: a turn by c about Z, then by b
        about Y, then by a about X (radians, or degrees). Scalars give one rotation; arrays
        (broadcast together) give N. The quaternions are the value type's, bit for bit."""
        angles = [_arrays.real_array(x, name).astype(np.float64) for x, name in
                  ((a, "a"), (b, "b"), (c, "c"))]
        try:
            a, b, c = np.broadcast_arrays(*angles)
        except ValueError:
            shapes = ", ".join(str(x.shape) for x in angles)
            raise ValueError(f"a, b, c: expected shapes that broadcast together, found {shapes}")
        if a.ndim > 1:
            raise ValueError(f"a, b, c: expected scalars or 1-D arrays, found shape {a.shape}")
        single = a.ndim == 0
        rows = np.ascontiguousarray(np.stack([a, b, c], axis=-1).reshape(-1, 3))
        if degrees:
            rows = np.deg2rad(rows)
        quat = np.empty((rows.shape[0], 4))
        _utf.quaternions_from_angles(rows, quat)
        return cls(_tables_of_quaternions(quat), quat, single)

    @classmethod
    def from_axes(cls, x_axis, y_axis):
        """Rotations whose new X axis is along ``x_axis`` and new Y axis along the part of
        ``y_axis`` orthogonal to it; new Z = X x Y. Shapes (3,) or (N, 3), broadcast together.
        A zero x_axis, or a y_axis along x_axis, raises ValueError."""
        x = _arrays.real_array(x_axis, "x_axis").astype(np.float64)
        y = _arrays.real_array(y_axis, "y_axis").astype(np.float64)
        for value, name in ((x, "x_axis"), (y, "y_axis")):
            if value.ndim not in (1, 2) or value.shape[-1] != 3:
                raise ValueError(f"{name}: expected shape (3,) or (N, 3), found {value.shape}")
        single = x.ndim == 1 and y.ndim == 1
        try:
            x, y = np.broadcast_arrays(np.atleast_2d(x), np.atleast_2d(y))
        except ValueError:
            raise ValueError(f"x_axis, y_axis: expected as many axes of each, found "
                             f"{len(np.atleast_2d(x))} and {len(np.atleast_2d(y))}") from None
        length = np.linalg.norm(x, axis=-1)
        _refuse(~(length > 0) | ~np.isfinite(length), "x_axis", "has no direction", x)
        ex = x / length[:, None]
        y_normal = y - np.einsum("ij,ij->i", y, ex)[:, None] * ex
        normal_length = np.linalg.norm(y_normal, axis=-1)
        along = ~(normal_length > 1e-12 * np.linalg.norm(y, axis=-1))
        _refuse(along, "y_axis", "lies along x_axis: it gives no second axis", y)
        ey = y_normal / normal_length[:, None]
        ez = np.cross(ex, ey)
        return cls(np.ascontiguousarray(np.stack([ex, ey, ez], axis=1)), None, single)

    @classmethod
    def cylindrical(cls, points, origin=(0.0, 0.0, 0.0), axis=(0.0, 0.0, 1.0), *,
                    on_axis="raise"):
        """Cylindrical axes at each point (N, 3) about the axis through ``origin`` along ``axis``:
        new X radial, new Y tangential (axial x radial), new Z axial; computed in double. A point
        on the axis has no radial direction: ValueError naming it, or (``on_axis="nan"``) a
        table of NaNs, so that its tensors come out NaN."""
        return cls._frames(False, points, origin, axis, on_axis)

    @classmethod
    def spherical(cls, points, center=(0.0, 0.0, 0.0), axis=(0.0, 0.0, 1.0), *, on_axis="raise"):
        """Spherical axes at each point (N, 3) about ``center`` with polar axis ``axis``: new X
        radial e_r, new Y meridional e_theta (growing polar angle), new Z azimuthal e_phi; a
        right-handed frame. A point at the centre or on the polar axis has no azimuthal
        direction: ValueError, or NaN tables with ``on_axis="nan"``."""
        return cls._frames(True, points, center, axis, on_axis)

    @classmethod
    def _frames(cls, spherical, points, origin, axis, on_axis):
        if on_axis not in ("raise", "nan"):
            raise ValueError(f"on_axis: expected 'raise' or 'nan', found {on_axis!r}")
        points, single = _stack(points, (3,), "points")
        points = np.ascontiguousarray(points, dtype=np.float64)
        origin = _point(origin, "center" if spherical else "origin")
        axis = _point(axis, "axis")
        length = float(np.linalg.norm(axis))
        if not (length > 0 and np.isfinite(length)):
            raise ValueError(f"axis: expected a direction (finite, non-zero), found {axis}")
        tables = np.empty((points.shape[0], 9))
        function = _utf.spherical_tables if spherical else _utf.cylindrical_tables
        missing = function(points, origin, axis, tables)
        tables = tables.reshape(-1, 3, 3)
        if missing and on_axis == "raise":
            index = int(np.argmax(np.isnan(tables[:, 0, 0])))
            where = "at the centre or on the polar axis" if spherical else "on the axis"
            raise ValueError(f"points: point {index} {points[index].tolist()} lies {where}: it "
                             f"has no frame ({missing} such points; on_axis='nan' gives them NaN)")
        return cls(tables, None, single)

    @classmethod
    def identity(cls, n=None):
        """The identity rotation, or ``n`` of them."""
        count = 1 if n is None else int(n)
        if count < 0:
            raise ValueError(f"n: expected 0 or more, found {n}")
        quat = np.zeros((count, 4))
        quat[:, 3] = 1.0
        return cls(_tables_of_quaternions(quat), quat, n is None)

    # ---------------------------------------------------------------- representations

    def as_quat(self):
        """Quaternions (x, y, z, w): those given to from_quat (normalised) or from_angles, or
        else computed from the tables with w >= 0. Shape (4,) or (N, 4)."""
        quat = self._quats if self._quats is not None else _quaternions_of_tables(self._tables)
        return self._shaped(quat.copy())

    def as_matrix(self):
        """Rotation matrices, scipy's meaning (columns the new axes): (3, 3) or (N, 3, 3)."""
        return self._shaped(np.ascontiguousarray(np.swapaxes(self._tables, -1, -2)))

    def as_cosines(self):
        """Direction-cosine tables (rows the new axes): (3, 3) or (N, 3, 3)."""
        return self._shaped(self._tables.copy())

    def as_rotvec(self, degrees=False):
        """Rotation vectors: the unit axis times the angle in [0, pi]. Shape (3,) or (N, 3)."""
        quat = self.as_quat().reshape(-1, 4)
        quat = np.where(quat[:, 3:] < 0, -quat, quat)
        sine = np.linalg.norm(quat[:, :3], axis=-1)
        angle = 2.0 * np.arctan2(sine, quat[:, 3])
        small = angle <= 1e-3
        # angle / sin(angle / 2), by its series where the quotient loses accuracy.
        scale = np.where(small, 2.0 + angle**2 / 12.0 + 7.0 * angle**4 / 2880.0,
                         angle / np.where(small, 1.0, np.sin(angle / 2.0)))
        rotvec = scale[:, None] * quat[:, :3]
        if degrees:
            rotvec = np.rad2deg(rotvec)
        return self._shaped(rotvec)

    def inv(self):
        """The inverse rotations (the transposed tables, the conjugate quaternions)."""
        tables = np.ascontiguousarray(np.swapaxes(self._tables, -1, -2))
        quat = None
        if self._quats is not None:
            quat = self._quats * np.array([-1.0, -1.0, -1.0, 1.0])
        return Rotation(tables, quat, self._single)

    def __mul__(self, other):
        """``self * other``: other applied first, then self (scipy's order; the library's
        self (x) other). One with N, N with one, or N with N."""
        if not isinstance(other, Rotation):
            return NotImplemented
        if len(self._tables) != len(other._tables) and 1 not in (len(self._tables),
                                                                 len(other._tables)):
            raise ValueError(f"other: expected 1 rotation or {len(self._tables)}, found "
                             f"{len(other._tables)}")
        # The table of p (x) q is A_q A_p: q's axes first, then p's relative to them.
        tables = np.ascontiguousarray(np.matmul(other._tables, self._tables))
        quat = None
        if self._quats is not None and other._quats is not None:
            quat = _hamilton(self._quats, other._quats)
        return Rotation(tables, quat, self._single and other._single)

    def __len__(self):
        if self._single:
            raise TypeError("a single rotation has no len()")
        return len(self._tables)

    def __getitem__(self, index):
        if self._single:
            raise TypeError("a single rotation cannot be indexed")
        tables = self._tables[index]
        quat = None if self._quats is None else self._quats[index]
        single = tables.ndim == 2
        if single:
            tables = tables[None]
            quat = None if quat is None else quat[None]
        return Rotation(np.ascontiguousarray(tables),
                        None if quat is None else np.ascontiguousarray(quat), single)

    def _shaped(self, stack):
        """A result per rotation: the stack, or its one element for a single rotation."""
        return stack[0] if self._single else stack

    @property
    def single(self):
        """Whether this is one rotation rather than a stack."""
        return self._single

    def __repr__(self):
        count = "1 rotation" if self._single else f"{len(self._tables)} rotations"
        return f"<utf.Rotation: {count}>"

    # ---------------------------------------------------------------- vectors and tensors

    def apply(self, vectors, inverse=False):
        """Rotated vectors, scipy's meaning: R v (the components on the old axes of a vector
        given on the new ones, A^T v), or R^T v = A v with ``inverse``. Shape (3,) or (N, 3)."""
        return self._vectors(vectors, not inverse, "vectors")

    def vectors_to_local(self, v):
        """The components of vectors on the new axes, A v: shape (..., 3)."""
        return self._vectors(v, False, "v")

    def vectors_to_global(self, v):
        """Vectors given on the new axes, on the old (global) ones: A^T v. Shape (..., 3)."""
        return self._vectors(v, True, "v")

    def to_local(self, S, *, layout="full", order="utf", shear="tensor", out=None):
        """The tensors' components on the new axes, A S A^T, in the input's layout, order and
        shear convention: the value types' component kernels, bit for bit. One rotation for every
        tensor, or one per tensor (in C order of the leading axes)."""
        return self._tensors(S, True, layout, order, shear, out)

    def to_global(self, S, *, layout="full", order="utf", shear="tensor", out=None):
        """Tensors given on the new axes, on the old ones, A^T S A (utf.values.Tensor.transform's
        sense), bit for bit."""
        return self._tensors(S, False, layout, order, shear, out)

    def _vectors(self, v, to_global, name):
        if _dask.is_dask_array(v):
            return self._lazy(v, 1, (3,),
                              lambda rotation, block: rotation._vectors(block, to_global, name))
        v = _arrays.real_array(v, name)
        if v.ndim < 1 or v.shape[-1] != 3:
            raise ValueError(f"{name}: expected shape (..., 3), found {v.shape}")
        rows = np.ascontiguousarray(v.reshape(-1, 3))
        tables = self._tables_for(rows.shape[0], v.shape[:-1], v.dtype, name, one_item=True)
        if tables.shape[0] > 1 and rows.shape[0] == 1:
            rows = np.ascontiguousarray(np.broadcast_to(rows, (tables.shape[0], 3)))
        result = np.empty(rows.shape, dtype=v.dtype)
        function = _utf.vectors_to_old_axes if to_global else _utf.vectors_to_new_axes
        function(rows, tables, result)
        leading = v.shape[:-1] if rows.shape[0] == int(np.prod(v.shape[:-1])) else (len(self),)
        return result.reshape(leading + (3,))

    def _tensors(self, S, to_local, layout, order, shear, out):
        if _dask.is_dask_array(S):
            if out is not None:
                raise ValueError("out: not accepted with a Dask array (the result is lazy)")
            spec = _arrays.TensorSpec(S.shape, layout, order, shear)
            return self._lazy(S, spec.axes, (spec.values,) if spec.axes == 1 else (3, 3),
                              lambda rotation, block: rotation._tensors(
                                  block, to_local, layout, order, shear, None))
        S = _arrays.real_array(S, "S")
        spec = _arrays.TensorSpec(S.shape, layout, order, shear)
        rows = _arrays.tensor_rows(S, spec)
        tables = self._tables_for(spec.count, spec.leading, rows.dtype, "S", one_item=False)
        if spec.layout != 9:
            _check_keeps_plane(tables, spec.layout)
        result = _arrays.output(out, S.shape, rows.dtype, (S,))
        function = _utf.tensors_to_new_axes if to_local else _utf.tensors_to_old_axes
        function(rows, spec.layout, spec.order, spec.engineering, tables,
                 _arrays.rows_of(result, spec.values))
        return result

    def _tables_for(self, count, leading, dtype, name, one_item):
        """The (N, 9) tables in `dtype` for `count` items of leading shape `leading`: one rotation
        for every item, or one per item; with `one_item`, a single item meets every rotation."""
        n = len(self._tables)
        if not self._single and n != count and not (one_item and count == 1):
            raise ValueError(f"{name}: expected {n} items (one per rotation) or one rotation for "
                             f"all, found {count} (leading shape {leading})")
        if dtype == np.float32 and self._quats is not None:
            tables = np.empty((n, 9), dtype=np.float32)
            _utf.tables_from_quaternions(np.ascontiguousarray(self._quats, dtype=np.float32),
                                         tables)
            return tables
        return np.ascontiguousarray(self._tables.reshape(n, 9), dtype=dtype)

    def _lazy(self, array, axes, tail, function):
        """`function(rotation, block)` over the blocks of a Dask array: one rotation for all, or
        the rotations cut to match the blocks' leading chunks."""
        dtype = _arrays.compute_dtype(array.dtype, "S")
        if self._single:
            rotation = self
            return _dask.map_items(lambda block: function(rotation, block), array, axes, tail,
                                   dtype)
        import dask.array as da

        array = _dask.whole_items(array, axes)
        lead = array.ndim - axes
        count = int(np.prod(array.shape[:lead]))
        if count != len(self._tables):
            raise ValueError(f"S: expected {len(self._tables)} items (one per rotation), found "
                             f"{count} (leading shape {array.shape[:lead]})")
        packed = np.concatenate([self._tables.reshape(-1, 9),
                                 self._quats if self._quats is not None
                                 else np.full((count, 4), np.nan)], axis=1)
        packed = da.from_array(packed.reshape(array.shape[:lead] + (13,)),
                               chunks=array.chunks[:lead] + ((13,),))
        has_quats = self._quats is not None

        def per_block(block, rotations):
            rotations = rotations.reshape(-1, 13)
            tables = np.ascontiguousarray(rotations[:, :9].reshape(-1, 3, 3))
            quat = np.ascontiguousarray(rotations[:, 9:]) if has_quats else None
            return function(Rotation(tables, quat, False), block)

        if axes == 2:
            packed = packed[..., None, :]
        return _dask.map_items(per_block, array, axes, tail, dtype, packed)


# -------------------------------------------------------------------- helpers


def _stack(value, shape, name):
    """`value` as a stack (N,) + shape of float64-convertible reals, and whether it was one."""
    array = _arrays.real_array(value, name)
    if array.shape == shape:
        return array[None], True
    if array.ndim == len(shape) + 1 and array.shape[1:] == shape:
        return array, False
    expected = ", ".join(str(n) for n in shape)
    raise ValueError(f"{name}: expected shape ({expected}) or (N, {expected}), found "
                     f"{array.shape}")


def _point(value, name):
    array = _arrays.real_array(value, name).astype(np.float64)
    if array.shape != (3,):
        raise ValueError(f"{name}: expected 3 coordinates, found shape {array.shape}")
    return [float(x) for x in array]


def _refuse(bad, name, what, values):
    if bad.any():
        index = int(np.argmax(bad))
        raise ValueError(f"{name}: {name} {index} {values[index].tolist()} {what}")


def _tables_of_quaternions(quat):
    """The library's float64 tables of (N, 4) quaternions, (N, 3, 3)."""
    tables = np.empty((quat.shape[0], 9))
    _utf.tables_from_quaternions(np.ascontiguousarray(quat, dtype=np.float64), tables)
    return tables.reshape(-1, 3, 3)


def _check_rotation(tables, atol, name):
    """Refuses tables that are not proper rotations to within atol."""
    if not np.isfinite(tables).all():
        index = int(np.argmax(~np.isfinite(tables).all(axis=(1, 2))))
        raise ValueError(f"{name}: {name} {index} has a non-finite entry")
    identity = np.eye(3)
    error = np.abs(np.matmul(tables, np.swapaxes(tables, -1, -2)) - identity).max(axis=(1, 2))
    determinant = np.linalg.det(tables)
    bad = (error > atol) | (np.abs(determinant - 1.0) > atol)
    if bad.any():
        index = int(np.argmax(bad))
        raise ValueError(f"{name}: {name} {index} is not a rotation (|M M^T - I| = "
                         f"{error[index]:.3g}, det = {determinant[index]:.6g}; atol={atol:g})")


def _check_keeps_plane(tables, layout):
    """A planar or surface tensor stays in its plane only under a turn about axis 3: the tables'
    third row must be +-e3 (a NaN table passes and gives NaN)."""
    third = tables.reshape(-1, 3, 3)[:, 2, :].astype(np.float64)
    tilt = np.abs(third[:, 0]) + np.abs(third[:, 1]) + np.abs(np.abs(third[:, 2]) - 1.0)
    bad = tilt > 1e-6
    if bad.any():
        index = int(np.argmax(bad))
        raise ValueError(f"rotation {index} tilts the 1-2 plane (its third row is "
                         f"{third[index].tolist()}): the {_arrays.LAYOUT_NAMES[layout]} layout "
                         f"turns only about axis 3")


def _hamilton(p, q):
    """The Hamilton products p (x) q of (x, y, z, w) quaternions, broadcast over N."""
    pv, pw = p[:, :3], p[:, 3:]
    qv, qw = q[:, :3], q[:, 3:]
    vector = pw * qv + qw * pv + np.cross(pv, qv)
    scalar = pw * qw - np.sum(pv * qv, axis=1, keepdims=True)
    return np.concatenate([vector, scalar], axis=1)


def _quaternions_of_tables(tables):
    """Unit quaternions (x, y, z, w), w >= 0, of (N, 3, 3) direction-cosine tables, by the
    largest of the four candidate pivots (the most accurate square root)."""
    m = np.swapaxes(tables, -1, -2)  # the rotation matrices
    t = np.stack([m[:, 0, 0], m[:, 1, 1], m[:, 2, 2], np.trace(m, axis1=1, axis2=2)], axis=1)
    pivot = np.argmax(t, axis=1)
    quat = np.empty((len(m), 4))
    for k in range(3):
        rows = pivot == k
        i, j, l = k, (k + 1) % 3, (k + 2) % 3
        mm = m[rows]
        q = np.empty((len(mm), 4))
        q[:, i] = 1.0 + 2.0 * mm[:, i, i] - t[rows, 3]
        q[:, j] = mm[:, j, i] + mm[:, i, j]
        q[:, l] = mm[:, l, i] + mm[:, i, l]
        q[:, 3] = mm[:, l, j] - mm[:, j, l]
        quat[rows] = q
    rows = pivot == 3
    mm = m[rows]
    quat[rows, 0] = mm[:, 2, 1] - mm[:, 1, 2]
    quat[rows, 1] = mm[:, 0, 2] - mm[:, 2, 0]
    quat[rows, 2] = mm[:, 1, 0] - mm[:, 0, 1]
    quat[rows, 3] = 1.0 + t[rows, 3]
    quat /= np.linalg.norm(quat, axis=1)[:, None]
    return np.where(quat[:, 3:] < 0, -quat, quat)
