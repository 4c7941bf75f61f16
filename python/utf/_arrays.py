"""Checking and converting the callers' arguments for the array functions.

Every public function goes through here before the extension is called: the keywords are
resolved to the engine's codes, the tensors are brought to a C-contiguous (count, values) array of
float32 or float64, and an `out` array is checked. Errors name the argument, what was expected
and what was found.
"""

import numpy as np

# The tensor layouts by name, and the numbers a tensor of each holds.
LAYOUTS = {"full": 9, "planar3d": 10, "surface3d": 11, "planar2d": 12, "surface2d": 13}
LAYOUT_NAMES = {code: name for name, code in LAYOUTS.items()}
VALUES = {9: 6, 10: 4, 11: 3, 12: 4, 13: 3}

# The full layout's component orders (the engine's utf_BatchOrder); MATRIX is taken when a full
# tensor arrives as a 3 x 3 matrix.
ORDERS = {"utf": 0, "vtk": 1, "voigt": 2}
MATRIX = 3

SHEARS = {"tensor": False, "engineering": True}


def layout_code(layout):
    """The layout number 9 to 13 of `layout` (a name or the number)."""
    if isinstance(layout, str):
        if layout in LAYOUTS:
            return LAYOUTS[layout]
    elif isinstance(layout, (int, np.integer)) and not isinstance(layout, (bool, np.bool_)):
        if int(layout) in VALUES:
            return int(layout)
    names = ", ".join(repr(name) for name in LAYOUTS)
    raise ValueError(f"layout: expected one of {names} or a number 9 to 13, found {layout!r}")


def order_code(order, layout):
    """The engine's code of the component order `order` for `layout`."""
    if not isinstance(order, str) or order not in ORDERS:
        names = ", ".join(repr(name) for name in ORDERS)
        raise ValueError(f"order: expected one of {names}, found {order!r}")
    if layout != 9 and order != "utf":
        raise ValueError(
            f"order: the {LAYOUT_NAMES[layout]} layout has one order, 'utf'; "
            f"found {order!r} (the other orders are the full layout's)"
        )
    return ORDERS[order]


def engineering_flag(shear):
    """Whether `shear` says the shear slots hold engineering shears."""
    if not isinstance(shear, str) or shear not in SHEARS:
        raise ValueError(f"shear: expected 'tensor' or 'engineering', found {shear!r}")
    return SHEARS[shear]


def compute_dtype(dtype, name):
    """The precision a call computes in for an input of `dtype`: float32 stays float32, float64
    stays float64, integers and the other real types become float64."""
    dtype = np.dtype(dtype)
    if dtype == np.float32:
        return np.dtype(np.float32)
    if dtype.kind in "fiu":
        return np.dtype(np.float64)
    raise TypeError(f"{name}: expected an array of real numbers, found dtype {dtype}")


def real_array(value, name):
    """`value` as a numpy array of real numbers in its compute precision (no copy when it already
    is one)."""
    if isinstance(value, np.ndarray):
        array = value
    else:
        try:
            array = np.asarray(value)
        except ValueError as error:
            raise ValueError(f"{name}: expected an array of real numbers ({error})") from None
        except TypeError as error:
            raise TypeError(f"{name}: expected an array of real numbers ({error})") from None
    dtype = compute_dtype(array.dtype, name)
    return array.astype(dtype, copy=False)


class TensorSpec:
    """How the trailing axes of a tensor array are read: the layout, order and shear codes, the
    number of trailing axes that hold one tensor (1, or 2 for 3 x 3 matrices) and their size."""

    def __init__(self, shape, layout, order, shear, name="S"):
        self.layout = layout_code(layout)
        self.engineering = engineering_flag(shear)
        order = order_code(order, self.layout)
        shape = tuple(shape)
        if self.layout == 9 and len(shape) >= 2 and shape[-2:] == (3, 3):
            if self.engineering:
                raise ValueError(
                    f"shear: a 3 x 3 matrix holds tensor components; shear='engineering' "
                    f"applies to components only (found {name} of shape {shape})"
                )
            self.order = MATRIX
            self.axes = 2
            self.values = 9
        else:
            self.order = order
            self.axes = 1
            self.values = VALUES[self.layout]
            if len(shape) < 1 or shape[-1] != self.values:
                extra = " or (..., 3, 3)" if self.layout == 9 else ""
                raise ValueError(
                    f"{name}: expected shape (..., {self.values}){extra} for the "
                    f"{LAYOUT_NAMES[self.layout]} layout, found {shape}"
                )
        self.leading = shape[: len(shape) - self.axes]

    @property
    def count(self):
        """The number of tensors."""
        return int(np.prod(self.leading, dtype=np.int64))


def tensor_rows(S, spec):
    """The tensors of the array `S` as a C-contiguous (count, values) array."""
    return np.ascontiguousarray(S.reshape(spec.count, spec.values))


def output(out, shape, dtype, inputs=(), name="out"):
    """A fresh C-contiguous array of `shape` and `dtype`, or the caller's `out` after checking
    that it is one, writable, and shares no memory with `inputs`."""
    if out is None:
        return np.empty(shape, dtype=dtype)
    if not isinstance(out, np.ndarray):
        raise TypeError(f"{name}: expected a numpy array, found {type(out).__name__}")
    if out.dtype != dtype:
        raise TypeError(f"{name}: expected dtype {dtype} (the inputs' precision), found {out.dtype}")
    if out.shape != tuple(shape):
        raise ValueError(f"{name}: expected shape {tuple(shape)}, found {out.shape}")
    if not out.flags.c_contiguous:
        raise ValueError(f"{name}: expected a C-contiguous array")
    if not out.flags.writeable:
        raise ValueError(f"{name}: the array is read-only")
    for array in inputs:
        if np.may_share_memory(out, array):
            raise ValueError(f"{name}: must not share memory with the inputs")
    return out


def rows_of(array, width):
    """A (count, width) view of a C-contiguous array whose last axes hold `width` numbers."""
    return array.reshape(-1, width)
