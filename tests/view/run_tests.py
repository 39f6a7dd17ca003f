#!/usr/bin/env python3
"""Tests q32view from outside: run_tests.py VIEWER DRIVER TOOL EMULATOR SCRATCH DEPTH [TEST...]

VIEWER is q32view, which runs on a display of DEPTH bits in folders below SCRATCH; DRIVER is
view_driver, which uses it from another process; TOOL is q32tool, which scales pictures to compare
with. EMULATOR runs all three. TEST chooses tests as unittest names them, such as
scrolling_test.Seams; without it all are run, on displays of 8 and 16 bits those of what is seen.

With Q32VIEW_STORE set in the environment, views that are compared with stored pictures are stored
instead: look at them before they are committed.
"""

import pathlib
import sys

sys.path.append(str(pathlib.Path(__file__).resolve().parent.parent / "tool"))

from program_case import ProgramCase, run  # noqa: E402
from view_case import Viewer  # noqa: E402

# What is shown, which depends on the display; all else is the same on every one.
SEEN = [
    "colours_test",
    "laboratories_test",
    "scaling_test",
    "scrolling_test",
    "stored_views_test",
    "transparency_test",
    "turning_test",
]


def main(viewer, driver, tool, emulator, scratch, depth, *tests):
    viewer, driver, tool, emulator, scratch = (
        str(pathlib.Path(path).resolve()) for path in (viewer, driver, tool, emulator, scratch)
    )
    Viewer.program = [emulator, viewer]
    Viewer.driver = [emulator, driver]
    Viewer.tool = [emulator, tool]
    ProgramCase.scratch = pathlib.Path(scratch)
    Viewer.depth = int(depth)
    modules = None if Viewer.depth == 24 else SEEN
    return run(pathlib.Path(__file__).parent, tests, viewer, modules=modules)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
