"""What the manual's pages hold for a test: fenced blocks, links, tables."""

import collections
import pathlib
import re

FENCE = re.compile(r"^```(\w*)\n(.*?)^```$", re.DOTALL | re.MULTILINE)
LINK = re.compile(r"\[[^\]]*\]\(([^)\s]+)\)")
FILE_NAME = re.compile(r"/\* (\S+\.(?:c|cpp)) ")

Block = collections.namedtuple("Block", "language text line")


class Page:
    def __init__(self, path):
        self.path = path
        self.name = path.stem.lower()
        self.text = path.read_text(encoding="utf-8")

    def blocks(self):
        return [
            Block(match[1], match[2], self.text.count("\n", 0, match.start()) + 2)
            for match in FENCE.finditer(self.text)
        ]

    def links(self):
        """What it links to, but for other sites."""
        text = FENCE.sub("", self.text)
        return [target for target in LINK.findall(text) if "://" not in target]

    def table_rows(self):
        """The cells of each row of a table."""
        rows = (line for line in self.text.split("\n") if line.startswith("| "))
        return [[cell.strip() for cell in row.strip("|").split(" | ")] for row in rows]


def manual_of(root):
    return [Page(path) for path in sorted(pathlib.Path(root, "docs/manual").glob("*.md"))]


class Program:
    """The blocks of one language from an #include on, up to the one with main."""

    def __init__(self, page, block):
        self.page, self.language, self.line = page, block.language, block.line
        self.parts = [block]
        self.output = None  # what the page says that it prints

    def is_complete(self):
        return any(re.search(r"\bmain\(", part.text) for part in self.parts)

    def source(self):
        """With the lines of the page, so that what a compiler says of them can be found."""
        lines = (f'#line {part.line} "{self.page.path.name}"\n{part.text}' for part in self.parts)
        return "".join(lines)

    def file_name(self):
        named = FILE_NAME.match(self.parts[0].text)
        return named[1] if named else f"{self.page.name}-{self.line}.{self.language}"


def programs_of(page):
    programs = []
    blocks = page.blocks()
    for block, following in zip(blocks, blocks[1:] + [None]):
        if block.language not in ("c", "cpp"):
            continue
        if "#include" in block.text:
            programs.append(Program(page, block))
        else:
            programs[-1].parts.append(block)
        if programs[-1].is_complete() and following is not None and following.language == "text":
            programs[-1].output = following.text
    return programs
