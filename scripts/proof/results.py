"""What steps have measured, kept in a file for each: when, of which commit, on which machine. And what
commit and machine these are now."""

import datetime
import json
import os
import pathlib
import re
import subprocess

PAGE = "docs/reliability.md"  # written by the run itself: no change of what was measured
PASSED, FAILED, NOT_MEASURED = "passed", "failed", "not measured"


def output_of(root, *words):
    try:
        return subprocess.run(words, cwd=root, text=True, check=True, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout.strip()  # fmt: skip
    except (OSError, subprocess.CalledProcessError):
        return ""


def state_of_the_tree(root):
    """The last commit that changed more than the page, and whether the tree has changes since."""
    others = ["--", ".", f":!{PAGE}"]
    commit = output_of(root, "git", "log", "-1", "--format=%H", *others)
    return {"commit": commit, "changed": bool(output_of(root, "git", "status", "--porcelain", *others))}


def first(pattern, path):
    try:
        match = re.search(pattern, pathlib.Path(path).read_text(), re.MULTILINE)
    except OSError:
        match = None
    return match[1].strip() if match else "unknown"


def machine(root):
    memory = first(r"^MemTotal: +(\d+) kB", "/proc/meminfo")
    compiler = output_of(root, "i686-w64-mingw32-g++-posix", "-dumpfullversion")
    return {
        "processor": first(r"^model name\s*: (.+)$", "/proc/cpuinfo"),
        "cores": len(os.sched_getaffinity(0)),
        "memory": f"{int(memory) / (1 << 20):.1f} GiB of memory" if memory.isdigit() else memory,
        "system": first(r'^PRETTY_NAME="(.+)"$', "/etc/os-release"),
        "wine": output_of(root, "wine", "--version") or "unknown",
        "compiler": f"GCC {compiler.partition('-')[0]}" if compiler else "unknown",
    }


class Results:
    def __init__(self, root, folder):
        self.root, self.folder = root, pathlib.Path(folder)
        self.machine = machine(root)

    def keep(self, step, state, figures=None, reason="", seconds=0.0):
        result = {
            "step": step.name,
            "state": state,
            "reason": reason,
            "figures": figures or {},
            "seconds": round(seconds, 1),
            "date": datetime.datetime.now().astimezone().isoformat(timespec="seconds"),
            "machine": self.machine,
        } | state_of_the_tree(self.root)
        if step.of_the_commit:
            result["changed"] = False
        self.folder.mkdir(parents=True, exist_ok=True)
        path = self.folder / f"{step.name}.json"
        path.with_suffix(".new").write_text(json.dumps(result, indent=1) + "\n")
        path.with_suffix(".new").replace(path)
        return result

    def are_of_this_tree(self, name):
        """Whether what a step has left behind is of the commit that lies here."""
        stored = self.read().get(name)
        return stored is not None and stored["state"] != NOT_MEASURED and all(
            stored[key] == value for key, value in state_of_the_tree(self.root).items()
        )

    def read(self):
        """{name of the step: its result}"""
        found = {}
        for path in sorted(self.folder.glob("*.json")):
            found[path.stem] = json.loads(path.read_text())
        return found
