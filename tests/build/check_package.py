#!/usr/bin/env python3
"""Installs the package and uses it from outside: by CMake, by pkg-config, and by its .def file.

check_package.py SOURCE BUILD WORK CC DLLTOOL EMULATOR

The program is the one in README.md, so that what a newcomer copies is known to work.
"""

import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys

FIRST_PROGRAM_PRINTS = "207 103 55"
READ_REPORT_PRINTS = "3200 0 1450 4 7"
CONTENTS = pathlib.Path(__file__).parent / "package_contents.txt"


def run(*command, timeout=120, **options):
    """Runs a command and returns what it printed; a failure ends the test with the command's words."""
    command = [str(part) for part in command]
    result = subprocess.run(
        command, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=timeout, **options
    )
    if result.returncode:
        sys.exit(f"{' '.join(command)}\nended with {result.returncode}:\n{result.stdout}")
    return result.stdout


def first_program_of(source):
    """The program that README.md shows."""
    return re.search(r"```c\n(.*?)```", (source / "README.md").read_text(), re.DOTALL)[1]


def expect(found, wanted, what):
    if found != wanted:
        sys.exit(f"{what}: found {found!r}, wanted {wanted!r}")


def files_of(folder):
    return {path.relative_to(folder).as_posix() for path in folder.rglob("*") if path.is_file()}


def expect_contents(folder, zipped):
    """The files of a package are those of the list, whose lines all have one but for what need not be there."""
    lines = [line.split() for line in CONTENTS.read_text().splitlines() if not line.startswith("#")]
    files = files_of(folder)

    def matches(pattern):
        parts = [re.escape(part).replace(r"\*", "[^/]*") for part in pattern.split("**")]
        return {file for file in files if re.fullmatch(".*".join(parts), file)}

    unknown = files - set().union(*(matches(line[-1]) for line in lines))
    needed = [line[-1] for line in lines if line[0] != "may" and (zipped or line[0] != "zip")]
    expect(unknown, set(), "files that no package holds")
    expect([pattern for pattern in needed if not matches(pattern)], [], "what the package lacks")


class PackageTest:
    """An installed package in the hands of a caller."""

    def __init__(self, source, prefix, work, cc, emulator):
        self.source, self.prefix, self.work = source, prefix, work
        self.cc, self.emulator = cc, emulator
        self.first_program = work / "first_program.c"
        self.first_program.write_text(first_program_of(source))

    def output(self, program):
        """What a program prints when it runs beside the installed DLLs."""
        beside = self.prefix / "bin" / f"{program.parent.name}-{program.name}"
        shutil.copy(program, beside)
        return run(self.emulator, beside).strip()

    def use_with_cmake(self):
        folder = self.work / "cmake"
        run(
            "cmake", "-G", "Ninja", "-S", self.source / "tests/build/consumer", "-B", folder,
            "-DCMAKE_SYSTEM_NAME=Windows", f"-DCMAKE_C_COMPILER={self.cc}",
            f"-DCMAKE_PREFIX_PATH={self.prefix}", f"-DFIRST_PROGRAM={self.first_program}",
        )  # fmt: skip
        run("cmake", "--build", folder)
        expect(self.output(folder / "first_program.exe"), FIRST_PROGRAM_PRINTS, "by CMake")
        expect(self.output(folder / "read_report.exe"), READ_REPORT_PRINTS, "a report read back")

    def use_with_pkg_config(self):
        program = self.work / "pkg-config" / "first_program.exe"
        program.parent.mkdir()
        search = {"PKG_CONFIG_LIBDIR": str(self.prefix / "lib/pkgconfig")}
        # As a shell reads them: folders may have spaces.
        flags = run("pkg-config", "--cflags", "--libs", "q32base", env=os.environ | search)
        run(self.cc, self.first_program, *shlex.split(flags), "-o", program)
        expect(self.output(program), FIRST_PROGRAM_PRINTS, "by pkg-config")

    def use_with_def_file(self, dlltool):
        program = self.work / "def" / "first_program.exe"
        program.parent.mkdir()
        library = program.parent / "libmade_from_def.a"
        run(dlltool, "-d", self.prefix / "lib/q32base.def", "-l", library)
        run(self.cc, self.first_program, f"-I{self.prefix}/include", library, "-o", program)
        expect(self.output(program), FIRST_PROGRAM_PRINTS, "by the .def file")


def main(source, build, work, cc, dlltool, emulator):
    source, work = pathlib.Path(source), pathlib.Path(work)
    shutil.rmtree(work, ignore_errors=True)
    run("cmake", "--install", build, "--prefix", work / "staged")
    prefix = (work / "staged").rename(work / "prefix")  # an installed tree can be moved
    expect_contents(prefix, zipped=False)
    test = PackageTest(source, prefix, work, cc, emulator)
    test.use_with_cmake()
    test.use_with_pkg_config()
    test.use_with_def_file(dlltool)
    print("the installed package works by CMake, by pkg-config and by its .def file")


if __name__ == "__main__":
    main(*sys.argv[1:])
