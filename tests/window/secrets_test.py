"""Where the password must not show: anywhere but in the settings and on the way to the server."""

import os
import resource
import shutil
import signal
import stat
import unittest

from desktop import wait_for
from upload_server import PASSWORD
from window_test import ANY_TITLE, WindowTest, content

SECRET = PASSWORD.split()[0]  # No spelling of the whole changes this part.


USUAL_FILTER = 0x33  # As the kernel has it unless somebody says otherwise.


def memory_in_dumps(pid, chosen):
    """The memory of a process that the kernel puts into core dumps by that coredump_filter, one mapping after another."""
    with open(f"/proc/{pid}/maps", encoding="utf-8") as maps, open(f"/proc/{pid}/mem", "rb", buffering=0) as memory:
        for line in maps:
            addresses, access, _, _, inode = line.split()[:5]
            # What was written to of a private mapping of a file counts as belonging to none.
            bits = {("p", False): 0b1, ("s", False): 0b10, ("p", True): 0b101, ("s", True): 0b1000}
            if access[0] == "r" and chosen & bits[access[3], inode != "0"]:
                first, end = (int(address, 16) for address in addresses.split("-"))
                memory.seek(first)
                try:
                    yield memory.read(end - first)
                except OSError:  # The kernel's own, as the clock.
                    pass


def holds_secret(parts):
    spellings = [SECRET.encode(encoding) for encoding in ("utf-8", "utf-16-le")]
    return any(spelling in part for part in parts for spelling in spellings)


class Secrets(WindowTest):
    def setUp(self):
        super().setUp()
        self.settings(FTPFolder="in")
        os.mkdir(self.server.path("in"))

    def assert_silent(self, where, text):
        self.assertFalse(SECRET in text, where)  # Does not print the text, as assertNotIn does.

    def everything_at_home(self):
        for folder, _, names in os.walk(self.home["HOME"]):
            for name in names:
                path = os.path.join(folder, name)
                if os.path.isfile(path):
                    yield path


class AtWork(Secrets):
    def test_the_password_is_nowhere_to_be_seen(self):
        messages = self.monitored_bus()
        program = self.start(self.file("one.txt"), QT_LOGGING_RULES="*=true")
        self.wait_for_status(program, "Upload succeeded")
        second = self.launch(self.file("two.txt"), QT_LOGGING_RULES="*=true")
        self.assertEqual(second.exit_code(), 0)
        self.wait_for_files("in/one.txt", "in/two.txt")
        self.bring_to_front(program)
        self.desktop.key("ctrl+shift+c")
        clipboard = wait_for(self.desktop.clipboard, "the clipboard to be filled")
        # A wrong password is no less a secret.
        self.settings(FTPFolder="in", Password=PASSWORD + "!")
        third = self.launch(self.file("three.txt"))
        self.assertEqual(third.exit_code(), 0)
        program.acknowledge()
        shown = wait_for(program.tree, "the window")

        self.assertIn(f":{self.server.port}/in/", clipboard)
        self.assert_silent("the clipboard", clipboard)
        wait_for(lambda: any("/in/" in title for title in program.titles()), "the title")
        self.assert_silent("the window", shown)
        self.assertIn("STOR two.txt", program.output())
        self.assert_silent("the log", program.output() + second.output() + third.output())
        self.assertIn("two.txt", content(messages))
        self.assert_silent("the session bus", content(messages))
        for name in ("cmdline", "environ", "comm"):
            self.assert_silent(name, content(f"/proc/{program.process.pid}/{name}"))

    def test_nor_is_it_when_a_server_repeats_it_to_whatever_it_is_asked(self):
        self.server.repeats_passwords = True
        os.makedirs(self.server.path("in/full/content"))
        messages = self.monitored_bus()
        program = self.start(self.file("one.txt"), QT_LOGGING_RULES="*=true")
        self.wait_for_status(program, "Upload succeeded")
        self.wait_for_listing(program, "in")

        self.delete(program, "one.txt")
        wait_for(lambda: not os.path.exists(self.server.path("in/one.txt")), "the file to be deleted")
        self.wait_for_listing(program, "in")
        self.delete(program, "full")  # It is not empty, and the sheet has the server's words for that.
        wait_for(program.sheet, "the refusal")
        self.assertIn("****", program.tree())
        self.assert_silent("the refusal", program.tree())
        program.acknowledge()
        self.create_folder(program, "new")
        self.assert_silent("the window", program.tree())
        self.try_the_connection(program)

        self.assertIn("MKD new", program.output())
        self.assertIn("****", program.output())
        self.assert_silent("the log", program.output())
        self.assert_silent("the session bus", content(messages))
        (settings,) = [path for path in self.everything_at_home() if SECRET in content(path)]
        self.assertEqual(os.path.basename(settings), "settings.json")

    def create_folder(self, program, name):
        self.bring_to_front(program)
        self.desktop.key("ctrl+shift+n")
        program.enter("Enter name of folder to create.", name)
        program.press("OK")
        wait_for(lambda: os.path.isdir(self.server.path(os.path.join("in", name))), "the folder")
        self.wait_for_listing(program, "in")

    def try_the_connection(self, program):
        """In the panel, with a wrong password and with the right one."""
        self.bring_to_front(program)
        self.desktop.key("ctrl+comma")
        program.enter("Password", PASSWORD + "!")
        program.press("Test Connection")
        wait_for(lambda: program.text("Test result") == "The server refuses the login.", "the refusal")
        self.assertRegex(program.text("Server's reply"), r"^The server said: 530 .*\*\*\*\*")
        self.assert_silent("the panel", program.tree())
        program.enter("Password", PASSWORD)
        program.press("Test Connection")
        wait_for(lambda: program.text("Test result").startswith("It works: "), "the result")
        self.assert_silent("the panel", program.tree())
        program.press("Cancel")

    def test_a_core_dump_of_the_program_does_not_hold_it(self):
        program = self.launch(self.file("one.txt"), folder=self.folder)
        self.wait_for_status(program, "Upload succeeded")
        self.wait_for_listing(program, "in")
        pid = program.process.pid
        chosen = int(content(f"/proc/{pid}/coredump_filter"), 16)

        # Wherever dumps go on this computer, they hold what the filter says.
        self.assertTrue(holds_secret(memory_in_dumps(pid, USUAL_FILTER)), "a usual dump would hold it")
        self.assertFalse(holds_secret(memory_in_dumps(pid, chosen)), hex(chosen))

        _, hard_limit = resource.prlimit(pid, resource.RLIMIT_CORE)
        resource.prlimit(pid, resource.RLIMIT_CORE, (hard_limit, hard_limit))
        program.process.send_signal(signal.SIGABRT)
        self.assertEqual(program.exit_code(), -signal.SIGABRT)
        pattern = content("/proc/sys/kernel/core_pattern").strip()
        cores = [name for name in os.listdir(self.folder) if name != "one.txt"]
        lands_elsewhere = pattern.startswith(("|", "/", "@")) or hard_limit == 0
        self.assertEqual(len(cores), 0 if lands_elsewhere else 1, pattern)
        for core in cores:
            with open(os.path.join(self.folder, core), "rb") as file:
                dump = file.read()
            self.assertTrue(dump.startswith(b"\x7fELF"))
            self.assertFalse(holds_secret([dump]))


class Stored(Secrets):
    def test_only_the_settings_file_holds_it_and_only_its_owner_reads_that(self):
        program = self.start(self.file("one.txt"))
        self.wait_for_status(program, "Upload succeeded")
        self.change_the_folder(program)

        holders = [path for path in self.everything_at_home() if SECRET in content(path)]

        (settings,) = holders
        self.assertEqual(os.path.basename(settings), "settings.json")
        self.assertEqual(stat.S_IMODE(os.stat(settings).st_mode), 0o600)
        self.assertEqual(stat.S_IMODE(os.stat(os.path.dirname(settings)).st_mode), 0o700)

    def change_the_folder(self, program):
        """In the panel, which stores the settings anew."""
        self.bring_to_front(program)
        self.desktop.key("ctrl+comma")
        program.enter("Folder", "out")
        self.assert_silent("the panel", program.tree())
        program.press("Done")
        wait_for(lambda: any("/out/" in title for title in program.titles()), "the new title")

    def test_settings_that_are_open_to_others_are_closed_with_one_sheet_that_says_so(self):
        folder = os.path.join(self.home["XDG_CONFIG_HOME"], "quillbox")
        settings = os.path.join(folder, "settings.json")
        os.chmod(folder, 0o777)
        os.chmod(settings, 0o644)
        program = self.start()

        title, text = program.acknowledge()
        self.assertEqual(title, "Settings Were Open to Others")
        self.assertIn(settings, text)
        self.assertEqual([stat.S_IMODE(os.stat(path).st_mode) for path in (folder, settings)], [0o700, 0o600])

        os.chmod(settings, 0o644)
        wait_for(lambda: stat.S_IMODE(os.stat(settings).st_mode) == 0o600, "the file to be closed again")
        self.assert_no_more_sheets(program)

    def test_settings_that_others_could_not_reach_are_closed_with_a_sheet_that_says_no_more(self):
        folder = os.path.join(self.home["XDG_CONFIG_HOME"], "quillbox")
        settings = os.path.join(folder, "settings.json")
        for modes in ((0o755, 0o600), (0o700, 0o644)):
            with self.subTest(modes=modes):
                os.chmod(folder, modes[0])
                os.chmod(settings, modes[1])
                program = self.launch()
                title, text = program.acknowledge()
                self.assertEqual(title, "Settings Were Closed to Others")
                self.assertIn(settings, text)
                self.assertEqual([stat.S_IMODE(os.stat(path).st_mode) for path in (folder, settings)], [0o700, 0o600])
                self.quit(program)

    def test_the_first_run_of_all_leaves_a_folder_that_the_second_has_nothing_to_say_about(self):
        folder = os.path.join(self.home["XDG_CONFIG_HOME"], "quillbox")
        shutil.rmtree(folder)
        program = self.launch()
        self.close_welcome(program)
        self.quit(program)

        self.assertEqual(os.listdir(folder), ["window.ini"])
        self.assertEqual(stat.S_IMODE(os.stat(folder).st_mode), 0o700)
        self.assert_no_more_sheets(self.start())

    def close_welcome(self, program):
        """It comes a moment after the main window, and takes the keyboard from it."""

        self.bring_to_front(program, "^Welcome")
        self.desktop.key("Escape")
        wait_for(lambda: not self.desktop.windows_of(program.process.pid, "^Welcome"), "the end of the welcome window")

    def quit(self, program):
        self.bring_to_front(program, ANY_TITLE)
        self.desktop.key("ctrl+q")
        self.assertEqual(program.exit_code(), 0)


class InTheirFolder(Secrets):
    def test_a_folder_that_others_could_write_to_has_a_sheet_of_its_own(self):
        os.chmod(os.path.join(self.home["XDG_CONFIG_HOME"], "quillbox"), 0o777)
        program = self.start()

        title, _ = program.acknowledge()

        self.assertEqual(title, "Settings Could Be Replaced")
        self.assert_no_more_sheets(program)

    def test_trusted_certificates_that_others_could_change_have_a_sheet_of_their_own(self):
        folder = os.path.join(self.home["XDG_CONFIG_HOME"], "quillbox")
        trusted = os.path.join(folder, "trusted-certificates.json")
        with open(trusted, "w", encoding="utf-8") as file:
            file.write("{}")
        os.chmod(folder, 0o755)
        os.chmod(trusted, 0o666)
        program = self.start()

        self.assertEqual(program.acknowledge()[0], "Settings Were Closed to Others")
        title, text = program.acknowledge()

        self.assertEqual(title, "Trusted Certificates Were Open to Others")
        self.assertIn(trusted, text)
        self.assertEqual(stat.S_IMODE(os.stat(trusted).st_mode), 0o600)
        self.assert_no_more_sheets(program)

    def test_what_a_killed_store_has_left_is_gone_with_the_next_start(self):
        program = self.launch()
        self.wait_for_listing(program, "in")
        self.bring_to_front(program)
        self.desktop.key("ctrl+comma")
        program.enter("Folder", "out")
        resource.prlimit(program.process.pid, resource.RLIMIT_FSIZE, (20, 20))  # The first byte above it kills.
        program.press("Done")
        self.assertEqual(program.exit_code(), -signal.SIGXFSZ)
        folder = os.path.join(self.home["XDG_CONFIG_HOME"], "quillbox")
        self.assertGreater(len(os.listdir(folder)), 1)

        program = self.start()
        self.wait_for_listing(program, "in")

        self.assertEqual([name for name in os.listdir(folder) if "settings" in name], ["settings.json"])


if __name__ == "__main__":
    unittest.main()
