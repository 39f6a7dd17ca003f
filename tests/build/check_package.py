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
INSTALLED = {
    "bin/Q32BASE.DLL",
    "bin/q32comm.dll",
    "include/q32base.h",
    "include/q32comm.h",
    "lib/libq32base.dll.a",
    "lib/libq32comm.dll.a",
    "lib/q32base.def",
    "lib/q32comm.def",
    "lib/cmake/q32base/q32base-config.cmake",
    "lib/pkgconfig/q32base.pc",
}


def run(*command, **options):
    """Runs a command and returns what it printed; a failure ends the test with the command's words."""
    command = [str(part) for part in command]
    result = subprocess.run(
        command, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=120, **options
    )
    if result.returncode:
        sys.exit(f"{' '.join(command)}\nended with {result.returncode}:\n{result.stdout}")
    return result.stdout


def expect(found, wanted, what):
    if found != wanted:
        sys.exit(f"{what}: found {found!r}, wanted {wanted!r}")


class PackageTest:
    def __init__(self, source, build, work, cc, dlltool, emulator):
        self.source, self.build, self.work = map(pathlib.Path, (source, build, work))
        self.cc, self.dlltool, self.emulator = cc, dlltool, emulator
        self.prefix = self.work / "prefix"
        self.first_program = self.work / "first_program.c"

    def install(self):
        shutil.rmtree(self.work, ignore_errors=True)
        self.work.mkdir(parents=True)
        staged = self.work / "staged"
        run("cmake", "--install", self.build, "--prefix", staged)
        staged.rename(self.prefix)  # an installed tree can be moved
        installed = {
            path.relative_to(self.prefix).as_posix() for path in self.prefix.rglob("*") if path.is_file()
        }
        expect(INSTALLED - installed, set(), "files that the installation lacks")
        readme = (self.source / "README.md").read_text()
        self.first_program.write_text(re.search(r"```c\n(.*?)```", readme, re.DOTALL)[1])

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

    def use_with_def_file(self):
        program = self.work / "def" / "first_program.exe"
        program.parent.mkdir()
        library = program.parent / "libmade_from_def.a"
        run(self.dlltool, "-d", self.prefix / "lib/q32base.def", "-l", library)
        run(self.cc, self.first_program, f"-I{self.prefix}/include", library, "-o", program)
        expect(self.output(program), FIRST_PROGRAM_PRINTS, "by the .def file")


def main(*arguments):
    test = PackageTest(*arguments)
    test.install()
    test.use_with_cmake()
    test.use_with_pkg_config()
    test.use_with_def_file()
    print("the installed package works by CMake, by pkg-config and by its .def file")


if __name__ == "__main__":
    main(*sys.argv[1:])
