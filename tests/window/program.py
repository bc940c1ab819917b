"""One running program, read and operated through the accessibility interface, as a screen reader does.

Labels are found by their accessible description, since a label's name is its text; everything else by its name.
"""

import json
import os
import re
import subprocess
import tempfile
from typing import NamedTuple

from desktop import PATIENCE, bound_to_us, wait_for


def _atspi():
    import gi

    gi.require_version("Atspi", "2.0")
    from gi.repository import Atspi

    if not getattr(_atspi, "ready", False):
        Atspi.init()
        limit = int(20_000 * PATIENCE)
        Atspi.set_timeout(limit, limit)  # A program that hangs must not hang its test.
        _atspi.ready = True
    return Atspi


def _ask(question, otherwise=None):
    """Asks about a widget, which may vanish at any moment."""
    try:
        return question()
    except Exception:  # The binding's errors have no narrower class in common.
        return otherwise


def _has(node, state):
    state = getattr(_atspi().StateType, state)
    return _ask(lambda: node.get_state_set().contains(state), False)


def _children(node):
    """The children; asked for again when their number has changed meanwhile, since one that goes moves all behind it."""
    while True:
        count = _ask(node.get_child_count, 0)
        children = [_ask(lambda i=i: node.get_child_at_index(i)) for i in range(count)]
        if count == 0 or _ask(node.get_child_count, 0) == count:
            return [child for child in children if child]


def _walk(node):
    """The node and all below it, as far as they show."""
    if not _has(node, "SHOWING"):
        return
    yield node
    if _ask(node.get_role_name) not in ("table", "menu"):  # Their items may be many, and are asked for one by one.
        for child in _children(node):
            yield from _walk(child)


def _is_described_as(node, words):
    """Whether the node's description is that, or begins with it as a sentence."""
    description = _ask(node.get_description) or ""
    return description == words or description.startswith(words + ". ")


def _is_called(node, words):
    return _is_described_as(node, words) or _ask(node.get_name) == words


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


class Finder:
    """Finds widgets, and again without a look through all windows, which costs hundreds of questions."""

    def __init__(self):
        self._windows = []
        self._found = {}

    def find(self, windows, name):
        """The first whose description is that, or begins with it as a sentence, or else of that name."""
        if windows != self._windows:
            self._windows, self._found = windows, {}
        node = self._found.get(name)
        if node is None or not (_is_called(node, name) and _has(node, "SHOWING")):
            showing = [node for window in windows for node in _walk(window)]
            fitting = [node for node in showing if _is_described_as(node, name)]
            fitting = fitting or [node for node in showing if _ask(node.get_name) == name]
            node = self._found[name] = fitting[0] if fitting else None
        return node


def _text(node):
    """The text of a field, or the name, which is the text of a label."""
    interface = _ask(node.get_text_iface)
    if interface is None:
        return _ask(node.get_name, "")
    text = _atspi().Text
    return _ask(lambda: text.get_text(interface, 0, text.get_character_count(interface)), "")


def _words(node):
    """What a widget shows; the name of an empty field, which shows what belongs there."""
    is_field = _ask(node.get_role_name) in ("text", "entry")
    return _text(node) or (_ask(node.get_name, "") if is_field else "")


def _is_empty(table):
    interface = _ask(table.get_table_iface)
    return _ask(lambda: _atspi().Table.get_n_rows(interface), 0) == 0


def store_settings(environment, settings):
    """Writes the settings file of a home folder, in one step."""
    folder = os.path.join(environment["XDG_CONFIG_HOME"], "quillbox")
    os.makedirs(folder, mode=0o700, exist_ok=True)
    path = os.path.join(folder, "settings.json")
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
        self._finder = Finder()
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
        return [window for window in self._windows() if _has(window, "SHOWING")]

    def is_active(self):
        """Whether one of its windows has the keyboard, as the program sees it."""
        return any(_has(window, "ACTIVE") for window in self._windows())

    def titles(self):
        return [_ask(window.get_name, "") for window in self.windows()]

    def find(self, name):
        """The widget that shows and whose description is that, or begins with it as a sentence, or else of that name."""
        return self._finder.find(self.windows(), name)

    def need(self, name):
        return wait_for(lambda: self.find(name), f"“{name}” to show")

    def text(self, name):
        return _text(self.need(name))

    def value(self, name):
        """The value and the maximum of a progress bar that shows, else nothing."""
        node = self.find(name)
        interface = _ask(node.get_value_iface) if node else None
        if interface is None:
            return None
        value = _atspi().Value
        return _ask(lambda: (value.get_current_value(interface), value.get_maximum_value(interface)))

    def has_focus(self, name):
        return _has(self.need(name), "FOCUSED")

    def is_enabled(self, name):
        return _has(self.need(name), "ENABLED")

    def box(self, name):
        """Where a widget is on the screen: left, top, width, height."""
        return self._box(self.need(name))

    def _box(self, node):
        area = _atspi().Component.get_extents(node.get_component_iface(), _atspi().CoordType.SCREEN)
        return area.x, area.y, area.width, area.height

    def texts(self, title):
        """The words that the windows of such a title show, and their boxes.

        Of a table those of its titles and cells or, without a row, what it says instead; of an empty field its name.
        """
        shown = []
        for window in self.windows():
            if re.search(title, _ask(window.get_name, "")):
                nodes = [part for node in _walk(window) for part in (self._parts(node) or [node])]
                # The words of what only holds others are not shown themselves.
                leaves = [node for node in nodes if _ask(node.get_role_name) in ROLES_WITH_WORDS]
                found = [(_words(node), _ask(lambda node=node: self._box_of_words(node))) for node in leaves]
                shown += [(words, box) for words, box in found if words and box]
                tables = [node for node in _walk(window) if _ask(node.get_role_name) == "table"]
                shown += [(_ask(node.get_description), self._middle_box(node)) for node in tables if _is_empty(node)]
        return shown

    def _box_of_words(self, node):
        """Where a widget shows its words: a box to be checked is beside them."""
        left, top, width, height = self._box(node)
        mark = height if _ask(node.get_role_name) in ("check box", "radio button") else 0
        return left + mark, top, width - mark, height

    def _middle_box(self, node):
        """Where an empty table says why, without the titles of the columns."""
        left, top, width, height = self._box(node)
        return left, top + height // 3, width, height // 2

    def _parts(self, node):
        """The titles and cells of a table, but for those that are icons."""
        interface = _ask(node.get_table_iface) if _ask(node.get_role_name) == "table" else None
        if interface is None:
            return None
        table, parts = _atspi().Table, []
        left, top, width, height = self._box(node)
        for column in range(_ask(lambda: table.get_n_columns(interface), 0)):
            header = _ask(lambda: table.get_column_header(interface, column))
            cells = range(_ask(lambda: table.get_n_rows(interface), 0))
            parts += [header] if header else []
            if header and _ask(header.get_name) != "Type":
                parts += [_ask(lambda row=row: table.get_accessible_at(interface, row, column)) for row in cells]

        def is_inside(part):
            x, y, part_width, part_height = _ask(lambda: self._box(part), (-1, -1, 0, 0))
            return left <= x and x + part_width <= left + width and top <= y and y + part_height <= top + height

        return [part for part in parts if part and is_inside(part)]

    def centre(self, name):
        left, top, width, height = self.box(name)
        return left + width // 2, top + height // 2

    # Tables.

    def rows(self, name):
        """The texts of a table's cells, row by row."""
        node = self.need(name)
        table, interface = _atspi().Table, node.get_table_iface()
        return [
            [
                _ask(lambda row=row, column=column: table.get_accessible_at(interface, row, column).get_name(), "")
                for column in range(_ask(lambda: table.get_n_columns(interface), 0))
            ]
            for row in range(_ask(lambda: table.get_n_rows(interface), 0))
        ]

    def selected_rows(self, name):
        return list(_atspi().Table.get_selected_rows(self.need(name).get_table_iface()))

    def selected_row(self, name):
        rows = self.selected_rows(name)
        return rows[0] if rows else None

    def cell(self, name, row, column):
        """The place of a cell's middle on the screen. The cell is waited for: a refresh takes it away for a moment."""

        def place():
            interface = self.need(name).get_table_iface()
            return _ask(lambda: self._middle(_atspi().Table.get_accessible_at(interface, row, column)))

        return wait_for(place, f"row {row}, column {column} of {name}")

    def column_title(self, name, column):
        """The place of the middle of a column's title on the screen."""
        interface = self.need(name).get_table_iface()
        return self._middle(_atspi().Table.get_column_header(interface, column))

    def _middle(self, node):
        area = _atspi().Component.get_extents(node.get_component_iface(), _atspi().CoordType.SCREEN)
        return area.x + area.width // 2, area.y + area.height // 2

    def sheet(self):
        """The texts of the sheet that shows, title first; nothing without one."""
        for window in self.windows():
            if _ask(window.get_role_name) == "alert":
                nodes = [node for node in _walk(window) if _ask(node.get_role_name) == "label"]
                return [text for text in map(_text, nodes) if text] or None
        return None

    def tree(self):
        """All that shows, for a person who wonders."""
        lines = []

        def describe(node, depth):
            role, name, what = _ask(node.get_role_name), _ask(node.get_name), _ask(node.get_description)
            lines.append(f"{'  ' * depth}{role} {name!r} ({what}) {_text(node)!r}")
            for child in _children(node):
                describe(child, depth + 1)

        for window in self.windows():
            describe(window, 0)
        return "\n".join(lines)

    def _windows(self):
        if self._application is None:
            desk = _atspi().get_desktop(0)
            desk.clear_cache()
            for application in _children(desk):
                if _ask(application.get_process_id) == self.process.pid:
                    application.set_cache_mask(_atspi().Cache.NONE)  # What it shows changes all the time.
                    self._application = application
        return _children(self._application) if self._application else []

    def heard_until(self, condition, what):
        """Waits for that, and answers the events that screen readers have heard of meanwhile."""
        from gi.repository import GLib

        heard = []

        def note(event):
            if _ask(event.source.get_process_id) == self.process.pid:
                role, name = _ask(event.source.get_role_name), _ask(event.source.get_name)
                heard.append(Heard(event.type, role, name, event.detail1))

        listener = _atspi().EventListener.new(note)
        listener.register("object:")
        try:
            wait_for(condition, what)
            while GLib.MainContext.default().iteration(False):
                pass
        finally:
            listener.deregister("object:")
        return heard

    # What is done.

    def press(self, name):
        """Presses a button as soon as it can be pressed."""

        wait_for(lambda: self.press_what_shows(name), f"“{name}” to be enabled")

    def press_what_shows(self, name):
        """Whether there is such a button that can be pressed; then it has been."""
        node = self.find(name)
        action = _ask(node.get_action_iface) if node and _has(node, "ENABLED") else None
        if action is None:
            return False
        _atspi().Action.do_action(action, 0)
        return True

    def choose(self, menu, name):
        """Has an item of the menu bar do what it is for, as soon as it can."""

        def item():
            for window in self.windows():
                for bar in [node for node in _walk(window) if _ask(node.get_role_name) == "menu bar"]:
                    for title in [node for node in _children(bar) if _ask(node.get_name) == menu]:
                        for popup in _children(title):
                            for node in _children(popup):
                                if _ask(node.get_name) == name and _has(node, "ENABLED"):
                                    return node
            return None

        _atspi().Action.do_action(wait_for(item, f"“{name}” in the menu “{menu}”").get_action_iface(), 0)

    def select_row(self, name, row):
        interface = self.need(name).get_table_iface()
        _atspi().Table.add_row_selection(interface, row)

    def enter(self, name, text):
        """Replaces the text of a field, as a screen reader does. Its label may have the same name."""

        def field():
            nodes = [node for window in self.windows() for node in _walk(window) if _ask(node.get_name) == name]
            interfaces = [_ask(node.get_editable_text_iface) for node in nodes]
            return next(filter(None, interfaces), None)

        _atspi().EditableText.set_text_contents(wait_for(field, f"the field “{name}”"), text)

    def answer(self, name):
        """Presses a button of the sheet that shows, whatever is called so elsewhere."""
        for window in self.windows():
            if _ask(window.get_role_name) == "alert":
                button = next(node for node in _walk(window) if _ask(node.get_name) == name)
                _atspi().Action.do_action(button.get_action_iface(), 0)

    def acknowledge(self):
        """Waits for a sheet, answers it with OK, sees it go, and answers what it said."""
        texts = wait_for(self.sheet, "a sheet")
        windows = self._desktop.windows_of(self.process.pid, f"^{re.escape(texts[0])}$")
        self.press("OK")
        wait_for(lambda: self.sheet() != texts, "the sheet to go")
        # From the screen, too: a window that is brought to the front while its sheet goes leaves the keyboard nowhere.
        wait_for(lambda: not windows or set(windows) - set(self._desktop.windows_of(self.process.pid)), "its window to go")
        return texts
