"""q32tool scale where it averages, and how it scales pictures with transparent parts."""

import functools

import pictures
from averaging import averaged, averaged_with_opacity, by_average
from pixels_test import as_555, grey
from resampling import KERNELS, by_cells, cell_axis, interleaved, nearest, nearest_cell_axis, planes
from scale_test import ScaleCase, by_size, same
from tool_case import USAGE


class Averaging(ScaleCase):
    """The default where a side becomes shorter."""

    # Whole and broken factors, down to one pixel; one side smaller, the other larger or the same.
    # The library finishes what is to grow.
    SIZES = [
        ((60, 40), (20, 10)),
        ((37, 29), (36, 28)),
        ((140, 131), (23, 40)),
        ((9, 13), (1, 1)),
        ((37, 29), (50, 20)),
        ((37, 29), (37, 10)),
        ((5, 140), (131, 140)),
    ]

    def test_24_bits(self):
        self.assert_sizes(self.SIZES, 24, [], same, by_average)

    def test_grey(self):
        self.assert_sizes(self.SIZES[2:5], 8, ["--method", "average"], grey, by_average)

    def test_linear(self):
        linear = functools.partial(averaged, linear=True)
        self.assert_sizes(self.SIZES[:2], 24, ["--linear"], same, linear)
        self.assert_sizes(self.SIZES[2:3], 8, ["--linear"], grey, linear)

    def test_16_bits_are_made_of_averaged_24(self):
        def cut_off(*arguments):
            return by_average(*arguments).changed(as_555)

        self.assert_sizes(self.SIZES[2:5:2], 16, [], same, cut_off)

    def test_a_pattern_becomes_its_mean(self):
        """What no other method does: single lines of a much larger picture."""
        colours = [(255, 255, 255) if x % 8 == 3 else (0, 0, 200) for x in range(320)] * 240
        source = self.write("in.png", pictures.png(pictures.from_colours(320, 240, colours)))
        self.scale(source, "out.bmp", "--percent", "12.5%")
        mean = pictures.from_colours(40, 30, [(32, 32, 207)] * 1200)
        self.assert_file_holds("out.bmp", mean, 24)

    def test_the_same_size_is_the_same_picture(self):
        picture = pictures.noise(37, 29)
        self.write("in.png", pictures.png(picture))
        for options in ("--percent 100", "--size 37x29 --linear", "--fit 37x999"):
            self.scale("in.png", "out.bmp", *options.split())
            self.assert_file_holds("out.bmp", picture, 24)

    def test_linear_is_for_averaging(self):
        source = self.write("in.png", pictures.png(pictures.noise(4, 3)))
        for options in (["--method", "bicubic"], ["--bits", "1"]):
            arguments = ["scale", source, source, *by_size(2, 2), "--linear", *options]
            self.refuse(USAGE, *arguments, says="--method")


class Opacity(ScaleCase):
    def setUp(self):
        super().setUp()
        self.picture = pictures.noise(37, 29)
        # Opaque, invisible and between, in patches, so that there are edges of each.
        kinds = (255, 255, 0, 0, 77, 200)
        self.opacity = bytes(
            kinds[(x // 4 + y // 3) % len(kinds)] for y in range(29) for x in range(37)
        )
        self.write("in.png", pictures.png_with_alpha(self.picture, self.opacity))

    def assert_scaled_to(self, size, options, picture, opacity, within=0):
        self.scale("in.png", "out.png", *by_size(*size), *options)
        self.assert_file_holds("out.png", picture, 32, within)
        self.assertEqual(self.read("out.png").opacity, opacity)

    def test_averaged(self):
        for size in ((10, 8), (36, 29)):
            wanted = averaged_with_opacity(self.picture, self.opacity, *size)
            self.assert_scaled_to(size, [], *wanted)

    def test_invisible_colours_do_not_come_out(self):
        halves = pictures.from_colours(8, 2, ([(250, 0, 0)] * 3 + [(0, 255, 0)] * 5) * 2)
        alpha = bytes([255, 255, 255, 0, 0, 0, 0, 0] * 2)
        self.write("in.png", pictures.png_with_alpha(halves, alpha))
        # Exactly by averaging; by the library, as exactly as it interpolates small numbers.
        for size, options, within in [
            ((3, 1), [], 0),
            ((3, 1), ["--linear"], 0),
            ((23, 7), [], 20),
            ((23, 7), ["--method", "bilinear"], 20),
            ((7, 1), ["--method", "bicubic"], 20),
        ]:
            with self.subTest(size=size, options=options):
                self.scale("in.png", "out.png", *by_size(*size), *options)
                found = self.read("out.png")
                for (red, green, blue), alpha in zip(found.picture.colours(), found.opacity):
                    self.assertEqual((green, blue), (0, 0))
                    if alpha > 20 or not within:
                        self.assertAlmostEqual(red, 250 if alpha else 0, delta=within)
                self.assertIn(255, found.opacity)
                self.assertIn(0, found.opacity)

    def test_interpolated_colours_count_as_much_as_they_are_opaque(self):
        def multiplied(plane, weights):
            return [bytes((c * a + 127) // 255 for c, a in zip(*rows)) for rows in zip(plane, weights)]

        def divided(plane, weights):
            return [
                bytes(min((c * 255 + a // 2) // a, 255) if a else 0 for c, a in zip(*rows))
                for rows in zip(plane, weights)
            ]

        (weights,) = planes(self.opacity, 37, 1)
        for method, size in (("bicubic", (50, 40)), ("bilinear", (23, 31))):
            axes = cell_axis(37, size[0]), cell_axis(29, size[1])
            opacity = KERNELS[method](weights, *axes)
            colours = [
                divided(KERNELS[method](multiplied(plane, weights), *axes), opacity)
                for plane in planes(self.picture.pixels, 37, 3)
            ]
            wanted = pictures.Picture(*size, interleaved(colours))
            self.assert_scaled_to(size, ["--method", method], wanted, b"".join(opacity))

    def test_the_nearest_pixels_stay_as_they_are(self):
        (weights,) = planes(self.opacity, 37, 1)
        axes = nearest_cell_axis(37, 50), nearest_cell_axis(29, 20)
        wanted = by_cells(self.picture, 50, 20, "nearest")
        opacity = b"".join(nearest(weights, *axes))
        self.assert_scaled_to((50, 20), ["--method", "nearest"], wanted, opacity)
