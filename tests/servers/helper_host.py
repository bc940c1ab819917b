"""Runs the other programs of this folder for one test program, each in a process of its own.

Standard input is a socket; each message on it is a JSON list of a script's name and its arguments, and brings the
descriptor that the script has for its standard input and output. Ends with the socket.
"""

import json
import os
import signal
import socket

from forked_program import become, fork, read_modules

LONGEST_REQUEST = 65536


def requests(source):
    """The requests, each a list of words and a descriptor."""
    while True:
        message, descriptors, _, _ = socket.recv_fds(source, LONGEST_REQUEST, 1)
        if not message:
            return
        yield json.loads(message), descriptors[0]


def main():
    signal.signal(signal.SIGCHLD, signal.SIG_IGN)  # Nobody asks how they ended.
    source = socket.socket(fileno=0)
    for words, descriptor in requests(source):
        read_modules(words)
        if fork() == 0:
            signal.signal(signal.SIGCHLD, signal.SIG_DFL)
            become(words, descriptor, descriptor)
        os.close(descriptor)


if __name__ == "__main__":
    main()
