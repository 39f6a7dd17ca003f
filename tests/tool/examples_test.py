"""What the pages of the gallery say in numbers is what the library does: q32tool is asked."""

import pathlib
import re

import pictures
from program_case import long_round
from tool_case import ToolCase

PAGES = pathlib.Path(__file__).resolve().parents[2] / "docs/site"

# For each display: the largest threshold, what is seen of a grey that is not stepped up, at most, and
# what of it is compared with thresholds.
WAYS = [
    ("16-colours", 255, lambda grey: 254, lambda grey: grey),
    ("256-colours", 51, lambda grey: grey // 51 * 51, lambda grey: grey % 51),
    ("high-colour", 8, lambda grey: in_248(grey) | 7, lambda grey: in_248(grey) % 8),
]


def in_248(grey):
    return (grey * 248 + 127) // 255


def numbers(text):
    return [int(number) for number in re.findall(r"\d+", text)]


def table_rows(page, first):
    """Rows of a page's tables, cell by cell, whose first cell is like that."""
    lines = (PAGES / page).read_text().splitlines()
    rows = [[cell.strip() for cell in line.strip("|").split("|")] for line in lines if line.startswith("|")]
    return [row for row in rows if re.fullmatch(first, row[0])]


def greys(samples):
    return pictures.from_colours(len(samples), 1, [(sample,) * 3 for sample in samples])


class Examples(ToolCase):
    def write_picture(self, name, colours, width):
        picture = pictures.from_colours(width, len(colours) // width, colours)
        return self.write(name, pictures.png(picture))

    @long_round
    def test_merge_modes(self):
        text = (PAGES / "merge-modes.md").read_text()
        base, over = (
            tuple(map(int, found.groups()))
            for found in (re.search(name + r" = (\d+), (\d+),\s(\d+)", text) for name in "bs")
        )
        self.write_picture("base.png", [base] * 2, 2)
        self.write_picture("over.png", [over] * 2, 2)
        self.write("mask.png", pictures.grey_png(2, 1, bytes([255, 128])))
        self.write("full.png", pictures.grey_png(2, 1, bytes([255, 255])))
        modes = re.findall(r"^\| `([\w-]+)` \| m = 255 \| m = 128 \| transparency 40 \|\n\|.*\n\| .*? \| (.*) \|$", text, re.M)
        self.assertEqual(len(modes), 16)
        for mode, said in modes:
            with self.subTest(mode=mode):
                self.compose("masked.png", mode, "--mask", "mask.png")
                self.compose("faint.png", mode, "--mask", "full.png", "--transparency", "40")
                done = self.read("masked.png").picture.colours() + self.read("faint.png").picture.colours()[:1]
                self.assertEqual([tuple(numbers(cell)) for cell in said.split("|")], done)

    def compose(self, target, mode, *options):
        files = ["--base", "base.png", "--overlay", "over.png", "-o", target]
        self.succeed("compose", *files, "--mode", mode, *options)

    @long_round
    def test_resampling(self):
        (source,) = table_rows("resampling.md", "sample")
        self.write("source.png", pictures.png(greys([int(cell) for cell in source[1:]])))
        self.make_folder("frames")
        self.make_folder("scaled")
        self.write("frames/frame.png", (self.folder / "source.png").read_bytes())
        rows = table_rows("resampling.md", "(cells|frames), (nearest|bilinear|bicubic)")
        self.assertEqual(len(rows), 12)
        for row in rows:
            way, method = row[0].split(", ")
            said = numbers(row[-1])
            with self.subTest(way=way, method=method, pixels=len(said)):
                if way == "cells":
                    self.succeed("scale", "source.png", "made.png", "--size", f"{len(said)}x1", "--method", method)
                    made = self.read("made.png")
                else:
                    self.succeed("stream", "frames", "scaled", "--size", f"{len(said)}x1", "--method", method)
                    made = self.read("scaled/frame.png")
                self.assertEqual(made.picture.colours(), greys(said).colours())

    @long_round
    def test_separation(self):
        rows = table_rows("separation.md", r"\d+")
        self.assertEqual(len(rows), 9)
        self.write("greys.png", pictures.png(greys([255 - int(row[0]) for row in rows])))
        self.succeed("separate", "greys.png", "ink.png", "--film")
        for column, inks in ((1, ["black"]), (2, ["cyan", "magenta", "yellow"])):
            for ink in inks:
                made = self.read(f"ink-{ink}.png").picture.colours()
                self.assertEqual([int(row[column]) for row in rows], [colour[0] for colour in made], ink)

    @long_round
    def test_thresholds(self):
        # Every grey, in tiles as large as the largest matrix: where does which one step up first?
        side = 8
        tiles = [x // side + y // side * 16 for y in range(16 * side) for x in range(16 * side)]
        self.write_picture("tiles.png", [(grey,) * 3 for grey in tiles], 16 * side)
        rows = [list(map(int, row[1:])) for row in table_rows("displays.md", r"\d")]
        for (display, most, level_of, rest_of), matrix in zip(WAYS, (rows[:8], rows[8:16], rows[16:20])):
            with self.subTest(display=display):
                self.succeed("show", "tiles.png", "-o", "seen.png", "--depth-of", display, "--bits", "24")
                seen = [colour[0] for colour in self.read("seen.png").picture.colours()]
                least = [[most] * len(matrix) for _ in matrix]
                for at, grey in enumerate(tiles):
                    y, x = divmod(at, 16 * side)
                    if seen[at] > level_of(grey):
                        place = least[y % len(matrix)]
                        place[x % len(matrix)] = min(place[x % len(matrix)], rest_of(grey))
                self.assertEqual(least, matrix)
