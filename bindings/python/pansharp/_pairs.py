"""What is asked of a pair before it is fused."""

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
    """How far the content of the bands is displaced against their place, in their own pixels."""

    right: float
    """With 0.5, what pan shows at a place is found half a pixel of ms further right in ms."""
    below: float
    """Likewise down."""
    r_squared: float
    """How well the weighted bands make up pan when the shift is taken back, 1 at best."""
    spread: float
    """Median distance of what windows of the images tell from this shift."""
    windows: int
    """How many of them tell one."""
    agreed: bool
    """True where they tell the same, so that it is worth to take the shift back."""


def pair_job(pan: Any, ms: Any, pixel_size: Any, offset: Any, nodata: _checks.NoData, bits: Any = None, looks: bool = True,
             infrared: Any = None, infrared_pixel_size: Any = None, infrared_offset: Any = None) -> _arrays.Job:
    """A job for questions that need no method."""
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

    The arguments are those of `fuse`, which takes the shift back by ``shift=(found.right, found.below)``. None where nothing tells a
    shift: few pixels, bands that do not make up pan, or a displacement beyond those 2 pixels.
    """
    job = pair_job(pan, ms, pixel_size, offset, nodata, bits, True, infrared, infrared_pixel_size, infrared_offset)
    found, collars = job.measure_shift()
    warn_of_collars((("pan", pan), ("ms", ms), ("infrared", infrared)), collars, 3)
    return None if found is None else Shift(*found)


@dataclass(frozen=True)
class ReducedPair:
    """A pair one scale down, whose truth is known: (band, row, column), masked where there is no data."""

    pan: numpy.ma.MaskedArray
    ms: numpy.ma.MaskedArray
    truth: numpy.ma.MaskedArray
    """Masked where results are not to be compared."""
    pixel_size: tuple[float, float]
    """Of ms in pixels of pan."""


def reduce(pan: Any, ms: Any, transfer: Any, pan_transfer: Any, pixel_size: Any, offset: Any, nodata: _checks.NoData) -> ReducedPair:
    """What ``pansharp compare`` fuses by each method."""
    job = pair_job(pan, ms, pixel_size, offset, nodata)
    fine, fine_valid, coarse, coarse_valid, truth, truth_valid, across, down = job.reduce(
        _checks.transfers(transfer), _checks.above_zero("pan_transfer", pan_transfer, "for 0.15"))
    return ReducedPair(_masked(fine, fine_valid), _masked(coarse, coarse_valid), _masked(truth, truth_valid), (across, down))


def _masked(image: numpy.ndarray, valid: numpy.ndarray) -> Any:
    """Of an image with its bands last."""
    bands_first = numpy.moveaxis(image, -1, 0)
    return numpy.ma.MaskedArray(bands_first, numpy.broadcast_to(valid == 0, bands_first.shape))


def moved(shift: Any, pan: Any, ms: Any, pixel_size: Any, offset: Any, nodata: _checks.NoData, bits: Any, infrared: Any,
          infrared_pixel_size: Any, infrared_offset: Any) -> tuple[Any, Any]:
    """The offsets of ms and of the infrared band with the shift taken back, which "auto" stands for when it is to be measured."""
    if shift is None:
        return offset, infrared_offset
    if isinstance(shift, str) and shift == "auto":
        found = pair_job(pan, ms, pixel_size, offset, nodata, bits, True, infrared, infrared_pixel_size, infrared_offset).measure_shift()[0]
        if found is None or not found[-1]:
            warnings.warn("the shift between pan and ms cannot be measured; it is left as it is", PansharpWarning, stacklevel=3)
            return offset, infrared_offset
        way = found[:2]
    elif isinstance(shift, str):
        raise ValueError(f"shift is {shift!r}; give how far ms is displaced to the right and down, or 'auto'")
    else:
        way = _checks.pair("shift", shift)
    place = tuple(at + by for at, by in zip((0.0, 0.0) if offset is None else _checks.pair("offset", offset), way))
    if infrared is None:
        return place, infrared_offset
    fine, coarse, extra = (_checks.image(*of).shape for of in (("pan", pan, "(row, column)"), ("ms", ms, "(band, row, column)"),
                                                              ("infrared", infrared, "(row, column)")))
    sizes = zip(_checks.size(pixel_size, fine, coarse), _checks.size(infrared_pixel_size, fine, extra))
    on_infrared = (by * of / own for by, (of, own) in zip(way, sizes))
    return place, tuple(at + by for at, by in zip((0.0, 0.0) if infrared_offset is None else _checks.pair("infrared_offset", infrared_offset), on_infrared))
