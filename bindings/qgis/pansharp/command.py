"""The command pansharp: its path, its options, and running it."""

import functools
import json
import os
import queue
import re
import shutil
import subprocess
import sys
import threading

SETTING = "PANSHARP_COMMAND"
_GRACE = 10  # seconds for a cancelled run to remove its unfinished files
# No console window on Windows.
_HIDDEN = {"creationflags": getattr(subprocess, "CREATE_NO_WINDOW", 0), "stdin": subprocess.DEVNULL}
_TEXT = {"encoding": "utf-8", "errors": "replace"}


class Missing(Exception):
    """No working command was found; the text says how to get one."""


class Failed(Exception):
    """The command ended with a code other than 0; the text is its own message."""

    def __init__(self, code, text):
        super().__init__(text)
        self.code = code


def _setting():
    from processing.core.ProcessingConfig import ProcessingConfig
    return ProcessingConfig.getSetting(SETTING)


def find():
    """The path of the program: from the settings, from the variable PANSHARP_COMMAND, or on the search path. Raises Missing."""
    for where, given in (("the settings of Processing", _setting()), (f"the variable {SETTING}", os.environ.get(SETTING))):
        if given:
            program = shutil.which(given)
            if not program:
                raise Missing(f"'{given}', named in {where}, is not a program. Correct it there.")
            return program
    program = shutil.which("pansharp")
    if program:
        return program
    if sys.platform == "win32":
        raise Missing("Pansharp has no command for Windows yet, and this plug-in runs that command. Use it in QGIS on Linux.")
    raise Missing("The command pansharp is not installed. On Debian 12, install its package: apt install ./pansharp_*.deb. Elsewhere, "
                  "build it. Then restart QGIS. If it is not on the search path, name it in Settings, Options, Processing, Providers, "
                  "Pansharp.")


def commands():
    """The commands by name, each with its options, from the program's own table. Raises Missing."""
    program = find()
    return _commands(program, os.stat(program).st_mtime_ns)


@functools.lru_cache(maxsize=1)
def _commands(program, changed):
    try:
        asked = subprocess.run([program, "--options-json"], stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=30, **_TEXT, **_HIDDEN)
        return {entry["name"]: entry for entry in json.loads(asked.stdout)["commands"]}
    except (OSError, subprocess.SubprocessError, ValueError, KeyError) as error:
        raise Missing(f"'{program}' does not list its options: {error}. Install the version of pansharp that this plug-in came with.") from error


def _lines(stream, name, told):
    for line in stream:
        told.put((name, line.rstrip("\r\n")))
    told.put((name, None))


def run(arguments, feedback):
    """Runs the command and returns its standard output. Progress, warnings and errors go to the feedback, in the command's words.

    When the feedback is cancelled, the program is ended and Failed is raised as well.
    """
    program = find()
    feedback.pushCommandInfo(" ".join(_quoted(argument) for argument in [program, *arguments]))
    process = subprocess.Popen([program, *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE, **_TEXT, **_HIDDEN)
    told = queue.Queue()
    streams = {"out": process.stdout, "err": process.stderr}
    for name, stream in streams.items():
        threading.Thread(target=_lines, args=(stream, name, told), daemon=True).start()
    output, errors, isWarning, canceled = [], [], False, False
    last = threading.Timer(_GRACE, process.kill)
    last.daemon = True
    while streams:
        if feedback.isCanceled() and not canceled:
            canceled = True
            process.terminate()
            last.start()
        try:
            name, line = told.get(timeout=0.1)
        except queue.Empty:
            continue
        if line is None:
            streams.pop(name).close()
        elif name == "out":
            output.append(line)
        elif (done := re.match(r"(\d+) % done", line)):
            feedback.setProgress(int(done[1]))
        else:  # continuation lines of a text are indented
            isWarning = line.startswith("pansharp: warning: ") or (isWarning and line.startswith(" "))
            if isWarning:
                feedback.pushWarning(line)
            else:
                errors.append(line)
    code = process.wait()
    last.cancel()
    if code != 0:
        raise Failed(code, "\n".join(errors).replace("pansharp: error: ", "", 1) or f"pansharp ended with code {code}")
    return "\n".join(output)


def _quoted(argument):
    return argument if re.fullmatch(r"[\w@%+=:,./-]+", argument) else "'" + argument.replace("'", "'\\''") + "'"
