#!/usr/bin/env python3
"""The table of both editions: tables_test.py SOURCE_DIR"""

import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(sys.argv.pop(1)) / "scripts"))

from both_editions import Row, rows_of, table  # noqa: E402

KERNELS = """\
kernel           level         pixels      GB/s  ns/pixel x memcpy
fill_1           sse2        512x512      57.50    0.0174     1.68
normal           sse2           7        1.5000     1.47
"""
EXPORTS = """\
Rectangles, 4000 x 3000, 24 bits; the least of
many samples

16 x 16 rows out                         1.303 ns/pixel       3.01 x plain memory
   the same, for each call             333.500 ns
16 x 16 rows into                        1.954 ns/pixel       4.31 x memcpy
   the same, for each call             500.250 ns
a step                                  12.000 ns beside its callback   2.00 x the callback
"""


def rounds(*times):
    """Runs with the one row "fill" that take these times."""
    return [rows_of(f"fill {time:.3f} ns/pixel\n") for time in times]


class Reading(unittest.TestCase):
    def test_columns(self):
        self.assertEqual(rows_of(KERNELS), {
            ("", "fill_1 sse2 512x512", 0): Row(0.0174, "ns/pixel", 1.68, "memcpy"),
            ("", "normal sse2 7", 0): Row(1.5, "ns/pixel", 1.47, "memcpy"),
        })  # fmt: skip

    def test_sentences_and_text(self):
        title = "many samples"
        self.assertEqual(rows_of(EXPORTS), {
            ("Rectangles, 4000 x 3000, 24 bits; the least of", "", 0): None,
            (title, "", 0): None,
            (title, "16 x 16 rows out", 0): Row(1.303, "ns/pixel", 3.01, "plain memory"),
            (title, "the same, for each call", 0): Row(333.5, "ns", None, ""),
            (title, "16 x 16 rows into", 0): Row(1.954, "ns/pixel", 4.31, "memcpy"),
            (title, "the same, for each call", 1): Row(500.25, "ns", None, ""),
            (title, "a step", 0): Row(12.0, "ns beside its callback", 2.0, "the callback"),
        })  # fmt: skip


class Table(unittest.TestCase):
    def lines(self, narrow, wide):
        return [line.split() for line in table("name", {"win32": narrow, "win64": wide})]

    def test_medians_and_the_median_of_ratios(self):
        lines = self.lines(rounds(1, 2, 4), rounds(3, 2, 4.4))
        self.assertEqual(lines[1], ["fill", "2.0000", "3.0000", "1.10", "ns/pixel"])

    def test_slower_in_every_round_is_marked(self):
        lines = self.lines(rounds(1, 2, 3), rounds(1.2, 2.4, 3.6))
        self.assertEqual(lines[1][3:], ["1.20", "!ns/pixel"])
        self.assertEqual(" ".join(lines[2]),
                         "name: 1 rows, 64/32 in the middle 1.20, at worst 1.20 (fill), 1 marked")

    def test_slower_in_some_rounds_is_not(self):
        lines = self.lines(rounds(1, 2, 3), rounds(1.2, 2.4, 3))
        self.assertEqual(lines[1][3:], ["1.20", "ns/pixel"])

    def test_rows_of_one_edition_are_told(self):
        lines = self.lines(rounds(1, 1), [{}, {}])
        self.assertEqual(lines[1], ["fill", "1.0000", "none", "-", "ns/pixel"])
        self.assertEqual(" ".join(lines[2]), "name: 0 rows; 1 that not every run has")

    def test_rows_of_some_rounds_are_told(self):
        lines = self.lines([*rounds(1), {}], [*rounds(1), {}])
        self.assertEqual(lines[1], ["fill", "not", "in", "every", "round"])


if __name__ == "__main__":
    unittest.main()
