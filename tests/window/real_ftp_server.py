"""A real FTP server of one make on loopback, with a folder of its own: on port 21, or, also encrypted, on a free port."""

import contextlib
import os
import shutil
import signal
import sys
import tempfile
from pathlib import Path

sys.path.append(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "servers"))

from helper_client import Helper  # noqa: E402


class RealFTPServer:
    def __init__(self, make, pem=None, address="127.0.0.1", port=21):
        """With the file of a certificate and its key, nothing is taken unencrypted. No port: a free one."""
        self._make = make
        self._pem = pem
        self._address = address
        self._root = tempfile.mkdtemp(prefix="quillbox-server-")
        self._port = None if pem else port
        self.come_back()

    def go_away(self):
        """Ends; all connections with it."""
        self._helper.finish()

    def come_back(self):
        """Starts again, on the same port, with another password."""
        place = [self._address, str(self._port)] if self._port else []
        tls = ["--tls", self._pem] if self._pem else []
        self._helper = Helper("real_server.py", self._make, self._root, *place, *tls)
        self._port = self._helper.port
        self._user, self._password = self._helper.values["user"], self._helper.values["password"]

    def show_certificate(self, pem):
        """Starts again like that, with another certificate."""
        self.go_away()
        self._pem = pem
        self.come_back()

    def stand_still(self):
        """Says nothing until go_on()."""
        self._signal(signal.SIGSTOP)

    def go_on(self):
        self._signal(signal.SIGCONT)

    def _signal(self, number):
        """Sends it to the server's processes, sessions included."""
        children = {}
        for status in Path("/proc").glob("[0-9]*/stat"):
            with contextlib.suppress(FileNotFoundError, ProcessLookupError):
                parent = status.read_text(errors="replace").rpartition(")")[2].split()[1]
                children.setdefault(int(parent), []).append(int(status.parent.name))
        found = [self._helper.pid]
        for process in found:
            found += children.get(process, [])
        for process in found:
            with contextlib.suppress(ProcessLookupError):
                os.kill(process, number)

    def close(self):
        self._helper.finish()
        shutil.rmtree(self._root, ignore_errors=True)

    @property
    def port(self):
        return self._port

    @property
    def is_encrypted(self):
        return self._pem is not None

    @property
    def place(self):
        """Its host and port, as certificates are trusted for."""
        return f"{self._address}:{self._port}"

    def settings(self, **others):
        address = self._address if self._port == 21 else self.place
        return {"Address": address, "Username": self._user, "Password": self._password, **others}

    def path(self, name):
        return os.path.join(self._root, name)
