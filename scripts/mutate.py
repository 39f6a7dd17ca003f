#!/usr/bin/env python3
"""Changes the product in small ways, one at a time, and sees whether the tests notice:

    mutate.py [PLACE...] [--count N] [--seed S] [--list]

A place is a folder of src/, a file, or FILE:LINE, where all changes are made; without one all
folders take part. Nothing in the tree is touched: changes are made to a copy in build/mutate.

What no test notices is printed as survived, with its file and line. A change that cannot be noticed
has its place and its reason in tests/mutation/equivalent.txt. The result is 1 when anything
survived.
"""

import argparse
import collections
import fcntl
import pathlib
import re
import signal
import subprocess
import sys
import time

sys.dont_write_bytecode = True
from mutate import changes, testing, workshop  # noqa: E402

ROOT = pathlib.Path(__file__).resolve().parent.parent
COUNTED = ["killed", "survived", "equivalent", "broken"]


def arguments():
    parser = argparse.ArgumentParser(prog="./run mutate", description=__doc__.split("\n\n")[0])
    places = "a folder of src/, FILE or FILE:LINE"
    parser.add_argument("places", nargs="*", metavar="PLACE", help=places)
    parser.add_argument("--count", type=int, help="how many changes (50)")
    parser.add_argument("--seed", type=int, help="which ones")
    parser.add_argument("--list", action="store_true", help="print the changes and make none")
    return parser.parse_args()


# Which changes.


def all_changes(root):
    found = []
    for path in sorted((root / "src").rglob("*")):
        if path.suffix in (".h", ".cpp"):
            found += changes.changes_of(path.relative_to(root).as_posix(), path.read_text())
    return found


def is_at(change, place):
    place = place.strip("/")
    for name in (place, f"src/{place}"):
        if change.path == name or change.path.startswith(name + "/") or change.place == name:
            return True
    return False


def chosen_changes(options, root):
    found = all_changes(root)
    if options.places:
        found = [c for c in found if any(is_at(c, place) for place in options.places)]
        if not found:
            raise workshop.Trouble(f"nothing to change at {' '.join(options.places)}")
    if options.count is None and options.places and all(":" in place for place in options.places):
        return found
    return changes.draw(found, options.count or 50, options.seed)


# Changes that cannot be noticed.


def read_equivalents(text):
    """Rows of four lines, with empty ones between them: file, - before, + after, and the reason, which
    may go on. Found by the text of the line, so that it may move."""
    found = set()
    for row in re.split(r"\n\s*\n", text):
        lines = [line for line in row.splitlines() if line.strip() and not line.startswith("#")]
        if not lines:
            continue
        if len(lines) < 4 or lines[1][:2] != "- " or lines[2][:2] != "+ ":
            raise workshop.Trouble(f"equivalent.txt: no file, change and reason:\n{row}")
        found.add((lines[0].strip(), changes.joined(lines[1][2:]), changes.joined(lines[2][2:])))
    return found


# The run.


class Run:
    def __init__(self, shop, tests, equivalents):
        self.shop, self.tests, self.equivalents = shop, tests, equivalents
        self.start = time.monotonic()
        self.results = collections.defaultdict(collections.Counter)
        self.survivors = []

    def minutes(self):
        return f"{(time.monotonic() - self.start) / 60:5.1f} min"

    def show_progress(self, text):
        if sys.stdout.isatty():
            print(f"\r\033[K{text}", end="", flush=True)

    def say(self, text):
        self.show_progress("")
        print(text, flush=True)

    def try_all(self, chosen):
        for number, change in enumerate(chosen, 1):
            head = f"[{number:{len(str(len(chosen)))}}/{len(chosen)}] {self.minutes()}"
            self.show_progress(f"{head}  {change.place}")
            result, why = self.result_of(change)
            self.results[change.folder][result] += 1
            self.say(f"{head}  {result:10} {change.place} {change.kind}{why and f', {why}'}")
            if result == "survived":
                self.survivors.append(change)
                self.say(f"    - {change.before}\n    + {change.after}")

    def result_of(self, change):
        if (change.path, change.before, change.after) in self.equivalents:
            return "equivalent", "listed"
        try:
            self.shop.change(change)
            return self.tests.result_of(change)
        finally:
            self.shop.undo()

    def summarise(self):
        rows = sorted(self.results.items())
        rows.append(("all", sum((counter for _, counter in rows), collections.Counter())))
        self.say(f"\n{'folder':18}" + "".join(f"{name:>12}" for name in COUNTED) + "   score")
        for folder, counter in rows:
            noticed = counter["killed"] + counter["survived"]
            score = f"{100 * counter['killed'] / noticed:5.1f} %" if noticed else "     -"
            counts = "".join(f"{counter[name]:12}" for name in COUNTED)
            self.say(f"{folder:18}{counts}  {score}")
        if self.survivors:
            self.say("\nSurvived:")
        for change in self.survivors:
            self.say(f"{change.place}\n- {change.before}\n+ {change.after}")


def prepare(shop, tests, paths):
    """Builds what the changes of these files need: programs here, and the copy as it is."""
    entries = [entry for path in paths for entry in tests.for_path(path)]
    programs = dict.fromkeys(entry.program for entry in entries if not entry.is_linked)
    linked = dict.fromkeys(entry.program for entry in entries if entry.is_linked)
    targets = [*testing.PRODUCT_TARGETS, *programs]
    subprocess.run([ROOT / "scripts/compile.sh", "win32", *targets], check=True)
    print("Building the copy", flush=True)
    shop.prepare([*testing.PRODUCT_TARGETS, *linked])
    tests.read_commands()


def only_run(folder):
    """The lock of the copy, which lives as long as the file that this returns."""
    folder.mkdir(parents=True, exist_ok=True)
    lock = open(folder / "lock", "w")
    try:
        fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except BlockingIOError:
        raise workshop.Trouble("another run is at work in build/mutate") from None
    return lock


def interrupted(*_):
    raise KeyboardInterrupt


def main():
    options = arguments()
    if options.seed is None:
        options.seed = int(time.time()) % 1000000
    for number in (signal.SIGINT, signal.SIGTERM):
        signal.signal(number, interrupted)
    shop = workshop.Workshop(ROOT)
    data = ROOT / "tests/mutation"
    try:
        chosen = chosen_changes(options, ROOT)
        print(f"{len(chosen)} changes, seed {options.seed}", flush=True)
        if options.list:
            for change in chosen:
                print(f"{change.place} {change.kind}\n    - {change.before}\n    + {change.after}")
            return 0
        lock = only_run(shop.folder)
        tests = testing.Tests(ROOT, shop, testing.read_table((data / "programs.txt").read_text()))
        run = Run(shop, tests, read_equivalents((data / "equivalent.txt").read_text()))
        prepare(shop, tests, dict.fromkeys(change.path for change in chosen))
        try:
            run.try_all(chosen)
            tests.check_original()
        finally:
            run.summarise()
            tests.stop()
            lock.close()
        return 1 if run.survivors else 0
    except (workshop.Trouble, subprocess.CalledProcessError) as trouble:
        print(f"mutate: {trouble}", file=sys.stderr)
        return 2
    except KeyboardInterrupt:
        print("mutate: interrupted", file=sys.stderr)
        return 130


if __name__ == "__main__":
    sys.exit(main())
