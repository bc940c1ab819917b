"""Certificates made for a test."""

import hashlib
import json
import os
import secrets

from cryptography.hazmat.primitives.asymmetric import ec
from OpenSSL import crypto


def make_certificate(folder, names="IP:127.0.0.1", subject="test server"):
    """Makes a self-signed certificate. Answers the file that holds it and its key, and its fingerprint."""
    key = crypto.PKey.from_cryptography_key(ec.generate_private_key(ec.SECP256R1()))
    certificate = crypto.X509()
    certificate.set_version(2)
    certificate.set_serial_number(secrets.randbits(64))
    certificate.get_subject().CN = subject
    certificate.set_issuer(certificate.get_subject())
    certificate.gmtime_adj_notBefore(-3600)
    certificate.gmtime_adj_notAfter(24 * 3600)
    certificate.set_pubkey(key)
    certificate.add_extensions([crypto.X509Extension(b"subjectAltName", False, names.encode())])
    certificate.sign(key, "sha256")
    path = os.path.join(folder, secrets.token_hex(4) + ".pem")
    with open(os.open(path, os.O_WRONLY | os.O_CREAT, 0o600), "wb") as file:
        file.write(crypto.dump_certificate(crypto.FILETYPE_PEM, certificate))
        file.write(crypto.dump_privatekey(crypto.FILETYPE_PEM, key))
    return path, hashlib.sha256(crypto.dump_certificate(crypto.FILETYPE_ASN1, certificate)).hexdigest()


def trust_certificate(environment, server, fingerprint):
    """Has the program in that home folder trust the server of that host and port."""
    path = os.path.join(environment["XDG_CONFIG_HOME"], "quillbox", "trusted-certificates.json")
    os.makedirs(os.path.dirname(path), mode=0o700, exist_ok=True)
    with open(os.open(path, os.O_WRONLY | os.O_CREAT, 0o600), "w", encoding="utf-8") as file:
        json.dump({server: fingerprint}, file)
