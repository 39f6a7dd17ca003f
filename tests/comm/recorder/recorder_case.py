"""What the tests of the flight recorder share: running a program with either build of the library,
and reading the log by q32comm_log.h.
"""

import pathlib
import resource
import signal
import struct
import subprocess
import sys
from collections import namedtuple

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tool"))
from program_case import ProgramCase, environment, is_64_bit, run, text  # noqa: E402, F401

ENTRIES = 1024
HEADER, ENTRY = "<16s8I2Qi12x64s4I4Q64s", "<2IQ5iI208sI4x"
VARIABLE = "Q32COMM_RECORD"
NO_FAULT, SEEN, FATAL = 0, 1, 2

Header = namedtuple(
    "Header",
    "magic version header_bytes entry_bytes entry_count process pointer_bytes reports lost started ended"
    " minutes program state code thread access time address base data module",
)
Entry = namedtuple("Entry", "number thread time message severity library module point busy text again")
Result = namedtuple("Result", "code out err")


class Log:
    def __init__(self, data):
        self.header = Header(*struct.unpack_from(HEADER, data))
        offsets = range(struct.calcsize(HEADER), len(data), struct.calcsize(ENTRY))
        entries = [Entry(*struct.unpack_from(ENTRY, data, offset)) for offset in offsets]
        self.entries = sorted(entry for entry in entries if entry.number)
        self.size = len(data)


def limit_file_size():
    signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
    resource.setrlimit(resource.RLIMIT_FSIZE, (100000, resource.RLIM_INFINITY))


class RecorderCase(ProgramCase):
    program = bin = emulator = None

    def command(self, build, *doing):
        library = {"recorder": "recorder/q32comm.dll", "ordinary": "q32comm.dll"}[build]
        return [str(self.emulator), str(self.program), f"Z:{self.bin / library}", *doing]

    def variables(self, log, **others):
        return {**environment(), **({} if log is None else {VARIABLE: log}), **others}

    def play(self, *doing, log="test.q32log", build="recorder", limited=False, **others):
        """Runs the program to its end, within the test's folder."""
        done = subprocess.run(
            self.command(build, *doing),
            cwd=self.folder,
            env=self.variables(log, **others),
            stdin=subprocess.DEVNULL,
            capture_output=True,
            timeout=60,
            restore_signals=not limited,
            preexec_fn=limit_file_size if limited else None,
        )
        return Result(done.returncode, text(done.stdout), text(done.stderr))

    def read(self, name="test.q32log"):
        return Log((self.folder / name).read_bytes())

    def recorded(self, *doing):
        """The log of a program that has to end as it would with the ordinary library."""
        code = self.play(*doing).code
        self.assertEqual(code, self.play(*doing, build="ordinary").code, doing)
        return self.read()

    def explained(self, name="test.q32log"):
        command = [str(self.emulator), str(self.bin / "q32tool.exe"), "explain", "--log", name]
        done = subprocess.run(command, cwd=self.folder, env=environment(), capture_output=True, timeout=60)
        self.assertEqual((done.returncode, text(done.stderr)), (0, ""))
        return text(done.stdout)

    def names(self):
        return sorted(path.name for path in self.folder.iterdir())
