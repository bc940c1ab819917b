"""A small window of one colour from which the files can be dragged whose URIs are the words of the command line.

It goes when they were taken somewhere.
"""

import sys

import gi

gi.require_version("Gtk", "3.0")
gi.require_version("Gdk", "3.0")
from gi.repository import Gdk, Gtk

STYLE = b"window { background: #ff00ff; box-shadow: none; border-radius: 0; }"

failures = []  # Of the drag that ends next.
source = Gtk.Window(title="Drag source", decorated=False)
source.set_default_size(60, 60)
provider = Gtk.CssProvider()
provider.load_from_data(STYLE)
Gtk.StyleContext.add_provider_for_screen(
    Gdk.Screen.get_default(), provider, Gtk.STYLE_PROVIDER_PRIORITY_APPLICATION
)
source.drag_source_set(Gdk.ModifierType.BUTTON1_MASK, [], Gdk.DragAction.COPY)
source.drag_source_add_uri_targets()
source.connect("drag-data-get", lambda _widget, _context, data, _info, _time: data.set_uris(sys.argv[1:]))
# The picture of what is dragged is far from the mouse, where it hides nothing.
source.connect("drag-begin", lambda _widget, context: Gtk.drag_set_icon_name(context, "text-x-generic", 5000, 5000))
source.connect("drag-failed", lambda *_: failures.append(True))
source.connect("drag-end", lambda *_: failures.clear() if failures else Gtk.main_quit())
source.show_all()
Gtk.main()
