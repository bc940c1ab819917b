#include "InputBlocker.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDrag>
#include <QDragLeaveEvent>
#include <QMenu>
#include <QSignalBlocker>
#include <QWidget>
#include <QWindow>

namespace {

bool isInput(QEvent::Type type)
{
    switch (type) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::NonClientAreaMouseButtonPress:
    case QEvent::NonClientAreaMouseButtonRelease:
    case QEvent::NonClientAreaMouseButtonDblClick:
    case QEvent::Wheel:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::NativeGesture:
    case QEvent::TabletPress:
    case QEvent::TabletMove:
    case QEvent::TabletRelease:
    case QEvent::ContextMenu:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::ShortcutOverride:
    case QEvent::Shortcut:
    case QEvent::InputMethod:
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
    case QEvent::Close:
        return true;
    default:
        return false;
    }
}

/// The menu bar shows these all the time, and they only open their menu.
bool isTitleOfMenu(const QObject& control)
{
    return qobject_cast<const QMenu*>(control.parent()) != nullptr
        && static_cast<const QMenu*>(control.parent())->menuAction() == &control;
}

} // namespace

InputBlocker::InputBlocker(const QWidget& window)
    : m_window(window)
{
    QDrag::cancel(); // A drag of ours would never learn that the mouse was released.
    while (QWidget* const menu = QApplication::activePopupWidget()) {
        menu->close(); // An open menu grabs mouse and keyboard.
    }
    // A screen reader triggers these by a call, without an event.
    disable(m_actions);
    disable(m_checkBoxes);
    qApp->installEventFilter(this);
}

InputBlocker::~InputBlocker()
{
    for (const QPointer<QAction>& action : m_actions) {
        if (action != nullptr) {
            action->setEnabled(true);
        }
    }
    for (const QPointer<QCheckBox>& box : m_checkBoxes) {
        if (box != nullptr) {
            box->setEnabled(true);
        }
    }
}

template <typename Control> void InputBlocker::disable(QList<QPointer<Control>>& disabled) const
{
    for (const QWidget* window : QApplication::topLevelWidgets()) {
        if (window == &m_window || window->parentWidget() != nullptr) {
            continue; // Its children are among its parent's.
        }
        for (Control* control : window->findChildren<Control*>()) {
            if (control->isEnabled() && !isTitleOfMenu(*control) && !isInWindow(*control)) {
                control->setEnabled(false);
                disabled.append(control);
            }
        }
    }
}

bool InputBlocker::isInWindow(const QObject& object) const
{
    for (const QObject* part = &object; part != nullptr; part = part->parent()) {
        if (part == &m_window || part == m_window.windowHandle()) {
            return true;
        }
    }
    return false;
}

bool InputBlocker::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Timer && qobject_cast<QAbstractButton*>(watched) != nullptr && !isInWindow(*watched)) {
        // A button that a screen reader has pressed stays down for a moment before it acts: it comes up without acting.
        const QSignalBlocker blocker(watched);
        watched->event(event);
        return true;
    }
    if (event->type() == QEvent::Show && qobject_cast<QMenu*>(watched) != nullptr) {
        QMetaObject::invokeMethod(watched, "hide", Qt::QueuedConnection); // A screen reader has opened it.
    }
    if (!isInput(event->type()) || isInWindow(*watched)) {
        return false;
    }
    if (event->type() == QEvent::Drop) {
        // A widget that has accepted the drag learns that it is over.
        QDragLeaveEvent leave;
        QCoreApplication::sendEvent(watched, &leave);
    }
    event->ignore();
    return true;
}
