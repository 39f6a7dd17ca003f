"""What files say beside the pixels goes from format to format; damage of it spoils no picture."""

import struct
import zlib

import facts_files
import pictures
from facts_files import Facts, profile
from pictures import jpeg_segment, png_chunk
from program_case import long_round
from tool_case import ToolCase

COLUMNS, ROWS = 2, 1  # blocks of 8 x 8
BLOCKS = [(60,), (190,)]
PICTURE = pictures.from_colours(
    COLUMNS * 8, ROWS * 8, [(BLOCKS[x // 8][0],) * 3 for _ in range(8) for x in range(16)]
)
ALL = Facts(6, (300, 150), profile(536), "Gärten, 5 €")


def file_with(extension, facts):
    if extension == ".jpg":
        return facts_files.jpeg(COLUMNS, ROWS, BLOCKS, facts)
    return {".png": facts_files.png, ".tif": facts_files.tiff}[extension](PICTURE, facts)


class FactsCase(ToolCase):
    def carried(self, contents, target="out.png", notes=(), within=0, options=()):
        """The facts of what a file is converted to; its pixels must stay."""
        self.write("in.bin", contents)
        self.convert("in.bin", target, "--keep-orientation", *options, notes=notes)
        if not target.endswith(".jpg"):
            self.assert_file_holds(target, PICTURE, 24, within)
        return facts_files.read(self.folder / target)

    def assert_facts(self, found, wanted):
        if wanted.resolution is None:
            self.assertIsNone(found.resolution)
        else:
            self.assertIsNotNone(found.resolution)
            for value, expected in zip(found.resolution, wanted.resolution):
                self.assertAlmostEqual(value, expected, delta=0.02)
        self.assertEqual(
            found._replace(resolution=found.resolution and wanted.resolution), wanted
        )


class Carried(FactsCase):
    def test_from_each_format_to_each(self):
        for source in (".jpg", ".png", ".tif"):
            for target in (".jpg", ".png", ".tif"):
                with self.subTest(source=source, target=target):
                    found = self.carried(file_with(source, ALL), "out" + target)
                    self.assert_facts(found, ALL)

    def test_nothing_is_made_up(self):
        for target in (".jpg", ".png", ".tif", ".bmp"):
            with self.subTest(target=target):
                self.assertEqual(self.carried(pictures.png(PICTURE), "out" + target), Facts())

    def test_bmp_holds_the_resolution_only(self):
        self.write("in.png", file_with(".png", ALL))
        result = self.run_tool("convert", "in.png", "out.bmp", "--keep-orientation")
        self.assertEqual(result.code, 0)
        self.assertRegex(result.err, r"\Aq32tool: note: out.bmp: .*orientation.*profile.*comment[^\n]*\n\Z")
        self.assert_facts(facts_files.read(self.folder / "out.bmp"), Facts(resolution=(300, 150)))
        self.assert_facts(self.carried((self.folder / "out.bmp").read_bytes()), Facts(resolution=(300, 150)))

    @long_round
    def test_every_orientation_in_every_format(self):
        for orientation in range(1, 9):
            for source in (".jpg", ".png", ".tif"):
                with self.subTest(orientation=orientation, source=source):
                    facts = Facts(orientation, comment="x")
                    found = self.carried(file_with(source, facts), f"out{source}")
                    self.assertEqual(found, facts)

    def test_profiles_of_many_segments(self):
        facts = Facts(profile=profile(150_000))
        jpeg = file_with(".jpg", facts)
        self.assertEqual(self.carried(jpeg), facts)
        self.assertEqual(self.carried(file_with(".png", facts), "out.jpg"), facts)
        # The segments in another order.
        at, parts = jpeg.index(b"ICC_PROFILE\0") - 4, []
        start = at
        while jpeg[at + 1] == 0xE2:
            (length,) = struct.unpack_from(">H", jpeg, at + 2)
            parts.append(jpeg[at : at + 2 + length])
            at += 2 + length
        self.assertEqual(len(parts), 3)
        turned = jpeg[:start] + b"".join(parts[::-1]) + jpeg[at:]
        self.assertEqual(self.carried(turned), facts)
        # One of them is missing.
        self.assertEqual(self.carried(jpeg[:start] + parts[0] + parts[2] + jpeg[at:]), Facts())

    def test_profiles_that_do_not_fit_the_pixels(self):
        for space, options, fits in [
            (b"GRAY", (), False),
            (b"CMYK", (), False),
            (b"GRAY", ("--bits", "8"), True),
            (b"RGB ", ("--bits", "8"), False),
        ]:
            with self.subTest(space=space, options=options):
                self.write("in.png", file_with(".png", Facts(profile=profile(200, space))))
                result = self.run_tool("convert", "in.png", "out.png", *options)
                self.assertEqual(result.code, 0)
                self.assertEqual("colour profile" in result.err, not fits)
                found = facts_files.read(self.folder / "out.png")
                self.assertEqual(found.profile != b"", fits)

    def test_ways_to_write_the_same(self):
        plain = pictures.png(PICTURE)
        jpeg = pictures.jpeg_file(COLUMNS, ROWS, BLOCKS)
        words, latin = Facts(comment="Grüße"), "Grüße".encode("latin-1")
        packed = zlib.compress("Grüße".encode())
        turned = Facts(8, (118.11, 59.055))
        chunk, segments = facts_files.with_chunks, facts_files.with_segments
        no_number = Facts(None, (118.11, 59.055))
        for name, contents, wanted in [
            ("tEXt", chunk(plain, png_chunk(b"tEXt", b"Comment\0" + latin)), words),
            ("zTXt", chunk(plain, png_chunk(b"zTXt", b"Comment\0\0" + zlib.compress(latin))), words),
            ("iTXt", chunk(plain, png_chunk(b"iTXt", b"Comment\0\1\0de\0Wort\0" + packed)), words),
            ("description", chunk(plain, png_chunk(b"tEXt", b"Description\0" + latin)), words),
            ("behind", plain[:-12] + png_chunk(b"tEXt", b"Comment\0" + latin) + plain[-12:], words),
            ("COM", segments(jpeg, jpeg_segment(0xFE, latin)), words),
            ("two COM", segments(jpeg, jpeg_segment(0xFE, b"a") + jpeg_segment(0xFE, b"b")), Facts(comment="a\nb")),
            ("JFIF", jpeg.replace(b"JFIF\0\1\1\0\0\1\0\1", b"JFIF\0\1\1\2\0\x28\0\x14"), Facts(resolution=(101.6, 50.8))),
            ("EXIF", segments(jpeg, jpeg_segment(0xE1, b"Exif\0\0" + facts_files.exif(turned, ">", 3))), turned),
            ("eXIf", chunk(plain, png_chunk(b"eXIf", facts_files.exif(turned))), turned),
            ("TIFF", facts_files.tiff(PICTURE, turned, ">", 3), turned),
            ("no number", facts_files.tiff(PICTURE, no_number), no_number._replace(orientation=1)),
            ("inches", chunk(plain, png_chunk(b"pHYs", struct.pack(">IIB", 2834, 2835, 1))), Facts(resolution=(72, 72))),
        ]:
            with self.subTest(name):
                self.assert_facts(self.carried(contents, "out.tif"), wanted)

    @long_round
    def test_what_says_nothing(self):
        plain = pictures.png(PICTURE)
        jpeg = pictures.jpeg_file(COLUMNS, ROWS, BLOCKS)
        chunk, segments = facts_files.with_chunks, facts_files.with_segments
        wrong = bytearray(png_chunk(b"tEXt", b"Comment\0words"))
        wrong[-1] ^= 1
        bomb = zlib.compress(profile(200) + bytes(20_000_000))
        exif = facts_files.exif(ALL)
        for name, contents in [
            ("ratio", chunk(plain, png_chunk(b"pHYs", struct.pack(">IIB", 2, 1, 0)))),
            ("no resolution", chunk(plain, png_chunk(b"pHYs", bytes(8) + b"\1"))),
            ("short", chunk(plain, png_chunk(b"pHYs", bytes(3)))),
            ("no profile", chunk(plain, png_chunk(b"iCCP", b"x\0\0" + zlib.compress(bytes(500))))),
            ("not packed", chunk(plain, png_chunk(b"iCCP", b"x\0\0" + profile(500)))),
            ("other packing", chunk(plain, png_chunk(b"iCCP", b"x\0\1" + zlib.compress(profile(500))))),
            ("bomb", chunk(plain, png_chunk(b"iCCP", b"x\0\0" + bomb))),
            ("no keyword", chunk(plain, png_chunk(b"tEXt", b"Comment"))),
            ("wrong checksum", chunk(plain, bytes(wrong))),
            ("other keyword", chunk(plain, png_chunk(b"tEXt", b"Author\0me"))),
            ("exif cut off", chunk(plain, png_chunk(b"eXIf", exif[:9]))),
            ("no exif", chunk(plain, png_chunk(b"eXIf", b"nothing of the kind"))),
            ("far away", chunk(plain, png_chunk(b"eXIf", b"II*\0\xf0\xff\xff\xff"))),
            ("turned by 9", chunk(plain, png_chunk(b"eXIf", facts_files.exif(Facts(9))))),
            ("empty segments", segments(jpeg, b"".join(jpeg_segment(kind, b"") for kind in range(0xE0, 0xF0)))),
            ("empty comment", segments(jpeg, jpeg_segment(0xFE, b""))),
            ("part 0", segments(jpeg, jpeg_segment(0xE2, b"ICC_PROFILE\0\0\1" + profile(200)))),
            ("parts 9", segments(jpeg, jpeg_segment(0xE2, b"ICC_PROFILE\0\1\x09" + profile(200)))),
            ("larger", segments(jpeg, jpeg_segment(0xE2, b"ICC_PROFILE\0\1\1" + profile(200)[:150]))),
        ]:
            with self.subTest(name):
                self.assertEqual(self.carried(contents, "out.tif"), Facts())


class SeveralPictures(FactsCase):
    def test_pages_that_go_round(self):
        """Each directory names the other as the one that follows."""
        file = bytearray(facts_files.tiff(PICTURE, Facts(), pages=2))
        (count,) = struct.unpack_from("<H", file, 8)
        (second,) = struct.unpack_from("<I", file, 8 + 2 + 12 * count)
        struct.pack_into("<I", file, second + 2 + 12 * count, 8)
        note = ["in.bin: only the first of 2 pictures is read"]
        self.assertEqual(self.carried(bytes(file), notes=note), Facts())
