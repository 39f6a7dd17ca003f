"""Two files of figures beside each other: what became faster, as far as noise lets that be said.

A row's change is that of the medians, and once more divided by how the others in the same row changed,
memcpy and the peers: they are the same code in both runs. Faster or slower is what both changes say,
each beyond the noise, which is half the spread of either run and at least LEAST."""

import collections
import statistics

from .figures import spread
from .table import NAMES
from .works import WORKS

LEAST = 0.03
NOISY = 0.10

FASTER, SLOWER, SAME, UNKNOWN = "faster", "slower", "the same", "too noisy"
Change = collections.namedtuple("Change", "job name unit old new change corrected noise verdict")


def middle_of(samples):
    return statistics.median(samples)


def control_of(old, new, job):
    """How the others of the row changed."""
    before, after = ({(times.kind, times.name): times for times in figures.jobs[job]
                      if times.kind in ("memcpy", "peer")} for figures in (old, new))  # fmt: skip
    changes = [middle_of(after[name].samples) / middle_of(before[name].samples)
               for name in before if name in after]  # fmt: skip
    return statistics.median(changes) if changes else 1.0


def verdict_of(change, corrected, noise):
    limit = 1 + noise
    if min(change, corrected) > limit:
        return SLOWER
    if max(change, corrected) < 1 / limit:
        return FASTER
    return UNKNOWN if noise > NOISY else SAME


def changes(old, new):
    for job in old.jobs:
        if job not in new.jobs:
            continue
        after = {times.name: times for times in new.of(job, "ours")}
        control = control_of(old, new, job)
        for times in old.of(job, "ours"):
            if times.name not in after:
                continue
            samples = times.samples, after[times.name].samples
            change = middle_of(samples[1]) / middle_of(samples[0])
            noise = max(LEAST, sum(map(spread, samples)) / 2)
            yield Change(job, times.name, times.unit, *map(middle_of, samples), change, change / control,
                         noise, verdict_of(change, change / control, noise))  # fmt: skip


def title_of(change, titles):
    job = change.job
    words = titles.get(job) or job.job + (f", {job.pixels:,} pixels" if job.pixels else "")
    return f"{words}, {NAMES.get(change.name, change.name)}"


def missing(old, new):
    """Jobs of ours that only one of the files has."""
    has_ours = [{job for job in figures.jobs if figures.of(job, "ours")} for figures in (old, new)]
    return len(has_ours[0] - has_ours[1]), len(has_ours[1] - has_ours[0])


def report(old, new):
    titles = {(work.program, work.job, work.pixels): f"{work.group}: {work.title}, {work.place}"
              for work in WORKS}  # fmt: skip
    for name, figures in (("old", old), ("new", new)):
        changed = " with changes" * figures.changed
        yield f"{name}: {figures.date}, {figures.commit[:10]}{changed}, {figures.machine.get('processor', '?')}"
    if old.machine != new.machine:
        yield "These are two machines: what is said of them is not of the code alone."
    yield ""
    yield f"{'':58}{'old':>9}{'new':>9}{'new/old':>9}{'corrected':>11}{'noise':>8}  verdict"
    rows = list(changes(old, new))
    for row in rows:
        yield (f"{title_of(row, titles):58}{row.old:9.3f}{row.new:9.3f}{row.change:9.2f}{row.corrected:11.2f}"
               f"{100 * row.noise:6.0f} %  {row.verdict}")  # fmt: skip
    yield ""
    counts = collections.Counter(row.verdict for row in rows)
    words = ", ".join(f"{counts[verdict]} {verdict}" for verdict in (FASTER, SLOWER, SAME, UNKNOWN))
    yield f"{len(rows)} rows: {words}"
    gone, added = missing(old, new)
    if gone or added:
        yield f"{gone} jobs are in the old file only, {added} in the new one"
