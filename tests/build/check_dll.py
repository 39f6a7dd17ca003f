#!/usr/bin/env python3
"""Checks a DLL that ships as the file it is: check_dll.py BITS DLL DEF COUNT BASE IMPORT[,IMPORT...] HEADER...

The exports are exactly those of the .def file, undecorated, exactly those that the public headers
declare, and COUNT of them; nothing is imported from any DLL but the named ones; the file says what
it is. One of 64 bits may be loaded at any address, one of 32 bits lies at its own.
"""

import pathlib
import re
import sys

import pe_file


def listed_exports(def_file):
    """The names after EXPORTS in a module definition file."""
    lines = [line.split(";")[0].strip() for line in def_file.read_text().splitlines()]
    return [line for line in lines[lines.index("EXPORTS") + 1 :] if line]


def declared_exports(header):
    """The names that a public header declares as exported functions."""
    code = re.sub(r"/\*.*?\*/", "", header.read_text(), flags=re.DOTALL)
    return re.findall(r"^\w+_API\b[^;()]*?\b(\w+)\s*\(", code, flags=re.MULTILINE)


def main(bits, dll_path, def_path, count, image_base, allowed_imports, *header_paths):
    dll = pe_file.PeFile(dll_path)
    problems = []

    def expect(condition, problem):
        if not condition:
            problems.append(problem)

    def expect_same(what, found, wanted):
        for name in sorted(set(wanted) - set(found)):
            problems.append(f"{what}: {name} is missing")
        for name in sorted(set(found) - set(wanted)):
            problems.append(f"{what}: {name} is too many")
        expect(len(found) == len(set(found)), f"{what}: a name is there twice")

    machine = pe_file.MACHINE_I386 if bits == "32" else pe_file.MACHINE_X86_64
    expect(dll.machine == machine, f"machine is {dll.machine:#x}, not {machine:#x}")
    anywhere = pe_file.DYNAMIC_BASE | pe_file.HIGH_ENTROPY
    expect(bits == "32" or dll.dll_characteristics & anywhere == anywhere, "is not loaded anywhere")
    expect(dll.characteristics & pe_file.DLL, "is not marked as a DLL")
    expect(dll.time_stamp == 0, f"has a time stamp: {dll.time_stamp}")
    expect(dll.export_time_stamp() == 0, f"its exports have a time stamp: {dll.export_time_stamp()}")
    expect(dll.image_base == int(image_base, 0), f"image base is {dll.image_base:#x}")
    expect(dll.has_resource(pe_file.RESOURCE_VERSION), "has no version resource")
    name = pathlib.Path(dll_path).name
    expect(dll.exported_dll_name() == name, f"calls itself {dll.exported_dll_name()}, not {name}")

    listed = listed_exports(pathlib.Path(def_path))
    declared = [name for path in header_paths for name in declared_exports(pathlib.Path(path))]
    expect(len(listed) == int(count), f"the list has {len(listed)} exports, not {count}")
    expect_same("exports of the file, by the list", dll.exports(), listed)
    expect_same("declarations of the headers, by the list", declared, listed)

    allowed = set(allowed_imports.split(","))
    for library, names in dll.imports().items():
        expect(library in allowed, f"imports from {library}: {', '.join(names)}")

    for problem in problems:
        print(f"{name}: {problem}")
    print(f"{name}: {len(listed)} exports, imports from {', '.join(sorted(dll.imports()))}")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
