"""The command-line tool on the FTP library, on three makes of servers and on one that misbehaves."""

import fcntl
import json
import os
import pty
import re
import select
import signal
import subprocess
import sys
import tempfile
import termios
import time
import unittest
import unittest.mock

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "window"))
sys.path.insert(0, os.path.join(HERE, "..", "servers"))

from certificates import make_certificate  # noqa: E402
from helper_client import Helper  # noqa: E402

PROGRAM = os.environ["FTPMANAGER"]
BIG = 64 << 20


class Case(unittest.TestCase):
    def setUp(self):
        self.root = self.enterContext(tempfile.TemporaryDirectory())
        self.folder = self.enterContext(tempfile.TemporaryDirectory())

    def start(self, script, *words):
        self.server = self.enterContext(Helper(script, *words))
        self.port = self.server.port

    def start_real(self, *words):
        self.start("real_server.py", *words)
        self.user, self.password = self.server.values["user"], self.server.values["password"]

    def environment(self, password):
        plain = {name: value for name, value in os.environ.items() if name != "FTP_PASSWORD"}
        return {**plain, **({} if password is None else {"FTP_PASSWORD": password})}

    def words(self, *words):
        user = [] if self.user is None else ["--user", self.user]
        return [PROGRAM, "--port", str(self.port), *user, *words]

    def run_tool(self, *words, password="", **options):
        """What the tool ends with, says, and prints."""
        done = subprocess.run(
            self.words(*words), env=self.environment(self.password if password == "" else password),
            stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60, cwd=self.folder, **options,
        )
        return done.returncode, done.stderr, done.stdout

    def local(self, name, content=b"some bytes\n"):
        path = os.path.join(self.folder, name)
        with open(path, "wb") as file:
            file.write(content)
        return path

    def served(self, name):
        return os.path.join(self.root, name)


class OnEveryMake:
    """Each operation, and its commonest refusals."""

    def setUp(self):
        super().setUp()
        self.start_real(self.MAKE, self.root)

    def test_files_go_up_are_listed_come_down_and_are_deleted(self):
        first, second = self.local("first.txt"), self.local("Makefile", b"x" * 100_000)
        self.assertEqual(self.run_tool("127.0.0.1", "put", first, second), (0, "", ""))
        status, said, listed = self.run_tool("127.0.0.1", "list")
        self.assertEqual((status, said), (0, ""))
        self.assertRegex(listed, r"(?m)^- +11  .*first\.txt$")
        self.assertRegex(listed, r"(?m)^- +100000  .*Makefile$")
        os.remove(second)
        self.assertEqual(self.run_tool("127.0.0.1", "get", "Makefile"), (0, "", ""))
        with open(second, "rb") as file:
            self.assertEqual(file.read(), b"x" * 100_000)
        self.assertEqual(self.run_tool("127.0.0.1", "rm", "first.txt", "Makefile"), (0, "", ""))
        self.assertEqual(os.listdir(self.root), [])

    def test_folders_are_made_used_and_removed(self):
        self.assertEqual(self.run_tool("127.0.0.1", "mkdir", "new.folder"), (0, "", ""))
        self.assertEqual(self.run_tool("127.0.0.1/new.folder", "put", self.local("a.txt")), (0, "", ""))
        self.assertEqual(os.listdir(self.served("new.folder")), ["a.txt"])
        status, said, _ = self.run_tool("127.0.0.1", "mkdir", "new.folder")
        self.assertEqual(status, 1)
        self.assertRegex(said, r"^ftpmanager: new\.folder: the server refuses: 5\d\d .*\n$")
        os.remove(self.served("new.folder/a.txt"))
        self.assertEqual(self.run_tool("127.0.0.1", "rm", "new.folder"), (0, "", ""))

    def test_a_login_is_tested_also_where_the_server_thinks_about_it(self):
        self.assertEqual(self.run_tool("127.0.0.1", "login"), (0, "", ""))
        for operation in (["login"], ["list"], ["rm", "a.txt"], ["mkdir", "a"]):
            status, said, _ = self.run_tool("127.0.0.1", *operation, password="wrong")
            self.assertEqual(status, 3, said)
            self.assertRegex(said, r"the server refuses the login: 530 .*\n$")

    def test_nothing_is_done_elsewhere_when_the_folder_is_refused(self):
        path = self.served("file.txt")
        open(path, "wb").close()
        for operation in (["rm", "file.txt"], ["list"], ["get", "file.txt"], ["put", self.local("a.txt")]):
            status, said, _ = self.run_tool("127.0.0.1/missing", *operation)
            self.assertEqual(status, 1, said)
            self.assertRegex(said, r"the server refuses the folder: 550 ")
        self.assertEqual(os.listdir(self.root), ["file.txt"])

    def test_what_has_failed_is_named_and_the_rest_is_done(self):
        status, said, _ = self.run_tool("127.0.0.1", "put", "/missing/a.txt", self.local("b.txt"))
        self.assertEqual(status, 7)
        self.assertRegex(said, r"^ftpmanager: /missing/a\.txt: the local file ")
        self.assertEqual(os.listdir(self.root), ["b.txt"])


class OnVsftpd(OnEveryMake, Case):
    MAKE = "vsftpd"


class OnProftpd(OnEveryMake, Case):
    MAKE = "proftpd"


class OnPyftpdlib(OnEveryMake, Case):
    MAKE = "pyftpdlib"


class Encrypted(Case):
    def setUp(self):
        super().setUp()
        path, self.fingerprint = make_certificate(self.folder)
        self.start_real("pyftpdlib", self.root, "--tls", path)

    def test_a_certificate_is_taken_by_its_fingerprint_alone(self):
        colons = ":".join(re.findall("..", self.fingerprint.upper()))
        for fingerprint in (self.fingerprint, colons):
            self.assertEqual(self.run_tool("--fingerprint", fingerprint, "127.0.0.1", "login"), (0, "", ""))
        self.assertEqual(self.run_tool("--fingerprint", self.fingerprint, "127.0.0.1", "put", self.local("a.txt")),
                         (0, "", ""))
        for words in (["--tls"], ["--fingerprint", "00" * 32]):
            for operation in ("login", "list"):
                status, said, _ = self.run_tool(*words, "127.0.0.1", operation)
                self.assertEqual(status, 6)
                self.assertIn("certificate is not trusted", said)

    def test_where_openssl_has_no_ciphers_nothing_is_sent_without_encryption(self):
        with open(os.path.join(self.folder, "openssl.cnf"), "w") as file:
            file.write("openssl_conf = all\n[all]\nproviders = names\n[names]\nbase = base\n[base]\nactivate = 1\n")
        for operation in (["login"], ["list"], ["put", self.local("a.txt")]):
            with unittest.mock.patch.dict(os.environ, OPENSSL_CONF=file.name):
                status, said, _ = self.run_tool("--fingerprint", self.fingerprint, "127.0.0.1", *operation)
            self.assertEqual(status, 6)
            self.assertIn("no encryption comes about", said)
        self.assertEqual(os.listdir(self.root), [])

    def test_a_server_that_demands_encryption_says_so(self):
        status, said, _ = self.run_tool("127.0.0.1", "login")
        self.assertEqual(status, 3)
        self.assertRegex(said, r"refuses the login: 5\d\d ")


class Scripted(Case):
    user, password = "user", "word"

    def serve(self, *rules):
        self.start("scripted_server.py", "--root", self.root, "--rules", json.dumps(rules))

    def test_a_server_without_encryption_gets_nothing(self):
        self.serve({"on": "AUTH", "do": ["502 no"]})
        for operation in ("login", "list"):
            status, said, _ = self.run_tool("--tls", "127.0.0.1", operation)
            self.assertEqual(status, 6, said)
            self.assertIn("no encryption comes about", said)

    def test_a_lost_connection_is_told(self):
        self.serve({"on": "STOR", "do": ["150 go on", "accept", "data-reset", "close"]},
                   {"on": "USER", "argument": "lost", "do": ["close"]})
        status, said, _ = self.run_tool("127.0.0.1", "put", self.local("a.txt", b"x" * 1_000_000))
        self.assertEqual((status, said.endswith(": the connection was lost\n")), (5, True))
        self.user = "lost"
        self.assertEqual(self.run_tool("127.0.0.1", "login")[:2], (5, "ftpmanager: the connection was lost\n"))

    def test_a_deletion_that_is_lost_in_its_second_try_is_not_told_as_refused(self):
        self.serve({"on": "DELE", "do": ["550 no"]}, {"on": "RMD", "do": ["close"]})
        status, said, _ = self.run_tool("127.0.0.1", "rm", "a.txt")
        self.assertEqual((status, said), (5, "ftpmanager: a.txt: the connection was lost\n"))

    def test_a_deletion_fails_for_the_reason_of_the_likelier_try(self):
        self.serve({"on": "DELE", "argument": "a.txt", "do": ["550 it is locked"]},
                   {"on": "RMD", "argument": "a.txt", "do": ["550 it is no folder"]},
                   {"on": "DELE", "argument": "new.folder", "do": ["550 it is a folder"]},
                   {"on": "RMD", "argument": "new.folder", "do": ["250 gone"]})
        self.assertEqual(self.run_tool("127.0.0.1", "rm", "a.txt", "new.folder")[:2],
                         (1, "ftpmanager: a.txt: the server refuses: 550 it is locked\n"))

    def test_a_failed_download_keeps_the_old_file(self):
        self.serve({"on": "RETR", "do": ["150 go on", "send half", "426 broken", "data-reset"]})
        path = self.local("a.txt", b"old")
        with open(self.served("a.txt"), "wb") as file:
            file.write(b"new and whole")
        status, said, _ = self.run_tool("127.0.0.1", "get", "a.txt")
        self.assertEqual(status, 1, said)
        self.assertEqual(os.listdir(self.folder), ["a.txt"])
        with open(path, "rb") as file:
            self.assertEqual(file.read(), b"old")

    def test_the_servers_words_cannot_move_the_cursor_nor_show_the_password(self):
        self.serve({"on": "PASS", "do": ["530 no \x1b[2Jword for you"]})
        status, said, _ = self.run_tool("127.0.0.1", "login")
        self.assertEqual(status, 3)
        self.assertNotIn("\x1b", said)
        self.assertNotIn("word for", said)

    def test_ports_hosts_and_words_are_checked(self):
        self.port = 2121
        for words in (["--port", "67670", "h", "list"], ["--port", "0", "h", "list"], ["--port", "x", "h", "list"],
                      ["h", "fly"], ["h"], [], ["h", "put"], ["h", "list", "more"], ["h:2121", "list"],
                      ["--fingerprint", "12", "h", "list"], ["--strange", "h", "list"], ["h", "chmod", "a", "rw"],
                      ["--password-file", "/missing", "h", "list"]):
            status, said, printed = self.run_tool(*words)
            self.assertEqual((status, printed), (2, ""), words)
            self.assertRegex(said, r"^ftpmanager: .*\n$")
        status, said, printed = self.run_tool("h", "list", password=None)
        self.assertEqual((status, "there is no password" in said), (2, True))

    def test_modes_are_octal(self):
        self.port = 2121
        for mode in ("1777", "789", "rw"):
            self.assertEqual(self.run_tool("h", "chmod", "a", mode),
                             (2, "ftpmanager: a mode is an octal number up to 777, such as 644\n", ""))

    def test_a_password_that_cannot_be_used_is_told(self):
        self.port = 2121
        path = self.local("password", b"w\xfcrd\n")
        self.assertEqual(self.run_tool("--password-file", path, "h", "list"),
                         (2, "ftpmanager: the password is not UTF-8; --help tells more\n", ""))
        self.assertEqual(self.run_tool("h", "list", password="w\udcfcrd"),
                         (2, "ftpmanager: the password is not UTF-8; --help tells more\n", ""))
        unreadable = "/proc/self/mem"
        self.assertEqual(self.run_tool("--password-file", unreadable, "h", "list")[:2],
                         (2, f"ftpmanager: the password cannot be read from {unreadable}; --help tells more\n"))
        self.user = None
        self.assertEqual(self.run_tool("--password-file", path, "h", "list")[:2],
                         (2, "ftpmanager: --password-file belongs to --user; --help tells more\n"))

    def test_help_and_version_are_printed(self):
        self.port = 21
        for word, what in (("--help", "--fingerprint"), ("--version", "ftpmanager 0.")):
            status, said, printed = self.run_tool(word)
            self.assertEqual((status, said), (0, ""))
            self.assertIn(what, printed)

    def test_nobody_and_no_host_are_told_apart(self):
        self.serve()
        self.port = 1
        for operation in ("login", "list"):
            self.assertEqual(self.run_tool("127.0.0.1", operation)[:2],
                             (4, "ftpmanager: nobody takes the connection\n"))
            self.assertEqual(self.run_tool("no.such.host.invalid", operation)[:2],
                             (4, "ftpmanager: there is no such host\n"))

    def test_output_that_cannot_be_written_is_a_failure(self):
        self.serve()
        with open("/dev/full", "w", encoding="utf-8") as full:
            done = subprocess.run(self.words("127.0.0.1", "list"), env=self.environment("word"), stdout=full,
                                  stderr=subprocess.PIPE, text=True, timeout=60)
        open(self.served("a.txt"), "wb").close()
        with open("/dev/full", "w", encoding="utf-8") as full:
            done = subprocess.run(self.words("127.0.0.1", "list"), env=self.environment("word"), stdout=full,
                                  stderr=subprocess.PIPE, text=True, timeout=60)
        self.assertEqual((done.returncode, done.stderr), (7, "ftpmanager: the output cannot be written\n"))
        for word in ("--help", "--version"):
            with open("/dev/full", "w", encoding="utf-8") as full:
                done = subprocess.run([PROGRAM, word], stdout=full, stderr=subprocess.PIPE, text=True, timeout=60)
            self.assertEqual((done.returncode, done.stderr), (7, "ftpmanager: the output cannot be written\n"))

    def test_the_password_comes_from_a_file_or_is_asked_for(self):
        self.serve({"on": "PASS", "argument": "^from the file$", "do": ["230 in"]},
                   {"on": "PASS", "argument": "^typed in$", "do": ["230 in"]}, {"on": "PASS", "do": ["530 no"]})
        path = self.local("password", b"from the file\r\nmore\n")
        self.assertEqual(self.run_tool("--password-file", path, "127.0.0.1", "login")[0], 0)

        process, terminal = self.at_a_terminal("127.0.0.1", "login", password=None)
        self.read_until(terminal, "Password of user: ")
        self.assertFalse(termios.tcgetattr(terminal)[3] & termios.ECHO)
        os.write(terminal, b"typed in\n")
        self.assertEqual(process.wait(timeout=60), 0)
        self.assertTrue(termios.tcgetattr(terminal)[3] & termios.ECHO)

    def test_a_question_that_is_not_answered_leaves_the_terminal_as_it_was(self):
        self.port = 2121
        for typed, status in ((b"\x03", -signal.SIGINT), (b"\x04", 2)):
            process, terminal = self.at_a_terminal("h", "login", password=None)
            self.read_until(terminal, "Password of user: ")
            os.write(terminal, typed)
            self.assertEqual(process.wait(timeout=60), status)
            self.assertTrue(termios.tcgetattr(terminal)[3] & termios.ECHO)

    def test_a_question_is_asked_again_after_a_stop(self):
        self.serve({"on": "PASS", "argument": "^typed in$", "do": ["230 in"]}, {"on": "PASS", "do": ["530 no"]})
        process, terminal = self.at_a_terminal("127.0.0.1", "login", password=None)
        for typed in (b"forgotten\x1a", b"typed in\n"):
            self.read_until(terminal, "Password of user: ")
            os.write(terminal, typed)
        self.assertEqual(process.wait(timeout=60), 0)

    def at_a_terminal(self, *words, password="word"):
        terminal, other = pty.openpty()
        self.addCleanup(os.close, terminal)
        self.addCleanup(os.close, other)
        process = subprocess.Popen(self.words(*words), env=self.environment(password), stdin=other, stdout=other,
                                   stderr=other, start_new_session=True, cwd=self.folder,
                                   preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0))
        self.enterContext(process)
        self.addCleanup(process.kill)
        return process, terminal

    def read_until(self, terminal, text):
        seen = ""
        end = time.monotonic() + 60
        while text not in seen and time.monotonic() < end:
            if select.select([terminal], [], [], 1)[0]:
                seen += os.read(terminal, 4096).decode()
        self.assertIn(text, seen)
        return seen

    def test_progress_is_shown_at_terminals_alone(self):
        self.serve()
        path = self.local("big", b"x" * 3_000_000)
        self.assertEqual(self.run_tool("127.0.0.1", "put", path), (0, "", ""))
        process, terminal = self.at_a_terminal("127.0.0.1", "put", path)
        self.read_until(terminal, "100 %")
        self.assertEqual(process.wait(timeout=60), 0)

    def test_ctrl_c_ends_a_transfer_and_leaves_no_part_of_a_file(self):
        self.serve({"on": "RETR", "do": ["150 go on", "fill 100000", "silence"]},
                   {"on": "STOR", "do": ["150 go on", "read 1000", "silence"]})
        with open(self.served("big"), "wb") as file:
            file.truncate(BIG)
        process, terminal = self.at_a_terminal("127.0.0.1", "get", "big")
        self.read_until(terminal, " %")
        os.write(terminal, b"\x03")
        self.assertIn("interrupted", self.read_until(terminal, "interrupted"))
        self.assertEqual(process.wait(timeout=60), 130)
        self.assertEqual(os.listdir(self.folder), [])

        process, terminal = self.at_a_terminal("127.0.0.1", "put", self.local("big", b"x" * BIG))
        self.read_until(terminal, " %")
        process.send_signal(signal.SIGTERM)
        self.read_until(terminal, "interrupted")
        self.assertEqual(process.wait(timeout=60), 130)

    def reports_until(self, event, **values):
        """What the server reports up to this event, which is the last of them."""
        reports = self.server.events_up_to(event)
        while not values.items() <= reports[-1].items():
            reports += self.server.events_up_to(event)
        return reports

    def new_connections(self):
        """How many the server has reported since it was last looked at."""
        self.server.request(sync=1)
        return [report["event"] for report in self.reports_until("sync")].count("opened")

    def send_signal(self, process, number):
        """Comes back when the tool has taken it."""
        process.send_signal(number)
        pending = 1
        while pending:
            with open(f"/proc/{process.pid}/status", encoding="utf-8") as status:
                pending = int(re.search(r"(?m)^ShdPnd:\s(\w+)$", status.read())[1], 16)

    def test_ctrl_c_begins_none_of_the_uploads_that_are_left(self):
        self.serve({"on": "STOR", "do": ["150 go on", "read 1000", "silence"]})
        process, terminal = self.at_a_terminal("127.0.0.1", "put", self.local("a", b"x" * BIG), self.local("b"),
                                               self.local("c"))
        self.read_until(terminal, " %")
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(timeout=60), 130)
        self.assertEqual(self.new_connections(), 1)

    def test_ctrl_c_deletes_nothing_more(self):
        self.serve({"on": "DELE", "argument": "^a", "do": []})
        process, _ = self.at_a_terminal("127.0.0.1", "rm", "a.txt", "b.txt", "c.txt")
        self.reports_until("command", line="DELE a.txt")
        self.send_signal(process, signal.SIGINT)
        self.server.request(connection=1, do=["550 no"])
        self.assertEqual(process.wait(timeout=60), 130)
        self.assertEqual(self.new_connections(), 0)

    def test_a_terminal_that_is_closed_leaves_no_part_of_a_file(self):
        self.serve({"on": "RETR", "do": ["150 go on", "fill 100000", "silence"]})
        with open(self.served("big"), "wb") as file:
            file.truncate(BIG)
        process, terminal = self.at_a_terminal("127.0.0.1", "get", "big")
        self.read_until(terminal, " %")
        process.send_signal(signal.SIGHUP)
        self.assertEqual(process.wait(timeout=60), 130)
        self.assertEqual(os.listdir(self.folder), [])

    def test_a_signal_that_was_ignored_from_the_start_stays_so(self):
        self.serve({"on": "DELE", "argument": "^a", "do": []})
        process = subprocess.Popen(self.words("127.0.0.1", "rm", "a.txt"), env=self.environment("word"),
                                   preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_IGN))
        self.enterContext(process)
        self.addCleanup(process.kill)
        self.reports_until("command", line="DELE a.txt")
        self.send_signal(process, signal.SIGINT)
        self.server.request(connection=1, do=["250 gone"])
        self.assertEqual(process.wait(timeout=60), 0)

    def test_ctrl_c_ends_what_waits_for_a_silent_server(self):
        self.serve({"on": "connect", "do": ["silence"]})
        for operation in ("login", "list"):
            process, _ = self.at_a_terminal("127.0.0.1", operation)
            self.server.events_up_to("opened")
            process.send_signal(signal.SIGINT)
            self.assertEqual(process.wait(timeout=60), 130)


if __name__ == "__main__":
    unittest.main()
