"""A copy of the project in which it is changed and built: build/mutate/NUMBER/source.

Everything the original's build left is kept, so that after each change sources and build folder are
put back as they were and the next change costs its own object files only.
"""

import os
import pathlib
import shutil
import subprocess

# Warnings are errors, and for people: what leaves a variable unused is to be tried all the same. Said
# in the changed file, so that all others are compiled as ever.
WARNINGS = """parentheses unused-variable unused-parameter unused-function unused-value return-type
    unused-but-set-variable unused-but-set-parameter unused-const-variable unused-local-typedefs
    misleading-indentation empty-body bool-compare type-limits tautological-compare sign-compare
    int-in-bool-context shift-count-negative shift-count-overflow shift-negative-value div-by-zero
    array-bounds array-compare stringop-overflow stringop-overread maybe-uninitialized uninitialized
    logical-not-parentheses bool-operation overflow restrict nonnull aggressive-loop-optimizations
    implicit-fallthrough switch narrowing memset-transposed-args sizeof-pointer-memaccess
    class-memaccess dangling-else infinite-recursion address free-nonheap-object""".split()
QUIET = "".join(f'_Pragma("GCC diagnostic ignored \\"-W{name}\\"") ' for name in WARNINGS)
PRODUCTS = ["bin/Q32BASE.DLL", "bin/q32comm.dll"]
BUILD_LIMIT = 600  # seconds


class Trouble(Exception):
    """Something that is no finding about a test: the run cannot go on."""


def run_quietly(command, folder, limit=None, **variables):
    """Runs a command to its end; returns whether that was good, and what it said."""
    process = subprocess.Popen(
        [str(part) for part in command],
        cwd=folder, env=os.environ | variables, start_new_session=True, text=True, errors="replace",
        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
    )  # fmt: skip
    try:
        output, _ = process.communicate(timeout=limit)
    except subprocess.TimeoutExpired:
        output = f"not done within {limit} seconds"
    finally:
        if process.poll() is None:
            os.killpg(process.pid, 9)
            process.wait()
    return process.returncode == 0, output


class Workshop:
    def __init__(self, root, number):
        self.root = pathlib.Path(root)
        self.folder = self.root / f"build/mutate/{number}"
        self.source = self.folder / "source"
        self.build_folder = self.source / "build/win32"
        self.originals = self.folder / "original"
        self.stamps = {}
        self.changed = None

    # The copy.

    def prepare(self, targets):
        """Copies the project as it lies here, and builds it as it is."""
        self.copy_sources()
        self.must("cmake", "--preset", "win32")
        self.must("nice", *self.build_command(targets))
        self.keep_originals()

    def copy_sources(self):
        listed = subprocess.run(
            ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
            cwd=self.root, check=True, stdout=subprocess.PIPE, text=True,
        ).stdout.split("\0")  # fmt: skip
        wanted = {name for name in listed if name and (self.root / name).is_file()}
        for name in wanted:
            original, copy = self.root / name, self.source / name
            if not copy.exists() or original.read_bytes() != copy.read_bytes():
                copy.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(original, copy)
        for path in sorted(self.source.rglob("*")):
            name = path.relative_to(self.source).as_posix()
            if path.is_file() and name not in wanted and not name.startswith("build/"):
                path.unlink()

    def build_command(self, targets):
        return ["cmake", "--build", "--preset", "win32", "--target", *targets]

    def must(self, *command):
        good, output = run_quietly(command, self.source)
        if not good:
            raise Trouble(f"{' '.join(map(str, command))}\n{output}")

    # What the build of the original left.

    def built_files(self):
        names = (".o", ".obj", ".a", ".dll", ".exe", ".gch", ".ninja_log", ".ninja_deps")
        for path in self.build_folder.rglob("*"):
            if path.name.lower().endswith(names) and path.is_file():
                yield path

    def keep_originals(self):
        shutil.rmtree(self.originals, ignore_errors=True)
        self.stamps = {}
        for path in self.built_files():
            kept = self.originals / path.relative_to(self.build_folder)
            kept.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy2(path, kept)
            self.stamps[path] = path.stat().st_mtime_ns

    def put_originals_back(self):
        for path, stamp in self.stamps.items():
            if not path.exists() or path.stat().st_mtime_ns != stamp:
                shutil.copy2(self.originals / path.relative_to(self.build_folder), path)

    # A change.

    def change(self, change):
        path = self.source / change.path
        source = path.read_text()
        self.changed = (path, source, path.stat().st_mtime_ns)
        path.write_text(QUIET + change.applied(source))

    def build(self, targets):
        # Nobody compiles a change twice: a cache would cost time and grow.
        command = self.build_command(targets)
        good, _ = run_quietly(command, self.source, BUILD_LIMIT, CCACHE_DISABLE="1")
        return good

    def products_are_the_same(self):
        return all(self.is_original(name) for name in PRODUCTS)

    def is_original(self, name):
        kept = self.originals / name
        return not kept.exists() or kept.read_bytes() == (self.build_folder / name).read_bytes()

    def undo(self):
        if self.changed is None:
            return
        path, source, stamp = self.changed
        path.write_text(source)
        os.utime(path, ns=(stamp, stamp))
        self.put_originals_back()
        self.changed = None
