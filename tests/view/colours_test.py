"""Colours of pixels in their own size, worked out here, and seen on a true-colour display.

On the other displays the same views are compared with one another: what is the same picture must
look the same.
"""

import pictures
from view_case import ViewCase, Viewer, centred

SIZE = ["--size", "100x80"]


def replicated(function):
    def change(red, green, blue):
        grey = function((red * 299 + green * 587 + blue * 114 + 500) // 1000)
        return grey, grey, grey

    return change


def cube(red, green, blue):
    return tuple((value * 5 + 127) // 255 * 51 for value in (red, green, blue))


def words(red, green, blue):
    return tuple(value >> 3 << 3 | 7 for value in (red, green, blue))


CHANGES = {
    "24": lambda *colour: colour,
    "16": words,
    "palette": cube,
    "grey": replicated(lambda grey: grey),
    "1": replicated(lambda grey: 255 if grey > 127 else 0),
}


class Pixels(ViewCase):
    def test_kinds_of_pixels(self):
        picture = pictures.noise(61, 43)
        name = self.write("noise.png", pictures.png(picture))
        for kind, change in CHANGES.items():
            seen = self.view(name, *SIZE, "--pixels", kind)
            changed = picture.changed(change)
            if Viewer.depth == 24:
                self.assert_same_picture(seen, centred(changed, 100, 80), named=kind)
            elif kind != "grey":  # 128 levels, where there is a palette
                other = self.write("changed.png", pictures.png(changed))
                same = self.view(other, *SIZE, "--pixels", kind)
                self.assert_same_picture(seen, same, named=kind)

    def test_black_and_white_are_so_everywhere(self):
        def dots(white):
            colours = [white if (x + y) % 3 == 0 else (0, 0, 0) for y in range(43) for x in range(61)]
            return pictures.from_colours(61, 43, colours)

        white = (255, 255, 255)
        # High colour is given 248 at most, which has not all of green's 6 bits.
        high_white = (255, 251, 255) if Viewer.depth == 16 else white
        name = self.write("dots.png", pictures.png(dots(white)))
        for options, shown in (
            ([], high_white),
            (["--pixels", "grey"], high_white),
            (["--pixels", "1"], white),
            (["--device-type", "3"], white),
            (["--device-type", "0"], white),
        ):
            seen = self.view(name, *SIZE, *options)
            self.assert_same_picture(seen, centred(dots(shown), 100, 80), named=options)

    def test_gamma(self):
        if Viewer.depth != 24:
            return
        picture = pictures.ramps(61, 43)
        name = self.write("ramps.png", pictures.png(picture))
        seen = self.view(name, *SIZE, "--gamma", "220")
        # 220 / 1.8 is 122 percent.
        table = [int(255 * (level / 255) ** (100 / 122)) for level in range(256)]
        corrected = picture.changed(lambda *colour: tuple(table[value] for value in colour))
        self.assert_same_picture(seen, centred(corrected, 100, 80))

    def test_the_test_card(self):
        if Viewer.depth != 24:
            return
        card = self.view("--test-card", "--size", "256x160")
        rows = card.rows()
        up = b"".join(bytes([int(x * 255 / 256 + 0.5)] * 3) for x in range(256))
        self.assertEqual(rows[0], up)
        self.assertEqual(rows[9], up)
        self.assertEqual(rows[10][:3], b"\xff\xff\xff")
        reds = rows[25]
        self.assertEqual(reds[: 3 * 2], b"\0\0\0\2\0\0")
        self.assertEqual(reds[128 * 3 : 128 * 3 + 6], b"\xff\0\0\xff\2\2")
        self.assertEqual(rows[55][:3], b"\xff\0\0")  # the circle begins red
        self.assertEqual(rows[159][128 * 3 : 128 * 3 + 3], b"\xfa\xfa\xfa")  # 49 of 50 steps down
