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
/// "ftpmanager", says less. Transfers, listings and new folders wait for a silent server up to FMServer::timeouts(),
/// conversations (see there) up to FMServer::timeLimit().
///
/// With a record whose encryption() is required, every operation holds its conversation and moves its data inside TLS,
/// or fails before it sends user name and password; FMServer says what that protects. Otherwise everything goes in
/// clear.
///
/// Names are sent as UTF-8. Pass a record by address; it is read while the operation runs, and not kept.
class Q_DECL_EXPORT FTPManager final {
public:
    /// What deleteItemNamed() deletes.
    enum class ItemKind {
        File, ///< By DELE (RFC 959, section 4.1.3).
        Folder, ///< By RMD. It has to be empty, for most servers.
    };

    /// A manager on streams to real servers, each operation on connections of its own.
    FTPManager();
    FTPManager(const FTPManager&) = delete;
    FTPManager& operator=(const FTPManager&) = delete;
    ~FTPManager();

    /// Who hears of progress.
    /// @return the delegate; null at first
    FTPManagerDelegate* delegate() const;
    /// Sets delegate(), while no operation runs.
    /// @param delegate neither owned nor watched: it outlives the operations; null for none
    void setDelegate(FTPManagerDelegate* delegate);

    /// Puts bytes into the server's folder, over what is there (STOR; RFC 959, section 4.1.3). Done when the server has
    /// said that it has all of them, and its TCP has acknowledged each.
    /// @param data not null, but maybe empty
    /// @param fileName the file's name there. An empty one, or one with a component "." or "..", is not sent
    /// @param server the record
    /// @return whether it is done
    [[nodiscard]] bool uploadData(const QByteArray& data, const QString& fileName, const FMServer* server);

    /// Puts a local file into the server's folder under its own name, over what is there. Otherwise as uploadData().
    /// @param fileURL a "file:" location. The file must exist and be no folder; it is sent as it was when it was opened
    /// @param server the record
    /// @return whether it is done
    [[nodiscard]] bool uploadFile(const QUrl& fileURL, const FMServer* server);

    /// Makes a folder in the server's folder (MKD; RFC 959, section 4.1.3).
    /// @param name its name, not empty
    /// @param server the record
    /// @return whether it is done; false, too, where the folder exists
    [[nodiscard]] bool createNewFolder(const QString& name, const FMServer* server);

    /// Lists the server's folder (LIST; RFC 959, section 4.1.3): in its order, "." and ".." included where the server
    /// tells of them. A name that is not valid UTF-8 is missing from its entry (null; ListingEntry::rawName has its
    /// bytes). At most 2,000,000 items, 128 MiB, of which 32 MiB are names and 32 MiB lines without an item.
    /// @param server the record
    /// @return what the folder holds; what has come of it after abort(); std::nullopt on failure, also for a listing
    /// that cannot be read
    [[nodiscard]] std::optional<QList<ListingEntry>> contentsOfServer(const FMServer* server);

    /// Whether a download leaves an older local file as it is until the new one is whole, also when it is aborted. The
    /// new one is written beside it, as "NAME.part"; where the folder does not allow that, the download fails.
    /// Otherwise the old one is emptied when the download begins.
    /// @return false at first
    bool keepsOldFiles() const;
    /// Sets keepsOldFiles(), while no operation runs.
    /// @param keepsOldFiles whether it does
    void setKeepsOldFiles(bool keepsOldFiles);

    /// Gets a file from the server's folder (RETR; RFC 959, section 4.1.3), over what is there. A failed download
    /// removes the local file, an aborted one leaves what has come.
    /// @param fileName its name, not empty and without a component ".."
    /// @param directoryURL a "file:" location of a local folder that exists
    /// @param server the record
    /// @return whether it is done
    [[nodiscard]] bool downloadFile(const QString& fileName, const QUrl& directoryURL, const FMServer* server);

    /// @name Conversations
    /// They speak to the server over a control connection of their own, through IPv4 (but see FMServer::address()), and
    /// judge every line that it answers: one that begins with 4 or 5 is a failure, in a greeting too. They cannot be
    /// aborted and wait until the server closes the connection, or until FMServer::timeLimit() is over. Names, folders
    /// and logins that hold a line end or NUL, or are longer than a command line of 253 bytes, are refused before
    /// anything is sent; answers of more than 1 MiB are a failure.
    /// @{

    /// Deletes an item from the server's folder: as a folder when its name holds no ".", as a file when it does.
    /// @param name its name, not null
    /// @param server the record
    /// @return whether it is done
    [[nodiscard]] bool deleteFileNamed(const QString& name, const FMServer* server);
    /// The same for an item that is known by its name's bytes alone, since they are no UTF-8.
    /// @param rawName the bytes of its name, not null
    /// @param server the record
    /// @return whether it is done
    [[nodiscard]] bool deleteFileNamed(const QByteArray& rawName, const FMServer* server);
    /// Deletes an item from the server's folder as what it is said to be, whatever its name looks like.
    /// @param rawName the bytes of its name, not null
    /// @param kind what it is
    /// @param server the record
    /// @return whether it is done
    [[nodiscard]] bool deleteItemNamed(const QByteArray& rawName, ItemKind kind, const FMServer* server);
    /// As deleteFileNamed(), on a further worker thread.
    /// @param name its name, not null
    /// @param server the record
    /// @return whether it is done
    [[nodiscard]] bool deleteFile(const QString& name, const FMServer* server);

    /// Changes permissions in the server's folder, by SITE CHMOD, which many servers know.
    /// @param name the item's name, not null
    /// @param mode the decimal number that shows the octal digits, such as 755; at most 777
    /// @param server the record
    /// @return whether it is done
    [[nodiscard]] bool chmodFileNamed(const QString& name, quint32 mode, const FMServer* server);

    /// Tests the login. A server that thinks about a wrong password for a while may act on the QUIT behind it first,
    /// and is then taken to have accepted, unless FMServer::isCareful().
    /// @param server the record
    /// @return whether the server accepts it
    [[nodiscard]] bool checkLogin(const FMServer* server);

    /// @}

    /// @name What has become of the latest operation
    /// Any thread may ask.
    /// @{

    /// Why it has failed.
    /// @return of the kind FMFailure::Kind::None when it has not, or was aborted, or there was none
    FMFailure lastFailure() const;

    /// Whether nobody knows what the server has done: it has failed since no answer has come, although its command was
    /// on the way, or in an upload all of the file. Over a control connection without FMServer::isCareful() the
    /// server's close of the connection in clear ends the answers, and counts as one.
    /// @return whether that is so
    bool isUndecided() const;

    /// Whether it was a careful one (FMServer::isCareful()) over a control connection, and the server has accepted its
    /// command. It may have failed all the same: every line of all answers that begins with 4 or 5 makes it do so, also
    /// of the answer to QUIT and in the midst of a good one.
    /// @return whether that is so
    bool isCommandAccepted() const;

    /// @}

    /// How many bytes a local file has. Runs on the calling thread.
    /// @param fileURL a "file:" location
    /// @return bytes; 0 when it cannot be looked at
    quint64 fileSizeOf(const QUrl& fileURL) const;

    /// @name Where the running operation stands
    /// Its own thread may ask, as in a report of progress, and anybody while nothing runs; the streams are null then.
    /// @{

    /// What is on its way between the local and the remote file.
    /// @return the beginning of 32768 bytes
    const char* buffer() const;
    /// The first byte of the buffer that has not been passed on.
    /// @return its place, in bytes
    quint64 bufferOffset() const;
    /// The end of the bytes in it.
    /// @return its place, in bytes
    quint64 bufferLimit() const;
    /// What is being uploaded; opaque, as all streams are here.
    /// @return null when that is nothing
    UploadSource* fileReader() const;
    /// Where a download goes.
    /// @return null when there is none
    FileOutputStream* fileWriter() const;
    /// The stream of a listing or a download.
    /// @return null when there is none
    FTPReadStream* serverReadStream() const;
    /// The stream of an upload or a new folder.
    /// @return null when there is none
    FTPWriteStream* serverStream() const;
    /// What has come of a listing.
    /// @return its bytes
    const QByteArray& directoryListingData() const;

    /// @}

    /// How far the running upload or download has come. Any thread may ask.
    /// @return std::nullopt when none runs or its size is 0 or unknown
    std::optional<FTPManagerProgress> progress() const;

    /// Ends the transfer or listing that runs where it stands; its operation then answers as if it had succeeded. Does
    /// nothing before the transfer has begun, when it has ended, and to conversations. Any thread may call.
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
