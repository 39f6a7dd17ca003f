"""Hue, saturation, value and lightness as the library computes them, in whole numbers.

q32tool colorspace, and the modes of compose that work on colours, are compared with this model.
"""

NO_HUE = 32767  # of greys
HUES = 360


def grey(red, green, blue):
    return (299 * red + 587 * green + 114 * blue) // 1000


def hue(red, green, blue):
    """0 to 359: red is 0, green 120, blue 240, rounded at each of the three."""
    low, middle, high = sorted((red, green, blue))
    spread = high - low
    if not spread:
        return NO_HUE
    half, up, rise = spread // 2, (high - middle) * 60, (middle - low) * 60
    if blue > red:
        if green >= blue:
            found = (half + rise) // spread + 120
        elif green > red:
            found = (half + up) // spread + 180
        else:
            found = (half + rise) // spread + 240
    elif green >= red:
        found = (half + up) // spread + 60
    elif green >= blue:
        found = (half + rise) // spread
    else:
        found = (half + up) // spread + 300
    return min(found, HUES - 1)


def to_hsv(red, green, blue):
    high = max(red, green, blue)
    spread = high - min(red, green, blue)
    saturation = (spread * 255 + high // 2) // high if spread else 0
    return hue(red, green, blue), saturation, high


def to_hls(red, green, blue):
    high, low = max(red, green, blue), min(red, green, blue)
    spread, both = high - low, high + low
    whole = both if both < 256 else 510 - both
    saturation = (spread * 255 + whole // 2) // whole if spread else 0
    return hue(red, green, blue), both // 2, saturation


def on_the_hexagon(turned, high, chroma):
    """The colour of a hue, given its largest channel and how far the smallest lies below."""
    low = high - chroma
    part = (turned % 60 * chroma + 30) // 60
    return {
        1: (high - part, high, low),
        2: (low, high, low + part),
        3: (low, high - part, high),
        4: (low + part, low, high),
        5: (high, low, high - part),
    }.get(turned // 60, (high, low + part, low))


def from_hsv(turned, saturation, value):
    if turned == NO_HUE or saturation == 0:
        return (value,) * 3
    return on_the_hexagon(turned, value, (value * saturation + 127) // 255)


def from_hls(turned, lightness, saturation):
    if turned == NO_HUE or saturation == 0:
        return (lightness,) * 3
    double = 2 * lightness
    chroma = (saturation * (double if double < 256 else 510 - double) + 127) // 255
    return on_the_hexagon(turned, (double + chroma + 1) // 2, chroma)


def stretched(found):
    """A hue as a sample."""
    return 0 if found == NO_HUE else found * 255 // (HUES - 1)


def turned(found, degrees):
    return found if found == NO_HUE else (found + degrees) % HUES
