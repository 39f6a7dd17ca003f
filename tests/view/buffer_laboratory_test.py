"""The buffer laboratory: where it says that cells live, step by step, and scripts that it refuses."""

import unittest

import pictures
from program_case import long_round
from view_case import END, FAILED, HOME, LABORATORY, USAGE, OpenLaboratory, ViewCase, Viewer

MEMORY, SWAP_FILE, SHARED, ONE_COLOUR = (0, 114, 178), (230, 159, 0), (0, 158, 115), (240, 228, 66)
LOCK, OUTLINE = (176, 0, 32), (0, 0, 0)

SPACE, RUN = 0x20, ord("R")
STEP_BAR = 3  # among the laboratory's controls

# Three buffers of five columns of cells in two rows.
SCRIPT = """\
alloc A 640x256 24 colour 3060a0
alloc B 640x256 24 file
duplicate B C
lock A cell 7 # which gets a block
free A
paste A 0,0 10x10 ff
paste C 130,0 1x1 00
unlock A
free A
free C
free B
"""
STEPS = 11

# In a window of this size its tiles begin here, and its cells have this side.
SIZE = "790x580"
FIRST_TILE, TILE, CELLS_TOP, SIDE = 222, 107, 114, 19


def cell(buffer, index):
    """The corner of a cell of a buffer, by its place among them."""
    return FIRST_TILE + buffer * TILE + index % 5 * SIDE, CELLS_TOP + index // 5 * SIDE


def colour_at(picture, x, y):
    row = picture.row(y)
    return tuple(row[x * 3 : x * 3 + 3])


def ground(picture, buffer, index):
    """Beside the letter, which stands in the middle."""
    x, y = cell(buffer, index)
    return colour_at(picture, x + 3, y + SIDE // 2)


def stripe(picture, buffer, index):
    x, y = cell(buffer, index)
    return colour_at(picture, x + 3, y + SIDE - 3)


def load_tests(_loader, tests, _pattern):
    """Colours are looked for as they are, which displays of fewer bits do not show."""
    return tests if Viewer.depth == 24 else unittest.TestSuite()


class BufferLaboratory(ViewCase):
    def laboratory(self, *arguments):
        return self.viewer("--laboratory", "buffer", "--size", SIZE, *arguments, kind=OpenLaboratory)

    def expect(self, picture, buffer, colour, below=None):
        """All cells of a buffer; below: the stripe of shared ones."""
        for index in range(10):
            self.assertEqual(ground(picture, buffer, index), colour, (buffer, index))
            self.assertEqual(stripe(picture, buffer, index), below or colour, (buffer, index))

    def test_cells_by_where_they_live(self):
        name = self.write("script.txt", SCRIPT.encode())
        step = f"key:{SPACE}"
        with self.laboratory("--script", name, "--set", "step=1") as laboratory:
            alone, shared, locked, refused, pasted, parted = laboratory.views(
                [], [step, step], [step], [step], [step], [step]
            )
            said = laboratory.do("explained")
        self.expect(alone, 0, ONE_COLOUR)
        self.assertEqual(ground(alone, 1, 0), (255, 255, 255))
        self.expect(shared, 0, ONE_COLOUR)
        self.expect(shared, 1, SHARED, SWAP_FILE)
        self.expect(shared, 2, SHARED, SWAP_FILE)
        self.expect(pasted, 1, SHARED, SWAP_FILE)
        self.expect(parted, 0, MEMORY)
        self.expect(parted, 1, SWAP_FILE)
        self.expect(parted, 2, SWAP_FILE)
        # The mark of a lock of a cell, in its corner; the edge of one that was worked on.
        x, y = cell(0, 7)
        self.assertEqual(colour_at(shared, x + SIDE - 4, y + 3), ONE_COLOUR)
        for picture in locked, refused, pasted, parted:
            self.assertEqual(colour_at(picture, x + SIDE - 4, y + 3), LOCK)
        self.assertEqual(colour_at(locked, x, y + 5), OUTLINE)
        x, y = cell(0, 0)
        self.assertEqual(colour_at(pasted, x, y), OUTLINE)
        self.assertEqual(colour_at(parted, x, y), MEMORY)
        x, y = cell(2, 1)
        self.assertEqual(colour_at(parted, x, y), OUTLINE)
        self.assertEqual(said[0], f"Step 7 of {STEPS}, line 7: done.")
        self.assertEqual(said[1], "Bytes and cells are as the rules say, after each step so far.")

    @long_round
    def test_keys_and_bar(self):
        with self.laboratory("--set", "speed=20", "--set", "step=9") as laboratory:
            self.assertRegex(laboratory.do("explained")[0], r"\AStep 9 of 36, line 17: done\.\Z")
            self.assertRegex(
                laboratory.do(f"key:{SPACE}", f"key:{SPACE}", "explains:Step 11", "explained")[0],
                r"\AStep 11 of 36, line 21: not done\. The .* \(error 5804, module 4, point 12\)\.\Z",
            )
            last = laboratory.do(f"control:{STEP_BAR},{END}", "explains:Step 36 of 36", "explained")
            self.assertEqual(last[1], "Bytes and cells are as the rules say, after each step so far.")
            laboratory.do(f"key:{HOME}", "explains:Step 0 of 36: nothing has been done yet.")
            run = laboratory.do(f"key:{RUN}", "explains:Step 36 of 36", "explained")
            self.assertEqual(run, last)

    def test_beside_pictures_of_the_viewer(self):
        name = self.write("noise.png", pictures.png(pictures.noise(400, 300)))
        with self.viewer(name) as viewer:
            viewer.do(f"command:{LABORATORY + 2}")
            laboratory = OpenLaboratory(self)
            laboratory.do("titled:Buffer laboratory - q32view", "explains:Step 0 of 36")
            said = laboratory.do(f"control:{STEP_BAR},{END}", "explains:Step 36 of 36", "explained")
            self.assertEqual(said[1], "Bytes and cells are as the rules say, after each step so far.")

    @long_round
    def test_a_screenshot_of_a_step(self):
        name = self.write("script.txt", SCRIPT.encode())
        arguments = ("--laboratory", "buffer", "--size", SIZE, "--script", name)
        parted = self.view(*arguments, "--set", "step=7")
        self.expect(parted, 0, MEMORY)
        self.expect(parted, 1, SWAP_FILE)
        # What runs has come to its end: there is nothing left.
        end = self.view(*arguments, "--set", "run=on")
        self.assertEqual(end.pixels, self.view(*arguments, "--set", f"step={STEPS}").pixels)
        self.assertNotEqual(end.pixels, parted.pixels)

    def shot(self, code, *arguments, says):
        self.refuse(code, "--laboratory", "buffer", *arguments, "--screenshot", "view.bmp", says=says)

    def test_bad_scripts(self):
        self.write("bad.txt", b"alloc A 10x10 24\nfree A\n\npaste A 0,0 ff\n")
        self.shot(FAILED, "--script", "bad.txt", says='bad.txt, line 4: "ff" stands where a size such as')
        self.shot(FAILED, "--script", "none.txt", says="none.txt: no such file")
        self.shot(FAILED, self.write("long.txt", b"#" * (1 << 20) + b"\n"), says="long.txt: it is too large")

    def test_bad_options(self):
        self.shot(USAGE, "--set", "step=99", says="--set step=99: 0 to 36 is wanted")
        self.shot(USAGE, "a.txt", "b.txt", says="b.txt: the buffer laboratory takes one script")

    def test_a_bad_script_leaves_the_built_in_one(self):
        name = self.write("bad.txt", b"alok")
        with self.laboratory("--script", name) as laboratory:
            laboratory.do("told:bad.txt, line 1: there is no operation", "explains:Step 0 of 36: nothing")
