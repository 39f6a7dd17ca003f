"""q32tool jobs: the order in which the dispatch queue works, printed and painted."""

import colorsys
import signal

import pictures
from program_case import long_round
from tool_case import CANCELLED, FAILED, USAGE, ToolCase

WHITE = (255, 255, 255)


def counted(first, count):
    return f"step {first}" if count == 1 else f"steps {first} to {first + count - 1}"


def tiles(left, top, right, bottom, wide, high):
    """Row by row, from left to right; the last of a row and the last row are what is left."""
    return [
        (x, y, min(x + wide, right), min(y + high, bottom))
        for y in range(top, bottom, high)
        for x in range(left, right, wide)
    ]


class Jobs:
    """What the clients' jobs are, in the order in which they are worked on.

    Client 1 has two jobs, of which the second waits for its turn: the bands of client 2 are served
    first, somebody waits for client 4, and client 3 was there before the second job.
    """

    def __init__(self, width, height, side):
        middle, centre = width // 2, height // 2
        half = centre // 2
        square = f"{side} x {side}"
        first = f"client 1, two jobs of tiles, {square}, added first"
        quarter = (0, centre, middle, height)
        self.parts = [
            (first, tiles(0, 0, middle, half, side, side)),
            (
                f"client 2, bands {side} high, first service",
                tiles(middle, 0, width, centre, width, side),
            ),
            (
                f"client 4, tiles, {square}, waited for",
                tiles(middle, centre, width, height, side, side),
            ),
            ("client 3, 12 numbered steps", [quarter] * 12),
            (first, tiles(0, half, middle, centre, side, side)),
        ]

    def lines(self):
        done, said = 0, ""
        for words, steps in self.parts:
            said += f"{words}: {counted(done + 1, len(steps))}\n"
            done += len(steps)
        return said

    def steps(self):
        return [step for _, steps in self.parts for step in steps]


class JobsCase(ToolCase):
    def work(self, target, *options, makes=()):
        """Makes OUT and these files and touches no others; returns what it says."""
        before = self.files()
        said = self.succeed("jobs", target, *options)
        self.assert_only_new(before, target, *makes)
        return said


class Order(JobsCase):
    def assert_order(self, width, height, side, *options):
        said = self.work("out.png", *options)
        lines = f"out.png: {width} x {height} pixels, 24 bits, PNG\n"
        self.assertEqual(said, lines + Jobs(width, height, side).lines())
        found = self.read("out.png")
        self.assertEqual((found.picture.width, found.picture.height), (width, height))
        self.assertEqual(found.bits, 24)

    def test_by_hand(self):
        self.assertEqual(self.work("out.png", "--quiet"), "")
        self.assertEqual(
            self.work("out.png"),
            "out.png: 640 x 480 pixels, 24 bits, PNG\n"
            "client 1, two jobs of tiles, 48 x 48, added first: steps 1 to 21\n"
            "client 2, bands 48 high, first service: steps 22 to 26\n"
            "client 4, tiles, 48 x 48, waited for: steps 27 to 61\n"
            "client 3, 12 numbered steps: steps 62 to 73\n"
            "client 1, two jobs of tiles, 48 x 48, added first: steps 74 to 94\n",
        )

    def test_sizes_and_sides(self):
        self.assert_order(640, 480, 48)
        for width, height, side in [(150, 110, 20), (40, 40, 2), (333, 77, 4096), (2, 4, 48)]:
            with self.subTest(width=width, height=height, side=side):
                size = ["--size", f"{width}x{height}", "--side", f"{side}"]
                self.assert_order(width, height, side, *size)

    def test_other_files(self):
        said = self.work("out.bmp", "--size", "100x80")
        self.assertEqual(said.split("\n")[0], "out.bmp: 100 x 80 pixels, 24 bits, BMP")
        self.write("out.tif", b"an older file")
        self.work("out.tif", "--size", "100x80")
        self.assert_same_picture(self.read("out.tif").picture, self.read("out.bmp").picture)


class Painting(JobsCase):
    """Each frame has one step more than the one before."""

    def setUp(self):
        super().setUp()
        self.steps = Jobs(150, 110, 20).steps()
        self.names = [f"step-{number:03}.png" for number in range(1, len(self.steps) + 1)]
        options = ["--size", "150x110", "--side", "20", "--frames", "step-###.png"]
        self.work("out.png", *options, makes=self.names)

    def changes(self):
        """For each frame the pixels that are not those of the frame before, by their places."""
        before = [WHITE] * (150 * 110)
        for name in self.names:
            after = self.read(name).picture.colours()
            yield {
                (at % 150, at // 150): colour
                for at, colour in enumerate(after)
                if colour != before[at]
            }
            before = after

    def test_steps_paint_their_parts(self):
        hues = []
        for number, ((left, top, right, bottom), changed) in enumerate(
            zip(self.steps, self.changes(), strict=True), 1
        ):
            with self.subTest(step=number):
                self.assertEqual(len(set(changed.values())), 1)
                hues.append(colorsys.rgb_to_hsv(*next(iter(changed.values())))[0] * 360)
                numbered = (left, top) == (0, 55)
                inner = {(x, y) for x in range(left, right - 1) for y in range(top, bottom - 1)}
                self.assertTrue(
                    all(left <= x < right and top <= y < bottom for x, y in changed), changed
                )
                if not numbered:  # but for a line between tiles all of it
                    self.assertLessEqual(inner, set(changed))
        # Red, yellow, green, blue, violet.
        self.assertEqual(hues, sorted(hues))
        self.assertEqual(len(set(hues)), len(hues))
        self.assertLess(hues[0], 1)
        self.assertTrue(290 < hues[-1] <= 300, hues[-1])
        steps = [y - x for x, y in zip(hues, hues[1:])]
        self.assertLess(max(steps) - min(steps), 3)

    def test_the_last_frame_is_the_picture(self):
        last = self.read(self.names[-1]).picture
        self.assert_same_picture(last, self.read("out.png").picture)

    def test_frames_in_folders_and_other_files(self):
        self.make_folder("frames")
        names = [f"frames/s-{number:02}-x.bmp" for number in range(1, 17)]
        options = ["--size", "40x40", "--frames", "frames/s-##-x.bmp"]
        self.work("small.png", *options, makes=names)
        last = self.read(names[-1]).picture
        self.assertEqual((last.width, last.height), (40, 40))
        self.assert_same_picture(last, self.read("small.png").picture)

    def test_frames_by_a_percent_sign(self):
        names = [f"s-{number:03}.bmp" for number in range(1, 17)]
        self.work("small.png", "--size", "40x40", "--frames", "s-%03d.bmp", makes=names)


class Misuse(ToolCase):
    def setUp(self):
        super().setUp()
        self.write("out.png", b"an older file")

    @long_round
    def test_values(self):
        for option, values in {
            "--side": ["", "0", "1", "-1", "4097", "4294967344", "1.5", "48x48", "many"],
            "--size": ["", "5", "5x", "0x5", "5x0", "-5x5", "5,5", "5x2147483648"],
            "--frames": ["", "frames.png", "out.png"],
        }.items():
            for value in values:
                with self.subTest(option=option, value=value):
                    says = [option] if value == "" else [option, f"'{value}'"]
                    self.refuse(USAGE, "jobs", "out.png", option, value, says=says)
        for name in ("#-#.png", "%x.png"):
            with self.subTest(name=name):
                says = [f"'{name}'", "#### or %04d, once"]
                self.refuse(USAGE, "jobs", "out.png", "--frames", name, says=says)

    def test_arguments(self):
        self.refuse(USAGE, "jobs", says="OUT")
        self.refuse(USAGE, "jobs", "out.png", "more.png", says="more.png")
        self.refuse(USAGE, "jobs", "out.png", "--storage", "file", says="--storage")
        self.refuse(USAGE, "jobs", "out.png", "--side=5", "--side=6", says="--side")
        self.refuse(USAGE, "jobs", "out.png", "--frames", says="--frames")

    @long_round
    def test_pictures_that_cannot_be(self):
        self.refuse(FAILED, "jobs", "out.gif", says=[".gif"])
        self.refuse(FAILED, "jobs", "nowhere/out.png", says="nowhere/out.png")
        self.refuse(FAILED, "jobs", "out.png", "--frames", "step-#.gif", says=".gif")
        self.refuse(FAILED, "jobs", "out.png", "--frames", "nowhere/#.png", says="nowhere")
        self.refuse(FAILED, "jobs", "out.png", "--size", "32001x100", says="32000")
        for size in ("1x1", "1x4", "2x3", "40000x3"):
            self.refuse(USAGE, "jobs", "out.png", "--size", size, says=["--size", "2x4", size])
        self.succeed("jobs", "out.png", "--size", "2x4")


class Cancelled(ToolCase):
    def test_escape(self):
        self.write("out.png", b"an older file")
        before = self.files()
        result = self.run_tool("jobs", "out.png", keys="^")
        self.assertEqual((result.code, result.out), (CANCELLED, "left: \n"))
        self.assertEqual(result.err, "q32tool: cancelled; nothing was written\n")
        self.assert_only_new(before)

    def test_while_painting(self):
        self.write("out.png", b"an older file")
        before = self.files()
        size = ["--size", "3000x2000", "--side", "10"]
        process, said = self.run_until(b"painting", "jobs", "out.png", *size)
        with process:
            process.send_signal(signal.SIGINT)
            out, rest = process.communicate(timeout=20)
        self.assertEqual((process.returncode, out), (CANCELLED, b""), rest)
        self.assertEqual(self.last_line(said + rest), "q32tool: cancelled; nothing was written")
        self.assert_only_new(before)
