#!/usr/bin/env python3
"""Compiles the public headers as a program of any dialect may: check_headers.py INCLUDE CC CXX [CLANG MACHINE]

Each header alone, and all of them in changing order, in C and C++ from the oldest dialect to the newest,
with what programs define for <windows.h>, before it and after it, without a warning. CC and CXX alone
are tried in a few dialects; with CLANG they are tried in all, beside it as the compiler for MinGW and in
Microsoft's mode, both for MACHINE. A record that has not its layout must be refused in every dialect.
"""

import collections
import concurrent.futures
import itertools
import os
import pathlib
import random
import re
import subprocess
import sys
import tempfile

# The oldest C is ANSI C without exceptions; that <stdint.h> is younger is the compiler's affair.
DIALECTS = {
    "c": ["c89", "c99", "c11", "c17", "c2x"],
    "c++": ["c++98", "c++03", "c++11", "c++14", "c++17", "c++20", "c++2b"],
}
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wshadow", "-Wundef", "-Werror"]
GCC_WARNINGS = [*WARNINGS, "-Wcast-qual", "-Wconversion", "-Wredundant-decls", "-Wmissing-declarations"]
GCC_WARNINGS_OF = {
    "c": ["-Wc++-compat", "-Wstrict-prototypes", "-Wdeclaration-after-statement"],
    "c++": ["-Wold-style-cast", "-Wzero-as-null-pointer-constant"],
}
# Gaps in records are where the platform wants them, and are part of the interface.
CLANG_WARNINGS = ["-Weverything", "-Werror", "-Wno-padded"]
# What stands in for the Microsoft headers are those of MinGW, which want to see their own compiler.
MICROSOFT_MODE = ["-fms-extensions", "-fgnuc-version=12", "-fmsc-version=0", "-D_X86_"]

SETTINGS = [
    [],
    ["NOGDI"],
    ["WIN32_LEAN_AND_MEAN", "NOMINMAX"],
    ["NO_STRICT"],
    ["STRICT", "UNICODE", "_UNICODE"],
    ["WIN32_LEAN_AND_MEAN", "NOGDI", "NOUSER", "NOKERNEL", "NOSERVICE", "NORESOURCE"],
    ["_WIN32_WINNT=0x0501", "WINVER=0x0501", "COBJMACROS"],
]
BEFORE = ["", "#include <windows.h>\n", "#include <stdio.h>\n#include <string.h>\n", "#include <winsock2.h>\n"]
AFTER = ["", "#include <windows.h>\n#include <windowsx.h>\n"]
# What macros stand for is only looked at where they are used.
USES = """
#if Q32BASE_VERSION < Q32BASE_VERSION_OF(1, 0, 0)
#error the version does not compare
#endif
extern const char *const version_text;
extern const size_t no_limit;
extern HBUF32 make_buffer(const struct tagBITMAPINFOHEADER *header, RESAMPLECALLBACK *first, D32CALLBACK *second);
const char *const version_text = Q32BASE_VERSION_STRING;
const size_t no_limit = BUF32_NO_LIMIT;
"""
WRONG_RECORD = """
typedef struct Wrong { char bytes[5]; } Wrong;
Q32_RECORD_BYTES(Wrong, 4, 4);
"""

Case = collections.namedtuple("Case", "command source refused")


def compilers_of(cc, cxx, clang=None, machine=None):
    """What calls a compiler for each language, for each compiler; the build's own is the first."""
    built_with = {"c": cc, "c++": cxx}
    found = [
        {language: [command, *GCC_WARNINGS, *GCC_WARNINGS_OF[language]] for language, command in built_with.items()}
    ]
    if clang is not None:
        mingw = [f"--target={machine}-w64-mingw32"]
        system_headers = ["-isystem", f"/usr/{machine}-w64-mingw32/include"]
        microsoft = [f"--target={machine}-pc-windows-msvc", *MICROSOFT_MODE, *system_headers]
        for target in (mingw, microsoft):
            found.append({language: [clang, *target, *CLANG_WARNINGS] for language in DIALECTS})
    return found


class Cases:
    """What is to be compiled; settings and orders change from one to the next."""

    def __init__(self, include, stand_in):
        self.include, self.stand_in = include, stand_in
        self.headers = sorted(path.relative_to(include).as_posix() for path in include.rglob("*.h"))
        self.settings = itertools.cycle(SETTINGS)
        self.surroundings = itertools.cycle(itertools.product(BEFORE, AFTER))
        self.order = random.Random(1)
        self.all = []

    def add(self, command, language, dialect, source, defines=(), refused=False):
        options = [f"-std={dialect}", *(f"-D{define}" for define in defines), f"-I{self.include}"]
        self.all.append(Case([*command, *options, "-fsyntax-only", "-x", language, "-"], source, refused))

    def add_alone(self, command, language, dialect):
        for header in self.headers:
            source = f"#include <{header}>\n#include <{header}>\nextern int end_of_file;\n"
            self.add(command, language, dialect, source, next(self.settings))

    def add_together(self, command, language, dialect):
        headers = self.order.sample(self.headers, len(self.headers))
        before, after = next(self.surroundings)
        source = before + "".join(f"#include <{header}>\n" for header in headers) + after + USES
        self.add(command, language, dialect, source, next(self.settings))

    def add_example(self, command, language, dialect):
        """The message loop in the comment of queues.h."""
        text = (self.include / "q32base/queues.h").read_text()
        loop = re.search(r"^ \*     for \(;;\) \{\n(?: \*     .*\n)+", text, re.MULTILINE)[0]
        code = re.sub(r"^ \* ", "", loop, flags=re.MULTILINE)
        source = f"#include <q32base.h>\nextern int run(void);\nint run(void) {{\n    MSG message;\n{code}}}\n"
        self.add(command, language, dialect, source)

    def add_wrong_record(self, command, language, dialect):
        quick = [*command, f"-I{self.stand_in}"]  # an empty <windows.h>: types.h asks nothing of it
        source = "#include <q32base/types.h>\n"
        self.add(quick, language, dialect, source)
        self.add(quick, language, dialect, source + WRONG_RECORD, refused=True)


def cases_of(include, stand_in, compilers):
    cases = Cases(include, stand_in)
    thorough = len(compilers) > 1
    for compiler in compilers:
        for language, command in compiler.items():
            dialects = DIALECTS[language]
            for dialect in dialects if thorough else [dialects[0], dialects[-1]]:
                cases.add_together(command, language, dialect)
                cases.add_wrong_record(command, language, dialect)
            if language == "c":
                cases.add_example(command, language, dialects[0])
            # Whether a header includes what it needs, no two compilers see differently.
            if compiler is compilers[0] and (thorough or language == "c"):
                cases.add_alone(command, language, dialects[0])
    return cases


def problem_of(case):
    """What is wrong with a compilation, or nothing."""
    result = subprocess.run(case.command, input=case.source, text=True, stderr=subprocess.PIPE)
    if (result.returncode != 0) == case.refused:
        return None
    what = "was not refused" if case.refused else result.stderr
    return f"{' '.join(case.command)}\n{case.source}{what}"


def main(include, *compilers):
    with tempfile.TemporaryDirectory() as stand_in:
        pathlib.Path(stand_in, "windows.h").touch()
        cases = cases_of(pathlib.Path(include), stand_in, compilers_of(*compilers))
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            problems = [problem for problem in pool.map(problem_of, cases.all) if problem is not None]
    print("\n".join(problems[:5]))
    count = len(cases.all)
    print(f"{len(cases.headers)} headers, {count - len(problems)} of {count} compilations as expected")
    return 0 if cases.headers and not problems else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
