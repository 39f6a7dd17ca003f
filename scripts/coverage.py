#!/usr/bin/env python3
"""Says what the tests have not reached: coverage.py BUILD EXCEPTIONS

Reads the counts that a build with Q32BASE_COVERAGE has left beside its objects, prints how many lines
and branches of each folder of src/ were reached, and lists the others. What cannot be reached stands
in the list of exceptions; the exit code is 1 when something else was not reached, or one of these was.
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
# which go through all lengths and places.
KERNELS = re.compile(r"src/(\w+/kernels|simd)/")
ENTRY = re.compile(r"^ +(?:line|(?:(\d+) branches|branch)) +(.*)$")

Unreached = collections.namedtuple("Unreached", "file number what missed")


def reports_of(notes):
    """gcov's report on each of the objects, those without counts included."""
    command = [GCOV, "--json-format", "--stdout", "--branch-probabilities", *map(str, notes)]
    reports = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    return [json.loads(report) for report in reports.splitlines() if report]


def source_of(report, file):
    """Name from the root, or None for what is not the library's own."""
    path = pathlib.Path(os.path.normpath(pathlib.Path(report["current_working_directory"], file)))
    for folder in (ROOT, pathlib.Path(report["current_working_directory"])):
        if path.is_relative_to(folder) and path.relative_to(folder).parts[0] == "src":
            return str(path.relative_to(folder))
    return None


def counts_of(build):
    """{file: {line: [count, {function: [count of each branch]}]}}, summed over all objects."""
    notes = sorted(build.rglob("*.gcno"))
    workers = os.cpu_count() or 1
    with concurrent.futures.ThreadPoolExecutor(workers) as pool:
        parts = list(pool.map(reports_of, (notes[i::workers] for i in range(workers))))
    files = collections.defaultdict(dict)
    for report in (report for part in parts for report in part):
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


def table_of(files):
    """The rows of each folder and of all: name, lines, lines reached, branches, branches taken."""
    rows = collections.defaultdict(lambda: [0, 0, 0, 0])
    for name, lines in files.items():
        for count, functions in lines.values():
            branches = branches_of(functions)
            for row in (rows[str(pathlib.PurePath(name).parent)], rows["all"]):
                row[0] += 1
                row[1] += count > 0
                row[2] += len(branches)
                row[3] += sum(branches)
    return sorted((name, *row) for name, row in rows.items() if name != "all") + [("all", *rows["all"])]


def percentage(part, whole):
    return f"{100 * part / whole:6.2f} %" if whole else "       -"


def unreached_of(files):
    for name in sorted(files):
        for number, (count, functions) in sorted(files[name].items()):
            missed = branches_of(functions).count(False)
            if count == 0:
                yield Unreached(name, number, "line", 1)
            elif missed and not KERNELS.match(name):
                yield Unreached(name, number, "branch", missed)


def exceptions_of(path):
    """Counter of (file, what, text of the line)."""
    exceptions = collections.Counter()
    file = None
    for line in path.read_text().splitlines():
        entry = ENTRY.match(line)
        if entry:
            what = "line" if line.split()[0] == "line" else "branch"
            exceptions[file, what, entry.group(2)] += int(entry.group(1) or 1)
        elif line.startswith("src/"):
            file = line.strip()
    return exceptions


def main(build, exceptions_path):
    files = counts_of(pathlib.Path(build))
    for name, lines, reached, branches, taken in table_of(files):
        print(f"{name:24} lines {reached:5} of {lines:5} {percentage(reached, lines)}"
              f"   branches {taken:5} of {branches:5} {percentage(taken, branches)}")

    left = exceptions_of(pathlib.Path(exceptions_path))
    excepted = sum(left.values())
    print(f"\nNot reached, beside the {excepted} in {exceptions_path}:")
    status = 0
    for item in unreached_of(files):
        text = (ROOT / item.file).read_text().splitlines()[item.number - 1].strip()
        key = (item.file, item.what, text)
        listed = min(left[key], item.missed)
        left[key] -= listed
        if listed < item.missed:
            count = f"{item.missed - listed} branches" if item.missed - listed > 1 else item.what
            print(f"  {item.file}:{item.number}: {count}: {text}")
            status = 1
    for (file, what, text), count in sorted(left.items()):
        if count:
            print(f"  {file}: listed as not reached, but there are {count} fewer: {what}: {text}")
            status = 1
    if status == 0:
        print("  nothing")
    return status


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
