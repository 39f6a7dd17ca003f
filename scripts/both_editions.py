#!/usr/bin/env python3
"""The figures of one benchmark of both editions in one table: both_editions.py NAME [ARGUMENT...]

Runs build/win32/bin/NAME_bench.exe and that of win64 in turns, three times each, a sixth of their time
at a time, so that both meet whatever else the machine does. Each figure is the median of its rounds,
64/32 that of their ratios; a row whose ratio is beyond 1.10 in every round is marked.
{edition} in an argument becomes win32 or win64. Where there is a file of figures (Q32BASE_BENCH_FILE),
it gets all rounds.
"""

import collections
import os
import pathlib
import re
import statistics
import sys

sys.dont_write_bytecode = True
from bench import programs  # noqa: E402
from bench.figures import Job, Times, append, time_line  # noqa: E402

ROOT = pathlib.Path(__file__).resolve().parent.parent
EDITIONS = ("win32", "win64")
ROUNDS = 3
SLOWER = 1.10

# The two kinds of rows that benchmarks print, and the heading of the first: its last column but one
# is the time, and the last one compares that with memcpy.
HEADING = re.compile(r".*?(ns/\w+) x (\w+)$")
COLUMNS = re.compile(r"(\S.*?)\s+(?:\d+\.\d+\s+)?(\d+\.\d+)\s+(\d+\.\d+)$")
SENTENCE = re.compile(r"(\S.*?)\s+(\d+\.\d+) ([num]s\S*(?: [a-z]\S*)*)(?:\s+(\d+\.\d+) x (\S.*))?$")

Row = collections.namedtuple("Row", "time unit ratio reference")


def rows_of(output):
    """{(text above, words, how often they came before): Row}, and keys of text alone: {...: None}."""
    rows, seen = {}, collections.Counter()
    unit = reference = text = ""

    def add(words, row):
        words = " ".join(words.split())
        rows[text, words, seen[text, words]] = row
        seen[text, words] += 1

    for line in map(str.strip, output.splitlines()):
        if heading := HEADING.fullmatch(line):
            unit, reference = heading.groups()
        elif unit and (row := COLUMNS.fullmatch(line)):
            add(row[1], Row(float(row[2]), unit, float(row[3]), reference))
        elif row := SENTENCE.fullmatch(line):
            ratio = float(row[4]) if row[4] else None
            add(row[1], Row(float(row[2]), row[3], ratio, row[5] or ""))
        elif line:
            text = line
            rows[text, "", 0] = None
    return rows


def median_of(rounds, key):
    """The row of all rounds; nothing when one of them has none."""
    rows = [rows.get(key) for rows in rounds]
    if None in rows:
        return None
    ratios = [row.ratio for row in rows]
    return rows[0]._replace(
        time=statistics.median(row.time for row in rows),
        ratio=None if None in ratios else statistics.median(ratios),
    )


def figures(row):
    if row is None:
        return f"{'none':>11}{'':8}"
    return f"{row.time:11.4f}" + (f"{row.ratio:8.2f}" if row.ratio is not None else " " * 8)


def table(name, rounds):
    """The lines to print; rounds: {edition: [rows of a run]}."""
    narrow, wide = (rounds[edition] for edition in EDITIONS)
    keys = dict.fromkeys(key for rows in narrow + wide for key in rows)
    yield f"{'':44}{'32 bits':>11}{'':8}{'64 bits':>11}{'':8}{'64/32':>7}"
    ratios, marked, alone = [], 0, 0
    for key in keys:
        if not key[1]:
            yield key[0]
            continue
        medians = median_of(narrow, key), median_of(wide, key)
        row = medians[0] or medians[1]
        if row is None:
            yield f"{key[1]:44} not in every round"
            alone += 1
            continue
        line = f"{key[1]:44}" + "".join(map(figures, medians))
        unit = row.unit + (f", x {row.reference}" if row.reference else "")
        if None in medians:
            alone += 1
            yield f"{line}{'-':>7}  {unit}"
            continue
        of_rounds = [b[key].time / a[key].time for a, b in zip(narrow, wide)]
        ratio, is_slower = statistics.median(of_rounds), min(of_rounds) > SLOWER
        ratios.append((ratio, key[1]))
        marked += is_slower
        yield f"{line}{ratio:7.2f}{' !' if is_slower else '  '}{unit}"
    yield summary(name, ratios, marked, alone)


def summary(name, ratios, marked, alone):
    line = f"{name}: {len(ratios)} rows"
    if ratios:
        worst, row = max(ratios)
        median = statistics.median(ratio for ratio, _ in ratios)
        line += f", 64/32 in the middle {median:.2f}, at worst {worst:.2f} ({row}), {marked} marked"
    return line + (f"; {alone} that not every run has" if alone else "")


def run(edition, name, arguments):
    program = ROOT / "build" / edition / "bin" / f"{name}_bench.exe"
    arguments = [argument.replace("{edition}", edition) for argument in arguments]
    try:
        printed = programs.run(
            ROOT / "scripts" / "wine-run", program, *arguments, Q32BASE_BENCH_PARTS=str(ROUNDS * len(EDITIONS)))
    except programs.Failed as failure:
        sys.exit(str(failure))
    return rows_of(printed)


def figures_of(name, rounds):
    """Lines of the file of figures, of rows that every round of an edition has."""
    for edition in EDITIONS:
        texts = collections.defaultdict(set)  # above the rows of these words
        for text, words, _ in rounds[edition][0]:
            texts[words].add(text)
        for key in rounds[edition][0]:
            rows = [run_rows.get(key) for run_rows in rounds[edition]]
            if not key[1] or None in rows:
                continue
            text, words, before = key
            words += f" [{text}]" * (len(texts[words]) > 1) + f" #{before + 1}" * bool(before)
            job = Job(f"{name}_bench", words, 0)
            unit = rows[0].unit
            yield time_line(job, Times("ours", edition, "", unit, [row.time for row in rows]))
            if all(row.ratio for row in rows):
                references = [row.time / row.ratio for row in rows]
                of_edition = f"{rows[0].reference}, {edition}"
                yield time_line(job, Times("memcpy", of_edition, "", unit, references))


def main(name, *arguments):
    rounds = {edition: [] for edition in EDITIONS}
    for _ in range(ROUNDS):
        for edition in EDITIONS:
            rounds[edition].append(run(edition, name, arguments))
    print(*table(name, rounds), sep="\n", flush=True)
    if file := os.environ.get("Q32BASE_BENCH_FILE"):
        append(file, figures_of(name, rounds))


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    main(*sys.argv[1:])
