"""The command-line example of the FTP library, on a server that thinks about wrong passwords."""

import os
import subprocess
import sys
import tempfile
import unittest

SERVER = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "servers", "real_server.py")


class ExampleTest(unittest.TestCase):
    def setUp(self):
        self.root = self.enterContext(tempfile.TemporaryDirectory())
        server = self.enterContext(
            subprocess.Popen(
                [sys.executable, "-B", SERVER, "pyftpdlib", self.root],
                stdin=subprocess.PIPE,
                stdout=subprocess.PIPE,
                text=True,
            )
        )
        _, self.port, _, self.user, _, self.password = server.stdout.readline().split()

    def run_example(self, destination, *words, password=None):
        """What the example ends with and says last."""
        done = subprocess.run(
            [os.environ["FTPMANAGER"], "--port", self.port, "--user", self.user, destination, *words],
            env={**os.environ, "FTP_PASSWORD": password or self.password},
            capture_output=True,
            text=True,
            timeout=60,
        )
        return done.returncode, done.stderr.splitlines()[-1]

    def test_a_login_is_tested(self):
        self.assertEqual(self.run_example("127.0.0.1", "login"), (0, "done"))
        self.assertEqual(self.run_example("127.0.0.1", "login", password="wrong"), (1, "failed"))

    def test_nothing_is_deleted_elsewhere_when_the_folder_is_refused(self):
        path = os.path.join(self.root, "file.txt")
        open(path, "wb").close()

        self.assertEqual(self.run_example("127.0.0.1/missing", "delete", "file.txt"), (1, "failed"))
        self.assertTrue(os.path.exists(path))
        self.assertEqual(self.run_example("127.0.0.1", "delete", "file.txt"), (0, "done"))
        self.assertFalse(os.path.exists(path))


if __name__ == "__main__":
    unittest.main()
