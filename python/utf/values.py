"""Single engineering-data values: symmetric tensors, rotations and vectors.

Each class holds one value of the C++ library (``utf_Tensor``, ``utf_Quaternion``,
``utf_Vector``) in the precision its ``dtype`` names: ``numpy.float64`` (the default) or
``numpy.float32``. Every operation is the library's own, computed in that precision, and every
number comes back as a numpy scalar or array of that dtype, so a float32 result has exactly the
bits of the C++ float computation.

Conventions (the library's): a rotation carries the global axes onto new axes; its direction
cosine table (``Quaternion.cosines()``) has the new axes as its ROWS. A 3D rotation is
``(x, y, z, w)`` (type 7), an in-plane one ``(sin(t/2), cos(t/2))`` (type 6). Tensor layouts:

    layout  name       components
    ------  ---------  ------------------------------
     9      full       S11, S22, S33, S12, S13, S23
    10      planar3d   S11, S22, S33, S12
    11      surface3d  S11, S22, S12
    12      planar2d   S11, S22, S33, S12
    13      surface2d  S11, S22, S12

With ``engineering_shear`` set the stored shears are engineering shears (twice the tensor
components); the queries halve them on reading.

Errors. Arguments of the wrong kind (a string where numbers are expected, a float where an
integer is, a value of the other dtype) raise ``TypeError``; arguments of the right kind but a
wrong value (a wrong count of components, an unknown layout name, a rotation axis other than 0, 1
or 2) raise ``ValueError``. Both name the argument, what was expected and what was found, and are
raised before the library is called. A precondition of the library itself that fails raises
``PreconditionError`` (a ``ValueError``) carrying the asserted ``expression``, the ``file`` and
the ``line`` that identify the assertion; the value is then unchanged.
"""

import numbers

import numpy

from . import _utf
from ._errors import PreconditionError

__all__ = ["Tensor", "Quaternion", "Vector", "PreconditionError", "LAYOUTS"]

_native = _utf.values

# The layouts by name, and their component counts.
LAYOUTS = {"full": 9, "planar3d": 10, "surface3d": 11, "planar2d": 12, "surface2d": 13}
_LAYOUT_NAMES = {number: name for name, number in LAYOUTS.items()}
_LAYOUT_COUNTS = {9: 6, 10: 4, 11: 3, 12: 4, 13: 3}
_ROTATION_COUNTS = {6: 2, 7: 4}
_INT32 = (-(2**31), 2**31 - 1)

_DTYPES = (numpy.dtype(numpy.float32), numpy.dtype(numpy.float64))


# --- argument checks ---------------------------------------------------------------------------


def _found(value):
    """How a wrong argument is described in a message: its type, and short values themselves."""
    if isinstance(value, (str, bytes)):
        text = repr(value)
        if len(text) > 40:
            return f"{type(value).__name__} of length {len(value)}"
        return f"{type(value).__name__} {text}"
    if isinstance(value, (bool, numpy.bool_, numbers.Number)):
        return f"{type(value).__name__} {value!r}"
    return type(value).__name__


def _dtype_of(dtype):
    message = f"dtype: expected numpy.float32 or numpy.float64, found {dtype!r}"
    try:
        resolved = numpy.dtype(dtype)
    except TypeError:
        raise TypeError(message) from None
    if resolved.kind != "f" or resolved.itemsize not in (4, 8):
        raise TypeError(message)
    return _DTYPES[0] if resolved.itemsize == 4 else _DTYPES[1]


def _integer(value, name):
    if isinstance(value, (bool, numpy.bool_)) or not isinstance(value, numbers.Integral):
        raise TypeError(f"{name}: expected an integer, found {_found(value)}")
    return int(value)


def _flag(value, name):
    if not isinstance(value, (bool, numpy.bool_)):
        raise TypeError(f"{name}: expected True or False, found {_found(value)}")
    return bool(value)


def _real(value, name, dtype):
    """One real number as a numpy scalar of `dtype` (rounded once to float32 if that is the
    dtype)."""
    if isinstance(value, (bool, numpy.bool_)) or not isinstance(value, numbers.Real):
        raise TypeError(f"{name}: expected a real number, found {_found(value)}")
    try:
        with numpy.errstate(over="ignore"):
            return dtype.type(value)
    except OverflowError:
        raise ValueError(f"{name}: expected a real number, found {_found(value)}, which "
                         f"is too large for {dtype.name}") from None


def _real_array(value, name, ndim, dtype):
    """A sequence (ndim 1) or table (ndim 2) of real numbers as a C-contiguous array of `dtype`.
    Float64 numbers are rounded once to float32 when that is the dtype."""
    what = "a sequence" if ndim == 1 else "a 2-D table (a sequence of rows)"
    if isinstance(value, (str, bytes, bytearray, dict, set)) or isinstance(value, _Value):
        raise TypeError(f"{name}: expected {what} of real numbers, found {_found(value)}")
    try:
        array = numpy.asarray(value)
    except (ValueError, TypeError) as error:
        raise ValueError(f"{name}: expected {what} of real numbers, found a sequence that is "
                         f"no array of numbers ({error})") from None
    if array.ndim == 0:
        raise TypeError(f"{name}: expected {what} of real numbers, found {_found(value)}")
    if array.dtype.kind not in "iuf":
        kind = {"b": "booleans", "c": "complex numbers", "U": "strings", "S": "bytes",
                "O": "objects that are no real numbers"}.get(array.dtype.kind, array.dtype.name)
        raise TypeError(f"{name}: expected {what} of real numbers, found {kind}")
    if array.ndim != ndim:
        raise ValueError(f"{name}: expected {what} of real numbers, found an array of "
                         f"{array.ndim} dimensions (shape {array.shape})")
    with numpy.errstate(over="ignore"):
        return numpy.ascontiguousarray(array, dtype=dtype)


def _axis_vector(value, name):
    """An axis of a frame: three real numbers, in double (as the library takes them)."""
    array = _real_array(value, name, 1, _DTYPES[1])
    if array.shape[0] != 3:
        raise ValueError(f"{name}: expected 3 numbers, found {array.shape[0]}")
    return [float(x) for x in array]


def _layout(value, name="layout"):
    if isinstance(value, str):
        if value not in LAYOUTS:
            raise ValueError(f"{name}: expected one of {', '.join(map(repr, LAYOUTS))} or the "
                             f"numbers 9 to 13, found {value!r}")
        return LAYOUTS[value]
    if isinstance(value, (bool, numpy.bool_)) or not isinstance(value, numbers.Integral):
        raise TypeError(f"{name}: expected a layout number (9 to 13) or name, found "
                        f"{_found(value)}")
    if int(value) not in _LAYOUT_COUNTS:
        raise ValueError(f"{name}: expected a layout number 9 to 13, found {int(value)}")
    return int(value)


def _data_type(value, name):
    """A data type handed to the library as it is (it asserts on the ones it refuses)."""
    number = _integer(value, name)
    if not _INT32[0] <= number <= _INT32[1]:
        raise ValueError(f"{name}: expected a data type (a 32-bit integer), found {number}")
    return number


def _indent(value):
    number = _integer(value, "indent")
    if not _INT32[0] <= number <= _INT32[1]:
        raise ValueError(f"indent: expected a 32-bit integer, found {number}")
    return number


def _listed(array):
    return "[" + ", ".join(repr(float(x)) for x in array) + "]"


# --- the values --------------------------------------------------------------------------------


class _Value:
    """What every value has: its C++ value, dtype, data type and components."""

    __slots__ = ("_value", "_dtype")

    @classmethod
    def _wrap(cls, value, dtype):
        made = cls.__new__(cls)
        made._value = value
        made._dtype = dtype
        return made

    def _native_class(self, kind):
        return getattr(_native, kind + ("32" if self._dtype == _DTYPES[0] else "64"))

    def _same_kind(self, other, name, cls):
        if not isinstance(other, cls):
            raise TypeError(f"{name}: expected a utf.values.{cls.__name__}, found "
                            f"{_found(other)}")
        if other._dtype != self._dtype:
            raise TypeError(f"{name}: expected a {cls.__name__} of dtype {self._dtype.name} "
                            f"like this value, found one of dtype {other._dtype.name}")
        return other._value

    @property
    def dtype(self):
        """The precision: numpy.dtype('float32') or numpy.dtype('float64')."""
        return self._dtype

    @property
    def type(self):
        """The data type number (4 vector, 6 and 7 rotations, 9 to 13 tensors)."""
        return self._value.type()

    @property
    def components(self):
        """A copy of the stored components, a 1-D array of the value's dtype."""
        return self._value.components()

    def copy(self):
        """An independent copy of the value."""
        return type(self)._wrap(self._value.copy(), self._dtype)

    __copy__ = copy

    def __deepcopy__(self, memo):
        return self.copy()

    def to_text(self, indent=0):
        """What the value's Print writes, indented by `indent` blanks (none when negative)."""
        return self._value.text(_indent(indent))

    def __str__(self):
        """The Print text without its final newline."""
        text = self.to_text()
        return text[:-1] if text.endswith("\n") else text

    def _scalar(self, value):
        return self._dtype.type(value)


class Tensor(_Value):
    """A symmetric second-order tensor in one of the five layouts.

    ``Tensor(components, layout, engineering_shear=False, dtype=numpy.float64)``: `components`
    holds exactly the layout's count of real numbers (6, 4 or 3), `layout` is 9 to 13 or one of
    the names of ``LAYOUTS``.
    """

    __slots__ = ()

    def __init__(self, components, layout, engineering_shear=False, *, dtype=numpy.float64):
        resolved = _dtype_of(dtype)
        number = _layout(layout)
        shear = _flag(engineering_shear, "engineering_shear")
        array = _real_array(components, "components", 1, resolved)
        count = _LAYOUT_COUNTS[number]
        if array.shape[0] != count:
            raise ValueError(f"components: expected {count} numbers for layout {number} "
                             f"({_LAYOUT_NAMES[number]}), found {array.shape[0]}")
        self._dtype = resolved
        self._value = self._native_class("Tensor")(number, array, shear)

    def __repr__(self):
        return (f"Tensor({_listed(self.components)}, layout={_LAYOUT_NAMES.get(self.type)!r}, "
                f"engineering_shear={self.engineering_shear}, dtype=numpy.{self._dtype.name})")

    @property
    def layout(self):
        """The layout's name: full, planar3d, surface3d, planar2d or surface2d."""
        return _LAYOUT_NAMES.get(self.type)

    @property
    def engineering_shear(self):
        """Whether the stored shears are engineering shears."""
        return self._value.engineering_shear()

    @property
    def has_out_of_plane_direct(self):
        """False for the surface layouts 11 and 13 only."""
        return self._value.has_out_of_plane_direct()

    @property
    def is_3d(self):
        """False for the 2D layouts 12 and 13 only."""
        return self._value.is_3d()

    @property
    def quaternion_type(self):
        """The rotation type that rotates this tensor: 7 (3D) or 6 (2D layouts)."""
        return self._value.quaternion_type()

    # Layouts.

    def expand_to_full(self):
        """A new full (layout 9) tensor; the shear numbers are copied unchanged and the new
        tensor's engineering-shear flag is clear."""
        return Tensor._wrap(self._value.expand_to_full(), self._dtype)

    def convert_layout(self, target):
        """A new tensor in layout `target` by way of the full form (S13, S23 dropped for a
        planar target, S33 too for a surface one); the shear numbers are copied unchanged and
        the new tensor's engineering-shear flag is clear."""
        return Tensor._wrap(self._value.convert_layout(_layout(target, "target")), self._dtype)

    # Principal values and equivalents.

    def max_principal(self):
        """P1 (full); the larger of P1 and S33 (planar); P1 (surface)."""
        return self._scalar(self._value.max_principal())

    def mid_principal(self):
        """P2 (full); the middle of P1, P2, S33 (planar); 0 (surface)."""
        return self._scalar(self._value.mid_principal())

    def min_principal(self):
        """P3 (full); the smaller of P2 and S33 (planar); P2 (surface)."""
        return self._scalar(self._value.min_principal())

    def max_inplane_principal(self):
        """The larger in-plane value of a planar or surface layout; 0 for the full layout."""
        return self._scalar(self._value.max_inplane_principal())

    def min_inplane_principal(self):
        """The smaller in-plane value of a planar or surface layout; 0 for the full layout."""
        return self._scalar(self._value.min_inplane_principal())

    def out_of_plane_principal(self):
        """S33 of a planar layout as stored; 0 for the other layouts."""
        return self._scalar(self._value.out_of_plane_principal())

    def pressure(self):
        """Minus the mean direct stress (divisor 3 in every layout)."""
        return self._scalar(self._value.pressure())

    def mises(self):
        """The Mises equivalent."""
        return self._scalar(self._value.mises())

    def tresca(self):
        """The Tresca equivalent, the range of the principal values."""
        return self._scalar(self._value.tresca())

    def inv3(self):
        """The third deviatoric invariant as a signed equivalent (cube root of 13.5 det s)."""
        return self._scalar(self._value.inv3())

    def compute_principal(self):
        """``(p1, p2, p3)``: P1 >= P2 >= P3 (full), or the in-plane pair descending followed by
        S33 (planar) or 0 (surface)."""
        return tuple(self._scalar(p) for p in self._value.compute_principal())

    # Rotations.

    def transform(self, q, engineering_shear):
        """Rotates in place back to the old axes, S' = A^T S A with A the table of `q`, which
        must be of type ``quaternion_type`` (else PreconditionError). `engineering_shear` says
        whether the stored shears are engineering ones (the tensor's own flag is not read)."""
        rotation = self._same_kind(q, "q", Quaternion)
        self._value.transform(rotation, _flag(engineering_shear, "engineering_shear"))

    def transform_control(self, table_or_q, engineering_shear=False):
        """Rotates in place by a direction-cosine table D (rows the new axes; at least 3 x 3,
        its upper-left 3 x 3 block read): S' = D^T S D, the shears taken as tensorial. A
        Quaternion stands for its ``cosines()``; `engineering_shear` is accepted and ignored, as
        by the library. For the layouts 10 to 13, D[2, 2] must exceed 0.9 (else
        PreconditionError)."""
        shear = _flag(engineering_shear, "engineering_shear")
        if isinstance(table_or_q, Quaternion):
            rotation = self._same_kind(table_or_q, "table_or_q", Quaternion)
            self._value.transform_control(rotation, shear)
            return
        table = _real_array(table_or_q, "table_or_q", 2, self._dtype)
        if table.shape[0] < 3 or table.shape[1] < 3:
            raise ValueError(f"table_or_q: expected a table of at least 3 x 3 numbers, found "
                             f"{table.shape[0]} x {table.shape[1]}")
        self._value.transform_control_table(table)

    def _principal_pair(self, pair):
        principal, rotation = pair
        rotation_type = self.quaternion_type
        count = _ROTATION_COUNTS[rotation_type]
        quaternion = Quaternion._wrap(
            self._native_class("Quaternion")(rotation_type, rotation[:count].copy()), self._dtype)
        return principal, quaternion

    def principal_directions(self):
        """``(principal, q)``: the three principal values (an array) and the principal frame, a
        Quaternion of type ``quaternion_type`` whose table rows are the principal directions in
        the order of the values. The tensor is unchanged."""
        return self._principal_pair(self._value.principal_directions())

    def principal_directions_relative(self, reference):
        """``(principal, q)`` with the frame relative to `reference`, a table whose COLUMNS are
        the reference axes (the transpose of a rotation's ``cosines()``); its shape is checked
        by the library (PreconditionError): 3 x 3 for the 3D layouts, 2 x 2 or 3 x 3 for the 2D
        ones."""
        table = _real_array(reference, "reference", 2, self._dtype)
        return self._principal_pair(self._value.principal_directions_relative(table))


class Quaternion(_Value):
    """A rotation: type 7, ``(x, y, z, w)``, or type 6, ``(sin(t/2), cos(t/2))`` about axis 3.

    ``Quaternion(components, type=None, dtype=numpy.float64)``: four components give type 7 and
    two give type 6 when `type` is not given. Nothing normalises.
    """

    __slots__ = ()

    def __init__(self, components, type=None, *, dtype=numpy.float64):
        resolved = _dtype_of(dtype)
        array = _real_array(components, "components", 1, resolved)
        if type is None:
            by_count = {2: 6, 4: 7}
            if array.shape[0] not in by_count:
                raise ValueError(f"components: expected 4 numbers (type 7) or 2 (type 6), "
                                 f"found {array.shape[0]}")
            number = by_count[array.shape[0]]
        else:
            number = _integer(type, "type")
            if number not in _ROTATION_COUNTS:
                raise ValueError(f"type: expected 7 (3D) or 6 (2D), found {number}")
            if array.shape[0] != _ROTATION_COUNTS[number]:
                raise ValueError(f"components: expected {_ROTATION_COUNTS[number]} numbers for "
                                 f"type {number}, found {array.shape[0]}")
        self._dtype = resolved
        self._value = self._native_class("Quaternion")(number, array)

    def __repr__(self):
        return (f"Quaternion({_listed(self.components)}, type={self.type}, "
                f"dtype=numpy.{self._dtype.name})")

    @classmethod
    def _made(cls, dtype, factory, *args):
        resolved = _dtype_of(dtype)
        native = getattr(_native, "Quaternion" + ("32" if resolved == _DTYPES[0] else "64"))
        return cls._wrap(getattr(native, factory)(*args), resolved)

    @classmethod
    def from_angles(cls, a, b, c, *, dtype=numpy.float64):
        """Type 7 from three angles in radians: a turn by c about Z, then b about Y, then a
        about X. The angles are rounded to the dtype first."""
        resolved = _dtype_of(dtype)
        angles = [_real(value, name, resolved) for value, name in ((a, "a"), (b, "b"), (c, "c"))]
        return cls._made(resolved, "from_angles", *angles)

    @classmethod
    def from_axes(cls, x_axis, y_axis, z_axis=None, *, dtype=numpy.float64):
        """From the new axes, each three real numbers (taken in double): two axes give the
        in-plane rotation (type 6) of the frame's in-plane angle; three give type 7 (a
        left-handed frame is repaired by reversing Y). Pass orthonormal axes."""
        axes = [_axis_vector(x_axis, "x_axis"), _axis_vector(y_axis, "y_axis")]
        if z_axis is not None:
            axes.append(_axis_vector(z_axis, "z_axis"))
        return cls._made(dtype, "from_axes", *axes)

    @classmethod
    def from_frame(cls, type, x_axis, y_axis, z_axis, *, dtype=numpy.float64):
        """Type 6 or 7 from a frame of three axes (the library's matrix constructor); another
        type raises PreconditionError."""
        number = _data_type(type, "type")
        axes = [_axis_vector(axis, name)
                for axis, name in ((x_axis, "x_axis"), (y_axis, "y_axis"), (z_axis, "z_axis"))]
        return cls._made(dtype, "from_frame", number, *axes)

    @classmethod
    def from_table(cls, table, type=7, *, dtype=numpy.float64):
        """From a rotation matrix whose COLUMNS are the new axes (the transpose of
        ``cosines()``). Type 7 needs 3 x 3; type 6 2 x 2 or 3 x 3 (its upper-left 2 x 2 block
        is read); a wrong shape or another type raises PreconditionError."""
        resolved = _dtype_of(dtype)
        number = _data_type(type, "type")
        array = _real_array(table, "table", 2, resolved)
        return cls._made(resolved, "from_table", number, array)

    def cosines(self):
        """The 3 x 3 direction-cosine table, rows the new axes (type 6: the full in-plane
        table)."""
        return self._value.cosines()

    def mult(self, other):
        """``self (x) other``: `other` applied first, then this rotation. Both must have the
        same type (else PreconditionError)."""
        return Quaternion._wrap(self._value.mult(self._same_kind(other, "other", Quaternion)),
                                self._dtype)

    def inverse(self):
        """The conjugate ``(-x, -y, -z, w)`` or ``(-s, c)``."""
        return Quaternion._wrap(self._value.inverse(), self._dtype)

    def to_vector(self):
        """The rotation vector, angle times unit axis (angle in [0, 2 pi] for type 7; (0, 0,
        2 asin(s)) for type 6)."""
        return Vector._wrap(self._value.to_vector(), self._dtype)

    def project_on(self, other, axis, tolerance):
        """Re-aligns this rotation in place so that its Z axis is the third column of `other`'s
        kernel table: row `axis` (0, 1 or 2) of this rotation's table becomes the new Y axis,
        projected. Returns False, changing nothing, when that row is within `tolerance` of the
        normal (|row . normal| > tolerance)."""
        rotation = self._same_kind(other, "other", Quaternion)
        index = _integer(axis, "axis")
        if index not in (0, 1, 2):
            raise ValueError(f"axis: expected 0, 1 or 2, found {index}")
        limit = float(_real(tolerance, "tolerance", _DTYPES[1]))
        return self._value.project_on(rotation, index, limit)


class Vector(_Value):
    """A vector of three components, or two for an in-plane vector (data type 4).

    ``Vector(components, dtype=numpy.float64)``.
    """

    __slots__ = ()

    def __init__(self, components, *, dtype=numpy.float64):
        resolved = _dtype_of(dtype)
        array = _real_array(components, "components", 1, resolved)
        if array.shape[0] not in (2, 3):
            raise ValueError(f"components: expected 3 numbers (or 2 for an in-plane vector), "
                             f"found {array.shape[0]}")
        self._dtype = resolved
        self._value = self._native_class("Vector")(array)

    def __repr__(self):
        return f"Vector({_listed(self.components)}, dtype=numpy.{self._dtype.name})"

    def magnitude(self):
        """The root of the sum of the squares, summed and rooted in the dtype."""
        return self._scalar(self._value.magnitude())

    def transform(self, q):
        """Rotates in place onto the new axes, x' = A x with A = ``q.cosines()``. A
        two-component vector needs a rotation about axis 3 only, A[2, 2] > 0.99 (else
        PreconditionError), and takes the upper-left 2 x 2 block."""
        self._value.transform(self._same_kind(q, "q", Quaternion))

    def transform_kernel(self, q):
        """Rotates in place by the raw kernel of `q`: type 7, its table times the first three
        components (a missing one read as 0); type 6, the in-plane kernel's own table, whose
        second row is zeros (so x2 becomes 0), without a check."""
        self._value.transform_kernel(self._same_kind(q, "q", Quaternion))
