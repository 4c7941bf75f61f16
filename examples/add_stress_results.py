#!/usr/bin/env python3
"""Adds stress results to a finite-element results file: von Mises, the principal values, the
principal directions (as 3-component vectors ParaView draws with its Glyph filter), and the
stresses on cylindrical axes. Reads and writes any format meshio knows (.vtu, .vtk, .xdmf, ...).

    add_stress_results.py plate.vtu plate_results.vtu --field stress --order vtk \
        --origin 0 0 0 --axis 0 0 1

The stress is a point-data (or, failing that, cell-data) array of 6 components in the order
given (VTK files store XX, YY, ZZ, XY, YZ, XZ: --order vtk) or of 9 (3 x 3 matrices). New arrays,
named after the field: FIELD_mises, FIELD_principal (P1, P2, P3), FIELD_direction1..3 (unit
vectors scaled by their principal value, or unit with --unit-directions), FIELD_cylindrical (the
tensor on the radial, tangential and axial axes, in the input's order).
"""

import argparse
import sys

import meshio
import numpy as np

import utf


def stress_arrays(mesh, field):
    """(association, arrays) of `field`: point data as one array, cell data as one per block."""
    if field in mesh.point_data:
        return "point", [np.asarray(mesh.point_data[field])]
    if field in mesh.cell_data:
        return "cell", [np.asarray(block) for block in mesh.cell_data[field]]
    known = sorted(list(mesh.point_data) + list(mesh.cell_data))
    raise SystemExit(f"add_stress_results: no array {field!r} in the file; it has {known}")


def tensors_of(array, field):
    """The tensors of an array of 6 components or of 3 x 3 matrices (9 components)."""
    if array.ndim == 2 and array.shape[1] == 9:
        return array.reshape(-1, 3, 3)
    if array.ndim == 3 and array.shape[1:] == (3, 3) or array.ndim == 2 and array.shape[1] == 6:
        return array
    raise SystemExit(f"add_stress_results: {field!r} has shape {array.shape}; expected 6 "
                     f"components or a 3 x 3 matrix per point")


def cell_centres(mesh):
    """The centre of each cell of each block (the mean of its points)."""
    return [mesh.points[block.data].mean(axis=1) for block in mesh.cells]


def results(S, positions, args):
    """The new arrays for the tensors S at `positions`."""
    keywords = {"order": args.order} if S.ndim == 2 else {}
    values, directions = utf.principal_directions(S, **keywords)
    if not args.unit_directions:
        directions = directions * values[..., None]
    points = np.zeros((len(positions), 3))
    points[:, :positions.shape[1]] = positions[:, :3]  # 2D meshes have no z
    # Points on the axis have no radial direction: their cylindrical stresses are NaN.
    frames = utf.Rotation.cylindrical(points, origin=args.origin, axis=args.axis, on_axis="nan")
    name = args.field
    return {
        f"{name}_mises": utf.mises(S, **keywords),
        f"{name}_principal": values,
        f"{name}_direction1": directions[:, 0, :],
        f"{name}_direction2": directions[:, 1, :],
        f"{name}_direction3": directions[:, 2, :],
        f"{name}_cylindrical": frames.to_local(S, **keywords).reshape(len(S), -1),
    }


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("input")
    parser.add_argument("output")
    parser.add_argument("--field", default="stress", help="the stress array (default: stress)")
    parser.add_argument("--order", default="vtk", choices=["utf", "vtk", "voigt"],
                        help="the order of a 6-component array (default: vtk)")
    parser.add_argument("--origin", type=float, nargs=3, default=[0.0, 0.0, 0.0])
    parser.add_argument("--axis", type=float, nargs=3, default=[0.0, 0.0, 1.0])
    parser.add_argument("--unit-directions", action="store_true",
                        help="unit principal directions instead of scaled by their value")
    args = parser.parse_args(argv)

    mesh = meshio.read(args.input)
    association, arrays = stress_arrays(mesh, args.field)
    if association == "point":
        blocks = [results(tensors_of(arrays[0], args.field), mesh.points, args)]
        mesh.point_data.update(blocks[0])
    else:
        blocks = [results(tensors_of(array, args.field), centres, args)
                  for array, centres in zip(arrays, cell_centres(mesh))]
        for key in blocks[0]:
            mesh.cell_data[key] = [block[key] for block in blocks]
    mesh.write(args.output)
    count = sum(len(block[f"{args.field}_mises"]) for block in blocks)
    print(f"{args.output}: {count} {association}s, added {', '.join(blocks[0])}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
