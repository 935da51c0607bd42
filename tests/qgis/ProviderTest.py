"""The plug-in in QGIS without a screen: through qgis_process, and inside QGIS where that cannot test it.

    ProviderTest.py     QGIS_PROCESS, QGIS_PLUGINPATH, PANSHARP_COMMAND, GDAL_DRIVER_PATH name the programs and folders
"""
import configparser
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

folder = tempfile.TemporaryDirectory()
home = pathlib.Path(folder.name)
for variable, name in (("HOME", ""), ("XDG_RUNTIME_DIR", "run"), ("QGIS_CUSTOM_CONFIG_PATH", "config"), ("TMPDIR", "temporary")):
    (home / name).mkdir(mode=0o700, exist_ok=True)
    os.environ[variable] = str(home / name)
os.environ["QT_QPA_PLATFORM"] = "offscreen"
sys.path += ["/usr/share/qgis/python/plugins", os.environ["QGIS_PLUGINPATH"], str(pathlib.Path(__file__).parents[1] / "python")]

import numpy
from qgis.core import (QgsApplication, QgsCoordinateReferenceSystem, QgsCoordinateTransform, QgsMapRendererParallelJob, QgsMapSettings,
                       QgsProcessingContext, QgsProcessingFeedback, QgsProject, QgsRasterLayer, QgsRectangle)
from qgis.PyQt.QtCore import QSize

import pansharp
import scenes

application = QgsApplication([], False)
application.initQgis()
plugin = pansharp.classFactory(None)
plugin.initProcessing()
scenes.write_pair(home, numpy.uint8)
PAIR = {"PAN": str(home / "pan.tif"), "MS": str(home / "ms.tif")}


def run(key, **given):
    """Whether it succeeded, its results, and its messages."""
    algorithm = QgsApplication.processingRegistry().createAlgorithmById(f"pansharp:{key}")
    feedback, context = given.pop("feedback", None) or QgsProcessingFeedback(False), QgsProcessingContext()
    context.setProject(QgsProject.instance())
    reason = algorithm.canExecute()[1]
    results, isDone = algorithm.run(given, context, feedback)
    return isDone, results, reason + feedback.textLog(), context


def draw(file, box):
    layer = QgsRasterLayer(str(file), "scene")
    settings = QgsMapSettings()
    settings.setLayers([layer])
    settings.setDestinationCrs(layer.crs())
    settings.setExtent(box)
    settings.setOutputSize(QSize(120, 96))
    job = QgsMapRendererParallelJob(settings)
    job.start()
    job.waitForFinished()
    return job.renderedImage()


class Provider(unittest.TestCase):
    def test_qgis_process_enables_lists_and_runs_it(self):
        ask = lambda *words: subprocess.run([os.environ["QGIS_PROCESS"], *words], capture_output=True, text=True)
        self.assertIn("pansharp", ask("plugins", "enable", "pansharp").stdout)
        self.assertRegex(ask("list").stdout, r"(?s)\tpansharp:check\t.*\tpansharp:sharpen\t.*\tpansharp:virtual\t")
        pair = [f"{name}={file}" for name, file in PAIR.items()]
        report = home / "report.html"
        self.assertEqual(ask("run", "pansharp:check", "--", *pair, f"OUTPUT={report}").returncode, 0)
        self.assertRegex(report.read_text(), r"(?s)grids +ratio 2.*plain cubic upsampling")
        wrong = ask("run", "pansharp:sharpen", "--", f"PAN={PAIR['MS']}", f"MS={PAIR['PAN']}", f"OUTPUT={home / 'wrong.tif'}")
        self.assertEqual(wrong.returncode, 1)
        self.assertIn("were pan and multispectral swapped?", wrong.stderr)

    def test_a_virtual_scene_is_added_and_drawn_as_the_file_is(self):
        given = dict(PAIR, BANDS=[3, 1, 2], METHOD="brovey", SET="", NODATA="0")
        isDone, results, log, _ = run("sharpen", **given, CO="COMPRESS=LZW\nTILED=YES", OUTPUT=str(home / "sharp.tif"))
        self.assertTrue(isDone, log)
        isDone, results, log, context = run("virtual", **given, OUTPUT=str(home / "scene.pansharp"))
        self.assertTrue(isDone, log)
        self.assertEqual(list(context.layersToLoadOnCompletion()), [str(home / "scene.pansharp")])
        box = QgsRasterLayer(PAIR["PAN"]).extent()
        scene, file = (draw(home / name, box) for name in ("scene.pansharp", "sharp.tif"))
        self.assertEqual(scene, file)
        self.assertGreater(len({scene.pixel(x, y) for x in range(0, 120, 5) for y in range(0, 96, 5)}), 100)

    def test_an_extent_in_another_projection_and_further_layers(self):
        pan = QgsRasterLayer(PAIR["PAN"]).crs()
        world = QgsCoordinateReferenceSystem("EPSG:4326")
        box = QgsCoordinateTransform(pan, world, QgsProject.instance()).transformBoundingBox(QgsRectangle(30, -72, 90, -24))
        there = f"{box.xMinimum()!r},{box.xMaximum()!r},{box.yMinimum()!r},{box.yMaximum()!r} [EPSG:4326]"
        # Pan and ms of the folder make it a product.
        for given, bands in ((dict(PAIR, MORE=[PAIR["MS"]], BANDS=[2]), 4), (dict(PRODUCT=str(home)), 3)):
            self.check_part(dict(given, BBOX=there), bands)

    def check_part(self, given, bands):
        isDone, _, log, _ = run("sharpen", **given, OUTPUT=str(home / "part.tif"))
        self.assertTrue(isDone, log)
        part = QgsRasterLayer(str(home / "part.tif"))
        self.assertEqual(part.bandCount(), bands)
        self.assertTrue(60 <= part.width() <= 64 and 48 <= part.height() <= 52, log)
        self.assertTrue(part.extent().contains(QgsRectangle(30, -72, 90, -24)))

    def test_what_cannot_be_is_said(self):
        table = [(dict(PAIR, BBOX="900,990,0,90"), "does not overlap the panchromatic layer"),
                 (dict(PAIR, WEIGHTS="1,x,2"), "--weights"), (dict(PAIR, SRCWIN="0 0 9"), "needs 4 values"),
                 (dict(PAN=PAIR["MS"], PAN_BAND=1), "multispectral"), (dict(PAIR, PRODUCT=str(home)), "Both layers and a product"),
                 ({}, "No input is given"), (dict(PRODUCT=str(home / "config")), "product")]
        for given, expected in table:
            with self.subTest(expected):
                isDone, _, log, _ = run("sharpen", **given, OUTPUT=str(home / "none.tif"))
                self.assertFalse(isDone)
                self.assertIn(expected, log)
        own = os.environ["PANSHARP_COMMAND"]
        self.addCleanup(os.environ.update, PANSHARP_COMMAND=own)
        os.environ["PANSHARP_COMMAND"] = "nowhere"
        log = run("sharpen", **PAIR, OUTPUT=str(home / "none.tif"))[2]
        self.assertGreater(log.count("'nowhere', named in the variable PANSHARP_COMMAND, is not a program"), 1, log)
        self.assertNotIn("Traceback", log)

    def test_cancelling_ends_the_program(self):
        """A command that lists the same options as ours, but then runs for ten minutes."""
        slow, own = home / "slow", os.environ["PANSHARP_COMMAND"]
        slow.write_text(f"#!/bin/sh\n[ \"$1\" != --options-json ] || exec '{own}' \"$1\"\necho $$ >'{home}/pid'\necho '10 % done' >&2\nexec sleep 600\n")
        slow.chmod(0o755)
        self.addCleanup(os.environ.update, PANSHARP_COMMAND=own)
        os.environ["PANSHARP_COMMAND"] = str(slow)
        feedback = QgsProcessingFeedback(False)
        feedback.progressChanged.connect(lambda done: done >= 10 and feedback.cancel())
        isDone, _, log, _ = run("sharpen", **PAIR, OUTPUT=str(home / "never.tif"), feedback=feedback)
        self.assertFalse(isDone)
        self.assertIn("Cancelled", log)
        self.assertRaises(ProcessLookupError, os.kill, int((home / "pid").read_text()), 0)

    def test_metadata_has_what_the_repository_asks_for(self):
        metadata = configparser.ConfigParser()
        metadata.read(pathlib.Path(os.environ["QGIS_PLUGINPATH"]) / "pansharp/metadata.txt")
        for key in ("name", "qgisMinimumVersion", "description", "about", "version", "author", "email", "repository", "tracker"):
            self.assertTrue(metadata["general"].get(key) and "@" not in metadata["general"][key].replace("maintainers@", ""), key)


if __name__ == "__main__":
    unittest.main()
