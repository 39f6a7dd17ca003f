"""Pictures merged onto others: q32tool compose, compared with a model pixel by pixel."""

import itertools
import random

import merging
import opacities
import pictures
from merging import MODES, NUMBERS, merged
from program_case import long_round
from tool_case import FAILED, STORAGES, ToolCase


def weights(count, seed=0):
    """Random mask bytes, of which many are at the ends and in the middle."""
    source = random.Random(f"weights {count}, {seed}")
    ends = 0, 1, 128, 254, 255, 255
    return bytes(source.choice((*ends, *source.randbytes(3))) for _ in range(count))


def over_white(picture, alpha):
    """Transparent parts laid over white, where the alpha is 0 or 255."""
    colours = [colour if a else (255, 255, 255) for colour, a in zip(picture.colours(), alpha)]
    return pictures.from_colours(picture.width, picture.height, colours)


class ComposeCase(ToolCase):
    """base.png, over.png, an overlay with transparency, and pictures that can be masks of it."""

    # Beyond a cell and a band of 128 rows, in both pictures.
    base_size, over_size = (37, 150), (31, 140)

    def setUp(self):
        super().setUp()
        self.make_folder("swap")
        self.storages = itertools.cycle(STORAGES.items())
        width, height = self.over_size
        self.base = pictures.noise(*self.base_size)
        self.over = pictures.noise(width, height, seed=1)
        self.weights = weights(width * height)
        self.write("base.png", pictures.png(self.base))
        self.write("over.png", pictures.png(self.over))
        self.write("clear.png", pictures.png_with_alpha(self.over, self.weights))
        self.write("grey.png", pictures.grey_png(width, height, self.weights))
        other = pictures.noise(width, height, seed=2)
        self.write("alpha.png", pictures.png_with_alpha(other, self.weights))

    def compose(self, *options, overlay="over.png", target="out.bmp", notes=()):
        files = ["--base", "base.png", "--overlay", overlay, "--output", target]
        self.make(target, "compose", *files, *options, notes=notes)
        return target

    def assert_composes(
        self, mode, *options, at=(3, 5), overlay="over.png", notes=(), **model
    ):
        """model: the mask and the transparency that merging is to know."""
        storage, where = next(self.storages)
        with self.subTest(mode=mode, options=options, at=at, overlay=overlay, storage=storage):
            place = ["--at", f"{at[0]},{at[1]}"]
            target = self.compose(*options, *place, *where, overlay=overlay, notes=notes)
            self.assert_file_holds(target, merged(mode, self.base, self.over, at=at, **model), 24)


class Modes(ComposeCase):
    def test_by_name(self):
        for mode in MODES:
            self.assert_composes(mode, "--mode", mode)

    @long_round
    def test_by_number_with_a_grey_mask(self):
        for mode, number in NUMBERS.items():
            options = ["--mode", str(number), "--mask", "grey.png"]
            self.assert_composes(mode, *options, mask=self.weights)

    @long_round
    def test_transparency_and_transparent_pixels(self):
        for mode in MODES:
            options = ["--mode", mode, "--transparency", "37"]
            model = {"mask": self.weights, "transparency": 37}
            self.assert_composes(mode, *options, overlay="clear.png", **model)

    def test_transparency_without_a_mask(self):
        for mode in ("normal", "hue", "screen", "mask-subtract"):
            options = ["--mode", mode, "--transparency", "63"]
            self.assert_composes(mode, *options, transparency=63)

    @long_round
    def test_fully_transparent_with_an_alpha_mask(self):
        for mode, number in NUMBERS.items():
            mask = ["--mask", "alpha.png", "--mask-from", "alpha"]
            options = ["--mode", str(number), *mask, "--transparency", "100"]
            self.assert_composes(mode, *options, mask=self.weights, transparency=100)
            if mode not in merging.FIELDS:
                self.assert_file_holds("out.bmp", self.base, 24)

    def test_transparencies_around_the_ends(self):
        mask = ["--mask", "grey.png"]
        kinds = [(0, "normal"), (1, "normal"), (99, "relief"), (99, "hue"), (50, "add")]
        for percent, mode in kinds:
            options = ["--mode", mode, *mask, "--transparency", str(percent)]
            self.assert_composes(mode, *options, mask=self.weights, transparency=percent)

    def test_without_further_options(self):
        target = self.compose()
        self.assert_file_holds(target, merged("normal", self.base, self.over), 24)


class Masks(ComposeCase):
    base_size, over_size = (12, 150), (9, 133)

    def test_the_grey_of_a_coloured_mask(self):
        colours = pictures.noise(*self.over_size, seed=3)
        self.write("mask.png", pictures.png(colours))
        for source in ([], ["--mask-from", "grey"]):
            options = ["--mode", "add", "--mask", "mask.png", *source]
            self.assert_composes("add", *options, mask=greys(colours))

    def test_the_alpha_of_a_mask_not_its_grey(self):
        mask = ["--mask", "alpha.png", "--mask-from=alpha"]
        self.assert_composes("difference", "--mode", "difference", *mask, mask=self.weights)

    def test_the_grey_of_a_mask_with_transparent_parts(self):
        colours = pictures.noise(*self.over_size, seed=3)
        alpha = bytes(255 * (i % 3 == 0) for i in range(len(self.weights)))
        self.write("mask.png", pictures.png_with_alpha(colours, alpha))
        notes = ["mask.png: the transparency is laid over white, masks have none"]
        mask = greys(over_white(colours, alpha))
        self.assert_composes("normal", "--mask", "mask.png", mask=mask, notes=notes)

    def test_alpha_that_is_no_channel(self):
        # Of 256 colours, each with its own opacity; and grey beside alpha.
        width, height = self.over_size
        opacities = [(i * 7 + 3) % 256 for i in range(256)]
        rows = [self.weights[y * width : (y + 1) * width] for y in range(height)]
        palette = pictures.png_file(
            width, height, rows, pictures.PNG_PALETTE, 8, pictures.GREYS, opacities=opacities
        )
        both = [bytes(b for byte in row for b in (byte ^ 255, byte)) for row in rows]
        grey = pictures.png_file(width, height, both, pictures.PNG_GREY_ALPHA)
        by_palette = bytes(opacities[byte] for byte in self.weights)
        for file, wanted in [(palette, by_palette), (grey, self.weights)]:
            self.write("mask.png", file)
            options = ["--mask", "mask.png", "--mask-from", "alpha"]
            self.assert_composes("normal", *options, mask=wanted)

    def test_alpha_of_16_bits(self):
        width, height = self.over_size
        pixels = zip(self.over.colours(), self.weights)
        samples = [value for colour, alpha in pixels for value in (*colour, alpha)]
        doubled = bytes(value for value in samples for _ in range(2))
        rows = [doubled[y * width * 8 :][: width * 8] for y in range(height)]
        self.write("deep.png", pictures.png_file(width, height, rows, pictures.PNG_RGBA, 16))
        self.assert_composes("normal", overlay="deep.png", mask=self.weights)

    def test_a_transparent_colour(self):
        palette = [(i, 255 - i, i * 3 % 256) for i in range(256)]
        self.over = pictures.from_colours(*self.over_size, [palette[i] for i in self.weights])
        opaque = bytes(255 * (i != 128) for i in self.weights)
        for transparent, mask in [(None, None), (128, opaque)]:
            gif = pictures.gif_file(*self.over_size, self.weights, palette, transparent)
            self.write("over.gif", gif)
            self.assert_composes("normal", overlay="over.gif", mask=mask)

    def test_a_fourth_channel_that_is_no_alpha(self):
        width, height = self.over_size
        pixels = b"".join(bytes((*reversed(colour), 0)) for colour in self.over.colours())
        rows = [pixels[y * width * 4 :][: width * 4] for y in range(height)]
        self.write("over.bmp", pictures.bmp_file(width, height, 32, rows))
        self.assert_composes("normal", overlay="over.bmp")

    def test_an_alpha_that_is_opaque(self):
        opaque = bytes([255] * len(self.weights))
        self.write("opaque.png", pictures.png_with_alpha(self.over, opaque))
        self.assert_composes("multiply", "--mode=multiply", overlay="opaque.png")
        options = ["--mask", "opaque.png", "--mask-from", "alpha"]
        self.assert_composes("screen", "--mode=screen", *options)

    def test_a_mask_and_the_transparency_of_the_overlay_act_both(self):
        alpha = bytes(255 * (i % 2) for i in range(len(self.weights)))
        self.write("half.png", pictures.png_with_alpha(self.over, alpha))
        mask = ["--mask", "grey.png"]
        both = bytes(weight if a else 0 for weight, a in zip(self.weights, alpha))
        self.assert_composes("normal", *mask, overlay="half.png", mask=both)

    def test_a_base_with_transparent_parts(self):
        alpha = bytes(255 * (i % 2) for i in range(self.base.width * self.base.height))
        self.write("base.png", pictures.png_with_alpha(self.base, alpha))
        opaque = b"\xff" * len(self.weights)
        wanted, opacity = opacities.composed(self.base, alpha, self.over, opaque, (3, 5), "add")
        notes = ["out.bmp: the transparency is laid over white, BMP has none"]
        target = self.compose("--mode", "add", "--at", "3,5", notes=notes)
        self.assert_file_holds(target, opacities.over_white(wanted, opacity), 24)

    def test_premultiplied_colours_come_back(self):
        # What has been weighed over black or white and is merged by the same mask.
        height = self.over.height
        alpha = bytes(255 * (y % 2) for y in range(height) for _ in range(self.over.width))
        for mode, ground in [("premul-black", 0), ("premul-white", 255)]:
            colours = [c if a else (ground,) * 3 for c, a in zip(self.over.colours(), alpha)]
            weighed = pictures.from_colours(self.over.width, height, colours)
            self.write("weighed.png", pictures.png_with_alpha(weighed, alpha))
            target = self.compose("--mode", mode, overlay="weighed.png")
            wanted = merged("normal", self.base, self.over, mask=alpha)
            self.assert_file_holds(target, wanted, 24)


def greys(picture):
    return bytes(merging.colour_spaces.grey(*colour) for colour in picture.colours())


class Places(ComposeCase):
    # Over the borders of cells in both directions.
    base_size, over_size = (140, 135), (133, 131)

    def assert_merges(self, *places):
        kinds = itertools.cycle(["normal", "color", "mask-subtract", "lighten"])
        for mode, at in zip(kinds, places):
            options = ["--mode", mode, "--mask", "grey.png", "--transparency", "20"]
            self.assert_composes(mode, *options, at=at, mask=self.weights, transparency=20)

    def test_inside_and_along_the_edges(self):
        self.assert_merges((0, 0), (7, 4), (1, 4))

    def test_beyond_each_side(self):
        self.assert_merges((-5, 2), (9, 1), (3, -129), (2, 130))

    def test_beyond_each_corner(self):
        self.assert_merges((-132, -130), (139, -1), (-130, 9), (129, 129))

    def test_rows_of_the_last_mode_that_begin_outside(self):
        options = ["--mode", "16", "--mask", "grey.png", "--transparency", "10"]
        for at in ((-1, 0), (-40, -3)):
            model = {"mask": self.weights, "transparency": 10}
            self.assert_composes("mask-subtract", *options, at=at, **model)

    def test_the_larger_onto_the_smaller(self):
        self.base = pictures.noise(5, 4)
        self.write("base.png", pictures.png(self.base))
        self.assert_merges((0, 0), (-127, -127), (-128, 0), (0, -127))

    def test_bands(self):
        # Three bands of 128 rows, which begin outside, and cells that lie elsewhere.
        self.base = pictures.noise(6, 300)
        self.write("base.png", pictures.png(self.base))
        self.over = pictures.noise(4, 270, seed=1)
        self.write("over.png", pictures.png(self.over))
        self.weights = weights(4 * 270)
        self.write("grey.png", pictures.grey_png(4, 270, self.weights))
        self.assert_merges((1, -3), (1, 1), (1, 29), (-1, 31))


class Files(ComposeCase):
    base_size, over_size = (140, 8), (20, 30)

    def test_formats(self):
        wanted = merged("add", self.base, self.over)
        for name in ("out.png", "out.tif", "OUT.BMP"):
            self.compose("--mode", "add", target=name)
            self.assert_file_holds(name, wanted, 24)

    def test_over_one_of_the_pictures(self):
        wanted = merged("screen", self.base, self.over, mask=self.weights)
        for target in ("base.png", "over.png", "grey.png"):
            with self.subTest(target=target):
                before = (self.folder / target).read_bytes()
                self.compose("--mode", "screen", "--mask", "grey.png", target=target)
                self.assert_file_holds(target, wanted, 24)
                self.write(target, before)

    def test_onto_itself(self):
        files = ["--base", "base.png", "--overlay", "base.png", "-o", "base.png"]
        self.make("base.png", "compose", *files, "--mode", "difference", "--at", "0,0")
        black = self.base.changed(lambda *_: (0, 0, 0))
        self.assert_file_holds("base.png", black, 24)

    def test_the_short_name_of_output(self):
        files = ["compose", "--overlay", "over.png", "-o", "out.png", "--base", "base.png"]
        self.assertEqual(self.succeed(*files), "out.png: 140 x 8 pixels, 24 bits, PNG\n")
        self.assert_file_holds("out.png", merged("normal", self.base, self.over), 24)


class Refused(ComposeCase):
    base_size, over_size = (20, 10), (7, 9)

    def refuse_compose(self, *options, says, code=FAILED, **files):
        self.write("out.png", b"an older file")
        names = {"base": "base.png", "overlay": "over.png", "output": "out.png", **files}
        pairs = [(f"--{option}", name) for option, name in names.items()]
        return self.refuse(code, "compose", *sum(pairs, ()), *options, says=says)

    def test_outside(self):
        for place in ("20,0", "-7,0", "0,10", "0,-9", "-2147483648,2147483647"):
            says = ["base.png", f"overlay of 7x9 at {place} lies outside", "20 x 10 pixels"]
            self.refuse_compose("--at", place, says=says)

    def test_missing_pictures(self):
        for option in ("base", "overlay"):
            self.refuse_compose(**{option: "missing.png"}, says=["missing.png", "no such file"])
        self.refuse_compose("--mask", "missing.png", says=["missing.png", "no such file"])

    def test_what_is_no_picture(self):
        self.write("text.png", b"This is no picture, whatever its name says.\n" * 40)
        for option in ("base", "overlay"):
            self.refuse_compose(**{option: "text.png"}, says=["text.png", "not a picture"])
        self.refuse_compose("--mask", "text.png", says=["text.png", "not a picture"])
        self.refuse_compose(base="grey.png", overlay="clear.png", output="out.gif", says=".gif")

    def test_a_mask_of_another_size(self):
        for width, height in [(6, 9), (7, 10), (20, 10)]:
            self.write("mask.png", pictures.png(pictures.noise(width, height)))
            says = ["mask.png", f"{width} x {height} pixels", "7 x 9 pixels"]
            self.refuse_compose("--mask", "mask.png", says=says)
        mask = ["--mask", "alpha.png", "--mask-from", "alpha"]
        self.refuse_compose(*mask, overlay="base.png", says=["alpha.png", "20 x 10 pixels"])

    def test_the_alpha_of_a_mask_without(self):
        for name in ("grey.png", "over.png"):
            mask = ["--mask", name, "--mask-from", "alpha"]
            self.refuse_compose(*mask, says=[name, "no transparency", "--mask-from"])
