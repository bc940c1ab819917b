"""Sheets: when they come, what they say, and that nothing stands still meanwhile."""

import os
import unittest

from desktop import wait_for
from program import settings_path, store_settings
from window_test import WindowTest

NO_DESTINATION = ["No Destination", "Specify a destination on the FTP server. See Preferences for instructions."]
CHECK_SETTINGS = [
    "Check Settings",
    "An error occurred.\n\nPlease check your preference settings for correct FTP server passsword, username and folder"
    " location.",
]


class Sheets(WindowTest):
    """One sheet, the window behind it, and the other windows."""

    def test_files_without_a_destination_wait_for_one(self):
        program = self.start(self.file("one.txt"), self.file("two.txt"))

        wait_for(lambda: program.sheet() == NO_DESTINATION, "the sheet")
        program.acknowledge()
        self.assertEqual(program.value("Files waiting"), (2, 2))
        self.settings()
        self.wait_for_files("one.txt", "two.txt")
        self.wait_for_status(program, "Upload succeeded")

    def test_date_and_uploads_go_on_while_a_sheet_shows(self):
        program = self.start(self.file("one.txt"))
        wait_for(program.sheet, "the sheet")

        self.wait_for_the_clock(program)
        self.settings()
        self.wait_for_files("one.txt")
        self.wait_for_status(program, "Upload succeeded")

        self.assertEqual(program.sheet(), NO_DESTINATION)

    def test_a_sheet_keeps_the_mouse_from_the_window_behind(self):
        program = self.start(self.file("one.txt"))
        wait_for(program.sheet, "the sheet")
        wait_for(lambda: program.value("Files waiting") == (1, 1), "the file to wait")
        left, top, width, height = program.box(NO_DESTINATION[0])
        button = program.centre("Clear Queue")
        is_covered = left <= button[0] < left + width and top <= button[1] < top + height
        self.assertFalse(is_covered, "the sheet is in the way")

        self.desktop.click(button)

        self.wait_for_the_clock(program)
        self.assertEqual(program.value("Files waiting"), (1, 1))
        program.acknowledge()
        self.desktop.click(program.centre("Clear Queue"))
        wait_for(lambda: program.value("Files waiting") is None, "the queue to be empty")

    def test_a_sheet_takes_no_key_from_the_preferences(self):
        self.settings(FTPFolder="nowhere")
        self.server.stand_still()
        program = self.start()
        self.bring_to_front(program)
        self.desktop.key("ctrl+comma")
        wait_for(lambda: program.has_focus("Server address"), "the keyboard to be in the preferences")
        (panel,) = self.desktop.windows_of(program.process.pid, "^Preferences$")
        self.desktop.xdotool("windowmove", "--sync", panel, 700, 550)
        self.desktop.key("Tab", "Tab", "ctrl+a")
        wait_for(lambda: program.has_focus("Password"), "the keyboard to be in the password")
        password = "correct horse battery staple"
        self.desktop.xdotool("type", password[:10])

        self.server.go_on()
        wait_for(lambda: program.sheet() == CHECK_SETTINGS, "the sheet")
        self.desktop.xdotool("type", "--delay", 50, password[10:])

        self.assertTrue(program.has_focus("Password"))
        self.assertEqual(program.sheet(), CHECK_SETTINGS)
        self.desktop.click(program.centre("Folder"))
        wait_for(lambda: program.has_focus("Folder"), "the mouse to reach the preferences as well")
        self.server.stand_still()  # Lest the listing that Done begins fails too.
        self.desktop.key("Return")
        wait_for(lambda: "Preferences" not in program.titles(), "the preferences to close")
        self.assertEqual(self.stored_settings()["Password"], password)
        self.assertEqual(program.sheet(), CHECK_SETTINGS)

    def test_a_sheet_gets_the_keyboard_with_its_window(self):
        self.settings(FTPFolder="nowhere")
        self.server.stand_still()
        program = self.start()
        self.bring_to_front(program)
        self.desktop.key("ctrl+h")
        wait_for(lambda: program.has_focus("Files of all runs"), "the keyboard to be in the history")
        self.server.go_on()
        wait_for(lambda: program.sheet() == CHECK_SETTINGS, "the sheet")
        self.desktop.key("space", "Return")
        self.assertTrue(program.has_focus("Files of all runs"))

        (window,) = self.desktop.windows_of(program.process.pid, "^ftp://")
        self.desktop.xdotool("windowactivate", window)  # Which never is the active one, since its sheet is.

        wait_for(lambda: program.has_focus("OK"), "the keyboard to be in the sheet")
        self.desktop.key("Return")
        wait_for(lambda: program.sheet() is None, "the sheet to go")

    def test_a_window_has_the_keyboard_again_after_a_sheet_that_is_answered_at_once(self):
        self.settings()
        os.mkdir(self.server.path("listed"))
        program = self.start()
        self.wait_for_listing(program)
        self.bring_to_front(program)
        for _ in range(6):
            self.desktop.key("ctrl+shift+n")
            program.enter("Enter name of folder to create.", "listed")
            program.press("OK")
            program.acknowledge()  # Often before the sheet itself has the keyboard.

            wait_for(program.is_active, "the program to have the keyboard")


class Failures(WindowTest):
    """What fails raises one, and no more than one."""

    def break_settings(self, content="{ broken"):
        store_settings(self.home, {})
        with open(settings_path(self.home), "w", encoding="utf-8") as file:
            file.write(content)

    def refresh(self, program):
        """Makes the program the active one again, which lists the destination afresh."""
        window = self.desktop.windows_of(program.process.pid)[0]
        self.desktop.xdotool("windowminimize", window)
        wait_for(lambda: not program.is_active(), "the program to notice that it is no longer active")
        self.desktop.xdotool("windowactivate", window)

    def test_a_large_file_called_error_raises_one_sheet(self):
        self.settings()

        program = self.start(self.file("Error.log", bytes(64 * 1024 * 1024)))

        self.wait_for_files("Error.log")
        self.assertEqual(os.path.getsize(self.server.path("Error.log")), 64 * 1024 * 1024)
        self.wait_for_status(program, "Upload succeeded")
        wait_for(lambda: program.sheet() == CHECK_SETTINGS, "the sheet")
        self.assertEqual(len(program.windows()), 2)
        program.acknowledge()
        self.assert_no_more_sheets(program)

    def test_each_failure_after_an_acknowledged_one_raises_a_sheet(self):
        self.settings(FTPFolder="nowhere")
        program = self.start()
        for _ in range(2):
            wait_for(lambda: program.sheet() == CHECK_SETTINGS, "the sheet")
            wait_for(lambda: self.server.is_quiet_for(1), "no listing to be under way")
            program.acknowledge()
            self.assert_no_more_sheets(program)
            self.refresh(program)

        wait_for(lambda: program.sheet() == CHECK_SETTINGS, "the sheet of the third failure")

    def test_broken_settings_are_told_once_for_each_change(self):
        self.break_settings()
        program = self.start(self.file("waits.txt"))
        sheets = dict([program.acknowledge(), program.acknowledge()])

        self.assertEqual(set(sheets), {NO_DESTINATION[0], "Settings Not Readable"})
        self.assertIn("settings.json.bak", sheets["Settings Not Readable"])
        self.assert_no_more_sheets(program)
        self.break_settings("[1, 2, 3]")

        self.assertEqual(program.acknowledge()[0], "Settings Not Readable")
        self.assert_no_more_sheets(program)

    def test_settings_mended_by_hand_take_effect_at_once(self):
        self.break_settings()
        program = self.start(self.file("one.txt"))
        wait_for(program.sheet, "a sheet")

        self.settings()

        self.wait_for_files("one.txt")


if __name__ == "__main__":
    unittest.main()
