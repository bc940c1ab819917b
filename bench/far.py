"""The workloads over a way with a round-trip time. They run in a network namespace of their own (see link.py)."""

import contextlib
import os
import statistics
import tempfile
import time

from benchmark import TOP, helper
from clients import Curl, Lftp
from conversation import Conversation, counts, parts, transfers
from near import SMALL, make_files, measured, take_away
from table import Row, median, of_counts, paired, spread
from usage import run
from window import Window, settings_of

ROUND_TRIP = 0.05
NEAR, FAR = "10.99.0.1", "10.99.0.2"  # Where servers listen, and where clients reach them.


@contextlib.contextmanager
def served(make):
    """A server at the far end; gives its folder and login."""
    with tempfile.TemporaryDirectory() as root, helper("./real_server.py", make, root, NEAR) as (login, _):
        yield root, login


@contextlib.contextmanager
def link():
    with helper(os.path.join(TOP, "bench", "link.py"), str(ROUND_TRIP * 1000), "--watch") as (_, process):
        yield Conversation(process.stdout)


def first_and_further(events, ends):
    """Seconds from the first packet to the first of the ends of files; from one end to the next, as the median and as
    the mean, which has in it that our second file waits for a second login, while the first is listed."""
    if len(ends) < 2:
        return 0, 0, 0
    gaps = [later - earlier for earlier, later in zip(ends, ends[1:])]
    return ends[0] - events[0].time, statistics.median(gaps), statistics.mean(gaps)


def ends_of_uploads(events):
    """Of a client that lists in between."""
    return [last.time for verb, _, last in transfers(events) if verb == "STOR"]


def confirmations(events):
    """Of a client that does nothing but upload, but may send commands ahead of replies."""
    return [event.time for event in events if event.what == "<" and event.text.startswith("226 ")]


def upload_far(bench, conversation):
    count = 20 if bench.quick else 100
    goals = {"vsftpd": 215}
    with tempfile.TemporaryDirectory() as folder:
        files = make_files(folder, count, SMALL)
        names = [path.replace(" ", "\\ ") for path in files]
        for make in bench.makes("vsftpd", "pure-ftpd", "proftpd", "pyftpdlib"):
            with served(make) as (root, login):
                mark = None

                def begin():
                    nonlocal mark
                    conversation.wait_for_quiet(0.3)
                    mark = conversation.mark()

                def finish(ends_of):
                    conversation.wait_for_quiet(0.3)
                    events = conversation.since(mark)
                    take_away(root)
                    return (*first_and_further(events, ends_of(events)), events)

                def ours():
                    nonlocal cpu
                    begin()
                    with Window(bench.desktop, bench.program, settings_of(login, FAR), files) as window:
                        usage = measured(window, lambda: None, lambda: conversation.wait_for(mark, count, "STOR"))
                        cpu = usage
                        return finish(ends_of_uploads)

                def theirs(command):
                    begin()
                    run(command)
                    return finish(confirmations)

                def other(command):
                    try:
                        return theirs(command)
                    except RuntimeError:  # Not every client gets on with every server in every mode.
                        finish(confirmations)
                        return None

                cpu = None
                results = {"ours": [], "curl": []}
                for _ in range(1 if bench.quick else min(bench.runs, 3)):
                    results["ours"].append(ours())
                    results["curl"].append(theirs(Curl(login, FAR).upload(files)))
                others = {
                    "lftp sync": other(Lftp(login, FAR, sync=True).upload(names)),
                    "lftp no sync": other(Lftp(login, FAR, sync=False).upload(names)),
                }
                yield from _upload_rows(make, count, results, others, goals.get(make, 165), cpu)


def _upload_rows(make, count, results, others, goal, cpu):
    def each(name, index):
        return [result[index] * 1000 for result in results[name]]

    def of_others(index):
        texts = {name: f"{result[index] * 1000:.0f}" if result else "fails" for name, result in others.items()}
        return ", ".join(f"{name} {text}" for name, text in texts.items())

    events = results["ours"][-1][3]
    uploads = parts(events, "STOR")
    first = of_counts(counts(uploads[0]))
    further = [counts(part)["commands"] for part in uploads[1:]]
    yield Row(
        f"{count} files of 4 KiB at 50 ms: each further", make,
        f"{spread(each('ours', 1), '{:.0f}')} ms, mean {median(each('ours', 2), '{:.0f}')}",
        f"≤ {goal} ms, ratio ≤ 0.85", curl=median(each("curl", 1), "{:.0f}") + " ms",
        ratio=paired(each("ours", 1), each("curl", 1)), others=of_others(1), cpu=f"{cpu.cpu:.2f}",
        peak=f"{cpu.peak:.0f}", commands=f"{statistics.mean(further):.1f}",
        trips=f"{results['ours'][-1][1] / ROUND_TRIP:.1f}",
        connections=f"{counts(events)['control']} control in all",
    )  # fmt: skip
    yield Row(
        "… the first, connection and login included", make, spread(each("ours", 0), "{:.0f}") + " ms", "≤ 320 ms",
        curl=median(each("curl", 0), "{:.0f}") + " ms", ratio=paired(each("ours", 0), each("curl", 0)),
        others=of_others(0), commands=first["commands"],
        trips=f"{results['ours'][-1][0] / ROUND_TRIP:.1f}",
    )  # fmt: skip


def fetch_far(bench, conversation):
    places = bench.places()
    for make in bench.makes("vsftpd", "pure-ftpd", "proftpd", "pyftpdlib"):
        with served(make) as (root, login), tempfile.TemporaryDirectory() as folder:
            make_files(root, 1, SMALL, "small")
            mark = conversation.mark()
            with Window(bench.desktop, bench.program, settings_of(login, FAR)) as window:
                window.settle(conversation, mark)
                acts = {
                    "LIST": lambda: window.key("F5"),
                    "RETR": lambda: window.double_click(places["row"]),
                }
                commands = {
                    "LIST": Curl(login, FAR).list(times=2),
                    "RETR": Curl(login, FAR).download(["small", "small"], folder),
                }
                for verb, what in (("RETR", "download"), ("LIST", "listing")):
                    ours, curl, events = [], [], []
                    for _ in range(3 if bench.quick else bench.runs):
                        conversation.wait_for_quiet(0.6)  # Two clicks in short succession are taken for more.
                        mark = conversation.mark()
                        acts[verb]()
                        end = conversation.wait_for(mark, 1, verb)
                        events = conversation.since(mark)
                        ours.append((end - events[0].time) * 1000)
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
