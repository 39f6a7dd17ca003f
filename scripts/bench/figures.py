"""The file of figures that a run of the benchmarks writes: lines of fields with tabs between them.

    machine  what  words              date  when              commit  which  changed, or nothing
    version  name  version            level  best instruction set of the machine
    others   how many processors other work took, on the average
    time     program  job  pixels  kind  name  note  unit  samples with spaces between them

Kinds are memcpy (and other work of the system), ours, peer, and beside: work of ours too, which a job is
measured beside at the level that the note names. Each pass over the programs adds its samples in lines
of its own (bench/peers/figures.h writes such lines, too)."""

import collections
import pathlib
import statistics

# Whose time, at which job; the job is a program's.
Job = collections.namedtuple("Job", "program job pixels")
Times = collections.namedtuple("Times", "kind name note unit samples")


class Unreadable(Exception):
    pass


class Figures:
    def __init__(self):
        self.machine, self.versions = {}, {}
        self.date = self.commit = self.level = ""
        self.changed = False
        self.others = None  # where a run did not come to its end
        self.jobs = {}  # {Job: [Times]}, in the order of the file

    def add(self, job, times):
        """Later passes add to the samples of the first."""
        known = self.jobs.setdefault(job, [])
        for place, other in enumerate(known):
            if other[:3] == times[:3]:
                known[place] = other._replace(samples=other.samples + times.samples)
                return
        known.append(times)

    def of(self, job, kind):
        return [times for times in self.jobs.get(job, []) if times.kind == kind]


def read(text):
    figures = Figures()
    for number, line in enumerate(text.splitlines(), 1):
        try:
            read_line(figures, *line.split("\t"))
        except (TypeError, ValueError):
            raise Unreadable(f"line {number}: {line!r}") from None
    return figures


def read_line(figures, word, *fields):
    if word == "time":
        program, job, pixels, kind, name, note, unit, samples = fields
        samples = [float(sample) for sample in samples.split()]
        figures.add(Job(program, job, int(pixels)), Times(kind, name, note, unit, samples))
    elif word in ("machine", "version"):
        name, value = fields
        (figures.machine if word == "machine" else figures.versions)[name] = value
    elif word == "commit":
        figures.commit, changed = fields
        figures.changed = changed == "changed"
    elif word == "others":
        figures.others = float(*fields)
    elif word in ("date", "level"):
        (value,) = fields
        setattr(figures, word, value)
    else:
        raise ValueError(word)


def read_file(path):
    try:
        return read(pathlib.Path(path).read_text())
    except Unreadable as trouble:
        raise Unreadable(f"{path}, {trouble}") from None


# --- writing --------------------------------------------------------------------------------------


def time_line(job, times):
    samples = " ".join(f"{sample:.5g}" for sample in times.samples)
    fields = (*job, times.kind, times.name, times.note, times.unit, samples)
    return "time\t" + "\t".join(map(str, fields)) + "\n"


def head_lines(machine, date, commit, changed):
    for name, value in machine.items():
        yield f"machine\t{name}\t{value}\n"
    yield f"date\t{date}\n"
    yield f"commit\t{commit}\t{'changed' if changed else ''}\n"


def append(path, lines):
    with open(path, "a") as file:
        file.writelines(lines)


# --- samples --------------------------------------------------------------------------------------


def spread(samples):
    """How far the middle half of the samples is apart, as a part of their median; of few samples,
    all of them."""
    if len(samples) < 2:
        return 0.0
    if len(samples) < 4:
        return (max(samples) - min(samples)) / statistics.median(samples)
    lower, middle, upper = statistics.quantiles(samples, n=4, method="inclusive")
    return (upper - lower) / middle
