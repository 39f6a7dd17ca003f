"""Pictures that are dropped on the window, and those that cannot be shown."""

import pictures
from program_case import long_round
from view_case import ACTUAL, DONE, NEXT, OPEN, ViewCase, background

SIZE = ["--size", "120x90"]


class Opening(ViewCase):
    def dropped(self, name):
        """As it comes from another program."""
        path = str(self.folder / name).replace("/", "\\")
        return f"drop:Z:{path}"

    def test_dropped(self):
        first = self.write("first.png", pictures.png(pictures.noise(50, 40)))
        second = self.write("zweites Bild é.png", pictures.png(pictures.ramps(60, 30)))
        with self.viewer(first, *SIZE) as viewer:
            seen = viewer.view(self.dropped(second), f"titled:{second.split()[0]}")
        self.assert_same_picture(seen, self.view(second, *SIZE))

    def test_dropped_on_an_empty_window(self):
        name = self.write("first.png", pictures.png(pictures.noise(50, 40)))
        with self.viewer(*SIZE) as viewer:
            self.assertEqual(viewer.do("title"), ["q32view"])
            seen = viewer.view(self.dropped(name), "titled:first.png")
        self.assert_same_picture(seen, self.view(name, *SIZE))

    def test_dropped_on_the_test_card(self):
        name = self.write("first.png", pictures.png(pictures.noise(50, 40)))
        with self.viewer("--test-card", *SIZE) as viewer:
            card, seen = viewer.views([], [self.dropped(name), "titled:first.png"])
        self.assert_same_picture(card, self.view("--test-card", *SIZE))
        self.assert_same_picture(seen, self.view(name, *SIZE))

    def test_a_new_picture_is_fitted(self):
        first = self.write("first.png", pictures.png(pictures.noise(300, 200)))
        second = self.write("second.png", pictures.png(pictures.noise(300, 200, seed=1)))
        with self.viewer(first, *SIZE) as viewer:
            before, seen, again = viewer.views(
                [],
                [f"command:{ACTUAL}", self.dropped(second), "titled:second.png"],
                [self.dropped(first), "titled:first.png"],
            )
        self.assert_same_picture(seen, self.view(second, *SIZE))
        self.assert_same_picture(again, before)

    def test_what_is_no_picture_leaves_the_one_before(self):
        name = self.write("first.png", pictures.png(pictures.noise(50, 40)))
        self.write("text.png", b"no picture at all")
        with self.viewer(name, *SIZE) as viewer:
            before = viewer.view()
            says = viewer.do(self.dropped("text.png"), "told:text.png", "says", "title")
            self.assertTrue(says[0].startswith("text.png: this is not a picture that can be read"), says)
            folder = self.dropped("").removeprefix("drop:").rstrip("\\")
            self.assertTrue(says[0].endswith(f" (in {folder})"), says)
            self.assertEqual(says[1], "first.png (1 of 2) - q32view")
            self.assert_same_picture(viewer.view(), before)

    @long_round
    def test_a_first_picture_that_is_not_there(self):
        self.write("other.png", pictures.png(pictures.noise(50, 40)))
        with self.viewer("none.png", *SIZE) as viewer:
            says = viewer.do("told:none.png", "says", "title")
            self.assertEqual(says, ["none.png: no such file", "q32view"])
            self.assertEqual(set(viewer.view().colours()), {background()})
            viewer.do(f"command:{NEXT}", "titled:other.png - q32view")  # it is alone there

    def test_dialogs(self):
        first = self.write("first.png", pictures.png(pictures.noise(50, 40)))
        second = self.write("second.png", pictures.png(pictures.ramps(60, 30)))
        path = self.dropped(second).removeprefix("drop:")
        with self.viewer(first, *SIZE) as viewer:
            seen = viewer.view(f"command:{OPEN}", f"dialog:{path}", "titled:second.png")
        self.assert_same_picture(seen, self.view(second, *SIZE))

    @long_round
    def test_closing(self):
        name = self.write("first.png", pictures.png(pictures.noise(50, 40)))
        with self.viewer(name, *SIZE, ended_with=DONE) as viewer:
            viewer.do("close")
