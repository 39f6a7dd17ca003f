#!/usr/bin/env python3
"""Draws the viewer's icon: icon.py FILE.ico

A framed landscape, the right half of which is shown on a display of few colours and large pixels.
"""

import math
import struct
import sys
import zlib

SIZES = 16, 24, 32, 48, 64, 256
SAMPLES = 4  # of a pixel, in each direction

FRAME, BORDER = (250, 250, 248), (70, 78, 92)
SUN, HILL, MEADOW = (255, 214, 84), (58, 122, 92), (118, 176, 76)


def mixed(one, other, share):
    return tuple(a + (b - a) * share for a, b in zip(one, other))


def landscape(x, y):
    """Of places from 0 to 1."""
    if math.hypot(x - 0.3, y - 0.3) < 0.13:
        return SUN
    if y > 0.8 - 0.16 * math.sin(2.2 * x + 0.4):
        return MEADOW
    if y > 0.62 + 0.18 * math.sin(5 * x + 2.6):
        return HILL
    return mixed((64, 140, 222), (206, 232, 250), min(y / 0.75, 1))


def few_colours(x, y, cells):
    """In cells, each of its channels on or off, by a threshold that differs from cell to cell."""
    column, row = math.floor(x * cells), math.floor(y * cells)
    colour = landscape((column + 0.5) / cells, (row + 0.5) / cells)
    threshold = 96 if (column + row) % 2 else 168
    return tuple(255 if value > threshold else 0 for value in colour)


def rounded(x, y, margin, radius):
    """Whether a place lies in a square with round corners, so far from the edges."""
    dx = max(abs(x - 0.5) - (0.5 - margin - radius), 0)
    dy = max(abs(y - 0.5) - (0.5 - margin - radius), 0)
    return math.hypot(dx, dy) <= radius


def colour_at(x, y, size):
    """None where the icon is transparent."""
    line = max(1 / size, 0.03)
    if not rounded(x, y, 0, 0.12):
        return None
    if not rounded(x, y, line, 0.1):
        return BORDER
    inner = line + max(1 / size, 0.06)
    if not rounded(x, y, inner, 0.04):
        return FRAME
    x, y = ((place - inner) / (1 - 2 * inner) for place in (x, y))
    return landscape(x, y) if x < 0.5 else few_colours(x, y, 8 if size < 32 else 12)


def rows(size):
    """Lists of red, green, blue, opacity."""
    steps = [(step + 0.5) / SAMPLES for step in range(SAMPLES)]
    for y in range(size):
        row = []
        for x in range(size):
            samples = [colour_at((x + dx) / size, (y + dy) / size, size) for dy in steps for dx in steps]
            seen = [sample for sample in samples if sample]
            colour = [round(sum(channel) / len(seen)) for channel in zip(*seen)] if seen else [0, 0, 0]
            row.append((*colour, 255 * len(seen) // len(samples)))
        yield row


def png(size):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    lines = b"".join(b"\0" + bytes(value for pixel in row for value in pixel) for row in rows(size))
    header = struct.pack(">IIBBBBB", size, size, 8, 6, 0, 0, 0)
    return (
        b"\x89PNG\r\n\x1a\n"
        + chunk(b"IHDR", header)
        + chunk(b"IDAT", zlib.compress(lines, 9))
        + chunk(b"IEND", b"")
    )


def bitmap(size):
    """As icons have it: bottom row first, with a mask behind it that opacity makes needless."""
    header = struct.pack("<IiiHHIIiiII", 40, size, 2 * size, 1, 32, 0, 0, 0, 0, 0, 0)
    pixels = b"".join(
        bytes((blue, green, red, opacity)) for row in reversed(list(rows(size))) for red, green, blue, opacity in row
    )
    return header + pixels + bytes((size + 31) // 32 * 4 * size)


def main(path):
    images = [png(size) if size == 256 else bitmap(size) for size in SIZES]
    start = 6 + 16 * len(images)
    entries = b""
    for size, image in zip(SIZES, images):
        entries += struct.pack("<BBBBHHII", size % 256, size % 256, 0, 0, 1, 32, len(image), start)
        start += len(image)
    with open(path, "wb") as file:
        file.write(struct.pack("<HHH", 0, 1, len(images)) + entries + b"".join(images))


if __name__ == "__main__":
    main(*sys.argv[1:])
