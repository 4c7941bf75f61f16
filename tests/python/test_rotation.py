"""utf.Rotation: scipy's meaning where the names are scipy's, the library's tables and kernels
bit for bit, tensors and vectors onto new axes and back, and the error contracts."""

import math

import numpy as np
import pytest
from scipy.spatial.transform import Rotation as ScipyRotation

import utf
import utf.values
from conftest import in_order, matrices_long, random_tensors


def random_quaternions(count, seed):
    return ScipyRotation.random(count, random_state=seed).as_quat()


# ------------------------------------------------------------------ scipy's meaning


def test_from_quat_as_matrix_apply_and_composition_agree_with_scipy():
    q, p = random_quaternions(200, 1), random_quaternions(200, 2)
    ours, theirs = utf.Rotation.from_quat(q), ScipyRotation.from_quat(q)
    assert np.allclose(ours.as_matrix(), theirs.as_matrix(), atol=1e-15, rtol=0)
    v = np.random.default_rng(3).normal(size=(200, 3))
    assert np.allclose(ours.apply(v), theirs.apply(v), atol=1e-14, rtol=0)
    assert np.allclose(ours.apply(v, inverse=True), theirs.apply(v, inverse=True), atol=2e-15,
                       rtol=0)
    composed = utf.Rotation.from_quat(p) * ours
    expected = ScipyRotation.from_quat(p) * theirs
    assert np.allclose(composed.as_matrix(), expected.as_matrix(), atol=1e-15, rtol=0)
    # The composition of rotations held only as tables agrees too.
    tables_only = utf.Rotation.from_matrix(utf.Rotation.from_quat(p).as_matrix()) * \
        utf.Rotation.from_matrix(ours.as_matrix())
    assert np.allclose(tables_only.as_matrix(), expected.as_matrix(), atol=1e-14, rtol=0)
    assert np.allclose(ours.as_rotvec(), theirs.as_rotvec(), atol=1e-14, rtol=0)
    assert np.allclose(ours.inv().as_matrix(), theirs.inv().as_matrix(), atol=1e-15, rtol=0)
    # One rotation with N vectors, and N rotations with one vector, broadcast as in scipy.
    assert np.allclose(ours[0].apply(v), theirs[0].apply(v), atol=1e-14, rtol=0)
    assert np.allclose(ours.apply(v[0]), theirs.apply(v[0]), atol=1e-14, rtol=0)
    assert ours[0].apply(v[0]).shape == (3,)


def test_from_matrix_gives_back_the_quaternion_up_to_sign():
    q = random_quaternions(300, 4)
    back = utf.Rotation.from_matrix(ScipyRotation.from_quat(q).as_matrix()).as_quat()
    assert np.all(back[:, 3] >= 0)
    assert np.allclose(back, q * np.sign(q[:, 3:]), atol=1e-15, rtol=0)
    # Near a half turn the pivot moves off w and keeps full accuracy.
    half_turn = utf.Rotation.from_matrix(np.diag([1.0, -1.0, -1.0])).as_quat()
    assert np.array_equal(half_turn, [1.0, 0.0, 0.0, 0.0])


def test_the_table_is_the_transposed_matrix_and_the_library_kernels_table():
    q = random_quaternions(50, 5)
    rotation = utf.Rotation.from_quat(q)
    assert np.array_equal(rotation.as_cosines(), np.swapaxes(rotation.as_matrix(), 1, 2))
    for i in range(50):
        value = utf.values.Quaternion(q[i], 7)
        assert np.array_equal(rotation.as_cosines()[i], value.cosines())


def test_a_quarter_turn_about_z_by_hand():
    r = math.sqrt(0.5)
    rotation = utf.Rotation.from_quat([0.0, 0.0, r, r])
    assert np.allclose(rotation.as_cosines(), [[0, 1, 0], [-1, 0, 0], [0, 0, 1]], atol=1e-16)
    # New X is global Y, so a vector along global X reads (0, -1, 0) on the new axes.
    assert np.allclose(rotation.vectors_to_local([1.0, 0, 0]), [0, -1, 0], atol=1e-16)
    assert np.allclose(rotation.apply([1.0, 0, 0]), [0, 1, 0], atol=1e-16)
    # Uniaxial 100 along global X reads S'22 = 100 on the new axes; S'13 = S23, S'23 = -S13.
    local = rotation.to_local(np.array([100.0, 0, 0, 0, 7, 9]))
    assert np.allclose(local, [0, 100, 0, 0, 9, -7], atol=1e-13)
    back = rotation.to_global(np.array([100.0, 0, 0, 0, 7, 9]))
    assert np.allclose(back, [0, 100, 0, 0, -9, 7], atol=1e-13)


def test_from_quat_normalises_only_quaternions_that_are_not_unit():
    q = random_quaternions(20, 6)
    assert np.array_equal(utf.Rotation.from_quat(q).as_quat(), q)
    assert np.allclose(utf.Rotation.from_quat(3 * q).as_quat(), q, atol=4e-16, rtol=0)


def test_from_angles_is_the_value_types_three_angle_rotation_bit_for_bit():
    rng = np.random.default_rng(7)
    a, b, c = rng.uniform(-math.pi, math.pi, size=(3, 40))
    rotation = utf.Rotation.from_angles(a, b, c)
    for i in range(40):
        expected = utf.values.Quaternion.from_angles(a[i], b[i], c[i]).components
        assert np.array_equal(rotation.as_quat()[i], expected)
    degrees = utf.Rotation.from_angles(90.0, 0.0, 0.0, degrees=True)
    assert np.allclose(degrees.as_matrix(), ScipyRotation.from_euler("x", 90, degrees=True)
                       .as_matrix(), atol=1e-16)
    # c about Z first, then b about Y, then a about X: scipy's extrinsic "zyx" with (c, b, a).
    assert np.allclose(rotation.as_matrix(),
                       ScipyRotation.from_euler("zyx", np.stack([c, b, a], 1)).as_matrix(),
                       atol=1e-15)


def test_from_axes():
    rotation = utf.Rotation.from_axes([2.0, 0, 0], [1.0, 3.0, 0])
    assert np.allclose(rotation.as_cosines(), np.eye(3), atol=1e-16)
    rotation = utf.Rotation.from_axes([[0.0, 1, 0], [0, 0, 5]], [[-1.0, 0, 0], [1, 0, 1]])
    assert np.allclose(rotation.as_cosines(), [[[0, 1, 0], [-1, 0, 0], [0, 0, 1]],
                                               [[0, 0, 1], [1, 0, 0], [0, 1, 0]]], atol=1e-16)
    with pytest.raises(ValueError, match=r"x_axis: x_axis 0 \[0.0, 0.0, 0.0\] has no direction"):
        utf.Rotation.from_axes([0.0, 0, 0], [1.0, 0, 0])
    with pytest.raises(ValueError, match="y_axis: y_axis 1 .* lies along x_axis"):
        utf.Rotation.from_axes([[1.0, 0, 0], [1, 1, 0]], [[0.0, 1, 0], [2, 2, 0]])


# ------------------------------------------------------------------ frames


def test_cylindrical_axes_by_hand():
    rotation = utf.Rotation.cylindrical([[3.0, 4.0, 7.0], [0.0, -2.0, 1.0]])
    assert np.allclose(rotation.as_cosines(), [
        [[0.6, 0.8, 0], [-0.8, 0.6, 0], [0, 0, 1]],
        [[0, -1, 0], [1, 0, 0], [0, 0, 1]]], atol=1e-16)
    # A hoop stress: uniaxial 100 along the tangent at (0, 5) is S11 = 100 globally and S22 =
    # 100 (hoop) on the cylinder's axes.
    hoop = utf.Rotation.cylindrical([0.0, 5.0, 0.0]).to_local(np.array([100.0, 0, 0, 0, 0, 0]))
    assert np.allclose(hoop, [0, 100, 0, 0, 0, 0], atol=1e-13)
    # Another axis through another origin.
    # Relative to the origin the point is (0, 0, 5): radial +z, tangential x cross z = -y.
    tilted = utf.Rotation.cylindrical([[1.0, 0.0, 5.0]], origin=(1.0, 0.0, 0.0),
                                      axis=(2.0, 0.0, 0.0))
    assert np.allclose(tilted.as_cosines()[0], [[0, 0, 1], [0, -1, 0], [1, 0, 0]], atol=1e-16)


def test_spherical_axes_by_hand():
    rotation = utf.Rotation.spherical([[2.0, 0.0, 0.0]])
    # At the equator on +x: e_r = x, e_theta = -z (away from the pole), e_phi = y.
    assert np.allclose(rotation.as_cosines()[0], [[1, 0, 0], [0, 0, -1], [0, 1, 0]], atol=1e-16)
    assert np.isclose(np.linalg.det(rotation.as_cosines()[0]), 1.0)


def test_points_on_the_axis_raise_or_give_nan():
    with pytest.raises(ValueError, match=r"points: point 1 \[0.0, 0.0, 3.0\] lies on the axis"):
        utf.Rotation.cylindrical([[1.0, 0, 0], [0.0, 0, 3.0]])
    with pytest.raises(ValueError, match="lies at the centre or on the polar axis"):
        utf.Rotation.spherical([[0.0, 0, 0]])
    rotation = utf.Rotation.cylindrical([[1.0, 0, 0], [0.0, 0, 3.0]], on_axis="nan")
    local = rotation.to_local(np.ones((2, 6)))
    assert np.all(np.isfinite(local[0])) and np.all(np.isnan(local[1]))
    with pytest.raises(ValueError, match="axis: expected a direction"):
        utf.Rotation.cylindrical([[1.0, 0, 0]], axis=(0.0, 0.0, 0.0))
    with pytest.raises(ValueError, match="on_axis: expected 'raise' or 'nan', found 'skip'"):
        utf.Rotation.cylindrical([[1.0, 0, 0]], on_axis="skip")


# ------------------------------------------------------------------ tensors


@pytest.mark.parametrize("dtype", [np.float64, np.float32])
def test_to_local_and_to_global_are_the_value_types_bit_for_bit(dtype):
    q = random_quaternions(30, 8)
    S = random_tensors(30, 9, dtype=dtype)
    rotation = utf.Rotation.from_quat(q)
    local, back = rotation.to_local(S), rotation.to_global(S)
    assert local.dtype == dtype
    for i in range(30):
        value = utf.values.Tensor(S[i], 9, dtype=dtype)
        value.transform(utf.values.Quaternion(q[i].astype(dtype), 7, dtype=dtype), False)
        assert np.array_equal(back[i], value.components)
    # Onto the new axes, A S A^T, against long double.
    A = rotation.as_cosines().astype(np.longdouble)
    expected = A @ matrices_long(S.astype(np.float64)) @ np.swapaxes(A, 1, 2)
    tolerance = 16 * (2.0**-53 if dtype == np.float64 else 2.0**-24) * 100
    assert np.all(np.abs(utf.to_matrix(local).astype(np.longdouble) - expected) <= tolerance)


@pytest.mark.parametrize("order", ["utf", "vtk", "voigt"])
@pytest.mark.parametrize("shear", ["tensor", "engineering"])
def test_orders_shears_and_matrices_turn_alike(order, shear):
    rotation = utf.Rotation.from_quat(random_quaternions(40, 10))
    S = random_tensors(40, 11)
    expected = rotation.to_local(S)
    stored = in_order(S, order)
    if shear == "engineering":
        stored[:, 3:] *= 2
    local = rotation.to_local(stored, order=order, shear=shear)
    if shear == "engineering":
        local[:, 3:] /= 2
    assert np.array_equal(local, in_order(expected, order))
    matrices = rotation.to_local(utf.to_matrix(S))
    assert np.array_equal(matrices, utf.to_matrix(expected))


def test_one_rotation_for_all_tensors_and_leading_shapes():
    rotation = utf.Rotation.from_quat(random_quaternions(1, 12)[0])
    S = random_tensors(12, 13).reshape(3, 4, 6)
    local = rotation.to_local(S)
    assert local.shape == (3, 4, 6)
    per_tensor = utf.Rotation.from_quat(np.repeat(rotation.as_quat()[None], 12, 0))
    assert np.array_equal(per_tensor.to_local(S), local)
    assert np.allclose(rotation.to_global(local), S, atol=1e-12)


@pytest.mark.parametrize("layout,values", [("planar3d", 4), ("surface3d", 3), ("planar2d", 4),
                                           ("surface2d", 3)])
def test_in_plane_layouts_turn_about_axis_3_only(layout, values):
    rotation = utf.Rotation.from_angles(0.0, 0.0, np.linspace(-3, 3, 10))
    rng = np.random.default_rng(14)
    S = rng.uniform(-100, 100, size=(10, values))
    local = rotation.to_local(S, layout=layout)
    full = utf.to_matrix(S, layout=layout)
    A = rotation.as_cosines()
    assert np.allclose(utf.to_matrix(local, layout=layout), A @ full @ np.swapaxes(A, 1, 2),
                       atol=1e-12)
    with pytest.raises(ValueError, match=f"rotation 0 tilts the 1-2 plane .* the {layout} layout"):
        utf.Rotation.from_angles(0.3, 0.0, 0.0).to_local(S, layout=layout)


def test_rotation_errors():
    rotation = utf.Rotation.from_quat(random_quaternions(5, 15))
    with pytest.raises(ValueError, match=r"S: expected 5 items \(one per rotation\) or one "
                                         r"rotation for all, found 4"):
        rotation.to_local(np.zeros((4, 6)))
    with pytest.raises(ValueError, match=r"v: expected 5 items .* found 4"):
        rotation.vectors_to_local(np.zeros((4, 3)))
    with pytest.raises(ValueError, match=r"vectors: expected shape \(\.\.\., 3\), found \(5, 2\)"):
        rotation.apply(np.zeros((5, 2)))
    with pytest.raises(ValueError, match=r"quat: expected shape \(4\) or \(N, 4\), found \(3,\)"):
        utf.Rotation.from_quat([0.0, 0, 1])
    with pytest.raises(ValueError, match=r"quat: quaternion 1 .* has no direction"):
        utf.Rotation.from_quat([[0.0, 0, 0, 1], [0, 0, 0, 0]])
    with pytest.raises(ValueError, match=r"quat: quaternion 0 .* has no direction"):
        utf.Rotation.from_quat([np.nan, 0, 0, 1])
    with pytest.raises(ValueError, match=r"matrix: matrix 0 is not a rotation"):
        utf.Rotation.from_matrix(np.diag([1.0, 1.0, -1.0]))
    with pytest.raises(ValueError, match=r"cosines: cosines 0 is not a rotation"):
        utf.Rotation.from_cosines(2 * np.eye(3))
    with pytest.raises(ValueError, match=r"other: expected 1 rotation or 5, found 3"):
        rotation * utf.Rotation.from_quat(random_quaternions(3, 16))
    with pytest.raises(TypeError, match="quat: expected an array of real numbers"):
        utf.Rotation.from_quat(["a", "b", "c", "d"])
    with pytest.raises(TypeError, match="a single rotation has no len"):
        len(rotation[0])
    with pytest.raises(ValueError, match="n: expected 0 or more"):
        utf.Rotation.identity(-1)
    with pytest.raises(ValueError, match="a, b, c: expected shapes that broadcast together"):
        utf.Rotation.from_angles([1.0, 2.0], [1.0, 2.0, 3.0], 0.0)


def test_identity_inverse_and_indexing():
    assert np.array_equal(utf.Rotation.identity().as_cosines(), np.eye(3))
    assert len(utf.Rotation.identity(4)) == 4
    rotation = utf.Rotation.from_quat(random_quaternions(6, 17))
    both = rotation * rotation.inv()
    assert np.allclose(both.as_cosines(), np.eye(3), atol=4e-16)
    assert len(rotation[1:4]) == 3 and rotation[2].single
    assert np.array_equal(rotation[2].as_quat(), rotation.as_quat()[2])
