"""Serves each connection by a program that has it for its standard input and output:

    inetd_server.py ADDRESS PORT ACCOUNTS PROGRAM ARGUMENT...

The program sees the accounts in the folder ACCOUNTS (see system_accounts.py) instead of the system's.
"""

import signal
import socket
import subprocess
import sys

import system_accounts
from process_lifetime import end_with_parent


def main():
    address, port, accounts, *words = sys.argv[1:]
    system_accounts.enter(accounts)
    signal.signal(signal.SIGCHLD, signal.SIG_IGN)  # Nobody asks how they ended.
    with socket.create_server((address, int(port)), backlog=64) as listener:
        while True:
            connection, _ = listener.accept()
            with connection:
                subprocess.Popen(
                    words,
                    stdin=connection,
                    stdout=connection,
                    stderr=subprocess.DEVNULL,
                    preexec_fn=end_with_parent(signal.SIGKILL),
                )


if __name__ == "__main__":
    main()
