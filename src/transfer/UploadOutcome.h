#pragma once

#include <QString>

#include <optional>

/// What has become of one file that was to be uploaded, so far.
struct UploadOutcome {
    /// Kept in files by its number: what is new comes at the end.
    enum class Kind : quint8 {
        Waiting, ///< In the queue.
        Sending,
        Confirmed, ///< The server has said that it has the whole file, and acknowledged every byte.
        OtherSize, ///< Confirmed, but listed with another size than was sent.
        NotListed, ///< Confirmed, but not in a complete listing of its folder.
        Refused, ///< By the server, with `code`.
        ConnectionLost, ///< Or it could not be made.
        Silent, ///< The server has let a time limit pass.
        Unanswered, ///< All of it was sent, and no word came of what the server has done with it.
        Failed, ///< Otherwise; `status` says how.
        Stopped, ///< By the user.
        NotFound, ///< There was no such file when its turn came.
        NotReadable, ///< It could not be opened or read to its end.
        NotPlainFile, ///< A folder, a device or the like.
        UnsendableName, ///< No command can hold its name.
        LeftOut, ///< It was dropped or pasted, and never stood in the queue, since it is no plain file.
        Removed, ///< Taken out of the queue before its turn came.
        Note, ///< Not a file: a remark.
        Interrupted, ///< The program ended before it was known what would become of it.
        NotReplacing, ///< The user has left it out: it would have replaced a file, or might have.
    };

    Kind kind = Kind::Waiting;
    int code = 0; ///< The server's reply code of a refusal, 400 to 599; else 0.
    int missingLevels = 0; ///< See FTPStreamError; only of a refusal.
    QString status = {}; ///< What the upload said at its end.
    QString reply = {}; ///< The server's last reply to it, escaped; null for none.
    /// Bytes that the server's machine had received when it broke off, at least; std::nullopt where nothing was begun.
    std::optional<qint64> acknowledged = {};
};

/// Whether the server does not have the whole file although it was to be sent, or nobody knows. A file that was
/// stopped, removed or left out is no failure.
bool isFailure(UploadOutcome::Kind outcome);

/// Whether a file that ended like that may arrive when it is sent once more as it is: the connection was lost or could
/// not be made, or the server was silent, or it had no place for another user at the moment (421).
bool isConnectionFailure(const UploadOutcome& outcome);
