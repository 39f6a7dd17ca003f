"""What scaling makes of pictures, in the plainest way: axis by axis and sample by sample.

q32tool scale and stream are compared with this model of the library's arithmetic. Where a pixel of
the result lies in the source depends on how the library works: buffers of 8 and 24 bits by cells,
buffers of 1 and 16 bits by rows, frames with tables. What is made of the samples there does not.

An axis is a list of (index, fraction) for the pixels of the result: a column or row of the source
and how far towards the next one the place lies, in units of 1/65536. A plane is the rows of one
channel.
"""

import struct

from pictures import Picture

METHODS = "nearest", "bilinear", "bicubic"


# --- places ---------------------------------------------------------------------------------------


def single(number):
    """A number as single precision holds it."""
    return struct.unpack("f", struct.pack("f", number))[0]


def parted(place, source):
    index = int(place)
    return (index, int((place - index) * 65536)) if index < source else (source - 1, 0)


def table_places(source, count):
    """In single precision; the ends meet where there are fewer pixels than before."""
    if count < source:
        return [single(i / max(count - 1, 1) * (source - 1)) for i in range(count)]
    return [single(i / count * source) for i in range(count)]


def table_axis(source, count):
    """Of rows and of frames."""
    return [parted(place, source) for place in table_places(source, count)]


def nearest_cell_axis(source, count):
    """Of cells that take the nearest pixel: rounded."""
    return [(min(int(place + 0.5), source - 1), 0) for place in table_places(source, count)]


def cell_axis(source, count):
    """Of cells that interpolate: in double precision, and the ends never meet."""
    return [parted(i / count * source, source) for i in range(count)]


def half_axis(source, count):
    """Of rows of bits: from half the way on the next pixel."""
    axis = table_axis(source, count)
    return [(min(index + (fraction >= 32768), source - 1), 0) for index, fraction in axis]


# --- samples --------------------------------------------------------------------------------------


def nearest(plane, columns, rows):
    return [bytes(plane[y][x] for x, _ in columns) for y, _ in rows]


def limited(value):
    return min(max(value, 0), 255)


def bilinear_sample(p00, p10, p01, p11, fx, fy):
    both = fx * fy >> 16
    down, across = p01 - p00 >> 1, p10 - p00 >> 1
    corner = p00 - p01 - p10 + p11 >> 2
    return limited(p00 + (fy * down >> 15) + (fx * across >> 15) + (both * corner >> 14))


def bilinear(plane, columns, rows):
    right, bottom = len(plane[0]) - 1, len(plane) - 1
    made = []
    for y, fy in rows:
        row, below = plane[y], plane[min(y + 1, bottom)]
        line = bytearray()
        for x, fx in columns:
            beside = min(x + 1, right)
            line.append(bilinear_sample(row[x], row[beside], below[x], below[beside], fx, fy))
        made.append(line)
    return made


def cubic_weights(phase):
    """For the samples at -1, 0, 1 and 2, in units of 1/16384."""
    t = 17 * phase
    t1, t2, t3 = 64 * t, t * t + 1 >> 2, t * t * t + 512 >> 10
    return (
        t2 - t3 // 2 - t1 // 2,
        t3 * 3 // 2 - t2 * 5 // 2 + 16384,
        t2 * 2 - t3 * 3 // 2 + t1 // 2,
        t3 // 2 - t2 // 2,
    )


WEIGHTS = [cubic_weights(phase) for phase in range(16)]


def cubic_taps(axis, source):
    """For each place the four samples, those beyond an edge replaced, and their weights."""
    return [
        (
            [min(max(index + i, 0), source - 1) for i in (-1, 0, 1, 2)],
            WEIGHTS[((fraction >> 8) + 8) // 17],
        )
        for index, fraction in axis
    ]


def bicubic(plane, columns, rows):
    across, made = {}, []
    column_taps = cubic_taps(columns, len(plane[0]))

    def weighed_across(y):
        if y not in across:
            row = plane[y]
            across[y] = [
                max(sum(c * row[x] for c, x in zip(weights, taps)) + 32 >> 6, 0)
                for taps, weights in column_taps
            ]
        return across[y]

    for taps, (c0, c1, c2, c3) in cubic_taps(rows, len(plane)):
        lines = zip(*map(weighed_across, taps))
        sums = (c0 * h0 + c1 * h1 + c2 * h2 + c3 * h3 for h0, h1, h2, h3 in lines)
        made.append(bytes(limited(total >> 22) for total in sums))
    return made


KERNELS = {"nearest": nearest, "bilinear": bilinear, "bicubic": bicubic}


# --- pictures -------------------------------------------------------------------------------------


def planes(pixels, width, channels):
    rows = [pixels[at : at + width * channels] for at in range(0, len(pixels), width * channels)]
    return [[row[channel::channels] for row in rows] for channel in range(channels)]


def interleaved(channels):
    pixels = bytearray(sum(map(len, channels[0])) * len(channels))
    for number, plane in enumerate(channels):
        pixels[number :: len(channels)] = b"".join(plane)
    return bytes(pixels)


def resampled(picture, width, height, method, axis):
    columns, rows = axis(picture.width, width), axis(picture.height, height)
    channels = planes(picture.pixels, picture.width, 3)
    made = [KERNELS[method](plane, columns, rows) for plane in channels]
    return Picture(width, height, interleaved(made))


def by_cells(picture, width, height, method):
    axis = nearest_cell_axis if method == "nearest" else cell_axis
    return resampled(picture, width, height, method, axis)


def by_tables(picture, width, height, method):
    """Rows of 16 bits, and frames."""
    return resampled(picture, width, height, method, table_axis)


def by_bits(picture, width, height):
    return resampled(picture, width, height, "nearest", half_axis)


def plane_by_tables(plane, width, height, method):
    """One more channel of a frame: what is not a colour."""
    columns, rows = table_axis(len(plane[0]), width), table_axis(len(plane), height)
    return KERNELS[method](plane, columns, rows)
