#pragma once

#include <QDBusConnection>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QString>

#include <functional>
#include <optional>

class QDBusMessage;
class QDBusPendingCallWatcher;

/// Keeps the machine from going to sleep by itself: through the login manager (org.freedesktop.login1) on the system
/// bus, or else through the session's power manager (org.freedesktop.PowerManagement). Where there is neither, it does
/// nothing. Nothing blocks but the first connection to the system bus.
class SleepInhibitor final : public QObject {
    Q_OBJECT

public:
    /// A bus, connected to when it is first needed.
    using Bus = std::function<QDBusConnection()>;

    /// @p who names the program, @p why says what for.
    SleepInhibitor(Bus systemBus, Bus sessionBus, QString who, QString why);
    /// What was inhibited ends with the connections or the process.
    ~SleepInhibitor() override = default;

    void setInhibited(bool isInhibited);

private:
    void askLoginManager();
    void loginManagerAnswered(const QDBusPendingCallWatcher& watcher);
    void askPowerManager();
    void powerManagerAnswered(const QDBusPendingCallWatcher& watcher);
    void update();
    void release();
    template <typename Answered> void call(const QDBusConnection& bus, const QDBusMessage& message, Answered done);

    Bus m_systemBus;
    Bus m_sessionBus;
    QString m_who;
    QString m_why;
    bool m_isWanted = false;
    bool m_isAsking = false; ///< An answer is still to come.
    bool m_isRefused = false; ///< Nobody here can do it.
    std::optional<QDBusUnixFileDescriptor> m_lock; ///< Of the login manager: it lasts until it is closed.
    std::optional<uint> m_cookie; ///< Of the power manager.
};
