#include "XServer.h"

#include <QGuiApplication>

xcb_connection_t* XServer::connection()
{
    const auto* const native = qApp->nativeInterface<QNativeInterface::QX11Application>();
    return native == nullptr ? nullptr : native->connection();
}

xcb_atom_t XServer::atom(xcb_connection_t* x, const QByteArray& name)
{
    const auto request = xcb_intern_atom(x, 0, static_cast<std::uint16_t>(name.size()), name.constData());
    const ReplyPointer<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(x, request, nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

xcb_window_t XServer::selectionOwner(xcb_connection_t* x, const QByteArray& selection)
{
    const auto request = xcb_get_selection_owner(x, atom(x, selection));
    const ReplyPointer<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(x, request, nullptr));
    return reply ? reply->owner : xcb_window_t(XCB_WINDOW_NONE);
}

xcb_window_t XServer::focusedWindow(xcb_connection_t* x)
{
    const ReplyPointer<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(x, xcb_get_input_focus(x), nullptr));
    return reply ? reply->focus : xcb_window_t(XCB_WINDOW_NONE);
}

void XServer::renewFocus(xcb_connection_t* x, xcb_window_t window)
{
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(x)).data->root;
    for (const xcb_window_t each : { root, window }) {
        xcb_set_input_focus(x, XCB_INPUT_FOCUS_PARENT, each, XCB_CURRENT_TIME);
    }
    xcb_flush(x);
}
