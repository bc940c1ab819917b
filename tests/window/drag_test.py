"""Rows of the table dragged by mouse into other programs."""

import os
import unittest

from desktop import wait_for
from file_manager import FileManagerTest

QUESTION = ['File "été %41.bin" Exists.', 'Do you want to overwrite the existing file "été %41.bin"?']


class Drag(FileManagerTest):
    def setUp(self):
        super().setUp()
        self.settings()
        self.content = os.urandom(300_000)
        self.put("été %41.bin", self.content)
        self.put("other.txt", b"other")

    def put(self, name, content):
        with open(self.server.path(name), "wb") as file:
            file.write(content)

    def start_listed(self, count=2):
        program = self.start_at_the_left()
        wait_for(lambda: len(program.rows("Destination folder")) == count, "the items in the table")
        wait_for(lambda: program.text("Listing status") == "Listing succeeded", "the end of the listing")
        return program

    def content_here(self, name):
        with open(os.path.join(self.folder, name), "rb") as file:
            return file.read()


class IntoAFolder(Drag):
    def test_a_row_dragged_into_a_folder_arrives_there(self):
        program = self.start_listed()
        manager = self.open_folder()

        self.drag_row(0, program, manager)

        self.wait_for_status(program, "Download succeeded")
        self.assertEqual(os.listdir(self.folder), ["été %41.bin"])
        self.assertEqual(self.content_here("été %41.bin"), self.content)
        self.assertIsNone(program.sheet())

    def test_what_acts_unseen_in_a_name_is_shown_in_the_local_name(self):
        self.put("an\u202efdp.exe", b"program")
        program = self.start_listed(3)
        manager = self.open_folder()

        self.drag_row(0, program, manager)

        self.wait_for_status(program, "Download succeeded")
        self.assertEqual(os.listdir(self.folder), ["an⟨U+202E⟩fdp.exe"])


class OverAFile(Drag):
    def test_an_existing_file_is_kept_or_overwritten_as_the_user_says(self):
        self.file("été %41.bin", b"mine")
        program = self.start_listed()
        manager = self.open_folder()

        self.drag_row(0, program, manager)
        wait_for(lambda: program.sheet() == QUESTION, "the question")
        program.answer("Cancel")
        self.assert_no_more_sheets(program)
        self.assertEqual(self.content_here("été %41.bin"), b"mine")
        self.assertFalse(program.text("Status"))

        self.drag_row(0, program, manager)
        wait_for(lambda: program.sheet() == QUESTION, "the question")
        program.answer("Overwrite")
        self.wait_for_status(program, "Download succeeded")
        self.assertEqual(self.content_here("été %41.bin"), self.content)

        self.assertEqual(os.listdir(self.folder), ["été %41.bin"])

    def test_a_link_in_the_files_place_is_replaced_and_not_followed(self):
        precious = os.path.join(self.home["HOME"], "precious")
        with open(precious, "wb") as file:
            file.write(b"mine")
        os.symlink(precious, os.path.join(self.folder, "été %41.bin"))
        program = self.start_listed()
        manager = self.open_folder()

        self.drag_row(0, program, manager)
        title, text = wait_for(program.sheet, "the question")
        self.assertEqual(title, QUESTION[0])
        self.assertEqual(
            text, f"{QUESTION[1]}\n\nIt is a link to “{precious}”. The link is replaced, what it leads to is not."
        )
        program.answer("Overwrite")

        self.wait_for_status(program, "Download succeeded")
        self.assertEqual(self.content_here("été %41.bin"), self.content)
        self.assertFalse(os.path.islink(os.path.join(self.folder, "été %41.bin")))
        with open(precious, "rb") as file:
            self.assertEqual(file.read(), b"mine")


class Elsewhere(Drag):
    def test_a_row_dragged_to_where_files_are_extracted_arrives_there(self):
        program = self.start_listed()
        script = os.path.join(os.path.dirname(os.path.abspath(__file__)), "extraction_target.py")
        target = self.desktop.spawn(["/usr/bin/python3", "-B", "-W", "ignore", script, self.folder])
        (window,) = wait_for(lambda: self.desktop.windows_of(target.pid, "Extraction target"), "the target")
        self.desktop.xdotool("windowmove", "--sync", window, 800, 40)
        self.desktop.wait_until_still(window)

        self.drag_row_to((150, 100), 1, program, window)

        self.wait_for_status(program, "Download succeeded")
        self.assertEqual(self.content_here("other.txt"), b"other")
        wait_for(lambda: target.poll() is not None, "the target to go")
        self.assertEqual(target.returncode, 0)

    def test_a_drag_that_ends_nowhere_brings_nothing(self):
        program = self.start_listed()

        self.desktop.drag(program.cell("Destination folder", 0, 0), (1000, 700))

        self.wait_for_the_clock(program)
        self.assertEqual(self.server.begun, [])
        self.assertIsNone(program.sheet())
        self.assertFalse(program.text("Status"))


if __name__ == "__main__":
    unittest.main()
