#!/usr/bin/env python3
"""Tests the documents, and what makes a site of them: docs_test.py ROOT SCRATCH [TEST...]

The Markdown pages are read as they lie in the repository: each link to a file or a heading must lead to
one. The pages of the site are made in SCRATCH, as its builder gets them (the builder, which is not
installed for tests, is run by ./run docs).
"""

import pathlib
import re
import shutil
import subprocess
import sys
import unittest

LINK = re.compile(r"(?<!`)\[(?:[^\[\]`]|`[^`]*`|!\[[^\]]*\]\([^)]*\))*\]\(([^()\s]+)\)|!\[[^\]]*\]\(([^()\s]+)\)")
CODE = re.compile(r"^ {0,3}(```|~~~).*?^ {0,3}\1\s*?$|^(?: {4,}\S[^\n]*\n)+", re.M | re.S)


class Places:
    root = scratch = pathlib.Path()


def documents():
    patterns = ["*.md", "docs/**/*.md", "samples/**/*.md", "tests/**/*.md"]
    found = {path for pattern in patterns for path in Places.root.glob(pattern)}
    return sorted(path for path in found if "docs/site" not in path.as_posix())


def headings(text):
    """The anchors that a page's headings have."""
    anchors = {}
    for title in re.findall(r"^#+ (.*?)\s*$", CODE.sub("", text), re.M):
        title = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", title)
        anchor = re.sub(r"[^\w\- ]", "", title.lower()).replace(" ", "-")
        count = anchors.get(anchor, 0)
        anchors[anchor] = count + 1
        if count:
            anchors[f"{anchor}-{count}"] = 1
    return set(anchors)


def wrong_links(page):
    text = page.read_text()
    for match in LINK.finditer(CODE.sub(lambda code: "\n" * code.group(0).count("\n"), text)):
        target = match.group(1) or match.group(2)
        if re.match(r"[a-z]+:", target):
            continue
        path, _, anchor = target.partition("#")
        place = page.parent / path if path else page
        if not place.exists():
            yield f"{page.relative_to(Places.root)}: {target} is not there"
        elif anchor and place.suffix == ".md" and anchor not in headings(place.read_text()):
            yield f"{page.relative_to(Places.root)}: {target} is no heading"


class Links(unittest.TestCase):
    def test_documents_lead_somewhere(self):
        pages = documents()
        self.assertGreater(len(pages), 20)
        self.assertEqual([wrong for page in pages for wrong in wrong_links(page)], [])

    def test_dead_links_are_found(self):
        page = Places.scratch / "page.md"
        (Places.scratch / "other.md").write_text("# A heading: `code`\n\n    # none\n\n## Two\n## Two\n")
        page.write_text(
            "[a](other.md) [b](gone.md) ![c](gone.png) [d](other.md#a-heading-code) [e](other.md#none)\n"
            "[f](other.md#two-1) [`g`](#here) [h](https://example.org)\n\n    [i](in-code.md)\n\n## Here\n")
        root, Places.root = Places.root, Places.scratch
        try:
            self.assertEqual(list(wrong_links(page)), [
                "page.md: gone.md is not there", "page.md: gone.png is not there",
                "page.md: other.md#none is no heading"])
        finally:
            Places.root = root

    def test_dead_links_of_a_site_are_found(self):
        sys.path.insert(0, str(Places.root / "scripts/docs"))
        import check_site

        folder = Places.scratch / "html"
        folder.mkdir()
        (folder / "index.html").write_text(
            '<a href="a.html#here"></a><a href="a.html#there"></a><a href="b.html"></a><a href="#me"></a>'
            '<img src="gone.png"><script src="https://example.org/x.js"></script><p id="me">'
            '<a href="https://example.org">elsewhere</a>')
        (folder / "a.html").write_text('<p id="here"><a href="index.html"></a>')
        (folder / "alone.html").write_text("")
        (folder / "Alone.html").write_text("")
        self.assertEqual(check_site.check(folder)[0], [
            "index.html: a.html#there has no such anchor", "index.html: b.html is not there",
            "index.html: gone.png is not there", "index.html loads https://example.org/x.js",
            "Alone.html is reached by no link", "alone.html is reached by no link", "alone.html is there twice"])


class Site(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = Places.scratch / "site"
        subprocess.run(
            [sys.executable, "-B", str(Places.root / "scripts/docs/make_site.py"), str(Places.root), str(cls.folder)],
            check=True)

    def page(self, name):
        return (self.folder / name).read_text()

    def test_every_export_has_its_page(self):
        for definition in ("src/library/q32base.def", "src/q32comm/q32comm.def"):
            text = (Places.root / definition).read_text()
            names = re.findall(r"^\s+(\w+)", text[text.index("EXPORTS"):], re.M)
            self.assertGreater(len(names), 10)
            for name in names:
                page = self.page(f"reference/{name}.rst")
                self.assertRegex(page, rf"\.\. c:function:: .*\b{name}\(")
                self.assertIn("\nErrors\n------\n", page)
                self.assertIn(f":c:func:`{name}`", self.page("reference/index.rst"))

    def test_every_parameter_is_in_the_signature(self):
        page = self.page("reference/buf32Alloc.rst")
        self.assertIn(
            ".. c:function:: int buf32Alloc(HBUF32 *handle, int bits_per_pixel, int width, int height, "
            "uint32_t type, const void *extra)", page)
        before, after = page.split("\nErrors\n------\n")
        self.assertIn("receives the new handle", before)
        self.assertIn("less than 128 KB of memory is left", after)

    def test_every_failure_is_linked_both_ways(self):
        rows = re.findall(
            r"^\| (\d+) \| (\d+) \| (\d{4}) \| ([012]) \| (.*?) \|", (Places.root / "docs/exports.md").read_text(), re.M)
        self.assertGreater(len(rows), 100)
        errors, exports = self.page("reference/errors.rst"), self.page("docs/exports.md")
        parts = dict(re.findall(r"^   \* - \.\. _(error-[\d-]+):\n(.*?)(?=^   \* - |^Module|\Z)", errors, re.M | re.S))
        for module, point, message, severity, functions in rows:
            label = f"error-{message}-{severity}-{module}-{point}"
            self.assertIn(f"| [{module}]({label}) | {point} | {message} | {severity} |", exports)
            for name in re.findall(r"`(\w+)`", functions):
                self.assertIn(f":c:func:`{name}`", parts[label], label)
                listed = self.page(f"reference/{name}.rst").split("\nErrors\n------\n")[1]
                self.assertTrue(label in listed or self.names(listed, message, severity, module, point), (name, label))

    def names(self, text, message, severity, module, point):
        """Whether numbers stand in a text, as one of several points, too: 5206, 1, 12, 643 / 918."""
        found = re.findall(rf"\b{message}, {severity}, {module}, (\d+(?: / \d+)*)", text)
        return any(point in points.split(" / ") for points in found)

    def test_constants_and_members_are_told(self):
        header = self.page("reference/buffers-h.rst")
        self.assertIn(".. c:macro:: BUF32_TILED_FILE\n\n   ``0x80000000u`` cells, kept out of memory", header)
        self.assertIn("   .. c:member:: uintptr_t colour[2]\n", header)
        for path in sorted((Places.root / "include").rglob("*.h")):
            page = self.folder / "reference" / f"{path.stem}-h.rst"
            for name in re.findall(r"^#define ([A-Z]\w+)[ \t]+[-(\d]", path.read_text(), re.M):
                self.assertIn(f".. c:macro:: {name}\n", page.read_text())

    def test_what_a_section_says_is_on_its_pages(self):
        self.assertIn("Enlarging repeats pixels, reducing takes one pixel", self.page("reference/mem32Reduce.rst"))
        self.assertIn("must have returned before another thread", self.page("reference/qfdCalcBGCurve.rst"))
        threads = self.page("reference/buf32Line.rst").split("\nThreads\n-------\n")[1]
        self.assertIn("used by one thread at a time", threads)
        self.assertNotIn("q32RectDrawGrayBar: no memory", self.page("reference/q32CreateGrayBarImage.rst"))

    def test_pictures_of_the_gallery_are_made(self):
        sys.path.insert(0, str(Places.root / "scripts/docs"))
        import gallery

        wanted = gallery.pictures_of(Places.root / "docs/site")
        self.assertGreater(len(wanted), 40)
        for mode in gallery.MODES:
            self.assertTrue(any(mode in name for name in wanted), mode)

    def test_no_link_leaves_the_site_for_this_machine(self):
        for path in self.folder.rglob("*"):
            if path.suffix in (".md", ".rst"):
                self.assertNotIn(str(Places.root), path.read_text(), path)


if __name__ == "__main__":
    Places.root, Places.scratch = (pathlib.Path(path).resolve() for path in sys.argv[1:3])
    shutil.rmtree(Places.scratch, ignore_errors=True)
    Places.scratch.mkdir(parents=True)
    unittest.main(argv=sys.argv[:1] + sys.argv[3:], verbosity=2)
