#!/usr/bin/env python3
"""Builds another project that has the library's sources inside: check_embedding.py SOURCE WORK i686|x86_64 EMULATOR

With FetchContent, and as a subfolder; by one compiler and by the other, in 32 bits and in 64 the other
way around, so that both compile the whole library. What the library must not change in the project
around it is looked at there (embedding/CMakeLists.txt).
"""

import pathlib
import subprocess
import sys

from check_callers import HERE, compilers
from check_package import FIRST_PROGRAM_PRINTS, expect, first_program_of, run

ERROR_TEXT_PRINTS = "There is not enough memory."


class EmbeddingTest:
    def __init__(self, source, work, arch, emulator):
        self.source, self.work, self.arch, self.emulator = source, work, arch, emulator
        self.first_program = work / "first_program.c"

    def configuring(self, folder, *settings):
        return [
            "cmake", "-G", "Ninja", "-S", HERE / "embedding", "-B", folder, "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=",
            f"-DQ32BASE_SOURCES={self.source}", f"-DFIRST_PROGRAM={self.first_program}", *settings,
        ]  # fmt: skip

    def use(self, way, compiler, program, printed, *settings):
        folder = self.work / way
        run(*self.configuring(folder, *compilers(self.arch)[compiler], *settings))
        run("cmake", "--build", folder, "--target", program, timeout=600)
        (made,) = folder.rglob(f"{program}.exe")
        expect(run(self.emulator, made).strip(), printed, f"{way} by {compiler}")
        listed = run("ctest", "-N", "--test-dir", folder)
        expect("Total Tests: 0" in listed, True, f"tests of the library in another project: {listed}")
        run("cmake", "--install", folder, "--prefix", self.work / "installed")
        installed = list((self.work / "installed").rglob("*"))
        expect(installed, [], "what the library installs with another project")

    def is_refused(self, way, said, *settings):
        """A project that cannot compile the library is told why."""
        command = [str(part) for part in self.configuring(self.work / way, *settings)]
        result = subprocess.run(command, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        words = " ".join(result.stdout.split())
        expect((result.returncode != 0, said in words), (True, True), words)


def main(source, work, arch, emulator):
    source, work = pathlib.Path(source), pathlib.Path(work)
    run("cmake", "-E", "rm", "-rf", work)
    work.mkdir(parents=True)
    test = EmbeddingTest(source, work, arch, emulator)
    test.first_program.write_text(first_program_of(source))
    whole, part = ("gcc", "clang for MinGW") if arch == "i686" else ("clang for MinGW", "gcc")
    test.use("subfolder", part, "error_text", ERROR_TEXT_PRINTS)
    test.use("fetched", whole, "first_program", FIRST_PROGRAM_PRINTS, "-DBY_FETCH_CONTENT=ON")
    test.is_refused("native", "Q32BASE is a library for Windows, and this project is built for Linux.")
    microsoft = compilers(arch)["clang as Microsoft's"]
    test.is_refused("microsoft", "use the installed package: find_package(q32base)", *microsoft)
    print(f"the library is part of another project for {arch}, fetched and as a subfolder")


if __name__ == "__main__":
    main(*sys.argv[1:])
