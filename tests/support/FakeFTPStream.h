#pragma once

#include "FTPConnections.h"
#include "FTPStream.h"

#include <QByteArray>
#include <QStringList>

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

struct FakeFTPStream;

/// What a fake stream answers, and what it reports by itself.
struct FakeStreamScript {
    bool refusesUserName = false;
    bool refusesPassword = false;
    bool refusesEncryption = false;
    bool refusesFetchResourceInfo = false;
    FTPStreamError error; ///< What an error event is about.
    QString reply; ///< What lastReply() answers.
    std::optional<FTPSecurity> security;
    QHostAddress peerAddress;
    std::optional<qint64> resourceSize;
    QString shortfall;
    bool isAwaitingTrust = false;
    /// The next answers of write(): -1 to fail, otherwise how many bytes it takes at most. Takes all when empty.
    std::deque<qint64> writeAnswers;
    /// What the next reads answer: bytes (at most as many as fit, the rest later), nothing to fail. At the end when
    /// empty.
    std::deque<std::optional<QByteArray>> readAnswers;

    /// What an open stream reports on the loop of the thread that opened it: the events of one entry at once, one entry
    /// in each turn of the loop, and an error after the last one, lest somebody waits for ever. Empty for a test that
    /// delivers the events itself.
    std::deque<std::vector<FTPStreamEvent>> turns;
    /// Called once from the same loop instead of that error. May add turns; without, the stream is silent.
    std::function<void(FakeFTPStream&)> whenOver;
};

/// One stream as a test sees it: what was done to it, and the means to answer. It stays when the stream itself has been
/// destroyed. A stream that runs on another thread is looked at when its operation has returned.
struct FakeFTPStream : FakeStreamScript {
    enum class Kind { Listing, Download, Upload, Folder };

    explicit FakeFTPStream(FakeStreamScript script)
        : FakeStreamScript(std::move(script))
    {
    }

    Kind kind = Kind::Listing;
    QString location;
    qint64 length = -1; ///< Of an upload: the length it was created with.
    int madeLevels = 0; ///< What setMadeLevels() has set.
    bool asksNobody = false; ///< What setAsksNobody() has set.

    /// What was called, in order: "setUserName NAME", "setPassword WORD", "setFetchResourceInfo", "setStandsBack",
    /// "open", "write SIZE", "close".
    QStringList calls;
    QByteArray written; ///< All bytes that write() took.
    qint64 acknowledgedBytes = 0;

    FTPEncryption encryption = FTPEncryption::None;
    QList<QByteArray> trustedCertificates;

    FTPStream* stream = nullptr; ///< Null when it was not made or has been destroyed.
    FTPStreamDelegate* delegate = nullptr;

    bool isOpen() const { return stream != nullptr && wasOpened() && !isClosed(); }
    bool wasOpened() const { return calls.contains(QLatin1String("open")); }
    bool isClosed() const { return calls.contains(QLatin1String("close")); }

    /// Delivers @p event as the loop would; a stream that is not open delivers nothing.
    void send(FTPStreamEvent event);
    void sendOpenCompleted() { send(FTPStreamEvent::OpenCompleted); }
    void sendHasSpace() { send(FTPStreamEvent::HasSpaceAvailable); }
    void sendEndEncountered() { send(FTPStreamEvent::EndEncountered); }
    /// A has-bytes event whose read answers @p bytes.
    void sendBytes(const QByteArray& bytes);
    /// A has-bytes event whose read answers 0.
    void sendEnd();
    /// A has-bytes event whose read answers -1.
    void sendReadFailure();
    /// A refusal with the reply code @p code.
    void sendRefusal(int code, int missingLevels = 0);
    /// An error of the other domain.
    void sendOtherError();
};

/// Makes fake streams and keeps their records.
class FakeStreamFactory final : public FTPStreamFactory {
public:
    bool refusesCreation = false;
    FakeStreamScript next; ///< Of each stream that is asked for from now on.

    std::unique_ptr<FTPReadStream> createListingStream(const QString& location) override;
    std::unique_ptr<FTPReadStream> createDownloadStream(const QString& location) override;
    std::unique_ptr<FTPWriteStream> createUploadStream(const QString& location, qint64 length) override;
    std::unique_ptr<FTPWriteStream> createFolderStream(const QString& location) override;

    /// All streams that were asked for, in order, whether they could be made or not.
    const std::vector<std::shared_ptr<FakeFTPStream>>& streams() const { return m_streams; }
    /// The latest one; there must be one.
    FakeFTPStream& last() const { return *m_streams.back(); }

private:
    template <typename Stream>
    std::unique_ptr<Stream> make(FakeFTPStream::Kind kind, const QString& location, qint64 length = -1);

    std::vector<std::shared_ptr<FakeFTPStream>> m_streams;
};

/// Connections that a test looks at and answers for.
class FakeConnections final : public FTPConnections {
public:
    void closeIdleConnections(const QString& location) override { closedIdle.append(location); }
    bool allowsFurtherLogins(const QString& /*location*/) const override { return furtherLogins; }
    std::unique_ptr<FTPConnectionTest> startConnectionTest(const FTPConnectionTestRequest& request,
                                                           FTPConnectionTestHandler handler) override
    {
        connectionTestRequests.push_back(request);
        connectionTestHandler = std::move(handler);
        return std::make_unique<FTPConnectionTest>();
    }

    bool furtherLogins = true;
    QStringList closedIdle; ///< The locations whose idle connections were to be closed.
    std::vector<FTPConnectionTestRequest> connectionTestRequests; ///< Of all connection tests.
    FTPConnectionTestHandler connectionTestHandler; ///< Hears of the latest one.
};
