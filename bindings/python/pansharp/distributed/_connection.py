"""The client of a job, which survives the loss of its scheduler."""

from __future__ import annotations

import asyncio
import contextlib
import math
import multiprocessing
import time
from collections.abc import Callable
from typing import Any, TypeVar, Union

import dask
import distributed

Answer = TypeVar("Answer")
Clients = Union[distributed.Client, Callable[[], distributed.Client]]
_TRY = 10.0  # seconds for one attempt to connect
ANSWER = 30.0  # seconds for a scheduler to list its workers, or for a worker to return a result
_PAUSE = 0.5
_COMING = 10.0  # seconds for workers to find a new scheduler


class Lost(Exception):
    """The scheduler has gone, with all tasks that it had."""


class Unreached(OSError):
    """No scheduler was ever reached."""


def start(workers: int | None = None) -> distributed.LocalCluster:
    """A scheduler and workers on this machine, `workers` of them or one per processor, set up for long tasks outside Python.

    Each worker has one task at a time, so when it ends no other task is lost. A new worker starts at once, because it is forked from a
    process that has loaded what it needs. Dask's profiler, and its setting for malloc, which returns pages after each part and requests
    them again, cost a tenth of the time each. This function changes them in Dask's configuration.
    """
    has_server = "forkserver" in multiprocessing.get_all_start_methods()
    dask.config.set({"distributed.scheduler.worker-saturation": 1.0, "distributed.scheduler.allowed-failures": 1,
                     "distributed.worker.profile.enabled": False, "distributed.nanny.pre-spawn-environ": {},
                     "distributed.worker.multiprocessing-method": "forkserver" if has_server else "spawn"})
    return distributed.LocalCluster(n_workers=workers, threads_per_worker=1, processes=True, host="127.0.0.1",
                                    dashboard_address="127.0.0.1:0", worker_dashboard_address="127.0.0.1:0", silence_logs="CRITICAL")


def connect(address: str, patience: float, security: Any = None, check: Callable[[], None] = lambda: None) -> distributed.Client:
    """A client of the scheduler at an address. Waits for it for `patience` seconds. Raises Unreached.

    check: called now and then; an exception that it raises ends the waiting.
    """
    if security is None and address.startswith(("tls:", "wss:")) and not distributed.Security().get_connection_args("client").get("ssl_context"):
        raise ValueError(f"the scheduler at '{address}' encrypts, and Dask has no certificate; set distributed.comm.tls in its configuration")
    end = time.monotonic() + patience
    while True:
        check()
        try:
            return distributed.Client(address, timeout=max(min(_TRY, end - time.monotonic()), 0.1), set_as_default=False, security=security)
        except (OSError, asyncio.TimeoutError) as error:  # also when the scheduler ends while it answers
            if time.monotonic() + _PAUSE >= end:
                raise Unreached(f"no scheduler answered at '{address}' for {patience:.0f} s: {error}") from error
        time.sleep(_PAUSE)


def close(client: distributed.Client) -> None:
    """Works also after its scheduler has gone."""
    with contextlib.suppress(Exception):
        client.close(timeout=_TRY)


class Connection:
    """The client of a job, or the next one to the same address. All requests go through `ask`, which alone detects a loss.

    A client that Dask reconnects by itself counts as lost: it has forgotten some of the tasks, and does not say which.
    """

    def __init__(self, client: Clients) -> None:
        """client: a client, or a function that makes one when it is first needed; such a client is closed with the connection."""
        self._given = client
        self._client: distributed.Client | None = None
        self._is_own = False
        self._address: str | None = None
        self._security: Any = None
        self._stream: Any = None
        self.is_given_up = False
        """Whether waiting for a scheduler with workers has failed. There is then no further waiting."""

    def ask(self, call: Callable[[distributed.Client], Answer]) -> Answer:
        """The result of the call. Raises Lost if the scheduler has gone or goes meanwhile."""
        client = self._open()
        cause: BaseException | None = None
        if self._is_alive(client):
            try:
                return call(client)
            except (Exception, asyncio.CancelledError) as error:  # Dask raises many kinds while a connection ends
                cause = error
        raise Lost(f"{type(cause).__name__}: {cause}" if cause else "the connection has ended") from cause

    def workers(self) -> dict[str, int]:
        """Addresses of the workers, with their threads. Raises Lost."""
        found: dict[str, int] | None = self.ask(lambda client: client.nthreads(callback_timeout=ANSWER))
        if found is None:  # returned by Dask while it closes
            raise Lost("the scheduler reports no workers")
        return found

    def reach(self, seconds: float, check: Callable[[], None], lacks_workers: Callable[[float], object]) -> bool:
        """Connects a new client whose scheduler has workers. False if there is none within `seconds`; there is then no further waiting.

        lacks_workers: called once with the remaining seconds, when a scheduler has been without workers for some time.
        """
        end = time.monotonic() + seconds
        tells_at: float | None = None
        self.close()
        while self._address and not self.is_given_up and time.monotonic() < end:
            check()
            time.sleep(_PAUSE)
            try:
                if self._client is None:
                    self._take(connect(self._address, end - time.monotonic(), self._security, check), True)
                    tells_at = tells_at or time.monotonic() + _COMING
                if self.workers():
                    return True
                if tells_at and time.monotonic() >= tells_at:
                    tells_at = math.inf
                    lacks_workers(end - time.monotonic())
            except Lost:
                self.close()
            except Unreached:
                break
        self.close()
        self.is_given_up = True
        return False

    def close(self) -> None:
        if self._client is not None and self._is_own:
            close(self._client)
        self._client = None

    def _open(self) -> distributed.Client:
        if self._client is None:
            if self._address:
                raise Lost(f"there was no scheduler with workers at '{self._address}'")
            is_own = not isinstance(self._given, distributed.Client)
            self._take(self._given() if is_own else self._given, is_own)
        assert self._client is not None
        return self._client

    def _take(self, client: distributed.Client, is_own: bool) -> None:
        self._client, self._is_own, self._stream = client, is_own, client.scheduler_comm
        if client.scheduler is not None:
            self._address, self._security = client.scheduler.address, client.security

    def _is_alive(self, client: distributed.Client) -> bool:
        return client.status == "running" and client.scheduler_comm is self._stream
