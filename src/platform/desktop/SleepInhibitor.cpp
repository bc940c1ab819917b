#include "SleepInhibitor.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

const QString loginService = u"org.freedesktop.login1"_s;
const QString powerService = u"org.freedesktop.PowerManagement"_s;

QDBusMessage powerCall(const QString& method)
{
    return QDBusMessage::createMethodCall(powerService, u"/org/freedesktop/PowerManagement/Inhibit"_s,
                                          u"org.freedesktop.PowerManagement.Inhibit"_s, method);
}

} // namespace

SleepInhibitor::SleepInhibitor(Bus systemBus, Bus sessionBus, QString who, QString why)
    : m_systemBus(std::move(systemBus))
    , m_sessionBus(std::move(sessionBus))
    , m_who(std::move(who))
    , m_why(std::move(why))
{
}

void SleepInhibitor::setInhibited(bool isInhibited)
{
    m_isWanted = isInhibited;
    update();
}

/// Brings about what is wanted, one step at a time: each answer leads here again.
void SleepInhibitor::update()
{
    if (m_isAsking) {
        return;
    }
    const bool isInhibited = m_lock.has_value() || m_cookie.has_value();
    if (m_isWanted && !isInhibited && !m_isRefused) {
        askLoginManager();
    } else if (!m_isWanted && isInhibited) {
        release();
    }
}

/// On a bus that is connected: otherwise no answer would ever come.
template <typename Answered>
void SleepInhibitor::call(const QDBusConnection& bus, const QDBusMessage& message, Answered done)
{
    m_isAsking = true;
    auto* const watcher = new QDBusPendingCallWatcher(bus.asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, done] {
        m_isAsking = false;
        (this->*done)(*watcher);
        watcher->deleteLater();
    });
}

void SleepInhibitor::askLoginManager()
{
    QDBusMessage message = QDBusMessage::createMethodCall(loginService, u"/org/freedesktop/login1"_s,
                                                          u"org.freedesktop.login1.Manager"_s, u"Inhibit"_s);
    // Only the sleep that comes by itself or by mistake: closing the lid is the user's word.
    message << u"sleep:idle"_s << m_who << m_why << u"block"_s;
    const QDBusConnection bus = m_systemBus();
    if (bus.isConnected()) {
        call(bus, message, &SleepInhibitor::loginManagerAnswered);
    } else {
        askPowerManager();
    }
}

void SleepInhibitor::loginManagerAnswered(const QDBusPendingCallWatcher& watcher)
{
    const QDBusPendingReply<QDBusUnixFileDescriptor> reply = watcher;
    if (reply.isValid() && reply.value().isValid()) {
        m_lock = reply.value();
        update();
    } else if (m_isWanted) {
        askPowerManager();
    }
}

void SleepInhibitor::askPowerManager()
{
    QDBusMessage message = powerCall(u"Inhibit"_s);
    message << m_who << m_why;
    const QDBusConnection bus = m_sessionBus();
    if (bus.isConnected()) {
        call(bus, message, &SleepInhibitor::powerManagerAnswered);
    } else {
        m_isRefused = true;
    }
}

void SleepInhibitor::powerManagerAnswered(const QDBusPendingCallWatcher& watcher)
{
    const QDBusPendingReply<uint> reply = watcher;
    if (reply.isValid()) {
        m_cookie = reply.value();
        update();
    } else {
        m_isRefused = true;
    }
}

void SleepInhibitor::release()
{
    m_lock.reset();
    if (const std::optional<uint> cookie = std::exchange(m_cookie, std::nullopt)) {
        QDBusMessage message = powerCall(u"UnInhibit"_s);
        message << *cookie;
        m_sessionBus().send(message);
    }
}
