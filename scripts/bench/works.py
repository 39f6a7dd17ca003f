"""The rows of the short table: the work people know, each in a picture that stays in the cache and,
where that differs, in one that does not."""

import collections

CACHE, MEMORY = 512 * 512, 4000 * 3000  # pixels
TWICE, UP, DOWN = 1024 * 1024, 4000 * 3000, 1600 * 1200  # of what is scaled to

# peer: the job of another program, where the peer has a process of its own.
Work = collections.namedtuple("Work", "group title place program job pixels peer", defaults=[None])


def both(group, program, *rows):
    """Rows of a title, a job, and where it is measured when that is not both places."""
    for title, job, *where in rows:
        for place, pixels in (("cache", CACHE), ("memory", MEMORY)):
            if place in (where or ("cache", "memory")):
                yield Work(group, title, place, program, job, pixels)


def scalings():
    group, program = "Scaling", "resample_peers"
    for method in ("nearest", "bilinear", "bicubic"):
        for bits in (8, 24, 32):
            for way, words, pixels in (("up", "to twice the size", TWICE),
                                       ("down", "to half the size", CACHE)):  # fmt: skip
                job = f"{method}, {bits}, 2:1 {way}"
                yield Work(group, f"{method}, {bits} bits, {words}", "cache", program, job, pixels)
        for way, words, pixels in (("up", "2.5 times up", UP), ("down", "2.5 times down", DOWN)):
            job = f"{method}, 24, 2.5:1 {way}"
            yield Work(group, f"{method}, 24 bits, {words}", "memory", program, job, pixels)


def rectangles():
    for side, place in ((200, "memory"), (16, "memory")):
        square = f"{side} x {side}"
        for title, call, peer in (("read", "buf32GetMem", "read"), ("write", "buf32MergeMem", "write")):
            yield Work("Buffers", f"{title} {square}", place, "rectangles_bench",
                       f"{square} {call}, tiled", 0,
                       ("buffers_peers", f"{peer} {square}", side * side))  # fmt: skip


def buffer_scalings():
    for method in ("nearest", "bilinear", "bicubic"):
        for bits in (8, 24):
            for words, sizes in (("to twice the size", "512 x 512 to 1024 x 1024"),
                                 ("2.5 times down", "1280 x 1280 to 512 x 512")):  # fmt: skip
                yield Work("Scaling buffers", f"{method}, {bits} bits, {words}", "cache",
                           "resample_exports_bench", f"{sizes}, {bits} bits, {method}", 0)  # fmt: skip


ROWS = "Rows of pixels"
MERGING = "Merging, 24 bits"
COLOURS = "Colour spaces"
DISPLAYS = "Preparing for displays"

WORKS = [
    *both(ROWS, "rows_peers",
          ("fill, 8 bits", "fill 8-bit", "cache"),
          ("fill, 24 bits", "fill 24-bit"),
          ("fill, 32 bits", "fill 32-bit", "cache"),
          ("exchange of two rows", "exchange", "cache"),
          ("invert", "invert", "cache"),
          ("1 bit to 8", "1-bit to 8-bit", "cache"),
          ("8 bits to 1", "8-bit to 1-bit", "cache"),
          ("24 bits to 5-5-5", "24-bit to 555", "cache"),
          ("24 bits to 5-6-5", "24-bit to 565"),
          ("5-5-5 to 24 bits", "555 to 24-bit", "cache"),
          ("5-6-5 to 24 bits", "565 to 24-bit"),
          ("red and blue swapped", "red-blue swap"),
          ("table, 8 bits", "table, 8-bit"),
          ("three tables, 24 bits", "tables, 24-bit")),
    *both(MERGING, "merge_peers",
          ("normal, mask", "normal"),
          ("normal, mask, shifted", "normal, shifted", "cache"),
          ("normal, no mask, half opaque", "opacity"),
          ("difference, mask", "difference", "cache"),
          ("add, mask", "add", "cache"),
          ("multiply, mask", "multiply"),
          ("screen, mask", "screen", "cache"),
          ("lighten, mask", "lighten", "cache"),
          ("darken, mask", "darken", "cache"),
          ("colour", "color", "cache")),
    *both(COLOURS, "merge_peers",
          ("RGB to grey", "RGB to grey"),
          ("grey to RGB", "grey to RGB", "cache"),
          ("RGB to HSV", "RGB to HSV"),
          ("HSV to RGB", "HSV to RGB"),
          ("RGB to HLS", "RGB to HLS"),
          ("HLS to RGB", "HLS to RGB")),
    *scalings(),
    *both(DISPLAYS, "display_peers",
          ("palette to 24 bits", "palette to 24-bit", "cache"),
          ("grey levels", "grey levels", "cache"),
          ("greys to bits, dithered", "greys to bits", "cache"),
          ("256 colours, dithered", "colour cube"),
          ("true colour, gamma", "gamma"),
          ("high colour, dithered, gamma", "high colour, gamma"),
          ("high colour, dithered", "high colour")),
    *rectangles(),
    *buffer_scalings(),
    *(Work("Calls of the DLL", title, "cache", program, job, 0) for title, program, job in (
        ("merge with mask", "merge_exports_bench", "512 x 512 i32MergeEx, normal"),
        ("merge, no mask, 40 percent", "merge_exports_bench", "512 x 512 i32MergeEx, normal, no mask"),
        ("merge of buffers", "merge_exports_bench", "512 x 512 i32MergeBufToBuf, normal"),
        ("merge of buffers moved by 5", "merge_exports_bench", "512 x 512 i32MergeBufToBuf at 5, 5"),
        ("merge of buffers moved by 50", "merge_exports_bench", "512 x 512 i32MergeBufToBuf at 50, 50"),
        ("merge of a buffer into memory", "merge_exports_bench", "512 x 512 i32MergeBufToRam, normal"),
        ("RGB to plates, rows", "separation_bench", "rows of pixels to plates"),
        ("plates to RGB, rows", "separation_bench", "rows of plates to pixels"),
        ("message in and out of a queue", "queues_bench", "AddQueue and GetFromQueue of 64 bytes"))),
]  # fmt: skip
