"""Calls over the session bus. A message is put into bytes before its time begins, which ends with the reply."""

import os
import re
import socket
import time

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

HEAD = 16  # Bytes that tell how long a message is.
PATIENCE = 60  # Seconds.


class Bus:
    def __init__(self, address):
        """A connection to the bus at that address, for as long as we live."""
        kind, path = re.match("unix:(path|abstract)=([^,;]*)", address).groups()
        self._serial = 0
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.settimeout(PATIENCE)
        self._socket.connect(path if kind == "path" else "\0" + path)
        self._socket.sendall(b"\0AUTH EXTERNAL " + str(os.getuid()).encode().hex().encode() + b"\r\n")
        if not self._socket.recv(HEAD * HEAD).startswith(b"OK "):
            raise RuntimeError("the bus does not let us in")
        self._socket.sendall(b"BEGIN\r\n")
        self._ask_bus("Hello")

    def has_owner(self, name):
        return self._ask_bus("NameHasOwner", "(s)", (name,))[0]

    def seconds_to_answer(self, name, interface, method, signature, arguments):
        """How long the program of that name takes to answer, at the object that is named like it."""
        return self._call(name, "/" + name.replace(".", "/"), interface, method, signature, arguments)[0]

    def _ask_bus(self, method, signature="()", arguments=()):
        name = "org.freedesktop.DBus"
        return self._call(name, "/" + name.replace(".", "/"), name, method, signature, arguments)[1]

    def _call(self, name, path, interface, method, signature, arguments):
        message = Gio.DBusMessage.new_method_call(name, path, interface, method)
        message.set_flags(Gio.DBusMessageFlags.NO_AUTO_START)
        self._serial += 1
        message.set_serial(self._serial)
        if arguments:
            message.set_body(GLib.Variant(signature, arguments))
        content = bytes(message.to_blob(Gio.DBusCapabilityFlags.NONE))
        start = time.monotonic()
        self._socket.sendall(content)
        while (reply := self._receive()).get_reply_serial() != self._serial:
            pass
        seconds = time.monotonic() - start
        if reply.get_message_type() == Gio.DBusMessageType.ERROR:
            raise RuntimeError(f"{method}: {reply.get_error_name()}")
        return seconds, reply.get_body() and reply.get_body().unpack()

    def _receive(self):
        content = self._read(HEAD)
        content += self._read(Gio.DBusMessage.bytes_needed(content) - HEAD)
        return Gio.DBusMessage.new_from_blob(content, Gio.DBusCapabilityFlags.NONE)

    def _read(self, count):
        content = b""
        while len(content) < count:
            piece = self._socket.recv(count - len(content))
            if not piece:
                raise RuntimeError("the bus has gone")
            content += piece
        return content
