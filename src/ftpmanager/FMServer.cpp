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

void FMServer::setDestination(const QString& destination)
{
    const std::lock_guard lock(m_mutex);
    m_destination = destination;
}

QString FMServer::username() const
{
    const std::lock_guard lock(m_mutex);
    return m_username;
}

void FMServer::setUsername(const QString& username)
{
    const std::lock_guard lock(m_mutex);
    m_username = username;
}

QString FMServer::password() const
{
    const std::lock_guard lock(m_mutex);
    return m_password;
}

void FMServer::setPassword(const QString& password)
{
    const std::lock_guard lock(m_mutex);
    m_password = password;
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
