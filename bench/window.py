"""The real program with its window shown, driven as a user does: files opened with it, keys, the mouse.

The accessibility interface stays off while anything is measured, as it is where nobody uses a screen reader. Where
things are in the window is asked once, of a program that is started for this alone.
"""

import contextlib
import os
import subprocess
import sys
import threading
import time
import urllib.parse

from benchmark import TOP
from bus import Bus
from keyboard import Keyboard
from usage import cpu_seconds, wait_for_calm

sys.path.insert(0, os.path.join(TOP, "tests", "window"))

from desktop import wait_for  # noqa: E402
from program import Program, store_settings  # noqa: E402

BUS_NAME = "io.github.quillbox.Quillbox"
TABLE = "Destination folder"
SETTLED_SECONDS = 1.5  # The list is refreshed up to two seconds after the start, and after an activation.


def settings_of(login, address="127.0.0.1"):
    return {
        "Address": f"{address}:{login['port']}",
        "Username": login["user"],
        "Password": login["password"],
        "DoNotShowWelcomeWindowAgain": True,
    }


class Window:
    def __init__(self, desktop, program, settings, files=(), accessible=False):
        """Starts the program with these settings in a new home folder; files are opened with it."""
        self._desktop = desktop
        home = desktop.new_home()
        environment = {**home, "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1" if accessible else None}
        store_settings({**desktop.environment, **home}, settings)
        self.downloads = os.path.join(home["HOME"], "Downloads")
        self._bus = None
        self._keyboard = None
        with windows_shown(desktop) as shown:
            self.started = time.monotonic()
            self.program = Program(desktop, [program, *files], environment)
            self.mapped = shown.wait()
        self.pid = self.program.process.pid

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.program.close()

    def settle(self, conversation, mark):
        """Waits until the first listing stands in the table and the program rests."""
        conversation.wait_for(mark, 1, "LIST", 60)
        conversation.wait_for_quiet(SETTLED_SECONDS)
        wait_for_calm(self.pid)

    def cpu(self):
        return cpu_seconds(self.pid)

    # What a user does.

    def open(self, paths):
        """Opens files with the running program, as a file manager does; it has them when this returns."""
        self.seconds_to_accept(paths)

    def seconds_to_accept(self, paths):
        """The same; answers how long it took."""
        uris = ["file://" + urllib.parse.quote(path) for path in paths]
        return self._call("org.freedesktop.Application", "Open", "(asa{sv})", (uris, {}))

    def press(self, name):
        """A key; answers the moment."""
        self._keyboard = self._keyboard or Keyboard(self._desktop.environment["DISPLAY"])
        return self._keyboard.press(name)

    def minimise(self):
        self._desktop.xdotool("windowminimize", self._desktop.windows_of(self.pid, ".")[0])

    def click(self, offset):
        self._desktop.click(self._on_screen(offset))

    def double_click(self, offset):
        self._desktop.double_click(self._on_screen(offset))

    # What is asked without being seen.

    def answer_seconds(self):
        """How long the program's loop takes to come round to a question over the bus."""
        return self._call("org.freedesktop.DBus.Properties", "GetAll", "(s)", ("org.freedesktop.Application",))

    def answers_while(self, busy, pause=0.004):
        """Asks again and again while busy() says so; answers all the times that it took, in seconds."""
        times = []
        while busy():
            times.append(self.answer_seconds())
            time.sleep(pause)
        return times

    def places(self):
        """Of an accessible program with a file in its table: where the first row and the columns' titles are."""
        left, top = self._corner()

        def offset(point):
            return point[0] - left, point[1] - top

        wait_for(lambda: self.program.rows(TABLE), "a row in the table")
        cell = self.program.cell(TABLE, 0, 0)
        titles = [self.program.column_title(TABLE, column) for column in range(len(self.program.rows(TABLE)[0]))]
        return {"row": offset(cell), "titles": [offset(title) for title in titles]}

    def _corner(self):
        return self._desktop.place_of(self._desktop.windows_of(self.pid, ".")[0])

    def _on_screen(self, offset):
        left, top = self._corner()
        return left + offset[0], top + offset[1]

    def _call(self, interface, method, signature, arguments):
        if self._bus is None:
            self._bus = Bus(os.environ["DBUS_SESSION_BUS_ADDRESS"])
            wait_for(lambda: self._bus.has_owner(BUS_NAME), "the program's name on the bus")
        return self._bus.seconds_to_answer(BUS_NAME, interface, method, signature, arguments)


class _Shown:
    def __init__(self, out):
        self._known = set(_windows(out.readline()))
        self._moment = None
        self._done = threading.Event()
        threading.Thread(target=self._watch, args=(out,), daemon=True).start()

    def wait(self):
        """The moment at which the window manager showed a window that was not there before."""
        if not self._done.wait(20):
            raise RuntimeError("no window shows")
        return self._moment

    def _watch(self, out):
        for line in out:
            moment = time.monotonic()
            if not self._known.issuperset(_windows(line)):
                self._moment = moment
                self._done.set()
                return
            self._known = set(_windows(line))


def _windows(line):
    return line.partition("#")[2].replace(",", " ").split()


@contextlib.contextmanager
def windows_shown(desktop):
    """Watches the list of windows that the window manager keeps."""
    command = ["xprop", "-root", "-spy", "_NET_CLIENT_LIST"]
    with subprocess.Popen(command, env=desktop.environment, stdout=subprocess.PIPE, text=True) as process:
        try:
            yield _Shown(process.stdout)
        finally:
            process.terminate()
