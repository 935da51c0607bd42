"""Parts joined: a VRT, and a single file made from it."""

from __future__ import annotations

import copy
import os
from collections.abc import Callable, Iterable, Mapping, Sequence
from typing import Any, NoReturn
from xml.etree import ElementTree

from osgeo import gdal

from . import _parts, _place, _run, _store


@_store.raising
def block_of(file: str) -> tuple[int, int] | None:
    """Columns and rows of a file's blocks."""
    try:
        columns, rows = _store.open_raster(file).GetRasterBand(1).GetBlockSize()
        return columns, rows
    except RuntimeError:
        return None


def _is_whole(part: gdal.Dataset, file: str) -> bool:
    """False for a file that ends before its last block, which may happen when a machine goes down."""
    state = gdal.VSIStatL(file)
    if state is None:  # removed since it was opened
        return False
    for number in {1, part.RasterCount}:
        band = part.GetRasterBand(number)
        across, down = band.GetBlockSize()
        for row in range(-(-part.RasterYSize // down)):
            for column in range(-(-part.RasterXSize // across)):
                offset = band.GetMetadataItem(f"BLOCK_OFFSET_{column}_{row}", "TIFF")
                if offset and int(offset) + int(band.GetMetadataItem(f"BLOCK_SIZE_{column}_{row}", "TIFF")) > state.size:
                    return False
    return True


@_store.raising
def look(file: str, window: tuple[int, int, int, int], print_: str) -> bool | None:
    """Whether a part has a mask; None for a missing part, or one that was made in another way."""
    try:
        part = gdal.Open(file)
        if part.GetMetadataItem(_parts.FINGERPRINT) != print_ or (part.RasterXSize, part.RasterYSize) != window[2:]:
            return None
        if not _is_whole(part, file):
            return None
        return part.GetRasterBand(1).GetMaskFlags() == gdal.GMF_PER_DATASET
    except RuntimeError:
        return None


def _shift(description: gdal.Dataset, by: gdal.Dataset, part: _parts.Part) -> None:
    """Moves everything that counts pixels from the part's corner to that of the scene."""
    if by.GetGCPCount():
        points = by.GetGCPs()
        for point in points:
            point.GCPPixel += part.column
            point.GCPLine += part.row
        description.SetGCPs(points, by.GetGCPProjection())
    elif by.GetGeoTransform(can_return_null=True):
        x, a, b, y, c, d = by.GetGeoTransform()
        description.SetGeoTransform((x - part.column * a - part.row * b, a, b, y - part.column * c - part.row * d, c, d))
    polynomials = by.GetMetadata("RPC")
    for key, moved in ("SAMP_OFF", part.column), ("LINE_OFF", part.row):
        if key in polynomials and moved:
            polynomials[key] = repr(float(polynomials[key]) + moved)
    if polynomials:
        description.SetMetadata(polynomials, "RPC")


def _source(name: str, band: str, part: _parts.Part, like: ElementTree.Element | None) -> ElementTree.Element:
    source = ElementTree.Element("SimpleSource")
    ElementTree.SubElement(source, "SourceFilename", relativeToVRT="1").text = f"parts/{name}"
    ElementTree.SubElement(source, "SourceBand").text = band
    if like is not None:  # so that no part is opened before it is read
        ElementTree.SubElement(source, "SourceProperties", {**like.attrib, "RasterXSize": str(part.columns), "RasterYSize": str(part.rows)})
    size = {"xSize": str(part.columns), "ySize": str(part.rows)}
    ElementTree.SubElement(source, "SrcRect", {"xOff": "0", "yOff": "0", **size})
    ElementTree.SubElement(source, "DstRect", {"xOff": str(part.column), "yOff": str(part.row), **size})
    return source


@_store.raising
def vrt(out: str, shape: tuple[int, int], made: Mapping[_parts.Part, bool], is_complete: bool) -> str:
    """Writes OUT/mosaic.vrt over the parts that were made, each with whether it has a mask. Returns its name. Raises OSError.

    Its description is that of the first part. It has a mask if any part has one, or if a part is missing and there is no value for no data.
    """
    first = min(made, key=lambda part: (part.row, part.column))
    by = gdal.Open(_store.join(_store.join(out, "parts"), first.name))
    driver = gdal.GetDriverByName("VRT")
    description = driver.CreateCopy("", by)
    _shift(description, by, first)
    description.SetMetadataItem(_parts.FINGERPRINT, None)
    description.FlushCache()
    root = ElementTree.fromstring(description.GetMetadata("xml:VRT")[0])
    root.set("rasterXSize", str(shape[1]))
    root.set("rasterYSize", str(shape[0]))
    for stale in root.findall("MaskBand") + root.findall("OverviewList"):
        root.remove(stale)
    like = None
    for band in root.findall("VRTRasterBand"):
        own = band.find("SimpleSource")
        assert own is not None
        like = own.find("SourceProperties")
        for source in band.findall("SimpleSource"):
            band.remove(source)
        band.extend(_source(part.name, band.attrib["band"], part, like) for part in made)
    tells_by_itself = by.GetRasterBand(1).GetNoDataValue() is not None or by.GetRasterBand(
        by.RasterCount).GetColorInterpretation() == gdal.GCI_AlphaBand
    if any(made.values()) or not (is_complete or tells_by_itself):
        mask = ElementTree.SubElement(ElementTree.SubElement(root, "MaskBand"), "VRTRasterBand", dataType="Byte")
        mask_like = copy.copy(like)
        if mask_like is not None:
            mask_like.set("DataType", "Byte")
        mask.extend(_source(part.name, "mask,1", part, mask_like) for part in made)
    name = _store.join(out, _place.MOSAIC)
    _store.write_text(name, ElementTree.tostring(root, encoding="unicode") + "\n")
    return name


def check_single(file: str, overwrite: bool, others: Iterable[str]) -> None:
    """Refuses to write a file that is one of the others, or that exists. Raises pansharp.OutputError."""
    def refuse(why: str) -> NoReturn:
        _place.refuse(file, why)
    if _store.is_remote(file):
        refuse("is not in the file system; write it there and copy it")
    target = os.path.realpath(file)
    if not os.path.isdir(os.path.dirname(target)):
        refuse("has no folder; make that first")
    if os.path.isdir(target):
        refuse("is a folder; name a file in it")
    if any(_store.is_same(target, other) for other in others):
        refuse("is a file that the mosaic is made from; choose another name")
    if os.path.lexists(target) and not os.path.isfile(target):
        refuse("is a device, not a file that can be replaced; choose another name")
    if os.path.exists(target) and not overwrite:
        refuse("exists; choose another name, or allow it to be overwritten (--overwrite)")


@_store.raising
def single(mosaic: str, file: str, form: str, co: Sequence[str], overwrite: bool, progress: Callable[[float], Any], deadline: _run.Deadline) -> None:
    """Copies the mosaic into one file, which appears when it is complete. Raises OSError, or pansharp.OutputError."""
    def goes_on(done: float, *_: Any) -> bool:
        progress(done)
        return deadline.left() >= 0
    options = list(co)
    if form == "GTiff":
        keys = {option.split("=")[0].upper() for option in options}
        options += [option for option in ("TILED=YES", "BIGTIFF=IF_SAFER") if option.split("=")[0] not in keys]
    internal = gdal.GetConfigOption("GDAL_TIFF_INTERNAL_MASK")
    gdal.SetConfigOption("GDAL_TIFF_INTERNAL_MASK", "YES")
    try:
        with _store.beside(os.path.realpath(file)) as new:
            gdal.Translate(new, mosaic, format=form, creationOptions=options, callback=goes_on)
            check_single(file, overwrite, ())  # it may have appeared meanwhile
            os.replace(new, os.path.realpath(file))
    except (RuntimeError, OSError) as error:
        deadline.check()
        raise OSError(f"'{file}' cannot be written: {error}") from error
    finally:
        gdal.SetConfigOption("GDAL_TIFF_INTERNAL_MASK", internal)
