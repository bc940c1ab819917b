#pragma once

#include "FaultMatrix.h"

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

#include <memory>

/// A server, and the files that operations on it are about.
class FaultScene {
public:
    FaultScene();

    /// Sees to it that the next operation of this kind has something to do that has not been done.
    void prepare(Operation operation);
    /// Whether an operation that was prepared has been done in full. Of a login test there is nothing to see.
    bool isDone(Operation operation) const;

    ScriptedServer& server() { return m_server; }
    QString localFolder() const { return m_local.path(); }
    /// The local file that an upload sends.
    QString fileToSend() const { return m_local.filePath(QStringLiteral("sent")); }
    /// The name of the folder that a creation makes.
    QString folderToMake() const { return QStringLiteral("made %1").arg(m_number); }
    /// The names that a listing has told.
    void setListed(const QStringList& names) { m_listed = names; }

private:
    const QByteArray m_bytes = QByteArray(200'000, 'x');
    ScriptedServer m_server;
    QTemporaryDir m_local;
    int m_number = 0;
    QStringList m_listed;
};

/// The operations, as one of the two that offer them does them. Each is waited for.
class FaultOperations {
public:
    FaultOperations() = default;
    FaultOperations(const FaultOperations&) = delete;
    FaultOperations& operator=(const FaultOperations&) = delete;
    virtual ~FaultOperations() = default;

    /// Does @p operation at @p port of this machine and answers what is told of its end.
    virtual QString perform(Operation operation, quint16 port, bool hasShortTimeouts) = 0;
    /// What is told of @p ending.
    virtual QString told(Operation operation, Ending ending) const = 0;
    /// Takes leave of the server, and waits until no connection is left.
    virtual void leave() = 0;
};

/// Through the window's controller, with its timer and its stream controllers.
std::unique_ptr<FaultOperations> operationsOfWindow(FaultScene& scene);
/// Through the library.
std::unique_ptr<FaultOperations> operationsOfLibrary(FaultScene& scene);
