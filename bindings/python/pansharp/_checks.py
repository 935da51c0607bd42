"""Checks of arguments. Each function returns the argument in the form that the module _arrays takes, or raises an exception that says
what to do."""

from __future__ import annotations

import itertools
import math
import numbers
import operator
from collections.abc import Iterable
from typing import Any, Union

import numpy

NoData = Union[int, bool, None, "tuple[int | bool | None, int | bool | None]"]
"""A value for no data, or a pair of those of pan and of the bands; False for none, None for the command's default."""

MOST_ITEMS = 65536  # in a list argument
_RESAMPLINGS = {"bilinear": 1, "cubic": 2}


def image(name: str, given: Any, axes: str) -> numpy.ndarray:
    """The array with the axes band, row, column. An array is not copied."""
    array = numpy.asarray(given.data if isinstance(given, numpy.ma.MaskedArray) else given)
    if array.dtype not in (numpy.uint8, numpy.uint16):
        raise TypeError(f"{name} has samples of {array.dtype}; {_advice(name, array.dtype)}")
    if array.ndim == 2 and axes == "(row, column)":
        array = array[numpy.newaxis]
    if array.ndim != 3 or (axes == "(row, column)" and array.shape[0] != 1):
        raise ValueError(f"{name} has the shape {numpy.shape(given)}; its axes must be {axes}")
    if array.size == 0:
        raise ValueError(f"{name} has the shape {array.shape}, so it has no samples")
    # An axis with stride 0 repeats one sample, but the engine needs each sample at its own address.
    return array.copy() if _repeats(array) else array


_VALUE, _COLLAR = 1, 2
no_gaps: tuple[None, int, int] = (None, 0, 0)
no_place = (0.0, 0.0, 0.0, 0.0)


def gaps(given: Any, array: numpy.ndarray, nodata: int | bool | None, looks: bool,
         bands: Iterable[int] = ()) -> tuple[numpy.ndarray | None, int, int]:
    """What of an image has no data: its mask in bytes, 0 for no data; the rules for the engine; and the value for no data.

    bands: those that take part; none: all.
    """
    rules = 0 if nodata is False else (_COLLAR if looks else 0) | (0 if nodata is None else _VALUE)
    value = 0 if nodata is None or nodata is False else int(nodata)
    if not isinstance(given, numpy.ma.MaskedArray):
        return None, rules, value
    mask = numpy.ma.getmask(given)
    if mask is numpy.ma.nomask:
        return None, rules & _VALUE, value
    if mask.ndim == 2:
        mask = mask[numpy.newaxis]
    of = [band - 1 for band in bands] or slice(array.shape[0])
    return numpy.logical_not(mask[of].any(axis=0)).view(numpy.uint8), rules, value


def nodata(given: Any, dtype: numpy.dtype) -> tuple[int | bool | None, int | bool | None]:
    """The values of pan and of the bands; None for none, False if every sample is data."""
    of_pan, of_ms = items("nodata", given, 2) if isinstance(given, (tuple, list)) else (given, given)
    return _no_data(of_pan, dtype), _no_data(of_ms, dtype)


def _no_data(given: Any, dtype: numpy.dtype) -> int | bool | None:
    if given is None or given is False:
        return given
    most = numpy.iinfo(dtype).max
    if isinstance(given, bool) or not isinstance(given, numbers.Real) or not 0 <= given <= most or int(given) != given:  # type: ignore[operator]
        raise ValueError(f"nodata is {given!r}; give a whole number from 0 to {most}, False for none, or a pair: that of pan and that of ms")
    return int(given)


def bits(given: Any, dtype: numpy.dtype) -> int:
    """The number of bits; 0 for all."""
    count = 0 if given is None else whole("bits", given)
    if given is not None and not (dtype == numpy.uint16 and 9 <= count <= 16):
        raise ValueError(f"bits is {given!r}; give 9 to 16 for samples of numpy.uint16, or None for all")
    return count


def _repeats(array: numpy.ndarray) -> bool:
    return any(stride == 0 and size > 1 for stride, size in zip(array.strides, array.shape))


def _advice(name: str, dtype: numpy.dtype) -> str:
    if dtype.kind == "f":
        return (f"scale them to whole numbers, pan and all bands with the same factor, such as numpy.rint({name} * 10000)"
                ".clip(0, 65535).astype(numpy.uint16) for reflectances from 0 to 1")
    if dtype == numpy.dtype(numpy.uint16).newbyteorder():
        return f"this machine has the other byte order: give {name}.astype(numpy.uint16)"
    if dtype.kind in "iu":
        return f"give {name}.astype(numpy.uint16) if all of them are from 0 to 65535"
    return "give an array of numpy.uint8 or numpy.uint16"


def same_depth(pan: numpy.ndarray, **others: numpy.ndarray | None) -> None:
    for name, array in others.items():
        if array is not None and array.dtype != pan.dtype:
            raise TypeError(f"pan has samples of {pan.dtype} and {name} of {array.dtype}; give both as numpy.uint16")


def placement(name: str, array: numpy.ndarray, pan: numpy.ndarray, pixel_size: Any, offset: Any,
              prefix: str = "") -> tuple[float, ...]:
    """Pixel width and height in pan pixels, and column and row of the image at pan's corner; 0 for the default."""
    if pixel_size is None:
        across, down = (pan.shape[axis] / array.shape[axis] for axis in (2, 1))
        # Swapped axes are more likely than pixels so far from square.
        if min(across, down) >= 1 and max(across, down) > 2 * min(across, down):
            raise ValueError(f"with the shapes {pan.shape[1:]} of pan and {array.shape} of {name}, a pixel of {name} is {across:g} pan "
                             f"pixels wide and {down:g} high; its axes must be (band, row, column), which numpy.moveaxis("
                             f"{name}, -1, 0) makes of (row, column, band); give {prefix}pixel_size if it is meant")
        size = (0.0, 0.0)
    else:
        size = pair(prefix + "pixel_size", pixel_size)
        if min(size) <= 0:
            raise ValueError(f"{prefix}pixel_size is {pixel_size!r}; give the width and height of a pixel of {name} in pan pixels, 1 or more")
    return size + ((0.0, 0.0) if offset is None else pair(prefix + "offset", offset))


def size(pixel_size: Any, fine: tuple[int, ...], coarse: tuple[int, ...]) -> tuple[float, float]:
    """Width and height of a coarse pixel in fine pixels, by the shapes of the images."""
    return (fine[-1] / coarse[-1], fine[-2] / coarse[-2]) if pixel_size is None else pair("pixel_size", pixel_size)


def number(name: str, given: Any) -> float:
    if type(given) is float and math.isfinite(given):  # the usual case: these checks dominate the time of small calls
        return given
    if not isinstance(given, numbers.Real):
        raise TypeError(f"{name} is {given!r}, which is not a number")
    try:
        value = float(given)
    except OverflowError:
        value = math.inf
    if not math.isfinite(value):
        raise ValueError(f"{name} is {value}; give a finite number")
    return value


def above_zero(name: str, given: Any, none: str = "to have it fitted") -> float:
    """0 for None, which means that the engine finds the value itself; `none` says in the message what None is for."""
    value = 0.0 if given is None else number(name, given)
    if given is not None and value <= 0:
        raise ValueError(f"{name} is {given!r}; give a number above 0, or None {none}")
    return value


def mean(name: str, given: Any) -> float | None:
    """0 means that there is none."""
    value = None if given is None else number(name, given)
    if value is not None and value < 0:
        raise ValueError(f"{name} is {given!r}; give a number above 0, 0 where there is none, or None to have it measured")
    return value


def shape(given: Any) -> tuple[int, int]:
    """Rows and columns."""
    rows, columns = (whole("shape", item) for item in items("shape", given, 2))
    if min(rows, columns) < 1:
        raise ValueError(f"shape is {given!r}; give the rows and columns of pan, 1 or more")
    return rows, columns


def pair(name: str, given: Any) -> tuple[float, float]:
    """One number stands for both."""
    if isinstance(given, numbers.Real):
        return number(name, given), number(name, given)
    across, down = items(name, given, 2)
    return number(name, across), number(name, down)


def items(name: str, given: Any, count: int | None = None) -> tuple[Any, ...]:
    unordered = isinstance(given, (str, bytes, dict, set, frozenset))
    if type(given) is not tuple and (unordered or not isinstance(given, Iterable) or (isinstance(given, numpy.ndarray) and given.ndim == 0)):
        raise TypeError(f"{name} is {given!r}; give a sequence of numbers")
    items = tuple(itertools.islice(given, MOST_ITEMS + 1))  # an iterable may be endless
    if len(items) > MOST_ITEMS:
        raise ValueError(f"{name} has more than {MOST_ITEMS} items")
    if not items or (count is not None and len(items) != count):
        raise ValueError(f"{name} has {len(items)} items; give {'some, or None' if count is None else count}")
    return items


def weights(given: Any) -> tuple[float, ...]:
    """Empty for equal shares."""
    return () if given is None or (isinstance(given, str) and given == "equal") else tuple(number(f"weights[{i}]", item) for i, item in enumerate(items("weights", given)))


def transfers(given: Any) -> tuple[float, ...]:
    """One per band, or one for all; empty for the default."""
    return () if given is None else tuple(number("transfer", item) for item in (items("transfer", given) if isinstance(given, Iterable) else (given,)))


def gains(given: Any) -> tuple[tuple[float, float], ...]:
    return () if given is None else tuple(_gain(f"gains[{i}]", item) for i, item in enumerate(items("gains", given)))


def _gain(name: str, given: Any) -> tuple[float, float]:
    gain, ratio_gain = items(name, given, 2)
    return number(name, gain), number(name, ratio_gain)


def bands(given: Any, count: int, name: str = "ms") -> tuple[int, ...]:
    if given is None:
        return ()
    chosen = tuple(whole("bands", item) for item in items("bands", given))
    for band in chosen:
        if not 1 <= band <= count:
            raise ValueError(f"bands has {band}; bands count from 1, and {name} has {count}")
    return chosen


def whole(name: str, given: Any) -> int:
    try:
        return operator.index(given)
    except TypeError:
        raise TypeError(f"{name} has {given!r}, which is not a whole number") from None


def threads(given: Any) -> int:
    count = whole("threads", given)
    if not 0 <= count < 2**16:
        raise ValueError(f"threads is {count}; give 1 to 65535, or 0 for one per processor")
    return count


def method(given: Any) -> str | None:
    if given is not None and not (isinstance(given, str) and given.isalnum() and given.isascii()):
        raise TypeError(f"method is {given!r}; give one of pansharp.methods(), or None for the recommended one")
    return given


def resampling(given: Any) -> int:
    if not isinstance(given, str) or given not in _RESAMPLINGS:
        raise ValueError(f"resampling is {given!r}; give 'bilinear' or 'cubic'")
    return _RESAMPLINGS[given]


def callback(given: Any) -> Any:
    if given is not None and not callable(given):
        raise TypeError(f"progress is {given!r}; give a function of (rows done, rows)")
    return given


def output(out: Any, shape: tuple[int, ...], dtype: numpy.dtype) -> numpy.ndarray:
    """`out`, or a new array if it is None."""
    if out is None:
        return numpy.empty(shape, dtype)
    if not isinstance(out, numpy.ndarray) or isinstance(out, numpy.ma.MaskedArray):
        raise TypeError(f"out is of {type(out).__name__}; give a numpy array")
    if out.dtype != dtype:
        raise TypeError(f"out has samples of {out.dtype}; they must be of {dtype}")
    if out.shape != shape:
        raise ValueError(f"out has the shape {out.shape}; it must be {shape}: (band, row, column)")
    if not out.flags.writeable:
        raise ValueError("out is read-only; give an array that may be written")
    if _repeats(out):
        raise ValueError("out has an axis that repeats one sample; give an array with memory for all of them")
    return out
