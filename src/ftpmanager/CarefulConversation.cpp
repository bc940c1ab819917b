#include "CarefulConversation.h"

#include "ControlSocket.h"

#include <array>

namespace {

/// The most that is read of a server's replies; one that says more is not listened to.
constexpr qsizetype longestText = 1 << 20;

bool isPositive(const Reply& reply)
{
    return reply.isPositive();
}

bool isPositiveOrIntermediate(const Reply& reply)
{
    return reply.isPositive() || reply.isIntermediate();
}

} // namespace

CarefulConversation::CarefulConversation(ControlSocket& socket, std::chrono::milliseconds silence)
    : m_socket(socket)
{
    socket.setSilenceLimit(silence);
}

std::optional<QString> CarefulConversation::hold(const QList<QByteArray>& setUp, const QByteArray& command,
                                                 bool hasGreeted)
{
    for (const QByteArray& line : setUp) {
        if (!m_socket.write(line)) {
            return std::nullopt;
        }
    }
    bool isReady = hasGreeted || isAccepted(isPositive);
    for (const QByteArray& line : setUp) {
        isReady = isReady && isAccepted(line.startsWith("USER") ? isPositiveOrIntermediate : isPositive);
    }
    if (isReady && !command.isNull()) {
        m_hasSentCommand = m_socket.write(command);
        isReady = m_hasSentCommand && isAccepted(isPositive);
    }
    if (m_socket.write("QUIT\r\n")) {
        awaitQuitReply();
    }
    return isReady ? std::optional(QString::fromUtf8(m_text)) : std::nullopt;
}

/// Reads what is still said, up to the reply to QUIT. How long that takes, and whether it comes, changes nothing any
/// more.
void CarefulConversation::awaitQuitReply()
{
    m_socket.setSilenceLimit(quitGrace);
    std::optional<Reply> reply;
    do {
        reply = readReply();
    } while (reply && reply->code != 221);
}

/// Whether the next final reply is good.
bool CarefulConversation::isAccepted(bool (*isGood)(const Reply&))
{
    const std::optional<Reply> reply = readReply();
    if (reply && reply->isNegative()) {
        m_refusal = reply;
    }
    return reply && isGood(*reply);
}

/// The next final reply; std::nullopt when the server sends none.
std::optional<Reply> CarefulConversation::readReply()
{
    std::array<char, 512> part{};
    while (true) {
        std::optional<Reply> reply = m_parser.next();
        if (reply && !reply->isPreliminary()) {
            return reply;
        }
        if (reply) {
            continue;
        }
        const qint64 count = m_parser.isBroken() || m_text.size() > longestText ? -1 : m_socket.read(part);
        if (count <= 0) {
            return std::nullopt;
        }
        m_text.append(part.data(), count);
        m_parser.append(QByteArrayView(part.data(), count));
    }
}
