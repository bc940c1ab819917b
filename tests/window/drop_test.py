"""Files dragged by mouse from a real file manager onto the window."""

import os
import unittest

from desktop import wait_for
from file_manager import FileManagerTest


class OfFiles(FileManagerTest):
    def test_a_dropped_file_arrives_on_the_server_and_another_one_dropped_onto_the_list_too(self):
        self.settings()
        first = self.file("a été 1.txt", b"dropped")
        second = self.file("b.txt")
        program = self.start_at_the_left()
        manager = self.open_folder()

        self.drag_icon(manager, 0, program)

        self.wait_for_files("a été 1.txt")
        self.assertEqual(self.server.content("a été 1.txt"), b"dropped")
        self.assertEqual(program.text("Queued files"), f"1) {first}\n\n")
        self.wait_for_status(program, "Upload succeeded")
        self.assertTrue(os.path.exists(first))

        self.drag_icon(manager, 1, program, target="Queued files")

        self.wait_for_files("a été 1.txt", "b.txt")
        self.assertEqual(program.text("Queued files"), f"1) {second}\n\n")
        self.assertIsNone(program.sheet())

    def test_a_file_whose_name_is_not_utf8_arrives_under_its_bytes(self):
        self.settings()
        name = os.fsdecode(b"caf\xe9.txt")
        self.file(name, b"dropped")
        program = self.start_at_the_left()
        manager = self.open_folder()

        self.drag_icon(manager, 0, program)

        self.wait_for_files(name)
        self.assertEqual(os.listdir(os.fsencode(self.server.root)), [b"caf\xe9.txt"])
        self.assertEqual(self.server.content(name), b"dropped")
        self.wait_for_status(program, "Upload succeeded")
        self.assertEqual(program.text("Queued files"), f"1) {self.folder}/caf⟨0xE9⟩.txt\n\n")
        self.assertIsNone(program.sheet())

    def test_of_a_mixed_drop_the_files_are_taken_in_order_and_of_one_onto_the_table_as_well(self):
        self.settings()
        os.mkdir(os.path.join(self.folder, "a folder"))
        self.file("b %41 é.txt")
        self.file("c.txt")
        program = self.start_at_the_left()
        manager = self.open_folder()
        self.desktop.xdotool("windowactivate", "--sync", manager, "key", "ctrl+a")

        for number, target in enumerate(("Drop area", "Destination folder"), 1):
            self.drag_icon(manager, 1, program, target)

            self.wait_for_files(*number * ["b %41 é.txt", "c.txt"])
            self.wait_for_status(program, "Upload succeeded")
            self.assertIsNone(program.sheet())


class OfFolders(FileManagerTest):
    def test_a_folder_alone_is_refused_with_a_sheet(self):
        self.settings()
        os.mkdir(os.path.join(self.folder, "a folder"))
        program = self.start_at_the_left()
        manager = self.open_folder()

        for target in ("Drop area", "Destination folder"):
            self.drag_icon(manager, 0, program, target)

            self.assertEqual(program.acknowledge(), ["No Files", "Drop files only."])
            self.assertIsNone(program.value("Files waiting"))
        self.assertEqual(self.server.begun, [])

    def test_where_the_settings_say_so_a_folder_goes_up_with_what_is_in_it(self):
        self.settings(DroppedFolders="uploaded")
        os.makedirs(os.path.join(self.folder, "a folder", "émpty"))
        os.makedirs(os.path.join(self.folder, "a folder", "sub %41"))
        for name in ("b.txt", "sub %41/a.txt"):
            self.file(os.path.join("a folder", name), name.encode())
        program = self.start_at_the_left()
        manager = self.open_folder()

        for number, target in enumerate(("Drop area", "Destination folder"), 1):
            self.drag_icon(manager, 0, program, target)

            self.wait_for_files(*number * ["a folder/b.txt", "a folder/sub %41/a.txt"])
            wait_for(lambda: os.path.isdir(self.server.path("a folder/émpty")), "the empty folder")
            self.wait_for_status(program, "Upload succeeded")
            self.assertIsNone(program.sheet())
        self.assertEqual(self.server.content("a folder/sub %41/a.txt"), b"sub %41/a.txt")
        # What was found first may have gone before the rest was found.
        wait_for(lambda: program.text("Queued files").endswith(") a folder/émpty/\n\n"), "the last of the queue")


if __name__ == "__main__":
    unittest.main()
