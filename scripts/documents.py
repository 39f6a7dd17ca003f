#!/usr/bin/env python3
"""Puts the documents into the folder of a package: documents.py FOLDER

In share/doc/q32base they lie to each other as in the source; what describes the samples lies with them.
A link to something that lies elsewhere in a package leads there; where a package has not what a link
leads to, its words stay.
"""

import os
import pathlib
import re
import shutil
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCUMENTS = ["README.md", "CHANGELOG.md", "SECURITY.md", "LICENSE", "docs"]
WITH_THE_PROGRAMMER = ["include", "samples"]  # lie in a package as in the source
LEFT_OUT = ["docs/site", "samples/kernel"]  # the former comes as HTML, the latter needs what is in src
KINDS = {"", ".md", ".jpg", ".png", ".svg"}
WHERE_DOCUMENTS_LIE = pathlib.PurePath("share/doc/q32base")
LINK = re.compile(r"!?\[((?:[^\[\]]|\[[^\]]*\])*)\]\(\s*([^)#\s]+)(#[^)\s]*)?\)")


def place_in_package(target):
    """Where the package has a file or folder of the source; None where it has it not."""
    top = target.parts[0] if target.parts else ""
    if any(target.is_relative_to(folder) for folder in LEFT_OUT):
        return None
    if top in DOCUMENTS:
        return WHERE_DOCUMENTS_LIE / target
    return target if top in WITH_THE_PROGRAMMER else None


def documents():
    """The files that a package takes as documents, as they are named in the source."""
    found = [file for name in DOCUMENTS for file in [ROOT / name, *ROOT.glob(f"{name}/**/*")]]
    found = [file for file in found if file.is_file() and file.suffix in KINDS]
    names = [file.relative_to(ROOT) for file in sorted([*found, *ROOT.glob("samples/**/*.md")])]
    return [name for name in names if place_in_package(name)]


def with_links_of_package(text, page):
    """The text of a page, with its links made for the place that it has in the package."""

    def adapted(link):
        words, path, anchor = link[1], link[2], link[3] or ""
        target = pathlib.PurePath(os.path.normpath(page.parent / path))
        if ":" in path or not (ROOT / target).exists():
            return link[0]  # somewhere else, or no link
        place = place_in_package(target)
        if place is None:
            return words
        way = pathlib.PurePath(os.path.relpath(place, place_in_package(page).parent)).as_posix()
        return link[0] if way == path.rstrip("/") else link[0].replace(f"{path}{anchor})", f"{way}{anchor})")

    return LINK.sub(adapted, text)


def main(folder):
    for document in documents():
        copy = pathlib.Path(folder) / place_in_package(document)
        copy.parent.mkdir(parents=True, exist_ok=True)
        if document.suffix == ".md":
            copy.write_text(with_links_of_package((ROOT / document).read_text(), document))
        else:
            shutil.copyfile(ROOT / document, copy)


if __name__ == "__main__":
    main(*sys.argv[1:])
