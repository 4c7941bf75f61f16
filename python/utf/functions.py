"""The array functions: questions about many tensors at once, on the batch engine.

Every function takes an array ``S`` whose last axis holds one tensor's components (any leading
shape ``(..., n)``) and returns arrays of the leading shape. The keywords are the same on every
function:

- ``layout``: ``"full"`` (9, six components), ``"planar3d"`` (10) and ``"planar2d"`` (12)
  (S11, S22, S33, S12), ``"surface3d"`` (11) and ``"surface2d"`` (13) (S11, S22, S12); the
  numbers 9 to 13 are accepted too. A planar layout is read as the 3D tensor with S13 = S23 = 0,
  a surface layout also with S33 = 0.
- ``order`` (full layout only): ``"utf"`` = S11, S22, S33, S12, S13, S23; ``"vtk"`` = XX, YY,
  ZZ, XY, YZ, XZ; ``"voigt"`` = 11, 22, 33, 23, 13, 12. For the full layout an array of 3 x 3
  matrices ``(..., 3, 3)`` is accepted too; its upper triangle is read.
- ``shear``: ``"tensor"`` (the shear slots hold S12, S13, S23) or ``"engineering"`` (they hold
  2 S12, 2 S13, 2 S23, halved exactly on reading).
- ``out``: an optional C-contiguous array of the result's shape and dtype to write into.

Precision: float32 input is computed in float32, float64 in float64, integers and the other real
types become float64. The input is never modified; any strides work. A tensor with a NaN or
infinite component gives NaN (or the IEEE result stated) for that tensor only. A Dask array is
accepted wherever an array is, and gives a lazy Dask array (see utf._dask).
"""

import numpy as np

from . import _arrays, _dask, _utf


def _query(name, width, S, layout, order, shear, out):
    """Runs the engine's query `name` (`width` numbers per tensor) over the tensors `S`."""
    tail = () if width == 1 else (width,)
    if _dask.is_dask_array(S):
        return _lazy(S, layout, order, shear, out, tail,
                     lambda block: _query(name, width, block, layout, order, shear, None))
    S = _arrays.real_array(S, "S")
    spec = _arrays.TensorSpec(S.shape, layout, order, shear)
    rows = _arrays.tensor_rows(S, spec)
    result = _arrays.output(out, spec.leading + tail, rows.dtype, (S,))
    getattr(_utf, name)(rows, spec.layout, spec.order, spec.engineering,
                        _arrays.rows_of(result, width))
    return _scalar_or_array(result, out)


def _lazy(S, layout, order, shear, out, tail, function):
    """`function` mapped over the blocks of the Dask array `S`, each giving `tail` per tensor."""
    if out is not None:
        raise ValueError("out: not accepted with a Dask array (the result is a lazy Dask array)")
    spec = _arrays.TensorSpec(S.shape, layout, order, shear)
    dtype = _arrays.compute_dtype(S.dtype, "S")
    return _dask.map_items(function, S, spec.axes, tail, dtype)


def _scalar_or_array(result, out):
    """A single tensor's scalar result as a numpy scalar (as numpy's ufuncs give), else the
    array."""
    if out is None and result.ndim == 0:
        return result[()]
    return result


def mises(S, *, layout="full", order="utf", shear="tensor", out=None):
    """Mises equivalent, sqrt(3 J2): the value type's formula and rounding (utf_Tensor.mises), bit
    for bit. Components beyond about 1e154 (float32: a deviator beyond about 1.8e19) overflow to
    inf. Shape (...)."""
    return _query("mises", 1, S, layout, order, shear, out)


def pressure(S, *, layout="full", order="utf", shear="tensor", out=None):
    """Equivalent pressure, -(S11 + S22 + S33) / 3 (the value type's, bit for bit). Shape
    (...)."""
    return _query("pressure", 1, S, layout, order, shear, out)


def tresca(S, *, layout="full", order="utf", shear="tensor", out=None):
    """Tresca equivalent, P1 - P3, from the engine's principal values. Shape (...)."""
    return _query("tresca", 1, S, layout, order, shear, out)


def inv3(S, *, layout="full", order="utf", shear="tensor", out=None):
    """Third deviatoric invariant as a signed equivalent, the real cube root of 13.5 det(s) (the
    value type's, bit for bit). Shape (...)."""
    return _query("inv3", 1, S, layout, order, shear, out)


def max_shear(S, *, layout="full", order="utf", shear="tensor", out=None):
    """Largest shear stress, (P1 - P3) / 2. Shape (...)."""
    return _query("max_shear", 1, S, layout, order, shear, out)


def signed_mises(S, *, layout="full", order="utf", shear="tensor", out=None):
    """Mises, negative where the pressure is positive (a compressive mean stress); +Mises at zero
    pressure. Shape (...)."""
    return _query("signed_mises", 1, S, layout, order, shear, out)


def worst_principal(S, *, layout="full", order="utf", shear="tensor", out=None):
    """The principal value of largest magnitude: P1 when |P1| >= |P3|, else P3. Shape (...)."""
    return _query("worst_principal", 1, S, layout, order, shear, out)


def triaxiality(S, *, layout="full", order="utf", shear="tensor", out=None):
    """Stress triaxiality, -pressure / Mises (IEEE: +-inf where Mises is 0, NaN for a zero
    tensor). Shape (...)."""
    return _query("triaxiality", 1, S, layout, order, shear, out)


def lode_angle(S, *, layout="full", order="utf", shear="tensor", out=None):
    """Lode angle t in [-pi/6, pi/6] with sin(3 t) = (3 sqrt(3) / 2) J3 / J2^(3/2): +pi/6 for
    uniaxial tension, 0 for pure shear, -pi/6 for uniaxial compression; NaN where J2 = 0. Shape
    (...)."""
    return _query("lode_angle", 1, S, layout, order, shear, out)


def invariants(S, *, layout="full", order="utf", shear="tensor", out=None):
    """The invariants I1, I2, I3, J2, J3 (I1 the trace, I2 the sum of the principal minors, I3 the
    determinant, J2 = s:s / 2 and J3 = det s of the deviator s). Shape (..., 5)."""
    return _query("invariants", 5, S, layout, order, shear, out)


def principal_values(S, *, layout="full", order="utf", shear="tensor", out=None):
    """Principal values P1 >= P2 >= P3 by the engine's direct method, within 16 u ||S|| of the
    exact ones (u the unit roundoff of the dtype), near and at repeated values too. Shape
    (..., 3)."""
    return _query("principal_values", 3, S, layout, order, shear, out)


def inplane_principal_values(S, *, layout="full", order="utf", shear="tensor", out=None):
    """The principal values of the 1-2 block (S11, S22, S12), larger first, for every layout.
    Shape (..., 2)."""
    return _query("inplane_principal_values", 2, S, layout, order, shear, out)


def principal_directions(S, *, layout="full", order="utf", shear="tensor"):
    """Principal values and directions: ``(values, directions)`` of shapes (..., 3) and
    (..., 3, 3). The rows of ``directions[i]`` are the unit principal directions in the order of
    the values (descending), a right-handed frame; the first two have their component of largest
    magnitude positive. Within 16 u ||S|| (values and residuals) and 8 u (orthogonality)."""
    if _dask.is_dask_array(S):
        both = _lazy(S, layout, order, shear, None, (12,),
                     lambda block: _stacked_directions(block, layout, order, shear))
        leading = both.shape[:-1]
        return both[..., :3], both[..., 3:].reshape(leading + (3, 3))
    S = _arrays.real_array(S, "S")
    spec = _arrays.TensorSpec(S.shape, layout, order, shear)
    rows = _arrays.tensor_rows(S, spec)
    values = np.empty(spec.leading + (3,), dtype=rows.dtype)
    directions = np.empty(spec.leading + (3, 3), dtype=rows.dtype)
    _utf.principal_directions(rows, spec.layout, spec.order, spec.engineering,
                              values.reshape(-1, 3), directions.reshape(-1, 9))
    return values, directions


def _stacked_directions(S, layout, order, shear):
    """Values and directions of one block side by side, 3 + 9 numbers per tensor."""
    values, directions = principal_directions(S, layout=layout, order=order, shear=shear)
    leading = values.shape[:-1]
    return np.concatenate([values, directions.reshape(leading + (9,))], axis=-1)


# The full layout's (S11, S22, S33, S12, S13, S23) positions in a 3 x 3 matrix, and the matrix
# entries of each layout's components, in the library's order.
_FULL_ENTRIES = [(0, 0), (1, 1), (2, 2), (0, 1), (0, 2), (1, 2)]
_LAYOUT_ENTRIES = {
    9: _FULL_ENTRIES,
    10: [(0, 0), (1, 1), (2, 2), (0, 1)],
    12: [(0, 0), (1, 1), (2, 2), (0, 1)],
    11: [(0, 0), (1, 1), (0, 1)],
    13: [(0, 0), (1, 1), (0, 1)],
}
# Positions of the library's components in each order of the full layout.
_ORDER_POSITIONS = {
    "utf": [0, 1, 2, 3, 4, 5],
    "vtk": [0, 1, 2, 3, 5, 4],
    "voigt": [0, 1, 2, 5, 4, 3],
}


def _entries(layout, order):
    """The matrix entry (i, j) of each stored component, in the stored order."""
    entries = _LAYOUT_ENTRIES[layout]
    if layout != 9:
        return entries
    stored = [None] * 6
    for library_index, position in enumerate(_ORDER_POSITIONS[order]):
        stored[position] = entries[library_index]
    return stored


def to_matrix(S, *, layout="full", order="utf", shear="tensor"):
    """The 3 x 3 symmetric matrices of the tensors: shape (..., 3, 3). A planar layout has
    S13 = S23 = 0, a surface layout also S33 = 0; engineering shears are halved (exactly)."""
    if _dask.is_dask_array(S):
        return _lazy(S, layout, order, shear, None, (3, 3),
                     lambda block: to_matrix(block, layout=layout, order=order, shear=shear))
    S = _arrays.real_array(S, "S")
    spec = _arrays.TensorSpec(S.shape, layout, order, shear)
    if spec.order == _arrays.MATRIX:
        raise ValueError(f"S: expected components, found 3 x 3 matrices of shape {S.shape}")
    matrices = np.zeros(spec.leading + (3, 3), dtype=S.dtype)
    half = S.dtype.type(0.5)
    for k, (i, j) in enumerate(_entries(spec.layout, order)):
        value = S[..., k]
        if i != j and spec.engineering:
            value = value * half
        matrices[..., i, j] = value
        matrices[..., j, i] = value
    return matrices


def from_matrix(M, *, layout="full", order="utf", shear="tensor", rtol=1e-12):
    """The components of symmetric 3 x 3 matrices ``M`` (..., 3, 3) in ``layout`` and ``order``:
    shape (..., n). Engineering shears are doubled (exactly). The upper triangle is read; a
    matrix whose lower triangle differs from it by more than ``rtol`` times its largest entry, or
    whose components outside the layout (S13, S23 for a planar layout, also S33 for a surface one)
    are not zero to that tolerance, is refused with ValueError. NaN entries pass through."""
    if _dask.is_dask_array(M):
        code = _arrays.layout_code(layout)
        _matrix_shape(M.shape)
        return _lazy(M, 9, "utf", "tensor", None, (_arrays.VALUES[code],),
                     lambda block: from_matrix(block, layout=layout, order=order, shear=shear,
                                               rtol=rtol))
    M = _arrays.real_array(M, "M")
    _matrix_shape(M.shape)
    code = _arrays.layout_code(layout)
    _arrays.order_code(order, code)
    engineering = _arrays.engineering_flag(shear)
    entries = _entries(code, order)
    _check_matrices(M, code, entries, rtol)
    components = np.empty(M.shape[:-2] + (len(entries),), dtype=M.dtype)
    two = M.dtype.type(2)
    for k, (i, j) in enumerate(entries):
        value = M[..., i, j]
        if i != j and engineering:
            value = value * two
        components[..., k] = value
    return components


def _matrix_shape(shape):
    if len(shape) < 2 or tuple(shape[-2:]) != (3, 3):
        raise ValueError(f"M: expected shape (..., 3, 3), found {tuple(shape)}")


def _check_matrices(M, layout, entries, rtol):
    """Refuses asymmetric matrices and components outside the layout (see from_matrix)."""
    with np.errstate(invalid="ignore"):
        scale = np.max(np.abs(M), axis=(-2, -1), initial=0.0)
        limit = rtol * scale
        asymmetry = np.max(np.abs(M - np.swapaxes(M, -1, -2)), axis=(-2, -1), initial=0.0)
        bad = asymmetry > limit
        if bad.any():
            index = np.unravel_index(np.argmax(bad), bad.shape)
            raise ValueError(f"M: matrix {index if index else ''} is not symmetric: its lower "
                             f"triangle differs from its upper one by {asymmetry[index]:.3g}, more "
                             f"than rtol={rtol:g} times its largest entry")
        kept = set(entries) | {(j, i) for i, j in entries}
        for i in range(3):
            for j in range(i, 3):
                if (i, j) in kept:
                    continue
                outside = np.abs(M[..., i, j]) > limit
                if outside.any():
                    index = np.unravel_index(np.argmax(outside), outside.shape)
                    raise ValueError(
                        f"M: matrix {index if index else ''} has M[{i}, {j}] = "
                        f"{M[index + (i, j)]:.6g}, which the {_arrays.LAYOUT_NAMES[layout]} "
                        f"layout does not hold (expected 0)")


def set_thread_count(count):
    """Sets the engine's thread count for the following calls: 1 runs on the calling thread
    alone, 0 (the default) uses every core the process may run on."""
    if isinstance(count, bool) or not isinstance(count, (int, np.integer)):
        raise TypeError(f"count: expected an integer, found {type(count).__name__}")
    if count < 0:
        raise ValueError(f"count: expected 0 or more, found {count}")
    _utf.set_thread_count(int(count))


def thread_count():
    """The number of threads a call uses now."""
    return _utf.thread_count()


def simd_target():
    """The SIMD target the engine's kernels run on ("AVX3", "AVX2", "SSE4", ...)."""
    return _utf.simd_target()
