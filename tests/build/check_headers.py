#!/usr/bin/env python3
"""Compiles each public header by itself, as C99 and as C++20: check_headers.py CC CXX INCLUDE"""

import pathlib
import subprocess
import sys

WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wshadow", "-Wundef", "-Werror"]


def compiles(compiler, language, header, include):
    command = [*compiler, *WARNINGS, f"-I{include}", "-fsyntax-only", "-x", language, "-"]
    source = f"#include <{header}>\n#include <{header}>\nint end_of_{language.strip('+')}_file;\n"
    result = subprocess.run(command, input=source, text=True, stderr=subprocess.PIPE)
    if result.returncode:
        print(f"{header} as {language} ({' '.join(command)}):\n{result.stderr}")
    return result.returncode == 0


def main(cc, cxx, include):
    headers = sorted(path.relative_to(include) for path in pathlib.Path(include).rglob("*.h"))
    compilers = [([cc, "-std=c99"], "c"), ([cxx, "-std=c++20"], "c++")]
    results = [
        compiles(compiler, language, header.as_posix(), include)
        for header in headers
        for compiler, language in compilers
    ]
    print(f"{len(headers)} headers, {results.count(True)} of {len(results)} compilations passed")
    return 0 if headers and all(results) else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
