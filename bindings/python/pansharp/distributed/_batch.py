"""Many scenes: those of a list. Each is a task, or a large one is a scene in parts."""

from __future__ import annotations

import csv
import functools
import io
import json
import os
import pathlib
import time
from collections.abc import Callable, Iterator, Mapping, Sequence
from contextlib import contextmanager
from dataclasses import dataclass, field
from typing import Any

import pansharp

from .. import _arrays, _options
from . import _mosaic, _parts, _place, _run, _scene, _store
from ._connection import Clients, Connection, Unreached

Entry = Any
_RESULTS, _SHARED, _SUMMARY = "batch.jsonl", "shared.json", "summary.csv"
_FITTED = "command", "ok", "method", "weights", "infrared_weight", "modulation_transfer", "gains"
_AT_ONCE = 1e-9  # seconds
_NOT_IN_PARTS = {"--mo", "--srcwin", "--byte", "--preview", "--preview-at"}
_COLUMNS = "status", "output", "seconds", "megapixels", "line", "worker", "error"


@dataclass
class BatchOutcome:
    """The outcome of a batch."""

    results: list[dict[str, Any]] = field(default_factory=list)
    """One line per scene in the order of the list, with the keys of ``pansharp batch``, and "worker"."""
    seconds: float = 0.0
    """From the start of the call to its end."""

    def count(self, status: str) -> int:
        """Number of scenes that are "done", "skipped" or "failed"."""
        return sum(result["status"] == status for result in self.results)

    @property
    def ok(self) -> bool:
        """Whether no scene has failed."""
        return self.count("failed") == 0


def make_scene(entry: Entry, here: str, folder: str, time_limit: float, done: str, is_own: bool, version: str) -> dict[str, Any]:
    """Makes a scene on a worker, in the folder `here` that names are relative to. Failures are returned, not raised."""
    try:
        if version != pansharp.__version__:
            raise pansharp.Error(f"this worker has pansharp {pansharp.__version__}, and the job is one of {version}; install that here")
        os.chdir(here)
        os.environ.setdefault("PANSHARP_PLUGIN", _arrays.plugin_path())
        line = json.loads(_options.engine().batch_scene(entry, folder, time_limit, done, is_own, None))
    except Exception as caught:  # the worker continues with the next scene
        line = _line(entry, f"{type(caught).__name__}: {caught}", version)
    failed = line["status"] == "failed"
    again = failed and any(error["id"] in _TRANSIENT for error in line["errors"])
    kind = "output" if failed and any(error["id"] in _OUTPUT for error in line["errors"]) else "input"
    texts = [error["message"] for error in line.get("errors", ())]
    return {"line": {**line, "worker": _parts.worker_address()}, "worker": _parts.worker_address(),
            "error": {"kind": kind, "text": "; ".join(texts), "items": [], "again": again} if failed else None}


_TRANSIENT = {"00B102", "00B105", "00B107", "00B108"}  # not opened, not read, not created, not written
_OUTPUT = {"00B107", "00B108"}


def _line(entry: Entry, text: str, version: str) -> dict[str, Any]:
    list_, number, files, output, _, _ = entry
    place = {"list": list_, "line": number} if list_ else {}
    return {"status": "failed", **place, "inputs": files, "output": output or None, "seconds": 0.0, "megapixels": 0.0, "fit": None,
            "warnings": [], "errors": [{"id": "000000", "message": text, "source": "distributed", "details": ""}], "version": version,
            "fingerprint": ""}


class _Book:
    """The results of a batch: in memory, in batch.jsonl, and reported as events."""

    def __init__(self, folder: str, entries: Sequence[Entry], tell: _scene.Tell) -> None:
        self.lines: dict[int, dict[str, Any]] = {}
        self._count, self._tell = len(entries), tell
        self._results = _options.engine().Results(os.path.join(folder, _RESULTS))
        self.find_done: Callable[[str], str] = self._results.find_done
        self.was_begun: Callable[[str], bool] = self._results.was_begun
        self.begin: Callable[[str], None] = self._results.begin

    def add(self, number: int, line: dict[str, Any]) -> None:
        result: dict[str, Any] = {"scene": number + 1, "of": self._count, **line}
        self.lines[number] = result
        if result["status"] != "skipped":
            self._results.add(json.dumps(result))
        self._results.end(result["output"] or "", result["status"] != "failed")
        facts: dict[str, Any] = {"name": result["output"], "pixels": result["megapixels"] * 1e6, "seconds": result["seconds"], "result": result}
        if result["status"] == "failed":
            facts["text"] = "; ".join(error["message"] for error in result["errors"])
        self._tell("made" if result["status"] == "done" else result["status"], **facts)

    def close(self) -> None:
        self._results.close()


def batch(client: Clients, scenes: str | Sequence[str], out: str | os.PathLike[str], *,
          time_limit: float = 0.0, share: bool = False, parts_above: float | None = None, limits: _run.Limits = _run.Limits(),
          tell: _scene.Tell = lambda event, **facts: None, **options: Any) -> BatchOutcome:
    """Sharpens the scenes of lists, and products, on the workers of a client, as ``pansharp batch`` does on one machine.

    Lists, results (OUT/batch.jsonl), and the rules for skipping are those of the command; OUT/summary.csv has a line per scene.

    client: a distributed.Client, which stays open, or a function that makes one, which is closed at the end.
    scenes: a list in a file that ends in .jsonl, a product, a .pansharp file, or several of these.
    out: the folder to write into; it is created if needed. Workers must see it, and all inputs, under the same names.
    time_limit: seconds per scene; 0 for no limit.
    share: what is fitted to the first scene, its weights or blur and gains, is used for all later scenes.
    parts_above: pairs with more megapixels are fused in parts, one after another, with all workers on one pair. None: none.
        Products, descriptions, formats other than GTiff and COG, and scenes with mo, srcwin, byte or preview are always a single task.
    limits: how often a scene is tried, and how long to wait for a scheduler.
    tell: called with the name of each event and its facts by keyword, as docs/distributed.md lists them.
    options: those of `pansharp.sharpen` that apply to all scenes.

    A scene that fails is reported in the outcome. Raises ValueError and TypeError for invalid lists and options, pansharp.OutputError if a
    file of others is in the way, OSError if no scheduler is reached or OUT cannot be written.
    """
    start = time.monotonic()
    folder = os.path.abspath(out)
    os.makedirs(folder, exist_ok=True)
    names = [scenes] if isinstance(scenes, (str, os.PathLike)) else list(scenes)
    texts = {"--threads": ["1"], **_options.texts("batch", options), "--out": [folder]}
    if "plugin" not in options:  # each worker uses its own
        texts.pop("--plugin", None)
    entries = _options.call(_options.engine().batch_scenes, [os.fspath(name) for name in names], texts)
    for name, is_own in (_SUMMARY, _is_table), (_SHARED, _is_shared):
        _place.check(os.path.join(folder, name), is_own, (), bool(options.get("overwrite")))
    book = _Book(folder, entries, tell)
    tell("start", count=len(entries), missing=len(entries), pixels=0, unit="scenes")
    work = _Work(Connection(client), folder, time_limit, book, limits, tell)
    try:
        left = list(enumerate(entries))
        while share and left:
            (number, _), *left = left
            work.run([(number, entries[number])])
            if "report" in book.lines[number]:
                left = _sharing(folder, left, book.lines[number]["report"])
                break
        large: list[tuple[int, Entry]] = []
        tasks: list[tuple[int, Entry]] = []
        for number, entry in left:
            in_parts = parts_above is not None and _form(entry) and _megapixels(entry) > parts_above
            (large if in_parts else tasks).append((number, entry))
        work.run(tasks)
        for number, entry in large:
            work.run_in_parts(number, entry)
    finally:
        book.close()
        work.connection.close()
    outcome = BatchOutcome([book.lines[number] for number in sorted(book.lines)], time.monotonic() - start)
    _store.write_text(os.path.join(folder, _SUMMARY), _table(outcome.results))
    return outcome


@dataclass
class _Work:
    connection: Connection
    folder: str
    time_limit: float
    book: _Book
    limits: _run.Limits
    tell: _scene.Tell

    def run(self, scenes: Sequence[tuple[int, Entry]]) -> None:
        """Makes each scene as a task."""
        version = pansharp.__version__
        entries = dict(scenes)

        def ended(task: _run.Task, result: dict[str, Any]) -> None:
            assert isinstance(task.key, int)
            self.book.add(task.key, result.get("line") or _line(entries[task.key], result["error"]["text"], version))
        _run.Runner(self.connection, self.limits).run(
            [_run.Task(number, make_scene, (entry, os.getcwd(), self.folder, self.time_limit, self.book.find_done(entry[3]), self.book.was_begun(entry[3]), version),
                       functools.partial(self.book.begin, entry[3]))
             for number, entry in scenes],
            ended, lambda task, text: self.tell("retried", name=task.arguments[0][3], text=text, attempt=task.attempts),
            lambda text: self.tell("waiting", text=text))

    def run_in_parts(self, number: int, entry: Entry) -> None:
        start = time.monotonic()
        try:
            line = self._made_in_parts(entry)
        except Unreached:
            raise
        except (pansharp.Error, OSError, ValueError, TypeError) as error:
            line = _line(entry, str(error), pansharp.__version__)
        self.book.add(number, line if line["status"] == "skipped" else {**line, "seconds": time.monotonic() - start})

    def _made_in_parts(self, entry: Entry) -> dict[str, Any]:
        """Describes a scene in a folder of its own, fuses it there in parts, and copies them into its output."""
        list_, line, files, output, options, fault = entry
        deadline = _run.Deadline(self.time_limit)
        began: list[float] = []
        # A run that is cancelled at once still tells whether there is anything to do, and the scene's fingerprint.
        done = self.book.find_done(output)
        tried = self._engine(entry, _AT_ONCE, done, lambda done, _: began.append(done))
        if not began:
            return tried
        file, own = os.path.join(self.folder, output), os.path.abspath(os.path.join(self.folder, f"{output}.parts"))
        overwrite = "--overwrite" in options or bool(done) or self.book.was_begun(output)
        os.makedirs(own, exist_ok=True)
        _mosaic.check_single(file, overwrite, map(_store.file_of, files))
        described = os.path.join(own, _place.SCENE)
        _place.begin(own, described, files, overwrite)
        self.book.begin(output)
        kept = {key: value for key, value in options.items() if key not in ("--co", "--of")}
        result = self._engine((list_, line, files, described, {**kept, "--overwrite": []}, fault), self.time_limit, "", None)
        if result["status"] == "done":
            form, co = str(_form(entry)), options.get("--co")
            made = _scene.sharpen(self.connection, described, out=own, single=file,
                                  co=co if form == "GTiff" else None, single_format=form, single_co=co, overwrite=overwrite, check=False,
                                  time_limit=deadline, limits=self.limits, tell=self._telling_parts(output))
            if made.failed:
                result = {**_line(entry, _of_parts(made.failed), pansharp.__version__), "warnings": result["warnings"]}
            else:
                try:
                    _place.remove(own)
                except OSError as error:  # the scene is done nevertheless
                    self.tell("warning", text=f"the parts of '{output}' cannot be removed; remove the folder '{own}': {error}")
        return {**result, "output": output, "fingerprint": tried["fingerprint"]}

    def _telling_parts(self, output: str) -> _scene.Tell:
        """Reports events of the parts of a scene."""
        count = done = 0

        def tell(event: str, **facts: Any) -> None:
            nonlocal count, done
            if event == "start":
                count, done = facts["count"], facts["count"] - facts["missing"]
            elif event == "made":
                done += 1
                self.tell("part", name=output, part=facts["name"], done=done, count=count)
            elif event == "retried":
                self.tell(event, **{**facts, "name": f"{output}: {facts['name']}"})
            elif event in ("warning", "waiting"):
                self.tell(event, **facts)
        return tell

    def _engine(self, entry: Entry, time_limit: float, done: str, progress: Callable[[float, float], object] | None) -> dict[str, Any]:
        with _own_plugin():
            line: dict[str, Any] = json.loads(_options.engine().batch_scene(entry, self.folder, time_limit, done, self.book.was_begun(entry[3]), progress))
        return line


def _of_parts(failed: Mapping[str, Mapping[str, Any]]) -> str:
    """The faults of parts: each text once, with the first part that has it."""
    names: dict[str, list[str]] = {}
    for name, failure in failed.items():
        names.setdefault(failure["text"], []).append(name)
    return "; ".join(f"{of[0]}{f' and {len(of) - 1} more' if len(of) > 1 else ''}: {text}" for text, of in names.items())


@contextmanager
def _own_plugin() -> Iterator[None]:
    """Uses the package's plug-in unless the environment names one."""
    is_named = "PANSHARP_PLUGIN" in os.environ
    os.environ.setdefault("PANSHARP_PLUGIN", _arrays.plugin_path())
    try:
        yield
    finally:
        if not is_named:
            del os.environ["PANSHARP_PLUGIN"]


def _megapixels(entry: Entry) -> float:
    """Megapixels of the file that is pan; 0 if it cannot be opened."""
    size = _store.size_of(_store.file_of(entry[2][0])) if len(entry[2]) > 1 else None
    return size[0] * size[1] / 1e6 if size else 0.0


def _form(entry: Entry) -> str | None:
    """GTiff or COG, which parts can be copied into; None for other formats, and for options that parts do not support."""
    output, options = entry[3:5]
    is_tiff = os.path.splitext(output)[1].lower() in ("", ".tif", ".tiff")
    name = options.get("--of", ["GTiff" if is_tiff else ""])[-1]
    return None if _NOT_IN_PARTS & set(options) else {"gtiff": "GTiff", "cog": "COG"}.get(name.lower())


def _sharing(folder: str, scenes: Sequence[tuple[int, Entry]], report: Mapping[str, Any]) -> list[tuple[int, Entry]]:
    """Makes the scenes use what was fitted, through a file that is rewritten only when it changes: its time is checked when scenes are
    skipped."""
    shared = pathlib.Path(folder, _SHARED)
    text = json.dumps({key: report.get(key) for key in _FITTED}) + "\n"
    if not shared.exists() or shared.read_text(encoding="utf-8") != text:
        _store.write_text(str(shared), text)

    def takes(entry: Entry) -> bool:
        is_described = bool(entry[2]) and entry[2][0].lower().endswith(".pansharp")
        return not is_described and not {"--weights", "--weights-from", "--mtf", "--gains"} & set(entry[4])
    return [(number, (*entry[:4], {**entry[4], "--weights-from": [str(shared)]}, entry[5]) if takes(entry) else entry) for number, entry in scenes]


def _is_shared(text: bytes) -> bool:
    try:
        found = json.loads(text)
    except ValueError:
        return False
    return isinstance(found, dict) and set(found) == set(_FITTED)


def _is_table(text: bytes) -> bool:
    return text.startswith(_table(()).encode())


def _table(results: Sequence[Mapping[str, Any]]) -> str:
    text = io.StringIO()
    rows = csv.writer(text, lineterminator="\n")
    rows.writerow(("scene", *_COLUMNS))
    for result in results:
        error = "; ".join(error["message"] for error in result.get("errors", ()))
        rows.writerow((result["scene"], *((error if column == "error" else result.get(column)) for column in _COLUMNS)))
    return text.getvalue()
