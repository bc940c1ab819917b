"""What the tests of the real window have in common.

The environment's QUILLBOX names the program; without it, it is that of the dev preset. QUILLBOX_UNDER holds the words of
a command that is to run it, such as a memory checker's.
"""

import contextlib
import json
import os
import shlex
import subprocess
import tempfile
import unittest

from desktop import Desktop, bound_to_us, end, wait_for
from program import Program, settings_path, store_settings
from upload_server import SLOW, UploadServer

ANY_TITLE = "^(ftp:|No FTP|Quillbox)"  # Of the main window, from the first moment on.

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
PROGRAM = os.path.abspath(os.environ.get("QUILLBOX", os.path.join(TOP, "build/dev/Quillbox")))
UNDER = shlex.split(os.environ.get("QUILLBOX_UNDER", ""))


def content(path):
    """The text in a file, whatever bytes that has."""
    with open(path, "rb") as file:
        return file.read().decode(errors="replace")


class WindowTest(unittest.TestCase):
    """Each test has its own server and home folder; those of one module share the desktop."""

    desktop = None

    @classmethod
    def setUpClass(cls):
        if WindowTest.desktop is None:
            WindowTest.desktop = Desktop().__enter__()
            unittest.addModuleCleanup(WindowTest.desktop.close)

    def setUp(self):
        self.server = self.make_server()
        self.addCleanup(self.server.close)
        self.home = self.desktop.new_home()
        self.folder = tempfile.mkdtemp(prefix="files-", dir=self.desktop.folder)
        store_settings(self.home, {"DoNotShowWelcomeWindowAgain": True})

    def make_server(self):
        """A server with settings(), path() and close(), and what else the module's tests want of it."""
        return UploadServer()

    def settings(self, **others):
        """Stores the settings for this test's server, or others."""
        store_settings(self.home, self.server.settings(DoNotShowWelcomeWindowAgain=True, **others))

    def forget_settings(self):
        """As on the first start of all."""
        os.remove(settings_path(self.home))

    def stored_settings(self):
        """What the settings file holds; nothing without one."""
        try:
            with open(settings_path(self.home), encoding="utf-8") as file:
                return json.load(file)
        except FileNotFoundError:
            return None

    def file(self, name, content=b"content\n"):
        """Makes a file to upload, and answers its path."""
        path = os.path.join(self.folder, name)
        with open(path, "wb") as file:
            file.write(content)
        return path

    def monitored_bus(self):
        """The file that every message of the session bus is written to from now on."""
        path = os.path.join(self.folder, "bus.log")
        with open(path, "wb") as file:
            command = ["dbus-monitor", "--address", self.desktop.environment["DBUS_SESSION_BUS_ADDRESS"]]
            monitor = subprocess.Popen(bound_to_us(command), stdout=file, env=self.desktop.environment)
        self.addCleanup(end, monitor)
        wait_for(lambda: "NameLost" in content(path), "the monitor to listen")
        return path

    def launch(self, *words, program=PROGRAM, folder=None, **environment):
        """Starts the program, which ends with the test at the latest."""
        launched = Program(self.desktop, [*UNDER, program, *words], {**self.home, **environment}, folder)
        self.addCleanup(launched.close)
        return launched

    def start(self, *words, **options):
        """Starts the program, which runs until the test is over, and waits for its window."""
        started = self.launch(*words, **options)
        self.addCleanup(lambda: self.assertIsNone(started.process.poll(), started.output()))
        wait_for(started.titles, "the window")
        return started

    def wait_for_status(self, program, status):
        wait_for(lambda: program.text("Status") == status, f"the status “{status}”")

    def wait_for_files(self, *names):
        """Waits until these and no other files have arrived whole, in this order."""
        wait_for(lambda: len(self.server.received) >= len(names), f"{names} to arrive")
        self.assertEqual(self.server.received, list(names))

    def wait_for_download(self, name, content):
        """Waits until one file has come into the folder for downloads, which gave it a name that ends like that, whole."""
        folder = os.path.join(self.home["HOME"], "Downloads")

        def is_whole():
            names = os.listdir(folder)
            if len(names) != 1 or not names[0].endswith(name):
                return False
            with open(os.path.join(folder, names[0]), "rb") as file:
                return file.read() == content

        wait_for(is_whole, f"{name} to be downloaded")

    def start_busy(self):
        """Starts the program with a long file on its way and another one waiting."""
        self.settings()
        self.server.read_at_most(SLOW)
        program = self.launch(self.file("one", bytes(20_000_000)), self.file("two"))
        wait_for(lambda: self.server.begun == ["one"], "the first file to be sent")
        self.bring_to_front(program, ANY_TITLE)
        return program

    def bring_to_front(self, program, title="^ftp://"):
        """Gives the keyboard to the main window, once it has such a title."""
        (window,) = wait_for(lambda: self.desktop.windows_of(program.process.pid, title), "the window")
        self.desktop.xdotool("windowactivate", "--sync", window)
        wait_for(program.is_active, "the program to have the keyboard")

    def minimise(self, program):
        (window,) = wait_for(lambda: self.desktop.windows_of(program.process.pid), "the window on the screen")
        self.desktop.xdotool("windowminimize", window)
        wait_for(lambda: not self.desktop.windows_of(program.process.pid), "the window to be minimised")

    def go_to(self, program, name):
        """Brings the keyboard by Tab to a control of the window that has it."""

        def is_there():
            if program.find(name) and program.has_focus(name):
                return True
            before = program.focused()
            self.desktop.key("Tab")
            # Another Tab before the first has had its effect would lead past the control. None comes of it where the
            # window did not have the keyboard yet.
            with contextlib.suppress(AssertionError):
                wait_for(lambda: program.focused() != before, "the keyboard to move", seconds=2)
            return False

        wait_for(is_there, f"the keyboard to be at “{name}”")

    def open_drop_icons(self, program):
        """Opens their window by keys, and waits until it has the keyboard."""
        self.bring_to_front(program, ANY_TITLE)
        self.desktop.key("alt+f", "i")
        self.bring_to_front(program, "^Drop Icons$")

    def wait_for_listing(self, program, place=""):
        """Waits until the table shows what that folder of the server holds."""
        wanted = sorted(os.listdir(self.server.path(place)))
        wait_for(lambda: sorted(self.names(program)) == wanted, f"{wanted} in the table")
        wait_for(lambda: program.text("Listing status") == "Listing succeeded", "the end of the listing")

    def names(self, program):
        """The names in the table, in its order."""
        return [row[0] for row in program.rows("Destination folder")]

    def select(self, program, name):
        """Clicks on the row of that name."""

        def rows():
            # A refresh that has come due meanwhile empties the table for a moment.
            names = self.names(program) if program.text("Listing status") == "Listing succeeded" else []
            return [row for row, other in enumerate(names) if other == name]

        row = wait_for(rows, f"{name} in the table")[0]
        self.desktop.click(program.cell("Destination folder", row, 0))
        table = "Destination folder"
        wait_for(lambda: program.is_enabled("Delete") and program.selected_row(table) == row, f"{name} to be selected")

    def delete(self, program, name, meanwhile=lambda: None):
        """Chooses to delete the row of that name, which happens a second later; meanwhile() comes before the answer."""
        self.bring_to_front(program)
        self.select(program, name)
        self.desktop.key("Delete")
        question = ["Delete Item", f'Are you sure you want to delete "{name}"?']
        wait_for(lambda: program.sheet() == question, "the question")
        wait_for(lambda: program.has_focus("Cancel"), "the keyboard to be in the question")
        meanwhile()
        self.desktop.key("Tab")
        self.desktop.key("space")
        wait_for(lambda: program.sheet() != question, "the question to go")

    def assert_no_more_sheets(self, program):
        """No sheet shows while the clock in the window moves on by two seconds."""
        for _ in range(2):
            self.wait_for_the_clock(program)
            self.assertIsNone(program.sheet())

    def wait_for_the_clock(self, program):
        before = program.text("Date")
        wait_for(lambda: program.text("Date") != before, "the date to go on")
