"""What processes use, asked of the kernel."""

import collections
import glob
import os
import re
import subprocess
import time

# Seconds on the wall and on processors, and the most memory in MiB.
Usage = collections.namedtuple("Usage", "wall cpu peak")


def wake_ups(pid):
    """How often the kernel has put threads of the process to work that had nothing to do."""
    count = 0
    for task in os.listdir(f"/proc/{pid}/task"):
        with open(f"/proc/{pid}/task/{task}/status", encoding="ascii") as status:
            count += int(re.search(r"^voluntary_ctxt_switches:\s*(\d+)", status.read(), re.MULTILINE)[1])
    return count


def cpu_seconds(pid):
    """What the process's present threads have spent, to the nanosecond."""
    spent = 0
    for path in glob.glob(f"/proc/{pid}/task/*/schedstat"):
        try:
            with open(path, encoding="ascii") as file:
                spent += int(file.read().split()[0])
        except FileNotFoundError:
            pass
    return spent / 1e9


def memory(pid, field="Pss"):
    """In MiB: "Pss" its proportional share, "Rss" what it has in memory."""
    with open(f"/proc/{pid}/smaps_rollup", encoding="ascii") as file:
        return int(re.search(rf"^{field}: +(\d+) kB", file.read(), re.M)[1]) / 1024


def peak_memory(pid):
    """The most it has had in memory since forget_peak_memory(), in MiB."""
    with open(f"/proc/{pid}/status", encoding="ascii") as file:
        return int(re.search(r"^VmHWM:\s+(\d+) kB", file.read(), re.M)[1]) / 1024


def forget_peak_memory(pid):
    with open(f"/proc/{pid}/clear_refs", "w", encoding="ascii") as file:
        file.write("5")


def wait_for_calm(pid, seconds=60, calm=0.3, slice_seconds=0.005):
    """Waits until the process has done next to nothing for a while; answers when it last was busy: the end of the last
    slice of time of which it used more than a fifth, or None when it was not busy at all."""
    end = time.monotonic() + seconds
    start = time.monotonic()
    spent, moment = cpu_seconds(pid), start
    last_busy = None
    while moment < end:
        time.sleep(slice_seconds)
        now = time.monotonic()
        spent_now = cpu_seconds(pid)
        if spent_now - spent > (now - moment) / 5:
            last_busy = now
        if now - (last_busy or start) > calm:
            return last_busy
        spent, moment = spent_now, now
    raise RuntimeError(f"the program is still busy after {seconds} s")


def run(command, stdin=None, stdout=subprocess.DEVNULL):
    """Runs a command to its end."""
    start = time.monotonic()
    with subprocess.Popen(command, stdin=stdin, stdout=stdout, stderr=subprocess.PIPE) as process:
        errors = process.stderr.read()
        _, status, used = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        raise RuntimeError(f"{command[0]}: {errors.decode(errors='replace').strip()}")
    return Usage(time.monotonic() - start, used.ru_utime + used.ru_stime, used.ru_maxrss / 1024)
