"""q32tool separate: four plates and a proof, compared with a model one by one."""

import pictures
from separating import INKS, inks, plates
from tool_case import FAILED, STORAGES, USAGE, ToolCase

WORDS = [*INKS, "proof"]


def names(before, after):
    return [f"{before}-{word}{after}" for word in WORDS]


class SeparateCase(ToolCase):
    def separate(self, source, target, *options, makes, notes=()):
        """Makes these files and touches no others; returns what it says."""
        before = self.files()
        said = self.succeed("separate", source, target, *options, notes=notes)
        self.assert_only_new(before, *makes)
        return said

    def assert_plates(self, made, wanted):
        """made: the names of the files, the proof last."""
        for name, word in zip(made, WORDS, strict=True):
            with self.subTest(name=name):
                self.assert_file_holds(name, wanted[word], 24 if word == "proof" else 8)

    def assert_separated(self, picture, *options, film=False):
        source = self.write("in.png", pictures.png(picture))
        self.separate(source, "out.png", *options, makes=names("out", ".png"))
        self.assert_plates(names("out", ".png"), plates(picture, film))


class Plates(SeparateCase):
    def test_the_model_itself(self):
        self.assertEqual(inks(255, 255, 255), (0, 0, 0, 0))
        self.assertEqual(inks(0, 0, 0), (213, 213, 213, 255))
        self.assertEqual(inks(255, 0, 0), (0, 255, 255, 0))

    def test_colours_by_hand(self):
        """White, black and the pure colours, which have no black."""
        white, black, red = (255, 255, 255), (0, 0, 0), (255, 0, 0)
        picture = pictures.from_colours(3, 1, [white, black, red])
        self.write("in.png", pictures.png(picture))
        self.separate("in.png", "out.png", makes=names("out", ".png"))
        for word, greys in {
            "cyan": [255, 42, 255],
            "magenta": [255, 42, 0],
            "yellow": [255, 42, 0],
            "black": [255, 0, 255],
        }.items():
            wanted = pictures.from_colours(3, 1, [(grey,) * 3 for grey in greys])
            self.assert_file_holds(f"out-{word}.png", wanted, 8)
        self.assert_file_holds("out-proof.png", picture, 24)

    def test_all_greys(self):
        self.assert_separated(pictures.from_colours(256, 1, pictures.GREYS))

    def test_noise(self):
        self.assert_separated(pictures.noise(257, 131))

    def test_dark_colours_over_the_ink_limit(self):
        values = (0, 1, 2, 3, 5, 8, 13, 21, 34)
        dark = [(red, green, blue) for red in values for green in values for blue in values]
        beyond = [colour for colour in dark if sum(inks(*colour)) >= 890]
        self.assertGreater(len(beyond), 20)
        self.assert_separated(pictures.from_colours(27, 27, dark))

    def test_film_is_the_negative_but_for_the_proof(self):
        self.assert_separated(pictures.noise(131, 9), "--film", film=True)

    def test_one_pixel(self):
        self.assert_separated(pictures.from_colours(1, 1, [(10, 20, 30)]))

    def test_storages(self):
        self.make_folder("swap")
        for name, options in STORAGES.items():
            with self.subTest(storage=name):
                self.assert_separated(pictures.noise(150, 130), *options)

    def test_transparent_parts_lie_over_white(self):
        self.write("in.png", pictures.png_with_alpha(pictures.noise(4, 3), bytes(12)))
        note = "in.png: the transparency is laid over white, plates have none"
        self.separate("in.png", "out.png", makes=names("out", ".png"), notes=[note])
        self.assert_plates(names("out", ".png"), plates(pictures.Picture(4, 3, b"\xff" * 36)))


class Names(SeparateCase):
    def setUp(self):
        super().setUp()
        self.picture = pictures.noise(9, 5)
        self.write("in.png", pictures.png(self.picture))

    def test_names(self):
        self.make_folder("a.folder")
        for target, made in [
            ("out.bmp", names("out", ".bmp")),
            ("out.TIF", names("out", ".TIF")),
            ("two.dots.png", names("two.dots", ".png")),
            ("a.folder/out.png", names("a.folder/out", ".png")),
            ("./out.tiff", names("out", ".tiff")),
            ("with space ж.png", names("with space ж", ".png")),
        ]:
            with self.subTest(target=target):
                self.separate("in.png", target, makes=made)
                self.assert_plates(made, plates(self.picture))

    def test_words(self):
        wanted = "".join(f"out-{word}.bmp: 9 x 5 pixels, 8 bits, BMP\n" for word in INKS)
        wanted += "out-proof.bmp: 9 x 5 pixels, 24 bits, BMP\n"
        made = names("out", ".bmp")
        self.assertEqual(self.separate("in.png", "out.bmp", makes=made), wanted)
        self.assertEqual(self.separate("in.png", "out.bmp", "--quiet", makes=made), "")

    def test_jpegs(self):
        made = names("out", ".jpg")
        self.separate("in.png", "out.jpg", makes=made)
        channels = [pictures.jpeg_frame((self.folder / name).read_bytes())[2] for name in made]
        self.assertEqual(channels, [1, 1, 1, 1, 3])

    def test_the_name_itself_is_not_written(self):
        self.write("out.png", b"an older file")
        self.separate("in.png", "out.png", makes=names("out", ".png"))
        self.assertEqual((self.folder / "out.png").read_bytes(), b"an older file")
        self.separate("in.png", "in.png", makes=names("in", ".png"))

    def test_a_plate_may_replace_the_picture(self):
        self.write("out-black.png", pictures.png(self.picture))
        self.separate("out-black.png", "out.png", makes=names("out", ".png"))
        self.assert_plates(names("out", ".png"), plates(self.picture))


class Misuse(SeparateCase):
    def test_refusals(self):
        self.write("in.png", pictures.png(pictures.noise(9, 5)))
        self.refuse(FAILED, "separate", "missing.png", "out.png", says="missing.png")
        self.refuse(FAILED, "separate", "in.png", "out.gif", says=["out.gif", ".gif"])
        self.refuse(FAILED, "separate", "in.png", "out", says="out")
        self.refuse(FAILED, "separate", "in.png", "nowhere/out.png", says="nowhere/out")
        self.refuse(USAGE, "separate", "in.png", says="OUT")
        self.refuse(USAGE, "separate", "in.png", "out.png", "more.png", says="more.png")
        self.refuse(USAGE, "separate", "in.png", "out.png", "--film=1", says="--film")
        self.refuse(USAGE, "separate", "in.png", "out.png", "--bits", "8", says="--bits")

    def test_a_full_disk_leaves_nothing(self):
        self.write("in.png", pictures.png(pictures.noise(300, 200)))
        for word in WORDS:
            self.write(f"out-{word}.bmp", b"an older file")
        arguments = ["separate", "in.png", "out.bmp", "--storage", "memory"]
        self.refuse(FAILED, *arguments, says="out-cyan.bmp", file_size=30_000)
