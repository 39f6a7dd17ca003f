"""What runs have found, in build/mutate/results: a later run takes over what still holds.

A killed change stays killed while the changed file is as it was, and the test that noticed it, too.
One that survived is tried again as soon as anything in src/ or tests/ is another.
"""

import hashlib
import json
import pathlib
import re

TEST = re.compile(r"\b(?:TYPED_)?TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\s*\)")
NAME = re.compile(r"(?:\w+/)?(\w+)(?:/\w+)?\.(\w+)(?:/\w+)?")  # as GoogleTest prints it

LISTS = ["tests/mutation/equivalent.txt"]  # no test: looked up before anything is tried


def digest(*texts):
    return hashlib.sha256("\0".join(texts).encode()).hexdigest()


def digests_of_tests(root):
    """Of the file that each test stands in."""
    found = {}
    for path in sorted((root / "tests").rglob("*.cpp")):
        text = path.read_text()
        for suite, name in TEST.findall(text):
            found[suite, name] = digest(found.get((suite, name), ""), text)
    return found


class Results:
    def __init__(self, root, path, round_name):
        """All is read now: whoever writes tests while a run is at work does not change what it found."""
        self.path = pathlib.Path(path)
        folders = [root / "src", root / "tests"]
        files = [p for folder in folders for p in sorted(folder.rglob("*")) if p.suffix != ".pyc"]
        texts = {p: p.read_bytes().decode(errors="replace") for p in files if p.is_file()}
        self.sources = {p.relative_to(root).as_posix(): digest(text) for p, text in texts.items()}
        counted = {name: text for name, text in self.sources.items() if name not in LISTS}
        self.everything = digest(round_name, *counted, *counted.values())
        self.tests = digests_of_tests(root)
        self.known = {}
        if self.path.exists():
            for line in self.path.read_text().splitlines():
                row = json.loads(line)
                self.known[row["change"]] = row

    def key(self, change):
        place = (str(change.start), str(change.end), change.text)
        return digest(change.path, self.sources[change.path], *place)

    def stands_on(self, result, why):
        """What must be the same for a result to hold."""
        if result == "survived":
            return self.everything
        if result != "killed":
            return ""
        test = NAME.search(why.partition(" ")[2].partition(" ")[2])  # "by ENTRY TEST"
        return self.tests.get(test.groups() if test else None, self.everything)

    def earlier(self, change):
        """Result and reason, when they still hold."""
        row = self.known.get(self.key(change))
        if row and row["stands on"] == self.stands_on(row["result"], row["why"]):
            return row["result"], row["why"]
        return None

    def add(self, change, result, why):
        row = {"change": self.key(change), "place": change.place, "result": result, "why": why}
        row["stands on"] = self.stands_on(result, why)
        with open(self.path, "a") as file:
            file.write(json.dumps(row) + "\n")
