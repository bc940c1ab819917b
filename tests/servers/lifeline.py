"""What ties the helper servers to the test that started them.

A helper talks to its test in lines: it prints events as JSON, one per line, and reads requests from stdin. It lives
exactly as long as its stdin: when the test ends, however it ends, stdin closes and the helper stops. SIGTERM stops it too.
"""

import asyncio
import contextlib
import json
import os
import queue
import signal
import sys
import threading
import time


class Reporter:
    """Prints lines from a thread of its own, so that a test that does not read for a while never holds a server up."""

    def __init__(self):
        self._started = time.monotonic()
        self._lines = queue.SimpleQueue()
        self._thread = threading.Thread(target=self._print, daemon=True)
        self._thread.start()

    def line(self, text):
        self._lines.put(text)

    def event(self, name, /, **fields):
        """Reports something that happened; "ms" is the time since the start."""
        milliseconds = round((time.monotonic() - self._started) * 1000, 3)
        self.line(json.dumps({"event": name, "ms": milliseconds, **fields}))

    def finish(self):
        """Waits, not for long, until everything is printed."""
        self._lines.put(None)
        self._thread.join(timeout=2)

    def _print(self):
        while (text := self._lines.get()) is not None:
            try:
                os.write(sys.stdout.fileno(), text.encode() + b"\n")
            except BrokenPipeError:
                return


class Lifeline:
    """Tells when to stop. Made first of all, inside the running loop, so that no signal finds the helper unprepared."""

    def __init__(self):
        self._loop = asyncio.get_running_loop()
        self._released = asyncio.Event()
        for number in (signal.SIGTERM, signal.SIGINT):
            self._loop.add_signal_handler(number, self._released.set)

    async def held(self, on_line):
        """Hands every line of stdin to on_line, and returns when stdin closes or a signal comes."""
        threading.Thread(target=self._receive, args=(on_line,), daemon=True).start()
        await self._released.wait()

    def _receive(self, on_line):
        pending = b""
        with contextlib.suppress(RuntimeError):  # The loop has ended already.
            with contextlib.suppress(ConnectionResetError):  # A socket ends so when our last lines were not read.
                while chunk := os.read(sys.stdin.fileno(), 65536):
                    *lines, pending = (pending + chunk).split(b"\n")
                    for line in lines:
                        self._loop.call_soon_threadsafe(on_line, line)
            self._loop.call_soon_threadsafe(self._released.set)
