"""Runs the other programs of this folder for one test program, each in a process of its own.

They are forked from here, where their modules have been read: a new Python with all of them takes longer than what most
tests have a server do. Standard input is a socket; each message on it is a JSON list of a script's name and its
arguments, and brings the descriptor that the script has for its standard input and output. Ends with the socket.
"""

import gc
import importlib
import json
import os
import signal
import socket
import sys

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
        module = importlib.import_module(words[0].removesuffix(".py"))
        gc.freeze()  # Lest a collection in the child touches all that it shares with us.
        if os.fork() == 0:
            signal.signal(signal.SIGCHLD, signal.SIG_DFL)
            for number in (0, 1):
                os.dup2(descriptor, number)
            os.close(descriptor)
            source.detach()
            sys.argv = words
            module.main()
            sys.stdout.flush()
            os._exit(0)  # To tidy up after all modules would take longer than to run.
        os.close(descriptor)


if __name__ == "__main__":
    main()
