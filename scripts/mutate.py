#!/usr/bin/env python3
"""Changes the product in small ways, one at a time, and sees whether the tests notice:

    mutate.py [PLACE...] [--count N] [--seed S] [--round short] [--jobs N] [--list] [--anew]

A place is a folder of src/, a file, or FILE:LINE, where all changes are made; without one all
folders take part. Nothing in the tree is touched: changes are made to copies in build/mutate, one
for each job. What an earlier run found is taken over where it still holds, so that a run that was
interrupted goes on.

What no test notices is printed as survived, with its file and line. A change that cannot be noticed
has its place and its reason in tests/mutation/equivalent.txt. The result is 1 when anything
survived.
"""

import argparse
import collections
import fcntl
import multiprocessing
import multiprocessing.connection
import os
import pathlib
import re
import signal
import subprocess
import sys
import time

sys.dont_write_bytecode = True
from mutate import changes, results, testing, workshop  # noqa: E402

ROOT = pathlib.Path(__file__).resolve().parent.parent
COUNTED = ["killed", "survived", "equivalent", "broken"]


def arguments():
    parser = argparse.ArgumentParser(prog="./run mutate", description=__doc__.split("\n\n")[0])
    places = "a folder of src/, FILE or FILE:LINE"
    parser.add_argument("places", nargs="*", metavar="PLACE", help=places)
    parser.add_argument("--count", type=int, help="how many changes (50)")
    parser.add_argument("--seed", type=int, help="which ones")
    jobs = min(os.cpu_count() or 1, 4)
    rounds, how_long = testing.ROUNDS, "the longest round of tests that is tried (medium)"
    parser.add_argument("--round", choices=rounds, default=rounds[-1], help=how_long)
    parser.add_argument("--jobs", type=int, default=jobs, help=f"so many at once ({jobs})")
    parser.add_argument("--anew", action="store_true", help="forget what earlier runs found")
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


def work(number, chosen, following, table, rounds, pipe):
    """A process of its own, with a copy and a display of its own: takes one change after the other."""
    shop = workshop.Workshop(ROOT, number)
    tests = testing.Tests(ROOT, shop, table, rounds)
    try:
        linked = [entry.program for change in chosen for entry in tests.for_path(change.path)
                  if entry.is_linked]  # fmt: skip
        shop.prepare([*testing.PRODUCT_TARGETS, *dict.fromkeys(linked)])
        tests.read_commands()
        while (index := take(following)) < len(chosen):
            try:
                shop.change(chosen[index])
                found = tests.result_of(chosen[index])
            finally:
                shop.undo()
            pipe.send((index, *found))
        tests.check_original()
    except workshop.Trouble as trouble:
        pipe.send(trouble)
    except (KeyboardInterrupt, BrokenPipeError):
        pass
    finally:
        tests.stop()
        pipe.close()


def take(following):
    with following.get_lock():
        following.value += 1
        return following.value - 1


class Run:
    def __init__(self, equivalents, known):
        self.equivalents, self.known = equivalents, known
        self.start = time.monotonic()
        self.results = collections.defaultdict(collections.Counter)
        self.survivors = []
        self.count = 0

    def show_progress(self, text):
        if sys.stdout.isatty():
            print(f"\r\033[K{text}", end="", flush=True)

    def say(self, text):
        self.show_progress("")
        print(text, flush=True)

    def add(self, change, result, why, of):
        self.count += 1
        self.results[change.folder][result] += 1
        minutes = f"{(time.monotonic() - self.start) / 60:5.1f} min"
        head = f"[{self.count:{len(str(of))}}/{of}] {minutes}"
        self.say(f"{head}  {result:10} {change.place} {change.kind}{why and f', {why}'}")
        if result == "survived":
            self.survivors.append(change)
            self.say(f"    - {change.before}\n    + {change.after}")
        self.show_progress(head)

    def without_trying(self, change):
        if (change.path, change.before, change.after) in self.equivalents:
            return "equivalent", "listed"
        if known := self.known.earlier(change):
            return known[0], f"{known[1]} earlier".strip()
        return None

    def try_all(self, chosen, table, rounds, jobs):
        fates = {change: self.without_trying(change) for change in chosen}
        for change in chosen:
            if fates[change]:
                self.add(change, *fates[change], len(chosen))
        # The quick ones first: a run that is interrupted has tried as many as it could.
        rest = [change for change in chosen if not fates[change]]
        rest.sort(key=lambda change: testing.effort(testing.entries_for(table, change.path)))
        if not rest:
            return
        build_programs(table, rest)
        jobs = min(jobs, len(rest))
        self.say(f"Building {jobs} {'copy' if jobs == 1 else 'copies'}")
        following = multiprocessing.Value("i", 0)
        pipes, workers = [], []
        for number in range(1, jobs + 1):
            pipe, far_end = multiprocessing.Pipe(duplex=False)
            arguments = (number, rest, following, table, rounds, far_end)
            workers.append(multiprocessing.Process(target=work, args=arguments))
            workers[-1].start()
            far_end.close()
            pipes.append(pipe)
        try:
            self.listen(pipes, rest, len(chosen))
        finally:
            for worker in workers:
                worker.terminate()
            for worker in workers:
                worker.join()

    def listen(self, pipes, rest, of):
        tried = 0
        while pipes:
            for pipe in multiprocessing.connection.wait(pipes):
                try:
                    message = pipe.recv()
                except EOFError:
                    pipes.remove(pipe)
                    continue
                if isinstance(message, workshop.Trouble):
                    raise message
                index, result, why = message
                self.known.add(rest[index], result, why)
                self.add(rest[index], result, why, of)
                tried += 1
        if tried < len(rest):
            raise workshop.Trouble(f"{len(rest) - tried} changes have not been tried")

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
        for change in sorted(self.survivors, key=lambda change: (change.path, change.line)):
            self.say(f"{change.place}\n- {change.before}\n+ {change.after}")


def build_programs(table, chosen):
    """Here, what loads a changed library."""
    paths = dict.fromkeys(change.path for change in chosen)
    entries = [entry for path in paths for entry in testing.entries_for(table, path)]
    programs = dict.fromkeys(entry.program for entry in entries if not entry.is_linked)
    targets = [*testing.PRODUCT_TARGETS, *programs]
    subprocess.run([ROOT / "scripts/compile.sh", "win32", *targets], check=True)


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
    data, folder = ROOT / "tests/mutation", ROOT / "build/mutate"
    try:
        chosen = chosen_changes(options, ROOT)
        print(f"{len(chosen)} changes, seed {options.seed}", flush=True)
        if options.list:
            for change in chosen:
                print(f"{change.place} {change.kind}\n    - {change.before}\n    + {change.after}")
            return 0
        lock = only_run(folder)
        if options.anew:
            (folder / "results").unlink(missing_ok=True)
        rounds = testing.ROUNDS[: testing.ROUNDS.index(options.round) + 1]
        equivalents = read_equivalents((data / "equivalent.txt").read_text())
        run = Run(equivalents, results.Results(ROOT, folder / "results", options.round))
        try:
            table = testing.read_table((data / "programs.txt").read_text())
            run.try_all(chosen, table, rounds, options.jobs)
        finally:
            run.summarise()
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
