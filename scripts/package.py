#!/usr/bin/env python3
"""Makes the zip of an edition from what was built: package.py BUILD TWIN OUTPUT

BUILD is the folder of preset win32 or win64, TWIN that of win32-symbols or win64-symbols. OUTPUT gets
the folder that the zip holds, with MANIFEST.txt in it, and the zip. The same sources give the same
bytes: names are sorted, all files have one time.
"""

import calendar
import hashlib
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
import zipfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
PROGRAMS = {".dll", ".exe"}
UNIX = 3  # the system whose permissions a zip tells


def run(*command):
    """What a command printed; the end of everything when it fails."""
    result = subprocess.run([str(part) for part in command], text=True, cwd=ROOT, capture_output=True)
    if result.returncode:
        sys.exit(f"{' '.join(map(str, command))} failed:\n{result.stdout}{result.stderr}")
    return result.stdout


def settings_of(build):
    """The variables of a folder that CMake has configured."""
    return dict(re.findall(r"^(\w+):\w+=(.*)$", (build / "CMakeCache.txt").read_text(), re.MULTILINE))


def digest(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


def files_of(folder):
    """The names of all files in a folder, in order."""
    return sorted(path.relative_to(folder).as_posix() for path in folder.rglob("*") if path.is_file())


def split_off_symbols(build, twin, objcopy):
    """Leaves in BUILD/symbols the debug sections of the twin, once it is the same in all that is loaded."""
    (build / "symbols").mkdir(exist_ok=True)
    with tempfile.TemporaryDirectory(dir=build) as folder:
        folder = pathlib.Path(folder)

        def loaded(program):
            run(objcopy, "--strip-all", "--output-target=binary", program, folder / "loaded")
            return (folder / "loaded").read_bytes()

        for name in files_of(twin / "bin"):
            program, with_symbols, symbols = build / "bin" / name, twin / "bin" / name, f"{name}.debug"
            if loaded(program) != loaded(with_symbols):
                sys.exit(f"{program} and {with_symbols} are not made of the same sources")
            # Without --preserve-dates the file would say when it was made.
            run(objcopy, "--only-keep-debug", "--preserve-dates", with_symbols, folder / "symbols")
            (build / "symbols" / symbols).parent.mkdir(exist_ok=True)
            (folder / "symbols").replace(build / "symbols" / symbols)
    shutil.copyfile(ROOT / "cmake/symbols.md", build / "symbols/README.md")


def write_manifest(folder):
    """The digest of each file, as sha256sum writes and checks them."""
    lines = [f"{digest(folder / name)}  {name}\n" for name in files_of(folder)]
    (folder / "MANIFEST.txt").write_text("".join(lines))


def time_of_all():
    """Seconds since 1970: SOURCE_DATE_EPOCH, or when the last commit was made, or, in sources
    without their history, the day of the newest release in the changelog."""
    given = os.environ.get("SOURCE_DATE_EPOCH")
    if given:
        return int(given)
    if (ROOT / ".git").exists():
        return int(run("git", "log", "-1", "--format=%ct"))
    day = re.search(r"^## \[[0-9.]+\] - (\d+)-(\d+)-(\d+)$", (ROOT / "CHANGELOG.md").read_text(), re.MULTILINE)
    return calendar.timegm((*map(int, day.groups()), 0, 0, 0))


def write_zip(folder, archive):
    time_of_files = time.gmtime(time_of_all())[:6]
    with zipfile.ZipFile(archive, "w") as packed:
        for name in files_of(folder):
            entry = zipfile.ZipInfo(f"{folder.name}/{name}", time_of_files)
            mode = 0o100755 if pathlib.Path(name).suffix.lower() in PROGRAMS else 0o100644
            entry.create_system, entry.external_attr = UNIX, mode << 16
            packed.writestr(entry, (folder / name).read_bytes(), zipfile.ZIP_DEFLATED, compresslevel=9)


def main(build, twin, output):
    build, twin, output = map(pathlib.Path, (build, twin, output))
    settings = settings_of(build)
    folder = output / settings["Q32BASE_PACKAGE"]
    archive = output / f"{folder.name}.zip"

    split_off_symbols(build, twin, settings["CMAKE_OBJCOPY"])
    shutil.rmtree(folder, ignore_errors=True)
    run("cmake", "--install", build, "--prefix", folder)
    write_manifest(folder)
    write_zip(folder, archive)
    print(f"{digest(archive)}  {archive.stat().st_size:9,} bytes  {archive.name}")


if __name__ == "__main__":
    main(*sys.argv[1:])
