"""The program in a Wayland session: a compositor in a window of the desktop's, with real keys and a real mouse.

Needs more packages than the other tests: see scripts/check-wayland.
"""

import os
import re
import subprocess
import unittest

from desktop import wait_for
from window_test import WindowTest, content

COMPOSITOR = """
[core]
idle-time=0
[shell]
panel-position=none
animation=none
startup-animation=none
"""
SIZE = (1000, 900)


class Wayland(WindowTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        desktop = cls.desktop
        configuration = os.path.join(desktop.folder, "weston.ini")
        with open(configuration, "w", encoding="ascii") as file:
            file.write(COMPOSITOR)
        width, height = SIZE
        words = ["weston", "--backend=x11-backend.so", "--socket=quillbox-test", f"--config={configuration}"]
        cls.compositor = desktop.spawn([*words, f"--width={width}", f"--height={height}"])
        socket = os.path.join(desktop.environment["XDG_RUNTIME_DIR"], "quillbox-test")
        wait_for(lambda: os.path.exists(socket), "the compositor")
        wait_for(lambda: desktop.xdotool("search", "--onlyvisible", "--class", "weston"), "its window")
        cls.screen = desktop.xdotool("search", "--onlyvisible", "--class", "weston").split()[0]
        desktop.xdotool("windowactivate", "--sync", cls.screen)
        desktop.wait_until_still(cls.screen)
        cls.session = {"WAYLAND_DISPLAY": "quillbox-test", "QT_QPA_PLATFORM": "wayland", "GDK_BACKEND": "wayland"}

    @classmethod
    def tearDownClass(cls):
        cls.desktop.end(cls.compositor)
        super().tearDownClass()

    def launch(self, *words, **options):
        return super().launch(*words, **self.session, **options)

    def origin(self):
        """Where the compositor's screen begins on the desktop's."""
        words = ["xwininfo", "-id", self.screen]
        told = subprocess.run(words, env=self.desktop.environment, capture_output=True, text=True).stdout
        return [int(re.search(rf"Absolute upper-left {axis}: +(\d+)", told)[1]) for axis in "XY"]

    def on_screen(self, point):
        """The place of a point of the compositor's screen."""
        left, top = self.origin()
        return left + point[0], top + point[1]

    def start_filling_the_screen(self):
        """Starts the program. A window knows its own places alone, and those of this one are the screen's."""
        program = self.start()
        wait_for(program.is_active, "the program to have the keyboard")
        self.desktop.key("super+shift+f")
        wait_for(lambda: self.is_as_wide_as_the_screen(program), "the window to fill the screen")
        return program

    def is_as_wide_as_the_screen(self, program):
        left, _, width, _ = program.box("Destination folder")
        return left + width > SIZE[0] - 60

    def open_source(self, path):
        """Opens a window to drag the file from, and answers its middle."""
        source = os.path.join(os.path.dirname(os.path.abspath(__file__)), "drag_source.py")
        process = self.desktop.spawn(
            ["env", *(f"{name}={value}" for name, value in self.session.items())]
            + ["/usr/bin/python3", "-B", source, f"file://{path}"]
        )
        self.addCleanup(self.desktop.end, process)
        return wait_for(self.middle_of_the_source, "the source on the screen")

    def middle_of_the_source(self):
        """Of what has the source's colour."""
        words = ["import", "-window", self.screen, "-depth", "8", "rgb:-"]
        picture = subprocess.run(words, env=self.desktop.environment, capture_output=True).stdout
        places = [match.start() // 3 for match in re.finditer(b"\xff\x00\xff", picture) if match.start() % 3 == 0]
        if len(places) < 1000:
            return None
        columns = [place % SIZE[0] for place in places]
        rows = [place // SIZE[0] for place in places]
        return (min(columns) + max(columns)) // 2, (min(rows) + max(rows)) // 2

    def drop(self, source, program):
        """Drags to the drop area, beside the source if that lies on it."""
        left, top, width, height = program.box("Drop area")
        target = (left + width // 4, top + height // 2)
        if abs(target[0] - source[0]) < 80 and abs(target[1] - source[1]) < 80:
            target = (left + 3 * width // 4, top + height // 2)
        self.desktop.xdotool("mousemove", 0, 0)  # The compositor learns where the mouse is when it enters.
        self.desktop.drag_until(
            lambda: self.server.begun or program.sheet(), self.on_screen(source), self.on_screen(target)
        )

    def test_a_dropped_file_arrives_and_the_desktop_is_told_so_while_another_window_is_in_front(self):
        self.settings()
        told = self.monitored_bus()
        program = self.start_filling_the_screen()
        source = self.open_source(self.file("dropped.txt", b"dropped"))

        self.drop(source, program)

        self.wait_for_files("dropped.txt")
        self.assertEqual(self.server.content("dropped.txt"), b"dropped")
        self.wait_for_status(program, "Upload succeeded")
        wait_for(lambda: "member=Notify" in content(told) and "Upload finished" in content(told), "the notification")

    def test_a_second_start_hands_its_files_over(self):
        self.settings()
        program = self.start()

        second = self.launch(self.file("handed over.txt"))

        self.assertEqual(second.exit_code(), 0)
        self.wait_for_files("handed over.txt")
        self.wait_for_status(program, "Upload succeeded")

    def test_the_location_is_copied(self):
        self.settings()
        program = self.start()
        wait_for(program.is_active, "the program to have the keyboard")
        self.wait_for_listing(program)

        self.desktop.key("ctrl+shift+c")
        program.text("Status")  # An answer comes when the key has had its effect.
        self.desktop.key("ctrl+comma")
        wait_for(lambda: program.find("Folder") and program.has_focus("Server address"), "a field")
        self.desktop.key("ctrl+a")
        self.desktop.key("ctrl+v")

        location = f"ftp://127.0.0.1:{self.server.port}/"
        wait_for(lambda: program.text("Server address") == location, "the location to be pasted")
        self.desktop.key("Escape")
        wait_for(lambda: "Preferences" not in program.titles(), "the preferences to close")


if __name__ == "__main__":
    unittest.main()
