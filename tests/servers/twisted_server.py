"""The server of Twisted, with one user:  twisted_server.py ADDRESS PORT USER PASSWORD-FILE ROOT"""

import sys

from twisted.cred.checkers import InMemoryUsernamePasswordDatabaseDontUse
from twisted.cred.portal import IRealm, Portal
from twisted.internet import reactor
from twisted.protocols.ftp import FTPFactory, FTPShell, IFTPShell
from twisted.python.filepath import FilePath
from zope.interface import implementer


@implementer(IRealm)
class Realm:
    def __init__(self, root):
        self._root = root

    def requestAvatar(self, _avatar_id, _mind, *_interfaces):
        return IFTPShell, FTPShell(FilePath(self._root)), lambda: None


def main():
    address, port, user, password_file, root = sys.argv[1:]
    with open(password_file, encoding="utf-8") as file:
        password = file.read()
    checker = InMemoryUsernamePasswordDatabaseDontUse()
    checker.addUser(user, password)  # As texts, which is what the protocol asks with.
    factory = FTPFactory(Portal(Realm(root), [checker]))
    factory.allowAnonymous = False
    reactor.listenTCP(int(port), factory, interface=address)
    reactor.run()


if __name__ == "__main__":
    main()
