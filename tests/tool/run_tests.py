#!/usr/bin/env python3
"""Tests q32tool from outside: run_tests.py PROGRAM CONSOLE EMULATOR SCRATCH PART/PARTS [TEST...]

PROGRAM is run by EMULATOR, in folders below SCRATCH; CONSOLE is tool_console, which types into it.
PART/PARTS, such as 2/4, deals all tests out: 1/1 runs every one. TEST chooses tests as unittest
names them, such as pixels_test.Grey.
"""

import pathlib
import sys

from program_case import ProgramCase, run
from tool_case import Program


def main(program, console, emulator, scratch, part, *tests):
    program, console, emulator, scratch = (
        pathlib.Path(path).resolve() for path in (program, console, emulator, scratch)
    )
    Program.command = [str(emulator), str(program)]
    Program.console = str(console)
    ProgramCase.scratch = scratch
    return run(pathlib.Path(__file__).parent, tests, program, *map(int, part.split("/")))


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
