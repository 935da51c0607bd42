"""The command ``python3 -m pansharp.distributed``."""

from __future__ import annotations

import argparse
import logging
import math
import os
import re
import signal
import sys
import warnings
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from typing import Any

import pansharp


def _name_value(text: str) -> str:
    if "=" not in text.strip("="):
        raise argparse.ArgumentTypeError(f"'{text}' is not NAME=VALUE")
    return text


def _size(text: str) -> tuple[int, int]:
    sides = text.lower().split("x")
    if len(sides) > 2 or not all(side.isdecimal() for side in sides):
        raise argparse.ArgumentTypeError(f"'{text}' is not a size; give 4096, or COLUMNSxROWS")
    return int(sides[0]), int(sides[-1])


def _count(text: str) -> int:
    if not text.isdecimal() or not 1 <= int(text) <= 4096:
        raise argparse.ArgumentTypeError(f"'{text}' is not a number of 1 to 4096")
    return int(text)


def _amount(text: str) -> float:
    try:
        value = float(text)
    except ValueError:
        value = math.nan
    if not 0 <= value < math.inf:
        raise argparse.ArgumentTypeError(f"'{text}' is not a number of 0 or more")
    return value


def _address(text: str) -> str:
    form = re.fullmatch(r"((tcp|tls|ws|wss|ucx)://)?([^\s:/\[\]]+|\[[0-9A-Fa-f:.]+\]):([0-9]{1,5})", text)
    if not form or not 1 <= int(form[4]) <= 65535:
        raise argparse.ArgumentTypeError(f"'{text}' is not an address; give one such as tcp://host:8786")
    return text


def _add_running(parser: argparse.ArgumentParser) -> None:
    where = parser.add_mutually_exclusive_group()
    where.add_argument("--scheduler", metavar="ADDRESS", type=_address, help="hand the work to this scheduler, such as tcp://host:8786")
    where.add_argument("--workers", metavar="N", type=_count, help="start N workers on this machine (default: one per processor)")
    parser.add_argument("--attempts", metavar="N", type=_count, default=3, help="how often something may fail before it is given up (3)")
    parser.add_argument("--patience", metavar="SECONDS", type=_amount, default=300.0,
                        help="seconds to wait for a scheduler, and for workers that have gone (300)")
    parser.add_argument("--time-limit", metavar="SECONDS", type=_amount, default=0.0, help="give up a scene that takes longer (none)")
    parser.add_argument("--json", action="store_true", help="print events as lines of JSON on standard output")
    parser.add_argument("-q", "--quiet", action="store_true", help="print warnings and failures only")


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(prog="python3 -m pansharp.distributed", description="Fuses scenes on many processes or machines.")
    parser.add_argument("--version", action="version", version=f"pansharp {pansharp.__version__}")
    commands = parser.add_subparsers(dest="command", required=True)
    sharpen = commands.add_parser("sharpen", help="one scene in parts", description="Fuses one scene in parts, and lays them together: "
                                  "OUT/parts/*.tif and OUT/mosaic.vrt. Run again, it makes what is missing.")
    sharpen.add_argument("inputs", nargs="+", metavar="SCENE.pansharp | PAN MS ...", help="a description, or a pair, which is fitted first")
    sharpen.add_argument("out", metavar="OUT/", help="the folder to write, or /vsis3/BUCKET/NAME and the like")
    sharpen.add_argument("--part", metavar="N|COLUMNSxROWS", type=_size, help="pixels of a part, multiples of 256 "
                         "(4096 x 4096, or whole rows with that number of pixels if pan is stored in strips)")
    sharpen.add_argument("--co", metavar="NAME=VALUE", action="append", type=_name_value, default=[], help="creation option of the parts")
    sharpen.add_argument("--single", metavar="FILE", help="also copy all of it into one file")
    sharpen.add_argument("--single-of", metavar="FORMAT", choices=["GTiff", "COG"], default="GTiff", help="GTiff or COG (GTiff)")
    sharpen.add_argument("--single-co", metavar="NAME=VALUE", action="append", type=_name_value, default=[], help="its creation option")
    sharpen.add_argument("--overwrite", action="store_true", help="replace the file of --single if it exists, "
                         "and files in OUT/ that no such job has made")
    sharpen.add_argument("--option", metavar="NAME=VALUE", action="append", type=_name_value, default=[],
                         help="for a pair: an option of pansharp sharpen, such as method=KOVA")
    sharpen.add_argument("--no-check", action="store_true", help="do not read all inputs first to see whether they have changed")
    _add_running(sharpen)
    batch = commands.add_parser("batch", help="many scenes", description="Sharpens the scenes of a list, as pansharp batch does: the list and "
                                "the results, OUT/batch.jsonl, are the same. OUT/summary.csv has a line for each scene.")
    batch.add_argument("scenes", nargs="+", metavar="LIST.jsonl|PRODUCT", help="lists, products, or .pansharp files")
    batch.add_argument("out", metavar="OUT/", help="the folder to write into")
    batch.add_argument("--share", action="store_true", help="use the weights, or blur and gains, of the first scene for all scenes after it")
    batch.add_argument("--parts-above", metavar="MEGAPIXELS", type=_amount, help="fuse larger pairs in parts, one "
                       "after the other; products, descriptions, formats other than GTiff and COG, and scenes with mo, srcwin, byte or preview "
                       "stay one task each")
    batch.add_argument("--option", metavar="NAME=VALUE", action="append", type=_name_value, default=[],
                       help="an option of pansharp sharpen for all scenes, such as method=KOVA")
    _add_running(batch)
    return parser


def _leave_interrupts() -> None:
    """For each worker: only the command handles Ctrl-C, and it ends the workers."""
    signal.signal(signal.SIGINT, signal.SIG_IGN)


@contextmanager
def _clients(arguments: argparse.Namespace) -> Iterator[Callable[[], Any]]:
    """The function that makes the client. Workers on this machine are started with it and ended with the job."""
    import distributed

    from . import _connection
    opened: list[Any] = []
    for name in "client", "batched", "utils":  # the job itself reports a lost scheduler
        logging.getLogger(f"distributed.{name}").setLevel(logging.CRITICAL)

    def make() -> Any:
        if arguments.scheduler is not None:
            return _connection.connect(arguments.scheduler, arguments.patience)
        cluster = _connection.start(arguments.workers)
        client = distributed.Client(cluster, set_as_default=False)
        opened.append(cluster)
        client.register_worker_callbacks(_leave_interrupts)
        return client
    try:
        yield make
    finally:
        for one in opened:
            one.close()


def _options(typed: list[str]) -> dict[str, Any]:
    """A name that occurs twice gets a list of values; True sets an option without a value."""
    options: dict[str, Any] = {}
    for option in typed:
        name, value = option.split("=", 1)
        name = name.lstrip("-").replace("-", "_")
        if value == "True":
            options[name] = True
        else:
            options[name] = [*options[name], value] if name in options else value if name != "co" else [value]
    return options


def _batch(arguments: argparse.Namespace, tell: Any) -> int:
    from . import Limits, batch
    with _clients(arguments) as client:
        outcome = batch(client, arguments.scenes, arguments.out, time_limit=arguments.time_limit, share=arguments.share,
                        parts_above=arguments.parts_above, limits=Limits(arguments.attempts, arguments.patience), tell=tell,
                        **_options(arguments.option))
    counts = {status: outcome.count(status) for status in ("done", "skipped", "failed")}
    text = f"{len(outcome.results)} scenes in {outcome.seconds:.1f} s: " + ", ".join(f"{count} {status}" for status, count in counts.items())
    text += "" if outcome.ok else f"; {os.path.join(arguments.out, 'batch.jsonl')} says why"
    tell("end", ok=outcome.ok, seconds=outcome.seconds, **counts, text=text)
    return 0 if outcome.ok else 1


def _sharpen(arguments: argparse.Namespace, tell: Any) -> int:
    from . import Limits, sharpen
    options = _options(arguments.option)
    with _clients(arguments) as client:
        outcome = sharpen(client, arguments.inputs[0], arguments.inputs[1:] or None, arguments.out, part=arguments.part, co=arguments.co,
                          single=arguments.single, single_format=arguments.single_of, single_co=arguments.single_co,
                          overwrite=arguments.overwrite, check=not arguments.no_check, time_limit=arguments.time_limit,
                          limits=Limits(arguments.attempts, arguments.patience), tell=tell, **options)
    text = (f"{outcome.mosaic or 'no mosaic'}: {outcome.made} of {outcome.count} parts made in {outcome.seconds:.1f} s, "
            f"{outcome.count - outcome.made - len(outcome.failed)} were there, {len(outcome.failed)} failed"
            + (f"; {os.path.join(arguments.out, 'report.json')} names them" if outcome.failed else ""))
    tell("end", ok=outcome.ok, mosaic=outcome.mosaic, single=outcome.single, count=outcome.count, made=outcome.made,
         failed=outcome.failed, seconds=outcome.seconds, text=text)
    return 0 if outcome.ok else 1


def main() -> int:
    arguments = _parser().parse_args()
    try:
        from ._seen import Seen
        from . import _scene  # noqa: F401
    except ImportError as error:
        print(f"pansharp: error: {error}; pansharp.distributed needs dask, distributed and GDAL's module osgeo (on Debian python3-dask, "
              "python3-distributed and python3-gdal)", file=sys.stderr)
        return 1
    tell = Seen(as_json=arguments.json, quiet=arguments.quiet)
    warnings.simplefilter("ignore", ResourceWarning)
    try:
        return (_batch if arguments.command == "batch" else _sharpen)(arguments, tell)
    except KeyboardInterrupt:
        print("\npansharp: interrupted; run it again to make what is missing", file=sys.stderr)
        return 130
    except (pansharp.Error, OSError, ValueError, TypeError, ImportError) as error:
        tell("failed", text=str(error))
        return 2 if isinstance(error, (ValueError, TypeError)) else 1


if __name__ == "__main__":
    sys.exit(main())
