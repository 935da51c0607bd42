"""Programs in which users open descriptions, tested on docs/open-anywhere.md: rasterio and MapServer.

    SceneDatasetTest.py Rasterio|MapServer      PANSHARP_COMMAND: the command; GDAL_DRIVER_PATH: the driver's folder
"""
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

try:
    import numpy
    import rasterio
    from rasterio.vrt import WarpedVRT
    from rasterio.windows import Window
except ImportError as reason:
    raise SystemExit(f"SKIPPED: {reason} (scripts/setup --driver installs it)")

page = (pathlib.Path(__file__).parents[2] / "docs/open-anywhere.md").read_text()


def listing(kind, start):
    return next(text for text in re.findall(rf"^```{kind}\n(.*?)^```", page, re.M | re.S) if text.startswith(start))


class Scenes(unittest.TestCase):
    """A pair of 900 x 600 pixels, as scene.pansharp and once.tif, in a folder of its own, which is the current folder."""

    def describe(self, dtype, gap=0, options=()):
        """With a gap, the first columns of the bands have no data."""
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        os.chdir(folder.name)
        y, x = numpy.mgrid[0:600, 0:900]
        truth = [90 + 40 * numpy.sin(x / 97 + b) + 30 * numpy.cos(y / (71 + 9 * b)) + (x * 7 + y * 13) % 31 for b in range(3)]
        most = numpy.iinfo(dtype).max / 255
        for name, pixel, bands in [("pan.tif", 10, [sum(truth) / 3]),
                                   ("ms.tif", 40, [band.reshape(150, 4, 225, 4).mean((1, 3))[:, gap:] for band in truth])]:
            samples = (numpy.array(bands) * most).astype(dtype)
            with rasterio.open(name, "w", driver="GTiff", count=len(samples), height=samples.shape[1], width=samples.shape[2], dtype=dtype,
                               crs="EPSG:32631", transform=rasterio.Affine(pixel, 0, 500000 + gap * (pixel == 40) * 40, 0, -pixel, 4600000)) as file:
                file.write(samples)
        for output in ("scene.pansharp", "once.tif"):
            subprocess.run([os.environ["PANSHARP_COMMAND"], "sharpen", "pan.tif", "ms.tif", "-o", output, "-q", *options], check=True,
                           stderr=subprocess.DEVNULL)


class Rasterio(Scenes):
    def same(self, ask):
        with rasterio.open("scene.pansharp") as scene, rasterio.open("once.tif") as once:
            made, expected = ask(scene), ask(once)
            self.assertTrue(numpy.array_equal(made, expected) if isinstance(made, numpy.ndarray) else made == expected, f"{made}\n{expected}")
            return expected

    def test_reads_what_a_file_gives(self):
        for dtype, gap, options in [("uint8", 30, []), ("uint16", 30, ["--nodata", "0"]), ("uint16", 0, [])]:
            self.describe(dtype, gap, options)
            self.same(lambda file: [file.profile[key] for key in ("dtype", "nodata", "width", "height", "count", "crs", "transform")])
            self.same(lambda file: sorted(file.tags().items()))
            mask = self.same(lambda file: file.dataset_mask())
            self.assertEqual((mask == 0).any(), gap > 0)
            self.same(lambda file: file.read_masks(2, window=Window(300, 200, 400, 300)))
            self.same(lambda file: file.read([3, 1], window=Window(101, 203, 517, 311)))
            self.same(lambda file: file.read(2, window=Window(-50, 500, 300, 200), boundless=True, fill_value=7))
            self.same(lambda file: file.read(out_dtype="float32", masked=True).filled(-1))
            for target in ("EPSG:32631", "EPSG:3857"):
                self.same(lambda file: WarpedVRT(file, crs=target).read(window=Window(200, 100, 300, 250)))
            with rasterio.open("scene.pansharp") as scene, rasterio.open("once.tif") as once:
                self.assertEqual(scene.overviews(1), [2, 4])
                halves = once.read().reshape(3, 300, 2, 450, 2).mean((2, 4))
                small = scene.read(out_shape=halves.shape)
                inside = (slice(None), slice(None), slice(gap * 2 + 4, None))
                self.assertLess(numpy.abs(small - halves)[inside].mean(), 0.02 * numpy.iinfo(dtype).max)

    def test_runs_the_listing(self):
        self.describe("uint8")
        names = {}
        exec(listing("python", "import rasterio"), names)
        self.assertEqual([names[name].shape for name in ("whole", "window", "valid")], [(3, 75, 112), (3, 512, 512), (600, 900)])


@unittest.skipUnless(shutil.which("mapserv"), "SKIPPED: no mapserv (scripts/setup --driver installs it)")
class MapServer(Scenes):
    def draw(self, box, size):
        """The pictures that the page's map file makes from the description and from the file."""
        pathlib.Path("server.conf").write_text(" ".join(re.search(r"`(CONFIG [^`]*)`", page)[1].split()))
        for image in ("scene.pansharp", "once.tif"):
            pathlib.Path("scenes.map").write_text(listing("text", "MAP").replace('"scene.pansharp"', f'"{image}"'))
            query = (f"map={os.getcwd()}/scenes.map&SERVICE=WMS&VERSION=1.1.1&REQUEST=GetMap&LAYERS=scene&STYLES=&SRS=EPSG:32631"
                     f"&BBOX={','.join(map(str, box))}&WIDTH={size[0]}&HEIGHT={size[1]}&FORMAT=image/png")
            png = subprocess.run(["mapserv", "-nh", "QUERY_STRING=" + query], capture_output=True, check=True,
                                 env=os.environ | {"MAPSERVER_CONFIG_FILE": "server.conf"}).stdout
            self.assertEqual(png[1:4], b"PNG", png[:1000])
            with rasterio.MemoryFile(png) as memory, memory.open() as picture:
                yield picture.read([1, 2, 3]).astype(int)

    def test_draws_what_a_file_gives(self):
        for dtype in ("uint8", "uint16"):
            self.describe(dtype)
            scene, once = self.draw((500500, 4594500, 508500, 4599500), (800, 500))
            self.assertGreater(numpy.ptp(once), 100)
            self.assertTrue(numpy.array_equal(scene, once))
            with rasterio.open("once.tif", "r+") as file:
                file.build_overviews([2, 4], rasterio.enums.Resampling.average)
            scene, once = self.draw((500000, 4594000, 509000, 4600000), (300, 200))
            self.assertLess(numpy.abs(scene - once).mean(), 4)


if __name__ == "__main__":
    unittest.main()
