"""The main window on the screens that people have: small ones, sharp ones, with a large font, in other locales."""

import os
import re
import subprocess
import unittest

from desktop import Desktop, wait_for
from window_test import ANY_TITLE, WindowTest

LONG_NAME = "Invoices of the year that the tax adviser is to have before the end of March/Été à la mer"
LARGE_FONT = "DejaVu Sans,18,-1,5,50,0,0,0,0,0"


class OnAScreen(WindowTest):
    size, scale = "640x480", "1"

    @classmethod
    def setUpClass(cls):
        cls.desktop = Desktop(size=cls.size, scale=cls.scale).__enter__()
        cls.addClassCleanup(cls.desktop.close)

    def use_large_font(self):
        """What the user of a KDE desktop has set."""
        with open(os.path.join(self.home["XDG_CONFIG_HOME"], "kdeglobals"), "w", encoding="utf-8") as file:
            file.write(f"[General]\nfont={LARGE_FONT}\nmenuFont={LARGE_FONT}\nfixed={LARGE_FONT}\n")
        self.home.update(XDG_CURRENT_DESKTOP="KDE", KDE_SESSION_VERSION="5", KDE_FULL_SESSION="true")

    def area_of(self, program, title):
        """Where on the screen the window of that title is: its edges, the left and upper ones first. Nothing while it is
        not there."""
        words = ["xwininfo", "-id", *self.desktop.windows_of(program.process.pid, title)[:1]]
        lines = subprocess.run(words, env=self.desktop.environment, capture_output=True, text=True).stdout
        if "Height" not in lines:
            return None
        left, top = map(int, re.findall(r"Absolute upper-left .:\s+(-?\d+)", lines))
        width, height = (int(re.search(rf"{side}: (\d+)", lines)[1]) for side in ("Width", "Height"))
        return left, top, left + width, top + height

    def assert_reachable(self, program, title, *buttons):
        """The window is on the screen as a whole, and so are these buttons in the window, as soon as it has its place."""

        def is_within(area, inner):
            left, top, right, bottom = area
            return left <= inner[0] and inner[2] <= right and top <= inner[1] and inner[3] <= bottom

        def has(area, button):
            left, top, width, height = self.desktop.scaled(program.box(button))
            return is_within(area, (left, top, left + width, top + height))

        def are_within():
            area = self.area_of(program, title)
            screen = (0, 0, *map(int, self.size.split("x")))
            return area and is_within(screen, area) and all(has(area, name) for name in buttons)

        wait_for(are_within, f"{title} to be on the screen, and in it {', '.join(buttons)}")

    def try_locale(self, language, is_large=False):
        """Uploads a file, and looks at all buttons before one of the lowest is pressed."""
        self.settings()
        if is_large:
            self.use_large_font()
        program = self.start(self.file("one"), LANG=f"{language}.UTF-8")
        wait_for(lambda: program.text("Status") == "Upload succeeded", "the upload")
        self.wait_for_listing(program)
        buttons = ["Clear Queue", "Stop", "Show…", "Dismiss", "Download", "Delete", "New Folder"]
        self.assert_reachable(program, ANY_TITLE, *buttons)
        self.select(program, "one")
        self.desktop.click(program.centre("Delete"))
        wait_for(program.sheet, "the question")
        self.assert_reachable(program, "^Delete Item$", "Cancel")
        program.answer("Cancel")
        return program

    def try_icons(self, program):
        """Makes a drop icon of each sort, and looks at the buttons of the windows on the way."""
        in_the_list = ["New…", "Edit…", "Start", "Remove…", "Close"]
        self.open_drop_icons(program)
        self.assert_reachable(program, "^Drop Icons$", *in_the_list)
        for count, place in enumerate(("In a folder on the main server", "On a server of its own"), 1):
            program.press("New…")
            self.assert_reachable(program, "^New Drop Icon$", "Name of the icon", "Cancel", "Create")
            program.enter("Name of the icon", f"{LONG_NAME} {count}")
            program.press(place)
            if count == 2:
                program.enter("Server address", "files.example.com")
            self.assert_reachable(program, "^New Drop Icon$", "Name of the icon", "Cancel", "Create")
            program.press("Create")
            wait_for(lambda count=count: len(program.rows("Drop icons")) == count, "the icon")
            self.assert_reachable(program, "^Drop Icons$", *in_the_list)
        program.press("Edit…")
        self.assert_reachable(program, "^Edit Drop Icon$", "Cancel", "Save")
        program.press("Cancel")
        program.press("Remove…")
        wait_for(program.sheet, "the question")
        self.assert_reachable(program, "^Remove Drop Icon$", "Remove", "Cancel")


class SmallScreen(OnAScreen):
    def test_every_button_is_reached(self):
        self.try_locale("en_US")

    def test_in_a_large_font_in_every_window(self):
        program = self.try_locale("de_DE", is_large=True)
        for keys, title, buttons in (
            ("ctrl+comma", "^Preferences$", ["Cancel", "Done"]),
            ("ctrl+h", "^History$", ["Clear History…", "Export…", "Copy"]),
            ("ctrl+m", "^Manual Transfers$", ["Start/Stop Upload", "List Destination", "Create Folder…"]),
        ):
            self.bring_to_front(program)
            self.desktop.key(keys)
            self.assert_reachable(program, title, *buttons)

    def test_in_a_large_font_in_the_windows_of_drop_icons(self):
        self.settings()
        self.use_large_font()
        self.try_icons(self.start(LANG="de_DE.UTF-8"))

    def test_a_right_to_left_locale_mirrors_the_window(self):
        program = self.try_locale("ar_EG")
        self.assertLess(program.centre("Stop")[0], program.centre("Status")[0])
        self.assertLess(program.centre("New Folder")[0], program.centre("Download")[0])


class OldScreen(OnAScreen):
    size = "800x600"

    def test_every_button_is_reached_in_a_large_font(self):
        self.try_icons(self.try_locale("ar_EG", is_large=True))


class LaptopAt150Percent(OnAScreen):
    size, scale = "1366x768", "1.5"

    def test_every_button_is_reached(self):
        self.try_icons(self.try_locale("zh_CN"))


class SharpScreens(OnAScreen):
    size, scale = "1600x1200", "2"

    def test_every_button_is_reached_in_a_large_font(self):
        self.try_locale("de_DE", is_large=True)


class VerySharpScreen(OnAScreen):
    size, scale = "3840x2160", "3"

    def test_every_button_is_reached(self):
        self.try_locale("en_US")


if __name__ == "__main__":
    unittest.main()
