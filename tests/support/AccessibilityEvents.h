#pragma once

#include <QAccessible>
#include <QList>
#include <QObject>

#include <algorithm>

/// Notes what screen readers are told of for as long as it lives; one at a time.
class AccessibilityEvents {
public:
    AccessibilityEvents()
        : m_wasActive(QAccessible::isActive())
    {
        noted().clear();
        QAccessible::setActive(true);
        m_before = QAccessible::installUpdateHandler([](QAccessibleEvent* event) {
            noted().append({ event->object(), event->type() });
        });
    }
    AccessibilityEvents(const AccessibilityEvents&) = delete;
    AccessibilityEvents& operator=(const AccessibilityEvents&) = delete;
    ~AccessibilityEvents()
    {
        QAccessible::installUpdateHandler(m_before);
        QAccessible::setActive(m_wasActive);
    }

    /// How many there were about @p object, or about all.
    static qsizetype count(const QObject* object = nullptr)
    {
        return std::count_if(noted().begin(), noted().end(),
                             [object](const Event& event) { return object == nullptr || event.object == object; });
    }

private:
    struct Event {
        const QObject* object;
        QAccessible::Event type;
    };
    static QList<Event>& noted()
    {
        static QList<Event> events;
        return events;
    }

    bool m_wasActive;
    QAccessible::UpdateHandler m_before = nullptr;
};
