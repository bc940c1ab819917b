#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QTimer>

#include <optional>

/// The progress bar on the program's icon in docks and task bars (com.canonical.Unity.LauncherEntry). It is told of
/// changes at most four times a second, and always of the last one.
class LauncherProgress final : public QObject {
    Q_OBJECT

public:
    /// @p desktopEntry is the name of the program's launcher file without the extension.
    LauncherProgress(QDBusConnection sessionBus, const QString& desktopEntry);

    /// From 0 to 1; std::nullopt takes the bar away.
    void setProgress(std::optional<double> progress);

private:
    void send();
    void sendIfChanged();

    QDBusConnection m_bus;
    QString m_launcher;
    QString m_path;
    std::optional<double> m_progress;
    std::optional<double> m_sent;
    QTimer m_pause; ///< Runs after each message.
};
