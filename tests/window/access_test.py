"""From the first start of all to an upload, a download, a copied link and a deletion: without a mouse, and without eyes."""

import os
import unittest

from desktop import wait_for
from upload_server import USER
from window_test import WindowTest

LINK = "https://www.example.com/files/note%20one.txt"


class FirstStart(WindowTest):
    def setUp(self):
        super().setUp()
        self.forget_settings()
        self.path = self.file("note one.txt", b"noted")

    def wait_until_there(self, program):
        self.wait_for_files("note one.txt")
        self.wait_for_status(program, "Upload succeeded")
        self.wait_for_listing(program)

    def wait_until_gone(self, program):
        wait_for(lambda: not os.path.exists(self.server.path("note one.txt")), "the file to be deleted")
        self.wait_for_listing(program)


class ByKeyboard(FirstStart):
    """What is read here, a person sees; what is done is done by keys."""

    def test_from_the_first_start_to_a_deletion(self):
        program = self.start()
        wait_for(lambda: "Welcome to Quillbox" in program.titles(), "the welcome window")

        self.go_to(program, "Preferences…")
        self.desktop.key("space")
        self.fill_in_the_preferences(program)
        wait_for(lambda: program.has_focus("Preferences…"), "the keyboard to be back in the welcome window")
        self.desktop.key("Escape")
        wait_for(lambda: "Welcome to Quillbox" not in program.titles() and program.is_active(), "the window alone")
        self.desktop.key("ctrl+o")
        self.bring_to_front(program, "^Upload Files$")
        self.desktop.xdotool("type", "--delay", 15, self.path)
        self.desktop.key("Return")
        self.wait_until_there(program)

        self.go_to(program, "Destination folder")
        self.desktop.key("Home")
        wait_for(lambda: program.selected_row("Destination folder") == 0, "the file to be selected")
        self.desktop.key("Return")
        self.wait_for_download("note one.txt", b"noted")
        self.wait_for_status(program, "Download succeeded")
        windows = self.desktop.windows_of(program.process.pid)
        self.desktop.key("Menu")
        wait_for(lambda: len(self.desktop.windows_of(program.process.pid)) > len(windows), "the menu")
        self.desktop.key("w")
        wait_for(lambda: self.desktop.clipboard() == LINK, "the link to be copied")
        self.desktop.key("Delete")
        wait_for(program.sheet, "the question")
        wait_for(lambda: program.has_focus("Cancel"), "the keyboard to be in the question")
        self.desktop.key("Tab", "space")
        self.wait_until_gone(program)

    def fill_in_the_preferences(self, program):
        wait_for(lambda: "Preferences" in program.titles() and program.has_focus("Server address"), "the preferences")
        for value in (f"127.0.0.1:{self.server.port}", USER, self.server.password):
            self.desktop.xdotool("type", "--delay", 15, value)
            self.desktop.key("Tab")
        self.desktop.key("ctrl+Tab")
        wait_for(lambda: program.find("Web address of this folder"), "the second page")
        self.go_to(program, "Web address of this folder")
        self.desktop.xdotool("type", "--delay", 15, "https://www.example.com/files")
        self.desktop.key("Return")
        wait_for(lambda: "Preferences" not in program.titles(), "the preferences to close")
        self.wait_for_listing(program)


class DropIconsByKeyboard(WindowTest):
    def test_an_icon_with_a_server_of_its_own_is_made_edited_and_removed(self):
        self.settings()
        program = self.start()
        self.open_drop_icons(program)
        self.wait_for_window(program, "Drop Icons", "Drop icons")
        self.desktop.key("alt+n")
        self.wait_for_window(program, "New Drop Icon", "Name of the icon")
        self.desktop.xdotool("type", "--delay", 15, "Print shop")
        self.go_to(program, "In a folder on the main server")
        self.desktop.key("Down")
        wait_for(lambda: program.has_focus("On a server of its own"), "the other choice")
        for name, value in (("Server address", "files.example.com"), ("User name", USER), ("Folder", "inbox")):
            self.go_to(program, name)
            self.desktop.xdotool("type", "--delay", 15, value)
        self.desktop.key("Return")
        self.wait_for_window(program, "Drop Icons", "Drop icons")
        self.assertEqual(program.rows("Drop icons")[0][:2], ["Print shop", "ftp://files.example.com/inbox/"])

        self.desktop.key("F2")
        self.wait_for_window(program, "Edit Drop Icon", "Name of the icon")
        self.desktop.key("End")
        self.desktop.xdotool("type", "--delay", 15, " 2")
        self.desktop.key("Return")
        self.wait_for_window(program, "Drop Icons", "Drop icons")
        wait_for(lambda: program.rows("Drop icons")[0][0] == "Print shop 2", "the other name")
        self.desktop.key("Delete")
        wait_for(program.sheet, "the question")
        wait_for(lambda: program.has_focus("Cancel"), "the keyboard to be in the question")
        self.desktop.key("Tab", "space")
        wait_for(lambda: program.rows("Drop icons") == [], "the icon to go")
        self.desktop.key("Escape")
        wait_for(lambda: "Drop Icons" not in program.titles() and program.is_active(), "the main window alone")

    def wait_for_window(self, program, title, focused):
        """Until it has the keyboard, and in it what is focused."""
        wait_for(lambda: title in program.titles(), f"the window “{title}”")
        wait_for(lambda: program.has_focus(focused), f"the keyboard to be at “{focused}”")


class ByScreenReader(FirstStart):
    """Everything is read and done through the accessibility interface."""

    def test_from_the_first_start_to_a_deletion(self):
        program = self.start()

        program.press("Preferences…")
        for name, value in (
            ("Server address", f"127.0.0.1:{self.server.port}"),
            ("User name", USER),
            ("Password", self.server.password),
        ):
            program.enter(name, value)
        program.press("More")
        program.enter("Web address of this folder", "https://www.example.com/files")
        program.press("Done")
        wait_for(lambda: "Preferences" not in program.titles(), "the preferences to close")
        program.press("Close")  # The welcome window.
        self.wait_for_listing(program)
        program.choose("File", "Upload Files…")
        program.enter("File name:", self.path)
        program.press("Upload")
        self.wait_until_there(program)
        self.assertEqual(program.text("Outcome of the last queue"), "“note one.txt” uploaded")
        program.press("Copy Web Link")
        wait_for(lambda: self.desktop.clipboard() == LINK, "the link to be copied")

        program.select_row("Destination folder", 0)
        program.press("Download")
        self.wait_for_download("note one.txt", b"noted")
        self.wait_for_status(program, "Download succeeded")
        program.press("Delete")
        wait_for(
            lambda: program.sheet() == ["Delete Item", 'Are you sure you want to delete "note one.txt"?'],
            "the question",
        )
        program.answer("Delete")
        self.wait_until_gone(program)


if __name__ == "__main__":
    unittest.main()
