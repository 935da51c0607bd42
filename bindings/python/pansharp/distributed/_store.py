"""Where parts are kept: a folder that all workers see, or object storage by a name that GDAL reads, such as /vsis3/bucket/scene."""

from __future__ import annotations

import contextlib
import os
import re
import shutil
import socket
from collections.abc import Iterator
from typing import Any

from osgeo import gdal

gdal.UseExceptions()
_CHUNK = 8 << 20


def is_remote(name: str) -> bool:
    return name.startswith("/vsi")


def join(folder: str, name: str) -> str:
    return f"{folder.rstrip('/')}/{name}"


def make_folder(name: str) -> None:
    if not is_remote(name):  # objects have none
        os.makedirs(name, exist_ok=True)


def upload(file: str, name: str) -> None:
    """An object appears when all of it is sent. Raises OSError."""
    with open(file, "rb") as source:
        _send(name, iter(lambda: source.read(_CHUNK), b""))


def _send(name: str, chunks: Any) -> None:
    target = gdal.VSIFOpenL(name, "wb")
    if target is None:
        raise OSError(f"'{name}' cannot be written: {gdal.GetLastErrorMsg()}")
    written = all(gdal.VSIFWriteL(chunk, 1, len(chunk), target) == len(chunk) for chunk in chunks)
    if gdal.VSIFCloseL(target) != 0 or not written:
        raise OSError(f"'{name}' cannot be written: {gdal.GetLastErrorMsg()}")


def write_text(name: str, text: str) -> None:
    """A file that appears when it is complete."""
    if is_remote(name):
        return _send(name, [text.encode()])
    with beside(name) as new:
        with open(new, "w", encoding="utf-8") as file:
            file.write(text)
            file.flush()
            os.fsync(file.fileno())
        os.replace(new, name)


@contextlib.contextmanager
def beside(name: str) -> Iterator[str]:
    """Where to write a file that is moved to its place then: a hidden folder there, which says whose it is.

    What a killed job of this machine left of the same file is removed first.
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
        pass  # of another user
    return True


def is_same(file: str, other: str) -> bool:
    try:
        return os.path.realpath(file) == os.path.realpath(other) or os.path.samefile(file, other)
    except OSError:  # one of them is no file
        return False


def gdal_name(file: str) -> str:
    """As GDAL reads it by pieces, for an address of the web or a store."""
    found = re.match(r"(https?|s3|gs)://", file)
    return file if found is None else f"/vsicurl/{file}" if found[1].startswith("http") else f"/vsi{found[1]}/{file[found.end():]}"


def size_of(file: str) -> tuple[int, int] | None:
    """Columns and rows of a raster; None for what cannot be opened."""
    try:
        image = gdal.Open(gdal_name(file))
        return image.RasterXSize, image.RasterYSize
    except RuntimeError:
        return None


def files_of(file: str) -> list[str]:
    """The files that a raster is read from, which may be sources and descriptions; none for what cannot be opened."""
    try:
        return gdal.Open(gdal_name(file)).GetFileList() or []
    except RuntimeError:
        return []


def listing(folder: str) -> set[str]:
    return set(gdal.ReadDir(folder) or ())
