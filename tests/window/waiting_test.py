"""A server that never answers: waiting for it can be given up, and nothing else moves meanwhile."""

import json
import os
import sys
import tempfile
import unittest

from desktop import wait_for
from window_test import TOP, WindowTest

sys.path.append(os.path.join(TOP, "tests/servers"))

from helper_client import Helper  # noqa: E402

NEVER_DELETES = {"on": "DELE", "do": ["silence"]}
NEVER_CREATES = {"on": "MKD", "do": ["silence"]}
PANEL = "Waiting for"


class ScriptedServer:
    def __init__(self, *rules):
        self._root = tempfile.TemporaryDirectory(prefix="quillbox-server-")
        self._helper = Helper("scripted_server.py", "--root", self._root.name, "--rules", json.dumps(rules))

    def settings(self, **others):
        return {"Address": f"127.0.0.1:{self._helper.port}", "Username": "anna", "Password": "secret", **others}

    def path(self, name):
        return os.path.join(self._root.name, name)

    def write(self, name):
        with open(self.path(name), "wb") as file:
            file.write(b"content")

    def close(self):
        self._helper.finish()
        self._root.cleanup()


class WaitingTest(WindowTest):
    def make_server(self):
        return ScriptedServer(NEVER_DELETES, NEVER_CREATES)

    def setUp(self):
        super().setUp()
        self.server.write("other.txt")
        self.server.write("unwanted.txt")
        self.settings()

    def start_deleting(self, program, name="unwanted.txt"):
        """Deletes a file, and waits for the panel."""
        self.wait_for_listing(program)
        self.delete(program, name)
        wait_for(lambda: program.find("Stop Waiting"), "the panel")
        self.assertEqual(program.text(PANEL), f"Deleting “{name}”…")

    def assert_unanswered(self, program, text):
        self.assertEqual(program.acknowledge(), ["No Answer", f"The server has not answered. {text}"])
        self.assertIsNone(program.find("Stop Waiting"))
        self.wait_for_listing(program)


class GivenUp(WaitingTest):
    def test_by_key_by_escape_and_by_click_after_which_the_folder_is_listed_and_the_program_can_be_left(self):
        program = self.launch()
        self.start_deleting(program)
        self.press_in_the_panel(program, "space")
        self.assert_unanswered(program, "“unwanted.txt” may or may not have been deleted.")
        wait_for(lambda: self.names(program) == ["other.txt", "unwanted.txt"], "both files in the table")
        self.assert_no_more_sheets(program)

        self.start_deleting(program, "other.txt")
        self.press_in_the_panel(program, "Escape")
        self.assert_unanswered(program, "“other.txt” may or may not have been deleted.")

        self.start_creating(program)
        self.desktop.click(program.centre("Stop Waiting"))
        self.assert_unanswered(program, "Folder “new one” may or may not have been created.")

        self.bring_to_front(program)
        self.desktop.key("ctrl+q")  # Nobody waits for the operations any more.
        self.assertEqual(program.exit_code(), 0)
        self.assertEqual(program.output(), "")

    def press_in_the_panel(self, program, key):
        wait_for(lambda: program.has_focus("Stop Waiting"), "the keyboard to be in the panel")
        self.desktop.key(key)

    def start_creating(self, program):
        program.press("New Folder")
        self.bring_to_front(program, "^Enter Name$")
        self.desktop.xdotool("type", "--delay", 15, "new one")
        self.desktop.key("Return")
        wait_for(lambda: program.find("Stop Waiting"), "the panel")
        self.assertEqual(program.text(PANEL), "Creating “new one”…")


class Meanwhile(WaitingTest):
    def test_nothing_moves_and_files_handed_over_are_taken_afterwards(self):
        program = self.start()
        self.start_deleting(program)
        date = program.text("Date")

        second = self.launch(self.file("handed over.txt"))  # It waits for an answer for a while.
        program.press("New Folder")
        for key in ("ctrl+m", "ctrl+q", "F5"):
            self.desktop.key(key)
        self.assertEqual(second.exit_code(), 1)  # Nobody knows whether they will be taken.

        self.assertEqual(program.text("Date"), date)
        self.assertFalse(os.path.exists(self.server.path("handed over.txt")))
        self.assertIsNone(program.find("OK"))
        program.press("Stop Waiting")
        self.assert_unanswered(program, "“unwanted.txt” may or may not have been deleted.")
        wait_for(lambda: os.path.exists(self.server.path("handed over.txt")), "the file to be taken")
        self.wait_for_status(program, "Upload succeeded")
        self.assertEqual(len(program.windows()), 1)


class ThePanel(WaitingTest):
    def test_mouse_and_keys_reach_the_panel_alone(self):
        program = self.start()
        self.start_deleting(program)
        (window,) = wait_for(lambda: self.desktop.windows_of(program.process.pid, "^ftp://"), "the window")

        self.desktop.click(program.centre("New Folder"))
        self.desktop.xdotool("windowactivate", window)
        self.desktop.key("ctrl+q")
        program.text("Date")  # An answer comes when both have had their effect.

        self.assertEqual(len(program.windows()), 2)
        program.press("Stop Waiting")
        self.assert_unanswered(program, "“unwanted.txt” may or may not have been deleted.")
        self.assert_no_more_sheets(program)
        self.assertEqual(len(program.windows()), 1)


if __name__ == "__main__":
    unittest.main()
