#!/usr/bin/python3
"""Takes the pictures of the windows for docs/:  pictures.py PROGRAM FOLDER

Each window shows at 100 % and, with "-200" behind its name, at 200 %, and the main window on each of some screens. A
server of our own, a display of our own.
"""

import os
import subprocess
import sys
from pathlib import Path

TOP = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(TOP, "tests", "window"))

import demo  # noqa: E402
from certificates import make_certificate  # noqa: E402
from desktop import Desktop, wait_for  # noqa: E402
from program import Program, store_settings  # noqa: E402
from real_ftp_server import RealFTPServer  # noqa: E402
from upload_server import UploadServer  # noqa: E402

FILES = {
    "Annual report 2025.pdf": 2_480_000,
    "Backup of the website.tar.gz": 88_400_000,
    "Budget.ods": 74_500,
    "Concert in June.mp4": 734_000_000,
    "Interview.mp3": 48_200_000,
    "Lighthouse.jpg": 3_640_000,
    "Minutes of the meeting on a long winter evening, with all that was said about the roof.odt": 31_000,
    "Read me.txt": 1_204,
    "العقد النهائي.docx": 96_000,
    "été à la mer.png": 1_870_000,
}
FOLDERS = ["Archive", "Photos"]
# Name, size, scale, points of the font (nothing: the usual one) and locale.
SCREENS = [
    ("640x480", "640x480", "1", None, "en_US"),
    ("640x480-large-font", "640x480", "1", 18, "de_DE"),
    ("800x600-right-to-left", "800x600", "1", None, "ar_EG"),
    ("1366x768-150", "1366x768", "1.5", None, "zh_CN"),
    ("1600x1200-200", "1600x1200", "2", None, "de_DE"),
    ("3840x2160-300", "3840x2160", "3", None, "en_US"),
]
SENDING = {"Lighthouse.jpg": 60_000_000, "Map of the harbour.svg": 2_000, "Letter.odt": 30_000}


def fill(server):
    for name, size in FILES.items():
        with open(server.path(name), "wb") as file:
            file.truncate(size)
        os.utime(server.path(name), (1_760_000_000 + size, 1_760_000_000 + size))
    os.symlink("Read me.txt", server.path("latest"))
    for name in FOLDERS:
        os.mkdir(server.path(name))
        os.utime(server.path(name), (1_750_000_000, 1_750_000_000))


class Pictures:
    def __init__(self, desktop, server, program, folder, suffix):
        self._desktop = desktop
        self._server = server
        self._program = program
        self._folder = folder
        self._suffix = suffix
        self._home = None

    def start(self, locale="en_US", points=None, **settings):
        self._home = {**self._desktop.new_home(), "LANG": f"{locale}.UTF-8"}
        if points:
            self.use_font(points)
        store_settings(self._home, {"DoNotShowWelcomeWindowAgain": True, **settings})
        return Program(self._desktop, [self._program], self._home)

    def use_font(self, points):
        """What the user of a KDE desktop has set."""
        font = f"DejaVu Sans,{points},-1,5,50,0,0,0,0,0"
        with open(os.path.join(self._home["XDG_CONFIG_HOME"], "kdeglobals"), "w", encoding="utf-8") as file:
            file.write(f"[General]\nfont={font}\nmenuFont={font}\nfixed={font}\n")
        self._home.update(XDG_CURRENT_DESKTOP="KDE", KDE_SESSION_VERSION="5", KDE_FULL_SESSION="true")

    def take_screen(self, points, locale):
        """A whole screen, before, during and after a queue."""
        program = self.start(locale, points, **self._server.settings())
        self.wait_for_list(program)
        self.take_root(program, "idle")
        self._server.read_at_most(3_000_000)
        self.hand_over([self.file(name, size) for name, size in SENDING.items()] + ["/nowhere/Gone.txt"])
        wait_for(lambda: (program.value("Transfer progress") or (0, 0))[0] >= 15, "a part to be sent")
        self.take_root(program, "sending")
        self._server.read_at_most(0)
        wait_for(lambda: program.find("Outcome of the last queue"), "the outcome")
        self.wait_for_list(program)
        self.take_root(program, "after")
        program.close()

    def take_root(self, program, state):
        self.to_front(program, "^ftp:")
        self._desktop.picture(os.path.join(self._folder, f"screen-{self._suffix}-{state}.png"))

    def hand_over(self, paths):
        """Opens files with the program that runs."""
        second = Program(self._desktop, [self._program, *paths], self._home)
        second.exit_code()
        second.close()

    def to_front(self, program, title):
        window = wait_for(lambda: self._desktop.windows_of(program.process.pid, title), title)[0]
        self._desktop.xdotool("windowactivate", "--sync", window)
        wait_for(program.is_active, "the keyboard")
        return window

    def take(self, program, name, title):
        window = self.to_front(program, title)
        self._desktop.picture(os.path.join(self._folder, f"window-{name}{self._suffix}.png"), window, frame=True)

    def take_all(self):
        program = self.start(DoNotShowWelcomeWindowAgain=False)
        wait_for(lambda: "No FTP Destination" in program.titles(), "the title")
        self.take(program, "welcome", "^Welcome")
        program.press("Close")
        self.take(program, "empty", "^No FTP")
        program.close()

        settings = self._server.settings()
        program = self.start(**settings)
        self.wait_for_list(program)
        self.take(program, "listing", "^ftp:")
        self._desktop.key("ctrl+comma")
        wait_for(lambda: program.find("Server address"), "the panel")
        program.enter("Server address", "files.example.com")
        program.enter("Folder", "inbox")
        program.press("Encryption required")
        self.take(program, "preferences", "^Preferences$")
        program.enter("Server address", "ftps://files.example.com")
        wait_for(lambda: program.find("Use Encryption"), "the advice")
        self.take(program, "preferences-advice", "^Preferences$")
        program.press("More")
        program.enter("Web address of this folder", "https://www.example.com/inbox")
        self.take(program, "preferences-more", "^Preferences$")
        program.press("Cancel")
        wait_for(lambda: "Preferences" not in program.titles(), "the panel to close")
        self.to_front(program, "^ftp:")
        self._desktop.xdotool("type", "--delay", 15, "bud")
        program.press("Delete")
        wait_for(program.sheet, "the question")
        self.take(program, "sheet", "^Delete Item$")
        program.press("Cancel")
        wait_for(lambda: program.sheet() is None, "the question to go")
        self.take_others(program)
        program.close()

        self._server.read_at_most(3_000_000)
        paths = [self.file(name, size) for name, size in SENDING.items()]
        program = self.start(**settings)
        self.wait_for_list(program)
        self.to_front(program, "^ftp:")
        self.hand_over(paths)
        wait_for(lambda: (program.value("Transfer progress") or (0, 0))[0] >= 20, "a part to be sent")
        self.take(program, "uploading", "^ftp:")
        program.close()
        self.take_history(settings)
        self.take_outcomes(settings)
        self.take_demo()
        self.take_copies(settings)
        self.take_encryption()

    def take_others(self, program):
        """An alert, and the windows that are opened from the menus."""
        self.to_front(program, "^ftp:")
        self._desktop.key("ctrl+shift+n")
        wait_for(lambda: program.find("Enter name of folder to create."), "the prompt")
        self.take(program, "prompt", "^Enter name")
        self._desktop.key("Return")
        wait_for(program.sheet, "the alert")
        self.take(program, "alert", "^Folder Not Created$")
        program.press("OK")
        wait_for(lambda: program.sheet() is None, "the alert to go")
        self.to_front(program, "^ftp:")
        self._desktop.key("ctrl+m")
        self.take(program, "manual", "^Manual Transfers$")

    def take_history(self, settings):
        self._server.read_at_most(0)
        self._server.after_receiving = lambda path: path.endswith("Poster.png") and os.truncate(path, 1_500_000)
        program = self.start(**settings)
        self.wait_for_list(program)
        self.to_front(program, "^ftp:")
        sizes = {"Letter.odt": 30_000, "Archive": 9_000, "Poster.png": 1_870_000, "Read me.txt": 1_204}
        paths = [self.file(name, size) for name, size in sizes.items()]
        self.hand_over([*paths, os.path.join(self._desktop.folder, "Gone.txt")])
        wait_for(lambda: "Read me.txt" in self._server.received, "the files to arrive")
        wait_for(lambda: program.value("Transfer progress") is None, "the queue to be worked off")
        self._server.read_at_most(3_000_000)
        self.hand_over([self.file("Lighthouse.jpg", 60_000_000), self.file("Map of the harbour.svg", 2_000)])
        wait_for(lambda: (program.value("Transfer progress") or (0, 0))[0] >= 10, "a part to be sent")
        self._desktop.key("ctrl+h")
        self.take(program, "history", "^History$")
        program.close()

    def take_outcomes(self, settings):
        """The line below the status, in each of its states."""
        self._server.read_at_most(0)
        program = self.start(**settings)
        self.wait_for_list(program)
        letter, gone = self.file("Letter.odt", 30_000), os.path.join(self._desktop.folder, "Gone.txt")
        folder = os.path.join(self._desktop.folder, "Photos of the harbour")
        os.makedirs(folder, exist_ok=True)

        self.hand_over([letter])
        self.take_outcome(program, "one", "“Letter.odt” uploaded")
        self.paste(program, [letter, self.file("Map of the harbour.svg", 2_000), folder])
        self.take_outcome(program, "left-out", "2 uploaded, 1 left out")
        self.hand_over([letter, self.file("Archive", 9_000), self.file("Read me.txt", 1_204), gone])
        self.take_outcome(program, "failed", "2 of 4 uploaded, 2 failed")
        self._server.read_at_most(3_000_000)
        self.hand_over([gone, self.file("Lighthouse.jpg", 60_000_000), letter])
        wait_for(lambda: (program.value("Transfer progress") or (0, 0))[0] >= 10, "a part to be sent")
        self.take(program, "outcome-sending", "^ftp:")
        program.press("Stop")
        self.take_outcome(program, "stopped", "1 of 3 uploaded, 1 failed, 1 stopped")
        program.close()

    def take_demo(self):
        """What ./demo --keep leaves open, with a new folder and a file that was deleted."""
        with UploadServer() as server:
            os.mkdir(server.path(demo.FOLDER))
            files = demo.make_samples(self._desktop.folder)
            program = self.start(**server.settings(FTPFolder=demo.FOLDER))
            self.wait_for_list(program)
            self.hand_over(files)
            demo.wait_for_arrival(program, server, len(files))
            self.to_front(program, "^ftp:")
            program.press("New Folder")
            program.enter("Enter name of folder to create.", "Letters")
            program.press("OK")
            wait_for(lambda: os.path.isdir(server.path(f"{demo.FOLDER}/Letters")), "the folder")
            self.take_done(program, "created", "Folder “Letters” was created")
            self._desktop.xdotool("type", "--delay", 15, "nothing")
            program.press("Delete")
            wait_for(lambda: program.has_focus("Cancel"), "the question")
            self._desktop.key("Tab")
            self._desktop.key("space")
            self.take_done(program, "deleted", "“Nothing in it.dat” was deleted")
            program.close()

    def paste(self, program, paths):
        """Pastes files and folders, as they are copied in a file manager."""
        words = ["xclip", "-quiet", "-in", "-selection", "clipboard", "-target", "text/uri-list"]
        clipboard = subprocess.Popen(
            words, stdin=subprocess.PIPE, stderr=subprocess.DEVNULL, env=self._desktop.environment
        )
        clipboard.stdin.write("".join(f"{Path(path).as_uri()}\r\n" for path in paths).encode())
        clipboard.stdin.close()
        target = [*words[:1], "-out", *words[3:]]
        wait_for(lambda: subprocess.run(target, env=self._desktop.environment, capture_output=True).stdout, "the copy")
        self.to_front(program, "^ftp:")
        self._desktop.key("ctrl+v")

    def take_outcome(self, program, name, words):
        self.take_done(program, f"outcome-{name}", words)

    def take_done(self, program, name, words):
        wait_for(lambda: program.find(words), words)
        self.wait_for_list(program)
        while program.sheet():
            program.press("OK")
        self.take(program, name, "^ftp:")

    def wait_for_list(self, program):
        wait_for(lambda: program.text("Listing status") == "Listing succeeded", "the list")

    def take_copies(self, settings):
        program = self.start(**settings)
        self.to_front(program, "^(ftp:|Quillbox)")
        self._desktop.key("alt+f", "m")
        for name in ("Invoices", "Scans", "été à la mer"):
            program.enter("Name of the copy", name)
            program.press("Make Copy")
            wait_for(lambda name=name: name in [row[0] for row in program.rows("Copies")], name)
        program.enter("Name of the copy", "Photos/2024")
        self.take(program, "copies", "^Make a Copy$")
        program.close()

    def take_encryption(self):
        pem, _ = make_certificate(self._desktop.folder, names="DNS:files.example.com", subject="files.example.com")
        server = RealFTPServer("pyftpdlib", pem)
        fill(server)
        program = self.start(**server.settings(Encryption="required"))
        wait_for(program.sheet, "the question")
        self.take(program, "certificate", "^Trust This Server")
        program.press("Trust")
        self.wait_for_list(program)
        self.take(program, "encrypted", "^ftp:")
        self._desktop.key("ctrl+comma")
        program.press("Test Connection")
        wait_for(lambda: program.text("Test result").startswith("It works"), "the result")
        self.take(program, "test", "^Preferences$")
        program.enter("Folder", "Reports/2026")
        program.press("Test Connection")
        wait_for(lambda: program.find("Create Folder"), "the offer to create the folder")
        self.take(program, "test-folder", "^Preferences$")
        program.close()
        server.close()

    def file(self, name, size):
        path = os.path.join(self._desktop.folder, name)
        with open(path, "wb") as file:
            file.truncate(size)
        return path


def take(program, folder, scale, name=None):
    """All windows at that scale, or the screen of that name."""
    screen = next((screen for screen in SCREENS if screen[0] == name), None)
    _, size, scale, points, locale = screen or (None, "2400x1800", scale, None, None)
    os.environ["QT_SCALE_FACTOR"] = scale
    with Desktop(size=size) as desktop, UploadServer() as server:
        desktop.environment["QT_SCALE_FACTOR"] = scale
        fill(server)
        suffix = name or ("" if scale == "1" else f"-{scale}00")
        pictures = Pictures(desktop, server, program, folder, suffix)
        if screen:
            pictures.take_screen(points, locale)
        else:
            pictures.take_all()


def main():
    program, folder = map(os.path.abspath, sys.argv[1:3])
    if len(sys.argv) > 3:
        take(program, folder, *sys.argv[3:])
        return
    # One desktop for each process.
    for words in (["1"], ["2"], *([screen[2], screen[0]] for screen in SCREENS)):
        subprocess.run([sys.executable, os.path.abspath(__file__), program, folder, *words], check=True)
    # As many colours as a window has, in files of half the size.
    taken = [path for kind in ("window", "screen") for path in Path(folder).glob(f"{kind}-*.png")]
    subprocess.run(["mogrify", "-strip", "-colors", "256", *taken], check=True)


if __name__ == "__main__":
    main()
