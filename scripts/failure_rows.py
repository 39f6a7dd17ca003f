#!/usr/bin/env python3
"""Which failures of the product no test has provoked: failure_rows.py FIGURES

FIGURES is the file that a run of the tests was told to fill by Q32BASE_TEST_FIGURES. The rows of
failures are those of the tables in src: every export's, those of the functions in a buffer's
record, and those of the start. The exit code is 1 when there is a row that FIGURES does not report.
"""

import collections
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
DEFINITION = re.compile(r"constexpr \w+ (\w+)((?:\{|= \{)[^;]*);")
NUMBERS = re.compile(r"\{\s*(\d{4}),\s*([012]),\s*(\d+),\s*(\d+)\s*\}")

# As a failure is read to somebody, and the names of its rows.
Failure = collections.namedtuple("Failure", "message severity module point")


def product_failures(root=ROOT):
    """All failures of the product with the names of their rows: {failure: [name]}."""
    found = collections.defaultdict(dict)
    for path in sorted((root / "src").rglob("*.h")) + sorted((root / "src").rglob("*.cpp")):
        source = path.read_text()
        named = [
            (Failure(*map(int, numbers)), definition.group(1))
            for definition in DEFINITION.finditer(source)
            for numbers in NUMBERS.findall(definition.group(2))
        ]
        if len(named) != len(NUMBERS.findall(source)):
            raise ValueError(f"{path} has failures that are not in a table")
        for failure, name in named:
            found[failure][f"{path.parent.name}: {name}"] = None  # each once, in their order
    return {failure: list(names) for failure, names in found.items()}


def reported_failures(figures):
    """The failures that the programs of a run have seen reported."""
    lines = pathlib.Path(figures).read_text().splitlines()
    rows = [line.split("\t") for line in lines if line.startswith("report\t")]
    return {Failure(*map(int, row[1:])) for row in rows}


def never_reported(figures, root=ROOT):
    """Those of the product that nobody has seen, with the names of their rows."""
    seen = reported_failures(figures)
    return {failure: names for failure, names in product_failures(root).items() if failure not in seen}


def main(arguments):
    if len(arguments) != 1:
        print(__doc__.split("\n", 1)[0], file=sys.stderr)
        return 2
    count, never = len(product_failures()), never_reported(arguments[0])
    for failure in sorted(never, key=lambda row: (row.module, row.point, row)):
        print(f"never provoked: {', '.join(map(str, failure))} ({'; '.join(never[failure])})")
    print(f"{count - len(never)} of {count} failures provoked")
    return 1 if never else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
