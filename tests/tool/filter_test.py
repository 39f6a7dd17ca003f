"""Masks of where a picture has certain colours: q32tool filter."""

import random

import colour_spaces
import merging
import pictures
from program_case import long_round
from rectangle_case import RectangleCase
from tool_case import FAILED, USAGE, ToolCase


def selected(picture, ranges, outside=False, begin=None):
    """The mask as a grey picture. A range: a colour and three tolerances."""
    begin = begin or bytes([255]) * (picture.width * picture.height)

    def lies_in(colour, chosen):
        middle, tolerances = chosen
        return all(abs(a - b) <= t for a, b, t in zip(colour, middle, tolerances))

    def kept(colour):
        return any(lies_in(colour, chosen) for chosen in ranges) != outside

    pairs = zip(picture.colours(), begin)
    greys = [(byte if kept(colour) else 0,) * 3 for colour, byte in pairs]
    return pictures.from_colours(picture.width, picture.height, greys)


class Filter(RectangleCase):
    def setUp(self):
        super().setUp()
        # Few values for each channel, so that ends of ranges are met exactly.
        source = random.Random(1)
        values = (0, 1, 40, 41, 60, 80, 81, 214, 215, 254, 255)
        width, height = 150, 60
        pixels = bytes(source.choices(values, k=width * height * 3))
        self.picture = pictures.Picture(width, height, pixels)
        self.write("in.bmp", pictures.bmp(self.picture))

    def assert_selects(self, ranges, *options, **model):
        storage, where = next(self.storages)
        with self.subTest(options=options, storage=storage):
            self.make("out.png", "filter", "in.bmp", "out.png", *options, *where)
            wanted = selected(self.picture, ranges, **model)
            self.assertGreater(len({*wanted.pixels}), 1, "all or nothing is no test")
            self.assert_file_holds("out.png", wanted, 8)

    def test_a_tolerance(self):
        self.assert_selects([((60, 60, 60), (20, 20, 20))], "--range", "60,60,60:20")
        self.assert_selects([((255, 215, 41), (254, 40, 40))], "--range=255,215,41:254,40,40")

    def test_tolerances_of_the_channels(self):
        self.assert_selects([((60, 128, 0), (20, 127, 255))], "--range", "60,128,0:20,127,255")
        self.assert_selects([((1, 214, 80), (255, 40, 39))], "--range", "1,214,80:255,40,39")
        self.assert_selects([((1, 214, 80), (40, 255, 0))], "--range", "1,214,80:40,255,0")

    def test_one_colour(self):
        for option in ("41,254,80", "41,254,80:0", "#29fe50", "#29FE50:0,0,0"):
            self.assert_selects([((41, 254, 80), (0, 0, 0))], "--range", option)

    def test_hexadecimal(self):
        ranges = [((0x29, 0xFE, 0x50), (30, 140, 31))]
        self.assert_selects(ranges, "--range", "#29fe50:30,140,31")
        self.assert_selects([((0xFF, 0x28, 0x50), (215, 215, 215))], "--range=#ff2850:215")

    def test_several_ranges(self):
        ranges = [((0, 0, 0), (60,) * 3), ((255,) * 3, (41,) * 3), ((80, 1, 215), (0, 90, 255))]
        options = ["--range", "0,0,0:60", "--range", "#ffffff:41", "--range=80,1,215:0,90,255"]
        self.assert_selects(ranges, *options)
        self.assert_selects(ranges, *options, "--outside", outside=True)
        self.assert_selects(ranges[:1] * 2, *options[:2], *options[:2])

    def test_many_ranges(self):
        source = random.Random(2)
        colours = source.sample(self.picture.colours(), 60)
        options = [f"--range={red},{green},{blue}:9" for red, green, blue in colours]
        self.assert_selects([(colour, (9, 9, 9)) for colour in colours], *options)

    def test_outside(self):
        one = [((60, 60, 60), (200, 154, 154))]
        self.assert_selects(one, "--outside", "--range", "60,60,60:200,154,154", outside=True)

    def test_nothing_and_everything(self):
        nothing, everything = ["--range", "7,7,7:5"], ["--range", "128,128,128:128"]
        for options, grey in [(nothing, 0), (everything, 255)]:
            for outside in ([], ["--outside"]):
                self.make("out.bmp", "filter", "in.bmp", "out.bmp", *options, *outside)
                wanted = grey ^ 255 if outside else grey
                even = self.picture.changed(lambda *_, wanted=wanted: (wanted,) * 3)
                self.assert_file_holds("out.bmp", even, 8)

    def test_a_mask_to_begin_with(self):
        colours = pictures.noise(self.picture.width, self.picture.height, seed=3)
        self.write("mask.png", pictures.png(colours))
        begin = bytearray(colour_spaces.grey(*colour) for colour in colours.colours())
        begin[:3000] = bytes(3000)
        begin[5000:9000] = bytes([255]) * 4000
        greys = pictures.grey_png(self.picture.width, self.picture.height, bytes(begin))
        self.write("grey.png", greys)
        one = [((60, 60, 60), (20, 200, 194))]
        options = ["--range", "60,60,60:20,200,194", "--mask", "grey.png"]
        self.assert_selects(one, *options, begin=begin)
        self.assert_selects(one, *options, "--outside", begin=begin, outside=True)
        begin = bytes(colour_spaces.grey(*colour) for colour in colours.colours())
        self.assert_selects(one, *options[:2], "--mask=mask.png", begin=begin)

    def test_over_one_of_the_pictures(self):
        wanted = selected(self.picture, [((60, 60, 60), (20, 20, 20))])
        for target in ("in.bmp", "mask.bmp"):
            with self.subTest(target=target):
                self.write("in.bmp", pictures.bmp(self.picture))
                white = self.picture.changed(lambda *_: (255, 255, 255))
                self.write("mask.bmp", pictures.bmp(white))
                options = ["--range", "60,60,60:20", "--mask", "mask.bmp"]
                self.make(target, "filter", "in.bmp", target, *options)
                self.assert_file_holds(target, wanted, 8)

    def test_the_mask_serves_compose(self):
        # Where the picture is dark it is replaced.
        over = pictures.noise(self.picture.width, self.picture.height, seed=4)
        self.write("over.bmp", pictures.bmp(over))
        self.make("mask.bmp", "filter", "in.bmp", "mask.bmp", "--range", "0,0,0:80")
        files = ["--base", "in.bmp", "--overlay", "over.bmp", "--mask", "mask.bmp", "-o", "out.bmp"]
        self.make("out.bmp", "compose", *files)
        mask = selected(self.picture, [((0, 0, 0), (80, 80, 80))]).pixels[::3]
        wanted = merging.merged("normal", self.picture, over, mask=mask)
        self.assert_file_holds("out.bmp", wanted, 24)


class Refused(ToolCase):
    def setUp(self):
        super().setUp()
        self.write("in.png", pictures.png(pictures.noise(9, 5)))
        self.write("out.png", b"an older file")

    def refuse_filter(self, code, *options, says, source="in.png", target="out.png"):
        self.refuse(code, "filter", source, target, *options, says=says)

    @long_round
    def test_ranges(self):
        values = ["", ":5", "1,2", "256,2,3:4", "#12345:4", "1,2,3:4:5"]
        values += [f"1,2,3:{tolerance}" for tolerance in ("", "256", "-1", "1,2", "1,2,3,4")]
        for value in values:
            with self.subTest(value=value):
                self.refuse_filter(USAGE, "--range", value, says=["--range", f"'{value}'"])

    def test_any_of_several_ranges(self):
        ranges = ["--range", "1,2,3:4", "--range", "1,2", "--range", "5,6,7:8"]
        self.refuse_filter(USAGE, *ranges, says=["--range", "'1,2'"])

    def test_files(self):
        one = ["--range", "1,2,3:4"]
        self.refuse_filter(FAILED, *one, source="missing.png", says="missing.png: no such file")
        mask = [*one, "--mask", "missing.png"]
        self.refuse_filter(FAILED, *mask, says="missing.png: no such file")
        self.refuse_filter(FAILED, *one, target="out.gif", says=["out.gif", ".gif", ".png"])
        self.refuse_filter(FAILED, *one, target="no/out.png", says=["no/out.png", "directory"])

    def test_a_mask_of_another_size(self):
        for width, height in [(5, 9), (9, 4), (10, 5)]:
            self.write("mask.png", pictures.png(pictures.noise(width, height)))
            says = ["mask.png", f"{width} x {height} pixels", "9 x 5 pixels"]
            self.refuse_filter(FAILED, "--range", "1,2,3:4", "--mask", "mask.png", says=says)
