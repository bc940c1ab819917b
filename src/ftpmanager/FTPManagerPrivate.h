#pragma once

#include "FTPManager.h"
#include "FTPStream.h"
#include "FileOutputStream.h"
#include "UploadSource.h"

#include <array>
#include <functional>
#include <mutex>
#include <span>

class ControlSocket;
struct Answers;
class RunLoop;

namespace quillbox {

class RunningOperation;

/// A manager on streams that @p streams makes, on worker threads; it outlives the manager. For tests.
FTPManager managerOn(FTPStreamFactory& streams);

/// What an FTPManager consists of.
class FTPManager::Private final : public FTPStreamDelegate {
public:
    /// With @p streams, or on streams to real servers, which are made for each operation.
    explicit Private(FTPStreamFactory* streams)
        : m_streams(streams)
    {
    }

    /// The kind of the running operation. Its numbers are fixed.
    enum class Action : quint32 {
        Upload = 0,
        CreateFolder = 1,
        List = 2,
        Download = 3,
        Command = 4, ///< A conversation over a control connection.
        Ended = 5,
    };
    enum class FailureReason : qint32 { None = 0, Read = 1, Write = 2, General = 3, Aborted = 4 };

    static bool _checkFMServer(const FMServer* server);
    template <typename Result> Result runOnWorker(const std::function<Result()>& operation);
    template <typename Result> Result runOnStreams(const FMServer& server, const std::function<Result()>& operation);

    // The working operations, on the worker thread.
    bool _uploadData(const QByteArray& data, const QString& fileName, const FMServer& server);
    bool _uploadFile(const QUrl& fileURL, const FMServer& server);
    bool _createNewFolder(const QString& name, const FMServer& server);
    std::optional<QList<ListingEntry>> _contentsOfServer(const FMServer& server);
    bool _downloadFile(const QString& fileName, const QUrl& directoryURL, const FMServer& server);
    bool _ftpActionForServer(const FMServer& server, const QByteArray& command);

    static std::optional<QList<ListingEntry>>
    _createListingArrayFromDirectoryListingData(const QByteArray& directoryListingData);
    bool prepare(ControlSocket& socket, const FMServer& server);
    std::optional<QString> converse(ControlSocket& socket, const FMServer& server, const QList<QByteArray>& lines);
    static Answers _listenLoopForSocket(ControlSocket& socket);
    static bool _checkAnswers(const QString& text);

    void begin(Action action, quint64 fileSize);
    void noteUndecided();
    /// Keeps why an operation does not begin, forgets the earlier one, and answers the result.
    bool refuse(FMFailure::Kind kind);
    /// Keeps why the operation fails, and answers its result.
    bool fail(const FMFailure& failure);
    bool fail(FMFailure::Kind kind) { return fail(FMFailure{ .kind = kind }); }
    bool upload(std::unique_ptr<UploadSource> source, const QByteArray& name, const QString& location,
                const FMServer& server);
    bool run(FTPStream& stream);
    std::optional<Action> runningAction() const;

    void handleEvent(FTPStream& stream, FTPStreamEvent event) override;
    void openCompleted();
    void hasBytesOfDownload();
    void hasBytesOfListing();
    void hasSpace();
    std::span<const char> pendingBytes() const;
    void countMoved(quint64 bytes);
    void reportDownloadProgress();
    void endWithFailureOf(const FTPStream& stream, FailureReason failureReason);
    /// The first end counts, with its failure: what a transfer does after an abort is no reason any more.
    void _streamDidEndWithSuccess(bool success, FailureReason failureReason, const FMFailure& failure = {},
                                  bool isUndecided = false);
    void closeStreams();

    static quint64 sizeOfFile(const QUrl& fileURL);
    std::optional<FTPManagerProgress> progress() const;
    void abort();
    /// What @p value is, for other threads than the worker.
    template <typename Value> Value locked(const Value& value) const
    {
        const std::lock_guard lock(m_mutex);
        return value;
    }

    FTPStreamFactory* m_streams = nullptr; ///< Given for good, or made for the operation that runs.
    FTPManagerDelegate* m_delegate = nullptr;
    bool m_keepsOldFiles = false;
    RunningOperation* m_running = nullptr; ///< The latest one.
    bool m_isEncrypted = false; ///< What the running operation says.

    /// Guards what other threads reach through abort() and progress().
    mutable std::mutex m_mutex;
    Action m_action = Action::Upload;
    RunLoop* m_currentRunLoop = nullptr; ///< The worker's; set exactly while a transfer runs.
    quint64 m_fileSize = 0; ///< Of the whole transfer; 0 when unknown.
    quint64 m_bytesProcessed = 0; ///< In the latest step.
    quint64 m_fileSizeProcessed = 0;
    bool m_streamSuccess = false;
    FMFailure m_failure;
    bool m_isUndecided = false;
    bool m_isCommandAccepted = false;

    // The worker's own.
    std::array<char, 32768> m_buffer{};
    quint64 m_bufferOffset = 0; ///< First byte that has not been passed on.
    quint64 m_bufferLimit = 0; ///< End of the bytes that have been read.
    bool m_isWriteBroken = false; ///< The last write has taken nothing.
    std::unique_ptr<UploadSource> m_fileReader;
    std::unique_ptr<FileOutputStream> m_fileWriter;
    std::unique_ptr<FTPReadStream> m_serverReadStream;
    std::unique_ptr<FTPWriteStream> m_serverStream;
    QByteArray m_directoryListingData;
};

} // namespace quillbox

using quillbox::managerOn;
