"""How a scene is divided into parts, and how a worker makes one of them."""

from __future__ import annotations

import contextlib
import hashlib
import json
import os
import re
import tempfile
import time
import warnings
from collections.abc import Iterator, Mapping, Sequence
from dataclasses import dataclass
from typing import Any

import distributed
import pansharp

from .. import _options
from . import _run, _store

FINGERPRINT = "PANSHARP_PART"
"""Item of a part's metadata that tells what it was made from and how."""
BLOCK = 256
"""Side of the blocks of a part. Parts begin on block boundaries."""


@dataclass(frozen=True)
class Part:
    """A window of a scene, in pixels from its corner."""

    column: int
    row: int
    columns: int
    rows: int

    @property
    def name(self) -> str:
        return f"r{self.row:07d}c{self.column:07d}.tif"

    @property
    def window(self) -> tuple[int, int, int, int]:
        return self.column, self.row, self.columns, self.rows

    @property
    def pixels(self) -> int:
        return self.columns * self.rows


NAME = re.compile(r"r\d{7}c\d{7}\.tif")


def cut(rows: int, columns: int, size: tuple[int, int]) -> list[Part]:
    """The parts of a scene, row after row. `size` is the (columns, rows) of each part but the last ones, multiples of `BLOCK`."""
    across, down = size
    for side in size:
        if side < BLOCK or side % BLOCK:
            raise ValueError(f"parts of {across} x {down} pixels do not end on blocks; give multiples of {BLOCK}")
    return [Part(column, row, min(across, columns - column), min(down, rows - row))
            for row in range(0, rows, down) for column in range(0, columns, across)]


def pan_of(scene: str) -> str:
    with open(scene, encoding="utf-8") as file:
        return next(_inputs(json.load(file), os.path.dirname(scene)))


def _inputs(description: Mapping[str, Any], folder: str) -> Iterator[str]:
    inputs = description["inputs"]
    for given in [inputs["pan"], *inputs["multispectral"], *([inputs["infrared"]] if "infrared" in inputs else [])]:
        yield os.path.join(folder, given["path"]) if given["relative"] else given["path"]


def files_of(scene: str) -> list[str]:
    """The description, its inputs, and the files that GDAL reads for these."""
    with open(scene, encoding="utf-8") as file:
        inputs = list(_inputs(json.load(file), os.path.dirname(scene)))
    return [scene, *inputs, *(name for one in inputs for name in _store.files_of(one))]


def fingerprint(scene: str, co: Sequence[str]) -> str:
    """A digest of what the parts depend on: the description; the names, times and sizes of all files of its inputs; creation options; version.

    Inputs that are not files have no time; the description has a digest of their content.
    """
    with open(scene, encoding="utf-8") as file:
        description = json.load(file)
    state = _options.engine().state_of(list(_inputs(description, os.path.dirname(scene))))
    text = json.dumps([pansharp.__version__, description, state, list(co)], sort_keys=True)
    return hashlib.sha256(text.encode()).hexdigest()[:32]


def failure(error: Exception) -> dict[str, Any]:
    """A failure as plain data, with whether another try may help."""
    kinds: dict[str, Any] = {"late": _run.Late, "output": (pansharp.OutputError, OSError), "input": pansharp.InputError,
                             "arguments": (pansharp.ArgumentError, TypeError, ValueError), "other": Exception}
    kind = next(kind for kind, types in kinds.items() if isinstance(error, types))
    items = [vars(item) for item in getattr(error, "items", ())]
    return {"kind": kind, "text": str(error), "items": items, "again": kind not in ("arguments", "late")}


def worker_address() -> str | None:
    """The address of the worker that runs this."""
    try:
        return str(distributed.get_worker().address)
    except ValueError:  # not on a worker
        return None


def make(scene: str, part: Part, out: str, print_: str, co: Sequence[str], version: str, seconds: float = 0.0) -> dict[str, Any]:
    """Makes a part of a scene, which appears under its name when it is complete. Failures are returned, not raised.

    seconds: time limit; 0 for none.
    """
    deadline = _run.Deadline(seconds)
    start, processor = time.time(), time.process_time()
    report: dict[str, Any] = {}
    error = None
    with warnings.catch_warnings(record=True) as warned:
        warnings.simplefilter("always", pansharp.PansharpWarning)
        try:
            if pansharp.__version__ != version:
                raise pansharp.Error(f"this worker has pansharp {pansharp.__version__}, and the job is one of {version}; install that here")
            with contextlib.ExitStack() as stack:
                folder = stack.enter_context(tempfile.TemporaryDirectory()) if _store.is_remote(out) else out
                file = os.path.join(folder, part.name)
                report = pansharp.sharpen(scene, out=file, srcwin=part.window, mo={FINGERPRINT: print_}, co=list(co) or None, threads=1,
                                          of="GTiff", overwrite=True, progress=deadline.check if seconds else None)
                if _store.is_remote(out):
                    _store.upload(file, _store.join(out, part.name))
        except Exception as caught:  # the worker continues with the next part
            error = failure(caught)
    return {"seconds": time.time() - start, "processor_seconds": time.process_time() - processor, "start": start, "error": error,
            "worker": worker_address(), "mask": report.get("no_data", {}).get("by") == "mask", "warnings": sorted({str(warning.message) for warning in warned})}
