#!/usr/bin/env python3
"""Checks that programs of the last release go on working with this one.

check_compatibility.py [--write | --refusals] SOURCE EDITION BIN WORK VERSION CXX EMULATOR

The interface (exports, signatures, records, constants) is compared with compatibility/RELEASE-EDITION.txt,
of the last release of the same major version: more is allowed, less and other is not. --write makes that
file for VERSION, when it is released. --refusals, of the 32-bit edition, changes copies of the headers
and of the library, and wants each change to be judged rightly.
"""

import collections
import concurrent.futures
import os
import pathlib
import shutil
import sys

from interface import Fact, interface_of

Product = collections.namedtuple("Product", "include dlls work cxx emulator")
DLLS = ["Q32BASE.DLL", "q32comm.dll"]
GONE = {
    "export": "the library no longer exports it: programs that were linked with it do not start",
    "function": "its declaration is gone: programs that call it no longer compile",
    "type": "the type is gone: programs that name it no longer compile",
    "record": "the record is gone: programs that use it no longer compile",
    "field": "the field is gone: what compiled programs put there is not looked at",
    "constant": "the constant is gone: programs that name it no longer compile",
    "macro": "the macro is gone: programs that use it no longer compile",
}
CHANGED = {
    "function": "compiled programs call it the way it was",
    "type": "compiled programs hand it over the way it was",
    "record": "compiled programs make it the size that it was",
    "field": "compiled programs look for it where it was, as what it was",
    "constant": "compiled programs use the number that it was",
}


def broken_promises(before, now):
    """A sentence for each thing that programs rely on and that is not as it was."""
    for (kind, name), fact in sorted(before.items()):
        if (kind, name) not in now:
            yield f"{kind} {name}: {GONE[kind]}"
        elif now[kind, name].value != fact.value:
            yield f"{kind} {name} was {fact.words} and is {now[kind, name].words}: {CHANGED[kind]}"


# --- releases -------------------------------------------------------------------------------------


def numbers_of(version):
    return tuple(int(number) for number in version.split("."))


def release_file(folder, version, edition):
    return folder / f"{version}-{edition}.txt"


def last_release(folder, version, edition):
    """The newest release that programs for this version may have been made with."""
    major = numbers_of(version)[0]
    releases = [path.name.removesuffix(f"-{edition}.txt") for path in folder.glob(f"*-{edition}.txt")]
    releases = [release for release in releases if (major, 0, 0) <= numbers_of(release) <= numbers_of(version)]
    if not releases:
        sys.exit(f"{folder} has no release of {major}.x for {edition}: make one by --write")
    return max(releases, key=numbers_of)


def written(interface, version, edition):
    lines = [
        f"# The interface of Q32BASE {version} ({edition}) that compiled programs rely on. Made by",
        "# tests/build/check_compatibility.py --write at the release; never changed afterwards.",
    ]
    lines += ["\t".join([kind, name, *fact]).rstrip() for (kind, name), fact in sorted(interface.items())]
    return "\n".join(lines) + "\n"


def read_release(path):
    lines = [line.split("\t") for line in path.read_text().splitlines() if not line.startswith("#")]
    return {(kind, name): Fact(*fact) if fact else Fact("", "") for kind, name, *fact in lines}


# --- refusals -------------------------------------------------------------------------------------

# What stands in a file, what is put there instead, and how the sentences begin that have to be said.
Change = collections.namedtuple("Change", "file old new said")

ROW_OF_CELL = "    int32_t y;               /* the cell's first row in the image */\n"
COLUMN_OF_CELL = "    int32_t x;               /* the cell's first column in the image */\n"
CHANGES = [
    Change(
        "q32base/buffers.h", COLUMN_OF_CELL + ROW_OF_CELL, ROW_OF_CELL + COLUMN_OF_CELL,
        ["field BUF32CELL.x was at byte 4, 4 bytes, int and is at byte 8", "field BUF32CELL.y was at byte 8"],
    ),
    Change(
        "q32comm.h", "    int point;   ", "    int place; int point;   ",
        ["field C32ERRINFO.point was at byte", "record C32ERRINFO was 1044 bytes, aligned to 4 and is 1048"],
    ),
    Change("q32base/queues.h", " value; /* kept", " number; /* kept", ["field DispatchDesc.value: the field"]),
    Change("q32base/merge.h", "int32_t tolerance[4]", "uint32_t tolerance[4]", ["field I32COLORRANGE.tolerance was"]),
    Change("q32base/resample.h", "BICUBIC  4", "BICUBIC  3", ["constant RESAMPLE_BICUBIC was 4 and is 3"]),
    Change("q32base/errors.h", "    Q32_MSG_MISMATCH = 4026,", "", ["constant Q32_MSG_MISMATCH: the constant is"]),
    Change("q32base/buffers.h", "buf32Free(HBUF32 ", "buf32Free(HBUF32 *", ["function buf32Free was int"]),
    Change("q32base/rows.h", "mem32Fill(void *", "mem32Fill(const void *", ["function mem32Fill was int"]),
    Change("q32base/queues.h", "d32DeleteQueue(uint32_t", "d32DeleteQueue(int, uint32_t", ["function d32DeleteQueue was"]),
    Change(
        "q32base/display.h", "typedef uintptr_t ", "typedef void *",
        ["function disp32SetAttrib was int", "type HDISPRUN was unsigned int and is void*"],
    ),
    Change(
        "q32base/version.h", "#define Q32BASE_VERSION_PATCH ", "#define Q32BASE_VERSION_FIX ",
        ["macro Q32BASE_VERSION_PATCH: the macro is gone"],
    ),
    Change("Q32BASE.DLL", "\0buf32Free\0", "\0buf32Fred\0", ["export Q32BASE.DLL buf32Free: the library"]),
    Change("q32base/resample.h", "__stdcall RESAMPLE", "__cdecl RESAMPLE", ["type RESAMPLECALLBACK was int (__stdcall)"]),
    Change("q32base/bars.h", "#define BAR_HUE_DOWN  ", "#define BAR_HUE_UP 5\n#define BAR_HUE_DOWN  ", []),
    Change("q32base/separation.h", "Q32_END_DECLS", "Q32_API int Q32_CALL qfdMore(void);\nQ32_END_DECLS", []),
]  # fmt: skip


def replace_once(path, old, new):
    data = path.read_bytes()
    if data.count(old.encode()) != 1:
        sys.exit(f"{path.name} has {data.count(old.encode())} places like {old!r}")
    path.write_bytes(data.replace(old.encode(), new.encode()))


def interface_with(change, product, folder):
    """The interface of a copy of headers and library with one change."""
    copy = product._replace(include=folder / "include", dlls=[folder / dll for dll in DLLS], work=folder)
    shutil.copytree(product.include, copy.include)
    for dll in product.dlls:
        shutil.copy(dll, folder)
    holder = folder if change.file in DLLS else copy.include
    replace_once(holder / change.file, change.old, change.new)
    # Records that no longer have their size would stop the compiler.
    replace_once(copy.include / "q32base/types.h", " ? 1 : -1]", " ? 1 : 1]")
    return interface_of(*copy)


def problem_of(change, before, now):
    """What is wrong with what is said of a change, or nothing."""
    said = list(broken_promises(before, now))
    unsaid = [start for start in change.said if not any(sentence.startswith(start) for sentence in said)]
    if unsaid or bool(said) != bool(change.said):
        return f"{change.file}: {change.old!r} became {change.new!r}: {said} was said, not {change.said}"
    return None


# --- actions --------------------------------------------------------------------------------------


def compare(product, folder, version, edition):
    release = last_release(folder, version, edition)
    before = read_release(release_file(folder, release, edition))
    broken = list(broken_promises(before, interface_of(*product)))
    for sentence in broken:
        print(sentence)
    print(f"{edition}: {len(before)} things that programs of {release} rely on, {len(broken)} of them broken")
    return 1 if broken or not before else 0


def write(product, folder, version, edition):
    path = release_file(folder, version, edition)
    if path.exists():
        sys.exit(f"{path} is there: the interface of a release is written once")
    folder.mkdir(exist_ok=True)
    path.write_text(written(interface_of(*product), version, edition))
    return 0


def refuse(product, *_):
    before = interface_of(*product)

    def problem_with(change):
        folder = product.work / f"change-{CHANGES.index(change) + 1}"
        return problem_of(change, before, interface_with(change, product, folder))

    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        problems = [problem for problem in pool.map(problem_with, CHANGES) if problem is not None]
    print("\n".join([*problems, f"{len(CHANGES) - len(problems)} of {len(CHANGES)} changes judged rightly"]))
    return 1 if problems else 0


def main(*arguments):
    actions = {"--write": write, "--refusals": refuse}
    action = actions.get(arguments[0], compare)
    source, edition, bin_folder, work, version, cxx, emulator = arguments[action is not compare :]
    source, work = pathlib.Path(source), pathlib.Path(work)
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    dlls = [pathlib.Path(bin_folder, dll) for dll in DLLS]
    product = Product(source / "include", dlls, work, cxx, emulator)
    return action(product, source / "tests/build/compatibility", version, edition)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
