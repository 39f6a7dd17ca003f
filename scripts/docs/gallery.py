#!/usr/bin/env python3
"""Makes the pictures of the gallery, all of them by the library: gallery.py ROOT FOLDER

q32tool does the work. What it needs to begin with is a photograph or two, and small pictures that are
written here pixel by pixel. What a page says in numbers is not made here: tests/tool/examples_test.py
asks the library for those.
"""

import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import xml.sax.saxutils
import zlib

PHOTOGRAPHS = pathlib.Path("/usr/share/palapeli/collection")  # in the public domain
BEE, FRUIT = PHOTOGRAPHS / "european-honey-bee.jpg", PHOTOGRAPHS / "citrus-fruits.jpg"

MODES = """normal color hue saturation value lighten darken relief difference add subtract multiply
    screen premul-black premul-white mask-subtract""".split()

DISPLAYS = {  # name: options
    "monochrome": ["--depth-of", "monochrome"],
    "8-colours": ["--depth-of", "8-colours"],
    "16-colours": ["--depth-of", "16-colours"],
    "256-colours": ["--depth-of", "256-colours"],
    "high-colour": ["--depth-of", "high-colour"],
    "true-colour": ["--depth-of", "true-colour"],
}
GREYS = {
    "16-colours": ["--depth-of", "16-colours", "--bits", "8"],
    "128-greys": ["--depth-of", "256-colours", "--bits", "8"],
    "16-greys": ["--depth-of", "256-colours", "--bits", "8", "--levels-16"],
}
CELLS = {  # the same field of colours, each pixel eight times as large
    "16-colours": ["--depth-of", "16-colours"],
    "256-colours": ["--depth-of", "256-colours"],
    "high-colour": ["--depth-of", "high-colour"],
    "high-colour-cut": ["--depth-of", "high-colour", "--no-dither"],
}


def png(width, height, samples, channels):
    """A file of 8-bit greys (1 channel) or colours (3)."""
    def chunk(kind, data):
        body = kind + data
        return len(data).to_bytes(4, "big") + body + zlib.crc32(body).to_bytes(4, "big")

    size = width * channels
    lines = b"".join(b"\0" + bytes(samples[y * size : (y + 1) * size]) for y in range(height))
    header = width.to_bytes(4, "big") + height.to_bytes(4, "big") + bytes([8, 2 if channels == 3 else 0, 0, 0, 0])
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(lines, 9))
            + chunk(b"IEND", b""))


class Tool:
    """q32tool at work in a folder of its own."""

    def __init__(self, root, work):
        self.command = [str(root / "scripts/wine-run"), str(root / "build/win32/bin/q32tool.exe")]
        self.work = work

    def __call__(self, *words):
        done = subprocess.run(
            self.command + [str(word) for word in words], cwd=self.work, capture_output=True, text=True,
            stdin=subprocess.DEVNULL)
        if done.returncode:
            raise SystemExit(f"q32tool {' '.join(map(str, words))}: {done.stderr}")
        return done.stdout

    def samples(self, picture, *options):
        """All samples of a picture as the library gives them."""
        lines = self("rows", picture, *options).splitlines()
        return [int(number) for line in lines for pixel in line.split(":")[1].split() for number in pixel.split(",")]


def ellipse(width, height):
    """A mask: white in the middle, black at the edges."""
    def weight(x, y):
        dx, dy = (2 * x + 1 - width) / width, (2 * y + 1 - height) / height
        return max(0, min(255, int(510 * (1 - (dx * dx + dy * dy) ** 0.5))))

    return png(width, height, [weight(x, y) for y in range(height) for x in range(width)], 1)


def make_modes(tool, out):
    size = "300x200"
    tool("crop", BEE, "base-large.png", "--at", "240,140", "--size", "600x400")
    tool("crop", FRUIT, "overlay-large.png", "--at", "190,240", "--size", "600x400")
    for name in ("base", "overlay"):
        tool("scale", f"{name}-large.png", f"{name}.png", "--size", size)
        tool("convert", f"{name}.png", out / f"merge-{name}.jpg")
    (tool.work / "mask.png").write_bytes(ellipse(300, 200))
    shutil.copy(tool.work / "mask.png", out / "merge-mask.png")
    # What modes 14 and 15 expect: the overlay weighed by the mask over black, and over white.
    for colour, name in (("0,0,0", "black"), ("255,255,255", "white")):
        tool("fill", "overlay.png", f"{name}.png", "--colour", colour)
        tool("compose", "--base", f"{name}.png", "--overlay", "overlay.png", "--mask", "mask.png",
             "-o", f"over-{name}.png")
    for number, mode in enumerate(MODES, 1):
        overlay = f"over-{mode[7:]}.png" if mode.startswith("premul") else "overlay.png"
        tool("compose", "--base", "base.png", "--overlay", overlay, "--mask", "mask.png", "--mode", mode,
             "-o", out / f"merge-{number:02}-{mode}.jpg")


def make_displays(tool, out):
    tool("crop", BEE, "part.png", "--at", "240,140", "--size", "600x400")
    tool("scale", "part.png", "photo.png", "--size", "300x200")
    for name, options in DISPLAYS.items():
        tool("show", "photo.png", "-o", out / f"display-{name}.png", *options)
    tool("convert", "photo.png", "grey.png", "--bits", "8")
    for name, options in GREYS.items():
        tool("show", "grey.png", "-o", out / f"greys-{name}.png", *options)
    tool("bars", "hsb", "--size", "72x40", "-o", "field.png")
    tool("bars", "grey", "--horizontal", "--size", "72x16", "-o", "ramp.png")
    for name, options in CELLS.items():
        tool("show", "field.png", "-o", "shown.png", *options)
        tool("enlarge", "shown.png", out / f"cells-{name}.png", "--factor", "8")
    tool("enlarge", "field.png", out / "cells-true-colour.png", "--factor", "8")
    for name, options in GREYS.items():
        tool("show", "ramp.png", "-o", "shown.png", *options)
        tool("enlarge", "shown.png", out / f"ramp-{name}.png", "--factor", "8")


def make_methods(tool, out):
    tool("crop", BEE, "eye.png", "--at", "602,346", "--size", "72x56")
    tool("reduce", "eye.png", "detail.png", "--factor", "2")
    for method in ("nearest", "bilinear", "bicubic"):
        tool("scale", "detail.png", out / f"method-{method}.png", "--percent", "800", "--method", method)
        tool("scale", BEE, out / f"reduced-{method}.jpg", "--fit", "300x220", "--method", method)


def make_separation(tool, out):
    tool("crop", FRUIT, "fruit-large.png", "--at", "190,240", "--size", "600x400")
    tool("scale", "fruit-large.png", "fruit.png", "--size", "300x200")
    tool("convert", "fruit.png", out / "plates-picture.jpg")
    tool("separate", "fruit.png", "plate.png")
    for plate in ("cyan", "magenta", "yellow", "black", "proof"):
        tool("convert", f"plate-{plate}.png", out / f"plates-{plate}.jpg", *([] if plate == "proof" else ["--bits", "8"]))
    # Greys from white to black: of what the three inks share, the curve makes black.
    greys = [255 - ink for ink in range(256) for _ in range(3)]
    (tool.work / "greys.png").write_bytes(png(256, 1, greys, 3))
    tool("separate", "greys.png", "inks.png", "--film")
    curves = {ink: tool.samples(f"inks-{ink}.png")[::3] for ink in ("black", "cyan")}
    (out / "black-generation.svg").write_text(chart(curves))


def chart(curves):
    """Ink against grey, 0 to 255 both."""
    lines = [
        '<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 620 400" font-family="sans-serif" font-size="13">',
        '<rect width="620" height="400" rx="8" fill="#fff"/>',
        '<g transform="translate(60 20)">',
    ]
    for value in (0, 64, 128, 192, 255):
        x, y = value * 2, 320 - value * 320 / 255
        lines.append(f'<path d="M0 {y:.1f}H510M{x} 0V320" stroke="#ddd" fill="none"/>')
        lines.append(f'<text x="-8" y="{y + 4:.1f}" text-anchor="end" fill="#555">{value}</text>')
        lines.append(f'<text x="{x}" y="338" text-anchor="middle" fill="#555">{value}</text>')
    for (name, values), colour in zip(curves.items(), ("#111", "#0891b2")):
        points = " ".join(f"{2 * at},{320 - value * 320 / 255:.1f}" for at, value in enumerate(values))
        lines.append(f'<polyline points="{points}" stroke="{colour}" stroke-width="2.5" fill="none"/>')
    lines.append('<text x="440" y="215" fill="#111">black</text>')
    lines.append('<text x="70" y="150" fill="#0891b2">cyan, magenta and yellow</text>')
    words = xml.sax.saxutils.escape("ink that the grey asks for, before any is replaced by black")
    lines.append(f'<text x="255" y="364" text-anchor="middle" fill="#555">{words}</text>')
    return "\n".join(lines + ["</g>", "</svg>"]) + "\n"


def pictures_of(pages):
    """The names of the pictures that the pages of the gallery show."""
    texts = [path.read_text() for path in sorted(pages.glob("*.md"))]
    return sorted({name for text in texts for name in re.findall(r"\} pictures/([\w.-]+)$", text, re.M)})


def is_blank(path):
    """Whether a picture has one colour only, as netpbm reads it."""
    if path.suffix == ".svg":
        return "<polyline" not in path.read_text()
    reader = "pngtopnm" if path.suffix == ".png" else "jpegtopnm"
    plain = subprocess.run([reader, str(path)], check=True, capture_output=True).stdout
    colours = subprocess.run(["ppmhist", "-noheader"], input=plain, check=True, capture_output=True).stdout
    return len(colours.splitlines()) < 2


def check(root, out):
    """All pictures that the pages show are there and show something, and there are no others."""
    wanted, made = pictures_of(root / "docs/site"), sorted(path.name for path in out.iterdir())
    wrong = [f"{name} is not made" for name in wanted if name not in made]
    wrong += [f"{name} is on no page" for name in made if name not in wanted]
    wrong += [f"{name} is blank" for name in made if is_blank(out / name)]
    if wrong:
        raise SystemExit("\n".join(wrong))


def main(root, folder):
    root, out = pathlib.Path(root).resolve(), pathlib.Path(folder).resolve()
    out.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory(dir=out.parent) as work:
        tool = Tool(root, pathlib.Path(work))
        for make in (make_modes, make_displays, make_methods, make_separation):
            make(tool, out)
    check(root, out)


if __name__ == "__main__":
    main(*sys.argv[1:])
