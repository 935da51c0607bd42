"""Options of the command as keyword arguments: ``no_nodata=True`` for ``--no-nodata``, from the command's own table of options."""

from __future__ import annotations

import difflib
import functools
import itertools
import json
import numbers
import os
import re
from collections.abc import Callable, Iterable, Mapping
from dataclasses import dataclass
from typing import Any

from . import _arrays, _checks, _errors

# Options that Python replaces: by an argument, the result, exceptions or warnings.
_OTHERWISE = {"--output", "--json", "--quiet", "--verbose", "--status-xml"}


@dataclass(frozen=True)
class _Option:
    key: str
    value: str
    count: int
    repeatable: bool
    help: str

    @property
    def keyword(self) -> str:
        return self.key[2:].replace("-", "_")


def engine() -> Any:
    """The module for files. Raises ImportError if it, or a library that it needs, is missing."""
    try:
        from . import _files
    except ImportError as error:
        raise ImportError("the functions for files need a pansharp that was built with GDAL and oneTBB, and these libraries (on Debian "
                          f"libgdal32, libtbb12, libtiff6 and libxml2); the functions for arrays do without: {error}") from error
    return _files


@functools.lru_cache(None)
def table(command: str) -> dict[str, _Option]:
    """The options of a command by keyword."""
    known = (_Option(*entry) for entry in engine().options(command))
    return {option.keyword: option for option in known if option.key not in _OTHERWISE}


def options(command: str = "sharpen") -> dict[str, str]:
    """Keywords of the options that `sharpen`, `info` or `open` takes, each with its description.

    They are those of the command, with "_" for "-": ``bbox=(1, 2, 3, 4)`` for ``--bbox 1 2 3 4``, ``weights=(0.5, 0.5)`` for
    ``--weights 0.5,0.5``, ``gains=[(1, 0), (0, 1)]`` for ``--gains 1:0,0:1``, ``co={"COMPRESS": "LZW"}`` for ``--co COMPRESS=LZW``,
    ``alpha=True`` for ``--alpha``. None and False leave an option out.
    """
    return {keyword: f"{option.value}: {spoken(option.help)}" if option.value else spoken(option.help)
            for keyword, option in table(command).items()}


def _single(given: Any) -> str:
    """A number, a name or a path in the form of the command line."""
    if isinstance(given, bool):
        return "YES" if given else "NO"
    if isinstance(given, (str, os.PathLike)):
        return os.fsdecode(given)
    if isinstance(given, numbers.Integral):
        return str(int(given))
    if isinstance(given, numbers.Real):
        return repr(float(given))
    raise TypeError(f"{given!r} is not a number, text or path")


def _is_list(given: Any) -> bool:
    return isinstance(given, Iterable) and not isinstance(given, (str, bytes, os.PathLike, Mapping, set, frozenset))


def _items(given: Iterable[Any], most: int = _checks.MOST_ITEMS) -> list[Any]:
    """The items of a list, which may be endless. Raises TypeError beyond the limit."""
    items = list(itertools.islice(given, most + 1))
    if len(items) > most:
        raise TypeError(f"it has more than {most} items")
    return items


def _text(given: Any) -> str:
    if not _is_list(given):
        return _single(given)
    return ",".join(":".join(map(_single, _items(item, 100))) if _is_list(item) else _single(item) for item in _items(given))


def file(given: Any) -> str:
    """A file, or a pair of a file and one of its bands, counted from 1."""
    if isinstance(given, tuple) and len(given) == 2 and isinstance(given[1], numbers.Integral):
        return f"{os.fsdecode(given[0])},band={int(given[1])}"
    if not isinstance(given, (str, os.PathLike)):
        raise TypeError(f"{given!r} is not a file; give a path, or (path, band) for one band of it")
    return os.fsdecode(given)


def files(pan: Any, ms: Any) -> list[str]:
    several = isinstance(ms, list) or (isinstance(ms, tuple) and not (len(ms) == 2 and isinstance(ms[1], numbers.Integral)))
    return [file(pan)] + ([] if ms is None else [file(one) for one in ms] if several else [file(ms)])


def _coded(text: str) -> bytes:
    """The bytes of a text, also of a file name that is not valid in the encoding of the file system."""
    if "\0" in text:
        raise ValueError(f"{text!r} has a character NUL, which no file name and no option may have; leave it out")
    return os.fsencode(text)


def call(function: Callable[..., Any], files: list[str], texts: dict[str, list[str]], *others: Any) -> Any:
    """Calls a function of the engine with files and options."""
    return function([_coded(name) for name in files], {key: [_coded(text) for text in of] for key, of in texts.items()}, *others)


def _values(option: _Option, given: Any) -> list[str]:
    if option.count == 0:
        if given is not True:
            raise TypeError("it is True or False")
        return []
    if isinstance(given, Mapping) and option.repeatable:
        return [f"{name}={_single(value)}" for name, value in given.items()]
    if option.value.startswith("FILE[,band"):
        return [file(given)]
    if (option.repeatable or option.count > 1) and _is_list(given):
        return [_single(item) for item in _items(given)]
    return [_text(given)]


def texts(command: str, given: dict[str, Any]) -> dict[str, list[str]]:
    """The options for the engine, by their long forms."""
    known = table(command)
    found = {}
    for keyword, value in given.items():
        if keyword not in known:
            near = difflib.get_close_matches(keyword, known, 1)
            raise TypeError(f"{command}() has no option {keyword!r}{f'; did you mean {near[0]!r}' if near else ''}; "
                            f"pansharp.options({command!r}) lists all")
        if value is None or value is False:
            continue
        try:
            found[known[keyword].key] = _values(known[keyword], value)
        except TypeError as error:
            raise TypeError(f"{keyword} is {value!r}: {error}") from None
    if "plugin" in known:
        found.setdefault("--plugin", [_arrays.plugin_path()])
    return found


def spoken(text: str) -> str:
    """A text of the command, with option names as keywords of this package."""
    text = re.sub(r"'pansharp (\w+) --help'", r"pansharp.options('\1')", text)
    keys = {option.key: option for option in table("sharpen").values()}
    def keyword(found: re.Match[str]) -> str:
        option = keys.get(found[0])
        return found[0] if option is None else option.keyword + ("=True" if option.count == 0 else "")
    return re.sub(r"(?<![\w-])-o\b", "out", re.sub(r"(?<![\w-])--[a-z][a-z-]*[a-z]\b", keyword, text))


def result(report: str) -> dict[str, Any]:
    """The report of a successful run; raises the exception of a failed one."""
    found = json.loads(report)
    for item in found["status"]:
        item.update(message=spoken(item["message"]), details=spoken(item["details"]))
    if not found["ok"]:
        raise _errors.of_report(found)
    return found
