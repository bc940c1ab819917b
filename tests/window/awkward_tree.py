"""A tree with awkward names on this machine, and what becomes of it when it is uploaded.

All paths and names are bytes, since not all of them are UTF-8.
"""

import os
import random
import stat
from typing import NamedTuple

LONGEST = 255  # Bytes of a name, to the file systems that people have.
NAMES = [
    *(b" in front", b"behind ", b"  ", b"two  blanks", b'"', b'"quoted" and \'single\'', b"%41", b"50% off", b"#", b"1#2"),
    *(b"a;type=i", b"*", b"?", b"why?.txt", b"[abc]", b"{a,b}", b"back\\slash", b"\\", b"-rf", b"--", b"~", b"~root"),
    *(b".hidden", b"...", b"..two", b"dot.", b"$HOME", b"`id`", b"a|b<c>d&e!", b"a:b@c=d+e,f", b"(1)", b"-> there"),
    *(b"here -> there", b"226 done", b"total 5", b"Case", b"case", b"CASE", b"tab\there", b"bell\a", b"delete\x7f"),
    *("composed é", "composed e\u0301", "Größe", "中文文件", "שלום", "العقد النهائي", "an\u202efdp.exe"),
    *("😀", "👩\u200d👩\u200d👧", "\u00a0", "line\u2028separator", "next\u0085line"),
    *(b"n" * LONGEST, "é" * (LONGEST // 2) + "x", b"caf\xe9", b"\x80\xfe"),
]
NAMES = [name if isinstance(name, bytes) else name.encode() for name in NAMES]
UNSENDABLE = [b"new\nline", b"return\rhere"]  # No command can hold them.
SIZES = [0, 1, 32_767, 32_768, 32_769, 300_000, 3_000_000]
IN_A_FOLDER = 20
DEPTH = 30
SHOWN = 100  # Characters of what differs.


def is_utf8(name):
    try:
        name.decode()
        return True
    except UnicodeDecodeError:
        return False


# Which names some makes of servers refuse by their own rules, of folders or of files.
REFUSED = {
    "proftpd": lambda name, is_folder: is_folder and b"*" in name,
    "pure-ftpd": lambda name, is_folder: b"\\" in name,
}
# Which they take for others, at least now and then.
UNCERTAIN = {
    "proftpd": lambda name: not name.strip(),
    "pure-ftpd": lambda name: name != name.strip() or any(byte < 32 or byte == 127 for byte in name),
    "pyftpdlib": lambda name: not is_utf8(name),
}


class Entry(NamedTuple):
    """What stands in the queue: a file, or a folder without any."""

    path: bytes  # Below the destination.
    is_folder: bool
    arrives: bool
    end: bytes  # What the path of a folder ends with in the queue, twice where that cannot be read.


def _in_order(entry):
    return entry.path.split(b"/")


class AwkwardTree:
    """What is dropped: a folder, a link to one, two of one name, and a file beside them.

    Files that nobody may read are no obstacle for root; whoever uploads must not have that right.
    """

    def __init__(self, place, files, make):
        """With at least that many files in the folder place, for a server of that make."""
        self._place = os.fsencode(place)
        self._refuses = REFUSED.get(make, lambda name, is_folder: False)
        is_uncertain = UNCERTAIN.get(make, lambda name: False)
        self._names = [name for name in NAMES if not is_uncertain(name)] + UNSENDABLE
        self._sources = {}  # Where the content of each file that arrives lies, by its path below the destination.
        self._contents = {}  # By the path on this machine.
        self._sizes = {}
        self._closed = []
        self._entries = {}  # By what is dropped.
        self.dropped = []
        self.left_out = []  # Paths on this machine.
        self._make_main(self._drop(b"", "Trée 50%41 #1; [a]? 😀".encode()), files)
        self._make_linked()
        for parent in (b"one", b"two"):
            top = self._drop(parent, b"Twice")
            self._file(top, b"of " + parent, 100)
            self._file(top, b"both/of " + parent, 100)
            self._empty(top, b"nothing")
        self._file(self._drop(b"", b"beside them.txt"), b"", 1000)
        self.write(1)
        for path in self._closed:
            os.chmod(path, 0)

    def close(self):
        """Lets others remove it."""
        for path in self._closed:
            os.chmod(path, 0o700)

    @property
    def entries(self):
        """What stands in the queue, in its order. A folder that is dropped twice has its entries twice."""
        return [entry for top in self._entries.values() for entry in sorted(top, key=_in_order)]

    def write(self, version):
        """Gives all files that can be read the contents of that version: of another size, but for the empty ones."""
        for path, size in self._sizes.items():
            content = random.Random(version * path).randbytes(size + version if size else 0)
            with open(path, "wb") as file:
                file.write(content)
            self._contents[path] = content

    def expected(self):
        """What a server has of it: the contents of files, and nothing for folders, by their paths."""
        found = {path: self._contents[source] for path, source in self._sources.items()}
        arrived = [entry for entry in self.entries if entry.arrives]
        found.update((entry.path, None) for entry in arrived if entry.is_folder)
        for entry in arrived:
            parts = entry.path.split(b"/")
            found.update((b"/".join(parts[:count]), None) for count in range(1, len(parts)))
        return found

    # What is made. A top is what is dropped: its path on this machine, and its name on the server.

    def _drop(self, parent, name):
        path = os.path.join(self._place, parent, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        self.dropped.append(path)
        self._entries[path] = []
        return path, name

    def _arrives(self, below, is_folder):
        *folders, name = below.split(b"/")
        refused = any(self._refuses(folder, True) for folder in folders) or self._refuses(name, is_folder)
        return not refused and not any(name in UNSENDABLE for name in (*folders, name))

    def _enter(self, top, name, is_folder=False, is_closed=False):
        path, top_name = top
        below = os.path.join(top_name, name) if name else top_name
        arrives = not is_closed and self._arrives(below, is_folder)
        entry = Entry(below, is_folder, arrives, b"/" * is_folder * (1 + is_closed))
        self._entries[path].append(entry)
        return entry

    def _local(self, top, name):
        path = os.path.join(top[0], name) if name else top[0]
        os.makedirs(os.path.dirname(path), exist_ok=True)
        return path

    def _file(self, top, name, size):
        path = self._local(top, name)
        self._write(path, size)
        self._found(top, name, path)
        return path

    def _write(self, path, size):
        """What is in it, write() says."""
        self._sizes[path] = size
        with open(path, "wb"):
            pass

    def _found(self, top, name, source):
        entry = self._enter(top, name)
        if entry.arrives:
            self._sources[entry.path] = source

    def _empty(self, top, name):
        os.makedirs(self._local(top, name))
        self._enter(top, name, is_folder=True)

    def _link(self, top, name, target, source=None):
        """With the file that it leads to in the end; what leads to none is left out."""
        path = self._local(top, name)
        os.symlink(target, path)
        if source:
            self._found(top, name, source)
        else:
            self.left_out.append(path)

    def _special(self, top, name, kind):
        path = self._local(top, name)
        os.mknod(path, kind | 0o600)
        self.left_out.append(path)

    def _make_main(self, top, files):
        for name in self._names:
            self._file(top, b"files/" + name, 700)
            self._file(top, b"folders/" + name + b"/" + name, 300)
            self._file(top, b"folders/" + name + b"/file", 0)
            self._empty(top, b"empty/" + name)
        for size in SIZES:
            self._file(top, b"sizes/%d bytes" % size, size)
        for name in (b"a b/c", b"a.b", b"a/c", b"a0", b"B"):  # Whole paths would sort otherwise, and so would words.
            self._file(top, b"order/" + name, 10)
        for level in range(1, DEPTH + 1):
            self._file(top, b"deep/" + b"level/" * level + b"file %d" % level, 50)
        self._make_links(top)
        self._make_closed(top)
        missing = files - sum(not entry.is_folder for entry in self.entries)
        for number in range(missing):
            folder, number = divmod(number, IN_A_FOLDER)
            self._file(top, b"many/%d/%d and more.jpg" % (folder, number), 200 + 37 * folder + number)

    def _make_links(self, top):
        target = self._file(top, b"links/target", 500)
        outside = os.path.join(self._place, b"outside", b"file")
        os.makedirs(os.path.dirname(outside))
        self._write(outside, 400)
        self._link(top, b"links/to a file", b"target", target)
        self._link(top, b"links/to a link", b"to a file", target)
        self._link(top, b"links/to the outside", outside, outside)
        for name, aim in ((b"nowhere", b"nothing"), (b"a folder", b"../sizes"), (b"above", b".."), (b"itself", b"itself")):
            self._link(top, b"links/to " + name, aim)
        os.link(target, self._local(top, b"links/the same file"))
        self._found(top, b"links/the same file", target)
        # With nothing else in it, the folder is as good as empty.
        self._special(top, b"special/pipe", stat.S_IFIFO)
        self._special(top, b"special/socket", stat.S_IFSOCK)
        self._link(top, b"special/to the pipe", b"pipe")
        self._enter(top, b"special", is_folder=True)

    def _make_closed(self, top):
        self._file(top, b"closed/open", 10)
        for name in (b"closed/file", b"closed/folder/in it"):
            path = self._local(top, name)
            with open(path, "wb") as file:
                file.write(b"secret")
        for name, is_folder in ((b"closed/file", False), (b"closed/folder", True)):
            self._closed.append(self._local(top, name))
            self._enter(top, name, is_folder, is_closed=True)

    def _make_linked(self):
        real = os.path.join(self._place, b"outside", b"real folder")
        os.makedirs(real)
        top = self._drop(b"", "Línked".encode())
        os.symlink(real, top[0])
        self._file(top, b"in it", 600)
        self._file(top, b"further/in it", 600)


def found_below(top):
    """What is there: the contents of files, and nothing for folders, by their paths below it; fails on what is neither."""
    found = {}

    def look(folder, below):
        for item in os.scandir(folder):
            path = below + item.name
            if item.is_dir(follow_symlinks=False):
                found[path] = None
                look(item.path, path + b"/")
            else:
                assert item.is_file(follow_symlinks=False), path
                with open(item.path, "rb") as file:
                    found[path] = file.read()

    look(os.fsencode(top), b"")
    return found


def stamps_below(top):
    """What changes when anything there is touched, by path."""
    found = {}
    for folder, folders, names in os.walk(os.fsencode(top)):
        for name in (b"", *folders, *names):
            facts = os.lstat(os.path.join(folder, name))
            found[os.path.join(folder, name)] = (facts.st_ino, facts.st_mode, facts.st_size, facts.st_mtime_ns)
    return found


def assert_same(found, expected):
    """Fails with what is missing, what is there besides, and what differs."""
    differences = [f"missing: {path!r}" for path in sorted(expected.keys() - found.keys())]
    differences += [f"not expected: {path!r}" for path in sorted(found.keys() - expected.keys())]
    differences += [
        f"{path!r}: {str(found[path])[:SHOWN]} instead of {str(expected[path])[:SHOWN]}"
        for path in sorted(expected.keys() & found.keys())
        if found[path] != expected[path]
    ]
    shown = differences[:20] + ([f"and {len(differences) - 20} more"] if len(differences) > 20 else [])
    assert not differences, "\n  ".join(["not what it must be:", *shown])
