"""A model of colour separation: red, green, blue to four inks and back, by tables.

Black begins at no grey at all, bends with 100 / 30, takes a tenth of itself out of the other inks,
and all inks together are at most 350 percent.
"""

import pictures

INKS = ["cyan", "magenta", "yellow", "black"]

INK_LIMIT = (350 * 1020 + 200) // 400
REMOVED = [(black * 10 + 50) // 100 for black in range(256)]
BLACK = [int((grey / 255) ** (100 / 30) * 255) for grey in range(255)] + [255]


def inverse():
    """The least grey that gives so much black."""
    greys, filled = [0] * 256, -1
    for grey, black in enumerate(BLACK):
        if black > filled:
            greys[filled + 1 : black + 1] = [grey] * (black - filled)
            filled = black
    return greys


GREY_OF_BLACK = inverse()


def inks(red, green, blue):
    """Cyan, magenta, yellow, black: 0 to 255."""
    colours = [255 - red, 255 - green, 255 - blue]
    black = BLACK[min(colours)]
    colours = [ink - REMOVED[black] for ink in colours]
    beyond = black - INK_LIMIT + sum(colours)
    if beyond > 0:
        colours = [ink - beyond // 3 for ink in colours]
    return (*[ink & 255 for ink in colours], black)


def proof(cyan, magenta, yellow, black):
    """The colour that these inks print."""
    more = max(GREY_OF_BLACK[black] - min(cyan, magenta, yellow), 0)
    return tuple(255 - min(ink + more, 255) for ink in (cyan, magenta, yellow))


def plates(picture, film=False):
    """The pictures by the words that are in their names."""
    printed = [inks(*colour) for colour in picture.colours()]
    made = {}
    for channel, name in enumerate(INKS):
        greys = [pixel[channel] if film else 255 - pixel[channel] for pixel in printed]
        colours = [(grey,) * 3 for grey in greys]
        made[name] = pictures.from_colours(picture.width, picture.height, colours)
    colours = [proof(*pixel) for pixel in printed]
    made["proof"] = pictures.from_colours(picture.width, picture.height, colours)
    return made
