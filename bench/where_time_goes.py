"""Finds where the processor time of runs goes, with Linux's `perf`, and draws a picture of it."""
import os
import re
import subprocess
import sys

from comparison_runs import BIN, WORK, scene

# The first pattern that matches a sample's function, library and kernel call gives its kind.
KINDS = (("compress", r"libdeflate|libzstd|liblerc|LZW|Deflate|TIFFWriteEncoded"),
         ("fit", r"fitting::|quality::"),
         ("sample", r"Bilinear|Cubic|MapInVectors|MappedRow|MappedRaster|PixelMap|Across|Down|Sampler|SampledRaster|WholeSteps|PanToMultispectral"),
         ("low-pass", r"LowPass|Weigh|AreaSums"),
         ("fuse", r"Pansharp\.process|Fuse|Injection|Kova|Brovey"),
         ("mask", r"Valid|Mask|RowGaps|FindGaps|CountLimits|Collar|EndOfRun|NoData|Reach|FindValues|ClearValues|FourBands"),
         ("write", r"from_iter|write|ext4_da|OutputRow|OutputWindow|TileWriter|jbd2|dirty"),
         ("read", r"to_iter|filemap|readahead|libgdal|ReadPixels|read"),
         ("memory", r"memmove|memset|page|folio|mmap|munmap|alloc|list_|tlb"),
         ("start", r"ld-linux|libproj|libsqlite|_dl_|do_lookup"))
COLOURS = {"start": "#9aa0a6", "read": "#4e79a7", "sample": "#59a14f", "low-pass": "#8cd17d", "fit": "#b6992d", "fuse": "#e15759",
           "mask": "#b07aa1", "compress": "#f28e2b", "write": "#76b7b2", "memory": "#edc948", "other": "#d4d4d4", "wait": "#ffffff"}


def need_perf():
    if subprocess.run(["which", "perf"], stdout=subprocess.DEVNULL).returncode != 0:
        sudo = [] if os.geteuid() == 0 else ["sudo"]
        subprocess.run(sudo + ["apt-get", "install", "-y", "--no-install-recommends", "linux-perf"], check=True)


def profile(arguments):
    """Seconds by kind; the time of waiting processors is "wait"."""
    record = WORK / "perf.data"
    run = ["perf", "record", "-q", "-F", "2000", "-o", record, BIN / "pansharp", *arguments]
    if subprocess.run(list(map(str, run)), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode != 0:
        sys.exit(f"failed: {' '.join(map(str, run))}")
    lines = subprocess.run(["perf", "script", "-i", record, "-F", "time,period,ip,sym,dso"], capture_output=True, text=True, check=True).stdout
    seconds, moments = dict.fromkeys(COLOURS, 0.0), []
    for line in lines.splitlines():
        moment, period, rest = line.split(maxsplit=2)
        kind = next((kind for kind, pattern in KINDS if re.search(pattern, rest)), "other")
        seconds[kind] += int(period) / 1e9
        moments.append(float(moment.rstrip(":")))
    record.unlink()
    return {"wall": max(moments) - min(moments), "seconds": seconds}


def where(size):
    case, out = scene(size, 8), WORK / "where.tif"
    runs = {}
    for name, how in (("KOVA, bilinear", ["--method", "kova", "-r", "bilinear", "--weights", "equal"]), ("default", []),
                      ("default, no data", ["--nodata", "90"]), ("default, DEFLATE", ["--co", "COMPRESS=DEFLATE"])):
        out.unlink(missing_ok=True)
        runs[name] = profile(["sharpen", case["pan"], case["ms"], "-o", out, "--quiet", *how])
        busy = sum(runs[name]["seconds"].values())
        runs[name]["seconds"]["wait"] = max(runs[name]["wall"] * os.cpu_count() - busy, 0.0)
    out.unlink(missing_ok=True)
    return {"size": size, "processors": os.cpu_count(), "runs": runs}


def picture(found):
    """An SVG with a bar for each run, divided by the shares of all processors' time."""
    width, left, top, height = 720, 150, 40, 30
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width + left + 20} {top + 46 * len(found["runs"]) + 40}" '
             'font-family="sans-serif" font-size="13">', '<rect width="100%" height="100%" fill="#ffffff"/>']
    x = 20
    for kind, colour in COLOURS.items():
        parts.append(f'<rect x="{x}" y="10" width="12" height="12" fill="{colour}" stroke="#555" stroke-width="0.5"/>'
                     f'<text x="{x + 16}" y="21">{kind}</text>')
        x += 24 + 9 * len(kind)
    for row, (name, run) in enumerate(found["runs"].items()):
        y, x = top + 46 * row, float(left)
        parts.append(f'<text x="{left - 8}" y="{y + 20}" text-anchor="end">{name}</text>')
        whole = sum(run["seconds"].values())
        for kind, colour in COLOURS.items():
            share = run["seconds"][kind] / whole
            length = share * (width - 60)
            if length < 0.5:
                continue
            parts.append(f'<rect x="{x:.1f}" y="{y}" width="{length:.1f}" height="{height}" fill="{colour}" stroke="#555" '
                         f'stroke-width="0.5"><title>{kind}: {run["seconds"][kind]:.2f} s</title></rect>')
            if share > 0.035:
                parts.append(f'<text x="{x + length / 2:.1f}" y="{y + 20}" text-anchor="middle" font-size="11">'
                             f'{100 * share:.0f}</text>')
            x += length
        parts.append(f'<text x="{x + 6:.1f}" y="{y + 20}">{run["wall"]:.2f} s</text>')
    parts.append(f'<text x="{left}" y="{top + 46 * len(found["runs"]) + 14}" fill="#555">per cent of the time of {found["processors"]} '
                 'processors; at the end of a bar, how long the run took</text></svg>')
    return "\n".join(parts) + "\n"
