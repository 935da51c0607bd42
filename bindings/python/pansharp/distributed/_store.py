"""Where parts are stored: a folder that all workers see, or object storage by a name that GDAL reads, such as /vsis3/bucket/scene."""

from __future__ import annotations

import contextlib
import functools
import os
import re
import shutil
import socket
from collections.abc import Callable, Iterator
from typing import Any, TypeVar

from osgeo import gdal

from .. import _options

Called = TypeVar("Called", bound=Callable[..., Any])
_CHUNK = 8 << 20


def raising(function: Called) -> Called:
    """Within the function, GDAL's failures raise RuntimeError; its caller gets OSError. GDAL's setting elsewhere is left to the program."""
    @functools.wraps(function)
    def call(*arguments: Any, **named: Any) -> Any:
        had_exceptions = gdal.GetUseExceptions()
        gdal.UseExceptions()
        try:
            return function(*arguments, **named)
        except RuntimeError as error:
            raise OSError(str(error)) from error
        finally:
            if not had_exceptions:
                gdal.DontUseExceptions()
    return call  # type: ignore[return-value]


def is_remote(name: str) -> bool:
    return name.startswith("/vsi")


def join(folder: str, name: str) -> str:
    return f"{folder.rstrip('/')}/{name}"


def make_folder(name: str) -> None:
    if not is_remote(name):  # object storage has no folders
        os.makedirs(name, exist_ok=True)


def upload(file: str, name: str) -> None:
    """Copies a file. An object appears when all of it has been sent. Raises OSError."""
    with open(file, "rb") as source:
        _send(name, iter(lambda: source.read(_CHUNK), b""))


@raising
def _send(name: str, chunks: Any) -> None:
    target = gdal.VSIFOpenL(name, "wb")
    if target is None:
        raise OSError(f"'{name}' cannot be written: {gdal.GetLastErrorMsg()}")
    written = all(gdal.VSIFWriteL(chunk, 1, len(chunk), target) == len(chunk) for chunk in chunks)
    if gdal.VSIFCloseL(target) != 0 or not written:
        raise OSError(f"'{name}' cannot be written: {gdal.GetLastErrorMsg()}")


def write_text(name: str, text: str) -> None:
    """Writes a file that appears when it is complete. Raises OSError."""
    if is_remote(name):
        return _send(name, [text.encode()])
    try:
        with beside(name) as new:
            with open(new, "w", encoding="utf-8") as file:
                file.write(text)
                file.flush()
                os.fsync(file.fileno())
            os.replace(new, name)
    except OSError as error:
        raise OSError(f"'{name}' cannot be written: {error.strerror}") from error


@raising
def read(name: str) -> bytes | None:
    """The contents of a file; None if it does not exist."""
    try:
        _forget(name)
        if gdal.VSIStatL(name) is None or gdal.VSIStatL(name).IsDirectory():
            return None
        source = gdal.VSIFOpenL(name, "rb")
    except RuntimeError:
        return None
    if source is None:
        return None
    chunks = list(iter(lambda: bytes(gdal.VSIFReadL(1, _CHUNK, source) or b""), b""))
    gdal.VSIFCloseL(source)
    return b"".join(chunks)


@contextlib.contextmanager
def beside(name: str) -> Iterator[str]:
    """A name to write a file under before it is moved to its place: in a hidden folder there, whose name tells whose it is.

    What a killed job on this machine has left for the same file is removed first.
    """
    parent, last = os.path.split(os.path.abspath(name))
    start = f".{last}.pansharp-{socket.gethostname()}-"
    for left in os.listdir(parent):
        number = left[len(start):-len(".tmp")]
        if left.startswith(start) and left.endswith(".tmp") and number.isdecimal() and not _is_running(int(number)):
            shutil.rmtree(os.path.join(parent, left), ignore_errors=True)
    own = os.path.join(parent, f"{start}{os.getpid()}.tmp")
    os.makedirs(own, exist_ok=True)
    try:
        yield os.path.join(own, last)
    finally:
        shutil.rmtree(own, ignore_errors=True)


def _is_running(process: int) -> bool:
    try:
        os.kill(process, 0)
    except ProcessLookupError:
        return False
    except OSError:
        pass  # it belongs to another user
    return True


def file_of(name: str) -> str:
    """The name without the band."""
    return re.sub(r",band=\d+$", "", name)


def is_same(file: str, other: str) -> bool:
    try:
        return os.path.realpath(file) == os.path.realpath(other) or os.path.samefile(file, other)
    except OSError:  # one of them is not a file
        return False


def open_raster(file: str) -> gdal.Dataset:
    """Opens a file, or an address on the web or in a store. Call it where GDAL raises exceptions."""
    return gdal.Open(_options.engine().gdal_name(file))


@raising
def size_of(file: str) -> tuple[int, int] | None:
    """Columns and rows of a raster; None if it cannot be opened."""
    try:
        image = open_raster(file)
        return image.RasterXSize, image.RasterYSize
    except RuntimeError:
        return None


@raising
def files_of(file: str) -> list[str]:
    """The files that a raster is read from, which may be sources and descriptions; none if it cannot be opened."""
    try:
        return open_raster(file).GetFileList() or []
    except RuntimeError:
        return []


@raising
def is_raster_of_others(file: str, mark: str) -> bool:
    """Whether it can be opened and its metadata lack this item."""
    try:
        return gdal.Open(file).GetMetadataItem(mark) is None
    except RuntimeError:
        return False


def _forget(name: str) -> None:
    """Makes GDAL forget objects whose names begin like this: workers write as well."""
    if is_remote(name):
        gdal.VSICurlPartialClearCache(name)


@raising
def listing(folder: str) -> set[str]:
    _forget(folder)
    return set(gdal.ReadDir(folder) or ())
