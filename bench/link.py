#!/usr/bin/python3
"""A link with a round-trip time between this machine and itself:  link.py MILLISECONDS

What is sent to 10.99.0.2 comes back to 10.99.0.1, from 10.99.0.2, half a round trip later: a server that listens on
10.99.0.1 is reached at 10.99.0.2, over a way as long as it would be in the world, handshakes included. It is a TUN
device whose packets get their addresses swapped; checksums stay right by that.

Needs a network namespace in which it may make devices (unshare -rn). Prints "up" when packets pass, and ends when stdin
closes.
"""

import collections
import fcntl
import os
import select
import struct
import subprocess
import sys
import time

NAME = "link0"
TUNSETIFF = 0x400454CA
IFF_TUN_NO_PI = 0x1001
LARGEST_PACKET = 65536


def make_device():
    device = os.open("/dev/net/tun", os.O_RDWR)
    fcntl.ioctl(device, TUNSETIFF, struct.pack("16sH22x", NAME.encode(), IFF_TUN_NO_PI))
    for command in (
        ["ip", "link", "set", "lo", "up"],
        ["ip", "address", "add", "10.99.0.1/24", "dev", NAME],
        ["ip", "link", "set", NAME, "txqueuelen", "10000", "up"],
    ):
        subprocess.run(command, check=True)
    return device


def swapped(packet):
    return packet[:12] + packet[16:20] + packet[12:16] + packet[20:]


def main():
    delay = float(sys.argv[1]) / 2000
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
                under_way.append((time.monotonic() + delay, swapped(packet)))
        while under_way and under_way[0][0] <= time.monotonic():
            os.write(device, under_way.popleft()[1])


if __name__ == "__main__":
    main()
