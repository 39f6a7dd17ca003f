#!/usr/bin/env python3
"""Whether q32base.hpp costs nothing: same_code.py CXX OBJDUMP LOOPS INCLUDE

Compiles LOOPS, which has each loop twice, over the C functions (c_NAME) and over the C++ interface
(cpp_NAME), as programs are compiled, and compares what lies on the way from a function's first
instruction to its return: the same instructions as often. Which registers and stack slots the compiler
chose, in which order it put what can be in any, and what happens after a failure do not count.
"""

import collections
import pathlib
import re
import subprocess
import sys
import tempfile

PADDING = re.compile(r"nop|xchg +%ax,%ax|lea +0x0\((%e[sd]i)(,%eiz,1)?\),\1|data16")
FUNCTION = re.compile(r"[0-9a-f]+ <_?(\w+)>:")
INSTRUCTION = re.compile(r"\s+[0-9a-f]+:\t(.*)")
REGISTER = [
    (re.compile(r"%r(1[0-5]|[89]|[abcds][xip]|bp)\b"), "%r64"),
    (re.compile(r"%(e[abcds][xip]|ebp|r(1[0-5]|[89])d)\b"), "%r32"),
    (re.compile(r"%([abcd][lh]|[sd]il|bpl|r(1[0-5]|[89])b)\b"), "%r8"),
]


def normalised(instruction):
    """An instruction without names of registers and places, or nothing where it does nothing."""
    text = re.sub(r" *[#<].*", "", instruction).strip()
    if PADDING.match(text):
        return None
    text = re.sub(r"-?(0x[0-9a-f]+)?\(%[re]sp\)", "SLOT", text)
    text = re.sub(r"(sub|add) +\$0x[0-9a-f]+,%[re]sp", r"\1 FRAME", text)
    text = re.sub(r"^(j\w+|call) +[0-9a-f]+", r"\1 PLACE", text)
    for pattern, name in REGISTER:
        text = pattern.sub(name, text)
    return re.sub(r"\s+", " ", text)


def functions_of(listing):
    """The instructions of each function up to its return."""
    found, current = {}, None
    for line in listing.splitlines():
        if function := FUNCTION.match(line):
            current = found.setdefault(function[1], [])
        elif (instruction := INSTRUCTION.match(line)) and current is not None:
            if (text := normalised(instruction[1])) is not None:
                current.append(text)
            if text == "ret":
                current = None
    return found


def difference(c, cpp):
    """Lines that tell what only one of the two has."""
    c, cpp = collections.Counter(c), collections.Counter(cpp)
    lines = [f"    only in C: {count} x {text}" for text, count in (c - cpp).items()]
    return lines + [f"    only in C++: {count} x {text}" for text, count in (cpp - c).items()]


def main(compiler, objdump, loops, include):
    with tempfile.TemporaryDirectory() as folder:
        compiled = pathlib.Path(folder, "loops.o")
        command = [compiler, "-std=c++17", "-O2", "-DNDEBUG", f"-I{include}", "-c", loops, "-o", compiled]
        subprocess.run(command, check=True)
        command = [objdump, "-d", "--no-show-raw-insn", compiled]
        functions = functions_of(subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE).stdout)
    names = [name[2:] for name in functions if name.startswith("c_") and "c" + "pp_" + name[2:] in functions]
    failed = 0
    for name in names:
        c, cpp = functions["c_" + name], functions["cpp_" + name]
        lines = difference(c, cpp)
        failed += bool(lines) or "ret" not in c
        print(f"{name}: {len(c)} instructions in C, {len(cpp)} in C++", *lines, sep="\n")
    print(f"{len(names)} loops, {len(names) - failed} the same")
    return 0 if names and not failed else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
