#!/usr/bin/env python3
"""Compiles and runs the examples of docs/cpp.md and of q32base.hpp: they print what their comments say.

examples.py SOURCE WORK CXX PROGRAMS LIBRARIES EMULATOR     PROGRAMS: the folder with the DLLs
"""

import pathlib
import re
import shutil
import subprocess
import sys

PRELUDE = """#include <q32base.hpp>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>
"""
# Assertions are on: spans are as large as the calls need.
FLAGS = ["-std=c++17", "-O1", "-Wall", "-Wextra", "-Wno-unused-variable", "-Werror", "-static"]


def run(command):
    command = [str(part) for part in command]
    result = subprocess.run(command, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=120)
    if result.returncode:
        sys.exit(f"{' '.join(command)}\nended with {result.returncode}:\n{result.stdout}")
    return result.stdout


def first_program(header):
    """The program in the comment at the top."""
    lines = header[: header.index(" */")].splitlines()
    return "\n".join(line[7:] for line in lines if line.startswith(" *     "))


def functions_of(page):
    """The page's examples as one program."""
    examples = re.findall(r"```cpp\n(.*?)```", page, re.DOTALL)
    functions = [f"static void example_{number}() {{\n{body}}}\n" for number, body in enumerate(examples)]
    calls = "".join(f"    example_{number}();\n" for number in range(len(examples)))
    return PRELUDE + "".join(functions) + f"int main() {{\n{calls}}}\n"


def said_by(program):
    """What the program must print: the comments behind its printing lines."""
    return re.findall(r'printf\(.*\\n".*\); // (.*)', program)


def main(source, work, cxx, programs, libraries, emulator):
    source, work, libraries = map(pathlib.Path, (source, work, libraries))
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    for library in pathlib.Path(programs).glob("*.[dD][lL][lL]"):
        shutil.copy(library, work)
    include = source / "include"
    examples = {
        "first_program": first_program((include / "q32base.hpp").read_text()),
        "page": functions_of((source / "docs/cpp.md").read_text()),
    }
    wrong = 0
    for name, text in examples.items():
        code, program = work / f"{name}.cpp", work / f"{name}.exe"
        code.write_text(text)
        imports = [libraries / "libq32base.dll.a", libraries / "libq32comm.dll.a", "-lgdi32"]
        run([cxx, *FLAGS, f"-I{include}", code, *imports, "-o", program])
        printed, said = run([emulator, program]).splitlines(), said_by(text)
        print(f"{name}: {len(printed)} lines printed")
        if printed != said or not said:
            wrong += 1
            print("printed:", *printed, "said:", *said, sep="\n    ")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
