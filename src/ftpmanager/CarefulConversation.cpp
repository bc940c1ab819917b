#include "CarefulConversation.h"

#include "ControlSocket.h"
#include "FTPManagerAnswers.h"

namespace {

bool isPositive(const Reply& reply)
{
    return reply.isPositive();
}

bool isPositiveOrIntermediate(const Reply& reply)
{
    return reply.isPositive() || reply.isIntermediate();
}

} // namespace

CarefulConversation::CarefulConversation(ControlSocket& socket)
    : m_socket(socket)
    , m_replies(socket)
{
}

std::optional<QString> CarefulConversation::hold(const QList<QByteArray>& setUp, const QByteArray& command,
                                                 bool hasGreeted)
{
    for (const QByteArray& line : setUp) {
        if (!m_socket.write(line)) {
            return std::nullopt;
        }
    }
    bool isReady = hasGreeted || isAccepted(QByteArray(), isPositive);
    for (const QByteArray& line : setUp) {
        isReady = isReady && isAccepted(line, line.startsWith("USER") ? isPositiveOrIntermediate : isPositive);
    }
    // Any line of an answer that begins with 4 or 5 is a failure: better before the command than behind it.
    isReady = isReady && areGoodAnswers(QString::fromUtf8(m_replies.text()));
    if (isReady && !command.isNull()) {
        m_hasSentCommand = m_socket.write(command);
        if (!m_hasSentCommand) {
            return std::nullopt;
        }
        m_isCommandAccepted = isAccepted(command, isPositive);
        isReady = m_isCommandAccepted;
    }
    // Without a command the login is what all of it is for.
    m_isUndecided = m_hasSentCommand ? !m_isCommandAccepted && !m_refusal : command.isNull() && m_isUnanswered;
    if (m_socket.write("QUIT\r\n")) {
        awaitQuitReply();
    }
    return isReady ? std::optional(QString::fromUtf8(m_replies.text())) : std::nullopt;
}

/// Reads what is still said, up to the reply to QUIT. How long that takes, and whether it comes, changes nothing any
/// more.
void CarefulConversation::awaitQuitReply()
{
    m_socket.setSilenceLimit(quitGrace);
    std::optional<Reply> reply;
    do {
        reply = m_replies.next();
    } while (reply && reply->code != 221);
}

/// Whether the next final reply, that to @p line, is good.
bool CarefulConversation::isAccepted(const QByteArray& line, bool (*isGood)(const Reply&))
{
    const std::optional<Reply> reply = m_replies.next();
    m_isUnanswered = !reply;
    if (reply && reply->isNegative()) {
        m_refusal = reply;
        m_refusedLine = line;
    }
    return reply && isGood(*reply);
}
