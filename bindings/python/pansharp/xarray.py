"""Pan-sharpening of xarray's DataArrays, as rioxarray opens them.

    import pansharp.xarray

    sharp = ms.pansharp.fuse(pan)

The import gives every DataArray the accessor ``pansharp``. ``import pansharp`` alone does not import xarray. Images have the axes
(band, row, column), whatever their names; pan may have (row, column). Coordinates give their position. If either is a dask array, so is
the result: it is fitted once, to all of both, when the first part is computed, and has the same samples as without dask.
"""

from __future__ import annotations

import importlib
import math
import numbers
from collections.abc import Sequence
from dataclasses import dataclass
from typing import Any

import numpy
import xarray

import pansharp

from . import _checks

__all__ = ["Accessor"]

_MARGIN = 6  # coarse pixels around a part, within which it may differ from the whole
_CHUNK = 2048  # pan pixels across a part, if pan has no chunks


@dataclass(frozen=True)
class _Axis:
    """One axis of ms, relative to that of pan."""

    pixels: int
    """Number of pixels of ms."""
    size: float
    """Width of a pixel of ms in pan pixels."""
    offset: float
    """Position of pan's corner among the pixels of ms."""

    def part(self, first: int, end: int) -> tuple[int, int, float]:
        """The pixels of ms under pan's pixels first to end, with the margin for interpolation, and the offset among them."""
        beside = 3
        start = self.offset + first / self.size
        begin = min(max(math.floor(start) - beside, 0), self.pixels - 1)
        stop = min(max(math.ceil(self.offset + end / self.size) + beside, begin + 1), self.pixels)
        return begin, stop, start - begin


def _grid(image: xarray.DataArray, dim: Any, name: str) -> tuple[float, float]:
    """Position of the centre of the first pixel, and the distance to the next."""
    if dim not in image.coords:
        raise ValueError(f"{name} has no coordinates along {dim!r}, so nothing says where it lies; rioxarray.open_rasterio gives them")
    at = numpy.asarray(image.coords[dim].values, float)
    if at.size < 2:
        raise ValueError(f"{name} has {at.size} pixels along {dim!r}; two are needed to tell how far they lie apart")
    step = (at[-1] - at[0]) / (at.size - 1)
    if not step or numpy.abs(at - (at[0] + step * numpy.arange(at.size))).max() > 0.01 * abs(step):
        raise ValueError(f"the coordinates of {name} along {dim!r} are not evenly spaced")
    return at[0], step


def _crs(image: xarray.DataArray) -> Any:
    attributes = image.coords["spatial_ref"].attrs if "spatial_ref" in image.coords else {}
    return attributes.get("crs_wkt", attributes.get("spatial_ref"))


def _is_same_crs(first: Any, second: Any) -> bool:
    """One projection can be written as different texts, so the library that reads them decides, if it is installed."""
    if "".join(str(first).split()) == "".join(str(second).split()):
        return True
    for module in ("pyproj", "rasterio.crs"):
        try:
            read = importlib.import_module(module).CRS.from_user_input
            return bool(read(first) == read(second))
        except (ImportError, ValueError, RuntimeError):
            continue
    return False


def _nodata(image: xarray.DataArray, name: str) -> int | bool:
    """The value that rioxarray keeps as an attribute; False for none."""
    if image.dtype.kind == "f":
        raise TypeError(f"{name} has samples of {image.dtype}; open files with masked=False, which keeps whole numbers and the value for no "
                        f"data, or scale them, such as ({name} * 10000).round().clip(0, 65535).astype('uint16')")
    value = image.attrs.get("_FillValue", image.attrs.get("missing_value"))
    if value is None:
        return False
    if isinstance(value, numpy.ndarray) and value.size == 1:
        value = value.item()
    if not isinstance(value, numbers.Real):
        raise TypeError(f"{name} has {value!r} for no data (_FillValue); give a number, or delete the attribute")
    if not 0 <= value <= numpy.iinfo(image.dtype).max:  # type: ignore[operator]
        return False
    if value % 1:
        raise ValueError(f"{name} has {value!r} for no data (_FillValue), which no sample can be; give a whole number, or delete the attribute")
    return int(value)


def _fuse(pan: Any, ms: Any, **arguments: Any) -> numpy.ndarray:
    # Masked arrays without a mask, so that only declared values count as no data, in every part.
    result: numpy.ndarray = pansharp.fuse(numpy.ma.MaskedArray(pan), numpy.ma.MaskedArray(ms), masked=False, **arguments)
    return result


def _fit(pan: Any, ms: Any, **arguments: Any) -> pansharp.Fit:
    return pansharp.fit(numpy.ma.MaskedArray(pan), numpy.ma.MaskedArray(ms), **arguments)


def _fuse_part(found: pansharp.Fit, pan: Any, ms: Any, kept: tuple[slice, ...], arguments: dict[str, Any]) -> numpy.ndarray:
    return _fuse(pan, ms, fit=found, **arguments)[(slice(None), *kept)]


class _Pair:
    """Pan and ms, checked and placed."""

    def __init__(self, pan: xarray.DataArray, ms: xarray.DataArray) -> None:
        if not isinstance(pan, xarray.DataArray):
            raise TypeError(f"pan is of {type(pan).__name__}; give a DataArray, which says where it lies")
        if pan.ndim == 3 and pan.shape[0] == 1:
            pan = pan[0]
        if pan.ndim != 2 or ms.ndim != 3:
            raise ValueError(f"pan has the axes {pan.dims} and ms {ms.dims}; they must be (row, column) and (band, row, column)")
        if pan.dims != ms.dims[1:]:
            raise ValueError(f"the axes of pan are called {pan.dims} and those of ms {ms.dims[1:]}; rename those of one")
        if None not in (_crs(pan), _crs(ms)) and not _is_same_crs(_crs(pan), _crs(ms)):
            raise ValueError("the texts of the projections of pan and ms differ; bring one into that of the other, such as by "
                             "ms.rio.reproject(pan.rio.crs), or by ms.rio.write_crs(pan.rio.crs) if both mean the same")
        axes = []
        for dim in pan.dims:
            (first, step), (ms_first, ms_step) = _grid(pan, dim, "pan"), _grid(ms, dim, "ms")
            if (step < 0) != (ms_step < 0):
                ms = ms.isel({dim: slice(None, None, -1)})
                ms_first, ms_step = _grid(ms, dim, "ms")
            axes.append(_Axis(ms.sizes[dim], ms_step / step, (first - step / 2 - (ms_first - ms_step / 2)) / ms_step))
        self.pan, self.ms = pan, ms
        self.down, self.across = axes
        self.nodata = _nodata(pan, "pan"), _nodata(ms, "ms")
        self.placed = {"pixel_size": (self.across.size, self.down.size), "nodata": self.nodata}

    def choose(self, bands: Sequence[int] | None) -> tuple[int, ...] | None:
        """The bands to write, checked. None for those of the method."""
        return _checks.bands(bands, self.ms.shape[0]) or None

    def is_lazy(self) -> bool:
        return any(hasattr(image.data, "dask") for image in (self.pan, self.ms))

    def fit(self, **arguments: Any) -> Any:
        """A Fit, or a delayed one."""
        given = {"offset": (self.across.offset, self.down.offset), **self.placed, **arguments}
        if not self.is_lazy():
            return _fit(self.pan.data, self.ms.data, **given)
        import dask
        return dask.delayed(_fit)(self.pan.data, self.ms.data, **given)

    def fuse(self, found: Any, bands: int, arguments: dict[str, Any]) -> Any:
        """A numpy array, or a dask array in the chunks of pan."""
        if not self.is_lazy():
            offset = self.across.offset, self.down.offset
            return _fuse(self.pan.data, self.ms.data, fit=found, offset=offset, **self.placed, **arguments)
        import dask
        import dask.array
        chunks = getattr(self.pan.data, "chunks", None) or dask.array.core.normalize_chunks(_CHUNK, self.pan.shape)
        part = dask.delayed(_fuse_part)
        rows = []
        for row, height in zip(numpy.cumsum((0, *chunks[0])), chunks[0]):
            blocks = []
            for column, width in zip(numpy.cumsum((0, *chunks[1])), chunks[1]):
                pan, ms, kept, offset = self._cut(int(row), int(row + height), int(column), int(column + width))
                made = part(found, pan, ms, kept, {"offset": offset, "threads": 1, **self.placed, **arguments})
                blocks.append(dask.array.from_delayed(made, (bands, height, width), self.pan.dtype))
            rows.append(dask.array.concatenate(blocks, axis=2))
        return dask.array.concatenate(rows, axis=1)

    def _cut(self, row: int, row_end: int, column: int, column_end: int) -> tuple[Any, Any, tuple[slice, slice], tuple[float, float]]:
        """A part of pan with a margin, ms under it, which part of the result to keep, and the offset."""
        spans, kept, under, offsets = [], [], [], []
        for first, end, pixels, axis in ((row, row_end, self.pan.shape[0], self.down), (column, column_end, self.pan.shape[1], self.across)):
            margin = math.ceil(_MARGIN * axis.size)
            start, stop = max(first - margin, 0), min(end + margin, pixels)
            begin, until, offset = axis.part(start, stop)
            spans.append(slice(start, stop))
            kept.append(slice(first - start, end - start))
            under.append(slice(begin, until))
            offsets.append(offset)
        return (self.pan.data[spans[0], spans[1]], self.ms.data[:, under[0], under[1]], (kept[0], kept[1]), (offsets[1], offsets[0]))

    def wrap(self, samples: Any, bands: Sequence[int] | None) -> xarray.DataArray:
        """The result with the pixels of pan, and the bands, the attributes and the value for no data of ms."""
        dim = self.ms.dims[0]
        written = numpy.arange(samples.shape[0]) if bands is None else numpy.asarray(bands) - 1
        of_bands = self.ms.isel({dim: written})
        coords = {name: of for name, of in self.pan.coords.items() if set(of.dims) <= set(self.pan.dims) and name != dim}
        coords.update({name: of for name, of in of_bands.coords.items() if set(of.dims) <= {dim} and name not in coords})
        attributes = dict(self.ms.attrs)
        names = attributes.get("long_name")
        if isinstance(names, (tuple, list)) and len(names) == self.ms.shape[0]:
            attributes["long_name"] = tuple(names[band] for band in written)
        for value in reversed(self.nodata):
            if value is not False:
                attributes.setdefault("_FillValue", value)
        return xarray.DataArray(samples, coords, (dim, *self.pan.dims), self.ms.name, attributes)


@xarray.register_dataarray_accessor("pansharp")
class Accessor:
    """``ms.pansharp``: operations on a multispectral image, (band, row, column)."""

    def __init__(self, ms: xarray.DataArray) -> None:
        self._ms = ms

    def fit(self, pan: xarray.DataArray, *, method: str | None = None, gains: Sequence[tuple[float, float]] | None = None,
            transfer: float | None = None, bands: Sequence[int] | None = None, bits: int | None = None) -> pansharp.Fit:
        """What `pansharp.fit` finds; dask arrays are computed."""
        pair = _Pair(pan, self._ms)
        found = pair.fit(method=method, gains=gains, transfer=transfer, bands=pair.choose(bands), bits=bits)
        result: pansharp.Fit = found.compute() if hasattr(found, "compute") else found
        return result

    def fuse(self, pan: xarray.DataArray, method: str | None = None, *, weights: Sequence[float] | str | None = None,
             fit: pansharp.Fit | None = None, gains: Sequence[tuple[float, float]] | None = None, transfer: float | None = None,
             low_pass_mean: float | None = None, resampling: str = "cubic", bands: Sequence[int] | None = None,
             bits: int | None = None) -> xarray.DataArray:
        """Fuses pan with this image, as `pansharp.fuse` does, on the pixels of pan.

        Both must have evenly spaced coordinates in one projection. The result has the coordinates of pan, the bands and attributes of this
        image, and its value for no data (``_FillValue``), or that of pan. Zeros that are not declared as no data are data.

        If an image is a dask array, the result is one in the chunks of pan. It is fitted once, to all of both images, which are then in
        memory; `fit` avoids that.

        Raises ValueError and TypeError as `pansharp.fuse` does, and for images without a position.
        """
        pair = _Pair(pan, self._ms)
        bands = pair.choose(bands)
        arguments = {"method": method, "weights": weights, "gains": gains, "transfer": transfer, "low_pass_mean": low_pass_mean,
                     "resampling": resampling, "bands": bands, "bits": bits}
        chosen = pansharp.find_method(fit.method if method is None and fit is not None else method, weights is not None)
        count = len(bands) if bands is not None else chosen.fused_bands or self._ms.shape[0]
        found: Any = fit
        if fit is None:
            needs = gains is None or transfer is None or low_pass_mean is None if chosen.uses_low_pass else chosen.weighs_bands and weights is None
            found = pansharp.Fit(str(chosen))
            if needs:
                found = pair.fit(method=str(chosen), gains=gains, transfer=transfer, bands=bands, bits=bits)
        return pair.wrap(pair.fuse(found, count, arguments), bands)
