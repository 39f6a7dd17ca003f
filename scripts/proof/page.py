"""Writes the page from what the results say, and from nothing else."""

from . import results, rows
from .numbers import counted, day

TITLE = "# Reliability"
SENTENCES = """\
What was tried on this library, in figures that the run which tried it has written here; nobody enters
any by hand. `./run proof` makes all of them again in under two hours on two processor cores, and the
last column of the table has the command for one alone. What was not measured, or failed, says so."""
NOT_TOLD = "nothing told it"


def head_of(stored):
    """The newest result: the page's date, commit and machine are its own."""
    return max(stored.values(), key=lambda result: result["date"], default=None)


def commit_of(result):
    return f"`{result['commit'][:10]}`" + " with changes" * result["changed"]


def machine_of(result):
    machine = result["machine"]
    names = ("processor", "cores", "memory", "system", "wine", "compiler")
    known = machine | {"cores": counted(machine["cores"], "core")}
    return ", ".join(str(known[name]) for name in names)


def beside(result, head):
    """What a result that is not of the head's commit, machine and day has beside its figure."""
    notes = []
    if commit_of(result) != commit_of(head):
        notes.append(f"at {commit_of(result)}")
    if day(result["date"]) != day(head["date"]):
        notes.append(f"on {day(result['date'])}")
    if result["machine"] != head["machine"]:
        notes.append(f"with {result['machine']['processor']}, {result['machine']['wine']}")
    return f" ({', '.join(notes)})" if notes else ""


def value_of(row, result):
    """Words of a figure, or None and why there are none."""
    if result is None:
        return None, ""
    try:
        words = row.words(result["figures"]) if result["figures"] else None
    except (LookupError, TypeError):
        return None, "kept by another version of this page"
    return words, "" if words is not None else result["reason"] or NOT_TOLD


def cell_of(row, result, head):
    words, why = value_of(row, result)
    if result is None:
        return "not measured"
    if result["state"] == results.FAILED and rows.is_first_of_its_step(row):
        text = f"**failed**: {result['reason']}" + f"; {words}" * bool(words)
    elif words is None:
        text = f"not measured: {why}"
    else:
        text = words + ", in a step that failed" * (result["state"] == results.FAILED)
    return text + beside(result, head)


def table(stored, head):
    yield "| figure | value | made by |"
    yield "|---|---|---|"
    for row in all_rows(stored):
        cell = cell_of(row, stored.get(row.step), head).replace("|", "\\|").replace("\n", " ")
        yield f"| {row.name} | {cell} | `{row.command}` |"


def all_rows(stored):
    """Those of the table, and one for each count that tests tell and that has no place there."""
    told = (stored.get("long") or {}).get("figures", {}).get("counts", {})
    return rows.TABLE + [rows.count_row((name[0].upper() + name[1:], name))
                         for name in sorted(told) if not rows.has_its_place(name)]  # fmt: skip


# --- the sections ---------------------------------------------------------------------------------


def figures_of(stored, step):
    return (stored.get(step) or {}).get("figures") or {}


def never_provoked(stored, head):
    figures = figures_of(stored, "failures")
    if not figures:
        yield "Not measured."
    elif not figures["never"]:
        yield "None: every one was."
    for row, names, reason in figures.get("never", []):
        yield f"- {row} ({names}): {reason or '**no reason is known**'}"


def soak_chart(stored, head):
    chart = figures_of(stored, "soak").get("chart")
    if not chart:
        yield "Not measured."
        return
    yield "Time goes from left to right; the least is a dot, the most a hash."
    yield ""
    yield from ["```text", *chart, "```"]


def survivors(stored, head):
    figures = figures_of(stored, "mutate")
    if not figures:
        yield "Not measured."
    elif not figures["survivors"]:
        yield "None."
    else:
        yield "```diff"
        for place, before, after in figures["survivors"]:
            yield from [f"@@ {place}", f"- {before}", f"+ {after}"]
        yield "```"


def not_measured(stored, head):
    missing = [(row.name, *value_of(row, stored.get(row.step))) for row in all_rows(stored)]
    lines = [f"- {name}" + f": {why}" * bool(why) for name, words, why in missing if words is None]
    yield from lines or ["Nothing: every figure above was."]


SECTIONS = [
    ("Failures that no test makes happen", never_provoked),
    ("Memory, handles and drawing objects while everything is done again and again", soak_chart),
    ("Changes of the product that no test noticed", survivors),
    ("Not measured", not_measured),
]


def page(stored):
    """The text of the page, of {step: result}."""
    head = head_of(stored)
    lines = [TITLE, "", SENTENCES, ""]
    if head:
        lines += [f"Measured on {day(head['date'])} at commit {commit_of(head)}.",
                  f"Machine: {machine_of(head)}.", ""]  # fmt: skip
    else:
        lines += ["Nothing has been measured yet.", ""]
    lines += table(stored, head)
    for title, section in SECTIONS:
        lines += ["", f"## {title}", "", *section(stored, head)]
    return "\n".join(lines) + "\n"
