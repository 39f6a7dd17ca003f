"""The command line of q32tool: help, options, what it prints, and the names of files."""

import subprocess

import pictures
from tool_case import FAILED, USAGE, Program, ToolCase, environment, text

PICTURE = pictures.noise(40, 30)


class Help(ToolCase):
    def test_overview(self):
        overview = self.succeed("--help")
        self.assertRegex(overview, r"\AUsage: q32tool ")
        for word in ("info", "convert", "help", "130"):
            self.assertIn(word, overview)
        self.assertEqual(self.succeed("help"), overview)

    def test_commands(self):
        for command, words in {
            "info": ["--storage", "--memory-limit", "--swap-dir"],
            "convert": ["--bits", "--format", "--threshold", "--invert", "--storage"],
        }.items():
            with self.subTest(command=command):
                page = self.succeed("help", command)
                self.assertRegex(page, rf"\AUsage: q32tool {command} ")
                for word in words:
                    self.assertIn(word, page)
                self.assertLessEqual(max(map(len, page.splitlines())), 90)
                self.assertEqual(self.succeed(command, "--help"), page)

    def test_version(self):
        self.assertRegex(self.succeed("--version"), r"\Aq32tool \d+\.\d+\.\d+\n\Z")


class Misuse(ToolCase):
    def setUp(self):
        super().setUp()
        self.write("in.png", pictures.png(PICTURE))

    def test_commands(self):
        self.refuse(USAGE, says="q32tool help")
        self.refuse(USAGE, "frobnicate", says=["frobnicate", "q32tool help"])
        self.refuse(USAGE, "help", "frobnicate", says="frobnicate")

    def test_missing_arguments(self):
        self.refuse(USAGE, "info", says="PICTURE")
        self.refuse(USAGE, "convert", says="IN")
        self.refuse(USAGE, "convert", "in.png", says="OUT")

    def test_too_many_arguments(self):
        self.refuse(USAGE, "convert", "in.png", "out.png", "more.png", says="more.png")
        self.refuse(USAGE, "info", "in.png", "more.png", says="more.png")

    def test_unknown_options(self):
        self.refuse(USAGE, "--frob", says="--frob")
        self.refuse(USAGE, "info", "in.png", "--frob", says="--frob")
        self.refuse(USAGE, "info", "in.png", "--bits", "8", says="--bits")
        self.refuse(USAGE, "convert", "in.png", "out.png", "-z", says="-z")

    def test_options_without_their_value(self):
        for option in ("--bits", "--format", "--threshold", "--storage", "--memory-limit"):
            with self.subTest(option=option):
                self.refuse(USAGE, "convert", "in.png", "out.png", option, says=option)
        self.refuse(USAGE, "info", "in.png", "--swap-dir", says="--swap-dir")

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

    def test_empty_names(self):
        self.refuse(USAGE, "info", "", says="empty")
        self.refuse(USAGE, "convert", "in.png", "", says="empty")
        self.refuse(USAGE, "info", "in.png", "--swap-dir", "", says=["--swap-dir", "empty"])

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


class Words(ToolCase):
    def setUp(self):
        super().setUp()
        self.write("in.png", pictures.png(PICTURE))

    def test_convert_names_what_it_wrote(self):
        said = self.succeed("convert", "in.png", "out.bmp", "--bits", "8")
        self.assertEqual(said, "out.bmp: 40 x 30 pixels, 8 bits, BMP\n")

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
