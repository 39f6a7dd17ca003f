"""The command line: help, and what is refused with one line."""

import pictures
from view_case import FAILED, USAGE, ViewCase, Viewer


class Words(ViewCase):
    def test_help(self):
        out = self.run_program(Viewer.program, "--help")
        self.assertTrue(out.startswith("usage: q32view [PICTURE] [OPTION...]\n"))
        self.assertIn("--device-type TYPE", out)

    def test_version(self):
        self.assertRegex(self.run_program(Viewer.program, "--version"), r"\Aq32view \d+\.\d+\.\d+\n\Z")

    def test_bad_options(self):
        self.refuse(USAGE, "--colour", says="--colour: there is no such option")
        self.refuse(USAGE, "--zoom", "0", says="1 to 3200 percent")
        self.refuse(USAGE, "--screenshot", says="FILE is missing")
        self.refuse(USAGE, "a.png", "b.png", says="b.png: one picture is shown at a time")


class Pictures(ViewCase):
    def shot(self, *arguments, says):
        self.refuse(FAILED, *arguments, "--screenshot", "view.png", says=says)

    def test_none_there(self):
        self.shot("none.png", says="none.png: no such file")

    def test_no_picture(self):
        self.shot(self.write("text.png", b"no picture at all"), says="text.png: this is not a picture")

    def test_cut_off(self):
        file = pictures.png(pictures.noise(40, 30))
        self.shot(self.write("half.png", file[: len(file) // 2]), says="half.png: the picture is cut off")

    def test_empty(self):
        self.shot(self.write("empty.png", b""), says="empty.png: the file is empty")

    def test_folder(self):
        (self.folder / "folder").mkdir()
        self.shot("folder", says="folder: this is a directory")

    def test_too_wide(self):
        wide = pictures.png_file(32001, 1, [b"\0" * 32001], pictures.PNG_GREY)
        self.shot(self.write("wide.png", wide), says="module 4")

    def test_screenshots_that_cannot_be_written(self):
        name = self.write("small.png", pictures.png(pictures.noise(4, 3)))
        self.refuse(FAILED, name, "--screenshot", "none/view.png", says="none/view.png: ")
        self.refuse(FAILED, name, "--screenshot", "view.xyz", says="view.xyz: ")
