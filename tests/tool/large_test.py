"""A picture of 1.5 GB, for which addresses of 32 bits suffice once."""

import pathlib
import re
import subprocess
import time

import pictures
from program_case import environment, long_round_of_both
from tool_case import DONE, Program, ToolCase

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

    def peak_memory(self, *arguments):
        """Runs the program, which must succeed; the most memory of its own that it had. Pages of
        files do not count, which the system takes back when it needs them.
        """
        command = [*Program.command, *arguments, "--quiet"]
        peak = 0
        with subprocess.Popen(command, cwd=self.folder, env=environment()) as process:
            status = pathlib.Path(f"/proc/{process.pid}/status")
            while process.poll() is None:
                found = re.search(r"RssAnon:\s*(\d+) kB", status.read_text())
                peak = max(peak, int(found[1]) << 10 if found else 0)
                time.sleep(0.02)
        self.assertEqual(process.returncode, DONE)
        return peak

    def assert_scaled(self, source, options):
        scale = ["scale", source, "out.png", "--percent", "1", "--method", "nearest"]
        self.assertLess(self.peak_memory(*scale, *options), 100 << 20)
        self.assert_file_holds("out.png", self.small, 24)

    @long_round_of_both
    def test_scaled_in_little_memory(self):
        options = ["--memory-limit", "64M", "--swap-dir", "swap"]
        self.assert_scaled("in.png", options)
        in_memory = self.peak_memory("convert", "in.png", "in.bmp", *options)
        self.assertLess(in_memory, 100 << 20)
        self.assert_scaled("in.bmp", options)
