"""The half of the package pansharp that works on files. PANSHARP_COMMAND names the command whose results it must equal."""

import concurrent.futures
import json
import multiprocessing
import os
import re
import signal
import subprocess
import sys
import threading

import numpy
import pansharp
import pytest
from scenes import WRONG, samples, survives, write_pair

PAIR = "pan.tif", "ms.tif"


@pytest.fixture(scope="module", autouse=True)
def folder(tmp_path_factory):
    """The folder in which tests run, with the pair in it."""
    path = tmp_path_factory.mktemp("scene")
    with pytest.MonkeyPatch.context() as patch:
        patch.chdir(path)
        write_pair(path)
        yield path


@pytest.mark.parametrize("typed, given", [
    ([], {}),
    (["--method", "brovey", "--weights", "0.5,0.25,0.25", "--co", "COMPRESS=LZW", "--co", "TILED=NO", "--bands", "3,1"],
     {"method": "brovey", "weights": (0.5, 0.25, 0.25), "co": {"COMPRESS": "LZW", "TILED": False}, "bands": [3, 1]}),
    (["--gains", "1:0,0.5:0.5,0:1", "--mtf", "0.25", "--bbox", "10", "-80", "100.5", "-10", "--alpha"],
     {"gains": [(1, 0), (0.5, 0.5), (0, 1)], "mtf": numpy.float32(0.25), "bbox": numpy.array([10, -80, 100.5, -10]), "alpha": True}),
])
def test_what_is_written_and_told_is_that_of_the_command(folder, typed, given):
    out = folder / "out.tif"
    bands = [(PAIR[1], band) for band in (1, 2, 3)]
    command = [os.environ["PANSHARP_COMMAND"], "sharpen", "pan.tif", *(f"{file},band={band}" for file, band in bands), "-o", out, "--json"]
    expected = json.loads(subprocess.run([*command, "--overwrite", *typed], capture_output=True, check=True).stdout)
    written = out.read_bytes()
    told = []
    report = pansharp.sharpen("pan.tif", bands, out, overwrite=True, progress=lambda *part: told.append(part), **given)
    assert out.read_bytes() == written and told[-1] == (1, 1)
    for both in report, expected:
        for own in "seconds", "megapixels_per_second", "peak_memory_bytes", "plugin":
            del both[own]
    assert report == expected
    with pansharp.open("pan.tif", bands, **{key: value for key, value in given.items() if key != "co"}) as scene:
        assert numpy.array_equal(samples(out, scene.read()), scene.read())


def refusal(call):
    """7 when it is refused."""
    try:
        call()
    except pansharp.Error as error:
        return 7 if re.search("is closed|open it here again", str(error)) else str(error)


def test_a_window_is_a_part_of_the_whole():
    pansharp.sharpen(*PAIR, "scene.pansharp")
    with pansharp.open("scene.pansharp", threads=2) as scene:
        whole = scene.read()
        with pytest.MonkeyPatch.context() as patch:
            patch.setattr(pansharp._scenes, "_MOST_PIXELS", 40 * 120)  # 40 rows at a time
            patch.setattr(pansharp._scenes, "_LEAST_ROWS", 1)
            assert numpy.array_equal(scene.read(), whole)
        assert scene.profile["dtype"] == whole.dtype and (scene.count, *scene.shape) == whole.shape and scene.bounds == (0, -96, 120, 0)
        assert numpy.array_equal(scene.read(2, window=((10, 50), (None, 64))), whole[1, 10:50, :64])
        assert scene.read(2, out=(flat := whole[1].copy())) is flat
        pixels = numpy.zeros((20, 30, 2), whole.dtype)
        assert scene.read([3, 1], window=(slice(70, 90), slice(5, 35)), out=numpy.moveaxis(pixels, -1, 0)).base is pixels
        assert numpy.array_equal(pixels, numpy.moveaxis(whole[[2, 0], 70:90, 5:35], 0, -1))
        with concurrent.futures.ThreadPoolExecutor(4) as readers:
            for part in readers.map(lambda row: scene.read(window=((row, row + 3), (0, 120))), range(0, 90)):
                assert part.shape == (3, 3, 120)

        def forked():
            pansharp.sharpen(*PAIR, "forked.tif")
            sys.exit(refusal(scene.read))
        child = multiprocessing.get_context("fork").Process(target=forked, daemon=True)
        child.start()
        child.join(60)
        assert child.exitcode == 7
    assert refusal(scene.read) == 7
    with pansharp.open(*PAIR, nodata=int(whole[0, 0, 0]), method="KOVA", alpha=True) as scene:
        part = scene.read(masked=True, out_shape=(24, 30))
        assert part.shape == (4, 24, 30) and part.fill_value in (scene.nodata, 0) and numpy.array_equal(part.mask[0], part.data[3] == 0)


OPTIONS = ["method", "weights", "bands", "gains", "mtf", "resampling", "nodata", "bbox", "bit_depth", "infrared", "same_corner", "shift", "threads"]


@pytest.mark.filterwarnings("ignore")
def test_wrong_arguments_are_refused():
    random = numpy.random.default_rng(1)
    shut, scene = pansharp.open(*PAIR), pansharp.open(*PAIR)
    shut.close()
    given = {"pan": PAIR[0], "ms": PAIR[1]}
    calls = [(lambda **all: pansharp.sharpen(**{"out": "made.tif", **all}, overwrite=True), given, [*OPTIONS, "out", "progress", "co", "format"]),
             (pansharp.info, given, OPTIONS), (pansharp.open, given, OPTIONS), (scene.read, {}, ["bands", "window", "out_shape", "masked", "out"]),
             (shut.read, {}, ["bands", "window"])]
    for case in range(int(os.environ.get("PANSHARP_CASES", 400)) // 2):
        call, sound, names = calls[case % len(calls)]
        wrong = {name: WRONG[int(random.integers(len(WRONG)))] for name in random.choice([*sound, *names], random.integers(1, 4))}
        survives(lambda: call(**{**sound, **wrong}), [pansharp.Error])
    assert scene.read().any()
    scene.close()


def test_what_is_told_of_an_image_has_rasterios_types_where_it_is_there():
    rasterio = pytest.importorskip("rasterio")
    pansharp.sharpen(*PAIR, "whole.tif", overwrite=True)
    with pansharp.open(*PAIR) as scene, rasterio.open("whole.tif") as file:
        assert (scene.crs, scene.transform, scene.bounds, scene.res, scene.dtypes, scene.indexes, scene.descriptions, scene.nodata) == (
            file.crs, file.transform, file.bounds, file.res, file.dtypes, file.indexes, file.descriptions, file.nodata)
        window = rasterio.windows.Window(7, 9, 50, 40)
        assert numpy.array_equal(scene.read(window=window), file.read(window=window))


def test_what_python_raises_stops_the_work_and_leaves_nothing():
    def halt(*_):
        raise ZeroDivisionError
    for first in 0, 1:
        with pytest.raises(ZeroDivisionError):
            pansharp.sharpen(*PAIR, "stopped.tif", progress=lambda done, _: halt() if done >= first else None)
    with pytest.warns(pansharp.PansharpWarning, match="weights: the method KOVA is used.*with method$"):
        pansharp.sharpen(*PAIR, "warned.tif", weights="equal")
    before = signal.signal(signal.SIGUSR1, halt)
    with pytest.raises(ZeroDivisionError):
        threading.Timer(0.02, os.kill, (os.getpid(), signal.SIGUSR1)).start()
        for _ in range(1000):
            pansharp.sharpen(*PAIR, "again.tif", overwrite=True)
    signal.signal(signal.SIGUSR1, before)
    assert not [name for name in os.listdir() if "stopped" in name]


BAD = [
    (TypeError, "no option 'metod'; did you mean 'method'", {"metod": "KOVA"}),
    (TypeError, "alpha is 3: it is True or False", {"alpha": 3}),
    (TypeError, "weights is {}: {} is not a number", {"weights": {}}),
    (TypeError, "3 is not a file", {"ms": 3}),
    (TypeError, "no output is named", {"out": None}),
    (TypeError, "progress is 1", {"progress": 1}),
    (ValueError, "has a character NUL", {"out": "refused.tif\0.png"}),
    (pansharp.ArgumentError, "^bbox takes 4 values", {"bbox": (1, 2, 3)}),
    (pansharp.ArgumentError, "^method: the plug-in has no method 'Median'", {"method": "Median"}),
    (pansharp.ArgumentError, "no_nodata=True says that none does", {"nodata": 1, "no_nodata": True}),
    (pansharp.ArgumentError, "^threads: 'nan'", {"threads": float("nan")}),
    (pansharp.ArgumentError, "2 weights are given for 3", {"weights": (1, 2), "method": "KOVA"}),
    (pansharp.ArgumentError, "give the multispectral raster", {"ms": None}),
    (pansharp.InputError, "'none.tif' cannot be opened", {"pan": "none.tif"}),
    (pansharp.OutputError, r"\(overwrite=True\)", {"out": "there.tif"}),
]


@pytest.mark.parametrize("kind, says, arguments", BAD)
def test_refuses(folder, kind, says, arguments):
    (folder / "there.tif").touch()
    with pytest.raises(kind, match=says) as caught:
        pansharp.sharpen(**{"pan": PAIR[0], "ms": PAIR[1], "out": "refused.tif", **arguments})
    assert kind in (TypeError, ValueError) or (caught.value.items[0].message in str(caught.value) and caught.value.report["ok"] is False)
    assert pansharp.info(*PAIR)["sharpen"]["bands"] == 3 and "refused.tif" not in os.listdir()


@pytest.mark.parametrize("says, arguments", [
    ("bands has 4", {"bands": 4}), ("0.5; give whole pixels", {"window": ((0.5, 2), (0, 1))}),
    ("does not lie within", {"window": ((0, 97), (0, 1))}), ("does not lie within", {"window": ((5, 5), (0, 1))}),
    ("window has 1 items", {"window": ((0, 1),)}), ("out_shape is", {"out_shape": (0, 1)}),
    ("leave the step out", {"window": (slice(0, 10, 2), (0, 1))}), (r"out has the shape", {"out": numpy.zeros((3, 5, 5), numpy.uint16)})])
def test_refuses_to_read(says, arguments):
    with pansharp.open(*PAIR) as scene, pytest.raises(ValueError, match=says):
        scene.read(**arguments)
