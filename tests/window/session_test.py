"""One whole session, from the first start to quitting, on a real server on port 21.

scripts/check-memory runs it once more with a memory checker under the program.
"""

import os
import unittest

import private_network
from desktop import wait_for
from real_ftp_server import RealFTPServer
from window_test import WindowTest

TABLE = "Destination folder"
HISTORY = "Files of all runs"


def setUpModule():
    private_network.enter()


class Session(WindowTest):
    def make_server(self):
        return RealFTPServer("vsftpd")

    def write(self, name, content):
        with open(self.server.path(name), "wb") as file:
            file.write(content)

    def read(self, path):
        with open(path, "rb") as file:
            return file.read()

    def test_all_that_a_session_may_hold_leaves_the_program_whole(self):
        bytes_up, bytes_down = os.urandom(3_000_000), os.urandom(2_000_000)
        os.mkdir(self.server.path("inbox"))
        self.write("down.bin", bytes_down)
        self.write("unwanted.txt", b"unwanted")
        self.forget_settings()
        self.settings()
        program = self.launch()
        wait_for(program.titles, "the window")
        self.wait_for_listing(program)

        self.upload(program, "up.bin", bytes_up)
        self.download(program, "down.bin", bytes_down)
        self.sort_by_every_column(program)
        self.delete(program, "unwanted.txt")
        wait_for(lambda: not os.path.exists(self.server.path("unwanted.txt")), "the file to be deleted")
        self.wait_for_listing(program)
        self.create_folder(program, "new one")
        self.be_refused(program, "inbox")
        self.look_at_the_history(program)
        self.change_the_folder(program, "inbox")
        self.upload(program, "inbox/again.bin", bytes_up)
        self.quit(program)

    def upload(self, program, place, content):
        """Opens a file with the running program, which uploads it to that place."""
        second = self.launch(self.file(os.path.basename(place), content))
        self.assertEqual(second.exit_code(), 0, second.output())
        path = self.server.path(place)
        wait_for(lambda: os.path.exists(path) and self.read(path) == content, f"{place} to arrive")
        self.wait_for_status(program, "Upload succeeded")
        self.wait_for_listing(program, os.path.dirname(place))

    def download(self, program, name, content):
        self.bring_to_front(program)
        self.select(program, name)
        self.desktop.key("Return")
        self.wait_for_download(name, content)
        self.wait_for_status(program, "Download succeeded")

    def sort_by_every_column(self, program):
        for column in (4, 3, 2, 1, 0, 0, 0):
            self.desktop.click(program.column_title(TABLE, column))
            self.wait_for_listing(program)  # The same names in some order.

    def create_folder(self, program, name):
        self.bring_to_front(program)
        self.desktop.key("ctrl+shift+n")
        program.enter("Enter name of folder to create.", name)
        program.press("OK")
        wait_for(lambda: os.path.isdir(self.server.path(name)), f"the folder {name}")
        self.wait_for_listing(program)

    def be_refused(self, program, name):
        self.write(f"{name}/content.txt", b"content")
        self.delete(program, name)
        self.assertEqual(program.acknowledge()[0], "Item Not Deleted")
        os.remove(self.server.path(f"{name}/content.txt"))
        self.wait_for_listing(program)

    def look_at_the_history(self, program):
        self.bring_to_front(program)
        self.desktop.key("ctrl+h")
        wait_for(lambda: "History" in program.titles(), "the history")
        wait_for(lambda: [row[0] for row in program.rows(HISTORY)] == ["up.bin"], "the file in the history")

    def change_the_folder(self, program, folder):
        self.bring_to_front(program)
        self.desktop.key("ctrl+comma")
        program.enter("Folder", folder)
        program.press("Done")
        self.assertEqual(program.acknowledge()[0], "Base URL Changed")
        wait_for(lambda: any(f"/{folder}/" in title for title in program.titles()), "the new title")
        self.wait_for_listing(program, folder)

    def quit(self, program):
        self.bring_to_front(program)
        self.desktop.key("ctrl+q")
        self.assertEqual(program.exit_code(), 0, program.output())
        self.assertEqual(program.output(), "")


if __name__ == "__main__":
    unittest.main()
