"""The package installed as a host installs it: pip, offline, into a fresh virtual environment."""

import os
import pathlib
import shutil
import subprocess
import sys

CHECKOUT = pathlib.Path(__file__).resolve().parents[2]


def test_pip_installs_a_package_importable_from_any_folder(tmp_path):
    # The interpreter may run under the sanitizer runtime; the build must not.
    env = {k: v for k, v in os.environ.items()
           if k not in ("LD_PRELOAD", "ASAN_OPTIONS", "PYTHONPATH")}
    if shutil.which("ccache"):
        env.setdefault("CMAKE_CXX_COMPILER_LAUNCHER", "ccache")
    venv = tmp_path / "venv"
    subprocess.run([sys.executable, "-m", "venv", "--system-site-packages", str(venv)],
                   check=True, env=env, timeout=120)
    python = str(venv / "bin" / "python")
    subprocess.run([python, "-m", "pip", "install", "-q", "--no-build-isolation", "--no-index",
                    str(CHECKOUT)], check=True, env=env, timeout=1200, capture_output=True)
    elsewhere = tmp_path / "elsewhere"
    elsewhere.mkdir()
    found = subprocess.run(
        [python, "-c", "import lomarind.workers.git_history as g; print(g.__file__)"],
        cwd=elsewhere, env=env, check=True, capture_output=True, text=True, timeout=60)
    assert pathlib.Path(found.stdout.strip()).is_relative_to(venv)
