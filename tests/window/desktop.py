"""A private desktop for one program: X server, window manager, session bus, home folder; mouse, keys and pictures.

    with Desktop() as desktop:
        program = Program(desktop, ["build/dev/Quillbox"])     # see program.py
        desktop.drag((10, 10), (200, 200))
        desktop.picture("window.png")

One Desktop at a time for each Python process, which has its environment. Whatever a Desktop starts ends with it, and at
the latest with this process, however that ends.
"""

import contextlib
import os
import random
import shutil
import subprocess
import sys
import tempfile
import time
from pathlib import Path

# A program under a tool that slows it down is waited for so many times longer.
PATIENCE = float(os.environ.get("QUILLBOX_PATIENCE", "1"))

IN_DRAG_SOURCE = (30, 30)  # Where files are dragged from.

# What would let the session around us shine through.
FOREIGN = ("AT_SPI", "DBUS_", "DESKTOP_", "GDK_", "GNOME_", "GTK_", "KDE_", "LANG", "LC_", "QT_", "WAYLAND_", "XDG_")


def wait_for(condition, what, seconds=60, longest_pause=0.1):
    """Calls condition until it answers something true, and answers that; fails after so many seconds."""
    seconds *= PATIENCE
    end = time.monotonic() + seconds
    pause = 0.01
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError(f"waited {seconds} s in vain for {what}")
        time.sleep(pause)
        pause = min(pause * 1.3, longest_pause)  # A look is dear: it is many questions, and the tests share the machine.


def bound_to_us(words):
    """The command line that has the kernel end a program when this process is gone, however it went."""
    return ["setpriv", "--pdeathsig", "KILL", *map(str, words)]


def end(process):
    """Ends a process of ours, kindly if that helps: an X server that is killed leaves its lock behind."""
    process.terminate()
    try:
        process.wait(20)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()


class Desktop:
    def __init__(self, size="1280x1024", display=None, scale="1"):
        """With display, such as ":0", the windows open there, among the user's; the rest is private all the same.

        With scale, such as "1.5", a program counts so many of the screen's pixels as one.
        """
        self._size = size
        self._scale = scale
        self._display = display
        self._processes = []
        self.folder = None
        self.environment = {name: value for name, value in os.environ.items() if not name.startswith(FOREIGN)}
        self.environment["LANG"] = "C.UTF-8"  # Numbers are shown as the tests read them.

    def __enter__(self):
        try:
            self._start()
        except BaseException:
            self.close()
            raise
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        for process in reversed(self._processes):
            end(process)
        self._processes.clear()
        if self.folder:
            shutil.rmtree(self.folder, ignore_errors=True)

    def new_home(self):
        """Environment variables of a home folder that nobody has used."""
        home = tempfile.mkdtemp(prefix="home-", dir=self.folder)
        places = {
            "XDG_CONFIG_HOME": ".config",
            "XDG_CACHE_HOME": ".cache",
            "XDG_DATA_HOME": ".local/share",
            "XDG_STATE_HOME": ".local/state",
        }
        for place in [*places.values(), "Desktop", "Documents", "Downloads"]:
            os.makedirs(os.path.join(home, place), mode=0o700)
        return {"HOME": home, **{name: os.path.join(home, place) for name, place in places.items()}}

    # Mouse, keys, windows, pictures.

    def xdotool(self, *words):
        result = subprocess.run(["xdotool", *map(str, words)], env=self.environment, capture_output=True, text=True)
        return result.stdout.strip()

    def key(self, *names):
        self.xdotool("key", "--clearmodifiers", *names)

    def scaled(self, lengths):
        """What a program counts, in the screen's own pixels."""
        return [round(float(self._scale) * length) for length in lengths]

    def click(self, point, button=1):
        """Clicks where a program has that point."""
        self.xdotool("mousemove", *self.scaled(point), "click", button)

    def double_click(self, point):
        self.xdotool("mousemove", *point, "click", "--repeat", 2, "--delay", 50, 1)

    def drag(self, source, target, steps=25):
        """Moves the mouse with its button held, and lets go."""
        self.drag_over(source, target, steps)
        self.xdotool("mousemove_relative", "--", 1, 1, "sleep", 0.5, "mouseup", 1)

    def drag_over(self, source, target, steps=25):
        """Holds the mouse's button and moves there in small steps, as toolkits look where a drag goes by the way."""
        words = ["mousemove", *source, "sleep", 0.2, "mousedown", 1]
        for step in range(1, steps + 1):
            point = [start + (stop - start) * step // steps for start, stop in zip(source, target)]
            words += ["mousemove", *point, "sleep", 0.03]
        self.xdotool(*words)

    def drag_until(self, taken, source, target):
        """Drags until that holds: what is under the mouse takes its time to accept a drop, and does not say so to us."""
        for seconds in (5, 20):
            self.drag(source, target)
            with contextlib.suppress(AssertionError):
                return wait_for(taken, "the drop", seconds)
        self.drag(source, target)
        return wait_for(taken, "the drop")

    def drag_source(self, *paths):
        """Shows a small window in the corner of the screen, from which these files can be dragged, until they are taken
        somewhere. Answers its process.
        """
        script = os.path.join(os.path.dirname(os.path.abspath(__file__)), "drag_source.py")
        uris = [Path(os.fsdecode(path)).as_uri() for path in paths]
        source = self.spawn([sys.executable, "-B", "-W", "ignore", script, *uris])
        window = wait_for(lambda: self.windows_of(source.pid, "^Drag source$"), "what files are dragged from")[0]
        self.xdotool("windowmove", "--sync", window, 0, 0)
        return source

    def clipboard(self):
        words = ["xclip", "-out", "-selection", "clipboard"]
        return subprocess.run(words, env=self.environment, capture_output=True, text=True, timeout=20 * PATIENCE).stdout

    def windows_of(self, pid, title=""):
        """The X windows, as numbers, that the process shows and whose titles hold a match for that expression."""
        return self.xdotool("search", "--all", "--onlyvisible", "--pid", pid, "--name", title).split()

    def place_of(self, window):
        """The left and top edge of a window's contents on the screen."""
        lines = self.xdotool("getwindowgeometry", "--shell", window).splitlines()
        places = dict(line.split("=", 1) for line in lines)
        return int(places["X"]), int(places["Y"])

    def wait_until_still(self, window):
        """Waits until what a window shows has stayed the same for a second."""
        seen = since = None

        def is_still():
            nonlocal seen, since
            words = ["import", "-window", str(window), "rgb:-"]
            shown = subprocess.run(words, env=self.environment, capture_output=True).stdout
            if shown != seen:
                seen, since = shown, time.monotonic()
            return time.monotonic() - since > 1

        wait_for(is_still, "the window to be still", longest_pause=0.3)

    def picture(self, path, window="root", frame=False):
        """Saves what a window shows; with frame also the frame that the window manager drew around it."""
        words = ["-frame"] if frame else []
        subprocess.run(["import", *words, "-window", window, path], env=self.environment, check=True)

    def end(self, process):
        """Ends a program that spawn() started."""
        self._processes.remove(process)
        end(process)

    def spawn(self, words, **options):
        """Starts a program that ends with this desktop."""
        options = {"stdin": subprocess.DEVNULL, "stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL, **options}
        process = subprocess.Popen(bound_to_us(words), env=self.environment, **options)
        self._processes.append(process)
        return process

    # The start.

    def _start(self):
        self.folder = tempfile.mkdtemp(prefix="quillbox-desktop-")
        self.environment.update(self.new_home())
        runtime = os.path.join(self.folder, "run")
        os.mkdir(runtime, mode=0o700)
        # Xwayland serves a display of the user's too, and the programs that take pictures know X alone.
        self.environment.update(
            XDG_RUNTIME_DIR=runtime, QT_QPA_PLATFORM="xcb", QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", NO_AT_BRIDGE="1"
        )
        if self._scale != "1":
            self.environment["QT_SCALE_FACTOR"] = self._scale
        if self._display:
            # The key to the user's display lies in the user's own home.
            key = os.environ.get("XAUTHORITY") or os.path.expanduser("~/.Xauthority")
            self.environment.update(DISPLAY=self._display, XAUTHORITY=key)
            self._start_bus()
        else:
            self.environment.pop("XAUTHORITY", None)
            self._start_x_server()
            self._start_bus()
            self.spawn(["openbox", "--sm-disable"])
            wait_for(lambda: "window id" in self._root_property("_NET_SUPPORTING_WM_CHECK"), "a window manager")
        for name in os.environ.keys() - self.environment.keys():
            del os.environ[name]
        os.environ.update(self.environment)

    def _start_x_server(self):
        for number in random.sample(range(100, 1000), 50):
            lock = f"/tmp/.X{number}-lock"
            if os.path.exists(lock):
                continue
            screen = ["-screen", "0", self._size + "x24", "-nolisten", "tcp", "-noreset"]
            server = self.spawn(["Xvfb", f":{number}", *screen])
            self.environment["DISPLAY"] = f":{number}"
            wait_for(lambda: server.poll() is not None or self._root_property("_NET_SUPPORTED"), "an X server")
            # The display that answered may be another's, who was quicker.
            try:
                with open(lock, encoding="ascii") as file:
                    if server.poll() is None and int(file.read()) == server.pid:
                        return
            except FileNotFoundError:
                pass
            self._processes.remove(server)
            end(server)
        raise AssertionError("no free display")

    def _start_bus(self):
        # The accessibility bus leaves its address on the display that it knows of; a user's display is not ours to
        # mark.
        environment = {name: value for name, value in self.environment.items() if name != "DISPLAY"}
        address = f"unix:dir={self.environment['XDG_RUNTIME_DIR']}"
        words = ["dbus-daemon", "--session", "--nofork", "--print-address=1", f"--address={address}"]
        bus = subprocess.Popen(
            bound_to_us(words), env=environment, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL
        )
        self._processes.append(bus)
        with bus.stdout as out:
            self.environment["DBUS_SESSION_BUS_ADDRESS"] = out.readline().decode().strip()

    def _root_property(self, name):
        words = ["xprop", "-root", name]
        return subprocess.run(words, env=self.environment, capture_output=True, text=True).stdout
