"""Esc stops what takes long, and leaves what was shown."""

import os
import unittest.mock

import pictures
from view_case import ACTUAL, ESCAPE, HOME, ZOOM_OUT, ViewCase

SIZE = ["--size", "120x90"]


def slow_kernels():
    """Programs that are started meanwhile use no more than the oldest instruction set."""
    return unittest.mock.patch.dict(os.environ, Q32BASE_ISA="sse2")


class Stopping(ViewCase):
    def setUp(self):
        super().setUp()
        grey = bytes(x * 255 // 5999 for x in range(6000))
        self.write("large.png", pictures.png_file(6000, 4000, [grey] * 4000, pictures.PNG_GREY))
        self.small = self.write("small.png", pictures.png(pictures.noise(50, 40)))
        self.drop = "drop:Z:" + str(self.folder / "large.png").replace("/", "\\")

    def test_reading(self):
        with self.viewer(self.small, *SIZE) as viewer:
            before = viewer.view()
            says = viewer.do(self.drop, f"key:{ESCAPE}", "told:cancelled", "says", "title")
            self.assertEqual(
                says, ["cancelled; reading large.png was stopped", "small.png (2 of 2) - q32view"]
            )
            self.assert_same_picture(viewer.view(), before)
            viewer.do(self.drop, "titled:large.png")

    def test_scaling(self):
        # Scaling must not be done before anybody has looked at the keyboard.
        grey = bytes(x * 255 // 9999 for x in range(10000))
        self.write("large.png", pictures.png_file(10000, 6000, [grey] * 6000, pictures.PNG_GREY))
        with slow_kernels(), self.viewer("large.png", *SIZE) as viewer:
            viewer.view()  # keys that are typed while the picture is fitted are dropped
            before = viewer.view(f"command:{ACTUAL}", f"key:{HOME}")
            says = viewer.do(
                f"command:{ZOOM_OUT}", f"key:{ESCAPE}", "told:cancelled", "says"
            )
            self.assertEqual(says, ["cancelled; scaling large.png was stopped"])
            self.assert_same_picture(viewer.view(f"key:{HOME}"), before)
            self.assertNotEqual(viewer.view(f"command:{ZOOM_OUT}").pixels, before.pixels)
