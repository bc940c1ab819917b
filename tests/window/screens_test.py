"""The main window on the screens that people have: small ones, sharp ones, with a large font, in other locales."""

import os
import re
import subprocess
import unittest

from desktop import Desktop, wait_for
from window_test import ANY_TITLE, WindowTest

LARGE_FONT = "DejaVu Sans,18,-1,5,50,0,0,0,0,0"


class OnAScreen(WindowTest):
    size, scale = "640x480", "1"

    @classmethod
    def setUpClass(cls):
        cls.desktop = Desktop(size=cls.size).__enter__()
        cls.addClassCleanup(cls.desktop.close)

    def use_large_font(self):
        """What the user of a KDE desktop has set."""
        with open(os.path.join(self.home["XDG_CONFIG_HOME"], "kdeglobals"), "w", encoding="utf-8") as file:
            file.write(f"[General]\nfont={LARGE_FONT}\nmenuFont={LARGE_FONT}\nfixed={LARGE_FONT}\n")
        self.home.update(XDG_CURRENT_DESKTOP="KDE", KDE_SESSION_VERSION="5", KDE_FULL_SESSION="true")

    def assert_within_screen(self, program):
        (window,) = wait_for(lambda: self.desktop.windows_of(program.process.pid, ANY_TITLE), "the window")
        words = ["xwininfo", "-id", window]
        lines = subprocess.run(words, env=self.desktop.environment, capture_output=True, text=True).stdout
        left, top = map(int, re.findall(r"Absolute upper-left .:\s+(-?\d+)", lines))
        width, height = (int(re.search(rf"{side}: (\d+)", lines)[1]) for side in ("Width", "Height"))
        screen_width, screen_height = map(int, self.size.split("x"))
        self.assertTrue(0 <= left and left + width <= screen_width, lines)
        self.assertTrue(0 <= top and top + height <= screen_height, lines)

    def try_locale(self, language, is_large=False):
        self.settings()
        if is_large:
            self.use_large_font()
        program = self.start(self.file("one"), LANG=f"{language}.UTF-8", QT_SCALE_FACTOR=self.scale)
        wait_for(lambda: program.text("Status") == "Upload succeeded", "the upload")
        self.wait_for_listing(program)
        self.assert_within_screen(program)
        return program

    def reach_a_button_below_the_table(self, program):
        self.select(program, "one")
        self.desktop.click(program.centre("Delete"))
        wait_for(program.sheet, "the question")
        program.press("Cancel")


class SmallScreen(OnAScreen):
    def test_every_button_is_reached_by_the_mouse(self):
        self.reach_a_button_below_the_table(self.try_locale("en_US"))

    def test_in_a_large_font(self):
        self.reach_a_button_below_the_table(self.try_locale("de_DE", is_large=True))

    def test_a_right_to_left_locale_mirrors_the_window(self):
        program = self.try_locale("ar_EG")
        self.assertLess(program.centre("Stop")[0], program.centre("Status")[0])
        self.assertLess(program.centre("New Folder")[0], program.centre("Download")[0])


class LaptopAt150Percent(OnAScreen):
    size, scale = "1366x768", "1.5"

    def test_the_window_is_within_it(self):
        self.try_locale("zh_CN")


class SharpScreens(OnAScreen):
    size, scale = "1600x1200", "2"

    def test_the_window_is_within_it_in_a_large_font(self):
        self.try_locale("de_DE", is_large=True)


class VerySharpScreen(OnAScreen):
    size, scale = "3840x2160", "3"

    def test_the_window_is_within_it(self):
        self.try_locale("en_US")


if __name__ == "__main__":
    unittest.main()
