"""Pictures for the tests of q32tool: made, written as files and read back without any library.

Every picture is red, green, blue in this order, top row first. The files are the plainest of their
kind; what reads them accepts what the tool writes and nothing else.
"""

import random
import struct
import zlib
from collections import namedtuple

# A picture as a file had it: its pixels, the bits of each in the file, and how opaque each is, a
# byte each, if the file says so.
FilePicture = namedtuple("FilePicture", "picture bits opacity", defaults=[None])

GREYS = [(grey, grey, grey) for grey in range(256)]
BLACK_AND_WHITE = [(0, 0, 0), (255, 255, 255)]


class Picture:
    """Width, height, and the pixels as bytes without gaps."""

    def __init__(self, width, height, pixels):
        assert len(pixels) == width * height * 3, (width, height, len(pixels))
        self.width, self.height, self.pixels = width, height, bytes(pixels)

    def row(self, y):
        return self.pixels[y * self.width * 3 : (y + 1) * self.width * 3]

    def rows(self):
        return [self.row(y) for y in range(self.height)]

    def colours(self):
        """The pixels as triples, row after row."""
        return list(zip(self.pixels[0::3], self.pixels[1::3], self.pixels[2::3]))

    def changed(self, change):
        """The picture with change(red, green, blue) for each pixel."""
        return from_colours(self.width, self.height, [change(*colour) for colour in self.colours()])


def from_colours(width, height, colours):
    return Picture(width, height, b"".join(map(bytes, colours)))


def noise(width, height, seed=0):
    """Random pixels, the same for the same size and seed."""
    source = random.Random(f"{width} x {height}, {seed}")
    return Picture(width, height, source.randbytes(width * height * 3))


def ramps(width, height):
    """Smooth, so that it survives JPEG: red to the right, green downwards, blue the other way."""

    def colour(x, y):
        return 255 * x // width, 255 * y // height, 255 - 255 * x // width

    return from_colours(width, height, [colour(x, y) for y in range(height) for x in range(width)])


def with_opacity(width, height, pixels):
    """A picture of four bytes for each pixel, the last of which is how opaque it is."""
    colours = bytearray(width * height * 3)
    for channel in range(3):
        colours[channel::3] = pixels[channel::4]
    return FilePicture(Picture(width, height, colours), 32, bytes(pixels[3::4]))


# --- PNG ------------------------------------------------------------------------------------------

PNG_SIGNATURE = b"\x89PNG\r\n\x1a\n"
PNG_GREY, PNG_RGB, PNG_PALETTE, PNG_GREY_ALPHA, PNG_RGBA = 0, 2, 3, 4, 6


def png_chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def png_file(
    width, height, rows, colour_type=PNG_RGB, depth=8, palette=None, level=1, opacities=None
):
    """A PNG of rows as the file has them, which must be packed already.

    opacities: how opaque each colour of the palette is, 0 to 255.
    """
    header = struct.pack(">IIBBBBB", width, height, depth, colour_type, 0, 0, 0)
    file = PNG_SIGNATURE + png_chunk(b"IHDR", header)
    if palette is not None:
        file += png_chunk(b"PLTE", b"".join(map(bytes, palette)))
    if opacities is not None:
        file += png_chunk(b"tRNS", bytes(opacities))
    lines = b"".join(b"\0" + row for row in rows)
    return file + png_chunk(b"IDAT", zlib.compress(lines, level)) + png_chunk(b"IEND", b"")


def write_uniform_png(path, width, height, bands):
    """Writes a PNG without having it in memory. bands: pairs of one row and how often it comes."""
    header = struct.pack(">IIBBBBB", width, height, 8, PNG_RGB, 0, 0, 0)
    packed = zlib.compressobj(1)
    with open(path, "wb") as file:
        file.write(PNG_SIGNATURE + png_chunk(b"IHDR", header))
        for row, count in bands:
            file.write(png_chunk(b"IDAT", packed.compress((b"\0" + row) * count)))
        file.write(png_chunk(b"IDAT", packed.flush()) + png_chunk(b"IEND", b""))


def png(picture, level=1):
    return png_file(picture.width, picture.height, picture.rows(), level=level)


def grey_png(width, height, greys):
    """greys: a byte for each pixel, row after row."""
    rows = [greys[y * width : (y + 1) * width] for y in range(height)]
    return png_file(width, height, rows, PNG_GREY)


def png_with_alpha(picture, alpha):
    """alpha: how opaque each pixel is, a byte each, row after row."""
    pixels = bytearray(picture.width * picture.height * 4)
    for channel in range(3):
        pixels[channel::4] = picture.pixels[channel::3]
    pixels[3::4] = alpha
    row_bytes = picture.width * 4
    rows = [pixels[start : start + row_bytes] for start in range(0, len(pixels), row_bytes)]
    return png_file(picture.width, picture.height, rows, PNG_RGBA)


def paeth(left, up, corner):
    estimate = left + up - corner
    distances = abs(estimate - left), abs(estimate - up), abs(estimate - corner)
    return (left, up, corner)[distances.index(min(distances))]


def unfiltered(kind, line, above, step):
    """A PNG line without its filter; step: bytes to the pixel on the left, at least 1."""
    line = bytearray(line)
    for i, byte in enumerate(line):
        left = line[i - step] if i >= step else 0
        corner = above[i - step] if i >= step else 0
        guess = (0, left, above[i], (left + above[i]) // 2, paeth(left, above[i], corner))[kind]
        line[i] = (byte + guess) & 255
    return bytes(line)


def filtered(kind, line, above, step):
    """A PNG line with its filter, the opposite of unfiltered."""
    guess = bytearray(len(line))
    for i in range(len(line)):
        left, corner = (line[i - step], above[i - step]) if i >= step else (0, 0)
        guess[i] = (0, left, above[i], (left + above[i]) // 2, paeth(left, above[i], corner))[kind]
    return bytes([kind]) + bytes((byte - expected) & 255 for byte, expected in zip(line, guess))


def png_of_data(width, height, colour_type, packed_lines, chunk_bytes):
    """A PNG of 8 bits a sample whose compressed lines come in chunks of some length."""
    header = struct.pack(">IIBBBBB", width, height, 8, colour_type, 0, 0, 0)
    file = PNG_SIGNATURE + png_chunk(b"IHDR", header) + png_chunk(b"IDAT", b"")
    for at in range(0, len(packed_lines), chunk_bytes):
        file += png_chunk(b"IDAT", packed_lines[at : at + chunk_bytes])
    return file + png_chunk(b"IEND", b"")


def read_png(file):
    assert file[:8] == PNG_SIGNATURE, "not a PNG"
    chunks, at = [], 8
    while at < len(file):
        (size,) = struct.unpack_from(">I", file, at)
        kind, data = file[at + 4 : at + 8], file[at + 8 : at + 8 + size]
        assert file[at : at + size + 12] == png_chunk(kind, data), f"chunk {kind} is damaged"
        chunks.append((kind, data))
        at += size + 12
    assert chunks[-1][0] == b"IEND"
    found = dict(chunks)
    width, height, depth, colour_type, _, _, interlaced = struct.unpack(">IIBBBBB", found[b"IHDR"])
    assert not interlaced
    bits = depth * {PNG_RGB: 3, PNG_RGBA: 4}.get(colour_type, 1)
    row_bytes = (width * bits + 7) // 8
    data = zlib.decompress(b"".join(data for kind, data in chunks if kind == b"IDAT"))
    assert len(data) == height * (row_bytes + 1)
    rows, above = [], bytes(row_bytes)
    for start in range(0, len(data), row_bytes + 1):
        kind, line = data[start], data[start + 1 : start + 1 + row_bytes]
        above = unfiltered(kind, line, above, max(bits // 8, 1)) if kind else line
        rows.append(above)
    if colour_type == PNG_RGB:
        assert depth == 8
        return FilePicture(Picture(width, height, b"".join(rows)), 24)
    if colour_type == PNG_RGBA:
        assert depth == 8
        return with_opacity(width, height, b"".join(rows))
    if colour_type == PNG_PALETTE:
        entries = found[b"PLTE"]
        palette = [entries[i : i + 3] for i in range(0, len(entries), 3)]
    else:
        assert colour_type == PNG_GREY
        palette = {1: BLACK_AND_WHITE, 8: GREYS}[depth]
    return FilePicture(from_indices(width, height, rows, bits, palette), bits)


# --- pixels that are indices ----------------------------------------------------------------------


def indices(row, width, bits):
    """The indices of a row of 1, 2, 4 or 8 bits per pixel, the leftmost pixel highest."""
    if bits == 8:
        return row[:width]
    mask = (1 << bits) - 1
    return [row[x * bits // 8] >> (8 - bits - x * bits % 8) & mask for x in range(width)]


def packed(values, bits):
    """The row of 1, 2, 4 or 8 bits per pixel that holds these indices."""
    row = bytearray((len(values) * bits + 7) // 8)
    for x, value in enumerate(values):
        row[x * bits // 8] |= value << (8 - bits - x * bits % 8)
    return bytes(row)


def from_indices(width, height, rows, bits, palette):
    colours = [palette[index] for row in rows for index in indices(row, width, bits)]
    return from_colours(width, height, colours)


# --- BMP ------------------------------------------------------------------------------------------


def bmp_file(width, height, bits, rows, palette=(), top_down=False):
    """A BMP of rows as the file has them, top row first, but without the filling of each row."""
    colours = b"".join(bytes((blue, green, red, 0)) for red, green, blue in palette)
    filled = [row + bytes(-len(row) % 4) for row in rows]
    pixels = b"".join(filled if top_down else reversed(filled))
    start = 54 + len(colours)
    stored_height = -height if top_down else height
    return (
        struct.pack("<2sIHHI", b"BM", start + len(pixels), 0, 0, start)
        + struct.pack("<IiiHHI", 40, width, stored_height, 1, bits, 0)
        + struct.pack("<IiiII", len(pixels), 2835, 2835, len(palette), 0)
        + colours
        + pixels
    )


def blue_first(row):
    """A row of 24-bit pixels with red and blue exchanged."""
    turned = bytearray(row)
    turned[0::3], turned[2::3] = row[2::3], row[0::3]
    return bytes(turned)


def bmp(picture, top_down=False):
    rows = [blue_first(row) for row in picture.rows()]
    return bmp_file(picture.width, picture.height, 24, rows, top_down=top_down)


def widened_555(row):
    """16-bit pixels as 24 bits, by the library's rule: the low bits are set."""
    words = struct.unpack(f"<{len(row) // 2}H", row)
    assert not any(word & 0x8000 for word in words), "bit 15 is set"
    fields = [(word >> shift & 31) << 3 | 7 for word in words for shift in (10, 5, 0)]
    return bytes(fields)


def read_bmp(file):
    magic, size, _, _, start = struct.unpack_from("<2sIHHI", file)
    assert magic == b"BM" and size == len(file), "not a whole BMP"
    header = struct.unpack_from("<IiiHHIIiiII", file, 14)
    header_size, width, height, planes, bits, compression, _, _, _, colours_used, _ = header
    assert planes == 1 and compression == 0, (planes, compression)
    row_bytes = (width * bits + 7) // 8
    pitch = (row_bytes + 3) // 4 * 4
    assert len(file) >= start + abs(height) * pitch, "rows are missing"
    rows = [file[start + y * pitch :][:row_bytes] for y in range(abs(height))]
    if height > 0:
        rows.reverse()
    height = abs(height)
    if bits == 24:
        return FilePicture(Picture(width, height, b"".join(map(blue_first, rows))), bits)
    if bits == 16:
        return FilePicture(Picture(width, height, b"".join(map(widened_555, rows))), bits)
    assert bits in (1, 8), bits
    entries = file[14 + header_size :][: 4 * (colours_used or 1 << bits)]
    palette = [(entries[i + 2], entries[i + 1], entries[i]) for i in range(0, len(entries), 4)]
    return FilePicture(from_indices(width, height, rows, bits, palette), bits)


# --- TIFF -----------------------------------------------------------------------------------------

TIFF_SHORT, TIFF_LONG = 3, 4
TIFF_WHITE_IS_0, TIFF_BLACK_IS_0, TIFF_RGB, TIFF_PALETTE = 0, 1, 2, 3
TIFF_PLAIN_ALPHA = 2  # colours are not multiplied by it


def tiff(picture):
    """One strip without compression."""
    pixels = picture.pixels + bytes(len(picture.pixels) % 2)
    directory_at = 8 + len(pixels)
    bits_at = directory_at + 2 + 10 * 12 + 4
    entries = [
        (256, TIFF_LONG, 1, picture.width),
        (257, TIFF_LONG, 1, picture.height),
        (258, TIFF_SHORT, 3, bits_at),
        (259, TIFF_SHORT, 1, 1),
        (262, TIFF_SHORT, 1, TIFF_RGB),
        (273, TIFF_LONG, 1, 8),
        (277, TIFF_SHORT, 1, 3),
        (278, TIFF_LONG, 1, picture.height),
        (279, TIFF_LONG, 1, len(picture.pixels)),
        (284, TIFF_SHORT, 1, 1),
    ]
    directory = b"".join(struct.pack("<HHII", *entry) for entry in entries)
    return (
        struct.pack("<2sHI", b"II", 42, directory_at)
        + pixels
        + struct.pack("<H", len(entries))
        + directory
        + struct.pack("<I3H", 0, 8, 8, 8)
    )


def read_tiff(file):
    magic, version, at = struct.unpack_from("<2sHI", file)
    assert magic == b"II" and version == 42, "not a little-endian TIFF"
    tags = {}
    (entries,) = struct.unpack_from("<H", file, at)
    for entry in range(entries):
        place = at + 2 + 12 * entry
        tag, kind, count = struct.unpack_from("<HHI", file, place)
        letter = {TIFF_SHORT: "H", TIFF_LONG: "I"}.get(kind)
        if letter:
            size = count * struct.calcsize(letter)
            where = place + 8 if size <= 4 else struct.unpack_from("<I", file, place + 8)[0]
            tags[tag] = struct.unpack_from(f"<{count}{letter}", file, where)
    assert tags.get(259, (1,)) == (1,) and tags.get(284, (1,)) == (1,), "compressed or in planes"
    (width,), (height,), (photometric,) = tags[256], tags[257], tags[262]
    bits = sum(tags.get(258, (1,)))
    data = b"".join(file[at : at + size] for at, size in zip(tags[273], tags[279]))
    row_bytes = (width * bits + 7) // 8
    assert len(data) == row_bytes * height, "rows are missing"
    if photometric == TIFF_RGB and bits == 32:
        assert (tags[258], tags[338]) == ((8, 8, 8, 8), (TIFF_PLAIN_ALPHA,))
        return with_opacity(width, height, data)
    if photometric == TIFF_RGB:
        assert tags[258] == (8, 8, 8)
        return FilePicture(Picture(width, height, data), bits)
    rows = [data[y * row_bytes : (y + 1) * row_bytes] for y in range(height)]
    if photometric == TIFF_PALETTE:
        entries = 1 << bits
        channels = [[word >> 8 for word in tags[320][i * entries :][:entries]] for i in range(3)]
        palette = list(zip(*channels))
    else:
        palette = {1: BLACK_AND_WHITE, 8: GREYS}[bits]
        if photometric == TIFF_WHITE_IS_0:
            palette = palette[::-1]
    return FilePicture(from_indices(width, height, rows, bits, palette), bits)


# --- GIF ------------------------------------------------------------------------------------------


def gif_file(width, height, values, palette, transparent=None):
    """A GIF of 256 colours, one of which may be transparent.

    Nothing is compressed: the table is cleared before it needs 10 bits.
    """
    clear, end, often = 256, 257, 250
    codes = []
    for start in range(0, len(values), often):
        codes += [clear, *values[start : start + often]]
    codes.append(end)
    stream = sum(code << 9 * i for i, code in enumerate(codes))
    data = stream.to_bytes((len(codes) * 9 + 7) // 8, "little")
    blocks = [data[i : i + 255] for i in range(0, len(data), 255)]
    control = struct.pack("<BBBBHBB", 0x21, 0xF9, 4, 1, 0, transparent or 0, 0)
    return (
        b"GIF89a"
        + struct.pack("<HHBBB", width, height, 0xF7, 0, 0)
        + b"".join(map(bytes, palette))
        + (b"" if transparent is None else control)
        + struct.pack("<BHHHHBB", 0x2C, 0, 0, width, height, 0, 8)
        + b"".join(bytes([len(block)]) + block for block in blocks)
        + b"\0;"
    )


# --- JPEG -----------------------------------------------------------------------------------------

# Lengths of the codes for the size of a difference, 0 to 11 bits.
JPEG_SIZES = [0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0]


def jpeg_codes():
    code, codes = 0, []
    for length, count in enumerate(JPEG_SIZES, 1):
        for _ in range(count):
            codes.append(format(code, f"0{length}b"))
            code += 1
        code <<= 1
    return codes


def jpeg_segment(marker, data):
    return struct.pack(">BBH", 0xFF, marker, len(data) + 2) + data


def jpeg_file(columns, rows, blocks):
    """A JPEG of even 8 x 8 blocks: each is a tuple of 1 value (grey) or 3 (luma and two chromas).

    Only the mean of each block is coded, in steps so fine that nothing is lost.
    """
    channels, codes = len(blocks[0]), jpeg_codes()
    bits, last = [], [0] * channels
    for block in blocks:
        for channel, value in enumerate(block):
            mean = 8 * (value - 128)
            difference, last[channel] = mean - last[channel], mean
            size = abs(difference).bit_length()
            bits.append(codes[size])
            if size:
                low = difference if difference > 0 else difference + (1 << size) - 1
                bits.append(format(low, f"0{size}b"))
            bits.append("0")  # nothing but the mean
    text = "".join(bits)
    text += "1" * (-len(text) % 8)
    data = int(text, 2).to_bytes(len(text) // 8, "big").replace(b"\xff", b"\xff\0")
    frame = struct.pack(">BHHB", 8, rows * 8, columns * 8, channels)
    scan = bytes([channels])
    for channel in range(1, channels + 1):
        frame += bytes([channel, 0x11, 0])
        scan += bytes([channel, 0x00])
    return (
        b"\xff\xd8"
        + jpeg_segment(0xE0, b"JFIF\0\1\1\0\0\1\0\1\0\0")
        + jpeg_segment(0xDB, b"\0" + b"\1" * 64)
        + jpeg_segment(0xC0, frame)
        + jpeg_segment(0xC4, b"\x00" + bytes(JPEG_SIZES) + bytes(range(12)))
        + jpeg_segment(0xC4, b"\x10" + bytes([1] + [0] * 15) + b"\0")
        + jpeg_segment(0xDA, scan + b"\0\x3f\0")
        + data
        + b"\xff\xd9"
    )


def jpeg_frame(file):
    """Width, height and channels of a JPEG, from its frame header."""
    assert file[:2] == b"\xff\xd8" and file[-2:] == b"\xff\xd9", "not a whole JPEG"
    at = 2
    while file[at + 1] not in (0xC0, 0xC1, 0xC2):
        assert file[at] == 0xFF
        at += 2 + struct.unpack_from(">H", file, at + 2)[0]
    depth, height, width, channels = struct.unpack_from(">BHHB", file, at + 4)
    assert depth == 8
    return width, height, channels


# --- by extension ---------------------------------------------------------------------------------

READERS = {".png": read_png, ".bmp": read_bmp, ".tif": read_tiff, ".tiff": read_tiff}


def read(path):
    """Reads a file that the tool has written."""
    return READERS[path.suffix.lower()](path.read_bytes())
