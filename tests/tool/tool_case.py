"""What the tests of q32tool share: running the program, and looking at what it leaves behind.

The program runs in its test's folder. Whatever the program prints and
whatever lies in the folder afterwards is compared whole, so that nothing appears unnoticed.
"""

import os
import resource
import signal
import subprocess
import time
from collections import namedtuple

import pictures
from program_case import CANCELLED, DONE, FAILED, USAGE  # noqa: F401
from program_case import ProgramCase, environment, is_64_bit, text

Result = namedtuple("Result", "code out err")

PATIENCE = 10  # seconds

# Ways to keep pixels; the tests that use them make the folder.
STORAGES = {
    "memory": ["--storage", "memory"],
    "file": ["--storage", "file", "--swap-dir", "swap"],
    "no memory": ["--memory-limit", "0", "--swap-dir", "swap"],
}


class Program:
    """The command that starts the program."""

    command = []
    console = ""

    @classmethod
    def by_edition(cls, in_32_bits, in_64_bits):
        """One of both, as the edition of the program is."""
        return in_64_bits if is_64_bit(cls.command[-1]) else in_32_bits

    @classmethod
    def in_console(cls, keys):
        """The command that starts it in a console where these keys are typed (console.cpp)."""
        emulator, program = cls.command
        return [emulator, cls.console, keys, program]


def limit_file_size(size):
    """Makes every file that the program grows beyond size bytes fail, as on a full disk. The limit
    is soft: what has to be started for the program goes beyond it.
    """
    signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
    resource.setrlimit(resource.RLIMIT_FSIZE, (size, resource.RLIM_INFINITY))


class ToolCase(ProgramCase):
    # Files

    def make_folder(self, name):
        (self.folder / name).mkdir()
        return name

    def files(self):
        """Everything in the test's folder: the contents of files, None for folders."""
        while True:
            try:
                return self.files_now()
            except FileNotFoundError:
                pass  # gone since it was listed

    def files_now(self):
        found = {}
        for path in sorted(self.folder.rglob("*")):
            name = str(path.relative_to(self.folder))
            found[name] = None if path.is_dir() else path.read_bytes()
        return found

    def assert_only_new(self, before, *names):
        """Since before, these files have come, and none has gone or changed beside them. What a
        program had open when it deleted it goes soon after the program's end: Wine's server does
        it.
        """
        wanted = set(before) | set(names)
        latest = time.monotonic() + PATIENCE
        after = self.files()
        while set(after) > wanted and time.monotonic() < latest:
            time.sleep(0.05)
            after = self.files()
        self.assertEqual(set(after), wanted)
        changed = {name for name in before if after[name] != before[name]}
        self.assertLessEqual(changed, set(names))

    # Running

    def run_until(self, moment, *arguments, console=False):
        """Starts the program and waits until its progress has come to moment.

        Returns the process, which goes on, and what it has said so far. console: in one, into which
        all is typed that is written to the process.
        """
        process = subprocess.Popen(
            [*(Program.in_console("") if console else Program.command), *arguments, "--progress"],
            cwd=self.folder,
            env=environment(),
            stdin=subprocess.PIPE if console else subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
        )
        said = b""
        while moment not in said:
            more = os.read(process.stderr.fileno(), 4096)
            if not more:
                process.communicate()
                self.fail(f"ended too early: {said}")
            said += more
        return process, said

    def last_line(self, output):
        """What is left standing on a console after progress bars have gone over it."""
        return text(output).rstrip("\n").replace("\r", "\n").splitlines()[-1]

    def run_tool(self, *arguments, file_size=None, keys=None):
        """Runs the program to its end.

        file_size: no file can grow beyond it. keys: in a console in which they have been typed.
        """
        done = subprocess.run(
            [*(Program.command if keys is None else Program.in_console(keys)), *arguments],
            cwd=self.folder,
            env=environment(),
            stdin=subprocess.DEVNULL,
            capture_output=True,
            timeout=60,
            restore_signals=file_size is None,
            preexec_fn=None if file_size is None else lambda: limit_file_size(file_size),
        )
        return Result(done.returncode, text(done.stdout), text(done.stderr))

    def succeed(self, *arguments, notes=()):
        """Runs the program, which must succeed without a word of trouble; returns what it says.

        notes: what it notes of its results, line by line.
        """
        result = self.run_tool(*arguments)
        noted = "".join(f"q32tool: note: {note}\n" for note in notes)
        self.assertEqual((result.code, result.err), (DONE, noted), f"{arguments}: {result.out}")
        return result.out

    def make(self, target, *arguments, notes=()):
        """Runs a command that writes the file target and touches nothing else in the folder.

        Returns the new file's bytes.
        """
        before = self.files()
        self.succeed(*arguments, notes=notes)
        self.assert_only_new(before, target)
        return (self.folder / target).read_bytes()

    def convert(self, source, target, *options, notes=()):
        """Converts a file. Returns the new file's bytes."""
        return self.make(target, "convert", source, target, *options, notes=notes)

    def info(self, *arguments):
        """What `info` prints, by the words before the colons."""
        lines = self.succeed("info", *arguments).splitlines()
        return dict(line.split(": ", 1) for line in lines)

    def refuse(self, code, *arguments, says=(), file_size=None):
        """Runs the program, which must fail with one line and leave every file as it was."""
        before = self.files()
        result = self.run_tool(*arguments, file_size=file_size)
        self.assertEqual(result.code, code, f"{arguments} printed {result.out}{result.err}")
        self.assertEqual(result.out, "")
        self.assertRegex(result.err, r"\Aq32tool: [^\n]{8,}\n\Z")
        for words in [says] if isinstance(says, str) else says:
            self.assertIn(words, result.err)
        self.assert_only_new(before)
        return result.err

    def refuse_room(self, *arguments, says):
        """The same for 3 GB of pixels in memory, for which addresses of 32 bits are too few. In 64
        bits they are to go to a file on a disk that is full, so that the test needs no such room.
        """
        if Program.by_edition(False, True):
            (self.folder / "swap").mkdir(exist_ok=True)
            storage, file_size = ["--memory-limit", "1M", "--swap-dir", "swap"], 1 << 20
            remedy = "--swap-dir, or use a smaller picture"
        else:
            storage, file_size = ["--storage", "memory"], None
            remedy = "of 32 bits has addresses for; use the 64-bit edition or a smaller picture"
        self.refuse(FAILED, *arguments, *storage, says=[*says, remedy], file_size=file_size)

    # Pictures

    def read(self, name):
        return pictures.read(self.folder / name)

    def assert_file_holds(self, name, picture, bits, within=0):
        """The file has these pixels, and this many bits for each."""
        found = self.read(name)
        self.assertEqual(found.bits, bits)
        self.assert_same_picture(found.picture, picture, within)
