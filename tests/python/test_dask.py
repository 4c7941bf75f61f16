"""Dask arrays: lazy results, the leading chunks kept, and every result equal bit for bit to the
in-memory call; 10^7 tensors on a local cluster of two worker processes."""

import time

import dask
import dask.array as da
import numpy as np
import pytest

import utf
from conftest import random_tensors

FUNCTIONS = ["mises", "pressure", "tresca", "inv3", "max_shear", "signed_mises",
             "worst_principal", "triaxiality", "lode_angle", "invariants", "principal_values",
             "inplane_principal_values", "to_matrix"]


class CountingScheduler:
    """A synchronous scheduler that counts the graphs it is asked to compute."""

    def __init__(self):
        self.calls = 0

    def __call__(self, graph, keys, **kwargs):
        self.calls += 1
        return dask.get(graph, keys, **kwargs)


@pytest.mark.parametrize("name", FUNCTIONS)
def test_every_function_is_lazy_and_equal_to_the_in_memory_call(name):
    S = random_tensors(1000, 1).reshape(10, 100, 6)
    S[3, 7, 2] = np.nan
    lazy_input = da.from_array(S, chunks=(3, 40, 6))
    scheduler = CountingScheduler()
    with dask.config.set(scheduler=scheduler):
        result = getattr(utf, name)(lazy_input)
        assert scheduler.calls == 0  # nothing computed yet
        assert isinstance(result, da.Array)
        assert result.chunks[:2] == lazy_input.chunks[:2]
        computed = result.compute()
    assert scheduler.calls == 1
    assert np.array_equal(computed, getattr(utf, name)(S), equal_nan=True)


def test_principal_directions_rotations_and_split_component_axes():
    S = random_tensors(500, 2)
    lazy = da.from_array(S, chunks=(128, 3))  # the component axis split: merged, not refused
    values, directions = utf.principal_directions(lazy)
    expected_values, expected_directions = utf.principal_directions(S)
    assert values.chunks[0] == lazy.chunks[0] and directions.shape == (500, 3, 3)
    assert np.array_equal(values.compute(), expected_values)
    assert np.array_equal(directions.compute(), expected_directions)
    rng = np.random.default_rng(3)
    q = rng.normal(size=(500, 4))
    per_tensor = utf.Rotation.from_quat(q)
    one = utf.Rotation.from_quat(q[0])
    for rotation in (per_tensor, one):
        assert np.array_equal(rotation.to_local(lazy).compute(), rotation.to_local(S))
        assert np.array_equal(rotation.to_global(lazy).compute(), rotation.to_global(S))
    matrices = da.from_array(utf.to_matrix(S), chunks=(100, 3, 3))
    assert np.array_equal(per_tensor.to_local(matrices).compute(),
                          per_tensor.to_local(utf.to_matrix(S)))
    vectors = rng.normal(size=(500, 3))
    assert np.array_equal(per_tensor.vectors_to_local(da.from_array(vectors, chunks=77)).compute(),
                          per_tensor.vectors_to_local(vectors))
    float32 = da.from_array(S.astype(np.float32), chunks=(100, 6))
    assert utf.mises(float32).dtype == np.float32
    assert np.array_equal(utf.mises(float32).compute(), utf.mises(S.astype(np.float32)))


def test_dask_errors():
    lazy = da.zeros((10, 5), chunks=5)
    with pytest.raises(ValueError, match=r"S: expected shape \(\.\.\., 6\)"):
        utf.mises(lazy)
    with pytest.raises(ValueError, match="out: not accepted with a Dask array"):
        utf.mises(da.zeros((10, 6)), out=np.empty(10))
    with pytest.raises(TypeError, match="S: expected an array of real numbers, found dtype bool"):
        utf.mises(da.zeros((10, 6), dtype=bool))
    rotation = utf.Rotation.from_quat(np.tile([0.0, 0, 0, 1], (4, 1)))
    with pytest.raises(ValueError, match=r"S: expected 4 items \(one per rotation\), found 10"):
        rotation.to_local(da.zeros((10, 6)))


def test_ten_million_tensors_on_a_local_cluster_of_two_worker_processes():
    distributed = pytest.importorskip("distributed")
    count, chunk = 10**7, 10**6
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                  dashboard_address=None, memory_limit=0) as cluster, \
            distributed.Client(cluster) as client:
        S = da.random.RandomState(2026).standard_normal((count, 6), chunks=(chunk, 6)) * 100.0
        in_memory = S.compute()
        lazy_values = utf.principal_values(S)
        lazy_mises = utf.mises(S)
        assert lazy_values.chunks[0] == (chunk,) * 10
        start = time.perf_counter()
        values, mises = client.compute([lazy_values, lazy_mises], sync=True)
        seconds = time.perf_counter() - start
        workers = len(client.scheduler_info()["workers"])
    assert workers == 2
    assert np.array_equal(values, utf.principal_values(in_memory))
    assert np.array_equal(mises, utf.mises(in_memory))
    print(f"\n10^7 tensors, chunks of 10^6, 2 worker processes: principal values and Mises in "
          f"{seconds:.2f} s")
