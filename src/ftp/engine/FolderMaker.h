#pragma once

#include "FTPCommand.h"
#include "Reply.h"

#include <QByteArray>
#include <QList>

#include <optional>

class ControlConnection;

/// Makes a folder level by level, in a session that stands in its login folder, and goes into it. A level that the
/// server refuses to make counts as one that exists exactly when the server lets us in.
class FolderMaker {
public:
    enum class Verdict {
        GoesOn, ///< A reply is still to come.
        Made, ///< The session stands in the folder.
        Refused, ///< The server neither makes a level nor has it; see refusal().
    };

    /// @p path as a location names it: relative to the login folder, or absolute when it begins with "/".
    FolderMaker(ControlConnection& connection, const QByteArray& path);

    Verdict begin() { return makeNext(); }
    /// Judges a final reply to one of its commands.
    Verdict handleReply(const FTPCommand& command, const Reply& reply);

    /// Why there is no such folder, when that was refused.
    const std::optional<Reply>& refusal() const { return m_refusal; }

private:
    Verdict makeNext();
    void send(FTPVerb verb);

    ControlConnection& m_connection;
    QList<QByteArray> m_levels; ///< Still to be made or gone into, the next one first.
    std::optional<Reply> m_refusal; ///< Of the present level.
};
