"""q32tool enlarge and reduce: every pixel several times, one pixel of several, exactly."""

import pictures
from pixels_test import as_555, as_565, grey, white_above
from program_case import long_round
from tool_case import FAILED, STORAGES, USAGE, Program, ToolCase

# Across and down, with sizes that end within a byte of bits, beyond a cell of 128, or both.
ENLARGED = [
    ((1, 1), (1, 1)),
    ((1, 1), (5, 3)),
    ((40, 30), (1, 4)),
    ((37, 29), (4, 1)),
    ((131, 9), (2, 2)),
    ((19, 140), (3, 5)),
    ((8, 3), (16, 43)),
    ((3, 2), (300, 129)),
]
REDUCED = [
    ((1, 1), (1, 1)),
    ((7, 5), (2, 2)),
    ((40, 30), (1, 4)),
    ((40, 30), (4, 1)),
    ((131, 9), (2, 5)),
    ((300, 140), (3, 7)),
    ((259, 131), (130, 128)),
    ((12, 11), (12, 11)),
    ((12, 11), (13, 32000)),
    ((12, 11), (32000, 1)),
]

# Bits: the options, what becomes of a colour, the bits in a BMP.
KINDS = {
    "24": (["--bits", "24"], None, 24),
    "8": (["--bits", "8"], grey, 8),
    "1": (["--bits", "1", "--threshold", "99"], white_above(99), 1),
    "555": (["--bits", "16"], as_555, 16),
    "565": (["--bits", "16", "--format", "565"], as_565, 24),
}


def enlarged(picture, across, down):
    rows = []
    for y in range(picture.height * down):
        row = picture.row(y // down)
        pixels = [row[3 * x : 3 * x + 3] for x in range(picture.width)]
        rows.append(b"".join(pixel * across for pixel in pixels))
    return pictures.Picture(picture.width * across, picture.height * down, b"".join(rows))


def reduced(picture, factor, step):
    rows = []
    for y in range(0, picture.height, step):
        row = picture.row(y)
        rows.append(b"".join(row[3 * x : 3 * x + 3] for x in range(0, picture.width, factor)))
    return pictures.Picture(len(rows[0]) // 3, len(rows), b"".join(rows))


def by_factor(across, down):
    return ["--factor", f"{across}x{down}"]


def by_step(factor, step):
    return ["--factor", f"{factor}", "--step", f"{step}"]


class WholeFactorCase(ToolCase):
    def write_noise(self, width, height):
        picture = pictures.noise(width, height)
        return self.write("in.bmp", pictures.bmp(picture)), picture

    def assert_made(self, command, sizes, arguments, model, kinds):
        """Every size with every kind of pixels; arguments and model take both factors."""
        for kind in kinds:
            options, change, bits = KINDS[kind]
            for size, factors in sizes:
                with self.subTest(kind=kind, size=size, factors=factors):
                    source, picture = self.write_noise(*size)
                    words = [command, source, "out.bmp", *arguments(*factors), *options]
                    self.make("out.bmp", *words)
                    picture = picture.changed(change) if change else picture
                    self.assert_file_holds("out.bmp", model(picture, *factors), bits)


class BothCommands:
    """What is asked of enlarge and reduce in the same words."""

    def test_24_bits(self):
        self.assert_made(self.command, self.sizes, self.arguments, self.model, ["24"])

    @long_round
    def test_other_bits(self):
        kinds = ["8", "1", "555", "565"]
        self.assert_made(self.command, self.sizes[4:7], self.arguments, self.model, kinds)

    def test_one_factor_is_both(self):
        source, picture = self.write_noise(41, 13)
        self.make("out.png", self.command, source, "out.png", "--factor", "3")
        self.assert_file_holds("out.png", self.model(picture, 3, 3), 24)

    def test_transparency_is_kept(self):
        picture, alpha = pictures.noise(23, 11), pictures.noise(23, 11, seed=1)
        opacity = alpha.pixels[::3]
        self.write("in.png", pictures.png_with_alpha(picture, opacity))
        veil = pictures.from_colours(23, 11, [(value,) * 3 for value in opacity])
        for name in ("out.png", "out.tif"):
            with self.subTest(name=name):
                words = [self.command, "in.png", name, *self.arguments(4, 3), "--bits", "32"]
                self.make(name, *words)
                self.assert_file_holds(name, self.model(picture, 4, 3), 32)
                self.assertEqual(self.read(name).opacity, self.model(veil, 4, 3).pixels[::3])

    def test_storages(self):
        self.make_folder("swap")
        source, picture = self.write_noise(*self.large)
        for name, options in STORAGES.items():
            with self.subTest(storage=name):
                words = [self.command, source, "out.bmp", *self.arguments(2, 3), *options]
                self.make("out.bmp", *words)
                self.assert_file_holds("out.bmp", self.model(picture, 2, 3), 24)


class Enlarge(BothCommands, WholeFactorCase):
    command, sizes, large = "enlarge", ENLARGED, (150, 140)
    arguments, model = staticmethod(by_factor), staticmethod(enlarged)

    @long_round
    def test_one_bit_in_all_widths(self):
        """Rows that end at each place of a byte, before and after."""
        sizes = [((width, 2), (factor, 2)) for width in (7, 8, 9) for factor in (2, 3, 8)]
        self.assert_made("enlarge", sizes, by_factor, enlarged, ["1"])

    def test_rows_with_many_copies(self):
        """The copies of one row are more than go through memory at once."""
        self.assert_made("enlarge", [((40, 2), (800, 23))], by_factor, enlarged, ["24"])

    def test_every_pixel_by_hand(self):
        red, green, blue, white = (255, 0, 0), (0, 255, 0), (0, 0, 255), (255, 255, 255)
        picture = pictures.from_colours(2, 2, [red, green, blue, white])
        self.write("in.png", pictures.png(picture))
        self.make("out.png", "enlarge", "in.png", "out.png", "--factor", "3x2")
        above, below = [red] * 3 + [green] * 3, [blue] * 3 + [white] * 3
        wanted = pictures.from_colours(6, 4, above + above + below + below)
        self.assert_file_holds("out.png", wanted, 24)

    def test_without_transparency_it_lies_over_white(self):
        clear = pictures.png_with_alpha(pictures.noise(5, 4), bytes(20))
        self.write("in.png", clear)
        words = ["enlarge", "in.png", "out.png", "--factor", "2", "--bits", "24"]
        note = "out.png: the transparency is laid over white, pixels of 24 bits have none"
        self.make("out.png", *words, notes=[note])
        self.assert_file_holds("out.png", pictures.Picture(10, 8, b"\xff" * 240), 24)

    def test_in_place(self):
        source, picture = self.write_noise(20, 10)
        self.make(source, "enlarge", source, source, "--factor", "2")
        self.assert_file_holds(source, enlarged(picture, 2, 2), 24)

    def test_words(self):
        source, _ = self.write_noise(40, 30)
        said = self.succeed("enlarge", source, "out.tif", "--factor", "2x3", "--bits", "1")
        self.assertEqual(said, "out.tif: 80 x 90 pixels, 1 bit, TIFF\n")
        self.assertEqual(self.succeed("enlarge", source, "out.tif", "--factor=2", "-q"), "")

    def test_too_large(self):
        source, picture = self.write_noise(40, 30)
        self.write("out.png", b"an older file")
        for factor in ("801x1", "1x1067", "32000"):
            arguments = ["enlarge", source, "out.png", "--factor", factor]
            self.refuse(FAILED, *arguments, says=["32000", "out.png"])
        self.make("wide.bmp", "enlarge", source, "wide.bmp", "--factor", "800x1", "--bits", "8")
        wanted = enlarged(picture.changed(grey), 800, 1)
        self.assert_file_holds("wide.bmp", wanted, 8)

    def test_too_large_for_memory(self):
        # 4 GB and more, or more than any process has addresses.
        sizes = Program.by_edition([(40, 30), (1, 1)], [(400, 300)])
        self.write("out.png", b"an older file")
        for width, height in sizes:
            picture, alpha = pictures.noise(width, height), bytes(width * height)
            source = self.write("in.png", pictures.png_with_alpha(picture, alpha))
            arguments = ["enlarge", source, "out.png", "--factor", "32000", "--bits", "32"]
            self.refuse(FAILED, *arguments, says="memory")

    def test_sides_that_cannot_be_counted(self):
        """A little longer than 2147483647 pixels, of which memory for the rest could be had."""
        side = 67109
        for size, factor in (((side, 1), "32000x1"), ((1, side), "1x32000")):
            with self.subTest(size=size):
                picture = pictures.noise(*size)
                source = self.write("in.png", pictures.png_with_alpha(picture, bytes(side)))
                arguments = ["enlarge", source, "out.png", "--factor", factor, "--bits", "32"]
                self.refuse(FAILED, *arguments, says=["2147488000", "2147483647"])

    def test_more_than_32000_pixels_with_transparency(self):
        picture = pictures.noise(11, 2)
        self.write("in.png", pictures.png_with_alpha(picture, bytes(range(22))))
        self.make("out.png", "enlarge", "in.png", "out.png", "--factor=3000x1", "--bits=32")
        self.assert_file_holds("out.png", enlarged(picture, 3000, 1), 32)


class Reduce(BothCommands, WholeFactorCase):
    command, sizes, large = "reduce", REDUCED, (300, 280)
    arguments, model = staticmethod(by_step), staticmethod(reduced)

    def test_one_bit_in_all_widths(self):
        sizes = [((width, 3), (factor, 2)) for width in (15, 16, 17) for factor in (1, 2, 3)]
        self.assert_made("reduce", sizes, by_step, reduced, ["1"])

    def test_more_rows_than_go_through_memory_at_once(self):
        sizes = [((20000, 40), (100, 3)), ((20000, 40), (100, 19))]
        self.assert_made("reduce", sizes, by_step, reduced, ["24", "1"])

    def test_every_pixel_by_hand(self):
        colours = [(x, 10 * y, 0) for y in range(5) for x in range(7)]
        self.write("in.png", pictures.png(pictures.from_colours(7, 5, colours)))
        self.make("out.png", "reduce", "in.png", "out.png", "--factor", "2")
        wanted = [(x, y, 0) for y in (0, 20, 40) for x in (0, 2, 4, 6)]
        self.assert_file_holds("out.png", pictures.from_colours(4, 3, wanted), 24)

    def test_what_was_enlarged_is_back(self):
        source, picture = self.write_noise(37, 29)
        self.make("large.png", "enlarge", source, "large.png", "--factor", "5x3")
        self.make("back.png", "reduce", "large.png", "back.png", *by_step(5, 3))
        self.assert_file_holds("back.png", picture, 24)

    def test_words(self):
        source, _ = self.write_noise(40, 30)
        said = self.succeed("reduce", source, "out.bmp", "--factor", "3", "--step", "7")
        self.assertEqual(said, "out.bmp: 14 x 5 pixels, 24 bits, BMP\n")


class Misuse(WholeFactorCase):
    def setUp(self):
        super().setUp()
        self.write("in.png", pictures.png(pictures.noise(4, 3)))
        self.write("out.png", b"an older file")

    @long_round
    def test_factors(self):
        bad = ["", "0", "-1", "1.5", "x2", "32001", "4294967297", "two", "2,2", "2 x 2", "0x10"]
        for value in [*bad, "2x", "2x0", "0x2", "2x32001", "2x3x4"]:
            with self.subTest(command="enlarge", value=value):
                arguments = ["enlarge", "in.png", "out.png", "--factor", value]
                self.refuse(USAGE, *arguments, says=["--factor", f"'{value}'"])
        for value in [*bad, "2x2"]:
            with self.subTest(command="reduce", value=value):
                arguments = ["reduce", "in.png", "out.png", "--factor", value]
                self.refuse(USAGE, *arguments, says=["--factor", f"'{value}'"])
        for value in bad:
            with self.subTest(option="--step", value=value):
                arguments = ["reduce", "in.png", "out.png", "--factor", "2", "--step", value]
                self.refuse(USAGE, *arguments, says=["--step", f"'{value}'"])

    def test_options_of_others(self):
        enlarge = ["enlarge", "in.png", "out.png", "--factor", "2"]
        for option in ("--step=2", "--size=5x5", "--percent=50", "--method=nearest", "--invert"):
            self.refuse(USAGE, *enlarge, option, says=option.split("=")[0])
        self.refuse(USAGE, *enlarge, "--format", "555", says="--format")
        self.refuse(USAGE, *enlarge, "--bits", "8", "--threshold", "5", says="--threshold")
        self.refuse(USAGE, *enlarge, "--bits", "4", says=["--bits", "'4'"])
        self.refuse(USAGE, "reduce", "in.png", "out.png", "--step", "2", says="--factor N")

    def test_transparency_where_it_cannot_be_kept(self):
        for name in ("out.bmp", "out.jpg"):
            arguments = ["--factor", "2", "--bits", "32"]
            self.refuse(FAILED, "enlarge", "in.png", name, *arguments, says=[name, "32"])
            self.refuse(FAILED, "reduce", "in.png", name, *arguments, says=[name, "32"])

    def test_pictures_that_are_not_there(self):
        for command in ("enlarge", "reduce"):
            arguments = [command, "missing.png", "out.png", "--factor", "2"]
            self.refuse(FAILED, *arguments, says="missing.png")
