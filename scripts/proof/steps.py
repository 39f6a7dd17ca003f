"""The steps of the proof, in their order: what each runs, how long it may take, and who reads what it
says. Together they fit into the budget. What is timed runs alone; neighbours of one group run side by
side."""

import collections
import pathlib
import re
import shlex

from . import failures, readers

BUDGET = 115  # minutes
KILLS, SOAK_SECONDS = 1000, 600
MUTATIONS, SEED = 520, 2026
SETS = ["sse2", "sse41", "avx2", "avx512"]
FOLDER = "build/proof"
CLONE, ELSEWHERE = f"{FOLDER}/clone", f"{FOLDER}/another folder"
FIGURES, THREADS, TIMES = (f"{FOLDER}/{name}.tsv" for name in ("figures", "threads", "times"))
DLLS = ["Q32BASE.DLL", "q32comm.dll"]

# Nothing is taken from a compiler cache. Also where nothing is to be built: a build that has another
# launcher than before begins anew.
COLD = {"CMAKE_C_COMPILER_LAUNCHER": None, "CMAKE_CXX_COMPILER_LAUNCHER": None, "CCACHE_DISABLE": "1"}


class Command(collections.namedtuple("Command", "words folder variables good")):
    """What is run in a folder, with changed variables of the environment, and the exit codes that
    are good."""

    @property
    def text(self):
        shown = [f"{name}={value}" for name, value in self.variables if value is not None]
        return " ".join([*shown, *map(shlex.quote, self.words)])


def run(*words, folder=".", good=(0,), **variables):
    return Command(words, folder, tuple(variables.items()), good)


class Step(collections.namedtuple("Step", "name what minutes commands read beside programs needs "
                                  "after may_be_cut of_the_commit")):  # fmt: skip
    """beside: the group that it runs with; programs: those of the tests that it runs; needs: what may
    not be there, as verb of ./run or file; after: the step whose outcome it reads; may_be_cut: what it
    says when its time is over counts; of_the_commit: it measures the commit, not what lies in the
    tree."""


def step(name, what, minutes, commands, read, *, beside=None, programs=(), needs=None,
         after=None, may_be_cut=False, of_the_commit=False):  # fmt: skip
    return Step(name, what, minutes, commands, read, beside, programs, needs, after, may_be_cut,
                of_the_commit)  # fmt: skip


def test_program(root, name, *options, **variables):
    """A test program as it is run by hand, under Wine servers that no other run stops."""
    variables["Q32BASE_WINE_DIR"] = f"{root}/{FOLDER}/wine"
    return run("scripts/wine-test", f"build/win32/tests/programs/{name}_test.exe", *options, **variables)


def clone_into(root, folder):
    return [run("rm", "-rf", folder), run("git", "clone", "--quiet", str(root), folder)]


def exports_in(root):
    return re.findall(r"^ +(\w+)", pathlib.Path(root, "src/library/q32base.def").read_text(), re.MULTILINE)


def reasons_in(root):
    return failures.reasons_of(pathlib.Path(root, "tests/unprovoked-failures.txt").read_text())


def all_steps(root):
    def program(name, *options, **variables):
        return test_program(root, name, *options, **variables)

    dlls = [f"{folder}/build/win32/bin/{name}" for folder in (CLONE, ELSEWHERE) for name in DLLS]
    dll = f"build/win32/bin/{DLLS[0]}"
    figures, threads, times = (pathlib.Path(root, name) for name in (FIGURES, THREADS, TIMES))
    return [
        step("fresh", "a fresh clone, built and tested with a cold compiler cache", 13,
             [*clone_into(root, CLONE), run("./run", "test", folder=CLONE, **COLD)],
             readers.fresh, of_the_commit=True),
        step("again", "the short and the medium round of the clone, once built", 7,
             [run("./run", "test", "short", folder=CLONE, **COLD),
              run("./run", "test", folder=CLONE, **COLD)],
             readers.rounds, needs=f"{CLONE}/build/all", of_the_commit=True),
        step("rebuild", "the DLLs once more, in another folder", 4,
             [*clone_into(root, ELSEWHERE),
              run("cmake", "--preset", "win32", folder=ELSEWHERE, **COLD),
              run("cmake", "--build", "--preset", "win32", "--target", "q32base", "q32comm",
                  folder=ELSEWHERE, **COLD),
              run("sha256sum", *dlls)],
             readers.rebuild, needs=f"{CLONE}/build/win32/bin", of_the_commit=True),
        step("long", "the long round, with its figures kept", 33,
             [run("rm", "-f", FIGURES),
              run("./run", "test", "long", Q32BASE_TEST_FIGURES=str(figures))],
             lambda outputs: readers.long_round(outputs, figures, exports_in(root))),
        step("failures", "the failures that tests of the long round have provoked", 1,
             [run("scripts/failure_rows.py", FIGURES, good=(0, 1))],
             lambda outputs: failures.judge(outputs[-1].text, reasons_in(root)),
             needs=FIGURES, after="long"),
        step("library", "the DLL as a file", 1,
             [run("./run", "build"), run("wc", "-c", dll),
              run("i686-w64-mingw32-objdump", "-p", dll)],
             readers.library),
        step("times", "the library's start, and a cancelled resampling, alone", 1,
             [run("rm", "-f", TIMES),
              program("library", "--gtest_filter=Start.UnderTheSystemsLoader",
                      Q32BASE_TEST_FIGURES=str(times)),
              program("resample_buffers", "--gtest_filter=ResampleCancelling.AtAnyMoment",
                      Q32BASE_TEST_FIGURES=str(times))],
             lambda outputs: readers.programs(outputs, times),
             programs=("library_test", "resample_buffers_test")),
        step("soak", "everything in turn and again, for ten minutes", 15,
             [program("soak", Q32BASE_TEST_SOAK_SECONDS=str(SOAK_SECONDS))],
             readers.soak, beside="killing", programs=("soak_test",)),
        step("deaths", f"processes killed at any moment, {KILLS} in each manner", 15,
             [program("deaths", "--gtest_filter=*Deaths*", Q32BASE_TEST_KILLS=str(KILLS))],
             readers.deaths, beside="killing", programs=("deaths_test",)),
        step("checksums", "all cases of the checksums, at every instruction set", 4,
             [program("checksums", Q32BASE_TEST_CASES="all", Q32BASE_ISA=isa) for isa in SETS],
             readers.checksums, beside="calling", programs=("checksums_test",)),
        step("threads", "eight threads at once", 4,
             [run("rm", "-f", THREADS), program("threads", Q32BASE_TEST_FIGURES=str(threads))],
             lambda outputs: readers.programs(outputs, threads),
             beside="calling", programs=("threads_test",)),
        step("hostile", "calls with any arguments", 4, [program("hostile")],
             readers.hostile, beside="calling", programs=("hostile_test",), needs="tests/hostile"),
        step("coverage", "what the tests reach", 11, [run("./run", "coverage")], readers.coverage),
        step("bench", "kernels beside other libraries", 6, [run("./run", "bench", "short")],
             readers.speed),
        step("fuzz", "fuzzing, a minute for each target", 11, [run("./run", "fuzz", "1")],
             readers.fuzzing, needs="./run fuzz", may_be_cut=True),
        step("mutate", "small changes of the product: do the tests notice?", 8,
             [run("./run", "mutate", "--count", str(MUTATIONS), "--seed", str(SEED),
                  "--round", "short", good=(0, 1))],
             readers.mutation, may_be_cut=True),
    ]  # fmt: skip


def groups_of(steps):
    """Lists of steps that run side by side."""
    groups = []
    for each in steps:
        if groups and each.beside and groups[-1][-1].beside == each.beside:
            groups[-1].append(each)
        else:
            groups.append([each])
    return groups


def minutes_of(group):
    return max(each.minutes for each in group)
