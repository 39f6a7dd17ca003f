"""Pictures of figures, as SVG by hand: bars of times beside the best peer's, and curves of the cost of
a pixel. They bring their own ground and are readable in light and in dark."""

import html
import math

STYLE = """\
    text { font: 12px "DejaVu Sans", Helvetica, Arial, sans-serif; fill: #24292f; }
    .ground { fill: #ffffff; }
    .head { font-weight: bold; }
    .note { fill: #57606a; font-size: 11px; }
    .peer { fill: #d0d7de; }
    .line { stroke: #d0d7de; fill: none; }
    .one { stroke: #57606a; fill: none; }
    .a { fill: #1f5f9e; stroke: #1f5f9e; }
    .b { fill: #6aa5dc; stroke: #6aa5dc; }
    .c { fill: #b5541c; stroke: #b5541c; }
    .d { fill: #2f7d46; stroke: #2f7d46; }
    .bar { stroke: none; }
    .curve { fill: none; stroke-width: 2; }
    .memory { stroke: #57606a; stroke-dasharray: 5 4; }
    @media (prefers-color-scheme: dark) {
      text { fill: #e6edf3; }
      .ground { fill: #0d1117; }
      .note { fill: #9ba3ad; }
      .peer { fill: #3a424c; }
      .line { stroke: #3a424c; }
      .one { stroke: #9ba3ad; }
      .a { fill: #5aa5ee; stroke: #5aa5ee; }
      .b { fill: #2f6fb3; stroke: #2f6fb3; }
      .c { fill: #f0883e; stroke: #f0883e; }
      .d { fill: #56b870; stroke: #56b870; }
      .curve { fill: none; }
      .memory { stroke: #9ba3ad; }
    }"""


class Picture:
    def __init__(self, width, height, title):
        self.width, self.height = width, height
        self.parts = [f"<title>{html.escape(title)}</title>",
                      f'<rect class="ground" width="{width}" height="{height}"/>']  # fmt: skip

    def text(self, x, y, words, kind="", anchor="start"):
        self.parts.append(f'<text class="{kind}" x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}">'
                          f"{html.escape(words)}</text>")  # fmt: skip

    def box(self, x, y, width, height, kind):
        self.parts.append(f'<rect class="{kind}" x="{x:.1f}" y="{y:.1f}" width="{width:.1f}" '
                          f'height="{height:.1f}"/>')  # fmt: skip

    def line(self, x1, y1, x2, y2, kind):
        self.parts.append(f'<path class="{kind}" d="M{x1:.1f} {y1:.1f}L{x2:.1f} {y2:.1f}"/>')

    def curve(self, points, kind):
        way = "L".join(f"{x:.1f} {y:.1f}" for x, y in points)
        self.parts.append(f'<path class="curve {kind}" d="M{way}"/>')

    def svg(self):
        head = (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {self.width} {self.height}" '
                f'width="{self.width}" height="{self.height}" role="img">')  # fmt: skip
        body = "\n".join("  " + part for part in self.parts)
        return f"{head}\n  <style>\n{STYLE}\n  </style>\n{body}\n</svg>\n"


# --- bars -----------------------------------------------------------------------------------------

ROW, BAR = 21, 7
LABELS, PANEL, GAP = 250, 320, 40
MOST = 1.5  # what a longer bar is cut to


def bars(groups, avx2, best, title):
    """groups: [(heading, [(label, {"cache": (AVX2's ratio, the best level's), "memory": ...})])], where
    1 is the best peer's time."""
    rows = sum(len(lines) + 1.5 for _, lines in groups)
    picture = Picture(LABELS + 2 * PANEL + 2 * GAP, round(84 + rows * ROW), title)
    panels = {"cache": LABELS, "memory": LABELS + PANEL + GAP}
    picture.text(16, 24, title, "head")
    names = [(avx2, "a"), (best, "b")] if best != avx2 else [(avx2, "a")]
    for place, (name, kind) in enumerate([*names, ("best peer = 1; shorter is faster", "peer")]):
        picture.box(16 + 90 * place, 36, 12, 10, f"bar {kind}")
        picture.text(34 + 90 * place, 45, name)
    for place, words in (("cache", "in the cache"), ("memory", "from memory")):
        picture.text(panels[place], 68, words, "head")
    y = 78.0
    for heading, lines in groups:
        y += ROW / 2
        picture.text(16, y + 12, heading, "head")
        y += ROW
        for label, places in lines:
            picture.text(28, y + 13, label)
            for place, ratios in places.items():
                bar(picture, panels[place], y, ratios)
            y += ROW
    return picture.svg()


def bar(picture, x, y, ratios):
    unit = (PANEL - 40) / MOST
    picture.box(x, y + 1, unit, 2 * BAR + 3, "bar peer")
    picture.line(x + unit, y + 1, x + unit, y + 2 * BAR + 4, "one")
    known = [(ratio, kind) for ratio, kind in zip(ratios, "ab") if ratio is not None]
    height = BAR if len(known) == 2 else 2 * BAR + 1
    for place, (ratio, kind) in enumerate(known):
        picture.box(x, y + 2 + place * (BAR + 1), max(unit * min(ratio, MOST), 1), height, f"bar {kind}")
    end = max(min(max(ratio for ratio, _ in known), MOST), 1)
    words = ", ".join(dict.fromkeys(f"{ratio:.2f}" for ratio, _ in known))
    picture.text(x + unit * end + 5, y + 13, words, "note")


# --- curves ---------------------------------------------------------------------------------------

WIDTH, HEIGHT = 720, 360
LEFT, RIGHT, TOP, BOTTOM = 62, 150, 58, 52


def ticks(least, most):
    """1, 2 and 5 of each power of ten, from the last one below to the first one above."""
    first, last = math.floor(math.log10(least)) - 1, math.ceil(math.log10(most)) + 1
    every = [digit * 10.0**power for power in range(first, last + 1) for digit in (1, 2, 5)]
    below = max(tick for tick in every if tick <= least)
    above = min(tick for tick in every if tick >= most)
    return [tick for tick in every if below <= tick <= above]


def curves(title, series, memory, edges):
    """series: [(name, [(pixels, nanoseconds)])]; memory: the same of memcpy; edges: [(pixels, name)] of
    where a cache is full. Both axes are logarithmic."""
    picture = Picture(WIDTH, HEIGHT, title)
    points = [point for _, line in [*series, ("", memory)] for point in line]
    xs, ys = [x for x, _ in points], [y for _, y in points]
    levels = ticks(min(ys), max(ys))
    wide, high = WIDTH - LEFT - RIGHT, HEIGHT - TOP - BOTTOM

    def x_of(pixels):
        return LEFT + wide * math.log(pixels / min(xs)) / math.log(max(xs) / min(xs))

    def y_of(time):
        return TOP + high * math.log(levels[-1] / time) / math.log(levels[-1] / levels[0])

    picture.text(16, 24, title, "head")
    for level in levels:
        picture.line(LEFT, y_of(level), LEFT + wide, y_of(level), "line")
        picture.text(LEFT - 6, y_of(level) + 4, f"{level:g}", "note", "end")
    picture.text(16, TOP - 14, "ns a pixel", "note")
    for pixels, name in edges:
        if min(xs) < pixels < max(xs):
            picture.line(x_of(pixels), TOP, x_of(pixels), TOP + high, "one")
            picture.text(x_of(pixels) + 4, TOP + 11, name, "note")
    for power in range(math.ceil(math.log10(min(xs))), math.floor(math.log10(max(xs))) + 1):
        x = x_of(10.0**power)
        picture.line(x, TOP + high, x, TOP + high + 5, "one")
        picture.text(x, TOP + high + 18, f"{10**power:,}", "note", "middle")
    picture.text(LEFT + wide / 2, HEIGHT - 12, "pixels of the picture", "note", "middle")
    ends = []
    for (name, line), kind in zip([*series, ("memcpy", memory)], ["a", "c", "d"][: len(series)] + ["memory"]):
        picture.curve([(x_of(pixels), y_of(time)) for pixels, time in line], kind)
        ends.append((y_of(line[-1][1]), name, kind))
    previous = 0.0
    for y, name, kind in sorted(ends):
        previous = max(y, previous + 15)
        picture.curve([(LEFT + wide + 8, previous), (LEFT + wide + 26, previous)], kind)
        picture.text(LEFT + wide + 32, previous + 4, name)
    return picture.svg()
