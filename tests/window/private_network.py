"""A network of this process's own, in which it may listen on port 21: a user and network namespace with loopback."""

import ctypes
import os
import subprocess
import tempfile

CLONE_NEWNS = 0x00020000
CLONE_NEWUSER = 0x10000000
CLONE_NEWNET = 0x40000000

REMEDY = (
    "Tests on port 21 need a user and network namespace of their own, which this system does not let us make. On Debian "
    "“sysctl kernel.unprivileged_userns_clone=1” allows it, elsewhere perhaps “sysctl user.max_user_namespaces=1000” or "
    "“sysctl kernel.apparmor_restrict_unprivileged_userns=0”; in a container, run it with the right to do so."
)


def enter():
    """Moves this process, which must not have threads yet, and all that it starts from now on into such a network.

    There is a default route, as the program asks for one; it leads nowhere but back. Fails with the reason and the
    remedy where that is not allowed.
    """
    user, group = os.getuid(), os.getgid()
    try:
        libc = ctypes.CDLL(None, use_errno=True)
        if libc.unshare(CLONE_NEWUSER | CLONE_NEWNET | CLONE_NEWNS) != 0:
            raise OSError(ctypes.get_errno(), os.strerror(ctypes.get_errno()))
        for name, text in (("setgroups", "deny"), ("uid_map", f"0 {user} 1"), ("gid_map", f"0 {group} 1")):
            with open(f"/proc/self/{name}", "w", encoding="ascii") as file:
                file.write(text)
        for words in ("ip link set lo up", "ip route add default dev lo"):
            subprocess.run(words.split(), check=True, capture_output=True, text=True)
    except subprocess.CalledProcessError as error:
        raise AssertionError(f"{REMEDY}\n{' '.join(error.cmd)}: {error.stderr.strip()}") from error
    except OSError as error:
        raise AssertionError(f"{REMEDY}\n{error}") from error


def set_default_route(is_there):
    """Whether there is a way to everywhere else."""
    subprocess.run(["ip", "route", "add" if is_there else "del", "default", "dev", "lo"], check=True)


def forget_names():
    """From now on nobody answers who is asked for an address."""
    with tempfile.NamedTemporaryFile("w", suffix=".conf") as file:
        file.write("nameserver 127.0.0.1\n")
        file.flush()
        subprocess.run(["mount", "--bind", file.name, "/etc/resolv.conf"], check=True)


def name_addresses(host, *addresses):
    """From now on that host has these addresses, tried in this order."""
    with tempfile.NamedTemporaryFile("w", suffix=".hosts") as file:
        file.writelines(f"{address} {host}\n" for address in addresses)
        file.flush()
        subprocess.run(["mount", "--bind", file.name, "/etc/hosts"], check=True)
