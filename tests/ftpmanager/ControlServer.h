#pragma once

#include "TlsServerEnd.h"

#include <QByteArray>
#include <QList>
#include <QtGlobal>

#include <functional>
#include <memory>
#include <mutex>
#include <thread>

/// One accepted connection, blocking.
class ControlPeer {
public:
    explicit ControlPeer(int descriptor)
        : m_descriptor(descriptor)
    {
    }

    /// Sends all of @p bytes as they are. A client that is gone is no concern here.
    void send(const QByteArray& bytes);
    /// Reads until what was received ends with @p end or the client closes.
    void receiveUntil(const QByteArray& end);
    /// Goes on in TLS; what was received unencrypted counts as received before. False when the handshake fails.
    bool startTls(const TlsServerContext& context);
    /// Says in TLS that everything has been sent.
    void sayClosing();
    /// The next close() resets the connection.
    void resetOnClose();

    const QByteArray& received() const { return m_received; }

private:
    void sendRaw(const QByteArray& bytes);
    QByteArray receiveRaw();

    int m_descriptor;
    std::unique_ptr<TlsServerEnd> m_tls;
    QByteArray m_received;
};

/// A server on a port of its own that plays the same script with every client, each on a thread of its own, and closes
/// the connection at the end of it. Destroying it waits for all scripts to end.
class ControlServer {
public:
    enum class Family { IPv4, IPv6 };

    explicit ControlServer(std::function<void(ControlPeer&)> script, Family family = Family::IPv4);
    ControlServer(const ControlServer&) = delete;
    ControlServer& operator=(const ControlServer&) = delete;
    ~ControlServer();

    quint16 port() const { return m_port; }
    /// What each client has sent, in the order in which the scripts ended. Complete once the server has been closed.
    QList<QByteArray> received();
    /// Waits for the running scripts and takes no further client.
    void close();

private:
    void run();
    void play(int descriptor);

    std::function<void(ControlPeer&)> m_script;
    int m_listener = -1;
    quint16 m_port = 0;
    std::mutex m_mutex;
    QList<QByteArray> m_received;
    std::thread m_thread;
};
