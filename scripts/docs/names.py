"""An extension of the builder: every name of a function, type or constant in text, and every error
number, becomes a link to where it is described."""

import re

from docutils import nodes
from sphinx import addnodes

LEFT_ALONE = (
    nodes.title, nodes.reference, nodes.raw, nodes.comment, nodes.target, nodes.math,
    addnodes.pending_xref, addnodes.desc_signature, addnodes.download_reference, nodes.Invisible,
)
NUMBERS = re.compile(r"\b(\d{4}), ([012]), (\d+), (\d+(?: / \d+)*)")


def settle(app):
    """What there is to link to, once."""
    import exports
    import headers
    import reference

    all_headers = headers.all_headers(app.config.q32_root)
    kinds, families = {}, {}
    for header in all_headers:
        for function in header.functions():
            kinds[function.name] = "func"
        for group in header.groups():
            for macro in group.macros:
                kinds[macro.word] = "macro"
            for record in group.records:
                kinds[record.name] = record.kind
                for declaration, _ in record.members if record.kind == "enum" else []:
                    kinds[declaration.split(" ")[0]] = "enumerator"
            for prefix in prefixes_of([macro.word for macro in group.macros]):
                if len(group.macros) > families.get(prefix, (0,))[0]:
                    families[prefix] = (len(group.macros), group.macros[0].word)
    families = {prefix: name for prefix, (_, name) in families.items()}
    families["D32_"] = "D32_TILES"  # where its values are spoken of, the mode of a job is meant
    app.q32_kinds, app.q32_families = kinds, families
    app.q32_errors = {exports.in_numbers(error): reference.label_of(error) for error in reference.error_rows(app.config.q32_root)}
    for header in all_headers:  # by its whole name and by its last part
        for name in {header.name, header.name.rsplit("/", 1)[-1]}:
            kinds[name] = "/reference/" + header.page
    words = sorted(list(kinds) + list(families), key=len, reverse=True)
    app.q32_words = re.compile(r"(?<![\w./\\])(?:" + "|".join(map(re.escape, words)) + r")(?!\w)|" + NUMBERS.pattern)


def prefixes_of(names):
    """Beginnings that end in an underscore and that several names share."""
    counts = {}
    for name in names:
        for match in re.finditer("_", name):
            counts.setdefault(name[: match.end()], []).append(name)
    return [prefix for prefix, those in counts.items() if len(those) > 1]


def to_name(app, shown, name):
    kind = app.q32_kinds[name]
    if kind.startswith("/"):
        return addnodes.pending_xref(
            "", refdomain="std", reftype="doc", reftarget=kind, refexplicit=True, refwarn=True)
    return addnodes.pending_xref(
        "", refdomain="c", reftype=kind, reftarget=name, refexplicit=shown != name, refwarn=True)


def to_error(shown, label):
    node = addnodes.pending_xref(
        "", refdomain="std", reftype="ref", reftarget=label, refexplicit=True, refwarn=True)
    node += nodes.inline("", shown, classes=["std", "std-ref"])
    return node


def parts_of(app, docname, match):
    """The nodes that stand for a name or for numbers; None: text."""
    shown = match.group(0)
    if match.group(1):
        message, severity, module, points = match.groups()
        result = []
        for number, point in enumerate(points.split(" / ")):
            label = app.q32_errors.get(f"{message}, {severity}, {module}, {point}")
            if label is None:
                return None
            result += [nodes.Text(" / ")] if number else []
            result.append(to_error(point if number else f"{message}, {severity}, {module}, {point}", label))
        return result
    name = app.q32_families.get(shown, shown)
    code = nodes.literal("", shown)
    if f"/{docname}" in (f"/reference/{name}", app.q32_kinds[name]):
        return [code]
    node = to_name(app, shown, name)
    node += code
    return [node]


def split(app, docname, text, in_code):
    result, at = [], 0
    for match in app.q32_words.finditer(text):
        parts = parts_of(app, docname, match)
        if parts is None:
            continue
        if in_code:  # code within code would be drawn twice
            for part in list(parts):
                for code in list(part.findall(nodes.literal)):
                    replacement = nodes.inline("", code.astext())
                    if code is part:
                        parts[parts.index(part)] = nodes.Text(code.astext())
                    else:
                        code.parent.replace(code, replacement)
        result += [nodes.Text(text[at : match.start()])] + parts
        at = match.end()
    return result + [nodes.Text(text[at:])] if result else None


def link_names(app, doctree):
    docname = app.env.docname
    for text in list(doctree.findall(nodes.Text)):
        parents, node = [], text.parent
        while node is not None:
            parents.append(node)
            node = node.parent
        if any(isinstance(parent, LEFT_ALONE) for parent in parents):
            continue
        block = next((parent for parent in parents if isinstance(parent, nodes.literal_block)), None)
        if block is not None and "language" in block:  # a listing, which is coloured
            continue
        if docname == "reference/errors" and isinstance(text.parent, nodes.strong):  # the rows' own numbers
            continue
        in_code = block is not None or isinstance(text.parent, nodes.literal)
        parts = split(app, docname, text.astext(), in_code)
        if parts is not None:
            text.parent.replace(text, parts)


def setup(app):
    app.add_config_value("q32_root", None, "env")
    app.connect("builder-inited", settle)
    app.connect("doctree-read", link_names)
    return {"parallel_read_safe": True, "parallel_write_safe": True}
