#!/usr/bin/env python3
"""Tests q32tool from outside: run_tests.py PROGRAM CONSOLE EMULATOR SCRATCH [TEST...]

PROGRAM is run by EMULATOR, in folders below SCRATCH; CONSOLE is tool_console, which types into it.
TEST chooses tests as unittest names them, such as pixels_test.Grey; without it all are run.
"""

import pathlib
import sys
import unittest

from tool_case import Program

MODULES = [
    "command_line_test",
    "pixels_test",
    "rectangles_test",
    "fills_test",
    "scale_test",
    "whole_factors_test",
    "stream_test",
    "compose_test",
    "filter_test",
    "colorspace_test",
    "separate_test",
    "show_test",
    "bars_test",
    "rows_test",
    "bitmap_test",
    "jobs_test",
    "reading_test",
    "storage_test",
    "refusals_test",
    "cancel_test",
]


def main(program, console, emulator, scratch, *tests):
    program, console, emulator, scratch = (
        pathlib.Path(path).resolve() for path in (program, console, emulator, scratch)
    )
    Program.command = [str(emulator), str(program)]
    Program.console = str(console)
    Program.scratch = scratch
    suite = unittest.defaultTestLoader.loadTestsFromNames(tests or MODULES)
    result = unittest.TextTestRunner(verbosity=2).run(suite)
    return 0 if result.wasSuccessful() and result.testsRun and not result.skipped else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
