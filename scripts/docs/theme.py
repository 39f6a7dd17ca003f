"""An extension of the builder: what Debian's package of the theme leaves out of the theme's own build.

Its script begins with an import, which no browser takes from a plain script, so that it does not run
at all; and its style has no rules for browsers that ask for dark pages. A package that has mended
either is left as it is.
"""

import pathlib
import re

DARK = re.compile(r'body\[data-theme="dark"\] \{(.*?)\}', re.S)


def mend_script(folder):
    script = folder / "scripts/furo.js"
    text = script.read_text()
    imported = re.match(r'import Gumshoe from "\./(.*?)";\n', text)
    if imported:
        part = folder / "scripts" / imported.group(1)
        script.write_text(part.read_text() + text[imported.end():])
        part.unlink()


def mend_style(folder):
    style = folder / "styles/furo.css"
    text = style.read_text()
    if "prefers-color-scheme" not in text:
        colours = DARK.search(text).group(1)
        rule = f'body:not([data-theme="light"]) {{{colours}}}'
        style.write_text(f"{text}\n@media not print {{ @media (prefers-color-scheme: dark) {{ {rule} }} }}\n")


def mend(app, exception):
    folder = pathlib.Path(app.outdir) / "_static"
    if exception is None and app.builder.name == "html":
        mend_script(folder)
        mend_style(folder)


def setup(app):
    app.connect("build-finished", mend)
    return {"parallel_read_safe": True, "parallel_write_safe": True}
