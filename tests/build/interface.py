"""What programs see of the library: all in headers and exports that compiled programs rely on, as a table.

The headers' text gives the names; what each stands for is asked of the compiler, by a program that is
run: sizes, offsets, values, and types without the names that they go by. Types of functions hold their
calling convention.
"""

import collections
import pathlib
import re
import subprocess

import pe_file

Fact = collections.namedtuple("Fact", "value words")  # compared; said to people

# Macros of the headers' own declarations, which no program uses.
INTERNAL = re.compile(r"\w+_(H|API|CALL|BEGIN_DECLS|END_DECLS|INLINE)|Q32BASE_TEXT_\w+")
# Programs compare with these; what they say changes with each release.
CHANGING = re.compile(r"Q32BASE_VERSION\w*")

PROGRAM = """
#include <q32base.h>
#include <q32base/loaded_version.h>
#include <q32comm.h>
#include <q32comm_log.h>
#include <cstddef>
#include <cstdio>
#include <cxxabi.h>
#include <typeinfo>

template <typename T> const char *words() {
    return abi::__cxa_demangle(typeid(T).name(), nullptr, nullptr, nullptr);
}
template <typename T> void type(const char *kind, const char *name) {
    std::printf("%s\\t%s\\t%s\\t%s\\n", kind, name, typeid(T).name(), words<T>());
}
template <typename T> void field(const char *name, std::size_t offset) {
    std::printf("field\\t%s\\t%u %u %s\\tat byte %u, %u bytes, %s\\n", name, unsigned(offset),
                unsigned(sizeof(T)), typeid(T).name(), unsigned(offset), unsigned(sizeof(T)), words<T>());
}
void record(const char *name, std::size_t size, std::size_t alignment) {
    std::printf("record\\t%s\\t%u %u\\t%u bytes, aligned to %u\\n", name, unsigned(size),
                unsigned(alignment), unsigned(size), unsigned(alignment));
}
template <typename T> void constant(const char *name, T given) {
    const long long value = static_cast<long long>(given);
    std::printf("constant\\t%s\\t%I64d\\t%I64d\\n", name, value, value);
}
void constant(const char *name, const char *text) {
    std::printf("constant\\t%s\\t%s\\t%s\\n", name, text, text);
}
int main() {
%s
}
"""


class Headers:
    """The names that the headers declare."""

    def __init__(self, include):
        text = "\n".join(path.read_text() for path in sorted(include.rglob("*.h")))
        code = re.sub(r"\\\n", " ", re.sub(r"/\*.*?\*/", " ", text, flags=re.DOTALL))
        self.macros = dict(re.findall(r"^#define (\w+)\b((?:\(| +\S).*)$", code, re.MULTILINE))
        self.macros = {name: body for name, body in self.macros.items() if not INTERNAL.fullmatch(name)}
        code = re.sub(r"^#.*$", "", code, flags=re.MULTILINE)
        self.functions = re.findall(r"^\w+_(?:API|INLINE)\b[^;{}()]*?\b(\w+)\s*\(", code, re.MULTILINE)
        enums = "".join(re.findall(r"\benum \w+ \{(.*?)\}", code, re.DOTALL))
        self.enumerators = re.findall(r"(\w+) =", enums)
        self.records = {
            name: re.findall(r"(\w+)(?:\[\w+\])*;", body)
            for body, name in re.findall(r"\btypedef struct \w+ \{(.*?)\} (\w+);", code, re.DOTALL)
        }
        without_records = re.sub(r"\btypedef struct \w+ \{.*?\} \w+;", "", code, flags=re.DOTALL)
        functions = r"\(\w+ (\w+)\)\([^;]*;"
        self.types = re.findall(rf"\btypedef [^;{{}}()]*{functions}", without_records)
        self.types += re.findall(r"\btypedef [^;{}()]*\b(\w+);", without_records)


def program_that_asks(headers):
    lines = [f'type<decltype({name})>("function", "{name}");' for name in headers.functions]
    lines += [f'type<{name}>("type", "{name}");' for name in headers.types]
    for name, fields in headers.records.items():
        lines.append(f'record("{name}", sizeof({name}), alignof({name}));')
        lines += [
            f'field<decltype({name}::{field})>("{name}.{field}", offsetof({name}, {field}));' for field in fields
        ]
    constants = [*headers.enumerators]
    constants += [name for name, body in headers.macros.items() if body[0] == " " and not CHANGING.fullmatch(name)]
    lines += [f'constant("{name}", {name});' for name in constants]
    return PROGRAM.replace("%s\n}", "    " + "\n    ".join(lines) + "\n}")


def run(command, **options):
    result = subprocess.run(command, text=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=300, **options)
    if result.returncode:
        raise RuntimeError(f"{' '.join(map(str, command))}\n{result.stdout}{result.stderr}")
    return result.stdout


def expect_all_bytes_named(facts, headers):
    """A field that was overlooked would not be compared: records have gaps for alignment only."""
    for record, fields in headers.records.items():
        size, alignment = map(int, facts["record", record].value.split())
        end = 0
        for field in fields:
            offset, field_size = map(int, facts["field", f"{record}.{field}"].value.split()[:2])
            if not 0 <= offset - end < alignment:
                raise RuntimeError(f"{record}.{field} does not follow the field before it")
            end = offset + field_size
        if not 0 <= size - end < alignment:
            raise RuntimeError(f"fields at the end of {record} were not found")


def interface_of(include, dlls, work, cxx, emulator):
    """{(kind, name): Fact} of the headers of a folder and of the exports of some DLLs."""
    headers = Headers(pathlib.Path(include))
    source, program = work / "ask.cpp", work / "ask.exe"
    source.write_text(program_that_asks(headers))
    run([cxx, "-std=gnu++20", "-static", f"-I{include}", source, "-o", program])
    facts = {}
    for line in run([emulator, program]).splitlines():
        kind, name, value, words = line.split("\t")
        facts[kind, name] = Fact(value, words.replace("( ", "(__"))  # (__stdcall)
    expect_all_bytes_named(facts, headers)
    for name, body in headers.macros.items():
        if body[0] == "(" or CHANGING.fullmatch(name):
            facts["macro", name] = Fact("", "")
    for dll in dlls:
        for name in pe_file.PeFile(dll).exports():
            facts["export", f"{pathlib.Path(dll).name} {name}"] = Fact("", "")
    return facts
