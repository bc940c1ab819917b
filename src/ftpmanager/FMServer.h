#pragma once

#include <QString>

#include <memory>
#include <mutex>

/// The server that an operation of FTPManager talks to: a plain record, which checks nothing that is stored into it.
///
/// Each of its values may be read and set from any thread. It is neither copied nor moved; share it by pointer.
class FMServer {
public:
    /// A record with port 21 and nothing else.
    FMServer() = default;
    FMServer(const FMServer&) = delete;
    FMServer& operator=(const FMServer&) = delete;
    ~FMServer() = default;

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

    /// Sent to the server as it is, unencrypted.
    QString password() const;
    void setPassword(QString password);

    /// The TCP port of the control connection.
    qint32 port() const;
    void setPort(qint32 port);

private:
    mutable std::mutex m_mutex;
    QString m_destination;
    QString m_username;
    QString m_password;
    qint32 m_port = 21;
};
