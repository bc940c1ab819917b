#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>

class QDBusPendingCallWatcher;

/// Shows notifications of one kind through the desktop's service (org.freedesktop.Notifications): a new one takes the
/// place of the one before. Without such a service nothing is shown. Nothing blocks.
class Notifier final : public QObject {
    Q_OBJECT

public:
    /// What notifications say of the program that shows them.
    struct Sender {
        QString name; ///< As the user knows it.
        QString icon; ///< By its name in the icon theme, or a file's URL.
        QString desktopEntry; ///< The launcher file's name without the extension.
    };

    Notifier(QDBusConnection sessionBus, Sender sender);

    /// @p summary in plain text; @p body, which may be empty, must not hold what could be taken for markup.
    void show(const QString& summary, const QString& body);

signals:
    /// The user wants to see what the notification is about.
    void activated();

private slots: // NOLINT(readability-redundant-access-specifiers): moc tells the two apart
    void actionInvoked(uint id, const QString& action);

private: // NOLINT(readability-redundant-access-specifiers): these are no slots
    void answered(const QDBusPendingCallWatcher& watcher);

    QDBusConnection m_bus;
    Sender m_sender;
    uint m_id = 0; ///< Of the notification shown last; 0 for none.
};
