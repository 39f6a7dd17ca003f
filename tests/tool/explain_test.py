"""What the library's errors mean: q32tool explain, and logs of the flight recorder in words."""

import pathlib
import re
import struct
import sys
import tomllib

from program_case import long_round
from tool_case import FAILED, USAGE, ToolCase

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "scripts"))
import failure_rows  # noqa: E402

NO_SWAP_FILE = "1001, 0, 4, 3 (message, severity, module, point)\n"
TOO_WIDE = "5402, 0, 4, 71 (message, severity, module, point)\n"

ENTRIES = 1024
MAGIC = b"q32comm reports\0"
START = 133_800_000_000_000_000  # 2024-12-30 02:40:00 UTC
SECOND = 10_000_000


class Numbers(ToolCase):
    def test_one_error(self):
        lines = self.succeed("explain", "1001", "4", "3").splitlines()
        self.assertEqual(lines[:3], [NO_SWAP_FILE.rstrip(), '"There is not enough memory."', ""])
        titles = [line.split(":")[0] for line in lines[3:] if line[0] not in " -"]
        self.assertEqual(
            titles, ["What happened", "Likely causes", "What to do", "Reported by", "Module 4"]
        )
        self.assertLessEqual(max(map(len, lines)), 79)
        said = " ".join(" ".join(lines).split())
        self.assertIn("What happened: The pixels of a picture were to go to a swap file, and no", said)
        self.assertIn("Reported by: buf32Alloc: the swap file is over the file limit", said)

    @long_round
    def test_as_they_are_pasted(self):
        for wanted, *pasted in (
            (NO_SWAP_FILE, "1001, 0, 4, 3"),
            (NO_SWAP_FILE, "1001,", "0,", "4,", "3"),
            (NO_SWAP_FILE, "message=1001 severity=0 library=1450 module=4 point=3"),
            (NO_SWAP_FILE, "(1001; 0; 1450; 4; 3)"),
            (TOO_WIDE, "q32tool: 2.png: 32001 x 5 is too wide. (error 5402, module 4, point 71)"),
        ):
            with self.subTest(pasted=pasted):
                self.assertEqual(self.succeed("explain", *pasted)[: len(wanted)], wanted)

    @long_round
    def test_as_they_are_pasted_otherwise(self):
        for pasted in (
            "1001 4 3",
            "1001/0/4/3",
            "1001-0-4-3",
            "1001\t0\t4\t3\r\n",
            "q32base32 says 1001, 0, 4, 3 to picture 7 of 12",
            "Error 1001, Module 4, Point 3",
            "error #1001 (severity 0, module: 4, point: 3)",
            'point "3", module "4", message "1001"',
            "[1001:0:1450:4:3]",
        ):
            with self.subTest(pasted=pasted):
                self.assertEqual(self.succeed("explain", pasted)[: len(NO_SWAP_FILE)], NO_SWAP_FILE)

    @long_round
    def test_two_that_only_the_severity_tells_apart(self):
        both = self.succeed("explain", "1001", "1", "9").split("\n\n1001, 1, 1, 9 ")
        self.assertEqual(len(both), 2)
        self.assertEqual(both[0][:10], "1001, 0, 1")
        self.assertEqual(self.succeed("explain", "1001, 1, 1, 9")[:13], "1001, 1, 1, 9")

    @long_round
    def test_a_message(self):
        lines = self.succeed("explain", "5200").splitlines()
        self.assertEqual(lines[0], "5200: The operation has been cancelled.")
        numbers = [line[:18].rstrip() for line in lines[1:]]
        places = ["8, 19", "8, 21", "12, 687", "12, 1019", "12, 1680"]
        self.assertEqual(numbers, [f"5200, 2, {place}" for place in places])

    def test_all(self):
        rows = failure_rows.product_failures(ROOT)
        with open(ROOT / "docs/failures.toml", "rb") as file:
            sentences = tomllib.load(file)
        lines = self.succeed("explain", "--all").splitlines()
        self.assertEqual(len(lines), len(rows))
        for line in lines:
            numbers, what = re.match(r"([\d, ]*\d) +(.*)", line).groups()
            self.assertIn(tuple(map(int, numbers.split(", "))), rows)
            self.assertEqual(what, sentences[numbers]["what"])

    @long_round
    def test_one_of_twelve(self):
        for row in list(failure_rows.product_failures(ROOT))[::12]:
            numbers = ", ".join(map(str, (row.message, row.severity, row.module, row.point)))
            said = self.succeed("explain", numbers)
            self.assertEqual(said.split(" (")[0], numbers)
            self.assertNotRegex(said, r'""|: \n|: $|\$|: *Reported|%s')

    @long_round
    def test_unknown_numbers(self):
        for numbers, says in (
            (["1001", "4", "999"], "1001, module 4, point 999: the library reports no such failure"),
            (["1001, 1, 4, 3"], "1001, severity 1, module 4, point 3: the library"),
            (["7777"], "7777: the library has no such message"),
            (["1001 0 1451 4 3"], "library 1451"),
        ):
            self.refuse(FAILED, "explain", *numbers, says=says)

    @long_round
    def test_no_numbers(self):
        for arguments in (["1", "2", "3"], ["1001", "4"], ["picture.png"], ["99999999999", "4", "3"]):
            self.refuse(USAGE, "explain", *arguments, says="1001 4 3")
        for arguments in ([], ["1001", "--all"], ["--all", "--log", "a"], ["1001", "--log", "a"]):
            self.refuse(USAGE, "explain", *arguments, says="numbers, --all or --log FILE")
        self.refuse(USAGE, "explain", "--log=", says="--log")

    @long_round
    def test_the_program_points_to_it(self):
        refusal = self.refuse(FAILED, "bars", "grey", "--size", "32001x1", "-o", "a.png")
        self.assertRegex(refusal, r"\(error 5402, module 4, point 71\)")
        self.assertRegex(self.succeed("explain", refusal), rf"\A{re.escape(TOO_WIDE)}")


def header(version=1, sizes=(256, 256, ENTRIES), reports=0, lost=0, ended=0, minutes=0, fault=b""):
    start = struct.pack(
        "<16s8I2Qi12x64s", MAGIC, version, *sizes, 4660, 4, reports, lost, START, ended, minutes, b"a.exe"
    )
    return (start + fault).ljust(256, b"\0")


def fault(state, code, access=0xFFFFFFFF, address=0x401234, base=0x400000, data=0, module=b"a.exe"):
    return struct.pack("<4I4Q64s", state, code, 99, access, START + SECOND, address, base, data, module)


def entry(number, numbers=(1001, 0, 1450, 4, 3), text=b"", again=None, time=START):
    if again is None:
        again = number
    return struct.pack("<2IQ5iI208sI4x", number, 77, time, *numbers, 0, text, again)


class Logs(ToolCase):
    def show(self, start, entries=()):
        ring = [b"\0" * 256] * ENTRIES
        for one in entries:
            (number,) = struct.unpack_from("<I", one)
            ring[(number - 1) % ENTRIES] = one
        self.write("a.q32log", start + b"".join(ring))
        return self.succeed("explain", "--log", "a.q32log").splitlines()

    def test_reports(self):
        entries = [
            entry(1025, time=START + 61 * SECOND + 250 * 10_000),
            entry(2, (5402, 0, 1450, 4, 71)),
            entry(3, (1, 2, 3, 4, 5)),
            entry(4, (1, 2, 1450, 4, 5)),
            entry(5, (4700, 0, 1450, 4, 0), b"The text\nof it\x07"),
            entry(6, again=1030),
            entry(1031, again=7),
            entry(8 + ENTRIES, text=b"x" * 208),
        ]
        lines = self.show(header(reports=1032, lost=5, minutes=-90, ended=START + SECOND), entries)
        self.assertEqual(
            lines,
            [
                "a.exe, process 4660, 32-bit, started 2024-12-30 01:10:00.000 (UTC-01:30)",
                "1032 reports, the last 6 of them here, 5 lost",
                "",
                "  number  time          thread  report             what happened",
                "       2  01:10:00.000      77  5402, 0, 4, 71     A picture was asked for that is"
                " wider than 32000 pixels.",
                "       3  01:10:00.000      77  1, 2, 4, 5         a report of library 3",
                "       4  01:10:00.000      77  1, 2, 4, 5         not known to this q32tool",
                "       5  01:10:00.000      77  4700, 0, 4, 0      The text of it ",
                "    1025  01:11:01.250      77  1001, 0, 4, 3      The pixels of a picture were to go"
                " to a swap file, and no folder could take it.",
                "    1032  01:10:00.000      77  1001, 0, 4, 3      " + "x" * 207,
                "",
                "The program, or its use of the library, ended by itself at 01:10:01.000",
            ],
        )

    @long_round
    def test_ends(self):
        crash = "The program crashed: "
        for said, *of_fault in (
            (
                crash + "access violation (0xC0000005) in a.exe + 0x1234 (0x00401234), reading 0x00000010,"
                " thread 99, 02:40:01.000",
                fault(2, 0xC0000005, access=0, data=16),
            ),
            (
                crash + "stack overflow (0xC00000FD) in the module at 0x00400000 + 0x1234 (0x00401234),"
                " thread 99, 02:40:01.000",
                fault(2, 0xC00000FD, module=b""),
            ),
            (
                crash + "exception (0xC0001234) in 0x00401234, which lies in no module, thread 99,"
                " 02:40:01.000",
                fault(2, 0xC0001234, base=0),
            ),
            ("The program still ran, or ended without a word", b""),
        ):
            lines = self.show(header(fault=of_fault[0]))
            self.assertEqual(lines[1:], ["0 reports", "", said])
        lines = self.show(header(ended=START, fault=fault(1, 0xC0000005, access=1, data=1 << 40)))
        self.assertRegex(lines[3], r"^The last exception: access .*, writing 0x10000000000, thread 99")
        self.assertRegex(lines[4], "ended by itself at 02:40:00.000$")

    @long_round
    def test_whatever_is_in_it_is_shown_in_lines(self):
        garbage = bytes(range(1, 256)) * 1040
        start = header()[:48] + garbage[:208]
        self.write("a.q32log", start + garbage[: ENTRIES * 256])
        for line in self.succeed("explain", "--log", "a.q32log").splitlines():
            self.assertRegex(line, r"\A[^\x00-\x1f\x7f]*\Z")

    @long_round
    def test_other_files(self):
        whole = header() + b"\0" * 256 * ENTRIES
        for contents, says in (
            (b"a letter", "no log of the flight recorder"),
            (whole[:255], "no log of the flight recorder"),
            (b"x" + whole[1:], "no log of the flight recorder"),
            (header(version=2), "of version 2, and version 1 is read here"),
            (header(sizes=(0, 256, ENTRIES)) + whole[256:], "its header makes no sense"),
            (header(sizes=(256, 1, ENTRIES)) + whole[256:], "its header makes no sense"),
            (header(sizes=(256, 256, 1 << 31)) + whole[256:], "its header makes no sense"),
            (whole[:-1], "the log is damaged: it has 262399 bytes instead of 262400"),
            (whole + b"x", "more bytes instead of 262400"),
            (b"", "empty"),
        ):
            self.write("a.q32log", contents)
            self.refuse(FAILED, "explain", "--log", "a.q32log", says=["a.q32log: ", says])
        self.refuse(FAILED, "explain", "--log", "none.q32log", says="no such file")
        self.make_folder("folder")
        self.refuse(FAILED, "explain", "--log", "folder", says="this is a directory")
