"""What the samples' pictures must show, worked out here by the rules of the library's headers."""

import sys

PAPER, GREEN, BLUE, ORANGE, RED = (245, 245, 240), (70, 150, 70), (60, 110, 190), (220, 130, 40), (200, 60, 50)


class Seen:
    """A picture whose pixels are expected to be so and so."""

    def __init__(self, name, picture):
        self.name, self.picture = name, picture

    def size(self, width, height):
        found = self.picture.width, self.picture.height
        if found != (width, height):
            sys.exit(f"{self.name}: the picture is {found[0]} x {found[1]}")

    def at(self, x, y):
        start = (y * self.picture.width + x) * 3
        return tuple(self.picture.pixels[start : start + 3])

    def pixel(self, x, y, colour):
        if self.at(x, y) != tuple(colour):
            sys.exit(f"{self.name}: ({x}, {y}) is {self.at(x, y)}, not {tuple(colour)}")


# --- the picture that the library draws for who has none ------------------------------------------

WIDTH, HEIGHT, HUES_HEIGHT = 384, 256, 208


def quotient(a, b):
    """As C divides."""
    return abs(a) // b if a >= 0 else -(abs(a) // b)


def ramp(count, first, last, i):
    """Step i of a colour bar (bars.h)."""
    return int(first + i * (last - first) / count + 0.5)


def colour_of(hue, saturation, value):
    d = (value * saturation + 127) // 255
    m, f = value - d, ((hue % 60) * d + 30) // 60
    up, down = m + f, value - f
    return [
        (value, up, m), (down, value, m), (m, value, up), (m, down, value), (up, m, value), (value, m, down)
    ][hue // 60]  # fmt: skip


def drawn(x, y):
    """A field of hues, the upper half from black to a colour, the lower on to white, over greys."""
    half = HUES_HEIGHT // 2
    if y >= HUES_HEIGHT:
        return (ramp(WIDTH, 0, 255, x),) * 3
    hue = ramp(WIDTH, 0, 359, x)
    if y < half:
        return colour_of(hue, 255, ramp(half, 0, 255, y))
    return colour_of(hue, ramp(half, 255, 0, y - half), 255)


# --- bicubic scaling (resample.h) -----------------------------------------------------------------


def weights(fraction):
    """Of four neighbours, for a fraction of 8 bits."""
    t = 17 * ((fraction + 8) // 17)
    big, square, cube = 64 * t, (t * t + 1) >> 2, (t * t * t + 512) >> 10
    half = lambda value: int(value / 2)  # noqa: E731 - truncating, also below 0
    return (
        square - half(cube) - half(big),
        half(3 * cube) - half(5 * square) + 16384,
        2 * square - half(3 * cube) + half(big),
        half(cube) - half(square),
    )


def bicubic(source, x, y):
    """Of a source (x, y) -> colour as large as the one that is drawn."""
    across, down = weights(int(x % 1 * 256)), weights(int(y % 1 * 256))
    result = []
    for channel in range(3):
        total = 0
        for j in range(4):
            from_y = min(max(int(y) + j - 1, 0), HEIGHT - 1)
            places = (min(max(int(x) + i - 1, 0), WIDTH - 1) for i in range(4))
            row = sum(across[i] * source(place, from_y)[channel] for i, place in enumerate(places))
            total += down[j] * ((max(row, 0) + 32) >> 6)
        result.append(min(max(total >> 22, 0), 255))
    return tuple(result)


# --- the samples ----------------------------------------------------------------------------------


def first_program(seen):
    seen.size(320, 200)
    for y in range(0, 200, 7):
        for x in range(0, 320, 11):
            seen.pixel(x, y, (x * 255 // 319, y * 255 // 199, 128))


def darkened(x, y):
    """The picture through the mask of distances from its middle."""
    across, down = quotient((2 * x - WIDTH) * 1000, WIDTH), quotient((2 * y - HEIGHT) * 1000, HEIGHT)
    mask = min(max(quotient((across * across + down * down) // 1000 - 400, 4), 0), 255)
    products = [(base * dusk + 128) // 255 for base, dusk in zip(drawn(x, y), (40, 40, 90))]
    return [
        (product * mask + base * (255 - mask)) // 255
        for product, base in zip(products, drawn(x, y))
    ]


def merge_and_scale(seen):
    seen.size(320, 213)
    for x in [*range(0, 320, 13), 319]:
        for y in [*range(0, 213, 9), 212]:
            seen.pixel(x, y, bicubic(darkened, x * WIDTH / 320, y * HEIGHT / 213))


def copy_on_write(seen):
    height = 41 * 8
    seen.size(4 + 13 * 24, height)
    steps = [(6, (90, 90, 90)), *[(6, GREEN)] * 5]
    steps += [(megabytes, ORANGE) for megabytes in (12, 18, 24, 30, 36)]
    steps += [(6, (90, 90, 90)), (0, (90, 90, 90))]
    for i, (megabytes, colour) in enumerate(steps):
        top = height - megabytes * 8 - 2
        seen.pixel(4 + i * 24, top, colour)
        seen.pixel(23 + i * 24, height - 1, colour)
        seen.pixel(4 + i * 24, top - 1, PAPER)
        seen.pixel(24 + i * 24, height - 1, PAPER)


def swap_files(seen):
    seen.size(9 * 32, 32)
    for i, colour in enumerate([GREEN] * 3 + [BLUE] * 5 + [RED]):
        seen.pixel(i * 32 + 2, 2, colour)
        seen.pixel(i * 32 + 29, 29, colour)
        seen.pixel(i * 32 + 1, 2, PAPER)


def progress(seen):
    seen.size(2 * 480 + 16, 336)
    # Cells of 128 x 128, four in a row; six of the right picture were finished.
    for cell in range(12):
        x, y = cell % 4 * 128, cell // 4 * 128
        if cell < 6:
            seen.pixel(496 + x, y, seen.at(x, y))
        else:
            seen.pixel(496 + x, y, (200, 200, 200))
        mark = 100 * cell // 12 * 480 // 100
        seen.pixel(mark, 330, GREEN)
        seen.pixel(mark + 4, 330, PAPER)
        seen.pixel(496 + mark, 330, GREEN if cell <= 6 else PAPER)
    for x in range(40, 440, 9):
        for y in range(40, 240, 7):
            seen.pixel(x, y, bicubic(drawn, x * WIDTH / 480, y * HEIGHT / 320))


def level(eighth):
    return round(eighth * 255 / 7)


def display_run(seen):
    seen.size(WIDTH, 2 * (HEIGHT + 32))
    for y in range(0, HEIGHT, 3):
        for x in range(0, WIDTH, 5):
            seen.pixel(x, y, drawn(x, y))
            dithered = seen.at(x, HEIGHT + 32 + y)
            for shown, wanted in zip(dithered, drawn(x, y)):
                if shown % 51 or abs(shown - wanted) > 51:
                    sys.exit(f"{seen.name}: ({x}, {y}) is dithered to {dithered}")
    for x in range(WIDTH):
        index = x * 256 // WIDTH
        colour = (level(index // 32), level(index // 4 % 8), index % 4 * 85)
        seen.pixel(x, HEIGHT, colour)
        seen.pixel(x, 2 * (HEIGHT + 32) - 1, colour)


def frames(seen):
    seen.size(6 * 104 + 8, 2 * 80 + 8)
    for number in range(12):
        left, top = 8 + number % 6 * 104, 8 + number // 6 * 80
        seen.pixel(left - 1, top, (30, 30, 30))
        seen.pixel(left, top, (60, 90, 160))
        seen.pixel(left + 95, top + 71, (60, 90 + 239 // 4, 60))
        # The ball's middle, in the frame where it is and not in the next one.
        ball_x, ball_y = 30 + number * 24, 50 + (number % 6 - 3) ** 2 * 16
        x, y = round(ball_x * 95 / 319), round(ball_y * 71 / 239)
        if seen.at(left + x, top + y)[0] != 230:
            sys.exit(f"{seen.name}: no ball in frame {number}")


def dispatch_queue(seen):
    seen.size(400, 304)
    left = [(x, y) for y in range(8) for x in range(6)]
    tiles = [(x * 32, y * 32) for x, y in left]
    tiles += [(208 + x * 32, y * 32) for x, y in left[:24]]
    tiles += [(208 + x * 32, 136 + y * 32) for x, y in left[:24]]
    for step, (x, y) in enumerate(tiles):
        level = step * 255 // 95
        seen.pixel(x, y, (level, 80, 255 - level))
        seen.pixel(x + 30, y + 30, (60, 60, 60))
        seen.pixel(step * 4 + 1, 290, GREEN if step < 48 else ORANGE if step < 72 else BLUE)
    for y in 276, 299:
        seen.pixel(12 * 4, y, (255, 255, 255))


def escape_time(x, y):
    zx = zy = steps = 0
    while steps < 63 and zx * zx + zy * zy < 4 * 4096 * 4096:
        zx, zy = quotient(zx * zx - zy * zy, 4096) + x, quotient(2 * zx * zy, 4096) + y
        steps += 1
    return steps


def messages(seen):
    seen.size(384, 256)
    tints = (4, 3, 1), (1, 4, 2), (1, 2, 4), (4, 1, 3)
    for y in range(1, 256, 5):
        for x in range(3, 384, 17):
            left = 63 - escape_time((x - 256) * 32, (y - 128) * 38)
            seen.pixel(x, y, (left * tint for tint in tints[y // 8 % 4]))


def separation(seen):
    seen.size(3 * WIDTH, 2 * HEIGHT)
    for y in range(0, HEIGHT, 7):
        for x in range(0, WIDTH, 11):
            rgb = drawn(x, y)
            inks = [255 - sample for sample in rgb]
            common = min(inks)
            black = 255 if common == 255 else int((common / 255) ** (100 / 30) * 255)
            inks = [ink - (black * 10 + 50) // 100 for ink in inks]
            excess = sum(inks) + black - 893
            if excess > 0:
                inks = [ink - excess // 3 for ink in inks]
            cyan, magenta, yellow = (255 - ink for ink in inks)
            seen.pixel(x, y, rgb)
            seen.pixel(WIDTH + x, y, (cyan, 255, 255))
            seen.pixel(2 * WIDTH + x, y, (255, magenta, 255))
            seen.pixel(x, HEIGHT + y, (255, 255, yellow))
            seen.pixel(WIDTH + x, HEIGHT + y, (255 - black,) * 3)
            # There and back is not exact, but never far off.
            for one, other in zip(seen.at(2 * WIDTH + x, HEIGHT + y), rgb):
                if abs(one - other) > 64:
                    sys.exit(f"{seen.name}: {rgb} comes back as {seen.at(2 * WIDTH + x, HEIGHT + y)}")


CHECKS = {
    name: lambda picture, name=name, check=check: check(Seen(name, picture))
    for name, check in {
        "01_first_program": first_program,
        "02_merge_and_scale": merge_and_scale,
        "03_copy_on_write": copy_on_write,
        "04_swap_files": swap_files,
        "05_progress": progress,
        "06_display_run": display_run,
        "07_frames": frames,
        "08_dispatch_queue": dispatch_queue,
        "09_messages": messages,
        "10_separation": separation,
    }.items()
}
