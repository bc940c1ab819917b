"""How far the other end of a connection on this machine has read, as the system tells (sock_diag(7))."""

import socket
import struct

_SOCK_DIAG = 4  # The family of such questions, as in linux/netlink.h.
_SOCK_DIAG_BY_FAMILY = 20  # A question about one socket, and its answer, as in linux/sock_diag.h.
_REQUEST = 1
_QUEUES = 72  # Where the answer tells of them: behind the message's head, four small numbers, addresses and a time.


def unread_bytes(connection):
    """How many bytes sent on an IP connection wait for the program at its other end, if that is on this machine."""
    return _queues_at_the_other_end(connection)[0]


def unacknowledged_bytes(connection):
    """How many bytes the system at the other end holds that we have not acknowledged. An end counts as one."""
    return _queues_at_the_other_end(connection)[1]


def _queues_at_the_other_end(connection):
    theirs, ours = connection.getpeername(), connection.getsockname()
    family = socket.AF_INET6 if len(theirs) > 2 else socket.AF_INET
    ends = struct.pack("!HH", theirs[1], ours[1]) + _padded(family, theirs) + _padded(family, ours)
    any_interface_and_cookie = struct.pack("=III", 0, 0xFFFFFFFF, 0xFFFFFFFF)
    body = struct.pack("=BBBBI", family, socket.IPPROTO_TCP, 0, 0, 0xFFFFFFFF) + ends + any_interface_and_cookie
    with socket.socket(socket.AF_NETLINK, socket.SOCK_RAW, _SOCK_DIAG) as system:
        system.send(struct.pack("=IHHII", 16 + len(body), _SOCK_DIAG_BY_FAMILY, _REQUEST, 0, 0) + body)
        answer = system.recv(4096)
    (kind,) = struct.unpack_from("=H", answer, 4)
    return struct.unpack_from("=II", answer, _QUEUES) if kind == _SOCK_DIAG_BY_FAMILY else (0, 0)


def _padded(family, address):
    return socket.inet_pton(family, address[0]).ljust(16, b"\0")
