#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <functional>
#include <memory>
#include <vector>

// Stand-ins for what a desktop offers on the bus. PrivateBus has them answer. The names of slots are those of the
// interfaces.
// NOLINTBEGIN(readability-identifier-naming)

/// Shows notifications: it writes down what it is asked for, and calls each of them 7.
class NotificationService final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    static inline const QString name = QStringLiteral("org.freedesktop.Notifications");
    static inline const QString path = QStringLiteral("/org/freedesktop/Notifications");

    QStringList shown; ///< "application: summary: body".
    QList<uint> replaced;
    QString icon; ///< Of the one shown last, as its hints.
    QVariantMap hints;

public slots: // NOLINT(readability-redundant-access-specifiers): moc tells the two apart
    uint Notify(const QString& application, uint replaces, const QString& itsIcon, const QString& summary,
                const QString& body, const QStringList& actions, const QVariantMap& itsHints, int timeout);
};

/// Gives locks that last until they are closed.
class LoginManager final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")

public:
    static inline const QString name = QStringLiteral("org.freedesktop.login1");
    static inline const QString path = QStringLiteral("/org/freedesktop/login1");

    ~LoginManager() override;

    /// Whether the lock given last is still held.
    bool isLocked() const;

    QStringList asked; ///< The arguments of each call.

public slots: // NOLINT(readability-redundant-access-specifiers): moc tells the two apart
    QDBusUnixFileDescriptor Inhibit(const QString& what, const QString& who, const QString& why, const QString& mode);

private:
    void closeOurEnd();

    int m_ourEnd = -1; ///< Of a pipe whose other end is the lock.
};

/// Gives the number 42 for a lock.
class PowerManager final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.PowerManagement.Inhibit")

public:
    static inline const QString name = QStringLiteral("org.freedesktop.PowerManagement");
    static inline const QString path = QStringLiteral("/org/freedesktop/PowerManagement/Inhibit");

    QStringList asked; ///< Each call with its arguments.

public slots: // NOLINT(readability-redundant-access-specifiers): moc tells the two apart
    uint Inhibit(const QString& who, const QString& why);
    void UnInhibit(uint cookie);
};

/// An open dialog of the portal's: it can be closed from outside.
class PortalRequest final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Request")

public:
    explicit PortalRequest(std::function<void()> close)
        : m_close(std::move(close))
    {
    }

public slots: // NOLINT(readability-redundant-access-specifiers): moc tells the two apart
    void Close() { m_close(); }

private:
    std::function<void()> m_close;
};

/// Lets nobody choose files: it writes down what it is asked for.
class FileChooserService final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.FileChooser")

public:
    static inline const QString name = QStringLiteral("org.freedesktop.portal.Desktop");
    static inline const QString path = QStringLiteral("/org/freedesktop/portal/desktop");

    QStringList asked; ///< "window: title", and for a file to be written "; save".
    QVariantMap options; ///< Of the latest dialog.
    QString request; ///< The object of the latest dialog.
    QString ownPath; ///< What such objects are called, if not as the program would like.
    QStringList closed; ///< The objects that were closed from outside.

    /// What the service sends when the latest dialog has ended.
    QDBusMessage response(uint code, const QStringList& uris) const;

public slots: // NOLINT(readability-redundant-access-specifiers): moc tells the two apart
    QDBusObjectPath OpenFile(const QString& window, const QString& title, const QVariantMap& itsOptions);
    QDBusObjectPath SaveFile(const QString& window, const QString& title, const QVariantMap& itsOptions);

private:
    QDBusObjectPath show(const QVariantMap& itsOptions);

    std::vector<std::unique_ptr<PortalRequest>> m_requests;
};
// NOLINTEND(readability-identifier-naming)

/// A dock that listens to what programs tell of their progress.
class Dock final : public QObject {
    Q_OBJECT

public:
    void listen(QDBusConnection bus);

    QStringList heard; ///< "launcher, progress" or "launcher, none".

private slots:
    void update(const QString& launcher, const QVariantMap& properties);
};
