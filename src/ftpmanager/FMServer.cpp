#include "FMServer.h"

#include "Locked.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace quillbox {

class FMServer::Private {
public:
    Locked<QString> destination;
    Locked<QString> username;
    Locked<QString> password;
    Locked<qint32> port{ 21 };
    Locked<QHostAddress> address;
    Locked<std::chrono::milliseconds> timeLimit;
    Locked<bool> isCareful;
    Locked<FTPTimeouts> timeouts;
    Locked<FTPEncryption> encryption;
    Locked<QList<QByteArray>> trustedFingerprints;
};

FMServer::FMServer()
    : m_private(std::make_unique<Private>())
{
}

FMServer::~FMServer() = default;

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
    return m_private->destination.get();
}

void FMServer::setDestination(QString destination)
{
    m_private->destination.set(std::move(destination));
}

QString FMServer::username() const
{
    return m_private->username.get();
}

void FMServer::setUsername(QString username)
{
    m_private->username.set(std::move(username));
}

QString FMServer::password() const
{
    return m_private->password.get();
}

void FMServer::setPassword(QString password)
{
    m_private->password.set(std::move(password));
}

qint32 FMServer::port() const
{
    return m_private->port.get();
}

void FMServer::setPort(qint32 port)
{
    m_private->port.set(port);
}

QHostAddress FMServer::address() const
{
    return m_private->address.get();
}

void FMServer::setAddress(const QHostAddress& address)
{
    m_private->address.set(address);
}

std::chrono::milliseconds FMServer::timeLimit() const
{
    return m_private->timeLimit.get();
}

void FMServer::setTimeLimit(std::chrono::milliseconds limit)
{
    m_private->timeLimit.set(limit);
}

bool FMServer::isCareful() const
{
    return m_private->isCareful.get();
}

void FMServer::setCareful(bool isCareful)
{
    m_private->isCareful.set(isCareful);
}

FTPTimeouts FMServer::timeouts() const
{
    return m_private->timeouts.get();
}

void FMServer::setTimeouts(const FTPTimeouts& timeouts)
{
    m_private->timeouts.set(timeouts);
}

FTPEncryption FMServer::encryption() const
{
    return m_private->encryption.get();
}

void FMServer::setEncryption(FTPEncryption encryption)
{
    m_private->encryption.set(encryption);
}

QList<QByteArray> FMServer::trustedFingerprints() const
{
    return m_private->trustedFingerprints.get();
}

void FMServer::setTrustedFingerprints(QList<QByteArray> fingerprints)
{
    m_private->trustedFingerprints.set(std::move(fingerprints));
}

} // namespace quillbox
