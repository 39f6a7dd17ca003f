"""Ctrl-C: q32tool ends with its own exit code and leaves everything as it was.

Wine turns SIGINT into the console's Ctrl-C event.
"""

import os
import signal

import pictures
from tool_case import CANCELLED, ToolCase


class CtrlC(ToolCase):
    def setUp(self):
        super().setUp()
        self.swap = self.folder / self.make_folder("swap")
        # Takes more than a second to write.
        self.write("in.png", pictures.png(pictures.noise(3000, 3000), level=0))

    def cancel(self, moment, *arguments):
        """Sends Ctrl-C when the progress has come to moment; returns the swap files of then."""
        before = self.files()
        swap = ["--storage", "file", "--swap-dir", "swap"]
        process, said = self.run_until(moment, *arguments, *swap)
        with process:
            swap_files = os.listdir(self.swap)
            process.send_signal(signal.SIGINT)
            out, rest = process.communicate(timeout=20)
        self.assertEqual(process.returncode, CANCELLED, rest)
        self.assertEqual(out, b"")
        self.assertRegex(self.last_line(said + rest), r"^q32tool: .*cancelled")
        self.assert_only_new(before)
        return swap_files

    def test_while_writing(self):
        swap_files = self.cancel(b"writing", "convert", "in.png", "out.png")
        self.assertEqual([name[:3] for name in swap_files], ["~QT"])

    def test_while_reading(self):
        self.cancel(b"reading", "convert", "in.png", "out.png")

    def test_keeps_an_older_file(self):
        self.write("out.png", b"an older file")
        self.cancel(b"writing", "convert", "in.png", "out.png", "--bits", "8")

    def test_in_place_keeps_the_picture(self):
        self.cancel(b"writing", "convert", "in.png", "in.png", "--invert")

    def test_crop(self):
        self.write("out.bmp", b"an older file")
        arguments = ["crop", "in.png", "out.bmp", "--at", "-5,5", "--size", "3005x2990"]
        swap_files = self.cancel(b"writing", *arguments, "--background", "1,2,3")
        self.assertNotEqual(swap_files, [])

    def test_paste_over_the_picture_itself(self):
        swap_files = self.cancel(
            b"writing", "paste", "in.png", "in.png", "in.png", "--at", "1000,-1000"
        )
        self.assertNotEqual(swap_files, [])

    def test_compose(self):
        self.write("out.bmp", b"an older file")
        files = ["--base", "in.png", "--overlay", "in.png", "-o", "out.bmp"]
        mask = ["--mask", "in.png", "--mode", "value", "--transparency", "5"]
        swap_files = self.cancel(b"merging", "compose", *files, *mask)
        self.assertEqual(len(swap_files), 3)

    def test_compose_row_by_row(self):
        files = ["--base", "in.png", "--overlay", "in.png", "-o", "in.png"]
        self.cancel(b"merging", "compose", *files, "--mode", "mask-subtract")

    def test_filter(self):
        arguments = ["filter", "in.png", "out.bmp", "--range", "9,9,9:9"]
        self.assertEqual(len(self.cancel(b"filtering", *arguments)), 2)

    def test_colorspace(self):
        arguments = ["colorspace", "in.png", "in.png", "--to", "hls"]
        self.assertEqual(len(self.cancel(b"converting", *arguments)), 1)
        self.assertEqual(len(self.cancel(b"converting", *arguments, "--field", "hue")), 2)

    def test_rows(self):
        self.cancel(b"reading", "rows", "in.png", "--all")
