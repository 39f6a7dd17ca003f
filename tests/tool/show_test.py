"""What users of other displays see: q32tool show."""

import itertools

import pictures
from program_case import long_round
from rectangle_case import RectangleCase
from tool_case import FAILED, USAGE

SIXTEEN_COLOUR_MATRIX = [
    [4, 195, 52, 243, 16, 207, 64, 255],
    [131, 68, 179, 116, 143, 80, 191, 128],
    [36, 227, 20, 211, 48, 239, 32, 223],
    [163, 100, 147, 84, 175, 112, 159, 96],
    [12, 203, 60, 251, 8, 199, 56, 247],
    [139, 76, 187, 124, 135, 72, 183, 120],
    [44, 235, 28, 219, 40, 231, 24, 215],
    [171, 108, 155, 92, 167, 104, 151, 88],
]
CUBE_MATRIX = [
    [1, 39, 10, 48, 3, 41, 12, 51],
    [26, 13, 36, 23, 28, 16, 38, 25],
    [7, 45, 4, 42, 9, 48, 6, 44],
    [32, 20, 29, 16, 35, 22, 32, 19],
    [2, 40, 12, 50, 1, 40, 11, 49],
    [28, 15, 37, 24, 27, 14, 36, 24],
    [8, 47, 5, 44, 8, 46, 4, 43],
    [34, 21, 31, 18, 33, 20, 30, 17],
]
HIGH_COLOUR_MATRIX = [[1, 7, 2, 8], [5, 3, 6, 4], [2, 8, 1, 7], [6, 4, 5, 3]]

DISPLAYS = ["monochrome", "8-colours", "16-colours", "256-colours", "true-colour", "high-colour"]


def on_or_off(sample, threshold):
    return 255 if sample >= threshold else 0


def in_cube(sample, threshold):
    level, fraction = divmod(sample, 51)
    return 51 * (level + (fraction >= threshold))


def in_five_bits(sample, threshold):
    """threshold: None cuts the low bits off."""
    scaled = (sample * 248 + 127) // 255
    field = scaled >> 3
    if threshold is not None and scaled & 7 >= threshold:
        field += 1
    return field << 3 | field >> 2


def squared(sample):
    """Gamma 90: half of what corrects nothing, so the exponent is 2."""
    return sample * sample // 255


def dithered(picture, matrix, change):
    """The picture with change(sample, threshold) for each sample."""
    side = len(matrix)

    def colour(place, samples):
        y, x = divmod(place, picture.width)
        threshold = matrix[y % side][x % side]
        return tuple(change(sample, threshold) for sample in samples)

    colours = itertools.starmap(colour, enumerate(picture.colours()))
    return pictures.from_colours(picture.width, picture.height, list(colours))


def every_sample(picture, change):
    return picture.changed(lambda *samples: tuple(map(change, samples)))


def greys(width, height):
    """All levels, in an order without a pattern; more than are in one row."""
    levels = [(i * 37) & 255 for i in range(width * height)]
    return pictures.from_colours(width, height, [(level,) * 3 for level in levels])


class ShowCase(RectangleCase):
    def assert_seen(self, seen, display, *options, bits=24, target="out.png"):
        storage, where = next(self.storages)
        with self.subTest(display=display, options=options, storage=storage):
            arguments = ["show", "in.bmp", "--depth-of", display, "-o", target]
            self.make(target, *arguments, *options, *where)
            self.assert_file_holds(target, seen, bits)

    def show(self, picture):
        self.picture = picture
        self.write("in.bmp", pictures.bmp(picture))
        return picture


class Colours(ShowCase):
    def test_true_colour(self):
        self.assert_seen(self.picture, "true-colour")
        self.assert_seen(self.picture, "true-colour", target="out.bmp")

    def test_high_colour(self):
        seen = dithered(self.picture, HIGH_COLOUR_MATRIX, in_five_bits)
        self.assert_seen(seen, "high-colour")
        cut = every_sample(self.picture, lambda sample: in_five_bits(sample, None))
        self.assert_seen(cut, "high-colour", "--no-dither")
        self.assertNotEqual(seen.pixels, cut.pixels)

    def test_256_colours(self):
        self.assert_seen(dithered(self.picture, CUBE_MATRIX, in_cube), "256-colours")

    def test_16_colours(self):
        self.assert_seen(dithered(self.picture, SIXTEEN_COLOUR_MATRIX, on_or_off), "16-colours")

    @long_round
    def test_16_colours_of_every_width(self):
        for width in (1, 2, 7, 8, 9, 15, 16, 17, 31, 32, 33):
            picture = self.show(pictures.noise(width, 11))
            self.assert_seen(dithered(picture, SIXTEEN_COLOUR_MATRIX, on_or_off), "16-colours")

    def test_few_colours(self):
        corners = list(itertools.product((0, 255), repeat=3))
        picture = self.show(pictures.from_colours(8, 3, corners * 3))
        self.assert_seen(picture, "8-colours")
        nearer = picture.changed(lambda *samples: ((255,) * 3 if sum(samples) > 255 else (0,) * 3))
        self.assert_seen(nearer, "monochrome", bits=1)

    @long_round
    def test_names_and_numbers(self):
        for number, name in enumerate(DISPLAYS):
            with self.subTest(display=name):
                for display in (name, name.replace("colour", "color"), str(number)):
                    target = f"{display}.png"
                    self.make(target, "show", "in.bmp", f"--depth-of={display}", "-o", target)
                    seen = (self.folder / target).read_bytes()
                    self.assertEqual(seen, (self.folder / f"{name}.png").read_bytes())


class Greys(ShowCase):
    def setUp(self):
        super().setUp()
        self.show(greys(61, 17))

    def test_true_colour(self):
        self.assert_seen(self.picture, "true-colour")

    def test_high_colour(self):
        self.assert_seen(dithered(self.picture, HIGH_COLOUR_MATRIX, in_five_bits), "high-colour")

    def test_256_colours(self):
        seen = every_sample(self.picture, lambda sample: (sample >> 1) * 255 // 127)
        self.assert_seen(seen, "256-colours")
        seen = every_sample(self.picture, lambda sample: (sample >> 4) * 17)
        self.assert_seen(seen, "256-colours", "--levels-16")

    def test_16_colours(self):
        # Black and white in the bitmap's own colours, not in planes.
        self.assert_seen(dithered(self.picture, SIXTEEN_COLOUR_MATRIX, on_or_off), "16-colours")

    def test_few_colours(self):
        # Level 63 of 127 is 126, level 64 is 128.
        seen = every_sample(self.picture, lambda sample: on_or_off(sample, 128))
        self.assert_seen(seen, "8-colours")
        self.assert_seen(seen, "monochrome", bits=1)

    def test_a_grey_more_or_less_makes_colours(self):
        seen = dithered(self.picture, CUBE_MATRIX, in_cube)
        self.assert_seen(seen, "256-colours", "--bits", "24")
        colours = self.picture.colours()
        colours[-1] = (1, 0, 0)
        picture = self.show(pictures.from_colours(61, 17, colours))
        self.assert_seen(dithered(picture, CUBE_MATRIX, in_cube), "256-colours")

    def test_levels_are_for_greys(self):
        colours = self.picture.colours()
        colours[0] = (255, 254, 255)
        self.show(pictures.from_colours(61, 17, colours))
        arguments = ["show", "in.bmp", "--depth-of", "3", "-o", "out.png", "--levels-16"]
        self.refuse(FAILED, *arguments, says=["in.bmp: ", "--levels-16", "--bits 8"])
        self.make("out.png", *arguments, "--bits", "8")


class BlackAndWhite(ShowCase):
    @long_round
    def test_every_display_shows_it_as_it_is(self):
        for width in (1, 8, 31, 33):
            source = pictures.noise(width, 9)
            picture = self.show(source.changed(lambda red, *_: (255 * (red & 1),) * 3))
            for display in DISPLAYS:
                bits = 1 if display == "monochrome" else 24
                self.assert_seen(picture, display, bits=bits)


class Bits(ShowCase):
    def test_16(self):
        widened = every_sample(self.picture, lambda sample: sample & 0xF8 | 7)
        self.assert_seen(widened, "true-colour", "--bits", "16")
        seen = dithered(widened, CUBE_MATRIX, in_cube)
        self.assert_seen(seen, "256-colours", "--bits", "16")
        seen = dithered(widened, SIXTEEN_COLOUR_MATRIX, on_or_off)
        self.assert_seen(seen, "16-colours", "--bits", "16")

    def test_8_and_1(self):
        def grey(red, green, blue):
            return (299 * red + 587 * green + 114 * blue) // 1000

        seen = self.picture.changed(lambda *colour: ((grey(*colour) >> 1) * 255 // 127,) * 3)
        self.assert_seen(seen, "256-colours", "--bits", "8")
        for threshold in (90, 200):
            seen = self.picture.changed(
                lambda *colour, t=threshold: ((255 if grey(*colour) > t else 0),) * 3
            )
            self.assert_seen(seen, "16-colours", "--bits", "1", "--threshold", str(threshold))


class Gamma(ShowCase):
    def test_true_colour(self):
        seen = every_sample(self.picture, squared)
        self.assert_seen(seen, "true-colour", "--gamma", "90")
        self.assert_seen(seen, "true-colour", "--gamma", "90,90,90")
        seen = self.picture.changed(lambda red, green, blue: (squared(red), green, squared(blue)))
        self.assert_seen(seen, "true-colour", "--gamma", "90,180,90")

    def test_high_colour(self):
        seen = dithered(every_sample(self.picture, squared), HIGH_COLOUR_MATRIX, in_five_bits)
        self.assert_seen(seen, "high-colour", "--gamma", "90")

    def test_palettes(self):
        # The colours of the palette are corrected, not what is shown in them.
        seen = every_sample(dithered(self.picture, CUBE_MATRIX, in_cube), squared)
        self.assert_seen(seen, "256-colours", "--gamma", "90")
        picture = self.show(greys(61, 17))
        seen = every_sample(picture, lambda sample: squared((sample >> 4) * 17))
        self.assert_seen(seen, "256-colours", "--gamma", "90", "--levels-16")

    def test_16_colours_know_none(self):
        seen = dithered(self.picture, SIXTEEN_COLOUR_MATRIX, on_or_off)
        self.assert_seen(seen, "16-colours", "--gamma", "90")


class Pieces(ShowCase):
    @long_round
    def test_what_is_seen_is_the_same(self):
        for picture in (pictures.noise(37, 19), greys(37, 19)):
            self.show(picture)
            for display in DISPLAYS:
                arguments = ["show", "in.bmp", "--depth-of", display, "-o", "out.png"]
                whole = self.make("out.png", *arguments)
                for size in ("5x3", "1000x8", "16x2147483647"):
                    with self.subTest(display=display, size=size):
                        self.write("out.png", b"an older file")
                        self.assertEqual(self.make("out.png", *arguments, "--pieces", size), whole)

    def test_bits(self):
        picture = self.show(pictures.noise(37, 19).changed(lambda red, *_: (255 * (red & 1),) * 3))
        for size in ("3x4", "9x100"):
            self.assert_seen(picture, "16-colours", "--pieces", size)


class Misuse(ShowCase):
    @long_round
    def test_options(self):
        arguments = ["show", "in.bmp", "-o", "out.png", "--depth-of"]
        for display in ("6", "-1", "", "256", "colour", "Monochrome"):
            self.refuse(USAGE, *arguments, display, says=["--depth-of", *DISPLAYS, f"'{display}'"])
        for gamma in ("9", "1001", "", "180,", "180,180", "1.8", "90,90,90,90", "90,,90"):
            refused = [*arguments, "3", "--gamma", gamma]
            self.refuse(USAGE, *refused, says=["--gamma", "10", "1000", f"'{gamma}'"])
        for size in ("", "5", "0x5", "5x-1"):
            self.refuse(USAGE, *arguments, "3", "--pieces", size, says=["--pieces", f"'{size}'"])
        self.refuse(USAGE, *arguments, "3", "--bits", "4", says=["--bits", "'4'"])
        self.refuse(USAGE, *arguments, "3", "--threshold", "9", says=["--threshold", "--bits 1"])

    def test_options_of_other_displays(self):
        for display in DISPLAYS:
            arguments = ["show", "in.bmp", "-o", "out.png", "--depth-of", display]
            with self.subTest(display=display):
                if display != "high-colour":
                    self.refuse(USAGE, *arguments, "--no-dither", says=["--no-dither", "high"])
                if display in ("16-colours", "true-colour", "high-colour"):
                    self.refuse(USAGE, *arguments, "--levels-16", says=["--levels-16", "256"])
