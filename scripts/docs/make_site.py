#!/usr/bin/env python3
"""Writes the pages of the site as its builder wants them: make_site.py ROOT FOLDER"""

import pathlib
import re
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "docs"))

import documents  # noqa: E402
import headers  # noqa: E402
import reference  # noqa: E402

QUIRK = re.compile(r"^\| ([^|]+) \| (.+) \| `[^|]*` \|$", re.M)

CONTENTS = re.compile(r"(```\{toctree\}\n(?::[^\n]*\n)*\n)(.*?)(```\n)", re.S)


class Site:
    """What pages ask about each other."""

    def __init__(self, root, folder):
        self.root, self.folder = root, folder
        self.headers = headers.all_headers(root)
        self.documents = documents.Documents(root, folder, self.headers)
        self.texts = {page: (root / page).read_text() for page in self.documents.pages}
        self.own = {path.name: path.read_text() for path in sorted((root / "docs/site").glob("*.md"))}

    def quirks_of(self, name):
        rows = QUIRK.findall(self.texts.get("docs/quirks.md", ""))
        return [
            (title, f"{what}.")
            for title, what in rows if re.search(rf"`{name}\b", what)
        ]

    def failures_in_words(self):
        """The numbers of the failures that have a section of their own, as labels."""
        return {f"failure-{'-'.join(numbers)}" for numbers in
                documents.NUMBERS_AS_HEADING.findall(self.texts.get(documents.FAILURES, ""))}

    def titles_of_modules(self):
        return dict(re.findall(r"^## Module (\d+): (.*)$", self.texts.get(documents.FAILURES, ""), re.M))

    def mentions_of(self, name):
        """Pages of the manual and of the gallery that speak of a function."""
        found = [(page[:-3], text) for page, text in self.texts.items() if page.startswith("docs/manual/")]
        found += [(f"gallery/{page[:-3]}", text) for page, text in self.own.items() if page != "index.md"]
        return [(page, title_of(text)) for page, text in found if re.search(rf"\b{name}\b", text)]

    def write(self):
        reference.write(self.headers, self)
        for name, text in self.own.items():
            target = self.folder / (name if name == "index.md" else f"gallery/{name}")
            target.parent.mkdir(parents=True, exist_ok=True)
            page = target.relative_to(self.folder).as_posix()
            text = documents.outside_code(text, lambda part, page=page: self.documents.with_links(part, page))
            target.write_text(self.with_contents(text))
        self.documents.write()  # last: it shows the sources that any page links to
        return self.documents.dead

    def with_contents(self, text):
        """A page with its tables of contents for what there is."""
        written = {re.sub(r".* <(.*)>", r"\1", line) for lines in CONTENTS.findall(text) for line in lines[1].split("\n")}

        def contents(match):
            pages = [page for line in match.group(2).split("\n") for page in self.pages_of(line, written)]
            written.update(pages)
            return match.group(1) + "\n".join(pages) + "\n" + match.group(3) if pages else ""

        return CONTENTS.sub(contents, text)

    def pages_of(self, line, written):
        """Pages that a line of a table of contents names: one, if it is there, or by a pattern those
        that no other line names and no README of their folder leads."""
        if line.startswith(("reference/", "gallery/")):
            return [line]
        pages = [page[:-3] for page in self.documents.pages]
        if "*" not in line:
            return [line] if re.sub(r".* <(.*)>", r"\1", line) in pages else []
        return [
            page for page in pages
            if pathlib.PurePath(page).match(line) and page.count("/") == line.count("/")
            and page not in written and not self.documents.leader_of(page + ".md")
        ]


def title_of(text):
    return re.search(r"^# (.*)$", text, re.M).group(1).replace("`", "")


def main(root, folder):
    dead = Site(pathlib.Path(root).resolve(), pathlib.Path(folder).resolve()).write()
    print("\n".join(dead), end="\n" if dead else "")
    return 1 if dead else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
