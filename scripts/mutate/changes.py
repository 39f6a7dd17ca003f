"""Which small changes can be made to the product's sources, and which of them a run makes.

Knows C++ as far as clang-format lays it out: binary operators stand between spaces, the brackets of
templates do not. What a change does to the library is the business of others.
"""

import dataclasses
import random
import re

LEVELS = ["scalar", "sse2", "sse41", "avx2", "avx512"]
RELEASING_WORDS = set(
    "free unlock close release delete unmap leave destroy restore detach unlink decommit discard"
    " forget reset clear remove flush end drop stop finish undo dismiss".split()
)

SWAPS = {
    "relational": {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="},
    "logical": {"&&": "||", "||": "&&"},
    "arithmetic": {
        "+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "<<": ">>", ">>": "<<", "&": "|", "|": "&",
        "^": "|", "+=": "-=", "-=": "+=", "*=": "/=", "/=": "*=", "&=": "|=", "|=": "&=", "^=": "|=",
        "<<=": ">>=", ">>=": "<<=",
    },
}  # fmt: skip

NOT_CODE = re.compile(
    r"//[^\n]*|/\*.*?\*/"  # comments
    r"|(?<![0-9A-Za-z_])'(?:\\.|[^'\\\n])+'|\"(?:\\.|[^\"\\\n])*\""  # literals
    r"|^[ \t]*#(?:[^\n]*\\\n)*[^\n]*"  # the preprocessor's lines
    r"|\bstatic_assert\([^;]*;|\balignas\([^)]*\)",  # what cannot change and still compile, or matter
    re.DOTALL | re.MULTILINE,
)


@dataclasses.dataclass(frozen=True)
class Change:
    """One mutant: the text from start to end of a file gives way to another."""

    path: str  # from the root
    kind: str
    start: int
    end: int
    text: str
    line: int  # the first one that changes
    before: str  # the lines that change, joined and without their margin ...
    after: str  # ... and what they become

    @property
    def place(self):
        return f"{self.path}:{self.line}"

    @property
    def folder(self):
        return "/".join(self.path.split("/")[:2])

    def applied(self, source):
        return source[: self.start] + self.text + source[self.end :]


def code_only(source):
    """The source with blanks for all that is no code, each character at its place."""
    return NOT_CODE.sub(lambda found: re.sub(r"[^\n]", " ", found[0]), source)


def joined(lines):
    return " ".join(lines.split())


def closing(code, opening):
    """Where the bracket that opens here is closed."""
    depth = 0
    for at in range(opening, len(code)):
        depth += (code[at] in "([{") - (code[at] in ")]}")
        if depth == 0:
            return at
    return len(code)


def opening_before(code, at):
    """The brace or bracket that encloses a place, -1 for none."""
    depth = 0
    for here in range(at - 1, -1, -1):
        depth += (code[here] in ")]}") - (code[here] in "([{")
        if depth < 0:
            return here
    return -1


def loop_heads(code):
    """The ranges of the conditions of loops."""
    heads = []
    for found in re.finditer(r"\b(for|while) \(", code):
        end = closing(code, found.end() - 1)
        parts = code[found.end() : end].split(";")
        start = found.end() + (len(parts[0]) if found[1] == "for" and len(parts) == 3 else 0)
        heads.append((start, start + len(parts[1]) + 1 if len(parts) == 3 else end))
    return heads


def operators(code):
    heads = loop_heads(code)
    for kind, swaps in SWAPS.items():
        names = "|".join(re.escape(name) for name in sorted(swaps, key=len, reverse=True))
        for found in re.finditer(rf"(?<= )({names})(?=[ \n])", code):
            in_head = any(start <= found.start() < end for start, end in heads)
            yield "end" if kind == "relational" and in_head else kind, *found.span(), swaps[found[1]]
    for found in re.finditer(r"\+\+|--", code):
        yield "arithmetic", *found.span(), "--" if found[0] == "++" else "++"


def constants(code):
    number = r"(?<![\w.'])(0x[0-9A-Fa-f]+|[0-9]+)([uUlL]*)(?![\w.'])"
    for found in re.finditer(number, code):
        digits, suffix = found.groups()
        form = f"0x{{:0{len(digits) - 2}X}}" if digits.startswith("0x") else "{}"
        value = int(digits, 0) if digits.startswith("0x") else int(digits)
        yield "constant", *found.span(), form.format(value + 1) + suffix
        if value > 0:
            yield "constant", *found.span(), form.format(value - 1) + suffix
    for found in re.finditer(r"(?<![\w.])[0-9]+\.[0-9]+", code):
        yield "constant", *found.span(), str(float(found[0]) + 1)
    for found in re.finditer(r"\b(true|false)\b", code):
        yield "constant", *found.span(), "false" if found[0] == "true" else "true"


def failure_rows(code):
    for row in re.finditer(r"\{(\d+), (\d+), (\d+), (\d+)\}", code):
        for number in range(1, 5):
            value = int(row[number])
            for other in (value + 1, value - 1):
                if other >= 0:
                    yield "failure", *row.span(number), str(other)


def conditions(code):
    for found in re.finditer(r"\b(?:if|while)(?: constexpr)? \(", code):
        start, end = found.end(), closing(code, found.end() - 1)
        if ";" in code[start:end]:  # after a declaration
            start = end - len(code[start:end].rpartition(";")[2].lstrip())
        elif re.search(r" = ", code[start:end]):  # a declaration is the condition
            continue
        yield "negated", start, end, None


def is_statement(code, start):
    ahead = code[:start].rstrip()
    return ahead.endswith(("{", "}", ";", ")", ":")) or bool(re.search(r"\belse$", ahead))


def releases(code):
    for found in re.finditer(r"[A-Za-z_][\w:.]*(?:->[\w:.]+|\[\w+\])*\(", code):
        name = re.search(r"(\w+)(?:\[\w+\])?\($", found[0])[1]
        words = re.findall(r"[A-Z]?[a-z]+|[A-Z]+", name)
        end = closing(code, found.end() - 1) + 1
        if RELEASING_WORDS.isdisjoint(word.lower() for word in words):
            continue
        if is_statement(code, found.start()) and code[end : end + 1] == ";":
            yield "release", found.start(), end, ""


def early_returns(code):
    for found in re.finditer(r"\breturn\b[^;{}]*;", code):
        ahead = code[: found.start()].rstrip()
        is_early = ahead.endswith(")") or bool(re.search(r"\belse$", ahead))
        if not is_early:
            brace = opening_before(code, found.start())
            head = code[: max(brace, 0)].rstrip()
            if code[brace : brace + 1] == "{" and head.endswith(")"):
                keyword = code[: opening_before(head, len(head) - 1)].rstrip()
                is_early = bool(re.search(r"\b(if|for|while)( constexpr)?$", keyword))
        if is_early:
            yield "return", *found.span(), ";"


def counts(code):
    """What says how many: the last argument of these functions, the second of those."""
    for found in re.finditer(r"\b(memcpy|memmove|memset|memcmp|copy_n|fill_n|subspan)\(", code):
        end = closing(code, found.end() - 1)
        commas = [at for at in range(found.end(), end)
                  if code[at] == "," and opening_before(code, at) == found.end() - 1]  # fmt: skip
        if found[1] in ("copy_n", "fill_n") and len(commas) == 2:
            yield "end", commas[1], commas[1], " - 1"
            yield "end", commas[1], commas[1], " + 1"
        elif commas:
            yield "end", end, end, " - 1"
            yield "end", end, end, " + 1"


def levels(code):
    """The tables of kernels where they are chosen, and what they are chosen for."""
    sets = LEVELS[1:]
    forms = [(r"(?<=return InstructionSet::)", r"()\b", sets), (r"(?<=return )", r"()\b", sets)]
    if "choose(" in code:
        forms.append((r"\b", r"(_\w*kernels)\b(?!\{)", LEVELS))
    for ahead, behind, names in forms:
        for found in re.finditer(rf"{ahead}({'|'.join(names)}){behind}", code):
            at = names.index(found[1])
            for other in names[max(at - 1, 0) : at] + names[at + 1 : at + 2]:
                yield "level", *found.span(), other + found[2]
    for found in re.finditer(r"(?<=_kernels\()level(?=\))", code):
        yield "level", *found.span(), "InstructionSet::sse2"


def changes_of(path, source):
    """All changes of a file, in the order of its text."""
    code = code_only(source)
    makers = [operators, conditions, releases, early_returns, counts, levels]
    makers.append(failure_rows if path.endswith("failures.h") else constants)
    found = set()
    for maker in makers:
        for kind, start, end, text in maker(code):
            if text is None:
                text = f"!({source[start:end]})"
            first = source.rfind("\n", 0, start) + 1
            last = source.find("\n", end)
            # Lines stay where they are.
            text += "\n" * (source[start:end].count("\n") - text.count("\n"))
            before = joined(source[first:last])
            after = joined(source[first:start] + text + source[end:last])
            line = source.count("\n", 0, start) + 1
            found.add(Change(path, kind, start, end, text, line, before, after))
    return sorted(found, key=lambda change: (change.start, change.end, change.kind, change.text))


def in_drawn_order(changes, seed):
    """All changes of a folder in the order in which they are taken: each kind in its turn."""
    kinds = {}
    for change in changes:
        kinds.setdefault(change.kind, []).append(change)
    for kind, members in sorted(kinds.items()):
        random.Random(f"{seed} {members[0].folder} {kind}").shuffle(members)
    while kinds:
        for kind in sorted(kinds):
            yield kinds[kind].pop()
        kinds = {kind: members for kind, members in kinds.items() if members}


def shares(sizes, count):
    """How many of `count` each folder gets: by its size, but one before any gets two."""
    result = {folder: 0 for folder in sizes}

    def need(folder):
        return result[folder] == 0, sizes[folder] / (result[folder] + 0.5), folder

    for _ in range(min(count, sum(sizes.values()))):
        neediest = max((folder for folder in sizes if result[folder] < sizes[folder]), key=need)
        result[neediest] += 1
    return result


def draw(changes, count, seed):
    """So many of the changes, from all folders; the same seed and sources give the same ones, and a
    greater count those and more."""
    folders = {}
    for change in changes:
        folders.setdefault(change.folder, []).append(change)
    taken = shares({folder: len(members) for folder, members in folders.items()}, count)
    drawn = []
    for folder, members in folders.items():
        order = in_drawn_order(members, seed)
        drawn += [next(order) for _ in range(taken[folder])]
    return sorted(drawn, key=lambda change: (change.path, change.start, change.text))
