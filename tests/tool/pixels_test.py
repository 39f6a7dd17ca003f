"""The pixels that q32tool writes: 24 bits, grey, black and white, 16 bits, negatives."""

import pictures
from tool_case import ToolCase

# Around one and two cells of 128, in both directions.
SIZES = [(1, 1), (129, 1), (127, 128), (128, 129), (257, 131), (3, 383)]


def grey_value(red, green, blue):
    return (299 * red + 587 * green + 114 * blue) // 1000


def grey(red, green, blue):
    return (grey_value(red, green, blue),) * 3


def white_above(threshold):
    return lambda *colour: (255,) * 3 if grey_value(*colour) > threshold else (0,) * 3


def as_555(*colour):
    return tuple(value | 7 for value in colour)


def as_565(red, green, blue):
    return red | 7, green | 3, blue | 7


def negative(*colour):
    return tuple(255 - value for value in colour)


class TrueColour(ToolCase):
    def test_png_to_bmp_keeps_every_pixel(self):
        for width, height in SIZES:
            with self.subTest(width=width, height=height):
                picture = pictures.noise(width, height)
                source = self.write(f"{width}.png", pictures.png(picture))
                self.convert(source, f"{width}.bmp")
                self.assert_file_holds(f"{width}.bmp", picture, 24)

    def test_bmp_to_png_keeps_every_pixel(self):
        picture = pictures.noise(257, 131)
        self.convert(self.write("in.bmp", pictures.bmp(picture)), "out.png")
        self.assert_file_holds("out.png", picture, 24)

    def test_png_to_tiff_and_back_keeps_every_pixel(self):
        picture = pictures.noise(131, 129)
        self.convert(self.write("in.png", pictures.png(picture)), "out.tif")
        self.assert_file_holds("out.tif", picture, 24)
        self.convert("out.tif", "back.bmp")
        self.assert_file_holds("back.bmp", picture, 24)

    def test_24_bits_can_be_asked_for(self):
        source = self.write("in.png", pictures.png(pictures.noise(33, 5)))
        self.assertEqual(
            self.convert(source, "out.bmp", "--bits", "24"), self.convert(source, "same.bmp")
        )

    def test_jpeg_looks_like_the_picture(self):
        picture = pictures.ramps(200, 136)
        jpeg = self.convert(self.write("in.png", pictures.png(picture)), "out.jpg")
        self.assertEqual(pictures.jpeg_frame(jpeg), (200, 136, 3))
        self.convert("out.jpg", "back.bmp")
        self.assert_file_holds("back.bmp", picture, 24, within=12)


class Grey(ToolCase):
    def test_weights_and_truncation(self):
        picture = pictures.noise(257, 131)
        source = self.write("in.png", pictures.png(picture))
        self.convert(source, "out.png", "--bits", "8")
        self.convert(source, "out.bmp", "--bits", "8")
        self.assert_file_holds("out.png", picture.changed(grey), 8)
        self.assert_file_holds("out.bmp", picture.changed(grey), 8)

    def test_ends_of_the_channels(self):
        corners = [(r, g, b) for r in (0, 1, 255) for g in (0, 1, 255) for b in (0, 1, 255)]
        picture = pictures.from_colours(27, 1, corners)
        self.convert(self.write("in.png", pictures.png(picture)), "out.tif", "--bits", "8")
        self.assert_file_holds("out.tif", picture.changed(grey), 8)

    def test_jpeg_has_one_channel(self):
        picture = pictures.ramps(72, 64)
        source = self.write("in.png", pictures.png(picture))
        jpeg = self.convert(source, "out.jpeg", "--bits", "8")
        self.assertEqual(pictures.jpeg_frame(jpeg), (72, 64, 1))
        self.convert("out.jpeg", "back.bmp")
        self.assert_file_holds("back.bmp", picture.changed(grey), 24, within=4)


class BlackAndWhite(ToolCase):
    def setUp(self):
        super().setUp()
        # All greys, in a width that ends within a byte and beyond a cell.
        greys = [((x + y) % 256,) * 3 for y in range(3) for x in range(259)]
        self.picture = pictures.from_colours(259, 3, greys)
        self.source = self.write("in.png", pictures.png(self.picture))

    def test_white_is_above_127(self):
        self.convert(self.source, "out.bmp", "--bits", "1")
        self.assert_file_holds("out.bmp", self.picture.changed(white_above(127)), 1)

    def test_threshold(self):
        names = {0: "0.png", 200: "200.bmp", 254: "254.tif", 255: "255.png"}
        for threshold, name in names.items():
            with self.subTest(threshold=threshold):
                self.convert(self.source, name, "--bits", "1", "--threshold", str(threshold))
                self.assert_file_holds(name, self.picture.changed(white_above(threshold)), 1)

    def test_colours_by_their_grey(self):
        picture = pictures.noise(131, 7)
        self.convert(self.write("colours.png", pictures.png(picture)), "out.png", "--bits", "1")
        self.assert_file_holds("out.png", picture.changed(white_above(127)), 1)

    def test_jpeg_is_grey(self):
        jpeg = self.convert(self.source, "out.jpg", "--bits", "1")
        self.assertEqual(pictures.jpeg_frame(jpeg), (259, 3, 1))


class HighColour(ToolCase):
    def setUp(self):
        super().setUp()
        self.picture = pictures.noise(131, 9)
        self.source = self.write("in.png", pictures.png(self.picture))

    def test_555_is_kept_by_bmp(self):
        self.convert(self.source, "out.bmp", "--bits", "16", "--format", "555")
        self.assert_file_holds("out.bmp", self.picture.changed(as_555), 16)

    def test_555_is_the_default(self):
        self.convert(self.source, "out.png", "--bits", "16")
        self.assert_file_holds("out.png", self.picture.changed(as_555), 24)

    def test_565(self):
        for name in ("out.bmp", "out.png"):
            with self.subTest(name=name):
                self.convert(self.source, name, "--bits", "16", "--format", "565")
                self.assert_file_holds(name, self.picture.changed(as_565), 24)


class Negatives(ToolCase):
    def setUp(self):
        super().setUp()
        self.picture = pictures.noise(131, 130)
        self.source = self.write("in.png", pictures.png(self.picture))

    def test_24_bits(self):
        self.convert(self.source, "out.png", "--invert")
        self.assert_file_holds("out.png", self.picture.changed(negative), 24)

    def test_grey(self):
        wanted = self.picture.changed(grey).changed(negative)
        self.convert(self.source, "out.bmp", "--invert", "--bits", "8")
        self.assert_file_holds("out.bmp", wanted, 8)

    def test_black_and_white(self):
        wanted = self.picture.changed(white_above(100)).changed(negative)
        self.convert(self.source, "out.png", "--invert", "--bits", "1", "--threshold", "100")
        self.assert_file_holds("out.png", wanted, 1)

    def test_16_bits(self):
        # The fields of a pixel are inverted, and then widened with their low bits set.
        wanted = self.picture.changed(negative).changed(as_565)
        self.convert(self.source, "out.png", "--bits", "16", "--format", "565", "--invert")
        self.assert_file_holds("out.png", wanted, 24)

    def test_twice_is_the_picture(self):
        self.convert(self.source, "once.bmp", "--invert")
        self.convert("once.bmp", "twice.bmp", "--invert")
        self.assert_file_holds("twice.bmp", self.picture, 24)
