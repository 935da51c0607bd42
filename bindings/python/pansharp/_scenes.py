"""Scenes in files: written by `sharpen`, examined by `info`, read window by window by `open`."""

from __future__ import annotations

import math
import numbers
import os
import warnings
from collections.abc import Callable, Sequence
from typing import Any, Union

import numpy

from . import _checks, _errors, _options

File = Union[str, "os.PathLike[str]", "tuple[str | os.PathLike[str], int]"]
"""A path, or a pair of a path and one of its bands, counted from 1."""


_MOST_PIXELS, _LEAST_ROWS = 1 << 20, 256  # of a part that is read at a time


def _warn(text: str) -> None:
    warnings.warn(_options.spoken(text), _errors.PansharpWarning, stacklevel=3)


def sharpen(pan: File, ms: File | Sequence[File] | None = None, out: str | os.PathLike[str] | None = None, *,
            progress: Callable[[float, float], object] | None = None, **options: Any) -> dict[str, Any]:
    """Fuses files into a file, as the command ``pansharp sharpen`` does. Returns what that prints with ``--json``.

    pan: the panchromatic raster; without ms, a .pansharp file that describes a scene.
    ms: the multispectral raster, or a list of several; (path, band) is one band of a file.
    out: the file to write; it appears when it is complete. With the extension .pansharp it describes the scene.
    progress: called with (part done, 1.0) in the calling thread. An exception that it raises cancels and is passed on; no output is left.
    options: those of the command, see `pansharp.options()`; such as ``method="KOVA", co={"COMPRESS": "DEFLATE"}, overwrite=True``.

    Raises ArgumentError, InputError, OutputError and other pansharp.Error with the engine's report; TypeError for an option that is
    unknown or of a wrong type; ImportError if GDAL is missing; KeyboardInterrupt when the user interrupts. Warns with PansharpWarning.
    """
    if out is None:
        raise TypeError("no output is named; give out, the name of the file to write")
    texts = _options.texts("sharpen", options)
    texts["--output"] = [_options.file(out)]
    return _options.result(_options.call(_options.engine().sharpen, _options.files(pan, ms), texts, _checks.callback(progress), _warn))


def info(pan: File, ms: File | Sequence[File] | None = None, **options: Any) -> dict[str, Any]:
    """Describes a pair before it is fused. Returns what ``pansharp info`` prints with ``--json``, including warnings.

    Raises like `sharpen`; the exception's `report` then has what was found.
    """
    texts = _options.texts("info", options)
    return _options.result(_options.call(_options.engine().info, _options.files(pan, ms), texts))


def open(pan: File, ms: File | Sequence[File] | None = None, *, threads: int = 1, **options: Any) -> Dataset:
    """Opens a pair, or a .pansharp file, as the sharpened image that it stands for: pixels are fused as they are read.

    What the options leave open is first fitted to the pixels of a pair, which takes about as long as `info`; a .pansharp file contains it.

    threads: how many may read at a time; others wait.
    options: those of the command that say how to fuse, see `pansharp.options("open")`.

    Raises like `sharpen`. The files must not change while they are open.
    """
    count = _checks.threads(threads) or os.cpu_count() or 1
    texts = _options.texts("open", options)
    scene, report = _options.call(_options.engine().Dataset.open, _options.files(pan, ms), texts, count, _warn)
    if report:
        _options.result(report)
    return Dataset(scene, os.fspath(pan[0] if isinstance(pan, tuple) else pan))


class Dataset:
    """An open sharpened scene, similar to rasterio's datasets. Close it, or use it in a ``with`` statement.

    Several threads may read at once. A forked process must open the scene itself.
    """

    def __init__(self, scene: Any, name: str) -> None:
        self._scene = scene
        self._process = os.getpid()
        self._facts: dict[str, Any] = scene.describe()
        self.name = name

    def __enter__(self) -> Dataset:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __repr__(self) -> str:
        return f"<{'closed' if self.closed else 'open'} pansharp.Dataset {self.name!r}, {self.count} bands of {self.height} x {self.width}>"

    def close(self) -> None:
        """Closes the files, once nobody reads them."""
        self._scene = None

    @property
    def closed(self) -> bool:
        return self._scene is None

    @property
    def width(self) -> int:
        """Number of columns."""
        return int(self._facts["width"])

    @property
    def height(self) -> int:
        """Number of rows."""
        return int(self._facts["height"])

    @property
    def count(self) -> int:
        """Number of bands, including transparency."""
        return int(self._facts["count"])

    @property
    def nodata(self) -> int | None:
        """The value of pixels without data; None if there is none."""
        value: int | None = self._facts["nodata"]
        return value

    @property
    def descriptions(self) -> tuple[str | None, ...]:
        """Names of the bands; None for a band without a name."""
        names = [name or None for name in self._facts["descriptions"]]
        return tuple(names + [None] * (self.count - len(names)))

    @property
    def shape(self) -> tuple[int, int]:
        """(rows, columns)."""
        return self.height, self.width

    @property
    def indexes(self) -> tuple[int, ...]:
        """Numbers of the bands, counted from 1."""
        return tuple(range(1, self.count + 1))

    @property
    def dtypes(self) -> tuple[str, ...]:
        """Sample type of each band."""
        return (f"uint{self._facts['bits']}",) * self.count

    @property
    def transform(self) -> Any:
        """From (column, row) to map units: an Affine if that package is installed, else its six numbers a to f."""
        place = self._facts["transform"] or (0.0, 1.0, 0.0, 0.0, 0.0, 1.0)
        numbers_ = place[1], place[2], place[0], place[4], place[5], place[3]
        try:
            from affine import Affine
        except ImportError:
            return numbers_
        return Affine(*numbers_)

    @property
    def crs(self) -> Any:
        """The projection: rasterio's CRS if rasterio is installed, else WKT. None without one."""
        text = self._facts["crs"]
        if not text:
            return None
        try:
            from rasterio.crs import CRS
        except ImportError:
            return text
        return CRS.from_wkt(text)

    @property
    def bounds(self) -> tuple[float, float, float, float]:
        """(left, bottom, right, top) in map units, for an image that is not rotated."""
        a, _, c, _, e, f = tuple(self.transform)[:6]
        return c, f + e * self.height, c + a * self.width, f

    @property
    def res(self) -> tuple[float, float]:
        """Width and height of a pixel in map units."""
        a, b, _, d, e, _ = tuple(self.transform)[:6]
        return math.hypot(a, d), math.hypot(b, e)

    @property
    def profile(self) -> dict[str, Any]:
        """Arguments for rasterio.open to write such an image."""
        return {"driver": "GTiff", "dtype": self.dtypes[0], "nodata": self.nodata, "width": self.width, "height": self.height,
                "count": self.count, "crs": self.crs, "transform": self.transform, "interleave": "pixel"}

    def read(self, bands: int | Sequence[int] | None = None, *, window: Any = None, out_shape: Sequence[int] | None = None,
             masked: bool = False, out: numpy.ndarray | None = None) -> numpy.ndarray:
        """Fuses a window and returns its samples: (band, row, column), or (row, column) for one band given as a number.

        bands: numbers from 1, in any order. None: all.
        window: a rasterio Window, or ((first row, end row), (first column, end column)) in whole pixels. None: the whole image.
        out_shape: (rows, columns), or (bands, rows, columns): the size that the window is resampled to. At full size the samples are those
            of the file that `sharpen` writes; smaller sizes are fused from reduced inputs. None: the size of the window.
        masked: returns a masked array, whose pixels without data are masked.
        out: array to write into, of any strides; it is returned.

        Ctrl-C soon ends a read at full size; other reads finish first.
        Raises ValueError for a window or band outside the image; pansharp.Error when it is closed or cannot be read.
        """
        if self._scene is None:
            raise _errors.Error("the dataset is closed; open it again")
        if self._process != os.getpid():
            raise _errors.Error("the dataset was opened before this process was forked, and both share its files; open it here again")
        single = bands is not None and isinstance(bands, numbers.Integral)
        chosen = _checks.bands((bands,) if single else bands, self.count, "the image") or self.indexes
        row, column, rows, columns = self._window(window)
        shape = (len(chosen), *_out_shape(out_shape, len(chosen), (rows, columns)))
        dtype = numpy.dtype(self.dtypes[0])
        is_flat = single and isinstance(out, numpy.ndarray) and out.ndim == 2
        result = _checks.output(out[numpy.newaxis] if is_flat else out, shape, dtype)  # type: ignore[index]
        valid = numpy.empty(shape[1:], numpy.uint8) if masked else None
        # At full size a window is read in parts: between them Python handles Ctrl-C.
        step = max(_MOST_PIXELS // columns, _LEAST_ROWS) if shape[1:] == (rows, columns) else rows
        for first in range(0, rows, step):
            end = min(first + step, rows)
            whole = step >= rows
            report = self._scene.read((column, row + first, column + columns, row + end), [band - 1 for band in chosen],
                                      result if whole else result[:, first:end], valid if whole or valid is None else valid[first:end])
            if report:
                _options.result(report)
            if self._scene is None:
                raise _errors.Error("the dataset was closed while it was read")
        if valid is not None:
            result = numpy.ma.MaskedArray(result, numpy.broadcast_to(valid == 0, shape).copy(), fill_value=self.nodata or 0)
        if out is not None and not masked and (is_flat or not single):
            return out
        return result[0] if single else result

    def _window(self, given: Any) -> tuple[int, int, int, int]:
        """First row and column, rows and columns."""
        if given is None:
            return 0, 0, self.height, self.width
        if hasattr(given, "col_off"):
            values = given.row_off, given.col_off, given.height, given.width
        else:
            ends = [_ends(axis, size) for axis, size in zip(_checks.items("window", given, 2), self.shape)]
            values = ends[0][0], ends[1][0], ends[0][1] - ends[0][0], ends[1][1] - ends[1][0]
        row, column, rows, columns = (_whole(value) for value in values)
        if min(row, column) < 0 or min(rows, columns) < 1 or row + rows > self.height or column + columns > self.width:
            raise ValueError(f"the window of {rows} rows from {row} and {columns} columns from {column} does not lie within the "
                             f"{self.height} rows and {self.width} columns of the image")
        return row, column, rows, columns


def _ends(axis: Any, size: int) -> tuple[Any, Any]:
    if isinstance(axis, slice) and axis.step not in (None, 1):
        raise ValueError(f"the window has {axis}; leave the step out, and give out_shape for fewer pixels")
    first, end = (axis.start, axis.stop) if isinstance(axis, slice) else _checks.items("window", axis, 2)
    return 0 if first is None else first, size if end is None else end


def _whole(value: Any) -> int:
    if isinstance(value, numbers.Real) and value % 1 == 0:
        return int(value)
    raise ValueError(f"the window has {value!r}; give whole pixels, as round_offsets and round_lengths of a rasterio Window make them")


def _out_shape(given: Sequence[int] | None, bands: int, window: tuple[int, int]) -> tuple[int, int]:
    if given is None:
        return window
    sizes = tuple(_checks.whole("out_shape", size) for size in _checks.items("out_shape", given))
    if len(sizes) not in (2, 3) or min(sizes) < 1 or max(sizes) >= 2**31 or (len(sizes) == 3 and sizes[0] != bands):
        raise ValueError(f"out_shape is {given!r}; give (rows, columns), or ({bands}, rows, columns), of 1 or more")
    return sizes[-2], sizes[-1]
