"""docs/performance.md and its pictures, from a file of the short run and one of a growth run. All
figures and all counts on the page are those of the files."""

import datetime
import re
import statistics

from .drawing import bars, curves
from .measuring import GROWTH
from .table import BUSY, MARKS, NAMES, lines_of, standings

PAGE = "docs/performance.md"
BARS = "speed.svg"

HEAD = """\
# Performance

How fast the library is beside others that do such work, and how what a pixel costs depends on the size
of the picture. `./run bench page` has written this page from what `./run bench` and `./run bench growth`
measured last; nobody enters a figure by hand.
"""

HOW_TO_READ = """\
Times are nanoseconds for each pixel: medians of samples that were taken turn by turn, in passes over all
programs, of processor time, on one core. Kernels are measured in 64 bits on the build machine, where the other
libraries are; *calls of the DLL* and *buffers* are those of the 32-bit DLL under Wine, without the calls
that raise the thread's priority. A ratio below 1 says that ours is faster; it is the median of the ratios
of all rounds. *Limit* is what `memcpy` takes for the same traffic, half of the bytes read and written, in
the same rounds, or what is named behind it; behind *plain memory* ratios are to the same work of ours on
that. *Spread* is how far the middle half of the ratios lies apart, as a part of their median; where there
are none, of the times. Peers marked * leave other bytes than
ours: they round otherwise, use another matrix or kernel, or do a smaller job; those marked + ran in a
process of their own.

*In the cache* is a picture of 512 x 512 pixels (scaling: 1024 x 1024 to or from 512 x 512), *memory* one
of 4000 x 3000. Each level of instructions runs its own form of a job or the one of the level below; all
leave the same bytes."""

GROWTH_HEAD = """\
## How cost grows

The same calls of the 64-bit DLL under Wine, for pictures from 32 x 32 to 16000 x 12000 of 24 bits, beside
`memcpy` of the same traffic. Both axes are logarithmic. What a call costs by itself is spread over few
pixels in small pictures, so that curves fall at the left. Where the pixels no longer fit a cache, upright
lines, each of them comes from further away, and `memcpy` rises likewise.
"""

# Of each plot: its title, the prefix of its jobs, the bytes that lie in memory for a pixel, and what
# its calls are.
PLOTS = [
    ("growth-merge", "Merging", "merge", 7,
     "`i32MergeEx` on plain memory and `i32MergeBufToBuf`, normal, through a mask of 8 bits."),
    ("growth-scale", "Scaling", "scale", 3.5,
     "`q32BufferResampleEx` from two fifths of the width and height; pixels are those of the result."),
    ("growth-line", "Rows", "line", 3,
     "`buf32Line`, all rows of a tiled buffer one after another to or from one row of memory."),
    ("growth-show", "Showing", "show", 7,
     "A display run (`disp32ShowInit`, `disp32ShowData`, `disp32ShowEnd`) onto a memory device context: "
     "what the system takes to copy pixels into a bitmap of 32 bits is in it."),
]  # fmt: skip
STEADY = 512 * 512  # pixels from which on a call's own cost does not show
JOB = re.compile(r"(\w+), (.+), (\d+) x (\d+)$")

AGAIN = """\
## Measured again

    ./run bench                 # this table, in under three minutes, and a file in build/bench
    ./run bench compare OLD NEW # what is faster and what is slower in the second of two files
    ./run bench growth          # the curves
    ./run bench page            # this page and its pictures
    ./run bench full            # kernels at every level and exports of both editions, beside each other
    ./run bench levels          # where that had a wider form slower than the narrower one

On a machine with two idle cores. A comparison calls a row faster or slower when its medians differ by more
than the samples of either run are spread, and by more than `memcpy` and the other libraries differ, which
are the same code in both.
"""


def told_of_run(figures):
    date = datetime.datetime.fromisoformat(figures.date)
    changed = " with changes" * figures.changed
    names = ("processor", "cores", "memory", "caches", "system", "wine", "compiler")
    machine = figures.machine | {"cores": figures.machine.get("cores", "?") + " cores"}
    machine = ", ".join(machine[name] for name in names if name in machine)
    text = (f"{date.day} {date:%B %Y}, commit `{figures.commit[:10]}`{changed}, on: {machine}.")
    if figures.others is None:
        text += " **The run did not come to its end: these figures are provisional.**"
    elif figures.others > BUSY:
        text += (f" **Other work took {figures.others:.1f} of its processors meanwhile: these figures are "
                 "provisional.**")  # fmt: skip
    return text


# --- beside other libraries -----------------------------------------------------------------------


def bars_of(lines, best):
    groups = {}
    for line in lines:
        if line.peer is not None:
            rows = groups.setdefault(line.work.group, {})
            ratios = (line.avx2_ratio, line.best_ratio if best != "AVX2" else None)
            rows.setdefault(line.work.title, {})[line.work.place] = ratios
    return bars([(group, list(rows.items())) for group, rows in groups.items()], "AVX2", best,
                "Our time for each of the best peer's")  # fmt: skip


def figure(value, digits=3):
    return "" if value is None else f"{value:.{digits if value < 100 else 1}f}"


def table(lines, best):
    group = None
    for line in lines:
        if line.work.group != group:
            group = line.work.group
            yield f"\n### {group}\n"
            yield f"| work | | AVX2 | {best} | peer | AVX2 / peer | {best} / peer | limit | spread | best peer |"
            yield "|---|---|---:|---:|---:|---:|---:|---:|---:|---|"
        unit = "" if line.unit == "ns/pixel" else f" ({line.unit})"
        limit = figure(line.limit) + (f" ({line.limit_name})" if line.limit_name not in ("", "memcpy") else "")
        name = line.peer_name + MARKS.get(line.note, "").replace("*", "\\*")
        cells = [line.work.title + unit, line.work.place, figure(line.avx2), figure(line.best), figure(line.peer),
                 figure(line.avx2_ratio, 2), figure(line.best_ratio, 2), limit, f"{100 * line.spread:.0f} %",
                 name]  # fmt: skip
        yield "| " + " | ".join(cells) + " |"


def standing(lines, best):
    """Where ours stands, in words."""
    for name, count, middle, behind in standings(lines, best):
        words = f"At {name} ours takes {middle:.2f} of the best peer's time in the middle of {count} rows, "
        words += "and no peer is ahead in any." if not behind else f"and a peer is ahead in {len(behind)}: "
        words += "; ".join(f"{line.work.title}{', memory' * (line.work.place == 'memory')} {value:.2f}"
                           for value, line in behind) + "." * bool(behind)  # fmt: skip
        yield words
        yield ""


# --- growth ---------------------------------------------------------------------------------------


def series_of(figures, prefix):
    """{name: [(pixels, nanoseconds)]}, and memcpy's: the same traffic beside each of them."""
    ours, memory = {}, {}
    for job in figures.jobs:
        match = JOB.match(job.job)
        if job.program != GROWTH or not match or match[1] != prefix:
            continue
        pixels = int(match[3]) * int(match[4])
        for times in figures.of(job, "ours"):
            ours.setdefault(match[2], []).append((pixels, statistics.median(times.samples)))
        for times in figures.of(job, "memcpy"):
            memory.setdefault(pixels, []).extend(times.samples)
    return ours, [(pixels, statistics.median(samples)) for pixels, samples in sorted(memory.items())]


def edges_of(figures, bytes_of_pixel):
    """Where a cache is full: "L2 2048K, L3 ..." of the machine."""
    units = {"K": 1 << 10, "M": 1 << 20}
    for name, size, unit in re.findall(r"(L\d) (\d+)([KM])", figures.machine.get("caches", "")):
        yield int(size) * units[unit] / bytes_of_pixel, f"{name} full"


def between(line):
    times = [time for pixels, time in line if pixels >= STEADY]
    return f"{figure(min(times), 2)} to {figure(max(times), 2)}" if times else "not measured"


def growth_words(ours, memory):
    rows = [f"{name} {between(line)} ns" for name, line in ours.items()]
    return f"From 512 x 512 on: {'; '.join(rows)}; memcpy {between(memory)} ns."


# --- all of it ------------------------------------------------------------------------------------


def page(short, growth):
    """The text of the page, and {name: text} of its pictures."""
    lines, best = lines_of(short), NAMES.get(short.level, "best")
    pictures = {BARS: bars_of(lines, best)}
    text = [HEAD, f"Measured on {told_of_run(short)}", "", *standing(lines, best),
            "## Beside other libraries", "", f"![Bars: our time beside the best peer's](images/{BARS})", "",
            HOW_TO_READ, *table(lines, best), "", GROWTH_HEAD, f"Measured on {told_of_run(growth)}", ""]  # fmt: skip
    for name, title, prefix, bytes_of_pixel, words in PLOTS:
        ours, memory = series_of(growth, prefix)
        if not ours:
            text += [f"### {title}", "", "Not measured.", ""]
            continue
        edges = list(edges_of(growth, bytes_of_pixel))
        pictures[f"{name}.svg"] = curves(title, list(ours.items()), memory, edges)
        text += [f"### {title}", "", f"{words} {growth_words(ours, memory)}", "",
                 f"![{title}: nanoseconds a pixel over the size of the picture](images/{name}.svg)", ""]  # fmt: skip
    return "\n".join([*text, AGAIN]), pictures


def write(root, short, growth):
    text, pictures = page(short, growth)
    (root / PAGE).write_text(text)
    for name, svg in pictures.items():
        (root / "docs/images" / name).write_text(svg)
    return [PAGE, *(f"docs/images/{name}" for name in pictures)]
