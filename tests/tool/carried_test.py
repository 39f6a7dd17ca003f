"""What files say of their pictures goes on into the files that are made of them: orientation,
resolution, colour profile and comment. What is lost is said."""

import facts_files
import opacities
import pictures
import rectangles
from facts_files import Facts, chunks_of, profile, segments_of, with_chunks, with_segments
from resampling import by_cells
from tool_case import ToolCase

WIDTH, HEIGHT = 9, 7

ALL = Facts(1, (300, 150), profile(140), "A view of Zürich")


def turned(picture, orientation):
    """The picture as EXIF's number says that it is to be seen."""
    w, h = picture.width - 1, picture.height - 1
    stored = {
        1: lambda x, y: (x, y),
        2: lambda x, y: (w - x, y),
        3: lambda x, y: (w - x, h - y),
        4: lambda x, y: (x, h - y),
        5: lambda x, y: (y, x),
        6: lambda x, y: (y, h - x),
        7: lambda x, y: (w - y, h - x),
        8: lambda x, y: (w - y, x),
    }[orientation]
    size = (h + 1, w + 1) if orientation > 4 else (w + 1, h + 1)
    return rectangles.drawn(*size, lambda x, y: rectangles.pixel(picture, *stored(x, y)))


def blocks(columns, rows):
    """A JPEG of greys, and its picture."""
    values = [(20 * i + 5,) for i in range(columns * rows)]
    picture = rectangles.drawn(
        columns * 8, rows * 8, lambda x, y: values[y // 8 * columns + x // 8] * 3
    )
    return pictures.jpeg_file(columns, rows, values), picture


class CarriedCase(ToolCase):
    def assert_facts(self, name, wanted):
        found = facts_files.read(self.folder / name)
        if found.resolution:  # files have it in whole pixels of a metre
            found = found._replace(resolution=tuple(map(round, found.resolution)))
        self.assertEqual(found, wanted)

    def write_png(self, name, about, picture=None):
        picture = picture or pictures.noise(WIDTH, HEIGHT)
        return self.write(name, facts_files.png(picture, about))


class Orientation(CarriedCase):
    def test_all_from_all_kinds_of_files(self):
        picture, (jpeg, blocky) = pictures.noise(WIDTH, HEIGHT), blocks(3, 2)
        opacity = pictures.noise(WIDTH, HEIGHT, seed=1).pixels[::3]
        for orientation in range(1, 9):
            about = Facts(orientation, (300, 150))
            clear = pictures.png_with_alpha(picture, opacity)
            self.write("a.png", with_chunks(clear, chunks_of(about)))
            self.write("a.tif", facts_files.tiff(picture, about))
            self.write("a.jpg", with_segments(jpeg, segments_of(about)))
            resolution = (150, 300) if orientation > 4 else (300, 150)
            for source, target, seen in [
                ("a.png", "out.png", picture),
                ("a.tif", "out.png", picture),
                ("a.jpg", "out.tif", blocky),
            ]:
                with self.subTest(orientation=orientation, source=source):
                    self.convert(source, target)
                    self.assert_same_picture(self.read(target).picture, turned(seen, orientation))
                    self.assert_facts(target, Facts(resolution=resolution))
                    if source == "a.png":
                        wanted = turned(opacities.as_picture(opacity, WIDTH), orientation)
                        self.assertEqual(self.read(target).opacity, opacities.as_opacity(wanted))

    def test_commands_see_the_turned_picture(self):
        picture = pictures.noise(WIDTH, HEIGHT)
        self.write("in.tif", facts_files.tiff(picture, Facts(6)))
        seen = turned(picture, 6)
        self.make("out.png", "crop", "in.tif", "out.png", "--at=2,1", "--size=5x6")
        self.assert_file_holds("out.png", rectangles.cropped(seen, (2, 1, 5, 6)), 24)
        self.make("out.png", "scale", "in.tif", "out.png", "--size", "20x30")
        self.assert_file_holds("out.png", by_cells(seen, 20, 30, "bicubic"), 24)
        self.assertEqual(self.info("in.tif")["size"], f"{HEIGHT} x {WIDTH} pixels")
        colours = ["%d,%d,%d" % colour for colour in seen.colours()[:3]]
        said = self.succeed("rows", "in.tif", "--at", "0,0", "--size", "3x1")
        self.assertEqual(said, f"0: {' '.join(colours)}\n")

    def test_the_second_picture_is_turned_too(self):
        over = pictures.noise(4, 3, seed=2)
        self.write("base.bmp", pictures.bmp(pictures.noise(30, 20)))
        self.write("over.tif", facts_files.tiff(over, Facts(8)))
        for words in (
            ["paste", "base.bmp", "over.tif", "out.bmp", "--at=5,6"],
            ["bitmap", "base.bmp", "out.bmp", "--paste", "over.tif", "--at=5,6"],
        ):
            self.make("out.bmp", *words)
            wanted = rectangles.pasted(pictures.noise(30, 20), turned(over, 8), 5, 6)
            self.assert_file_holds("out.bmp", wanted, 24)

    def test_kept(self):
        picture = pictures.noise(WIDTH, HEIGHT)
        self.write("in.tif", facts_files.tiff(picture, Facts(6, (300, 150))))
        for name in ("out.png", "out.tif"):
            self.convert("in.tif", name, "--keep-orientation")
            self.assert_file_holds(name, picture, 24)
            self.assert_facts(name, Facts(6, (300, 150)))
        self.convert("in.tif", "out.jpg", "--keep-orientation", "--quality", "100")
        file = (self.folder / "out.jpg").read_bytes()
        self.assertEqual(pictures.jpeg_frame(file), (WIDTH, HEIGHT, 3))
        self.assert_facts("out.jpg", Facts(6, (300, 150)))
        note = "out.bmp: the orientation is left out, BMP has no place for it"
        self.convert("in.tif", "out.bmp", "--keep-orientation", notes=[note])
        self.assert_file_holds("out.bmp", picture, 24)

    def test_frames(self):
        picture = pictures.noise(5, 5)
        self.make_folder("in")
        self.make_folder("out")
        for orientation in range(1, 9):
            about = facts_files.png(picture, Facts(orientation))
            self.write(f"in/{orientation}.png", about)
        self.succeed("stream", "in", "out", "--percent", "100", "--method", "nearest")
        for orientation in range(1, 9):
            with self.subTest(orientation=orientation):
                name = f"out/{orientation}.png"
                self.assert_file_holds(name, turned(picture, orientation), 24)
                self.assert_facts(name, Facts())

    def test_pictures_of_32_bits(self):
        about = Facts(5, (300, 150), profile(140), "32 bits")
        source = self.write_png("in.png", about)
        self.make("out.png", "enlarge", source, "out.png", "--factor=1", "--bits=32")
        picture = turned(pictures.noise(WIDTH, HEIGHT), 5)
        self.assert_file_holds("out.png", picture, 32)
        self.assert_facts("out.png", about._replace(orientation=1, resolution=(150, 300)))


class Carried(CarriedCase):
    def test_from_format_to_format(self):
        self.write("0.jpg", with_segments(blocks(2, 2)[0], segments_of(ALL)))
        names = ["0.jpg", "1.png", "2.tif", "3.jpg", "4.tif", "5.png", "6.jpg"]
        for source, target in zip(names, names[1:]):
            with self.subTest(source=source, target=target):
                self.convert(source, target)
                self.assert_facts(target, ALL)

    def test_every_command(self):
        source = self.write_png("in.png", ALL)
        self.write_png("other.png", Facts(1, (72, 72), profile(150), "another"))
        for words in [
            ["crop", source, "out.tif", "--at", "1,1", "--size", "3x3"],
            ["paste", source, "other.png", "out.tif", "--at", "1,1"],
            ["fill", source, "out.tif", "--colour", "1,2,3"],
            ["pattern", source, "other.png", "out.tif"],
            ["scale", source, "out.tif", "--percent", "50"],
            ["enlarge", source, "out.tif", "--factor", "2"],
            ["reduce", source, "out.tif", "--factor", "2"],
            ["compose", "--base", source, "--overlay", "other.png", "-o", "out.tif"],
            ["colorspace", source, "out.tif", "--to", "hls", "--turn-hue", "20"],
            ["show", source, "--depth-of", "high-colour", "-o", "out.tif"],
        ]:
            with self.subTest(command=words[0]):
                self.make("out.tif", *words)
                self.assert_facts("out.tif", ALL)

    def test_a_stream(self):
        self.make_folder("in")
        self.make_folder("out")
        for number in range(2):
            self.write_png(f"in/{number}.png", ALL._replace(comment=f"frame {number}"))
        self.succeed("stream", "in/#.png", "out/#.tif", "--percent", "50")
        for number in range(2):
            self.assert_facts(f"out/{number}.tif", ALL._replace(comment=f"frame {number}"))

    def test_what_has_no_facts(self):
        self.write("in.png", pictures.png(pictures.noise(WIDTH, HEIGHT)))
        for name in ("out.png", "out.tif", "out.jpg"):
            self.convert("in.png", name)
            self.assert_facts(name, Facts())


class Lost(CarriedCase):
    """In one line for each picture, and never when nothing is lost."""

    def test_bmp(self):
        for about, words in [
            (Facts(comment="a"), "the comment is left out, BMP has no place for it"),
            (Facts(profile=ALL.profile), "the colour profile is left out, BMP has no place for it"),
            (ALL, "the colour profile and the comment are left out, BMP has no place for them"),
        ]:
            with self.subTest(words=words):
                source = self.write_png("in.png", about)
                self.convert(source, "out.bmp", notes=[f"out.bmp: {words}"])
                self.assert_facts("out.bmp", Facts(resolution=about.resolution))
        words = "the orientation, the colour profile and the comment are left out"
        note = f"out.bmp: {words}, BMP has no place for them"
        source = self.write_png("in.png", ALL._replace(orientation=3))
        self.convert(source, "out.bmp", "--keep-orientation", notes=[note])

    def test_quiet(self):
        source = self.write_png("in.png", ALL)
        self.assertEqual(self.succeed("convert", source, "out.bmp", "--quiet"), "")

    def test_several_losses_are_one_line(self):
        opacity = bytes(WIDTH * HEIGHT)
        file = pictures.png_with_alpha(pictures.noise(WIDTH, HEIGHT), opacity)
        self.write("in.png", with_chunks(file, chunks_of(ALL)))
        note = (
            "out.bmp: the transparency is laid over white, BMP has none; the colour profile and"
            " the comment are left out, BMP has no place for them"
        )
        self.convert("in.png", "out.bmp", notes=[note])

    def test_profiles_of_other_pixels(self):
        source = self.write_png("in.png", ALL)
        grey = pictures.grey_png(WIDTH, HEIGHT, pictures.noise(WIDTH, HEIGHT).pixels[::3])
        of_greys = ALL._replace(profile=profile(140, b"GRAY"))
        self.write("grey.png", with_chunks(grey, chunks_of(of_greys)))
        note = "out.tif: the colour profile is left out, it is for other pixels"
        for words in [
            ["convert", source, "out.tif", "--bits", "8"],
            ["convert", source, "out.tif", "--bits", "1"],
            ["convert", "grey.png", "out.tif"],
            ["colorspace", source, "out.tif", "--to", "grey"],
            ["colorspace", source, "out.tif", "--to", "hsv"],
            ["colorspace", source, "out.tif", "--to", "hls", "--field", "hue"],
            ["filter", source, "out.tif", "--range", "1,2,3:80"],
            ["show", source, "--depth-of", "monochrome", "-o", "out.tif"],
        ]:
            with self.subTest(words=words):
                self.make("out.tif", *words, notes=[note])
                self.assert_facts("out.tif", ALL._replace(profile=b""))
        self.convert("grey.png", "out.tif", "--bits", "8")
        self.assert_facts("out.tif", of_greys)

    def test_plates(self):
        source = self.write_png("in.png", ALL)
        note = "in.png: the colour profile is left out of the plates, only the proof has it"
        self.succeed("separate", source, "out.tif", notes=[note])
        self.assert_facts("out-proof.tif", ALL)
        for plate in ("cyan", "magenta", "yellow", "black"):
            self.assert_facts(f"out-{plate}.tif", ALL._replace(profile=b""))

    def test_a_stream_says_it_once(self):
        self.make_folder("in")
        self.make_folder("out")
        for number in range(3):
            self.write_png(f"in/{number}.png", Facts(comment=f"frame {number}"))
        note = "out/#.bmp: the comment is left out, BMP has no place for it"
        self.succeed("stream", "in/#.png", "out/#.bmp", "--percent", "50", notes=[note])

    def test_further_pictures(self):
        picture = pictures.noise(WIDTH, HEIGHT)
        self.write("in.tif", facts_files.tiff(picture, Facts(), pages=3))
        self.convert("in.tif", "out.png", notes=["in.tif: only the first of 3 pictures is read"])
        self.assert_file_holds("out.png", picture, 24)
        self.assertEqual(self.succeed("convert", "in.tif", "out.png", "-q"), "")
        gif = pictures.gif_file(WIDTH, HEIGHT, bytes(WIDTH * HEIGHT), pictures.GREYS)
        frames = gif[:-1] + gif[13 + 768 : -1] + b";"
        self.write("in.gif", frames)
        self.convert("in.gif", "out.png", notes=["in.gif: only the first of 2 pictures is read"])
        self.write("one.gif", gif)
        self.convert("one.gif", "out.png")
