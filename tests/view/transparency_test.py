"""Transparent parts, over a chequerboard whose squares have one size at every zoom."""

import random

import pictures
from view_case import TURN_RIGHT, ViewCase, Viewer, part


def board(x, y):
    return 204 if (x // 8 + y // 8) % 2 == 0 else 153


def over_board(width, height, colour, opacity):
    """Of functions of the place in the shown picture."""

    def mixed(x, y):
        share = opacity(x, y)
        behind = (board(x, y) * (255 - share) + 127) // 255
        return tuple((value * share + 127) // 255 + behind for value in colour(x, y))

    return pictures.from_colours(
        width, height, [mixed(x, y) for y in range(height) for x in range(width)]
    )


def png(width, height, colour, opacity):
    pixels = [(*colour(x, y), opacity(x, y)) for y in range(height) for x in range(width)]
    rows = [b"".join(map(bytes, pixels[y * width : (y + 1) * width])) for y in range(height)]
    return pictures.png_file(width, height, rows, pictures.PNG_RGBA)


def middle(view, width, height):
    return part(view, (view.width - width) // 2, (view.height - height) // 2, width, height)


class Transparency(ViewCase):
    def setUp(self):
        super().setUp()
        source = random.Random(0)
        self.pixels = [source.randbytes(4) for _ in range(60 * 40)]

    def colour(self, x, y):
        return tuple(self.pixels[y * 60 + x][:3])

    def opacity(self, x, y):
        return self.pixels[y * 60 + x][3] // 64 * 85  # 0, 85, 170, 255

    def seen(self, name, width, height, *options):
        """The picture, which this view shows in the middle."""
        return middle(self.view(name, "--size", "320x240", *options), width, height)

    def test_in_its_own_size_and_turned(self):
        if Viewer.depth != 24:
            return
        name = self.write("noise.png", png(60, 40, self.colour, self.opacity))
        wanted = over_board(60, 40, self.colour, self.opacity)
        turned = over_board(
            40, 60, lambda x, y: self.colour(y, 39 - x), lambda x, y: self.opacity(y, 39 - x)
        )
        with self.viewer(name, "--size", "320x240") as viewer:
            before, after = viewer.views([], [f"command:{TURN_RIGHT}"])
        self.assert_same_picture(middle(before, 60, 40), wanted)
        self.assert_same_picture(middle(after, 40, 60), turned)

    def test_single_pixels(self):
        if Viewer.depth != 24:
            return
        name = self.write("noise.png", png(60, 40, self.colour, self.opacity))
        wanted = over_board(
            300, 200, lambda x, y: self.colour(x // 5, y // 5), lambda x, y: self.opacity(x // 5, y // 5)
        )
        self.assert_same_picture(self.seen(name, 300, 200, "--zoom", "500"), wanted)

    def test_one_colour_at_every_zoom(self):
        """Half transparent blue stays so, whatever is done to it; red that is not there is not seen."""
        if Viewer.depth != 24:
            return

        def colour(x, y):
            return (0, 0, 200) if x < 40 else (255, 0, 0)

        def opacity(x, y):
            return 128 if x < 40 else 0

        name = self.write("blue.png", png(80, 40, colour, opacity))
        for percent in 25, 100, 150, 400:
            width, height = 80 * percent // 100, 40 * percent // 100
            seen = self.seen(name, width, height, "--zoom", str(percent))
            edge = width // 2
            wanted = over_board(
                width, height, lambda x, y: colour(x * 80 // width, y), lambda x, y: opacity(x * 80 // width, y)
            )
            for y, (row, right) in enumerate(zip(seen.rows(), wanted.rows())):
                for from_x, to_x in ((0, edge - 8), (edge + 8, width)):
                    self.assertEqual(row[from_x * 3 : to_x * 3], right[from_x * 3 : to_x * 3], (percent, y))
                reds, blues = row[0::3], row[2::3]
                self.assertLessEqual(max(reds), 204, (percent, y))
                self.assertLessEqual(max(blues), 204, (percent, y))

    def test_opaque_throughout(self):
        """The file could be transparent and is not."""
        name = self.write("opaque.png", png(60, 40, self.colour, lambda x, y: 255))
        plain = pictures.from_colours(60, 40, [tuple(pixel[:3]) for pixel in self.pixels])
        same = self.write("plain.png", pictures.png(plain))
        self.assert_same_picture(self.seen(name, 60, 40), self.seen(same, 60, 40))
