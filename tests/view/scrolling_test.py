"""Scrolling: what comes into view joins what was there without a seam, on every kind of display."""

import pictures
from program_case import long_round
from view_case import (
    DETECTED,
    DEVICE,
    DOWN,
    END,
    HOME,
    LEFT,
    PAGE_DOWN,
    PAGE_UP,
    PIXELS,
    RIGHT,
    UP,
    ViewCase,
    part,
)

WIDTH, HEIGHT = 150, 110
SIZE = ["--size", f"{WIDTH}x{HEIGHT}"]
ACROSS, UPRIGHT = 0, 1
LINE_UP, LINE_DOWN, PAGE_BACK, PAGE_ON, THUMB_AT, THUMB_TRACK, FIRST, LAST = range(8)


class Scrolling(ViewCase):
    def check_ways(self, ways):
        """Each step, and the place to which it leads from the one before; from (100, 100) first."""
        name = self.write("noise.png", pictures.png(pictures.noise(400, 300)))
        whole = self.view(name, "--zoom", "100", "--size", "400x300")
        with self.viewer(name, *SIZE, "--zoom", "100", "--at", "100,100") as viewer:
            views = viewer.views(*([step] for step, _ in ways))
        for view, (step, (x, y)) in zip(views, ways):
            self.assert_same_picture(view, part(whole, x, y, WIDTH, HEIGHT), named=step)

    def test_keys(self):
        self.check_ways(
            [
                (f"key:{RIGHT}", (132, 100)),
                (f"key:{DOWN}", (132, 132)),
                (f"key:{LEFT}", (100, 132)),
                (f"key:{UP}", (100, 100)),
                (f"key:{PAGE_DOWN}", (100, 190)),  # 210, but 300 - 110 is the end
                (f"key:{PAGE_UP}", (100, 80)),
                (f"key:{END}", (250, 190)),
                (f"key:{HOME}", (0, 0)),
                (f"key:{UP}", (0, 0)),
            ]
        )

    def test_scroll_bars(self):
        self.check_ways(
            [
                (f"bar:{ACROSS},{LINE_DOWN},0", (132, 100)),
                (f"bar:{UPRIGHT},{LINE_UP},0", (132, 68)),
                (f"bar:{ACROSS},{PAGE_BACK},0", (0, 68)),
                (f"bar:{UPRIGHT},{PAGE_ON},0", (0, 178)),
                (f"bar:{ACROSS},{LAST},0", (250, 178)),
                (f"bar:{UPRIGHT},{FIRST},0", (250, 0)),
            ]
        )

    def test_dragging(self):
        self.check_ways(
            [
                ("drag:70,70,57,33", (113, 137)),
                ("drag:10,10,149,109", (0, 38)),
                ("drag:149,109,148,108", (1, 39)),
            ]
        )


class Seams(ViewCase):
    """A view that was put together by scrolling is a part of the picture that is drawn at once."""

    # Cut the window in all directions, and lead from the corner to the place.
    WAYS = [f"drag:60,60,{60 - dx},{60 - dy}" for dx, dy in ((13, 29), (1, 1), (-3, 5), (7, -2))]
    PLACE = (18, 33)

    def check(self, picture, zoom, kinds, *options):
        """kinds: names, and the menu commands that lead from one to the next."""
        name = self.write("picture.png", pictures.png(picture))
        width, height = (side * zoom // 100 for side in (picture.width, picture.height))
        at = ["--zoom", str(zoom), *options]
        with self.viewer(name, "--size", f"{width}x{height}", *at) as viewer:
            wholes = viewer.views(*(steps for _, steps in kinds))
        with self.viewer(name, *SIZE, *at) as viewer:
            ways = []
            for _, steps in kinds:
                ways += [[*steps, f"key:{HOME}", *self.WAYS], ["spoil"]]
            views = viewer.views(*ways)
        self.assertGreater(len({whole.pixels for whole in wholes}), len(kinds) // 2)
        for i, (named, _) in enumerate(kinds):
            wanted = part(wholes[i], *self.PLACE, WIDTH, HEIGHT)
            self.assert_same_picture(views[2 * i], wanted, named=f"{named}, {zoom} %")
            self.assert_same_picture(views[2 * i + 1], wanted, named=f"{named}, {zoom} %, drawn again")

    KINDS_OF_DISPLAY = [(f"display {i}", [f"command:{DEVICE + i}"]) for i in range(6)]

    def test_every_kind_of_display(self):
        self.check(pictures.ramps(400, 300), 100, self.KINDS_OF_DISPLAY)

    def test_every_kind_of_pixels(self):
        kinds = [(f"pixels {i}", [f"command:{PIXELS + i}"]) for i in range(5)]
        self.check(pictures.ramps(400, 300), 100, kinds)
        self.check(pictures.ramps(400, 300), 100, kinds, "--device-type", "2")
        self.check(pictures.ramps(400, 300), 100, kinds, "--device-type", "3", "--palette-option")

    @long_round
    def test_scaled(self):
        self.check(pictures.ramps(400, 300), 67, self.KINDS_OF_DISPLAY)
        self.check(pictures.ramps(360, 260), 150, self.KINDS_OF_DISPLAY)
        self.check(pictures.ramps(40, 30), 1600, self.KINDS_OF_DISPLAY)

    def test_palettes_of_others(self):
        name = self.write("picture.png", pictures.png(pictures.ramps(400, 300)))
        with self.viewer(name, *SIZE, "--zoom", "100", "--at", "50,20") as viewer:
            before, after = viewer.views([], ["palettes"])
        self.assert_same_picture(after, before)

    def test_the_display_that_is_detected(self):
        name = self.write("picture.png", pictures.png(pictures.ramps(400, 300)))
        with self.viewer(name, *SIZE, "--zoom", "100", "--at", "50,20") as viewer:
            before, other, after = viewer.views(
                [], [f"command:{DEVICE}"], [f"command:{DETECTED}"]
            )
        self.assertNotEqual(other.pixels, before.pixels)
        self.assert_same_picture(after, before)
