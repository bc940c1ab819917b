"""For tests in Python: starts a helper server, and talks to one line by line."""

import json
import socket

from forked_program import ForkedProgram


class Helper:
    """A helper server in a process of its own; to be used in a with statement."""

    def __init__(self, script, *arguments):
        self._socket, theirs = socket.socketpair()
        with theirs:
            self._process = ForkedProgram([script, *arguments], theirs.fileno(), theirs.fileno())
        self.pid = self._process.pid
        self._lines = self._socket.makefile("r", encoding="utf-8")
        words = self._lines.readline().split()
        if not words:
            raise RuntimeError(f"{script} did not start")
        self.values = dict(zip(words[0::2], words[1::2]))
        self.port = int(self.values["port"])

    def __enter__(self):
        return self

    def __exit__(self, *_exception):
        self.finish()

    def request(self, **request):
        """Sends a request on the helper's stdin."""
        self._socket.sendall(json.dumps(request).encode() + b"\n")

    def event(self):
        """The next event, waited for."""
        return json.loads(self._lines.readline())

    def events_up_to(self, name):
        """The events up to the first of that name."""
        events = [self.event()]
        while events[-1]["event"] != name:
            events.append(self.event())
        return events

    def finish(self):
        """Ends the helper; the events that were left. Its exit code has to be 0."""
        if self._lines.closed:
            return []
        self._socket.shutdown(socket.SHUT_WR)
        with self._socket, self._lines:
            events = [json.loads(line) for line in self._lines]
        code = self._process.wait(timeout=20)
        if code != 0:
            raise RuntimeError(f"the helper ended with {code}")
        return events


class Conversation:
    """One control connection, blocking; to be used in a with statement."""

    def __init__(self, port, host="127.0.0.1"):
        self.host = host
        self.socket = socket.create_connection((host, port), timeout=20)
        self._stream = self.socket.makefile("rb")

    def __enter__(self):
        return self

    def __exit__(self, *_exception):
        self._stream.close()
        self.socket.close()

    def hear(self):
        """The next line without its end; "" at the end."""
        return self._stream.readline().decode("latin-1").rstrip("\r\n")

    def say(self, *lines):
        """Sends lines, all at once."""
        self.socket.sendall("".join(line + "\r\n" for line in lines).encode("latin-1"))

    def ask(self, line):
        """Sends a line and hears one."""
        self.say(line)
        return self.hear()

    def log_in(self):
        """Hears the greeting and logs in."""
        self.hear()
        self.say("USER anna", "PASS secret")
        return [self.hear(), self.hear()]

    def data_connection(self):
        """A data connection to a port that EPSV tells."""
        port = int(self.ask("EPSV").split("|")[3])
        return socket.create_connection((self.host, port), timeout=20)


def received(connection):
    """Everything up to the end of a data connection; None when it was reset."""
    parts = []
    try:
        while part := connection.recv(65536):
            parts.append(part)
    except ConnectionResetError:
        return None
    finally:
        connection.close()
    return b"".join(parts)
