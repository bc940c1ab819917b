#pragma once

#include "ReplyReader.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <chrono>
#include <optional>

class ControlSocket;

/// A conversation over a control connection in which the command that changes something waits until everything before
/// it has been accepted: sent ahead, it would be carried out in the login folder when the change of folder is refused.
/// Blocking, for a worker thread.
class CarefulConversation {
public:
    /// So long a server may say nothing when all is decided and QUIT is said.
    static constexpr std::chrono::seconds quitGrace{ 2 };

    /// @p socket is connected, and outlives the conversation. Its silence limit is the caller's, from the connection
    /// on.
    explicit CarefulConversation(ControlSocket& socket);

    /// Sends @p setUp, then @p command unless that is null, then QUIT. @p hasGreeted: whether the server's greeting has
    /// been read. Answers everything that the server has said; std::nullopt when it has not accepted it all, has fallen
    /// silent, or is gone.
    std::optional<QString> hold(const QList<QByteArray>& setUp, const QByteArray& command, bool hasGreeted);

    /// Whether the server has accepted the command, whatever it said before or afterwards.
    bool isCommandAccepted() const { return m_isCommandAccepted; }
    /// Whether nobody knows what the server has done: the command was sent, and its reply has not come. Without a
    /// command, the login.
    bool isUndecided() const { return m_isUndecided; }
    /// The reply that was a refusal; std::nullopt without one.
    const std::optional<Reply>& refusal() const { return m_refusal; }
    /// What it was a reply to; null for the greeting.
    const QByteArray& refusedLine() const { return m_refusedLine; }
    /// Everything that the server has said.
    const QByteArray& replies() const { return m_replies.text(); }

private:
    void awaitQuitReply();
    bool isAccepted(const QByteArray& line, bool (*isGood)(const Reply&));

    ControlSocket& m_socket;
    ReplyReader m_replies;
    std::optional<Reply> m_refusal;
    QByteArray m_refusedLine;
    bool m_hasSentCommand = false;
    bool m_isCommandAccepted = false;
    bool m_isUnanswered = false; ///< The latest reply that was waited for has not come.
    bool m_isUndecided = false;
};
