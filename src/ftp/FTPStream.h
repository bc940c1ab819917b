#pragma once

#include "FTPEncryption.h"
#include "FTPSecurity.h"

#include <QByteArray>
#include <QHostAddress>
#include <QList>
#include <QString>

#include <memory>
#include <optional>
#include <span>

namespace quillbox {

/// The events that a stream reports to its delegate, with the codes that they are known by.
enum class FTPStreamEvent {
    OpenCompleted = 1, ///< The transfer was accepted; of an upload, the data connection stands.
    HasBytesAvailable = 2, ///< A read answers at once, also with 0 for the end.
    HasSpaceAvailable = 4, ///< A write takes at least one byte; or the server has confirmed the whole upload.
    ErrorOccurred = 8, ///< error() says what happened. No event follows.
    EndEncountered = 16, ///< The folder has been created. No event follows.
};

/// Why a stream failed.
struct FTPStreamError {
    enum class Domain {
        None, ///< Nothing has failed.
        FTP, ///< The server refused with the reply code in `code` (400 to 599).
        Certificate, ///< The server's certificate is neither good nor trusted; no login was sent.
        Silent, ///< The server has let a time limit pass.
        Unsendable, ///< No command can hold the location or the login; nothing was sent.
        Other, ///< Resolving, connecting, lost connections, refused TLS.
    };

    /// How far the last try had come.
    enum class Stage {
        Resolving, ///< The host has no address.
        Connecting,
        Securing, ///< The connection stands; greeting and encryption are next.
        LoggingIn,
        EnteringFolder, ///< And whatever else comes before the operation's own command.
        Acting,
    };

    Domain domain = Domain::None;
    int code = 0; ///< The reply code in the FTP domain, else 0.
    /// The server was sent all that it takes to make the folder or to have the whole file, and its word has not come:
    /// nobody knows what it has done. Never of a folder that may be there already, which can be made once more.
    bool isUndecided = false;
    Stage stage = Stage::Acting;
    /// The server was to make missing levels of the folder and has refused one: how many it leaves missing, that one
    /// and all behind it.
    int missingLevels = 0;
};

class FTPStream;

/// Receives the events of streams, on the thread that opened them.
class FTPStreamDelegate {
public:
    /// @p stream reports an event. The delegate may read, write, close and destroy it, and open another one.
    virtual void handleEvent(FTPStream& stream, FTPStreamEvent event) = 0;

protected:
    ~FTPStreamDelegate() = default;
};

/// One FTP transfer, driven by the event loop of the thread that opens it. Nothing blocks.
///
/// Events come only from that loop, one at a time, never from inside open(), read(), write() or close(). A stream that
/// has been closed or destroyed reports nothing; both are allowed from inside an event. All calls belong to the
/// opening thread.
class FTPStream {
public:
    FTPStream() = default;
    FTPStream(const FTPStream&) = delete;
    FTPStream& operator=(const FTPStream&) = delete;
    virtual ~FTPStream() = default; ///< Closes.

    /// The login, to be set before open(). Without a user name the login is anonymous. False when the stream refuses
    /// it.
    [[nodiscard]] virtual bool setUserName(const QString& userName) = 0;
    [[nodiscard]] virtual bool setPassword(const QString& password) = 0;

    /// Whether the transfer is encrypted, to be set before open(); unencrypted by default. False when the stream
    /// refuses it.
    [[nodiscard]] virtual bool setEncryption(FTPEncryption encryption) = 0;
    /// SHA-256 fingerprints of certificates that the server may show whatever is wrong with them, to be set before
    /// open(). All others must be good for the system's store and the name of the host.
    virtual void setTrustedCertificates(const QList<QByteArray>& fingerprints) = 0;
    /// To be set before open(): a certificate that is not good counts as what is known of it, and nobody is asked. Not
    /// by default.
    virtual void setAsksNobody(bool /*asksNobody*/) { }

    /// @p delegate receives the events until the stream is closed; it is not owned. Null drops them.
    virtual void setDelegate(FTPStreamDelegate* delegate) = 0;

    /// Starts. Every failure arrives later, as an event.
    virtual void open() = 0;
    /// Drops the transfer in whatever state it is, and returns at once.
    virtual void close() = 0;
    /// Whether it stands still until somebody has said whether the server's certificate is to be trusted.
    virtual bool isAwaitingTrust() const { return false; }

    /// What the ErrorOccurred event was about.
    virtual FTPStreamError error() const = 0;

    /// The last line of the last reply that this stream has received, for people: escaped, without the password. Null
    /// for none. It stays when the stream is closed.
    virtual QString lastReply() const = 0;
    /// How this stream's login was protected, or that of the kept connection that it uses; std::nullopt before that. It
    /// stays when the stream is closed.
    virtual std::optional<FTPSecurity> security() const = 0;
    /// The address of the machine that this stream's login went to, or that the kept connection leads to; null before
    /// that. It stays when the stream is closed.
    virtual QHostAddress peerAddress() const = 0;
};

/// A listing or a download.
class FTPReadStream : public FTPStream {
public:
    /// Takes up to @p buffer.size() bytes; answers how many, 0 when the server has confirmed the end, -1 on failure.
    /// Meant for use after HasBytesAvailable.
    [[nodiscard]] virtual qint64 read(std::span<char> buffer) = 0;

    /// Whether a download asks the server for the file's size. May be set until the loop runs, also after open().
    /// False when the stream refuses it.
    virtual bool setFetchResourceInfo(bool fetch) = 0;
    /// Whether the stream leaves a kept connection that is the only one to the streams that follow, and makes another
    /// for itself; to be set before open(). Not by default.
    virtual void setStandsBack(bool /*standsBack*/) { }
    /// Bytes of the file as the server announced them; known, if at all, from OpenCompleted on.
    virtual std::optional<qint64> resourceSize() const = 0;
    /// The line in which the server says that a listing, which it has confirmed, is not the whole one, for people like
    /// lastReply(); null: it says no such thing. Until the stream is closed.
    virtual QString shortfall() const { return {}; }
};

/// An upload, or the creation of a folder (to which nothing is written).
class FTPWriteStream : public FTPStream {
public:
    /// Sends up to @p data.size() bytes; answers how many were taken (at least one after HasSpaceAvailable), 0 when the
    /// connection has broken and ErrorOccurred is going to tell why, -1 on any other failure.
    [[nodiscard]] virtual qint64 write(std::span<const char> data) = 0;
    /// Bytes of those that write() took of which it is known that the server's machine has received them, at least,
    /// until the stream is closed. What the server has made of them nobody knows.
    virtual qint64 acknowledgedBytes() const = 0;
    /// To be set before open(): so many of the last levels of an upload's folder are made where they are missing; none
    /// by default. The creation of a folder makes so many of its own levels, itself among them, and succeeds also where
    /// all of them are there.
    virtual void setMadeLevels(int /*levels*/) { }
};

/// Makes the streams, so that tests can stand in for the network. A null answer means that no stream could be made
/// (which does not happen with the streams of the engine: what is wrong with a location arrives as an event).
///
/// Locations are texts of the form ftp://host[:port]/path, percent-escaped, the path relative to the login folder,
/// or absolute when it begins with a second "/".
class FTPStreamFactory {
public:
    virtual ~FTPStreamFactory() = default;

    virtual std::unique_ptr<FTPReadStream> createListingStream(const QString& location) = 0;
    virtual std::unique_ptr<FTPReadStream> createDownloadStream(const QString& location) = 0;
    /// @p length: how many bytes will be written. When that many are taken, the stream ends the data connection and
    /// holds the next HasSpaceAvailable back until the server has confirmed the file.
    virtual std::unique_ptr<FTPWriteStream> createUploadStream(const QString& location, qint64 length) = 0;
    virtual std::unique_ptr<FTPWriteStream> createFolderStream(const QString& location) = 0;
};

} // namespace quillbox

using quillbox::FTPReadStream;
using quillbox::FTPStream;
using quillbox::FTPStreamDelegate;
using quillbox::FTPStreamError;
using quillbox::FTPStreamEvent;
using quillbox::FTPStreamFactory;
using quillbox::FTPWriteStream;
