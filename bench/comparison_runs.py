"""The measurements of bench/compare: one function for each part of the page."""
import itertools
import json
import os
import pathlib
import platform
import statistics
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
BIN = ROOT / "build" / "release" / "bin"
WORK = ROOT / "build" / "bench-scenes"


def need_peer():
    if subprocess.run(["which", "gdal_pansharpen.py"], stdout=subprocess.DEVNULL).returncode != 0:
        sudo = [] if os.geteuid() == 0 else ["sudo"]
        subprocess.run(sudo + ["apt-get", "install", "-y", "--no-install-recommends", "gdal-bin", "python3-gdal"], check=True)


def timed(command, **options):
    """Runs a command. Returns seconds, peak memory in MB and processor seconds."""
    start = time.monotonic()
    child = subprocess.Popen(list(map(str, command)), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options)
    _, status, usage = os.wait4(child.pid, 0)
    if status != 0:
        sys.exit(f"failed: {' '.join(map(str, command))}")
    return time.monotonic() - start, usage.ru_maxrss / 1024, usage.ru_utime + usage.ru_stime


def ours(case, out, extra=(), simd=None):
    given = ["-r", case.get("sampling", "bilinear"), "--method", case["method"], "--weights", "equal"]
    how = [] if case["method"] == "default" else given
    command = [BIN / "pansharp", "sharpen", case["pan"], case["ms"], "-o", out, *how, "--overwrite", "--quiet",
               "-j", case["threads"], *extra]
    return timed(command, env={**os.environ, **({"PANSHARP_SIMD": simd} if simd else {})})


def peer(case, out, is_default=False):
    """Runs the peer with its own defaults (cubic, equal weights), or with the settings of `ours` for KOVA and Brovey."""
    weights = [w for _ in range(case["bands"]) for w in ("-w", str(1 / case["bands"]))]
    how = [] if is_default else ["-r", "bilinear", *weights]
    return timed(["gdal_pansharpen.py", "-q", "-threads", case["threads"], *how, "-co", "TILED=YES", case["pan"], case["ms"], out])


def copy(case, out, target):
    return timed(["sh", "-c", 'cat "$0" "$1" >/dev/null && cp "$2" "$3"', case["pan"], case["ms"], out, target])


def checksum(file):
    text = subprocess.run(["gdalinfo", "-checksum", file], check=True, capture_output=True, text=True).stdout
    return [line.split("=")[1] for line in text.splitlines() if "Checksum=" in line]


def verify(case, out):
    ours(case, out)
    expected = checksum(out)
    for extra, simd in (((), "scalar"), (("--window", "100"), None)):
        ours(case, out, extra, simd)
        if checksum(out) != expected:
            sys.exit(f"not the same pixels with {extra or simd}: {case}")


def spread(runs):
    seconds = sorted(run[0] for run in runs)
    return {"median": statistics.median(seconds), "least": seconds[0], "most": seconds[-1],
            "cpu": statistics.median(run[2] for run in runs), "peak_mb": max(run[1] for run in runs)}


def paired_ratio(runs, others, of):
    """The median over the trials of how many times as much one run took as another; `of` is 0 for seconds, 2 for processor seconds. Two runs of one
    trial see the same load, so this varies less than the ratio of two medians."""
    return statistics.median(run[of] / other[of] for run, other in zip(runs, others))


def alternate(commands, trials, files=()):
    """Runs each of the named commands in turn, so that other load on the machine affects all of them. Every run creates `files` anew: replacing a
    file costs the file system more. Returns the runs by name."""
    runs = {name: [] for name in commands}
    for _ in range(trials):
        for name, command in commands.items():
            for file in files:
                file.unlink(missing_ok=True)
            runs[name].append(command())
    for file in files:
        file.unlink(missing_ok=True)
    return runs


def end_to_end(sizes, depths, methods, threads, trials):
    out, copied = WORK / "ours.tif", WORK / "copy.tif"
    results = []
    for bits, method in itertools.product(depths, methods):
        verify({**scene(2048, bits), "method": method, "threads": 2}, out)
    for size, bits, count in itertools.product(sizes, depths, threads):
        print(f"{size}² {bits}-bit, {count} threads ...", file=sys.stderr)
        case = {**scene(size, bits), "threads": count}
        ours({**case, "method": "kova"}, out)  # a first run loads the inputs into memory
        commands = {method: lambda method=method: ours({**case, "method": method}, out) for method in methods}
        if set(methods) - {"default"}:
            commands["peer"] = lambda: peer(case, out)
        if "default" in methods:
            commands["peer_default"] = lambda: peer(case, out, True)
        # The output of the last run is the file to copy.
        commands["copy"] = lambda: copy(case, WORK / "kept.tif", copied)
        (WORK / "kept.tif").unlink(missing_ok=True)  # of an interrupted run
        os.link(out, WORK / "kept.tif")
        found = alternate(commands, trials, (out, copied))
        (WORK / "kept.tif").unlink()
        for method in methods:
            theirs = found["peer_default" if method == "default" else "peer"]
            results.append({**{key: case[key] for key in ("size", "bands", "bits", "ratio")}, "threads": count, "method": method,
                            "ours": spread(found[method]), "copy": spread(found["copy"]), "peer": spread(theirs),
                            "times": paired_ratio(theirs, found[method], 0)})
    return results


def scene(size, bits, layout="tiled", bands=4, ratio=4):
    folder = WORK / "-".join(map(str, (size, bits, *([] if (bands, ratio) == (4, 4) else [bands, ratio]), *([] if layout == "tiled" else [layout]))))
    if not (folder / "ms.tif").exists():
        folder.mkdir(parents=True, exist_ok=True)
        subprocess.run([BIN / "make_scene", str(size), str(bands), str(bits), str(ratio), layout, folder], check=True)
    return {"size": size, "bands": bands, "bits": bits, "ratio": ratio, "method": "kova", "threads": 1,
            "pan": folder / "pan.tif", "ms": folder / "ms.tif"}


def flat(sizes, trials):
    """Seconds and memory by size, without the peer, which takes 8 GB for the largest. A scene of 64 x 64 shows the start-up time."""
    results, out = [], WORK / "flat.tif"

    def measure(run, layout, commands, made=()):
        found = {size: spread(runs) for size, runs in alternate(commands, trials, made).items()}
        start = found[64]["median"]
        for size in sizes:
            seconds = found[size]["median"]
            results.append({"run": run, "size": size, "layout": layout, "seconds": seconds, "cpu": found[size]["cpu"], "trials": trials, "start": start,
                            "ns_a_pixel": seconds * 1e9 / size ** 2, "ns_without_start": (seconds - start) * 1e9 / size ** 2,
                            "peak_mb": found[size]["peak_mb"]})

    for layout in ("tiled", "stripped"):
        measure("sharpen", layout, {size: lambda size=size: ours(scene(size, 8, layout), out) for size in (64, *sizes)}, (out,))
    fused = {size: WORK / f"flat-{size}.tif" for size in (64, *sizes)}
    for size, file in fused.items():
        ours({**scene(size, 8), "threads": os.cpu_count()}, file)
    measure("assess", "tiled", {size: lambda size=size: assess(fused[size], scene(size, 8)) for size in fused})
    for file in fused.values():
        file.unlink()
    return results


def assess(fused, case):
    return timed([BIN / "pansharp", "assess", fused, "--pan", case["pan"], "--ms", case["ms"]])


def waits(size, trials):
    """Other runs that users wait for, on one scene with all processors."""
    case, out = {**scene(size, 8), "threads": os.cpu_count()}, WORK / "waits.tif"
    fused, pan, ms = WORK / "waits-fused.tif", case["pan"], case["ms"]
    gaps, ms_gaps, tilted = WORK / "waits-gaps.tif", WORK / "waits-ms-gaps.tif", WORK / "waits-tilted.tif"
    form = ["-q", "-co", "TILED=YES", "-co", "INTERLEAVE=PIXEL"]
    for command in (["gdal_translate", *form, "-a_nodata", "90", pan, gaps], ["gdal_translate", *form, "-a_nodata", "90", ms, ms_gaps],
                    ["gdalwarp", "-q", "-t_srs", "EPSG:32631", ms, tilted]):
        timed(command)
    ours({**case, "method": "default"}, fused)
    default, kova = {**case, "method": "default"}, {**case, "method": "kova"}
    commands = {"KOVA, bilinear, given weights": lambda: ours(kova, out),
                "KOVA, cubic": lambda: ours({**kova, "sampling": "cubic"}, out),
                "KOVA, bilinear, no data in pan": lambda: ours({**kova, "pan": gaps}, out),
                "KOVA, bilinear, no data in both images": lambda: ours({**kova, "pan": gaps, "ms": ms_gaps}, out),
                "KOVA, bilinear, a band that marks no data": lambda: ours(kova, out, ["--alpha"]),
                "KOVA, bilinear, bands in another projection": lambda: ours({**kova, "ms": tilted}, out),
                "default": lambda: ours(default, out),
                "default, no data in pan": lambda: ours({**default, "pan": gaps}, out),
                "assess": lambda: assess(fused, case),
                "compare": lambda: timed([BIN / "pansharp", "compare", pan, ms])}
    found = alternate(commands, trials, (out,))
    for file in (fused, gaps, ms_gaps, tilted):
        file.unlink(missing_ok=True)
    first = next(iter(found.values()))
    return {"size": size, "trials": trials, "rows": {name: {**spread(runs), "times": paired_ratio(runs, first, 2)} for name, runs in found.items()}}


def cases(trials):
    """Other bands, depths and ratios: processor time per output sample, without that of the start. The scene is so large that what does not
    grow with it counts little: how much the start varies, and the blocks that the default run fits to."""
    size = 8192
    kinds = [(4, 8, 4), (3, 8, 4), (1, 8, 4), (8, 8, 4), (4, 16, 4), (8, 16, 4), (4, 8, 2), (4, 8, 3), (4, 8, 5), (4, 16, 3), (4, 8, 7)]
    out, rows = WORK / "cases.tif", []
    for method in ("kova", "default"):
        commands = {}
        for bands, bits, ratio in kinds:
            case = {**scene(size // ratio * ratio, bits, "tiled", bands, ratio), "method": method}
            commands[bands, bits, ratio] = lambda case=case: ours(case, out)
        commands["start"] = lambda: ours({**scene(64, 8), "method": method}, out)
        found = alternate(commands, trials, (out,))
        start = spread(found.pop("start"))["cpu"]
        per_sample = {(bands, bits, ratio): [(run[2] - start) * 1e9 / ((size // ratio * ratio) ** 2 * bands) for run in runs]
                      for (bands, bits, ratio), runs in found.items()}
        for (bands, bits, ratio), ns in per_sample.items():
            rows.append({"method": method, "size": size, "bands": bands, "bits": bits, "ratio": ratio, "ns_a_sample": statistics.median(ns),
                         "times": statistics.median(of / other for of, other in zip(ns, per_sample[kinds[0]]))})
    return rows


def start(trials):
    """The start-up time of the program, compared with that of a GDAL program."""
    case, out = {**scene(64, 8), "method": "default"}, WORK / "start.tif"
    pairs = {"pansharp --version": "gdalinfo --version", "pansharp sharpen of 64²": "gdalinfo of a file"}
    found = alternate({"pansharp --version": lambda: timed([BIN / "pansharp", "--version"]),
                       "gdalinfo --version": lambda: timed(["gdalinfo", "--version"]),
                       "pansharp sharpen of 64²": lambda: ours(case, out),
                       "gdalinfo of a file": lambda: timed(["gdalinfo", case["pan"]])}, 5 * trials, (out,))
    return [{"ours": {"name": name, **spread(found[name])}, "theirs": {"name": other, **spread(found[other])},
             "times": paired_ratio(found[name], found[other], 0)} for name, other in pairs.items()]


def compressed(kinds, trials):
    """The fused image written compressed, compared with gdal_translate of the same pixels: all threads, the same options."""
    case, plain, out, theirs = {**scene(4096, 8), "threads": os.cpu_count()}, WORK / "plain.tif", WORK / "ours.tif", WORK / "peer.tif"
    plain.unlink(missing_ok=True)
    ours(case, plain)
    results = []
    for kind in kinds:
        form = "COG" if kind.startswith("COG-") else "GTiff"
        name, _, level = kind.removeprefix("COG-").partition("-")
        options = [f"COMPRESS={name}"] + (["TILED=YES"] if form == "GTiff" else [])
        options += [f"{'ZLEVEL' if name == 'DEFLATE' else 'ZSTD_LEVEL'}={level}"] if level else []
        our_options = [word for option in options for word in ("--co", option)]
        their_options = [word for option in options for word in ("-co", option)]
        files = {}

        def run(name, file, command):
            seconds = command()
            files[name] = (file.stat().st_size, checksum(file) if name not in files else files[name][1])
            return seconds

        translate = ["gdal_translate", "-q", "-of", form, *their_options, "-co", "NUM_THREADS=ALL_CPUS", plain, theirs]
        found = alternate({"plain": lambda: ours(case, out),
                           "ours": lambda: run("ours", out, lambda: ours(case, out, ["--of", form, *our_options])),
                           "gdal_translate": lambda: run("peer", theirs, lambda: timed(translate))}, trials, (out, theirs))
        if files["ours"][1] != files["peer"][1]:
            sys.exit(f"{kind}: not the same pixels")
        results.append({"kind": kind, **{name: spread(runs)["median"] for name, runs in found.items()},
                        "times": paired_ratio(found["gdal_translate"], found["ours"], 0), "of_plain": paired_ratio(found["ours"], found["plain"], 0),
                        "bytes": [files["ours"][0], files["peer"][0]], "of": plain.stat().st_size})
    for file in (plain, out, theirs):
        file.unlink(missing_ok=True)
    return results


def kernels():
    """Pixels per second of every kernel, median of 5."""
    text = subprocess.run([BIN / "kernel_bench", "--benchmark_format=json", "--benchmark_min_time=0.02", "--benchmark_repetitions=5",
                           "--benchmark_report_aggregates_only=true"], capture_output=True, text=True, check=True).stdout
    return {run["run_name"]: run["pixels"] for run in json.loads(text)["benchmarks"] if run["aggregate_name"] == "median"}


def windows():
    plugin = ROOT / "build/release/lib/Pansharp.process"
    return subprocess.run([BIN / "window_bench", plugin], capture_output=True, text=True, check=True).stdout.splitlines()


def head():
    cpu = next((line.split(":")[1].strip() for line in open("/proc/cpuinfo") if line.startswith("model name")), "unknown")
    git = subprocess.run(["git", "-C", ROOT, "rev-parse", "--short", "HEAD"], capture_output=True, text=True).stdout.strip()
    flags = next(line.split("=", 1)[1] for line in open(ROOT / "build/release/CMakeCache.txt")
                 if line.startswith("CMAKE_CXX_FLAGS_RELEASE:")).strip()
    compiler = subprocess.run(["c++", "--version"], capture_output=True, text=True).stdout.splitlines()[0]
    version = subprocess.run([BIN / "pansharp", "--version"], capture_output=True, text=True).stdout.splitlines()
    gdal = subprocess.run(["gdalinfo", "--version"], capture_output=True, text=True).stdout.split(",")[0]
    return {"processor": cpu, "processors": os.cpu_count(), "system": platform.system(), "compiler": compiler, "flags": flags,
            "commit": git, "program": version, "peer": gdal, "command": "bench/compare " + " ".join(sys.argv[1:])}
