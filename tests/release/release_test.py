#!/usr/bin/env python3
"""What a release must have before anything is built: release_test.py SOURCE"""

import hashlib
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(sys.argv.pop())

CHANGELOG = """# Changelog

## [Unreleased]

## [2.3.4] - 2026-11-23

### Added

- A thing that was missing.

## [2.3.3] - 2026-10-01

- Older.
"""

VERSION = """#define Q32BASE_VERSION_MAJOR 2
#define Q32BASE_VERSION_MINOR 3
#define Q32BASE_VERSION_PATCH 4
"""

RUN = """#!/usr/bin/env bash
echo "ran $*"
mkdir -p build/package
[[ $1 != package ]] || for edition in win32 win64; do echo "$edition" >build/package/q32base-2.3.4-$edition.zip; done
"""


class Release(unittest.TestCase):
    """A small project with the script in it, in a repository of its own."""

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.root = pathlib.Path(scratch.name)
        (self.root / "scripts").mkdir()
        shutil.copy(SOURCE / "scripts/release.sh", self.root / "scripts")
        (self.root / "include/q32base").mkdir(parents=True)
        self.write("include/q32base/version.h", VERSION)
        self.write("CHANGELOG.md", CHANGELOG)
        self.write(".gitignore", "/build/\n")
        self.write("run", RUN)
        (self.root / "run").chmod(0o755)
        self.git("init", "-q")
        self.commit()

    def write(self, name, text):
        (self.root / name).write_text(text)

    def git(self, *arguments):
        identity = ["-c", "user.name=nobody", "-c", "user.email=nobody@invalid", "-c", "commit.gpgsign=false"]
        subprocess.run(["git", *identity, *arguments], cwd=self.root, check=True, capture_output=True)

    def commit(self):
        self.git("add", "-A")
        self.git("commit", "-q", "--allow-empty", "-m", "a change")

    def release(self, *arguments):
        return subprocess.run(["scripts/release.sh", *arguments], cwd=self.root, capture_output=True, text=True)

    def assert_refused(self, *complaints):
        ran = self.release()
        self.assertEqual(ran.stderr, "".join(f"Not ready: {complaint}\n" for complaint in complaints))
        self.assertEqual(ran.stdout, "")
        self.assertEqual(ran.returncode, 1)

    def test_ready(self):
        ran = self.release("--check")
        self.assertEqual((ran.returncode, ran.stdout, ran.stderr), (0, "2.3.4: the tree and the papers are ready\n", ""))

    def test_a_release(self):
        ran = self.release()
        self.assertEqual((ran.returncode, ran.stderr), (0, ""))
        lines = ran.stdout.splitlines()
        self.assertEqual(lines[1:4], ["ran test", "ran test long", "ran package"])
        for edition in ("win32", "win64"):
            digest = hashlib.sha256(f"{edition}\n".encode()).hexdigest()
            self.assertIn(f"\n{digest}  q32base-2.3.4-{edition}.zip\n", ran.stdout)
        self.assertIn('git tag -s v2.3.4 -m "Q32BASE 2.3.4"', ran.stdout)
        notes = self.root / "build/package/notes-2.3.4.md"
        self.assertEqual(notes.read_text().strip(), "### Added\n\n- A thing that was missing.")

    def test_nothing_goes_on_after_a_failed_test(self):
        self.write("run", "#!/bin/sh\necho \"ran $*\"\n[ \"$2\" != long ]\n")
        self.commit()
        ran = self.release()
        self.assertEqual(ran.returncode, 1)
        self.assertNotIn("ran package", ran.stdout)

    def test_changes_that_are_not_committed(self):
        self.write("new.txt", "new\n")
        self.assert_refused("the tree has changes that are not committed")

    def test_no_section(self):
        self.write("CHANGELOG.md", CHANGELOG.replace("[2.3.4]", "[2.3.40]"))
        self.commit()
        self.assert_refused('CHANGELOG.md has no section "## [2.3.4] - YYYY-MM-DD"',
                            "the section of 2.3.4 in CHANGELOG.md says nothing")

    def test_no_date(self):
        self.write("CHANGELOG.md", CHANGELOG.replace("- 2026-11-23", "- soon"))
        self.commit()
        self.assert_refused('CHANGELOG.md has no section "## [2.3.4] - YYYY-MM-DD"')

    def test_an_empty_section(self):
        self.write("CHANGELOG.md", CHANGELOG.replace("### Added\n\n- A thing that was missing.\n", ""))
        self.commit()
        self.assert_refused("the section of 2.3.4 in CHANGELOG.md says nothing")

    def test_entries_of_no_version(self):
        self.write("CHANGELOG.md", CHANGELOG.replace("## [Unreleased]\n", "## [Unreleased]\n\n- Something.\n"))
        self.commit()
        self.assert_refused('CHANGELOG.md has entries under "Unreleased": give them to 2.3.4, or to a later one')

    def test_a_tag_of_another_commit(self):
        self.git("tag", "v2.3.4")
        self.assertEqual(self.release("--check").returncode, 0)
        self.commit()
        self.assert_refused("the tag v2.3.4 is on another commit: raise the version")


if __name__ == "__main__":
    unittest.main()
