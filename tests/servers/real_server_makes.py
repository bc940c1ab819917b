"""The makes of servers that real_server.py runs: how each is told what to serve, to whom and where."""

import ctypes
import dataclasses
import grp
import os
import pwd
import shutil
import subprocess
import sys

import system_accounts

FETCHED = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", "..", "build", "servers"))


@dataclasses.dataclass
class Tls:
    pem: str
    version: str = ""  # "1.2" or "1.3"; empty: any.


@dataclasses.dataclass
class Login:
    address: str
    port: int
    user: str
    password: str
    tls: Tls | None = None  # None: unencrypted.


def environment(tls, folder):
    """The environment for servers: the libraries that came with those from FETCHED are found there."""
    folders = [os.path.dirname(path) for path in _libraries()]
    variables = {"LD_LIBRARY_PATH": ":".join(dict.fromkeys(folders))} if folders else {}
    if tls is not None and tls.version:
        # Not every make has a setting for it; all of them use OpenSSL.
        text = f"""
            openssl_conf = top
            [top]
            ssl_conf = ssl
            [ssl]
            system_default = tls
            [tls]
            MinProtocol = TLSv{tls.version}
            MaxProtocol = TLSv{tls.version}
        """
        variables["OPENSSL_CONF"] = _write(folder, "openssl.cnf", text)
    return variables


def _libraries():
    for top in ("lib", "usr/lib"):
        for folder, _, names in os.walk(os.path.join(FETCHED, top)):
            yield from (os.path.join(folder, name) for name in names if ".so." in name)


def _program(name):
    path = shutil.which(name, path=os.path.join(FETCHED, "usr", "sbin") + ":/usr/sbin:/usr/local/sbin")
    if path is None:
        raise OSError(f"{name} is missing; scripts/fetch-test-servers brings it")
    return path


def _caller():
    return pwd.getpwuid(os.getuid())


def _write(folder, name, text):
    path = os.path.join(folder, name)
    with open(os.open(path, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o600), "w", encoding="utf-8") as file:
        file.write(text)
    return path


class Vsftpd:
    """Run as its caller, vsftpd can only serve the anonymous user; a list of addresses makes its password count."""

    user = "anonymous"

    def __init__(self):
        self._path = _program("vsftpd")

    def prepare(self, login, root, folder):
        empty = os.path.join(folder, "empty")
        os.makedirs(empty, exist_ok=True)
        caller = _caller().pw_name
        settings = {
            "listen": "YES",
            "listen_address": login.address,
            "listen_port": login.port,
            "background": "NO",
            "run_as_launching_user": "YES",
            "nopriv_user": caller,
            "secure_chroot_dir": empty,
            "seccomp_sandbox": "NO",
            "anonymous_enable": "YES",
            "ftp_username": caller,
            "anon_root": root,
            "allow_writeable_chroot": "YES",
            "secure_email_list_enable": "YES",
            "email_password_file": _write(folder, "passwords", login.password + "\n"),
            "write_enable": "YES",
            "anon_upload_enable": "YES",
            "anon_mkdir_write_enable": "YES",
            "anon_other_write_enable": "YES",
            "anon_world_readable_only": "NO",
            "anon_umask": "022",
            "delay_failed_login": 0,
            "delay_successful_login": 0,
            "xferlog_enable": "NO",
            "syslog_enable": "NO",
        }
        if login.tls is not None:
            settings |= {
                "ssl_enable": "YES",
                "allow_anon_ssl": "YES",
                "force_anon_logins_ssl": "YES",
                "force_anon_data_ssl": "YES",
                "require_ssl_reuse": "YES",
                "ssl_ciphers": "HIGH",
                "rsa_cert_file": login.tls.pem,
                "rsa_private_key_file": login.tls.pem,
            }
        lines = "".join(f"{name}={value}\n" for name, value in settings.items())
        return [self._path, _write(folder, "vsftpd.conf", lines)]


class Proftpd:
    user = "tester"

    def __init__(self):
        self._path = _program("proftpd")

    def prepare(self, login, root, folder):
        caller = _caller()
        _write(folder, "users", f"{login.user}:{_crypt(login.password)}:{caller.pw_uid}:{caller.pw_gid}::{root}:\n")
        _write(folder, "groups", f"tester:x:{caller.pw_gid}:\n")
        lines = f"""
            ServerType standalone
            DefaultAddress {login.address}
            SocketBindTight on
            Port {login.port}
            UseIPv6 off
            UseReverseDNS off
            User {caller.pw_name}
            Group {grp.getgrgid(caller.pw_gid).gr_name}
            AuthOrder mod_auth_file.c
            AuthUserFile "{folder}/users"
            AuthGroupFile "{folder}/groups"
            RequireValidShell off
            UseFtpUsers off
            RootLogin on
            Umask 022
            AllowOverwrite on
            PidFile "{folder}/pid"
            ScoreboardFile none
            TransferLog none
            SystemLog none
            WtmpLog off
            <IfModule mod_delay.c>
              DelayEngine off
            </IfModule>
            <IfModule mod_lang.c>
              UseEncoding off
            </IfModule>
        """
        if login.tls is not None:
            versions = f"TLSv{login.tls.version}" if login.tls.version else "TLSv1.2 TLSv1.3"
            lines += f"""
            ModulePath {os.path.join(FETCHED, "usr", "lib", "proftpd")}
            LoadModule mod_tls.c
            TLSEngine on
            TLSRequired on
            TLSProtocol {versions}
            TLSECCertificateFile "{login.tls.pem}"
            TLSECCertificateKeyFile "{login.tls.pem}"
            """
        return [self._path, "--nodaemon", "--config", _write(folder, "proftpd.conf", lines)]


class PureFtpd:
    """It serves nobody as root, so that files go by the account "nobody", and only root can start it."""

    user = "tester"
    account = pwd.getpwnam("nobody")

    def __init__(self):
        self._path = _program("pure-ftpd")
        if os.getuid() != 0:
            raise OSError("pure-ftpd can only be started by root")

    def prepare(self, login, root, folder):
        os.chown(root, self.account.pw_uid, self.account.pw_gid)
        fields = [login.user, _crypt(login.password), self.account.pw_uid, self.account.pw_gid, "", f"{root}/./"]
        users = _write(folder, "users", ":".join(map(str, fields)) + ":" * 12 + "\n")
        database = os.path.join(folder, "users.pdb")
        tool = os.path.join(os.path.dirname(self._path), "..", "bin", "pure-pw")
        subprocess.run([tool, "mkdb", database, "-f", users], check=True, env={**os.environ, **environment(None, folder)})
        settings = {
            "--bind": f"{login.address},{login.port}",
            "--login": f"puredb:{database}",
            "--minuid": 1,
            "--umask": "022:022",
            "--limitrecursion": "1000000:10",
            "--pidfile": os.path.join(folder, "pid"),
        }
        words = [word for item in settings.items() for word in map(str, item)]
        return [self._path, "--ipv4only", "--noanonymous", "--dontresolve", *words]


class Pyftpdlib:
    user = "tester"
    forked_script = "pyftpdlib_server.py"  # That of Twisted does not take it to be forked.

    def prepare(self, login, root, folder):
        program = _script(self.forked_script)
        password = _write(folder, "password", login.password)
        pem = [login.tls.pem] if login.tls is not None else []
        return [sys.executable, program, login.address, str(login.port), login.user, password, root, *pem]


class Twisted:
    user = "tester"

    def prepare(self, login, root, folder):
        if login.tls is not None:
            raise OSError("the server of Twisted does not encrypt")
        password = _write(folder, "password", login.password)
        return [sys.executable, _script("twisted_server.py"), login.address, str(login.port), login.user, password, root]


class _Inetd:
    """A server that takes one connection from its standard input and logs in users of the system."""

    user = "tester"
    program = ""
    arguments = []

    def __init__(self):
        self._path = _program(self.program)
        if os.getuid() != 0:
            raise OSError(f"{self.program} logs in users of the system, which takes root; run the tests as root")

    def prepare(self, login, root, folder):
        accounts = os.path.join(folder, "accounts")
        system_accounts.write(accounts, login.user, _crypt(login.password), root)
        if login.tls is not None:
            raise OSError(f"{self.program} does not encrypt")
        words = [login.address, str(login.port), accounts, self._path, *self.arguments]
        return [sys.executable, _script("inetd_server.py"), *words]


class InetutilsFtpd(_Inetd):
    program = "ftpd"
    arguments = ["--umask=022"]


class NetkitFtpd(_Inetd):
    """Debian 12's agrees to encryption, but never reads the certificate that it is given, and so ends each handshake."""

    program = "in.ftpd"
    arguments = ["-n", "-u", "022"]


def _script(name):
    return os.path.join(os.path.dirname(os.path.abspath(__file__)), name)


def _crypt(password):
    """The hash of a password, as password files hold it (SHA-512)."""
    crypt = ctypes.CDLL("libcrypt.so.1").crypt
    crypt.restype = ctypes.c_char_p
    return crypt(password.encode(), b"$6$" + os.urandom(6).hex().encode() + b"$").decode()


MAKES = {
    "vsftpd": Vsftpd,
    "proftpd": Proftpd,
    "pyftpdlib": Pyftpdlib,
    "pure-ftpd": PureFtpd,
    "inetutils": InetutilsFtpd,
    "netkit": NetkitFtpd,
    "twisted": Twisted,
}
