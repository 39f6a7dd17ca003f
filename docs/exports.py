#!/usr/bin/env python3
"""Writes docs/exports.md from the public headers: exports.py [--check] ROOT

Each export with its purpose and the errors that it reports by itself, and every error with the
exports that report it. With --check nothing is written: the exit code is 1 when the file on disk is
not what would be written.
"""

import collections
import pathlib
import re
import sys

COMMENT_AND_CODE = re.compile(r"/\*(.*?)\*/(.*?)(?=/\*|\Z)", re.DOTALL)
EXPORT = re.compile(r"^Q32_API\b[^;()]*?\b(\w+)\s*\(", re.MULTILINE)
NUMBERS = r"\b(\d{4}), ([012]), (\d+), (\d+(?: / \d+)*)"
ROW = re.compile(r"^\s*" + NUMBERS + r"\s+(?:(\w+): )?(.*)")  # the name: of the only function meant
REPORTER = re.compile(r"Reports of ([^,:]+)")  # begins the comment of what is no export
BORROWED = re.compile(r"^\s*as (\w+)\b\s{2,}", re.MULTILINE)

Export = collections.namedtuple("Export", "name purpose errors borrowed")
Error = collections.namedtuple("Error", "module point message severity")


def plain(comment):
    """A comment's text without its frame."""
    return "\n".join(re.sub(r"^ ?\* ?", "", line) for line in comment.strip("* \n").split("\n"))


def purpose_of(text):
    """The first sentence, or as much of the first paragraph as is one."""
    paragraph = " ".join(re.split(r"\n\s*\n|\n  +\S", text.strip())[0].split())
    sentence = re.split(r"(?<=[.:])\s", paragraph)[0].rstrip(".:")
    return re.sub(r",? (when|or -1 when)$", "", sentence) + "."


def errors_in(match):
    message, severity, module, points = match.groups()[:4]
    return [Error(int(module), int(point), int(message), int(severity)) for point in points.split(" / ")]


def rows_of(text):
    """Table rows of a comment, those that go over several lines in one, two of one line apart."""
    indent = None
    row = ""
    for line in re.sub(r"(\S) {3,}(?=" + NUMBERS + ")", r"\1\n  ", text).split("\n") + [""]:
        begins = ROW.match(line)
        depth = len(line) - len(line.lstrip())
        if indent is not None and (begins or not line.strip() or depth <= indent):
            yield row
            indent = None
        if begins:
            indent, row = depth, line
        elif indent is not None:
            row += " " + line.strip()


def errors_of(text, names):
    """What each of the functions that share a comment reports: {name: {error: when}}."""
    found = {name: {} for name in names}
    for row in rows_of(text):
        match = ROW.match(row)
        only, when = match.group(5), match.group(6)
        if only is not None and only not in found:
            only, when = None, f"{only}: {when}"
        for name in [only] if only else names:
            for error in errors_in(match):
                found[name].setdefault(error, when)
    for match in re.finditer(NUMBERS, text):
        for error in errors_in(match):
            if not any(error in errors for errors in found.values()):
                for name in names:
                    found[name][error] = ""
    return found


def exports_of(header):
    """The exports of a header in its order; those that share a comment share what it says."""
    for comment, code in COMMENT_AND_CODE.findall(header.read_text()):
        text = plain(comment)
        names = EXPORT.findall(code)
        errors = errors_of(text, names)
        for name in names:
            yield Export(name, purpose_of(text), errors[name], BORROWED.findall(text))


def other_reporters_of(header):
    """What reports beside the exports, and when: {name: {error: when}}."""
    texts = (plain(comment) for comment, _ in COMMENT_AND_CODE.findall(header.read_text()))
    named = ((REPORTER.match(text.strip()), text) for text in texts)
    return {match.group(1): errors_of(text, [match.group(1)])[match.group(1)] for match, text in named if match}


def headers_of(root):
    return sorted((root / "include/q32base").glob("*.h"))


def reports_of(root):
    """Who reports an error, and when: {error: {when: [name]}}. Exports stand in backticks."""
    found = collections.defaultdict(lambda: collections.defaultdict(list))
    for header in headers_of(root):
        reporters = {f"`{export.name}`": export.errors for export in exports_of(header)}
        for name, errors in (reporters | other_reporters_of(header)).items():
            for error, when in errors.items():
                found[error][when].append(name)
    return found


def title_of(header):
    """What the first line of a header says that it is."""
    return re.search(r"Q32BASE: (.*?)\.\n", re.sub(r"\n \* +", " ", header.read_text())).group(1)


def in_numbers(error):
    return f"{error.message}, {error.severity}, {error.module}, {error.point}"


def table(*columns):
    return ["| " + " | ".join(columns) + " |", "|" + "---|" * len(columns)]


def document(root):
    families = [(header, list(exports_of(header))) for header in headers_of(root)]
    families = [(header, exports) for header, exports in families if exports]
    count = sum(len(exports) for _, exports in families)
    lines = [
        "# Exports",
        "",
        "Made from the comments of the public headers by `docs/exports.py`; do not edit.",
        "",
        f"The library exports {count} functions. Errors are message, severity, module, point",
        "([errors.h](../include/q32base/errors.h)). Listed are those that the headers name; a function",
        "also hands on the errors of those that it calls. Somebody reads an error to you: what happened and",
        "what to do says [errors.md](errors.md), and when exactly [the last table](#by-error).",
    ]
    for header, exports in families:
        lines += ["", f"## {header.name}: {title_of(header)}", ""]
        lines += table("function", "purpose", "errors")
        for export in exports:
            errors = [in_numbers(error) for error in export.errors]
            errors += [f"those of `{name}`" for name in export.borrowed]
            lines.append(f"| `{export.name}` | {export.purpose} | {'; '.join(errors) or 'none'} |")
    lines += ["", "## By error", ""]
    lines += table("module", "point", "message", "severity", "functions", "when")
    for error, reports in sorted(reports_of(root).items()):
        for when, reporters in reports.items():
            numbers = f"{error.module} | {error.point} | {error.message} | {error.severity}"
            lines.append(f"| {numbers} | {', '.join(reporters)} | {when or 'see the header'} |")
    return "\n".join(lines) + "\n"


def main(arguments):
    check = arguments[:1] == ["--check"]
    root = pathlib.Path(arguments[-1])
    path = root / "docs/exports.md"
    text = document(root)
    if not check:
        path.write_text(text)
        return 0
    if path.exists() and path.read_text() == text:
        return 0
    print(f"{path} is not what the headers say; run docs/exports.py {root}")
    return 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
