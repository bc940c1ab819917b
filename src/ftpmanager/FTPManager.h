#pragma once

#include "FMFailure.h"
#include "FMServer.h"
#include "FTPManagerDelegate.h"
#include "ListingEntry.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <memory>
#include <optional>

namespace quillbox {

class FTPReadStream;
class FTPStreamFactory;
class FTPWriteStream;
class FileOutputStream;
class UploadSource;

/// A synchronous FTP client: each operation runs on a worker thread of its own, and its caller waits for the result.
///
/// Any thread may call, with or without an event loop; nothing in here waits for the loop of another thread. A manager
/// runs one operation at a time, so take one manager for each operation that runs at the same time. It must outlive its
/// operation. abort() and progress() may be called from any thread meanwhile.
///
/// Every operation answers false, or std::nullopt, when the server record is null or has a null destination, user name
/// or password or a port below 1 (the log says which), when an argument is not as its comment says (without a word), or
/// when the server or the network refused. lastFailure() has the reason; what is logged, as warnings of the category
/// "ftpmanager", says less. Operations wait as long as the server is silent, up to FMServer::timeouts().
///
/// With a record whose encryption() is required, every operation holds its conversation and moves its data inside TLS,
/// or fails before it sends user name and password; FMServer says what that protects. Otherwise everything goes in
/// clear.
///
/// Names are sent as UTF-8. Pass a record by address; it is read while the operation runs, and not kept.
class Q_DECL_EXPORT FTPManager final {
public:
    /// A manager on streams to real servers, each operation on connections of its own.
    FTPManager();
    FTPManager(const FTPManager&) = delete;
    FTPManager& operator=(const FTPManager&) = delete;
    ~FTPManager();

    /// Who hears of progress; may be null. Neither owned nor watched: it must outlive the operation. Set it while none
    /// runs.
    FTPManagerDelegate* delegate() const;
    void setDelegate(FTPManagerDelegate* delegate);

    /// Puts @p data, which is not null but may be empty, into the server's folder as @p fileName, over what is there.
    [[nodiscard]] bool uploadData(const QByteArray& data, const QString& fileName, const FMServer* server);

    /// Puts the local file @p fileURL into the server's folder under its own name, over what is there. It must exist
    /// and be no folder.
    [[nodiscard]] bool uploadFile(const QUrl& fileURL, const FMServer* server);

    /// Makes the folder @p name, which is not empty, in the server's folder.
    [[nodiscard]] bool createNewFolder(const QString& name, const FMServer* server);

    /// What the server's folder holds, in its order, "." and ".." included where the server tells of them. A name that
    /// is not valid UTF-8 is missing from its entry (null; ListingEntry::rawName has its bytes). std::nullopt on
    /// failure, also for a listing that cannot be read. An aborted listing has what came before.
    [[nodiscard]] std::optional<QList<ListingEntry>> contentsOfServer(const FMServer* server);

    /// Whether a download leaves an older local file as it is until the new one is whole; false at first: it is
    /// emptied when the download begins. The new one is written beside it, as "NAME.part". Set it while none runs.
    bool keepsOldFiles() const;
    void setKeepsOldFiles(bool keepsOldFiles);

    /// Gets @p fileName, which is not empty and leads to no other folder by "..", from the server's folder into
    /// @p directoryURL, which must exist, over what is there. A failed download removes the local file, an aborted one
    /// leaves what has come.
    [[nodiscard]] bool downloadFile(const QString& fileName, const QUrl& directoryURL, const FMServer* server);

    // The next four speak to the server over a control connection of their own, through IPv4, and judge every line
    // that it answers: one that begins with 4 or 5 is a failure, in a greeting too. They cannot be aborted and wait
    // until the server closes the connection, or until FMServer::timeLimit() is over. Names, folders and logins that
    // hold a line end or NUL, or are longer than a command line of 253 bytes, are refused before anything is sent.

    /// Deletes @p name, not null, from the server's folder: as a folder when it holds no ".", as a file when it does.
    [[nodiscard]] bool deleteFileNamed(const QString& name, const FMServer* server);
    /// The same for an item that is known by its name's bytes alone, since they are no UTF-8; not null.
    [[nodiscard]] bool deleteFileNamed(const QByteArray& rawName, const FMServer* server);
    /// Deletes @p rawName, not null, from the server's folder as what it is said to be, whatever its name looks like.
    enum class ItemKind { File, Folder };
    [[nodiscard]] bool deleteItemNamed(const QByteArray& rawName, ItemKind kind, const FMServer* server);
    /// As deleteFileNamed(), on a further worker thread.
    [[nodiscard]] bool deleteFile(const QString& name, const FMServer* server);

    /// Changes the permissions of @p name, not null, to @p mode: the decimal number that shows the octal digits, such
    /// as 755, at most 777.
    [[nodiscard]] bool chmodFileNamed(const QString& name, quint32 mode, const FMServer* server);

    /// Whether the server accepts the login. One that thinks about a wrong password for a while may act on the QUIT
    /// behind it first, and is then taken to have accepted.
    [[nodiscard]] bool checkLogin(const FMServer* server);

    /// Why the latest operation has failed; of the kind None when it has not, and for an aborted one.
    FMFailure lastFailure() const;

    /// Whether nobody knows what the server has done: the latest operation has failed since no answer has come,
    /// although its command was on the way, or in an upload all of the file. Over a control connection without
    /// FMServer::isCareful() the server's close of the connection in clear ends the answers, and counts as one.
    bool isUndecided() const;

    /// Whether the latest operation was a careful one (FMServer::isCareful()) over a control connection, and the server
    /// has accepted its command. It may have failed all the same: every line of all answers that begins with 4 or 5
    /// makes it do so, also of the answer to QUIT and in the midst of a good one.
    bool isCommandAccepted() const;

    /// Bytes of the local file, 0 when it cannot be looked at. Runs on the calling thread.
    quint64 fileSizeOf(const QUrl& fileURL) const;

    // Where the running operation stands. Its own thread may ask, as in a report of progress, and anybody while nothing
    // runs; the streams are null then.

    const char* buffer() const;
    /// The first byte of the buffer that has not been passed on.
    quint64 bufferOffset() const;
    /// The end of the bytes in it.
    quint64 bufferLimit() const;
    /// What is being uploaded.
    UploadSource* fileReader() const;
    /// Where a download goes.
    FileOutputStream* fileWriter() const;
    /// Of a listing or a download.
    FTPReadStream* serverReadStream() const;
    /// Of an upload or a new folder.
    FTPWriteStream* serverStream() const;
    /// What has come of a listing.
    const QByteArray& directoryListingData() const;

    /// How far the running upload or download has come. std::nullopt when none runs or its size is 0 or unknown.
    std::optional<FTPManagerProgress> progress() const;

    /// Ends the transfer or listing that runs where it stands; its operation then answers as if it had succeeded. Does
    /// nothing before the transfer has begun, when it has ended, and to the operations over a control connection.
    void abort();

private:
    class Q_DECL_HIDDEN Private;
    friend FTPManager managerOn(FTPStreamFactory& streams);

    Q_DECL_HIDDEN explicit FTPManager(std::unique_ptr<Private> implementation);

    const std::unique_ptr<Private> m_private;
};

} // namespace quillbox

#ifndef QUILLBOX_NO_GLOBAL_NAMES
using quillbox::FTPManager;
#endif
