"""One scene fused in parts."""

from __future__ import annotations

import collections
import os
import time
import warnings
from collections.abc import Callable, Iterator, Mapping, Sequence
from contextlib import contextmanager
from dataclasses import dataclass, field
from typing import Any

import pansharp

from .. import _options
from .._scenes import File
from . import _mosaic, _parts, _place, _run, _store
from ._connection import Clients, Connection
from ._parts import Part

Tell = Callable[..., object]

@dataclass
class Outcome:
    """The outcome of fusing a scene."""

    scene: str
    """The description that was fused."""
    mosaic: str | None = None
    """The VRT over all parts that were made; None if there is none."""
    single: str | None = None
    """The single file, if one was requested."""
    count: int = 0
    """Number of parts of the scene."""
    made: int = 0
    """Number of parts made now; the others already existed."""
    failed: dict[str, dict[str, Any]] = field(default_factory=dict)
    """By name of the part: "kind" (input, output, arguments, quarantine, lost, late, other), "text", and "items" of the engine."""
    seconds: float = 0.0
    """From the start of the call to its end."""
    tasks: list[dict[str, Any]] = field(default_factory=list)
    """Per part made now: "name", "worker", "start" (as from time.time), "seconds", "processor_seconds"."""

    @property
    def ok(self) -> bool:
        """Whether all parts exist."""
        return not self.failed and self.mosaic is not None


def _listed(co: Mapping[str, Any] | Sequence[str] | None) -> list[str]:
    if isinstance(co, Mapping):
        return [f"{key}={'YES' if value is True else 'NO' if value is False else value}" for key, value in co.items()]
    return list(co or ())


def _description(pan: File, ms: File | Sequence[File] | None) -> str | None:
    """The name of the given description; None for a pair."""
    name = None if ms is not None or isinstance(pan, tuple) else os.fspath(pan)
    return name if name and name.lower().endswith(".pansharp") else None


def _described(pan: File, ms: File | Sequence[File] | None, out: str, options: dict[str, Any], overwrite: bool, deadline: _run.Deadline, tell: Tell) -> str:
    """The description to fuse: the given one, or that of the pair, written into OUT."""
    given = _description(pan, ms)
    if given:
        if options:
            raise TypeError(f"'{given}' already says how the scene is fused; leave out {', '.join(options)}")
        return os.path.abspath(given)
    if _store.is_remote(out):
        raise ValueError(f"'{out}' holds no description; write one with pansharp.sharpen(…, out='scene.pansharp') where all workers see it")
    scene = os.path.join(out, _place.SCENE)
    _place.begin(out, scene, _options.files(pan, ms), overwrite)
    with _telling(tell):
        pansharp.sharpen(pan, ms, scene, overwrite=True, progress=deadline.check if deadline.seconds else None, **options)
    return scene


@contextmanager
def _telling(tell: Tell) -> Iterator[None]:
    """Reports warnings of the engine as events."""
    with warnings.catch_warnings(record=True) as warned:
        warnings.simplefilter("always", pansharp.PansharpWarning)
        try:
            yield
        finally:
            for warning in warned:
                tell("warning", text=str(warning.message))


def _size_of_parts(part: int | tuple[int, int] | None, columns: int, pan: str) -> tuple[int, int]:
    """The requested size; else 4096 x 4096 pixels, or the same number in whole rows if pan is stored in rows."""
    if part is not None:
        return part if isinstance(part, tuple) else (part, part)
    side = 4096
    block = _mosaic.block_of(pan)
    if block is None or block[0] <= side:
        return side, side
    across = -(-columns // _parts.BLOCK) * _parts.BLOCK
    return across, max(side * side // across // _parts.BLOCK, 1) * _parts.BLOCK


def _files_in(out: str, parts: Sequence[Part]) -> Iterator[str]:
    for name in _place.MOSAIC, _place.REPORT, *(f"parts/{part.name}" for part in parts):
        yield _store.join(out, name)


def sharpen(client: Connection | Clients, pan: File, ms: File | Sequence[File] | None = None, out: str | os.PathLike[str] = "", *,
            part: int | tuple[int, int] | None = None, co: Mapping[str, Any] | Sequence[str] | None = None,
            single: str | os.PathLike[str] | None = None, single_format: str = "GTiff", single_co: Mapping[str, Any] | Sequence[str] | None = None,
            overwrite: bool = False, check: bool = True, time_limit: float | _run.Deadline = 0.0,
            limits: _run.Limits = _run.Limits(), tell: Tell = lambda event, **facts: None, **options: Any) -> Outcome:
    """Fuses a scene in parts on the workers of a client: OUT/parts/*.tif, and OUT/mosaic.vrt over them, with the bytes of a single run.

    Existing parts from the same description, inputs, options and version are kept. Parts that fail are named in the outcome, and the rest
    is made.

    client: a distributed.Client, which stays open, or a function that makes one, which is called if there is something to make, and whose
        client is closed at the end. Workers must see the same files under the same names.
    pan, ms: a .pansharp file alone; or a pair, which is first fitted and described in OUT/scene.pansharp, with `options` of `pansharp.sharpen`.
    out: a folder, or, for a description, object storage by a name that GDAL writes to, such as /vsis3/bucket/scene.
    part: side of a part in pixels, or (columns, rows), multiples of 256. None: 4096, or whole rows if pan is stored in strips.
    co: creation options of the parts, which are GeoTIFFs.
    single: a file to copy the mosaic into, of `single_format`, GTiff or COG, with `single_co`.
    overwrite: replace an existing single file, and files in OUT that no such job has made.
    check: first compare all bytes of the inputs with a given description, and warn of differences, as the command does.
    time_limit: seconds after which the remaining parts are given up; 0 for no limit.
    limits: how often a part is tried, and how long to wait for a scheduler.
    tell: called with the name of each event and its facts by keyword, as docs/distributed.md lists them.

    Raises pansharp.InputError and other pansharp.Error for a scene that cannot be opened; pansharp.OutputError for a single file that cannot be
    written, or if a file of others is in the way; ValueError and TypeError for wrong arguments; OSError if no scheduler is reached or OUT
    cannot be written.
    """
    start = time.monotonic()
    deadline = time_limit if isinstance(time_limit, _run.Deadline) else _run.Deadline(time_limit)
    out = os.fspath(out)
    if not out:
        raise TypeError("no folder is named; give out, where parts and mosaic go")
    out = out if _store.is_remote(out) else os.path.abspath(out)
    if single is not None:
        _mosaic.check_single(os.fspath(single), overwrite, ())
    for folder in out, _store.join(out, "parts"):
        _store.make_folder(folder)
    scene = _described(pan, ms, out, options, overwrite, deadline, tell)
    options_of_parts = _listed(co)
    with _telling(tell), pansharp.open(scene) as opened:
        shape = opened.shape
    size = _size_of_parts(part, shape[1], _parts.pan_of(scene))
    parts = _parts.cut(*shape, size)
    inputs = _parts.files_of(scene)
    _place.check_out(out, inputs, overwrite)
    if single is not None:
        _mosaic.check_single(os.fspath(single), overwrite, [*inputs, *_files_in(out, parts)])
    print_ = _parts.fingerprint(scene, options_of_parts)
    description = _place.own_digest(out, scene)
    outcome = Outcome(scene, count=len(parts))
    folder = _store.join(out, "parts")
    there = _store.listing(folder)
    masks = {one: _mosaic.look(_store.join(folder, one.name), one.window, print_) if one.name in there else None for one in parts}
    missing = [one for one in parts if masks[one] is None]
    if not overwrite:
        _place.check_parts(_store.join(folder, one.name) for one in missing if one.name in there)
    tell("start", scene=scene, count=len(parts), missing=len(missing), pixels=sum(one.pixels for one in missing), part=list(size))
    if missing:
        _place.write_report(out, scene, description)
        if check and _description(pan, ms):  # else all was read just now
            _compare(scene, tell)
        _make(client, scene, folder, missing, (print_, options_of_parts), masks, limits, deadline, outcome, tell)
        if _parts.fingerprint(scene, options_of_parts) != print_:
            tell("warning", text="an input was changed while the parts were made; run the job again to make them again")
    made = {one: mask for one, mask in masks.items() if mask is not None}
    if made:
        outcome.mosaic = _mosaic.vrt(out, shape, made, len(made) == len(parts))
        _remove_others(folder, parts)
    if single is not None and outcome.ok:
        outcome.single = os.path.abspath(single)
        _mosaic.single(str(outcome.mosaic), outcome.single, single_format, _listed(single_co), overwrite,
                       lambda done: tell("copied", done=done), deadline)
    outcome.seconds = time.monotonic() - start
    _place.write_report(out, scene, description, ok=outcome.ok, columns=shape[1], rows=shape[0], parts=len(parts), made=outcome.made,
                        failed=outcome.failed, seconds=outcome.seconds)
    return outcome


def _compare(scene: str, tell: Tell) -> None:
    """Warns of inputs that have changed. An input that cannot be read is reported part by part."""
    try:
        for text in pansharp.info(scene)["warnings"]:
            tell("warning", text=text)
    except pansharp.InputError as error:
        tell("warning", text=str(error))


def _make(client: Connection | Clients, scene: str, folder: str, missing: list[Part], how: tuple[str, list[str]], masks: dict[Part, bool | None],
          limits: _run.Limits, deadline: _run.Deadline, outcome: Outcome, tell: Tell) -> None:
    print_, co = how
    warned: collections.Counter[str] = collections.Counter()

    def done(task: _run.Task, result: dict[str, Any]) -> None:
        part = task.key
        assert isinstance(part, Part)
        if result["error"]:
            outcome.failed[part.name] = result["error"]
            tell("failed", name=part.name, **result["error"])
            return
        masks[part] = result["mask"]
        outcome.made += 1
        warned.update(set(result["warnings"]))
        facts = {key: result[key] for key in ("worker", "start", "seconds", "processor_seconds")}
        outcome.tasks.append({"name": part.name, **facts})
        tell("made", name=part.name, window=list(part.window), pixels=part.pixels, **facts)

    def retried(task: _run.Task, text: str) -> None:
        assert isinstance(task.key, Part)
        tell("retried", name=task.key.name, text=text, attempt=task.attempts)

    connection = client if isinstance(client, Connection) else Connection(client)
    try:
        _run.Runner(connection, limits).run([_run.Task(part, _parts.make, (scene, part, folder, print_, co, pansharp.__version__)) for part in missing],
                                            done, retried, lambda text: tell("waiting", text=text), deadline)
    finally:
        if connection is not client:
            connection.close()
    for text, times in warned.items():  # a warning of only some parts, such as "no data", does not apply to the scene
        if times == outcome.made:
            tell("warning", text=text if times == outcome.count else f"{times} of {outcome.count} parts, all that were made now: {text}")


def _remove_others(folder: str, parts: list[Part]) -> None:
    """Parts of an earlier division of the scene, which no mosaic uses any more."""
    if _store.is_remote(folder):
        return
    for name in _store.listing(folder) - {part.name for part in parts}:
        file = os.path.join(folder, name)
        if _parts.NAME.fullmatch(name) and not _store.is_raster_of_others(file, _parts.FINGERPRINT):
            os.unlink(file)
