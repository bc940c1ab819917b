#pragma once

#include "Destination.h"
#include "UploadOutcome.h"

#include <QString>

#include <optional>

/// What is known of one file.
struct HistoryEntry {
    using Outcome = UploadOutcome::Kind;

    QString path = {}; ///< The local file; of a note, its text.
    /// The folder that it was to go to, as a location: the one in force when it was queued, and then when it was
    /// started. Null where there was none.
    QString destination = {};
    std::optional<QString> username = {}; ///< And as whom, empty for an anonymous login; none where that is not known.
    FTPEncryption encryption = FTPEncryption::None; ///< And how, where the user name is known.
    Outcome outcome = Outcome::Waiting;
    bool isManual = false; ///< It was sent by hand, to a place of its own, and never stood in the queue.
    bool isQueuedAgain = false; ///< A later entry stands for the next try.
    bool isAwaitingTry = false; ///< It has failed, and is to be queued again by itself.
    std::optional<qint64> size = {}; ///< In bytes: of a confirmed file what was sent, else what the file has.
    /// Bytes that the server's machine had received at least when it broke off; none where that is not known.
    std::optional<qint64> acknowledged = {};
    std::optional<qint64> durationMs = {}; ///< From the start to the end of the upload.
    std::optional<qint64> listedSize
        = {}; ///< What the server lists it with, in bytes, where that is not what was sent.
    QString status = {}; ///< What the upload said when it failed.
    QString reply = {}; ///< The server's last reply to it, escaped; null for none.
    QString copy = {}; ///< What the copy of the program is called that has sent it; null for this one.
    qint64 time = 0; ///< When it was queued, started or ended last, by the wall clock: milliseconds since the epoch.

    /// Whether its file stood in a queue and has ended without arriving, and no later entry stands for another try.
    bool isUnsettled() const;
    /// Whether its file has not arrived, and somebody may want it to be queued again: also one that was sent by hand or
    /// taken out of the queue.
    bool canQueueAgain() const;
    /// The same for a copy of the program that has not sent it: one that is tried again by itself is not lost yet.
    bool canOthersQueueAgain() const { return canQueueAgain() && !isAwaitingTry; }
    /// Notes where it is to go to.
    void setDestination(const Destination& to);
    /// Whether it was to go to the place @p to, as far as is known; also where it was to go to none yet.
    bool isFor(const Destination& to) const;

    friend bool operator==(const HistoryEntry&, const HistoryEntry&) = default;
};
