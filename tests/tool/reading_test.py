"""What q32tool reads: every format, in the kinds of pixels that are found in the wild."""

import zlib

import pictures
from pictures import BLACK_AND_WHITE, PNG_GREY, PNG_PALETTE, PNG_RGB, PNG_RGBA
from program_case import long_round
from tool_case import FAILED, Program, ToolCase

WIDTH, HEIGHT = 37, 5
PALETTE = [(i, 255 - i, i * 3 % 256) for i in range(256)]


def index_rows(entries):
    return [[(7 * x + 11 * y) % entries for x in range(WIDTH)] for y in range(HEIGHT)]


def colours_of(rows, palette):
    colours = [palette[index] for row in rows for index in row]
    return pictures.from_colours(WIDTH, HEIGHT, colours)


def packed(rows, bits):
    return [pictures.packed(row, bits) for row in rows]


class Reading(ToolCase):
    def assert_reads(self, name, contents, picture, within=0, notes=()):
        self.write(name, contents)
        self.convert(name, "out.bmp", notes=notes)
        self.assert_file_holds("out.bmp", picture, 24, within)

    def test_png_with_a_palette(self):
        rows = index_rows(256)
        file = pictures.png_file(WIDTH, HEIGHT, packed(rows, 8), PNG_PALETTE, 8, PALETTE)
        self.assert_reads("in.png", file, colours_of(rows, PALETTE))

    def test_grey_png(self):
        for bits in (1, 4, 8):
            with self.subTest(bits=bits):
                greys = [(value * 255 // ((1 << bits) - 1),) * 3 for value in range(1 << bits)]
                rows = index_rows(1 << bits)
                file = pictures.png_file(WIDTH, HEIGHT, packed(rows, bits), PNG_GREY, bits)
                self.assert_reads("in.png", file, colours_of(rows, greys))

    def test_png_of_16_bits_a_channel(self):
        picture = pictures.noise(WIDTH, HEIGHT)
        doubled = [bytes(value for value in row for _ in range(2)) for row in picture.rows()]
        file = pictures.png_file(WIDTH, HEIGHT, doubled, PNG_RGB, 16)
        self.assert_reads("in.png", file, picture)

    def test_png_with_every_filter_and_kind_of_block(self):
        # Long enough that what is repeated leaves the 32768 bytes that are looked back on.
        width, height = 131, 130
        noise = pictures.noise(width, 40).pixels
        picture = pictures.Picture(width, height, noise + bytes(width * 3 * 50) + noise)
        above, lines = bytes(width * 3), b""
        for y, row in enumerate(picture.rows()):
            lines += pictures.filtered(y % 5, row, above, 3)
            above = row
        ways = [(level, zlib.Z_DEFAULT_STRATEGY) for level in (0, 1, 9)]
        ways += [(6, strategy) for strategy in (zlib.Z_FIXED, zlib.Z_HUFFMAN_ONLY, zlib.Z_RLE)]
        for level, strategy in ways:
            for chunk_bytes in (1000, 1 << 20):
                with self.subTest(level=level, strategy=strategy, chunk_bytes=chunk_bytes):
                    packer = zlib.compressobj(level, strategy=strategy)
                    data = packer.compress(lines) + packer.flush()
                    file = pictures.png_of_data(width, height, PNG_RGB, data, chunk_bytes)
                    self.assert_reads("in.png", file, picture)

    def test_damaged_png(self):
        """Chunks that are whole and hold what no picture can have been packed to."""
        lines = zlib.compress(b"\0" * 310)
        begin, head = b"\x78\x01", 10 * 31
        for damage, data in {
            "too few lines": zlib.compress(b"\0" * (head - 1)),
            "no end": lines[:-8],
            "filter 5": zlib.compress(b"\5" * head),
            "another method": b"\x77" + lines[1:],
            "block of kind 3": begin + b"\7" + bytes(300),
            "length without inverse": begin + b"\1\x36\1\0\0" + bytes(310),
            "from before the beginning": begin + b"\3\2\0\0",
            "nothing": b"",
        }.items():
            with self.subTest(damage=damage):
                self.write("in.png", pictures.png_of_data(10, 10, PNG_RGB, data, 1 << 20))
                self.refuse(FAILED, "convert", "in.png", "out.bmp", says="in.png")
        if Program.by_edition(False, True):  # codecs may leave the last checksum alone
            flipped = bytearray(pictures.png_of_data(10, 10, PNG_RGB, lines, 1 << 20))
            flipped[-13] ^= 1
            self.write("in.png", bytes(flipped))
            self.refuse(FAILED, "convert", "in.png", "out.bmp", says="in.png: the picture is damaged")

    def test_opaque_png_with_alpha(self):
        picture = pictures.noise(WIDTH, HEIGHT)
        colours = b"".join(bytes((*colour, 255)) for colour in picture.colours())
        rows = [colours[y * WIDTH * 4 : (y + 1) * WIDTH * 4] for y in range(HEIGHT)]
        self.assert_reads("in.png", pictures.png_file(WIDTH, HEIGHT, rows, PNG_RGBA), picture)

    def test_transparent_parts_are_laid_over_white(self):
        row = bytes((10, 20, 30, 255)) + bytes((10, 20, 30, 0)) + bytes((0, 255, 0, 51))
        wanted = pictures.from_colours(3, 1, [(10, 20, 30), (255, 255, 255), (204, 255, 204)])
        file = pictures.png_file(3, 1, [row], PNG_RGBA)
        notes = ["out.bmp: the transparency is laid over white, BMP has none"]
        self.assert_reads("in.png", file, wanted, within=1, notes=notes)

    def test_bmp_with_a_palette(self):
        for bits in (1, 4, 8):
            with self.subTest(bits=bits):
                rows, palette = index_rows(1 << bits), PALETTE[: 1 << bits]
                file = pictures.bmp_file(WIDTH, HEIGHT, bits, packed(rows, bits), palette)
                self.assert_reads("in.bmp", file, colours_of(rows, palette))

    def test_bmp_with_the_top_row_first(self):
        picture = pictures.noise(WIDTH, HEIGHT)
        self.assert_reads("in.bmp", pictures.bmp(picture, top_down=True), picture)

    def test_bmp_of_32_bits(self):
        picture = pictures.noise(WIDTH, HEIGHT)
        pixels = b"".join(bytes((*reversed(colour), 0)) for colour in picture.colours())
        rows = [pixels[y * WIDTH * 4 : (y + 1) * WIDTH * 4] for y in range(HEIGHT)]
        self.assert_reads("in.bmp", pictures.bmp_file(WIDTH, HEIGHT, 32, rows), picture)

    def test_bmp_of_16_bits(self):
        # Fields of all zeros and all ones: what lies between is widened by the system's codec.
        values = [0x7FFF * (x % 2) for x in range(WIDTH)]
        row = b"".join(value.to_bytes(2, "little") for value in values)
        wanted = pictures.from_colours(WIDTH, 1, [BLACK_AND_WHITE[x % 2] for x in range(WIDTH)])
        self.assert_reads("in.bmp", pictures.bmp_file(WIDTH, 1, 16, [row]), wanted)

    def test_tiff(self):
        picture = pictures.noise(WIDTH, HEIGHT)
        self.assert_reads("in.tiff", pictures.tiff(picture), picture)

    def test_gif(self):
        rows = index_rows(256)
        file = pictures.gif_file(WIDTH, HEIGHT, sum(rows, []), PALETTE)
        self.assert_reads("in.gif", file, colours_of(rows, PALETTE))

    def test_grey_jpeg(self):
        blocks = [(20 * i,) for i in range(12)]
        picture = self.blocks_picture(4, 3, [(value,) * 3 for (value,) in blocks])
        self.assert_reads("in.jpg", pictures.jpeg_file(4, 3, blocks), picture)

    def test_colour_jpeg(self):
        blocks = [(100 + 5 * i, 115 + 3 * i, 150 - 4 * i) for i in range(12)]

        def colour(luma, blue, red):
            green = luma - 0.344136 * (blue - 128) - 0.714136 * (red - 128)
            return luma + 1.402 * (red - 128), green, luma + 1.772 * (blue - 128)

        colours = [tuple(round(value) for value in colour(*block)) for block in blocks]
        picture = self.blocks_picture(4, 3, colours)
        self.assert_reads("in.jpeg", pictures.jpeg_file(4, 3, blocks), picture, within=1)

    def test_the_contents_count_not_the_name(self):
        picture = pictures.noise(WIDTH, HEIGHT)
        self.assert_reads("in.png", pictures.bmp(picture), picture)

    def blocks_picture(self, columns, rows, colours):
        pixels = [
            colours[y // 8 * columns + x // 8] for y in range(rows * 8) for x in range(columns * 8)
        ]
        return pictures.from_colours(columns * 8, rows * 8, pixels)


class WrittenAndRead(ToolCase):
    """Whatever the tool writes, it reads."""

    @long_round
    def test_fewer_bits(self):
        picture = pictures.noise(35, 4)
        source = self.write("in.png", pictures.png(picture))
        for bits, names in [("1", ["a.bmp", "a.tif"]), ("8", ["b.png", "b.tif"])]:
            for name in names:
                with self.subTest(name=name, bits=bits):
                    self.convert(source, name, "--bits", bits)
                    self.convert(name, "back.bmp")
                    self.assert_file_holds("back.bmp", self.read(name).picture, 24)

    def test_16_bits(self):
        picture = pictures.from_colours(3, 1, [(255, 0, 0), (0, 255, 0), (0, 0, 255)])
        self.convert(self.write("in.png", pictures.png(picture)), "out.bmp", "--bits", "16")
        self.convert("out.bmp", "back.png")
        self.assert_file_holds("back.png", picture, 24)
