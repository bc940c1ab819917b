"""Installs a Debian package of this program in a Debian 12 root made for it, runs the program there, and removes it:

    unshare --mount --propagation private package_root.py PACKAGE

For root, in a mount namespace of its own, with which all that is mounted here goes. The root holds what the package
depends on and nothing else; the display and the FTP server are on this side of it.
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile

TOP = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(TOP, "tests", "window"))

from desktop import Desktop, wait_for  # noqa: E402
from program import store_settings  # noqa: E402
from upload_server import UploadServer  # noqa: E402

NOBODY = "65534:65534"
SOURCES = ["/etc/apt/sources.list.d/debian.sources", "/etc/apt/sources.list"]
# What the package manager itself writes down.
ITS_OWN = re.compile(r"/(dev|proc|tmp)/|/var/(cache|log)/|/var/lib/(dpkg|apt)/(.*-old|extended_states)$")


class Failed(Exception):
    """Why the package is not as it should be."""


def run(*words, **options):
    result = subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **options)
    if result.returncode != 0:
        raise Failed(f"{' '.join(words)}:\n{result.stdout[-4000:]}")
    return result.stdout


class Root:
    def __init__(self, folder):
        self.folder = folder
        sources = [path for path in SOURCES if os.path.exists(path) and "bookworm" in open(path).read()]
        run("mmdebstrap", "--mode=root", "--variant=minbase", "bookworm", folder, *sources[:1])
        run("mount", "-t", "proc", "proc", self.path("proc"))

    def path(self, name):
        return os.path.join(self.folder, name)

    def words(self, *words, user=None):
        return ["chroot", *([f"--userspec={user}", "--groups="] if user else []), self.folder, *words]

    def run(self, *words):
        environment = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "DEBIAN_FRONTEND": "noninteractive", "LC_ALL": "C.UTF-8"}
        return run(*self.words(*words), env=environment)

    def files(self):
        """Every file with its kind, rights, owner, and what it links to."""
        lines = self.run("find", "/", "-xdev", "-printf", "%p\\t%y %m %u:%g %l\\n").splitlines()
        return {line for line in lines if not ITS_OWN.search(line.split("\t")[0])}


def check_what_is_there(root):
    shown = root.run("quillbox", "--version")
    if not shown.startswith("Quillbox "):
        raise Failed(f"the program says of its version: {shown}")
    missing = [line for line in root.run("ldd", "/usr/bin/Quillbox").splitlines() if "not found" in line]
    if missing:
        raise Failed("\n".join(["libraries are missing:", *missing]))
    root.run("dpkg", "--verify", "quillbox")


def start(root, desktop, *files):
    """Starts the program as somebody without any rights; answers its process and the environment it has."""
    home = root.path("tmp/home")
    os.makedirs(os.path.join(home, "config"), exist_ok=True)
    run("chown", "-R", NOBODY, home)
    environment = {"HOME": "/tmp/home", "XDG_CONFIG_HOME": "/tmp/home/config", "XDG_RUNTIME_DIR": "/tmp/home",
                   "PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8", "DISPLAY": desktop.environment["DISPLAY"]}
    settings = [f"{name}={value}" for name, value in environment.items()]
    # By way of the wrapper, as from a command line.
    return desktop.spawn(root.words("/usr/bin/env", "-i", *settings, "quillbox", *files, user=NOBODY))


def check_that_it_runs(root, picture):
    """An upload through the window, to a server on this side, without a session bus or anything else that a desktop brings."""
    with Desktop() as desktop, UploadServer() as server:
        config = {"XDG_CONFIG_HOME": root.path("tmp/home/config")}
        store_settings(config, server.settings(DoNotShowWelcomeWindowAgain=True))
        with open(root.path("tmp/home/été.txt"), "w", encoding="utf-8") as file:
            file.write("from a new system\n")
        process = start(root, desktop, "/tmp/home/été.txt")

        title = f"ftp://127.0.0.1:{server.port}/"
        window = wait_for(lambda: desktop.windows_of(process.pid, f"^{re.escape(title)}$"), f"the window {title}")[0]
        wait_for(lambda: server.received == ["été.txt"], "the file to arrive")
        if server.content("été.txt") != b"from a new system\n":
            raise Failed("the file arrived with other contents")
        words = desktop.environment
        shown = run("xprop", "-id", window, "WM_CLASS", env=words)
        if shown.strip() != 'WM_CLASS(STRING) = "Quillbox", "quillbox"':
            raise Failed(f"launchers know the window by another class: {shown}")
        if "CARDINAL" not in run("xprop", "-id", window, "-len", "8", "_NET_WM_ICON", env=words):
            raise Failed("the window has no icon")
        desktop.picture(picture, window, frame=True)
        desktop.end(process)
    shutil.rmtree(root.path("tmp/home"))


def check(package, root, picture):
    shutil.copy(package, root.path("tmp/quillbox.deb"))
    root.run("apt-get", "-q", "update")
    depends = root.run("dpkg-deb", "--field", "/tmp/quillbox.deb", "Depends").strip()
    root.run("apt-get", "-q", "satisfy", "--yes", "--no-install-recommends", depends)
    before = root.files()

    root.run("dpkg", "--install", "/tmp/quillbox.deb")
    added = len(root.files() - before)
    check_what_is_there(root)
    check_that_it_runs(root, picture)

    root.run("dpkg", "--purge", "quillbox")
    after = root.files()
    if before != after:
        raise Failed("\n".join(["left, lost or changed by the package:", *sorted(before ^ after)]))
    print(f"  {added} files and folders came and went; a file went up through the window in between")


def main():
    package = sys.argv[1]
    folder = tempfile.mkdtemp(prefix="quillbox-root-", dir=os.path.dirname(os.path.abspath(package)))
    os.chmod(folder, 0o755)
    try:
        check(package, Root(folder), os.path.join(TOP, "build", "package", "installed.png"))
    except (Failed, AssertionError) as failure:
        print(f"check-package: {failure}", file=sys.stderr)
        return 1
    finally:
        subprocess.run(["umount", "--lazy", os.path.join(folder, "proc")], stderr=subprocess.DEVNULL)
        shutil.rmtree(folder)
    return 0


if __name__ == "__main__":
    sys.exit(main())
