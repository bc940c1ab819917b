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
