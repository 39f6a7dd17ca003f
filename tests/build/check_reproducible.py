#!/usr/bin/env python3
"""Builds what ships once more, from a copy of the source elsewhere: check_reproducible.py PRESET SOURCE BUILD WORK

The copy is built with debug sections and linked twice: without them, as what ships is, which must give
the same bytes, and then with them, for check_zip.py.
"""

import pathlib
import shutil
import subprocess
import sys

NOT_SOURCE = {"build", ".git", ".cache"}  # in the root
WHAT_SHIPS = ["bin", "lib"]  # programs, and import libraries
FEWEST = 8  # three DLLs with their libraries, two programs


def run(folder, *command):
    command = [str(part) for part in command]
    result = subprocess.run(
        command, cwd=folder, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT
    )
    if result.returncode:
        sys.exit(result.stdout)


def main(preset, source, build, work):
    source, build, work = map(pathlib.Path, (source, build, work))
    shutil.rmtree(work, ignore_errors=True)
    copy = work / "a folder of another name"
    shutil.copytree(
        source,
        copy,
        ignore=lambda folder, names: NOT_SOURCE & set(names) if folder == str(source) else (),
    )
    twin = f"{preset}-symbols"

    def link(flags):
        linking = [f"-DCMAKE_{kind}_LINKER_FLAGS={flags}" for kind in ("EXE", "SHARED")]
        run(copy, "cmake", "--preset", twin, *linking)
        run(copy, "cmake", "--build", "--preset", twin, "--target", "q32base_product")

    link("-Wl,-s")
    again = copy / "build" / twin
    files = [
        path.relative_to(again).as_posix()
        for folder in WHAT_SHIPS
        for path in sorted((again / folder).rglob("*"))
        if path.is_file()
    ]
    different = [name for name in files if (build / name).read_bytes() != (again / name).read_bytes()]
    for name in different:
        print(f"{name} differs between {build} and {again}")
    print(f"{len(files) - len(different)} of {len(files)} files are the same in both folders")
    if different or len(files) < FEWEST:
        return 1
    link("")
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
