"""The failures that no test has provoked (scripts/failure_rows.py), and the list of those for which
there is a reason (tests/unprovoked-failures.txt)."""

import re

from .readers import found

NEVER = re.compile(r"^never provoked: (\d+), (\d+), (\d+), (\d+) \((.+)\)$", re.MULTILINE)
SHOWN = 3  # of the problems; the page lists all rows
ENTRY = re.compile(r"^ +(\d+), (\d+), (\d+), (\d+)$")


def reasons_of(text):
    """{row: why nothing provokes it}; a reason stands over its rows, and may have many lines."""
    reasons, lines, has_rows = {}, [], False
    for line in text.splitlines():
        if entry := ENTRY.match(line):
            reasons[entry.groups()] = " ".join(lines)
            has_rows = True
        elif line.strip() and not line.startswith("#"):
            lines = [line.strip()] if has_rows else [*lines, line.strip()]
            has_rows = False
    return reasons


def judge(text, reasons):
    """What was printed of the failures, and what is not as the list says."""
    provoked, of = found(r"^(\d+) of (\d+) failures provoked$", text).groups()
    never = {tuple(row): names for *row, names in NEVER.findall(text)}
    problems = [f"no test provokes {', '.join(row)} ({names}), and no reason is known"
                for row, names in never.items() if row not in reasons]  # fmt: skip
    problems += [f"listed, but provoked: {', '.join(row)}" for row in reasons if row not in never]
    if len(problems) > SHOWN:
        problems[SHOWN:] = [f"and {len(problems) - SHOWN} more"]
    rows = [[", ".join(row), names, reasons.get(row, "")] for row, names in never.items()]
    return {"provoked": int(provoked), "of": int(of), "never": rows, "problems": problems}
