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

from collections.abc import Callable, Sequence
from dataclasses import dataclass
from typing import Any

import numpy
import numpy.typing

from . import _arrays, _checks
from ._errors import ArgumentError, Error, InputError, Item, OutputError, PansharpWarning
from ._options import options
from ._scenes import Dataset, info, open, sharpen

__all__ = ["ArgumentError", "Dataset", "Error", "Fit", "InputError", "Item", "OutputError", "PansharpWarning", "fit", "fuse", "info",
           "methods", "open", "options", "sharpen"]
__version__ = _arrays.version


@dataclass(frozen=True)
class Fit:
    """How pan's detail comes into the bands of a scene, as `fit` found it."""

    transfer: float
    """Modulation transfer of the multispectral sensor at the Nyquist frequency of its pixels, 0.05 to 0.9."""
    gains: tuple[tuple[float, float], ...]
    """For each band a share of the detail, and a share of the detail times the band's ratio to pan's low-pass."""
    low_pass_mean: float
    """Mean of pan's low-pass, in units of the samples; 0 where no pixel tells it."""
    r_squared: float | None
    """How well the bands make up pan's low-pass, 1 at best; below 0.5 the transfer is the usual 0.3. None when the transfer was given."""
    samples: int
    """Pixels one scale down that the gains were fitted to, or are judged by."""
    error: float | None
    """ERGAS one scale down, where the truth is known, of the fused image. None when too few samples, or black ones, tell nothing."""
    plain_error: float | None
    """The same of what is merely upsampled."""


def methods() -> tuple[str, ...]:
    """Keywords of the methods that the plug-in has, such as ``"KOVA"``."""
    return _arrays.methods()


def _job(pan: Any, ms: Any, method: Any, weights: Any, infrared: Any, infrared_weight: Any, gains: Any, transfer: Any,
         low_pass_mean: Any, resampling: Any, bands: Any, pixel_size: Any, offset: Any, infrared_pixel_size: Any,
         infrared_offset: Any) -> tuple[_arrays.Job, tuple[int, ...], numpy.dtype]:
    """The job with the shape and type of its output."""
    pan = _checks.image("pan", pan, "(row, column)")
    ms = _checks.image("ms", ms, "(band, row, column)")
    infrared_place: tuple[float, ...] = (0.0, 0.0, 0.0, 0.0)
    if infrared is None and (infrared_pixel_size is not None or infrared_offset is not None):
        raise ValueError("infrared_pixel_size and infrared_offset place the infrared band; give infrared, too, or leave them out")
    if infrared is not None:
        infrared = _checks.image("infrared", infrared, "(row, column)")
        infrared_place = _checks.placement("infrared", infrared, pan, infrared_pixel_size, infrared_offset, "infrared_")
    _checks.same_depth(pan, ms=ms, infrared=infrared)
    chosen = _checks.bands(bands, ms.shape[0])
    job = _arrays.Job(pan, ms, _checks.placement("ms", ms, pan, pixel_size, offset), infrared, infrared_place,
                      _checks.method(method), _checks.weights(weights),
                      None if infrared_weight is None else _checks.number("infrared_weight", infrared_weight),
                      _checks.gains(gains), _checks.above_zero("transfer", transfer),
                      _checks.above_zero("low_pass_mean", low_pass_mean), _checks.resampling(resampling), chosen)
    return job, (len(chosen) or ms.shape[0], *pan.shape[1:]), pan.dtype


def fit(pan: numpy.typing.ArrayLike, ms: numpy.typing.ArrayLike, *, method: str | None = None,
        gains: Sequence[tuple[float, float]] | None = None, transfer: float | None = None,
        bands: Sequence[int] | None = None, pixel_size: float | tuple[float, float] | None = None,
        offset: tuple[float, float] | None = None) -> Fit:
    """Finds how pan's detail comes into the bands, as `fuse` does before it fuses; for scenes that are fused in parts.

    The arguments are those of `fuse`; `bands` are those that the errors are of.

    Raises ValueError when the method does not compare pan with its low-pass: there is nothing to fit then.
    """
    job, _, _ = _job(pan, ms, method, None, None, None, gains, transfer, None, None, bands, pixel_size, offset, None, None)
    found, pairs, mean, r_squared, samples, error, plain_error = job.fit()
    judged = error != 0 or plain_error != 0
    return Fit(found, pairs, mean, r_squared if transfer is None else None, samples, error if judged else None,
               plain_error if judged else None)


def fuse(pan: numpy.typing.ArrayLike, ms: numpy.typing.ArrayLike, method: str | None = None, *,
         weights: Sequence[float] | None = None, infrared: numpy.typing.ArrayLike | None = None,
         infrared_weight: float | None = None, fit: Fit | None = None,
         gains: Sequence[tuple[float, float]] | None = None, transfer: float | None = None,
         low_pass_mean: float | None = None, resampling: str | None = None, bands: Sequence[int] | None = None,
         pixel_size: float | tuple[float, float] | None = None, offset: tuple[float, float] | None = None,
         infrared_pixel_size: float | tuple[float, float] | None = None,
         infrared_offset: tuple[float, float] | None = None, out: numpy.ndarray | None = None, threads: int = 0,
         progress: Callable[[int, int], object] | None = None) -> numpy.ndarray:
    """Fuses a sharp image of one band with a coarse one of several: (band, row, column) on the pixels of pan.

    Without further arguments the samples are those of ``pansharp sharpen`` without options, for files without pixels that have no data.

    pan: (row, column), or (1, row, column).
    ms: (band, row, column), of the same ground unless it is placed.
    method: one of `methods()` in any letter case. None: the recommended one; with weights or infrared the first.
    weights: share of each band of ms in pan. None: equal shares. Methods that fit gains take none.
    infrared: one more band, (row, column), which takes part in the weighted sum and is not written.
    infrared_weight: its share; needed with `weights`.
    fit: what `fit` found in the whole scene, in the place of what would be fitted to these arrays.
    gains, transfer, low_pass_mean: as in `Fit`; each goes before what `fit` has.
    resampling: "bilinear" or "cubic". None: what suits the method.
    bands: bands of ms to write, counted from 1, in any order. None: all.
    pixel_size: width and height of a pixel of ms in pan pixels, or one number for both, 1 or more. None: by the shapes.
    offset: column and row of ms, fractions too, on which the upper left corner of pan lies. None: 0 and 0.
    infrared_pixel_size, infrared_offset: the same of infrared.
    out: array to write into, of any strides, which is returned. It may not lie within the memory of an image.
    threads: how many share the work. 0: one a processor.
    progress: called with (rows done, rows) in the calling thread. What it raises cancels and comes out of `fuse`; `out` may be written in part.

    Raises TypeError and ValueError for arguments that contradict each other, before anything is written; pansharp.Error for what goes
    wrong later; KeyboardInterrupt when the user interrupts.
    """
    if fit is not None:
        if not isinstance(fit, Fit):
            raise TypeError(f"fit is {fit!r}; give what pansharp.fit returned")
        gains = fit.gains if gains is None else gains
        transfer = fit.transfer if transfer is None else transfer
        low_pass_mean = fit.low_pass_mean or None if low_pass_mean is None else low_pass_mean
    job, shape, dtype = _job(pan, ms, method, weights, infrared, infrared_weight, gains, transfer, low_pass_mean, resampling, bands,
                             pixel_size, offset, infrared_pixel_size, infrared_offset)
    result = _checks.output(out, shape, dtype)
    job.fuse(result, _checks.threads(threads), _checks.callback(progress))
    return result
