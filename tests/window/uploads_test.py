"""Files that are opened with the program go up one after another."""

import os
import unittest

from desktop import wait_for
from upload_server import SLOW
from window_test import PROGRAM, WindowTest


class Uploads(WindowTest):
    def test_opened_files_arrive_identical(self):
        names = ["plain.txt", "with blanks.txt", "été – 文書 😀.txt", "quo'te\" %41 #1;type=a.bin", "empty"]
        sizes = [1, 32767, 32768, 300_000, 0]
        contents = {name: os.urandom(size) for name, size in zip(names, sizes)}
        self.settings()

        program = self.start(*[self.file(name, content) for name, content in contents.items()])

        self.wait_for_files(*names)
        self.wait_for_status(program, "Upload succeeded")
        self.assertEqual({name: self.server.content(name) for name in names}, contents)
        self.assertIsNone(program.sheet())

    def test_files_go_in_order_and_the_waiting_ones_are_counted(self):
        self.settings()
        self.server.read_at_most(SLOW)
        self.server.after_receiving = lambda path: self.server.read_at_most(SLOW)
        paths = [self.file(name, bytes(20_000_000)) for name in ("one", "two", "three")]

        program = self.start(*paths)

        for waiting in (2, 1):
            wait_for(lambda n=waiting: program.value("Files waiting") == (n, 3), f"{waiting} of 3 files waiting")
            self.server.read_at_most(0)
        wait_for(lambda: program.value("Files waiting") is None, "no file waiting")
        self.server.read_at_most(0)
        self.wait_for_files("one", "two", "three")
        self.assertEqual(self.server.begun, ["one", "two", "three"])
        self.assertEqual(program.text("Queued files"), "".join(f"{n}) {path}\n\n" for n, path in enumerate(paths, 1)))

    def test_progress_shows_while_a_file_is_sent_and_only_then(self):
        self.settings()
        self.server.read_at_most(SLOW)

        program = self.start(self.file("large", bytes(20_000_000)))

        wait_for(lambda: 0 < (program.value("Transfer progress") or (0, 0))[0] < 100, "some per cent")
        self.assertRegex(program.text("Bytes transferred"), r"^[\d.]+ .?B$")
        self.assertEqual(program.text("Status"), 'Sending "large"')
        self.assertTrue(program.is_enabled("Stop"))
        self.server.read_at_most(0)
        self.wait_for_status(program, "Upload succeeded")
        self.assertIsNone(program.find("Transfer progress"))
        self.assertFalse(program.is_enabled("Stop"))

    def test_stop_ends_one_file_and_the_next_one_starts(self):
        self.settings()
        self.server.read_at_most(SLOW)
        program = self.start(self.file("one", bytes(20_000_000)), self.file("two"))
        wait_for(lambda: self.server.begun == ["one"], "the first file to be sent")

        program.press("Stop")

        wait_for(lambda: "two" in self.server.received, "the second file to arrive")
        self.wait_for_status(program, "Upload succeeded")
        self.assertLess(os.path.getsize(self.server.path("one")), 20_000_000)

    def test_a_stopped_upload_says_so_without_a_sheet(self):
        self.settings()
        self.server.read_at_most(SLOW)
        program = self.start(self.file("one", bytes(20_000_000)))
        wait_for(lambda: self.server.begun == ["one"], "the file to be sent")

        program.press("Stop")

        self.wait_for_status(program, "Upload Stopped")
        self.assert_no_more_sheets(program)
        self.assertEqual(program.text("Status"), "Upload Stopped")
        self.assertLess(os.path.getsize(self.server.path("one")), 20_000_000)

    def test_clear_queue_lets_the_running_file_finish(self):
        self.settings()
        self.server.read_at_most(SLOW)
        program = self.start(self.file("one", bytes(20_000_000)), self.file("two"), self.file("three"))
        wait_for(lambda: self.server.begun == ["one"], "the first file to be sent")

        program.press("Clear Queue")

        wait_for(lambda: program.value("Files waiting") is None, "no file waiting")
        self.assertEqual(program.text("Status"), 'Sending "one"')
        self.server.read_at_most(0)
        self.wait_for_files("one")
        self.wait_for_status(program, "Upload succeeded")
        self.assertFalse(program.is_enabled("Clear Queue"))
        self.assertEqual(self.server.begun, ["one"])

    def test_a_refused_file_is_passed_over(self):
        self.settings()
        os.mkdir(self.server.path("taken"))

        program = self.start(self.file("taken"), self.file("two"))

        self.wait_for_files("two")
        self.wait_for_status(program, "Upload succeeded")

    def test_a_refusal_is_told_with_the_servers_code(self):
        self.settings()
        os.mkdir(self.server.path("taken"))

        program = self.start(self.file("taken"))

        self.wait_for_status(program, "FTP error 550; Directory may already exist?")

    def test_a_copy_under_another_name_uploads_into_a_folder_of_that_name(self):
        self.settings(FTPFolder="inbox")
        os.makedirs(self.server.path("inbox/Scans"))
        copy = os.path.join(self.folder, "Scans")
        os.symlink(PROGRAM, copy)

        program = self.start(self.file("page.txt"), program=copy)

        self.wait_for_files("inbox/Scans/page.txt")
        title = f"ftp://127.0.0.1:{self.server.port}/inbox/Scans/"
        wait_for(lambda: title in program.titles(), f"the title {title}")


if __name__ == "__main__":
    unittest.main()
