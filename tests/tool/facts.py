"""What files say of their pictures beside the pixels: put into files, and read out of them.

Files are those of pictures.py; a profile is as short as one can be.
"""

import struct
import zlib
from collections import namedtuple

import pictures

# orientation: EXIF's number. resolution: pixels per inch, across and down.
Facts = namedtuple("Facts", "orientation resolution profile comment", defaults=[1, None, b"", ""])

SHORT, LONG, ASCII, RATIONAL, UNDEFINED = 3, 4, 2, 5, 7
BYTES = {SHORT: 2, LONG: 4, ASCII: 1, RATIONAL: 8, UNDEFINED: 1}


def profile(pixels=b"RGB ", seed=0):
    """pixels: the kind that it is for, four letters."""
    body = pictures.noise(20, 2, seed).pixels
    head = struct.pack(">I12s4s16s4s", 128 + len(body), b"", pixels, b"", b"acsp")
    return head.ljust(128, b"\0") + body


def directory(fields, at):
    """A TIFF directory that lies at a place, with what its fields need behind it.

    fields: pairs of a tag and its kind, count and bytes.
    """
    end = at + 2 + 12 * len(fields) + 4
    entries, behind = b"", b""
    for tag, (kind, count, data) in sorted(fields.items()):
        if len(data) > 4:
            place, data = end + len(behind), data + bytes(len(data) % 2)
            behind += data
            data = struct.pack("<I", place)
        entries += struct.pack("<HHI4s", tag, kind, count, data)
    return struct.pack("<H", len(fields)) + entries, behind


def numbers(kind, *values):
    letter = {SHORT: "H", LONG: "I"}[kind]
    return kind, len(values), struct.pack(f"<{len(values)}{letter}", *values)


def exif(orientation):
    entries, _ = directory({274: numbers(SHORT, orientation)}, 8)
    return b"II*\0" + struct.pack("<I", 8) + entries + bytes(4)


# --- into files -----------------------------------------------------------------------------------


def png_with(file, facts):
    chunks = b""
    if facts.profile:
        chunks += pictures.png_chunk(b"iCCP", b"any\0\0" + zlib.compress(facts.profile))
    if facts.resolution:
        across, down = (round(value / 0.0254) for value in facts.resolution)
        chunks += pictures.png_chunk(b"pHYs", struct.pack(">IIB", across, down, 1))
    if facts.orientation != 1:
        chunks += pictures.png_chunk(b"eXIf", exif(facts.orientation))
    if facts.comment:
        text = b"Comment\0\0\0\0\0" + facts.comment.encode()
        chunks += pictures.png_chunk(b"iTXt", text)
    return file[:33] + chunks + file[33:]


def jpeg_with(file, facts):
    density = (1, *facts.resolution) if facts.resolution else (0, 1, 1)
    segments = pictures.jpeg_segment(0xE0, struct.pack(">5s2sBHHBB", b"JFIF", b"\1\1", *density, 0, 0))
    if facts.orientation != 1:
        segments += pictures.jpeg_segment(0xE1, b"Exif\0\0" + exif(facts.orientation))
    if facts.profile:
        segments += pictures.jpeg_segment(0xE2, b"ICC_PROFILE\0\1\1" + facts.profile)
    if facts.comment:
        segments += pictures.jpeg_segment(0xFE, facts.comment.encode())
    return file[:2] + segments + file[20:]


def tiff_with(picture, facts, pages=1):
    """All pages are the same picture."""
    strip = picture.pixels + bytes(len(picture.pixels) % 2)
    fields = {
        256: numbers(LONG, picture.width),
        257: numbers(LONG, picture.height),
        258: numbers(SHORT, 8, 8, 8),
        259: numbers(SHORT, 1),
        262: numbers(SHORT, 2),
        273: numbers(LONG, 8),
        277: numbers(SHORT, 3),
        278: numbers(LONG, picture.height),
        279: numbers(LONG, len(picture.pixels)),
    }
    if facts.orientation != 1:
        fields[274] = numbers(SHORT, facts.orientation)
    if facts.resolution:
        for tag, value in zip((282, 283), facts.resolution):
            fields[tag] = RATIONAL, 1, struct.pack("<II", value, 1)
        fields[296] = numbers(SHORT, 2)
    if facts.profile:
        fields[34675] = UNDEFINED, len(facts.profile), facts.profile
    if facts.comment:
        text = facts.comment.encode() + b"\0"
        fields[270] = ASCII, len(text), text
    file = b"II*\0" + struct.pack("<I", 8 + len(strip)) + strip
    for page in range(pages):
        entries, behind = directory(fields, len(file))
        after = len(file) + len(entries) + 4 + len(behind) if page + 1 < pages else 0
        file += entries + struct.pack("<I", after) + behind
    return file


# --- out of files ---------------------------------------------------------------------------------


def fields_of(file):
    """The fields of a TIFF's first directory: numbers, pairs of them, or bytes."""
    found, order = {}, "<" if file[:2] == b"II" else ">"
    (at,) = struct.unpack_from(order + "I", file, 4)
    (count,) = struct.unpack_from(order + "H", file, at)
    for entry in range(count):
        place = at + 2 + 12 * entry
        tag, kind, length = struct.unpack_from(order + "HHI", file, place)
        size = BYTES[kind] * length
        start = place + 8 if size <= 4 else struct.unpack_from(order + "I", file, place + 8)[0]
        data = file[start : start + size]
        if kind in (SHORT, LONG):
            data = struct.unpack(f"{order}{length}{'H' if kind == SHORT else 'I'}", data)[0]
        elif kind == RATIONAL:
            above, below = struct.unpack(order + "II", data[:8])
            data = above / below
        found[tag] = data
    return found


def of_fields(fields):
    resolution = None
    if 282 in fields:
        assert fields[296] == 2
        resolution = round(fields[282]), round(fields[283])
    comment = fields.get(270, b"").rstrip(b"\0").decode()
    return Facts(fields.get(274, 1), resolution, fields.get(34675, b""), comment)


def of_png(file):
    facts, at = Facts(), 8
    while at < len(file):
        length, kind = struct.unpack_from(">I4s", file, at)
        data = file[at + 8 : at + 8 + length]
        at += length + 12
        if kind == b"iCCP":
            facts = facts._replace(profile=zlib.decompress(data[data.index(b"\0") + 2 :]))
        elif kind == b"pHYs":
            across, down, unit = struct.unpack(">IIB", data)
            assert unit == 1
            facts = facts._replace(resolution=(round(across * 0.0254), round(down * 0.0254)))
        elif kind == b"eXIf":
            facts = facts._replace(orientation=fields_of(data)[274])
        elif kind == b"tEXt":
            assert data.startswith(b"Comment\0")
            facts = facts._replace(comment=data[8:].decode("ascii"))
        elif kind == b"iTXt":
            assert data.startswith(b"Comment\0\0\0\0\0")
            facts = facts._replace(comment=data[12:].decode())
    return facts


def of_jpeg(file):
    facts, at = Facts(), 2
    while file[at + 1] != 0xDA:
        marker, length = struct.unpack_from(">xBH", file, at)
        data = file[at + 4 : at + 2 + length]
        at += 2 + length
        if marker == 0xE0 and data[7] == 1:
            facts = facts._replace(resolution=struct.unpack_from(">HH", data, 8))
        elif marker == 0xE1:
            assert data.startswith(b"Exif\0\0")
            facts = facts._replace(orientation=fields_of(data[6:])[274])
        elif marker == 0xE2:
            assert data.startswith(b"ICC_PROFILE\0\1\1")
            facts = facts._replace(profile=data[14:])
        elif marker == 0xFE:
            facts = facts._replace(comment=data.decode())
    return facts


def of_bmp(file):
    across, down = struct.unpack_from("<II", file, 38)
    return Facts(resolution=(round(across * 0.0254), round(down * 0.0254)) if across else None)


READERS = {
    ".png": of_png,
    ".jpg": of_jpeg,
    ".tif": lambda file: of_fields(fields_of(file)),
    ".bmp": of_bmp,
}


def read(path):
    """The facts of a file that the tool has written."""
    return READERS[path.suffix](path.read_bytes())
