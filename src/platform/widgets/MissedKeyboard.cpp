#include "MissedKeyboard.h"

#include "XServer.h"

#include <QGuiApplication>
#include <QWidget>

void noticeKeyboard(const QWidget& window)
{
    if (QGuiApplication::focusWindow() != nullptr || !window.isVisible()) {
        return;
    }
    xcb_connection_t* const x = XServer::connection();
    const auto number = static_cast<xcb_window_t>(window.winId());
    if (x != nullptr && XServer::focusedWindow(x) == number) {
        XServer::renewFocus(x, number);
    }
}
