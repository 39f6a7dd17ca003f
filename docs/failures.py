#!/usr/bin/env python3
"""Says in sentences what the library's failures mean: failures.py [--check | --table FILE] ROOT

Writes docs/errors.md from docs/failures.toml, the public headers (who reports a failure, and when)
and the texts of the messages. With --check nothing is written: the exit code is 1 when the file on
disk is not what would be written, or when the failures of the source, of the headers and of
failures.toml are not the same. With --table FILE is written instead, the table of q32tool explain.
"""

import collections
import json
import pathlib
import re
import sys
import tomllib

import exports

MESSAGE_TEXT = re.compile(r"\{(\d{4}),\s*((?:\"[^\"]*\"\s*)+)\}")
SHARED = re.compile(r"\$(\w+)")

Failure = collections.namedtuple("Failure", "what causes remedy")


def numbers_of(error):
    return error.message, error.severity, error.module, error.point


def in_numbers(numbers):
    return ", ".join(map(str, numbers))


class Failures:
    """All that is known of the failures, by their numbers (message, severity, module, point)."""

    def __init__(self, root):
        self.root = root
        table = tomllib.loads((root / "docs/failures.toml").read_text())
        shared = table.pop("shared")
        self.modules = {int(number): name for number, name in table.pop("modules").items()}

        def whole(text):
            return SHARED.sub(lambda match: shared[match.group(1)], text)

        self.used = set(SHARED.findall(str(table)))
        self.shared = set(shared)
        self.sentences = {
            tuple(map(int, numbers.split(", "))): Failure(
                whole(row["what"]), [whole(cause) for cause in row["causes"]], whole(row["remedy"])
            )
            for numbers, row in table.items()
        }
        self.reports = {numbers_of(error): reports for error, reports in exports.reports_of(root).items()}

    def in_order(self):
        """As support staff look them up: by module and point."""
        return sorted(self.sentences, key=lambda numbers: (numbers[2], numbers[3], numbers))

    def reporters(self, numbers):
        """Who reports a failure, and when: [(names, when)]."""
        found = self.reports.get(numbers, {}).items()
        return [(", ".join(names), when.rstrip("; ")) for when, names in found]

    def messages(self):
        """The texts of the messages, and only of those that are reported."""
        source = (self.root / "src/q32comm/texts.cpp").read_text()
        texts = {
            int(number): "".join(re.findall(r'"([^"]*)"', text)).replace("%s", "Q32BASE.DLL")
            for number, text in MESSAGE_TEXT.findall(source)
        }
        return {number: texts[number] for number in sorted({numbers[0] for numbers in self.sentences})}

    def complaints(self):
        """What keeps the sentences from being those of the product's failures."""
        sys.path.insert(0, str(self.root / "scripts"))
        import failure_rows

        rows = {(row.message, row.severity, row.module, row.point) for row in failure_rows.product_failures(self.root)}
        for place, those in (("failures.toml", set(self.sentences)), ("the headers", set(self.reports))):
            yield from (f"{in_numbers(numbers)} is missing in {place}" for numbers in sorted(rows - those))
            yield from (f"{in_numbers(numbers)} in {place} is no failure" for numbers in sorted(those - rows))
        whats = collections.Counter(failure.what for failure in self.sentences.values())
        yield from (f"two failures say: {what}" for what, count in whats.items() if count > 1)
        yield from (f"nothing says ${name}" for name in sorted(self.shared - self.used))
        missing = {numbers[2] for numbers in self.sentences} ^ set(self.modules)
        yield from (f"module {number} has no name, or no failure" for number in sorted(missing))


# --- docs/errors.md ------------------------------------------------------------------------------

INTRODUCTION = """# Errors

Made from `docs/failures.toml`, the public headers and the texts of the messages by
`docs/failures.py`; do not edit.

The library reports a failure by four numbers: message, severity, module and point. Here is what each
of the {count} failures means, what the likely causes are and what to do about it. They are in the order
of module and point, which together name the place; the message says what was wrong there, in a
sentence that many failures share. Severity 2 is work that somebody stopped, and all that merging
reports. `q32tool explain 1001 4 3` (message, module, point) says the same, also of numbers that are
pasted as some program shows them. How to ask for the numbers: [support.md](support.md).

A *picture* is an image buffer here. A function also hands on the reports of those that it calls.
"""


def markdown(text):
    return text.replace("*", "\\*")


def entry(numbers, failure, reporters, message):
    yield f"### {in_numbers(numbers)}"
    yield ""
    yield f"{failure.what} (“{message}”)"
    yield ""
    yield from (f"- *Likely cause:* {cause}" for cause in failure.causes)
    yield f"- *What to do:* {failure.remedy}"
    said = (f"{names}: {markdown(when)}" if when else names for names, when in reporters)
    yield f"- *Reported by* {'; or by '.join(said)}"
    yield ""


def document(failures):
    lines = INTRODUCTION.format(count=len(failures.sentences)).split("\n")
    messages = failures.messages()
    lines += ["## Messages", "", *exports.table("message", "text")]
    lines += [f"| {number} | {text} |" for number, text in messages.items()]
    module = None
    for numbers in failures.in_order():
        if numbers[2] != module:
            module = numbers[2]
            lines += ["", f"## Module {module}: {failures.modules[module]}", ""]
        message = messages[numbers[0]]
        lines += entry(numbers, failures.sentences[numbers], failures.reporters(numbers), message)
    return re.sub(r"\n{3,}", "\n\n", "\n".join(lines)).strip() + "\n"


# --- the table of q32tool explain ----------------------------------------------------------------


def literals(*texts):
    return ", ".join(json.dumps(text, ensure_ascii=True) for text in texts)


def source_of_table(failures):
    lines = ["// Made by docs/failures.py; do not edit.", '#include "explanations.h"', ""]
    lines += ["namespace apps::q32tool {", "namespace {", "", "constexpr Explanation table[] = {"]
    for numbers in failures.in_order():
        failure = failures.sentences[numbers]
        said = [
            f"{names.replace('`', '')}: {when}" if when else names.replace("`", "")
            for names, when in failures.reporters(numbers)
        ]
        lines.append(f"    {{{{{in_numbers(numbers)}}},")
        texts = (failure.what, "\n".join(failure.causes), failure.remedy, "\n".join(said))
        lines += [f"     {literals(text)}," for text in texts[:-1]]
        lines.append(f"     {literals(texts[-1])}}},")
    lines += ["};", "", "} // namespace", ""]
    lines += ["std::span<const Explanation> explanations() {", "    return table;", "}", ""]
    lines += ["std::string_view module_name(int module) {", "    switch (module) {"]
    for number, name in failures.modules.items():
        lines += [f"    case {number}:", f"        return {literals(name)};"]
    lines += ["    }", "    return {};", "}", "", "} // namespace apps::q32tool"]
    return "\n".join(lines) + "\n"


def check(failures, path):
    complaints = list(failures.complaints())
    if not complaints and (not path.exists() or path.read_text() != document(failures)):
        complaints = [f"{path} is not what failures.toml says; run docs/failures.py {failures.root}"]
    print("\n".join(complaints), end="\n" if complaints else "")
    return 1 if complaints else 0


def main(arguments):
    root = pathlib.Path(arguments[-1])
    failures = Failures(root)
    path = root / "docs/errors.md"
    if arguments[:1] == ["--check"]:
        return check(failures, path)
    if arguments[:1] == ["--table"]:
        pathlib.Path(arguments[1]).write_text(source_of_table(failures))
    else:
        path.write_text(document(failures))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
