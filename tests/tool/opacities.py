"""What becomes of pictures with transparent parts, in the plainest way: pixel by pixel.

An opacity is a byte for each pixel, row after row; 255 is opaque.
"""

from fractions import Fraction

import merging
import pictures


def rounded(number):
    return int(number + Fraction(1, 2))


def over_white(picture, opacity):
    colours = [
        tuple((sample * weight + 255 * (255 - weight) + 127) // 255 for sample in colour)
        for colour, weight in zip(picture.colours(), opacity)
    ]
    return pictures.from_colours(picture.width, picture.height, colours)


def as_picture(opacity, width):
    """Greys, so that models of pictures can be asked about it."""
    return pictures.from_colours(width, len(opacity) // width, [(grey,) * 3 for grey in opacity])


def as_opacity(picture):
    return picture.pixels[::3]


def composed(base, below, over, above, at=(0, 0), mode="normal"):
    """An overlay over a base, each with its opacity: the picture, and how opaque it is.

    Where the base is opaque it is what merging makes of it. By the part that the base does not
    cover, the overlay is seen as it stands.
    """
    merged = merging.merged(mode, base, over, mask=above, at=at).colours()
    colours, opacity = list(merged), bytearray(below)
    tops = over.colours()
    for y in range(over.height):
        for x in range(over.width):
            column, row = x + at[0], y + at[1]
            if not (0 <= column < base.width and 0 <= row < base.height):
                continue
            place = row * base.width + column
            b = Fraction(below[place], 255)
            s = Fraction(above[y * over.width + x], 255)
            both = s + b * (1 - s)
            if both == 0:
                continue
            opacity[place] = rounded(both * 255)
            colours[place] = tuple(
                rounded((b * m + s * (1 - b) * t) / both)
                for m, t in zip(merged[place], tops[y * over.width + x])
            )
    return pictures.from_colours(base.width, base.height, colours), bytes(opacity)
