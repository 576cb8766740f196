#!/usr/bin/python3
"""Makes the page of examples, README.md, and its pictures: what stands on the page is what was run.

    python3 page.py [FOLDER]

The pictures begin with a scene that is computed here. tests/test_examples.py makes the page anew
and compares.
"""

import struct
import sys
import zlib
from pathlib import Path

import numpy as np

sys.path.insert(0, str(Path(__file__).resolve().parents[1]))

import mox  # noqa: E402

WIDTH, HEIGHT = 192, 128

INTRODUCTION = """# Pictures from Python

All of this is made by [page.py](page.py), which draws the scene that it begins with. Each piece of
code stands here as it was run, after

```python
import numpy as np
import mox
```

and with `scene`, an array (128, 192, 3) of uint8:

![A scene](pictures/scene.png)
"""

EXAMPLES = [
    ("blur", "Blur", "Windows are (columns, rows); what lies beyond the image is up to `border`.",
     "picture = mox.blur(scene, (9, 9), border=\"reflect\")"),
    ("region", "A slice", "A slice is handed over where it stands: nothing is copied, and nothing "
     "around it is written.",
     "picture = scene.copy()\n"
     "part = picture[24:104, 40:152]\n"
     "mox.invert(part, out=part)"),
    ("mask", "A mask", "Where the mask is False the result keeps what the first image holds.",
     "sky = mox.greater(mox.subtract(scene[..., 2], scene[..., 0]), 60)\n"
     "picture = mox.subtract(255, scene, mask=sky)"),
    ("channel", "One channel", "The others stay as they are.",
     "picture = mox.multiply(scene, 2, channel=0)"),
    ("edges", "Edges", "Two kernels, combined to the length of the gradient, on gray.",
     "gray = mox.rgb_to_gray(scene)\n"
     "across = np.array([[1, 0, -1], [2, 0, -2], [1, 0, -1]])\n"
     "picture = mox.convolve(gray, [across, across.T], combine=\"sumsqroot\",\n"
     "                       border=\"replicate\")"),
    ("warp", "Onto a quadrangle", "Four corners, from the upper left one on.",
     "quad = [(30, 8), (160, 30), (186, 120), (6, 100)]\n"
     "picture = mox.warp_perspective(scene, quad, interpolation=\"cubic\")"),
    ("upright", "Out of a quadrangle", "The way back: what lies in a quadrangle fills the result.",
     "tilted = mox.warp_perspective(scene, quad)\n"
     "picture = mox.warp_perspective(tilted, quad, size=(192, 128), inverse=True)"),
    ("rotate", "Rotation", "About the middle, with smooth edges on what is there before.",
     "picture = np.full_like(scene, 235)\n"
     "mox.rotate(scene, 20, picture, interpolation=\"cubic\", smooth_edge=True)"),
    ("hue", "Hues", "Another model is three channels of the same dtype: here hues turn by a third.",
     "hls = mox.rgb_to_hls(scene)\n"
     "hls[..., 0] += 85\n"
     "picture = mox.hls_to_rgb(hls)"),
    ("over", "Opacities", "An array of four channels has alpha.",
     "light = np.zeros((128, 192, 4), np.uint8)\n"
     "light[32:96, 48:144] = 255, 250, 120, 255\n"
     "light = mox.blur(light, (33, 33))\n"
     "opaque = np.full((128, 192), 255, np.uint8)\n"
     "picture = mox.composite(light, scene, premultiplied=True, alpha_b=opaque)"),
    ("dots", "Dots", "Bits are bool arrays.",
     "picture = mox.reduce_bits(gray, bool, dither=\"fs\")"),
    ("spectrum", "Low frequencies", "The spectrum, without all but its lowest part, and back.",
     "packed = mox.fft(gray)\n"
     "low = np.zeros_like(packed)\n"
     "for part in np.s_[:24, :24], np.s_[-24:, :24]:\n"
     "    low[part] = packed[part]\n"
     "picture = mox.ifft(low, out=np.empty_like(gray))"),
    ("levels", "Levels", "Each level becomes its share of what is as dark or darker.",
     "picture = mox.equalize(mox.multiply_scale(gray, 90))"),
    ("opening", "Morphology", "Bright details that a square of five does not fit into are gone.",
     "picture = mox.opening(mox.threshold(gray, 120), 2, border=\"replicate\")"),
]


def draw_scene():
    """Hills under a sky, a sun, and a fence: exact at each machine, as it is drawn in integers."""
    y, x = np.mgrid[:HEIGHT, :WIDTH]
    scene = np.empty((HEIGHT, WIDTH, 3), np.uint8)
    scene[..., 0] = 60 + y
    scene[..., 1] = 120 + y * 3 // 4
    scene[..., 2] = 235 - y // 4
    sun = (x - 140)**2 + (y - 34)**2 < 18**2
    scene[sun] = 255, 225, 120
    for height, curve, colour in ((70, 110, (70, 120, 90)), (88, 60, (50, 95, 50)),
                                  (104, 150, (35, 70, 30))):
        hill = y > height + (x - curve)**2 // 420
        shade = (x * 7 + y * 13) % 17
        for channel in range(3):
            scene[..., channel][hill] = (colour[channel] + shade)[hill]
    fence = (x % 16 < 3) & (y > 84) & (y < 122) & (x > 16) & (x < 176)
    rail = (abs(y - 92) < 2) & (x > 16) & (x < 176)
    scene[fence | rail] = 150, 105, 60
    return scene


def write_png(path, picture):
    """Gray, colours or bits as a PNG file."""
    if picture.dtype == bool:
        picture = picture * np.uint8(255)
    height, width = picture.shape[:2]
    rows = np.zeros((height, 1 + picture[0].size), np.uint8)
    rows[:, 1:] = picture.reshape(height, -1)

    def chunk(kind, data):
        return (struct.pack(">I", len(data)) + kind + data
                + struct.pack(">I", zlib.crc32(kind + data)))

    kind = {2: 0, 3: 2}[picture.ndim]
    Path(path).write_bytes(
        b"\x89PNG\r\n\x1a\n"
        + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, kind, 0, 0, 0))
        + chunk(b"IDAT", zlib.compress(rows.tobytes(), 9)) + chunk(b"IEND", b""))


def main(folder):
    pictures = Path(folder) / "pictures"
    pictures.mkdir(parents=True, exist_ok=True)
    scene = draw_scene()
    write_png(pictures / "scene.png", scene)
    names = {"np": np, "mox": mox, "scene": scene}
    page = [INTRODUCTION]
    for name, title, text, code in EXAMPLES:
        exec(code, names)
        write_png(pictures / f"{name}.png", names["picture"])
        page.append(f"## {title}\n\n{text}\n\n```python\n{code}\n```\n\n"
                    f"![{title}](pictures/{name}.png)\n")
    (Path(folder) / "README.md").write_text("\n".join(page))


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).resolve().parent)
