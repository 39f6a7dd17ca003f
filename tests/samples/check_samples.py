#!/usr/bin/env python3
"""Builds the samples against the installed package, runs them, and looks at their pictures.

check_samples.py SOURCE BUILD WORK EMULATOR WINDOW-USER TOOLCHAIN [CMAKE-ARGUMENT...]

BUILD is what is installed, TOOLCHAIN the compiler that a user would have, WINDOW-USER a program that
uses and closes the window of one of them. With Q32SAMPLES_STORE set in the environment the pictures in
samples/pictures are stored instead of compared: look at them before they are committed.
"""

import os
import pathlib
import shutil
import subprocess
import sys

sys.path.append(str(pathlib.Path(__file__).resolve().parent.parent / "tool"))

import pictures  # noqa: E402
import sample_pictures  # noqa: E402
from program_case import environment, text  # noqa: E402

PRINTED = {
    "01_first_program": ["pixel (200, 150): red 159, green 192, blue 128"],
    "02_merge_and_scale": [],
    "03_copy_on_write": [
        *["the image is made              6 MB"],
        *["a duplicate is made            6 MB"] * 5,
        *[f"a duplicate is written        {megabytes} MB" for megabytes in (12, 18, 24, 30, 36)],
        *["the duplicates are freed       6 MB"],
        *["the image is freed             0 MB"],
    ],
    "04_swap_files": [
        *[f"image {number}: in memory" for number in (1, 2, 3)],
        *[f"image {number}: in a swap file" for number in (4, 5, 6, 7, 8)],
        "image 9: There is not enough memory.",
    ],
    "05_progress": ["done", "cancelled"],
    "06_display_run": [],
    "07_frames": ["12 frames of 320 x 240, scaled to 96 x 72"],
    "08_dispatch_queue": ["a message after 12 steps", "96 steps"],
    "09_messages": ["256 rows from 4 threads"],
    "10_separation": [],
}
TAKE_A_PICTURE = ["02_merge_and_scale", "05_progress", "06_display_run", "10_separation"]


def run(*command):
    command = [str(part) for part in command]
    warnings = {"CFLAGS": "-Wall -Wextra -Wpedantic", "CXXFLAGS": "-Wall -Wextra -Wpedantic"}
    result = subprocess.run(
        command, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=300,
        env=os.environ | warnings,
    )  # fmt: skip
    if result.returncode:
        sys.exit(f"{' '.join(command)}\nended with {result.returncode}:\n{result.stdout}")


def expect(found, wanted, what):
    if found != wanted:
        sys.exit(f"{what}: found {found!r}, wanted {wanted!r}")


class SamplesTest:
    def __init__(self, source, build, work, emulator, window_user, toolchain, *cmake_arguments):
        paths = source, build, work, emulator, window_user, toolchain
        self.source, self.build, self.work, self.emulator, self.window_user, self.toolchain = (
            pathlib.Path(path).resolve() for path in paths
        )
        self.cmake_arguments = cmake_arguments
        self.stored = self.source / "samples" / "pictures"
        self.scratch = self.work / "scratch"

    def build_samples(self):
        """As after unpacking: the samples lie in the package, and find it there."""
        shutil.rmtree(self.work, ignore_errors=True)
        self.scratch.mkdir(parents=True)
        package = self.work / "package"
        run("cmake", "--install", self.build, "--prefix", package)
        self.out = self.work / "out"
        run(
            "cmake", "-G", "Ninja", "-S", package / "samples", "-B", self.out, "--toolchain", self.toolchain,
            "-DCMAKE_COMPILE_WARNING_AS_ERROR=ON", *self.cmake_arguments,
        )  # fmt: skip
        run("cmake", "--build", self.out)

    def start(self, program, *arguments):
        return subprocess.Popen(
            [self.emulator, program, *arguments],
            cwd=self.scratch, env=environment(), stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE,
        )  # fmt: skip

    def end(self, process):
        """Exit code, printed lines, lines of trouble."""
        try:
            printed, trouble = process.communicate(timeout=60)
        except subprocess.TimeoutExpired:
            process.kill()
            raise
        return process.returncode, text(printed).splitlines(), text(trouble).splitlines()

    def run_sample(self, name, *arguments):
        return self.end(self.start(self.out / f"{name}.exe", *arguments))

    def files(self):
        return sorted(path.name for path in self.scratch.rglob("*"))

    def arguments(self, name, output, *more):
        return [*(["--save"] if name == "06_display_run" else []), output, *more]

    def check_picture(self, name):
        found = self.run_sample(name, *self.arguments(name, "made.png"))
        expect(found, (0, PRINTED[name], []), name)
        expect(self.files(), ["made.png"], f"{name}: files")
        made = self.scratch / "made.png"
        picture = pictures.read(made).picture
        sample_pictures.CHECKS[name](picture)
        stored = self.stored / f"{name}.png"
        if "Q32SAMPLES_STORE" in os.environ:
            shutil.copy(made, stored)
        if made.read_bytes() != stored.read_bytes():  # another system may pack them in another way
            kept = pictures.read(stored).picture
            if (picture.width, picture.pixels) != (kept.width, kept.pixels):
                sys.exit(f"{name}: not the picture that is stored; this one is {made}")
        made.unlink()

    def check_refusals(self, name):
        self.refuse(name, self.arguments(name, "nowhere/made.png"), "cannot be written")
        if name in TAKE_A_PICTURE:
            self.refuse(name, self.arguments(name, "made.png", "missing.jpg"), "cannot be read")

    def check_other_refusals(self):
        """Of what all samples share."""
        self.refuse("01_first_program", ["."], "cannot be written")
        self.refuse("10_separation", ["made.png", str(__file__)], "cannot be read")
        self.refuse("10_separation", ["made.png", "."], "cannot be read")

    def refuse(self, name, arguments, words):
        """One line says what failed, and nothing is left."""
        code, _, trouble = self.run_sample(name, *arguments)
        expect((code, len(trouble)), (1, 1), f"{name} {arguments}: {trouble}")
        if not trouble[0].startswith(f"{name}: ") or words not in trouble[0]:
            sys.exit(f"{name} {arguments}: says {trouble[0]!r}")
        expect(self.files(), [], f"{name} {arguments}: files")

    def check_photograph(self):
        """A picture of the user's own, in a size that fills no cell."""
        photograph = pictures.noise(333, 131)
        (self.scratch / "photograph.png").write_bytes(pictures.png(photograph))
        found = self.run_sample("10_separation", "made.png", "photograph.png")
        expect(found, (0, [], []), "a photograph")
        made = pictures.read(self.scratch / "made.png").picture
        expect((made.width, made.height), (3 * 333, 2 * 131), "its size")
        rows = [row[: 3 * 333] for row in made.rows()[:131]]
        expect(rows == photograph.rows(), True, "its pixels")

    def check_window(self):
        window = self.start(self.out / "06_display_run.exe")
        expect(self.end(self.start(self.window_user)), (0, [], []), "the user of the window")
        expect(self.end(window), (0, [], []), "the window")

    def check(self):
        self.build_samples()
        for name in PRINTED:
            self.check_picture(name)
            self.check_refusals(name)
        self.check_other_refusals()
        self.check_photograph()
        self.check_window()
        print(f"{len(PRINTED)} samples make the pictures that the README shows")


if __name__ == "__main__":
    SamplesTest(*sys.argv[1:]).check()
