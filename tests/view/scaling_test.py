"""Zooming: the same pixels as the resampler's, whole or in tiles."""

import pictures
from program_case import long_round
from view_case import FIT, ZOOM_IN, ZOOM_OUT, ViewCase, Viewer, centred, part


class Scaling(ViewCase):
    def scaled(self, name, *options):
        """As q32tool scales it, which does so as a whole."""
        self.run_program(Viewer.tool, "scale", name, "scaled.bmp", *options, "--quiet")
        return pictures.read(self.folder / "scaled.bmp").picture

    def shown(self, picture):
        """What this picture looks like in its own size."""
        return self.view(self.write("own.png", pictures.png(picture)), "--zoom", "100",
                         "--size", f"{picture.width}x{picture.height}")

    def test_reduced(self):
        name = self.write("noise.png", pictures.png(pictures.noise(301, 203)))
        wanted = self.scaled(name, "--percent", "50")
        self.assertEqual((wanted.width, wanted.height), (151, 102))
        seen = self.view(name, "--zoom", "50", "--size", "151x102")
        self.assert_same_picture(seen, self.shown(wanted))

    def test_fitted(self):
        name = self.write("noise.png", pictures.png(pictures.noise(301, 203)))
        wanted = self.scaled(name, "--fit", "150x60")
        self.assertEqual((wanted.width, wanted.height), (89, 60))
        if Viewer.depth == 24:
            self.assert_same_picture(self.view(name, "--size", "150x60"), centred(wanted, 150, 60))

    def test_small_pictures_are_not_enlarged_to_fit(self):
        picture = pictures.noise(31, 23)
        name = self.write("small.png", pictures.png(picture))
        if Viewer.depth == 24:
            self.assert_same_picture(self.view(name, "--size", "200x100"), centred(picture, 200, 100))

    def test_enlarged_smoothly(self):
        """Wider than a tile, which has 512 pixels, at whole factors and others."""

        def wave(x):
            return min(x * 8 % 512, 511 - x * 8 % 512)

        colours = [(wave(x), wave(y), wave(x + y)) for y in range(40) for x in range(361)]
        name = self.write("waves.png", pictures.png(pictures.from_colours(361, 40, colours)))
        for percent, width, height in (150, 542, 60), (175, 632, 70), (200, 722, 80):
            wanted = self.scaled(name, "--percent", str(percent), "--method", "bicubic")
            seen = self.view(name, "--zoom", str(percent), "--size", f"{width}x{height}")
            if Viewer.depth == 24:
                self.assert_same_picture(seen, wanted, named=percent)
            else:
                self.assertEqual((seen.width, seen.height), (width, height))

    def test_single_pixels(self):
        picture = pictures.noise(70, 12)  # and a tile has 64 by 64
        name = self.write("noise.png", pictures.png(picture))
        enlarged = [
            b"".join(row[x : x + 3] * 8 for x in range(0, len(row), 3)) for row in picture.rows()
        ]
        blocks = pictures.Picture(560, 96, b"".join(row * 8 for row in enlarged))
        seen = self.view(name, "--zoom", "800", "--size", "560x96")
        if Viewer.depth == 24:
            self.assert_same_picture(seen, blocks)
        self.assert_same_picture(seen, self.shown(blocks))

    def test_the_wheel_keeps_what_is_under_the_pointer(self):
        name = self.write("noise.png", pictures.png(pictures.noise(300, 200)))
        size = ["--size", "120x90"]
        with self.viewer(name, *size, "--zoom", "100", "--at", "50,40") as viewer:
            # Over pixel (80, 60): 1.1 times as far from the corner, less the pointer's own place.
            closer = viewer.view("wheel:120,30,20")
            self.assert_same_picture(closer, self.view(name, *size, "--zoom", "110", "--at", "58,46"))
            half = viewer.view("wheel:-60,30,20")
            self.assert_same_picture(half, closer)
            back = viewer.view("wheel:-60,30,20")
            self.assert_same_picture(back, self.view(name, *size, "--zoom", "100", "--at", "50,40"))

    @long_round
    def test_steps_of_the_menu(self):
        name = self.write("noise.png", pictures.png(pictures.noise(300, 200)))
        size = ["--size", "120x90"]
        with self.viewer(name, *size) as viewer:
            fitted = viewer.view()
            self.assert_same_picture(fitted, self.view(name, *size, "--zoom", "fit"))
            closer = viewer.view(f"command:{ZOOM_IN}", f"key:{36}")  # from 40 %
            self.assert_same_picture(closer, self.view(name, *size, "--zoom", "50"))
            farther = viewer.view(f"command:{ZOOM_OUT}", f"command:{ZOOM_OUT}")
            self.assert_same_picture(farther, self.view(name, *size, "--zoom", "25"))
            self.assert_same_picture(viewer.view(f"command:{FIT}"), fitted)

    def test_a_new_size_of_the_window_fits_again(self):
        picture = pictures.noise(300, 200)
        name = self.write("noise.png", pictures.png(picture))
        with self.viewer(name, "--size", "120x90") as viewer:
            seen = viewer.view("size:500,400")
        again = self.view(name, "--size", f"{seen.width}x{seen.height}")
        self.assertGreater(seen.width, 300)
        self.assert_same_picture(seen, again)
        if Viewer.depth == 24:
            self.assert_same_picture(seen, centred(picture, seen.width, seen.height))

    def test_the_place_of_a_part(self):
        if Viewer.depth != 24:
            return
        picture = pictures.noise(300, 200)
        name = self.write("noise.png", pictures.png(picture))
        seen = self.view(name, "--zoom", "100", "--at", "37,59", "--size", "120x90")
        self.assert_same_picture(seen, part(picture, 37, 59, 120, 90))
