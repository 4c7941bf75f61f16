"""Dask arrays: the array functions applied block by block, lazily.

A Dask array of tensors is processed one block at a time by the same in-memory function, so that
every tensor's result is the same bits as in one in-memory call (the engine's results do not
depend on a tensor's neighbours or place). The leading axes keep their chunks; the axes that hold
one tensor (the last, or the last two for 3 x 3 matrices) are merged into one chunk first when the
caller split them, since a tensor cannot be computed from part of its components. Nothing is
computed until the caller asks.
"""

import sys


def is_dask_array(value):
    """Whether `value` is a Dask array (without importing Dask when the caller has not)."""
    module = sys.modules.get("dask.array")
    return module is not None and isinstance(value, module.Array)


def whole_items(array, axes):
    """`array` with its last `axes` axes each in one chunk (unchanged when they already are)."""
    ndim = array.ndim
    trailing = range(ndim - axes, ndim)
    if all(len(array.chunks[axis]) == 1 for axis in trailing):
        return array
    return array.rechunk({axis: -1 for axis in trailing})


def map_items(function, array, axes, tail, dtype, *others):
    """A lazy array: `function` applied to each block of `array` (whose last `axes` axes hold
    one item, merged into one chunk) and the matching blocks of `others` (Dask arrays with the
    same leading chunks); each result block has the block's leading shape followed by `tail`."""
    import dask.array as da

    array = whole_items(array, axes)
    ndim = array.ndim
    lead = ndim - axes
    chunks = array.chunks[:lead] + tuple((size,) for size in tail)
    keywords = {}
    if len(tail) < axes:
        keywords["drop_axis"] = list(range(lead + len(tail), ndim))
    elif len(tail) > axes:
        keywords["new_axis"] = list(range(ndim, lead + len(tail)))
    return da.map_blocks(function, array, *others, chunks=chunks, dtype=dtype, **keywords)
