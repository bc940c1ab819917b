#include "SessionEnd.h"

#include <QCoreApplication>
#include <QEvent>

void SessionEnd::announce()
{
    m_isNear = true;
    QCoreApplication::instance()->installEventFilter(this);
}

bool SessionEnd::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::MouseButtonPress:
    case QEvent::TouchBegin:
    case QEvent::TabletPress:
        m_isNear = false;
        QCoreApplication::instance()->removeEventFilter(this);
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}
