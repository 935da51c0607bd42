"""Progress of a running job: a bar on a terminal, lines elsewhere, or events as lines of JSON."""

from __future__ import annotations

import json
import sys
import time
from typing import Any, TextIO


_HEADS = {"retried": "tried again: ", "failed": "failed: ", "warning": "warning: ", "waiting": ""}


class Seen:
    """Shows the progress of a job with a known number of parts and pixels. A callable that receives events."""

    def __init__(self, stream: TextIO | None = None, as_json: bool = False, quiet: bool = False) -> None:
        self._stream = stream or (sys.stdout if as_json else sys.stderr)
        self._as_json, self._quiet = as_json, quiet
        self._is_terminal = not as_json and not quiet and self._stream.isatty()
        self._start = time.monotonic()
        self._all = self._made = self._skipped = self._failed = self._pixels = self._shown = 0
        self._unit = "parts"
        self._inner = ""
        self._warned: set[tuple[str, str]] = set()

    def __call__(self, event: str, **facts: Any) -> None:
        if self._as_json:
            print(json.dumps({"event": event, **facts}), file=self._stream, flush=True)
            return
        if event == "start":
            self._start = time.monotonic()
            self._all, self._unit = facts["missing"], facts.get("unit", "parts")
            self._say(f"{facts['missing']} of {facts['count']} {self._unit} to make")
        elif event == "part":
            self._inner = f" ({facts['name']}: {facts['done']} of {facts['count']} parts)"
            if self._is_terminal:
                self._show()
        elif event in ("made", "skipped"):
            self._end(event, facts)
        elif event in _HEADS:
            self._warn(event, facts)
            if event == "failed" and "name" in facts:
                self._end(event, facts)
        elif event == "end":
            self._clear()
            self._say(facts["text"])

    def _end(self, event: str, facts: dict[str, Any]) -> None:
        """Handles an event about one of the parts."""
        if event == "made":
            if not self._made:  # the time before the first part says nothing about the speed
                self._start = max(self._start, time.monotonic() - facts["seconds"])
            self._made += 1
            self._pixels += facts["pixels"]
        self._skipped += event == "skipped"
        self._failed += event == "failed"
        self._inner = ""
        self._show()

    def _warn(self, event: str, facts: dict[str, Any]) -> None:
        """The same text for many parts is shown once."""
        text, name = facts["text"], facts.get("name")
        key = event, text.replace(name, "") if name else text
        if key in self._warned:
            return
        self._warned.add(key)
        self._clear()
        head = "error: " if event == "failed" and "name" not in facts else _HEADS[event]
        print(f"pansharp: {head}{name + ': ' if name else ''}{text}", file=self._stream, flush=True)

    def rate(self) -> tuple[float, float]:
        """Megapixels per second, and the remaining seconds."""
        seconds = max(time.monotonic() - self._start, 1e-9)
        share = (self._made + self._failed) / max(self._all - self._skipped, 1)
        return self._pixels / seconds / 1e6, seconds * (1 / share - 1) if share else 0.0

    def _show(self) -> None:
        done = self._made + self._skipped + self._failed
        tenth = 10 * done // max(self._all, 1)
        if not self._is_terminal and tenth == self._shown:
            return
        self._shown = tenth
        speed, left = self.rate()
        failed = f", {self._failed} failed" if self._failed else ""
        text = f"{done} of {self._all} {self._unit}{self._inner}{failed}, {speed:.1f} megapixels/s, {_span(left)} left"
        if self._is_terminal:
            width = 24
            filled = width * done // max(self._all, 1)
            print(f"\r[{'#' * filled}{'.' * (width - filled)}] {text}\x1b[K", end="", file=self._stream, flush=True)
        else:
            self._say(text)

    def _clear(self) -> None:
        if self._is_terminal:
            print("\r\x1b[K", end="", file=self._stream, flush=True)

    def _say(self, text: str) -> None:
        if not self._quiet:
            print(text, file=self._stream, flush=True)


def _span(seconds: float) -> str:
    if seconds < 90:
        return f"{seconds:.0f} s"
    minutes = round(seconds / 60)
    return f"{minutes} min" if minutes < 90 else f"{minutes // 60} h {minutes % 60:02d} min"
