"""What a tree is dropped for: uploaded, left out or replaced, and a walk through it that is stopped, cleared or killed.

Each case answers what it has seen, in a few words.
"""

import os

from awkward_tree import assert_same, stamps_below
from desktop import wait_for
from tree_session import CONFIRMED, FAILED, INTERRUPTED, NOT_REPLACING, REMOVED, STOPPED, count_in

MERGED = "Several of the dropped folders are named “Twice”. All go into one folder."
CLEARED = "The queue was cleared before all that was dropped had been looked through."
ENDED = "Quillbox ended before all that was dropped had been looked through."
MANY = r"([\d,]+)"


class Answers:
    """A tree on its way, first to an empty folder, then to where it is, with each answer."""

    def __init__(self, session, tree):
        self._session, self._tree = session, tree
        self._version = 1

    def upload(self):
        self._session.set()
        self._session.drop(*self._tree.dropped)
        return self._check_sent()

    def leave_out(self, ask):
        before = stamps_below(self._session.server.path(""))
        asked = self._write_and(ask)
        self._session.program.answer("Leave Out")
        words = self._check_rows(set(asked))
        assert_same(stamps_below(self._session.server.path("")), before)
        return words

    def replace(self, ask):
        self._write_and(ask)
        self._session.program.answer("Replace")
        return self._check_sent()

    def _write_and(self, ask):
        """Asks about the tree with other contents; answers which entries the question is about."""
        self._version += 1
        self._tree.write(self._version)
        self._session.set(AskBeforeReplacing=True)
        return ask([entry for entry in self._tree.entries if not entry.is_folder])

    def when_listed(self, files):
        """Has the question come when the server tells what is there."""
        self._session.drop(*self._tree.dropped)
        title, *_ = self._session.wait_for_question()
        # Of names that the server does not list it is not known.
        found, count = count_in(f"{MANY} of {MANY} files (?:are there already|may replace others)", title)
        there = [entry for entry in files if entry.arrives]
        assert (found, count) == (len(there), len(files)), f"“{title}” instead of {len(there):,} of {len(files):,}"
        return there

    def when_not_listed(self, files):
        """Has it come when the server has gone, which is back for the answer."""
        self._session.server.go_away()
        self._session.drop(*self._tree.dropped)
        title, text, *_ = self._session.wait_for_question()
        assert title == "What is there is not known", title
        assert f"({len(files):,} to be uploaded)" in text, text
        self._session.server.come_back()
        self._session.set(AskBeforeReplacing=True)  # The password is another one.
        return files

    def _check_sent(self):
        words = self._check_rows(left_out=())
        self._session.assert_on_server(self._tree.expected())
        return words

    def _check_rows(self, left_out):
        """What has become of each entry, in the order of the queue, and what else is told."""
        words = self._session.wait_for_end()
        rows = [(path, FAILED if outcome in FAILED else outcome) for path, outcome in self._session.rows()]
        expected = []
        for entry in self._tree.entries:
            outcome = NOT_REPLACING if entry in left_out else CONFIRMED if entry.arrives else FAILED
            expected.append((entry.path + entry.end, outcome))
        assert_same(dict(enumerate(rows)), dict(enumerate(expected)))
        assert sorted(self._session.left_out()) == sorted(self._tree.left_out), self._session.left_out()
        assert self._session.notes().count(MERGED) == 1, self._session.notes()
        return words


class MidWalk:
    """What happens while folders are looked through, which goes on for as long as is wanted."""

    def __init__(self, session, walk):
        """The server's folder is empty."""
        self._session, self._walk = session, walk
        self._session.set()

    def stop(self):
        """Only the file ends that is being sent; all others are found, and arrive."""
        first, *others = self._walk.found_first
        sent = [(first, STOPPED), *((path, CONFIRMED) for path in others)]
        self._drop_and_wait()
        self._session.program.press("Stop")
        wait_for(lambda: self._session.rows()[0] == (first, STOPPED), "the file to be stopped")
        assert self._session.is_looking(), self._session.waiting()
        self._session.server.go_on()
        self._wait_for_rows(sent)
        assert self._session.is_looking(), self._session.waiting()
        self._walk.end()
        words = self._session.wait_for_end()
        folder = b"Walk/b"  # All in it is left out.
        sent += [(path, CONFIRMED) for path in (folder + b"/", *self._walk.found_last)]
        assert_same(dict(enumerate(self._session.rows())), dict(enumerate(sent)))
        self._assert_on_server([*others, *self._walk.found_last], {folder: None}, unknown=first)
        return words

    def clear(self, *beside):
        """The walk ends, with all but the file that is being sent; these files, which are dropped next, go up alone."""
        first, *others = self._walk.found_first
        self._drop_and_wait()
        self._session.program.press("Clear Queue")
        wait_for(lambda: not self._session.is_looking(), "the walk to end")
        self._session.server.go_on()
        words = self._session.wait_for_end()
        rows = [(first, CONFIRMED), *((path, REMOVED) for path in (*others, b"Walk"))]
        assert_same(dict(enumerate(self._session.rows())), dict(enumerate(rows)))
        assert self._session.notes() == [CLEARED], self._session.notes()
        self._walk.end()
        self._session.drop(*beside)  # They would stand behind what else was found.
        self._session.wait_for_end()
        self._assert_on_server([first], dict(map(self._sent, beside)))
        return words

    def kill(self, further):
        """What was found first is confirmed and whole; the next start tells of what was found behind it, and that this
        was not all, and sends nothing. The further walk is dropped behind the other."""
        confirmed = list(self._walk.found_first)
        folder = b"Walk/b"  # All in it is left out.
        others = [folder + b"/", *self._walk.found_last, *further.found_first]
        self._session.drop(self._walk.dropped, further.dropped)
        self._wait_for_rows([(path, CONFIRMED) for path in confirmed])
        self._session.server.stand_still()
        self._walk.end()
        wait_for(lambda: len(self._session.rows()) == len(confirmed) + len(others), "what is found next")
        assert self._session.is_looking(), self._session.waiting()
        self._session.close()
        self._session.server.go_on()
        self._session.start()
        words = f"{len(others):,} files were not confirmed, and not all that was dropped was looked through"
        self._session.program.need(words)
        self._wait_for_rows([*((path, CONFIRMED) for path in confirmed), *((path, INTERRUPTED) for path in others)])
        assert self._session.notes() == [ENDED], self._session.notes()
        self._assert_on_server(confirmed, unknown=folder)  # That one was under way.
        self._session.program.press("Forget")
        further.end()
        return f"{len(confirmed):,} confirmed, {words}"

    def _wait_for_rows(self, rows):
        wait_for(lambda: self._session.rows() == rows, "what was found to be over")

    def _drop_and_wait(self):
        """The server stands still, so that the first file is being sent; what follows it was found."""
        self._session.server.stand_still()
        self._session.drop(self._walk.dropped)
        wait_for(lambda: len(self._session.rows()) == len(self._walk.found_first), "what is found first")
        wait_for(self._session.is_looking, "the walk to be told")

    def _assert_on_server(self, paths, others=None, unknown=None):
        """These are there whole, with others; of what is unknown nobody knows how far it came."""
        contents = {**self._walk.found_first, **self._walk.found_last}
        expected = {b"Walk": None, **{path: contents[path] for path in paths}, **(others or {})}
        expected.update((path.rpartition(b"/")[0], None) for path in paths)
        on_server = self._session.on_server()
        on_server.pop(unknown, None)
        assert_same(on_server, expected)

    def _sent(self, path):
        """A plain file's name on the server, and what is in it."""
        with open(path, "rb") as file:
            return os.path.basename(path), file.read()
