#!/usr/bin/env python3
"""Makes the zip of an edition and looks into it: check_zip.py SOURCE BUILD TWIN WORK CC EMULATOR

TWIN is the build with debug sections that check_reproducible.py leaves. The zip is unpacked in a place
whose name has blanks, and used as README.md tells a newcomer.
"""

import os
import pathlib
import re
import shutil
import sys
import zipfile

from check_package import FIRST_PROGRAM_PRINTS, PackageTest, expect, expect_contents, files_of, run

TIME_OF_ALL = 1700000000  # 2023-11-14 22:13:20
BINARIES = {".dll", ".exe"}


def packed(source, build, twin, output, **environment):
    """The zip that scripts/package.py makes, and what it said of it."""
    said = run(
        source / "scripts/package.py", build, twin, output,
        env=os.environ | environment | {"SOURCE_DATE_EPOCH": str(TIME_OF_ALL)},
    )  # fmt: skip
    (archive,) = output.glob("*.zip")
    return archive, said


def expect_entries(archive):
    """Nothing in an entry tells of the machine or the time."""
    entries = zipfile.ZipFile(archive).infolist()
    names = [entry.filename for entry in entries]
    expect(names == sorted(names), True, "the names are in order")
    expect({name.split("/")[0] for name in names}, {archive.stem}, "folders at the top")
    for entry in entries:
        mode = 0o100755 if pathlib.PurePath(entry.filename.lower()).suffix in BINARIES else 0o100644
        found = (entry.date_time, entry.external_attr >> 16, entry.extra, entry.comment)
        expect(found, ((2023, 11, 14, 22, 13, 20), mode, b"", b""), entry.filename)


def expect_same_files(folder, other):
    expect(files_of(folder) ^ files_of(other), {"MANIFEST.txt"}, "files of zip or installation alone")
    for name in files_of(other):
        expect((folder / name).read_bytes() == (other / name).read_bytes(), True, f"{name} as installed")


def expect_sources(folder, source):
    """What comes from the source as it is, all of it: headers, samples, and pages under their names."""
    sys.path.insert(0, str(source / "scripts"))
    import documents

    taken = [path.relative_to(source) for kind in ("h", "hpp") for path in source.glob(f"include/**/*.{kind}")]
    taken += [
        path.relative_to(source)
        for path in source.glob("samples/**/*")
        if path.is_file() and path.suffix != ".md" and not path.is_relative_to(source / "samples/kernel")
    ]
    for name in taken:
        expect((folder / name).read_bytes() == (source / name).read_bytes(), True, f"{name} as in the source")
    pages = {documents.place_in_package(name).as_posix() for name in documents.documents()}
    expect(pages - files_of(folder), set(), "documents that the zip lacks")


def expect_no_paths_of_machine(folder, *paths):
    spoken = [str(path) for path in paths if len(path.parts) > 2]
    told = [text.encode(code) for text in spoken for code in ("utf-8", "utf-16-le")]
    for name in files_of(folder):
        content = (folder / name).read_bytes()
        expect([text for text in told if text in content], [], f"paths of this machine in {name}")


def expect_living_links(folder):
    """Links of the Markdown pages lead to something in the package, some of them out of its documents."""
    dead, outside = [], 0
    for page in sorted([*folder.glob("share/**/*.md"), *folder.glob("samples/**/*.md")]):
        text = re.sub(r"```.*?```|`[^`]*`", "", page.read_text(), flags=re.DOTALL)
        for target in re.findall(r"\]\(\s*([^)#\s]+)", text):
            if "://" not in target and not (page.parent / target).exists():
                dead.append(f"{page.relative_to(folder)}: {target}")
            outside += "/include/" in target
    expect(dead, [], "dead links")
    expect(outside > 0, True, "links to headers are there")


def use_as_readme_says(test):
    """The compiler's line of README.md, in the package's folder."""
    readme = (test.source / "README.md").read_text()
    (line,) = re.findall(r"^ +gcc (.*)$", readme, re.MULTILINE)
    shutil.copy(test.first_program, test.prefix / "first.c")
    run(test.cc, *line.replace("\\", "/").split(), cwd=test.prefix)
    expect(run(test.emulator, test.prefix / "bin/first.exe").strip(), FIRST_PROGRAM_PRINTS, f"by {line}")


def find_crashes(test, objdump, addr2line):
    """The source of an instruction that crashed, in a DLL at its own place and in one that has moved."""
    symbols = test.prefix / "symbols/Q32BASE.DLL.debug"
    made_for = int(re.search(r"^ImageBase\s+(\w+)", run(objdump, "-p", symbols), re.MULTILINE)[1], 16)
    readme = (test.prefix / "symbols/README.md").read_text()
    expect(re.search(rf"^\| `Q32BASE.DLL` .*\b{made_for:x}\b", readme, re.MULTILINE) is None, False, "README.md")
    program = test.prefix / "bin/crash.exe"
    run(test.cc, test.source / "tests/build/crash.c", f"-I{test.prefix}/include", "-o", program)
    for arguments in ([], ["moved"]):
        library, address = (int(word, 16) for word in run(test.emulator, program, *arguments).split())
        expect(library == made_for, not arguments, "the DLL has moved")
        found = run(addr2line, "-Cfipe", symbols, hex(address - library + made_for))
        expect("/src/rows/kernels/" in found, True, f"{address - library:#x} lies in {found}")


def main(source, build, twin, work, cc, emulator):
    source, build, twin, work = map(pathlib.Path, (source, build, twin, work))
    shutil.rmtree(work, ignore_errors=True)
    first, second = work / "first", work / "second"
    archive, said = packed(source, build, twin, first, TZ="UTC")
    os.umask(0o077)
    again, _ = packed(source, build, twin, second, TZ="Asia/Tokyo")
    os.umask(0o022)
    expect(archive.read_bytes() == again.read_bytes(), True, "two zips of one build are the same")
    expect(said.split()[0], run("sha256sum", archive).split()[0], "the digest that was told")
    expect_entries(archive)

    place = work / "a place with blanks"
    place.mkdir()
    run("cmake", "-E", "tar", "xf", archive, cwd=place)
    folder = place / archive.stem
    expect_contents(folder, zipped=True)
    run("sha256sum", "--check", "--strict", "--quiet", "MANIFEST.txt", cwd=folder)
    listed = {line.split("  ", 1)[1] for line in (folder / "MANIFEST.txt").read_text().splitlines()}
    expect(files_of(folder) - listed, {"MANIFEST.txt"}, "files that the manifest does not name")
    run("cmake", "--install", build, "--prefix", work / "installed")
    expect_same_files(folder, work / "installed")
    expect_sources(folder, source)
    for name in files_of(folder / "bin"):
        same = (folder / "bin" / name).read_bytes() == (build / "bin" / name).read_bytes()
        expect(same, True, f"{name} as it was tested")
    expect_no_paths_of_machine(folder, source, build, twin, work, pathlib.Path.home())
    expect_living_links(folder)

    test = PackageTest(source, folder, work, cc, emulator)
    use_as_readme_says(test)
    test.use_with_cmake()
    test.use_with_pkg_config()
    tools = cc.split("-gcc")[0]
    find_crashes(test, f"{tools}-objdump", f"{tools}-addr2line")
    print(f"{archive.name}: {len(listed)} files")


if __name__ == "__main__":
    main(*sys.argv[1:])
