"""Installs the Debian packages of this program in a Debian 12 root made for them, runs the program there, builds and runs
another program on the library, and removes them:

    unshare --mount --propagation private package_root.py PACKAGE...

For root, in a mount namespace of its own, with which all that is mounted here goes. The root holds what the packages
depend on, later a compiler as well, and nothing else; the display and the FTP servers are on this side of it.
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile

TOP = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(TOP, "tests", "window"))

from certificates import make_certificate  # noqa: E402
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


class Package:
    """One that is installed while the block lasts. Nothing of it may stay, and nothing else change."""

    def __init__(self, root, *paths):
        self.root = root
        self.paths = ["/tmp/" + os.path.basename(path) for path in paths]
        for path in paths:
            shutil.copy(path, root.path("tmp"))
        self.names = [root.run("dpkg-deb", "--field", path, "Package").strip() for path in self.paths]

    def __enter__(self):
        depends = [self.root.run("dpkg-deb", "--field", path, "Depends").strip() for path in self.paths]
        elsewhere = [each for each in ", ".join(depends).split(", ") if each.split()[0] not in self.names]
        self.root.run("apt-get", "-q", "satisfy", "--yes", "--no-install-recommends", ", ".join(elsewhere))
        self.before = self.root.files()
        self.root.run("dpkg", "--install", *self.paths)
        self.added = len(self.root.files() - self.before)
        for name in self.names:
            self.root.run("dpkg", "--verify", name)
        return self

    def __exit__(self, kind, *_):
        if kind is not None:
            return
        self.root.run("dpkg", "--purge", *self.names)
        after = self.root.files()
        if self.before != after:
            raise Failed("\n".join(["left, lost or changed:", *sorted(self.before ^ after)]))


def check_program(root, path, picture):
    with Package(root, path) as package:
        check_what_is_there(root)
        check_that_it_runs(root, picture)
    print(f"  {package.added} files and folders came and went; a file went up through the window in between")


def run_outside(program, *options):
    """Runs the program against a server on this side; with a certificate encrypted."""
    with tempfile.TemporaryDirectory() as served, tempfile.TemporaryDirectory() as folder:
        words = [sys.executable, "-B", os.path.join(TOP, "tests", "servers", "real_server.py"), "pyftpdlib", served]
        certificate, fingerprint = make_certificate(folder)
        encrypted = ["--tls", certificate] if "encrypted" in options else []
        with subprocess.Popen([*words, *encrypted], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True) as server:
            _, port, _, user, _, password = server.stdout.readline().split()
            program(port, user, password, *([fingerprint] if encrypted else []))


def check_library(root, *paths):
    """A program that was never a part of this build, built by CMake and by pkg-config."""
    root.run("apt-get", "-q", "install", "--yes", "--no-install-recommends", "cmake", "g++", "make", "pkg-config")
    with Package(root, *paths) as package:
        shutil.copytree(os.path.join(TOP, "tests", "library", "outside"), root.path("tmp/outside"))
        root.run("cmake", "-S", "/tmp/outside", "-B", "/tmp/outside/build")
        root.run("cmake", "--build", "/tmp/outside/build")
        root.run("sh", "-c", "c++ -std=c++20 -fPIC /tmp/outside/main.cpp -o /tmp/outside/by_pkg_config "
                             "$(pkg-config --cflags --libs quillboxftp)")
        for name in ("build/outside", "by_pkg_config"):
            run_outside(lambda *words: root.run("/tmp/outside/" + name, *words))
            run_outside(lambda *words: root.run("/tmp/outside/" + name, *words), "encrypted")
        shutil.rmtree(root.path("tmp/outside"))
    print(f"  {package.added} files and folders came and went; another program used the library in between")


def check(packages, root, picture):
    root.run("apt-get", "-q", "update")
    library = [path for path in packages if os.path.basename(path).startswith("lib")]
    (program,) = [path for path in packages if path not in library]
    check_program(root, program, picture)
    check_library(root, *library)


def main():
    packages = sys.argv[1:]
    folder = tempfile.mkdtemp(prefix="quillbox-root-", dir=os.path.dirname(os.path.abspath(packages[0])))
    os.chmod(folder, 0o755)
    try:
        check(packages, Root(folder), os.path.join(TOP, "build", "package", "installed.png"))
    except (Failed, AssertionError) as failure:
        print(f"check-package: {failure}", file=sys.stderr)
        return 1
    finally:
        subprocess.run(["umount", "--lazy", os.path.join(folder, "proc")], stderr=subprocess.DEVNULL)
        shutil.rmtree(folder)
    return 0


if __name__ == "__main__":
    sys.exit(main())
