"""Every text that shows in one of the windows stands out from what it stands on, also when it is dimmed."""

import contextlib
import os
import unittest

from contrast import contrasts_of, faint_texts, ratio
from desktop import wait_for
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

    def check(self, program, title):
        """Looks at the window of that title."""
        self.bring_to_front(program, title)
        contrasts = []

        def is_clear():
            contrasts[:] = contrasts_of(self.desktop, program.texts(title))
            return len(contrasts) > 2 and not faint_texts(contrasts)

        with contextlib.suppress(AssertionError):
            wait_for(is_clear, "what is being painted", seconds=5)
        self.assertGreater(len(contrasts), 2, title)
        self.assertEqual(faint_texts(contrasts), [], title)

    def test_of_the_main_window_in_its_states(self):
        os.mkdir(self.server.path("taken"))
        self.settings()
        program = self.start()
        self.wait_for_listing(program)
        self.check(program, ANY_TITLE)

        self.server.read_at_most(300_000)
        self.launch(self.file("large", bytes(3_000_000)), self.file("taken"))
        wait_for(lambda: (program.value("Transfer progress") or (0, 0))[0] > 5, "some per cent")
        self.check(program, ANY_TITLE)
        self.server.read_at_most(0)
        wait_for(lambda: program.find("1 of 2 uploaded, 1 failed"), "the outcome")
        self.wait_for_listing(program)
        self.select(program, "large")
        self.check(program, ANY_TITLE)

    def test_of_the_other_windows(self):
        self.forget_settings()
        program = self.start()
        self.check(program, "^Welcome")
        program.press("Close")
        for keys, title in (("ctrl+comma", "^Preferences$"), ("ctrl+m", "^Manual Transfers$"), ("ctrl+h", "^History$")):
            self.bring_to_front(program, "^No FTP")
            self.desktop.key(keys)
            self.check(program, title)

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
