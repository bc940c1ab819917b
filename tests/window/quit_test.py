"""Leaving the program while there is something to lose."""

import unittest

from desktop import wait_for
from window_test import ANY_TITLE, WindowTest


class Quit(WindowTest):
    def ask(self, program):
        self.desktop.key("ctrl+q")
        title, text = wait_for(program.sheet, "the question")
        self.assertEqual(title, "Quit Quillbox?")
        return text

    def test_files_go_on_while_the_question_is_up_and_return_cancels(self):
        program = self.start_busy()

        text = self.ask(program)

        self.assertIn("A file is being uploaded", text)
        self.assertIn("One file is waiting", text)
        before = program.value("Transfer progress")
        wait_for(lambda: program.value("Transfer progress") > before, "the file to go on")
        wait_for(lambda: program.has_focus("Cancel"), "the keyboard to be in the question")
        self.desktop.key("Return")
        wait_for(lambda: program.sheet() is None, "the question to go")
        self.assertIsNone(program.process.poll())
        program.press("Stop")
        # The server may take the end of the connection for that of the first file.
        wait_for(lambda: "two" in self.server.received, "the other file to arrive")

    def test_quit_ends_the_program_and_the_next_start_says_what_was_not_confirmed(self):
        program = self.start_busy()
        self.ask(program)

        program.answer("Quit")

        self.assertEqual(program.exit_code(), 0)
        self.assertEqual(program.output(), "")
        program = self.start()
        wait_for(lambda: program.find("2 files were not confirmed"), "the line about them")
        self.server.read_at_most(0)
        program.press("Queue Again")
        self.wait_for_files("one", "two")

    def test_nothing_is_asked_when_all_is_done(self):
        self.settings()
        program = self.launch(self.file("one"))
        self.wait_for_files("one")
        self.wait_for_status(program, "Upload succeeded")
        self.bring_to_front(program, ANY_TITLE)

        self.desktop.key("ctrl+q")

        self.assertEqual(program.exit_code(), 0)


if __name__ == "__main__":
    unittest.main()
