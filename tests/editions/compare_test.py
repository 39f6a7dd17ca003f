#!/usr/bin/env python3
"""Plays the same scripts of operations through both editions and compares all that they tell, line by
line: compare_test.py EMULATOR TRANSCRIPT32 TRANSCRIPT64

Q32BASE_TEST_SEED sets the first seed. The long round plays more and longer scripts.
"""

import concurrent.futures
import os
import subprocess
import sys

SCRIPTS = {"short": (1, 200), "medium": (2, 800), "long": (6, 3000)}  # and the operations of each
FEWEST_REPORTS = 5  # in a hundred operations: a script that fails nowhere says little


def transcript(emulator, program, seed, operations):
    command = [emulator, program, str(seed), str(operations)]
    result = subprocess.run(command, text=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    lines = result.stdout.splitlines()
    if result.returncode or not lines or lines[-1] != "end":
        last = lines[-1] if lines else "nothing"
        sys.exit(f"{' '.join(command)}\nended early with {result.returncode}, after: {last}")
    return lines


def difference(lines_32, lines_64):
    """The first lines that differ, word by word from where they do."""
    for number, (line_32, line_64) in enumerate(zip(lines_32, lines_64)):
        if line_32 != line_64:
            return f"line {number + 1}\n32 bits: {line_32}\n64 bits: {line_64}"
    if len(lines_32) != len(lines_64):
        return f"{len(lines_32)} lines in 32 bits, {len(lines_64)} in 64"
    return None


def main(emulator, program_32, program_64):
    if not os.path.exists(program_32):
        sys.exit(f"{program_32} is missing: build the 32-bit edition first")
    scripts, operations = SCRIPTS[os.environ.get("Q32BASE_TEST_ROUND", "long")]
    first = int(os.environ.get("Q32BASE_TEST_SEED", "20240517"), 0)
    status = 0
    for seed in range(first, first + scripts):
        with concurrent.futures.ThreadPoolExecutor() as pool:
            lines_32, lines_64 = pool.map(
                lambda program: transcript(emulator, program, seed, operations), (program_32, program_64)
            )
        reports = sum(line.count(" report ") for line in lines_32)
        found = difference(lines_32, lines_64)
        print(f"seed {seed}: {len(lines_32)} lines, {reports} reports: {'different' if found else 'the same'}")
        if found:
            print(f"rerun with Q32BASE_TEST_SEED={seed}: {found}")
            status = 1
        if reports < FEWEST_REPORTS * operations // 100:
            print(f"only {reports} reports: the script has lost its mistakes")
            status = 1
    return status


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
