"""What was copied outlives the program where a clipboard manager takes it."""

import os
import signal
import subprocess
import sys
import time
import unittest

from desktop import PATIENCE, wait_for
from window_test import WindowTest


class Clipboard(WindowTest):
    def start_manager(self):
        manager = self.desktop.spawn(
            [sys.executable, os.path.join(os.path.dirname(__file__), "clipboard_manager.py")], stdout=subprocess.PIPE
        )
        self.addCleanup(manager.stdout.close)
        self.addCleanup(self.desktop.end, manager)
        self.assertEqual(manager.stdout.readline(), b"ready\n")
        return manager

    def start_and_copy_the_location(self):
        self.settings(FTPFolder="in box")
        os.mkdir(self.server.path("in box"))
        program = self.launch()
        self.bring_to_front(program)
        self.desktop.key("ctrl+shift+c")
        location = f"ftp://127.0.0.1:{self.server.port}/in%20box/"
        wait_for(lambda: self.desktop.clipboard() == location, "the location on the clipboard")
        return program, location

    def quit(self, program):
        """Ends the program, and answers how many seconds that took."""
        before = time.monotonic()
        self.desktop.key("ctrl+q")
        self.assertEqual(program.exit_code(), 0)
        self.assertEqual(program.output(), "")
        return time.monotonic() - before

    def test_a_copied_location_outlives_the_program(self):
        self.start_manager()
        program, location = self.start_and_copy_the_location()

        self.quit(program)

        self.assertEqual(self.desktop.clipboard(), location)

    def test_a_clipboard_manager_that_hangs_does_not_keep_the_program(self):
        manager = self.start_manager()
        program, _ = self.start_and_copy_the_location()
        manager.send_signal(signal.SIGSTOP)
        self.addCleanup(manager.send_signal, signal.SIGCONT)

        self.assertLess(self.quit(program), 20 * PATIENCE)

    def test_files_that_come_while_the_program_ends_go_up_by_the_start_that_brought_them(self):
        manager = self.start_manager()
        first, _ = self.start_and_copy_the_location()
        manager.send_signal(signal.SIGSTOP)
        self.addCleanup(manager.send_signal, signal.SIGCONT)
        self.desktop.key("ctrl+q")
        wait_for(lambda: not self.desktop.windows_of(first.process.pid), "the window to go")

        second = self.launch(self.file("one.txt"))

        self.assertEqual(first.exit_code(), 0)
        self.wait_for_files("in box/one.txt")
        wait_for(second.titles, "the window of the second start")
        self.assertIsNone(second.process.poll())


if __name__ == "__main__":
    unittest.main()
