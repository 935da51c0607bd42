from collections.abc import Callable

import numpy

version: str

class Error(Exception): ...

def methods() -> tuple[str, ...]: ...

class Job:
    def __init__(self, pan: numpy.ndarray, ms: numpy.ndarray, placement: tuple[float, ...], infrared: numpy.ndarray | None,
                 infrared_placement: tuple[float, ...], method: str | None, weights: tuple[float, ...],
                 infrared_weight: float | None, gains: tuple[tuple[float, float], ...], transfer: float,
                 low_pass_mean: float, resampling: int, bands: tuple[int, ...]) -> None: ...
    def fit(self) -> tuple[float, tuple[tuple[float, float], ...], float, float, int, float, float]: ...
    def fuse(self, out: numpy.ndarray, threads: int, progress: Callable[[int, int], object] | None) -> None: ...
