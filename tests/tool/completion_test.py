"""Completion in bash, sourced and asked as bash asks it."""

import pathlib
import subprocess

from tool_case import Program, ToolCase, environment

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "completion/q32tool.bash"

# What has been typed, word by word as bash splits it (the last one is being completed), and what is
# offered; "...": among others.
CASES = [
    ("sca", ["scale"]),
    ("resi", ["resize"]),
    ("--ver", ["--version"]),
    ("help|enl", ["enlarge"]),
    ("scale|--per", ["--percent"]),
    ("resize|--fi", ["--fit"]),
    ("scale|--method|n", ["nearest"]),
    ("scale|--method|=|bic", ["bicubic"]),
    ("scale|in.png|out.png|--swap-dir|f", ["folder"]),
    ("info|--storage|", ["memory", "file"]),
    ("info|--js", ["--json"]),
    ("bars|h", ["hsb"]),
    ("bars|--size|5x5|c", ["colour"]),
    ("crop|f", ["first.png", "folder"]),
    ("crop|first.png|--at|1,2|fi", ["first.png"]),
    ("convert|in.png|--to|f", ["folder"]),
    ("scale|--percent|5", []),
    ("nothing|--a", []),
    ("info|-q|--pro", ["--progress"]),
]


class Completion(ToolCase):
    def test_words(self):
        self.make_folder("folder")
        self.write("first.png", b"")
        lines = [f'source "{SCRIPT}"', 'q32tool() { "$Q_EMULATOR" "$Q_PROGRAM" "$@"; }']
        for typed, _ in CASES:
            words = " ".join(f"'{word}'" for word in ["q32tool", *typed.split("|")])
            lines.append(f"COMP_WORDS=({words}); COMP_CWORD=$((${{#COMP_WORDS[@]}} - 1)); _q32tool")
            lines.append('echo "${COMPREPLY[*]}"')
        emulator, program = Program.command
        done = subprocess.run(
            ["bash", "--norc", "-c", "\n".join(lines)],
            cwd=self.folder,
            env={**environment(), "Q_EMULATOR": emulator, "Q_PROGRAM": program},
            stdin=subprocess.DEVNULL,
            capture_output=True,
            timeout=60,
        )
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        offered = done.stdout.decode().splitlines()
        self.assertEqual(len(offered), len(CASES))
        for (typed, wanted), words in zip(CASES, offered):
            with self.subTest(typed=typed):
                self.assertEqual(sorted(words.split()), sorted(wanted))
