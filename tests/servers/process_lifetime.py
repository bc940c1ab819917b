"""What ties helper processes to the test that started them, so that none outlives it, however it ends."""

import contextlib
import ctypes
import os
import signal
import sys
import threading

PR_SET_PDEATHSIG = 1
_libc = ctypes.CDLL(None, use_errno=True)


def end_with_parent(number):
    """Answers what a child has to call before it becomes another program, to get signal `number` when we end."""
    parent = os.getpid()

    def tie():
        _libc.prctl(PR_SET_PDEATHSIG, number, 0, 0, 0)
        if os.getppid() != parent:  # It ended before the tie was made.
            os.kill(os.getpid(), number)

    return tie


def stop_when_released(stop):
    """Calls `stop` once or more, from a thread or a signal handler, when stdin closes, SIGTERM or SIGINT comes, or our parent ends."""
    for number in (signal.SIGTERM, signal.SIGINT):
        signal.signal(number, lambda *_: stop())
    _libc.prctl(PR_SET_PDEATHSIG, signal.SIGTERM, 0, 0, 0)

    def watch():
        with contextlib.suppress(ConnectionResetError):  # A socket ends so when our last lines were not read.
            while os.read(sys.stdin.fileno(), 4096):
                pass
        stop()

    threading.Thread(target=watch, daemon=True).start()
