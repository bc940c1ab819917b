#!/usr/bin/python3
"""Tests of the scripted server, with Python's own client where it goes along."""

import contextlib
import ftplib
import hashlib
import io
import json
import os
import signal
import socket
import ssl
import subprocess
import sys
import tempfile
import time
import unittest

from helper_client import Conversation, Helper, received


class ScriptedServerTest(unittest.TestCase):
    """Each test starts a server of its own."""

    def start(self, *rules, root=None):
        """A server with rules, and a conversation with it that is logged in unless rules forbid."""
        self.root = root or self.enterContext(tempfile.TemporaryDirectory())
        self.server = self.enterContext(Helper("scripted_server.py", "--root", self.root, "--rules", json.dumps(rules)))
        return self.server

    def converse(self, *rules):
        """A conversation that has logged in."""
        self.start(*rules)
        client = self.another()
        client.log_in()
        return client

    def another(self):
        """A further conversation."""
        return self.enterContext(Conversation(self.server.port))

    def put(self, name, content):
        """A file on the server."""
        with open(os.path.join(self.root, name), "wb") as file:
            file.write(content)

    # Good behaviour

    def test_a_client_library_finds_a_whole_server(self):
        self.start()
        content = os.urandom(300_000)
        with ftplib.FTP() as client:
            client.connect("127.0.0.1", self.server.port)
            client.login("anna", "secret")
            self.assertEqual(client.mkd("a folder"), "/a folder")
            client.cwd("a folder")
            self.assertEqual(client.pwd(), "/a folder")
            client.storbinary("STOR x", io.BytesIO(content))
            self.assertEqual(client.size("x"), len(content))
            copy = io.BytesIO()
            client.retrbinary("RETR x", copy.write)
            self.assertEqual(copy.getvalue(), content)
            lines = []
            client.retrlines("LIST -a", lines.append)
            self.assertRegex(lines[0], r"^-rw\S+ 1 owner group +300000 \w{3} \d\d \d\d:\d\d x$")
            client.sendcmd("SITE CHMOD 600 x")
            self.assertEqual(os.stat(os.path.join(self.root, "a folder", "x")).st_mode & 0o777, 0o600)
            client.rename("x", "y")
            client.delete("y")
            client.cwd("/")
            client.rmd("a folder")
            self.assertEqual(os.listdir(self.root), [])
            with self.assertRaisesRegex(ftplib.error_perm, "^550"):
                client.cwd("a folder")
            client.quit()
        stored = [event for event in self.server.finish() if event["event"] == "stored"]
        self.assertEqual(stored[0]["sha256"], hashlib.sha256(content).hexdigest())
        self.assertTrue(stored[0]["complete"])

    def test_pipelined_commands_are_answered_in_order(self):
        self.start()
        client = self.another()
        client.say("USER anna", "PASS secret", "PWD", "CWD /none", "NOOP", "QUIT")
        self.assertEqual(
            [client.hear()[:3] for _ in range(7)], ["220", "331", "230", "257", "550", "200", "221"]
        )
        self.assertEqual(client.hear(), "")

    def test_no_path_leads_out_of_the_root(self):
        client = self.converse()
        self.assertEqual(client.ask("CWD ../../.."), "250 Folder changed")
        self.assertEqual(client.ask("PWD"), '257 "/" is the present folder')
        self.assertEqual(client.ask("SIZE ../../../etc/passwd"), "550 No such file")

    def test_every_byte_of_a_command_is_reported(self):
        client = self.converse()
        client.ask("NOOP \xff\xc3\xa4\0")
        client.socket.sendall(b"NOOP\nNO")
        client.hear()
        client.socket.shutdown(socket.SHUT_WR)
        events = self.server.events_up_to("closed")
        lines = [(event["line"], event.get("end")) for event in events if event["event"] == "command"]
        self.assertEqual(lines[2:], [("NOOP \xff\xc3\xa4\0", None), ("NOOP", "LF alone")])
        self.assertEqual([event["line"] for event in events if event["event"] == "unfinished"], ["NO"])

    def test_needs_a_login(self):
        self.start()
        client = self.another()
        client.hear()
        self.assertEqual(client.ask("PWD"), "530 Please log in")
        self.assertEqual(client.ask("PASS secret"), "503 Bad sequence of commands")

    def test_ipv6(self):
        with Helper("scripted_server.py", "--address", "::1") as server:
            with Conversation(server.port, "::1") as client:
                client.log_in()
                with client.data_connection() as data:
                    client.ask("STOR x")
                    data.close()
                    self.assertEqual(client.hear(), "226 Transfer complete")

    # Which rule

    def test_rules_can_ask_for_connection_occurrence_and_argument(self):
        client = self.converse(
            {"on": "NOOP", "connection": 2, "do": ["500 second connection"]},
            {"on": "NOOP", "argument": "^a+$", "do": ["500 argument"]},
            {"on": "NOOP", "nth": 3, "do": ["500 third time"]},
            {"on": "PWD", "times": 1, "do": ["550 once"]},
        )
        self.assertEqual(client.ask("NOOP"), "200 Fine")
        self.assertEqual(client.ask("NOOP aaa"), "500 argument")
        self.assertEqual(client.ask("NOOP"), "500 third time")
        self.assertEqual(client.ask("NOOP"), "200 Fine")
        self.assertEqual(client.ask("PWD"), "550 once")
        self.assertEqual(client.ask("PWD"), '257 "/" is the present folder')
        other = self.another()
        other.hear()
        self.assertEqual(other.ask("NOOP"), "500 second connection")

    def test_a_second_login_can_be_one_too_many(self):
        client = self.converse({"on": "PASS", "logins": 1, "do": ["421 Too many", "close"]})
        second = self.another()
        self.assertEqual(second.log_in(), ["331 Password please", "421 Too many"])
        self.assertEqual(second.hear(), "")
        client.say("QUIT")
        self.assertEqual([client.hear(), client.hear()], ["221 Goodbye", ""])
        self.server.events_up_to("closed")
        self.server.events_up_to("closed")
        self.assertEqual(self.another().log_in(), ["331 Password please", "230 Logged in"])

    def test_pipelining_can_be_refused(self):
        self.start({"on": "*", "pipelined": True, "do": ["503 One at a time"]})
        client = self.another()
        client.hear()
        client.say("USER anna", "PASS secret")
        self.assertEqual([client.hear(), client.hear()], ["331 Password please", "503 One at a time"])
        self.assertEqual(client.ask("PASS secret"), "230 Logged in")

    def test_rules_come_and_go_while_it_runs(self):
        client = self.converse({"on": "NOOP", "do": ["500 early"]})
        self.server.request(rule={"on": "NOOP", "do": ["500 late"]})
        self.server.events_up_to("ruled")
        self.assertEqual(client.ask("NOOP"), "500 late")
        self.server.request(forget=True)
        self.server.events_up_to("ruled")
        self.assertEqual(client.ask("NOOP"), "200 Fine")

    def test_what_makes_no_sense_is_said_so(self):
        self.start()
        for request in ({"rule": {"on": "NOOP", "do": ["read much"]}}, {"rule": {"on": "NOOP"}},
                     {"rule": {"on": "NOOP", "when": 1, "do": []}}, {"do": []}):
            self.server.request(**request)
            self.assertEqual(self.server.event()["event"], "misunderstood")

    # Replies

    def test_login_answers(self):
        for greeting in ("230 Come in", "332 Account", "530 No", "421 Later"):
            with self.subTest(greeting):
                self.start({"on": "USER", "do": [greeting]})
                client = self.another()
                client.hear()
                self.assertEqual(client.ask("USER anna"), greeting)
                expected = {"230": "503", "332": "230", "530": "503", "421": "503"}[greeting[:3]]
                self.assertEqual(client.ask("PASS secret")[:3], expected)

    def test_strange_bytes(self):
        client = self.converse({"on": "NOOP", "do": [
            "raw 200-a\0b\r\n", "say  550 inside", "say 421", "raw 200 \xff", "raw \r\n", "flood 100000"]})
        client.say("NOOP")
        self.assertEqual(
            [client.hear() for _ in range(4)], ["200-a\0b", " 550 inside", "421", "200 \xff"]
        )
        self.assertEqual(client.socket.recv(1), b"x")

    def test_lines_without_end(self):
        client = self.converse({"on": "NOOP", "do": ["flood-lines 2500", "200 End"]})
        client.say("NOOP")
        self.assertEqual([client.hear() for _ in range(2501)], ["200-And more"] * 2500 + ["200 End"])

    def test_replies_without_end(self):
        client = self.converse({"on": "NOOP", "do": ["flood-replies 2500", "201 End"]})
        client.say("NOOP")
        self.assertEqual([client.hear() for _ in range(2501)], ["200 " + "x" * 194] * 2500 + ["201 End"])

    def test_byte_by_byte(self):
        client = self.converse({"on": "NOOP", "do": ["slowly 5", "default"]})
        client.socket.sendall(b"NOOP\r\n")
        pieces = [client.socket.recv(100)]
        while not pieces[-1].endswith(b"\n"):
            pieces.append(client.socket.recv(100))
        self.assertEqual(pieces, [bytes([byte]) for byte in b"200 Fine\r\n"])

    def test_byte_by_byte_for_a_client_that_takes_its_time(self):
        for address in ("127.0.0.1", "::1"):
            with self.subTest(address), Helper("scripted_server.py", "--address", address) as server:
                with Conversation(server.port, address) as client:
                    client.hear()
                    server.request(rule={"on": "NOOP", "do": ["slowly 1", "502"]})
                    server.events_up_to("ruled")
                    client.socket.sendall(b"NOOP\r\n")
                    for byte in b"502\r\n":
                        time.sleep(0.02)
                        self.assertEqual(client.socket.recv(100), bytes([byte]))

    def test_byte_by_byte_for_a_while(self):
        client = self.converse({"on": "NOOP", "do": ["slowly 5", "default", "slowly 0"]})
        self.assertEqual(client.ask("NOOP"), "200 Fine")
        client.socket.sendall(b"PWD\r\n")
        self.assertTrue(client.socket.recv(100).endswith(b"\r\n"))

    def test_silence(self):
        client = self.converse({"on": "NOOP", "do": ["silence"]})
        client.say("NOOP", "PWD")
        client.socket.settimeout(0.3)
        with self.assertRaises(TimeoutError):
            client.hear()

    def test_can_wait_for_a_command_further_on(self):
        client = self.converse({"on": "NOOP", "do": ["until QUIT", "close"]})
        client.say("NOOP")
        client.socket.settimeout(0.3)
        with self.assertRaises(TimeoutError):
            client.socket.recv(1)
        client.say("quit")
        self.assertEqual(client.socket.recv(1), b"")

    def test_no_answer_to_one_command(self):
        client = self.converse({"on": "NOOP", "do": []})
        client.say("NOOP", "PWD")
        self.assertEqual(client.hear(), '257 "/" is the present folder')

    def test_hanging_up_and_resetting(self):
        for step in ("close", "reset"):
            for steps in ([step], ["200 First", step]):
                with self.subTest(steps):
                    client = self.converse({"on": "NOOP", "do": steps})
                    client.say("NOOP", "PWD")
                    if len(steps) > 1:
                        self.assertEqual(client.hear(), "200 First")
                    with self.assertRaises(ConnectionResetError) if step == "reset" else contextlib.nullcontext():
                        self.assertEqual(client.hear(), "")

    def test_a_connection_can_end_before_the_greeting(self):
        self.start({"on": "connect", "do": ["close"]})
        self.assertEqual(self.another().hear(), "")

    def test_unasked_after_a_while(self):
        client = self.converse({"on": "NOOP", "do": ["default", "idle 50", "421 Idle for too long", "close"]})
        self.assertEqual(client.ask("NOOP"), "200 Fine")
        self.assertEqual([client.hear(), client.hear()], ["421 Idle for too long", ""])

    def test_unasked_at_a_request(self):
        client = self.converse()
        self.server.request(connection=1, do=["reset"])
        self.server.events_up_to("done")
        with self.assertRaises(ConnectionResetError):
            client.hear()

    def test_what_fails_at_a_wish_is_said_so(self):
        client = self.converse()
        self.enterContext(client.data_connection())
        self.server.request(connection=1, do=["send-file /nowhere"])
        self.assertIn("FileNotFoundError", self.server.events_up_to("misunderstood")[-1]["text"])

    # Passive ports

    def test_passive_replies(self):
        client = self.converse(
            {"on": "EPSV", "do": ["522 Other protocol"]},
            {"on": "PASV", "nth": 1, "do": ["227 Passive {pasv}"]},
            {"on": "PASV", "nth": 2, "do": ["227 Passive (10,0,0,1,{p1},{p2})"]},
        )
        self.assertEqual(client.ask("EPSV"), "522 Other protocol")
        self.assertRegex(client.ask("PASV"), r"^227 Passive 127,0,0,1,\d+,\d+$")
        reply = client.ask("PASV")
        self.assertRegex(reply, r"^227 Passive \(10,0,0,1,\d+,\d+\)$")
        high, low = reply[:-1].split(",")[-2:]
        socket.create_connection(("127.0.0.1", int(high) * 256 + int(low)), timeout=20).close()
        self.assertRegex(client.ask("PASV"), r"\(127,0,0,1,\d+,\d+\)$")

    def test_a_port_that_refuses(self):
        client = self.converse({"on": "EPSV", "do": ["229 Passive (|||{closed}|)"]})
        with self.assertRaises(ConnectionRefusedError):
            client.data_connection()
        self.assertEqual(client.ask("STOR x")[:3], "150")
        client.socket.settimeout(0.3)
        with self.assertRaises(TimeoutError):
            client.hear()

    def test_a_port_that_never_answers(self):
        client = self.converse({"on": "EPSV", "do": ["229 Passive (|||{full}|)"]})
        port = int(client.ask("EPSV").split("|")[3])
        with self.assertRaises(TimeoutError):
            socket.create_connection(("127.0.0.1", port), timeout=0.3)

    def test_no_data_connection(self):
        client = self.converse()
        client.say("STOR x")
        self.assertEqual([client.hear()[:3], client.hear()[:3]], ["150", "425"])

    # Uploads

    def upload(self, steps, content=b"0123456789", narrow=False):
        """Uploads by a rule for STOR; the client (all sent, still connected) and the data connection."""
        rules = [{"on": "STOR", "do": steps}]
        if narrow:
            rules.append({"on": "EPSV", "do": ["narrow 4096", "default"]})
        client = self.converse(*rules)
        data = self.enterContext(client.data_connection())
        client.say("STOR x")
        data.sendall(content)
        return client, data

    def stored(self):
        """The event of the stored file."""
        return self.server.events_up_to("stored")[-1]

    def test_a_refusal_after_some_data(self):
        for step, outcome in (("data-close", None), ("data-reset", None)):
            with self.subTest(step):
                client, data = self.upload(["150 Go", "read 4", "552 Full", step])
                self.assertEqual([client.hear(), client.hear()], ["150 Go", "552 Full"])
                self.assertEqual(received(data), outcome)
                stored = self.stored()
                self.assertEqual((stored["size"], stored["complete"]), (4, False))

    def test_data_that_is_never_read(self):
        client, data = self.upload(["150 Go", "accept", "552 Full"], content=b"", narrow=True)
        self.assertEqual([client.hear(), client.hear()], ["150 Go", "552 Full"])
        data.setblocking(False)
        with self.assertRaises(BlockingIOError):
            for _ in range(10_000):
                data.send(b"x" * 65536)

    def test_final_replies(self):
        for steps, replies in (
            (["read", "250 Got it"], ["250 Got it"]),
            (["125 Already open", "read", "200 Odd"], ["125 Already open", "200 Odd"]),
            (["150 Go", "226 Early", "read"], ["150 Go", "226 Early"]),
            (["150 Go", "read", "wait 100", "226 Late"], ["150 Go", "226 Late"]),
            (["150 Go", "read", "close"], ["150 Go", ""]),
        ):
            with self.subTest(steps):
                client, data = self.upload(steps)
                data.close()
                self.assertEqual([client.hear() for _ in replies], replies)
                self.assertEqual(self.stored()["size"], 10)

    def test_the_control_connection_can_end_first(self):
        client, data = self.upload(["150 Go", "read 4", "close", "read"])
        self.assertEqual([client.hear(), client.hear()], ["150 Go", ""])
        data.close()
        self.assertEqual(self.stored()["size"], 10)

    def test_a_client_that_resets_its_data_connection(self):
        client, data = self.upload(["150 Go", "read 10", "read", "226 No"])
        self.assertEqual(client.hear(), "150 Go")
        data.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, b"\1\0\0\0\0\0\0\0")
        data.close()
        self.assertEqual(client.hear()[:3], "426")
        self.assertFalse(self.stored()["complete"])

    def test_data_that_is_not_acknowledged(self):
        client = self.converse(
            {"on": "EPSV", "do": ["deaf", "default"]}, {"on": "STOR", "do": ["150 Go", "held 10", "data-reset", "226 No"]}
        )
        with client.data_connection() as data:
            client.say("STOR x")
            self.assertEqual(client.hear(), "150 Go")
            data.sendall(b"0123456789")
            self.assertEqual(client.hear(), "226 No")
            with self.assertRaises(ConnectionResetError):
                data.recv(1)
        self.assertEqual(os.listdir(self.root), [])

    def test_everything_can_be_acknowledged_before_a_reset(self):
        client, data = self.upload(["150 Go", "take", "data-reset", "226 Done"])
        data.shutdown(socket.SHUT_WR)
        self.assertEqual([client.hear(), client.hear()], ["150 Go", "226 Done"])
        with data, self.assertRaises(ConnectionResetError):
            data.recv(1)
        self.assertTrue(self.stored()["complete"])

    # Encryption

    def test_a_client_library_finds_encryption(self):
        folder = self.enterContext(tempfile.TemporaryDirectory())
        pem, certificate = os.path.join(folder, "pem"), os.path.join(folder, "certificate")
        subprocess.run(
            ["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes",
             "-subj", "/CN=test", "-keyout", pem, "-out", certificate],
            check=True, capture_output=True,
        )
        with open(pem, "ab") as file, open(certificate, "rb") as public:
            file.write(public.read())
        trusting = ssl.create_default_context(cafile=certificate)
        trusting.check_hostname = False
        content = os.urandom(300_000)
        server = self.enterContext(Helper("scripted_server.py", "--root", folder, "--tls", pem))
        with ftplib.FTP_TLS(context=trusting) as client:
            client.connect("127.0.0.1", server.port)
            client.login("anna", "secret")
            client.prot_p()
            client.storbinary("STOR x", io.BytesIO(content))
            copy = io.BytesIO()
            client.retrbinary("RETR x", copy.write)
            self.assertEqual(copy.getvalue(), content)
            client.prot_c()
            client.retrlines("LIST", self.assertTrue)
            client.quit()

    # Downloads and listings

    def download(self, command, *rules):
        """What came, and the replies up to the end of the connection."""
        client = self.converse(*rules)
        self.put("x", b"0123456789")
        data = client.data_connection()
        client.say(command, "QUIT")
        replies = []
        content = received(data)
        while line := client.hear():
            replies.append(line)
        return content, replies[:-1]

    def test_downloads_of_another_length(self):
        for steps, content in (
            (["150 Go", "write 4", "data-close", "226 Done"], b"0123"),
            (["150 Go", "write 4", "write 2", "data-close", "226 Done"], b"012345"),
            (["150 Go", "write", "fill 3", "data-close", "226 Done"], b"0123456789xxx"),
            (["150 Go", "226 Done", "write", "data-close"], b"0123456789"),
            (["150 Go", "write 4", "data-reset", "226 Done"], None),
        ):
            with self.subTest(steps):
                got, replies = self.download("RETR x", {"on": "RETR", "do": steps})
                self.assertEqual(got, content)
                self.assertEqual(replies, ["150 Go", "226 Done"])

    def test_sizes(self):
        client = self.converse({"on": "SIZE", "nth": 1, "do": ["213 5"]}, {"on": "SIZE", "nth": 2, "do": ["502 No"]})
        self.put("x", b"0123456789")
        self.assertEqual([client.ask("SIZE x") for _ in range(3)], ["213 5", "502 No", "213 10"])

    def test_listings(self):
        with tempfile.NamedTemporaryFile() as file:
            file.write(b"\xff\0\n" * 100_000)
            file.flush()
            for steps, content in (
                (["150 Go", "send total 0\r\n\xff\0", "data-close", "226 Done"], b"total 0\r\n\xff\0"),
                (["150 Go", f"send-file {file.name}", "data-close", "226 Done"], b"\xff\0\n" * 100_000),
            ):
                with self.subTest(steps):
                    got, replies = self.download("LIST", {"on": "LIST", "do": steps})
                    self.assertEqual(got, content)
                    self.assertEqual(replies, ["150 Go", "226 Done"])

    def test_a_download_without_end(self):
        client = self.converse({"on": "RETR", "do": ["150 Go", "repeat ab"]})
        data = client.data_connection()
        client.say("RETR x")
        self.assertEqual(client.hear(), "150 Go")
        for _ in range(100):
            self.assertTrue(data.recv(65536))
        data.close()
        self.assertEqual(client.hear()[:3], "426")

    # Its own end

    def test_ends_with_its_stdin_in_the_middle_of_everything(self):
        client, _data = self.upload(["150 Go", "accept", "silence"])
        self.another()
        client.hear()
        self.server.finish()

    def test_ends_on_a_signal(self):
        script = os.path.join(os.path.dirname(os.path.abspath(__file__)), "scripted_server.py")
        with subprocess.Popen([sys.executable, "-B", script], stdin=subprocess.PIPE, stdout=subprocess.PIPE) as process:
            process.stdout.readline()
            process.send_signal(signal.SIGTERM)
            self.assertEqual(process.wait(timeout=20), 0)

    def test_goes_on_while_nobody_reads_its_events(self):
        client = self.converse()
        for number in range(5000):
            client.ask(f"NOOP {number}")
        self.server.request(sync=7)
        self.assertEqual(len(self.server.events_up_to("sync")), 2 * 5002 + 3)


if __name__ == "__main__":
    unittest.main()
