#pragma once

#include "UploadOutcome.h"

#include <QString>

#include <optional>

/// What is known of one file of this run.
struct HistoryEntry {
    using Outcome = UploadOutcome::Kind;

    QString path = {}; ///< The local file; of a note, its text.
    QString destination = {}; ///< The folder that it was to go to, as a location; null until it was started.
    Outcome outcome = Outcome::Waiting;
    bool isManual = false; ///< It was sent by hand, to a place of its own, and never stood in the queue.
    bool isQueuedAgain = false; ///< A later entry stands for the next try.
    std::optional<qint64> size = {}; ///< In bytes: of a confirmed file what was sent, else what the file has.
    std::optional<qint64> durationMs = {}; ///< From the start to the end of the upload.
    std::optional<qint64> listedSize
        = {}; ///< What the server lists it with, in bytes, where that is not what was sent.
    int code = 0; ///< Of a refusal: the server's reply code.
    QString status = {}; ///< What the upload said when it failed.
    QString reply = {}; ///< The server's last reply to it, escaped; null for none.
};
