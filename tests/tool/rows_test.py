"""The pixels that q32tool rows prints."""

import pictures
from tool_case import FAILED, STORAGES, ToolCase

# Numbers that can be worked out by hand: grey is (299 red + 587 green + 114 blue) / 1000.
COLOURS = [
    [(0, 0, 0), (255, 255, 255), (1, 2, 3), (128, 128, 128), (255, 0, 0)],
    [(0, 255, 0), (0, 0, 255), (127, 127, 127), (7, 8, 9), (248, 252, 247)],
    [(10, 20, 30), (200, 100, 50), (9, 99, 255), (64, 64, 64), (100, 100, 100)],
]

PRINTED = {
    "24": """\
0: 0,0,0 255,255,255 1,2,3 128,128,128 255,0,0
1: 0,255,0 0,0,255 127,127,127 7,8,9 248,252,247
2: 10,20,30 200,100,50 9,99,255 64,64,64 100,100,100
""",
    "8": """\
0: 0 255 1 128 76
1: 149 29 127 7 250
2: 18 124 89 64 100
""",
    "1": """\
0: 01010
1: 10001
2: 00000
""",
    "16": """\
0: 0000 7fff 0000 4210 7c00
1: 03e0 001f 3def 0021 7ffe
2: 0443 6586 059f 2108 318c
""",
}


class Rows(ToolCase):
    def setUp(self):
        super().setUp()
        self.make_folder("swap")
        self.write("in.png", pictures.png(pictures.from_colours(5, 3, sum(COLOURS, []))))

    def assert_prints(self, wanted, *arguments):
        before = self.files()
        self.assertEqual(self.succeed("rows", *arguments), wanted)
        self.assert_only_new(before)

    def test_every_kind_of_pixels(self):
        self.assert_prints(PRINTED["24"], "in.png")
        for bits, wanted in PRINTED.items():
            with self.subTest(bits=bits):
                self.assert_prints(wanted, "in.png", "--bits", bits)

    def test_565(self):
        wanted = """\
0: 0000 ffff 0000 8410 f800
1: 07e0 001f 7bef 0041 fffe
2: 08a3 cb26 0b1f 4208 632c
"""
        self.assert_prints(wanted, "in.png", "--bits=16", "--format=565")

    def test_threshold(self):
        wanted = """\
0: 01010
1: 10101
2: 01101
"""
        self.assert_prints(wanted, "in.png", "--bits", "1", "--threshold", "88")

    def test_rectangles(self):
        self.assert_prints("1: 0,0,255 127,127,127\n", "in.png", "--at", "1,1", "--size", "2x1")
        one_bit = ["--bits", "1", "--at", "3,0", "--size", "2x2"]
        self.assert_prints("0: 10\n1: 01\n", "in.png", *one_bit)
        grey = ["--bits", "8", "--at", "4,2", "--size", "1x1"]
        self.assert_prints("2: 100\n", "in.png", *grey)
        words = ["--bits", "16", "--at", "0,1", "--size", "5x2"]
        self.assert_prints(PRINTED["16"].split("\n", 1)[1], "in.png", *words)

    def test_across_cells_in_every_storage(self):
        picture = pictures.noise(257, 131)
        self.write("large.bmp", pictures.bmp(picture))
        colours, x, y, width, height = picture.colours(), 120, 126, 137, 5
        lines = [
            f"{row}: "
            + " ".join("%d,%d,%d" % colours[row * 257 + column] for column in range(x, x + width))
            for row in range(y, y + height)
        ]
        wanted = "\n".join(lines) + "\n"
        for name, storage in STORAGES.items():
            with self.subTest(storage=name):
                rectangle = ["--at", f"{x},{y}", "--size", f"{width}x{height}"]
                self.assert_prints(wanted, "large.bmp", *rectangle, *storage)

    def test_bits_that_begin_within_a_byte(self):
        colours = [pictures.BLACK_AND_WHITE[x % 3 == 0] for x in range(300)]
        self.write("in.bmp", pictures.bmp(pictures.from_colours(300, 1, colours)))
        digits = "".join("1" if x % 3 == 0 else "0" for x in range(300))
        for x, width in [(0, 300), (5, 130), (127, 2), (131, 169)]:
            with self.subTest(x=x, width=width):
                rectangle = ["--at", f"{x},0", "--size", f"{width}x1"]
                wanted = f"0: {digits[x : x + width]}\n"
                self.assert_prints(wanted, "in.bmp", "--bits", "1", *rectangle)

    def test_quiet_still_prints(self):
        self.assert_prints(PRINTED["8"], "in.png", "--bits", "8", "--quiet")

    def test_many_pixels_only_with_all(self):
        row = bytes([255, 0, 255] * 1000)
        self.write("at-limit.bmp", pictures.bmp(pictures.Picture(1000, 100, row * 100)))
        line = " ".join(["255,0,255"] * 1000)
        self.assert_prints("".join(f"{y}: {line}\n" for y in range(100)), "at-limit.bmp")

        self.write("more.bmp", pictures.bmp(pictures.Picture(1000, 101, row * 101)))
        self.refuse(FAILED, "rows", "more.bmp", says=["more.bmp", "--all"])
        wanted = "".join(f"{y}: {line}\n" for y in range(101))
        self.assert_prints(wanted, "more.bmp", "--all")
        self.assert_prints(f"100: {line}\n", "more.bmp", "--at", "0,100", "--size", "1000x1")

    def test_rectangles_that_leave_the_picture(self):
        for at, size in [("-1,0", "2x2"), ("0,2", "1x2"), ("5,0", "1x1"), ("0,0", "2147483647x1")]:
            with self.subTest(at=at, size=size):
                rectangle = ["--at", at, "--size", size]
                self.refuse(FAILED, "rows", "in.png", *rectangle, says=["in.png", at, "5 x 3"])
