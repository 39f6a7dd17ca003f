"""What the tests of rectangles, fills and patterns share: a picture of several cells, and cases
that go through all kinds of storage in turn."""

import itertools

import pictures
from tool_case import STORAGES, ToolCase

# Around one and two cells of 128.
AROUND_CELLS = (127, 128, 129, 130, 255, 256, 257, 258)


def at_and_size(rectangle):
    x, y, width, height = rectangle
    return ["--at", f"{x},{y}", "--size", f"{width}x{height}"]


class RectangleCase(ToolCase):
    def setUp(self):
        super().setUp()
        self.make_folder("swap")
        self.picture = pictures.noise(257, 131)
        self.write("in.bmp", pictures.bmp(self.picture))
        self.storages = itertools.cycle(STORAGES.items())
