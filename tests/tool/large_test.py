"""A picture of 1.5 GB, for which the 32-bit edition has no room."""

import pictures
from program_case import long_round
from tool_case import DONE, FAILED, Program, ToolCase

ACROSS, DOWN, SIDE = 260, 200, 100  # squares of one colour, pixels of each side


def colour(x, y):
    return x % 256, y, 255 - x % 251


class Large(ToolCase):
    def setUp(self):
        super().setUp()
        self.make_folder("swap")
        self.small = pictures.from_colours(
            ACROSS, DOWN, [colour(x, y) for y in range(DOWN) for x in range(ACROSS)]
        )
        bands = []
        for row in self.small.rows():
            squares = [row[3 * x : 3 * x + 3] * SIDE for x in range(ACROSS)]
            bands.append((b"".join(squares), SIDE))
        path = self.folder / "in.png"
        pictures.write_uniform_png(path, ACROSS * SIDE, DOWN * SIDE, bands)

    def assert_scaled(self, source, options):
        """In less memory than the picture takes: its pixels are in a swap file."""
        arguments = ["scale", source, "out.png", "--percent", "1", "--method", "nearest", *options]
        result = self.run_tool(*arguments, memory=600 << 20, timeout=600)
        said = "out.png: 260 x 200 pixels, 24 bits, PNG\n"
        self.assertEqual((result.code, result.out, result.err), (DONE, said, ""))
        self.assert_file_holds("out.png", self.small, 24)

    @long_round
    def test_scaled_in_little_memory(self):
        options = ["--memory-limit", "64M", "--swap-dir", "swap"]
        if Program.by_edition(False, True):
            self.assert_scaled("in.png", options)
            result = self.run_tool("convert", "in.png", "in.bmp", *options, timeout=600)
            self.assertEqual((result.code, result.err), (DONE, ""))
            self.assert_scaled("in.bmp", options)
        else:
            arguments = ["scale", "in.png", "out.png", "--percent", "1", *options]
            self.refuse(FAILED, *arguments, says=["in.png", "use the 64-bit edition"])
