"""What a public header holds, in its order: sections, their prose, functions, types and constants.

The comments are taken as they stand; docs/exports.py says what of them is a purpose and a report.
"""

import dataclasses
import re

import exports

TOKEN = re.compile(r"/\*.*?\*/|[{}]|\n|[^/{}\n]+|/", re.DOTALL)
SECTION = re.compile(r"^/\* -{3,} (.*?) -{3,} \*/$")
FUNCTION = re.compile(r"^Q32(?:COMM)?_API\b(?P<result>[^;()]*?)\b(?P<name>\w+)\s*\((?P<arguments>[^;]*)\)\s*;", re.M)
INLINE = re.compile(r"^Q32_INLINE ([^;{]*?\)) \{\n.*?^\}", re.M | re.S)
MACRO = re.compile(r"^#define (\w+(?:\([\w, ]*\))?)[ \t]+([^\n]*?)[ \t]*(?:/\*(.*?)\*/[ \t]*)?$", re.M | re.S)
RECORD = re.compile(r"^typedef struct (\w+) \{\n(.*?)^\} \w+;", re.M | re.S)
MEMBER = re.compile(r"^\s*([^;/]+);[ \t]*(?:/\*(.*?)\*/)?", re.M | re.S)
ENUM = re.compile(r"^enum (\w+) \{\n(.*?)^\};", re.M | re.S)
ENUMERATOR = re.compile(r"^\s*(\w+) = (\d+),?[ \t]*(?:/\*(.*?)\*/)?", re.M | re.S)
FUNCTION_TYPE = re.compile(r"^typedef (\w+)\s*\((\w+) (\w+)\)\s*\(([^;]*)\);", re.M)
TYPE = re.compile(r"^typedef (\w+) (\w+);", re.M)
NOT_FOR_CALLERS = re.compile(
    r"^Q32(COMM)?_(API|CALL|INLINE|BEGIN_DECLS|END_DECLS)$|^Q32_RECORD_BYTES\b|^Q32BASE_TEXT_")


@dataclasses.dataclass
class Function:
    name: str
    signature: str
    result: str
    parameters: list
    text: str
    siblings: list  # functions that its comment describes, too
    purpose: str
    errors: dict  # {exports.Error: when}
    prose: list = dataclasses.field(default_factory=list)  # what its section says before it
    header: object = None


@dataclasses.dataclass
class Macro:
    name: str  # with its parameters
    value: str
    text: str

    @property
    def word(self):
        return self.name.split("(")[0]


@dataclasses.dataclass
class Record:
    kind: str  # struct, enum or type
    name: str
    declaration: str
    members: list  # (declaration, text)
    convention: str = ""


@dataclasses.dataclass
class Group:
    """Constants and types that share a comment."""

    text: str
    macros: list
    records: list


@dataclasses.dataclass
class Section:
    title: str
    items: list = dataclasses.field(default_factory=list)  # str (prose), Function, Group


@dataclasses.dataclass
class Header:
    name: str  # q32base/buffers.h
    title: str
    text: str
    sections: list

    @property
    def page(self):
        return self.name.rsplit("/", 1)[-1].replace(".h", "") + "-h"

    def functions(self):
        return [item for section in self.sections for item in section.items if isinstance(item, Function)]

    def groups(self):
        return [item for section in self.sections for item in section.items if isinstance(item, Group)]


def one_line(text):
    return " ".join(re.sub(r"^\s*\* ?", " ", text or "", flags=re.M).split())


def pieces_of(source):
    """The file's comments that stand alone on their lines, each with the code that follows it."""
    source = re.sub(r"^#ifdef __cplusplus\n(.*?\n)#endif$", "", source, flags=re.M | re.S)
    source = INLINE.sub(r"Q32_API \1;", re.sub(r"[ \t]*\\\n[ \t]*", " ", source))
    comment, code, depth, line = None, [], 0, ""
    for token in TOKEN.findall(source):
        if token.startswith("/*") and not depth and not line.strip():
            yield comment, "".join(code)
            comment, code, line = token, [], ""
            continue
        preprocessor = line.lstrip().startswith("#")
        depth += (token == "{") - (token == "}") if not preprocessor else 0
        line = "" if token == "\n" else line + token
        code.append(token)
    yield comment, "".join(code)


def words_of(comment):
    """A comment's text without its frame; lines of a frame without stars are indented as the first."""
    body = comment[2:-2]
    if not re.search(r"^\s*\*", body, re.M):
        body = re.sub(r"^ {3}", "", body, flags=re.M)
    return exports.plain(body)


def parameters_of(arguments):
    """Type and name of each."""
    if arguments.strip() in ("", "void"):
        return []
    found = [re.match(r"(.*?)(\w+)$", one_line(argument)) for argument in arguments.split(",")]
    return [(match.group(1).strip(), match.group(2)) for match in found]


def functions_of(text, code):
    matches = list(FUNCTION.finditer(code))
    names = [match["name"] for match in matches]
    errors = exports.errors_of(text, names)
    for match in matches:
        result = re.sub(r"\s*\bQ32(COMM)?_CALL\b\s*", " ", one_line(match["result"])).strip()
        gap = "" if result.endswith("*") else " "
        signature = f"{result}{gap}{match['name']}({one_line(match['arguments'])})"
        siblings = [name for name in names if name != match["name"]]
        yield Function(
            match["name"], signature, result, parameters_of(match["arguments"]), text, siblings,
            exports.purpose_of(text), errors[match["name"]],
        )


def macros_of(code):
    found = [Macro(name, value.strip(), one_line(text)) for name, value, text in MACRO.findall(code)]
    names = [macro.name for macro in found]
    return [
        macro for macro in found
        if macro.value and names.count(macro.name) == 1 and not NOT_FOR_CALLERS.match(macro.name)
    ]


def records_of(code):
    for name, body in RECORD.findall(code):
        members = [(one_line(declaration), one_line(text)) for declaration, text in MEMBER.findall(body)]
        yield Record("struct", name, name, members)
    for name, body in ENUM.findall(code):
        members = [(f"{one} = {value}", one_line(text)) for one, value, text in ENUMERATOR.findall(body)]
        yield Record("enum", name, name, members)
    for result, convention, name, arguments in FUNCTION_TYPE.findall(code):
        yield Record("type", name, f"int ({name})({one_line(arguments)})".replace("int", result, 1), [],
                     convention.replace("Q32_CALL", "__cdecl"))
    for type_, name in TYPE.findall(code):
        yield Record("type", name, f"{type_} {name}", [])


def read(path, root):
    source = path.read_text()
    name = str(path.relative_to(root / "include"))
    pieces = list(pieces_of(source))
    about = words_of(pieces[1][0])
    sections = [Section("")]
    for number, (comment, code) in enumerate(pieces[1:]):
        heading = SECTION.match(comment)
        if heading:
            sections.append(Section(heading.group(1)))
        text = "" if heading or not number else words_of(comment).strip("\n")
        functions = list(functions_of(text, code)) if text else []
        macros, records = macros_of(code), list(records_of(code))
        items = sections[-1].items
        if functions:
            prose = [item for item in items if isinstance(item, str)]
            for function in functions:
                function.prose = prose
            items += functions
        if macros or records:
            items.append(Group("" if functions else text, macros, records))
        elif text and not functions and code.strip() == "" and items and attached(source, comment):
            if isinstance(items[-1], Group):
                items[-1].text += "\n\n" + text
        elif text and not functions:
            items.append(text)
    header = Header(name, title_of(about), about, [section for section in sections if section.items])
    for function in header.functions():
        function.header = header
    return header


def attached(source, comment):
    """Whether a comment stands right below a line of code: then it is about that."""
    before = source[: source.index(comment)].rstrip(" ")
    return before.endswith("\n") and not before.endswith("\n\n")


def title_of(about):
    first = about.strip().split("\n\n")[0]
    return one_line(first).split(": ", 1)[-1].split(". ")[0].rstrip(".")


def version(root):
    """As the headers say it, or the build where they do not."""
    header = root / "include/q32base/version.h"
    if header.exists():
        return ".".join(re.findall(r"^#define Q32BASE_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)$", header.read_text(), re.M))
    return re.search(r"\bVERSION (\d+\.\d+\.\d+)", (root / "CMakeLists.txt").read_text()).group(1)


def all_headers(root):
    paths = sorted((root / "include/q32base").glob("*.h")) + sorted((root / "include").glob("q32comm*.h"))
    return [read(path, root) for path in paths]
