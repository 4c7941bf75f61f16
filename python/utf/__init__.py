"""utf: symmetric tensors (stress, strain), rotations and vectors of finite-element results.

Arrays in, arrays out, on the library's batch engine (SIMD and threads, the GIL released):

    import numpy as np, utf
    S = np.array([[100.0, 0, 0, 0, 0, 0]])       # S11, S22, S33, S12, S13, S23
    utf.mises(S)                                  # array([100.])
    utf.principal_values(S, order="vtk")          # array([[100., 0., 0.]])
    R = utf.Rotation.cylindrical(points)          # one frame per point
    R.to_local(S)                                 # the tensors on the cylindrical axes

The functions are documented in utf.functions, rotations in utf.Rotation, and the value types
themselves (bit for bit the C++ ones) in utf.values. Dask arrays are accepted wherever an array
is, and give lazy Dask arrays.
"""

from . import values
from ._errors import PreconditionError
from .functions import (
    from_matrix,
    inplane_principal_values,
    invariants,
    inv3,
    lode_angle,
    max_shear,
    mises,
    pressure,
    principal_directions,
    principal_values,
    set_thread_count,
    signed_mises,
    simd_target,
    thread_count,
    to_matrix,
    tresca,
    triaxiality,
    worst_principal,
)
from .rotation import Rotation

__all__ = [
    "PreconditionError",
    "Rotation",
    "from_matrix",
    "inplane_principal_values",
    "inv3",
    "invariants",
    "lode_angle",
    "max_shear",
    "mises",
    "pressure",
    "principal_directions",
    "principal_values",
    "set_thread_count",
    "signed_mises",
    "simd_target",
    "thread_count",
    "to_matrix",
    "tresca",
    "values",
    "triaxiality",
    "worst_principal",
]
