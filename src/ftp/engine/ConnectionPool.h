#pragma once

#include "ControlConnection.h"
#include "FTPServerKey.h"
#include "FTPTimeouts.h"
#include "Watchdog.h"

#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class DeliveryGate;
struct ServerTraits;

/// The control connections of an engine: in use, kept for the next transfer, being drained of replies that nobody waits
/// for, or closing.
class ConnectionPool final : public QObject {
    Q_OBJECT

public:
    /// Both outlive the pool; @p timeouts is read again for each wait.
    ConnectionPool(DeliveryGate& gate, const FTPTimeouts& timeouts);

    enum class Reuse {
        Allowed, ///< A kept connection will do.
        Spare, ///< A kept connection will do if another one is kept.
        Fresh, ///< Only a new connection will do.
    };
    /// A connection for @p user alone, until it is released or discarded. It may not be established yet.
    /// @p traits say which of the host's addresses a new one goes to.
    ControlConnection& acquire(const FTPServerKey& key, ControlConnectionUser& user, Reuse reuse,
                               const ServerTraits& traits);
    /// The user has finished; a sound connection is kept, once the replies still due have come.
    void release(ControlConnection& connection);
    /// The user has finished, and the connection is not kept: it sends QUIT.
    void quit(ControlConnection& connection);
    /// The connection is of no further use.
    void discard(ControlConnection& connection);

    /// How many connections are kept, ready for use.
    qsizetype idleCount() const;
    /// How many connections there are, including closing ones.
    qsizetype connectionCount() const { return static_cast<qsizetype>(m_entries.size()); }
    /// Whether this engine has another connection to the server than @p connection. A closing one counts until the
    /// server has closed it and quitGrace has passed.
    bool hasOther(const ControlConnection& connection) const;
    /// Whether another one is logged in and not closing.
    bool hasOtherLogin(const ControlConnection& connection) const;
    /// Calls @p retry from the loop as soon as a connection to the same server becomes free or goes away, unless
    /// @p context is destroyed before. @p retry answers whether it took the chance; if not, the next in line gets it.
    void callWhenFree(const FTPServerKey& key, QObject* context, std::function<bool()> retry);

    /// Sends QUIT on all connections to a server that nobody uses, for a server that allows no second login. Returns at
    /// once; the server may take a moment to close them.
    void closeIdle(const QString& host, quint16 port);

private:
    struct Entry {
        explicit Entry(DeliveryGate& gate)
            : watchdog(gate)
        {
        }
        ControlConnection* connection = nullptr; ///< Destroyed through the loop: it may be the one that is reporting.
        Watchdog watchdog; ///< Ends a drain or a QUIT that takes too long, and a connection that idles.
    };
    struct Waiter {
        FTPServerKey key;
        QPointer<QObject> context;
        std::function<bool()> retry;
    };

    Entry* keptEntry(const FTPServerKey& key, Reuse reuse);
    Entry* entryOf(const ControlConnection& connection);
    void becameFree(const FTPServerKey& key);
    bool evict(const FTPServerKey& key);
    void close(ControlConnection& connection);
    void ended(ControlConnection& connection);
    void remove(ControlConnection& connection);
    void finish(ControlConnection& connection);

    DeliveryGate& m_gate;
    const FTPTimeouts& m_timeouts;
    std::vector<std::unique_ptr<Entry>> m_entries;
    std::vector<Waiter> m_waiters;
};
