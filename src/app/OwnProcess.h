#pragma once

#include <QObject>
#include <QStringList>

/// The program once more under the same name, as a process that depends on nothing of this one: it has a session of its
/// own, its standard streams lead nowhere, and it has no other file that is open here. It goes on when this object, or
/// this process, goes.
class OwnProcess final : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    /// With @p options. Once. ended() follows also when it could not be started.
    void start(const QStringList& options);

signals:
    void ended();
};
