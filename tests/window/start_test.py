"""Starts of the program: alone, beside another one, without this or that."""

import os
import signal
import subprocess
import unittest

from desktop import bound_to_us, wait_for
from upload_server import SLOW
from window_test import PROGRAM, WindowTest, content

NAME = "io.github.quillbox.Quillbox"


def connect_to_the_bus():
    from gi.repository import Gio

    kind = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
    return Gio.DBusConnection.new_for_address_sync(os.environ["DBUS_SESSION_BUS_ADDRESS"], kind, None, None)


def call_as_a_desktop(method, signature, *arguments):
    """Calls the program over the session bus by the names that desktops make of its launcher's."""
    from gi.repository import Gio, GLib

    bus = connect_to_the_bus()
    try:
        bus.call_sync(
            NAME,
            "/io/github/quillbox/Quillbox",
            "org.freedesktop.Application",
            method,
            GLib.Variant(signature, arguments),
            None,
            Gio.DBusCallFlags.NO_AUTO_START,
            20_000,
            None,
        )
    finally:
        bus.close_sync(None)


def refuse_all_calls(test):
    """Takes the program's name until the test is over, and has nothing behind it: the toolkit answers each call with an
    error."""
    from gi.repository import Gio, GLib

    bus = connect_to_the_bus()
    test.addCleanup(bus.close_sync, None)
    words = ("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName")
    bus.call_sync(*words, GLib.Variant("(su)", (NAME, 0)), None, Gio.DBusCallFlags.NONE, 20_000, None)


class Alone(WindowTest):
    def test_the_title_becomes_the_destination(self):
        self.settings(FTPFolder="in box")

        program = self.start()

        title = f"ftp://127.0.0.1:{self.server.port}/in%20box/"
        wait_for(lambda: title in program.titles(), f"the title {title}")

    def test_without_settings_the_title_says_that_there_is_no_destination(self):
        self.forget_settings()

        program = self.start()

        wait_for(lambda: "No FTP Destination" in program.titles(), "the title")
        self.assertIn("Welcome to Quillbox", program.titles())
        self.assertIsNone(program.sheet())

    def test_files_that_are_not_there_are_told_of(self):
        self.settings()
        program = self.start("gone", os.fsdecode(b"gone \xe9"), self.file("here"), folder=self.folder)
        call_as_a_desktop("Open", "(asa{sv})", [f"file://{self.folder}/gone%20%FF"], {})
        self.wait_for_files("here")
        self.bring_to_front(program)

        self.desktop.key("ctrl+h")

        told = [("gone", "Not found"), ("gone ⟨0xE9⟩", "Not found"), ("here", "Confirmed by the server")]
        told.append(("gone ⟨0xFF⟩", "Not found"))
        wait_for(
            lambda: [(row[0], row[4]) for row in program.rows("Files of all runs")] == told, "the files in the history"
        )

    def test_a_desktop_opens_files_over_the_bus(self):
        self.settings()
        self.start()
        files = [f"file://{self.file('one.txt')}", f"file://{self.folder}/two%20words.txt"]
        self.file("two words.txt")

        call_as_a_desktop("Open", "(asa{sv})", files, {})

        self.wait_for_files("one.txt", "two words.txt")

    def test_a_desktop_brings_back_the_window_over_the_bus(self):
        first = self.start()
        self.minimise(first)

        call_as_a_desktop("Activate", "(a{sv})", {})

        wait_for(lambda: self.desktop.windows_of(first.process.pid), "the window to be back")

    def test_a_desktop_asks_for_actions_over_the_bus(self):
        first = self.start()

        call_as_a_desktop("ActivateAction", "(sava{sv})", "no-such-action", [], {})
        call_as_a_desktop("ActivateAction", "(sava{sv})", "preferences", [], {})

        wait_for(lambda: "Preferences" in first.titles(), "the preferences")
        self.assertIsNone(first.sheet())

    def test_starts_without_a_session_bus(self):
        self.settings()
        nowhere = os.path.join(self.folder, "no-bus")

        program = self.launch(
            self.file("one.txt"), DBUS_SESSION_BUS_ADDRESS=f"unix:path={nowhere}", XDG_RUNTIME_DIR=self.folder
        )

        self.wait_for_files("one.txt")
        pid = program.process.pid
        wait_for(lambda: self.desktop.windows_of(pid, "^ftp://"), "the window on the screen")
        self.assertIsNone(program.process.poll())

    def test_goes_on_when_the_session_bus_is_lost(self):
        self.settings()
        self.server.read_at_most(SLOW)
        command = ["dbus-daemon", "--session", "--nofork", "--print-address", f"--address=unix:dir={self.folder}"]
        with subprocess.Popen(bound_to_us(command), stdout=subprocess.PIPE, text=True) as bus:
            address = bus.stdout.readline().strip()
            program = self.launch(
                self.file("one.txt", bytes(20_000_000)), self.file("two.txt"), DBUS_SESSION_BUS_ADDRESS=address
            )
            wait_for(lambda: self.server.begun == ["one.txt"], "the file to be sent")

            bus.kill()

        self.server.read_at_most(0)
        self.wait_for_files("one.txt", "two.txt")
        self.assertIsNone(program.process.poll())

    def test_starts_where_nothing_can_be_written(self):
        nowhere = "/proc/self/nowhere"  # Not even by root.
        program = self.start(
            HOME=nowhere, XDG_CONFIG_HOME=nowhere, XDG_DATA_HOME=nowhere, XDG_CACHE_HOME=nowhere, XDG_STATE_HOME=nowhere
        )

        wait_for(lambda: "No FTP Destination" in program.titles(), "the title")
        self.assertIsNone(program.sheet())

    def test_help_and_version_need_no_display(self):
        nothing = {"DISPLAY": None, "DBUS_SESSION_BUS_ADDRESS": None}

        for_help = self.launch("--help", **nothing)
        for_version = self.launch("--version", **nothing)

        self.assertEqual(for_help.exit_code(), 0)
        self.assertIn("Usage:", for_help.output())
        self.assertEqual(for_version.exit_code(), 0)
        self.assertRegex(for_version.output(), r"^Quillbox \d+\.\d+\.\d+\n$")

    def test_what_cannot_be_printed_is_no_success(self):
        folder = os.path.join(self.home["XDG_DATA_HOME"], "quillbox/copies")
        os.makedirs(folder)
        os.symlink(PROGRAM, os.path.join(folder, "Scans"))
        for option in ("--help", "--version", "--list-icons"):
            with open("/dev/full", "wb") as full:
                self.assertEqual(subprocess.run([PROGRAM, option], env=self.home, stdout=full, check=False).returncode, 1)

    def test_files_named_like_options_of_the_toolkit_are_files(self):
        self.settings()
        names = ("-platform", "nowhere", "-style", "-stylesheet=x", "-qmljsdebugger=port:1", "-", "--", "--version")
        for name in names:
            self.file(name, name.encode())

        self.launch("--", *names, folder=self.folder)

        self.wait_for_files(*names)

    def test_an_unknown_option_is_refused_without_a_display(self):
        for option in ("--no-such-option", "-platform", "-style", "-"):
            program = self.launch(option, "offscreen", DISPLAY=None, DBUS_SESSION_BUS_ADDRESS=None)

            self.assertEqual(program.exit_code(), 2)
            self.assertIn(f'"{option}"', program.output())

    def test_closing_the_window_ends_the_program_also_in_mid_upload(self):
        program = self.start_busy()

        self.desktop.key("alt+F4")
        program.answer("Quit")  # It asks whether to leave the upload.

        self.assertEqual(program.exit_code(), 0)
        self.assertEqual(program.output(), "")


class BesideAnother(WindowTest):
    def test_a_second_start_hands_its_files_to_the_first(self):
        self.settings()
        first = self.start()
        self.file("near.txt", b"near")
        far = self.file("été far.txt", b"far")
        os.mkdir(os.path.join(self.folder, "sub"))

        second = self.launch("near.txt", "sub/../near.txt", far, folder=self.folder)

        self.assertEqual(second.exit_code(), 0)
        self.wait_for_files("near.txt", "near.txt", "été far.txt")
        self.assertEqual(self.server.content("near.txt"), b"near")
        self.assertEqual(self.server.content("été far.txt"), b"far")
        self.wait_for_status(first, "Upload succeeded")
        self.assertEqual(second.output(), "")

    def test_names_that_would_begin_with_two_slashes_reach_the_first(self):
        self.settings()
        self.start()
        below_root = self.file("one.txt").lstrip("/")

        in_root = self.launch(below_root, folder="/")
        self.assertEqual(in_root.exit_code(), 0)
        doubled = self.launch("/" + self.file("two.txt"))
        self.assertEqual(doubled.exit_code(), 0)

        self.wait_for_files("one.txt", "two.txt")

    def test_the_launchers_action_opens_the_preferences_whether_or_not_the_program_runs(self):
        self.settings()
        first = self.start("--preferences")
        wait_for(lambda: "Preferences" in first.titles(), "the preferences")
        first.press("Cancel")
        wait_for(lambda: "Preferences" not in first.titles(), "the preferences to close")

        second = self.launch("--preferences", self.file("one.txt"))

        self.assertEqual(second.exit_code(), 0)
        wait_for(lambda: "Preferences" in first.titles(), "the preferences again")
        self.wait_for_files("one.txt")

    def test_a_file_whose_name_is_not_utf8_goes_up_under_its_bytes_from_everywhere(self):
        self.settings()
        names = [os.fsdecode(name) for name in (b"at \xe9 start", b"later \xff\xc3", b"bus \xe9\xc3\xa9")]
        for name in names:
            self.file(name, os.fsencode(name))
        program = self.start(names[0], folder=self.folder)
        self.wait_for_files(names[0])

        self.assertEqual(self.launch(names[1], folder=self.folder).exit_code(), 0)
        call_as_a_desktop("Open", "(asa{sv})", [f"file://{self.folder}/bus%20%E9%C3%A9"], {})

        self.wait_for_files(*names)
        for name in names:
            self.assertEqual(self.server.content(name), os.fsencode(name))
        self.bring_to_front(program)
        self.desktop.key("ctrl+h")
        shown = ["at ⟨0xE9⟩ start", "later ⟨0xFF⟩⟨0xC3⟩", "bus ⟨0xE9⟩é"]
        wait_for(
            lambda: [(row[0], row[4]) for row in program.rows("Files of all runs")]
            == [(name, "Confirmed by the server") for name in shown],
            "the files in the history, once each",
        )

    def test_a_program_that_does_not_answer_is_told_of_and_gets_the_files_once_when_it_can(self):
        self.settings()
        first = self.start()
        first.process.send_signal(signal.SIGSTOP)

        second = self.launch(self.file("one.txt"), self.file("two\033.txt"))

        self.assertEqual(second.exit_code(), 1)
        self.assertIn("does not answer", second.output())
        unknown = [f"Not known whether taken: {self.folder}/{name}\n" for name in ("one.txt", "two␛.txt")]
        self.assertIn("".join(unknown), second.output())
        self.assertNotIn("Not taken", second.output())
        first.process.send_signal(signal.SIGCONT)
        self.wait_for_files("one.txt", "two\033.txt")
        self.wait_for_status(first, "Upload succeeded")
        self.assertEqual(self.server.received, ["one.txt", "two\033.txt"])

    def test_a_program_that_is_killed_before_it_takes_a_file_leaves_it_to_the_second_start(self):
        self.settings()
        first = self.launch()
        wait_for(first.titles, "the window")
        messages = self.monitored_bus()
        first.process.send_signal(signal.SIGSTOP)
        second = self.launch(self.file("one.txt"))
        wait_for(lambda: "member=Open\n" in content(messages), "the file to be handed over")

        first.process.kill()

        self.wait_for_files("one.txt")
        wait_for(second.titles, "the window of the second start")
        self.assertIsNone(second.process.poll())

    def test_a_program_that_refuses_is_told_of(self):
        refuse_all_calls(self)
        nothing = self.launch()
        files = self.launch(self.file("one.txt"))

        for program in (nothing, files):
            self.assertEqual(program.exit_code(), 1)
            self.assertIn("refuses", program.output())
        self.assertNotIn("Not taken", nothing.output())
        self.assertIn(f"Not taken: {self.folder}/one.txt\n", files.output())
        self.assertEqual(self.server.received, [])

    def test_a_second_start_brings_back_the_window(self):
        first = self.start()
        self.minimise(first)

        second = self.launch()

        self.assertEqual(second.exit_code(), 0)
        wait_for(lambda: self.desktop.windows_of(first.process.pid), "the window to be back")

    def test_a_copy_under_another_name_runs_beside_the_program(self):
        self.settings()
        os.mkdir(self.server.path("Scans"))
        copy = os.path.join(self.folder, "Scans")
        os.symlink(PROGRAM, copy)
        self.start()

        self.start(self.file("page.txt"), program=copy)

        self.wait_for_files("Scans/page.txt")

    def test_an_icon_is_listed_and_takes_files_whether_or_not_it_runs(self):
        self.settings()
        folder = os.path.join(self.home["XDG_DATA_HOME"], "quillbox/copies")
        os.makedirs(folder, exist_ok=True)
        for name in ("Scans:2024", "a b"):
            os.symlink(PROGRAM, os.path.join(folder, name))
        os.makedirs(self.server.path("Scans/2024"))
        nothing = {"DISPLAY": None, "DBUS_SESSION_BUS_ADDRESS": None}
        self.file("one.txt")

        listing = self.launch("--list-icons", **nothing)
        missing = self.launch("--icon", "scans/2024", "one.txt", folder=self.folder, **nothing)

        self.assertEqual(listing.exit_code(), 0)
        place = f"ftp://127.0.0.1:{self.server.port}/"
        self.assertEqual(listing.output(), f"a b\t{place}a%20b/\nScans/2024\t{place}Scans/2024/\n")
        self.assertEqual(missing.exit_code(), 1)
        self.assertIn('There is no icon "scans/2024"', missing.output())
        self.assertIn(f"Not taken: {self.folder}/one.txt", missing.output())

        # In the usual place, whatever folder it is started in.
        relative = self.launch("--list-icons", folder=self.folder, XDG_DATA_HOME="data", XDG_CONFIG_HOME="config", **nothing)
        self.assertEqual((relative.exit_code(), relative.output()), (0, listing.output()))

        self.start()
        first = self.launch("--icon", "Scans/2024", "one.txt", folder=self.folder)
        self.wait_for_files("Scans/2024/one.txt")
        second = self.launch("--icon", "Scans/2024", self.file("two.txt"))

        self.assertEqual(second.exit_code(), 0)
        self.wait_for_files("Scans/2024/one.txt", "Scans/2024/two.txt")
        self.assertIsNone(first.process.poll())


if __name__ == "__main__":
    unittest.main()
