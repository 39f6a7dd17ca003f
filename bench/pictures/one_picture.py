#!/usr/bin/env python3
"""A photograph of 4000 x 3000 made 640 x 480: one_picture.py TOOL VIEWER EMULATOR FOLDER

q32tool's methods and what q32view shows (both started by EMULATOR) beside well-known tools. What
they make of a PNG is compared with the exact means of what its pixels cover, which are worked out here
in whole numbers: decibels, how many values differ, and by how much at most. (Decoders of JPEG differ
by more than that.) Then all of them work on the same photograph as JPEG, turn by turn: the least of
ROUNDS times on the wall, reading and writing included.
"""

import pathlib
import shutil
import subprocess
import sys
import time

import numpy

PHOTOGRAPH = pathlib.Path("/usr/share/palapeli/collection/european-honey-bee.jpg")
LARGE, SMALL = (4000, 3000), (640, 480)
ROUNDS = 5


def pixels_of(path, size):
    command = ["convert", path, "-depth", "8", "rgb:-"]
    raw = subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout
    return numpy.frombuffer(raw, numpy.uint8).reshape(size[1], size[0], 3).astype(numpy.int64)




def sums(values, count):
    """Along the first axis: of pixels weighed by how many units each one shares with each result's."""
    length = len(values)
    # A pixel has `count` units, a result `length`: running sums, and parts of the pixels at the edges.
    before = numpy.concatenate([numpy.zeros((1, *values.shape[1:]), numpy.int64), numpy.cumsum(values, 0)])
    ends = numpy.arange(count + 1) * length
    whole, part = ends // count, (ends % count).reshape(-1, *[1] * (values.ndim - 1))
    edge = values[numpy.minimum(whole, length - 1)]
    return numpy.diff(before[whole] * count + edge * part, axis=0)


def means(values):
    """Rounded once, half up."""
    down = sums(values, SMALL[1])
    across = sums(down.transpose(1, 0, 2), SMALL[0]).transpose(1, 0, 2)
    area = LARGE[0] * LARGE[1]
    return (across * 2 + area) // (area * 2)


def contenders(tool, viewer, emulator):
    """Name: the command, which a shell runs; {} is the photograph, {PNM} what reads it, OUT the result."""
    size = f"{SMALL[0]}x{SMALL[1]}"
    scale = f"'{emulator}' '{tool}' scale {{}} OUT.png --size {size} --quiet"
    view = f"'{emulator}' '{viewer}' {{}} --screenshot OUT.bmp --size {size}"
    pamscale = f"{{PNM}} {{}} | pamscale -xsize {SMALL[0]} -ysize {SMALL[1]}"
    return {
        "q32tool scale": scale,
        "q32tool scale --method nearest": f"{scale} --method nearest",
        "q32tool scale --method bilinear": f"{scale} --method bilinear",
        "q32tool scale --method bicubic": f"{scale} --method bicubic",
        "q32view, fitted": view,
        "pamscale -filter=box": f"{pamscale} -filter=box | pnmtopng >OUT.png",
        "pamscale": f"{pamscale} | pnmtopng >OUT.png",
        "convert -scale": f"convert {{}} -scale '{size}!' OUT.png",
        "convert -resize": f"convert {{}} -resize '{size}!' OUT.png",
        "vips resize": f"vips resize {{}} OUT.png {SMALL[0] / LARGE[0]}",
        "vipsthumbnail": f"vipsthumbnail {{}} -s {size} -o OUT.png",
    }


def run(command, folder):
    """Seconds, and where the result is."""
    start = time.perf_counter()
    subprocess.run(["bash", "-c", f"set -o pipefail; {command}"], cwd=folder, check=True)
    took = time.perf_counter() - start
    (result,) = folder.glob("OUT.*")
    return took, result


def difference(found, wanted):
    apart = numpy.abs(found - wanted)
    if not apart.any():
        return "equal", 0, 0
    decibels = 10 * numpy.log10(255**2 / numpy.mean(apart**2))
    return f"{decibels:.1f} dB", int(numpy.count_nonzero(apart)), int(apart.max())


def make_photographs(folder):
    """The same pixels in a file without loss, and in one as cameras make it."""
    size = f"{LARGE[0]}x{LARGE[1]}!"
    large = ["convert", PHOTOGRAPH, "-resize", size, "-depth", "8", "+profile", "*"]
    png, jpeg = folder / "photograph.png", folder / "photograph.jpg"
    subprocess.run([*large, "-define", "png:compression-level=1", f"png24:{png}"], check=True)
    subprocess.run(["convert", png, "-quality", "92", jpeg], check=True)
    return png, jpeg


def main(tool, viewer, emulator, folder):
    programs = (str(pathlib.Path(path).resolve()) for path in (tool, viewer, emulator))
    commands = contenders(*programs)
    folder = pathlib.Path(folder).resolve() / "one"
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    png, jpeg = make_photographs(folder)

    wanted, differences = means(pixels_of(png, LARGE)), {}
    for name, command in commands.items():
        _, result = run(command.format(png.name, PNM="pngtopam"), folder)
        differences[name] = difference(pixels_of(result, SMALL), wanted)
        result.unlink()
    times = {name: [] for name in commands}
    for _ in range(ROUNDS):
        for name, command in commands.items():
            took, result = run(command.format(jpeg.name, PNM="djpeg -pnm"), folder)
            times[name].append(took)
            result.unlink()
    shutil.rmtree(folder)
    print(f"{'program':<33}{'seconds':>8}{'from the means':>16}{'values':>9}{'at most':>9}")
    for name, taken in times.items():
        noise, values, most = differences[name]
        print(f"{name:<33}{min(taken):>8.2f}{noise:>16}{values:>9,}{most:>9}")


if __name__ == "__main__":
    main(*sys.argv[1:])
