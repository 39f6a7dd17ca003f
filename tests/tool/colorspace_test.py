"""Grey, hue, saturation, value and lightness of pictures: q32tool colorspace."""

import colour_spaces
import pictures
from colour_spaces import from_hls, from_hsv, stretched, to_hls, to_hsv, turned
from rectangle_case import RectangleCase
from tool_case import FAILED, USAGE, ToolCase

FIELDS = {
    "hsv": (to_hsv, from_hsv, ["hue", "saturation", "value"]),
    "hls": (to_hls, from_hls, ["hue", "lightness", "saturation"]),
}


def every_kind():
    """Greys, pure colours, dark and light ones, and all orders of channels, some of them equal."""
    ends = [(r, g, b) for r in (0, 1, 255) for g in (0, 1, 255) for b in (0, 1, 255)]
    near = [(r, g, b) for r in range(125, 131) for g in range(125, 131) for b in range(125, 131)]
    wheel = [from_hsv(hue, 255, 255) for hue in range(360)]
    return ends + near + wheel + [(grey,) * 3 for grey in range(256)]


class ColourSpaceCase(RectangleCase):
    def setUp(self):
        super().setUp()
        width, height = 150, 20
        colours = every_kind()
        noise = pictures.noise(width, height).colours()
        self.picture = pictures.from_colours(width, height, colours + noise[len(colours) :])
        self.write("in.bmp", pictures.bmp(self.picture))

    def assert_becomes(self, change, bits, *options, target="out.png"):
        """change: of a colour to a colour, or to a grey."""
        storage, where = next(self.storages)
        with self.subTest(options=options, storage=storage):
            self.make(target, "colorspace", "in.bmp", target, *options, *where)
            self.assert_file_holds(target, self.picture.changed(change), bits)


class Spaces(ColourSpaceCase):
    def test_grey(self):
        def change(*colour):
            return (colour_spaces.grey(*colour),) * 3

        for word in ("grey", "gray"):
            self.assert_becomes(change, 8, "--to", word)
        grey = (self.folder / "out.png").read_bytes()
        self.assertEqual(self.convert("in.bmp", "other.png", "--bits", "8"), grey)

    def test_records(self):
        for space, (convert, _, _) in FIELDS.items():

            def change(*colour, convert=convert):
                hue, *rest = convert(*colour)
                return stretched(hue), *rest

            self.assert_becomes(change, 24, "--to", space)
            self.assert_becomes(change, 24, f"--to={space}", target="out.bmp")

    def test_fields(self):
        for space, (convert, _, fields) in FIELDS.items():
            for number, field in enumerate(fields):

                def change(*colour, convert=convert, number=number):
                    hue, *rest = convert(*colour)
                    return ([stretched(hue), *rest][number],) * 3

                self.assert_becomes(change, 8, "--to", space, "--field", field)

    def test_in_place(self):
        self.make("in.bmp", "colorspace", "in.bmp", "in.bmp", "--to", "hls", "--field=lightness")
        wanted = self.picture.changed(lambda *colour: (to_hls(*colour)[1],) * 3)
        self.assert_file_holds("in.bmp", wanted, 8)

    def test_what_is_said(self):
        for options, bits in [(["grey"], 8), (["hsv"], 24), (["hls", "--field", "hue"], 8)]:
            said = self.succeed("colorspace", "in.bmp", "out.png", "--to", *options)
            self.assertEqual(said, f"out.png: 150 x 20 pixels, {bits} bits, PNG\n")


class TurnedHues(ColourSpaceCase):
    def assert_turns(self, space, *angles):
        convert, back, _ = FIELDS[space]
        for degrees in angles:

            def change(*colour, degrees=degrees):
                hue, *rest = convert(*colour)
                return back(turned(hue, degrees), *rest)

            self.assert_becomes(change, 24, "--to", space, "--turn-hue", str(degrees))

    def test_hsv(self):
        self.assert_turns("hsv", 90, -1, 359, -360)

    def test_hls(self):
        self.assert_turns("hls", -90, 1, -359, 360)

    def test_there_and_back(self):
        for space in FIELDS:
            self.assert_turns(space, 0, 60)

    def test_colours_known_by_name(self):
        names = {"red": (255, 0, 0), "green": (0, 255, 0), "blue": (0, 0, 255), "grey": (9, 9, 9)}
        self.write("in.png", pictures.png(pictures.from_colours(4, 1, names.values())))
        for degrees, becomes in {120: "green blue red", -120: "blue red green"}.items():
            options = ["--to", "hsv", "--turn-hue", str(degrees)]
            self.make("out.png", "colorspace", "in.png", "out.png", *options)
            wanted = [names[name] for name in (*becomes.split(), "grey")]
            self.assertEqual(self.read("out.png").picture.colours(), wanted)


class Refused(ToolCase):
    def setUp(self):
        super().setUp()
        self.write("in.png", pictures.png(pictures.noise(9, 5)))
        self.write("out.png", b"an older file")

    def refuse_options(self, *options, says, code=USAGE, source="in.png", target="out.png"):
        with self.subTest(options=options):
            self.refuse(code, "colorspace", source, target, *options, says=says)

    def test_spaces(self):
        for value in ("", "rgb", "HSV"):
            self.refuse_options("--to", value, says=["--to", "grey", "hsv", "hls", f"'{value}'"])

    def test_fields_of_other_spaces(self):
        for space, field in [("hsv", "lightness"), ("hls", "value"), ("hsv", ""), ("hls", "red")]:
            says = ["--field", "hue", "saturation", f"'{field}'"]
            self.refuse_options("--to", space, "--field", field, says=says)

    def test_angles(self):
        for value in ("361", "-361", "", "1.5", "4294967296"):
            says = ["--turn-hue", "-360", "360", f"'{value}'"]
            self.refuse_options("--to", "hsv", "--turn-hue", value, says=says)

    def test_options_that_do_not_go_together(self):
        for options in (["--field", "hue"], ["--turn-hue", "5"]):
            self.refuse_options("--to", "grey", *options, says=options[0])
        both = ["--field", "hue", "--turn-hue", "5"]
        self.refuse_options("--to", "hsv", *both, says=["--field", "--turn-hue"])

    def test_files(self):
        to = ["--to", "hsv"]
        missing = "missing.png: no such file"
        self.refuse_options(*to, code=FAILED, source="missing.png", says=missing)
        self.refuse_options(*to, code=FAILED, target="out.gif", says=["out.gif", ".gif", ".png"])
        self.refuse_options(*to, code=FAILED, target="no/out.png", says=["no/out.png", "directory"])
