#!/usr/bin/env python3
"""Files of figures, the short table, comparisons and the page made of them: figures_test.py SOURCE_DIR"""

import pathlib
import sys
import unittest
import xml.etree.ElementTree

sys.path.insert(0, str(pathlib.Path(sys.argv.pop(1)) / "scripts"))

from bench import compare, drawing, figures, levels, measuring, page, table  # noqa: E402
from bench.figures import Job, Times  # noqa: E402
from bench.works import WORKS, Work  # noqa: E402
from both_editions import figures_of, rows_of  # noqa: E402

HEAD = """\
machine\tprocessor\tA Processor
machine\tcores\t2
machine\tcaches\tL1 48K, L2 2048K
date\t2026-11-03T12:00:00+00:00
commit\taaaaaaaaaaaaaaaa\t
version\tOpenCV\t4.6.0
level\tavx512
"""
PASS = """\
time\trows_peers\tfill\t100\tmemcpy\tmemcpy\t\tns/pixel\t1 1
time\trows_peers\tfill\t100\tours\tsse41\t\tns/pixel\t2 2.2
time\trows_peers\tfill\t100\tours\tavx512\t\tns/pixel\t1 1.1
time\trows_peers\tfill\t100\tpeer\tOpenCV setTo\t\tns/pixel\t4 4.4
time\trows_peers\tfill\t100\tpeer\tanother, wide\tother bytes\tns/pixel\t5 5
"""
OTHERS = """\
time\tqueues_bench\tmessage\t0\tours\tavx2\t\tns\t450
time\tqueues_bench\tmessage\t0\tours\tavx512\t\tns\t400
time\tqueues_bench\tmessage\t0\tmemcpy\tits allocations\t\tns\t300
time\tmerge_exports_bench\tmerge\t0\tours\tavx2\t\tns/pixel\t0.4
time\tmerge_exports_bench\tmerge\t0\tbeside\tplain memory\tavx2\tns/pixel\t0.2
time\tmerge_exports_bench\tmerge\t0\tours\tavx512\t\tns/pixel\t0.3
time\tmerge_exports_bench\tmerge\t0\tbeside\tplain memory\tavx512\tns/pixel\t0.1
time\trectangles_bench\tread\t0\tours\tavx512\t\tns/pixel\t0.6
time\trectangles_bench\tread\t0\tours\tavx2\t\tns/pixel\t0.75
time\tbuffers_peers\tread\t9\tpeer\tGEGL buffer\tanother process\tns/pixel\t0.5
others\t1.25
"""
ROWS = [
    Work("Rows", "fill", "cache", "rows_peers", "fill", 100),
    Work("Rows", "not there", "cache", "rows_peers", "nothing", 100),
    Work("Calls", "read", "memory", "rectangles_bench", "read", 0, ("buffers_peers", "read", 9)),
    Work("Calls", "message", "cache", "queues_bench", "message", 0),
    Work("Calls", "merge", "cache", "merge_exports_bench", "merge", 0),
]
TABLE = """\
Other work took 1.2 of the processors meanwhile: what is near 1 or spread says little.

Rows                                            AVX2  AVX-512     peer  AVX2/peer  best/peer   limit  spread  best peer
  fill                                         2.100    1.050    4.200       0.50       0.25   1.000     0 %  OpenCV 4.6.0 setTo

Calls                                           AVX2  AVX-512     peer  AVX2/peer  best/peer   limit  spread  best peer
  read, memory                                 0.750    0.600    0.500       1.50       1.20             0 %  GEGL buffer +
  message (ns)                                 450.0    400.0                                  300.0     0 %  [its allocations]
  merge                                        0.400    0.300                2.00       3.00   0.100     0 %  [plain memory]

AVX2: 2 rows with a peer, 1.00 of its time in the middle, 1 where it is ahead
    1.50  calls: read, memory
AVX-512: 2 rows with a peer, 0.72 of its time in the middle, 1 where it is ahead
    1.20  calls: read, memory
"""
UNDER_WINE = """\
Queues, the least of many samples

AddQueue and GetFromQueue of 64 bytes      450.000 ns            1.50 x its allocations
   the same, for each call                 333.500 ns
   the same, for each call                 444.500 ns
"""


def file_of(*times, head=HEAD):
    """Figures with one job, "work", of these (kind, name, samples)."""
    return figures.read(head + "".join(
        figures.time_line(Job("rows_peers", "work", 7), Times(kind, name, "", "ns/pixel", samples))
        for kind, name, samples in times))  # fmt: skip


class Reading(unittest.TestCase):
    def test_a_file(self):
        read = figures.read(HEAD + PASS + OTHERS)
        self.assertEqual(read.machine, {"processor": "A Processor", "cores": "2",
                                        "caches": "L1 48K, L2 2048K"})  # fmt: skip
        self.assertEqual((read.date, read.commit, read.changed, read.level, read.others),
                         ("2026-11-03T12:00:00+00:00", "a" * 16, False, "avx512", 1.25))  # fmt: skip
        self.assertEqual(read.versions, {"OpenCV": "4.6.0"})
        self.assertEqual(list(read.jobs), [Job("rows_peers", "fill", 100), Job("queues_bench", "message", 0),
                                           Job("merge_exports_bench", "merge", 0),
                                           Job("rectangles_bench", "read", 0),
                                           Job("buffers_peers", "read", 9)])  # fmt: skip
        self.assertEqual(read.of(Job("rows_peers", "fill", 100), "ours"),
                         [Times("ours", "sse41", "", "ns/pixel", [2.0, 2.2]),
                          Times("ours", "avx512", "", "ns/pixel", [1.0, 1.1])])  # fmt: skip

    def test_a_later_pass_adds_samples(self):
        read = figures.read(HEAD + PASS + PASS)
        (memcpy,) = read.of(Job("rows_peers", "fill", 100), "memcpy")
        self.assertEqual(memcpy.samples, [1, 1, 1, 1])

    def test_a_tree_with_changes(self):
        self.assertTrue(figures.read("commit\taaaa\tchanged\n").changed)

    def test_lines_that_are_none(self):
        for line in ("nonsense", "time\trows\tfill", "version\tOpenCV", "level",
                     PASS.replace("\t100\t", "\tmany\t"), PASS.replace("2.2", "x")):  # fmt: skip
            with self.assertRaises(figures.Unreadable, msg=line):
                figures.read(line)

    def test_what_is_written_is_read(self):
        job, times = Job("p", "a job, 2:1", 7), Times("peer", "Qt x", "other bytes", "us", [0.5, 12.25])
        self.assertEqual(figures.time_line(job, times),
                         "time\tp\ta job, 2:1\t7\tpeer\tQt x\tother bytes\tus\t0.5 12.25\n")
        head = "".join(figures.head_lines({"cores": 2}, "today", "bbbb", True))
        self.assertEqual(head, "machine\tcores\t2\ndate\ttoday\ncommit\tbbbb\tchanged\n")
        self.assertEqual(figures.read(head + figures.time_line(job, times)).jobs, {job: [times]})

    def test_spread(self):
        self.assertEqual(figures.spread([3.0]), 0)
        self.assertEqual(figures.spread([2.0, 1.0]), 1 / 1.5)
        self.assertEqual(figures.spread([4.0, 1.0, 2.0, 3.0, 100.0]), 2 / 3)  # one that stands out does not count


class UnderWine(unittest.TestCase):
    def test_lines_of_a_program(self):
        self.assertEqual(list(measuring.lines_of("queues_bench", "avx2", UNDER_WINE)), [
            "time\tqueues_bench\tAddQueue and GetFromQueue of 64 bytes\t0\tours\tavx2\t\tns\t450\n",
            "time\tqueues_bench\tAddQueue and GetFromQueue of 64 bytes\t0\tmemcpy\tits allocations\t\tns\t300\n",
            "time\tqueues_bench\tthe same, for each call\t0\tours\tavx2\t\tns\t333.5\n",
        ])  # fmt: skip

    def test_lines_beside_work_of_ours(self):
        self.assertEqual(list(measuring.lines_of("merge_bench", "avx2", "merge  3.000 ns/pixel  1.50 x plain memory\n")), [
            "time\tmerge_bench\tmerge\t0\tours\tavx2\t\tns/pixel\t3\n",
            "time\tmerge_bench\tmerge\t0\tbeside\tplain memory\tavx2\tns/pixel\t2\n",
        ])  # fmt: skip

    def test_lines_of_both_editions(self):
        rounds = {"win32": [rows_of("title\nfill 1.500 ns/pixel 3.00 x memcpy\ncall 5.000 ns\ncall 8.000 ns\n"),
                            rows_of("title\nfill 1.600 ns/pixel 2.00 x memcpy\ncall 6.000 ns\ncall 9.000 ns\n")],
                  "win64": [rows_of("small\nfill 1.400 ns/pixel\nlarge\nfill 2.800 ns/pixel\ncall 1.000 ns\n"),
                            rows_of("small\nfill 1.500 ns/pixel\nlarge\nfill 2.900 ns/pixel\n")]}  # fmt: skip
        self.assertEqual("".join(figures_of("rows", rounds)),
                         "time\trows_bench\tfill\t0\tours\twin32\t\tns/pixel\t1.5 1.6\n"
                         "time\trows_bench\tfill\t0\tmemcpy\tmemcpy, win32\t\tns/pixel\t0.5 0.8\n"
                         "time\trows_bench\tcall\t0\tours\twin32\t\tns\t5 6\n"
                         "time\trows_bench\tcall #2\t0\tours\twin32\t\tns\t8 9\n"
                         "time\trows_bench\tfill [small]\t0\tours\twin64\t\tns/pixel\t1.4 1.5\n"
                         "time\trows_bench\tfill [large]\t0\tours\twin64\t\tns/pixel\t2.8 2.9\n")  # fmt: skip


class Table(unittest.TestCase):
    def test_all_of_it(self):
        lines = list(table.table(figures.read(HEAD + PASS + OTHERS), ROWS))
        self.assertEqual("\n".join(lines[4:]) + "\n", TABLE)

    def test_avx2_runs_the_form_below_where_it_has_none(self):
        read = figures.read(HEAD + PASS)
        ours = read.of(Job("rows_peers", "fill", 100), "ours")
        self.assertEqual(table.form_at(ours, "avx2").name, "sse41")
        self.assertEqual(table.form_at(ours, "avx512").name, "avx512")
        self.assertIsNone(table.form_at(ours, "sse2"))

    def test_a_machine_without_avx2_has_no_such_column(self):
        read = figures.read((HEAD + PASS).replace("level\tavx512", "level\tsse41"))
        (line,) = table.lines_of(read, ROWS)
        self.assertEqual((line.avx2, line.avx2_ratio, line.best, line.best_ratio), (None, None, 2.1, 0.5))
        self.assertIn("SSE4.1: 1 rows", "\n".join(table.table(read, ROWS)))

    def test_remarks_on_the_run(self):
        read = figures.read(HEAD)
        self.assertEqual(list(table.remark(read)),
                         ["The run did not come to its end: some rows may have fewer samples."])  # fmt: skip
        read.others = 0.1
        self.assertEqual(list(table.remark(read)), [])

    def test_ratios_are_of_rounds(self):
        read = file_of(("ours", "avx2", [1.0, 10.0, 2.0]), ("peer", "OpenCV", [2.0, 20.0, 5.0]))
        (line,) = table.lines_of(read, [Work("", "", "cache", "rows_peers", "work", 7)])
        self.assertEqual((line.avx2, line.peer, line.avx2_ratio), (2.0, 5.0, 0.5))
        self.assertAlmostEqual(line.spread, 0.1 / 0.5)

    def test_names_with_versions(self):
        versions = {"zimg": "3.0.4", "memset": "of glibc 2.36"}
        for name, words in (("zimg, three planes", "zimg 3.0.4, three planes"),
                            ("memset", "memset of glibc 2.36"), ("numpy", "numpy")):  # fmt: skip
            self.assertEqual(table.named(Times("peer", name, "", "", []), versions), words)

    def test_rows_are_told_apart(self):
        self.assertEqual(len({work[:3] for work in WORKS}), len(WORKS))
        self.assertEqual(len({work[3:6] for work in WORKS}), len(WORKS))


class Compare(unittest.TestCase):
    def verdict(self, old, new, control=((1.0, 1.0, 1.0), (1.0, 1.0, 1.0))):
        files = [file_of(("ours", "avx2", list(ours)), ("memcpy", "memcpy", list(others)))
                 for ours, others in zip((old, new), control)]  # fmt: skip
        (change,) = compare.changes(*files)
        return change.verdict

    def test_verdicts(self):
        quiet = (1.0, 1.01, 0.99)
        self.assertEqual(self.verdict(quiet, (0.9, 0.91, 0.89)), "faster")
        self.assertEqual(self.verdict(quiet, (1.1, 1.11, 1.09)), "slower")
        self.assertEqual(self.verdict(quiet, (1.02, 1.01, 1.03)), "the same")
        self.assertEqual(self.verdict((1.0, 1.2, 0.9), (1.1, 0.95, 1.3)), "too noisy")
        self.assertEqual(self.verdict((1.0, 1.2, 0.9), (2.1, 1.9, 2.4)), "slower")  # beyond its noise

    def test_a_machine_that_became_slower_is_no_change_of_ours(self):
        quiet, slow = (1.0, 1.01, 0.99), (1.2, 1.21, 1.19)
        self.assertEqual(self.verdict(quiet, slow, ((1.0, 1.0, 1.0), (1.2, 1.2, 1.2))), "the same")
        self.assertEqual(self.verdict(quiet, quiet, ((1.0, 1.0, 1.0), (1.2, 1.2, 1.2))), "the same")

    def test_work_of_ours_is_no_control(self):
        files = [file_of(("ours", "avx2", list(samples)), ("beside", "plain memory", list(samples)))
                 for samples in ((1.0, 1.01, 0.99), (1.2, 1.21, 1.19))]  # fmt: skip
        (change,) = compare.changes(*files)
        self.assertEqual((change.corrected, change.verdict), (change.change, "slower"))

    def test_the_report(self):
        old = file_of(("ours", "avx2", [1.0]), ("ours", "avx512", [0.5]), ("peer", "OpenCV", [2.0]))
        new = file_of(("ours", "avx2", [1.0]), ("ours", "avx512", [0.25]), ("peer", "OpenCV", [2.0]),
                      head=HEAD.replace("A Processor", "Another").replace("\t\n", "\tchanged\n"))  # fmt: skip
        self.assertEqual("\n".join(compare.report(old, new)), """\
old: 2026-11-03T12:00:00+00:00, aaaaaaaaaa, A Processor
new: 2026-11-03T12:00:00+00:00, aaaaaaaaaa with changes, Another
These are two machines: what is said of them is not of the code alone.

                                                                old      new  new/old  corrected   noise  verdict
work, 7 pixels, AVX2                                          1.000    1.000     1.00       1.00     3 %  the same
work, 7 pixels, AVX-512                                       0.500    0.250     0.50       0.50     3 %  faster

2 rows: 1 faster, 0 slower, 1 the same, 0 too noisy""")

    def test_jobs_of_one_file_are_counted(self):
        lines = list(compare.report(figures.read(HEAD + PASS), figures.read(HEAD + OTHERS)))
        self.assertEqual(lines[-2:], ["0 rows: 0 faster, 0 slower, 0 the same, 0 too noisy",
                                      "1 jobs are in the old file only, 3 in the new one"])  # fmt: skip


LEVELS = """\
time\trows_bench\tfill_1 sse2 512x512\t0\tours\twin32\t\tns/pixel\t2 2
time\trows_bench\tfill_1 sse2 512x512\t0\tours\twin64\t\tns/pixel\t2 2
time\trows_bench\tfill_1 avx2 512x512\t0\tours\twin32\t\tns/pixel\t3 3
time\trows_bench\tfill_1 avx2 512x512\t0\tours\twin64\t\tns/pixel\t2 3
time\trows_bench\tfill_1 scalar 37x37\t0\tours\twin32\t\tns/pixel\t1 1
time\trows_bench\ta call\t0\tours\twin32\t\tns\t5 5
"""


class Levels(unittest.TestCase):
    def test_levels_of_one_job_and_of_several(self):
        found = levels.ladders(figures.read(HEAD + PASS + LEVELS))
        self.assertEqual([ladder[:2] for ladder in found],
                         [("rows_peers", "fill 100 pixels"), ("rows_bench", "fill_1 512x512 win32"),
                          ("rows_bench", "fill_1 512x512 win64")])  # fmt: skip
        self.assertEqual(found[1].samples, {"sse2": [2, 2], "avx2": [3, 3]})

    def test_slower_is_what_is_slower_in_every_round(self):
        self.assertEqual(list(levels.report(figures.read(HEAD + PASS + LEVELS))), [
            "rows_bench: fill_1 512x512 win32                                    SSE2    2.0000"
            "     AVX2    3.0000   1.50",
            "3 steps from a level to the next, 1 slower by 1.05 in every round"])  # fmt: skip


GROWTH = """\
time\tgrowth_bench\tmerge, buffers, 32 x 32\t0\tours\twin64\t\tns/pixel\t8
time\tgrowth_bench\tmerge, buffers, 32 x 32\t0\tmemcpy\tmemcpy\t\tns/pixel\t0.1
time\tgrowth_bench\tmerge, buffers, 512 x 512\t0\tours\twin64\t\tns/pixel\t0.25
time\tgrowth_bench\tmerge, buffers, 512 x 512\t0\tmemcpy\tmemcpy\t\tns/pixel\t0.2
time\tgrowth_bench\tmerge, buffers, 4000 x 3000\t0\tours\twin64\t\tns/pixel\t1.5
time\tgrowth_bench\tmerge, buffers, 4000 x 3000\t0\tmemcpy\tmemcpy\t\tns/pixel\t1
"""


class Page(unittest.TestCase):
    def test_growth(self):
        ours, memory = page.series_of(figures.read(HEAD + GROWTH), "merge")
        self.assertEqual(ours, {"buffers": [(1024, 8.0), (262144, 0.25), (12000000, 1.5)]})
        self.assertEqual(memory, [(1024, 0.1), (262144, 0.2), (12000000, 1.0)])
        self.assertEqual(page.growth_words(ours, memory),
                         "From 512 x 512 on: buffers 0.25 to 1.50 ns; memcpy 0.20 to 1.00 ns.")
        self.assertEqual(page.series_of(figures.read(HEAD + GROWTH), "scale"), ({}, []))

    def test_edges_of_caches(self):
        read = figures.read(HEAD)
        self.assertEqual(list(page.edges_of(read, 8)), [(6144, "L1 full"), (262144, "L2 full")])

    def test_text(self):
        read = figures.read(HEAD + OTHERS)
        read.others = None
        self.assertIn("The run did not come to its end: these figures are provisional.", page.told_of_run(read))
        read.others = 0.1
        self.assertEqual(page.told_of_run(read), "3 November 2026, commit `aaaaaaaaaa`, on: A Processor, 2 cores, "
                                                 "L1 48K, L2 2048K.")  # fmt: skip
        read.others = 1.25
        self.assertIn("Other work took 1.2 of its processors meanwhile: these figures are provisional.",
                      page.told_of_run(read))  # fmt: skip

    def test_table_and_words(self):
        lines = table.lines_of(figures.read(HEAD + PASS + OTHERS), ROWS)
        self.assertEqual(list(page.table(lines, "AVX-512"))[3:4] + list(page.table(lines, "AVX-512"))[-2:], [
            "| fill | cache | 2.100 | 1.050 | 4.200 | 0.50 | 0.25 | 1.000 | 0 % | OpenCV 4.6.0 setTo |",
            "| message (ns) | cache | 450.0 | 400.0 |  |  |  | 300.0 (its allocations) | 0 % |  |",
            "| merge | cache | 0.400 | 0.300 |  | 2.00 | 3.00 | 0.100 (plain memory) | 0 % |  |",
        ])  # fmt: skip
        self.assertEqual(list(page.standing(lines, "AVX-512")), [
            "At AVX2 ours takes 1.00 of the best peer's time in the middle of 2 rows, and a peer is ahead in 1: "
            "read, memory 1.50.", "",
            "At AVX-512 ours takes 0.72 of the best peer's time in the middle of 2 rows, and a peer is ahead in 1: "
            "read, memory 1.20.", ""])  # fmt: skip

    def test_all_of_it_and_its_pictures(self):
        job = WORKS[0]
        rows = PASS.replace("\tfill\t100\t", f"\t{job.job}\t{job.pixels}\t")
        text, pictures = page.page(figures.read(HEAD + rows), figures.read(HEAD + GROWTH))
        self.assertEqual(sorted(pictures), ["growth-merge.svg", "speed.svg"])
        for name, svg in pictures.items():
            self.assertIn(f"(images/{name})", text)
            self.assertIn("prefers-color-scheme: dark", svg)
            xml.etree.ElementTree.fromstring(svg)
        self.assertIn("### Scaling\n\nNot measured.", text)
        self.assertIn(f"| {job.title} | cache | 2.100 |", text)


class Drawing(unittest.TestCase):
    def test_ticks(self):
        self.assertEqual(drawing.ticks(0.3, 4), [0.2, 0.5, 1, 2, 5])
        self.assertEqual(drawing.ticks(1, 10), [1, 2, 5, 10])

    def test_a_bar_is_as_long_as_the_ratio_and_is_cut(self):
        unit = (drawing.PANEL - 40) / drawing.MOST
        for ratio, length in ((0.5, unit / 2), (7.25, 1.5 * unit)):
            svg = drawing.bars([("Group", [("a <b>", {"cache": (ratio, None)})])], "AVX2", "AVX2", "Title")
            self.assertIn(f'width="{length:.1f}" height="15.0" class="bar a"'.split(" class")[0], svg)
            self.assertIn(f">{ratio:.2f}</text>", svg)
            self.assertIn("a &lt;b&gt;", svg)


if __name__ == "__main__":
    unittest.main()
