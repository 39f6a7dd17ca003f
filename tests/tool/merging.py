"""What merging makes of pictures, in the plainest way: pixel by pixel.

q32tool compose is compared with this model of the library's arithmetic: that of rectangles of 24
bits, and of whole rows for the last mode. Masks and transparencies are weights of 0 to 255 and
percents; all divisions truncate.
"""

import colour_spaces
from pictures import Picture

MODES = """
    normal color hue saturation value lighten darken relief difference add subtract multiply
    screen premul-black premul-white mask-subtract
""".split()
NUMBERS = {name: number for number, name in enumerate(MODES, 1)}

# Which fields of hue, saturation and value come from the overlay.
FIELDS = {
    "color": (True, True, False),
    "hue": (True, False, False),
    "saturation": (False, True, False),
    "value": (False, False, True),
}


def blended(result, base, weight):
    return (result * weight + base * (255 - weight)) // 255


def shifted(result, base, weight):
    """The rounding of normal merges: by a shift, and one more unless there is nothing at all."""
    both = result * weight + base * (255 - weight)
    return both // 256 + (both != 0)


def from_127(product):
    """A product of samples over 255, one more from a remainder of 127 on."""
    return (product + 128) // 255


SAMPLES = {
    "difference": lambda base, over, mask: abs(over - base),
    "add": lambda base, over, mask: min(over + base, 255),
    "subtract": lambda base, over, mask: max(over - base, 0),
    "multiply": lambda base, over, mask: from_127(over * base),
    "screen": lambda base, over, mask: 255 - from_127((255 - over) * (255 - base)),
    "premul-black": lambda base, over, mask: min(over * 255 // mask, 255),
    "premul-white": lambda base, over, mask: min(max(over + mask - 255, 0) * 255 // mask, 255),
}


def normal(base, over, mask, opacity, whole):
    """whole: what opacities of 100 percent are of, 255 in rows and 256 in rectangles."""
    weight = mask if opacity == 100 else mask * (opacity * whole // 100) >> 8
    return tuple(shifted(s, b, weight) for b, s in zip(base, over))


def by_fields(mode, base, over, mask, opacity):
    below = colour_spaces.to_hsv(*base)
    above = colour_spaces.to_hsv(*normal(base, over, mask, opacity, 255))
    chosen = zip(FIELDS[mode], above, below)
    return colour_spaces.from_hsv(*(new if taken else old for taken, new, old in chosen))


def luminance(colour):
    return 30 * colour[0] + 59 * colour[1] + 11 * colour[2]


def acts(mode, base, over):
    if mode == "lighten":
        return luminance(over) > luminance(base)
    return luminance(over) // 100 < luminance(base) // 100


def relief(base, over, mask, opacity):
    strength = 127 - 127 * (100 - opacity) // 99 if opacity else 0
    if not mask:
        return base
    return tuple(
        min(b + (s - 128) * strength // 127, 255)
        if s > 127
        else max(b - (127 - s) * strength // 127, 0)
        for b, s in zip(base, over)
    )


def pixel(mode, base, over, mask, opacity):
    """One pixel of all modes but the last."""
    if mode == "normal":
        return normal(base, over, mask, opacity, 256)
    if mode in FIELDS:
        return by_fields(mode, base, over, mask, opacity)
    if mode == "relief":
        return relief(base, over, mask, opacity)
    weight = mask * opacity // 100
    if weight == 0:
        return base
    if mode in ("lighten", "darken"):
        result = over if acts(mode, base, over) else base
        return tuple(blended(r, b, weight) for b, r in zip(base, result))
    sample = SAMPLES[mode]
    return tuple(blended(sample(b, s, mask), b, weight) for b, s in zip(base, over))


def less_by_mask(base, over, mask, opacity):
    """A row of the last mode: with a transparency its first mask byte is that of all pixels."""
    if opacity == 0:
        return base
    if opacity < 100:
        mask = mask[:1] * len(mask)
    return [
        tuple(max(b - s * weight * opacity // 25500, 0) for b, s in zip(below, above))
        for below, above, weight in zip(base, over, mask)
    ]


def row(mode, base, over, mask, opacity):
    if mode == "mask-subtract":
        return less_by_mask(base, over, mask, opacity)
    return [pixel(mode, *pixels, opacity) for pixels in zip(base, over, mask)]


def merged(mode, base, over, mask=None, transparency=0, at=(0, 0)):
    """The base with the overlay merged onto it. mask: a weight for each of the overlay's pixels."""
    left, top = at
    mask = mask or bytes([255]) * (over.width * over.height)
    first, last = max(0, -left), min(over.width, base.width - left)
    rows = base.rows()
    for y in range(max(0, -top), min(over.height, base.height - top)):
        start = (left + first) * 3
        end = (left + last) * 3
        below = rows[top + y]
        new = row(
            mode,
            triples(below[start:end]),
            triples(over.row(y)[first * 3 : last * 3]),
            mask[y * over.width + first : y * over.width + last],
            100 - transparency,
        )
        rows[top + y] = below[:start] + b"".join(map(bytes, new)) + below[end:]
    return Picture(base.width, base.height, b"".join(rows))


def triples(samples):
    return list(zip(samples[0::3], samples[1::3], samples[2::3]))
