"""One control connection of the scripted server: commands in, steps done, in order."""

import asyncio
import contextlib
import io
import re
import socket

from scripted_commands import steps_of_good_behaviour
from scripted_data import DataChannel, Upload, reset
from scripted_files import joined
from scripted_pace import unread_bytes
from scripted_rules import Event, parse_step
from scripted_tls import TlsEnd, context_of

_BLOCK = 65536


class Session:
    """server gives: rules, folder, certificate, report(name, **fields), other_logins(session)."""

    def __init__(self, server, connection, number):
        self._server = server
        self._connection = connection
        self.number = number
        self.logged_in = False
        self.user_given = False
        self.folder = "/"
        self.rename_from = None
        self.verb = ""
        self.argument = ""
        self._lines = asyncio.Queue()
        self._received = 0  # Command lines received.
        self._answered = -1  # Command lines whose steps are done; the greeting comes first.
        self._gone = asyncio.Event()  # One side has ended the connection.
        self._closed = False  # We have ended it.
        self._heard = set()  # The verbs of all commands that have come, answered or not.
        self._pause = None  # Seconds between two bytes of a reply.
        self._upload = None
        self._source = None
        self._tls = None
        self._data = DataChannel(connection.family, connection.getsockname()[0], self.report)
        self._receiver = None

    @property
    def files(self):
        return self._server.folder

    @property
    def can_encrypt(self):
        return self._server.certificate is not None

    def path(self, name):
        """The server path that a command's argument means."""
        return joined(self.folder, name)

    def report(self, name, /, **fields):
        self._server.report(name, connection=self.number, **fields)

    async def run(self):
        """Holds the conversation until one side ends it."""
        self._receiver = asyncio.create_task(self._receive())
        try:
            await self._answer("connect", "", pipelined=False)
            self._answered = 0
            while not self._closed and (item := await self._lines.get()) is not None:
                line, pipelined = item
                verb, _, argument = line.partition(" ")
                await self._answer(verb.upper(), argument, pipelined)
                self._answered += 1
        finally:
            self._finish_upload(complete=False)
            self._data.close()
            await self._end("fin")

    async def perform(self, steps):
        """Does steps, each a pair as parse_step makes them."""
        try:
            for name, rest in steps:
                await getattr(self, "_do_" + name.replace("-", "_"))(rest)
        except ConnectionError as error:
            # Of the data connection: sends and receives of the control connection keep their errors to themselves.
            code = 426 if self._data.stands else 425
            self._data.lost()
            self._finish_upload(complete=False)
            await self._do_say(f"{code} {error}")

    # Commands

    async def _receive(self):
        pending = b""
        how = "fin"
        while True:
            try:
                chunk = await asyncio.get_running_loop().sock_recv(self._connection, _BLOCK)
                said = await self._decrypted(chunk) if self._tls is not None and chunk else chunk
            except ConnectionError:
                chunk, how = b"", "reset"
            if not chunk:
                break
            *lines, pending = (pending + said).split(b"\n")
            for line in lines:
                self._take(line)
        if pending:
            self.report("unfinished", line=pending.decode("latin-1"))
        self.report("closed", by="client", how=how)
        self._gone.set()
        self._lines.put_nowait(None)

    async def _decrypted(self, chunk):
        said = self._tls.feed(chunk)
        await asyncio.get_running_loop().sock_sendall(self._connection, self._tls.sealed())
        return said

    def _take(self, line):
        text = line.decode("latin-1")
        pipelined = self._received > self._answered
        self._received += 1
        if text.endswith("\r"):
            text = text[:-1]
            self.report("command", line=text, pipelined=pipelined)
        else:
            self.report("command", line=text, pipelined=pipelined, end="LF alone")
        self._heard.add(text.partition(" ")[0].upper())
        self._lines.put_nowait((text, pipelined))

    async def _answer(self, verb, argument, pipelined):
        self.verb, self.argument, self._source = verb, argument, None
        event = Event(verb, argument, self.number, pipelined, self._server.other_logins(self))
        steps = self._server.rules.steps_for(event)
        await self.perform([("default", "")] if steps is None else steps)
        self._finish_upload(complete=False)

    # Steps on the control connection

    async def _do_default(self, _rest):
        await self.perform([parse_step(step) for step in steps_of_good_behaviour(self)])

    async def _do_say(self, text):
        text = re.sub(r"\{(port|pasv|p1|p2|closed|full|argument|folder)\}", self._placeholder(), text)
        if self.verb in ("USER", "PASS", "ACCT"):
            self.logged_in = self.logged_in or text.startswith("23")
            self.user_given = self.user_given or text.startswith("33")
        self.report("reply", line=text)
        await self._send(text.encode("latin-1") + b"\r\n")

    async def _do_raw(self, text):
        self.report("reply", raw=text)
        await self._send(text.encode("latin-1"))

    async def _do_flood(self, count):
        for start in range(0, int(count), _BLOCK):
            await self._send(b"x" * min(_BLOCK, int(count) - start))

    async def _do_flood_lines(self, count):
        for start in range(0, int(count), 1000):
            await self._send(b"200-And more\r\n" * min(1000, int(count) - start))

    async def _do_flood_replies(self, count):
        for start in range(0, int(count), 1000):
            await self._send((b"200 " + b"x" * 194 + b"\r\n") * min(1000, int(count) - start))

    async def _do_slowly(self, milliseconds):
        self._pause = int(milliseconds) / 1000 or None

    async def _do_wait(self, milliseconds):
        await asyncio.sleep(int(milliseconds) / 1000)

    async def _do_idle(self, milliseconds):
        before = self._received
        while True:
            await asyncio.sleep(int(milliseconds) / 1000)
            if self._received == before or self._gone.is_set():
                return
            before = self._received

    async def _do_until(self, verb):
        while verb not in self._heard and not self._gone.is_set():
            await asyncio.sleep(0.001)

    async def _do_silence(self, _rest):
        await self._gone.wait()
        await self._end("fin")

    async def _do_encrypt(self, _rest):
        # Before the reply is sent: what comes then is TLS already. The reply itself goes in clear.
        self._tls = TlsEnd(context_of(self._server.certificate))

    async def _do_protect(self, level):
        self._data.certificate = self._server.certificate if level == "P" else None

    async def _do_close(self, _rest):
        await self._end("fin")

    async def _do_reset(self, _rest):
        await self._end("reset")

    # Steps on the data connection

    async def _do_accept(self, _rest):
        accepting = asyncio.create_task(self._data.accept())
        going = asyncio.create_task(self._gone.wait())
        await asyncio.wait({accepting, going}, return_when=asyncio.FIRST_COMPLETED)
        going.cancel()
        if not accepting.done():
            accepting.cancel()
            raise ConnectionError("the client is gone")
        accepting.result()

    async def _do_narrow(self, size):
        self._data.narrow(int(size))

    async def _do_deaf(self, _rest):
        self._data.deafen()

    async def _do_held(self, count):
        await self._do_accept("")
        await self._data.held(int(count))

    async def _do_read(self, count):
        if await self._receive_data(int(count) if count else None):
            self._data.close()

    async def _do_take(self, _rest):
        await self._receive_data(None)
        await self._data.all_acknowledged()

    async def _receive_data(self, limit):
        """True at the end."""
        await self._do_accept("")
        if self._upload is None:
            self._upload = Upload(self.files.open_for_writing(self.path(self.argument)))
        has_ended = await self._data.receive(limit, self._upload)
        if has_ended:
            self._finish_upload(complete=True)
        return has_ended

    async def _do_write(self, count):
        await self._do_accept("")
        if self._source is None:
            self._source = self._open_source()
        await self._data.send(self._source, int(count) if count else None)

    async def _do_send(self, text):
        await self._do_accept("")
        await self._data.send(io.BytesIO(text.encode("latin-1")))

    async def _do_send_file(self, path):
        await self._do_accept("")
        with open(path, "rb") as file:
            await self._data.send(file)

    async def _do_fill(self, count):
        await self._do_send("x" * int(count))

    async def _do_repeat(self, text):
        await self._do_accept("")
        block = text.encode("latin-1") * (1 + _BLOCK // len(text))
        while not self._gone.is_set():
            await self._data.send(io.BytesIO(block))

    async def _do_data_close(self, _rest):
        self._finish_upload(complete=False)
        self._data.close()

    async def _do_data_reset(self, _rest):
        self._finish_upload(complete=False)
        self._data.reset()

    # Helpers

    def _open_source(self):
        if self.verb == "RETR":
            return self.files.open_for_reading(self.path(self.argument))
        name = re.sub(r"^-\S*\s*", "", self.argument)
        return self.files.listing(self.path(name))

    def _finish_upload(self, complete):
        if self._upload is not None:
            upload, self._upload = self._upload, None
            self.report("stored", name=self.path(self.argument), size=upload.size, sha256=upload.finish(),
                        complete=complete)

    def _placeholder(self):
        """A function for re.sub; one reply opens at most one port."""
        port = None

        def value(match):
            nonlocal port
            word = match[1]
            if word == "argument":
                return self.argument
            if word == "folder":
                return self.folder.replace('"', '""')
            if port is None:
                open_port = {"closed": self._data.closed_port, "full": self._data.full_port}
                port = open_port.get(word, self._data.open_port)()
            if word in ("port", "closed", "full"):
                return str(port)
            if word == "pasv":
                host = self._connection.getsockname()[0].replace(".", ",")
                return f"{host},{port >> 8},{port & 255}"
            return str(port >> 8 if word == "p1" else port & 255)

        return value

    async def _send(self, data):
        with contextlib.suppress(OSError):
            if self._closed:
                return
            if self._tls is not None and self._tls.ready:
                data = self._tls.sealed(data)
            if self._pause is None:
                await asyncio.get_running_loop().sock_sendall(self._connection, data)
                return
            for byte in data:
                await asyncio.get_running_loop().sock_sendall(self._connection, bytes([byte]))
                await asyncio.sleep(self._pause)
                while unread_bytes(self._connection) and not self._gone.is_set():
                    await asyncio.sleep(self._pause)

    async def _end(self, how):
        if self._closed:
            return
        self._closed = True
        self._receiver.cancel()
        with contextlib.suppress(asyncio.CancelledError):
            await self._receiver
        if not self._gone.is_set():
            self.report("closed", by="server", how=how)
        if how == "reset":
            reset(self._connection)
        else:
            self._close_by_fin()
        self._gone.set()
        self._lines.put_nowait(None)

    def _close_by_fin(self):
        # Closing a connection that holds unread bytes sends RST, so what has arrived is taken first.
        with contextlib.suppress(OSError):
            self._connection.shutdown(socket.SHUT_WR)
            while self._connection.recv(_BLOCK):
                pass
        self._connection.close()
