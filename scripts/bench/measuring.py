"""Runs the programs that measure, so that a file of figures has what they found.

A run makes several passes over all programs: what the machine does beside them for some seconds meets
a part of each row's samples and not all samples of a few rows."""

import datetime
import os
import pathlib
import subprocess
import sys
import tempfile
import time

from both_editions import rows_of
from proof import results

from . import figures
from .programs import Failed, run
from .works import WORKS

PASSES = 3
ROUNDS = 5  # samples of a contender in each pass
PARTS = 6  # of the time that a program under Wine would take by itself, for each pass
PEERS = ["rows_peers", "merge_peers", "resample_peers", "display_peers"]
# Programs under Wine, and what they are given.
UNDER_WINE = {
    "rectangles_bench": [],
    "merge_exports_bench": ["512"],
    "resample_exports_bench": ["512 x 512 to 1024 x 1024", "1280 x 1280 to 512 x 512"],
    "separation_bench": [],
    "queues_bench": [],
}
OWN_WORK = "plain memory"  # a reference that is work of the library as well
GROWTH = "growth_bench"


def new_file(root, kind):
    """A file with the head of a run."""
    state = results.state_of_the_tree(root)
    now = datetime.datetime.now().astimezone()
    folder = root / "build/bench"
    folder.mkdir(parents=True, exist_ok=True)
    path = folder / f"{kind}-{now:%Y%m%d-%H%M%S}-{state['commit'][:10]}.tsv"
    machine = results.machine(root) | {"caches": caches()}
    path.write_text("".join(figures.head_lines(machine, now.isoformat(timespec="seconds"), **state)))
    return path


def caches():
    """What a processor has of each level, for data: "L1 48K, L2 2048K"."""
    found = []
    for folder in sorted(pathlib.Path("/sys/devices/system/cpu/cpu0/cache").glob("index*")):
        kind, level, size = ((folder / name).read_text().strip() for name in ("type", "level", "size"))
        if kind != "Instruction":
            found.append(f"L{level} {size}")
    return ", ".join(found) or "unknown"


class Neighbours:
    """How many processors other work takes from now on: all that are busy, without our own programs."""

    def __init__(self):
        self.wall, self.busy = time.monotonic(), self.busy_seconds()

    @staticmethod
    def busy_seconds():
        user, nice, system, _, _, irq, softirq, *_ = map(
            int, pathlib.Path("/proc/stat").read_text().split("\n", 1)[0].split()[1:])  # fmt: skip
        own = os.times()
        ticks = (user + nice + system + irq + softirq) / os.sysconf("SC_CLK_TCK")
        return ticks - sum((own.user, own.system, own.children_user, own.children_system))

    def tell(self, path):
        taken = (self.busy_seconds() - self.busy) / max(time.monotonic() - self.wall, 1)
        figures.append(path, [f"others\t{max(taken, 0):.2f}\n"])


# --- peers ----------------------------------------------------------------------------------------


def measure_peers(root, path):
    wanted = {"Q32BASE_BENCH_FILE": str(path), "Q32BASE_BENCH_ROUNDS": str(ROUNDS),
              "Q32BASE_BENCH_LEAST": "avx2"}  # fmt: skip
    with tempfile.NamedTemporaryFile("w", suffix=".txt") as numpy:
        numpy.write(run("/usr/bin/python3", root / "bench/peers/numpy_bits.py", **wanted))
        numpy.flush()
        for program in PEERS:
            jobs = ";".join(f"{work.job}@{work.pixels}" for work in WORKS if work.program == program)
            more = [numpy.name] * (program == "rows_peers")
            run(root / "build/native/bin" / program, *more, Q32BASE_BENCH_JOBS=jobs, **wanted)
    run(root / "build/native/bin/buffers_peers", Q32BASE_BENCH_FILE=str(path),
        Q32BASE_BENCH_PARTS=str(PARTS))  # fmt: skip


# --- the DLL --------------------------------------------------------------------------------------


def lines_of(program, name, output):
    """What a program under Wine has printed, as lines of a file of figures: a sample of each job, and
    the reference that it was measured beside."""
    for (_, job, again), row in rows_of(output).items():
        if row is None or again:
            continue
        job = figures.Job(program, job, 0)
        yield figures.time_line(job, figures.Times("ours", name, "", row.unit, [row.time]))
        if row.ratio:
            kind, note = ("beside", name) if row.reference == OWN_WORK else ("memcpy", "")
            reference = figures.Times(kind, row.reference, note, row.unit, [row.time / row.ratio])
            yield figures.time_line(job, reference)


def under_wine(root, edition, program, *arguments, **environment):
    return run(root / "scripts/wine-run", root / f"build/{edition}/bin/{program}.exe", *arguments,
               Q32BASE_BENCH_PARTS=str(PARTS), **environment)  # fmt: skip


def measure_dll(root, path, levels):
    """With each of the instruction sets."""
    for program, arguments in UNDER_WINE.items():
        for level in levels:
            output = under_wine(root, "win32", program, *arguments, Q32BASE_ISA=level)
            figures.append(path, lines_of(program, level, output))


# --- runs -----------------------------------------------------------------------------------------


def levels_of(path):
    """AVX2 and the best that the machine has, which the peers' programs have told."""
    level = figures.read_file(path).level
    return ["avx2", level] if level == "avx512" else [level]


def measure(root, say=print):
    path, others = new_file(root, "short"), Neighbours()
    for number in range(1, PASSES + 1):
        say(f"Pass {number} of {PASSES}")
        measure_peers(root, path)
        measure_dll(root, path, levels_of(path))
    others.tell(path)
    return path


def measure_growth(root, say=print):
    """The cost of a pixel over the size of the picture, in the edition that can hold large ones."""
    path, others = new_file(root, "growth"), Neighbours()
    for number in range(1, PASSES + 1):
        say(f"Pass {number} of {PASSES}")
        figures.append(path, lines_of(GROWTH, "win64", under_wine(root, "win64", GROWTH)))
    others.tell(path)
    return path


def measure_everything(root):
    """Prints all tables."""
    path, others = new_file(root, "full"), Neighbours()
    environment = os.environ | {"Q32BASE_BENCH_FILE": str(path)}
    subprocess.run([root / "scripts/bench.sh"], check=True, env=environment)
    others.tell(path)
    return path


def newest(root, kind):
    """The file of the last run of a kind, or None."""
    return max(pathlib.Path(root / "build/bench").glob(f"{kind}-*.tsv"), default=None)
