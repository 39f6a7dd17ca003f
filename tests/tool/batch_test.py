"""Many pictures: which ones, where they go, what one that fails costs, and what is left behind."""

import contextlib
import os
import pathlib
import re
import signal
import subprocess
import time

import pictures
from program_case import long_round
from tool_case import CANCELLED, DONE, FAILED, USAGE, Program, ToolCase, environment, text

WAIT = 60  # seconds, for what is over in one


class BatchCase(ToolCase):
    def write_pictures(self, *names, width=8, height=6):
        """A picture of noise under each name, another one each."""
        for seed, name in enumerate(names):
            picture = pictures.noise(width, height, seed)
            self.write(name, (pictures.bmp if name.endswith(".bmp") else pictures.png)(picture))

    def assert_made(self, before, *names):
        self.assert_only_new(before, *names)
        self.assertLessEqual(set(names), set(self.files()))

    def workers(self):
        """The numbers of this test's worker processes."""
        found = []
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            with contextlib.suppress(OSError):
                words = (process / "cmdline").read_bytes().split(b"\0")
                if b"batch-worker" in words and pathlib.Path(process / "cwd").resolve() == (
                    self.folder.resolve()
                ):
                    found.append(int(process.name))
        return found

    def writing(self):
        """Those of them that have an output open. Others may be about to start, which would fail."""
        return [number for number in self.workers() if self.has_unfinished_file(number)]

    def has_unfinished_file(self, number):
        for descriptor in pathlib.Path(f"/proc/{number}/fd").glob("*"):
            with contextlib.suppress(OSError):
                if ".unfinished-" in os.readlink(descriptor):
                    return True
        return False

    def wait_until(self, true, what):
        end = time.monotonic() + WAIT
        while not true():
            self.assertLess(time.monotonic(), end, what)
            time.sleep(0.01)

    def unfinished(self):
        return [str(path) for path in self.folder.rglob("*.unfinished-*")]

    def in_number(self, line, word):
        """The count before a word of a summary."""
        match = re.search(rf"(\d+) {word}\b", line)
        return int(match[1]) if match else 0


class Names(BatchCase):
    def test_folder_is_made_and_names_are_kept(self):
        self.write_pictures("a b.png", "sub/größer.bmp", "x[1].png", "x1.png", ".hidden.png")
        before = self.files()
        said = self.succeed("scale", "*.png", "sub/g*.bmp", "--to", "out/", "--percent", "50")
        self.assertEqual(said, "4 pictures: 4 done\n")
        names = ["out/a b.png", "out/größer.bmp", "out/x[1].png", "out/x1.png"]
        self.assert_made(before, "out", *names)
        self.assertEqual({self.read(name).picture.width for name in names}, {4})

    def test_each_is_as_if_alone(self):
        self.write_pictures("a.png", "b.png", "sub/logo.png")
        self.convert("a.png", "alone.bmp", "--bits", "8", "--invert")
        self.succeed("convert", "a.png", "b.png", "--as", "bmp", "--to", "o", "--bits=8", "--invert")
        made = self.files()
        self.assertEqual(made["o/a.bmp"], made["alone.bmp"])
        self.assertNotEqual(made["o/b.bmp"], made["alone.bmp"])
        # What lies between IN and OUT is for all.
        self.succeed("paste", "a.png", "sub/logo.png", "one.png", "--at", "-5,2")
        self.succeed("paste", "a.png", "b.png", "sub/logo.png", "--to", "p", "--at", "-5,2")
        made = self.files()
        self.assertEqual(made["p/a.png"], made["one.png"])
        self.assertEqual({name for name in made if name[:2] == "p/"}, {"p/a.png", "p/b.png"})

    def test_outputs_of_other_kinds(self):
        self.write_pictures("a.png", "b.bmp")
        before = self.files()
        self.succeed("separate", "a.png", "b.bmp", "--to", ".", "--as", "tif")
        inks = ["cyan", "magenta", "yellow", "black", "proof"]
        self.assert_made(before, *[f"{name}-{ink}.tif" for name in "ab" for ink in inks])
        before = self.files()
        self.succeed("show", "a.png", "--depth-of", "256-colours", "--to", "shown", "--quiet")
        self.succeed("colorspace", "?.*", "--to", "grey", "--folder", "grey")
        self.assert_made(before, "shown", "shown/a.png", "grey", "grey/a.png", "grey/b.bmp")

    def test_what_is_lost_is_said(self):
        picture = pictures.noise(4, 3)
        self.write("a.png", pictures.png_with_alpha(picture, bytes(range(0, 240, 20))))
        self.write_pictures("b.png")
        convert = ["convert", "a.png", "b.png", "--as", "jpg", "--to", "out"]
        result = self.run_tool(*convert)
        self.assertEqual((result.code, result.out), (DONE, "2 pictures: 2 done\n"))
        self.assertRegex(result.err, r"\Aq32tool: note: out/a.jpg: [^\n]+\n\Z")
        self.assertEqual(self.succeed(*convert, "--quiet"), "")

    def test_in_place(self):
        self.write_pictures("a.png", "b.png")
        before = self.files()
        self.assertEqual(
            self.succeed("convert", "*.png", "--to", ".", "--invert"), "2 pictures: 2 done\n"
        )
        self.assert_only_new(before, "a.png", "b.png")
        self.assertNotEqual(self.files()["a.png"], before["a.png"])

    def test_wildcards(self):
        names = ["a1.png", "a2.png", "B3.png", "deep/one/b3.png", "deep/two/c.png", "d].png"]
        self.write_pictures(*names)

        def found(*words):
            said = self.succeed("info", *words)
            return re.findall(r"^file: (.*)$", said, re.MULTILINE)

        words = ["[ab]?.png", "[!a]*[0-9].png", "deep/*/?*.png", "d].png", "*2*"]
        wanted = [["a1.png", "a2.png", "B3.png"], ["B3.png"], names[3:5], ["d].png"], ["a2.png"]]
        self.assertEqual(found(*words), sum(wanted, []))
        self.assertEqual(found("*]*"), ["d].png"])
        self.assertEqual(found(f"{self.folder}/a?.PNG"), [f"{self.folder}/a{n}.png" for n in (1, 2)])

    def test_lists(self):
        self.write_pictures("a b.png", "ö.png", "[z].png", "z.png")
        names = "a b.png\r\n\r\nö.png\n[z].png"
        self.write("names.txt", b"\xef\xbb\xbf" + names.encode())
        self.write("wide.txt", b"\xff\xfe" + names.encode("utf-16le"))
        for given in (["names.txt"], ["wide.txt"], ["-"]):
            result = subprocess.run(
                [*Program.command, "info", "--list", *given],
                cwd=self.folder,
                env=environment(),
                input=names.encode(),
                capture_output=True,
                timeout=WAIT,
            )
            self.assertEqual((result.returncode, result.stderr), (DONE, b""))
            found = re.findall(r"^file: (.*)$", text(result.stdout), re.MULTILINE)
            self.assertEqual(found, ["a b.png", "ö.png", "[z].png"], given)
        self.assertEqual(
            self.succeed("convert", "z.png", "--list", "names.txt", "--to", "out"),
            "4 pictures: 4 done\n",
        )


class Refusals(BatchCase):
    def setUp(self):
        super().setUp()
        self.write_pictures("a.png", "b.png", "sub/a.png", "out/logo.png")

    def test_command_lines(self):
        scale = ["scale", "a.png", "b.png", "--percent", "50"]
        cases = [
            ([*scale, "--to", ""], "--to"),
            ([*scale, "--to", "o", "--jobs", "0"], "--jobs takes a number from 1 to 64"),
            ([*scale, "--to", "o", "--as", "gif"], "--as takes png, bmp, jpg or tif"),
            ([*scale, "sub/a.png", "--to", "o"], "a.png and sub/a.png would both become o/a.png"),
            ([*scale, "./a.png", "--to", "o"], "a.png and ./a.png would both become o/a.png"),
            ([*scale, "--to", ".", "--resume"], "--resume"),
            ([*scale, "no*.png", "--to", "o"], "no*.png: no file has such a name"),
            ([*scale, "-", "--to", "o"], "'-' cannot be one of several"),
            (["scale", "a.png", "--to", "o"], "--percent"),
            (["scale", "--to", "o", "--percent", "50"], "scale needs IN"),
            (["scale", "a.png", "--to", "o", "--percent", "x"], "--percent takes"),
            ([*scale, "--to", "o", "--quality", "80"], "--quality is for JPEG, not for PNG"),
            (["scale", "a.png", "b.png", "--percent", "50", "--jobs", "2"], "--jobs is for several"),
            (["convert", "--list", "a.png"], "several pictures need --to FOLDER"),
            (["paste", "a.png", "out/logo.png", "--to", "o"], "paste needs --at X,Y"),
            (["paste", "logo.png", "--to", "o", "--at", "0,0"], "paste needs OVERLAY"),
            (
                ["paste", "sub/a.png", "a.png", "--at=1,1", "--to", "."],
                "sub/a.png would be written over a.png, which is read, too",
            ),
            (
                ["show", "a.png", "--depth-of", "greys", "-o", "x.png", "--to", "o"],
                "leave out one",
            ),
        ]
        for arguments, words in cases:
            self.refuse(USAGE, *arguments, says=words)

    def test_files(self):
        scale = ["scale", "a.png", "b.png", "--percent", "50"]
        self.refuse(FAILED, *scale, "--to", "a.png", says="a.png: this is a file")
        self.refuse(FAILED, *scale, "--to", "no/o", says="no/o: the folder that")
        self.refuse(FAILED, *scale, "--to", "o", "--list", "no.txt", says="no.txt: ")


class Failures(BatchCase):
    def test_three_of_forty(self):
        names = [f"{number:02}.png" for number in range(40)]
        self.write_pictures(*names)
        self.write("03.png", (self.folder / "03.png").read_bytes()[:60])
        self.write("17.png", b"no picture at all")
        (self.folder / "39.png").unlink()
        before = self.files()
        result = self.run_tool(
            "scale", *names, "--to", "out", "--percent", "200", "--jobs", "3", "--progress"
        )
        self.assertEqual((result.code, result.out), (FAILED, ""))
        bad = ["03.png", "17.png", "39.png"]
        made = ["out/" + name for name in names if name not in bad]
        self.assert_made(before, "out", *made)
        self.assertEqual({self.read(name).picture.width for name in made}, {16})
        lines = result.err.replace("\r", "\n").splitlines()
        *failures, last = [line for line in lines if line.startswith("q32tool:")]
        self.assertEqual(sorted(line[9:15] for line in failures), bad)
        self.assertIn("the picture is cut off", min(failures))
        self.assertEqual(last, "q32tool: 40 pictures: 37 done, 3 failed")
        self.assertEqual(lines[-1], last)

    def test_a_name_that_has_no_kind(self):
        """What cannot be written under its own name can under another."""
        self.write_pictures("a.png", "b.dat")
        result = self.run_tool("convert", "a.png", "b.dat", "--to", "out")
        self.assertEqual((result.code, result.out), (FAILED, ""))
        self.assertIn("out/b.dat: unknown extension '.dat'", result.err)
        self.assertTrue(result.err.endswith("q32tool: 2 pictures: 1 done, 1 failed\n"))
        said = self.succeed("convert", "a.png", "b.dat", "--to", "out", "--as", "png")
        self.assertEqual(said, "2 pictures: 2 done\n")
        self.assertEqual(self.read("out/b.png").picture.width, 8)

    def test_answers_in_order(self):
        """Facts stand in the order of the command line, whoever is done first."""
        self.write("0.png", pictures.png(pictures.noise(900, 700)))
        names = [f"{number}.png" for number in range(7)]
        self.write_pictures(*names[1:])
        self.write("4.png", b"no picture")
        result = self.run_tool("info", *names, "--jobs", "3")
        self.assertEqual(result.code, FAILED)
        found = re.findall(r"^file: (.*)$", result.out, re.MULTILINE)
        self.assertEqual(found, [name for name in names if name != "4.png"])
        self.assertEqual(result.err.splitlines()[-1], "q32tool: 7 pictures: 6 done, 1 failed")

    def test_memory_is_shared(self):
        """A limit is for all processes together."""
        self.write_pictures("a.png", "b.png", width=500, height=400)  # 600 KB
        self.make_folder("swap")
        limit = ["--memory-limit", "1M", "--swap-dir", "swap"]
        for jobs, storage in (("1", "memory"), ("2", "swap file")):
            said = self.succeed("info", "a.png", "b.png", "--jobs", jobs, *limit)
            self.assertEqual(re.findall("storage: (.*)", said), [storage] * 2)


class Ends(BatchCase):
    """Processes that are killed, and a user who wants to stop."""

    count = 60

    def setUp(self):
        super().setUp()
        first = self.folder / self.write("in/00.png", pictures.png(pictures.noise(300, 300)))
        for number in range(1, self.count):
            os.link(first, self.folder / f"in/{number:02}.png")
        self.before = self.files()
        self.scale = ["scale", "in/*.png", "--to", "out", "--percent", "300", "--jobs", "2"]

    def assert_whole(self, done, *others):
        """So many outputs are there, and nothing else."""
        made = [name for name in self.files() if name.startswith("out/")]
        self.assert_only_new(self.before, *(["out"] if made else []), *made, *others)
        self.assertEqual(len(made), done, made)
        for name in made[:1] + made[-1:]:
            self.assertEqual(self.read(name).picture.width, 900)

    def assert_cancelled(self, process, said, **more):
        with process:
            out, rest = process.communicate(**more, timeout=WAIT)
        self.assertEqual(process.returncode, CANCELLED, said + rest)
        line = self.last_line(said + rest)
        match = re.fullmatch(r"q32tool: cancelled; 60 pictures: (\d+) done", line)
        self.assertIsNotNone(match, line)
        self.assertLess(int(match[1]), self.count)
        self.assert_whole(int(match[1]))
        self.assertEqual(self.workers(), [])
        return out

    def test_ctrl_c(self):
        process, said = self.run_until(b" of 60 pictures", *self.scale)
        process.send_signal(signal.SIGINT)
        self.assertEqual(self.assert_cancelled(process, said), b"")

    @long_round
    def test_escape(self):
        process, said = self.run_until(b" of 60 pictures", *self.scale, console=True)
        self.assertEqual(self.assert_cancelled(process, said, input=b"a^b"), b"left: b\n")

    def kill_workers(self, process, said):
        """One after the other, while they write; returns how many."""
        killed = 0
        while killed < 3:
            self.wait_until(lambda: self.writing() or process.poll() is not None, "writing")
            self.assertIsNone(process.poll(), said)
            for worker in self.writing()[:1]:
                os.kill(worker, signal.SIGKILL)
                self.wait_until(lambda: worker not in self.workers(), "the end of a worker")
                killed += 1

    @long_round
    def test_workers_are_killed(self):
        """Each costs its picture at most, and leaves nothing of it."""
        process, said = self.run_until(b" of 60 pictures", *self.scale)
        with process:
            self.kill_workers(process, said)
            out, rest = process.communicate(timeout=WAIT)
        self.assertEqual((process.returncode, out), (FAILED, b""), said + rest)
        lines = (said + rest).decode().replace("\r", "\n").splitlines()
        *failures, last = [line for line in lines if line.startswith("q32tool: ")]
        self.assertTrue(1 <= len(failures) <= 3, failures)
        for line in failures:
            self.assertRegex(line, r"in/\d\d.png: the process that worked on this picture ended")
        done = self.count - len(failures)
        self.assertEqual(last, f"q32tool: 60 pictures: {done} done, {len(failures)} failed")
        self.assert_whole(done)

    def test_resume_after_a_kill(self):
        """Every picture is done exactly once."""
        process, said = self.run_until(b" of 60 pictures", *self.scale)
        with process:
            made = (self.folder / "out").glob
            self.wait_until(lambda: len(list(made("*.png"))) > 5, "some pictures")
            process.kill()
            process.communicate(timeout=WAIT)
        self.wait_until(lambda: not self.workers(), "the end of the workers")
        self.assertEqual(self.unfinished(), [])
        outputs = sorted((self.folder / "out").iterdir())
        self.assertTrue(5 < len(outputs) < self.count, outputs)
        times = {path: path.stat().st_mtime_ns for path in outputs}
        line = self.succeed(*self.scale, "--resume")
        self.assertEqual(self.in_number(line, "were done already"), len(outputs), line)
        self.assertEqual(self.in_number(line, "done"), self.count - len(outputs), line)
        self.assert_whole(self.count)
        self.assertEqual({path: path.stat().st_mtime_ns for path in outputs}, times)


class Resume(BatchCase):
    def test_which_are_done(self):
        """Whole, newer than the picture, and of the right kind."""
        names = ["done.png", "older.png", "cut.png", "none.png", "other.png"]
        self.write_pictures(*names)
        scale = ["scale", *names, "--to", "out", "--percent", "200", "--resume"]
        self.assertEqual(self.succeed(*scale), "5 pictures: 5 done\n")
        wanted = self.files()
        os.utime(self.folder / "older.png", (time.time() + 10, time.time() + 10))
        self.write("out/cut.png", wanted["out/cut.png"][:-1])
        self.write("out/other.png", b"something else")
        (self.folder / "out/none.png").unlink()
        self.assertEqual(self.succeed(*scale), "5 pictures: 4 done, 1 was done already\n")
        self.assertEqual(self.files(), wanted)
        self.assertEqual(
            self.succeed(*scale), "5 pictures: 1 done, 4 were done already\n", "older.png is again"
        )

    def test_all_that_a_command_writes(self):
        self.write_pictures("a.png", "b.png")
        separate = ["separate", "a.png", "b.png", "--to", "out", "--resume"]
        self.succeed(*separate)
        (self.folder / "out/b-yellow.png").unlink()
        self.assertEqual(self.succeed(*separate), "2 pictures: 1 done, 1 was done already\n")
        self.assertTrue((self.folder / "out/b-yellow.png").exists())


class Pipes(BatchCase):
    def start(self, *arguments):
        return subprocess.Popen(
            [*Program.command, *arguments],
            cwd=self.folder,
            env=environment(),
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
        )

    def temporary_file(self, process):
        """Where the program keeps what has come from its standard input."""
        found = []

        def is_open():
            for link in pathlib.Path(f"/proc/{process.pid}/fd").glob("*"):
                with contextlib.suppress(OSError):
                    if re.search(r"q32tool-\d+-input$", os.readlink(link)):
                        found.append(pathlib.Path(os.readlink(link)))
            return found or process.poll() is not None

        self.wait_until(is_open, "a temporary file")
        return found[0]

    def pipe(self, contents, *arguments):
        """Exit code, output and errors; the temporary files are gone then."""
        before = self.files()
        with self.start(*arguments) as process:
            process.stdin.write(contents[:20])
            process.stdin.flush()
            temporary = self.temporary_file(process)
            out, errors = process.communicate(contents[20:], timeout=WAIT)
        self.assert_no_temporary_files(temporary)
        self.assertEqual(self.files(), before)
        return process.returncode, out, text(errors)

    def assert_no_temporary_files(self, temporary):
        mine = temporary.name.removesuffix("input")
        self.assertEqual([n for n in os.listdir(temporary.parent) if n.startswith(mine)], [])

    def test_through_the_program(self):
        """The same bytes as from file to file, of the kind of the input or another."""
        picture = pictures.noise(40, 30)
        for name, file in (("in.png", pictures.png(picture)), ("in.bmp", pictures.bmp(picture))):
            self.write(name, file)
            wanted = self.make("out" + name[2:], "convert", name, "out" + name[2:], "--bits", "8")
            self.assertEqual(self.pipe(file, "convert", "-", "-", "--bits", "8"), (DONE, wanted, ""))
        png = self.files()["in.png"]
        bmp = self.make("png.bmp", "convert", "in.png", "png.bmp", "--bits", "8")
        self.assertEqual(
            self.pipe(png, "convert", "-", "-", "--bits=8", "--as", "bmp"), (DONE, bmp, "")
        )

    def test_one_end_is_a_file(self):
        picture = pictures.noise(40, 30)
        file = pictures.png(picture)
        self.write("in.png", file)
        with self.start("convert", "in.png", "-", "--as", "bmp") as process:
            out, errors = process.communicate(timeout=WAIT)
        self.assertEqual((process.returncode, errors), (DONE, b""))
        self.assertEqual(pictures.read_bmp(out).picture.pixels, picture.pixels)
        code, out, errors = self.pipe(file, "info", "-")
        self.assertEqual((code, errors), (DONE, ""))
        self.assertEqual(text(out).splitlines()[0], "file: standard input")
        merged = self.pipe(file, "compose", "--base", "-", "--overlay", "in.png", "-o", "-")
        self.assertEqual((merged[0], merged[2]), (DONE, ""))
        self.assertEqual(pictures.read_png(merged[1]).picture.pixels, picture.pixels)

    def test_bad_input(self):
        file = pictures.png(pictures.noise(40, 30))
        for contents, words in (
            (file[:-9], "standard input: the picture is cut off"),
            (b"this is not a picture, but a text", "standard input: this is not a picture"),
        ):
            code, out, errors = self.pipe(contents, "convert", "-", "-")
            self.assertEqual((code, out), (FAILED, b""))
            self.assertRegex(errors, rf"\Aq32tool: {words}[^\n]*\n\Z")
        result = self.run_tool("convert", "-", "-")
        self.assertEqual((result.code, result.out), (FAILED, ""))
        self.assertRegex(result.err, r"\Aq32tool: standard input: [^\n]*empty[^\n]*\n\Z")
        result = self.run_tool("convert", "-", "x.png", keys="")
        self.assertIn("standard input: this is the keyboard", result.err)
        self.refuse(USAGE, "separate", "-", "-", says="writes several pictures")
        self.refuse(USAGE, "convert", "-", "x.png", "--resume", says="--resume is for several")

    def test_the_reader_goes_away(self):
        file = pictures.bmp(pictures.noise(300, 300))
        with self.start("convert", "-", "-") as process:
            process.stdin.write(file[:20])
            process.stdin.flush()
            temporary = self.temporary_file(process)
            process.stdout.close()
            process.stdin.write(file[20:])
            process.stdin.close()
            errors = text(process.stderr.read())
            process.wait(timeout=WAIT)
        self.assertEqual(process.returncode, FAILED, errors)
        self.assertRegex(errors, r"\Aq32tool: standard output: the picture cannot be written[^\n]*\n\Z")
        self.assert_no_temporary_files(temporary)

    def test_ctrl_c_while_waiting(self):
        with self.start("convert", "-", "-") as process:
            process.stdin.write(b"a")
            process.stdin.flush()
            temporary = self.temporary_file(process)
            process.send_signal(signal.SIGINT)
            errors = text(process.stderr.read())
            process.wait(timeout=WAIT)
        self.assertEqual(process.returncode, CANCELLED, errors)
        self.assertEqual(errors, "q32tool: cancelled; nothing was written\n")
        self.assert_no_temporary_files(temporary)
