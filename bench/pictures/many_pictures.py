#!/usr/bin/env python3
"""Two hundred photographs made 320 pixels wide: many_pictures.py PROGRAM EMULATOR FOLDER

q32tool, which PROGRAM is (started by EMULATOR), beside well-known tools for the same job. All of them
work turn by turn, so that each meets whatever else the machine does: the least of ROUNDS times on the
wall, and the median of the ratios of each round. The photographs are made in FOLDER once and kept.
"""

import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import time

COLLECTION = pathlib.Path("/usr/share/palapeli/collection")
COUNT = 200
SIZE = "1600x1200"
WIDTH = 320
ROUNDS = 3


def make_photographs(folder):
    """Pieces of public photographs, each another one, in the size of an ordinary camera's."""
    folder.mkdir(parents=True, exist_ok=True)
    sources = sorted(COLLECTION.glob("*.jpg"))
    for number in range(COUNT):
        photograph = folder / f"photo-{number:03}.jpg"
        if photograph.exists():
            continue
        across, down = number // len(sources) % 8, number // len(sources) // 8
        piece = f"85x85%+{across * 2}+{down * 2}"
        resize = ["-resize", f"{SIZE}!", "-quality", "90"]
        unfinished = photograph.with_suffix(".unfinished")
        source = ["convert", sources[number % len(sources)], "-crop", piece, "+repage"]
        subprocess.run([*source, *resize, f"jpg:{unfinished}"], check=True)
        unfinished.rename(photograph)


def contenders(program, emulator, photographs, results):
    """Name: the command that makes all results."""
    files = [str(photograph) for photograph in photographs]
    scale = [emulator, program, "scale", *files, "--to", results, "--size", f"{WIDTH}x240"]
    loop = 'for file; do vipsthumbnail -s "$0" "$file" -o "$OUT/%s.jpg"; done'
    each = 'for file; do mogrify -path "$OUT" -resize "$0x" "$file"; done'
    return {
        "q32tool scale": [*scale, "--quiet"],
        "q32tool scale --jobs 1": [*scale, "--quiet", "--jobs", "1"],
        "mogrify": ["mogrify", "-path", results, "-resize", f"{WIDTH}x", *files],
        "mogrify in a loop": ["bash", "-c", each, str(WIDTH), *files],
        "vipsthumbnail in a loop": ["bash", "-c", loop, str(WIDTH), *files],
    }


def seconds(command, results):
    shutil.rmtree(results, ignore_errors=True)
    results.mkdir()
    start = time.perf_counter()
    subprocess.run(command, check=True, env={**os.environ, "OUT": str(results)})
    took = time.perf_counter() - start
    made = len(list(results.iterdir()))
    if made != COUNT:
        sys.exit(f"{command[0]}: {made} pictures of {COUNT}")
    return took


def main(program, emulator, folder):
    folder = pathlib.Path(folder).resolve()
    photographs, results = folder / "photographs", folder / "results"
    make_photographs(photographs)
    commands = contenders(
        str(pathlib.Path(program).resolve()),
        str(pathlib.Path(emulator).resolve()),
        sorted(photographs.glob("*.jpg")),
        str(results),
    )
    times = {name: [] for name in commands}
    for _ in range(ROUNDS):
        for name, command in commands.items():
            times[name].append(seconds(command, results))
    shutil.rmtree(results)
    ours = next(iter(times))
    print(f"{'program':<26}{'seconds':>9}{'pictures/s':>12}{'ours/its':>10}")
    for name, taken in times.items():
        ratio = statistics.median(own / its for own, its in zip(times[ours], taken))
        print(f"{name:<26}{min(taken):>9.2f}{COUNT / min(taken):>12.1f}{ratio:>10.2f}")


if __name__ == "__main__":
    main(*sys.argv[1:])
