"""Builds the compiled half of the Python package with CMake and puts it into the wheel: modules, library and plug-in.

PANSHARP_BUILD names an existing build tree to use instead of a new one.
"""

import os
import pathlib
import re
import subprocess
import sys

import setuptools
from setuptools.command.build_ext import build_ext

root = pathlib.Path(__file__).resolve().parent
version = re.search(r"project\(pansharp VERSION (\S+)", (root / "CMakeLists.txt").read_text())[1]


class BuildByCMake(build_ext):
    def run(self):
        if self.inplace:
            raise SystemExit("pansharp is not installed in place: put python/ of a build tree on PYTHONPATH, or leave --editable out")
        given = os.environ.get("PANSHARP_BUILD")
        tree = pathlib.Path(given).resolve() if given else pathlib.Path(self.build_temp).resolve() / "cmake"
        if not given:
            subprocess.run(["cmake", "-S", root, "-B", tree, "-G", "Ninja", "-D", "CMAKE_BUILD_TYPE=Release", "-D", "PANSHARP_HARDEN=ON",
                            "-D", "CMAKE_UNITY_BUILD=ON", "-D", "PANSHARP_TESTS=OFF", "-D", "PANSHARP_PYTHON=ON",
                            "-D", f"PANSHARP_HOST={os.environ.get('PANSHARP_HOST', 'ON')}", "-D", f"Python3_EXECUTABLE={sys.executable}"], check=True)
        subprocess.run(["cmake", "--build", tree, "--target", "python_package"], check=True)
        subprocess.run(["cmake", "--install", tree, "--component", "wheel", "--strip", "--prefix", pathlib.Path(self.build_lib).resolve()],
                       check=True)


# The extension gives the wheel the name of this platform and interpreter; CMake builds what it needs.
setuptools.setup(version=version, cmdclass={"build_ext": BuildByCMake},
                 ext_modules=[setuptools.Extension("pansharp._arrays", ["bindings/python/Arrays.cpp"])])
