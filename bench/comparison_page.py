"""Writes docs/performance.md and docs/performance-kernels.md from the measurements of bench/compare."""
import textwrap

from comparison_runs import ROOT

def prose(text):
    """Wraps a text to readable lines in the source."""
    return textwrap.fill(" ".join(text.split()), 105, break_long_words=False, break_on_hyphens=False)


def table(head, rows):
    return "\n".join(["| " + " | ".join(head) + " |", "|---" * len(head) + "|", *("| " + " | ".join(row) + " |" for row in rows)])


def end_to_end_row(r):
    cpu = f", {r['ours']['cpu']:.2f}" if "cpu" in r["ours"] else ""
    return (f"{r['size']}² × {r['bands']}, {r['bits']}-bit", r["method"], str(r["threads"]),
            f"{r['ours']['median']:.2f} s ({r['ours']['least']:.2f}–{r['ours']['most']:.2f}{cpu})",
            f"{r['size'] ** 2 / 1e6 / r['ours']['median']:.0f}", f"{r['peer']['median']:.2f} s", f"{r['copy']['median']:.2f} s",
            f"**{r['times']:.1f} ×**", f"{r['ours']['peak_mb']:.0f} / {r['peer']['peak_mb']:.0f} MB")


def kernel_rows(pixels, base):
    """A row for each kernel that was compared with `base`, a table walk or the scalar definition."""
    fused = {name.split("/")[0] for name in pixels if "/table/" in name}
    targets = [t for t in ("avx3_dl", "avx3", "avx2", "sse4") if any(f"/{t}/" in name for name in pixels)]
    copy = base == "table"
    rows = [f"| kernel | {'table walk' if copy else base} | " + " | ".join(targets) + (" | copy |" if copy else " |"),
            "|---|---|" + "---|" * (len(targets) + copy)]
    for name, rate in pixels.items():
        if f"/{base}/" not in name or (name.split("/")[0] in fused) != copy:
            continue
        cells = [pixels[name.replace(f"/{base}/", f"/{target}/")] for target in targets]
        bytes_copied = f" {pixels['copy/' + name.split('/table/')[1]] / 1e6:.0f} |" if copy else ""
        rows.append(f"| {name.replace(f'/{base}/', ' ').replace('/', ', ')} | {rate / 1e6:.0f} | " +
                    " | ".join(f"{cell / 1e6:.0f} ({cell / rate:.1f} ×)" for cell in cells) + " |" + bytes_copied)
    return "\n".join(rows)


def measured_with(data, part):
    """A line that tells what a part was measured with, if it differs from the page's head."""
    head = data["heads"][part]
    if head == data["heads"]["results"]:
        return ""
    return f"Measured by `{head['command']}` at commit {head['commit']}, {head['processor']}."


def waits(data):
    found = data["waits"]
    rows = [(name, f"{run['median']:.2f} s ({run['least']:.2f}–{run['most']:.2f})", f"{run['cpu']:.2f} s",
             f"{run['times']:.2f} ×", f"{run['peak_mb']:.0f} MB") for name, run in found["rows"].items()]
    return [prose(f"{found['size']}² × 4, 8-bit, all threads, median of {found['trials']}. The ratio is the median of how many "
                  "times as much processor time a run took as the first row's in the same trial. `assess --pan --ms` judges the fused image; `compare` tries every method on the degraded pair."),
            table(("run", "time", "processors", "ratio", "peak memory"), rows)]


def where(data):
    found = data["where"]
    shares = []
    for name, run in found["runs"].items():
        most = sorted((kind for kind in run["seconds"] if kind != "wait"), key=lambda kind: -run["seconds"][kind])[:3]
        shares.append(f"{name}: " + ", ".join(f"{kind} {run['seconds'][kind]:.2f} s" for kind in most))
    return ["![Bars of the processor time of four runs, by what it was spent on](performance.svg)",
            prose(f"These runs fuse {found['size']}² × 4 samples of 8 bits; `perf` sampled them 2000 times a second. A bar is the time of "
                  f"{found['processors']} processors. In the white parts a processor waits for the disk, for the other one, or for the "
                  f"one thread that reads and writes files. Most time goes to: {'; '.join(shares)}."),
            prose("Without compression, moving bytes limits a run. The system copies every sample of the inputs and of the output once, and only one "
                  "thread at a time is in GDAL. With compression, the compressor limits it. It takes many times as long as fusing, and uses all "
                  "processors.")]


def cases(data):
    found = data["cases"]
    by_kind = {}
    for row in found:
        by_kind.setdefault((row["bands"], row["bits"], row["ratio"]), []).append(
            f"{row['ns_a_sample']:.2f} ns ({row['times']:.2f} ×)")
    return [prose(f"About {found[0].get('size', 4096)}² pixels, one thread. The table gives processor time without the start, per sample of the output; in "
                  "brackets, compared with the first row in the same trial. With one band, fewer samples share the time of reading pan. The blocks that the default "
                  "run fits to take about the same time in a scene of any size, so they count for more in a smaller one."),
            table(("bands", "bits", "ratio", "KOVA, bilinear, given weights", "default"),
                  [(*map(str, kind), *cells) for kind, cells in by_kind.items()])]


def start(data):
    rows = [(f"`{pair['ours']['name']}`", f"{1e3 * pair['ours']['median']:.0f} ms", f"`{pair['theirs']['name']}`",
             f"{1e3 * pair['theirs']['median']:.0f} ms", f"{pair['times']:.2f} ×") for pair in data["start"]]
    return [prose("Median of the whole command. The dynamic linker, GDAL's drivers and PROJ take most of the time in both programs."),
            table(("ours", "time", "GDAL's", "time", "ratio"), rows)]


def compressed(data):
    found = data["compressed"]
    rows = [(r["kind"], f"{r['ours']:.2f} s", f"{r['of_plain']:.1f} ×", f"{r['gdal_translate']:.2f} s",
             f"{r['times']:.2f} ×", f"{r['bytes'][0] / 1e6:.1f} / {r['bytes'][1] / 1e6:.1f} MB") for r in found]
    least = min((r for r in found if not r["kind"].startswith("COG")), key=lambda r: r["of_plain"], default=None)
    why = "" if least is None or least["of_plain"] <= 1.3 else (
        f"A GeoTIFF is not compressed unless you ask: the fastest compression, {least['kind']}, takes {least['of_plain']:.1f} × "
        "the time of a run without. More than 1.3 × is too much for a default.")
    return [prose(f"4096² × 4, 8-bit, all threads, median of {data['heads']['compressed']['trials']}. `pansharp` fuses and writes compressed. "
                  "`gdal_translate` only compresses the fused image, with the same options and `NUM_THREADS=ALL_CPUS`. A number after a "
                  f"compression is its level. {why}"),
            table(("compression", "pansharp", "of a run without", "gdal_translate", "ratio", "file size"), rows)]


def flat(data):
    rows = [(r.get("run", "sharpen"), f"{r['size']}²", r["layout"], f"{r['seconds']:.2f} s", f"{r['cpu']:.2f} s", f"{r['ns_a_pixel']:.2f} ns",
             f"{r['ns_without_start']:.2f} ns", f"{r['peak_mb']:.0f} MB") for r in data["flat"]]
    runs = "`sharpen` runs KOVA on one thread" + (
        ", `assess --pan --ms` judges its image on all." if any(r.get("run") == "assess" for r in data["flat"]) else ".")
    return [prose(f"Four bands of 8 bits, median of {data['flat'][0]['trials']}. {runs} Memory grows only with the width of a row of "
                  "tiles, not with the size of the image. Inputs that must be read as a whole need more: one strip for the whole image, JPEG 2000 without tiles. The command says so before it starts. The "
                  "start of the program, measured with a scene of 64², is "
                  f"{data['flat'][0]['start']:.2f} s, most of it the dynamic linker, GDAL and PROJ. With an output of some GB "
                  "the system's file cache takes most of the time: in a run by hand at 32768², 7.5 of 9.2 s were the system's."),
            table(("run", "scene", "input", "time", "processors", "per pixel", "without the start", "peak memory"), rows)]


def end_to_end(data):
    return [prose(f"The table gives the time of the whole command, the median of {data['heads']['results']['trials']} alternating trials (least–most, "
                  "processor time), and the peak memory of the process. Files are uncompressed tiled GeoTIFFs of one generated scene of ratio 4. "
                  '"Copy" only reads the inputs and copies the output file. KOVA and Brovey have given weights and bilinear sampling, and so has '
                  "the peer beside them. The default run and the peer beside it have no options. A ratio is the median of those of the trials."),
            table(("scene", "method", "threads", "pansharp", "Mpixel/s", "gdal_pansharpen.py", "copy", "ratio", "peak, ours / peer"),
                  map(end_to_end_row, data["results"])),
            prose("The peer has one method, a weighted Brovey. Its figures are repeated for KOVA and Brovey.")]


def kernels(data):
    return [prose("One thread, rows of 8192 random pixels, in Mpixel/s, median of 5. Brackets compare with a plain scalar walk through tables of "
                  'products, and for IHS with its scalar definition. "Copy" moves the bytes of the multispectral row, within the cache.'),
            kernel_rows(data["kernels"], "table"),
            prose("The row operators, the colour conversions and the second pass of the sampler, compared with their scalar definitions as the "
                  "compiler makes them:"),
            kernel_rows(data["kernels"], "scalar")]


def windows(data):
    return [prose("Through the plug-in, from `SetWindow` to the last `GetRow`, four bands, ratio 4, samples in memory (`window_bench`):"),
            "```text\n" + "\n".join(data["windows"]) + "\n```"]


SECTIONS = {"results": ("End to end", end_to_end), "where": ("Where the time goes", where), "waits": ("Other runs that people wait for", waits),
            "cases": ("Other bands, depths and ratios", cases), "flat": ("By size", flat), "compressed": ("Compressed output", compressed),
            "start": ("The start", start), "kernels": ("Kernels", kernels), "windows": ("Small windows", windows)}


PAGES = {"performance.md": ("Performance", ("results", "where", "waits", "cases", "flat", "compressed", "start"),
                            "[Performance of the kernels](performance-kernels.md) has the single kernels and small windows."),
         "performance-kernels.md": ("Performance of the kernels", ("kernels", "windows"), "This page has the single kernels and small windows; [Performance](performance.md) has whole runs.")}


def answer(data):
    """The answer that most readers look for, first."""
    ratios = [r["times"] for r in data["results"]]
    return (f"On the machine below, whole runs of `pansharp sharpen` are {min(ratios):.1f} to {max(ratios):.1f} times as fast as those of "
            "`gdal_pansharpen.py`.")


def pages(data):
    """The pages by file name, with the parts that were measured."""
    head = data["heads"]["results"]
    measured = prose(f"{head['processor']}, {head['processors']} processors; {head['compiler']}, {head['flags']}; commit {head['commit']}; "
                     f"{'; '.join(head['program'][:2]).replace(str(ROOT) + '/', '')}; peer {head['peer']}. `{head['command']}`")
    written = {}
    for name, (title, names, other) in PAGES.items():
        parts = [f"# {title}", prose(answer(data) + " " + other), measured,
                 prose("`bench/compare` writes this page from `bench/results/end-to-end.json`. Do not edit it by hand.")]
        for part in (part for part in names if part in data):
            heading, section = SECTIONS[part]
            parts += [f"## {heading}", *filter(None, [measured_with(data, part)]), *section(data)]
        written[name] = "\n\n".join(parts) + "\n"
    return written
