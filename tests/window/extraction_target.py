"""A window that takes drags as KDE's file manager does: it has the source extract the files into a folder, which is the
only word of the command line. It ends after the first drop; its answer to the drag comes before the call, as there.
"""

import sys

import gi

gi.require_version("Gtk", "3.0")
gi.require_version("Gdk", "3.0")
from gi.repository import Gdk, Gio, GLib, Gtk

SERVICE = "application/x-kde-ark-dndextract-service"
PATH = "application/x-kde-ark-dndextract-path"


class Target(Gtk.Window):
    def __init__(self, folder):
        super().__init__(title="Extraction target")
        self._folder = folder
        self._words = {}
        self.set_default_size(300, 200)
        self.drag_dest_set(
            Gtk.DestDefaults.MOTION | Gtk.DestDefaults.HIGHLIGHT,
            [Gtk.TargetEntry.new(name, 0, 0) for name in (SERVICE, PATH)],
            Gdk.DragAction.COPY,
        )
        self.connect("drag-drop", self._dropped)
        self.connect("drag-data-received", self._received)

    def _dropped(self, _, context, _x, _y, time):
        for name in (SERVICE, PATH):
            self.drag_get_data(context, Gdk.Atom.intern(name, False), time)
        return True

    def _received(self, _, context, _x, _y, data, _info, time):
        self._words[data.get_data_type().name()] = data.get_data().decode()
        if len(self._words) == 2:
            Gtk.drag_finish(context, True, False, time)
            GLib.timeout_add(300, self._extract)

    def _extract(self):
        bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        bus.call_sync(
            self._words[SERVICE],
            self._words[PATH],
            "org.kde.ark.DndExtract",
            "extractSelectedFilesTo",
            GLib.Variant("(s)", (self._folder,)),
            None,
            Gio.DBusCallFlags.NONE,
            60_000,
        )
        Gtk.main_quit()
        return False


target = Target(sys.argv[1])
target.show_all()
Gtk.main()
