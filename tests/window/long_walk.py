"""A folder that takes as long to look through as somebody wants.

To find out where a link leads, the system takes every step of the way, which here leads through a maze of links: some
milliseconds for each of very many links, until end() makes a way out.
"""

import os

TURNS = 37  # The system follows 40 links in all.
STEPS = b"r/../" * 810  # As long as the way of one link can be.
LINKS = 5000


class LongWalk:
    """What is dropped has files that are found at once, in "a", the links, in "b", and files that are found last, in "c"."""

    def __init__(self, place, name=b"Walk", found_first=600, found_last=300):
        """What is dropped is called so."""
        self._maze = os.path.join(os.fsencode(place), b"maze of " + name)
        self.dropped = os.path.join(os.fsencode(place), name)
        self._name = name
        os.makedirs(os.path.join(self._maze, b"r"))
        for turn in range(TURNS):
            os.symlink(STEPS + b"%d" % (turn + 1), os.path.join(self._maze, b"%d" % turn))
        os.symlink(b"r", os.path.join(self._maze, b"%d" % TURNS))
        self.found_first = self._make_files(b"a", found_first)
        os.mkdir(os.path.join(self.dropped, b"b"))
        for number in range(LINKS):
            os.symlink(b"../../maze of %b/0" % name, os.path.join(self.dropped, b"b", b"%d" % number))
        self.found_last = self._make_files(b"c", found_last)

    def end(self):
        """From now on it takes no time."""
        way_out = os.path.join(self._maze, b"way out")
        os.symlink(b"r", way_out)
        os.rename(way_out, os.path.join(self._maze, b"0"))

    def _make_files(self, folder, count):
        """Answers their contents by their paths below the destination, in the order in which they are found."""
        os.makedirs(os.path.join(self.dropped, folder))
        contents = {}
        for number in range(count):
            path = os.path.join(self._name, folder, b"%04d" % number)
            contents[path] = os.urandom(1000)
            with open(os.path.join(os.path.dirname(self.dropped), path), "wb") as file:
                file.write(contents[path])
        return contents
