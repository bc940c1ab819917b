"""A real file manager beside the program's window, with drags from one to the other."""

from desktop import wait_for
from window_test import WindowTest

# Where PCManFM shows its icons in a window of its own, folders first: the first one, and how far it is to the next.
FIRST_ICON = (205, 115)
TO_NEXT_ICON = 94
# Where it shows none, as long as they fill one row.
NO_ICON = (400, 300)


class FileManagerTest(WindowTest):
    def open_folder(self):
        """Opens the folder of this test's files in a file manager at the right of the screen."""
        manager = self.desktop.spawn(["pcmanfm", "--no-desktop", self.folder])
        self.addCleanup(self.desktop.end, manager)
        (window,) = wait_for(lambda: self.desktop.windows_of(manager.pid), "the file manager")
        self.desktop.xdotool("windowsize", "--sync", window, 560, 400, "windowmove", "--sync", window, 700, 40)
        self.desktop.wait_until_still(window)
        return window

    def start_at_the_left(self):
        program = self.start()
        (window,) = wait_for(lambda: self.desktop.windows_of(program.process.pid), "the window on the screen")
        self.desktop.xdotool("windowmove", "--sync", window, 20, 40)
        wait_for(lambda: program.box("Drop area")[0] < 60, "the window to have moved")
        return program

    def drag_icon(self, manager, number, program, target="Drop area"):
        left, top = self.desktop.place_of(manager)
        icon = (left + FIRST_ICON[0] + number * TO_NEXT_ICON, top + FIRST_ICON[1])
        def queued():
            return program.find("Queued files") and program.text("Queued files")

        begun, before = len(self.server.begun), queued()

        def is_taken():
            return program.sheet() or queued() != before or len(self.server.begun) > begun

        self.desktop.drag_until(is_taken, icon, program.centre(target))

    def drag_row(self, row, program, manager):
        """Drags a row of the table by its name into the folder."""
        self.drag_row_to(NO_ICON, row, program, manager)

    def drag_row_to(self, place, row, program, window):
        """Drags a row of the table by its name to a place in another window."""
        left, top = self.desktop.place_of(window)
        before = program.text("Status")
        self.desktop.drag_until(
            lambda: program.sheet() or program.text("Status") != before,
            program.cell("Destination folder", row, 0),
            (left + place[0], top + place[1]),
        )
