#pragma once

#include <QByteArray>

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>

/// What the toolkit does not say to the X server for us.
namespace XServer {

struct Free {
    void operator()(void* reply) const { std::free(reply); } // NOLINT(cppcoreguidelines-no-malloc): as xcb wants it
};
/// A reply that xcb has allocated.
template <typename Reply> using ReplyPointer = std::unique_ptr<Reply, Free>;

/// The toolkit's own connection; null where the display is another one's.
xcb_connection_t* connection();

xcb_atom_t atom(xcb_connection_t* x, const QByteArray& name);

/// The window that has the selection of that name, such as the clipboard; XCB_WINDOW_NONE for none.
xcb_window_t selectionOwner(xcb_connection_t* x, const QByteArray& selection);

/// The window that has the keyboard.
xcb_window_t focusedWindow(xcb_connection_t* x);

/// Takes the keyboard from @p window, which has it, and gives it back, so that its owner hears of it.
void renewFocus(xcb_connection_t* x, xcb_window_t window);

} // namespace XServer
