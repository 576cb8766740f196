"""The library is found beside the package, by MOX_LIBRARY or on the system, or it is told."""

import os
import shutil
import subprocess
import sys
from pathlib import Path

import pytest
from conftest import ROOT

import mox._library

PACKAGE = ROOT / "python" / "mox"


def in_use():
    """The file of the library that the tests run with."""
    return Path(mox._library.lib._name).resolve()


def start(folder, library=None):
    """Imports the package of a folder in a process of its own."""
    environment = {name: value for name, value in os.environ.items()
                   if name not in ("MOX_LIBRARY", "PYTHONPATH")}
    environment["PYTHONPATH"] = str(folder)
    if library is not None:
        environment["MOX_LIBRARY"] = str(library)
    program = "import mox, mox._library; print(mox.library_version(), mox._library.lib._name)"
    return subprocess.run([sys.executable, "-c", program], env=environment, capture_output=True,
                          text=True, cwd=folder)


@pytest.fixture
def alone(tmp_path):
    """A copy of the package with nothing beside it."""
    shutil.copytree(PACKAGE, tmp_path / "site" / "mox",
                    ignore=shutil.ignore_patterns("__pycache__", "*.so*"))
    return tmp_path / "site"


def test_by_the_variable(alone):
    done = start(alone, in_use())
    assert done.returncode == 0, done.stderr
    assert str(in_use()) in done.stdout
    done = start(alone, in_use().parent)
    assert done.returncode == 0, done.stderr


@pytest.mark.parametrize("place", ["mox", ".", "lib"])
def test_beside_the_package(alone, place):
    (alone / place).mkdir(exist_ok=True)
    shutil.copy(in_use(), alone / place / "libmoxw7.so.2")
    done = start(alone)
    assert done.returncode == 0, done.stderr
    assert str(alone) in done.stdout


def test_missing(alone):
    done = start(alone)
    if done.returncode == 0:
        pytest.skip("a library is installed on this system")
    assert "LibraryNotFound" in done.stderr and "MOX_LIBRARY" in done.stderr
    for place in (alone / "mox" / "libmoxw7.so.2", alone / "lib" / "libmoxw7.so"):
        assert str(place) in done.stderr


def test_a_variable_that_leads_nowhere(alone, tmp_path):
    done = start(alone, tmp_path / "nowhere.so")
    assert "LibraryNotFound" in done.stderr and "nowhere.so" in done.stderr
    done = start(alone, tmp_path)
    assert "LibraryNotFound" in done.stderr and str(tmp_path / "libmoxw7.so.2") in done.stderr


def test_something_else(alone, tmp_path, compiler):
    file = tmp_path / "other.so"
    file.write_text("no library")
    done = start(alone, file)
    assert "LibraryNotFound" in done.stderr and "cannot be loaded" in done.stderr
    source = tmp_path / "other.c"
    source.write_text("int other(void) { return 1; }\n")
    subprocess.run([compiler, "-shared", "-fPIC", str(source), "-o", str(file)], check=True)
    done = start(alone, file)
    assert "LibraryNotFound" in done.stderr and "moxGetLibVersion" in done.stderr


def test_no_dependency_but_numpy(alone):
    """Dask is needed by mox.dask alone."""
    program = ("import sys, mox; print([name for name in sys.modules if name.split('.')[0] in "
               "('dask', 'distributed', 'zarr')])")
    environment = {**os.environ, "MOX_LIBRARY": str(in_use()), "PYTHONPATH": str(alone)}
    done = subprocess.run([sys.executable, "-c", program], env=environment, capture_output=True,
                          text=True)
    assert done.stdout.strip() == "[]", done.stderr
