"""The preferences panel and the welcome window of the real program, filled by keys and by the accessibility interface."""

import os
import unittest

from desktop import wait_for
from upload_server import USER
from window_test import WindowTest


class Preferences(WindowTest):
    def setUp(self):
        super().setUp()
        self.forget_settings()

    def open_panel(self, program):
        """Opens the panel by its shortcut, and waits until it takes keys."""
        self.bring_to_front(program, "^No FTP Destination$")
        self.desktop.key("ctrl+comma")
        self.bring_to_front(program, "^Preferences$")
        wait_for(lambda: program.has_focus("Server address"), "the keyboard to be in the panel")

    def test_filled_by_keys_from_empty_it_starts_the_waiting_file(self):
        program = self.start(self.file("one.txt"))
        self.assertEqual(program.acknowledge()[0], "No Destination")
        wait_for(lambda: "No FTP Destination" in program.titles(), "the title")
        program.press("Close")
        self.open_panel(program)
        self.assertEqual(program.text("Destination"), "No destination")

        values = [f"127.0.0.1:{self.server.port}", USER, self.server.password]
        for value in values:
            self.desktop.xdotool("type", "--delay", 15, value)
            self.desktop.key("Tab")
        self.desktop.key("Tab")  # Past the button that shows the password.
        self.desktop.xdotool("type", "--delay", 15, "in box ")
        wait_for(lambda: program.text("Folder") == "in box ", "the folder to be typed")
        self.assertEqual(program.text("Destination"), f"Files go to ftp://{values[0]}/in box /")
        self.assertIsNone(self.stored_settings())
        self.assertEqual(self.server.logins, [])
        os.mkdir(self.server.path("in box "))
        self.desktop.key("Return")

        self.wait_for_files("in box /one.txt")
        self.assertEqual(
            self.stored_settings(),
            {"Address": values[0], "Username": values[1], "Password": values[2], "FTPFolder": "in box "},
        )
        wait_for(lambda: f"ftp://{values[0]}/in%20box%20/" in program.titles(), "the destination as the title")
        self.assertEqual(
            program.acknowledge(),
            [
                "Base URL Changed",
                "The URL changed from\n\n/\n\nto\n\nin box \n\n"
                "Be sure to update the relative URL name of copies of this app.",
            ],
        )
        self.assertNotIn(values[2], program.output())

    def test_filled_by_the_accessibility_interface_it_stores_what_was_entered(self):
        program = self.start()
        program.press("Preferences…")

        program.enter("Server address", "host name")
        wait_for(lambda: program.text("Advice") == "The server address holds a blank.", "the advice")
        program.enter("Server address", "localhost")
        program.enter("Password", self.server.password)
        program.press("Done")

        wait_for(lambda: "Preferences" not in program.titles(), "the panel to close")
        self.assertEqual(self.stored_settings(), {"Address": "localhost", "Password": self.server.password})
        self.assertNotIn(self.server.password, program.tree())

    def test_escape_changes_nothing(self):
        program = self.start()
        wait_for(lambda: "No FTP Destination" in program.titles(), "the title")
        program.press("Close")
        self.open_panel(program)
        self.desktop.xdotool("type", "--delay", 15, "elsewhere")
        wait_for(lambda: program.text("Server address") == "elsewhere", "the address to be typed")

        self.desktop.key("Escape")

        wait_for(lambda: "Preferences" not in program.titles(), "the panel to close")
        self.assertIsNone(self.stored_settings())

    def test_what_cannot_be_stored_stays_in_the_panel(self):
        program = self.start()
        program.press("Preferences…")
        program.enter("Server address", "localhost")
        obstacle = os.path.join(self.home["XDG_CONFIG_HOME"], "quillbox")
        if os.path.isdir(obstacle):
            os.rmdir(obstacle)
        with open(obstacle, "w", encoding="utf-8"):  # A file where the folder has to be.
            pass
        program.press("Done")

        self.assertEqual(program.acknowledge()[0], "Settings Not Saved")
        self.assertEqual(program.text("Server address"), "localhost")
        os.remove(obstacle)
        program.press("Done")
        wait_for(lambda: "Preferences" not in program.titles(), "the panel to close")
        self.assertEqual(self.stored_settings(), {"Address": "localhost"})

    def test_the_welcome_window_shows_until_it_is_turned_off(self):
        program = self.launch()
        wait_for(lambda: "Welcome to Quillbox" in program.titles(), "the welcome window")
        program.press("Do not show this window again")
        wait_for(lambda: self.stored_settings() == {"DoNotShowWelcomeWindowAgain": True}, "the choice to be stored")
        program.close()

        program = self.start()

        wait_for(lambda: "No FTP Destination" in program.titles(), "the title")
        self.assertNotIn("Welcome to Quillbox", program.titles())


if __name__ == "__main__":
    unittest.main()
