"""A header's comment as reStructuredText. Its layout says what is what: text at the margin is a
paragraph, two spaces before it make a row of a table (a word, a gap, what it means), four or more a
table of its own or something to be left as it stands, such as a formula."""

import re

import exports

TOPIC = re.compile(r"^([A-Z][a-z]+(?: [a-z]+){0,2})\. (?=\S)")
TOPICS_OF_FUNCTIONS = {"Threads", "Results", "Memory", "Overlap", "Lock counts"}
NUMBERS_AT_ONCE = re.compile(r"(\S) {3,}(?=" + exports.NUMBERS + ")")
GAP = re.compile(r"(\S) {2,}(?=\S)")


def escaped(text):
    """Text as it is; what stands between backticks is code."""
    parts = re.split(r"`([^`]+)`", text)
    parts[::2] = [re.sub(r"([\\*`|_<>])", r"\\\1", part) for part in parts[::2]]
    parts[1::2] = [f"``{part}``" for part in parts[1::2]]
    return "".join(parts)


def depth_of(line):
    return len(line) - len(line.lstrip())


def dedented(lines):
    depth = min((depth_of(line) for line in lines if line.strip()), default=0)
    return [line[depth:] for line in lines]


def indented(lines, depth=3):
    return [" " * depth + line if line else "" for line in lines]


def blocks_of(text):
    """Lines that belong together: what lies at the margin, and what is set off from it."""
    block, set_off = [], False
    for line in text.split("\n") + [""]:
        if block and (not line.strip() or (depth_of(line) > 0) != set_off):
            yield set_off, block
            block = []
        if line.strip():
            set_off = depth_of(line) > 0
            block.append(line)




def rows_of(lines):
    """(what the row is about, its text as lines) of each row: those that begin at the least depth."""
    lines = NUMBERS_AT_ONCE.sub(r"\1\n  ", "\n".join(lines)).split("\n")
    depth = min(depth_of(line) for line in lines)
    rows = []
    for line in lines:
        if depth_of(line) > depth and rows:
            rows[-1].append(line)
        else:
            rows.append([line])
    return [parted(row) for row in rows]


def parted(row):
    match = GAP.search(row[0])
    if match is None:
        return row[0].strip(), dedented(row[1:])
    column = match.end()
    rest = [line[min(column, depth_of(line)):] for line in row[1:]]
    return row[0][: match.end(1)].strip(), [row[0][column:]] + rest


def columns_of(lines):
    """The cells of a table of three columns or more, or None: cells begin where those of its first row do."""
    starts = [depth_of(lines[0])] + [match.end() for match in GAP.finditer(lines[0])]
    rows = []
    for line in lines:
        if any(len(line) > start and line[start - 1] != " " for start in starts[1:]):
            return None
        cells = [line[a:b].strip() for a, b in zip(starts, starts[1:] + [None])]
        if cells[0] and all(cells[:2]):
            rows.append(cells)
        elif rows:
            rows[-1] = [f"{old} {new}".strip() for old, new in zip(rows[-1], cells)]
        else:
            return None
    return rows if len(rows) > 1 else None


def literal(lines):
    return [".. parsed-literal::", ""] + indented([escaped(line) for line in dedented(lines)]) + [""]


def table(rows):
    """The first row is the heading."""
    lines = [".. list-table::", "   :header-rows: 1", "   :class: columns", ""]
    for row in rows:
        for number, cell in enumerate(row):
            lines.append(("   * - " if number == 0 else "     - ") + escaped(cell))
    return lines + [""]


def fields(rows, classes="", convert=None):
    lines = [f".. rst-class:: fields {classes}".rstrip(), ""]
    for name, text in rows:
        lines.append(escaped(name) if name[0] not in "-" else "\\" + escaped(name))
        lines += indented((convert or of_text)("\n".join(text)) or [".. rst-class:: empty", "", "\\ "])
        if lines[-1]:
            lines.append("")
    return lines + [""]


def set_off(lines, parameters=()):
    three = columns_of(lines) if len(GAP.findall(lines[0])) > 1 else None
    if three is not None and depth_of(lines[0]) >= 4:
        return table(three)
    rows = rows_of(lines)
    keyed = sum(1 for name, text in rows if text)
    if keyed == 0 or (len(rows) == 1 and depth_of(lines[0]) >= 4) or (
            depth_of(lines[0]) >= 4 and keyed < len(rows)) or uneven(rows, lines):
        return literal(lines)
    kind = kind_of(rows, parameters)
    lines = [".. rubric:: Arguments", ""] if kind == "arguments" else []
    part = []
    for name, about in rows + [("", [])]:
        if name and not (name.endswith(":") and not about):
            part.append((name, about))
            continue
        lines += fields(part, kind) if part else []  # a line between rows is about those that follow
        lines += [escaped(name), ""] if name else []
        part = []
    return lines


def uneven(rows, lines):
    """Formulas below each other have gaps, too, but not at one column."""
    if depth_of(lines[0]) < 4:
        return False
    depth = min(map(depth_of, lines))
    ends = {match.end() for line in lines if depth_of(line) == depth for match in [GAP.search(line)] if match}
    return len(ends) > 1


def kind_of(rows, parameters):
    of_arguments = [set(re.findall(r"[A-Za-z_]\w*", about)) <= set(parameters) for about, _ in rows]
    if parameters and 2 * sum(of_arguments) > len(rows):
        return "arguments"
    if any(re.match(exports.NUMBERS, about) for about, _ in rows):
        return "reports"
    return "words"


def paragraph(lines, parameters=(), topics=()):
    """Sentences about one argument each, one to a line, become rows as well."""
    result, plain = [], []

    def flush():
        if plain:
            result.extend([with_topic(" ".join(plain), topics), ""])
            plain.clear()

    number = 0
    while number < len(lines):
        match = re.match(r"(\w+): (.*)", lines[number])
        if match and match.group(1) in parameters:
            flush()
            rows = []
            while match and match.group(1) in parameters:
                text = [match.group(2)]
                number += 1
                while number < len(lines) and not starts_anew(lines, number, parameters):
                    text.append(lines[number])
                    number += 1
                rows.append((match.group(1), text))
                match = re.match(r"(\w+): (.*)", lines[number]) if number < len(lines) else None
            result.extend([".. rubric:: Arguments", ""] + fields(rows, "arguments"))
            continue
        if plain and starts_anew(lines, number, parameters):
            flush()
        plain.append(lines[number])
        number += 1
    flush()
    return result


def starts_anew(lines, number, parameters):
    match = re.match(r"(\w+): ", lines[number])
    if match and match.group(1) in parameters:
        return True
    return lines[number].startswith("Returns ") and re.search(r"[.:)]$", lines[number - 1]) is not None


def with_topic(text, topics):
    match = TOPIC.match(text)
    if match and (topics is None or match.group(1) in topics):
        return f"**{match.group(1)}.** " + escaped(text[match.end():])
    return escaped(text)


def of_text(text, parameters=(), topics=TOPICS_OF_FUNCTIONS):
    """All of a comment. topics: words that, as a sentence, are headings; None takes any."""
    lines = []
    for is_set_off, block in blocks_of(text):
        lines += set_off(block, parameters) if is_set_off else paragraph(block, parameters, topics)
    while lines and not lines[-1]:
        lines.pop()
    return lines + [""] if lines else []


def has_reports(lines):
    return any(re.match(exports.NUMBERS + r"|not reported$|as \w+$", about) for about, _ in rows_of(lines))


def without_reports(text):
    """What a comment says of failures, apart from all else: (the rest, the failures)."""
    rest, failures = [], []
    for number, chunk in enumerate(re.split(r"\n\s*\n", text.strip("\n"))):
        blocks = list(blocks_of(chunk))
        if not any(is_set_off and has_reports(block) for is_set_off, block in blocks):
            rest.append(chunk)
        elif number == 0:
            for is_set_off, block in blocks:
                (failures if is_set_off else rest).append("\n".join(block))
        else:
            if rest[-1].endswith(":") and len(rest) > 1:
                failures.append(rest.pop())
            failures.append(chunk)
    return "\n\n".join(rest), "\n\n".join(failures)


def topics_of(text):
    """A header's comment by its topics: [(title or "", text)]."""
    found = [["", []]]
    for block in re.split(r"\n\s*\n", text.strip("\n")):
        match = TOPIC.match(block)
        if match:
            found.append([match.group(1), []])
            block = block[match.end():]
        found[-1][1].append(block)
    return [(title, "\n\n".join(blocks)) for title, blocks in found if blocks]


def of_one_function(text, name, siblings):
    """What a shared comment says of one of its functions: rows that name another are left out."""
    lines, skipping, depth = [], False, 0
    for line in text.split("\n"):
        begins = re.match(r"^(\s+\S.*?\s{2,})(" + "|".join(siblings + [name]) + r"): (.*)", line)
        if begins:
            skipping, depth = begins.group(2) != name, depth_of(line)
            if not skipping:
                lines.append(begins.group(1) + begins.group(3))
            continue
        if skipping and line.strip() and depth_of(line) > depth:
            continue
        skipping = False
        lines.append(line)
    return "\n".join(lines)
