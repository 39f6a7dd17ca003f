"""What picture files say beside the pixels: put into files and read back, without any library."""

import random
import struct
import zlib
from collections import namedtuple

import pictures
from pictures import PNG_SIGNATURE, jpeg_segment, png_chunk

# resolution: pixels per inch across and down.
Facts = namedtuple("Facts", "orientation resolution profile comment", defaults=[1, None, b"", ""])


def profile(size, space=b"RGB "):
    """As much of an ICC profile as programs look at: size, colour space, mark."""
    head = struct.pack(">I12s4s16s4s", size, bytes(12), space, bytes(16), b"acsp")
    return head + random.Random(size).randbytes(size - len(head))


# --- directories of TIFF and EXIF -----------------------------------------------------------------

ASCII, SHORT, LONG, RATIONAL, UNDEFINED = 2, 3, 4, 5, 7
SIZES = {ASCII: 1, SHORT: 2, LONG: 4, RATIONAL: 8, UNDEFINED: 1}


def directory(entries, at, order, following=0):
    """entries: tag, type, values (bytes, or numbers). at: its place in the file."""
    values_at, fields, values = at + 2 + 12 * len(entries) + 4, b"", b""
    for tag, kind, value in sorted(entries):
        letter = {SHORT: "H", LONG: "I", RATIONAL: "I"}.get(kind)
        data = struct.pack(f"{order}{len(value)}{letter}", *value) if letter else value
        fields += struct.pack(order + "HHI", tag, kind, len(data) // SIZES[kind])
        if len(data) <= 4:
            fields += data.ljust(4, b"\0")
        else:
            fields += struct.pack(order + "I", values_at + len(values))
            values += data + bytes(len(data) % 2)
    return (
        struct.pack(order + "H", len(entries)) + fields + struct.pack(order + "I", following) + values
    )


def entries_of(facts, unit=2):
    entries = []
    if facts.orientation is not None:
        entries.append((274, SHORT, [facts.orientation]))
    if facts.resolution:
        inches = {2: 1, 3: 2.54}[unit]
        across, down = (round(value / inches * 1000) for value in facts.resolution)
        entries += [(282, RATIONAL, [across, 1000]), (283, RATIONAL, [down, 1000]), (296, SHORT, [unit])]
    return entries


def exif(facts, order="<", unit=2):
    mark = b"II*\0" if order == "<" else b"MM\0*"
    return mark + struct.pack(order + "I", 8) + directory(entries_of(facts, unit), 8, order)


def read_directory(data):
    """The values by their tags: numbers, or bytes."""
    order = {b"II": "<", b"MM": ">"}[data[:2]]
    (at,) = struct.unpack_from(order + "I", data, 4)
    (count,) = struct.unpack_from(order + "H", data, at)
    found = {}
    for place in range(at + 2, at + 2 + 12 * count, 12):
        tag, kind, values = struct.unpack_from(order + "HHI", data, place)
        size = values * SIZES[kind]
        where = place + 8 if size <= 4 else struct.unpack_from(order + "I", data, place + 8)[0]
        letter = {SHORT: "H", LONG: "I", RATIONAL: "I"}.get(kind)
        count_of = values * (2 if kind == RATIONAL else 1)
        value = data[where : where + size]
        found[tag] = struct.unpack(f"{order}{count_of}{letter}", value) if letter else value
    return found


# --- files with facts -----------------------------------------------------------------------------


def png(picture, facts):
    chunks = b""
    if facts.profile:
        chunks += png_chunk(b"iCCP", b"a name\0\0" + zlib.compress(facts.profile))
    if facts.resolution:
        metre = [round(value / 0.0254) for value in facts.resolution]
        chunks += png_chunk(b"pHYs", struct.pack(">IIB", *metre, 1))
    if facts.orientation != 1:
        chunks += png_chunk(b"eXIf", exif(Facts(facts.orientation), ">"))
    if facts.comment:
        chunks += png_chunk(b"iTXt", b"Comment\0\0\0\0\0" + facts.comment.encode())
    return with_chunks(pictures.png(picture), chunks)


def with_chunks(file, chunks):
    """Chunks behind the header."""
    header_end = len(PNG_SIGNATURE) + 25
    return file[:header_end] + chunks + file[header_end:]


def jpeg(columns, rows, blocks, facts):
    return with_segments(pictures.jpeg_file(columns, rows, blocks), segments_of(facts))


def segments_of(facts):
    segments = b""
    if facts.resolution or facts.orientation != 1:
        segments += jpeg_segment(0xE1, b"Exif\0\0" + exif(facts))
    parts = [facts.profile[at : at + 65519] for at in range(0, len(facts.profile), 65519)]
    for number, part in enumerate(parts, 1):
        segments += jpeg_segment(0xE2, b"ICC_PROFILE\0" + bytes([number, len(parts)]) + part)
    if facts.comment:
        segments += jpeg_segment(0xFE, facts.comment.encode())
    return segments


def with_segments(file, segments):
    """Segments behind JFIF's."""
    (length,) = struct.unpack_from(">H", file, 4)
    return file[: 4 + length] + segments + file[4 + length :]


def tiff(picture, facts, order="<", unit=2, pages=1):
    """Pages that are all the same, of one strip each."""
    file = (b"II*\0" if order == "<" else b"MM\0*") + struct.pack(order + "I", 8)
    for page in range(pages):
        entries = entries_of(facts, unit) + [
            (256, LONG, [picture.width]),
            (257, LONG, [picture.height]),
            (258, SHORT, [8, 8, 8]),
            (259, SHORT, [1]),
            (262, SHORT, [2]),
            (273, LONG, [0]),
            (277, SHORT, [3]),
            (278, LONG, [picture.height]),
            (279, LONG, [len(picture.pixels)]),
            (284, SHORT, [1]),
        ]
        if facts.comment:
            entries.append((270, ASCII, facts.comment.encode() + b"\0"))
        if facts.profile:
            entries.append((34675, UNDEFINED, facts.profile))
        pixels = picture.pixels + bytes(len(picture.pixels) % 2)
        pixels_at = len(file) + len(directory(entries, 0, order))
        entries[[tag for tag, *_ in entries].index(273)] = (273, LONG, [pixels_at])
        following = pixels_at + len(pixels) if page + 1 < pages else 0
        file += directory(entries, len(file), order, following) + pixels
    return file


# --- facts of files -------------------------------------------------------------------------------


def read_png(file):
    at, found, texts = 8, Facts(), {}
    while at < len(file):
        size, kind = struct.unpack_from(">I4s", file, at)
        data = file[at + 8 : at + 8 + size]
        assert file[at : at + size + 12] == png_chunk(kind, data), f"chunk {kind} is damaged"
        at += size + 12
        if kind == b"iCCP":
            found = found._replace(profile=zlib.decompress(data.split(b"\0", 1)[1][1:]))
        if kind == b"pHYs":
            *metre, unit = struct.unpack(">IIB", data)
            assert unit == 1
            found = found._replace(resolution=tuple(value * 0.0254 for value in metre))
        if kind == b"eXIf":
            found = found._replace(orientation=read_directory(data)[274][0])
        if kind in (b"tEXt", b"iTXt"):
            name, text = data.split(b"\0", 1)
            texts[name] = text.decode("latin-1") if kind == b"tEXt" else text[4:].decode()
    return found._replace(comment=texts.get(b"Comment", ""))


def read_jpeg(file):
    at, found, parts = 2, Facts(), []
    while file[at + 1] != 0xDA:
        marker, size = struct.unpack_from(">xBH", file, at)
        data = file[at + 4 : at + 2 + size]
        at += 2 + size
        if marker == 0xE0:
            unit, across, down = struct.unpack_from(">BHH", data, 7)
            inches = {0: None, 1: 1, 2: 2.54}[unit]
            if inches:
                found = found._replace(resolution=(across * inches, down * inches))
        if marker == 0xE1:
            found = found._replace(orientation=read_directory(data[6:])[274][0])
        if marker == 0xE2:
            assert data.startswith(b"ICC_PROFILE\0")
            parts.append((data[12], data[13], data[14:]))
        if marker == 0xFE:
            found = found._replace(comment=data.decode())
    assert [number for number, _, _ in parts] == list(range(1, len(parts) + 1))
    assert all(count == len(parts) for _, count, _ in parts)
    return found._replace(profile=b"".join(part for _, _, part in parts))


def read_tiff(file):
    found = read_directory(file)
    resolution = None
    if 282 in found:
        assert found[296] == (2,)
        resolution = tuple(found[tag][0] / found[tag][1] for tag in (282, 283))
    return Facts(
        found[274][0],
        resolution,
        found.get(34675, b""),
        found.get(270, b"\0")[:-1].decode(),
    )


def read_bmp(file):
    metre = struct.unpack_from("<II", file, 38)
    return Facts(resolution=tuple(value * 0.0254 for value in metre) if any(metre) else None)


READERS = {".png": read_png, ".jpg": read_jpeg, ".tif": read_tiff, ".bmp": read_bmp}


def read(path):
    """The facts of a file that the tool has written."""
    return READERS[path.suffix](path.read_bytes())
