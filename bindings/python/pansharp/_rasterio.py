"""The command ``rasterio pansharp``: ``pansharp sharpen`` as a command of rasterio."""

from __future__ import annotations

import functools
import json
import sys
from typing import Any

import click

from . import _options


class _Sharpen(click.Command):
    """Takes the options of the command ``pansharp sharpen`` from its own table, which is read when it is needed."""

    def get_params(self, ctx: click.Context) -> list[click.Parameter]:
        names = {name for parameter in self.params for name in parameter.opts}
        for option in _options.table("sharpen").values():
            if option.key not in names:
                self.params.append(click.Option([option.key], is_flag=option.count == 0, nargs=max(option.count, 1), multiple=option.repeatable,
                                                metavar=option.value or None, help=option.help))
        return super().get_params(ctx)


@click.command("pansharp", cls=_Sharpen, short_help="Pan-sharpen a raster.")
@click.argument("pan", required=True)
@click.argument("ms", nargs=-1)
@click.option("-o", "--output", required=True, metavar="FILE", help="file to write; it appears when it is complete")
@click.option("-q", "--quiet", is_flag=True, help="no progress bar")
def command(pan: str, ms: tuple[str, ...], output: str, quiet: bool, **given: Any) -> None:
    """Fuse PAN, sharp and with one band, with the bands of MS.

    MS is one file, or several; FILE,band=2 is one band of a file. The output is that of the command "pansharp sharpen".
    """
    texts = _options.texts("sharpen", {name: value for name, value in given.items() if value not in (None, False, ())})
    texts["--output"] = [output]

    def warn(text: str) -> None:
        click.echo(f"warning: {text}", err=True)
    run = functools.partial(_options.call, _options.engine().sharpen, [pan, *ms], texts)
    if quiet or not sys.stderr.isatty():
        report = json.loads(run(None, warn))
    else:
        with click.progressbar(length=1000, file=sys.stderr, label="pansharp") as bar:
            report = json.loads(run(lambda done, _: bar.update(round(done * 1000) - bar.pos), warn))
    if not report["ok"]:
        lines = [line for item in report["status"] for line in (item["message"], item["details"]) if line]
        click.echo("error: " + "\n  ".join(lines), err=True)
        sys.exit(report["exit_code"])
