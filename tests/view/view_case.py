"""What the tests of q32view share: views of pictures, and viewers that stay open to be used.

Views are saved as BMP, which is read fast.
"""

import contextlib
import os
import signal
import subprocess

import pictures
from program_case import DONE, FAILED, USAGE, ProgramCase, environment, text  # noqa: F401

# Numbers of menu commands (apps/q32view/resource.h).
OPEN, SAVE, FIT, ACTUAL, ZOOM_IN, ZOOM_OUT, TEST_CARD = 100, 101, 110, 111, 112, 113, 114
COPY, NEXT, PREVIOUS, FIRST, LAST, FIT_WIDTH, FULL_SCREEN = 103, 104, 105, 106, 107, 115, 116
RECENT, FORGET_RECENT, TURN_RIGHT, TURN_LEFT, MIRROR, FLIP = 170, 180, 190, 191, 192, 193
DETECTED, DEVICE, GAMMA_FILE, GAMMA, DITHER, PALETTE_OPTION, PIXELS = 119, 120, 129, 130, 140, 141, 150
LABORATORY = 200

PAGE_UP, PAGE_DOWN, END, HOME, LEFT, UP, RIGHT, DOWN = range(0x21, 0x29)
ESCAPE, SPACE, BACKSPACE, RETURN, F2, F11 = 0x1B, 0x20, 0x08, 0x0D, 0x71, 0x7A
SHIFT, CONTROL, ALT, PLUS, MINUS = 0x10, 0x11, 0x12, 0xBB, 0xBD  # the last two on a US keyboard


class Viewer:
    """The commands that start the programs, and the display's bits."""

    program = []
    driver = []
    tool = []
    depth = 24


def keys(*codes):
    """Real ones, held down together: numbers, or the letters and digits on them."""
    return "press:" + ",".join(str(ord(code) if isinstance(code, str) else code) for code in codes)


def background():
    """The grey around pictures, as the display has it: 5, 6 and 5 bits, repeated to 8."""
    return (132, 130, 132) if Viewer.depth == 16 else (128, 128, 128)


class OpenViewer:
    """A viewer with a window, which another program uses."""

    def __init__(self, case):
        self.case = case

    def do(self, *steps):
        """Takes steps of view_driver; returns the lines that they print."""
        return self.case.run_program(Viewer.driver, *steps).splitlines()

    def view(self, *steps):
        """What the viewer shows after some steps."""
        return self.views(steps)[0]

    def views(self, *ways):
        """What it shows after each of some sequences of steps."""
        folder = self.case.folder
        steps = []
        for i, way in enumerate(ways):
            (folder / f"view-{i}.bmp").unlink(missing_ok=True)
            steps += [*way, f"command:{SAVE}", f"keep:saved.bmp,view-{i}.bmp"]
        self.do(*steps)
        found = [pictures.read(folder / f"view-{i}.bmp").picture for i in range(len(ways))]
        for i in range(len(ways)):
            (folder / f"view-{i}.bmp").unlink()
        return found


class OpenLaboratory(OpenViewer):
    """A laboratory, opened by itself or by a viewer."""

    def do(self, *steps):
        return super().do("laboratory", *steps)


def end(process):
    """Kills a program with all that it started: a child would keep the pipes open, and whoever
    reads them would wait for ever. Returns what it had said until then.
    """
    with contextlib.suppress(ProcessLookupError):
        os.killpg(process.pid, signal.SIGKILL)
    try:
        out, err = process.communicate(timeout=10)
    except subprocess.TimeoutExpired as stuck:
        out, err = stuck.stdout, stuck.stderr
    except ValueError:  # it has ended before, and all has been read
        out, err = None, None
    return text(out or b""), text(err or b"")


class ViewCase(ProgramCase):
    def start(self, command, *arguments):
        return subprocess.Popen(
            [*command, *arguments],
            cwd=self.folder,
            env=environment(),
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            start_new_session=True,  # a group of its own, which end() can kill
        )

    def finish(self, process):
        """Waits for a program's end; returns its output and errors."""
        try:
            out, err = process.communicate(timeout=60)
        except subprocess.TimeoutExpired:
            self.fail(f"{process.args} does not end; it said {end(process)}")
        return text(out), text(err)

    def run_to_end(self, command, *arguments):
        """Returns exit code, output, errors."""
        process = self.start(command, *arguments)
        out, err = self.finish(process)
        return process.returncode, out, err

    def run_program(self, command, *arguments):
        """Runs a program, which must succeed without a word of trouble; returns what it says."""
        code, out, err = self.run_to_end(command, *arguments)
        self.assertEqual((code, err), (DONE, ""), arguments)
        return out

    def view(self, *arguments):
        """What a viewer that is started anew shows."""
        self.run_program(Viewer.program, *arguments, "--screenshot", "view.bmp")
        return pictures.read(self.folder / "view.bmp").picture

    @contextlib.contextmanager
    def viewer(self, *arguments, ended_with=None, kind=OpenViewer):
        """With its first picture, if there is one to open. ended_with: its exit code, if it closes."""
        process = self.start(Viewer.program, *arguments, "--save-to", "saved.bmp")
        viewer = kind(self)
        try:
            if (self.folder / arguments[0]).is_file():
                viewer.do(f"titled:{arguments[0]} ")
            yield viewer
            if ended_with is None:
                viewer.do("end")
            self.assertEqual(self.finish(process), ("", ""))
            if ended_with is not None:
                self.assertEqual(process.returncode, ended_with)
        except AssertionError as failure:
            code = process.poll()
            failure.add_note(f"The viewer's exit code is {code}; it said {end(process)}")
            raise
        finally:
            if process.poll() is None:
                end(process)

    def refuse(self, code, *arguments, says):
        """Runs the viewer, which must fail with one line and leave nothing."""
        before = set(self.folder.iterdir())
        result = self.run_to_end(Viewer.program, *arguments)
        self.assertEqual(result[:2], (code, ""), result[2])
        self.assertRegex(result[2], r"\Aq32view: [^\n]{8,}\n\Z")
        self.assertIn(says, result[2])
        self.assertEqual(set(self.folder.iterdir()), before)


def centred(picture, width, height):
    """A picture in the middle of a window."""
    left, top = (width - picture.width) // 2, (height - picture.height) // 2
    grey = bytes(background())
    rows = [grey * width] * top
    for row in picture.rows():
        rows.append(grey * left + row + grey * (width - left - picture.width))
    rows += [grey * width] * (height - top - picture.height)
    return pictures.Picture(width, height, b"".join(rows))


def part(picture, left, top, width, height):
    rows = [row[left * 3 : (left + width) * 3] for row in picture.rows()[top : top + height]]
    return pictures.Picture(width, height, b"".join(rows))
