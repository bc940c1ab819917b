"""Files on the server are replaced only when somebody says so, where the settings want that."""

import os
import unittest

from desktop import wait_for
from window_test import WindowTest

TREE = {"a": b"new a", "b ü.txt": b"new b", "sub %41/c": b"new c", "sub %41/deep/d": b"new d"}


class Replacing(WindowTest):
    def setUp(self):
        super().setUp()
        self.settings(DroppedFolders="uploaded", AskBeforeReplacing=True)
        self.write(self.folder, TREE)
        self.write(self.server.root, {"b ü.txt": b"old b", "sub %41/c": b"old c", "other": b"old"})

    def write(self, top, contents):
        for name, content in contents.items():
            path = os.path.join(top, "Photos", name)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "wb") as file:
                file.write(content)

    def stored(self):
        """What the server has of the folder."""
        top = self.server.path("Photos")
        paths = (os.path.join(folder, name) for folder, _, names in os.walk(top) for name in names)
        return {os.path.relpath(path, top): self.server.content(path) for path in paths}

    def ask(self):
        """Starts the program with the folder, and waits for the question."""
        program = self.start(os.path.join(self.folder, "Photos"))
        wait_for(program.sheet, "the question")
        return program

    def test_replace_sends_all(self):
        program = self.ask()
        title, text, *files = program.sheet()
        self.assertEqual(title, "2 of 4 files are there already")
        self.assertEqual(
            text, "What is replaced cannot be brought back. The other 2 files are uploaded in either case."
        )
        self.assertEqual([each.split(" – ")[0] for each in files], ["Photos/b ü.txt", "Photos/sub %41/c"])
        self.assertEqual(self.server.begun, [])

        program.answer("Replace")

        wait_for(lambda: len(self.server.received) == 4, "all files")
        self.assertEqual(self.stored(), {**TREE, "other": b"old"})

    def test_leave_out_sends_the_others(self):
        program = self.ask()

        program.answer("Leave Out")

        wait_for(lambda: len(self.server.received) == 2, "the other files")
        self.assertEqual(self.stored(), {**TREE, "b ü.txt": b"old b", "sub %41/c": b"old c", "other": b"old"})
        wait_for(lambda: program.find("2 uploaded, 2 left out"), "the outcome")

    def test_the_question_goes_when_nobody_is_to_be_asked_any_more(self):
        program = self.ask()

        self.settings(DroppedFolders="uploaded")

        wait_for(lambda: not program.sheet(), "the question to go")
        wait_for(lambda: len(self.server.received) == 4, "all files")
        self.assertEqual(self.stored(), {**TREE, "other": b"old"})

    def test_where_the_folder_cannot_be_listed_the_question_is_for_all(self):
        self.server.let_nobody_in()
        program = self.ask()
        while (sheet := wait_for(program.sheet, "the question"))[0] == "Check Settings":  # The table's listing, too.
            program.acknowledge()
        self.assertEqual(sheet[0], "What is there is not known")
        self.assertIn("(4 to be uploaded)", sheet[1])
        self.server.let_nobody_in(False)

        program.answer("Leave Out")

        wait_for(lambda: program.find("4 left out"), "the outcome")
        self.assertEqual(self.server.begun, [])


if __name__ == "__main__":
    unittest.main()
