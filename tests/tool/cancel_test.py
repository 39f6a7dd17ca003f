"""Ctrl-C and Esc: q32tool ends with its own exit code and leaves everything as it was.

Wine turns SIGINT into the console's Ctrl-C event.
"""

import functools
import os
import re
import signal
import time

import pictures
from program_case import long_round
from tool_case import CANCELLED, DONE, ToolCase


class TooLate(AssertionError):
    """The signal came when the program had gone on."""


def in_time(test):
    """Makes a test again, from its beginning, when its signal came too late: how long a machine
    takes to pass it on is no affair of the program's. The fifth time too late is a failure."""

    @functools.wraps(test)
    def attempts(self):
        for _ in range(4):
            try:
                return test(self)
            except TooLate:
                self.tearDown()
                self.doCleanups()
                self.setUp()
        return test(self)

    return attempts


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
        if process.returncode == DONE or process.returncode == CANCELLED and out != b"":
            raise TooLate(rest)
        self.assertEqual(process.returncode, CANCELLED, rest)
        self.assertEqual(out, b"")
        self.assertRegex(self.last_line(said + rest), r"^q32tool: .*cancelled")
        self.assert_only_new(before)
        return swap_files

    @in_time
    def test_while_writing(self):
        swap_files = self.cancel(b"writing", "convert", "in.png", "out.png")
        self.assertEqual([name[:3] for name in swap_files], ["~QT"])

    @in_time
    def test_while_reading(self):
        self.cancel(b"reading", "convert", "in.png", "out.png")

    @in_time
    def test_keeps_an_older_file(self):
        self.write("out.png", b"an older file")
        self.cancel(b"writing", "convert", "in.png", "out.png", "--bits", "8")

    @in_time
    def test_in_place_keeps_the_picture(self):
        self.cancel(b"writing", "convert", "in.png", "in.png", "--invert")

    @in_time
    @long_round
    def test_crop(self):
        self.write("out.bmp", b"an older file")
        arguments = ["crop", "in.png", "out.bmp", "--at", "-5,5", "--size", "3005x2990"]
        swap_files = self.cancel(b"writing", *arguments, "--background", "1,2,3")
        self.assertNotEqual(swap_files, [])

    @in_time
    @long_round
    def test_paste_over_the_picture_itself(self):
        swap_files = self.cancel(
            b"writing", "paste", "in.png", "in.png", "in.png", "--at", "1000,-1000"
        )
        self.assertNotEqual(swap_files, [])

    @in_time
    @long_round
    def test_compose(self):
        self.write("out.bmp", b"an older file")
        files = ["--base", "in.png", "--overlay", "in.png", "-o", "out.bmp"]
        mask = ["--mask", "in.png", "--mode", "value", "--transparency", "5"]
        swap_files = self.cancel(b"merging", "compose", *files, *mask)
        self.assertEqual(len(swap_files), 3)

    @in_time
    @long_round
    def test_compose_row_by_row(self):
        files = ["--base", "in.png", "--overlay", "in.png", "-o", "in.png"]
        self.cancel(b"merging", "compose", *files, "--mode", "mask-subtract")

    @in_time
    @long_round
    def test_filter(self):
        arguments = ["filter", "in.png", "out.bmp", "--range", "9,9,9:9"]
        self.assertEqual(len(self.cancel(b"filtering", *arguments)), 2)

    @in_time
    @long_round
    def test_colorspace(self):
        arguments = ["colorspace", "in.png", "in.png", "--to", "hls"]
        self.assertEqual(len(self.cancel(b"converting", *arguments)), 1)
        self.assertEqual(len(self.cancel(b"converting", *arguments, "--field", "hue")), 2)

    @in_time
    @long_round
    def test_show(self):
        arguments = ["show", "in.png", "--depth-of", "256-colours", "-o", "in.png"]
        swap_files = self.cancel(b"showing", *arguments, "--pieces", "100x10")
        self.assertEqual(len(swap_files), 2)

    @in_time
    @long_round
    def test_bars(self):
        swap_files = self.cancel(b"writing", "bars", "hsb", "--size", "4000x4000", "-o", "new.png")
        self.assertEqual(len(swap_files), 1)

    @in_time
    @long_round
    def test_enlarge(self):
        swap_files = self.cancel(b"enlarging", "enlarge", "in.png", "in.png", "--factor", "2")
        self.assertEqual(len(swap_files), 2)

    @in_time
    @long_round
    def test_reduce(self):
        self.write("out.bmp", b"an older file")
        self.cancel(b"reading", "reduce", "in.png", "out.bmp", "--factor", "2")

    @in_time
    def test_average(self):
        # Nearly as many pixels as before, each with a part of four: as slow as it gets.
        options = ["--size", "2999x2999", "--linear"]
        swap_files = self.cancel(b"scaling", "scale", "in.png", "in.png", *options)
        self.assertEqual(len(swap_files), 2)

    @in_time
    def test_separate(self):
        self.write("out-cyan.bmp", b"an older file")
        swap_files = self.cancel(b"separating", "separate", "in.png", "out.bmp")
        self.assertEqual(len(swap_files), 5)
        self.cancel(b"writing", "separate", "in.png", "out.bmp")

    @in_time
    def test_rows(self):
        self.cancel(b"reading", "rows", "in.png", "--all")


class ManyFiles(ToolCase):
    """Commands that write more than one file keep those that are done, and say how many."""

    def cancel_when(self, file, arguments, line):
        """Sends Ctrl-C when a file appears, finished or not; returns the finished new ones."""
        before = self.files()
        process, said = self.run_until(b"ing [", *arguments)
        with process:
            while not list(self.folder.glob(file)):
                said += os.read(process.stderr.fileno(), 4096)
            process.send_signal(signal.SIGINT)
            _, rest = process.communicate(timeout=20)
        self.assertEqual(process.returncode, CANCELLED, rest)
        done = sorted(set(self.files()) - set(before))
        match = re.match(line, self.last_line(said + rest))
        self.assertIsNotNone(match, said + rest)
        self.assertEqual(int(match[1]), len(done), f"{match[0]}: {done}")
        return done

    def test_plates(self):
        self.write("in.png", pictures.png(pictures.noise(2000, 2000), level=0))
        done = self.cancel_when(
            "out-magenta.png*",
            ["separate", "in.png", "out.png"],
            r"q32tool: cancelled; of 5 pictures ([1-4]) (?:was|were) written$",
        )
        self.assertEqual(done, ["out-cyan.png", "out-magenta.png"][: len(done)])

    def test_frames_of_jobs(self):
        done = self.cancel_when(
            "step-0003.png*",
            ["jobs", "out.png", "--size", "900x900", "--frames", "step-####.png"],
            r"q32tool: cancelled; of \d+ frames (\d+) were written$",
        )
        self.assertEqual(done, [f"step-{n + 1:04}.png" for n in range(len(done))])


class Scaling(ToolCase):
    """Ctrl-C while the library scales, for each way that it takes."""

    # From a small picture to so many pixels that scaling takes seconds.
    size = ["--size", "16000x12000"]

    def setUp(self):
        super().setUp()
        self.swap = self.folder / self.make_folder("swap")
        self.write("in.png", pictures.png(pictures.noise(40, 30)))

    def cancel(self, target, *options):
        before = self.files()
        arguments = ["scale", "in.png", target, "--storage", "file", "--swap-dir", "swap"]
        process, said = self.run_until(b"scaling", *arguments, *self.size, *options)
        with process:
            begin = time.monotonic()
            swap_files = os.listdir(self.swap)
            # The library's own messages move the bar; it is drawn ten times a second.
            while not (reached := re.search(rb"scaling \S+ ([1-9]\d*)%", said)):
                more = os.read(process.stderr.fileno(), 4096)
                self.assertNotEqual(more, b"", said)
                said += more
            cancelled = time.monotonic()
            process.send_signal(signal.SIGINT)
            out, rest = process.communicate(timeout=20)
            end = time.monotonic()
        self.assertEqual((process.returncode, out), (CANCELLED, b""), rest)
        self.assertEqual(self.last_line(said + rest), "q32tool: cancelled; nothing was written")
        self.assertNotIn(b"writing", said + rest)
        percents = list(map(int, re.findall(rb"scaling \[[#.]{40}\] (\d+)%", said + rest)))
        self.assertEqual(percents, sorted(percents))
        self.assertLess(percents[0], 5)
        self.assertLess(percents[-1], 90)
        # It stops long before it would have been done.
        whole = (cancelled - begin) * 100 / int(reached[1])
        self.assertLess(end - cancelled, whole / 2)
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


class StreamingCase(ToolCase):
    """60 frames in the folder "in", and a folder "out"."""

    frames = 60

    def write_frames(self):
        self.make_folder("out")
        first = self.folder / self.write("in/00.png", pictures.png(pictures.noise(300, 300)))
        for number in range(1, self.frames):
            os.link(first, self.folder / f"in/{number:02}.png")
        self.before = self.files()

    def assert_stopped_between_frames(self, folder, line):
        """Some frames have been written to a folder, the others not, and the line says so."""
        wanted = [f"{folder}/{number:02}.png" for number in range(self.frames)]
        found = [name for name in wanted if (self.folder / name).exists()]
        sizes = [self.read(name).picture.width for name in found]
        done = sizes.count(150)
        self.assertTrue(0 < done < self.frames, done)
        self.assertEqual(sizes[:done], [150] * done)
        were = "was" if done == 1 else "were"
        self.assertEqual(line, f"q32tool: cancelled; of {self.frames} frames {done} {were} written")
        self.assert_only_new(self.before, *wanted[:done])


class Streaming(StreamingCase):
    def setUp(self):
        super().setUp()
        self.write_frames()

    def cancel(self, folder):
        process, said = self.run_until(b"streaming", "stream", "in", folder, "--percent", "50")
        with process:
            process.send_signal(signal.SIGINT)
            out, rest = process.communicate(timeout=20)
        self.assertEqual((process.returncode, out), (CANCELLED, b""), rest)
        self.assert_stopped_between_frames(folder, self.last_line(said + rest))

    def test_frames_that_are_done_stay(self):
        self.cancel("out")

    def test_in_place(self):
        self.cancel("in")


class Escape(StreamingCase):
    """The Esc key, in a console."""

    def setUp(self):
        super().setUp()
        self.write("in.png", pictures.png(pictures.noise(40, 30)))

    def convert_after(self, keys):
        """The exit code, errors, and which keys are left in the console."""
        result = self.run_tool("convert", "in.png", "out.png", keys=keys)
        wrote = "out.png: 40 x 30 pixels, 24 bits, PNG\n" if result.code == DONE else ""
        self.assertEqual((self.folder / "out.png").exists(), result.code == DONE)
        self.assertRegex(result.out, rf"\A{wrote}left: [a-z]*\n\Z")
        (self.folder / "out.png").unlink(missing_ok=True)
        return result.code, result.err, result.out[len(wrote) :].split()[1:]

    def test_typed_ahead(self):
        cancelled = "q32tool: cancelled; nothing was written\n"
        self.assertEqual(self.convert_after("^"), (CANCELLED, cancelled, []))
        self.assertEqual(self.convert_after("abc^de"), (CANCELLED, cancelled, ["de"]))
        self.assertEqual(self.convert_after("a" * 500 + "^b"), (CANCELLED, cancelled, ["b"]))

    def test_other_keys_stay_for_others(self):
        self.assertEqual(self.convert_after("abc"), (DONE, "", ["abc"]))
        self.assertEqual(self.convert_after("~ab~"), (DONE, "", ["ab"]))

    def escape_at(self, moment, *arguments):
        """Presses Esc when the progress has come to moment; returns the last line."""
        process, said = self.run_until(moment, *arguments, console=True)
        with process:
            out, rest = process.communicate(b"a^b", timeout=20)
        self.assertEqual((process.returncode, out), (CANCELLED, b"left: b\n"), rest)
        return self.last_line(said + rest)

    def test_while_scaling(self):
        self.make_folder("swap")
        self.write("out.png", b"an older file")
        before = self.files()
        options = ["--size", "12000x9000", "--storage", "file", "--swap-dir", "swap"]
        line = self.escape_at(b"scaling", "scale", "in.png", "out.png", *options)
        self.assertEqual(line, "q32tool: cancelled; nothing was written")
        self.assert_only_new(before)

    def test_while_streaming(self):
        self.write_frames()
        line = self.escape_at(b"streaming", "stream", "in", "out", "--percent", "50")
        self.assert_stopped_between_frames("out", line)
