"""The table of the destination folder, by the accessibility interface, by the mouse and by the keyboard alone."""

import os
import unittest

from desktop import wait_for
from upload_server import SLOW
from window_test import WindowTest

COLUMNS = ["Name", "Size", "Type", "Date", "Mode"]


class ListingTest(WindowTest):
    def setUp(self):
        super().setUp()
        self.put("beta.txt", 2000, 0o644, 1_500_000_000)
        self.put("Alpha.bin", 1, 0o600, 1_600_000_000)
        self.put("gamma file.txt", 30, 0o755, 1_400_000_000)
        os.mkdir(self.server.path("Folder"), 0o750)

    def put(self, name, size, mode, modified):
        path = self.server.path(name)
        with open(path, "wb") as file:
            file.write(os.urandom(size))
        os.chmod(path, mode)
        os.utime(path, (modified, modified))

    def start_listed(self):
        """Starts the program, and waits until the folder stands in the table and the window takes keys."""
        self.settings()
        program = self.start()
        self.wait_for_listing(program)
        self.bring_to_front(program)
        return program

    def rows_of(self, program, names):
        """The rows of the table once they have those names, in that order; a refresh empties it for a moment."""
        rows = program.rows("Destination folder")
        return [row[0] for row in rows] == names and rows

    def selected_names(self, program):
        names = self.names(program)
        return [names[row] for row in program.selected_rows("Destination folder") if row < len(names)]


class Table(ListingTest):
    """What it shows."""

    def test_the_table_shows_what_the_folder_holds_and_sorts_at_a_click_on_a_columns_title(self):
        program = self.start_listed()

        rows = wait_for(lambda: self.rows_of(program, ["Alpha.bin", "beta.txt", "Folder", "gamma file.txt"]), "the rows")
        self.assertEqual([row[1] for row in rows], ["1 byte", "2 KB", "-", "30 bytes"])
        self.assertEqual(rows[2][2], "Folder")
        self.assertEqual([row[4] for row in rows], ["-rw------- ", "-rw-r--r-- ", "drwxr-x--- ", "-rwxr-xr-x "])

        expected = {
            "Name": ["gamma file.txt", "Folder", "beta.txt", "Alpha.bin"],
            "Size": ["Alpha.bin", "gamma file.txt", "beta.txt"],
            "Type": ["Folder"],
            "Date": ["gamma file.txt", "beta.txt", "Alpha.bin"],
            "Mode": ["Alpha.bin", "beta.txt", "Folder", "gamma file.txt"],
        }
        for column in COLUMNS:  # The first is sorted by already, so its direction turns.
            with self.subTest(column):
                self.desktop.click(program.column_title("Destination folder", COLUMNS.index(column)))

                def matches():
                    whole = self.names(program)
                    names = [name for name in whole if name in expected[column]]
                    return names == expected[column] and (column != "Type" or whole[0] == "Folder")

                wait_for(matches, f"the order by {column}")

    def test_a_refresh_shows_what_has_changed_and_keeps_the_selection(self):
        program = self.start_listed()
        self.desktop.click(program.cell("Destination folder", 1, 0))
        wait_for(lambda: program.is_enabled("Download"), "the selection")
        self.put("aaa", 1, 0o644, 1_500_000_000)

        self.desktop.key("F5")

        self.wait_for_listing(program)
        wait_for(lambda: program.is_enabled("Download"), "the selection to be back")
        wait_for(lambda: self.selected_names(program) == ["beta.txt"], "beta.txt to be selected")

    def test_an_uploaded_file_joins_the_table(self):
        self.settings()

        program = self.start(self.file("uploaded.txt"))

        self.wait_for_files("uploaded.txt")

        self.wait_for_listing(program)


class ByKeyboard(ListingTest):
    """Without the mouse."""

    def test_by_keyboard_alone(self):
        program = self.start_listed()
        self.go_to(program, "Destination folder")
        self.desktop.key("g")
        wait_for(lambda: self.selected_names(program) == ["gamma file.txt"], "the file to be selected")
        self.desktop.key("Return")
        self.wait_for_download("gamma file.txt", self.server.content("gamma file.txt"))
        self.wait_for_status(program, "Download succeeded")

        self.desktop.key("Delete")
        self.assertEqual(
            wait_for(program.sheet, "the question"),
            ["Delete Item", 'Are you sure you want to delete "gamma file.txt"?'],
        )
        wait_for(lambda: program.has_focus("Cancel"), "the keyboard to be in the question")
        self.desktop.key("Return")  # Cancel is the default.
        wait_for(lambda: program.sheet() is None, "the question to go")
        self.bring_to_front(program)
        self.desktop.key("Delete")
        wait_for(program.sheet, "the question")
        wait_for(lambda: program.has_focus("Cancel"), "the keyboard to be in the question")
        self.desktop.key("Tab")
        self.desktop.key("space")
        wait_for(lambda: not os.path.exists(self.server.path("gamma file.txt")), "the file to be deleted")
        self.wait_for_listing(program)

        self.bring_to_front(program)
        self.desktop.key("ctrl+shift+n")
        self.bring_to_front(program, "^Enter Name$")
        self.desktop.xdotool("type", "--delay", 15, "new one")
        self.desktop.key("Return")
        wait_for(lambda: os.path.isdir(self.server.path("new one")), "the folder")
        self.wait_for_listing(program)

    def test_the_order_is_chosen_by_keyboard_alone(self):
        program = self.start_listed()

        for key in ("alt+v", "s", "d"):
            self.desktop.key(key)
        wait_for(lambda: self.names(program)[-1:] == ["Folder"], "the order by date")
        self.bring_to_front(program)
        for key in ("alt+v", "s", "e"):
            self.desktop.key(key)

        wait_for(lambda: self.names(program)[:1] == ["Folder"], "the order turned")


class Commands(ListingTest):
    """What is done with a row."""

    def test_a_double_click_downloads_a_file_and_a_folder_is_refused(self):
        program = self.start_listed()

        self.desktop.double_click(program.cell("Destination folder", 2, 0))
        self.assertEqual(program.acknowledge(), ["Folder Item", "Folders are not downloadable."])
        self.desktop.double_click(program.cell("Destination folder", 1, 0))

        self.wait_for_download("beta.txt", self.server.content("beta.txt"))
        self.wait_for_status(program, "Download succeeded")

    def test_an_upload_keeps_item_actions_back(self):
        self.server.read_at_most(SLOW)
        self.settings()
        program = self.start()
        self.wait_for_listing(program)
        second = self.launch(self.file("large", bytes(20_000_000)))
        self.assertEqual(second.exit_code(), 0)
        wait_for(lambda: program.is_enabled("Stop"), "the upload")

        program.press("New Folder")

        self.assertEqual(program.acknowledge(), ["Cannot Download", "Wait for the current upload to complete."])
        program.press("Stop")
        self.wait_for_status(program, "Upload Stopped")

    def test_the_buttons_follow_the_selection_and_the_locations_of_folder_and_item_are_copied(self):
        program = self.start_listed()
        self.assertFalse(program.is_enabled("Download"))
        self.desktop.key("ctrl+shift+c")
        self.assert_pasted(program, f"ftp://127.0.0.1:{self.server.port}/")

        self.bring_to_front(program)
        self.desktop.click(program.cell("Destination folder", 3, 0))
        wait_for(lambda: program.is_enabled("Download") and program.is_enabled("Delete"), "the buttons")
        self.desktop.key("ctrl+c")
        self.assert_pasted(program, f"ftp://127.0.0.1:{self.server.port}/gamma%20file.txt")

    def assert_pasted(self, program, text):
        """The clipboard holds that, as a field of the preferences takes it."""
        self.desktop.key("ctrl+comma")
        wait_for(lambda: program.find("Folder") and program.has_focus("Server address"), "a field")
        self.desktop.key("ctrl+a")
        self.desktop.key("ctrl+v")
        wait_for(lambda: program.text("Server address") == text, f"“{text}” to be pasted")
        self.desktop.key("Escape")
        wait_for(lambda: "Preferences" not in program.titles(), "the preferences to close")


class WithoutALogin(WindowTest):
    def test_items_are_deleted_and_folders_made_without_user_name_and_password(self):
        self.server.let_everybody_in()
        self.settings(Username="", Password="")
        with open(self.server.path("unwanted.txt"), "wb") as file:
            file.write(b"unwanted")
        program = self.start()
        self.wait_for_listing(program)

        self.delete(program, "unwanted.txt")
        wait_for(lambda: not os.path.exists(self.server.path("unwanted.txt")), "the file to be deleted")
        wait_for(lambda: program.find("“unwanted.txt” was deleted"), "the word of it")
        self.wait_for_listing(program)
        self.bring_to_front(program)
        self.desktop.key("ctrl+shift+n")
        program.enter("Enter name of folder to create.", "new one")
        program.press("OK")

        wait_for(lambda: os.path.isdir(self.server.path("new one")), "the folder")
        wait_for(lambda: program.find("Folder “new one” was created"), "the word of it")
        self.assertIsNone(program.sheet())


if __name__ == "__main__":
    unittest.main()
