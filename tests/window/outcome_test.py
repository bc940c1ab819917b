"""What the window says of a queue that has ended."""

import os
import unittest

from desktop import wait_for
from window_test import ANY_TITLE, WindowTest

FIVE = "3 of 5 uploaded, 2 failed"


class Outcome(WindowTest):
    def setUp(self):
        super().setUp()
        self.settings()
        for name in ("taken", "taken too"):
            os.mkdir(self.server.path(name))
        self.paths = [self.file(name) for name in ("one", "taken", "two", "taken too", "three")]

    def test_screen_readers_hear_of_it_once(self):
        program = self.start()
        launched = []

        def has_ended():
            if not launched:
                launched.append(self.launch(*self.paths))
            return program.find(FIVE)

        heard = program.heard_until(has_ended, "the queue to end")
        heard += program.heard_until(lambda: "three" in self.names(program), "the listing that checks it")

        shown = [event for event in heard if event.kind == "object:state-changed:showing" and event.detail]
        self.assertEqual([event.name for event in shown if event.role == "alert" and event.name == FIVE], [FIVE])

    def test_the_lost_files_are_shown_and_queued_again_by_the_keyboard_alone(self):
        program = self.start(*self.paths)
        wait_for(lambda: program.find(FIVE), "the queue to end")
        self.answer_all_sheets(program)
        os.rmdir(self.server.path("taken"))
        self.bring_to_front(program, ANY_TITLE)

        self.press_by_keyboard(program, "Show…")
        wait_for(lambda: self.selected_in_the_history(program) == ["taken", "taken too"], "the lost files to be shown")
        self.bring_to_front(program, ANY_TITLE)
        self.press_by_keyboard(program, "Queue Again")

        wait_for(lambda: program.find("1 of 2 uploaded, 1 failed"), "the second try")
        self.wait_for_files("one", "two", "three", "taken")
        self.answer_all_sheets(program)
        self.bring_to_front(program, ANY_TITLE)
        self.press_by_keyboard(program, "Dismiss")
        wait_for(lambda: not program.find("1 of 2 uploaded, 1 failed"), "the line to go")

    def answer_all_sheets(self, program):
        """Each failure has raised one."""
        while program.sheet():
            program.acknowledge()

    def selected_in_the_history(self, program):
        names = [row[0] for row in program.rows("Files of all runs")]
        return [names[row] for row in program.selected_rows("Files of all runs") if row < len(names)]

    def press_by_keyboard(self, program, name):
        self.go_to(program, name)
        self.desktop.key("space")


if __name__ == "__main__":
    unittest.main()
