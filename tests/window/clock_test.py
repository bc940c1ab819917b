"""The clock of the machine is set while a file is on its way."""

import os
import re
import struct
import time
import unittest

from desktop import wait_for
from window_test import ANY_TITLE, TOP, WindowTest

DAY = 24 * 3600
CLOCK = os.environ.get("SHIFTED_CLOCK_LIBRARY", os.path.join(TOP, "build/dev/tests/support/libshifted_clock.so"))
BYTES_PER_SECOND = 500_000
LARGE = 100 * BYTES_PER_SECOND  # More than is read while a test looks on.
SPEED = r"^([\d.]+) ([KM]B)/s(?:, (.+) left)?$"
DURATION = r"^(?:(\d+) min)? ?(?:([\d.]+) s)?$"
STANDSTILL = "Zero KB/s"  # For a moment, where a busy machine keeps the server from reading.
FAR_OFF = 50  # A jump of the clock makes it thousands; a busy machine does not come near.


def seconds_of(duration):
    minutes, seconds = re.search(DURATION, duration).groups()
    return 60 * int(minutes or 0) + float(seconds or 0)


class Clock(WindowTest):
    def setUp(self):
        super().setUp()
        now = time.localtime()
        self.until_noon = 12 * 3600 - (3600 * now.tm_hour + 60 * now.tm_min + now.tm_sec)
        self.shift_file = self.file("shift", bytes(8))
        self.shift(0)

    def shift(self, seconds):
        """Sets the program's clock that far from the noon at which the test begins: its date changes by that alone."""
        with open(self.shift_file, "r+b", buffering=0) as file:
            file.write(struct.pack("=q", self.until_noon + seconds))

    def start_shiftable(self, *paths):
        # A sanitizer's library does not like not to be the first.
        options = f"{os.environ.get('ASAN_OPTIONS', '')}:verify_asan_link_order=0"
        return self.start(*paths, LD_PRELOAD=CLOCK, SHIFTED_CLOCK=self.shift_file, ASAN_OPTIONS=options)

    def test_the_clock_says_nothing_to_screen_readers_that_do_not_ask(self):
        program = self.start()
        self.bring_to_front(program, ANY_TITLE)
        wait_for(lambda: "No FTP Destination" in program.titles(), "the title")
        seen = set()

        def has_passed_twice():
            seen.add(program.text("Date"))
            return len(seen) > 2

        self.assertEqual(program.heard_until(has_passed_twice, "the clock to go on"), [])

        def has_moved():
            self.desktop.key("Tab")
            return not program.has_focus("Destination folder")

        heard = program.heard_until(has_moved, "the keyboard to move")
        self.assertIn("object:state-changed:focused", [event.kind for event in heard])

    def day(self, program):
        """The date in the window without the time of day."""
        return program.text("Date").split(",")[0].split(" ")[0]

    def percent(self, program):
        return (program.value("Transfer progress") or (0, 0))[0]

    def assert_sane(self, speed):
        """What the bar says of speed and time left has to do with how the server reads."""
        self.assertRegex(speed, SPEED)
        number, unit, left = re.search(SPEED, speed).groups()
        rate = float(number) * {"KB": 1e3, "MB": 1e6}[unit]
        self.assertTrue(BYTES_PER_SECOND / FAR_OFF < rate < BYTES_PER_SECOND * FAR_OFF, speed)
        if left is not None:
            self.assertLess(seconds_of(left), FAR_OFF * LARGE / BYTES_PER_SECOND, speed)

    def speed(self, program):
        return program.description("Transfer progress")

    def test_an_upload_goes_on_and_its_figures_stay_sane(self):
        self.settings()
        self.server.read_at_most(BYTES_PER_SECOND)
        begun = time.monotonic()
        program = self.start_shiftable(self.file("large", bytes(LARGE)))
        wait_for(lambda: "/s" in self.speed(program), "the speed")
        today = self.day(program)

        days = [today]
        for shift in (2 * DAY, -2 * DAY, 0):
            self.shift(shift)
            wait_for(lambda: self.day(program) != days[-1], "another date")
            days.append(self.day(program))
            before = self.percent(program)
            # Long enough for two changes of the figures.
            for _ in range(2):
                self.wait_for_the_clock(program)
                wait_for(lambda: self.speed(program) != STANDSTILL, "the server to read on")
                self.assert_sane(self.speed(program))
            wait_for(lambda: self.percent(program) > before, "the file to go on")

        self.assertEqual(len(set(days)), 3, days)
        self.assertEqual(days[-1], today)
        self.server.read_at_most(0)
        self.wait_for_files("large")
        self.wait_for_status(program, "Upload succeeded")
        whole = time.monotonic() - begun
        (row,) = self.history(program)
        self.assertEqual(row[4], "Confirmed by the server")
        self.assertLessEqual(seconds_of(row[2]), whole)
        self.assert_sane(row[3])
        self.assertIsNone(program.sheet())

    def test_silence_while_the_clock_jumps_ends_nothing(self):
        self.settings()
        self.server.read_at_most(BYTES_PER_SECOND)
        program = self.start_shiftable(self.file("one", bytes(LARGE)), self.file("two"))
        wait_for(lambda: self.percent(program) > 5, "some per cent")

        for shift in (2 * DAY, -2 * DAY):
            self.server.stand_still()
            self.shift(shift)
            for _ in range(3):
                self.wait_for_the_clock(program)
                self.assertEqual(program.text("Status"), 'Sending "one"')
            before = self.percent(program)
            self.server.go_on()
            wait_for(lambda: self.percent(program) > before, "the file to go on")

        self.server.read_at_most(0)
        self.wait_for_files("one", "two")
        self.wait_for_status(program, "Upload succeeded")

    def history(self, program):
        self.bring_to_front(program)
        self.desktop.key("ctrl+h")
        return wait_for(lambda: program.rows("Files of all runs"), "the history")


if __name__ == "__main__":
    unittest.main()
