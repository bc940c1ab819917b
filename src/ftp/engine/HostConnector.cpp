#include "HostConnector.h"

#include "BesideLoop.h"
#include "FTPLog.h"
#include "HostLookup.h"
#include "SocketAddress.h"
#include "SocketCalls.h"

#include <QNetworkProxy>
#include <QPointer>

#include <algorithm>
#include <chrono>
#include <unistd.h>
#include <utility>

using namespace std::chrono_literals;

namespace {

/// How long an address has before the next one is tried beside it ("Connection Attempt Delay", RFC 8305, section 5).
constexpr auto attemptDelay = 250ms;

/// Whether this machine has an address and a route from which @p address can be reached. Sends nothing.
bool hasWayTo(const QHostAddress& address, quint16 port)
{
    const SocketAddress target = socketAddress(address, port);
    const int probe = ::socket(target.storage.ss_family, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const bool hasWay = probe < 0 // Nobody knows.
        || ::connect(probe, reinterpret_cast<const sockaddr*>(&target.storage), target.length) == 0;
    ::close(probe);
    return hasWay;
}

} // namespace

QList<QHostAddress> inOrderOfAttempts(const QList<QHostAddress>& addresses, const QHostAddress& preferred)
{
    QList<QHostAddress> ordered;
    const auto append = [&ordered](const QHostAddress& address) {
        if (!ordered.contains(address)) {
            ordered.append(address);
        }
    };
    if (addresses.contains(preferred)) {
        append(preferred);
    }
    QList<QHostAddress> families[2]; // IPv6, and all others.
    for (const QHostAddress& address : addresses) {
        families[address.protocol() == QAbstractSocket::IPv6Protocol ? 0 : 1].append(address);
    }
    for (qsizetype i = 0; i < std::max(families[0].size(), families[1].size()); ++i) {
        for (const QList<QHostAddress>& family : families) {
            if (i < family.size()) {
                append(family[i]);
            }
        }
    }
    return ordered;
}

HostConnector::HostConnector(QString host, quint16 port, const QHostAddress& preferred)
    : m_host(std::move(host))
    , m_port(port)
    , m_preferred(preferred)
{
    m_nextAttempt.setSingleShot(true);
    m_nextAttempt.setInterval(attemptDelay);
    connect(&m_nextAttempt, &QTimer::timeout, this, &HostConnector::tryNext);
}

HostConnector::~HostConnector()
{
    dropAttempts();
}

void HostConnector::start()
{
    const QHostAddress address(m_host);
    if (address.isNull()) {
        lookUp();
    } else {
        m_addresses = { address };
        QMetaObject::invokeMethod(this, &HostConnector::tryNext, Qt::QueuedConnection);
    }
}

void HostConnector::lookUp()
{
    const auto found = std::make_shared<std::optional<QList<QHostAddress>>>();
    runBesideLoop([found, host = m_host] { *found = addressesOfHost(host); }, this,
                  [this, found] { resolved(*found); });
}

void HostConnector::resolved(const std::optional<QList<QHostAddress>>& found)
{
    m_isShort = !found;
    if (m_isShort) {
        QTimer::singleShot(attemptDelay, this, &HostConnector::lookUp); // Waited for like a socket, see tryNext().
        return;
    }
    m_isHostKnown = !found->isEmpty();
    m_addresses = inOrderOfAttempts(*found, m_preferred);
    tryNext();
}

void HostConnector::tryNext()
{
    m_nextAttempt.stop();
    if (m_addresses.isEmpty()) {
        if (m_attempts.empty()) {
            emit failed();
        }
        return;
    }
    m_isShort = !canMakeSocket();
    if (m_isShort) {
        m_nextAttempt.start(); // What the system has run out of is waited for, as long as its user has patience.
        return;
    }
    const QHostAddress address = m_addresses.takeFirst();
    qCDebug(ftpLog, "connecting to %s port %u", qUtf8Printable(address.toString()), m_port);
    m_attempts.push_back(std::make_unique<QTcpSocket>());
    QTcpSocket* const socket = m_attempts.back().get();
    socket->setProxy(QNetworkProxy::NoProxy);
    connect(socket, &QTcpSocket::connected, this, [this, socket] { attemptSucceeded(socket); });
    // Through the loop: it may come from inside this call.
    // What has failed at once may be told twice, the second time when another attempt has its place in memory.
    const auto fail = [this, attempt = QPointer(socket)] {
        if (attempt != nullptr) {
            attemptFailed(attempt);
        }
    };
    connect(socket, &QTcpSocket::errorOccurred, this, fail, Qt::QueuedConnection);
    m_nextAttempt.start();
    socket->connectToHost(address, m_port);
    if (socket->state() != QAbstractSocket::UnconnectedState) {
        return;
    }
    // Without a descriptor or a port left the socket says nothing.
    if (socket->error() == QAbstractSocket::UnknownSocketError && hasWayTo(address, m_port)) {
        m_isShort = true;
        m_attempts.pop_back();
        m_addresses.append(address); // The others come first.
        return;
    }
    QMetaObject::invokeMethod(this, fail, Qt::QueuedConnection);
}

void HostConnector::attemptSucceeded(QTcpSocket* socket)
{
    m_nextAttempt.stop();
    m_addresses.clear();
    const auto winner = std::find_if(m_attempts.begin(), m_attempts.end(),
                                     [socket](const auto& each) { return each.get() == socket; });
    m_connected = std::move(*winner);
    m_attempts.erase(winner);
    m_connected->disconnect(this);
    dropAttempts();
    emit connected();
}

void HostConnector::attemptFailed(QTcpSocket* socket)
{
    const auto failed = std::find_if(m_attempts.begin(), m_attempts.end(),
                                     [socket](const auto& each) { return each.get() == socket; });
    if (failed == m_attempts.end()) {
        return; // It was told before.
    }
    m_attempts.erase(failed);
    tryNext();
}

void HostConnector::dropAttempts()
{
    for (const std::unique_ptr<QTcpSocket>& attempt : m_attempts) {
        attempt->disconnect(this);
        attempt->abort();
    }
    m_attempts.clear();
}
