"""The server's end of TLS as bytes in and bytes out."""

import ssl


def context_of(pem, newest=ssl.TLSVersion.MAXIMUM_SUPPORTED):
    """What a server needs for TLS up to the version newest: pem holds its certificate and key."""
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(pem)
    context.maximum_version = newest
    return context


class TlsEnd:
    """One connection. What fails raises ConnectionError."""

    def __init__(self, context):
        self._incoming = ssl.MemoryBIO()
        self._outgoing = ssl.MemoryBIO()
        self._tls = context.wrap_bio(self._incoming, self._outgoing, server_side=True)
        self.ready = False  # The handshake is done.
        self.ended = False  # The client has said that it has sent everything.

    def feed(self, received):
        """Takes in what has come, and answers what it says. Afterwards something may be due to be sent."""
        self._incoming.write(received)
        said = []
        try:
            if not self.ready:
                self._tls.do_handshake()
                self.ready = True
            while block := self._tls.read(256 * 1024):
                said.append(block)
            self.ended = True
        except ssl.SSLWantReadError:
            pass
        except ssl.SSLZeroReturnError:
            self.ended = True
        except ssl.SSLError as error:
            raise ConnectionError(str(error)) from error
        return b"".join(said)

    def sealed(self, said=b""):
        """What is to be sent so that the client hears this, with what was due before."""
        if said:
            self._tls.write(said)
        return self._outgoing.read()

    def sealed_end(self):
        """What is to be sent so that the client hears that nothing follows."""
        try:
            self._tls.unwrap()
        except ssl.SSLError:
            pass  # The client has yet to say the same.
        return self._outgoing.read()
