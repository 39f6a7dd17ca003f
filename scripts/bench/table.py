"""The short table: a row for each work, ours beside the best peer and beside memcpy."""

import collections
import statistics

from .figures import Job, spread
from .works import WORKS

SETS = ["scalar", "sse2", "sse41", "avx2", "avx512"]  # slowest first
NAMES = {"scalar": "plain", "sse2": "SSE2", "sse41": "SSE4.1", "avx2": "AVX2", "avx512": "AVX-512"}

# Medians of times, and of our times for each of the best peer's or of what they were measured beside; None
# is what there is not.
Line = collections.namedtuple(
    "Line", "work unit avx2 best peer avx2_ratio best_ratio limit limit_name spread peer_name note")


def form_at(ours, level):
    """The samples of the form that an instruction set runs: its own, or the one below."""
    names = {times.name: times for times in ours}
    for name in reversed(SETS[: SETS.index(level) + 1]):
        if name in names:
            return names[name]
    return None


def best_peer(figures, work, ours):
    """The fastest in the same run; their samples were taken turn by turn with ours."""
    jobs = [(work.program, work.job, work.pixels), work.peer]
    peers = [times for job in jobs if job for times in figures.of(Job(*job), "peer")
             if times.unit == ours.unit]  # fmt: skip
    return min(peers, key=lambda times: statistics.median(times.samples), default=None)


def rival_of(figures, job, peer, ours):
    """What the ratio of a time of ours is to: the best peer, or our own work that it was measured beside."""
    own = (times for times in figures.of(job, "beside") if times.note == ours.name)
    return peer or next(own, None)


def named(peer, versions):
    """Its name with the version: of a library, or of what the function is part of."""
    library, _, rest = peer.name.partition(" ")
    comma = "," if library.endswith(",") else ""
    library = library.removesuffix(",")
    return " ".join(filter(None, [library, versions.get(library, "") + comma, rest]))


def ratios(ours, peer):
    """Our time for each of the peer's, in each round: whatever the machine does beside them meets both."""
    if len(ours.samples) != len(peer.samples):
        return [statistics.median(ours.samples) / statistics.median(peer.samples)]
    return [one / other for one, other in zip(ours.samples, peer.samples)]


def line_of(figures, work):
    """None where nothing of the row was measured."""
    job = Job(work.program, work.job, work.pixels)
    level = figures.level or SETS[-1]
    best = form_at(figures.of(job, "ours"), level)
    if best is None:
        return None
    has_avx2 = SETS.index(level) >= SETS.index("avx2")
    avx2 = form_at(figures.of(job, "ours"), "avx2") if has_avx2 else None
    ours = [avx2, best] if avx2 else [best]
    peer = best_peer(figures, work, best)
    rivals = [rival_of(figures, job, peer, times) for times in ours]
    limit = next(iter(figures.of(job, "memcpy")), rivals[-1] if not peer else None)
    rounds = [ratios(times, rival) if rival else times.samples for times, rival in zip(ours, rivals)]
    spreads = [values if len(values) > 1 else times.samples for values, times in zip(rounds, ours)]

    def middle(times):
        return statistics.median(times.samples) if times else None

    return Line(work, best.unit, middle(avx2), middle(best), middle(peer),
                statistics.median(rounds[0]) if rivals[0] and avx2 else None,
                statistics.median(rounds[-1]) if rivals[-1] else None,
                middle(limit), limit.name if limit else "",
                max(map(spread, spreads)),
                named(peer, figures.versions) if peer else "", peer.note if peer else "")  # fmt: skip


def lines_of(figures, works=WORKS):
    return list(filter(None, (line_of(figures, work) for work in works)))


def number(value, width, digits=3):
    """Three digits behind the point, fewer of large ones; nothing of None."""
    if value is None:
        return " " * width
    return f"{value:{width}.{digits if value < 100 else 1}f}"


BUSY = 0.2  # processors that other work took, from which on a run is not a quiet one
MARKS = {"other bytes": " *", "another process": " +"}


def table(figures, works=WORKS):
    best = NAMES.get(figures.level, "best")
    yield "Nanoseconds for each pixel, medians of samples taken turn by turn; kernels in 64 bits, calls of the"
    yield "DLL in 32. limit: memcpy of the same traffic, or what is in brackets. spread: of the middle half of"
    yield "the ratios, or of the times where there is none. * bytes differ from ours; + another process."
    yield "Where plain memory is in brackets, ratios are to the same work of ours on it."
    yield from remark(figures)
    group, lines = None, lines_of(figures, works)
    for line in lines:
        if line.work.group != group:
            group = line.work.group
            yield ""
            yield (f"{group:44}{'AVX2':>8}{best:>9}{'peer':>9}{'AVX2/peer':>11}{'best/peer':>11}{'limit':>8}"
                   f"{'spread':>8}  best peer")  # fmt: skip
        yield row(line)
    yield ""
    yield from summary(lines, best)


def remark(figures):
    """What makes a run one not to rely on."""
    if figures.others is None:
        yield "The run did not come to its end: some rows may have fewer samples."
    elif figures.others > BUSY:
        yield (f"Other work took {figures.others:.1f} of the processors meanwhile: what is near 1 or spread "
               "says little.")  # fmt: skip


def row(line):
    title = f"  {line.work.title}" + (", memory" if line.work.place == "memory" else "")
    unit = "" if line.unit == "ns/pixel" else f" ({line.unit})"
    words = [f"{title + unit:44}", number(line.avx2, 8), number(line.best, 9), number(line.peer, 9),
             number(line.avx2_ratio, 11, 2), number(line.best_ratio, 11, 2), number(line.limit, 8),
             f"{100 * line.spread:6.0f} %  "]  # fmt: skip
    name = line.peer_name + MARKS.get(line.note, "")
    if line.limit_name not in ("", "memcpy"):
        name = f"{name} [{line.limit_name}]".strip()
    return ("".join(words) + name).rstrip()


def standings(lines, best):
    """Of each level that has a peer anywhere: its name, in how many rows, the ratio in the middle of
    them, and (ratio, line) where a peer is ahead, the furthest first."""
    lines = [line for line in lines if line.peer is not None]
    columns = {"AVX2": [(line.avx2_ratio, line) for line in lines],
               best: [(line.best_ratio, line) for line in lines]}  # fmt: skip
    for name, column in columns.items():
        column = [(value, line) for value, line in column if value is not None]
        if not column:
            continue
        behind = sorted((pair for pair in column if pair[0] > 1), key=lambda pair: -pair[0])
        yield name, len(column), statistics.median(value for value, _ in column), behind


def summary(lines, best):
    for name, count, middle, behind in standings(lines, best):
        yield (f"{name}: {count} rows with a peer, {middle:.2f} of its time in the middle, "
               f"{len(behind)} where it is ahead")  # fmt: skip
        for value, line in behind:
            yield f"    {value:.2f}  {line.work.group.lower()}: {line.work.title}, {line.work.place}"
