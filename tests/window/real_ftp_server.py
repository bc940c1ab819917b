"""A real FTP server of one make on port 21 of loopback, with a folder of its own."""

import os
import shutil
import subprocess
import sys
import tempfile

SCRIPT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "servers", "real_server.py")


class RealFTPServer:
    def __init__(self, make):
        self._root = tempfile.mkdtemp(prefix="quillbox-server-")
        self._process = subprocess.Popen(
            [sys.executable, "-B", SCRIPT, make, self._root, "127.0.0.1", "21"],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            text=True,
        )
        words = self._process.stdout.readline().split()
        if len(words) != 6:
            self.close()
            raise AssertionError(f"{make} did not start")
        self._user, self._password = words[3], words[5]

    def close(self):
        self._process.stdin.close()
        self._process.stdout.close()
        self._process.wait(20)
        shutil.rmtree(self._root, ignore_errors=True)

    def settings(self, **others):
        return {"Address": "127.0.0.1", "Username": self._user, "Password": self._password, **others}

    def path(self, name):
        return os.path.join(self._root, name)
