"""The table of steps, and runs of other steps in a project of their own."""

import io
import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import time
import unittest
from contextlib import redirect_stderr, redirect_stdout
from unittest import mock

from places import SOURCE, WORK, load_script

import samples
from page_test import READ, cell
from proof import readers, rows, steps

main = load_script("proof")
TOY = WORK / "toy"


class Steps(unittest.TestCase):
    def setUp(self):
        self.steps = steps.all_steps(SOURCE)

    def test_they_fit_into_the_budget(self):
        minutes = sum(map(steps.minutes_of, steps.groups_of(self.steps)))
        self.assertLessEqual(minutes, steps.BUDGET)

    def test_each_has_a_row_and_each_row_a_step(self):
        self.assertEqual({step.name for step in self.steps}, {row.step for row in rows.TABLE})
        self.assertEqual(len({row.name for row in rows.TABLE}), len(rows.TABLE))

    def test_what_is_timed_runs_alone(self):
        alone = [group[0].name for group in steps.groups_of(self.steps) if len(group) == 1]
        for name in ("fresh", "again", "long", "times", "bench"):
            self.assertIn(name, alone)

    def test_a_fresh_build_is_cold(self):
        command = self.steps[0].commands[-1]
        with mock.patch.dict(os.environ, CMAKE_CXX_COMPILER_LAUNCHER="ccache", Q32BASE_ISA="sse2"):
            variables = main.running.environment(command)
        self.assertNotIn("CMAKE_CXX_COMPILER_LAUNCHER", variables)
        self.assertNotIn("Q32BASE_ISA", variables)
        self.assertEqual(variables["CCACHE_DISABLE"], "1")

    def test_the_list_of_exports(self):
        self.assertIn("buf32Alloc", steps.exports_in(SOURCE))


def make_toy():
    shutil.rmtree(TOY, ignore_errors=True)
    (TOY / "docs").mkdir(parents=True)
    (TOY / "scripts").mkdir()
    (TOY / "scripts/wine-run").write_text('#!/bin/sh\nmkdir -p build; echo "$1" >>build/stopped\n')
    (TOY / "scripts/wine-run").chmod(0o755)
    (TOY / "run").write_text("\nverb_test() {\n}\n")
    (TOY / ".gitignore").write_text("/build/\n")
    git("init", "--quiet")
    git("add", ".")
    git("commit", "--quiet", "-m", "all")


def git(*words):
    somebody = ["-c", "user.name=t", "-c", "user.email=t@example.com"]
    subprocess.run(["git", "-C", TOY, *somebody, *words], check=True)


def say(text, *more):
    """A command that prints it and goes on as told."""
    return steps.run("sh", "-c", "\n".join([f"cat <<'END'\n{text}\nEND", *more]))


def toy_step(name, command, reader=None, minutes=1, **options):
    return steps.step(name, f"the step {name}", minutes, [command], reader or (lambda _: {}), **options)


HOSTILE = toy_step("hostile", say(samples.HOSTILE), readers.hostile)
FUZZ = toy_step("fuzz", say(samples.FUZZING), readers.fuzzing)


class Runs(unittest.TestCase):
    def setUp(self):
        make_toy()

    def proof(self, *toy_steps, arguments=()):
        """Runs them; the exit code. What was printed is in self.printed."""
        stdout, stderr = io.StringIO(), io.StringIO()
        with (mock.patch.object(main, "ROOT", TOY), mock.patch.object(sys, "argv", ["proof", *arguments]),
              mock.patch.object(steps, "all_steps", lambda root: list(toy_steps)),
              redirect_stdout(stdout), redirect_stderr(stderr)):  # fmt: skip
            code = main.main()
        self.printed = stdout.getvalue() + stderr.getvalue()
        written = TOY / "docs/reliability.md"
        self.page = written.read_text() if written.exists() else None
        return code

    def kept(self, name):
        return json.loads((TOY / f"build/proof/results/{name}.json").read_text())

    def test_a_good_run(self):
        self.assertEqual(self.proof(HOSTILE, FUZZ), 0)
        self.assertIn("step 1 of 2, hostile: the step hostile, 0:00 min so far", self.printed)
        self.assertIn("2.0 million calls of 108", cell(self.page, "Calls with any arguments"))
        self.assertIn("2 targets", cell(self.page, "Fuzzing"))
        kept = self.kept("fuzz")
        self.assertEqual((kept["state"], kept["figures"]["targets"]), ("passed", 2))
        head = subprocess.run(["git", "-C", TOY, "rev-parse", "HEAD"], text=True, check=True,
                              stdout=subprocess.PIPE).stdout.strip()  # fmt: skip
        self.assertEqual((kept["commit"], kept["changed"]), (head, False))  # the page is no change
        self.assertIn("hostile calls: 2000000", (TOY / "build/proof/hostile.log").read_text())
        self.assertIn("--stop", (TOY / "build/stopped").read_text())

    def test_a_changed_tree_is_said(self):
        (TOY / "run").write_text("\nverb_other() {\n}\n")
        self.proof(FUZZ)
        self.assertIn("with changes", self.page)

    def test_a_step_that_fails_is_said_and_the_next_one_goes_on(self):
        broken = toy_step("hostile", say(samples.HOSTILE, "exit 3"), readers.hostile)
        self.assertEqual(self.proof(broken, FUZZ), 1)
        value = cell(self.page, "Calls with any arguments")
        self.assertIn("**failed**: `sh -c ", value)
        self.assertIn("ended with 3; 2.0 million calls", value)
        self.assertIn("2 targets", cell(self.page, "Fuzzing"))
        self.assertIn("Failed: hostile", self.printed)

    def test_failed_tests_are_named(self):
        broken = toy_step("hostile", say(samples.TESTS, "exit 8"), readers.hostile)
        self.assertEqual(self.proof(broken), 1)
        self.assertEqual(self.kept("hostile")["reason"],
                         "3 of 6 tests failed: patterns.guarded, bars.guarded, row_kernels.native")  # fmt: skip

    def test_output_that_is_not_understood_is_a_failure(self):
        self.assertEqual(self.proof(toy_step("fuzz", say("hello"), readers.fuzzing)), 1)
        self.assertIn("**failed**: what it printed was not understood", cell(self.page, "Fuzzing"))

    def test_problems_that_a_reader_finds_are_a_failure(self):
        problem = toy_step("fuzz", say("x"), lambda _: READ["fuzz"] | {"problems": ["a", "b"]})
        self.assertEqual(self.proof(problem), 1)
        self.assertEqual(cell(self.page, "Fuzzing").partition(";")[0], "**failed**: a")

    def test_a_failure_is_not_hidden_by_an_older_figure(self):
        self.assertEqual(self.proof(FUZZ), 0)
        self.assertEqual(self.proof(toy_step("fuzz", say("", "exit 1"), readers.fuzzing)), 1)
        self.assertTrue(cell(self.page, "Fuzzing").startswith("**failed**"))

    def test_a_command_that_is_not_there(self):
        missing = toy_step("fuzz", steps.run("scripts/no-such-thing"), readers.fuzzing)
        self.assertEqual(self.proof(missing), 1)
        self.assertIn("**failed**: `scripts/no-such-thing` ended with 127", cell(self.page, "Fuzzing"))

    def test_a_step_over_its_time_is_ended_and_said(self):
        start = time.monotonic()
        slow = toy_step("hostile", say(samples.HOSTILE, "sleep 100 & wait"), readers.hostile, 0.02)
        self.assertEqual(self.proof(slow, FUZZ), 1)
        self.assertLess(time.monotonic() - start, 20)
        self.assertEqual(cell(self.page, "Calls with any arguments"),
                         "**failed**: not done within 0:01 min")  # fmt: skip
        self.assertIn("2 targets", cell(self.page, "Fuzzing"))

    def test_a_step_that_may_be_cut_counts_until_then(self):
        slow = toy_step("fuzz", say(samples.FUZZING, "sleep 100 & wait"), readers.fuzzing, 0.02,
                        may_be_cut=True)  # fmt: skip
        self.assertEqual(self.proof(slow), 0)
        self.assertIn("2 targets", cell(self.page, "Fuzzing"))

    def test_what_the_budget_does_not_hold_is_not_run(self):
        long = toy_step("hostile", say(samples.HOSTILE), readers.hostile, 30)
        self.assertEqual(self.proof(long, FUZZ, arguments=["--budget", "5"]), 0)
        self.assertEqual(cell(self.page, "Calls with any arguments"),
                         "not measured: 30:00 min would not have fitted into the 5:00 min of the run")  # fmt: skip
        self.assertIn("2 targets", cell(self.page, "Fuzzing"))
        self.assertFalse((TOY / "build/proof/hostile.log").exists())

    def test_what_is_not_there_is_not_measured(self):
        for needed in ("./run fuzz", "tests/fuzz"):
            step = toy_step("fuzz", say("x"), readers.fuzzing, needs=needed)
            self.assertEqual(self.proof(step), 0)
            self.assertEqual(cell(self.page, "Fuzzing"), f"not measured: there is no {needed}")
        there = toy_step("fuzz", say(samples.FUZZING), readers.fuzzing, needs="./run test")
        self.proof(there)
        self.assertIn("2 targets", cell(self.page, "Fuzzing"))

    def test_a_clone_of_another_commit_is_none(self):
        (TOY / "build/proof").mkdir(parents=True)
        subprocess.run(["git", "clone", "--quiet", TOY, TOY / steps.CLONE], check=True)
        step = toy_step("fuzz", say(samples.FUZZING), readers.fuzzing, needs=f"{steps.CLONE}/scripts")
        self.proof(step)
        self.assertIn("2 targets", cell(self.page, "Fuzzing"))
        git("commit", "--quiet", "--allow-empty", "-m", "more")
        self.proof(step)
        self.assertEqual(cell(self.page, "Fuzzing"),
                         "not measured: build/proof/clone is of another commit")  # fmt: skip

    def test_what_another_step_left_at_another_commit_is_not_read(self):
        later = toy_step("fuzz", say(samples.FUZZING), readers.fuzzing, after="hostile")
        why = "not measured: hostile has not been run at this commit"
        self.proof(later)
        self.assertEqual(cell(self.page, "Fuzzing"), why)
        self.proof(HOSTILE, later)
        self.assertIn("2 targets", cell(self.page, "Fuzzing"))
        (TOY / "run").write_text("")
        git("commit", "--quiet", "-a", "-m", "more")
        self.proof(HOSTILE, later, arguments=["--only", "fuzz"])
        self.assertEqual(cell(self.page, "Fuzzing"), why)

    def test_chosen_steps_leave_the_others_as_they_were(self):
        self.proof(HOSTILE, FUZZ)
        other = toy_step("fuzz", say(samples.FUZZING.replace("345", "1345")), readers.fuzzing)
        self.proof(HOSTILE, other, arguments=["--only", "fuzz"])
        self.assertIn("1,400 files", cell(self.page, "Fuzzing"))
        self.assertIn("2.0 million", cell(self.page, "Calls with any arguments"))
        self.assertNotIn("hostile", self.printed)
        self.proof(HOSTILE, FUZZ, arguments=["--without", "fuzz"])
        self.assertNotIn("fuzz", self.printed)

    def test_the_page_is_written_again_from_what_is_kept(self):
        self.proof(HOSTILE, FUZZ)
        before = self.page
        (TOY / "docs/reliability.md").unlink()
        self.assertEqual(self.proof(HOSTILE, FUZZ, arguments=["--page"]), 0)
        self.assertEqual(self.page, before)
        self.assertEqual(self.printed, "")

    def test_the_list(self):
        slow = toy_step("hostile", say("x"), minutes=3, beside="group")
        also = toy_step("fuzz", say("x"), minutes=2, beside="group")
        self.assertEqual(self.proof(slow, also, FUZZ, arguments=["--list"]), 0)
        self.assertIn("hostile      3 min  the step hostile, beside fuzz\n", self.printed)
        self.assertIn("all          4 min at most\n", self.printed)
        self.assertIsNone(self.page)

    def test_neighbours_of_a_group_run_at_the_same_time(self):
        def meeting(name, other, text, reader):
            wait = f"touch build/{name}; until [ -e build/{other} ]; do sleep 0.05; done"
            return toy_step(name, say(text, wait), reader, beside="group")

        pair = (meeting("hostile", "fuzz", samples.HOSTILE, readers.hostile),
                meeting("fuzz", "hostile", samples.FUZZING, readers.fuzzing))  # fmt: skip
        self.assertEqual(self.proof(*pair), 0)

    def test_an_interrupt_ends_the_run_and_keeps_what_was_measured(self):
        driver = f"""\
import sys
sys.argv = ["proof_test.py", {str(SOURCE)!r}, {str(WORK)!r}]
sys.path.insert(0, {str(pathlib.Path(__file__).parent)!r})
import run_test as test
slow = test.toy_step("hostile", test.say("", "echo $$ >build/pid", "sleep 100 & wait"))
test.main.ROOT = test.TOY
test.steps.all_steps = lambda root: [test.FUZZ, slow]
sys.argv = ["proof"]
sys.exit(test.main.main())
"""
        process = subprocess.Popen([sys.executable, "-B", "-c", driver], stdout=subprocess.PIPE,
                                   stderr=subprocess.STDOUT, text=True)  # fmt: skip
        pid = TOY / "build/pid"
        while not (pid.exists() and pid.read_text().strip()) and process.poll() is None:
            time.sleep(0.05)
        process.send_signal(signal.SIGINT)
        printed, _ = process.communicate(timeout=60)
        self.assertEqual(process.returncode, 130, printed)
        text = (TOY / "docs/reliability.md").read_text()
        self.assertIn("2 targets", cell(text, "Fuzzing"))
        self.assertEqual(cell(text, "Calls with any arguments"), "not measured: interrupted")
        self.assertFalse(pathlib.Path(f"/proc/{pid.read_text().strip()}").exists())
        self.assertIn("--stop", (TOY / "build/stopped").read_text())
