#!/usr/bin/python3
"""What a call costs from Python: small arrays beside other libraries, large ones beside the C call.

The C call is a loop in C over the same function with the headers ready, compiled here by cc. All
that stands in one row is measured in turns, in one run; numbers are medians, the last column of
calls one by one. OpenCV and Pillow are left
out where they are not installed.
"""

import argparse
import ctypes
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import numpy as np

sys.path.insert(0, str(Path(__file__).resolve().parent))

import mox  # noqa: E402
from mox import _images  # noqa: E402
from mox._library import lib  # noqa: E402

try:
    import cv2
    cv2.setNumThreads(1)
except ImportError:
    cv2 = None
try:
    from PIL import Image, ImageChops, ImageFilter
except ImportError:
    Image = None

LOOP = """
#include <time.h>
typedef void (*Call)(void *, void *, void *, long, long, long);
double loop(void *call, void *a, void *b, void *c, long d, long e, long f, long count) {
    struct timespec begin, end;
    clock_gettime(CLOCK_MONOTONIC, &begin);
    for (long i = 0; i < count; i++) ((Call)call)(a, b, c, d, e, f);
    clock_gettime(CLOCK_MONOTONIC, &end);
    double seconds = (double)(end.tv_sec - begin.tv_sec);
    return (seconds + 1e-9 * (double)(end.tv_nsec - begin.tv_nsec)) / (double)count;
}
"""


def c_loop(folder):
    """The loop in C, or None without a compiler."""
    compiler = os.environ.get("CC") or shutil.which("cc")
    if not compiler:
        return None
    source = Path(folder) / "loop.c"
    source.write_text(LOOP)
    library = Path(folder) / "loop.so"
    subprocess.run([compiler, "-O2", "-shared", "-fPIC", str(source), "-o", str(library)],
                   check=True)
    loop = ctypes.CDLL(str(library)).loop
    loop.restype = ctypes.c_double
    loop.argtypes = [ctypes.c_void_p] * 4 + [ctypes.c_long] * 4
    return loop


def timer(call):
    """A function that makes a call so many times and returns its seconds."""
    def run(count):
        begin = time.perf_counter()
        for _ in range(count):
            call()
        return (time.perf_counter() - begin) / count
    return run


def measure(variants, seconds):
    """Medians in microseconds of several variants, which take turns; slow ones fewer of them."""
    counts = {name: max(1, int(0.001 / run(5))) for name, run in variants.items()}
    times = {name: [] for name in variants}
    spent = dict.fromkeys(variants, 0.0)
    share = seconds / len(variants)
    while any(used < share for used in spent.values()):
        for name, run in variants.items():
            if spent[name] < share or len(times[name]) < 3:
                value = run(counts[name])
                times[name].append(value)
                spent[name] += value * counts[name]
    return {name: 1e6 * statistics.median(values) for name, values in times.items()}


def beside(first, second, seconds):
    """The median of first's time over that of second's, call by call in turns."""
    times = [], []
    end = time.perf_counter() + seconds
    while time.perf_counter() < end:
        for run, kept in ((first, times[0]), (second, times[1])):
            run(1)
            kept.append(run(1))
    return statistics.median(times[0]) / statistics.median(times[1])


def c_variant(loop, function, images, numbers):
    """A loop of C calls with headers of these arrays."""
    lents = [_images.lend(image) for image in images]
    places = [ctypes.addressof(lent.record) for lent in lents]
    arguments = [*places, *numbers, 0, 0, 0, 0][:6]
    address = ctypes.cast(function, ctypes.c_void_p)

    def run(count, keep=lents):
        return loop(address, *arguments, count)
    return run


def rows(size, loop):
    """The benchmarks at a size: a name, and its variants."""
    rng = np.random.default_rng(1)
    a, b = (rng.integers(0, 256, (size, size), dtype=np.uint8) for _ in range(2))
    out = np.empty_like(a)
    sums = {"mox": timer(lambda: mox.add(a, b)), "mox, out=": timer(lambda: mox.add(a, b, out))}
    blurs = {"mox": timer(lambda: mox.blur(a, 5)), "mox, out=": timer(lambda: mox.blur(a, 5, out))}
    medians = {"mox": timer(lambda: mox.median_filter(a, 3)),
               "mox, out=": timer(lambda: mox.median_filter(a, 3, out))}
    if loop:
        sums["C"] = c_variant(loop, lib.moxAdd, (a, b, out), ())
        blurs["C"] = c_variant(loop, lib.moxBlur, (a, out), (5, 5, 2, 2))
        medians["C"] = c_variant(loop, lib.moxMedianFilter, (a, out), (3, 3, 1, 1))
    if cv2:
        sums["OpenCV"] = timer(lambda: cv2.add(a, b))
        sums["OpenCV, dst="] = timer(lambda: cv2.add(a, b, out))
        blurs["OpenCV"] = timer(lambda: cv2.blur(a, (5, 5)))
        blurs["OpenCV, dst="] = timer(lambda: cv2.blur(a, (5, 5), out))
        medians["OpenCV"] = timer(lambda: cv2.medianBlur(a, 3))
        medians["OpenCV, dst="] = timer(lambda: cv2.medianBlur(a, 3, out))
    if Image:
        first, second = Image.fromarray(a), Image.fromarray(b)
        sums["Pillow"] = timer(lambda: ImageChops.add(first, second))
        blurs["Pillow"] = timer(lambda: first.filter(ImageFilter.BoxBlur(2)))
        medians["Pillow"] = timer(lambda: first.filter(ImageFilter.MedianFilter(3)))
    return {"sum": sums, "blur 5 x 5": blurs, "median 3 x 3": medians}


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    parser.add_argument("--seconds", type=float, default=2.0, help="for each row (%(default)s)")
    parser.add_argument("--sizes", type=int, nargs="+", default=[16, 1024])
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        loop = c_loop(folder)
        names = ["mox", "mox, out=", "C", "OpenCV", "OpenCV, dst=", "Pillow"]
        print("| microseconds | " + " | ".join(names) + " | out= / C |")
        print("|---|" + "--:|" * (len(names) + 1))
        for size in options.sizes:
            for name, variants in rows(size, loop).items():
                found = measure(variants, options.seconds)
                cells = [f"{found[key]:.2f}" if key in found else "-" for key in names]
                ratio = "-"
                if "C" in found:
                    both = beside(variants["mox, out="], variants["C"], options.seconds)
                    ratio = f"{both:.3f}"
                print(f"| {name}, {size} x {size} | " + " | ".join(cells) + f" | {ratio} |")


if __name__ == "__main__":
    main()
