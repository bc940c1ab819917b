#include "WindowSight.h"

#include <QEvent>
#include <QWidget>

#include <utility>

WindowSight::WindowSight(QWidget& window)
    : m_window(window)
{
    window.installEventFilter(this);
}

bool WindowSight::eventFilter(QObject* /*watched*/, QEvent* event)
{
    switch (event->type()) {
    case QEvent::Show:
    case QEvent::Hide:
    case QEvent::WindowStateChange:
    case QEvent::WinIdChange:
    case QEvent::Expose:
        look();
        break;
    default:
        break;
    }
    return false;
}

void WindowSight::look()
{
    if (QWindow* const surface = m_window.windowHandle(); surface != m_surface) {
        m_surface = surface;
        if (surface != nullptr) {
            surface->installEventFilter(this);
        }
    }
    const bool isSeen
        = m_surface != nullptr && m_window.isVisible() && !m_window.isMinimized() && m_surface->isExposed();
    if (std::exchange(m_isSeen, isSeen) != isSeen) {
        emit changed(isSeen);
    }
}
