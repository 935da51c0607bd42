"""Measurements of a pair before it is fused."""

from __future__ import annotations

import warnings
from dataclasses import dataclass
from typing import Any

import numpy
import numpy.typing

from . import _arrays, _checks
from ._errors import PansharpWarning, warn_of_collars


@dataclass(frozen=True)
class Shift:
    """How far the content of the bands is displaced against its georeferencing, in pixels of the bands."""

    right: float
    """With 0.5, a feature of pan appears half a pixel of ms further right in ms."""
    below: float
    """The same downward."""
    r_squared: float
    """R² of the weighted bands against pan after the correction; 1 is perfect."""
    spread: float
    """Median distance of the shifts of single windows from this one, in pixels of the bands."""
    windows: int
    """Number of windows that show a shift."""
    agreed: bool
    """True if the windows agree, so that a correction is worthwhile."""


def pair_job(pan: Any, ms: Any, pixel_size: Any, offset: Any, nodata: _checks.NoData, bits: Any = None, looks: bool = True,
             infrared: Any = None, infrared_pixel_size: Any = None, infrared_offset: Any = None) -> _arrays.Job:
    """A job for measurements that need no method."""
    fine, coarse = _checks.image("pan", pan, "(row, column)"), _checks.image("ms", ms, "(band, row, column)")
    extra = None if infrared is None else _checks.image("infrared", infrared, "(row, column)")
    _checks.same_depth(fine, ms=coarse, infrared=extra)
    of_pan, of_ms = _checks.nodata(nodata, fine.dtype)
    gaps = (_checks.gaps(pan, fine, of_pan, looks), _checks.gaps(ms, coarse, of_ms, looks),
            _checks.no_gaps if extra is None else _checks.gaps(infrared, extra, of_ms, looks))
    place = _checks.no_place if extra is None else _checks.placement("infrared", extra, fine, infrared_pixel_size, infrared_offset, "infrared_")
    return _arrays.Job(fine, coarse, _checks.placement("ms", coarse, fine, pixel_size, offset), extra, place, None, (), None, (), 0.0, None, 0, (),
                       gaps, _checks.bits(bits, fine.dtype))


def measure_shift(pan: numpy.typing.ArrayLike, ms: numpy.typing.ArrayLike, *, infrared: numpy.typing.ArrayLike | None = None,
                  pixel_size: float | tuple[float, float] | None = None, offset: tuple[float, float] | None = None,
                  infrared_pixel_size: float | tuple[float, float] | None = None, infrared_offset: tuple[float, float] | None = None,
                  nodata: _checks.NoData = None, bits: int | None = None) -> Shift | None:
    """Measures how far ms is displaced against pan, up to 2 of its pixels in each direction, as ``pansharp info`` does.

    The arguments are those of `fuse`, which corrects the shift by ``shift=(found.right, found.below)``. None if it cannot be measured:
    there are too few pixels, the bands do not reproduce pan, or the displacement exceeds those 2 pixels.
    """
    job = pair_job(pan, ms, pixel_size, offset, nodata, bits, True, infrared, infrared_pixel_size, infrared_offset)
    found, collars = job.measure_shift()
    warn_of_collars((("pan", pan), ("ms", ms), ("infrared", infrared)), collars, 3)
    return None if found is None else Shift(*found)


@dataclass(frozen=True)
class ReducedPair:
    """A pair one scale down, with its truth: (band, row, column), masked where there is no data."""

    pan: numpy.ma.MaskedArray
    ms: numpy.ma.MaskedArray
    truth: numpy.ma.MaskedArray
    """Masked where results are not to be compared."""
    pixel_size: tuple[float, float]
    """Size of a pixel of ms in pixels of pan."""


def reduce(pan: Any, ms: Any, transfer: Any, pan_transfer: Any, pixel_size: Any, offset: Any, nodata: _checks.NoData) -> ReducedPair:
    """The pair that ``pansharp compare`` fuses with each method."""
    job = pair_job(pan, ms, pixel_size, offset, nodata)
    fine, fine_valid, coarse, coarse_valid, truth, truth_valid, across, down = job.reduce(
        _checks.transfers(transfer), _checks.above_zero("pan_transfer", pan_transfer, "for 0.15"))
    return ReducedPair(_masked(fine, fine_valid), _masked(coarse, coarse_valid), _masked(truth, truth_valid), (across, down))


def _masked(image: numpy.ndarray, valid: numpy.ndarray) -> Any:
    """A masked array with the bands first, from an image with its bands last."""
    bands_first = numpy.moveaxis(image, -1, 0)
    return numpy.ma.MaskedArray(bands_first, numpy.broadcast_to(valid == 0, bands_first.shape))


def moved(shift: Any, pan: Any, ms: Any, pixel_size: Any, offset: Any, nodata: _checks.NoData, bits: Any, infrared: Any,
          infrared_pixel_size: Any, infrared_offset: Any) -> tuple[Any, Any]:
    """The offsets of ms and of the infrared band with the shift corrected. "auto" measures the shift."""
    if shift is None:
        return offset, infrared_offset
    if isinstance(shift, str) and shift == "auto":
        found = pair_job(pan, ms, pixel_size, offset, nodata, bits, True, infrared, infrared_pixel_size, infrared_offset).measure_shift()[0]
        if found is None or not found[-1]:
            warnings.warn("the shift between pan and ms cannot be measured; it is not corrected", PansharpWarning, stacklevel=3)
            return offset, infrared_offset
        displacement = found[:2]
    elif isinstance(shift, str):
        raise ValueError(f"shift is {shift!r}; give how far ms is displaced to the right and down, or 'auto'")
    else:
        displacement = _checks.pair("shift", shift)
    place = tuple(at + by for at, by in zip((0.0, 0.0) if offset is None else _checks.pair("offset", offset), displacement))
    if infrared is None:
        return place, infrared_offset
    fine, coarse, extra = (_checks.image(*of).shape for of in (("pan", pan, "(row, column)"), ("ms", ms, "(band, row, column)"),
                                                              ("infrared", infrared, "(row, column)")))
    sizes = zip(_checks.size(pixel_size, fine, coarse), _checks.size(infrared_pixel_size, fine, extra))
    on_infrared = (by * of / own for by, (of, own) in zip(displacement, sizes))
    return place, tuple(at + by for at, by in zip((0.0, 0.0) if infrared_offset is None else _checks.pair("infrared_offset", infrared_offset), on_infrared))
