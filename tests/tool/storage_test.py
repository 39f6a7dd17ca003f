"""Where q32tool keeps pixels, and that no swap file outlives its use."""

import os
import signal
import subprocess
import sys
import time

import pictures
from program_case import long_round
from tool_case import FAILED, STORAGES, ToolCase

KEYS = (
    "file, format, size, buffer, image bytes, cells, cell size, last column, last row, "
    "storage, memory in use, mapped, buffers"
)


class SameEverywhere(ToolCase):
    @long_round
    def test_storage_does_not_change_the_file(self):
        source = self.write("in.png", pictures.png(pictures.noise(257, 131)))
        self.make_folder("swap")
        for options in (["--invert"], ["--bits", "8"], ["--bits", "1"], ["--bits", "16"]):
            wanted = self.convert(source, "out.bmp", *options)
            for name, storage in STORAGES.items():
                with self.subTest(options=options, storage=name):
                    self.assertEqual(self.convert(source, "out.bmp", *options, *storage), wanted)

    @long_round
    def test_storage_does_not_change_what_is_scaled(self):
        source = self.write("in.png", pictures.png(pictures.noise(300, 40)))
        self.make_folder("swap")
        for options in (["--bits", "24"], ["--bits", "8"], ["--bits", "16"], ["--bits", "1"]):
            command = ["scale", source, "out.bmp", "--size", "150x140", *options]
            wanted = self.make("out.bmp", *command, *STORAGES["memory"])
            for name in ("file", "no memory"):
                with self.subTest(options=options, storage=name):
                    self.assertEqual(self.make("out.bmp", *command, *STORAGES[name]), wanted)

    def test_round_trip_through_swap_files(self):
        picture = pictures.noise(385, 129)
        source = self.write("in.bmp", pictures.bmp(picture))
        self.make_folder("swap")
        self.convert(source, "out.png", *STORAGES["file"])
        self.assert_file_holds("out.png", picture, 24)


class Info(ToolCase):
    def setUp(self):
        super().setUp()
        self.make_folder("swap")
        self.bytes = 300 * 200 * 3
        self.source = self.write("in.png", pictures.png(pictures.noise(300, 200)))

    def assert_in_memory(self, info, size):
        self.assertEqual(info["storage"], "memory")
        self.assertEqual(info["memory in use"], f"{size} bytes")
        self.assertEqual(info["mapped"], "0 bytes")

    def assert_in_swap_file(self, info, size):
        self.assertEqual(info["storage"], "swap file")
        self.assertEqual(info["memory in use"], "0 bytes")
        self.assertEqual(info["mapped"], f"{size} bytes")

    def test_geometry(self):
        info = self.info(self.source)
        self.assertEqual(", ".join(info), KEYS)
        self.assertEqual(info["file"], "in.png")
        self.assertEqual(info["format"], "PNG, 24 bits per pixel")
        self.assertEqual(info["size"], "300 x 200 pixels")
        self.assertEqual(info["image bytes"], "180000")
        self.assertEqual(info["cells"], "3 x 2 = 6")
        self.assertEqual(info["cell size"], "128 x 128 pixels, 49152 bytes")
        self.assertEqual(info["last column"], "44 pixels wide")
        self.assertEqual(info["last row"], "72 pixels high")
        self.assertIn("24 bits per pixel, 3 bytes per pixel", info["buffer"])
        self.assertEqual(info["buffers"], "1")
        self.assert_in_memory(info, self.bytes)

    def test_small_picture_is_one_cell(self):
        info = self.info(self.write("small.bmp", pictures.bmp(pictures.noise(5, 3))))
        self.assertEqual(info["format"], "BMP, 24 bits per pixel")
        self.assertEqual(info["cells"], "1 x 1 = 1")
        self.assertEqual(info["cell size"], "5 x 3 pixels, 45 bytes")

    def test_storage_on_demand(self):
        self.assert_in_memory(self.info(self.source, *STORAGES["memory"]), self.bytes)
        self.assert_in_swap_file(self.info(self.source, *STORAGES["file"]), self.bytes)

    def test_memory_limit_must_be_above_the_size(self):
        swap = ["--swap-dir", "swap", "--memory-limit"]
        self.assert_in_swap_file(self.info(self.source, *swap, "0"), self.bytes)
        self.assert_in_swap_file(self.info(self.source, *swap, f"{self.bytes}"), self.bytes)
        self.assert_in_memory(self.info(self.source, *swap, f"{self.bytes + 1}"), self.bytes)

    def test_memory_limit_in_larger_units(self):
        swap = ["--swap-dir", "swap", "--memory-limit"]
        self.assert_in_swap_file(self.info(self.source, *swap, "175K"), self.bytes)
        self.assert_in_memory(self.info(self.source, *swap, "176K"), self.bytes)
        self.assert_in_memory(self.info(self.source, *swap, "1M"), self.bytes)

    def test_one_cell_never_swaps(self):
        limit = ["--memory-limit", "0", "--swap-dir", "swap"]
        one = self.write("one.png", pictures.png(pictures.noise(128, 128)))
        self.assert_in_memory(self.info(one, *limit), 128 * 128 * 3)
        self.assert_in_memory(self.info(one, *STORAGES["file"]), 128 * 128 * 3)
        wider = self.write("wider.png", pictures.png(pictures.noise(129, 1)))
        self.assert_in_swap_file(self.info(wider, *limit), 129 * 3)

    def test_info_leaves_nothing(self):
        before = self.files()
        self.info(self.source, *STORAGES["file"])
        self.assert_only_new(before)


class SwapDirectories(ToolCase):
    def setUp(self):
        super().setUp()
        self.source = self.write("in.png", pictures.png(pictures.noise(300, 200)))

    def refuse_swap(self, directory, says, **options):
        for command in (["info", self.source], ["convert", self.source, "out.bmp"]):
            with self.subTest(command=command[0]):
                arguments = [*command, "--storage", "file", "--swap-dir", directory]
                self.refuse(FAILED, *arguments, says=says, **options)

    def test_absent(self):
        self.refuse_swap("nowhere", ["nowhere", "does not exist"])

    @long_round
    def test_absent_for_every_command(self):
        rectangle = ["--at", "0,0", "--size", "200x150"]
        for command in [
            ["rows", self.source, "--all"],
            ["crop", self.source, "out.bmp", *rectangle],
            ["paste", self.source, self.source, "out.bmp", "--at", "9,9"],
            ["fill", self.source, "out.bmp", "--colour", "1,2,3", *rectangle],
            ["pattern", self.source, self.source, "out.bmp", *rectangle],
            ["compose", "--base", self.source, "--overlay", self.source, "-o", "out.bmp"],
            ["filter", self.source, "out.bmp", "--range", "1,2,3:4"],
            ["colorspace", self.source, "out.bmp", "--to", "hls"],
            ["scale", self.source, "out.bmp", "--percent", "50"],
            ["enlarge", self.source, "out.bmp", "--factor", "2"],
            ["reduce", self.source, "out.bmp", "--factor", "2"],
            ["separate", self.source, "out.bmp"],
            ["show", self.source, "--depth-of", "3", "-o", "out.bmp"],
            ["bars", "hsb", "--size", "300x300", "-o", "out.bmp"],
        ]:
            with self.subTest(command=command[0]):
                arguments = [*command, "--memory-limit", "100K", "--swap-dir", "nowhere"]
                self.refuse(FAILED, *arguments, says=["nowhere", "does not exist"])

    def test_room_for_the_picture_but_not_for_a_larger_one(self):
        # 180,000 bytes of pixels fit; what is made of them does not.
        self.make_folder("swap")
        crop = ["crop", self.source, "out.bmp", "--at", "0,0", "--size", "400x300"]
        arguments = [*crop, "--background", "0,0,0", *STORAGES["file"]]
        self.refuse(FAILED, *arguments, says="error 1001, module 4", file_size=200_000)
        scale = ["scale", self.source, "out.bmp", "--percent", "150", *STORAGES["file"]]
        self.refuse(FAILED, *scale, says="error 1001, module 4", file_size=200_000)

    def test_a_file(self):
        self.refuse_swap("in.png", "in.png")

    def test_where_no_file_can_be_made(self):
        self.refuse_swap("/proc", "error 1001, module 4, point 2")

    def test_file_cannot_grow(self):
        self.make_folder("swap")
        self.refuse_swap("swap", "error 1001, module 4, point 2", file_size=100_000)

    def test_full(self):
        # A disk of 64 KB for 180 KB of pixels.
        full = self.folder / self.make_folder("full")
        mounted = subprocess.run(
            ["mount", "-t", "tmpfs", "-o", "size=64k", "tmpfs", full], capture_output=True
        )
        if mounted.returncode:
            print("(a limit on file sizes, without the right to mount) ", end="", file=sys.stderr)
            self.refuse_swap("full", "error 1001", file_size=65_536)
            return
        self.addCleanup(subprocess.run, ["umount", full], check=True)
        self.refuse_swap("full", ["64.0 KB of 175.8 KB", "--swap-dir"])

    def test_name_with_spaces_and_absolute_path(self):
        directory = self.folder / self.make_folder("swap files")
        for name in ("swap files", str(directory), f"{directory}/"):
            with self.subTest(name=name):
                info = self.info(self.source, "--storage", "file", "--swap-dir", name)
                self.assertEqual(info["storage"], "swap file")
                self.assertEqual(os.listdir(directory), [])

    def test_name_outside_the_code_page(self):
        directory = self.folder / self.make_folder("é 日本")
        info = self.info(self.source, "--storage", "file", "--swap-dir", "é 日本")
        self.assertEqual(info["storage"], "swap file")
        self.assertEqual(os.listdir(directory), [])


class Crashes(ToolCase):
    def setUp(self):
        super().setUp()
        self.swap = self.folder / self.make_folder("swap")
        # Takes more than a second to write.
        self.write("in.png", pictures.png(pictures.noise(3000, 3000), level=0))

    def start_writing(self):
        """A conversion that is busy writing, what it has said, and its swap file."""
        convert = ["convert", "in.png", "out.png", *STORAGES["file"]]
        process, said = self.run_until(b"writing", *convert)
        (swap_file,) = self.swap.iterdir()
        self.assertRegex(swap_file.name, r"^~QT\w+\.tmp$")
        return process, said, swap_file

    def test_pixels_that_are_lost_with_their_disk(self):
        # Pages of a file that has become shorter cannot be had, as if its disk were full or gone.
        before = self.files()
        process, said, swap_file = self.start_writing()
        with process:
            process.send_signal(signal.SIGSTOP)
            os.truncate(swap_file, 0)
            process.send_signal(signal.SIGCONT)
            out, rest = process.communicate(timeout=20)
        self.assertEqual((process.returncode, out), (FAILED, b""))
        self.assertRegex(self.last_line(said + rest), r"^q32tool: .*swap file")
        self.assert_only_new(before)

    def test_the_next_run_deletes_the_swap_file_of_a_killed_one(self):
        process, _, swap_file = self.start_writing()
        with process:
            process.kill()
        self.assertTrue(swap_file.exists())
        self.assertFalse((self.folder / "out.png").exists())

        self.write("small.png", pictures.png(pictures.noise(2, 2)))
        self.info("small.png")
        # Another program that starts at the same moment may be the one that deletes it.
        end = time.monotonic() + 5
        while swap_file.exists() and time.monotonic() < end:
            time.sleep(0.05)
        self.assertFalse(swap_file.exists())
