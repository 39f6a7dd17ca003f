#!/usr/bin/env python3
"""Builds the programs of callers/ with every compiler against the installed package, and runs them.

check_callers.py SOURCE BUILD WORK i686|x86_64 EMULATOR

Compilers are MinGW's GCC, Clang for MinGW, and Clang as Microsoft's compiler with a linker like
Microsoft's; that one by its plain command line too, as docs/using.md says.
"""

import pathlib
import shlex
import subprocess
import sys

from check_package import FIRST_PROGRAM_PRINTS, expect, first_program_of, run

HERE = pathlib.Path(__file__).resolve().parent
PRINTS = {
    "first_program": FIRST_PROGRAM_PRINTS,
    "conventions": "conventions: 27 of 27 as expected",
    "records": "records: 29 of 29 as expected",
    "scaling": "scaling: 15 of 15 as expected",
    "threads": "threads: 6 of 6 as expected",
}
NOTICED = "conventions: 26 of 27 as expected"  # what a caller of the wrong convention prints


def compilers(arch):
    """What CMake is told for each of them."""
    mingw = f"{arch}-w64-mingw32"
    return {
        "gcc": [
            "-DCMAKE_SYSTEM_NAME=Windows",
            f"-DCMAKE_C_COMPILER={mingw}-gcc-posix",
            f"-DCMAKE_CXX_COMPILER={mingw}-g++-posix",
        ],
        "clang for MinGW": [
            f"-DCMAKE_TOOLCHAIN_FILE={HERE}/clang-mingw.cmake",
            f"-DQ32_MINGW_ARCH={arch}",
        ],
        "clang as Microsoft's": [
            f"-DCMAKE_TOOLCHAIN_FILE={HERE}/clang-msvc.cmake",
            f"-DQ32_MSVC_ARCH={arch}",
        ],
    }


class CallersTest:
    def __init__(self, work, arch, emulator):
        self.work, self.arch, self.emulator = work, arch, emulator
        self.prefix = work / "a package"
        self.first_program = work / "first_program.c"

    def use_with_cmake(self, compiler, settings):
        folder = self.work / compiler
        run(
            "cmake", "-G", "Ninja", "-S", HERE / "callers", "-B", folder, "-DCMAKE_BUILD_TYPE=Release",
            f"-DCMAKE_PREFIX_PATH={self.prefix}", f"-DFIRST_PROGRAM={self.first_program}", *settings,
        )  # fmt: skip
        run("cmake", "--build", folder)
        for program, printed in PRINTS.items():
            expect(run(self.emulator, folder / f"{program}.exe").strip(), printed, f"{program} by {compiler}")
        if self.arch == "i686":
            command = [self.emulator, folder / "wrong_conventions.exe"]
            wrong = subprocess.run(command, text=True, stdout=subprocess.PIPE, timeout=120)
            expect((wrong.returncode, NOTICED in wrong.stdout), (1, True), f"wrong conventions by {compiler}")
        return folder

    def use_by_command_line(self, folder):
        """clang-cl, and its linker's answer to the library that is not for it."""
        system = folder / f"microsoft-{self.arch}"
        flags = [f"/clang:{flag}" for flag in shlex.split((system / "C-flags").read_text())]
        machine = "x86" if self.arch == "i686" else "x64"
        safe = ["/safeseh"] if self.arch == "i686" else []

        # /Tc: a path can look like an option, as /work does like /wo.
        def command(library, program):
            return [
                "clang", "--driver-mode=cl", f"--target={self.arch}-pc-windows-msvc", "-fuse-ld=lld-link", *flags,
                "/MD", "/O2", f"/I{self.prefix}/include", f"/Tc{self.first_program}", f"/Fe{program}",
                f"/Fo{self.work}/", "/link", f"/libpath:{system}", f"/machine:{machine}", *safe,
                f"{self.prefix}/lib/{library}", "kernel32.lib",
            ]  # fmt: skip

        program = folder / "by_command_line.exe"
        run(*command("q32base.lib", program))
        expect(run(self.emulator, program).strip(), PRINTS["first_program"], "by clang-cl")
        if safe:
            refused = subprocess.run(
                command("libq32base.dll.a", folder / "refused.exe"), text=True, stderr=subprocess.PIPE
            )
            said = "/safeseh" in refused.stderr and "is not compatible with SEH" in refused.stderr
            expect((refused.returncode != 0, said), (True, True), f"/safeseh is on: {refused.stderr}")


def main(source, build, work, arch, emulator):
    work = pathlib.Path(work)
    run("cmake", "-E", "rm", "-rf", work)
    work.mkdir(parents=True)
    test = CallersTest(work, arch, emulator)
    run("cmake", "--install", build, "--prefix", test.prefix)
    test.first_program.write_text(first_program_of(pathlib.Path(source)))
    for compiler, settings in compilers(arch).items():
        folder = test.use_with_cmake(compiler, settings)
    test.use_by_command_line(folder)
    print(f"{len(PRINTS)} programs by {len(compilers(arch))} compilers print the same for {arch}")


if __name__ == "__main__":
    main(*sys.argv[1:])
