#include "ControlConnection.h"

#include "DeliveryGate.h"
#include "FTPLog.h"
#include "ServerTraits.h"
#include "SocketCalls.h"
#include "SystemCertificates.h"
#include "TlsChannel.h"
#include "TlsTransport.h"

#include <QScopedValueRollback>

#include <algorithm>
#include <array>
#include <span>
#include <utility>

namespace {

/// Hands @p bytes to the kernel at once where nothing waits. The socket's own way begins and ends to wait for room each
/// time, which costs more than the sending. False when the connection is over, which the socket reports by itself.
bool writeAtOnce(QTcpSocket& socket, QByteArrayView bytes)
{
    const int descriptor = static_cast<int>(socket.socketDescriptor());
    const std::span<const char> all(bytes.data(), static_cast<std::size_t>(bytes.size()));
    const qint64 taken = socket.bytesToWrite() == 0 ? std::max<qint64>(sendBytes(descriptor, all), 0) : 0;
    const QByteArrayView rest = bytes.sliced(taken);
    return rest.isEmpty() || socket.write(rest.data(), rest.size()) == rest.size();
}

/// Carries TLS over a socket of Qt. The socket reports its end by itself, and is closed by then.
class SocketTransport final : public TlsTransport {
public:
    explicit SocketTransport(QTcpSocket& socket)
        : m_socket(socket)
    {
    }

    qint64 receive(char* bytes, qint64 size) override
    {
        const qint64 count = m_socket.isOpen() ? m_socket.read(bytes, size) : 0;
        return count > 0 ? count : nothingYet;
    }
    bool send(const char* bytes, qint64 size) override
    {
        return m_socket.isOpen() && writeAtOnce(m_socket, { bytes, size });
    }

private:
    QTcpSocket& m_socket;
};

bool isPartOfWord(char byte)
{
    return byte == '_' || (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
}

/// Whether @p word stands in @p text with nothing beside it that would belong to a longer one.
bool holdsWord(const QByteArray& text, const QByteArray& word)
{
    for (qsizetype at = text.indexOf(word); at >= 0; at = text.indexOf(word, at + 1)) {
        const qsizetype end = at + word.size();
        const bool begins = at == 0 || !isPartOfWord(text[at - 1]);
        if (begins && (end == text.size() || !isPartOfWord(text[end]))) {
            return true;
        }
    }
    return false;
}

} // namespace

ControlConnection::ControlConnection(FTPServerKey key, DeliveryGate& gate, const ServerTraits& traits)
    : m_key(std::move(key))
    , m_gate(gate)
    , m_connector(traits.hasFixedAddress ? traits.address.toString() : m_key.host, m_key.port, traits.address)
{
    connect(&m_connector, &HostConnector::connected, this, &ControlConnection::connectionStands);
    connect(&m_connector, &HostConnector::failed, this, &ControlConnection::socketClosed);
    connect(&m_gate, &DeliveryGate::opened, this, &ControlConnection::processInput, Qt::QueuedConnection);
}

ControlConnection::~ControlConnection()
{
    drop(); // The socket's own destructor would report its end to a destroyed object.
}

void ControlConnection::open()
{
    m_pending.enqueue({ FTPVerb::Greeting, {} });
    if (m_key.encryption != FTPEncryption::None) {
        SystemCertificates::prepare(); // While the connection is being made.
    }
    m_connector.start();
}

void ControlConnection::connectionStands()
{
    m_socket = m_connector.takeSocket();
    if (m_ended) {
        return;
    }
    m_socket->setReadBufferSize(ReplyParser::lineLimit); // A flood stays in the kernel while the loop is suspended.
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    keepAlive(static_cast<int>(m_socket->socketDescriptor()));
    connect(m_socket.get(), &QTcpSocket::readyRead, this, &ControlConnection::processInput);
    connect(m_socket.get(), &QTcpSocket::disconnected, this, &ControlConnection::socketClosed);
    connect(m_socket.get(), &QTcpSocket::errorOccurred, this, &ControlConnection::socketClosed);
    m_established = true;
    m_peer = m_socket->peerAddress();
    emit established();
}

void ControlConnection::socketClosed()
{
    m_remoteClosed = true;
    if (m_isSending) {
        // Whoever sends has not returned yet, and must not hear of the end before that.
        QMetaObject::invokeMethod(this, &ControlConnection::processInput, Qt::QueuedConnection);
    } else {
        processInput();
    }
}

void ControlConnection::send(const QList<FTPCommand>& commands)
{
    const QScopedValueRollback sending(m_isSending, true);
    QByteArray lines;
    for (const FTPCommand& command : commands) {
        qCDebug(ftpLog, "> %s", command.loggedLine().constData());
        lines.append(command.line());
        lines.append("\r\n");
        m_pending.enqueue(command);
    }
    if (!m_socket->isOpen()) {
        return; // The end of the connection is about to be reported.
    }
    if (m_tls == nullptr && !m_shakingHands) {
        writeAtOnce(*m_socket, lines);
    } else if (m_shakingHands || !m_tls->write(lines)) {
        // Never unencrypted. The end of the connection is about to be reported, if it was not already.
        m_socket->disconnectFromHost();
    }
    m_socket->flush();
}

void ControlConnection::startEncryption()
{
    const QByteArray dropped = m_socket->readAll();
    qCDebug(ftpLog, "%lld bytes before the handshake are dropped", static_cast<long long>(dropped.size()));
    m_parser = ReplyParser();
    m_shakingHands = true;
    SystemCertificates::whenReady(this, [this] { beginHandshake(); });
}

void ControlConnection::beginHandshake()
{
    if (m_ended) {
        return;
    }
    m_transport = std::make_unique<SocketTransport>(*m_socket);
    m_tls = std::make_unique<TlsChannel>(*m_transport, m_key.host);
    processInput();
}

void ControlConnection::quit()
{
    m_user = nullptr;
    m_closing = true;
    send({ { FTPVerb::Quit, {} } });
}

void ControlConnection::drop()
{
    m_user = nullptr;
    m_ended = true;
    m_connector.disconnect(this);
    if (m_socket != nullptr) {
        m_socket->disconnect(this);
        m_socket->abort();
    }
}

void ControlConnection::processInput()
{
    while (!m_ended && !m_gate.isClosed()) {
        if (const std::optional<Reply> reply = m_parser.next()) {
            dispatch(*reply);
        } else if (m_parser.isBroken()) {
            qCDebug(ftpLog, "the server sends what is no reply");
            connectionEnded();
        } else if (!receive()) {
            break;
        }
    }
    if (m_remoteClosed && !m_ended && !m_gate.isClosed()) {
        connectionEnded();
    }
}

/// Reads what has arrived. False when nothing has.
bool ControlConnection::receive()
{
    if (m_socket == nullptr || (m_shakingHands && m_tls == nullptr)) {
        return false; // What comes before the handshake belongs to it, or is nobody's word.
    }
    if (m_tls == nullptr) {
        if (m_socket->bytesAvailable() == 0) {
            return false;
        }
        m_parser.append(m_socket->readAll());
        return true;
    }
    if (m_shakingHands) {
        return shakeHands();
    }
    std::array<char, 4096> buffer;
    const TlsChannel::ReadResult result = m_tls->read(buffer);
    switch (result.outcome) {
    case TlsChannel::Outcome::Done:
        m_parser.append(QByteArrayView(buffer.data(), result.count));
        return true;
    case TlsChannel::Outcome::Waiting:
        return false;
    case TlsChannel::Outcome::Ended:
    case TlsChannel::Outcome::Broken:
        m_remoteClosed = true;
        return false;
    }
    return false;
}

/// Goes on with the handshake. False when it waits for the peer.
bool ControlConnection::shakeHands()
{
    const TlsChannel::Outcome outcome = m_tls->handshake();
    m_socket->flush();
    if (outcome == TlsChannel::Outcome::Waiting) {
        return false;
    }
    if (outcome != TlsChannel::Outcome::Done) {
        m_remoteClosed = true;
        return false;
    }
    m_shakingHands = false;
    if (m_user != nullptr) {
        m_user->encryptionStands();
    }
    return true;
}

/// What people may read of @p text, a reply to @p command. A reply to the login may repeat the password; a server that
/// has done so may repeat it in any reply. Of all others the words stay as they are, also those that a short password
/// is a part of.
QByteArray ControlConnection::readableText(FTPVerb command, QByteArray text)
{
    const QByteArray& password = m_key.password;
    if (password.isEmpty()) {
        return text;
    }
    const bool isLogin = command == FTPVerb::User || command == FTPVerb::Pass;
    m_repeatsPassword = m_repeatsPassword || (isLogin && holdsWord(text, password));
    return isLogin || m_repeatsPassword ? text.replace(password, "****") : text;
}

void ControlConnection::dispatch(Reply reply)
{
    const FTPVerb answered = m_pending.isEmpty() ? FTPVerb::Quit : m_pending.head().verb;
    if (!reply.earlier.isEmpty()) {
        for (const QByteArray& line : reply.earlier.chopped(1).split('\n')) {
            reply.readableEarlier.append(QString::fromUtf8(escapedForLog(readableText(answered, line))));
        }
    }
    const QByteArray line = QByteArray::number(reply.code) + ' ' + escapedForLog(readableText(answered, reply.text));
    qCDebug(ftpLog, "< %s", line.constData());
    reply.readable = QString::fromUtf8(line);
    if (!m_closing) {
        emit replied(reply.readable);
    }
    if (m_pending.isEmpty()) {
        m_suspect = true;
        if (m_user != nullptr) {
            m_user->unaskedReplyArrived(reply);
        } else {
            connectionEnded();
        }
        return;
    }
    const FTPCommand command = m_pending.head();
    if (!reply.isPreliminary()) {
        m_pending.dequeue();
    }
    if (reply.code == 421) {
        m_suspect = true; // The server is about to close (RFC 959, section 4.2).
    }
    if (m_user != nullptr) {
        m_user->replyArrived(command, reply);
    } else if (m_pending.isEmpty() && !m_closing) {
        emit drained();
    }
}

void ControlConnection::connectionEnded()
{
    ControlConnectionUser* const user = m_user;
    drop();
    if (user != nullptr) {
        user->connectionLost();
    } else {
        emit ended();
    }
}
