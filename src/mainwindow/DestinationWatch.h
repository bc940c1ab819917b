#pragma once

#include <QObject>
#include <QTimer>

#include <chrono>

/// Notices that somebody else has changed where files go, another copy of the program or an editor: that counts as the
/// user's wish when the settings have been quiet for a second and can be read. An icon's own count then as they are: it
/// has no destination without them. Belongs to the main thread.
class DestinationWatch final : public QObject {
    Q_OBJECT

public:
    /// So long settings may be some that are being written.
    static constexpr std::chrono::milliseconds quietTime{ 1000 };

    explicit DestinationWatch(QObject& parent);

    /// Another destination is in force.
    void destinationChanged();
    /// The user has said so, and it is being seen to.
    void settle() { m_quiet.stop(); }

signals:
    void settled();

private:
    static std::chrono::milliseconds ageOfSettings();
    void check();

    QTimer m_quiet{ this };
};
