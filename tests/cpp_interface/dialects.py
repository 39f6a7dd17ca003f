#!/usr/bin/env python3
"""Compiles q32base.hpp as programs may: dialects.py SOURCE CXX CLANG MACHINE

By the compiler of the build and by Clang, for MinGW and as Microsoft's compiler, from C++17 to C++23, with
and without exceptions, with what programs define for <windows.h>, without a warning; each of its files
alone; the examples of docs/cpp.md. And what must not compile does not, for the right reason.
"""

import concurrent.futures
import itertools
import os
import pathlib
import subprocess
import sys

from examples import functions_of

DIALECTS = ["c++17", "c++20", "c++2b"]
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wshadow", "-Wconversion", "-Wsign-conversion", "-Wundef", "-Werror"]
GCC_WARNINGS = [*WARNINGS, "-Weffc++", "-Wold-style-cast", "-Wcast-qual", "-Wnon-virtual-dtor", "-Wextra-semi"]
# Gaps in records and the tables of classes in headers are as they must be; C++98 is not wanted; MinGW's
# snprintf is marked unused.
CLANG_WARNINGS = [
    *["-Weverything", "-Werror", "-Wno-padded", "-Wno-weak-vtables", "-Wno-c++98-compat-pedantic"],
    "-Wno-used-but-marked-unused",
]
# The headers of MinGW and GCC stand in for Microsoft's, and want to see their own compiler.
MICROSOFT_MODE = ["-fms-extensions", "-fgnuc-version=12", "-fmsc-version=0"]
MICROSOFT_PRELUDE = "#include <_mingw.h>\n#undef __MINGW_IMPORT\n#define __MINGW_IMPORT extern\n"
PROCESSOR = {"i686": "_X86_", "x86_64": "_AMD64_"}
SETTINGS = [
    ["-DNOGDI", "-DWIN32_LEAN_AND_MEAN"],
    [],
    ["-DSTRICT", "-DUNICODE", "-D_UNICODE"],
    ["-DNO_STRICT", "-DNDEBUG"],
]
ORDERS = [
    "#include <q32base.hpp>\n",
    "#include <windows.h>\n#include <q32base.hpp>\n#include <q32base.h>\n",
    "#include <q32base.h>\n#include <string>\n#include <q32base.hpp>\n#include <windows.h>\n",
]
REFUSED = [
    ("q32::Buffer copy = image", [], "use of deleted function"),
    ("q32::Lock lock = image.lock(BUF32_READ), copy(lock)", [], "use of deleted function"),
    ("image.read({}, std::vector<std::string>())", [], "no matching function"),
    ("image.read({}, constant)", [], "no matching function"),
    ("image.lock(BUF32_READ)", [], "nodiscard"),
    ("image.fill<q32::nothrow>({})", [], "nodiscard"),
    ("(void)q32::Buffer::allocate(8, 1, 1)", ["-fno-exceptions"], "functions are called as f<q32::nothrow>(...)"),
]


def system_headers(machine):
    found = [f"/usr/lib/gcc/{machine}-w64-mingw32/12-posix/include/c++"]
    return [*found, f"{found[0]}/{machine}-w64-mingw32", f"/usr/{machine}-w64-mingw32/include"]


def clang_command(clang, target, options, machine):
    places = [word for folder in system_headers(machine) for word in ("-isystem", folder)]
    return [clang, f"--target={machine}-{target}", *options, *CLANG_WARNINGS, *places]


def cases_of(source, cxx, clang, machine):
    """Commands, what they compile, and the words with which they must refuse it."""
    include, here = source / "include", source / "tests/cpp_interface"
    page = functions_of((source / "docs/cpp.md").read_text())
    without = (here / "no_exceptions.cpp").read_text()
    gcc = [cxx, *GCC_WARNINGS]
    mingw = clang_command(clang, "w64-mingw32", [], machine)
    microsoft = clang_command(clang, "pc-windows-msvc", [*MICROSOFT_MODE, f"-D{PROCESSOR[machine]}"], machine)
    settings = itertools.cycle(SETTINGS)
    for dialect, text in zip(DIALECTS, ORDERS):
        standard = [f"-std={dialect}"]
        yield [*gcc, *standard, *next(settings)], text, None
        yield [*mingw, *standard, *next(settings)], text, None
        yield [*gcc, *standard, "-Wno-unused-variable"], page, None
        yield [*gcc, *standard, "-fno-exceptions", "-fno-rtti"], without, None
        yield [*mingw, *standard, "-fno-exceptions"], without, None
        gnu = f"-std={dialect.replace('c++', 'gnu++')}"  # the headers that stand in want it
        for options in (["-fexceptions", "-fcxx-exceptions"], ["-fno-exceptions"]):
            text = without if "-fno-exceptions" in options else "#include <q32base.hpp>\n"
            yield [*microsoft, gnu, *options, "-Wno-reserved-macro-identifier"], MICROSOFT_PRELUDE + text, None
    for file in sorted((include / "q32base/cpp").glob("*.hpp")):
        yield [cxx, "-std=c++17"], f"#include <q32base/cpp/{file.name}>\n", None
    for words, options, reason in REFUSED:
        text = "#include <q32base.hpp>\n#include <string>\n#include <vector>\n"
        text += f"void f(const q32::Buffer &image, const std::vector<char> &constant) {{ {words}; }}\n"
        yield [cxx, "-std=c++17", "-Wall", "-Werror", *options], text, reason


def problem_of(include, command, text, reason):
    command = [*command, f"-I{include}", "-fsyntax-only", "-x", "c++", "-"]
    result = subprocess.run(command, input=text, text=True, stderr=subprocess.PIPE)
    refused = result.returncode != 0
    if refused == (reason is not None) and (reason or "") in result.stderr:
        return None
    wanted = "" if reason is None else f"\nwas to be refused with: {reason}"
    return f"{' '.join(command)}{wanted}\n{text[-400:]}\n{result.stderr[:3000]}"


def main(source, cxx, clang, machine):
    source = pathlib.Path(source)
    cases = list(cases_of(source, cxx, clang, machine))
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        found = pool.map(lambda case: problem_of(source / "include", *case), cases)
        problems = [problem for problem in found if problem is not None]
    print("\n".join(problems[:5]))
    print(f"{len(cases) - len(problems)} of {len(cases)} compilations as expected")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
