#pragma once

#include "FTPStream.h"

#include <QByteArray>
#include <QStringList>

#include <deque>
#include <functional>
#include <optional>
#include <vector>

/// Makes streams that follow a script on the loop of the thread that opens them. Set it up before an operation and look
/// at it when the operation has returned.
class ScriptedStreams final : public FTPStreamFactory {
public:
    bool refusesCreation = false;
    bool refusesUserName = false;
    bool refusesPassword = false;
    bool refusesFetchResourceInfo = false;
    bool refusesEncryption = false;
    std::optional<qint64> resourceSize;
    FTPStreamError::Domain errorDomain = FTPStreamError::Domain::Other; ///< What an error is about.

    /// What the stream reports once it is open: a turn of the loop after the other, the events of one turn at once.
    std::deque<std::vector<FTPStreamEvent>> turns;
    /// What reads answer: bytes, as many as fit at a time, or nothing to fail. 0 when used up.
    std::deque<std::optional<QByteArray>> reads;
    /// What writes answer: at most so many bytes, or -1. Takes everything when used up.
    std::deque<qint64> writes;
    /// Called on the worker thread when all turns are over and the stream is still open. May add turns.
    std::function<void()> whenOver;

    /// Everything that was done to streams, in order: "upload LOCATION LENGTH", "user NAME", "open", "close", ...
    QStringList calls;
    QByteArray written; ///< All bytes that writes took.
    std::optional<FTPEncryption> encryption; ///< What the latest stream was told; nothing: it was told nothing.
    QList<QByteArray> trustedCertificates; ///< What it was told to trust.

    std::unique_ptr<FTPReadStream> createListingStream(const QString& location) override;
    std::unique_ptr<FTPReadStream> createDownloadStream(const QString& location) override;
    std::unique_ptr<FTPWriteStream> createUploadStream(const QString& location, qint64 length) override;
    std::unique_ptr<FTPWriteStream> createFolderStream(const QString& location) override;
};
