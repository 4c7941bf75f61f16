#!/usr/bin/env python3
"""The Python package's speed on 10^6 full tensors in one call, side by side in one run:

- utf.principal_values against numpy.linalg.eigvalsh on the same tensors as 3 x 3 matrices
  (goal: 50 times faster or more), and against the C++ engine's own benchmark (bench_batch's
  batch_principalValues/double/3d_full, one thread, and scaling_principalValues/.../threads_2)
  run on the very same tensors (goal: the Python call within 1.1 times the C++ time);
- utf.mises against a numpy expression of Mises (goal: 5 times faster or more), and against
  bench_batch's batch_mises/double/3d_full.

Each time is the minimum over the repetitions (default 10). The Python calls are timed with a
fresh result array, as a user calls them, and with out= (a preallocated array, as the C++
benchmark writes); the engine runs on one thread where it is compared with the one-thread C++
benchmark, and on two beside the two-thread one.

    /usr/bin/python3 bench/bench_python.py [--build build/release] [--repetitions 10]

The package is imported from BUILD/python and the C++ benchmark is BUILD/bin/bench_batch.
"""

import argparse
import json
import os
import subprocess
import sys
import tempfile
import time

import numpy as np

COUNT = 10**6


def best_time(function, repetitions):
    """The minimum wall-clock time of `function()` over `repetitions` calls, after one untimed."""
    function()
    best = float("inf")
    for _ in range(repetitions):
        start = time.perf_counter()
        function()
        best = min(best, time.perf_counter() - start)
    return best


def cpp_times(bench_batch, tensors, repetitions):
    """bench_batch's times per pass (seconds) on `tensors`, by benchmark name."""
    with tempfile.NamedTemporaryFile(suffix=".f64", delete=False) as file:
        tensors.astype("<f8").tofile(file)
        path = file.name
    try:
        names = ["batch_principalValues/double/3d_full", "batch_mises/double/3d_full",
                 "scaling_principalValues/double/3d_full/threads_1",
                 "scaling_principalValues/double/3d_full/threads_2"]
        pattern = "^(" + "|".join(names) + ")/repeats:[0-9]+/real_time$"
        environment = dict(os.environ, UTF_BENCH_FULL_DOUBLE_TENSORS=path,
                           UTF_BENCH_REPETITIONS=str(repetitions))
        done = subprocess.run([bench_batch, f"--benchmark_filter={pattern}",
                               "--benchmark_format=json"], capture_output=True, text=True,
                              env=environment, check=True)
    finally:
        os.unlink(path)
    times = {}
    for entry in json.loads(done.stdout)["benchmarks"]:
        if entry.get("aggregate_name") == "min":
            name = entry["run_name"].split("/repeats:")[0]
            times[name] = entry["real_time"] / 1e3  # milliseconds -> seconds
    return times


def mises_numpy(S):
    """Mises by a plain numpy expression: sqrt(((S11 - S22)^2 + (S22 - S33)^2 + (S33 - S11)^2) / 2
    + 3 (S12^2 + S13^2 + S23^2))."""
    s11, s22, s33, s12, s13, s23 = S.T
    return np.sqrt(0.5 * ((s11 - s22) ** 2 + (s22 - s33) ** 2 + (s33 - s11) ** 2)
                   + 3.0 * (s12 * s12 + s13 * s13 + s23 * s23))


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--build", default="build/release")
    parser.add_argument("--repetitions", type=int, default=10)
    args = parser.parse_args()
    sys.path.insert(0, os.path.join(args.build, "python"))
    import utf

    rng = np.random.default_rng(20261125)
    S = rng.uniform(-100.0, 100.0, size=(COUNT, 6))
    M = utf.to_matrix(S)
    values_out, mises_out = np.empty((COUNT, 3)), np.empty(COUNT)
    reps = args.repetitions

    cpp = cpp_times(os.path.join(args.build, "bin", "bench_batch"), S, reps)
    utf.set_thread_count(1)
    one = {
        "principal_values": best_time(lambda: utf.principal_values(S), reps),
        "principal_values_out": best_time(lambda: utf.principal_values(S, out=values_out), reps),
        "mises": best_time(lambda: utf.mises(S), reps),
        "mises_out": best_time(lambda: utf.mises(S, out=mises_out), reps),
    }
    utf.set_thread_count(2)
    two = {
        "principal_values": best_time(lambda: utf.principal_values(S), reps),
        "principal_values_out": best_time(lambda: utf.principal_values(S, out=values_out), reps),
    }
    utf.set_thread_count(0)
    eigvalsh = best_time(lambda: np.linalg.eigvalsh(M), max(2, reps // 5))
    numpy_mises = best_time(lambda: mises_numpy(S), reps)

    # The answers agree, so that the race is between equals.
    reference = np.linalg.eigvalsh(M)[:, ::-1]
    assert np.allclose(utf.principal_values(S), reference, atol=1e-11, rtol=0)
    assert np.allclose(utf.mises(S), mises_numpy(S), rtol=1e-14)

    def ns(seconds):
        return f"{seconds / COUNT * 1e9:8.2f}"

    cpp_values = cpp["batch_principalValues/double/3d_full"]
    cpp_values_2 = cpp["scaling_principalValues/double/3d_full/threads_2"]
    cpp_mises = cpp["batch_mises/double/3d_full"]
    rows = [
        ("utf.principal_values, 1 thread", one["principal_values"]),
        ("utf.principal_values(out=), 1 thread", one["principal_values_out"]),
        ("bench_batch batch_principalValues, 1 thread", cpp_values),
        ("utf.principal_values, 2 threads", two["principal_values"]),
        ("utf.principal_values(out=), 2 threads", two["principal_values_out"]),
        ("bench_batch scaling_principalValues threads_2", cpp_values_2),
        ("numpy.linalg.eigvalsh", eigvalsh),
        ("utf.mises, 1 thread", one["mises"]),
        ("utf.mises(out=), 1 thread", one["mises_out"]),
        ("bench_batch batch_mises, 1 thread", cpp_mises),
        ("numpy expression of Mises", numpy_mises),
    ]
    print(f"10^6 full tensors (float64), minimum of {reps} runs, SIMD target "
          f"{utf.simd_target()}\n")
    print("| call | ms per call | ns per tensor |")
    print("|---|---:|---:|")
    for name, seconds in rows:
        print(f"| {name} | {seconds * 1e3:8.2f} | {ns(seconds)} |")
    print()
    print("| ratio | value | goal |")
    print("|---|---:|---|")
    ratios = [
        ("eigvalsh / utf.principal_values (1 thread)", eigvalsh / one["principal_values"],
         ">= 50"),
        ("eigvalsh / utf.principal_values (2 threads)", eigvalsh / two["principal_values"],
         ">= 50"),
        ("utf.principal_values / C++ (1 thread)", one["principal_values"] / cpp_values, "<= 1.1"),
        ("utf.principal_values(out=) / C++ (1 thread)", one["principal_values_out"] / cpp_values,
         "<= 1.1"),
        ("utf.principal_values / C++ (2 threads)", two["principal_values"] / cpp_values_2,
         "<= 1.1"),
        ("utf.principal_values(out=) / C++ (2 threads)",
         two["principal_values_out"] / cpp_values_2, "<= 1.1"),
        ("numpy Mises / utf.mises (1 thread)", numpy_mises / one["mises"], ">= 5"),
        ("utf.mises / C++ (1 thread)", one["mises"] / cpp_mises, "-"),
    ]
    for name, value, goal in ratios:
        print(f"| {name} | {value:6.2f} | {goal} |")
    return 0


if __name__ == "__main__":
    sys.exit(main())
