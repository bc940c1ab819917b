"""The workloads over a way with a round-trip time. They run in a network namespace of their own (see link.py)."""

import contextlib
import os
import statistics
import tempfile
import time

from benchmark import TOP, helper
from clients import Curl, Lftp
from conversation import Conversation, counts, parts, transfers
from near import SMALL, make_files, measured, shown, take_away
from table import Row, median, of_counts, paired, spread
from usage import run
from window import Window, settings_of

ROUND_TRIP = 0.05
LONG_ROUND_TRIP = 0.2
NEAR, FAR = "10.99.0.1", "10.99.0.2"  # Where servers listen, and where clients reach them.


@contextlib.contextmanager
def served(make):
    """A server at the far end; gives its folder and login."""
    with tempfile.TemporaryDirectory() as root, helper("./real_server.py", make, root, NEAR) as (login, _):
        yield root, login


@contextlib.contextmanager
def link(round_trip=ROUND_TRIP):
    with helper(os.path.join(TOP, "bench", "link.py"), str(round_trip * 1000), "--watch") as (_, process):
        yield Conversation(process.stdout)


def first_and_further(events, ends):
    """Seconds from the first packet to the first of the ends of files, and from one end to the next, as the median."""
    if len(ends) < 2:
        return 0, 0
    gaps = [later - earlier for earlier, later in zip(ends, ends[1:])]
    return ends[0] - events[0].time, statistics.median(gaps)


def ends_of_uploads(events):
    """Of a client that lists in between."""
    return [last.time for verb, _, last in transfers(events) if verb == "STOR"]


def confirmations(events):
    """Of a client that does nothing but upload, but may send commands ahead of replies."""
    return [event.time for event in events if event.what == "<" and event.text.startswith("226 ")]


class SmallUploads:
    """Small files that go up to a server at the far end, over and over again."""

    def __init__(self, bench, conversation, login, root, folder, count=100):
        self._conversation = conversation
        self._login = login
        self._root = root
        self.count = min(count, 20) if bench.quick else count
        self.files = make_files(folder, self.count, SMALL)

    def turn(self, bench):
        """By our program, from its start; answers first_and_further(), the events, and what the program used."""
        mark = self._begin()
        with Window(bench.desktop, bench.program, settings_of(self._login, FAR), self.files) as window:
            usage = measured(window, lambda: None, lambda: self._conversation.wait_for(mark, self.count, "STOR"))
            return (*self._finish(mark, ends_of_uploads), usage)

    def theirs(self, command):
        """By another client; answers first_and_further() and the events."""
        mark = self._begin()
        try:
            run(command)
        finally:
            result = self._finish(mark, confirmations)
        return result

    def _begin(self):
        self._conversation.wait_for_quiet(0.3)
        return self._conversation.mark()

    def _finish(self, mark, ends_of):
        self._conversation.wait_for_quiet(0.3)
        events = self._conversation.since(mark)
        take_away(self._root)
        return (*first_and_further(events, ends_of(events)), events)


@contextlib.contextmanager
def small_uploads(bench, conversation, make, count=100):
    with tempfile.TemporaryDirectory() as folder, served(make) as (root, login):
        yield SmallUploads(bench, conversation, login, root, folder, count), login


def upload_far(bench, conversation):
    yield from _upload_over(bench, conversation, ROUND_TRIP, 100)


def upload_very_far(bench, conversation):
    yield from _upload_over(bench, conversation, LONG_ROUND_TRIP, 20)


def _upload_over(bench, conversation, round_trip, count):
    for make in bench.makes("vsftpd", "pure-ftpd", "proftpd", "pyftpdlib"):
        with small_uploads(bench, conversation, make, count) as (uploads, login):

            def other(command):
                try:
                    return uploads.theirs(command)
                except RuntimeError:  # Not every client gets on with every server in every mode.
                    return None

            results = {"ours": [], "curl": []}
            for _ in range(1 if bench.quick else min(bench.runs, 3)):
                results["ours"].append(uploads.turn(bench))
                results["curl"].append(uploads.theirs(Curl(login, FAR).upload(uploads.files)))
            names = [path.replace(" ", "\\ ") for path in uploads.files]
            others = {
                "lftp sync": other(Lftp(login, FAR, sync=True).upload(names)),
                "lftp no sync": other(Lftp(login, FAR, sync=False).upload(names)),
            }
            yield from _upload_rows(make, round_trip, uploads.count, results, others)


def _upload_rows(make, round_trip, count, results, others):
    def each(name, index):
        return [result[index] * 1000 for result in results[name]]

    def of_others(index):
        texts = {name: f"{result[index] * 1000:.0f}" if result else "fails" for name, result in others.items()}
        return ", ".join(f"{name} {text}" for name, text in texts.items())

    events, usage = results["ours"][-1][2:]
    ends = ends_of_uploads(events)
    uploads = parts(events, "STOR")
    first = of_counts(counts(uploads[0]))
    further = [counts(part)["commands"] for part in uploads[1:]]
    yield Row(
        f"{count} files of 4 KiB at {round_trip * 1000:.0f} ms: each further", make,
        f"{spread(each('ours', 1), '{:.0f}')} ms; the second {(ends[1] - ends[0]) * 1000:.0f}, "
        f"the tenth {(ends[9] - ends[8]) * 1000:.0f}",
        f"≤ {4.1 if make == 'vsftpd' else 3.1} round trips", curl=median(each("curl", 1), "{:.0f}") + " ms",
        ratio=paired(each("ours", 1), each("curl", 1)), others=of_others(1), cpu=f"{usage.cpu:.2f}",
        peak=f"{usage.peak:.0f}", commands=f"{statistics.mean(further):.1f}",
        trips=f"{results['ours'][-1][1] / round_trip:.2f}",
        connections=f"{counts(events)['control']} control in all",
    )  # fmt: skip
    yield Row(
        "… the first, connection and login included", make, spread(each("ours", 0), "{:.0f}") + " ms", "",
        curl=median(each("curl", 0), "{:.0f}") + " ms", ratio=paired(each("ours", 0), each("curl", 0)),
        others=of_others(0), commands=first["commands"],
        trips=f"{results['ours'][-1][0] / round_trip:.1f}",
    )  # fmt: skip


def fetch(bench, conversation, window, verb):
    """Downloads the file in the first row, or lists its folder; answers the seconds and the events."""
    conversation.wait_for_quiet(0.6)  # Two clicks in short succession are taken for more.
    mark = conversation.mark()
    if verb == "LIST":
        window.press("F5")
    else:
        window.double_click(bench.places()["row"])
    end = conversation.wait_for(mark, 1, verb)
    events = conversation.since(mark)
    return end - events[0].time, events


def fetch_far(bench, conversation):
    bench.places()
    for make in bench.makes("vsftpd", "pure-ftpd", "proftpd", "pyftpdlib"):
        with served(make) as (root, login), tempfile.TemporaryDirectory() as folder:
            make_files(root, 1, SMALL, "small")
            commands = {
                "LIST": Curl(login, FAR).list(times=2),
                "RETR": Curl(login, FAR).download(["small", "small"], folder),
            }
            with shown(bench, login, conversation, FAR) as window:
                for verb, what in (("RETR", "download"), ("LIST", "listing")):
                    ours, curl, events = [], [], []
                    for _ in range(3 if bench.quick else bench.runs):
                        seconds, events = fetch(bench, conversation, window, verb)
                        ours.append(seconds * 1000)
                        mark = conversation.mark()
                        run(commands[verb])
                        conversation.wait_for(mark, 2, verb)
                        ends = [last.time for done, _, last in transfers(conversation.since(mark)) if done == verb]
                        curl.append((ends[1] - ends[0]) * 1000)
                    limit = 4.3 if make in ("vsftpd", "proftpd") else 3.3
                    cells = of_counts(counts(events))
                    cells["trips"] = f"{float(median(ours)) / 1000 / ROUND_TRIP:.2f}"
                    yield Row(
                        f"{what} at 50 ms, kept connection", make, spread(ours, "{:.0f}") + " ms",
                        f"≤ {limit} round trips", curl=median(curl, "{:.0f}") + " ms", ratio=paired(ours, curl), **cells,
                    )  # fmt: skip
                    time.sleep(0.3)


@contextlib.contextmanager
def _upload_turns(bench, conversation, make):
    with small_uploads(bench, conversation, make) as (uploads, _):

        def turn(bench):
            first, further, _, usage = uploads.turn(bench)
            return {"first s": first, "each further s": further, "CPU s": usage.cpu, "memory MiB": usage.peak}

        yield turn


@contextlib.contextmanager
def _fetch_turns(_, conversation, make):
    with served(make) as (root, login):
        make_files(root, 1, SMALL, "small")

        def turn(bench):
            with shown(bench, login, conversation, FAR) as window:
                return {
                    "download s": fetch(bench, conversation, window, "RETR")[0],
                    "listing s": fetch(bench, conversation, window, "LIST")[0],
                }

        yield turn


# What bench/compare repeats, as near.turns() has it.
TURNS = {"upload-far": _upload_turns, "fetch-far": _fetch_turns}
