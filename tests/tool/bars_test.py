"""The ramps of a colour picker: q32tool bars."""

import pictures
from program_case import long_round
from rectangle_case import RectangleCase
from tool_case import FAILED, USAGE

SIZES = [(256, 3), (7, 9), (361, 200), (200, 601), (1, 1), (1, 40)]


def ramp(first, last, steps):
    """One step added after the other; it stops one before the end."""
    values, value = [], float(first)
    for _ in range(steps):
        values.append(int(value + 0.5))
        value += (last - first) / steps
    return values


def colour_ramp(first, last, steps):
    return list(zip(*(ramp(a, b, steps) for a, b in zip(first, last))))


def grey_ramp(first, last, steps):
    return colour_ramp((first,) * 3, (last,) * 3, steps)


def from_hsb(hue, saturation, brightness):
    if saturation == 0:
        return (brightness,) * 3
    depth = (brightness * saturation + 127) // 255
    low = brightness - depth
    part = (hue % 60 * depth + 30) // 60
    up, down = low + part, brightness - part
    return [
        (brightness, up, low),
        (down, brightness, low),
        (low, brightness, up),
        (low, down, brightness),
        (up, low, brightness),
        (brightness, low, down),
    ][hue // 60]


def rainbow(steps):
    return [from_hsb(hue, 255, 255) for hue in ramp(0, 359, steps)]


def shades(steps):
    """What rises and what falls, each beside a 255."""
    rising = [(255, value) for value in ramp(0, 255, (steps + 1) // 2)]
    falling = [(value, 255) for value in ramp(255, 0, steps // 2)] if steps > 1 else []
    return rising + falling


def hue_field(style, width, height):
    """Each shade is saturation and brightness; in style 4 the other way round."""
    first, last = (0, 359) if style % 2 else (359, 0)
    across = style <= 2
    hues = ramp(first, last, width if across else height)
    rows = shades(height if across else width)
    if style == 4:
        rows = [shade[::-1] for shade in rows]
    if across:
        return [from_hsb(hue, *shade) for shade in rows for hue in hues]
    return [from_hsb(hue, *shade) for hue in hues for shade in rows]


def in_columns(colours, height):
    return colours * height


def in_rows(colours, width):
    return [colour for colour in colours for _ in range(width)]


class BarsCase(RectangleCase):
    def assert_bar(self, colours, bits, width, height, *arguments):
        storage, where = next(self.storages)
        with self.subTest(arguments=arguments, size=(width, height), storage=storage):
            arguments = [*arguments, f"--size={width}x{height}", *where]
            self.make("bar.png", "bars", *arguments, "-o", "bar.png")
            picture = pictures.from_colours(width, height, colours)
            self.assert_file_holds("bar.png", picture, bits)


class Bars(BarsCase):
    @long_round
    def test_grey(self):
        for width, height in SIZES:
            for first, last, ends in [
                (0, 255, []),
                (255, 0, ["--from", "255", "--to=0"]),
                (7, 200, ["--from=7", "--to", "200"]),
            ]:
                columns = in_columns(grey_ramp(first, last, width), height)
                self.assert_bar(columns, 8, width, height, "grey", *ends, "--horizontal")
                rows = in_rows(grey_ramp(first, last, height), width)
                self.assert_bar(rows, 8, width, height, "grey", *ends)

    @long_round
    def test_a_grey_bar_of_256_columns_ends_at_254(self):
        self.make("bar.png", "bars", "gray", "--size=256x1", "--horizontal", "-o", "bar.png")
        levels = [red for red, _, _ in self.read("bar.png").picture.colours()]
        # Step i is i x 255 / 256 + 0.5: one level is there twice, in the middle.
        self.assertEqual(levels, [*range(0, 129), *range(128, 255)])

    def test_colour(self):
        first, last = (230, 60, 20), (1, 90, 255)
        ends = ["--from", "230,60,20", "--to", "#015aff"]
        for word, (width, height) in zip(["colour", "color"] * 3, SIZES):
            columns = in_columns(colour_ramp(first, last, width), height)
            self.assert_bar(columns, 24, width, height, word, *ends, "--horizontal")
            rows = in_rows(colour_ramp(first, last, height), width)
            self.assert_bar(rows, 24, width, height, word, *ends)
        self.assert_bar(in_rows(grey_ramp(0, 255, 20), 5), 24, 5, 20, "colour")

    @long_round
    def test_rainbow(self):
        for width, height in SIZES:
            columns = in_columns(rainbow(width), height)
            self.assert_bar(columns, 24, width, height, "colour", "--rainbow", "--horizontal")
            rows = in_rows(rainbow(height), width)
            self.assert_bar(rows, 24, width, height, "colour", "--rainbow")

    @long_round
    def test_hues(self):
        for style in (1, 2, 3, 4):
            for width, height in SIZES:
                colours = hue_field(style, width, height)
                self.assert_bar(colours, 24, width, height, "hsb", "--style", str(style))
        self.assert_bar(hue_field(1, 30, 20), 24, 30, 20, "hsb")

    def test_words(self):
        said = self.succeed("bars", "hsb", "--size", "30x20", "-o", "bar.bmp")
        self.assertEqual(said, "bar.bmp: 30 x 20 pixels, 24 bits, BMP\n")
        said = self.succeed("bars", "grey", "--size", "30x20", "-o", "bar.bmp", "--quiet")
        self.assertEqual(said, "")


class Misuse(BarsCase):
    def test_bars(self):
        for bar in ("red", "Grey", "hsv"):
            arguments = ["bars", bar, "--size", "5x5", "-o", "bar.png"]
            self.refuse(USAGE, *arguments, says=[f"'{bar}'", "grey", "hsb", "colour"])

    @long_round
    def test_options_of_other_bars(self):
        for bar, option in [
            ("grey", ["--rainbow"]),
            ("hsb", ["--rainbow"]),
            ("grey", ["--style", "1"]),
            ("colour", ["--style", "1"]),
            ("hsb", ["--from", "1"]),
            ("hsb", ["--to", "1"]),
            ("hsb", ["--horizontal"]),
        ]:
            arguments = ["bars", bar, "--size", "5x5", "-o", "bar.png", *option]
            self.refuse(USAGE, *arguments, says=option[0])
        arguments = ["bars", "colour", "--size", "5x5", "-o", "bar.png", "--rainbow"]
        for end in ("--from", "--to"):
            self.refuse(USAGE, *arguments, end, "1,2,3", says=["--rainbow", "--from"])

    @long_round
    def test_values(self):
        arguments = ["--size", "5x5", "-o", "bar.png"]
        for value in ("256", "-1", "", "1,2,3", "#000000"):
            for option in ("--from", "--to"):
                refused = ["bars", "grey", *arguments, option, value]
                self.refuse(USAGE, *refused, says=[option, f"'{value}'"])
        for value in ("1", "1,2", "256,0,0", "red", "#12345"):
            refused = ["bars", "colour", *arguments, "--to", value]
            self.refuse(USAGE, *refused, says=["--to", f"'{value}'"])
        for value in ("0", "5", "", "across"):
            refused = ["bars", "hsb", *arguments, "--style", value]
            self.refuse(USAGE, *refused, says=["--style", f"'{value}'"])
        for value in ("", "5", "0x5", "5x0"):
            refused = ["bars", "hsb", "--size", value, "-o", "bar.png"]
            self.refuse(USAGE, *refused, says=["--size", f"'{value}'"])

    def test_sizes_that_the_library_refuses(self):
        for size, says in (("32001x1", "5402"), ("1x32001", "5403")):
            arguments = ["bars", "grey", "--size", size, "-o", "bar.png"]
            self.refuse(FAILED, *arguments, says=["bar.png", "32001", says])
