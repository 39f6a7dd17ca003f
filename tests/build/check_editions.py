#!/usr/bin/env python3
"""Installs both editions beside each other, and uses either package with either compiler.

check_editions.py SOURCE BUILD32 BUILD64 WORK VERSION EMULATOR

Alone, a package of one edition says so to a compiler of the other kind.
"""

import os
import pathlib
import shlex
import shutil
import subprocess
import sys

from check_package import FIRST_PROGRAM_PRINTS, expect, first_program_of, run

ARCHITECTURES = {"win32": "i686", "win64": "x86_64"}
COMPILERS = {edition: f"{arch}-w64-mingw32-gcc-posix" for edition, arch in ARCHITECTURES.items()}
BITS = {"win32": "32", "win64": "64"}


class EditionsTest:
    def __init__(self, source, builds, work, version, emulator):
        self.source, self.builds, self.work = source, builds, work
        self.version, self.emulator = version, emulator
        self.first_program = work / "first_program.c"

    def name_of(self, edition):
        return f"q32base-{self.version}-{edition}"

    def install(self, edition, beside):
        prefix = beside / self.name_of(edition)
        run("cmake", "--install", self.builds[edition], "--prefix", prefix)
        return prefix

    def configure(self, edition, folder, *prefixes, compiler=None):
        """The exit code and the words of CMake."""
        compiler = compiler or ["-DCMAKE_SYSTEM_NAME=Windows", f"-DCMAKE_C_COMPILER={COMPILERS[edition]}"]
        command = [
            "cmake", "-G", "Ninja", "-S", self.source / "tests/build/consumer", "-B", folder, *compiler,
            f"-DCMAKE_PREFIX_PATH={';'.join(map(str, prefixes))}", f"-DFIRST_PROGRAM={self.first_program}",
        ]  # fmt: skip
        result = subprocess.run(
            command, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=120
        )
        return result.returncode, " ".join(result.stdout.split())

    def expect_to_run(self, program, edition, beside, what):
        folder = beside / self.name_of(edition) / "bin"
        copy = folder / f"{program.parent.name}.exe"
        shutil.copy(program, copy)
        expect(run(self.emulator, copy).strip(), FIRST_PROGRAM_PRINTS, what)

    def expect_header_to_refuse(self, found, compiler, flags):
        command = [COMPILERS[compiler], "-fsyntax-only", self.first_program, *flags]
        result = subprocess.run(command, text=True, stderr=subprocess.PIPE)
        said = (
            f"This is the {BITS[found]}-bit edition of Q32BASE, for a program of another kind: "
            f"use {self.name_of(compiler)}."
        )
        expect((result.returncode != 0, said in result.stderr), (True, True), result.stderr)
        run(*command, "-DQ32BASE_ANY_EDITION")

    def each_compiler_finds_its_edition(self):
        beside = self.work / "beside"
        for edition in COMPILERS:
            self.install(edition, beside)
        for found in COMPILERS:
            for compiler in COMPILERS:
                prefix, what = beside / self.name_of(found), f"{found} with the compiler of {compiler}"
                folder = self.work / f"cmake-{found}-{compiler}"
                status, words = self.configure(compiler, folder, prefix)
                expect(status, 0, f"CMake, {what}: {words}")
                run("cmake", "--build", folder, "--target", "first_program")
                self.expect_to_run(folder / "first_program.exe", compiler, beside, f"by CMake, {what}")

                program = self.work / f"pkg-config-{found}-{compiler}" / "first_program.exe"
                program.parent.mkdir()
                search = os.environ | {"PKG_CONFIG_LIBDIR": str(prefix / "lib/pkgconfig")}
                flags = shlex.split(run("pkg-config", "--cflags", "--libs", "q32base", env=search))
                run(COMPILERS[compiler], self.first_program, *flags, "-o", program)
                self.expect_to_run(program, compiler, beside, f"by pkg-config, {what}")

    def a_microsoft_linker_finds_its_edition(self):
        """Beside the other one, which is the one that CMake is shown."""
        beside = self.work / "beside"
        for found, wanted in (("win32", "win64"), ("win64", "win32")):
            folder = self.work / f"microsoft-{wanted}"
            toolchain = self.source / "tests/build/clang-msvc.cmake"
            compiler = [f"-DCMAKE_TOOLCHAIN_FILE={toolchain}", f"-DQ32_MSVC_ARCH={ARCHITECTURES[wanted]}"]
            prefix = beside / self.name_of(found)
            status, words = self.configure(wanted, folder, prefix, compiler=compiler)
            expect(status, 0, f"CMake, Microsoft's linker for {wanted}: {words}")
            run("cmake", "--build", folder, "--target", "first_program")
            self.expect_to_run(folder / "first_program.exe", wanted, beside, f"{found} with Microsoft's linker")

    def a_package_alone_says_which_it_is(self):
        for found, compiler in (("win32", "win64"), ("win64", "win32")):
            prefix = self.install(found, self.work / f"alone-{found}")
            folder = self.work / f"refused-{found}"
            status, words = self.configure(compiler, folder, prefix)
            said = f"this is the {BITS[found]}-bit edition, and the compiler makes {BITS[compiler]}-bit programs"
            expect((status != 0, said in words), (True, True), f"{found} alone says: {words}")
            search = os.environ | {"PKG_CONFIG_LIBDIR": str(prefix / "lib/pkgconfig")}
            flags = shlex.split(run("pkg-config", "--cflags", "q32base", env=search))
            self.expect_header_to_refuse(found, compiler, flags)
            # Prefixes of both are tried until one will do.
            folder = self.work / f"searched-{found}"
            other = self.install(compiler, self.work / f"elsewhere-{compiler}")
            status, words = self.configure(compiler, folder, prefix, other)
            expect(status, 0, f"{found} before {compiler}: {words}")


def main(source, build_32, build_64, work, version, emulator):
    source, build_32, build_64, work = map(pathlib.Path, (source, build_32, build_64, work))
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    test = EditionsTest(source, {"win32": build_32, "win64": build_64}, work, version, emulator)
    test.first_program.write_text(first_program_of(source))
    test.each_compiler_finds_its_edition()
    test.a_microsoft_linker_finds_its_edition()
    test.a_package_alone_says_which_it_is()
    print("each compiler finds its edition, beside the other one or alone")


if __name__ == "__main__":
    main(*sys.argv[1:])
