"""Files that are tried again by themselves."""

import unittest

import private_network
from desktop import wait_for
from upload_server import SLOW
from window_test import WindowTest


def setUpModule():
    private_network.enter()
    private_network.forget_names()


class Tries(WindowTest):
    def test_files_that_failed_for_the_connection_are_tried_again(self):
        self.settings(RetryFailedFiles=True, Address="nobody.example")
        program = self.start(self.file("homeless"))
        self.wait_for_waiting(program, "homeless")
        program.press("Give Up")
        wait_for(lambda: program.find("“homeless” not uploaded"), "the try to be given up")

        self.server.let_nobody_in()
        self.settings(RetryFailedFiles=True)
        self.launch(self.file("refused"))
        self.wait_for_waiting(program, "refused")
        self.server.let_nobody_in(False)
        wait_for(lambda: self.is_tried_now(program, "refused"), "another try")
        self.wait_for_files("refused")

        self.server.read_at_most(SLOW)
        self.launch(self.file("long", bytes(20_000_000)))
        wait_for(lambda: "long" in self.server.begun, "the long file to be sent")
        private_network.set_default_route(False)
        self.server.cut_off()
        self.wait_for_waiting(program, "long")
        wait_for(lambda: self.is_told_of_no_way(program), "the program to see that the way has gone")
        program.acknowledge()
        self.server.read_at_most(0)
        private_network.set_default_route(True)
        self.wait_for_files("refused", "long")
        wait_for(lambda: program.find("“long” uploaded"), "the outcome")

    def is_tried_now(self, program, name):
        """Presses the button unless the next try comes by itself meanwhile."""
        return program.press_what_shows("Try Now") or name in self.server.begun

    def is_told_of_no_way(self, program):
        """It looks when somebody asks for something."""
        program.choose("View", "Refresh")
        sheet = program.sheet()
        if sheet and sheet[0] != "No Internet Connection.":
            program.acknowledge()
        return sheet and sheet[0] == "No Internet Connection."

    def wait_for_waiting(self, program, name):
        wait_for(lambda: program.find(f"“{name}” not uploaded, 1 waiting for another try"), f"{name} to wait for a try")
        while program.sheet():
            program.acknowledge()


if __name__ == "__main__":
    unittest.main()
