"""The laboratories: what they show is what q32tool makes of the same pictures, on any display."""

import contextlib
import re

import pictures
from program_case import long_round
from view_case import (
    CONTROL,
    DONE,
    DOWN,
    END,
    ESCAPE,
    FAILED,
    HOME,
    LABORATORY,
    LEFT,
    OpenLaboratory,
    SAVE,
    SPACE,
    UP,
    USAGE,
    ViewCase,
    Viewer,
    keys,
    part,
)

SIZE = ["--size", "780x560"]

# The controls' places in their columns.
MODE, OPACITY, MASK, PLACE, OPEN_BASE, OPEN_OVERLAY = range(6)
PIXELS, GAMMA, DITHER, LEVELS_16, ACROSS, DETAIL_DOWN, MARK = range(7)

MODES = (
    "normal color hue saturation value lighten darken relief difference add subtract multiply screen "
    "premul-black premul-white mask-subtract"
).split()

# In the order in which they are shown.
DISPLAYS = ["monochrome", "8-colours", "16-colours", "256-colours", "high-colour", "true-colour"]


def places(small, large):
    """The corners of all places at which a picture is a part of another one."""
    rows = list(large.rows())
    wanted = list(small.rows())
    found = []
    for top in range(large.height - small.height + 1):
        at = rows[top].find(wanted[0])
        while at >= 0:
            if at % 3 == 0 and all(
                rows[top + i][at : at + len(row)] == row for i, row in enumerate(wanted)
            ):
                found.append((at // 3, top))
            at = rows[top].find(wanted[0], at + 1)
    return found


def enlarged(picture, times):
    rows = []
    for row in picture.rows():
        pixels = [row[i : i + 3] * times for i in range(0, len(row), 3)]
        rows += [b"".join(pixels)] * times
    return pictures.Picture(picture.width * times, picture.height * times, b"".join(rows))


class LaboratoryCase(ViewCase):
    def made_by_tool(self, *arguments):
        """What q32tool writes to made.png, as the viewer shows it on this display in its own size."""
        self.run_program(Viewer.tool, *arguments)
        picture = pictures.read(self.folder / "made.png").picture
        seen = picture if Viewer.depth == 24 else self.shown("made.png", picture)
        (self.folder / "made.png").unlink()
        return seen

    def shown(self, name, picture):
        return self.view(name, "--size", f"{picture.width}x{picture.height}")

    def laboratory_view(self, name, *arguments):
        return self.view("--laboratory", name, *SIZE, *arguments)

    @contextlib.contextmanager
    def laboratory(self, name, *arguments, ended_with=None):
        arguments = ["--laboratory", name, *SIZE, *arguments]
        with self.viewer(*arguments, ended_with=ended_with, kind=OpenLaboratory) as laboratory:
            yield laboratory


class Merge(LaboratoryCase):
    def setUp(self):
        super().setUp()
        self.base = self.write("base.png", pictures.png(pictures.noise(90, 60, 1)))
        self.overlay = self.write("overlay.png", pictures.png(pictures.noise(71, 47, 2)))
        greys = bytes(min(255, (x * 7 + y * 3) % 300) for y in range(47) for x in range(71))
        self.mask = self.write("mask.png", pictures.grey_png(71, 47, greys))
        self.given = [self.base, self.overlay, self.mask]

    def composed(self, mode, *options, at="9,6"):
        return self.made_by_tool(
            *["compose", "--base", self.base, "--overlay", self.overlay, "--mode", mode],
            *["--at", at, *options, "-o", "made.png"],
        )

    def test_shows_what_compose_makes(self):
        view = self.laboratory_view("merge", *self.given, "--set", "mode=screen")
        result = self.composed("screen", "--mask", self.mask)
        self.assertEqual(len(places(result, view)), 1)
        for name in (self.base, self.overlay):
            picture = pictures.read(self.folder / name).picture
            shown = picture if Viewer.depth == 24 else self.shown(name, picture)
            self.assertEqual(len(places(shown, view)), 1, name)

    def test_modes_opacity_mask_and_place_by_their_controls(self):
        down, masked = f"control:{MODE},{DOWN}", ["--mask", self.mask]
        with self.laboratory("merge", *self.given, "--set", "mode=hue") as laboratory:
            views = laboratory.views(
                [down] * 5,  # relief
                [f"control:{OPACITY},{LEFT}"] * 3 + [down] * 4,  # multiply
                [f"control:{MASK},{SPACE}"],
                [down] * 4 + [f"control:{PLACE},{UP}"],  # mask-subtract, in the corner
                [f"control:{OPACITY},{HOME}"],
            )
            words = laboratory.do("explained")
            title = laboratory.do("title")
        self.assertEqual(title, ["Merge laboratory - q32view"])
        ways = [
            ["relief", *masked],
            ["multiply", *masked, "--transparency", "3"],
            ["multiply", "--transparency", "3"],
        ]
        for view, way in zip(views, ways):
            self.assertEqual(len(places(self.composed(*way), view)), 1, way)
        corner = self.composed("mask-subtract", "--transparency", "3", at="0,0")
        self.assertEqual(len(places(corner, views[3])), 1)
        base = self.composed("normal", "--transparency", "100")
        self.assertEqual(len(places(base, views[4])), 2)  # the result, too
        self.assertEqual(words[:3], ["16 mask-subtract: the base", "Rounding: truncated", "Weight: in the formula"])
        self.assertRegex(words[3], r"^Merged 71 x 47 pixels in \d+ microseconds: \d+\.\d\d ns a pixel$")

    def test_modes_are_those_of_compose(self):
        steps = []
        with self.laboratory("merge", *self.given) as laboratory:
            for number, mode in enumerate(MODES, 1):
                steps += [f"explains:{number} {mode}: ", f"control:{MODE},{DOWN}"]
            laboratory.do(*steps)

    def test_overlay_stretched_to_the_base(self):
        overlay = self.made_by_tool(
            *["scale", self.overlay, "made.png", "--size", "90x60", "--method", "bicubic"]
        )
        view = self.laboratory_view(
            "merge", self.base, self.overlay, "--set", "place=stretch", "--set", "mask=off"
        )
        self.assertEqual(len(places(overlay, view)), 2)

    @long_round
    def test_an_overlay_opened_by_its_button(self):
        self.overlay = self.write("other.png", pictures.png(pictures.noise(50, 40, 3)))
        path = "Z:" + str(self.folder / self.overlay).replace("/", "\\")
        with self.laboratory("merge", self.base, "--set", "mode=add", "--set", "mask=off") as laboratory:
            button = [f"control:{OPEN_OVERLAY},{SPACE}", f"dialog:{path}", "explains:Merged 50 x 40 "]
            view = laboratory.view(*button)
        self.assertEqual(len(places(self.composed("add", at="20,10"), view)), 1)

    @long_round
    def test_tells_the_pixel_under_the_pointer(self):
        base, overlay = (
            pictures.from_colours(200, 120, [colour] * 24000) for colour in ((200, 100, 50), (90, 160, 220))
        )
        mask = self.write("grey.png", pictures.grey_png(200, 120, bytes([128]) * 24000))
        names = [
            self.write("one.png", pictures.png(base)),
            self.write("two.png", pictures.png(overlay)),
            mask,
        ]
        with self.laboratory("merge", *names, "--set", "mode=multiply") as laboratory:
            x, y = 269, 320  # about the middle of the area for pictures
            said = laboratory.do(f"move:{x},{y}", "told:at ", "says")
        self.assertRegex(said[0], r"^at \d+,\d+: b 200 100 50, s 90 160 220, m 128: 135 81 46$")

    def test_a_pointer_that_rests_leaves_what_is_said(self):
        rests = "move:269,320"
        with self.laboratory("merge", "--set", "mask=off") as laboratory:
            laboratory.do(rests, "told:at ", f"command:{SAVE}", "told:saved as saved.bmp", rests)
            self.assertEqual(laboratory.do("says"), ["saved as saved.bmp"])
            laboratory.do("move:270,320", "told:at ")

    def test_bars_without_pictures(self):
        view = self.laboratory_view("merge", "--set", "mask=off", "--set", "mode=14")
        self.assertGreater(len(set(view.colours())), 1000 if Viewer.depth == 24 else 50)


class Display(LaboratoryCase):
    def setUp(self):
        super().setUp()
        self.picture = self.write("ramps.png", pictures.png(pictures.ramps(80, 60)))

    def on(self, display, *options):
        """What q32tool shows of the picture, before the display of this program shows it."""
        self.run_program(
            Viewer.tool, "show", self.picture, "-o", "on.png", "--depth-of", display, *options
        )
        seen = pictures.read(self.folder / "on.png").picture
        (self.folder / "on.png").unlink()
        return seen

    def on_this_display(self, picture):
        if Viewer.depth == 24:
            return picture
        name = self.write("seen.png", pictures.png(picture))
        seen = self.shown(name, picture)
        (self.folder / name).unlink()
        return seen

    def check(self, view, *options, detail):
        corners = []
        for display in DISPLAYS:
            dither = [option for option in options if display == "high-colour" or option != "--no-dither"]
            seen = self.on(display, "--bits", "24", *dither)
            found = places(self.on_this_display(seen), view)
            self.assertEqual(len(found), 1, display)
            corners += found
            squares = enlarged(part(seen, *detail), 8)
            found = places(self.on_this_display(squares), view)
            if len(set(squares.colours())) > 1:  # else it may be the background's colour
                self.assertEqual(len(found), 1, display)
            self.assertTrue(found, display)
        self.assertEqual(corners, sorted(corners, key=lambda corner: (corner[1], corner[0])))

    def test_shows_what_show_makes(self):
        gamma = ["--set", "gamma=220", "--set", "mark=off"]
        with self.laboratory("display", self.picture, *gamma) as laboratory:
            view = laboratory.view()
            said = laboratory.do("explained")
        self.assertEqual(
            said[:2],
            [
                "Dithered by a matrix: of 8 x 8 up to 256 colours; high colour of 4 x 4.",
                "Gamma 2.20: level 128 becomes 144 on 256 colours and more.",
            ],
        )
        width, height, left, top = self.detail_said(said)
        self.check(view, "--gamma", "220", detail=(left, top, width, height))
        column = 40  # where blue is 128
        given = self.on("true-colour", "--gamma", "220").row(0)[column * 3 + 2]
        self.assertEqual((pictures.ramps(80, 60).row(0)[column * 3 + 2], given), (128, 144))

    def detail_said(self, said):
        words = r"Below each: (\d+) x (\d+) pixels from (\d+),(\d+), eight times enlarged."
        return tuple(map(int, re.fullmatch(words, said[2]).groups()))

    @long_round
    def test_gamma_dithering_and_detail_by_their_controls(self):
        with self.laboratory("display", self.picture, "--set", "mark=off") as laboratory:
            view = laboratory.view(
                *[f"control:{GAMMA},{LEFT}"] * 2,
                f"control:{DITHER},{SPACE}",
                f"control:{ACROSS},{HOME}",
                f"control:{DETAIL_DOWN},{END}",
            )
            width, height, left, top = self.detail_said(laboratory.do("explained"))
            self.assertEqual((left, top), (0, 60 - height))
            self.check(view, "--gamma", "178", "--no-dither", detail=(left, top, width, height))
            # The pointer on the last display's picture, one pixel from its corner.
            (corner,) = places(self.on_this_display(self.on("true-colour", "--gamma", "178")), view)
            stage = (214, 12)
            x, y = corner[0] - stage[0] + 79, corner[1] - stage[1] + 1
            laboratory.do(f"move:{x},{y}", f"explains: pixels from {80 - width},0,")

    @long_round
    def test_greys(self):
        greys = bytes((x * 3 + y) % 256 for y in range(60) for x in range(80))
        self.picture = self.write("greys.png", pictures.grey_png(80, 60, greys))
        view = self.laboratory_view(
            "display",
            *[self.picture, "--set", "pixels=grey", "--set", "levels-16=on", "--set", "mark=off"],
        )
        for display in ("monochrome", "16-colours", "256-colours", "high-colour", "true-colour"):
            levels = ["--levels-16"] if display in ("monochrome", "256-colours") else []
            seen = self.on(display, "--bits", "8", "--gamma", "180", *levels)
            self.assertTrue(places(self.on_this_display(seen), view), display)


class Windows(LaboratoryCase):
    def test_from_the_menu_with_the_picture_that_is_shown(self):
        picture = pictures.noise(90, 60)
        name = self.write("noise.png", pictures.png(picture))
        with self.viewer(name, "--size", "90x60", "--device-type", "5") as viewer:
            before = viewer.view()
            viewer.do(f"command:{LABORATORY + 1}")
            laboratory = OpenLaboratory(self)
            laboratory.do("titled:Display laboratory - q32view", "explains:Dithered by")
            viewer.do(f"command:{LABORATORY}")
            # What the display laboratory acted on does not stay.
            self.assert_same_picture(viewer.view("spoil"), before)

    def test_keys_of_the_keyboard_save_and_end(self):
        with self.laboratory("merge", ended_with=DONE) as laboratory:
            laboratory.do(keys(CONTROL, "S"), "keep:saved.bmp,view.bmp", "told:saved as saved.bmp")
            laboratory.do(keys(ESCAPE))
        view = pictures.read(self.folder / "view.bmp").picture
        self.assertEqual((view.width, view.height), (780, 560))

    @long_round
    def test_closing_ends_the_program(self):
        with self.laboratory("display", ended_with=DONE) as laboratory:
            laboratory.do("close")

    @long_round
    def test_a_picture_that_cannot_be_opened_is_said(self):
        with self.laboratory("merge", "none.png") as laboratory:
            laboratory.do("told:none.png: ")
        with self.laboratory("display", "none.png") as laboratory:
            laboratory.do("told:none.png: ", "size:500,400")

    def test_refusals(self):
        a = self.write("a.png", pictures.png(pictures.noise(9, 6)))
        b = self.write("b.png", pictures.png(pictures.noise(6, 9)))
        shot = ["--screenshot", "shot.png"]
        for code, says, arguments in (
            (USAGE, "--laboratory colour: merge", ["--laboratory", "colour"]),
            (USAGE, "--set opacity=101: 0 to 100 is wanted", ["--laboratory", "merge", "--set", "opacity=101"]),
            (USAGE, "b.png: the merge laboratory takes", ["--laboratory", "merge", a, a, a, b]),
            (USAGE, "b.png: the display laboratory takes", ["--laboratory", "display", a, b]),
            (FAILED, "none.png: ", ["--laboratory", "merge", a, "none.png", *shot]),
            (FAILED, "b.png: the mask is 6 x 9, the overlay 9 x 6", ["--laboratory", "merge", a, a, b, *shot]),
        ):
            self.refuse(code, *arguments, says=says)
