"""The commands in the menus, by mouse and by key."""

import unittest

from desktop import wait_for
from window_test import ANY_TITLE, WindowTest


class Menus(WindowTest):
    def launch_in_front(self):
        """Starts the program, which a test may end, with its window in front."""
        self.settings()
        program = self.launch()
        self.bring_to_front(program, ANY_TITLE)
        return program

    def choose(self, program, menu, command):
        self.desktop.click(program.centre(menu))
        self.desktop.click(program.centre(command))

    def test_quit_in_the_menu_ends_the_program(self):
        program = self.launch_in_front()

        self.choose(program, "File", "Quit")

        self.assertEqual(program.exit_code(), 0)
        self.assertEqual(program.output(), "")

    def test_its_key_ends_the_program_also_with_another_window_open(self):
        program = self.launch_in_front()
        self.choose(program, "Transfer", "Manual Transfers…")
        wait_for(lambda: "Manual Transfers" in program.titles(), "the second window")
        self.bring_to_front(program)

        self.desktop.key("ctrl+q")

        self.assertEqual(program.exit_code(), 0)

    def test_files_are_chosen_by_key_from_the_drop_area(self):
        program = self.launch_in_front()
        wait_for(lambda: program.has_focus("Destination folder"), "the keyboard to be in the table")
        self.go_to(program, "Drop area")

        self.desktop.key("space")

        wait_for(lambda: "Upload Files" in program.titles(), "the file chooser")

    def test_manual_transfers_open_by_their_key(self):
        program = self.launch_in_front()

        self.desktop.key("ctrl+m")

        wait_for(lambda: "Manual Transfers" in program.titles(), "the second window")
        self.assertIsNone(program.process.poll())


if __name__ == "__main__":
    unittest.main()
