"""q32tool bitmap: BMP files come back byte for byte, or with nothing changed but pixels."""

import struct

import pictures
import rectangles
from bitmap_files import BIT_FIELDS, CORE_HEADER, R565, RLE4, RLE8, BitmapFile
from program_case import long_round
from tool_case import FAILED, STORAGES, USAGE, ToolCase

# Where fields of a BMP file are.
FILE_SIZE, PIXELS_AT, HEADER_SIZE, WIDTH, HEIGHT, BITS, COLOURS_USED = 2, 10, 14, 18, 22, 28, 46

NO_BITMAP = "error 1001, module 4, point 15"


def with_word(file, at, value, size=4):
    return file[:at] + (value & (1 << 8 * size) - 1).to_bytes(size, "little") + file[at + size :]


class Unchanged(ToolCase):
    def assert_kept(self, file):
        self.write("in.bmp", file)
        made = self.make("out.bmp", "bitmap", "in.bmp", "out.bmp", "--quiet")
        if made != file:
            self.assertEqual(len(made), len(file))
            wrong = [i for i in range(len(file)) if made[i] != file[i]]
            self.fail(f"{len(wrong)} bytes differ, the first at {wrong[0]}")

    def assert_layouts_kept(self, *layouts, **common):
        for layout in layouts:
            with self.subTest(**layout, **common):
                self.assert_kept(BitmapFile(**layout, **common).file)

    def test_every_depth(self):
        # 13 pixels need filling at all depths but 32 and 64, and do not fill bytes under 8 bits.
        depths = [{"bits": bits} for bits in (1, 2, 4, 8, 12, 16, 24, 32, 48, 64)]
        self.assert_layouts_kept(*depths, width=13, height=5)

    @long_round
    def test_every_amount_of_filling(self):
        widths = [{"width": width} for width in (1, 2, 3, 4)]
        self.assert_layouts_kept(*widths, bits=24, height=4)

    def test_larger_ones(self):
        self.assert_layouts_kept(
            {"bits": 24, "width": 257, "height": 131},
            {"bits": 1, "width": 1001, "height": 300},
            {"bits": 4, "width": 1, "height": 32000},
            {"bits": 8, "width": 31999, "height": 2},
            gap=1,
            trailing=1,
        )

    def test_every_header(self):
        # In 20 bytes there is no number of colours, in 36 it comes last.
        headers = [{"header": header} for header in (20, 52, 56, 64, 108, 124)]
        headers.append({"header": 36, "colours_used": 5})
        self.assert_layouts_kept(*headers, bits=4, width=9, height=3)

    def test_colour_tables(self):
        self.assert_layouts_kept(
            {"bits": 8, "colours_used": 1},
            {"bits": 4, "colours_used": 15},
            {"bits": 1, "colours_used": 300},
            {"bits": 24, "colours_used": 7},
            {"bits": 8, "colours_used": 200, "header": 124},
            width=11,
            height=3,
        )

    def test_gap_and_end(self):
        self.assert_layouts_kept(
            {"bits": 8, "colours_used": 5, "gap": 3, "trailing": 9},
            {"bits": 24, "gap": 1},
            {"bits": 1, "gap": 1000, "header": 108},
            {"bits": 16, "trailing": 70000},
            width=7,
            height=4,
        )

    def test_r565(self):
        self.assert_layouts_kept({"bits": 16}, width=5, height=3, compression=R565)

    def test_the_last_filling_may_be_missing(self):
        file = BitmapFile(24, 7, 4)
        self.assert_kept(file.file[:-3])

    def test_a_size_that_lies(self):
        for size in (0, 50, 0xFFFFFFFF):
            with self.subTest(size=size):
                self.assert_kept(with_word(BitmapFile(8, 5, 5, trailing=3).file, FILE_SIZE, size))

    def test_in_place(self):
        file = BitmapFile(4, 5, 5, trailing=3).file
        self.write("in.bmp", file)
        self.assertEqual(self.make("in.bmp", "bitmap", "in.bmp", "in.bmp"), file)


class Changed(ToolCase):
    def setUp(self):
        super().setUp()
        self.make_folder("swap")
        # Rows with two bytes of filling.
        self.file = BitmapFile(24, 130, 67, header=108, colours_used=3, gap=5, trailing=7)
        self.write("in.bmp", self.file.file)
        rows = [pictures.blue_first(row) for row in self.file.pixel_rows()]
        self.picture = pictures.Picture(130, 67, b"".join(rows))

    def assert_changed(self, wanted, *options):
        with self.subTest(options=options):
            made = self.make("out.bmp", "bitmap", "in.bmp", "out.bmp", "--quiet", *options)
            rows = [pictures.blue_first(row) for row in wanted.rows()]
            if made != self.file.with_rows(rows):
                # Say it in pixels, when it is about pixels.
                other = BitmapFile(24, 130, 67, header=108, colours_used=3, gap=5, trailing=7)
                other.file = made
                found = [pictures.blue_first(row) for row in other.pixel_rows()]
                self.assert_same_picture(pictures.Picture(130, 67, b"".join(found)), wanted)
                self.fail("bytes that are no pixels differ")

    def test_paste(self):
        overlay = pictures.noise(140, 9, seed=1)
        self.write("overlay.png", pictures.png(overlay))
        for (x, y), storage in zip([(-5, 60), (127, -3), (-15, 40)], STORAGES.values()):
            wanted = rectangles.pasted(self.picture, overlay, x, y)
            self.assert_changed(wanted, "--paste", "overlay.png", "--at", f"{x},{y}", *storage)

    def test_pattern(self):
        for width, height in [(3, 2), (130, 68), (200, 5)]:
            pattern = pictures.noise(width, height, seed=1)
            self.write("pattern.png", pictures.png(pattern))
            self.assert_changed(rectangles.tiled(self.picture, pattern), "--pattern=pattern.png")

    def test_pattern_in_a_rectangle(self):
        pattern = pictures.noise(131, 4, seed=1)
        self.write("pattern.png", pictures.png(pattern))
        for rectangle, storage in zip([(-3, 5, 20, 9), (50, 60, 99, 99)], [[], STORAGES["file"]]):
            x, y, width, height = rectangle
            where = ["--at", f"{x},{y}", "--size", f"{width}x{height}", *storage]
            wanted = rectangles.tiled(self.picture, pattern, rectangle)
            self.assert_changed(wanted, "--pattern", "pattern.png", *where)

    def test_fill(self):
        self.assert_changed(rectangles.filled(self.picture, (1, 2, 3)), "--fill", "1,2,3")
        for rectangle in [(3, 4, 5, 6), (100, -60, 100, 64), (-9, -9, 999, 999)]:
            x, y, width, height = rectangle
            where = ["--at", f"{x},{y}", "--size", f"{width}x{height}"]
            wanted = rectangles.filled(self.picture, (255, 0, 10), rectangle)
            self.assert_changed(wanted, "--fill", "#ff000a", *where)

    def test_over_itself(self):
        wanted = rectangles.pasted(self.picture, self.picture, 60, -30)
        self.make("in.bmp", "bitmap", "in.bmp", "in.bmp", "--paste=in.bmp", "--at=60,-30")
        rows = [pictures.blue_first(row) for row in wanted.rows()]
        self.assertEqual(self.files()["in.bmp"], self.file.with_rows(rows))

    def test_other_depths_are_not_changed(self):
        self.write("overlay.png", pictures.png(pictures.noise(2, 2)))
        self.write("out.bmp", b"an older file")
        for bits, change in [
            (1, ["--fill", "1,2,3"]),
            (8, ["--pattern", "overlay.png"]),
            (32, ["--paste", "overlay.png", "--at", "0,0"]),
        ]:
            with self.subTest(bits=bits):
                self.write("other.bmp", BitmapFile(bits, 9, 3).file)
                arguments = ["bitmap", "other.bmp", "out.bmp", *change]
                self.refuse(FAILED, *arguments, says=["other.bmp", f"{bits}", "24"])

    def test_outside(self):
        self.write("overlay.png", pictures.png(pictures.noise(2, 2)))
        for change in [
            ["--paste", "overlay.png", "--at", "130,0"],
            ["--pattern", "overlay.png", "--at", "0,67", "--size", "1x1"],
            ["--fill", "1,2,3", "--at", "-5,0", "--size", "5x5"],
        ]:
            with self.subTest(change=change):
                self.refuse(FAILED, "bitmap", "in.bmp", "out.bmp", *change, says="outside")

    def test_overlays_that_cannot_be_read(self):
        self.write("out.bmp", b"an older file")
        self.write("text.png", b"This is no picture, whatever its name says.\n" * 40)
        for change in (["--paste", "missing.png", "--at", "0,0"], ["--pattern", "text.png"]):
            with self.subTest(change=change):
                self.refuse(FAILED, "bitmap", "in.bmp", "out.bmp", *change, says=change[1])


class Words(ToolCase):
    def test_what_the_bitmap_is(self):
        self.write("in.bmp", BitmapFile(8, 7, 4, colours_used=5, gap=3, trailing=9).file)
        wanted = """\
file: in.bmp
bitmap: header of 40 bytes, 5 colours, pixels from byte 77 on (behind a gap of 3 bytes), \
9 bytes behind them
size: 7 x 4 pixels
buffer: 8 bits per pixel, 1 bytes per pixel, type 0x00000008
image bytes: 28
cells: 1 x 1 = 1
cell size: 7 x 4 pixels, 28 bytes
last column: 7 pixels wide
last row: 4 pixels high
out.bmp: 7 x 4 pixels, 8 bits, BMP
"""
        self.assertEqual(self.succeed("bitmap", "in.bmp", "out.bmp"), wanted)
        self.assertEqual(self.succeed("bitmap", "in.bmp", "out.bmp", "-q"), "")

    def test_options(self):
        self.write("in.bmp", BitmapFile(24, 7, 4).file)
        self.write("out.bmp", b"an older file")
        for options, says in [
            (["--paste", "in.bmp"], "--at"),
            (["--paste", "in.bmp", "--at", "0,0", "--size", "1x1"], "--size"),
            (["--at", "0,0", "--size", "1x1"], "--at"),
            (["--fill", "1,2,3", "--at", "0,0"], "--size"),
            (["--pattern", "in.bmp", "--size", "1x1"], "--at"),
            (["--fill", "1,2,3", "--pattern", "in.bmp"], "--pattern"),
            (["--fill", "1,2"], ["--fill", "'1,2'"]),
            (["--bits", "8"], "--bits"),
        ]:
            with self.subTest(options=options):
                self.refuse(USAGE, "bitmap", "in.bmp", "out.bmp", *options, says=says)


class Refused(ToolCase):
    def setUp(self):
        super().setUp()
        self.write("out.bmp", b"an older file")

    def assert_refused(self, file, *says):
        self.write("in.bmp", file)
        self.refuse(FAILED, "bitmap", "in.bmp", "out.bmp", says=["in.bmp", *says])

    def test_top_row_first(self):
        for height in (-4, -0x80000000):
            with self.subTest(height=height):
                self.assert_refused(BitmapFile(24, 7, 4, stored_height=height).file, NO_BITMAP)

    def test_compressed_and_with_masks(self):
        kinds = [(8, RLE8), (4, RLE4), (16, BIT_FIELDS), (32, BIT_FIELDS), (24, 4)]
        for bits, compression in kinds:
            with self.subTest(bits=bits, compression=compression):
                file = BitmapFile(bits, 7, 4, compression=compression, trailing=50)
                self.assert_refused(file.file, NO_BITMAP)

    def test_old_header(self):
        core = struct.pack("<IHHHH", CORE_HEADER, 7, 4, 1, 24)
        pixels = bytes(24 * 4)
        head = struct.pack("<2sIHHI", b"BM", 26 + len(pixels), 0, 0, 26)
        self.assert_refused(head + core + pixels, NO_BITMAP)

    def test_sides(self):
        file = BitmapFile(1, 7, 4, trailing=200_000).file
        for at, value, says in [
            (WIDTH, 32001, "error 5402, module 4, point 71"),
            (HEIGHT, 32001, "error 5403, module 4, point 72"),
            (WIDTH, 0, NO_BITMAP),
            (HEIGHT, 0, NO_BITMAP),
            (WIDTH, -7, NO_BITMAP),
        ]:
            with self.subTest(at=at, value=value):
                self.assert_refused(with_word(file, at, value), says)

    def test_depths(self):
        for bits in (0, 65, 0xFFFF):
            with self.subTest(bits=bits):
                file = with_word(BitmapFile(24, 7, 4, trailing=9000).file, BITS, bits, 2)
                self.assert_refused(file, NO_BITMAP)

    def test_headers_that_lie(self):
        file = BitmapFile(8, 7, 4, trailing=2000).file
        for at, value in [
            (HEADER_SIZE, 0),
            (HEADER_SIZE, 19),
            (HEADER_SIZE, 0xFFFFFFFF),
            (COLOURS_USED, 1_000_000),
            (COLOURS_USED, 0x40000000),  # times 4 that is 0 in 32 bits
            (COLOURS_USED, 0xFFFFFFFF),
            (HEIGHT, 32000),
            (WIDTH, 0x7FFFFFFF),
            (HEIGHT, 0x7FFFFFFF),
        ]:
            with self.subTest(at=at, value=value):
                self.assert_refused(with_word(file, at, value))

    def test_pixels_in_a_place_that_cannot_be(self):
        # The filling of the last row is the file's last byte, and the one that nobody would miss.
        file = BitmapFile(8, 7, 4, colours_used=10)
        for start in (0, 53, 54, file.start - 1, file.start + 2, 0x7FFFFFFF, 0xFFFFFFFF):
            with self.subTest(start=start):
                self.assert_refused(with_word(file.file, PIXELS_AT, start))

    @long_round
    def test_cut_off(self):
        file = BitmapFile(24, 7, 4)  # three bytes fill up each row, the last one too
        for size in (0, 2, 13, 14, 17, 40, 53, 54, 55, file.start + 24):
            with self.subTest(size=size):
                self.assert_refused(file.file[:size])
        self.assert_refused(file.file[:-4], NO_BITMAP)

    def test_cut_off_in_the_colours(self):
        self.assert_refused(BitmapFile(8, 7, 4).file[:500])

    def test_what_is_no_bmp(self):
        self.assert_refused(b"This is no picture, whatever its name says.\n" * 40, "BMP")
        self.assert_refused(pictures.png(pictures.noise(9, 9)), "BMP")
        self.refuse(FAILED, "bitmap", "missing.bmp", "out.bmp", says="missing.bmp: no such file")
        self.refuse(FAILED, "bitmap", self.make_folder("x.bmp"), "out.bmp", says="directory")

    @long_round
    def test_outputs(self):
        self.write("in.bmp", BitmapFile(24, 70, 40).file)
        self.refuse(FAILED, "bitmap", "in.bmp", "out.png", says=["out.png", ".bmp"])
        self.refuse(FAILED, "bitmap", "in.bmp", "nowhere/out.bmp", says="does not exist")
        self.refuse(FAILED, "bitmap", "in.bmp", "/proc/out.bmp", says="/proc/out.bmp")
        for name in ("out.bmp", "in.bmp", "new.bmp"):
            with self.subTest(name=name):
                arguments = ["bitmap", "in.bmp", name]
                self.refuse(FAILED, *arguments, says=name, file_size=2000)
                size = len(self.files()["in.bmp"])
                self.refuse(FAILED, *arguments, says=name, file_size=size - 1)
