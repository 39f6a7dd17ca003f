#!/usr/bin/env python3
"""Builds the DLLs once more, from a copy of the source elsewhere: check_reproducible.py PRESET SOURCE BUILD WORK

Both builds must give the same bytes.
"""

import pathlib
import shutil
import subprocess
import sys

DLLS = ["Q32BASE.DLL", "q32comm.dll"]
NOT_SOURCE = {"build", ".git", ".cache"}  # in the root


def main(preset, source, build, work):
    source, build, work = map(pathlib.Path, (source, build, work))
    shutil.rmtree(work, ignore_errors=True)
    copy = work / "a folder of another name"
    shutil.copytree(
        source,
        copy,
        ignore=lambda folder, names: NOT_SOURCE & set(names) if folder == str(source) else (),
    )
    configure = ["cmake", "--preset", preset, "-S", copy, "-B", work / "build"]
    compile_all = ["cmake", "--build", work / "build", "--target", "q32base", "q32comm"]
    for command in (configure, compile_all):
        result = subprocess.run(
            command, cwd=copy, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT
        )
        if result.returncode:
            sys.exit(result.stdout)

    different = [
        name
        for name in DLLS
        if (build / "bin" / name).read_bytes() != (work / "build/bin" / name).read_bytes()
    ]
    for name in different:
        print(f"{name} differs between {build} and {work / 'build'}")
    print(f"{len(DLLS) - len(different)} of {len(DLLS)} DLLs are the same in both folders")
    return 1 if different else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
