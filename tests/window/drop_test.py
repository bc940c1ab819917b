"""Files dragged by mouse from a real file manager onto the window."""

import os
import unittest

from desktop import wait_for
from window_test import WindowTest

# Where PCManFM shows its icons in a window of its own, folders first: the first one, and how far it is to the next.
FIRST_ICON = (205, 115)
TO_NEXT_ICON = 94


class Drop(WindowTest):
    def open_folder(self):
        """Opens the folder of this test's files in a file manager at the right of the screen."""
        manager = self.desktop.spawn(["pcmanfm", "--no-desktop", self.folder])
        self.addCleanup(self.desktop.end, manager)
        (window,) = wait_for(lambda: self.desktop.windows_of(manager.pid), "the file manager")
        self.desktop.xdotool("windowsize", "--sync", window, 560, 400, "windowmove", "--sync", window, 700, 40)
        self.desktop.wait_until_still(window)
        return window

    def start_at_the_left(self):
        program = self.start()
        (window,) = wait_for(lambda: self.desktop.windows_of(program.process.pid), "the window on the screen")
        self.desktop.xdotool("windowmove", "--sync", window, 20, 40)
        wait_for(lambda: program.box("Drop area")[0] < 60, "the window to have moved")
        return program

    def drag_icon(self, manager, number, program, target="Drop area"):
        left, top = self.desktop.place_of(manager)
        icon = (left + FIRST_ICON[0] + number * TO_NEXT_ICON, top + FIRST_ICON[1])
        self.desktop.drag(icon, program.centre(target))

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


if __name__ == "__main__":
    unittest.main()
