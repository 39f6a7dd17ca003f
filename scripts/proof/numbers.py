"""Numbers as people read them."""

import datetime

LARGE = [(10**12, "trillion"), (10**9, "billion"), (10**6, "million")]


def number(count):
    """12,345; from a million on 24.7 million."""
    for size, name in LARGE:
        if round(abs(count) / size, 1) >= 1:
            return f"{count / size:,.1f} {name}"
    return f"{count:,}" if isinstance(count, int) else f"{count:,.3g}"


def counted(count, noun, nouns=None):
    return f"{number(count)} {noun if count == 1 else nouns or noun + 's'}"


def minutes(seconds):
    """9:05 min."""
    whole = round(seconds)
    return f"{whole // 60}:{whole % 60:02} min"


def per_cent(part, whole):
    """Never 100 % for less, and never more than it is."""
    if not whole:
        return "-"
    hundredths = part * 10000 // whole
    return f"{hundredths // 100} %" if hundredths % 100 == 0 else f"{hundredths / 100:.2f} %"


def day(date):
    """22 November 2026, of a date as computers write it."""
    read = datetime.datetime.fromisoformat(date)
    return f"{read.day} {read:%B %Y}"


def listed(words):
    """a, b and c."""
    words = list(words)
    return " and ".join(filter(None, [", ".join(words[:-1]), words[-1]])) if words else "none"
