#pragma once

#include <QEvent>
#include <QObject>

/// Counts, from its making on, the events that make widgets lay themselves out or paint: those of one widget, or of all
/// when it watches the application.
class WidgetEvents final : public QObject {
public:
    explicit WidgetEvents(QObject& watched) { watched.installEventFilter(this); }

    int count() const { return m_count; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        switch (event->type()) {
        case QEvent::UpdateRequest:
        case QEvent::LayoutRequest:
        case QEvent::Paint:
        case QEvent::Show:
        case QEvent::Hide:
        case QEvent::EnabledChange:
            m_count += watched->isWidgetType() ? 1 : 0;
            break;
        default:
            break;
        }
        return false;
    }

private:
    int m_count = 0;
};
