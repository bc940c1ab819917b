#pragma once

#include "FTPEncryption.h"
#include "FTPTimeouts.h"

#include <QByteArray>
#include <QHostAddress>
#include <QList>
#include <QString>

#include <chrono>
#include <memory>

namespace quillbox {

/// The server that an operation of FTPManager talks to: a plain record, which checks nothing that is stored into it.
///
/// Each of its values may be read and set from any thread. It is neither copied nor moved; share it by pointer.
class Q_DECL_EXPORT FMServer final {
public:
    /// A record with port 21 and nothing else.
    FMServer();
    FMServer(const FMServer&) = delete;
    FMServer& operator=(const FMServer&) = delete;
    ~FMServer();

    /// A record with these values and port 21. Null texts stay null; no operation accepts them.
    static std::shared_ptr<FMServer> serverWithDestination(const QString& destination, const QString& username,
                                                           const QString& password);
    /// The same for the login "anonymous" with an empty password.
    static std::shared_ptr<FMServer> anonymousServerWithDestination(const QString& destination);

    /// Address of the server, with or without a scheme and a folder: "ftp://host/dir/sub", "host/dir", "host". The
    /// folder is relative to the login folder. A port does not belong here.
    QString destination() const;
    void setDestination(QString destination);

    QString username() const;
    void setUsername(QString username);

    /// Sent to the server as it is: readable for everybody on the way, unless encryption() is required.
    QString password() const;
    void setPassword(QString password);

    /// The TCP port of the control connection.
    qint32 port() const;
    void setPort(qint32 port);

    /// The address of the machine that operations connect to; null at first: the host of destination() is resolved, and
    /// conversations over a control connection take its first IPv4 address. Set, it may be an IPv6 address as well, and
    /// the host is no longer resolved; a certificate still has to be the host's.
    QHostAddress address() const;
    void setAddress(const QHostAddress& address);

    /// How long a conversation over a control connection may take as a whole, from the connect to the close by the
    /// server; 0 at first: however long it takes. The host's look-up does not count.
    std::chrono::milliseconds timeLimit() const;
    void setTimeLimit(std::chrono::milliseconds limit);

    /// Whether conversations over a control connection are careful; false at first: all commands are sent at once,
    /// and one that changes something is carried out whatever becomes of the folder change before it. A careful one
    /// sends the same commands, but the one that changes something only when the login and the folder have been
    /// accepted, and QUIT last; a server that says nothing for FTPTimeouts::careful ends it. Transfers, listings and
    /// new folders wait like this anyway, and say QUIT when they are careful; so long they then wait for all replies of
    /// the login and the folder together, and likewise for those to the command.
    bool isCareful() const;
    void setCareful(bool isCareful);

    /// How long operations wait for what; as FTPTimeouts has them at first.
    FTPTimeouts timeouts() const;
    void setTimeouts(const FTPTimeouts& timeouts);

    /// Whether operations are encrypted by TLS; none at first.
    ///
    /// Required protects the login, all commands, names and replies, and the contents of files and listings from being
    /// read or changed on the way, and makes sure that they go to the server that the certificate was issued for. An
    /// operation fails, before it sends user name or password, with a server that offers no TLS or whose certificate
    /// the system does not trust for this host. It does not hide which server is spoken to, when, and how much is
    /// moved; and what the server does with files and passwords is not protected at all.
    FTPEncryption encryption() const;
    void setEncryption(FTPEncryption encryption);

    /// SHA-256 fingerprints, 32 bytes each, of certificates that are trusted whatever is wrong with them, as with one
    /// that a server has made for itself; none at first. The library asks nobody: show the user what
    /// `openssl x509 -fingerprint -sha256` tells, and pass here what he accepts.
    QList<QByteArray> trustedFingerprints() const;
    void setTrustedFingerprints(QList<QByteArray> fingerprints);

private:
    class Q_DECL_HIDDEN Private;
    const std::unique_ptr<Private> m_private;
};

} // namespace quillbox

#ifndef QUILLBOX_NO_GLOBAL_NAMES
using quillbox::FMServer;
#endif
