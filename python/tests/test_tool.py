"""What the package computes is what the command-line tool writes, byte for byte."""

import subprocess

import numpy as np
import pytest
from conftest import random_image

import mox


def write_pnm(path, image):
    height, width = image.shape[:2]
    top = 255 if image.dtype == np.uint8 else 65535
    kind = "P5" if image.ndim == 2 else "P6"
    data = image.astype(image.dtype.newbyteorder(">")).tobytes()
    path.write_bytes(f"{kind}\n{width} {height}\n{top}\n".encode() + data)


def read_pnm(path):
    kind, width, height, rest = path.read_bytes().split(maxsplit=3)
    width, height = int(width), int(height)
    if kind == b"P4":
        # The tool's 1 is white, the file's is black.
        rows = np.frombuffer(rest, np.uint8).reshape(height, -1)
        return ~np.unpackbits(rows, axis=1, count=width).astype(bool)
    top, data = rest.split(maxsplit=1) if b" " in rest[:1] else rest.split(b"\n", 1)
    dtype = np.uint8 if int(top) < 256 else np.dtype(">u2")
    shape = (height, width) if kind == b"P5" else (height, width, 3)
    pixels = np.frombuffer(data, dtype, int(np.prod(shape))).reshape(shape)
    return pixels.astype(dtype.newbyteorder("=") if dtype != np.uint8 else np.uint8)


@pytest.fixture
def run(tool, tmp_path):
    """Runs a chain of the tool on a picture; second pictures are arrays among its words."""

    def call(image, *words):
        write_pnm(tmp_path / "in.pnm", image)
        arguments = []
        for number, word in enumerate(words):
            if isinstance(word, np.ndarray):
                write_pnm(tmp_path / f"second{number}.pnm", word)
                word = tmp_path / f"second{number}.pnm"
            arguments.append(str(word))
        result = tmp_path / "out.pnm"
        subprocess.run([tool, "run", str(tmp_path / "in.pnm"), *arguments, str(result)], check=True,
                       capture_output=True)
        return read_pnm(result)

    return call


def invert_middle(a):
    mox.invert(a[6:16, 5:25], out=a[6:16, 5:25])
    return a


KERNEL = np.array([[0, -1, 0], [-1, 5, -1], [0, -1, 0]])
SECOND = random_image(5, (37, 45, 3), np.uint8)
QUAD = [(2, 3), (40, 1), (44, 36), (0, 30)]

CHAINS = {
    "add": (["add", SECOND], lambda a: mox.add(a, SECOND)),
    "subtract-s": (["subtract-s", 99, "flip"], lambda a: mox.subtract(99, a)),
    "not": (["not"], mox.invert),
    "lshift-s": (["lshift-s", 2], lambda a: mox.left_shift(a, 2)),
    "region": (["--roi", "5,6,20,10", "not"], invert_middle),
    "channel": (["--coi", 2, "add-s", 40], lambda a: mox.add(a, 40, channel=1)),
    "blur": (["blur", 7, 3], lambda a: mox.blur(a, (7, 3), border="replicate")),
    "blur-reflect": (["--border", "reflect", "blur", 5, 5],
                     lambda a: mox.blur(a, 5, border="reflect")),
    "convolve": (["convolve", 0, ",".join(map(str, KERNEL.ravel()))],
                 lambda a: mox.convolve(a, KERNEL, border="replicate")),
    "convolve-sep": (["convolve-sep", 6, "1,2,1", "1,4,6,4,1"],
                     lambda a: mox.convolve_separable(a, [1, 2, 1], [1, 4, 6, 4, 1], shift=6,
                                                      border="replicate")),
    "median": (["median-filter", 3, 5],
               lambda a: mox.median_filter(a, (3, 5), border="replicate")),
    "color-median": (["color-median-filter", 3, 3],
                     lambda a: mox.color_median_filter(a, 3, border="replicate")),
    "sobel": (["fixed-sobel-v"], lambda a: mox.fixed_filter(a, "sobel_3x3_v", border="replicate")),
    "open": (["open", 2], lambda a: mox.opening(a, 2, border="replicate")),
    "mirror": (["mirror", -1], lambda a: mox.mirror(a, None)),
    "zoom": (["zoom", "2", "cubic"], lambda a: mox.zoom(a, (90, 74), interpolation="cubic")),
    "decimate": (["crop", 0, 0, 45, 36, "decimate", "1/3", "super"],
                 lambda a: mox.decimate(a[:36], (15, 12))),
    "upright": (["upright", "30x20", ",".join(str(v) for point in QUAD for v in point)],
                lambda a: mox.warp_perspective(a, QUAD, size=(30, 20), inverse=True,
                                               interpolation="cubic")),
    "hls": (["to-hls"], mox.rgb_to_hls),
    "xyz": (["to-xyz"], mox.rgb_to_xyz),
    "gray": (["gray"], mox.rgb_to_gray),
    "multiply-scale": (["multiply-scale", SECOND], lambda a: mox.multiply_scale(a, SECOND)),
    "threshold": (["threshold", 99], lambda a: mox.threshold(a, 99, np.uint8)),
    "reduce-bits": (["reduce-bits", "8u", 4, "stuckey", 0],
                    lambda a: mox.reduce_bits(a, np.uint8, levels=4, dither="stuckey")),
    "equalize": (["equalize"], mox.equalize),
    "noise": (["noise", "gauss", 7, 3, 20], lambda a: mox.gaussian_noise(a, 7, 3, 20)),
    "less-s": (["less-s", 150], lambda a: mox.less(a, 150)),
    "equal": (["greater", SECOND], lambda a: mox.greater(a, SECOND)),
}


@pytest.mark.parametrize("name", CHAINS)
def test_equal(name, run, rgb):
    words, call = CHAINS[name]
    np.testing.assert_array_equal(call(rgb.copy()), run(rgb, *words))


def test_mask(run, rgb):
    cover = random_image(9, rgb.shape[:2], bool)
    np.testing.assert_array_equal(mox.invert(rgb, mask=cover),
                                  run(rgb, "--mask", cover * np.uint8(255), "not"))


def test_sixteen_bits(run):
    a = random_image(10, (20, 30), np.uint16)
    np.testing.assert_array_equal(mox.blur(a, 3, border="replicate"), run(a, "blur", 3, 3))
    np.testing.assert_array_equal(mox.scale(a, np.uint8), run(a, "scale", "8u"))


def test_tiles(run, rgb):
    expected = run(rgb, "--tiles", "16x8", "blur", 5, 5)
    target = np.zeros_like(rgb)
    mox.blur(mox.Tiled(rgb, (16, 8)), 5, mox.Tiled(target, (16, 8)), border="replicate")
    np.testing.assert_array_equal(target, expected)


def test_bitmap(tool, tmp_path, rgb):
    write_pnm(tmp_path / "in.pnm", rgb)
    for bits, palette in ((24, None), (8, "medcut"), (4, "fixed")):
        words = [] if palette is None else ["--palette", palette]
        subprocess.run([tool, "run", str(tmp_path / "in.pnm"), "--bits", str(bits), *words,
                        str(tmp_path / "out.bmp")], check=True, capture_output=True)
        written = (tmp_path / "out.bmp").read_bytes()[14:]
        made = mox.to_dib(rgb, bits, palette=palette or "medcut")
        np.testing.assert_array_equal(mox.from_dib(made), mox.from_dib(written))
