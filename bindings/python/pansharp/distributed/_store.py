"""Where parts are kept: a folder that all workers see, or object storage by a name that GDAL reads, such as /vsis3/bucket/scene."""

from __future__ import annotations

import os
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
    beside = f"{name}.{os.getpid()}.tmp"
    try:
        with open(beside, "w", encoding="utf-8") as file:
            file.write(text)
            file.flush()
            os.fsync(file.fileno())
        os.replace(beside, name)
    except OSError:
        if os.path.exists(beside):
            os.unlink(beside)
        raise


def size_of(file: str) -> tuple[int, int] | None:
    """Columns and rows of a raster; None for what cannot be opened."""
    try:
        image = gdal.Open(file)
        return image.RasterXSize, image.RasterYSize
    except RuntimeError:
        return None


def listing(folder: str) -> set[str]:
    return set(gdal.ReadDir(folder) or ())
