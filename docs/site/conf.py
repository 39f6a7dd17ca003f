"""The builder's configuration."""

import pathlib
import re
import sys

root = pathlib.Path(__file__).resolve().parents[2]
sys.dont_write_bytecode = True
sys.path[:0] = [str(root / "docs"), str(root / "scripts/docs")]

import headers  # noqa: E402

project = "Q32BASE"
version = release = headers.version(root)
copyright = author = "the authors of Q32BASE"
extensions = ["myst_parser", "names", "theme"]
source_suffix = {".md": "markdown", ".rst": "restructuredtext"}
q32_root = root

myst_heading_anchors = 4
myst_enable_extensions = ["colon_fence"]
nitpicky = True
# The system's types and the language's have no page here.
nitpick_ignore = [
    ("c:identifier", name) for name in
    """BITMAPINFOHEADER COLORREF HDC HGLOBAL HMODULE HPALETTE RECT SIZE tagBITMAPINFOHEADER int32_t intptr_t
    size_t uint16_t uint32_t uint64_t uint8_t uintptr_t""".split()
]

html_theme = "furo"
html_title = f"Q32BASE {version}"
html_static_path = ["static"]
html_css_files = ["site.css"]
html_copy_source = html_show_sourcelink = html_show_sphinx = html_show_copyright = False
html_domain_indices = False
html_permalinks_icon = "#"
highlight_language = "none"
pygments_style = "tango"
pygments_dark_style = "monokai"
toc_object_entries = add_function_parentheses = False
smartquotes = False
