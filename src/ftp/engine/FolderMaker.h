#pragma once

#include "FTPCommand.h"
#include "Reply.h"

#include <QByteArray>
#include <QList>

#include <optional>

class ControlConnection;

/// Makes a folder level by level and goes into it. A level that the server refuses to make counts as one that exists
/// exactly when the server lets us in.
class FolderMaker {
public:
    enum class Verdict {
        GoesOn, ///< A reply is still to come.
        Made, ///< The session stands in the folder.
        Refused, ///< The server neither makes a level nor has it; see refusal().
    };

    /// @p path as a location names it: relative to the login folder, in which the session stands, or absolute when it
    /// begins with "/".
    FolderMaker(ControlConnection& connection, const QByteArray& path);
    /// The same for the last @p levels of it; what is before them has to be there. The path leads there from where the
    /// session stands.
    FolderMaker(ControlConnection& connection, const QByteArray& path, int levels);

    Verdict begin();
    /// Judges a final reply to one of its commands.
    Verdict handleReply(const FTPCommand& command, const Reply& reply);

    /// Why there is no such folder, when that was refused.
    const std::optional<Reply>& refusal() const { return m_refusal; }
    /// How many levels are missing, when that was refused: the one that was refused, and all behind it.
    int missingLevels() const { return static_cast<int>(m_levels.size()); }

private:
    Verdict goOn();
    Verdict handleReplyToWhole(const FTPCommand& command, const Reply& reply);
    Verdict send(FTPVerb verb, const QByteArray& folder);

    ControlConnection& m_connection;
    QByteArray m_whole; ///< All levels to be made, while all but the last may be there; null otherwise.
    bool m_isFirstThere = false; ///< The first level is not to be made; it is still to be gone into.
    QList<QByteArray> m_levels; ///< Still to be made or gone into, the next one first.
    std::optional<Reply> m_refusal; ///< Of the present level.
};
