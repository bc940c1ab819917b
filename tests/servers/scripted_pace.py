"""How far the other end of a connection on this machine has read, as the system tells."""

import socket
import struct


def unread_bytes(connection):
    """How many bytes sent on an IP connection wait for the program at its other end, if that is on this machine."""
    ours, theirs = connection.getsockname(), connection.getpeername()
    wanted = [_as_listed(theirs), _as_listed(ours)]  # From its point of view.
    with open("/proc/self/net/" + ("tcp6" if len(ours) > 2 else "tcp"), encoding="ascii") as table:
        for row in table:
            fields = row.split(None, 5)
            if fields[1:3] == wanted:
                return int(fields[4].partition(":")[2], 16)
    return 0


def _as_listed(address):
    """An address the way the kernel writes it: words in the machine's order, then the port, all in hexadecimal."""
    family = socket.AF_INET6 if len(address) > 2 else socket.AF_INET
    words = struct.unpack("=%dI" % (4 if family == socket.AF_INET6 else 1), socket.inet_pton(family, address[0]))
    return "".join(f"{word:08X}" for word in words) + f":{address[1]:04X}"
