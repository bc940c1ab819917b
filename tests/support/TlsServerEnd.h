#pragma once

#include "TestCertificate.h"

#include <QByteArray>

#include <memory>
#include <openssl/ssl.h>

/// What a server needs for TLS: its certificate, and the sessions that it lets clients take up again.
class TlsServerContext {
public:
    /// @p version: the only one that is spoken, as OpenSSL numbers it; 0: any.
    explicit TlsServerContext(const TestCertificate& certificate, int version = 0);

    SSL_CTX* get() const { return m_context.get(); }

private:
    std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> m_context;
};

/// A server's end of a TLS connection as bytes in and bytes out, so that a test decides what is sent when.
class TlsServerEnd {
public:
    explicit TlsServerEnd(const TlsServerContext& context);

    /// Takes in what the client has sent.
    void feed(const QByteArray& bytes);
    /// What is to be sent to the client.
    QByteArray take();

    /// Whether the handshake is done.
    bool isReady() const { return SSL_is_init_finished(m_ssl.get()) == 1; }
    bool isResumed() const { return SSL_session_reused(m_ssl.get()) == 1; }
    int version() const { return SSL_version(m_ssl.get()); }
    /// Whether the client has said that it has sent everything.
    bool hasClientClosed() const { return (SSL_get_shutdown(m_ssl.get()) & SSL_RECEIVED_SHUTDOWN) != 0; }

    /// What the client has said since the last call.
    QByteArray read();
    void write(const QByteArray& bytes);
    /// Says that everything has been sent (close_notify).
    void sendClose();

private:
    std::unique_ptr<SSL, decltype(&SSL_free)> m_ssl;
};
