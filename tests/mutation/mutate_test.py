#!/usr/bin/env python3
"""Tests of scripts/mutate.py, on a project of ten lines (toy/): mutate_test.py SOURCE WORK [TEST...]

What must be noticed is, what must not be is not, and nothing is left behind.
"""

import hashlib
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import time
import unittest

SOURCE, WORK = map(pathlib.Path, sys.argv[1:3])
TOY = WORK / "toy"
SUMS = "src/toy/sums.cpp"
STUB = "#!/bin/sh\n"


def make_toy():
    shutil.rmtree(TOY, ignore_errors=True)
    shutil.copytree(SOURCE / "tests/mutation/toy", TOY)
    (TOY / "scripts").mkdir()
    for name in ("mutate.py", "mutate", "compile.sh"):
        original = SOURCE / "scripts" / name
        (shutil.copytree if original.is_dir() else shutil.copy)(original, TOY / "scripts" / name)
    (TOY / "scripts/wine-run").write_text(STUB)
    (TOY / "scripts/wine-run").chmod(0o755)
    (TOY / ".gitignore").write_text("/build/\n__pycache__/\n")
    # What hangs here would otherwise be waited for as long as it takes with the product.
    testing = TOY / "scripts/mutate/testing.py"
    testing.write_text(testing.read_text().replace("SECONDS_MORE = 3, 5", "SECONDS_MORE = 3, 1"))
    subprocess.run(["git", "init", "--quiet", TOY], check=True)


def start(*arguments):
    command = [sys.executable, "-B", TOY / "scripts/mutate.py", *arguments]
    return subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)


def mutate(*arguments, anew=True):
    process = start(*arguments, *(["--anew"] if anew else []))
    output, errors = process.communicate(timeout=300)
    return process.returncode, output, errors


def line_of(text):
    lines = (TOY / SUMS).read_text().splitlines()
    return 1 + next(number for number, line in enumerate(lines) if text in line)


def place_of(text):
    return f"{SUMS}:{line_of(text)}"


def state_of(folder):
    """All that lies there but for what is built."""
    return {
        path.relative_to(folder): hashlib.sha256(path.read_bytes()).hexdigest()
        for path in folder.rglob("*")
        if path.is_file() and not {"build", ".git"} & set(path.relative_to(folder).parts)
    }


class Mutate(unittest.TestCase):
    def expect(self, text, fate, status, *arguments):
        """All changes of a line have one fate; returns what was printed."""
        code, output, errors = mutate(place_of(text), *arguments)
        fates = re.findall(rf"min  (\w+) +{SUMS}:", output)
        self.assertTrue(fates, output + errors)
        self.assertEqual(set(fates), {fate}, output + errors)
        self.assertEqual(code, status, output + errors)
        return output

    def test_what_a_loading_program_notices_is_killed(self):
        output = self.expect("value + 40", "killed", 0)
        self.assertIn("by toy Toy.Loads", output)
        self.assertRegex(output, r"src/toy +3 +0 +0 +0  100\.0 %")

    def test_what_a_linked_program_notices_is_killed(self):
        self.assertIn("by linked", self.expect("value - 3", "killed", 0))

    def test_what_nobody_notices_survives_and_is_shown(self):
        output = self.expect("value / 7", "survived", 1)
        place = place_of("value / 7")
        self.assertIn(f"{place}\n- return value / 7; // noticed by nobody\n+ return value * 7;", output)
        self.assertRegex(output, r"src/toy +0 +3 +0 +0 +0\.0 %")

    def test_what_is_listed_is_equivalent(self):
        code, output, errors = mutate(place_of("value == 5"))
        self.assertRegex(output, r"equivalent +src/toy/sums.cpp:\d+ relational, listed\n")
        # The list names one of the changes of that line.
        self.assertRegex(output, r"survived +src/toy/sums.cpp:\d+ constant\n", errors)
        self.assertEqual(code, 1)

    def test_what_is_not_in_the_library_makes_no_difference(self):
        self.assertIn("the same library", self.expect("value * 9", "equivalent", 0))

    def test_what_does_not_compile_is_not_counted(self):
        _, output, errors = mutate(place_of("case 2"))
        self.assertRegex(output, r"broken +src/toy/sums.cpp", errors)

    def test_what_hangs_is_killed(self):
        output = self.expect("i; --i", "killed", 0)
        self.assertIn("by toy Toy.Counted, time limit", output)

    def test_the_same_seed_gives_the_same_changes_and_more_when_asked(self):
        def drawn(*arguments):
            code, output, errors = mutate("--list", "--seed", "7", *arguments)
            self.assertEqual(code, 0, errors)
            return re.findall(r"^src/.*\n.*\n.*\n", output, re.MULTILINE)

        five = drawn("--count", "5")
        self.assertEqual(len(five), 5)
        self.assertEqual(drawn("--count", "5"), five)
        self.assertLess(set(five), set(drawn("--count", "9")))

    def test_the_tree_stays_as_it_was(self):
        before = state_of(TOY)
        mutate(place_of("value / 7"))
        self.assertEqual(state_of(TOY), before)
        self.assertEqual(state_of(TOY / "build/mutate/1/source"), before)

    def test_an_interrupted_run_leaves_the_original(self):
        before = state_of(TOY)
        process = start(place_of("i; --i"))
        copy = TOY / "build/mutate/1/source" / SUMS
        original = (TOY / SUMS).read_text()
        end = time.monotonic() + 240
        while not copy.exists() or copy.read_text() == original:
            self.assertLess(time.monotonic(), end)
            self.assertIsNone(process.poll())
            time.sleep(0.01)
        process.send_signal(signal.SIGINT)
        _, errors = process.communicate(timeout=60)
        self.assertEqual(process.returncode, 130, errors)
        self.assertEqual(state_of(TOY), before)
        self.assertEqual(copy.read_text(), original)
        self.expect("value - 3", "killed", 0)

    def test_what_was_found_is_taken_over_while_it_holds(self):
        def found(*arguments):
            return set(re.findall(r"min  (\w+).*:(\d+) .*?( earlier)?$", mutate(
                SUMS, "--count", "100", *arguments, anew=False)[1], re.MULTILINE))  # fmt: skip

        mutate(place_of("value + 40"))
        kept, nobody = str(line_of("value + 40")), str(line_of("value / 7"))
        first = found()
        self.assertEqual({fate for fate in first if fate[1] == kept}, {("killed", kept, " earlier")})
        self.assertIn(("survived", nobody, ""), first)
        self.assertIn(("survived", nobody, " earlier"), found())
        program = TOY / "tests/toy_test.cpp"
        text = program.read_text()
        program.write_text(text.replace("return 2;", "return 3;"))
        try:
            self.assertIn(("survived", nobody, ""), found())
        finally:
            program.write_text(text)

    def test_tests_that_fail_by_themselves_are_no_finding(self):
        program = TOY / "tests/linked_test.cpp"
        text = program.read_text()
        program.write_text(text.replace("== 7", "== 8"))
        try:
            code, output, errors = mutate(place_of("value - 3"))
        finally:
            program.write_text(text)
        self.assertEqual(code, 2, output)
        self.assertIn("fails without any change: linked", errors)

    def test_an_unknown_place_is_refused(self):
        code, _, errors = mutate("src/nothing")
        self.assertEqual(code, 2)
        self.assertIn("nothing to change at src/nothing", errors)


if __name__ == "__main__":
    make_toy()
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])
