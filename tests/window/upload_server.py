"""An FTP server on loopback for one user, in a thread of this process, with a folder and a record of its own."""

import contextlib
import logging
import math
import os
import shutil
import tempfile
import threading
import time
import warnings

from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.handlers import DTPHandler, FTPHandler
from pyftpdlib.ioloop import IOLoop
from pyftpdlib.servers import FTPServer

USER = "anna"
PERMISSIONS = "elradfmwMT"
PASSWORD = 's3cret "with, odd; %41 marks'
SLOW = 200_000  # Bytes a second, at which a file of 20 MB is on its way for as long as any test wants.


class UploadServer:
    def __init__(self, password=PASSWORD):
        self.password = password
        self.root = tempfile.mkdtemp(prefix="quillbox-server-")
        self.received = []  # Files that arrived whole, in order, as paths below the root.
        self.begun = []  # Files that the program has begun to send, in order.
        self.connections = 0
        self.logins = []  # Whether each login was good.
        self.after_receiving = lambda path: None  # Called with each file that has arrived whole.
        self.repeats_passwords = False  # Whether each reply ends with what the session gave as its password.
        self.asked_at = time.monotonic()  # When the last command came.
        self._stopping = threading.Event()
        self._moving = threading.Event()
        self._moving.set()

        logging.getLogger("pyftpdlib").disabled = True
        self._authorizer = DummyAuthorizer()
        self._authorizer.add_user(USER, password, self.root, perm=PERMISSIONS)
        self._data = type("Data", (_Data,), {})
        handler = type("Session", (_Session,), {"authorizer": self._authorizer, "dtp_handler": self._data, "record": self})
        self._loop = IOLoop()
        self._server = FTPServer(("127.0.0.1", 0), handler, ioloop=self._loop)
        self.port = self._server.address[1]
        self._thread = threading.Thread(target=self._serve, daemon=True)
        self._thread.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        self._stopping.set()
        self._moving.set()
        self._thread.join()
        shutil.rmtree(self.root, ignore_errors=True)

    def read_at_most(self, bytes_per_second, in_all=math.inf):
        """Slows the uploads, and has each stand still where it has come that far; 0 lets them run."""
        self._data.bytes_per_second, self._data.in_all = bytes_per_second, in_all

    def let_everybody_in(self):
        """Also those without a name, who may do the same."""
        with warnings.catch_warnings(action="ignore"):
            self._authorizer.add_anonymous(self.root, perm=PERMISSIONS)

    def stand_still(self):
        """Reads nothing, says nothing and lets nobody in until go_on()."""
        self._moving.clear()

    def go_on(self):
        self._moving.set()

    def settings(self, **others):
        return {"Address": f"127.0.0.1:{self.port}", "Username": USER, "Password": self.password, **others}

    def path(self, name):
        return os.path.join(self.root, name)

    def let_nobody_in(self, is_full=True):
        """Answers 421 to everybody who connects, or with False lets them in again."""
        self._server.max_cons = 1 if is_full else 512

    def cut_off(self):
        """Ends all connections, without a word."""
        self._loop.call_later(0, self._close_all)

    def _close_all(self):
        for each in list(self._loop.socket_map.values()):
            if each is not self._server:
                each.close()

    def is_quiet_for(self, seconds):
        """Whether nothing has been asked of the server for so long."""
        return time.monotonic() - self.asked_at > seconds

    def content(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def _serve(self):
        while not self._stopping.is_set():
            self._moving.wait()
            self._loop.loop(timeout=0.01, blocking=False)
        with contextlib.suppress(OSError):
            self._server.close_all()


class _Session(FTPHandler):
    record = None
    repeated = ""
    unicode_errors = "surrogateescape"  # Names are kept as the bytes that they are.
    auth_failed_timeout = 0
    timeout = 600

    def on_connect(self):
        self.record.connections += 1

    def on_login(self, username):
        self.record.logins.append(True)

    def on_login_failed(self, username, password):
        self.record.logins.append(False)

    def pre_process_command(self, line, cmd, arg):
        self.record.asked_at = time.monotonic()
        super().pre_process_command(line, cmd, arg)

    def ftp_PASS(self, line):
        if self.record.repeats_passwords:
            self.repeated = " " + line
        super().ftp_PASS(line)

    def respond(self, resp, **others):
        super().respond(resp + self.repeated, **others)

    def on_file_received(self, file):
        self.record.after_receiving(file)
        self.record.received.append(os.path.relpath(file, self.record.root))

    def ftp_STOR(self, file, mode="w"):
        self.record.begun.append(os.path.relpath(file, self.record.root))
        return super().ftp_STOR(file, mode)


class _Data(DTPHandler):
    """Reads evenly at a chosen speed; pyftpdlib's own throttle lets two seconds' worth through first."""

    bytes_per_second = 0
    in_all = math.inf
    pause = 0.02

    def __init__(self, sock, cmd_channel):
        self._timer = None
        super().__init__(sock, cmd_channel)

    def recv(self, buffer_size):
        piece = int(self.bytes_per_second * self.pause)
        if piece == 0:
            return super().recv(buffer_size)
        chunk = super().recv(piece)
        if chunk:
            self.del_channel()
            self._wait()
        return chunk

    def _wait(self):
        self._timer = self.ioloop.call_later(self.pause, self._go_on, _errback=self.handle_error)

    def close(self):
        if self._timer is not None and not self._timer.cancelled:
            self._timer.cancel()
        super().close()

    def _go_on(self):
        if self.tot_bytes_received < self.in_all:
            self.add_channel(events=self.ioloop.READ)
        else:
            self._wait()
