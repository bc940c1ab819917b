"""Commands that wait until their files are over, with the window and without it."""

import fcntl
import hashlib
import os
import signal
import struct
import subprocess
import unittest

from certificates import make_certificate
from desktop import bound_to_us, wait_for
from program import settings_path, store_settings
from real_ftp_server import RealFTPServer
from start_test import NAME, connect_to_the_bus
from upload_server import SLOW
from window_test import PROGRAM, WindowTest, content

CONFIRMED = "Confirmed by the server"
NOWHERE = {"DISPLAY": None, "WAYLAND_DISPLAY": None, "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent"}


class Command(WindowTest):
    def lines(self, command):
        """What has been printed of each file, by its name."""
        rows = [line.split("\t", 1) for line in command.output().splitlines() if line.startswith(self.folder)]
        return [(os.path.relpath(path, self.folder), words) for path, words in rows]

    def process_on_the_bus(self, name=NAME):
        """The number of the process that answers under that name; nothing without one."""
        from gi.repository import Gio, GLib

        bus = connect_to_the_bus()
        try:
            words = ("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus")
            arguments = GLib.Variant("(s)", (name,))
            answer = bus.call_sync(
                *words, "GetConnectionUnixProcessID", arguments, None, Gio.DBusCallFlags.NONE, 20_000, None
            )
            return answer.unpack()[0]
        except GLib.Error:
            return None
        finally:
            bus.close_sync(None)

    def kill_what_is_on_the_bus(self, name=NAME):
        process = self.process_on_the_bus(name)
        if process:
            os.kill(process, signal.SIGKILL)
            wait_for(lambda: self.process_on_the_bus(name) is None, "the program to be gone")

    def hold_the_turn(self):
        """Has everybody wait who would upload without a window, until the file that is answered is closed."""
        folder = os.path.join(self.home["XDG_STATE_HOME"], "quillbox")
        os.makedirs(folder, mode=0o700, exist_ok=True)
        file = open(os.path.join(folder, "hidden.turns"), "w", encoding="utf-8")
        self.addCleanup(file.close)
        fcntl.fcntl(file, fcntl.F_OFD_SETLK, struct.pack("hhqqi", fcntl.F_WRLCK, os.SEEK_SET, 0, 0, 0))
        return file

    def wait_until_it_waits(self, command):
        """Until a command has looked whether it is its turn."""
        folder = f"/proc/{command.process.pid}/fd"

        def open_files():
            return [os.path.basename(os.path.realpath(os.path.join(folder, number))) for number in os.listdir(folder)]

        wait_for(lambda: "hidden.turns" in open_files(), "the command to wait")

    def wait_until_begun(self, name):
        wait_for(lambda: name in self.server.begun, f"{name} to be sent")

    def make_icon(self):
        """An icon with a sub-folder of its own."""
        self.settings()
        folder = os.path.join(self.home["XDG_DATA_HOME"], "quillbox/copies")
        os.makedirs(folder, exist_ok=True)
        os.symlink(PROGRAM, os.path.join(folder, "Scans"))
        os.mkdir(self.server.path("Scans"))


class Hidden(Command):
    """Without a display and a session bus, as in a script that runs at night."""

    def run_hidden(self, *words, **environment):
        command = self.launch("--hidden", *words, folder=self.folder, **{**NOWHERE, **environment})
        return command.exit_code(), command

    def test_a_script_learns_what_has_become_of_each_file(self):
        self.settings()
        self.file("one.txt", b"one")
        self.file(os.fsdecode(b"caf\xe9\t"))
        os.mkdir(os.path.join(self.folder, "folder"))
        os.mkdir(self.server.path("refused"))
        self.file("refused")

        status, good = self.run_hidden("--wait", "one.txt", os.fsdecode(b"caf\xe9\t"))
        self.assertEqual((status, self.lines(good)), (0, [("one.txt", CONFIRMED), ("caf⟨0xE9⟩␉", CONFIRMED)]))
        self.assertEqual(self.server.content("one.txt"), b"one")

        status, bad = self.run_hidden("--wait", "one.txt", "gone", "folder", "refused", "one.txt")
        self.assertEqual(status, 1)
        lines = self.lines(bad)
        self.assertEqual([name for name, _ in lines], ["one.txt", "gone", "folder", "refused", "one.txt"])
        self.assertEqual([lines[i][1] for i in (0, 1, 2, 4)], [CONFIRMED, "Not found", "Failed: not a plain file", CONFIRMED])
        self.assertRegex(lines[3][1], r"^Failed: FTP error 550.*\t550 ")

        script = '"$QUILLBOX" --hidden --wait one.txt && echo sent; "$QUILLBOX" --hidden gone || echo failed'
        said = self.run_script(script)
        self.assertIn("sent\n", said.stdout)
        self.assertIn("failed\n", said.stdout)
        self.assertEqual(said.stderr, "")

    def test_a_display_that_cannot_be_reached_is_done_without(self):
        self.settings()
        self.file("one.txt")
        nowhere = os.path.join(self.folder, "nowhere")
        both = {"DISPLAY": nowhere, "WAYLAND_DISPLAY": nowhere}
        for displays in ({"DISPLAY": nowhere}, {"WAYLAND_DISPLAY": nowhere}, both, {**both, "QT_QPA_PLATFORM": "xcb"}):
            with self.subTest(displays=displays):
                status, command = self.run_hidden("--wait", "one.txt", **{"QT_QPA_PLATFORM": None, **displays})
                self.assertEqual((status, self.lines(command)), (0, [("one.txt", CONFIRMED)]), command.output())

    def test_folders_that_are_uploaded_have_a_line_for_each_file(self):
        self.settings(DroppedFolders="uploaded")
        for name in ("tree/a/one", "tree/two"):
            os.makedirs(os.path.dirname(os.path.join(self.folder, name)), exist_ok=True)
            self.file(name)
        os.mkdir(os.path.join(self.folder, "tree/empty"))
        os.mkfifo(os.path.join(self.folder, "tree/pipe"))

        status, command = self.run_hidden("--wait", "tree")

        self.assertEqual(status, 1)
        told = dict(self.lines(command))
        self.assertEqual(told.pop("tree/pipe"), "Left out: not a plain file")
        self.assertEqual(told, {name: CONFIRMED for name in ("tree/a/one", "tree/two", "tree/empty")})
        self.assertEqual(self.server.content("tree/a/one"), b"content\n")

    def test_files_fail_without_a_destination_and_damaged_settings_are_told(self):
        self.forget_settings()
        self.file("one.txt")
        status, command = self.run_hidden("--wait", "one.txt")
        self.assertEqual((status, self.lines(command)), (1, [("one.txt", "Failed: No Destination")]))

        folder = os.path.join(self.home["XDG_CONFIG_HOME"], "quillbox")
        with open(os.path.join(folder, "settings.json"), "w", encoding="utf-8") as file:
            file.write("{")
        status, command = self.run_hidden("--wait", "one.txt")
        self.assertEqual((status, self.lines(command)), (1, [("one.txt", "Failed: Settings Not Readable")]))
        self.assertIn("Settings Not Readable", command.output())

    def test_a_file_that_is_listed_with_another_size_has_not_arrived(self):
        self.settings()
        self.server.after_receiving = lambda path: os.truncate(path, 3)

        status, command = self.run_hidden("--wait", self.file("one.txt"))

        self.assertEqual(status, 1)
        told = [("one.txt", CONFIRMED), ("one.txt", "Confirmed, but 3 bytes listed, not 8")]
        self.assertEqual(self.lines(command), told)

    def test_the_files_go_up_when_nobody_reads_what_becomes_of_them(self):
        self.settings()
        names = [self.file(f"{number}.txt") for number in range(8)]
        reading, writing = os.pipe()
        os.close(reading)
        process = self.start_script('exec "$QUILLBOX" --hidden --wait "$@"', *names, stdout=writing)
        os.close(writing)
        self.assertEqual((process.communicate()[1], process.returncode), ("", 1))
        self.wait_for_files(*map(os.path.basename, names))
        self.assertNotEqual(self.run_script('"$QUILLBOX" --hidden --wait "$1" >/dev/full', names[0]).returncode, 0)

    def test_a_stream_that_is_closed_leads_to_nothing_and_to_no_file_of_the_program(self):
        self.settings()
        self.server.read_at_most(SLOW)
        script = 'exec "$QUILLBOX" --hidden --wait "$1" <&- >&- 2>&-'
        process = self.start_script(script, self.file("one", bytes(20_000_000)))
        self.wait_until_begun("one")
        streams = [os.readlink(f"/proc/{process.pid}/fd/{number}") for number in range(3)]
        process.send_signal(signal.SIGTERM)
        process.communicate()
        self.assertEqual((streams, process.returncode), (["/dev/null"] * 3, 1))
        self.server.read_at_most(0)
        self.assertEqual(self.run_script(script, self.file("two")).returncode, 0)

    def test_nobody_who_does_not_read_holds_the_program_up(self):
        self.settings()
        count = 1000
        names = [self.file(f"{'long' * 40}{number}") for number in range(count)]
        process = self.start_script('exec "$QUILLBOX" --hidden --wait "$@"', *names)
        wait_for(lambda: len(self.server.received) == count, "all to be sent")
        process.send_signal(signal.SIGTERM)
        self.assertEqual(process.wait(60), 1, "the lines are not printed")
        process.stdout.close()
        process.stderr.close()

    def start_script(self, script, *words, stdout=subprocess.PIPE):
        environment = {**self.desktop.environment, **self.home, "QUILLBOX": PROGRAM}
        for name, value in NOWHERE.items():
            environment.pop(name, None) if value is None else environment.update({name: value})
        pipes = {"stdout": stdout, "stderr": subprocess.PIPE, "text": True}
        return subprocess.Popen(bound_to_us(["sh", "-c", script, "sh", *words]), env=environment, cwd=self.folder, **pipes)

    def run_script(self, script, *words):
        process = self.start_script(script, *words)
        out, err = process.communicate()
        return subprocess.CompletedProcess(script, process.returncode, out, err)

    def test_nothing_is_replaced_that_somebody_would_be_asked_about(self):
        self.settings(AskBeforeReplacing=True)
        self.file("old.txt", b"new words\n")
        with open(self.server.path("old.txt"), "wb") as file:
            file.write(b"old")

        status, command = self.run_hidden("--wait", "old.txt", self.file("new.txt"))

        self.assertEqual(status, 1)
        told = dict(self.lines(command))
        self.assertRegex(told["old.txt"], "^Failed: a file of that name is on the server")
        self.assertEqual(told["new.txt"], CONFIRMED)
        self.assertEqual((self.server.content("old.txt"), self.server.received), (b"old", ["new.txt"]))

    def test_an_icon_that_has_lost_its_own_server_sends_nothing(self):
        self.settings()
        icon = os.path.join(self.home["XDG_DATA_HOME"], "quillbox/icons/Far")
        os.makedirs(os.path.dirname(icon))
        os.symlink(PROGRAM, icon)

        command = self.launch("--hidden", "--wait", self.file("one.txt"), program=icon, **NOWHERE)

        self.assertEqual(command.exit_code(), 1)
        self.assertEqual(self.lines(command), [("one.txt", "Failed: Settings Missing")])
        self.assertIn("Settings Missing", command.output())
        self.assertEqual(self.server.received, [])

    def test_an_icon_takes_as_many_files_as_the_program_itself(self):
        self.make_icon()
        deep = os.path.join(self.folder, *["long" * 60] * 14)
        os.makedirs(deep)
        count = 2000  # By absolute paths longer than a command may be.

        command = self.launch("--icon", "Scans", "--hidden", "--wait", "--", *["-gone"] * count, folder=deep, **NOWHERE)

        self.assertEqual((command.exit_code(), len(self.lines(command))), (1, count))

    def test_a_wrong_password_is_a_failure(self):
        self.settings(Password="wrong")
        status, command = self.run_hidden("--wait", self.file("one.txt"))
        self.assertEqual(status, 1)
        self.assertRegex(self.lines(command)[0][1], "^Failed: .*\t530 ")

    def test_what_ends_it_ends_with_a_line_for_each_file(self):
        self.settings()
        self.server.read_at_most(SLOW)
        command = self.launch("--hidden", "--wait", self.file("one", bytes(20_000_000)), self.file("two"), **NOWHERE)
        self.wait_until_begun("one")

        command.process.send_signal(signal.SIGTERM)

        self.assertEqual(command.exit_code(), 1)
        self.assertEqual(self.lines(command), [(name, "Not confirmed: Quillbox ended") for name in ("one", "two")])

    def test_hidden_programs_of_one_name_upload_one_after_another(self):
        self.settings()
        turn = self.hold_the_turn()
        names = ["one", "two", "three"]
        commands = [self.launch("--hidden", "--wait", self.file(name), **NOWHERE) for name in names]
        for command in commands:
            self.wait_until_it_waits(command)

        commands[2].process.send_signal(signal.SIGTERM)
        self.assertEqual(commands[2].exit_code(), 1)
        self.assertEqual(self.lines(commands[2]), [("three", "Not confirmed: Quillbox ended")])
        self.assertEqual(self.server.begun, [])

        turn.close()
        self.assertEqual([command.exit_code() for command in commands[:2]], [0, 0])
        self.assertEqual(sorted(self.server.received), ["one", "two"])

    def test_a_failing_connection_is_not_waited_out(self):
        self.settings(RetryFailedFiles=True)
        self.server.let_nobody_in()
        status, command = self.run_hidden("--wait", self.file("one.txt"))
        self.assertEqual(status, 1)
        self.assertRegex(self.lines(command)[0][1], "^Failed: ")


class HiddenAndEncrypted(Command):
    def make_server(self):
        self.pem, self.fingerprint = make_certificate(self.desktop.folder)
        return RealFTPServer("pyftpdlib", self.pem)

    def test_an_unknown_certificate_is_a_failure_and_raises_no_question_in_the_window_either(self):
        self.settings(Encryption="required")
        refused = "Failed: the server’s certificate is not trusted"
        hidden = self.launch("--hidden", "--wait", self.file("one.txt"), **NOWHERE)
        self.assertEqual(hidden.exit_code(), 1)
        self.assertEqual(self.lines(hidden), [("one.txt", refused)])

        program = self.start()
        wait_for(lambda: (program.sheet() or [""])[0] == "Trust This Server?", "the question of the window's listing")
        program.answer("Cancel")
        through = self.launch("--hidden", "--wait", self.file("two.txt"))
        self.assertEqual(through.exit_code(), 1)
        self.assertEqual(self.lines(through), [("two.txt", refused)])
        self.assert_no_more_sheets(program)

        program.choose("View", "Refresh")
        program.answer("Trust")
        wait_for(lambda: program.text("Listing status") == "Listing succeeded", "the listing")
        trusted = self.launch("--hidden", "--wait", self.file("three.txt"))
        self.assertEqual(trusted.exit_code(), 0)
        alone = self.launch("--hidden", "--wait", self.file("four.txt"), **NOWHERE)
        self.assertEqual(alone.exit_code(), 0)
        self.assertEqual(self.lines(trusted) + self.lines(alone), [("three.txt", CONFIRMED), ("four.txt", CONFIRMED)])


    def test_hidden_files_fail_behind_one_that_waits_for_an_answer(self):
        self.settings(Encryption="required")
        program = self.start(self.file("one.txt"))
        wait_for(lambda: (program.sheet() or [""])[0] == "Trust This Server?", "the question")

        hidden = self.launch("--hidden", "--wait", self.file("two.txt"))

        self.assertEqual(hidden.exit_code(), 1)
        self.assertEqual(self.lines(hidden), [("two.txt", "Failed: the server’s certificate is not trusted")])
        program.press("Trust")
        self.wait_for_status(program, "Upload succeeded")
        self.assertEqual(os.listdir(self.server.path("")), ["one.txt"])


class ThroughTheWindow(Command):
    def test_what_becomes_of_each_file_is_told_as_it_ends(self):
        self.settings()
        program = self.start()
        self.server.read_at_most(SLOW)
        names = ["one.txt", "gone", "long"]
        self.file("one.txt")
        self.file("long", bytes(20_000_000))
        command = self.launch("--wait", *names, folder=self.folder)

        told = [("one.txt", CONFIRMED), ("gone", "Not found")]
        wait_for(lambda: self.lines(command) == told, "the lines of the files that are over")
        self.assertIsNone(command.process.poll())
        self.server.read_at_most(0)

        self.assertEqual(command.exit_code(), 1)
        self.assertEqual(self.lines(command), [*told, ("long", CONFIRMED)])
        self.assertEqual(self.launch("--wait", "one.txt", folder=self.folder).exit_code(), 0)
        self.assertIsNone(program.sheet())

    def test_a_window_that_is_killed_or_closed_leaves_no_file_untold(self):
        self.settings()
        self.server.read_at_most(SLOW)
        self.file("one")
        self.file("long", bytes(20_000_000))
        for end, words in ((signal.SIGKILL, "Not known: Quillbox ended"), (None, "Not confirmed: Quillbox ended")):
            self.server.begun.clear()
            program = self.launch()
            wait_for(program.titles, "the window")
            command = self.launch("--wait", "one", "long", "one", folder=self.folder)
            self.wait_until_begun("long")
            wait_for(lambda: self.lines(command), "the first line")

            if end:
                program.process.send_signal(end)
            else:
                program.choose("File", "Quit")
                program.answer("Quit")

            self.assertEqual(command.exit_code(), 1)
            self.assertEqual(self.lines(command), [("one", CONFIRMED), ("long", words), ("one", words)])

    def test_a_caller_that_goes_away_costs_nothing(self):
        self.settings()
        program = self.start()
        self.server.read_at_most(SLOW)
        command = self.launch("--wait", self.file("one", bytes(2_000_000)), self.file("two"))
        self.wait_until_begun("one")

        command.process.send_signal(signal.SIGINT)
        command.process.wait()

        self.server.read_at_most(0)
        self.wait_for_files("one", "two")
        self.assertIsNone(program.process.poll())

    def test_hidden_files_join_the_queue_at_once_and_the_window_stays_where_it_is(self):
        self.settings()
        program = self.start()
        self.minimise(program)

        self.assertEqual(self.launch("--hidden", self.file("one.txt")).exit_code(), 0)
        command = self.launch("--hidden", "--wait", self.file("two.txt"))

        self.assertEqual(command.exit_code(), 0)
        self.wait_for_files("one.txt", "two.txt")
        self.assertEqual(self.desktop.windows_of(program.process.pid), [])
        self.forget_settings()
        refused = self.launch("--hidden", "--wait", self.file("three.txt"))
        self.assertEqual(refused.exit_code(), 1)
        self.assertEqual(self.lines(refused), [("three.txt", "Failed: No Destination")])
        self.assertIsNone(program.sheet())

    def test_an_icon_is_waited_for(self):
        self.make_icon()

        command = self.launch("--icon", "Scans", "--hidden", "--wait", self.file("one.txt"))

        self.assertEqual(command.exit_code(), 0)
        self.assertEqual(self.lines(command), [("one.txt", CONFIRMED)])
        self.wait_for_files("Scans/one.txt")


class WhereNobodyRuns(Command):
    def setUp(self):
        super().setUp()
        self.addCleanup(self.kill_what_is_on_the_bus)

    def test_a_window_is_opened_that_stays(self):
        self.settings()
        lock = os.path.join(self.folder, "lock")
        script = ["-c", 'exec "$@" 9>>"$0"', lock, PROGRAM, "--wait", self.file("one.txt"), self.file("two.txt")]
        command = self.launch(*script, program="/bin/sh")

        self.assertEqual(command.exit_code(), 0)
        self.assertEqual(self.lines(command), [("one.txt", CONFIRMED), ("two.txt", CONFIRMED)])
        process = self.process_on_the_bus()
        wait_for(lambda: self.desktop.windows_of(process), "the window")
        self.assertNotEqual(os.getsid(process), os.getsid(0))
        self.assertEqual({os.readlink(f"/proc/{process}/fd/{stream}") for stream in range(3)}, {"/dev/null"})
        self.assertNotIn(lock, [os.path.realpath(stream.path) for stream in os.scandir(f"/proc/{process}/fd")])

    def test_the_window_of_an_icon_is_told_of_the_server_that_the_command_has(self):
        self.settings()
        store_settings(self.home, self.server.settings(), "Work")
        icon = os.path.join(self.folder, "Work")
        os.symlink(PROGRAM, icon)
        name = NAME + ".c" + hashlib.sha256(b"Work").hexdigest()[:16]
        self.addCleanup(self.kill_what_is_on_the_bus, name)

        self.assertEqual(self.launch("--wait", self.file("one.txt"), program=icon).exit_code(), 0)

        words = content(f"/proc/{self.process_on_the_bus(name)}/cmdline").split("\0")
        self.assertEqual(words, [icon, "--settings", settings_path(self.home, "Work"), ""])

    def test_without_a_bus_or_a_display_the_window_cannot_be_asked(self):
        self.settings()
        self.file("one.txt")
        for missing, word in (
            ({"DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent"}, "session bus"),
            ({"DISPLAY": None}, "display"),
            ({"DISPLAY": "/nonexistent"}, "could not be opened"),
        ):
            command = self.launch("--wait", "one.txt", folder=self.folder, **missing)
            self.assertEqual(command.exit_code(), 1)
            self.assertEqual(self.lines(command), [("one.txt", "Not taken")])
            self.assertIn(word, command.output())
        self.assertEqual(self.server.received, [])

    def test_a_hidden_program_shows_its_window_when_it_is_asked_for(self):
        self.settings()
        self.server.read_at_most(SLOW)
        hidden = self.launch("--hidden", "--wait", self.file("one", bytes(20_000_000)))
        self.wait_until_begun("one")
        self.assertEqual(self.desktop.windows_of(hidden.process.pid), [])

        self.assertEqual(self.launch().exit_code(), 0)

        wait_for(lambda: self.desktop.windows_of(hidden.process.pid, "^ftp:"), "the window")
        self.assertEqual(self.launch("--hidden", "--wait", self.file("two"), **NOWHERE).exit_code(), 0)
        self.server.read_at_most(0)
        self.wait_for_status(hidden, "Upload succeeded")
        wait_for(lambda: self.lines(hidden) == [("one", CONFIRMED)], "the line")
        self.assertIsNone(hidden.process.poll())
        hidden.choose("File", "Quit")
        self.assertEqual(hidden.exit_code(), 0)

    def test_hidden_files_that_wait_for_their_turn_go_through_a_window_that_is_opened(self):
        self.settings()
        self.hold_the_turn()
        hidden = self.launch("--hidden", "--wait", self.file("one"))
        self.wait_until_it_waits(hidden)

        program = self.start()

        self.assertEqual(hidden.exit_code(), 0)
        self.assertEqual(self.lines(hidden), [("one", CONFIRMED)])
        self.wait_for_status(program, "Upload succeeded")

    def test_others_hand_their_files_to_a_hidden_program(self):
        self.settings()
        self.server.read_at_most(SLOW)
        hidden = self.launch("--hidden", self.file("one", bytes(20_000_000)))
        self.wait_until_begun("one")
        messages = self.monitored_bus()
        second = self.launch("--hidden", "--wait", self.file("two"))
        wait_for(lambda: "member=Start\n" in content(messages), "the other file to be handed over")
        self.server.read_at_most(0)

        self.assertEqual(second.exit_code(), 0)
        self.assertEqual(self.lines(second), [("two", CONFIRMED)])
        self.assertEqual(hidden.exit_code(), 0)
        self.wait_for_files("one", "two")


if __name__ == "__main__":
    unittest.main()
