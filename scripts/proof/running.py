"""Runs a step's commands, one after the other, within its time: every line that they print goes to
its log, with the second kept at which it came. What is left when the time is over, or the run is
interrupted, is ended."""

import os
import signal
import subprocess
import threading
import time

from .numbers import minutes
from .readers import Output

PATIENCE = ((signal.SIGINT, 60), (signal.SIGTERM, 10), (signal.SIGKILL, 10))  # seconds


class Stopped(Exception):
    """Says why a step failed, and carries its outputs; at its end when no command was cut short."""

    def __init__(self, why, outputs, at_its_end):
        super().__init__(why)
        self.outputs, self.at_its_end = outputs, at_its_end


class Interrupted(Exception):
    pass


def environment(command):
    """That of this process, but for what would change what the tests do. None leaves one out."""
    inherited = {name: value for name, value in os.environ.items()
                 if not name.startswith(("Q32BASE_", "GTEST_"))}  # fmt: skip
    wanted = inherited | dict(command.variables)
    return {name: value for name, value in wanted.items() if value is not None}


def end(process):
    """A process and what it has started, first in the way of somebody at the keyboard."""
    for number, patience in PATIENCE:
        try:
            os.killpg(process.pid, number)
            process.wait(patience)
        except ProcessLookupError:
            break
        except subprocess.TimeoutExpired:
            continue
    process.wait()


class Runner:
    def __init__(self, root, folder):
        self.root, self.folder = root, folder
        self.is_stopping = threading.Event()

    def stop(self):
        self.is_stopping.set()

    def run(self, step, seconds):
        """The outputs of all commands. Raises Stopped."""
        deadline = time.monotonic() + seconds
        outputs = []
        self.folder.mkdir(parents=True, exist_ok=True)
        with open(self.folder / f"{step.name}.log", "w") as log:
            for command in step.commands:
                print("$", command.text, file=log, flush=True)
                output, status, why = self.run_one(command, deadline, log)
                outputs.append(output)
                if why == "interrupted":
                    raise Interrupted(why)
                if why == "time" and not step.may_be_cut:
                    raise Stopped(f"not done within {minutes(seconds)}", outputs, False)
                if not why and status not in command.good:
                    raise Stopped(f"`{command.text}` ended with {status}", outputs, True)
        return outputs

    def run_one(self, command, deadline, log):
        """What it printed, its exit code, and why it was ended, if it was."""
        start = time.monotonic()
        try:
            process = subprocess.Popen(
                command.words, cwd=self.root / command.folder, text=True, errors="replace",
                env=environment(command), start_new_session=True,
                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
            )  # fmt: skip
        except OSError as error:
            print(error, file=log)
            return Output([]), 127, None
        lines = []

        def read():
            for line in process.stdout:
                lines.append((time.monotonic() - start, line.rstrip("\n")))
                log.write(line)
                log.flush()

        reader = threading.Thread(target=read, daemon=True)
        reader.start()
        why = None
        while process.poll() is None and why is None:
            if self.is_stopping.is_set():
                why = "interrupted"
            elif time.monotonic() > deadline:
                why = "time"
            else:
                time.sleep(0.05)
        taken = time.monotonic() - start
        if why:
            end(process)
        reader.join(10)  # what a program has left behind may hold its output open
        return Output(list(lines), taken), process.returncode, why
