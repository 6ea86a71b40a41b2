"""Makes a wheel of what CMake builds: python3 -m build --wheel --no-isolation python

EARSHOT_BUILD             a build that is there already, instead of one of its own; a relative path
                          starts from the project's folder
EARSHOT_SYSTEM_LIBRARIES  1: without libearshot.so.0 and libearshot-scene.so.0, which the system has
                          (build with CMAKE_SKIP_INSTALL_RPATH then)
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py
from setuptools.command.sdist import sdist
from wheel.bdist_wheel import bdist_wheel

PROJECT = pathlib.Path(__file__).resolve().parent.parent
BUILD = os.environ.get("EARSHOT_BUILD")


def found(pattern, path):
    match = re.search(pattern, path.read_text()) if path.is_file() else None
    if match is None:
        sys.exit(f"earshot: {path}: no version of the project is in it; name its build with "
                 "EARSHOT_BUILD, or call this where its sources are")
    return match.group(1)


def version():
    if BUILD:
        return found(r"CMAKE_PROJECT_VERSION:STATIC=(\S+)", PROJECT / BUILD / "CMakeCache.txt")
    return found(r"project\(earshot VERSION (\S+)", PROJECT / "CMakeLists.txt")


def cmake(*arguments):
    if subprocess.run(["cmake", *map(str, arguments)]).returncode != 0:
        sys.exit("earshot: CMake failed; scripts/setup installs what building needs")


def built(folder):
    """The folder of a build that has the package."""
    if BUILD:
        return PROJECT / BUILD
    cmake("-S", PROJECT, "-B", folder, "-DCMAKE_BUILD_TYPE=Release",
          f"-DPython3_EXECUTABLE={sys.executable}")
    cmake("--build", folder, "--target", "earshot_python", "--parallel", os.cpu_count() or 1)
    return folder


class BuildPackage(build_py):
    """CMake's install rules put the whole package into its place."""

    def run(self):
        folder = built(pathlib.Path(self.get_finalized_command("build").build_temp).absolute())
        shutil.rmtree(pathlib.Path(self.build_lib) / "earshot", ignore_errors=True)
        parts = ["python"]
        if os.environ.get("EARSHOT_SYSTEM_LIBRARIES") != "1":
            parts.append("python-libraries")
        for part in parts:
            cmake("--install", folder, "--component", part, "--prefix",
                  pathlib.Path(self.build_lib).absolute())
        package = pathlib.Path(self.build_lib) / "earshot"
        if not list(package.glob("_library*.so")):
            sys.exit(f"earshot: {folder} has no Python package; CMake says why when it configures")
        self.replace_links(package)

    @staticmethod
    def replace_links(package):
        """A wheel has no symbolic links."""
        for link in [path for path in package.iterdir() if path.is_symlink()]:
            link.resolve().rename(link)


class NoSourceDistribution(sdist):
    def run(self):
        sys.exit("earshot: a source distribution would lack the library's sources; make a wheel: "
                 "python3 -m build --wheel --no-isolation python")


class Wheel(bdist_wheel):
    def get_tag(self):
        return "cp39", "abi3", super().get_tag()[2]


class CompiledDistribution(Distribution):
    def has_ext_modules(self):
        return True


setup(version=version(), distclass=CompiledDistribution,
      cmdclass={"build_py": BuildPackage, "sdist": NoSourceDistribution, "bdist_wheel": Wheel})
