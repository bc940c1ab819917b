#pragma once

#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QString>
#include <QTcpSocket>
#include <QTimer>

#include <memory>
#include <optional>
#include <vector>

/// Connects to a host by whichever of its addresses answers first (RFC 8305): the next one is tried when one has
/// failed, or has said nothing for 250 ms; the families take turns, IPv6 first. Without a limit of its own: whoever
/// waits for it gives up by destroying it.
///
/// Everything is reported from the event loop.
class HostConnector final : public QObject {
    Q_OBJECT

public:
    /// @p host is a name or an address; @p preferred, where the host has it, is tried before all others.
    HostConnector(QString host, quint16 port, const QHostAddress& preferred = {});
    ~HostConnector() override; ///< Gives up what is under way.

    void start();
    /// The socket that stands; null before connected(), and once it was taken.
    std::unique_ptr<QTcpSocket> takeSocket() { return std::move(m_connected); }

    /// Whether the next attempt waits for what the system has run out of.
    bool isShort() const { return m_isShort; }

    /// Whether the host has an address, as far as that has been looked up.
    bool isHostKnown() const { return m_isHostKnown; }

signals:
    /// One of the addresses has answered. May destroy this through the loop.
    void connected();
    /// There is no such host, or none of its addresses lets us in. May destroy this through the loop.
    void failed();

private:
    void lookUp();
    /// Nothing was @p found where the system has no thread left to look.
    void resolved(const std::optional<QList<QHostAddress>>& found);
    void tryNext();
    void attemptSucceeded(QTcpSocket* socket);
    void attemptFailed(QTcpSocket* socket);
    void dropAttempts();

    QString m_host;
    quint16 m_port;
    QHostAddress m_preferred; ///< Null: none.
    QList<QHostAddress> m_addresses; ///< That have not been tried.
    std::vector<std::unique_ptr<QTcpSocket>> m_attempts;
    bool m_isHostKnown = true;
    bool m_isShort = false;
    QTimer m_nextAttempt;
    std::unique_ptr<QTcpSocket> m_connected;
};

/// @p addresses in the order in which they are tried: @p preferred first if it is among them, then the families in
/// turns, IPv6 first, each in its own order; none twice (RFC 8305, section 4).
QList<QHostAddress> inOrderOfAttempts(const QList<QHostAddress>& addresses, const QHostAddress& preferred);
