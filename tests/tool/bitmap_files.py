"""BMP files of every layout, byte by byte, whose filling is not zero anywhere.

pictures.py has the plain BMP; these are the ones that q32tool must give back unchanged.
"""

import random
import struct

FILE_HEADER = 14
CORE_HEADER = 12
RLE8, RLE4, BIT_FIELDS = 1, 2, 3
R565 = 0x35363552


class BitmapFile:
    """Everything of a BMP is chosen by keyword; what is random is the same for the same layout."""

    def __init__(
        self,
        bits,
        width,
        height,
        header=40,
        colours_used=0,
        gap=0,  # bytes between the colour table and the pixels
        trailing=0,  # bytes behind the pixels
        compression=0,
        stored_height=None,
    ):
        layout = (bits, width, height, header, colours_used, gap, trailing, compression)
        source = random.Random(repr(layout))
        self.bits, self.width, self.height = bits, width, height
        self.row_bytes = (width * bits + 7) // 8
        self.pitch = (self.row_bytes + 3) // 4 * 4
        assert header >= 36 or not colours_used, "the header ends before this field"
        entries = colours_used or (1 << bits if bits < 16 else 0)
        # The fields that a long header has behind the first 40 bytes: masks, colour space, gamma.
        fields = struct.pack(
            "<IiiHHIIiiII",
            *(header, width, height if stored_height is None else stored_height, 1, bits),
            *(compression, self.pitch * height, 2835, 2836, colours_used, 0),
        )
        fields = (fields + source.randbytes(200))[:header]
        # 4 bytes an entry; the fourth is filling too.
        colours = source.randbytes(4 * entries)
        self.start = FILE_HEADER + header + len(colours) + gap
        self.rows = self.start + self.pitch * height
        size = self.rows + trailing
        self.file = (
            struct.pack("<2sIHHI", b"BM", size, 0x1234, 0x5678, self.start)
            + fields
            + colours
            + source.randbytes(gap)
            + self.random_rows(source)
            + source.randbytes(trailing)
        )
        assert len(self.file) == size

    def random_rows(self, source):
        """Rows, bottom first, the bytes that fill each one up never zero."""
        rows = []
        for _ in range(self.height):
            filling = [source.randrange(1, 256) for _ in range(self.pitch - self.row_bytes)]
            rows += [source.randbytes(self.row_bytes), bytes(filling)]
        return b"".join(rows)

    def row_at(self, y):
        """Where the row y from the top begins in the file."""
        return self.start + (self.height - 1 - y) * self.pitch

    def pixel_rows(self):
        """The rows from the top, without their filling."""
        return [self.file[self.row_at(y) :][: self.row_bytes] for y in range(self.height)]

    def with_rows(self, rows):
        """The file with other pixels; every byte that is no pixel stays."""
        file = bytearray(self.file)
        for y, row in enumerate(rows):
            assert len(row) == self.row_bytes
            file[self.row_at(y) : self.row_at(y) + self.row_bytes] = row
        return bytes(file)
