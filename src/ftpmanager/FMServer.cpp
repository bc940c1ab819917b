#include "FMServer.h"

using namespace Qt::StringLiterals;

std::shared_ptr<FMServer> FMServer::serverWithDestination(const QString& destination, const QString& username,
                                                          const QString& password)
{
    auto server = std::make_shared<FMServer>();
    server->setDestination(destination);
    server->setUsername(username);
    server->setPassword(password);
    return server;
}

std::shared_ptr<FMServer> FMServer::anonymousServerWithDestination(const QString& destination)
{
    // The password is empty and not null, or the record would not be accepted.
    return serverWithDestination(destination, u"anonymous"_s, u""_s);
}

QString FMServer::destination() const
{
    const std::lock_guard lock(m_mutex);
    return m_destination;
}

void FMServer::setDestination(QString destination)
{
    const std::lock_guard lock(m_mutex);
    m_destination.swap(destination);
}

QString FMServer::username() const
{
    const std::lock_guard lock(m_mutex);
    return m_username;
}

void FMServer::setUsername(QString username)
{
    const std::lock_guard lock(m_mutex);
    m_username.swap(username);
}

QString FMServer::password() const
{
    const std::lock_guard lock(m_mutex);
    return m_password;
}

void FMServer::setPassword(QString password)
{
    const std::lock_guard lock(m_mutex);
    m_password.swap(password);
}

qint32 FMServer::port() const
{
    const std::lock_guard lock(m_mutex);
    return m_port;
}

void FMServer::setPort(qint32 port)
{
    const std::lock_guard lock(m_mutex);
    m_port = port;
}

QHostAddress FMServer::address() const
{
    const std::lock_guard lock(m_mutex);
    return m_address;
}

void FMServer::setAddress(QHostAddress address)
{
    const std::lock_guard lock(m_mutex);
    m_address.swap(address);
}

std::chrono::milliseconds FMServer::timeLimit() const
{
    const std::lock_guard lock(m_mutex);
    return m_timeLimit;
}

void FMServer::setTimeLimit(std::chrono::milliseconds limit)
{
    const std::lock_guard lock(m_mutex);
    m_timeLimit = limit;
}

bool FMServer::isCareful() const
{
    const std::lock_guard lock(m_mutex);
    return m_isCareful;
}

void FMServer::setCareful(bool isCareful)
{
    const std::lock_guard lock(m_mutex);
    m_isCareful = isCareful;
}

FTPEncryption FMServer::encryption() const
{
    const std::lock_guard lock(m_mutex);
    return m_encryption;
}

void FMServer::setEncryption(FTPEncryption encryption)
{
    const std::lock_guard lock(m_mutex);
    m_encryption = encryption;
}

QList<QByteArray> FMServer::trustedFingerprints() const
{
    const std::lock_guard lock(m_mutex);
    return m_trustedFingerprints;
}

void FMServer::setTrustedFingerprints(QList<QByteArray> fingerprints)
{
    const std::lock_guard lock(m_mutex);
    m_trustedFingerprints.swap(fingerprints);
}
