"""Every text that shows in one of the windows stands out from what it stands on, also when it is dimmed."""

import contextlib
import os
import re
import unittest

from certificates import make_certificate
from contrast import contrasts_of, faint_texts, ratio
from desktop import wait_for
from program import store_settings
from real_ftp_server import RealFTPServer
from window_test import ANY_TITLE, WindowTest

# Large letters have inner pixels of their full colour, and take coordinates that need no scaling.
LARGE_FONT = "DejaVu Sans,16,-1,5,50,0,0,0,0,0"


class Measure(unittest.TestCase):
    def test_it_is_that_of_the_standard(self):
        self.assertAlmostEqual(ratio((0, 0, 0), (255, 255, 255)), 21)
        self.assertAlmostEqual(ratio((118, 118, 118), (255, 255, 255)), 4.54, 2)
        self.assertEqual(ratio((9, 9, 9), (9, 9, 9)), 1)


class Contrast(WindowTest):
    def setUp(self):
        super().setUp()
        with open(os.path.join(self.home["XDG_CONFIG_HOME"], "kdeglobals"), "w", encoding="utf-8") as file:
            file.write(f"[General]\nfont={LARGE_FONT}\nmenuFont={LARGE_FONT}\n")
        self.home.update(XDG_CURRENT_DESKTOP="KDE", KDE_SESSION_VERSION="5", KDE_FULL_SESSION="true")

    def check(self, program, title, *expected):
        """Looks at all texts of the window of that title, among which are the expected ones."""
        self.bring_to_front(program, title)
        self.check_shown(program, title, *expected)

    def check_shown(self, program, title, *expected):
        texts, contrasts = [], []

        def is_clear():
            texts[:] = program.texts(title)
            contrasts[:] = contrasts_of(self.desktop, texts)
            return len(contrasts) == len(texts) and set(expected) <= set(dict(texts)) and not faint_texts(contrasts)

        with contextlib.suppress(AssertionError):
            wait_for(is_clear, "what is being painted", seconds=5)
        self.assertGreater(len(contrasts), 2, title)
        self.assertEqual(faint_texts(contrasts), [], title)
        self.assertEqual([words for words, _ in contrasts], [words for words, _ in texts], "not all seen whole")
        self.assertLessEqual(set(expected), set(dict(contrasts)))

    def check_sheet(self, program, title, *expected):
        wait_for(lambda: (program.sheet() or [None])[0] == title, f"the sheet “{title}”")
        self.check(program, f"^{re.escape(title)}$", *expected)

    def open_by_key(self, program, keys, title):
        self.bring_to_front(program, "^(ftp:|No FTP)")
        self.desktop.key(keys)
        self.bring_to_front(program, title)

    def test_of_the_main_window_in_its_states(self):
        os.mkdir(self.server.path("taken"))
        self.settings()
        program = self.start()
        self.wait_for_listing(program)
        self.check(program, ANY_TITLE, "Drop files here", "Clear Queue")

        self.server.read_at_most(300_000)
        large, taken = self.file("large", bytes(3_000_000)), self.file("taken")
        self.launch(large, taken)
        wait_for(lambda: (program.value("Transfer progress") or (0, 0))[0] > 5, "some per cent")
        self.check(program, ANY_TITLE, "1 waiting")
        self.server.read_at_most(0)
        outcome = "1 of 2 uploaded, 1 failed"
        wait_for(lambda: program.find(outcome), "the outcome")
        self.wait_for_listing(program)
        self.select(program, "large")
        self.check(program, ANY_TITLE, outcome, "Show…", f"1) {large}\n\n2) {taken}\n\n")

        self.open_by_key(program, "ctrl+h", "^History$")
        wait_for(lambda: len(program.rows("Files of all runs")) == 2, "the rows")
        self.check(program, "^History$", "large", "This run: 1 confirmed, 1 failed")

    def test_of_a_folder_that_cannot_be_listed(self):
        self.settings(FTPFolder="absent")
        program = self.start()
        self.check_sheet(program, "Check Settings", "OK")
        program.press("OK")
        wait_for(lambda: program.sheet() is None, "the alert to go")
        self.check(program, ANY_TITLE, "Error: Check Settings")
        left, top, width, height = program.box("Destination folder")
        middle = (left, top + height // 3, width, height // 2)  # Without the titles of the columns.
        contrasts = contrasts_of(self.desktop, [("what the table says", middle)])
        self.assertEqual((len(contrasts), faint_texts(contrasts)), (1, []))

    def test_of_the_other_windows(self):
        self.forget_settings()
        program = self.start()
        self.check(program, "^Welcome")
        program.press("Close")
        self.open_by_key(program, "ctrl+m", "^Manual Transfers$")
        self.check(program, "^Manual Transfers$")
        self.open_by_key(program, "ctrl+h", "^History$")
        self.check(program, "^History$", "Clear History…")
        self.bring_to_front(program, "^No FTP")
        self.desktop.key("alt+f", "m")
        program.enter("Name of the copy", "Invoices")
        program.press("Make Copy")
        wait_for(lambda: len(program.rows("Copies")) == 1, "the copy")
        program.enter("Name of the copy", "Photos")
        self.check(program, "^Make a Copy$", "Invoices")

    def test_of_the_alerts_and_the_prompt(self):
        self.settings()
        os.mkdir(self.server.path("one"))
        program = self.start()
        self.wait_for_listing(program)
        self.bring_to_front(program, ANY_TITLE)
        self.select(program, "one")
        self.desktop.key("Delete")
        self.check_sheet(program, "Delete Item", "Delete", "Cancel")
        program.press("Cancel")
        self.open_by_key(program, "ctrl+shift+n", "^Enter name")
        self.check(program, "^Enter name")
        self.desktop.key("Return")
        self.check_sheet(program, "Folder Not Created")

    def test_of_the_preferences_and_what_a_test_answers(self):
        self.settings()
        program = self.start()
        self.open_by_key(program, "ctrl+comma", "^Preferences$")
        for field, value, answer in (
            ("Folder", "absent", "The login is accepted, but the folder is refused."),
            ("Folder", "", "It works: the login is accepted, and the folder is there. Nothing was encrypted."),
            ("Password", "wrong", "The server refuses the login."),
            ("Server address", "no-such-host.invalid", "No host of this name was found."),
        ):
            program.enter(field, value)
            program.press("Test Connection")
            wait_for(lambda answer=answer: program.text("Test result") == answer, answer)
            buttons = ["Create Folder"] if value == "absent" else []
            self.check(program, "^Preferences$", answer, *buttons)
        program.enter("Server address", "ftps://files.example.com")
        self.check(program, "^Preferences$", "Use Encryption", "No destination")
        program.press("More")
        self.check(program, "^Preferences$", "Forget Certificate")

    def test_of_a_menu_with_what_cannot_be_done_at_present(self):
        self.settings()
        program = self.start()
        self.wait_for_listing(program)
        self.bring_to_front(program, ANY_TITLE)
        self.desktop.key("alt+f")
        wait_for(lambda: "Quit" in dict(self.menu_texts(program)), "the menu")
        self.assertFalse(program.is_enabled("Download"))
        contrasts = contrasts_of(self.desktop, self.menu_texts(program))
        self.assertLessEqual({"Download", "Delete…", "Quit"}, set(dict(contrasts)))
        self.assertEqual(faint_texts(contrasts), [])
        self.desktop.key("Escape")

    def menu_texts(self, program):
        """Those in front of the window, which is behind the menu."""
        return [text for text in program.texts(ANY_TITLE) if text[0].endswith(("…", "Quit", "Download"))]

    def test_of_the_question_about_a_certificate(self):
        pem, _ = make_certificate(self.desktop.folder)
        server = RealFTPServer("pyftpdlib", pem)
        self.addCleanup(server.close)
        store_settings(self.home, server.settings(DoNotShowWelcomeWindowAgain=True, Encryption="required"))
        self.check_sheet(self.start(), "Trust This Server?", "Trust", "Cancel")

    def test_a_faint_text_is_found(self):
        self.settings()
        program = self.start()
        self.wait_for_listing(program)
        self.bring_to_front(program, ANY_TITLE)
        left, top, width, _ = program.box("Drop area")

        (found,) = faint_texts(contrasts_of(self.desktop, [("the frame", (left, top - 10, width, 40))]))

        self.assertIn("the frame", found)


if __name__ == "__main__":
    unittest.main()
