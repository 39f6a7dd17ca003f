#!/usr/bin/env python3
"""Compiles and runs what the manual shows: every C and C++ program of it and of README.md, and every
command line, and compares what they print with what the page says.

check_examples.py ROOT BUILD WORK CC CXX EMULATOR

Programs are blocks of c or cpp from one with an #include to the one with main; a block of text behind
it is what it prints. Command lines stand in blocks of console behind "> ", and below them what they
print ("..." for any lines). Each page has a folder of its own, in which a package lies as the first
page unpacks it.
"""

import pathlib
import re
import shlex
import shutil
import subprocess
import sys

from pages import Page, manual_of, programs_of

PACKAGE = "q32base-1.0.0-win32"
STANDARDS = {"c": "-std=c99", "cpp": "-std=c++17"}
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Werror"]


def run(*command, **options):
    """What a command printed; None when it failed, with its words on the error stream."""
    result = subprocess.run(
        [str(part) for part in command], text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
        stdin=subprocess.DEVNULL, timeout=120, **options,
    )  # fmt: skip
    if result.returncode:
        print(f"{command} ended with {result.returncode}:\n{result.stdout}", file=sys.stderr)
        return None
    return result.stdout


def is_as_told(printed, told):
    """Whether lines are those of the page, of which "..." stands for any."""
    printed, told = printed.split("\n"), told.split("\n")
    if "..." not in told:
        return printed == told
    place = told.index("...")
    behind = len(told) - place - 1
    return printed[:place] == told[:place] and printed[len(printed) - behind :] == told[place + 1 :]


class Examples:
    def __init__(self, root, build, work, cc, cxx, emulator):
        self.root, self.build, self.work = map(pathlib.Path, (root, build, work))
        self.compilers = {"c": cc, "cpp": cxx}
        self.emulator = emulator
        self.wrong = []
        self.made = 0

    def folder_of(self, page):
        folder = self.work / page.name
        package = folder / PACKAGE
        package.mkdir(parents=True)
        for name, place in (("include", self.root), ("lib", self.build), ("bin", self.build)):
            (package / name).symlink_to(place / name)
        self.copy_libraries(folder)
        return folder

    def copy_libraries(self, folder):
        for name in ("Q32BASE.DLL", "q32comm.dll"):
            shutil.copy(self.build / "bin" / name, folder)

    def check(self, page):
        folder = self.folder_of(page)
        for program in programs_of(page):
            self.check_program(program, folder)
        for block in page.blocks():
            if block.language == "console":
                self.check_commands(page, block, folder)

    def compare(self, where, printed, told):
        self.made += 1
        if printed is None:
            self.wrong.append(f"{where}: failed")
        elif told is not None and not is_as_told(printed, told):
            self.wrong.append(f"{where} prints\n{printed}and not\n{told}")

    def check_program(self, program, folder):
        where = f"{program.page.path.name}:{program.line}"
        source = folder / program.file_name()
        source.write_text(program.source(), encoding="utf-8")
        made = source.with_suffix(".exe" if program.is_complete() else ".o")
        how = ["-lq32base", "-lq32comm", "-lgdi32", "-luser32", "-static-libgcc"] if program.is_complete() else ["-c"]
        compiled = run(
            self.compilers[program.language], STANDARDS[program.language], *WARNINGS, source,
            f"-I{self.root}/include", f"-L{self.build}/lib", *how, "-o", made,
        )  # fmt: skip
        if compiled is None or not program.is_complete():
            return self.compare(where, compiled, None)
        self.compare(where, run(self.emulator, made.name, cwd=folder), program.output)

    def check_commands(self, page, block, folder):
        line = block.line
        for text in re.split(r"^> ", block.text, flags=re.MULTILINE)[1:]:
            command, _, told = text.partition("\n")
            self.compare(f"{page.path.name}:{line}", self.run_command(command, folder), told)
            line += text.count("\n")

    def run_command(self, command, folder):
        """A line of a Windows prompt. The compiler is the build's, whose programs run on this machine."""
        name, *arguments = shlex.split(command.replace("\\", "/"))
        if name == "copy":
            for path in folder.glob(arguments[0]):
                shutil.copy(path, folder / arguments[1])
            return ""
        if name in ("gcc", "g++"):
            return run(self.compilers["c" if name == "gcc" else "cpp"], *arguments, cwd=folder)
        tool = self.build / "bin" / f"{name}.exe"
        program = tool if tool.exists() else f"{name}.exe"
        return run(self.emulator, program, *arguments, cwd=folder)


def main(root, build, work, *tools):
    shutil.rmtree(work, ignore_errors=True)
    examples = Examples(root, build, work, *tools)
    for page in manual_of(root):
        examples.check(page)
    # Last, as it shares the name of the manual's index.
    readme = Page(pathlib.Path(root, "README.md"))
    readme.name = "root"
    examples.check(readme)
    if examples.wrong:
        sys.exit("\n".join(examples.wrong))
    print(f"{examples.made} programs and commands do what the manual says")


if __name__ == "__main__":
    main(*sys.argv[1:])
