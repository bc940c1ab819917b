#pragma once

#include "FileOutputStream.h"
#include "StreamController.h"

#include <functional>
#include <span>

class UserDefaults;

/// Receives the reports of one FTPGetController, on the thread that started the download.
class FTPGetControllerDelegate {
public:
    /// Percent of the file that has been written, 0 to 100. Not called when the server announced no size or none at
    /// all.
    virtual void percentDone(float percent) = 0;
    /// Bytes of the file that have been written; follows each percentDone().
    virtual void bytesDone(float bytes) = 0;
    /// What the download is doing, or how it has ended: only this text reports success and failure.
    virtual void updateStatus(const QString& status) = 0;
    /// A file that was to take another's place has arrived whole and cannot: it stays at @p path, beside that. The
    /// status that follows is that of a failure.
    virtual void fileStaysBeside(const QString& /*path*/) { }
    /// The status that follows is about what @p answers are to: for a delegate that several controllers report to.
    virtual void statusIsAbout(const ServerAnswers& /*answers*/) { }

protected:
    ~FTPGetControllerDelegate() = default;
};

/// Downloads one file from an FTP server into a local file, driven by stream events on the thread that starts it,
/// which is the main thread.
class FTPGetController final : public StreamController<FTPReadStream> {
public:
    using FileOpener = std::function<void(const QString& path)>;

    static constexpr size_t bufferSize = 32768;

    /// @p streams makes the network streams, @p defaults says under "OpenDownloadedFiles" whether finished files are
    /// opened, and @p openFile opens them with the program that the user has chosen for their kind. All of them outlive
    /// the controller.
    FTPGetController(FTPStreamFactory& streams, const UserDefaults& defaults, FileOpener openFile);
    ~FTPGetController() override; ///< Stops with the status "Stopped".

    WeakRef<FTPGetControllerDelegate> delegate() const { return m_delegate; }
    void setDelegate(WeakRef<FTPGetControllerDelegate> delegate);

    /// Whether a file that is there when a download starts is kept until the new one is whole, instead of being emptied
    /// at the start. After a failure or a stop it is then what it was, and of the new one nothing stays; only one that
    /// is whole and cannot take its name does. Off at first.
    bool keepsFileUntilWhole() const { return m_keepsFileUntilWhole; }
    void setKeepsFileUntilWhole(bool keeps) { m_keepsFileUntilWhole = keeps; }

    /// Starts a download of the file at @p address to the local path @p file, whose contents are replaced; null means
    /// a file of its own in the Downloads folder. While one runs, only pathToDownload() changes, and an alert says so a
    /// second later. Without both user name and password (null or empty) the login is anonymous.
    void startReceive(const QString& address, const QString& username, const QString& password, const QString& file);
    /// Ends the download and reports @p status; null means that the file has arrived. What there is of the local file
    /// stays, unless an older one was kept beside it.
    void stopReceiveWithStatus(const QString& status);

    bool isReceiving() const { return networkStream() != nullptr; }

    /// The local file of the running download, else null.
    const QString& filePath() const { return m_filePath; }
    /// That file; null while no download runs.
    FileOutputStream* fileStream() const { return m_fileStream.get(); }
    /// Bytes that the server announced, -1 when it did not.
    qint64 fileSize() const { return m_fileSize; }
    qint64 totalBytesWritten() const { return m_totalBytesWritten; }
    /// How many downloads have arrived whole so far.
    qsizetype arrivals() const { return m_arrivals; }
    /// The address last asked for, also while another download ran.
    const QString& pathToDownload() const { return m_pathToDownload; }

private:
    void handleStreamEvent(FTPStreamEvent event) override;
    void reportStatus(const QString& status) override { updateStatus(status); }
    void stopWithStatus(const QString& status) override { stopReceiveWithStatus(status); }

    void openCompleted();
    void receiveStep();
    void writeBlock(std::span<const char> block);
    bool reportProgress();
    void receiveDidStart();
    void receiveDidStopWithStatus(const QString& status);
    void updateStatus(const QString& status);

    FTPStreamFactory& m_streams;
    const UserDefaults& m_defaults;
    FileOpener m_openFile;
    WeakRef<FTPGetControllerDelegate> m_delegate;
    bool m_keepsFileUntilWhole = false;
    QString m_filePath;
    std::unique_ptr<FileOutputStream> m_fileStream;
    qint64 m_fileSize = 0;
    qint64 m_totalBytesWritten = 0;
    qsizetype m_arrivals = 0;
    QString m_pathToDownload;
    QString m_receivingStatus; ///< Names the file of m_pathToDownload; said for each block.
};
