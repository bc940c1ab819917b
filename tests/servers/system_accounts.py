"""An account that exists for one server alone, which logs in users of the system.

The server runs in a mount namespace of its own, in which /etc/passwd, /etc/shadow, the rules for logins and the list of
those who may not log in by FTP are ours. The machine's own are neither read nor changed, and nothing stays behind.
"""

import ctypes
import os

_CLONE_NEWNS = 0x00020000
_MS_BIND, _MS_REC, _MS_PRIVATE = 0x1000, 0x4000, 0x40000
_libc = ctypes.CDLL(None, use_errno=True)


def _check(result, what):
    if result != 0:
        number = ctypes.get_errno()
        raise OSError(number, f"{what}: {os.strerror(number)}; run the tests as root, in a container that may mount")


def _mount(source, target, flags):
    _check(_libc.mount(source.encode(), target.encode(), None, flags, None), f"cannot mount over {target}")


def enter(folder):
    """Lets this process and its children see the accounts that write() has put into `folder`. Only root can."""
    _check(_libc.unshare(_CLONE_NEWNS), "cannot make a mount namespace")
    _mount("none", "/", _MS_REC | _MS_PRIVATE)
    for name in ("passwd", "shadow", "pam.d"):
        _mount(os.path.join(folder, name), os.path.join("/etc", name), _MS_BIND)
    if os.path.exists("/var/log/wtmp"):
        _mount(os.path.join(folder, "wtmp"), "/var/log/wtmp", _MS_BIND)  # Logins are noted there.


def write(folder, user, crypted_password, home):
    """The one account, with our own rights, so that what it makes belongs to us."""
    rules = os.path.join(folder, "pam.d")
    os.makedirs(rules, exist_ok=True)
    files = {
        "passwd": f"{user}:x:{os.getuid()}:{os.getgid()}::{home}:/bin/sh\n",
        "shadow": f"{user}:{crypted_password}:1::::::\n",
        # netkit's server asks for the password in the way of pam_ftp alone.
        "pam.d/ftp": """
            auth sufficient pam_ftp.so
            auth required pam_unix.so
            account required pam_permit.so
            session required pam_permit.so
        """,
        "wtmp": "",
    }
    for name, text in files.items():
        with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
            file.write(text)
