"""The pages of the reference: one for each function, one for each header, one of all error numbers."""

import collections
import re

import comments
import exports
from comments import escaped, indented

IN_FULL = {"Threads", "Results"}  # topics of a header that every page of a function repeats
ERROR_ROW = re.compile(r"^\| (\d+) \| (\d+) \| (\d{4}) \| ([012]) \| (.*?) \| (.*) \|$", re.M)
SHORT = 900  # and any other that has no more characters than this


def heading(text, line):
    return [text, line * len(text), ""]


def link(name):
    return f":c:func:`{name}`"


def label_of(error):
    return "error-" + "-".join(str(number) for number in (error.message, error.severity, error.module, error.point))


def error_link(error):
    return f":ref:`{exports.in_numbers(error)} <{label_of(error)}>`"


def header_link(header):
    return f":doc:`{header.name} </reference/{header.page}>`"


# --- functions ---------------------------------------------------------------------------------


def speaks_of_threads(text):
    """Paragraphs, with the tables right below them, whose sentences are about threads."""
    return [
        chunk for chunk in re.split(r"\n\s*\n", text)
        if any(not is_set_off and re.search(r"\bthreads?\b", " ".join(block), re.I)
               for is_set_off, block in comments.blocks_of(chunk))
    ]


def threads_of(function):
    """Its own words first, then its section's, then its header's."""
    own = comments.of_one_function(function.text, function.name, function.siblings)
    lines = [line for paragraph in speaks_of_threads(own) for line in comments.of_text(paragraph)]
    for text in function.prose + [function.header.text]:
        topics = [said for title, said in comments.topics_of(text) if title == "Threads"]
        if topics:
            lines += comments.of_text(topics[0])
        elif not lines:
            lines += [line for paragraph in speaks_of_threads(text) for line in comments.of_text(paragraph, topics=None)]
    return lines


def errors_of(function, text):
    lines = comments.of_text(text)
    elsewhere = [error for error in function.errors if exports.in_numbers(error) not in listed(text)]
    if elsewhere:
        lines += ["Named above: " + "; ".join(error_link(error) for error in elsewhere) + ".", ""]
    borrowed = borrowed_by(function)
    if borrowed:
        lines += ["Hands on those of " + ", ".join(link(name) for name in borrowed) + ".", ""]
    return lines or ["None of its own.", ""]


def listed(text):
    return {exports.in_numbers(error) for match in re.finditer(exports.NUMBERS, text) for error in exports.errors_in(match)}


def plain_when(when):
    return " ".join(when.rstrip(";").split())


def borrowed_by(function):
    names = exports.BORROWED.findall(function.text)
    return [name for name in dict.fromkeys(names) if name != function.name]


def inherited(function):
    """What its section and its header say of all their functions."""
    lines = []
    for prose in function.prose:
        for title, text in comments.topics_of(prose):
            if title != "Threads":
                lines += comments.of_text(f"{title}. {text}" if title else text, topics=None)
    if lines:
        lines = heading("What holds for its section", "-") + lines
    more, in_full = [], []
    for title, text in comments.topics_of(function.header.text):
        if title == "Threads":
            continue
        if title in IN_FULL or (title and len(text) < SHORT):
            in_full += comments.of_text(f"{title}. {text}", topics=None)
        elif title:
            more.append(f":ref:`{title} <{topic_label(function.header, title)}>`")
    if in_full or more:
        lines += heading(f"What holds for all of {function.header.name}", "-") + in_full
        if more:
            lines += ["Read there as well: " + ", ".join(more) + ".", ""]
    return lines


def page_of_function(function, site):
    text = comments.of_one_function(function.text, function.name, function.siblings)
    lines = [f".. _function-{function.name}:", ""] + heading(function.name, "=")
    lines += [f".. c:function:: {function.signature}", ""]
    where = f"In {header_link(function.header)}"
    if function.siblings:
        where += ", described together with " + ", ".join(link(name) for name in function.siblings)
    lines += [".. rst-class:: where", "", where + ".", ""]
    text, failures = comments.without_reports(text)
    lines += comments.of_text(text, [name for _, name in function.parameters])
    lines += heading("Errors", "-") + errors_of(function, failures)
    threads = threads_of(function)
    if threads:
        lines += heading("Threads", "-") + threads
    lines += inherited(function)
    mentions = site.mentions_of(function.name)
    quirks = site.quirks_of(function.name)
    if quirks or mentions:
        lines += heading("Elsewhere", "-")
    for name, what in quirks:
        lines += [f"- :doc:`Quirk </docs/quirks>` ({escaped(name)}): {escaped(what)}"]
    if mentions:
        lines += ["- Pages: " + ", ".join(f":doc:`{title} </{page}>`" for page, title in mentions)]
    return lines + [""]


# --- headers -------------------------------------------------------------------------------------


def topic_label(header, title):
    return f"{header.page}-{title.lower().replace(' ', '-')}"


def group_lines(group):
    lines = comments.of_text(group.text)
    for macro in group.macros:
        value = f"``{macro.value}``"
        lines += [f".. c:macro:: {macro.name}", ""]
        lines += indented([f"{value} {escaped(macro.text)}".rstrip()]) + [""]
    for record in group.records:
        lines += [f".. c:{record.kind}:: {record.declaration}", ""]
        if record.convention:
            lines += indented([f"Called as ``{record.convention}``."]) + [""]
        member_kind = "enumerator" if record.kind == "enum" else "member"
        for declaration, text in record.members:
            lines += indented([f".. c:{member_kind}:: {declaration}", "", "   " + (escaped(text) or "\\ "), ""])
    return lines + [""]


def function_table(functions):
    lines = [".. list-table::", "   :class: functions", "   :widths: auto", ""]
    for function in functions:
        lines += [f"   * - {link(function.name)}", f"     - {escaped(function.purpose)}"]
    return lines + [""]


def section_lines(section):
    lines = []
    if section.title:
        lines += heading(section.title[0].upper() + section.title[1:], "-")
    functions = []
    for item in section.items + [None]:
        if hasattr(item, "signature"):
            functions.append(item)
            continue
        if functions:
            lines += function_table(functions)
            functions = []
        if isinstance(item, str):
            lines += comments.of_text(item, topics=None)
        elif item is not None:
            lines += group_lines(item)
    return lines


def page_of_header(header, site):
    lines = [f".. _{header.page}:", ""] + heading(header.name, "=")
    for number, (title, text) in enumerate(comments.topics_of(header.text)):
        if number == 0:
            text = re.sub(r"^(Q32BASE|q32comm): (\w)", lambda match: match.group(2).upper(), text)
        if title:
            lines += [f".. _{topic_label(header, title)}:", ""] + heading(title, "-")
        lines += comments.of_text(text)
        if number == 0:
            lines += [".. rst-class:: where", "", f":doc:`The header as it is </include/{header.name}>`", ""]
    for section in header.sections:
        lines += section_lines(section)
    names = [function.name for function in header.functions()]
    if names:
        lines += [".. toctree::", "   :hidden:", ""] + [f"   {name}" for name in names]
    return lines + [""]


# --- error numbers -------------------------------------------------------------------------------


def error_rows(root):
    """{error: [(who reports it, when)]}: the last table of docs/exports.md, as it is made from the headers."""
    found = collections.defaultdict(list)
    for module, point, message, severity, functions, when in ERROR_ROW.findall(exports.document(root)):
        error = exports.Error(int(module), int(point), int(message), int(severity))
        who = re.sub(r"`(\w+)`", lambda name: link(name.group(1)), functions)
        found[error].append((who, when if when != "see the header" else ""))
    return found


def page_of_errors(headers, site):
    errors_header = next(header for header in headers if header.name.endswith("errors.h"))
    messages = {
        int(declaration.split("= ")[1]): (declaration.split(" ")[0], text)
        for group in errors_header.groups() for record in group.records for declaration, text in record.members
    }
    rows = error_rows(site.root)
    lines = [".. _error-numbers:", ""] + heading("Error numbers", "=")
    lines += [
        "Somebody reads you five numbers: message, severity, library, module, point. The library's is always",
        "1450; find the module below, and in it the point. A function also hands on the errors of those that",
        "it calls.", "",
    ]
    for module in sorted({error.module for error in rows}):
        title = site.titles_of_modules().get(str(module))
        lines += heading(f"Module {module}" + (f": {title}" if title else ""), "-")
        lines += [".. list-table::", "   :class: numbers", "   :widths: 18 27 55", "   :header-rows: 1", ""]
        lines += ["   * - message, severity, module, point", "     - what", "     - when, in which functions"]
        for error in sorted(error for error in rows if error.module == module):
            name, meaning = messages[error.message]
            lines += [f"   * - .. _{label_of(error)}:", "", f"       **{exports.in_numbers(error)}**"]
            lines += [f"     - :c:enumerator:`{name}`", "", f"       {escaped(meaning)}"]
            in_words = label_of(error).replace("error-", "failure-")
            if in_words in site.failures_in_words():
                lines += ["", f"       :ref:`in words, and what to do <{in_words}>`"]
            cells = []
            for who, when in rows[error]:
                cells.append(": ".join(part for part in (who, escaped(plain_when(when))) if part))
            lines += ["     - " + cells[0]] + [line for cell in cells[1:] for line in ("", "       " + cell)]
        lines.append("")
    return lines


# --- all of it -----------------------------------------------------------------------------------


def page_of_all(headers, site):
    functions = sorted((f for header in headers for f in header.functions()), key=lambda f: f.name.lower())
    lines = [".. _reference:", ""] + heading("Reference", "=")
    lines += [
        f"{len(functions)} functions, by header and in the order of their names. What is said on the pages is what",
        "the comments of the headers say; they are the reference for whoever has only them.", "",
        "Error numbers have :doc:`a page of their own <errors>`.", "",
    ]
    lines += heading("Headers", "-")
    lines += [".. list-table::", "   :class: functions", "   :widths: auto", ""]
    for header in headers:
        lines += [f"   * - {header_link(header)}", f"     - {escaped(header.title[0].upper() + header.title[1:])}"]
    for path in sorted((site.root / "include").glob("*.hpp")):
        site.documents.shown.add(f"include/{path.name}")
        about = " ".join(re.search(r"/\*(.*?)\n \*\n", path.read_text(), re.S).group(1).replace("\n *", " ").split())
        lines += [f"   * - :doc:`{path.name} </include/{path.name}>`", f"     - {escaped(about)}"]
    lines += [""] + heading("Functions", "-") + function_table(functions)
    lines += [".. toctree::", "   :hidden:", "", "   errors"]
    return lines + [f"   {header.page}" for header in headers] + [""]


def write(headers, site):
    folder = site.folder / "reference"
    folder.mkdir(parents=True, exist_ok=True)
    pages = {"index": page_of_all(headers, site), "errors": page_of_errors(headers, site)}
    for header in headers:
        pages[header.page] = page_of_header(header, site)
        for function in header.functions():
            pages[function.name] = page_of_function(function, site)
    if len({name.lower() for name in pages}) != len(pages):
        raise SystemExit("two pages of the reference would be one file where case does not count")
    for name, lines in pages.items():
        (folder / f"{name}.rst").write_text("\n".join(lines).rstrip() + "\n")
