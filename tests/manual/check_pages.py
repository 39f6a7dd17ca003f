#!/usr/bin/env python3
"""Whether the manual has a row for each export on its page of threads, and its links lead somewhere:
check_pages.py ROOT

Of docs/ the pages and images are installed, beside the manual's folder, and nothing else.
"""

import collections
import pathlib
import re
import sys

from pages import manual_of

EXPORT_LISTS = ("src/library/q32base.def", "src/q32comm/q32comm.def")
PAGES = 11  # the index, and ten that it leads to


def exports_of(definition):
    lines = definition.read_text().split("EXPORTS\n")[1].split("\n")
    return [line.strip() for line in lines if line.strip() and not line.strip().startswith(";")]


def wrong_rows(root, threads):
    """Exports without a row, with more than one, and rows of nothing."""
    exports = [name for path in EXPORT_LISTS for name in exports_of(root / path)]
    named = [re.fullmatch(r"`(\w+)`", row[0]) for row in threads.table_rows()]
    rows = collections.Counter(match[1] for match in named if match)
    for name in exports:
        if rows[name] != 1:
            yield f"{threads.path.name}: {rows[name]} rows for {name}"
    for name in sorted(set(rows) - set(exports)):
        yield f"{threads.path.name}: a row for {name}, which is no export"
    for row in threads.table_rows():
        if re.fullmatch(r"`\w+`", row[0]) and not all(row):
            yield f"{threads.path.name}: an empty cell in the row for {row[0]}"


def wrong_links(page):
    for target in page.links():
        path, _, anchor = target.partition("#")
        found = (page.path.parent / path) if path else page.path
        if not found.is_file():
            yield f"{page.path.name}: {target} leads nowhere"
        elif not re.fullmatch(r"(\.\./)?(images/)?[\w-]+\.\w+|", path):
            yield f"{page.path.name}: {target} is not installed"
        elif anchor and anchor not in anchors_of(found):
            yield f"{page.path.name}: {path} has no {anchor}"


def anchors_of(path):
    """Of headings, as forges name them."""
    headings = re.findall(r"^#+ (.*)$", path.read_text(encoding="utf-8"), re.MULTILINE)
    return [re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings]


def main(root):
    root = pathlib.Path(root)
    pages = {page.path.name: page for page in manual_of(root)}
    wrong = list(wrong_rows(root, pages["threads.md"]))
    for page in pages.values():
        wrong += wrong_links(page)
    named = {target.partition("#")[0] for target in pages["README.md"].links()}
    wrong += [f"README.md does not name {name}" for name in sorted(set(pages) - named - {"README.md"})]
    if len(pages) != PAGES:
        wrong.append(f"{len(pages)} pages instead of {PAGES}")
    if wrong:
        sys.exit("\n".join(wrong))
    print(f"{len(pages)} pages, each export in one row of threads.md, all links lead somewhere")


if __name__ == "__main__":
    main(*sys.argv[1:])
