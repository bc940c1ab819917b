#pragma once

#include "StreamController.h"
#include "UploadOutcome.h"

#include <array>

class FileInputStream;
struct LocalItem;

/// Receives the reports of one FTPPutController, on the thread that started the upload.
class FTPPutControllerDelegate {
public:
    /// Percent of the file that the network has taken, 0 to 100. Not called for an empty file.
    virtual void percentDone(float percent) = 0;
    /// Bytes of the file that the network has taken; follows each percentDone().
    virtual void bytesDone(float bytes) = 0;
    /// What the upload is doing, or how it has ended.
    virtual void updateStatus(const QString& status) = 0;
    /// The status that follows is about what @p answers are to: for a delegate that several controllers report to.
    virtual void statusIsAbout(const ServerAnswers& /*answers*/) { }
    /// The server has confirmed the whole file. The controller is idle again and may be started from here; the status
    /// of the end follows.
    virtual void uploadDone() = 0;

protected:
    ~FTPPutControllerDelegate() = default;
};

/// Uploads one local file to a folder on an FTP server, driven by stream events on the thread that starts it, which is
/// the main thread.
class FTPPutController final : public StreamController<FTPWriteStream> {
public:
    static constexpr size_t bufferSize = 32768;

    /// @p streams makes the network streams and outlives the controller.
    explicit FTPPutController(FTPStreamFactory& streams);
    ~FTPPutController() override; ///< Stops with the status "Stopped".

    WeakRef<FTPPutControllerDelegate> delegate() const { return m_delegate; }
    void setDelegate(WeakRef<FTPPutControllerDelegate> delegate);

    /// Starts an upload of the file at @p filePath, under its own name, to the folder @p destination. While one runs,
    /// only pathToUpload() changes; a null path and a file that does not exist are ignored. Without both user name and
    /// password (null or empty) the login is anonymous.
    void startSend(const QString& filePath, const QString& destination, const QString& username,
                   const QString& password);
    /// So many of the last levels of the destination are made where they are missing; none at first. With such levels
    /// startSend() takes a folder, too, whose path has a "/" at its end: it is made in the destination, and nothing is
    /// sent.
    void setMadeLevels(int levels) { m_madeLevels = levels; }
    /// Ends the upload and reports @p status; null means that the file has arrived. What the server has of a file that
    /// has not stays there.
    void stopSendWithStatus(const QString& status);

    bool isSending() const { return networkStream() != nullptr; }
    /// Whether the upload stands still; see FTPStream::isAwaitingTrust().
    bool isAwaitingTrust() const { return isSending() && networkStream()->isAwaitingTrust(); }
    /// What has become of the file that was last to be started; a start that is ignored while another upload runs
    /// changes nothing. It is known before the status of the end is reported.
    const UploadOutcome& outcome() const { return m_outcome; }

    /// The file that is being sent; null while no upload runs.
    FileInputStream* fileStream() const { return m_fileStream.get(); }
    /// Bytes read from the file and not yet taken by the network: those from bufferOffset() to bufferLimit().
    const char* buffer() const { return m_buffer.data(); }
    quint64 bufferOffset() const { return m_bufferOffset; }
    quint64 bufferLimit() const { return m_bufferLimit; }
    /// Bytes of the file by its attributes when the upload was asked for; 0 when they could not be read.
    qint64 fileSize() const { return m_fileSize; }
    qint64 totalBytesWritten() const { return m_totalBytesWritten; }
    /// The path last asked for, also while another upload ran.
    const QString& pathToUpload() const { return m_pathToUpload; }

private:
    void handleStreamEvent(FTPStreamEvent event) override;
    void reportStatus(const QString& status) override { updateStatus(status); }
    void stopWithStatus(const QString& status) override { stop(UploadOutcome::Kind::Failed, status); }

    bool openFile(const QString& filePath, const LocalItem& item);
    void refuseStart(UploadOutcome::Kind kind, const QString& status);
    void stop(UploadOutcome::Kind kind, const QString& status, const QString& reason = {});
    void streamFailed();
    void sendStep();
    bool fillBuffer();
    void reportProgress();
    void sendDidStart();
    void sendDidStopWithStatus(const QString& status);
    void updateStatus(const QString& status);
    void uploadDone();

    FTPStreamFactory& m_streams;
    WeakRef<FTPPutControllerDelegate> m_delegate;
    std::array<char, bufferSize> m_buffer{};
    std::unique_ptr<FileInputStream> m_fileStream;
    quint64 m_bufferOffset = 0; ///< First byte not yet sent.
    quint64 m_bufferLimit = 0; ///< One past the last byte read.
    int m_madeLevels = 0;
    qint64 m_fileSize = 0;
    qint64 m_totalBytesWritten = 0;
    UploadOutcome m_outcome;
    QString m_pathToUpload;
    QString m_location; ///< Where the file goes.
    QString m_sendingStatus; ///< Names the file of m_pathToUpload; said for each block.
};
