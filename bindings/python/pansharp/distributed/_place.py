"""The contents of a job's folder, and whether they are the job's own. Files of others are replaced only on request."""

from __future__ import annotations

import contextlib
import hashlib
import json
import os
from collections.abc import Callable, Iterable, Sequence
from typing import Any, NoReturn
from xml.etree import ElementTree

import pansharp

from . import _parts, _store

SCENE, MOSAIC, REPORT = "scene.pansharp", "mosaic.vrt", "report.json"
_KEYS = {"ok", "scene", "version", "failed"}


def refuse(file: str, why: str) -> NoReturn:
    raise pansharp.OutputError(f"the output '{file}' {why}")


def _is_mosaic(text: bytes) -> bool:
    """Whether a text is a VRT of parts only."""
    try:
        names = [name.text or "" for name in ElementTree.fromstring(text).iter("SourceFilename")]
    except ElementTree.ParseError:
        return False
    return bool(names) and all(os.path.dirname(name) == "parts" and _parts.NAME.fullmatch(os.path.basename(name)) for name in names)


def _report(text: bytes) -> dict[str, Any]:
    """The report of a job; empty for anything else."""
    try:
        report = json.loads(text)
    except ValueError:
        return {}
    return report if isinstance(report, dict) and set(report) >= _KEYS else {}


def _digest(scene: str) -> str:
    return hashlib.sha256(_store.read(scene) or b"").hexdigest()


def _is_own_scene(out: str, scene: str) -> bool:
    """Whether the report says that a job has made this description, or was about to."""
    report = _report(_store.read(_store.join(out, REPORT)) or b"")
    return report.get("scene") == scene and report.get("description") in ("", _digest(scene))


def own_digest(out: str, scene: str) -> str | None:
    """A digest of a description that a job has made in its folder, to recognise it; None if it belongs to others."""
    return _digest(scene) if _is_own_scene(out, scene) else None


def check(file: str, is_own: Callable[[bytes], bool], inputs: Iterable[str], overwrite: bool) -> None:
    """Refuses to write a file that must not be replaced. Raises pansharp.OutputError.

    is_own: tells from the content of an existing file whether a job has made it.
    """
    if any(_store.is_same(file, other) for other in inputs):
        refuse(file, "is read by the job, which would replace it; choose another folder")
    is_there = os.path.lexists(file)
    if is_there and not os.path.isfile(file):
        refuse(file, "is not a file that can be replaced; choose another folder")
    text = _store.read(file)
    if (is_there or text is not None) and not overwrite and not is_own(text or b""):
        refuse(file, "exists, and no job of this kind has made it; choose another folder, or allow it to be overwritten (--overwrite)")


def check_out(out: str, inputs: Sequence[str], overwrite: bool) -> None:
    """Refuses a folder whose mosaic, report or parts must not be written. Raises pansharp.OutputError."""
    check(_store.join(out, MOSAIC), _is_mosaic, inputs, overwrite)
    check(_store.join(out, REPORT), lambda text: bool(_report(text)), inputs, overwrite)
    parts = os.path.realpath(_store.join(out, "parts"))
    for name in inputs:
        folder, last = os.path.split(os.path.realpath(name))
        if folder == parts and _parts.NAME.fullmatch(last):
            refuse(name, "is read by the job, which would replace it; choose another folder")


def begin(out: str, scene: str, inputs: Sequence[str], overwrite: bool) -> None:
    """Prepares a folder to describe a scene in. Raises pansharp.OutputError if files of others are in the way."""
    files = [_store.file_of(name) for name in inputs]
    check_out(out, files, overwrite)
    check(scene, lambda _: _is_own_scene(out, scene), files, overwrite)
    write_report(out, scene, "")


def check_parts(files: Iterable[str]) -> None:
    """Refuses existing parts that no job has made. Unreadable parts are incomplete ones of a job. Raises pansharp.OutputError."""
    for file in files:
        if _store.is_raster_of_others(file, _parts.FINGERPRINT):
            refuse(file, "exists, and no job of this kind has made it; choose another folder, or allow it to be overwritten (--overwrite)")


def remove(out: str) -> None:
    """Removes the folder of a finished job with all that it has made there. Files of others stay, and folders that contain any."""
    parts = os.path.join(out, "parts")
    for file in (*(os.path.join(parts, name) for name in os.listdir(parts) if _parts.NAME.fullmatch(name)),
                 *(os.path.join(out, name) for name in (MOSAIC, REPORT, SCENE))):
        os.unlink(file)
    for folder in parts, out:
        with contextlib.suppress(OSError):
            os.rmdir(folder)


def write_report(out: str, scene: str, description: str | None, **facts: Any) -> None:
    """description: from `own_digest`, or "" while the job is writing it."""
    _store.write_text(_store.join(out, REPORT), json.dumps(
        {"ok": False, "scene": scene, "description": description, "version": pansharp.__version__, "failed": {}, **facts}, indent=1) + "\n")
