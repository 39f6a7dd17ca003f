"""Which tests matter for a source file, and whether they notice that it was changed.

Entries are those of CTest, by their names: buffer, rows.sse2, display_runs.display8. A name with a
star behind it is a program that kernels are linked into: it is linked anew for each change, in the
copy. All others are the ones of the project's own build folder, and are handed the copy's DLL.
"""

import dataclasses
import fnmatch
import json
import os
import pathlib
import re
import resource
import signal
import subprocess
import threading
import time

from mutate.workshop import Trouble

ROUNDS = ["short", "medium"]
PRODUCT_TARGETS = ["q32base", "q32comm"]
# A changed library that takes so many times as long as the original, and some seconds, has hung. The
# processor's time tells soon, whatever else the machine does; who waits for ever takes none of it.
SLOWER, SECONDS_MORE = 15, 30
PROCESSOR_SLOWER, PROCESSOR_SECONDS_MORE = 3, 5
LIMIT_OF_THE_ORIGINAL = (1800, 1800)
FAILED = re.compile(rb": Failure\r?$|^\[  FAILED  \]", re.MULTILINE)


@dataclasses.dataclass(frozen=True)
class Entry:
    name: str
    is_linked: bool  # kernels are linked into it

    @property
    def program(self):
        return self.name.split(".")[0] + "_test"


def read_table(text):
    """Rows of "folder-or-file: entry..."; a file's name may end in a star."""
    table = {}
    for row in text.splitlines():
        row = row.partition("#")[0]
        if row.strip():
            place, _, names = row.partition(":")
            table[place.strip()] = [
                Entry(name.rstrip("*"), name.endswith("*")) for name in names.split()
            ]
    return table


def entries_for(table, path):
    """Those of the longest name that fits."""
    fitting = [
        place
        for place in table
        if path == place or path.startswith(place + "/") or fnmatch.fnmatchcase(path, place)
    ]
    if not fitting:
        raise Trouble(f"tests/mutation/programs.txt has no row for {path}")
    return table[max(fitting, key=len)]


def effort(entries):
    """Greater where changes take longer: programs of kernels alone are quick, few programs, too."""
    return not entries[0].is_linked, len(entries)


def end_all(process):
    """Ends what is left of a program, and whatever it has started."""
    for number, patience in ((signal.SIGTERM, 3), (signal.SIGKILL, None)):
        if process.poll() is None:
            os.killpg(process.pid, number)
            try:
                process.wait(patience)
            except subprocess.TimeoutExpired:
                pass


class Outcome:
    """What a program's output says while it comes, and how it ended."""

    def __init__(self):
        self.test = ""
        self.failed = False
        self.end = b""

    def read(self, stream, stop_when_failed):
        while chunk := stream.read1(65536):
            text = self.end[-200:] + chunk
            started = re.findall(rb"\[ RUN      \] (\S+)", text)
            failure = FAILED.search(text)
            if failure:
                started = re.findall(rb"\[ RUN      \] (\S+)", text[: failure.start()])
            if started and not self.failed:
                self.test = started[-1].decode()
            self.failed = self.failed or failure is not None
            self.end = (self.end + chunk)[-20000:]
            if failure and stop_when_failed:
                return


def processor_time():
    """That of all programs that were run and have ended."""
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    return used.ru_utime + used.ru_stime


def limit_processor_time(seconds):
    """Of each program that is started from here; a signal tells that it was too much."""
    resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds + 5))


class Tests:
    def __init__(self, root, workshop, table, rounds):
        self.rounds = rounds
        self.root = pathlib.Path(root)
        self.workshop = workshop
        self.table = table
        self.commands = {}
        self.limits = {}  # seconds, and those of the processor, for each entry and round
        self.killers = {}  # of each file: the round and entry that noticed its last change
        self.last_words = ""

    def for_path(self, path):
        return entries_for(self.table, path)

    def read_commands(self):
        """The commands and environments of all entries, as CTest has them."""
        folders = {False: self.root / "build/win32", True: self.workshop.build_folder}
        for is_linked, folder in folders.items():
            listed = subprocess.run(
                ["ctest", "--test-dir", folder, "--show-only=json-v1"],
                check=True, stdout=subprocess.PIPE, text=True,
            ).stdout  # fmt: skip
            for test in json.loads(listed)["tests"]:
                properties = {row["name"]: row["value"] for row in test.get("properties", [])}
                pairs = [pair for pair in properties.get("ENVIRONMENT", []) if pair]
                variables = dict(pair.split("=", 1) for pair in pairs)
                self.commands[Entry(test["name"], is_linked)] = (test.get("command"), variables)

    def environment(self, variables, round_name, folder):
        library = folder / "bin/Q32BASE.DLL"
        return os.environ | variables | {
            "Q32BASE_TEST_LIBRARY": f"Z:{library}",
            "Q32BASE_TEST_ROUND": round_name,
            "Q32BASE_WINE_DIR": str(self.workshop.folder / "wine"),
            "GTEST_FAIL_FAST": "1",
        }  # fmt: skip

    def run(self, entry, round_name, limit, *, original=False):
        """Returns why the entry failed, or None when it passed, with what is built or was at first."""
        command, variables = self.commands.get(entry, (None, None))
        if not command:
            raise Trouble(f"there is no test {entry.name}, or it has not been built")
        built, folder = self.workshop.build_folder, self.workshop.build_folder
        if original:
            folder = self.workshop.originals
            command = [part.replace(f"{built}/", f"{folder}/") for part in command]
        outcome = Outcome()
        seconds, processor_seconds = limit
        process = subprocess.Popen(
            command, env=self.environment(variables, round_name, folder), start_new_session=True,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
            preexec_fn=lambda: limit_processor_time(processor_seconds),
        )  # fmt: skip
        reading = (process.stdout, not original)
        reader = threading.Thread(target=outcome.read, args=reading, daemon=True)
        try:
            reader.start()
            reader.join(seconds)
            if reader.is_alive():
                return f"{entry.name} {outcome.test}, time limit".strip()
            if outcome.failed and not original:
                return f"{entry.name} {outcome.test}".strip()
            if (status := process.wait(SECONDS_MORE)) != 0:
                self.last_words = outcome.end.decode(errors="replace")
                is_hung = status % 128 in (signal.SIGXCPU, 128 - signal.SIGXCPU)
                how = "" if outcome.failed else ", time limit" if is_hung else ", no good end"
                return f"{entry.name} {outcome.test}".strip() + how
            return None
        except subprocess.TimeoutExpired:
            return f"{entry.name}, no end"
        finally:
            end_all(process)

    def measure_original(self, entry, round_name):
        """An entry counts only when the original passes it; its times make the limits."""
        if (entry, round_name) in self.limits:
            return
        start, processor_start = time.monotonic(), processor_time()
        if why := self.run(entry, round_name, LIMIT_OF_THE_ORIGINAL, original=True):
            raise Trouble(f"fails without any change: {why}\n{self.last_words}")
        self.limits[entry, round_name] = (
            SECONDS_MORE + SLOWER * (time.monotonic() - start),
            int(PROCESSOR_SECONDS_MORE + PROCESSOR_SLOWER * (processor_time() - processor_start)),
        )

    def in_order(self, path):
        """All rounds of all entries: what noticed the file's last change notices many."""
        order = [(name, entry) for name in self.rounds for entry in self.for_path(path)]
        return sorted(order, key=lambda attempt: attempt != self.killers.get(path))

    def result_of(self, change):
        """What becomes of a change that has been made: "broken", "equivalent" (it makes no
        difference to the products), "killed" and by which test, or "survived"."""
        built = set()
        for round_name, entry in self.in_order(change.path):
            target = entry.program if entry.is_linked else "q32base"
            if target not in built:
                built.add(target)
                targets = [target] if entry.is_linked else PRODUCT_TARGETS
                if not self.workshop.build(targets):
                    return "broken", ""
                if not entry.is_linked and self.workshop.products_are_the_same():
                    return "equivalent", "the same library"
            self.measure_original(entry, round_name)
            if why := self.run(entry, round_name, self.limits[entry, round_name]):
                self.killers[change.path] = (round_name, entry)
                return "killed", f"by {why}"
        if self.workshop.build(PRODUCT_TARGETS) and self.workshop.products_are_the_same():
            return "equivalent", "the same library"
        return "survived", ""

    def check_original(self):
        """What the original passed at first it must pass at the end: a change that spoilt what the
        tests stand on would have been taken for many that were noticed."""
        for entry, round_name in self.limits:
            if round_name != ROUNDS[0]:
                continue
            if why := self.run(entry, round_name, LIMIT_OF_THE_ORIGINAL, original=True):
                raise Trouble(f"fails without any change at the end: {why}")

    def stop(self):
        command = [self.root / "scripts/wine-run", "--stop"]
        subprocess.run(command, env=self.environment({}, "", self.workshop.folder))
