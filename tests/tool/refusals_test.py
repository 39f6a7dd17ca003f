"""Pictures and files that q32tool must refuse: one line, exit code 1, and nothing touched.

"Nothing touched" is checked by every call of refuse(): no partial output, no temporary file, no
swap file, and no change to what was there.
"""

import os
import random
import struct

import pictures
from program_case import long_round
from tool_case import DONE, FAILED, Program, ToolCase

PICTURE = pictures.noise(150, 40)


def jpeg():
    source = random.Random(1)
    return pictures.jpeg_file(6, 5, [(source.randrange(256),) for _ in range(30)])


def gif():
    values = [(x * 7) % 256 for x in range(50 * 40)]
    return pictures.gif_file(50, 40, values, pictures.GREYS)


def sample_files():
    """A good file of every format, by extension."""
    return {
        "png": pictures.png(PICTURE),
        "bmp": pictures.bmp(PICTURE),
        "tif": pictures.tiff(PICTURE),
        "jpg": jpeg(),
        "gif": gif(),
    }


class Inputs(ToolCase):
    def refuse_picture(self, name, *says, **options):
        """Both commands refuse it, and convert does no harm to an older output."""
        self.refuse(FAILED, "info", name, says=[name, *says], **options)
        self.write("older.png", b"an older file")
        self.refuse(FAILED, "convert", name, "older.png", says=[name, *says], **options)

    def test_missing(self):
        self.refuse_picture("missing.png", "no such file")

    def test_in_a_missing_directory(self):
        self.refuse(FAILED, "info", "nowhere/in.png", says="nowhere/in.png")

    def test_no_wildcards(self):
        """A picture that is written under one name is read under one."""
        self.write("in.png", pictures.png(PICTURE))
        self.refuse(FAILED, "convert", "*.png", "out.png", says=["*.png", "name"])

    def test_directory(self):
        self.refuse_picture(self.make_folder("pictures"), "directory")

    def test_every_command_and_every_picture(self):
        self.write("in.png", pictures.png(PICTURE))
        self.write("out.png", b"an older file")
        self.write("text.png", b"This is no picture, whatever its name says.\n" * 40)
        self.write("cut.png", pictures.png(PICTURE)[:-5000])
        self.write("wide.png", pictures.png(pictures.noise(32001, 1)))
        rectangle = ["--at", "0,0", "--size", "2x2"]
        compose = ["compose", "--base", "in.png", "-o", "out.png"]
        for arguments, name in [
            (["rows", "missing.png"], "missing.png"),
            (["rows", "cut.png", *rectangle], "cut.png"),
            (["crop", "text.png", "out.png", *rectangle], "text.png"),
            (["fill", "cut.png", "out.png", "--colour", "1,2,3"], "cut.png"),
            (["paste", "missing.png", "in.png", "out.png", "--at", "0,0"], "missing.png"),
            (["paste", "in.png", "cut.png", "out.png", "--at", "0,0"], "cut.png"),
            (["paste", "in.png", "wide.png", "out.png", "--at", "0,0"], "5402"),
            (["pattern", "text.png", "in.png", "out.png"], "text.png"),
            (["pattern", "in.png", "cut.png", "out.png", *rectangle], "cut.png"),
            (["pattern", "in.png", "wide.png", "out.png"], "32001 pixels wide"),
            ([*compose, "--overlay", "cut.png"], "cut.png"),
            ([*compose, "--overlay", "wide.png"], "5402"),
            ([*compose, "--overlay", "in.png", "--mask", "cut.png"], "cut.png"),
            (["filter", "cut.png", "out.png", "--range", "1,2,3"], "cut.png"),
            (["filter", "in.png", "out.png", "--range", "1,2,3", "--mask", "cut.png"], "cut.png"),
            (["colorspace", "cut.png", "out.png", "--to", "hsv"], "cut.png"),
            (["scale", "text.png", "out.png", "--size", "2x2"], "text.png"),
            (["scale", "cut.png", "out.png", "--size", "2x2"], "cut.png"),
            (["scale", "wide.png", "out.png", "--size", "2x2"], "5402"),
            (["enlarge", "text.png", "out.png", "--factor", "2"], "text.png"),
            (["enlarge", "cut.png", "out.png", "--factor", "2", "--bits", "32"], "cut.png"),
            (["reduce", "cut.png", "out.png", "--factor", "2"], "cut.png"),
            (["reduce", "wide.png", "out.png", "--factor", "2"], "5402"),
            (["separate", "cut.png", "out.png"], "cut.png"),
            (["separate", "wide.png", "out.png"], "5402"),
        ]:
            with self.subTest(arguments=arguments):
                self.refuse(FAILED, *arguments, says=name)

    def test_empty_file(self):
        self.refuse_picture(self.write("empty.png", b""), "empty")

    def test_text(self):
        text = b"This is no picture, whatever its name says.\n" * 40
        self.refuse_picture(self.write("text.png", text), "not a picture")

    def test_a_program(self):
        self.refuse_picture(self.write("program.bmp", b"MZ" + bytes(5000)), "not a picture")

    def test_a_signature_and_no_more(self):
        for name, file in sample_files().items():
            with self.subTest(name=name):
                self.refuse(FAILED, "info", self.write(f"in.{name}", file[:8]))

    def test_cut_off(self):
        for name, file in sample_files().items():
            for part in (0.15, 0.6):
                with self.subTest(name=name, part=part):
                    cut = self.write(f"cut.{name}", file[: int(len(file) * part)])
                    self.refuse(FAILED, "convert", cut, "out.png", says=cut)

    def test_last_bytes_missing(self):
        files = sample_files()
        for name in ("png", "bmp"):
            with self.subTest(name=name):
                cut = self.write(f"cut.{name}", files[name][:-20])
                self.refuse(FAILED, "convert", cut, "out.bmp", says=cut)

    def test_damaged_data(self):
        file = bytearray(pictures.png(PICTURE))
        file[len(file) // 2] ^= 0xFF
        name = self.write("damaged.png", bytes(file))
        self.refuse(FAILED, "convert", name, "out.bmp", says=name)

    def test_nothing_that_is_damaged_crashes(self):
        # A few bytes of each file's beginning are random: it is read, or refused as usual.
        for name, file in sample_files().items():
            for number in range(3):
                with self.subTest(name=name, number=number):
                    source, broken = random.Random(f"{name} {number}"), bytearray(file)
                    for _ in range(3):
                        broken[source.randrange(8, 64)] = source.choice((0, 1, 127, 128, 255))
                    self.read_or_refuse(self.write(f"in.{name}", bytes(broken)))

    def read_or_refuse(self, name):
        before = self.files()
        result = self.run_tool("convert", name, "out.bmp")
        if result.code == DONE:
            self.assertEqual(result.err, "")
            self.assert_only_new(before, "out.bmp")
            (self.folder / "out.bmp").unlink()
        else:
            self.assertEqual((result.code, result.out), (FAILED, ""))
            self.assertRegex(result.err, r"\Aq32tool: [^\n]{8,}\n\Z")
            self.assert_only_new(before)


class Sizes(ToolCase):
    def refuse_size(self, width, height, says):
        file = pictures.png_file(width, height, [bytes(width)] * height, pictures.PNG_GREY)
        name = self.write("large.png", file)
        self.refuse(FAILED, "info", name, says=says)
        self.refuse(FAILED, "convert", name, "out.png", says=says)

    def test_40000_wide(self):
        self.refuse_size(40000, 1, ["40000 pixels wide", "32000", "5402", "point 71"])

    def test_40000_high(self):
        self.refuse_size(1, 40000, ["40000 pixels high", "32000", "5403", "point 72"])

    def test_one_too_wide(self):
        self.refuse_size(32001, 2, ["32001 pixels wide", "5402"])

    def test_the_widest(self):
        name = self.write("widest.png", pictures.png(pictures.noise(32000, 2)))
        self.convert(name, "out.bmp")
        self.assert_file_holds("out.bmp", pictures.noise(32000, 2), 24)

    def test_more_pixels_than_addresses(self):
        # 32000 x 32000 pixels of one bit: a small file that wants 3 GB.
        row = bytes(4000)
        file = pictures.png_file(32000, 32000, [row] * 32000, pictures.PNG_GREY, 1)
        name = self.write("vast.png", file)
        self.make_folder("swap")
        says = ["error 1001, module 4, point 2"]
        if not Program.by_edition(False, True):
            self.refuse(FAILED, "info", name, "--swap-dir", "swap", says=says)
        self.refuse_room("convert", name, "out.png", says=says)

    def test_a_vast_header_is_enough(self):
        """What the edition has no room for is refused before the pixels are looked at."""
        side = Program.by_edition(30000, 32001)
        header = bytearray(pictures.bmp(pictures.noise(1, 1))[:54])
        struct.pack_into("<ii", header, 18, side, side)
        with open(self.folder / "vast.bmp", "wb") as file:
            file.write(header)
            file.truncate(54 + side * (3 * side + side % 4))  # a hole, which takes no room on the disk
        says = Program.by_edition("more than this program of 32 bits has addresses for; use", "32001")
        process, _ = self.run_until(says.encode(), "info", "vast.bmp")
        _, status, used = os.wait4(process.pid, 0)
        self.assertEqual(os.waitstatus_to_exitcode(status), FAILED)
        self.assertLess(used.ru_maxrss << 10, 300 << 20)
        process.returncode = FAILED
        process.communicate()

    def test_a_header_that_lies(self):
        bmp = bytearray(pictures.bmp(pictures.noise(8, 8)))
        for width, height in [(0, 8), (8, 0), (-8, 8), (0x7FFFFFFF, 8), (8, -0x80000000)]:
            with self.subTest(width=width, height=height):
                struct.pack_into("<ii", bmp, 18, width, height)
                self.refuse(FAILED, "convert", self.write("in.bmp", bytes(bmp)), "out.png")


class Outputs(ToolCase):
    def setUp(self):
        super().setUp()
        self.source = self.write("in.png", pictures.png(PICTURE))

    def refuse_output(self, name, *says, **options):
        self.refuse(FAILED, "convert", self.source, name, says=says, **options)

    def test_unknown_extension(self):
        self.refuse_output("out.xyz", ".xyz", ".png")
        self.refuse_output("out.gif", ".gif", ".png")

    def test_no_extension(self):
        self.refuse_output("out", "out", "extension")

    def test_missing_directory(self):
        self.refuse_output("nowhere/out.png", "nowhere/out.png", "directory", "does not exist")

    def test_a_directory(self):
        self.refuse_output(self.make_folder("out.png"), "out.png", "directory")

    def test_where_no_file_can_be_made(self):
        self.refuse_output("/proc/out.png", "/proc/out.png", "no file of this name can be made")

    def test_below_a_file(self):
        self.refuse_output("in.png/out.png", "in.png/out.png")

    def test_write_protected(self):
        (self.folder / self.write("out.png", b"an older file")).chmod(0o444)
        self.refuse_output("out.png", "out.png")

    def test_name_too_long(self):
        self.refuse_output("n" * 300 + ".png")

    def test_full_disk(self):
        for name in ("out.bmp", "out.png", "out.tif", "out.jpg"):
            with self.subTest(name=name):
                self.refuse_output(name, name, file_size=2000)

    @long_round
    def test_disk_full_but_for_the_last_byte(self):
        for name in ("out.bmp", "out.png", "out.tif", "out.jpg"):
            with self.subTest(name=name):
                size = len(self.convert(self.source, name))
                (self.folder / name).unlink()
                self.refuse_output(name, name, file_size=size - 1)

    def test_full_disk_keeps_an_older_file(self):
        self.write("out.bmp", b"an older file")
        self.refuse_output("out.bmp", "out.bmp", file_size=2000)

    def test_full_disk_in_place_keeps_the_picture(self):
        self.refuse(FAILED, "convert", self.source, self.source, "--invert", file_size=2000)

    @long_round
    def test_every_command(self):
        self.write("older.bmp", b"an older file")
        rectangle = ["--at", "0,0", "--size", "140x40"]
        for before, after in [
            (["crop", self.source], rectangle),
            (["paste", self.source, self.source], ["--at", "1,1"]),
            (["fill", self.source], ["--colour", "1,2,3", *rectangle]),
            (["fill", self.source], ["--colour", "1,2,3"]),
            (["pattern", self.source, self.source], []),
            (["compose", "--base", self.source, "--overlay", self.source, "-o"], []),
            (["filter", self.source], ["--range", "1,2,3:4"]),
            (["colorspace", self.source], ["--to", "hls"]),
            (["scale", self.source], ["--percent", "90"]),
        ]:
            for name in ("nowhere/out.png", "older.bmp", self.source):
                with self.subTest(command=before, name=name):
                    arguments = [*before, name, *after]
                    self.refuse(FAILED, *arguments, says=name, file_size=50)
