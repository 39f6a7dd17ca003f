"""The project's Markdown pages, at their places, with their links led to what is in the site: pages
to pages, headers to the reference, samples to pages that show them, all else of the repository to
nothing but its name."""

import os
import pathlib
import re

PAGES = ["*.md", "docs/*.md", "docs/decisions/*.md", "docs/manual/**/*.md", "samples/**/*.md", "tests/frame/README.md"]
LINK = re.compile(r"(!?)\[((?:[^\[\]`]|`[^`]*`|\[[^\]]*\])*)\]\(([^()\s]+)\)")
FAILURES = "docs/errors.md"
NUMBERS_AS_HEADING = re.compile(r"^### (\d{4}), ([012]), (\d+), (\d+)$", re.M)
FENCE = re.compile(r"^ {0,3}(```|~~~).*?^ {0,3}\1\s*?$|^(?: {4,}\S[^\n]*\n)+", re.M | re.S)
PICTURES = {".png", ".jpg", ".jpeg", ".svg", ".gif"}
LANGUAGES = {".c": "c", ".h": "c", ".cpp": "cpp", ".hpp": "cpp", ".py": "python", ".cmake": "cmake", ".txt": "none"}


def outside_code(text, change):
    """Applies change to what is neither fenced nor indented code."""
    result, at = [], 0
    for match in FENCE.finditer(text):
        result += [change(text[at : match.start()]), match.group(0)]
        at = match.end()
    return "".join(result + [change(text[at:])])


class Documents:
    def __init__(self, root, folder, headers):
        self.root, self.folder = root, folder
        self.header_pages = {f"include/{header.name}": f"reference/{header.page}.rst" for header in headers}
        self.pages = sorted({
            path.relative_to(root).as_posix() for pattern in PAGES for path in root.glob(pattern)
        })
        self.dead = []
        self.shown = set()  # sources that pages link to

    def write(self):
        for page in self.pages:
            text = (self.root / page).read_text()
            if page == "docs/exports.md":
                text = with_linked_errors(text)
            elif page == FAILURES:
                text = NUMBERS_AS_HEADING.sub(with_label, text)
            target = self.folder / page
            target.parent.mkdir(parents=True, exist_ok=True)
            text = outside_code(text, lambda part, page=page: self.with_links(part, page))
            target.write_text(text + self.contents_below(page))
        for source in sorted(self.shown | set(self.header_pages)):
            self.show(source)

    def leader_of(self, page):
        """The README of a folder of the documents, which the pages beside it are listed under."""
        folder, _, name = page.rpartition("/")
        readme = f"{folder}/README.md"
        return readme if folder.startswith("docs/") and name != "README.md" and readme in self.pages else None

    def contents_below(self, page):
        led = [other.rpartition("/")[2][:-3] for other in self.pages if self.leader_of(other) == page]
        text = (self.root / page).read_text()
        led.sort(key=lambda name: text.find(f"({name}.md)") % (len(text) + 1))  # not named: last
        return "\n".join(["", "```{toctree}", ":hidden:", ""] + led + ["```", ""]) if led else ""

    def with_links(self, text, page):
        def led(match):
            mark, words, target = match.groups()
            if re.match(r"[a-z]+:|#|error-", target):
                return match.group(0)
            path, _, anchor = target.partition("#")
            place = os.path.normpath(os.path.join(os.path.dirname(page), path))
            if mark or pathlib.PurePath(place).suffix in PICTURES:
                self.copy(place)
                return match.group(0)
            to = self.place_in_site(place)
            if to is None:
                if page in self.pages and not (self.root / place).exists():
                    self.dead.append(f"{page}: {target} is not there")
                return words
            to = os.path.relpath(to, os.path.dirname(page) or ".")
            return f"[{words}]({to}{'#' + anchor if anchor else ''})"

        return LINK.sub(led, text)

    def place_in_site(self, place):
        """Where what lies there in the repository is in the site; None: nowhere."""
        if place in self.pages:
            return place
        if place.startswith(("reference/", "gallery/")):
            return place
        if place in self.header_pages:
            return self.header_pages[place]
        if (self.root / place).is_dir():
            return place + "/README.md" if place + "/README.md" in self.pages else None
        if place.startswith(("include/", "samples/")) and (self.root / place).suffix in LANGUAGES:
            self.shown.add(place)
            return f"{place}.rst"
        return None

    def copy(self, place):
        target = self.folder / place
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_bytes((self.root / place).read_bytes())

    def show(self, source):
        """A page that shows a file of the repository."""
        name = pathlib.PurePath(source).name
        language = LANGUAGES[pathlib.PurePath(source).suffix]
        target = self.folder / f"{source}.rst"
        target.parent.mkdir(parents=True, exist_ok=True)
        code = (self.root / source).read_text().rstrip("\n").split("\n")
        lines = [":orphan:", "", name, "=" * len(name), "", f".. code-block:: {language}", ""]
        target.write_text("\n".join(lines + [("   " + line).rstrip() for line in code]) + "\n")


def with_label(match):
    return f"(failure-{'-'.join(match.groups())})=\n{match.group(0)}"


def with_linked_errors(text):
    """The last table of docs/exports.md, with each row's module linked to the row of the reference."""
    def linked(match):
        module, point, message, severity = match.groups()
        anchor = f"error-{message}-{severity}-{module}-{point}"
        return f"| [{module}]({anchor}) | {point} | {message} | {severity} |"

    return re.sub(r"^\| (\d+) \| (\d+) \| (\d{4}) \| ([012]) \|", linked, text, flags=re.M)
