"""The history, in its window."""

import contextlib
import os
import sqlite3
import unittest

from desktop import wait_for
from window_test import ANY_TITLE, WindowTest

WAITING, SENDING = 0, 1  # As the ledger has them.
OUTCOME = 4
REPLY = 5


class History(WindowTest):
    def start_with_history(self, *paths):
        """Starts the program with its history open, and only then has it upload, since a failure's sheet takes keys."""
        self.settings()
        program = self.start()
        self.bring_to_front(program, ANY_TITLE)
        self.desktop.key("ctrl+h")
        wait_for(lambda: program.has_focus("Files of all runs"), "the keyboard to be in the history")
        self.assertEqual(self.launch(*paths).exit_code(), 0)
        return program

    def rows(self, program):
        return program.rows("Files of all runs")

    def wait_for_outcomes(self, program, *outcomes):
        wait_for(lambda: [row[OUTCOME] for row in self.rows(program)] == list(outcomes), f"the outcomes {outcomes}")

    def test_each_file_has_a_line_with_the_servers_word(self):
        os.mkdir(self.server.path("taken"))
        program = self.start_with_history(self.file("good.txt", b"12345"), self.file("taken"))

        self.wait_for_outcomes(
            program, "Confirmed by the server", "Failed: FTP error 550; Directory may already exist?"
        )

        good, taken = self.rows(program)
        self.assertEqual(good[:2], ["good.txt", "5 bytes"])
        self.assertRegex(good[2], r"^[\d.]+ m?s$")
        self.assertRegex(good[3], r"/s$")
        self.assertTrue(good[REPLY].startswith("226 "), good)
        self.assertTrue(taken[REPLY].startswith("550 "), taken)
        self.assertNotIn(self.server.password, str(self.rows(program)))

    def test_files_move_while_it_is_open_and_a_lost_one_is_queued_again(self):
        os.mkdir(self.server.path("taken"))
        program = self.start_with_history(self.file("taken"))
        self.wait_for_outcomes(program, "Failed: FTP error 550; Directory may already exist?")
        os.rmdir(self.server.path("taken"))

        program.press("Queue Again")

        self.wait_for_files("taken")
        self.wait_for_outcomes(
            program, "Failed: FTP error 550; Directory may already exist? (queued again)", "Confirmed by the server"
        )
        wait_for(lambda: not program.is_enabled("Queue Again"), "nothing to be left to queue")

    def kept(self):
        """The outcome of each file, by its number, as the ledger has it on disk; none before there is one."""
        path = os.path.join(self.home["XDG_STATE_HOME"], "quillbox", "history.sqlite")
        try:
            with contextlib.closing(sqlite3.connect(f"file:{path}?mode=ro", uri=True)) as ledger:
                return [outcome for (outcome,) in ledger.execute("SELECT outcome FROM files ORDER BY row")]
        except sqlite3.OperationalError:
            return []

    def test_what_was_not_confirmed_when_the_program_was_killed_is_told_by_the_next_one(self):
        program = self.start_busy()
        wait_for(lambda: self.kept() == [SENDING, WAITING], "the ledger")
        program.close()
        self.server.read_at_most(0)

        program = self.start()
        program.need("2 files were not confirmed")
        self.bring_to_front(program)
        self.desktop.key("ctrl+h")
        self.wait_for_outcomes(program, *["Not confirmed: Quillbox ended"] * 2)
        self.assertEqual(self.server.received, [])
        self.desktop.key("Escape")
        wait_for(lambda: "History" not in program.titles(), "the history to close")
        program.press("Queue Again")

        self.wait_for_files("one", "two")
        program.need("2 uploaded")

    def test_a_file_that_shrank_on_the_server_is_flagged(self):
        self.settings()
        self.server.after_receiving = lambda path: os.truncate(path, 3)
        program = self.start_with_history(self.file("note.txt", b"12345"))

        self.wait_for_outcomes(program, "Confirmed, but 3 bytes listed, not 5")

    def test_lines_are_copied_by_key(self):
        program = self.start_with_history(self.file("note.txt", b"12345"))
        self.wait_for_outcomes(program, "Confirmed by the server")

        self.bring_to_front(program, "^History$")
        self.desktop.click(program.cell("Files of all runs", 0, 0))
        self.desktop.key("ctrl+c")

        lines = wait_for(self.desktop.clipboard, "the line on the clipboard").splitlines()
        self.assertEqual(len(lines), 2)
        line = lines[1].split("\t")
        self.assertEqual(line[0], os.path.join(self.folder, "note.txt"))
        self.assertEqual(line[1], "5")
        self.assertEqual(line[OUTCOME], "Confirmed by the server")


if __name__ == "__main__":
    unittest.main()
