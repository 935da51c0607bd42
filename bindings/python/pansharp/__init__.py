"""Pan-sharpening of numpy arrays and of files, with the plug-in that the command ``pansharp`` uses.

    sharp = pansharp.fuse(pan, ms)

and of files, if GDAL's library is installed:

    pansharp.sharpen("pan.tif", "ms.tif", "sharp.tif")
    with pansharp.open("pan.tif", "ms.tif") as scene:
        part = scene.read(window=((0, 256), (0, 256)))

Images are arrays of ``numpy.uint8`` or ``numpy.uint16``, all of one scene of the same type: pan with the axes (row, column), the
multispectral image with (band, row, column). Arrays are read and written in place, whatever their strides. Several threads may
call at once; the interpreter's lock is free while the engine works.

Wrong arguments raise ``TypeError`` or ``ValueError``; all other failures raise ``pansharp.Error``. Both say what to do.
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
    """How pan's detail is added to the bands of a scene, as `fit` found it."""

    method: str
    """The method that the fit is for."""
    transfer: float | None = None
    """Modulation transfer of the multispectral sensor at the Nyquist frequency of its pixels, 0.05 to 0.9. None for a method that weighs
    bands."""
    gains: tuple[tuple[float, float], ...] = ()
    """Per band: a share of the detail, and a share of the detail times the band's ratio to pan's low-pass. Empty for a method that
    weighs bands."""
    low_pass_mean: float | None = None
    """Mean of pan's low-pass, in DN; 0 if no pixel gives one. None for a method that weighs bands."""
    weights: tuple[float, ...] = ()
    """Share of each band in pan, for a method that weighs bands; else empty."""
    infrared_weight: float | None = None
    """Share of the infrared band, if there is one."""
    r_squared: float | None = None
    """R² of pan, or of its low-pass, as a weighted sum of the bands; 1 is perfect. Below 0.5 the default transfer 0.3 is used; weights
    below 0.8 represent pan poorly. None if the transfer was given."""
    samples: int = 0
    """Pixels that weights were fitted to, or pixels one scale down that gains were fitted to or are judged by."""
    error: float | None = None
    """ERGAS of the fused image one scale down, where the truth is known. None if there are too few samples, or only black ones."""
    plain_error: float | None = None
    """The same for upsampling without fusing."""


class Method(str):
    """Keyword of a method, with the plug-in's description of it."""

    summary: str
    formula: str
    """Of one output sample."""
    advice: str
    """When to use it."""
    minimum_bands: int
    fused_bands: int
    """How many bands it fuses: the first ones, or the first of `bands`; 0: all."""
    weighs_bands: bool
    """True if the method has weights, the shares of the bands in pan."""
    uses_low_pass: bool
    """True if it compares pan with its low-pass: blur and gains are then fitted."""
    recommended: bool
    """True for the method that is used by default."""

    def __new__(cls, keyword: str, *told: Any) -> Method:
        method = super().__new__(cls, keyword)
        names = "summary", "formula", "advice", "minimum_bands", "fused_bands", "weighs_bands", "uses_low_pass", "recommended"
        vars(method).update(zip(names, told))
        return method


@functools.lru_cache(None)
def methods() -> tuple[Method, ...]:
    """Keywords of the plug-in's methods, such as ``"KOVA"``, each with its description."""
    return tuple(Method(*told) for told in _arrays.methods())


def find_method(method: str | None = None, weighs: bool = False) -> Method:
    """The named method, in any letter case; else the recommended one, or the first if bands are to be weighed."""
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
    of_pan, of_ms = _checks.nodata(nodata, pan.dtype)
    ordered = tuple(dict.fromkeys((*chosen, *range(1, ms.shape[0] + 1))))
    fused = ordered[:method.fused_bands] if infrared is not None and method.fused_bands else ()  # the engine orders and takes them so
    gaps = tuple(_checks.no_gaps if array is None else _checks.gaps(of, array, value, looks, takes_part)
                 for of, array, value, takes_part in zip(given, (pan, ms, infrared), (of_pan, of_ms, of_ms), ((), fused, ())))
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
    """Finds what `fuse` finds before it fuses, for scenes that are fused in parts: blur and gains, or weights, depending on the method.

    The arguments are those of `fuse`; the errors are judged on `bands`.

    Raises ValueError for a method with nothing to fit. Warns if no weights can be fitted.
    """
    chosen = find_method(method, infrared is not None)
    offset, infrared_offset = moved(shift, pan, ms, pixel_size, offset, nodata, bits, infrared, infrared_pixel_size, infrared_offset)
    job, _, _ = _job(pan, ms, chosen, None, infrared, infrared_weight, gains, transfer, None, "cubic", bands, pixel_size, offset,
                     infrared_pixel_size, infrared_offset, nodata, bits, True)
    if chosen.weighs_bands:
        weights, infrared_share, r_squared, samples, obstacle = job.fit_weights()
        if obstacle:
            warnings.warn(f"{obstacle}; equal weights are used", PansharpWarning, stacklevel=2)
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
    """Fuses a sharp image of one band with a coarse one of several. Returns (band, row, column) on the pixels of pan.

    Without further arguments, and with a method alone, the samples equal those of ``pansharp sharpen`` for such files.

    Images may be masked arrays. Masked pixels have no data: they take no part in anything. A pixel of the result has no data if pan
    has none there, or if all the coarse pixels under it have none. Its samples are then the value for no data, or 0.

    pan: (row, column), or (1, row, column).
    ms: (band, row, column). It shows the same ground as pan unless pixel_size or offset is given.
    method: one of `methods()` in any letter case. None: that of `fit`, or the recommended one; with weights or infrared the first.
    weights: share of each band of ms in pan, or "equal". None: fitted. Methods that fit gains take none.
    infrared: one more band, (row, column), which takes part in the weighted sum and is not written.
    infrared_weight: its share; required with `weights`.
    fit: what `fit` found in the whole scene, used instead of fitting to these arrays.
    gains, transfer, low_pass_mean: as in `Fit`. They override `fit`, and so do `weights`. None: fitted or measured.
    resampling: "cubic" or "bilinear".
    bands: bands of ms to write, counted from 1, in any order. None: all that the method fuses. A method that fuses a fixed number of
        bands fuses these, and then the others in order.
    pixel_size: width and height of a pixel of ms in pan pixels, or one number for both, 1 or more. None: from the shapes.
    offset: column and row of ms at the upper left corner of pan; fractions are allowed. None: 0 and 0.
    infrared_pixel_size, infrared_offset: the same for infrared.
    shift: how far the content of ms is displaced to the right and down, in pixels of ms; this is corrected. "auto": as
        `measure_shift` finds it, if the windows agree. Pan must then not reach more than one pixel of ms beyond ms.
    nodata: the sample that means no data, for all images, or a pair: that of pan and that of ms. A result with this value becomes the
        next value. If many pixels along the edge of an image are zero, they count as no data too, with a warning; but not with
        `fit`, since parts of a scene have edges of their own. False: every sample is data.
    bits: bits that 16-bit samples use, 9 to 16. Samples at the largest such value are saturated: no fit uses them, and no result is
        larger. None: all.
    masked: True for a masked array, False for a plain one. None: masked if any image is.
    out: array to write into, of any strides. It is returned, or is the data of the returned masked array. It must not overlap an
        image.
    threads: number of threads. 0: one per processor.
    progress: called with (rows done, rows) in the calling thread. An exception that it raises cancels and is passed on; `out` may then
        be partly written.

    Raises TypeError and ValueError for wrong arguments, before anything is written; pansharp.Error for later failures;
    KeyboardInterrupt when the user interrupts. Warns if no weights can be fitted.
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
    of_pan, of_ms = _checks.nodata(nodata, dtype)
    fill = of_pan if of_ms is None or of_ms is False else of_ms
    return _run(work, (("pan", pan), ("ms", ms), ("infrared", infrared)), result, masked, fill, count, tell, False)


def _run(work: _arrays.Job, images: Sequence[tuple[str, Any]], result: numpy.ndarray, masked: bool | None, fill: int | None,
         threads: int, tell: Any, upsamples: bool) -> numpy.ndarray:
    """Fills the result, where `fill` or 0 means no data, and issues warnings about collars at the caller's caller."""
    if masked is None:
        masked = any(isinstance(image, numpy.ma.MaskedArray) for _, image in images)
    valid = numpy.empty(result.shape[1:], numpy.uint8) if masked else None
    warn_of_collars(images, work.fuse(result, valid, threads, tell, upsamples), 4)
    return result if valid is None else numpy.ma.MaskedArray(result, numpy.broadcast_to(valid == 0, result.shape).copy(),
                                                                       fill_value=fill or 0)


def upsample(ms: numpy.typing.ArrayLike, shape: tuple[int, int], *, resampling: str = "cubic", bands: Sequence[int] | None = None,
             pixel_size: float | tuple[float, float] | None = None, offset: tuple[float, float] | None = None, nodata: NoData = None,
             masked: bool | None = None, out: numpy.ndarray | None = None, threads: int = 0,
             progress: Callable[[int, int], object] | None = None) -> numpy.ndarray:
    """Upsamples a coarse image to the pixels of pan, without fusing. `shape` is pan's (rows, columns).

    The other arguments are those of `fuse`. Zeros along the edge are data unless `nodata` or a mask says otherwise.
    """
    coarse = _checks.image("ms", ms, "(band, row, column)")
    pan = numpy.broadcast_to(coarse.dtype.type(0), (1, *_checks.shape(shape)))
    value = _checks.nodata(nodata, coarse.dtype)[1]
    chosen = _checks.bands(bands, coarse.shape[0])
    job = _arrays.Job(pan, coarse, _checks.placement("ms", coarse, pan, pixel_size, offset), None, _checks.no_place, None, (), None, (), 0.0,
                      None, _checks.resampling(resampling), chosen, (_checks.no_gaps, _checks.gaps(ms, coarse, value, False), _checks.no_gaps), 0)
    result = _checks.output(out, (len(chosen) or coarse.shape[0], *pan.shape[1:]), coarse.dtype)
    return _run(job, (("pan", None), ("ms", ms)), result, masked, value, _checks.threads(threads), _checks.callback(progress), True)


def compare(pan: numpy.typing.ArrayLike, ms: numpy.typing.ArrayLike, truth: numpy.typing.ArrayLike | None = None, *, weights: str | None = None,
            resampling: str = "cubic", bands: Sequence[int] | None = None, pixel_size: float | tuple[float, float] | None = None,
            offset: tuple[float, float] | None = None, nodata: NoData = None, bits: int | None = None,
            transfer: float | Sequence[float] | None = None, pan_transfer: float | None = None, threads: int = 0) -> dict[str, Quality]:
    """Fuses with each method and judges the results by the truth, to find the method that suits these images.

    The first entry, "upsampled", is the bands without pan. A method that fuses a fixed number of bands is judged on the
    first ones of `bands`. It is left out if it needs more bands than ms has. All are judged on the same pixels: those with
    data in every result and in the truth.

    truth: an image with the pixels of pan and the bands of ms. None: the pair is judged one scale down, where ms itself is the truth,
        like the rows with fitted weights of ``pansharp compare``.
    weights: "equal" for equal weights instead of fitted ones.
    transfer, pan_transfer: as in `assess`; the blur that degrades a pair without truth.
    The other arguments are those of `fuse`; `pixel_size` also gives the ratio for ERGAS.
    """
    if weights not in (None, "equal"):
        raise ValueError(f"weights is {weights!r}; give 'equal', or None to have them fitted")
    if truth is None:
        reduced = reduce(pan, ms, transfer, pan_transfer, pixel_size, offset, nodata)
        pan, ms, truth, pixel_size, offset, nodata = reduced.pan, reduced.ms, reduced.truth, reduced.pixel_size, None, None
    elif transfer is not None or pan_transfer is not None:
        raise TypeError("transfer and pan_transfer are for a pair without truth; leave them out, or leave truth out")
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
        fused = chosen[:method.fused_bands or None]
        if method.minimum_bands <= coarse.shape[0]:
            shares = weights if method.weighs_bands else None
            results[str(method)] = fuse(pan, ms, method, weights=shares, bands=fused, bits=bits, **alike), fused
    lost = numpy.ma.getmaskarray(truth).any(axis=0)
    if value is not None and value is not False:
        lost = lost | (reference == value).any(axis=0)
    for result, _ in results.values():
        lost = lost | numpy.ma.getmaskarray(result).any(axis=0)
    return {name: assess(numpy.ma.MaskedArray(result.data, numpy.broadcast_to(lost, result.shape)), reference[[band - 1 for band in judged]],
                         ratio=ratio) for name, (result, judged) in results.items()}
