"""Where the package, the library and the tool are, and what many tests begin with."""

import os
import shutil
import sys
from pathlib import Path

import numpy as np
import pytest

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "python"))
# Worker processes and scripts find it by this.
os.environ["PYTHONPATH"] = os.pathsep.join(
    [str(ROOT / "python"), *filter(None, [os.environ.get("PYTHONPATH")])])

INTEGERS = ["uint8", "int8", "uint16", "int16", "int32"]
DTYPES = ["bool", *INTEGERS, "float32"]


def random_image(seed, shape, dtype):
    """Samples over the whole range of a dtype, its ends among them."""
    rng = np.random.default_rng(seed)
    dtype = np.dtype(dtype)
    if dtype == bool:
        return rng.integers(0, 2, shape).astype(bool)
    if dtype.kind == "f":
        return (rng.random(shape) * 400 - 200).astype(np.float32)
    info = np.iinfo(dtype)
    image = rng.integers(info.min, info.max, shape, dtype=dtype, endpoint=True)
    flat = image.reshape(-1)
    flat[:2] = info.min, info.max
    return image


def clamp(values, dtype):
    """Exact integers limited to the range of a dtype."""
    info = np.iinfo(dtype)
    return np.clip(values, info.min, info.max).astype(dtype)


@pytest.fixture
def gray():
    return random_image(1, (41, 53), np.uint8)


@pytest.fixture
def rgb():
    return random_image(2, (37, 45, 3), np.uint8)


@pytest.fixture
def mask():
    return random_image(3, (41, 53), bool)


@pytest.fixture(scope="session")
def tool():
    """The command-line tool."""
    path = os.environ.get("MOX_TOOL") or str(ROOT / "build" / "release" / "bin" / "mox")
    if not os.path.exists(path):
        pytest.skip("the tool mox is not built")
    return path


@pytest.fixture(scope="session")
def compiler():
    """A C compiler."""
    for name in (os.environ.get("CC"), "cc", "gcc", "clang"):
        if name and shutil.which(name):
            return name
    pytest.skip("there is no C compiler")
