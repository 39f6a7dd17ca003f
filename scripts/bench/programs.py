"""Programs run for what they print."""

import os
import subprocess
import sys
import tempfile

LONGEST_RUN = 600  # seconds; a program that crashed under Wine's debugger never ends


class Failed(Exception):
    pass


def run(*words, **environment):
    """What a program prints. Wine's own remarks are no concern of a table. Files and no pipes: a desktop
    that Wine starts meanwhile has the program's output open for as long as it lives."""
    with tempfile.TemporaryFile("w+") as output, tempfile.TemporaryFile("w+") as errors:
        done = subprocess.run([str(word) for word in words], stdout=output, stderr=errors, check=False,
                              timeout=LONGEST_RUN, env=os.environ | environment)  # fmt: skip
        output.seek(0)
        errors.seek(0)
        told = [line for line in errors.read().splitlines() if not line.startswith("wine: ")]
        if told:
            print("\n".join(told), file=sys.stderr)
        printed = output.read()
    if done.returncode != 0:
        raise Failed(f"{words[0]} ended with {done.returncode}\n{printed}")
    return printed
