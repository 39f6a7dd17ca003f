"""Views as they are stored in pictures/, for each display: what a person has looked at."""

import os
import pathlib

import pictures
from view_case import ViewCase, Viewer

STORED = pathlib.Path(__file__).resolve().parent / "pictures"

# Of every kind of display that the library acts for on this one; what is detected comes first.
VIEWS = {
    "detected": [],
    "monochrome": ["--device-type", "0"],
    "8-colours": ["--device-type", "1"],
    "16-colours": ["--device-type", "2"],
    "256-colours": ["--device-type", "3"],
    "true-colour": ["--device-type", "4"],
    "high-colour": ["--device-type", "5"],
    "high-colour-plain": ["--device-type", "5", "--dither", "off"],
    "greys-128": ["--device-type", "3", "--pixels", "grey"],
    "greys-16": ["--device-type", "3", "--pixels", "grey", "--palette-option"],
    "grey-dots": ["--device-type", "2", "--pixels", "grey"],
    "cube": ["--device-type", "3", "--pixels", "palette"],
    "cube-dithered": ["--device-type", "3", "--pixels", "palette", "--palette-option"],
}


def rainbow(width, height):
    """Hues to the right, darker downwards, with a grid of fine lines: shows what dithering does."""

    def colour(x, y):
        if x % 16 == 0 or y % 16 == 0:
            return (255, 255, 255)
        hue = x * 6 / width
        wave = [max(0.0, min(1.0, abs((hue + shift) % 6 - 3) - 1)) for shift in (0, 4, 2)]
        return tuple(int(255 * value * (height - y) / height) for value in wave)

    return pictures.from_colours(
        width, height, [colour(x, y) for y in range(height) for x in range(width)]
    )


class StoredViews(ViewCase):
    def compare(self, name, *arguments):
        stored = STORED / f"{name}-{Viewer.depth}.png"
        seen = self.view(*arguments)
        if os.environ.get("Q32VIEW_STORE"):
            stored.write_bytes(pictures.png(seen, level=9))
        self.assert_same_picture(seen, pictures.read(stored).picture, named=name)

    def test_displays(self):
        picture = self.write("rainbow.png", pictures.png(rainbow(96, 64)))
        for name, options in VIEWS.items():
            with self.subTest(name):
                self.compare(name, picture, "--size", "112x80", *options)

    def test_test_cards(self):
        for name in "detected", "monochrome", "8-colours", "16-colours", "256-colours":
            with self.subTest(name):
                self.compare(f"card-{name}", "--test-card", "--size", "128x96", *VIEWS[name])
