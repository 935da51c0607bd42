"""Runs tasks on Dask until each is done or has finally failed, whatever happens to workers and scheduler meanwhile."""

from __future__ import annotations

import collections
import contextlib
import math
import queue
import signal
import threading
import time
from collections.abc import Callable, Hashable, Iterable, Iterator
from dataclasses import dataclass, field
from typing import Any

import distributed
import pansharp

from ._connection import ANSWER, Connection, Lost


@dataclass(frozen=True)
class Limits:
    """How long and how often a job tries."""

    attempts: int = 3
    """How often a task may fail. One that cannot write its output is tried on another worker."""
    patience: float = 300.0
    """Seconds to wait for a lost scheduler, or for the first worker."""


@dataclass
class Task:
    """A task: `call` runs on a worker and returns failures under the key "error"."""

    key: Hashable
    call: Callable[..., dict[str, Any]]
    arguments: tuple[Any, ...]
    begin: Callable[[], object] = lambda: None
    """Called on this side before the task is sent, each time."""
    attempts: int = 0
    refused_by: set[str] = field(default_factory=set)
    """Workers that could not write its output."""
    allowed: set[str] = field(default_factory=set)
    """The workers that it may run on; empty for any."""


class Late(pansharp.Error):
    """A scene has exceeded its time limit."""


class Deadline:
    """A moment some seconds from now; 0 for never."""

    def __init__(self, seconds: float) -> None:
        self.seconds = seconds
        self._end = time.monotonic() + seconds if seconds else math.inf

    def left(self) -> float:
        return self._end - time.monotonic()

    def check(self, *_: Any) -> None:
        """Raises Late when it has passed. Accepts the arguments of a progress function."""
        if self.left() < 0:
            raise Late(f"the scene took longer than its time limit of {self.seconds:g} s; give more with --time-limit")


QUARANTINE = "it ended the worker that it ran on, again and again, the last time alone"
_IDLE = 1.0  # seconds between checks of workers and scheduler


@contextlib.contextmanager
def _noting_interrupts() -> Iterator[Callable[[], None]]:
    """Provides a function that raises KeyboardInterrupt after Ctrl-C; raised in a callback of Dask it could be lost. A second Ctrl-C
    raises at once."""
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
    """Runs tasks over a connection, and again over the next one."""

    def __init__(self, connection: Connection, limits: Limits) -> None:
        self._connection = connection
        self._limits = limits
        self._wanted, self._counted = 16, -_IDLE
        self._seen = 0.0  # when a task last ended, or workers last had tasks
        self._deadline = Deadline(0.0)
        self._interrupted: Callable[[], None] = lambda: None
        self._waits: Callable[[str], object] = lambda text: None

    def run(self, tasks: Iterable[Task], done: Callable[[Task, dict[str, Any]], object],
            retried: Callable[[Task, str], object], waits: Callable[[str], object] = lambda text: None,
            deadline: Deadline = Deadline(0.0)) -> None:
        """Calls `done` once per task, with its result or with {"error": …}, and `retried` for tasks that are tried again.

        waits: called with what is being waited for, when there is no scheduler or no worker.
        deadline: tasks that are not done by then have failed. If it is finite, tasks get the remaining seconds as `seconds`.
        """
        self._seen, self._waits, self._deadline = time.monotonic(), waits, deadline
        left = {task.key: task for task in tasks}

        def ended(task: Task, result: dict[str, Any]) -> None:
            del left[task.key]
            done(task, result)
        with _noting_interrupts() as self._interrupted:
            try:
                self._run(list(left.values()), ended, retried)
            except Late as late:
                for task in left.values():
                    done(task, _failed("late", str(late)))

    def _check(self) -> None:
        self._interrupted()
        self._deadline.check()

    def _run(self, waiting: list[Task], done: Callable[[Task, dict[str, Any]], object], retried: Callable[[Task, str], object]) -> None:
        suspects: list[Task] = []
        while waiting:
            waiting, killed, loss = self._round(waiting, done, retried)
            suspects += killed
            if loss and not self._reach():
                return self._give_up(waiting + suspects, loss, done)
        # A worker that dies loses tasks that it has not begun. Only a task that kills a worker when it runs alone is to blame.
        while suspects:
            again, killed, loss = self._round(suspects[:1], done, retried)
            suspects[:1] = again
            for task in killed:
                done(task, _failed("quarantine", QUARANTINE))
            if loss and not self._reach():
                return self._give_up(suspects, loss, done)

    def _give_up(self, tasks: list[Task], loss: Lost, done: Callable[[Task, dict[str, Any]], object]) -> None:
        for task in tasks:
            done(task, _failed("lost", f"there was no scheduler with workers for {self._limits.patience:.0f} s ({loss}); start both, and run the job again"))

    def _reach(self) -> bool:
        left = self._seen + self._limits.patience - time.monotonic()
        if left > 0 and not self._connection.is_given_up:
            self._waits(f"the scheduler is gone; the job waits for it, {left:.0f} s at most")
        return self._connection.reach(left, self._check, self._wait_for_workers)

    def _wait_for_workers(self, left: float) -> None:
        self._waits(f"the scheduler has no workers; the job waits for them, {left:.0f} s at most. Workers end with the scheduler that they "
                    "belonged to: start them again")

    def _most(self) -> int:
        """The number of tasks that the scheduler has at a time: enough to keep workers busy. Workers may join at any time, so they are
        counted again."""
        if time.monotonic() - self._counted >= _IDLE:
            self._wanted = max(16, 3 * sum(self._connection.workers().values()))
            self._counted = time.monotonic()
        return self._wanted

    def _round(self, tasks: list[Task], done: Callable[[Task, dict[str, Any]], object], retried: Callable[[Task, str], object]
               ) -> tuple[list[Task], list[Task], Lost | None]:
        """Tries each task once. Returns the tasks to try again, those that ended their worker, and how the scheduler was lost, if it
        was."""
        ended: queue.Queue[tuple[Task, distributed.Future]] = queue.Queue()
        again: list[Task] = []
        killed: list[Task] = []
        running: dict[Hashable, distributed.Future] = {}
        left = collections.deque(tasks)
        is_waiting = False
        try:
            self._fill(left, running, ended)
            while running:
                self._check()
                try:
                    task, future = ended.get(timeout=_IDLE)
                except queue.Empty:
                    is_waiting = self._look(is_waiting)
                    again += self._give_back(tasks, running)
                else:
                    if running.get(task.key) is not future:
                        continue  # it was returned
                    self._take(task, future, again, killed, done, retried)
                    del running[task.key]
                    self._seen, is_waiting = time.monotonic(), False
                self._fill(left, running, ended)
        except Lost as loss:
            lost = [task for task in tasks if task.key in running]
            for task in lost:
                task.attempts -= 1
            return again + lost + list(left), killed, loss
        except (KeyboardInterrupt, SystemExit, Late):
            with contextlib.suppress(Lost):
                self._connection.ask(lambda client: client.cancel(list(running.values())))
            raise
        return again + list(left), killed, None

    def _look(self, was_waiting: bool) -> bool:
        """Whether there are no workers to run tasks. Raises Lost when that lasts too long."""
        if self._connection.workers():
            self._seen = time.monotonic()
            return False
        left = self._seen + self._limits.patience - time.monotonic()
        if left <= 0:
            raise Lost("it has no workers")
        if not was_waiting:
            self._wait_for_workers(left)
        return True

    def _give_back(self, tasks: list[Task], running: dict[Hashable, distributed.Future]) -> list[Task]:
        """Tasks that wait for workers that no longer exist."""
        bound = [task for task in tasks if task.key in running and task.allowed]
        there = set(self._connection.workers()) if bound else set()
        given = [task for task in bound if there and not task.allowed & there]
        if given:
            self._connection.ask(lambda client: client.cancel([running[task.key] for task in given]))
        for task in given:
            del running[task.key]
            task.refused_by.clear()
        return given

    def _fill(self, left: collections.deque[Task], running: dict[Hashable, distributed.Future], ended: queue.Queue[Any]) -> None:
        while left and len(running) < self._most():
            self._submit(left[0], running, ended)
            left.popleft()

    def _submit(self, task: Task, running: dict[Hashable, distributed.Future], ended: queue.Queue[Any]) -> None:
        task.allowed = set(self._connection.workers()) - task.refused_by if task.refused_by else set()

        task.begin()
        seconds = {"seconds": self._deadline.left()} if self._deadline.seconds else {}

        def submit(client: distributed.Client) -> distributed.Future:
            future = client.submit(task.call, *task.arguments, **seconds, pure=False, key=f"pansharp-{task.key}-{time.monotonic_ns()}",
                                   workers=list(task.allowed) or None)
            future.add_done_callback(lambda future: ended.put((task, future)))
            return future
        running[task.key] = self._connection.ask(submit)
        task.attempts += 1

    def _take(self, task: Task, future: distributed.Future, again: list[Task], killed: list[Task],
              done: Callable[[Task, dict[str, Any]], object], retried: Callable[[Task, str], object]) -> None:
        if future.status == "error":  # from Dask itself, or while the task was sent: tasks return their own failures
            raised = self._connection.ask(lambda _: future.exception(timeout=ANSWER))
            if isinstance(raised, distributed.scheduler.KilledWorker):
                retried(task, "its worker ended; it is tried alone at the end")
                killed.append(task)
                return
            result = _failed("other", f"{type(raised).__name__}: {raised}")
        else:
            result = self._connection.ask(lambda _: future.result(timeout=ANSWER))
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
