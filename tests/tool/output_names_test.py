"""Names of outputs that are more than names: devices, and symbolic links to files."""

import os

import pictures
from tool_case import FAILED, ToolCase

PICTURE = pictures.noise(40, 30)


class Devices(ToolCase):
    def test_refused_with_any_extension(self):
        self.write("in.png", pictures.png(PICTURE))
        for name in ("NUL.png", "./con.tar.png", "com1.bmp", "LPT¹ .png", "aux.tif"):
            with self.subTest(name=name):
                self.refuse(FAILED, "convert", "in.png", name, says=[name, "device", "; name a file"])
        self.refuse(FAILED, "info", "nul.PNG", says=["nul.PNG: NUL is a device", "; name a file"])

    def test_only_whole_names(self):
        self.write("in.png", pictures.png(PICTURE))
        for name in ("null.png", "com10.png", "com.png", "my.nul.png", "xcon.png"):
            with self.subTest(name=name):
                self.convert("in.png", name)


class Links(ToolCase):
    def setUp(self):
        super().setUp()
        self.write("in.png", pictures.png(PICTURE))
        self.write("folder/real.bmp", b"an older file")
        os.symlink("folder/real.bmp", self.folder / "link.bmp")
        os.symlink("link.bmp", self.folder / "link-to-link.bmp")

    def assert_links_stand(self):
        self.assertEqual(os.readlink(self.folder / "link.bmp"), "folder/real.bmp")
        self.assertEqual(os.readlink(self.folder / "link-to-link.bmp"), "link.bmp")

    def test_the_file_behind_is_replaced(self):
        for name in ("link.bmp", "link-to-link.bmp", str(self.folder / "link.bmp")):
            with self.subTest(name=name):
                self.write("folder/real.bmp", b"an older file")
                before = self.files()
                said = self.succeed("convert", "in.png", name)
                self.assertTrue(said.startswith(name + ": 40 x 30"))
                self.assert_only_new(before, "folder/real.bmp", "link.bmp", "link-to-link.bmp")
                self.assert_file_holds("folder/real.bmp", PICTURE, 24)
                self.assert_links_stand()

    def test_a_bitmap_behind_a_link(self):
        self.write("folder/real.bmp", pictures.bmp(PICTURE))
        self.succeed("bitmap", "link.bmp", "link.bmp", "--fill", "1,2,3")
        self.assert_file_holds("folder/real.bmp", PICTURE.changed(lambda *_: (1, 2, 3)), 24)
        self.assert_links_stand()

    def test_what_fails_leaves_both(self):
        self.write("cut.png", pictures.png(PICTURE)[:-20])
        self.refuse(FAILED, "convert", "cut.png", "link.bmp", says="cut.png")
        self.assert_links_stand()
