"""What the tests of programs share: a folder for each test, what programs print, and pictures that
must be the same.
"""

import os
import pathlib
import re
import shutil
import struct
import unittest

DONE, FAILED, USAGE, CANCELLED = 0, 1, 2, 130

# What Wine itself says about the disk of a swap file; programs have no part in it.
WINE_REMARK = re.compile(r"^wine: Read access denied for device .*\n", re.MULTILINE)


def environment():
    # Wine converts file names by the locale, and a build machine's may know ASCII only.
    return {**os.environ, "LC_ALL": "C.UTF-8"}


def text(output):
    return WINE_REMARK.sub("", output.decode().replace("\r\n", "\n"))


def is_64_bit(program):
    """Of which edition a program is, by its header."""
    with open(program, "rb") as file:
        header = file.read(4096)
    (start,) = struct.unpack_from("<I", header, 0x3C)
    return struct.unpack_from("<H", header, start + 4) == (0x8664,)


def long_round(test):
    """Marks a test that shorter rounds leave out: a thorough one beside a quick one of its kind. The
    programs of the 64-bit edition, which are the same sources, run only the quick one.
    """
    test.rounds = {"long"}
    return test


def long_round_of_both(test):
    """Marks a test that shorter rounds leave out, of something that is not the same in 64 bits."""
    test.rounds = {"long", "long of 64 bits"}
    return test


def round_of(program):
    """The round of tests that this is, for a program of this edition."""
    name = os.environ.get("Q32BASE_TEST_ROUND", "long")
    return "long of 64 bits" if name == "long" and is_64_bit(program) else name


def belongs_to(round_of_tests, test):
    method = getattr(test, test._testMethodName)
    return round_of_tests in getattr(method, "rounds", {round_of_tests})


class ProgramCase(unittest.TestCase):
    maxDiff = 2000
    scratch = pathlib.Path()  # where tests may work, each in a folder of its own name

    def setUp(self):
        self.folder = self.scratch / self.id()
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir(parents=True)
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def write(self, name, contents):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(contents)
        return name

    def assert_same_picture(self, found, wanted, within=0, named=""):
        self.assertEqual((found.width, found.height), (wanted.width, wanted.height), named)
        if found.pixels == wanted.pixels:
            return
        pairs = list(zip(found.colours(), wanted.colours()))
        wrong = [
            i
            for i, (one, other) in enumerate(pairs)
            if any(abs(a - b) > within for a, b in zip(one, other))
        ]
        if wrong:
            y, x = divmod(wrong[0], wanted.width)
            one, other = pairs[wrong[0]]
            self.fail(f"{named}: {len(wrong)} pixels differ; ({x}, {y}) is {one}, not {other}")


def all_tests(suite):
    for test in suite:
        if isinstance(test, unittest.TestSuite):
            yield from all_tests(test)
        else:
            yield test


def run(folder, tests, program, part=1, parts=1, modules=None):
    """Tests a program by the tests with these names, or every so many-th that belongs to the round,
    of some modules or all of the folder's; the exit code.
    """
    modules = modules or sorted(path.stem for path in pathlib.Path(folder).glob("*_test.py"))
    found = list(all_tests(unittest.defaultTestLoader.loadTestsFromNames(tests or modules)))
    if not tests:
        found = [test for test in found if belongs_to(round_of(program), test)][part - 1 :: parts]
    suite = unittest.TestSuite(found)
    result = unittest.TextTestRunner(verbosity=2).run(suite)
    return 0 if result.wasSuccessful() and result.testsRun and not result.skipped else 1
