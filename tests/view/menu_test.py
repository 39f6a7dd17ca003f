"""The menu's commands do what the command line's options do."""

import pictures
from program_case import long_round
from view_case import (
    ACTUAL,
    DEVICE,
    DITHER,
    GAMMA,
    GAMMA_FILE,
    HOME,
    PALETTE_OPTION,
    PIXELS,
    TEST_CARD,
    ViewCase,
)

SIZE = ["--size", "120x90"]


class Menu(ViewCase):
    def setUp(self):
        super().setUp()
        self.picture = self.write("ramps.png", pictures.png(pictures.ramps(100, 70)))

    def check(self, ways, *first):
        """Commands that lead from one view to the next, and the options that do the same."""
        with self.viewer(self.picture, *SIZE, *first) as viewer:
            views = viewer.views(*([f"command:{id}" for id in ids] for ids, _ in ways))
        for view, (ids, options) in zip(views, ways):
            wanted = self.view(self.picture, *SIZE, *first, *options)
            self.assert_same_picture(view, wanted, named=(ids, options))

    @long_round
    def test_pixels(self):
        kinds = ["24", "16", "palette", "grey", "1"]
        self.check([([PIXELS + i], ["--pixels", kinds[i]]) for i in (1, 2, 3, 4, 0)])

    def test_gamma(self):
        gammas = [100, 140, 180, 220, 260]
        ways = [([GAMMA + i], ["--gamma", str(gamma)]) for i, gamma in enumerate(gammas)]
        self.check([*ways, ([GAMMA_FILE], [])], "--device-type", "4")

    @long_round
    def test_gamma_through_palettes(self):
        self.check([([GAMMA + 4], ["--gamma", "260"]), ([GAMMA_FILE], [])], "--device-type", "3")

    @long_round
    def test_high_colour_dither(self):
        high = ["--device-type", "5"]
        self.check(
            [
                ([DEVICE + 5], high),
                ([DITHER], [*high, "--dither", "off"]),
                ([DITHER], [*high, "--dither", "on"]),
            ]
        )

    @long_round
    def test_palette_option(self):
        self.check(
            [
                ([PALETTE_OPTION], ["--palette-option"]),
                ([PALETTE_OPTION], []),
            ],
            "--device-type",
            "3",
            "--pixels",
            "grey",
        )

    def test_test_card(self):
        with self.viewer(self.picture, *SIZE) as viewer:
            picture = viewer.view()
            card = viewer.view(f"command:{TEST_CARD}")
            self.assert_same_picture(card, self.view("--test-card", *SIZE))
            self.assert_same_picture(viewer.view(f"command:{TEST_CARD}"), picture)

    def test_actual_size(self):
        picture = self.write("large.png", pictures.png(pictures.noise(200, 150)))
        with self.viewer(picture, *SIZE) as viewer:
            seen = viewer.view(f"command:{ACTUAL}", f"key:{HOME}")
        self.assert_same_picture(seen, self.view(picture, *SIZE, "--zoom", "100"))

    def test_keys(self):
        picture = self.write("large.png", pictures.png(pictures.noise(200, 150)))
        plus, minus = 0x6B, 0x6D  # of the number block
        with self.viewer(picture, *SIZE) as viewer:
            fitted, actual, more, less, again = viewer.views(
                [],
                [f"key:{ord('1')}", f"key:{HOME}"],
                [f"key:{plus}", f"key:{HOME}"],
                [f"key:{minus}", f"key:{minus}", f"key:{HOME}"],
                [f"key:{ord('F')}"],
            )
        self.assert_same_picture(actual, self.view(picture, *SIZE, "--zoom", "100"))
        self.assert_same_picture(more, self.view(picture, *SIZE, "--zoom", "110"))
        self.assert_same_picture(less, self.view(picture, *SIZE, "--zoom", "90"))
        self.assert_same_picture(again, fitted)

    @long_round
    def test_saving_says_so(self):
        with self.viewer(self.picture, *SIZE) as viewer:
            viewer.view()
            self.assertEqual(viewer.do("says"), ["saved as saved.bmp"])
