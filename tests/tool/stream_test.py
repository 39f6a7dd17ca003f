"""q32tool stream: frames in and out, their names and order, and pixels compared with a model."""

import re
import struct

import pictures
from averaging import averaged, averaged_with_opacity
from pixels_test import as_555, grey
from program_case import long_round
from resampling import METHODS, by_tables, plane_by_tables, planes
from tool_case import FAILED, USAGE, Program, ToolCase

# From and to: larger and smaller, each side another way; to and from one pixel. 75 rows are more
# than are read at once.
SIZES = [((37, 75), (61, 20)), ((150, 9), (41, 140)), ((9, 13), (1, 1)), ((1, 1), (5, 3))]

HALF = ["--percent", "50"]


def said(frames, before=(8, 6), after=(4, 3), bits=24, method="bicubic"):
    """What is printed, as a pattern."""
    count = f"{frames} frame" + ("" if frames == 1 else "s")
    sizes = "{} x {} pixels to {} x {} pixels".format(*before, *after)
    speed = r"\d+\.\d frames per second scaled, \d+\.\d with reading and writing"
    return rf"\A{count}, {sizes}, {bits} bits, {method}\n{speed}\n\Z"


def frame(number, width=8, height=6):
    return pictures.noise(width, height, seed=number)


def by_opacity(picture, opacity, new_opacity, width, height, method):
    """Colours are scaled as far as they are seen, and then are what they were."""
    if method == "nearest":
        return by_tables(picture, width, height, method)
    colours = [
        [(sample * seen + 127) // 255 for sample in colour]
        for colour, seen in zip(picture.colours(), opacity)
    ]
    seen = pictures.from_colours(picture.width, picture.height, colours)
    colours = [
        [min((sample * 255 + now // 2) // now, 255) if now else 0 for sample in colour]
        for colour, now in zip(by_tables(seen, width, height, method).colours(), new_opacity)
    ]
    return pictures.from_colours(width, height, colours)


class StreamCase(ToolCase):
    def setUp(self):
        super().setUp()
        self.make_folder("in")
        self.make_folder("out")

    def write_frames(self, *names):
        """Frames by these names; the number of each is that of its place among them."""
        for number, name in enumerate(names):
            self.write(name, pictures.png(frame(number)))

    def write_frames_of(self, size):
        """Two of this size."""
        for number in range(2):
            self.write(f"in/{number}.png", pictures.png(frame(number, *size)))

    def stream(self, source, target, *options, makes, notes=()):
        """Makes these files and touches no others; returns what it says."""
        before = self.files()
        words = self.succeed("stream", source, target, *options, notes=notes)
        self.assert_only_new(before, *makes)
        return words

    def stop(self, source, target, *options, keeps, says):
        """Fails after these files were made."""
        before = self.files()
        result = self.run_tool("stream", source, target, *options)
        self.assertEqual((result.code, result.out), (FAILED, ""))
        self.assertRegex(result.err, r"\Aq32tool: [^\n]{8,}\n\Z")
        for words in says:
            self.assertIn(words, result.err)
        self.assert_only_new(before, *keeps)

    def assert_half(self, name, number):
        """The file is the frame of this number in half the size."""
        self.assert_file_holds(name, by_tables(frame(number), 4, 3, "bicubic"), 24)


class Pixels(StreamCase):
    def assert_streams(self, before, after, bits, method, extension, change=None):
        """Two frames of these sizes; change: what the number of bits makes of a colour."""
        with self.subTest(before=before, after=after, bits=bits, method=method):
            names = [f"out/{number}.{extension}" for number in range(2)]
            self.write_frames_of(before)
            options = ["--size", "{}x{}".format(*after), "--bits", f"{bits}", "--method", method]
            words = self.stream("in/#.png", f"out/#.{extension}", *options, makes=names)
            self.assertRegex(words, said(2, before, after, bits, method))
            for number, name in enumerate(names):
                wanted = frame(number, *before)
                wanted = by_tables(wanted.changed(change) if change else wanted, *after, method)
                if bits == 16:
                    wanted = wanted.changed(as_555)
                stored = 24 if bits == 16 and extension != "bmp" else bits
                self.assert_file_holds(name, wanted, stored)

    def test_24_bits(self):
        for method in METHODS:
            for before, after in SIZES:
                self.assert_streams(before, after, 24, method, "bmp")

    def test_grey(self):
        for method in METHODS:
            self.assert_streams(*SIZES[0], 8, method, "png", grey)
        self.assert_streams(*SIZES[1], 8, "bicubic", "bmp", grey)

    @long_round
    def test_16_bits(self):
        """Interpolated in 24 bits, and cut off to 16 again."""
        for method in METHODS:
            self.assert_streams(*SIZES[1], 16, method, "bmp", as_555)
        self.assert_streams(*SIZES[0], 16, "bilinear", "tif", as_555)

    def test_32_bits(self):
        """How opaque a pixel is, is scaled as its colours are; they count as far as it is."""
        for (before, after), method, extension in zip(SIZES, METHODS, ("png", "tif", "png")):
            with self.subTest(method=method, extension=extension):
                opacity = struct.pack("<I", 0x12C080FF) * (before[0] * before[1])
                opacity = opacity[: before[0] * before[1]]
                self.write("in/0.png", pictures.png_with_alpha(frame(0, *before), opacity))
                self.write("in/1.png", pictures.png(frame(1, *before)))
                names = [f"out/{number}.{extension}" for number in range(2)]
                size = ["--size", "{}x{}".format(*after)]
                options = [*size, "--bits", "32", "--method", method]
                self.stream("in/#.png", f"out/#.{extension}", *options, makes=names)

                (plane,) = planes(opacity, before[0], 1)
                made = b"".join(plane_by_tables(plane, *after, method))
                wanted = by_opacity(frame(0, *before), opacity, made, *after, method)
                self.assert_file_holds(names[0], wanted, 32)
                self.assertEqual(self.read(names[0]).opacity, made)
                wanted = by_tables(frame(1, *before), *after, method)
                self.assert_file_holds(names[1], wanted, 32)
                self.assertEqual(self.read(names[1]).opacity, b"\xff" * (after[0] * after[1]))

    def test_transparency_is_kept_without_options(self):
        """If the first frame has some, and all files can hold it."""
        alpha = bytes(255 * (i % 4 > 0) for i in range(48))
        self.write("in/0.png", pictures.png_with_alpha(frame(0), alpha))
        self.write("in/1.png", pictures.png(frame(1)))
        self.stream("in/#.png", "out/#.tif", *HALF, makes=["out/0.tif", "out/1.tif"])
        wanted = [self.read(f"out/{number}.tif") for number in range(2)]
        self.stream("in", "out", *HALF, "--bits=32", makes=["out/0.png", "out/1.png"])
        for number in range(2):
            found = self.read(f"out/{number}.png")
            self.assertEqual((found.bits, wanted[number].bits), (32, 32))
            self.assertEqual(found.picture.pixels, wanted[number].picture.pixels)
            self.assertEqual(found.opacity, wanted[number].opacity)

    def test_averaged(self):
        """As scale does it; what grows is left to the tables."""
        for before, after, bits, change in [
            (*SIZES[1], 24, None),
            ((37, 75), (10, 20), 24, None),
            ((37, 75), (10, 20), 8, grey),
        ]:
            with self.subTest(before=before, after=after, bits=bits):
                self.write_frames_of(before)
                options = ["--size", "{}x{}".format(*after), "--bits", f"{bits}"]
                options += ["--method", "average"]
                words = self.stream("in", "out", *options, makes=["out/0.png", "out/1.png"])
                self.assertRegex(words, said(2, before, after, bits, "average"))
                for number in range(2):
                    source = frame(number, *before)
                    source = source.changed(change) if change else source
                    smaller = min(before[0], after[0]), min(before[1], after[1])
                    wanted = by_tables(averaged(source, *smaller), *after, "bicubic")
                    if smaller == after:
                        wanted = averaged(source, *after)
                    self.assert_file_holds(f"out/{number}.png", wanted, bits)

    def test_averaged_with_opacity(self):
        opacity = bytes((x * 37 + y * 11) % 256 for y in range(6) for x in range(8))
        self.write("in/0.png", pictures.png_with_alpha(frame(0), opacity))
        options = ["--size", "3x4", "--bits", "32", "--method", "average"]
        self.stream("in", "out", *options, makes=["out/0.png"])
        picture, opacity = averaged_with_opacity(frame(0), opacity, 3, 4)
        self.assert_file_holds("out/0.png", picture, 32)
        self.assertEqual(self.read("out/0.png").opacity, opacity)

    def test_16_bits_are_not_averaged(self):
        self.write_frames("in/0.png")
        options = ["--bits", "16", "--method", "average"]
        self.refuse(USAGE, "stream", "in", "out", *HALF, *options, says="--bits 16")

    def test_24_bits_bicubic_is_what_there_is_without_options(self):
        self.write_frames("in/0.png")
        words = self.stream("in/#.png", "out", *HALF, makes=["out/0.png"])
        self.assertRegex(words, said(1))
        self.assert_half("out/0.png", 0)

    def test_transparent_parts_are_laid_over_white(self):
        alpha = bytes(255 * (i % 4 > 0) for i in range(48))
        self.write("in/0.png", pictures.png_with_alpha(frame(0), alpha))
        notes = ["out: the transparency is laid over white, frames of 24 bits have none"]
        options = [*HALF, "--bits", "24"]
        self.write("in/1.png", pictures.png_with_alpha(frame(0), alpha))
        self.stream("in", "out", *options, makes=["out/0.png", "out/1.png"], notes=notes)
        colours = [colour if a else (255, 255, 255) for colour, a in zip(frame(0).colours(), alpha)]
        white = pictures.from_colours(8, 6, colours)
        self.assert_file_holds("out/0.png", by_tables(white, 4, 3, "bicubic"), 24)

    def test_jpeg(self):
        picture = pictures.ramps(50, 34)
        self.write("in/0.png", pictures.png(picture))
        self.stream("in/#.png", "out/#.jpg", "--percent", "400", makes=["out/0.jpg"])
        self.assertEqual(
            pictures.jpeg_frame((self.folder / "out/0.jpg").read_bytes()), (200, 136, 3)
        )
        self.convert("out/0.jpg", "back.bmp")
        self.assert_file_holds("back.bmp", by_tables(picture, 200, 136, "bicubic"), 24, within=12)


class Sizes(StreamCase):
    @long_round
    def test_sizes_are_those_of_scale(self):
        self.write("in/0.png", pictures.png(frame(0, 45, 35)))
        for options, after in [
            ("--size 3x200", (3, 200)),
            ("--percent 50", (23, 18)),
            ("--percent 1", (1, 1)),
            ("--fit 20x100", (20, 16)),
            ("--fit 90x1000", (90, 70)),
            ("--size 33000x1 --bits 8", (33000, 1)),
        ]:
            with self.subTest(options=options):
                words = self.stream("in", "out", *options.split(), makes=["out/0.png"])
                bits = 8 if "8" in options.split() else 24
                self.assertRegex(words, said(1, (45, 35), after, bits))
                found = self.read("out/0.png").picture
                self.assertEqual((found.width, found.height), after)

    def test_exactly_one_way_to_say_it(self):
        self.write_frames("in/0.png")
        self.refuse(USAGE, "stream", "in", "out", says=["--size WxH", "--fit", "--percent"])
        both = [*HALF, "--fit", "5x5"]
        self.refuse(USAGE, "stream", "in", "out", *both, says=["one of --size, --fit"])

    def test_larger_than_memory(self):
        self.write_frames("in/0.png")
        remedy = Program.by_edition("use the 64-bit edition or ", "") + "choose a smaller size"
        for options, pixels in Program.by_edition(
            [
                ("--size 30000x30000", "30000 x 30000 pixels: "),
                ("--size 2147483647x2147483647", "2147483647 x 2147483647 pixels: "),
                ("--percent 3200000", "256000 x 192000 pixels: "),
                ("--size 2147483647x1 --bits 8", "2147483647 x 1 pixels: "),
            ],
            # More than the size counts, and more than processes have addresses.
            [
                ("--size 2147483647x2147483647", "2147483647 x 2147483647 pixels: "),
                ("--size 10000000x10000000", "10000000 x 10000000 pixels: "),
                ("--size 2147483647x70000 --bits 8", "2147483647 x 70000 pixels: "),
            ],
        ):
            with self.subTest(options=options):
                says = [f"{pixels}there is not enough memory for frames so large; {remedy}"]
                self.refuse(FAILED, "stream", "in", "out", *options.split(), says=says)

    def test_a_width_that_32_bits_count_wrong(self):
        # 64 rows of 24 bits would be 2^32 + 128 bytes.
        width = 22369622
        row = bytes(width // 8) + b"\xff"
        self.write("in/0.bmp", pictures.bmp_file(width, 1, 1, [row], pictures.BLACK_AND_WHITE))
        self.succeed("stream", "in", "out", "--size", "2x1", "--bits", "8", "--method=nearest")
        white_last = pictures.from_colours(2, 1, [(0, 0, 0), (255, 255, 255)])
        self.assert_file_holds("out/0.bmp", white_last, 8)


class Folders(StreamCase):
    def test_names_are_kept_and_other_files_left_alone(self):
        self.write_frames("in/a.png", "in/B.PNG", "in/c d é.png")
        self.write("in/e.bmp", pictures.bmp(frame(3)))
        self.write("in/f.tif", pictures.tiff(frame(4)))
        self.write("in/notes.txt", b"no picture")
        self.write("in/g.gif", b"no picture")
        self.write("in/png", b"no picture")
        self.write("in/h.png/inside.png", b"no picture")
        names = ["a.png", "B.PNG", "c d é.png", "e.bmp", "f.tif"]
        makes = [f"out/{name}" for name in names]
        self.assertRegex(self.stream("in", "out", *HALF, makes=makes), said(5))
        for number, name in enumerate(makes):
            self.assert_half(name, number)

    def test_older_files_are_replaced(self):
        self.write_frames("in/a.png", "in/b.png")
        self.write("out/a.png", bytes(10000))
        self.write("out/z.png", b"another file")
        self.stream("in/", "out/", *HALF, makes=["out/a.png", "out/b.png"])
        self.assert_half("out/a.png", 0)

    def test_in_place(self):
        self.write_frames("in/a.png", "in/b.png")
        self.stream("in", "./in", *HALF, makes=["in/a.png", "in/b.png"])
        self.assert_half("in/a.png", 0)
        self.assert_half("in/b.png", 1)

    def test_in_the_order_of_names(self):
        # Seen by what is there when the second one cannot be read.
        self.write_frames("in/9.png", "in/2.png", "in/1.png")
        self.write("in/10.png", b"no picture")
        self.stop("in", "out", *HALF, keeps=["out/1.png"], says=["in/10.png", "not a picture"])
        self.assert_half("out/1.png", 2)

    def test_folders_that_are_no_use(self):
        self.write("in/notes.txt", b"no picture")
        self.make_folder("in/folder.png")
        self.write("file.png", pictures.png(frame(0)))
        for source, target, says in [
            ("in", "out", "in: the folder holds no .png, .bmp, .jpg or .tif files"),
            ("nowhere", "out", "nowhere: this is neither a folder nor a name with a number"),
            ("file.png", "out", "file.png: this is neither a folder nor a name with a number"),
        ]:
            with self.subTest(source=source):
                self.refuse(FAILED, "stream", source, target, *HALF, says=says)

    def test_frames_of_a_folder_need_a_folder(self):
        self.write_frames("in/0.png")
        for target in ("nowhere", "in/0.png", "out/#.png", "nowhere/deep"):
            with self.subTest(target=target):
                says = [f"q32tool: {target}: this is not a folder", "a folder that is there"]
                self.refuse(FAILED, "stream", "in", target, *HALF, says=says)


class Numbers(StreamCase):
    def test_numbers_of_at_least_so_many_digits(self):
        self.write_frames("in/s-0003.png", "in/s-0012.png", "in/s-10000.png", "in/s-9999.png")
        for other in ("s-003", "s-00012", "s-", "s-x003", "s--003", "s-+003", "s- 003", "s-0004a"):
            self.write(f"in/{other}.png", b"no frame")
        self.write("in/s-0005.bmp", b"no frame")
        self.make_folder("in/s-0006.png")
        names = ["s-0003.png", "s-0012.png", "s-10000.png", "s-9999.png"]
        makes = [f"out/{name}" for name in names]
        for pattern in ("in/s-####.png", "in/s-%04d.png"):
            with self.subTest(pattern=pattern):
                self.assertRegex(self.stream(pattern, "out", *HALF, makes=makes), said(4))
                for number, name in enumerate(makes):
                    self.assert_half(name, number)
                    (self.folder / name).unlink()

    def test_numbers_of_any_digits(self):
        self.write_frames("in/0.png", "in/7.png", "in/123.png")
        self.write("in/07.png", b"no frame")
        for pattern in ("in/#.png", "in/%d.png"):
            with self.subTest(pattern=pattern):
                makes = ["out/0.png", "out/7.png", "out/123.png"]
                self.stream(pattern, "out", *HALF, makes=makes)
                for number, name in enumerate(makes):
                    self.assert_half(name, number)

    def test_other_names_with_the_same_numbers(self):
        self.write_frames("in/0003 left.png", "in/0012 left.png", "in/10000 left.png")
        for pattern, names in [
            ("out/é ##.bmp", ["é 03.bmp", "é 12.bmp", "é 10000.bmp"]),
            ("out/%06d.tif", ["000003.tif", "000012.tif", "010000.tif"]),
            ("%d.png", ["../3.png", "../12.png", "../10000.png"]),
        ]:
            with self.subTest(pattern=pattern):
                makes = [f"out/{name}".replace("out/../", "") for name in names]
                self.stream("in/#### left.png", pattern, *HALF, makes=makes)
                for number, name in enumerate(makes):
                    self.assert_half(name, number)

    def test_into_the_same_folder(self):
        self.write_frames("in/1.png", "in/10.png")
        self.stream("in/#.png", "in/1#.png", *HALF, makes=["in/11.png", "in/110.png"])
        self.assert_half("in/11.png", 0)
        self.assert_half("in/110.png", 1)

    def test_in_place(self):
        self.write_frames("in/1.png", "in/2.png")
        self.stream("in/#.png", "in/%d.png", *HALF, makes=["in/1.png", "in/2.png"])
        self.assert_half("in/1.png", 0)
        self.assert_half("in/2.png", 1)

    def test_in_the_order_of_numbers(self):
        # Seen by what is there when the third one cannot be read.
        self.write_frames("in/s999.png", "in/s30.png", "in/s8.png")
        self.write("in/s100.png", b"no picture")
        keeps, says = ["out/s8.png", "out/s30.png"], ["in/s100.png", "not a picture"]
        self.stop("in/s#.png", "out", *HALF, keeps=keeps, says=says)
        self.assert_half("out/s30.png", 1)

    def test_no_such_files(self):
        self.write_frames("in/s-0001.png")
        for source, says in [
            ("in/s-#####.png", "in/s-#####.png: there are no files of such names"),
            ("in/t-#.png", "in/t-#.png: there are no files of such names"),
            ("in/*-####.png", "in/*-####.png"),
            ("nowhere/s-####.png", "nowhere/: no such directory"),
            ("in##/s-0001.png", "in##/s-0001.png: this is neither a folder nor a name"),
        ]:
            with self.subTest(source=source):
                self.refuse(FAILED, "stream", source, "out", *HALF, says=says)

    def test_numbers_that_are_not_written_so(self):
        self.write_frames("in/s-0001.png")
        for pattern in ("s-%x.png", "s-##-##.png", "s-#%d.png", "s-%d-%d.png", "s-%.png", "%04"):
            with self.subTest(pattern=pattern):
                says = [f"in/{pattern}", "#### or %04d, once"]
                self.refuse(USAGE, "stream", f"in/{pattern}", "out", *HALF, says=says)
        arguments = ["in/s-####.png", "out/s-##-#.png", *HALF]
        self.refuse(USAGE, "stream", *arguments, says=["out/s-##-#.png", "#### or %04d, once"])

    def test_frames_with_numbers_need_a_folder_or_numbers(self):
        self.write_frames("in/0.png")
        for target in ("nowhere", "in/0.png", "new.png"):
            with self.subTest(target=target):
                says = ["OUT must be a folder that is there, or have a number", f"'{target}'"]
                self.refuse(USAGE, "stream", "in/#.png", target, *HALF, says=says)
        says = ["nowhere/0.png", "directory", "does not exist"]
        self.refuse(FAILED, "stream", "in/#.png", "nowhere/#.png", *HALF, says=says)


class Failures(StreamCase):
    def test_a_frame_of_another_size(self):
        for width, height in ((8, 7), (9, 6)):
            with self.subTest(width=width, height=height):
                self.write_frames("in/0.png", "in/1.png", "in/2.png", "in/3.png")
                self.write("in/2.png", pictures.png(frame(2, width, height)))
                sizes = f"this frame has {width} x {height} pixels, the first one 8 x 6 pixels"
                keeps = ["out/0.png", "out/1.png"]
                self.stop("in", "out", *HALF, keeps=keeps, says=[f"in/2.png: {sizes}; "])
                self.assert_half("out/1.png", 1)

    def test_a_frame_that_cannot_be_read(self):
        self.write_frames("in/0.png", "in/1.png", "in/2.png")
        self.write("in/1.png", pictures.png(frame(1))[:-30])
        self.stop("in", "out", *HALF, keeps=["out/0.png"], says=["in/1.png: "])
        self.assert_half("out/0.png", 0)

    def test_a_first_frame_that_cannot_be_read(self):
        self.write_frames("in/1.png")
        self.write("in/0.png", b"")
        self.stop("in", "out", *HALF, keeps=[], says=["in/0.png: ", "empty"])

    def test_in_place_the_frame_that_fails_stays(self):
        self.write_frames("in/0.png", "in/1.png")
        self.write("in/1.png", pictures.png(frame(1, 7, 6)))
        self.stop("in", "in", *HALF, keeps=["in/0.png"], says=["in/1.png: "])

    def test_files_that_cannot_be_written_are_seen_before_the_first_frame(self):
        self.write_frames("in/0.png", "in/1.png")
        (self.folder / self.write("out/1.png", b"an older file")).chmod(0o444)
        self.refuse(FAILED, "stream", "in", "out", *HALF, says="out/1.png: ")
        (self.folder / "out/1.png").unlink()
        self.make_folder("out/1.png")
        self.refuse(FAILED, "stream", "in", "out", *HALF, says="out/1.png: this is a directory")

    def test_full_disk(self):
        self.write("in/0.png", pictures.png(frame(0, 60, 60).changed(lambda *_: (1, 2, 3))))
        self.write("in/1.png", pictures.png(frame(1, 60, 60)))
        before = self.files()
        result = self.run_tool("stream", "in", "out", "--percent", "100", file_size=2000)
        self.assertEqual((result.code, result.out), (FAILED, ""))
        self.assertRegex(result.err, r"\Aq32tool: out/1.png: [^\n]{8,}\n\Z")
        self.assert_only_new(before, "out/0.png")

    def test_kinds_of_files_that_cannot_be_written(self):
        self.write_frames("in/0.png", "in/1.png")
        for target, options, says in [
            ("out/#.gif", [], ["out/0.gif", "unknown extension '.gif'"]),
            ("out/#", [], ["out/0", "extension"]),
            ("out/#.jpg", ["--bits", "32"], ["out/0.jpg: JPEG files", "use .png or .tif"]),
            ("out/#.bmp", ["--bits", "32"], ["out/0.bmp: BMP files", "use .png or .tif"]),
        ]:
            with self.subTest(target=target):
                self.refuse(FAILED, "stream", "in/#.png", target, *HALF, *options, says=says)
        self.write("in/2.bmp", pictures.bmp(frame(2)))
        self.refuse(FAILED, "stream", "in", "out", *HALF, "--bits", "32", says="out/2.bmp: BMP")


class Words(StreamCase):
    def setUp(self):
        super().setUp()
        self.write_frames("in/0.png", "in/1.png", "in/2.png")
        self.makes = ["out/0.png", "out/1.png", "out/2.png"]

    def test_two_lines(self):
        options = [*HALF, "--bits", "8", "--method", "bilinear"]
        words = self.stream("in", "out", *options, makes=self.makes)
        self.assertRegex(words, said(3, bits=8, method="bilinear"))
        scaled, all_told = map(float, re.findall(r"(\d+\.\d) ", words))
        self.assertGreater(scaled, all_told)
        self.assertGreater(all_told, 0)

    def test_quiet(self):
        self.assertEqual(self.stream("in", "out", *HALF, "--quiet", makes=self.makes), "")
        self.assert_half("out/2.png", 2)

    def test_timings(self):
        result = self.run_tool("stream", "in", "out", *HALF, "--timings")
        self.assertEqual(result.code, 0)
        self.assertRegex(result.out, said(3))
        parts = [rf"{part}: \d+\.\d+ s" for part in ("reading", "library", "writing")]
        self.assertRegex(result.err, rf"\A{parts[0]}\n{parts[1]} \(.+\)\n{parts[2]}\n\Z")

    def test_progress(self):
        result = self.run_tool("stream", "in", "out", *HALF, "--progress")
        self.assertEqual(result.code, 0)
        self.assertRegex(result.out, said(3))
        bars = re.findall(r"\r([a-z]+) \[(#*)(\.*)\] (\d+)%", result.err)
        self.assertEqual({bar[0] for bar in bars}, {"streaming"})
        for _, done, left, percent in bars:
            self.assertEqual((len(done + left), len(done)), (40, 40 * int(percent) // 100))
        # The first bar is drawn at once, when one frame of three is done.
        percents = [int(bar[3]) for bar in bars]
        self.assertEqual(percents[0], 33)
        self.assertEqual(percents, sorted(percents))
        self.assertLessEqual(percents[-1], 100)
