"""What averaging makes of pictures, in the plainest way: exact means of what each pixel covers.

q32tool scale is compared with this model where it makes pictures smaller. An axis is a list for the
pixels of the result: which columns or rows of the source each covers, and how much of them, in
parts of which there are as many in a pixel of the source as the result has pixels.
"""

from pictures import Picture
from resampling import by_cells, interleaved, planes


def covered(source, count):
    axis = []
    for pixel in range(count):
        begin, end = pixel * source, (pixel + 1) * source
        columns = range(begin // count, (end + count - 1) // count)
        axis.append([(i, min(end, (i + 1) * count) - max(begin, i * count)) for i in columns])
    return axis


def sums(plane, width, height):
    """Of each pixel's area, in rows of whole numbers; divided by `area` they are means."""
    columns, rows = covered(len(plane[0]), width), covered(len(plane), height)
    across = [[sum(line[x] * part for x, part in places) for places in columns] for line in plane]
    return [
        [sum(across[y][x] * part for y, part in places) for x in range(width)] for places in rows
    ]


def area(plane):
    return len(plane[0]) * len(plane)


def rounded(total, divisor):
    """Half up."""
    return (2 * total + divisor) // (2 * divisor)


# --- light ----------------------------------------------------------------------------------------


def light_of(stored):
    """sRGB's curve: 0 to 255, and between, in units of 1/65535."""
    value = stored / 255
    return 65535 * (value / 12.92 if value <= 0.04045 else ((value + 0.055) / 1.055) ** 2.4)


LIGHT = [round(light_of(stored)) for stored in range(256)]
NEXT = [light_of(stored + 0.5) for stored in range(255)]  # from there on it is the next value


def stored(total, divisor):
    light = total // divisor
    return sum(light >= limit for limit in NEXT)


# --- pictures -------------------------------------------------------------------------------------


def mean_plane(plane, width, height, linear=False):
    divisor = area(plane)
    if linear:
        plane = [[LIGHT[value] for value in row] for row in plane]
    back = stored if linear else rounded
    return [bytes(back(total, divisor) for total in row) for row in sums(plane, width, height)]


def averaged(picture, width, height, linear=False):
    channels = planes(picture.pixels, picture.width, 3)
    means = [mean_plane(plane, width, height, linear) for plane in channels]
    return Picture(width, height, interleaved(means))


def averaged_with_opacity(picture, opacity, width, height):
    """The picture, in which colours count as much as they are opaque, and its opacity."""
    (weights,) = planes(opacity, picture.width, 1)
    seen = sums(weights, width, height)
    channels = []
    for plane in planes(picture.pixels, picture.width, 3):
        weighed = [[c * w for c, w in zip(*rows)] for rows in zip(plane, weights)]
        rows = zip(sums(weighed, width, height), seen)
        channels.append([bytes(rounded(c, w) if w else 0 for c, w in zip(*row)) for row in rows])
    made = Picture(width, height, interleaved(channels))
    return made, b"".join(mean_plane(weights, width, height))


def by_average(picture, width, height):
    """As scale does it: what grows is left to cubic convolution."""
    smaller = min(width, picture.width), min(height, picture.height)
    made = averaged(picture, *smaller)
    return made if smaller == (width, height) else by_cells(made, width, height, "bicubic")
