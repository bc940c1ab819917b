"""The folder that the scripted server serves. Server paths are texts in which each character is one byte."""

import io
import os
import time


class ServedFolder:
    """A local folder seen as the server's root. No path leads out of it. What fails raises OSError."""

    def __init__(self, root):
        self._root = os.fsencode(root)

    def is_folder(self, path):
        return os.path.isdir(self._local(path))

    def is_file(self, path):
        return os.path.isfile(self._local(path))

    def size(self, path):
        return os.path.getsize(self._local(path))

    def open_for_reading(self, path):
        return open(self._local(path), "rb")

    def open_for_writing(self, path):
        return open(self._local(path), "wb", buffering=0)

    def make_folder(self, path):
        os.mkdir(self._local(path))

    def remove_file(self, path):
        os.unlink(self._local(path))

    def remove_folder(self, path):
        os.rmdir(self._local(path))

    def rename(self, path, other):
        os.rename(self._local(path), self._local(other))

    def change_mode(self, path, mode):
        os.chmod(self._local(path), mode)

    def listing(self, path):
        """The folder's long listing as an open file; of a file, its one line; of nothing, no line."""
        local = self._local(path)
        if os.path.isfile(local):
            lines = [_line(os.path.basename(local), os.stat(local))]
        elif os.path.isdir(local):
            lines = [_line(entry.name, entry.stat()) for entry in sorted(os.scandir(local), key=lambda one: one.name)]
        else:
            lines = []
        return io.BytesIO(b"".join(lines))

    def _local(self, path):
        name = path.encode("latin-1").lstrip(b"/")
        if b"\0" in name:
            raise OSError("NUL in a name")
        return os.path.join(self._root, name)


def _line(name, status):
    kind = b"d" if os.path.stat.S_ISDIR(status.st_mode) else b"-"
    mode = b"".join(
        letter if status.st_mode & (0o400 >> place) else b"-"
        for place, letter in enumerate((b"r", b"w", b"x") * 3)
    )
    date = time.strftime("%b %d %H:%M", time.gmtime(status.st_mtime)).encode()
    return b"%s%s 1 owner group %12d %s %s\r\n" % (kind, mode, status.st_size, date, name)


def joined(folder, path):
    """The absolute server path that a path given in a folder means."""
    parts = [] if path.startswith("/") else folder.split("/")
    for part in path.split("/"):
        if part == "..":
            parts = parts[:-1]
        elif part not in ("", "."):
            parts.append(part)
    return "/" + "/".join(part for part in parts if part)
