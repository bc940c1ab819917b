"""The workloads over loopback. What our program does in each is a scene of its own, which bench/compare plays, too."""

import collections
import concurrent.futures
import contextlib
import functools
import os
import statistics
import subprocess
import tempfile
import time

from benchmark import TOP, build, helper
from clients import Curl, Lftp, Ncftp
from conversation import Conversation, counts, parts, transfers
from table import Row, interval, median, of_counts, paired, spread
from usage import Usage, cpu_seconds, forget_peak_memory, memory, peak_memory, run, wait_for_calm, wake_ups
from window import Window, settings_of

LARGE = 1024**3
HUGE = 4 * LARGE
SMALL = 4096

# A server with its login and what passes there, and what our program does with it. turn(bench, window) plays it once in a
# window at rest and answers its usage and the events; finish() checks what has arrived elsewhere, and takes it away.
Scene = collections.namedtuple("Scene", "login conversation turn finish files", defaults=[None, None])


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
def shown(bench, login, conversation, address="127.0.0.1"):
    """Our program, its window settled."""
    mark = conversation.mark()
    with Window(bench.desktop, bench.program, settings_of(login, address)) as window:
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


def compare(bench, scene, window, curl, others, once_in=3, runs=None):
    """Runs that take turns; answers lists of usages by name, and the events of our last run. The others run once in so
    many turns."""
    curl()  # The first to run finds nothing in memory: neither files nor, in a virtual machine, the memory itself.
    results = {"ours": [], "curl": [], **{name: [] for name in others}}
    events = []
    for number in range(runs or bench.runs):
        usage, events = scene.turn(bench, window)
        results["ours"].append(usage)
        results["curl"].append(curl())
        if number % once_in == 0:
            for name, other in others.items():
                results[name].append(other())
    return results, events


def row_of(workload, server, to_reach, results, events):
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
        **of_counts(counts(events)),
    )  # fmt: skip


def check_size(path, size):
    if not os.path.exists(path) or os.path.getsize(path) != size:
        raise RuntimeError(f"{path} has not arrived as a whole")


def longest_stall(window, busy):
    times = window.answers_while(busy)
    return f"longest wait for the loop {max(times) * 1000:.1f} ms in {len(times)} questions"


def until(conversation, mark, verb):
    """A condition: whether no such transfer has been confirmed since the mark."""
    return lambda: not any(done == verb for done, _, _ in transfers(conversation.since(mark)))


def memory_row(bench, make, scene, window, start, verb, results, before):
    """What the loop waits while one more transfer runs, and how much memory the runs before have taken."""
    mark = scene.conversation.mark()
    start()
    stall = longest_stall(window, until(scene.conversation, mark, verb))
    growth = max(usage.peak for usage in results["ours"]) - before
    return Row("… loop, memory", make, stall, "≤ 20 ms", peak=f"+{growth:.1f}")


@contextlib.contextmanager
def large_upload(bench, make, size=LARGE):
    large = bench.large_file(size)
    with served(make) as (root, login, conversation):
        arrived = os.path.join(root, os.path.basename(large))

        def turn(_, window):
            mark = conversation.mark()
            usage = measured(window, lambda: window.open([large]), lambda: conversation.wait_for(mark, 1, "STOR"))
            conversation.wait_for(mark, 1, "LIST")
            finish()
            return usage, conversation.since(mark)

        def finish():
            check_size(arrived, size)
            os.remove(arrived)

        yield Scene(login, conversation, turn, finish)


def upload_large(bench):
    large = bench.large_file()
    for make in bench.makes("vsftpd", "pure-ftpd"):
        with large_upload(bench, make) as scene, shown(bench, scene.login, scene.conversation) as window:

            def theirs(client):
                usage = run(client.upload([large]))
                scene.finish()
                return usage

            before = memory(window.pid, "Rss")
            lftp = {"lftp": lambda: theirs(Lftp(scene.login))}
            results, events = compare(bench, scene, window, lambda: theirs(Curl(scene.login)), lftp)
            yield row_of("upload 1 GiB", make, "ratio ≤ 1.05, CPU ≤ 1.2", results, events)
            yield memory_row(bench, make, scene, window, lambda: window.open([large]), "STOR", results, before)


@contextlib.contextmanager
def large_download(bench, make, size=LARGE):
    with served(make) as (root, login, conversation):
        os.link(bench.large_file(size), os.path.join(root, "large"))
        os.chmod(bench.large_file(size), 0o644)

        def turn(bench, window):
            mark = conversation.mark()
            usage = measured(
                window,
                lambda: start_download(bench, window, conversation),
                lambda: conversation.wait_for(mark, 1, "RETR"),
            )
            events = conversation.since(mark)
            wait_for_calm(window.pid, calm=0.1)
            finish(window.downloads)
            return usage, events

        def finish(place):
            for name in os.listdir(place):
                check_size(os.path.join(place, name), size)
            take_away(place)

        yield Scene(login, conversation, turn, finish)


def start_download(bench, window, conversation):
    """Answers when the program has begun with it."""
    mark = conversation.mark()
    window.double_click(bench.places()["row"])
    while not conversation.since(mark):
        time.sleep(0.001)
    return conversation.since(mark)[0].time


def download_large(bench):
    bench.places()
    for make in bench.makes("vsftpd", "pure-ftpd"):
        with (
            large_download(bench, make) as scene,
            shown(bench, scene.login, scene.conversation) as window,
            tempfile.TemporaryDirectory() as folder,
        ):

            def theirs(client):
                usage = run(client.download(["large"], folder))
                scene.finish(folder)
                return usage

            before = memory(window.pid, "Rss")
            lftp = {"lftp": lambda: theirs(Lftp(scene.login))}
            results, events = compare(bench, scene, window, lambda: theirs(Curl(scene.login)), lftp)
            yield row_of("download 1 GiB", make, "ratio ≤ 1.05, CPU ≤ 1.2", results, events)
            start = functools.partial(start_download, bench, window, scene.conversation)
            yield memory_row(bench, make, scene, window, start, "RETR", results, before)


def transfer_huge(bench):
    """Of many pairs: for how large a share of the other's time is there evidence?"""
    bench.places()
    make = bench.makes("vsftpd")[0]
    file = bench.large_file(HUGE)
    with large_upload(bench, make, HUGE) as scene:
        clients = {
            "curl": lambda: _finished(run(Curl(scene.login).upload([file])), scene.finish),
            "lftp": lambda: _finished(run(Lftp(scene.login).upload([file])), scene.finish),
        }
        yield _huge_row(bench, make, "upload", scene, clients)
    with large_download(bench, make, HUGE) as scene, tempfile.TemporaryDirectory() as folder:
        finish = functools.partial(scene.finish, folder)
        clients = {
            "curl": lambda: _finished(run(Curl(scene.login).download(["large"], folder)), finish),
            "lftp": lambda: _finished(run(Lftp(scene.login).download(["large"], folder)), finish),
        }
        yield _huge_row(bench, make, "download", scene, clients)


def _finished(usage, finish):
    finish()
    return usage


def _huge_row(bench, make, what, scene, clients):
    pairs = 3 if bench.quick else 15
    with shown(bench, scene.login, scene.conversation) as window:
        results, _ = compare(bench, scene, window, clients["curl"], {"lftp": clients["lftp"]}, 1, pairs)
    walls = {name: [usage.wall for usage in usages] for name, usages in results.items()}
    cpus = {name: [usage.cpu for usage in usages] for name, usages in results.items()}
    faster = min(clients, key=lambda name: statistics.median(walls[name]))
    return Row(
        f"{what} 4 GiB, {pairs} pairs", make,
        f"{spread(walls['ours'])} s; {interval(walls['ours'], walls[faster])} of {faster}'s time, "
        f"{interval(cpus['ours'], cpus[faster])} of its CPU (90 %)",
        "lower ends ≤ 1.05, ≤ 1.15", others=f"{faster} {spread(walls[faster])} s", cpu=f"{median(cpus['ours'])} / {median(cpus[faster])}",
        ratio=paired(walls["ours"], walls[faster]), cpu_ratio=paired(cpus["ours"], cpus[faster]),
    )  # fmt: skip


@contextlib.contextmanager
def small_uploads(_, make, count=1000, listed=0):
    """listed: so many other files are in the folder already."""
    with tempfile.TemporaryDirectory() as folder, served(make) as (root, login, conversation):
        files = make_files(folder, count, SMALL)
        make_files(root, listed, 0, "other {:06d}")

        def turn(_, window):
            mark = conversation.mark()
            usage = measured(window, lambda: window.open(files), lambda: conversation.wait_for(mark, count, "STOR"))
            conversation.wait_for_quiet(0.5)
            finish()
            return usage, conversation.since(mark)

        def finish():
            for path in files:
                arrived = os.path.join(root, os.path.basename(path))
                check_size(arrived, SMALL)
                os.remove(arrived)

        yield Scene(login, conversation, turn, finish, files)


def upload_many(bench):
    for make in bench.makes("vsftpd", "pure-ftpd"):
        with small_uploads(bench, make) as scene, shown(bench, scene.login, scene.conversation) as window:

            def theirs(command):
                usage = run(command)
                try:
                    scene.finish()
                except RuntimeError as error:
                    raise RuntimeError(f"{command[0]}: {error}") from error
                return usage

            names = [path.replace(" ", "\\ ") for path in scene.files]
            others = {
                "lftp": lambda: theirs(Lftp(scene.login).upload(names)),
                "ncftp": lambda: theirs(Ncftp(scene.login).upload(scene.files)),
            }
            curl = Curl(scene.login).upload(scene.files)
            results, events = compare(bench, scene, window, lambda: theirs(curl), others, once_in=1)
            yield row_of("1,000 files of 4 KiB", make, "", results, events)
            yield _beside("… beside lftp", make, results["ours"], results["lftp"], "≤ 1.3 of its time, ≤ 1.5 of its CPU")
            yield from _shares(make, events)


def upload_more(bench):
    make = bench.makes("vsftpd")[0]
    goals = {0: ("", "≤ 1.3 of lftp's time, ≤ 1.5 of its CPU"), 10_000: (" beside 10,000 others", "≤ 2 of lftp's time")}
    for listed, (where, goal) in goals.items():
        with small_uploads(bench, make, 10_000, listed) as scene, shown(bench, scene.login, scene.conversation) as window:
            command = Lftp(scene.login).upload([os.path.join(os.path.dirname(scene.files[0]), "*")])
            lftp = lambda: _finished(run(command), scene.finish)  # noqa: E731
            results, _ = compare(bench, scene, window, lftp, {}, runs=min(bench.runs, 5))
            yield _beside(f"10,000 files of 4 KiB{where}", make, results["ours"], results["curl"], goal)


def _beside(workload, make, ours, its, to_reach):
    """Of ours and lftp, which have taken turns."""
    wall = paired([usage.wall for usage in ours], [usage.wall for usage in its])
    cpu = paired([usage.cpu for usage in ours], [usage.cpu for usage in its])
    return Row(
        workload, make, f"{spread([usage.wall for usage in ours])} s, **{wall}** of lftp's", to_reach,
        others=f"lftp {spread([usage.wall for usage in its])} s",
        cpu=f"{median([usage.cpu for usage in ours])} / {median([usage.cpu for usage in its])} (lftp)", cpu_ratio=cpu,
    )  # fmt: skip


def _shares(make, events):
    done = transfers(events)
    uploads = [(first, last) for verb, first, last in done if verb == "STOR"]
    lists = [(first, last) for verb, first, last in done if verb == "LIST"]
    commands = [counts(part)["commands"] for part in parts(events, "STOR")[1:]]
    gaps = [later[0].time - earlier[0].time for earlier, later in zip(uploads, uploads[1:])]
    yield Row(
        "… the uploads", make,
        f"{statistics.mean(gaps) * 1000:.2f} ms a file, longest {max(gaps) * 1000:.1f}", "EPSV and STOR alone",
        commands=f"{statistics.mean(commands):.2f} a file",
    )  # fmt: skip
    busy = sum(last.time - first.time for first, last in lists)
    yield Row(
        "… the listings between", make, f"{len(lists)}, under way {busy:.2f} s in all", "≤ a fifth of the time, the last one always",
    )  # fmt: skip


@contextlib.contextmanager
def large_listing(_, make):
    with served(make) as (root, login, conversation):

        def turn(_, window):
            if not os.listdir(root):  # A window that was shown before has an empty list so far.
                fill(root)
            mark = conversation.mark()
            usage = measured(window, lambda: window.press("F5"), lambda: listed(window, mark))
            return usage, conversation.since(mark)

        def listed(window, mark):
            confirmed = conversation.wait_for(mark, 1, "LIST")
            return wait_for_calm(window.pid) or confirmed

        yield Scene(login, conversation, turn)


def fill(root):
    """With files in no order that sorting would like."""
    count = 100_000
    for number in range(count):
        with open(os.path.join(root, f"file {number * 7919 % count:06d} report.txt"), "wb"):
            pass


def list_large(bench):
    places = bench.places()
    for make in bench.makes("vsftpd", "proftpd"):
        with large_listing(bench, make) as scene, shown(bench, scene.login, scene.conversation) as window:

            def curl():
                command = Curl(scene.login).list()
                first = run(command)
                start = time.monotonic()
                with subprocess.Popen(command, stdout=subprocess.PIPE) as source:
                    subprocess.run(["sort"], stdin=source.stdout, stdout=subprocess.DEVNULL, check=True)
                return Usage(time.monotonic() - start, first.cpu, 0)

            before = memory(window.pid)
            results, events = compare(bench, scene, window, curl, {})
            after = memory(window.pid)
            walls = {name: [usage.wall for usage in usages] for name, usages in results.items()}
            excess = statistics.median(our - 1.3 * their for our, their in zip(walls["ours"], walls["curl"]))
            row = row_of("listing 100,000 entries (curl \\| sort)", make, "ratio ≤ 1.25", results, events)
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


@contextlib.contextmanager
def large_drop(_, make):
    """Its usage: the wall until the files are accepted, the processor for each file that is sent in the three seconds
    behind that, the memory more than before. Instead of events the longest wait for the loop in those seconds, by how many
    MiB its proportional share has grown ten seconds after, and how long it takes to accept one file more."""
    with tempfile.TemporaryDirectory() as folder, served(make) as (_, login, conversation):
        paths = make_files(folder, 100_000, 0)

        def turn(_, window):
            before, share = memory(window.pid, "Rss"), memory(window.pid)
            accepted = window.seconds_to_accept(paths)
            end = time.monotonic() + 10
            time.sleep(1)
            mark, spent, start = conversation.mark(), window.cpu(), time.monotonic()
            stalls = window.answers_while(lambda: time.monotonic() - start < 3)
            sent = len([verb for verb, _, _ in transfers(conversation.since(mark)) if verb == "STOR"])
            tick = (window.cpu() - spent) / max(sent, 1)
            peak = peak_memory(window.pid) - before
            time.sleep(end - time.monotonic())
            growth = memory(window.pid) - share
            return Usage(accepted, tick, peak), (max(stalls), growth, window.seconds_to_accept(paths[:1]))

        yield Scene(login, conversation, turn)


def drop_many(bench):
    make = bench.makes("vsftpd")[0]
    usages, stalls, growths, further = [], [], [], []
    with large_drop(bench, make) as scene:
        for _ in range(min(bench.runs, 3)):
            with shown(bench, scene.login, scene.conversation) as window:
                usage, (stall, growth, one_more) = scene.turn(bench, window)
                usages.append(usage)
                stalls.append(stall * 1000)
                growths.append(growth)
                further.append(one_more * 1000)
    yield Row(
        "100,000 files opened at once", make, f"accepted in {spread([usage.wall for usage in usages])} s", "≤ 0.1 s",
        peak=f"+{max(usage.peak for usage in usages):.0f}",
    )  # fmt: skip
    tick = median([usage.cpu * 1000 for usage in usages])
    yield Row(
        "… afterwards", make,
        f"{tick} ms of CPU a file, its upload and listing included; loop waits {max(stalls):.1f} ms at most",
        "tick < 1 ms",
    )  # fmt: skip
    yield Row("… memory for them", make, f"{max(growths):.0f} MiB of PSS after ten seconds", "≤ 60 MiB")
    yield Row("… one file more", make, f"accepted in {max(further):.1f} ms at most", "≤ 20 ms")


@contextlib.contextmanager
def rest(_, make):
    """Nothing happens for half a minute."""
    with served(make) as (_, login, conversation):

        def turn(_, window):
            seconds = 30
            ((spent, _),) = spent_in([window.pid], seconds)
            return Usage(None, spent, memory(window.pid)), []

        yield Scene(login, conversation, turn)


def spent_in(pids, seconds):
    """What each of these processes uses in so many seconds: processor time, and wake-ups of all its threads."""
    before = [(cpu_seconds(pid), wake_ups(pid)) for pid in pids]
    time.sleep(seconds)
    return [(cpu_seconds(pid) - cpu, wake_ups(pid) - count) for pid, (cpu, count) in zip(pids, before)]


def idle(bench):
    seconds = 30 if bench.quick else 300
    with rest(bench, "pyftpdlib") as scene, shown(bench, scene.login, scene.conversation) as window:
        # At the same time, since what waking up costs depends on what else the machine does.
        clock = bench.desktop.spawn([build("ClockWindow")])
        time.sleep(5)
        (ours, wakes), (its, its_wakes) = spent_in([window.pid, clock.pid], seconds)
        yield Row(
            f"idle window, {seconds} s", "",
            f"{wakes / seconds:.1f} wake-ups a second, {ours / seconds * 100:.3f} % of a core",
            "≤ 4, ≤ 1.5 of a window with a clock",
            others=f"window with a clock {its_wakes / seconds:.1f}, {its / seconds * 100:.3f} %", cpu_ratio=f"{ours / its:.2f}",
        )  # fmt: skip
        bench.desktop.end(clock)
        window.minimise()
        time.sleep(5)
        ((ours, wakes),) = spent_in([window.pid], seconds)
        yield Row(
            f"minimised window, {seconds} s", "",
            f"{wakes / seconds:.2f} wake-ups a second, {ours / seconds * 100:.4f} % of a core", "≤ 0.2, ≤ 0.01 %",
        )  # fmt: skip


@contextlib.contextmanager
def first_moments(_, make):
    """The wall until the window shows, and the memory once it is at rest."""
    with served(make) as (_, login, conversation):
        yield Scene(
            login,
            conversation,
            lambda _, window: (Usage(window.mapped - window.started, None, memory(window.pid)), []),
        )


def start(bench):
    usages = []
    with first_moments(bench, "pyftpdlib") as scene:
        for _ in range(max(bench.runs, 3) + 1):
            with shown(bench, scene.login, scene.conversation) as window:
                usages.append(scene.turn(bench, window)[0])
    warm = [usage.wall for usage in usages[1:]]
    share = max(usage.peak for usage in usages)
    yield Row("start to window shown", "", spread(warm) + " s", "≤ 0.1 s", peak=f"PSS {share:.0f} (≤ 40)")


SCENES = {
    "upload-large": large_upload,
    "download-large": large_download,
    "upload-many": small_uploads,
    "list-large": large_listing,
    "drop-many": large_drop,
    "idle": rest,
    "start": first_moments,
}


@contextlib.contextmanager
def turns(name, bench, make):
    """What bench/compare repeats: turn(bench) plays a scene in a window of its own and answers figures by their names."""
    with SCENES[name](bench, make) as scene:

        def turn(bench):
            with shown(bench, scene.login, scene.conversation) as window:
                usage, _ = scene.turn(bench, window)
            figures = {"wall s": usage.wall, "CPU s": usage.cpu, "memory MiB": usage.peak}
            return {name: value for name, value in figures.items() if value is not None}

        yield turn
