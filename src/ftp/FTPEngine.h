#pragma once

#include "FTPTimeouts.h"

#include <QHostAddress>
#include <QObject>

#include <memory>

class CertificateQuestions;
class ConnectionPool;
class DeliveryGate;
class ServerMemory;

/// The connections to FTP servers, and what is known about these servers. Streams are made on an engine by an
/// EngineStreamFactory. Its user owns it and keeps it until its streams are gone.
///
/// It belongs to the thread that makes it: everything happens on that thread's event loop, and nothing is shared with
/// other engines.
class FTPEngine final {
public:
    explicit FTPEngine(const FTPTimeouts& timeouts = {});
    FTPEngine(const FTPEngine&) = delete;
    FTPEngine& operator=(const FTPEngine&) = delete;
    ~FTPEngine(); ///< Drops all connections.

    /// Has what engines use of Qt's and OpenSSL's static objects outlive those that the program makes from now on. Then
    /// engines work in their destructors, too. Safe on any thread.
    static void prepareForTheEnd();
    /// Puts away what OpenSSL keeps for the calling thread, which is about to end: at its very end, when nobody waits
    /// for it any more, that may come too late.
    static void leaveThread();

    /// A changed limit applies to waits that begin later.
    FTPTimeouts& timeouts() { return m_timeouts; }
    ConnectionPool& pool() { return *m_pool; }
    CertificateQuestions& certificateQuestions() { return *m_certificateQuestions; }
    /// The gate of the engine's thread.
    DeliveryGate& gate() { return m_gate; }

    /// Has all connections to this server, whatever the login, go to @p address alone; its host is then not resolved.
    void setAddress(const QString& host, quint16 port, const QHostAddress& address);
    /// What transfers have learnt about servers.
    ServerMemory& servers() { return *m_servers; }

    /// The parent of all transfers. Those that have ended and wait for the loop to destroy them go with the engine.
    QObject& transfers() { return m_transfers; }

private:
    DeliveryGate& m_gate;
    FTPTimeouts m_timeouts;
    std::unique_ptr<ServerMemory> m_servers;
    std::unique_ptr<ConnectionPool> m_pool;
    std::unique_ptr<CertificateQuestions> m_certificateQuestions;
    QObject m_transfers; ///< Behind all that transfers use.
};
