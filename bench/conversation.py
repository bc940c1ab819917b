"""What passes on control connections, as watch.py and link.py tell of it."""

import collections
import re
import threading
import time

# What: "+" a control connection, ">" a command, "<" a line of a reply; where packets are seen also "?" the first packet of
# a connection, "d" the first bytes of a data connection.
Event = collections.namedtuple("Event", "time connection what text")

TRANSFERS = ("STOR", "RETR", "LIST")


class Conversation:
    """Reads the lines of a helper in a thread of its own, for as long as there are any."""

    def __init__(self, lines):
        self._events = []
        self._changed = threading.Condition()
        threading.Thread(target=self._read, args=(lines,), daemon=True).start()

    def mark(self):
        """The place behind all that has passed so far."""
        with self._changed:
            return len(self._events)

    def since(self, mark):
        with self._changed:
            return self._events[mark:]

    def wait_for(self, mark, count, verb, seconds=120):
        """Waits until that many transfers of that verb have been confirmed since the mark; answers when the last was."""
        end = time.monotonic() + seconds
        with self._changed:
            seen, open_verbs, left = mark, {}, count
            while True:
                for event in self._events[seen:]:
                    if event.what == ">" and verb_of(event) in TRANSFERS:
                        open_verbs[event.connection] = verb_of(event)
                    elif is_final(event) and open_verbs.get(event.connection):
                        left -= open_verbs.pop(event.connection) == verb and event.text[0] == "2"
                        if left == 0:
                            return event.time
                seen = len(self._events)
                if not self._changed.wait(end - time.monotonic()):
                    raise RuntimeError(f"{left} of {count} {verb} have not ended after {seconds} s")

    def wait_for_quiet(self, seconds):
        """Waits until nothing has passed for so long."""
        while True:
            mark = self.mark()
            time.sleep(seconds)
            if self.mark() == mark:
                return

    def _read(self, lines):
        for line in lines:
            moment, connection, what, text = line.rstrip("\n").split(" ", 3)
            with self._changed:
                self._events.append(Event(float(moment), int(connection), what, text))
                self._changed.notify_all()


def verb_of(event):
    return event.text.split(" ")[0].upper()


def is_final(event):
    """Whether it is the last line of a transfer's final reply."""
    return event.what == "<" and re.match(r"[2-5]\d\d( |$)", event.text) is not None


def transfers(events):
    """The transfers among the events, each as (verb, first command for it, its final reply), in the order of their
    ends."""
    first, verb, found = {}, {}, []
    for event in events:
        number = event.connection
        if event.what == ">":
            first.setdefault(number, event)
            if verb_of(event) in TRANSFERS:
                verb[number] = verb_of(event)
        elif is_final(event) and number in verb:
            found.append((verb.pop(number), first.pop(number), event))
    return found


def parts(events, verb):
    """What passed for each transfer of that verb, from its first command to its final reply."""
    ends = {id(last) for done, _, last in transfers(events) if done == verb}
    begins = {id(first) for _, first, _ in transfers(events)}
    under_way, found = {}, []
    for event in events:
        if id(event) in begins:
            under_way[event.connection] = []
        under_way.get(event.connection, []).append(event)
        if id(event) in ends:
            found.append(under_way[event.connection])
    return found


def counts(events):
    """How many commands, round trips, control and data connections. A round trip is one command, or several sent at one
    stroke, whose replies are waited for."""
    waiting = set()
    trips = 0
    for event in events:
        if event.what == ">" and event.connection not in waiting:
            waiting.add(event.connection)
            trips += 1
        elif event.what == "<":
            waiting.discard(event.connection)
    return {
        "commands": sum(event.what == ">" for event in events),
        "trips": trips,
        "control": sum(event.what == "+" for event in events),
        "data": sum(event.what == "<" and event.text[:3] in ("150", "125") for event in events),
    }
