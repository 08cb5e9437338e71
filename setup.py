"""Builds the lomarind package: CMake compiles the _lomarind extension from
the C++ library, setuptools installs it with the package's .py files.

Needs no network: the compiler, CMake and the libraries come from the
Debian packages of scripts/install-deps.sh. Install with
    python3 -m pip install --no-build-isolation .
LOMARIND_BUILD_JOBS sets the parallel compile jobs (default 2).
"""

import os
import shutil
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, find_packages, setup
from setuptools.command.build_ext import build_ext

SOURCE = Path(__file__).resolve().parent


class CMakeBuild(build_ext):
    """Builds the one extension with the project's own CMake files."""

    def build_extension(self, ext):
        build = Path(self.build_temp).resolve() / "cmake"
        self._cmake("-S", str(SOURCE), "-B", str(build), "-DCMAKE_BUILD_TYPE=Release",
                    "-DLOMARIND_BUILD_PYTHON=ON", "-DLOMARIND_BUILD_TESTS=OFF",
                    f"-DPython3_EXECUTABLE={sys.executable}")
        self._cmake("--build", str(build), "--target", "_lomarind",
                    "-j", os.environ.get("LOMARIND_BUILD_JOBS", "2"))
        built = next((build / "python" / "lomarind").glob("_lomarind*.so"))
        target = Path(self.get_ext_fullpath(ext.name))
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(built, target)

    @staticmethod
    def _cmake(*args):
        subprocess.run(["cmake", *args], check=True, stdout=subprocess.DEVNULL)


setup(
    packages=find_packages("python"),
    package_dir={"": "python"},
    ext_modules=[Extension("lomarind._lomarind", sources=[])],
    cmdclass={"build_ext": CMakeBuild},
    # Beside, not inside, a developer's CMake build folder.
    options={"build": {"build_base": "build-pip"}, "egg_info": {"egg_base": "build-pip"}},
)
