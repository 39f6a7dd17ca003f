"""What rectangles, fills and patterns make of a picture, in the plainest way: pixel by pixel.

q32tool is compared with this model. A rectangle is x, y, width, height and may lie anywhere.
"""

from pictures import from_colours


def drawn(width, height, colour_at):
    """The picture of colour_at(x, y)."""
    colours = [colour_at(x, y) for y in range(height) for x in range(width)]
    return from_colours(width, height, colours)


def pixel(picture, x, y):
    at = (y * picture.width + x) * 3
    return picture.pixels[at : at + 3]


def inside(x, y, rectangle):
    left, top, width, height = rectangle
    return left <= x < left + width and top <= y < top + height


def whole(picture):
    return 0, 0, picture.width, picture.height


def cropped(picture, rectangle, background=None):
    """The rectangle as a picture. Without a background it must lie inside."""
    left, top, width, height = rectangle

    def colour(x, y):
        if inside(left + x, top + y, whole(picture)):
            return pixel(picture, left + x, top + y)
        return background

    return drawn(width, height, colour)


def painted(picture, rectangle, colour_at):
    """The picture with colour_at(x, y) inside the rectangle."""

    def colour(x, y):
        return colour_at(x, y) if inside(x, y, rectangle) else pixel(picture, x, y)

    return drawn(picture.width, picture.height, colour)


def pasted(picture, other, left, top):
    rectangle = left, top, other.width, other.height
    return painted(picture, rectangle, lambda x, y: pixel(other, x - left, y - top))


def filled(picture, colour, rectangle=None):
    return painted(picture, rectangle or whole(picture), lambda x, y: colour)


def tiled(picture, pattern, rectangle=None, origin=(0, 0)):
    """The pattern repeated, one copy of it beginning at the origin."""

    def colour(x, y):
        return pixel(pattern, (x - origin[0]) % pattern.width, (y - origin[1]) % pattern.height)

    return painted(picture, rectangle or whole(picture), colour)
