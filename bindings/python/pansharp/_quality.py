"""The quality of an image: by the truth, or by the pair that it was made from."""

from __future__ import annotations

from collections.abc import Sequence
from dataclasses import dataclass
from typing import Any, overload

import numpy
import numpy.typing

from . import _arrays, _checks
from ._errors import warn_of_collars
from ._pairs import pair_job


@dataclass(frozen=True)
class BandQuality:
    """The quality of a band against that of a reference."""

    bias: float
    """Mean of the image minus that of the reference, in DN."""
    rmse: float
    """Root of the mean squared error, in DN."""
    psnr: float
    """In dB, against the largest sample of the reference; infinite without an error."""
    q: float
    """Universal image quality index, 1 at best."""
    spatial_correlation: float
    """Correlation of the details of both, 1 at best."""


@dataclass(frozen=True)
class Quality:
    """The quality of an image against a reference. docs/quality.md defines the indices."""

    pixels: int
    """Number of pixels compared."""
    q: float
    """Mean over the bands."""
    sam: float
    """Mean spectral angle in degrees, 0 at best."""
    ergas: float
    """0 at best; NaN without a ratio."""
    bands: tuple[BandQuality, ...]


@dataclass(frozen=True)
class PairQuality:
    """How well an image agrees with the pair that it was made from. docs/quality.md defines the indices."""

    consistency: Quality
    """The image, degraded by the blur of the bands, against the bands. Look at it first: the other indices favour an image to which
    nothing was done."""
    pixels: int
    """Number of pan pixels compared."""
    d_lambda: float
    """How much the bands have changed relative to each other, 0 at best."""
    d_s: float
    """How much they have changed relative to pan, 0 at best."""
    qnr: float
    """From both, 1 at best."""
    d_lambda_k: float
    """Like `d_lambda`, for the degraded image."""
    hqnr: float
    """From `d_lambda_k` and `d_s`, 1 at best."""


@overload
def assess(image: numpy.typing.ArrayLike, reference: numpy.typing.ArrayLike, *, ratio: float | None = None,
           nodata: _checks.NoData = None) -> Quality: ...


@overload
def assess(image: numpy.typing.ArrayLike, *, pan: numpy.typing.ArrayLike, ms: numpy.typing.ArrayLike, ratio: float | None = None,
           nodata: _checks.NoData = None, transfer: float | Sequence[float] | None = None, pan_transfer: float | None = None,
           pixel_size: float | tuple[float, float] | None = None, offset: tuple[float, float] | None = None,
           threads: int = 0) -> dict[str, PairQuality]: ...


def assess(image: Any, reference: Any = None, *, pan: Any = None, ms: Any = None, ratio: Any = None, nodata: Any = None,
           transfer: Any = None, pan_transfer: Any = None, pixel_size: Any = None, offset: Any = None, threads: Any = 0) -> Any:
    """Judges an image, (band, row, column), by the truth or by the pair that it was made from, as ``pansharp assess`` does.

    reference: the truth, with the same pixels and bands; or instead:
    pan, ms: the pair. The image has the pixels of pan and the bands of ms. The result is then a dict: "fused" is that of the image,
        "bilinear" that of ms, upsampled without fusing.
    ratio: width of a coarse pixel over that of a fine one, for ERGAS. None: no ERGAS with a reference; with a pair, its own ratio.
    nodata: the sample that means no data. It may be a pair: with a reference, those of the image and of the reference; with a pair, that
        of pan, and that of ms and the image. Collars of zeros in the pair are found as in `fuse`. Masked pixels do not count either.
    transfer: modulation transfer of the multispectral sensor at the Nyquist frequency of its pixels, above 0 and below 1; or one per
        band. None: 0.3.
    pan_transfer: that of pan at the same frequency. None: 0.15.
    pixel_size, offset: as in `fuse`.
    threads: number of threads for the work on a pair. 0: one per processor.

    Raises ValueError if no pixel has data in all images.
    """
    if (reference is None) == (pan is None and ms is None) or (pan is None) != (ms is None):
        raise TypeError("give reference, the truth, or both pan and ms, the pair that the image was made of")
    ours = _checks.image("image", image, "(band, row, column)")
    if reference is None:
        return _by_pair(image, ours, pan, ms, ratio, nodata, transfer, pan_transfer, pixel_size, offset, _checks.threads(threads))
    for name, given in (("transfer", transfer), ("pan_transfer", pan_transfer), ("pixel_size", pixel_size), ("offset", offset)):
        if given is not None:
            raise TypeError(f"{name} is for a pair; leave it out, or give pan and ms in place of reference")
    truth = _checks.image("reference", reference, "(band, row, column)")
    _checks.same_depth(ours, reference=truth)
    if ours.shape != truth.shape:
        raise ValueError(f"image has the shape {ours.shape} and reference {truth.shape}; they must have the same pixels and bands")
    of_ours, of_truth = _checks.nodata(nodata, ours.dtype)
    found = _arrays.assess(ours, _checks.gaps(image, ours, of_ours, False), truth, _checks.gaps(reference, truth, of_truth, False),
                           _checks.above_zero("ratio", ratio, "for no ERGAS"))
    return _quality(*found)


def _by_pair(image: Any, ours: numpy.ndarray, pan: Any, ms: Any, ratio: Any, nodata: Any, transfer: Any, pan_transfer: Any, pixel_size: Any,
             offset: Any, threads: int) -> dict[str, PairQuality]:
    fine, coarse = _checks.image("pan", pan, "(row, column)"), _checks.image("ms", ms, "(band, row, column)")
    _checks.same_depth(fine, ms=coarse, image=ours)
    expected = coarse.shape[0], *fine.shape[1:]
    if ours.shape != expected:
        raise ValueError(f"image has the shape {ours.shape}; it must be {expected}: the bands of ms and the pixels of pan")
    job, of_ms = pair_job(pan, ms, pixel_size, offset, nodata), _checks.nodata(nodata, fine.dtype)[1]
    fused, plain, collars = job.assess(ours, _checks.gaps(image, ours, of_ms, False), _checks.transfers(transfer),
                                        _checks.above_zero("pan_transfer", pan_transfer, "for 0.15"),
                                        _checks.above_zero("ratio", ratio, "for that of the pair"), threads)
    warn_of_collars((("pan", pan), ("ms", ms)), collars, 4)
    return {"fused": _pair_quality(*fused), "bilinear": _pair_quality(*plain)}


def _quality(pixels: int, q: float, sam: float, ergas: float, bands: tuple[tuple[float, ...], ...]) -> Quality:
    return Quality(pixels, q, sam, ergas, tuple(BandQuality(*band) for band in bands))


def _pair_quality(consistency: tuple[Any, ...], *others: Any) -> PairQuality:
    return PairQuality(_quality(*consistency), *others)
