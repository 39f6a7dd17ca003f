#!/usr/bin/env python3
"""Says what the tests have not reached: coverage.py BUILD EXCEPTIONS

Adds up the counts that the test programs of a build with Q32BASE_COVERAGE have left in its folder
counts, prints how many lines and branches of each folder of src/ were reached, and lists the rest.
What cannot be reached stands in the list of exceptions. The exit code is 1 when kernels or drivers
miss their goals, and when the list is not true: something else was not reached, or one of these
was.
"""

import collections
import concurrent.futures
import json
import os
import pathlib
import re
import subprocess
import sys

GCOV = "i686-w64-mingw32-gcov-posix"
ROOT = pathlib.Path(__file__).resolve().parent.parent
# Held to lines only: which of its many instances takes which branch is the business of their tests,
# which go through all lengths and places. Their builds are optimised, with the compiler's branches.
KERNELS = re.compile(r"src/(\w+/kernels|simd)/")
KERNEL_LINES, DRIVER_LINES, DRIVER_BRANCHES = 100, 98, 95
ENTRY = re.compile(r"^ +(?:line|(?:(\d+) branches|branch))(\??) +(.*)$")

Unreached = collections.namedtuple("Unreached", "file number what missed")


# --- counts ---------------------------------------------------------------------------------------


def reports_of(notes):
    """gcov's report on each of the objects, those without counts included."""
    command = [GCOV, "--json-format", "--stdout", "--branch-probabilities", *map(str, notes)]
    reports = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    return [json.loads(report) for report in reports.splitlines() if report]


def notes_of(build, run):
    """The notes of all objects that a program has counted, put beside its counts."""
    for counts in sorted(run.rglob("*.gcda")):
        notes = counts.with_suffix(".gcno")
        if not notes.exists():
            notes.symlink_to(build / notes.relative_to(run))
        yield notes


def source_of(report, file):
    """Name from the root, or None for what is not the library's own."""
    path = pathlib.Path(os.path.normpath(pathlib.Path(report["current_working_directory"], file)))
    for folder in (ROOT, pathlib.Path(report["current_working_directory"])):
        if path.is_relative_to(folder) and path.relative_to(folder).parts[0] == "src":
            return str(path.relative_to(folder))
    return None


def counts_of(build):
    """{file: {line: [count, {function: [count of each branch]}]}}, summed over objects and runs."""
    runs = sorted((build / "counts").iterdir())
    batches = [notes for notes in (list(notes_of(build, run)) for run in runs) if notes]
    if not batches:
        sys.exit(f"coverage.py: no counts in {build}")
    batches.append(sorted(notes for notes in build.rglob("*.gcno") if not notes.is_symlink()))
    files = collections.defaultdict(dict)
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for reports in pool.map(reports_of, batches):
            for report in reports:
                for file in report["files"]:
                    name = source_of(report, file["file"])
                    if name is not None:
                        add_counts(files[name], file["lines"])
    return files


def add_counts(lines, more):
    for line in more:
        found = lines.setdefault(line["line_number"], [0, {}])
        found[0] += line["count"]
        counts = [branch["count"] for branch in line["branches"] if not branch["throw"]]
        # A function may have other branches in other objects: constants decide some of them.
        key = (line.get("function_name"), len(counts))
        found[1][key] = [sum(pair) for pair in zip(found[1].get(key, [0] * len(counts)), counts)]


def branches_of(functions):
    """Whether each branch of a line was taken, in any instance of its template. Instances in which
    constants decide other parts of the line have branches of their own."""
    taken = {}
    for (_, size), counts in functions.items():
        taken[size] = [a or b > 0 for a, b in zip(taken.get(size, [False] * size), counts)]
    return [branch for size in sorted(taken) for branch in taken[size]]


# --- the table ------------------------------------------------------------------------------------


class Row:
    """What of a folder was reached."""

    def __init__(self):
        self.lines = self.reached = self.branches = self.taken = 0

    def add(self, count, functions):
        branches = branches_of(functions)
        self.lines += 1
        self.reached += count > 0
        self.branches += len(branches)
        self.taken += sum(branches)

    def meets(self, lines, branches):
        enough_lines = self.reached * 100 >= self.lines * lines
        return enough_lines and self.taken * 100 >= self.branches * branches

    def text(self, name, has_branches):
        text = f"  {name:24}{part(self.reached, self.lines)}"
        return text + part(self.taken, self.branches) if has_branches else text


def part(reached, whole):
    """Never 100.00 % for less."""
    share = f"{reached * 10000 // whole / 100:8.2f} %" if whole else f"{'-':>10}"
    return f"{reached:7} of {whole:5}{share}"


def print_group(title, folders, lines, branches=0):
    """A line for each folder and one for all; whether all together meet the goals."""
    print(f"\n  {title:24}{f'lines, goal {lines} %':>25}", end="")
    print(f"{f'branches, goal {branches} %':>25}" if branches else "")
    for name in sorted(folders, key=lambda name: (name == "all", name)):
        print(folders[name].text(name, branches > 0))
    return folders["all"].meets(lines, branches)


def print_table(files):
    """Whether the goals are met."""
    kernels, drivers = (collections.defaultdict(Row) for _ in range(2))
    for name, lines in files.items():
        group = kernels if KERNELS.match(name) else drivers
        for count, functions in lines.values():
            for row in (str(pathlib.PurePath(name).parent), "all"):
                group[row].add(count, functions)
    good = print_group("Kernels", kernels, KERNEL_LINES)
    return print_group("Drivers", drivers, DRIVER_LINES, DRIVER_BRANCHES) and good


# --- what was not reached -------------------------------------------------------------------------


def unreached_of(files):
    for name in sorted(files):
        for number, (count, functions) in sorted(files[name].items()):
            missed = branches_of(functions).count(False)
            if count == 0:
                yield Unreached(name, number, "line", 1)
            elif missed and not KERNELS.match(name):
                yield Unreached(name, number, "branch", missed)


def exceptions_of(path):
    """Counter of (file, what, text of the line), and a set of those that hold on some machines."""
    exceptions, on_some_machines = collections.Counter(), set()
    file = None
    for line in path.read_text().splitlines():
        entry = ENTRY.match(line)
        if entry:
            key = (file, "line" if line.lstrip().startswith("line") else "branch", entry.group(3))
            exceptions[key] += int(entry.group(1) or 1)
            if entry.group(2):
                on_some_machines.add(key)
        elif line.startswith("src/"):
            file = line.strip()
    return exceptions, on_some_machines


def amount(number, what):
    return f"{number} {what}{'' if number == 1 else 'es' if what == 'branch' else 's'}"


def findings_of(files, exceptions, on_some_machines):
    """What the list of exceptions does not say, and what it says that is not so."""
    left = exceptions.copy()
    for item in unreached_of(files):
        text = (ROOT / item.file).read_text().splitlines()[item.number - 1].strip()
        key = (item.file, item.what, text)
        listed = min(left[key], item.missed)
        left[key] -= listed
        if listed < item.missed:
            left_over = amount(item.missed - listed, item.what)
            yield f"{item.file}:{item.number}: {left_over}: {text}"
    for (file, what, text), count in sorted(left.items()):
        if count and (file, what, text) not in on_some_machines:
            yield f"{file}: listed, but reached: {amount(count, what)}: {text}"


def main(build, exceptions_path):
    files = counts_of(pathlib.Path(build).resolve())
    good = print_table(files)

    exceptions, on_some_machines = exceptions_of(pathlib.Path(exceptions_path))
    excepted = collections.Counter()
    for (_, what, _), count in exceptions.items():
        excepted[what] += count
    if not good:
        print("\nA goal is missed.")
    print(
        f"\nNot reached, beside the {amount(excepted['line'], 'line')} and "
        f"{amount(excepted['branch'], 'branch')} in {exceptions_path}:"
    )
    findings = list(findings_of(files, exceptions, on_some_machines))
    for finding in findings or ["nothing"]:
        print(f"  {finding}")
    return 0 if good and not findings else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
