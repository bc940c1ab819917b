"""Whole trees with awkward names, dropped by mouse and compared on a real server's disk: scripts/trees in small."""

import os
import unittest

from awkward_tree import AwkwardTree
from certificates import make_certificate, trust_certificate
from long_walk import LongWalk
from real_ftp_server import RealFTPServer
from tree_cases import Answers, MidWalk
from tree_session import TreeSession, command
from window_test import PROGRAM, UNDER, WindowTest


class TreeTest(WindowTest):
    make = "vsftpd"

    def make_server(self):
        pem, self.fingerprint = make_certificate(self.desktop.folder)
        return RealFTPServer(self.make, pem)

    def setUp(self):
        super().setUp()
        trust_certificate(self.home, self.server.place, self.fingerprint)

    def new_session(self):
        session = TreeSession(self.desktop, self.server, self.home, command([*UNDER, PROGRAM]))
        self.addCleanup(session.close)
        return session


class Whole(TreeTest):
    def test_the_server_has_all_of_it_and_what_is_there_is_kept_or_replaced_as_the_user_says(self):
        tree = AwkwardTree(self.folder, 0, self.make)
        self.addCleanup(tree.close)
        answers = Answers(self.new_session(), tree)

        answers.upload()
        answers.leave_out(answers.when_listed)
        answers.replace(answers.when_listed)


class MidWalkTest(TreeTest):
    def setUp(self):
        super().setUp()
        self.cases = MidWalk(self.new_session(), LongWalk(self.folder, found_first=30, found_last=10))


class Stopped(MidWalkTest):
    def test_stop_ends_a_file_and_not_the_walk(self):
        self.cases.stop()


class Cleared(MidWalkTest):
    def test_clear_queue_ends_the_walk(self):
        self.cases.clear(*(os.fsencode(self.file(name)) for name in ("one", "two")))


class Killed(MidWalkTest):
    def test_a_kill_leaves_what_was_found_to_the_next_start(self):
        self.cases.kill(LongWalk(self.folder, b"Further", found_first=10, found_last=0))


if __name__ == "__main__":
    unittest.main()
