#pragma once

#include <QObject>
#include <QTimer>

/// Notices that somebody else has changed where files go, another copy of the program or an editor: that counts as the
/// user's wish when the settings have been quiet for a second and can be read. Belongs to the main thread.
class DestinationWatch final : public QObject {
    Q_OBJECT

public:
    explicit DestinationWatch(QObject& parent);

    /// Another destination is in force.
    void destinationChanged() { m_quiet.start(); }
    /// The user has said so, and it is being seen to.
    void settle() { m_quiet.stop(); }

signals:
    void settled();

private:
    QTimer m_quiet;
};
