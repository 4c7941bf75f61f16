"""The array functions (utf.functions): results against the value types (bit for bit) and
long-double references, component orders, layouts, shears, dtypes, shapes, and the error
contracts."""

import math

import numpy as np
import pytest
from hypothesis import given
from hypothesis import strategies as st
from hypothesis.extra.numpy import arrays

import utf
import utf.values
from conftest import (in_order, jacobi_long, matrices_long, random_tensors,
                      repeated_value_tensors)

LAYOUT_VALUES = {"full": 6, "planar3d": 4, "surface3d": 3, "planar2d": 4, "surface2d": 3}
LAYOUT_CODES = {"full": 9, "planar3d": 10, "surface3d": 11, "planar2d": 12, "surface2d": 13}
SCALARS = ["mises", "pressure", "tresca", "inv3", "max_shear", "signed_mises",
           "worst_principal", "triaxiality", "lode_angle"]
U = {np.float64: 2.0**-53, np.float32: 2.0**-24}


def as_full(S, layout):
    """Tensors of a planar or surface layout as full tensors in the library's order."""
    S = np.asarray(S)
    zeros = np.zeros(S.shape[:-1], dtype=S.dtype)
    if LAYOUT_VALUES[layout] == 6:
        return S
    if LAYOUT_VALUES[layout] == 4:
        return np.stack([S[..., 0], S[..., 1], S[..., 2], S[..., 3], zeros, zeros], -1)
    return np.stack([S[..., 0], S[..., 1], zeros, S[..., 2], zeros, zeros], -1)


# ------------------------------------------------------------------ the value types, bit for bit


@pytest.mark.parametrize("dtype", [np.float64, np.float32])
@pytest.mark.parametrize("layout", list(LAYOUT_VALUES))
@pytest.mark.parametrize("name", ["mises", "pressure", "inv3"])
def test_value_type_formulas_bit_for_bit(name, layout, dtype):
    rng = np.random.default_rng(7)
    S = rng.uniform(-1e3, 1e3, size=(64, LAYOUT_VALUES[layout])).astype(dtype)
    S[::7] *= 1e-12  # tiny tensors too
    for shear in ("tensor", "engineering"):
        got = getattr(utf, name)(S, layout=layout, shear=shear)
        assert got.dtype == dtype
        for i, components in enumerate(S):
            value = utf.values.Tensor(components, LAYOUT_CODES[layout],
                                      engineering_shear=shear == "engineering", dtype=dtype)
            expected = getattr(value, name)()
            assert np.array_equal(got[i], expected), (i, got[i], expected)


# ------------------------------------------------------------------ long-double references


@pytest.mark.parametrize("dtype", [np.float64, np.float32])
def test_principal_values_within_the_published_bound(dtype):
    S = np.concatenate([random_tensors(500, 1), repeated_value_tensors(500, 2)]).astype(dtype)
    values = utf.principal_values(S)
    exact, _ = jacobi_long(S.astype(np.float64))
    norm = np.max(np.abs(exact), axis=1)
    error = np.max(np.abs(values.astype(np.longdouble) - exact), axis=1)
    assert np.all(error <= 16 * U[dtype] * norm)
    assert np.all(values[:, 0] >= values[:, 1]) and np.all(values[:, 1] >= values[:, 2])


@pytest.mark.parametrize("dtype", [np.float64, np.float32])
def test_principal_directions_residual_orthogonality_and_handedness(dtype):
    S = np.concatenate([random_tensors(300, 3), repeated_value_tensors(300, 4)]).astype(dtype)
    values, directions = utf.principal_directions(S)
    assert values.shape == (600, 3) and directions.shape == (600, 3, 3)
    assert np.array_equal(values, utf.principal_values(S))
    M = matrices_long(S.astype(np.float64))
    V = directions.astype(np.longdouble)
    norm = np.max(np.abs(jacobi_long(S.astype(np.float64))[0]), axis=1)
    residual = M @ np.swapaxes(V, 1, 2) - np.swapaxes(V, 1, 2) * values[:, None, :]
    assert np.all(np.max(np.linalg.norm(residual.astype(np.float64), axis=1), axis=1)
                  <= 16 * U[dtype] * norm)
    gram = (V @ np.swapaxes(V, 1, 2)).astype(np.float64) - np.eye(3)
    assert np.all(np.abs(gram).max(axis=(1, 2)) <= 8 * U[dtype])
    assert np.all(np.abs(np.linalg.det(directions.astype(np.float64)) - 1) <= 8 * U[dtype])
    # The sign rule: the component of largest magnitude of rows 1 and 2 is positive.
    for row in (0, 1):
        d = directions[:, row, :]
        assert np.all(d[np.arange(len(d)), np.argmax(np.abs(d), axis=1)] > 0)


def test_invariants_against_long_double():
    S = random_tensors(200, 5)
    got = utf.invariants(S)
    M = matrices_long(S)
    I1 = np.trace(M, axis1=1, axis2=2)
    I2 = (I1 * I1 - np.trace(M @ M, axis1=1, axis2=2)) / 2
    I3 = M[:, 0, 0] * (M[:, 1, 1] * M[:, 2, 2] - M[:, 1, 2] ** 2) \
        - M[:, 0, 1] * (M[:, 0, 1] * M[:, 2, 2] - M[:, 1, 2] * M[:, 0, 2]) \
        + M[:, 0, 2] * (M[:, 0, 1] * M[:, 1, 2] - M[:, 1, 1] * M[:, 0, 2])
    s = M - (I1 / 3)[:, None, None] * np.eye(3, dtype=np.longdouble)
    J2 = np.sum(s * s, axis=(1, 2)) / 2
    J3 = s[:, 0, 0] * (s[:, 1, 1] * s[:, 2, 2] - s[:, 1, 2] ** 2) \
        - s[:, 0, 1] * (s[:, 0, 1] * s[:, 2, 2] - s[:, 1, 2] * s[:, 0, 2]) \
        + s[:, 0, 2] * (s[:, 0, 1] * s[:, 1, 2] - s[:, 1, 1] * s[:, 0, 2])
    scale = np.max(np.abs(S), axis=1)
    for k, (reference, power) in enumerate([(I1, 1), (I2, 2), (I3, 3), (J2, 2), (J3, 3)]):
        error = np.abs(got[:, k] - reference.astype(np.float64))
        assert np.all(error <= 64 * 2.0**-53 * scale**power), k


def test_derived_scalars_by_their_definitions():
    S = random_tensors(300, 6)
    P = jacobi_long(S)[0].astype(np.float64)
    tol = 64 * 2.0**-53 * np.max(np.abs(P), axis=1)
    assert np.all(np.abs(utf.tresca(S) - (P[:, 0] - P[:, 2])) <= tol)
    assert np.all(np.abs(utf.max_shear(S) - (P[:, 0] - P[:, 2]) / 2) <= tol)
    worst = np.where(np.abs(P[:, 0]) >= np.abs(P[:, 2]), P[:, 0], P[:, 2])
    assert np.all(np.abs(utf.worst_principal(S) - worst) <= tol)
    mises, pressure = utf.mises(S), utf.pressure(S)
    assert np.array_equal(utf.signed_mises(S), np.where(pressure > 0, -mises, mises))
    assert np.array_equal(utf.triaxiality(S), -pressure / mises)


def test_hand_worked_cases():
    # Uniaxial tension 100: Mises 100, pressure -100/3, Lode angle +pi/6, triaxiality 1/3.
    uniaxial = np.array([100.0, 0, 0, 0, 0, 0])
    assert utf.mises(uniaxial) == 100.0
    assert utf.pressure(uniaxial) == -100.0 / 3.0
    assert utf.lode_angle(uniaxial) == pytest.approx(math.pi / 6, abs=1e-15)
    assert utf.triaxiality(uniaxial) == pytest.approx(1 / 3, rel=1e-15)
    assert np.array_equal(utf.principal_values(uniaxial), [100.0, 0.0, 0.0])
    # Pure shear S12 = 50: principal values 50, 0, -50; Mises 50 sqrt(3); Lode angle 0.
    shear = np.array([0.0, 0, 0, 50, 0, 0])
    assert np.allclose(utf.principal_values(shear), [50.0, 0.0, -50.0], atol=1e-13, rtol=0)
    assert utf.mises(shear) == pytest.approx(50 * math.sqrt(3), rel=1e-15)
    assert utf.lode_angle(shear) == pytest.approx(0.0, abs=1e-15)
    values, directions = utf.principal_directions(shear)
    r = math.sqrt(0.5)
    assert np.allclose(directions, [[r, r, 0], [0, 0, 1], [r, -r, 0]], atol=1e-15)
    # Compression: Lode angle -pi/6, signed Mises negative; hydrostatic: Lode angle NaN.
    assert utf.lode_angle(-uniaxial) == pytest.approx(-math.pi / 6, abs=1e-15)
    assert utf.signed_mises(-uniaxial) == -100.0
    assert math.isnan(utf.lode_angle(np.array([5.0, 5, 5, 0, 0, 0])))
    # A zero tensor: triaxiality NaN; a hydrostatic one: +-inf.
    assert math.isnan(utf.triaxiality(np.zeros(6)))
    assert utf.triaxiality(np.array([-5.0, -5, -5, 0, 0, 0])) == -math.inf
    # The in-plane pair of a full tensor is its 1-2 block's.
    assert np.allclose(utf.inplane_principal_values(np.array([3.0, 1, 99, 1, 7, 7])),
                       [2 + math.sqrt(2), 2 - math.sqrt(2)], rtol=1e-15)


# ------------------------------------------------------------------ orders, layouts, shears


@pytest.mark.parametrize("name", SCALARS + ["invariants", "principal_values"])
def test_every_order_and_the_matrix_give_the_same_bits(name):
    S = np.concatenate([random_tensors(100, 8), repeated_value_tensors(50, 9)])
    function = getattr(utf, name)
    expected = function(S)
    for order in ("vtk", "voigt"):
        assert np.array_equal(function(in_order(S, order), order=order), expected, equal_nan=True)
    assert np.array_equal(function(utf.to_matrix(S)), expected, equal_nan=True)


@pytest.mark.parametrize("order", ["utf", "vtk", "voigt"])
def test_engineering_shears_are_halved_exactly(order):
    S = in_order(random_tensors(100, 10), order)
    doubled = S.copy()
    doubled[:, 3:] *= 2
    for name in SCALARS + ["principal_values"]:
        function = getattr(utf, name)
        assert np.array_equal(function(doubled, order=order, shear="engineering"),
                              function(S, order=order), equal_nan=True), name


@pytest.mark.parametrize("layout", ["planar3d", "surface3d", "planar2d", "surface2d"])
def test_planar_and_surface_layouts_are_the_3d_tensors_they_describe(layout):
    rng = np.random.default_rng(11)
    S = rng.uniform(-100, 100, size=(200, LAYOUT_VALUES[layout]))
    full = as_full(S, layout)
    exact = jacobi_long(full)[0].astype(np.float64)
    values = utf.principal_values(S, layout=layout)
    assert np.all(np.abs(values - exact) <= 16 * 2.0**-53 * np.max(np.abs(exact), axis=1)[:, None])
    assert np.array_equal(utf.principal_values(S, layout=LAYOUT_CODES[layout]), values)
    assert np.array_equal(utf.to_matrix(S, layout=layout), utf.to_matrix(full))


@pytest.mark.parametrize("layout", list(LAYOUT_VALUES))
@pytest.mark.parametrize("order", ["utf", "vtk", "voigt"])
@pytest.mark.parametrize("shear", ["tensor", "engineering"])
def test_matrix_conversions_round_trip(layout, order, shear):
    if layout != "full" and order != "utf":
        pytest.skip("only the full layout has other orders (the refusal is tested below)")
    rng = np.random.default_rng(12)
    S = rng.uniform(-100, 100, size=(4, 5, LAYOUT_VALUES[layout]))
    M = utf.to_matrix(S, layout=layout, order=order, shear=shear)
    assert M.shape == (4, 5, 3, 3)
    assert np.array_equal(M, np.swapaxes(M, -1, -2))
    assert np.array_equal(utf.from_matrix(M, layout=layout, order=order, shear=shear), S)


def test_to_matrix_places_each_order_and_halves_engineering_shears():
    components = np.array([1.0, 2, 3, 4, 5, 6])
    assert np.array_equal(utf.to_matrix(components), [[1, 4, 5], [4, 2, 6], [5, 6, 3]])
    assert np.array_equal(utf.to_matrix(components, order="vtk"), [[1, 4, 6], [4, 2, 5], [6, 5, 3]])
    assert np.array_equal(utf.to_matrix(components, order="voigt"),
                          [[1, 6, 5], [6, 2, 4], [5, 4, 3]])
    assert np.array_equal(utf.to_matrix(components, shear="engineering"),
                          [[1, 2, 2.5], [2, 2, 3], [2.5, 3, 3]])
    assert np.array_equal(utf.to_matrix(np.array([1.0, 2, 3]), layout="surface2d"),
                          [[1, 3, 0], [3, 2, 0], [0, 0, 0]])


def test_from_matrix_refuses_asymmetric_matrices_and_components_outside_the_layout():
    M = utf.to_matrix(np.array([1.0, 2, 3, 4, 5, 6]))
    bad = M.copy()
    bad[1, 0] += 1e-6
    with pytest.raises(ValueError, match=r"M: matrix .*is not symmetric"):
        utf.from_matrix(bad)
    with pytest.raises(ValueError, match=r"M\[0, 2\] = 5, which the planar3d layout does not hold"):
        utf.from_matrix(M, layout="planar3d")
    with pytest.raises(ValueError, match=r"M\[2, 2\] = 3, which the surface2d layout"):
        utf.from_matrix(utf.to_matrix(np.array([1.0, 2, 3, 4]), layout="planar2d"),
                        layout="surface2d")
    with pytest.raises(ValueError, match=r"M: expected shape \(\.\.\., 3, 3\), found \(3, 2\)"):
        utf.from_matrix(np.zeros((3, 2)))


# ------------------------------------------------------------------ dtypes, shapes, strides


@pytest.mark.parametrize("dtype,expected", [
    (np.float32, np.float32), (np.float64, np.float64), (np.int32, np.float64),
    (np.int64, np.float64), (np.uint8, np.float64), (np.float16, np.float64),
    (np.longdouble, np.float64)])
def test_dtype_rules(dtype, expected):
    S = np.array([[10, 2, 3, 1, 0, 4]], dtype=dtype)
    assert utf.mises(S).dtype == expected
    assert utf.principal_values(S).dtype == expected
    # Integers and the other real types are computed as their float64 values.
    if expected == np.float64:
        assert np.array_equal(utf.principal_values(S), utf.principal_values(S.astype(np.float64)))


def test_float32_is_computed_in_float32():
    S = random_tensors(50, 13, dtype=np.float32)
    for name in SCALARS:
        got = getattr(utf, name)(S)
        assert got.dtype == np.float32
    # Not the float64 result rounded: Mises follows the float rules of the value type.
    assert np.array_equal(utf.mises(S), [utf.values.Tensor(s, 9, dtype=np.float32).mises()
                                         for s in S])


def test_leading_shapes_single_tensors_and_empty_arrays():
    S = random_tensors(24, 14).reshape(2, 3, 4, 6)
    assert utf.mises(S).shape == (2, 3, 4)
    assert utf.principal_values(S).shape == (2, 3, 4, 3)
    values, directions = utf.principal_directions(S)
    assert directions.shape == (2, 3, 4, 3, 3)
    assert np.array_equal(utf.mises(S).ravel(), utf.mises(S.reshape(-1, 6)))
    one = utf.mises(S[0, 0, 0])
    assert isinstance(one, np.float64) and one == utf.mises(S)[0, 0, 0]
    assert utf.mises(np.empty((0, 6))).shape == (0,)
    assert utf.principal_values(np.empty((0, 3, 6))).shape == (0, 3, 3)
    assert utf.mises([[100.0, 0, 0, 0, 0, 0]]).tolist() == [100.0]  # lists work


def test_non_contiguous_inputs_work_and_are_not_modified():
    S = random_tensors(100, 15)
    expected = utf.principal_values(S)
    fortran = np.asfortranarray(S)
    strided = np.zeros((100, 12))
    strided[:, ::2] = S
    reversed_rows = S[::-1]
    for variant, rows in ((fortran, slice(None)), (strided[:, ::2], slice(None)),
                          (reversed_rows, slice(None, None, -1))):
        before = variant.copy()
        assert np.array_equal(utf.principal_values(variant), expected[rows])
        assert np.array_equal(variant, before)
    readonly = S.copy()
    readonly.flags.writeable = False
    assert np.array_equal(utf.principal_values(readonly), expected)


def test_out_arrays():
    S = random_tensors(10, 16)
    out = np.empty((10, 3))
    assert utf.principal_values(S, out=out) is out
    assert np.array_equal(out, utf.principal_values(S))
    scalar_out = np.empty(10)
    assert utf.mises(S, out=scalar_out) is scalar_out
    with pytest.raises(ValueError, match=r"out: expected shape \(10, 3\), found \(10, 2\)"):
        utf.principal_values(S, out=np.empty((10, 2)))
    with pytest.raises(TypeError, match="out: expected dtype float64 .*, found float32"):
        utf.principal_values(S, out=np.empty((10, 3), dtype=np.float32))
    with pytest.raises(ValueError, match="out: expected a C-contiguous array"):
        utf.principal_values(S, out=np.empty((3, 10)).T)
    with pytest.raises(ValueError, match="out: must not share memory with the inputs"):
        utf.mises(S, out=S.reshape(-1)[:10])
    frozen = np.empty(10)
    frozen.flags.writeable = False
    with pytest.raises(ValueError, match="out: the array is read-only"):
        utf.mises(S, out=frozen)
    with pytest.raises(TypeError, match="out: expected a numpy array, found list"):
        utf.mises(S, out=[0.0] * 10)


def test_threads_do_not_change_a_bit():
    S = np.concatenate([random_tensors(20000, 17), repeated_value_tensors(5000, 18)])
    expected = {name: getattr(utf, name)(S) for name in SCALARS + ["principal_values"]}
    utf.set_thread_count(1)
    assert utf.thread_count() == 1
    for name, values in expected.items():
        assert np.array_equal(getattr(utf, name)(S), values, equal_nan=True), name


# ------------------------------------------------------------------ non-finite and huge input


def test_non_finite_components_give_nan_for_that_tensor_only():
    S = random_tensors(64, 19)
    clean = {name: getattr(utf, name)(S) for name in SCALARS + ["principal_values", "invariants"]}
    dirty = S.copy()
    dirty[5, 2] = np.nan
    dirty[17, 4] = np.inf
    dirty[40, 0] = -np.inf
    bad = np.zeros(64, dtype=bool)
    bad[[5, 17, 40]] = True
    for name, expected in clean.items():
        got = getattr(utf, name)(dirty)
        assert np.array_equal(got[~bad], expected[~bad], equal_nan=True), name
    for name in ["tresca", "max_shear", "worst_principal", "lode_angle", "principal_values"]:
        assert np.all(np.isnan(getattr(utf, name)(dirty)[bad])), name
    values, directions = utf.principal_directions(dirty)
    assert np.all(np.isnan(values[bad])) and np.all(np.isnan(directions[bad]))


def test_huge_finite_components():
    # Beyond about 1e154 the value types' Mises overflows its squares: the engine keeps their
    # formula (inf), while the principal values, scaled first, stay finite and accurate.
    S = np.array([[1e200, -1e200, 0, 3e199, 0, 0]])
    assert utf.mises(S)[0] == np.inf
    values = utf.principal_values(S)
    exact = jacobi_long(S)[0].astype(np.float64)
    assert np.all(np.isfinite(values))
    assert np.all(np.abs(values - exact) <= 16 * 2.0**-53 * 1.1e200)
    assert np.all(np.isfinite(utf.tresca(S)))


@given(arrays(np.float64, (8, 6), elements=st.floats(allow_nan=True, allow_infinity=True,
                                                     width=64)))
def test_any_bit_pattern_confines_nan_to_its_tensor(S):
    for name in ["principal_values", "mises", "lode_angle", "invariants"]:
        whole = getattr(utf, name)(S)
        for i in range(len(S)):
            alone = getattr(utf, name)(S[i:i + 1])
            assert np.array_equal(whole[i:i + 1], alone, equal_nan=True), name
    finite = np.all(np.isfinite(S), axis=1)
    values = utf.principal_values(S)
    assert np.all(np.isnan(values[~finite]))
    # Every principal value is at most 3 max |S_ij| in magnitude: below the largest double / 3
    # none may overflow (beyond, the exact value itself may not be representable).
    representable = finite & (np.max(np.abs(S), axis=1) < np.finfo(np.float64).max / 3)
    assert np.all(np.isfinite(values[representable]))


# ------------------------------------------------------------------ errors


@pytest.mark.parametrize("call,error,message", [
    (lambda: utf.mises(np.zeros((4, 5))), ValueError,
     r"S: expected shape \(\.\.\., 6\) or \(\.\.\., 3, 3\) for the full layout, found \(4, 5\)"),
    (lambda: utf.mises(np.zeros((4, 6)), layout="planar2d"), ValueError,
     r"S: expected shape \(\.\.\., 4\) for the planar2d layout, found \(4, 6\)"),
    (lambda: utf.mises(np.zeros(())), ValueError, r"S: expected shape \(\.\.\., 6\)"),
    (lambda: utf.mises(np.zeros((4, 6)), layout="cube"), ValueError,
     r"layout: expected one of 'full', .* or a number 9 to 13, found 'cube'"),
    (lambda: utf.mises(np.zeros((4, 6)), layout=14), ValueError, "found 14"),
    (lambda: utf.mises(np.zeros((4, 6)), layout=True), ValueError, "found True"),
    (lambda: utf.mises(np.zeros((4, 6)), order="abaqus"), ValueError,
     r"order: expected one of 'utf', 'vtk', 'voigt', found 'abaqus'"),
    (lambda: utf.mises(np.zeros((4, 4)), layout="planar3d", order="vtk"), ValueError,
     "order: the planar3d layout has one order, 'utf'"),
    (lambda: utf.mises(np.zeros((4, 6)), shear="eng"), ValueError,
     "shear: expected 'tensor' or 'engineering', found 'eng'"),
    (lambda: utf.mises(np.zeros((4, 3, 3)), shear="engineering"), ValueError,
     "shear: a 3 x 3 matrix holds tensor components"),
    (lambda: utf.mises(np.array([["a"] * 6])), TypeError,
     "S: expected an array of real numbers, found dtype <U1"),
    (lambda: utf.mises(np.zeros((2, 6), dtype=bool)), TypeError, "found dtype bool"),
    (lambda: utf.mises(np.zeros((2, 6), dtype=complex)), TypeError, "found dtype complex128"),
    (lambda: utf.mises(np.array([[None] * 6])), TypeError, "found dtype object"),
    (lambda: utf.mises([[1.0, 2.0], [3.0]]), ValueError, "S: expected an array of real numbers"),
    (lambda: utf.mises("abc"), TypeError, "S: expected an array of real numbers"),
    (lambda: utf.set_thread_count(-1), ValueError, "count: expected 0 or more, found -1"),
    (lambda: utf.set_thread_count(1.5), TypeError, "count: expected an integer, found float"),
])
def test_bad_input_is_refused_with_a_message(call, error, message):
    with pytest.raises(error, match=message):
        call()


def test_the_private_extension_refuses_what_would_read_out_of_bounds():
    from utf import _utf

    S = np.zeros((4, 6))
    with pytest.raises(ValueError, match="tensors: expected a 2-D array of rows of 6 numbers"):
        _utf.mises(np.zeros((4, 5)), 9, 0, False, np.empty((4, 1)))
    with pytest.raises(ValueError, match="out: the output holds 3 numbers, expected 4"):
        _utf.mises(S, 9, 0, False, np.empty((3, 1)))
    with pytest.raises(ValueError, match="layout must be 9 to 13"):
        _utf.mises(S, 8, 0, False, np.empty((4, 1)))
    with pytest.raises(TypeError):  # mixed precisions match no overload
        _utf.mises(S, 9, 0, False, np.empty((4, 1), dtype=np.float32))
    with pytest.raises(ValueError, match="tables: expected 1 table or one per item"):
        _utf.tensors_to_new_axes(S, 9, 0, False, np.zeros((3, 9)), np.empty((4, 6)))
