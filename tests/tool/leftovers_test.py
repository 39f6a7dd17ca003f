"""q32tool leftovers: what died processes have left of their swap files, listed and removed."""

import os
import time
from unittest import mock

import pictures
from tool_case import FAILED, USAGE, ToolCase

ENTRY, SLOTS = 260, 100
SIGNATURE = b"QuillTempRec"
MB = 1 << 20


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


def entries(names):
    return b"".join(name.encode().ljust(ENTRY, b"\0") for name in names)


class LeftoversCase(ToolCase):
    def setUp(self):
        super().setUp()
        self.family = self.folder / self.make_folder("family")
        self.swap = self.folder / self.make_folder("swap")
        patched = mock.patch.dict(os.environ, Q32COMM_TEMPDIR=windows_path(self.family))
        patched.start()
        self.addCleanup(patched.stop)
        self.leave_master({})

    def left(self, path, contents=b"", minutes=10):
        """A file that was last written so many minutes ago; its Windows name."""
        path.write_bytes(contents)
        then = time.time() - 60 * minutes
        os.utime(path, (then, then))
        return windows_path(path)

    def leave_master(self, slots):
        names = [""] * SLOTS
        for number, name in slots.items():
            names[number] = name
        self.left(self.family / "Q32BASE.CFG", entries(names) + SIGNATURE)

    def slots(self):
        master = (self.family / "Q32BASE.CFG").read_bytes()
        self.assertEqual(master[SLOTS * ENTRY :], SIGNATURE)
        found = [master[i * ENTRY : (i + 1) * ENTRY].split(b"\0")[0] for i in range(SLOTS)]
        return {i: name.decode() for i, name in enumerate(found) if name}

    def leftovers(self, *options):
        return self.succeed("leftovers", "--swap-dir", "swap", *options).splitlines()


class Nothing(LeftoversCase):
    def test_is_said(self):
        self.assertEqual(self.leftovers(), ["Nothing is left over."])
        self.assertEqual(self.leftovers("--remove"), ["Nothing is left over."])

    def test_of_other_names(self):
        names = ["~QT.tmp", "~QT12345.tmp", "~QTxyz.tmp", "~QT12.bmp", "QTR1.tmp", "letter.doc"]
        for name in names:
            self.left(self.swap / name, b"mine")
        self.assertEqual(self.leftovers("--remove"), ["Nothing is left over."])
        self.assertEqual(sorted(os.listdir(self.swap)), sorted(names))

    def test_that_is_young(self):
        self.left(self.swap / "~QT1.tmp", minutes=0)
        self.left(self.family / "QTR1.tmp", minutes=4)
        self.assertEqual(self.leftovers("--older", "5"), ["Nothing is left over."])

    def test_that_a_living_process_uses(self):
        source = self.write("in.bmp", pictures.bmp(pictures.noise(900, 900)))
        process, _ = self.run_until(
            b"%", "scale", source, "out.bmp", "--size", "9000x9000", "--method", "bicubic",
            "--storage", "file", "--swap-dir", "swap",
        )  # fmt: skip
        try:
            in_use = sorted(os.listdir(self.swap))
            self.assertNotEqual(in_use, [])
            self.assertEqual(self.leftovers("--remove", "--older", "0"), ["Nothing is left over."])
            self.assertLessEqual(set(in_use), set(os.listdir(self.swap)))
            self.assertEqual(len(self.slots()), 1)
        finally:
            process.kill()
            process.communicate()


class Listed(LeftoversCase):
    def test_files_with_size_and_age(self):
        big = self.left(self.swap / "~QT1A2B.TMP", bytes(30 * MB), minutes=10)
        small = self.left(self.swap / "~qtff.tmp", bytes(100), minutes=60 * 5)
        record = self.left(self.family / "QTR7.tmp", minutes=60 * 24 * 3)
        lines = self.leftovers()
        self.assertEqual(
            lines,
            [
                f"swap file {big}, 30.0 MB, 10 minutes old",
                f"swap file {small}, 0.1 KB, 5 hours old",
                f"list of swap files {record}, 3 days old",
                "3 leftovers, 30.0 MB; q32tool leftovers --remove removes what is listed here.",
            ],
        )
        self.assertEqual(len(os.listdir(self.swap)), 2)

    def test_swap_files_elsewhere(self):
        """A list without a slot still tells where its swap files are."""
        elsewhere = self.folder / self.make_folder("elsewhere")
        swap = self.left(elsewhere / "~QT5.tmp", bytes(512))
        document = self.left(elsewhere / "letter.tmp")
        record = self.left(self.family / "QTR7.tmp", entries(["", swap, document, swap]))
        self.assertEqual(
            self.leftovers()[:-1],
            [
                f"swap file {swap}, 0.5 KB, 10 minutes old",
                f"list of swap files {record}, 10 minutes old",
            ],
        )

    def test_slots_for_nothing(self):
        gone = windows_path(self.family / "QTR1.tmp")
        self.leave_master({4: gone, 99: windows_path(self.folder / "no" / "QTR2.tmp")})
        lines = self.leftovers()
        self.assertEqual(lines[0], f"slot 5 of 100, for {gone}, which is not there")
        self.assertRegex(lines[1], r"^slot 100 of 100, for .*QTR2\.tmp, which is not there$")
        self.assertEqual(len(self.slots()), 2)


class Removed(LeftoversCase):
    def test_everything(self):
        swap = self.left(self.swap / "~QT1.tmp", bytes(20 * MB))
        record = self.left(self.family / "QTR7.tmp")
        gone = windows_path(self.family / "QTR1.tmp")
        self.leave_master({4: gone})
        self.assertEqual(
            self.leftovers("--remove"),
            [
                f"removed: swap file {swap}, 20.0 MB, 10 minutes old",
                f"removed: list of swap files {record}, 10 minutes old",
                f"removed: slot 5 of 100, for {gone}, which is not there",
                "3 leftovers, 20.0 MB, removed.",
            ],
        )
        self.assertEqual(os.listdir(self.swap), [])
        self.assertEqual(os.listdir(self.family), ["Q32BASE.CFG"])
        self.assertEqual(self.slots(), {})
        self.assertEqual(self.leftovers(), ["Nothing is left over."])

    def test_a_hundred_slots_no_longer_refuse(self):
        self.leave_master({i: windows_path(self.family / f"QTR{i:x}.tmp") for i in range(SLOTS)})
        source = self.write("in.bmp", pictures.bmp(pictures.noise(200, 200)))
        convert = ["convert", source, "out.bmp", "--storage", "file", "--swap-dir", "swap"]
        self.assertIn("4010", self.refuse(FAILED, *convert))
        self.leftovers("--remove")
        self.succeed(*convert)

    def test_old_ones_only(self):
        self.left(self.swap / "~QT1.tmp", minutes=61)
        self.left(self.swap / "~QT2.tmp", minutes=59)
        self.leftovers("--remove", "--older", "60")
        self.assertEqual(os.listdir(self.swap), ["~QT2.tmp"])


class Refused(LeftoversCase):
    def test_ages_that_are_none(self):
        for minutes in ("-1", "x", "1.5", "99999999"):
            self.refuse(USAGE, "leftovers", "--older", minutes, says="--older")

    def test_directories_that_are_none(self):
        self.refuse(FAILED, "leftovers", "--swap-dir", "nowhere", says="nowhere")

    def test_operands(self):
        self.refuse(USAGE, "leftovers", "x")
