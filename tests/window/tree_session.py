"""One program and one server: trees are dropped on the window, and compared with the ledger and the server's disk."""

import contextlib
import os
import re
import shutil
import sqlite3

from awkward_tree import assert_same, found_below
from desktop import IN_DRAG_SOURCE, wait_for
from program import Program, store_settings

CONFIRMED, STOPPED, LEFT_OUT, REMOVED, NOTE, INTERRUPTED, NOT_REPLACING = 2, 10, 15, 16, 17, 18, 19  # As the ledger has them.
FAILED = (3, 4, 5, 6, 7, 8, 9, 11, 12, 13, 14)
LOOKING = "Looking through folders…"
OUTCOME = "Outcome of the last queue"
MARK = b"/.//./"  # What stands before the part of a path that the server keeps.


def command(program):
    """The words that start a program such that root, too, reads only what its owner may read."""
    rights = ["setpriv", "--bounding-set", "-dac_override,-dac_read_search"]
    return [*(rights if os.geteuid() == 0 else []), *program]


def outcome_text(rows):
    """What the window says of a queue with these pairs of path and outcome."""
    outcomes = [outcome for _, outcome in rows]
    confirmed, stopped, removed = (outcomes.count(outcome) for outcome in (CONFIRMED, STOPPED, REMOVED))
    failed = sum(outcome in FAILED for outcome in outcomes)
    left_out = outcomes.count(LEFT_OUT) + outcomes.count(NOT_REPLACING)
    tried = confirmed + failed + stopped + removed
    parts = [f"{confirmed:,} uploaded" if confirmed == tried else f"{confirmed:,} of {tried:,} uploaded"]
    counts = ((failed, "failed"), (stopped, "stopped"), (removed, "removed"), (left_out, "left out"))
    return ", ".join(parts + [f"{count:,} {words}" for count, words in counts if count])


def count_in(pattern, text):
    """The numbers in a text that fits the pattern as a whole."""
    found = re.fullmatch(pattern, text)
    assert found, f"“{text}” is not “{pattern}”"
    return [int(number.replace(",", "")) for number in found.groups()]


class TreeSession:
    """What is not as it must be raises AssertionError."""

    def __init__(self, desktop, server, home, command, patience=60):
        """Starts the program by that command; it is waited for so many seconds where it has much to do."""
        self._desktop, self.server, self._home, self._command = desktop, server, home, command
        self._patience = patience
        self._first_row = 0
        self.program = None
        self.set()
        self.start()

    def close(self):
        self.program.close()

    def start(self):
        self.program = Program(self._desktop, self._command, {**self._home, "LANG": "en_US.UTF-8"})
        wait_for(lambda: self.program.text("Listing status") == "Listing succeeded", "the listing")

    def set(self, **settings):
        """Stores settings, beside those that all cases have."""
        if self.server.is_encrypted:
            settings["Encryption"] = "required"
        settings.update(DoNotShowWelcomeWindowAgain=True, DroppedFolders="uploaded")
        store_settings(self._home, self.server.settings(**settings))

    def drop(self, *paths):
        """Drags them onto the window by mouse, which takes them. What the ledger has from now on counts."""
        self._first_row += len(self.all_rows())
        source = self._desktop.drag_source(*paths)
        target = self.program.centre("Drop area")
        self._desktop.drag_until(lambda: source.poll() is not None, IN_DRAG_SOURCE, target)
        self._desktop.end(source)

    # What is said and known.

    def waiting(self):
        """What the window says of what is to come."""
        return self.program.text("What waits") if self.program.find("What waits") else ""

    def is_looking(self):
        return LOOKING in self.waiting()

    def all_rows(self):
        """Pairs of path and outcome of all that was dropped last, and notes."""
        path = os.path.join(self._home["XDG_STATE_HOME"], "quillbox", "history.sqlite")
        if not os.path.exists(path):
            return []
        with contextlib.closing(sqlite3.connect(f"file:{path}?mode=ro", uri=True)) as ledger:
            words = "SELECT folder, name, outcome FROM files ORDER BY row LIMIT -1 OFFSET ?"
            rows = ledger.execute(words, (self._first_row,)).fetchall()
        return [(name if folder is None else folder + b"/" + name, outcome) for folder, name, outcome in rows]

    def rows(self):
        """Of what stood in the queue, with the path below the destination."""
        rows = [row for row in self.all_rows() if row[1] not in (LEFT_OUT, NOTE)]
        return [(path.split(MARK)[1] if MARK in path else os.path.basename(path), outcome) for path, outcome in rows]

    def left_out(self):
        return [path for path, outcome in self.all_rows() if outcome == LEFT_OUT]

    def notes(self):
        return [text.decode() for text, outcome in self.all_rows() if outcome == NOTE]

    def wait_for_end(self):
        """Waits until the queue is over; the window must say of it what the ledger has, and answers that."""
        wait_for(lambda: self.program.find(OUTCOME), "the end of the queue", self._patience, longest_pause=0.5)

        def said():
            return self.program.text(OUTCOME), outcome_text(self.all_rows())

        with contextlib.suppress(AssertionError):
            wait_for(lambda: len(set(said())) == 1, "the same", 10)
        window, ledger = said()
        assert window == ledger, f"the window says “{window}”, the ledger “{ledger}”"
        self.answer_alerts()
        self.program.press("Dismiss")
        wait_for(lambda: not self.program.find(OUTCOME), "the line to go")
        return window

    # Questions.

    def wait_for_question(self):
        """The texts of the question whether to replace."""

        def question():
            texts = self.program.sheet()
            if texts and texts[0] == "Check Settings":  # The table's listing has failed, too.
                self.program.answer("OK")
                return None
            return texts

        return wait_for(question, "the question", self._patience, longest_pause=0.5)

    def answer_alerts(self):
        while self.program.sheet():
            self.program.acknowledge()

    # The server's disk.

    def on_server(self):
        return found_below(self.server.path(""))

    def assert_on_server(self, expected):
        assert_same(self.on_server(), expected)

    def empty_server(self):
        for item in os.scandir(os.fsencode(self.server.path(""))):
            shutil.rmtree(item.path) if item.is_dir() else os.remove(item.path)
