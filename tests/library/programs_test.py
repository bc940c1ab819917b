"""Programs without Qt's application object, and beside one, on a real server."""

import os
import subprocess
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "window"))
sys.path.insert(0, os.path.join(HERE, "..", "servers"))

from certificates import make_certificate  # noqa: E402
from helper_client import Helper  # noqa: E402


class Plain(unittest.TestCase):
    def security(self):
        """What the server is started with besides, and what the programs are."""
        return [], []

    def setUp(self):
        self.root = self.enterContext(tempfile.TemporaryDirectory())
        self.folder = self.enterContext(tempfile.TemporaryDirectory())
        options, security = self.security()
        server = self.enterContext(Helper("real_server.py", "pyftpdlib", self.root, *options))
        self.words = [server.values["port"], server.values["user"], server.values["password"], self.folder, *security]

    def run_program(self, name):
        """What it has ended with, and what it has said; nobody asked it to say anything."""
        words = [os.environ["PROGRAMS"], name, *self.words]
        # What threads hold that are there to the end is no leak.
        environment = {**os.environ, "LSAN_OPTIONS": "detect_leaks=0"} if name.startswith("exit") else None
        done = subprocess.run(words, capture_output=True, text=True, timeout=60, env=environment)
        return done.returncode, done.stderr

    def check(self, name):
        self.assertEqual(self.run_program(name), (0, ""))
        self.assertEqual(os.listdir(self.root), [])

    def test_every_operation_works_without_an_application_object(self):
        self.check("plain")

    def test_and_before_beside_and_after_one(self):
        self.check("besideAnApplication")

    def test_and_in_another_thread_than_that_of_one(self):
        self.check("inAnotherThreadBesideAnApplication")

    def test_in_several_threads_at_once(self):
        self.check("severalAtOnce")

    def test_in_both_processes_after_a_fork(self):
        self.check("afterAFork")

    def test_also_when_the_certificates_of_the_system_are_being_read(self):
        self.assertEqual(self.run_program("afterAForkBehindARefusal")[0], 0)

    def test_in_the_destructor_of_a_static_object_that_has_a_manager(self):
        self.check("inAStaticDestructor")

    def test_and_fails_there_when_the_manager_is_younger_than_they(self):
        self.assertEqual(self.run_program("tooLate")[0], 0)

    def test_what_goes_at_the_end_of_a_program_is_made_before_the_first_operation(self):
        self.assertEqual(self.run_program("needsNothingLate")[0], 0)

    def test_a_program_may_end_in_the_midst_of_operations(self):
        for _ in range(20):
            self.assertEqual(self.run_program("exitMeanwhile")[0], 0)

    def test_and_while_another_thread_begins_its_first(self):
        for _ in range(40):
            self.assertEqual(self.run_program("exitAtTheBeginning")[0], 0)

    def test_its_end_ends_a_conversation_with_a_silent_server(self):
        self.assertEqual(self.run_program("exitBeforeASilentServer")[0], 0)

    def test_the_end_of_a_child_does_not(self):
        self.assertEqual(self.run_program("exitOfAChildMeanwhile")[0], 0)


class Encrypted(Plain):
    def security(self):
        path, fingerprint = make_certificate(self.enterContext(tempfile.TemporaryDirectory()))
        return ["--tls", path], [fingerprint]


if __name__ == "__main__":
    unittest.main()
