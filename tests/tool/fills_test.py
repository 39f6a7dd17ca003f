"""Pictures filled with a colour or a repeated picture: q32tool fill and pattern."""

import pictures
import rectangles
from program_case import long_round
from rectangle_case import AROUND_CELLS, RectangleCase, at_and_size
from tool_case import FAILED

# Inside, over the borders of cells, along the edges, beyond every side, and far beyond all.
RECTANGLES = [
    (0, 0, 1, 1),
    (256, 130, 1, 1),
    (120, 125, 20, 4),
    (0, 130, 257, 1),
    (-5, 3, 140, 100),
    (129, -7, 128, 135),
    (250, 120, 100, 100),
    (-9, 9, 2147483647, 2147483647),
]


class Fill(RectangleCase):
    def assert_fills(self, colour, option, rectangle=None):
        storage, options = next(self.storages)
        with self.subTest(rectangle=rectangle, storage=storage):
            where = at_and_size(rectangle) if rectangle else []
            arguments = ["in.bmp", "out.bmp", "--colour", option, *where, *options]
            self.make("out.bmp", "fill", *arguments)
            wanted = rectangles.filled(self.picture, colour, rectangle)
            self.assert_file_holds("out.bmp", wanted, 24)

    def test_whole(self):
        self.assert_fills((1, 128, 255), "1,128,255")
        self.assert_fills((0xFE, 0xDC, 0x0A), "#FEdc0a")

    @long_round
    def test_rectangles(self):
        for rectangle in RECTANGLES:
            self.assert_fills((200, 100, 3), "200,100,3", rectangle)

    def test_sizes_around_cells(self):
        for width, height in zip(AROUND_CELLS[1::2], reversed(AROUND_CELLS[1::2])):
            self.picture = pictures.noise(width, height)
            self.write("in.bmp", pictures.bmp(self.picture))
            self.assert_fills((7, 8, 9), "7,8,9", (1, 1, width - 2, height - 2))

    def test_whole_sizes_around_cells(self):
        for width, height in [(1, 1), (128, 128), (129, 127)]:
            self.picture = pictures.noise(width, height)
            self.write("in.bmp", pictures.bmp(self.picture))
            self.assert_fills((7, 8, 9), "7,8,9")

    def test_in_place(self):
        self.make("in.bmp", "fill", "in.bmp", "in.bmp", "--colour=1,2,3", "--at=4,5", "--size=6x7")
        wanted = rectangles.filled(self.picture, (1, 2, 3), (4, 5, 6, 7))
        self.assert_file_holds("in.bmp", wanted, 24)

    def test_outside(self):
        self.write("out.bmp", b"an older file")
        far = (-2147483647, 0, 2147483647, 5)  # ends one column left of the picture
        for rectangle in [(257, 0, 5, 5), (0, 131, 5, 5), (0, -5, 5, 5), far]:
            with self.subTest(rectangle=rectangle):
                arguments = ["in.bmp", "out.bmp", "--colour", "1,2,3", *at_and_size(rectangle)]
                self.refuse(FAILED, "fill", *arguments, says=["in.bmp", "outside"])


class Pattern(RectangleCase):
    def assert_tiles(self, pattern, rectangle=None):
        self.write("pattern.bmp", pictures.bmp(pattern))
        storage, options = next(self.storages)
        size = pattern.width, pattern.height
        with self.subTest(pattern=size, rectangle=rectangle, storage=storage):
            where = at_and_size(rectangle) if rectangle else []
            arguments = ["in.bmp", "pattern.bmp", "out.bmp", *where, *options]
            self.make("out.bmp", "pattern", *arguments)
            wanted = rectangles.tiled(self.picture, pattern, rectangle)
            self.assert_file_holds("out.bmp", wanted, 24)

    def test_small(self):
        for width, height in [(1, 1), (2, 1), (1, 3), (3, 5), (50, 7)]:
            self.assert_tiles(pictures.noise(width, height, seed=1))

    @long_round
    def test_around_cells(self):
        self.picture = pictures.noise(261, 260)
        self.write("in.bmp", pictures.bmp(self.picture))
        for width, height in zip(AROUND_CELLS, reversed(AROUND_CELLS)):
            self.assert_tiles(pictures.noise(width, height, seed=1))

    def test_larger_than_the_picture(self):
        self.assert_tiles(pictures.noise(300, 5, seed=1))
        self.assert_tiles(pictures.noise(5, 300, seed=1))
        self.assert_tiles(pictures.noise(258, 132, seed=1))

    def test_repetitions_begin_at_the_corner_of_the_picture(self):
        pattern = pictures.noise(7, 5, seed=1)
        for rectangle in RECTANGLES:
            self.assert_tiles(pattern, rectangle)

    def test_rectangles_of_large_patterns(self):
        for width, height in [(129, 1), (130, 127), (300, 140)]:
            self.assert_tiles(pictures.noise(width, height, seed=1), (100, 3, 157, 128))

    def test_neighbours_fit_together(self):
        pattern = pictures.noise(9, 4, seed=1)
        self.write("pattern.bmp", pictures.bmp(pattern))
        for rectangle in [(0, 0, 100, 131), (100, 0, 157, 131)]:
            arguments = ["in.bmp", "pattern.bmp", "in.bmp", *at_and_size(rectangle)]
            self.make("in.bmp", "pattern", *arguments)
        self.assert_file_holds("in.bmp", rectangles.tiled(self.picture, pattern), 24)

    def test_the_picture_as_its_own_pattern(self):
        self.make("in.bmp", "pattern", "in.bmp", "in.bmp", "in.bmp")
        self.assert_file_holds("in.bmp", self.picture, 24)

    def test_outside(self):
        self.write("out.bmp", b"an older file")
        self.write("pattern.bmp", pictures.bmp(pictures.noise(3, 3)))
        for rectangle in [(257, 0, 5, 5), (0, -5, 5, 5)]:
            with self.subTest(rectangle=rectangle):
                arguments = ["in.bmp", "pattern.bmp", "out.bmp", *at_and_size(rectangle)]
                self.refuse(FAILED, "pattern", *arguments, says=["in.bmp", "outside"])
