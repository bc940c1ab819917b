"""Every text that shows in one of the windows stands out from what it stands on, also when it is dimmed."""

import contextlib
import os
import re
import subprocess
import unittest

from certificates import make_certificate
from contrast import Screen, contrasts_of, faint_texts, ratio
from desktop import IN_DRAG_SOURCE, wait_for
from program import store_settings
from real_ftp_server import RealFTPServer
from window_test import ANY_TITLE, WindowTest

# Large letters have inner pixels of their full colour, and take coordinates that need no scaling.
LARGE_FONT = "DejaVu Sans,16,-1,5,50,0,0,0,0,0"
LONG_NAME = "Photos of the summer that somebody is to print before winter comes/été à la mer et à la montagne"


class Measure(unittest.TestCase):
    def test_it_is_that_of_the_standard(self):
        self.assertAlmostEqual(ratio((0, 0, 0), (255, 255, 255)), 21)
        self.assertAlmostEqual(ratio((118, 118, 118), (255, 255, 255)), 4.54, 2)
        self.assertEqual(ratio((9, 9, 9), (9, 9, 9)), 1)

    def test_a_faint_word_is_found_beside_a_strong_one(self):
        words = ["convert", "-size", "300x40", "xc:white", "-font", "DejaVu-Sans", "-pointsize", "21"]
        words += ["-fill", "black", "-annotate", "+10+28", "strong"]
        words += ["-fill", "#808080", "-annotate", "+120+28", "faint", "-depth", "8", "ppm:-"]
        screen = Screen(subprocess.run(words, capture_output=True, check=True).stdout)

        self.assertGreater(screen.contrast((0, 0, 110, 40)), 15)
        self.assertAlmostEqual(screen.contrast((0, 0, 300, 40)), ratio((128, 128, 128), (255, 255, 255)), 1)
        self.assertIsNone(screen.contrast((200, 0, 100, 40)))
        self.assertIsNone(screen.contrast((200, 0, 101, 40)), "not on the screen as a whole")


class Contrast(WindowTest):
    def setUp(self):
        super().setUp()
        with open(os.path.join(self.home["XDG_CONFIG_HOME"], "kdeglobals"), "w", encoding="utf-8") as file:
            file.write(f"[General]\nfont={LARGE_FONT}\nmenuFont={LARGE_FONT}\n")
        self.home.update(XDG_CURRENT_DESKTOP="KDE", KDE_SESSION_VERSION="5", KDE_FULL_SESSION="true")

    def check(self, program, title, *expected):
        """Looks at all texts of the window of that title, among which are the expected ones."""
        self.bring_to_front(program, title)
        self.check_shown(lambda: program.texts(title), *expected)

    def check_shown(self, texts_that_show, *expected):
        texts, contrasts = [], []

        def is_clear():
            texts[:] = texts_that_show()
            contrasts[:] = contrasts_of(self.desktop, texts)
            return len(contrasts) == len(texts) and set(expected) <= set(dict(texts)) and not faint_texts(contrasts)

        with contextlib.suppress(AssertionError):
            wait_for(is_clear, "what is being painted")
        self.assertEqual(faint_texts(contrasts), [])
        self.assertEqual([words for words, _ in contrasts], [words for words, _ in texts], "not all seen whole")
        self.assertLessEqual(set(expected), set(dict(contrasts)))

    def check_sheet(self, program, title, *expected):
        wait_for(lambda: (program.sheet() or [None])[0] == title, f"the sheet “{title}”")
        self.check(program, f"^{re.escape(title)}$", title, *expected)

    def check_bar(self, program):
        """The number in the middle of the bar of the manual transfers, which stands on what is sent already."""
        name = "Auxiliary transfer progress"
        wait_for(lambda: (program.value(name) or (0, 0))[0] >= 60, "most of the file to be sent")
        left, top, width, height = program.box(name)
        self.check_shown(lambda: [("the number", (left + width // 2 - 40, top, 80, height))], "the number")

    def open_by_key(self, program, keys, title):
        self.bring_to_front(program, ANY_TITLE)
        self.desktop.key(keys)
        self.bring_to_front(program, title)


class WithoutRows(Contrast):
    def test_of_the_main_window(self):
        self.settings(FTPFolder="folder")
        program = self.start()
        self.check_sheet(program, "Check Settings", "OK")
        program.answer("OK")
        failed = "Could not list: 550 No such file or directory.\nF5 tries again"
        self.check(program, ANY_TITLE, "Error: Check Settings", failed)

        os.mkdir(self.server.path("folder"))
        self.desktop.key("F5")
        self.check(program, ANY_TITLE, "Empty folder", "Clear Queue")
        self.desktop.key("alt+f")
        wait_for(lambda: "Quit" in dict(program.texts(ANY_TITLE)), "the menu")
        self.assertFalse(program.is_enabled("Download"))
        self.check_shown(lambda: self.menu_texts(program), "Download", "Delete…", "Quit")
        self.desktop.key("Escape")
        self.check_highlighted(program)

    def menu_texts(self, program):
        """Those in front of the window, which is behind the menu."""
        return [text for text in program.texts(ANY_TITLE) if text[0].endswith(("…", "Quit", "Download"))]

    def check_highlighted(self, program):
        """Drags a file over the window."""
        left, top, _, height = program.box("Drop area")
        frame = [("the frame", (left - 10, top + height // 4, 40, height // 2))]
        wait_for(lambda: faint_texts(contrasts_of(self.desktop, frame)), "the frame to be pale")
        source = self.desktop.drag_source(self.file("one"))
        self.addCleanup(self.desktop.end, source)

        self.desktop.drag_over(IN_DRAG_SOURCE, (left + 40, top + height // 2))  # What is dragged hides no text.
        self.check_shown(lambda: [*frame, *program.texts(ANY_TITLE)], "Drop files here", "or press Ctrl+O")
        self.desktop.xdotool("mousemove", 10, 900, "mouseup", 1)


class WithAQueue(Contrast):
    def test_of_the_main_window_during_and_after_it_and_of_the_alerts(self):
        os.mkdir(self.server.path("taken"))
        self.settings()
        program = self.start()
        self.wait_for_listing(program)
        self.server.read_at_most(1_000_000, in_all=2_200_000)
        large, taken = self.file("large", bytes(3_000_000)), self.file("taken")
        self.launch(large, taken)
        wait_for(lambda: (program.value("Transfer progress") or (0, 0))[0] > 5, "some per cent")
        self.check(program, ANY_TITLE, "1 waiting", " of 3 MB")
        self.open_by_key(program, "ctrl+m", "^Manual Transfers$")
        self.check_bar(program)
        self.server.read_at_most(0)
        self.desktop.key("Escape")
        outcome = "1 of 2 uploaded, 1 failed"
        wait_for(lambda: program.find(outcome), "the outcome")
        self.wait_for_listing(program)
        self.select(program, "large")
        self.check(program, ANY_TITLE, outcome, "Show…", f"1) {large}\n\n2) {taken}\n\n")
        self.desktop.xdotool("mousemove", *program.centre("Show…"))
        tip = "Show this in the history"
        self.check_shown(lambda: program.texts(f"^{tip}$"), tip)

        self.open_by_key(program, "ctrl+h", "^History$")
        wait_for(lambda: len(program.rows("Files of all runs")) == 2, "the rows")
        self.check(program, "^History$", "large", "This run: 1 confirmed, 1 failed")

        self.bring_to_front(program, ANY_TITLE)
        self.desktop.key("Delete")
        self.check_sheet(program, "Delete Item", "Delete", "Cancel")
        program.answer("Cancel")
        self.open_by_key(program, "ctrl+shift+n", "^Enter Name$")
        self.check(program, "^Enter Name$", "Enter name of folder to create.")
        self.desktop.key("Return")
        self.check_sheet(program, "Folder Not Created")


class OtherWindows(Contrast):
    def test_without_a_destination(self):
        self.forget_settings()
        program = self.start()
        self.check(program, "^Welcome", "Close")
        program.press("Close")
        self.check(program, "^No FTP", "No destination")
        self.open_by_key(program, "ctrl+m", "^Manual Transfers$")
        self.check(program, "^Manual Transfers$", "Manual destination", "Folder to create")
        self.open_by_key(program, "ctrl+h", "^History$")
        self.check(program, "^History$", "Clear History…", "No files yet")

    def test_of_the_question_about_a_certificate(self):
        pem, _ = make_certificate(self.desktop.folder)
        server = RealFTPServer("pyftpdlib", pem)
        self.addCleanup(server.close)
        store_settings(self.home, server.settings(DoNotShowWelcomeWindowAgain=True, Encryption="required"))
        self.check_sheet(self.start(), "Trust This Server?", "Trust", "Cancel")


class InThePreferences(Contrast):
    def test_of_both_pages_and_what_a_test_answers(self):
        self.settings()
        program = self.start()
        self.open_by_key(program, "ctrl+comma", "^Preferences$")
        for field, value, answer in (
            ("Folder", "absent", "The login is accepted, but the folder is refused."),
            ("Folder", "", "It works: the login is accepted, the folder is there, and nothing was encrypted."),
            ("Password", "wrong", "The server refuses the login."),
            ("Server address", "no-such-host.invalid", "No host of this name was found."),
        ):
            program.enter(field, value)
            program.press("Test Connection")
            wait_for(lambda answer=answer: program.text("Test result") == answer, answer)
            offered = "Create Folder" if value == "absent" else "Folder"
            self.check(program, "^Preferences$", answer, offered)
        program.enter("Server address", "ftps://files.example.com")
        self.check(program, "^Preferences$", "Use Encryption", "No destination")
        program.press("More")
        self.check(program, "^Preferences$", "Forget Certificate", "Web address of this folder")


class InDropIcons(Contrast):
    def test_of_the_list_and_of_the_form_for_each_sort(self):
        self.settings()
        program = self.start()
        self.open_drop_icons(program)
        self.check(program, "^Drop Icons$", "No drop icons yet", "Remove…")
        program.press("New…")
        program.enter("Letters on the picture", "In")
        program.enter("Name of the icon", "a:b")
        self.check(program, "^New Drop Icon$", "A name cannot hold “:”. A “/” makes levels, as in “Photos/2024”.", "Create")
        self.make(program, "Invoices", 1)
        program.press("New…")
        program.press("On a server of its own")
        for field, value in (("Letters on the picture", "Ph"), ("Server address", "files.example.com"), ("User name", "anna")):
            program.enter(field, value)
        program.enter("Name of the icon", LONG_NAME)
        self.check(program, "^New Drop Icon$", "files.example.com", "Folder", "Files go to ftp://files.example.com/")
        self.make(program, LONG_NAME, 2)
        self.check(program, "^Drop Icons$", "Invoices", "None known", "Start")
        self.desktop.key("Delete")
        self.check_sheet(program, "Remove Drop Icon", "Remove", "Cancel")

    def make(self, program, name, count):
        """Makes the icon whose form shows."""
        program.enter("Name of the icon", name)
        program.press("Create")
        wait_for(lambda: len(program.rows("Drop icons")) == count, "the icon")


if __name__ == "__main__":
    unittest.main()
