#!/usr/bin/env python3
"""Tests the flight recorder: run_tests.py PROGRAM BIN EMULATOR SCRATCH [TEST...]

PROGRAM is recorder_program, BIN the folder with both builds of q32comm.dll and with q32tool.
"""

import pathlib
import sys

from recorder_case import ProgramCase, RecorderCase, run


def main(program, folder, emulator, scratch, *tests):
    RecorderCase.program, RecorderCase.bin, RecorderCase.emulator, ProgramCase.scratch = (
        pathlib.Path(path).resolve() for path in (program, folder, emulator, scratch)
    )
    return run(pathlib.Path(__file__).parent, tests, RecorderCase.program)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
