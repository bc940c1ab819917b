"""Encryption as the user meets it: the choice, the padlock, the question about a certificate, on real servers."""

import contextlib
import json
import os
import socket
import stat
import threading
import unittest

from certificates import make_certificate
from desktop import wait_for
from real_ftp_server import RealFTPServer
from window_test import ANY_TITLE, WindowTest

QUESTION = "Trust This Server?"
DAMAGED = "Trusted Certificates Not Readable"
CHANGED = "The Server’s Certificate Has Changed"


class EncryptedWindowTest(WindowTest):
    make = None

    def make_server(self):
        self.pem, self.fingerprint = make_certificate(self.desktop.folder)
        return RealFTPServer(self.make, self.pem)

    def require_encryption(self, **others):
        self.settings(Encryption="required", **others)

    def wait_for_sheet(self, program, title):
        wait_for(lambda: (program.sheet() or [None])[0] == title, f"the sheet “{title}”")

    def shown_fingerprint(self, program, name="Fingerprint (SHA-256)"):
        return program.text(name).replace(":", "").replace("\n", "").lower()

    def trusted(self):
        """What is trusted, by host and port."""
        with open(self.trusted_path(), encoding="utf-8") as file:
            return json.load(file)

    def trusted_path(self):
        return os.path.join(self.home["XDG_CONFIG_HOME"], "quillbox", "trusted-certificates.json")

    def place(self):
        return f"127.0.0.1:{self.server.port}"

    def content(self, name):
        with open(self.server.path(name), "rb") as file:
            return file.read()

    def arrives(self, name, content):
        wait_for(lambda: os.path.exists(self.server.path(name)) and self.content(name) == content, f"{name} to arrive")

    def hand_over(self, *paths):
        self.assertEqual(self.launch(*paths).exit_code(), 0)

    def press_key(self, program, key):
        """Presses a key in the main window."""
        self.bring_to_front(program, ANY_TITLE)
        self.desktop.key(key)

    def open_panel(self, program):
        self.press_key(program, "ctrl+comma")
        program.need("Server address")


class Roads:
    """From the choice in the panel to a changed certificate, for each make of server."""

    def test_from_the_choice_to_a_changed_certificate(self):
        content = os.urandom(300_000)
        program = self.launch()  # Its end is a part of the test.
        wait_for(lambda: "No FTP Destination" in program.titles(), "the title")
        self.assertEqual(program.text("Connection"), "No connection has been made yet.")
        self.choose(program)
        self.refuse(program)
        self.trust(program, content)
        program = self.restart(program)
        self.change_certificate(program)
        self.forget(program)

    def choose(self, program):
        self.open_panel(program)
        settings = self.server.settings()
        program.enter("Server address", settings["Address"])
        program.enter("User name", settings["Username"])
        program.enter("Password", settings["Password"])
        program.press("Encryption required")
        wait_for(lambda: "encrypted (TLS)" in program.text("What encryption means"), "what that means")
        program.press("More")
        self.assertFalse(program.is_enabled("Forget Certificate"))
        program.press("Done")

    def refuse(self, program):
        self.wait_for_sheet(program, QUESTION)
        self.assertEqual(program.text("Server"), f"127.0.0.1, port {self.server.port}")
        self.assertEqual(program.text("Issued to"), "CN=test server")
        self.assertEqual(self.shown_fingerprint(program), self.fingerprint)
        program.answer("Cancel")
        wait_for(lambda: program.text("Listing status") == "Stream open error", "the refusal")
        self.assertFalse(os.path.exists(self.trusted_path()))
        self.assertEqual(program.text("Connection"), "No connection has been made yet.")

    def trust(self, program, content):
        self.hand_over(self.file("one.bin", content))
        self.wait_for_sheet(program, QUESTION)
        program.answer("Trust")
        self.arrives("one.bin", content)
        self.wait_for_status(program, "Upload succeeded")
        self.wait_for_listing(program)
        self.assertRegex(program.text("Connection"), "^The last connection was encrypted with TLSv1.[23], .*you trust")
        self.assertEqual(self.trusted(), {self.place(): self.fingerprint})
        self.assertEqual(stat.S_IMODE(os.stat(self.trusted_path()).st_mode), 0o600)

    def restart(self, program):
        self.press_key(program, "ctrl+q")
        self.assertEqual(program.exit_code(), 0)
        program.close()
        program = self.launch()
        self.wait_for_listing(program)
        self.assertIsNone(program.sheet())
        return program

    def change_certificate(self, program):
        pem, self.changed = make_certificate(self.desktop.folder)
        self.server.show_certificate(pem)
        self.require_encryption()
        self.press_key(program, "F5")
        self.wait_for_sheet(program, CHANGED)
        self.assertEqual(self.shown_fingerprint(program, "Trusted (SHA-256)"), self.fingerprint)
        self.assertEqual(self.shown_fingerprint(program, "Shown (SHA-256)"), self.changed)
        program.acknowledge()
        wait_for(lambda: program.text("Listing status") == "Stream open error", "the refusal")
        self.press_key(program, "ctrl+shift+n")
        program.enter("Enter name of folder to create.", "new")
        program.press("OK")
        self.assertIn("since the server has shown a certificate that is not trusted", program.acknowledge()[1])
        self.assertEqual(self.trusted(), {self.place(): self.fingerprint})

    def forget(self, program):
        self.open_panel(program)
        program.press("More")
        program.press("Forget Certificate")
        wait_for(lambda: not program.is_enabled("Forget Certificate"), "the certificate to be forgotten")
        self.assertEqual(self.trusted(), {})
        program.press("Done")
        self.wait_for_sheet(program, QUESTION)
        self.assertEqual(self.shown_fingerprint(program), self.changed)
        program.answer("Trust")
        self.wait_for_listing(program)
        self.assertEqual(self.trusted(), {self.place(): self.changed})


class OnVsftpd(Roads, EncryptedWindowTest):
    make = "vsftpd"


class OnProftpd(Roads, EncryptedWindowTest):
    make = "proftpd"


class OnPyftpdlib(Roads, EncryptedWindowTest):
    make = "pyftpdlib"


class Questions(EncryptedWindowTest):
    make = "pyftpdlib"

    def test_many_files_are_one_question(self):
        self.require_encryption()
        contents = {f"file {number}": os.urandom(1000) for number in range(20)}
        program = self.start(*[self.file(name, content) for name, content in contents.items()])

        self.wait_for_sheet(program, QUESTION)
        self.wait_for_the_clock(program)
        program.answer("Trust")

        for name, content in contents.items():
            self.arrives(name, content)
        self.wait_for_status(program, "Upload succeeded")
        self.assert_no_more_sheets(program)

    def test_a_refusal_counts_for_all_that_wait(self):
        self.require_encryption()
        program = self.start(*[self.file(f"file {number}") for number in range(20)])

        self.wait_for_sheet(program, QUESTION)
        program.answer("Cancel")

        wait_for(lambda: program.value("Files waiting") is None, "the queue to be worked off")
        self.wait_for_status(program, "Stream open error")
        self.assert_no_more_sheets(program)
        self.assertEqual(os.listdir(self.server.path("")), [])
        self.press_key(program, "F5")
        self.wait_for_sheet(program, QUESTION)


class Decisions(EncryptedWindowTest):
    """What comes of what is decided, or not yet."""

    make = "pyftpdlib"

    def test_what_is_trusted_and_damaged_refuses_every_server_until_the_user_has_decided(self):
        self.require_encryption()
        damaged = '{"elsewhere:21": "00'
        with open(self.trusted_path(), "w", encoding="utf-8") as file:
            file.write(damaged)
        program = self.start(*[self.file(f"file {number}") for number in range(5)])

        self.wait_for_sheet(program, DAMAGED)
        self.assertIn(self.trusted_path(), program.sheet()[1])
        program.answer("Cancel")
        wait_for(lambda: program.value("Files waiting") is None, "the queue to be worked off")
        self.wait_for_status(program, "Stream open error")
        self.assert_no_more_sheets(program)
        with open(self.trusted_path(), encoding="utf-8") as file:
            self.assertEqual(file.read(), damaged)
        self.assertEqual(os.listdir(self.server.path("")), [])

        self.press_key(program, "F5")
        self.wait_for_sheet(program, DAMAGED)
        program.answer("Forget")
        with open(self.trusted_path() + ".bak", encoding="utf-8") as file:
            self.assertEqual(file.read(), damaged)
        self.assertEqual(self.trusted(), {})
        self.press_key(program, "F5")
        self.wait_for_sheet(program, QUESTION)
        program.answer("Trust")
        self.wait_for_listing(program)

    def test_a_file_can_be_stopped_while_the_question_shows(self):
        self.require_encryption()
        program = self.start(self.file("one.txt"))
        self.wait_for_sheet(program, QUESTION)

        program.press("Stop")

        self.wait_for_status(program, "Upload Stopped")
        program.answer("Trust")
        wait_for(lambda: os.path.exists(self.trusted_path()), "the certificate to be trusted")
        self.assertEqual(os.listdir(self.server.path("")), [])
        self.press_key(program, "F5")
        self.wait_for_listing(program)
        self.assertIsNone(program.sheet())

    def test_the_program_can_be_left_when_the_question_is_answered(self):
        self.require_encryption()
        program = self.launch(self.file("one.txt"), self.file("two.txt"))
        self.wait_for_sheet(program, QUESTION)
        (window,) = wait_for(lambda: self.desktop.windows_of(program.process.pid, "^ftp://"), "the window")

        self.desktop.xdotool("windowactivate", window)
        self.desktop.key("ctrl+q")  # The sheet keeps it from the window.
        self.wait_for_the_clock(program)
        self.assertEqual(program.sheet()[0], QUESTION)
        program.answer("Cancel")
        wait_for(lambda: program.value("Files waiting") is None, "the queue to be worked off")
        self.press_key(program, "ctrl+q")

        self.assertEqual(program.exit_code(), 0)
        self.assertFalse(os.path.exists(self.trusted_path()))

    def test_a_certificate_for_another_server_is_told_as_such(self):
        pem, _ = make_certificate(self.desktop.folder, names="DNS:other.example", subject="<b>bold</b>")
        self.server.show_certificate(pem)
        self.require_encryption()
        program = self.start()

        self.wait_for_sheet(program, QUESTION)

        self.assertIn("• It was made for “other.example”, not for “127.0.0.1”.", program.sheet()[1])
        self.assertEqual(program.text("Issued to"), 'CN="<b>bold</b>"')
        program.answer("Cancel")


class Trusted(EncryptedWindowTest):
    make = "pyftpdlib"

    def test_the_password_is_in_no_log_of_an_encrypted_session(self):
        self.require_encryption()
        program = self.start(self.file("one.txt"), QT_LOGGING_RULES="*=true")
        self.wait_for_sheet(program, QUESTION)
        program.answer("Trust")
        self.wait_for_status(program, "Upload succeeded")
        self.wait_for_listing(program)

        self.delete(program, "one.txt")
        wait_for(lambda: os.listdir(self.server.path("")) == [], "the file to be deleted")
        self.wait_for_listing(program)

        self.assertIn("STOR one.txt", program.output())
        self.assertFalse(self.server.settings()["Password"] in program.output())  # Without printing it.

    def test_a_connection_is_tried_with_what_is_typed(self):
        program = self.start()
        wait_for(lambda: "No FTP Destination" in program.titles(), "the title")
        settings = self.server.settings()
        self.open_panel(program)
        program.enter("Server address", settings["Address"])
        program.enter("User name", settings["Username"])
        program.enter("Password", settings["Password"] + "!")
        program.press("Encryption required")

        program.press("Test Connection")
        self.wait_for_sheet(program, QUESTION)
        program.answer("Trust")
        wait_for(lambda: program.text("Test result") == "The server refuses the login.", "the refusal")
        self.assertRegex(program.text("Server's reply"), "^The server said: 530 ")
        program.enter("Password", settings["Password"])
        wait_for(lambda: program.text("Test result") == "", "the result to go")
        program.press("Test Connection")

        wait_for(lambda: program.text("Test result").startswith("It works: "), "the result")
        self.assertRegex(program.text("Test result"), "encrypted with TLSv1.[23], with a certificate that you trust")
        self.assertNotIn(settings["Password"], program.tree())
        program.enter("Folder", "nowhere/yet")
        program.press("Test Connection")
        wait_for(lambda: "the folder is refused" in program.text("Test result"), "the folder to be refused")
        self.assertRegex(program.text("Server's reply"), "^The server said: 550 ")
        program.press("Create Folder")
        wait_for(lambda: program.text("Test result").startswith("It works: "), "the folder to be created")
        self.assertTrue(os.path.isdir(self.server.path("nowhere/yet")))
        program.press("Cancel")
        self.assertEqual(self.stored_settings(), {"DoNotShowWelcomeWindowAgain": True})
        self.assertEqual(self.trusted(), {self.place(): self.fingerprint})
        self.assertEqual(program.text("Connection"), "No connection has been made yet.")


class Refuser:
    """A server that knows no AUTH, and writes down all that it is told."""

    def __init__(self):
        self.received = b""
        self._listener = socket.create_server(("127.0.0.1", 0))
        self._thread = threading.Thread(target=self._serve, daemon=True)
        self._thread.start()

    def _serve(self):
        while True:
            try:
                peer, _ = self._listener.accept()
            except OSError:
                return
            with peer, contextlib.suppress(ConnectionError):
                peer.sendall(b"220 Ready\r\n")
                while data := peer.recv(4096):
                    self.received += data
                    peer.sendall(b"500 What?\r\n" * data.count(b"\n"))

    def settings(self, **others):
        port = self._listener.getsockname()[1]
        return {"Address": f"127.0.0.1:{port}", "Username": "anna", "Password": "s3cret", **others}

    def close(self):
        self._listener.shutdown(socket.SHUT_RDWR)
        self._listener.close()
        self._thread.join(20)


class Unencrypted(WindowTest):
    def make_server(self):
        return Refuser()

    def test_a_server_without_encryption_hears_neither_name_nor_password(self):
        self.settings(Encryption="required")
        program = self.start(self.file("one.txt"))

        self.wait_for_status(program, "Stream open error")
        wait_for(lambda: program.text("Listing status") == "Stream open error", "the listing to fail")

        self.assertEqual(set(self.server.received.split(b"\r\n")), {b"AUTH TLS", b""})
        self.assertEqual(program.text("Connection"), "No connection has been made yet.")


class Silent:
    """A server that takes connections and says nothing."""

    def __init__(self):
        self._listener = socket.create_server(("127.0.0.1", 0))

    def settings(self, **others):
        return {"Address": f"127.0.0.1:{self._listener.getsockname()[1]}", **others}

    def close(self):
        self._listener.close()


class WithoutAnAnswer(WindowTest):
    def make_server(self):
        return Silent()

    def test_a_connection_test_is_stopped_by_a_second_press_and_the_window_lives_meanwhile(self):
        program = self.start()
        wait_for(lambda: "No FTP Destination" in program.titles(), "the title")
        self.bring_to_front(program, ANY_TITLE)
        self.desktop.key("ctrl+comma")
        program.enter("Server address", self.server.settings()["Address"])

        program.press("Test Connection")

        wait_for(lambda: program.text("Test result") == "The server is there. Logging in…", "the connection")
        self.wait_for_the_clock(program)
        program.press("Stop Test")
        wait_for(lambda: program.text("Test result") == "The test was stopped.", "the end of the test")
        program.press("Cancel")


if __name__ == "__main__":
    unittest.main()
