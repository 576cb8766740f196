"""Runs the tests of the package; where what they need is missing it says so and exits with 77."""

import importlib.util
import sys
from pathlib import Path

SKIPPED = 77

missing = [name for name in ("numpy", "pytest") if importlib.util.find_spec(name) is None]
if missing:
    print(f"skipped: {' and '.join(missing)} missing here (Debian: "
          f"{' '.join('python3-' + name for name in missing)})")
    sys.exit(SKIPPED)

import pytest  # noqa: E402  (it may be missing)

sys.exit(pytest.main(["-q", "-p", "no:cacheprovider", str(Path(__file__).parent), *sys.argv[1:]]))
