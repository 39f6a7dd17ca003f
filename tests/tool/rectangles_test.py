"""Rectangles cut out of pictures and laid over them: q32tool crop and paste."""

import pictures
import rectangles
from program_case import long_round
from rectangle_case import AROUND_CELLS, RectangleCase, at_and_size
from tool_case import FAILED


class Crop(RectangleCase):
    def assert_crops(self, *chosen, background=None, option=()):
        for rectangle in chosen:
            storage, options = next(self.storages)
            with self.subTest(rectangle=rectangle, storage=storage):
                arguments = [*at_and_size(rectangle), *option, *options]
                self.make("out.bmp", "crop", "in.bmp", "out.bmp", *arguments)
                wanted = rectangles.cropped(self.picture, rectangle, background)
                self.assert_file_holds("out.bmp", wanted, 24)

    def test_inside(self):
        self.assert_crops(
            (0, 0, 257, 131), (0, 0, 1, 1), (256, 130, 1, 1), (5, 7, 40, 30), (127, 127, 3, 3)
        )

    def test_along_the_edges(self):
        self.assert_crops((0, 1, 129, 129), (126, 1, 131, 130), (0, 128, 257, 1), (128, 0, 1, 131))

    @long_round
    def test_sizes_around_cells(self):
        self.picture = pictures.noise(261, 260)
        self.write("in.bmp", pictures.bmp(self.picture))
        sizes = zip(AROUND_CELLS, reversed(AROUND_CELLS))
        self.assert_crops(*[(3, 2, width, height) for width, height in sizes])

    def test_beyond_the_sides(self):
        self.assert_crops(
            *[(-3, 5, 20, 10), (250, 5, 9, 10), (5, -130, 140, 131), (5, 130, 140, 130)],
            background=(1, 20, 255),
            option=["--background", "1,20,255"],
        )

    def test_beyond_the_corners(self):
        self.assert_crops(
            *[(-129, -1, 130, 2), (256, -3, 129, 5), (-1, 129, 258, 3), (200, 130, 58, 2)],
            *[(-3, -2, 264, 140)],
            background=(0xA0, 0x0B, 0xCD),
            option=["--background", "#a00bCD"],
        )

    def test_a_background_that_is_not_needed(self):
        self.assert_crops((130, 3, 20, 5), (0, 0, 257, 131), option=["--background", "9,9,9"])

    def test_far_beyond(self):
        option = ["--background", "1,2,3"]
        # The second is more than a megabyte, and its last part still has pixels of the picture.
        chosen = [(-9999, 129, 11000, 3), (-300, -500, 601, 640)]
        self.assert_crops(*chosen, background=(1, 2, 3), option=option)

    def test_other_format_and_in_place(self):
        wanted = rectangles.cropped(self.picture, (100, 30, 60, 50))
        for name in ("out.png", "in.bmp"):
            with self.subTest(name=name):
                self.make(name, "crop", "in.bmp", name, *at_and_size((100, 30, 60, 50)))
                self.assert_file_holds(name, wanted, 24)

    def test_without_a_background_it_stays_inside(self):
        self.write("out.bmp", b"an older file")
        for rectangle in [(-1, 0, 5, 5), (0, -1, 5, 5), (253, 0, 5, 5), (0, 127, 5, 5)]:
            with self.subTest(rectangle=rectangle):
                says = ["in.bmp", "257 x 131", "--background"]
                arguments = ["crop", "in.bmp", "out.bmp", *at_and_size(rectangle)]
                self.refuse(FAILED, *arguments, says=says)

    def test_outside(self):
        self.write("out.bmp", b"an older file")
        for rectangle in [(-5, 0, 5, 5), (0, 131, 5, 5)]:
            with self.subTest(rectangle=rectangle):
                arguments = ["in.bmp", "out.bmp", *at_and_size(rectangle), "--background", "1,2,3"]
                self.refuse(FAILED, "crop", *arguments, says=["in.bmp", "outside"])

    def test_more_than_the_library_takes(self):
        self.write("out.bmp", b"an older file")
        for size, says in [
            ("32001x5", ["32001 pixels wide", "error 5402, module 4, point 71"]),
            ("5x2147483647", ["2147483647 pixels high", "error 5403, module 4, point 72"]),
        ]:
            with self.subTest(size=size):
                arguments = ["--at", "-1,-1", "--size", size, "--background", "0,0,0"]
                self.refuse(FAILED, "crop", "in.bmp", "out.bmp", *arguments, says=says)


class Paste(RectangleCase):
    def assert_pastes(self, overlay, *places):
        self.write("overlay.bmp", pictures.bmp(overlay))
        for x, y in places:
            storage, options = next(self.storages)
            with self.subTest(x=x, y=y, storage=storage):
                arguments = ["in.bmp", "overlay.bmp", "out.bmp", "--at", f"{x},{y}", *options]
                self.make("out.bmp", "paste", *arguments)
                wanted = rectangles.pasted(self.picture, overlay, x, y)
                self.assert_file_holds("out.bmp", wanted, 24)

    def test_inside(self):
        overlay = pictures.noise(7, 5, seed=1)
        self.assert_pastes(overlay, (0, 0), (125, 126), (250, 126))

    @long_round
    def test_beyond_the_sides(self):
        overlay = pictures.noise(10, 9, seed=1)
        self.assert_pastes(overlay, (-4, 50), (250, 50), (130, -8), (130, 125))

    def test_one_pixel_in_each_corner(self):
        overlay = pictures.noise(150, 130, seed=1)
        self.assert_pastes(overlay, (-149, -129), (256, -129), (-149, 130), (256, 130))

    def test_larger_than_the_picture(self):
        overlay = pictures.noise(300, 260, seed=1)
        self.assert_pastes(overlay, (0, 0), (-43, -129), (100, -100))

    def test_the_same_size(self):
        self.assert_pastes(pictures.noise(257, 131, seed=1), (0, 0), (1, -1))

    def test_sizes_around_cells(self):
        self.picture = pictures.noise(261, 260)
        self.write("in.bmp", pictures.bmp(self.picture))
        for width, height in zip(AROUND_CELLS[::2], reversed(AROUND_CELLS[::2])):
            self.assert_pastes(pictures.noise(width, height, seed=1), (3, 2))

    def test_over_one_of_the_two(self):
        overlay = pictures.noise(140, 20, seed=1)
        wanted = rectangles.pasted(self.picture, overlay, 120, 119)
        for target in ("in.bmp", "overlay.bmp"):
            with self.subTest(target=target):
                self.write("in.bmp", pictures.bmp(self.picture))
                self.write("overlay.bmp", pictures.bmp(overlay))
                self.make(target, "paste", "in.bmp", "overlay.bmp", target, "--at", "120,119")
                self.assert_file_holds(target, wanted, 24)

    def test_over_itself(self):
        self.make("in.bmp", "paste", "in.bmp", "in.bmp", "in.bmp", "--at=-100,2")
        wanted = rectangles.pasted(self.picture, self.picture, -100, 2)
        self.assert_file_holds("in.bmp", wanted, 24)

    def test_the_base_is_seen_through_transparent_parts(self):
        row = bytes((10, 20, 30, 255)) + bytes((10, 20, 30, 0))
        file = pictures.png_file(2, 1, [row], pictures.PNG_RGBA)
        self.write("overlay.png", file)
        self.make("out.png", "paste", "in.bmp", "overlay.png", "out.png", "--at", "127,3")
        overlay = pictures.from_colours(1, 1, [(10, 20, 30)])
        self.assert_file_holds("out.png", rectangles.pasted(self.picture, overlay, 127, 3), 24)

    def test_outside(self):
        self.write("out.bmp", b"an older file")
        self.write("overlay.bmp", pictures.bmp(pictures.noise(6, 5, seed=1)))
        for place in ("-6,0", "257,0", "0,-5", "0,131", "-2147483648,2147483647"):
            with self.subTest(place=place):
                arguments = ["in.bmp", "overlay.bmp", "out.bmp", "--at", place]
                self.refuse(FAILED, "paste", *arguments, says=["in.bmp", "outside", place])
