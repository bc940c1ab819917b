#include "ConnectionPool.h"

#include <algorithm>
#include <utility>

namespace {

/// Whether a transfer with the connection's login can take it over at once.
bool isKept(const ControlConnection& connection)
{
    return !connection.isInUse() && !connection.isPending() && connection.isUsable();
}

} // namespace

ConnectionPool::ConnectionPool(DeliveryGate& gate, const FTPTimeouts& timeouts)
    : m_gate(gate)
    , m_timeouts(timeouts)
{
}

ControlConnection& ConnectionPool::acquire(const FTPServerKey& key, ControlConnectionUser& user, Reuse reuse,
                                           const ServerTraits& traits)
{
    if (Entry* const entry = reuse == Reuse::Fresh ? nullptr : keptEntry(key, reuse)) {
        entry->watchdog.stop();
        entry->connection->setUser(&user);
        return *entry->connection;
    }
    auto entry = std::make_unique<Entry>(m_gate);
    entry->connection = new ControlConnection(key, m_gate, traits);
    ControlConnection& connection = *entry->connection;
    connection.setParent(this);
    connection.setUser(&user);
    connect(&connection, &ControlConnection::drained, this, [this, &connection] { finish(connection); });
    connect(&connection, &ControlConnection::ended, this, [this, &connection] { ended(connection); });
    connect(&entry->watchdog, &Watchdog::expired, &connection, [this, &connection] {
        if (isKept(connection)) {
            close(connection);
        } else {
            discard(connection);
        }
    });
    m_entries.push_back(std::move(entry));
    connection.open();
    return connection;
}

/// A kept connection; null for none, or for too few of them.
ConnectionPool::Entry* ConnectionPool::keptEntry(const FTPServerKey& key, Reuse reuse)
{
    Entry* found = nullptr;
    for (const std::unique_ptr<Entry>& entry : m_entries) {
        if (entry->connection->key() == key && isKept(*entry->connection)) {
            if (reuse == Reuse::Allowed || found != nullptr) {
                return entry.get();
            }
            found = entry.get();
        }
    }
    return nullptr;
}

void ConnectionPool::release(ControlConnection& connection)
{
    connection.setUser(nullptr);
    connection.setReused();
    finish(connection);
}

void ConnectionPool::finish(ControlConnection& connection)
{
    if (!connection.isUsable()) {
        discard(connection);
        return;
    }
    entryOf(connection)->watchdog.start(connection.isPending() ? m_timeouts.drain : m_timeouts.idle);
    if (!connection.isPending()) {
        becameFree(connection.key());
    }
}

void ConnectionPool::quit(ControlConnection& connection)
{
    connection.setUser(nullptr);
    close(connection);
}

void ConnectionPool::discard(ControlConnection& connection)
{
    connection.drop();
    remove(connection);
}

void ConnectionPool::close(ControlConnection& connection)
{
    if (connection.isClosing()) {
        return;
    }
    if (!connection.isUsable()) {
        discard(connection);
        return;
    }
    // It stays until the server has closed it: before that, the server may refuse the next login.
    connection.quit();
    entryOf(connection)->watchdog.start(m_timeouts.drain);
}

void ConnectionPool::ended(ControlConnection& connection)
{
    if (connection.isClosing()) {
        // A server with a process for each session counts the login until that process has ended, after the close.
        entryOf(connection)->watchdog.start(m_timeouts.quitGrace);
    } else {
        remove(connection);
    }
}

void ConnectionPool::remove(ControlConnection& connection)
{
    const auto entry = std::find_if(m_entries.begin(), m_entries.end(),
                                    [&connection](const auto& each) { return each->connection == &connection; });
    if (entry != m_entries.end()) {
        const FTPServerKey key = connection.key();
        // A connection that never logged in frees no login, and waking waiters for it would make them try in turn for
        // ever. But when it was the last one, nothing else would wake them.
        const bool makesRoom = connection.session().loggedIn || !hasOther(connection);
        connection.deleteLater();
        m_entries.erase(entry);
        if (makesRoom) {
            becameFree(key);
        }
    }
}

qsizetype ConnectionPool::idleCount() const
{
    return std::count_if(m_entries.begin(), m_entries.end(),
                         [](const auto& entry) { return isKept(*entry->connection); });
}

bool ConnectionPool::hasOther(const ControlConnection& connection) const
{
    return std::any_of(m_entries.begin(), m_entries.end(), [&connection](const auto& entry) {
        return entry->connection != &connection && entry->connection->key().isSameServer(connection.key());
    });
}

bool ConnectionPool::hasOtherLogin(const ControlConnection& connection) const
{
    return std::any_of(m_entries.begin(), m_entries.end(), [&connection](const auto& entry) {
        const ControlConnection& other = *entry->connection;
        return &other != &connection && other.key().isSameServer(connection.key()) && other.session().loggedIn
            && !other.isClosing();
    });
}

void ConnectionPool::callWhenFree(const FTPServerKey& key, QObject* context, std::function<bool()> retry)
{
    const bool isOneKept = std::any_of(m_entries.begin(), m_entries.end(), [&key](const auto& entry) {
        return entry->connection->key().isSameServer(key) && isKept(*entry->connection);
    });
    m_waiters.push_back({ key, context, std::move(retry) });
    if (isOneKept) {
        becameFree(key);
    }
}

void ConnectionPool::becameFree(const FTPServerKey& key)
{
    std::erase_if(m_waiters, [](const Waiter& each) { return each.context == nullptr; });
    const auto waiter = std::find_if(m_waiters.begin(), m_waiters.end(),
                                     [&key](const Waiter& each) { return each.key.isSameServer(key); });
    // The key is copied, since a connection that is closed may end at once and change the list.
    if (waiter == m_waiters.end() || !evict(FTPServerKey(waiter->key))) {
        return; // The end of the closing connections leads here again.
    }
    const Waiter chosen = std::move(*waiter);
    m_waiters.erase(waiter);
    QMetaObject::invokeMethod(
        this,
        [this, chosen] {
            if (chosen.context == nullptr || !chosen.retry()) {
                becameFree(chosen.key);
            }
        },
        Qt::QueuedConnection);
}

/// Answers whether a transfer with @p key need not wait: there is a connection that it can take over, or none of
/// another login is left that could be closed for it.
bool ConnectionPool::evict(const FTPServerKey& key)
{
    std::vector<ControlConnection*> evicted;
    for (const std::unique_ptr<Entry>& entry : m_entries) {
        ControlConnection& connection = *entry->connection;
        if (connection.key() == key && isKept(connection)) {
            return true;
        }
        if (connection.key().isSameServer(key) && connection.key() != key && !connection.isInUse()) {
            evicted.push_back(&connection);
        }
    }
    for (ControlConnection* connection : evicted) {
        close(*connection);
    }
    return evicted.empty();
}

void ConnectionPool::closeIdle(const QString& host, quint16 port)
{
    std::vector<ControlConnection*> idle;
    for (const std::unique_ptr<Entry>& entry : m_entries) {
        const FTPServerKey& key = entry->connection->key();
        if (key.host == host && key.port == port && !entry->connection->isInUse()) {
            idle.push_back(entry->connection);
        }
    }
    for (ControlConnection* connection : idle) {
        close(*connection);
    }
}

ConnectionPool::Entry* ConnectionPool::entryOf(const ControlConnection& connection)
{
    const auto entry = std::find_if(m_entries.begin(), m_entries.end(),
                                    [&connection](const auto& each) { return each->connection == &connection; });
    return entry != m_entries.end() ? entry->get() : nullptr;
}
