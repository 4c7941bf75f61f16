"""examples/add_stress_results.py on a small results file it writes: a ring of quadrilaterals
under a known stress field, read back with meshio."""

import math
import os
import subprocess
import sys

import meshio
import numpy as np
import pytest

import utf

SCRIPT = os.path.join(os.path.dirname(__file__), "..", "..", "examples", "add_stress_results.py")


def ring_mesh(path, association):
    """A ring 1 <= r <= 2 of quadrilaterals whose stress is a pure hoop stress of 100 plus a
    radial 10 and an axial 5: on cylindrical axes (10, 100, 5, 0, 0, 0) everywhere. Stored in
    VTK's order (XX, YY, ZZ, XY, YZ, XZ)."""
    radii, angles = np.linspace(1, 2, 3), np.linspace(0, math.pi / 2, 5)
    r, t = np.meshgrid(radii, angles, indexing="ij")
    points = np.stack([r.ravel() * np.cos(t.ravel()), r.ravel() * np.sin(t.ravel()),
                       np.zeros(r.size)], axis=1)
    quads = [[i * 5 + j, (i + 1) * 5 + j, (i + 1) * 5 + j + 1, i * 5 + j + 1]
             for i in range(2) for j in range(4)]

    def stress_at(xy):
        theta = np.arctan2(xy[:, 1], xy[:, 0])
        c, s = np.cos(theta), np.sin(theta)
        sr, st, sz = 10.0, 100.0, 5.0
        xx = sr * c * c + st * s * s
        yy = sr * s * s + st * c * c
        xy_ = (sr - st) * s * c
        zero = np.zeros_like(c)
        return np.stack([xx, yy, sz + zero, xy_, zero, zero], axis=1)  # YZ = XZ = 0

    if association == "point":
        mesh = meshio.Mesh(points, [("quad", np.array(quads))],
                           point_data={"stress": stress_at(points)})
    else:
        centres = points[np.array(quads)].mean(axis=1)
        mesh = meshio.Mesh(points, [("quad", np.array(quads))],
                           cell_data={"stress": [stress_at(centres)]})
    mesh.write(path)
    return mesh


def run_script(*args):
    environment = dict(os.environ)
    return subprocess.run([sys.executable, SCRIPT, *args], capture_output=True, text=True,
                          env=environment, check=False)


@pytest.mark.parametrize("association", ["point", "cell"])
def test_the_example_adds_the_results(tmp_path, association):
    source, target = tmp_path / "ring.vtu", tmp_path / "ring_results.vtu"
    original = ring_mesh(source, association)
    done = run_script(str(source), str(target), "--field", "stress", "--order", "vtk")
    assert done.returncode == 0, done.stderr
    assert f"ring_results.vtu: {15 if association == 'point' else 8} {association}s" in done.stdout
    mesh = meshio.read(target)
    data = mesh.point_data if association == "point" else \
        {key: value[0] for key, value in mesh.cell_data.items()}
    S = data["stress"]
    # Mises of (10, 100, 5) principal stresses, by hand.
    mises = math.sqrt(((10 - 100) ** 2 + (100 - 5) ** 2 + (5 - 10) ** 2) / 2)
    assert np.allclose(data["stress_mises"], mises, rtol=1e-12)
    assert np.allclose(data["stress_principal"], [100.0, 10.0, 5.0], atol=1e-12)
    # The first direction is the hoop direction, scaled by 100, along (-sin, cos, 0) up to sign.
    xy = mesh.points if association == "point" else \
        mesh.points[mesh.cells[0].data].mean(axis=1)
    theta = np.arctan2(xy[:, 1], xy[:, 0])
    hoop = np.stack([-np.sin(theta), np.cos(theta), 0 * theta], axis=1) * 100.0
    d1 = data["stress_direction1"]
    assert np.allclose(np.abs(np.sum(d1 * hoop, axis=1)), 100.0 * 100.0, rtol=1e-12)
    # On cylindrical axes the stress is (10, 100, 5, 0, 0, 0) in VTK's order, everywhere.
    assert np.allclose(data["stress_cylindrical"], [10.0, 100.0, 5.0, 0, 0, 0], atol=1e-12)
    # The input's arrays and mesh are kept.
    written = original.point_data["stress"] if association == "point" else \
        original.cell_data["stress"][0]
    assert np.array_equal(S, written)
    assert np.array_equal(mesh.points, meshio.read(source).points)
    assert np.array_equal(utf.mises(S, order="vtk"), data["stress_mises"])


def test_the_example_names_a_missing_field(tmp_path):
    source = tmp_path / "ring.vtu"
    ring_mesh(source, "point")
    done = run_script(str(source), str(tmp_path / "out.vtu"), "--field", "strain")
    assert done.returncode != 0
    assert "no array 'strain' in the file; it has ['stress']" in done.stderr
    assert not (tmp_path / "out.vtu").exists()
