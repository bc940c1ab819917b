#include "Notifier.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QStringList>
#include <QVariantMap>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

const QString service = u"org.freedesktop.Notifications"_s;
const QString path = u"/org/freedesktop/Notifications"_s;
const QString defaultAction = u"default"_s; ///< The notification itself is clicked.

} // namespace

Notifier::Notifier(QDBusConnection sessionBus, Sender sender)
    : m_bus(std::move(sessionBus))
    , m_sender(std::move(sender))
{
    // From any sender: asking for the service's owner would wait for the bus.
    m_bus.connect(QString(), path, service, u"ActionInvoked"_s, this, SLOT(actionInvoked(uint, QString)));
}

void Notifier::show(const QString& summary, const QString& body)
{
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, service, u"Notify"_s);
    constexpr int serviceDecides = -1; // How long it stays.
    call << m_sender.name << m_id << m_sender.icon << summary << body << QStringList{ defaultAction, u"Show"_s }
         << QVariantMap{ { u"desktop-entry"_s, m_sender.desktopEntry } } << serviceDecides;
    auto* const watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        answered(*watcher);
        watcher->deleteLater();
    });
}

void Notifier::answered(const QDBusPendingCallWatcher& watcher)
{
    const QDBusPendingReply<uint> reply = watcher;
    m_id = reply.isValid() ? reply.value() : 0;
}

void Notifier::actionInvoked(uint id, const QString& action)
{
    if (id != 0 && id == m_id && action == defaultAction) {
        emit activated();
    }
}
