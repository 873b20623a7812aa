"""Builds the teskpf._teskpf extension with the project's CMake build, for the
interpreter running this script (pybind11 from the system, nothing downloaded)."""

import os
import re
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = Path(__file__).resolve().parent


def project_version() -> str:
    """The version CMake's project() states: the one place it is written."""
    text = (ROOT / "CMakeLists.txt").read_text(encoding="utf-8")
    found = re.search(r"^project\(\w+\s+VERSION\s+([0-9.]+)", text, re.MULTILINE)
    if not found:
        raise RuntimeError("CMakeLists.txt: no project(NAME VERSION X.Y.Z)")
    return found.group(1)


class CMakeBuild(build_ext):
    def build_extension(self, ext: Extension) -> None:
        output_dir = Path(self.get_ext_fullpath(ext.name)).resolve().parent
        build_dir = Path(self.build_temp).resolve() / "cmake"
        subprocess.run(
            ["cmake", "-S", str(ROOT), "-B", str(build_dir), "-DCMAKE_BUILD_TYPE=Release",
             "-DTESKPF_BUILD_PYTHON=ON", "-DTESKPF_BUILD_TOOL=OFF", "-DTESKPF_BUILD_TESTS=OFF",
             f"-DPython_EXECUTABLE={sys.executable}", f"-DTESKPF_PYTHON_OUTPUT_DIR={output_dir}"],
            check=True)
        jobs = os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL", "2")
        subprocess.run(["cmake", "--build", str(build_dir), "--target", "_teskpf", "-j", jobs], check=True)


setup(version=project_version(),
      ext_modules=[Extension("teskpf._teskpf", sources=[])],
      cmdclass={"build_ext": CMakeBuild},
      options={"build": {"build_base": "build-python"}})
