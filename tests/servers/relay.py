#!/usr/bin/python3
"""Stands between an FTP client and a server on this machine, counts what passes, and can make the way longer:
relay.py SERVER-PORT [--rtt MILLISECONDS]

"port N" is printed first: clients connect there. When stdin closes, on SIGTERM, or when its parent ends, one line of
JSON tells what has passed, and the relay ends: {"control": connections, "data": connections, "commands": [verbs, in
order, of all connections]}. The replies to EPSV and PASV are rewritten, so that data passes through the relay too.

What a round-trip time (none, unless said) means, as on a link without limits of bandwidth:
- Every byte, and the end of a stream, arrives half a round trip after it was sent.
- The server sees a new connection after one and a half round trips, as at the end of TCP's handshake; what the client
  sends arrives no earlier than that, and a greeting reaches the client two round trips after its connect.
What no relay can do is to hold back the client's connect(), which succeeds at once: a client that sends nothing else
while it waits for a connection gets that round trip for nothing. bench/link.py is a link that has this too.
"""

import argparse
import asyncio
import json
import re
import socket

from process_lifetime import stop_when_released

EXTENDED_PASSIVE = re.compile(rb"(229[ -].*\(\|\|\|)(\d+)(\|\).*)", re.DOTALL)
PASSIVE = re.compile(rb"(227[ -]\D*)(\d+,\d+,\d+,\d+),(\d+),(\d+)(.*)", re.DOTALL)
BLOCK = 65536
BLOCKS_UNDER_WAY = 256  # Enough for a long fast link; then the sender has to wait.


class Relay:
    def __init__(self, server_port, round_trip):
        self._server_port = server_port
        self._round_trip = round_trip
        self.counts = {"control": 0, "data": 0, "commands": []}

    async def listen(self):
        """Accepts control connections from now on; answers the port."""
        listener = await asyncio.start_server(self._control_connection, "127.0.0.1", 0)
        return listener.sockets[0].getsockname()[1]

    async def _control_connection(self, reader, writer):
        self.counts["control"] += 1
        listeners = []
        try:
            await self._connect_through(reader, writer, self._server_port, self._command, self._reply, listeners)
        finally:
            for listener in listeners:
                listener.close()

    async def _connect_through(self, reader, writer, port, from_client, from_server, listeners):
        """Carries one connection on to the server's port until both sides have ended it."""
        half = self._round_trip / 2
        established = asyncio.get_running_loop().time() + self._round_trip
        to_server = asyncio.Queue(BLOCKS_UNDER_WAY)
        to_client = asyncio.Queue(BLOCKS_UNDER_WAY)
        # The client may send while the server does not know of it.
        tasks = [asyncio.create_task(self._receive(reader, to_server, established, from_client, listeners))]
        ends = [writer]
        try:
            await asyncio.sleep(self._round_trip + half)
            server_reader, server_writer = await asyncio.open_connection("127.0.0.1", port)
            ends.append(server_writer)
            for end in ends:
                end.get_extra_info("socket").setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            tasks += [
                asyncio.create_task(self._deliver(to_server, server_writer)),
                asyncio.create_task(self._receive(server_reader, to_client, 0, from_server, listeners)),
                asyncio.create_task(self._deliver(to_client, writer)),
            ]
            await asyncio.gather(*tasks)
        except OSError:  # One side has refused or reset the connection: to the other it is reset.
            for end in ends:
                end.transport.abort()
        finally:
            for task in tasks:
                task.cancel()
            for end in ends:
                end.close()

    async def _receive(self, reader, under_way, earliest, look_at, listeners):
        """Takes what is sent, up to its end. `look_at` sees every line, if anybody does, and answers what goes on."""
        loop = asyncio.get_running_loop()
        while True:
            block = await (reader.readline() if look_at else reader.read(BLOCK))
            arrival = max(loop.time(), earliest) + self._round_trip / 2
            if block and look_at:
                block = await look_at(block, listeners)
            await under_way.put((arrival, block))
            if not block:
                return

    async def _deliver(self, under_way, writer):
        """Hands on what is under way when its time has come; an empty block is the end."""
        loop = asyncio.get_running_loop()
        while True:
            arrival, block = await under_way.get()
            await asyncio.sleep(arrival - loop.time())
            if not block:
                writer.write_eof()
                return
            writer.write(block)
            await writer.drain()

    async def _command(self, line, _):
        self.counts["commands"].append(line.split(b" ")[0].strip().decode("ascii", "replace").upper())
        return line

    async def _reply(self, line, listeners):
        if match := EXTENDED_PASSIVE.fullmatch(line):
            port = await self._data_listener(int(match[2]), listeners)
            return b"%b%d%b" % (match[1], port, match[3])
        if match := PASSIVE.fullmatch(line):
            port = await self._data_listener(int(match[3]) * 256 + int(match[4]), listeners)
            return b"%b127,0,0,1,%d,%d%b" % (match[1], port // 256, port % 256, match[5])
        return line

    async def _data_listener(self, port, listeners):
        """Accepts one connection for the server's port; answers the port where."""

        async def data_connection(reader, writer):
            listener.close()
            self.counts["data"] += 1
            await self._connect_through(reader, writer, port, None, None, [])

        listener = await asyncio.start_server(data_connection, "127.0.0.1", 0)
        listeners.append(listener)
        return listener.sockets[0].getsockname()[1]


async def carry():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("server_port", type=int)
    parser.add_argument("--rtt", type=float, default=0, metavar="MILLISECONDS")
    arguments = parser.parse_args()

    loop = asyncio.get_running_loop()
    released = asyncio.Event()
    stop_when_released(lambda: loop.call_soon_threadsafe(released.set))
    relay = Relay(arguments.server_port, arguments.rtt / 1000)
    print(f"port {await relay.listen()}", flush=True)
    await released.wait()
    print(json.dumps(relay.counts), flush=True)


def main():
    asyncio.run(carry())


if __name__ == "__main__":
    main()
