"""Ctrl-C: q32tool ends with its own exit code and leaves everything as it was.

Wine turns SIGINT into the console's Ctrl-C event.
"""

import os
import re
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


class Scaling(ToolCase):
    """Ctrl-C while the library scales, for each way that it takes."""

    # From a small picture to so many pixels that scaling takes long.
    size = ["--size", "12000x9000"]

    def setUp(self):
        super().setUp()
        self.swap = self.folder / self.make_folder("swap")
        self.write("in.png", pictures.png(pictures.noise(40, 30)))

    def cancel(self, target, *options):
        before = self.files()
        arguments = ["scale", "in.png", target, "--storage", "file", "--swap-dir", "swap"]
        process, said = self.run_until(b"scaling", *arguments, *self.size, *options)
        with process:
            swap_files = os.listdir(self.swap)
            # The library's own messages move the bar; it is drawn ten times a second.
            while not re.search(rb"scaling \S+ [1-9]", said):
                more = os.read(process.stderr.fileno(), 4096)
                self.assertNotEqual(more, b"", said)
                said += more
            process.send_signal(signal.SIGINT)
            out, rest = process.communicate(timeout=20)
        self.assertEqual((process.returncode, out), (CANCELLED, b""), rest)
        self.assertEqual(self.last_line(said + rest), "q32tool: cancelled; nothing was written")
        self.assertNotIn(b"writing", said + rest)
        percents = list(map(int, re.findall(rb"scaling \[[#.]{40}\] (\d+)%", said + rest)))
        self.assertEqual(percents, sorted(percents))
        self.assertLess(percents[-1], 100)
        self.assertNotEqual(swap_files, [])
        self.assert_only_new(before)

    def test_cells(self):
        self.cancel("out.png")
        self.cancel("in.png", "--bits", "8", "--method", "bilinear")

    def test_rows(self):
        self.write("out.bmp", b"an older file")
        self.cancel("out.bmp", "--bits", "16")

    def test_rows_of_bits(self):
        self.size = ["--size", "30000x24000"]
        self.cancel("in.png", "--bits", "1")


class Streaming(ToolCase):
    frames = 60

    def setUp(self):
        super().setUp()
        self.make_folder("out")
        first = self.folder / self.write("in/00.png", pictures.png(pictures.noise(300, 300)))
        for number in range(1, self.frames):
            os.link(first, self.folder / f"in/{number:02}.png")

    def cancel(self, moment, pictures_folder, *options):
        """Sends Ctrl-C at a moment; returns the names of the frames that were written."""
        before = self.files()
        process, said = self.run_until(moment, "stream", "in", pictures_folder, *options)
        with process:
            process.send_signal(signal.SIGINT)
            out, rest = process.communicate(timeout=20)
        self.assertEqual((process.returncode, out), (CANCELLED, b""), rest)
        names = sorted(os.listdir(self.folder / pictures_folder))
        self.assert_only_new(before, *(f"{pictures_folder}/{name}" for name in names))
        return self.last_line(said + rest), names

    def test_keeps_the_frames_that_are_done(self):
        line, names = self.cancel(b"streaming", "out", "--percent", "50")
        done = len(names)
        self.assertTrue(0 < done < self.frames, done)
        self.assertEqual(names, [f"{number:02}.png" for number in range(done)])
        were = "was" if done == 1 else "were"
        self.assertEqual(line, f"q32tool: cancelled; of 60 frames {done} {were} written")
        for name in names:
            found = self.read(f"out/{name}").picture
            self.assertEqual((found.width, found.height), (150, 150))

    def test_in_place(self):
        line, names = self.cancel(b"streaming", "in", "--percent", "50")
        self.assertEqual(len(names), self.frames)
        sizes = [self.read(f"in/{name}").picture.width for name in names]
        done = sizes.count(150)
        self.assertEqual(sizes, [150] * done + [300] * (self.frames - done))
        self.assertRegex(line, rf"cancelled; of 60 frames {done} (was|were) written$")
