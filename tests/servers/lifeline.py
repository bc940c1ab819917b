"""What ties the helper servers to the test that started them.

A helper talks to its test in lines: events go out on stdout as JSON, one per line, and wishes come in on stdin. It lives
exactly as long as its stdin: when the test ends, however it ends, stdin closes and the helper stops. SIGTERM stops it too.
"""

import asyncio
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


async def until_released(on_line):
    """Hands every line of stdin to on_line and returns when stdin closes or SIGTERM comes."""
    loop = asyncio.get_running_loop()
    released = asyncio.Event()
    for number in (signal.SIGTERM, signal.SIGINT):
        loop.add_signal_handler(number, released.set)

    def receive():
        pending = b""
        while chunk := os.read(sys.stdin.fileno(), 65536):
            *lines, pending = (pending + chunk).split(b"\n")
            for line in lines:
                loop.call_soon_threadsafe(on_line, line)
        loop.call_soon_threadsafe(released.set)

    threading.Thread(target=receive, daemon=True).start()
    await released.wait()
