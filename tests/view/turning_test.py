"""Turning, copying and zooming by real keys, and pictures that are meant to be turned."""

import struct

import pictures
from program_case import long_round
from view_case import (
    ACTUAL,
    CONTROL,
    FLIP,
    MINUS,
    MIRROR,
    PLUS,
    SHIFT,
    TURN_LEFT,
    TURN_RIGHT,
    ViewCase,
    Viewer,
    centred,
    keys,
    part,
)

WIDTH, HEIGHT = 100, 80
SIZE = ["--size", f"{WIDTH}x{HEIGHT}"]


def mirrored(picture):
    rows = [[row[i : i + 3] for i in range(0, len(row), 3)] for row in picture.rows()]
    return pictures.Picture(
        picture.width, picture.height, b"".join(b"".join(reversed(row)) for row in rows)
    )


def flipped(picture):
    return pictures.Picture(picture.width, picture.height, b"".join(reversed(picture.rows())))


def transposed(picture):
    rows = [[row[i : i + 3] for i in range(0, len(row), 3)] for row in picture.rows()]
    columns = [b"".join(column) for column in zip(*rows)]
    return pictures.Picture(picture.height, picture.width, b"".join(columns))


def turned_right(picture):
    return mirrored(transposed(picture))


class Turning(ViewCase):
    def test_by_the_menu_and_by_keys(self):
        picture = pictures.noise(61, 43)
        name = self.write("noise.png", pictures.png(picture))
        if Viewer.depth != 24:
            return
        right = turned_right(picture)
        half = turned_right(right)
        with self.viewer(name, *SIZE) as viewer:
            views = viewer.views(
                [f"command:{TURN_RIGHT}"],
                [f"command:{TURN_RIGHT}"],
                [f"command:{MIRROR}"],
                [f"command:{FLIP}", f"command:{TURN_LEFT}"],
                [keys("R"), "shown:61 x 43, 100 %"],
                [keys("H"), keys("V"), keys("R"), "shown:43 x 61, 100 %"],
                [keys(SHIFT, "R"), "shown:61 x 43, 100 %"],
            )
        # What is mirrored in both ways has made half a turn.
        left = turned_right(turned_right(right))
        wanted = [right, half, flipped(picture), left, picture, left, half]
        for i, (seen, picture) in enumerate(zip(views, wanted)):
            self.assert_same_picture(seen, centred(picture, WIDTH, HEIGHT), named=i)

    def test_what_is_in_the_middle_stays_there(self):
        if Viewer.depth != 24:
            return
        picture = pictures.noise(400, 300)
        name = self.write("noise.png", pictures.png(picture))
        at = ["--zoom", "100", "--at", "30,20"]
        with self.viewer(name, *SIZE, *at) as viewer:
            right = viewer.view(f"command:{TURN_RIGHT}")
        # The middle (80, 60) goes to (300 - 60, 80).
        wanted = part(turned_right(picture), 240 - WIDTH // 2, 80 - HEIGHT // 2, WIDTH, HEIGHT)
        self.assert_same_picture(right, wanted)

    @long_round
    def test_files_that_say_how(self):
        """By the orientation that TIFF files have and photographs' files, too."""
        if Viewer.depth != 24:
            return
        picture = pictures.noise(23, 17)
        half = turned_right(turned_right(picture))
        wanted = {
            2: mirrored(picture),
            3: half,
            5: transposed(picture),
            6: turned_right(picture),
            8: turned_right(half),
        }
        for orientation, upright in wanted.items():
            name = self.write(f"{orientation}.tif", tiff(picture, orientation))
            self.assert_same_picture(self.view(name, *SIZE), centred(upright, WIDTH, HEIGHT), named=name)


def tiff(picture, orientation):
    """Uncompressed, in one strip."""
    entries = [
        (256, 3, 1, picture.width),
        (257, 3, 1, picture.height),
        (258, 3, 3, 8 + 2 + 12 * 10 + 4),
        (259, 3, 1, 1),
        (262, 3, 1, 2),
        (273, 4, 1, 8 + 2 + 12 * 10 + 4 + 6),
        (274, 3, 1, orientation),
        (277, 3, 1, 3),
        (278, 3, 1, picture.height),
        (279, 4, 1, len(picture.pixels)),
    ]
    directory = struct.pack("<H", len(entries))
    for tag, kind, count, value in entries:
        directory += struct.pack("<HHII", tag, kind, count, value)
    header = b"II*\0" + struct.pack("<I", 8)
    return header + directory + bytes(4) + struct.pack("<3H", 8, 8, 8) + picture.pixels


class Keys(ViewCase):
    def test_zooming(self):
        """By characters, as they are on a US keyboard, and as other programs have it."""
        name = self.write("noise.png", pictures.png(pictures.noise(300, 200)))
        ways = [
            (keys("1"), 100),
            (keys(SHIFT, PLUS), 110),
            (keys(PLUS), 125),
            (keys(MINUS), 110),
            (keys(CONTROL, PLUS), 125),
            (keys(CONTROL, SHIFT, PLUS), 150),
            (keys(CONTROL, MINUS), 125),
            (keys(0x6B), 150),  # of the number block
            (keys(CONTROL, 0x6B), 175),
            (keys(CONTROL, 0x6D), 150),
            (keys(0x6D), 125),
            (keys(CONTROL, "0"), 100),
            (keys("F"), 33),
            (keys(CONTROL, "1"), 100),
            (keys("W"), 33),
        ]
        with self.viewer(name, *SIZE) as viewer:
            steps = [step for key, percent in ways for step in (key, f"shown:300 x 200, {percent} %")]
            viewer.do(*steps)

    def test_fitting_to_the_width(self):
        name = self.write("high.png", pictures.png(pictures.noise(150, 400)))
        with self.viewer(name, *SIZE) as viewer:
            seen = viewer.view(keys("W"), "shown:150 x 400, 67 %")
        self.assert_same_picture(seen, self.view(name, *SIZE, "--zoom", "width"))

    def test_copying(self):
        """What is to be seen of the picture, and nothing that is around it."""
        if Viewer.depth != 24:
            return
        picture = pictures.noise(61, 103)
        name = self.write("noise.png", pictures.png(picture))
        with self.viewer(name, *SIZE) as viewer:
            viewer.do(f"command:{ACTUAL}", keys(CONTROL, "C"), "told:copied", "clipboard:copied.bmp")
            copied = pictures.read(self.folder / "copied.bmp").picture
            self.assert_same_picture(copied, part(picture, 0, 11, 61, HEIGHT))  # its middle
