"""The data side of one control connection: at most one port that waits and one connection that carries bytes."""

import asyncio
import contextlib
import ctypes
import hashlib
import socket
import ssl
import struct

from scripted_pace import unacknowledged_bytes
from scripted_tls import TlsEnd, context_of

_BLOCK = 256 * 1024

_ATTACH_FILTER = 26  # SO_ATTACH_FILTER of asm-generic/socket.h.

# Lets pass what is neither data nor an end: a packet as long as its head says, without FIN (bpf(4)).
_NOTHING_SAID = b"".join(
    struct.pack("=HBBI", *instruction)
    for instruction in (
        (0x30, 0, 0, 12),  # The head's length in words, in the upper half of this byte,
        (0x54, 0, 0, 0xF0),
        (0x74, 0, 0, 2),  # becomes bytes,
        (0x07, 0, 0, 0),
        (0x80, 0, 0, 0),  # and of the packet's length
        (0x1C, 0, 0, 0),  # that much less
        (0x15, 0, 3, 0),  # is nothing;
        (0x30, 0, 0, 13),  # among the flags
        (0x45, 1, 0, 0x01),  # FIN is not.
        (0x06, 0, 0, 0xFFFFFFFF),  # It passes.
        (0x06, 0, 0, 0),
    )
)


def make_deaf(sock):
    """From now on its TCP, and that of what a listening socket accepts, takes no data and no end, nor acknowledges any.
    """
    program = ctypes.create_string_buffer(_NOTHING_SAID, len(_NOTHING_SAID))
    fields = struct.pack("@HP", len(_NOTHING_SAID) // 8, ctypes.addressof(program))
    sock.setsockopt(socket.SOL_SOCKET, _ATTACH_FILTER, fields)


def reset(connection):
    """Ends a connection by RST."""
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    connection.close()


class Upload:
    """A file that is being received, hashed on the way."""

    def __init__(self, file):
        self._file = file
        self._hash = hashlib.sha256()
        self.size = 0

    def add(self, block):
        self._file.write(block)
        self._hash.update(block)
        self.size += len(block)

    def finish(self):
        self._file.close()
        return self._hash.hexdigest()


class DataChannel:
    """Listens, accepts, moves bytes. report(name, **fields) is told of connections opened and closed."""

    def __init__(self, family, address, report):
        self.certificate = None  # The file of the one that connections show; None: they are not encrypted.
        self._family = family
        self._address = address
        self._report = report
        self._listener = None
        self._connection = None
        self._kept = []  # Sockets that only occupy their ports.
        self._narrow = None
        self._deaf = False
        self._moved = 0
        self._tls = None
        self._said = b""  # Decrypted, and not yet asked for.

    @property
    def stands(self):
        """Whether there is a data connection."""
        return self._connection is not None

    def narrow(self, size):
        """Ports opened from now on have socket buffers of about that many bytes."""
        self._narrow = size

    def deafen(self):
        """The TCP of connections to ports opened from now on acknowledges nothing of the data."""
        self._deaf = True

    def open_port(self):
        """The number of a port that waits for the data connection."""
        self.close()
        self._listener = self._bound_socket()
        if self._narrow:
            self._listener.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, self._narrow)
            self._listener.setsockopt(socket.SOL_SOCKET, socket.SO_SNDBUF, self._narrow)
        if self._deaf and self.certificate is None:
            make_deaf(self._listener)
        self._listener.listen(1)
        return self._listener.getsockname()[1]

    def closed_port(self):
        """The number of a port that refuses connections, and that nobody else gets meanwhile."""
        self.close()
        self._kept.append(self._bound_socket())
        return self._kept[-1].getsockname()[1]

    def full_port(self):
        """The number of a port whose queue is full: who connects to it hears nothing."""
        self.close()
        listener = self._bound_socket()
        listener.listen(0)
        filler = socket.socket(self._family, socket.SOCK_STREAM)
        filler.connect(listener.getsockname())
        self._kept += [listener, filler]
        return listener.getsockname()[1]

    async def accept(self):
        """Waits until the data connection stands."""
        if self._connection is None:
            if self._kept:
                # Such a port was announced: like anyone behind a firewall, wait for what cannot come.
                await asyncio.get_running_loop().create_future()
            if self._listener is None:
                raise ConnectionError("no port was opened")
            self._connection, _ = await asyncio.get_running_loop().sock_accept(self._listener)
            self._connection.setblocking(False)
            self._listener.close()
            self._listener = None
            self._moved = 0
            self._report("data opened")
            if self.certificate is not None:
                await self._shake_hands()

    async def held(self, count):
        """Waits until the client's system holds so many bytes that are not acknowledged."""
        while unacknowledged_bytes(self._connection) < count:
            await asyncio.sleep(0.001)

    async def receive(self, limit, upload):
        """Takes bytes up to the limit or, without one, to the end. True at the end."""
        remaining = limit
        while remaining is None or remaining > 0:
            block = await self._receive_block(_BLOCK if remaining is None else min(_BLOCK, remaining))
            if not block:
                return True
            upload.add(block)
            self._moved += len(block)
            if remaining is not None:
                remaining -= len(block)
        return False

    async def all_acknowledged(self):
        """At the end of the data, waits until nothing that the client has sent is unacknowledged."""
        while await asyncio.get_running_loop().sock_recv(self._connection, _BLOCK):
            pass  # The end in TLS comes before that of the connection.
        while unacknowledged_bytes(self._connection) > 0:
            await asyncio.sleep(0.001)

    async def send(self, source, limit=None):
        """Sends what source (an open file) still holds, or so many bytes of it."""
        loop = asyncio.get_running_loop()
        remaining = limit
        while remaining is None or remaining > 0:
            block = source.read(_BLOCK if remaining is None else min(_BLOCK, remaining))
            if not block:
                break
            await loop.sock_sendall(self._connection, self._tls.sealed(block) if self._tls else block)
            self._moved += len(block)
            if remaining is not None:
                remaining -= len(block)

    def close(self):
        """Ends the data connection, if there is one, and closes the port."""
        if self._connection is not None and self._tls is not None and self._tls.ready:
            with contextlib.suppress(OSError):
                self._connection.send(self._tls.sealed_end())
        self._end(lambda connection: connection.close(), "closed")

    def reset(self):
        """The same, by RST."""
        self._end(reset, "reset")

    def lost(self):
        """Gives up a data connection that the client has reset."""
        self._end(lambda connection: connection.close(), "lost")

    def _end(self, action, how):
        if self._listener is not None:
            self._listener.close()
            self._listener = None
        while self._kept:
            self._kept.pop().close()
        if self._connection is not None:
            self._report("data closed", bytes=self._moved, how=how)
            with contextlib.suppress(OSError):
                action(self._connection)
            self._connection = None
            self._tls, self._said = None, b""

    async def _shake_hands(self):
        loop = asyncio.get_running_loop()
        # Up to 1.2 the last word of the handshake is the server's, so that no data can have come before it.
        newest = ssl.TLSVersion.TLSv1_2 if self._deaf else ssl.TLSVersion.MAXIMUM_SUPPORTED
        self._tls = TlsEnd(context_of(self.certificate, newest))
        while not self._tls.ready:
            block = await loop.sock_recv(self._connection, _BLOCK)
            if not block:
                raise ConnectionError("an end in the handshake")
            self._said += self._tls.feed(block)
            if self._tls.ready and self._deaf:
                make_deaf(self._connection)
            await loop.sock_sendall(self._connection, self._tls.sealed())

    async def _receive_block(self, limit):
        """Up to so many bytes; none at the end."""
        loop = asyncio.get_running_loop()
        if self._tls is None:
            return await loop.sock_recv(self._connection, limit)
        while not self._said and not self._tls.ended:
            received = await loop.sock_recv(self._connection, limit)
            if not received:
                return b""
            self._said = self._tls.feed(received)
        block, self._said = self._said[:limit], self._said[limit:]
        return block

    def _bound_socket(self):
        bound = socket.socket(self._family, socket.SOCK_STREAM)
        bound.setblocking(False)
        bound.bind((self._address, 0))
        return bound
