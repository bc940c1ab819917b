#!/usr/bin/python3
"""An FTP server on loopback that behaves well unless told otherwise.

    scripted_server.py [--root FOLDER] [--address 127.0.0.1|::1] [--port N] [--rules JSON|@FILE] [--tls PEM]

It serves FOLDER (a temporary one without --root) to any login. With --tls it goes on in TLS when it is asked to; PEM
holds its certificate and the key. The first line on stdout is "port N"; after that comes
one JSON object per line for everything that happens, in order, each with "ms" since the start and "connection", the
control connections being numbered from 1:

    {"event": "opened"}                                   a control connection
    {"event": "command", "line": TEXT, "pipelined": BOOL} "pipelined": it came before the previous one was answered;
                                                          "end": "LF alone" when the line ended so
    {"event": "unfinished", "line": TEXT}                 bytes without a line end, when the client ended
    {"event": "reply", "line": TEXT} or {.., "raw": TEXT} before it is sent
    {"event": "data opened"}
    {"event": "data closed", "bytes": N, "how": TEXT}     "closed" or "reset" by us, "lost" when the client reset it
    {"event": "stored", "name": PATH, "size": N, "sha256": HEX, "complete": BOOL}
    {"event": "closed", "by": "client"|"server", "how": "fin"|"reset"}

In every text here and below one character stands for the byte of its number, so any bytes can be written and read.

A test may talk to it through stdin, one JSON object per line. It ends when stdin ends, or on SIGTERM.

    {"rule": RULE}                     a further rule, tried before the earlier ones; {"event": "ruled"} comes back
    {"forget": true}                   no rules from now on; {"event": "ruled"} comes back
    {"connection": N, "do": [STEP..]}  steps out of turn, at once: what they follow must have been seen to happen;
                                       {"event": "done"} comes back after the last one
    {"sync": N}                        {"event": "sync", "number": N} comes back: all that went before is reported

What makes no sense, or fails, is answered with {"event": "misunderstood", "text": REASON}.

Rules. --rules is a list of rules, as JSON or in a file. The first one that fits an event replaces what a good server
would do by steps, done in order:

    {"on": "STOR", "do": ["150 Go ahead", "read 1000", "552 Disk full", "data-reset"]}

"on" is a command verb, "*" for any command, or "connect". A rule may be narrowed:
    "connection": N      only on this control connection
    "argument": REGEX    only when the command's argument holds this
    "nth": N             only the n-th event that fits the rest of the rule, whoever answers the others
    "times": N           only so often
    "pipelined": true    only commands sent before the previous one was answered
    "logins": N          only while N other connections are logged in

Steps on the control connection
    553 No such luck    a line that begins with a digit is a reply line. In it, {port} becomes a new port for the data
                        connection, {closed} one that refuses it, {full} one where the client waits for ever; {pasv}
                        is "h,h,h,h,p,p" and {p1},{p2} only the port, both of a new one; {argument}, {folder}
    say TEXT            a line that does not begin with a digit, as inside a reply of many lines
    raw BYTES           exactly these bytes
    flood N             N bytes without a line end
    flood-lines N       N lines of a reply that does not end
    flood-replies N     N replies of 200 bytes each
    slowly MS           from here on everything goes out byte by byte with such a pause, and each byte after the client
                        has read the one before; 0: at once again
    wait MS             a pause
    idle MS             waits until no command has come for so long
    until VERB          waits until such a command has come, which is still answered in its turn
    silence             nothing more is ever said; the connection stays until the client ends it
    close, reset        ends the control connection by FIN or RST; the data connection may still be used by the
                        steps that follow, and ends after them
    default             what a good server does at this event
    encrypt             what comes from here on is TLS, and once its handshake is done, so is what goes
    protect P, protect C     data connections are encrypted from here on, or are not
Steps on the data connection
    narrow N            ports opened from here on have socket buffers of about N bytes (in a rule on EPSV, PASV or
                        connect, before "default")
    deaf                likewise, the system acknowledges neither data nor end on connections to them
    accept              waits until the data connection stands; the others wait for it, too
    held N              waits until the client's system holds N bytes of the data that were not acknowledged
    read [N]            receives N bytes, or all up to the end, and stores them under the command's name; closes at
                        the end
    take                receives and stores all up to the end, and waits until everything is acknowledged
    write [N]           sends the next N bytes of the command's file or listing, or the rest
    send BYTES          sends these
    send-file PATH      sends what this local file holds
    fill N              sends N times an "x"
    repeat BYTES        sends these again and again, until the client ends a connection
    data-close, data-reset   ends it by FIN or RST. (FIN while bytes are unread is a RST on the wire: that is TCP.)
A data connection that no step ends stays open until the next passive port or the end of the control connection.

Some conversations:
    refused login           {"on": "PASS", "do": ["530 No"]}
    one login at a time     {"on": "PASS", "logins": 1, "do": ["421 Too many", "close"]}
    early 552, data unread  {"on": "STOR", "do": ["150 Go", "read 1000", "552 Full"]}
    missing final reply     {"on": "STOR", "do": ["150 Go", "read", "silence"]}
    late final reply        {"on": "STOR", "do": ["150 Go", "read", "wait 500", "226 Got it"]}
    no 150; 250 for 226     {"on": "STOR", "do": ["read", "250 Got it"]}
    226 before the end      {"on": "RETR", "do": ["150 Go", "226 Done", "write", "data-close"]}
    shorter than its SIZE   {"on": "RETR", "do": ["150 Go", "write 10", "data-close", "226 Done"]}
    longer than its SIZE    {"on": "SIZE", "do": ["213 5"]}
    no EPSV                 {"on": "EPSV", "do": ["500 What?"]}
    data port is dead       {"on": "EPSV", "do": ["229 Passive (|||{closed}|)"]}
    PASV of another host    {"on": "PASV", "do": ["227 Passive (10,0,0,1,{p1},{p2})"]}
    dropped while idle      {"on": "STOR", "do": ["default", "idle 50", "421 Idle for too long", "close"]}
    byte by byte            {"on": "connect", "do": ["slowly 1", "default"]}
    no pipelining           {"on": "*", "pipelined": true, "do": ["503 One at a time"]}
"""

import argparse
import asyncio
import json
import socket
import tempfile

from lifeline import Lifeline, Reporter
from scripted_files import ServedFolder
from scripted_rules import Rules, parse_step
from scripted_session import Session


class ScriptedServer:
    """Accepts control connections and hears the requests of the test."""

    def __init__(self, folder, rules, certificate, reporter):
        self.folder = folder
        self.rules = rules
        self.certificate = certificate
        self.report = reporter.event
        self._sessions = {}
        self._tasks = set()

    def other_logins(self, session):
        """How many connections beside this one are logged in."""
        return sum(other.logged_in for other in self._sessions.values() if other is not session)

    async def serve(self, listener):
        """Accepts until cancelled."""
        loop = asyncio.get_running_loop()
        number = 0
        while True:
            connection, _ = await loop.sock_accept(listener)
            connection.setblocking(False)
            connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            number += 1
            self._sessions[number] = Session(self, connection, number)
            self.report("opened", connection=number)
            self._start(self._hold(number))

    def hear(self, line):
        """A line of stdin."""
        try:
            self._grant(json.loads(line))
        except (ValueError, KeyError) as error:
            self.report("misunderstood", text=repr(error))

    def _grant(self, request):
        if "rule" in request:
            self.rules.add(request["rule"])
            self.report("ruled")
        elif "forget" in request:
            self.rules.forget()
            self.report("ruled")
        elif "sync" in request:
            self.report("sync", number=request["sync"])
        else:
            self._start(self._act(request["connection"], [parse_step(step) for step in request["do"]]))

    async def _hold(self, number):
        try:
            await self._sessions[number].run()
        finally:
            del self._sessions[number]

    async def _act(self, number, steps):
        try:
            if number in self._sessions:
                await self._sessions[number].perform(steps)
        except Exception as error:  # Whatever it is, the test that waits for the end is to hear of it.
            self.report("misunderstood", text=repr(error))
            return
        self.report("done", connection=number)

    def _start(self, work):
        task = asyncio.create_task(work)
        self._tasks.add(task)
        task.add_done_callback(self._tasks.discard)


def listening_socket(address, port):
    """A listening socket that asyncio can use."""
    listener = socket.socket(socket.AF_INET6 if ":" in address else socket.AF_INET, socket.SOCK_STREAM)
    listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    listener.setblocking(False)
    listener.bind((address, port))
    listener.listen(128)
    return listener


async def serve(options, reporter):
    """Serves until released."""
    lifeline = Lifeline()
    with tempfile.TemporaryDirectory(prefix="scripted-server-") as own_folder:
        server = ScriptedServer(
            ServedFolder(options.root or own_folder), Rules(options.rules), options.tls, reporter
        )
        listener = listening_socket(options.address, options.port)
        reporter.line(f"port {listener.getsockname()[1]}")
        serving = asyncio.create_task(server.serve(listener))
        await lifeline.held(server.hear)
        serving.cancel()


def rules_argument(text):
    """The rules given on the command line, checked."""
    if text.startswith("@"):
        with open(text[1:], encoding="utf-8") as file:
            text = file.read()
    descriptions = json.loads(text)
    Rules(descriptions)
    return descriptions


def parse_arguments():
    """What the command line says."""
    parser = argparse.ArgumentParser(description="An FTP server that misbehaves on demand")
    parser.add_argument("--root")
    parser.add_argument("--address", default="127.0.0.1")
    parser.add_argument("--port", type=int, default=0)
    parser.add_argument("--rules", type=rules_argument, default=[])
    parser.add_argument("--tls")
    return parser.parse_args()


def main():
    reporter = Reporter()
    try:
        asyncio.run(serve(parse_arguments(), reporter))
    finally:
        reporter.finish()


if __name__ == "__main__":
    main()
