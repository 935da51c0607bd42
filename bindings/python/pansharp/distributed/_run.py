"""Tasks handed to Dask until each is done or has failed for good, whatever happens to workers and scheduler meanwhile."""

from __future__ import annotations

import concurrent.futures
import contextlib
import queue
import signal
import threading
import time
from collections.abc import Callable, Hashable, Iterable, Iterator
from dataclasses import dataclass, field
from typing import Any

import distributed


@dataclass(frozen=True)
class Limits:
    """How long a job tries."""

    attempts: int = 3
    """Times that a task may fail. One that fails to write goes to another worker."""
    patience: float = 300.0
    """Seconds to wait for a scheduler that has gone, or for the first worker where there is none."""


@dataclass
class Task:
    """Something to be made, `call` on a worker, which tells failures as the key "error" of what it returns."""

    key: Hashable
    call: Callable[..., dict[str, Any]]
    arguments: tuple[Any, ...]
    attempts: int = 0
    refused_by: set[str] = field(default_factory=set)
    """Workers that could not write it."""
    allowed: set[str] = field(default_factory=set)
    """Those that it waits for; empty for any."""


QUARANTINE = "it ended the worker that it ran on, again and again, the last time alone"
_IDLE = 1.0  # seconds after which workers and scheduler are looked at


@contextlib.contextmanager
def _noting_interrupts() -> Iterator[Callable[[], None]]:
    """Gives what raises KeyboardInterrupt after Ctrl-C. Raised in a callback of Dask, it may be lost. The second Ctrl-C is raised at once."""
    noted: list[int] = []

    def note(number: int, _: Any) -> None:
        if noted:
            raise KeyboardInterrupt
        noted.append(number)

    def check() -> None:
        if noted:
            raise KeyboardInterrupt
    takes = threading.current_thread() is threading.main_thread() and signal.getsignal(signal.SIGINT) is signal.default_int_handler
    if takes:
        signal.signal(signal.SIGINT, note)
    try:
        yield check
    finally:
        if takes:
            signal.signal(signal.SIGINT, signal.default_int_handler)


class Runner:
    """One client, or the next one to the same scheduler when that has been away."""

    def __init__(self, client: distributed.Client, limits: Limits) -> None:
        self._client = client
        self._limits = limits
        self._own: distributed.Client | None = None
        self._wanted, self._counted = 16, -_IDLE
        self._check: Callable[[], None] = lambda: None

    def close(self) -> None:
        if self._own is not None:
            self._own.close()

    def run(self, tasks: Iterable[Task], done: Callable[[Task, dict[str, Any]], object],
            retried: Callable[[Task, str], object]) -> None:
        """Calls `done` once for each task with what it returned, or with {"error": …}, and `retried` for what is tried again."""
        with _noting_interrupts() as self._check:
            self._run(list(tasks), done, retried)

    def _run(self, waiting: list[Task], done: Callable[[Task, dict[str, Any]], object], retried: Callable[[Task, str], object]) -> None:
        suspects: list[Task] = []
        while waiting:
            waiting, killed, is_lost = self._round(waiting, done, retried)
            suspects += killed
            if is_lost and not self._reach():
                for task in waiting + suspects:
                    done(task, _failed("lost", f"no scheduler with workers was reached for {self._limits.patience:.0f} s"))
                return
        # A worker takes with it what it has not begun. What ends one alone is to blame.
        while suspects:
            again, killed, is_lost = self._round(suspects[:1], done, retried)
            if is_lost and not self._reach():
                again, killed = [], suspects[:1]
            suspects[:1] = again
            for task in killed:
                done(task, _failed("quarantine", QUARANTINE))

    def _most(self) -> int:
        """Tasks that the scheduler has at a time: enough to keep workers busy. More workers may come at any time; they are counted again."""
        if time.monotonic() - self._counted >= _IDLE:
            with contextlib.suppress(OSError, TypeError):
                self._wanted = max(16, 3 * sum(self._client.nthreads().values()))
            self._counted = time.monotonic()
        return self._wanted

    def _reach(self) -> bool:
        """A client whose scheduler has workers; False when there is none for so long."""
        end = time.monotonic() + self._limits.patience
        address = self._client.scheduler.address if self._client.scheduler else None
        while time.monotonic() < end:
            self._check()
            if self._client.status == "running":
                try:
                    if self._client.nthreads():
                        return True
                except (OSError, TypeError):
                    pass
            elif self._client.status == "closed" and address:
                try:
                    self.close()
                    self._own = self._client = distributed.Client(address, timeout="10s", set_as_default=False)
                    continue
                except OSError:
                    pass
            time.sleep(_IDLE / 2)
        return False

    def _round(self, tasks: list[Task], done: Callable[[Task, dict[str, Any]], object], retried: Callable[[Task, str], object]
               ) -> tuple[list[Task], list[Task], bool]:
        """Tries each task once: those to try again, those that ended their worker, and whether the scheduler has gone."""
        ended: queue.Queue[tuple[Task, distributed.Future]] = queue.Queue()
        again: list[Task] = []
        killed: list[Task] = []
        running: dict[Hashable, distributed.Future] = {}
        left = iter(tasks)
        idle_since = None
        try:
            self._fill(left, running, ended)
            while running:
                self._check()
                try:
                    task, future = ended.get(timeout=_IDLE)
                except queue.Empty:
                    again += self._give_back(tasks, running)
                    idle_since = (idle_since or time.monotonic()) if self._has_gone() else None
                    if idle_since is not None and time.monotonic() - idle_since > self._limits.patience:
                        return again + [task for task in tasks if task.key in running] + list(left), killed, True
                    if idle_since is None:
                        self._fill(left, running, ended)
                    continue
                idle_since = None
                if running.get(task.key) is not future:
                    continue  # it was given back
                del running[task.key]
                if future.status == "cancelled":  # the scheduler has gone, and has taken all that was there
                    return again + [task, *(task for task in tasks if task.key in running)] + list(left), killed, True
                self._take(task, future, again, killed, done, retried)
                self._fill(left, running, ended)
        except (KeyboardInterrupt, SystemExit):
            self._client.cancel(list(running.values()))
            raise
        return again + list(left), killed, False

    def _give_back(self, tasks: list[Task], running: dict[Hashable, distributed.Future]) -> list[Task]:
        """Tasks that wait for workers that are there no more."""
        bound = [task for task in tasks if task.key in running and task.allowed]
        if not bound or self._has_gone():
            return []
        there = set(self._client.nthreads())
        given = [task for task in bound if not task.allowed & there]
        for task in given:
            task.refused_by.clear()
            self._client.cancel([running.pop(task.key)])
        return given

    def _has_gone(self) -> bool:
        try:
            return self._client.status != "running" or not self._client.nthreads()
        except (OSError, TypeError):
            return True

    def _fill(self, left: Iterator[Task], running: dict[Hashable, distributed.Future], ended: queue.Queue[Any]) -> None:
        while len(running) < self._most():
            task = next(left, None)
            if task is None:
                return
            self._submit(task, running, ended)

    def _submit(self, task: Task, running: dict[Hashable, distributed.Future], ended: queue.Queue[Any]) -> None:
        task.attempts += 1
        task.allowed = set(self._client.nthreads()) - task.refused_by if task.refused_by else set()
        future = self._client.submit(task.call, *task.arguments, pure=False, key=f"pansharp-{task.key}-{time.monotonic_ns()}",
                                     workers=list(task.allowed) or None)
        running[task.key] = future
        future.add_done_callback(lambda future: ended.put((task, future)))

    def _take(self, task: Task, future: distributed.Future, again: list[Task], killed: list[Task],
              done: Callable[[Task, dict[str, Any]], object], retried: Callable[[Task, str], object]) -> None:
        try:
            result: dict[str, Any] = future.result()
        except distributed.scheduler.KilledWorker:
            retried(task, "its worker ended; it is tried alone at the end")
            killed.append(task)
            return
        except concurrent.futures.CancelledError:
            task.attempts -= 1
            again.append(task)
            return
        except Exception as raised:  # by Dask itself, or while the task was sent
            result = _failed("other", f"{type(raised).__name__}: {raised}")
        error = result["error"]
        if error and error["kind"] == "output" and result.get("worker"):
            task.refused_by.add(result["worker"])
        if error and error["again"] and task.attempts < self._limits.attempts:
            retried(task, error["text"])
            again.append(task)
        else:
            done(task, result)


def _failed(kind: str, text: str) -> dict[str, Any]:
    return {"error": {"kind": kind, "text": text, "items": [], "again": kind == "other"}}
