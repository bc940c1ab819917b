#pragma once

#include <QString>

#include <optional>

/// What is known of one file of this run.
struct HistoryEntry {
    enum class Outcome {
        Waiting, ///< In the queue.
        Sending,
        Confirmed, ///< The server has said that it has the whole file.
        Failed, ///< `status` says how.
        Stopped, ///< By the user.
        NotFound, ///< There was no such file when its turn came.
        Removed, ///< Taken out of the queue before its turn came.
        Note, ///< Not a file: a remark, whose text is `path`.
    };

    QString path = {}; ///< The local file.
    Outcome outcome = Outcome::Waiting;
    bool isManual = false; ///< It was sent by hand, to a place of its own, and never stood in the queue.
    bool isQueuedAgain = false; ///< A later entry stands for the next try.
    std::optional<qint64> size = {}; ///< In bytes: of a confirmed file what was sent, else what the file has.
    std::optional<qint64> durationMs = {}; ///< From the start to the end of the upload.
    std::optional<qint64> listedSize
        = {}; ///< What the server lists it with, in bytes, where that is not what was sent.
    QString status = {}; ///< What the upload said when it failed.
    QString reply = {}; ///< The server's last reply to it, escaped; null for none.
};
