#!/usr/bin/env python3
"""Follows every link of the site: check_site.py FOLDER

Pages, anchors, pictures, styles and scripts must be there, nothing may be loaded from a network, every
page must be reached from the first one, and the names of files must not differ by case alone. Prints
what is wrong; the exit code is 1 then.
"""

import html.parser
import pathlib
import sys
import urllib.parse

LOADED = {("img", "src"), ("script", "src"), ("link", "href"), ("source", "src"), ("iframe", "src")}


class Page(html.parser.HTMLParser):
    def __init__(self, text):
        super().__init__()
        self.anchors, self.links, self.loads = set(), set(), set()
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        self.anchors |= {values[name] for name in ("id", "name") if values.get(name)}
        if tag == "a" and values.get("href"):
            self.links.add(values["href"])
        for name in ("src", "href"):
            if (tag, name) in LOADED and values.get(name):
                self.loads.add(values[name])


def local_place(page, link):
    """The file and the anchor that a link leads to."""
    path, anchor = urllib.parse.urldefrag(link)
    path = urllib.parse.unquote(path.partition("?")[0])
    place = (page.parent / path).resolve() if path else page
    return place, urllib.parse.unquote(anchor)


def is_elsewhere(link):
    return urllib.parse.urlsplit(link).scheme != "" or link.startswith("//")


def check(folder):
    files = [path for path in folder.rglob("*") if path.is_file()]
    pages = {path: Page(path.read_text()) for path in files if path.suffix == ".html"}
    wrong, reached, followed = [], {folder / "index.html"}, 0
    for path, page in sorted(pages.items()):
        name = path.relative_to(folder)
        for link in sorted(page.links | page.loads):
            if is_elsewhere(link):
                if link in page.loads and not link.startswith("data:"):
                    wrong.append(f"{name} loads {link}")
                continue
            place, anchor = local_place(path, link)
            followed += 1
            if not place.is_file():
                wrong.append(f"{name}: {link} is not there")
            elif anchor and place in pages and anchor not in pages[place].anchors:
                wrong.append(f"{name}: {link} has no such anchor")
            reached.add(place)
    aside = {folder / "search.html", folder / "genindex.html"}
    wrong += [f"{path.relative_to(folder)} is reached by no link" for path in sorted(set(pages) - reached - aside)]
    names = [str(path.relative_to(folder)).lower() for path in files]
    wrong += [f"{name} is there twice" for name in sorted(set(names)) if names.count(name) > 1]
    return wrong, len(pages), followed


def main(folder):
    wrong, pages, followed = check(pathlib.Path(folder).resolve())
    print("\n".join(wrong + [f"{followed} links on {pages} pages followed, {len(wrong)} of them wrong"]))
    return 1 if wrong or pages < 2 else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
