"""The data side of one control connection: at most one port that waits and one connection that carries bytes."""

import asyncio
import contextlib
import hashlib
import socket
import struct

_BLOCK = 256 * 1024


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
        self._family = family
        self._address = address
        self._report = report
        self._listener = None
        self._connection = None
        self._kept = []  # Sockets that only occupy their ports.
        self._narrow = None
        self._moved = 0

    @property
    def stands(self):
        """Whether there is a data connection."""
        return self._connection is not None

    def narrow(self, size):
        """Ports opened from now on have socket buffers of about that many bytes."""
        self._narrow = size

    def open_port(self):
        """The number of a port that waits for the data connection."""
        self.close()
        self._listener = self._bound_socket()
        if self._narrow:
            self._listener.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, self._narrow)
            self._listener.setsockopt(socket.SOL_SOCKET, socket.SO_SNDBUF, self._narrow)
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

    async def receive(self, limit, upload):
        """Takes bytes up to the limit or, without one, to the end, where it closes. True at the end."""
        loop = asyncio.get_running_loop()
        remaining = limit
        while remaining is None or remaining > 0:
            block = await loop.sock_recv(self._connection, _BLOCK if remaining is None else min(_BLOCK, remaining))
            if not block:
                self.close()
                return True
            upload.add(block)
            self._moved += len(block)
            if remaining is not None:
                remaining -= len(block)
        return False

    async def send(self, source, limit=None):
        """Sends what source (an open file) still holds, or so many bytes of it."""
        loop = asyncio.get_running_loop()
        remaining = limit
        while remaining is None or remaining > 0:
            block = source.read(_BLOCK if remaining is None else min(_BLOCK, remaining))
            if not block:
                break
            await loop.sock_sendall(self._connection, block)
            self._moved += len(block)
            if remaining is not None:
                remaining -= len(block)

    def close(self):
        """Ends the data connection, if there is one, and closes the port."""
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

    def _bound_socket(self):
        bound = socket.socket(self._family, socket.SOCK_STREAM)
        bound.setblocking(False)
        bound.bind((self._address, 0))
        return bound
