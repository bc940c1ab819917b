"""One running program, read and operated through the accessibility interface, as a screen reader does.

Labels are found by their accessible description, since a label's name is its text; everything else by its name.
"""

import json
import os
import re
import subprocess
import tempfile
from typing import NamedTuple

from accessible import ACTION, EDITABLE_TEXT, accessibility_bus
from desktop import PATIENCE, bound_to_us, wait_for

ROLES_WITH_WORDS = {
    *("label", "push button", "toggle button", "check box", "radio button", "combo box", "page tab", "menu", "menu item"),
    *("text", "password text", "entry", "link", "column header", "table column header", "table cell", "tool tip"),
}


class Heard(NamedTuple):
    """An event that screen readers hear of."""

    kind: str
    role: str  # Of its widget.
    name: str  # Likewise.
    detail: int  # Of a state: whether it holds.


def _is_described_as(description, words):
    """Whether a description is that, or begins with it as a sentence."""
    return description == words or description.startswith(words + ". ")


class Finder:
    """Finds widgets, and again without a look through all windows, which costs hundreds of questions."""

    def __init__(self, bus):
        self._bus = bus
        self._windows = []
        self._found = {}

    def find(self, windows, name):
        """The first whose description is that, or begins with it as a sentence, or else of that name."""
        if windows != self._windows:
            self._windows, self._found = windows, {}
        node = self._found.get(name)
        if node is None or not self._is_still(node, name):
            node = self._found[name] = self._search(windows, name)
        return node

    def _is_still(self, node, name):
        (description,), (words,) = self._bus.descriptions([node]), self._bus.names([node])
        return (_is_described_as(description, name) or words == name) and self._bus.have([node], "SHOWING")[0]

    def _search(self, windows, name):
        nodes = self._bus.showing(windows)
        for node, description in zip(nodes, self._bus.descriptions(nodes)):
            if _is_described_as(description, name):
                return node
        return next((node for node, words in zip(nodes, self._bus.names(nodes)) if words == name), None)


def _middle(box):
    left, top, width, height = box
    return left + width // 2, top + height // 2


def _middle_box(box):
    """Where an empty table says why, without the titles of the columns."""
    left, top, width, height = box or (0, 0, 0, 0)
    return left, top + height // 3, width, height // 2


def _shows_in(whole, part):
    """Whether a part that may be scrolled away, or as narrow as nothing, shows as a whole."""
    left, top, width, height = whole
    x, y, part_width, part_height = part
    is_within = left <= x and x + part_width <= left + width and top <= y and y + part_height <= top + height
    return is_within and part_width > 0 and part_height > 0


def settings_path(environment, icon=None):
    """Where a home folder has the settings, or those of an icon's own server."""
    folder = os.path.join(environment["XDG_CONFIG_HOME"], "quillbox")
    return os.path.join(folder, "icons", icon + ".json") if icon else os.path.join(folder, "settings.json")


def store_settings(environment, settings, icon=None):
    """Writes the settings file of a home folder, or of an icon, in one step."""
    path = settings_path(environment, icon)
    os.makedirs(os.path.dirname(os.path.dirname(path)), mode=0o700, exist_ok=True)
    os.makedirs(os.path.dirname(path), mode=0o700, exist_ok=True)
    with open(path + ".new", "w", encoding="utf-8") as file:
        json.dump(settings, file, ensure_ascii=False)
    os.chmod(path + ".new", 0o600)
    os.rename(path + ".new", path)


class Program:
    _application = None  # As the accessibility interface has it, once it is there.

    def __init__(self, desktop, words, environment=None, folder=None):
        """Starts the program; environment adds to the desktop's, where None takes a variable away."""
        self._desktop = desktop
        variables = {**desktop.environment, **(environment or {})}
        self._output = tempfile.TemporaryFile()
        self._finder = Finder(self._bus)
        self.process = subprocess.Popen(
            bound_to_us(words),
            env={name: value for name, value in variables.items() if value is not None},
            cwd=folder,
            stdin=subprocess.DEVNULL,
            stdout=self._output,
            stderr=subprocess.STDOUT,
        )

    def close(self):
        self.process.kill()
        self.process.wait()
        self._output.close()

    def output(self):
        """All that the program has printed."""
        size = os.fstat(self._output.fileno()).st_size
        return os.pread(self._output.fileno(), size, 0).decode(errors="replace")

    def exit_code(self):
        return self.process.wait(60 * PATIENCE)

    # What shows.

    def windows(self):
        windows = self._windows()
        return [window for window, shows in zip(windows, self._bus.have(windows, "SHOWING")) if shows]

    def is_active(self):
        """Whether one of its windows has the keyboard, as the program sees it."""
        return any(self._bus.have(self._windows(), "ACTIVE"))

    def titles(self):
        return self._bus.names(self.windows())

    def find(self, name):
        """The widget that shows and whose description is that, or begins with it as a sentence, or else of that name."""
        return self._finder.find(self.windows(), name)

    def need(self, name):
        return wait_for(lambda: self.find(name), f"“{name}” to show")

    def text(self, name):
        return self._bus.texts([self.need(name)])[0]

    def description(self, name):
        """All that describes a widget that shows, else nothing."""
        node = self.find(name)
        return self._bus.descriptions([node])[0] if node else ""

    def value(self, name):
        """The value and the maximum of a progress bar that shows, else nothing."""
        node = self.find(name)
        return self._bus.value(node) if node else None

    def focused(self):
        """The widget that has the keyboard; nothing while none has."""
        nodes = self._bus.showing(self.windows())
        return next((node for node, has in zip(nodes, self._bus.have(nodes, "FOCUSED")) if has), None)

    def has_focus(self, name):
        return self._bus.have([self.need(name)], "FOCUSED")[0]

    def is_enabled(self, name):
        return self._bus.have([self.need(name)], "ENABLED")[0]

    def box(self, name):
        """Where a widget is on the screen: left, top, width, height."""
        return wait_for(lambda: self._bus.boxes([self.need(name)])[0], f"the place of “{name}”")

    def texts(self, title):
        """The words that the windows of such a title show, and their boxes.

        Of a table those of its titles and cells or, without a row, what it says instead; of an empty field its name.
        """
        windows = self.windows()
        windows = [window for window, name in zip(windows, self._bus.names(windows)) if re.search(title, name)]
        nodes = self._bus.showing(windows)
        tables = [node for node, role in zip(nodes, self._bus.roles(nodes)) if role == "table"]
        nodes = [part for node in nodes for part in (self._parts(node) if node in tables else [node])]
        # The words of what only holds others are not shown themselves.
        nodes = [node for node, role in zip(nodes, self._bus.roles(nodes)) if role in ROLES_WITH_WORDS]
        shown = list(zip(self._words(nodes), self._boxes_of_words(nodes)))
        empty = [table for table in tables if self._bus.size(table)[0] == 0]
        shown += zip(self._bus.descriptions(empty), map(_middle_box, self._bus.boxes(empty)))
        return [(words, box) for words, box in shown if words and box]

    def _words(self, nodes):
        """What widgets show; the names of empty fields, which show what belongs there."""
        found = zip(self._bus.texts(nodes), self._bus.names(nodes), self._bus.roles(nodes))
        return [text or (name if role in ("text", "entry") else "") for text, name, role in found]

    def _boxes_of_words(self, nodes):
        """Where widgets show their words: a box to be checked is beside them."""

        def without_mark(box, role):
            left, top, width, height = box
            mark = height if role in ("check box", "radio button") else 0
            return left + mark, top, width - mark, height

        return [box and without_mark(box, role) for box, role in zip(self._bus.boxes(nodes), self._bus.roles(nodes))]

    def _parts(self, table):
        """The titles and cells of a table, but for those that are icons."""
        rows, columns = self._bus.size(table)
        parts = []
        for column in range(columns):
            header = self._bus.column_title(table, column)
            parts += [header] if header else []
            if header and self._bus.names([header]) != ["Type"]:
                parts += filter(None, self._bus.cells(table, [(row, column) for row in range(rows)]))
        (whole, *boxes) = self._bus.boxes([table, *parts])
        return [part for part, box in zip(parts, boxes) if whole and box and _shows_in(whole, box)]

    def centre(self, name):
        return _middle(self.box(name))

    # Tables.

    def rows(self, name):
        """The texts of a table's cells, row by row."""
        table = self.need(name)
        rows, columns = self._bus.size(table)
        cells = self._bus.cells(table, [(row, column) for row in range(rows) for column in range(columns)])
        names = iter(self._bus.names([cell for cell in cells if cell]))
        texts = [next(names) if cell else "" for cell in cells]
        return [texts[row * columns : (row + 1) * columns] for row in range(rows)]

    def selected_rows(self, name):
        return self._bus.selected_rows(self.need(name))

    def selected_row(self, name):
        rows = self.selected_rows(name)
        return rows[0] if rows else None

    def cell(self, name, row, column):
        """The place of a cell's middle on the screen. The cell is waited for: a refresh takes it away for a moment."""

        def box():
            (cell,) = self._bus.cells(self.need(name), [(row, column)])
            return self._bus.boxes([cell])[0] if cell else None

        return _middle(wait_for(box, f"row {row}, column {column} of {name}"))

    def column_title(self, name, column):
        """The place of the middle of a column's title on the screen."""
        return _middle(self._bus.boxes([self._bus.column_title(self.need(name), column)])[0])

    def sheet(self):
        """The texts of the sheet that shows, title first; nothing without one."""
        return self._texts_of(self._sheets())

    def _texts_of(self, sheets):
        nodes = self._bus.showing(sheets)
        labels = [node for node, role in zip(nodes, self._bus.roles(nodes)) if role in ("label", "list item")]
        return [text for text in self._bus.texts(labels) if text] or None

    def _sheets(self):
        """The one that shows, or none."""
        windows = self.windows()
        return [window for window, role in zip(windows, self._bus.roles(windows)) if role == "alert"][:1]

    def tree(self):
        """All that there is, for a person who wonders."""
        lines = []

        def describe(nodes, depth):
            bus = self._bus
            parts = zip(bus.roles(nodes), bus.names(nodes), bus.descriptions(nodes), bus.texts(nodes), bus.children(nodes))
            for role, name, what, text, children in parts:
                lines.append(f"{'  ' * depth}{role} {name!r} ({what}) {text!r}")
                describe(children, depth + 1)

        describe(self.windows(), 0)
        return "\n".join(lines)

    @property
    def _bus(self):
        return accessibility_bus(self._desktop.environment["DBUS_SESSION_BUS_ADDRESS"])

    def _windows(self):
        if self._application is None:
            self._application = self._bus.program_of(self.process.pid)
        return self._bus.children([self._application])[0] if self._application else []

    def heard_until(self, condition, what):
        """Waits for that, and answers the events that screen readers have heard of meanwhile."""
        events = self._bus.events_during(lambda: wait_for(condition, what))
        events = [event for event in events if self._application and event.node.program == self._application.program]
        nodes = [event.node for event in events]
        found = zip(events, self._bus.roles(nodes), self._bus.names(nodes))
        return [Heard(event.kind, role, name, event.detail) for event, role, name in found]

    # What is done.

    def press(self, name):
        """Presses a button as soon as it can be pressed."""

        wait_for(lambda: self.press_what_shows(name), f"“{name}” to be enabled")

    def press_what_shows(self, name):
        """Whether there is such a button that can be pressed; then it has been."""
        return self._press(self.find(name))

    def _press(self, node):
        """Whether there is one that can be pressed; then it has been."""
        can_be = node and self._bus.have([node], "ENABLED")[0] and self._bus.is_a(node, ACTION)
        if can_be:
            self._bus.press(node)
        return bool(can_be)

    def choose(self, menu, name):
        """Has an item of the menu bar do what it is for, as soon as it can."""
        bus = self._bus

        def called(words, nodes):
            return [node for node, other in zip(nodes, bus.names(nodes)) if other == words]

        def below(nodes):
            return [child for children in bus.children(nodes) for child in children]

        def item():
            nodes = bus.showing(self.windows())
            bars = [node for node, role in zip(nodes, bus.roles(nodes)) if role == "menu bar"]
            items = called(name, below(below(called(menu, below(bars)))))
            return next((node for node, can_be in zip(items, bus.have(items, "ENABLED")) if can_be), None)

        bus.press(wait_for(item, f"“{name}” in the menu “{menu}”"))

    def select_row(self, name, row):
        self._bus.select_row(self.need(name), row)

    def enter(self, name, text):
        """Replaces the text of a field, as a screen reader does. Its label may have the same name."""

        def field():
            nodes = self._bus.showing(self.windows())
            named = [node for node, words in zip(nodes, self._bus.names(nodes)) if words == name]
            return next((node for node in named if self._bus.is_a(node, EDITABLE_TEXT)), None)

        self._bus.set_text(wait_for(field, f"the field “{name}”"), text)

    def answer(self, name):
        """Waits for a sheet, presses its button of that name, whatever is called so elsewhere, and sees it go.

        A sheet is made anew when its window comes to the front, and what is pressed in that moment is lost: then the new
        one's is pressed. Each is pressed once, since a second press puts off the first one's effect.
        """
        texts = wait_for(self.sheet, "a sheet")
        pressed = []

        def is_heard():
            sheets = self._sheets()
            if self._texts_of(sheets) != texts:
                return self.sheet() != texts  # The first look may have come while it was made anew.
            nodes = self._bus.showing(sheets)
            buttons = [node for node, words in zip(nodes, self._bus.names(nodes)) if words == name]
            pressed.extend(node for node in buttons if node not in pressed and self._press(node))
            return False

        wait_for(is_heard, f"“{name}” to be heard")

    def acknowledge(self):
        """Waits for a sheet, answers it with OK, sees it go, and answers what it said."""
        texts = wait_for(self.sheet, "a sheet")
        windows = self._desktop.windows_of(self.process.pid, f"^{re.escape(texts[0])}$")
        self.answer("OK")
        # From the screen, too: a window that is brought to the front while its sheet goes leaves the keyboard nowhere.
        wait_for(lambda: not windows or set(windows) - set(self._desktop.windows_of(self.process.pid)), "its window to go")
        return texts
