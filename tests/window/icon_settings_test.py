"""Drop icons with servers of their own: whose server gets the files, and that without their settings none does."""

import json
import os
import stat
import unittest

from desktop import wait_for
from program import settings_path, store_settings
from upload_server import UploadServer
from window_test import PROGRAM, WindowTest, content

NO_DESTINATION = "No Destination"
NOWHERE = "No FTP Destination"


class IconSettings(WindowTest):
    """The server of the main settings, which nothing here is for, and one of an icon's own."""

    def setUp(self):
        super().setUp()
        self.settings()
        self.own = self.new_server()

    def tearDown(self):
        self.assertEqual(self.server.connections, 0, "the main server was spoken to")

    def new_server(self):
        server = UploadServer()
        self.addCleanup(server.close)
        return server

    def make_icon(self, name, server, **others):
        """An icon as it lies in the folder of such icons, with settings; answers its link."""
        folder = os.path.join(self.home["XDG_DATA_HOME"], "quillbox/icons")
        os.makedirs(folder, exist_ok=True)
        link = os.path.join(folder, name)
        os.symlink(PROGRAM, link)
        store_settings(self.home, server.settings(**others), name)
        return link

    def path(self, icon):
        return settings_path(self.home, icon)

    def launched(self, link, *files):
        """What the launcher's words start, which name the settings in front of the files."""
        words = ["-c", 'exec "$0" "$@"', link, "--settings", self.path(os.path.basename(link)), *files]
        return self.launch(*words, program="/bin/sh")

    def shown(self, program):
        wait_for(program.titles, "the window")
        return program

    def wait_for_title(self, program, title):
        wait_for(lambda: title in program.titles(), f"the title “{title}”")


class Used(IconSettings):
    def test_each_icons_files_go_to_its_own_server_and_folder_whatever_its_name(self):
        other = self.new_server()
        os.makedirs(self.own.path("in"))
        icons = [
            (self.make_icon("Work", self.own, FTPFolder="in"), self.own, "in/upper.txt"),
            (self.make_icon("work", other), other, "lower.txt"),
            (self.make_icon("Quillbox 2", self.own), self.own, "product.txt"),
        ]
        programs = []
        for link, server, received in icons:
            programs.append(self.launched(link, self.file(os.path.basename(received))))
        wait_for(lambda: len(self.own.received) == 2 and other.received, "the files")

        self.assertEqual(sorted(self.own.received), ["in/upper.txt", "product.txt"])
        self.assertEqual(other.received, ["lower.txt"])
        self.wait_for_title(programs[0], f"ftp://127.0.0.1:{self.own.port}/in/")
        self.wait_for_title(programs[1], f"ftp://127.0.0.1:{other.port}/")
        self.wait_for_title(programs[2], f"ftp://127.0.0.1:{self.own.port}/")

        second = self.launched(icons[1][0], self.file("second.txt"))
        self.assertEqual(second.exit_code(), 0, second.output())
        wait_for(lambda: other.received == ["lower.txt", "second.txt"], "the file that was handed over")

    def test_settings_of_another_icon_are_refused_in_a_window_whether_or_not_the_icon_runs(self):
        work, work_too = self.make_icon("Work", self.own), self.make_icon("work", self.own)
        words = ("--settings", self.path("Work"), self.file("one.txt"))

        first = self.launch(*words, program=work_too)
        self.assertEqual(self.wait_for_refusal(first), "Settings Refused")
        self.start(program=work_too)
        second = self.launch(*words, program=work_too)
        main = self.launch(*words)

        for refused in (first, second, main):
            self.wait_for_refusal(refused)
            refused.answer("OK")
            self.assert_refused(refused)
        self.assertEqual(self.own.received, [])
        self.assertTrue(os.path.exists(work))

    def wait_for_refusal(self, program):
        """The title of the window that says it, which names the settings."""
        title, text = wait_for(program.sheet, "the refusal")
        self.assertIn(self.path("Work"), text)
        return title

    def assert_refused(self, program, words="Not taken: {}\n"):
        self.assertEqual(program.exit_code(), 1, program.output())
        self.assertIn("are not those of this program", program.output())
        self.assertIn(words.format(f"{self.folder}/one.txt"), program.output())

    def test_who_waits_or_has_no_display_reads_the_refusal_alone(self):
        work = self.make_icon("Work", self.own)
        words = ("--settings", self.path("work"), self.file("one.txt"))

        for option in ("--wait", "--hidden"):
            self.assert_refused(self.launch(option, *words, program=work), "{}\tNot taken\n")
        self.assert_refused(self.launch(*words, program=work, DISPLAY=None))

        self.assertEqual(self.own.received, [])

    def test_the_preferences_of_an_icon_edit_its_own_settings(self):
        main = content(settings_path(self.home))
        os.makedirs(self.own.path("there"))
        program = self.shown(self.launched(self.make_icon("Work", self.own)))
        self.bring_to_front(program)
        self.desktop.key("ctrl+comma")
        wait_for(lambda: "Preferences of “Work”" in program.titles(), "the panel")
        program.enter("Folder", "there")
        program.press("Done")

        self.wait_for_title(program, f"ftp://127.0.0.1:{self.own.port}/there/")
        stored = json.loads(content(self.path("Work")))
        self.assertEqual(stored, self.own.settings(FTPFolder="there"))
        self.assertEqual(content(settings_path(self.home)), main)
        self.assertEqual(stat.S_IMODE(os.stat(self.path("Work")).st_mode), 0o600)


class AfterAnother(WindowTest):
    """A window is left of a former icon, and the icon of that name now has another server."""

    def setUp(self):
        super().setUp()
        self.settings()
        os.makedirs(self.server.path("Work"))
        self.own = UploadServer()
        self.addCleanup(self.own.close)
        self.icon = os.path.join(self.folder, "Work")
        os.symlink(PROGRAM, self.icon)

    def give_it_its_own_server(self):
        store_settings(self.home, self.own.settings(), "Work")

    def assert_files_go(self, server, folder=""):
        """Of a start, and of commands; those that wait for the window that is open get nothing."""
        waiting = self.launch("--wait", self.file("waiting"), program=self.icon)
        hidden = self.launch("--hidden", "--wait", self.file("hidden"), program=self.icon)
        self.assertEqual((waiting.exit_code(), hidden.exit_code()), (1, 0))
        self.start(self.file("shown"), program=self.icon)
        wait_for(lambda: server.received == [folder + "hidden", folder + "shown"], "the files")
        self.assertIn(f"{self.folder}/waiting\tNot taken\n", waiting.output())

    def test_a_window_that_has_the_main_server_gets_no_file_for_the_icons_own(self):
        self.start(program=self.icon)
        wait_for(lambda: self.server.logins, "the former icon to be at work")
        self.give_it_its_own_server()

        self.assert_files_go(self.own)

        self.assertEqual(self.server.received, [])

    def test_a_window_that_has_a_server_of_its_own_gets_no_file_for_the_main_one(self):
        self.give_it_its_own_server()
        self.start(program=self.icon)
        wait_for(lambda: self.own.logins, "the former icon to be at work")
        os.remove(settings_path(self.home, "Work"))

        self.assert_files_go(self.server, "Work/")

        self.assertEqual(self.own.received, [])


class Harmed(IconSettings):
    def damage(self):
        with open(self.path("Work"), "w", encoding="utf-8") as file:
            file.write('{ "Address": ')

    def remove(self):
        os.remove(self.path("Work"))

    def test_an_icon_without_its_settings_sends_nothing_to_anybody_and_says_so(self):
        link = self.make_icon("Work", self.own)
        for harm, title in ((self.damage, "Settings Not Readable"), (self.remove, "Settings Missing")):
            with self.subTest(harm=title):
                harm()
                program = self.shown(self.launched(link, self.file("one.txt")))

                sheets = dict([program.acknowledge(), program.acknowledge()])

                self.assertEqual(set(sheets), {NO_DESTINATION, title})
                self.assertIn(self.path("Work"), sheets[title])
                self.wait_for_title(program, NOWHERE)
                self.assertEqual(program.value("Files waiting"), (1, 1))
                program.close()
        self.assertEqual(self.own.connections, 0)

    def test_settings_that_go_while_the_icon_runs_are_missed_and_taken_up_again(self):
        link = self.make_icon("Work", self.own)
        program = self.shown(self.launched(link, self.file("one.txt")))
        wait_for(lambda: self.own.received == ["one.txt"], "the first file")
        self.wait_for_title(program, f"ftp://127.0.0.1:{self.own.port}/")
        os.rename(self.path("Work"), self.path("kept"))

        self.assertEqual(program.acknowledge()[0], "Settings Missing")
        self.wait_for_title(program, NOWHERE)
        wait_for(lambda: "Nothing is uploaded" in program.tree(), "the drop area to say so")
        second = self.launched(link, self.file("two.txt"))
        self.assertEqual(second.exit_code(), 0, second.output())
        self.assertEqual(program.acknowledge()[0], NO_DESTINATION)
        self.assertEqual(program.value("Files waiting"), (1, 1))
        self.assertEqual(self.own.received, ["one.txt"])

        os.rename(self.path("kept"), self.path("Work"))
        wait_for(lambda: self.own.received == ["one.txt", "two.txt"], "the file that waited")
        wait_for(lambda: "Nothing is uploaded" not in program.tree(), "the drop area to say no more of it")
        self.wait_for_title(program, f"ftp://127.0.0.1:{self.own.port}/")

    def test_settings_that_were_open_to_others_are_closed_with_a_sheet_also_those_of_its_neighbours(self):
        link = self.make_icon("Work", self.own)
        self.make_icon("work", self.own)
        os.chmod(self.path("Work"), 0o644)
        os.chmod(self.path("work"), 0o604)
        os.chmod(os.path.dirname(self.path("Work")), 0o755)
        os.chmod(os.path.dirname(settings_path(self.home)), 0o755)
        program = self.shown(self.launched(link))

        sheets = [program.acknowledge() for _ in range(3)]

        for path, title in (
            (self.path("Work"), "Settings Were Open to Others"),
            (self.path("work"), "Settings Were Open to Others"),
            (settings_path(self.home), "Settings Were Closed to Others"),
        ):
            self.assertEqual([sheet[0] for sheet in sheets if f"“{path}”" in sheet[1]], [title])
        for path in (self.path("Work"), self.path("work"), os.path.dirname(self.path("Work"))):
            self.assertEqual(stat.S_IMODE(os.stat(path).st_mode) & 0o077, 0)


if __name__ == "__main__":
    unittest.main()
