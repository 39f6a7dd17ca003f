#!/usr/bin/env python3
"""Checks that one version is told everywhere: check_version.py SOURCE BIN WORK VERSION CC EMULATOR

The headers say it, CMake (VERSION) and the resources repeat it, texts that name a package do not differ;
a program reads it from the loaded DLLs, also from one of another release.
"""

import pathlib
import re
import shutil
import struct
import sys

from check_package import expect, run

DLLS = ["Q32BASE.DLL", "q32comm.dll"]
FIXED_PART = bytes.fromhex("bd04effe")  # how the fixed part of a version resource begins
OTHER_RELEASE = (2, 3, 4)


def number(major, minor, patch):
    return 1000000 * major + 1000 * minor + patch


def version_of_headers(source):
    text = (source / "include/q32base/version.h").read_text()
    return tuple(
        int(re.search(rf"^#define Q32BASE_VERSION_{part} (\d+)$", text, re.MULTILINE)[1])
        for part in ("MAJOR", "MINOR", "PATCH")
    )


def expect_texts_to_agree(source, version):
    for path in [source / "README.md", *(source / "docs").rglob("*.md")]:
        told = set(re.findall(r"q32base-(\d+\.\d+\.\d+)-win", path.read_text()))
        expect(told - {version}, set(), f"packages of another version in {path.name}")


def rewrite_version(dll, version):
    """Gives a DLL the version resource of another release."""
    data = bytearray(dll.read_bytes())
    expect(data.count(FIXED_PART), 1, f"version resources in {dll.name}")
    major, minor, patch = version
    file_version = struct.pack("<II", major << 16 | minor, patch << 16)
    place = data.index(FIXED_PART) + 8
    data[place : place + len(file_version)] = file_version
    dll.write_bytes(data)


def main(source, bin_folder, work, version, cc, emulator):
    source, bin_folder, work = map(pathlib.Path, (source, bin_folder, work))
    parts = version_of_headers(source)
    expect(version, ".".join(map(str, parts)), "the version that CMake says")
    expect_texts_to_agree(source, version)

    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    for dll in DLLS:
        shutil.copy(bin_folder / dll, work)
    program = work / "loaded_version.exe"
    strict = ["-std=c89", "-Wall", "-Wextra", "-Wpedantic", "-Werror"]
    include = f"-I{source / 'include'}"
    run(cc, *strict, include, source / "tests/build/loaded_version.c", "-o", program)

    def told(*modules):
        return run(emulator, program, *modules).split()

    same, other = str(number(*parts)), str(number(*OTHER_RELEASE))
    expect(told(), ["0"], "a library that is not loaded")
    expect(told("-", program.name), ["0", "0", "0"], "no module, and one without a version")
    expect(told(*DLLS), [same] * 3, "the versions of the loaded DLLs")
    rewrite_version(work / DLLS[0], OTHER_RELEASE)
    expect(told(*DLLS), [other, same, other], "the versions of DLLs of two releases")
    print(f"headers, CMake, resources and loaded DLLs say {version}")


if __name__ == "__main__":
    main(*sys.argv[1:])
