"""Generated scenes for the tests of the package, as arrays and as files."""

import subprocess

import numpy


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


def samples(file, like):
    """The samples of a file, as an array of this shape and type."""
    raw = file.with_suffix(".envi")
    subprocess.run(["gdal_translate", "-q", "-of", "ENVI", "-co", "INTERLEAVE=BSQ", file, raw], check=True)
    return numpy.fromfile(raw, like.dtype).reshape(like.shape)
