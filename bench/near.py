"""The workloads over loopback."""

import concurrent.futures
import contextlib
import os
import statistics
import subprocess
import tempfile
import time

from benchmark import TOP, build, helper
from clients import Curl, Lftp, Ncftp
from conversation import Conversation, counts, parts, transfers
from table import Row, median, of_counts, paired, spread
from usage import Usage, cpu_seconds, forget_peak_memory, memory, peak_memory, run, wait_for_calm
from window import Window, settings_of

LARGE = 1024**3
SMALL = 4096


@contextlib.contextmanager
def served(make):
    """A server with a folder of its own; gives the folder, the login and what passes."""
    with (
        tempfile.TemporaryDirectory() as root,
        helper("./real_server.py", make, root) as (login, _),
        helper(os.path.join(TOP, "bench", "watch.py"), login["port"]) as (watch, process),
    ):
        yield root, {**login, **watch}, Conversation(process.stdout)


@contextlib.contextmanager
def shown(bench, login, conversation, **settings):
    """Our program, its window settled."""
    mark = conversation.mark()
    with Window(bench.desktop, bench.program, {**settings_of(login), **settings}) as window:
        window.settle(conversation, mark)
        yield window


def make_files(folder, count, size, name="file {:06d}"):
    paths = []
    for number in range(count):
        path = os.path.join(folder, name.format(number))
        with open(path, "wb") as file:
            file.write(os.urandom(size))
        paths.append(path)
    return paths


def take_away(folder):
    for name in os.listdir(folder):
        os.remove(os.path.join(folder, name))


def measured(window, act, end):
    """What the program uses from act() to the moment that end() answers; act() may answer a later beginning."""
    forget_peak_memory(window.pid)
    spent, start = window.cpu(), time.monotonic()
    start = act() or start
    stop = end()
    return Usage(stop - start, window.cpu() - spent, peak_memory(window.pid))


def compare(bench, ours, curl, others):
    """Runs that take turns; answers lists of usages by name. The others run once in three."""
    curl()  # Whoever comes first finds nothing in memory: neither files nor, in a virtual machine, the memory itself.
    results = {"ours": [], "curl": [], **{name: [] for name in others}}
    for number in range(bench.runs):
        results["ours"].append(ours())
        results["curl"].append(curl())
        if number % 3 == 0:
            for name, other in others.items():
                results[name].append(other())
    return results


def row_of(workload, server, to_reach, results, last_counts, **more):
    def each(name, field):
        return [getattr(usage, field) for usage in results[name]]

    others = [f"{name} {median(each(name, 'wall'))} s" for name in results if name not in ("ours", "curl")]
    return Row(
        workload, server, spread(each("ours", "wall")) + " s", to_reach,
        curl=spread(each("curl", "wall")) + " s",
        ratio=paired(each("ours", "wall"), each("curl", "wall")),
        others=", ".join(others),
        cpu=f"{median(each('ours', 'cpu'))} / {median(each('curl', 'cpu'))}",
        cpu_ratio=paired(each("ours", "cpu"), each("curl", "cpu")),
        peak=f"{max(each('ours', 'peak')):.0f}",
        **of_counts(last_counts),
        **more,
    )  # fmt: skip


def check_size(path, size):
    if os.path.getsize(path) != size:
        raise RuntimeError(f"{path} is not whole")


def longest_stall(window, busy):
    times = window.answers_while(busy)
    return f"longest wait for the loop {max(times) * 1000:.1f} ms in {len(times)} questions"


def until(conversation, mark, verb):
    """A condition: whether no such transfer has been confirmed since the mark."""
    return lambda: not any(done == verb for done, _, _ in transfers(conversation.since(mark)))


def upload_large(bench):
    large = bench.large_file()
    for make in bench.makes("vsftpd", "pure-ftpd"):
        with served(make) as (root, login, conversation), shown(bench, login, conversation) as window:
            arrived = os.path.join(root, os.path.basename(large))

            def ours():
                nonlocal last
                mark = conversation.mark()
                usage = measured(
                    window, lambda: window.open([large]), lambda: conversation.wait_for(mark, 1, "STOR")
                )
                conversation.wait_for(mark, 1, "LIST")
                last = counts(conversation.since(mark))
                finish()
                return usage

            def finish():
                check_size(arrived, LARGE)
                os.remove(arrived)

            def theirs(client):
                usage = run(client.upload([large]))
                finish()
                return usage

            last, before = None, memory(window.pid, "Rss")
            lftp = {"lftp": lambda: theirs(Lftp(login))}
            results = compare(bench, ours, lambda: theirs(Curl(login)), lftp)
            mark = conversation.mark()
            window.open([large])
            stall = longest_stall(window, until(conversation, mark, "STOR"))
            growth = max(usage.peak for usage in results["ours"]) - before
            yield row_of("upload 1 GiB", make, "ratio ≤ 1.05, CPU ≤ 1.2", results, last)
            yield Row("… loop, memory", make, stall, "≤ 20 ms", peak=f"+{growth:.1f}")


def download_large(bench):
    places = bench.places()
    for make in bench.makes("vsftpd", "pure-ftpd"):
        with served(make) as (root, login, conversation):
            os.link(bench.large_file(), os.path.join(root, "large"))
            os.chmod(bench.large_file(), 0o644)
            with shown(bench, login, conversation) as window, tempfile.TemporaryDirectory() as folder:

                def ours():
                    nonlocal last
                    mark = conversation.mark()
                    usage = measured(window, lambda: start(mark), lambda: conversation.wait_for(mark, 1, "RETR"))
                    last = counts(conversation.since(mark))
                    finish(window.downloads)
                    return usage

                def start(mark):
                    window.double_click(places["row"])
                    while not conversation.since(mark):
                        time.sleep(0.001)
                    return conversation.since(mark)[0].time

                def finish(place):
                    wait_for_calm(window.pid, calm=0.1)
                    for name in os.listdir(place):
                        check_size(os.path.join(place, name), LARGE)
                    take_away(place)

                def theirs(client):
                    usage = run(client.download(["large"], folder))
                    finish(folder)
                    return usage

                last, before = None, memory(window.pid, "Rss")
                lftp = {"lftp": lambda: theirs(Lftp(login))}
                results = compare(bench, ours, lambda: theirs(Curl(login)), lftp)
                mark = conversation.mark()
                start(mark)
                stall = longest_stall(window, until(conversation, mark, "RETR"))
                growth = max(usage.peak for usage in results["ours"]) - before
                yield row_of("download 1 GiB", make, "ratio ≤ 1.05, CPU ≤ 1.2", results, last)
                yield Row("… loop, memory", make, stall, "≤ 20 ms", peak=f"+{growth:.1f}")


def upload_many(bench):
    count = 1000
    with tempfile.TemporaryDirectory() as folder:
        files = make_files(folder, count, SMALL)
        names = [path.replace(" ", "\\ ") for path in files]
        for make in bench.makes("vsftpd", "pure-ftpd"):
            with served(make) as (root, login, conversation), shown(bench, login, conversation) as window:

                def ours():
                    nonlocal events
                    mark = conversation.mark()
                    usage = measured(
                        window, lambda: window.open(files), lambda: conversation.wait_for(mark, count, "STOR")
                    )
                    conversation.wait_for_quiet(0.5)
                    events = conversation.since(mark)
                    finish()
                    return usage

                def finish():
                    for path in files:
                        check_size(os.path.join(root, os.path.basename(path)), SMALL)
                    take_away(root)

                def theirs(command):
                    usage = run(command)
                    finish()
                    return usage

                events = []
                others = {
                    "lftp": lambda: theirs(Lftp(login).upload(names)),
                    "ncftp": lambda: theirs(Ncftp(login).upload(files)),
                }
                results = compare(bench, ours, lambda: theirs(Curl(login).upload(files)), others)
                yield row_of("1,000 files of 4 KiB", make, "≤ 10.5 s", results, counts(events))
                yield from _shares(make, events)


def _shares(make, events):
    done = transfers(events)
    uploads = [(first, last) for verb, first, last in done if verb == "STOR"]
    lists = [(first, last) for verb, first, last in done if verb == "LIST"]
    commands = [counts(part)["commands"] for part in parts(events, "STOR")[1:]]
    gaps = [later[0].time - earlier[0].time for earlier, later in zip(uploads, uploads[1:])]
    yield Row(
        "… the uploads", make,
        f"{statistics.mean(gaps) * 1000:.2f} ms a file, longest {max(gaps) * 1000:.1f}", "10 ms, EPSV and STOR alone",
        commands=f"{statistics.mean(commands):.2f} a file",
    )  # fmt: skip
    busy = sum(last.time - first.time for first, last in lists)
    yield Row(
        "… the listings between", make, f"{len(lists)}, under way {busy:.2f} s in all", "one after each upload",
    )  # fmt: skip


def list_large(bench):
    count = 100_000
    places = bench.places()
    for make in bench.makes("vsftpd", "proftpd"):
        with served(make) as (root, login, conversation), shown(bench, login, conversation) as window:
            before = memory(window.pid)
            # In no order that sorting would like.
            for number in range(count):
                with open(os.path.join(root, f"file {number * 7919 % count:06d} report.txt"), "wb"):
                    pass

            def ours():
                nonlocal last
                mark = conversation.mark()
                usage = measured(window, lambda: window.key("F5"), lambda: listed(mark))
                last = counts(conversation.since(mark))
                return usage

            def listed(mark):
                confirmed = conversation.wait_for(mark, 1, "LIST")
                return wait_for_calm(window.pid) or confirmed

            def curl():
                first = run(Curl(login).list())
                start = time.monotonic()
                with subprocess.Popen(Curl(login).list(), stdout=subprocess.PIPE) as source:
                    subprocess.run(["sort"], stdin=source.stdout, stdout=subprocess.DEVNULL, check=True)
                return Usage(time.monotonic() - start, first.cpu, 0)

            last = None
            results = compare(bench, ours, curl, {})
            after = memory(window.pid)
            walls = {name: [usage.wall for usage in usages] for name, usages in results.items()}
            excess = statistics.median(our - 1.3 * their for our, their in zip(walls["ours"], walls["curl"]))
            row = row_of("listing 100,000 entries (curl \\| sort)", make, "≤ 1.3 curl + 0.2 s", results, last)
            row.ours += f"; 1.3 curl {excess:+.2f} s"
            yield row
            yield Row("… memory for it", make, f"{after - before:.0f} MiB", "< 60 MiB", peak=row.peak)
            times = {}
            for title, place in zip(("name", "size", "type", "date", "mode"), places["titles"]):
                wait_for_calm(window.pid)
                with concurrent.futures.ThreadPoolExecutor() as pool:
                    start = time.monotonic()
                    calm = pool.submit(wait_for_calm, window.pid)
                    window.click(place)
                    times[title] = ((calm.result() or start) - start) * 1000
            text = ", ".join(f"{title} {spent:.0f}" for title, spent in times.items())
            yield Row("… sorted by a click on a title", make, text + " ms", "< 300 ms")


def drop_many(bench):
    count = 100_000
    make = bench.makes("vsftpd")[0]
    with tempfile.TemporaryDirectory() as folder, served(make) as (_, login, conversation):
        paths = make_files(folder, count, 0)
        accepted, growth, tick, stalls = [], [], [], []
        for _ in range(min(bench.runs, 3)):
            with shown(bench, login, conversation) as window:
                before = memory(window.pid, "Rss")
                accepted.append(window.seconds_to_accept(paths))
                time.sleep(1)
                mark, spent, start = conversation.mark(), window.cpu(), time.monotonic()
                times = window.answers_while(lambda begun=start: time.monotonic() - begun < 3)
                sent = len([verb for verb, _, _ in transfers(conversation.since(mark)) if verb == "STOR"])
                tick.append((window.cpu() - spent) / max(sent, 1) * 1000)
                stalls.append(max(times) * 1000)
                growth.append(peak_memory(window.pid) - before)
        yield Row(
            "100,000 files opened at once", make, f"accepted in {spread(accepted)} s", "< 1 s",
            peak=f"+{max(growth):.0f}",
        )  # fmt: skip
        yield Row(
            "… afterwards", make,
            f"{median(tick)} ms of CPU a file, its upload and listing included; loop waits {max(stalls):.1f} ms at most",
            "tick < 1 ms, < 180 MiB more",
        )  # fmt: skip


def idle(bench):
    seconds = 30 if bench.quick else 300
    with served("pyftpdlib") as (_, login, conversation), shown(bench, login, conversation) as window:
        # At the same time, since what waking up costs depends on what else the machine does.
        others = [bench.desktop.spawn([build(name)]) for name in ("EmptyTimer", "BareTimer")]
        time.sleep(2)
        pids = [window.pid, *(other.pid for other in others)]
        spent = [cpu_seconds(pid) for pid in pids]
        time.sleep(seconds)
        ours, empty, bare = [(cpu_seconds(pid) - before) / seconds * 100 for pid, before in zip(pids, spent)]
        for other in others:
            bench.desktop.end(other)
    yield Row(
        f"idle window, {seconds} s", "", f"{ours:.2f} % of a core", "< 0.4 %",
        others=f"window with an empty timer {empty:.2f} %, a timer without a toolkit {bare:.2f} %",
    )  # fmt: skip


def start(bench):
    times, shares = [], []
    with served("pyftpdlib") as (_, login, conversation):
        for _ in range(max(bench.runs, 3) + 1):
            with shown(bench, login, conversation) as window:
                times.append(window.mapped - window.started)
                shares.append(memory(window.pid))
    warm = times[1:]
    yield Row("start to window shown", "", spread(warm) + " s", "< 0.2 s", peak=f"PSS {max(shares):.0f} (< 45)")
