"""The rows of the page's table: a figure's name, the step that measures it, the command that makes it
again, and how it is put into words. A row whose words are None has not been told by that step."""

import collections
import re

from .numbers import counted, listed, minutes, number, per_cent
from .steps import KILLS, MUTATIONS, SEED

Row = collections.namedtuple("Row", "name step command words")


def only(step):
    return f"./run proof --only {step}"


# --- the long round's figures ---------------------------------------------------------------------

CALLS_OF = "calls of "


def told(name):
    def words(figures):
        count = figures["counts"].get(name)
        return None if count is None else number(count)

    return words


def measured(name):
    def words(figures):
        value = figures["values"].get(name)
        return None if value is None else f"{number(value[0])} {value[1]}".strip()

    return words


def exports_called(figures):
    calls = {name.removeprefix(CALLS_OF): count for name, count in figures["counts"].items()
             if name.startswith(CALLS_OF)}  # fmt: skip
    if not calls:
        return None
    never = [name for name in figures["exports"] if not calls.get(name)]
    of = len(figures["exports"])
    words = f"{of - len(never)} of {of}, in {counted(sum(calls.values()), 'call')}"
    return words + f"; never: {listed(never)}" * bool(never)


def injected(figures):
    runs, crashes, leaks = (figures["counts"].get(f"{what} with a call inside failing")
                            for what in ("calls", "crashes", "leaks"))  # fmt: skip
    if runs is None:
        return None
    return f"{number(runs)}, {counted(crashes, 'crash', 'crashes')}, {counted(leaks, 'leak')}"


def tests_passed(figures):
    return f"{figures['passed']} of {figures['of']} in {minutes(figures['seconds'])}"


def guarded(figures):
    return "{} of {} pass".format(*figures["guarded"])


# --- the others -----------------------------------------------------------------------------------


def failures(figures):
    return f"{figures['provoked']} of {figures['of']}" + "; the others: below" * bool(figures["never"])


def checksums(figures):
    areas, pixels = counted(figures["areas"], "area"), counted(figures["pixels"], "pixel")
    return f"{areas}, {pixels}, the same at {figures['sets']} instruction sets"


def coverage(figures):
    parts = [f"{per_cent(*figures[f'{what}'])} of {name}"
             for what, name in (("kernel lines", "the lines of kernels"),
                                ("driver lines", "the lines of all else"),
                                ("driver branches", "its branches"))]  # fmt: skip
    return listed(parts)


def mutation(figures):
    noticed, survived = figures["killed"], figures["survived"]
    tried = noticed + survived
    if tried == 0:
        return None
    words = f"{per_cent(noticed, tried)} of {counted(tried, 'change')} noticed, {survived} survived"
    all_tried = tried + figures["equivalent"] + figures["broken"]
    words += f"; {figures['equivalent']} make no difference, {figures['broken']} do not compile"
    if all_tried < figures["wanted"]:
        words += f"; {all_tried} of {figures['wanted']} tried in the time"
    return words


def deaths(figures):
    manners = [f"{number(kills)} {manner}" for manner, kills in figures["kills"].items()]
    left = f"{counted(figures['left'], 'file')} left behind, {figures['remain']} after"
    return f"{listed(manners)}; {left} `q32tool leftovers --remove`"


def threads(figures):
    suffix = " of eight threads"
    done = [f"{number(count)} {name.removesuffix(suffix)}" for name, count in figures["counts"].items()
            if name.endswith(suffix)]  # fmt: skip
    return ", ".join([f"{counted(figures['tests'], 'test')} passed", *done])


def soak(figures):
    cycles, pixels = counted(figures["cycles"], "cycle"), counted(figures["pixels"], "pixel")
    return f"{minutes(figures['seconds'])}, {cycles}, {pixels}; the chart is below"


def hostile(figures):
    calls, exports = counted(figures["calls"], "call"), counted(figures["exports"], "export")
    return f"{calls} of {exports}, {counted(figures['crashes'], 'crash', 'crashes')}"


def fuzzing(figures):
    targets = counted(figures["targets"], "target")
    runs = f"{counted(figures['executions'], 'run')} in {minutes(figures['seconds'])}"
    return f"{targets}, {runs}, a corpus of {counted(figures['corpus'], 'file')}"


def rebuild(figures):
    return "<br>".join(f"{name} {digest}" for name, digest in figures.items())


def speed(figures):
    families = [f"{name} {row['median']:.2f} ({counted(row['jobs'], 'job')}, "
                f"{row['least']:.2f} to {row['most']:.2f})"
                for name, row in figures.items()]  # fmt: skip
    return "<br>".join(families)


def imports(figures):
    names = sorted(figures["imports"].items(), key=lambda pair: pair[0].lower())
    return ", ".join(f"{name} {count}" for name, count in names)


def fresh(figures):
    builds = [f"{name} {minutes(seconds)}" for name, seconds in figures["builds"].items()]
    tests = f"tests {minutes(figures['tests'])} ({figures['passed']} of {figures['of']} passed)"
    return f"{minutes(figures['all'])}: building {', '.join(builds)}; {tests}"


def again(name):
    def words(figures):
        row = figures[name]
        return f"{minutes(row['seconds'])} ({row['passed']} of {row['of']} passed)"

    return words


# Counts that have their place in the table: the page's name, and the tests' name.
CASES = ("Tests run in the long round", "tests")
WIDE = ("Pixels of wide forms compared with the scalar ones", "pixels compared, wide against scalar")
VECTORS = ("Bytes of vector operations compared with scalar ones",
           "bytes compared, vector operations against scalar")  # fmt: skip
FENCES = ("Tests with all heap blocks between inaccessible pages", "tests between fences")
STACK = ("Tests on a stack at each offset in turn", "tests on a turning stack")
MODEL = ("Operations played against a model", "model operations")
DISPLAYS = ("Pixels read back from displays", "pixels read back from displays")
REPLAYED = ("Inputs of the fuzzers run in the long round", "fuzz executions")
NAMED = {name for _, name in (CASES, WIDE, VECTORS, FENCES, STACK, MODEL, DISPLAYS, REPLAYED)}
# Others are told in parts, or by programs that a step of their own runs for longer.
OTHERS = re.compile(r"calls of |.* with a call inside failing$|kills, |\w+ ?\w* left$|.* of eight threads$"
                    r"|checksummed cases$")  # fmt: skip


def has_its_place(count):
    return count in NAMED or OTHERS.match(count)


def is_first_of_its_step(row):
    """Where it is said that a step failed."""
    return row == next(other for other in TABLE if other.step == row.step)


def count_row(names):
    return Row(names[0], "long", only("long"), told(names[1]))


TABLE = [
    Row("Tests of the long round", "long", "./run test long", tests_passed),
    count_row(CASES),
    Row("Exports called", "long", only("long"), exports_called),
    Row("Failures made to happen", "failures", only("long failures"), failures),
    Row("Calls with a system call inside failing", "long", only("long"), injected),
    count_row(WIDE),
    count_row(VECTORS),
    Row("Checksums", "checksums", only("checksums"), checksums),
    Row("Programs with guarded heap and turning stack", "long", "./run test long", guarded),
    count_row(FENCES),
    count_row(STACK),
    count_row(MODEL),
    count_row(DISPLAYS),
    Row("Eight threads at once", "threads", only("threads"), threads),
    Row("Everything in turn and again", "soak", only("soak"), soak),
    Row(f"Processes killed, {KILLS} in each manner", "deaths", only("deaths"), deaths),
    Row("Calls with any arguments", "hostile", only("hostile"), hostile),
    Row("Fuzzing", "fuzz", "./run fuzz 1", fuzzing),
    count_row(REPLAYED),
    Row("Coverage", "coverage", "./run coverage", coverage),
    Row("Changes of the product that tests notice", "mutate",
        f"./run mutate --count {MUTATIONS} --seed {SEED} --round short", mutation),
    Row("Identical rebuild, SHA-256", "rebuild", only("fresh rebuild"), rebuild),
    Row("Our time for each of the best peer's", "bench", "./run bench short", speed),
    Row("Size of Q32BASE.DLL", "library", only("library"),
        lambda figures: f"{figures['bytes']:,} bytes"),
    Row("Exports", "library", only("library"), lambda figures: str(figures["exports"])),
    Row("Imports", "library", only("library"), imports),
    Row("Start of the library, median", "times", only("times"), measured("start time")),
    Row("Time from cancel to return, longest", "times", only("times"),
        measured("time from cancel to return")),
    Row("Fresh clone, cold cache", "fresh", only("fresh"), fresh),
    Row("Short round, once built", "again", only("fresh again"), again("short")),
    Row("Medium round, once built", "again", only("fresh again"), again("medium")),
]  # fmt: skip
