#!/usr/bin/python3
"""Runs a real FTP server for a test:  real_server.py MAKE ROOT [ADDRESS [PORT]] [--tls PEM [VERSION]]  (makes: vsftpd,
proftpd, pyftpdlib, pure-ftpd, inetutils, netkit, twisted)

The server listens on a free port of 127.0.0.1, or on the address and the port given, and serves the folder ROOT, which
is where its login begins. Uploading, overwriting, creating and deleting are allowed. Configuration and login are made up
for this run; the machine's accounts play no part. It works for any user, but for pure-ftpd, inetutils and netkit, which
only root can start.

With --tls the server refuses unencrypted logins and data, shows the certificate in PEM, which holds its key too,
and speaks TLS of VERSION (1.2 or 1.3) alone, or of any version. vsftpd and proftpd take data connections only in the
session of the control connection.

When the server takes logins, one line "port N user U password P" is printed. The server ends when stdin closes, on
SIGTERM, or with its parent.

Servers come from build/servers, where scripts/fetch-test-servers puts them, or else from the system.
"""

import ftplib
import os
import queue
import secrets
import signal
import socket
import ssl
import subprocess
import sys
import tempfile
import time

import forked_program
import real_server_makes
from process_lifetime import end_with_parent, stop_when_released

START_SECONDS = 20
ATTEMPTS = 4


def free_port(address):
    with socket.socket() as listener:
        listener.bind((address, 0))
        return listener.getsockname()[1]


def log_in(login):
    """A session with the server at the login's port, or None. Only our server knows the password."""
    client = ftplib.FTP()
    if login.tls is not None:
        trusting = ssl.SSLContext(ssl.PROTOCOL_TLS_CLIENT)
        trusting.check_hostname = False
        trusting.verify_mode = ssl.CERT_NONE
        client = ftplib.FTP_TLS(context=trusting)
    try:
        client.connect(login.address, login.port, timeout=5)
        client.login(login.user, login.password)
        return client
    except (OSError, EOFError, ftplib.Error):
        client.close()
        return None


def start(make, address, port, root, folder, tls):
    """Starts the server and answers its process, its login and a session; raises OSError when it cannot be started.

    Without a port it takes a free one.
    """
    log_path = os.path.join(folder, "log")
    for _ in range(ATTEMPTS):
        login = real_server_makes.Login(address, port or free_port(address), make.user, secrets.token_hex(8), tls)
        with open(log_path, "wb") as log:
            process = run(make, make.prepare(login, root, folder), log, real_server_makes.environment(tls, folder))
        deadline = time.monotonic() + START_SECONDS
        while process.poll() is None and time.monotonic() < deadline:
            session = log_in(login)
            if session is not None:
                return process, login, session
            time.sleep(0.01)
        kill(process)
        # Somebody else may have taken the port before the server did: another one may be free.
    with open(log_path, encoding="utf-8", errors="replace") as log:
        raise OSError(f"{sys.argv[1]} does not start: {log.read().strip()}")


def run(make, words, log, variables):
    """Starts a server; a Python of its own it needs where OpenSSL is to be another for it."""
    tie = end_with_parent(signal.SIGKILL)
    if hasattr(make, "forked_script") and "OPENSSL_CONF" not in variables:

        def begin():
            os.setsid()
            tie()

        with open(os.devnull, "rb") as nothing:
            return forked_program.ForkedProgram(words[1:], nothing.fileno(), log.fileno(), log.fileno(), begin)
    return subprocess.Popen(
        words,
        stdin=subprocess.DEVNULL,
        stdout=log,
        stderr=subprocess.STDOUT,
        env={**os.environ, **variables},
        start_new_session=True,
        preexec_fn=tie,
    )


def kill(process):
    """Ends the server and the processes that it serves connections with."""
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()


def read_modules(arguments):
    """Those of the make that the arguments begin with."""
    script = getattr(real_server_makes.MAKES.get(arguments[0]), "forked_script", None)
    if script is not None:
        forked_program.read_modules([script])


def main():
    arguments, tls = sys.argv[1:], None
    if "--tls" in arguments:
        place = arguments.index("--tls")
        if len(arguments) - place not in (2, 3):
            sys.exit(__doc__)
        tls = real_server_makes.Tls(*arguments[place + 1 :])
        del arguments[place:]
    if len(arguments) not in (2, 3, 4) or arguments[0] not in real_server_makes.MAKES:
        sys.exit(__doc__)
    address = arguments[2] if len(arguments) > 2 else "127.0.0.1"
    port = int(arguments[3]) if len(arguments) > 3 else None
    # Unlike an event, it may be put into by a signal handler.
    released = queue.SimpleQueue()
    stop_when_released(lambda: released.put(None))
    with tempfile.TemporaryDirectory(prefix="real-server-") as folder:
        try:
            make = real_server_makes.MAKES[arguments[0]]()
            # The session stays open: when one ends, proftpd takes nobody else for 0.4 s.
            process, login, session = start(make, address, port, os.path.abspath(arguments[1]), folder, tls)
        except OSError as error:
            sys.exit(f"real_server.py: {error}")
        try:
            print(f"port {login.port} user {login.user} password {login.password}", flush=True)
            released.get()
        finally:
            session.close()
            kill(process)


if __name__ == "__main__":
    main()
