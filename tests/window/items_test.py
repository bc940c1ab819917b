"""Items deleted and folders created by the real program on real servers, on port 21."""

import os
import unittest

import private_network
from desktop import wait_for
from real_ftp_server import RealFTPServer
from window_test import WindowTest


def setUpModule():
    private_network.enter()


def refusal(name):
    return [
        "Item Not Deleted",
        f'"{name}" was not deleted. If this is a folder make sure it is empty. Folders can not be deleted if they contain'
        " items.\n\nSwitch to the folder using preferences, and then delete its items.",
    ]


class Items:
    """What the tests of each make of server have in common."""

    make = None
    place = ""  # The destination folder on the server.

    def make_server(self):
        return RealFTPServer(self.make)

    def write(self, name):
        with open(self.server.path(name), "wb") as file:
            file.write(b"content")

    def exists(self, name):
        """Whether the destination folder holds an item of that name."""
        return os.path.lexists(self.server.path(os.path.join(self.place, name)))

    def start_listed(self, **settings):
        self.settings(**settings)
        program = self.start()
        self.wait_for_listing(program, self.place)
        return program

    def assert_deleted(self, program, name):
        self.delete(program, name)
        wait_for(lambda: not self.exists(name), f"{name} to be deleted")
        self.wait_for_listing(program, self.place)
        self.assertIsNone(program.sheet())

    def assert_refused(self, program, name, **options):
        self.delete(program, name, **options)
        texts = program.acknowledge()
        self.assertEqual(texts[:2], refusal(name))
        self.assertEqual(texts[2], "The server said:")
        self.assertTrue(texts[3].startswith("550 "), texts[3])

    def create(self, program, name):
        self.bring_to_front(program)
        self.desktop.key("ctrl+shift+n")
        program.enter("Enter name of folder to create.", name)
        program.press("OK")

    def assert_created(self, program, name):
        self.create(program, name)
        wait_for(lambda: self.exists(name), f"the folder {name}")
        self.wait_for_listing(program, self.place)
        self.assertIsNone(program.sheet())


class Deletions(Items):
    """Items of the destination folder are deleted."""

    def test_files_and_empty_folders_are_deleted_and_full_ones_are_not(self):
        self.write("unwanted file é.txt")
        self.write("README")
        os.mkdir(self.server.path("empty"))
        os.mkdir(self.server.path("v1.2"))
        os.mkdir(self.server.path("full"))
        self.write("full/content.txt")
        program = self.start_listed()

        self.assert_deleted(program, "unwanted file é.txt")
        self.assert_deleted(program, "empty")
        self.assert_deleted(program, "README")
        self.assert_deleted(program, "v1.2")
        self.assert_refused(program, "full")
        self.wait_for_listing(program)

        self.assertEqual(sorted(os.listdir(self.server.path(""))), ["full"])


class Creations(Items):
    """Folders are made in the destination folder."""

    def test_folders_are_created_in_a_folder_with_blanks_and_accents(self):
        self.place = "ein Ordner é 100%"
        os.mkdir(self.server.path(self.place))
        program = self.start_listed(FTPFolder=self.place)

        self.assert_created(program, "new one")
        self.assert_created(program, "été à la mer")
        self.assert_deleted(program, "new one")

        self.assertEqual(os.listdir(self.server.path("")), [self.place])

    def test_a_name_that_is_taken_is_told_from_the_list_or_by_the_server(self):
        os.mkdir(self.server.path("listed"))
        program = self.start_listed()

        self.create(program, "listed")
        self.assertEqual(
            program.acknowledge(), ["Folder Exists", 'Folder "listed" already exists. Try another name.']
        )
        os.mkdir(self.server.path("unlisted"))
        self.create(program, "unlisted")

        self.assertEqual(
            program.acknowledge()[:2],
            [
                "Folder Not Created",
                'Folder "unlisted" was not created due to an error.\n\nPlease check your preference settings for correct'
                " FTP server passsword, username and folder location.",
            ],
        )


class TwoFolders(Items):
    """One is shown, and another one could be hit."""

    def start_in_old_folder(self):
        self.make_two_folders()
        self.place = "old"
        return self.start_listed(FTPFolder="old")

    def make_two_folders(self):
        """Two destinations that each hold an item of the same name, as the login folder does."""
        for folder in ("old", "new"):
            os.mkdir(self.server.path(folder))
        self.photos = [os.path.join(folder, "photo.jpg") for folder in ("", "old", "new")]
        for photo in self.photos:
            self.write(photo)

    def assert_all_photos_are_there(self):
        self.assertEqual([photo for photo in self.photos if not os.path.exists(self.server.path(photo))], [])


class Strangers(TwoFolders):
    """Nothing is deleted that was not shown."""

    def test_nothing_is_deleted_elsewhere_when_the_folder_has_gone(self):
        program = self.start_in_old_folder()

        self.assert_refused(
            program, "photo.jpg", meanwhile=lambda: os.rename(self.server.path("old"), self.server.path("moved"))
        )

        self.photos[1] = os.path.join("moved", "photo.jpg")
        self.assert_all_photos_are_there()

    def test_nothing_is_deleted_in_a_folder_that_came_into_force_behind_the_question(self):
        program = self.start_in_old_folder()

        self.delete(program, "photo.jpg", meanwhile=lambda: self.settings(FTPFolder="new"))

        self.assertEqual(
            program.acknowledge(),
            ["Destination Changed", "Nothing was done to “photo.jpg”, since the destination has changed."],
        )
        self.assert_all_photos_are_there()

    def test_an_item_is_deleted_on_the_machine_that_the_list_came_from(self):
        self.server.close()
        self.server = RealFTPServer(self.make, address="127.0.0.3")
        self.addCleanup(self.server.close)
        private_network.name_addresses("twofold.example", "127.0.0.2", "127.0.0.3")
        self.write("photo.jpg")
        program = self.start_listed(Address="twofold.example")
        other = RealFTPServer(self.make, address="127.0.0.2")
        self.addCleanup(other.close)

        self.assert_deleted(program, "photo.jpg")
        self.assert_created(program, "new one")

        self.assertEqual(os.listdir(other.path("")), [])


class Leftovers(TwoFolders):
    """Nothing is deleted that was shown before the destination changed."""

    def test_what_was_selected_in_one_folder_is_not_selected_in_another(self):
        program = self.start_in_old_folder()
        self.bring_to_front(program)
        self.select(program, "photo.jpg")

        self.settings(FTPFolder="new")
        self.desktop.key("Delete")

        wait_for(lambda: any(title.endswith("/new/") for title in program.titles()) or program.sheet(), "the title")
        if program.sheet():  # Said when the key came before the settings were looked at.
            self.assertEqual(program.acknowledge()[0], "Destination Changed")
        wait_for(lambda: any(title.endswith("/new/") for title in program.titles()), "the title")
        self.wait_for_listing(program, "new")
        self.bring_to_front(program)
        self.desktop.key("Delete")
        self.assert_no_more_sheets(program)
        self.assertFalse(program.is_enabled("Delete"))
        self.assertIsNone(program.selected_row("Destination folder"))
        self.assert_all_photos_are_there()

    def test_what_another_destination_showed_is_not_asked_about_once_the_preferences_are_done(self):
        program = self.start_in_old_folder()
        self.bring_to_front(program)
        row = program.cell("Destination folder", 0, 0)
        self.desktop.key("ctrl+comma")
        program.enter("Folder", "new")
        program.press("Done")
        wait_for(lambda: "Preferences" not in program.titles(), "the preferences to close")

        self.bring_to_front(program)
        self.desktop.click(row)
        self.desktop.key("Delete")

        self.assertEqual(program.acknowledge()[0], "Base URL Changed")  # And no question before.
        wait_for(lambda: any(title.endswith("/new/") for title in program.titles()), "the title")
        self.wait_for_listing(program, "new")
        self.assert_no_more_sheets(program)
        self.assert_all_photos_are_there()


class OtherRows(TwoFolders):
    """Nothing is deleted in mistake for rows that are of another folder, or that did not come."""

    def test_a_listing_that_does_not_come_leaves_nothing_to_delete(self):
        program = self.start_in_old_folder()
        self.bring_to_front(program)
        row = program.cell("Destination folder", 0, 0)
        self.server.stand_still()
        self.addCleanup(self.server.go_on)

        self.settings(FTPFolder="new")
        wait_for(lambda: any(title.endswith("/new/") for title in program.titles()), "the title")
        self.bring_to_front(program)
        self.desktop.click(row)
        self.desktop.key("Delete")

        self.assert_no_more_sheets(program)
        self.assertFalse(program.is_enabled("Delete"))
        self.server.go_on()
        self.wait_for_listing(program, "new")
        self.assert_all_photos_are_there()

    def test_the_question_says_so_when_another_folder_than_the_destination_is_listed(self):
        self.make_two_folders()
        program = self.start_listed()
        self.bring_to_front(program)
        self.desktop.key("ctrl+m")
        program.enter("Manual destination", "old")
        program.press("Start/Stop List")
        wait_for(lambda: self.names(program) == ["photo.jpg"], "the other folder")

        self.bring_to_front(program)
        self.select(program, "photo.jpg")
        self.desktop.key("Delete")
        question = wait_for(program.sheet, "the question")

        self.assertEqual(question[:2], ["Delete Item", 'Are you sure you want to delete "photo.jpg"?'])
        self.assertEqual(question[2::2], ["Deleted from:", "Listed is:"])
        self.assertEqual(question[5], question[3] + "old/")
        wait_for(lambda: program.has_focus("Cancel"), "the keyboard to be in the question")
        self.desktop.key("space")
        wait_for(lambda: program.sheet() is None, "the question to go")
        self.assert_no_more_sheets(program)
        self.assert_all_photos_are_there()


for tests in (Deletions, Creations, Strangers, Leftovers, OtherRows):
    for make in ("vsftpd", "proftpd", "pyftpdlib"):
        name = f"{tests.__name__}On{make.capitalize()}"
        globals()[name] = type(name, (tests, WindowTest), {"make": make})


if __name__ == "__main__":
    unittest.main()
