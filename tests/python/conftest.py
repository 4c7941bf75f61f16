"""The Python tests' shared kit: hypothesis settings, random tensors, and long-double references
computed independently of the library (a cyclic Jacobi eigen solver in numpy's long double)."""

import os

import numpy as np
import pytest
from hypothesis import HealthCheck, settings

# Reproducible runs under CTest (derandomised), and no deadline: a shared 2-core machine may
# stall any one example.
settings.register_profile(
    "utf", derandomize=True, deadline=None, max_examples=200,
    suppress_health_check=[HealthCheck.too_slow])
settings.load_profile(os.environ.get("UTF_HYPOTHESIS_PROFILE", "utf"))

# The library's full-layout order S11, S22, S33, S12, S13, S23, and where each component sits in
# the other orders.
ORDER_PERMUTATIONS = {
    "utf": [0, 1, 2, 3, 4, 5],
    "vtk": [0, 1, 2, 3, 5, 4],    # XX, YY, ZZ, XY, YZ, XZ
    "voigt": [0, 1, 2, 5, 4, 3],  # 11, 22, 33, 23, 13, 12
}


def in_order(S, order):
    """Full tensors in the library's order rewritten in `order`."""
    return np.ascontiguousarray(S[..., ORDER_PERMUTATIONS[order]])


def random_tensors(count, seed, scale=100.0, dtype=np.float64):
    """Full tensors with components uniform in [-scale, scale]."""
    rng = np.random.default_rng(seed)
    return (rng.uniform(-scale, scale, size=(count, 6))).astype(dtype)


def repeated_value_tensors(count, seed):
    """Tensors with two equal principal values (up to the rounding of forming them): Q diag(a, a,
    b) Q^T for random rotations Q, in the library's order."""
    rng = np.random.default_rng(seed)
    a = rng.uniform(-100, 100, count)
    b = rng.uniform(-100, 100, count)
    q = rng.normal(size=(count, 4))
    q /= np.linalg.norm(q, axis=1)[:, None]
    x, y, z, w = q.T
    R = np.stack([
        np.stack([1 - 2 * (y * y + z * z), 2 * (x * y - z * w), 2 * (x * z + y * w)], -1),
        np.stack([2 * (x * y + z * w), 1 - 2 * (x * x + z * z), 2 * (y * z - x * w)], -1),
        np.stack([2 * (x * z - y * w), 2 * (y * z + x * w), 1 - 2 * (x * x + y * y)], -1),
    ], axis=1)
    D = np.zeros((count, 3, 3))
    D[:, 0, 0] = a
    D[:, 1, 1] = a
    D[:, 2, 2] = b
    M = R @ D @ np.swapaxes(R, 1, 2)
    return np.stack([M[:, 0, 0], M[:, 1, 1], M[:, 2, 2], M[:, 0, 1], M[:, 0, 2], M[:, 1, 2]], -1)


def matrices_long(S):
    """(N, 3, 3) long-double matrices of full tensors (library order, tensor shears)."""
    S = np.asarray(S, dtype=np.longdouble)
    M = np.empty(S.shape[:-1] + (3, 3), dtype=np.longdouble)
    for k, (i, j) in enumerate([(0, 0), (1, 1), (2, 2), (0, 1), (0, 2), (1, 2)]):
        M[..., i, j] = S[..., k]
        M[..., j, i] = S[..., k]
    return M


def jacobi_long(S, sweeps=12):
    """Eigenvalues (descending) and eigenvectors (rows) of full tensors in long double, by cyclic
    Jacobi rotations: an independent reference, converged far beyond double precision."""
    A = matrices_long(S).reshape(-1, 3, 3).copy()
    n = A.shape[0]
    V = np.broadcast_to(np.eye(3, dtype=np.longdouble), (n, 3, 3)).copy()
    with np.errstate(over="ignore"):  # theta^2 of a negligible pivot: t rounds to 0 as it should
        return _jacobi_sweeps(A, V, n, sweeps)


def _jacobi_sweeps(A, V, n, sweeps):
    one = np.longdouble(1)
    for _ in range(sweeps):
        for p, q in ((0, 1), (0, 2), (1, 2)):
            apq = A[:, p, q]
            active = apq != 0
            theta = np.where(active, (A[:, q, q] - A[:, p, p]) / (2 * np.where(active, apq, one)),
                             0)
            t = np.where(active, np.sign(theta + (theta == 0)) /
                         (np.abs(theta) + np.sqrt(theta * theta + one)), 0)
            c = one / np.sqrt(t * t + one)
            s = t * c
            J = np.broadcast_to(np.eye(3, dtype=np.longdouble), (n, 3, 3)).copy()
            J[:, p, p] = c
            J[:, q, q] = c
            J[:, p, q] = s
            J[:, q, p] = -s
            A = np.swapaxes(J, 1, 2) @ A @ J
            V = V @ J
    values = np.diagonal(A, axis1=1, axis2=2)
    order = np.argsort(-values, axis=1)
    values = np.take_along_axis(values, order, axis=1)
    vectors = np.take_along_axis(np.swapaxes(V, 1, 2), order[:, :, None], axis=1)
    return values, vectors


@pytest.fixture(autouse=True)
def default_threads():
    """Every test starts and ends with the engine's default thread count."""
    import utf

    utf.set_thread_count(0)
    yield
    utf.set_thread_count(0)
