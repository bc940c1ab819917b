"""The program of a user whose home folder can be read and not written."""

import os
import unittest

from desktop import wait_for
from window_test import PROGRAM, WindowTest

# In a mount namespace of its own, so that not even root can write there. It stays the same process and the same user.
READ_ONLY = [
    *("unshare", "--user", "--map-current-user", "--keep-caps", "--mount", "sh", "-c"),
    'mount --bind "$HOME" "$HOME" && mount -o remount,bind,ro "$HOME" && exec "$@"',
    "sh",
]


class ReadOnlyHome(WindowTest):
    def start_read_only(self, *words):
        under, *rest = READ_ONLY
        program = self.launch(*rest, PROGRAM, *words, program=under)
        wait_for(lambda: program.titles() or program.process.poll() is not None, "the window")
        self.assertIsNone(program.process.poll(), program.output())  # Which tells why there is no such namespace.
        return program

    def everything_at_home(self):
        """The contents of each file, by its path."""
        contents = {}
        for folder, _, names in os.walk(self.home["HOME"]):
            for name in names:
                path = os.path.join(folder, name)
                with open(path, "rb") as file:
                    contents[path] = file.read()
        return contents

    def test_files_go_up_and_what_cannot_be_kept_is_told_or_forgotten(self):
        self.settings(FTPFolder="in")
        os.mkdir(self.server.path("in"))
        before = self.everything_at_home()
        program = self.start_read_only(self.file("one.txt"))
        self.wait_for_files("in/one.txt")
        self.wait_for_status(program, "Upload succeeded")
        self.wait_for_listing(program, "in")

        self.bring_to_front(program)
        self.desktop.key("ctrl+h")
        wait_for(lambda: [row[0] for row in program.rows("Files of all runs")] == ["one.txt"], "the history")
        wait_for(lambda: program.has_focus("Files of all runs"), "the keyboard to be in the history")
        self.desktop.key("Escape")
        wait_for(lambda: "History" not in program.titles(), "the history to close")

        self.bring_to_front(program)
        self.select(program, "one.txt")
        program.press("Download")
        self.wait_for_status(program, "File write error")

        self.desktop.key("ctrl+comma")
        program.enter("Folder", "elsewhere")
        program.press("Done")
        self.assertEqual(program.acknowledge()[0], "Settings Not Saved")
        program.press("Cancel")
        wait_for(lambda: "Preferences" not in program.titles(), "the panel to close")
        wait_for(lambda: any("/in/" in title for title in program.titles()), "the title")

        self.bring_to_front(program)
        self.desktop.key("ctrl+q")
        self.assertEqual(program.exit_code(), 0)
        self.assertEqual(program.output(), "")
        self.assertEqual(self.everything_at_home(), before)


if __name__ == "__main__":
    unittest.main()
