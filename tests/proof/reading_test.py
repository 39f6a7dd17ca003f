"""What is read from the output of the tools, and how numbers are written."""

import io
import unittest
from contextlib import redirect_stdout

from places import WORK, load_script

import samples
from proof import failures, numbers, readers, rows
from proof.readers import Output, Unreadable


def output(text, seconds=0.0):
    """A line for each second."""
    return Output(list(enumerate(text.splitlines())), seconds)


class Numbers(unittest.TestCase):
    def test_as_people_read_them(self):
        for count, text in ((0, "0"), (12345, "12,345"), (999999, "1.0 million"),
                            (949999, "949,999"), (24711000, "24.7 million"),
                            (24711000000, "24.7 billion"), (2.25, "2.25")):  # fmt: skip
            self.assertEqual(numbers.number(count), text)

    def test_minutes(self):
        self.assertEqual(numbers.minutes(545.4), "9:05 min")
        self.assertEqual(numbers.minutes(59.6), "1:00 min")

    def test_less_than_all_is_never_100_per_cent(self):
        self.assertEqual(numbers.per_cent(99999, 100000), "99.99 %")
        self.assertEqual(numbers.per_cent(3522, 3522), "100 %")
        self.assertEqual(numbers.per_cent(0, 0), "-")

    def test_words(self):
        self.assertEqual(numbers.counted(1, "file"), "1 file")
        self.assertEqual(numbers.counted(0, "crash", "crashes"), "0 crashes")
        self.assertEqual(numbers.listed(["a", "b", "c"]), "a, b and c")
        self.assertEqual(numbers.listed(["a"]), "a")
        self.assertEqual(numbers.day("2026-11-02T23:59:59+00:00"), "2 November 2026")


class Reading(unittest.TestCase):
    maxDiff = None

    def expect(self, reader, text, figures):
        """Figures, and no reader finds any where nothing was printed."""
        self.assertEqual(reader([output(text)]), figures)
        with self.assertRaises(Unreadable):
            reader([output("nothing that it knows")])

    def test_a_round(self):
        failed = ["patterns.guarded", "bars.guarded", "row_kernels.native"]
        self.assertEqual(readers.ctest(samples.TESTS), {"passed": 3, "of": 6, "failed": failed})
        self.assertEqual(readers.ending(samples.TESTS, ".guarded"), [1, 3])
        self.assertEqual(
            readers.why_failed(samples.TESTS), f"3 of 6 tests failed: {', '.join(failed)}"
        )
        self.assertIsNone(readers.why_failed(samples.GOOD_TESTS))
        self.assertIsNone(readers.why_failed("no summary"))

    def test_a_fresh_clone(self):
        read = readers.fresh([output(""), output(samples.TESTS, 100.0)])
        self.assertEqual(read["builds"], {"win32": 2, "native-asan": 1})
        self.assertEqual((read["tests"], read["all"], read["of"]), (97, 100, 6))
        with self.assertRaises(Unreadable):
            readers.fresh([output(samples.GOOD_TESTS)])

    def test_rounds_once_built(self):
        read = readers.rounds([output(samples.GOOD_TESTS, 40.0), output(samples.TESTS, 280.0)])
        self.assertEqual((read["short"]["seconds"], read["short"]["of"]), (40.0, 25))
        self.assertEqual((read["medium"]["seconds"], read["medium"]["passed"]), (280.0, 3))

    def test_the_long_round_and_its_figures(self):
        file = WORK / "figures.tsv"
        file.write_text(samples.FIGURES)
        read = readers.long_round([output(samples.TESTS, 1000.0)], file, ["buf32Alloc", "IsBufClean"])
        counts = {"tests": 42, "calls of buf32Alloc": 3000,
                  "pixels compared, wide against scalar": 24711000000}  # fmt: skip
        self.assertEqual(read["counts"], counts)
        self.assertEqual(read["values"], {"start time": [2.25, "ms"]})
        self.assertEqual(read["seconds"], 1000 - 3)
        self.assertEqual(rows.exports_called(read), "1 of 2, in 3,000 calls; never: IsBufClean")
        file.unlink()
        self.assertEqual(readers.told(file), {"counts": {}, "values": {}})
        file.write_text("count\ttests\n")
        with self.assertRaises(Unreadable):
            readers.told(file)

    def test_programs(self):
        read = readers.programs([output(""), output(samples.SOAK)], WORK / "nothing")
        self.assertEqual(read["tests"], 2)
        with self.assertRaises(Unreadable):
            readers.programs([output(""), output("[  FAILED  ] 1 test.")], WORK / "nothing")

    def test_deaths(self):
        self.expect(readers.deaths, samples.DEATHS,
                    {"kills": {"busy": 1000, "paused": 1000}, "left": 8, "remain": 2})  # fmt: skip

    def test_soak(self):
        chart = samples.SOAK.splitlines()[3:5]
        self.expect(readers.soak, samples.SOAK,
                    {"seconds": 600.982, "cycles": 2561, "pixels": 1091563928, "chart": chart})  # fmt: skip

    def test_checksums(self):
        one = output(samples.CHECKSUMS)
        figures = {"areas": 2, "pixels": 35779769, "sets": 2}
        self.assertEqual(readers.checksums([one, one]), figures)
        other = output(samples.CHECKSUMS.replace("B951", "B952"))
        for outputs in ([one, other], [one, output("")]):
            with self.assertRaises(Unreadable):
                readers.checksums(outputs)

    def test_coverage(self):
        self.expect(readers.coverage, samples.COVERAGE,
                    {"kernel lines": [3522, 3522], "driver lines": [5636, 5661],
                     "driver branches": [3130, 3192]})  # fmt: skip

    def test_mutation(self):
        survivor = ("src/merge/run.cpp:40", "if (a < b)", "if (a <= b)")
        self.expect(readers.mutation, samples.MUTATION,
                    {"killed": 97, "survived": 3, "equivalent": 3, "broken": 1, "wanted": 520,
                     "seed": 2026, "survivors": [survivor]})  # fmt: skip

    def test_fuzzing(self):
        self.expect(readers.fuzzing, samples.FUZZING,
                    {"targets": 2, "executions": 2000000, "seconds": 121, "corpus": 400})  # fmt: skip

    def test_hostile_calls(self):
        self.expect(readers.hostile, samples.HOSTILE,
                    {"calls": 2000000, "exports": 108, "seed": 20240517, "crashes": 0})  # fmt: skip

    def test_speed(self):
        self.expect(readers.speed, samples.BENCH,
                    {"Row kernels": {"median": 0.64, "least": 0.6, "most": 0.98, "jobs": 3},
                     "Resampling": {"median": 0.04, "least": 0.04, "most": 0.04, "jobs": 1}})  # fmt: skip

    def test_the_library(self):
        read = readers.library([output(""), output("1114624 Q32BASE.DLL"), output(samples.TABLES)])
        imports = {"GDI32.dll": 2, "q32comm.dll": 1}
        self.assertEqual(read, {"bytes": 1114624, "exports": 3, "imports": imports})

    def test_a_rebuild(self):
        self.expect(readers.rebuild, samples.DIGESTS,
                    {"Q32BASE.DLL": "a" * 64, "q32comm.dll": "b" * 64})  # fmt: skip
        head, _, tail = samples.DIGESTS.rpartition("b" * 64)
        with self.assertRaisesRegex(Unreadable, "q32comm.dll differs"):
            readers.rebuild([output(head + "c" * 64 + tail)])
        with self.assertRaisesRegex(Unreadable, "not two digests"):
            readers.rebuild([output(samples.DIGESTS.rpartition("\n")[0])])

    def test_failures_and_their_reasons(self):
        reasons = failures.reasons_of(samples.REASONS)
        self.assertEqual(list(reasons.values()), [
            "Nothing comes to the end of this: the system always has a row.",
            "Because of this.", "Because of this."])  # fmt: skip
        read = failures.judge(samples.FAILURES, reasons)
        self.assertEqual((read["provoked"], read["of"]), (144, 146))
        self.assertEqual(read["never"][1], ["1001, 2, 61, 59",
                         "merge: no_copy_multiply; merge: no_copy_relief", "Because of this."])  # fmt: skip
        self.assertEqual(read["problems"], ["listed, but provoked: 3200, 0, 1, 1"])
        read = failures.judge(samples.FAILURES, {})
        self.assertEqual(len(read["problems"]), 2)
        self.assertIn("no test provokes 1001, 2, 61, 1 (merge: no_run", read["problems"][0])


class OurOwnTools(unittest.TestCase):
    """What they print now is what is read."""

    def printed(self, function, *arguments):
        with redirect_stdout(io.StringIO()) as stdout:
            function(*arguments)
        return [output(stdout.getvalue())]

    def test_mutate(self):
        mutate = load_script("mutate")
        change = mutate.changes.changes_of("src/merge/run.cpp", "int f() { return a < b; }\n")[0]
        run = mutate.Run(set(), None)

        def try_three():
            print("520 changes, seed 2026")
            for fate in ("killed", "killed", "survived"):
                run.add(change, fate, "", 3)
            run.summarise()

        read = readers.mutation(self.printed(try_three))
        self.assertEqual((read["killed"], read["survived"], read["broken"]), (2, 1, 0))
        self.assertEqual(read["survivors"], [(change.place, change.before, change.after)])

    def test_coverage(self):
        coverage = load_script("coverage")
        line = (1, {("f", 2): [1, 0]})
        files = {"src/merge/run.cpp": {1: line, 2: (0, {})}, "src/merge/kernels/blend.cpp": {1: line}}
        read = readers.coverage(self.printed(coverage.print_table, files))
        self.assertEqual(read, {"kernel lines": [1, 1], "driver lines": [1, 2],
                                "driver branches": [1, 2]})  # fmt: skip

    def test_failure_rows(self):
        script = load_script("failure_rows")
        file = WORK / "reports.tsv"
        file.write_text("report\t1001\t2\t61\t1\n")
        text = self.printed(script.main, [file])[0].text
        read = failures.judge(text, {})
        self.assertEqual(read["provoked"], 1)
        self.assertEqual(len(read["never"]), read["of"] - 1)
        self.assertGreater(read["of"], 100)
