"""What programs tell assistive technology, asked over the accessibility bus.

An answer takes the work of three processes, and a window is hundreds of questions. Those that do not need one another's
answers are therefore asked together, which costs half of what one by one does.
"""

import contextlib
import functools
from typing import NamedTuple

from desktop import PATIENCE
from gi.repository import Gio, GLib

ACCESSIBLE, ACTION, COMPONENT, EDITABLE_TEXT, TABLE, TEXT, VALUE = (
    f"org.a11y.atspi.{name}" for name in ("Accessible", "Action", "Component", "EditableText", "Table", "Text", "Value")
)
STATES = {"ACTIVE": 1, "ENABLED": 8, "FOCUSED": 12, "SHOWING": 25}  # The numbers of their bits.
# Of the roles that somebody asks for. A program says them as words, too, but in the user's language.
ROLES = {
    **{2: "alert", 7: "check box", 10: "column header", 11: "combo box", 29: "label", 32: "list item", 33: "menu"},
    **{34: "menu bar", 35: "menu item", 37: "page tab", 40: "password text", 43: "push button", 44: "radio button", 55: "table"},
    **{56: "table cell", 57: "table column header", 61: "text", 62: "toggle button", 64: "tool tip", 79: "entry"},
    **{88: "link"},
}
NOTHING = "/org/a11y/atspi/null"
LIMIT = int(20_000 * PATIENCE)  # A program that hangs must not hang its test.


class Node(NamedTuple):
    """A widget, a window, a cell, or a program as a whole."""

    program: str  # Its name on the bus.
    path: str


class Question(NamedTuple):
    node: Node
    interface: str
    member: str
    arguments: GLib.Variant | None = None


class Event(NamedTuple):
    node: Node
    kind: str
    detail: int  # Of a state: whether it holds.


def property_of(node, interface, name):
    """The question for a property."""
    return Question(node, "org.freedesktop.DBus.Properties", "Get", GLib.Variant("(ss)", (interface, name)))


@functools.cache
def accessibility_bus(session_bus):
    """That of the session whose bus has that address."""
    place = ("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress")
    (address,) = _connect(session_bus).call_sync(*place, None, None, Gio.DBusCallFlags.NONE, LIMIT, None)
    return AccessibilityBus(_connect(address))


class AccessibilityBus:
    def __init__(self, connection):
        self._bus = connection
        self._roles = {}  # Those never change, and no path is used twice.

    def ask(self, questions):
        """The answers in the order of the questions; nothing from what has vanished meanwhile."""
        answers, missing = [None] * len(questions), len(questions)

        def keep(_bus, result, number):
            nonlocal missing
            missing -= 1
            with contextlib.suppress(GLib.Error):
                answer = self._bus.call_finish(result).unpack()
                answers[number] = answer[0] if answer else None

        for number, (node, interface, member, arguments) in enumerate(questions):
            flags = Gio.DBusCallFlags.NO_AUTO_START
            self._bus.call(node.program, node.path, interface, member, arguments, None, flags, LIMIT, None, keep, number)
        while missing:
            GLib.MainContext.default().iteration(True)
        return answers

    def ask_one(self, *question):
        return self.ask([Question(*question)])[0]

    def program_of(self, process):
        """The program of that process, once it is there."""
        daemon = Node("org.freedesktop.DBus", "/org/freedesktop/DBus")
        programs = self.children([Node("org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root")])[0]
        numbers = self.ask(
            [
                Question(daemon, daemon.program, "GetConnectionUnixProcessID", GLib.Variant("(s)", (node.program,)))
                for node in programs
            ]
        )
        return next((node for node, number in zip(programs, numbers) if number == process), None)

    # Of many nodes, in their order.

    def children(self, nodes):
        answers = self.ask([Question(node, ACCESSIBLE, "GetChildren") for node in nodes])
        return [[Node(*child) for child in answer or [] if child[1] != NOTHING] for answer in answers]

    def names(self, nodes):
        return [name or "" for name in self.ask([property_of(node, ACCESSIBLE, "Name") for node in nodes])]

    def descriptions(self, nodes):
        return [words or "" for words in self.ask([property_of(node, ACCESSIBLE, "Description") for node in nodes])]

    def roles(self, nodes):
        unknown = [node for node in nodes if node not in self._roles]
        answers = self.ask([Question(node, ACCESSIBLE, "GetRole") for node in unknown])
        self._roles.update((node, ROLES.get(number, f"role {number}")) for node, number in zip(unknown, answers) if number is not None)
        return [self._roles.get(node, "") for node in nodes]

    def have(self, nodes, state):
        """Whether each of them is in that state."""
        answers = self.ask([Question(node, ACCESSIBLE, "GetState") for node in nodes])
        return [bool(words and words[0] >> STATES[state] & 1) for words in answers]

    def texts(self, nodes):
        """The texts of fields; of the others their names, which are the texts of labels."""
        whole = GLib.Variant("(ii)", (0, -1))
        answers = self.ask([Question(node, TEXT, "GetText", whole) for node in nodes])
        others = iter(self.names([node for node, text in zip(nodes, answers) if text is None]))
        return [next(others) if text is None else text for text in answers]

    def boxes(self, nodes):
        """Where they are on the screen: left, top, width, height."""
        on_the_screen = GLib.Variant("(u)", (0,))
        return self.ask([Question(node, COMPONENT, "GetExtents", on_the_screen) for node in nodes])

    def showing(self, tops):
        """All that shows below each of those that do, the tops included, in the order in which it is read."""
        found, below, level = {}, {}, tops
        while level:
            found.update(zip(level, self.have(level, "SHOWING")))
            level = [node for node in level if found[node]]
            # Their items may be many, and are asked for one by one.
            level = [node for node, role in zip(level, self.roles(level)) if role not in ("table", "menu")]
            children = self.children(level)
            below.update(zip(level, children))
            level = [child for some in children for child in some]

        def all_of(node):
            return [node, *(each for child in below.get(node, []) for each in all_of(child))] if found[node] else []

        return [each for top in tops for each in all_of(top)]

    # Of one.

    def is_a(self, node, interface):
        return interface in (self.ask_one(node, ACCESSIBLE, "GetInterfaces") or [])

    def cells(self, table, places):
        """The cells at such pairs of a row and a column; nothing where there is none."""
        questions = [Question(table, TABLE, "GetAccessibleAt", GLib.Variant("(ii)", place)) for place in places]
        return [Node(*answer) if answer and answer[1] != NOTHING else None for answer in self.ask(questions)]

    def size(self, table):
        """How many rows and columns it has."""
        rows, columns = self.ask([property_of(table, TABLE, name) for name in ("NRows", "NColumns")])
        return rows or 0, columns or 0

    def column_title(self, table, column):
        answer = self.ask_one(table, TABLE, "GetColumnHeader", GLib.Variant("(i)", (column,)))
        return Node(*answer) if answer and answer[1] != NOTHING else None

    def value(self, node):
        """The value and the maximum of a bar; nothing of what has none."""
        values = self.ask([property_of(node, VALUE, name) for name in ("CurrentValue", "MaximumValue")])
        return None if None in values else tuple(values)

    def selected_rows(self, table):
        return self.ask_one(table, TABLE, "GetSelectedRows") or []

    def select_row(self, table, row):
        self.ask_one(table, TABLE, "AddRowSelection", GLib.Variant("(i)", (row,)))

    def press(self, node):
        self.ask_one(node, ACTION, "DoAction", GLib.Variant("(i)", (0,)))

    def set_text(self, field, text):
        self.ask_one(field, EDITABLE_TEXT, "SetTextContents", GLib.Variant("(s)", (text,)))

    def events_during(self, work):
        """The events about objects that screen readers hear of while work() is done."""
        heard = []

        def note(_bus, program, path, _interface, member, arguments, *_):
            minor, detail = arguments.unpack()[:2]
            kind = "".join(f"-{letter.lower()}" if letter.isupper() else letter for letter in member).removeprefix("-")
            heard.append(Event(Node(program, path), f"object:{kind}:{minor}", detail))

        registry = Node("org.a11y.atspi.Registry", "/org/a11y/atspi/registry")
        kinds = GLib.Variant("(s)", ("object:",))
        events = (None, "org.a11y.atspi.Event.Object", None, None, None)
        subscription = self._bus.signal_subscribe(*events, Gio.DBusSignalFlags.NONE, note)
        self.ask_one(registry, registry.program, "RegisterEvent", kinds)
        try:
            work()
            while GLib.MainContext.default().iteration(False):
                pass
        finally:
            self.ask_one(registry, registry.program, "DeregisterEvent", kinds)
            self._bus.signal_unsubscribe(subscription)
        return heard


def _connect(address):
    kinds = Gio.DBusConnectionFlags
    return Gio.DBusConnection.new_for_address_sync(
        address, kinds.AUTHENTICATION_CLIENT | kinds.MESSAGE_BUS_CONNECTION, None, None
    )
