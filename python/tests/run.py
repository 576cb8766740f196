"""Runs the tests of the package; where what they need is missing it says so and exits with 77."""

import importlib.util
import sys
from pathlib import Path

SKIPPED = 77


def main():
    missing = [name for name in ("numpy", "pytest") if importlib.util.find_spec(name) is None]
    if missing:
        packages = " ".join(f"python3-{name}" for name in missing)
        print(f"skipped: {' and '.join(missing)} missing here (Debian: {packages})")
        return SKIPPED
    import pytest
    return pytest.main(["-q", "-p", "no:cacheprovider", str(Path(__file__).parent), *sys.argv[1:]])


# Worker processes import this file again.
if __name__ == "__main__":
    sys.exit(main())
