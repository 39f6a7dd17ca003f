"""How pictures are packed into files: quality and chroma of JPEG, compression of PNG and TIFF."""

import struct
import zlib

import facts_files
import pictures
from program_case import long_round
from tool_case import USAGE, ToolCase

STEPS_AT_50 = 16, 17  # the first ones of the standard's example tables


def segments(file):
    """The segments of a JPEG before its coded data."""
    at, found = 2, []
    while file[at + 1] != 0xDA:
        marker, size = struct.unpack_from(">xBH", file, at)
        found.append((marker, file[at + 4 : at + 2 + size]))
        at += 2 + size
    return found


def sampling(file):
    """Samples across and down of each channel."""
    (frame,) = [data for marker, data in segments(file) if marker == 0xC0]
    return [divmod(frame[7 + 3 * i], 16) for i in range(frame[5])]


def first_steps(file):
    """The first entries of the tables of steps."""
    return [data[1] for marker, data in segments(file) if marker == 0xDB]


def unpacked_bits(data):
    rows, at = b"", 0
    while at < len(data):
        count = data[at]
        if count < 128:
            rows += data[at + 1 : at + 2 + count]
            at += 2 + count
        else:
            assert count > 128
            rows += data[at + 1 : at + 2] * (257 - count)
            at += 2
    return rows


def unpacked_lzw(data):
    bits, at = int.from_bytes(data, "big"), len(data) * 8
    table, width, last, parts = [], 9, None, []
    while True:
        at -= width
        code = bits >> at & (1 << width) - 1
        if code == 257:
            assert at < 8, "there is more behind the end"
            return b"".join(parts)
        if code == 256:
            table, width, last = [bytes([i]) for i in range(256)] + [None, None], 9, None
            continue
        if last is not None:
            table.append(last + (table[code] if code < len(table) else last)[:1])
        last = table[code]
        parts.append(last)
        width = max(9, (len(table) + 1).bit_length())


UNPACKED = {1: bytes, 32773: unpacked_bits, 5: unpacked_lzw, 8: zlib.decompress}


def tiff_rows(file, row_bytes):
    """The number of the packing, and the rows as they were before it."""
    tags = facts_files.read_directory(file)
    (packing,) = tags[259]
    strips = [file[at : at + size] for at, size in zip(tags[273], tags[279])]
    rows = b"".join(UNPACKED[packing](strip) for strip in strips)
    if tags.get(317) == (2,):
        step, plain = tags[277][0], bytearray(rows)
        for at in range(0, len(plain), row_bytes):
            for i in range(at + step, at + row_bytes):
                plain[i] = (plain[i] + plain[i - step]) & 255
        rows = bytes(plain)
    return packing, rows


class Jpeg(ToolCase):
    def jpeg(self, *options, target="out.jpg"):
        return self.convert("in.png", target, *options)

    def setUp(self):
        super().setUp()
        self.picture = pictures.ramps(61, 43)
        self.write("in.png", pictures.png(self.picture))

    def assert_close(self, name, within):
        self.convert(name, "back.bmp")
        self.assert_file_holds("back.bmp", self.picture, 24, within)

    def test_quality_and_chroma(self):
        quarter, half, full = [(2, 2), (1, 1), (1, 1)], [(2, 1), (1, 1), (1, 1)], [(1, 1)] * 3
        for options, steps, samples, within in [
            ([], [5, 5], quarter, 12),
            (["--quality", "50"], list(STEPS_AT_50), quarter, 24),
            (["--quality", "1"], [255, 255], quarter, 255),
            (["--quality", "90"], [3, 3], full, 6),
            (["--quality", "100"], [1, 1], full, 3),
            (["--quality", "100", "--chroma", "422"], [1, 1], half, 8),
            (["--quality", "100", "--chroma", "420"], [1, 1], quarter, 8),
            (["--chroma", "444"], [5, 5], full, 8),
        ]:
            with self.subTest(options=options):
                file = self.jpeg(*options)
                self.assertEqual(pictures.jpeg_frame(file), (61, 43, 3))
                self.assertEqual(first_steps(file), steps)
                self.assertEqual(sampling(file), samples)
                self.assert_close("out.jpg", within)

    def test_grey(self):
        self.picture = self.picture.changed(lambda red, green, blue: (green,) * 3)
        self.write("in.png", pictures.png(self.picture))
        file = self.jpeg("--quality", "100", "--bits", "8")
        self.assertEqual((sampling(file), first_steps(file)), ([(1, 1)], [1]))
        self.assert_close("out.jpg", 2)

    def test_noise_and_small_pictures(self):
        """Coefficients of all sizes, and sides that are shorter than a block."""
        for width, height in [(1, 1), (17, 9), (64, 40)]:
            with self.subTest(width=width, height=height):
                self.picture = pictures.noise(width, height)
                self.write("in.png", pictures.png(self.picture))
                self.jpeg("--quality", "100")
                self.assert_close("out.jpg", 4)


class Packed(ToolCase):
    def setUp(self):
        super().setUp()
        # Runs, repetitions and noise; more than one strip, and more strings than LZW has codes.
        noise = pictures.noise(150, 60).pixels
        even = bytes(150 * 3 * 60)
        self.picture = pictures.Picture(150, 300, noise + even + noise[::-1] + b"\1\2\3\4" * 6750 + noise)
        self.write("in.png", pictures.png(self.picture))

    @long_round
    def test_tiff(self):
        sizes = {}
        for word, number in [("none", 1), ("packbits", 32773), ("lzw", 5), ("deflate", 8)]:
            for bits in ("24", "8", "1"):
                with self.subTest(word=word, bits=bits):
                    options = ["--compression", word, "--bits", bits]
                    file = self.convert("in.png", "out.tif", *options)
                    plain = self.convert("in.png", "plain.tif", "--bits", bits)
                    row_bytes = (150 * int(bits) + 7) // 8
                    wanted = tiff_rows(plain, row_bytes)[1]
                    self.assertEqual(tiff_rows(file, row_bytes), (number, wanted))
                    sizes[word, bits] = len(file)
                    if word != "none":
                        self.convert("out.tif", "back.bmp")
                        self.convert("plain.tif", "wanted.bmp")
                        self.assertEqual(
                            self.read("back.bmp").picture.pixels, self.read("wanted.bmp").picture.pixels
                        )
        self.assertLess(sizes["lzw", "24"], sizes["none", "24"])
        self.assertLess(sizes["deflate", "24"], sizes["lzw", "24"])

    def test_png(self):
        sizes = {}
        for word in ("none", "fast", "default", "best", "0", "1", "4", "9"):
            with self.subTest(word=word):
                sizes[word] = len(self.convert("in.png", "out.png", "--compression", word))
                self.assert_file_holds("out.png", self.picture, 24)
        sizes[""] = len(self.convert("in.png", "out.png"))
        for word, same in [("none", "0"), ("fast", "1"), ("default", "4"), ("best", "9"), ("", "4")]:
            self.assertEqual(sizes[word], sizes[same])
        self.assertGreater(sizes["none"], 150 * 300 * 3)
        self.assertGreater(sizes["none"], sizes["fast"])
        self.assertGreaterEqual(sizes["fast"], sizes["best"])

    def test_what_a_format_has_no_use_for(self):
        for name, options, says in [
            ("out.png", ["--quality", "80"], "--quality is for JPEG, not for PNG"),
            ("out.bmp", ["--quality", "80"], "--quality is for JPEG, not for BMP"),
            ("out.tif", ["--chroma", "444"], "--chroma is for JPEG, not for TIFF"),
            ("out.jpg", ["--compression", "best"], "--compression is for PNG and TIFF, not for JPEG"),
            ("out.bmp", ["--compression", "none"], "--compression is for PNG and TIFF, not for BMP"),
            ("out.jpg", ["--quality", "0"], "from 1 to 100"),
            ("out.jpg", ["--quality", "101"], "from 1 to 100"),
            ("out.jpg", ["--chroma", "411"], "420, 422 or 444"),
            ("out.png", ["--compression", "lzw"], "a level from 0 to 9"),
            ("out.png", ["--compression", "10"], "a level from 0 to 9"),
            ("out.tif", ["--compression", "best"], "packbits, lzw or deflate"),
        ]:
            with self.subTest(name=name, options=options):
                self.refuse(USAGE, "convert", "in.png", name, *options, says=says)
