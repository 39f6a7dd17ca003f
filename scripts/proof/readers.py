"""What the tools print, read into figures: each reader takes the outputs of a step's commands, in
their order, and returns a dictionary that can be stored. Output that does not say what it should
raises Unreadable."""

import collections
import re
import statistics

TEST = re.compile(r"^ *\d+/\d+ Test +#\d+: (\S+) \.*(.*?) +[\d.]+ sec", re.MULTILINE)
SUMMARY = r"tests passed, (\d+) tests failed out of (\d+)"
PEERS = re.compile(r"^(?:The )?(.+?) beside other libraries")
JOB = re.compile(r"^(\S.*?) +(\d+) +\d+\.\d{3} .*?\d+\.\d{3}  (\S.*?) +(\d+\.\d\d)$")
CHECKSUM = re.compile(r'^\{"(\w+)", (\d+), (\d+), 0x([0-9A-F]+)\},$', re.MULTILINE)
EXPORTS = r"^\[Ordinal/Name Pointer\] Table.*\n((?:\s+\[ *\d+\].*\n?)+)"


class Unreadable(Exception):
    pass


class Output:
    """What a command printed: lines, each with the second at which it came."""

    def __init__(self, lines, seconds=0.0):
        self.lines, self.seconds = lines, seconds

    @property
    def text(self):
        return "\n".join(line for _, line in self.lines)

    def second_of(self, pattern):
        for second, line in self.lines:
            if re.search(pattern, line):
                return second
        raise Unreadable(f"no line {pattern!r}")


def found(pattern, text):
    match = re.search(pattern, text, re.MULTILINE)
    if not match:
        raise Unreadable(f"no line {pattern!r}")
    return match


# --- tests ----------------------------------------------------------------------------------------


def ctest(text):
    """How many of how many entries passed, and the names of the others."""
    match = found(SUMMARY, text)
    failed, of = map(int, match.groups())
    names = re.findall(r"^\t *\d+ - (\S+) \(", text[match.end() :], re.MULTILINE)
    return {"passed": of - failed, "of": of, "failed": names}


def why_failed(text):
    """The names of the entries that failed, in words, when a summary says so."""
    try:
        summary = ctest(text)
    except Unreadable:
        return None
    names = summary["failed"]
    return f"{len(names)} of {summary['of']} tests failed: {', '.join(names)}" if names else None


def ending(text, suffix):
    """[passed, of all] entries whose names end so."""
    fates = [fate for name, fate in TEST.findall(text) if name.endswith(suffix)]
    return [sum(fate.strip() == "Passed" for fate in fates), len(fates)]


def fresh(outputs):
    """The last command has built and tested a clone."""
    output = outputs[-1]
    starts = [(second, line.split()[1]) for second, line in output.lines
              if re.fullmatch(r"Building [\w-]+", line)]  # fmt: skip
    tests = output.second_of("^Internal ctest|^Test project")
    ends = [second for second, _ in starts[1:]] + [tests]
    builds = {name: end - start for (start, name), end in zip(starts, ends)}
    if not builds:
        raise Unreadable("no line 'Building ...'")
    return {"builds": builds, "tests": output.seconds - tests, "all": output.seconds} | ctest(
        output.text
    )


def rounds(outputs):
    short, medium = outputs
    return {
        name: {"seconds": output.seconds} | ctest(output.text)
        for name, output in (("short", short), ("medium", medium))
    }


def long_round(outputs, file, exports):
    """The file has what the test programs told; exports are the names of all that there are."""
    output = outputs[-1]
    seconds = output.seconds - output.second_of("^Internal ctest|^Test project")
    figures = {"seconds": seconds, "guarded": ending(output.text, ".guarded"), "exports": exports}
    return figures | told(file) | ctest(output.text)


def programs(outputs, file):
    """Test programs that have passed; how many tests, and what they told."""
    passed = [int(found(r"^\[  PASSED  \] (\d+) tests?\.$", output.text)[1]) for output in outputs[1:]]
    return {"tests": sum(passed)} | told(file)


def deaths(outputs):
    text = outputs[-1].text
    figures = {"kills": {}, "left": 0, "remain": 0}
    died = r"^(\w+), seed \d+: (\d+) deaths left (\d+) slots, (\d+) swap files, (\d+) record files$"
    for manner, kills, *left in re.findall(died, text, re.MULTILINE):
        figures["kills"][manner] = int(kills)
        figures["left"] += sum(map(int, left))
        remain = found(rf"^{manner}: (\d+) files after q32tool leftovers --remove$", text)
        figures["remain"] += int(remain[1])
    if not figures["kills"]:
        raise Unreadable("no line '... deaths left ...'")
    return figures


def soak(outputs):
    text = outputs[-1].text
    ran = found(r"^seed \d+: (\d+) cycles, (\d+) pixels$", text)
    chart = re.findall(r"^.+, first third [\d.]+, last third [\d.]+$", text, re.MULTILINE)
    milliseconds = found(r"OK \] Soak\.TheProcessStaysAsItWas \((\d+) ms\)", text)[1]
    cycles, pixels = map(int, ran.groups())
    return {"seconds": int(milliseconds) / 1000, "cycles": cycles, "pixels": pixels, "chart": chart}


def checksums(outputs):
    """One output for each instruction set. Each area's last line has all of its cases."""
    sums = [dict((row[0], row[1:]) for row in CHECKSUM.findall(output.text)) for output in outputs]
    if not all(sums):
        raise Unreadable("no line with a checksum")
    if any(other != sums[0] for other in sums):
        raise Unreadable("instruction sets with different checksums")
    pixels = sum(int(pixels) for _, pixels, _ in sums[0].values())
    return {"areas": len(sums[0]), "pixels": pixels, "sets": len(sums)}


# --- what programs of other kinds print -----------------------------------------------------------


def coverage(outputs):
    text = outputs[-1].text
    part = r" +(\d+) of +(\d+) +[\d.]+ %"
    kernels = found(rf"^  Kernels .*(?:\n  .+)*\n  all{part}$", text)
    drivers = found(rf"^  Drivers .*(?:\n  .+)*\n  all{part}{part}$", text)
    numbers = [int(number) for number in (*kernels.groups(), *drivers.groups())]
    names = ("kernel lines", "driver lines", "driver branches")
    return {name: numbers[2 * i : 2 * i + 2] for i, name in enumerate(names)}


def mutation(outputs):
    text = outputs[-1].text
    all_row = found(r"^all +(\d+) +(\d+) +(\d+) +(\d+) ", text)
    fates = dict(zip(("killed", "survived", "equivalent", "broken"), map(int, all_row.groups())))
    wanted, seed = found(r"^(\d+) changes, seed (\d+)$", text).groups()
    survivors = text.partition("\nSurvived:\n")[2]
    rows = re.findall(r"^(src/\S+:\d+)\n- (.*)\n\+ (.*)$", survivors, re.MULTILINE)
    return fates | {"wanted": int(wanted), "seed": int(seed), "survivors": rows}


def fuzzing(outputs):
    row = r"^fuzz (.+?): (\d+) executions in ([\d.]+) seconds, corpus of (\d+) files"
    rows = re.findall(row, outputs[-1].text, re.MULTILINE)
    if not rows:
        raise Unreadable("no line 'fuzz ...'")
    return {
        "targets": len(rows),
        "executions": sum(int(executions) for _, executions, _, _ in rows),
        "seconds": sum(float(seconds) for _, _, seconds, _ in rows),
        "corpus": sum(int(files) for _, _, _, files in rows),
    }


def hostile(outputs):
    names = ("calls", "exports", "seed", "crashes")
    row = found(r"^hostile calls: (\d+) calls of (\d+) exports, seed (\d+), (\d+) crashes$",
                outputs[-1].text)  # fmt: skip
    return dict(zip(names, map(int, row.groups())))


def speed(outputs):
    """Each family's jobs: our time as a part of the best peer's."""
    ratios, family = collections.defaultdict(list), None
    for _, line in outputs[-1].lines:
        if heading := PEERS.match(line):
            family = heading[1][0].upper() + heading[1][1:]
        elif (job := JOB.match(line)) and family:
            ratios[family].append(float(job[4]))
    if not ratios:
        raise Unreadable("no line of a job beside its peers")
    return {
        name: {"median": statistics.median(row), "least": min(row), "most": max(row), "jobs": len(row)}
        for name, row in ratios.items()
    }


def library(outputs):
    """Outputs: the build, the file's bytes, objdump's tables."""
    _, size, tables = outputs
    imports, name = collections.Counter(), None
    for line in tables.text.splitlines():
        if match := re.match(r"\s+DLL Name: (\S+)", line):
            name = match[1]
        elif re.match(r"\s+[0-9a-f]+\s+\d+\s+\w+\s*$", line) and name:
            imports[name] += 1
        elif not line.strip():
            name = None
    exports = found(EXPORTS, tables.text)[1]
    return {
        "bytes": int(found(r"^(\d+)", size.text)[1]),
        "exports": len(exports.strip().splitlines()),
        "imports": dict(imports),
    }


def rebuild(outputs):
    """The last output: sha256sum of the DLLs of both folders."""
    digests = collections.defaultdict(list)
    for digest, path in re.findall(r"^([0-9a-f]{64})  (.+)$", outputs[-1].text, re.MULTILINE):
        digests[path.rpartition("/")[2]].append(digest)
    if not digests or any(len(both) != 2 for both in digests.values()):
        raise Unreadable("not two digests of each DLL")
    for name, (one, other) in digests.items():
        if one != other:
            raise Unreadable(f"{name} differs between the two builds")
    return {name: both[0] for name, both in digests.items()}


# --- what test programs tell ----------------------------------------------------------------------


def told(path):
    """Counts added up, and values, of which the last one counts (tests/frame/figures.h). Programs that
    tell nothing make no file."""
    counts, values = collections.Counter(), {}
    for line in path.read_text().splitlines() if path.exists() else []:
        kind, *fields = line.split("\t")
        if kind == "count" and len(fields) == 2:
            counts[fields[0]] += int(fields[1])
        elif kind == "value" and len(fields) == 3:
            values[fields[0]] = [float(fields[1]), fields[2]]
        elif kind != "report" or len(fields) != 4:
            raise Unreadable(f"{path.name}: {line!r}")
    return {"counts": dict(counts), "values": values}
