#!/usr/bin/python3
"""A picture larger than memory, over worker processes: planned at 10^10 pixels, run at fewer.

    python3 large.py [SIDE]

Needs Dask with its distributed scheduler, and zarr.
"""

import sys
import tempfile
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1]))

import dask.array as da  # noqa: E402
import numpy as np  # noqa: E402
from distributed import Client, LocalCluster  # noqa: E402

import mox.dask as mxd  # noqa: E402


def smooth_outlines(picture):
    """The chain of this example: noise out, outlines, bits."""
    quiet = mxd.median_filter(picture, 3, border="replicate")
    outlines = mxd.fixed_filter(quiet, "laplacian_5x5", border="replicate")
    return mxd.threshold(outlines, 40)


def tell(name, picture):
    result = smooth_outlines(picture)
    block = max(np.prod([max(sides) for sides in picture.chunks]), 1)
    height, width = picture.shape
    print(f"{name}: {width} x {height} pixels in {picture.npartitions} blocks of "
          f"{block / 2**20:.0f} MB, {len(result.__dask_graph__())} tasks")
    return result


def rings(block_info=None):
    """A block of a pattern, computed where it is needed."""
    (top, bottom), (left, right) = block_info[None]["array-location"]
    y, x = np.mgrid[top:bottom, left:right]
    return ((x * x // 97 + y * y // 131 + x * y % 7) % 256).astype(np.uint8)


def pattern(side, block):
    blocks = da.core.normalize_chunks(block, (side, side))
    return da.map_blocks(rings, chunks=blocks, dtype=np.uint8, meta=np.empty((0, 0), np.uint8))


def main():
    side = int(sys.argv[1]) if len(sys.argv) > 1 else 8000
    tell("planned", pattern(100_000, 4096))
    with tempfile.TemporaryDirectory() as folder, \
            LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None) as cluster, \
            Client(cluster):
        pattern(side, 1024).to_zarr(f"{folder}/picture.zarr")
        result = tell("run", da.from_zarr(f"{folder}/picture.zarr"))
        begin = time.perf_counter()
        result.to_zarr(f"{folder}/outlines.zarr")
        elapsed = time.perf_counter() - begin
        found = mxd.norm(da.from_zarr(f"{folder}/outlines.zarr"), kind="l1").compute()
        print(f"{side * side / elapsed / 1e6:.0f} million pixels a second by two processes, "
              f"{found / side / side:.1%} of them outlines")


if __name__ == "__main__":
    main()
