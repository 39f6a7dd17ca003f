#!/usr/bin/env python3
"""Measures how fast the library is, and says what became of it:

    bench.py                    the short table, in under three minutes: ours beside the best of others
    bench.py full               all tables, in a quarter of an hour
    bench.py growth             what a pixel costs in pictures of all sizes
    bench.py compare OLD NEW    what is faster and what is slower in the second of two files
    bench.py levels [FILE]      where a full run had an instruction set slower than the one below it
    bench.py table [FILE]       the short table of a file
    bench.py page               docs/performance.md and its pictures, of the last run and the last growth

The first three leave a file of figures in build/bench, whose name they print at last.
"""

import argparse
import pathlib
import subprocess
import sys
import time

sys.dont_write_bytecode = True
from bench import compare, figures, levels, measuring, page, table  # noqa: E402

ROOT = pathlib.Path(__file__).resolve().parent.parent


def arguments():
    parser = argparse.ArgumentParser(prog="./run bench", description=__doc__.split(":\n\n")[0])
    verbs = parser.add_subparsers(dest="verb")
    for name in ("full", "growth", "page"):
        verbs.add_parser(name)
    both = verbs.add_parser("compare")
    both.add_argument("old", type=pathlib.Path)
    both.add_argument("new", type=pathlib.Path)
    for name in ("levels", "table"):
        verbs.add_parser(name).add_argument("file", type=pathlib.Path, nargs="?")
    return parser.parse_args()


def measured(path, start):
    minutes, seconds = divmod(round(time.monotonic() - start), 60)
    print(f"\nMeasured in {minutes}:{seconds:02} minutes: {path.relative_to(ROOT)}")


def needed(kind):
    path = measuring.newest(ROOT, kind)
    if path is None:
        raise measuring.Failed(f"build/bench has no {kind} run")
    return path


def measure(verb):
    start = time.monotonic()
    try:
        if verb == "full":
            path = measuring.measure_everything(ROOT)
        elif verb == "growth":
            path = measuring.measure_growth(ROOT)
        else:
            path = measuring.measure(ROOT)
            print(*table.table(figures.read_file(path)), sep="\n")
    finally:
        subprocess.run([ROOT / "scripts/wine-run", "--stop"], check=False)
    measured(path, start)


def run(chosen):
    if chosen.verb == "compare":
        print(*compare.report(*map(figures.read_file, (chosen.old, chosen.new))), sep="\n")
    elif chosen.verb == "levels":
        print(*levels.report(figures.read_file(chosen.file or needed("full"))), sep="\n")
    elif chosen.verb == "table":
        print(*table.table(figures.read_file(chosen.file or needed("short"))), sep="\n")
    elif chosen.verb == "page":
        files = [figures.read_file(needed(kind)) for kind in ("short", "growth")]
        print("Written:", *page.write(ROOT, *files))
    else:
        measure(chosen.verb)


def main():
    try:
        run(arguments())
    except (measuring.Failed, figures.Unreadable, OSError, subprocess.CalledProcessError) as trouble:
        return str(trouble)
    return 0


if __name__ == "__main__":
    sys.exit(main())
