"""The server of pyftpdlib, with one user:  pyftpdlib_server.py ADDRESS PORT USER PASSWORD-FILE ROOT [PEM]

With PEM, the file of a certificate and its key, nothing is taken unencrypted.
"""

import logging
import sys

from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.handlers import FTPHandler, TLS_FTPHandler
from pyftpdlib.servers import FTPServer


class Handler(FTPHandler):
    auth_failed_timeout = 0
    timeout = 600


class TlsHandler(TLS_FTPHandler):
    auth_failed_timeout = 0
    timeout = 600
    tls_control_required = True
    tls_data_required = True


def main():
    address, port, user, password_file, root, *pem = sys.argv[1:]
    with open(password_file, encoding="utf-8") as file:
        password = file.read()
    logging.basicConfig(level=logging.ERROR)
    # All that the server offers, changing permissions included.
    authorizer = DummyAuthorizer()
    authorizer.add_user(user, password, root, perm="elradfmwMT")
    handler = TlsHandler if pem else Handler
    if pem:
        handler.certfile = pem[0]
    handler.authorizer = authorizer
    FTPServer((address, int(port)), handler).serve_forever()


if __name__ == "__main__":
    main()
