"""Where an instruction set takes longer than the one below it: there its table should have the form of
that one. Of a full run, in which kernels are measured at every level: beside each other in one job, as
in the programs with peers, or in jobs that differ by the level's name alone."""

import collections
import statistics

from .table import NAMES, SETS

LEAST = 1.05  # in every round

# Of one kernel in one place: the samples of each level that has a form of its own.
Ladder = collections.namedtuple("Ladder", "program words unit samples")
Step = collections.namedtuple("Step", "ladder lower upper ratio")


def ladders(figures):
    """All that have more than one level."""
    found = {}
    for job in figures.jobs:
        for times in figures.of(job, "ours"):
            words = job.job.split()
            level = next((word for word in [times.name, *words] if word in SETS), None)
            if level is None:
                continue
            if times.name not in SETS:
                words = [word for word in words if word != level] + [times.name]
            if job.pixels:
                words.append(f"{job.pixels:,} pixels")
            key = job.program, " ".join(words), times.unit
            found.setdefault(key, {})[level] = times.samples
    return [Ladder(*key, samples) for key, samples in found.items() if len(samples) > 1]


def steps(ladder):
    """From each level to the next that has a form, the round against the same round."""
    levels = [name for name in SETS if name in ladder.samples]
    for lower, upper in zip(levels, levels[1:]):
        rounds = [b / a for a, b in zip(ladder.samples[lower], ladder.samples[upper])]
        yield Step(ladder, lower, upper, rounds)


def report(figures):
    found = [step for ladder in ladders(figures) for step in steps(ladder)]
    slower = [step for step in found if min(step.ratio) > LEAST]
    for step in sorted(slower, key=lambda step: -statistics.median(step.ratio)):
        times = (statistics.median(step.ladder.samples[level]) for level in (step.lower, step.upper))
        title = f"{step.ladder.program}: {step.ladder.words}"
        yield (f"{title:64} {NAMES[step.lower]:>7} {next(times):9.4f} {NAMES[step.upper]:>8} {next(times):9.4f}"
               f" {statistics.median(step.ratio):6.2f}")  # fmt: skip
    yield f"{len(found)} steps from a level to the next, {len(slower)} slower by {LEAST:.2f} in every round"
