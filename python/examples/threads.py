#!/usr/bin/python3
"""Threads over bands of an image: calls let go of Python's lock, so that every core works.

    python3 threads.py [THREADS]

Each band is a region of the same two images. To a filter the rows around a region are input, so
that the bands together are the plain call, bit for bit.
"""

import os
import statistics
import sys
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import numpy as np

sys.path.insert(0, str(Path(__file__).resolve().parents[1]))

import mox  # noqa: E402

SIDE = 2048


def in_bands(pool, count, function, source, target):
    """Calls function(source, target) of bands of both images, all at once."""
    height, width = source.shape[:2]
    edges = [height * index // count for index in range(count + 1)]

    def work(top, bottom):
        region = 0, top, width, bottom - top
        function(mox.Image(source, region=region), mox.Image(target, region=region))

    list(pool.map(work, edges[:-1], edges[1:]))


def seconds(call):
    begin = time.perf_counter()
    call()
    return time.perf_counter() - begin


def main():
    threads = int(sys.argv[1]) if len(sys.argv) > 1 else os.cpu_count()
    source = np.random.default_rng(1).integers(0, 256, (SIDE, SIDE), dtype=np.uint8)
    template = source[1000:1021, 2000:2021].copy()
    plain, target = np.empty_like(source), np.empty_like(source)

    def function(a, out):
        mox.correlate(a, template, out, border="reflect")

    with ThreadPoolExecutor(threads) as pool:
        one, many = [], []
        for _ in range(5):
            one.append(seconds(lambda: function(source, plain)))
            many.append(seconds(lambda: in_bands(pool, threads, function, source, target)))
    assert (plain == target).all()
    first, second = statistics.median(one), statistics.median(many)
    print(f"a template of 21 x 21 in {SIDE} x {SIDE}: {first * 1000:.1f} ms, with {threads} threads "
          f"{second * 1000:.1f} ms, {first / second:.2f} times as fast")


if __name__ == "__main__":
    main()
