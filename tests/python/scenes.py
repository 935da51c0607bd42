"""Generated scenes for the tests of the package, as arrays and as files."""

import itertools
import subprocess

import numpy
import numpy.lib.stride_tricks


def pair(dtype=numpy.uint16, rows=96, columns=120, ratio=2, bands=3, seed=1):
    """Pan with detail of several sizes, and bands that partly follow it."""
    random = numpy.random.default_rng(seed)
    pan = sum(numpy.kron(random.random((-(-rows // grain), -(-columns // grain))), numpy.ones((grain, grain)))[:rows, :columns]
              for grain in (1, 3, 9))
    coarse = pan.reshape(rows // ratio, ratio, columns // ratio, ratio).mean((1, 3))
    ms = [coarse * (0.5 + 0.2 * band) + 0.2 * random.random(coarse.shape) for band in range(bands)]
    scale = numpy.iinfo(dtype).max / 4
    return (pan * scale).astype(dtype), (numpy.array(ms) * scale / 1.2).astype(dtype)


def write_pair(folder, dtype=numpy.uint16, count=3, change=lambda pan, ms: None, options=(), **size):
    """A pair after `change` was applied, and its pan.tif and ms.tif, written with these options of gdal_translate."""
    pan, ms = pair(dtype, bands=count, **size)
    change(pan, ms)
    for name, array, pixel in (("pan", pan[numpy.newaxis], 1), ("ms", ms, 2)):
        bands, rows, columns = array.shape
        array.tofile(folder / f"{name}.raw")
        (folder / f"{name}.hdr").write_text(f"ENVI\nsamples = {columns}\nlines = {rows}\nbands = {bands}\ninterleave = bsq\n"
                                            f"data type = {1 if array.itemsize == 1 else 12}\nbyte order = 0\n")
        subprocess.run(["gdal_translate", "-q", *options, "-a_srs", "EPSG:32631", "-a_ullr", "0", "0", str(columns * pixel), str(-rows * pixel),
                        folder / f"{name}.raw", folder / f"{name}.tif"], check=True)
    return pan, ms


class Hostile:
    """Raises an exception on any use."""

    def refuse(self, *_, **__):
        raise ZeroDivisionError("refused")

    __array__ = __bool__ = __call__ = __float__ = __fspath__ = __getitem__ = __index__ = __iter__ = __len__ = __str__ = refuse


FRAME = numpy.arange(3 * 20 * 24, dtype=numpy.uint16).reshape(3, 20, 24)
WRONG = [None, True, -1, 0, 3, 2**31, 2**64, 10**400, 1.5, numpy.nan, -numpy.inf, 1j, "", "KOVA", "\ud800", "a\0b", b"x", "x" * 10**6, (), (1,), (2, numpy.nan),
         [0.5] * 3, [(0, 1)] * 3, {"a": 1}, {1, 2}, object(), Hostile(), int, print, iter(()), itertools.count(), numpy.float32(0.5), numpy.ma.masked, numpy.array(3), memoryview(b"ab"),
         *(FRAME.astype(kind) for kind in ("?", "i1", ">u2", "u4", "f2", "f8", "c16", "O", "M8[s]", "V2", "S2", [("a", "u2")])),
         FRAME, FRAME[0], FRAME[:, ::-1, ::-2], FRAME.T, FRAME[:, :0], FRAME[..., None], FRAME.tolist(), [[1], [2, 3]], numpy.ma.masked_greater(FRAME, -1),
         numpy.broadcast_to(FRAME[0, 0, 0], (3, 2**20, 2**21)), numpy.broadcast_to(FRAME[0, 0, 0], (2**20, 2**21)),
         numpy.lib.stride_tricks.as_strided(FRAME, (3, 8, 8), (2, 2, 2)), numpy.frombuffer(b"0" * 1441, numpy.uint8)[1:].view(numpy.uint16).reshape(3, 12, 20)]


def survives(call, kinds):
    """Checks that a call returns, or raises an exception of these kinds with a text."""
    try:
        call()
    except (ZeroDivisionError, TypeError, ValueError, MemoryError, *kinds) as error:
        assert str(error), type(error)


def samples(file, like):
    """The samples of a file, as an array of this shape and type."""
    raw = file.with_suffix(".envi")
    subprocess.run(["gdal_translate", "-q", "-of", "ENVI", "-co", "INTERLEAVE=BSQ", file, raw], check=True)
    return numpy.fromfile(raw, like.dtype).reshape(like.shape)
