#!/usr/bin/python3
"""Listens in on the control connections to a server on this machine:  watch.py SERVER-PORT

"port N" is printed first: clients connect there. Data connections go to the server itself, since replies pass as they
are; so that large files are moved as without it. Then one line for everything that passes: the monotonic time, the
connection's number, what it is (as in conversation.py) and its text. Ends when stdin closes, or with its parent.
"""

import asyncio
import os
import socket
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "servers"))

from process_lifetime import stop_when_released  # noqa: E402


def tell(connection, kind, text=""):
    print(f"{time.monotonic():.6f} {connection} {kind} {text}", flush=True)


class Side(asyncio.Protocol):
    """One end of a connection, whose lines go on to the other."""

    def __init__(self, number, kind):
        self._number = number
        self._kind = kind
        self._rest = b""
        self._early = []
        self.transport = None
        self.other = None

    def connection_made(self, transport):
        self.transport = transport
        transport.get_extra_info("socket").setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        for data in self._early:
            transport.write(data)

    def send(self, data):
        if self.transport is None:
            self._early.append(data)
        else:
            self.transport.write(data)

    def data_received(self, data):
        self.other.send(data)
        *lines, self._rest = (self._rest + data).split(b"\n")
        for line in lines:
            tell(self._number, self._kind, line.strip().decode(errors="replace"))

    def connection_lost(self, _):
        if self.other.transport is not None:
            self.other.transport.close()


async def main():
    server_port = int(sys.argv[1])
    loop = asyncio.get_running_loop()
    released = asyncio.Event()
    count = 0
    tasks = set()

    def accept():
        nonlocal count
        count += 1
        tell(count, "+")
        client, server = Side(count, ">"), Side(count, "<")
        client.other, server.other = server, client
        task = loop.create_task(loop.create_connection(lambda: server, "127.0.0.1", server_port))
        tasks.add(task)
        task.add_done_callback(tasks.discard)
        return client

    listener = await loop.create_server(accept, "127.0.0.1", 0)
    stop_when_released(lambda: loop.call_soon_threadsafe(released.set))
    print(f"port {listener.sockets[0].getsockname()[1]}", flush=True)
    await released.wait()


if __name__ == "__main__":
    asyncio.run(main())
