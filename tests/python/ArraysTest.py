"""The array half of the package pansharp. PANSHARP_COMMAND names the command whose samples it must give."""

import concurrent.futures
import dataclasses
import gc
import json
import multiprocessing
import os
import signal
import subprocess
import sys

import numpy
import numpy.lib.stride_tricks
import pansharp
import pytest
from scenes import WRONG, Hostile, pair, samples, survives, write_pair


PAN, MS = pair()

LAYOUTS = {
    "rows": lambda a: a.copy(),
    "columns first": lambda a: a.T.copy().T,
    "interleaved": lambda a: numpy.moveaxis(numpy.moveaxis(a, 0, -1).copy(), -1, 0),
    "upward, leftward": lambda a: a[..., ::-1, ::-1].copy()[..., ::-1, ::-1],
    "bands backward": lambda a: a[::-1].copy()[::-1],
    "part": lambda a: put(a, numpy.zeros(tuple(2 * n + 3 for n in a.shape), a.dtype)[tuple(slice(1, 2 * n, 2) for n in a.shape)]),
    "odd addresses": lambda a: put(a, numpy.zeros(a.nbytes + 1, numpy.uint8)[1:].view(a.dtype).reshape(a.shape)),
}


def put(array, place):
    place[...] = array
    return place


@pytest.mark.parametrize("dtype", [numpy.uint8, numpy.uint16])
@pytest.mark.parametrize("options, arguments", [
    ([], {}), *((["--method", name], {"method": name}) for name in pansharp.methods()), (["--bands", "3,1"], {"bands": (3, 1)}),
    (["--method", "ihs", "--bands", "4,1"], {"method": "IHS", "bands": (4, 1)}),
    (["--method", "ihs", "--bands", "4,3,2", "--infrared", "ms.tif,band=2"], {"method": "IHS", "bands": (4, 3, 2), "infrared": True}),
    (["--method", "kova", "-r", "bilinear", "--weights", "0.5,0.25,0.25,0"], {"method": "KOVA", "weights": (0.5, 0.25, 0.25, 0), "resampling": "bilinear"}),
    (["--infrared", "ms.tif,band=2"], {"infrared": True}), (["--method", "ihs", "--infrared", "ms.tif,band=2"], {"method": "IHS", "infrared": True}),
    (["--method", "brovey", "--infrared", "ms.tif,band=2", "--infrared-weight", "0.125"], {"method": "Brovey", "infrared": True, "infrared_weight": 0.125}),
])
def test_the_samples_are_those_of_the_command(tmp_path, dtype, options, arguments):
    pan, ms = write_pair(tmp_path, dtype, 4)
    subprocess.run([os.environ["PANSHARP_COMMAND"], "sharpen", "-q", "pan.tif", "ms.tif", "-o", "out.tif", *options], cwd=tmp_path, check=True)
    if "infrared" in arguments:
        arguments = {**arguments, "infrared": ms[1]}
    fused = pansharp.fuse(pan, ms, **arguments)
    assert numpy.array_equal(samples(tmp_path / "out.tif", fused), fused)
    if arguments.get("method") == "IHS" and "infrared" in arguments:  # a band that is not fused masks nothing
        unused = numpy.ma.masked_array(ms, numpy.broadcast_to(numpy.arange(4)[:, None, None] == (0 if "bands" in arguments else 3), ms.shape))
        assert not pansharp.fuse(pan, unused, **arguments).mask.any()


@pytest.mark.filterwarnings("ignore:.* are a collar of zeros along its edge")
@pytest.mark.parametrize("method", ["Injection", "Brovey"])
@pytest.mark.parametrize("dtype, options, arguments", [
    (numpy.uint8, [], {}), (numpy.uint16, [], {}), (numpy.uint8, ["--no-nodata"], {"nodata": False}),
    (numpy.uint8, ["--nodata", "0"], {"nodata": 0}), (numpy.uint16, ["--nodata", "9"], {"nodata": (9, 9.0)}),
    (numpy.uint16, ["--bit-depth", "14"], {"bits": 14}), (numpy.uint16, ["--nodata", "0", "--bit-depth", "12"], {"nodata": 0, "bits": 12})])
def test_gaps_and_limits_are_those_of_the_command(tmp_path, method, dtype, options, arguments):
    def spoil(pan, ms):
        pan[:, :24], ms[:, :30, 44:], pan[70:80, 50:57], ms[1, 20:22, 20:31] = 0, 0, 9, 9
        ms[0, 31, 31], ms[2, 40, 10] = numpy.iinfo(dtype).max, 0
    pan, ms = write_pair(tmp_path, dtype, 4, spoil)
    subprocess.run([os.environ["PANSHARP_COMMAND"], "sharpen", "-q", "pan.tif", "ms.tif", "-o", "out.tif", "--method", method, *options],
                   cwd=tmp_path, check=True)
    fused = pansharp.fuse(pan, ms, method, **arguments)
    assert numpy.array_equal(samples(tmp_path / "out.tif", fused), fused)
    if "--nodata" in options and arguments["nodata"] == 0:
        masked = pansharp.fuse(numpy.ma.masked_equal(pan, 0), numpy.ma.masked_equal(ms, 0), method, bits=arguments.get("bits"))
        masked[0, -1, -1] = numpy.ma.masked
        assert masked.mask[:, -1, -1].tolist() == [True, False, False, False] and (masked.filled()[masked.mask] == 0).all()
        masked.mask[0, -1, -1] = False
        assert numpy.array_equal(numpy.where(masked.mask, 0, numpy.maximum(masked.data, 1)), fused)  # data is moved off the value


def test_indices_are_those_of_the_command(tmp_path):
    fused, truth = pansharp.fuse(*write_pair(tmp_path), "KOVA"), pansharp.fuse(PAN, MS)
    for name, method in (("out.tif", "KOVA"), ("truth.tif", "Injection")):
        subprocess.run([os.environ["PANSHARP_COMMAND"], "sharpen", "-q", "pan.tif", "ms.tif", "-o", name, "--method", method], cwd=tmp_path, check=True)
    told = json.loads(subprocess.run([os.environ["PANSHARP_COMMAND"], "assess", "out.tif", "--reference", "truth.tif", "--ratio", "2", "--json"],
                                     cwd=tmp_path, check=True, capture_output=True).stdout)["indices"]
    found = pansharp.assess(fused, truth, ratio=2)
    assert [found.pixels, found.q, found.sam, found.ergas] == [told[name] for name in ("pixels", "mean_q", "sam", "ergas")]
    assert [{"band": i + 1, **dataclasses.asdict(band)} for i, band in enumerate(found.bands)] == told["bands"]
    told = json.loads(subprocess.run([os.environ["PANSHARP_COMMAND"], "assess", "out.tif", "--pan", "pan.tif", "--ms", "ms.tif", "--mtf", "0.3,0.35,0.4",
                                      "--json"], cwd=tmp_path, check=True, capture_output=True).stdout)["rows"]
    for row, (name, pair_quality) in zip(told, pansharp.assess(fused, pan=PAN, ms=MS, transfer=(0.3, 0.35, 0.4)).items()):
        consistency = row.pop("consistency")
        assert row.pop("name") == name and row == {key: getattr(pair_quality, key) for key in row}
        assert [consistency[key] for key in ("ergas", "sam", "mean_q")] == [getattr(pair_quality.consistency, key) for key in ("ergas", "sam", "q")]
    rows = json.loads(subprocess.run([os.environ["PANSHARP_COMMAND"], "compare", "pan.tif", "ms.tif", "--mtf", "0.35", "--json"], cwd=tmp_path, check=True,
                                     capture_output=True).stdout)["entries"]
    for weights, how in (("equal", "bilinear"), (None, "cubic")):
        judged = pansharp.compare(PAN, MS, weights=weights, resampling=how, transfer=0.35)
        told = {"upsampled" if row["plain"] else row["method"]: row for row in rows if row["resampling"] == how and row["weights"] in (None, weights or "fitted")}
        assert {name: [row[key] for key in ("pixels", "ergas", "sam", "mean_q")] for name, row in told.items()} == {
            name: [of.pixels, of.ergas, of.sam, of.q] for name, of in judged.items()}
    plain = pansharp.fuse(PAN, MS, gains=[(0, 0)] * 3, transfer=0.3, low_pass_mean=1)
    assert numpy.array_equal(pansharp.upsample(MS, PAN.shape), plain)
    holed = numpy.ma.masked_array(MS, numpy.zeros(MS.shape, bool))
    holed[:, 4:12, 4:12] = numpy.ma.masked
    compared = pansharp.compare(numpy.ma.masked_less(PAN, PAN.mean()), holed, truth)
    assert list(compared) == ["upsampled", *pansharp.methods()] and len({quality.pixels for quality in compared.values()}) == 1
    assert pansharp.compare(PAN, MS, truth, bands=(3, 1))["Injection"].q == 1
    around = pansharp.compare(PAN, numpy.pad(MS, ((0, 0), (8, 8), (8, 8)), "edge"), truth, pixel_size=2, offset=(8, 8))
    assert around["upsampled"] == pansharp.compare(PAN, MS, truth)["upsampled"]


@pytest.mark.filterwarnings("ignore:.* are a collar of zeros along its edge", "ignore:the shift .* cannot be measured")
@pytest.mark.parametrize("options, arguments", [([], {}), (["--infrared", "ms.tif,band=2"], {"infrared": 1})])
def test_a_shift_is_that_of_the_command(tmp_path, options, arguments):
    def displace(pan, ms):
        pan[...] = numpy.roll(pan, (-1, 0), (0, 1))
        if options:
            pan[:, :24], ms[:, :30, 44:] = 0, 0
    pan, ms = write_pair(tmp_path, numpy.uint16, 4, displace, rows=192, columns=240)
    arguments = {name: ms[band] for name, band in arguments.items()}
    told = subprocess.run([os.environ["PANSHARP_COMMAND"], "info", "pan.tif", "ms.tif", "--json", *options], cwd=tmp_path, check=True, capture_output=True)
    found = pansharp.measure_shift(pan, ms, **arguments)
    assert dataclasses.asdict(found) == json.loads(told.stdout)["shift"] and found.agreed and abs(found.below - 0.5) < 0.1
    for text, shift in (("auto", "auto"), ("0.25,-0.5", (0.25, -0.5))):
        subprocess.run([os.environ["PANSHARP_COMMAND"], "sharpen", "-q", "pan.tif", "ms.tif", "-o", "out.tif", "--overwrite", "--shift", text, *options],
                       cwd=tmp_path, check=True)
        fused = pansharp.fuse(pan, ms, shift=shift, **arguments)
        assert numpy.array_equal(samples(tmp_path / "out.tif", fused), fused)


def random_case(seed):
    """Arrays of any layout give the same result as packed ones."""
    random = numpy.random.default_rng(seed)
    ratio = int(random.integers(1, 5))
    rows, columns = (ratio * int(n) for n in random.integers(1, 24, 2))
    pan, ms = pair(random.choice([numpy.uint8, numpy.uint16]), rows, columns, ratio, int(random.integers(1, 6)), seed)
    method = random.choice([m for m in pansharp.methods() if m != "IHS" or len(ms) > 2])
    bands = tuple(map(int, random.integers(1, len(ms) + 1, random.integers(1, 8))))
    expected = pansharp.fuse(pan, ms, method, bands=bands, threads=1)
    kinds = random.choice(list(LAYOUTS), 3)
    pan, ms, out = (LAYOUTS[kind](array) for kind, array in zip(kinds, (pan[numpy.newaxis], ms, numpy.zeros_like(expected))))
    result = pansharp.fuse(pan, ms, method, bands=bands, out=out)
    assert result is out and numpy.array_equal(out, expected), (seed, pan.shape, ms.shape, method, bands, kinds)


@pytest.mark.filterwarnings("ignore:too few multispectral pixels", "ignore:no weight")
def test_any_shape_layout_and_number_of_callers():
    count = int(os.environ.get("PANSHARP_CASES", 400))
    with concurrent.futures.ThreadPoolExecutor(3) as callers:
        assert len(list(callers.map(random_case, range(count)))) == count
    row = PAN[:1, :].repeat(len(PAN), 0)
    assert numpy.array_equal(pansharp.fuse(numpy.broadcast_to(PAN[:1, :], PAN.shape), MS), pansharp.fuse(row, MS))
    with multiprocessing.get_context("fork").Pool(1) as child:
        assert numpy.array_equal(child.apply(pansharp.fuse, (PAN, MS)), pansharp.fuse(PAN, MS))


SMALL = [{"pan": PAN[:40, :48], "ms": MS[:, :20, :24]}, {"image": MS, "reference": MS}, {"ms": MS[:, :20, :24], "shape": (40, 48)}]
CALLS = [(pansharp.fuse, SMALL[0], ["method", "weights", "infrared", "infrared_weight", "gains", "transfer", "low_pass_mean", "fit", "resampling", "bands",
                                    "pixel_size", "offset", "infrared_pixel_size", "infrared_offset", "shift", "nodata", "bits", "threads", "progress", "out"]),
         (pansharp.fit, SMALL[0], ["method", "weights", "transfer", "infrared", "bands", "pixel_size", "offset", "nodata"]),
         (pansharp.measure_shift, SMALL[0], ["infrared", "pixel_size", "offset", "nodata"]),
         (pansharp.compare, SMALL[0], ["truth", "weights", "resampling", "bands", "transfer", "pan_transfer", "pixel_size", "offset", "nodata"]),
         (pansharp.assess, SMALL[1], ["ratio", "nodata", "bands", "pan", "ms", "transfer"]), (pansharp.upsample, SMALL[2], ["resampling", "bands", "out"])]


def wrong_case(seed):
    """Up to three arguments of a call have a wrong type, shape, sample type, range or memory, or raise exceptions when they are used."""
    random = numpy.random.default_rng(seed)
    call, given, names = CALLS[int(random.choice(len(CALLS), p=(0.4, 0.15, 0.1, 0.05, 0.15, 0.15)))]
    names = random.choice([*given, *names], random.integers(1, 4))
    survives(lambda: call(**{**given, **{name: WRONG[int(random.integers(len(WRONG)))] for name in names}}), [pansharp.Error])


@pytest.mark.filterwarnings("ignore")
def test_wrong_arguments_are_refused_and_none_is_kept():
    kept = [PAN, MS, *(thing for thing in WRONG if isinstance(thing, (numpy.ndarray, Hostile, dict, list)))]
    held = [sys.getrefcount(thing) for thing in kept]
    with concurrent.futures.ThreadPoolExecutor(3) as callers:
        for _ in callers.map(wrong_case, range(int(os.environ.get("PANSHARP_CASES", 400)))):
            pass
    gc.collect()
    assert [sys.getrefcount(thing) for thing in kept] == held


def test_a_part_with_a_margin_is_that_of_the_whole():
    found = pansharp.fit(PAN, MS)
    assert found.error < found.plain_error and found.samples > 0
    whole = pansharp.fuse(PAN, MS)
    part = pansharp.fuse(PAN[20:80], MS[:, 5:], fit=found, pixel_size=2, offset=(0, 5))
    assert numpy.array_equal(part[:, 12:-12], whole[:, 32:68])
    unknown, dark = dataclasses.replace(found, low_pass_mean=0.0), PAN // 9000
    whole_dark, part_dark = (pansharp.fuse(pan, ms, fit=unknown, nodata=False) for pan, ms in ((dark, MS), (dark[:60], MS[:, :30])))
    assert numpy.array_equal(whole_dark[:, :48], part_dark[:, :48])
    given = {name: getattr(found, name) for name in ("gains", "transfer", "low_pass_mean")}
    assert numpy.array_equal(pansharp.fuse(PAN, MS, **given), whole)
    assert pansharp.fit(PAN, MS, transfer=found.transfer) == dataclasses.replace(found, r_squared=None)
    shares = pansharp.fit(PAN, MS, method="kova")
    part = pansharp.fuse(PAN[20:80], MS[:, 5:], fit=shares, pixel_size=2, offset=(0, 5))
    assert numpy.array_equal(part[:, 4:-4], pansharp.fuse(PAN, MS, "KOVA")[:, 24:76]) and shares.r_squared > 0.5


def test_an_infrared_band_weighs_as_one_that_is_written():
    whole = pansharp.fuse(PAN, MS, "Brovey", weights=(0.5, 0.3, 0.2))[:2]
    weights = {"weights": (0.5, 0.3), "infrared_weight": 0.2}
    assert numpy.array_equal(pansharp.fuse(PAN, MS[:2], "brovey", infrared=MS[2], **weights), whole)
    placed = {"infrared_pixel_size": (2, 2), "infrared_offset": (0, 10), "pixel_size": 2, "offset": (0, 10)}
    part = pansharp.fuse(PAN[20:], MS[:2], "Brovey", infrared=MS[2:], **weights, **placed)
    assert numpy.array_equal(part, whole[:, 20:])


def test_what_is_raised_on_the_way_arrives():
    told = []
    big, bands = (numpy.zeros(shape, numpy.uint16) for shape in ((4096, 2048), (4, 2048, 1024)))
    assert pansharp.fuse(PAN, MS, progress=lambda *rows: told.append(rows)).any()
    assert told == sorted(told) and told[-1] == (96, 96)

    def halt(*_):
        raise ZeroDivisionError
    for last in (False, True):
        with pytest.raises(ZeroDivisionError):
            pansharp.fuse(PAN, MS, progress=lambda done, rows: halt() if not last or done == rows else None)
    out = numpy.ones((4, 4096, 2048), numpy.uint16)
    before = signal.signal(signal.SIGPROF, halt)  # a signal while no progress is reported
    with pytest.raises(ZeroDivisionError):
        signal.setitimer(signal.ITIMER_PROF, 0.002)
        pansharp.fuse(big, bands, "KOVA", weights="equal", nodata=False, threads=1, out=out)
    signal.signal(signal.SIGPROF, before)
    assert out[:, -1].all()


def test_a_fit_of_nothing_serves():
    black = numpy.zeros_like(PAN), numpy.zeros_like(MS)
    with pytest.warns(pansharp.PansharpWarning, match="pan is the same everywhere; equal weights are used"):
        assert not pansharp.fuse(*black, "Brovey", nodata=False).any()
    assert not pansharp.fuse(*black, fit=pansharp.fit(*black, nodata=False)).any()


def test_a_process_and_its_fork_end_while_a_thread_fuses():
    program = ("import numpy, os, pansharp, signal, sys, threading, time\n"
               "pair = numpy.zeros((2048, 2048), numpy.uint8), numpy.zeros((4, 1024, 1024), numpy.uint8)\n"
               "def work():\n"
               "    while True: pansharp.fuse(*pair, 'KOVA', progress=lambda *_: None)\n"
               "threading.Thread(target=work, daemon=True).start()\n"
               "time.sleep(0.2)\n"
               "child = os.fork()\n"
               "if child: os._exit(1) if os.waitpid(child, 0)[1] else sys.exit(0)\n"
               "signal.alarm(30)\n")
    for _ in range(3):
        assert subprocess.run([sys.executable, "-c", program], timeout=60).returncode == 0


READ_ONLY = numpy.zeros((3, 96, 120), numpy.uint16)
READ_ONLY.flags.writeable = False
BAD = [
    (TypeError, "pan has samples of float64; scale them to whole numbers", {"pan": PAN / 65535}),
    (TypeError, "ms has samples of >u2; this machine has the other byte order", {"ms": MS.astype(">u2")}),
    (TypeError, "int32; give ms.astype", {"ms": MS.astype(numpy.int32)}),
    (TypeError, "samples of object", {"pan": None}),
    (ValueError, "no pixel of pan has data", {"pan": numpy.ma.masked_less(PAN, 65535)}),
    (ValueError, "nodata is 70000", {"nodata": 70000}), (ValueError, "nodata is True", {"nodata": True}),
    (ValueError, "nodata has 1 items", {"nodata": (1,)}), (ValueError, "bits is 8", {"bits": 8}),
    (TypeError, "pan has samples of uint16 and ms of uint8", {"ms": MS.astype(numpy.uint8)}),
    (ValueError, r"axes must be \(row, column\)", {"pan": MS}),
    (ValueError, r"axes must be \(band, row, column\)", {"ms": MS[0]}),
    (ValueError, "no samples", {"ms": MS[:, :0]}),
    (ValueError, "numpy.moveaxis", {"ms": numpy.moveaxis(MS, 0, -1)}),
    (ValueError, "are the images exchanged", {"pan": MS[0], "ms": PAN[numpy.newaxis]}),
    (ValueError, r"of ms is .* \(its pixel_size: .* less than 10000", {"pixel_size": 1e300}),
    (ValueError, "pixel_size is nan", {"pixel_size": (2, numpy.nan)}),
    (ValueError, "pixel_size is 0", {"pixel_size": 0}),
    (ValueError, "pan lies on the columns .* of ms, .*; correct offset or pixel_size", {"offset": (50, 0)}),
    (ValueError, "offset has 1 items", {"offset": [1]}),
    (ValueError, "there is no method 'Median'", {"method": "Median"}),
    (TypeError, "method is 3", {"method": 3}),
    (TypeError, "method is 'KOVA", {"method": "KOVA\0x"}),
    (TypeError, "weights is {", {"weights": {1.0, 2.0, 3.0}}),
    (ValueError, "give infrared, too", {"infrared_offset": (0, 0)}),
    (ValueError, "2 weights are given for 3", {"weights": (1, 1)}),
    (ValueError, r"weights\[1\] is nan", {"weights": (1, numpy.nan, 1)}),
    (ValueError, "the weights of the bands add up to 0", {"weights": (0, 0, 0)}),
    (TypeError, r"weights\[0\] is 'a'", {"weights": ["a", 1, 1]}),
    (TypeError, "weights is 1", {"weights": 1}),
    (ValueError, "weights has 0 items", {"weights": ()}),
    (ValueError, "infrared_weight is inf", {"infrared_weight": 10**400}),
    (ValueError, "gains of band 2", {"gains": [(0, 1), (-1, 0), (0, 1)]}),
    (ValueError, r"gains\[0\] has 3 items", {"gains": [(0, 1, 2)]}),
    (ValueError, "transfer is 0", {"transfer": 0}),
    (ValueError, "transfer 0.95", {"transfer": 0.95}),
    (ValueError, "low_pass_mean is -1", {"low_pass_mean": -1}), (ValueError, "shift has 1 items", {"shift": (1,)}), (ValueError, "or 'auto'", {"shift": "x"}),
    (ValueError, "low_pass_mean is nan", {"low_pass_mean": numpy.nan}),
    (ValueError, "the method KOVA does not compare", {"method": "KOVA", "transfer": 0.3}),
    (TypeError, "fit is 1", {"fit": 1}),
    (ValueError, "resampling is 'nearest'", {"resampling": "nearest"}),
    (ValueError, "resampling is None", {"resampling": None}),
    (ValueError, "bands has 4", {"bands": (1, 4)}),
    (TypeError, "not a whole number", {"bands": (1.5,)}),
    (ValueError, "threads is -1", {"threads": -1}),
    (TypeError, "progress is 1", {"progress": 1}),
    (TypeError, "out is of list", {"out": []}),
    (TypeError, "out has samples of uint8", {"out": READ_ONLY.astype(numpy.uint8)}),
    (ValueError, "out has the shape", {"out": READ_ONLY[:2]}),
    (ValueError, "out is read-only", {"out": READ_ONLY}),
    (ValueError, "out: .* overwrite each other", {"out": numpy.lib.stride_tricks.as_strided(READ_ONLY.copy(), (3, 96, 120), (2, 240, 2))}),
    (ValueError, "repeats one sample", {"out": numpy.lib.stride_tricks.as_strided(READ_ONLY.copy(), (3, 96, 120), (0, 240, 2))}),
]


@pytest.mark.parametrize("kind, says, arguments", BAD)
def test_refuses(kind, says, arguments):
    with pytest.raises(kind, match=says):
        pansharp.fuse(**{"pan": PAN, "ms": MS, **arguments})


def test_refuses_to_write_over_what_it_reads():
    memory = numpy.zeros((4, 96, 120), numpy.uint16)
    with pytest.raises(ValueError, match="memory of its own"):
        pansharp.fuse(memory[3], MS, out=memory[1:])
    with pytest.raises(TypeError, match="shape is 5"):
        pansharp.upsample(MS, 5)
    with pytest.raises(TypeError, match="or both pan and ms"):
        pansharp.assess(MS, pan=PAN)
    with pytest.raises(ValueError, match="nothing to fit"):
        pansharp.fit(PAN, MS, method="IHS")
