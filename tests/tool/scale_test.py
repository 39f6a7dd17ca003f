"""q32tool scale: new sizes, and pixels compared with a model of resampling one by one."""

import functools
import itertools
import re

import pictures
from averaging import by_average
from pixels_test import as_555, as_565, grey, white_above
from program_case import long_round, long_round_of_both
from resampling import METHODS, by_bits, by_cells, by_tables
from tool_case import FAILED, USAGE, ToolCase

# From and to: larger, smaller, as wide as before, each side another way; to and from one pixel.
# Beyond a cell of 128 here and there, and so much smaller that a cell is made in pieces.
SIZES = [
    ((37, 29), (150, 131)),
    ((300, 20), (131, 140)),
    ((140, 275), (140, 40)),
    ((9, 13), (1, 1)),
    ((1, 1), (7, 3)),
]

# Bits and methods that go different ways.
WAYS = [
    ("24", "average"),
    ("24", "bicubic"),
    ("24", "nearest"),
    ("8", "bilinear"),
    ("16", "bicubic"),
    ("1", "nearest"),
]


def by_size(width, height):
    return ["--size", f"{width}x{height}"]


def same(*colour):
    return colour


class ScaleCase(ToolCase):
    def scale(self, source, target, *options, notes=()):
        """Scales a file. Returns the new file's bytes."""
        return self.make(target, "scale", source, target, *options, notes=notes)

    def assert_sizes(self, sizes, bits, options, change, model):
        """change: what the number of bits makes of a colour. model: picture, width, height."""
        for before, after in sizes:
            with self.subTest(options=options, before=before, after=after):
                picture = pictures.noise(*before)
                source = self.write("in.bmp", pictures.bmp(picture))
                self.scale(source, "out.bmp", *by_size(*after), "--bits", f"{bits}", *options)
                wanted = model(picture.changed(change), *after)
                self.assert_file_holds("out.bmp", wanted, bits)


class Pixels(ScaleCase):
    def test_24_bits(self):
        for method in METHODS:
            model = functools.partial(by_cells, method=method)
            self.assert_sizes(SIZES, 24, ["--method", method], same, model)

    @long_round
    def test_grey(self):
        for method in METHODS:
            model = functools.partial(by_cells, method=method)
            self.assert_sizes(SIZES[:3], 8, ["--method", method], grey, model)

    @long_round
    def test_16_bits(self):
        """Interpolated in 24 bits, and cut off to 16 again."""

        def cut_off(*arguments, method):
            return by_tables(*arguments, method).changed(as_555)

        for method in METHODS:
            model = functools.partial(cut_off, method=method)
            self.assert_sizes(SIZES[:3], 16, ["--method", method], as_555, model)

    def test_black_and_white(self):
        self.assert_sizes(SIZES, 1, [], white_above(127), by_bits)

    def test_black_and_white_have_one_method(self):
        source = self.write("in.png", pictures.png(pictures.noise(37, 29)))
        options = [*by_size(50, 20), "--bits", "1"]
        wanted = self.scale(source, "out.bmp", *options)
        self.assertEqual(self.scale(source, "same.bmp", *options, "--method=nearest"), wanted)

    def test_24_bits_averaged_is_what_there_is_without_options(self):
        source = self.write("in.png", pictures.png(pictures.noise(37, 29)))
        options = ["--bits", "24", "--method", "average"]
        wanted = self.scale(source, "out.bmp", *by_size(50, 20), *options)
        self.assertEqual(self.scale(source, "same.bmp", *by_size(50, 20)), wanted)

    def test_enlarged_is_bicubic(self):
        source = self.write("in.png", pictures.png(pictures.noise(37, 29)))
        for bits in ("24", "16"):
            options = [*by_size(50, 40), "--bits", bits]
            wanted = self.scale(source, "out.bmp", *options, "--method", "bicubic")
            self.assertEqual(self.scale(source, "same.bmp", *options), wanted)
            self.assertEqual(self.scale(source, "same.bmp", *options, "--linear"), wanted)

    def test_threshold(self):
        picture = pictures.noise(37, 29)
        source = self.write("in.png", pictures.png(picture))
        self.scale(source, "out.bmp", *by_size(50, 20), "--bits", "1", "--threshold", "200")
        self.assert_file_holds("out.bmp", by_bits(picture.changed(white_above(200)), 50, 20), 1)

    def test_565(self):
        picture = pictures.noise(37, 29)
        source = self.write("in.png", pictures.png(picture))
        options = ["--bits", "16", "--format", "565", "--method", "nearest"]
        wanted = by_tables(picture, 50, 20, "nearest").changed(as_565)
        for name in ("out.bmp", "out.png"):
            with self.subTest(name=name):
                self.scale(source, name, *by_size(50, 20), *options)
                self.assert_file_holds(name, wanted, 24)

    def test_transparent_parts_are_laid_over_white(self):
        picture, alpha = pictures.noise(9, 7), bytes(255 * (i % 4 > 0) for i in range(63))
        source = self.write("in.png", pictures.png_with_alpha(picture, alpha))
        note = "out.bmp: the transparency is laid over white, BMP has none"
        self.scale(source, "out.bmp", *by_size(4, 3), notes=[note])
        colours = [colour if a else (255, 255, 255) for colour, a in zip(picture.colours(), alpha)]
        white = pictures.from_colours(9, 7, colours)
        # Colours and opacity are rounded before they meet the white.
        self.assert_file_holds("out.bmp", by_average(white, 4, 3), 24, within=2)


class NewSizes(ScaleCase):
    def assert_size(self, before, options, after):
        """options: as written on a command line."""
        with self.subTest(before=before, options=options):
            name = "{}x{}.png".format(*before)
            if not (self.folder / name).exists():
                self.write(name, pictures.png(pictures.noise(*before)))
            said = self.succeed("scale", name, "out.bmp", *options.split())
            self.assertEqual(said, "out.bmp: {} x {} pixels, 24 bits, BMP\n".format(*after))
            found = self.read("out.bmp").picture
            self.assertEqual((found.width, found.height), after)

    def test_size(self):
        self.assert_size((45, 35), "--size 3x200", (3, 200))
        self.assert_size((3, 2), "--size 32000x1", (32000, 1))

    def test_size_of_one_side(self):
        self.assert_size((45, 35), "--size 18x", (18, 14))
        self.assert_size((45, 35), "--size x7", (9, 7))
        self.assert_size((45, 35), "--size 7x", (7, 5))  # 5.44
        self.assert_size((45, 35), "--size x16", (21, 16))  # 20.57
        self.assert_size((40, 30), "--size 10x", (10, 8))  # 7.5
        self.assert_size((200, 3), "--size 30x", (30, 1))  # 0.45
        self.assert_size((45, 35), "--size x70", (90, 70))

    def test_percent_has_decimals(self):
        # 14.985 x 11.655, 5.625 x 4.375, 22.4999955 x 17.4999965 and 22.5 x 17.5 pixels.
        self.assert_size((45, 35), "--percent 33.3", (15, 12))
        self.assert_size((45, 35), "--percent 12.5%", (6, 4))
        self.assert_size((45, 35), "--percent 49.99999", (22, 17))
        self.assert_size((45, 35), "--percent 50.000000", (23, 18))
        self.assert_size((45, 35), "--percent 0.000001", (1, 1))
        self.assert_size((45, 35), "--percent 200%", (90, 70))

    def test_percent_is_rounded(self):
        # 22.5 x 17.5, 14.85 x 11.55 and 22.05 x 17.15 pixels.
        self.assert_size((45, 35), "--percent 50", (23, 18))
        self.assert_size((45, 35), "--percent 33", (15, 12))
        self.assert_size((45, 35), "--percent 49", (22, 17))
        self.assert_size((45, 35), "--percent 100", (45, 35))

    def test_percent_grows(self):
        # 60.75 x 47.25 pixels.
        self.assert_size((45, 35), "--percent 135", (61, 47))
        self.assert_size((2, 1), "--percent 90000", (1800, 900))

    def test_percent_leaves_a_pixel(self):
        self.assert_size((45, 35), "--percent 1", (1, 1))
        self.assert_size((200, 3), "--percent 2", (4, 1))
        self.assert_size((3, 200), "--percent 2", (1, 4))

    def test_fit_keeps_proportions(self):
        self.assert_size((45, 35), "--fit 18x18", (18, 14))
        self.assert_size((45, 35), "--fit 100x7", (9, 7))
        self.assert_size((45, 35), "--fit 7x100", (7, 5))  # 5.44
        self.assert_size((45, 35), "--fit 20x100", (20, 16))  # 15.56
        self.assert_size((45, 35), "--fit 45x34", (44, 34))  # 43.71
        self.assert_size((40, 30), "--fit 10x10", (10, 8))  # 7.5
        self.assert_size((30, 40), "--fit 10x10", (8, 10))

    def test_fit_grows(self):
        self.assert_size((45, 35), "--fit 1000x70", (90, 70))
        self.assert_size((45, 35), "--fit 45x2147483647", (45, 35))
        self.assert_size((45, 35), "--fit 2147483647x35", (45, 35))

    def test_fit_leaves_a_pixel(self):
        self.assert_size((200, 3), "--fit 30x30", (30, 1))  # 0.45
        self.assert_size((3, 200), "--fit 30x30", (1, 30))
        self.assert_size((45, 35), "--fit 1x1", (1, 1))

    @long_round_of_both
    def test_larger_than_the_library_takes(self):
        self.write("in.png", pictures.png(pictures.noise(45, 35)))
        self.write("out.bmp", b"an older file")
        wide = ["out.bmp", "wide", "32000", "5402, module 4, point 71"]
        high = ["out.bmp", "high", "32000", "5403, module 4, point 72"]
        for options, says in [
            ("--size 32001x1", ["32001 pixels", *wide]),
            ("--size 1x32001", ["32001 pixels", *high]),
            ("--size 2147483647x1", ["2147483647 pixels", *wide]),
            ("--fit 32001x32001", ["32001 pixels", *wide]),
            ("--fit 2147483647x2147483647", wide),
            ("--percent 71200", ["32040 pixels", *wide]),
            ("--percent 3200000", ["1440000 pixels", *wide]),
        ]:
            with self.subTest(options=options):
                arguments = ["scale", "in.png", "out.bmp", *options.split()]
                self.refuse(FAILED, *arguments, says=says)
        for bits in ("16", "1"):
            arguments = ["in.png", "in.png", *by_size(32001, 1), "--bits", bits, "--method=nearest"]
            self.refuse(FAILED, "scale", *arguments, says=wide[1:])

    def test_larger_than_memory(self):
        self.write("in.png", pictures.png(pictures.noise(45, 35)))
        says = ["in.png", "error 1001, module 4, point 2"]
        arguments = ["in.png", "in.png", *by_size(32000, 32000)]
        self.refuse_room("scale", *arguments, says=says)

    def test_exactly_one_way_to_say_it(self):
        self.write("in.png", pictures.png(pictures.noise(4, 3)))
        ways = ["--size 8x6", "--fit 8x6", "--percent 200"]
        command = ["scale", "in.png", "in.png"]
        self.refuse(USAGE, *command, says=["--size WxH", "--fit WxH", "--percent N"])
        for one, other in itertools.combinations(ways, 2):
            with self.subTest(one=one, other=other):
                options = [*one.split(), *other.split()]
                self.refuse(USAGE, *command, *options, says=["--size", "--fit", "--percent"])
        self.refuse(USAGE, *command, *" ".join(ways).split(), says="one of --size, --fit")


class Files(ScaleCase):
    def setUp(self):
        super().setUp()
        self.picture = pictures.noise(37, 29)
        self.source = self.write("in.png", pictures.png(self.picture))

    def made(self, bits, method):
        """What becomes of the picture in 50 x 20 pixels."""
        if bits == "1":
            return by_bits(self.picture.changed(white_above(127)), 50, 20)
        if bits == "16":
            return by_tables(self.picture.changed(as_555), 50, 20, method).changed(as_555)
        change = grey if bits == "8" else same
        if method == "average":
            return by_average(self.picture.changed(change), 50, 20)
        return by_cells(self.picture.changed(change), 50, 20, method)

    def test_formats(self):
        names = "out.png", "out.bmp", "out.tif"
        for number, (bits, method) in enumerate(WAYS):
            # Two of the three for each.
            for name in (*names, *names)[number : number + 2]:
                with self.subTest(bits=bits, method=method, name=name):
                    options = [*by_size(50, 20), "--bits", bits, "--method", method]
                    self.scale(self.source, name, *options)
                    stored = 24 if bits == "16" and name != "out.bmp" else int(bits)
                    self.assert_file_holds(name, self.made(bits, method), stored)

    def test_jpeg(self):
        picture = pictures.ramps(50, 34)
        source = self.write("ramps.png", pictures.png(picture))
        for bits, channels in (("24", 3), ("16", 3), ("8", 1), ("1", 1)):
            with self.subTest(bits=bits):
                options = ["--percent", "400", "--bits", bits]
                jpeg = self.scale(source, "out.jpg", *options)
                self.assertEqual(pictures.jpeg_frame(jpeg), (200, 136, channels))
        self.scale(source, "out.jpg", *by_size(200, 136))
        self.convert("out.jpg", "back.bmp")
        self.assert_file_holds("back.bmp", by_cells(picture, 200, 136, "bicubic"), 24, within=12)

    def test_in_place(self):
        for bits, method in WAYS:
            with self.subTest(bits=bits, method=method):
                self.write("in.bmp", pictures.bmp(self.picture))
                options = [*by_size(50, 20), "--bits", bits, "--method", method]
                self.scale("in.bmp", "in.bmp", *options)
                self.assert_file_holds("in.bmp", self.made(bits, method), int(bits))

    def test_what_cannot_be_scaled_keeps_older_files(self):
        self.write("cut.png", pictures.png(self.picture)[:-500])
        self.write("out.png", b"an older file")
        size = by_size(5, 5)
        for source, target, says in [
            ("missing.png", "out.png", "missing.png: no such file"),
            ("cut.png", "out.png", "cut.png"),
            ("cut.png", "cut.png", "cut.png"),
            ("in.png", "nowhere/out.png", "nowhere/out.png: the directory"),
            ("in.png", "out.gif", "unknown extension '.gif'"),
        ]:
            with self.subTest(source=source, target=target):
                self.refuse(FAILED, "scale", source, target, *size, says=says)


class Words(ScaleCase):
    def setUp(self):
        super().setUp()
        self.write("in.png", pictures.png(pictures.noise(37, 29)))

    def test_what_it_wrote(self):
        for bits, name, words in [
            ("24", "out.tif", "24 bits, TIFF"),
            ("16", "out.bmp", "16 bits, BMP"),
            ("8", "out.jpg", "8 bits, JPEG"),
            ("1", "out.png", "1 bit, PNG"),
        ]:
            said = self.succeed("scale", "in.png", name, *by_size(50, 20), "--bits", bits)
            self.assertEqual(said, f"{name}: 50 x 20 pixels, {words}\n")

    def test_progress(self):
        for bits, method in WAYS:
            with self.subTest(bits=bits, method=method):
                options = [*by_size(300, 290), "--bits", bits, "--method", method, "--progress"]
                result = self.run_tool("scale", "in.png", "out.bmp", *options)
                self.assertEqual(result.code, 0)
                bars = re.findall(r"\r([a-z]+) \[(#*)(\.*)\] (\d+)%", result.err)
                wanted = ["reading", "scaling", "writing"]
                if bits != "24":
                    wanted.insert(1, "converting")
                self.assertEqual(list(dict.fromkeys(bar[0] for bar in bars)), wanted)
                for _, done, left, percent in bars:
                    self.assertEqual(len(done + left), 40)
                    self.assertEqual(len(done), 40 * int(percent) // 100)
                    self.assertLessEqual(int(percent), 100)

    def test_progress_of_long_work(self):
        # A few tenths of a second: some bars.
        options = [*by_size(6000, 6000), "--bits", "8", "--progress", "--quiet"]
        result = self.run_tool("scale", "in.png", "out.bmp", *options)
        self.assertEqual((result.code, result.out), (0, ""))
        percents = [int(number) for number in re.findall(r"scaling \S+ (\d+)%", result.err)]
        self.assertEqual(percents, sorted(percents))
        self.assertEqual(percents[0], 0)
        self.assertLessEqual(percents[-1], 100)
