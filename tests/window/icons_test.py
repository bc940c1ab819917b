"""Drop icons: made in their window, started by their launchers, removed again."""

import os
import signal
import subprocess
import unittest
import urllib.parse
from pathlib import Path

import private_network
from certificates import make_certificate, trust_certificate
from desktop import wait_for
from launcher import LaunchedProgram
from real_ftp_server import RealFTPServer
from window_test import ANY_TITLE, PROGRAM, WindowTest

FIELD = "Name of the icon"
TABLE = "Drop icons"
SUMMER = "Été à la mer 100%"
PHOTOS = "Photos/2024"  # Two levels of folders.
OTHER = "Other"


def setUpModule():
    private_network.enter()


def contents_of(folder):
    """The bytes of each file in it, by its name."""
    return {path.name: path.read_bytes() for path in Path(folder).iterdir()}


class Icons:
    """What the tests do in the window and with launchers, on a server of some make."""

    make = None
    place = "inbox"  # The destination folder on the server.

    def make_server(self):
        return RealFTPServer(self.make)

    def setUp(self):
        super().setUp()
        self.settings(FTPFolder=self.place)
        for name in (SUMMER, PHOTOS, OTHER):
            os.makedirs(self.on_server(name))

    # Where things are.

    def on_server(self, *names):
        return self.server.path(os.path.join(self.place, *names))

    def destination(self, name):
        return f"ftp://127.0.0.1/{self.place}/{urllib.parse.quote(name)}/"

    def data_folder(self, name):
        return os.path.join(self.home["XDG_DATA_HOME"], name)

    def link(self, name):
        return os.path.join(self.data_folder("quillbox/copies"), name.replace("/", ":"))

    def launchers(self):
        """The paths of the launchers in the applications menu, by the labels they show."""
        folder = self.data_folder("applications")
        found = {}
        for name in os.listdir(folder) if os.path.isdir(folder) else []:
            path = os.path.join(folder, name)
            with open(path, encoding="utf-8") as file:
                found[next(line[5:-1] for line in file if line.startswith("Name="))] = path
        return found

    def on_desktop(self):
        return os.listdir(os.path.join(self.home["HOME"], "Desktop"))

    # What is done in the window.

    def open_form(self, program, button="New…", title="^New Drop Icon$"):
        self.bring_to_front(program, "^Drop Icons$")
        program.press(button)
        self.bring_to_front(program, title)
        wait_for(lambda: program.has_focus(FIELD), "the keyboard to be in the field")

    def paste(self, program, text):
        """Pastes by key, as typing a letter that the keyboard lacks would change the keyboard."""
        path = os.path.join(self.folder, "clipboard")
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        clipboard = self.desktop.spawn(["xclip", "-quiet", "-in", "-selection", "clipboard", path])
        wait_for(lambda: self.desktop.clipboard() == text, "the clipboard")
        self.desktop.key("ctrl+v")
        wait_for(lambda: program.text(FIELD) == text, f"“{text}” in the field")
        self.desktop.end(clipboard)
        os.remove(path)

    def listed(self, program):
        return [row[0] for row in program.rows(TABLE)]

    def make_icon(self, program, name, on_desktop=False):
        self.open_form(program)
        self.paste(program, name)
        readable = urllib.parse.unquote(self.destination(name))
        self.assertEqual(program.text("Destination of the icon"), f"Files go to {readable}")
        if on_desktop:
            program.press("Also on the desktop")
        self.desktop.key("Return")
        self.wait_until_listed(program, name)

    def make_icon_with_server(self, program, name, settings):
        self.open_form(program)
        self.paste(program, name)
        program.press("On a server of its own")
        program.enter("Server address", settings["Address"])
        program.enter("User name", settings["Username"])
        program.enter("Password", settings["Password"])
        program.enter("Folder", settings["FTPFolder"])
        if settings.get("Encryption") == "required":
            program.press("Encryption required")
        program.press("Create")
        self.wait_until_listed(program, name)

    def wait_until_listed(self, program, name):
        wait_for(lambda: name in self.listed(program), f"“{name}” in the list")
        wait_for(lambda: "applications menu" in program.text("Message"), "what is said of it")

    def last_upload_of_first(self, program):
        """What the list says of its first icon when it is read again, as the window becomes the active one."""
        self.bring_to_front(program, ANY_TITLE)
        self.bring_to_front(program, "^Drop Icons$")
        return program.rows(TABLE)[0][2]

    def make_both(self, program):
        self.open_drop_icons(program)
        self.make_icon(program, SUMMER)
        self.make_icon(program, PHOTOS, on_desktop=True)

    def ask_to_remove(self, program):
        """Asks for the removal of the icon that is selected, by key, and leaves the question unanswered."""
        self.bring_to_front(program, "^Drop Icons$")
        wait_for(lambda: program.has_focus(TABLE), "the keyboard to be in the list")
        self.desktop.key("Delete")
        self.assertEqual(wait_for(program.sheet, "the question")[0], "Remove Drop Icon")
        wait_for(lambda: program.has_focus("Cancel"), "the keyboard to be in the question")

    # What is done with launchers.

    def send_to(self, name):
        """What Thunar has in its menu for the icon of that name: a launcher of the same file name."""
        return os.path.join(self.data_folder("Thunar/sendto"), os.path.basename(self.launchers()[name]))

    def service_menu(self, name):
        """A launcher of what Dolphin does for its entry of that icon."""
        menu = os.path.join(self.data_folder("kio/servicemenus"), os.path.basename(self.launchers()[name]))
        action = Path(menu).read_text(encoding="utf-8").split("[Desktop Action upload]\n")[1]
        return self.file("action.desktop", f"[Desktop Entry]\nType=Application\n{action}".encode())

    def launch_icon(self, name, *paths, launcher=None):
        launched = LaunchedProgram(self.desktop, launcher or self.launchers()[name], paths, self.home)
        self.addCleanup(launched.close)
        return launched

    def files_of_some_kinds(self, mark):
        contents = {f"{mark} short.txt": mark.encode(), f"{mark} empty": b"", f"{mark} é %F.bin": os.urandom(400_000)}
        return contents, [self.file(name, content) for name, content in contents.items()]

    def has_exactly(self, name, contents):
        """Whether the icon's folder on the server holds these files, and nothing else."""
        return contents_of(self.on_server(name)) == contents

    def window_classes(self, program):
        """What a desktop that looks for the window's launcher goes by: its instance and its class."""
        (window,) = wait_for(lambda: self.desktop.windows_of(program.process.pid, "^ftp:"), "the window")
        words = ["xprop", "-id", window, "-notype", "-f", "WM_CLASS", "8u", "WM_CLASS"]
        environment = {**self.desktop.environment, "LC_ALL": "C.UTF-8"}
        line = subprocess.run(words, env=environment, capture_output=True, text=True).stdout
        return line.strip().split(" = ", 1)[1]


class Running(Icons):
    def test_icons_run_at_the_same_time_and_each_file_ends_in_its_icons_folder(self):
        program = self.start()
        self.make_both(program)
        summer_files, summer_paths = self.files_of_some_kinds("sea")
        photo_files, photo_paths = self.files_of_some_kinds("photo")

        summer = self.launch_icon(SUMMER, *summer_paths)
        photos = self.launch_icon(PHOTOS, *photo_paths)

        wait_for(lambda: self.has_exactly(SUMMER, summer_files), "the first icon's files")
        wait_for(lambda: self.has_exactly(PHOTOS, photo_files), "the second icon's files")
        for icon, name in ((summer, SUMMER), (photos, PHOTOS)):
            wait_for(lambda icon=icon, name=name: self.destination(name) in icon.titles(), "its destination as title")
            wait_for(lambda icon=icon: icon.text("Status") == "Upload succeeded", "the last status")
            self.assertEqual(self.window_classes(icon), f'"{icon.startup_class}", "quillbox"')

        # A second start of one of them.
        more_files, more_paths = self.files_of_some_kinds("more")
        second = self.launch_icon(SUMMER, *more_paths)
        self.assertEqual(second.exit_code(), 0)
        wait_for(lambda: self.has_exactly(SUMMER, {**summer_files, **more_files}), "the files handed over")
        self.assertTrue(self.has_exactly(PHOTOS, photo_files))
        self.assertEqual(sorted(os.listdir(self.on_server())), [OTHER, "Photos", SUMMER])
        for running in (program, summer, photos):
            self.assertIsNone(running.process.poll())

    def test_icons_on_three_servers_are_used_at_once_from_everywhere(self):
        encrypted = self.other_server("127.0.0.1", *make_certificate(self.desktop.folder))
        plain = self.other_server("127.0.0.2")
        program = self.start()
        self.open_drop_icons(program)
        self.make_icon(program, SUMMER)
        self.make_icon_with_server(program, "Web", plain.settings(FTPFolder="in"))
        self.make_icon_with_server(program, "Safe", encrypted.settings(FTPFolder="in", Encryption="required"))
        launched, by_launcher = self.files_of_some_kinds("launched")
        menu, by_menu = self.files_of_some_kinds("menu")
        sent, by_entry = self.files_of_some_kinds("sent")
        commanded, by_command = self.files_of_some_kinds("commanded")

        self.launch_icon(SUMMER, *by_launcher)
        self.launch_icon(SUMMER, *by_menu, launcher=self.service_menu(SUMMER))
        self.launch_icon("Web", *by_entry, launcher=self.send_to("Web"))
        self.launch("--icon", "Safe", *by_command)

        for folder, contents in (
            (self.on_server(SUMMER), {**launched, **menu}),
            (plain.path("in"), sent),
            (encrypted.path("in"), commanded),
        ):
            wait_for(lambda folder=folder, contents=contents: contents_of(folder) == contents, f"the files in {folder}")
        self.assertEqual(sorted(os.listdir(self.on_server())), sorted([OTHER, "Photos", SUMMER]))

    def other_server(self, address, pem=None, fingerprint=None):
        """One of the same make with the folder “in”; its certificate, when it has one, is trusted."""
        server = RealFTPServer(self.make, pem, address)
        self.addCleanup(server.close)
        os.mkdir(server.path("in"))
        if pem:
            trust_certificate(self.home, server.place, fingerprint)
        return server

    def test_an_icon_with_a_server_of_its_own_sends_there_until_it_is_removed(self):
        other = self.other_server("127.0.0.2")
        program = self.start()
        self.open_drop_icons(program)
        self.make_icon_with_server(program, "Print shop", other.settings(FTPFolder="in"))
        contents, paths = self.files_of_some_kinds("print")

        icon = self.launch_icon("Print shop", *paths, launcher=self.send_to("Print shop"))

        wait_for(lambda: contents_of(other.path("in")) == contents, "the files on the other server")
        self.assertEqual(sorted(os.listdir(self.on_server())), sorted([OTHER, "Photos", SUMMER]))
        wait_for(lambda: self.last_upload_of_first(program)[:1].isdigit(), "its last upload")

        # While it runs, it keeps its name, and can be removed.
        program.press("Edit…")
        wait_for(lambda: program.text("Name of the icon") and not program.is_enabled("Name of the icon"), "its name")
        program.press("Cancel")
        wait_for(lambda: "Edit Drop Icon" not in program.titles(), "the form to close")
        self.ask_to_remove(program)
        self.assertIn("uploads nothing more", " ".join(program.sheet()))
        self.desktop.key("Tab", "space")
        wait_for(lambda: self.listed(program) == [], "the list to be empty")
        settings = os.path.join(self.home["XDG_CONFIG_HOME"], "quillbox/icons")
        self.assertEqual(os.listdir(settings), [])
        # As by its launcher, of which a file manager may have a copy.
        words = ["Print shop", "--settings", os.path.join(settings, "Print shop.json"), self.file("late", b"late")]
        subprocess.run(words, executable=PROGRAM, env={**self.desktop.environment, **self.home}, check=True)
        wait_for(icon.sheet, "the icon to say that it has no server")
        self.assertEqual(contents_of(other.path("in")), contents)
        self.assertEqual(sorted(os.listdir(self.on_server())), sorted([OTHER, "Photos", SUMMER]))


class MakingAndRemoving(Icons, WindowTest):
    make = "pyftpdlib"

    def test_a_removed_icon_leaves_nothing_behind(self):
        program = self.start()
        self.make_both(program)
        self.assertEqual(sorted(self.launchers()), [PHOTOS, SUMMER])
        self.assertEqual(self.on_desktop(), ["Photos:2024.desktop"])

        self.desktop.click(program.cell(TABLE, self.listed(program).index(PHOTOS), 0))
        self.ask_to_remove(program)
        self.desktop.key("Escape")
        wait_for(lambda: not program.sheet(), "the question to go")
        self.assertEqual(len(self.launchers()), 2)
        for left in (1, 0):
            self.ask_to_remove(program)
            self.desktop.key("Tab", "space")
            wait_for(lambda left=left: len(self.listed(program)) == left, f"{left} icons in the list")
            wait_for(lambda: not program.sheet(), "the question to go")

        self.assertEqual(self.launchers(), {})
        for folder in ("quillbox/copies", "Thunar/sendto", "kio/servicemenus"):
            self.assertEqual(os.listdir(self.data_folder(folder)), [])
        self.assertEqual(self.on_desktop(), [])
        self.assertTrue(os.path.isdir(self.on_server(SUMMER)))
        self.assertTrue(os.path.exists(PROGRAM))

    def test_the_folder_of_an_icon_is_made_by_new_folder_one_level_after_the_other(self):
        program = self.start()
        self.open_drop_icons(program)
        self.make_icon(program, "New/Folders é")
        self.desktop.key("Escape")
        wait_for(lambda: "Drop Icons" not in program.titles(), "the window to close")

        for level in ("New", "New/Folders é"):
            self.bring_to_front(program, "^ftp:")
            self.wait_for_listing(program, self.place)
            self.desktop.key("ctrl+shift+n")
            program.enter("Enter name of folder to create.", level)
            program.press("OK")
            wait_for(lambda level=level: os.path.isdir(self.on_server(level)), f"the folder {level}")
        self.launch_icon("New/Folders é", self.file("note.txt", b"12345"))

        wait_for(lambda: self.has_exactly("New/Folders é", {"note.txt": b"12345"}), "the file")

    def test_an_icon_makes_icons_and_starts_them(self):
        other = os.path.join(self.folder, OTHER)
        os.symlink(PROGRAM, other)
        program = self.start(program=other)
        self.open_drop_icons(program)

        self.make_icon(program, SUMMER)
        self.assertEqual(os.readlink(self.link(SUMMER)), os.path.realpath(PROGRAM))
        program.press("Start")

        title = self.destination(SUMMER)
        (window,) = wait_for(lambda: self.desktop.xdotool("search", "--name", f"^{title}$").split(), title)
        pid = int(self.desktop.xdotool("getwindowpid", window))
        self.addCleanup(os.kill, pid, signal.SIGKILL)
        with open(f"/proc/{pid}/cmdline", encoding="utf-8") as file:
            self.assertEqual(file.read(), self.link(SUMMER) + "\0")


class OnVsftpd(Running, WindowTest):
    make = "vsftpd"


class OnProftpd(Running, WindowTest):
    make = "proftpd"


class OnPyftpdlib(Running, WindowTest):
    make = "pyftpdlib"


if __name__ == "__main__":
    unittest.main()
