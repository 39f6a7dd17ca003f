"""What the flight recorder logs. Every log is read as bytes, and in words by q32tool explain --log."""

import os
import re
import subprocess
import time

from recorder_case import ENTRIES, FATAL, NO_FAULT, SEEN, RecorderCase, is_64_bit

ACCESS_VIOLATION, STACK_OVERFLOW = 0xC0000005, 0xC00000FD


class Reports(RecorderCase):
    def test_the_header_tells_of_the_program(self):
        before = time.time()
        log = self.recorded("report", "0", "1")
        header = log.header
        self.assertEqual(header.magic, b"q32comm reports\0")
        self.assertEqual((header.version, header.header_bytes, header.entry_bytes), (1, 256, 256))
        self.assertEqual((header.entry_count, log.size), (ENTRIES, 256 + ENTRIES * 256))
        self.assertEqual(header.pointer_bytes, 8 if is_64_bit(self.program) else 4)
        self.assertEqual(header.program.rstrip(b"\0"), b"recorder_program.exe")
        self.assertEqual((header.reports, header.lost, header.state), (1, 0, NO_FAULT))
        for ticks in (header.started, log.entries[0].time, header.ended):
            self.assertLess(abs(ticks / 1e7 - 11644473600 - before), 120)
        self.assertLessEqual(header.started, log.entries[0].time)
        self.assertLessEqual(log.entries[0].time, header.ended)

    def test_all_numbers_and_the_text(self):
        for length in (1, 207, 208, 2000):
            entry = self.recorded("text", str(length)).entries[1]
            self.assertEqual(entry[3:8], (1, 2, 3, 4, 5))
            self.assertEqual(entry.text, b"x" * min(length, 207) + b"\0" * max(208 - length, 1))

    def test_the_last_ones_of_four_threads_are_in_their_order(self):
        log = self.recorded("report", "1500", "4")
        self.assertEqual((log.header.reports, log.header.lost), (1501, 0))
        self.assertEqual([entry.number for entry in log.entries], [*range(1501 - ENTRIES + 1, 1502)])
        self.assertEqual([entry.number for entry in log.entries], [entry.again for entry in log.entries])
        self.assertLessEqual(len({entry.thread for entry in log.entries}), 4)
        times = [entry.time for entry in log.entries]
        self.assertLess(max(a - b for a, b in zip(times, times[1:])), 10_000_000)
        for message in range(4):
            points = [entry.point for entry in log.entries if entry.message == message]
            self.assertEqual(points, [*range(376 - len(points), 376)])
        lines = self.explained().splitlines()
        self.assertRegex(lines[0], r"^recorder_program\.exe, process \d+, (32|64)-bit, started \d{4}-")
        self.assertEqual(lines[1], "1501 reports, the last 1024 of them here")
        self.assertEqual(len(lines), ENTRIES + 6)

    def test_eight_threads_at_full_speed(self):
        log = self.recorded("report", "800000", "8")
        self.assertEqual(log.header.reports, 800001)
        left_over = [entry for entry in log.entries if entry.number <= 800001 - ENTRIES]
        self.assertLessEqual(len(left_over), log.header.lost)
        self.assertEqual(len(log.entries), ENTRIES)
        for entry in log.entries:
            self.assertEqual((entry.number, entry.busy), (entry.again, 0))
        for thread in range(8):
            points = [entry.point for entry in log.entries if entry.message == thread]
            self.assertEqual(points, sorted(points))

    def test_a_library_that_is_loaded_again_goes_on(self):
        log = self.recorded("load again")
        self.assertEqual([entry.message for entry in log.entries], [1, 2])
        self.assertGreater(log.header.ended, 0)

    def test_a_report_takes_a_moment_more(self):
        with_log = int(self.play("cost").out)
        without = int(self.play("cost", build="ordinary").out)
        self.assertLess(with_log - without, 1000, "nanoseconds")


class Ends(RecorderCase):
    def assert_crashed(self, log, code):
        self.assertEqual((log.header.state, log.header.code), (FATAL, code))
        self.assertEqual(log.header.module.rstrip(b"\0"), b"recorder_program.exe")
        self.assertEqual(len(log.entries), 1)
        offset = log.header.address - log.header.base
        self.assertTrue(0x1000 <= offset < 0x100000, hex(offset))
        line = self.explained().splitlines()[-1]
        self.assertIn(f"recorder_program.exe + 0x{offset:X} ", line)
        self.assertIn(f"(0x{code:08X})", line)
        return line

    def test_access_violation(self):
        log = self.recorded("access violation")
        self.assertEqual((log.header.access, log.header.data), (1, 0))
        self.assertEqual(log.header.thread, log.entries[0].thread)
        line = self.assert_crashed(log, ACCESS_VIOLATION)
        self.assertRegex(line, "^The program crashed: access violation .*, writing 0x00000000, thread ")

    def test_a_program_with_a_filter_of_its_own(self):
        self.assert_crashed(self.recorded("own filter"), ACCESS_VIOLATION)
        self.assertEqual(self.play("own filter").code, 77)

    def test_a_crash_within_a_crash(self):
        self.assert_crashed(self.recorded("crashing filter"), ACCESS_VIOLATION)

    def test_stack_overflow(self):
        """Wine ends the program before it asks the filter where too little of the stack is left: in
        64 bits always. The log has the exception all the same.
        """
        for bytes_left in ("65536", "0"):
            log = self.recorded("stack overflow", bytes_left)
            if self.play("stack overflow", bytes_left).code == STACK_OVERFLOW & 0xFF:
                self.assert_crashed(log, STACK_OVERFLOW)
                continue
            self.assertTrue(is_64_bit(self.program) or bytes_left == "0")
            self.assertEqual((log.header.state, log.header.code), (SEEN, STACK_OVERFLOW))
            self.assertRegex(self.explained(), "still ran, or ended .*, perhaps by that exception\n$")

    def test_exceptions_that_the_program_deals_with(self):
        log = self.recorded("bad pointer")
        self.assertEqual((log.header.state, log.header.code), (SEEN, ACCESS_VIOLATION))
        self.assertEqual((log.header.access, log.header.data), (0, 0x1000))
        lines = self.explained().splitlines()
        self.assertRegex(lines[-2], "^The last exception: access violation .* reading 0x00001000")
        self.assertRegex(lines[-1], "ended by itself at")

    def test_abort(self):
        log = self.recorded("abort")
        self.assertEqual((log.header.state, len(log.entries)), (NO_FAULT, 1))

    def test_killed(self):
        log = self.recorded("kill")
        self.assertEqual((log.header.ended, len(log.entries)), (0, 1))
        self.assertRegex(self.explained(), "still ran, or ended without a word\n$")


class Names(RecorderCase):
    def test_the_number_of_the_process(self):
        for named, pattern in (("a-%p.log", r"a-(\d+)\.log"), ("%p", r"(\d+)")):
            self.assertEqual(self.play("real", log=named).code, 0)
            (name,) = [name for name in self.names() if re.fullmatch(pattern, name)]
            self.assertEqual(int(re.fullmatch(pattern, name)[1]), self.read(name).header.process)

    def test_two_processes_with_one_name(self):
        with subprocess.Popen(
            self.command("recorder", "hold"),
            cwd=self.folder,
            env=self.variables("test.q32log"),
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL,
        ) as first:
            self.assertIn(b"held", first.stdout.readline())
            self.assertEqual(self.play("real").code, 0)
            # The first one's is read while it is written.
            self.assertRegex(self.explained(), "1 report\n(.*\n)*The program still ran")
            first.communicate(b"\n")
        beside = [name for name in self.names() if name != "test.q32log"]
        self.assertEqual(beside, [f"test.q32log.{self.read(beside[0]).header.process}"])
        self.assertEqual(len(self.read(beside[0]).entries), 2)
        self.assertGreater(self.read().header.ended, 0)

    def test_without_one_it_lies_in_the_temporary_folder(self):
        old, kept = self.write("old.q32log", b"old"), self.write("kept.q32log", b"kept")
        other = self.write("old.txt", b"other")
        for name, days in ((old, 8), (kept, 6), (other, 100)):
            then = time.time() - days * 86400
            os.utime(self.folder / name, (then, then))
        self.assertEqual(self.play("real", log=None, Q32COMM_TEMPDIR=".").code, 0)
        (new,) = set(self.names()) - {kept, other}
        self.assertEqual(new, f"recorder_program.exe-{self.read(new).header.process}.q32log")
        self.assertEqual(len(self.read(new).entries), 2)

    def test_an_old_log_is_written_over(self):
        self.play("report", "1500", "4")
        self.play("real")
        self.assertEqual(len(self.read().entries), 2)

    def test_other_files_are_left_alone(self):
        for contents in (b"a letter", b"q32comm report" + b"x" * 500):
            self.write("letter.txt", contents)
            self.assertEqual(self.play("real", log="letter.txt").code, 0)
            self.assertEqual((self.folder / "letter.txt").read_bytes(), contents)
            self.assertEqual(self.names(), ["letter.txt"])

    def test_what_cannot_be_written_is_no_log(self):
        (self.folder / "folder").mkdir()
        for name in ("none/test.log", "folder", "a" * 300, "a" * 255 + "%p%p", "<>", "\\\\nobody\\there\\x"):
            with self.subTest(name=name):
                self.assertEqual(self.play("real", log=name).code, 0)
        self.assertEqual(self.names(), ["folder"])

    def test_a_full_disk(self):
        for doing in ("real", "access violation"):
            limited = self.play(doing, limited=True)
            self.assertEqual(limited.code, self.play(doing, build="ordinary").code)
            self.assertEqual((self.folder / "test.q32log").read_bytes(), b"")
        self.assertEqual(len(self.recorded("real").entries), 2)
