"""The page of examples is what its script makes, and the other examples run."""

import os
import re
import struct
import subprocess
import sys
import zlib

import numpy as np
import pytest
from conftest import ROOT

import mox._library

EXAMPLES = ROOT / "python" / "examples"


def run(script, *arguments):
    environment = {**os.environ, "MOX_LIBRARY": mox._library.lib._name}
    done = subprocess.run([sys.executable, "-B", str(EXAMPLES / script), *map(str, arguments)],
                          env=environment, capture_output=True, text=True, timeout=100)
    assert done.returncode == 0, done.stderr
    return done.stdout


def read_png(path):
    """The rows of a picture, whatever its bytes were compressed to."""
    data = path.read_bytes()
    place, rows, size = 8, b"", None
    while place < len(data):
        length, kind = struct.unpack_from(">I4s", data, place)
        body = data[place + 8:place + 8 + length]
        if kind == b"IHDR":
            size = body
        if kind == b"IDAT":
            rows += body
        place += 12 + length
    return size, zlib.decompress(rows)


def test_the_page(tmp_path):
    run("page.py", tmp_path)
    assert (EXAMPLES / "README.md").read_text() == (tmp_path / "README.md").read_text()
    made = sorted(path.name for path in (tmp_path / "pictures").iterdir())
    assert made == sorted(path.name for path in (EXAMPLES / "pictures").iterdir())
    for name in made:
        kept, new = (read_png(folder / "pictures" / name) for folder in (EXAMPLES, tmp_path))
        assert kept == new, name


def test_pictures_are_small():
    for path in (EXAMPLES / "pictures").iterdir():
        assert path.stat().st_size < 30_000


def test_threads():
    told = run("threads.py", 2)
    assert re.search(r"with 2 threads \d+\.\d ms", told)


def test_larger_than_memory():
    pytest.importorskip("distributed")
    pytest.importorskip("zarr")
    told = run("large.py", 1500)
    assert "planned: 100000 x 100000 pixels in 625 blocks" in told
    assert "run: 1500 x 1500" in told


def test_the_benchmark_runs():
    environment = {**os.environ, "MOX_LIBRARY": mox._library.lib._name}
    done = subprocess.run([sys.executable, "-B", str(ROOT / "python" / "bench.py"), "--seconds",
                           "0.01", "--sizes", "16"], env=environment, capture_output=True,
                          text=True)
    assert done.returncode == 0, done.stderr
    assert len(done.stdout.splitlines()) == 5


def test_code_of_the_guides():
    """The pieces of code in the package's page and in the guide run."""
    for page in (ROOT / "python" / "README.md", ROOT / "docs" / "guide.md"):
        names = {"np": np, "mox": mox}
        rng = np.random.default_rng(1)
        names["a"], names["b"] = (rng.integers(0, 256, (60, 80, 3), dtype=np.uint8) for _ in "ab")
        names["cover"] = rng.integers(0, 2, (60, 80)).astype(bool)
        pieces = re.findall(r"```python\n(.*?)```", page.read_text(), flags=re.S)
        assert pieces, page
        for piece in pieces:
            if "dask" in piece:
                pytest.importorskip("dask.array")
            if "# not run here" not in piece:
                exec(piece, names)
