"""What the workloads are given: a desktop, a program, files, and how often to repeat."""

import contextlib
import os
import subprocess
import sys
import tempfile

from benchmark import TOP

sys.path.insert(0, os.path.join(TOP, "tests", "window"))

import near  # noqa: E402
from desktop import Desktop  # noqa: E402
from window import Window, settings_of  # noqa: E402

MAKES = ("vsftpd", "pure-ftpd", "proftpd", "pyftpdlib")
SPACE_NEEDED = 12 * near.LARGE


class Bench:
    def __init__(self, program, desktop, folder, runs, quick=False, servers=None):
        """quick: less of everything; servers: these makes alone."""
        self.quick = quick
        self.runs = runs
        self.program = program
        self.desktop = desktop
        self._servers = servers
        self._folder = folder
        self._places = None

    def makes(self, *makes):
        """Those of these makes of servers that were chosen; a quick run takes the first one alone."""
        chosen = [make for make in self._servers or (makes[:1] if self.quick else makes) if make in makes]
        return [make for make in chosen if make != "pure-ftpd" or os.getuid() == 0]

    def large_file(self, size=near.LARGE):
        path = os.path.join(self._folder, f"large-{size}")
        if not os.path.exists(path):
            with open(path, "wb") as file:
                for _ in range(1024):
                    file.write(os.urandom(size // 1024))
        return path

    def places(self):
        """Where to click in the window, relative to its corner."""
        if self._places is None:
            with near.served("pyftpdlib") as (root, login, _):
                near.make_files(root, 1, 1, "small")
                with Window(self.desktop, self.program, settings_of(login), accessible=True) as window:
                    self._places = window.places()
        return self._places


@contextlib.contextmanager
def surroundings():
    """A desktop, and a folder for files, in which everything temporary is made."""
    tempfile.tempdir = _folder_for_files()
    with tempfile.TemporaryDirectory(prefix="quillbox-bench-") as folder:
        tempfile.tempdir = folder
        with Desktop() as desktop:
            yield desktop, folder


def prepare(packages="--bench"):
    """Installs and unpacks what the workloads need; `packages` is what install-dependencies is to be given."""
    for words in (["install-dependencies", packages], ["fetch-test-servers"]):
        subprocess.run([os.path.join(TOP, "scripts", words[0]), *words[1:]], check=True, stdout=sys.stderr)


def _folder_for_files():
    """In memory where there is room, so that no disk is measured."""
    space = os.statvfs("/dev/shm")
    return "/dev/shm" if space.f_bavail * space.f_frsize > SPACE_NEEDED else None
