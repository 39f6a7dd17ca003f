"""The command line of q32tool: help, options, what it prints, and the names of files."""

import itertools
import json
import os
import re
import struct
import subprocess
import zlib
from unittest import mock

import merging
import pictures
from program_case import long_round
from tool_case import FAILED, USAGE, Program, ToolCase, environment, text

PICTURE = pictures.noise(40, 30)

# What each command takes: its operands, the options that it needs, as the usage line shows them,
# and options beside those of storage and of all commands.
COMMANDS = {
    "info": ("PICTURE", "", []),
    "rows": ("PICTURE", "", ["--at", "--size", "--bits", "--format", "--threshold", "--all"]),
    "convert": ("IN OUT", "", ["--bits", "--format", "--threshold", "--invert"]),
    "crop": ("IN OUT", "--at X,Y --size WxH", ["--background"]),
    "paste": ("IN OVERLAY OUT", "--at X,Y", []),
    "fill": ("IN OUT", "--colour R,G,B", ["--at", "--size"]),
    "pattern": ("IN PATTERN OUT", "", ["--at", "--size"]),
    "scale": (
        "IN OUT",
        "",
        ["--size", "--fit", "--percent", "--method", "--bits", "--format", "--threshold"],
    ),
    "enlarge": ("IN OUT", "--factor N[xM]", ["--bits", "--format", "--threshold"]),
    "reduce": ("IN OUT", "--factor N", ["--step", "--bits", "--format", "--threshold"]),
    "stream": ("IN OUT", "", ["--size", "--fit", "--percent", "--method", "--bits"]),
    "compose": (
        "",
        "--base BASE --overlay OVERLAY --output OUT",
        ["--mode", "--at", "--transparency", "--mask", "--mask-from", "-o"],
    ),
    "filter": ("IN OUT", "--range R,G,B:T", ["--outside", "--mask"]),
    "colorspace": ("IN OUT", "--to grey|hsv|hls", ["--field", "--turn-hue"]),
    "separate": ("IN OUT", "", ["--film"]),
    "show": (
        "PICTURE",
        "--depth-of DISPLAY --output OUT",
        ["--gamma", "--no-dither", "--levels-16", "--pieces", "--bits", "--threshold", "-o"],
    ),
    "bars": (
        "grey|hsb|colour",
        "--size WxH --output OUT",
        ["--from", "--to", "--horizontal", "--rainbow", "--style", "-o"],
    ),
    "bitmap": ("IN.bmp OUT.bmp", "", ["--paste", "--pattern", "--fill", "--at", "--size"]),
    "jobs": ("OUT", "", ["--size", "--side", "--frames"]),
}

# Each makes out.bmp of in.png, in so many bits.
MAKE = {
    "crop": ["crop", "in.png", "out.bmp", "--at", "1,2", "--size", "3x4"],
    "paste": ["paste", "in.png", "in.png", "out.bmp", "--at", "1,2"],
    "fill": ["fill", "in.png", "out.bmp", "--colour", "1,2,3"],
    "pattern": ["pattern", "in.png", "in.png", "out.bmp"],
    "scale": ["scale", "in.png", "out.bmp", "--size", "3x4"],
    "enlarge": ["enlarge", "in.png", "out.bmp", "--factor", "2x3"],
    "reduce": ["reduce", "in.png", "out.bmp", "--factor", "3", "--step", "7"],
    "compose": ["compose", "--base", "in.png", "--overlay", "in.png", "--output", "out.bmp"],
    "filter": ["filter", "in.png", "out.bmp", "--range", "1,2,3:40"],
    "colorspace": ["colorspace", "in.png", "out.bmp", "--to", "hsv"],
    "show": ["show", "in.png", "--depth-of", "3", "--output", "out.bmp"],
    "bars": ["bars", "hsb", "--size", "3x4", "--output", "out.bmp"],
}
BITS = {command: 8 if command == "filter" else 24 for command in MAKE}
SMALL = ("crop", "scale", "bars")
SIZES = {command: "3 x 4" if command in SMALL else "40 x 30" for command in MAKE}
SIZES |= {"enlarge": "80 x 90", "reduce": "14 x 5"}


def replaced(arguments, option, value):
    """The arguments with this value of an option, in the place of the one it has, if any."""
    if option not in arguments:
        return [*arguments, option, value]
    at = arguments.index(option) + 1
    return [*arguments[:at], value, *arguments[at + 1 :]]


def listed(words):
    return [words] if isinstance(words, str) else words


def counted(number, things):
    return f"{number} {things}" + ("" if number == 1 else "s")


class Help(ToolCase):
    def test_overview(self):
        overview = self.succeed("--help")
        self.assertRegex(overview, r"\AUsage: q32tool ")
        for command in (*COMMANDS, "help"):
            self.assertRegex(overview, rf"(?m)^  {command} +\S")
        self.assertIn("130", overview)
        self.assertEqual(self.succeed("help"), overview)

    @long_round
    def test_commands(self):
        storage = ["--storage", "--memory-limit", "--swap-dir"]
        for command, (operands, needed, options) in COMMANDS.items():
            with self.subTest(command=command):
                page = self.succeed("help", command)
                words = [command, *operands.split(), *needed.split(), "[OPTION...]"]
                self.assertEqual(page.split("\n")[0], "Usage: q32tool " + " ".join(words))
                # Frames are in memory, whatever there is of it, and so is what jobs paint.
                in_memory = command in ("stream", "jobs")
                common = ["--quiet", *([] if in_memory else storage)]
                if command not in ("bars", "jobs"):
                    common.append("--keep-orientation")
                if command not in ("info", "rows", "bitmap"):
                    common += ["--quality", "--chroma", "--compression"]
                for word in (*needed.split()[::2], *options, *common):
                    self.assertRegex(page, rf"(?m)^  (-\w,|   ) {word} |^  {word}, ")
                self.assertLessEqual(max(map(len, page.splitlines())), 90)
                self.assertEqual(self.succeed(command, "--help"), page)

    def test_modes(self):
        page = self.succeed("help", "compose")
        for name, number in merging.NUMBERS.items():
            self.assertRegex(page, rf"(?m)(^|\s){number} {name}(\s|$)")

    def test_version(self):
        bits = Program.by_edition("32", "64")
        with mock.patch.dict(os.environ, {"Q32BASE_ISA": "sse2"}):
            capped = self.succeed("--version")
        number = r"\d+\.\d+\.\d+"
        self.assertRegex(
            capped,
            rf"\Aq32tool {number}, {bits} bits\nQ32BASE {number}, instruction set sse2"
            rf"( by Q32BASE_ISA \(this machine has \w+\))?\nq32comm {number}\n\Z",
        )
        free = self.succeed("--version")
        best = (re.search(r"this machine has (\w+)", capped) or [None, "sse2"])[1]
        self.assertIn(f"instruction set {best}\n", free)


class Suggestions(ToolCase):
    def test_words_that_are_nearly_right(self):
        scale = ["scale", "in.png", "out.png"]
        for arguments, says in [
            (["scael"], "there is no command 'scael'; did you mean scale?"),
            (["Resize"], "did you mean resize?"),
            (["help", "colourspace"], "did you mean colorspace?"),
            ([*scale, "--percnt", "5"], "unknown option '--percnt'; did you mean --percent?"),
            ([*scale, "--quite"], "did you mean --quiet?"),
            ([*scale, "--resum"], "did you mean --resume?"),
            ([*scale, "--percent=5", "--method", "cubic"], "not 'cubic'; did you mean bicubic?"),
            (["info", "in.png", "--storage", "File"], "did you mean file?"),
            (["bars", "gry", "--size", "3x3", "-o", "x.png"], "did you mean grey?"),
            (["compose", "--base=a", "--overlay=b", "-o=c", "--mode=x"], None),
            ([*MAKE["compose"], "--mode", "multply"], "not 'multply'; did you mean multiply?"),
            ([*MAKE["show"][:2], "--depth-of", "256-colour", "-o", "x.png"], "mean 256-colours?"),
        ]:
            with self.subTest(arguments=arguments):
                said = self.refuse(USAGE, *arguments)
                self.assertIn(says or "q32tool: ", said)

    def test_what_is_near_nothing(self):
        for arguments in (["frobnicate"], ["info", "in.png", "--frobnicate"], ["info", "-z"]):
            said = self.refuse(USAGE, *arguments, says="; see q32tool help")
            self.assertNotIn("did you mean", said)

    def test_resize_is_scale(self):
        self.write("in.png", pictures.png(PICTURE))
        self.make("out.png", "resize", "in.png", "out.png", "--size", "8x6")
        self.assertEqual(self.succeed("help", "resize"), self.succeed("help", "scale"))


class Json(ToolCase):
    def test_says_what_the_lines_say(self):
        name = 'ж "quoted" 漢字.png'
        self.write("in.png", pictures.png(PICTURE))
        name = self.write(name.replace('"', "'"), pictures.png(PICTURE))
        lines = self.info(name)
        printed = self.succeed("info", name, "--json")
        self.assertEqual(printed.count("\n"), 1)
        found = json.loads(printed)
        self.assertTrue(all(re.fullmatch("[a-z_]+", key) for key in found))
        self.assertEqual((found["file"], found["format"]), (name, "PNG"))
        self.assertEqual((found["width"], found["height"]), (40, 30))
        self.assertEqual((found["orientation"], found["pictures"]), (1, 1))
        self.assertEqual(found["transparency"], "none")
        self.assertEqual(str(found["image_bytes"]), lines["image bytes"])
        self.assertEqual(found["storage"], lines["storage"])
        self.assertEqual(f"{found['memory_in_use_bytes']} bytes", lines["memory in use"])
        cells = f"{found['cell_columns']} x {found['cell_rows']} = {found['cell_count']}"
        self.assertEqual(cells, lines["cells"])
        self.assertIn(found["buffer_type"], lines["buffer"])

    def test_what_the_file_says(self):
        """Resolution and comment of a PNG file, in both forms. (Per metre: whole inches are meant.)"""
        png = pictures.png(PICTURE)
        comment = 'a "quote", a \\ and\ntwo lines: é'

        def chunk(kind, data):
            crc = struct.pack(">I", zlib.crc32(kind + data))
            return struct.pack(">I", len(data)) + kind + data + crc

        more = chunk(b"pHYs", struct.pack(">IIB", 11811, 5906, 1))
        more += chunk(b"tEXt", b"Comment\0" + comment.encode("latin-1"))
        self.write("in.png", png[:33] + more + png[33:])
        found = json.loads(self.succeed("info", "in.png", "--json"))
        self.assertEqual(found["comment"], comment)
        self.assertEqual((found["pixels_per_inch_x"], found["pixels_per_inch_y"]), (300, 150))
        lines = self.info("in.png")
        self.assertEqual(lines["comment"], comment.replace("\n", " "))
        self.assertEqual(lines["resolution"], "300 x 150 pixels per inch")


class Misuse(ToolCase):
    def setUp(self):
        super().setUp()
        self.write("in.png", pictures.png(PICTURE))

    def test_commands(self):
        self.refuse(USAGE, says="q32tool help")
        self.refuse(USAGE, "frobnicate", says=["frobnicate", "q32tool help"])
        self.refuse(USAGE, "help", "frobnicate", says="frobnicate")

    @long_round
    def test_missing_arguments(self):
        for command, (operands, *_) in COMMANDS.items():
            names = operands.split()
            for count, name in enumerate(names):
                with self.subTest(command=command, name=name):
                    arguments = ["in.png"] * count
                    self.refuse(USAGE, command, *arguments, says=f"{command} needs {name}")

    @long_round
    def test_missing_options(self):
        self.write("out.bmp", b"an older file")
        rectangle = ["--at", "1,2", "--size", "3x4"]
        for arguments, says in [
            (["crop", "in.png", "out.bmp"], ["--at", "--size"]),
            (["crop", "in.png", "out.bmp", *rectangle[:2]], "--size"),
            (["crop", "in.png", "out.bmp", *rectangle[2:]], "--at"),
            (["paste", "in.png", "in.png", "out.bmp"], "--at"),
            (["fill", "in.png", "out.bmp", *rectangle], "--colour"),
            ([*MAKE["fill"], *rectangle[:2]], "--size"),
            ([*MAKE["fill"], *rectangle[2:]], "--at"),
            ([*MAKE["pattern"], *rectangle[:2]], "--size"),
            (["rows", "in.png", *rectangle[2:]], "--at"),
            (["compose"], ["--base BASE", "--overlay OVERLAY", "--output OUT"]),
            (["compose", *MAKE["compose"][3:]], "--base BASE"),
            (["compose", *MAKE["compose"][1:3], "-o", "out.bmp"], "--overlay OVERLAY"),
            (["compose", *MAKE["compose"][1:5]], "--output OUT"),
            (["enlarge", "in.png", "out.bmp", "--bits", "8"], "--factor N[xM]"),
            (["reduce", "in.png", "out.bmp", "--step", "2"], "--factor N"),
            (["filter", "in.png", "out.bmp", "--outside"], "--range R,G,B:T"),
            (["colorspace", "in.png", "out.bmp", "--field", "hue"], "--to grey|hsv|hls"),
            (["show", "in.png"], ["--depth-of DISPLAY", "--output OUT"]),
            (["bars", "hsb"], ["--size WxH", "--output OUT"]),
        ]:
            with self.subTest(arguments=arguments):
                self.refuse(USAGE, *arguments, says=["needs ", *listed(says)])

    @long_round
    def test_options_given_twice(self):
        self.write("out.bmp", b"an older file")
        for command, option, value in [
            ("crop", "--at", "1,2"),
            ("crop", "--size", "5x5"),
            ("fill", "--colour", "1,2,3"),
            ("compose", "--base", "in.png"),
            ("compose", "--overlay", "other.png"),
            ("compose", "--output", "other.bmp"),
            ("filter", "--mask", "in.png"),
            ("colorspace", "--to", "hls"),
            ("show", "--depth-of", "4"),
            ("show", "--gamma", "180"),
            ("show", "--pieces", "5x5"),
            ("bars", "--size", "5x5"),
            ("bars", "--style", "2"),
            ("scale", "--size", "3x4"),
            ("enlarge", "--factor", "2"),
            ("reduce", "--factor", "3"),
            ("reduce", "--step", "7"),
            ("scale", "--fit", "3x4"),
            ("scale", "--percent", "50"),
            ("scale", "--method", "nearest"),
            ("scale", "--bits", "8"),
        ]:
            with self.subTest(command=command, option=option):
                arguments = replaced(MAKE[command], option, value)
                self.refuse(USAGE, *arguments, option, value, says=f"{option} is given twice")

    def test_options_given_twice_in_two_spellings(self):
        self.refuse(USAGE, *MAKE["compose"], "-o", "out.bmp", says="--output is given twice")
        self.refuse(USAGE, *MAKE["fill"], "--color=1,2,3", says="--colour is given twice")
        self.refuse(USAGE, *MAKE["paste"], "--at=1,2", says="--at is given twice")

    def test_switches_given_twice(self):
        # They say the same thing again.
        self.assertEqual(self.succeed(*MAKE["filter"], "--outside", "-q", "--outside", "-q"), "")
        wanted = (self.folder / "out.bmp").read_bytes()
        self.assertEqual(self.make("out.bmp", *MAKE["filter"], "--outside"), wanted)

    @long_round
    def test_too_many_arguments(self):
        self.refuse(USAGE, "convert", "in.png", "out.png", "more.png", says="more.png")
        self.refuse(USAGE, "rows", "in.png", "more.png", says="more.png")
        for make in MAKE.values():
            self.refuse(USAGE, *make, "more.png", says="more.png")

    @long_round
    def test_unknown_options(self):
        self.refuse(USAGE, "--frob", says="--frob")
        self.refuse(USAGE, "info", "in.png", "--frob", says="--frob")
        self.refuse(USAGE, "info", "in.png", "--bits", "8", says="--bits")
        self.refuse(USAGE, "convert", "in.png", "out.png", "-z", says="-z")
        options = {"crop": "--colour", "paste": "--size", "fill": "--background"}
        options |= {"compose": "--range", "filter": "--mask-from", "colorspace": "--mode"}
        options |= {"scale": "--at"}
        for command, option in options.items():
            self.refuse(USAGE, *MAKE[command], option, "1,2,3", says=option)
        for option in ("--storage=file", "--format=555", "--threshold=5", "--invert"):
            arguments = ["stream", ".", ".", "--percent", "50", option]
            self.refuse(USAGE, *arguments, says=[option.split("=")[0], "help stream"])

    @long_round
    def test_options_without_their_value(self):
        for option in ("--bits", "--format", "--threshold", "--storage", "--memory-limit"):
            with self.subTest(option=option):
                self.refuse(USAGE, "convert", "in.png", "out.png", option, says=option)
        self.refuse(USAGE, "info", "in.png", "--swap-dir", says="--swap-dir")
        self.refuse(USAGE, *MAKE["compose"][:-2], "-o", says=["-o", "OUT"])
        self.refuse(USAGE, *MAKE["filter"], "--range", says=["--range", "R,G,B:T"])
        self.refuse(USAGE, *MAKE["colorspace"], "--turn-hue", says=["--turn-hue", "DEGREES"])
        for option, value in (("--fit", "WxH"), ("--percent", "N"), ("--method", "average|nearest")):
            self.refuse(USAGE, "scale", "in.png", "out.bmp", option, says=[option, value])

    def test_switches_with_a_value(self):
        for option in ("--outside=1", "--quiet="):
            name = option.split("=")[0]
            self.refuse(USAGE, *MAKE["filter"], option, says=f"{name} takes no value")

    def test_values(self):
        for option, values in {
            "--bits": ["7", "", "8x"],
            "--storage": ["disk", ""],
            "--memory-limit": ["many", "-1", "1.5M", "K", "", "99999999999999999999"],
        }.items():
            for value in values:
                with self.subTest(option=option, value=value):
                    arguments = ["convert", "in.png", "out.png", option, value]
                    self.refuse(USAGE, *arguments, says=[option, f"'{value}'"])

    @long_round
    def test_places_sizes_and_colours(self):
        self.write("out.bmp", b"an older file")
        for option, values in {
            "--at": ["", "1", "1,", ",2", "1,2,3", "1.5,2", "1, 2", "0x1,2", "2147483648,0"],
            "--size": ["", "5", "5x", "x5", "0x5", "5x0", "-5x5", "5x-5", "5,5", "5x2147483648"],
            "--background": ["1,2", "1,2,3,4", "256,0,0", "0,0,-1", "red", "#12345", "#12345g"],
        }.items():
            for value in values:
                with self.subTest(option=option, value=value):
                    arguments = replaced(MAKE["crop"], option, value)
                    self.refuse(USAGE, *arguments, says=[option, f"'{value}'"])
        for value in ("", "1,2,", "#1234567", "123456"):
            with self.subTest(value=value):
                arguments = ["fill", "in.png", "out.bmp", "--colour", value]
                self.refuse(USAGE, *arguments, says=["--colour", f"'{value}'"])

    @long_round
    def test_modes_transparencies_and_masks(self):
        self.write("out.bmp", b"an older file")
        for option, values in {
            "--mode": ["0", "17", "", "1.5", "Normal", "multi", "4294967297"],
            "--transparency": ["101", "-1", "", "50%"],
            "--at": ["1,2,3"],
        }.items():
            for value in values:
                with self.subTest(option=option, value=value):
                    arguments = [*MAKE["compose"], option, value]
                    self.refuse(USAGE, *arguments, says=[option, f"'{value}'"])
        self.refuse(USAGE, *MAKE["compose"], "--mode", "17", says=["1", "16", "help compose"])
        mask = [*MAKE["compose"], "--mask", "in.png", "--mask-from", "red"]
        self.refuse(USAGE, *mask, says=["--mask-from", "grey", "alpha", "'red'"])
        for source in ("grey", "alpha"):
            arguments = [*MAKE["compose"], "--mask-from", source]
            self.refuse(USAGE, *arguments, says=["--mask-from needs --mask PICTURE, too\n"])

    @long_round
    def test_sizes_and_methods(self):
        self.write("out.bmp", b"an older file")
        commands = itertools.cycle((["scale", "in.png", "out.bmp"], ["stream", ".", "."]))
        for option, values in {
            "--size": ["", "5", "0x5", "5x0", "-5x5", "5x2147483648", "5 x 5", "x", "0x", "5x5x"],
            "--fit": ["5x", "0x5", "5x-5", "1.5x5"],
            "--percent": ["", "0", "-50", "%", "1.", ".5", "1,5", "0.0000001", "3200000.1", "ten"],
            "--method": ["", "Nearest", "cubic", "4"],
        }.items():
            for value, command in zip(values, commands):
                with self.subTest(option=option, value=value, command=command[0]):
                    other = ["--percent", "50"] if option == "--method" else []
                    self.refuse(USAGE, *command, option, value, *other, says=[option, f"'{value}'"])
        percents = "--percent takes a number from 0.000001 to 3200000 with at most 6 decimals"
        self.refuse(USAGE, "scale", "in.png", "out.bmp", "--percent", "0", says=percents)
        for command, bits in ((MAKE["scale"], "32"), (["stream", ".", ".", "--percent=50"], "1")):
            self.refuse(USAGE, *command, "--bits", bits, says=["--bits", f"'{bits}'"])

    def test_pixels_that_have_one_method(self):
        words_565 = [*MAKE["scale"], "--bits", "16", "--format", "565"]
        bits = [*MAKE["scale"], "--bits", "1"]
        says = ["565", "--method nearest"]
        self.refuse(USAGE, *words_565, says=says)
        for method in ("average", "bilinear", "bicubic"):
            with self.subTest(method=method):
                self.refuse(USAGE, *words_565, "--method", method, says=says)
                self.refuse(USAGE, *bits, "--method", method, says=["1 bit", "--method nearest"])

    def test_the_other_spelling_of_colour(self):
        arguments = ["fill", "in.png", "out.bmp", "--color", "1,2,3"]
        self.make("out.bmp", *arguments)
        self.assert_file_holds("out.bmp", PICTURE.changed(lambda *_: (1, 2, 3)), 24)
        self.refuse(USAGE, *arguments[:-1], "1,2", says="'1,2'")

    def test_empty_names(self):
        self.refuse(USAGE, "info", "", says="empty")
        self.refuse(USAGE, "convert", "in.png", "", says="empty")
        self.refuse(USAGE, "info", "in.png", "--swap-dir", "", says=["--swap-dir", "empty"])
        for option in ("--base", "--overlay", "--output", "--mask"):
            arguments = replaced(MAKE["compose"], option, "")
            self.refuse(USAGE, *arguments, says=[option, "empty"])
        self.refuse(USAGE, *MAKE["filter"], "--mask", "", says=["--mask", "empty"])

    def test_thresholds(self):
        for value in ("256", "-1", "1x", "", "4294967296"):
            with self.subTest(value=value):
                arguments = ["convert", "in.png", "out.png", "--bits", "1", "--threshold", value]
                self.refuse(USAGE, *arguments, says=["--threshold", f"'{value}'"])

    def test_options_of_other_bits(self):
        arguments = ["convert", "in.png", "out.png"]
        self.refuse(USAGE, *arguments, "--bits", "16", "--format", "444", says="'444'")
        self.refuse(USAGE, *arguments, "--bits", "8", "--format", "565", says="--format")
        self.refuse(USAGE, *arguments, "--threshold", "5", says="--threshold")
        memory = ["--storage", "memory", "--memory-limit", "0"]
        self.refuse(USAGE, *arguments, *memory, says=["--storage", "--memory-limit"])
        self.refuse(USAGE, *MAKE["scale"], "--format", "555", says="--format")
        self.refuse(USAGE, *MAKE["scale"], "--bits=8", "--threshold=5", says="--threshold")
        self.refuse(USAGE, *MAKE["scale"], *memory, says=["--storage", "--memory-limit"])


class Words(ToolCase):
    def setUp(self):
        super().setUp()
        self.write("in.png", pictures.png(PICTURE))

    def test_convert_names_what_it_wrote(self):
        said = self.succeed("convert", "in.png", "out.bmp", "--bits", "8")
        self.assertEqual(said, "out.bmp: 40 x 30 pixels, 8 bits, BMP\n")

    def test_the_others_name_what_they_wrote(self):
        for command, arguments in MAKE.items():
            with self.subTest(command=command):
                wanted = f"out.bmp: {SIZES[command]} pixels, {BITS[command]} bits, BMP\n"
                self.assertEqual(self.succeed(*arguments), wanted)
                self.assertEqual(self.succeed(*arguments, "--quiet"), "")

    def test_quiet(self):
        self.assertEqual(self.succeed("convert", "in.png", "out.bmp", "--quiet"), "")
        self.assert_file_holds("out.bmp", PICTURE, 24)

    def test_quiet_still_says_what_is_wrong(self):
        self.refuse(FAILED, "convert", "--quiet", "missing.png", "out.bmp", says="missing.png")

    def test_an_answer_that_cannot_be_written_is_a_failure(self):
        with open("/dev/full", "wb") as full:
            process = subprocess.run(
                [*Program.command, "info", "in.png"],
                cwd=self.folder,
                env=environment(),
                stdout=full,
                stderr=subprocess.PIPE,
                timeout=60,
            )
        self.assertEqual(process.returncode, FAILED)
        self.assertRegex(text(process.stderr), r"\Aq32tool: [^\n]{8,}\n\Z")

    def test_timings(self):
        result = self.run_tool("convert", "in.png", "out.bmp", "--timings")
        self.assertEqual(result.code, 0)
        self.assertRegex(result.err, r"(?m)^reading: \d+\.\d+ s")
        self.assertRegex(result.err, r"(?m)^writing: \d+\.\d+ s")
        self.assertRegex(result.err, r"(?m)^library: \d+\.\d+ s \(\d+ buffers? made, ")

    @long_round
    def test_what_the_library_did(self):
        """Rows are moved when they are read, worked on and written, and converted on the way."""
        self.write("grey.png", pictures.grey_png(40, 30, bytes(1200)))
        self.write("tall.png", pictures.png(pictures.noise(40, 300)))
        tall = replaced(replaced(MAKE["compose"], "--base", "tall.png"), "--overlay", "tall.png")
        for arguments, buffers, rectangles, fills, moved, converted in [
            (MAKE["crop"], 2, 1, 0, 34, 34),
            (MAKE["fill"], 1, 0, 1, 60, 60),
            # One rectangle for each 128 rows, and one of memory for each row of each picture.
            (MAKE["compose"], 2, 1, 0, 90, 90),
            (tall, 2, 3, 0, 900, 900),
            ([*MAKE["compose"], "--mask", "grey.png"], 4, 1, 0, 180, 150),
            ([*MAKE["compose"], "--mode", "16"], 2, 90, 0, 90, 120),
            ([*MAKE["compose"], "--mode=16", "--mask=grey.png"], 4, 120, 0, 180, 180),
            (MAKE["filter"], 2, 0, 0, 120, 60),
            ([*MAKE["filter"], "--mask", "grey.png"], 4, 0, 0, 240, 120),
            (MAKE["colorspace"], 1, 0, 0, 120, 90),
            ([*MAKE["colorspace"], "--turn-hue", "1"], 1, 0, 0, 120, 120),
            ([*MAKE["colorspace"], "--field", "hue"], 2, 0, 0, 120, 60),
            # The library moves and converts rows of its own when it scales.
            ([*MAKE["scale"], "--method", "bicubic"], 2, 0, 0, 34, 34),
            ([*MAKE["scale"], "--method", "bicubic", "--bits", "8"], 3, 0, 0, 94, 60),
            (MAKE["scale"], 2, 0, 0, 68, 34),
            (["scale", "in.png", "out.bmp", "--size", "3x40"], 3, 0, 0, 130, 70),
            ([*MAKE["scale"], "--bits", "1"], 3, 0, 0, 94, 90),
            # The first row tells that these are colours. A rectangle for each row that is seen.
            (MAKE["show"], 2, 30, 0, 91, 60),
            ([*MAKE["show"], "--pieces", "20x20"], 2, 60, 0, 121, 60),
            (MAKE["bars"], 1, 0, 0, 4, 4),
        ]:
            with self.subTest(arguments=arguments):
                result = self.run_tool(*arguments, "--timings")
                self.assertEqual(result.code, 0)
                counts = [
                    counted(buffers, "buffer") + " made",
                    counted(rectangles, "rectangle") + " moved",
                    counted(fills, "fill"),
                    counted(moved, "row") + " moved",
                    counted(converted, "row") + " converted",
                ]
                found = re.search(r"(?m)^library: \d+\.\d+ s \((.*)\)$", result.err)
                self.assertEqual(found[1], ", ".join(counts))

    def test_progress_says_what_is_being_done(self):
        for command, doing in [
            ("compose", "merging"),
            ("filter", "filtering"),
            ("colorspace", "converting"),
            ("enlarge", "enlarging"),
            ("reduce", "reducing"),
            ("show", "showing"),
        ]:
            with self.subTest(command=command):
                result = self.run_tool(*MAKE[command], "--progress")
                self.assertEqual(result.code, 0)
                words = re.findall(r"\r([a-z]+) \[", result.err)
                reading = ["reading"] * (2 if command == "compose" else 1)
                self.assertEqual(words, [*reading, doing, "writing"])

    def test_options_anywhere(self):
        self.succeed("convert", "--bits=8", "in.png", "--invert", "out.bmp")
        self.assertEqual(self.read("out.bmp").bits, 8)


class Names(ToolCase):
    def test_names(self):
        inside = str(self.folder)
        for source, target in [
            ("with spaces in it.png", "and here too .bmp"),
            ("Ωμέγα 日本 ß.png", "ж 漢字 ñ.bmp"),
            ("in.png", f"{inside}/absolute.bmp"),
            ("folder/deep/in.png", "folder/deep/out.bmp"),
            ("in.png", "./folder/../dotted.bmp"),
            ("in.PNG", "OUT.BMP"),
            ("two.dots.png", "two.dots.bmp"),
        ]:
            with self.subTest(source=source, target=target):
                self.write(source, pictures.png(PICTURE))
                self.succeed("convert", source, target)
                self.assert_file_holds(target, PICTURE, 24)

    def test_absolute_source(self):
        source = self.folder / self.write("ä/in.png", pictures.png(PICTURE))
        self.assertEqual(self.info(str(source))["size"], "40 x 30 pixels")
        windows = "Z:" + str(source).replace("/", "\\")
        self.assertEqual(self.info(windows)["size"], "40 x 30 pixels")

    def test_names_appear_as_given(self):
        self.refuse(FAILED, "info", "ж 漢字.png", says="ж 漢字.png")
        self.write("ж 漢字.png", pictures.png(PICTURE))
        said = self.succeed("convert", "ж 漢字.png", "ñ 日本.bmp")
        self.assertEqual(said, "ñ 日本.bmp: 40 x 30 pixels, 24 bits, BMP\n")
        self.assertEqual(self.info("ж 漢字.png")["file"], "ж 漢字.png")

    def test_after_two_dashes(self):
        self.write("--in.png", pictures.png(PICTURE))
        self.succeed("convert", "--", "--in.png", "--out.bmp")
        self.assert_file_holds("--out.bmp", PICTURE, 24)


class InPlace(ToolCase):
    def test_the_file_becomes_its_negative(self):
        for name in ("in.bmp", "./in.bmp", str(self.folder / "in.bmp")):
            with self.subTest(name=name):
                self.write("in.bmp", pictures.bmp(PICTURE))
                before = self.files()
                self.succeed("convert", "in.bmp", name, "--invert", "--storage", "file")
                self.assert_only_new(before, "in.bmp")
                wanted = PICTURE.changed(lambda *colour: tuple(255 - value for value in colour))
                self.assert_file_holds("in.bmp", wanted, 24)

    def test_a_longer_file_is_replaced_whole(self):
        source = self.write("in.png", pictures.png(PICTURE))
        wanted = self.convert(source, "new.bmp", "--bits", "1")
        self.write("old.bmp", bytes(100_000))
        self.assertEqual(self.convert(source, "old.bmp", "--bits", "1"), wanted)
