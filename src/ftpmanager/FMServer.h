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
/// Each of its values may be read and set from any thread, also while an operation runs, which may then see the old or
/// the new one. It is neither copied nor moved; share it by pointer.
class Q_DECL_EXPORT FMServer final {
public:
    /// A record with port 21 and nothing else.
    FMServer();
    FMServer(const FMServer&) = delete;
    FMServer& operator=(const FMServer&) = delete;
    ~FMServer();

    /// Makes a record with port 21. Null texts stay null; no operation accepts them.
    /// @param destination see destination()
    /// @param username see username()
    /// @param password see password()
    /// @return the record, never null
    static std::shared_ptr<FMServer> serverWithDestination(const QString& destination, const QString& username,
                                                           const QString& password);
    /// Makes a record for the login "anonymous" with an empty password.
    /// @param destination see destination()
    /// @return the record, never null
    static std::shared_ptr<FMServer> anonymousServerWithDestination(const QString& destination);

    /// The address of the server, with or without a scheme and a folder: "ftp://host/dir/sub", "host/dir", "host". The
    /// folder is relative to the login folder, or absolute behind a second "/". A port does not belong here.
    /// @return the address; null at first
    QString destination() const;
    /// Sets destination().
    /// @param destination the address; without CR, LF or NUL, or operations fail
    void setDestination(QString destination);

    /// What USER is said with (RFC 959, section 4.1.1).
    /// @return the name; null at first
    QString username() const;
    /// Sets username().
    /// @param username the name; without CR, LF or NUL, or operations fail
    void setUsername(QString username);

    /// What PASS is said with. It is sent as it is: readable for everybody on the way, unless encryption() is required.
    /// @return the password; null at first
    QString password() const;
    /// Sets password().
    /// @param password the password; without CR, LF or NUL, or operations fail
    void setPassword(QString password);

    /// The TCP port of the control connection.
    /// @return the port; 21 at first
    qint32 port() const;
    /// Sets port().
    /// @param port at least 1, or operations fail; of a greater one than 65535 conversations take the lower 16 bits
    void setPort(qint32 port);

    /// The address of the machine that operations connect to; a certificate still has to be that of the host in
    /// destination().
    /// @return the address; null at first: the host is resolved, transfers try all its addresses (RFC 8305), and
    /// conversations over a control connection take its first IPv4 address
    QHostAddress address() const;
    /// Sets address(), which may be of IPv4 or IPv6.
    /// @param address the address; null: the host is resolved again
    void setAddress(const QHostAddress& address);

    /// How long a conversation over a control connection may take as a whole, from the connect to the close by the
    /// server. The host's look-up does not count.
    /// @return milliseconds; 0 at first: however long it takes
    std::chrono::milliseconds timeLimit() const;
    /// Sets timeLimit().
    /// @param limit milliseconds; 0: none
    void setTimeLimit(std::chrono::milliseconds limit);

    /// Whether conversations over a control connection are careful. Otherwise all commands are sent at once, and one
    /// that changes something is carried out whatever becomes of the folder change before it. A careful one sends the
    /// same commands, but the one that changes something only when the login and the folder have been accepted, and
    /// QUIT last; a server that says nothing for FTPTimeouts::careful ends it. Transfers, listings and new folders wait
    /// like this anyway, and say QUIT when they are careful; so long they then wait for all replies of the login and
    /// the folder together, and likewise for those to the command.
    /// @return false at first
    bool isCareful() const;
    /// Sets isCareful().
    /// @param isCareful whether they are
    void setCareful(bool isCareful);

    /// How long transfers, listings, new folders and careful conversations wait for what.
    /// @return the limits; as FTPTimeouts has them at first
    FTPTimeouts timeouts() const;
    /// Sets timeouts(), for operations that begin from now on.
    /// @param timeouts the limits
    void setTimeouts(const FTPTimeouts& timeouts);

    /// Whether operations are encrypted by TLS (RFC 4217).
    ///
    /// Required protects the login, all commands, names and replies, and the contents of files and listings from being
    /// read or changed on the way, and makes sure that they go to the server that the certificate was issued for. An
    /// operation fails, before it sends user name or password, with a server that offers no TLS or whose certificate
    /// the system does not trust for this host. It does not hide which server is spoken to, when, and how much is
    /// moved; and what the server does with files and passwords is not protected at all.
    /// @return FTPEncryption::None at first
    FTPEncryption encryption() const;
    /// Sets encryption().
    /// @param encryption whether they are
    void setEncryption(FTPEncryption encryption);

    /// Certificates that are trusted whatever is wrong with them, as with one that a server has made for itself. The
    /// library asks nobody: show the user what `openssl x509 -fingerprint -sha256` tells, and pass here what he
    /// accepts.
    /// @return SHA-256 fingerprints, 32 bytes each; none at first
    QList<QByteArray> trustedFingerprints() const;
    /// Sets trustedFingerprints().
    /// @param fingerprints of 32 bytes each
    void setTrustedFingerprints(QList<QByteArray> fingerprints);

private:
    class Q_DECL_HIDDEN Private;
    const std::unique_ptr<Private> m_private;
};

} // namespace quillbox

#ifndef QUILLBOX_NO_GLOBAL_NAMES
using quillbox::FMServer;
#endif
