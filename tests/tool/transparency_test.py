"""Transparent parts of pictures through the commands: kept where they can be, else laid over white,
which is said."""

import colour_spaces
import opacities
import pictures
import rectangles
import whole_factors_test
from opacities import over_white
from tool_case import FAILED, STORAGES, USAGE, ToolCase

WIDTH, HEIGHT = 37, 23


def noise_of_opacity(width, height, seed=5):
    """Many pixels at both ends, as pictures have them."""
    noise = pictures.noise(width, height, seed).pixels[::3]
    return bytes(0 if byte < 60 else 255 if byte > 190 else byte for byte in noise)


def laid_over_white(name, who="BMP has"):
    return f"{name}: the transparency is laid over white, {who} none"


class TransparencyCase(ToolCase):
    """in.png: noise, with noise for its opacity. opaque.bmp: noise of the same size."""

    def setUp(self):
        super().setUp()
        self.picture = pictures.noise(WIDTH, HEIGHT)
        self.opacity = noise_of_opacity(WIDTH, HEIGHT)
        self.white = over_white(self.picture, self.opacity)
        self.write("in.png", pictures.png_with_alpha(self.picture, self.opacity))
        self.other = pictures.noise(WIDTH, HEIGHT, seed=9)
        self.write("opaque.bmp", pictures.bmp(self.other))

    def assert_transparent(self, name, picture, opacity, within=0):
        self.assert_file_holds(name, picture, 32, within)
        self.assertEqual(self.read(name).opacity, bytes(opacity))


class Kept(TransparencyCase):
    def assert_kept(self, command, model, change=lambda picture: picture, *options):
        """model: what the command makes of any picture. change: of colours only."""
        wanted = model(change(self.picture))
        opacity = opacities.as_opacity(model(opacities.as_picture(self.opacity, WIDTH)))
        for name in ("out.png", "out.tif"):
            with self.subTest(command=command, name=name):
                said = self.succeed(command, "in.png", name, *options)
                size = f"{wanted.width} x {wanted.height} pixels, 32 bits"
                self.assertIn(f"{name}: {size}", said)
                self.assert_transparent(name, wanted, opacity)
        with self.subTest(command=command, name="out.bmp"):
            self.make("out.bmp", command, "in.png", "out.bmp", *options, notes=[laid_over_white("out.bmp")])
            self.assert_file_holds("out.bmp", over_white(wanted, opacity), 24)

    def test_convert(self):
        self.assert_kept("convert", lambda picture: picture)

    def test_inverted(self):
        negative = lambda picture: picture.changed(lambda *colour: [255 - c for c in colour])
        self.assert_kept("convert", lambda picture: picture, negative, "--invert")

    def test_crop(self):
        rectangle = 5, 3, 20, 11
        place = ["--at", "5,3", "--size", "20x11"]
        self.assert_kept("crop", lambda picture: rectangles.cropped(picture, rectangle), *[lambda p: p], *place)

    def test_enlarge_and_reduce(self):
        self.assert_kept(
            "enlarge", lambda p: whole_factors_test.enlarged(p, 3, 2), lambda p: p, "--factor=3x2"
        )
        self.assert_kept(
            "reduce", lambda p: whole_factors_test.reduced(p, 3, 2), lambda p: p, "--factor=3", "--step=2"
        )

    def test_turned_hues(self):
        def turned(*colour):
            hue, *rest = colour_spaces.to_hsv(*colour)
            return colour_spaces.from_hsv(colour_spaces.turned(hue, 40), *rest)

        options = ["--to", "hsv", "--turn-hue", "40"]
        self.make("out.png", "colorspace", "in.png", "out.png", *options)
        self.assert_transparent("out.png", self.picture.changed(turned), self.opacity)

    def test_every_kind_of_file_that_can_be_transparent(self):
        palette = [(i, 255 - i, 7) for i in range(256)]
        weights = [i * 7 % 256 for i in range(256)]
        rows = [bytes(x * 5 + y for x in range(WIDTH)) for y in range(HEIGHT)]
        values = b"".join(rows)
        table = pictures.png_file(WIDTH, HEIGHT, rows, pictures.PNG_PALETTE, 8, palette, opacities=weights)
        grey = pictures.png_file(
            WIDTH, HEIGHT, [bytes(b for v in row for b in (v, weights[v])) for row in rows], pictures.PNG_GREY_ALPHA
        )
        gif = pictures.gif_file(WIDTH, HEIGHT, values, palette, transparent=40)
        of_table = pictures.from_colours(WIDTH, HEIGHT, [palette[v] for v in values])
        of_grey = pictures.from_colours(WIDTH, HEIGHT, [(v,) * 3 for v in values])
        for name, file, picture, opacity in [
            ("table.png", table, of_table, [weights[v] for v in values]),
            ("grey.png", grey, of_grey, [weights[v] for v in values]),
        ]:
            with self.subTest(name=name):
                self.write(name, file)
                self.convert(name, "out.tif")
                self.assert_transparent("out.tif", picture, opacity)
        self.write("one.gif", gif)
        self.convert("one.gif", "out.png")
        self.assertEqual(self.read("out.png").opacity, bytes(255 * (v != 40) for v in values))

    def test_through_tiff_and_back(self):
        self.convert("in.png", "out.tif")
        self.convert("out.tif", "back.png")
        self.assert_transparent("back.png", self.picture, self.opacity)

    def test_storages(self):
        self.make_folder("swap")
        width, height = 150, 140
        picture, opacity = pictures.noise(width, height), noise_of_opacity(width, height)
        self.write("large.png", pictures.png_with_alpha(picture, opacity))
        for name, options in STORAGES.items():
            with self.subTest(storage=name):
                self.make("out.png", "convert", "large.png", "out.png", *options)
                self.assert_transparent("out.png", picture, opacity)


class Opaque(TransparencyCase):
    """A picture that is opaque everywhere is written without opacity."""

    def test_from_a_file_with_opacity(self):
        self.write("all.png", pictures.png_with_alpha(self.picture, b"\xff" * (WIDTH * HEIGHT)))
        for name in ("out.png", "out.tif", "out.bmp"):
            self.convert("all.png", name)
            self.assert_file_holds(name, self.picture, 24)

    def test_one_pixel_is_enough(self):
        for place in (0, WIDTH * 7 + 3, WIDTH * HEIGHT - 1):
            opacity = bytearray(b"\xff" * (WIDTH * HEIGHT))
            opacity[place] = 254
            self.write("one.png", pictures.png_with_alpha(self.picture, opacity))
            self.convert("one.png", "out.png")
            self.assert_transparent("out.png", self.picture, opacity)

    def test_an_opaque_part(self):
        opacity = bytes(255 * (i % WIDTH > 9) for i in range(WIDTH * HEIGHT))
        self.write("half.png", pictures.png_with_alpha(self.picture, opacity))
        place = ["--at", "10,0", "--size", f"10x{HEIGHT}"]
        wanted = rectangles.cropped(self.picture, (10, 0, 10, HEIGHT))
        for name in ("out.png", "out.bmp"):
            self.make(name, "crop", "half.png", name, *place)
            self.assert_file_holds(name, wanted, 24)

    def test_what_was_filled(self):
        self.make("out.png", "fill", "in.png", "out.png", "--colour", "1,2,3")
        self.assert_file_holds("out.png", pictures.Picture(WIDTH, HEIGHT, b"\1\2\3" * WIDTH * HEIGHT), 24)


class Rectangles(TransparencyCase):
    def test_a_background_is_opaque(self):
        rectangle = -3, -2, WIDTH + 5, HEIGHT + 4
        place = ["--at=-3,-2", "--size", f"{rectangle[2]}x{rectangle[3]}"]
        self.make("out.png", "crop", "in.png", "out.png", *place, "--background", "9,8,7")
        opacity = opacities.as_picture(self.opacity, WIDTH)
        self.assert_transparent(
            "out.png",
            rectangles.cropped(self.picture, rectangle, (9, 8, 7)),
            opacities.as_opacity(rectangles.cropped(opacity, rectangle, (255,) * 3)),
        )

    def test_fill(self):
        rectangle = 30, 4, 20, 9
        place = ["--at", "30,4", "--size", "20x9"]
        self.make("out.png", "fill", "in.png", "out.png", "--colour", "9,8,7", *place)

        def filled(picture, colour):
            return rectangles.drawn(
                WIDTH,
                HEIGHT,
                lambda x, y: colour if rectangles.inside(x, y, rectangle) else rectangles.pixel(picture, x, y),
            )

        opacity = filled(opacities.as_picture(self.opacity, WIDTH), (255,) * 3)
        self.assert_transparent("out.png", filled(self.picture, (9, 8, 7)), opacities.as_opacity(opacity))

    def test_paste_all_combinations(self):
        clear = b"\xff" * (WIDTH * HEIGHT)
        over, above = pictures.noise(20, 30, seed=3), noise_of_opacity(20, 30, seed=4)
        self.write("over.png", pictures.png_with_alpha(over, above))
        self.write("over.bmp", pictures.bmp(over))
        for base, base_picture, below in [("in.png", self.picture, self.opacity), ("opaque.bmp", self.other, clear)]:
            for overlay, weights in [("over.png", above), ("over.bmp", b"\xff" * 600)]:
                for at in [(3, 2), (-4, -5), (30, 1)]:
                    with self.subTest(base=base, overlay=overlay, at=at):
                        self.make("out.png", "paste", base, overlay, "out.png", f"--at={at[0]},{at[1]}")
                        wanted, opacity = opacities.composed(base_picture, below, over, weights, at)
                        self.assert_file_holds("out.png", wanted, 24 if base == "opaque.bmp" else 32)
                        if base == "in.png":
                            self.assertEqual(self.read("out.png").opacity, opacity)

    def test_pattern(self):
        tile, weights = pictures.noise(5, 4, seed=3), noise_of_opacity(5, 4, seed=8)
        self.write("tile.png", pictures.png_with_alpha(tile, weights))
        self.write("tile.bmp", pictures.bmp(tile))
        repeated = rectangles.drawn(WIDTH, HEIGHT, lambda x, y: rectangles.pixel(tile, x % 5, y % 4))
        above = bytes(weights[y % 4 * 5 + x % 5] for y in range(HEIGHT) for x in range(WIDTH))
        for name, opacity in [("tile.png", above), ("tile.bmp", b"\xff" * len(above))]:
            for rectangle in (None, (-3, 7, 25, 9)):
                with self.subTest(name=name, rectangle=rectangle):
                    place = [] if rectangle is None else ["--at=-3,7", "--size=25x9"]
                    self.make("out.png", "pattern", "in.png", name, "out.png", *place)
                    acts = bytes(
                        byte if rectangle is None or rectangles.inside(i % WIDTH, i // WIDTH, rectangle) else 0
                        for i, byte in enumerate(opacity)
                    )
                    wanted, made = opacities.composed(self.picture, self.opacity, repeated, acts)
                    found = self.read("out.png")
                    self.assert_same_picture(found.picture, wanted)
                    self.assertEqual(found.opacity or b"\xff" * len(made), made)

    def test_bitmaps(self):
        over, above = pictures.noise(20, 30, seed=3), noise_of_opacity(20, 30, seed=4)
        self.write("over.png", pictures.png_with_alpha(over, above))
        clear = b"\xff" * (WIDTH * HEIGHT)
        self.make("out.bmp", "bitmap", "opaque.bmp", "out.bmp", "--paste", "over.png", "--at=9,-3")
        wanted, _ = opacities.composed(self.other, clear, over, above, (9, -3))
        self.assert_file_holds("out.bmp", wanted, 24)
        repeated = rectangles.drawn(WIDTH, HEIGHT, lambda x, y: rectangles.pixel(over, x % 20, y % 30))
        acts = bytes(above[y % 30 * 20 + x % 20] for y in range(HEIGHT) for x in range(WIDTH))
        self.make("out.bmp", "bitmap", "opaque.bmp", "out.bmp", "--pattern", "over.png")
        self.assert_file_holds("out.bmp", opacities.composed(self.other, clear, repeated, acts)[0], 24)


class Compose(TransparencyCase):
    def compose(self, *options):
        files = ["--base", "in.png", "--overlay", "over.png", "-o", "out.png"]
        self.make("out.png", "compose", *files, *options)

    def setUp(self):
        super().setUp()
        self.over, self.above = pictures.noise(20, 30, seed=3), noise_of_opacity(20, 30, seed=4)
        self.write("over.png", pictures.png_with_alpha(self.over, self.above))

    def test_modes(self):
        for mode in ("normal", "multiply", "difference", "lighten"):
            with self.subTest(mode=mode):
                self.compose("--mode", mode, "--at", "5,-2")
                wanted, opacity = opacities.composed(
                    self.picture, self.opacity, self.over, self.above, (5, -2), mode
                )
                self.assert_transparent("out.png", wanted, opacity)

    def test_a_mask_and_the_transparency_of_the_overlay_act_both(self):
        mask = pictures.noise(20, 30, seed=7).pixels[::3]
        self.write("mask.png", pictures.grey_png(20, 30, mask))
        self.compose("--mask", "mask.png")
        both = bytes((m * a + 127) // 255 for m, a in zip(mask, self.above))
        self.assert_transparent(
            "out.png", *opacities.composed(self.picture, self.opacity, self.over, both)
        )

    def test_what_was_weighed_over_black_or_white(self):
        above = bytes(255 * (i % 3 > 0) for i in range(600))
        wanted, opacity = opacities.composed(self.picture, self.opacity, self.over, above)
        for mode, ground in [("premul-black", 0), ("premul-white", 255)]:
            colours = [c if a else (ground,) * 3 for c, a in zip(self.over.colours(), above)]
            weighed = pictures.from_colours(20, 30, colours)
            self.write("over.png", pictures.png_with_alpha(weighed, above))
            with self.subTest(mode=mode):
                self.compose("--mode", mode)
                self.assert_transparent("out.png", wanted, opacity)


class OverWhite(TransparencyCase):
    """Where transparency ends: what is made is the same as of the picture over white."""

    def assert_over_white(self, target, *words, notes, makes=None):
        """words: the command, in which IN stands for the picture."""
        self.write("white.png", pictures.png(self.white))
        self.succeed(*[word.replace("IN", "white.png") for word in words])
        made = [self.folder / name for name in makes or [target]]
        wanted = [path.read_bytes() for path in made]
        self.succeed(*[word.replace("IN", "in.png") for word in words], notes=notes)
        self.assertEqual([path.read_bytes() for path in made], wanted)

    def test_other_bits(self):
        for bits, words in [("1", "1 bit"), ("8", "8 bits"), ("16", "16 bits"), ("24", "24 bits")]:
            for command in (["convert"], ["scale", "--size", "20x30"], ["enlarge", "--factor=2"]):
                with self.subTest(bits=bits, command=command[0]):
                    words_of_command = [command[0], "IN", "out.png", *command[1:], "--bits", bits]
                    notes = [laid_over_white("out.png", f"pixels of {words} have")]
                    self.assert_over_white("out.png", *words_of_command, notes=notes)

    def test_jpeg(self):
        notes = [laid_over_white("out.jpg", "JPEG has")]
        self.assert_over_white("out.jpg", "convert", "IN", "out.jpg", notes=notes)

    def test_colour_spaces(self):
        notes = [laid_over_white("out.png", "pixels of 8 bits have")]
        for options in (["--to", "grey"], ["--to", "hls", "--field", "lightness"]):
            self.assert_over_white("out.png", "colorspace", "IN", "out.png", *options, notes=notes)

    def test_filter(self):
        words = ["filter", "IN", "out.png", "--range", "200,200,200:60"]
        self.assert_over_white("out.png", *words, notes=[laid_over_white("out.png", "masks have")])
        words = ["filter", "opaque.bmp", "out.png", "--range", "1,2,3:255", "--mask", "IN"]
        self.assert_over_white("out.png", *words, notes=[laid_over_white("in.png", "masks have")])

    def test_show(self):
        words = ["show", "IN", "--depth-of", "256-colours", "-o", "out.png"]
        self.assert_over_white("out.png", *words, notes=[laid_over_white("out.png", "displays have")])

    def test_separate(self):
        names = [f"out-{word}.png" for word in ("cyan", "magenta", "yellow", "black", "proof")]
        notes = [laid_over_white("in.png", "plates have")]
        self.assert_over_white("", "separate", "IN", "out.png", notes=notes, makes=names)

    def test_rows(self):
        self.write("white.png", pictures.png(self.white))
        wanted = self.succeed("rows", "white.png")
        notes = [laid_over_white("in.png", "rows of numbers have")]
        self.assertEqual(self.succeed("rows", "in.png", notes=notes), wanted)
        place = self.opacity.index(255)
        at = ["--at", f"{place % WIDTH},{place // WIDTH}", "--size", "1x1"]
        self.succeed("rows", "in.png", *at)  # where it is opaque nothing is lost

    def test_the_grey_of_a_mask(self):
        files = ["--base", "opaque.bmp", "--overlay", "opaque.bmp", "-o", "out.png", "--mask", "IN"]
        self.assert_over_white("out.png", "compose", *files, notes=[laid_over_white("in.png", "masks have")])


class Notes(TransparencyCase):
    def test_quiet(self):
        for quiet in ("--quiet", "-q"):
            self.assertEqual(self.succeed("convert", "in.png", "out.bmp", quiet), "")

    def test_a_failure_is_one_line(self):
        self.refuse(FAILED, "convert", "in.png", "missing/out.bmp", says="missing")
        self.refuse(FAILED, "convert", "in.png", "out.bmp", says="out.bmp", file_size=1000)

    def test_several_pictures_have_a_line_each(self):
        words = ["compose", "--base", "opaque.bmp", "--overlay", "opaque.bmp", "--mask", "in.png"]
        self.write("base.png", pictures.png_with_alpha(self.other, self.opacity))
        words[2] = "base.png"
        notes = [laid_over_white("in.png", "masks have"), laid_over_white("out.bmp")]
        self.make("out.bmp", *words, "-o", "out.bmp", notes=notes)

    def test_32_bits_asked_for(self):
        self.refuse(USAGE, "convert", "in.png", "out.png", "--bits", "32", says="--bits")
