"""Exceptions other than for wrong arguments, and warnings."""

from __future__ import annotations

import warnings
from collections.abc import Sequence
from dataclasses import dataclass
from typing import Any

import numpy


@dataclass(frozen=True)
class Item:
    """One item of the engine's report of a failure. The first item says what to do."""

    id: str
    """Six hexadecimal digits; docs/status.md lists them. "000000" for an invalid option."""
    message: str
    source: str
    """The part of the engine that reports it."""
    details: str


class Error(Exception):
    """A failure, with what to do about it."""

    items: tuple[Item, ...] = ()
    """The engine's report; empty for failures with arrays, whose exceptions have it in their text."""
    report: dict[str, Any] | None = None
    """What ``--json`` prints for such a run; None for arrays."""


class ArgumentError(Error, ValueError):
    """Options that contradict each other or are invalid."""


class InputError(Error):
    """An input that cannot be opened or read, or does not fit the others."""


class OutputError(Error):
    """An output that cannot be written."""


class PansharpWarning(UserWarning):
    """A warning of the engine: the work continues, but the result may not be what was intended."""


_KINDS = {"00B020": ArgumentError, "00B021": ArgumentError, "00B022": ArgumentError, "00B101": ArgumentError, "00B102": InputError,
          "00B103": InputError, "00B104": InputError, "00B105": InputError, "00B106": OutputError, "00B107": OutputError, "00B108": OutputError}


def of_report(report: dict[str, Any]) -> Error:
    """The exception for a report."""
    items = tuple(Item(**item) for item in report["status"])
    lines = [line for item in items for line in (item.message, item.details) if line]
    wrong_options = report["exit_code"] == 2
    kind = ArgumentError if wrong_options else _KINDS.get(items[0].id if items else "", Error)
    error = kind("\n  ".join(lines) or "the work failed, and nothing says why")
    error.items = items
    error.report = report
    return error


def warn_of_collars(images: Sequence[tuple[str, Any]], collars: Sequence[int], stacklevel: int) -> None:
    """Per image: its name, the image, and the number of pixels of the collar found."""
    for (name, image), collar in zip(images, collars):
        if collar:
            rows, columns = numpy.shape(image)[-2:]
            warnings.warn(f"{100 * collar / (rows * columns):.3g} % of the pixels of {name} are a collar of zeros along its edge; it is "
                          "taken as no data (nodata=False takes it as data)", PansharpWarning, stacklevel=stacklevel)
