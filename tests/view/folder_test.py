"""The pictures beside a picture, by real keys; full screen; files that were open before."""

import pictures
from program_case import long_round
from view_case import (
    ALT,
    BACKSPACE,
    CONTROL,
    END,
    ESCAPE,
    F2,
    F11,
    FORGET_RECENT,
    HOME,
    LEFT,
    RECENT,
    RETURN,
    RIGHT,
    SPACE,
    ViewCase,
    keys,
    part,
)

SIZE = ["--size", "120x90"]
IN_THE_MIDDLE = 30, 25  # there, of 60 x 40 pixels


class Folder(ViewCase):
    @long_round
    def test_one_after_the_other(self):
        """In the order in which people count, around the end, and past what is no picture."""
        shown = {name: pictures.noise(20 + i, 10, i) for i, name in enumerate(("a2", "a10", "b"))}
        for name, picture in shown.items():
            self.write(f"{name}.png", pictures.png(picture))
        self.write("c.png", b"no picture at all")
        self.write("d.txt", b"none that anybody would show")
        ways = [
            (keys(SPACE), "a10.png (2 of 4) - q32view"),
            (keys("N"), "b.png (3 of 4) - q32view"),
            (keys("P"), "a10.png (2 of 4) - q32view"),
            (keys(BACKSPACE), "a2.png (1 of 4) - q32view"),
            (keys(CONTROL, RIGHT), "a10.png (2 of 4) - q32view"),
            (keys(ALT, RIGHT), "b.png (3 of 4) - q32view"),
            (keys(CONTROL, LEFT), "a10.png (2 of 4) - q32view"),
            (keys(ALT, LEFT), "a2.png (1 of 4) - q32view"),
        ]
        with self.viewer("a2.png", *SIZE) as viewer:
            self.assertEqual(viewer.do("title"), ["a2.png (1 of 4) - q32view"])
            for key, title in ways:
                viewer.do(key, f"titled:{title}")
            seen = viewer.view(keys(SPACE), "titled:a10.png")
            says = viewer.do(keys(CONTROL, END), "told:c.png", "says", "title")
            self.assertTrue(says[0].startswith("c.png: this is not a picture that can be read"), says)
            self.assertEqual(says[1], "a10.png (2 of 4) - q32view")
            # Its whole message, which is longer than the window is wide.
            self.assertIn(says[0], "\n".join(viewer.do(keys(F2), "answer")))
            viewer.do(keys(SPACE), "titled:a2.png", keys(BACKSPACE), "told:c.png")
            viewer.do(keys(BACKSPACE), "titled:b.png", keys(CONTROL, HOME), "titled:a2.png")
        self.assert_same_picture(seen, self.view("a10.png", *SIZE))

    def test_the_folder_is_looked_at_anew(self):
        for name in "a.png", "b.png", "c.png":
            self.write(name, pictures.png(pictures.noise(5, 4)))
        with self.viewer("b.png", *SIZE) as viewer:
            (self.folder / "a.png").unlink()
            (self.folder / "b.png").unlink()
            viewer.do(keys(SPACE), "titled:c.png - q32view")
            self.write("d.png", pictures.png(pictures.noise(5, 4)))
            viewer.do(keys(SPACE), "titled:d.png (2 of 2) - q32view")

    def test_alone(self):
        name = self.write("photo", pictures.png(pictures.noise(5, 4)))
        with self.viewer(name, *SIZE) as viewer:
            says = viewer.do("title", keys(SPACE), "told:no other", "says", "title")
        self.assertEqual(says, ["photo - q32view", "no other picture there", "photo - q32view"])


class FullScreen(ViewCase):
    def test_all_of_the_screen_and_back(self):
        picture = pictures.noise(60, 40)
        name = self.write("small.png", pictures.png(picture))
        with self.viewer(name, *SIZE) as viewer:
            before = viewer.view()
            full = viewer.view(keys(F11), "framed:none,none")
            self.assertEqual((full.width, full.height), (800, 600))
            self.assertEqual(full.rows()[0][:3], b"\0\0\0")
            self.assert_same_picture(part(full, 370, 280, 60, 40), part(before, *IN_THE_MIDDLE, 60, 40))
            # What goes wrong is said there, too, until the next key.
            self.write("text.png", b"no picture at all")
            viewer.do(keys(SPACE), "told:text.png", "framed:none,line", keys("F"), "framed:none,none")
            after = viewer.view(keys(ESCAPE), "framed:frame,line")
            self.assert_same_picture(after, before)
            viewer.do(keys(ALT, RETURN), "framed:none,none", keys(F11), "framed:frame,line")
            self.assert_same_picture(viewer.view(), before)

    def test_from_the_start(self):
        picture = pictures.noise(60, 40)
        name = self.write("small.png", pictures.png(picture))
        seen = self.view(name, "--full-screen", "--zoom", "500")
        self.assertEqual((seen.width, seen.height), (800, 600))
        enlarged = self.view(name, "--size", "300x200", "--zoom", "500")
        self.assert_same_picture(part(seen, 250, 200, 300, 200), enlarged)


class Recent(ViewCase):
    @long_round
    def test_files_that_were_open(self):
        """The latest comes first; those that are gone are left out; they can be forgotten."""
        for name in "a.png", "b.png", "c.png":
            self.write(name, pictures.png(pictures.noise(5, 4)))
        for name in "a.png", "b.png":
            with self.viewer(name, *SIZE):
                pass
        with self.viewer("c.png", *SIZE) as viewer:
            viewer.do(f"command:{RECENT + 2}", "titled:a.png (1 of 3)")
            viewer.do(f"command:{RECENT + 2}", "titled:b.png (2 of 3)")
            viewer.do(f"command:{RECENT + 1}", "titled:a.png (1 of 3)")
            (self.folder / "b.png").unlink()
            viewer.do(keys(ALT, "F"), keys("R"), keys("2"), "titled:c.png (2 of 2)")
            viewer.do(keys(ALT, "F"), keys("R"), keys("2"), "titled:a.png (1 of 2)")
            viewer.view(f"command:{FORGET_RECENT}", f"command:{RECENT}", f"command:{RECENT + 1}")
            self.assertEqual(viewer.do("title"), ["a.png (1 of 2) - q32view"])
