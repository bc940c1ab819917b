#!/usr/bin/python3
"""A link with a round-trip time between this machine and itself:  link.py MILLISECONDS [--watch]

What is sent to 10.99.0.2 comes back to 10.99.0.1, from 10.99.0.2, half a round trip later: a server that listens on
10.99.0.1 is reached at 10.99.0.2, over a way as long as it would be in the world, handshakes included. It is a TUN
device whose packets get their addresses swapped; checksums stay right by that.

Needs a network namespace in which it may make devices (unshare -rn). Prints "up" when packets pass, and ends when stdin
closes. With --watch it then tells of every FTP control connection that it carries: a line for each thing that passes, as
conversation.py reads them, at the time at which it passes the client's end.
"""

import collections
import fcntl
import os
import select
import socket
import struct
import subprocess
import sys
import time

NAME = "link0"
TUNSETIFF = 0x400454CA
IFF_TUN_NO_PI = 0x1001
LARGEST_PACKET = 65536
SYN, ACK = 0x02, 0x10
SERVERS_FIRST = (b"220", b"120")
CLIENTS_FIRST = (b"USER ", b"FEAT")  # Of those that do not wait for the greeting.


def make_device():
    device = os.open("/dev/net/tun", os.O_RDWR)
    fcntl.ioctl(device, TUNSETIFF, struct.pack("16sH22x", NAME.encode(), IFF_TUN_NO_PI))
    for command in (
        ["ip", "link", "set", "lo", "up"],
        ["ip", "address", "add", "10.99.0.1/24", "dev", NAME],
        ["ip", "link", "set", NAME, "txqueuelen", "10000", "up"],
        ["ip", "route", "add", "default", "via", "10.99.0.2"],  # Programs ask whether there is a way to anywhere.
    ):
        subprocess.run(command, check=True)
    return device


def swapped(packet):
    return packet[:12] + packet[16:20] + packet[12:16] + packet[20:]


class Listener:
    """Reads along on TCP. Control connections are those that begin as such; all others carry data."""

    def __init__(self):
        self._flows = {}  # By the ports of client and server.
        self._count = 0

    def is_from_server(self, packet):
        ports = struct.unpack_from("!HH", packet, (packet[0] & 15) * 4)
        return (ports[1], ports[0]) in self._flows

    def passes(self, packet):
        """Sees a packet at the client's end, as it is before its addresses are swapped or after."""
        header = (packet[0] & 15) * 4
        if packet[9] != socket.IPPROTO_TCP:
            return
        source, target, sequence, _, offset, flags = struct.unpack_from("!HHIIBB", packet, header)
        payload = packet[header + (offset >> 4) * 4 :]
        if flags & SYN:
            if not flags & ACK:
                self._count += 1
                self._flows[source, target] = Flow(self._count)
                self._tell(self._count, "?")
            return
        from_client = (source, target) in self._flows
        flow = self._flows.get((source, target) if from_client else (target, source))
        if flow is None or not payload or flow.is_data:
            return
        if flow.is_data is None:
            flow.is_data = not payload.startswith(CLIENTS_FIRST if from_client else SERVERS_FIRST)
            self._tell(flow.number, "d" if flow.is_data else "+")
            if flow.is_data:
                return
        side = flow.sides[from_client]
        if side.next not in (None, sequence):
            return  # Sent once more.
        side.next = (sequence + len(payload)) % 2**32
        *lines, side.rest = (side.rest + payload).split(b"\n")
        for line in lines:
            self._tell(flow.number, ">" if from_client else "<", line.strip().decode(errors="replace"))

    def _tell(self, number, what, text=""):
        print(f"{time.monotonic():.6f} {number} {what} {text}", flush=True)


class Flow:
    def __init__(self, number):
        self.number = number
        self.is_data = None
        self.sides = {True: Side(), False: Side()}


class Side:
    def __init__(self):
        self.next = None
        self.rest = b""


def main():
    delay = float(sys.argv[1]) / 2000
    listener = Listener() if "--watch" in sys.argv[2:] else None
    device = make_device()
    print("up", flush=True)
    under_way = collections.deque()
    while True:
        wait = max(under_way[0][0] - time.monotonic(), 0) if under_way else None
        ready = select.select([device, sys.stdin], [], [], wait)[0]
        if sys.stdin in ready and not os.read(sys.stdin.fileno(), 4096):
            return
        if device in ready:
            packet = os.read(device, LARGEST_PACKET)
            if packet[0] >> 4 == 4:
                under_way.append((time.monotonic() + delay, packet))
                if listener and not listener.is_from_server(packet):
                    listener.passes(packet)
        while under_way and under_way[0][0] <= time.monotonic():
            packet = under_way.popleft()[1]
            os.write(device, swapped(packet))
            if listener and listener.is_from_server(packet):
                listener.passes(packet)


if __name__ == "__main__":
    main()
