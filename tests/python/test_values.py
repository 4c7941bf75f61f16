"""utf.values: the tensor, rotation and vector values over the C++ library.

The hand-worked cases are those of the C++ suites (test_tensor_value, test_tensor_invariants,
test_tensor_transform, test_tensor_principal_directions, test_quaternion, test_vector,
test_assert), with the same inputs and expected values. Where the library prescribes a rounding
rule, the expected value is that rule written out here in the value's precision (numpy.float32
or numpy.float64 scalar arithmetic, one operation at a time, the casts visible; sine, cosine and
arcsine in single precision from the C library itself) and compared bit for bit. Other references
are long-double (numpy.longdouble) computations or hand-worked numbers.
"""

import copy
import ctypes
import ctypes.util
import math
import re

import numpy as np
import pytest
from hypothesis import given, settings
from hypothesis import strategies as st

from utf import values
from utf._errors import PreconditionError as ErrorsPreconditionError
from utf.values import PreconditionError, Quaternion, Tensor, Vector

DTYPES = [np.float32, np.float64]
LAYOUTS = [9, 10, 11, 12, 13]
NAMES = {9: "full", 10: "planar3d", 11: "surface3d", 12: "planar2d", 13: "surface2d"}
COUNTS = {9: 6, 10: 4, 11: 3, 12: 4, 13: 3}
NON_FULL = [12, 10, 11, 13]

TENSOR_SOURCE = "include/utf_Tensor"
QUATERNION_SOURCE = "include/utf_Quaternion"
VECTOR_SOURCE = "include/utf_Vector"
WRONG_ROTATION = "q.type() == QuaternionType()"
NOT_NORMAL = 'coss.ConstGet(2,2) > 0.9 && "Transformation not normal"'
NOT_2D = 'coss.ConstGet(2,2) > 0.99 || !"Not a valid 2D transform"'
UNKNOWN_TYPE = '!"Unknown quaternion type"'
MULT_TYPE = "utf_EngineeringData<T>::type() == rhs.type()"

PI = math.pi
SQRT_HALF_LD = np.sqrt(np.longdouble(0.5))

# Derandomized, so that every run draws the same examples and a failure reproduces; no example
# database is written.
hypothesis_settings = settings(max_examples=150, deadline=None, database=None, derandomize=True)

# --- the value's own precision, and the C library's single-precision functions ------------------

_libm = ctypes.CDLL(ctypes.util.find_library("m"))
for _name in ("sinf", "cosf", "asinf"):
    getattr(_libm, _name).restype = ctypes.c_float
    getattr(_libm, _name).argtypes = [ctypes.c_float]


def sin_t(x):
    """sin in the precision of x (sinf for float32), as the library's std::sin(T)."""
    if isinstance(x, np.float32):
        return np.float32(_libm.sinf(float(x)))
    return np.float64(math.sin(float(x)))


def cos_t(x):
    if isinstance(x, np.float32):
        return np.float32(_libm.cosf(float(x)))
    return np.float64(math.cos(float(x)))


def asin_t(x):
    if isinstance(x, np.float32):
        return np.float32(_libm.asinf(float(x)))
    return np.float64(math.asin(float(x)))


def eps(dtype):
    return float(np.finfo(dtype).eps)


def tolerance(dtype):
    return 4e-6 if dtype == np.float32 else 2e-14


def assert_same_bits(actual, expected, dtype):
    """Bit-for-bit equality; both sides must already be of `dtype` (the expected values formed
    in that precision)."""
    a = np.asarray(actual)
    e = np.asarray(expected)
    assert a.dtype == np.dtype(dtype), f"result of dtype {a.dtype}, expected {np.dtype(dtype)}"
    assert e.dtype == np.dtype(dtype), f"expected values formed in {e.dtype}"
    assert a.shape == e.shape
    assert a.tobytes() == e.tobytes(), f"{a!r} differs from {e!r}"


def assert_equal_values(actual, expected, dtype):
    """Equality by value (0 == -0), both sides of `dtype`."""
    a = np.asarray(actual)
    e = np.asarray(expected)
    assert a.dtype == np.dtype(dtype) and e.dtype == np.dtype(dtype)
    assert np.array_equal(a, e), f"{a!r} differs from {e!r}"


def assert_components(value, expected, dtype):
    T = np.dtype(dtype).type
    assert_same_bits(value.components, [T(x) for x in expected], dtype)


def assert_precondition(raised, expression, file, line):
    error = raised.value
    assert isinstance(error, PreconditionError)
    assert error.expression == expression
    assert error.file == file
    assert error.line == line
    assert str(error) == f"{file}:{line}: Assertion failed: {expression}"


def twice(bracket):
    """static_cast<T>(2.0 * double(bracket))."""
    return type(bracket)(2.0 * float(bracket))


def one_minus_twice(square):
    return type(square)(1.0 - 2.0 * float(square))


def halved(value):
    return type(value)(float(value) * 0.5)


def table3d(q):
    """The direction-cosine table of (x, y, z, w) by the library's rounding rule, in T."""
    x, y, z, w = q
    return [
        [x * x - y * y - z * z + w * w, twice(x * y + z * w), twice(x * z - y * w)],
        [twice(x * y - z * w), -x * x + y * y - z * z + w * w, twice(y * z + x * w)],
        [twice(x * z + y * w), twice(y * z - x * w), -x * x - y * y + z * z + w * w],
    ]


def table2d(p):
    s, c = p
    T = type(s)
    return [
        [one_minus_twice(s * s), twice(c * s), T(0)],
        [twice((-c) * s), one_minus_twice(s * s), T(0)],
        [T(0), T(0), T(1)],
    ]


def hamilton(q, p):
    """q (x) p in T, term by term from the left."""
    return [
        q[0] * p[3] + q[1] * p[2] - q[2] * p[1] + q[3] * p[0],
        -q[0] * p[2] + q[1] * p[3] + q[2] * p[0] + q[3] * p[1],
        q[0] * p[1] - q[1] * p[0] + q[2] * p[3] + q[3] * p[2],
        -q[0] * p[0] - q[1] * p[1] - q[2] * p[2] + q[3] * p[3],
    ]


def expected_transform(layout, rotation, engineering, s):
    """Tensor.transform's arithmetic in T: x_j = S c_j with c_j column j of the table, then
    S'ij = c_i . x_j; the 3D surface and 2D layouts use the in-plane block only."""
    T = type(s[0])
    s = list(s)
    f = T(2) if engineering else T(1)
    full = layout == 9
    surface = layout in (11, 13)
    shear = 2 if surface else 3
    if engineering:
        for i in range(shear, 6 if full else shear + 1):
            s[i] = halved(s[i])
    a = table2d(rotation) if layout in (12, 13) else table3d(rotation)
    if layout in (9, 10):
        s11, s22, s33, s12 = s[0], s[1], s[2], s[3]
        s13 = s[4] if full else T(0)
        s23 = s[5] if full else T(0)
        x = [[None] * 3 for _ in range(3)]
        for j in range(3):
            if full:
                x[j][0] = s11 * a[0][j] + s12 * a[1][j] + s13 * a[2][j]
                x[j][1] = s12 * a[0][j] + s22 * a[1][j] + s23 * a[2][j]
                x[j][2] = s13 * a[0][j] + s23 * a[1][j] + s33 * a[2][j]
            else:
                x[j][0] = s11 * a[0][j] + s12 * a[1][j]
                x[j][1] = s12 * a[0][j] + s22 * a[1][j]
                x[j][2] = s33 * a[2][j]

        def dot(i, j):
            return a[0][i] * x[j][0] + a[1][i] * x[j][1] + a[2][i] * x[j][2]

        s[0], s[1], s[2] = dot(0, 0), dot(1, 1), dot(2, 2)
        s[3] = f * dot(0, 1)
        if full:
            s[4] = f * dot(2, 0)
            s[5] = f * dot(1, 2)
        return s
    s11, s22, s12 = s[0], s[1], s[shear]
    y1 = [s11 * a[0][0] + s12 * a[1][0], s12 * a[0][0] + s22 * a[1][0]]
    y2 = [s11 * a[0][1] + s12 * a[1][1], s12 * a[0][1] + s22 * a[1][1]]
    s[0] = a[0][0] * y1[0] + a[1][0] * y1[1]
    s[1] = a[0][1] * y2[0] + a[1][1] * y2[1]
    s[shear] = f * (a[0][0] * y2[0] + a[1][0] * y2[1])
    return s


def matrix_ld(layout, c, engineering=False):
    """The tensor as a symmetric 3 x 3 long-double matrix (shears halved when engineering)."""
    c = [np.longdouble(x) for x in c]
    h = np.longdouble(0.5) if engineering else np.longdouble(1)
    z = np.longdouble(0)
    if layout == 9:
        s11, s22, s33, s12, s13, s23 = c[0], c[1], c[2], h * c[3], h * c[4], h * c[5]
    elif layout in (10, 12):
        s11, s22, s33, s12, s13, s23 = c[0], c[1], c[2], h * c[3], z, z
    else:
        s11, s22, s33, s12, s13, s23 = c[0], c[1], z, h * c[2], z, z
    return np.array([[s11, s12, s13], [s12, s22, s23], [s13, s23, s33]], dtype=np.longdouble)


def unit_quaternion(numbers, dtype):
    """Four numbers normalised in double and rounded to the dtype."""
    v = np.array(numbers, dtype=np.float64)
    v = v / np.sqrt(np.sum(v * v))
    return v.astype(dtype)


def rotation_for(layout, numbers, dtype):
    """A rotation of the type that turns `layout`: 3D from four numbers, 2D from the in-plane
    angle of the first two."""
    if layout in (12, 13):
        t = math.atan2(numbers[1], numbers[0])
        return Quaternion([math.sin(t / 2), math.cos(t / 2)], dtype=dtype)
    return Quaternion(unit_quaternion(numbers, dtype), dtype=dtype)


# Hypothesis strategies. Components are 0 or of magnitude 1e-3 to 1e3: far from the subnormal
# range, where no precision is left to compare against, and from overflowing squares.
finite = st.one_of(st.just(0.0), st.floats(min_value=1e-3, max_value=1e3),
                   st.floats(min_value=-1e3, max_value=-1e-3))
six_components = st.lists(finite, min_size=6, max_size=6)
quaternion_numbers = st.lists(st.floats(min_value=-1, max_value=1), min_size=4, max_size=4).filter(
    lambda v: sum(x * x for x in v) > 1e-3
)


# =================================================================================================
# Tensor as a value: constructor, layout predicates, Print, expand_to_full, convert_layout.


@pytest.mark.parametrize("dtype", DTYPES)
def test_tensor_constructor_copies_the_components_and_owns_the_copy(dtype):
    source = np.array([1.5, -2, 4, 8], dtype=dtype)
    tensor = Tensor(source, 10, True, dtype=dtype)
    assert tensor.type == 10
    assert tensor.layout == "planar3d"
    assert tensor.engineering_shear is True
    assert tensor.dtype == np.dtype(dtype)
    assert_components(tensor, [1.5, -2, 4, 8], dtype)
    source[0] = 9
    components = tensor.components
    components[1] = 99
    assert_components(tensor, [1.5, -2, 4, 8], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("layout", LAYOUTS)
def test_tensor_holds_the_layouts_count_by_number_or_name(dtype, layout):
    values8 = [1, 2, 3, 4, 5, 6, 7, 8]
    by_number = Tensor(values8[: COUNTS[layout]], layout, dtype=dtype)
    by_name = Tensor(tuple(values8[: COUNTS[layout]]), NAMES[layout], dtype=dtype)
    for tensor in (by_number, by_name):
        assert tensor.type == layout
        assert tensor.engineering_shear is False
        assert_components(tensor, values8[: COUNTS[layout]], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_layout_predicates(dtype):
    has_out_of_plane = {9: True, 10: True, 11: False, 12: True, 13: False}
    is_3d = {9: True, 10: True, 11: True, 12: False, 13: False}
    rotation = {9: 7, 10: 7, 11: 7, 12: 6, 13: 6}
    for layout in LAYOUTS:
        tensor = Tensor([0] * COUNTS[layout], layout, dtype=dtype)
        assert tensor.has_out_of_plane_direct is has_out_of_plane[layout]
        assert tensor.is_3d is is_3d[layout]
        assert tensor.quaternion_type == rotation[layout]


@pytest.mark.parametrize("dtype", DTYPES)
def test_tensor_print(dtype):
    assert Tensor([1, 2, 3], 13, dtype=dtype).to_text() == "Tensor: 1 2 3 \n"
    full = Tensor([1, -2, 0.5, 0, 1024, -0.25], 9, dtype=dtype)
    assert full.to_text(2) == "  Tensor: 1 -2 0.5 0 1024 -0.25 \n"
    assert full.to_text(5) == "     Tensor: 1 -2 0.5 0 1024 -0.25 \n"
    assert full.to_text(indent=np.int64(1)) == " Tensor: 1 -2 0.5 0 1024 -0.25 \n"
    assert Tensor([4, 3, 2, 1], 10, dtype=dtype).to_text(-3) == "Tensor: 4 3 2 1 \n"
    assert str(full) == "Tensor: 1 -2 0.5 0 1024 -0.25 "


@pytest.mark.parametrize("dtype", DTYPES)
def test_tensor_print_widens_each_component_to_double(dtype):
    tensor = Tensor([0.1, 2, 3], 11, dtype=dtype)
    # 0.1 in float is 0.100000001490116119384765625, whose shortest double text is below.
    expected = "Tensor: 0.10000000149011612 2 3 \n" if dtype == np.float32 else "Tensor: 0.1 2 3 \n"
    assert tensor.to_text() == expected


@pytest.mark.parametrize("dtype", DTYPES)
def test_tensor_repr_reads_back_as_the_same_tensor(dtype):
    tensor = Tensor([0.1, 2, -3, 4.5], "planar2d", True, dtype=dtype)
    text = repr(tensor)
    assert text.startswith("Tensor([") and "layout='planar2d'" in text
    assert "engineering_shear=True" in text and f"dtype=numpy.{np.dtype(dtype).name}" in text
    again = eval(text, {"Tensor": Tensor, "numpy": np})
    assert_same_bits(again.components, tensor.components, dtype)
    assert again.type == 12 and again.engineering_shear is True


@pytest.mark.parametrize("dtype", DTYPES)
def test_expanding_a_surface_tensor_and_converting_back_to_2d_surface(dtype):
    surface = Tensor([1, 2, 3], 11, dtype=dtype)
    full = surface.expand_to_full()
    assert full.type == 9
    assert_components(full, [1, 2, 0, 3, 0, 0], dtype)
    back = full.convert_layout(13)
    assert back.type == 13
    assert_components(back, [1, 2, 3], dtype)
    assert_components(surface, [1, 2, 3], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_expanding_a_planar_tensor_adds_zero_out_of_plane_shears(dtype):
    for layout in (10, 12):
        full = Tensor([1, 2, 3, 4], layout, dtype=dtype).expand_to_full()
        assert full.type == 9
        assert_components(full, [1, 2, 3, 4, 0, 0], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_expanding_2d_surface_puts_the_shear_fourth_and_full_copies(dtype):
    assert_components(Tensor([-5, 6, 7], 13, dtype=dtype).expand_to_full(), [-5, 6, 0, 7, 0, 0],
                      dtype)
    full = Tensor([1, 2, 3, 4, 5, 6], 9, dtype=dtype)
    expanded = full.expand_to_full()
    assert_components(expanded, [1, 2, 3, 4, 5, 6], dtype)
    expanded.transform(Quaternion([0, 0, 0.6, 0.8], dtype=dtype), False)
    assert_components(full, [1, 2, 3, 4, 5, 6], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_expanding_drops_the_engineering_flag_but_keeps_the_numbers(dtype):
    full = Tensor([1, 2, 3, 8], 10, True, dtype=dtype).expand_to_full()
    assert full.engineering_shear is False
    assert full.components[3] == 8


@pytest.mark.parametrize("dtype", DTYPES)
def test_converting_a_full_tensor_to_planar_loses_s13_and_s23(dtype):
    full = Tensor([1, 2, 3, 4, 5, 6], 9, dtype=dtype)
    for target, expected in ((10, 10), (12, 12), ("planar3d", 10), ("planar2d", 12)):
        planar = full.convert_layout(target)
        assert planar.type == expected
        assert_components(planar, [1, 2, 3, 4], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_converting_to_a_surface_layout_drops_s33(dtype):
    full = Tensor([1, 2, 3, 4, 5, 6], 9, dtype=dtype)
    for target in (11, 13):
        surface = full.convert_layout(target)
        assert surface.type == target
        assert_components(surface, [1, 2, 4], dtype)
    assert_components(Tensor([7, 8, 9, 10], 12, dtype=dtype).convert_layout(13), [7, 8, 10], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_converting_a_surface_tensor_to_planar_gives_zero_s33(dtype):
    planar = Tensor([1, 2, 3], 11, dtype=dtype).convert_layout(10)
    assert planar.type == 10
    assert_components(planar, [1, 2, 0, 3], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_converting_to_full_is_expanding_and_clears_the_flag(dtype):
    full = Tensor([1, 2, 3, 4], 10, True, dtype=dtype).convert_layout("full")
    assert full.type == 9
    assert full.engineering_shear is False
    assert_components(full, [1, 2, 3, 4, 0, 0], dtype)
    surface = Tensor([1, 2, 3, 4, 5, 6], 9, True, dtype=dtype).convert_layout(11)
    assert surface.engineering_shear is False
    assert_components(surface, [1, 2, 4], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_copy_is_independent(dtype):
    tensor = Tensor([1, 2, 3, 4], 12, True, dtype=dtype)
    for duplicate in (tensor.copy(), copy.copy(tensor), copy.deepcopy(tensor)):
        assert duplicate.type == 12 and duplicate.engineering_shear is True
        duplicate.transform(Quaternion([0.6, 0.8], dtype=dtype), True)
        assert_components(tensor, [1, 2, 3, 4], dtype)
        assert not np.array_equal(duplicate.components, tensor.components)


@pytest.mark.parametrize("dtype", DTYPES)
def test_float64_input_is_rounded_once_to_the_dtype(dtype):
    T = np.dtype(dtype).type
    tensor = Tensor([0.1, 1e39, -1e-46], 11, dtype=dtype)
    with np.errstate(over="ignore"):
        expected = [T(0.1), T(1e39), T(-1e-46)]  # inf and -0 in float32
    assert_same_bits(tensor.components, expected, dtype)
    assert isinstance(tensor.mises(), T)


# =================================================================================================
# Tensor queries on hand-worked cases.


def expect_close(actual, expected, ulps, dtype, floor=1.0):
    """|actual - expected| <= ulps * eps(T) * max(|expected|, floor)."""
    assert isinstance(actual, np.dtype(dtype).type)
    scale = max(abs(float(expected)), floor)
    assert abs(float(actual) - float(expected)) <= ulps * eps(dtype) * scale, (actual, expected)


QUERIES = ["max_principal", "mid_principal", "min_principal", "max_inplane_principal",
           "min_inplane_principal", "out_of_plane_principal", "pressure", "mises", "tresca",
           "inv3"]


def assert_same_queries(actual, expected, dtype):
    for query in QUERIES:
        assert_same_bits(getattr(actual, query)(), getattr(expected, query)(), dtype)
    assert_same_bits(actual.compute_principal(), expected.compute_principal(), dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_full_diagonal_is_shear_free_and_sorted_descending(dtype):
    T = np.dtype(dtype).type
    tensor = Tensor([1, 2, 3, 0, 0, 0], 9, dtype=dtype)
    assert_same_bits(tensor.compute_principal(), [T(3), T(2), T(1)], dtype)
    assert_same_bits(tensor.max_principal(), T(3), dtype)
    assert_same_bits(tensor.mid_principal(), T(2), dtype)
    assert_same_bits(tensor.min_principal(), T(1), dtype)
    assert_same_bits(tensor.tresca(), T(2), dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_full_hydrostatic_tensor(dtype):
    tensor = Tensor([1, 1, 1, 0, 0, 0], 9, dtype=dtype)
    assert tensor.compute_principal() == (1, 1, 1)
    assert tensor.mises() == 0
    assert tensor.inv3() == 0
    assert tensor.pressure() == -1
    assert tensor.tresca() == 0


@pytest.mark.parametrize("dtype", DTYPES)
def test_full_pure_shear_tensorial_and_engineering(dtype):
    tensor = Tensor([0, 0, 0, 1, 0, 0], 9, False, dtype=dtype)
    expect_close(tensor.max_principal(), 1.0, 4, dtype)
    expect_close(tensor.mid_principal(), 0.0, 4, dtype)
    expect_close(tensor.min_principal(), -1.0, 4, dtype)
    expect_close(tensor.tresca(), 2.0, 4, dtype)
    engineering = Tensor([0, 0, 0, 1, 0, 0], 9, True, dtype=dtype)
    expect_close(engineering.max_principal(), 0.5, 4, dtype)
    expect_close(engineering.mid_principal(), 0.0, 4, dtype, floor=0.5)
    expect_close(engineering.min_principal(), -0.5, 4, dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("sigma", [250.0, -40.0])
def test_uniaxial_stress_gives_sigma_for_mises_tresca_and_signed_inv3(dtype, sigma):
    tensor = Tensor([sigma, 0, 0, 0, 0, 0], 9, dtype=dtype)
    # 4.5 tr(s^3) = 4.5 (8/27 - 1/27 - 1/27) sigma^3 = sigma^3.
    expect_close(tensor.mises(), abs(sigma), 4, dtype)
    expect_close(tensor.tresca(), abs(sigma), 4, dtype)
    expect_close(tensor.inv3(), sigma, 8, dtype)
    assert (tensor.inv3() > 0) == (sigma > 0)


@pytest.mark.parametrize("dtype", DTYPES)
def test_shear_below_the_threshold_returns_the_recomputed_direct_components(dtype):
    T = np.dtype(dtype).type
    c1, c2, c3 = T(0.1), T(0.7), T(0.3)
    tensor = Tensor([c1, c2, c3, 1e-22, -1e-22, 1e-22], 9, dtype=dtype)
    p = (float(c1) + float(c2) + float(c3)) / 3.0
    e1, e2, e3 = (T((float(c) - p) + p) for c in (c1, c2, c3))
    assert_same_bits(tensor.compute_principal(), [e2, e3, e1], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_repeated_largest_value_takes_the_exact_cosine_branches(dtype):
    assert Tensor([1] * 6, 9, dtype=dtype).compute_principal() == (3, 0, 0)
    assert Tensor([-1] * 6, 9, dtype=dtype).compute_principal() == (0, 0, -3)


@pytest.mark.parametrize("dtype", DTYPES)
def test_inplane_and_out_of_plane_queries_give_zero_for_a_full_tensor(dtype):
    tensor = Tensor([1, 2, 3, 0.5, 0.25, 0.125], 9, dtype=dtype)
    assert tensor.max_inplane_principal() == 0
    assert tensor.min_inplane_principal() == 0
    assert tensor.out_of_plane_principal() == 0


@pytest.mark.parametrize("dtype", DTYPES)
def test_engineering_shear_halves_every_shear_of_a_full_tensor(dtype):
    assert_same_queries(Tensor([1, 2, 3, 4, 5, 6], 9, True, dtype=dtype),
                        Tensor([1, 2, 3, 2, 2.5, 3], 9, False, dtype=dtype), dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("layout", [10, 12])
def test_planar_out_of_plane_value_ranked_with_the_inplane_pair(dtype, layout):
    # (components, max, mid, min, max in-plane, min in-plane, out of plane, tresca)
    cases = [([10, 0, 50, 0], 50, 10, 0, 10, 0, 50, 50),
             ([4, 10, 6, 0], 10, 6, 4, 10, 4, 6, 6),
             ([10, 4, -1, 0], 10, 4, -1, 10, 4, -1, 11)]
    T = np.dtype(dtype).type
    for components, *expected in cases:
        tensor = Tensor(components, layout, dtype=dtype)
        got = [tensor.max_principal(), tensor.mid_principal(), tensor.min_principal(),
               tensor.max_inplane_principal(), tensor.min_inplane_principal(),
               tensor.out_of_plane_principal(), tensor.tresca()]
        assert_same_bits(got, [T(x) for x in expected], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("engineering", [False, True])
def test_planar_inplane_pair_with_shear_matches_the_circle_of_mohr(dtype, engineering):
    T = np.dtype(dtype).type
    s11, s22, stored, s33 = T(3), T(-1), T(1.5), T(7)
    ld = np.longdouble
    tau = ld(0.5) * ld(stored) if engineering else ld(stored)
    centre = (ld(s11) + ld(s22)) / 2
    radius = np.sqrt((ld(s11) - centre) ** 2 + tau * tau)
    tensor = Tensor([s11, s22, s33, stored], 10, engineering, dtype=dtype)
    expect_close(tensor.max_inplane_principal(), centre + radius, 4, dtype, floor=3.0)
    expect_close(tensor.min_inplane_principal(), centre - radius, 4, dtype, floor=3.0)
    assert_same_bits(tensor.out_of_plane_principal(), s33, dtype)
    assert_same_bits(tensor.max_principal(), s33, dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_planar_pure_shear_and_equal_unsheared_pair(dtype):
    T = np.dtype(dtype).type
    tensor = Tensor([0, 0, 0, 2], 12, dtype=dtype)
    expect_close(tensor.max_inplane_principal(), 2.0, 4, dtype)
    expect_close(tensor.min_inplane_principal(), -2.0, 4, dtype)
    assert tensor.out_of_plane_principal() == 0
    expect_close(tensor.mid_principal(), 0.0, 4, dtype)
    equal = Tensor([0.3, 0.3, 9, 0], 10, dtype=dtype)
    assert_same_bits(equal.max_inplane_principal(), T(0.3), dtype)
    assert_same_bits(equal.min_inplane_principal(), T(0.3), dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("layout", [11, 13])
def test_surface_mid_principal_is_zero_and_tresca_includes_the_zero(dtype, layout):
    tensor = Tensor([-5, -10, 0], layout, dtype=dtype)
    assert tensor.max_principal() == -5
    assert tensor.mid_principal() == 0
    assert tensor.min_principal() == -10
    assert tensor.max_inplane_principal() == -5
    assert tensor.min_inplane_principal() == -10
    assert tensor.out_of_plane_principal() == 0
    assert tensor.tresca() == 10  # max(-5, 0) - min(-10, 0)
    equal = Tensor([3, 3, 0], layout, dtype=dtype)
    assert (equal.max_principal(), equal.min_principal()) == (3, 3)
    assert (equal.max_inplane_principal(), equal.min_inplane_principal()) == (3, 3)


@pytest.mark.parametrize("dtype", DTYPES)
def test_surface_max_and_min_are_not_ranked_against_the_zero(dtype):
    tensor = Tensor([5, 3, 0], 11, dtype=dtype)
    assert tensor.max_principal() == 5
    assert tensor.min_principal() == 3  # not 0
    assert tensor.mid_principal() == 0
    assert tensor.tresca() == 5  # max(5, 0) - min(3, 0), not 5 - 3


@pytest.mark.parametrize("dtype", DTYPES)
def test_surface_inplane_pair_with_engineering_shear_matches_the_circle_of_mohr(dtype):
    # Centre 2, tau 3, radius 5.
    tensor = Tensor([-2, 6, 6], 13, True, dtype=dtype)
    expect_close(tensor.max_principal(), 7.0, 4, dtype, floor=6.0)
    expect_close(tensor.min_principal(), -3.0, 4, dtype, floor=6.0)
    assert tensor.mid_principal() == 0


@pytest.mark.parametrize("dtype", DTYPES)
def test_pressure_is_minus_the_mean_direct_stress_with_divisor_three(dtype):
    T = np.dtype(dtype).type
    assert_same_bits(Tensor([3, 6, 9, 100, 100, 100], 9, dtype=dtype).pressure(), T(-6), dtype)
    assert_same_bits(Tensor([3, 6, 9, 100], 10, dtype=dtype).pressure(), T(-6), dtype)
    assert_same_bits(Tensor([3, 6, 9, 100], 12, dtype=dtype).pressure(), T(-6), dtype)
    assert_same_bits(Tensor([3, 6, 100], 11, dtype=dtype).pressure(), T(-3), dtype)
    assert_same_bits(Tensor([3, 6, 100], 13, dtype=dtype).pressure(), T(-3), dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_pressure_is_formed_in_double_and_narrowed(dtype):
    T = np.dtype(dtype).type
    c1, c2, c3 = T(0.1), T(0.2), T(0.4)
    expected = T(-(float(c1) + float(c2) + float(c3)) / 3.0)
    assert_same_bits(Tensor([c1, c2, c3, 0, 0, 0], 9, dtype=dtype).pressure(), expected, dtype)
    surface = T(-(float(c1) + float(c2)) / 3.0)
    assert_same_bits(Tensor([c1, c2, c3], 11, dtype=dtype).pressure(), surface, dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_mises_of_pure_shear_and_of_uniaxial_stress(dtype):
    root3 = math.sqrt(3.0)
    expect_close(Tensor([0, 0, 0, 0, 2, 0], 9, dtype=dtype).mises(), 2 * root3, 4, dtype)
    expect_close(Tensor([0, 0, 0, 0, 0, 4], 9, True, dtype=dtype).mises(), 2 * root3, 4, dtype)
    expect_close(Tensor([0, 0, 0, 2], 10, dtype=dtype).mises(), 2 * root3, 4, dtype)
    expect_close(Tensor([0, 0, 4], 13, True, dtype=dtype).mises(), 2 * root3, 4, dtype)
    expect_close(Tensor([0, 0, 12, 0], 10, dtype=dtype).mises(), 12, 4, dtype)
    expect_close(Tensor([0, -12, 0, 0], 12, dtype=dtype).mises(), 12, 4, dtype)
    # A surface layout counts its out-of-plane deviator -p.
    expect_close(Tensor([12, 0, 0], 11, dtype=dtype).mises(), 12, 4, dtype)
    expect_close(Tensor([0, 12, 0], 13, dtype=dtype).mises(), 12, 4, dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_inv3_of_equal_biaxial_tension_is_minus_the_stress_and_zero_for_pure_shear(dtype):
    # Deviator (1, 1, -2) sigma / 3: 13.5 det = -sigma^3.
    expect_close(Tensor([5, 5, 0, 0, 0, 0], 9, dtype=dtype).inv3(), -5, 8, dtype)
    expect_close(Tensor([5, 5, 0], 11, dtype=dtype).inv3(), -5, 8, dtype)
    expect_close(Tensor([5, 0, 5, 0], 12, dtype=dtype).inv3(), -5, 8, dtype)
    assert Tensor([0, 0, 0, 3, 0, 0], 9, dtype=dtype).inv3() == 0
    assert Tensor([0, 0, 0, 3], 10, dtype=dtype).inv3() == 0
    assert Tensor([0, 0, 3], 13, dtype=dtype).inv3() == 0


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("layout", LAYOUTS)
@pytest.mark.parametrize("engineering", [False, True])
def test_zero_tensor_gives_zero_for_every_query(dtype, layout, engineering):
    zero = Tensor([0] * COUNTS[layout], layout, engineering, dtype=dtype)
    for query in QUERIES:
        result = getattr(zero, query)()
        assert isinstance(result, np.dtype(dtype).type)
        assert result == 0, query
    assert zero.compute_principal() == (0, 0, 0)


@pytest.mark.parametrize("dtype", DTYPES)
@given(components=six_components, layout=st.sampled_from(LAYOUTS))
@hypothesis_settings
def test_property_the_engineering_flag_halves_the_shears_bit_for_bit(dtype, components, layout):
    # Doubling is exact, and the queries halve by value times 0.5: the same numbers as the
    # tensorial components, whatever the query.
    T = np.dtype(dtype).type
    tensorial = [T(x) for x in components[: COUNTS[layout]]]
    first_shear = 2 if layout in (11, 13) else 3
    engineering = [T(2) * x if i >= first_shear else x for i, x in enumerate(tensorial)]
    assert_same_queries(Tensor(engineering, layout, True, dtype=dtype),
                        Tensor(tensorial, layout, False, dtype=dtype), dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@given(components=six_components, layout=st.sampled_from(LAYOUTS))
@hypothesis_settings
def test_property_pressure_is_the_double_mean_narrowed(dtype, components, layout):
    tensor = Tensor(components[: COUNTS[layout]], layout, dtype=dtype)
    c = [float(x) for x in tensor.components]
    total = c[0] + c[1] if layout in (11, 13) else c[0] + c[1] + c[2]
    assert_same_bits(tensor.pressure(), np.dtype(dtype).type(-total / 3.0), dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@given(components=six_components, engineering=st.booleans())
@hypothesis_settings
def test_property_full_principal_values_and_equivalents_agree_with_a_reference_solver(
        dtype, components, engineering):
    tensor = Tensor(components, 9, engineering, dtype=dtype)
    m = matrix_ld(9, tensor.components, engineering)
    # Reference eigenvalues: numpy's symmetric solver in double on the exact matrix, which is
    # accurate to a few epsilon of the largest magnitude.
    reference = np.linalg.eigvalsh(m.astype(np.float64))[::-1]
    p = (m[0, 0] + m[1, 1] + m[2, 2]) / 3
    deviator = m - p * np.eye(3, dtype=np.longdouble)
    r = 2 * np.sqrt(np.sum(deviator * deviator) / 2 / 3)
    # A few epsilon of |p| + r in double; a pair a gap g apart carries about epsilon r^2 / g
    # (up to sqrt(epsilon) r for an exact pair); float narrows the double result.
    scale = float(abs(p) + r)
    if dtype == np.float32:
        allowed = 4e-7 * scale + 1e-15
    else:
        allowed = (4e-8 if nearly_repeated(tensor) else 1e-12) * scale + 1e-15
    got = [float(x) for x in tensor.compute_principal()]
    assert got[0] >= got[1] >= got[2]
    for value, expected in zip(got, reference):
        assert abs(value - float(expected)) <= allowed
    assert abs(float(tensor.tresca()) - float(reference[0] - reference[2])) <= 2 * allowed
    mises = float(np.sqrt(np.longdouble(1.5) * np.sum(deviator * deviator)))
    # The deviators are formed by cancellation in T: errors of epsilon times the components.
    largest = float(np.max(np.abs(m)))
    assert abs(float(tensor.mises()) - mises) <= 8 * eps(dtype) * (mises + largest) + 1e-15


# =================================================================================================
# Tensor.transform and transform_control.


def table_with_normal(d22, dtype):
    """The identity table with D(2,2) replaced by d22 (rounded to the dtype)."""
    return np.array([[1, 0, 0], [0, 1, 0], [0, 0, np.dtype(dtype).type(d22)]], dtype=dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("layout", LAYOUTS)
@pytest.mark.parametrize("engineering", [False, True])
def test_the_identity_leaves_every_layout_unchanged(dtype, layout, engineering):
    original = [3, -5, 7, 0.25, -1.5, 11][: COUNTS[layout]]
    identity = Quaternion([0, 1] if layout in (12, 13) else [0, 0, 0, 1], dtype=dtype)
    tensor = Tensor(original, layout, engineering, dtype=dtype)
    tensor.transform(identity, engineering)
    assert_components(tensor, original, dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_a_ninety_degree_turn_about_axis_3_turns_back_to_the_old_axes(dtype):
    T = np.dtype(dtype).type
    half = T(SQRT_HALF_LD)
    tensor = Tensor([1, 2, 3, 4, 5, 6], 9, dtype=dtype)
    tensor.transform(Quaternion([0, 0, half, half], dtype=dtype), False)
    s = [float(x) for x in tensor.components]
    expected = [2, 1, 3, -4, -6, 5]  # S'13 = -S23 and S'23 = S13: the opposite of the kernels
    tol = tolerance(dtype) * 10
    for got, want in zip(s, expected):
        assert abs(got - want) <= tol


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("engineering", [False, True])
def test_a_rotation_of_the_wrong_dimension_fails_and_leaves_the_tensor_unchanged(dtype,
                                                                                 engineering):
    T = np.dtype(dtype).type
    half = T(SQRT_HALF_LD)
    q3 = Quaternion([0, 0, half, half], dtype=dtype)
    q2 = Quaternion([half, half], dtype=dtype)
    for layout in LAYOUTS:
        tensor = Tensor([1, 2, 3, 4, 5, 6][: COUNTS[layout]], layout, engineering, dtype=dtype)
        before = tensor.components
        with pytest.raises(PreconditionError) as raised:
            tensor.transform(q3 if layout in (12, 13) else q2, engineering)
        assert_precondition(raised, WRONG_ROTATION, TENSOR_SOURCE, 884)
        assert_same_bits(tensor.components, before, dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_normality_exactly_0_9_fails(dtype):
    tensor = Tensor([1, 2, 3, 4], 10, dtype=dtype)
    with pytest.raises(PreconditionError) as raised:
        tensor.transform_control(table_with_normal(0.9, dtype))
    assert_precondition(raised, NOT_NORMAL, TENSOR_SOURCE, 830)
    assert_components(tensor, [1, 2, 3, 4], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_normality_0_9000001_passes_and_rotates(dtype):
    T = np.dtype(dtype).type
    v = T(0.9000001)
    assert float(v) > 0.9
    tensor = Tensor([1, 2, 3, 4], 10, dtype=dtype)
    tensor.transform_control(table_with_normal(v, dtype))
    # D = diag(1, 1, v): only S33 changes, to v S33 v.
    assert_same_bits(tensor.components, [T(1), T(2), (v * T(3)) * v, T(4)], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_normality_the_float_nearest_0_9_widened_fails_and_the_next_value_passes(dtype):
    T = np.dtype(dtype).type
    nearest = np.float32(0.9)
    assert float(nearest) == 0.8999999761581421
    for layout in NON_FULL:
        tensor = Tensor([1, 2, 3, 4][: COUNTS[layout]], layout, dtype=dtype)
        before = tensor.components
        with pytest.raises(PreconditionError) as raised:
            tensor.transform_control(table_with_normal(T(nearest), dtype))
        assert_precondition(raised, NOT_NORMAL, TENSOR_SOURCE, 830)
        assert_same_bits(tensor.components, before, dtype)
    above = np.nextafter(T(0.9), T(1))
    if dtype == np.float32:
        assert float(above) == 0.9000000357627869
    tensor = Tensor([1, 2, 3, 4], 12, dtype=dtype)
    tensor.transform_control(table_with_normal(above, dtype))
    assert_same_bits(tensor.components[2], (above * T(3)) * above, dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_normality_nan_fails(dtype):
    for layout in NON_FULL:
        tensor = Tensor([1, 2, 3, 4][: COUNTS[layout]], layout, True, dtype=dtype)
        before = tensor.components
        with pytest.raises(PreconditionError) as raised:
            tensor.transform_control(table_with_normal(math.nan, dtype))
        assert_precondition(raised, NOT_NORMAL, TENSOR_SOURCE, 830)
        assert_same_bits(tensor.components, before, dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_normality_is_checked_for_every_non_full_layout_and_through_a_rotation(dtype):
    # A tilt of 30 degrees about axis 1: D(2,2) = cos 30 = 0.866.
    tilt = Quaternion([math.sin(PI / 12), 0, 0, math.cos(PI / 12)], dtype=dtype)
    for layout in NON_FULL:
        tensor = Tensor([1, 2, 3, 4][: COUNTS[layout]], layout, dtype=dtype)
        before = tensor.components
        for argument in (tilt.cosines(), tilt):
            with pytest.raises(PreconditionError) as raised:
                tensor.transform_control(argument, True)
            assert_precondition(raised, NOT_NORMAL, TENSOR_SOURCE, 830)
            assert_same_bits(tensor.components, before, dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_a_full_tensor_is_turned_by_a_ninety_degree_tilt_without_complaint(dtype):
    # New axes (1, 0, 0), (0, 0, 1), (0, -1, 0): S' = D^T S D gives S11, S33, S22, -S13, S12, -S23.
    tensor = Tensor([1, 2, 3, 4, 5, 6], 9, dtype=dtype)
    tensor.transform_control([[1, 0, 0], [0, 0, 1], [0, -1, 0]])
    assert_components(tensor, [1, 3, 2, -5, 4, -6], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_a_larger_table_is_read_in_its_upper_left_block(dtype):
    table = np.full((4, 4), 9, dtype=dtype)
    table[:3, :3] = [[0, 1, 0], [-1, 0, 0], [0, 0, 1]]
    tensor = Tensor([1, 2, 3, 4], 12, dtype=dtype)
    tensor.transform_control(table)
    assert_components(tensor, [2, 1, 3, -4], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@given(components=six_components, numbers=quaternion_numbers)
@settings(max_examples=60, deadline=None, database=None, derandomize=True)
def test_transform_control_by_a_rotation_ignores_the_engineering_flag(dtype, components,
                                                                      numbers):
    q = Quaternion(unit_quaternion(numbers, dtype), dtype=dtype)
    with_flag = Tensor(components, 9, True, dtype=dtype)
    without_flag = with_flag.copy()
    by_table = with_flag.copy()
    with_flag.transform_control(q, True)
    without_flag.transform_control(q, False)
    by_table.transform_control(q.cosines())
    assert_same_bits(with_flag.components, without_flag.components, dtype)
    assert_same_bits(with_flag.components, by_table.components, dtype)
    assert with_flag.engineering_shear is True
    # The stored shears were rotated as tensorial: D^T S D of the stored numbers.
    d = q.cosines().astype(np.longdouble)
    m = matrix_ld(9, Tensor(components, 9, dtype=dtype).components)
    r = d.T @ m @ d
    expected = [r[0, 0], r[1, 1], r[2, 2], r[0, 1], r[0, 2], r[1, 2]]
    scale = max(1.0, float(np.max(np.abs(m))))
    for got, want in zip(with_flag.components, expected):
        assert abs(float(got) - float(want)) <= tolerance(dtype) * scale


@pytest.mark.parametrize("dtype", DTYPES)
def test_transform_does_not_consult_the_tensors_own_flag(dtype):
    q = Quaternion(unit_quaternion([0.3, -0.2, 0.8, 0.4], dtype), dtype=dtype)
    flagged = Tensor([1, -2, 3, 4, -5, 6], 9, True, dtype=dtype)
    clear = Tensor([1, -2, 3, 4, -5, 6], 9, False, dtype=dtype)
    flagged.transform(q, False)
    clear.transform(q, False)
    assert_same_bits(flagged.components, clear.components, dtype)
    assert flagged.engineering_shear is True


@pytest.mark.parametrize("dtype", DTYPES)
def test_a_planar_tensor_turned_within_the_limit_gets_a_new_s33_and_loses_s13_and_s23(dtype):
    # Tilted by 20 degrees about axis 1 after an in-plane turn of 35 degrees: D(2,2) = cos 20.
    q = Quaternion.from_angles(20 * PI / 180, 0, 35 * PI / 180, dtype=dtype)
    d = q.cosines()
    assert float(d[2, 2]) > 0.9
    tensor = Tensor([10, -20, 30, 15], 10, dtype=dtype)
    tensor.transform_control(d)
    assert tensor.type == 10 and len(tensor.components) == 4
    full = d.astype(np.longdouble).T @ matrix_ld(10, [10, -20, 30, 15]) @ d.astype(np.longdouble)
    for got, want in zip(tensor.components, [full[0, 0], full[1, 1], full[2, 2], full[0, 1]]):
        assert abs(float(got) - float(want)) <= tolerance(dtype) * 30
    assert abs(float(full[2, 2]) - 30) > 1  # a new S33
    assert abs(float(full[0, 2])) > 1 and abs(float(full[1, 2])) > 1  # S13, S23 lost


@pytest.mark.parametrize("dtype", DTYPES)
@given(components=six_components, numbers=quaternion_numbers, layout=st.sampled_from(LAYOUTS),
       engineering=st.booleans())
@hypothesis_settings
def test_property_transform_follows_the_order_of_evaluation_and_the_float_rules(
        dtype, components, numbers, layout, engineering):
    q = rotation_for(layout, numbers, dtype)
    tensor = Tensor(components[: COUNTS[layout]], layout, dtype=dtype)
    before = list(tensor.components)
    tensor.transform(q, engineering)
    expected = expected_transform(layout, list(q.components), engineering, before)
    assert_same_bits(tensor.components, expected, dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@given(components=six_components, numbers=quaternion_numbers, layout=st.sampled_from(LAYOUTS))
@hypothesis_settings
def test_property_transform_agrees_with_a_long_double_a_transposed_s_a(dtype, components, numbers,
                                                                       layout):
    q = rotation_for(layout, numbers, dtype)
    tensor = Tensor(components[: COUNTS[layout]], layout, dtype=dtype)
    m = matrix_ld(layout, tensor.components)
    if layout in (12, 13):
        s, c = (np.longdouble(x) for x in q.components)
        a = np.array([[1 - 2 * s * s, 2 * c * s, 0], [-2 * c * s, 1 - 2 * s * s, 0], [0, 0, 1]],
                     dtype=np.longdouble)
    else:
        x, y, z, w = (np.longdouble(v) for v in q.components)
        a = np.array([[x * x - y * y - z * z + w * w, 2 * (x * y + z * w), 2 * (x * z - y * w)],
                      [2 * (x * y - z * w), -x * x + y * y - z * z + w * w, 2 * (y * z + x * w)],
                      [2 * (x * z + y * w), 2 * (y * z - x * w), -x * x - y * y + z * z + w * w]],
                     dtype=np.longdouble)
    if layout == 11:
        a[2, :] = 0
        a[:, 2] = 0
        a[2, 2] = 1
    r = a.T @ m @ a
    expected = {9: [r[0, 0], r[1, 1], r[2, 2], r[0, 1], r[0, 2], r[1, 2]],
                10: [r[0, 0], r[1, 1], r[2, 2], r[0, 1]], 12: [r[0, 0], r[1, 1], r[2, 2], r[0, 1]],
                11: [r[0, 0], r[1, 1], r[0, 1]], 13: [r[0, 0], r[1, 1], r[0, 1]]}[layout]
    tensor.transform(q, False)
    scale = max(float(np.max(np.abs(m))), 1e-300)
    for got, want in zip(tensor.components, expected):
        assert abs(float(got) - float(want)) <= tolerance(dtype) * scale


@pytest.mark.parametrize("dtype", DTYPES)
@given(components=six_components, numbers=quaternion_numbers, engineering=st.booleans())
@hypothesis_settings
def test_property_transform_control_follows_the_matrix_products(dtype, components, numbers,
                                                                engineering):
    T = np.dtype(dtype).type
    q = Quaternion(unit_quaternion(numbers, dtype), dtype=dtype)
    d = q.cosines()
    tensor = Tensor(components, 9, engineering, dtype=dtype)
    c = list(tensor.components)
    tensor.transform_control(d)
    m = [[c[0], c[3], c[4]], [c[3], c[1], c[5]], [c[4], c[5], c[2]]]
    p = [[T(0)] * 3 for _ in range(3)]
    r = [[T(0)] * 3 for _ in range(3)]
    for i in range(3):
        for j in range(3):
            for k in range(3):
                p[i][j] = p[i][j] + d[k, i] * m[k][j]
    for i in range(3):
        for j in range(3):
            for k in range(3):
                r[i][j] = r[i][j] + p[i][k] * d[k, j]
    expected = [r[0][0], r[1][1], r[2][2], r[0][1], r[0][2], r[1][2]]
    assert_same_bits(tensor.components, expected, dtype)


# =================================================================================================
# Tensor.principal_directions and principal_directions_relative.


def frame_ld(q):
    """The rows of a rotation's direction-cosine table in long double."""
    c = [np.longdouble(x) for x in q.components]
    if q.type == 6:
        s, cc = c
        return np.array([[1 - 2 * s * s, 2 * cc * s, 0], [-2 * cc * s, 1 - 2 * s * s, 0],
                         [0, 0, 1]], dtype=np.longdouble)
    x, y, z, w = c
    return np.array([[x * x - y * y - z * z + w * w, 2 * (x * y + z * w), 2 * (x * z - y * w)],
                     [2 * (x * y - z * w), -x * x + y * y - z * z + w * w, 2 * (y * z + x * w)],
                     [2 * (x * z + y * w), 2 * (y * z - x * w), -x * x - y * y + z * z + w * w]],
                    dtype=np.longdouble)


def nearly_repeated(tensor):
    """Whether two principal values lie within 1e-3 of the tensor's size of each other, where the
    solver's documented accuracy drops to about 1e-8 relative (acos near a repeated root)."""
    s = matrix_ld(tensor.type, tensor.components, tensor.engineering_shear)
    p = np.linalg.eigvalsh(s.astype(np.float64))
    scale = float(np.max(np.abs(s)))
    return float(min(p[1] - p[0], p[2] - p[1])) <= 1e-3 * scale


def assert_eigenvectors(tensor, principal, q, dtype):
    """S v_i = principal[i] v_i for the rows v_i of the frame, relative to the tensor's size:
    the float results are narrowed (values and rotation), the double ones carry the solver's few
    units in the last place, or about 1e-8 for a nearly repeated pair."""
    if dtype == np.float32:
        tol = 1e-6
    else:
        tol = 1e-8 if nearly_repeated(tensor) else 1e-13
    s = matrix_ld(tensor.type, tensor.components, tensor.engineering_shear)
    v = frame_ld(q)
    scale = float(np.max(np.abs(s)))
    for i in range(3):
        assert abs(float(np.sum(v[i] * v[i])) - 1.0) <= (8e-6 if dtype == np.float32 else 1e-12)
        residual = s @ v[i] - np.longdouble(principal[i]) * v[i]
        assert float(np.max(np.abs(residual))) <= tol * scale, (i, residual)


@pytest.mark.parametrize("dtype", DTYPES)
def test_a_type_11_tensor_has_a_zero_third_value_and_keeps_quaternion_values_3_and_4(dtype):
    # S11 = S22 = 1, S12 = 1: principal values 2 and 0, the value 2 along (1, 1)/sqrt(2).
    tensor = Tensor([1, 1, 1], 11, dtype=dtype)
    principal, q = tensor.principal_directions()
    assert principal.dtype == np.dtype(dtype) and principal.shape == (3,)
    assert abs(float(principal[0]) - 2) <= 1e-6
    assert abs(float(principal[1])) <= 1e-6
    assert principal[2] == 0
    assert q.type == 7 and q.dtype == np.dtype(dtype)
    x, y, z, w = (float(v) for v in q.components)
    assert x == 0 and y == 0
    assert z != 0 and w != 0  # kept: a turn about axis 3 by 45 or 225 degrees
    assert abs(z * z + w * w - 1) <= 1e-6
    assert abs(abs(w * w - z * z) - math.sqrt(0.5)) <= 1e-6
    assert abs(2 * z * w - (w * w - z * z)) <= 1e-6
    assert_eigenvectors(tensor, principal, q, dtype)
    # The same components as a 2D surface tensor: its 2D rotation is exactly the (z, w) kept here.
    flat_principal, flat = Tensor([1, 1, 1], 13, dtype=dtype).principal_directions()
    assert_same_bits(flat_principal, principal, dtype)
    assert flat.type == 6
    assert_same_bits(flat.components, q.components[2:], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("engineering", [False, True])
def test_a_shear_free_tensor_gives_its_direct_values_and_the_identity(dtype, engineering):
    cases = [(9, [3, 2, 1, 0, 0, 0], [3, 2, 1], [0, 0, 0, 1]),
             (10, [5, 2, 7, 0], [5, 2, 7], [0, 0, 0, 1]),
             (11, [4, 1, 0], [4, 1, 0], [0, 0, 0, 1]),
             (12, [5, 2, 7, 0], [5, 2, 7], [0, 1]),
             (13, [4, 1, 0], [4, 1, 0], [0, 1])]
    T = np.dtype(dtype).type
    for layout, components, principal, identity in cases:
        got, q = Tensor(components, layout, engineering, dtype=dtype).principal_directions()
        assert_same_bits(got, [T(x) for x in principal], dtype)
        assert_components(q, identity, dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_a_shear_free_tensor_out_of_order_is_sorted_and_its_frame_permuted(dtype):
    T = np.dtype(dtype).type
    tensor = Tensor([1, 3, 2, 0, 0, 0], 9, dtype=dtype)
    principal, q = tensor.principal_directions()
    assert_same_bits(principal, [T(3), T(2), T(1)], dtype)
    rows = frame_ld(q)
    for i, axis in enumerate([1, 2, 0]):
        assert abs(abs(float(rows[i, axis])) - 1) <= 1e-6
    assert q.components[3] != 1
    assert_eigenvectors(tensor, principal, q, dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@given(components=six_components, layout=st.sampled_from(LAYOUTS))
@settings(max_examples=100, deadline=None, database=None, derandomize=True)
def test_property_the_engineering_flag_halves_the_shears_and_leaves_the_tensor_alone(
        dtype, components, layout):
    T = np.dtype(dtype).type
    tensorial = [T(x) for x in components[: COUNTS[layout]]]
    first_shear = 2 if layout in (11, 13) else 3
    engineering = [T(2) * x if i >= first_shear else x for i, x in enumerate(tensorial)]
    flagged = Tensor(engineering, layout, True, dtype=dtype)
    p1, q1 = flagged.principal_directions()
    p2, q2 = Tensor(tensorial, layout, False, dtype=dtype).principal_directions()
    assert_same_bits(p1, p2, dtype)
    assert_same_bits(q1.components, q2.components, dtype)
    assert_same_bits(flagged.components, engineering, dtype)
    assert flagged.engineering_shear is True


@pytest.mark.parametrize("dtype", DTYPES)
@given(components=six_components, layout=st.sampled_from(LAYOUTS), engineering=st.booleans())
@settings(max_examples=100, deadline=None, database=None, derandomize=True)
def test_property_the_rows_of_the_frame_are_eigenvectors(dtype, components, layout, engineering):
    tensor = Tensor(components[: COUNTS[layout]], layout, engineering, dtype=dtype)
    before = tensor.components
    principal, q = tensor.principal_directions()
    assert q.type == tensor.quaternion_type
    assert_eigenvectors(tensor, principal, q, dtype)
    assert_same_bits(tensor.components, before, dtype)
    # The driver's values agree with the closed form of compute_principal, in the same order.
    # (Both lose about sqrt(epsilon) near a repeated pair.)
    closed = tensor.compute_principal()
    scale = max(float(np.max(np.abs(before))), 1e-300)
    if dtype == np.float32:
        tol = 1.5e-4
    else:
        tol = 1e-7 if nearly_repeated(tensor) else 1e-11
    for a, b in zip(principal, closed):
        assert abs(float(a) - float(b)) <= tol * scale


@pytest.mark.parametrize("dtype", DTYPES)
@given(components=six_components, layout=st.sampled_from(LAYOUTS), engineering=st.booleans())
@settings(max_examples=100, deadline=None, database=None, derandomize=True)
def test_property_relative_to_the_computed_frame_is_the_identity_up_to_sign(dtype, components,
                                                                            layout, engineering):
    tensor = Tensor(components[: COUNTS[layout]], layout, engineering, dtype=dtype)
    if dtype == np.float32:
        tol = 2e-6
    else:
        tol = 1e-13 if nearly_repeated(tensor) else 1e-14
    principal, q = tensor.principal_directions()
    # The reference's columns are the frame's axes: the transpose of the frame's cosines().
    relative_principal, relative = tensor.principal_directions_relative(q.cosines().T)
    assert_same_bits(relative_principal, principal, dtype)
    assert relative.type == q.type
    c = [float(x) for x in relative.components]
    scalar = len(c) - 1
    sign = -1.0 if c[scalar] < 0 else 1.0
    for i, value in enumerate(c):
        assert abs(value - (sign if i == scalar else 0.0)) <= tol


@pytest.mark.parametrize("dtype", DTYPES)
@given(components=six_components, frame=quaternion_numbers)
@settings(max_examples=100, deadline=None, database=None, derandomize=True)
def test_property_relative_to_another_frame_is_its_inverse_times_the_principal_one(
        dtype, components, frame):
    tol = 4e-6 if dtype == np.float32 else 1e-14
    tensor = Tensor(components, 9, dtype=dtype)
    _, p = tensor.principal_directions()
    r = Quaternion(unit_quaternion(frame, dtype), dtype=dtype)
    _, relative = tensor.principal_directions_relative(r.cosines().T)
    ld = [np.longdouble(x) for x in r.components]
    conjugate = [-ld[0], -ld[1], -ld[2], ld[3]]
    expected = hamilton(conjugate, [np.longdouble(x) for x in p.components])
    got = [float(x) for x in relative.components]
    plus = max(abs(g - float(e)) for g, e in zip(got, expected))
    minus = max(abs(g + float(e)) for g, e in zip(got, expected))
    assert min(plus, minus) < tol


@pytest.mark.parametrize("dtype", DTYPES)
def test_a_relative_reference_of_the_wrong_shape_fails(dtype):
    tensor = Tensor([1, 2, 3, 4, 5, 6], 9, dtype=dtype)
    with pytest.raises(PreconditionError) as raised:
        tensor.principal_directions_relative(np.zeros((2, 2)))
    assert_precondition(raised, "c.Rows() == 3 && c.Cols() == 3", QUATERNION_SOURCE, 202)
    assert_components(tensor, [1, 2, 3, 4, 5, 6], dtype)
    planar = Tensor([1, 2, 3, 4], 12, dtype=dtype)
    with pytest.raises(PreconditionError) as raised:
        planar.principal_directions_relative(np.zeros((2, 3)))
    assert_precondition(raised, "c.Cols() == 2", QUATERNION_SOURCE, 204)
    # A 2D layout accepts a 2 x 2 reference: the in-plane frame.
    principal, relative = planar.principal_directions_relative(np.eye(2))
    _, direct = planar.principal_directions()
    assert_same_bits(relative.components, direct.components, dtype)


# =================================================================================================
# Quaternion.


@pytest.mark.parametrize("dtype", DTYPES)
def test_quaternion_from_components_copies_and_takes_its_type_from_the_count(dtype):
    source = np.array([0.5, -0.5, 0.5, 0.5], dtype=dtype)
    q3 = Quaternion(source, dtype=dtype)
    source[0] = 7
    assert q3.type == 7 and q3.dtype == np.dtype(dtype)
    assert_components(q3, [0.5, -0.5, 0.5, 0.5], dtype)
    q2 = Quaternion([0.6, 0.8], 6, dtype=dtype)
    assert q2.type == 6
    assert_components(q2, [0.6, 0.8], dtype)
    assert Quaternion([0, 0, 0, 1], type=np.int32(7), dtype=dtype).type == 7


@pytest.mark.parametrize("dtype", DTYPES)
def test_zero_angles_give_the_identity(dtype):
    q = Quaternion.from_angles(0, 0, 0, dtype=dtype)
    assert q.type == 7
    assert_components(q, [0, 0, 0, 1], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@given(theta=st.floats(min_value=-PI, max_value=PI))
@hypothesis_settings
def test_property_an_angle_about_z_alone_is_its_half_angle_sine_and_cosine(dtype, theta):
    T = np.dtype(dtype).type
    theta = T(theta)
    half = T(float(theta) / 2.0)
    q = Quaternion.from_angles(0, 0, theta, dtype=dtype)
    # Compared by value: the product with the identity turns a -0 into +0.
    assert_equal_values(q.components, [T(0), T(0), sin_t(half), cos_t(half)], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@given(angles=st.lists(st.floats(min_value=-PI, max_value=PI), min_size=3, max_size=3))
@hypothesis_settings
def test_property_three_angles_follow_the_rounding_rule_bit_for_bit(dtype, angles):
    # Half angles in double, rounded to T; sine and cosine in T; qa (x) qb, then (x) qc.
    T = np.dtype(dtype).type
    a, b, c = (T(x) for x in angles)
    ha, hb, hc = (T(float(x) / 2.0) for x in (a, b, c))
    qa = [sin_t(ha), T(0), T(0), cos_t(ha)]
    qb = [T(0), sin_t(hb), T(0), cos_t(hb)]
    qc = [T(0), T(0), sin_t(hc), cos_t(hc)]
    expected = hamilton(hamilton(qa, qb), qc)
    assert_same_bits(Quaternion.from_angles(a, b, c, dtype=dtype).components, expected, dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@given(angles=st.lists(st.floats(min_value=-PI, max_value=PI), min_size=3, max_size=3))
@hypothesis_settings
def test_property_three_angles_match_the_elementary_rotations_composed_in_long_double(dtype,
                                                                                     angles):
    # c about Z first, then b about Y, then a about X: the active matrix is Rx(a) Ry(b) Rz(c),
    # and the table (rows = new axes) is its transpose.
    T = np.dtype(dtype).type
    a, b, c = (np.longdouble(T(x)) for x in angles)

    def about(axis, t):
        m = np.eye(3, dtype=np.longdouble)
        i, j = (axis + 1) % 3, (axis + 2) % 3
        m[i, i], m[i, j], m[j, i], m[j, j] = np.cos(t), -np.sin(t), np.sin(t), np.cos(t)
        return m

    r = about(0, a) @ about(1, b) @ about(2, c)
    table = Quaternion.from_angles(*(T(x) for x in angles), dtype=dtype).cosines()
    assert np.max(np.abs(table.astype(np.longdouble) - r.T)) <= 2 * tolerance(dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@given(angles=st.lists(st.floats(min_value=-PI, max_value=PI), min_size=2, max_size=2))
@hypothesis_settings
def test_property_angles_about_x_then_y_composed_with_mult_equal_the_three_angle_value(dtype,
                                                                                      angles):
    a, b = angles
    composed = Quaternion.from_angles(a, 0, 0, dtype=dtype).mult(
        Quaternion.from_angles(0, b, 0, dtype=dtype))
    assert np.array_equal(composed.components,
                          Quaternion.from_angles(a, b, 0, dtype=dtype).components)


@pytest.mark.parametrize("dtype", DTYPES)
def test_two_axes_give_an_in_plane_rotation(dtype):
    T = np.dtype(dtype).type
    t = 0.8
    x_axis, y_axis = [math.cos(t), math.sin(t), 0], [-math.sin(t), math.cos(t), 0]
    q = Quaternion.from_axes(x_axis, y_axis, dtype=dtype)
    assert q.type == 6
    # The in-plane angle atan2(-Y.x, X.x) in double, its half-angle sine and cosine rounded once.
    angle = math.atan2(-y_axis[0], x_axis[0])
    assert_same_bits(q.components, [T(math.sin(angle / 2)), T(math.cos(angle / 2))], dtype)
    assert abs(float(q.components[0]) - math.sin(t / 2)) <= tolerance(dtype)
    assert abs(float(q.components[1]) - math.cos(t / 2)) <= tolerance(dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_three_axes_give_a_spatial_rotation_and_a_left_handed_frame_is_repaired(dtype):
    T = np.dtype(dtype).type
    q = Quaternion.from_axes([0, 1, 0], [-1, 0, 0], [0, 0, 1], dtype=dtype)
    assert q.type == 7
    w = 0.5 * math.sqrt(2.0)
    assert_same_bits(q.components, [T(0), T(0), T(2.0 / (4.0 * w)), T(w)], dtype)
    left = Quaternion.from_axes(np.array([1, 0, 0]), (0, 1, 0), [0, 0, -1], dtype=dtype)
    assert_equal_values(left.components, [T(1), T(0), T(0), T(0)], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_from_frame_sets_the_rotation_of_the_type(dtype):
    T = np.dtype(dtype).type
    t = -1.2
    axes = ([math.cos(t), math.sin(t), 0], [-math.sin(t), math.cos(t), 0], [0, 0, 1])
    q2 = Quaternion.from_frame(6, *axes, dtype=dtype)
    q3 = Quaternion.from_frame(7, *axes, dtype=dtype)
    assert q2.type == 6 and q3.type == 7
    angle = math.atan2(-axes[1][0], axes[0][0])
    assert_same_bits(q2.components, [T(math.sin(angle / 2)), T(math.cos(angle / 2))], dtype)
    assert_same_bits(q3.components, Quaternion.from_axes(*axes, dtype=dtype).components, dtype)
    assert abs(float(q3.components[2]) - float(q2.components[0])) <= tolerance(dtype)
    assert abs(float(q3.components[3]) - float(q2.components[1])) <= tolerance(dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("type_", [9, 4, 0, -1])
def test_from_frame_refuses_another_type(dtype, type_):
    with pytest.raises(PreconditionError) as raised:
        Quaternion.from_frame(type_, [1, 0, 0], [0, 1, 0], [0, 0, 1], dtype=dtype)
    assert_precondition(raised, UNKNOWN_TYPE, QUATERNION_SOURCE, 201)


@pytest.mark.parametrize("dtype", DTYPES)
@given(numbers=quaternion_numbers)
@hypothesis_settings
def test_property_the_table_constructor_reads_the_new_axes_from_the_columns(dtype, numbers):
    q = Quaternion(unit_quaternion(numbers, dtype), dtype=dtype)
    rows = q.cosines()
    from_columns = Quaternion.from_table(rows.T, dtype=dtype)
    assert from_columns.type == 7

    def agrees_up_to_sign(got, want):
        got, want = np.asarray(got, dtype=np.float64), np.asarray(want, dtype=np.float64)
        sign = -1.0 if float(np.dot(got, want)) < 0 else 1.0
        return float(np.max(np.abs(got - sign * want))) <= tolerance(dtype)

    assert agrees_up_to_sign(from_columns.components, q.components)
    # A table given with the new axes as rows is read as the inverse rotation.
    assert agrees_up_to_sign(Quaternion.from_table(rows, 7, dtype=dtype).components,
                             q.inverse().components)


@pytest.mark.parametrize("dtype", DTYPES)
def test_the_table_constructor_for_an_in_plane_rotation_reads_the_upper_left_block(dtype):
    T = np.dtype(dtype).type
    t = 0.6
    c, s = T(math.cos(t)), T(math.sin(t))
    small = Quaternion.from_table([[c, -s], [s, c]], 6, dtype=dtype)
    large = Quaternion.from_table([[c, -s, 9], [s, c, -4], [3, 8, 7]], 6, dtype=dtype)
    assert small.type == 6 and large.type == 6
    assert_same_bits(small.components, large.components, dtype)
    assert abs(float(small.components[0]) - math.sin(t / 2)) <= tolerance(dtype)
    assert abs(float(small.components[1]) - math.cos(t / 2)) <= tolerance(dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_the_table_constructor_checks_the_shape(dtype):
    cases = [(7, (2, 3), "c.Rows() == 3 && c.Cols() == 3", 202),
             (7, (3, 2), "c.Rows() == 3 && c.Cols() == 3", 202),
             (7, (0, 0), "c.Rows() == 3 && c.Cols() == 3", 202),
             (6, (4, 4), "c.Rows()==2 || c.Rows()==3", 203),
             (6, (1, 2), "c.Rows()==2 || c.Rows()==3", 203),
             (6, (2, 3), "c.Cols() == 2", 204),
             (6, (3, 2), "c.Cols() == 3", 205),
             (9, (3, 3), UNKNOWN_TYPE, 206)]
    for type_, shape, expression, line in cases:
        with pytest.raises(PreconditionError) as raised:
            Quaternion.from_table(np.zeros(shape), type_, dtype=dtype)
        assert_precondition(raised, expression, QUATERNION_SOURCE, line)


@pytest.mark.parametrize("dtype", DTYPES)
@given(numbers=st.lists(st.floats(min_value=-1.5, max_value=1.5), min_size=4, max_size=4))
@hypothesis_settings
def test_property_the_spatial_table_follows_the_rounding_rule(dtype, numbers):
    q = Quaternion(numbers, dtype=dtype)
    table = q.cosines()
    assert table.shape == (3, 3)
    assert_same_bits(table, table3d(list(q.components)), dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@given(numbers=st.lists(st.floats(min_value=-1, max_value=1), min_size=2, max_size=2))
@hypothesis_settings
def test_property_the_in_plane_table_follows_the_rounding_rule(dtype, numbers):
    q = Quaternion(numbers, 6, dtype=dtype)
    assert_same_bits(q.cosines(), table2d(list(q.components)), dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_the_in_plane_table_of_a_quarter_turn(dtype):
    q = Quaternion([math.sin(PI / 4), math.cos(PI / 4)], dtype=dtype)
    expected = [[0, 1, 0], [-1, 0, 0], [0, 0, 1]]
    assert float(np.max(np.abs(q.cosines() - np.array(expected)))) <= tolerance(dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@given(q_numbers=quaternion_numbers, p_numbers=quaternion_numbers)
@hypothesis_settings
def test_property_mult_is_this_after_the_argument(dtype, q_numbers, p_numbers):
    q = Quaternion(unit_quaternion(q_numbers, dtype), dtype=dtype)
    p = Quaternion(unit_quaternion(p_numbers, dtype), dtype=dtype)
    r = q.mult(p)
    assert r.type == 7
    assert_same_bits(r.components, hamilton(list(q.components), list(p.components)), dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_in_plane_mult_adds_the_half_angles(dtype):
    T = np.dtype(dtype).type
    a = [T(math.sin(0.2)), T(math.cos(0.2))]
    b = [T(math.sin(0.3)), T(math.cos(0.3))]
    r = Quaternion(a, dtype=dtype).mult(Quaternion(b, dtype=dtype))
    assert r.type == 6
    assert_same_bits(r.components, [a[0] * b[1] + a[1] * b[0], -a[0] * b[0] + a[1] * b[1]], dtype)
    assert abs(float(r.components[0]) - math.sin(0.5)) <= tolerance(dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_mult_of_different_types_fails_and_changes_nothing(dtype):
    in_plane = Quaternion([0.6, 0.8], dtype=dtype)
    spatial = Quaternion([0.5, 0.5, 0.5, 0.5], dtype=dtype)
    for left, right in ((in_plane, spatial), (spatial, in_plane)):
        with pytest.raises(PreconditionError) as raised:
            left.mult(right)
        assert_precondition(raised, MULT_TYPE, QUATERNION_SOURCE, 207)
    assert_components(in_plane, [0.6, 0.8], dtype)
    assert_components(spatial, [0.5, 0.5, 0.5, 0.5], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_inverse_is_the_conjugate_of_the_same_type(dtype):
    q = Quaternion([0.5, -0.5, 0.5, 0.5], dtype=dtype)
    inverse = q.inverse()
    assert inverse.type == 7
    assert_components(inverse, [-0.5, 0.5, -0.5, 0.5], dtype)
    assert_components(q.mult(inverse), [0, 0, 0, 1], dtype)
    assert_components(Quaternion([0.6, 0.8], dtype=dtype).inverse(), [-0.6, 0.8], dtype)
    assert_components(q, [0.5, -0.5, 0.5, 0.5], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_to_vector(dtype):
    T = np.dtype(dtype).type
    s = T(math.sin(-0.4))
    v2 = Quaternion([s, math.cos(-0.4)], dtype=dtype).to_vector()
    assert isinstance(v2, Vector) and v2.type == 4 and v2.dtype == np.dtype(dtype)
    # 2 asin(s), in single precision for float.
    assert_same_bits(v2.components, [T(0), T(0), T(2) * asin_t(s)], dtype)
    quarter = Quaternion([0, 0, math.sin(PI / 4), math.cos(PI / 4)], dtype=dtype).to_vector()
    expected = 1.5707963705062866 if dtype == np.float32 else 1.5707963267948963
    assert_same_bits(quarter.components, [T(0), T(0), T(expected)], dtype)
    assert_components(Quaternion([0, 0, 0, 1], dtype=dtype).to_vector(), [0, 0, 0], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@given(q_numbers=quaternion_numbers, o_numbers=quaternion_numbers)
@hypothesis_settings
def test_property_project_on_aligns_the_z_axis_with_the_others_third_column(dtype, q_numbers,
                                                                           o_numbers):
    q = Quaternion(unit_quaternion(q_numbers, dtype), dtype=dtype)
    other = Quaternion(unit_quaternion(o_numbers, dtype), dtype=dtype)
    column = other.cosines()[:, 2].astype(np.longdouble)
    column = column / np.sqrt(np.sum(column * column))
    along = float(np.sum(column * q.cosines()[1].astype(np.longdouble)))
    before = q.components
    accepted = q.project_on(other, 1, 0.9)
    assert isinstance(accepted, bool)
    # Rows are close to unit length, so the refusal rule is |row . normal| > 0.9.
    if abs(abs(along) - 0.9) > 1e-5:
        assert accepted == (abs(along) <= 0.9)
    if not accepted:
        assert_same_bits(q.components, before, dtype)
        return
    after = q.cosines()
    assert float(np.max(np.abs(after[2].astype(np.longdouble) - column))) <= 8 * tolerance(dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_project_on_of_an_in_plane_rotation_uses_the_normal_of_the_other(dtype):
    T = np.dtype(dtype).type
    # The other in-plane rotation's kernel table has the third column (0, 0, 1); axis 0 of the
    # identity, (1, 0, 0), becomes the new Y axis: a turn by -pi / 2.
    value = Quaternion([0, 1], dtype=dtype)
    other = Quaternion([math.sin(0.3), math.cos(0.3)], dtype=dtype)
    assert value.project_on(other, 0, 0.9) is True
    assert_same_bits(value.components, [T(math.sin(-PI / 4)), T(math.cos(-PI / 4))], dtype)
    # Refused: axis 2 is (0, 0, 1), along the normal.
    refused = Quaternion([0.6, 0.8], dtype=dtype)
    assert refused.project_on(other, np.int64(2), 0.9) is False
    assert_components(refused, [0.6, 0.8], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_quaternion_print(dtype):
    identity = Quaternion.from_angles(0, 0, 0, dtype=dtype)
    assert identity.to_text(2) == ("  Qauternion: 0 0 0 1 \n"
                                   "      Vector: 0 0 0 \n"
                                   "      As transformation matrix:\n"
                                   "          1 0 0 \n"
                                   "          0 1 0 \n"
                                   "          0 0 1 \n")
    assert identity.to_text() == ("Qauternion: 0 0 0 1 \n"
                                  "    Vector: 0 0 0 \n"
                                  "    As transformation matrix:\n"
                                  "        1 0 0 \n"
                                  "        0 1 0 \n"
                                  "        0 0 1 \n")


@pytest.mark.parametrize("dtype", DTYPES)
def test_quaternion_print_of_quarter_turns(dtype):
    quarter = Quaternion([0, 0, math.sin(PI / 4), math.cos(PI / 4)], dtype=dtype)
    in_plane = Quaternion([math.sin(PI / 4), math.cos(PI / 4)], dtype=dtype)
    if dtype == np.float32:
        spatial = ("Qauternion: 0 0 0.7071067690849304 0.7071067690849304 \n"
                   "    Vector: 0 0 1.5707963705062866 \n"
                   "    As transformation matrix:\n"
                   "        0 0.9999999403953552 0 \n"
                   "        -0.9999999403953552 0 0 \n"
                   "        0 0 0.9999999403953552 \n")
        flat = (" Qauternion: 0.7071067690849304 0.7071067690849304 \n"
                "     Vector: 0 0 1.570796251296997 \n"
                "     As transformation matrix:\n"
                "         5.960464477539063e-08 0.9999999403953552 0 \n"
                "         -0.9999999403953552 5.960464477539063e-08 0 \n"
                "         0 0 1 \n")
    else:
        spatial = ("Qauternion: 0 0 0.7071067811865475 0.7071067811865476 \n"
                   "    Vector: 0 0 1.5707963267948963 \n"
                   "    As transformation matrix:\n"
                   "        2.220446049250313e-16 1 0 \n"
                   "        -1 2.220446049250313e-16 0 \n"
                   "        0 0 1 \n")
        flat = (" Qauternion: 0.7071067811865475 0.7071067811865476 \n"
                "     Vector: 0 0 1.5707963267948963 \n"
                "     As transformation matrix:\n"
                "         2.220446049250313e-16 1 0 \n"
                "         -1 2.220446049250313e-16 0 \n"
                "         0 0 1 \n")
    assert quarter.to_text() == spatial
    assert in_plane.to_text(1) == flat
    assert str(quarter) == spatial[:-1]


@pytest.mark.parametrize("dtype", DTYPES)
def test_quaternion_repr_and_copy(dtype):
    q = Quaternion([0.1, 0.2, 0.3, 0.9], dtype=dtype)
    again = eval(repr(q), {"Quaternion": Quaternion, "numpy": np})
    assert again.type == 7
    assert_same_bits(again.components, q.components, dtype)
    duplicate = copy.copy(q)
    duplicate.project_on(Quaternion.from_angles(0.3, 0.2, 0.1, dtype=dtype), 0, 0.99)
    assert_components(q, [0.1, 0.2, 0.3, 0.9], dtype)


# =================================================================================================
# Vector.


@pytest.mark.parametrize("dtype", DTYPES)
def test_vector_constructor_copies_the_components(dtype):
    source = np.array([1, -2, 3], dtype=dtype)
    v = Vector(source, dtype=dtype)
    source[0] = 8
    assert v.type == 4 and v.dtype == np.dtype(dtype)
    assert_components(v, [1, -2, 3], dtype)
    assert_components(Vector([5, 6], dtype=dtype), [5, 6], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_magnitude_of_three_four_zero_is_five(dtype):
    magnitude = Vector([3, 4, 0], dtype=dtype).magnitude()
    assert_same_bits(magnitude, np.dtype(dtype).type(5), dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@given(numbers=st.lists(st.floats(min_value=-100, max_value=100), min_size=2, max_size=3))
@hypothesis_settings
def test_property_magnitude_is_summed_and_rooted_in_the_value_type(dtype, numbers):
    T = np.dtype(dtype).type
    v = Vector(numbers, dtype=dtype)
    total = T(0)
    for x in v.components:
        total = total + x * x
    assert_same_bits(v.magnitude(), np.sqrt(total), dtype)  # correctly rounded, as sqrtf


@pytest.mark.parametrize("dtype", DTYPES)
def test_a_two_component_vector_turned_about_the_third_axis_takes_the_first_column(dtype):
    T = np.dtype(dtype).type
    spatial = Quaternion.from_angles(0, 0, PI / 2, dtype=dtype)
    in_plane = Quaternion([math.sin(PI / 4), math.cos(PI / 4)], dtype=dtype)
    for q in (spatial, in_plane):
        m = q.cosines()
        v = Vector([1, 0], dtype=dtype)
        v.transform(q)
        assert len(v.components) == 2
        expected = [m[0, 0] * T(1) + m[0, 1] * T(0), m[1, 0] * T(1) + m[1, 1] * T(0)]
        assert_same_bits(v.components, expected, dtype)
        assert abs(float(v.components[0])) <= tolerance(dtype)
        assert abs(float(v.components[1]) + 1) <= tolerance(dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_a_two_component_vector_turned_about_the_first_axis_fails_and_is_unchanged(dtype):
    v = Vector([1, 0.5], dtype=dtype)
    with pytest.raises(PreconditionError) as raised:
        v.transform(Quaternion.from_angles(PI / 2, 0, 0, dtype=dtype))
    assert_precondition(raised, NOT_2D, VECTOR_SOURCE, 84)
    assert_components(v, [1, 0.5], dtype)
    broken = Quaternion([0, 0, math.nan, 1], dtype=dtype)
    w = Vector([2, 3], dtype=dtype)
    with pytest.raises(PreconditionError) as raised:
        w.transform(broken)
    assert_precondition(raised, NOT_2D, VECTOR_SOURCE, 84)
    assert_components(w, [2, 3], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_the_two_dimensional_check_accepts_a_small_tilt_and_uses_the_upper_left_block(dtype):
    # M(2,2) = cos(0.1) = 0.995 > 0.99: accepted; 0.15 gives 0.989: refused.
    T = np.dtype(dtype).type
    tilt = Quaternion.from_angles(0.1, 0, 0.4, dtype=dtype)
    m = tilt.cosines()
    x = [T(1.5), T(-2)]
    v = Vector(x, dtype=dtype)
    v.transform(tilt)
    assert_same_bits(v.components, [m[0, 0] * x[0] + m[0, 1] * x[1],
                                    m[1, 0] * x[0] + m[1, 1] * x[1]], dtype)
    w = Vector(x, dtype=dtype)
    with pytest.raises(PreconditionError) as raised:
        w.transform(Quaternion.from_angles(0.15, 0, 0, dtype=dtype))
    assert_precondition(raised, NOT_2D, VECTOR_SOURCE, 84)
    assert_components(w, [1.5, -2], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_the_identity_leaves_a_vector_unchanged_and_a_quarter_turn_gives_the_new_axes(dtype):
    v = Vector([1.25, -3, 7.5], dtype=dtype)
    v.transform(Quaternion.from_angles(0, 0, 0, dtype=dtype))
    assert_components(v, [1.25, -3, 7.5], dtype)
    # A quarter turn about Z carries X onto Y: global X reads (0, -1, 0) on the new axes.
    x = Vector([1, 0, 0], dtype=dtype)
    x.transform(Quaternion.from_angles(0, 0, PI / 2, dtype=dtype))
    for got, want in zip(x.components, [0, -1, 0]):
        assert abs(float(got) - want) <= tolerance(dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@given(numbers=quaternion_numbers, x=st.lists(st.floats(min_value=-10, max_value=10),
                                              min_size=3, max_size=3))
@hypothesis_settings
def test_property_a_three_component_vector_is_multiplied_by_the_table(dtype, numbers, x):
    q = Quaternion(unit_quaternion(numbers, dtype), dtype=dtype)
    m = q.cosines()
    v = Vector(x, dtype=dtype)
    c = v.components
    v.transform(q)
    expected = [m[i, 0] * c[0] + m[i, 1] * c[1] + m[i, 2] * c[2] for i in range(3)]
    assert_same_bits(v.components, expected, dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@given(numbers=quaternion_numbers, x=st.lists(st.floats(min_value=-5, max_value=5),
                                              min_size=2, max_size=3))
@hypothesis_settings
def test_property_transform_by_the_spatial_kernel_applies_its_table(dtype, numbers, x):
    T = np.dtype(dtype).type
    q = Quaternion(unit_quaternion(numbers, dtype), dtype=dtype)
    m = table3d(list(q.components))
    v = Vector(x, dtype=dtype)
    c = list(v.components) + [T(0)] * (3 - len(x))  # a missing component reads as 0
    v.transform_kernel(q)
    expected = [m[i][0] * c[0] + m[i][1] * c[1] + m[i][2] * c[2] for i in range(len(x))]
    assert_same_bits(v.components, expected, dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_transform_by_the_in_plane_kernel_uses_its_own_table(dtype):
    # The 2D kernel's table has a second row of zeros, so x2 becomes 0; no check is made, and a
    # third component is left alone.
    T = np.dtype(dtype).type
    q = Quaternion([math.sin(0.3), math.cos(0.3)], dtype=dtype)
    s, c = q.components
    m00, m01 = one_minus_twice(s * s), twice(c * s)
    v = Vector([2, -1, 5], dtype=dtype)
    v.transform_kernel(q)
    assert_same_bits(v.components, [m00 * T(2) + m01 * T(-1), T(0), T(5)], dtype)
    assert abs(float(v.components[0]) - (2 * math.cos(0.6) - math.sin(0.6))) <= 4 * tolerance(dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_vector_print(dtype):
    v = Vector([1, -0.5, 0.25], dtype=dtype)
    assert v.to_text() == "Vector: 1 -0.5 0.25 \n"
    assert v.to_text(3) == "   Vector: 1 -0.5 0.25 \n"
    assert v.to_text(-2) == "Vector: 1 -0.5 0.25 \n"
    expected = "Vector: 0.10000000149011612 3 \n" if dtype == np.float32 else "Vector: 0.1 3 \n"
    assert Vector([0.1, 3], dtype=dtype).to_text() == expected
    rotation = Quaternion([0, 0, math.sin(PI / 4), math.cos(PI / 4)], dtype=dtype).to_vector()
    expected = ("    Vector: 0 0 1.5707963705062866 \n" if dtype == np.float32
                else "    Vector: 0 0 1.5707963267948963 \n")
    assert rotation.to_text(4) == expected


@pytest.mark.parametrize("dtype", DTYPES)
def test_vector_repr_and_copy(dtype):
    v = Vector([0.1, -2, 3], dtype=dtype)
    again = eval(repr(v), {"Vector": Vector, "numpy": np})
    assert_same_bits(again.components, v.components, dtype)
    duplicate = v.copy()
    duplicate.transform(Quaternion.from_angles(0, 0, 1, dtype=dtype))
    assert_components(v, [0.1, -2, 3], dtype)


# =================================================================================================
# Failed preconditions, bad arguments, and the results' types.


def test_precondition_error_is_the_packages_value_error():
    assert values.PreconditionError is ErrorsPreconditionError
    assert issubclass(PreconditionError, ValueError)


@pytest.mark.parametrize("dtype", DTYPES)
def test_every_assertion_reachable_from_the_values_arrives_with_its_identity(dtype):
    # The fixed identities (source, number) of the library's assertions.
    q3 = Quaternion([0, 0, 0, 1], dtype=dtype)
    q2 = Quaternion([0, 1], dtype=dtype)
    tilted = np.array([[1, 0, 0], [0, 1, 0], [0, 0, 0.5]])
    cases = [
        (lambda: Quaternion.from_frame(4, [1, 0, 0], [0, 1, 0], [0, 0, 1], dtype=dtype),
         UNKNOWN_TYPE, QUATERNION_SOURCE, 201),
        (lambda: Quaternion.from_table(np.eye(2), 7, dtype=dtype),
         "c.Rows() == 3 && c.Cols() == 3", QUATERNION_SOURCE, 202),
        (lambda: Quaternion.from_table(np.eye(4), 6, dtype=dtype),
         "c.Rows()==2 || c.Rows()==3", QUATERNION_SOURCE, 203),
        (lambda: Quaternion.from_table(np.zeros((2, 3)), 6, dtype=dtype),
         "c.Cols() == 2", QUATERNION_SOURCE, 204),
        (lambda: Quaternion.from_table(np.zeros((3, 2)), 6, dtype=dtype),
         "c.Cols() == 3", QUATERNION_SOURCE, 205),
        (lambda: Quaternion.from_table(np.eye(3), 10, dtype=dtype),
         UNKNOWN_TYPE, QUATERNION_SOURCE, 206),
        (lambda: q3.mult(q2), MULT_TYPE, QUATERNION_SOURCE, 207),
        (lambda: Tensor([1, 2, 3], 13, dtype=dtype).transform(q3, False),
         WRONG_ROTATION, TENSOR_SOURCE, 884),
        (lambda: Tensor([1, 2, 3], 11, dtype=dtype).transform_control(tilted),
         NOT_NORMAL, TENSOR_SOURCE, 830),
        (lambda: Vector([1, 2], dtype=dtype).transform(Quaternion.from_angles(1, 0, 0,
                                                                             dtype=dtype)),
         NOT_2D, VECTOR_SOURCE, 84),
    ]
    for call, expression, file, line in cases:
        with pytest.raises(PreconditionError, match=re.escape(f"{file}:{line}: ")) as raised:
            call()
        assert_precondition(raised, expression, file, line)


@pytest.mark.parametrize("dtype", DTYPES)
def test_a_value_stays_usable_after_a_failed_precondition(dtype):
    tensor = Tensor([1, 2, 3, 4], 12, dtype=dtype)
    with pytest.raises(PreconditionError):
        tensor.transform(Quaternion([0, 0, 0, 1], dtype=dtype), False)
    tensor.transform(Quaternion([0, 1], dtype=dtype), False)
    assert_components(tensor, [1, 2, 3, 4], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_results_are_numpy_values_of_the_dtype(dtype):
    T = np.dtype(dtype).type
    tensor = Tensor([1, 2, 3, 0.5, 0.25, 0.125], 9, True, dtype=dtype)
    for query in QUERIES:
        assert type(getattr(tensor, query)()) is T, query
    assert all(type(p) is T for p in tensor.compute_principal())
    principal, q = tensor.principal_directions()
    assert principal.dtype == np.dtype(dtype) and q.dtype == np.dtype(dtype)
    assert q.components.dtype == np.dtype(dtype)
    assert q.cosines().dtype == np.dtype(dtype) and q.cosines().shape == (3, 3)
    assert tensor.expand_to_full().dtype == np.dtype(dtype)
    v = q.to_vector()
    assert v.components.dtype == np.dtype(dtype) and type(v.magnitude()) is T
    assert type(tensor.type) is int and type(q.type) is int and type(v.type) is int


TENSOR_ARGUMENT_ERRORS = [
    (dict(components="abc", layout=9), TypeError,
     "components: expected a sequence of real numbers, found str 'abc'"),
    (dict(components=[1, "a", 3], layout=11), TypeError,
     "components: expected a sequence of real numbers, found strings"),
    (dict(components=[1, None, 3], layout=11), TypeError,
     "components: expected a sequence of real numbers, found objects that are no real numbers"),
    (dict(components=[1j, 0, 0], layout=11), TypeError,
     "components: expected a sequence of real numbers, found complex numbers"),
    (dict(components=[True, False, True], layout=11), TypeError,
     "components: expected a sequence of real numbers, found booleans"),
    (dict(components=[[1, 2], [3]], layout=11), ValueError,
     "components: expected a sequence of real numbers, found a sequence that is no array"),
    (dict(components=5.0, layout=11), TypeError,
     "components: expected a sequence of real numbers, found float 5.0"),
    (dict(components=[[1, 2, 3]], layout=11), ValueError,
     r"components: expected a sequence of real numbers, found an array of 2 dimensions "
     r"\(shape \(1, 3\)\)"),
    (dict(components=[1, 2, 3], layout=9), ValueError,
     r"components: expected 6 numbers for layout 9 \(full\), found 3"),
    (dict(components=[1, 2, 3, 4], layout="surface2d"), ValueError,
     r"components: expected 3 numbers for layout 13 \(surface2d\), found 4"),
    (dict(components=[1, 2, 3], layout="solid"), ValueError,
     "layout: expected one of 'full', 'planar3d', 'surface3d', 'planar2d', 'surface2d' or the "
     "numbers 9 to 13, found 'solid'"),
    (dict(components=[1, 2, 3], layout=8), ValueError,
     "layout: expected a layout number 9 to 13, found 8"),
    (dict(components=[1, 2, 3], layout=9.0), TypeError,
     r"layout: expected a layout number \(9 to 13\) or name, found float 9.0"),
    (dict(components=[1, 2, 3], layout=True), TypeError,
     r"layout: expected a layout number \(9 to 13\) or name, found bool True"),
    (dict(components=[1, 2, 3], layout=11, engineering_shear=1), TypeError,
     "engineering_shear: expected True or False, found int 1"),
    (dict(components=[1, 2, 3], layout=11, dtype=np.int32), TypeError,
     "dtype: expected numpy.float32 or numpy.float64, found <class 'numpy.int32'>"),
    (dict(components=[1, 2, 3], layout=11, dtype="nonsense"), TypeError,
     "dtype: expected numpy.float32 or numpy.float64, found 'nonsense'"),
]


@pytest.mark.parametrize("arguments, error, message", TENSOR_ARGUMENT_ERRORS)
def test_bad_tensor_arguments_are_refused_with_a_clear_message(arguments, error, message):
    with pytest.raises(error, match=message):
        Tensor(**arguments)


@pytest.mark.parametrize("dtype", DTYPES)
def test_bad_arguments_of_the_tensor_operations(dtype):
    other = np.float64 if dtype == np.float32 else np.float32
    tensor = Tensor([1, 2, 3, 4, 5, 6], 9, dtype=dtype)
    q = Quaternion([0, 0, 0, 1], dtype=dtype)
    with pytest.raises(ValueError, match="target: expected a layout number 9 to 13, found 4"):
        tensor.convert_layout(4)
    with pytest.raises(ValueError, match="target: expected one of 'full'"):
        tensor.convert_layout("plane")
    with pytest.raises(TypeError, match="q: expected a utf.values.Quaternion, found str"):
        tensor.transform("q", False)
    with pytest.raises(TypeError, match=f"q: expected a Quaternion of dtype "
                                        f"{np.dtype(dtype).name} like this value, found one of "
                                        f"dtype {np.dtype(other).name}"):
        tensor.transform(Quaternion([0, 0, 0, 1], dtype=other), False)
    with pytest.raises(TypeError, match="engineering_shear: expected True or False, found "
                                        "NoneType"):
        tensor.transform(q, None)
    with pytest.raises(TypeError, match=r"transform\(\) missing 1 required positional argument"):
        tensor.transform(q)
    with pytest.raises(ValueError, match="table_or_q: expected a table of at least 3 x 3 numbers, "
                                         "found 2 x 2"):
        tensor.transform_control(np.eye(2))
    with pytest.raises(TypeError, match=r"table_or_q: expected a 2-D table \(a sequence of rows\) "
                                        r"of real numbers, found str 'x'"):
        tensor.transform_control("x")
    with pytest.raises(TypeError, match="table_or_q: expected a Quaternion of dtype"):
        tensor.transform_control(Quaternion([0, 0, 0, 1], dtype=other))
    with pytest.raises(TypeError, match="table_or_q: expected a 2-D table"):
        tensor.transform_control(Vector([1, 2, 3], dtype=dtype))
    with pytest.raises(ValueError, match=r"reference: expected a 2-D table \(a sequence of rows\) "
                                         r"of real numbers, found an array of 1 dimensions"):
        tensor.principal_directions_relative([1, 0, 0])
    with pytest.raises(TypeError, match="indent: expected an integer, found str '2'"):
        tensor.to_text("2")
    with pytest.raises(ValueError, match="indent: expected a 32-bit integer, found 1099511627776"):
        tensor.to_text(2**40)
    assert_components(tensor, [1, 2, 3, 4, 5, 6], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_bad_quaternion_arguments_are_refused_with_a_clear_message(dtype):
    q = Quaternion([0, 0, 0, 1], dtype=dtype)
    cases = [
        (lambda: Quaternion([1, 2, 3], dtype=dtype), ValueError,
         r"components: expected 4 numbers \(type 7\) or 2 \(type 6\), found 3"),
        (lambda: Quaternion([0, 0, 0, 1], 6, dtype=dtype), ValueError,
         "components: expected 2 numbers for type 6, found 4"),
        (lambda: Quaternion([0, 1], 5, dtype=dtype), ValueError,
         r"type: expected 7 \(3D\) or 6 \(2D\), found 5"),
        (lambda: Quaternion([0, 1], 6.0, dtype=dtype), TypeError,
         "type: expected an integer, found float 6.0"),
        (lambda: Quaternion(["0", "1"], dtype=dtype), TypeError,
         "components: expected a sequence of real numbers, found strings"),
        (lambda: Quaternion.from_angles("x", 0, 0, dtype=dtype), TypeError,
         "a: expected a real number, found str 'x'"),
        (lambda: Quaternion.from_angles(0, None, 0, dtype=dtype), TypeError,
         "b: expected a real number, found NoneType"),
        (lambda: Quaternion.from_angles(0, 0, 10**400, dtype=dtype), ValueError,
         "c: expected a real number, found int 1000000000"),
        (lambda: Quaternion.from_axes([1, 0], [0, 1, 0], dtype=dtype), ValueError,
         "x_axis: expected 3 numbers, found 2"),
        (lambda: Quaternion.from_axes([1, 0, 0], [0, 1, 0], "z", dtype=dtype), TypeError,
         "z_axis: expected a sequence of real numbers, found str 'z'"),
        (lambda: Quaternion.from_frame(7.0, [1, 0, 0], [0, 1, 0], [0, 0, 1], dtype=dtype),
         TypeError, "type: expected an integer, found float 7.0"),
        (lambda: Quaternion.from_table([1, 0, 0], dtype=dtype), ValueError,
         r"table: expected a 2-D table \(a sequence of rows\) of real numbers, found an array of "
         r"1 dimensions"),
        (lambda: Quaternion.from_table(np.eye(3), 2**40, dtype=dtype), ValueError,
         "type: expected a data type"),
        (lambda: q.mult(Vector([1, 2, 3], dtype=dtype)), TypeError,
         "other: expected a utf.values.Quaternion, found Vector"),
        (lambda: q.project_on(q, 3, 0.9), ValueError, "axis: expected 0, 1 or 2, found 3"),
        (lambda: q.project_on(q, -1, 0.9), ValueError, "axis: expected 0, 1 or 2, found -1"),
        (lambda: q.project_on(q, 1.0, 0.9), TypeError, "axis: expected an integer, found float"),
        (lambda: q.project_on(q, 1, "0.9"), TypeError,
         "tolerance: expected a real number, found str '0.9'"),
        (lambda: q.project_on(Tensor([1, 2, 3], 11, dtype=dtype), 1, 0.9), TypeError,
         "other: expected a utf.values.Quaternion, found Tensor"),
    ]
    for call, error, message in cases:
        with pytest.raises(error, match=message):
            call()
    assert_components(q, [0, 0, 0, 1], dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_bad_vector_arguments_are_refused_with_a_clear_message(dtype):
    other = np.float64 if dtype == np.float32 else np.float32
    v = Vector([1, 2, 3], dtype=dtype)
    with pytest.raises(ValueError, match=r"components: expected 3 numbers \(or 2 for an in-plane "
                                         r"vector\), found 4"):
        Vector([1, 2, 3, 4], dtype=dtype)
    with pytest.raises(ValueError, match="found 0"):
        Vector([], dtype=dtype)
    with pytest.raises(TypeError, match="components: expected a sequence of real numbers, found "
                                        "dict"):
        Vector({1: 2}, dtype=dtype)
    with pytest.raises(TypeError, match="q: expected a utf.values.Quaternion, found Tensor"):
        v.transform(Tensor([1, 2, 3], 11, dtype=dtype))
    with pytest.raises(TypeError, match="q: expected a Quaternion of dtype"):
        v.transform_kernel(Quaternion([0, 1], dtype=other))
    assert_components(v, [1, 2, 3], dtype)


def test_the_extension_repeats_the_checks_that_guard_its_memory():
    # The private classes refuse what would make the library read or write out of bounds, with
    # ValueError (or TypeError for an array of the wrong dtype), however they are called.
    from utf import _utf

    native = _utf.values
    with pytest.raises(ValueError, match="components: expected 4 numbers for type 7"):
        native.Quaternion64(7, np.zeros(3))
    with pytest.raises(ValueError, match="type: expected 6 or 7, found 5"):
        native.Quaternion64(5, np.zeros(4))
    with pytest.raises(ValueError, match="components: expected a 1-D array"):
        native.Tensor64(9, np.zeros((2, 3)), False)
    with pytest.raises(TypeError):
        native.Tensor32(9, np.zeros(6), False)
    tensor = native.Tensor64(9, np.arange(6.0), False)
    with pytest.raises(ValueError, match="table: expected a 2-D array of at least 3 x 3 numbers"):
        tensor.transform_control_table(np.eye(2))
    q = native.Quaternion64(7, np.array([0.0, 0.0, 0.0, 1.0]))
    with pytest.raises(ValueError, match="axis: expected 0, 1 or 2, found 7"):
        q.project_on(q, 7, 0.5)
    # A tensor stored shorter than its layout reads its missing components as 0.
    short = native.Tensor64(9, np.array([4.0, -2.0, 1.0, 3.0]), False)
    padded = native.Tensor64(9, np.array([4.0, -2.0, 1.0, 3.0, 0.0, 0.0]), False)
    for query in QUERIES:
        assert getattr(short, query)() == getattr(padded, query)(), query
