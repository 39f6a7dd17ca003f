"""The page, from results that are kept."""

import copy
import unittest

import places  # noqa: F401

import samples
from proof import failures, page, readers, results, rows
from reading_test import output

MACHINE = {"processor": "A Processor", "cores": 2, "memory": "7.8 GiB", "system": "Debian",
           "wine": "wine-8.0", "compiler": "GCC 12"}  # fmt: skip
READ = {
    "deaths": readers.deaths([output(samples.DEATHS)]),
    "soak": readers.soak([output(samples.SOAK)]),
    "mutate": readers.mutation([output(samples.MUTATION)]),
    "coverage": readers.coverage([output(samples.COVERAGE)]),
    "bench": readers.speed([output(samples.BENCH)]),
    "fuzz": readers.fuzzing([output(samples.FUZZING)]),
    "hostile": readers.hostile([output(samples.HOSTILE)]),
    "fresh": readers.fresh([output(samples.TESTS, 100.0)]),
    "rebuild": readers.rebuild([output(samples.DIGESTS)]),
    "failures": failures.judge(samples.FAILURES, failures.reasons_of(samples.REASONS)),
}


def result(figures, state=results.PASSED, reason="", commit="a" * 40, day=2, **others):
    return {"state": state, "reason": reason, "figures": copy.deepcopy(figures), "commit": commit,
            "changed": False, "date": f"2026-11-{day:02}T12:00:00+00:00", "machine": MACHINE} | others  # fmt: skip


def cell(text, name):
    """The value of the row of that name."""
    (line,) = [line for line in text.splitlines() if line.startswith(f"| {name} |")]
    return line.split(" | ")[1]


class Page(unittest.TestCase):
    def setUp(self):
        self.stored = {name: result(figures) for name, figures in READ.items()}

    def test_figures_are_put_into_words(self):
        text = page.page(self.stored)
        for name, words in (
            ("Fuzzing", "2 targets, 2.0 million runs in 2:01 min, a corpus of 400 files"),
            ("Calls with any arguments", "2.0 million calls of 108 exports, 0 crashes"),
            ("Coverage", "100 % of the lines of kernels, 99.55 % of the lines of all else and "
                         "98.05 % of its branches"),
            ("Processes killed, 1000 in each manner", "1,000 busy and 1,000 paused; 8 files left "
             "behind, 2 after `q32tool leftovers --remove`"),
            ("Changes of the product that tests notice", "97 % of 100 changes noticed, 3 survived; "
             "3 make no difference, 1 do not compile; 104 of 520 tried in the time"),
            ("Failures made to happen", "144 of 146; the others: below"),
            ("Fresh clone, cold cache", "1:40 min: building win32 0:02 min, native-asan 0:01 min; "
             "tests 1:37 min (3 of 6 passed)"),
            ("Everything in turn and again", "10:01 min, 2,561 cycles, 1.1 billion pixels; the "
             "chart is below"),
        ):  # fmt: skip
            self.assertEqual(cell(text, name), words)
        self.assertIn("Row kernels 0.64 (3 jobs, 0.60 to 0.98)", text)
        self.assertIn("Q32BASE.DLL " + "a" * 64, text)

    def test_sections(self):
        text = page.page(self.stored)
        self.assertIn("\n" + samples.SOAK.splitlines()[3] + "\n", text)
        self.assertIn("@@ src/merge/run.cpp:40\n- if (a < b)\n+ if (a <= b)\n", text)
        self.assertIn("- 1001, 2, 61, 1 (merge: no_run_work_rows): Nothing comes to the end", text)

    def test_it_is_dated_and_names_commit_and_machine(self):
        text = page.page(self.stored)
        self.assertIn("Measured on 2 November 2026 at commit `aaaaaaaaaa`.\n", text)
        self.assertIn("Machine: A Processor, 2 cores, 7.8 GiB, Debian, wine-8.0, GCC 12.\n", text)
        for stored in self.stored.values():
            stored["changed"] = True
        self.assertIn("at commit `aaaaaaaaaa` with changes.\n", page.page(self.stored))

    def test_a_missing_step_is_not_measured(self):
        del self.stored["hostile"]
        text = page.page(self.stored)
        self.assertEqual(cell(text, "Calls with any arguments"), "not measured")
        self.assertIn("\n- Calls with any arguments\n", text)
        self.assertNotIn("\n- Fuzzing", text)

    def test_a_failed_step_says_so_and_why(self):
        self.stored["deaths"] = result({}, results.FAILED, "`deaths` ended with 3")
        self.assertEqual(cell(page.page(self.stored), "Processes killed, 1000 in each manner"),
                         "**failed**: `deaths` ended with 3")  # fmt: skip

    def test_a_failed_step_is_told_once_and_marks_all_its_figures(self):
        figures = {"counts": {"tests": 42}, "values": {}, "exports": [], "passed": 3, "of": 6,
                   "seconds": 60, "guarded": [1, 3]}  # fmt: skip
        self.stored["long"] = result(figures, results.FAILED, "3 of 6 tests failed: a, b, c")
        text = page.page(self.stored)
        self.assertEqual(cell(text, "Tests of the long round"),
                         "**failed**: 3 of 6 tests failed: a, b, c; 3 of 6 in 1:00 min")  # fmt: skip
        self.assertEqual(cell(text, "Tests run in the long round"), "42, in a step that failed")
        self.assertTrue(cell(text, "Exports called").startswith("not measured"))

    def test_what_no_test_told_is_not_measured(self):
        self.stored["times"] = result({"tests": 2, "counts": {}, "values": {"start time": [2.25, "ms"]}})
        text = page.page(self.stored)
        self.assertEqual(cell(text, "Start of the library, median"), "2.25 ms")
        name = "Time from cancel to return, longest"
        self.assertEqual(cell(text, name), "not measured: nothing told it")
        self.assertIn(f"\n- {name}: nothing told it\n", text)

    def test_what_was_not_run_says_why(self):
        self.stored["fuzz"] = result({}, results.NOT_MEASURED, "there is no ./run fuzz")
        text = page.page(self.stored)
        self.assertEqual(cell(text, "Fuzzing"), "not measured: there is no ./run fuzz")
        self.assertIn("\n- Fuzzing: there is no ./run fuzz\n", text)

    def test_figures_of_another_commit_day_or_machine_say_so(self):
        other = MACHINE | {"processor": "Another"}
        self.stored["fuzz"] = result(READ["fuzz"], commit="b" * 40, day=1)
        self.stored["hostile"] = result(READ["hostile"], machine=other, day=1)
        self.stored["coverage"] = result(READ["coverage"], changed=True, day=1)
        text = page.page(self.stored)
        self.assertIn("400 files (at `bbbbbbbbbb`, on 1 November 2026) |", text)
        self.assertIn("0 crashes (on 1 November 2026, with Another, wine-8.0) |", text)
        self.assertIn("branches (at `aaaaaaaaaa` with changes, on 1 November 2026) |", text)
        self.assertEqual(text.count("1 November"), 3)

    def test_a_count_without_a_place_gets_one(self):
        figures = {"counts": {"llamas fed": 1500000, "calls of buf32Alloc": 1, "kills, starts": 2},
                   "values": {}, "exports": ["buf32Alloc"], "passed": 6, "of": 6, "seconds": 60,
                   "guarded": [3, 3]}  # fmt: skip
        self.stored["long"] = result(figures)
        text = page.page(self.stored)
        self.assertEqual(cell(text, "Llamas fed"), "1.5 million")
        self.assertNotIn("| Calls of", text)
        self.assertNotIn("| Kills", text)

    def test_of_nothing(self):
        text = page.page({})
        self.assertIn("Nothing has been measured yet.", text)
        for row in rows.TABLE:
            self.assertEqual(cell(text, row.name), "not measured")

    def test_what_another_version_kept_is_no_figure(self):
        self.stored["hostile"] = result({"callers": 3})
        self.assertIn("not measured: kept by another",
                      cell(page.page(self.stored), "Calls with any arguments"))  # fmt: skip
