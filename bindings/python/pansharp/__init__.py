"""Pan-sharpening of numpy arrays and of files, by the plug-in that the command ``pansharp`` runs.

    sharp = pansharp.fuse(pan, ms)

and of files, where the library of GDAL is installed:

    pansharp.sharpen("pan.tif", "ms.tif", "sharp.tif")
    with pansharp.open("pan.tif", "ms.tif") as scene:
        part = scene.read(window=((0, 256), (0, 256)))

Images are arrays of ``numpy.uint8`` or ``numpy.uint16``, all of one scene of the same type: pan with the axes (row, column), the
multispectral image with (band, row, column). Arrays are read and written where they lie, whatever their strides. Several
threads may call at once; the interpreter's lock is free while the engine works.

Wrong arguments raise ``TypeError`` or ``ValueError``; what goes wrong beyond them is a ``pansharp.Error``. Both say what to do.
"""

from __future__ import annotations

import functools
import math
import warnings
from collections.abc import Callable, Sequence
from dataclasses import dataclass
from typing import Any

import numpy
import numpy.typing

from . import _arrays, _checks
from ._checks import NoData
from ._errors import ArgumentError, Error, InputError, Item, OutputError, PansharpWarning, warn_of_collars
from ._options import options
from ._pairs import Shift, measure_shift, moved, reduce
from ._quality import BandQuality, PairQuality, Quality, assess
from ._scenes import Dataset, info, open, sharpen

__all__ = ["ArgumentError", "BandQuality", "Dataset", "Error", "Fit", "InputError", "Item", "Method", "OutputError", "PairQuality",
           "PansharpWarning", "Quality", "Shift", "assess", "compare", "find_method", "fit", "fuse", "info", "measure_shift", "methods", "open", "options", "sharpen",
           "upsample"]
__version__ = _arrays.version


@dataclass(frozen=True)
class Fit:
    """How pan's detail comes into the bands of a scene, as `fit` found it."""

    method: str
    """The method that it was found for."""
    transfer: float | None = None
    """Modulation transfer of the multispectral sensor at the Nyquist frequency of its pixels, 0.05 to 0.9. None for a method that weighs bands."""
    gains: tuple[tuple[float, float], ...] = ()
    """For each band a share of the detail, and a share of the detail times the band's ratio to pan's low-pass. Empty likewise."""
    low_pass_mean: float | None = None
    """Mean of pan's low-pass, in units of the samples; 0 where no pixel tells it. None likewise."""
    weights: tuple[float, ...] = ()
    """Share of each band in pan, for a method that weighs bands; else empty."""
    infrared_weight: float | None = None
    """That of the infrared band, if there is one."""
    r_squared: float | None = None
    """How well the bands make up pan or its low-pass, 1 at best. Below 0.5 the transfer is the usual 0.3; weights below 0.8 make up pan
    badly. None when the transfer was given."""
    samples: int = 0
    """Pixels that weights, or gains one scale down, were fitted to or are judged by."""
    error: float | None = None
    """ERGAS one scale down, where the truth is known, of the fused image. None when too few samples, or black ones, tell nothing."""
    plain_error: float | None = None
    """The same for mere upsampling."""


class Method(str):
    """Keyword of a method, with what the plug-in says of it."""

    summary: str
    formula: str
    """Of a pixel of a band."""
    advice: str
    """When to take it."""
    minimum_bands: int
    fused_bands: int
    """How many bands it fuses, the first ones; 0: all."""
    weighs_bands: bool
    """True where bands have weights, their shares in pan."""
    uses_low_pass: bool
    """True where pan is compared with its low-pass: blur and gains are fitted."""
    recommended: bool
    """True for the one that is taken without any other."""

    def __new__(cls, keyword: str, *told: Any) -> Method:
        method = super().__new__(cls, keyword)
        names = "summary", "formula", "advice", "minimum_bands", "fused_bands", "weighs_bands", "uses_low_pass", "recommended"
        vars(method).update(zip(names, told))
        return method


@functools.lru_cache(None)
def methods() -> tuple[Method, ...]:
    """Keywords of the methods that the plug-in has, such as ``"KOVA"``, each with what there is to be known of it."""
    return tuple(Method(*told) for told in _arrays.methods())


def find_method(method: str | None = None, weighs: bool = False) -> Method:
    """The one that is named, in any letter case; else the recommended one, or the first where bands are to be weighed."""
    wanted = _checks.method(method)
    for known in methods():
        if known.lower() == wanted.lower() if wanted else weighs or known.recommended:
            return known
    raise ValueError(f"there is no method {method!r}; there are {', '.join(methods())}")


def _job(pan: Any, ms: Any, method: Method, weights: Any, infrared: Any, infrared_weight: Any, gains: Any, transfer: Any,
         low_pass_mean: Any, resampling: Any, bands: Any, pixel_size: Any, offset: Any, infrared_pixel_size: Any,
         infrared_offset: Any, nodata: Any, bits: Any, looks: bool) -> tuple[_arrays.Job, tuple[int, ...], numpy.dtype]:
    """The job with the shape and type of its output."""
    given = pan, ms, infrared
    pan = _checks.image("pan", pan, "(row, column)")
    ms = _checks.image("ms", ms, "(band, row, column)")
    infrared_place: tuple[float, ...] = _checks.no_place
    if infrared is None and (infrared_pixel_size is not None or infrared_offset is not None):
        raise ValueError("infrared_pixel_size and infrared_offset place the infrared band; give infrared, too, or leave them out")
    if infrared is not None:
        infrared = _checks.image("infrared", infrared, "(row, column)")
        infrared_place = _checks.placement("infrared", infrared, pan, infrared_pixel_size, infrared_offset, "infrared_")
    _checks.same_depth(pan, ms=ms, infrared=infrared)
    if bands is None and 0 < method.fused_bands < ms.shape[0]:
        bands = range(1, method.fused_bands + 1)
    chosen = _checks.bands(bands, ms.shape[0])
    if infrared is not None and 0 < method.fused_bands < ms.shape[0]:  # the next band would be taken for the infrared one
        if max(chosen) > method.fused_bands:
            raise ValueError(f"the method {method} fuses the first {method.fused_bands} bands beside an infrared one; bands has {max(chosen)}")
        ms = ms[:method.fused_bands]
    of_pan, of_ms = _checks.nodata(nodata, pan.dtype)
    gaps = tuple(_checks.no_gaps if array is None else _checks.gaps(of, array, value, looks)
                 for of, array, value in zip(given, (pan, ms, infrared), (of_pan, of_ms, of_ms)))
    job = _arrays.Job(pan, ms, _checks.placement("ms", ms, pan, pixel_size, offset), infrared, infrared_place,
                      str(method), _checks.weights(weights),
                      None if infrared_weight is None else _checks.number("infrared_weight", infrared_weight),
                      _checks.gains(gains), _checks.above_zero("transfer", transfer),
                      _checks.mean("low_pass_mean", low_pass_mean), _checks.resampling(resampling), chosen, gaps,
                      _checks.bits(bits, pan.dtype))
    return job, (len(chosen) or ms.shape[0], *pan.shape[1:]), pan.dtype


def fit(pan: numpy.typing.ArrayLike, ms: numpy.typing.ArrayLike, *, method: str | None = None,
        infrared: numpy.typing.ArrayLike | None = None, infrared_weight: float | None = None,
        gains: Sequence[tuple[float, float]] | None = None, transfer: float | None = None,
        bands: Sequence[int] | None = None, pixel_size: float | tuple[float, float] | None = None,
        offset: tuple[float, float] | None = None, infrared_pixel_size: float | tuple[float, float] | None = None,
        infrared_offset: tuple[float, float] | None = None, shift: tuple[float, float] | str | None = None, nodata: NoData = None,
        bits: int | None = None) -> Fit:
    """Finds what `fuse` finds before it fuses; for scenes that are fused in parts: blur and gains, or weights, as the method has them.

    The arguments are those of `fuse`; `bands` are those that the errors are of.

    Raises ValueError for a method that has neither: there is nothing to fit then. Warns where no weights can be fitted.
    """
    chosen = find_method(method, infrared is not None)
    offset, infrared_offset = moved(shift, pan, ms, pixel_size, offset, nodata, bits, infrared, infrared_pixel_size, infrared_offset)
    job, _, _ = _job(pan, ms, chosen, None, infrared, infrared_weight, gains, transfer, None, "cubic", bands, pixel_size, offset,
                     infrared_pixel_size, infrared_offset, nodata, bits, True)
    if chosen.weighs_bands:
        weights, infrared_share, r_squared, samples, obstacle = job.fit_weights()
        if obstacle:
            warnings.warn(f"{obstacle}; the weights are equal shares", PansharpWarning, stacklevel=2)
        return Fit(str(chosen), weights=weights, infrared_weight=None if infrared is None else infrared_share, r_squared=r_squared,
                   samples=samples)
    found, pairs, mean, r_squared, samples, error, plain_error = job.fit()
    judged = error != 0 or plain_error != 0
    return Fit(str(chosen), found, pairs, mean, r_squared=r_squared if transfer is None else None, samples=samples,
               error=error if judged else None, plain_error=plain_error if judged else None)


def fuse(pan: numpy.typing.ArrayLike, ms: numpy.typing.ArrayLike, method: str | None = None, *,
         weights: Sequence[float] | str | None = None, infrared: numpy.typing.ArrayLike | None = None,
         infrared_weight: float | None = None, fit: Fit | None = None,
         gains: Sequence[tuple[float, float]] | None = None, transfer: float | None = None,
         low_pass_mean: float | None = None, resampling: str = "cubic", bands: Sequence[int] | None = None,
         pixel_size: float | tuple[float, float] | None = None, offset: tuple[float, float] | None = None,
         infrared_pixel_size: float | tuple[float, float] | None = None,
         infrared_offset: tuple[float, float] | None = None, shift: tuple[float, float] | str | None = None,
         nodata: NoData = None, bits: int | None = None, masked: bool | None = None, out: numpy.ndarray | None = None, threads: int = 0,
         progress: Callable[[int, int], object] | None = None) -> numpy.ndarray:
    """Fuses a sharp image of one band with a coarse one of several: (band, row, column) on the pixels of pan.

    Without further arguments, and with a method alone, the samples are those of ``pansharp sharpen`` for such files.

    Images may be masked arrays. Masked pixels have no data: they take no part in anything, and the result has none where pan or all
    pixels beneath have none. Its samples there are the value for no data, or 0.

    pan: (row, column), or (1, row, column).
    ms: (band, row, column), of the same ground unless it is placed.
    method: one of `methods()` in any letter case. None: that of `fit`, or the recommended one; with weights or infrared the first.
    weights: share of each band of ms in pan, or "equal". None: fitted. Methods that fit gains take none.
    infrared: one more band, (row, column), which takes part in the weighted sum and is not written.
    infrared_weight: its share; needed with `weights`.
    fit: what `fit` found in the whole scene, in the place of what would be fitted to these arrays.
    gains, transfer, low_pass_mean: as in `Fit`; each goes before what `fit` has, as `weights` do. None: fitted or measured.
    resampling: "cubic" or "bilinear".
    bands: bands of ms to write, counted from 1, in any order. None: all that the method fuses.
    pixel_size: width and height of a pixel of ms in pan pixels, or one number for both, 1 or more. None: by the shapes.
    offset: column and row of ms, fractions too, on which the upper left corner of pan lies. None: 0 and 0.
    infrared_pixel_size, infrared_offset: the same of infrared.
    shift: how far the content of ms is displaced to the right and down, in pixels of ms; it is taken back. "auto": as `measure_shift`
        finds it, where that is agreed. Pan must not reach more than one pixel of ms beyond ms then.
    nodata: the sample that means no data, of all images or as a pair of that of pan and that of ms. A result that equals it becomes
        the next value. Zeros along the edge of an image, when they are many, are taken as no data, too, with a warning; but not with
        `fit`, since parts of a scene have edges of their own. False: every sample is data.
    bits: that samples of 16 bits use, 9 to 16. Samples at the largest such value are saturated: no fit uses them, and no result is
        larger. None: all.
    masked: True for a masked array, False for a plain one. None: as pan and ms are.
    out: array to write into, of any strides, which is returned, or is the data of the masked array that is returned. It may not lie
        within the memory of an image.
    threads: how many share the work. 0: one per processor.
    progress: called with (rows done, rows) in the calling thread. What it raises cancels and comes out of `fuse`; `out` may be written in part.

    Raises TypeError and ValueError for arguments that contradict each other, before anything is written; pansharp.Error for what goes
    wrong later; KeyboardInterrupt when the user interrupts. Warns where no weights can be fitted.
    """
    if fit is not None:
        if not isinstance(fit, Fit):
            raise TypeError(f"fit is {fit!r}; give what pansharp.fit returned")
        method = fit.method if method is None else method
        gains = (fit.gains or None) if gains is None else gains
        transfer = fit.transfer if transfer is None else transfer
        if low_pass_mean is None and fit.low_pass_mean is not None:
            low_pass_mean = fit.low_pass_mean
        if weights is None and fit.weights:
            weights, infrared_weight = fit.weights, fit.infrared_weight
    chosen = find_method(method, weights is not None or infrared is not None or infrared_weight is not None)
    offset, infrared_offset = moved(shift, pan, ms, pixel_size, offset, nodata, bits, infrared, infrared_pixel_size, infrared_offset)

    def job(shares: Any, infrared_share: Any) -> tuple[_arrays.Job, tuple[int, ...], numpy.dtype]:
        return _job(pan, ms, chosen, shares, infrared, infrared_share, gains, transfer, low_pass_mean, resampling, bands, pixel_size,
                    offset, infrared_pixel_size, infrared_offset, nodata, bits, fit is None)
    work, shape, dtype = job(weights, infrared_weight)
    result = _checks.output(out, shape, dtype)
    count, tell = _checks.threads(threads), _checks.callback(progress)
    if chosen.weighs_bands and weights is None:
        found, infrared_share, _, _, obstacle = work.fit_weights()
        if obstacle:
            warnings.warn(f"{obstacle}; equal weights are used", PansharpWarning, stacklevel=2)
        else:
            work, _, _ = job(found, None if infrared is None else infrared_share)
    return _run(work, (("pan", pan), ("ms", ms), ("infrared", infrared)), result, masked, count, tell, False)


def _run(work: _arrays.Job, images: Sequence[tuple[str, Any]], result: numpy.ndarray, masked: bool | None, threads: int, tell: Any,
         upsamples: bool) -> numpy.ndarray:
    """Fills the result, and warns of collars as the caller's caller would."""
    if masked is None:
        masked = any(isinstance(image, numpy.ma.MaskedArray) for _, image in images)
    valid = numpy.empty(result.shape[1:], numpy.uint8) if masked else None
    warn_of_collars(images, work.fuse(result, valid, threads, tell, upsamples), 4)
    return result if valid is None else numpy.ma.MaskedArray(result, numpy.broadcast_to(valid == 0, result.shape))


def upsample(ms: numpy.typing.ArrayLike, shape: tuple[int, int], *, resampling: str = "cubic", bands: Sequence[int] | None = None,
             pixel_size: float | tuple[float, float] | None = None, offset: tuple[float, float] | None = None, nodata: NoData = None,
             masked: bool | None = None, out: numpy.ndarray | None = None, threads: int = 0,
             progress: Callable[[int, int], object] | None = None) -> numpy.ndarray:
    """Brings a coarse image onto the pixels of pan, whose (rows, columns) are `shape`: what fusing adds detail to.

    The other arguments are those of `fuse`. Zeros along the edge are data unless `nodata` or a mask says otherwise.
    """
    coarse = _checks.image("ms", ms, "(band, row, column)")
    pan = numpy.broadcast_to(coarse.dtype.type(0), (1, *_checks.shape(shape)))
    value = _checks.nodata(nodata, coarse.dtype)[1]
    chosen = _checks.bands(bands, coarse.shape[0])
    job = _arrays.Job(pan, coarse, _checks.placement("ms", coarse, pan, pixel_size, offset), None, _checks.no_place, None, (), None, (), 0.0,
                      None, _checks.resampling(resampling), chosen, (_checks.no_gaps, _checks.gaps(ms, coarse, value, False), _checks.no_gaps), 0)
    result = _checks.output(out, (len(chosen) or coarse.shape[0], *pan.shape[1:]), coarse.dtype)
    return _run(job, (("pan", None), ("ms", ms)), result, masked, _checks.threads(threads), _checks.callback(progress), True)


def compare(pan: numpy.typing.ArrayLike, ms: numpy.typing.ArrayLike, truth: numpy.typing.ArrayLike | None = None, *, weights: str | None = None,
            resampling: str = "cubic", bands: Sequence[int] | None = None, pixel_size: float | tuple[float, float] | None = None,
            offset: tuple[float, float] | None = None, nodata: NoData = None, bits: int | None = None,
            transfer: float | Sequence[float] | None = None, pan_transfer: float | None = None, threads: int = 0) -> dict[str, Quality]:
    """Fuses by each method and judges the results by the truth: which method suits these images?

    The first entry, "upsampled", is the bands without pan. A method that fuses only the first bands is judged by those of `bands` that
    it fuses; one that fuses none of them, or needs more bands than ms has, is left out. All are judged by the same pixels: those that
    have data in every result and in the truth.

    truth: the pixels of pan and the bands of ms. None: the pair is judged one scale down, where ms itself is the truth, as by
        ``pansharp compare``, whose rows of fitted weights these are.
    weights: "equal" for equal weights in the place of fitted ones.
    transfer, pan_transfer: as in `assess`; the blur by which a pair without truth is brought one scale down.
    The other arguments are those of `fuse`; `pixel_size` gives the ratio for ERGAS, too.
    """
    if weights not in (None, "equal"):
        raise ValueError(f"weights is {weights!r}; give 'equal', or None to have them fitted")
    if truth is None:
        reduced = reduce(pan, ms, transfer, pan_transfer, pixel_size, offset, nodata)
        pan, ms, truth, pixel_size, offset, nodata = reduced.pan, reduced.ms, reduced.truth, reduced.pixel_size, None, None
    elif transfer is not None or pan_transfer is not None:
        raise TypeError("transfer and pan_transfer are of a pair without truth; leave them out, or leave truth out")
    fine, coarse, reference = (_checks.image(*of) for of in (("pan", pan, "(row, column)"), ("ms", ms, "(band, row, column)"),
                                                            ("truth", truth, "(band, row, column)")))
    _checks.same_depth(fine, ms=coarse, truth=reference)
    expected = coarse.shape[0], *fine.shape[1:]
    if reference.shape != expected:
        raise ValueError(f"truth has the shape {reference.shape}; it must be {expected}: the bands of ms and the pixels of pan")
    value = _checks.nodata(nodata, coarse.dtype)[1]
    across, down = _checks.placement("ms", coarse, fine, pixel_size, offset)[:2]
    ratio = math.sqrt((across or fine.shape[2] / coarse.shape[2]) * (down or fine.shape[1] / coarse.shape[1]))
    chosen = _checks.bands(bands, coarse.shape[0]) or tuple(range(1, coarse.shape[0] + 1))
    alike: dict[str, Any] = {"resampling": resampling, "pixel_size": pixel_size, "offset": offset, "nodata": nodata, "threads": threads, "masked": True}
    results = {"upsampled": (upsample(ms, (fine.shape[1], fine.shape[2]), bands=chosen, **alike), chosen)}
    for method in methods():
        fused = tuple(band for band in chosen if band <= (method.fused_bands or band))
        if fused and method.minimum_bands <= coarse.shape[0]:
            shares = weights if method.weighs_bands else None
            results[str(method)] = fuse(pan, ms, method, weights=shares, bands=fused, bits=bits, **alike), fused
    lost = numpy.ma.getmaskarray(truth).any(axis=0)
    if value is not None and value is not False:
        lost = lost | (reference == value).any(axis=0)
    for result, _ in results.values():
        lost = lost | numpy.ma.getmaskarray(result).any(axis=0)
    return {name: assess(numpy.ma.MaskedArray(result.data, numpy.broadcast_to(lost, result.shape)), reference[[band - 1 for band in judged]],
                         ratio=ratio) for name, (result, judged) in results.items()}
