#pragma once

#include "ServerCertificate.h"

#include <QList>
#include <QString>
#include <QtGlobal>

#include <memory>
#include <span>

class TlsTransport;
struct ssl_session_st;
struct ssl_st;
struct x509_store_ctx_st;

/// The client's end of a TLS connection (1.2 or 1.3), over a transport of any kind: it waits only where the transport
/// does. The certificate is judged and not enforced; the channel's owner checks it before sending anything.
///
/// Not safe for use by two threads at a time; channels of different threads have nothing in common.
class TlsChannel {
public:
    enum class Outcome {
        Done,
        Waiting, ///< The transport has nothing yet; try again when it has.
        Ended, ///< The peer has said that it is finished (close_notify).
        Broken, ///< The connection has ended without that, or something is wrong with what came.
    };
    struct ReadResult {
        Outcome outcome = Outcome::Broken;
        qint64 count = 0; ///< Bytes read when Done, at least one.
    };

    /// A channel of its own to @p host, a name or an address. The transport outlives it.
    TlsChannel(TlsTransport& transport, QString host);
    /// A further channel to the peer of @p first, over another connection, which takes up its session. It is broken
    /// when that other connection turns out to lead to somebody else.
    TlsChannel(TlsTransport& transport, const TlsChannel& first);
    TlsChannel(const TlsChannel&) = delete;
    TlsChannel& operator=(const TlsChannel&) = delete;
    ~TlsChannel(); ///< Says nothing to the peer.

    /// Agrees with the peer on keys. Done: bytes may be read and written.
    Outcome handshake();

    /// The result that a read would have, without taking anything.
    Outcome peek();
    /// Reads one record of the peer's, as far as it fits.
    ReadResult read(std::span<char> buffer);
    /// Whether a read may answer more without the transport receiving anything.
    bool mayHaveMore() const;

    /// False when the channel is broken.
    bool write(std::span<const char> data);
    /// Tells the peer that everything has been said (close_notify).
    void sendClose();

    /// The peer's certificate; known when the handshake is done.
    ServerCertificate certificate() const;
    /// Whether nothing is wrong with the certificate.
    bool isTrustedBySystem() const { return m_problems.isEmpty(); }
    /// The version that is spoken, such as "TLSv1.3".
    QString protocol() const;
    /// The cipher, such as "TLS_AES_256_GCM_SHA384".
    QString cipher() const;
    /// Whether the handshake took up the session of another channel.
    bool isResumed() const;

private:
    struct Release {
        void operator()(ssl_st* ssl) const;
    };

    static int noteProblem(int isGood, x509_store_ctx_st* store);
    void prepare(TlsTransport& transport);
    void setHostToVerify();
    Outcome outcomeOf(int result);

    QString m_host;
    std::unique_ptr<ssl_st, Release> m_ssl;
    QByteArray m_expected; ///< The fingerprint that the peer must have; empty: any.
    QList<CertificateProblem> m_problems;
    Outcome m_latest = Outcome::Waiting; ///< Of handshake and reads.
    bool m_broken = false;
};
