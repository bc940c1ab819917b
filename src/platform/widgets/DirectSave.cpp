#include "DirectSave.h"

#include "FileURL.h"
#include "XServer.h"

#include <QUrl>

using namespace Qt::StringLiterals;
using XServer::atom;
using XServer::connection;
using XServer::ReplyPointer;

namespace {

constexpr std::uint32_t longestRequest = 16 * 1024; ///< In words of four bytes.

} // namespace

bool DirectSave::isAvailable()
{
    return connection() != nullptr;
}

std::uint32_t DirectSave::announce(const QString& name)
{
    xcb_connection_t* const x = connection();
    if (x == nullptr) {
        return 0;
    }
    // Drags come from a window of the toolkit's own, not from the widget's.
    const xcb_window_t window = XServer::selectionOwner(x, "XdndSelection");
    if (window != XCB_WINDOW_NONE) {
        const QByteArray text = name.toUtf8();
        xcb_change_property(x, XCB_PROP_MODE_REPLACE, window, atom(x, DirectSave::format.toLatin1()),
                            atom(x, "text/plain"), 8, static_cast<std::uint32_t>(text.size()), text.constData());
        xcb_flush(x);
    }
    return window;
}

QString DirectSave::acceptRequest(std::uint32_t window)
{
    xcb_connection_t* const x = connection();
    if (x == nullptr || window == 0) {
        return {};
    }
    const xcb_atom_t property = atom(x, DirectSave::format.toLatin1());
    const auto request = xcb_get_property(x, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, longestRequest);
    const ReplyPointer<xcb_get_property_reply_t> reply(xcb_get_property_reply(x, request, nullptr));
    if (!reply || reply->bytes_after != 0) {
        return {};
    }
    QString path = pathOfRequest(QByteArray(static_cast<const char*>(xcb_get_property_value(reply.get())),
                                            xcb_get_property_value_length(reply.get())));
    if (!path.isNull()) {
        xcb_delete_property(x, window, property);
        xcb_flush(x);
    }
    return path;
}

QString DirectSave::pathOfRequest(QByteArray value)
{
    // Some targets count the byte that ends a text in C, or end the line.
    for (const char end : { '\0', '\r', '\n' }) {
        if (const qsizetype at = value.indexOf(end); at >= 0) {
            value.truncate(at);
        }
    }
    // With a "/" that is not escaped, which no name has: before the request the property holds the announced name,
    // which may look like a URI.
    return value.startsWith("file:/") ? localPath(QUrl::fromEncoded(value, QUrl::StrictMode)) : QString();
}
