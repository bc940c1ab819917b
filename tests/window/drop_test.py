"""Files dragged by mouse from a real file manager onto the window."""

import os
import unittest

from desktop import wait_for
from file_manager import FileManagerTest


class Drop(FileManagerTest):
    def test_a_dropped_file_arrives_on_the_server(self):
        self.settings()
        path = self.file("été 1.txt", b"dropped")
        program = self.start_at_the_left()
        manager = self.open_folder()

        self.drag_icon(manager, 0, program)

        self.wait_for_files("été 1.txt")
        self.assertEqual(self.server.content("été 1.txt"), b"dropped")
        self.assertEqual(program.text("Queued files"), f"1) {path}\n\n")
        self.wait_for_status(program, "Upload succeeded")
        self.assertTrue(os.path.exists(path))

    def test_a_file_dropped_onto_the_list_of_the_last_drop_arrives_too(self):
        self.settings()
        self.file("a.txt")
        path = self.file("b.txt")
        program = self.start_at_the_left()
        manager = self.open_folder()
        self.drag_icon(manager, 0, program)
        self.wait_for_files("a.txt")

        self.drag_icon(manager, 1, program, target="Queued files")

        self.wait_for_files("a.txt", "b.txt")
        self.assertEqual(program.text("Queued files"), f"1) {path}\n\n")
        self.assertIsNone(program.sheet())

    def test_of_a_mixed_drop_the_files_are_taken_in_order(self):
        self.settings()
        os.mkdir(os.path.join(self.folder, "a folder"))
        self.file("b.txt")
        self.file("c.txt")
        program = self.start_at_the_left()
        manager = self.open_folder()

        self.desktop.xdotool("windowactivate", "--sync", manager, "key", "ctrl+a")
        self.drag_icon(manager, 1, program)

        self.wait_for_files("b.txt", "c.txt")
        self.wait_for_status(program, "Upload succeeded")
        self.assertIsNone(program.sheet())

    def test_a_folder_alone_is_refused_with_a_sheet(self):
        self.settings()
        os.mkdir(os.path.join(self.folder, "a folder"))
        program = self.start_at_the_left()
        manager = self.open_folder()

        self.drag_icon(manager, 0, program)

        wait_for(lambda: program.sheet() == ["No Files", "Drop files only."], "the sheet")
        self.assertIsNone(program.value("Files waiting"))
        self.assertEqual(self.server.begun, [])

    def test_files_dropped_onto_the_table_arrive_in_order(self):
        self.settings()
        os.mkdir(os.path.join(self.folder, "a folder"))
        self.file("b %41 é.txt")
        self.file("c.txt")
        program = self.start_at_the_left()
        manager = self.open_folder()

        self.desktop.xdotool("windowactivate", "--sync", manager, "key", "ctrl+a")
        self.drag_icon(manager, 1, program, target="Destination folder")

        self.wait_for_files("b %41 é.txt", "c.txt")
        self.wait_for_status(program, "Upload succeeded")
        self.assertIsNone(program.sheet())

    def test_a_folder_dropped_onto_the_table_is_refused_with_a_sheet(self):
        self.settings()
        os.mkdir(os.path.join(self.folder, "a folder"))
        program = self.start_at_the_left()
        manager = self.open_folder()

        self.drag_icon(manager, 0, program, target="Destination folder")

        wait_for(lambda: program.sheet() == ["No Files", "Drop files only."], "the sheet")
        self.assertEqual(self.server.begun, [])


if __name__ == "__main__":
    unittest.main()
