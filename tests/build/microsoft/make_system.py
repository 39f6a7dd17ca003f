#!/usr/bin/env python3
"""Makes what a Microsoft linker needs of the system: make_system.py i686|x86_64 FOLDER

Import libraries of the system's DLLs, from the names that MinGW's import libraries have; that of the C
library, msvcrt.lib, also has the entry points of programs and what compilers call without being asked.
FOLDER/C-flags and CXX-flags are the flags with which MinGW's headers can be read.
"""

import pathlib
import re
import shutil
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
DLLS = ["msvcrt", "kernel32", "user32", "gdi32", "shell32", "advapi32", "ole32", "comdlg32", "windowscodecs"]
MACHINES = {"i686": "i386", "x86_64": "i386:x86-64"}

# What Clang does not say of itself in Microsoft's mode.
ARCH_FLAGS = {
    "i686": ["-D_X86_"],
    "x86_64": ["-D__GLIBCXX_TYPE_INT_N_0=__int128", "-D__GLIBCXX_BITSIZE_INT_N_0=128"],
}

# What compilers call and MinGW has in libraries of its own: exceptions, stacks of more than a page, and
# arithmetic of 64 bits.
COMPILER_CALLS = {
    "i686": {
        "msvcrt": ["_CxxThrowException@8", "__CxxFrameHandler3", "_purecall"],
        "ntdll": ["_chkstk", "_alldiv", "_allmul", "_allrem", "_aulldiv", "_aullrem"]
        + ["_allshl", "_allshr", "_aullshr"],
    },
    "x86_64": {
        "msvcrt": ["_CxxThrowException", "__CxxFrameHandler3", "_purecall"],
        "ntdll": ["__chkstk"],
    },
}

# MinGW counts by itself; the DLL does as well.
MATHEMATICS = "acos asin atan atan2 ceil cos exp floor fmod log log10 pow sin sqrt tan".split()


def run(*command):
    return subprocess.run([str(part) for part in command], check=True, text=True, capture_output=True).stdout


def imports(library, prefix):
    """The names that an import library of MinGW's gives, as lines of a .def file."""
    members = {}
    for line in run("llvm-nm", "--quiet", "-A", library).splitlines():
        member, kind, symbol = re.fullmatch(r".*:(\S+): +(?:[0-9a-f]+ )?(\S) (.*)", line).groups()
        members.setdefault(member, {})[symbol] = kind
    for symbols in members.values():
        if not any(name.startswith(prefix + "_head_") and kind == "U" for name, kind in symbols.items()):
            continue  # an object, no import
        for symbol in symbols:
            name = symbol.removeprefix("__imp_")
            # Names of C++ are left to start.cpp: linkers do not take them from a DLL once they are known.
            if name != symbol and name.startswith(prefix) and "?" not in name:
                yield name[len(prefix) :] + ("" if symbols.get(name) == "T" else " DATA")


def make_import_library(folder, arch, dll):
    prefix = "_" if arch == "i686" else ""
    names = set(COMPILER_CALLS[arch].get(dll, []) + (MATHEMATICS if dll == "msvcrt" else []))
    if dll in DLLS:
        names.update(imports(f"/usr/{arch}-w64-mingw32/lib/lib{dll}.a", prefix))
    def_file = folder / f"{dll}.def"
    def_file.write_text("\n".join([f"LIBRARY {dll}.dll", "EXPORTS", *sorted(names)]) + "\n")
    # -k: names have the bytes of their arguments in objects only, not in the DLL.
    run("llvm-dlltool", "-k", "-m", MACHINES[arch], "-d", def_file, "-l", folder / f"{dll}.lib")


def compiler_flags(arch, language):
    """MinGW's headers take a compiler for one that they know by the names of GCC's."""
    flags = ["-nostdlibinc"]
    if language == "CXX":
        folder = run(f"{arch}-w64-mingw32-g++-posix", "-print-file-name=include/c++").strip()
        flags += ["-nostdinc++", "-isystem", folder, "-isystem", f"{folder}/{arch}-w64-mingw32"]
        flags += ["-D_GLIBCXX_EXTERN_TEMPLATE=0", "-fno-threadsafe-statics"]
    flags += ["-isystem", f"/usr/{arch}-w64-mingw32/include", "-fgnuc-version=4.2.1"]
    flags += ["-D_CRTIMP=", "-D__declspec=__declspec", "-D__USE_MINGW_ANSI_STDIO=0"]
    flags += ["-Wno-unused-command-line-argument"]
    return flags + ARCH_FLAGS[arch]


def make_c_library(folder, arch):
    """Puts what the DLL does not have beside its imports, as Microsoft's own library does."""
    parts = []
    for dll in ("msvcrt", "ntdll"):
        parts.append(folder / f"{dll}-imports.lib")
        (folder / f"{dll}.lib").rename(parts[-1])
    for source in ("start.c", "windows_start.c", "start.cpp", "standard.cpp"):
        parts.append(folder / f"{source}.obj")
        language = "CXX" if source.endswith(".cpp") else "C"
        compiler = ["clang", f"--target={arch}-pc-windows-msvc", *compiler_flags(arch, language)]
        run(*compiler, "-O1", "-Wall", "-Wextra", "-Werror", "-c", HERE / source, "-o", parts[-1])
    run("llvm-lib", f"/out:{folder}/msvcrt.lib", *parts)
    run("llvm-ar", "qc", folder / "oldnames.lib")  # that objects ask for; nothing here has an old name


def main(arch, folder):
    folder = pathlib.Path(folder)
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    for dll in [*DLLS, "ntdll"]:
        make_import_library(folder, arch, dll)
    make_c_library(folder, arch)
    for language in ("C", "CXX"):
        (folder / f"{language}-flags").write_text(" ".join(compiler_flags(arch, language)) + "\n")
    (folder / "made").touch()


if __name__ == "__main__":
    try:
        main(*sys.argv[1:])
    except subprocess.CalledProcessError as failed:
        sys.exit(f"{' '.join(failed.cmd)}\nended with {failed.returncode}:\n{failed.stderr}")
