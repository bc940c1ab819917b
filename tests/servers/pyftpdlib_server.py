"""The server of pyftpdlib, with one user:  pyftpdlib_server.py ADDRESS PORT USER PASSWORD-FILE ROOT"""

import logging
import sys

from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.handlers import FTPHandler
from pyftpdlib.servers import FTPServer


class Handler(FTPHandler):
    auth_failed_timeout = 0
    timeout = 600


def main():
    address, port, user, password_file, root = sys.argv[1:]
    with open(password_file, encoding="utf-8") as file:
        password = file.read()
    logging.basicConfig(level=logging.ERROR)
    # All that the server offers, changing permissions included.
    authorizer = DummyAuthorizer()
    authorizer.add_user(user, password, root, perm="elradfmwMT")
    Handler.authorizer = authorizer
    FTPServer((address, int(port)), Handler).serve_forever()


if __name__ == "__main__":
    main()
