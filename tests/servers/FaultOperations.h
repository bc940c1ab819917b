#pragma once

#include "FaultMatrix.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>
#include <string>

/// A server, and the files that operations on it are about.
class FaultScene {
public:
    FaultScene();

    /// Sees to it that the next operation of this kind has something to do that has not been done.
    void prepare(Operation operation);
    /// Whether an operation that was prepared has been done in full, by what is in the folders, here or on the server.
    /// Of the tests of a connection: whether the server was told the login and has accepted it.
    bool isDone(Operation operation);
    /// Whether the listing told exactly what there is in the server's folder.
    bool isListedTruly() const;

    ScriptedServer& server() { return m_server; }
    QString localFolder() const { return m_local.path(); }
    /// The local file that an upload sends.
    QString fileToSend() const { return m_local.filePath(QStringLiteral("sent")); }
    /// The name of the folder that a creation makes.
    QString folderToMake() const { return QStringLiteral("made %1").arg(m_number); }
    /// The names that a listing has told.
    void setListed(const QStringList& names) { m_listed = names; }

private:
    bool isLoggedIn();

    const QByteArray m_bytes = QByteArray(200'000, 'x');
    ScriptedServer m_server;
    QTemporaryDir m_local;
    int m_number = 0;
    QStringList m_listed;
};

/// What is told of the end of an operation.
struct Outcome {
    std::string word; ///< For all that is told alike.
    QString told; ///< In full.
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
    /// What is to be told of @p ending.
    virtual Outcome outcome(Operation operation, Ending ending) const = 0;
    /// Takes leave of the server, and waits until no connection is left.
    virtual void leave() = 0;
};

/// Through the window's controller, with its timer, its stream controllers and its preferences.
std::unique_ptr<FaultOperations> operationsOfWindow(FaultScene& scene);
/// Through the library.
std::unique_ptr<FaultOperations> operationsOfLibrary(FaultScene& scene);
